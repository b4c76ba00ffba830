// Wide kernels of threshold application. Each covers its whole row and gives, byte for byte, the
// result of the scalar rule in apply_rows.h. Levels are brought into the pixel range first by the
// exported wrappers, so that the kernels only see comparisons that fit a lane.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "thresholds/apply_wide.cc"
#include "hwy/foreach_target.h"  // IWYU pragma: keep
#include "hwy/highway.h"

#include <cstring>

#include "thresholds/apply_rows.h"

HWY_BEFORE_NAMESPACE();
namespace kelmira::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// v >= level as SaturatedSub(level, v) == 0: the mask of the table, without a compare of
// unsigned lanes.
template <class D, class V>
HWY_INLINE auto AtLeast(D d, V v, V level) {
  return hn::Eq(hn::SaturatedSub(level, v), hn::Zero(d));
}

template <class T>
HWY_INLINE void ThresholdRowT(const T* source, T* destination, int n, T level, T below, T above) {
  const hn::ScalableTag<T> d;
  const int lanes = static_cast<int>(hn::Lanes(d));
  const auto lv = hn::Set(d, level), bv = hn::Set(d, below), av = hn::Set(d, above);
  int x = 0;
  for (; x + lanes <= n; x += lanes)
    hn::StoreU(hn::IfThenElse(AtLeast(d, hn::LoadU(d, source + x), lv), av, bv), d, destination + x);
  for (; x < n; ++x) destination[x] = source[x] >= level ? above : below;
}

void ThresholdRow8(const uint8_t* s, uint8_t* d, int n, unsigned level, uint8_t below, uint8_t above) {
  ThresholdRowT<uint8_t>(s, d, n, static_cast<uint8_t>(level), below, above);
}
void ThresholdRow16(const uint16_t* s, uint16_t* d, int n, unsigned level, uint16_t below, uint16_t above) {
  ThresholdRowT<uint16_t>(s, d, n, static_cast<uint16_t>(level), below, above);
}

// Whole vectors of pixels a step, each group of eight lanes reversed first (one byte shuffle per
// 128-bit block), so that the mask bits come out of StoreMaskBits first pixel in the high bit and
// go straight into the packed row; the rest through the scalar rule.
template <class T>
HWY_INLINE void PackRowT(const T* source, uint8_t* destination, int n, T level) {
  int x = 0;
#if HWY_TARGET != HWY_SCALAR
  const hn::ScalableTag<T> d;
  const hn::Repartition<uint8_t, decltype(d)> d8;
  const int lanes = static_cast<int>(hn::Lanes(d));
  if (lanes % 8 == 0 && (lanes * sizeof(T)) % 16 == 0) {
    // Byte indices that reverse each group of eight lanes within a block.
    alignas(16) static constexpr uint8_t kReverse8[16] = {7, 6, 5, 4, 3, 2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8};
    alignas(16) static constexpr uint8_t kReverse16[16] = {14, 15, 12, 13, 10, 11, 8, 9, 6, 7, 4, 5, 2, 3, 0, 1};
    const auto order = hn::LoadDup128(d8, sizeof(T) == 1 ? kReverse8 : kReverse16);
    const auto lv = hn::Set(d, level);
    auto pack = [&](int at) {
      const auto v = hn::BitCast(d, hn::TableLookupBytes(hn::BitCast(d8, hn::LoadU(d, source + at)), order));
      hn::StoreMaskBits(d, AtLeast(d, v, lv), destination + at / 8);
    };
    for (; x + 2 * lanes <= n; x += 2 * lanes) {
      pack(x);
      pack(x + lanes);
    }
    for (; x + lanes <= n; x += lanes) pack(x);
  }
#endif
  threshold::PackRow(source + x, destination + x / 8, n - x, level);
}

void PackRow8(const uint8_t* s, uint8_t* d, int n, unsigned level) {
  PackRowT<uint8_t>(s, d, n, static_cast<uint8_t>(level));
}
void PackRow16(const uint16_t* s, uint8_t* d, int n, unsigned level) {
  PackRowT<uint16_t>(s, d, n, static_cast<uint16_t>(level));
}

// above where v > high (SaturatedSub(v, high) != 0), else below where v < low, else between.
template <class T>
HWY_INLINE void DoubleRowT(const T* source, T* destination, int n, T low, T high, T below, T between, T above) {
  const hn::ScalableTag<T> d;
  const int lanes = static_cast<int>(hn::Lanes(d));
  const auto lo = hn::Set(d, low), hi = hn::Set(d, high);
  const auto bv = hn::Set(d, below), mv = hn::Set(d, between), av = hn::Set(d, above);
  int x = 0;
  for (; x + lanes <= n; x += lanes) {
    const auto v = hn::LoadU(d, source + x);
    const auto notAbove = hn::Eq(hn::SaturatedSub(v, hi), hn::Zero(d));
    const auto lower = hn::IfThenElse(AtLeast(d, v, lo), mv, bv);
    hn::StoreU(hn::IfThenElse(notAbove, lower, av), d, destination + x);
  }
  threshold::DoubleRow<T>(source + x, destination + x, n - x, low, high, below, between, above);
}

