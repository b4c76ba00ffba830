// Threshold selection: every mode against a model from scratch; named and multi-level against brute force.
#include <cfloat>
#include <cmath>

#include "support/kelmira_test.h"

namespace {

using Bins = std::vector<uint32_t>;

using kt::Histogram;

Bins Levels(std::initializer_list<std::pair<unsigned, uint32_t>> levels, size_t size = 256) {
  Bins bins(size, 0);
  for (const auto& [level, count] : levels) bins[level] = count;
  return bins;
}

struct Split { unsigned t; float below, above; };

// Classes of a split from scratch, in wrapping 32-bit arithmetic: [low, t) below, [t, high] above.
struct Sums { uint32_t nb = 0, sb = 0, na = 0, sa = 0; };

Sums Classes(const Bins& h, unsigned low, unsigned high, unsigned t) {
  Sums s;
  for (unsigned i = low; i <= high; ++i) (i < t ? s.nb : s.na) += h[i], (i < t ? s.sb : s.sa) += h[i] * i;
  return s;
}

float Mean(uint32_t s, uint32_t n, float empty) { return n ? static_cast<float>(static_cast<double>(s) / n) : empty; }

// LumHistogramThreshold mode by mode, each candidate level evaluated on its own from scratch.
Split Model(const Bins& h, unsigned mode, float relative, unsigned low, unsigned high, unsigned top) {
  Sums best;
  unsigned t = 0;
  if (mode == LUM_THRESHOLD_MODE_ISODATA || mode == LUM_THRESHOLD_MODE_MIN_RESIDUE ||
      mode == LUM_THRESHOLD_MODE_MAX_ENTROPY) {
    float bestValue = FLT_MAX, ea = 0.0f;
    long double eb = 0.0L;
    const auto nlogn = [](uint32_t n) { return n ? n * std::log(static_cast<long double>(n)) : 0.0L; };
    for (unsigned i = low; i <= high; ++i) ea = static_cast<float>(ea + nlogn(h[i]));
    for (unsigned c = low; c <= high; ++c) {
      const Sums s = Classes(h, low, high, c);
      if (s.nb && s.na) {
        float v;
        if (mode == LUM_THRESHOLD_MODE_ISODATA)
          v = std::fabs(float(s.sb) * 0.5f / float(s.nb) + float(s.sa) * 0.5f / float(s.na) - float(c));
        else if (mode == LUM_THRESHOLD_MODE_MIN_RESIDUE)
          v = float(-((long double)s.sb * s.sb / s.nb + (long double)s.sa * s.sa / s.na));
        else
          v = float(ea / (long double)s.na + (eb / s.nb - std::log((long double)s.nb)) - std::log((long double)s.na));
        if (v < bestValue) bestValue = v, t = c, best = s;
      }
      ea = static_cast<float>(ea - nlogn(h[c]));
      eb += nlogn(h[c]);
    }
  } else if (mode == LUM_THRESHOLD_MODE_MIN_DISTANCE || mode == LUM_THRESHOLD_MODE_MIN_SQUARED_DISTANCE) {
    const bool sq = mode == LUM_THRESHOLD_MODE_MIN_SQUARED_DISTANCE;
    uint32_t bestValue = 0xFFFFFFFFu, total = 0;
    for (unsigned j = low; j <= high; ++j) total += h[j];
    for (unsigned i = high + 1; i-- > low;) {
      Sums s;  // bin i still below
      for (unsigned j = low; j <= high; ++j) {
        const uint32_t d = j <= i ? j : top - j;
        (j <= i ? s.nb : s.na) += h[j];
        (j <= i ? s.sb : s.sa) += sq ? h[j] * d * d : h[j] * d;
      }
      if (sq) s.sb += total * low * low;
      if (s.sb + s.sa < bestValue) bestValue = s.sb + s.sa, t = i, best = s;
    }
  } else if (mode == LUM_THRESHOLD_MODE_RELATIVE) {
    uint32_t n = 0;
    for (unsigned j = low; j <= high; ++j) n += h[j];
    const uint32_t l = n - static_cast<uint32_t>(static_cast<double>(n) * relative);
    t = high + 1;
    if (l != 0) {
      uint32_t above = 0;
      for (t = high; above + h[t] < l && t > low; --t) above += h[t];
    }
    best = Classes(h, low, high, t);
  } else {
    t = mode;
    best = Classes(h, low, high, t);
  }
  return {t, Mean(best.sb, best.nb, float(low)), Mean(best.sa, best.na, float(high + 1))};
}

const unsigned kModes[] = {LUM_THRESHOLD_MODE_MIN_SQUARED_DISTANCE, LUM_THRESHOLD_MODE_MIN_DISTANCE,
                           LUM_THRESHOLD_MODE_ISODATA,              LUM_THRESHOLD_MODE_MAX_ENTROPY,
                           LUM_THRESHOLD_MODE_MIN_RESIDUE,          LUM_THRESHOLD_MODE_RELATIVE};

// Two levels, one, none, three equal ones, the two ends, huge counts; then random ones.
std::vector<Bins> Crafted() {
  std::vector<Bins> all = {Levels({{10, 30}, {200, 50}}), Levels({{77, 9}}), Bins(256, 0),
                           Levels({{40, 5}, {120, 5}, {200, 5}}), Levels({{0, 3}, {255, 3}}),
                           Levels({{3, 4000000}, {250, 3000000}, {128, 1}})};
  std::mt19937 rng(7);
  for (int k = 0; k < 4; ++k) {
    Bins b(256, 0);
    for (int i = 0; i < (k < 2 ? 12 : 256); ++i) b[rng() % 256] += rng() % (k == 3 ? 100000 : 20);
    all.push_back(b);
  }
  return all;
}

// Every mode on crafted and random histograms over several ranges; BW16 on a range near its top.
TEST(HistogramThreshold, EveryModeMatchesTheModel) {
  const auto check = [](const Bins& bins, unsigned mode, float relative, unsigned low, unsigned high) {
    SCOPED_TRACE(testing::Message() << "mode " << int(mode) << " range " << low << ".." << high << " relative " << relative);
    ZBWHistogramVector h = Histogram(bins);
    const unsigned top = unsigned(bins.size() - 1);
    const Split m = Model(bins, mode, relative, low, high, top);
    unsigned t = mode;
    float below = -7, above = -7;
    (top == 255 ? LumHistogramThreshold : LumHistogramThresholdBW16)(&h, t, below, above, relative, low, high);
    EXPECT_TRUE(ZGetError() == Z_ERROR_NONE && t == m.t && below == m.below && above == m.above) << t << " " << below;
  };
  for (const Bins& bins : Crafted()) {
    for (const auto& [low, high] : {std::pair{0u, 255u}, {5u, 250u}, {100u, 101u}, {0u, 1u}})
      for (unsigned mode : kModes)
        for (float relative : {0.0f, 0.3f, 0.5f, 1.0f})
          if (mode == LUM_THRESHOLD_MODE_RELATIVE || relative == 0.3f) check(bins, mode, relative, low, high);
    check(bins, 120, 0.0f, 0, 255);  // a fixed level: only the averages
  }
  // The model is quadratic in the range: a range of a few thousand levels near the top.
  const Bins wide = Levels({{64300, 20}, {65000, 7}, {65535, 2}, {64009, 1}, {63000, 9}}, 65536);
  for (unsigned mode : kModes) check(wide, mode, 0.25f, 64000, 65535);
}

TEST(HistogramThreshold, ErrorsInCheckOrder) {
  ZBWHistogramVector h = Histogram(Bins(256, 1)), wrong = Histogram(Bins(65536, 1)), bw16 = wrong;
  const float nan = std::nanf("");
  const struct { ZBWHistogramVector* h; unsigned t, low, high; float relative; Z_ERRORS error; } cases[] = {
      {nullptr, 5, 300, 300, 0, Z_ERROR_NULL_IMAGE},   {&wrong, 5, 300, 300, 0, Z_ERROR_TABLE_SIZE},
      {&h, 5, 256, 300, 0, Z_ERROR_ARGUMENT_5},        {&h, 5, 0, 256, 0, Z_ERROR_ARGUMENT_6},
      {&h, 5, 9, 9, 0, Z_ERROR_BAD_ARGUMENTS},         {&h, 5, 9, 8, 0, Z_ERROR_BAD_ARGUMENTS},
      {&h, 5, 9, 20, 0, Z_ERROR_ARGUMENT_2},           {&h, 21, 9, 20, 0, Z_ERROR_ARGUMENT_2},
      {&h, 0xFFFFFFFEu, 0, 255, 0, Z_ERROR_ARGUMENT_2}, {&h, 0xFFFFFFF7u, 0, 255, 0, Z_ERROR_ARGUMENT_2},
      {&h, LUM_THRESHOLD_MODE_RELATIVE, 0, 255, -0.01f, Z_ERROR_ARGUMENT_5},
      {&h, LUM_THRESHOLD_MODE_RELATIVE, 0, 255, 1.01f, Z_ERROR_ARGUMENT_5},
      {&h, LUM_THRESHOLD_MODE_RELATIVE, 0, 255, nan, Z_ERROR_ARGUMENT_5},
      {&h, LUM_THRESHOLD_MODE_ISODATA, 0, 255, nan, Z_ERROR_NONE}, {&bw16, 70000, 0, 65535, 0, Z_ERROR_ARGUMENT_2}};
  for (const auto& c : cases) {
    unsigned t = c.t;
    float below = 3, above = 4;
    const bool wide = c.h == &bw16;
    (wide ? LumHistogramThresholdBW16 : LumHistogramThreshold)(c.h, t, below, above, c.relative, c.low, c.high);
    const char* word = wide ? "LumHistogramThreshold (BW16)" : "LumHistogramThreshold";
    EXPECT_TRUE(kt::Failed(c.error, c.error ? Strings{word} : Strings{}));
    EXPECT_TRUE(!c.error || (t == 0u && below == 3.0f && above == 4.0f));
  }
}

// The iteration on three forms: the legacy one drops the moment of bin `low` (20 becomes 10).
TEST(IsodataThreshold, IterationFormsAndErrors) {
  ZBWHistogramVector h = Histogram(Levels({{10, 30}, {200, 50}})), near = Histogram(Levels({{10, 4}, {20, 4}}));
  ZBWHistogramVector wide = Histogram(Levels({{1000, 3}, {50000, 3}}, 65536));
  ZVector legacy, other;
  legacy.SetType(2, 256, 2);
  std::memcpy(legacy.GetDataPtr(), near.GetDataPtr(), 1024);
  other.SetType(3, 256, 2);
  EXPECT_EQ(LumIsodataThreshold(&h, 0, 255).value, 105);
  EXPECT_EQ(LumIsodataThreshold(&near, 10, 30).value, 20);
  EXPECT_EQ(LumIsodataThreshold(&legacy, 10u, 30u), 10u);
  EXPECT_EQ(LumIsodataThreshold(&legacy, 0u, 30u), 15u);
  EXPECT_EQ(LumIsodataThresholdBW16(&wide, 0, 65535).value, 25500);
  for (const auto& [low, high, error] : {std::tuple{256u, 300u, Z_ERROR_ARGUMENT_2}, {0u, 256u, Z_ERROR_ARGUMENT_3},
                                         {9u, 9u, Z_ERROR_BAD_ARGUMENTS}}) {
    EXPECT_EQ(LumIsodataThreshold(&h, low, high).value, 0);
    EXPECT_TRUE(kt::Failed(error, {"LumIsodataThreshold ( ZBWHistogramVector)"}));
  }
  EXPECT_TRUE(LumIsodataThresholdBW16(&h, 0, 5).value == 0 && ZGetError() == Z_ERROR_TABLE_SIZE);
  EXPECT_TRUE(LumIsodataThreshold(&other, 0u, 255u) == 0u && ZGetError() == Z_ERROR_VECTOR_NOT_HISTOGRAM);
}

// Prefix sums of a histogram; Score(a, b) is S^2 / N of the class [a, b).
struct Prefix {
  std::vector<long double> n, s;
  long double q = 0;
  explicit Prefix(const Bins& h) : n(257, 0), s(257, 0) {
    for (unsigned i = 0; i < 256; ++i)
      n[i + 1] = n[i] + h[i], s[i + 1] = s[i] + (long double)h[i] * i, q += (long double)h[i] * i * i;
  }
  long double Score(unsigned a, unsigned b) const { return (s[b] - s[a]) * (s[b] - s[a]) / (n[b] - n[a]); }
  bool Empty(unsigned a, unsigned b) const { return n[b] == n[a]; }
  float Residue(long double best) const { return float(std::sqrt(std::max(0.0L, (q - best) / n[256]))); }
};

// The best split is rounded to a float at each improvement in one two-class form, extended in the
// other; three classes take the lowest pair in scan order. No split leaves the averages alone.
TEST(NamedSelectors, TwoAndThreeClassesAgainstBruteForce) {
  for (const Bins& bins : Crafted()) {
    ZBWHistogramVector h = Histogram(bins);
    const Prefix p(bins);
    if (p.n[256] == 0) continue;
    long double best = p.Score(0, 256);
    float rounded = float(best), best3 = float(best);
    unsigned expected = 0, expectedRounded = 0, e1 = 0, e2 = 0;
    for (unsigned t = 1; t < 256; ++t) {
      if (p.Empty(0, t) || p.Empty(t, 256)) continue;
      const long double score = p.Score(0, t) + p.Score(t, 256);
      if (score > best) best = score, expected = t;
      if (score > rounded) rounded = float(score), expectedRounded = t;
      for (unsigned t2 = t + 1; t2 < 256; ++t2)
        if (!p.Empty(t, t2) && !p.Empty(t2, 256)) {
          const long double s = p.Score(0, t) + p.Score(t, t2) + p.Score(t2, 256);
          if (s > best3) best3 = float(s), e1 = t, e2 = t2;
        }
    }
    float below = -3, above = -3, a1, a2, a3;
    EXPECT_EQ(LumMinResidueThreshold(&h, below, above).value, expectedRounded);
    ZBW8 t = 99, first = 1, second = 1;
    const float residue = LumTwoLevelsMinResidueThreshold(&h, t, below, above);
    EXPECT_EQ(t.value, expected);
    EXPECT_NEAR(residue, p.Residue(best), 1e-3 * (1 + residue));
    EXPECT_TRUE(expected != 0 || (below == -3.0f && above == -3.0f));
    const float r3 = LumThreeLevelsMinResidueThreshold(&h, first, second, a1, a2, a3);
    EXPECT_TRUE(first.value == e1 && second.value == e2) << e1 << " " << e2;
    EXPECT_NEAR(r3, p.Residue(best3), 1e-3 * (1 + r3));
  }
  // Failures: 0 or -1.0 and each selector's word.
  ZBWHistogramVector wrong = Histogram(Bins(10, 1));
  ZBW8 t, t1, t2;
  float b, a;
  kt::CheckRefusals({{[&] { EXPECT_EQ(LumTwoLevelsMinResidueThreshold(&wrong, t, b, a), -1.0f); }, Z_ERROR_TABLE_SIZE,
                      {"LumTwoLevelsMinResidueThreshold"}},
                     {[&] { EXPECT_EQ(LumThreeLevelsMinResidueThreshold(&wrong, t1, t2, b, b, b), -1.0f); },
                      Z_ERROR_TABLE_SIZE, {"LumThreeLevelsMinResidueThreshold"}},
                     {[&] { EXPECT_EQ(LumMinResidueThreshold(&wrong, b, a).value, 0); }, Z_ERROR_TABLE_SIZE,
                      {"LumMinResidueThreshold"}},
                     {[&] { EXPECT_EQ(LumMaxEntropyThreshold(&wrong, b, a).value, 0); }, Z_ERROR_TABLE_SIZE,
                      {"LumMaxEntropyThreshold"}}});
}

// One or three equal levels: no split beats the whole (ln 2 < ln 3), so 0, averages untouched. Six
// equal levels: three and three (2 ln 3) beats the whole (ln 6) and every other split.
TEST(NamedSelectors, MaxEntropyMustBeatTheWhole) {
  const std::tuple<Bins, unsigned, float, float> cases[] = {
      {Levels({{77, 9}}), 0, -1, -1},
      {Levels({{40, 5}, {120, 5}, {200, 5}}), 0, -1, -1},
      {Levels({{10, 5}, {20, 5}, {30, 5}, {40, 5}, {50, 5}, {60, 5}}), 31, 20, 50}};
  for (const auto& [bins, t, below, above] : cases) {
    ZBWHistogramVector h = Histogram(bins);
    float b = -1, a = -1;
    EXPECT_EQ(LumMaxEntropyThreshold(&h, b, a).value, t);
    EXPECT_TRUE(b == below && a == above) << t;
  }
}

// The float tables of the multi-level search and the best sum of class scores over every partition
// of the occupied range into k + 1 classes, summed from the last class backwards as the search does.
struct Brute {
  std::vector<float> count, sum;
  unsigned lo = 0, hi = 255;
  explicit Brute(const Bins& h) : count(65536, 0), sum(65536, 0) {
    while (h[lo] == 0) ++lo;
    while (h[hi] == 0) --hi;
    for (unsigned s = lo; s <= hi; ++s) {
      long double n = 0, m = 0;
      for (unsigned e = s; e <= hi; ++e)
        n += h[e], m += (long double)h[e] * e, count[s * 256 + e] = float(n), sum[s * 256 + e] = float(m);
    }
  }
  float Score(unsigned s, unsigned e) const { return count[s * 256 + e] == 0 ? -1.0f : sum[s * 256 + e] * sum[s * 256 + e] / count[s * 256 + e]; }
  float Search(unsigned s, unsigned k) const {
    if (k == 0) return Score(s, hi);
    float best = -1.0f;
    for (unsigned c = s + 1; c + k <= hi + 1; ++c) {
      const float a = Score(s, c - 1), b = Search(c, k - 1);
      if (a >= 0 && b >= 0 && a + b > best && a + b > 0) best = a + b;
    }
    return best;
  }
  void Expect(const Marvane::Ovidra::Utils::Vector<ZRegionDescriptor>& regions, unsigned classes, float residue) const {
    ASSERT_EQ(regions.GetSize(), int(classes));
    EXPECT_TRUE(regions[0].m_un32First == lo && regions[int(classes) - 1].m_un32Last == hi);
    float total = 0.0f, q = 0.0f;
    for (int i = int(classes) - 1; i >= 0; --i) {
      const ZRegionDescriptor& r = regions[i];
      EXPECT_TRUE(i == 0 || regions[i - 1].m_un32Last + 1 == r.m_un32First) << i;
      EXPECT_TRUE(r.m_un32Count > 0 && r.m_un32Count == uint32_t(count[r.m_un32First * 256 + r.m_un32Last]));
      EXPECT_FLOAT_EQ(r.m_f32Mean, sum[r.m_un32First * 256 + r.m_un32Last] / r.m_un32Count);
      total = Score(r.m_un32First, r.m_un32Last) + total;
    }
    for (unsigned i = lo; i <= hi; ++i) q += float(i) * sum[i * 256 + i];
    EXPECT_EQ(total, Search(lo, classes - 1));
    EXPECT_FLOAT_EQ(residue, std::sqrt(std::max(0.0f, (q - Search(lo, classes - 1)) / count[lo * 256 + hi])));
  }
};

TEST(MultiLevels, RegionsAgainstAllPartitions) {
  std::mt19937 rng(11);
  for (int trial = 0; trial < 12; ++trial) {
    Bins bins(256, 0);
    const unsigned lo = 3 + rng() % 40, span = 3 + rng() % 12;
    for (unsigned i = lo; i <= lo + span; ++i) bins[i] = rng() % 3 == 0 ? 0 : rng() % 50;
    bins[lo] = 1 + rng() % 9, bins[lo + span] = 1 + rng() % 9;
    ZBWHistogramVector h = Histogram(bins);
    const Brute brute(bins);
    for (unsigned classes = 2; classes <= 5; ++classes) {
      SCOPED_TRACE(testing::Message() << "trial " << trial << " classes " << classes);
      Marvane::Ovidra::Utils::Vector<ZRegionDescriptor> regions;
      const float residue = LumMultiLevelsMinResidueThreshold(&h, classes, regions);
      if (brute.Search(brute.lo, classes - 1) < 0) {
        EXPECT_TRUE(residue == -1.0f && ZGetError() == Z_ERROR_INTERNAL);
        continue;
      }
      ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
      brute.Expect(regions, classes, residue);
      // The thresholds form: the first level of each class above the first.
      Marvane::Ovidra::Utils::Vector<ZBW8> levels;
      EXPECT_EQ(LumMultiLevelsMinResidueThreshold(&h, classes - 1, levels), residue);
      ASSERT_EQ(levels.GetSize(), int(classes) - 1);
      for (int i = 0; i + 1 < int(classes); ++i) EXPECT_EQ(levels[i].value, regions[i + 1].m_un32First);
    }
    // Every partition at once, when lo leaves its stages room: the same as the region form.
    Marvane::Ovidra::Utils::Vector<ZLabelisationDescriptor> all;
    const float last = LumAllMultiLevelsMinResidueThreshold(&h, 3, all);
    if (brute.Search(brute.lo, 2) < 0) continue;
    ASSERT_EQ(all.GetSize(), 2);
    for (unsigned classes = 2; classes <= 3; ++classes)
      brute.Expect(all[int(classes) - 2].m_Regions, classes, all[int(classes) - 2].m_f32Residue);
    EXPECT_EQ(last, all[1].m_f32Residue);
  }
}

TEST(MultiLevels, EdgesAndErrors) {
  using Regions = Marvane::Ovidra::Utils::Vector<ZRegionDescriptor>;
  ZBWHistogramVector two = Histogram(Levels({{10, 30}, {200, 50}}));
  Regions regions;
  EXPECT_EQ(LumMultiLevelsMinResidueThreshold(&two, 2, regions), 0.0f);
  ASSERT_EQ(regions.GetSize(), 2);
  EXPECT_TRUE(regions[0].m_un32Last == 10u && regions[1].m_un32First == 11u && regions[1].m_f32Mean == 200.0f &&
              regions[1].m_f32Variance == 0.0f);
  // More classes than occupied levels, an empty histogram, a count below 2: -1.0, vector kept.
  ZBWHistogramVector empty = Histogram(Bins(256, 0)), wrong = Histogram(Bins(255, 1));
  for (const auto& [h, count, error] :
       {std::tuple{&two, 3u, Z_ERROR_INTERNAL}, {&two, 300u, Z_ERROR_INTERNAL}, {&empty, 2u, Z_ERROR_TABLE_SIZE},
        {&wrong, 2u, Z_ERROR_TABLE_SIZE}, {&two, 1u, Z_ERROR_ARGUMENT_2}, {nullptr, 2u, Z_ERROR_NULL_IMAGE}}) {
    EXPECT_TRUE(LumMultiLevelsMinResidueThreshold(h, count, regions) == -1.0f && regions.GetSize() == 2);
    EXPECT_TRUE(kt::Failed(error, {"LumMultiLevelsMinResidueThreshold"}));
  }
  Marvane::Ovidra::Utils::Vector<ZBW8> levels;
  levels.AddElement(ZBW8(9));
  EXPECT_TRUE(LumMultiLevelsMinResidueThreshold(&two, 2, levels) == -1.0f && levels.GetSize() == 1);
  EXPECT_EQ(kt::Trace(), (Strings{"LumMultiLevelsMinResidueThreshold", "LumMultiLevelsMinResidueThreshold ( ZBW8)"}));
  // All partitions: with level 0 occupied, stage 2 starts at the unsigned -1 and stays empty.
  ZBWHistogramVector low = Histogram(Levels({{0, 5}, {100, 5}, {200, 5}}));
  Marvane::Ovidra::Utils::Vector<ZLabelisationDescriptor> all;
  EXPECT_TRUE(LumAllMultiLevelsMinResidueThreshold(&low, 2, all) > 0.0f && all.GetSize() == 1);
  EXPECT_TRUE(LumAllMultiLevelsMinResidueThreshold(&low, 3, all) == -1.0f && all.GetSize() == 1);
  EXPECT_TRUE(kt::Failed(Z_ERROR_INTERNAL, {"LumAllMultiLevelsMinResidueThreshold"}));
  EXPECT_THROW(all[1], Marvane::Ovidra::Exception);
}

// The view forms: a fixed value returns at once, a mode goes through the histogram of the whole
// value range; failures keep the words of the inner operators only.
TEST(AutoThreshold, FixedValuesAndModes) {
  EXPECT_EQ(LumAutoThreshold(static_cast<ZROI<ZBW8>*>(nullptr), static_cast<LUM_THRESHOLD_MODES>(0), 0.5f).value, 0);
  EXPECT_EQ(LumAutoThreshold(static_cast<ZROI<ZBW16>*>(nullptr), static_cast<LUM_THRESHOLD_MODES>(40000), 0).value, 40000);
  EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
  kt::Framed<ZBW8> view(33, 9, 5);
  kt::Framed<ZBW16> wide(17, 4, 2, 20);
  view.FillRandom(kt::Rng()), wide.FillRandom(kt::Rng());
  ZBWHistogramVector h, h16;
  LumHistogram(view.get(), &h), LumHistogram(wide.get(), &h16, 15, 16, 0);
  for (unsigned mode : kModes) {
    unsigned t = mode, t16 = mode;
    float below, above;
    LumHistogramThreshold(&h, t, below, above, 0.4f, 0, 255), LumHistogramThresholdBW16(&h16, t16, below, above, 0.4f, 0, 65535);
    EXPECT_EQ(LumAutoThreshold(view.get(), static_cast<LUM_THRESHOLD_MODES>(mode), 0.4f).value, uint8_t(t)) << int(mode);
    EXPECT_EQ(LumAutoThreshold(wide.get(), static_cast<LUM_THRESHOLD_MODES>(mode), 0.4f).value, uint16_t(t16));
  }
  EXPECT_EQ(LumAutoThreshold(view.get(), static_cast<LUM_THRESHOLD_MODES>(300), 0).value, 0);
  EXPECT_TRUE(kt::Failed(Z_ERROR_ARGUMENT_2, {"LumHistogramThreshold"}));
  EXPECT_EQ(LumAutoThreshold(static_cast<ZROI<ZBW8>*>(nullptr), LUM_THRESHOLD_MODE_ISODATA, 0).value, 0);
  EXPECT_TRUE(kt::Failed(Z_ERROR_NULL_IMAGE, {"LumHistogram"}));
}

}  // namespace
