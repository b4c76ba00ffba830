// Wide twins of the row sums (row_sums.h). Integer sums are exact whatever the order of the
// additions, so the lanes may add in any order and the results equal the scalar ones. Squares of
// bytes go into 32-bit lanes (by VNNI's byte dot product where the processor has it, else by
// 16-bit pairwise multiply-add), flushed into 64 bits before they could overflow; the 16-bit
// squares through 64-bit even-lane products.
#undef HWY_TARGET_INCLUDE
// This file alone also builds the AVX3_DL target, for the byte dot product of the squares.
#ifndef HWY_WANT_AVX3_DL
#define HWY_WANT_AVX3_DL
#endif
#define HWY_TARGET_INCLUDE "measure/row_sums_wide.cc"
#include "hwy/foreach_target.h"  // IWYU pragma: keep
#include "hwy/highway.h"

#include "foundation/wide_ops-inl.h"
#include "measure/row_sums.h"

#include <algorithm>

HWY_BEFORE_NAMESPACE();
namespace kelmira::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;
using namespace measure;

#if HWY_TARGET == HWY_SCALAR
// One lane: nothing to gain, the scalar rows serve.
uint64_t Sum8(const uint8_t* p, int n) { return scalar::Sum(p, n); }
uint64_t Sum16(const uint16_t* p, int n) { return scalar::Sum(p, n); }
uint64_t SumRows8(const uint8_t* first, ptrdiff_t pitch, int n, int height) {
  uint64_t r = 0;
  for (int y = 0; y < height; ++y) r += scalar::Sum(first + y * pitch, n);
  return r;
}
uint64_t MinMaxSum8(const uint8_t* p, int n, uint8_t& lo, uint8_t& hi) { return scalar::MinMaxSum(p, n, lo, hi); }
uint64_t MinMaxSum16(const uint16_t* p, int n, uint16_t& lo, uint16_t& hi) { return scalar::MinMaxSum(p, n, lo, hi); }
SumSq SumSquares8(const uint8_t* p, int n) { return scalar::SumSquares(p, n); }
SumSq SumSquaresRows8(const uint8_t* first, ptrdiff_t pitch, int n, int height) {
  SumSq r;
  for (int y = 0; y < height; ++y) {
    const SumSq row = scalar::SumSquares(first + y * pitch, n);
    r.sum += row.sum, r.squares += row.squares;
  }
  return r;
}
SumSq SumSquares16(const uint16_t* p, int n) { return scalar::SumSquares(p, n); }
void MinMax8(const uint8_t* p, int n, uint8_t& lo, uint8_t& hi) { scalar::MinMax(p, n, lo, hi); }
void MinMax16(const uint16_t* p, int n, uint16_t& lo, uint16_t& hi) { scalar::MinMax(p, n, lo, hi); }
Below CountBelow8(const uint8_t* p, int n, uint32_t l, uint32_t h) { return scalar::CountBelow(p, n, l, h); }
Below CountBelow16(const uint16_t* p, int n, uint32_t l, uint32_t h) { return scalar::CountBelow(p, n, l, h); }
uint64_t CountDiffer8(const uint8_t* a, const uint8_t* b, int n) { return scalar::CountDiffer(a, b, n); }
uint64_t CountDiffer16(const uint16_t* a, const uint16_t* b, int n) { return scalar::CountDiffer(a, b, n); }
SumSq SquareDiff8(const uint8_t* a, const uint8_t* b, int n) { return scalar::SquareDiff(a, b, n); }
SumSq SquareDiff16(const uint16_t* a, const uint16_t* b, int n) { return scalar::SquareDiff(a, b, n); }
uint64_t Focus8(const uint8_t* p, const uint8_t* q, int n) { return scalar::Focus(p, q, n); }
uint64_t Focus16(const uint16_t* p, const uint16_t* q, int n) { return scalar::Focus(p, q, n); }
Spatial Weighted8(const uint8_t* p, int n) { return scalar::Weighted(p, n); }
Spatial Binary8(const uint8_t* p, int n, uint32_t t) { return scalar::Binary(p, n, t); }
Spatial Weighted64x8(const uint8_t* p, int n) { return scalar::Weighted(p, n); }
Spatial Binary64x8(const uint8_t* p, int n, uint32_t t) { return scalar::Binary(p, n, t); }
Spatial Weighted16(const uint16_t* p, int n) { return scalar::Weighted(p, n); }
Spatial Binary16(const uint16_t* p, int n, uint32_t t) { return scalar::Binary(p, n, t); }
uint32_t Profile8(const uint8_t* p, int n, uint32_t* c, bool b, uint32_t t) { return scalar::Profile(p, n, c, b, t); }
uint32_t Profile16(const uint16_t* p, int n, uint32_t* c, bool b, uint32_t t) { return scalar::Profile(p, n, c, b, t); }
Pairs Regression8(const uint8_t* a, const uint8_t* b, int n, bool c) { return scalar::Regression(a, b, n, c); }
void SumSquaresC24(const uint8_t* p, int n, SumSq* out) { scalar::SumSquares3(p, n, out); }
void SumC24(const uint8_t* p, int n, SumSq* out) { scalar::Sum3(p, n, out); }
void SquareDiffC24(const uint8_t* a, const uint8_t* b, int n, SumSq* out) { scalar::SquareDiff3(a, b, n, out); }
void FocusC24(const uint8_t* p, const uint8_t* q, int n, uint64_t* out) { scalar::Focus3(p, q, n, out); }
uint64_t CountDifferC24(const uint8_t* a, const uint8_t* b, int n) { return scalar::CountDiffer3(a, b, n); }
#else

template <class D>
HWY_INLINE uint64_t SumLanes(D d, hn::Vec<D> v) {
  HWY_ALIGN hn::TFromD<D> lanes[hn::MaxLanes(d)];
  hn::Store(v, d, lanes);
  uint64_t s = 0;
  for (size_t i = 0; i < hn::Lanes(d); ++i) s += static_cast<uint64_t>(lanes[i]);
  return s;
}

// The total of 64-bit lanes by Highway's reduction, cheaper than a store and a loop.
template <class D>
HWY_INLINE uint64_t Total64(D d, hn::Vec<D> v) {
  return static_cast<uint64_t>(hn::GetLane(hn::SumOfLanes(d, v)));
}