void DoubleRow8(const uint8_t* s, uint8_t* d, int n, unsigned low, unsigned high, uint8_t b, uint8_t m, uint8_t a) {
  DoubleRowT<uint8_t>(s, d, n, static_cast<uint8_t>(low), static_cast<uint8_t>(high), b, m, a);
}
void DoubleRow16(const uint16_t* s, uint16_t* d, int n, unsigned low, unsigned high, uint16_t b, uint16_t m,
                 uint16_t a) {
  DoubleRowT<uint16_t>(s, d, n, static_cast<uint16_t>(low), static_cast<uint16_t>(high), b, m, a);
}

// The colour box on deinterleaved planes: inside when each component lies in its range.
void RangeRow(const uint8_t* source, uint8_t* destination, int n, const uint8_t* lo, const uint8_t* hi,
              uint8_t outside, uint8_t inside) {
  const hn::ScalableTag<uint8_t> d;
  const int lanes = static_cast<int>(hn::Lanes(d));
  const auto l0 = hn::Set(d, lo[0]), l1 = hn::Set(d, lo[1]), l2 = hn::Set(d, lo[2]);
  const auto h0 = hn::Set(d, hi[0]), h1 = hn::Set(d, hi[1]), h2 = hn::Set(d, hi[2]);
  const auto ov = hn::Set(d, outside), iv = hn::Set(d, inside);
  int x = 0;
  for (; x + lanes <= n; x += lanes) {
    hn::Vec<decltype(d)> c0, c1, c2;
    hn::LoadInterleaved3(d, source + 3 * x, c0, c1, c2);
    // Distance outside the range, per component; the pixel is inside when all are 0.
    auto out = hn::Or(hn::SaturatedSub(l2, c2), hn::SaturatedSub(c2, h2));
    out = hn::Or(out, hn::Or(hn::SaturatedSub(l1, c1), hn::SaturatedSub(c1, h1)));
    out = hn::Or(out, hn::Or(hn::SaturatedSub(l0, c0), hn::SaturatedSub(c0, h0)));
    hn::StoreU(hn::IfThenElse(hn::Eq(out, hn::Zero(d)), iv, ov), d, destination + x);
  }
  threshold::RangeRow(source + 3 * x, destination + x, n - x, lo, hi, outside, inside);
}

// Column sums of the local mean: columns[x] += add[x] - sub[x], in wrapping 32-bit arithmetic.
void ColumnsRow(uint32_t* columns, const uint8_t* add, const uint8_t* sub, int n) {
  const hn::ScalableTag<uint32_t> d32;
  const hn::Rebind<uint8_t, decltype(d32)> d8;
  const int lanes = static_cast<int>(hn::Lanes(d32));
  int x = 0;
  for (; x + lanes <= n; x += lanes) {
    const auto delta = hn::Sub(hn::PromoteTo(d32, hn::LoadU(d8, add + x)), hn::PromoteTo(d32, hn::LoadU(d8, sub + x)));
    hn::StoreU(hn::Add(hn::LoadU(d32, columns + x), delta), d32, columns + x);
  }
  for (; x < n; ++x) columns[x] += static_cast<uint32_t>(add[x]) - sub[x];
}

// Window sums of one row of the local mean: window[x] is the sum of columns[x - r .. x + r], the
// window clamped to r .. w - r - 1. Across the middle each sum is the last one plus
// columns[x + r] - columns[x - r - 1]: those differences are taken four at a time and turned into
// running sums inside a 128-bit vector (two shifted adds), so that the only serial step is one add
// per four pixels. The caller guarantees that every sum fits below 2^31, so the wrapping 32-bit
// arithmetic gives the exact sums.
void WindowRow(const uint32_t* columns, uint32_t* window, int w, int r) {
  uint32_t first = 0;
  for (int x = 0; x <= 2 * r; ++x) first += columns[x];
  int x = 0;
  for (; x <= r; ++x) window[x] = first;
  const int end = w - r;  // one past the last centred window
#if HWY_TARGET != HWY_SCALAR
  const hn::FixedTag<uint32_t, 4> d;
  auto carry = hn::Set(d, first);
  for (; x + 4 <= end; x += 4) {
    auto v = hn::Sub(hn::LoadU(d, columns + x + r), hn::LoadU(d, columns + x - r - 1));
    v = hn::Add(v, hn::ShiftLeftLanes<1>(d, v));
    v = hn::Add(v, hn::ShiftLeftLanes<2>(d, v));
    hn::StoreU(hn::Add(v, carry), d, window + x);
    carry = hn::Add(carry, hn::Broadcast<3>(v));
  }
#endif
  uint32_t run = window[x - 1];
  for (; x < end; ++x) window[x] = run += columns[x + r] - columns[x - r - 1];
  for (; x < w; ++x) window[x] = run;
}

