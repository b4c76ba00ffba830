// The edge-following stages of the Canny detector: Hysteresis, greedy one-pixel chains from the
// strong pixels, and ContourGrowing, a depth-first growth from the local maxima whose recursion
// runs on a stack of its own.
#include <cstdint>
#include <new>
#include <vector>

#include "filters/canny_internal.h"
#include "filters/gradient_wide.h"
#include "foundation/rows.h"
#include "kelmira/filters.h"

namespace kelmira::canny {
namespace {

struct Step {
  int8_t dx, dy;
};

// Index of a direction code in the tables below, or -1.
inline int DirectionIndex(uint32_t code) {
  switch (code) {
    case 0: return 0;
    case 45: return 1;
    case 90: return 2;
    case 135: return 3;
    default: return -1;
  }
}

constexpr Step kForward[4][3] = {
    {{1, 1}, {-1, 1}, {0, 1}}, {{-1, 1}, {0, 1}, {-1, 0}}, {{1, 1}, {1, -1}, {1, 0}}, {{1, 1}, {0, 1}, {1, 0}}};
constexpr Step kBackward[4][3] = {{{-1, -1}, {1, -1}, {0, -1}},
                                  {{1, -1}, {0, -1}, {1, 0}},
                                  {{-1, 1}, {-1, -1}, {-1, 0}},
                                  {{-1, -1}, {0, -1}, {-1, 0}}};

// The two neighbours across the edge that a seed of ContourGrowing must not be below.
constexpr Step kAcross[4][2] = {{{0, -1}, {0, 1}}, {{1, -1}, {-1, 1}}, {{-1, 0}, {1, 0}}, {{-1, -1}, {1, 1}}};

constexpr Step kGrowth[4][6] = {
    {{-1, -1}, {0, -1}, {1, -1}, {-1, 1}, {0, 1}, {1, 1}},
    {{0, -1}, {1, -1}, {1, 0}, {-1, 0}, {-1, 1}, {0, 1}},
    {{-1, -1}, {-1, 0}, {-1, 1}, {1, -1}, {1, 0}, {1, 1}},
    {{-1, -1}, {-1, 0}, {0, -1}, {0, 1}, {1, 0}, {1, 1}},
};

// What the walks read and mark, over the exported images: direction codes in BW32 pixels and a
// visited image of its own.
class Stage {
 public:
  Stage(ZROI<ZBW8>* magnitude, ZROI<ZBW8>* destination, ZROI<ZBW32>* direction)
      : w(magnitude->GetWidth()), h(magnitude->GetHeight()), mag(magnitude), dst(destination), dir(direction) {}
  bool Allocate() {
    try {
      visited.assign(static_cast<size_t>(w) * static_cast<size_t>(h), 0);
      return true;
    } catch (const std::bad_alloc&) {
      return false;
    }
  }
  bool Inside(int x, int y) const { return x >= 0 && y >= 0 && x < w && y < h; }
  bool Visited(int x, int y) const { return visited[Index(x, y)] != 0; }
  void Visit(int x, int y, uint8_t value) {
    visited[Index(x, y)] = 255;
    dst[y][x] = value;
  }
  int Magnitude(int x, int y) const { return mag[y][x]; }
  const uint8_t* MagnitudeRow(int y) const { return mag[y]; }
  int Direction(int x, int y) const { return DirectionIndex(dir[y][x]); }

  const int w, h;

 private:
  size_t Index(int x, int y) const { return static_cast<size_t>(y) * static_cast<size_t>(w) + static_cast<size_t>(x); }
  rows::Rows<const uint8_t> mag;
  rows::Rows<uint8_t> dst;
  rows::Rows<const uint32_t> dir;
  std::vector<uint8_t> visited;
};

// The same over the detector's own images: one byte per pixel holds the direction index (0..3)
// and, in its top bit, the visited mark, so no visited image has to be allocated and cleared.
class CompactStage {
 public:
  CompactStage(ZROI<ZBW8>* magnitude, ZROI<ZBW8>* destination, ZROI<ZBW8>* index)
      : w(magnitude->GetWidth()), h(magnitude->GetHeight()), mag(magnitude), dst(destination), idx(index) {}
  bool Allocate() { return true; }
  bool Inside(int x, int y) const { return x >= 0 && y >= 0 && x < w && y < h; }
  bool Visited(int x, int y) const { return (idx[y][x] & 0x80) != 0; }
  void Visit(int x, int y, uint8_t value) {
    idx[y][x] |= 0x80;
    dst[y][x] = value;
  }
  int Magnitude(int x, int y) const { return mag[y][x]; }
  const uint8_t* MagnitudeRow(int y) const { return mag[y]; }
  int Direction(int x, int y) const { return idx[y][x] & 3; }

  const int w, h;

