// Local levels: the mean of a sliding square (LumLocalMeanThreshold) and the map of isodata levels
// over a grid of windows (LumAutoAdaptiveThreshold).
#include <algorithm>
#include <cmath>
#include <cstring>
#include <new>
#include <vector>

#include "foundation/frame.h"
#include "foundation/rows.h"
#include "kelmira/geometry/affine.h"
#include "kelmira/thresholds.h"
#include "thresholds/apply_rows.h"

namespace kelmira::threshold {
namespace {

// True when the byte ranges of the two views' rows may overlap (same host memory).
bool Overlap(const ZGenericROI* a, const ZGenericROI* b) {
  auto span = [](const ZGenericROI* v, uintptr_t& lo, uintptr_t& hi) {
    const uintptr_t first = reinterpret_cast<uintptr_t>(v->GetGenericImagePtr(0, 0));
    const uintptr_t last = reinterpret_cast<uintptr_t>(v->GetGenericImagePtr(0, v->GetHeight() - 1));
    lo = std::min(first, last);
    hi = std::max(first, last) + static_cast<uintptr_t>(v->GetWidth());
  };
  uintptr_t alo, ahi, blo, bhi;
  span(a, alo, ahi);
  span(b, blo, bhi);
  return alo < bhi && blo < ahi;
}

// Column sums of 2r + 1 rows, moved down one row at a time; each row's window sum slides across
// the columns, so the work per pixel is the same for every r.
void LocalMean(const rows::Rows<uint8_t>& in, const rows::Rows<uint8_t>& out, int w, int h, int r, int offset,
               uint32_t* columns, uint32_t* window) {
  const int64_t area = static_cast<int64_t>(2 * r + 1) * (2 * r + 1);
  const int64_t bias = area * offset;
  // The wide test runs in 32-bit lanes: it needs 255 * area below 2^31, which also bounds every
  // window sum; the bias is clamped to one past either end of v * area - window, which keeps every
  // outcome of the 64-bit test.
  const bool wide = window != nullptr && area * 255 < (int64_t{1} << 31);
  const int32_t bias32 = static_cast<int32_t>(std::clamp<int64_t>(bias, -255 * area - 1, 255 * area + 1));
  std::memset(columns, 0, sizeof(uint32_t) * static_cast<size_t>(w));
  for (int y = 0; y <= 2 * r; ++y) {
    const uint8_t* row = in[y];
    for (int x = 0; x < w; ++x) columns[x] += row[x];
  }
  for (int y = 0; y < h; ++y) {
    if (y > r && y < h - r) {
      const uint8_t* add = in[y + r];
      const uint8_t* sub = in[y - r - 1];
      if (wide) {
        WideColumnsRow(columns, add, sub, w);
      } else {
        for (int x = 0; x < w; ++x) columns[x] += static_cast<uint32_t>(add[x]) - sub[x];
      }
    }
    const uint8_t* s = in[y];
    uint8_t* d = out[y];
    if (wide) {
      // Window sums of the row first, then the test on whole vectors.
      WideWindowRow(columns, window, w, r);
      WideLocalMeanRow(s, window, d, w, static_cast<int32_t>(area), bias32);
      continue;
    }
    uint64_t sum = 0;
    for (int x = 0; x <= 2 * r; ++x) sum += columns[x];
    // Pixel x uses the window centred on x clamped to r .. w - r - 1.
    auto put = [&](int x) {
      d[x] = static_cast<int64_t>(s[x]) * area - static_cast<int64_t>(sum) < bias ? 0 : 255;
    };
    int x = 0;
    for (; x <= r; ++x) put(x);
    for (; x <= w - r - 1; ++x) {
      sum += static_cast<uint64_t>(columns[x + r]) - columns[x - r - 1];
      put(x);
    }
    for (; x < w; ++x) put(x);
  }
}

void LocalMeanWorker(const ZROI<ZBW8>* source, ZROI<ZBW8>* destination, int halfSize, int offset) {
  const int w = destination->GetWidth(), h = destination->GetHeight();
  if (w <= 0 || h <= 0) return;  // a view of no extent: no pixel to write, no row to read
  const int r = std::clamp(halfSize, 0, (std::min(w, h) - 1) / 2);
  const bool wide = ZGetMMX() != 0;
  std::vector<uint32_t> columns, window;
  std::vector<uint8_t> copy;  // the source, when the destination shares its memory
  try {
    columns.resize(static_cast<size_t>(w));
    if (wide) window.resize(static_cast<size_t>(w));
    if (Overlap(source, destination)) copy.resize(static_cast<size_t>(w) * h);
  } catch (const std::bad_alloc&) {
    ZSetError(Z_ERROR_NO_MEMORY);
    return;
  }
  const rows::Rows<uint8_t> out(destination);
  uint32_t* sums = wide ? window.data() : nullptr;
  if (copy.empty()) return LocalMean(rows::Rows<uint8_t>(source), out, w, h, r, offset, columns.data(), sums);
  const rows::Rows<uint8_t> in(source);
  for (int y = 0; y < h; ++y) std::memcpy(copy.data() + static_cast<size_t>(y) * w, in[y], static_cast<size_t>(w));
  ZImage<ZBW8> view;
  view.SetImagePtr(w, h, copy.data(), w);
  LocalMean(rows::Rows<uint8_t>(&view), out, w, h, r, offset, columns.data(), sums);
}

// One window of the grid: centre c, half extent `half`, clipped to 0..limit, never empty.
void Window(int64_t c, int half, int limit, int& start, int& size) {
  int64_t a = std::max<int64_t>(c - half, 0), b = std::min<int64_t>(c + half, limit);
  if (b <= a) a = std::min<int64_t>(a, limit - 1), b = a + 1;
  start = static_cast<int>(a);
  size = static_cast<int>(b - a);
}

void AdaptiveWorker(ZROI<ZBW8>* source, ZROI<ZBW8>* destination, LUM_THRESHOLD_MODES mode, int width, int height) {
  if (width < 1) return (void)frame::Fail(Z_ERROR_ARGUMENT_4);
  if (height < 1) return (void)frame::Fail(Z_ERROR_ARGUMENT_5);
  const int w = source->GetWidth(), h = source->GetHeight();
  if (w <= 0 || h <= 0) return;  // a view of no extent: no window, nothing to write
  const int nx = static_cast<int>(std::ceil(static_cast<double>(w) / width));
  const int ny = static_cast<int>(std::ceil(static_cast<double>(h) / height));
  ZImage<ZBW8> grid(nx + 1, ny + 1);
  if (grid.GetVoid()) return (void)frame::Fail(Z_ERROR_NO_MEMORY);
  ZROI<ZBW8> window(source, 0, 0, 1, 1);
  ZBWHistogramVector histogram;
  for (int j = 0; j <= ny; ++j) {
    int y0, hy;
    Window(static_cast<int64_t>(j) * h / ny, height / 2, h, y0, hy);
    for (int i = 0; i <= nx; ++i) {
      int x0, wx;
      Window(static_cast<int64_t>(i) * w / nx, width / 2, w, x0, wx);
      window.SetPlacement(x0, y0, wx, hy);
      LumHistogram(&window, &histogram);
      if (!frame::Ok()) return;
      // The level of `mode` is not used: the map takes the isodata level. The selection still
      // runs, so that a bad mode fails as it would on its own.
      unsigned level = mode;
      float below = 0.0f, above = 0.0f;
      LumHistogramThreshold(&histogram, level, below, above, 0.5f, 0, 255);
      if (!frame::Ok()) return;
      const ZBW8 isodata = LumIsodataThreshold(&histogram, 0, 255);
      if (!frame::Ok()) return;
      *grid.GetImagePtr(i, j) = isodata;
    }
  }
  LumScaleRotate(&grid, 0.0f, 0.0f, 0.0f, 0.0f, static_cast<float>(w) / static_cast<float>(nx),
                 static_cast<float>(h) / static_cast<float>(ny), 0.0f, destination, 8);
}

}  // namespace
}  // namespace kelmira::threshold

namespace frame = kelmira::frame;

void LumAutoAdaptiveThreshold(ZROI<ZBW8>* source, ZROI<ZBW8>* destination, LUM_THRESHOLD_MODES mode, int width,
                              int height) {
  if (frame::Enter() && frame::Operands({source}, destination))
    kelmira::threshold::AdaptiveWorker(source, destination, mode, width, height);
  frame::Leave("LumAutoAdaptiveThreshold");
}

namespace Marvane::Ovidra::Segmentation {
void LumLocalMeanThreshold(const ZROI<ZBW8>* source, ZROI<ZBW8>* destination, int halfSize, int offset) {
  if (frame::Enter() && frame::Operands({source}, destination))
    kelmira::threshold::LocalMeanWorker(source, destination, halfSize, offset);
}
}  // namespace Marvane::Ovidra::Segmentation
