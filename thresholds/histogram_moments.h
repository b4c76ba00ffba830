// The two moment functions over a range of a 256-bin histogram. They are internal: the pixel
// statistics read them, the histogram operators do not export them.
#ifndef KELMIRA_THRESHOLDS_HISTOGRAM_MOMENTS_H
#define KELMIRA_THRESHOLDS_HISTOGRAM_MOMENTS_H

#include "kelmira/foundation.h"
#include "kelmira/vectors.h"

namespace kelmira::histogram {

// Count N and mean S1 / N of the bins first..last (inclusive). A histogram without 256 bins sets
// 1613, an empty range 1051; either traces "LumHistogramMoments ( 1)" and returns false.
bool Moments(ZBWHistogramVector* histogram, float* mean, unsigned* count, unsigned first, unsigned last);

// Mean and variance S2 / N - mean * mean of the bins first..last, S2 formed from triangular
// numbers in double. Failures as above, traced "LumHistogramCenteredMoments ( 2)".
bool CenteredMoments(ZBWHistogramVector* histogram, float* mean, float* variance, unsigned first, unsigned last);

}  // namespace kelmira::histogram

#endif  // KELMIRA_THRESHOLDS_HISTOGRAM_MOMENTS_H