// The totals of the 64-bit lanes of a and of b, added to ta and tb: one interleave and a halving
// fold serve both.
template <class D>
HWY_INLINE void Fold2(D d, hn::Vec<D> v, int64_t& ta, int64_t& tb) {
  if constexpr (hn::MaxLanes(D()) > 2) {
    const hn::Half<D> dh;
    Fold2(dh, hn::Add(hn::LowerHalf(dh, v), hn::UpperHalf(dh, v)), ta, tb);
  } else {
    ta += hn::GetLane(v), tb += hn::ExtractLane(v, 1);
    (void)d;
  }
}
template <class D>
HWY_INLINE void Totals2(D d, hn::Vec<D> a, hn::Vec<D> b, int64_t& ta, int64_t& tb) {
  Fold2(d, hn::Add(hn::InterleaveLower(d, a, b), hn::InterleaveUpper(d, a, b)), ta, tb);
}

// Signed 32-bit lanes widened to 64, in pairs, so that their total cannot overflow.
template <class D>
HWY_INLINE hn::Vec<hn::Repartition<int64_t, D>> Widen32(D d, hn::Vec<D> v) {
  const hn::Half<D> dh;
  const hn::Repartition<int64_t, D> d64;
  (void)d;
  return hn::Add(hn::PromoteTo(d64, hn::LowerHalf(dh, v)), hn::PromoteTo(d64, hn::UpperHalf(dh, v)));
}

// Iterations of a byte loop between two flushes of its 32-bit square sums: at most four pairs of
// squares of 255 a lane per iteration, 2048 * 4 * 130050 < 2^31.
constexpr int kFlush8 = 2048;

// Adds the products of the bytes of v and w, in pairs, to the 32-bit lanes of acc.
template <class D8>
HWY_INLINE hn::Vec<hn::Repartition<int32_t, D8>> AddSquares8(D8 d8, hn::Vec<D8> v, hn::Vec<D8> w,
                                                             hn::Vec<hn::Repartition<int32_t, D8>> acc) {
  const hn::Repartition<uint16_t, D8> d16;
  const hn::Repartition<int16_t, D8> di16;
  const hn::Repartition<int32_t, D8> d32;
  const auto zero = hn::Zero(d8);
  // Some targets (EMU128) put half of the products into the second sum: it is added back.
  auto second = hn::Zero(d32);
  const auto v0 = hn::BitCast(di16, hn::ZipLower(d16, v, zero)), v1 = hn::BitCast(di16, hn::ZipUpper(d16, v, zero));
  const auto w0 = hn::BitCast(di16, hn::ZipLower(d16, w, zero)), w1 = hn::BitCast(di16, hn::ZipUpper(d16, w, zero));
  acc = hn::ReorderWidenMulAccumulate(d32, v0, w0, acc, second);
  acc = hn::ReorderWidenMulAccumulate(d32, v1, w1, acc, second);
  return hn::Add(acc, second);
}

// Squares of bytes gathered in 32-bit lanes, four bytes a lane per vector. With VNNI (AVX3_DL)
// one dot product adds v * (v - 128) (the byte unsigned times the byte xor 0x80 read signed);
// the caller adds kSquareBias times the sum of the bytes, since v * v = v * (v - 128) + 128 * v.
// Elsewhere the even and odd bytes go to 16-bit lanes and pairwise multiply-add. Either way a
// lane grows by less than 2^18 a vector in magnitude, so kSquareRun vectors cannot overflow it.
constexpr int kSquareRun = 8192;
#if HWY_TARGET == HWY_AVX3_DL
// Highway 1.0.3 neither wraps the byte dot product nor names avx512vnni for this target.
#define KELMIRA_DOT_ATTR __attribute__((target("avx512vnni")))
constexpr int64_t kSquareBias = 128;
template <class D8>
KELMIRA_DOT_ATTR HWY_INLINE hn::Vec<hn::Repartition<int32_t, D8>> AddSquareBytes(
    D8 d8, hn::Vec<D8> v, hn::Vec<hn::Repartition<int32_t, D8>> acc) {
  static_assert(hn::MaxLanes(D8()) == 64, "full 512-bit vectors");
  const auto s = hn::Xor(v, hn::Set(d8, uint8_t{0x80}));
  return hn::Vec<hn::Repartition<int32_t, D8>>{_mm512_dpbusd_epi32(acc.raw, v.raw, s.raw)};
}
// The bytes' sums in 32-bit lanes: a dot product with ones.
template <class D8>
KELMIRA_DOT_ATTR HWY_INLINE hn::Vec<hn::Repartition<int32_t, D8>> AddByteSums(
    D8 d8, hn::Vec<D8> v, hn::Vec<hn::Repartition<int32_t, D8>> acc) {
  return hn::Vec<hn::Repartition<int32_t, D8>>{_mm512_dpbusd_epi32(acc.raw, v.raw, hn::Set(d8, uint8_t{1}).raw)};
}
#else
#define KELMIRA_DOT_ATTR
constexpr int64_t kSquareBias = 0;
template <class D8>
HWY_INLINE hn::Vec<hn::Repartition<int32_t, D8>> AddSquareBytes(D8 /*d8*/, hn::Vec<D8> v,
                                                                hn::Vec<hn::Repartition<int32_t, D8>> acc) {
  const hn::Repartition<int16_t, D8> d16;
  const hn::Repartition<int32_t, D8> d32;
  const auto w = hn::BitCast(d16, v);
  const auto even = hn::And(w, hn::Set(d16, int16_t{0xFF}));
  const auto odd = hn::BitCast(d16, hn::ShiftRight<8>(hn::BitCast(hn::Repartition<uint16_t, D8>(), v)));
  auto unused = hn::Zero(d32);
  acc = hn::ReorderWidenMulAccumulate(d32, even, even, acc, unused);
  return hn::ReorderWidenMulAccumulate(d32, odd, odd, acc, unused);
}
// The bytes' sums in 32-bit lanes: sums of eight, each in the low half of a 64-bit lane.
template <class D8>
HWY_INLINE hn::Vec<hn::Repartition<int32_t, D8>> AddByteSums(D8 /*d8*/, hn::Vec<D8> v,
                                                             hn::Vec<hn::Repartition<int32_t, D8>> acc) {
  return hn::Add(acc, hn::BitCast(hn::Repartition<int32_t, D8>(), hn::SumsOf8(v)));
}
#endif

// Adds the squares of the 16-bit lanes of v to the 64-bit lanes of acc.
template <class D16>
HWY_INLINE hn::Vec<hn::Repartition<uint64_t, D16>> AddSquares16(D16 d16, hn::Vec<D16> v,
                                                                hn::Vec<hn::Repartition<uint64_t, D16>> acc) {
  const hn::Repartition<uint32_t, D16> d32;
  const hn::Repartition<uint64_t, D16> d64;
  const auto zero = hn::Zero(d16);
  const auto w0 = hn::ZipLower(d32, v, zero), w1 = hn::ZipUpper(d32, v, zero);
  const auto o0 = hn::BitCast(d32, hn::ShiftRight<32>(hn::BitCast(d64, w0)));
  const auto o1 = hn::BitCast(d32, hn::ShiftRight<32>(hn::BitCast(d64, w1)));
  acc = hn::Add(acc, hn::Add(hn::MulEven(w0, w0), hn::MulEven(o0, o0)));
  return hn::Add(acc, hn::Add(hn::MulEven(w1, w1), hn::MulEven(o1, o1)));
}

