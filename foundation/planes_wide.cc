// Wide kernels of the colour plane copies: one component of a C24 row to a BW8 row and back.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "foundation/planes_wide.cc"
#include "hwy/foreach_target.h"  // IWYU pragma: keep
#include "hwy/highway.h"

#include "foundation/planes_wide.h"

HWY_BEFORE_NAMESPACE();
namespace kelmira::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

void GetComponentRow(const uint8_t* colour, uint8_t* gray, int width, unsigned component) {
  const hn::ScalableTag<uint8_t> d;
  const int lanes = static_cast<int>(hn::Lanes(d));
  int x = 0;
  for (; x + lanes <= width; x += lanes) {
    hn::Vec<decltype(d)> c0, c1, c2;
    hn::LoadInterleaved3(d, colour + 3 * x, c0, c1, c2);
    hn::StoreU(component == 0 ? c0 : component == 1 ? c1 : c2, d, gray + x);
  }
  for (; x < width; ++x) gray[x] = colour[3 * x + component];
}

void SetComponentRow(const uint8_t* gray, uint8_t* colour, int width, unsigned component) {
  const hn::ScalableTag<uint8_t> d;
  const int lanes = static_cast<int>(hn::Lanes(d));
  int x = 0;
  for (; x + lanes <= width; x += lanes) {
    hn::Vec<decltype(d)> c0, c1, c2;
    hn::LoadInterleaved3(d, colour + 3 * x, c0, c1, c2);
    const auto g = hn::LoadU(d, gray + x);
    if (component == 0) c0 = g;
    if (component == 1) c1 = g;
    if (component == 2) c2 = g;
    hn::StoreInterleaved3(c0, c1, c2, d, colour + 3 * x);
  }
  for (; x < width; ++x) colour[3 * x + component] = gray[x];
}

}  // namespace kelmira::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kelmira {
HWY_EXPORT(GetComponentRow);
HWY_EXPORT(SetComponentRow);

void WideGetComponentRow(const uint8_t* colour, uint8_t* gray, int width, unsigned component) {
  HWY_DYNAMIC_DISPATCH(GetComponentRow)(colour, gray, width, component);
}
void WideSetComponentRow(const uint8_t* gray, uint8_t* colour, int width, unsigned component) {
  HWY_DYNAMIC_DISPATCH(SetComponentRow)(gray, colour, width, component);
}
}  // namespace kelmira
#endif
