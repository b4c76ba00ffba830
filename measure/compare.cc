// Two views against each other (LumPixelCompare, the noise figures, the joint histogram, the
// linear fit), the focus measure, and LumNormalize.
#include <cmath>
#include <cstdint>
#include <new>
#include <vector>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

#include "foundation/frame.h"
#include "kelmira/measure/statistics.h"
#include "kelmira/pixelwise/point.h"
#include "measure/row_sums.h"
#include "measure/walk.h"

namespace kelmira::measure {
namespace {

bool Wide() { return ZGetMMX() != 0; }

template <class P>
constexpr int kChannels = PixelTraits<P>::kChannels;

// Row sums of BW8 and of the C24 bytes are 32-bit and wrap; those of BW16 are 64-bit.
template <class P>
uint64_t RowWidth(uint64_t v) {
  return sizeof(Storage<P>) == 1 ? static_cast<uint32_t>(v) : v;
}

bool ModeOk(LUM_REFERENCE_NOISE mode) {
  return mode == LUM_REFERENCE_NOISE_NONE || mode == LUM_REFERENCE_NOISE_EQUAL || frame::Fail(Z_ERROR_ARGUMENT_3);
}

template <class P>
unsigned int Differ(ZROI<P>* a, ZROI<P>* b) {
  if (!Pair(a, b)) return 0;
  const Values<P> ra(a), rb(b);
  const bool wide = Wide();
  const int n = a->GetWidth() * kChannels<P>;
  uint64_t count = 0;
  for (int y = 0; y < a->GetHeight(); ++y) {
    if constexpr (kChannels<P> == 1) {
      count += CountDiffer(wide, ra[y], rb[y], n);
    } else {
      count += wide ? WideCountDiffer3(ra[y], rb[y], a->GetWidth()) : scalar::CountDiffer3(ra[y], rb[y], a->GetWidth());
    }
  }
  return static_cast<unsigned int>(count);
}

// Per channel: the row sums of a * a and (a - b) * (a - b).
template <class P>
void SquareDiffRow(bool wide, const Storage<P>* a, const Storage<P>* b, int width, SumSq* out) {
  if constexpr (kChannels<P> == 1) {
    out[0] = SquareDiff(wide, a, b, width);
  } else {
    for (int k = 0; k < kChannels<P>; ++k) out[k] = SumSq{};
    if (wide) WideSquareDiff3(a, b, width, out);
    else scalar::SquareDiff3(a, b, width, out);
  }
}

// The signal and error totals P and E of each channel, in long double.
template <class P>
bool Noise(ZROI<P>* source, ZROI<P>* reference, LUM_REFERENCE_NOISE mode, long double* power, long double* error,
           float* errorFloat) {
  if (!Pair(source, reference) || !ModeOk(mode)) return false;
  const Values<P> ra(source), rb(reference);
  const bool wide = Wide();
  SumSq row[kChannels<P>];
  for (int k = 0; k < kChannels<P>; ++k) power[k] = error[k] = 0.0L, errorFloat[k] = 0.0f;
  for (int y = 0; y < source->GetHeight(); ++y) {
    SquareDiffRow<P>(wide, ra[y], rb[y], source->GetWidth(), row);
    for (int k = 0; k < kChannels<P>; ++k) {
      power[k] += static_cast<long double>(RowWidth<P>(row[k].sum));
      error[k] += static_cast<long double>(RowWidth<P>(row[k].squares));
      errorFloat[k] += static_cast<float>(RowWidth<P>(row[k].squares));
    }
  }
  return true;
}

template <class P>
bool SignalNoise(ZROI<P>* source, ZROI<P>* reference, LUM_REFERENCE_NOISE mode, float* result) {
  long double power[kChannels<P>], error[kChannels<P>];
  float unused[kChannels<P>];
  if (!Noise(source, reference, mode, power, error, unused)) return false;
  for (int k = 0; k < kChannels<P>; ++k) {
    if (error[k] == 0.0L) {
      result[k] = 0.0f;
      continue;
    }
    long double db = 10.0L * std::log10(power[k] / error[k]);
    if (mode == LUM_REFERENCE_NOISE_EQUAL) db += 10.0L * std::log10(2.0L);
    result[k] = static_cast<float>(db);
  }
  return true;
}

template <class P>
bool Rms(ZROI<P>* source, ZROI<P>* reference, LUM_REFERENCE_NOISE mode, float* result) {
  long double power[kChannels<P>], error[kChannels<P>];
  float total[kChannels<P>];
  if (!Noise(source, reference, mode, power, error, total)) return false;
  const float size = static_cast<float>(static_cast<int64_t>(source->GetWidth()) * source->GetHeight());
  for (int k = 0; k < kChannels<P>; ++k) {
    if (mode == LUM_REFERENCE_NOISE_EQUAL) total[k] *= 0.5f;
    result[k] = std::sqrt(total[k] / size);
  }
  return true;
}

template <class P>
bool Focusing(ZROI<P>* view, float* result) {
  if (!Usable(view)) return false;
  const Values<P> rows(view);
  const bool wide = Wide();
  const int width = view->GetWidth(), n = width - 1;
  long double total[kChannels<P>] = {};
  for (int y = 0; y + 1 < view->GetHeight() && n > 0; ++y) {
    if constexpr (kChannels<P> == 1) {
      total[0] += static_cast<long double>(RowWidth<P>(Focus(wide, rows[y], rows[y + 1], n)));
    } else {
      uint64_t sums[kChannels<P>] = {};
      if (wide) WideFocus3(rows[y], rows[y + 1], n, sums);
      else scalar::Focus3(rows[y], rows[y + 1], n, sums);
      for (int k = 0; k < kChannels<P>; ++k) total[k] += static_cast<long double>(RowWidth<P>(sums[k]));
    }
  }
  for (int k = 0; k < kChannels<P>; ++k) result[k] = static_cast<float>(total[k]);
  return true;
}

// Counts first, then sizes and writes the image, so that an image that is also a source is read
// before it changes.
template <class C>
void Correlogram(ZROI<ZBW8>* first, ZROI<ZBW8>* second, ZImage<C>* image) {
  using S = Storage<C>;
  if (!Pair(first, second)) return;
  if (image == nullptr) {
    frame::Fail(Z_ERROR_NULL_IMAGE);
    return;
  }
  std::vector<uint32_t> cells;
  try {
    cells.assign(256 * 256, 0);
  } catch (const std::bad_alloc&) {
    frame::Fail(Z_ERROR_NO_MEMORY);
    return;
  }
  const Values<ZBW8> ra(first), rb(second);
  for (int y = 0; y < first->GetHeight(); ++y)
    for (int x = 0; x < first->GetWidth(); ++x) ++cells[(255u - rb[y][x]) * 256u + ra[y][x]];
  image->SetSize(256, 256);
  if (!frame::Ok()) return;
  if (image->GetImagePtr(0, 0) == nullptr) {
    frame::Fail(Z_ERROR_NO_MEMORY);
    return;
  }
  const rows::Rows<C> out(image);
  constexpr uint32_t kMax = PixelTraits<C>::kMax;
  for (int r = 0; r < 256; ++r)
    for (int c = 0; c < 256; ++c) out[r][c] = static_cast<S>(cells[r * 256 + c] < kMax ? cells[r * 256 + c] : kMax);
}

void Regression(ZROI<ZBW8>* first, ZROI<ZBW8>* second, float& slope, float& intercept, float& correlation,
                bool excludeClipped) {
  if (!Pair(first, second)) return;
  const Values<ZBW8> ra(first), rb(second);
  const bool wide = Wide();
  double sa = 0, sb = 0, saa = 0, sab = 0, sbb = 0;
  uint64_t n = 0;
  for (int y = 0; y < first->GetHeight(); ++y) {
    const Pairs p = wide ? WideRegression(ra[y], rb[y], first->GetWidth(), excludeClipped)
                         : scalar::Regression(ra[y], rb[y], first->GetWidth(), excludeClipped);
    sa += static_cast<double>(p.a), sb += static_cast<double>(p.b), saa += static_cast<double>(p.aa);
    sab += static_cast<double>(p.ab), sbb += static_cast<double>(p.bb), n += p.n;
  }
  if (n == 0) {
    frame::Fail(Z_ERROR_NO_VARIANCE);
    return;
  }
  const double i = 1.0 / static_cast<double>(n);
  const double ma = sa * i, mb = sb * i;
  const double vaa = saa * i - ma * ma, vab = sab * i - mb * ma, vbb = sbb * i - mb * mb;
  if (vaa == 0.0) {
    // Constant data: the described results, and the error that tells the host there was no fit.
    slope = 0.0f, intercept = static_cast<float>(mb), correlation = 0.0f;
    frame::Fail(Z_ERROR_NO_VARIANCE);
    return;
  }
  const double s = vab / vaa;
  slope = static_cast<float>(s);
  intercept = static_cast<float>(mb - s * ma);
  correlation = vaa * vbb > 0.0 ? static_cast<float>(vab / std::sqrt(vaa * vbb)) : 0.0f;
}

// v * k + average - k * m, in float.
float Mapped(int v, float k, float average, float m) { return static_cast<float>(v) * k + average - k * m; }

// Below 0 gives 0, above `max` gives max, else truncation toward 0; NaN gives 0.
uint32_t Clip(float r, uint32_t max) {
  if (!(r >= 0.0f)) return 0;
  if (r > static_cast<float>(max)) return max;
  return static_cast<uint32_t>(r);
}

// The table is left to the host's heap when a nested call fails, as the operator always did; the
// sanitizer builds are told so, that they may still look for real leaks.
void Abandon([[maybe_unused]] uint8_t* table) {
#if defined(__SANITIZE_ADDRESS__)
  __lsan_ignore_object(table);
#endif
}

void Normalize16(ZROI<ZBW16>* source, ZROI<ZBW16>* destination, float average, float deviation) {
  float d = 0.0f, m = 0.0f;
  if (!frame::Step([&] { LumPixelStdDev(source, d, m); })) return;
  if (destination == nullptr) destination = source;
  if (!Usable(destination) || !frame::SameSize(source, destination)) return;
  const float k = deviation / d;
  const Values<ZBW16> in(source);
  const rows::Rows<ZBW16> out(destination);
  for (int y = 0; y < source->GetHeight(); ++y)
    for (int x = 0; x < source->GetWidth(); ++x)
      out[y][x] = static_cast<uint16_t>(Clip(Mapped(in[y][x], k, average, m), 65535));
}

// A measure per channel as the operator returns it: the one float of a gray view, or the three of
// a C24 view as a ZColor; `measure` fills the channels' results.
template <class R, class F>
R ChannelForm(const char* trace, F&& measure) {
  return ValueForm<R>(trace, [&] {
    float r[3] = {};
    measure(r);
    if constexpr (std::is_same_v<R, ZColor>) return ZColor(r[0], r[1], r[2]);
    else return r[0];
  });
}

}  // namespace
}  // namespace kelmira::measure

