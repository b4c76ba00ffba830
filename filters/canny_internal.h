// Pieces of the Canny detector that the tests reach directly (filters/canny.cc).
#ifndef KELMIRA_FILTERS_CANNY_INTERNAL_H
#define KELMIRA_FILTERS_CANNY_INTERNAL_H

#include <cstdint>

#include "kelmira/foundation.h"

namespace kelmira::canny {

// The direction code (0, 45, 90, 135) of a gradient, by the comparisons in double.
KELMIRA_API int DirectionCode(int gx, int gy);

// The three-class search over a 256-bin histogram: t1 and t2, both 0 when no pair has three
// non-empty classes. `low` is not yet raised from 0 to 1.
KELMIRA_API void FindThresholds(const uint32_t* histogram, int& t1, int& t2);

// True unless a, b and c are views with pixels, all of one size: the stages then do nothing.
bool Unusable(const ZGenericROI* a, const ZGenericROI* b, const ZGenericROI* c);

// The detector's edge following over its own images: `index` holds the direction index (0..3 for
// the codes 0, 45, 90, 135) of each pixel and its top bit is free for the visited mark. Growing
// takes `low` as its seed threshold. False when its memory could not be had (growing keeps what
// it had grown).
bool FollowIndexed(ZROI<ZBW8>* magnitude, ZROI<ZBW8>* destination, ZROI<ZBW8>* index, bool growing, int low,
                   int high);

}  // namespace kelmira::canny

#endif  // KELMIRA_FILTERS_CANNY_INTERNAL_H
