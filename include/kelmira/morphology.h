// Kelmira morphology operators: gray-level erosion, dilation and their compounds.
//
// Erosion is the minimum over a window, dilation the maximum; pixels compare as unsigned values of
// their width. The Box forms use a window of (2 x halfWidth + 1) by (2 x halfHeight + 1) pixels;
// a halfHeight of 0xFFFFFFFF (the default) means the same as halfWidth. The Disk forms use the
// octagon of all offsets (dx, dy) with max(|dx| - a, 0) + max(|dy| - a, 0) <= b, where
// a = radius / 2 and b = (radius + 1) / 2 (rounded down): radius 1 is the 5-pixel cross, radius 2
// a 21-pixel octagon, and so on. In every Box and Disk form the window is clipped to the ROI: pixels
// outside it (even where the parent image has them) are never read and take no part.
//
// A null destination, or the source itself, asks for work in place, except where noted. A
// separate destination must not be void and must have the source's size.
//
// Errors: 1400 for a null or void source (or destination, where it is checked), the foundation's
// 1402 for a destination of another size, 1303 when a work buffer cannot be had, 1413 where a
// separate destination is required. On failure the operator's trace word (given with each
// operator) is appended to the thread's trace.
//
// Traces after success. A successful Box or Disk erosion or dilation leaves the error state clear
// but may leave one trace entry: the word of its last elementary pass, since the 1-D and cross
// passes record their word on every exit. That is "LumErodeX (BW8)" / "LumErodeX (BW16)" when
// halfWidth exceeds halfHeight, "LumErodeY ( BW8)" / "LumErodeY ( BW16)" when halfHeight exceeds
// halfWidth, nothing for a square box, and "LumErodeXY (BW8)" / "LumErodeXY (BW16)" for a disk of
// radius 1 or more (with Dilate for dilations). Open and close leave what their second half leaves;
// top hats and gradients leave a clear trace.
#ifndef KELMIRA_MORPHOLOGY_H
#define KELMIRA_MORPHOLOGY_H

#include "kelmira/foundation.h"
#include "kelmira/morphology/thin.h"

#define KELMIRA_MORPHO_SAME_AS_WIDTH 0xFFFFFFFFu

// ----- Box and disk forms, on ZBW8, ZBW16 and ZC24 -----
//
// Trace words: BW8 "LumErodeBox", BW16 "LumErodeBox (BW16)", C24 "LumErodeBox ( C24)", and the
// same pattern for LumDilateBox, LumOpenBox, LumCloseBox, LumMorphoGradientBox, LumErodeDisk,
// LumDilateDisk, LumCloseDisk, LumMorphoGradientDisk. Exceptions: the BW8 top hats carry "(BW8)"
// ("LumWhiteTopHatBox (BW8)", "LumBlackTopHatDisk (BW8)", ...), and the BW8 opening by a disk is
// "LumOpenDisk " with a trailing blank.
//
// Erode/Dilate: a size-0 window copies (in place: nothing happens).
// Open: erosion then dilation of the result. Close: dilation then erosion.
// WhiteTopHat: source minus its opening, stopping at 0. BlackTopHat: closing minus source.
// MorphoGradient: dilation minus erosion. The gradient checks only the size of a non-null
// destination, not its emptiness (a void destination then fails in the dilation).
// C24: each of the three components is processed as a gray image in turn (0, 1, 2); a failure
// stops at the component where it happens, earlier ones stay written. The C24 top hats refuse a
// null or equal destination with 1413. A separate C24 destination gets a size check only.

#define KELMIRA_MORPHO_BOX_FAMILY(T)                                                                \
  KELMIRA_API void LumErodeBox(ZROI<T>* source, ZROI<T>* destination, unsigned int halfWidth,          \
                               unsigned int halfHeight = KELMIRA_MORPHO_SAME_AS_WIDTH);                \
  KELMIRA_API void LumDilateBox(ZROI<T>* source, ZROI<T>* destination, unsigned int halfWidth,         \
                                unsigned int halfHeight = KELMIRA_MORPHO_SAME_AS_WIDTH);               \
  KELMIRA_API void LumOpenBox(ZROI<T>* source, ZROI<T>* destination, unsigned int halfWidth,           \
                              unsigned int halfHeight = KELMIRA_MORPHO_SAME_AS_WIDTH);                 \
  KELMIRA_API void LumCloseBox(ZROI<T>* source, ZROI<T>* destination, unsigned int halfWidth,          \
                               unsigned int halfHeight = KELMIRA_MORPHO_SAME_AS_WIDTH);                \
  KELMIRA_API void LumWhiteTopHatBox(ZROI<T>* source, ZROI<T>* destination, unsigned int halfWidth,    \
                                     unsigned int halfHeight = KELMIRA_MORPHO_SAME_AS_WIDTH);          \
  KELMIRA_API void LumBlackTopHatBox(ZROI<T>* source, ZROI<T>* destination, unsigned int halfWidth,    \
                                     unsigned int halfHeight = KELMIRA_MORPHO_SAME_AS_WIDTH);          \
  KELMIRA_API void LumMorphoGradientBox(ZROI<T>* source, ZROI<T>* destination, unsigned int halfWidth, \
                                        unsigned int halfHeight = KELMIRA_MORPHO_SAME_AS_WIDTH);       \
  KELMIRA_API void LumErodeDisk(ZROI<T>* source, ZROI<T>* destination, unsigned int radius);           \
  KELMIRA_API void LumDilateDisk(ZROI<T>* source, ZROI<T>* destination, unsigned int radius);          \
  KELMIRA_API void LumOpenDisk(ZROI<T>* source, ZROI<T>* destination, unsigned int radius);            \
  KELMIRA_API void LumCloseDisk(ZROI<T>* source, ZROI<T>* destination, unsigned int radius);           \
  KELMIRA_API void LumWhiteTopHatDisk(ZROI<T>* source, ZROI<T>* destination, unsigned int radius);     \
  KELMIRA_API void LumBlackTopHatDisk(ZROI<T>* source, ZROI<T>* destination, unsigned int radius);     \
  KELMIRA_API void LumMorphoGradientDisk(ZROI<T>* source, ZROI<T>* destination, unsigned int radius);

