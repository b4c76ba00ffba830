// Wide row kernels of the 3x3 median (morphology/median_wide.cc).
#ifndef KELMIRA_MORPHOLOGY_MEDIAN_WIDE_H
#define KELMIRA_MORPHOLOGY_MEDIAN_WIDE_H

#include <cstdint>

namespace kelmira::median {
// Each column of three sorted: lo[x] <= mid[x] <= hi[x] are a[x], b[x], c[x] in order, x in [0, n).
void WideSortColumns(const uint8_t* a, const uint8_t* b, const uint8_t* c, uint8_t* lo, uint8_t* mid, uint8_t* hi,
                     int n);
// out[x] = median of the nine values of sorted columns x .. x + 2, x in [0, n): the largest of
// the three lows, the median of the middles and the smallest of the highs, in their median.
void WideMedianOfColumns(const uint8_t* lo, const uint8_t* mid, const uint8_t* hi, uint8_t* out, int n);
}  // namespace kelmira::median

#endif  // KELMIRA_MORPHOLOGY_MEDIAN_WIDE_H
