// Shared pieces of the benchmarks: images whose pixels Kelmira and OpenCV both see (a cv::Mat
// header over a ZImage's rows), random content, and the sizes every family measures.
//
// Naming, which scripts/bench_table.py relies on to pair the two sides of a row of its table.
// Either form works; the side is what differs between the two names:
//   ->Name("<Family>/<Op>/Kelmira") and ->Name("<Family>/<Op>/OpenCV")   e.g. Oper/Add/Kelmira
//   BM_<Op>_<Type>_Kelmira and BM_<Op>_<Type>_OpenCV                     e.g. BM_Lut_BW8_OpenCV
//   BM_Memcpy_<Type>: memcpy, the roof of the pixel-wise operators
// Both sides take the same ->Args / ->Apply(kb::Sizes), so "Oper/Add/Kelmira/1920/1080" meets
// "Oper/Add/OpenCV/1920/1080". A pixel-wise benchmark calls kb::SetBytes (the bytes it reads and
// writes) and, unless its name begins with Oper, Copy, Lut, GainOffset, Convert, Add, Subtract,
// AbsDiff, Invert, And, Or or Xor, kb::PixelWise(state) on its Kelmira side: the table then
// sets it beside memcpy of as many bytes.
#ifndef KELMIRA_BENCH_COMMON_H
#define KELMIRA_BENCH_COMMON_H

#include <benchmark/benchmark.h>
#include <kelmira/kelmira.h>

#include <cstdint>
#include <opencv2/core.hpp>
#include <random>

namespace kb {

// 1920x1080 and 4096x4096: register a benchmark with ->Apply(kb::Sizes).
inline void Sizes(benchmark::internal::Benchmark* b) {
  b->Args({1920, 1080})->Args({4096, 4096})->Unit(benchmark::kMicrosecond);
}

// A Kelmira image and a cv::Mat over the same pixels.
template <class T>
struct Shared {
  Shared(int width, int height, int cvType, uint32_t seed = 1) : image(width, height) {
    mat = cv::Mat(height, width, cvType, image.GetImagePtr(0, 0), static_cast<size_t>(image.GetRowPitch()));
    std::mt19937 rng(seed);
    for (int y = 0; y < height; ++y) {
      uint8_t* row = mat.ptr<uint8_t>(y);
      for (size_t i = 0; i < mat.elemSize() * static_cast<size_t>(width); ++i) row[i] = static_cast<uint8_t>(rng());
    }
  }
  ZImage<T> image;
  cv::Mat mat;
};

// Marks a benchmark as pixel-wise: the table compares it with memcpy.
inline void PixelWise(benchmark::State& state) { state.SetLabel("pixelwise"); }

// Bytes touched per iteration, so that Google Benchmark prints a bandwidth.
inline void SetBytes(benchmark::State& state, int64_t bytesPerIteration) {
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * bytesPerIteration);
}

}  // namespace kb

#endif  // KELMIRA_BENCH_COMMON_H
