// Wide kernel of the 3x3 median: a sorting network on whole vectors of pixels (32 of them with
// AVX2, 64 with AVX-512), two output rows per pass over four source rows. Each source row is
// sorted across first (the low, middle and high of columns x - 1, x, x + 1); the median of nine is
// then the median of the largest low, the median of the middles and the smallest high of the three
// rows, and the middle two rows are ordered once for both output rows. Exact, so the pixels are
// those of the scalar worker. A row's last partial vector is done again as a whole vector ending
// at the row's end: every output is a function of its inputs alone, so bytes written twice get
// the same value twice.
//
// A column's results are stored only after the next column has been loaded: at widths of 4 KB and
// their multiples source and destination rows share their low address bits, and a load that
// follows a pending store to the same offset in a 4 KB page waits for it (the processor takes it
// for a dependency). The rows of the pass after next are prefetched along the way: each source row
// is a new page, where the hardware prefetcher would start cold.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "morphology/median_wide.cc"
#include "hwy/foreach_target.h"  // IWYU pragma: keep
#include "hwy/highway.h"
#include "hwy/cache_control.h"

#include "morphology/median_wide.h"

HWY_BEFORE_NAMESPACE();
namespace kelmira::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// The low, middle and high of three values.
template <class V>
struct Sorted {
  V lo, mid, hi;
};

// Keeps a loaded vector in a register. Without it GCC folds each use of a load into the min or max
// that takes it, loading the same unaligned bytes three times: the loads, not the arithmetic, then
// bound the loop.
template <class V>
HWY_INLINE void InRegister(V& v) {
#if HWY_ARCH_X86 && HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128 && (HWY_COMPILER_GCC || HWY_COMPILER_CLANG)
  asm("" : "+v"(v.raw));
#else
  (void)v;
#endif
}

// Row r sorted across at columns x - 1, x, x + 1.
template <class D>
HWY_INLINE Sorted<hn::Vec<D>> Across(D d, const uint8_t* r, int x) {
  using V = hn::Vec<D>;
  V a = hn::LoadU(d, r + x - 1), b = hn::LoadU(d, r + x), c = hn::LoadU(d, r + x + 1);
  InRegister(a);
  InRegister(b);
  InRegister(c);
  const V p = hn::Min(b, c), q = hn::Max(b, c);
  return {hn::Min(a, p), hn::Max(p, hn::Min(a, q)), hn::Max(a, q)};
}

// The median of rows (t, b, c) given b and c combined: lo = max(b.lo, c.lo), hi = min(b.hi,
// c.hi), p <= q the two middles.
template <class V>
HWY_INLINE V MedianWith(const Sorted<V>& t, V lo, V hi, V p, V q) {
  const V l = hn::Max(lo, t.lo), h = hn::Min(hi, t.hi), m = hn::Max(p, hn::Min(q, t.mid));
  return hn::Max(hn::Min(l, m), hn::Min(hn::Max(l, m), h));
}

// The two output vectors at column x: m0 from rows r0..r2, m1 from rows r1..r3.
template <class D>
HWY_INLINE void Column(D d, const uint8_t* r0, const uint8_t* r1, const uint8_t* r2, const uint8_t* r3, int x,
                       hn::Vec<D>& m0, hn::Vec<D>& m1) {
  using V = hn::Vec<D>;
  const Sorted<V> a = Across(d, r0, x), b = Across(d, r1, x), c = Across(d, r2, x), e = Across(d, r3, x);
  const V lo = hn::Max(b.lo, c.lo), hi = hn::Min(b.hi, c.hi), p = hn::Min(b.mid, c.mid), q = hn::Max(b.mid, c.mid);
  m0 = MedianWith(a, lo, hi, p, q);
  m1 = MedianWith(e, lo, hi, p, q);
}

void MedianPair(const uint8_t* r0, const uint8_t* r1, const uint8_t* r2, const uint8_t* r3, const uint8_t* ahead0,
                const uint8_t* ahead1, uint8_t* out0, uint8_t* out1, int x0, int n) {
  const hn::ScalableTag<uint8_t> d;
  using V = hn::Vec<decltype(d)>;
  const int lanes = static_cast<int>(hn::Lanes(d)), end = x0 + n;
  if (n < lanes) {
    const hn::CappedTag<uint8_t, 1> d1;
    hn::Vec<decltype(d1)> s0, s1;
    for (int x = x0; x < end; ++x) {
      Column(d1, r0, r1, r2, r3, x, s0, s1);
      hn::StoreU(s0, d1, out0 + x);
      if (out1 != nullptr) hn::StoreU(s1, d1, out1 + x);
    }
    return;
  }
  V m0, m1;
  Column(d, r0, r1, r2, r3, x0, m0, m1);
  int held = x0, x = x0 + lanes;
  for (; x + lanes <= end; x += lanes) {
    hwy::Prefetch(ahead0 + x);
    hwy::Prefetch(ahead1 + x);
    V n0, n1;
    Column(d, r0, r1, r2, r3, x, n0, n1);
    hn::StoreU(m0, d, out0 + held);
    if (out1 != nullptr) hn::StoreU(m1, d, out1 + held);
    m0 = n0;
    m1 = n1;
    held = x;
  }
  hn::StoreU(m0, d, out0 + held);
  if (out1 != nullptr) hn::StoreU(m1, d, out1 + held);
  if (x < end) {
    Column(d, r0, r1, r2, r3, end - lanes, m0, m1);
    hn::StoreU(m0, d, out0 + end - lanes);
    if (out1 != nullptr) hn::StoreU(m1, d, out1 + end - lanes);
  }
}

}  // namespace kelmira::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kelmira::median {
HWY_EXPORT(MedianPair);

void WideMedianPair(const uint8_t* r0, const uint8_t* r1, const uint8_t* r2, const uint8_t* r3, const uint8_t* ahead0,
                    const uint8_t* ahead1, uint8_t* out0, uint8_t* out1, int x0, int n) {
  HWY_DYNAMIC_DISPATCH(MedianPair)(r0, r1, r2, r3, ahead0, ahead1, out0, out1, x0, n);
}
}  // namespace kelmira::median
#endif