using namespace kelmira::measure;
namespace frame = kelmira::frame;

unsigned int LumPixelCompare(ZROI<ZBW8>* first, ZROI<ZBW8>* second) {
  return ValueForm<unsigned int>("LumPixelCompare ( BW8)", [&] { return Differ(first, second); });
}
unsigned int LumPixelCompare(ZROI<ZBW16>* first, ZROI<ZBW16>* second) {
  return ValueForm<unsigned int>("LumPixelCompare ( BW16)", [&] { return Differ(first, second); });
}
unsigned int LumPixelCompare(ZROI<ZC24>* first, ZROI<ZC24>* second) {
  return ValueForm<unsigned int>("LumPixelCompare ( C24)", [&] { return Differ(first, second); });
}

float LumSignalNoiseRatio(ZROI<ZBW8>* source, ZROI<ZBW8>* reference, LUM_REFERENCE_NOISE mode) {
  return ChannelForm<float>("LumSignalNoiseRatio ( BW8 source and BW8 reference)",
      [&](float* r) { SignalNoise(source, reference, mode, r); });
}
float LumSignalNoiseRatio(ZROI<ZBW16>* source, ZROI<ZBW16>* reference, LUM_REFERENCE_NOISE mode) {
  return ChannelForm<float>("LumSignalNoiseRatio ( BW16 source and BW16 reference)",
      [&](float* r) { SignalNoise(source, reference, mode, r); });
}
ZColor LumSignalNoiseRatio(ZROI<ZC24>* source, ZROI<ZC24>* reference, LUM_REFERENCE_NOISE mode) {
  return ChannelForm<ZColor>("LumSignalNoiseRatio ( C24 source and C24 reference)",
      [&](float* r) { SignalNoise(source, reference, mode, r); });
}

