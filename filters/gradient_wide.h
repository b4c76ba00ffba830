// Wide row kernels of the gradient-vector image and of non-maxima suppression
// (filters/gradient_wide.cc, filters/canny_wide.cc).
#ifndef KELMIRA_FILTERS_GRADIENT_WIDE_H
#define KELMIRA_FILTERS_GRADIENT_WIDE_H

#include <cstdint>

namespace kelmira::gradient {

// Pixels [x0, x0 + n) of one gradient row, whose W and E neighbours both lie in the row:
// out[x] = (uint16_t)(c[x - 1] - c[x + 1]) | (uint16_t)(north[x] - south[x]) << 16.
void WideGradientRow(const uint8_t* north, const uint8_t* c, const uint8_t* south, uint32_t* out, int x0, int n);

// magnitude[x] = ((|gx| + |gy|) >> 1) & 255 of gradient[x], x in [0, n).
void WideMagnitudeRow(const uint32_t* gradient, uint8_t* magnitude, int n);

// One row of the suppression. `above`, `here`, `below` are magnitude rows padded with one 0 on
// each side (index x + 1 is column x); x in [0, n) gets its direction code and its suppressed
// magnitude.
void WideSuppressRow(const uint32_t* gradient, const uint8_t* above, const uint8_t* here, const uint8_t* below,
                     uint32_t* direction, uint8_t* magnitude, int n);

}  // namespace kelmira::gradient

#endif  // KELMIRA_FILTERS_GRADIENT_WIDE_H
