// Pixel statistics, comparison, the callback count and normalisation against a direct model of
// their rules, on random views at every byte offset with the wide paths off and on (the moment
// forms join the same walk); the wraps, the two LumArea conventions, the correlogram's saturation,
// and the error numbers and trace strings.
#include <algorithm>
#include <array>
#include <cmath>

#include "measure/measure_ref.h"

namespace {

using mr::Grid;
using Strings = std::vector<std::string>;
// The named results of one view (and its reference): the library's, compared in order with the
// model's, bit for bit.
using Results = std::vector<std::pair<std::string, double>>;

// average, variance, mean, deviation, the deviation's mean, signal/noise, rms noise and focusing
// of channel k, as the rules read: `narrow` (BW8 and the C24 bytes) cuts the average's sum and the
// noise and focus row sums to 32 bits; the variance takes double totals of 64-bit row sums, its
// negative rounding clamped. `pool` gathers the totals of the pooled variance.
std::vector<double> Channel(const Grid& a, const Grid& b, int k, bool narrow, bool snrEqual, std::array<double, 3>& pool) {
  const auto cut = [&](uint64_t v) { return narrow ? uint32_t(v) : v; };
  const auto sq = [](int64_t d) { return uint64_t(d * d); };
  uint64_t total = 0;
  double s = 0, q = 0;
  long double power = 0, error = 0, focus = 0;
  float rms = 0;
  for (int y = 0; y < a.h; ++y) {
    uint64_t rs = 0, rq = 0, re = 0, rf = 0;
    for (int x = 0; x < a.w; ++x) {
      const int64_t v = int64_t(a.at(x, y, k)), d = v - int64_t(b.at(x, y, k));
      rs += uint64_t(v), rq += sq(v), re += sq(d);
      if (x + 1 < a.w && y + 1 < a.h) rf += sq(v - int64_t(a.at(x + 1, y, k))) + sq(v - int64_t(a.at(x, y + 1, k)));
    }
    total += rs, s += double(rs), q += double(rq);
    power += cut(rq), error += cut(re), focus += cut(rf), rms += float(cut(re));
  }
  const double n = double(uint64_t(a.w) * a.h), v = (n * q - s * s) / (n * n);
  pool[0] += s, pool[1] += q, pool[2] += n;
  const float variance = v < 0 ? 0.0f : float(v), mean = float(s / n);
  const long double db = error == 0 ? 0.0L : 10.0L * std::log10(power / error) + (snrEqual ? 10.0L * std::log10(2.0L) : 0.0L);
  return {float(cut(total)) / float(n), variance, mean, std::sqrt(variance), mean, float(db),
          std::sqrt((snrEqual ? rms : rms * 0.5f) / float(n)), float(focus)};
}

// The count levels (low, high) of the gray forms.
std::vector<std::pair<uint64_t, uint64_t>> Levels(uint64_t max) {
  return {{0, 0}, {1, max}, {max / 3, max / 2}, {max / 2, max / 3}, {max, max}};
}

// Linear regression: sums in 64 bits per row, then double; constant data gives the mean as the
// intercept and 1051, no pixel left gives 1051 and writes nothing (-1).
std::array<double, 4> Fit(const Grid& a, const Grid& b, bool exclude) {
  double sa = 0, sb = 0, saa = 0, sab = 0, sbb = 0;
  uint64_t n = 0;
  for (int y = 0; y < a.h; ++y) {
    uint64_t r[5] = {};
    for (int x = 0; x < a.w; ++x) {
      const uint64_t u = a.at(x, y), v = b.at(x, y);
      if (exclude && (u == 0 || u == 255 || v == 0 || v == 255)) continue;
      r[0] += u, r[1] += v, r[2] += u * u, r[3] += u * v, r[4] += v * v, ++n;
    }
    sa += double(r[0]), sb += double(r[1]), saa += double(r[2]), sab += double(r[3]), sbb += double(r[4]);
  }
  if (n == 0) return {Z_ERROR_NO_VARIANCE, -1, -1, -1};
  const double i = 1.0 / double(n), ma = sa * i, mb = sb * i;
  const double vaa = saa * i - ma * ma, vab = sab * i - mb * ma, vbb = sbb * i - mb * mb;
  if (vaa == 0) return {Z_ERROR_NO_VARIANCE, 0.0f, float(mb), 0.0f};
  const double s = vab / vaa;
  return {0, float(s), float(mb - s * ma), vaa * vbb > 0 ? float(vab / std::sqrt(vaa * vbb)) : 0.0f};
}

float At(const ZColor& c, int k) { return k == 0 ? c.c0 : k == 1 ? c.c1 : c.c2; }
float At(float v, int) { return v; }
// The host's callback: whether the first byte is odd; it keeps the pixels it sees, in order.
std::vector<uint64_t> g_seen;
template <class T>
int Odd(T& p) {
  const uint8_t first = reinterpret_cast<const uint8_t*>(&p)[0];
  return g_seen.push_back(first), first & 1;
}

// Every statistic of view a (and of a against b) as the library gives it. C24 takes the two noise
// modes the other way round from the gray types, so that each mode meets each type.
template <class T>
Results Measure(ZROI<T>* a, ZROI<T>* b) {
  constexpr bool colour = std::is_same_v<T, ZC24>;
  const auto snrMode = colour ? LUM_REFERENCE_NOISE_EQUAL : LUM_REFERENCE_NOISE_NONE;
  const auto rmsMode = colour ? LUM_REFERENCE_NOISE_NONE : LUM_REFERENCE_NOISE_EQUAL;
  float av[3] = {-1, -1, -1}, v[4] = {-1, -1, -1, -1}, mean[3] = {-1, -1, -1}, dev[7], snr[3], rms[3], focus[3];
  std::fill_n(dev, 7, -1.0f);
  Results r;
  const auto put = [&](const std::string& name, double value) { r.emplace_back(name, value); };
  if constexpr (colour) {
    put("average returns", LumPixelAverage(a, av[0], av[1], av[2]));
    LumPixelVariance(a, v[0], v[1], v[2], mean[0], mean[1], mean[2], v[3]);
    put("deviation returns", LumPixelStdDev(a, dev[0], dev[1], dev[2], dev[3], dev[4], dev[5], dev[6]));
    const ZColor s = LumSignalNoiseRatio(a, b, snrMode), q = LumRmsNoise(a, b, rmsMode), f = LumFocusing(a);
    for (int k = 0; k < 3; ++k) snr[k] = At(s, k), rms[k] = At(q, k), focus[k] = At(f, k);
  } else {
    put("average returns", LumPixelAverage(a, av[0]));
    LumPixelVariance(a, v[0], mean[0]);
    put("deviation returns", LumPixelStdDev(a, dev[0], dev[3]));
    snr[0] = LumSignalNoiseRatio(a, b, snrMode), rms[0] = LumRmsNoise(a, b, rmsMode), focus[0] = LumFocusing(a);
  }
  for (int k = 0; k < (colour ? 3 : 1); ++k)
    for (const auto& [name, value] : {std::pair{"average ", av[k]}, {"variance ", v[k]}, {"mean ", mean[k]},
                                      {"deviation ", dev[k]}, {"deviation's mean ", dev[3 + k]}, {"signal/noise ", snr[k]},
                                      {"rms noise ", rms[k]}, {"focusing ", focus[k]}})
      put(name + std::to_string(k), value);
  if constexpr (colour) {
    put("pooled variance", v[3]), put("pooled deviation", dev[6]);
  } else {
    using S = decltype(T::value);
    S lo = 0, hi = 0, slo = 0, shi = 0;
    float statMean = -1;
    put("extremes return", LumPixelMin(a, lo) + LumPixelMax(a, hi) + LumPixelStat(a, slo, shi, statMean));
    put("min", lo), put("max", hi), put("stat min", slo), put("stat max", shi), put("stat mean", statMean);
    // LumPixelCount and LumAreaDoubleThreshold: below low, then below high; LumArea with a
    // reference is at or above, the binarized form strictly above.
    for (const auto& [low, high] : Levels(S(~S{0}))) {
      int c[3] = {-1, -1, -1}, band = -1, area = -1;
      put("counts return", LumPixelCount(a, S(low), S(high), c[0], c[1], c[2]) +
                               LumAreaDoubleThreshold(a, S(low), S(high), band) + LumArea(a, S(high), area));
      put("below", c[0]), put("between", c[1]), put("above", c[2]), put("band", band), put("area", area);
      put("binarized area", LumArea(a, unsigned(high)));
    }
    put("binarized area above all", LumArea(a, 0xFFFFFFFFu));
  }
  put("differing pixels", LumPixelCompare(a, b)), put("differing from itself", LumPixelCompare(a, a));
  for (auto mode : {LUM_REFERENCE_NOISE_NONE, LUM_REFERENCE_NOISE_EQUAL})  // no noise: 0, not infinite
    put("noise of itself", At(LumRmsNoise(a, a, mode), 0) + At(LumSignalNoiseRatio(a, a, mode), 0));
  std::vector<uint64_t> first;  // the first byte of each pixel, in row order
  for (int64_t v : kt::Read(a).p) first.push_back(uint64_t(v) & 255);
  g_seen.clear();
  put("odd pixels", LumCount(a, Odd<T>)), put("pixels seen in row order", g_seen == first ? 1 : 0);
  put("error", ZGetError());
  if constexpr (std::is_same_v<T, ZBW8>)
    for (ZROI<T>* second : {b, a})
      for (int exclude : {0, 1}) {
        float f[3] = {-1, -1, -1};
        LumLinearRegression(a, second, f[0], f[1], f[2], exclude);
        put("regression error", ZGetError()), put("slope", f[0]), put("intercept", f[1]), put("correlation", f[2]);
      }
  return r;
}

// The same values from the model, in the same order.
std::vector<double> Expected(const Grid& a, const Grid& b, bool narrow, bool bw8) {
  const bool colour = a.c == 3;
  std::array<double, 3> pool{};
  std::vector<double> e = {0, 0};
  for (int k = 0; k < a.c; ++k) {
    const std::vector<double> c = Channel(a, b, k, narrow, colour, pool);
    e.insert(e.end(), c.begin(), c.end());
  }
  if (colour) {
    const double v = (pool[2] * pool[1] - pool[0] * pool[0]) / (pool[2] * pool[2]);
    const float pooled = v < 0 ? 0.0f : float(v);
    e.insert(e.end(), {pooled, std::sqrt(pooled)});
  } else {
    uint64_t lo = a.at(0, 0), hi = lo;
    float total = 0;  // the mean of the row means
    for (int y = 0; y < a.h; ++y) {
      uint64_t s = 0;
      for (int x = 0; x < a.w; ++x) s += a.at(x, y), lo = std::min(lo, a.at(x, y)), hi = std::max(hi, a.at(x, y));
      total += float(s) / float(a.w);
    }
    e.insert(e.end(), {0, double(lo), double(hi), double(lo), double(hi), total / float(a.h)});
    const auto count = [&](uint64_t low, uint64_t high) {
      std::array<double, 3> c{};
      for (int y = 0; y < a.h; ++y)
        for (int x = 0; x < a.w; ++x) ++c[a.at(x, y) < low ? 0 : a.at(x, y) < high ? 1 : 2];
      return c;
    };
    for (const auto& [low, high] : Levels(narrow ? 255 : 65535)) {
      const auto c = count(low, high);
      e.insert(e.end(), {0, c[0], c[1], c[2], c[1], count(0, high)[2], count(0, high + 1)[2]});
    }
    e.push_back(0);
  }
  double differ = 0, odd = 0;
  for (int y = 0; y < a.h; ++y)
    for (int x = 0; x < a.w; ++x) {
      bool same = true;
      for (int k = 0; k < a.c; ++k) same = same && a.at(x, y, k) == b.at(x, y, k);
      differ += !same, odd += a.at(x, y) & 1;
    }
  e.insert(e.end(), {differ, 0, 0, 0, odd, 1, Z_ERROR_NONE});
  for (const Grid* second : {&b, &a})
    for (int exclude = 0; bw8 && exclude < 2; ++exclude) {
      const auto f = Fit(a, *second, exclude);
      e.insert(e.end(), f.begin(), f.end());
    }
  return e;
}

// Normalisation of view a through the table of its own statistics (truncated, then clipped),
// into a destination and in place with a null one.
template <class T>
void CheckNormalize(kt::Aligned<T>& a, int offset) {
  using S = decltype(T::value);
  const float target = sizeof(S) == 1 ? 100.0f : 30000.0f, spread = sizeof(S) == 1 ? 30.0f : 20000.0f;
  float d = 0, m = 0;
  ASSERT_EQ(LumPixelStdDev(a.get(), d, m), 0);
  kt::Plane want = kt::Read(a.get());
  const float k = spread / d, max = float(S(~S{0}));
  for (int64_t& v : want.p) {
    const float r = float(v) * k + target - k * m;  // a deviation of 0 makes it NaN, which gives 0
    v = !(r > 0) ? 0 : r > max ? int64_t(max) : int64_t(r);
  }
  kt::Aligned<T> out(a->GetWidth(), a->GetHeight(), offset), same(a->GetWidth(), a->GetHeight(), offset);
  LumCopy(a.get(), same.get());
  LumNormalize(a.get(), out.get(), target, spread);
  LumNormalize(same.get(), nullptr, target, spread);
  EXPECT_TRUE(ZGetError() == Z_ERROR_NONE && kt::Read(out.get()) == want && kt::Read(same.get()) == want);
  EXPECT_TRUE(out.GuardsIntact() && same.GuardsIntact());
}

// Every statistic and moment of one pixel type on every shape against the models, both paths, bit
// for bit.
template <class T>
void CheckEveryShape() {
  size_t round = 0;
  for (const mr::Shape& s : mr::Shapes()) {
    SCOPED_TRACE(testing::Message() << s.width << "x" << s.height << " at offset " << s.offset);
    kt::Aligned<T> a(s.width, s.height, s.offset), b(s.width, s.height, (s.offset * 3 + 1) % 16);
    mr::Fill(a);
    mr::Fill(b);
    const Grid ga = mr::Read(a.get());
    const std::vector<double> want = Expected(ga, mr::Read(b.get()), sizeof(T) != 2, sizeof(T) == 1);
    mr::BothPaths(round++, [&] {
      const Results got = Measure(a.get(), b.get());
      ASSERT_EQ(got.size(), want.size());
      for (size_t i = 0; i < got.size(); ++i)
        EXPECT_TRUE(kt::Same(got[i].second, want[i])) << got[i].first << ": " << got[i].second << ", want " << want[i];
      if constexpr (!std::is_same_v<T, ZC24>) mr::CheckMoments(a.get(), ga), CheckNormalize(a, s.offset * 5 % 16);
    });
    ASSERT_TRUE(a.GuardsIntact() && b.GuardsIntact());
  }
}

TEST(PixelStatistics, Bw8AgreesWithTheModelOnEveryShape) { CheckEveryShape<ZBW8>(); }
TEST(PixelStatistics, Bw16AgreesWithTheModelOnEveryShape) { CheckEveryShape<ZBW16>(); }
TEST(PixelStatistics, C24AgreesWithTheModelOnEveryShape) { CheckEveryShape<ZC24>(); }

// Large views: 4200 x 4100 pixels of 255 sum to more than 2^32, and the BW8 average wraps (the
// variance's double totals do not); 3621 x 584 pixels of 65439 with one of 65438 give a variance
// that rounds below 0 and is clamped.
TEST(PixelStatistics, WrapsAndRounding) {
  ZImage<ZBW8> image(4200, 4100);
  for (int y = 0; y < 4100; ++y) std::memset(image.GetGenericImagePtr(0, y), 255, 4200);
  ZImage<ZBW16> flat(3621, 584);
  for (int y = 0; y < 584; ++y) std::fill_n(&flat.GetImagePtr(0, y)->value, 3621, uint16_t(65439));
  flat.GetImagePtr(0, 0)->value = 65438;
  const uint64_t n = 4200ull * 4100;
  kt::ForScalarAndWide([&](int) {
    float average = 0, variance = -1, mean = 0;
    ASSERT_EQ(LumPixelAverage(&image, average), 0);
    EXPECT_EQ(average, float(uint32_t(n * 255)) / float(n));
    LumPixelVariance(&image, variance, mean);
    EXPECT_TRUE(variance == 0.0f && mean == 255.0f);
    unsigned count = 0;
    EXPECT_EQ(LumAverage(&image, &count), 255.0f);
    EXPECT_EQ(count, n);
    LumPixelVariance(&flat, variance, mean);
    EXPECT_EQ(variance, 0.0f);
    ZImage<ZBW16> constant(4, 4), normalized(4, 4);  // a deviation of 0: NaN in the table gives 0
    LumCopy(ZBW16(500), &constant);
    LumNormalize(&constant, &normalized, 1000.0f, 10.0f);
    EXPECT_TRUE(ZGetError() == Z_ERROR_NONE && normalized.GetPixel(0, 0).value == 0);
  });
  // One row longer than the wide squares gather in 32-bit lanes before they flush, on every target.
  const int w = 600001;
  ZImage<ZBW8> row(w, 1);
  std::memset(row.GetGenericImagePtr(0, 0), 255, w);
  row.SetPixel(ZBW8(0), 0, 0);
  const double s = 255.0 * (w - 1), q = 65025.0 * (w - 1);
  ZImage<ZC24> colour(w, 1);
  std::memset(colour.GetGenericImagePtr(0, 0), 255, 3 * size_t(w));
  colour.SetPixel(ZC24(0, 0, 0), 0, 0);
  // Random rows that gather more than one flush of squares, the flush falling inside a row.
  kt::Aligned<ZBW8> noisy(1100, 490, 5);
  mr::Fill(noisy);
  const Grid gn = mr::Read(noisy.get());
  std::array<double, 3> pool{};
  const std::vector<double> expected = Channel(gn, gn, 0, true, false, pool);
  for (int64_t target : kt::Targets()) {
    const kt::TargetSetting setting(target);
    float variance = -1, mean = 0, v[4] = {}, m[3];
    LumPixelVariance(&row, variance, mean);
    EXPECT_EQ(variance, float((double(w) * q - s * s) / (double(w) * w))) << target;
    LumPixelVariance(&colour, v[0], v[1], v[2], m[0], m[1], m[2], v[3]);
    EXPECT_EQ(v[2], variance) << target;
    LumPixelVariance(noisy.get(), variance, mean);
    EXPECT_TRUE(variance == float(expected[1]) && mean == float(expected[2])) << target;
  }
}

// ----- comparison of two images -----

TEST(Correlogram, CountsPairsAndSaturatesAtTheCellWidth) {
  ZImage<ZBW8> a(300, 2), b(300, 2), cells8;
  ZImage<ZBW16> cells16;
  for (int x = 0; x < 300; ++x) {
    a.SetPixel(ZBW8(9), x, 0), b.SetPixel(ZBW8(200), x, 0);              // 300 times (9, 200)
    a.SetPixel(ZBW8(uint8_t(x % 3)), x, 1), b.SetPixel(ZBW8(0), x, 1);  // 100 each of (0..2, 0)
  }
  LumCorrelogram(&a, &b, &cells8);
  LumCorrelogram(&a, &b, &cells16);
  ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
  ASSERT_TRUE(cells8.GetWidth() == 256 && cells16.GetHeight() == 256);
  uint64_t total8 = 0, total16 = 0;
  for (int y = 0; y < 256; ++y)
    for (int x = 0; x < 256; ++x) total8 += cells8.GetPixel(x, y), total16 += cells16.GetPixel(x, y);
  EXPECT_TRUE(cells8.GetPixel(9, 55).value == 255 && cells16.GetPixel(9, 55).value == 300);
  EXPECT_TRUE(cells8.GetPixel(2, 255).value == 100 && total8 == 255u + 300u && total16 == 600u);
}

// ----- errors and traces -----

double Ungated(double result) {
  ZSetGateError(Z_ERROR_NONE);
  return result;
}

TEST(StatisticsErrors, BadViewsGiveTheirNumberTheTraceAndZero) {
  ZROI<ZBW8> empty;
  ZImage<ZBW8> a(5, 4), b(4, 5);
  ZImage<ZBW16> c(5, 4), d(5, 3);
  ZImage<ZC24> e(2, 2), f(3, 2);
  unsigned char lo = 7;
  float v = 7, m = 7, fit = 0;
  LumCopy(ZBW8(3), &a);  // constant: no variance to fit
  const std::string of8 = " ( BW8 source and BW8 reference)", of16 = " ( BW16 source and BW16 reference)";
  const auto none = LUM_REFERENCE_NOISE_NONE;
  int i1 = 7, i2 = 7, i3 = 7;
  const std::tuple<std::function<double()>, Z_ERRORS, Strings> cases[] = {
      {[&] { return LumPixelMin(nullptr, lo); }, Z_ERROR_NULL_IMAGE, {"LumPixelMin"}},
      {[&] { return LumPixelAverage(&empty, v); }, Z_ERROR_NULL_IMAGE, {"LumPixelAverage ( BW8)"}},
      {[&] { return LumPixelStdDev(&empty, v, m); }, Z_ERROR_NULL_IMAGE, {"LumPixelVariance ( BW8)", "LumPixelStdDev"}},
      {[&] { return LumPixelStat(nullptr, lo, lo, v); }, Z_ERROR_NULL_IMAGE, {"LumPixelStat"}},
      {[&] { return LumPixelCount(&empty, 1, 2, i1, i2, i3); }, Z_ERROR_NULL_IMAGE, {"LumPixelCount"}},
      {[&] { return LumAreaDoubleThreshold(&empty, 1, 2, i1); }, Z_ERROR_NULL_IMAGE, {"LumAreaDoubleThreshold"}},
      {[&] { return LumArea(&empty, 3u); }, Z_ERROR_NULL_IMAGE, {"LumArea ( binarized)"}},
      {[&] { return LumPixelCompare(&a, &b); }, Z_ERROR_DIFFERENT_SIZES, {"LumPixelCompare ( BW8)"}},
      {[&] { return LumPixelCompare(&c, &d); }, Z_ERROR_DIFFERENT_SIZES, {"LumPixelCompare ( BW16)"}},
      {[&] { return LumRmsNoise(&a, &a, LUM_REFERENCE_NOISE(2)); }, Z_ERROR_ARGUMENT_3, {"LumRmsNoise" + of8}},
      {[&] { return LumSignalNoiseRatio(&a, &a, LUM_REFERENCE_NOISE(-1)); }, Z_ERROR_ARGUMENT_3, {"LumSignalNoiseRatio" + of8}},
      {[&] { return LumSignalNoiseRatio(&c, nullptr, none); }, Z_ERROR_NULL_IMAGE, {"LumSignalNoiseRatio" + of16}},
      {[&] { return LumRmsNoise(&e, &f, none).c0; }, Z_ERROR_DIFFERENT_SIZES, {"LumRmsNoise ( C24 source and C24 reference)"}},
      {[&] { return LumFocusing(static_cast<ZROI<ZC24>*>(nullptr)).c1; }, Z_ERROR_NULL_IMAGE, {"LumFocusing ( C24)"}},
      {[&] { return LumFocusing(&empty); }, Z_ERROR_NULL_IMAGE, {"LumFocusing ( BW8)"}},
      {[&] { return LumAverage(nullptr, nullptr); }, Z_ERROR_NULL_IMAGE, {"LumAverage"}},
      {[&] { return LumCount(&a, nullptr); }, Z_ERROR_NULL_IMAGE, {"LumCount ( BW8)"}},
      {[&] { return LumVariance(&empty, &v, nullptr); }, Z_ERROR_NULL_IMAGE, {"LumVariance"}},
      {[&] { return LumNormalize(&empty, &a, 1, 1); }, Z_ERROR_NULL_IMAGE,
       {"LumPixelVariance ( BW8)", "LumPixelStdDev", "LumNormalize"}},
      {[&] { return LumNormalize(&a, &b, 1, 1); }, Z_ERROR_DIFFERENT_SIZES, {"LumNormalize"}},
      {[&] { return LumNormalize(&c, &d, 1, 1), 0; }, Z_ERROR_DIFFERENT_SIZES, {"LumNormalize (BW16)"}},
      {[&] { return LumCorrelogram(&a, &a, static_cast<ZImage<ZBW8>*>(nullptr)), 0; }, Z_ERROR_NULL_IMAGE,
       {"LumCorrelogram ( BW8)"}},
      {[&] { return LumLinearRegression(&a, &b, v, v, v, 0), 0; }, Z_ERROR_DIFFERENT_SIZES, {"LumLinearRegression"}},
      {[&] { return LumLinearRegression(&a, &a, fit, fit, fit, 0), 0; }, Z_ERROR_NO_VARIANCE, {"LumLinearRegression"}},
      // the gate stops every form
      {[&] { return ZSetGateError(Z_ERROR_INTERNAL), Ungated(LumArea(&a)); }, Z_ERROR_INTERNAL, {"LumArea ( all pixels)"}},
  };
  for (const auto& [call, error, trace] : cases) {
    const double r = call();
    EXPECT_TRUE(kt::Failed(error, trace));
    EXPECT_TRUE(r == 0 || r == double(error)) << trace[0];  // short forms return the number, measures 0
  }
  EXPECT_EQ(lo, 7);
  EXPECT_EQ(v + m + float(i1 + i2 + i3), 35.0f);
}

}  // namespace
