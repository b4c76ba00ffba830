// The histogram moment functions against sums taken the plain way (S2 as the sum of bin * i * i),
// over a table of histograms and ranges; their refusals and trace words.
#include "support/kelmira_test.h"
#include "thresholds/histogram_moments.h"

namespace {

using Strings = std::vector<std::string>;
using Bins = std::vector<std::pair<unsigned, unsigned>>;
namespace hm = kelmira::histogram;

ZBWHistogramVector Make(const Bins& bins, unsigned size = 256) {
  ZBWHistogramVector h(size);
  h.SetNumElements(size);
  h.Clear();
  for (const auto& [i, n] : bins) h[i] = n;
  return h;
}

TEST(HistogramMoments, MeanVarianceAndCountOverARange) {
  Bins random;
  for (unsigned i = 0; i < 256; ++i) random.push_back({i, kt::Rng()() % 5000});
  // One value, the two ends, ranges that cut bins off, and N wrapping to 0 in 32 bits.
  const std::tuple<Bins, unsigned, unsigned> cases[] = {
      {{{7, 10}}, 0, 255}, {{{0, 1}, {255, 1}}, 0, 255}, {{{3, 4}, {200, 2}, {201, 9}}, 4, 200},
      {{{3, 4}, {200, 2}}, 200, 200}, {random, 0, 255}, {random, 17, 99},
      {{{100, 0x80000000u}, {101, 0x80000000u}}, 0, 255}};
  for (const auto& [bins, first, last] : cases) {
    SCOPED_TRACE(testing::Message() << bins.size() << " bins, " << first << ".." << last);
    ZBWHistogramVector h = Make(bins);
    uint32_t n = 0, s1 = 0;
    double s2 = 0;
    for (unsigned i = first; i <= last; ++i) n += h[i], s1 += h[i] * i, s2 += double(h[i]) * i * i;
    float mean = -1, variance = -1, mean2 = -1;
    unsigned count = 0;
    const bool ok = hm::Moments(&h, &mean, &count, first, last);
    const bool ok2 = hm::CenteredMoments(&h, &mean2, &variance, first, last);
    if (n == 0) {
      EXPECT_TRUE(!ok && !ok2 && ZGetError() == Z_ERROR_NO_VARIANCE);
      continue;
    }
    ASSERT_TRUE(ok && ok2);
    const float m = float(s1) / float(n);
    EXPECT_TRUE(mean == m && mean2 == m && count == n);
    EXPECT_EQ(variance, float(s2 / n - double(m * m)));
  }
}

TEST(HistogramMoments, RefusalsAndTraceWords) {
  ZBWHistogramVector small = Make({{1, 1}}, 255), full = Make({{1, 1}});
  float mean = 5, variance = 6;
  unsigned count = 7;
  for (const auto& [h, first, last, error] :
       {std::tuple{&small, 0u, 254u, Z_ERROR_TABLE_SIZE}, {nullptr, 0u, 255u, Z_ERROR_TABLE_SIZE},
        {&full, 2u, 255u, Z_ERROR_NO_VARIANCE}, {&full, 5u, 4u, Z_ERROR_NO_VARIANCE}, {&full, 0u, 256u, Z_ERROR_ARGUMENT_5}}) {
    EXPECT_FALSE(hm::Moments(h, &mean, &count, first, last));
    EXPECT_TRUE(kt::Failed(error, {"LumHistogramMoments ( 1)"}));
    EXPECT_FALSE(hm::CenteredMoments(h, &mean, &variance, first, last));
    EXPECT_TRUE(kt::Failed(error, {"LumHistogramCenteredMoments ( 2)"}));
  }
  EXPECT_EQ(mean + variance + float(count), 18.0f);
  EXPECT_TRUE(hm::Moments(&full, nullptr, nullptr, 0, 255));
  EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
}

}  // namespace