// Folds the lanes of lo and hi into minimum and maximum: bytes are widened to 16-bit lanes, whose
// reductions Highway has on every target.
template <class D>
HWY_INLINE void FoldExtremes(D d, hn::Vec<D> lo, hn::Vec<D> hi, hn::TFromD<D>& minimum, hn::TFromD<D>& maximum) {
  using S = hn::TFromD<D>;
  const hn::Repartition<uint16_t, D> d16;
  auto lo16 = hn::BitCast(d16, lo), hi16 = hn::BitCast(d16, hi);
  if constexpr (sizeof(S) == 1) {
    const auto low = hn::Set(d16, uint16_t{0xFF});
    lo16 = hn::Min(hn::And(lo16, low), hn::ShiftRight<8>(lo16));
    hi16 = hn::Max(hn::And(hi16, low), hn::ShiftRight<8>(hi16));
  }
  (void)d;
  const S a = static_cast<S>(hn::GetLane(hn::MinOfLanes(d16, lo16)));
  const S b = static_cast<S>(hn::GetLane(hn::MaxOfLanes(d16, hi16)));
  if (a < minimum) minimum = a;
  if (b > maximum) maximum = b;
}

// Sums of the lanes of v into acc: bytes by sums of eight into 64-bit lanes, 16-bit values by
// pairs into 32-bit lanes (the caller flushes those before they can overflow).
template <class D>
HWY_INLINE hn::Vec<hn::Repartition<uint64_t, D>> AddValues(D d, hn::Vec<D> v, hn::Vec<hn::Repartition<uint64_t, D>> acc) {
  if constexpr (sizeof(hn::TFromD<D>) == 1) {
    return hn::Add(acc, hn::SumsOf8(v));
  } else {
    const hn::Repartition<uint32_t, D> d32;
    const auto zero = hn::Zero(d);
    return hn::Add(acc, hn::BitCast(hn::Repartition<uint64_t, D>(),
                                    hn::Add(hn::ZipLower(d32, v, zero), hn::ZipUpper(d32, v, zero))));
  }
}

// The sum, and with kExtremes the extremes, of a row. 16-bit rows flush their 32-bit lanes every
// 16384 vectors (two values under 2^16 a lane per vector).
template <bool kExtremes, class S>
HWY_INLINE uint64_t SumT(const S* p, int n, S& minimum, S& maximum) {
  const hn::ScalableTag<S> d;
  const hn::Repartition<uint64_t, decltype(d)> d64;
  const hn::Repartition<uint32_t, decltype(d)> d32;
  const int lanes = static_cast<int>(hn::Lanes(d));
  auto lo = hn::Set(d, minimum), hi = hn::Set(d, maximum);
  uint64_t total = 0;
  int x = 0;
  while (x + lanes <= n) {
    auto s0 = hn::Zero(d64), s1 = s0;
    for (int k = 0; k < 8192 && x + 2 * lanes <= n; ++k, x += 2 * lanes) {
      const auto v0 = hn::LoadU(d, p + x), v1 = hn::LoadU(d, p + x + lanes);
      s0 = AddValues(d, v0, s0);
      s1 = AddValues(d, v1, s1);
      if (kExtremes) lo = hn::Min(lo, hn::Min(v0, v1)), hi = hn::Max(hi, hn::Max(v0, v1));
    }
    if (x + 2 * lanes > n && x + lanes <= n) {
      const auto v = hn::LoadU(d, p + x);
      s0 = AddValues(d, v, s0);
      if (kExtremes) lo = hn::Min(lo, v), hi = hn::Max(hi, v);
      x += lanes;
    }
    const auto s = hn::Add(s0, s1);
    total += sizeof(S) == 1 ? SumLanes(d64, s) : SumLanes(d32, hn::BitCast(d32, s));
  }
  if (kExtremes) {
    if (n >= lanes) FoldExtremes(d, lo, hi, minimum, maximum);
    scalar::MinMax(p + x, n - x, minimum, maximum);
  }
  return total + scalar::Sum(p + x, n - x);
}
// Bytes: sums of eight into 64-bit lanes, which no view can overflow; four accumulators so that
// the additions do not wait on each other. SumRows8 keeps them across the rows of a view and
// reduces once.
HWY_INLINE void AddRow8(const uint8_t* p, int n, hn::Vec<hn::ScalableTag<uint64_t>> (&s)[4], uint64_t& tail) {
  const hn::ScalableTag<uint8_t> d8;
  const int lanes = static_cast<int>(hn::Lanes(d8));
  int x = 0;
  for (; x + 4 * lanes <= n; x += 4 * lanes) {
    s[0] = hn::Add(s[0], hn::SumsOf8(hn::LoadU(d8, p + x)));
    s[1] = hn::Add(s[1], hn::SumsOf8(hn::LoadU(d8, p + x + lanes)));
    s[2] = hn::Add(s[2], hn::SumsOf8(hn::LoadU(d8, p + x + 2 * lanes)));
    s[3] = hn::Add(s[3], hn::SumsOf8(hn::LoadU(d8, p + x + 3 * lanes)));
  }
  for (; x + lanes <= n; x += lanes) s[0] = hn::Add(s[0], hn::SumsOf8(hn::LoadU(d8, p + x)));
  tail += scalar::Sum(p + x, n - x);
}
uint64_t SumRows8(const uint8_t* first, ptrdiff_t pitch, int n, int height) {
  const hn::ScalableTag<uint64_t> d64;
  hn::Vec<decltype(d64)> s[4] = {hn::Zero(d64), hn::Zero(d64), hn::Zero(d64), hn::Zero(d64)};
  uint64_t tail = 0;
  for (int y = 0; y < height; ++y) AddRow8(first + y * pitch, n, s, tail);
  return Total64(d64, hn::Add(hn::Add(s[0], s[1]), hn::Add(s[2], s[3]))) + tail;
}
uint64_t Sum8(const uint8_t* p, int n) { return SumRows8(p, 0, n, 1); }

uint64_t Sum16(const uint16_t* p, int n) {
  uint16_t lo = 0, hi = 0;
  return SumT<false>(p, n, lo, hi);
}
uint64_t MinMaxSum8(const uint8_t* p, int n, uint8_t& lo, uint8_t& hi) { return SumT<true>(p, n, lo, hi); }
uint64_t MinMaxSum16(const uint16_t* p, int n, uint16_t& lo, uint16_t& hi) { return SumT<true>(p, n, lo, hi); }

