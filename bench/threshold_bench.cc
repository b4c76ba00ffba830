// Threshold application beside OpenCV on the same pixels: a fixed level on BW8 against
// cv::threshold BINARY, the packed one-bit form against cv::threshold into 8 bits, the colour box
// against cv::inRange, and the local mean against cv::adaptiveThreshold MEAN_C (blocks 7, 31, 127
// for halfSize 3, 15, 63: its cost must not grow with the window).
#include <opencv2/imgproc.hpp>

#include "support/common.h"

namespace {

void BM_Threshold_BW8_Kelmira(benchmark::State& state) {
  kb::Shared<ZBW8> a(state.range(0), state.range(1), CV_8UC1), b(state.range(0), state.range(1), CV_8UC1);
  for (auto _ : state) {
    LumThreshold(&a.image, &b.image, 128, 0, 255, 0.5f);
    benchmark::ClobberMemory();
  }
  kb::SetBytes(state, 2 * static_cast<int64_t>(state.range(0)) * state.range(1));
  kb::PixelWise(state);
}
BENCHMARK(BM_Threshold_BW8_Kelmira)->Apply(kb::Sizes);

void BM_Threshold_BW8_OpenCV(benchmark::State& state) {
  kb::Shared<ZBW8> a(state.range(0), state.range(1), CV_8UC1), b(state.range(0), state.range(1), CV_8UC1);
  for (auto _ : state) {
    cv::threshold(a.mat, b.mat, 127, 255, cv::THRESH_BINARY);
    benchmark::ClobberMemory();
  }
  kb::SetBytes(state, 2 * static_cast<int64_t>(state.range(0)) * state.range(1));
}
BENCHMARK(BM_Threshold_BW8_OpenCV)->Apply(kb::Sizes);

// One bit a pixel against OpenCV's byte a pixel.
void BM_ThresholdPacked_BW8_Kelmira(benchmark::State& state) {
  kb::Shared<ZBW8> a(state.range(0), state.range(1), CV_8UC1);
  ZImage<ZBW1> b(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
  for (auto _ : state) {
    LumThreshold(&a.image, &b, 128u, 0.5f);
    benchmark::ClobberMemory();
  }
  kb::SetBytes(state, static_cast<int64_t>(state.range(0)) * state.range(1) * 9 / 8);
}
BENCHMARK(BM_ThresholdPacked_BW8_Kelmira)->Apply(kb::Sizes);

void BM_ThresholdPacked_BW8_OpenCV(benchmark::State& state) {
  kb::Shared<ZBW8> a(state.range(0), state.range(1), CV_8UC1), b(state.range(0), state.range(1), CV_8UC1);
  for (auto _ : state) {
    cv::threshold(a.mat, b.mat, 127, 255, cv::THRESH_BINARY);
    benchmark::ClobberMemory();
  }
  kb::SetBytes(state, 2 * static_cast<int64_t>(state.range(0)) * state.range(1));
}
BENCHMARK(BM_ThresholdPacked_BW8_OpenCV)->Apply(kb::Sizes);

void BM_InRange_C24_Kelmira(benchmark::State& state) {
  kb::Shared<ZC24> a(state.range(0), state.range(1), CV_8UC3);
  kb::Shared<ZBW8> b(state.range(0), state.range(1), CV_8UC1);
  for (auto _ : state) {
    LumThreshold(&a.image, &b.image, ZC24(40, 60, 80), ZC24(200, 180, 160));
    benchmark::ClobberMemory();
  }
  kb::SetBytes(state, 4 * static_cast<int64_t>(state.range(0)) * state.range(1));
  kb::PixelWise(state);
}
BENCHMARK(BM_InRange_C24_Kelmira)->Apply(kb::Sizes);

void BM_InRange_C24_OpenCV(benchmark::State& state) {
  kb::Shared<ZC24> a(state.range(0), state.range(1), CV_8UC3);
  kb::Shared<ZBW8> b(state.range(0), state.range(1), CV_8UC1);
  for (auto _ : state) {
    cv::inRange(a.mat, cv::Scalar(40, 60, 80), cv::Scalar(200, 180, 160), b.mat);
    benchmark::ClobberMemory();
  }
  kb::SetBytes(state, 4 * static_cast<int64_t>(state.range(0)) * state.range(1));
}
BENCHMARK(BM_InRange_C24_OpenCV)->Apply(kb::Sizes);

// halfSize r against block 2r + 1.
void LocalMeanArgs(benchmark::internal::Benchmark* b) {
  for (int r : {3, 15, 63}) b->Args({1920, 1080, r})->Args({4096, 4096, r});
  b->Unit(benchmark::kMicrosecond);
}

void BM_LocalMean_BW8_Kelmira(benchmark::State& state) {
  kb::Shared<ZBW8> a(state.range(0), state.range(1), CV_8UC1), b(state.range(0), state.range(1), CV_8UC1);
  for (auto _ : state) {
    Marvane::Ovidra::Segmentation::LumLocalMeanThreshold(&a.image, &b.image, static_cast<int>(state.range(2)), 0);
    benchmark::ClobberMemory();
  }
  kb::SetBytes(state, 2 * static_cast<int64_t>(state.range(0)) * state.range(1));
}
BENCHMARK(BM_LocalMean_BW8_Kelmira)->Apply(LocalMeanArgs);

void BM_LocalMean_BW8_OpenCV(benchmark::State& state) {
  kb::Shared<ZBW8> a(state.range(0), state.range(1), CV_8UC1), b(state.range(0), state.range(1), CV_8UC1);
  const int block = 2 * static_cast<int>(state.range(2)) + 1;
  for (auto _ : state) {
    cv::adaptiveThreshold(a.mat, b.mat, 255, cv::ADAPTIVE_THRESH_MEAN_C, cv::THRESH_BINARY, block, 0);
    benchmark::ClobberMemory();
  }
  kb::SetBytes(state, 2 * static_cast<int64_t>(state.range(0)) * state.range(1));
}
BENCHMARK(BM_LocalMean_BW8_OpenCV)->Apply(LocalMeanArgs);

}  // namespace
