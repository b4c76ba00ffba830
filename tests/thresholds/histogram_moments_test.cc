// The histogram moment functions against sums taken the plain way (S2 as the sum of bin * i * i),
// over tables of histograms and ranges; their refusals and trace words.
#include "support/kelmira_test.h"
#include "thresholds/histogram_moments.h"

namespace {

using Strings = std::vector<std::string>;
namespace hm = kelmira::histogram;

ZBWHistogramVector Make(const std::vector<std::pair<unsigned, unsigned>>& bins, unsigned size = 256) {
  ZBWHistogramVector h(size);
  h.SetNumElements(size);
  h.Clear();
  for (const auto& [i, n] : bins) h[i] = n;
  return h;
}

TEST(HistogramMoments, MeanVarianceAndCountOverARange) {
  std::vector<std::pair<unsigned, unsigned>> randomBins;
  for (unsigned i = 0; i < 256; ++i) randomBins.push_back({i, kt::Rng()() % 5000});
  struct Case {
    std::vector<std::pair<unsigned, unsigned>> bins;
    unsigned first, last;
  };
  const std::vector<Case> cases = {
      {{{7, 10}}, 0, 255},                    // one value: its mean, variance 0
      {{{0, 1}, {255, 1}}, 0, 255},           // the two ends
      {{{3, 4}, {200, 2}, {201, 9}}, 4, 200},  // a range that cuts bins off
      {{{3, 4}, {200, 2}}, 200, 200},
      {randomBins, 0, 255},
      {randomBins, 17, 99},
      {{{100, 0x80000000u}, {101, 0x80000000u}}, 0, 255},  // N wraps to 0 in 32 bits
  };
  for (size_t k = 0; k < cases.size(); ++k) {
    ZBWHistogramVector h = Make(cases[k].bins);
    uint32_t n = 0, s1 = 0;
    double s2 = 0;
    for (unsigned i = cases[k].first; i <= cases[k].last; ++i) n += h[i], s1 += h[i] * i, s2 += double(h[i]) * i * i;
    float mean = -1, variance = -1, mean2 = -1;
    unsigned count = 0;
    const bool ok = hm::Moments(&h, &mean, &count, cases[k].first, cases[k].last);
    const bool ok2 = hm::CenteredMoments(&h, &mean2, &variance, cases[k].first, cases[k].last);
    if (n == 0) {
      EXPECT_FALSE(ok || ok2) << k;
      EXPECT_EQ(ZGetError(), Z_ERROR_NO_VARIANCE);
      continue;
    }
    ASSERT_TRUE(ok && ok2) << k;
    const float m = float(s1) / float(n);
    EXPECT_EQ(mean, m) << k;
    EXPECT_EQ(count, n) << k;
    EXPECT_EQ(mean2, m) << k;
    EXPECT_EQ(variance, float(s2 / n - double(m * m))) << k;
  }
}

TEST(HistogramMoments, RefusalsAndTraceWords) {
  ZBWHistogramVector small = Make({{1, 1}}, 255), full = Make({{1, 1}});
  float mean = 5, variance = 6;
  unsigned count = 7;
  struct Case {
    ZBWHistogramVector* h;
    unsigned first, last;
    Z_ERRORS error;
  };
  for (const Case& c : std::vector<Case>{{&small, 0, 254, Z_ERROR_TABLE_SIZE},
                                         {nullptr, 0, 255, Z_ERROR_TABLE_SIZE},
                                         {&full, 2, 255, Z_ERROR_NO_VARIANCE},
                                         {&full, 5, 4, Z_ERROR_NO_VARIANCE},
                                         {&full, 0, 256, Z_ERROR_ARGUMENT_5}}) {
    EXPECT_FALSE(hm::Moments(c.h, &mean, &count, c.first, c.last));
    EXPECT_EQ(ZGetError(), c.error);
    EXPECT_EQ(kt::Trace(), Strings{"LumHistogramMoments ( 1)"});
    EXPECT_FALSE(hm::CenteredMoments(c.h, &mean, &variance, c.first, c.last));
    EXPECT_EQ(ZGetError(), c.error);
    EXPECT_EQ(kt::Trace(), Strings{"LumHistogramCenteredMoments ( 2)"});
  }
  EXPECT_EQ(mean + variance + float(count), 18.0f);
  EXPECT_TRUE(hm::Moments(&full, nullptr, nullptr, 0, 255));
  EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
}

}  // namespace
