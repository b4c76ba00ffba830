// memcpy of a whole image: the bandwidth roof of the pixel-wise operators.
#include <cstring>

#include "support/common.h"

namespace {
void BM_Memcpy_BW8(benchmark::State& state) {
  kb::Shared<ZBW8> a(state.range(0), state.range(1), CV_8UC1), b(state.range(0), state.range(1), CV_8UC1);
  const size_t bytes = static_cast<size_t>(a.image.GetRowPitch()) * a.image.GetHeight();
  for (auto _ : state) {
    std::memcpy(b.image.GetImagePtr(0, 0), a.image.GetImagePtr(0, 0), bytes);
    benchmark::ClobberMemory();
  }
  kb::SetBytes(state, 2 * static_cast<int64_t>(bytes));
}
BENCHMARK(BM_Memcpy_BW8)->Apply(kb::Sizes);
}  // namespace