// Sums and squares over `height` rows in 32-bit lanes (the sums stay far below 2^31), flushed into
// 64 bits after kSquareRun vectors in all, not once a row, which on rows of a few dozen vectors
// costs as much as the rows themselves.
KELMIRA_DOT_ATTR SumSq SumSquaresRows8(const uint8_t* first, ptrdiff_t pitch, int n, int height) {
  const hn::ScalableTag<uint8_t> d8;
  const hn::Repartition<int32_t, decltype(d8)> d32;
  const hn::Repartition<int64_t, decltype(d8)> d64;
  const int lanes = static_cast<int>(hn::Lanes(d8));
  int64_t sum = 0, squares = 0;
  SumSq tails;
  auto q0 = hn::Zero(d32), q1 = q0, q2 = q0, q3 = q0, s0 = q0, s1 = q0, s2 = q0, s3 = q0;
  int used = 0;  // vectors added since the last flush
  const auto flush = [&] {
    Totals2(d64, Widen32(d32, hn::Add(hn::Add(s0, s1), hn::Add(s2, s3))),
            Widen32(d32, hn::Add(hn::Add(q0, q1), hn::Add(q2, q3))), sum, squares);
    q0 = q1 = q2 = q3 = s0 = s1 = s2 = s3 = hn::Zero(d32);
    used = 0;
  };
  for (int y = 0; y < height; ++y) {
    const uint8_t* p = first + y * pitch;
    int x = 0;
    while (x + lanes <= n) {
      const int take = std::min((n - x) / lanes, kSquareRun - used);
      const int stop = x + take * lanes;
      for (; x + 4 * lanes <= stop; x += 4 * lanes) {
        const auto v0 = hn::LoadU(d8, p + x), v1 = hn::LoadU(d8, p + x + lanes);
        const auto v2 = hn::LoadU(d8, p + x + 2 * lanes), v3 = hn::LoadU(d8, p + x + 3 * lanes);
        s0 = AddByteSums(d8, v0, s0);
        s1 = AddByteSums(d8, v1, s1);
        s2 = AddByteSums(d8, v2, s2);
        s3 = AddByteSums(d8, v3, s3);
        q0 = AddSquareBytes(d8, v0, q0);
        q1 = AddSquareBytes(d8, v1, q1);
        q2 = AddSquareBytes(d8, v2, q2);
        q3 = AddSquareBytes(d8, v3, q3);
      }
      for (; x < stop; x += lanes) {
        const auto v = hn::LoadU(d8, p + x);
        s0 = AddByteSums(d8, v, s0);
        q0 = AddSquareBytes(d8, v, q0);
      }
      used += take;
      if (used == kSquareRun) flush();
    }
    const SumSq t = scalar::SumSquares(p + x, n - x);
    tails.sum += t.sum, tails.squares += t.squares;
  }
  flush();
  tails.sum += static_cast<uint64_t>(sum);
  tails.squares += static_cast<uint64_t>(squares + kSquareBias * sum);
  return tails;
}

KELMIRA_DOT_ATTR SumSq SumSquares8(const uint8_t* p, int n) { return SumSquaresRows8(p, 0, n, 1); }

SumSq SumSquares16(const uint16_t* p, int n) {
  const hn::ScalableTag<uint16_t> d16;
  const hn::Repartition<uint32_t, decltype(d16)> d32;
  const hn::Repartition<uint64_t, decltype(d16)> d64;
  const int lanes = static_cast<int>(hn::Lanes(d16));
  const auto zero = hn::Zero(d16);
  auto squares = hn::Zero(d64);
  uint64_t sum = 0;
  int x = 0;
  while (x + lanes <= n) {
    auto s = hn::Zero(d32);  // two values under 2^16 a lane per iteration
    for (int k = 0; k < 16384 && x + lanes <= n; ++k, x += lanes) {
      const auto v = hn::LoadU(d16, p + x);
      s = hn::Add(s, hn::Add(hn::ZipLower(d32, v, zero), hn::ZipUpper(d32, v, zero)));
      squares = AddSquares16(d16, v, squares);
    }
    sum += SumLanes(d32, s);
  }
  SumSq r = scalar::SumSquares(p + x, n - x);
  r.sum += sum;
  r.squares += SumLanes(d64, squares);
  return r;
}

template <class S>
void MinMaxT(const S* p, int n, S& minimum, S& maximum) {
  const hn::ScalableTag<S> d;
  const int lanes = static_cast<int>(hn::Lanes(d));
  int x = 0;
  if (n >= lanes) {
    auto lo = hn::Set(d, minimum), hi = hn::Set(d, maximum);
    for (; x + lanes <= n; x += lanes) {
      const auto v = hn::LoadU(d, p + x);
      lo = hn::Min(lo, v);
      hi = hn::Max(hi, v);
    }
    FoldExtremes(d, lo, hi, minimum, maximum);
  }
  scalar::MinMax(p + x, n - x, minimum, maximum);
}
void MinMax8(const uint8_t* p, int n, uint8_t& lo, uint8_t& hi) { MinMaxT(p, n, lo, hi); }
void MinMax16(const uint16_t* p, int n, uint16_t& lo, uint16_t& hi) { MinMaxT(p, n, lo, hi); }

// Counts below a level by comparison masks; a level above every pixel counts them all.
template <class S>
Below CountBelowT(const S* p, int n, uint32_t low, uint32_t high) {
  const hn::ScalableTag<S> d;
  const int lanes = static_cast<int>(hn::Lanes(d));
  constexpr uint32_t kMax = static_cast<S>(~S{0});
  const auto vl = hn::Set(d, static_cast<S>(std::min(low, kMax))), vh = hn::Set(d, static_cast<S>(std::min(high, kMax)));
  Below r;
  int x = 0;
  for (; x + lanes <= n; x += lanes) {
    const auto v = hn::LoadU(d, p + x);
    r.low += hn::CountTrue(d, hn::Lt(v, vl));
    r.high += hn::CountTrue(d, hn::Lt(v, vh));
  }
  if (low > kMax) r.low = static_cast<uint64_t>(x);
  if (high > kMax) r.high = static_cast<uint64_t>(x);
  const Below t = scalar::CountBelow(p + x, n - x, low, high);
  r.low += t.low, r.high += t.high;
  return r;
}
Below CountBelow8(const uint8_t* p, int n, uint32_t l, uint32_t h) { return CountBelowT(p, n, l, h); }
Below CountBelow16(const uint16_t* p, int n, uint32_t l, uint32_t h) { return CountBelowT(p, n, l, h); }

