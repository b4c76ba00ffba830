// Wide kernels of the fixed-point convolution: one row of interior outputs, 32-bit lanes, the
// same wrapping integer arithmetic as the scalar workers, so the pixels are the same bits.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filters/convol_wide.cc"
#include "hwy/foreach_target.h"  // IWYU pragma: keep
#include "hwy/highway.h"

#include "filters/convol_wide.h"

#include <cstddef>
#include <cstring>

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

// A pixel read or written at any address (a BW16 row may start at an odd byte).
template <class S>
HWY_INLINE uint32_t Px(const S* p) {
  S v;
  std::memcpy(&v, p, sizeof(S));
  return v;
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
      for (int i = 0; i < N; ++i) sum += static_cast<uint32_t>(c[j * N + i]) * Px(rows[j] + x - R + i);
    const S r = static_cast<S>(FinishOne<S>(sum, finish, max));
    std::memcpy(destination + x, &r, sizeof(S));
  }
}

#if HWY_ARCH_X86 && HWY_TARGET != HWY_SCALAR
// BW8 with every coefficient within 16 bits: multiply-and-add of adjacent 16-bit words, each
// pair (c[2k], c[2k + 1]) against two neighbouring pixels. Even outputs take pairs from x - R,
// odd outputs from x - R + 1, so the 32-bit lanes of the two sums are outputs x + 2m and
// x + 2m + 1 and interleave back into order as the two halves of each lane. A pair sum is exact
// in 32 bits (|c| <= 32768, p <= 255) and the lanes add with the same wrap as the scalar sum.
// Covers outputs [x0, x) and returns x; it reads one pixel past the window of the last output.
template <int N>
HWY_INLINE int PairedRowN(const uint8_t* const* rows, uint8_t* destination, int x0, int count, const int32_t* c,
                          int32_t bias, Finish finish) {
  constexpr int R = N / 2;
  constexpr int kPairs = (N + 1) / 2;
  const hn::ScalableTag<int16_t> d16;
  const hn::Repartition<int32_t, decltype(d16)> d32;
  const hn::Rebind<uint8_t, decltype(d16)> d8;
  const int lanes = static_cast<int>(hn::Lanes(d16));
  hn::Vec<decltype(d16)> pairs[N * kPairs];
  for (int j = 0; j < N; ++j)
    for (int k = 0; k < kPairs; ++k) {
      const int32_t lo = c[j * N + 2 * k], hi = 2 * k + 1 < N ? c[j * N + 2 * k + 1] : 0;
      pairs[j * kPairs + k] =
          hn::BitCast(d16, hn::Set(d32, static_cast<int32_t>((static_cast<uint32_t>(hi) << 16) | (static_cast<uint32_t>(lo) & 0xFFFFu))));
    }
  const auto vBias = hn::Set(d32, bias);
  const auto vZero = hn::Zero(d32);
  const auto vMax = hn::Set(d32, 255);
  int x = x0;
  // The odd sum of the last pair reads pixel x + lanes + R: keep it inside the row.
  for (; x + lanes < x0 + count; x += lanes) {
    // Some targets (EMU128) put the odd-indexed products of each lane into the second sum:
    // added back, each lane holds its full pair sum on every target.
    auto even = vBias, odd = vBias, evenSecond = vZero, oddSecond = vZero;
    for (int j = 0; j < N; ++j) {
      const uint8_t* row = rows[j] + x - R;
      for (int k = 0; k < kPairs; ++k) {
        const auto pe = hn::BitCast(d16, hn::PromoteTo(hn::Rebind<uint16_t, decltype(d8)>(), hn::LoadU(d8, row + 2 * k)));
        const auto po = hn::BitCast(d16, hn::PromoteTo(hn::Rebind<uint16_t, decltype(d8)>(), hn::LoadU(d8, row + 2 * k + 1)));
        even = hn::ReorderWidenMulAccumulate(d32, pe, pairs[j * kPairs + k], even, evenSecond);
        odd = hn::ReorderWidenMulAccumulate(d32, po, pairs[j * kPairs + k], odd, oddSecond);
      }
    }
    even = hn::Add(even, evenSecond), odd = hn::Add(odd, oddSecond);
    auto re = finish == Finish::kQ8 ? hn::ShiftRight<8>(even) : hn::ShiftRight<15>(even);
    auto ro = finish == Finish::kQ8 ? hn::ShiftRight<8>(odd) : hn::ShiftRight<15>(odd);
    if (finish == Finish::kQ15Abs) re = hn::Abs(re), ro = hn::Abs(ro);
    re = hn::Min(hn::Max(re, vZero), vMax);
    ro = hn::Min(hn::Max(ro, vZero), vMax);
    const auto both = hn::BitCast(d16, hn::Or(re, hn::ShiftLeft<16>(ro)));
    hn::StoreU(hn::DemoteTo(d8, both), d8, destination + x);
  }
  return x;
}
#endif

