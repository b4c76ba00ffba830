// Views and images: voidness, addresses, bit offsets, host memory, nesting, checked access, planes.
#include "support/kelmira_test.h"

namespace {

TEST(Views, VoidViewsAndImages) {
  ZROI<ZBW8> view;
  ZImage<ZBW8> empty(0, 0);
  EXPECT_TRUE(view.Void() && view.GetVoid() && !view.GetImagePtr(0, 0) && empty.Void() && !empty.GetImagePtr(0, 0));
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

// Addresses and skips of views of every pixel size, computed without a range check.
TEST(Views, AddressesAndSkips) {
  ZImage<ZC24> image(7, 5);
  ZROI<ZC24> view(&image, 2, 1, 3, 2);
  const uint8_t* origin = reinterpret_cast<const uint8_t*>(view.GetImagePtr(0, 0));
  EXPECT_EQ(origin, reinterpret_cast<const uint8_t*>(image.GetImagePtr(2, 1)));
  EXPECT_EQ(reinterpret_cast<const uint8_t*>(view.GetImagePtr(3, 0)) - origin, 9);  // one past the row
  EXPECT_EQ(reinterpret_cast<const uint8_t*>(view.GetImagePtr(0, 2)) - origin, 2 * image.GetRowPitch());
  EXPECT_TRUE(view.GetPixelSize() == 3 && view.GetSkip() == image.GetRowPitch() - 9);
  ZImage<ZBW8> gray(33, 4);
  ZImage<ZBW16> wide(33, 4);
  for (int w = 1; w <= 9; w += 2) {
    EXPECT_EQ(ZROI<ZBW8>(&gray, 1, 0, w, 4).GetSkip(), gray.GetRowPitch() - w);
    EXPECT_EQ(ZROI<ZBW16>(&wide, 3, 1, w, 2).GetSkip(), wide.GetRowPitch() - 2 * w);
  }
}

TEST(Views, ViewsOfViewsAndOrigins) {
  ZImage<ZBW8> image(20, 20);
  ZROI<ZBW8> a(&image, 3, 4, 10, 10);
  ZROI<ZBW8> b(&a, 2, 1, 5, 5);
  EXPECT_EQ(std::make_tuple(b.GetTotalOrgX(), b.GetTotalOrgY(), b.GetOrgX(), b.GetTotalHeight()), std::make_tuple(5, 5, 2, 20));
  EXPECT_EQ(b.GetImagePtr(0, 0), image.GetImagePtr(5, 5));
  b.SetPixel(ZBW8(77), 4, 4);
  EXPECT_EQ(image.GetPixel(9, 9), 77);
  a.SetPlacement(12, 12, 8, 8);  // b (5x5 at 2,1) still fits
  EXPECT_EQ(b.GetImagePtr(0, 0), image.GetImagePtr(14, 13));
  a.SetPlacement(16, 16, 4, 4);  // now it does not
  EXPECT_EQ(b.Void(), 1);
}

// Checked access, host memory and sizes: the number each refusal leaves, and nothing written.
TEST(Views, CheckedAccessHostMemoryAndSizes) {
  ZImage<ZBW16> image(4, 3);
  ZROI<ZBW16> none;
  std::memset(static_cast<void*>(image.GetImagePtr(0, 0)), 0, static_cast<size_t>(image.GetRowPitch()) * 3);
  image.SetPixel(ZBW16(60000), 3, 2);
  EXPECT_EQ(image.GetPixel(3, 2), 60000);
  std::vector<uint8_t> memory(5 * 12, 0);
  ZImage<ZBW8> host, refused, a(6, 4), b(6, 5), huge;
  ZROI<ZBW8> inside(&a, 1, 1, 2, 2);
  kt::CheckRefusals({
      {[&] { ZOk(); image.SetPixel(ZBW16(1), 4, 0); }, Z_ERROR_ARGUMENT_1, {}},
      {[&] { ZOk(); image.SetPixel(ZBW16(1), 0, -1); }, Z_ERROR_ARGUMENT_2, {}},
      {[&] { ZOk(); EXPECT_EQ(image.GetPixel(0, 3), 0); }, Z_ERROR_ARGUMENT_2, {}},
      {[&] { ZOk(); none.SetPixel(ZBW16(1), 0, 0); }, Z_ERROR_NULL_IMAGE, {}},
      {[&] { ZOk(); host.SetImagePtr(10, 5, memory.data(), 12); host.SetPixel(ZBW8(9), 1, 2); }, Z_ERROR_NONE, {}},
      {[&] { ZOk(); refused.SetImagePtr(10, 5, memory.data(), 8); }, Z_ERROR_BAD_ARGUMENTS, {}},  // pitch < row
      {[&] { ZOk(); a.CheckSameSize(&b); }, Z_ERROR_DIFFERENT_SIZES, {}},
      {[&] { ZOk(); a.SetSize(&b); a.CheckSameSize(&b); }, Z_ERROR_NONE, {}},
      {[&] { ZOk(); inside.SetSize(10, 2); }, Z_ERROR_DIFFERENT_SIZES, {}},  // would leave the parent
      {[&] { ZOk(); huge.SetSize(1 << 30, 1 << 30); }, Z_ERROR_NO_MEMORY, {}},
  });
  ZOk();
  EXPECT_EQ(image.GetPixel(0, 1) + image.GetPixel(3, 1), 0);  // the refused writes reached nothing
  EXPECT_EQ(memory[2 * 12 + 1], 9);  // host memory is used in place
  EXPECT_TRUE(host.GetRowPitch() == 12 && host.GetSkip() == 2 && refused.Void() && huge.Void());
  EXPECT_TRUE(a.GetHeight() == 5 && inside.GetWidth() == 2 && a.GetImageType() == Z_IMAGE_BW8);
  EXPECT_EQ(ZImage<ZC24>(1, 1).GetImageType(), Z_IMAGE_C24);
}

TEST(Views, BitOffsetsOfOneBitViews) {
  ZImage<ZBW1> bits(40, 3);
  ZROI<ZBW1> at8(&bits, 8, 0, 16, 3), at3(&bits, 3, 0, 16, 3);
  EXPECT_EQ(std::make_tuple(at8.GetBitOffset(0, 0), at3.GetBitOffset(0, 0), at3.GetBitOffset(5, 0)), std::make_tuple(0, 3, 0));
  EXPECT_EQ(at3.GetImagePtr(5, 1), reinterpret_cast<ZBW1*>(reinterpret_cast<uint8_t*>(bits.GetImagePtr(0, 1)) + 1));
  std::memset(static_cast<void*>(bits.GetImagePtr(0, 0)), 0, static_cast<size_t>(bits.GetRowPitch()) * 3);
  at3.SetPixel(ZBW1(1), 0, 1);  // bit 3 of the row's first byte, counted from the high bit
  EXPECT_EQ(*reinterpret_cast<uint8_t*>(bits.GetImagePtr(0, 1)), 0x10);
  EXPECT_TRUE(at3.GetPixel(0, 1) == 1 && bits.GetPixel(3, 1) == 1 && bits.GetPixel(4, 1) == 0);
  EXPECT_EQ(at3.GetSkip(), bits.GetRowPitch() - 3);  // 3 + 16 bits touch 3 bytes
}

// The plane copies at every alignment on every target; bad input; a lookup before the copy.
TEST(Views, ColourPlanes) {
  for (unsigned k = 0; k < 3; ++k) {
    kt::CheckAgainst<ZC24, ZBW8>([k](ZROI<ZC24>* s, ZROI<ZBW8>* d) { HueGetComponent(s, d, k); },
                                 [k](ZC24 s, ZBW8) { return ZBW8((&s.c0)[k]); });
    kt::CheckAgainst<ZBW8, ZC24>([k](ZROI<ZBW8>* s, ZROI<ZC24>* d) { HueSetComponent(s, d, k); },
                                 [k](ZBW8 s, ZC24 old) { return (&old.c0)[k] = s, old; });
  }
  ZImage<ZC24> colour(3, 2);
  ZImage<ZBW8> plane(3, 2), small(2, 2);
  kt::CheckRefusals({{[&] { ZOk(); HueGetComponent(&colour, &plane, 3); }, Z_ERROR_ARGUMENT_3, {}},
                     {[&] { ZOk(); HueGetComponent(&colour, &small, 0); }, Z_ERROR_DIFFERENT_SIZES, {}},
                     {[&] { ZOk(); HueSetComponent(nullptr, &colour, 0); }, Z_ERROR_NULL_IMAGE, {}}});
  ZColorLookup lookup;
  ZC24 out;
  lookup.Transform(ZC24(1, 2, 3), out);
  EXPECT_EQ(out.c2, 3);  // identity when new
  lookup.SetEntry(ZC24(0, 10, 20), ZC24(7, 7, 7));
  colour.SetPixel(ZC24(1, 12, 23), 0, 0);  // same 5-bit cell as (0, 10, 20)
  colour.SetPixel(ZC24(99, 10, 20), 0, 1);  // another cell, which gives its centre
  HueGetComponent(&colour, &plane, 1, &lookup);
  EXPECT_TRUE(plane.GetPixel(0, 0) == 7 && plane.GetPixel(0, 1) == 12);
  ZOk();
}

TEST(Views, OlderVectorStructure) {
  ZVector v;
  EXPECT_TRUE(v.GetDataPtr() == nullptr && v.SetStructure(4, 10, 2, 4) == 0);
  EXPECT_TRUE(v.GetAllocatedSize() == 80 && v.GetNbMaxGroup() == 10 && v.IsSameVectType(4));
  v.SetNbGroup(3);
  static_cast<int*>(v.GetDataPtr())[5] = 42;
  EXPECT_EQ(v.Reallocate(80 + 24576), 0);
  EXPECT_TRUE(static_cast<int*>(v.GetDataPtr())[5] == 42 && v.GetNbGroup() == 3);
  EXPECT_EQ(v.SetStructure(4, 1, 1, 3), Z_ERROR_BAD_ARGUMENTS);
  ZOk();
}

}  // namespace
