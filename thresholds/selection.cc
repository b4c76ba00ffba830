// Two-class threshold selection on a histogram: LumHistogramThreshold in every mode (8-bit and
// BW16), the iterative LumIsodataThreshold in its three forms, and LumAutoThreshold.
#include <cfloat>
#include <cmath>
#include <cstring>
#include <vector>

#include "foundation/frame.h"
#include "kelmira/thresholds/histogram.h"
#include "kelmira/thresholds/selection.h"

namespace kelmira::selection {
namespace {

// The two classes of a split: pixel counts and moments, in 32-bit arithmetic that wraps.
struct Classes {
  uint32_t nb = 0, sb = 0, na = 0, sa = 0;
};

// Isodata, maximum entropy and minimum residue: one upward pass with the classes moved bin by bin.
// The criterion is minimised; bin t is still in the upper class when t is evaluated.
template <class Criterion>
unsigned UpwardScan(const uint32_t* h, unsigned low, unsigned high, Classes* best, Criterion&& criterion) {
  Classes c;
  for (unsigned i = low; i <= high; ++i) c.na += h[i], c.sa += h[i] * i;
  float bestValue = FLT_MAX;
  unsigned threshold = 0;
  for (unsigned t = low; t <= high; ++t) {
    if (c.nb != 0 && c.na != 0) {
      const float value = criterion(c, t);
      if (value < bestValue) bestValue = value, threshold = t, *best = c;
    }
    criterion.Move(h[t]);
    c.nb += h[t], c.sb += h[t] * t;
    c.na -= h[t], c.sa -= h[t] * t;
  }
  return threshold;
}

struct Isodata {
  float operator()(const Classes& c, unsigned t) const {
    const float below = static_cast<float>(c.sb) * 0.5f / static_cast<float>(c.nb);
    const float above = static_cast<float>(c.sa) * 0.5f / static_cast<float>(c.na);
    return std::fabs(below + above - static_cast<float>(t));
  }
  void Move(uint32_t) {}
};

struct Residue {
  float operator()(const Classes& c, unsigned) const {
    const long double sb = c.sb, sa = c.sa;
    return static_cast<float>(-(sb * sb / c.nb + sa * sa / c.na));
  }
  void Move(uint32_t) {}
};

// E = sum of n ln n per class: the upper one in a float rounded at each step, the lower one in
// extended precision.
struct Entropy {
  float ea = 0.0f;
  long double eb = 0.0L;
  Entropy(const uint32_t* h, unsigned low, unsigned high) {
    for (unsigned i = low; i <= high; ++i) ea = static_cast<float>(ea + NLogN(h[i]));
  }
  static long double NLogN(uint32_t n) { return n == 0 ? 0.0L : n * std::log(static_cast<long double>(n)); }
  float operator()(const Classes& c, unsigned) const {
    const long double na = c.na, nb = c.nb;
    return static_cast<float>((ea / na) + (eb / nb - std::log(nb)) - std::log(na));
  }
  void Move(uint32_t n) {
    const long double e = NLogN(n);
    ea = static_cast<float>(ea - e);
    eb += e;
  }
};

// Minimum distance and squared distance: downward from high, every bin first in the lower class,
// residues in wrapping 32-bit arithmetic; i is evaluated with bin i still in the lower class.
unsigned DownwardScan(const uint32_t* h, unsigned low, unsigned high, unsigned top, bool squared, Classes* best) {
  Classes c;
  for (unsigned i = low; i <= high; ++i) c.nb += h[i], c.sb += squared ? h[i] * i * i : h[i] * i;
  if (squared) c.sb += c.nb * low * low;  // kept: it only shifts averageBelow when low is not 0
  uint32_t bestValue = 0xFFFFFFFFu;
  unsigned threshold = 0;
  for (unsigned i = high + 1; i-- > low;) {
    if (c.sb + c.sa < bestValue) bestValue = c.sb + c.sa, threshold = i, *best = c;
    const uint32_t d = top - i;
    c.sb -= squared ? h[i] * i * i : h[i] * i;
    c.sa += squared ? h[i] * d * d : h[i] * d;
    c.nb -= h[i], c.na += h[i];
  }
  return threshold;
}

// The relative mode: bins join the upper class from high down until it holds L = N - trunc(N *
// relative) pixels.
unsigned Relative(const uint32_t* h, unsigned low, unsigned high, float relative, Classes* c) {
  uint32_t n = 0;
  for (unsigned i = low; i <= high; ++i) n += h[i];
  const uint32_t l = n - static_cast<uint32_t>(static_cast<double>(n) * relative);
  unsigned threshold = high + 1;
  for (unsigned i = high + 1; c->na < l && i-- > low;) c->na += h[i], c->sa += h[i] * i, threshold = i;
  for (unsigned i = low; i < threshold; ++i) c->nb += h[i], c->sb += h[i] * i;
  return threshold;
}

bool IsMode(unsigned t) { return t >= LUM_THRESHOLD_MODE_MIN_SQUARED_DISTANCE && t <= LUM_THRESHOLD_MODE_RELATIVE; }

void HistogramThreshold(ZBWHistogramVector* histogram, unsigned& threshold, float& averageBelow, float& averageAbove,
                        float relative, unsigned low, unsigned high, unsigned top) {
  const unsigned mode = threshold;
  threshold = 0;
  if (histogram == nullptr) {
    frame::Fail(Z_ERROR_NULL_IMAGE);
    return;
  }
  if (histogram->GetNumElements() != top + 1 || histogram->GetDataPtr() == nullptr) {
    frame::Fail(Z_ERROR_TABLE_SIZE);
    return;
  }
  if (low > top) {
    frame::Fail(Z_ERROR_ARGUMENT_5);
    return;
  }
  if (high > top) {
    frame::Fail(Z_ERROR_ARGUMENT_6);
    return;
  }
  if (high <= low) {
    frame::Fail(Z_ERROR_BAD_ARGUMENTS);
    return;
  }
  if (!IsMode(mode) && (mode < low || mode > high)) {
    frame::Fail(Z_ERROR_ARGUMENT_2);
    return;
  }
  if (mode == LUM_THRESHOLD_MODE_RELATIVE && !(relative >= 0.0f && relative <= 1.0f)) {
    frame::Fail(Z_ERROR_ARGUMENT_5);
    return;
  }
  const uint32_t* h = histogram->GetDataPtr();
  Classes c;
  unsigned t = 0;
  switch (mode) {
    case LUM_THRESHOLD_MODE_ISODATA: t = UpwardScan(h, low, high, &c, Isodata{}); break;
    case LUM_THRESHOLD_MODE_MIN_RESIDUE: t = UpwardScan(h, low, high, &c, Residue{}); break;
    case LUM_THRESHOLD_MODE_MAX_ENTROPY: t = UpwardScan(h, low, high, &c, Entropy(h, low, high)); break;
    case LUM_THRESHOLD_MODE_MIN_DISTANCE: t = DownwardScan(h, low, high, top, false, &c); break;
    case LUM_THRESHOLD_MODE_MIN_SQUARED_DISTANCE: t = DownwardScan(h, low, high, top, true, &c); break;
    case LUM_THRESHOLD_MODE_RELATIVE: t = Relative(h, low, high, relative, &c); break;
    default:  // fixed
      t = mode;
      for (unsigned i = low; i <= high; ++i) {
        if (i < t) c.nb += h[i], c.sb += h[i] * i;
        else c.na += h[i], c.sa += h[i] * i;
      }
  }
  threshold = t;
  averageBelow = c.nb != 0 ? static_cast<float>(static_cast<double>(c.sb) / c.nb) : static_cast<float>(low);
  averageAbove = c.na != 0 ? static_cast<float>(static_cast<double>(c.sa) / c.na) : static_cast<float>(high + 1);
}

// The iteration of LumIsodataThreshold over running tables C and S of `Sum` (32 or 64 bits).
template <class Sum>
unsigned Isodata(const uint32_t* h, unsigned low, unsigned high, bool dropFirstMoment) {
  std::vector<Sum> count(high + 1), moment(high + 1);
  Sum n = 0, s = 0;
  for (unsigned i = low; i <= high; ++i) {
    n += h[i];
    if (i != low || !dropFirstMoment) s += static_cast<Sum>(h[i]) * i;
    count[i] = n, moment[i] = s;
  }
  unsigned t = (low + high + 1) / 2;
  for (int iterations = 0;;) {
    const Sum mb = count[t] != 0 ? moment[t] / count[t] : (t + low) / 2;
    const Sum above = count[high] - count[t];
    const Sum ma = above != 0 ? (moment[high] - moment[t]) / above : (t + high + 1) / 2;
    const unsigned u = static_cast<unsigned>((ma + mb) / 2);
    if (u == t) break;
    t = u;
    if (++iterations == 16) break;
  }
  return t;
}

template <class Sum>
unsigned IsodataChecks(const uint32_t* h, unsigned low, unsigned high, unsigned bins, bool dropFirstMoment) {
  if (low >= bins) return frame::Fail(Z_ERROR_ARGUMENT_2), 0;
  if (high >= bins) return frame::Fail(Z_ERROR_ARGUMENT_3), 0;
  if (low >= high) return frame::Fail(Z_ERROR_BAD_ARGUMENTS), 0;
  return Isodata<Sum>(h, low, high, dropFirstMoment);
}

template <class Sum>
unsigned IsodataHistogram(ZBWHistogramVector* histogram, unsigned low, unsigned high, unsigned bins) {
  if (histogram == nullptr) return frame::Fail(Z_ERROR_NULL_IMAGE), 0;
  if (histogram->GetNumElements() != bins || histogram->GetDataPtr() == nullptr)
    return frame::Fail(Z_ERROR_TABLE_SIZE), 0;
  return IsodataChecks<Sum>(histogram->GetDataPtr(), low, high, bins, false);
}

unsigned IsodataLegacy(ZVector* v, unsigned low, unsigned high) {
  if (v == nullptr) return frame::Fail(Z_ERROR_NULL_IMAGE), 0;
  if (v->GetVectType() != 2) return frame::Fail(Z_ERROR_VECTOR_NOT_HISTOGRAM), 0;
  if (v->GetDataPtr() == nullptr || v->GetDataSize() != 4 || v->GetAllocatedSize() < 1024)
    return frame::Fail(Z_ERROR_VECTOR_NO_DATA), 0;
  return IsodataChecks<uint32_t>(static_cast<const uint32_t*>(v->GetDataPtr()), low, high, 256, true);
}

}  // namespace
}  // namespace kelmira::selection

