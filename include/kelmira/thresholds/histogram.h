// Kelmira histograms: counting pixel values into a ZBWHistogramVector, cumulating, reading
// features, and gray-level equalisation. Included by kelmira/thresholds.h.
//
// A histogram has 256 bins for 8-bit work and 65536 for 16-bit work; bin i counts the pixels of
// value i in 32-bit unsigned arithmetic that wraps. The legacy forms work on a ZVector of kind 2
// (256 counts of 4 bytes). Every operator clears the error state on entry and, on failure, leaves
// its number there and appends its trace string (given with each operator). A null pointer where a
// view or a vector is expected is 1400, never a crash.
#ifndef KELMIRA_THRESHOLDS_HISTOGRAM_H
#define KELMIRA_THRESHOLDS_HISTOGRAM_H

#include "kelmira/foundation.h"
#include "kelmira/vectors.h"

// The features of LumAnalyseHistogram, taken over the inclusive range low..high.
enum LUM_HISTOGRAM_FEATURE : int {
  LUM_HISTOGRAM_FEATURE_MOST_FREQUENT_VALUE = 0,   // index of the largest bin, first wins; 0 if all 0
  LUM_HISTOGRAM_FEATURE_HIGHEST_COUNT = 1,         // the largest bin; 0 if all 0
  LUM_HISTOGRAM_FEATURE_LEAST_FREQUENT_VALUE = 2,  // index of the smallest non-zero bin; 0 if none
  LUM_HISTOGRAM_FEATURE_LOWEST_COUNT = 3,          // the smallest non-zero bin; 0xFFFFFFFF (-1.0) if none
  LUM_HISTOGRAM_FEATURE_SMALLEST_VALUE = 4,        // lowest non-zero index; high + 1 if none
  LUM_HISTOGRAM_FEATURE_GREATEST_VALUE = 5,        // highest non-zero index; low - 1 if none
  LUM_HISTOGRAM_FEATURE_PIXEL_COUNT = 6,           // sum of the bins
  LUM_HISTOGRAM_FEATURE_AVERAGE = 7,               // mean value
  LUM_HISTOGRAM_FEATURE_STANDARD_DEVIATION = 8,    // population standard deviation
};

// Counts the pixels of an 8-bit view into 256 bins (SetNumElements(256), then cleared). A view
// without a run list (null or empty) is counted over its rectangle. With runs, only the pixels of
// the runs count: each run covers the bytes from m_un32Start up to, not including, m_un32End, as
// offsets from the view's pixel (0, 0). A run that is reversed, or that does not lie within one
// row of the view, fails with 106 before anything is counted. Errors: 1400 null or void view, null
// histogram; 106 a bad run; 1303 the bins cannot be allocated (the histogram is left as it was).
// Trace "LumHistogram".
KELMIRA_API void LumHistogram(ZROI<ZBW8>* source, ZBWHistogramVector* histogram);

// 16-bit and 32-bit views through a window of bits: the bin is formed from bits msb down to
// msb - bits + 1, so the histogram gets 1 << bits bins. With `saturate` non-zero a bin at or
// above the last one goes into the last one; `saturate` is ignored when msb is the top bit of the
// type. Without it, pixels with bits set above msb would fall past the last bin: they are not
// counted. Checks in order: the view (1400), the histogram (1400), msb above 15 (BW16) or 31
// (BW32) (1013), bits above msb + 1 or above 24 (1014), then the allocation (1303). The whole
// rectangle is counted; run lists are not looked at. Traces "LumHistogram ( ZBW16)",
// "LumHistogram ( ZBW32)".
KELMIRA_API void LumHistogram(ZROI<ZBW16>* source, ZBWHistogramVector* histogram, unsigned int msb,
                              unsigned int bits, int saturate);
KELMIRA_API void LumHistogram(ZROI<ZBW32>* source, ZBWHistogramVector* histogram, unsigned int msb,
                              unsigned int bits, int saturate);

// The legacy form: 256 counts into a ZVector, which is given kind 2 (256 items of 4 bytes) when it
// has another kind. Run lists are not looked at. Errors: 1400 null or void view, null vector; 1601
// a vector without a store, or whose store holds fewer than 256 counts of 4 bytes. Returns 0 or
// the error number. Trace "LumHistogram ( ZVector)".
KELMIRA_API short int LumHistogram(ZROI<ZBW8>* source, ZVector* histogram);

