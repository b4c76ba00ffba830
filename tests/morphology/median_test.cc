// LumMedian on BW8: against a sort of the clamped 3x3 window on views at every byte offset, wide
// and scalar on every target, in place and on overlapping views, and its error numbers and trace.
#include <algorithm>

#include "hwy/targets.h"
#include "support/kelmira_test.h"

namespace {

// The fifth of the nine clamped neighbours in order, for every pixel of `src`.
std::vector<uint8_t> SortedMedian(ZROI<ZBW8>* src) {
  const int w = src->GetWidth(), h = src->GetHeight();
  std::vector<uint8_t> out;
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

std::vector<uint8_t> Pixels(ZROI<ZBW8>* v) {
  std::vector<uint8_t> out;
  for (int y = 0; y < v->GetHeight(); ++y)
    for (int x = 0; x < v->GetWidth(); ++x) out.push_back(v->GetImagePtr(x, y)->value);
  return out;
}

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

TEST(MedianPixels, SmallViewsAtEveryOffset) {
  std::vector<int> widths;
  for (int w = 1; w <= 72; ++w) widths.push_back(w);
  Sweep(widths, {0, 1, 7}, {1, 2, 3});
  Sweep({1, 2, 3, 31, 32, 33, 63, 64, 65}, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}, {4});
}

TEST(MedianPixels, EveryWideTargetAgreesWithTheSort) {
  for (const int64_t target : hwy::SupportedAndGeneratedTargets()) {
    SCOPED_TRACE(hwy::TargetName(target));
    hwy::SetSupportedTargetsForTest(target);
    Sweep({5, 63, 64, 65, 130, 257}, {0, 3}, {1, 5});
  }
  hwy::SetSupportedTargetsForTest(0);
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
  kt::Framed<ZBW8> a(8, 4), b(8, 5), c(8, 4);
  ZImage<ZBW8> empty;
  c.FillBytes(7);
  struct Case {
    ZROI<ZBW8>* s;
    ZROI<ZBW8>* d;
    short expected;
  };
  for (const Case& k : {Case{nullptr, c.get(), 1400}, Case{&empty, c.get(), 1400}, Case{a.get(), &empty, 1400},
                        Case{a.get(), b.get(), 1402}}) {
    ASSERT_EQ(LumMedian(k.s, k.d), k.expected);
    ASSERT_EQ(ZGetError(), k.expected);
    ASSERT_EQ(kt::Trace(), std::vector<std::string>{"LumMedian"});
  }
  ASSERT_TRUE(a.GuardsIntact() && b.GuardsIntact() && c.GuardsIntact());
  ZSetGateError(Z_ERROR_INTERNAL);
  ASSERT_EQ(LumMedian(a.get(), c.get()), short(Z_ERROR_INTERNAL));
  ZSetGateError(Z_ERROR_NONE);
  for (int y = 0; y < 4; ++y)
    for (int x = 0; x < 8; ++x) ASSERT_EQ(c->GetImagePtr(x, y)->value, 7);
  // Success clears what the last call left.
  ASSERT_EQ(LumMedian(a.get(), c.get()), 0);
  ASSERT_EQ(ZGetTraceCount(), 0);
}

}  // namespace
