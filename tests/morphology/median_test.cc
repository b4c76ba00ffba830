// LumMedian on BW8 against a sort of the clamped 3x3 window.
#include <algorithm>

#include "support/kelmira_test.h"

namespace {

using kt::Plane;

// The fifth of the nine clamped neighbours in order, for every pixel.
Plane SortedMedian(const Plane& in) {
  Plane out = in;
  for (int y = 0; y < in.h; ++y)
    for (int x = 0; x < in.w; ++x) {
      int64_t v[9];
      for (int i = 0; i < 9; ++i) v[i] = in.clamped(x + i % 3 - 1, y + i / 3 - 1);
      std::nth_element(v, v + 4, v + 9);
      out.at(x, y) = v[4];
    }
  return out;
}

// Few distinct values make many equal neighbours, the cases a sorting network gets wrong first.
Plane Random(int w, int h, int levels) {
  Plane p = kt::RandomPlane(w, h, 0, levels - 1);
  for (int64_t& v : p.p) v *= 255 / (levels - 1);
  return p;
}

// A separate destination, then in place by a null destination and by the source itself.
void Sweep(const std::vector<int>& widths, const std::vector<int>& offsets, const std::vector<int>& heights) {
  for (int h : heights)
    for (int levels : {2, 256})
      kt::ForShapes(widths, offsets, [&](int w, int off) {
        SCOPED_TRACE(testing::Message() << "wide " << ZGetMMX() << " height " << h << " levels " << levels);
        kt::Framed<ZBW8> s(w, h, off), d(w, h, (off * 7) % 16), t(w, h, off);
        const Plane in = Random(w, h, levels), expected = SortedMedian(in);
        kt::Write(s.get(), in);
        kt::Write(t.get(), in);
        ASSERT_EQ(LumMedian(s.get(), d.get()), 0);
        ASSERT_EQ(kt::Read(d.get()), expected);
        ASSERT_EQ(kt::Read(s.get()), in);
        ASSERT_EQ(LumMedian(s.get(), nullptr), 0);
        ASSERT_EQ(kt::Read(s.get()), expected);
        ASSERT_EQ(LumMedian(t.get(), t.get()), 0);
        ASSERT_EQ(kt::Read(t.get()), expected);
        ASSERT_TRUE(s.GuardsIntact() && d.GuardsIntact() && t.GuardsIntact());
      });
}

TEST(MedianPixels, SmallViewsAtEveryOffsetAndEveryTarget) {
  kt::ForScalarAndWide([](int) {
    Sweep(kt::Upto(72), {0, 1, 7}, {1, 2, 3});
    Sweep({1, 2, 3, 31, 32, 33, 63, 64, 65}, kt::Upto(15, 0), {4, 9});
  });
  kt::ForEveryTarget([] { Sweep({5, 63, 64, 65, 130, 257}, {0, 3}, {1, 5}); });
}

// Views of one image at other placements: the result is that of the untouched source.
TEST(MedianPixels, OverlappingViewsReadTheSourceFirst) {
  for (const auto& [dx, dy] : std::vector<std::pair<int, int>>{{1, 1}, {-1, -1}, {2, 0}, {0, -2}, {-3, 1}}) {
    SCOPED_TRACE(testing::Message() << dx << "," << dy);
    kt::Framed<ZBW8> parent(60, 20, 3);
    parent.FillRandom(kt::Rng());
    ZROI<ZBW8> src(parent.get(), 5, 5, 40, 10), dst(parent.get(), 5 + dx, 5 + dy, 40, 10);
    const Plane expected = SortedMedian(kt::Read(&src));
    ASSERT_EQ(LumMedian(&src, &dst), 0);
    ASSERT_EQ(kt::Read(&dst), expected);
    ASSERT_TRUE(parent.GuardsIntact());
  }
}

TEST(MedianErrors, NumbersAndTrace) {
  kt::CheckFrame<ZBW8, ZBW8>([](ZROI<ZBW8>* s, ZROI<ZBW8>* d) { LumMedian(s, d); }, "LumMedian");
  kt::Framed<ZBW8> a(8, 4), b(8, 5);
  EXPECT_EQ(LumMedian(a.get(), b.get()), short(Z_ERROR_DIFFERENT_SIZES));  // the number is returned too
  EXPECT_TRUE(LumMedian(a.get(), nullptr) == 0 && ZGetTraceCount() == 0);
}

}  // namespace
