// Pixel format conversion beside OpenCV on the same pixels: colour to gray and back against
// cvtColor, BW8 to BW16 and to float against convertTo.
#include <opencv2/imgproc.hpp>

#include "support/common.h"

namespace {

template <class S, class D>
struct Pair {
  Pair(benchmark::State& state, int cvSource, int cvDestination)
      : source(state.range(0), state.range(1), cvSource), destination(state.range(0), state.range(1), cvDestination) {}
  kb::Shared<S> source;
  kb::Shared<D> destination;
  int64_t Bytes() const {
    return static_cast<int64_t>(source.mat.total()) * (source.mat.elemSize() + destination.mat.elemSize());
  }
};

void BM_LumConvert_C24ToBW8(benchmark::State& state) {
  Pair<ZC24, ZBW8> p(state, CV_8UC3, CV_8UC1);
  for (auto _ : state) {
    LumConvert(&p.source.image, &p.destination.image);
    benchmark::ClobberMemory();
  }
  kb::SetBytes(state, p.Bytes());
}
BENCHMARK(BM_LumConvert_C24ToBW8)->Name("Convert/C24ToBW8/Kelmira")->Apply(kb::Sizes);

void BM_OpenCV_BGR2GRAY(benchmark::State& state) {
  Pair<ZC24, ZBW8> p(state, CV_8UC3, CV_8UC1);
  for (auto _ : state) {
    cv::cvtColor(p.source.mat, p.destination.mat, cv::COLOR_BGR2GRAY);
    benchmark::ClobberMemory();
  }
  kb::SetBytes(state, p.Bytes());
}
BENCHMARK(BM_OpenCV_BGR2GRAY)->Name("Convert/C24ToBW8/OpenCV")->Apply(kb::Sizes);

void BM_LumConvert_BW8ToC24(benchmark::State& state) {
  Pair<ZBW8, ZC24> p(state, CV_8UC1, CV_8UC3);
  for (auto _ : state) {
    LumConvert(&p.source.image, &p.destination.image);
    benchmark::ClobberMemory();
  }
  kb::SetBytes(state, p.Bytes());
}
BENCHMARK(BM_LumConvert_BW8ToC24)->Name("Convert/BW8ToC24/Kelmira")->Apply(kb::Sizes);

void BM_OpenCV_GRAY2BGR(benchmark::State& state) {
  Pair<ZBW8, ZC24> p(state, CV_8UC1, CV_8UC3);
  for (auto _ : state) {
    cv::cvtColor(p.source.mat, p.destination.mat, cv::COLOR_GRAY2BGR);
    benchmark::ClobberMemory();
  }
  kb::SetBytes(state, p.Bytes());
}
BENCHMARK(BM_OpenCV_GRAY2BGR)->Name("Convert/BW8ToC24/OpenCV")->Apply(kb::Sizes);

void BM_LumConvert_BW8ToBW16(benchmark::State& state) {
  Pair<ZBW8, ZBW16> p(state, CV_8UC1, CV_16UC1);
  for (auto _ : state) {
    LumConvert(&p.source.image, &p.destination.image, 0u);
    benchmark::ClobberMemory();
  }
  kb::SetBytes(state, p.Bytes());
}
BENCHMARK(BM_LumConvert_BW8ToBW16)->Name("Convert/BW8ToBW16/Kelmira")->Apply(kb::Sizes);

void BM_OpenCV_ConvertTo16U(benchmark::State& state) {
  Pair<ZBW8, ZBW16> p(state, CV_8UC1, CV_16UC1);
  for (auto _ : state) {
    p.source.mat.convertTo(p.destination.mat, CV_16U);
    benchmark::ClobberMemory();
  }
  kb::SetBytes(state, p.Bytes());
}
BENCHMARK(BM_OpenCV_ConvertTo16U)->Name("Convert/BW8ToBW16/OpenCV")->Apply(kb::Sizes);

void BM_LumConvert_BW8ToFloat(benchmark::State& state) {
  Pair<ZBW8, ZFLOAT32> p(state, CV_8UC1, CV_32FC1);
  for (auto _ : state) {
    LumConvert(&p.source.image, &p.destination.image);
    benchmark::ClobberMemory();
  }
  kb::SetBytes(state, p.Bytes());
}
BENCHMARK(BM_LumConvert_BW8ToFloat)->Name("Convert/BW8ToFloat/Kelmira")->Apply(kb::Sizes);

void BM_OpenCV_ConvertTo32F(benchmark::State& state) {
  Pair<ZBW8, ZFLOAT32> p(state, CV_8UC1, CV_32FC1);
  for (auto _ : state) {
    p.source.mat.convertTo(p.destination.mat, CV_32F);
    benchmark::ClobberMemory();
  }
  kb::SetBytes(state, p.Bytes());
}
BENCHMARK(BM_OpenCV_ConvertTo32F)->Name("Convert/BW8ToFloat/OpenCV")->Apply(kb::Sizes);

}  // namespace
