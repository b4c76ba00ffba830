// Histograms against direct counts, the legacy forms, cumulation, features, entropy, equalisation.
#include <algorithm>
#include <climits>
#include <cmath>
#include <tuple>

#include "support/kelmira_test.h"

namespace {


std::vector<uint32_t> Bins(const ZBWHistogramVector& h) {
  return std::vector<uint32_t>(h.GetDataPtr(), h.GetDataPtr() + h.GetNumElements());
}

using kt::Histogram;

template <class T>
std::vector<uint32_t> DirectCount(ZROI<T>* view, unsigned msb = 8 * sizeof(T) - 1, unsigned bits = 8 * sizeof(T),
                                  bool saturate = false) {
  const uint64_t mask = (uint64_t{1} << bits) - 1;
  std::vector<uint32_t> bins(size_t{1} << bits, 0);
  for (int y = 0; y < view->GetHeight(); ++y)
    for (int x = 0; x < view->GetWidth(); ++x) {
      uint64_t bin = uint64_t{view->GetImagePtr(x, y)->value} >> (msb - bits + 1);
      if (saturate && msb != 8 * sizeof(T) - 1 && bin > mask) bin = mask;
      if (bin <= mask) ++bins[bin];
    }
  return bins;
}

TEST(HistogramBW8, DirectCountAtEveryOffset) {
  kt::ForScalarAndWide([](int) {
    kt::ForShapes({1, 5, 15, 16, 17, 33, 64, 71, 300, 87383}, kt::Upto(15, 0), [](int width, int offset) {
      kt::Framed<ZBW8> view(width, 1 + offset % 3, offset);
      view.FillRandom(kt::Rng());
      ZBWHistogramVector h;
      LumHistogram(view.get(), &h);
      ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
      EXPECT_EQ(Bins(h), DirectCount(view.get()));
      EXPECT_TRUE(view.GuardsIntact());
    });
  });
  // Rows without gaps are counted as one block; one value throughout stresses the partial tables.
  std::vector<uint8_t> pixels(64 * 9, 7);
  pixels[100] = 0;
  ZImage<ZBW8> block;
  block.SetImagePtr(64, 9, pixels.data(), 64);
  ZBWHistogramVector h(3);
  LumHistogram(&block, &h);
  ASSERT_EQ(h.GetNumElements(), 256u);
  EXPECT_TRUE(h[7] == 64u * 9 - 1 && h[0] == 1u);
}

// Large views choose their way of counting from their first bytes: smooth pictures count by
// pairs of neighbours, noise by the partial tables. Odd widths leave a byte over in every row, and
// the picture turns noisy after the sample in one case.
TEST(HistogramBW8, LargeSmoothAndNoisyViewsCountExactly) {
  std::mt19937 rng(kt::Rng()());
  for (const int kind : {0, 1, 2}) {
    kt::ForScalarAndWide([&](int) {
      kt::Framed<ZBW8> view(1001, 300, 5);
      for (int y = 0; y < 300; ++y)
        for (int x = 0; x < 1001; ++x) {
          const bool noise = kind == 2 || (kind == 1 && y >= 100);
          view.get()->GetImagePtr(x, y)->value = static_cast<uint8_t>(noise ? rng() : (x + y) / 5 + rng() % 3);
        }
      ZBWHistogramVector h;
      LumHistogram(view.get(), &h);
      ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
      EXPECT_EQ(Bins(h), DirectCount(view.get())) << "picture " << kind;
    });
  }
}

TEST(HistogramBW8, RunListCountsOnlyItsRuns) {
  kt::Framed<ZBW8> image(40, 6, 3);
  image.FillRandom(kt::Rng());
  ZROI<ZBW8> view(image.get(), 2, 1, 30, 4);
  const int pitch = view.GetRowPitch();
  // (x, y, length): a whole row, a single pixel, an empty run, a tail, a head.
  ZVectorTemplate<ZRun> runs;
  std::vector<uint32_t> expected(256, 0);
  for (const auto& [x, y, n] : {std::tuple{0, 0, 30}, {5, 1, 1}, {9, 2, 0}, {20, 3, 10}, {0, 2, 4}}) {
    const uint32_t start = static_cast<uint32_t>(y * pitch + x);
    runs.AddElement(ZRun{start, start + static_cast<uint32_t>(n), static_cast<int16_t>(x), static_cast<int16_t>(y)});
    for (int i = 0; i < n; ++i) ++expected[view.GetImagePtr(x + i, y)->value];
  }
  view.SetRunList(&runs);
  kt::ForScalarAndWide([&](int) {
    ZBWHistogramVector h;
    LumHistogram(&view, &h);
    ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
    EXPECT_EQ(Bins(h), expected);
  });
  ZVectorTemplate<ZRun> none;  // an empty run list is the whole rectangle
  view.SetRunList(&none);
  ZBWHistogramVector h;
  LumHistogram(&view, &h);
  EXPECT_EQ(Bins(h), DirectCount(&view));
  // A run past its row, past the view or reversed: 106, the histogram untouched.
  for (const ZRun run : {ZRun{25, 31, 25, 0}, ZRun{uint32_t(4 * pitch), uint32_t(4 * pitch + 1), 0, 4}, ZRun{5, 4, 5, 0}}) {
    ZVectorTemplate<ZRun> one;
    one.AddElement(run);
    view.SetRunList(&one);
    LumHistogram(&view, &h);
    EXPECT_TRUE(kt::Failed(Z_ERROR_OUTSIDE_ROI, {"LumHistogram"}));
    EXPECT_EQ(Bins(h), DirectCount(&view));
  }
  view.SetRunList(nullptr);
}

// (msb, bits, saturate) on values at the shift and saturation edges, then the refusals. Windows ending at the top bit
// have no guard against a bin past the last, so they run last: a wrong shift shows as a bad count before it writes.
template <class T>
void WindowCases(const char* trace, unsigned top, bool atTop) {
  kt::Framed<T> view(37, 3, sizeof(T), 4 * sizeof(T));
  view.FillRandom(kt::Rng());
  const uint64_t edges[] = {0, ~0ull, 254, 255, 256, 1023, 4096};
  for (int x = 0; x < 7; ++x) view->SetPixel(T(static_cast<decltype(T::value)>(edges[x])), x, 0);
  const unsigned cases[][3] = {{7, 8, 0},  {7, 8, 1}, {11, 8, 0}, {11, 8, 1}, {9, 10, 1},  {0, 1, 0},   {0, 1, 1},
                               {15, 16, 1}, {top, 16, 0}, {top, 16, 1}, {top, 8, 0}, {top, 0, 0}};
  for (const auto& c : cases) {
    if ((c[0] == top) != atTop) continue;
    SCOPED_TRACE(testing::Message() << "msb " << c[0] << " bits " << c[1] << " saturate " << c[2]);
    ZBWHistogramVector h;
    LumHistogram(view.get(), &h, c[0], c[1], static_cast<int>(c[2]));
    ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
    EXPECT_EQ(Bins(h), DirectCount(view.get(), c[0], c[1], c[2] != 0));
  }
  ZBWHistogramVector h;
  for (const auto& [msb, bits, error] : {std::tuple{top + 1, 8u, Z_ERROR_ARGUMENT_3}, {7u, 9u, Z_ERROR_ARGUMENT_4},
                                         {0u, 2u, Z_ERROR_ARGUMENT_4}, {top, 25u, Z_ERROR_ARGUMENT_4}}) {
    LumHistogram(view.get(), &h, msb, bits, 0);
    EXPECT_TRUE(kt::Failed(error, {trace}));
  }
  kt::CheckRefusals({{[&] { LumHistogram(static_cast<ZROI<T>*>(nullptr), &h, 7, 8, 0); }, Z_ERROR_NULL_IMAGE, {trace}},
                     {[&] { LumHistogram(view.get(), nullptr, 7, 8, 0); }, Z_ERROR_NULL_IMAGE, {trace}}});
}

TEST(HistogramWindow, BW16AndBW32AgainstDirectCount) {
  WindowCases<ZBW16>("LumHistogram ( ZBW16)", 15, false);
  WindowCases<ZBW32>("LumHistogram ( ZBW32)", 31, false);
}

TEST(HistogramWindow, WindowsEndingAtTheTopBit) {
  WindowCases<ZBW16>("LumHistogram ( ZBW16)", 15, true);
  WindowCases<ZBW32>("LumHistogram ( ZBW32)", 31, true);
}

TEST(HistogramLegacy, ZVectorFormAndCumulation) {
  kt::Framed<ZBW8> view(23, 4, 5);
  view.FillRandom(kt::Rng());
  ZVector v, small;
  EXPECT_EQ(LumHistogram(view.get(), &v), 0);
  ASSERT_EQ(v.GetVectType(), 2);
  const uint32_t* counts = static_cast<const uint32_t*>(v.GetDataPtr());
  EXPECT_EQ(std::vector<uint32_t>(counts, counts + 256), DirectCount(view.get()));
  EXPECT_EQ(LumHistogram(static_cast<ZROI<ZBW8>*>(nullptr), &v), Z_ERROR_NULL_IMAGE);
  EXPECT_TRUE(kt::Failed(Z_ERROR_NULL_IMAGE, {"LumHistogram ( ZVector)"}));
  small.SetType(2, 8, 2);  // kind 2 but too short a store
  EXPECT_EQ(LumHistogram(view.get(), &small), Z_ERROR_VECTOR_NO_DATA);
  // Running sums wrap, and work in place.
  ZBWHistogramVector source = Histogram({3, 0, 0xFFFFFFFFu, 5}), destination;
  LumCumulateHistogram(&source, &destination);
  LumCumulateHistogram(&source, &source);
  EXPECT_TRUE(Bins(destination) == Bins(source) && Bins(source) == std::vector<uint32_t>({3, 3, 2, 7}));
  LumCumulateHistogram(nullptr, &source);
  EXPECT_TRUE(kt::Failed(Z_ERROR_NULL_IMAGE, {"LumCumulateHistogram"}));
}

// 70..80 holds one value, 100..200 nothing, 0..45 ties (the first of equal bins wins), 250 a
// count of 2^31 that goes through the signed conversion.
TEST(HistogramFeatures, OneValueEmptyRangesTiesAndSignedCounts) {
  std::vector<uint32_t> bins(256, 0);
  bins[77] = 1000, bins[10] = 4, bins[20] = 9, bins[30] = 9, bins[40] = 4, bins[250] = 0x80000000u;
  ZBWHistogramVector h = Histogram(bins);
  const float deviation = std::sqrt((4 * 100 + 9 * 400 + 9 * 900 + 4 * 1600 - 650.0f * 650 / 26) / 26);
  enum : int { kMost, kHighest, kLeast, kLowest, kSmallest, kGreatest, kCount, kAverage, kDeviation };
  const struct { int low, high, feature; float expected; } cases[] = {
      {70, 80, kMost, 77},      {70, 80, kHighest, 1000},  {70, 80, kLeast, 77},      {70, 80, kLowest, 1000},
      {70, 80, kSmallest, 77},  {70, 80, kGreatest, 77},   {70, 80, kCount, 1000},    {70, 80, kAverage, 77},
      {70, 80, kDeviation, 0},  {100, 200, kMost, 0},      {100, 200, kLowest, -1},   {100, 200, kSmallest, 201},
      {100, 200, kGreatest, 99}, {100, 200, kAverage, 0},  {100, 200, kDeviation, 0}, {0, 5, kGreatest, -1},
      {0, 45, kMost, 20},       {0, 45, kLeast, 10},       {0, 45, kLowest, 4},       {0, 45, kCount, 26},
      {0, 45, kAverage, 650.0f / 26}, {0, 45, kDeviation, deviation}, {200, 255, kHighest, -2147483648.0f}};
  for (const auto& c : cases) {
    EXPECT_FLOAT_EQ(LumAnalyseHistogram(&h, static_cast<LUM_HISTOGRAM_FEATURE>(c.feature), c.low, c.high), c.expected)
        << c.feature << " over " << c.low << ".." << c.high;
    EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
  }
  // A feature above 8: 0.0, no error, the word traced all the same.
  EXPECT_EQ(LumAnalyseHistogram(&h, static_cast<LUM_HISTOGRAM_FEATURE>(9), 0, 255), 0.0f);
  EXPECT_TRUE(kt::Failed(Z_ERROR_NONE, {"LumAnalyseHistogram"}));
}

TEST(HistogramFeatures, BW16ReadsItsRangeShiftedByLow) {
  std::vector<uint32_t> bins(65536, 0);
  bins[30] = 5, bins[65535] = 2;
  ZBWHistogramVector h = Histogram(bins);
  // Index i of the range reads bin i + low: with low 10, bin 30 is seen at index 20. High 65536
  // passes; the bin past the last reads as empty.
  for (const auto& [feature, low, high, expected] :
       {std::tuple{LUM_HISTOGRAM_FEATURE_SMALLEST_VALUE, 10, 100, 20.0f}, {LUM_HISTOGRAM_FEATURE_SMALLEST_VALUE, 0, 100, 30.0f},
        {LUM_HISTOGRAM_FEATURE_PIXEL_COUNT, 0, 65536, 7.0f}, {LUM_HISTOGRAM_FEATURE_PIXEL_COUNT, 16, 65536, 2.0f},
        {LUM_HISTOGRAM_FEATURE_PIXEL_COUNT, 15, 16, 5.0f}, {static_cast<LUM_HISTOGRAM_FEATURE>(12), 0, 5, 0.0f}}) {
    EXPECT_EQ(LumAnalyseHistogramBW16(&h, feature, low, high), expected);
    EXPECT_TRUE(kt::Failed(Z_ERROR_NONE, {}));
  }
}

TEST(HistogramFeatures, ErrorsInCheckOrder) {
  ZBWHistogramVector h8 = Histogram(std::vector<uint32_t>(256, 1)), h16 = Histogram(std::vector<uint32_t>(65536, 1));
  ZBWHistogramVector wrong = Histogram(std::vector<uint32_t>(255, 1));
  const struct { ZBWHistogramVector* h; int low, high; Z_ERRORS e8, e16; } cases[] = {
      {nullptr, 0, 1, Z_ERROR_NULL_IMAGE, Z_ERROR_NULL_IMAGE},    {&wrong, -1, 300, Z_ERROR_TABLE_SIZE, Z_ERROR_TABLE_SIZE},
      {nullptr, -1, 0, Z_ERROR_NULL_IMAGE, Z_ERROR_NULL_IMAGE},   {&h8, -1, 300, Z_ERROR_ARGUMENT_3, Z_ERROR_ARGUMENT_3},
      {&h8, 0, 256, Z_ERROR_ARGUMENT_4, Z_ERROR_NONE},            {&h8, 0, 65537, Z_ERROR_ARGUMENT_4, Z_ERROR_ARGUMENT_4},
      {&h8, 9, 8, Z_ERROR_BAD_ARGUMENTS, Z_ERROR_BAD_ARGUMENTS}};
  for (const auto& c : cases) {
    EXPECT_EQ(LumAnalyseHistogram(c.h, LUM_HISTOGRAM_FEATURE_PIXEL_COUNT, c.low, c.high), c.e8 ? 0.0f : 257.0f);
    EXPECT_TRUE(kt::Failed(c.e8, c.e8 ? Strings{"LumAnalyseHistogram"} : Strings{}));
    LumAnalyseHistogramBW16(c.h == &h8 ? &h16 : c.h, LUM_HISTOGRAM_FEATURE_PIXEL_COUNT, c.low, c.high);
    EXPECT_TRUE(kt::Failed(c.e16, c.e16 ? Strings{"LumAnalyseHistogram (BW16)"} : Strings{}));
  }
}

// The ZVector forms: features outside each form's set write nothing; the bounds are not checked.
TEST(HistogramFeatures, LegacyVectorForms) {
  ZVector v, other, bare;
  v.SetType(2, 256, 2);
  static_cast<uint32_t*>(v.GetDataPtr())[3] = 2, static_cast<uint32_t*>(v.GetDataPtr())[9] = 6;
  int value = -5;
  float mean = -5;
  EXPECT_EQ(LumAnalyseHistogram(&v, 0, 255, LUM_HISTOGRAM_FEATURE_LOWEST_COUNT, value), 0);
  EXPECT_EQ(LumAnalyseHistogram(&v, 0, 255, LUM_HISTOGRAM_FEATURE_AVERAGE, mean), 0);
  EXPECT_TRUE(value == 2 && mean == 60.0f / 8);
  EXPECT_EQ(LumAnalyseHistogram(&v, 0, 255, LUM_HISTOGRAM_FEATURE_PIXEL_COUNT, mean), 0);
  EXPECT_EQ(LumAnalyseHistogram(&v, -20, 1000, LUM_HISTOGRAM_FEATURE_PIXEL_COUNT, value), 0);
  EXPECT_TRUE(value == 8 && mean == 60.0f / 8);
  // The whole int range reads 0 outside the store: the same features, at once; the empty-range
  // answers of the first and last value are one past each end.
  ZVector empty;
  empty.SetType(2, 256, 2);
  for (const auto& [vector, feature, expected] : std::vector<std::tuple<ZVector*, int, int>>{
           {&v, LUM_HISTOGRAM_FEATURE_MOST_FREQUENT_VALUE, 9}, {&v, LUM_HISTOGRAM_FEATURE_LOWEST_COUNT, 2},
           {&v, LUM_HISTOGRAM_FEATURE_SMALLEST_VALUE, 3}, {&v, LUM_HISTOGRAM_FEATURE_GREATEST_VALUE, 9},
           {&v, LUM_HISTOGRAM_FEATURE_PIXEL_COUNT, 8}, {&empty, LUM_HISTOGRAM_FEATURE_SMALLEST_VALUE, INT_MIN},
           {&empty, LUM_HISTOGRAM_FEATURE_GREATEST_VALUE, INT_MAX}}) {
    EXPECT_EQ(LumAnalyseHistogram(vector, INT_MIN, INT_MAX, feature, value), 0);
    EXPECT_EQ(value, expected) << "feature " << feature;
  }
  EXPECT_EQ(LumAnalyseHistogram(&v, INT_MIN, INT_MAX, LUM_HISTOGRAM_FEATURE_AVERAGE, mean), 0);
  EXPECT_EQ(mean, 60.0f / 8);
  other.SetType(3, 256, 2);
  bare.SetType(2, 0, 2);
  EXPECT_EQ(LumAnalyseHistogram(&other, 0, 255, 0, value), Z_ERROR_VECTOR_BAD_SOURCE);
  EXPECT_EQ(kt::Trace(), Strings{"LumAnalyseHistogram"});
  EXPECT_EQ(LumAnalyseHistogram(&bare, 0, 255, 0, value), Z_ERROR_VECTOR_NO_DATA);
}

TEST(HistogramEntropy, BitsOfTheNormalisedRange) {
  ZBWHistogramVector h = Histogram({5, 5, 0, 8, 0});
  EXPECT_FLOAT_EQ(h.Entropy(0, 0xFFFFFFFFu), std::log2(18.0f) - (10 * std::log2(5.0f) + 8 * 3) / 18);
  EXPECT_FLOAT_EQ(h.Entropy(0, 1), 1.0f);
  for (const auto& [first, last] : {std::pair{3u, 4u}, {4u, 0xFFFFFFFFu}, {3u, 1u}}) EXPECT_EQ(h.Entropy(first, last), 0.0f);
  EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
  EXPECT_EQ(h.Entropy(5, 0xFFFFFFFFu), 0.0f);
  EXPECT_TRUE(kt::Failed(Z_ERROR_ARGUMENT_1, {"ZBWHistogramVector::Entropy"}));
  EXPECT_TRUE(h.Entropy(0, 5) == 0.0f && ZGetError() == Z_ERROR_ARGUMENT_2);
  EXPECT_TRUE(ZBWHistogramVector().Entropy(0, 0xFFFFFFFFu) == 0.0f && ZGetError() == Z_ERROR_ARGUMENT_1);
}

TEST(HistogramEqualize, TablesAndTheOneBinCase) {
  std::vector<uint32_t> bins(256, 0);
  bins[40] = 12;
  ZBWHistogramVector h = Histogram(bins);
  ZBW8Vector table;
  LumSetupEqualize(&h, &table);
  ASSERT_EQ(table.GetNumElements(), 256u);
  for (int i = 0; i < 256; ++i) EXPECT_EQ(table[i].value, i <= 40 ? 0 : 255) << i;
  // The legacy scale: (C << 8) / T in the low byte, so 256 wraps to 0 above the last occupied bin.
  bins[40] = 2, bins[100] = 2;
  ZVector legacy, out;
  legacy.SetType(2, 256, 2);
  std::memcpy(legacy.GetDataPtr(), bins.data(), 1024);
  LumSetupEqualize(&legacy, &out);
  ASSERT_EQ(out.GetVectType(), 3);
  const uint8_t* entries = static_cast<const uint8_t*>(out.GetDataPtr());
  const int size = out.GetDataSize();
  EXPECT_TRUE(entries[40 * size] == 0 && entries[41 * size] == 128 && entries[101 * size] == 0);
  ZBWHistogramVector wrong = Histogram({1, 2});
  LumSetupEqualize(&wrong, &table);
  EXPECT_TRUE(kt::Failed(Z_ERROR_TABLE_SIZE, {"LumSetupEqualize ( ZBWHistogramVector)"}));
  LumSetupEqualize(&out, &legacy);
  EXPECT_TRUE(kt::Failed(Z_ERROR_VECTOR_BAD_DESTINATION, {"LumSetupEqualize ( ZVector)"}));
}

// The rule of equalisation: the count of pixels below a value (BW8) or up to and including it
// (BW16), scaled to the full range. Fill() gives a source random content and sorts its values.
template <class T>
struct Equalized {
  std::vector<uint32_t> sorted;
  void Fill(kt::Framed<T>& source) {
    source.FillRandom(kt::Rng());
    sorted.clear();
    for (int64_t v : kt::Read(source.get()).p) sorted.push_back(uint32_t(v));
    std::sort(sorted.begin(), sorted.end());
  }
  T operator()(T v, T) const {
    const auto end = sizeof(T) == 1 ? std::lower_bound(sorted.begin(), sorted.end(), v.value)
                                    : std::upper_bound(sorted.begin(), sorted.end(), v.value);
    return T(static_cast<decltype(T::value)>(uint64_t(end - sorted.begin()) * (sizeof(T) == 1 ? 255 : 65535) / sorted.size()));
  }
};

// BW8 on the shared sweep, in place by a null destination; BW16 builds a table of 65536 entries a
// call, so it takes a few views, scalar and wide, out of place and in place.
TEST(HistogramEqualize, ImagesThroughTheirTables) {
  Equalized<ZBW8> m8;
  kt::CheckAgainst<ZBW8, ZBW8>([](auto s, auto d) { LumEqualize(s, s == d ? nullptr : d); }, std::cref(m8),
                               [&](kt::Framed<ZBW8>& s) { m8.Fill(s); }, true);
  Equalized<ZBW16> m16;
  kt::ForScalarAndWide([&](int) {
    for (int width : {1, 19, 70}) {
      kt::Aligned<ZBW16> source(width, 3, width % 8), destination(width, 3, 2);
      m16.Fill(source);
      kt::Plane want = kt::Read(source.get());
      for (int64_t& v : want.p) v = m16(ZBW16(uint16_t(v)), {}).value;
      LumEqualize(source.get(), destination.get());
      LumEqualize(source.get(), nullptr);
      ASSERT_TRUE(ZGetError() == Z_ERROR_NONE && source.GuardsIntact() && destination.GuardsIntact());
      ASSERT_TRUE(kt::Read(destination.get()) == want && kt::Read(source.get()) == want) << width;
    }
  });
  ZImage<ZBW8> a(4, 4), b(5, 4);
  ZImage<ZBW16> a16(4, 4), b16(5, 4);
  kt::CheckRefusals({{[&] { LumEqualize(&a16, &b16); }, Z_ERROR_DIFFERENT_SIZES, {"LumEqualize (BW16)"}},
                     {[&] { LumEqualize(&a, &b); }, Z_ERROR_DIFFERENT_SIZES, {"LumLut", "LumEqualize"}},
                     {[&] { LumEqualize(static_cast<ZROI<ZBW8>*>(nullptr), &b); }, Z_ERROR_NULL_IMAGE,
                      {"LumHistogram", "LumEqualize"}}});
}

}  // namespace