float LumRmsNoise(ZROI<ZBW8>* source, ZROI<ZBW8>* reference, LUM_REFERENCE_NOISE mode) {
  return ChannelForm<float>("LumRmsNoise ( BW8 source and BW8 reference)",
      [&](float* r) { Rms(source, reference, mode, r); });
}
float LumRmsNoise(ZROI<ZBW16>* source, ZROI<ZBW16>* reference, LUM_REFERENCE_NOISE mode) {
  return ChannelForm<float>("LumRmsNoise ( BW16 source and BW16 reference)",
      [&](float* r) { Rms(source, reference, mode, r); });
}
ZColor LumRmsNoise(ZROI<ZC24>* source, ZROI<ZC24>* reference, LUM_REFERENCE_NOISE mode) {
  return ChannelForm<ZColor>("LumRmsNoise ( C24 source and C24 reference)",
      [&](float* r) { Rms(source, reference, mode, r); });
}

float LumFocusing(ZROI<ZBW8>* view) {
  return ChannelForm<float>("LumFocusing ( BW8)", [&](float* r) { Focusing(view, r); });
}
float LumFocusing(ZROI<ZBW16>* view) {
  return ChannelForm<float>("LumFocusing ( BW16)", [&](float* r) { Focusing(view, r); });
}
ZColor LumFocusing(ZROI<ZC24>* view) {
  return ChannelForm<ZColor>("LumFocusing ( C24)", [&](float* r) { Focusing(view, r); });
}

