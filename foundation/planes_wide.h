// Wide row kernels of the colour plane copies (foundation/planes_wide.cc).
#ifndef KELMIRA_FOUNDATION_PLANES_WIDE_H
#define KELMIRA_FOUNDATION_PLANES_WIDE_H

#include <cstdint>

namespace kelmira {
void WideGetComponentRow(const uint8_t* colour, uint8_t* gray, int width, unsigned component);
void WideSetComponentRow(const uint8_t* gray, uint8_t* colour, int width, unsigned component);
}  // namespace kelmira

#endif  // KELMIRA_FOUNDATION_PLANES_WIDE_H
