// Wide kernel of the 3x3 median: a sorting network on whole vectors of pixels (32 of them with
// AVX2, 64 with AVX-512), two or four output rows per pass over four or six source rows. Each
// source row is sorted across once a pass (the low, middle and high of columns x - 1, x, x + 1);
// the median of nine is then the median of the largest low, the median of the middles and the
// smallest high of the three rows, and the middle two rows of each output pair are ordered once
// for both. Exact, so the pixels are those of the scalar worker. A row's last partial vector is
// done again as a whole vector ending at the row's end: every output is a function of its inputs
// alone, so bytes written twice get the same value twice.
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

// The K output vectors at column x, m[i] from rows r[i]..r[i + 2] (K even). Each source row is
// sorted across once, and the middle two rows of each output pair are combined once for both.
template <int K, class D>
HWY_INLINE void BandColumn(D d, const uint8_t* const* r, int x, hn::Vec<D>* m) {
  using V = hn::Vec<D>;
  Sorted<V> a = Across(d, r[0], x), b = Across(d, r[1], x);
  for (int i = 0; i < K; i += 2) {
    const Sorted<V> c = Across(d, r[i + 2], x), e = Across(d, r[i + 3], x);
    const V lo = hn::Max(b.lo, c.lo), hi = hn::Min(b.hi, c.hi), p = hn::Min(b.mid, c.mid), q = hn::Max(b.mid, c.mid);
    m[i] = MedianWith(a, lo, hi, p, q);
    m[i + 1] = MedianWith(e, lo, hi, p, q);
    a = c;
    b = e;
  }
}

template <int K, class D>
HWY_INLINE void StoreBand(D d, const hn::Vec<D>* m, uint8_t* const* out, int x) {
  for (int i = 0; i < K; ++i)
    if (out[i] != nullptr) hn::StoreU(m[i], d, out[i] + x);
}

template <int K>
HWY_INLINE void Band(const uint8_t* const* r, const uint8_t* const* ahead, uint8_t* const* out, int x0, int n) {
  const hn::ScalableTag<uint8_t> d;
  using V = hn::Vec<decltype(d)>;
  const int lanes = static_cast<int>(hn::Lanes(d)), end = x0 + n;
  if (n < lanes) {
    const hn::CappedTag<uint8_t, 1> d1;
    hn::Vec<decltype(d1)> s[K];
    for (int x = x0; x < end; ++x) {
      BandColumn<K>(d1, r, x, s);
      StoreBand<K>(d1, s, out, x);
    }
    return;
  }
  V m[K];
  BandColumn<K>(d, r, x0, m);
  int held = x0, x = x0 + lanes;
  for (; x + lanes <= end; x += lanes) {
    for (int i = 0; i < K; ++i) hwy::Prefetch(ahead[i] + x);
    V next[K];
    BandColumn<K>(d, r, x, next);
    StoreBand<K>(d, m, out, held);
    for (int i = 0; i < K; ++i) m[i] = next[i];
    held = x;
  }
  StoreBand<K>(d, m, out, held);
  if (x < end) {
    BandColumn<K>(d, r, end - lanes, m);
    StoreBand<K>(d, m, out, end - lanes);
  }
}

void MedianBand(const uint8_t* const* r, const uint8_t* const* ahead, uint8_t* const* out, int rows, int x0, int n) {
  if (rows == 4)
    Band<4>(r, ahead, out, x0, n);
  else
    Band<2>(r, ahead, out, x0, n);
}

}  // namespace kelmira::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kelmira::median {
HWY_EXPORT(MedianBand);

void WideMedianBand(const uint8_t* const* rows, const uint8_t* const* ahead, uint8_t* const* out, int count, int x0,
                    int n) {
  HWY_DYNAMIC_DISPATCH(MedianBand)(rows, ahead, out, count, x0, n);
}
}  // namespace kelmira::median
#endif
