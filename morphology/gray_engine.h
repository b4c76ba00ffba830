// The pixel engine of the gray morphology, shared by the BW8 and BW16 operators (storage uint8_t
// and uint16_t). Views have passed their checks before they get here; `source` and `destination`
// may be the same view (in place). Functions that allocate return false when they cannot, having
// written nothing.
#ifndef KELMIRA_MORPHOLOGY_GRAY_ENGINE_H
#define KELMIRA_MORPHOLOGY_GRAY_ENGINE_H

#include <cstdint>

#include "kelmira/foundation.h"

namespace kelmira::morpho {

// Minimum (or maximum) over the (2 hw + 1) x (2 hh + 1) window clipped to the ROI.
template <class T>
bool Box(const ZGenericROI* source, ZGenericROI* destination, uint32_t hw, uint32_t hh, bool max, bool wide);

// Minimum (or maximum) over the octagon of `radius` clipped to the ROI.
template <class T>
bool Disk(const ZGenericROI* source, ZGenericROI* destination, uint32_t radius, bool max, bool wide);

template <class T>
void CopyRows(const ZGenericROI* source, ZGenericROI* destination);

// One 3x3 step of the older forms on BW8, with `border` standing for every pixel outside the ROI.
// The horizontal half goes from source to destination, the vertical half in place; when its row
// buffers cannot be had the vertical half is skipped.
void BorderStep(const ZGenericROI* source, ZGenericROI* destination, int border, bool max);

}  // namespace kelmira::morpho

#endif  // KELMIRA_MORPHOLOGY_GRAY_ENGINE_H
