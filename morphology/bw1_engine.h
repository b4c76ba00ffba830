// The pixel engine of the packed one-bit morphology (morphology/bw1_engine.cc). Views are aligned
// and checked before they get here; `source` and `destination` may be one view (in place). A
// failed allocation throws Marvane::Ovidra::Exception with 1303.
#ifndef KELMIRA_MORPHOLOGY_BW1_ENGINE_H
#define KELMIRA_MORPHOLOGY_BW1_ENGINE_H

#include <cstdint>

#include "kelmira/foundation.h"
#include "morphology/bw1_rows.h"

namespace kelmira::bw1m {

// The bits of a row's last byte that hold pixels of a row of `width` pixels.
inline uint8_t LastMask(int width) {
  const int r = width & 7;
  return r == 0 ? 0xFF : static_cast<uint8_t>(0xFF << (8 - r));
}

// The erosion (dilation with `max`) by a (2 hw + 1) x (2 hh + 1) box, as square passes while both
// half sizes last, then passes along the one that remains. Both 0: nothing runs.
void Box(const ZROI<ZBW1>* source, ZROI<ZBW1>* destination, uint32_t hw, uint32_t hh, bool max);

// The erosion (dilation) by the octagon of `radius`: radius / 2 square passes, then
// (radius + 1) / 2 cross passes. 0: nothing runs.
void Disk(const ZROI<ZBW1>* source, ZROI<ZBW1>* destination, uint32_t radius, bool max);

// The 3x3 bit-logic median.
void Median(const ZROI<ZBW1>* source, ZROI<ZBW1>* destination);

}  // namespace kelmira::bw1m

#endif  // KELMIRA_MORPHOLOGY_BW1_ENGINE_H
