// Brute-force references of the gray morphology: plain pixel arrays and the windows as described.
#ifndef KELMIRA_TESTS_MORPHOLOGY_GRAY_REF_H
#define KELMIRA_TESTS_MORPHOLOGY_GRAY_REF_H

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "support/kelmira_test.h"

namespace mref {

using Plane = kt::Plane;
using kt::Read;

// Minimum (or maximum) over the offsets that `inside(dx, dy)` accepts, clipped to the plane.
template <class Inside>
Plane Window(const Plane& in, bool max, int reach, Inside&& inside) {
  Plane out = in;
  for (int y = 0; y < in.h; ++y)
    for (int x = 0; x < in.w; ++x) {
      int64_t m = in.at(x, y);
      for (int dy = -reach; dy <= reach; ++dy)
        for (int dx = -reach; dx <= reach; ++dx) {
          const int sx = x + dx, sy = y + dy;
          if (sx < 0 || sy < 0 || sx >= in.w || sy >= in.h || !inside(dx, dy)) continue;
          m = max ? std::max(m, in.at(sx, sy)) : std::min(m, in.at(sx, sy));
        }
      out.at(x, y) = m;
    }
  return out;
}

inline Plane Box(const Plane& in, bool max, int hw, int hh) {
  const int reach = std::min(std::max(hw, hh), std::max(in.w, in.h));
  return Window(in, max, reach, [&](int dx, int dy) { return std::abs(dx) <= hw && std::abs(dy) <= hh; });
}

inline Plane Disk(const Plane& in, bool max, int radius) {
  const int a = radius / 2, b = (radius + 1) / 2;
  return Window(in, max, std::min(radius, in.w + in.h), [&](int dx, int dy) {
    return std::max(std::abs(dx) - a, 0) + std::max(std::abs(dy) - a, 0) <= b;
  });
}

inline Plane Minus(const Plane& a, const Plane& b) {
  Plane out = a;
  for (size_t i = 0; i < a.p.size(); ++i) out.p[i] = std::max<int64_t>(a.p[i] - b.p[i], 0);
  return out;
}

// One step of the older forms: horizontal with the border, stored as a byte, then vertical.
inline Plane BorderStep(const Plane& in, bool max, int border) {
  auto pick = [max](int64_t a, int64_t b) { return max ? std::max(a, b) : std::min(a, b); };
  auto px = [&](const Plane& p, int x, int y) -> int64_t { return x < 0 || x >= p.w || y < 0 || y >= p.h ? border : p.at(x, y); };
  Plane h = in, out = in;
  for (int y = 0; y < in.h; ++y)
    for (int x = 0; x < in.w; ++x)
      h.at(x, y) = pick(pick(px(in, x - 1, y), px(in, x, y)), px(in, x + 1, y)) & 255;
  for (int y = 0; y < in.h; ++y)
    for (int x = 0; x < in.w; ++x)
      out.at(x, y) = pick(pick(px(h, x, y - 1), px(h, x, y)), px(h, x, y + 1)) & 255;
  return out;
}

inline Plane BorderSteps(Plane p, bool max, int border, int passes) {
  for (int i = 0; i < passes; ++i) p = BorderStep(p, max, border);
  return p;
}

}  // namespace mref

#endif  // KELMIRA_TESTS_MORPHOLOGY_GRAY_REF_H
