// Wide row kernel of the 3x3 median (morphology/median_wide.cc).
#ifndef KELMIRA_MORPHOLOGY_MEDIAN_WIDE_H
#define KELMIRA_MORPHOLOGY_MEDIAN_WIDE_H

#include <cstdint>

namespace kelmira::median {
// Two output rows from four consecutive source rows r0..r3: out0[x] is the median of the 3x3
// window of rows r0..r2 around column x, out1[x] that of rows r1..r3, for x in [x0, x0 + n).
// Columns x0 - 1 and x0 + n are read, so the edge columns of a view are left to the caller.
// A null out1 skips the second row. Rows ahead0 and ahead1 (valid rows, never written) are
// prefetched over the same columns: the new rows of a later pass.
void WideMedianPair(const uint8_t* r0, const uint8_t* r1, const uint8_t* r2, const uint8_t* r3, const uint8_t* ahead0,
                    const uint8_t* ahead1, uint8_t* out0, uint8_t* out1, int x0, int n);
}  // namespace kelmira::median

#endif  // KELMIRA_MORPHOLOGY_MEDIAN_WIDE_H
