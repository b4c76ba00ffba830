// Wide row kernel of the 3x3 median (morphology/median_wide.cc).
#ifndef KELMIRA_MORPHOLOGY_MEDIAN_WIDE_H
#define KELMIRA_MORPHOLOGY_MEDIAN_WIDE_H

#include <cstdint>

namespace kelmira::median {
// `count` (2 or 4) output rows from count + 2 consecutive source rows: out[i][x] is the median of
// the 3x3 window of rows rows[i]..rows[i + 2] around column x, for x in [x0, x0 + n). Columns
// x0 - 1 and x0 + n are read, so the edge columns of a view are left to the caller. A null out[i]
// skips that row. Rows ahead[0 .. count) (valid rows, never written) are prefetched over the
// same columns: the new rows of a later pass.
void WideMedianBand(const uint8_t* const* rows, const uint8_t* const* ahead, uint8_t* const* out, int count, int x0,
                    int n);
}  // namespace kelmira::median

#endif  // KELMIRA_MORPHOLOGY_MEDIAN_WIDE_H