 private:
  rows::Rows<const uint8_t> mag;
  rows::Rows<uint8_t> dst;
  rows::Rows<uint8_t> idx;
};

// One walk of Hysteresis from (x, y), with the forward or the backward table.
template <class S>
void Walk(S& s, int x, int y, const Step (*table)[3], int low) {
  for (;;) {
    const int d = s.Direction(x, y);
    if (d < 0) return;
    int best = 0, bx = 0, by = 0;
    bool chosen = false;
    for (int i = 0; i < 3; ++i) {
      const int cx = x + table[d][i].dx, cy = y + table[d][i].dy;
      if (!s.Inside(cx, cy) || s.Visited(cx, cy)) continue;
      const int m = s.Magnitude(cx, cy);
      if (i == 0 || m > best) best = m, bx = cx, by = cy, chosen = true;
    }
    if (!chosen || best < low) return;
    s.Visit(bx, by, 255);
    x = bx, y = by;
  }
}

// A frame of the growth: the pixel, its magnitude (the `previous` of its neighbours), its
// direction and the next neighbour to try.
struct Frame {
  int x, y, v, d, next;
};

// The recursive growth, run with an explicit stack. A call on a neighbour returns at once when
// that pixel fails the magnitude tests, so only pixels that pass push a frame.
template <class S>
void Grow(S& s, std::vector<Frame>& stack, int x0, int y0, int seed) {
  auto enter = [&](int x, int y, int previous) {
    const int v = s.Magnitude(x, y);
    if (v < 0.5 * seed || v < 0.8 * previous) return s.Visit(x, y, 0);
    s.Visit(x, y, 255);
    stack.push_back(Frame{x, y, v, s.Direction(x, y), 0});
  };
  if (s.Visited(x0, y0)) return;
  enter(x0, y0, seed);
  while (!stack.empty()) {
    Frame& f = stack.back();
    if (f.d < 0 || f.next == 6) {
      stack.pop_back();
      continue;
    }
    const Step step = kGrowth[f.d][f.next++];
    const int x = f.x + step.dx, y = f.y + step.dy;
    if (s.Inside(x, y) && !s.Visited(x, y)) enter(x, y, f.v);  // may grow the stack: f is stale after
  }
}

// The first x in [from, w) of a magnitude row with a value of at least `high`, or w.
inline int NextSeed(const uint8_t* row, int from, int w, int high, bool wide) {
  if (from >= w) return from;
  if (wide) return from + gradient::WideFindAtLeast(row + from, w - from, high);
  while (from < w && row[from] < high) ++from;
  return from;
}

// Both return false when their memory cannot be had: the stages report nothing, the detector 1303.
template <class S>
bool RunHysteresis(S& s, int low, int high, bool wide) {
  if (!s.Allocate()) return false;  // nothing is written
  for (int y = 0; y < s.h; ++y)
    for (int x = NextSeed(s.MagnitudeRow(y), 0, s.w, high, wide); x < s.w;
         x = NextSeed(s.MagnitudeRow(y), x + 1, s.w, high, wide)) {
      if (s.Visited(x, y)) continue;
      s.Visit(x, y, 128);
      Walk(s, x, y, kForward, low);
      Walk(s, x, y, kBackward, low);
    }
  return true;
}

template <class S>
bool RunGrowing(S& s, int seedThreshold, bool wide) {
  if (!s.Allocate()) return false;
  std::vector<Frame> stack;
  const int least = seedThreshold > 1 ? seedThreshold : 1;  // a magnitude of 0 never seeds
  for (int y = 1; y + 1 < s.h; ++y)
    for (int x = NextSeed(s.MagnitudeRow(y), 1, s.w - 1, least, wide); x + 1 < s.w;
         x = NextSeed(s.MagnitudeRow(y), x + 1, s.w - 1, least, wide)) {
      const int v = s.Magnitude(x, y), d = s.Direction(x, y);
      if (d < 0) continue;
      const Step a = kAcross[d][0], b = kAcross[d][1];
      if (v < s.Magnitude(x + a.dx, y + a.dy) || v < s.Magnitude(x + b.dx, y + b.dy)) continue;
      try {
        Grow(s, stack, x, y, v);
      } catch (const std::bad_alloc&) {
        return false;  // what was grown stays
      }
    }
  return true;
}

}  // namespace

bool FollowIndexed(ZROI<ZBW8>* magnitude, ZROI<ZBW8>* destination, ZROI<ZBW8>* index, bool growing, int low,
                   int high) {
  CompactStage s(magnitude, destination, index);
  return growing ? RunGrowing(s, low, ZGetMMX() != 0) : RunHysteresis(s, low, high, ZGetMMX() != 0);
}

}  // namespace kelmira::canny

void Hysteresis(ZROI<ZBW8>* magnitude, ZROI<ZBW8>* destination, ZImage<ZBW32>* direction, unsigned char low,
                unsigned char high) {
  using namespace kelmira::canny;
  if (Unusable(magnitude, destination, direction)) return;
  Stage s(magnitude, destination, direction);
  RunHysteresis(s, low, high, ZGetMMX() != 0);
}

void ContourGrowing(ZROI<ZBW8>* magnitude, ZROI<ZBW8>* destination, ZROI<ZBW32>* direction,
                    unsigned char seedThreshold) {
  using namespace kelmira::canny;
  if (Unusable(magnitude, destination, direction)) return;
  Stage s(magnitude, destination, direction);
  RunGrowing(s, seedThreshold, ZGetMMX() != 0);
}
