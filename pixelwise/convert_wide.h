// Wide row kernels of the convert family (pixelwise/convert_wide.cc), and the per-pixel formulas
// that both the scalar loops and the kernels use. Each kernel converts a prefix of the row and
// returns how many pixels it did; the caller's scalar loop finishes the row. The results are
// those of the scalar formulas, bit for bit.
//
// `stream` asks for stores that bypass the caches, for images much larger than the last-level
// cache, where they save the read of each destination line before it is written. The kernels
// then do a few pixels one by one until the destination is aligned for such stores.
#ifndef KELMIRA_PIXELWISE_CONVERT_WIDE_H
#define KELMIRA_PIXELWISE_CONVERT_WIDE_H

#include <cstddef>
#include <cstdint>

namespace kelmira::convert {

// Gray of a C24 pixel: ((b0 + b1 + b2) * 85) >> 8, a near mean (white gives 254).
inline uint8_t GrayOfC24(const uint8_t* b) { return static_cast<uint8_t>(((b[0] + b[1] + b[2]) * 85) >> 8); }

// Source plus destination bytes above which the kernels stream their stores.
constexpr size_t kStreamBytes = size_t{48} << 20;

int WideGrayToC24(const uint8_t* gray, uint8_t* colour, int width, bool stream);
int WideC24ToGray(const uint8_t* colour, uint8_t* gray, int width, bool stream);
// pixel << shift, for shift below 16.
int WideBW8ToBW16(const uint8_t* source, uint16_t* destination, int width, unsigned shift);
// (pixel >> shift) & 0xff, for shift below 16.
int WideBW16ToBW8(const uint16_t* source, uint8_t* destination, int width, unsigned shift);
int WideBW8ToFloat(const uint8_t* source, float* destination, int width, bool stream);
int WideTo422(const uint8_t* source, uint16_t* destination, int width);

}  // namespace kelmira::convert

#endif  // KELMIRA_PIXELWISE_CONVERT_WIDE_H
