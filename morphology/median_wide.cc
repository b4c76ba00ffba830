// Wide kernel of the 3x3 median: a sorting network on whole vectors of pixels (32 of them with
// AVX2, 64 with AVX-512). Each column of three is sorted, then the median of nine is the median of
// the largest of the three lows, the median of the middles and the smallest of the highs: exact,
// so the pixels are those of the scalar worker.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "morphology/median_wide.cc"
#include "hwy/foreach_target.h"  // IWYU pragma: keep
#include "hwy/highway.h"

#include "morphology/median_wide.h"

HWY_BEFORE_NAMESPACE();
namespace kelmira::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

template <class V>
HWY_INLINE void Sort3(V& lo, V& mid, V& hi) {
  const V a = hn::Min(lo, mid), b = hn::Max(lo, mid);
  lo = hn::Min(a, hi);
  const V c = hn::Max(a, hi);
  mid = hn::Min(b, c);
  hi = hn::Max(b, c);
}

template <class V>
HWY_INLINE V Median3(V a, V b, V c) {
  return hn::Max(hn::Min(a, b), hn::Min(hn::Max(a, b), c));
}

void MedianRow(const uint8_t* a, const uint8_t* b, const uint8_t* c, uint8_t* out, int n) {
  const hn::ScalableTag<uint8_t> d;
  const int lanes = static_cast<int>(hn::Lanes(d));
  int x = 0;
  for (; x + lanes <= n; x += lanes) {
    auto l0 = hn::LoadU(d, a + x), m0 = hn::LoadU(d, b + x), h0 = hn::LoadU(d, c + x);
    auto l1 = hn::LoadU(d, a + x + 1), m1 = hn::LoadU(d, b + x + 1), h1 = hn::LoadU(d, c + x + 1);
    auto l2 = hn::LoadU(d, a + x + 2), m2 = hn::LoadU(d, b + x + 2), h2 = hn::LoadU(d, c + x + 2);
    Sort3(l0, m0, h0);
    Sort3(l1, m1, h1);
    Sort3(l2, m2, h2);
    const auto lo = hn::Max(hn::Max(l0, l1), l2);
    const auto hi = hn::Min(hn::Min(h0, h1), h2);
    hn::StoreU(Median3(lo, Median3(m0, m1, m2), hi), d, out + x);
  }
  if (x < n) {  // the last partial vector again, overlapping: every output is a pure function
    if (n >= lanes) {
      MedianRow(a + n - lanes, b + n - lanes, c + n - lanes, out + n - lanes, lanes);
      return;
    }
    for (; x < n; ++x) {
      uint8_t v[9] = {a[x], a[x + 1], a[x + 2], b[x], b[x + 1], b[x + 2], c[x], c[x + 1], c[x + 2]};
      for (int i = 1; i < 9; ++i)
        for (int j = i; j > 0 && v[j - 1] > v[j]; --j) {
          const uint8_t t = v[j];
          v[j] = v[j - 1];
          v[j - 1] = t;
        }
      out[x] = v[4];
    }
  }
}

}  // namespace kelmira::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kelmira::median {
HWY_EXPORT(MedianRow);

void WideMedianRow(const uint8_t* a, const uint8_t* b, const uint8_t* c, uint8_t* out, int n) {
  HWY_DYNAMIC_DISPATCH(MedianRow)(a, b, c, out, n);
}
}  // namespace kelmira::median
#endif
