// Histograms of views: LumHistogram on BW8 (rectangle and run list), BW16 and BW32 through a
// window of bits, the legacy ZVector form; LumCumulateHistogram; ZBWHistogramVector::Entropy.
#include <cmath>
#include <cstring>

#include "foundation/frame.h"
#include "foundation/rows.h"
#include "kelmira/thresholds/histogram.h"
#include "thresholds/histogram_count.h"

namespace kelmira::histogram {
namespace {

// A run covers the bytes [start, end) from the view's pixel (0, 0), inside one row.
bool RunInside(const ZRun& run, int width, int height, int pitch) {
  if (run.m_un32End < run.m_un32Start || pitch <= 0) return false;
  const uint64_t row = run.m_un32Start / static_cast<uint32_t>(pitch);
  const uint64_t column = run.m_un32Start % static_cast<uint32_t>(pitch);
  return row < static_cast<uint64_t>(height) && column + (run.m_un32End - run.m_un32Start) <= static_cast<uint64_t>(width);
}

// The view's pixels into `bins` (cleared by the caller): its runs if it has any, else its rows.
bool CountBW8(const ZROI<ZBW8>* view, uint32_t* bins) {
  const uint8_t* origin = &view->GetImagePtr(0, 0)->value;
  const int width = view->GetWidth(), height = view->GetHeight(), pitch = view->GetRowPitch();
  const ZVectorTemplate<ZRun>* runs = view->GetRunList();
  const bool walkRuns = runs != nullptr && runs->GetNumElements() > 0 && runs->GetDataPtr() != nullptr;
  size_t total = static_cast<size_t>(width) * static_cast<size_t>(height);
  if (walkRuns) {
    const ZRun* run = runs->GetDataPtr();
    total = 0;
    for (unsigned i = 0; i < runs->GetNumElements(); ++i) {
      if (!RunInside(run[i], width, height, pitch)) return frame::Fail(Z_ERROR_OUTSIDE_ROI);
      total += run[i].m_un32End - run[i].m_un32Start;
    }
  }
  ByteCounter counter(ZGetMMX() != 0, total);
  if (walkRuns) {
    const ZRun* run = runs->GetDataPtr();
    for (unsigned i = 0; i < runs->GetNumElements(); ++i)
      counter.Add(origin + run[i].m_un32Start, run[i].m_un32End - run[i].m_un32Start);
  } else if (pitch == width) {
    counter.Add(origin, static_cast<size_t>(width) * static_cast<size_t>(height));  // rows without gaps
  } else {
    const rows::Rows<const uint8_t> in(view);
    for (int y = 0; y < height; ++y) counter.Add(in[y], static_cast<size_t>(width));
  }
  counter.Finish(bins);
  return true;
}

// Count and clear: the bins get `count` elements, all 0. False (error set) when they cannot grow.
bool Prepare(ZBWHistogramVector* histogram, unsigned count) {
  if (!frame::Step([&] { histogram->SetNumElements(count); })) return false;
  histogram->Clear();
  return true;
}

void HistogramBW8(ZROI<ZBW8>* source, ZBWHistogramVector* histogram) {
  if (!frame::NotVoid(source)) return;
  if (histogram == nullptr) {
    frame::Fail(Z_ERROR_NULL_IMAGE);
    return;
  }
  // The runs are checked before the histogram is touched.
  uint32_t bins[256] = {};
  if (!CountBW8(source, bins)) return;
  if (!Prepare(histogram, 256)) return;
  std::memcpy(histogram->GetDataPtr(), bins, sizeof bins);
}

// One pixel loop for each row of the bin table, so that shift and saturation are decided outside
// it. `kGuard` drops pixels whose bin would fall past the last one (bits set above msb).
template <bool kShift, bool kSaturate, bool kGuard, class V>
void CountWindow(const ZROI<V>* view, uint32_t* bins, unsigned shift, uint32_t mask) {
  const rows::Rows<const V> in(view);
  const int width = view->GetWidth();
  for (int y = 0; y < view->GetHeight(); ++y) {
    const V* row = in[y];
    for (int x = 0; x < width; ++x) {
      uint32_t bin = row[x].value;
      if constexpr (kShift) bin = static_cast<uint32_t>(static_cast<uint64_t>(bin) >> shift);
      if constexpr (kSaturate) bin = bin >= mask ? mask : bin;
      if constexpr (kGuard) {
        if (bin > mask) continue;
      }
      ++bins[bin];
    }
  }
}

template <class V, unsigned kTopBit>
void HistogramWindow(ZROI<V>* source, ZBWHistogramVector* histogram, unsigned msb, unsigned bits, int saturate) {
  if (!frame::NotVoid(source)) return;
  if (histogram == nullptr) {
    frame::Fail(Z_ERROR_NULL_IMAGE);
    return;
  }
  if (msb > kTopBit) {
    frame::Fail(Z_ERROR_ARGUMENT_3);
    return;
  }
  if (msb == kTopBit) saturate = 0;
  // More than 2^24 bins would be a 64 MB histogram: refused with the shift errors.
  if (bits > msb + 1 || bits > 24) {
    frame::Fail(Z_ERROR_ARGUMENT_4);
    return;
  }
  const unsigned shift = msb - bits + 1;
  if (!Prepare(histogram, 1u << bits)) return;
  const uint32_t mask = (1u << bits) - 1;
  uint32_t* bins = histogram->GetDataPtr();
  const bool guard = msb < kTopBit;
  if (shift == 0) {
    if (saturate) CountWindow<false, true, false>(source, bins, shift, mask);
    else if (guard) CountWindow<false, false, true>(source, bins, shift, mask);
    else CountWindow<false, false, false>(source, bins, shift, mask);
  } else {
    if (saturate) CountWindow<true, true, false>(source, bins, shift, mask);
    else if (guard) CountWindow<true, false, true>(source, bins, shift, mask);
    else CountWindow<true, false, false>(source, bins, shift, mask);
  }
}

void LegacyHistogram(ZROI<ZBW8>* source, ZVector* vector) {
  if (!frame::NotVoid(source)) return;
  if (vector == nullptr) {
    frame::Fail(Z_ERROR_NULL_IMAGE);
    return;
  }
  if (vector->GetVectType() != 2 && !frame::Step([&] { vector->SetType(2, 256, 2); })) return;
  if (vector->GetDataPtr() == nullptr || vector->GetDataSize() != 4 || vector->GetAllocatedSize() < 1024) {
    frame::Fail(Z_ERROR_VECTOR_NO_DATA);
    return;
  }
  uint32_t bins[256] = {};
  const ZROI<ZBW8>* view = source;  // the rectangle only: a run list does not count here
  ByteCounter counter(ZGetMMX() != 0, static_cast<size_t>(view->GetWidth()) * static_cast<size_t>(view->GetHeight()));
  const rows::Rows<const uint8_t> in(view);
  for (int y = 0; y < view->GetHeight(); ++y) counter.Add(in[y], static_cast<size_t>(view->GetWidth()));
  counter.Finish(bins);
  std::memcpy(vector->GetDataPtr(), bins, sizeof bins);
  if (vector->GetNbMaxGroup() >= 256) vector->SetNbGroup(256);
}

void Cumulate(ZBWHistogramVector* source, ZBWHistogramVector* destination) {
  if (source == nullptr || destination == nullptr) {
    frame::Fail(Z_ERROR_NULL_IMAGE);
    return;
  }
  const unsigned count = source->GetNumElements();
  if (destination->GetNumElements() != count && !frame::Step([&] { destination->SetNumElements(count); })) return;
  const uint32_t* in = source->GetDataPtr();
  uint32_t* out = destination->GetDataPtr();
  if (count == 0 || in == nullptr || out == nullptr) return;
  uint32_t sum = 0;
  for (unsigned i = 0; i < count; ++i) out[i] = sum += in[i];  // each bin read before it is written
}

}  // namespace
}  // namespace kelmira::histogram

