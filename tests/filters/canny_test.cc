// The Canny detector and each stage against a direct model of its rules; a million-pixel chain for the stack.
#include <algorithm>

#include "filters/canny_internal.h"
#include "filters/filters_check.h"

namespace {

using kt::Plane;

int Gx(int64_t p) { return int16_t(p & 0xFFFF); }
int Gy(int64_t p) { return int16_t(uint32_t(p) >> 16); }
int64_t Pack(int gx, int gy) { return uint32_t(uint16_t(gx)) | uint32_t(uint16_t(gy)) << 16; }

Plane ModelGradient(const Plane& s) {
  Plane g(s.w, s.h);
  for (int y = 0; y < s.h; ++y)
    for (int x = 0; x < s.w; ++x)
      g.at(x, y) = Pack(int(s.clamped(x - 1, y) - s.clamped(x + 1, y)), int(s.clamped(x, y - 1) - s.clamped(x, y + 1)));
  return g;
}

int ModelCode(int gx, int gy) {
  const double a = std::abs(gx), b = std::abs(gy);
  if (a > 2.42 * b) return 0;
  if (b > 2.42 * a) return 90;
  return (gx > 0) - (gx < 0) == (gy > 0) - (gy < 0) ? 45 : 135;
}

void ModelSuppress(const Plane& g, Plane& dir, Plane& mag) {
  auto m = [&](int x, int y) { return g.inside(x, y) ? ((std::abs(Gx(g.at(x, y))) + std::abs(Gy(g.at(x, y)))) >> 1) & 255 : 0; };
  dir = mag = Plane(g.w, g.h);
  for (int y = 0; y < g.h; ++y)
    for (int x = 0; x < g.w; ++x) {
      const int code = ModelCode(Gx(g.at(x, y)), Gy(g.at(x, y)));
      const int dx = code == 90 ? 0 : code == 135 ? 1 : -1, dy = code == 0 ? 0 : -1;
      dir.at(x, y) = code;
      mag.at(x, y) = m(x, y) >= m(x + dx, y + dy) && m(x, y) >= m(x - dx, y - dy) ? m(x, y) : 0;
    }
}

// The search as three loops, each class summed in float from its lowest bin.
void ModelSearch(const uint32_t* h, int& t1, int& t2) {
  auto sums = [&](int from, int to, float& n, float& s) {
    n = s = 0;
    for (int i = from; i < to; ++i) n += float(h[i]), s += float(i) * float(h[i]);
  };
  float n, s, n1, s1, n2, s2, n3, s3;
  sums(0, 256, n, s);
  float best = s * s / n;
  t1 = t2 = 0;
  for (int a = 0; a < 256; ++a)
    for (int b = a; b < 256; ++b) {
      sums(0, a, n1, s1), sums(a, b, n2, s2), sums(b, 256, n3, s3);
      if (n1 == 0 || n2 == 0 || n3 == 0) continue;
      const float score = s1 * s1 / n1 + s2 * s2 / n2 + s3 * s3 / n3;
      if (score > best) best = score, t1 = a, t2 = b;
    }
}

const int kDirs[4] = {0, 45, 90, 135};
int Index(int64_t code) { return int(std::find(kDirs, kDirs + 4, code) - kDirs); }

void ModelHysteresis(const Plane& mag, Plane& dst, const Plane& dir, int low, int high) {
  static const int fwd[4][3][2] = {{{1, 1}, {-1, 1}, {0, 1}}, {{-1, 1}, {0, 1}, {-1, 0}},
                                   {{1, 1}, {1, -1}, {1, 0}}, {{1, 1}, {0, 1}, {1, 0}}};
  static const int bwd[4][3][2] = {{{-1, -1}, {1, -1}, {0, -1}}, {{1, -1}, {0, -1}, {1, 0}},
                                   {{-1, 1}, {-1, -1}, {-1, 0}}, {{-1, -1}, {0, -1}, {-1, 0}}};
  Plane visited(mag.w, mag.h);
  auto walk = [&](int x, int y, const int (*t)[3][2]) {
    for (int d; (d = Index(dir.at(x, y))) < 4;) {
      int64_t best = 0;
      int bx = -1, by = -1;
      for (int i = 0; i < 3; ++i) {  // the first candidate, then only a strictly greater one
        const int cx = x + t[d][i][0], cy = y + t[d][i][1];
        if (!mag.inside(cx, cy) || visited.at(cx, cy)) continue;
        if (i == 0 || mag.at(cx, cy) > best) best = mag.at(cx, cy), bx = cx, by = cy;
      }
      if (bx < 0 || best < low) return;
      dst.at(bx, by) = visited.at(bx, by) = 255;
      x = bx, y = by;
    }
  };
  for (int y = 0; y < mag.h; ++y)
    for (int x = 0; x < mag.w; ++x)
      if (mag.at(x, y) >= high && !visited.at(x, y)) {
        dst.at(x, y) = 128, visited.at(x, y) = 255;
        walk(x, y, fwd);
        walk(x, y, bwd);
      }
}

// The growth as the text has it, recursive: for small images only.
void ModelGrowing(const Plane& mag, Plane& dst, const Plane& dir, int seedThreshold) {
  static const int across[4][2][2] = {{{0, -1}, {0, 1}}, {{1, -1}, {-1, 1}}, {{-1, 0}, {1, 0}}, {{-1, -1}, {1, 1}}};
  static const int next[4][6][2] = {{{-1, -1}, {0, -1}, {1, -1}, {-1, 1}, {0, 1}, {1, 1}},
                                    {{0, -1}, {1, -1}, {1, 0}, {-1, 0}, {-1, 1}, {0, 1}},
                                    {{-1, -1}, {-1, 0}, {-1, 1}, {1, -1}, {1, 0}, {1, 1}},
                                    {{-1, -1}, {-1, 0}, {0, -1}, {0, 1}, {1, 0}, {1, 1}}};
  Plane visited(mag.w, mag.h);
  std::function<void(int, int, int64_t, int64_t)> grow = [&](int x, int y, int64_t seed, int64_t previous) {
    if (!mag.inside(x, y) || visited.at(x, y)) return;
    const int64_t v = mag.at(x, y);
    visited.at(x, y) = 255;
    dst.at(x, y) = v < 0.5 * double(seed) || v < 0.8 * double(previous) ? 0 : 255;
    const int d = Index(dir.at(x, y));
    for (int i = 0; dst.at(x, y) && d < 4 && i < 6; ++i) grow(x + next[d][i][0], y + next[d][i][1], seed, v);
  };
  for (int y = 1; y + 1 < mag.h; ++y)
    for (int x = 1; x + 1 < mag.w; ++x) {
      const int64_t v = mag.at(x, y);
      const int d = Index(dir.at(x, y));
      if (v == 0 || v < seedThreshold || d == 4) continue;
      if (v >= mag.at(x + across[d][0][0], y + across[d][0][1]) && v >= mag.at(x + across[d][1][0], y + across[d][1][1]))
        grow(x, y, v, v);
    }
}


TEST(CannyGradient, EveryViewAndTargetAgreesWithTheModel) {
  kt::ForScalarAndEveryTarget([] {
    for (int h : {1, 2, 3, 5})
      kt::ForShapes({1, 2, 3, 4, 9, 17, 33, 66}, {0, 1, 3, 6}, [&](int w, int off) {
        kt::Framed<ZBW8> s(w, h, off);
        kt::Aligned<ZBW32> d(w, h, 4 * (off % 2));
        const Plane in = kt::RandomPlane(w, h, 0, 255);
        kt::Write(s.get(), in);
        LumGradientVector(s.get(), d.get());
        ASSERT_TRUE(ZGetError() == Z_ERROR_NONE && d.GuardsIntact());
        ASSERT_EQ(kt::Read(d.get()), ModelGradient(in)) << "height " << h;
      });
  });
  kt::CheckFrame<ZBW8, ZBW32>([](ZROI<ZBW8>* s, ZROI<ZBW32>* d) { LumGradientVector(s, d); }, "LumGradientVector", false);
}

// Suppression against the model, separately and with the gradient as the direction image.
void SuppressCase(const Plane& g, int offset) {
  Plane expDir, expMag;
  ModelSuppress(g, expDir, expMag);
  for (bool inPlace : {false, true}) {
    kt::Aligned<ZBW32> grad(g.w, g.h, 4 * (offset % 2)), dir(g.w, g.h);
    kt::Framed<ZBW8> mag(g.w, g.h, offset);
    kt::Write(grad.get(), g);
    NonMaximaSuppression(grad.get(), inPlace ? grad.get() : dir.get(), mag.get());
    ASSERT_EQ(kt::Read(inPlace ? grad.get() : dir.get()), expDir);
    ASSERT_EQ(kt::Read(mag.get()), expMag);
    ASSERT_TRUE(dir.GuardsIntact() && mag.GuardsIntact() && grad.GuardsIntact());
  }
}

// Small gradients make ties and the 121:50 boundary frequent, the full range magnitudes that wrap at 8 bits; then
// every exact multiple of 121:50 both ways round with all four signs, and -32768 (the wide paths compare in integers).
TEST(CannySuppression, BothPathsAgreeWithTheModel) {
  Plane edges(4 * 8 + 2, 270);
  for (int k = 0; k < 270; ++k)
    for (int s = 0; s < 4; ++s) {
      const int a = 121 * k * (s & 1 ? -1 : 1), b = 50 * k * (s & 2 ? -1 : 1);
      const int cols[8][2] = {{a, b}, {b, a}, {a + 1, b}, {b, a + 1}, {a, b + 1}, {b + 1, a}, {a - 1, b}, {b, a - 1}};
      for (int c = 0; c < 8; ++c)
        edges.at(s * 8 + c, k) = Pack(std::clamp(cols[c][0], -32768, 32767), std::clamp(cols[c][1], -32768, 32767));
      edges.at(32 + k % 2, k) = Pack(-32768, 13540 + k % 4 / 2);
    }
  kt::ForScalarAndEveryTarget([&] {
    for (int w : {1, 2, 3, 8, 17, 40})
      for (int h : {1, 2, 4})
        for (int range : {3, 130, 32768}) {
          SCOPED_TRACE(testing::Message() << w << "x" << h << " range " << range);
          Plane g = kt::RandomPlane(w, h, -range, range), gy = kt::RandomPlane(w, h, -range, range);
          for (size_t i = 0; i < g.p.size(); ++i) g.p[i] = Pack(int(g.p[i]), int(gy.p[i]));
          SuppressCase(g, w % 3);
        }
    SuppressCase(edges, 0);
  });
}


TEST(CannySearch, CraftedAndRandomHistogramsMatchTheThreeLoops) {
  const std::vector<std::pair<std::vector<std::pair<int, uint32_t>>, std::pair<int, int>>> crafted = {
      {{{0, 1000}}, {0, 0}},                            // one bin: no three classes
      {{{0, 10}, {200, 10}}, {0, 0}},                   // two bins
      {{{0, 10}, {100, 10}, {200, 10}}, {1, 101}},      // each bin its own class
      {{{10, 5}, {20, 5}, {30, 5}}, {11, 21}},          // the first of equal scores wins
      {{{0, 100}, {1, 1}, {2, 1}}, {1, 2}},
      {{{0, 3}, {254, 3}, {255, 3}}, {1, 255}}};
  auto& rng = kt::Rng();
  for (size_t trial = 0; trial < crafted.size() + 12; ++trial) {
    uint32_t h[256] = {};
    if (trial < crafted.size()) {
      for (const auto& [bin, count] : crafted[trial].first) h[bin] = count;
    } else {  // some with counts large enough that the float sums round
      const uint32_t scale = trial % 3 == 0 ? 3u : trial % 3 == 1 ? 5000u : 4000000u;
      for (int i = 1 + int(rng() % 12); i > 0; --i) h[rng() % (trial % 2 ? 256 : 40)] += 1 + rng() % scale;
    }
    int t1, t2, m1, m2;
    kelmira::canny::FindThresholds(h, t1, t2);
    ModelSearch(h, m1, m2);
    EXPECT_EQ(std::make_pair(t1, t2), std::make_pair(m1, m2)) << "trial " << trial;
    EXPECT_TRUE(trial >= crafted.size() || std::make_pair(t1, t2) == crafted[trial].second) << "trial " << trial;
  }
}


// Magnitudes in steps of 40 (many equal candidates) or fine steps (the 0.5 and 0.8 tests decide)
// and random direction codes.
TEST(CannyFollowing, RandomImagesFollowTheModels) {
  for (int trial = 0; trial < 100; ++trial) {
    const bool growing = trial % 2, fine = growing && trial % 4 == 3;
    const int w = 1 + trial % 17, h = 1 + (trial * 5) % 13;
    Plane magnitude = kt::RandomPlane(w, h, 0, fine ? 255 : 6), direction = kt::RandomPlane(w, h, 0, 3);
    for (int64_t& v : magnitude.p) v *= fine ? 1 : 40;
    for (int64_t& v : direction.p) v = kDirs[v];
    kt::Framed<ZBW8> mag(w, h, trial % 8), dst(w, h, 3);
    kt::Aligned<ZBW32> dir(w, h);
    ZImage<ZBW32> dirImage(w, h);  // Hysteresis takes an image
    kt::Write(mag.get(), magnitude);
    kt::Write(dir.get(), direction);
    kt::Write(&dirImage, direction);
    dst.FillBytes(7);
    Plane expected(w, h, 7);
    if (growing) {
      ModelGrowing(magnitude, expected, direction, trial % 8 * 15);
      ContourGrowing(mag.get(), dst.get(), dir.get(), uint8_t(trial % 8 * 15));
    } else {
      ModelHysteresis(magnitude, expected, direction, trial % 5 * 40, (trial % 3 + 2) * 40);
      Hysteresis(mag.get(), dst.get(), &dirImage, uint8_t(trial % 5 * 40), uint8_t((trial % 3 + 2) * 40));
    }
    ASSERT_EQ(kt::Read(dst.get()), expected) << "trial " << trial;
    ASSERT_TRUE(dst.GuardsIntact());
  }
}

// A serpentine one pixel wide, a million pixels long: every other row, joined at alternate ends,
// grown from its start in one chain of nested visits as deep as the line is long.
TEST(CannyFollowing, GrowingAMillionPixelLine) {
  const int n = 1416;
  ZImage<ZBW8> mag(n, n), dst(n, n);
  ZImage<ZBW32> dir(n, n);
  LumCopy(ZBW8(0), &mag);
  LumCopy(ZBW8(9), &dst);
  LumCopy(ZBW32(45), &dir);
  int length = 0;
  for (int y = 1; y < n - 1; ++y)
    for (int x = 1; x < n - 1; ++x)
      if (y % 2 == 1 || x == (y % 4 == 2 ? n - 2 : 1)) mag.GetImagePtr(x, y)->value = 100, ++length;
  ASSERT_GT(length, 1000000);
  ContourGrowing(&mag, &dst, &dir, 1);
  int white = 0;
  for (int y = 0; y < n; ++y)
    for (int x = 0; x < n; ++x) {
      const int m = mag.GetImagePtr(x, y)->value, d = dst.GetImagePtr(x, y)->value;
      ASSERT_TRUE(!m || d == 255) << x << "," << y;
      white += d == 255;
    }
  EXPECT_EQ(white, length);
}

// Silent: nothing written, the state left as it was.
TEST(CannyStages, MismatchedOrMissingViewsDoNothing) {
  kt::Framed<ZBW8> mag(6, 5), dst(6, 5), small(5, 5);
  kt::Aligned<ZBW32> grad(6, 5), dir(6, 5), dirSmall(6, 4);
  ZImage<ZBW32> dirImage(6, 5), dirImageSmall(5, 6);
  ZImage<ZBW8> empty;
  mag.FillBytes(200), dst.FillBytes(3), small.FillBytes(3), grad.FillBytes(0x11), dir.FillBytes(0);
  const Plane dst0 = kt::Read(dst.get()), mag0 = kt::Read(mag.get()), dir0 = kt::Read(dir.get());
  ZSetError(Z_ERROR_BAD_ARGUMENTS);
  NonMaximaSuppression(grad.get(), dirSmall.get(), mag.get()), NonMaximaSuppression(nullptr, dir.get(), mag.get());
  NonMaximaSuppression(grad.get(), dir.get(), &empty);
  Hysteresis(mag.get(), small.get(), &dirImage, 1, 1), Hysteresis(mag.get(), dst.get(), &dirImageSmall, 1, 1);
  Hysteresis(mag.get(), dst.get(), nullptr, 1, 1), Hysteresis(nullptr, dst.get(), &dirImage, 1, 1);
  ContourGrowing(mag.get(), dst.get(), dirSmall.get(), 1), ContourGrowing(mag.get(), &empty, dir.get(), 1);
  ContourGrowing(mag.get(), nullptr, dir.get(), 1);
  EXPECT_TRUE(kt::Failed(Z_ERROR_BAD_ARGUMENTS, {}));
  EXPECT_TRUE(kt::Read(dst.get()) == dst0 && kt::Read(mag.get()) == mag0 && kt::Read(dir.get()) == dir0);
  EXPECT_EQ(kt::Read(small.get()), Plane(5, 5, 3));
  EXPECT_TRUE(mag.GuardsIntact() && dst.GuardsIntact() && small.GuardsIntact() && dir.GuardsIntact());
}


Plane Scene(int w, int h) {
  Plane g(w, h);
  std::uniform_int_distribution<int> noise(-6, 6);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      const int dx = x - w / 3, dy = y - h / 2;
      int v = dx * dx + dy * dy < (w * w) / 25 ? 180 : 60;
      if (x > 2 * w / 3 && y > h / 4 && y < 3 * h / 4) v = 120;
      g.at(x, y) = std::clamp(v + noise(kt::Rng()), 0, 255);
    }
  return g;
}

