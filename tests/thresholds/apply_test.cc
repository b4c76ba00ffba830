// Threshold application: every form against a direct per-pixel model on random views at every
// byte (and, for BW1, bit) offset, wide on and off, in place, with guard bytes; the automatic and
// failed selections; the local mean against a brute-force window sum; the adaptive map against a
// grid computed from scratch; the errors and traces.
#include <cstring>
#include <functional>

#include "support/kelmira_test.h"

namespace {

using Strings = std::vector<std::string>;
using Marvane::Ovidra::Segmentation::LumLocalMeanThreshold;
constexpr auto& MS = LumLocalMeanThreshold;

template <class T>
T At(ZROI<T>* v, int x, int y) {
  return *v->GetImagePtr(x, y);
}

// Guard bytes between rows that keep 16-bit rows on even addresses.
template <class T>
int Slack() {
  return alignof(T) > 1 ? 20 : 19;
}

// Runs `body` once per (width, offset, wide) case on a random source and a framed destination; the
// model gives each destination pixel from the source pixel.
template <class S, class D, class Run, class Model>
void PixelCases(Run run, Model model, bool inPlace = false) {
  for (int wide = 0; wide < 2; ++wide)
    for (int width : {1, 7, 8, 31, 64, 67, 130})
      for (int offset = 0; offset < 8; offset += 3) {
        SCOPED_TRACE(::testing::Message() << "wide " << wide << " width " << width << " offset " << offset);
        kt::WideSetting setting(wide);
        // 16-bit pixels stay on even addresses.
        kt::Framed<S> src(width, 3, offset / alignof(S) * alignof(S), Slack<S>());
        kt::Framed<D> dst(width, 3, (offset * 5) % 8 / alignof(D) * alignof(D), Slack<D>());
        src.FillRandom(kt::Rng());
        dst.FillRandom(kt::Rng());
        kt::Framed<S> copy(width, 3, 0, Slack<S>());
        for (int y = 0; y < 3; ++y)
          std::memcpy(copy->GetImagePtr(0, y), src->GetImagePtr(0, y), sizeof(S) * width);
        if constexpr (std::is_same_v<S, D>) {
          if (inPlace) run(src.get(), src.get());
          else run(src.get(), dst.get());
        } else {
          run(src.get(), dst.get());
        }
        ZROI<D>* out = nullptr;
        if constexpr (std::is_same_v<S, D>) out = inPlace ? src.get() : dst.get();
        else out = dst.get();
        ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
        for (int y = 0; y < 3; ++y)
          for (int x = 0; x < width; ++x) ASSERT_EQ(At(out, x, y), model(At(copy.get(), x, y))) << x << "," << y;
        ASSERT_TRUE(src.GuardsIntact() && dst.GuardsIntact());
      }
}

struct Level { unsigned threshold; uint8_t below, above; };

TEST(ThresholdApply, Bw8FixedLevels) {
  for (const Level c : {Level{0, 0, 255}, Level{255, 0, 255}, Level{128, 255, 0}, Level{77, 10, 200},
                        Level{1, 3, 3}, Level{256 * 0 + 200, 0, 255}})
    for (bool inPlace : {false, true}) {
      SCOPED_TRACE(c.threshold);
      PixelCases<ZBW8, ZBW8>(
          [&](ZROI<ZBW8>* s, ZROI<ZBW8>* d) { EXPECT_EQ(LumThreshold(s, d, c.threshold, c.below, c.above, 0.5f), 0); },
          [&](ZBW8 v) { return ZBW8(v < c.threshold ? c.below : c.above); }, inPlace);
    }
}

TEST(ThresholdApply, Bw16FixedLevels) {
  for (unsigned t : {0u, 1u, 255u, 40000u, 65535u})
    for (bool inPlace : {false, true})
      PixelCases<ZBW16, ZBW16>([&](ZROI<ZBW16>* s, ZROI<ZBW16>* d) { LumThreshold(s, d, t, 7, 60000, 0.5f); },
                               [&](ZBW16 v) { return ZBW16(v < t ? 7 : 60000); }, inPlace);
}

TEST(ThresholdApply, DoubleThresholdAboveFirst) {
  struct Case { unsigned low, high; };
  for (const Case c : {Case{50, 200}, Case{90, 90}, Case{200, 50}, Case{0, 255}, Case{300, 100}, Case{0, 1000}})
    for (bool inPlace : {false, true}) {
      auto model = [&](unsigned v) { return v > c.high ? 3u : v < c.low ? 1u : 2u; };
      PixelCases<ZBW8, ZBW8>(
          [&](ZROI<ZBW8>* s, ZROI<ZBW8>* d) { EXPECT_EQ(LumDoubleThreshold(s, d, c.low, c.high, 1, 2, 3), 0); },
          [&](ZBW8 v) { return ZBW8(static_cast<uint8_t>(model(v))); }, inPlace);
      const unsigned lo16 = c.low * 257, hi16 = c.high * 257;
      PixelCases<ZBW16, ZBW16>(
          [&](ZROI<ZBW16>* s, ZROI<ZBW16>* d) { LumDoubleThreshold(s, d, lo16, hi16, 1, 2, 3); },
          [&](ZBW16 v) { return ZBW16(v > hi16 ? 3 : v < lo16 ? 1 : 2); }, inPlace);
    }
  // low == high: exactly one value is between.
  ZImage<ZBW8> ramp(256, 1), out(256, 1);
  for (int x = 0; x < 256; ++x) *ramp.GetImagePtr(x, 0) = static_cast<uint8_t>(x);
  LumDoubleThreshold(&ramp, &out, 90, 90, 0, 128, 255);
  int between = 0;
  for (int x = 0; x < 256; ++x) between += *out.GetImagePtr(x, 0) == 128;
  EXPECT_EQ(between, 1);
}

ZC24 Tint(ZC24 c, void*) { return ZC24(static_cast<uint8_t>(255 - c.c0), c.c1, static_cast<uint8_t>(c.c2 / 2)); }

TEST(ThresholdApply, ColourBox) {
  const ZC24 lo(40, 0, 100), hi(200, 180, 255);
  auto inside = [&](ZC24 p) {
    return p.c0 >= lo.c0 && p.c0 <= hi.c0 && p.c1 >= lo.c1 && p.c1 <= hi.c1 && p.c2 >= lo.c2 && p.c2 <= hi.c2;
  };
  PixelCases<ZC24, ZBW8>([&](ZROI<ZC24>* s, ZROI<ZBW8>* d) { LumThreshold(s, d, lo, hi); },
                         [&](ZC24 p) { return ZBW8(inside(p) ? 255 : 0); });
  PixelCases<ZC24, ZBW8>([&](ZROI<ZC24>* s, ZROI<ZBW8>* d) { LumThreshold(s, d, lo, hi, nullptr, 9, 99); },
                         [&](ZC24 p) { return ZBW8(inside(p) ? 99 : 9); });
  ZColorLookup lookup(8);
  lookup.Fill(Tint, nullptr);
  PixelCases<ZC24, ZBW8>([&](ZROI<ZC24>* s, ZROI<ZBW8>* d) { LumThreshold(s, d, lo, hi, &lookup, 9, 99); },
                         [&](ZC24 p) {
                           ZC24 t;
                           lookup.Transform(p, t);
                           return ZBW8(inside(t) ? 99 : 9);
                         });
}

// BW1: every bit offset of the destination inside a parent whose other bits must survive.
template <class S>
void PackCases(unsigned threshold, unsigned level, bool plain) {
  for (int wide = 0; wide < 2; ++wide)
    for (int width : {1, 7, 9, 64, 65, 150})
      for (int bit = 0; bit < 8; ++bit) {
        if (!plain && bit != 0) continue;
        SCOPED_TRACE(::testing::Message() << "wide " << wide << " width " << width << " bit " << bit);
        kt::WideSetting setting(wide);
        kt::Framed<S> src(width, 3, bit % 3 * static_cast<int>(alignof(S)), Slack<S>());
        src.FillRandom(kt::Rng());
        kt::Framed<ZBW1> parent(width + 16, 3, 1);
        parent.FillRandom(kt::Rng());
        ZImage<ZBW1> before(width + 16, 3);
        for (int y = 0; y < 3; ++y)
          for (int x = 0; x < width + 16; ++x) before.SetPixel(parent->GetPixel(x, y), x, y);
        ZROI<ZBW1> dst(parent.get(), bit, 0, width, 3);
        if (plain) {
          LumThreshold(src.get(), &dst, threshold, 0.5f);
          ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
        } else {
          LumThresholdAligned(src.get(), &dst, threshold, 0.5f);
        }
        for (int y = 0; y < 3; ++y)
          for (int x = 0; x < width + 16; ++x) {
            const int px = x - bit;
            int expect = before.GetPixel(x, y) ? 1 : 0;
            if (px >= 0 && px < width) expect = At(src.get(), px, y) >= level;
            // An aligned destination gets whole bytes: the spare bits of each row's last byte are 0.
            if (bit == 0 && px >= width && px < (width + 7) / 8 * 8) expect = 0;
            ASSERT_EQ(parent->GetPixel(x, y) ? 1 : 0, expect) << x << "," << y;
          }
        ASSERT_TRUE(src.GuardsIntact() && parent.GuardsIntact());
      }
}

TEST(ThresholdApply, PackedEveryBitOffset) {
  for (unsigned t : {0u, 1u, 128u, 255u, 300u, 65535u}) {
    SCOPED_TRACE(t);
    PackCases<ZBW8>(t, t, true);
    PackCases<ZBW8>(t, t, false);
    const unsigned t16 = std::min(t * 200u, 65535u);
    PackCases<ZBW16>(t16, t16, true);
    PackCases<ZBW16>(t16, t16, false);
  }
}

unsigned Selected(ZROI<ZBW8>* s, unsigned mode, float relative) {
  ZBWHistogramVector h;
  LumHistogram(s, &h);
  float a, b;
  LumHistogramThreshold(&h, mode, a, b, relative, 0, 255);
  return mode;
}

TEST(ThresholdApply, AutomaticAndFailedSelection) {
  kt::Framed<ZBW8> src(61, 9, 3), dst(61, 9, 5);
  src.FillRandom(kt::Rng());
  for (unsigned mode : {LUM_THRESHOLD_MODE_ISODATA, LUM_THRESHOLD_MODE_MIN_RESIDUE, LUM_THRESHOLD_MODE_RELATIVE}) {
    const unsigned level = Selected(src.get(), mode, 0.3f);
    ASSERT_EQ(LumThreshold(src.get(), dst.get(), mode, 0, 255, 0.3f), 0);
    ZImage<ZBW1> bits(61, 9);
    LumThreshold(src.get(), &bits, mode, 0.3f);
    for (int y = 0; y < 9; ++y)
      for (int x = 0; x < 61; ++x) {
        ASSERT_EQ(At(dst.get(), x, y), At(src.get(), x, y) >= level ? 255 : 0);
        ASSERT_EQ(bits.GetPixel(x, y) != 0, At(src.get(), x, y) >= level);
      }
  }
  // A failed selection (a level that is no mode, a relative fraction out of range): every pixel
  // gets below, the selection's error is returned after both traces.
  struct Bad { unsigned threshold; float relative; Z_ERRORS error; };
  for (const Bad b : {Bad{300, 0.5f, Z_ERROR_ARGUMENT_2}, Bad{LUM_THRESHOLD_MODE_RELATIVE, 1.5f, Z_ERROR_ARGUMENT_5}}) {
    EXPECT_EQ(LumThreshold(src.get(), dst.get(), b.threshold, 17, 255, b.relative), b.error);
    EXPECT_EQ(kt::Trace(), (Strings{"LumHistogramThreshold", "LumThreshold (BW8)"}));
    for (int y = 0; y < 9; ++y)
      for (int x = 0; x < 61; ++x) ASSERT_EQ(At(dst.get(), x, y), 17);
    kt::Framed<ZBW1> parent(80, 9, 0);
    parent.FillBytes(0xFF);
    ZROI<ZBW1> bits(parent.get(), 3, 0, 61, 9);
    LumThreshold(src.get(), &bits, b.threshold | 0xFFFF0000u, b.relative);
    if (b.threshold < 65536) continue;  // 300 is a fixed BW1 level: nothing fails
    EXPECT_EQ(ZGetError(), b.error);
    EXPECT_EQ(kt::Trace(), (Strings{"LumHistogramThreshold", "LumThreshold (BW8 -> BW1)"}));
    for (int y = 0; y < 9; ++y)
      for (int x = 0; x < 61; ++x) ASSERT_EQ(bits.GetPixel(x, y), 0);
  }
  kt::Framed<ZBW16> s16(20, 4, 2, 20), d16(20, 4, 0, 20);
  s16.FillRandom(kt::Rng());
  LumThreshold(s16.get(), d16.get(), LUM_THRESHOLD_MODE_RELATIVE, 1, 2, -0.5f);
  EXPECT_EQ(ZGetError(), Z_ERROR_ARGUMENT_5);
  EXPECT_EQ(kt::Trace(), (Strings{"LumHistogramThreshold (BW16)", "LumThreshold (BW16)"}));
  for (int x = 0; x < 20; ++x) ASSERT_EQ(At(d16.get(), x, 3), 1);
}

// Brute force: the window of (2r + 1)^2 clamped inside the image, summed from scratch.
uint8_t LocalMeanModel(ZROI<ZBW8>* s, int x, int y, int r, int offset) {
  const int w = s->GetWidth(), h = s->GetHeight();
  const int x0 = std::clamp(x - r, 0, w - 2 * r - 1), y0 = std::clamp(y - r, 0, h - 2 * r - 1);
  int64_t sum = 0;
  for (int j = y0; j <= y0 + 2 * r; ++j)
    for (int i = x0; i <= x0 + 2 * r; ++i) sum += At(s, i, j);
  const int64_t area = static_cast<int64_t>(2 * r + 1) * (2 * r + 1);
  return At(s, x, y) * area < area * offset + sum ? 0 : 255;
}

TEST(ThresholdApply, LocalMeanAgainstBruteForce) {
  struct Case { int w, h, halfSize, offset; };
  for (const Case c : {Case{1, 1, 5, 0}, Case{1, 1, 0, 1}, Case{9, 5, 1, 0}, Case{23, 17, 3, -4}, Case{40, 12, 100, 2},
                       Case{33, 30, 7, 0}, Case{8, 8, -3, 0}, Case{17, 3, 0x7FFFFFFF, 0}, Case{70, 9, 2, 300},
                       Case{70, 9, 4, -255}, Case{21, 11, 3, 0x7FFFFFFF}, Case{21, 11, 1, -0x7FFFFFFF}})
    for (int run = 0; run < 4; ++run) {
      const bool inPlace = run & 1;
      kt::WideSetting setting(run >> 1);
      SCOPED_TRACE(::testing::Message() << c.w << "x" << c.h << " r " << c.halfSize << " run " << run);
      kt::Framed<ZBW8> src(c.w, c.h, 1), dst(c.w, c.h, 6), copy(c.w, c.h, 1);
      src.FillRandom(kt::Rng());
      for (int y = 0; y < c.h; ++y) std::memcpy(copy->GetImagePtr(0, y), src->GetImagePtr(0, y), c.w);
      ZROI<ZBW8>* out = inPlace ? src.get() : dst.get();
      MS(src.get(), out, c.halfSize, c.offset);
      ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
      const int r = std::clamp(c.halfSize, 0, (std::min(c.w, c.h) - 1) / 2);
      for (int y = 0; y < c.h; ++y)
        for (int x = 0; x < c.w; ++x) ASSERT_EQ(At(out, x, y), LocalMeanModel(copy.get(), x, y, r, c.offset));
      ASSERT_TRUE(src.GuardsIntact() && dst.GuardsIntact());
    }
}

TEST(ThresholdApply, AdaptiveGridCellByCell) {
  const int w = 37, h = 23, ww = 8, wh = 6;
  kt::Framed<ZBW8> src(w, h, 2), dst(w, h, 5);
  src.FillRandom(kt::Rng());
  for (int y = 0; y < h; ++y)  // a lighting gradient, so that cells differ
    for (int x = 0; x < w; ++x) *src->GetImagePtr(x, y) = static_cast<uint8_t>(At(src.get(), x, y) / 3 + 4 * x);
  const int nx = (w + ww - 1) / ww, ny = (h + wh - 1) / wh;
  ZImage<ZBW8> grid(nx + 1, ny + 1);
  auto span = [](int c, int half, int limit, int& a, int& b) {
    a = std::max(c - half, 0), b = std::min(c + half, limit);
  };
  for (int j = 0; j <= ny; ++j)
    for (int i = 0; i <= nx; ++i) {
      int x0, x1, y0, y1;
      span(i * w / nx, ww / 2, w, x0, x1);
      span(j * h / ny, wh / 2, h, y0, y1);
      ZBWHistogramVector hist;
      hist.SetNumElements(256);
      std::memset(hist.GetDataPtr(), 0, 256 * sizeof(unsigned));
      for (int y = y0; y < y1; ++y)
        for (int x = x0; x < x1; ++x) hist.GetDataPtr()[At(src.get(), x, y)]++;
      *grid.GetImagePtr(i, j) = LumIsodataThreshold(&hist, 0, 255);
    }
  ZImage<ZBW8> expect(w, h);
  ASSERT_EQ(LumScaleRotate(&grid, 0, 0, 0, 0, static_cast<float>(w) / nx, static_cast<float>(h) / ny, 0, &expect, 8), 0);
  LumAutoAdaptiveThreshold(src.get(), dst.get(), LUM_THRESHOLD_MODE_MAX_ENTROPY, ww, wh);
  ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
  EXPECT_TRUE(kt::SameBytes(dst.get(), &expect));
  EXPECT_TRUE(dst.GuardsIntact());
  // A value that is no mode fails in the selection, although its level would not be used.
  LumAutoAdaptiveThreshold(src.get(), dst.get(), static_cast<LUM_THRESHOLD_MODES>(300), ww, wh);
  EXPECT_EQ(ZGetError(), Z_ERROR_ARGUMENT_2);
  EXPECT_EQ(kt::Trace(), (Strings{"LumHistogramThreshold", "LumAutoAdaptiveThreshold"}));
  // Windows larger than the image, and of one pixel, still run.
  for (int size : {1, 1000}) {
    LumAutoAdaptiveThreshold(src.get(), dst.get(), LUM_THRESHOLD_MODE_ISODATA, size, size);
    EXPECT_EQ(ZGetError(), Z_ERROR_NONE) << size;
  }
}

TEST(ThresholdApply, BadInput) {
  ZImage<ZBW8> a(8, 4), b(9, 4), none;
  ZImage<ZBW16> a16(8, 4), b16(9, 4);
  ZImage<ZC24> c(8, 4);
  ZImage<ZBW1> bits(9, 4);
  struct Case { std::function<void()> call; Z_ERRORS error; const char* trace; };
  const Case cases[] = {
      {[&] { LumThreshold(&a, nullptr, 5, 0, 255, 0.5f); }, Z_ERROR_NULL_IMAGE, "LumThreshold (BW8)"},
      {[&] { LumThreshold(&none, &a, 5, 0, 255, 0.5f); }, Z_ERROR_NULL_IMAGE, "LumThreshold (BW8)"},
      {[&] { LumThreshold(&a, &b, 5, 0, 255, 0.5f); }, Z_ERROR_DIFFERENT_SIZES, "LumThreshold (BW8)"},
      {[&] { LumThreshold(&a16, &b16, 5, 0, 255, 0.5f); }, Z_ERROR_DIFFERENT_SIZES, "LumThreshold (BW16)"},
      {[&] { LumThreshold(&a, static_cast<ZROI<ZBW1>*>(nullptr), 5, 0.5f); }, Z_ERROR_NULL_IMAGE,
       "LumThreshold (BW8 -> BW1)"},
      {[&] { LumThreshold(&a, &bits, 5, 0.5f); }, Z_ERROR_DIFFERENT_SIZES, "LumThreshold (BW8 -> BW1)"},
      {[&] { LumThreshold(&a16, &bits, 5, 0.5f); }, Z_ERROR_DIFFERENT_SIZES, "LumThreshold (BW16 -> BW1)"},
      {[&] { LumDoubleThreshold(&a, &b, 1, 2, 0, 1, 2); }, Z_ERROR_DIFFERENT_SIZES, "LumDoubleThreshold ( BW8 to BW8)"},
      {[&] { LumDoubleThreshold(nullptr, &a16, 1, 2, 0, 1, 2); }, Z_ERROR_NULL_IMAGE,
       "LumDoubleThreshold ( BW16 to BW16)"},
      {[&] { LumThreshold(&c, &b, ZC24(), ZC24()); }, Z_ERROR_DIFFERENT_SIZES, "LumThreshold ( C24 to BW8)"},
      {[&] { LumThreshold(&c, &none, ZC24(), ZC24(), nullptr, 0, 1); }, Z_ERROR_NULL_IMAGE, "LumThreshold ( C24 to BW8)"},
      {[&] { LumAutoAdaptiveThreshold(&a, &a, LUM_THRESHOLD_MODE_ISODATA, 0, 2); }, Z_ERROR_ARGUMENT_4,
       "LumAutoAdaptiveThreshold"},
      {[&] { LumAutoAdaptiveThreshold(&a, &a, LUM_THRESHOLD_MODE_ISODATA, 2, -1); }, Z_ERROR_ARGUMENT_5,
       "LumAutoAdaptiveThreshold"},
      {[&] { LumAutoAdaptiveThreshold(&a, &b, LUM_THRESHOLD_MODE_ISODATA, 2, 2); }, Z_ERROR_DIFFERENT_SIZES,
       "LumAutoAdaptiveThreshold"},
      {[&] { MS(&a, &b, 1, 0); }, Z_ERROR_DIFFERENT_SIZES, nullptr},
      {[&] { MS(nullptr, &a, 1, 0); }, Z_ERROR_NULL_IMAGE, nullptr},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.trace ? c.trace : "local mean");
    c.call();
    EXPECT_EQ(ZGetError(), c.error);
    EXPECT_EQ(kt::Trace(), c.trace ? Strings{c.trace} : Strings{});
  }
  // The inner one-bit form throws instead.
  ZROI<ZBW1> odd(&bits, 1, 0, 8, 4);
  try {
    LumThresholdAligned(&a, &odd, 5, 0.5f);
    ADD_FAILURE() << "no throw";
  } catch (const Marvane::Ovidra::Exception& e) {
    EXPECT_EQ(e.code, Z_ERROR_BW1_NOT_ALIGNED);
  }
}

}  // namespace
