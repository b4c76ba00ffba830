// Integer sums over one row, the building blocks of the statistics and the moments: a scalar
// form that reads like the operators' description, and a wide twin for BW8 and BW16 rows
// (row_sums_wide.cc) that gives the same integers. All sums are exact in 64 bits, or wrap
// modulo 2^64 where they would not fit, as the scalar ones do; a caller that needs a 32-bit sum
// cuts it, which gives the same value as a 32-bit accumulator.
#ifndef KELMIRA_MEASURE_ROW_SUMS_H
#define KELMIRA_MEASURE_ROW_SUMS_H

#include <cstddef>
#include <cstdint>

namespace kelmira::measure {

struct SumSq {
  uint64_t sum = 0, squares = 0;
};
// Counts of pixels below two levels.
struct Below {
  uint64_t low = 0, high = 0;
};
// sum of w, w * x, w * x * x, x counted from 0 at the row's first pixel.
struct Spatial {
  uint64_t w = 0, wx = 0, wxx = 0;
};
// a, b, a * a, a * b, b * b, and the positions used.
struct Pairs {
  uint64_t a = 0, b = 0, aa = 0, ab = 0, bb = 0, n = 0;
};

namespace scalar {

template <class S>
SumSq SumSquares(const S* p, int n) {
  SumSq r;
  for (int x = 0; x < n; ++x) r.sum += p[x], r.squares += uint64_t{p[x]} * p[x];
  return r;
}

template <class S>
uint64_t Sum(const S* p, int n) {
  uint64_t r = 0;
  for (int x = 0; x < n; ++x) r += p[x];
  return r;
}

template <class S>
void MinMax(const S* p, int n, S& minimum, S& maximum) {
  for (int x = 0; x < n; ++x) {
    if (p[x] < minimum) minimum = p[x];
    if (p[x] > maximum) maximum = p[x];
  }
}

// Extremes and sum in one pass.
template <class S>
uint64_t MinMaxSum(const S* p, int n, S& minimum, S& maximum) {
  MinMax(p, n, minimum, maximum);
  return Sum(p, n);
}

template <class S>
Below CountBelow(const S* p, int n, uint32_t low, uint32_t high) {
  Below r;
  for (int x = 0; x < n; ++x) r.low += p[x] < low, r.high += p[x] < high;
  return r;
}

template <class S>
uint64_t CountDiffer(const S* a, const S* b, int n) {
  uint64_t r = 0;
  for (int x = 0; x < n; ++x) r += a[x] != b[x];
  return r;
}

// The sum of a * a in .sum, that of (a - b) * (a - b) in .squares.
template <class S>
SumSq SquareDiff(const S* a, const S* b, int n) {
  SumSq r;
  for (int x = 0; x < n; ++x) {
    const int64_t d = int64_t{a[x]} - b[x];
    r.sum += uint64_t{a[x]} * a[x];
    r.squares += static_cast<uint64_t>(d * d);
  }
  return r;
}

// sum over x < n of (p[x] - p[x + 1])^2 + (p[x] - below[x])^2.
template <class S>
uint64_t Focus(const S* p, const S* below, int n) {
  uint64_t r = 0;
  for (int x = 0; x < n; ++x) {
    const int64_t d1 = int64_t{p[x]} - p[x + 1], d2 = int64_t{p[x]} - below[x];
    r += static_cast<uint64_t>(d1 * d1 + d2 * d2);
  }
  return r;
}

template <class S>
Spatial Weighted(const S* p, int n) {
  Spatial r;
  for (int x = 0; x < n; ++x) {
    const uint64_t g = p[x], ux = static_cast<uint64_t>(x);
    r.w += g, r.wx += g * ux, r.wxx += g * ux * ux;
  }
  return r;
}

template <class S>
Spatial Binary(const S* p, int n, uint32_t threshold) {
  Spatial r;
  for (int x = 0; x < n; ++x)
    if (p[x] >= threshold) {
      const uint64_t ux = static_cast<uint64_t>(x);
      r.w += 1, r.wx += ux, r.wxx += ux * ux;
    }
  return r;
}

// Adds the weight of each pixel to its column entry (wrapping 32-bit) and returns the total
// weight modulo 2^32: with `binary` 1 for a pixel at or above the threshold, else the value.
template <class S>
uint32_t Profile(const S* p, int n, uint32_t* columns, bool binary, uint32_t threshold) {
  uint32_t sum = 0;
  for (int x = 0; x < n; ++x) {
    const uint32_t w = binary ? uint32_t{p[x] >= threshold} : uint32_t{p[x]};
    columns[x] += w;
    sum += w;
  }
  return sum;
}

// The same three for the bytes of C24 rows, one result per byte of the pixel.
inline void SumSquares3(const uint8_t* p, int n, SumSq* out) {
  for (int x = 0; x < 3 * n; ++x) out[x % 3].sum += p[x], out[x % 3].squares += uint64_t{p[x]} * p[x];
}
inline void Sum3(const uint8_t* p, int n, SumSq* out) {
  for (int x = 0; x < 3 * n; ++x) out[x % 3].sum += p[x];
}
inline void SquareDiff3(const uint8_t* a, const uint8_t* b, int n, SumSq* out) {
  for (int x = 0; x < 3 * n; ++x) {
    const int64_t d = int64_t{a[x]} - b[x];
    out[x % 3].sum += uint64_t{a[x]} * a[x], out[x % 3].squares += static_cast<uint64_t>(d * d);
  }
}
inline void Focus3(const uint8_t* p, const uint8_t* below, int n, uint64_t* out) {
  for (int x = 0; x < 3 * n; ++x) {
    const int64_t d1 = int64_t{p[x]} - p[x + 3], d2 = int64_t{p[x]} - below[x];
    out[x % 3] += static_cast<uint64_t>(d1 * d1 + d2 * d2);
  }
}
inline uint64_t CountDiffer3(const uint8_t* a, const uint8_t* b, int n) {
  uint64_t r = 0;
  for (int x = 0; x < 3 * n; x += 3) r += a[x] != b[x] || a[x + 1] != b[x + 1] || a[x + 2] != b[x + 2];
  return r;
}

inline bool Clipped(uint32_t v) { return v == 0 || v == 255; }

inline Pairs Regression(const uint8_t* a, const uint8_t* b, int n, bool excludeClipped) {
  Pairs r;
  for (int x = 0; x < n; ++x) {
    const uint64_t u = a[x], v = b[x];
    if (excludeClipped && (Clipped(a[x]) || Clipped(b[x]))) continue;
    r.a += u, r.b += v, r.aa += u * u, r.ab += u * v, r.bb += v * v, r.n += 1;
  }
  return r;
}

}  // namespace scalar

// The wide twins (row_sums_wide.cc): same results, any alignment, any n >= 0.
uint64_t WideSum(const uint8_t* p, int n);
uint64_t WideSum(const uint16_t* p, int n);
// The sum of every pixel of `height` rows `pitch` bytes apart, reduced once.
uint64_t WideSumRows(const uint8_t* first, ptrdiff_t pitch, int width, int height);
uint64_t WideMinMaxSum(const uint8_t* p, int n, uint8_t& minimum, uint8_t& maximum);
uint64_t WideMinMaxSum(const uint16_t* p, int n, uint16_t& minimum, uint16_t& maximum);
SumSq WideSumSquares(const uint8_t* p, int n);
SumSq WideSumSquares(const uint16_t* p, int n);
// The sums of every pixel of `height` rows `pitch` bytes apart, reduced once.
SumSq WideSumSquaresRows(const uint8_t* first, ptrdiff_t pitch, int width, int height);
void WideMinMax(const uint8_t* p, int n, uint8_t& minimum, uint8_t& maximum);
void WideMinMax(const uint16_t* p, int n, uint16_t& minimum, uint16_t& maximum);
Below WideCountBelow(const uint8_t* p, int n, uint32_t low, uint32_t high);
Below WideCountBelow(const uint16_t* p, int n, uint32_t low, uint32_t high);
uint64_t WideCountDiffer(const uint8_t* a, const uint8_t* b, int n);
uint64_t WideCountDiffer(const uint16_t* a, const uint16_t* b, int n);
SumSq WideSquareDiff(const uint8_t* a, const uint8_t* b, int n);
SumSq WideSquareDiff(const uint16_t* a, const uint16_t* b, int n);
uint64_t WideFocus(const uint8_t* p, const uint8_t* below, int n);
uint64_t WideFocus(const uint16_t* p, const uint16_t* below, int n);
// BW8 moments: the sums modulo 2^32, the width of their accumulators, zero-extended.
Spatial WideWeighted32(const uint8_t* p, int n);
Spatial WideBinary32(const uint8_t* p, int n, uint32_t threshold);
// The moment sums modulo 2^64, as the scalar ones.
Spatial WideWeighted(const uint8_t* p, int n);
Spatial WideWeighted(const uint16_t* p, int n);
Spatial WideBinary(const uint8_t* p, int n, uint32_t threshold);
Spatial WideBinary(const uint16_t* p, int n, uint32_t threshold);
uint32_t WideProfile(const uint8_t* p, int n, uint32_t* columns, bool binary, uint32_t threshold);
uint32_t WideProfile(const uint16_t* p, int n, uint32_t* columns, bool binary, uint32_t threshold);
Pairs WideRegression(const uint8_t* a, const uint8_t* b, int n, bool excludeClipped);
// C24 rows of n pixels; the results are added to out[0..2].
void WideSumSquares3(const uint8_t* p, int n, SumSq* out);
void WideSum3(const uint8_t* p, int n, SumSq* out);
void WideSquareDiff3(const uint8_t* a, const uint8_t* b, int n, SumSq* out);
void WideFocus3(const uint8_t* p, const uint8_t* below, int n, uint64_t* out);
uint64_t WideCountDiffer3(const uint8_t* a, const uint8_t* b, int n);

// One entry that picks the twin: the statistics read ZGetMMX once and pass it down.
template <class S>
uint64_t Sum(bool wide, const S* p, int n) {
  return wide ? WideSum(p, n) : scalar::Sum(p, n);
}
template <class S>
uint64_t MinMaxSum(bool wide, const S* p, int n, S& minimum, S& maximum) {
  return wide ? WideMinMaxSum(p, n, minimum, maximum) : scalar::MinMaxSum(p, n, minimum, maximum);
}
template <class S>
SumSq SumSquares(bool wide, const S* p, int n) {
  return wide ? WideSumSquares(p, n) : scalar::SumSquares(p, n);
}
template <class S>
void MinMax(bool wide, const S* p, int n, S& minimum, S& maximum) {
  if (wide) WideMinMax(p, n, minimum, maximum);
  else scalar::MinMax(p, n, minimum, maximum);
}
template <class S>
Below CountBelow(bool wide, const S* p, int n, uint32_t low, uint32_t high) {
  return wide ? WideCountBelow(p, n, low, high) : scalar::CountBelow(p, n, low, high);
}
template <class S>
uint64_t CountDiffer(bool wide, const S* a, const S* b, int n) {
  return wide ? WideCountDiffer(a, b, n) : scalar::CountDiffer(a, b, n);
}
template <class S>
SumSq SquareDiff(bool wide, const S* a, const S* b, int n) {
  return wide ? WideSquareDiff(a, b, n) : scalar::SquareDiff(a, b, n);
}
template <class S>
uint64_t Focus(bool wide, const S* p, const S* below, int n) {
  return wide ? WideFocus(p, below, n) : scalar::Focus(p, below, n);
}

}  // namespace kelmira::measure

#endif  // KELMIRA_MEASURE_ROW_SUMS_H
