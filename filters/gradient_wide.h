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

// The detector's fused route, on gradients of BW8 pixels (|gx|, |gy| <= 255) in 16-bit lanes.
// Pixels [x0, x0 + n) whose W and E neighbours lie in the row: the magnitude (|gx| + |gy|) >> 1
// into magnitude[x] and the index of the direction code (0, 45, 90, 135 as 0..3) into index[x].
void WideGradientIndexRow(const uint8_t* north, const uint8_t* c, const uint8_t* south, uint8_t* magnitude,
                          uint8_t* index, int x0, int n);
// WideSuppressRow with direction indices in place of the gradient; writes only the magnitude.
void WideSuppressIndexRow(const uint8_t* index, const uint8_t* above, const uint8_t* here, const uint8_t* below,
                          uint8_t* magnitude, int n);

// The first x in [0, n) with p[x] >= v, or n if there is none.
int WideFindAtLeast(const uint8_t* p, int n, int v);

}  // namespace kelmira::gradient

#endif  // KELMIRA_FILTERS_GRADIENT_WIDE_H
