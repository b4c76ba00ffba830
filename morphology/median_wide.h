// Wide row kernel of the 3x3 median (morphology/median_wide.cc).
#ifndef KELMIRA_MORPHOLOGY_MEDIAN_WIDE_H
#define KELMIRA_MORPHOLOGY_MEDIAN_WIDE_H

#include <cstdint>

namespace kelmira::median {
// out[x] = median of the 3x3 block a/b/c[x .. x + 2], x in [0, n): the three rows are padded by
// one pixel on each side.
void WideMedianRow(const uint8_t* a, const uint8_t* b, const uint8_t* c, uint8_t* out, int n);
}  // namespace kelmira::median

#endif  // KELMIRA_MORPHOLOGY_MEDIAN_WIDE_H
