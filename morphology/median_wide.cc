// Wide kernels of the 3x3 median: a sorting network on whole vectors of pixels (32 of them with
// AVX2, 64 with AVX-512). The columns of three are sorted once, then the median of nine is the
// median of the largest low, the median of the middles and the smallest high: exact, so the
// pixels are those of the scalar worker. A row's last partial vector is done again as a whole
// vector ending at the row's end: every output is a function of its inputs alone.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "morphology/median_wide.cc"
#include "hwy/foreach_target.h"  // IWYU pragma: keep
#include "hwy/highway.h"

#include "morphology/median_wide.h"

HWY_BEFORE_NAMESPACE();
namespace kelmira::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

template <class V>
HWY_INLINE V Median3(V a, V b, V c) {
  return hn::Max(hn::Min(a, b), hn::Min(hn::Max(a, b), c));
}

// Runs step(x) over [0, n) in whole vectors, the last one moved back to end at n; n < lanes runs
// the scalar step over each pixel.
template <class Step, class One>
HWY_INLINE void Vectors(int n, int lanes, Step&& step, One&& one) {
  if (n < lanes) {
    for (int x = 0; x < n; ++x) one(x);
    return;
  }
  int x = 0;
  for (; x + lanes <= n; x += lanes) step(x);
  if (x < n) step(n - lanes);
}

void SortColumns(const uint8_t* a, const uint8_t* b, const uint8_t* c, uint8_t* lo, uint8_t* mid, uint8_t* hi,
                 int n) {
  const hn::ScalableTag<uint8_t> d;
  Vectors(
      n, static_cast<int>(hn::Lanes(d)),
      [&](int x) {
        const auto va = hn::LoadU(d, a + x), vb = hn::LoadU(d, b + x), vc = hn::LoadU(d, c + x);
        const auto p = hn::Min(va, vb), q = hn::Max(va, vb);
        const auto r = hn::Max(p, vc);
        hn::StoreU(hn::Min(p, vc), d, lo + x);
        hn::StoreU(hn::Min(q, r), d, mid + x);
        hn::StoreU(hn::Max(q, r), d, hi + x);
      },
      [&](int x) {
        const uint8_t p = a[x] < b[x] ? a[x] : b[x], q = a[x] < b[x] ? b[x] : a[x];
        const uint8_t r = p < c[x] ? c[x] : p;
        lo[x] = p < c[x] ? p : c[x];
        mid[x] = q < r ? q : r;
        hi[x] = q < r ? r : q;
      });
}

void MedianOfColumns(const uint8_t* lo, const uint8_t* mid, const uint8_t* hi, uint8_t* out, int n) {
  const hn::ScalableTag<uint8_t> d;
  const hn::CappedTag<uint8_t, 1> d1;
  auto at = [&](auto tag, int x) {
    const auto l = hn::Max(hn::Max(hn::LoadU(tag, lo + x), hn::LoadU(tag, lo + x + 1)), hn::LoadU(tag, lo + x + 2));
    const auto h = hn::Min(hn::Min(hn::LoadU(tag, hi + x), hn::LoadU(tag, hi + x + 1)), hn::LoadU(tag, hi + x + 2));
    const auto m = Median3(hn::LoadU(tag, mid + x), hn::LoadU(tag, mid + x + 1), hn::LoadU(tag, mid + x + 2));
    hn::StoreU(Median3(l, m, h), tag, out + x);
  };
  Vectors(
      n, static_cast<int>(hn::Lanes(d)), [&](int x) { at(d, x); }, [&](int x) { at(d1, x); });
}

}  // namespace kelmira::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kelmira::median {
HWY_EXPORT(SortColumns);
HWY_EXPORT(MedianOfColumns);

void WideSortColumns(const uint8_t* a, const uint8_t* b, const uint8_t* c, uint8_t* lo, uint8_t* mid, uint8_t* hi,
                     int n) {
  HWY_DYNAMIC_DISPATCH(SortColumns)(a, b, c, lo, mid, hi, n);
}
void WideMedianOfColumns(const uint8_t* lo, const uint8_t* mid, const uint8_t* hi, uint8_t* out, int n) {
  HWY_DYNAMIC_DISPATCH(MedianOfColumns)(lo, mid, hi, out, n);
}
}  // namespace kelmira::median
#endif
