// The fill and row-copy workers behind LumCopy and the copy forms of LumOper (pixelwise/copy.cc).
#ifndef KELMIRA_PIXELWISE_COPY_WORKERS_H
#define KELMIRA_PIXELWISE_COPY_WORKERS_H

#include "kelmira/foundation.h"

namespace kelmira::oper {

// Checks `destination` (1400), then writes the `pixelBytes` bytes at `pixel` to every pixel.
void FillWorker(const void* pixel, int pixelBytes, ZGenericROI* destination);
// Checks both views (1400, 1402), then copies the rows of `source` into `destination`.
void CopyWorker(const ZGenericROI* source, ZGenericROI* destination);

}  // namespace kelmira::oper

#endif  // KELMIRA_PIXELWISE_COPY_WORKERS_H
