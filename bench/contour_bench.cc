// Contour following beside OpenCV: the outline of one large blob (a disk of radius 400, and a
// ragged shape of about the same size) in 1920x1080 and 4096x4096 gray images. Kelmira walks
// from a start pixel on the border, testing the threshold as it goes; OpenCV's findContours
// (RETR_EXTERNAL, CHAIN_APPROX_NONE) takes the thresholded image, which is how a user of it gets
// the same outline. The counter "per_point" is the time per contour point.
#include <cmath>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "support/common.h"

namespace {

constexpr unsigned kThreshold = 128;

// The blob, gray values around 200 on a background around 40 (with noise that never crosses the
// threshold), and the same blob thresholded for OpenCV. kShape 0: disk; 1: ragged.
struct Blob {
  Blob(int width, int height, int shape) : gray(width, height, CV_8UC1), binary(height, width, CV_8UC1) {
    const double cx = width / 2.0, cy = height / 2.0;
    for (int y = 0; y < height; ++y) {
      uint8_t* g = gray.mat.ptr<uint8_t>(y);
      uint8_t* b = binary.ptr<uint8_t>(y);
      for (int x = 0; x < width; ++x) {
        const double dx = x - cx, dy = y - cy, a = std::atan2(dy, dx);
        double r = 400;
        if (shape == 1) r = 330 + 55 * std::sin(5 * a) + 25 * std::sin(17 * a + 1) + 9 * std::sin(61 * a);
        const bool in = dx * dx + dy * dy <= r * r;
        g[x] = static_cast<uint8_t>((in ? 180 : 20) + (g[x] & 63));
        b[x] = g[x] >= kThreshold ? 255 : 0;
      }
    }
    startY = height / 2;
    while (gray.mat.ptr<uint8_t>(startY)[startX] < kThreshold) ++startX;
  }
  kb::Shared<ZBW8> gray;
  cv::Mat binary;
  int startX = 0, startY = 0;
};

void PerPoint(benchmark::State& state, size_t points) {
  state.counters["per_point"] = benchmark::Counter(static_cast<double>(points),
                                                   benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

template <int kShape>
void BM_Kelmira(benchmark::State& state) {
  Blob blob(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)), kShape);
  ZPathVector path;
  for (auto _ : state) {
    LumContour(&blob.gray.image, CONTOUR_CLOCKWISE_STOP_AT_EDGE, blob.startX, blob.startY, CONTOUR_THRESHOLD_ABOVE,
               kThreshold, CONNEXITY_8, &path);
    benchmark::DoNotOptimize(path.GetDataPtr());
  }
  if (ZGetError() != Z_ERROR_NONE || !path.GetClosed()) state.SkipWithError("the contour did not close");
  PerPoint(state, path.GetNumElements());
}

template <int kShape>
void BM_OpenCV(benchmark::State& state) {
  Blob blob(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)), kShape);
  std::vector<std::vector<cv::Point>> contours;
  for (auto _ : state) {
    cv::findContours(blob.binary, contours, cv::RETR_EXTERNAL, cv::CHAIN_APPROX_NONE);
    benchmark::DoNotOptimize(contours.data());
  }
  size_t points = 0;
  for (const auto& c : contours) points += c.size();
  PerPoint(state, points);
}

BENCHMARK(BM_Kelmira<0>)->Name("Contour/Disk/Kelmira")->Apply(kb::Sizes);
BENCHMARK(BM_OpenCV<0>)->Name("Contour/Disk/OpenCV")->Apply(kb::Sizes);
BENCHMARK(BM_Kelmira<1>)->Name("Contour/Ragged/Kelmira")->Apply(kb::Sizes);
BENCHMARK(BM_OpenCV<1>)->Name("Contour/Ragged/OpenCV")->Apply(kb::Sizes);

}  // namespace