template <class S>
void FixedRow(int n, const S* const* rows, S* destination, int x0, int count, const int32_t* c, int32_t bias,
              Finish finish) {
#if HWY_ARCH_X86 && HWY_TARGET != HWY_SCALAR
  if constexpr (sizeof(S) == 1) {
    bool narrow = true;
    for (int i = 0; i < n * n; ++i) narrow = narrow && c[i] >= -32768 && c[i] <= 32767;
    if (narrow) {
      int x = x0;
      if (n == 3) x = PairedRowN<3>(rows, destination, x0, count, c, bias, finish);
      if (n == 5) x = PairedRowN<5>(rows, destination, x0, count, c, bias, finish);
      if (n == 7) x = PairedRowN<7>(rows, destination, x0, count, c, bias, finish);
      count -= x - x0;
      x0 = x;
    }
  }
#endif
  if (n == 3) FixedRowN<3>(rows, destination, x0, count, c, bias, finish);
  if (n == 5) FixedRowN<5>(rows, destination, x0, count, c, bias, finish);
  if (n == 7) FixedRowN<7>(rows, destination, x0, count, c, bias, finish);
}

void FloatSums(const double* const* rows, int sx, int sy, const double* k, int count, double* sums) {
  const hn::ScalableTag<double> d;
  const int lanes = static_cast<int>(hn::Lanes(d));
  int x = 0;
  // Four vectors of outputs at a time for independent chains; each output's additions stay in
  // table order. Never MulAdd: the scalar loop rounds the product and the sum separately.
  for (; x + 4 * lanes <= count; x += 4 * lanes) {
    auto s0 = hn::Zero(d), s1 = s0, s2 = s0, s3 = s0;
    for (int j = 0; j < sy; ++j) {
      const double* row = rows[j] + x;
      const double* kj = k + static_cast<ptrdiff_t>(j) * sx;
      for (int i = 0; i < sx; ++i) {
        const auto c = hn::Set(d, kj[i]);
        s0 = hn::Add(s0, hn::Mul(hn::LoadU(d, row + i), c));
        s1 = hn::Add(s1, hn::Mul(hn::LoadU(d, row + i + lanes), c));
        s2 = hn::Add(s2, hn::Mul(hn::LoadU(d, row + i + 2 * lanes), c));
        s3 = hn::Add(s3, hn::Mul(hn::LoadU(d, row + i + 3 * lanes), c));
      }
    }
    hn::StoreU(s0, d, sums + x);
    hn::StoreU(s1, d, sums + x + lanes);
    hn::StoreU(s2, d, sums + x + 2 * lanes);
    hn::StoreU(s3, d, sums + x + 3 * lanes);
  }
  for (; x + lanes <= count; x += lanes) {
    auto s0 = hn::Zero(d);
    for (int j = 0; j < sy; ++j)
      for (int i = 0; i < sx; ++i)
        s0 = hn::Add(s0, hn::Mul(hn::LoadU(d, rows[j] + x + i), hn::Set(d, k[static_cast<ptrdiff_t>(j) * sx + i])));
    hn::StoreU(s0, d, sums + x);
  }
  for (; x < count; ++x) {
    double s = 0.0;
    for (int j = 0; j < sy; ++j)
      for (int i = 0; i < sx; ++i) s += rows[j][x + i] * k[static_cast<ptrdiff_t>(j) * sx + i];
    sums[x] = s;
  }
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
HWY_EXPORT(FloatSums);

void WideFloatSums(const double* const* rows, int sx, int sy, const double* k, int count, double* sums) {
  HWY_DYNAMIC_DISPATCH(FloatSums)(rows, sx, sy, k, count, sums);
}

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
