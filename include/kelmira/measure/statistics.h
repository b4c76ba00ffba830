// Kelmira measurement: pixel statistics, counts, comparison of two views, noise figures, focus,
// the joint histogram, the linear fit of one view against another, and normalisation.
// Included by kelmira/measure.h.
//
// Common rules. Each operator clears the error state, checks its views (a null or void view, or a
// view with a negative origin or no extent: 1400; two views of different sizes: 1402) and, on
// failure, appends the trace string given with it. Operators that return a number return 0 or
// 0.0 on failure; outputs passed by reference are written only on success. The `short int` forms
// return 0 or the error number.
//
// Trace strings not fixed by the BW8 forms follow the library's grammar: a form with " ( BW8)" in
// its string has " ( BW16)" or " ( C24)" in its place; a bare BW8 string gets " (BW16)" or
// " ( C24)" appended.
//
// Widths of the sums. On BW8 (and on each byte of C24) the sum of LumPixelAverage is one unsigned
// 32-bit integer that wraps, and the row sums of LumSignalNoiseRatio, LumRmsNoise and LumFocusing
// are unsigned 32-bit integers that wrap. On BW16 these integer sums are 64 bits wide, so that a
// 16-bit image gives its true average and noise. Every other integer sum is exact.
//
// Run lists. LumArea in its two `unsigned int` forms, LumAverage and LumVariance walk a view's
// runs when it has a non-empty run list, and the whole rectangle otherwise. A run covers the
// pixels from its start offset up to, not including, its end offset (bytes from the view's pixel
// (0, 0)); its pixels must lie in one row of the view, else error 106 (Z_ERROR_OUTSIDE_ROI).
#ifndef KELMIRA_MEASURE_STATISTICS_H
#define KELMIRA_MEASURE_STATISTICS_H

#include "kelmira/foundation.h"
#include "kelmira/vectors.h"

// How much noise the reference of LumSignalNoiseRatio and LumRmsNoise carries. Any other value
// (2, -1, ...) is refused with 1013; the enum is int-wide so that a host may pass any number.
enum LUM_REFERENCE_NOISE : int {
  LUM_REFERENCE_NOISE_NONE = 0,   // the difference is the noise of the source
  LUM_REFERENCE_NOISE_EQUAL = 1,  // the reference is as noisy as the source
};

// ---------------------------------------------------------------------------------------------
// Extremes, mean, variance
// ---------------------------------------------------------------------------------------------
// The smallest or greatest pixel of the view. Traces "LumPixelMin", "LumPixelMax" (BW16:
// "LumPixelMin (BW16)", "LumPixelMax (BW16)").
KELMIRA_API short int LumPixelMin(ZROI<ZBW8>* view, unsigned char& minimum);
KELMIRA_API short int LumPixelMax(ZROI<ZBW8>* view, unsigned char& maximum);
KELMIRA_API short int LumPixelMin(ZROI<ZBW16>* view, unsigned short& minimum);
KELMIRA_API short int LumPixelMax(ZROI<ZBW16>* view, unsigned short& maximum);

// The mean: the sum of all pixels (BW8: 32 bits, wrapping) divided by the pixel count, as floats.
// The C24 form gives one mean per byte of the pixel (c0, c1, c2). Traces "LumPixelAverage ( BW8)",
// "LumPixelAverage ( BW16)", "LumPixelAverage ( C24)".
KELMIRA_API short int LumPixelAverage(ZROI<ZBW8>* view, float& average);
KELMIRA_API short int LumPixelAverage(ZROI<ZBW16>* view, float& average);
KELMIRA_API short int LumPixelAverage(ZROI<ZC24>* view, float& average0, float& average1, float& average2);

