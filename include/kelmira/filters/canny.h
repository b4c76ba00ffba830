// Kelmira edge detection: the gradient-vector image and the Canny detector with its stages.
#ifndef KELMIRA_FILTERS_CANNY_H
#define KELMIRA_FILTERS_CANNY_H

#include "kelmira/foundation.h"

// ---------------------------------------------------------------------------------------------
// Gradient vector
// ---------------------------------------------------------------------------------------------
// Each destination pixel holds two signed 16-bit halves: the low half gx = W - E, the high half
// gy = N - S, where W, E, N, S are the source pixels left of, right of, above and below the
// pixel. A neighbour outside the view is replaced by the nearest pixel of the view (so a view one
// pixel wide has gx 0 everywhere). The wide and scalar paths give the same bits.
// Errors: 1400 null or void source or destination, 1402 sizes differ. Trace "LumGradientVector".
KELMIRA_API void LumGradientVector(ZROI<ZBW8>* source, ZROI<ZBW32>* destination);

// ---------------------------------------------------------------------------------------------
// Canny detector
// ---------------------------------------------------------------------------------------------
// Both enumerations are int-wide, so that a host may pass any number through static_cast.
// The smoothing before the gradient. Any other number (0 among them) copies the source.
enum SMOOTH_MODE : int {
  SMOOTH_NONE = 0,
  SMOOTH_GAUSSIAN_3X3 = 1,  // LumConvolGaussian3x3; views narrower or lower than 3 are copied
  SMOOTH_GAUSSIAN_5X5 = 2,  // LumConvolGaussian5x5; below 5 copied
  SMOOTH_GAUSSIAN_7X7 = 3,  // LumConvolGaussian7x7; below 7 copied
  SMOOTH_MEDIAN = 4,        // the 3x3 LumMedian
};

// How edges are followed from the suppressed gradient. Any other number writes nothing.
enum EDGE_FOLLOWING_MODE : int {
  EDGE_FOLLOWING_HYSTERESIS = 0,
  EDGE_FOLLOWING_CONTOUR_GROWING = 1,
};

// Direction codes of a gradient (gx, gy), written by NonMaximaSuppression: 0 when
// |gx| > 2.42 |gy|, else 90 when |gy| > 2.42 |gx|, else 45 when gx and gy have the same sign
// (-1, 0 or 1), else 135. The comparisons are those of double precision.
//
// LumCannyDetector: smooth `source` (SMOOTH_MODE) into a temporary, LumGradientVector,
// NonMaximaSuppression, a 256-bin histogram of the suppressed magnitude, the threshold search,
// then Hysteresis(low, high) or ContourGrowing(seed threshold low) into `destination`.
//
// The threshold search splits the bins into [0, t1), [t1, t2), [t2, 255] and keeps the pair with
// the largest sum over the three classes of s * s / n (n the count, s the sum of bin times count),
// among pairs whose three classes are not empty; t1 runs 0..255 and, inside, t2 runs t1..255,
// and a pair replaces the best only when its score is strictly greater, starting from the
// one-class score. Sums and scores are float, each class summed from its lowest bin upwards. With
// no pair both limits are 0. low = t1 (0 becomes 1), high = t2.
//
// `destination` is never cleared: pixels that are not edges keep their value. It may be the
// source itself: the source is read whole before the first edge pixel is written. A flat image has no
// three classes: low 1, high 0, and Hysteresis writes 128 to every pixel.
// Checks, in this order: source null or void 1400, destination null 1400 or of another size 1402,
// then the licence gate; a temporary that cannot be had gives 1303. Any failure traces
// "Failed canny detection !". A successful call leaves the error state and the trace clear.
KELMIRA_API void LumCannyDetector(ZROI<ZBW8>* source, ZROI<ZBW8>* destination, SMOOTH_MODE smoothMode,
                                  EDGE_FOLLOWING_MODE followingMode);

// The stages. None of them touches the error state or the trace. A null or void view, or views
// whose widths or heights differ, make the call do nothing.

// For each pixel the magnitude m = (|gx| + |gy|) >> 1 cut to 8 bits; `direction` receives the
// direction code, `magnitude` receives m when m is not below either neighbour along the direction
// (code 0: W and E; 45: NW and SE; 90: N and S; 135: NE and SW), else 0. Neighbours outside the
// view count 0, and ties survive.
KELMIRA_API void NonMaximaSuppression(ZROI<ZBW32>* gradient, ZROI<ZBW32>* direction, ZROI<ZBW8>* magnitude);

// Greedy one-pixel chains. In row order, every pixel with magnitude >= high not yet visited
// becomes a seed: 128 is written to `destination` there, then a walk forward and a walk backward
// follow, each step taking, among the three candidates of the pixel's direction in the order
// below, the first one inside the image and not visited, replaced by each following one that is
// inside, not visited and of strictly greater magnitude. The walk writes 255 at the chosen pixel
// and goes on from it while the chosen magnitude is at least `low`; it ends when no candidate is
// left or the best one is below `low`. Seeds stay 128.
//   direction   forward (dx, dy)            backward
//   0           (1,1) (-1,1) (0,1)          (-1,-1) (1,-1) (0,-1)
//   45          (-1,1) (0,1) (-1,0)         (1,-1) (0,-1) (1,0)
//   90          (1,1) (1,-1) (1,0)          (-1,1) (-1,-1) (-1,0)
//   135         (1,1) (0,1) (1,0)           (-1,-1) (0,-1) (-1,0)
// A pixel whose direction is none of the four codes ends a walk.
KELMIRA_API void Hysteresis(ZROI<ZBW8>* magnitude, ZROI<ZBW8>* destination, ZImage<ZBW32>* direction,
                            unsigned char low, unsigned char high);

// Region growing from the local maxima. Each interior pixel (the one-pixel frame is skipped) of
// magnitude v, v != 0 and v >= seedThreshold, that is at least both its neighbours across the
// edge (code 0: N and S; 45: NE and SW; 90: W and E; 135: NW and SE) starts a growth with seed and
// previous v. Growing at a pixel not yet visited, of magnitude v: if v < 0.5 seed or
// v < 0.8 previous, it is marked visited and 0 is written; otherwise 255 is written and the
// growth goes, with previous v, into each neighbour inside the image and still unvisited, in the
// order of the pixel's direction:
//   0     (-1,-1) (0,-1) (1,-1) (-1,1) (0,1) (1,1)
//   45    (0,-1) (1,-1) (1,0) (-1,0) (-1,1) (0,1)
//   90    (-1,-1) (-1,0) (-1,1) (1,-1) (1,0) (1,1)
//   135   (-1,-1) (-1,0) (0,-1) (0,1) (1,0) (1,1)
// The visits keep this depth-first order with a stack of their own, so a contour of any length
// runs. A pixel whose direction is none of the four codes starts nothing and grows nowhere.
KELMIRA_API void ContourGrowing(ZROI<ZBW8>* magnitude, ZROI<ZBW8>* destination, ZROI<ZBW32>* direction,
                                unsigned char seedThreshold);

#endif  // KELMIRA_FILTERS_CANNY_H