KELMIRA_MORPHO_BOX_FAMILY(ZBW8)
KELMIRA_MORPHO_BOX_FAMILY(ZBW16)
KELMIRA_MORPHO_BOX_FAMILY(ZC24)
#undef KELMIRA_MORPHO_BOX_FAMILY

// ----- Older forms with a border value, on ZBW8 and ZC24 -----
//
// `passes` 3x3 square steps (0 or less: nothing is written and the call succeeds); the first goes
// from source to destination, the rest in place on the destination (null destination: 1400).
// Pixels outside the ROI take the value `border`, which takes part in the minimum or maximum:
// border 255 for an erosion and 0 for a dilation agree with the box forms, any other value eats
// into the image from its edges. The comparison is made on the border as a signed 32-bit number
// and the result is stored cut to 8 bits. A ROI of height 1 reads and writes its own row only.
// The compounds take the border of their first half and of their second half.
//
// BW8 forms return 0 on success and the error number on failure. Traces: "LumErode",
// "LumDilate", "LumOpen", "LumClose", "LumWhiteTopHat", "LumBlackTopHat", preceded by
// "LumErodeDilate" when a step fails (size mismatch 1402, a null pixel pointer 1400).
// LumWhiteTopHat and LumBlackTopHat refuse views that rest on one image with 1413;
// LumBlackTopHat also refuses a null destination or the source itself with 1413 and checks the
// source's emptiness first.
//
// C24 forms ("LumErode ( C24)", ...) run the BW8 form on each component from a copy to a copy.
// The border bytes are taken in reverse memory order: component 0 uses border.c2, component 1
// border.c1, component 2 border.c0.
KELMIRA_API short int LumErode(ZROI<ZBW8>* source, ZROI<ZBW8>* destination, int passes, int border);
KELMIRA_API short int LumDilate(ZROI<ZBW8>* source, ZROI<ZBW8>* destination, int passes, int border);
KELMIRA_API short int LumOpen(ZROI<ZBW8>* source, ZROI<ZBW8>* destination, int passes, int firstBorder,
                              int secondBorder);
KELMIRA_API short int LumClose(ZROI<ZBW8>* source, ZROI<ZBW8>* destination, int passes, int firstBorder,
                               int secondBorder);
KELMIRA_API short int LumWhiteTopHat(ZROI<ZBW8>* source, ZROI<ZBW8>* destination, int passes, int firstBorder,
                                     int secondBorder);
KELMIRA_API short int LumBlackTopHat(ZROI<ZBW8>* source, ZROI<ZBW8>* destination, int passes, int firstBorder,
                                     int secondBorder);

KELMIRA_API void LumErode(ZROI<ZC24>* source, ZROI<ZC24>* destination, int passes, ZC24 border);
KELMIRA_API void LumDilate(ZROI<ZC24>* source, ZROI<ZC24>* destination, int passes, ZC24 border);
KELMIRA_API void LumOpen(ZROI<ZC24>* source, ZROI<ZC24>* destination, int passes, ZC24 firstBorder,
                         ZC24 secondBorder);
KELMIRA_API void LumClose(ZROI<ZC24>* source, ZROI<ZC24>* destination, int passes, ZC24 firstBorder,
                          ZC24 secondBorder);
KELMIRA_API void LumWhiteTopHat(ZROI<ZC24>* source, ZROI<ZC24>* destination, int passes, ZC24 firstBorder,
                                ZC24 secondBorder);
KELMIRA_API void LumBlackTopHat(ZROI<ZC24>* source, ZROI<ZC24>* destination, int passes, ZC24 firstBorder,
                                ZC24 secondBorder);

#include "kelmira/morphology/bw1.h"

#endif  // KELMIRA_MORPHOLOGY_H
