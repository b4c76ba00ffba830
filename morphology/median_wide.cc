// Wide kernel of the 3x3 median: a sorting network on whole vectors of pixels (32 of them with
// AVX2, 64 with AVX-512), two output rows per pass. Each column of three is sorted with the pair
// of middle rows ordered once for both output rows; the median of nine is then the median of
// the largest low, the median of the middles and the smallest high: exact, so the pixels are
// those of the scalar worker. The neighbour columns are read from the rows themselves, without
// line buffers. A row's last partial vector is done again as a whole vector ending at the row's
// end: every output is a function of its inputs alone.
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

// The low, middle and high of (a, p, q) with p <= q.
template <class V>
struct Sorted {
  HWY_INLINE Sorted(V a, V p, V q) : lo(hn::Min(a, p)), mid(hn::Max(p, hn::Min(a, q))), hi(hn::Max(a, q)) {}
  V lo, mid, hi;
};

template <class V>
HWY_INLINE V MedianOfNine(const Sorted<V>& w, const Sorted<V>& c, const Sorted<V>& e) {
  const V lo = hn::Max(hn::Max(w.lo, c.lo), e.lo);
  const V hi = hn::Min(hn::Min(w.hi, c.hi), e.hi);
  return Median3(lo, Median3(w.mid, c.mid, e.mid), hi);
}

template <class D>
HWY_INLINE void PairAt(D d, const uint8_t* HWY_RESTRICT r0, const uint8_t* HWY_RESTRICT r1,
                       const uint8_t* HWY_RESTRICT r2, const uint8_t* HWY_RESTRICT r3, uint8_t* out0, uint8_t* out1,
                       int x) {
  using V = hn::Vec<D>;
  V p[3], q[3];
  for (int i = 0; i < 3; ++i) {
    const V b = hn::LoadU(d, r1 + x - 1 + i), c = hn::LoadU(d, r2 + x - 1 + i);
    p[i] = hn::Min(b, c);
    q[i] = hn::Max(b, c);
  }
  {
    const Sorted<V> w(hn::LoadU(d, r0 + x - 1), p[0], q[0]), c(hn::LoadU(d, r0 + x), p[1], q[1]),
        e(hn::LoadU(d, r0 + x + 1), p[2], q[2]);
    hn::StoreU(MedianOfNine(w, c, e), d, out0 + x);
  }
  if (out1 == nullptr) return;
  const Sorted<V> w(hn::LoadU(d, r3 + x - 1), p[0], q[0]), c(hn::LoadU(d, r3 + x), p[1], q[1]),
      e(hn::LoadU(d, r3 + x + 1), p[2], q[2]);
  hn::StoreU(MedianOfNine(w, c, e), d, out1 + x);
}

void MedianPair(const uint8_t* r0, const uint8_t* r1, const uint8_t* r2, const uint8_t* r3, uint8_t* out0,
                uint8_t* out1, int x0, int n) {
  const hn::ScalableTag<uint8_t> d;
  const hn::CappedTag<uint8_t, 1> d1;
  const int lanes = static_cast<int>(hn::Lanes(d)), end = x0 + n;
  if (n < lanes) {
    for (int x = x0; x < end; ++x) PairAt(d1, r0, r1, r2, r3, out0, out1, x);
    return;
  }
  int x = x0;
  for (; x + lanes <= end; x += lanes) PairAt(d, r0, r1, r2, r3, out0, out1, x);
  if (x < end) PairAt(d, r0, r1, r2, r3, out0, out1, end - lanes);
}

}  // namespace kelmira::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kelmira::median {
HWY_EXPORT(MedianPair);

void WideMedianPair(const uint8_t* r0, const uint8_t* r1, const uint8_t* r2, const uint8_t* r3, uint8_t* out0,
                    uint8_t* out1, int x0, int n) {
  HWY_DYNAMIC_DISPATCH(MedianPair)(r0, r1, r2, r3, out0, out1, x0, n);
}
}  // namespace kelmira::median
#endif