// The local mean's test in 32-bit lanes: 0 where v * area - window < bias, else 255. The caller
// guarantees that 255 * area and every window sum stay below 2^31 and clamps bias to the range of
// v * area - window plus one on either side, so the test equals the 64-bit one.
void LocalMeanRow(const uint8_t* source, const uint32_t* window, uint8_t* destination, int n, int32_t area,
                  int32_t bias) {
  const hn::ScalableTag<int32_t> d32;
  const hn::Rebind<uint8_t, decltype(d32)> d8;
  const int lanes = static_cast<int>(hn::Lanes(d32));
  const auto av = hn::Set(d32, area), bv = hn::Set(d32, bias), white = hn::Set(d32, 255);
  int x = 0;
  for (; x + lanes <= n; x += lanes) {
    const auto v = hn::Mul(hn::PromoteTo(d32, hn::LoadU(d8, source + x)), av);
    const auto diff = hn::Sub(v, hn::LoadU(d32, reinterpret_cast<const int32_t*>(window) + x));
    hn::StoreU(hn::DemoteTo(d8, hn::IfThenZeroElse(hn::Lt(diff, bv), white)), d8, destination + x);
  }
  for (; x < n; ++x)
    destination[x] = static_cast<int32_t>(source[x]) * area - static_cast<int32_t>(window[x]) < bias ? 0 : 255;
}

}  // namespace kelmira::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kelmira {
HWY_EXPORT(ThresholdRow8);
HWY_EXPORT(ThresholdRow16);
HWY_EXPORT(PackRow8);
HWY_EXPORT(PackRow16);
HWY_EXPORT(DoubleRow8);
HWY_EXPORT(DoubleRow16);
HWY_EXPORT(RangeRow);
HWY_EXPORT(ColumnsRow);
HWY_EXPORT(WindowRow);
HWY_EXPORT(LocalMeanRow);

namespace threshold {

// A level above the top value sends every pixel below: the same as level 0 with above = below.
void WideThresholdRow8(const uint8_t* s, uint8_t* d, int n, unsigned level, uint8_t below, uint8_t above) {
  if (level > 255) level = 0, above = below;
  HWY_DYNAMIC_DISPATCH(ThresholdRow8)(s, d, n, level, below, above);
}
void WideThresholdRow16(const uint16_t* s, uint16_t* d, int n, unsigned level, uint16_t below, uint16_t above) {
  if (level > 65535) level = 0, above = below;
  HWY_DYNAMIC_DISPATCH(ThresholdRow16)(s, d, n, level, below, above);
}
void WidePackRow8(const uint8_t* s, uint8_t* d, int n, unsigned level) {
  if (level > 255) {
    std::memset(d, 0, static_cast<size_t>(n + 7) / 8);
    return;
  }
  HWY_DYNAMIC_DISPATCH(PackRow8)(s, d, n, level);
}
void WidePackRow16(const uint16_t* s, uint8_t* d, int n, unsigned level) {
  if (level > 65535) {
    std::memset(d, 0, static_cast<size_t>(n + 7) / 8);
    return;
  }
  HWY_DYNAMIC_DISPATCH(PackRow16)(s, d, n, level);
}
// A high at or above the top value is never exceeded: the top value does the same. A low above
// the top value sends every pixel that is not above to below: the same as low 0 with
// between = below.
void WideDoubleRow8(const uint8_t* s, uint8_t* d, int n, unsigned low, unsigned high, uint8_t below,
                    uint8_t between, uint8_t above) {
  if (high > 255) high = 255;
  if (low > 255) low = 0, between = below;
  HWY_DYNAMIC_DISPATCH(DoubleRow8)(s, d, n, low, high, below, between, above);
}
void WideDoubleRow16(const uint16_t* s, uint16_t* d, int n, unsigned low, unsigned high, uint16_t below,
                     uint16_t between, uint16_t above) {
  if (high > 65535) high = 65535;
  if (low > 65535) low = 0, between = below;
  HWY_DYNAMIC_DISPATCH(DoubleRow16)(s, d, n, low, high, below, between, above);
}
void WideRangeRow(const uint8_t* s, uint8_t* d, int n, const uint8_t* lo, const uint8_t* hi, uint8_t outside,
                  uint8_t inside) {
  HWY_DYNAMIC_DISPATCH(RangeRow)(s, d, n, lo, hi, outside, inside);
}

void WideColumnsRow(uint32_t* columns, const uint8_t* add, const uint8_t* sub, int n) {
  HWY_DYNAMIC_DISPATCH(ColumnsRow)(columns, add, sub, n);
}
void WideWindowRow(const uint32_t* columns, uint32_t* window, int w, int r) {
  HWY_DYNAMIC_DISPATCH(WindowRow)(columns, window, w, r);
}
void WideLocalMeanRow(const uint8_t* source, const uint32_t* window, uint8_t* destination, int n, int32_t area,
                      int32_t bias) {
  HWY_DYNAMIC_DISPATCH(LocalMeanRow)(source, window, destination, n, area, bias);
}

}  // namespace threshold
}  // namespace kelmira
#endif