namespace sel = kelmira::selection;
namespace frame = kelmira::frame;

void LumHistogramThreshold(ZBWHistogramVector* histogram, unsigned int& threshold, float& averageBelow,
                           float& averageAbove, float relative, unsigned int low, unsigned int high) {
  if (frame::Enter()) sel::HistogramThreshold(histogram, threshold, averageBelow, averageAbove, relative, low, high, 255);
  else threshold = 0;
  frame::Leave("LumHistogramThreshold");
}

void LumHistogramThresholdBW16(ZBWHistogramVector* histogram, unsigned int& threshold, float& averageBelow,
                               float& averageAbove, float relative, unsigned int low, unsigned int high) {
  if (frame::Enter())
    sel::HistogramThreshold(histogram, threshold, averageBelow, averageAbove, relative, low, high, 65535);
  else threshold = 0;
  frame::Leave("LumHistogramThreshold (BW16)");
}

ZBW8 LumIsodataThreshold(ZBWHistogramVector* histogram, unsigned int low, unsigned int high) {
  unsigned t = 0;
  if (frame::Enter()) t = sel::IsodataHistogram<uint32_t>(histogram, low, high, 256);
  frame::Leave("LumIsodataThreshold ( ZBWHistogramVector)");
  return static_cast<uint8_t>(frame::Ok() ? t : 0);
}

