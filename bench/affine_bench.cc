// Affine resampling beside cv::warpAffine (BORDER_CONSTANT 0): a turn by 7 degrees with a scale
// of 1.1 about the centre, nearest pixel (LumScaleRotate with 0 bits against INTER_NEAREST) and
// bilinear (8 and 4 bits against INTER_LINEAR), on BW8 and C24 at 1920x1080 and 4096x4096.
#include <opencv2/imgproc.hpp>

#include "support/common.h"

namespace {

constexpr float kAngle = 7.0f, kScale = 1.1f;

template <class P>
int CvType() {
  return sizeof(P) == 1 ? CV_8UC1 : CV_8UC3;
}

template <class P, int kBits>
void BM_Kelmira(benchmark::State& state) {
  const int w = static_cast<int>(state.range(0)), h = static_cast<int>(state.range(1));
  kb::Shared<P> src(w, h, CvType<P>()), dst(w, h, CvType<P>(), 2);
  ZSetAngleUnit(Z_ANGLE_UNIT_DEGREES);
  const float cx = w / 2.0f, cy = h / 2.0f;
  for (auto _ : state) {
    LumScaleRotate(&src.image, cx, cy, cx, cy, kScale, kScale, kAngle, &dst.image, kBits);
    benchmark::ClobberMemory();
  }
  kb::SetBytes(state, 2 * static_cast<int64_t>(src.mat.total() * src.mat.elemSize()));
}

template <class P, int kInterpolation>
void BM_OpenCV(benchmark::State& state) {
  const int w = static_cast<int>(state.range(0)), h = static_cast<int>(state.range(1));
  kb::Shared<P> src(w, h, CvType<P>()), dst(w, h, CvType<P>(), 2);
  // OpenCV puts pixel centres on integers: the same map about the same point.
  const cv::Mat m = cv::getRotationMatrix2D(cv::Point2f((w - 1) / 2.0f, (h - 1) / 2.0f), kAngle, kScale);
  for (auto _ : state) {
    cv::warpAffine(src.mat, dst.mat, m, dst.mat.size(), kInterpolation, cv::BORDER_CONSTANT, cv::Scalar::all(0));
    benchmark::ClobberMemory();
  }
  kb::SetBytes(state, 2 * static_cast<int64_t>(src.mat.total() * src.mat.elemSize()));
}

BENCHMARK(BM_Kelmira<ZBW8, 0>)->Name("Affine/Nearest/BW8/Kelmira")->Apply(kb::Sizes);
BENCHMARK(BM_OpenCV<ZBW8, cv::INTER_NEAREST>)->Name("Affine/Nearest/BW8/OpenCV")->Apply(kb::Sizes);
BENCHMARK(BM_Kelmira<ZBW8, 8>)->Name("Affine/Linear/BW8/Kelmira")->Apply(kb::Sizes);
BENCHMARK(BM_OpenCV<ZBW8, cv::INTER_LINEAR>)->Name("Affine/Linear/BW8/OpenCV")->Apply(kb::Sizes);
BENCHMARK(BM_Kelmira<ZBW8, 4>)->Name("Affine/Linear4/BW8/Kelmira")->Apply(kb::Sizes);
BENCHMARK(BM_OpenCV<ZBW8, cv::INTER_LINEAR>)->Name("Affine/Linear4/BW8/OpenCV")->Apply(kb::Sizes);
BENCHMARK(BM_Kelmira<ZC24, 0>)->Name("Affine/Nearest/C24/Kelmira")->Apply(kb::Sizes);
BENCHMARK(BM_OpenCV<ZC24, cv::INTER_NEAREST>)->Name("Affine/Nearest/C24/OpenCV")->Apply(kb::Sizes);
BENCHMARK(BM_Kelmira<ZC24, 8>)->Name("Affine/Linear/C24/Kelmira")->Apply(kb::Sizes);
BENCHMARK(BM_OpenCV<ZC24, cv::INTER_LINEAR>)->Name("Affine/Linear/C24/OpenCV")->Apply(kb::Sizes);

}  // namespace
