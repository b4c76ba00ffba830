// Shared pieces of the measurement tests: the values of a view as planes of numbers, the views the
// tests sweep (every byte offset, widths around the vector widths), random content with the
// extremes, and a runner over the wide paths off and on, each Highway target in turn.
#ifndef KELMIRA_TESTS_MEASURE_REF_H
#define KELMIRA_TESTS_MEASURE_REF_H

#include <cstdint>
#include <functional>
#include <vector>

#include "support/kelmira_test.h"

namespace mr {

// The values of a view, channel by channel: at(x, y, k).
struct Grid {
  int w = 0, h = 0, c = 1;
  std::vector<kt::Plane> planes;
  uint64_t at(int x, int y, int k = 0) const { return uint64_t(planes[k].at(x, y)); }
};

template <class T>
Grid Read(ZROI<T>* view) {
  Grid g{view->GetWidth(), view->GetHeight(), std::is_same_v<T, ZC24> ? 3 : 1, {}};
  for (int k = 0; k < g.c; ++k) g.planes.push_back(kt::Read(view, k));
  return g;
}

struct Shape {
  int width, height, offset;
};

// Widths around 8, 16, 32, 64 and a long row (every vector width meets a tail), heights 1 to 3,
// and every byte offset up to 15 along the sweep.
inline std::vector<Shape> Shapes() {
  std::vector<Shape> out;
  int i = 0;
  for (int w : {1, 2, 3, 7, 8, 9, 15, 16, 17, 31, 33, 63, 64, 65, 100, 129, 257})
    for (int h : {1, 2, 3}) out.push_back({w, h, (i++ * 7) % 16});
  out.push_back({1000, 5, 3});
  out.push_back({70, 130, 9});  // more rows than the wide statistics take in one call
  return out;
}

// Random values, with 0 and the largest value often enough to matter.
template <class T>
void Fill(kt::Framed<T>& view) {
  view.FillRandom(kt::Rng());
  if constexpr (!std::is_same_v<T, ZC24>) {
    using S = decltype(T::value);
    for (int y = 0; y < view->GetHeight(); ++y)
      for (int x = 0; x < view->GetWidth(); ++x) {
        const uint32_t r = kt::Rng()() % 9;
        if (r < 2) view->GetImagePtr(x, y)->value = r == 0 ? S(0) : S(~S{0});
      }
  }
}

// Calls run() once with the wide paths off and once on, each shape on the next Highway target.
inline void BothPaths(size_t round, const std::function<void()>& run) {
  static const std::vector<int64_t> targets = kt::Targets();
  const kt::TargetSetting target(targets[round % targets.size()]);
  kt::ForScalarAndWide([&](int) { run(); });
}

// Every moment form of view a (values g) against the model, on the path in force.
template <class T>
void CheckMoments(ZROI<T>* a, const Grid& g);

}  // namespace mr

#endif  // KELMIRA_TESTS_MEASURE_REF_H