void LumCorrelogram(ZROI<ZBW8>* first, ZROI<ZBW8>* second, ZImage<ZBW8>* image) {
  VoidForm("LumCorrelogram ( BW8)", [&] { Correlogram(first, second, image); });
}
void LumCorrelogram(ZROI<ZBW8>* first, ZROI<ZBW8>* second, ZImage<ZBW16>* image) {
  VoidForm("LumCorrelogram ( BW16)", [&] { Correlogram(first, second, image); });
}

void LumLinearRegression(ZROI<ZBW8>* first, ZROI<ZBW8>* second, float& slope, float& intercept, float& correlation,
                         int excludeClipped) {
  VoidForm("LumLinearRegression",
           [&] { Regression(first, second, slope, intercept, correlation, excludeClipped != 0); });
}

short int LumNormalize(ZROI<ZBW8>* source, ZROI<ZBW8>* destination, float average, float deviation) {
  if (!frame::Enter()) return frame::LeaveShort("LumNormalize");
  uint8_t* table = new (std::nothrow) uint8_t[256];
  if (table == nullptr) {
    frame::Fail(Z_ERROR_NO_MEMORY);
    return frame::LeaveShort("LumNormalize");
  }
  float d = 0.0f, m = 0.0f;
  if (!frame::Step([&] { LumPixelStdDev(source, d, m); })) {
    Abandon(table);
    return frame::LeaveShort("LumNormalize");
  }
  const float k = deviation / d;
  for (int v = 0; v < 256; ++v) table[v] = static_cast<uint8_t>(Clip(Mapped(v, k, average, m), 255));
  if (!frame::Step([&] { LumLut(source, destination, reinterpret_cast<ZBW8*>(table)); })) {
    Abandon(table);
    return frame::LeaveShort("LumNormalize");
  }
  delete[] table;
  return frame::LeaveShort("LumNormalize");
}

void LumNormalize(ZROI<ZBW16>* source, ZROI<ZBW16>* destination, float average, float deviation) {
  VoidForm("LumNormalize (BW16)", [&] { Normalize16(source, destination, average, deviation); });
}
