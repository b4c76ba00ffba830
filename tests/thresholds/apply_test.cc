// Threshold application: per-pixel models, packed one-bit output, local mean, adaptive map.
#include "support/kelmira_test.h"

namespace {

using Marvane::Ovidra::Segmentation::LumLocalMeanThreshold;

template <class S, class D>
void Check(const std::function<void(ZROI<S>*, ZROI<D>*)>& call, const std::function<D(S)>& model) {
  kt::CheckAgainst<S, D>(call, [&](S s, D) { return model(s); }, nullptr, true);
}

TEST(ThresholdApply, FixedLevels) {
  // (level, below, above): 0 sends all above, 255 only 255, below 255 / above 0 the xor path.
  for (const auto& [t, below, above] : {std::tuple{0u, 0, 255}, {255u, 0, 255}, {128u, 255, 0}, {77u, 10, 200}, {1u, 3, 3}}) {
    SCOPED_TRACE(t);
    Check<ZBW8, ZBW8>([&](auto s, auto d) { LumThreshold(s, d, t, below, above, 0.5f); },
                      [&](ZBW8 v) { return ZBW8(uint8_t(v < t ? below : above)); });
  }
  for (unsigned t : {0u, 1u, 40000u, 65535u})
    Check<ZBW16, ZBW16>([&](auto s, auto d) { LumThreshold(s, d, t, 7, 60000, 0.5f); },
                        [&](ZBW16 v) { return ZBW16(v < t ? 7 : 60000); });
}

// The test for above comes first: with high below low, a pixel above high gets above.
TEST(ThresholdApply, DoubleThresholdAboveFirst) {
  for (const auto& [low, high] : {std::pair{50u, 200u}, {90u, 90u}, {200u, 50u}, {300u, 100u}, {0u, 1000u}}) {
    SCOPED_TRACE(testing::Message() << low << ".." << high);
    Check<ZBW8, ZBW8>([&](auto s, auto d) { LumDoubleThreshold(s, d, low, high, 1, 2, 3); },
                      [&](ZBW8 v) { return ZBW8(v > high ? 3 : v < low ? 1 : 2); });
    const unsigned lo = low * 257, hi = high * 257;
    Check<ZBW16, ZBW16>([&](auto s, auto d) { LumDoubleThreshold(s, d, lo, hi, 1, 2, 3); },
                        [&](ZBW16 v) { return ZBW16(v > hi ? 3 : v < lo ? 1 : 2); });
  }
}

ZC24 Tint(ZC24 c, void*) { return ZC24(static_cast<uint8_t>(255 - c.c0), c.c1, static_cast<uint8_t>(c.c2 / 2)); }

TEST(ThresholdApply, ColourBox) {
  const ZC24 lo(40, 0, 100), hi(200, 180, 255);
  const auto inside = [&](ZC24 p) {
    return p.c0 >= lo.c0 && p.c0 <= hi.c0 && p.c1 >= lo.c1 && p.c1 <= hi.c1 && p.c2 >= lo.c2 && p.c2 <= hi.c2;
  };
  ZColorLookup lookup(8);
  lookup.Fill(Tint, nullptr);
  Check<ZC24, ZBW8>([&](auto s, auto d) { LumThreshold(s, d, lo, hi); }, [&](ZC24 p) { return ZBW8(inside(p) ? 255 : 0); });
  Check<ZC24, ZBW8>([&](auto s, auto d) { LumThreshold(s, d, lo, hi, nullptr, 9, 99); },
                    [&](ZC24 p) { return ZBW8(inside(p) ? 99 : 9); });
  Check<ZC24, ZBW8>([&](auto s, auto d) { LumThreshold(s, d, lo, hi, &lookup, 9, 99); }, [&](ZC24 p) {
    ZC24 t;
    lookup.Transform(p, t);
    return ZBW8(inside(t) ? 99 : 9);
  });
}

// BW1: every bit offset of the destination inside a parent whose other bits must survive; an
// aligned destination gets whole bytes whose spare low bits are 0.
template <class S>
void PackCases(unsigned level, bool plain) {
  kt::ForScalarAndWide([&](int) {
    kt::ForShapes({1, 7, 9, 64, 65, 150}, plain ? kt::Upto(7, 0) : std::vector<int>{0}, [&](int width, int bit) {
      kt::Aligned<S> src(width, 3, bit % 3 * 2);
      kt::Framed<ZBW1> parent(width + 16, 3, 1);
      src.FillRandom(kt::Rng()), parent.FillRandom(kt::Rng());
      kt::Plane want = kt::Read(parent.get());
      for (int y = 0; y < 3; ++y)
        for (int x = 0; x < (bit == 0 ? (width + 7) / 8 * 8 : width); ++x)
          want.at(bit + x, y) = x < width && src->GetPixel(x, y).value >= level;
      ZROI<ZBW1> dst(parent.get(), bit, 0, width, 3);
      if (plain) LumThreshold(src.get(), &dst, level, 0.5f);
      else LumThresholdAligned(src.get(), &dst, level, 0.5f);
      ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
      ASSERT_EQ(kt::Read(parent.get()), want) << (plain ? "plain" : "aligned");
      ASSERT_TRUE(src.GuardsIntact() && parent.GuardsIntact());
    });
  });
}

TEST(ThresholdApply, PackedEveryBitOffset) {
  for (unsigned t : {0u, 1u, 128u, 255u, 300u, 65535u})  // 256..65535 is a fixed level on BW8 too
    for (bool plain : {true, false}) {
      PackCases<ZBW8>(t, plain);
      PackCases<ZBW16>(std::min(t * 200u, 65535u), plain);
    }
}

// An automatic level is the selection's; a failed one (no mode, a fraction out of range) leaves the mode as the level,
// so every pixel gets below, and returns its error after both traces. The one-bit form sees a value's low 16 bits.
TEST(ThresholdApply, AutomaticAndFailedSelection) {
  kt::Framed<ZBW8> src(61, 9, 3), dst(61, 9, 5);
  kt::Framed<ZBW1> parent(80, 9, 0);
  ZROI<ZBW1> bits(parent.get(), 3, 0, 61, 9);
  src.FillRandom(kt::Rng());
  const kt::Plane in = kt::Read(src.get());
  ZBWHistogramVector h;
  LumHistogram(src.get(), &h);
  for (const auto& [mode, relative, error] :
       {std::tuple{unsigned(LUM_THRESHOLD_MODE_ISODATA), 0.3f, Z_ERROR_NONE}, {LUM_THRESHOLD_MODE_MIN_RESIDUE, 0.3f, Z_ERROR_NONE},
        {LUM_THRESHOLD_MODE_RELATIVE, 0.3f, Z_ERROR_NONE}, {300u, 0.5f, Z_ERROR_ARGUMENT_2},
        {LUM_THRESHOLD_MODE_RELATIVE, 1.5f, Z_ERROR_ARGUMENT_5}}) {
    SCOPED_TRACE(mode);
    unsigned level = mode;
    float a, b;
    LumHistogramThreshold(&h, level, a, b, relative, 0, 255);
    if (error) level = 0xFFFFFFFFu;
    parent.FillBytes(0xFF);
    EXPECT_EQ(LumThreshold(src.get(), dst.get(), mode, 17, 255, relative), error);
    EXPECT_TRUE(kt::Failed(error, error ? Strings{"LumHistogramThreshold", "LumThreshold (BW8)"} : Strings{}));
    LumThreshold(src.get(), &bits, mode | 0xFFFF0000u, relative);
    EXPECT_TRUE(kt::Failed(error, error ? Strings{"LumHistogramThreshold", "LumThreshold (BW8 -> BW1)"} : Strings{}));
    for (int y = 0; y < 9; ++y)
      for (int x = 0; x < 61; ++x)
        ASSERT_TRUE(dst->GetPixel(x, y).value == (in.at(x, y) >= level ? 255 : 17) &&
                    bits.GetPixel(x, y) == (in.at(x, y) >= level));
  }
  kt::Framed<ZBW16> s16(20, 4, 2, 20), d16(20, 4, 0, 20);
  s16.FillRandom(kt::Rng());
  LumThreshold(s16.get(), d16.get(), LUM_THRESHOLD_MODE_RELATIVE, 1, 2, -0.5f);
  EXPECT_TRUE(kt::Failed(Z_ERROR_ARGUMENT_5, {"LumHistogramThreshold (BW16)", "LumThreshold (BW16)"}));
  EXPECT_TRUE(kt::Read(d16.get()) == kt::Plane(20, 4, 1));
}

// Brute force: the window of (2r + 1)^2, r cut to fit, moved inside the image, summed from scratch.
kt::Plane LocalMeanModel(const kt::Plane& s, int halfSize, int offset) {
  const int r = std::clamp(halfSize, 0, (std::min(s.w, s.h) - 1) / 2);
  const int64_t area = int64_t(2 * r + 1) * (2 * r + 1);
  kt::Plane out(s.w, s.h);
  for (int y = 0; y < s.h; ++y)
    for (int x = 0; x < s.w; ++x) {
      const int x0 = std::clamp(x - r, 0, s.w - 2 * r - 1), y0 = std::clamp(y - r, 0, s.h - 2 * r - 1);
      int64_t sum = 0;
      for (int j = y0; j <= y0 + 2 * r; ++j)
        for (int i = x0; i <= x0 + 2 * r; ++i) sum += s.at(i, j);
      out.at(x, y) = s.at(x, y) * area < area * offset + sum ? 0 : 255;
    }
  return out;
}

TEST(ThresholdApply, LocalMeanAgainstBruteForce) {
  struct Case { int w, h, halfSize, offset; };
  for (const Case c : {Case{1, 1, 5, 0}, Case{1, 1, 0, 1}, Case{9, 5, 1, 0}, Case{23, 17, 3, -4}, Case{40, 12, 100, 2},
                       Case{8, 8, -3, 0}, Case{17, 3, 0x7FFFFFFF, 0}, Case{70, 9, 2, 300}, Case{70, 9, 4, -255},
                       Case{21, 11, 3, 0x7FFFFFFF}, Case{21, 11, 1, -0x7FFFFFFF}})
    for (bool inPlace : {false, true})
      kt::ForScalarAndWide([&](int) {
        SCOPED_TRACE(testing::Message() << c.w << "x" << c.h << " r " << c.halfSize << " in place " << inPlace);
        kt::Framed<ZBW8> src(c.w, c.h, 1), dst(c.w, c.h, 6);
        src.FillRandom(kt::Rng());
        const kt::Plane in = kt::Read(src.get());
        ZROI<ZBW8>* out = inPlace ? src.get() : dst.get();
        LumLocalMeanThreshold(src.get(), out, c.halfSize, c.offset);
        ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
        ASSERT_TRUE(kt::Read(out) == LocalMeanModel(in, c.halfSize, c.offset));
        ASSERT_TRUE(src.GuardsIntact() && dst.GuardsIntact());
      });
}

// The grid holds the isodata level of each window, not the mode's, scaled to the image.
TEST(ThresholdApply, AdaptiveGridCellByCell) {
  const int w = 37, h = 23, ww = 8, wh = 6, nx = (w + ww - 1) / ww, ny = (h + wh - 1) / wh;
  kt::Framed<ZBW8> src(w, h, 2), dst(w, h, 5);
  for (int y = 0; y < h; ++y)  // a lighting gradient, so that cells differ
    for (int x = 0; x < w; ++x) *src->GetImagePtr(x, y) = static_cast<uint8_t>(kt::Rng()() % 86 + 4 * x);
  ZImage<ZBW8> grid(nx + 1, ny + 1), expect(w, h);
  for (int j = 0; j <= ny; ++j)
    for (int i = 0; i <= nx; ++i) {
      const int cx = i * w / nx, cy = j * h / ny;
      ZBWHistogramVector hist(256);
      hist.SetNumElements(256);
      hist.Clear();
      for (int y = std::max(cy - wh / 2, 0); y < std::min(cy + wh / 2, h); ++y)
        for (int x = std::max(cx - ww / 2, 0); x < std::min(cx + ww / 2, w); ++x) hist[src->GetPixel(x, y).value]++;
      *grid.GetImagePtr(i, j) = LumIsodataThreshold(&hist, 0, 255);
    }
  ASSERT_EQ(LumScaleRotate(&grid, 0, 0, 0, 0, float(w) / nx, float(h) / ny, 0, &expect, 8), 0);
  LumAutoAdaptiveThreshold(src.get(), dst.get(), LUM_THRESHOLD_MODE_MAX_ENTROPY, ww, wh);
  ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
  EXPECT_TRUE(kt::SameBytes(dst.get(), &expect) && dst.GuardsIntact());
  for (int size : {1, 1000}) {  // windows of one pixel and larger than the image still run
    LumAutoAdaptiveThreshold(src.get(), dst.get(), LUM_THRESHOLD_MODE_ISODATA, size, size);
    EXPECT_EQ(ZGetError(), Z_ERROR_NONE) << size;
  }
}

// The frame of every form (null, void, sizes, the gate), then the arguments of the adaptive map.
TEST(ThresholdApply, BadInput) {
  kt::CheckFrame<ZBW8, ZBW8>([](auto s, auto d) { LumThreshold(s, d, 5, 0, 255, 0.5f); }, "LumThreshold (BW8)", false);
  kt::CheckFrame<ZBW16, ZBW16>([](auto s, auto d) { LumThreshold(s, d, 5, 0, 255, 0.5f); }, "LumThreshold (BW16)", false);
  kt::CheckFrame<ZBW8, ZBW1>([](auto s, auto d) { LumThreshold(s, d, 5, 0.5f); }, "LumThreshold (BW8 -> BW1)", false);
  kt::CheckFrame<ZBW16, ZBW1>([](auto s, auto d) { LumThreshold(s, d, 5, 0.5f); }, "LumThreshold (BW16 -> BW1)", false);
  const auto twice = [](auto s, auto d) { LumDoubleThreshold(s, d, 1, 2, 0, 1, 2); };
  kt::CheckFrame<ZBW8, ZBW8>(twice, "LumDoubleThreshold ( BW8 to BW8)", false);
  kt::CheckFrame<ZBW16, ZBW16>(twice, "LumDoubleThreshold ( BW16 to BW16)", false);
  kt::CheckFrame<ZC24, ZBW8>([](auto s, auto d) { LumThreshold(s, d, ZC24(), ZC24(), nullptr, 0, 1); }, "LumThreshold ( C24 to BW8)", false);
  const auto grid = [](auto s, auto d) { LumAutoAdaptiveThreshold(s, d, LUM_THRESHOLD_MODE_ISODATA, 2, 2); };
  kt::CheckFrame<ZBW8, ZBW8>(grid, "LumAutoAdaptiveThreshold", false);
  kt::CheckFrame<ZBW8, ZBW8>([](auto s, auto d) { LumLocalMeanThreshold(s, d, 1, 0); }, "", false);
  ZImage<ZBW8> a(8, 4);
  ZImage<ZBW1> bits(9, 4);
  const Strings adaptive = {"LumAutoAdaptiveThreshold"};
  kt::CheckRefusals({
      {[&] { LumAutoAdaptiveThreshold(&a, &a, LUM_THRESHOLD_MODE_ISODATA, 0, 2); }, Z_ERROR_ARGUMENT_4, adaptive},
      {[&] { LumAutoAdaptiveThreshold(&a, &a, LUM_THRESHOLD_MODE_ISODATA, 2, -1); }, Z_ERROR_ARGUMENT_5, adaptive},
      // a value that is no mode fails in the selection, although its level would not be used
      {[&] { LumAutoAdaptiveThreshold(&a, &a, static_cast<LUM_THRESHOLD_MODES>(300), 2, 2); }, Z_ERROR_ARGUMENT_2,
       {"LumHistogramThreshold", "LumAutoAdaptiveThreshold"}},
  });
  ZROI<ZBW1> odd(&bits, 1, 0, 8, 4);  // the inner one-bit form throws instead
  EXPECT_EQ(kt::Thrown([&] { LumThresholdAligned(&a, &odd, 5, 0.5f); }), Z_ERROR_BW1_NOT_ALIGNED);
}

}  // namespace