template <class S>
uint64_t CountDifferT(const S* a, const S* b, int n) {
  const hn::ScalableTag<S> d;
  const int lanes = static_cast<int>(hn::Lanes(d));
  uint64_t r = 0;
  int x = 0;
  for (; x + lanes <= n; x += lanes) r += hn::CountTrue(d, hn::Ne(hn::LoadU(d, a + x), hn::LoadU(d, b + x)));
  return r + scalar::CountDiffer(a + x, b + x, n - x);
}
uint64_t CountDiffer8(const uint8_t* a, const uint8_t* b, int n) { return CountDifferT(a, b, n); }
uint64_t CountDiffer16(const uint16_t* a, const uint16_t* b, int n) { return CountDifferT(a, b, n); }

SumSq SquareDiff8(const uint8_t* a, const uint8_t* b, int n) {
  const hn::ScalableTag<uint8_t> d8;
  const hn::Repartition<int32_t, decltype(d8)> d32;
  const int lanes = static_cast<int>(hn::Lanes(d8));
  uint64_t aa = 0, dd = 0;
  int x = 0;
  while (x + lanes <= n) {
    auto qa = hn::Zero(d32), qd = hn::Zero(d32);
    for (int k = 0; k < kFlush8 && x + lanes <= n; ++k, x += lanes) {
      const auto va = hn::LoadU(d8, a + x), vd = AbsDiffU(va, hn::LoadU(d8, b + x));
      qa = AddSquares8(d8, va, va, qa);
      qd = AddSquares8(d8, vd, vd, qd);
    }
    aa += SumLanes(d32, qa), dd += SumLanes(d32, qd);
  }
  SumSq r = scalar::SquareDiff(a + x, b + x, n - x);
  r.sum += aa, r.squares += dd;
  return r;
}

SumSq SquareDiff16(const uint16_t* a, const uint16_t* b, int n) {
  const hn::ScalableTag<uint16_t> d16;
  const hn::Repartition<uint64_t, decltype(d16)> d64;
  const int lanes = static_cast<int>(hn::Lanes(d16));
  auto qa = hn::Zero(d64), qd = hn::Zero(d64);
  int x = 0;
  for (; x + lanes <= n; x += lanes) {
    const auto va = hn::LoadU(d16, a + x);
    qa = AddSquares16(d16, va, qa);
    qd = AddSquares16(d16, AbsDiffU(va, hn::LoadU(d16, b + x)), qd);
  }
  SumSq r = scalar::SquareDiff(a + x, b + x, n - x);
  r.sum += SumLanes(d64, qa), r.squares += SumLanes(d64, qd);
  return r;
}

uint64_t Focus8(const uint8_t* p, const uint8_t* below, int n) {
  const hn::ScalableTag<uint8_t> d8;
  const hn::Repartition<int32_t, decltype(d8)> d32;
  const int lanes = static_cast<int>(hn::Lanes(d8));
  uint64_t r = 0;
  int x = 0;
  while (x + lanes <= n) {
    auto q = hn::Zero(d32);
    for (int k = 0; k < kFlush8 && x + lanes <= n; ++k, x += lanes) {
      const auto v = hn::LoadU(d8, p + x);
      const auto d1 = AbsDiffU(v, hn::LoadU(d8, p + x + 1)), d2 = AbsDiffU(v, hn::LoadU(d8, below + x));
      q = AddSquares8(d8, d1, d1, q);
      q = AddSquares8(d8, d2, d2, q);
    }
    r += SumLanes(d32, q);
  }
  return r + scalar::Focus(p + x, below + x, n - x);
}

uint64_t Focus16(const uint16_t* p, const uint16_t* below, int n) {
  const hn::ScalableTag<uint16_t> d16;
  const hn::Repartition<uint64_t, decltype(d16)> d64;
  const int lanes = static_cast<int>(hn::Lanes(d16));
  auto q = hn::Zero(d64);
  int x = 0;
  for (; x + lanes <= n; x += lanes) {
    const auto v = hn::LoadU(d16, p + x);
    q = AddSquares16(d16, AbsDiffU(v, hn::LoadU(d16, p + x + 1)), q);
    q = AddSquares16(d16, AbsDiffU(v, hn::LoadU(d16, below + x)), q);
  }
  return SumLanes(d64, q) + scalar::Focus(p + x, below + x, n - x);
}

// The moment sums of a row in lanes of L: uint32_t for the BW8 moments, whose lanes wrap as a
// 32-bit accumulator would (the result is cut to 32 bits), uint64_t for the exact sums modulo
// 2^64 of the BW16 moments and the stretches of the inertia. The pixels load a fraction of a
// vector at a time and widen to the lanes (in two steps to 64 bits).
template <class D, class S>
HWY_INLINE hn::Vec<D> LoadWidened(D d, const S* p) {
  if constexpr (sizeof(hn::TFromD<D>) == 4) {
    return hn::PromoteTo(d, hn::LoadU(hn::Rebind<S, D>(), p));
  } else {
    const hn::Rebind<uint32_t, D> d32;
    return hn::PromoteTo(d, hn::PromoteTo(d32, hn::LoadU(hn::Rebind<S, D>(), p)));
  }
}

// The lanes' totals plus the scalar tail's sums, in the width of the lanes.
template <class D>
HWY_INLINE Spatial Totals(D d, hn::Vec<D> w, hn::Vec<D> wx, hn::Vec<D> wxx, const Spatial& tail) {
  if constexpr (sizeof(hn::TFromD<D>) == 4) {
    return Spatial{static_cast<uint32_t>(SumLanes(d, w) + tail.w), static_cast<uint32_t>(SumLanes(d, wx) + tail.wx),
                   static_cast<uint32_t>(SumLanes(d, wxx) + tail.wxx)};
  } else {
    return Spatial{Total64(d, w) + tail.w, Total64(d, wx) + tail.wx, Total64(d, wxx) + tail.wxx};
  }
}

template <class L, class S>
Spatial WeightedT(const S* p, int n) {
  const hn::ScalableTag<L> d;
  const int lanes = static_cast<int>(hn::Lanes(d));
  const auto step = hn::Set(d, static_cast<L>(lanes));
  auto vx = hn::Iota(d, 0);
  auto w = hn::Zero(d), wx = w, wxx = w;
  int x = 0;
  for (; x + lanes <= n; x += lanes, vx = hn::Add(vx, step)) {
    const auto g = LoadWidened(d, p + x);
    const auto gx = hn::Mul(g, vx);
    w = hn::Add(w, g);
    wx = hn::Add(wx, gx);
    wxx = hn::Add(wxx, hn::Mul(gx, vx));
  }
  Spatial tail{};
  for (int i = x; i < n; ++i) {
    const uint64_t g = p[i], ux = static_cast<uint64_t>(i);
    tail.w += g, tail.wx += g * ux, tail.wxx += g * ux * ux;
  }
  return Totals(d, w, wx, wxx, tail);
}

