// Kelmira morphology on packed one-bit images (ZBW1): erosion, dilation, their compounds by a box
// or a disk, and the 3x3 median, computed with bitwise logic on whole bytes.
//
// Pixels. A set bit is on. Erosion keeps a pixel on when every pixel of the window is on,
// dilation sets it when any is. The Box forms use a window of (2 x halfWidth + 1) by
// (2 x halfHeight + 1) pixels, made of 3x3 passes while both half sizes last and then passes of 3
// along the one that remains; a halfHeight of 0xFFFFFFFF (the default) means halfWidth. The Disk
// forms run radius / 2 passes of the 3x3 square, then (radius + 1) / 2 passes of the 3x3 cross
// (the square without its corners): radius 1 is the cross, 2 a square and a cross, and so on.
// The outside of the view is neutral: a window is clipped to the view, and the parent's pixels
// beside the view are never read. A window larger than the view gives the same pixels as one as
// large as the view (half sizes and radii up to 0xFFFFFFFF are accepted and cost no more passes
// than the view has columns or rows).
//
// Views. The plain forms accept views at any bit offset: an unaligned source is first copied into
// an aligned temporary (LumBW1Alignment), an unaligned destination is computed in one and written
// back bit-exactly (LumBW1UnAlignment). A null destination, or the source itself, asks for work
// in place. Bits of a destination's bytes outside the view (the parent's other pixels, the spare
// bits of each row's last byte) keep their value.
//
// Errors. The plain forms never let an exception out. A null source: 1400, traced with the
// operator's null-pointer string (below). Everything else is caught by the operator's one handler,
// which sets the number and traces the operator's string: 1400 for a void view, the foundation's
// 1402 for a destination of another size, 1303 when a temporary or a line buffer cannot be had.
// Nothing is written on a failed check.
//
// Trace strings, each "<Name> (BW1)": "LumErodeBox (BW1)", "LumDilateBox (BW1)",
// "LumOpenBox (BW1)", "LumCloseBox (BW1)", "LumWhiteTopHatBox (BW1)", "LumBlackTopHatBox (BW1)",
// "LumMorphoGradientBox (BW1)", the same seven with Disk, and "LumMedian (BW1)". The null-pointer
// exits of three operators carry another spelling: "LumWhiteTophatBox (BW1)",
// "LumWhiteTophatDisk (BW1)", "LumBlackTophatDisk (BW1)".
//
// The Aligned forms are the inner operators: both views must start on a byte
// (GetBitOffset(0, 0) == 0). They report failures by throwing Marvane::Ovidra::Exception (1400
// null source or void view, 1402 sizes, 1423 a view that does not start on a byte, 1303 memory)
// and record no trace. Hosts normally call the plain forms.
#ifndef KELMIRA_MORPHOLOGY_BW1_H
#define KELMIRA_MORPHOLOGY_BW1_H

#include "kelmira/foundation.h"

#ifndef KELMIRA_MORPHO_SAME_AS_WIDTH
#define KELMIRA_MORPHO_SAME_AS_WIDTH 0xFFFFFFFFu
#endif

