// Wide kernel of the 3x3 median: a sorting network on whole vectors of pixels (32 of them with
// AVX2, 64 with AVX-512), two output rows per pass over four source rows. Each source row is
// sorted across first (the low, middle and high of columns x - 1, x, x + 1); the median of nine is
// then the median of the largest low, the median of the middles and the smallest high of the three
// rows, and the middle two rows are ordered once for both output rows. Exact, so the pixels are
// those of the scalar worker. A row's last partial vector is done again as a whole vector ending
// at the row's end: every output is a function of its inputs alone, so bytes written twice get
// the same value twice.
//
// Two details matter at widths of 4 KB and their multiples, where source and destination rows
// share their low address bits: a column's results are stored only after the next column has been
// loaded, so that no load follows a pending store to the same offset in a 4 KB page (the processor
// would take it for a dependency and wait), and large images are written with streaming stores,
// which do not read the destination into the cache first.
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

// Row r sorted across at columns x - 1, x, x + 1.
template <class D>
HWY_INLINE Sorted<hn::Vec<D>> Across(D d, const uint8_t* r, int x) {
  using V = hn::Vec<D>;
  const V a = hn::LoadU(d, r + x - 1), b = hn::LoadU(d, r + x), c = hn::LoadU(d, r + x + 1);
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

template <class D>
HWY_INLINE void Put(D d, hn::Vec<D> v, uint8_t* p, bool stream) {
  if (stream) {
    hn::Stream(v, d, p);
  } else {
    hn::StoreU(v, d, p);
  }
}

void MedianPair(const uint8_t* r0, const uint8_t* r1, const uint8_t* r2, const uint8_t* r3, uint8_t* out0,
                uint8_t* out1, int x0, int n, bool stream) {
  const hn::ScalableTag<uint8_t> d;
  using V = hn::Vec<decltype(d)>;
  const int lanes = static_cast<int>(hn::Lanes(d)), end = x0 + n;
  V m0, m1;
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
  // Streaming stores need whole aligned vectors: the first vector goes unaligned, the rest from
  // the first aligned column of out0 on, when out1 has the same alignment.
  const uintptr_t mask = static_cast<uintptr_t>(lanes) - 1;
  const uintptr_t at0 = reinterpret_cast<uintptr_t>(out0 + x0);
  stream = stream && (out1 == nullptr || ((at0 - reinterpret_cast<uintptr_t>(out1 + x0)) & mask) == 0);
  int x = x0;
  Column(d, r0, r1, r2, r3, x, m0, m1);
  int held = x;
  bool heldStream = false;
  x = stream ? x0 + static_cast<int>((static_cast<uintptr_t>(lanes) - (at0 & mask)) & mask) : x0 + lanes;
  if (x == x0) x += lanes;  // out0 + x0 already aligned: the first vector streams too
  if (stream && x - lanes == x0) heldStream = true;
  for (; x + lanes <= end; x += lanes) {
    V n0, n1;
    Column(d, r0, r1, r2, r3, x, n0, n1);
    Put(d, m0, out0 + held, heldStream);
    if (out1 != nullptr) Put(d, m1, out1 + held, heldStream);
    m0 = n0;
    m1 = n1;
    held = x;
    heldStream = stream;
  }
  Put(d, m0, out0 + held, heldStream);
  if (out1 != nullptr) Put(d, m1, out1 + held, heldStream);
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

void WideMedianPair(const uint8_t* r0, const uint8_t* r1, const uint8_t* r2, const uint8_t* r3, uint8_t* out0,
                    uint8_t* out1, int x0, int n, bool stream) {
  HWY_DYNAMIC_DISPATCH(MedianPair)(r0, r1, r2, r3, out0, out1, x0, n, stream);
}

void WideMedianFlush() { hwy::FlushStream(); }
}  // namespace kelmira::median
#endif
