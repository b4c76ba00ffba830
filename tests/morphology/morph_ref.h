// References of the morphology: clipped windows, their compounds, the border steps, the forms as tables.
#ifndef KELMIRA_TESTS_MORPHOLOGY_MORPH_REF_H
#define KELMIRA_TESTS_MORPHOLOGY_MORPH_REF_H

#include <algorithm>
#include <array>
#include <cstdlib>

#include "support/kelmira_test.h"

namespace mref {

using Plane = kt::Plane;

// Minimum (or maximum) over the offsets within the reaches that `inside(dx, dy)` accepts, clipped
// to the plane. On one-bit pixels (0 and 1) these are AND and OR.
template <class Inside>
Plane Window(const Plane& in, bool max, int64_t reachX, int64_t reachY, Inside&& inside) {
  const int rx = int(std::min<int64_t>(reachX, in.w)), ry = int(std::min<int64_t>(reachY, in.h));
  Plane out = in;
  for (int y = 0; y < in.h; ++y)
    for (int x = 0; x < in.w; ++x)
      for (int dy = -ry; dy <= ry; ++dy)
        for (int dx = -rx; dx <= rx; ++dx)
          if (in.inside(x + dx, y + dy) && inside(dx, dy))
            out.at(x, y) = max ? std::max(out.at(x, y), in.at(x + dx, y + dy)) : std::min(out.at(x, y), in.at(x + dx, y + dy));
  return out;
}

inline Plane Box(const Plane& in, bool max, int64_t hw, int64_t hh) {
  const auto all = [](int, int) { return true; };
  return Window(Window(in, max, hw, 0, all), max, 0, hh, all);
}

// The octagon of radius/2 squares and (radius + 1)/2 crosses.
inline Plane Disk(const Plane& in, bool max, int64_t radius) {
  const int64_t a = radius / 2, b = (radius + 1) / 2;
  return Window(in, max, radius, radius, [&](int dx, int dy) {
    return std::max<int64_t>(std::abs(dx) - a, 0) + std::max<int64_t>(std::abs(dy) - a, 0) <= b;
  });
}

inline Plane Minus(const Plane& a, const Plane& b) {
  Plane out = a;
  for (size_t i = 0; i < a.p.size(); ++i) out.p[i] = std::max<int64_t>(a.p[i] - b.p[i], 0);
  return out;
}

enum Kind { kErode, kDilate, kOpen, kClose, kWhite, kBlack, kGradient };
const char* const kNames[] = {"Erode", "Dilate", "Open", "Close", "WhiteTopHat", "BlackTopHat", "MorphoGradient"};

// A compound from its erosion/dilation; on one-bit pixels the differences are the XORs.
inline Plane Compose(int kind, const Plane& in, const std::function<Plane(const Plane&, bool)>& window) {
  switch (kind) {
    case kErode: return window(in, false);
    case kDilate: return window(in, true);
    case kOpen: return window(window(in, false), true);
    case kClose: return window(window(in, true), false);
    case kWhite: return Minus(in, window(window(in, false), true));
    case kBlack: return Minus(window(window(in, true), false), in);
    default: return Minus(window(in, true), window(in, false));
  }
}

// One step of the older forms: horizontal with the border, stored as a byte, then vertical.
inline Plane BorderSteps(Plane p, bool max, int border, int passes) {
  for (int i = 0; i < passes; ++i)
    for (int vertical = 0; vertical < 2; ++vertical) {
      const Plane in = p;
      auto px = [&](int x, int y) -> int64_t { return in.inside(x, y) ? in.at(x, y) : border; };
      for (int y = 0; y < in.h; ++y)
        for (int x = 0; x < in.w; ++x) {
          const int64_t a = px(x - !vertical, y - vertical), b = px(x + !vertical, y + vertical);
          p.at(x, y) = (max ? std::max({a, in.at(x, y), b}) : std::min({a, in.at(x, y), b})) & 255;
        }
    }
  return p;
}

template <class P>
using BoxFn = void (*)(ZROI<P>*, ZROI<P>*, unsigned int, unsigned int);
template <class P>
using DiskFn = void (*)(ZROI<P>*, ZROI<P>*, unsigned int);

template <class P>
std::array<BoxFn<P>, 7> BoxForms() {
  return {LumErodeBox, LumDilateBox, LumOpenBox, LumCloseBox, LumWhiteTopHatBox, LumBlackTopHatBox, LumMorphoGradientBox};
}
template <class P>
std::array<DiskFn<P>, 7> DiskForms() {
  return {LumErodeDisk, LumDilateDisk, LumOpenDisk, LumCloseDisk, LumWhiteTopHatDisk, LumBlackTopHatDisk, LumMorphoGradientDisk};
}

}  // namespace mref

#endif  // KELMIRA_TESTS_MORPHOLOGY_MORPH_REF_H
