// Kelmira automatic threshold selection: gray levels that split the pixels of a histogram into
// two or more classes. Included by kelmira/thresholds.h.
//
// All selectors read a ZBWHistogramVector of exactly 256 bins (65536 for the BW16 forms) and touch
// no image, except LumAutoThreshold, which counts the histogram first. A failing selector returns
// 0 as its threshold, the residue forms -1.0; result vectors are changed only on success. A null
// histogram is 1400. Error numbers and trace strings are given with each operator.
#ifndef KELMIRA_THRESHOLDS_SELECTION_H
#define KELMIRA_THRESHOLDS_SELECTION_H

#include "kelmira/foundation.h"
#include "kelmira/vectors.h"

// The threshold argument of LumHistogramThreshold and LumAutoThreshold: a value below 0xFFFFFFF8 is
// a fixed threshold, these values name an automatic mode. 0xFFFFFFFE and 0xFFFFFFFF are no modes:
// they are fixed thresholds outside every range.
enum LUM_THRESHOLD_MODES : unsigned int {
  LUM_THRESHOLD_MODE_MIN_SQUARED_DISTANCE = 0xFFFFFFF8u,  // least sum of squared distances to black and white
  LUM_THRESHOLD_MODE_MIN_DISTANCE = 0xFFFFFFF9u,          // least sum of distances to black and white
  LUM_THRESHOLD_MODE_ISODATA = 0xFFFFFFFAu,               // nearest the middle of the two class means
  LUM_THRESHOLD_MODE_MAX_ENTROPY = 0xFFFFFFFBu,           // greatest sum of the class entropies
  LUM_THRESHOLD_MODE_MIN_RESIDUE = 0xFFFFFFFCu,           // least within-class residue
  LUM_THRESHOLD_MODE_RELATIVE = 0xFFFFFFFDu,              // a given fraction of the pixels lies below
};

// One class of a multi-level result.
struct ZRegionDescriptor {
  uint32_t m_un32First;  // first gray level of the class
  uint32_t m_un32Last;   // last gray level of the class
  float m_f32Mean;
  float m_f32Variance;
  uint32_t m_un32Count;  // pixels, truncated from the float table
};

// One complete partition: its regions in rising gray order and its root-mean-square residue.
struct ZLabelisationDescriptor {
  Marvane::Ovidra::Utils::Vector<ZRegionDescriptor> m_Regions;
  float m_f32Residue = 0.0f;
};

// The common two-class selector. `threshold` carries a fixed level or a mode on entry and the
// chosen level on return; averageBelow and averageAbove receive the means of the two classes over
// low..high (in the two distance modes: the mean distance, or squared distance, of each class to
// black and to white), or low and high + 1 for an empty class.
// - Isodata, maximum entropy, minimum residue scan t upward from low; the level t is reported with
//   t in the upper class, the lowest t wins a tie, and 0 when no t has both classes populated.
// - Minimum distance and minimum squared distance scan downward from high in 32-bit arithmetic
//   that wraps; the level is reported with itself still in the lower class and the highest wins a
//   tie.
// - Relative: the lowest level such that at least N - trunc(N * relative) pixels lie at or above
//   it; high + 1 when that count is 0.
// - Fixed: the lower class is low..threshold - 1.
// Checks in order: null (1400), bin count (1613), low above the top value (1015), high above it
// (1016), high not above low (1007), a fixed threshold outside low..high (1012), relative below
// 0, above 1 or NaN in the relative mode (1015). On failure the threshold is set to 0 and the
// averages are left alone. Trace "LumHistogramThreshold".
KELMIRA_API void LumHistogramThreshold(ZBWHistogramVector* histogram, unsigned int& threshold, float& averageBelow,
                                       float& averageAbove, float relative, unsigned int low, unsigned int high);
// The same on 65536 bins with the top value 65535. Trace "LumHistogramThreshold (BW16)".
KELMIRA_API void LumHistogramThresholdBW16(ZBWHistogramVector* histogram, unsigned int& threshold,
                                           float& averageBelow, float& averageAbove, float relative,
                                           unsigned int low, unsigned int high);

// The iterative isodata level: t starts at (low + high + 1) / 2 and becomes the mean of the two
// class means (t in the lower class, integer divisions) until it stands still, at most 16 times.
// Checks in order: null (1400), bin count (1613), low at or above 256 (1012), high at or above 256
// (1013), low not below high (1007). Failure returns 0. Trace
// "LumIsodataThreshold ( ZBWHistogramVector)".
KELMIRA_API ZBW8 LumIsodataThreshold(ZBWHistogramVector* histogram, unsigned int low, unsigned int high);
// The same on 65536 bins with 64-bit sums; the bounds must be below 65536. Same trace string.
KELMIRA_API ZBW16 LumIsodataThresholdBW16(ZBWHistogramVector* histogram, unsigned int low, unsigned int high);
// Legacy form on a kind 2 ZVector: the same iteration with the moment of bin `low` left out.
// Errors: 1400 null vector, 1607 another kind, 1601 no store (or fewer than 256 counts), then the
// bound checks above. Trace "LumIsodataThreshold ( ZVector)".
KELMIRA_API unsigned int LumIsodataThreshold(ZVector* histogram, unsigned int low, unsigned int high);

