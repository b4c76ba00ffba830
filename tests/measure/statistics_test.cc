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

// `narrow`: BW8 and the C24 bytes, whose average sum and noise row sums are 32-bit.
struct Model {
  const Grid& g;
  bool narrow;
  uint64_t Cut(uint64_t v) const { return narrow ? uint32_t(v) : v; }
  float N() const { return float(uint64_t(g.w) * g.h); }
  // Sum over rows of the row sums of f(x, y), each row summed in 64 bits and cut.
  template <class F>
  long double Rows(F&& f) const {
    long double t = 0;
    for (int y = 0; y < g.h; ++y) {
      uint64_t r = 0;
      for (int x = 0; x < g.w; ++x) r += f(x, y);
      t += (long double)Cut(r);
    }
    return t;
  }
  float Average(int k) const {
    uint64_t s = 0;
    for (int y = 0; y < g.h; ++y)
      for (int x = 0; x < g.w; ++x) s += g.at(x, y, k);
    return float(Cut(s)) / N();
  }
  // variance, mean in double from 64-bit row sums, a negative variance clamped; k = -1 pools.
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
  // min, max, and the mean of the row means
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
  std::array<int, 3> Count(uint64_t low, uint64_t high) const {
    std::array<int, 3> c{};
    for (uint64_t v : g.v) ++c[v < low ? 0 : v < high ? 1 : 2];
    return c;
  }
  unsigned Differ(const Grid& o) const {
    unsigned n = 0;
    for (size_t i = 0; i < g.v.size(); i += g.c) n += !std::equal(&g.v[i], &g.v[i] + g.c, &o.v[i]);
    return n;
  }
  static uint64_t Sq(int64_t d) { return uint64_t(d * d); }
  int64_t Diff(const Grid& o, int x, int y, int k) const { return int64_t(g.at(x, y, k)) - int64_t(o.at(x, y, k)); }
  float Snr(const Grid& o, int mode, int k) const {
    const long double p = Rows([&](int x, int y) { return Sq(int64_t(g.at(x, y, k))); });
    const long double e = Rows([&](int x, int y) { return Sq(Diff(o, x, y, k)); });
    if (e == 0) return 0.0f;
    return float(10.0L * std::log10(p / e) + (mode == 1 ? 10.0L * std::log10(2.0L) : 0.0L));
  }
  float Rms(const Grid& o, int mode, int k) const {
    float t = 0;
    for (int y = 0; y < g.h; ++y) {
      uint64_t re = 0;
      for (int x = 0; x < g.w; ++x) re += Sq(Diff(o, x, y, k));
      t += float(Cut(re));
    }
    return std::sqrt((mode == 1 ? t * 0.5f : t) / N());
  }
  float Focus(int k) const {
    return float(Rows([&](int x, int y) -> uint64_t {
      if (y + 1 >= g.h || x + 1 >= g.w) return 0;
      const int64_t p = int64_t(g.at(x, y, k));
      return Sq(p - int64_t(g.at(x + 1, y, k))) + Sq(p - int64_t(g.at(x, y + 1, k)));
    }));
  }
};

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
    mr::BothPaths(round++, [&] {
      if constexpr (std::is_same_v<T, ZC24>) {
        float av[3], v[4], mean[3], dev[7];
        ASSERT_EQ(LumPixelAverage(a.get(), av[0], av[1], av[2]), 0);
        LumPixelVariance(a.get(), v[0], v[1], v[2], mean[0], mean[1], mean[2], v[3]);
        ASSERT_EQ(LumPixelStdDev(a.get(), dev[0], dev[1], dev[2], dev[3], dev[4], dev[5], dev[6]), 0);
        const ZColor snr = LumSignalNoiseRatio(a.get(), b.get(), LUM_REFERENCE_NOISE_EQUAL);
        const ZColor rms = LumRmsNoise(a.get(), b.get(), LUM_REFERENCE_NOISE_NONE), focus = LumFocusing(a.get());
        const float snrs[] = {snr.c0, snr.c1, snr.c2}, rmss[] = {rms.c0, rms.c1, rms.c2};
        const float foci[] = {focus.c0, focus.c1, focus.c2};
        for (int k = 0; k < 3; ++k) {
          EXPECT_TRUE(SameBits(av[k], m.Average(k)) && SameBits(v[k], m.Variance(k).first) &&
                      SameBits(mean[k], m.Variance(k).second))
              << k;
          EXPECT_TRUE(SameBits(dev[k], std::sqrt(v[k])) && SameBits(dev[3 + k], mean[k])) << k;
          EXPECT_TRUE(SameBits(snrs[k], m.Snr(gb, 1, k)) && SameBits(rmss[k], m.Rms(gb, 0, k)) &&
                      SameBits(foci[k], m.Focus(k)))
              << k;
        }
        EXPECT_TRUE(SameBits(v[3], m.Variance(-1).first) && SameBits(dev[6], std::sqrt(v[3])));
      } else {
        using S = decltype(T::value);
        float av = -1, v = -1, mean = -1, dev = -1, mean2 = -1, statMean = -1, mStat;
        S lo = 0, hi = 0, slo = 0, shi = 0;
        uint64_t mlo, mhi;
        m.Stat(mlo, mhi, mStat);
        ASSERT_EQ(LumPixelAverage(a.get(), av), 0);
        LumPixelVariance(a.get(), v, mean);
        ASSERT_EQ(LumPixelStdDev(a.get(), dev, mean2), 0);
        ASSERT_EQ(LumPixelMin(a.get(), lo) + LumPixelMax(a.get(), hi) + LumPixelStat(a.get(), slo, shi, statMean), 0);
        EXPECT_TRUE(SameBits(av, m.Average(0)));
        EXPECT_TRUE(SameBits(v, m.Variance(0).first) && SameBits(mean, m.Variance(0).second));
        EXPECT_TRUE(SameBits(dev, std::sqrt(v)) && SameBits(mean2, mean));
        EXPECT_TRUE(lo == mlo && hi == mhi && slo == mlo && shi == mhi && SameBits(statMean, mStat));
        const S max = S(~S{0});
        // LumPixelCount and LumAreaDoubleThreshold: below low, then below high; LumArea with a
        // reference is at or above, the binarized form strictly above.
        for (const auto& [low, high] : std::vector<std::pair<S, S>>{{0, 0}, {1, max}, {S(max / 3), S(max / 2)},
                                                                      {S(max / 2), S(max / 3)}, {max, max}}) {
          int c[3], area = -1, band = -1;
          ASSERT_EQ(LumPixelCount(a.get(), low, high, c[0], c[1], c[2]), 0);
          EXPECT_TRUE(std::equal(c, c + 3, m.Count(low, high).begin()));
          ASSERT_EQ(LumAreaDoubleThreshold(a.get(), low, high, band), 0);
          EXPECT_EQ(band, m.Count(low, high)[1]);
          ASSERT_EQ(LumArea(a.get(), high, area), 0);
          EXPECT_EQ(area, m.Count(0, high)[2]);
          EXPECT_EQ(LumArea(a.get(), unsigned(high)), unsigned(m.Count(0, uint64_t(high) + 1)[2]));
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
  const auto expected = Model{gn, true}.Variance(0);
  for (int64_t target : kt::Targets()) {
    const kt::TargetSetting setting(target);
    float variance = -1, mean = 0, v[4] = {}, m[3];
    LumPixelVariance(&row, variance, mean);
    EXPECT_EQ(variance, float((double(w) * q - s * s) / (double(w) * w))) << target;
    LumPixelVariance(&colour, v[0], v[1], v[2], m[0], m[1], m[2], v[3]);
    EXPECT_EQ(v[2], variance) << target;
    LumPixelVariance(noisy.get(), variance, mean);
    EXPECT_TRUE(SameBits(variance, expected.first) && SameBits(mean, expected.second)) << target;
  }
}

// ----- comparison of two images -----

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
    mr::BothPaths(round++, [&] {
      for (int exclude : {0, 1}) {
        const Fit f = ModelFit(ga, gb, exclude);
        float slope = 0, intercept = 0, correlation = 0;
        LumLinearRegression(a.get(), b.get(), slope, intercept, correlation, exclude);
        EXPECT_EQ(ZGetError(), f.constant ? Z_ERROR_NO_VARIANCE : Z_ERROR_NONE);
        EXPECT_TRUE(SameBits(slope, f.slope) && SameBits(intercept, f.intercept) && SameBits(correlation, f.correlation))
            << s.width << "x" << s.height << " exclude " << exclude;
      }
    });
  }
}

// Equal images: no noise and a perfect fit; constant data: no variance, the mean as intercept;
// every position clipped: nothing written.
TEST(LinearRegression, EqualConstantOrClippedData) {
  ZImage<ZBW8> a(4, 2), b(4, 2);
  for (int y = 0; y < 2; ++y)
    for (int x = 0; x < 4; ++x) a.SetPixel(ZBW8(uint8_t(10 * x + y + 1)), x, y), b.SetPixel(ZBW8(uint8_t(10 * x + y)), x, y);
  float slope = 0, intercept = 1, correlation = 0;
  kt::ForScalarAndWide([&](int) {
    for (auto mode : {LUM_REFERENCE_NOISE_NONE, LUM_REFERENCE_NOISE_EQUAL})
      EXPECT_TRUE(LumRmsNoise(&b, &b, mode) == 0.0f && LumSignalNoiseRatio(&b, &b, mode) == 0.0f);
    LumLinearRegression(&b, &b, slope, intercept, correlation, 0);
    EXPECT_TRUE(slope == 1.0f && intercept == 0.0f && correlation == 1.0f && ZGetError() == Z_ERROR_NONE);
  });
  LumCopy(ZBW8(7), &a);
  LumLinearRegression(&a, &b, slope, intercept, correlation, 0);
  EXPECT_TRUE(kt::Failed(Z_ERROR_NO_VARIANCE, {"LumLinearRegression"}));
  EXPECT_TRUE(slope == 0.0f && intercept == 15.5f && correlation == 0.0f);
  for (int x = 0; x < 4; ++x) a.SetPixel(ZBW8(x % 2 ? 255 : 0), x, 0), a.SetPixel(ZBW8(0), x, 1);
  slope = intercept = correlation = 5;
  LumLinearRegression(&a, &b, slope, intercept, correlation, 1);
  EXPECT_EQ(ZGetError(), Z_ERROR_NO_VARIANCE);
  EXPECT_EQ(slope + intercept + correlation, 15.0f);
}

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

// ----- run lists -----

TEST(RunLists, AreaAverageVarianceAndExtremesReadOnlyTheRuns) {
  kt::Aligned<ZBW8> frame(40, 6, 5);
  mr::Fill(frame);
  ZVectorTemplate<ZRun> runs;
  std::vector<uint64_t> values;
  const int pitch = frame->GetRowPitch();
  for (const auto& [x, y, n] : {std::array<int, 3>{0, 0, 40}, {3, 2, 17}, {39, 5, 1}, {10, 4, 0}}) {
    runs.AddElement(ZRun{uint32_t(y * pitch + x), uint32_t(y * pitch + x + n), int16_t(x), int16_t(y)});
    for (int i = 0; i < n; ++i) values.push_back(frame->GetPixel(x + i, y));
  }
  frame->SetRunList(&runs);
  uint64_t sum = 0;
  double s2 = 0;
  for (uint64_t v : values) sum += v, s2 += double(v * v);
  const unsigned n = unsigned(values.size()), above = unsigned(std::count_if(values.begin(), values.end(), [](uint64_t v) {
                                                       return v > 100;
                                                     }));
  const float m = float(uint32_t(sum)) / float(n);
  kt::ForScalarAndWide([&](int) {
    unsigned count = 0, count2 = 0;
    float mean = 0;
    int area = 0;
    EXPECT_TRUE(LumArea(frame.get()) == n && LumArea(frame.get(), 100u) == above);
    EXPECT_EQ(LumAverage(frame.get(), &count), float(sum) / float(n));
    EXPECT_EQ(LumVariance(frame.get(), &mean, &count2), float(s2 / n - double(m * m)));
    EXPECT_TRUE(mean == m && count == n && count2 == n);
    EXPECT_EQ(LumMinimum(frame.get()).value, *std::min_element(values.begin(), values.end()));
    EXPECT_EQ(LumMaximum(frame.get()).value, *std::max_element(values.begin(), values.end()));
    ASSERT_EQ(LumArea(frame.get(), 0, area), 0);  // the rectangle forms ignore the runs
    EXPECT_EQ(area, 240);
  });
  // A run crossing into the next row, below the view, or ending before it starts: 106.
  for (const ZRun bad : {ZRun{uint32_t(pitch - 2), uint32_t(pitch + 3), 0, 0},
                         ZRun{uint32_t(6 * pitch), uint32_t(6 * pitch + 1), 0, 6}, ZRun{9, 4, 9, 0}}) {
    runs.AddElement(bad);
    unsigned count = 7;
    EXPECT_EQ(LumArea(frame.get()), 0u);
    EXPECT_TRUE(kt::Failed(Z_ERROR_OUTSIDE_ROI, {"LumArea ( all pixels)"}));
    EXPECT_EQ(LumAverage(frame.get(), &count), 0.0f);
    EXPECT_EQ(ZGetError(), Z_ERROR_OUTSIDE_ROI);
    runs.RemoveElement(runs.GetNumElements() - 1);
  }
  ASSERT_TRUE(frame.GuardsIntact());
  // Runs without pixels: no variance, an average of 0 over 0 pixels.
  ZImage<ZBW8> image(8, 2);
  ZVectorTemplate<ZRun> empty;
  empty.AddElement(ZRun{3, 3, 3, 0});
  image.SetRunList(&empty);
  EXPECT_EQ(LumVariance(&image, nullptr, nullptr), 0.0f);
  EXPECT_TRUE(kt::Failed(Z_ERROR_NO_VARIANCE, {"LumHistogramCenteredMoments ( 2)", "LumVariance"}));
  unsigned count = 9;
  EXPECT_EQ(LumAverage(&image, &count), 0.0f);
  EXPECT_TRUE(count == 0u && ZGetError() == Z_ERROR_NONE);
}

// ----- the host callback and normalisation -----

std::vector<int> g_seen;
int Odd8(ZBW8& p) { return g_seen.push_back(p.value), p.value & 1; }
int Bright16(ZBW16& p) { return p.value > 40000; }
int Reddish(ZC24& p) { return p.c0 > p.c2; }

TEST(Count, CallsTheHostForEachPixelInRowOrder) {
  kt::Aligned<ZBW8> a(13, 3, 5);
  kt::Aligned<ZBW16> b(9, 2, 2);
  kt::Aligned<ZC24> c(9, 2, 1);
  mr::Fill(a), mr::Fill(b), mr::Fill(c);
  const Grid ga = mr::Read(a.get()), gb = mr::Read(b.get()), gc = mr::Read(c.get());
  unsigned odd = 0, bright = 0, reddish = 0;
  for (uint64_t v : ga.v) odd += v & 1;
  for (uint64_t v : gb.v) bright += v > 40000;
  for (size_t i = 0; i < gc.v.size(); i += 3) reddish += gc.v[i] > gc.v[i + 2];
  g_seen.clear();
  EXPECT_EQ(LumCount(a.get(), Odd8), odd);
  EXPECT_EQ(g_seen, std::vector<int>(ga.v.begin(), ga.v.end()));
  EXPECT_TRUE(LumCount(b.get(), Bright16) == bright && LumCount(c.get(), Reddish) == reddish);
  EXPECT_EQ(LumCount(a.get(), nullptr), 0u);
  EXPECT_TRUE(kt::Failed(Z_ERROR_NULL_IMAGE, {"LumCount ( BW8)"}));
}

// Through the table of the source statistics: BW8 and BW16 truncate then clip; in place with a
// null destination; a constant image divides by a deviation of 0 (NaN gives 0).
TEST(Normalize, MapsThroughTheTableOfTheSourceStatistics) {
  kt::Aligned<ZBW8> a(41, 3, 3), out(41, 3, 9), same(41, 3, 3);
  kt::Aligned<ZBW16> a16(41, 3, 2), out16(41, 3, 6);
  mr::Fill(a), mr::Fill(a16);
  float d = 0, m = 0, d16 = 0, m16 = 0;
  ASSERT_EQ(LumPixelStdDev(a.get(), d, m) + LumPixelStdDev(a16.get(), d16, m16), 0);
  const auto expect = [](float v, float k, float mean, float target, float max) {
    const float r = v * k + target - k * mean;
    return r < 0 ? 0 : r > max ? int(max) : int(r);
  };
  kt::ForScalarAndWide([&](int) {
    ASSERT_EQ(LumNormalize(a.get(), out.get(), 100.0f, 30.0f), 0);
    LumNormalize(a16.get(), out16.get(), 30000.0f, 20000.0f);
    ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
    for (int y = 0; y < 3; ++y)
      for (int x = 0; x < 41; ++x) {
        ASSERT_EQ(out->GetPixel(x, y).value, expect(a->GetPixel(x, y).value, 30.0f / d, m, 100.0f, 255)) << x;
        ASSERT_EQ(out16->GetPixel(x, y).value, expect(a16->GetPixel(x, y).value, 20000.0f / d16, m16, 30000.0f, 65535));
      }
  });
  LumCopy(a.get(), same.get());
  ASSERT_EQ(LumNormalize(same.get(), nullptr, 100.0f, 30.0f), 0);
  EXPECT_TRUE(kt::SameBytes(same.get(), out.get()) && out.GuardsIntact() && same.GuardsIntact() && out16.GuardsIntact());
  ZImage<ZBW16> flat(4, 4), flatOut(4, 4);
  LumCopy(ZBW16(500), &flat);
  LumNormalize(&flat, &flatOut, 1000.0f, 10.0f);
  EXPECT_TRUE(ZGetError() == Z_ERROR_NONE && flatOut.GetPixel(0, 0).value == 0);
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
      {[&] { return LumNormalize(&c, &d, 1, 1), 0; }, Z_ERROR_DIFFERENT_SIZES, {"LumNormalize (BW16)"}},
      {[&] { return LumCorrelogram(&a, &a, static_cast<ZImage<ZBW8>*>(nullptr)), 0; }, Z_ERROR_NULL_IMAGE,
       {"LumCorrelogram ( BW8)"}},
      {[&] { return LumLinearRegression(&a, &b, v, v, v, 0), 0; }, Z_ERROR_DIFFERENT_SIZES, {"LumLinearRegression"}},
      // the gate stops every form
      {[&] {
         ZSetGateError(Z_ERROR_INTERNAL);
         const double r = LumArea(&a);
         ZSetGateError(Z_ERROR_NONE);
         return r;
       }, Z_ERROR_INTERNAL, {"LumArea ( all pixels)"}},
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