namespace hg = kelmira::histogram;
namespace frame = kelmira::frame;

void LumHistogram(ZROI<ZBW8>* source, ZBWHistogramVector* histogram) {
  if (frame::Enter()) hg::HistogramBW8(source, histogram);
  frame::Leave("LumHistogram");
}

void LumHistogram(ZROI<ZBW16>* source, ZBWHistogramVector* histogram, unsigned int msb, unsigned int bits,
                  int saturate) {
  if (frame::Enter()) hg::HistogramWindow<ZBW16, 15>(source, histogram, msb, bits, saturate);
  frame::Leave("LumHistogram ( ZBW16)");
}

void LumHistogram(ZROI<ZBW32>* source, ZBWHistogramVector* histogram, unsigned int msb, unsigned int bits,
                  int saturate) {
  if (frame::Enter()) hg::HistogramWindow<ZBW32, 31>(source, histogram, msb, bits, saturate);
  frame::Leave("LumHistogram ( ZBW32)");
}

short int LumHistogram(ZROI<ZBW8>* source, ZVector* histogram) {
  if (frame::Enter()) hg::LegacyHistogram(source, histogram);
  return frame::LeaveShort("LumHistogram ( ZVector)");
}

void LumCumulateHistogram(ZBWHistogramVector* source, ZBWHistogramVector* destination) {
  if (frame::Enter()) hg::Cumulate(source, destination);
  frame::Leave("LumCumulateHistogram");
}

float ZBWHistogramVector::Entropy(unsigned int first, unsigned int last) {
  if (!frame::Enter()) {
    frame::Leave("ZBWHistogramVector::Entropy");
    return 0.0f;
  }
  const unsigned count = m_pData != nullptr ? m_un32NumElements : 0;
  if (first >= count) frame::Fail(Z_ERROR_ARGUMENT_1);
  else if (last == 0xFFFFFFFFu) last = count - 1;
  else if (last >= count) frame::Fail(Z_ERROR_ARGUMENT_2);
  if (!frame::Ok()) {
    frame::Leave("ZBWHistogramVector::Entropy");
    return 0.0f;
  }
  uint32_t total = 0;
  long double weighted = 0.0L;
  for (unsigned i = first; i <= last; ++i) {
    const uint32_t v = m_pData[i];
    if (v == 0) continue;
    total += v;
    weighted += static_cast<long double>(v) * std::log(static_cast<long double>(v));
  }
  if (total == 0) return 0.0f;
  const long double t = total;
  return static_cast<float>((std::log(t) - weighted / t) / std::log(2.0L));
}
