// Statistics of one view: extremes, mean, variance, counts by level, the host-counted pixels,
// and the measures over run lists (LumAverage, LumVariance, LumMinimum, LumMaximum). The row
// sums come from row_sums.h, wide or scalar as ZGetMMX says when the operator starts.
#include <cmath>
#include <cstdint>

#include "foundation/frame.h"
#include "kelmira/measure/statistics.h"
#include "measure/row_sums.h"
#include "measure/walk.h"
#include "thresholds/histogram_moments.h"

namespace kelmira::measure {
namespace {

bool Wide() { return ZGetMMX() != 0; }

uint64_t PixelCount(const ZGenericROI* view) {
  return static_cast<uint64_t>(view->GetWidth()) * static_cast<uint64_t>(view->GetHeight());
}

// ----- extremes -----

template <class P>
bool Extremes(ZROI<P>* view, Storage<P>& minimum, Storage<P>& maximum) {
  if (!Usable(view)) return false;
  const Values<P> rows(view);
  const bool wide = Wide();
  minimum = maximum = rows[0][0];
  for (int y = 0; y < view->GetHeight(); ++y) MinMax(wide, rows[y], view->GetWidth(), minimum, maximum);
  return true;
}

// ----- mean and variance: per channel, row sums of values and squares -----

template <class P>
constexpr int kChannels = PixelTraits<P>::kChannels;

template <class P>
void RowSums(bool wide, const Storage<P>* row, int width, SumSq* out, bool squares = true) {
  if constexpr (kChannels<P> == 1) {
    if (squares) out[0] = SumSquares(wide, row, width);
    else out[0].sum = Sum(wide, row, width);
  } else {
    for (int k = 0; k < kChannels<P>; ++k) out[k] = SumSq{};
    if (squares) {
      if (wide) WideSumSquares3(row, width, out);
      else scalar::SumSquares3(row, width, out);
    } else {
      if (wide) WideSum3(row, width, out);
      else scalar::Sum3(row, width, out);
    }
  }
}

// Averages: the sums of BW8 and of the C24 bytes wrap at 32 bits; those of BW16 do not.
template <class P>
bool Averages(ZROI<P>* view, float* averages) {
  if (!Usable(view)) return false;
  const Values<P> rows(view);
  const bool wide = Wide();
  uint64_t total[kChannels<P>] = {};
  SumSq row[kChannels<P>];
  if (std::is_same_v<P, ZBW8> && wide) {
    // One integer total: the wide path keeps its lanes across the rows and reduces once.
    total[0] = WideSumRows(reinterpret_cast<const uint8_t*>(rows[0]), view->GetRowPitch(), view->GetWidth(),
                           view->GetHeight());
  } else {
    for (int y = 0; y < view->GetHeight(); ++y) {
      RowSums<P>(wide, rows[y], view->GetWidth(), row, false);
      for (int k = 0; k < kChannels<P>; ++k) total[k] += row[k].sum;
    }
  }
  for (int k = 0; k < kChannels<P>; ++k) {
    const uint64_t sum = sizeof(Storage<P>) == 1 ? static_cast<uint32_t>(total[k]) : total[k];
    averages[k] = static_cast<float>(sum) / static_cast<float>(PixelCount(view));
  }
  return true;
}

// Views of at most this many BW8 pixels have sums of squares below 2^53 (255^2 a pixel).
constexpr uint64_t kExactPixels = (uint64_t{1} << 53) / (255 * 255);

struct Moments2 {
  double n = 0.0, s = 0.0, q = 0.0;
  float Variance() const {
    const double v = (n * q - s * s) / (n * n);
    return v < 0.0 ? 0.0f : static_cast<float>(v);
  }
  float Mean() const { return static_cast<float>(s / n); }
};

// variances[k] and means[k] per channel; for C24 also the pooled variance in variances[3].
template <class P>
bool Variances(ZROI<P>* view, float* variances, float* means) {
  if (!Usable(view)) return false;
  const Values<P> rows(view);
  const bool wide = Wide();
  Moments2 m[kChannels<P>];
  SumSq row[kChannels<P>];
  if (std::is_same_v<P, ZBW8> && wide && PixelCount(view) <= kExactPixels) {
    // Each row's sums are integers, and so is every partial total of them in double while the
    // total of the squares stays below 2^53: the doubles add without rounding, in any order, and
    // equal the one integer total of the whole view, formed wide in a single pass.
    const SumSq total = WideSumSquaresRows(reinterpret_cast<const uint8_t*>(rows[0]), view->GetRowPitch(),
                                           view->GetWidth(), view->GetHeight());
    m[0].s = static_cast<double>(total.sum), m[0].q = static_cast<double>(total.squares);
  } else {
    for (int y = 0; y < view->GetHeight(); ++y) {
      RowSums<P>(wide, rows[y], view->GetWidth(), row);
      for (int k = 0; k < kChannels<P>; ++k)
        m[k].s += static_cast<double>(row[k].sum), m[k].q += static_cast<double>(row[k].squares);
    }
  }
  Moments2 all;
  for (int k = 0; k < kChannels<P>; ++k) {
    m[k].n = static_cast<double>(PixelCount(view));
    variances[k] = m[k].Variance();
    means[k] = m[k].Mean();
    all.n += m[k].n, all.s += m[k].s, all.q += m[k].q;
  }
  if (kChannels<P> > 1) variances[kChannels<P>] = all.Variance();
  return true;
}

// Min, max and the mean of the row means.
template <class P>
bool Stat(ZROI<P>* view, Storage<P>& minimum, Storage<P>& maximum, float& average) {
  if (!Usable(view)) return false;
  const Values<P> rows(view);
  const bool wide = Wide();
  const int width = view->GetWidth();
  minimum = maximum = rows[0][0];
  float total = 0.0f;
  for (int y = 0; y < view->GetHeight(); ++y) {
    total += static_cast<float>(MinMaxSum(wide, rows[y], width, minimum, maximum)) / static_cast<float>(width);
  }
  average = total / static_cast<float>(view->GetHeight());
  return true;
}

// ----- counts -----

struct Counts {
  uint64_t below = 0, between = 0, above = 0;
};

template <class P>
bool Count(ZROI<P>* view, uint32_t low, uint32_t high, Counts& c) {
  if (!Usable(view)) return false;
  const Values<P> rows(view);
  const bool wide = Wide();
  for (int y = 0; y < view->GetHeight(); ++y) {
    const Below b = CountBelow(wide, rows[y], view->GetWidth(), low, high);
    c.below += b.low;
    if (low < high) c.between += b.high - b.low;
  }
  c.above = PixelCount(view) - c.below - c.between;
  return true;
}

template <class P>
short int PixelCountForm(const char* trace, ZROI<P>* view, uint32_t low, uint32_t high, int& below, int& between,
                         int& above) {
  return ShortForm(trace, [&] {
    Counts c;
    if (!Count(view, low, high, c)) return;
    below = static_cast<int>(c.below), between = static_cast<int>(c.between), above = static_cast<int>(c.above);
  });
}

template <class P>
short int AreaForm(const char* trace, ZROI<P>* view, uint32_t threshold, int& area) {
  return ShortForm(trace, [&] {
    Counts c;
    if (Count(view, 0, threshold, c)) area = static_cast<int>(c.above);
  });
}

template <class P>
short int DoubleThresholdForm(const char* trace, ZROI<P>* view, uint32_t low, uint32_t high, int& area) {
  return ShortForm(trace, [&] {
    Counts c;
    if (Count(view, low, high, c)) area = static_cast<int>(c.between);
  });
}

template <class P>
unsigned int AllPixels(const char* trace, ZROI<P>* view) {
  return ValueForm<unsigned int>(trace, [&]() -> unsigned int {
    if (!Usable(view)) return 0;
    if (!HasRuns(view)) return static_cast<unsigned int>(PixelCount(view));
    unsigned int n = 0;
    ForEachStretch<P>(view, false, [&](const Storage<P>*, int count, int, int) { n += static_cast<unsigned>(count); });
    return n;
  });
}

// Pixels strictly above: those not below threshold + 1.
template <class P>
unsigned int Binarized(const char* trace, ZROI<P>* view, unsigned int threshold) {
  return ValueForm<unsigned int>(trace, [&]() -> unsigned int {
    if (!Usable(view)) return 0;
    const bool wide = Wide();
    const uint32_t level = threshold >= PixelTraits<P>::kMax ? 0xFFFFFFFFu : threshold + 1;
    uint64_t n = 0;
    ForEachStretch<P>(view, false, [&](const Storage<P>* p, int count, int, int) {
      n += static_cast<uint64_t>(count) - CountBelow(wide, p, count, level, level).low;
    });
    return static_cast<unsigned int>(n);
  });
}

template <class P>
unsigned int CountForm(const char* trace, ZROI<P>* view, int (*predicate)(P&)) {
  return ValueForm<unsigned int>(trace, [&]() -> unsigned int {
    if (!Usable(view)) return 0;
    if (predicate == nullptr) return frame::Fail(Z_ERROR_NULL_IMAGE);
    const rows::Rows<P> rows(view);
    unsigned int n = 0;
    for (int y = 0; y < view->GetHeight(); ++y)
      for (int x = 0; x < view->GetWidth(); ++x) n += predicate(rows[y][x]) != 0;
    return n;
  });
}

// ----- over runs -----

// Sum and count of the pixels over the runs, or the rectangle.
bool RunSum(ZROI<ZBW8>* view, uint64_t& sum, uint64_t& count) {
  if (!Usable(view)) return false;
  const bool wide = Wide();
  sum = count = 0;
  return ForEachStretch<ZBW8>(view, false, [&](const uint8_t* p, int n, int, int) {
    sum += Sum(wide, p, n);
    count += static_cast<uint64_t>(n);
  });
}

ZBW8 RunExtreme(const char* trace, ZROI<ZBW8>* view, bool maximum) {
  return ValueForm<ZBW8>(trace, [&]() -> ZBW8 {
    if (!Usable(view)) return 0;
    const bool wide = Wide();
    uint8_t lo = 255, hi = 0;
    bool any = false;
    ForEachStretch<ZBW8>(view, false, [&](const uint8_t* p, int n, int, int) {
      MinMax(wide, p, n, lo, hi);
      any = any || n > 0;
    });
    return !any ? 0 : maximum ? hi : lo;
  });
}

// The 256-bin histogram of the view, over its runs when it has any: the same bins as the
// histogram operator gives.
bool Histogram(ZROI<ZBW8>* view, ZBWHistogramVector& histogram) {
  if (!Usable(view)) return false;
  histogram.SetNumElements(256);
  if (!frame::Ok() || histogram.GetDataPtr() == nullptr) return frame::Fail(Z_ERROR_NO_MEMORY);
  histogram.Clear();
  unsigned* bins = histogram.GetDataPtr();
  return ForEachStretch<ZBW8>(view, false, [&](const uint8_t* p, int n, int, int) {
    for (int x = 0; x < n; ++x) ++bins[p[x]];
  });
}

}  // namespace
}  // namespace kelmira::measure

