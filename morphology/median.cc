// The 3x3 median on BW8. Each source row is copied once into a line buffer padded with its edge
// pixels, three buffers in turn, so the kernels see no border and the work may be in place: row y
// is written only after rows y - 1 .. y + 1 have been copied. A destination that overlaps the
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

inline void Sort3(uint8_t& lo, uint8_t& mid, uint8_t& hi) {
  const uint8_t a = std::min(lo, mid), b = std::max(lo, mid);
  lo = std::min(a, hi);
  const uint8_t c = std::max(a, hi);
  mid = std::min(b, c);
  hi = std::max(b, c);
}

inline uint8_t Median3(uint8_t a, uint8_t b, uint8_t c) { return std::max(std::min(a, b), std::min(std::max(a, b), c)); }

// The scalar twin of WideMedianRow: the same network, one pixel at a time, with the sorted
// columns rolled along the row.
void ScalarMedianRow(const uint8_t* a, const uint8_t* b, const uint8_t* c, uint8_t* out, int n) {
  uint8_t l0 = a[0], m0 = b[0], h0 = c[0], l1 = a[1], m1 = b[1], h1 = c[1];
  Sort3(l0, m0, h0);
  Sort3(l1, m1, h1);
  for (int x = 0; x < n; ++x) {
    uint8_t l2 = a[x + 2], m2 = b[x + 2], h2 = c[x + 2];
    Sort3(l2, m2, h2);
    const uint8_t lo = std::max(std::max(l0, l1), l2), hi = std::min(std::min(h0, h1), h2);
    out[x] = Median3(lo, Median3(m0, m1, m2), hi);
    l0 = l1, m0 = m1, h0 = h1;
    l1 = l2, m1 = m2, h1 = h2;
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
  std::vector<uint8_t> lines;
  const size_t stride = static_cast<size_t>(w) + 2;
  try {
    lines.resize(3 * stride);
  } catch (const std::bad_alloc&) {
    return false;
  }
  const rows::Rows<uint8_t> in(source), out(destination);
  auto load = [&](int y) {  // row y, clamped to the view, into its ring slot
    uint8_t* line = lines.data() + static_cast<size_t>((y + 3) % 3) * stride;
    const uint8_t* row = in[std::clamp(y, 0, h - 1)];
    std::memcpy(line + 1, row, static_cast<size_t>(w));
    line[0] = row[0];
    line[w + 1] = row[w - 1];
    return line;
  };
  const uint8_t* above = load(0);  // row -1 is row 0
  const uint8_t* here = above;
  const uint8_t* below = load(1 < h ? 1 : 0);
  if (h == 1) below = here;
  for (int y = 0; y < h; ++y) {
    if (wide)
      WideMedianRow(above, here, below, out[y], w);
    else
      ScalarMedianRow(above, here, below, out[y], w);
    if (y + 1 < h) {
      above = here;
      here = below;
      below = y + 2 < h ? load(y + 2) : here;
    }
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
