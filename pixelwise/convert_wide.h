// Wide row kernels of the convert family (pixelwise/convert_wide.cc). Each converts the longest
// prefix of the row that fills its vectors and returns how many pixels it did; the caller's
// scalar loop finishes the row. The results are those of the scalar formulas, bit for bit.
#ifndef KELMIRA_PIXELWISE_CONVERT_WIDE_H
#define KELMIRA_PIXELWISE_CONVERT_WIDE_H

#include <cstdint>

namespace kelmira::convert {

int WideGrayToC24(const uint8_t* gray, uint8_t* colour, int width);
int WideC24ToGray(const uint8_t* colour, uint8_t* gray, int width);
// pixel << shift, for shift below 16.
int WideBW8ToBW16(const uint8_t* source, uint16_t* destination, int width, unsigned shift);
// (pixel >> shift) & 0xff, for shift below 16.
int WideBW16ToBW8(const uint16_t* source, uint8_t* destination, int width, unsigned shift);
int WideBW8ToFloat(const uint8_t* source, float* destination, int width);
int WideTo422(const uint8_t* source, uint16_t* destination, int width);

}  // namespace kelmira::convert

#endif  // KELMIRA_PIXELWISE_CONVERT_WIDE_H
