// Kelmira threshold application: gray and colour images turned into labelled or binary images by
// comparing each pixel with a level that is given, chosen automatically from the histogram, or
// computed locally. Included by kelmira/thresholds.h.
//
// The `threshold` argument of LumThreshold is a fixed level when it is below the limit of its form
// (256 for BW8 -> BW8, 65536 for the others), else a LUM_THRESHOLD_MODES value resolved from the
// histogram of the whole source (relative is the fraction of the relative mode). A pixel equal to
// the level counts as above it. When the selection fails (a value that is no mode, a relative
// fraction outside 0..1), its error is reported after its own trace, the level keeps the value
// given, which lies above every pixel, and the destination is still written: every pixel gets
// `below` (0 bits for BW1). Source and destination may be the same view for every form.
#ifndef KELMIRA_THRESHOLDS_APPLY_H
#define KELMIRA_THRESHOLDS_APPLY_H

#include "kelmira/foundation.h"
#include "kelmira/thresholds/selection.h"

// BW8 -> BW8: `below` where v < level, else `above`. Errors: 1400 null or void view, 1402 sizes,
// then those of the selection. Returns 0 or the error number. Trace "LumThreshold (BW8)".
KELMIRA_API short LumThreshold(ZROI<ZBW8>* source, ZROI<ZBW8>* destination, unsigned int threshold,
                               unsigned char below, unsigned char above, float relative);
// BW16 -> BW16, the same rule; the automatic level comes from a 65536-bin histogram.
// Trace "LumThreshold (BW16)".
KELMIRA_API void LumThreshold(ZROI<ZBW16>* source, ZROI<ZBW16>* destination, unsigned int threshold, ZBW16 below,
                              ZBW16 above, float relative);

// To packed one-bit: a bit is set where v >= level, the first pixel of each group of eight in the
// high bit of its byte. A destination on a byte boundary is written directly in whole bytes (the
// spare low bits of each row's last byte become 0); one at another bit offset is filled through
// an aligned temporary, and the bits of its bytes outside the view are kept. For BW8 a fixed level may go up to
// 65535 (a level from 256 on clears every bit). Errors: 1400 null or void view, 1402 sizes, 1303 no
// memory for the temporary, those of the selection. Traces "LumThreshold (BW8 -> BW1)",
// "LumThreshold (BW16 -> BW1)".
KELMIRA_API void LumThreshold(ZROI<ZBW8>* source, ZROI<ZBW1>* destination, unsigned int threshold, float relative);
KELMIRA_API void LumThreshold(ZROI<ZBW16>* source, ZROI<ZBW1>* destination, unsigned int threshold, float relative);
// The inner level for a byte-aligned destination: no trace, failures THROW
// Marvane::Ovidra::Exception (1400, 1402, 1423 for a destination not on a byte boundary, or the
// selection's number after the destination was written). In a row whose width is not a multiple of
// 8, the last byte's bits past the row are 0.
KELMIRA_API void LumThresholdAligned(ZROI<ZBW8>* source, ZROI<ZBW1>* destination, unsigned int threshold,
                                     float relative);
KELMIRA_API void LumThresholdAligned(ZROI<ZBW16>* source, ZROI<ZBW1>* destination, unsigned int threshold,
                                     float relative);

// Three classes: `above` where v > high, else `below` where v < low, else `between`. low and high
// are not checked against each other: with high below low, the test for above comes first. Errors:
// 1400, 1402. Traces "LumDoubleThreshold ( BW8 to BW8)" (returned too), "LumDoubleThreshold ( BW16 to BW16)".
KELMIRA_API short LumDoubleThreshold(ZROI<ZBW8>* source, ZROI<ZBW8>* destination, unsigned int low,
                                     unsigned int high, unsigned char below, unsigned char between,
                                     unsigned char above);
KELMIRA_API void LumDoubleThreshold(ZROI<ZBW16>* source, ZROI<ZBW16>* destination, unsigned int low,
                                    unsigned int high, ZBW16 below, ZBW16 between, ZBW16 above);

// Colour box: `inside` where each component of the pixel (after `lookup`, when one is given) lies
// within the same components of low and high, inclusive, `outside` otherwise. The short form gives
// 255 and 0. Errors: 1400, 1402. Trace "LumThreshold ( C24 to BW8)".
KELMIRA_API void LumThreshold(ZROI<ZC24>* source, ZROI<ZBW8>* destination, ZC24 low, ZC24 high,
                              ZColorLookup* lookup, ZBW8 outside, ZBW8 inside);
KELMIRA_API void LumThreshold(ZROI<ZC24>* source, ZROI<ZBW8>* destination, ZC24 low, ZC24 high);

// A smooth map of local levels (not a binary image). `width` x `height` is the analysis window and
// the pitch of a grid of ceil(W / width) + 1 by ceil(H / height) + 1 points; each point gets the
// isodata level of the window centred on it (the selection of `mode` runs too and can fail, but its
// level is not used), and the grid is scaled onto the destination with LumScaleRotate (8 bits of
// interpolation, pivots at the origin). A window is clipped to the image; where clipping would
// leave it empty, it keeps the last row or column of the image. Errors: 1400 null or void view,
// 1402 sizes, 1014 width below 1, 1015 height below 1, 1303 no memory, then those of the selection
// and of LumScaleRotate. Trace "LumAutoAdaptiveThreshold".
KELMIRA_API void LumAutoAdaptiveThreshold(ZROI<ZBW8>* source, ZROI<ZBW8>* destination, LUM_THRESHOLD_MODES mode,
                                          int width, int height);

namespace Marvane::Ovidra::Segmentation {
// 255 where the pixel is at least the mean of the (2r + 1)^2 square around it plus `offset`, else 0,
// compared exactly in integers: v * A >= A * offset + S. r is halfSize limited to
// (min(W, H) - 1) / 2 (a negative halfSize counts as 0). Rows within r of the top or the bottom use
// the first or the last band of 2r + 1 rows, columns within r of either side the first or the last
// window. The cost does not depend on halfSize. Errors (no trace): 1400 null or void view, 1402
// sizes, 1303 no memory for the column sums.
KELMIRA_API void LumLocalMeanThreshold(const ZROI<ZBW8>* source, ZROI<ZBW8>* destination, int halfSize, int offset);
}  // namespace Marvane::Ovidra::Segmentation

#endif  // KELMIRA_THRESHOLDS_APPLY_H