// The pipeline from the models after the public filters (the Gaussians leave smaller views alone), on every target and
// in place. A flat image gives Hysteresis low 1, high 0 (all seeds), growing nothing; an unknown mode writes nothing.
TEST(CannyDetector, EndToEndAgainstTheModels) {
  const int cases[][4] = {{48, 40, 0, 0}, {48, 40, 0, 1}, {48, 40, 4, 0}, {37, 29, 4, 1}, {48, 40, 9, 0}, {2, 2, 1, 0},
                          {48, 40, 1, 0}, {40, 48, 2, 1}, {48, 40, 3, 0}, {4, 9, 2, 1},  {6, 30, 3, 0},  {1, 7, 4, 1},
                          {150, 12, 1, 0}, {150, 12, 1, 1}, {75, 41, 0, 2}, {9, 7, 1, -1}};
  for (const auto& [w, h, smooth, follow] : cases) {
    SCOPED_TRACE(testing::Message() << w << "x" << h << " smooth " << smooth << " follow " << follow);
    const Plane in = Scene(w, h);
    kt::Framed<ZBW8> src(w, h, 3), smoothed(w, h);
    kt::Write(src.get(), in);
    kt::Write(smoothed.get(), in);
    const bool gaussian = smooth >= 1 && smooth <= 3 && std::min(w, h) >= 2 * smooth + 1;
    if (smooth == 4) LumMedian(src.get(), smoothed.get());
    void (*const gaussians[])(ZROI<ZBW8>*, ZROI<ZBW8>*) = {LumConvolGaussian3x3, LumConvolGaussian5x5, LumConvolGaussian7x7};
    if (gaussian) gaussians[smooth - 1](src.get(), smoothed.get());
    Plane dir, mag, expected = in;  // pixels left alone show as the source's
    ModelSuppress(ModelGradient(kt::Read(smoothed.get())), dir, mag);
    uint32_t hist[256] = {};
    for (int64_t v : mag.p) ++hist[v];
    int t1, t2;
    ModelSearch(hist, t1, t2);
    if (follow == 0) ModelHysteresis(mag, expected, dir, t1 == 0 ? 1 : t1, t2);
    if (follow == 1) ModelGrowing(mag, expected, dir, t1 == 0 ? 1 : t1);
    kt::ForScalarAndEveryTarget([&] {
      kt::Framed<ZBW8> dst(w, h, 6);
      kt::Write(dst.get(), in);
      LumCannyDetector(src.get(), dst.get(), SMOOTH_MODE(smooth), EDGE_FOLLOWING_MODE(follow));
      ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
      ASSERT_EQ(ZGetTraceCount(), 0);
      ASSERT_EQ(kt::Read(dst.get()), expected);
      ASSERT_EQ(kt::Read(src.get()), in);
      ASSERT_TRUE(dst.GuardsIntact() && src.GuardsIntact());
      if (smooth > 1) return;
      kt::Write(dst.get(), in);
      LumCannyDetector(dst.get(), dst.get(), SMOOTH_MODE(smooth), EDGE_FOLLOWING_MODE(follow));
      ASSERT_EQ(kt::Read(dst.get()), expected);
    });
  }
  kt::Framed<ZBW8> flat(9, 7), dst(9, 7);
  flat.FillBytes(90);
  LumCannyDetector(flat.get(), dst.get(), SMOOTH_GAUSSIAN_3X3, EDGE_FOLLOWING_HYSTERESIS);
  EXPECT_EQ(kt::Read(dst.get()), Plane(9, 7, 128));
}

// The views are checked before the gate; a void destination fails the size check.
TEST(CannyDetector, ErrorsAndTrace) {
  const auto canny = [](ZROI<ZBW8>* s, ZROI<ZBW8>* d) { LumCannyDetector(s, d, SMOOTH_NONE, EDGE_FOLLOWING_HYSTERESIS); };
  kt::CheckFrame<ZBW8, ZBW8>(canny, "Failed canny detection !", false, Z_ERROR_DIFFERENT_SIZES);
  kt::Framed<ZBW8> dst(6, 6);
  kt::Gated([&] { canny(nullptr, dst.get()); })();
  EXPECT_TRUE(kt::Failed(Z_ERROR_NULL_IMAGE, {"Failed canny detection !"}));
}

}  // namespace
