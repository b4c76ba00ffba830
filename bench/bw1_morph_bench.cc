// Packed one-bit morphology beside OpenCV on the BW8 image of the same pixels (0 and 255): box
// erosion 3x3 and 15x15 against cv::erode with a rectangle, the median against cv::medianBlur 3.
// The scene is binary: filled discs and bars on a dark ground, with salt-and-pepper noise.
#include <opencv2/imgproc.hpp>

#include "support/common.h"

namespace {

struct Scene {
  Scene(int width, int height) : gray(width, height, CV_8UC1), bits(width, height), out(width, height) {
    std::mt19937 rng(7);
    gray.mat.setTo(0);
    for (int k = 0; k < width * height / 6000; ++k) {
      const cv::Point centre(static_cast<int>(rng() % width), static_cast<int>(rng() % height));
      if (k % 3 == 0)
        cv::rectangle(gray.mat, centre, centre + cv::Point(static_cast<int>(rng() % 60), 4 + static_cast<int>(rng() % 8)),
                      255, cv::FILLED);
      else
        cv::circle(gray.mat, centre, 3 + static_cast<int>(rng() % 25), 255, cv::FILLED);
    }
    for (int k = 0; k < width * height / 200; ++k)
      gray.mat.at<uint8_t>(static_cast<int>(rng() % height), static_cast<int>(rng() % width)) ^= 255;
    LumConvert(&gray.image, &bits);
    out8 = cv::Mat(height, width, CV_8UC1);
  }
  kb::Shared<ZBW8> gray;
  ZImage<ZBW1> bits, out;
  cv::Mat out8;
};

template <int kSide>
void BM_Erode_Kelmira(benchmark::State& state) {
  Scene s(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
  for (auto _ : state) {
    LumErodeBox(&s.bits, &s.out, kSide / 2, kSide / 2);
    benchmark::ClobberMemory();
  }
}

template <int kSide>
void BM_Erode_OpenCV(benchmark::State& state) {
  Scene s(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
  const cv::Mat element = cv::getStructuringElement(cv::MORPH_RECT, cv::Size(kSide, kSide));
  for (auto _ : state) {
    // BORDER_REPLICATE leaves the outside out of the minimum, like the neutral edges.
    cv::erode(s.gray.mat, s.out8, element, cv::Point(-1, -1), 1, cv::BORDER_REPLICATE);
    benchmark::ClobberMemory();
  }
}

void BM_Median_Kelmira(benchmark::State& state) {
  Scene s(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
  for (auto _ : state) {
    LumMedian(&s.bits, &s.out);
    benchmark::ClobberMemory();
  }
}

void BM_Median_OpenCV(benchmark::State& state) {
  Scene s(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
  for (auto _ : state) {
    cv::medianBlur(s.gray.mat, s.out8, 3);
    benchmark::ClobberMemory();
  }
}

BENCHMARK(BM_Erode_Kelmira<3>)->Name("BW1Morph/Erode3x3/Kelmira")->Apply(kb::Sizes);
BENCHMARK(BM_Erode_OpenCV<3>)->Name("BW1Morph/Erode3x3/OpenCV")->Apply(kb::Sizes);
BENCHMARK(BM_Erode_Kelmira<15>)->Name("BW1Morph/Erode15x15/Kelmira")->Apply(kb::Sizes);
BENCHMARK(BM_Erode_OpenCV<15>)->Name("BW1Morph/Erode15x15/OpenCV")->Apply(kb::Sizes);
BENCHMARK(BM_Median_Kelmira)->Name("BW1Morph/Median/Kelmira")->Apply(kb::Sizes);
BENCHMARK(BM_Median_OpenCV)->Name("BW1Morph/Median/OpenCV")->Apply(kb::Sizes);

}  // namespace