template <class L, class S>
Spatial BinaryT(const S* p, int n, uint32_t threshold) {
  if (threshold > static_cast<S>(~S{0})) return Spatial{};
  const hn::ScalableTag<L> d;
  const int lanes = static_cast<int>(hn::Lanes(d));
  const auto step = hn::Set(d, static_cast<L>(lanes));
  const auto t = hn::Set(d, static_cast<L>(threshold)), one = hn::Set(d, L{1});
  auto vx = hn::Iota(d, 0);
  auto w = hn::Zero(d), wx = w, wxx = w;
  int x = 0;
  for (; x + lanes <= n; x += lanes, vx = hn::Add(vx, step)) {
    const auto on = hn::Lt(t, hn::Add(LoadWidened(d, p + x), one));  // v >= t
    w = hn::Add(w, hn::IfThenElseZero(on, one));
    wx = hn::Add(wx, hn::IfThenElseZero(on, vx));
    wxx = hn::Add(wxx, hn::IfThenElseZero(on, hn::Mul(vx, vx)));
  }
  Spatial tail{};
  for (int i = x; i < n; ++i)
    if (p[i] >= threshold) {
      const uint64_t ux = static_cast<uint64_t>(i);
      tail.w += 1, tail.wx += ux, tail.wxx += ux * ux;
    }
  return Totals(d, w, wx, wxx, tail);
}
Spatial Weighted8(const uint8_t* p, int n) { return WeightedT<uint32_t>(p, n); }
Spatial Binary8(const uint8_t* p, int n, uint32_t t) { return BinaryT<uint32_t>(p, n, t); }
Spatial Weighted64x8(const uint8_t* p, int n) { return WeightedT<uint64_t>(p, n); }
Spatial Binary64x8(const uint8_t* p, int n, uint32_t t) { return BinaryT<uint64_t>(p, n, t); }
Spatial Weighted16(const uint16_t* p, int n) { return WeightedT<uint64_t>(p, n); }
Spatial Binary16(const uint16_t* p, int n, uint32_t t) { return BinaryT<uint64_t>(p, n, t); }

// Column profile of a stretch in 32-bit lanes that wrap as the scalar entries do; the stretch's
// total weight is the sum of the lanes it added, modulo 2^32.
template <class S>
uint32_t ProfileT(const S* p, int n, uint32_t* columns, bool binary, uint32_t threshold) {
  const hn::ScalableTag<uint32_t> d32;
  const hn::Rebind<S, decltype(d32)> ds;
  const int lanes = static_cast<int>(hn::Lanes(d32));
  const bool none = binary && threshold > static_cast<S>(~S{0});
  const auto t = hn::Set(d32, none ? 0u : threshold), one = hn::Set(d32, 1u);
  auto sum = hn::Zero(d32);
  int x = 0;
  for (; x + lanes <= n && !none; x += lanes) {
    const auto v = hn::PromoteTo(d32, hn::LoadU(ds, p + x));
    const auto w = binary ? hn::IfThenElseZero(hn::Lt(t, hn::Add(v, one)), one) : v;  // v >= t
    hn::StoreU(hn::Add(hn::LoadU(d32, columns + x), w), d32, columns + x);
    sum = hn::Add(sum, w);
  }
  if (none) x = n;  // nothing at or above the threshold: no entry changes
  return static_cast<uint32_t>(SumLanes(d32, sum)) + scalar::Profile(p + x, n - x, columns + x, binary, threshold);
}
uint32_t Profile8(const uint8_t* p, int n, uint32_t* c, bool b, uint32_t t) { return ProfileT(p, n, c, b, t); }
uint32_t Profile16(const uint16_t* p, int n, uint32_t* c, bool b, uint32_t t) { return ProfileT(p, n, c, b, t); }

Pairs Regression8(const uint8_t* a, const uint8_t* b, int n, bool excludeClipped) {
  const hn::ScalableTag<uint8_t> d8;
  const hn::Repartition<uint64_t, decltype(d8)> d64;
  const hn::Repartition<int32_t, decltype(d8)> d32;
  const int lanes = static_cast<int>(hn::Lanes(d8));
  const auto zero = hn::Zero(d8), full = hn::Set(d8, uint8_t{255});
  auto sa = hn::Zero(d64), sb = sa;
  Pairs r;
  int x = 0;
  while (x + lanes <= n) {
    auto qaa = hn::Zero(d32), qab = qaa, qbb = qaa;
    for (int k = 0; k < kFlush8 && x + lanes <= n; ++k, x += lanes) {
      auto va = hn::LoadU(d8, a + x), vb = hn::LoadU(d8, b + x);
      if (excludeClipped) {
        // A left-out position adds 0 to every sum and is not counted.
        const auto keep = hn::And(hn::And(hn::Ne(va, zero), hn::Ne(va, full)), hn::And(hn::Ne(vb, zero), hn::Ne(vb, full)));
        va = hn::IfThenElseZero(keep, va);
        vb = hn::IfThenElseZero(keep, vb);
        r.n += hn::CountTrue(d8, keep);
      } else {
        r.n += static_cast<uint64_t>(lanes);
      }
      sa = hn::Add(sa, hn::SumsOf8(va));
      sb = hn::Add(sb, hn::SumsOf8(vb));
      qaa = AddSquares8(d8, va, va, qaa);
      qab = AddSquares8(d8, va, vb, qab);
      qbb = AddSquares8(d8, vb, vb, qbb);
    }
    r.aa += SumLanes(d32, qaa), r.ab += SumLanes(d32, qab), r.bb += SumLanes(d32, qbb);
  }
  const Pairs t = scalar::Regression(a + x, b + x, n - x, excludeClipped);
  r.a = SumLanes(d64, sa) + t.a, r.b = SumLanes(d64, sb) + t.b;
  r.aa += t.aa, r.ab += t.ab, r.bb += t.bb, r.n += t.n;
  return r;
}
// ----- C24: the three bytes of each pixel split into planes as they load -----

