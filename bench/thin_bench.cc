// Thin on BW8 beside one 3x3 cv::erode of the same image: a 1920x1080 scene of filled shapes,
// thinned with a turning pattern until nothing changes. "Thin/Pass" reports the time of the whole
// run divided by its passes (the count is in the counters); "Thin/OnePass" one call of one pass
// without rotation, packing and unpacking included.
#include <chrono>
#include <opencv2/imgproc.hpp>

#include "support/common.h"

namespace {

// Filled discs and rectangles, 255 on 0; the same seed gives the same scene.
void Scene(kb::Shared<ZBW8>& s) {
  s.mat.setTo(0);
  std::mt19937 rng(5);
  const int w = s.mat.cols, h = s.mat.rows;
  for (int i = 0; i < 30; ++i) {
    const cv::Point c(static_cast<int>(rng() % w), static_cast<int>(rng() % h));
    cv::circle(s.mat, c, 15 + static_cast<int>(rng() % 90), cv::Scalar(255), cv::FILLED);
    const cv::Point p(static_cast<int>(rng() % w), static_cast<int>(rng() % h));
    cv::rectangle(s.mat, cv::Rect(p.x, p.y, 20 + static_cast<int>(rng() % 200), 10 + static_cast<int>(rng() % 80)),
                  cv::Scalar(255), cv::FILLED);
  }
}

void Size(benchmark::internal::Benchmark* b) { b->Args({1920, 1080})->Unit(benchmark::kMicrosecond); }

template <int kWide>
void BM_ThinPass(benchmark::State& state) {
  kb::Shared<ZBW8> a(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)), CV_8UC1);
  kb::Shared<ZBW8> b(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)), CV_8UC1);
  Scene(a);
  ZKernel kernel(KERNEL_THIN_1);
  const int wide = ZGetMMX();
  ZSetMMX(kWide ? wide : 0);
  int rings = 0;
  for (auto _ : state) {
    rings = 0;
    const auto start = std::chrono::steady_clock::now();
    LumThin(&a.image, &b.image, &kernel, KERNEL_ROTATION_CLOCKWISE, rings);
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    // A run with a rotation ends on a whole ring: the passes are the rings times 8.
    state.SetIterationTime(seconds / (8.0 * rings));
  }
  ZSetMMX(wide);
  state.counters["passes"] = 8.0 * rings;
  state.counters["rings"] = rings;
}

void BM_ThinOnePass(benchmark::State& state) {
  kb::Shared<ZBW8> a(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)), CV_8UC1);
  kb::Shared<ZBW8> b(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)), CV_8UC1);
  Scene(a);
  ZKernel kernel(KERNEL_THIN_1);
  for (auto _ : state) {
    int passes = 1;
    LumThin(&a.image, &b.image, &kernel, KERNEL_ROTATION_NONE, passes);
    benchmark::ClobberMemory();
  }
}

void BM_Erode(benchmark::State& state) {
  kb::Shared<ZBW8> a(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)), CV_8UC1);
  kb::Shared<ZBW8> b(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)), CV_8UC1);
  Scene(a);
  const cv::Mat element = cv::getStructuringElement(cv::MORPH_RECT, cv::Size(3, 3));
  for (auto _ : state) {
    cv::erode(a.mat, b.mat, element);
    benchmark::ClobberMemory();
  }
}

// The erode side of the per-pass rows, timed the same way so that the two names pair: the mean of
// 64 erodes per iteration.
void BM_ErodeManual(benchmark::State& state) {
  kb::Shared<ZBW8> a(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)), CV_8UC1);
  kb::Shared<ZBW8> b(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)), CV_8UC1);
  Scene(a);
  const cv::Mat element = cv::getStructuringElement(cv::MORPH_RECT, cv::Size(3, 3));
  for (auto _ : state) {
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < 64; ++i) cv::erode(a.mat, b.mat, element);
    state.SetIterationTime(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count() / 64);
  }
}

BENCHMARK(BM_ThinPass<1>)->Name("Thin/Pass/Kelmira")->UseManualTime()->Iterations(4)->Apply(Size);
BENCHMARK(BM_ErodeManual)->Name("Thin/Pass/OpenCV")->UseManualTime()->Iterations(4)->Apply(Size);
BENCHMARK(BM_ThinOnePass)->Name("Thin/OnePass/Kelmira")->Apply(Size);
BENCHMARK(BM_Erode)->Name("Thin/OnePass/OpenCV")->Apply(Size);
BENCHMARK(BM_ThinPass<0>)->Name("Thin/PassScalar/Kelmira")->UseManualTime()->Iterations(2)->Apply(Size);
BENCHMARK(BM_ErodeManual)->Name("Thin/PassScalar/OpenCV")->UseManualTime()->Iterations(2)->Apply(Size);

}  // namespace
