// Wide kernel of the gray morphology: the element-wise minimum or maximum of up to five rows.
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
  int x = 0;
  for (; x + lanes <= n; x += lanes) {
    auto v = hn::LoadU(d, rows[0] + x);
    for (int i = 1; i < kCount; ++i) v = op(v, hn::LoadU(d, rows[i] + x));
    hn::StoreU(v, d, out + x);
  }
  for (; x < n; ++x) {
    T v = rows[0][x];
    for (int i = 1; i < kCount; ++i) v = kMax ? (rows[i][x] > v ? rows[i][x] : v) : (rows[i][x] < v ? rows[i][x] : v);
    out[x] = v;
  }
}

template <bool kMax, class T>
HWY_INLINE void ReduceCount(const T* const* rows, int count, T* out, int n) {
  switch (count) {
    case 2: return ReduceN<2, kMax>(rows, out, n);
    case 3: return ReduceN<3, kMax>(rows, out, n);
    case 4: return ReduceN<4, kMax>(rows, out, n);
    default: return ReduceN<5, kMax>(rows, out, n);
  }
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

void WideReduce(const uint8_t* const* rows, int count, uint8_t* out, int n, bool max) {
  HWY_DYNAMIC_DISPATCH(Reduce8)(rows, count, out, n, max);
}
void WideReduce(const uint16_t* const* rows, int count, uint16_t* out, int n, bool max) {
  HWY_DYNAMIC_DISPATCH(Reduce16)(rows, count, out, n, max);
}
}  // namespace kelmira::morpho
#endif