// Per component: the sums of the bytes, and with kSquares of their squares.
template <bool kSquares>
KELMIRA_DOT_ATTR void SumsC24(const uint8_t* p, int n, SumSq* out) {
  const hn::ScalableTag<uint8_t> d8;
  const hn::Repartition<uint64_t, decltype(d8)> d64;
  const hn::Repartition<int32_t, decltype(d8)> d32;
  const int lanes = static_cast<int>(hn::Lanes(d8));
  const hn::Repartition<int64_t, decltype(d8)> di64;
  hn::Vec<decltype(d64)> sums[3] = {hn::Zero(d64), hn::Zero(d64), hn::Zero(d64)};
  int64_t sum[3] = {}, squares[3] = {};
  int x = 0;
  while (x + lanes <= n) {
    // A lane of each component grows by four squares a vector at most, as in the BW8 rows.
    const int stop = n - x > kSquareRun * lanes ? x + kSquareRun * lanes : n;
    hn::Vec<decltype(d32)> q[3] = {hn::Zero(d32), hn::Zero(d32), hn::Zero(d32)};
    for (; x + lanes <= stop; x += lanes) {
      hn::Vec<decltype(d8)> v[3];
      hn::LoadInterleaved3(d8, p + 3 * x, v[0], v[1], v[2]);
      for (int c = 0; c < 3; ++c) {
        sums[c] = hn::Add(sums[c], hn::SumsOf8(v[c]));
        if (kSquares) q[c] = AddSquareBytes(d8, v[c], q[c]);
      }
    }
    for (int c = 0; c < 3 && kSquares; ++c) squares[c] += hn::GetLane(hn::SumOfLanes(di64, Widen32(d32, q[c])));
  }
  for (int c = 0; c < 3; ++c) {
    sum[c] = static_cast<int64_t>(Total64(d64, sums[c]));
    out[c].sum += static_cast<uint64_t>(sum[c]);
    if (kSquares) out[c].squares += static_cast<uint64_t>(squares[c] + kSquareBias * sum[c]);
  }
  if (kSquares) scalar::SumSquares3(p + 3 * x, n - x, out);
  else scalar::Sum3(p + 3 * x, n - x, out);
}
void SumSquaresC24(const uint8_t* p, int n, SumSq* out) { SumsC24<true>(p, n, out); }
void SumC24(const uint8_t* p, int n, SumSq* out) { SumsC24<false>(p, n, out); }

void SquareDiffC24(const uint8_t* a, const uint8_t* b, int n, SumSq* out) {
  const hn::ScalableTag<uint8_t> d8;
  const hn::Repartition<int32_t, decltype(d8)> d32;
  const int lanes = static_cast<int>(hn::Lanes(d8));
  int x = 0;
  while (x + lanes <= n) {
    hn::Vec<decltype(d32)> qa[3] = {hn::Zero(d32), hn::Zero(d32), hn::Zero(d32)}, qd[3] = {qa[0], qa[1], qa[2]};
    for (int k = 0; k < kFlush8 / 2 && x + lanes <= n; ++k, x += lanes) {
      hn::Vec<decltype(d8)> va[3], vb[3];
      hn::LoadInterleaved3(d8, a + 3 * x, va[0], va[1], va[2]);
      hn::LoadInterleaved3(d8, b + 3 * x, vb[0], vb[1], vb[2]);
      for (int c = 0; c < 3; ++c) {
        const auto dv = AbsDiffU(va[c], vb[c]);
        qa[c] = AddSquares8(d8, va[c], va[c], qa[c]);
        qd[c] = AddSquares8(d8, dv, dv, qd[c]);
      }
    }
    for (int c = 0; c < 3; ++c) out[c].sum += SumLanes(d32, qa[c]), out[c].squares += SumLanes(d32, qd[c]);
  }
  scalar::SquareDiff3(a + 3 * x, b + 3 * x, n - x, out);
}

void FocusC24(const uint8_t* p, const uint8_t* below, int n, uint64_t* out) {
  const hn::ScalableTag<uint8_t> d8;
  const hn::Repartition<int32_t, decltype(d8)> d32;
  const int lanes = static_cast<int>(hn::Lanes(d8));
  int x = 0;
  while (x + lanes <= n) {
    hn::Vec<decltype(d32)> q[3] = {hn::Zero(d32), hn::Zero(d32), hn::Zero(d32)};
    for (int k = 0; k < kFlush8 && x + lanes <= n; ++k, x += lanes) {
      hn::Vec<decltype(d8)> v[3], r[3], u[3];
      hn::LoadInterleaved3(d8, p + 3 * x, v[0], v[1], v[2]);
      hn::LoadInterleaved3(d8, p + 3 * x + 3, r[0], r[1], r[2]);
      hn::LoadInterleaved3(d8, below + 3 * x, u[0], u[1], u[2]);
      for (int c = 0; c < 3; ++c) {
        const auto d1 = AbsDiffU(v[c], r[c]), d2 = AbsDiffU(v[c], u[c]);
        q[c] = AddSquares8(d8, d2, d2, AddSquares8(d8, d1, d1, q[c]));
      }
    }
    for (int c = 0; c < 3; ++c) out[c] += SumLanes(d32, q[c]);
  }
  scalar::Focus3(p + 3 * x, below + 3 * x, n - x, out);
}

uint64_t CountDifferC24(const uint8_t* a, const uint8_t* b, int n) {
  const hn::ScalableTag<uint8_t> d8;
  const int lanes = static_cast<int>(hn::Lanes(d8));
  uint64_t r = 0;
  int x = 0;
  for (; x + lanes <= n; x += lanes) {
    hn::Vec<decltype(d8)> va[3], vb[3];
    hn::LoadInterleaved3(d8, a + 3 * x, va[0], va[1], va[2]);
    hn::LoadInterleaved3(d8, b + 3 * x, vb[0], vb[1], vb[2]);
    const auto differ = hn::Or(hn::Or(hn::Xor(va[0], vb[0]), hn::Xor(va[1], vb[1])), hn::Xor(va[2], vb[2]));
    r += hn::CountTrue(d8, hn::Ne(differ, hn::Zero(d8)));
  }
  return r + scalar::CountDiffer3(a + 3 * x, b + 3 * x, n - x);
}
#endif  // HWY_TARGET == HWY_SCALAR

}  // namespace kelmira::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kelmira::measure {
HWY_EXPORT(Sum8);
HWY_EXPORT(SumRows8);
HWY_EXPORT(Sum16);
HWY_EXPORT(MinMaxSum8);
HWY_EXPORT(MinMaxSum16);
HWY_EXPORT(SumSquares8);
HWY_EXPORT(SumSquaresRows8);
HWY_EXPORT(SumSquares16);
HWY_EXPORT(MinMax8);
HWY_EXPORT(MinMax16);
HWY_EXPORT(CountBelow8);
HWY_EXPORT(CountBelow16);
HWY_EXPORT(CountDiffer8);
HWY_EXPORT(CountDiffer16);
HWY_EXPORT(SquareDiff8);
HWY_EXPORT(SquareDiff16);
HWY_EXPORT(Focus8);
HWY_EXPORT(Focus16);
HWY_EXPORT(Weighted8);
HWY_EXPORT(Binary8);
HWY_EXPORT(Weighted64x8);
HWY_EXPORT(Binary64x8);
HWY_EXPORT(Weighted16);
HWY_EXPORT(Binary16);
HWY_EXPORT(Profile8);
HWY_EXPORT(Profile16);
HWY_EXPORT(Regression8);
HWY_EXPORT(SumSquaresC24);
HWY_EXPORT(SumC24);
HWY_EXPORT(SquareDiffC24);
HWY_EXPORT(FocusC24);
HWY_EXPORT(CountDifferC24);

