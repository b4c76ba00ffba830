// General convolution on 1920x1080 BW8 beside cv::filter2D (8U, the same normalised kernel,
// BORDER_REPLICATE): the short 3x3 route, the Q15 routes of 3x3, 5x5 and 7x7, the symmetric 5x5
// worker, and an 11x11 kernel on the float route.
#include <opencv2/imgproc.hpp>
#include <vector>

#include "support/common.h"

namespace {

enum Route { kShort3 = 0, kQ15x3, kQ15x5, kQ15x7, kSym5, kFloat11 };

struct Setup {
  short n;
  short rectifier;
};
const Setup kSetups[] = {{3, 2}, {3, 3}, {5, 2}, {7, 2}, {5, 2}, {11, 2}};

// A smoothing kernel with positive, uneven weights (symmetric under the square's symmetries).
std::vector<float> Weights(int n) {
  std::vector<float> w(static_cast<size_t>(n) * n);
  const int r = n / 2;
  for (int j = 0; j < n; ++j)
    for (int i = 0; i < n; ++i) w[j * n + i] = static_cast<float>(1 + (r - std::abs(i - r)) * (r - std::abs(j - r)));
  return w;
}

template <int route>
void BM_ConvolKernel(benchmark::State& state) {
  const Setup s = kSetups[route];
  kb::Shared<ZBW8> src(1920, 1080, CV_8UC1), dst(1920, 1080, CV_8UC1);
  ZKernel kernel(s.n, s.n, 1.0f, 0, s.rectifier, 0);
  const std::vector<float> w = Weights(s.n);
  std::copy(w.begin(), w.end(), kernel.GetDataPtr());
  for (auto _ : state) {
    if (route == kSym5)
      LumConvolSymmetricKernel(&src.image, &dst.image, &kernel);
    else
      LumConvolKernel(&src.image, &dst.image, &kernel);
    benchmark::ClobberMemory();
  }
  state.SetLabel(route == kShort3 ? "short 3x3" : route == kFloat11 ? "float 11x11" : route == kSym5 ? "symmetric 5x5" : "q15");
  kb::SetBytes(state, 2LL * 1920 * 1080);
}

template <int n>
void BM_OpenCVFilter2D(benchmark::State& state) {
  kb::Shared<ZBW8> src(1920, 1080, CV_8UC1), dst(1920, 1080, CV_8UC1);
  std::vector<float> w = Weights(n);
  float sum = 0;
  for (float v : w) sum += v;
  cv::Mat k(n, n, CV_32F);
  for (int i = 0; i < n * n; ++i) k.at<float>(i / n, i % n) = w[i] / sum;
  for (auto _ : state) {
    cv::filter2D(src.mat, dst.mat, CV_8U, k, cv::Point(-1, -1), 0, cv::BORDER_REPLICATE);
    benchmark::ClobberMemory();
  }
  kb::SetBytes(state, 2LL * 1920 * 1080);
}

// Each route beside cv::filter2D with a kernel of its size, named so that the table pairs them.
BENCHMARK(BM_ConvolKernel<kShort3>)->Name("Convol/Short3x3/Kelmira")->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_OpenCVFilter2D<3>)->Name("Convol/Short3x3/OpenCV")->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_ConvolKernel<kQ15x3>)->Name("Convol/Q15_3x3/Kelmira")->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_OpenCVFilter2D<3>)->Name("Convol/Q15_3x3/OpenCV")->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_ConvolKernel<kQ15x5>)->Name("Convol/Q15_5x5/Kelmira")->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_OpenCVFilter2D<5>)->Name("Convol/Q15_5x5/OpenCV")->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_ConvolKernel<kSym5>)->Name("Convol/Symmetric5x5/Kelmira")->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_OpenCVFilter2D<5>)->Name("Convol/Symmetric5x5/OpenCV")->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_ConvolKernel<kQ15x7>)->Name("Convol/Q15_7x7/Kelmira")->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_OpenCVFilter2D<7>)->Name("Convol/Q15_7x7/OpenCV")->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_ConvolKernel<kFloat11>)->Name("Convol/Float11x11/Kelmira")->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_OpenCVFilter2D<11>)->Name("Convol/Float11x11/OpenCV")->Unit(benchmark::kMicrosecond);

}  // namespace