// Variance (N * Q - S * S) / (N * N) and mean S / N, with the sum S and the sum of squares Q
// formed per row and added in double; a negative variance from rounding gives 0. Traces
// "LumPixelVariance ( BW8)", "LumPixelVariance ( BW16)", "LumPixelVariance ( C24)".
KELMIRA_API void LumPixelVariance(ZROI<ZBW8>* view, float& variance, float& average);
KELMIRA_API void LumPixelVariance(ZROI<ZBW16>* view, float& variance, float& average);
// C24, in this order: the variances of bytes 0, 1, 2, their means, and the variance of all the
// component values of the view taken as one population of 3 * N values.
KELMIRA_API void LumPixelVariance(ZROI<ZC24>* view, float& variance0, float& variance1, float& variance2,
                                  float& average0, float& average1, float& average2, float& varianceAll);

// The square roots of the variances of LumPixelVariance, which it runs in its own bracket (a
// failure there leaves its trace, then this one), and the means. Traces "LumPixelStdDev",
// "LumPixelStdDev (BW16)", "LumPixelStdDev ( C24)". The C24 order is that of LumPixelVariance.
KELMIRA_API short int LumPixelStdDev(ZROI<ZBW8>* view, float& deviation, float& average);
KELMIRA_API short int LumPixelStdDev(ZROI<ZBW16>* view, float& deviation, float& average);
KELMIRA_API short int LumPixelStdDev(ZROI<ZC24>* view, float& deviation0, float& deviation1, float& deviation2,
                                     float& average0, float& average1, float& average2, float& deviationAll);

// Minimum, maximum and the mean of the row means: each row's sum divided by the width as a float,
// added in float, the total divided by the height. Traces "LumPixelStat", "LumPixelStat (BW16)".
KELMIRA_API short int LumPixelStat(ZROI<ZBW8>* view, unsigned char& minimum, unsigned char& maximum, float& average);
KELMIRA_API short int LumPixelStat(ZROI<ZBW16>* view, unsigned short& minimum, unsigned short& maximum,
                                   float& average);

// ---------------------------------------------------------------------------------------------
// Counts by level
// ---------------------------------------------------------------------------------------------
// Pixels below `low` count in `below`, other pixels below `high` in `between`, the rest in
// `above` (so `low` above `high` leaves `between` at 0). Traces "LumPixelCount",
// "LumPixelCount (BW16)".
KELMIRA_API short int LumPixelCount(ZROI<ZBW8>* view, unsigned char low, unsigned char high, int& below, int& between,
                                    int& above);
KELMIRA_API short int LumPixelCount(ZROI<ZBW16>* view, unsigned short low, unsigned short high, int& below,
                                    int& between, int& above);

// Pixels at or above `threshold` (a pixel equal to it counts). Traces "LumArea", "LumArea (BW16)".
KELMIRA_API short int LumArea(ZROI<ZBW8>* view, unsigned char threshold, int& area);
KELMIRA_API short int LumArea(ZROI<ZBW16>* view, unsigned short threshold, int& area);

// Pixels from `low` up to, not including, `high`. Traces "LumAreaDoubleThreshold",
// "LumAreaDoubleThreshold (BW16)".
KELMIRA_API short int LumAreaDoubleThreshold(ZROI<ZBW8>* view, unsigned char low, unsigned char high, int& area);
KELMIRA_API short int LumAreaDoubleThreshold(ZROI<ZBW16>* view, unsigned short low, unsigned short high, int& area);

// The pixels of the view: the sum of its run lengths, or width times height. Traces
// "LumArea ( all pixels)", "LumArea ( all pixels)(BW16)".
KELMIRA_API unsigned int LumArea(ZROI<ZBW8>* view);
KELMIRA_API unsigned int LumArea(ZROI<ZBW16>* view);

// Pixels strictly above `threshold` (unlike the form above, a pixel equal to it does not count),
// over the runs when there are any. Traces "LumArea ( binarized)", "LumArea ( binarized)(BW16)".
KELMIRA_API unsigned int LumArea(ZROI<ZBW8>* view, unsigned int threshold);
KELMIRA_API unsigned int LumArea(ZROI<ZBW16>* view, unsigned int threshold);

