// Wide kernels of the convert family: gray to and from C24, BW8 to and from BW16, BW8 to float,
// and the 4:2:2 gray words.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "pixelwise/convert_wide.cc"
#include "hwy/foreach_target.h"  // IWYU pragma: keep
#include "hwy/highway.h"

#include "pixelwise/convert_wide.h"

HWY_BEFORE_NAMESPACE();
namespace kelmira::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

int GrayToC24(const uint8_t* gray, uint8_t* colour, int width) {
  const hn::ScalableTag<uint8_t> d;
  const int lanes = static_cast<int>(hn::Lanes(d));
  int x = 0;
  for (; x + lanes <= width; x += lanes) {
    const auto v = hn::LoadU(d, gray + x);
    hn::StoreInterleaved3(v, v, v, d, colour + 3 * x);
  }
  return x;
}

int C24ToGray(const uint8_t* colour, uint8_t* gray, int width) {
  // 16-bit lanes: (b0 + b1 + b2) * 85 is at most 65025, so the product fits.
  const hn::ScalableTag<uint16_t> d16;
  const hn::Rebind<int16_t, decltype(d16)> di16;
  const hn::Rebind<uint8_t, decltype(d16)> d8;
  const int lanes = static_cast<int>(hn::Lanes(d16));
  const auto k85 = hn::Set(d16, 85);
  int x = 0;
  for (; x + lanes <= width; x += lanes) {
    hn::Vec<decltype(d8)> b0, b1, b2;
    hn::LoadInterleaved3(d8, colour + 3 * x, b0, b1, b2);
    const auto sum = hn::Add(hn::Add(hn::PromoteTo(d16, b0), hn::PromoteTo(d16, b1)), hn::PromoteTo(d16, b2));
    const auto mean = hn::ShiftRight<8>(hn::Mul(sum, k85));
    hn::StoreU(hn::DemoteTo(d8, hn::BitCast(di16, mean)), d8, gray + x);
  }
  return x;
}

int BW8ToBW16(const uint8_t* source, uint16_t* destination, int width, unsigned shift) {
  const hn::ScalableTag<uint16_t> d16;
  const hn::Rebind<uint8_t, decltype(d16)> d8;
  const int lanes = static_cast<int>(hn::Lanes(d16));
  const int count = static_cast<int>(shift);
  int x = 0;
  for (; x + lanes <= width; x += lanes)
    hn::StoreU(hn::ShiftLeftSame(hn::PromoteTo(d16, hn::LoadU(d8, source + x)), count), d16, destination + x);
  return x;
}

int BW16ToBW8(const uint16_t* source, uint8_t* destination, int width, unsigned shift) {
  const hn::ScalableTag<uint16_t> d16;
  const hn::Rebind<int16_t, decltype(d16)> di16;
  const hn::Rebind<uint8_t, decltype(d16)> d8;
  const int lanes = static_cast<int>(hn::Lanes(d16));
  const int count = static_cast<int>(shift);
  const auto low = hn::Set(d16, 0xff);
  int x = 0;
  for (; x + lanes <= width; x += lanes) {
    const auto v = hn::And(hn::ShiftRightSame(hn::LoadU(d16, source + x), count), low);
    hn::StoreU(hn::DemoteTo(d8, hn::BitCast(di16, v)), d8, destination + x);
  }
  return x;
}

int BW8ToFloat(const uint8_t* source, float* destination, int width) {
  const hn::ScalableTag<float> df;
  const hn::Rebind<int32_t, decltype(df)> di;
  const hn::Rebind<uint8_t, decltype(df)> d8;
  const int lanes = static_cast<int>(hn::Lanes(df));
  int x = 0;
  for (; x + lanes <= width; x += lanes)
    hn::StoreU(hn::ConvertTo(df, hn::PromoteTo(di, hn::LoadU(d8, source + x))), df, destination + x);
  return x;
}

int To422(const uint8_t* source, uint16_t* destination, int width) {
  const hn::ScalableTag<uint16_t> d16;
  const hn::Rebind<uint8_t, decltype(d16)> d8;
  const int lanes = static_cast<int>(hn::Lanes(d16));
  const auto chroma = hn::Set(d16, 0x8000);
  int x = 0;
  for (; x + lanes <= width; x += lanes)
    hn::StoreU(hn::Or(hn::PromoteTo(d16, hn::LoadU(d8, source + x)), chroma), d16, destination + x);
  return x;
}

}  // namespace kelmira::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kelmira {
HWY_EXPORT(GrayToC24);
HWY_EXPORT(C24ToGray);
HWY_EXPORT(BW8ToBW16);
HWY_EXPORT(BW16ToBW8);
HWY_EXPORT(BW8ToFloat);
HWY_EXPORT(To422);

namespace convert {
int WideGrayToC24(const uint8_t* gray, uint8_t* colour, int width) {
  return HWY_DYNAMIC_DISPATCH(GrayToC24)(gray, colour, width);
}
int WideC24ToGray(const uint8_t* colour, uint8_t* gray, int width) {
  return HWY_DYNAMIC_DISPATCH(C24ToGray)(colour, gray, width);
}
int WideBW8ToBW16(const uint8_t* source, uint16_t* destination, int width, unsigned shift) {
  return HWY_DYNAMIC_DISPATCH(BW8ToBW16)(source, destination, width, shift);
}
int WideBW16ToBW8(const uint16_t* source, uint8_t* destination, int width, unsigned shift) {
  return HWY_DYNAMIC_DISPATCH(BW16ToBW8)(source, destination, width, shift);
}
int WideBW8ToFloat(const uint8_t* source, float* destination, int width) {
  return HWY_DYNAMIC_DISPATCH(BW8ToFloat)(source, destination, width);
}
int WideTo422(const uint8_t* source, uint16_t* destination, int width) {
  return HWY_DYNAMIC_DISPATCH(To422)(source, destination, width);
}
}  // namespace convert
}  // namespace kelmira
#endif
