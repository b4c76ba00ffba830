// Pixel statistics and comparison against a direct model of their rules, on random views at every
// byte offset with the wide paths off and on; the wraps, the two LumArea conventions, run lists,
// the callback, normalisation, and the error numbers and trace strings.
#include <algorithm>
#include <array>
#include <cmath>

#include "measure/measure_ref.h"

namespace {

using mr::Grid;
using mr::SameBits;
using Strings = std::vector<std::string>;

// ----- the model -----

// `narrow`: BW8 and the C24 bytes, whose average sum and noise row sums are 32-bit.
struct Model {
  const Grid& g;
  bool narrow;
  uint64_t Cut(uint64_t v) const { return narrow ? uint32_t(v) : v; }
  float N() const { return float(uint64_t(g.w) * g.h); }

  float Average(int k) const {
    uint64_t s = 0;
    for (int y = 0; y < g.h; ++y)
      for (int x = 0; x < g.w; ++x) s += g.at(x, y, k);
    return float(Cut(s)) / N();
  }
  // variance, mean; k = -1 pools every channel.
  std::pair<float, float> Variance(int k) const {
    double s = 0, q = 0, n = 0;
    for (int c = 0; c < g.c; ++c) {
      if (k >= 0 && c != k) continue;
      n += double(uint64_t(g.w) * g.h);
      for (int y = 0; y < g.h; ++y) {
        uint64_t rs = 0, rq = 0;
        for (int x = 0; x < g.w; ++x) rs += g.at(x, y, c), rq += g.at(x, y, c) * g.at(x, y, c);
        s += double(rs), q += double(rq);
      }
    }
    const double v = (n * q - s * s) / (n * n);
    return {v < 0 ? 0.0f : float(v), float(s / n)};
  }
  void Stat(uint64_t& lo, uint64_t& hi, float& mean) const {
    lo = hi = g.at(0, 0);
    float total = 0;
    for (int y = 0; y < g.h; ++y) {
      uint64_t s = 0;
      for (int x = 0; x < g.w; ++x) s += g.at(x, y), lo = std::min(lo, g.at(x, y)), hi = std::max(hi, g.at(x, y));
      total += float(s) / float(g.w);
    }
    mean = total / float(g.h);
  }
  void Count(uint64_t low, uint64_t high, int& below, int& between, int& above) const {
    below = between = above = 0;
    for (uint64_t v : g.v) (v < low ? below : v < high ? between : above)++;
  }
  unsigned Differ(const Grid& o) const {
    unsigned n = 0;
    for (size_t i = 0; i < g.v.size(); i += g.c) {
      bool d = false;
      for (int k = 0; k < g.c; ++k) d = d || g.v[i + k] != o.v[i + k];
      n += d;
    }
    return n;
  }
  float Snr(const Grid& o, int mode, int k) const {
    long double p = 0, e = 0;
    for (int y = 0; y < g.h; ++y) {
      uint64_t rp = 0, re = 0;
      for (int x = 0; x < g.w; ++x) {
        const int64_t a = int64_t(g.at(x, y, k)), d = a - int64_t(o.at(x, y, k));
        rp += uint64_t(a * a), re += uint64_t(d * d);
      }
      p += (long double)Cut(rp), e += (long double)Cut(re);
    }
    if (e == 0) return 0.0f;
    return float(10.0L * std::log10(p / e) + (mode == 1 ? 10.0L * std::log10(2.0L) : 0.0L));
  }
  float Rms(const Grid& o, int mode, int k) const {
    float t = 0;
    for (int y = 0; y < g.h; ++y) {
      uint64_t re = 0;
      for (int x = 0; x < g.w; ++x) {
        const int64_t d = int64_t(g.at(x, y, k)) - int64_t(o.at(x, y, k));
        re += uint64_t(d * d);
      }
      t += float(Cut(re));
    }
    if (mode == 1) t *= 0.5f;
    return std::sqrt(t / N());
  }
  float Focus(int k) const {
    long double t = 0;
    for (int y = 0; y + 1 < g.h; ++y) {
      uint64_t r = 0;
      for (int x = 0; x + 1 < g.w; ++x) {
        const int64_t p = int64_t(g.at(x, y, k)), d1 = p - int64_t(g.at(x + 1, y, k)), d2 = p - int64_t(g.at(x, y + 1, k));
        r += uint64_t(d1 * d1 + d2 * d2);
      }
      t += (long double)Cut(r);
    }
    return float(t);
  }
};

template <class T>
constexpr bool kColour = std::is_same_v<T, ZC24>;

// Every operator of one pixel type on every shape against the model, both paths, bit for bit.
template <class T>
void CheckEveryShape() {
  size_t round = 0;
  for (const mr::Shape& s : mr::Shapes()) {
    SCOPED_TRACE(testing::Message() << s.width << "x" << s.height << " at offset " << s.offset);
    kt::Aligned<T> a(s.width, s.height, s.offset), b(s.width, s.height, (s.offset * 3 + 1) % 16);
    mr::Fill(a);
    mr::Fill(b);
    const Grid ga = mr::Read(a.get()), gb = mr::Read(b.get());
    const Model m{ga, sizeof(T) != 2};
    mr::BothPaths(round++, [&](int) {
      if constexpr (kColour<T>) {
        float av[3], v[4], mean[3], dev[7];
        ASSERT_EQ(LumPixelAverage(a.get(), av[0], av[1], av[2]), 0);
        LumPixelVariance(a.get(), v[0], v[1], v[2], mean[0], mean[1], mean[2], v[3]);
        ASSERT_EQ(LumPixelStdDev(a.get(), dev[0], dev[1], dev[2], dev[3], dev[4], dev[5], dev[6]), 0);
        const ZColor snr = LumSignalNoiseRatio(a.get(), b.get(), LUM_REFERENCE_NOISE_EQUAL);
        const ZColor rms = LumRmsNoise(a.get(), b.get(), LUM_REFERENCE_NOISE_NONE);
        const ZColor focus = LumFocusing(a.get());
        const float snrs[] = {snr.c0, snr.c1, snr.c2}, rmss[] = {rms.c0, rms.c1, rms.c2};
        const float foci[] = {focus.c0, focus.c1, focus.c2};
        for (int k = 0; k < 3; ++k) {
          EXPECT_TRUE(SameBits(av[k], m.Average(k))) << k;
          EXPECT_TRUE(SameBits(v[k], m.Variance(k).first)) << k;
          EXPECT_TRUE(SameBits(mean[k], m.Variance(k).second)) << k;
          EXPECT_TRUE(SameBits(dev[k], std::sqrt(v[k])) && SameBits(dev[3 + k], mean[k])) << k;
          EXPECT_TRUE(SameBits(snrs[k], m.Snr(gb, 1, k))) << k;
          EXPECT_TRUE(SameBits(rmss[k], m.Rms(gb, 0, k))) << k;
          EXPECT_TRUE(SameBits(foci[k], m.Focus(k))) << k;
        }
        EXPECT_TRUE(SameBits(v[3], m.Variance(-1).first));
        EXPECT_TRUE(SameBits(dev[6], std::sqrt(v[3])));
      } else {
        using S = decltype(T::value);
        float av = -1, v = -1, mean = -1, dev = -1, mean2 = -1, statMean = -1;
        S lo = 0, hi = 0, slo = 0, shi = 0;
        uint64_t mlo, mhi;
        float mStat;
        m.Stat(mlo, mhi, mStat);
        ASSERT_EQ(LumPixelAverage(a.get(), av), 0);
        LumPixelVariance(a.get(), v, mean);
        ASSERT_EQ(LumPixelStdDev(a.get(), dev, mean2), 0);
        ASSERT_EQ(LumPixelMin(a.get(), lo), 0);
        ASSERT_EQ(LumPixelMax(a.get(), hi), 0);
        ASSERT_EQ(LumPixelStat(a.get(), slo, shi, statMean), 0);
        EXPECT_TRUE(SameBits(av, m.Average(0)));
        EXPECT_TRUE(SameBits(v, m.Variance(0).first) && SameBits(mean, m.Variance(0).second));
        EXPECT_TRUE(SameBits(dev, std::sqrt(v)) && SameBits(mean2, mean));
        EXPECT_EQ(lo, mlo);
        EXPECT_EQ(hi, mhi);
        EXPECT_EQ(slo, mlo);
        EXPECT_EQ(shi, mhi);
        EXPECT_TRUE(SameBits(statMean, mStat));
        const S max = S(~S{0});
        for (const auto& [low, high] : std::vector<std::pair<S, S>>{{0, 0}, {1, max}, {S(max / 3), S(max / 2)},
                                                                      {S(max / 2), S(max / 3)}, {max, max}}) {
          int below, between, above, ref[3], area = -1, band = -1;
          m.Count(low, high, ref[0], ref[1], ref[2]);
          ASSERT_EQ(LumPixelCount(a.get(), low, high, below, between, above), 0);
          EXPECT_EQ(below, ref[0]);
          EXPECT_EQ(between, ref[1]);
          EXPECT_EQ(above, ref[2]);
          ASSERT_EQ(LumAreaDoubleThreshold(a.get(), low, high, band), 0);
          EXPECT_EQ(band, ref[1]);
          m.Count(0, high, ref[0], ref[1], ref[2]);
          ASSERT_EQ(LumArea(a.get(), high, area), 0);
          EXPECT_EQ(area, ref[2]);
          m.Count(0, uint64_t(high) + 1, ref[0], ref[1], ref[2]);
          EXPECT_EQ(LumArea(a.get(), unsigned(high)), unsigned(ref[2]));
        }
        EXPECT_EQ(LumArea(a.get(), 0xFFFFFFFFu), 0u);
        EXPECT_TRUE(SameBits(LumSignalNoiseRatio(a.get(), b.get(), LUM_REFERENCE_NOISE_NONE), m.Snr(gb, 0, 0)));
        EXPECT_TRUE(SameBits(LumRmsNoise(a.get(), b.get(), LUM_REFERENCE_NOISE_EQUAL), m.Rms(gb, 1, 0)));
        EXPECT_TRUE(SameBits(LumFocusing(a.get()), m.Focus(0)));
      }
      EXPECT_EQ(LumPixelCompare(a.get(), b.get()), m.Differ(gb));
      EXPECT_EQ(LumPixelCompare(a.get(), a.get()), 0u);
      EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
    });
    ASSERT_TRUE(a.GuardsIntact() && b.GuardsIntact());
  }
}

TEST(PixelStatistics, Bw8AgreesWithTheModelOnEveryShape) { CheckEveryShape<ZBW8>(); }
TEST(PixelStatistics, Bw16AgreesWithTheModelOnEveryShape) { CheckEveryShape<ZBW16>(); }
TEST(PixelStatistics, C24AgreesWithTheModelOnEveryShape) { CheckEveryShape<ZC24>(); }

TEST(PixelStatistics, TheBw8SumWrapsAt32Bits) {
  // 4200 x 4100 pixels of 255 sum to more than 2^32.
  ZImage<ZBW8> image(4200, 4100);
  for (int y = 0; y < 4100; ++y) std::memset(image.GetGenericImagePtr(0, y), 255, 4200);
  const uint64_t n = 4200ull * 4100;
  for (int wide : {0, 1}) {
    kt::WideSetting setting(wide);
    float average = 0, variance = -1, mean = 0;
    ASSERT_EQ(LumPixelAverage(&image, average), 0);
    EXPECT_EQ(average, float(uint32_t(n * 255)) / float(n));
    EXPECT_LT(average, 20.0f);
    LumPixelVariance(&image, variance, mean);  // double totals: no wrap
    EXPECT_EQ(variance, 0.0f);
    EXPECT_EQ(mean, 255.0f);
    unsigned count = 0;
    EXPECT_EQ(LumAverage(&image, &count), 255.0f);
    EXPECT_EQ(count, n);
  }
  // One row longer than the wide squares gather in 32-bit lanes before they flush, on every target.
  const int w = 600001;
  ZImage<ZBW8> row(w, 1);
  std::memset(row.GetGenericImagePtr(0, 0), 255, w);
  row.SetPixel(ZBW8(0), 0, 0);
  const double s = 255.0 * (w - 1), q = 65025.0 * (w - 1);
  ZImage<ZC24> colour(w, 1);
  std::memset(colour.GetGenericImagePtr(0, 0), 255, 3 * size_t(w));
  colour.SetPixel(ZC24(0, 0, 0), 0, 0);
  for (int64_t target : kt::Targets()) {
    const kt::TargetSetting setting(target);
    float variance = -1, mean = 0, v[4] = {}, m[3];
    LumPixelVariance(&row, variance, mean);
    EXPECT_EQ(variance, float((double(w) * q - s * s) / (double(w) * w))) << target;
    LumPixelVariance(&colour, v[0], v[1], v[2], m[0], m[1], m[2], v[3]);
    EXPECT_EQ(v[2], variance) << target;
  }
}

TEST(PixelStatistics, TheTwoAreaFormsDifferAtTheThreshold) {
  ZImage<ZBW8> image(3, 1);
  for (int x = 0; x < 3; ++x) image.SetPixel(ZBW8(uint8_t(127 + x)), x, 0);
  int area = -1;
  ASSERT_EQ(LumArea(&image, 128, area), 0);
  EXPECT_EQ(area, 2);                  // 128 and 129
  EXPECT_EQ(LumArea(&image, 128u), 1u);  // 129 only
  int below, between, above;
  ASSERT_EQ(LumPixelCount(&image, 129, 128, below, between, above), 0);
  EXPECT_EQ(below, 2);
  EXPECT_EQ(between, 0);
  EXPECT_EQ(above, 1);
}

TEST(PixelStatistics, EqualImagesGiveNoNoiseAndAPerfectFit) {
  kt::Aligned<ZBW8> a(37, 5, 3), b(37, 5, 6);
  mr::Fill(a);
  for (int y = 0; y < 5; ++y) std::memcpy(b->GetGenericImagePtr(0, y), a->GetGenericImagePtr(0, y), 37);
  for (int wide : {0, 1}) {
    kt::WideSetting setting(wide);
    for (auto mode : {LUM_REFERENCE_NOISE_NONE, LUM_REFERENCE_NOISE_EQUAL}) {
      EXPECT_EQ(LumRmsNoise(a.get(), b.get(), mode), 0.0f);
      EXPECT_EQ(LumSignalNoiseRatio(a.get(), b.get(), mode), 0.0f);
      EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
    }
    float slope = 0, intercept = 1, correlation = 0;
    LumLinearRegression(a.get(), b.get(), slope, intercept, correlation, 0);
    EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
    EXPECT_EQ(slope, 1.0f);
    EXPECT_EQ(intercept, 0.0f);
    EXPECT_EQ(correlation, 1.0f);
  }
}

// ----- linear regression -----

struct Fit {
  float slope, intercept, correlation;
  bool constant;
};

Fit ModelFit(const Grid& a, const Grid& b, bool exclude) {
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
  const double i = 1.0 / double(n), ma = sa * i, mb = sb * i;
  const double vaa = saa * i - ma * ma, vab = sab * i - mb * ma, vbb = sbb * i - mb * mb;
  if (vaa == 0) return {0.0f, float(mb), 0.0f, true};
  const double s = vab / vaa;
  return {float(s), float(mb - s * ma), vaa * vbb > 0 ? float(vab / std::sqrt(vaa * vbb)) : 0.0f, false};
}

TEST(LinearRegression, AgreesWithTheModelWithAndWithoutClippedPixels) {
  size_t round = 0;
  for (const mr::Shape& s : mr::Shapes()) {
    if (s.width * s.height < 4) continue;
    kt::Aligned<ZBW8> a(s.width, s.height, s.offset), b(s.width, s.height, 15 - s.offset);
    mr::Fill(a);
    mr::Fill(b);
    const Grid ga = mr::Read(a.get()), gb = mr::Read(b.get());
    mr::BothPaths(round++, [&](int) {
      for (int exclude : {0, 1}) {
        const Fit f = ModelFit(ga, gb, exclude);
        float slope = 0, intercept = 0, correlation = 0;
        LumLinearRegression(a.get(), b.get(), slope, intercept, correlation, exclude);
        EXPECT_EQ(ZGetError(), f.constant ? Z_ERROR_NO_VARIANCE : Z_ERROR_NONE);
        EXPECT_TRUE(SameBits(slope, f.slope) && SameBits(intercept, f.intercept) &&
                    SameBits(correlation, f.correlation))
            << s.width << "x" << s.height << " exclude " << exclude;
      }
    });
  }
}

TEST(LinearRegression, ConstantOrFullyClippedData) {
  ZImage<ZBW8> a(4, 2), b(4, 2);
  for (int y = 0; y < 2; ++y)
    for (int x = 0; x < 4; ++x) a.SetPixel(ZBW8(7), x, y), b.SetPixel(ZBW8(uint8_t(10 * x + y)), x, y);
  float slope = 5, intercept = 5, correlation = 5;
  LumLinearRegression(&a, &b, slope, intercept, correlation, 0);
  EXPECT_EQ(ZGetError(), Z_ERROR_NO_VARIANCE);
  EXPECT_EQ(kt::Trace(), Strings{"LumLinearRegression"});
  EXPECT_EQ(slope, 0.0f);
  EXPECT_EQ(intercept, 15.5f);
  EXPECT_EQ(correlation, 0.0f);
  // Every position clipped: nothing to fit, nothing written.
  for (int x = 0; x < 4; ++x) a.SetPixel(ZBW8(x % 2 ? 255 : 0), x, 0), a.SetPixel(ZBW8(0), x, 1);
  slope = intercept = correlation = 5;
  LumLinearRegression(&a, &b, slope, intercept, correlation, 1);
  EXPECT_EQ(ZGetError(), Z_ERROR_NO_VARIANCE);
  EXPECT_EQ(slope + intercept + correlation, 15.0f);
}

// ----- correlogram -----

TEST(Correlogram, CountsPairsAndSaturatesAtTheCellWidth) {
  ZImage<ZBW8> a(300, 2), b(300, 2);
  for (int x = 0; x < 300; ++x) {
    a.SetPixel(ZBW8(9), x, 0), b.SetPixel(ZBW8(200), x, 0);              // 300 times (9, 200)
    a.SetPixel(ZBW8(uint8_t(x % 3)), x, 1), b.SetPixel(ZBW8(0), x, 1);  // 100 each of (0..2, 0)
  }
  ZImage<ZBW8> cells8;
  ZImage<ZBW16> cells16;
  LumCorrelogram(&a, &b, &cells8);
  LumCorrelogram(&a, &b, &cells16);
  ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
  ASSERT_EQ(cells8.GetWidth(), 256);
  ASSERT_EQ(cells16.GetHeight(), 256);
  uint64_t total8 = 0, total16 = 0;
  for (int y = 0; y < 256; ++y)
    for (int x = 0; x < 256; ++x) total8 += cells8.GetPixel(x, y), total16 += cells16.GetPixel(x, y);
  EXPECT_EQ(cells8.GetPixel(9, 55).value, 255);
  EXPECT_EQ(cells16.GetPixel(9, 55).value, 300);
  EXPECT_EQ(cells8.GetPixel(2, 255).value, 100);
  EXPECT_EQ(total8, 255u + 300u);
  EXPECT_EQ(total16, 600u);
}

// ----- run lists -----

// A view with runs over part of its rows; the reference values are those of the run pixels.
struct RunView {
  kt::Aligned<ZBW8> frame{40, 6, 5};
  ZVectorTemplate<ZRun> runs;
  std::vector<uint64_t> values;
  RunView() {
    mr::Fill(frame);
    const int pitch = frame->GetRowPitch();
    for (const auto& [x, y, n] : std::vector<std::array<int, 3>>{{0, 0, 40}, {3, 2, 17}, {39, 5, 1}, {10, 4, 0}}) {
      runs.AddElement(ZRun{uint32_t(y * pitch + x), uint32_t(y * pitch + x + n), int16_t(x), int16_t(y)});
      for (int i = 0; i < n; ++i) values.push_back(frame->GetPixel(x + i, y));
    }
    frame->SetRunList(&runs);
  }
};

TEST(RunLists, AreaAverageVarianceAndExtremesReadOnlyTheRuns) {
  RunView r;
  uint64_t sum = 0;
  std::vector<unsigned> bins(256);
  for (uint64_t v : r.values) sum += v, ++bins[v];
  const unsigned n = unsigned(r.values.size());
  for (int wide : {0, 1}) {
    kt::WideSetting setting(wide);
    EXPECT_EQ(LumArea(r.frame.get()), n);
    EXPECT_EQ(LumArea(r.frame.get(), 100u), unsigned(std::count_if(r.values.begin(), r.values.end(), [](uint64_t v) {
                return v > 100;
              })));
    unsigned count = 0;
    EXPECT_EQ(LumAverage(r.frame.get(), &count), float(sum) / float(n));
    EXPECT_EQ(count, n);
    float mean = 0;
    count = 0;
    const float variance = LumVariance(r.frame.get(), &mean, &count);
    double s2 = 0;
    for (int i = 0; i < 256; ++i) s2 += double(bins[i]) * i * i;
    const float m = float(uint32_t(sum)) / float(n);
    EXPECT_EQ(mean, m);
    EXPECT_EQ(variance, float(s2 / n - double(m * m)));
    EXPECT_EQ(count, n);
    EXPECT_EQ(LumMinimum(r.frame.get()).value, *std::min_element(r.values.begin(), r.values.end()));
    EXPECT_EQ(LumMaximum(r.frame.get()).value, *std::max_element(r.values.begin(), r.values.end()));
    // The rectangle forms ignore the runs.
    int area = 0;
    ASSERT_EQ(LumArea(r.frame.get(), 0, area), 0);
    EXPECT_EQ(area, 240);
  }
}

TEST(RunLists, ARunOutsideItsRowIsRefused) {
  RunView r;
  const int pitch = r.frame->GetRowPitch();
  for (const ZRun bad : {ZRun{uint32_t(pitch - 2), uint32_t(pitch + 3), 0, 0},  // crosses into the next row
                         ZRun{uint32_t(6 * pitch), uint32_t(6 * pitch + 1), 0, 6},  // below the view
                         ZRun{9, 4, 9, 0}}) {                                     // ends before it starts
    r.runs.AddElement(bad);
    unsigned count = 7;
    EXPECT_EQ(LumArea(r.frame.get()), 0u);
    EXPECT_EQ(ZGetError(), Z_ERROR_OUTSIDE_ROI);
    EXPECT_EQ(kt::Trace(), Strings{"LumArea ( all pixels)"});
    EXPECT_EQ(LumAverage(r.frame.get(), &count), 0.0f);
    EXPECT_EQ(ZGetError(), Z_ERROR_OUTSIDE_ROI);
    r.runs.RemoveElement(r.runs.GetNumElements() - 1);
  }
  ASSERT_TRUE(r.frame.GuardsIntact());
}

TEST(RunLists, RunsWithoutPixelsGiveNoVariance) {
  ZImage<ZBW8> image(8, 2);
  ZVectorTemplate<ZRun> runs;
  runs.AddElement(ZRun{3, 3, 3, 0});
  image.SetRunList(&runs);
  EXPECT_EQ(LumVariance(&image, nullptr, nullptr), 0.0f);
  EXPECT_EQ(ZGetError(), Z_ERROR_NO_VARIANCE);
  EXPECT_EQ(kt::Trace(), (Strings{"LumHistogramCenteredMoments ( 2)", "LumVariance"}));
  unsigned count = 9;
  EXPECT_EQ(LumAverage(&image, &count), 0.0f);
  EXPECT_EQ(count, 0u);
  EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
}

// ----- the host callback -----

std::vector<int> g_seen;
int Odd8(ZBW8& p) { return g_seen.push_back(p.value), p.value & 1; }
int Bright16(ZBW16& p) { return p.value > 40000; }
int Reddish(ZC24& p) { return p.c0 > p.c2; }

TEST(Count, CallsTheHostForEachPixelInRowOrder) {
  kt::Aligned<ZBW8> a(13, 3, 5);
  mr::Fill(a);
  const Grid g = mr::Read(a.get());
  g_seen.clear();
  unsigned odd = 0;
  for (uint64_t v : g.v) odd += v & 1;
  EXPECT_EQ(LumCount(a.get(), Odd8), odd);
  EXPECT_EQ(g_seen, std::vector<int>(g.v.begin(), g.v.end()));
  kt::Aligned<ZBW16> b(9, 2, 2);
  mr::Fill(b);
  unsigned bright = 0;
  for (uint64_t v : mr::Read(b.get()).v) bright += v > 40000;
  EXPECT_EQ(LumCount(b.get(), Bright16), bright);
  kt::Aligned<ZC24> c(9, 2, 1);
  mr::Fill(c);
  const Grid gc = mr::Read(c.get());
  unsigned reddish = 0;
  for (size_t i = 0; i < gc.v.size(); i += 3) reddish += gc.v[i] > gc.v[i + 2];
  EXPECT_EQ(LumCount(c.get(), Reddish), reddish);
  EXPECT_EQ(LumCount(a.get(), nullptr), 0u);
  EXPECT_EQ(ZGetError(), Z_ERROR_NULL_IMAGE);
  EXPECT_EQ(kt::Trace(), Strings{"LumCount ( BW8)"});
}

// ----- normalisation -----

TEST(Normalize, MapsThroughTheTableOfTheSourceStatistics) {
  kt::Aligned<ZBW8> a(50, 4, 3), out(50, 4, 9);
  mr::Fill(a);
  float d = 0, m = 0;
  ASSERT_EQ(LumPixelStdDev(a.get(), d, m), 0);
  const float k = 30.0f / d;
  for (int wide : {0, 1}) {
    kt::WideSetting setting(wide);
    ASSERT_EQ(LumNormalize(a.get(), out.get(), 100.0f, 30.0f), 0);
    for (int y = 0; y < 4; ++y)
      for (int x = 0; x < 50; ++x) {
        const float r = float(a->GetPixel(x, y).value) * k + 100.0f - k * m;
        const int expected = r < 0 ? 0 : r > 255 ? 255 : int(r);
        ASSERT_EQ(out->GetPixel(x, y).value, expected) << x << "," << y;
      }
  }
  // In place, with a null destination.
  kt::Aligned<ZBW8> same(50, 4, 3);
  for (int y = 0; y < 4; ++y) std::memcpy(same->GetGenericImagePtr(0, y), a->GetGenericImagePtr(0, y), 50);
  ASSERT_EQ(LumNormalize(same.get(), nullptr, 100.0f, 30.0f), 0);
  EXPECT_TRUE(kt::SameBytes(same.get(), out.get()));
  EXPECT_TRUE(out.GuardsIntact() && same.GuardsIntact());
}

TEST(Normalize, Bw16TruncatesThenClips) {
  kt::Aligned<ZBW16> a(33, 3, 2), out(33, 3, 6);
  mr::Fill(a);
  float d = 0, m = 0;
  ASSERT_EQ(LumPixelStdDev(a.get(), d, m), 0);
  const float k = 20000.0f / d;
  LumNormalize(a.get(), out.get(), 30000.0f, 20000.0f);
  ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
  for (int y = 0; y < 3; ++y)
    for (int x = 0; x < 33; ++x) {
      const float r = float(a->GetPixel(x, y).value) * k + 30000.0f - k * m;
      ASSERT_EQ(out->GetPixel(x, y).value, r < 0 ? 0 : r > 65535 ? 65535 : int(r));
    }
  EXPECT_TRUE(out.GuardsIntact());
  // A constant image: deviation 0, and the float division decides (NaN gives 0).
  ZImage<ZBW16> flat(4, 4), flatOut(4, 4);
  for (int y = 0; y < 4; ++y)
    for (int x = 0; x < 4; ++x) flat.SetPixel(ZBW16(500), x, y);
  LumNormalize(&flat, &flatOut, 1000.0f, 10.0f);
  EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
  EXPECT_EQ(flatOut.GetPixel(0, 0).value, 0);
}

// ----- errors and traces -----

TEST(StatisticsErrors, BadViewsGiveTheirNumberTheTraceAndZero) {
  ZROI<ZBW8> empty;
  ZImage<ZBW8> a(5, 4), b(4, 5);
  ZImage<ZBW16> c(5, 4), d(5, 3);
  ZImage<ZC24> e(2, 2), f(3, 2);
  unsigned char lo = 7;
  float v = 7, m = 7;
  int i1 = 7, i2 = 7, i3 = 7;
  struct Case {
    std::function<double()> call;
    Z_ERRORS error;
    Strings trace;
  };
  const std::vector<Case> cases = {
      {[&] { return LumPixelMin(nullptr, lo); }, Z_ERROR_NULL_IMAGE, {"LumPixelMin"}},
      {[&] { return LumPixelAverage(&empty, v); }, Z_ERROR_NULL_IMAGE, {"LumPixelAverage ( BW8)"}},
      {[&] { return LumPixelStdDev(&empty, v, m); }, Z_ERROR_NULL_IMAGE, {"LumPixelVariance ( BW8)", "LumPixelStdDev"}},
      {[&] { return LumPixelStat(nullptr, lo, lo, v); }, Z_ERROR_NULL_IMAGE, {"LumPixelStat"}},
      {[&] { return LumPixelCount(&empty, 1, 2, i1, i2, i3); }, Z_ERROR_NULL_IMAGE, {"LumPixelCount"}},
      {[&] { return LumAreaDoubleThreshold(&empty, 1, 2, i1); }, Z_ERROR_NULL_IMAGE, {"LumAreaDoubleThreshold"}},
      {[&] { return LumArea(&empty, 3u); }, Z_ERROR_NULL_IMAGE, {"LumArea ( binarized)"}},
      {[&] { return LumPixelCompare(&a, &b); }, Z_ERROR_DIFFERENT_SIZES, {"LumPixelCompare ( BW8)"}},
      {[&] { return LumPixelCompare(&c, &d); }, Z_ERROR_DIFFERENT_SIZES, {"LumPixelCompare ( BW16)"}},
      {[&] { return LumRmsNoise(&a, &a, LUM_REFERENCE_NOISE(2)); }, Z_ERROR_ARGUMENT_3,
       {"LumRmsNoise ( BW8 source and BW8 reference)"}},
      {[&] { return LumSignalNoiseRatio(&a, &a, LUM_REFERENCE_NOISE(-1)); }, Z_ERROR_ARGUMENT_3,
       {"LumSignalNoiseRatio ( BW8 source and BW8 reference)"}},
      {[&] { return LumSignalNoiseRatio(&c, nullptr, LUM_REFERENCE_NOISE_NONE); }, Z_ERROR_NULL_IMAGE,
       {"LumSignalNoiseRatio ( BW16 source and BW16 reference)"}},
      {[&] { return LumRmsNoise(&e, &f, LUM_REFERENCE_NOISE_NONE).c0; }, Z_ERROR_DIFFERENT_SIZES,
       {"LumRmsNoise ( C24 source and C24 reference)"}},
      {[&] { return LumFocusing(static_cast<ZROI<ZC24>*>(nullptr)).c1; }, Z_ERROR_NULL_IMAGE, {"LumFocusing ( C24)"}},
      {[&] { return LumFocusing(&empty); }, Z_ERROR_NULL_IMAGE, {"LumFocusing ( BW8)"}},
      {[&] { return LumAverage(nullptr, nullptr); }, Z_ERROR_NULL_IMAGE, {"LumAverage"}},
      {[&] { return LumVariance(&empty, &v, nullptr); }, Z_ERROR_NULL_IMAGE, {"LumVariance"}},
      {[&] { return LumNormalize(&empty, &a, 1, 1); }, Z_ERROR_NULL_IMAGE,
       {"LumPixelVariance ( BW8)", "LumPixelStdDev", "LumNormalize"}},
      {[&] { return LumNormalize(&a, &b, 1, 1); }, Z_ERROR_DIFFERENT_SIZES, {"LumNormalize"}},
      {[&] { LumNormalize(&c, &d, 1, 1); return 0; }, Z_ERROR_DIFFERENT_SIZES, {"LumNormalize (BW16)"}},
      {[&] { LumCorrelogram(&a, &a, static_cast<ZImage<ZBW8>*>(nullptr)); return 0; }, Z_ERROR_NULL_IMAGE,
       {"LumCorrelogram ( BW8)"}},
      {[&] { LumLinearRegression(&a, &b, v, v, v, 0); return 0; }, Z_ERROR_DIFFERENT_SIZES, {"LumLinearRegression"}},
  };
  for (size_t k = 0; k < cases.size(); ++k) {
    const double r = cases[k].call();
    EXPECT_EQ(ZGetError(), cases[k].error) << "case " << k;
    EXPECT_EQ(kt::Trace(), cases[k].trace) << "case " << k;
    // short forms return the number, measures return 0.
    EXPECT_TRUE(r == 0 || r == double(cases[k].error)) << "case " << k;
  }
  EXPECT_EQ(lo, 7);
  EXPECT_EQ(v + m + float(i1 + i2 + i3), 35.0f);
}

TEST(StatisticsErrors, TheGateStopsEveryForm) {
  ZImage<ZBW8> a(4, 4);
  float v = 3;
  ZSetGateError(Z_ERROR_INTERNAL);
  EXPECT_EQ(LumPixelAverage(&a, v), short(Z_ERROR_INTERNAL));
  EXPECT_EQ(LumArea(&a), 0u);
  EXPECT_EQ(kt::Trace(), Strings{"LumArea ( all pixels)"});
  ZSetGateError(Z_ERROR_NONE);
  EXPECT_EQ(v, 3.0f);
  EXPECT_EQ(LumArea(&a), 16u);
  EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
}

}  // namespace
