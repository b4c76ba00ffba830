// The moment functions over a range of a 256-bin histogram, which the pixel statistics read.
#include "thresholds/histogram_moments.h"

#include <cstdint>

#include "foundation/frame.h"

namespace kelmira::histogram {
namespace {

// The checks both functions share: 256 bins (1613), a range inside them (a last bin past 255 is
// argument 5, 1015), and then N and S1 in 32-bit arithmetic, N of 0 being 1051.
bool Gather(ZBWHistogramVector* histogram, unsigned first, unsigned last, uint32_t& n, uint32_t& s1) {
  ZOk();
  if (histogram == nullptr || histogram->GetNumElements() != 256 || histogram->GetDataPtr() == nullptr)
    return frame::Fail(Z_ERROR_TABLE_SIZE);
  if (last > 255) return frame::Fail(Z_ERROR_ARGUMENT_5);
  const unsigned* bins = histogram->GetDataPtr();
  n = 0, s1 = 0;
  for (unsigned i = first; i <= last; ++i) n += bins[i], s1 += bins[i] * i;
  return n != 0 || frame::Fail(Z_ERROR_NO_VARIANCE);
}

}  // namespace

// Exported (not declared in a public header) so that their tests can reach them.
KELMIRA_API bool Moments(ZBWHistogramVector* histogram, float* mean, unsigned* count, unsigned first, unsigned last) {
  uint32_t n = 0, s1 = 0;
  if (!Gather(histogram, first, last, n, s1)) {
    ZTraceError("LumHistogramMoments ( 1)");
    return false;
  }
  if (mean != nullptr) *mean = static_cast<float>(s1) / static_cast<float>(n);
  if (count != nullptr) *count = n;
  return true;
}

KELMIRA_API bool CenteredMoments(ZBWHistogramVector* histogram, float* mean, float* variance, unsigned first,
                                 unsigned last) {
  uint32_t n = 0, s1 = 0;
  if (!Gather(histogram, first, last, n, s1)) {
    ZTraceError("LumHistogramCenteredMoments ( 2)");
    return false;
  }
  // i * i = 2 * t(i) - i with t(i) = i * (i + 1) / 2, the triangular numbers raised step by step.
  const unsigned* bins = histogram->GetDataPtr();
  double triangles = 0.0;
  uint32_t t = first * (first + 1) / 2;
  for (unsigned i = first; i <= last; ++i) {
    triangles += static_cast<double>(t) * bins[i];
    t += i + 1;
  }
  const double s2 = 2.0 * triangles - s1;
  const float m = static_cast<float>(s1) / static_cast<float>(n);
  if (mean != nullptr) *mean = m;
  if (variance != nullptr) *variance = static_cast<float>(s2 / n - static_cast<double>(m * m));
  return true;
}

}  // namespace kelmira::histogram
