// Histograms and threshold selection beside OpenCV on the same pixels: the 256-bin BW8 histogram
// against cv::calcHist, equalisation against cv::equalizeHist, and a histogram plus the minimum
// residue threshold against cv::threshold with THRESH_OTSU. Alone: the BW16 histogram and the
// multi-level search with 2, 4 and 8 classes.
#include <opencv2/imgproc.hpp>

#include "support/common.h"

namespace {

// Flat parts with a little noise, as a camera sees them: neighbours often share a value, which
// serialises the increments of a single table of counts.
void FillScene(kb::Shared<ZBW8>& s, int width, int height) {
  std::mt19937 rng(4);
  for (int y = 0; y < height; ++y) {
    uint8_t* row = s.mat.ptr<uint8_t>(y);
    for (int x = 0; x < width; ++x) row[x] = static_cast<uint8_t>(((x / 200 + y / 150) % 3) * 60 + 40 + rng() % 7);
  }
}

void BM_LumHistogram_BW8Scene(benchmark::State& state) {
  kb::Shared<ZBW8> a(state.range(0), state.range(1), CV_8UC1);
  FillScene(a, state.range(0), state.range(1));
  ZBWHistogramVector h;
  for (auto _ : state) {
    LumHistogram(&a.image, &h);
    benchmark::DoNotOptimize(h.GetDataPtr());
  }
  kb::SetBytes(state, static_cast<int64_t>(state.range(0)) * state.range(1));
}
BENCHMARK(BM_LumHistogram_BW8Scene)->Name("HistogramScene/BW8/Kelmira")->Apply(kb::Sizes);

void BM_OpenCV_CalcHistScene(benchmark::State& state) {
  kb::Shared<ZBW8> a(state.range(0), state.range(1), CV_8UC1);
  FillScene(a, state.range(0), state.range(1));
  cv::Mat hist;
  const int channels[] = {0}, size[] = {256};
  const float range[] = {0, 256};
  const float* ranges[] = {range};
  for (auto _ : state) {
    cv::calcHist(&a.mat, 1, channels, cv::Mat(), hist, 1, size, ranges);
    benchmark::DoNotOptimize(hist.data);
  }
  kb::SetBytes(state, static_cast<int64_t>(state.range(0)) * state.range(1));
}
BENCHMARK(BM_OpenCV_CalcHistScene)->Name("HistogramScene/BW8/OpenCV")->Apply(kb::Sizes);

void BM_LumEqualize_BW8Scene(benchmark::State& state) {
  kb::Shared<ZBW8> a(state.range(0), state.range(1), CV_8UC1), b(state.range(0), state.range(1), CV_8UC1);
  FillScene(a, state.range(0), state.range(1));
  for (auto _ : state) {
    LumEqualize(&a.image, &b.image);
    benchmark::ClobberMemory();
  }
  kb::SetBytes(state, 2 * static_cast<int64_t>(state.range(0)) * state.range(1));
}
BENCHMARK(BM_LumEqualize_BW8Scene)->Name("EqualizeScene/BW8/Kelmira")->Apply(kb::Sizes);

void BM_OpenCV_EqualizeHistScene(benchmark::State& state) {
  kb::Shared<ZBW8> a(state.range(0), state.range(1), CV_8UC1), b(state.range(0), state.range(1), CV_8UC1);
  FillScene(a, state.range(0), state.range(1));
  for (auto _ : state) {
    cv::equalizeHist(a.mat, b.mat);
    benchmark::ClobberMemory();
  }
  kb::SetBytes(state, 2 * static_cast<int64_t>(state.range(0)) * state.range(1));
}
BENCHMARK(BM_OpenCV_EqualizeHistScene)->Name("EqualizeScene/BW8/OpenCV")->Apply(kb::Sizes);

void BM_LumHistogram_BW8(benchmark::State& state) {
  kb::Shared<ZBW8> a(state.range(0), state.range(1), CV_8UC1);
  ZBWHistogramVector h;
  for (auto _ : state) {
    LumHistogram(&a.image, &h);
    benchmark::DoNotOptimize(h.GetDataPtr());
  }
  kb::SetBytes(state, static_cast<int64_t>(state.range(0)) * state.range(1));
}
BENCHMARK(BM_LumHistogram_BW8)->Name("Histogram/BW8/Kelmira")->Apply(kb::Sizes);

void BM_OpenCV_CalcHist(benchmark::State& state) {
  kb::Shared<ZBW8> a(state.range(0), state.range(1), CV_8UC1);
  cv::Mat hist;
  const int channels[] = {0}, size[] = {256};
  const float range[] = {0, 256};
  const float* ranges[] = {range};
  for (auto _ : state) {
    cv::calcHist(&a.mat, 1, channels, cv::Mat(), hist, 1, size, ranges);
    benchmark::DoNotOptimize(hist.data);
  }
  kb::SetBytes(state, static_cast<int64_t>(state.range(0)) * state.range(1));
}
BENCHMARK(BM_OpenCV_CalcHist)->Name("Histogram/BW8/OpenCV")->Apply(kb::Sizes);

void BM_LumEqualize_BW8(benchmark::State& state) {
  kb::Shared<ZBW8> a(state.range(0), state.range(1), CV_8UC1), b(state.range(0), state.range(1), CV_8UC1);
  for (auto _ : state) {
    LumEqualize(&a.image, &b.image);
    benchmark::ClobberMemory();
  }
  kb::SetBytes(state, 2 * static_cast<int64_t>(state.range(0)) * state.range(1));
}
BENCHMARK(BM_LumEqualize_BW8)->Name("Equalize/BW8/Kelmira")->Apply(kb::Sizes);

void BM_OpenCV_EqualizeHist(benchmark::State& state) {
  kb::Shared<ZBW8> a(state.range(0), state.range(1), CV_8UC1), b(state.range(0), state.range(1), CV_8UC1);
  for (auto _ : state) {
    cv::equalizeHist(a.mat, b.mat);
    benchmark::ClobberMemory();
  }
  kb::SetBytes(state, 2 * static_cast<int64_t>(state.range(0)) * state.range(1));
}
BENCHMARK(BM_OpenCV_EqualizeHist)->Name("Equalize/BW8/OpenCV")->Apply(kb::Sizes);

// The floor of any count by tables: one store a pixel to a counter picked by the pixel, without
// the load and the add of an increment. Stores to different cache lines retire one a cycle on
// the processors measured so far, which bounds every per-pixel increment from below.
void BM_HistogramStoreFloor(benchmark::State& state) {
  kb::Shared<ZBW8> a(state.range(0), state.range(1), CV_8UC1);
  const size_t n = static_cast<size_t>(state.range(0)) * static_cast<size_t>(state.range(1));
  const uint8_t* p = a.mat.data;
  alignas(64) static uint32_t tables[4][256];
  for (auto _ : state) {
    for (size_t i = 0; i + 4 <= n; i += 4) {
      tables[0][p[i]] = static_cast<uint32_t>(i);
      tables[1][p[i + 1]] = static_cast<uint32_t>(i);
      tables[2][p[i + 2]] = static_cast<uint32_t>(i);
      tables[3][p[i + 3]] = static_cast<uint32_t>(i);
    }
    benchmark::DoNotOptimize(tables);
    benchmark::ClobberMemory();
  }
  kb::SetBytes(state, static_cast<int64_t>(n));
}
BENCHMARK(BM_HistogramStoreFloor)->Name("Floor/HistogramStores")->Apply(kb::Sizes);

// The level only: OpenCV's Otsu also thresholds the image, so it is given THRESH_OTSU with
// THRESH_BINARY into a destination, and the Kelmira side is timed for what selects the level.
void BM_LumMinResidueLevel_BW8(benchmark::State& state) {
  const int w = static_cast<int>(state.range(0)), h = static_cast<int>(state.range(1));
  kb::Shared<ZBW8> a(w, h, CV_8UC1);
  FillScene(a, w, h);
  ZBWHistogramVector hist;
  for (auto _ : state) {
    LumHistogram(&a.image, &hist);
    unsigned t = LUM_THRESHOLD_MODE_MIN_RESIDUE;
    float below, above;
    LumHistogramThreshold(&hist, t, below, above, 0.0f, 0, 255);
    benchmark::DoNotOptimize(t);
  }
  kb::SetBytes(state, static_cast<int64_t>(w) * h);
}
BENCHMARK(BM_LumMinResidueLevel_BW8)->Name("OtsuLevel/BW8/Kelmira")->Apply(kb::Sizes);

void BM_OpenCV_ThresholdOtsu(benchmark::State& state) {
  const int w = static_cast<int>(state.range(0)), h = static_cast<int>(state.range(1));
  kb::Shared<ZBW8> a(w, h, CV_8UC1), b(w, h, CV_8UC1);
  FillScene(a, w, h);
  for (auto _ : state) {
    const double t = cv::threshold(a.mat, b.mat, 0, 255, cv::THRESH_BINARY | cv::THRESH_OTSU);
    benchmark::DoNotOptimize(t);
  }
  kb::SetBytes(state, static_cast<int64_t>(w) * h);
}
BENCHMARK(BM_OpenCV_ThresholdOtsu)->Name("OtsuLevel/BW8/OpenCV")->Apply(kb::Sizes);

void BM_LumHistogram_BW16(benchmark::State& state) {
  kb::Shared<ZBW16> a(state.range(0), state.range(1), CV_16UC1);
  ZBWHistogramVector h;
  for (auto _ : state) {
    LumHistogram(&a.image, &h, 15, 16, 0);
    benchmark::DoNotOptimize(h.GetDataPtr());
  }
  kb::SetBytes(state, 2 * static_cast<int64_t>(state.range(0)) * state.range(1));
}
BENCHMARK(BM_LumHistogram_BW16)->Name("Histogram/BW16/Kelmira")->Args({4096, 4096})->Unit(benchmark::kMicrosecond);

void BM_OpenCV_CalcHist16(benchmark::State& state) {
  kb::Shared<ZBW16> a(state.range(0), state.range(1), CV_16UC1);
  cv::Mat hist;
  const int channels[] = {0}, size[] = {65536};
  const float range[] = {0, 65536};
  const float* ranges[] = {range};
  for (auto _ : state) {
    cv::calcHist(&a.mat, 1, channels, cv::Mat(), hist, 1, size, ranges);
    benchmark::DoNotOptimize(hist.data);
  }
  kb::SetBytes(state, 2 * static_cast<int64_t>(state.range(0)) * state.range(1));
}
BENCHMARK(BM_OpenCV_CalcHist16)->Name("Histogram/BW16/OpenCV")->Args({4096, 4096})->Unit(benchmark::kMicrosecond);

// The multi-level search on the histogram of a noisy scene with several populations.
void BM_LumMultiLevels(benchmark::State& state) {
  ZBWHistogramVector h(256);
  h.SetNumElements(256);
  std::mt19937 rng(5);
  for (unsigned i = 0; i < 256; ++i) h[i] = 0;
  for (int k = 0; k < 200000; ++k) ++h[(rng() % 5) * 50 + 10 + rng() % 30];
  Marvane::Ovidra::Utils::Vector<ZRegionDescriptor> regions;
  for (auto _ : state) benchmark::DoNotOptimize(LumMultiLevelsMinResidueThreshold(&h, state.range(0), regions));
}
BENCHMARK(BM_LumMultiLevels)->Name("MultiLevels/Classes")->Arg(2)->Arg(4)->Arg(8)->Unit(benchmark::kMicrosecond);

}  // namespace
