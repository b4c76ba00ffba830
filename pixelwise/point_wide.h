// Wide row kernels of the point family (pixelwise/point_wide.cc), and the per-pixel formula of
// the wide gain and offset, which the kernels use for the pixels that do not fill a vector.
#ifndef KELMIRA_PIXELWISE_POINT_WIDE_H
#define KELMIRA_PIXELWISE_POINT_WIDE_H

#include <cstdint>

namespace kelmira::point {

// One pixel of the wide BW8 gain and offset: the 16-bit product keeps its low bits, the shift is
// logical, the offset is added with signed 16-bit saturation and the sum saturates to a byte.
inline uint8_t WrappedGainOffset(uint8_t pixel, uint16_t g, int16_t o) {
  const uint16_t product = static_cast<uint16_t>(pixel * g);
  int sum = (product >> 5) + o;  // (product >> 5) <= 2047, so no saturation at the top of int16
  if (sum < -32768) sum = -32768;
  return static_cast<uint8_t>(sum < 0 ? 0 : sum > 255 ? 255 : sum);
}

// destination[i] = table[source[i]] for i < width.
void WideLutRow(const uint8_t* source, uint8_t* destination, int width, const uint8_t* table);

// destination[i] = WrappedGainOffset(source[i], g, o) for i < width.
void WideGainOffsetRow(const uint8_t* source, uint8_t* destination, int width, uint16_t g, int16_t o);

}  // namespace kelmira::point

#endif  // KELMIRA_PIXELWISE_POINT_WIDE_H
