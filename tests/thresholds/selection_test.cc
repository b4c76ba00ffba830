// Threshold selection: LumHistogramThreshold in every mode against a direct model of each mode
// (every candidate evaluated from scratch), the named selectors against brute force, the
// multi-level search against all partitions, the worked examples, and the errors in check order.
#include <cfloat>
#include <cmath>
#include <cstring>
#include <functional>

#include "support/kelmira_test.h"

namespace {

using Strings = std::vector<std::string>;
using Bins = std::vector<uint32_t>;

ZBWHistogramVector Histogram(const Bins& bins) {
  ZBWHistogramVector h;
  h.SetNumElements(static_cast<unsigned>(bins.size()));
  std::memcpy(h.GetDataPtr(), bins.data(), bins.size() * sizeof(uint32_t));
  return h;
}

Bins Levels(std::initializer_list<std::pair<unsigned, uint32_t>> levels, size_t size = 256) {
  Bins bins(size, 0);
  for (const auto& [level, count] : levels) bins[level] = count;
  return bins;
}

struct Split {
  unsigned t;
  float below, above;
};

// Classes of a split from scratch, in wrapping 32-bit arithmetic: [low, t) below, [t, high] above.
struct Sums {
  uint32_t nb = 0, sb = 0, na = 0, sa = 0;
};
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

std::vector<Bins> Crafted(size_t size) {
  std::vector<Bins> all = {Levels({{10, 30}, {200, 50}}, size), Levels({{77, 9}}, size), Bins(size, 0),
                           Levels({{40, 5}, {120, 5}, {200, 5}}, size), Levels({{0, 3}, {255, 3}}, size),
                           Levels({{3, 4000000}, {250, 3000000}, {128, 1}}, size)};
  std::mt19937 rng(7);
  for (int k = 0; k < 4; ++k) {
    Bins b(size, 0);
    for (int i = 0; i < (k < 2 ? 12 : 256); ++i) b[rng() % 256] += rng() % (k == 3 ? 100000 : 20);
    all.push_back(b);
  }
  return all;
}

TEST(HistogramThreshold, EveryModeMatchesTheModel) {
  const std::pair<unsigned, unsigned> ranges[] = {{0, 255}, {5, 250}, {100, 101}, {0, 1}};
  const float relatives[] = {0.0f, 0.3f, 0.5f, 1.0f};
  for (const Bins& bins : Crafted(256)) {
    ZBWHistogramVector h = Histogram(bins);
    for (const auto& [low, high] : ranges)
      for (unsigned mode : kModes)
        for (float relative : relatives) {
          if (mode != LUM_THRESHOLD_MODE_RELATIVE && relative != 0.3f) continue;
          SCOPED_TRACE(testing::Message() << "mode " << int(mode) << " range " << low << ".." << high << " relative "
                                          << relative << " bins at 10: " << bins[10]);
          const Split m = Model(bins, mode, relative, low, high, 255);
          unsigned t = mode;
          float below = -7, above = -7;
          LumHistogramThreshold(&h, t, below, above, relative, low, high);
          ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
          EXPECT_EQ(t, m.t);
          EXPECT_EQ(below, m.below);
          EXPECT_EQ(above, m.above);
        }
    unsigned t = 120;
    float below, above;
    LumHistogramThreshold(&h, t, below, above, 0.0f, 0, 255);
    const Split m = Model(bins, 120, 0.0f, 0, 255, 255);
    EXPECT_EQ(t, 120u);
    EXPECT_EQ(below, m.below);
    EXPECT_EQ(above, m.above);
  }
}

TEST(HistogramThreshold, BW16FormIsTheSameOnSixtyFiveThousandBins) {
  // The model is quadratic in the range: a range of a few thousand levels near the top.
  Bins bins = Levels({{64300, 20}, {65000, 7}, {65535, 2}, {64009, 1}, {63000, 9}}, 65536);
  ZBWHistogramVector h = Histogram(bins);
  for (unsigned mode : kModes) {
    unsigned t = mode;
    float below, above;
    LumHistogramThresholdBW16(&h, t, below, above, 0.25f, 64000, 65535);
    ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
    const Split m = Model(bins, mode, 0.25f, 64000, 65535, 65535);
    EXPECT_EQ(t, m.t) << int(mode);
    EXPECT_EQ(below, m.below) << int(mode);
    EXPECT_EQ(above, m.above) << int(mode);
  }
  unsigned t = 70000;
  float below = 1, above = 2;
  LumHistogramThresholdBW16(&h, t, below, above, 0.0f, 0, 65535);
  EXPECT_TRUE(kt::Failed(Z_ERROR_ARGUMENT_2, {"LumHistogramThreshold (BW16)"}));
}

TEST(HistogramThreshold, WorkedExamples) {
  ZBWHistogramVector h = Histogram(Levels({{10, 30}, {200, 50}}));
  const struct { unsigned mode; unsigned t; float relative; } cases[] = {
      {LUM_THRESHOLD_MODE_MIN_RESIDUE, 11, 0},   {LUM_THRESHOLD_MODE_MAX_ENTROPY, 11, 0},
      {LUM_THRESHOLD_MODE_ISODATA, 105, 0},      {LUM_THRESHOLD_MODE_MIN_DISTANCE, 199, 0},
      {LUM_THRESHOLD_MODE_RELATIVE, 10, 0.0f},   {LUM_THRESHOLD_MODE_RELATIVE, 256, 1.0f},
      {LUM_THRESHOLD_MODE_RELATIVE, 200, 0.5f}};
  for (const auto& c : cases) {
    unsigned t = c.mode;
    float below = 0, above = 0;
    LumHistogramThreshold(&h, t, below, above, c.relative, 0, 255);
    EXPECT_EQ(t, c.t) << int(c.mode);
    if (c.t == 11) {
      EXPECT_EQ(std::make_pair(below, above), std::make_pair(10.0f, 200.0f));
    }
  }
  // One occupied level: no split, threshold 0 and the empty-class defaults.
  ZBWHistogramVector one = Histogram(Levels({{77, 9}}));
  unsigned t = LUM_THRESHOLD_MODE_MIN_RESIDUE;
  float below = -1, above = -1;
  LumHistogramThreshold(&one, t, below, above, 0, 20, 90);
  EXPECT_EQ(t, 0u);
  EXPECT_EQ(std::make_pair(below, above), std::make_pair(20.0f, 91.0f));
}

TEST(HistogramThreshold, ErrorsInCheckOrder) {
  ZBWHistogramVector h = Histogram(Bins(256, 1)), wrong = Histogram(Bins(65536, 1));
  const float nan = std::nanf("");
  const struct { ZBWHistogramVector* h; unsigned t, low, high; float relative; Z_ERRORS error; } cases[] = {
      {nullptr, 5, 300, 300, 0, Z_ERROR_NULL_IMAGE},
      {&wrong, 5, 300, 300, 0, Z_ERROR_TABLE_SIZE},
      {&h, 5, 256, 300, 0, Z_ERROR_ARGUMENT_5},
      {&h, 5, 0, 256, 0, Z_ERROR_ARGUMENT_6},
      {&h, 5, 9, 9, 0, Z_ERROR_BAD_ARGUMENTS},
      {&h, 5, 9, 8, 0, Z_ERROR_BAD_ARGUMENTS},
      {&h, 5, 9, 20, 0, Z_ERROR_ARGUMENT_2},
      {&h, 21, 9, 20, 0, Z_ERROR_ARGUMENT_2},
      {&h, 0xFFFFFFFEu, 0, 255, 0, Z_ERROR_ARGUMENT_2},
      {&h, 0xFFFFFFFFu, 0, 255, 0, Z_ERROR_ARGUMENT_2},
      {&h, 0xFFFFFFF7u, 0, 255, 0, Z_ERROR_ARGUMENT_2},
      {&h, LUM_THRESHOLD_MODE_RELATIVE, 0, 255, -0.01f, Z_ERROR_ARGUMENT_5},
      {&h, LUM_THRESHOLD_MODE_RELATIVE, 0, 255, 1.01f, Z_ERROR_ARGUMENT_5},
      {&h, LUM_THRESHOLD_MODE_RELATIVE, 0, 255, nan, Z_ERROR_ARGUMENT_5},
      {&h, LUM_THRESHOLD_MODE_ISODATA, 0, 255, nan, Z_ERROR_NONE}};
  for (const auto& c : cases) {
    unsigned t = c.t;
    float below = 3, above = 4;
    LumHistogramThreshold(c.h, t, below, above, c.relative, c.low, c.high);
    EXPECT_EQ(ZGetError(), c.error) << c.t << " " << c.low << " " << c.high;
    if (c.error == Z_ERROR_NONE) continue;
    EXPECT_EQ(kt::Trace(), Strings{"LumHistogramThreshold"});
    EXPECT_EQ(t, 0u);
    EXPECT_EQ(std::make_pair(below, above), std::make_pair(3.0f, 4.0f));
  }
}

// ----- iterative isodata -----

TEST(IsodataThreshold, IterationFormsAndErrors) {
  ZBWHistogramVector h = Histogram(Levels({{10, 30}, {200, 50}}));
  EXPECT_EQ(LumIsodataThreshold(&h, 0, 255).value, 105);
  // The legacy form drops the moment of bin `low`: 20 becomes 10 here.
  Bins bins = Levels({{10, 4}, {20, 4}});
  ZBWHistogramVector near = Histogram(bins);
  EXPECT_EQ(LumIsodataThreshold(&near, 10, 30).value, 20);
  ZVector legacy;
  legacy.SetType(2, 256, 2);
  std::memcpy(legacy.GetDataPtr(), bins.data(), 1024);
  EXPECT_EQ(LumIsodataThreshold(&legacy, 10u, 30u), 10u);
  EXPECT_EQ(LumIsodataThreshold(&legacy, 0u, 30u), 15u);
  ZBWHistogramVector wide = Histogram(Levels({{1000, 3}, {50000, 3}}, 65536));
  EXPECT_EQ(LumIsodataThresholdBW16(&wide, 0, 65535).value, 25500);
  const struct { unsigned low, high; Z_ERRORS error; } errors[] = {
      {256, 300, Z_ERROR_ARGUMENT_2}, {0, 256, Z_ERROR_ARGUMENT_3}, {9, 9, Z_ERROR_BAD_ARGUMENTS}};
  for (const auto& e : errors) {
    EXPECT_EQ(LumIsodataThreshold(&h, e.low, e.high).value, 0);
    EXPECT_TRUE(kt::Failed(e.error, {"LumIsodataThreshold ( ZBWHistogramVector)"}));
  }
  EXPECT_EQ(LumIsodataThresholdBW16(&h, 0, 5).value, 0);
  EXPECT_EQ(ZGetError(), Z_ERROR_TABLE_SIZE);
  ZVector other;
  other.SetType(3, 256, 2);
  EXPECT_EQ(LumIsodataThreshold(&other, 0u, 255u), 0u);
  EXPECT_EQ(ZGetError(), Z_ERROR_VECTOR_NOT_HISTOGRAM);
}

// ----- named two- and three-class selectors -----

struct Prefix {
  std::vector<long double> n, s;
  explicit Prefix(const Bins& h) : n(257, 0), s(257, 0) {
    for (unsigned i = 0; i < 256; ++i) n[i + 1] = n[i] + h[i], s[i + 1] = s[i] + (long double)h[i] * i;
  }
  long double Score(unsigned a, unsigned b) const { return (s[b] - s[a]) * (s[b] - s[a]) / (n[b] - n[a]); }
  bool Empty(unsigned a, unsigned b) const { return n[b] == n[a]; }
};

long double SumSquares(const Bins& h) {
  long double q = 0;
  for (unsigned i = 0; i < 256; ++i) q += (long double)h[i] * i * i;
  return q;
}

TEST(NamedSelectors, TwoAndThreeClassesAgainstBruteForce) {
  for (const Bins& bins : Crafted(256)) {
    ZBWHistogramVector h = Histogram(bins);
    const Prefix p(bins);
    const long double total = p.n[256];
    if (total == 0) continue;
    // The best is rounded to a float at each improvement in one form, extended in the other.
    long double best = p.Score(0, 256);
    float rounded = float(best);
    unsigned expected = 0, expectedRounded = 0;
    for (unsigned t = 1; t < 256; ++t) {
      if (p.Empty(0, t) || p.Empty(t, 256)) continue;
      const long double score = p.Score(0, t) + p.Score(t, 256);
      if (score > best) best = score, expected = t;
      if (score > rounded) rounded = float(score), expectedRounded = t;
    }
    float below = -3, above = -3;
    EXPECT_EQ(LumMinResidueThreshold(&h, below, above).value, expectedRounded);
    ZBW8 t = 99;
    const float residue = LumTwoLevelsMinResidueThreshold(&h, t, below, above);
    EXPECT_EQ(t.value, expected);
    EXPECT_NEAR(residue, std::sqrt(std::max(0.0L, (SumSquares(bins) - best) / total)), 1e-3 * (1 + residue));
    if (expected == 0) {
      EXPECT_EQ(std::make_pair(below, above), std::make_pair(-3.0f, -3.0f));
    }
    // Three classes: the lowest pair in scan order.
    float best3 = float(p.Score(0, 256));
    unsigned e1 = 0, e2 = 0;
    for (unsigned t1 = 1; t1 < 256; ++t1)
      for (unsigned t2 = t1 + 1; t2 < 256; ++t2)
        if (!p.Empty(0, t1) && !p.Empty(t1, t2) && !p.Empty(t2, 256)) {
          const long double s = p.Score(0, t1) + p.Score(t1, t2) + p.Score(t2, 256);
          if (s > best3) best3 = float(s), e1 = t1, e2 = t2;
        }
    ZBW8 first = 1, second = 1;
    float a1 = 0, a2 = 0, a3 = 0;
    const float r3 = LumThreeLevelsMinResidueThreshold(&h, first, second, a1, a2, a3);
    EXPECT_EQ(std::make_pair(first.value, second.value), std::make_pair(uint8_t(e1), uint8_t(e2)));
    EXPECT_NEAR(r3, std::sqrt(std::max(0.0L, (SumSquares(bins) - best3) / total)), 1e-3 * (1 + r3));
  }
  // The worked example: 11, with exact averages, residue 0.
  ZBWHistogramVector two = Histogram(Levels({{10, 30}, {200, 50}}));
  float below = 0, above = 0;
  EXPECT_EQ(LumMinResidueThreshold(&two, below, above).value, 11);
  EXPECT_EQ(std::make_pair(below, above), std::make_pair(10.0f, 200.0f));
  ZBW8 t;
  EXPECT_EQ(LumTwoLevelsMinResidueThreshold(&two, t, below, above), 0.0f);
  // One occupied level: no split, the averages untouched.
  ZBWHistogramVector one = Histogram(Levels({{77, 9}}));
  below = above = -2;
  EXPECT_EQ(LumMinResidueThreshold(&one, below, above).value, 0);
  EXPECT_EQ(LumMaxEntropyThreshold(&one, below, above).value, 0);
  EXPECT_EQ(std::make_pair(below, above), std::make_pair(-2.0f, -2.0f));
  // Failures: 0 or -1.0 and each selector's word.
  ZBWHistogramVector wrong = Histogram(Bins(10, 1));
  ZBW8 t1, t2;
  const std::pair<std::function<float()>, const char*> failing[] = {
      {[&] { return LumTwoLevelsMinResidueThreshold(&wrong, t, below, above); }, "LumTwoLevelsMinResidueThreshold"},
      {[&] { return LumThreeLevelsMinResidueThreshold(&wrong, t1, t2, below, below, below); },
       "LumThreeLevelsMinResidueThreshold"},
      {[&] { return LumMinResidueThreshold(&wrong, below, above).value - 1.0f; }, "LumMinResidueThreshold"},
      {[&] { return LumMaxEntropyThreshold(&wrong, below, above).value - 1.0f; }, "LumMaxEntropyThreshold"}};
  for (const auto& [call, word] : failing) {
    EXPECT_EQ(call(), -1.0f) << word;
    EXPECT_TRUE(kt::Failed(Z_ERROR_TABLE_SIZE, {word}));
  }
}

TEST(NamedSelectors, MaxEntropyMustBeatTheWhole) {
  // Three equal levels: no split beats the whole (ln 2 < ln 3), so 0 and the averages untouched.
  ZBWHistogramVector three = Histogram(Levels({{40, 5}, {120, 5}, {200, 5}}));
  float below = -1, above = -1;
  EXPECT_EQ(LumMaxEntropyThreshold(&three, below, above).value, 0);
  EXPECT_EQ(std::make_pair(below, above), std::make_pair(-1.0f, -1.0f));
  // Six equal levels: three and three (2 ln 3) beats the whole (ln 6) and every other split.
  ZBWHistogramVector six = Histogram(Levels({{10, 5}, {20, 5}, {30, 5}, {40, 5}, {50, 5}, {60, 5}}));
  EXPECT_EQ(LumMaxEntropyThreshold(&six, below, above).value, 31);
  EXPECT_EQ(std::make_pair(below, above), std::make_pair(20.0f, 50.0f));
}

// ----- multi-level dynamic programme -----

// The float tables of the search and the best sum of class scores over every partition of the
// occupied range into `classes` classes, summed from the last class backwards as the search does.
struct Brute {
  std::vector<float> count, sum;
  unsigned lo = 0, hi = 0;
  float best = -1.0f;
  explicit Brute(const Bins& h) : count(65536, 0), sum(65536, 0) {
    while (h[lo] == 0) ++lo;
    hi = 255;
    while (h[hi] == 0) --hi;
    for (unsigned s = lo; s <= hi; ++s) {
      long double n = 0, m = 0;
      for (unsigned e = s; e <= hi; ++e) n += h[e], m += (long double)h[e] * e, count[s * 256 + e] = float(n), sum[s * 256 + e] = float(m);
    }
  }
  float Score(unsigned s, unsigned e) const {
    const float c = count[s * 256 + e], v = sum[s * 256 + e];
    return c == 0 ? -1.0f : v * v / c;
  }
  // Best of s..hi in k + 1 classes, or -1.
  float Search(unsigned s, unsigned k) const {
    if (k == 0) return Score(s, hi);
    float best = -1.0f;
    for (unsigned c = s + 1; c + k <= hi + 1; ++c) {
      const float a = Score(s, c - 1), b = Search(c, k - 1);
      if (a >= 0 && b >= 0 && a + b > best && a + b > 0) best = a + b;
    }
    return best;
  }
};

void ExpectPartition(const Brute& brute, const Marvane::Ovidra::Utils::Vector<ZRegionDescriptor>& regions,
                     unsigned classes, float residue) {
  ASSERT_EQ(regions.GetSize(), int(classes));
  EXPECT_EQ(regions[0].m_un32First, brute.lo);
  EXPECT_EQ(regions[int(classes) - 1].m_un32Last, brute.hi);
  float total = 0.0f, q = 0.0f;
  for (int i = int(classes) - 1; i >= 0; --i) {
    const ZRegionDescriptor& r = regions[i];
    if (i > 0) {
      EXPECT_EQ(regions[i - 1].m_un32Last + 1, r.m_un32First);
    }
    EXPECT_GT(r.m_un32Count, 0u);
    EXPECT_EQ(r.m_un32Count, uint32_t(brute.count[r.m_un32First * 256 + r.m_un32Last]));
    EXPECT_FLOAT_EQ(r.m_f32Mean, brute.sum[r.m_un32First * 256 + r.m_un32Last] / r.m_un32Count);
    total = brute.Score(r.m_un32First, r.m_un32Last) + total;
  }
  for (unsigned i = brute.lo; i <= brute.hi; ++i) q += float(i) * brute.sum[i * 256 + i];
  EXPECT_EQ(total, brute.Search(brute.lo, classes - 1));
  const float n = brute.count[brute.lo * 256 + brute.hi];
  EXPECT_FLOAT_EQ(residue, std::sqrt(std::max(0.0f, (q - brute.Search(brute.lo, classes - 1)) / n)));
}

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
        EXPECT_EQ(residue, -1.0f);
        EXPECT_EQ(ZGetError(), Z_ERROR_INTERNAL);
        continue;
      }
      ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
      ExpectPartition(brute, regions, classes, residue);
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
      ExpectPartition(brute, all[int(classes) - 2].m_Regions, classes, all[int(classes) - 2].m_f32Residue);
    EXPECT_EQ(last, all[1].m_f32Residue);
  }
}

