// Wide kernel of the gradient-vector image: 32-bit lanes, one pixel each, the differences of the
// scalar worker packed the same way, so the bits are the same.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filters/gradient_wide.cc"
#include "hwy/foreach_target.h"  // IWYU pragma: keep
#include "hwy/highway.h"

#include "filters/gradient_wide.h"

HWY_BEFORE_NAMESPACE();
namespace kelmira::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

void GradientRow(const uint8_t* north, const uint8_t* c, const uint8_t* south, uint32_t* out, int x0, int n) {
  const hn::ScalableTag<int32_t> d32;
  const hn::Rebind<uint8_t, decltype(d32)> d8;
  const hn::RebindToUnsigned<decltype(d32)> du;
  const int lanes = static_cast<int>(hn::Lanes(d32));
  const auto low = hn::Set(d32, 0xFFFF);
  int x = x0;
  const int end = x0 + n;
  for (; x + lanes <= end; x += lanes) {
    const auto w = hn::PromoteTo(d32, hn::LoadU(d8, c + x - 1));
    const auto e = hn::PromoteTo(d32, hn::LoadU(d8, c + x + 1));
    const auto nn = hn::PromoteTo(d32, hn::LoadU(d8, north + x));
    const auto s = hn::PromoteTo(d32, hn::LoadU(d8, south + x));
    const auto packed = hn::Or(hn::And(hn::Sub(w, e), low), hn::ShiftLeft<16>(hn::Sub(nn, s)));
    hn::StoreU(hn::BitCast(du, packed), du, out + x);
  }
  for (; x < end; ++x) {
    const uint32_t gx = static_cast<uint16_t>(c[x - 1] - c[x + 1]);
    const uint32_t gy = static_cast<uint16_t>(north[x] - south[x]);
    out[x] = gx | gy << 16;
  }
}

}  // namespace kelmira::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kelmira::gradient {
HWY_EXPORT(GradientRow);

void WideGradientRow(const uint8_t* north, const uint8_t* c, const uint8_t* south, uint32_t* out, int x0, int n) {
  HWY_DYNAMIC_DISPATCH(GradientRow)(north, c, south, out, x0, n);
}
}  // namespace kelmira::gradient
#endif
