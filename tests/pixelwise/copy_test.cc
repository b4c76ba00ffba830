// LumCopy on the multi-byte pixel types at every offset and width, in place, and bad input.

#include "support/kelmira_test.h"

namespace {

template <class T>
void CheckFillAndCopy(T value, const char* fillTrace, const char* copyTrace) {
  kt::CheckAgainst2<T, T, T>([value](ZROI<T>*, ZROI<T>*, ZROI<T>* d) { LumCopy(value, d); },
                             [value](T, T, T) { return value; });
  kt::CheckAgainst2<T, T, T>([](ZROI<T>* s, ZROI<T>*, ZROI<T>* d) { LumCopy(s, d); }, [](T s, T, T) { return s; },
                             kt::Geometries(), true);
  kt::CheckFrame<T, T>([](ZROI<T>* s, ZROI<T>* d) { LumCopy(s, d); }, copyTrace, false);
  ZROI<T> none;
  for (ZROI<T>* d : {static_cast<ZROI<T>*>(nullptr), &none}) {
    LumCopy(value, d);
    EXPECT_TRUE(kt::Failed(Z_ERROR_NULL_IMAGE, {fillTrace}));
  }
}

TEST(Copy, BW8) { CheckFillAndCopy(ZBW8(0xC3), "LumCopy ( BW8 Const to Image)", "LumCopy ( BW8 Image to Image)"); }
TEST(Copy, BW16) { CheckFillAndCopy(ZBW16(0xBEEF), "LumCopy (BW16 Const)", "LumCopy (BW16 Image)"); }
TEST(Copy, BW32) { CheckFillAndCopy(ZBW32(0xDEADBEEF), "LumCopy (BW32 Const)", "LumCopy (BW32 Image)"); }
TEST(Copy, C15) { CheckFillAndCopy(ZC15(0x1234), "LumCopy (C15 Const)", "LumCopy ( C15 Image)"); }
TEST(Copy, C16) { CheckFillAndCopy(ZC16(0xF00D), "LumCopy (C16 Const)", "LumCopy ( C16 Image)"); }
TEST(Copy, C24) { CheckFillAndCopy(ZC24(1, 2, 3), "LumCopy (C24 Const)", "LumCopy ( C24 Image)"); }

TEST(Copy, ContiguousImagesAndViewsOfOneImage) {
  ZImage<ZBW8> a(64, 9), b(64, 9);
  kt::Framed<ZBW8> f(64, 9);
  f.FillRandom(kt::Rng());
  LumCopy(f.get(), &a);
  LumCopy(&a, &b);  // rows without gaps
  EXPECT_TRUE(kt::SameBytes(f.get(), &b));
  // Two views of one image side by side: each row is copied, the gap between them untouched.
  ZROI<ZBW8> left(&b, 0, 0, 30, 9), right(&b, 32, 0, 30, 9);
  LumCopy(ZBW8(7), &right);
  LumCopy(&right, &left);
  for (int y = 0; y < 9; ++y) EXPECT_TRUE(b.GetPixel(29, y).value == 7 && b.GetPixel(30, y).value == f->GetPixel(30, y).value) << y;
}

}  // namespace
