// Wide walk of the affine resampling (geometry/affine_wide.cc).
#ifndef KELMIRA_GEOMETRY_AFFINE_WIDE_H
#define KELMIRA_GEOMETRY_AFFINE_WIDE_H

#include <cstdint>

namespace kelmira::affine {

// One whole destination walk in 16.16 fixed point. Destination pixel (i, j) samples the source at
// sx = sx0 + i A + j B, sy = sy0 + i D + j E, modulo 2^32; sx0 and sy0 already hold C, F and the
// centring term.
struct Walk {
  const uint8_t* src;
  int srcPitch;  // bytes
  int w, h;      // source size in pixels
  uint8_t* dst;
  int dstPitch;
  int dw, dh;  // destination size
  uint32_t A, B, D, E;
  uint32_t sx0, sy0;
  int bits;  // 0, 4 or 8
};

// True when the wide kernels can take the walk: separate memory is the caller's test; here the
// source must have at least 4 bytes a row and 2 rows, at most 32767 pixels each way, and byte
// offsets that fit 31 bits.
bool WideFits(const Walk& walk, int pixelBytes);

// The walk with vector lanes: the same positions and the same integer arithmetic as the scalar
// walk, so the same pixels. Returns false when the processor has no wide target (nothing done).
bool WideWalk8(const Walk& walk);
bool WideWalk16(const Walk& walk);
bool WideWalk24(const Walk& walk);  // ZC24, the three components at once

}  // namespace kelmira::affine

#endif  // KELMIRA_GEOMETRY_AFFINE_WIDE_H