// Erode, Dilate: half sizes (or radius) 0 copy the view to a separate destination; in place they
// change nothing.
// Open: erosion, then dilation of the result. Close: dilation, then erosion.
// WhiteTopHat: source XOR its opening (the on pixels that the opening removes), through a
// temporary image of the source's size. BlackTopHat: closing XOR source.
// MorphoGradient: dilation XOR erosion (the pixels within reach of an edge).
#define KELMIRA_BW1_MORPHO_FORMS(Suffix)                                                                     \
  KELMIRA_API void LumErodeBox##Suffix(ZROI<ZBW1>* source, ZROI<ZBW1>* destination, unsigned int halfWidth, \
                                       unsigned int halfHeight = KELMIRA_MORPHO_SAME_AS_WIDTH);             \
  KELMIRA_API void LumDilateBox##Suffix(ZROI<ZBW1>* source, ZROI<ZBW1>* destination, unsigned int halfWidth, \
                                        unsigned int halfHeight = KELMIRA_MORPHO_SAME_AS_WIDTH);            \
  KELMIRA_API void LumOpenBox##Suffix(ZROI<ZBW1>* source, ZROI<ZBW1>* destination, unsigned int halfWidth,   \
                                      unsigned int halfHeight = KELMIRA_MORPHO_SAME_AS_WIDTH);              \
  KELMIRA_API void LumCloseBox##Suffix(ZROI<ZBW1>* source, ZROI<ZBW1>* destination, unsigned int halfWidth,  \
                                       unsigned int halfHeight = KELMIRA_MORPHO_SAME_AS_WIDTH);             \
  KELMIRA_API void LumWhiteTopHatBox##Suffix(ZROI<ZBW1>* source, ZROI<ZBW1>* destination,                   \
                                             unsigned int halfWidth,                                         \
                                             unsigned int halfHeight = KELMIRA_MORPHO_SAME_AS_WIDTH);       \
  KELMIRA_API void LumBlackTopHatBox##Suffix(ZROI<ZBW1>* source, ZROI<ZBW1>* destination,                   \
                                             unsigned int halfWidth,                                         \
                                             unsigned int halfHeight = KELMIRA_MORPHO_SAME_AS_WIDTH);       \
  KELMIRA_API void LumMorphoGradientBox##Suffix(ZROI<ZBW1>* source, ZROI<ZBW1>* destination,                \
                                                unsigned int halfWidth,                                      \
                                                unsigned int halfHeight = KELMIRA_MORPHO_SAME_AS_WIDTH);    \
  KELMIRA_API void LumErodeDisk##Suffix(ZROI<ZBW1>* source, ZROI<ZBW1>* destination, unsigned int radius);   \
  KELMIRA_API void LumDilateDisk##Suffix(ZROI<ZBW1>* source, ZROI<ZBW1>* destination, unsigned int radius);  \
  KELMIRA_API void LumOpenDisk##Suffix(ZROI<ZBW1>* source, ZROI<ZBW1>* destination, unsigned int radius);    \
  KELMIRA_API void LumCloseDisk##Suffix(ZROI<ZBW1>* source, ZROI<ZBW1>* destination, unsigned int radius);   \
  KELMIRA_API void LumWhiteTopHatDisk##Suffix(ZROI<ZBW1>* source, ZROI<ZBW1>* destination,                  \
                                              unsigned int radius);                                          \
  KELMIRA_API void LumBlackTopHatDisk##Suffix(ZROI<ZBW1>* source, ZROI<ZBW1>* destination,                  \
                                              unsigned int radius);                                          \
  KELMIRA_API void LumMorphoGradientDisk##Suffix(ZROI<ZBW1>* source, ZROI<ZBW1>* destination,               \
                                                 unsigned int radius);

KELMIRA_BW1_MORPHO_FORMS()
KELMIRA_BW1_MORPHO_FORMS(Aligned)
#undef KELMIRA_BW1_MORPHO_FORMS

// The 3x3 median as the majority of three images built with bit logic, not a count of the nine
// pixels; it agrees with the true median on most pixels but not all. With all = above & c & below,
// any = above | c | below and most = majority(above, c, below) taken column by column (the rows
// above the first and below the last being those rows), the result is the majority of: the OR of
// `all` over the pixel and its two row neighbours, the AND of `any` over them, and the majority of
// `most` over them. The row ends follow rules of their own: on the left the first two read pixel 7
// of the row as the neighbour of pixel 0 (in a row narrower than 8 pixels that bit is spare and
// reads as 0 for the OR, 1 for the AND), the third reads the source pixel 0 itself; on the right
// the first reads 0, the second 1, the third repeats its last pixel.
// The destination may not be null (1400); it may be the source. Trace "LumMedian (BW1)".
KELMIRA_API void LumMedian(ZROI<ZBW1>* source, ZROI<ZBW1>* destination);
KELMIRA_API void LumMedianAligned(ZROI<ZBW1>* source, ZROI<ZBW1>* destination);

#endif  // KELMIRA_MORPHOLOGY_BW1_H
