// Shared pieces of the benchmarks: images whose pixels Kelmira and OpenCV both see (a cv::Mat
// header over a ZImage's rows), random content, and the sizes every family measures.
//
// Naming, which scripts/bench_table.py relies on to pair the two sides of a row of its table:
//   BM_<Op>_<Type>_Kelmira   the Kelmira operator
//   BM_<Op>_<Type>_OpenCV    its OpenCV twin, on the same images, with the same arguments
//   BM_Memcpy_<Type>         memcpy of the same bytes: the roof of the pixel-wise operators
// <Op> is CamelCase with no underscore (Add, AbsDiff, GainOffset, ConvolSobelX, ErodeBox3);
// <Type> names the pixel types, also without underscore (BW8, C24, BW16, BW8toBW16). Both
// sides take the same ->Args / ->Apply(kb::Sizes), so "BM_Add_BW8_Kelmira/1920/1080" meets
// "BM_Add_BW8_OpenCV/1920/1080". A pixel-wise benchmark calls kb::PixelWise(state) on its
// Kelmira side (and kb::SetBytes), so that the table sets it beside memcpy of as many bytes;
// <Op> names that begin with Oper, Copy, Lut, GainOffset, Convert, Add, Subtract, AbsDiff,
// Invert, And, Or or Xor count as pixel-wise without the label.
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