using namespace kelmira::measure;
namespace frame = kelmira::frame;

// ----- extremes -----
short int LumPixelMin(ZROI<ZBW8>* view, unsigned char& minimum) {
  return ShortForm("LumPixelMin", [&] { uint8_t lo, hi; if (Extremes(view, lo, hi)) minimum = lo; });
}
short int LumPixelMax(ZROI<ZBW8>* view, unsigned char& maximum) {
  return ShortForm("LumPixelMax", [&] { uint8_t lo, hi; if (Extremes(view, lo, hi)) maximum = hi; });
}
short int LumPixelMin(ZROI<ZBW16>* view, unsigned short& minimum) {
  return ShortForm("LumPixelMin (BW16)", [&] { uint16_t lo, hi; if (Extremes(view, lo, hi)) minimum = lo; });
}
short int LumPixelMax(ZROI<ZBW16>* view, unsigned short& maximum) {
  return ShortForm("LumPixelMax (BW16)", [&] { uint16_t lo, hi; if (Extremes(view, lo, hi)) maximum = hi; });
}

// ----- mean -----
short int LumPixelAverage(ZROI<ZBW8>* view, float& average) {
  return ShortForm("LumPixelAverage ( BW8)", [&] { float a; if (Averages(view, &a)) average = a; });
}
short int LumPixelAverage(ZROI<ZBW16>* view, float& average) {
  return ShortForm("LumPixelAverage ( BW16)", [&] { float a; if (Averages(view, &a)) average = a; });
}
short int LumPixelAverage(ZROI<ZC24>* view, float& average0, float& average1, float& average2) {
  return ShortForm("LumPixelAverage ( C24)", [&] {
    float a[3];
    if (Averages(view, a)) average0 = a[0], average1 = a[1], average2 = a[2];
  });
}