TEST(MultiLevels, EdgesAndErrors) {
  using Regions = Marvane::Ovidra::Utils::Vector<ZRegionDescriptor>;
  ZBWHistogramVector two = Histogram(Levels({{10, 30}, {200, 50}}));
  Regions regions;
  EXPECT_EQ(LumMultiLevelsMinResidueThreshold(&two, 2, regions), 0.0f);
  ASSERT_EQ(regions.GetSize(), 2);
  EXPECT_EQ(regions[0].m_un32Last, 10u);
  EXPECT_EQ(regions[1].m_un32First, 11u);
  EXPECT_EQ(regions[1].m_f32Mean, 200.0f);
  EXPECT_EQ(regions[1].m_f32Variance, 0.0f);
  // More classes than occupied levels, an empty histogram, a count below 2: -1.0, vector kept.
  ZBWHistogramVector empty = Histogram(Bins(256, 0)), wrong = Histogram(Bins(255, 1));
  const struct { ZBWHistogramVector* h; unsigned count; Z_ERRORS error; } cases[] = {
      {&two, 3, Z_ERROR_INTERNAL}, {&two, 300, Z_ERROR_INTERNAL}, {&empty, 2, Z_ERROR_TABLE_SIZE},
      {&wrong, 2, Z_ERROR_TABLE_SIZE}, {&two, 1, Z_ERROR_ARGUMENT_2}, {nullptr, 2, Z_ERROR_NULL_IMAGE}};
  for (const auto& c : cases) {
    EXPECT_EQ(LumMultiLevelsMinResidueThreshold(c.h, c.count, regions), -1.0f);
    EXPECT_TRUE(kt::Failed(c.error, {"LumMultiLevelsMinResidueThreshold"}));
    EXPECT_EQ(regions.GetSize(), 2);
  }
  Marvane::Ovidra::Utils::Vector<ZBW8> levels;
  levels.AddElement(ZBW8(9));
  EXPECT_EQ(LumMultiLevelsMinResidueThreshold(&two, 2, levels), -1.0f);
  EXPECT_EQ(kt::Trace(), (Strings{"LumMultiLevelsMinResidueThreshold", "LumMultiLevelsMinResidueThreshold ( ZBW8)"}));
  EXPECT_EQ(levels.GetSize(), 1);
  // All partitions: with level 0 occupied, stage 2 starts at the unsigned -1 and stays empty.
  ZBWHistogramVector low = Histogram(Levels({{0, 5}, {100, 5}, {200, 5}}));
  Marvane::Ovidra::Utils::Vector<ZLabelisationDescriptor> all;
  EXPECT_GT(LumAllMultiLevelsMinResidueThreshold(&low, 2, all), 0.0f);
  EXPECT_EQ(all.GetSize(), 1);
  EXPECT_EQ(LumAllMultiLevelsMinResidueThreshold(&low, 3, all), -1.0f);
  EXPECT_TRUE(kt::Failed(Z_ERROR_INTERNAL, {"LumAllMultiLevelsMinResidueThreshold"}));
  EXPECT_EQ(all.GetSize(), 1);
  EXPECT_THROW(all[1], Marvane::Ovidra::Exception);
}

