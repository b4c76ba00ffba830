// Kelmira measurement: geometric moments, centre of gravity, centroid and inertia of a view.
// Included by kelmira/measure.h.
//
// Coordinates are those of the view: x from 0 at the left, y from 0 at the top. The moment terms
// stand in order of degree, and within a degree from the highest power of x down:
//   m, mx, my, mxx, mxy, myy, mxxx, mxxy, mxyy, myyy, mxxxx, mxxxy, mxxyy, mxyyy, myyyy.
#ifndef KELMIRA_MEASURE_MOMENTS_H
#define KELMIRA_MEASURE_MOMENTS_H

#include "kelmira/foundation.h"
#include "kelmira/vectors.h"

// The outputs of each order, in the order of the terms above: KELMIRA_MOMENTS_2(float&) stands
// for float& m, float& mx, float& my, float& mxx, float& mxy, float& myy.
#define KELMIRA_MOMENTS_1(T) T m, T mx, T my
#define KELMIRA_MOMENTS_2(T) KELMIRA_MOMENTS_1(T), T mxx, T mxy, T myy
#define KELMIRA_MOMENTS_3(T) KELMIRA_MOMENTS_2(T), T mxxx, T mxxy, T mxyy, T myyy
#define KELMIRA_MOMENTS_4(T) KELMIRA_MOMENTS_3(T), T mxxxx, T mxxxy, T mxxyy, T mxyyy, T myyyy

// ---------------------------------------------------------------------------------------------
// Moments
// ---------------------------------------------------------------------------------------------
// The frame of the moment operators differs from the others on purpose: they do not clear the
// error state, so an error left by an earlier call stays visible, and they trace their string on
// every exit, success included. A null view or one without pixels sets 1400 and leaves every
// output as it was; otherwise every output is set to 0 first.
//
// Sums. Each row's terms of orders 0 and 1 (and of order 2 in the second-order forms) are summed
// in integers, unsigned 32-bit wrapping on BW8 and 64-bit on BW16; after the row each sum goes to
// float by way of a 64-bit integer and is added to its output in float. In the second-order
// forms mxy first gathers the sum of (x - y) * (x - y) and is finished as (mxx + myy - mxy) * 0.5,
// which fixes its rounding. In the third and fourth-order forms every term of order 2 and above
// is added to its output pixel by pixel, as a float product formed left to right
// (g * x * x * y ...), and mxy is g * x * y summed directly.
//
// Binary forms: the pixels at or above `threshold` (unsigned comparison) count with weight 1.
// Traces "LumBinaryMoments ( first order)", "LumBinaryMoments ( second order)" on BW8 and
// "LumBinaryMoments (first order)(BW16)", "LumBinaryMoments (second order)(BW16)" on BW16.
KELMIRA_API void LumBinaryMoments(ZROI<ZBW8>* view, unsigned int threshold, KELMIRA_MOMENTS_1(float&));
KELMIRA_API void LumBinaryMoments(ZROI<ZBW8>* view, unsigned int threshold, KELMIRA_MOMENTS_2(float&));
KELMIRA_API void LumBinaryMoments(ZROI<ZBW16>* view, unsigned int threshold, KELMIRA_MOMENTS_1(float&));
KELMIRA_API void LumBinaryMoments(ZROI<ZBW16>* view, unsigned int threshold, KELMIRA_MOMENTS_2(float&));

// Weighted forms: each pixel weighs its gray value g. Traces "LumWeightedMoments ( first order)",
// "( second order)", "( third order)", "( fourth order)" on BW8, and on BW16
// "LumWeightedMoments (first order)(BW16)" and so on.
KELMIRA_API void LumWeightedMoments(ZROI<ZBW8>* view, KELMIRA_MOMENTS_1(float&));
KELMIRA_API void LumWeightedMoments(ZROI<ZBW8>* view, KELMIRA_MOMENTS_2(float&));
KELMIRA_API void LumWeightedMoments(ZROI<ZBW8>* view, KELMIRA_MOMENTS_3(float&));
KELMIRA_API void LumWeightedMoments(ZROI<ZBW8>* view, KELMIRA_MOMENTS_4(float&));
KELMIRA_API void LumWeightedMoments(ZROI<ZBW16>* view, KELMIRA_MOMENTS_1(float&));
KELMIRA_API void LumWeightedMoments(ZROI<ZBW16>* view, KELMIRA_MOMENTS_2(float&));
KELMIRA_API void LumWeightedMoments(ZROI<ZBW16>* view, KELMIRA_MOMENTS_3(float&));
KELMIRA_API void LumWeightedMoments(ZROI<ZBW16>* view, KELMIRA_MOMENTS_4(float&));