ZBW16 LumIsodataThresholdBW16(ZBWHistogramVector* histogram, unsigned int low, unsigned int high) {
  unsigned t = 0;
  if (frame::Enter()) t = sel::IsodataHistogram<uint64_t>(histogram, low, high, 65536);
  frame::Leave("LumIsodataThreshold ( ZBWHistogramVector)");
  return static_cast<uint16_t>(frame::Ok() ? t : 0);
}

unsigned int LumIsodataThreshold(ZVector* histogram, unsigned int low, unsigned int high) {
  unsigned t = 0;
  if (frame::Enter()) t = sel::IsodataLegacy(histogram, low, high);
  frame::Leave("LumIsodataThreshold ( ZVector)");
  return frame::Ok() ? t : 0;
}

ZBW8 LumAutoThreshold(ZROI<ZBW8>* source, LUM_THRESHOLD_MODES mode, float relative) {
  ZOk();
  if (mode < 256) return static_cast<uint8_t>(mode);
  ZBWHistogramVector histogram;
  if (!frame::Step([&] { LumHistogram(source, &histogram); })) return 0;
  unsigned threshold = mode;
  float below = 0.0f, above = 0.0f;
  LumHistogramThreshold(&histogram, threshold, below, above, relative, 0, 255);
  return static_cast<uint8_t>(threshold);
}

ZBW16 LumAutoThreshold(ZROI<ZBW16>* source, LUM_THRESHOLD_MODES mode, float relative) {
  ZOk();
  if (mode < 65536) return static_cast<uint16_t>(mode);
  ZBWHistogramVector histogram;
  if (!frame::Step([&] { LumHistogram(source, &histogram, 15, 16, 0); })) return 0;
  unsigned threshold = mode;
  float below = 0.0f, above = 0.0f;
  LumHistogramThresholdBW16(&histogram, threshold, below, above, relative, 0, 65535);
  return static_cast<uint16_t>(threshold);
}
