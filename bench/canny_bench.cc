// The Canny detector beside cv::Canny (aperture 3, L1 gradient, the thresholds Kelmira found put
// on OpenCV's scale), the 3x3 median beside cv::medianBlur, and each stage of the detector on its
// own. The contour-growing detector has no OpenCV counterpart (its one seed threshold and its
// relative tests select other edges) and runs among the stages.
#include <algorithm>
#include <opencv2/imgproc.hpp>

#include "filters/canny_internal.h"
#include "support/common.h"

namespace {

// A scene with edges of several strengths: discs and bars on a slow ramp, with mild noise.
void Scene(kb::Shared<ZBW8>& s) {
  const int w = s.mat.cols, h = s.mat.rows;
  std::mt19937 rng(7);
  for (int y = 0; y < h; ++y) {
    uint8_t* row = s.mat.ptr<uint8_t>(y);
    for (int x = 0; x < w; ++x) {
      int v = 40 + 60 * x / w;
      for (int k = 0; k < 12; ++k) {
        const int cx = (k * 613 + 97) % w, cy = (k * 389 + 211) % h, r = 20 + (k * 37) % (h / 6);
        if ((x - cx) * (x - cx) + (y - cy) * (y - cy) < r * r) v = 90 + k * 12;
      }
      if ((x / 64 + y / 48) % 7 == 0) v += 50;
      row[x] = static_cast<uint8_t>(std::min(255, v + static_cast<int>(rng() % 9)));
    }
  }
}

// OpenCV's L1 magnitude over Kelmira's for the same edge. Kelmira smooths with [1 2 1] / 4 both
// ways, takes the central differences W - E and N - S and halves |gx| + |gy|; OpenCV's 3x3 Sobel
// is [1 2 1] across times the central difference, on the raw image. At a step of height H (the
// edges of the scene) Kelmira's smoothed row reads 0, H / 4, 3H / 4, H, so its ridge is 3H / 8
// where OpenCV's is 4H: a ratio of 32 / 3.
constexpr double kOpenCvScale = 32.0 / 3.0;

// The detector's own intermediate images, for the stage benchmarks and OpenCV's thresholds.
struct Pipeline {
  explicit Pipeline(benchmark::State& state)
      : src(state.range(0), state.range(1), CV_8UC1), dst(state.range(0), state.range(1), CV_8UC1),
        smoothed(state.range(0), state.range(1)), gradient(state.range(0), state.range(1)),
        direction(state.range(0), state.range(1)), magnitude(state.range(0), state.range(1)) {
    Scene(src);
    LumConvolGaussian3x3(&src.image, &smoothed);
    LumGradientVector(&smoothed, &gradient);
    NonMaximaSuppression(&gradient, &direction, &magnitude);
    Histogram(bins);
    kelmira::canny::FindThresholds(bins, low, high);
    if (low == 0) low = 1;
  }
  void Histogram(uint32_t* h) {
    std::fill(h, h + 256, 0u);
    for (int y = 0; y < magnitude.GetHeight(); ++y) {
      const ZBW8* row = magnitude.GetImagePtr(0, y);
      for (int x = 0; x < magnitude.GetWidth(); ++x) ++h[row[x].value];
    }
  }
  double OpenCvLow() const { return low * kOpenCvScale; }
  double OpenCvHigh() const { return high * kOpenCvScale; }
  kb::Shared<ZBW8> src, dst;
  ZImage<ZBW8> smoothed;
  ZImage<ZBW32> gradient, direction;
  ZImage<ZBW8> magnitude;
  uint32_t bins[256];
  int low = 0, high = 0;
};

// Run once per size, outside the timed loops: how far the two edge images agree. An edge pixel
// of one side counts as matched when the other side has an edge within one pixel (the central
// difference of the smoothed image and the Sobel place a step's ridge a pixel apart).
void Agreement(Pipeline& p, EDGE_FOLLOWING_MODE mode, benchmark::State& state) {
  p.dst.mat.setTo(0);
  LumCannyDetector(&p.src.image, &p.dst.image, SMOOTH_GAUSSIAN_3X3, mode);
  const cv::Mat ours = p.dst.mat != 0;
  cv::Mat theirs, nearOurs, nearTheirs;
  cv::Canny(p.src.mat, theirs, p.OpenCvLow(), p.OpenCvHigh(), 3, false);
  cv::dilate(ours, nearOurs, cv::Mat());
  cv::dilate(theirs, nearTheirs, cv::Mat());
  const double n = cv::countNonZero(ours), m = cv::countNonZero(theirs);
  state.counters["kelmira_px"] = n;
  state.counters["opencv_px"] = m;
  state.counters["kelmira_near_opencv_%"] = n > 0 ? 100.0 * cv::countNonZero(ours & nearTheirs) / n : 100.0;
  state.counters["opencv_near_kelmira_%"] = m > 0 ? 100.0 * cv::countNonZero(theirs & nearOurs) / m : 100.0;
  state.counters["low"] = p.low;
  state.counters["high"] = p.high;
}

template <EDGE_FOLLOWING_MODE kMode>
void BM_Detector_Kelmira(benchmark::State& state) {
  Pipeline p(state);
  for (auto _ : state) {
    LumCannyDetector(&p.src.image, &p.dst.image, SMOOTH_GAUSSIAN_3X3, kMode);
    benchmark::ClobberMemory();
  }
  Agreement(p, kMode, state);
}

// OpenCV's Sobel carries the smoothing across the gradient; the thresholds are Kelmira's on
// OpenCV's scale.
void BM_Detector_OpenCV(benchmark::State& state) {
  Pipeline p(state);
  for (auto _ : state) {
    cv::Canny(p.src.mat, p.dst.mat, p.OpenCvLow(), p.OpenCvHigh(), 3, false);
    benchmark::ClobberMemory();
  }
  state.counters["low"] = p.OpenCvLow();
  state.counters["high"] = p.OpenCvHigh();
}

void BM_Median_Kelmira(benchmark::State& state) {
  kb::Shared<ZBW8> a(state.range(0), state.range(1), CV_8UC1), b(state.range(0), state.range(1), CV_8UC1);
  for (auto _ : state) {
    LumMedian(&a.image, &b.image);
    benchmark::ClobberMemory();
  }
  kb::SetBytes(state, 2 * static_cast<int64_t>(a.mat.total()));
}

void BM_Median_OpenCV(benchmark::State& state) {
  kb::Shared<ZBW8> a(state.range(0), state.range(1), CV_8UC1), b(state.range(0), state.range(1), CV_8UC1);
  for (auto _ : state) {
    cv::medianBlur(a.mat, b.mat, 3);
    benchmark::ClobberMemory();
  }
  kb::SetBytes(state, 2 * static_cast<int64_t>(a.mat.total()));
}

// The stages, one at a time, on the detector's own intermediate images.
template <int kStage>
void BM_Stage(benchmark::State& state) {
  Pipeline p(state);
  ZImage<ZBW8> smoothed(state.range(0), state.range(1));
  for (auto _ : state) {
    switch (kStage) {
      case 0: LumConvolGaussian3x3(&p.src.image, &smoothed); break;
      case 1: LumGradientVector(&p.smoothed, &p.gradient); break;
      case 2: NonMaximaSuppression(&p.gradient, &p.direction, &p.magnitude); break;
      case 3: {
        uint32_t h[256];
        p.Histogram(h);
        int t1, t2;
        kelmira::canny::FindThresholds(h, t1, t2);
        benchmark::DoNotOptimize(t1 + t2);
        break;
      }
      case 4: Hysteresis(&p.magnitude, &p.dst.image, &p.direction, uint8_t(p.low), uint8_t(p.high)); break;
      case 5: ContourGrowing(&p.magnitude, &p.dst.image, &p.direction, uint8_t(p.low)); break;
      case 6: {
        int t1, t2;
        kelmira::canny::FindThresholds(p.bins, t1, t2);
        benchmark::DoNotOptimize(t1 + t2);
        break;
      }
    }
    benchmark::ClobberMemory();
  }
}

BENCHMARK(BM_Detector_Kelmira<EDGE_FOLLOWING_HYSTERESIS>)->Name("Canny/Gaussian3x3Hysteresis/Kelmira")->Apply(kb::Sizes);
BENCHMARK(BM_Detector_OpenCV)->Name("Canny/Gaussian3x3Hysteresis/OpenCV")->Apply(kb::Sizes);
BENCHMARK(BM_Detector_Kelmira<EDGE_FOLLOWING_CONTOUR_GROWING>)
    ->Name("CannyStage/DetectorContourGrowing")
    ->Apply(kb::Sizes);
BENCHMARK(BM_Median_Kelmira)->Name("Median/BW8/Kelmira")->Apply(kb::Sizes);
BENCHMARK(BM_Median_OpenCV)->Name("Median/BW8/OpenCV")->Apply(kb::Sizes);
BENCHMARK(BM_Stage<0>)->Name("CannyStage/Gaussian3x3")->Apply(kb::Sizes);
BENCHMARK(BM_Stage<1>)->Name("CannyStage/Gradient")->Apply(kb::Sizes);
BENCHMARK(BM_Stage<2>)->Name("CannyStage/NonMaximaSuppression")->Apply(kb::Sizes);
BENCHMARK(BM_Stage<3>)->Name("CannyStage/HistogramAndSearch")->Apply(kb::Sizes);
BENCHMARK(BM_Stage<6>)->Name("CannyStage/SearchOnly")->Apply(kb::Sizes);
BENCHMARK(BM_Stage<4>)->Name("CannyStage/Hysteresis")->Apply(kb::Sizes);
BENCHMARK(BM_Stage<5>)->Name("CannyStage/ContourGrowing")->Apply(kb::Sizes);

}  // namespace
