// The 3x3 median on BW8, two or four output rows per pass. The scalar worker
// takes each pixel's median from its three sorted columns, the neighbours clamped to the view;
// the wide one runs the columns between the first and the last through the kernel, which reads
// the neighbours from the rows in place, and leaves the two edge columns to the scalar step. In
// place, the rows a pass overwrites are saved first. A destination that overlaps the source at
// another placement gets the source copied whole first.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <new>
#include <vector>

#include <unistd.h>

#include "foundation/frame.h"
#include "foundation/rows.h"
#include "kelmira/morphology.h"
#include "morphology/median_wide.h"

namespace kelmira::median {
namespace {

inline uint8_t Median3(uint8_t a, uint8_t b, uint8_t c) { return std::max(std::min(a, b), std::min(std::max(a, b), c)); }

// The median of the 3x3 window of rows (a, b, c) around column x, the columns clamped to [0, w):
// the median of the largest low, the median of the middles and the smallest high of the three
// sorted columns, as the wide kernel takes it.
uint8_t MedianAt(const uint8_t* a, const uint8_t* b, const uint8_t* c, int x, int w) {
  uint8_t lo[3], mid[3], hi[3];
  for (int i = 0; i < 3; ++i) {
    const int col = std::clamp(x - 1 + i, 0, w - 1);
    const uint8_t p = std::min(b[col], c[col]), q = std::max(b[col], c[col]);
    lo[i] = std::min(a[col], p);
    mid[i] = std::max(p, std::min(a[col], q));
    hi[i] = std::max(a[col], q);
  }
  const uint8_t l = std::max(std::max(lo[0], lo[1]), lo[2]);
  const uint8_t h = std::min(std::min(hi[0], hi[1]), hi[2]);
  return Median3(l, Median3(mid[0], mid[1], mid[2]), h);
}

// Ways of the level-one data cache, 0 where the system does not tell; read once.
int LevelOneWays() {
#ifdef _SC_LEVEL1_DCACHE_ASSOC
  static const int ways = static_cast<int>(sysconf(_SC_LEVEL1_DCACHE_ASSOC));
  return ways;
#else
  return 0;
#endif
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
  if (w <= 0 || h <= 0) return true;  // no pixel to write
  ZImage<ZBW8> copy;
  if (OverlapsElsewhere(source, destination)) {
    copy.SetSize(w, h);
    if (ZGetError() != Z_ERROR_NONE || copy.GetVoid()) return false;
    const rows::Rows<uint8_t> from(source), to(&copy);
    for (int y = 0; y < h; ++y) std::memcpy(to[y], from[y], static_cast<size_t>(w));
    source = &copy;
  }
  const bool inPlace = source->GetImagePtr(0, 0) == destination->GetImagePtr(0, 0);
  const size_t rowBytes = static_cast<size_t>(w);
  // In place: copies of source rows y - 1, y and y + 1 of the pass at y, rotated between passes.
  std::vector<uint8_t> buffer;
  uint8_t* saved[3] = {};
  if (inPlace) {
    try {
      buffer.resize(3 * rowBytes);
    } catch (const std::bad_alloc&) {
      return false;
    }
    for (int i = 0; i < 3; ++i) saved[i] = buffer.data() + static_cast<size_t>(i) * rowBytes;
  }
  const rows::Rows<uint8_t> in(source), out(destination);
  // Bands of four output rows sort each source row across for 1.5 output rows instead of 2 (a
  // fifth faster where the rows stay in cache). Pairs where rows are saved (in place), and where a
  // pitch is a multiple of 4 KB on a level-one cache of fewer than 12 ways: then every row falls
  // in the same set, and the ten rows of a band (twelve with the rows prefetched) evict each other.
  // Both give the same pixels.
  const auto pageRows = [](const ZROI<ZBW8>* v) { return v->GetRowPitch() % 4096 == 0; };
  const bool aliasing = (pageRows(source) || pageRows(destination)) && LevelOneWays() < 12;
  const int band = wide && !inPlace && !aliasing ? 4 : 2;
  const auto row = [&](int y) { return in[std::clamp(y, 0, h - 1)]; };
  for (int y = 0; y < h; y += band) {
    const uint8_t* r[6];
    uint8_t* o[4];
    const uint8_t* ahead[4];
    for (int j = 0; j < band + 2; ++j) r[j] = row(y - 1 + j);
    for (int i = 0; i < band; ++i) {
      o[i] = y + i < h ? out[y + i] : nullptr;
      ahead[i] = row(y + 2 * band + 1 + i);  // the new rows of the pass after next
    }
    if (inPlace) {
      // saved[0] already holds row y - 1, the last row saved by the pass before.
      const int y1 = std::min(y + 1, h - 1);
      std::memcpy(saved[1], in[y], rowBytes);
      if (y1 != y) std::memcpy(saved[2], in[y1], rowBytes);
      r[0] = y > 0 ? saved[0] : saved[1];
      r[1] = saved[1];
      r[2] = saved[y1 != y ? 2 : 1];
      if (y + 2 >= h) r[3] = r[2];
    }
    const auto scalar = [&](int x) {
      for (int i = 0; i < band; ++i)
        if (o[i] != nullptr) o[i][x] = MedianAt(r[i], r[i + 1], r[i + 2], x, w);
    };
    if (wide && w > 2) {
      scalar(0);
      WideMedianBand(r, ahead, o, band, 1, w - 2);
      scalar(w - 1);
    } else {
      for (int x = 0; x < w; ++x) scalar(x);
    }
    if (inPlace) std::swap(saved[0], saved[2]);
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