// ----- the view forms -----

TEST(AutoThreshold, FixedValuesReturnAtOnceModesGoThroughTheHistogram) {
  EXPECT_EQ(LumAutoThreshold(static_cast<ZROI<ZBW8>*>(nullptr), static_cast<LUM_THRESHOLD_MODES>(0), 0.5f).value, 0);
  EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
  EXPECT_EQ(LumAutoThreshold(static_cast<ZROI<ZBW16>*>(nullptr), static_cast<LUM_THRESHOLD_MODES>(40000), 0).value, 40000);
  kt::Framed<ZBW8> view(33, 9, 5);
  view.FillRandom(kt::Rng());
  ZBWHistogramVector h;
  LumHistogram(view.get(), &h);
  for (unsigned mode : kModes) {
    unsigned t = mode;
    float below, above;
    LumHistogramThreshold(&h, t, below, above, 0.4f, 0, 255);
    EXPECT_EQ(LumAutoThreshold(view.get(), static_cast<LUM_THRESHOLD_MODES>(mode), 0.4f).value, uint8_t(t)) << int(mode);
  }
  kt::Framed<ZBW16> wide(17, 4, 2, 20);
  wide.FillRandom(kt::Rng());
  ZBWHistogramVector h16;
  LumHistogram(wide.get(), &h16, 15, 16, 0);
  unsigned t = LUM_THRESHOLD_MODE_ISODATA;
  float below, above;
  LumHistogramThresholdBW16(&h16, t, below, above, 0, 0, 65535);
  EXPECT_EQ(LumAutoThreshold(wide.get(), LUM_THRESHOLD_MODE_ISODATA, 0).value, uint16_t(t));
  // Failures keep the words of the inner operators only.
  EXPECT_EQ(LumAutoThreshold(view.get(), static_cast<LUM_THRESHOLD_MODES>(300), 0).value, 0);
  EXPECT_EQ(kt::Trace(), Strings{"LumHistogramThreshold"});
  EXPECT_EQ(LumAutoThreshold(static_cast<ZROI<ZBW8>*>(nullptr), LUM_THRESHOLD_MODE_ISODATA, 0).value, 0);
  EXPECT_EQ(kt::Trace(), Strings{"LumHistogram"});
}

}  // namespace
