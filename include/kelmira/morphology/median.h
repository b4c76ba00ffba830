// Kelmira morphology: the 3x3 median of gray images.
#ifndef KELMIRA_MORPHOLOGY_MEDIAN_H
#define KELMIRA_MORPHOLOGY_MEDIAN_H

#include "kelmira/foundation.h"

// Each destination pixel is the median (the fifth of the nine values in order) of the 3x3 window
// around the source pixel. A neighbour outside the view is replaced by the nearest pixel of the
// view. A null destination, or the source itself, asks for the filter in place; views on the same
// pixels at other placements work too (the source is read before it is overwritten). The wide and
// scalar paths give the same pixels.
// Returns 0, or the error number on failure. Errors: 1400 null or void source or separate
// destination, 1402 sizes differ, 1303 no memory for the rows saved in place or the copy of an
// overlapping source. Trace "LumMedian".
KELMIRA_API short int LumMedian(ZROI<ZBW8>* source, ZROI<ZBW8>* destination);

#endif  // KELMIRA_MORPHOLOGY_MEDIAN_H