// Two classes by the least within-class residue over all 256 levels: the lowest t whose score
// Sb^2 / Nb + Sa^2 / Na beats the one-class score. The averages are written only at an
// improvement; with none the result is 0 and they are left as they were. Errors: 1400, 1613.
// Trace "LumMinResidueThreshold".
KELMIRA_API ZBW8 LumMinResidueThreshold(ZBWHistogramVector* histogram, float& averageBelow, float& averageAbove);

// The same scan, writing the threshold and returning the root-mean-square residue of the best
// split (with no split the spread of the whole histogram). An empty histogram gives 0.0 and the
// threshold 0. Failure returns -1.0. Trace "LumTwoLevelsMinResidueThreshold".
KELMIRA_API float LumTwoLevelsMinResidueThreshold(ZBWHistogramVector* histogram, ZBW8& threshold,
                                                  float& averageBelow, float& averageAbove);

// Three classes by the least residue over all pairs first <= second: the lower class is below
// first, the middle first..second - 1, the upper from second. The averages are written at each
// improvement, first and second at the end (0 and 0 with no improvement). Returns the residue,
// -1.0 on failure (1400, 1613). Trace "LumThreeLevelsMinResidueThreshold".
KELMIRA_API float LumThreeLevelsMinResidueThreshold(ZBWHistogramVector* histogram, ZBW8& first, ZBW8& second,
                                                    float& average1, float& average2, float& average3);

// `count` classes of the occupied gray range by dynamic programming over float tables; the regions
// in rising order go into `regions` (emptied first, only on success). Returns the root-mean-square
// residue, or -1.0 on failure: 1400 null, 1613 not 256 bins or all bins 0, 1012 a count below 2,
// 32767 no admissible partition (more classes than the occupied levels allow), 1303 no memory.
// Trace "LumMultiLevelsMinResidueThreshold".
KELMIRA_API float LumMultiLevelsMinResidueThreshold(ZBWHistogramVector* histogram, unsigned int count,
                                                    Marvane::Ovidra::Utils::Vector<ZRegionDescriptor>& regions);
// `count` thresholds, each the first level of the class above it: the region form with count + 1
// classes. The failures of the region form leave its trace, then
// "LumMultiLevelsMinResidueThreshold ( ZBW8)".
KELMIRA_API float LumMultiLevelsMinResidueThreshold(ZBWHistogramVector* histogram, unsigned int count,
                                                    Marvane::Ovidra::Utils::Vector<ZBW8>& thresholds);
// Every partition from 2 to `count` classes from one set of tables, appended in that order, each
// with its residue; returns the residue of the last. The stages are laid out once for all counts,
// stage k starting at the unsigned level lo + 1 - k, so a partition into more than lo + 2 classes
// (lo the lowest occupied level) cannot be formed and fails with 32767. Errors as the region form;
// `partitions` is changed only when every partition was formed.
// Trace "LumAllMultiLevelsMinResidueThreshold".
KELMIRA_API float LumAllMultiLevelsMinResidueThreshold(
    ZBWHistogramVector* histogram, unsigned int count,
    Marvane::Ovidra::Utils::Vector<ZLabelisationDescriptor>& partitions);

// Two classes by the greatest sum of the class entropies (in nats), which must beat the entropy of
// the whole histogram; the averages are written at an improvement. Returns the level, 0 when none
// improves. Errors: 1400, 1613. Trace "LumMaxEntropyThreshold".
KELMIRA_API ZBW8 LumMaxEntropyThreshold(ZBWHistogramVector* histogram, float& averageBelow, float& averageAbove);

// A threshold for a view: a fixed value below 256 (65536 for BW16) comes back at once, without
// reading the view. Otherwise the view's histogram (msb 15, bits 16 on BW16) goes through
// LumHistogramThreshold over the whole range; the level is truncated to the pixel type. No trace
// string of its own: failures leave those of LumHistogram or LumHistogramThreshold, and 0.
KELMIRA_API ZBW8 LumAutoThreshold(ZROI<ZBW8>* source, LUM_THRESHOLD_MODES mode, float relative);
KELMIRA_API ZBW16 LumAutoThreshold(ZROI<ZBW16>* source, LUM_THRESHOLD_MODES mode, float relative);

#endif  // KELMIRA_THRESHOLDS_SELECTION_H
