// The 3x3 median on BW8. Each row sorts the columns of three source rows into three padded
// lines (lows, middles, highs, the edge columns repeated), then takes the median of nine from
// three neighbouring sorted columns. Row y is written only after rows y - 1 .. y + 1 have been
// read; in place, a copy of row y keeps it for the next row. A destination that overlaps the
// source at another placement gets the source copied whole first.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <new>
#include <vector>

#include "foundation/frame.h"
#include "foundation/rows.h"
#include "kelmira/morphology.h"
#include "morphology/median_wide.h"

namespace kelmira::median {
namespace {

inline uint8_t Median3(uint8_t a, uint8_t b, uint8_t c) { return std::max(std::min(a, b), std::min(std::max(a, b), c)); }

// The scalar twins of the wide kernels, one pixel at a time.
void ScalarSortColumns(const uint8_t* a, const uint8_t* b, const uint8_t* c, uint8_t* lo, uint8_t* mid, uint8_t* hi,
                       int n) {
  for (int x = 0; x < n; ++x) {
    const uint8_t p = std::min(a[x], b[x]), q = std::max(a[x], b[x]), r = std::max(p, c[x]);
    lo[x] = std::min(p, c[x]);
    mid[x] = std::min(q, r);
    hi[x] = std::max(q, r);
  }
}

void ScalarMedianOfColumns(const uint8_t* lo, const uint8_t* mid, const uint8_t* hi, uint8_t* out, int n) {
  for (int x = 0; x < n; ++x) {
    const uint8_t l = std::max(std::max(lo[x], lo[x + 1]), lo[x + 2]);
    const uint8_t h = std::min(std::min(hi[x], hi[x + 1]), hi[x + 2]);
    out[x] = Median3(l, Median3(mid[x], mid[x + 1], mid[x + 2]), h);
  }
}

// True when the byte ranges of the two views meet but the views are not the same placement.
bool OverlapsElsewhere(const ZROI<ZBW8>* s, const ZROI<ZBW8>* d) {
  const uint8_t* s0 = reinterpret_cast<const uint8_t*>(s->GetImagePtr(0, 0));
  const uint8_t* d0 = reinterpret_cast<const uint8_t*>(d->GetImagePtr(0, 0));
  if (s0 == d0 && s->GetRowPitch() == d->GetRowPitch()) return false;
  const int w = s->GetWidth(), h = s->GetHeight();
  const uint8_t* s1 = reinterpret_cast<const uint8_t*>(s->GetImagePtr(w - 1, h - 1)) + 1;
  const uint8_t* d1 = reinterpret_cast<const uint8_t*>(d->GetImagePtr(w - 1, h - 1)) + 1;
  return std::less<const uint8_t*>()(s0, d1) && std::less<const uint8_t*>()(d0, s1);
}

bool Run(ZROI<ZBW8>* source, ZROI<ZBW8>* destination, bool wide) {
  const int w = source->GetWidth(), h = source->GetHeight();
  ZImage<ZBW8> copy;
  if (OverlapsElsewhere(source, destination)) {
    copy.SetSize(w, h);
    if (ZGetError() != Z_ERROR_NONE || copy.GetVoid()) return false;
    const rows::Rows<uint8_t> from(source), to(&copy);
    for (int y = 0; y < h; ++y) std::memcpy(to[y], from[y], static_cast<size_t>(w));
    source = &copy;
  }
  const bool inPlace = source->GetImagePtr(0, 0) == destination->GetImagePtr(0, 0);
  std::vector<uint8_t> lines;
  const size_t stride = static_cast<size_t>(w) + 2;
  try {
    lines.resize(4 * stride);
  } catch (const std::bad_alloc&) {
    return false;
  }
  uint8_t* lo = lines.data();
  uint8_t* mid = lo + stride;
  uint8_t* hi = mid + stride;
  uint8_t* saved = hi + stride;  // in place: source row y - 1
  const rows::Rows<uint8_t> in(source), out(destination);
  for (int y = 0; y < h; ++y) {
    const uint8_t* a = y == 0 ? in[0] : inPlace ? saved : in[y - 1];
    const uint8_t* b = in[y];
    const uint8_t* c = in[y + 1 < h ? y + 1 : h - 1];
    if (wide)
      WideSortColumns(a, b, c, lo + 1, mid + 1, hi + 1, w);
    else
      ScalarSortColumns(a, b, c, lo + 1, mid + 1, hi + 1, w);
    for (uint8_t* line : {lo, mid, hi}) line[0] = line[1], line[w + 1] = line[w];
    if (inPlace) std::memcpy(saved, b, static_cast<size_t>(w));
    if (wide)
      WideMedianOfColumns(lo, mid, hi, out[y], w);
    else
      ScalarMedianOfColumns(lo, mid, hi, out[y], w);
  }
  return true;
}

}  // namespace
}  // namespace kelmira::median

short int LumMedian(ZROI<ZBW8>* source, ZROI<ZBW8>* destination) {
  namespace frame = kelmira::frame;
  const char* trace = "LumMedian";
  if (!frame::Enter() || !frame::NotVoid(source)) return frame::LeaveShort(trace);
  if (destination == nullptr) destination = source;
  if (destination != source && (!frame::NotVoid(destination) || !frame::SameSize(destination, source)))
    return frame::LeaveShort(trace);
  ZOk();
  if (!kelmira::median::Run(source, destination, ZGetMMX() != 0) && frame::Ok()) frame::Fail(Z_ERROR_NO_MEMORY);
  return frame::LeaveShort(trace);
}