// Pixels for which `predicate` returns non-zero. It is called once for each pixel, in row order,
// on the pixel in the image itself. A null predicate is 1400. Traces "LumCount ( BW8)",
// "LumCount ( BW16)", "LumCount ( C24)".
KELMIRA_API unsigned int LumCount(ZROI<ZBW8>* view, int (*predicate)(ZBW8&));
KELMIRA_API unsigned int LumCount(ZROI<ZBW16>* view, int (*predicate)(ZBW16&));
KELMIRA_API unsigned int LumCount(ZROI<ZC24>* view, int (*predicate)(ZC24&));

// ---------------------------------------------------------------------------------------------
// Two views
// ---------------------------------------------------------------------------------------------
// Positions at which the views differ (C24: in any byte). Traces "LumPixelCompare ( BW8)",
// "LumPixelCompare ( BW16)", "LumPixelCompare ( C24)".
KELMIRA_API unsigned int LumPixelCompare(ZROI<ZBW8>* first, ZROI<ZBW8>* second);
KELMIRA_API unsigned int LumPixelCompare(ZROI<ZBW16>* first, ZROI<ZBW16>* second);
KELMIRA_API unsigned int LumPixelCompare(ZROI<ZC24>* first, ZROI<ZC24>* second);

// Signal to noise in decibels: with a the source and b the reference pixel, P the sum of a * a
// and E that of (a - b) * (a - b) (row sums in integers, totals in long double), 10 * log10(P / E),
// plus 10 * log10(2) with LUM_REFERENCE_NOISE_EQUAL; 0.0 when E is 0 (equal images). A mode other
// than 0 or 1: 1013, checked after the views. The C24 forms give one figure per byte (c0, c1,
// c2 of the ZColor) and ZColor(0, 0, 0) on failure. Traces
// "LumSignalNoiseRatio ( BW8 source and BW8 reference)", and the same with BW16 or C24.
KELMIRA_API float LumSignalNoiseRatio(ZROI<ZBW8>* source, ZROI<ZBW8>* reference, LUM_REFERENCE_NOISE mode);
KELMIRA_API float LumSignalNoiseRatio(ZROI<ZBW16>* source, ZROI<ZBW16>* reference, LUM_REFERENCE_NOISE mode);
KELMIRA_API ZColor LumSignalNoiseRatio(ZROI<ZC24>* source, ZROI<ZC24>* reference, LUM_REFERENCE_NOISE mode);

// Root mean square difference: the row sums of (a - b) * (a - b) added in float, halved with
// LUM_REFERENCE_NOISE_EQUAL, divided by width times height, square root in float. Mode and
// C24 results as above. Traces "LumRmsNoise ( BW8 source and BW8 reference)", and BW16, C24.
KELMIRA_API float LumRmsNoise(ZROI<ZBW8>* source, ZROI<ZBW8>* reference, LUM_REFERENCE_NOISE mode);
KELMIRA_API float LumRmsNoise(ZROI<ZBW16>* source, ZROI<ZBW16>* reference, LUM_REFERENCE_NOISE mode);
KELMIRA_API ZColor LumRmsNoise(ZROI<ZC24>* source, ZROI<ZC24>* reference, LUM_REFERENCE_NOISE mode);

// Focus: over every pixel but those of the last row and the last column, d1 = pixel - right
// neighbour and d2 = pixel - pixel below; the row sums of d1 * d1 + d2 * d2 are added in long
// double. Not normalised by size: a view of one row or one column gives 0.0. Traces
// "LumFocusing ( BW8)", "LumFocusing ( BW16)", "LumFocusing ( C24)".
KELMIRA_API float LumFocusing(ZROI<ZBW8>* view);
KELMIRA_API float LumFocusing(ZROI<ZBW16>* view);
KELMIRA_API ZColor LumFocusing(ZROI<ZC24>* view);

