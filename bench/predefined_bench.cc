// Predefined filters beside OpenCV on the same pixels, single thread, replicated borders:
// cv::GaussianBlur 3x3, 5x5, 7x7 against LumConvolGaussian3x3/5x5/7x7; cv::Sobel (dx, 16S) then
// cv::convertScaleAbs against LumConvolSobelX; cv::Laplacian ksize 1 (16S) then convertScaleAbs
// against LumConvolLaplacian4 (both give |v|); cv::blur 3x3 and 31x31 against
// LumConvolUniform3x3 and LumConvolUniform(.., 15, 15). BW16 where OpenCV has the filter.
#include <opencv2/core/utility.hpp>
#include <opencv2/imgproc.hpp>

#include "support/common.h"

namespace {

enum Op { kGauss3, kGauss5, kGauss7, kSobelX, kLaplacian4, kBox3, kBox31 };

template <class P>
int CvType() {
  return sizeof(P) == 1 ? CV_8UC1 : CV_16UC1;
}

template <class P, int kOp>
void BM_Kelmira(benchmark::State& state) {
  const int w = static_cast<int>(state.range(0)), h = static_cast<int>(state.range(1));
  kb::Shared<P> a(w, h, CvType<P>()), b(w, h, CvType<P>(), 2);
  for (auto _ : state) {
    if constexpr (kOp == kGauss3) LumConvolGaussian3x3(&a.image, &b.image);
    if constexpr (sizeof(P) == 1 && kOp == kGauss5) LumConvolGaussian5x5(&a.image, &b.image);
    if constexpr (sizeof(P) == 1 && kOp == kGauss7) LumConvolGaussian7x7(&a.image, &b.image);
    if constexpr (kOp == kSobelX) LumConvolSobelX(&a.image, &b.image);
    if constexpr (kOp == kLaplacian4) LumConvolLaplacian4(&a.image, &b.image);
    if constexpr (kOp == kBox3) LumConvolUniform3x3(&a.image, &b.image);
    if constexpr (kOp == kBox31) LumConvolUniform(&a.image, &b.image, 15, 15);
    benchmark::ClobberMemory();
  }
  kb::SetBytes(state, 2 * static_cast<int64_t>(a.mat.total() * a.mat.elemSize()));
}

template <class P, int kOp>
void BM_OpenCV(benchmark::State& state) {
  const int w = static_cast<int>(state.range(0)), h = static_cast<int>(state.range(1));
  kb::Shared<P> a(w, h, CvType<P>()), b(w, h, CvType<P>(), 2);
  cv::Mat derivative(h, w, CV_16S);
  cv::setNumThreads(1);
  const int border = cv::BORDER_REPLICATE;
  for (auto _ : state) {
    if constexpr (kOp == kGauss3) cv::GaussianBlur(a.mat, b.mat, cv::Size(3, 3), 0, 0, border);
    if constexpr (kOp == kGauss5) cv::GaussianBlur(a.mat, b.mat, cv::Size(5, 5), 0, 0, border);
    if constexpr (kOp == kGauss7) cv::GaussianBlur(a.mat, b.mat, cv::Size(7, 7), 0, 0, border);
    if constexpr (kOp == kSobelX) {
      cv::Sobel(a.mat, derivative, CV_16S, 1, 0, 3, 1, 0, border);
      cv::convertScaleAbs(derivative, b.mat);
    }
    if constexpr (kOp == kLaplacian4) {
      cv::Laplacian(a.mat, derivative, CV_16S, 1, 1, 0, border);
      cv::convertScaleAbs(derivative, b.mat);
    }
    if constexpr (kOp == kBox3) cv::blur(a.mat, b.mat, cv::Size(3, 3), cv::Point(-1, -1), border);
    if constexpr (kOp == kBox31) cv::blur(a.mat, b.mat, cv::Size(31, 31), cv::Point(-1, -1), border);
    benchmark::ClobberMemory();
  }
  kb::SetBytes(state, 2 * static_cast<int64_t>(a.mat.total() * a.mat.elemSize()));
}

// The same filters on views whose rows lie 4096 + 64 bytes apart (a view of a wider image), at
// 4096x4096: set beside the rows above, they show how much of the cost at 4096 comes from rows
// exactly 4 KiB apart (aliasing of loads and stores in the low address bits) and how much from
// the memory traffic of the larger image.
template <int kOp>
void BM_PitchKelmira(benchmark::State& state) {
  const int w = static_cast<int>(state.range(0)), h = static_cast<int>(state.range(1));
  kb::Shared<ZBW8> a(w + 64, h, CV_8UC1), b(w + 64, h, CV_8UC1, 2);
  ZROI<ZBW8> in(&a.image, 0, 0, w, h), out(&b.image, 0, 0, w, h);
  for (auto _ : state) {
    if constexpr (kOp == kGauss3) LumConvolGaussian3x3(&in, &out);
    if constexpr (kOp == kBox31) LumConvolUniform(&in, &out, 15, 15);
    benchmark::ClobberMemory();
  }
  kb::SetBytes(state, 2 * static_cast<int64_t>(w) * h);
}

template <int kOp>
void BM_PitchOpenCV(benchmark::State& state) {
  const int w = static_cast<int>(state.range(0)), h = static_cast<int>(state.range(1));
  kb::Shared<ZBW8> a(w + 64, h, CV_8UC1), b(w + 64, h, CV_8UC1, 2);
  cv::Mat in = a.mat(cv::Rect(0, 0, w, h)), out = b.mat(cv::Rect(0, 0, w, h));
  cv::setNumThreads(1);
  for (auto _ : state) {
    if constexpr (kOp == kGauss3) cv::GaussianBlur(in, out, cv::Size(3, 3), 0, 0, cv::BORDER_REPLICATE);
    if constexpr (kOp == kBox31) cv::blur(in, out, cv::Size(31, 31), cv::Point(-1, -1), cv::BORDER_REPLICATE);
    benchmark::ClobberMemory();
  }
  kb::SetBytes(state, 2 * static_cast<int64_t>(w) * h);
}

BENCHMARK(BM_PitchKelmira<kGauss3>)->Name("Predefined/Gaussian3x3Pitch4160/BW8/Kelmira")->Args({4096, 4096})->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_PitchOpenCV<kGauss3>)->Name("Predefined/Gaussian3x3Pitch4160/BW8/OpenCV")->Args({4096, 4096})->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_PitchKelmira<kBox31>)->Name("Predefined/Uniform31x31Pitch4160/BW8/Kelmira")->Args({4096, 4096})->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_PitchOpenCV<kBox31>)->Name("Predefined/Uniform31x31Pitch4160/BW8/OpenCV")->Args({4096, 4096})->Unit(benchmark::kMicrosecond);

#define KELMIRA_PAIR(Type, Op, Label)                                                                   \
  BENCHMARK(BM_Kelmira<Z##Type, Op>)->Name("Predefined/" Label "/" #Type "/Kelmira")->Apply(kb::Sizes); \
  BENCHMARK(BM_OpenCV<Z##Type, Op>)->Name("Predefined/" Label "/" #Type "/OpenCV")->Apply(kb::Sizes);

KELMIRA_PAIR(BW8, kGauss3, "Gaussian3x3")
KELMIRA_PAIR(BW8, kGauss5, "Gaussian5x5")
KELMIRA_PAIR(BW8, kGauss7, "Gaussian7x7")
KELMIRA_PAIR(BW8, kSobelX, "SobelX")
KELMIRA_PAIR(BW8, kLaplacian4, "Laplacian4")
KELMIRA_PAIR(BW8, kBox3, "Uniform3x3")
KELMIRA_PAIR(BW8, kBox31, "Uniform31x31")
KELMIRA_PAIR(BW16, kGauss3, "Gaussian3x3")
KELMIRA_PAIR(BW16, kBox3, "Uniform3x3")
KELMIRA_PAIR(BW16, kBox31, "Uniform31x31")
#undef KELMIRA_PAIR

}  // namespace
