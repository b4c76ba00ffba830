// Wide kernel of the gray morphology: the element-wise minimum or maximum of up to eight rows.
// Every pass of the family (3x3, cross, the running window) is built from it.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "morphology/gray_wide.cc"
#include "hwy/foreach_target.h"  // IWYU pragma: keep
#include "hwy/highway.h"

#include "morphology/gray_wide.h"

HWY_BEFORE_NAMESPACE();
namespace kelmira::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// All loads of a step come before its store, so `out` may alias rows[0] or lie below the rows in
// one buffer (the in-place doubling passes).
template <int kCount, bool kMax, class T>
HWY_INLINE void ReduceN(const T* const* rows, T* out, int n) {
  const hn::ScalableTag<T> d;
  const int lanes = static_cast<int>(hn::Lanes(d));
  auto op = [](auto a, auto b) { if constexpr (kMax) return hn::Max(a, b); else return hn::Min(a, b); };
  // Local copies of the row pointers: stores through a byte pointer could alias the array.
  const T* r[kCount];
  for (int i = 0; i < kCount; ++i) r[i] = rows[i];
  int x = 0;
  for (; x + lanes <= n; x += lanes) {
    auto v = hn::LoadU(d, r[0] + x);
    for (int i = 1; i < kCount; ++i) v = op(v, hn::LoadU(d, r[i] + x));
    hn::StoreU(v, d, out + x);
  }
  for (; x < n; ++x) {
    T v = r[0][x];
    for (int i = 1; i < kCount; ++i) v = kMax ? (r[i][x] > v ? r[i][x] : v) : (r[i][x] < v ? r[i][x] : v);
    out[x] = v;
  }
}

template <bool kMax, class T>
HWY_INLINE void ReduceCount(const T* const* rows, int count, T* out, int n) {
  switch (count) {
    case 2: return ReduceN<2, kMax>(rows, out, n);
    case 3: return ReduceN<3, kMax>(rows, out, n);
    case 4: return ReduceN<4, kMax>(rows, out, n);
    case 5: return ReduceN<5, kMax>(rows, out, n);
    case 6: return ReduceN<6, kMax>(rows, out, n);
    case 7: return ReduceN<7, kMax>(rows, out, n);
    default: return ReduceN<8, kMax>(rows, out, n);
  }
}

template <bool kMax, bool kFirst, class T>
HWY_INLINE void RunningStepT(T* slot, T* prefix, const T* raw, T* out, int n) {
  const hn::ScalableTag<T> d;
  const int lanes = static_cast<int>(hn::Lanes(d));
  auto op = [](auto a, auto b) { if constexpr (kMax) return hn::Max(a, b); else return hn::Min(a, b); };
  int x = 0;
  for (; x + lanes <= n; x += lanes) {
    const auto s = hn::LoadU(d, slot + x);
    const auto r = hn::LoadU(d, raw + x);
    if constexpr (kFirst) {
      hn::StoreU(s, d, out + x);
      hn::StoreU(r, d, prefix + x);
    } else {
      const auto p = hn::LoadU(d, prefix + x);
      hn::StoreU(op(s, p), d, out + x);
      hn::StoreU(op(p, r), d, prefix + x);
    }
    hn::StoreU(r, d, slot + x);
  }
  for (; x < n; ++x) {
    const T s = slot[x], r = raw[x], p = prefix[x];
    if (kFirst) {
      out[x] = s;
      prefix[x] = r;
    } else {
      out[x] = kMax ? (s > p ? s : p) : (s < p ? s : p);
      prefix[x] = kMax ? (p > r ? p : r) : (p < r ? p : r);
    }
    slot[x] = r;
  }
}

template <class T>
HWY_INLINE void RunningStepAny(T* slot, T* prefix, const T* raw, T* out, int n, bool max, bool first) {
  if (max)
    first ? RunningStepT<true, true>(slot, prefix, raw, out, n) : RunningStepT<true, false>(slot, prefix, raw, out, n);
  else
    first ? RunningStepT<false, true>(slot, prefix, raw, out, n) : RunningStepT<false, false>(slot, prefix, raw, out, n);
}

void RunningStep8(uint8_t* slot, uint8_t* prefix, const uint8_t* raw, uint8_t* out, int n, bool max, bool first) {
  RunningStepAny(slot, prefix, raw, out, n, max, first);
}
void RunningStep16(uint16_t* slot, uint16_t* prefix, const uint16_t* raw, uint16_t* out, int n, bool max,
                   bool first) {
  RunningStepAny(slot, prefix, raw, out, n, max, first);
}

void Reduce8(const uint8_t* const* rows, int count, uint8_t* out, int n, bool max) {
  max ? ReduceCount<true>(rows, count, out, n) : ReduceCount<false>(rows, count, out, n);
}
void Reduce16(const uint16_t* const* rows, int count, uint16_t* out, int n, bool max) {
  max ? ReduceCount<true>(rows, count, out, n) : ReduceCount<false>(rows, count, out, n);
}

}  // namespace kelmira::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kelmira::morpho {
HWY_EXPORT(Reduce8);
HWY_EXPORT(Reduce16);
HWY_EXPORT(RunningStep8);
HWY_EXPORT(RunningStep16);

void WideRunningStep(uint8_t* slot, uint8_t* prefix, const uint8_t* raw, uint8_t* out, int n, bool max, bool first) {
  HWY_DYNAMIC_DISPATCH(RunningStep8)(slot, prefix, raw, out, n, max, first);
}
void WideRunningStep(uint16_t* slot, uint16_t* prefix, const uint16_t* raw, uint16_t* out, int n, bool max,
                     bool first) {
  HWY_DYNAMIC_DISPATCH(RunningStep16)(slot, prefix, raw, out, n, max, first);
}

void WideReduce(const uint8_t* const* rows, int count, uint8_t* out, int n, bool max) {
  HWY_DYNAMIC_DISPATCH(Reduce8)(rows, count, out, n, max);
}
void WideReduce(const uint16_t* const* rows, int count, uint16_t* out, int n, bool max) {
  HWY_DYNAMIC_DISPATCH(Reduce16)(rows, count, out, n, max);
}
}  // namespace kelmira::morpho
#endif
