// Kelmira contour following: LumContour. Included by kelmira/vectors.h.
//
// LumContour follows the border of a thresholded object from a start pixel on it and records the
// border pixels in a path vector. The object is defined by the threshold alone: no thresholded
// image is made, each neighbour is tested as the walker meets it, so the cost grows with the
// length of the contour and not with the area of the view. The walker stands on object pixels:
// the result is an inner contour. The operator does not search for an object; the host gives the
// start pixel (x, y), relative to the view.
//
// Coordinates are relative to the view, (0, 0) being its first pixel; y grows downwards.
//
// Direction codes, counted anticlockwise on the screen from east:
//   0 east (+1, 0)   1 north-east (+1, -1)   2 north (0, -1)   3 north-west (-1, -1)
//   4 west (-1, 0)   5 south-west (-1, +1)   6 south (0, +1)   7 south-east (+1, +1)
//
// The walk.
// - Start: the start pixel must be on the object (else 1500). The first direction is sought in
//   rotation from north: a direction is taken when it leads to the object and the neighbour
//   before it in the rotation is background; under CONNEXITY_8 an axial direction also needs the
//   diagonal and the axial neighbour before it to be background. With no such direction after
//   eight tries: 1501 when the last neighbour tested is on the object (north-west anticlockwise,
//   north-east clockwise under 8 neighbours; west or east under 4), 1502 when it is not. Only
//   that one neighbour decides between the two numbers: the centre of a plus sign under 8
//   neighbours gives 1502.
// - Step: after each step the sweep starts from a fixed direction behind the heading and turns
//   until it meets the object. A neighbour outside the view is a stop in modes 0, 2, 3 and 4 and
//   background in modes 1 and 5. The sweep stops at the first outside direction that it meets
//   before an object pixel.
// - Closed: the walk ends when it stands again on the start pixel about to leave it in its first
//   direction. A pixel may be passed several times (under 4 neighbours a one-pixel spike is
//   entered and left by the same pixel, which then stands twice in the path); the start pixel
//   is not recorded twice.
// - Edge stop: error 106 (Z_ERROR_OUTSIDE_ROI) with a trace, although the points are valid: this
//   is how an open contour is reported. The pixel at which the walker stopped is not recorded.
//   In modes 2 and 4 a first walk that stops at the edge is followed by a second walk in the
//   other sense from that end pixel; the second walk empties the result and runs from one end
//   to the other, through the start pixel, without the pixel at which it stopped itself.
//
// The closed flag m_bClosed (path forms) is 0 after a stop at the edge (in modes 2 and 4: after
// the first walk stopped at the edge, whatever the second left), and 1 otherwise, failures
// included. It is not touched on 1009 nor when the result is null.
//
// Errors, in the order they are checked:
//   1009  CONTOUR_MODE outside 0..5 (the result is not touched)
//   1601  ZVector form, before the source is looked at: null vector, or no data block after its
//         set-up
//   1400  null or void source; null path vector (result not touched)
//   1011  path forms: a view wider or higher than 32768, whose coordinates would not fit the
//         16-bit fields of the points (result not touched). The ZVector form has 32-bit points.
//   1013, 1014  start x, start y outside the view (result emptied)
//   1500  start pixel not on the object (result emptied)
//   1501, 1502  no first direction (result emptied)
//   106   the walk stopped at the edge of the view (points valid, open contour)
//   1504  ZVector form: the point limit, see there
//   1303  the result vector cannot grow (the points so far stay)
// A CONNEXITY other than 0 and 1 walks through the four axial neighbours with the additional
// start rule of 8 neighbours: it is not refused.
//
// Bound. A walk that closes visits each pair of (pixel, leaving direction) at most once, and every
// recorded pixel is an object pixel next to background or the outside, so a contour holds at most
// 8 (4 under four neighbours) points per such border pixel. The walker counts its steps against
// that many pairs of the view and ends with 1504 past it; a legal walk never gets there, but no
// image can make the walk endless.
#ifndef KELMIRA_VECTORS_CONTOUR_H
#define KELMIRA_VECTORS_CONTOUR_H

#include "kelmira/foundation.h"
#include "kelmira/vectors.h"

