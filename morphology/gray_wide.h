// Wide row kernels of the gray morphology (morphology/gray_wide.cc).
#ifndef KELMIRA_MORPHOLOGY_GRAY_WIDE_H
#define KELMIRA_MORPHOLOGY_GRAY_WIDE_H

#include <cstdint>

namespace kelmira::morpho {
// out[x] = minimum (or maximum, with `max`) of rows[0][x] .. rows[count - 1][x], x in [0, n),
// count 2 to 8. `out` may be one of the rows, or lie ahead of them in the same buffer.
void WideReduce(const uint8_t* const* rows, int count, uint8_t* out, int n, bool max);
void WideReduce(const uint16_t* const* rows, int count, uint16_t* out, int n, bool max);
// One row of the running window: out = min(slot, prefix) (slot alone when `first`), then
// prefix = min(prefix, raw) (raw alone when `first`), then slot = raw.
void WideRunningStep(uint8_t* slot, uint8_t* prefix, const uint8_t* raw, uint8_t* out, int n, bool max, bool first);
void WideRunningStep(uint16_t* slot, uint16_t* prefix, const uint16_t* raw, uint16_t* out, int n, bool max,
                     bool first);
}  // namespace kelmira::morpho

#endif  // KELMIRA_MORPHOLOGY_GRAY_WIDE_H
