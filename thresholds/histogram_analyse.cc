// Reading histograms: the features of LumAnalyseHistogram (three forms and the BW16 one), the
// equalisation tables of LumSetupEqualize, and LumEqualize on BW8 and BW16.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <new>
#include <type_traits>
#include <vector>

#include "foundation/frame.h"
#include "foundation/rows.h"
#include "kelmira/pixelwise/point.h"
#include "kelmira/thresholds/histogram.h"

namespace kelmira::histogram {
namespace {

// The bins of a range as the features see them: bin(i) for i in low..high, 0 outside the store.
struct Bins {
  const uint32_t* data;
  int64_t count;  // readable elements
  int64_t base;   // index i reads element i + base
  uint32_t operator()(int64_t i) const {
    const int64_t k = i + base;
    return k >= 0 && k < count ? data[k] : 0;
  }
  // low..high cut to the indices that read the store: every bin outside reads 0, and no feature
  // changes with a 0 bin, so the loops skip them (a hostile range of 2^32 bins costs nothing).
  int64_t From(int64_t low) const { return std::max(low, -base); }
  int64_t To(int64_t high) const { return std::min(high, count - 1 - base); }
};

// Features 0 to 6 as the 32-bit word they produce.
uint32_t IntegerFeature(int feature, int64_t low, int64_t high, const Bins& bin) {
  uint32_t best = 0, index = 0, sum = 0;
  switch (feature) {
    case LUM_HISTOGRAM_FEATURE_MOST_FREQUENT_VALUE:
    case LUM_HISTOGRAM_FEATURE_HIGHEST_COUNT:
      for (int64_t i = bin.From(low); i <= bin.To(high); ++i)
        if (bin(i) > best) best = bin(i), index = static_cast<uint32_t>(i);
      return feature == LUM_HISTOGRAM_FEATURE_HIGHEST_COUNT ? best : index;
    case LUM_HISTOGRAM_FEATURE_LEAST_FREQUENT_VALUE:
    case LUM_HISTOGRAM_FEATURE_LOWEST_COUNT:
      best = 0xFFFFFFFFu;
      for (int64_t i = bin.From(low); i <= bin.To(high); ++i)
        if (bin(i) != 0 && bin(i) < best) best = bin(i), index = static_cast<uint32_t>(i);
      return feature == LUM_HISTOGRAM_FEATURE_LOWEST_COUNT ? best : index;
    case LUM_HISTOGRAM_FEATURE_SMALLEST_VALUE:
      for (int64_t i = bin.From(low); i <= bin.To(high); ++i)
        if (bin(i) != 0) return static_cast<uint32_t>(i);
      return static_cast<uint32_t>(high + 1);
    case LUM_HISTOGRAM_FEATURE_GREATEST_VALUE:
      for (int64_t i = bin.To(high); i >= bin.From(low); --i)
        if (bin(i) != 0) return static_cast<uint32_t>(i);
      return static_cast<uint32_t>(low - 1);
    default:  // pixel count
      for (int64_t i = bin.From(low); i <= bin.To(high); ++i) sum += bin(i);
      return sum;
  }
}

// The mean: wrapping 32-bit N and S1, S1 zero-extended over N as a signed 32-bit number.
float Average(int64_t low, int64_t high, const Bins& bin) {
  uint32_t n = 0, s1 = 0;
  for (int64_t i = bin.From(low); i <= bin.To(high); ++i) {
    n += bin(i);
    s1 += bin(i) * static_cast<uint32_t>(i);
  }
  if (n == 0) return 0.0f;
  return static_cast<float>(static_cast<long double>(s1) / static_cast<long double>(static_cast<int32_t>(n)));
}

// The population deviation from wrapping 32-bit terms, each added as a signed number.
float Deviation(int64_t low, int64_t high, const Bins& bin) {
  uint32_t n = 0;
  long double p = 0.0L, q = 0.0L;
  for (int64_t i = bin.From(low); i <= bin.To(high); ++i) {
    const uint32_t pi = bin(i) * static_cast<uint32_t>(i);
    n += bin(i);
    p += static_cast<int32_t>(pi);
    q += static_cast<int32_t>(pi * static_cast<uint32_t>(i));
  }
  if (static_cast<int32_t>(n) <= 0) return 0.0f;
  const long double nn = static_cast<int32_t>(n);
  return static_cast<float>(std::sqrt((q - p * p / nn) / nn));  // no guard for a negative argument
}

float Feature(int feature, int64_t low, int64_t high, const Bins& bin) {
  if (feature == LUM_HISTOGRAM_FEATURE_AVERAGE) return Average(low, high, bin);
  if (feature == LUM_HISTOGRAM_FEATURE_STANDARD_DEVIATION) return Deviation(low, high, bin);
  return static_cast<float>(static_cast<int32_t>(IntegerFeature(feature, low, high, bin)));
}

// The checks of the new forms, in their order; true when the feature may be read.
bool AnalyseChecks(const ZBWHistogramVector* h, unsigned bins, int low, int high, int highLimit) {
  if (h == nullptr) return frame::Fail(Z_ERROR_NULL_IMAGE);
  if (h->GetNumElements() != bins || h->GetDataPtr() == nullptr) return frame::Fail(Z_ERROR_TABLE_SIZE);
  if (low < 0) return frame::Fail(Z_ERROR_ARGUMENT_3);
  if (high > highLimit) return frame::Fail(Z_ERROR_ARGUMENT_4);
  if (high < low) return frame::Fail(Z_ERROR_BAD_ARGUMENTS);
  return true;
}

// The counts of a legacy kind 2 vector, or null with the error set.
const uint32_t* LegacyCounts(const ZVector* v, Z_ERRORS wrongKind, int64_t* count) {
  if (v == nullptr) return frame::Fail(Z_ERROR_NULL_IMAGE), nullptr;
  if (v->GetVectType() != 2) return frame::Fail(wrongKind), nullptr;
  if (v->GetDataPtr() == nullptr || v->GetDataSize() != 4) return frame::Fail(Z_ERROR_VECTOR_NO_DATA), nullptr;
  *count = std::min<int64_t>(256, v->GetAllocatedSize() / 4);
  return static_cast<const uint32_t*>(v->GetDataPtr());
}

template <class Result>
void LegacyAnalyse(ZVector* v, int low, int high, int feature, Result& result) {
  int64_t count = 0;
  const uint32_t* data = LegacyCounts(v, Z_ERROR_VECTOR_BAD_SOURCE, &count);
  if (data == nullptr) return;
  const Bins bin{data, count, 0};
  if constexpr (std::is_same_v<Result, int>) {
    if (feature >= 0 && feature <= 6) result = static_cast<int>(IntegerFeature(feature, low, high, bin));
  } else {
    if (feature == 7 || feature == 8) result = Feature(feature, low, high, bin);
  }
}

void SetupTable(ZBWHistogramVector* h, ZBW8Vector* table) {
  if (h == nullptr || table == nullptr) {
    frame::Fail(Z_ERROR_NULL_IMAGE);
    return;
  }
  if (h->GetNumElements() != 256 || h->GetDataPtr() == nullptr) {
    frame::Fail(Z_ERROR_TABLE_SIZE);
    return;
  }
  if (!frame::Step([&] { table->SetMaxElements(256, 1); })) return;
  if (table->GetDataPtr() == nullptr || table->GetMaxElements() != 256) {
    frame::Fail(Z_ERROR_NO_MEMORY);
    return;
  }
  table->Empty();
  const uint32_t* bins = h->GetDataPtr();
  uint32_t total = 0;
  for (int i = 0; i < 256; ++i) total += bins[i];
  table->SetNumElements(256);
  ZBW8* out = table->GetDataPtr();
  uint32_t below = 0;  // pixels under i: i itself not yet included
  for (int i = 0; i < 256; ++i) {
    out[i] = total == 0 ? 0 : static_cast<uint8_t>(uint64_t{below} * 255 / total);
    below += bins[i];
  }
}

void SetupLegacyTable(ZVector* h, ZVector* table) {
  int64_t count = 0;
  const uint32_t* bins = LegacyCounts(h, Z_ERROR_VECTOR_BAD_DESTINATION, &count);
  if (bins == nullptr) return;
  if (table == nullptr) {
    frame::Fail(Z_ERROR_NULL_IMAGE);
    return;
  }
  if (table->GetVectType() != 3 && !frame::Step([&] { table->SetType(3, 256, 1); })) return;
  const int entry = table->GetDataSize();
  if (count < 256 || table->GetDataPtr() == nullptr || table->GetAllocatedSize() < 256 * entry) {
    frame::Fail(Z_ERROR_VECTOR_NO_DATA);
    return;
  }
  uint32_t total = 0;
  for (int i = 0; i < 256; ++i) total += bins[i];
  uint8_t* out = static_cast<uint8_t*>(table->GetDataPtr());
  uint32_t below = 0;
  for (int i = 0; i < 256; ++i) {
    out[i * entry] = total == 0 ? 0 : static_cast<uint8_t>((below << 8) / total);  // low byte of the entry
    below += bins[i];
  }
}

void EqualizeBW8(ZROI<ZBW8>* source, ZROI<ZBW8>* destination) {
  ZBWHistogramVector histogram;
  ZBW8Vector table;
  if (!frame::Step([&] { LumHistogram(source, &histogram); })) return;
  if (!frame::Step([&] { LumSetupEqualize(&histogram, &table); })) return;
  frame::Step([&] { LumLut(source, destination, &table); });
}

void EqualizeBW16(ZROI<ZBW16>* source, ZROI<ZBW16>* destination) {
  if (destination == nullptr) destination = source;
  if (!frame::NotVoid(source) || !frame::NotVoid(destination) || !frame::SameSize(source, destination)) return;
  std::vector<uint64_t> cumulated;
  std::vector<uint16_t> table;  // C[v] * 65535 / T for each occupied value
  try {
    cumulated.resize(65536);
    table.resize(65536);
  } catch (const std::bad_alloc&) {
    frame::Fail(Z_ERROR_NO_MEMORY);
    return;
  }
  ZBWHistogramVector histogram;
  if (!frame::Step([&] { LumHistogram(source, &histogram, 15, 16, 0); })) return;
  const uint32_t* bins = histogram.GetDataPtr();
  uint64_t sum = 0;
  for (int v = 0; v < 65536; ++v) cumulated[v] = sum += bins[v];
  const uint64_t total = cumulated[65535];
  // The same C[v] * 65535 / T for every pixel, taken once per occupied value into the table.
  for (int v = 0; v < 65536; ++v)
    if (bins[v] != 0) table[v] = static_cast<uint16_t>(std::min<uint64_t>(cumulated[v] * 65535 / total, 65535));
  const rows::Rows<const ZBW16> in(source);
  const rows::Rows<ZBW16> out(destination);
  const int width = source->GetWidth();
  for (int y = 0; y < source->GetHeight(); ++y) {
    const ZBW16* s = in[y];
    ZBW16* d = out[y];
    for (int x = 0; x < width; ++x) d[x] = table[s[x].value];
  }
}

}  // namespace
}  // namespace kelmira::histogram

