// LumConvertAligned between BW1 and BW8, BW16, BW32: bit order, the last byte of a row, the value
// of a set bit, the wide and scalar packing, and the thrown numbers of the inner operator.
#include <cstdint>
#include <cstring>
#include <vector>

#include "support/kelmira_test.h"

namespace {

uint8_t* RowBytes(ZROI<ZBW1>* view, int y) { return static_cast<uint8_t*>(view->GetGenericImagePtr(0, y)); }

// Gray pixels with many zeros, single low or high bits, and full values.
template <class G>
void FillSparse(kt::Framed<G>& view) {
  using V = decltype(G().value);
  for (int y = 0; y < view->GetHeight(); ++y)
    for (int x = 0; x < view->GetWidth(); ++x) {
      const uint32_t r = kt::Rng()();
      V v = 0;
      switch (r % 4) {
        case 0: break;
        case 1: v = static_cast<V>(V(1) << ((r >> 8) % (8 * sizeof(V)))); break;
        default: v = static_cast<V>(r >> 3); break;
      }
      view->GetImagePtr(x, y)->value = v;
    }
}

template <class G>
void CheckToBW1() {
  const std::vector<int64_t> targets = kt::Targets();
  size_t round = 0;
  for (const kt::Geometry& g : kt::Geometries()) {
    const kt::TargetSetting target(targets[round++ % targets.size()]);
    for (int wide : {0, 1}) {
      kt::Aligned<G> source(g.width, g.height, g.sourceOffset);
      kt::Aligned<ZBW1> bits(g.width, g.height, g.destinationOffset);
      FillSparse(source);
      bits.FillRandom(kt::Rng());
      {
        kt::WideSetting setting(wide);
        LumConvertAligned(source.get(), bits.get());
      }
      SCOPED_TRACE(testing::Message() << "width " << g.width << " offset " << g.sourceOffset << " wide " << wide);
      ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
      ASSERT_TRUE(bits.GuardsIntact());
      for (int y = 0; y < g.height; ++y) {
        const uint8_t* row = RowBytes(bits.get(), y);
        for (int byte = 0; byte < (g.width + 7) / 8; ++byte) {
          unsigned expected = 0;  // bits past the row stay 0
          for (int k = 0; k < 8 && byte * 8 + k < g.width; ++k)
            if (source->GetImagePtr(byte * 8 + k, y)->value != 0) expected |= 0x80u >> k;
          ASSERT_EQ(row[byte], expected) << "byte " << byte;
        }
      }
    }
  }
}

TEST(LumConvertAligned, GrayToBW1PacksFromTheHighBit) {
  CheckToBW1<ZBW8>();
  CheckToBW1<ZBW16>();
  CheckToBW1<ZBW32>();
}

template <class G>
void CheckFromBW1(G value) {
  for (const kt::Geometry& g : kt::Geometries()) {
    kt::Aligned<ZBW1> bits(g.width, g.height, g.sourceOffset);
    kt::Aligned<G> gray(g.width, g.height, g.destinationOffset);
    bits.FillRandom(kt::Rng());
    LumConvertAligned(bits.get(), gray.get(), value);
    ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
    ASSERT_TRUE(gray.GuardsIntact());
    for (int y = 0; y < g.height; ++y)
      for (int x = 0; x < g.width; ++x) {
        const bool set = (RowBytes(bits.get(), y)[x / 8] >> (7 - x % 8)) & 1;
        ASSERT_EQ(gray->GetImagePtr(x, y)->value, set ? value.value : 0) << x << "," << y;
      }
  }
}

TEST(LumConvertAligned, BW1ToGrayGivesTheValueOfASetBit) {
  CheckFromBW1(ZBW8(255));
  CheckFromBW1(ZBW8(7));
  CheckFromBW1(ZBW16(0xBEEF));
  CheckFromBW1(ZBW32(0xDEADBEEFu));
}

template <class F>
Z_ERRORS Thrown(F&& call) {
  try {
    call();
  } catch (Marvane::Ovidra::Exception& e) {
    return e.code;
  }
  return Z_ERROR_NONE;
}

TEST(LumConvertAligned, ThrowsTheNumbersOfTheInnerLevel) {
  ZImage<ZBW1> parent(40, 4);
  ZROI<ZBW1> shifted(&parent, 3, 0, 16, 2), aligned(&parent, 8, 0, 16, 2), voidBits;
  kt::Aligned<ZBW8> gray(16, 2), other(17, 2);
  EXPECT_EQ(Thrown([&] { LumConvertAligned(gray.get(), &shifted); }), Z_ERROR_BW1_NOT_ALIGNED);
  EXPECT_EQ(Thrown([&] { LumConvertAligned(&shifted, gray.get(), ZBW8(1)); }), Z_ERROR_BW1_NOT_ALIGNED);
  EXPECT_EQ(Thrown([&] { LumConvertAligned(gray.get(), &voidBits); }), Z_ERROR_NULL_IMAGE);
  EXPECT_EQ(Thrown([&] { LumConvertAligned(static_cast<ZROI<ZBW8>*>(nullptr), &aligned); }), Z_ERROR_NULL_IMAGE);
  EXPECT_EQ(Thrown([&] { LumConvertAligned(other.get(), &aligned); }), Z_ERROR_DIFFERENT_SIZES);
  EXPECT_EQ(Thrown([&] { LumConvertAligned(&aligned, other.get(), ZBW8(1)); }), Z_ERROR_DIFFERENT_SIZES);
  EXPECT_TRUE(kt::Trace().empty());
  // A view that starts on a byte inside its parent is aligned; the bytes around it stay.
  std::vector<uint8_t> before(5);
  for (int i = 0; i < 5; ++i) RowBytes(&parent, 0)[i] = static_cast<uint8_t>(0x11 * (i + 1));
  gray.FillBytes(9);
  EXPECT_EQ(Thrown([&] { LumConvertAligned(gray.get(), &aligned); }), Z_ERROR_NONE);
  EXPECT_EQ(RowBytes(&parent, 0)[0], 0x11);
  EXPECT_EQ(RowBytes(&parent, 0)[1], 0xFF);
  EXPECT_EQ(RowBytes(&parent, 0)[2], 0xFF);
  EXPECT_EQ(RowBytes(&parent, 0)[3], 0x44);
}

bool BitAt(ZImage<ZBW1>& image, int x, int y) { return (RowBytes(&image, y)[x / 8] >> (7 - x % 8)) & 1; }

// Views at every bit offset of a parent: the plain forms write the view's bits and keep every
// other bit of the parent; reading back through the other direction gives the pixels' flags.
template <class G>
void CheckAnyOffset(G value, const char* toTrace, const char* fromTrace) {
  for (int offset = 0; offset < 8; ++offset)
    for (int width : {1, 5, 8, 9, 17, 30, 64, 75}) {
      const int height = 3;
      ZImage<ZBW1> parent(width + 24, height + 2);
      for (int y = 0; y < height + 2; ++y)
        for (int i = 0; i < parent.GetRowPitch(); ++i) RowBytes(&parent, y)[i] = static_cast<uint8_t>(kt::Rng()());
      ZImage<ZBW1> before(width + 24, height + 2);
      LumCopy(&parent, &before);
      ZROI<ZBW1> view(&parent, offset + 8, 1, width, height);
      kt::Aligned<G> gray(width, height, offset);
      FillSparse(gray);
      SCOPED_TRACE(testing::Message() << "bit offset " << offset << " width " << width);
      LumConvert(gray.get(), &view);
      ASSERT_EQ(ZGetError(), Z_ERROR_NONE) << kt::Trace().size();
      for (int y = 0; y < height + 2; ++y)
        for (int x = 0; x < width + 24; ++x) {
          const bool inside = y >= 1 && y <= height && x >= offset + 8 && x < offset + 8 + width;
          // A byte-aligned view is written directly, its last byte whole: the bits past the row
          // in that byte become 0. Through the temporary every outside bit is kept.
          const bool tail = offset == 0 && y >= 1 && y <= height && x >= 8 + width && x / 8 == (8 + width - 1) / 8;
          const bool expected =
              inside ? gray->GetImagePtr(x - offset - 8, y - 1)->value != 0 : tail ? false : BitAt(before, x, y);
          ASSERT_EQ(BitAt(parent, x, y), expected) << x << "," << y;
        }
      kt::Aligned<G> back(width, height, (offset + 3) % 8);
      LumConvert(&view, back.get(), value);
      ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
      for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
          ASSERT_EQ(back->GetImagePtr(x, y)->value, gray->GetImagePtr(x, y)->value != 0 ? value.value : 0);
      ASSERT_TRUE(back.GuardsIntact());
    }

  // Failures: a null pointer is traced plainly, the rest by the handler, with the form's string.
  kt::CheckFrame<G, ZBW1>([](ZROI<G>* s, ZROI<ZBW1>* d) { LumConvert(s, d); }, toTrace, false);
  kt::CheckFrame<ZBW1, G>([&](ZROI<ZBW1>* s, ZROI<G>* d) { LumConvert(s, d, value); }, fromTrace, false);
  ZImage<ZBW1> bits(9, 2);
  ZROI<ZBW1> shifted(&bits, 1, 0, 8, 2);
  kt::Aligned<G> eight(8, 3);
  LumConvert(&shifted, eight.get(), value);  // unaligned source, sizes differ: no temporary made
  EXPECT_TRUE(kt::Failed(Z_ERROR_DIFFERENT_SIZES, {fromTrace}));
}

TEST(LumConvertBW1, AnyBitOffsetThroughTheAlignmentOperators) {
  CheckAnyOffset(ZBW8(200), "LumConvert (BW8 -> BW1)", "LumConvert (BW1 -> BW8)");
  CheckAnyOffset(ZBW16(40000), "LumConvert (BW16 -> BW1)", "LumConvert (BW1 -> BW16)");
  CheckAnyOffset(ZBW32(0x80000001u), "LumConvert (BW32 -> BW1)", "LumConvert (BW1 -> BW32)");
}

}  // namespace
