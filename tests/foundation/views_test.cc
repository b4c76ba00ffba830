// Views and images: voidness, addresses, skips, bit offsets, host memory, views of views,
// checked pixel access and the colour planes.
#include "support/kelmira_test.h"

namespace {

TEST(Views, VoidViewsAndImages) {
  ZROI<ZBW8> view;
  EXPECT_EQ(view.Void(), 1);
  EXPECT_EQ(view.GetVoid(), 1);
  EXPECT_EQ(view.GetImagePtr(0, 0), nullptr);
  ZImage<ZBW8> empty(0, 0);
  EXPECT_EQ(empty.Void(), 1);
  EXPECT_EQ(empty.GetImagePtr(0, 0), nullptr);
  ZOk();
  empty.CheckNotVoid();
  EXPECT_EQ(ZGetError(), Z_ERROR_NULL_IMAGE);

  ZImage<ZBW8> image(10, 10);
  ZROI<ZBW8> outside(&image, 6, 0, 5, 5);  // one column past the parent
  EXPECT_EQ(outside.Void(), 1);
  outside.SetPlacement(5, 5, 5, 5);
  EXPECT_EQ(outside.Void(), 0);
  image.SetSize(8, 8);  // the parent shrinks under the view
  EXPECT_EQ(outside.Void(), 1);
  ZROI<ZBW8> orphan;
  orphan.SetPlacement(0, 0, 2, 2);
  EXPECT_EQ(orphan.Void(), 1);
  orphan.SetParent(&image);
  EXPECT_EQ(orphan.Void(), 0);
}

TEST(Views, RowAndViewEndsAreComputedWithoutRangeCheck) {
  ZImage<ZC24> image(7, 5);
  ZROI<ZC24> view(&image, 2, 1, 3, 2);
  const uint8_t* origin = reinterpret_cast<const uint8_t*>(view.GetImagePtr(0, 0));
  EXPECT_EQ(origin, reinterpret_cast<const uint8_t*>(image.GetImagePtr(2, 1)));
  EXPECT_EQ(reinterpret_cast<const uint8_t*>(view.GetImagePtr(3, 0)) - origin, 9);
  EXPECT_EQ(reinterpret_cast<const uint8_t*>(view.GetImagePtr(0, 2)) - origin, 2 * image.GetRowPitch());
  EXPECT_EQ(view.GetPixelSize(), 3);
  EXPECT_EQ(view.GetSkip(), image.GetRowPitch() - 9);
  ZOk();
  view.GetImagePtr(3, 2);
  EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
}

TEST(Views, SkipOfOddWidths) {
  ZImage<ZBW8> image(33, 4);
  for (int w = 1; w <= 9; w += 2) {
    ZROI<ZBW8> view(&image, 1, 0, w, 4);
    EXPECT_EQ(view.GetSkip(), view.GetRowPitch() - w);
  }
  ZImage<ZBW16> wide(33, 4);
  ZROI<ZBW16> v16(&wide, 3, 1, 7, 2);
  EXPECT_EQ(v16.GetSkip(), wide.GetRowPitch() - 14);
}

TEST(Views, ViewsOfViewsAndOrigins) {
  ZImage<ZBW8> image(20, 20);
  ZROI<ZBW8> a(&image, 3, 4, 10, 10);
  ZROI<ZBW8> b(&a, 2, 1, 5, 5);
  EXPECT_EQ(b.GetTotalOrgX(), 5);
  EXPECT_EQ(b.GetTotalOrgY(), 5);
  EXPECT_EQ(b.GetOrgX(), 2);
  EXPECT_EQ(b.GetTotalHeight(), 20);
  EXPECT_EQ(b.GetImagePtr(0, 0), image.GetImagePtr(5, 5));
  b.SetPixel(ZBW8(77), 4, 4);
  EXPECT_EQ(image.GetPixel(9, 9), 77);
  a.SetPlacement(12, 12, 8, 8);  // b (5x5 at 2,1) still fits
  EXPECT_EQ(b.GetImagePtr(0, 0), image.GetImagePtr(14, 13));
  a.SetPlacement(16, 16, 4, 4);  // now it does not
  EXPECT_EQ(b.Void(), 1);
}

TEST(Views, CheckedPixelAccessTouchesNothingOutside) {
  ZImage<ZBW16> image(4, 3);
  image.SetPixel(ZBW16(60000), 3, 2);
  EXPECT_EQ(image.GetPixel(3, 2), 60000);
  ZOk();
  image.SetPixel(ZBW16(1), 4, 0);
  EXPECT_EQ(ZGetError(), Z_ERROR_ARGUMENT_1);
  ZOk();
  image.SetPixel(ZBW16(1), 0, -1);
  EXPECT_EQ(ZGetError(), Z_ERROR_ARGUMENT_2);
  ZOk();
  EXPECT_EQ(image.GetPixel(0, 3), 0);
  EXPECT_EQ(ZGetError(), Z_ERROR_ARGUMENT_2);
  ZOk();
  ZROI<ZBW16> none;
  none.SetPixel(ZBW16(1), 0, 0);
  EXPECT_EQ(ZGetError(), Z_ERROR_NULL_IMAGE);
  ZOk();
}

TEST(Views, BitOffsetsOfOneBitViews) {
  ZImage<ZBW1> bits(40, 3);
  ZROI<ZBW1> at8(&bits, 8, 0, 16, 3), at3(&bits, 3, 0, 16, 3);
  EXPECT_EQ(at8.GetBitOffset(0, 0), 0);
  EXPECT_EQ(at3.GetBitOffset(0, 0), 3);
  EXPECT_EQ(at3.GetBitOffset(5, 0), 0);
  EXPECT_EQ(at3.GetImagePtr(5, 1), reinterpret_cast<ZBW1*>(reinterpret_cast<uint8_t*>(bits.GetImagePtr(0, 1)) + 1));
  std::memset(static_cast<void*>(bits.GetImagePtr(0, 0)), 0, static_cast<size_t>(bits.GetRowPitch()) * 3);
  at3.SetPixel(ZBW1(1), 0, 1);  // bit 3 of the row's first byte, counted from the high bit
  EXPECT_EQ(*reinterpret_cast<uint8_t*>(bits.GetImagePtr(0, 1)), 0x10);
  EXPECT_EQ(at3.GetPixel(0, 1), 1);
  EXPECT_EQ(bits.GetPixel(3, 1), 1);
  EXPECT_EQ(bits.GetPixel(4, 1), 0);
  EXPECT_EQ(at3.GetSkip(), bits.GetRowPitch() - 3);  // 3 + 16 bits touch 3 bytes
}

TEST(Views, HostMemoryIsUsedInPlaceAndNotFreed) {
  std::vector<uint8_t> memory(5 * 12, 0);
  {
    ZImage<ZBW8> image;
    image.SetImagePtr(10, 5, memory.data(), 12);
    EXPECT_EQ(image.GetRowPitch(), 12);
    EXPECT_EQ(image.GetSkip(), 2);
    image.SetPixel(ZBW8(9), 1, 2);
  }
  EXPECT_EQ(memory[2 * 12 + 1], 9);
  ZImage<ZBW8> refused;
  refused.SetImagePtr(10, 5, memory.data(), 8);  // pitch shorter than a row
  EXPECT_EQ(ZGetError(), Z_ERROR_BAD_ARGUMENTS);
  EXPECT_EQ(refused.Void(), 1);
  ZOk();
}

TEST(Views, SizesAndTheirChecks) {
  ZImage<ZBW8> a(6, 4), b(6, 5);
  ZOk();
  a.CheckSameSize(&b);
  EXPECT_EQ(ZGetError(), Z_ERROR_DIFFERENT_SIZES);
  ZOk();
  a.SetSize(&b);
  EXPECT_EQ(a.GetHeight(), 5);
  a.CheckSameSize(&b);
  EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
  ZROI<ZBW8> view(&a, 1, 1, 2, 2);
  view.SetSize(10, 2);  // would leave the parent
  EXPECT_EQ(ZGetError(), Z_ERROR_DIFFERENT_SIZES);
  EXPECT_EQ(view.GetWidth(), 2);
  ZOk();
  EXPECT_EQ(a.GetImageType(), Z_IMAGE_BW8);
  EXPECT_EQ(ZImage<ZC24>(1, 1).GetImageType(), Z_IMAGE_C24);
  ZImage<ZBW8> huge(1 << 30, 1 << 30);
  EXPECT_EQ(ZGetError(), Z_ERROR_NO_MEMORY);
  EXPECT_EQ(huge.Void(), 1);
  ZOk();
}

TEST(Views, ColourPlanesGetAndSet) {
  ZImage<ZC24> colour(3, 2);
  ZImage<ZBW8> plane(3, 2), small(2, 2);
  for (int x = 0; x < 3; ++x) colour.SetPixel(ZC24(uint8_t(x), uint8_t(x + 10), uint8_t(x + 20)), x, 1);
  HueGetComponent(&colour, &plane, 2);
  EXPECT_EQ(plane.GetPixel(1, 1), 21);
  for (int x = 0; x < 3; ++x) plane.SetPixel(ZBW8(99), x, 1);
  HueSetComponent(&plane, &colour, 0);
  EXPECT_EQ(colour.GetPixel(2, 1).c0, 99);
  EXPECT_EQ(colour.GetPixel(2, 1).c1, 12);
  ZOk();
  HueGetComponent(&colour, &plane, 3);
  EXPECT_EQ(ZGetError(), Z_ERROR_ARGUMENT_3);
  ZOk();
  HueGetComponent(&colour, &small, 0);
  EXPECT_EQ(ZGetError(), Z_ERROR_DIFFERENT_SIZES);
  ZOk();
  HueSetComponent(nullptr, &colour, 0);
  EXPECT_EQ(ZGetError(), Z_ERROR_NULL_IMAGE);
  ZOk();

  ZColorLookup lookup;
  ZC24 out;
  lookup.Transform(ZC24(1, 2, 3), out);
  EXPECT_EQ(out.c2, 3);  // identity when new
  lookup.SetEntry(ZC24(0, 10, 20), ZC24(7, 7, 7));
  colour.SetPixel(ZC24(1, 12, 23), 0, 0);  // same 5-bit cell as (0, 10, 20)
  HueGetComponent(&colour, &plane, 1, &lookup);
  EXPECT_EQ(plane.GetPixel(0, 0), 7);
  EXPECT_EQ(plane.GetPixel(0, 1), 12);  // (99, 10, 20): another cell, which gives its centre
}

TEST(Views, OlderVectorStructure) {
  ZVector v;
  EXPECT_EQ(v.GetDataPtr(), nullptr);
  EXPECT_EQ(v.SetStructure(4, 10, 2, 4), 0);
  EXPECT_EQ(v.GetAllocatedSize(), 80);
  EXPECT_EQ(v.GetNbMaxGroup(), 10);
  EXPECT_TRUE(v.IsSameVectType(4));
  v.SetNbGroup(3);
  static_cast<int*>(v.GetDataPtr())[5] = 42;
  EXPECT_EQ(v.Reallocate(80 + 24576), 0);
  EXPECT_EQ(static_cast<int*>(v.GetDataPtr())[5], 42);
  EXPECT_EQ(v.GetNbGroup(), 3);
  EXPECT_EQ(v.SetStructure(4, 1, 1, 3), Z_ERROR_BAD_ARGUMENTS);
  ZOk();
}

// The wide and scalar plane copies at every alignment, on every target.
TEST(Views, ColourPlanesAtEveryAlignment) {
  for (unsigned k = 0; k < 3; ++k) {
    kt::CheckAgainst<ZC24, ZBW8>([k](ZROI<ZC24>* s, ZROI<ZBW8>* d) { HueGetComponent(s, d, k); },
                                 [k](ZC24 s, ZBW8) { return ZBW8((&s.c0)[k]); });
    kt::CheckAgainst<ZBW8, ZC24>([k](ZROI<ZBW8>* s, ZROI<ZC24>* d) { HueSetComponent(s, d, k); },
                                 [k](ZBW8 s, ZC24 old) { return (&old.c0)[k] = s, old; });
  }
}

}  // namespace