// ----- variance and deviation -----
void LumPixelVariance(ZROI<ZBW8>* view, float& variance, float& average) {
  VoidForm("LumPixelVariance ( BW8)", [&] { float v, m; if (Variances(view, &v, &m)) variance = v, average = m; });
}
void LumPixelVariance(ZROI<ZBW16>* view, float& variance, float& average) {
  VoidForm("LumPixelVariance ( BW16)", [&] { float v, m; if (Variances(view, &v, &m)) variance = v, average = m; });
}
void LumPixelVariance(ZROI<ZC24>* view, float& variance0, float& variance1, float& variance2, float& average0,
                      float& average1, float& average2, float& varianceAll) {
  VoidForm("LumPixelVariance ( C24)", [&] {
    float v[4], m[3];
    if (!Variances(view, v, m)) return;
    variance0 = v[0], variance1 = v[1], variance2 = v[2], varianceAll = v[3];
    average0 = m[0], average1 = m[1], average2 = m[2];
  });
}

short int LumPixelStdDev(ZROI<ZBW8>* view, float& deviation, float& average) {
  return ShortForm("LumPixelStdDev", [&] {
    float v, m;
    if (frame::Step([&] { LumPixelVariance(view, v, m); })) deviation = std::sqrt(v), average = m;
  });
}
short int LumPixelStdDev(ZROI<ZBW16>* view, float& deviation, float& average) {
  return ShortForm("LumPixelStdDev (BW16)", [&] {
    float v, m;
    if (frame::Step([&] { LumPixelVariance(view, v, m); })) deviation = std::sqrt(v), average = m;
  });
}
short int LumPixelStdDev(ZROI<ZC24>* view, float& deviation0, float& deviation1, float& deviation2, float& average0,
                         float& average1, float& average2, float& deviationAll) {
  return ShortForm("LumPixelStdDev ( C24)", [&] {
    float v[4], m[3];
    if (!frame::Step([&] { LumPixelVariance(view, v[0], v[1], v[2], m[0], m[1], m[2], v[3]); })) return;
    deviation0 = std::sqrt(v[0]), deviation1 = std::sqrt(v[1]), deviation2 = std::sqrt(v[2]);
    deviationAll = std::sqrt(v[3]);
    average0 = m[0], average1 = m[1], average2 = m[2];
  });
}

