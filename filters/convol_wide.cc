// Wide kernels of the fixed-point convolution: one row of interior outputs, 32-bit lanes, the
// same wrapping integer arithmetic as the scalar workers, so the pixels are the same bits.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filters/convol_wide.cc"
#include "hwy/foreach_target.h"  // IWYU pragma: keep
#include "hwy/highway.h"

#include "filters/convol_wide.h"

HWY_BEFORE_NAMESPACE();
namespace kelmira::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;
using convol::Finish;

template <class S>
HWY_INLINE int32_t FinishOne(uint32_t sum, Finish finish, int32_t max) {
  const int32_t s = static_cast<int32_t>(sum);
  int32_t r = finish == Finish::kQ8 ? (s >> 8) : (s >> 15);
  if (finish == Finish::kQ15Abs && r < 0) r = -r;
  return r < 0 ? 0 : r > max ? max : r;
}

template <int N, class S>
HWY_INLINE void FixedRowN(const S* const* rows, S* destination, int x0, int count, const int32_t* c, int32_t bias,
                          Finish finish) {
  constexpr int R = N / 2;
  const hn::ScalableTag<int32_t> d32;
  const hn::Rebind<S, decltype(d32)> ds;
  const int lanes = static_cast<int>(hn::Lanes(d32));
  const int32_t max = sizeof(S) == 1 ? 255 : 65535;
  const auto vBias = hn::Set(d32, bias);
  const auto vZero = hn::Zero(d32);
  const auto vMax = hn::Set(d32, max);
  hn::Vec<decltype(d32)> taps[N * N];
  for (int i = 0; i < N * N; ++i) taps[i] = hn::Set(d32, c[i]);

  int x = x0;
  const int end = x0 + count;
  for (; x + lanes <= end; x += lanes) {
    auto sum = vBias;
    for (int j = 0; j < N; ++j) {
      const S* row = rows[j] + x - R;
      for (int i = 0; i < N; ++i) sum = hn::Add(sum, hn::Mul(hn::PromoteTo(d32, hn::LoadU(ds, row + i)), taps[j * N + i]));
    }
    auto r = finish == Finish::kQ8 ? hn::ShiftRight<8>(sum) : hn::ShiftRight<15>(sum);
    if (finish == Finish::kQ15Abs) r = hn::Abs(r);
    r = hn::Min(hn::Max(r, vZero), vMax);
    hn::StoreU(hn::DemoteTo(ds, r), ds, destination + x);
  }
  for (; x < end; ++x) {
    uint32_t sum = static_cast<uint32_t>(bias);
    for (int j = 0; j < N; ++j)
      for (int i = 0; i < N; ++i) sum += static_cast<uint32_t>(c[j * N + i]) * rows[j][x - R + i];
    destination[x] = static_cast<S>(FinishOne<S>(sum, finish, max));
  }
}

template <class S>
void FixedRow(int n, const S* const* rows, S* destination, int x0, int count, const int32_t* c, int32_t bias,
              Finish finish) {
  if (n == 3) FixedRowN<3>(rows, destination, x0, count, c, bias, finish);
  if (n == 5) FixedRowN<5>(rows, destination, x0, count, c, bias, finish);
  if (n == 7) FixedRowN<7>(rows, destination, x0, count, c, bias, finish);
}

void FixedRow8(int n, const uint8_t* const* rows, uint8_t* destination, int x0, int count, const int32_t* c,
               int32_t bias, Finish finish) {
  FixedRow(n, rows, destination, x0, count, c, bias, finish);
}
void FixedRow16(int n, const uint16_t* const* rows, uint16_t* destination, int x0, int count, const int32_t* c,
                int32_t bias, Finish finish) {
  FixedRow(n, rows, destination, x0, count, c, bias, finish);
}

}  // namespace kelmira::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kelmira::convol {
HWY_EXPORT(FixedRow8);
HWY_EXPORT(FixedRow16);

void WideFixedRow(int n, const uint8_t* const* rows, uint8_t* destination, int x0, int count, const int32_t* c,
                  int32_t bias, Finish finish) {
  HWY_DYNAMIC_DISPATCH(FixedRow8)(n, rows, destination, x0, count, c, bias, finish);
}
void WideFixedRow(int n, const uint16_t* const* rows, uint16_t* destination, int x0, int count, const int32_t* c,
                  int32_t bias, Finish finish) {
  HWY_DYNAMIC_DISPATCH(FixedRow16)(n, rows, destination, x0, count, c, bias, finish);
}
}  // namespace kelmira::convol
#endif
