// Point transforms beside OpenCV on the same pixels: the BW8 table look-up against cv::LUT, and
// the BW8 gain and offset against convertTo with alpha and beta.
#include <opencv2/core.hpp>

#include "support/common.h"

namespace {

void BM_LumLut_BW8(benchmark::State& state) {
  kb::Shared<ZBW8> a(state.range(0), state.range(1), CV_8UC1), b(state.range(0), state.range(1), CV_8UC1);
  ZBW8 table[256];
  for (int i = 0; i < 256; ++i) table[i] = static_cast<uint8_t>(255 - i);
  for (auto _ : state) {
    LumLut(&a.image, &b.image, table);
    benchmark::ClobberMemory();
  }
  kb::SetBytes(state, 2 * static_cast<int64_t>(state.range(0)) * state.range(1));
}
BENCHMARK(BM_LumLut_BW8)->Name("Lut/BW8/Kelmira")->Apply(kb::Sizes);

void BM_OpenCV_LUT(benchmark::State& state) {
  kb::Shared<ZBW8> a(state.range(0), state.range(1), CV_8UC1), b(state.range(0), state.range(1), CV_8UC1);
  cv::Mat table(1, 256, CV_8UC1);
  for (int i = 0; i < 256; ++i) table.at<uint8_t>(i) = static_cast<uint8_t>(255 - i);
  for (auto _ : state) {
    cv::LUT(a.mat, table, b.mat);
    benchmark::ClobberMemory();
  }
  kb::SetBytes(state, 2 * static_cast<int64_t>(state.range(0)) * state.range(1));
}
BENCHMARK(BM_OpenCV_LUT)->Name("Lut/BW8/OpenCV")->Apply(kb::Sizes);

void BM_LumGainOffset_BW8(benchmark::State& state) {
  kb::Shared<ZBW8> a(state.range(0), state.range(1), CV_8UC1), b(state.range(0), state.range(1), CV_8UC1);
  for (auto _ : state) {
    LumGainOffset(&a.image, &b.image, 1.5f, 10.0f);
    benchmark::ClobberMemory();
  }
  kb::SetBytes(state, 2 * static_cast<int64_t>(state.range(0)) * state.range(1));
}
BENCHMARK(BM_LumGainOffset_BW8)->Name("GainOffset/BW8/Kelmira")->Apply(kb::Sizes);

void BM_OpenCV_ConvertToAlphaBeta(benchmark::State& state) {
  kb::Shared<ZBW8> a(state.range(0), state.range(1), CV_8UC1), b(state.range(0), state.range(1), CV_8UC1);
  for (auto _ : state) {
    a.mat.convertTo(b.mat, CV_8U, 1.5, 10.0);
    benchmark::ClobberMemory();
  }
  kb::SetBytes(state, 2 * static_cast<int64_t>(state.range(0)) * state.range(1));
}
BENCHMARK(BM_OpenCV_ConvertToAlphaBeta)->Name("GainOffset/BW8/OpenCV")->Apply(kb::Sizes);

}  // namespace