short int LumPixelStat(ZROI<ZBW8>* view, unsigned char& minimum, unsigned char& maximum, float& average) {
  return ShortForm("LumPixelStat", [&] {
    uint8_t lo, hi;
    float a;
    if (Stat(view, lo, hi, a)) minimum = lo, maximum = hi, average = a;
  });
}
short int LumPixelStat(ZROI<ZBW16>* view, unsigned short& minimum, unsigned short& maximum, float& average) {
  return ShortForm("LumPixelStat (BW16)", [&] {
    uint16_t lo, hi;
    float a;
    if (Stat(view, lo, hi, a)) minimum = lo, maximum = hi, average = a;
  });
}

// ----- counts -----
short int LumPixelCount(ZROI<ZBW8>* view, unsigned char low, unsigned char high, int& below, int& between, int& above) {
  return PixelCountForm("LumPixelCount", view, low, high, below, between, above);
}
short int LumPixelCount(ZROI<ZBW16>* view, unsigned short low, unsigned short high, int& below, int& between,
                        int& above) {
  return PixelCountForm("LumPixelCount (BW16)", view, low, high, below, between, above);
}
short int LumArea(ZROI<ZBW8>* view, unsigned char threshold, int& area) {
  return AreaForm("LumArea", view, threshold, area);
}
short int LumArea(ZROI<ZBW16>* view, unsigned short threshold, int& area) {
  return AreaForm("LumArea (BW16)", view, threshold, area);
}
short int LumAreaDoubleThreshold(ZROI<ZBW8>* view, unsigned char low, unsigned char high, int& area) {
  return DoubleThresholdForm("LumAreaDoubleThreshold", view, low, high, area);
}
short int LumAreaDoubleThreshold(ZROI<ZBW16>* view, unsigned short low, unsigned short high, int& area) {
  return DoubleThresholdForm("LumAreaDoubleThreshold (BW16)", view, low, high, area);
}
unsigned int LumArea(ZROI<ZBW8>* view) { return AllPixels("LumArea ( all pixels)", view); }
unsigned int LumArea(ZROI<ZBW16>* view) { return AllPixels("LumArea ( all pixels)(BW16)", view); }
unsigned int LumArea(ZROI<ZBW8>* view, unsigned int threshold) {
  return Binarized("LumArea ( binarized)", view, threshold);
}
unsigned int LumArea(ZROI<ZBW16>* view, unsigned int threshold) {
  return Binarized("LumArea ( binarized)(BW16)", view, threshold);
}
unsigned int LumCount(ZROI<ZBW8>* view, int (*predicate)(ZBW8&)) { return CountForm("LumCount ( BW8)", view, predicate); }
unsigned int LumCount(ZROI<ZBW16>* view, int (*predicate)(ZBW16&)) {
  return CountForm("LumCount ( BW16)", view, predicate);
}
unsigned int LumCount(ZROI<ZC24>* view, int (*predicate)(ZC24&)) { return CountForm("LumCount ( C24)", view, predicate); }