// destination[i] = source[0] + ... + source[i], wrapping at 32 bits. The destination takes the
// source's count first when it differs; source and destination may be the same vector. Errors:
// 1400 a null vector; 1303 the destination cannot grow. Trace "LumCumulateHistogram".
KELMIRA_API void LumCumulateHistogram(ZBWHistogramVector* source, ZBWHistogramVector* destination);

// A feature of the bins low..high (inclusive) of a 256-bin histogram, as a float. Integer
// features go through a signed 32-bit conversion (a count of 2^31 or more comes out negative).
// The average is S1 / N and the standard deviation sqrt((Q - P * P / N) / N), with N, S1 and the
// terms bin * i and bin * i * i in 32-bit arithmetic that wraps; both are 0.0 when N is 0.
// Checks in order: null (1400), not 256 bins (1613), low negative (1013), high above 255 (1014),
// high below low (1007); a failure returns 0.0. A feature above 8 returns 0.0 with no error set,
// but the trace string is still appended. Trace "LumAnalyseHistogram".
KELMIRA_API float LumAnalyseHistogram(ZBWHistogramVector* histogram, LUM_HISTOGRAM_FEATURE feature, int low = 0,
                                      int high = 255);

// The same on a 65536-bin histogram, kept with its shifted reading: index i of the range reads
// bin i + low, and a value feature reports i. high may be 65536. Bins past the last read as 0.
// A feature above 8 returns 0.0 without error or trace. Trace "LumAnalyseHistogram (BW16)".
KELMIRA_API float LumAnalyseHistogramBW16(ZBWHistogramVector* histogram, LUM_HISTOGRAM_FEATURE feature,
                                          int low = 0, int high = 65535);

// Legacy forms on a kind 2 ZVector: features 0 to 6 into the int, 7 and 8 into the float; any
// other feature writes nothing and succeeds. The bounds are not checked: bins outside the store
// read as 0. Errors: 1400 null vector, 1602 another kind, 1601 no store. Returns 0 or the error.
// Trace "LumAnalyseHistogram".
KELMIRA_API short int LumAnalyseHistogram(ZVector* histogram, int low, int high, int feature, int& result);
KELMIRA_API short int LumAnalyseHistogram(ZVector* histogram, int low, int high, int feature, float& result);

// Equalisation table: entry i is (C * 255) / T, C the count of the pixels below i (i itself not
// included), T of all, so entry 0 is always 0. The product is taken in 64 bits. An all-zero
// histogram gives a table of zeros. The table's capacity is set to 256 and its count becomes 256.
// Errors: 1400 null vector, 1613 not 256 bins, 1303 no store for the table.
// Trace "LumSetupEqualize ( ZBWHistogramVector)".
KELMIRA_API void LumSetupEqualize(ZBWHistogramVector* histogram, ZBW8Vector* table);

// Legacy table on ZVectors, with its own scale: the low byte of entry i is (C << 8) / T in 32-bit
// arithmetic, so 256 wraps to 0 when the top bins are empty. The table is given kind 3 with 256
// entries of 2 bytes when it has another kind; only the low byte of each entry is written. Errors:
// 1400 a null vector, 1603 a histogram not of kind 2, 1601 a missing or short store.
// Trace "LumSetupEqualize ( ZVector)".
KELMIRA_API void LumSetupEqualize(ZVector* histogram, ZVector* table);

// Equalises an 8-bit view: LumHistogram, LumSetupEqualize, then LumLut with that table. A null
// destination (or the source itself) works in place. A failure in a step leaves that step's trace
// and then "LumEqualize"; the destination is written only when every step before LumLut passed.
KELMIRA_API void LumEqualize(ZROI<ZBW8>* source, ZROI<ZBW8>* destination);

// Equalises a 16-bit view with the inclusive cumulated count: C[v] * 65535 / T in 64 bits,
// limited to 65535. A null destination works in place. Errors: 1400 null or void views, 1402
// sizes, 1303 no memory for the table. Trace "LumEqualize (BW16)".
KELMIRA_API void LumEqualize(ZROI<ZBW16>* source, ZROI<ZBW16>* destination);

#endif  // KELMIRA_THRESHOLDS_HISTOGRAM_H
