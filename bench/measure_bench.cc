// Measurement beside OpenCV on the same BW8 pixels, single thread: mean, mean and deviation,
// extremes, a thresholded count, the L2 difference of two images, and the moments of a binary and
// of a gray image.
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <immintrin.h>

#include "support/common.h"

namespace {

using Image = kb::Shared<ZBW8>;

// Two random images of the benchmark's size; body(a, b) is what is timed.
template <class F>
void Loop(benchmark::State& state, F&& body) {
  Image a(state.range(0), state.range(1), CV_8UC1, 1), b(state.range(0), state.range(1), CV_8UC1, 2);
  for (auto _ : state) body(a, b);
  kb::SetBytes(state, static_cast<int64_t>(state.range(0)) * state.range(1));
}

#define KELMIRA_MEASURE_BENCH(Op, Side, ...) \
  void BM_##Op##_##Side(benchmark::State& state) { Loop(state, __VA_ARGS__); } \
  BENCHMARK(BM_##Op##_##Side)->Name("Measure/" #Op "/" #Side)->Apply(kb::Sizes);

KELMIRA_MEASURE_BENCH(Average, Kelmira, [](Image& a, Image&) {
  float average;
  LumPixelAverage(&a.image, average);
  benchmark::DoNotOptimize(average);
})
KELMIRA_MEASURE_BENCH(Average, OpenCV, [](Image& a, Image&) { benchmark::DoNotOptimize(cv::mean(a.mat)); })

KELMIRA_MEASURE_BENCH(StdDev, Kelmira, [](Image& a, Image&) {
  float deviation, average;
  LumPixelStdDev(&a.image, deviation, average);
  benchmark::DoNotOptimize(deviation);
})
KELMIRA_MEASURE_BENCH(StdDev, OpenCV, [](Image& a, Image&) {
  cv::Scalar mean, deviation;
  cv::meanStdDev(a.mat, mean, deviation);
  benchmark::DoNotOptimize(deviation);
})

KELMIRA_MEASURE_BENCH(Stat, Kelmira, [](Image& a, Image&) {
  unsigned char lo, hi;
  float average;
  LumPixelStat(&a.image, lo, hi, average);
  benchmark::DoNotOptimize(average);
})
KELMIRA_MEASURE_BENCH(Stat, OpenCV, [](Image& a, Image&) {
  double lo, hi;
  cv::minMaxLoc(a.mat, &lo, &hi);
  benchmark::DoNotOptimize(hi);
})

KELMIRA_MEASURE_BENCH(Area, Kelmira, [](Image& a, Image&) {
  int area;
  LumArea(&a.image, 128, area);
  benchmark::DoNotOptimize(area);
})
KELMIRA_MEASURE_BENCH(Area, OpenCV, [](Image& a, Image&) { benchmark::DoNotOptimize(cv::countNonZero(a.mat >= 128)); })

KELMIRA_MEASURE_BENCH(RmsNoise, Kelmira, [](Image& a, Image& b) {
  benchmark::DoNotOptimize(LumRmsNoise(&a.image, &b.image, LUM_REFERENCE_NOISE_NONE));
})
KELMIRA_MEASURE_BENCH(RmsNoise, OpenCV,
                      [](Image& a, Image& b) { benchmark::DoNotOptimize(cv::norm(a.mat, b.mat, cv::NORM_L2)); })

KELMIRA_MEASURE_BENCH(BinaryMoments, Kelmira, [](Image& a, Image&) {
  float m, mx, my, mxx, mxy, myy;
  LumBinaryMoments(&a.image, 128, m, mx, my, mxx, mxy, myy);
  benchmark::DoNotOptimize(mxy);
})
KELMIRA_MEASURE_BENCH(BinaryMoments, OpenCV, [](Image& a, Image&) { benchmark::DoNotOptimize(cv::moments(a.mat, true)); })

KELMIRA_MEASURE_BENCH(WeightedMoments, Kelmira, [](Image& a, Image&) {
  float m, mx, my, mxx, mxy, myy;
  LumWeightedMoments(&a.image, m, mx, my, mxx, mxy, myy);
  benchmark::DoNotOptimize(mxy);
})
KELMIRA_MEASURE_BENCH(WeightedMoments, OpenCV,
                      [](Image& a, Image&) { benchmark::DoNotOptimize(cv::moments(a.mat, false)); })

// The floor of the one-pass statistics: a bare loop that reads the same bytes 256 at a time with
// AVX-512 and only sums them, as fast as the caches and memory give them.
#if defined(__x86_64__)
__attribute__((target("avx512bw"))) uint64_t BareSum(const uint8_t* p, size_t n) {
  const __m512i zero = _mm512_setzero_si512();
  __m512i s0 = zero, s1 = zero, s2 = zero, s3 = zero;
  for (size_t i = 0; i + 256 <= n; i += 256) {
    s0 = _mm512_add_epi64(s0, _mm512_sad_epu8(_mm512_loadu_si512(p + i), zero));
    s1 = _mm512_add_epi64(s1, _mm512_sad_epu8(_mm512_loadu_si512(p + i + 64), zero));
    s2 = _mm512_add_epi64(s2, _mm512_sad_epu8(_mm512_loadu_si512(p + i + 128), zero));
    s3 = _mm512_add_epi64(s3, _mm512_sad_epu8(_mm512_loadu_si512(p + i + 192), zero));
  }
  alignas(64) uint64_t lanes[8];
  _mm512_store_si512(lanes, _mm512_add_epi64(_mm512_add_epi64(s0, s1), _mm512_add_epi64(s2, s3)));
  uint64_t total = 0;
  for (uint64_t lane : lanes) total += lane;
  return total;
}
#endif
void BM_ReadFloor(benchmark::State& state) {
  Image a(state.range(0), state.range(1), CV_8UC1, 1);
  const size_t n = a.mat.total();
#if defined(__x86_64__)
  if (__builtin_cpu_supports("avx512bw")) {
    for (auto _ : state) benchmark::DoNotOptimize(BareSum(a.mat.data, n));
    kb::SetBytes(state, static_cast<int64_t>(n));
    return;
  }
#endif
  for (auto _ : state) state.SkipWithError("no AVX-512");
}
BENCHMARK(BM_ReadFloor)->Name("Floor/ReadBytes")->Apply(kb::Sizes);

}  // namespace