namespace hg = kelmira::histogram;
namespace frame = kelmira::frame;

float LumAnalyseHistogram(ZBWHistogramVector* histogram, LUM_HISTOGRAM_FEATURE feature, int low, int high) {
  float result = 0.0f;
  if (frame::Enter() && hg::AnalyseChecks(histogram, 256, low, high, 255)) {
    if (static_cast<unsigned>(feature) > 8) {
      ZTraceError("LumAnalyseHistogram");  // no error, but the word is traced
      return 0.0f;
    }
    result = hg::Feature(feature, low, high, hg::Bins{histogram->GetDataPtr(), 256, 0});
  }
  frame::Leave("LumAnalyseHistogram");
  return frame::Ok() ? result : 0.0f;
}

float LumAnalyseHistogramBW16(ZBWHistogramVector* histogram, LUM_HISTOGRAM_FEATURE feature, int low, int high) {
  float result = 0.0f;
  if (frame::Enter() && hg::AnalyseChecks(histogram, 65536, low, high, 65536)) {
    if (static_cast<unsigned>(feature) > 8) return 0.0f;
    result = hg::Feature(feature, low, high, hg::Bins{histogram->GetDataPtr(), 65536, low});
  }
  frame::Leave("LumAnalyseHistogram (BW16)");
  return frame::Ok() ? result : 0.0f;
}