// The older spelling, kept for hosts that use it: each form only enters LumWeightedMoments.
KELMIRA_API void LumWeighedMoments(ZROI<ZBW8>* view, KELMIRA_MOMENTS_1(float&));
KELMIRA_API void LumWeighedMoments(ZROI<ZBW8>* view, KELMIRA_MOMENTS_2(float&));
KELMIRA_API void LumWeighedMoments(ZROI<ZBW8>* view, KELMIRA_MOMENTS_3(float&));
KELMIRA_API void LumWeighedMoments(ZROI<ZBW8>* view, KELMIRA_MOMENTS_4(float&));
KELMIRA_API void LumWeighedMoments(ZROI<ZBW16>* view, KELMIRA_MOMENTS_1(float&));
KELMIRA_API void LumWeighedMoments(ZROI<ZBW16>* view, KELMIRA_MOMENTS_2(float&));
KELMIRA_API void LumWeighedMoments(ZROI<ZBW16>* view, KELMIRA_MOMENTS_3(float&));
KELMIRA_API void LumWeighedMoments(ZROI<ZBW16>* view, KELMIRA_MOMENTS_4(float&));

// ---------------------------------------------------------------------------------------------
// Centres and inertia (the usual frame: the error state is cleared on entry, the trace string
// is added on failure only)
// ---------------------------------------------------------------------------------------------
// Run lists: these operators walk a view's runs when it has a non-empty run list, and the whole
// rectangle otherwise. The pixels of a run are read from its start offset up to, not including,
// its end offset (bytes from the view's pixel (0, 0)), and their column and row are taken from
// its position word (m_n16X, m_n16Y). A run whose pixels or position do not lie within one row of
// the view gives 106 (Z_ERROR_OUTSIDE_ROI). The BW16 form of LumGravityCenter walks runs in the
// same way.
//
// Centre of gravity of the pixels at or above `threshold`: a count per column and per row (32-bit
// arrays; no memory: 1301), then cx = sum(i * column[i]) / sum(column[i]) with both sums 32-bit,
// the quotient in float, and cy likewise from the rows. With no such pixel cx and cy are not
// written. Traces "LumGravityCenter", "LumGravityCenter (BW16)".
KELMIRA_API void LumGravityCenter(ZROI<ZBW8>* view, unsigned int threshold, float& cx, float& cy);
KELMIRA_API void LumGravityCenter(ZROI<ZBW16>* view, unsigned int threshold, float& cx, float& cy);

// The same with every pixel weighing its value, or lut[value] when `lut` is not null. A table of
// fewer than 256 entries (or without a store) is refused with 1613 before any pixel is read.
// Trace "LumCentroid".
KELMIRA_API void LumCentroid(ZROI<ZBW8>* view, float& cx, float& cy, ZBW8Vector* lut);

// Inertia of the pixels at or above `threshold`: N, Sx, Sy unsigned 32-bit; per row the sums of
// x * x, x * y, y * y (exact) added to double totals Sxx, Sxy, Syy. With D = N * N in double,
// ixx = (N * Sxx - Sx * Sx) / D, ixy = (N * Sxy - Sy * Sx) / D, iyy = (N * Syy - Sy * Sy) / D,
// where the products Sx * Sx, Sy * Sx, Sy * Sy are taken in unsigned 32 bits and wrap, as they
// always did; cx = Sx / N, cy = Sy / N, count = N, each written when its pointer is not null.
// N of 0 writes nothing. Trace "LumInertia ( binary)".
KELMIRA_API void LumInertia(ZROI<ZBW8>* view, unsigned int threshold, float& ixx, float& ixy, float& iyy, float* cx,
                            float* cy, unsigned int* count);

// The same with each pixel weighing its value, or lut[value] when `lut` is not null, N being the
// sum of the weights and Sx, Sy the weighted sums (32 bits, wrapping). A table of fewer than 256
// entries: 1613. Trace "LumInertia ( weighted)".
KELMIRA_API void LumInertia(ZROI<ZBW8>* view, float& ixx, float& ixy, float& iyy, float* cx, float* cy,
                            unsigned int* count, ZBW8Vector* lut);

#endif  // KELMIRA_MEASURE_MOMENTS_H