// The enumerations have int as their type, so that a host may pass any number through static_cast.

// The walking sense and what the outside of the view means.
enum CONTOUR_MODE : int {
  CONTOUR_CLOCKWISE_STOP_AT_EDGE = 0,       // clockwise; outside is a stop
  CONTOUR_CLOCKWISE_ALONG_EDGE = 1,         // clockwise; outside is background, the walk closes
  CONTOUR_CLOCKWISE_BOTH_ENDS = 2,          // clockwise, then anticlockwise from the end reached
  CONTOUR_ANTICLOCKWISE_STOP_AT_EDGE = 3,   // anticlockwise; outside is a stop
  CONTOUR_ANTICLOCKWISE_BOTH_ENDS = 4,      // anticlockwise, then clockwise from the end reached
  CONTOUR_ANTICLOCKWISE_ALONG_EDGE = 5,     // anticlockwise; outside is background
};

// Which pixels are the object: ABOVE, value >= threshold; any other value, value <= threshold.
// Both include the threshold; values compare as unsigned 32-bit numbers.
enum CONTOUR_THRESHOLD : int {
  CONTOUR_THRESHOLD_ABOVE = 0,
  CONTOUR_THRESHOLD_BELOW = 1,
};

#ifndef KELMIRA_CONNEXITY_DECLARED
#define KELMIRA_CONNEXITY_DECLARED
// Neighbours of a pixel: the four axial ones, or all eight.
enum CONNEXITY : int {
  CONNEXITY_4 = 0,
  CONNEXITY_8 = 1,
};
#endif

// Clockwise is as seen on the screen (x right, y down): a clockwise walk keeps the object on its
// right hand. Trace "LumContour ( ZPathVector)".
KELMIRA_API void LumContour(ZROI<ZBW8>* source, CONTOUR_MODE mode, int x, int y, CONTOUR_THRESHOLD sense,
                            unsigned int threshold, CONNEXITY connexity, ZPathVector* path);

// The same with a value per point: the pixel value when `chainCode` is 0, otherwise the direction
// code (0 to 7) of the step that leaves the point, so that the path is a chain code.
// Trace "LumContour ( ZBW8PathVector)".
KELMIRA_API void LumContour(ZROI<ZBW8>* source, CONTOUR_MODE mode, int x, int y, CONTOUR_THRESHOLD sense,
                            unsigned int threshold, CONNEXITY connexity, ZBW8PathVector* path,
                            int chainCode);

// The older form: each point is three signed 32-bit values x, y and the direction of the step that
// leaves it; GetNbGroup() gives the number of points. A vector of another kind than 1 is first
// set up by SetType(1, 2000, 0); the capacity in points is GetAllocatedSize() / 12, and a full
// vector grows by Reallocate(GetAllocatedSize() + 24576). The points are limited to
// (width * height) >> 3, a signed 32-bit product (so views of fewer than 8 pixels, or so large that
// the product overflows to a negative number, fail at once with 1504 and no point); reaching the
// limit ends the walk with 1504 and the points so far. Returns 0 or the error number.
// Trace "LumContour ( ZVector)".
KELMIRA_API short int LumContour(ZROI<ZBW8>* source, CONTOUR_MODE mode, int x, int y, CONTOUR_THRESHOLD sense,
                                 unsigned int threshold, CONNEXITY connexity, ZVector* path);

// 16-bit forms. Trace "LumContour ( ZPathVector)(BW16)".
KELMIRA_API void LumContour(ZROI<ZBW16>* source, CONTOUR_MODE mode, int x, int y, CONTOUR_THRESHOLD sense,
                            unsigned int threshold, CONNEXITY connexity, ZPathVector* path);

// Pixel values or, with `chainCode` not 0, direction codes. Trace
// "LumContour ( ZBW16PathVector)(BW16)".
KELMIRA_API void LumContour(ZROI<ZBW16>* source, CONTOUR_MODE mode, int x, int y, CONTOUR_THRESHOLD sense,
                            unsigned int threshold, CONNEXITY connexity, ZBW16PathVector* path,
                            int chainCode);

#endif  // KELMIRA_VECTORS_CONTOUR_H
