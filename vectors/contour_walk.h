// The contour walker behind the five forms of LumContour: one template over the pixel type and
// over the sink that stores a point (a path vector of some element, or the older ZVector).
//
// The walker moves a byte pointer by a table of eight offsets, so that no pixel address is
// computed per step, and tests a neighbour against the exact bounds of the view through a mask of
// the directions that stay inside: nothing is read outside the view and no border is added.
#ifndef KELMIRA_VECTORS_CONTOUR_WALK_H
#define KELMIRA_VECTORS_CONTOUR_WALK_H

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "kelmira/foundation.h"

namespace kelmira::contour {

inline constexpr int kDx[8] = {1, 1, 0, -1, -1, -1, 0, 1};
inline constexpr int kDy[8] = {0, -1, -1, -1, 0, 1, 1, 1};

// `next` (the direction to try after one that met background) and `restart` (the first one to
// try after a step), by connexity and sense. The odd entries of the four-neighbour tables are
// never reached.
inline constexpr int8_t kNext8Anti[8] = {1, 2, 3, 4, 5, 6, 7, 0};
inline constexpr int8_t kRestart8Anti[8] = {7, 7, 1, 1, 3, 3, 5, 5};
inline constexpr int8_t kNext8Clock[8] = {7, 0, 1, 2, 3, 4, 5, 6};
inline constexpr int8_t kRestart8Clock[8] = {1, 3, 3, 5, 5, 7, 7, 1};
inline constexpr int8_t kNext4Anti[8] = {2, -1, 4, -1, 6, -1, 0, -1};
inline constexpr int8_t kRestart4Anti[8] = {6, -1, 0, -1, 2, -1, 4, -1};
inline constexpr int8_t kNext4Clock[8] = {6, -1, 0, -1, 2, -1, 4, -1};
inline constexpr int8_t kRestart4Clock[8] = {2, -1, 4, -1, 6, -1, 0, -1};

// Bit d is set when direction d stays inside the view, indexed by four flags:
// 1 x < width - 1, 2 y > 0, 4 x > 0, 8 y < height - 1.
constexpr uint8_t InsideMask(int flags) {
  const bool e = flags & 1, n = flags & 2, w = flags & 4, s = flags & 8;
  return static_cast<uint8_t>(e | (e && n) << 1 | n << 2 | (w && n) << 3 | w << 4 | (w && s) << 5 | s << 6 |
                              (e && s) << 7);
}
inline constexpr uint8_t kInside[16] = {
    InsideMask(0), InsideMask(1), InsideMask(2),  InsideMask(3),  InsideMask(4),  InsideMask(5),
    InsideMask(6), InsideMask(7), InsideMask(8),  InsideMask(9),  InsideMask(10), InsideMask(11),
    InsideMask(12), InsideMask(13), InsideMask(14), InsideMask(15)};

// What a neighbour test yields.
enum Test : int { kBackground = 0, kObject = 1, kStop = 2 };

// The walking context, shared by the first and the second walk of a call.
struct Context {
  unsigned int threshold = 0;
  int below = 0;       // CONTOUR_THRESHOLD not 0
  int connexity = 0;   // the CONNEXITY value as given
  int outside = kStop; // what a neighbour outside the view yields: kStop or kBackground
};

// The number of (pixel, leaving direction) pairs of the view: a walk that records more points has
// repeated a pair and can never come back to its first one.
inline int64_t StateCount(int width, int height, int connexity) {
  return static_cast<int64_t>(width) * height * (connexity == 1 ? 8 : 4);
}

template <class P>
inline uint32_t Load(const uint8_t* p) {
  P v;
  std::memcpy(&v, p, sizeof(P));
  return static_cast<uint32_t>(v.value);
}

// One walk. `sense` is negative for clockwise, positive for anticlockwise. On a stop at the edge
// the position reached is written to *x and *y and the state is 106. `cap` bounds the points of
// the walk (StateCount, or less in the tests of the bound). The sink offers:
//   static constexpr int kMaxCoordinate;   coordinates above it cannot be stored (1011)
//   void Empty();                          the Prepare step
//   bool Full() const;                     the point limit of the ZVector form (1504)
//   bool Put(int x, int y, int d, uint32_t value);   false with the state set on failure
template <class P, class Sink>
void Walk(const ZROI<P>* view, int* px, int* py, int sense, Sink& sink, const Context& ctx, int64_t cap) {
  const uint8_t* origin = reinterpret_cast<const uint8_t*>(view ? view->GetImagePtr(0, 0) : nullptr);
  if (origin == nullptr) {
    ZSetError(Z_ERROR_NULL_IMAGE);
    return;
  }
  const int width = view->GetWidth(), height = view->GetHeight();
  if (width - 1 > Sink::kMaxCoordinate || height - 1 > Sink::kMaxCoordinate) {
    ZSetError(Z_ERROR_ARGUMENT_1);
    return;
  }
  sink.Empty();
  const bool eight = ctx.connexity == 1;
  const int8_t* next = eight ? (sense < 0 ? kNext8Clock : kNext8Anti) : (sense < 0 ? kNext4Clock : kNext4Anti);
  const int8_t* restart =
      eight ? (sense < 0 ? kRestart8Clock : kRestart8Anti) : (sense < 0 ? kRestart4Clock : kRestart4Anti);
  const ptrdiff_t pitch = reinterpret_cast<const uint8_t*>(view->GetImagePtr(0, 1)) - origin;
  ptrdiff_t offset[8];
  for (int d = 0; d < 8; ++d) offset[d] = kDx[d] * static_cast<ptrdiff_t>(sizeof(P)) + kDy[d] * pitch;

  int x = *px, y = *py;
  if (x < 0 || x >= width) {
    ZSetError(Z_ERROR_ARGUMENT_3);
    return;
  }
  if (y < 0 || y >= height) {
    ZSetError(Z_ERROR_ARGUMENT_4);
    return;
  }
  const unsigned int threshold = ctx.threshold;
  const bool below = ctx.below != 0;
  auto object = [&](const uint8_t* p) {
    const uint32_t v = Load<P>(p);
    return below ? v <= threshold : v >= threshold;
  };
  const int outside = ctx.outside;
  auto mask = [&](int cx, int cy) {
    return kInside[(cx < width - 1) | (cy > 0) << 1 | (cx > 0) << 2 | (cy < height - 1) << 3];
  };
  const uint8_t* at = origin + y * pitch + static_cast<ptrdiff_t>(x) * static_cast<ptrdiff_t>(sizeof(P));
  unsigned inside = mask(x, y);
  auto test = [&](int d) -> int { return (inside >> d & 1) ? int(object(at + offset[d])) : outside; };

  if (!object(at)) {
    ZSetError(Z_ERROR_CONTOUR_START);
    return;
  }

  // The first direction: one that leads to the object from background in the rotation.
  int p2 = test(2);
  int d = next[2];
  int p1 = test(d);
  int c = kBackground;
  bool found = false;
  for (int i = 0; i < 8 && !found; ++i) {
    d = next[d];
    c = test(d);
    if (p1 == kBackground && c == kObject && (ctx.connexity == 0 || (d & 1) || p2 == kBackground))
      found = true;
    else
      p2 = p1, p1 = c;
  }
  if (!found) {
    ZSetError(c != kBackground ? Z_ERROR_CONTOUR_INTERIOR_START : Z_ERROR_CONTOUR_ISOLATED_START);
    return;
  }

  // Follow. Each record is bracketed by ZOk; the state can only be non-zero
  // before the first record (106 of a first walk), so one ZOk here leaves the same state.
  ZOk();
  const int sx = x, sy = y, d0 = d;
  int64_t steps = 0;
  for (;;) {
    if (sink.Full()) {
      ZSetError(Z_ERROR_CONTOUR_TOO_LONG);
      return;
    }
    if (steps > 0 && x == sx && y == sy && d == d0) {
      ZOk();
      return;
    }
    if (steps >= cap) {
      ZSetError(Z_ERROR_CONTOUR_TOO_LONG);
      return;
    }
    if (!sink.Put(x, y, d, Load<P>(at))) return;
    ++steps;
    at += offset[d];
    x += kDx[d];
    y += kDy[d];
    inside = mask(x, y);
    d = restart[d];
    int r;
    while ((r = test(d)) == kBackground) d = next[d];
    if (r == kStop) {
      *px = x;
      *py = y;
      ZSetError(Z_ERROR_OUTSIDE_ROI);
      return;
    }
  }
}

}  // namespace kelmira::contour

#endif  // KELMIRA_VECTORS_CONTOUR_WALK_H