short int LumAnalyseHistogram(ZVector* histogram, int low, int high, int feature, int& result) {
  if (frame::Enter()) hg::LegacyAnalyse(histogram, low, high, feature, result);
  return frame::LeaveShort("LumAnalyseHistogram");
}

short int LumAnalyseHistogram(ZVector* histogram, int low, int high, int feature, float& result) {
  if (frame::Enter()) hg::LegacyAnalyse(histogram, low, high, feature, result);
  return frame::LeaveShort("LumAnalyseHistogram");
}

void LumSetupEqualize(ZBWHistogramVector* histogram, ZBW8Vector* table) {
  if (frame::Enter()) hg::SetupTable(histogram, table);
  frame::Leave("LumSetupEqualize ( ZBWHistogramVector)");
}

void LumSetupEqualize(ZVector* histogram, ZVector* table) {
  if (frame::Enter()) hg::SetupLegacyTable(histogram, table);
  frame::Leave("LumSetupEqualize ( ZVector)");
}

void LumEqualize(ZROI<ZBW8>* source, ZROI<ZBW8>* destination) {
  if (frame::Enter()) hg::EqualizeBW8(source, destination);
  frame::Leave("LumEqualize");
}

void LumEqualize(ZROI<ZBW16>* source, ZROI<ZBW16>* destination) {
  if (frame::Enter()) hg::EqualizeBW16(source, destination);
  frame::Leave("LumEqualize (BW16)");
}