uint64_t WideSum(const uint8_t* p, int n) { return HWY_DYNAMIC_DISPATCH(Sum8)(p, n); }
uint64_t WideSumRows(const uint8_t* first, ptrdiff_t pitch, int width, int height) {
  return HWY_DYNAMIC_DISPATCH(SumRows8)(first, pitch, width, height);
}
uint64_t WideSum(const uint16_t* p, int n) { return HWY_DYNAMIC_DISPATCH(Sum16)(p, n); }
uint64_t WideMinMaxSum(const uint8_t* p, int n, uint8_t& lo, uint8_t& hi) {
  return HWY_DYNAMIC_DISPATCH(MinMaxSum8)(p, n, lo, hi);
}
uint64_t WideMinMaxSum(const uint16_t* p, int n, uint16_t& lo, uint16_t& hi) {
  return HWY_DYNAMIC_DISPATCH(MinMaxSum16)(p, n, lo, hi);
}
SumSq WideSumSquares(const uint8_t* p, int n) { return HWY_DYNAMIC_DISPATCH(SumSquares8)(p, n); }
SumSq WideSumSquares(const uint16_t* p, int n) { return HWY_DYNAMIC_DISPATCH(SumSquares16)(p, n); }
SumSq WideSumSquaresRows(const uint8_t* first, ptrdiff_t pitch, int width, int height) {
  return HWY_DYNAMIC_DISPATCH(SumSquaresRows8)(first, pitch, width, height);
}
void WideMinMax(const uint8_t* p, int n, uint8_t& lo, uint8_t& hi) { HWY_DYNAMIC_DISPATCH(MinMax8)(p, n, lo, hi); }
void WideMinMax(const uint16_t* p, int n, uint16_t& lo, uint16_t& hi) { HWY_DYNAMIC_DISPATCH(MinMax16)(p, n, lo, hi); }
Below WideCountBelow(const uint8_t* p, int n, uint32_t low, uint32_t high) {
  return HWY_DYNAMIC_DISPATCH(CountBelow8)(p, n, low, high);
}
Below WideCountBelow(const uint16_t* p, int n, uint32_t low, uint32_t high) {
  return HWY_DYNAMIC_DISPATCH(CountBelow16)(p, n, low, high);
}
uint64_t WideCountDiffer(const uint8_t* a, const uint8_t* b, int n) { return HWY_DYNAMIC_DISPATCH(CountDiffer8)(a, b, n); }
uint64_t WideCountDiffer(const uint16_t* a, const uint16_t* b, int n) {
  return HWY_DYNAMIC_DISPATCH(CountDiffer16)(a, b, n);
}
SumSq WideSquareDiff(const uint8_t* a, const uint8_t* b, int n) { return HWY_DYNAMIC_DISPATCH(SquareDiff8)(a, b, n); }
SumSq WideSquareDiff(const uint16_t* a, const uint16_t* b, int n) { return HWY_DYNAMIC_DISPATCH(SquareDiff16)(a, b, n); }
uint64_t WideFocus(const uint8_t* p, const uint8_t* below, int n) { return HWY_DYNAMIC_DISPATCH(Focus8)(p, below, n); }
uint64_t WideFocus(const uint16_t* p, const uint16_t* below, int n) { return HWY_DYNAMIC_DISPATCH(Focus16)(p, below, n); }
Spatial WideWeighted32(const uint8_t* p, int n) { return HWY_DYNAMIC_DISPATCH(Weighted8)(p, n); }
Spatial WideBinary32(const uint8_t* p, int n, uint32_t threshold) { return HWY_DYNAMIC_DISPATCH(Binary8)(p, n, threshold); }
Spatial WideWeighted(const uint8_t* p, int n) { return HWY_DYNAMIC_DISPATCH(Weighted64x8)(p, n); }
Spatial WideBinary(const uint8_t* p, int n, uint32_t threshold) {
  return HWY_DYNAMIC_DISPATCH(Binary64x8)(p, n, threshold);
}
uint32_t WideProfile(const uint8_t* p, int n, uint32_t* columns, bool binary, uint32_t threshold) {
  return HWY_DYNAMIC_DISPATCH(Profile8)(p, n, columns, binary, threshold);
}
uint32_t WideProfile(const uint16_t* p, int n, uint32_t* columns, bool binary, uint32_t threshold) {
  return HWY_DYNAMIC_DISPATCH(Profile16)(p, n, columns, binary, threshold);
}
Spatial WideWeighted(const uint16_t* p, int n) { return HWY_DYNAMIC_DISPATCH(Weighted16)(p, n); }
Spatial WideBinary(const uint16_t* p, int n, uint32_t threshold) {
  return HWY_DYNAMIC_DISPATCH(Binary16)(p, n, threshold);
}
Pairs WideRegression(const uint8_t* a, const uint8_t* b, int n, bool excludeClipped) {
  return HWY_DYNAMIC_DISPATCH(Regression8)(a, b, n, excludeClipped);
}
void WideSumSquares3(const uint8_t* p, int n, SumSq* out) { HWY_DYNAMIC_DISPATCH(SumSquaresC24)(p, n, out); }
void WideSum3(const uint8_t* p, int n, SumSq* out) { HWY_DYNAMIC_DISPATCH(SumC24)(p, n, out); }
void WideSquareDiff3(const uint8_t* a, const uint8_t* b, int n, SumSq* out) {
  HWY_DYNAMIC_DISPATCH(SquareDiffC24)(a, b, n, out);
}
void WideFocus3(const uint8_t* p, const uint8_t* below, int n, uint64_t* out) {
  HWY_DYNAMIC_DISPATCH(FocusC24)(p, below, n, out);
}
uint64_t WideCountDiffer3(const uint8_t* a, const uint8_t* b, int n) { return HWY_DYNAMIC_DISPATCH(CountDifferC24)(a, b, n); }
}  // namespace kelmira::measure
#endif
