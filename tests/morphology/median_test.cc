// LumMedian on BW8: against a sort of the clamped 3x3 window on views at every byte offset, wide
// and scalar on every target, in place and on overlapping views, and its error numbers and trace.
#include <algorithm>

#include "support/kelmira_test.h"

namespace {

// The fifth of the nine clamped neighbours in order, for every pixel of `src`.
std::vector<ZBW8> SortedMedian(ZROI<ZBW8>* src) {
  const int w = src->GetWidth(), h = src->GetHeight();
  std::vector<ZBW8> out;
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      std::vector<uint8_t> v;
      for (int dy = -1; dy <= 1; ++dy)
        for (int dx = -1; dx <= 1; ++dx)
          v.push_back(src->GetImagePtr(std::clamp(x + dx, 0, w - 1), std::clamp(y + dy, 0, h - 1))->value);
      std::sort(v.begin(), v.end());
      out.push_back(v[4]);
    }
  return out;
}

std::vector<ZBW8> Pixels(ZROI<ZBW8>* v) { return kt::Pixels(v); }

// Few distinct values make many equal neighbours, the cases a network gets wrong first.
void Fill(kt::Framed<ZBW8>& f, int levels) {
  auto& rng = kt::Rng();
  for (int y = 0; y < f->GetHeight(); ++y)
    for (int x = 0; x < f->GetWidth(); ++x)
      f->GetImagePtr(x, y)->value = levels == 256 ? uint8_t(rng()) : uint8_t(rng() % levels * (255 / (levels - 1)));
}

void Sweep(const std::vector<int>& widths, const std::vector<int>& offsets, const std::vector<int>& heights) {
  for (int wide : {0, 1}) {
    kt::WideSetting setting(wide);
    for (int w : widths)
      for (int h : heights)
        for (int off : offsets)
          for (int levels : {2, 256}) {
            SCOPED_TRACE(testing::Message() << "wide " << wide << " " << w << "x" << h << " offset " << off);
            kt::Framed<ZBW8> s(w, h, off), d(w, h, (off * 7) % 16);
            Fill(s, levels);
            const auto before = Pixels(s.get());
            const auto expected = SortedMedian(s.get());
            ASSERT_EQ(LumMedian(s.get(), d.get()), 0);
            ASSERT_EQ(Pixels(d.get()), expected);
            ASSERT_EQ(Pixels(s.get()), before);
            ASSERT_TRUE(s.GuardsIntact() && d.GuardsIntact());
            // In place, by a null destination and by the source itself.
            ASSERT_EQ(LumMedian(s.get(), nullptr), 0);
            ASSERT_EQ(Pixels(s.get()), expected);
            kt::Framed<ZBW8> t(w, h, off);
            Fill(t, levels);
            const auto expectedT = SortedMedian(t.get());
            ASSERT_EQ(LumMedian(t.get(), t.get()), 0);
            ASSERT_EQ(Pixels(t.get()), expectedT);
            ASSERT_TRUE(s.GuardsIntact() && t.GuardsIntact());
          }
  }
}

TEST(MedianPixels, SmallViewsAtEveryOffsetAndEveryTarget) {
  Sweep(kt::Upto(72), {0, 1, 7}, {1, 2, 3});
  Sweep({1, 2, 3, 31, 32, 33, 63, 64, 65}, kt::Upto(15, 0), {4});
  kt::ForEveryTarget([] { Sweep({5, 63, 64, 65, 130, 257}, {0, 3}, {1, 5}); });
}

// Views of one image at other placements: the result is that of the untouched source.
TEST(MedianPixels, OverlappingViewsReadTheSourceFirst) {
  for (const auto& [dx, dy] : std::vector<std::pair<int, int>>{{1, 1}, {-1, -1}, {2, 0}, {0, -2}, {-3, 1}}) {
    SCOPED_TRACE(testing::Message() << dx << "," << dy);
    kt::Framed<ZBW8> parent(60, 20, 3);
    Fill(parent, 256);
    ZROI<ZBW8> src(parent.get(), 5, 5, 40, 10), dst(parent.get(), 5 + dx, 5 + dy, 40, 10);
    const auto expected = SortedMedian(&src);
    ASSERT_EQ(LumMedian(&src, &dst), 0);
    ASSERT_EQ(Pixels(&dst), expected);
    ASSERT_TRUE(parent.GuardsIntact());
  }
}

TEST(MedianErrors, NumbersAndTrace) {
  kt::CheckFrame<ZBW8, ZBW8>([](ZROI<ZBW8>* s, ZROI<ZBW8>* d) { LumMedian(s, d); }, "LumMedian");
  kt::Framed<ZBW8> a(8, 4), b(8, 5);
  EXPECT_EQ(LumMedian(a.get(), b.get()), short(Z_ERROR_DIFFERENT_SIZES));  // the number is returned too
  EXPECT_EQ(LumMedian(a.get(), nullptr), 0);
  EXPECT_EQ(ZGetTraceCount(), 0);
}

}  // namespace
