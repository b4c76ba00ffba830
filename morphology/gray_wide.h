// Wide row kernels of the gray morphology (morphology/gray_wide.cc).
#ifndef KELMIRA_MORPHOLOGY_GRAY_WIDE_H
#define KELMIRA_MORPHOLOGY_GRAY_WIDE_H

#include <cstdint>

namespace kelmira::morpho {
// out[x] = minimum (or maximum, with `max`) of rows[0][x] .. rows[count - 1][x], x in [0, n),
// count 2 to 5. `out` may be one of the rows, or lie ahead of them in the same buffer.
void WideReduce(const uint8_t* const* rows, int count, uint8_t* out, int n, bool max);
void WideReduce(const uint16_t* const* rows, int count, uint16_t* out, int n, bool max);
}  // namespace kelmira::morpho

#endif  // KELMIRA_MORPHOLOGY_GRAY_WIDE_H