// ----- over runs -----
float LumAverage(ZROI<ZBW8>* view, unsigned int* count) {
  return ValueForm<float>("LumAverage", [&]() -> float {
    uint64_t sum = 0, n = 0;
    if (!RunSum(view, sum, n)) return 0.0f;
    if (count != nullptr) *count = static_cast<unsigned int>(n);
    return n == 0 ? 0.0f : static_cast<float>(sum) / static_cast<float>(n);
  });
}

float LumVariance(ZROI<ZBW8>* view, float* mean, unsigned int* count) {
  return ValueForm<float>("LumVariance", [&]() -> float {
    ZBWHistogramVector histogram(256);
    float m = 0.0f, variance = 0.0f;
    unsigned n = 0;
    if (!Histogram(view, histogram)) return 0.0f;
    if (!frame::Step([&] { kelmira::histogram::CenteredMoments(&histogram, &m, &variance, 0, 255); })) return 0.0f;
    if (!frame::Step([&] { kelmira::histogram::Moments(&histogram, nullptr, &n, 0, 255); })) return 0.0f;
    if (mean != nullptr) *mean = m;
    if (count != nullptr) *count = n;
    return variance;
  });
}

ZBW8 LumMinimum(ZROI<ZBW8>* view) { return RunExtreme("LumMinimum", view, false); }
ZBW8 LumMaximum(ZROI<ZBW8>* view) { return RunExtreme("LumMaximum", view, true); }
