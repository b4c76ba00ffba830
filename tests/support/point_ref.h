// Helpers of the point and convert tests: a sweep of small view geometries (widths, heights and
// byte offsets of source and destination), and a check of a pixel-wise operator against a
// per-pixel reference with the wide paths off and on.
#ifndef KELMIRA_TESTS_POINT_REF_H
#define KELMIRA_TESTS_POINT_REF_H

#include <cstring>
#include <functional>
#include <vector>

#include "hwy/targets.h"
#include "support/kelmira_test.h"

namespace pr {

// A guarded view whose pixels all sit at addresses aligned for their type (the offset is rounded
// down to it, and the row pitch keeps it), so that typed access to 16, 32 and 64-bit pixels is
// well defined. Byte pixels keep every offset and an odd pitch.
template <class T>
class Frame : public kt::Framed<T> {
 public:
  Frame(int width, int height, int offset = 0)
      : kt::Framed<T>(width, height, offset / static_cast<int>(alignof(T)) * static_cast<int>(alignof(T)),
                      alignof(T) == 1 ? 19 : 24) {}
};

struct Geometry {
  int width, height, sourceOffset, destinationOffset;
};

// Widths around every multiple of 8 up to 40, around the vector widths 32 and 64, and a long row;
// heights 1 and 3; every destination offset 0..7 (so the row rule splits each row differently)
// with a source offset that moves independently.
inline std::vector<Geometry> Geometries() {
  std::vector<Geometry> out;
  std::vector<int> widths;
  for (int w = 1; w <= 26; ++w) widths.push_back(w);
  for (int w : {31, 32, 33, 40, 63, 64, 65, 72, 129, 200}) widths.push_back(w);
  for (int w : widths)
    for (int h : {1, 3})
      for (int d = 0; d < 8; ++d) out.push_back({w, h, (d * 5 + w) % 16, d});
  return out;
}

// The Highway targets that this processor runs and the library builds, widest first.
inline std::vector<int64_t> Targets() {
  std::vector<int64_t> out;
  for (int64_t t : {int64_t{HWY_AVX3_DL}, int64_t{HWY_AVX3}, int64_t{HWY_AVX2}, int64_t{HWY_SSE4}, int64_t{HWY_SCALAR}})
    if (hwy::SupportedTargets() & t) out.push_back(t);
  return out;
}

// Runs the wide paths on one Highway target for a scope (0: every target the processor has).
class TargetSetting {
 public:
  explicit TargetSetting(int64_t target) { hwy::SetSupportedTargetsForTest(target); }
  ~TargetSetting() { hwy::SetSupportedTargetsForTest(0); }
};

template <class T>
std::vector<T> Pixels(ZROI<T>* view) {
  std::vector<T> out;
  for (int y = 0; y < view->GetHeight(); ++y)
    for (int x = 0; x < view->GetWidth(); ++x) out.push_back(view->GetImagePtr(x, y)[0]);
  return out;
}

template <class T>
bool Same(const T& a, const T& b) {
  return std::memcmp(&a, &b, sizeof(T)) == 0;
}

// Runs `call(source, destination)` on every geometry with the wide paths off and on (each
// geometry on the next Highway target in turn), and
// compares each destination pixel with ref(sourcePixel, oldDestinationPixel). `fill` gives the
// source its content; the destination starts random so that kept bits show.
template <class S, class D>
void CheckAgainst(const std::function<void(ZROI<S>*, ZROI<D>*)>& call, const std::function<D(S, D)>& ref,
                  const std::function<void(kt::Framed<S>&)>& fill = nullptr) {
  const std::vector<int64_t> targets = Targets();
  size_t round = 0;
  for (const Geometry& g : Geometries()) {
    const TargetSetting target(targets[round++ % targets.size()]);
    for (int wide : {0, 1}) {
      Frame<S> source(g.width, g.height, g.sourceOffset);
      Frame<D> destination(g.width, g.height, g.destinationOffset);
      if (fill)
        fill(source);
      else
        source.FillRandom(kt::Rng());
      destination.FillRandom(kt::Rng());
      const std::vector<S> in = Pixels(source.get());
      const std::vector<D> old = Pixels(destination.get());
      {
        kt::WideSetting setting(wide);
        call(source.get(), destination.get());
      }
      SCOPED_TRACE(testing::Message() << "width " << g.width << " height " << g.height << " offsets "
                                      << g.sourceOffset << "/" << g.destinationOffset << " wide " << wide);
      ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
      ASSERT_TRUE(destination.GuardsIntact());
      const std::vector<D> out = Pixels(destination.get());
      for (size_t i = 0; i < out.size(); ++i)
        ASSERT_TRUE(Same(out[i], ref(in[i], old[i]))) << "pixel " << i;
    }
  }
}

}  // namespace pr

#endif  // KELMIRA_TESTS_POINT_REF_H
