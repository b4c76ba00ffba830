// Gray morphology beside OpenCV: erosion and dilation by a square (MORPH_RECT 3, 7, 15, 31), the
// gradient and the white top hat, on BW8 and BW16.
#include <opencv2/imgproc.hpp>

#include "support/common.h"

namespace {

// width, height, window side
void Windows(benchmark::internal::Benchmark* b) {
  for (int side : {3, 7, 15, 31}) b->Args({1920, 1080, side})->Args({4096, 4096, side});
  b->Unit(benchmark::kMicrosecond);
}

template <class P>
int CvType() {
  return sizeof(P) == 1 ? CV_8UC1 : CV_16UC1;
}

template <class P, int kOp>
void BM_Kelmira(benchmark::State& state) {
  kb::Shared<P> a(state.range(0), state.range(1), CvType<P>()), b(state.range(0), state.range(1), CvType<P>());
  const unsigned half = static_cast<unsigned>(state.range(2) / 2);
  for (auto _ : state) {
    if (kOp == 0) LumErodeBox(&a.image, &b.image, half, half);
    if (kOp == 1) LumDilateBox(&a.image, &b.image, half, half);
    if (kOp == 2) LumMorphoGradientBox(&a.image, &b.image, half, half);
    if (kOp == 3) LumWhiteTopHatBox(&a.image, &b.image, half, half);
    benchmark::ClobberMemory();
  }
  kb::SetBytes(state, 2 * static_cast<int64_t>(a.mat.total() * a.mat.elemSize()));
}

template <class P, int kOp>
void BM_OpenCV(benchmark::State& state) {
  kb::Shared<P> a(state.range(0), state.range(1), CvType<P>()), b(state.range(0), state.range(1), CvType<P>());
  const int side = static_cast<int>(state.range(2));
  const cv::Mat element = cv::getStructuringElement(cv::MORPH_RECT, cv::Size(side, side));
  for (auto _ : state) {
    // BORDER_REPLICATE leaves pixels outside the image out of the minimum, like the clipped window.
    if (kOp == 0) cv::erode(a.mat, b.mat, element, cv::Point(-1, -1), 1, cv::BORDER_REPLICATE);
    if (kOp == 1) cv::dilate(a.mat, b.mat, element, cv::Point(-1, -1), 1, cv::BORDER_REPLICATE);
    if (kOp == 2) cv::morphologyEx(a.mat, b.mat, cv::MORPH_GRADIENT, element, cv::Point(-1, -1), 1, cv::BORDER_REPLICATE);
    if (kOp == 3) cv::morphologyEx(a.mat, b.mat, cv::MORPH_TOPHAT, element, cv::Point(-1, -1), 1, cv::BORDER_REPLICATE);
    benchmark::ClobberMemory();
  }
  kb::SetBytes(state, 2 * static_cast<int64_t>(a.mat.total() * a.mat.elemSize()));
}

BENCHMARK(BM_Kelmira<ZBW8, 0>)->Name("Morph/Erode/BW8/Kelmira")->Apply(Windows);
BENCHMARK(BM_OpenCV<ZBW8, 0>)->Name("Morph/Erode/BW8/OpenCV")->Apply(Windows);
BENCHMARK(BM_Kelmira<ZBW8, 1>)->Name("Morph/Dilate/BW8/Kelmira")->Apply(Windows);
BENCHMARK(BM_OpenCV<ZBW8, 1>)->Name("Morph/Dilate/BW8/OpenCV")->Apply(Windows);
BENCHMARK(BM_Kelmira<ZBW16, 0>)->Name("Morph/Erode/BW16/Kelmira")->Apply(Windows);
BENCHMARK(BM_OpenCV<ZBW16, 0>)->Name("Morph/Erode/BW16/OpenCV")->Apply(Windows);
BENCHMARK(BM_Kelmira<ZBW8, 2>)->Name("Morph/Gradient/BW8/Kelmira")->Apply(Windows);
BENCHMARK(BM_OpenCV<ZBW8, 2>)->Name("Morph/Gradient/BW8/OpenCV")->Apply(Windows);
BENCHMARK(BM_Kelmira<ZBW16, 2>)->Name("Morph/Gradient/BW16/Kelmira")->Apply(Windows);
BENCHMARK(BM_OpenCV<ZBW16, 2>)->Name("Morph/Gradient/BW16/OpenCV")->Apply(Windows);
BENCHMARK(BM_Kelmira<ZBW8, 3>)->Name("Morph/TopHat/BW8/Kelmira")->Apply(Windows);
BENCHMARK(BM_OpenCV<ZBW8, 3>)->Name("Morph/TopHat/BW8/OpenCV")->Apply(Windows);
BENCHMARK(BM_Kelmira<ZBW16, 3>)->Name("Morph/TopHat/BW16/Kelmira")->Apply(Windows);
BENCHMARK(BM_OpenCV<ZBW16, 3>)->Name("Morph/TopHat/BW16/OpenCV")->Apply(Windows);

}  // namespace