// Joint histogram: `image` becomes 256 x 256, all 0; for each position, a from `first` and b from
// `second`, the cell at column a, row 255 - b is raised by 1 and stops at the largest value of
// its pixel (255, or 65535 in the ZBW16 form). A null image is 1400. Traces
// "LumCorrelogram ( BW8)" and "LumCorrelogram ( BW16)" (the form with ZBW16 cells).
KELMIRA_API void LumCorrelogram(ZROI<ZBW8>* first, ZROI<ZBW8>* second, ZImage<ZBW8>* image);
KELMIRA_API void LumCorrelogram(ZROI<ZBW8>* first, ZROI<ZBW8>* second, ZImage<ZBW16>* image);

// Fits `second` (b) against `first` (a): b = slope * a + intercept, with the correlation. Sums of
// a, b, a * a, a * b, b * b per row in integers and across rows in double; with `excludeClipped`
// non-zero a position where either value is 0 or 255 is left out. No position: 1051, nothing
// written. A constant `first` (variance of a of 0): slope 0, intercept the mean of b,
// correlation 0, and error 1051 with the trace. The correlation is 0 when either variance is
// not positive. Trace "LumLinearRegression".
KELMIRA_API void LumLinearRegression(ZROI<ZBW8>* first, ZROI<ZBW8>* second, float& slope, float& intercept,
                                     float& correlation, int excludeClipped);

// ---------------------------------------------------------------------------------------------
// Over runs, and from the histogram
// ---------------------------------------------------------------------------------------------
// Mean over the runs (or the rectangle), and the pixel count into `count` when it is not null. No
// pixel (runs of length 0): 0.0 and a count of 0, without error. Trace "LumAverage".
KELMIRA_API float LumAverage(ZROI<ZBW8>* view, unsigned int* count);

// Variance from the 256-bin histogram of the view (over its runs when it has any): the mean and
// variance come from the centred moments of all bins, the count from the first moments. `mean`
// and `count` are written when not null. No pixel: 1051 (with the trace of the histogram moment
// function, then this one) and 0.0. Trace "LumVariance".
KELMIRA_API float LumVariance(ZROI<ZBW8>* view, float* mean, unsigned int* count);

// The smallest or greatest pixel, over the runs when there are any. Traces "LumMinimum",
// "LumMaximum"; 0 on failure or when the runs hold no pixel.
KELMIRA_API ZBW8 LumMinimum(ZROI<ZBW8>* view);
KELMIRA_API ZBW8 LumMaximum(ZROI<ZBW8>* view);

// ---------------------------------------------------------------------------------------------
// Normalisation
// ---------------------------------------------------------------------------------------------
// Maps the source to the given average and deviation: with d and m the deviation and mean of the
// source (LumPixelStdDev, in its own bracket) and k = deviation / d, each value v becomes
// v * k + average - k * m, in float. BW8 builds a 256-entry table (below 0 gives 0, above 255
// gives 255, else truncated toward 0; a NaN gives 0) and runs the table form of LumLut on it,
// bracketed; a null or equal destination means in place. No memory for the table: 1303. When
// LumPixelStdDev or LumLut fails the table is not freed (256 bytes), as the operator always did.
// Returns 0 or the error. Trace "LumNormalize".
KELMIRA_API short int LumNormalize(ZROI<ZBW8>* source, ZROI<ZBW8>* destination, float average, float deviation);
// BW16 computes the mapping for each pixel, truncates toward 0 and clips to 0..65535 (a NaN gives
// 0). A null or equal destination means in place; sizes must match (1402). No deviation test: a
// deviation of 0 gives what the float division gives. Trace "LumNormalize (BW16)".
KELMIRA_API void LumNormalize(ZROI<ZBW16>* source, ZROI<ZBW16>* destination, float average, float deviation);

#endif  // KELMIRA_MEASURE_STATISTICS_H
