// The Canny detector and its stages, each against a direct model of its rules: the gradient
// vector, the direction codes around 2.42, non-maxima suppression, the three-class search, the
// Hysteresis walks and ContourGrowing (recursive model; a million-pixel spiral for the stack),
// then the detector end to end, its edge cases, error numbers and trace.
#include <algorithm>
#include <functional>

#include "filters/canny_internal.h"
#include "hwy/targets.h"
#include "support/kelmira_test.h"

namespace {

using kelmira::canny::DirectionCode;
using kelmira::canny::FindThresholds;

// A plain image of ints for the models.
struct Grid {
  int w = 0, h = 0;
  std::vector<int> p;
  Grid(int w_, int h_, int v = 0) : w(w_), h(h_), p(size_t(w_) * h_, v) {}
  int& at(int x, int y) { return p[size_t(y) * w + x]; }
  int at(int x, int y) const { return p[size_t(y) * w + x]; }
  bool inside(int x, int y) const { return x >= 0 && y >= 0 && x < w && y < h; }
  bool operator==(const Grid& o) const { return w == o.w && h == o.h && p == o.p; }
};

template <class T>
Grid Read(ZROI<T>* v) {
  Grid g(v->GetWidth(), v->GetHeight());
  for (int y = 0; y < g.h; ++y)
    for (int x = 0; x < g.w; ++x) g.at(x, y) = int(v->GetImagePtr(x, y)->value);
  return g;
}

template <class T>
void Write(ZROI<T>* v, const Grid& g) {
  for (int y = 0; y < g.h; ++y)
    for (int x = 0; x < g.w; ++x) v->GetImagePtr(x, y)->value = decltype(T::value)(g.at(x, y));
}

Grid Random(int w, int h, int lo, int hi) {
  Grid g(w, h);
  std::uniform_int_distribution<int> u(lo, hi);
  for (int& v : g.p) v = u(kt::Rng());
  return g;
}

// BW32 views on rows whose pitch keeps every pixel 4-byte aligned.
struct Framed32 : kt::Framed<ZBW32> {
  Framed32(int w, int h, int offset = 0) : kt::Framed<ZBW32>(w, h, offset, 20) {}
};

int Gx(uint32_t p) { return int16_t(p & 0xFFFF); }
int Gy(uint32_t p) { return int16_t(p >> 16); }
uint32_t Pack(int gx, int gy) { return uint32_t(uint16_t(gx)) | uint32_t(uint16_t(gy)) << 16; }

// ----- models -----

Grid ModelGradient(const Grid& s) {
  Grid g(s.w, s.h);
  auto px = [&](int x, int y) { return s.at(std::clamp(x, 0, s.w - 1), std::clamp(y, 0, s.h - 1)); };
  for (int y = 0; y < s.h; ++y)
    for (int x = 0; x < s.w; ++x) g.at(x, y) = int(Pack(px(x - 1, y) - px(x + 1, y), px(x, y - 1) - px(x, y + 1)));
  return g;
}

int ModelCode(int gx, int gy) {
  const double a = std::abs(gx), b = std::abs(gy);
  if (a > 2.42 * b) return 0;
  if (b > 2.42 * a) return 90;
  auto sign = [](int v) { return v > 0 ? 1 : v < 0 ? -1 : 0; };
  return sign(gx) == sign(gy) ? 45 : 135;
}

void ModelSuppress(const Grid& g, Grid& dir, Grid& mag) {
  auto m = [&](int x, int y) {
    if (!g.inside(x, y)) return 0;
    const uint32_t p = uint32_t(g.at(x, y));
    return ((std::abs(Gx(p)) + std::abs(Gy(p))) >> 1) & 255;
  };
  dir = mag = Grid(g.w, g.h);
  for (int y = 0; y < g.h; ++y)
    for (int x = 0; x < g.w; ++x) {
      const uint32_t p = uint32_t(g.at(x, y));
      const int code = ModelCode(Gx(p), Gy(p));
      int n1, n2;
      if (code == 0) n1 = m(x - 1, y), n2 = m(x + 1, y);
      else if (code == 45) n1 = m(x - 1, y - 1), n2 = m(x + 1, y + 1);
      else if (code == 90) n1 = m(x, y - 1), n2 = m(x, y + 1);
      else n1 = m(x + 1, y - 1), n2 = m(x - 1, y + 1);
      dir.at(x, y) = code;
      mag.at(x, y) = m(x, y) >= n1 && m(x, y) >= n2 ? m(x, y) : 0;
    }
}

// The search as three loops, each class summed in float from its lowest bin.
void ModelSearch(const uint32_t* h, int& t1, int& t2) {
  auto sums = [&](int from, int to, float& n, float& s) {
    n = s = 0;
    for (int i = from; i < to; ++i) n += float(h[i]), s += float(i) * float(h[i]);
  };
  float n, s;
  sums(0, 256, n, s);
  float best = s * s / n;
  t1 = t2 = 0;
  for (int a = 0; a < 256; ++a)
    for (int b = a; b < 256; ++b) {
      float n1, s1, n2, s2, n3, s3;
      sums(0, a, n1, s1);
      sums(a, b, n2, s2);
      sums(b, 256, n3, s3);
      if (n1 == 0 || n2 == 0 || n3 == 0) continue;
      const float score = s1 * s1 / n1 + s2 * s2 / n2 + s3 * s3 / n3;
      if (score > best) best = score, t1 = a, t2 = b;
    }
}

const int kDirs[4] = {0, 45, 90, 135};
int Index(int code) { return int(std::find(kDirs, kDirs + 4, code) - kDirs); }

void ModelHysteresis(const Grid& mag, Grid& dst, const Grid& dir, int low, int high) {
  static const int fwd[4][3][2] = {{{1, 1}, {-1, 1}, {0, 1}}, {{-1, 1}, {0, 1}, {-1, 0}},
                                   {{1, 1}, {1, -1}, {1, 0}}, {{1, 1}, {0, 1}, {1, 0}}};
  static const int bwd[4][3][2] = {{{-1, -1}, {1, -1}, {0, -1}}, {{1, -1}, {0, -1}, {1, 0}},
                                   {{-1, 1}, {-1, -1}, {-1, 0}}, {{-1, -1}, {0, -1}, {-1, 0}}};
  Grid visited(mag.w, mag.h);
  auto walk = [&](int x, int y, const int (*t)[3][2]) {
    while (Index(dir.at(x, y)) < 4) {
      const int d = Index(dir.at(x, y));
      int best = 0, bx = -1, by = -1;
      for (int i = 0; i < 3; ++i) {
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
void ModelGrowing(const Grid& mag, Grid& dst, const Grid& dir, int seedThreshold) {
  static const int across[4][2][2] = {{{0, -1}, {0, 1}}, {{1, -1}, {-1, 1}}, {{-1, 0}, {1, 0}}, {{-1, -1}, {1, 1}}};
  static const int next[4][6][2] = {{{-1, -1}, {0, -1}, {1, -1}, {-1, 1}, {0, 1}, {1, 1}},
                                    {{0, -1}, {1, -1}, {1, 0}, {-1, 0}, {-1, 1}, {0, 1}},
                                    {{-1, -1}, {-1, 0}, {-1, 1}, {1, -1}, {1, 0}, {1, 1}},
                                    {{-1, -1}, {-1, 0}, {0, -1}, {0, 1}, {1, 0}, {1, 1}}};
  Grid visited(mag.w, mag.h);
  std::function<void(int, int, int, int)> grow = [&](int x, int y, int seed, int previous) {
    if (!mag.inside(x, y) || visited.at(x, y)) return;
    const int v = mag.at(x, y);
    visited.at(x, y) = 255;
    if (v < 0.5 * seed || v < 0.8 * previous) {
      dst.at(x, y) = 0;
      return;
    }
    dst.at(x, y) = 255;
    const int d = Index(dir.at(x, y));
    for (int i = 0; d < 4 && i < 6; ++i) {
      const int nx = x + next[d][i][0], ny = y + next[d][i][1];
      if (mag.inside(nx, ny) && !visited.at(nx, ny)) grow(nx, ny, seed, v);
    }
  };
  for (int y = 1; y + 1 < mag.h; ++y)
    for (int x = 1; x + 1 < mag.w; ++x) {
      const int v = mag.at(x, y), d = Index(dir.at(x, y));
      if (v == 0 || v < seedThreshold || d == 4) continue;
      if (v >= mag.at(x + across[d][0][0], y + across[d][0][1]) && v >= mag.at(x + across[d][1][0], y + across[d][1][1]))
        grow(x, y, v, v);
    }
}

// ----- gradient -----

TEST(CannyGradient, EveryViewAndTargetAgreesWithTheModel) {
  std::vector<int64_t> targets = hwy::SupportedAndGeneratedTargets();
  for (const int64_t target : targets) {
    SCOPED_TRACE(hwy::TargetName(target));
    hwy::SetSupportedTargetsForTest(target);
    for (int wide : {0, 1}) {
      kt::WideSetting setting(wide);
      for (int w : {1, 2, 3, 4, 9, 17, 33, 66}) {
        for (int h : {1, 2, 3, 5})
          for (int off : {0, 1, 3, 6}) {
            SCOPED_TRACE(testing::Message() << "wide " << wide << " " << w << "x" << h << " offset " << off);
            kt::Framed<ZBW8> s(w, h, off);
            Framed32 d(w, h, 4 * (off % 2));
            const Grid in = Random(w, h, 0, 255);
            Write(s.get(), in);
            LumGradientVector(s.get(), d.get());
            ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
            ASSERT_EQ(Read(d.get()), ModelGradient(in));
            ASSERT_TRUE(d.GuardsIntact());
          }
      }
    }
  }
  hwy::SetSupportedTargetsForTest(0);
}

TEST(CannyGradient, ErrorsAndTrace) {
  kt::Framed<ZBW8> s(5, 4);
  Framed32 d(5, 4), other(4, 5);
  ZImage<ZBW8> empty;
  ZImage<ZBW32> empty32;
  struct Case {
    ZROI<ZBW8>* s;
    ZROI<ZBW32>* d;
    Z_ERRORS e;
  };
  for (const Case& k : {Case{nullptr, d.get(), Z_ERROR_NULL_IMAGE}, Case{&empty, d.get(), Z_ERROR_NULL_IMAGE},
                        Case{s.get(), nullptr, Z_ERROR_NULL_IMAGE}, Case{s.get(), &empty32, Z_ERROR_NULL_IMAGE},
                        Case{s.get(), other.get(), Z_ERROR_DIFFERENT_SIZES}}) {
    LumGradientVector(k.s, k.d);
    EXPECT_EQ(ZGetError(), k.e);
    EXPECT_EQ(kt::Trace(), std::vector<std::string>{"LumGradientVector"});
  }
  EXPECT_TRUE(d.GuardsIntact() && other.GuardsIntact());
}

// ----- direction codes and suppression -----

TEST(CannyDirection, CodesAroundTheBoundaryAndTheSigns) {
  struct Case {
    int gx, gy, code;
  };
  const Case cases[] = {
      {0, 0, 45},     {1, 0, 0},       {-1, 0, 0},     {0, 1, 90},     {0, -1, 90},   {242, 100, 45},
      {243, 100, 0},  {-243, 100, 0},  {100, 242, 45}, {100, 243, 90}, {100, -243, 90}, {121, 50, 45},
      {-121, 50, 135}, {121, -50, 135}, {-121, -50, 45}, {50, 121, 45}, {-50, 121, 135}, {5, 2, 0},
      {12, 5, 45},    {13, 5, 0},      {-32768, 13540, 0}, {-32768, 13541, 135}, {7, 7, 45}, {7, -7, 135},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(DirectionCode(c.gx, c.gy), c.code) << c.gx << "," << c.gy;
    EXPECT_EQ(ModelCode(c.gx, c.gy), c.code) << c.gx << "," << c.gy;
  }
}

// Suppression of a gradient image on both paths and every target against the model. Small
// gradient values make ties and the 121:50 boundary frequent; the full 16-bit range makes
// magnitudes that wrap at 8 bits.
void SuppressCase(const Grid& g, int offset) {
  Framed32 grad(g.w, g.h, 4 * (offset % 2)), dir(g.w, g.h), dirWide(g.w, g.h);
  kt::Framed<ZBW8> mag(g.w, g.h, offset), magWide(g.w, g.h, offset);
  Write(grad.get(), g);
  Grid expDir(1, 1), expMag(1, 1);
  ModelSuppress(g, expDir, expMag);
  {
    kt::WideSetting scalar(0);
    NonMaximaSuppression(grad.get(), dir.get(), mag.get());
  }
  {
    kt::WideSetting wide(1);
    NonMaximaSuppression(grad.get(), dirWide.get(), magWide.get());
  }
  ASSERT_EQ(Read(dir.get()), expDir);
  ASSERT_EQ(Read(mag.get()), expMag);
  ASSERT_EQ(Read(dirWide.get()), expDir);
  ASSERT_EQ(Read(magWide.get()), expMag);
  ASSERT_TRUE(dir.GuardsIntact() && mag.GuardsIntact() && dirWide.GuardsIntact() && magWide.GuardsIntact());
}

Grid RandomGradient(int w, int h, int range) {
  Grid g = Random(w, h, -range, range), gy = Random(w, h, -range, range);
  for (size_t i = 0; i < g.p.size(); ++i) g.p[i] = int(Pack(g.p[i], gy.p[i]));
  return g;
}

TEST(CannySuppression, BothPathsAgreeWithTheModel) {
  for (const int64_t target : hwy::SupportedAndGeneratedTargets()) {
    SCOPED_TRACE(hwy::TargetName(target));
    hwy::SetSupportedTargetsForTest(target);
    for (int w : {1, 2, 3, 8, 17, 40})
      for (int h : {1, 2, 4})
        for (int range : {3, 130, 32768}) {
          SCOPED_TRACE(testing::Message() << w << "x" << h << " range " << range);
          SuppressCase(RandomGradient(w, h, range), w % 3);
        }
  }
  hwy::SetSupportedTargetsForTest(0);
}

// Every exact multiple of 121:50 in the 16-bit range, both ways round and with all four signs:
// the wide paths compare in integers, the model in double.
TEST(CannySuppression, EveryTieOfTheBoundary) {
  Grid g(4 * 8, 270);
  for (int k = 0; k < 270; ++k)
    for (int s = 0; s < 4; ++s) {
      const int a = 121 * k * (s & 1 ? -1 : 1), b = 50 * k * (s & 2 ? -1 : 1);
      const int cols[8][2] = {{a, b}, {b, a}, {a + 1, b}, {b, a + 1}, {a, b + 1}, {b + 1, a}, {a - 1, b}, {b, a - 1}};
      for (int c = 0; c < 8; ++c) g.at(s * 8 + c, k) = int(Pack(std::clamp(cols[c][0], -32768, 32767), std::clamp(cols[c][1], -32768, 32767)));
    }
  SuppressCase(g, 0);
}

// The gradient may be the direction image itself.
TEST(CannySuppression, InPlaceOnTheGradient) {
  const Grid g = RandomGradient(37, 6, 40);
  Grid expDir(1, 1), expMag(1, 1);
  ModelSuppress(g, expDir, expMag);
  for (int wide : {0, 1}) {
    kt::WideSetting setting(wide);
    Framed32 grad(37, 6);
    kt::Framed<ZBW8> mag(37, 6);
    Write(grad.get(), g);
    NonMaximaSuppression(grad.get(), grad.get(), mag.get());
    EXPECT_EQ(Read(grad.get()), expDir);
    EXPECT_EQ(Read(mag.get()), expMag);
  }
}

// ----- threshold search -----

TEST(CannySearch, CraftedHistograms) {
  struct Case {
    const char* what;
    std::vector<std::pair<int, uint32_t>> bins;
    int t1, t2;
  };
  const Case cases[] = {
      {"one bin: no three classes", {{0, 1000}}, 0, 0},
      {"two bins: no three classes", {{0, 10}, {200, 10}}, 0, 0},
      {"three bins: each its own class", {{0, 10}, {100, 10}, {200, 10}}, 1, 101},
      {"first of equal pairs wins", {{10, 5}, {20, 5}, {30, 5}}, 11, 21},
      {"empty top bins", {{0, 100}, {1, 1}, {2, 1}}, 1, 2},
      {"class three at 255 alone", {{0, 3}, {254, 3}, {255, 3}}, 1, 255},
  };
  for (const Case& c : cases) {
    uint32_t h[256] = {};
    for (const auto& [bin, count] : c.bins) h[bin] = count;
    int t1 = -1, t2 = -1, m1 = -1, m2 = -1;
    FindThresholds(h, t1, t2);
    ModelSearch(h, m1, m2);
    EXPECT_EQ(std::make_pair(t1, t2), std::make_pair(c.t1, c.t2)) << c.what;
    EXPECT_EQ(std::make_pair(m1, m2), std::make_pair(c.t1, c.t2)) << c.what;
  }
}

// Random histograms, some with counts large enough that the float sums round.
TEST(CannySearch, RandomHistogramsMatchTheThreeLoops) {
  auto& rng = kt::Rng();
  for (int trial = 0; trial < 12; ++trial) {
    uint32_t h[256] = {};
    const int filled = 1 + int(rng() % 12);
    const uint32_t scale = trial % 3 == 0 ? 3u : trial % 3 == 1 ? 5000u : 4000000u;
    for (int i = 0; i < filled; ++i) h[rng() % (trial % 2 ? 256 : 40)] += 1 + rng() % scale;
    int t1, t2, m1, m2;
    FindThresholds(h, t1, t2);
    ModelSearch(h, m1, m2);
    EXPECT_EQ(t1, m1) << "trial " << trial;
    EXPECT_EQ(t2, m2) << "trial " << trial;
  }
}

// ----- Hysteresis -----

struct Stages {
  Grid mag, dir;
};

// Magnitudes and direction codes drawn at random, with many equal values.
Stages RandomStages(int w, int h) {
  Stages s{Random(w, h, 0, 6), Random(w, h, 0, 3)};
  for (int& v : s.mag.p) v *= 40;
  for (int& v : s.dir.p) v = kDirs[v];
  return s;
}

TEST(CannyHysteresis, RandomImagesFollowTheModel) {
  for (int trial = 0; trial < 40; ++trial) {
    const int w = 1 + trial % 13, h = 1 + (trial * 7) % 11;
    const Stages s = RandomStages(w, h);
    const int low = trial % 5 * 40, high = (trial % 3 + 2) * 40;
    kt::Framed<ZBW8> mag(w, h, trial % 8), dst(w, h, 3);
    ZImage<ZBW32> dir(w, h);
    Write(mag.get(), s.mag);
    Write(&dir, s.dir);
    dst.FillBytes(7);
    Grid expected(w, h, 7);
    ModelHysteresis(s.mag, expected, s.dir, low, high);
    Hysteresis(mag.get(), dst.get(), &dir, uint8_t(low), uint8_t(high));
    ASSERT_EQ(Read(dst.get()), expected) << "trial " << trial;
    ASSERT_TRUE(dst.GuardsIntact());
  }
}

// Worked walks: the candidate order decides between equal magnitudes, later candidates need a
// strictly greater one, visited pixels are skipped, the seed keeps 128.
TEST(CannyHysteresis, WalksAndTheirCandidates) {
  struct Case {
    const char* what;
    std::vector<int> mag, dir;  // 4x4, row by row
    int low, high;
    std::vector<int> expected;  // dst starts at 0
  };
  const Case cases[] = {
      {"code 0 forward: (1,1) first, the equal (-1,1) and (0,1) do not replace it",
       {0, 0, 0, 0, 0, 200, 0, 0, 50, 50, 50, 0, 0, 0, 0, 0},
       {0, 0, 0, 0, 0, 0, 0, 0, 135, 135, 135, 135, 0, 0, 0, 0}, 50, 150,
       {0, 0, 0, 0, 0, 128, 0, 0, 0, 0, 255, 0, 0, 0, 0, 0}},
      {"code 0 forward: a strictly greater later candidate wins",
       {0, 0, 0, 0, 0, 200, 0, 0, 50, 60, 50, 0, 0, 0, 0, 0},
       {0, 0, 0, 0, 0, 0, 0, 0, 135, 135, 135, 135, 0, 0, 0, 0}, 50, 150,
       {0, 0, 0, 0, 0, 128, 0, 0, 0, 255, 255, 0, 0, 0, 0, 0}},  // then on with code 135
      {"below low ends the walk; the seed row is visited first",
       {0, 0, 0, 0, 0, 200, 0, 0, 0, 0, 49, 0, 0, 0, 0, 0},
       {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, 50, 150,
       {0, 0, 0, 0, 0, 128, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
      {"code 90 walks right, then back left; seeds stay 128",
       {0, 0, 0, 0, 200, 200, 200, 200, 0, 0, 0, 0, 0, 0, 0, 0},
       {90, 90, 90, 90, 90, 90, 90, 90, 90, 90, 90, 90, 90, 90, 90, 90}, 50, 150,
       {0, 0, 0, 0, 128, 255, 255, 255, 0, 0, 0, 0, 0, 0, 0, 0}},
      {"a first candidate outside the image passes the choice on",
       {0, 0, 0, 200, 0, 0, 100, 0, 0, 0, 0, 0, 0, 0, 0, 0},
       {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, 50, 150,
       {0, 0, 0, 128, 0, 0, 255, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
  };
  for (const Case& c : cases) {
    Grid mag(4, 4), dir(4, 4), expected(4, 4);
    mag.p = c.mag, dir.p = c.dir, expected.p = c.expected;
    kt::Framed<ZBW8> m(4, 4), d(4, 4);
    ZImage<ZBW32> di(4, 4);
    Write(m.get(), mag);
    Write(&di, dir);
    d.FillBytes(0);
    Hysteresis(m.get(), d.get(), &di, uint8_t(c.low), uint8_t(c.high));
    EXPECT_EQ(Read(d.get()).p, c.expected) << c.what;
    Grid model(4, 4);
    ModelHysteresis(mag, model, dir, c.low, c.high);
    EXPECT_EQ(model.p, c.expected) << c.what;
  }
}

// ----- ContourGrowing -----

TEST(CannyGrowing, RandomImagesFollowTheRecursiveModel) {
  for (int trial = 0; trial < 60; ++trial) {
    const int w = 1 + trial % 17, h = 1 + (trial * 5) % 13;
    Stages s = RandomStages(w, h);
    if (trial % 2) s.mag = Random(w, h, 0, 255);  // fine steps: the 0.5 and 0.8 tests decide
    const int seed = trial % 4 * 30;
    kt::Framed<ZBW8> mag(w, h, trial % 8), dst(w, h, 5);
    Framed32 dir(w, h);
    Write(mag.get(), s.mag);
    Write(dir.get(), s.dir);
    dst.FillBytes(7);
    Grid expected(w, h, 7);
    ModelGrowing(s.mag, expected, s.dir, seed);
    ContourGrowing(mag.get(), dst.get(), dir.get(), uint8_t(seed));
    ASSERT_EQ(Read(dst.get()), expected) << "trial " << trial;
    ASSERT_TRUE(dst.GuardsIntact());
  }
}

// A square spiral one pixel wide, a million pixels long, grown from its outer end: one chain of
// nested visits as deep as the spiral is long.
TEST(CannyGrowing, MillionPixelSpiral) {
  const int n = 1416;
  ZImage<ZBW8> mag(n, n), dst(n, n);
  ZImage<ZBW32> dir(n, n);
  LumCopy(ZBW8(0), &mag);
  LumCopy(ZBW8(9), &dst);
  LumCopy(ZBW32(45), &dir);
  // Rings at every other pixel, joined where each ends: walk right, down, left, up, shrinking.
  int x = 1, y = 1, length = 0;
  int left = 1, top = 1, right = n - 2, bottom = n - 2;
  auto mark = [&](int px, int py) { mag.GetImagePtr(px, py)->value = 100, ++length; };
  while (left <= right && top <= bottom) {
    for (x = left; x <= right; ++x) mark(x, top);
    for (y = top + 1; y <= bottom; ++y) mark(right, y);
    for (x = right - 1; x >= left && top < bottom; --x) mark(x, bottom);
    for (y = bottom - 1; y >= top + 2 && left < right; --y) mark(left, y);
    if (top + 2 <= bottom && left + 2 <= right) mark(left + 1, top + 2);
    left += 2, top += 2, right -= 2, bottom -= 2;
  }
  ASSERT_GT(length, 1000000);
  ContourGrowing(&mag, &dst, &dir, 1);
  int white = 0;
  for (int py = 0; py < n; ++py)
    for (int px = 0; px < n; ++px) {
      const int m = mag.GetImagePtr(px, py)->value, d = dst.GetImagePtr(px, py)->value;
      if (m) ASSERT_EQ(d, 255) << px << "," << py;
      else ASSERT_TRUE(d == 0 || d == 9);
      white += d == 255;
    }
  EXPECT_EQ(white, length);
}

// ----- the stages on bad input: silent, nothing written -----

TEST(CannyStages, MismatchedOrMissingViewsDoNothing) {
  kt::Framed<ZBW8> mag(6, 5), dst(6, 5), small(5, 5);
  Framed32 grad(6, 5), dir(6, 5), dirSmall(6, 4);
  ZImage<ZBW32> dirImage(6, 5), dirImageSmall(5, 6);
  ZImage<ZBW8> empty;
  mag.FillBytes(200), dst.FillBytes(3), small.FillBytes(3), grad.FillBytes(0x11), dir.FillBytes(0);
  LumCopy(ZBW32(0), &dirImage);
  LumCopy(ZBW32(0), &dirImageSmall);
  const Grid dst0 = Read(dst.get()), mag0 = Read(mag.get());
  ZSetError(Z_ERROR_BAD_ARGUMENTS);  // the stages neither clear nor set the state
  NonMaximaSuppression(grad.get(), dirSmall.get(), mag.get());
  NonMaximaSuppression(nullptr, dir.get(), mag.get());
  NonMaximaSuppression(grad.get(), dir.get(), &empty);
  Hysteresis(mag.get(), small.get(), &dirImage, 1, 1);
  Hysteresis(mag.get(), dst.get(), &dirImageSmall, 1, 1);
  Hysteresis(mag.get(), dst.get(), nullptr, 1, 1);
  Hysteresis(nullptr, dst.get(), &dirImage, 1, 1);
  ContourGrowing(mag.get(), dst.get(), dirSmall.get(), 1);
  ContourGrowing(mag.get(), &empty, dir.get(), 1);
  ContourGrowing(mag.get(), nullptr, dir.get(), 1);
  EXPECT_EQ(ZGetError(), Z_ERROR_BAD_ARGUMENTS);
  ZOk();
  EXPECT_EQ(Read(dst.get()), dst0);
  EXPECT_EQ(Read(mag.get()), mag0);
  EXPECT_EQ(Read(small.get()), Grid(5, 5, 3));
  EXPECT_TRUE(mag.GuardsIntact() && dst.GuardsIntact() && small.GuardsIntact() && dir.GuardsIntact() &&
              dirSmall.GuardsIntact());
}

// ----- the detector -----

// The detector's pipeline from the public stages, with the smoothing done by the caller.
Grid ModelDetector(ZROI<ZBW8>* smoothed, const Grid& dst0, int mode) {
  const Grid g = ModelGradient(Read(smoothed));
  Grid dir(1, 1), mag(1, 1);
  ModelSuppress(g, dir, mag);
  uint32_t h[256] = {};
  for (int v : mag.p) ++h[v];
  int t1, t2;
  ModelSearch(h, t1, t2);
  Grid out = dst0;
  if (mode == 0) ModelHysteresis(mag, out, dir, t1 == 0 ? 1 : t1, t2);
  if (mode == 1) ModelGrowing(mag, out, dir, t1 == 0 ? 1 : t1);
  return out;
}

// A blurred disc and a bar with noise: edges of several strengths.
Grid Scene(int w, int h) {
  Grid g(w, h);
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

TEST(CannyDetector, EndToEndAgainstTheModels) {
  struct Case {
    int w, h, smooth, follow;
  };
  for (const Case& c : {Case{48, 40, 0, 0}, Case{48, 40, 0, 1}, Case{48, 40, 4, 0}, Case{37, 29, 4, 1},
                        Case{48, 40, 9, 0}, Case{2, 2, 1, 0}, Case{48, 40, 1, 0}, Case{40, 48, 2, 1}, Case{48, 40, 3, 0}, Case{4, 9, 2, 1}, Case{6, 30, 3, 0}, Case{1, 7, 4, 1}, Case{150, 12, 1, 0}, Case{150, 12, 1, 1}}) {
    SCOPED_TRACE(testing::Message() << c.w << "x" << c.h << " smooth " << c.smooth << " follow " << c.follow);
    for (int wide : {0, 1}) {
      kt::WideSetting setting(wide);
      kt::Framed<ZBW8> src(c.w, c.h, 3), dst(c.w, c.h, 6), smoothed(c.w, c.h);
      const Grid in = Scene(c.w, c.h);
      Write(src.get(), in);
      dst.FillBytes(5);
      // Smoothing as the mode asks; the Gaussians leave views below their size alone.
      const bool gaussian = c.smooth >= 1 && c.smooth <= 3 && std::min(c.w, c.h) >= 2 * c.smooth + 1;
      if (c.smooth == 4) LumMedian(src.get(), smoothed.get());
      else if (gaussian && c.smooth == 1) LumConvolGaussian3x3(src.get(), smoothed.get());
      else if (gaussian && c.smooth == 2) LumConvolGaussian5x5(src.get(), smoothed.get());
      else if (gaussian && c.smooth == 3) LumConvolGaussian7x7(src.get(), smoothed.get());
      else Write(smoothed.get(), in);
      const Grid expected = ModelDetector(smoothed.get(), Read(dst.get()), c.follow);
      LumCannyDetector(src.get(), dst.get(), SMOOTH_MODE(c.smooth), EDGE_FOLLOWING_MODE(c.follow));
      ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
      ASSERT_EQ(ZGetTraceCount(), 0);
      ASSERT_EQ(Read(dst.get()), expected);
      ASSERT_EQ(Read(src.get()), in);
      ASSERT_TRUE(dst.GuardsIntact() && src.GuardsIntact());
    }
  }
}

// The detector's own wide route on every target gives the edges of the scalar one.
TEST(CannyDetector, EveryWideTargetGivesTheScalarEdges) {
  const Grid in = Scene(75, 41);
  kt::Framed<ZBW8> src(75, 41, 1);
  Write(src.get(), in);
  for (int follow : {0, 1}) {
    kt::Framed<ZBW8> scalar(75, 41);
    scalar.FillBytes(0);
    {
      kt::WideSetting off(0);
      LumCannyDetector(src.get(), scalar.get(), SMOOTH_NONE, EDGE_FOLLOWING_MODE(follow));
    }
    for (const int64_t target : hwy::SupportedAndGeneratedTargets()) {
      SCOPED_TRACE(hwy::TargetName(target));
      hwy::SetSupportedTargetsForTest(target);
      kt::Framed<ZBW8> wide(75, 41, 5);
      wide.FillBytes(0);
      LumCannyDetector(src.get(), wide.get(), SMOOTH_NONE, EDGE_FOLLOWING_MODE(follow));
      EXPECT_TRUE(kt::SameBytes(wide.get(), scalar.get()));
    }
    hwy::SetSupportedTargetsForTest(0);
  }
}

// The Gaussian modes change the edges of a noisy scene and still find its outlines.
TEST(CannyDetector, GaussianModesSmoothFirst) {
  const Grid in = Scene(64, 48);
  kt::Framed<ZBW8> src(64, 48), a(64, 48), b(64, 48);
  Write(src.get(), in);
  a.FillBytes(0), b.FillBytes(0);
  LumCannyDetector(src.get(), a.get(), SMOOTH_GAUSSIAN_3X3, EDGE_FOLLOWING_HYSTERESIS);
  LumCannyDetector(src.get(), b.get(), SMOOTH_NONE, EDGE_FOLLOWING_HYSTERESIS);
  EXPECT_NE(Read(a.get()), Read(b.get()));
  for (int mode : {1, 2, 3}) {
    kt::Framed<ZBW8> d(64, 48);
    d.FillBytes(0);
    LumCannyDetector(src.get(), d.get(), SMOOTH_MODE(mode), EDGE_FOLLOWING_CONTOUR_GROWING);
    EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
    int edges = 0;
    for (int v : Read(d.get()).p) edges += v == 255;
    EXPECT_GT(edges, 40) << "mode " << mode;
  }
}

// In place, the edges land on the source as they would on a copy of it.
TEST(CannyDetector, InPlaceOnTheSource) {
  const Grid in = Scene(40, 30);
  for (int smooth : {0, 1})
    for (int follow : {0, 1}) {
      kt::Framed<ZBW8> src(40, 30), copy(40, 30);
      Write(src.get(), in), Write(copy.get(), in);
      LumCannyDetector(src.get(), copy.get(), SMOOTH_MODE(smooth), EDGE_FOLLOWING_MODE(follow));
      LumCannyDetector(src.get(), src.get(), SMOOTH_MODE(smooth), EDGE_FOLLOWING_MODE(follow));
      EXPECT_EQ(Read(src.get()), Read(copy.get())) << smooth << " " << follow;
    }
}

TEST(CannyDetector, FlatImageSeedsEverywhere) {
  for (int follow : {0, 1, 2, -1}) {
    kt::Framed<ZBW8> src(9, 7), dst(9, 7);
    src.FillBytes(90);
    dst.FillBytes(33);
    LumCannyDetector(src.get(), dst.get(), SMOOTH_GAUSSIAN_3X3, EDGE_FOLLOWING_MODE(follow));
    // Hysteresis: low 1, high 0, every pixel a seed. Growing: no magnitude, nothing written.
    // Unknown modes: nothing written.
    EXPECT_EQ(Read(dst.get()), Grid(9, 7, follow == 0 ? 128 : 33)) << "follow " << follow;
    EXPECT_TRUE(dst.GuardsIntact());
  }
}

TEST(CannyDetector, ErrorsAndTrace) {
  kt::Framed<ZBW8> src(6, 6), dst(6, 6), other(6, 5);
  ZImage<ZBW8> empty;
  dst.FillBytes(77);
  struct Case {
    ZROI<ZBW8>* s;
    ZROI<ZBW8>* d;
    Z_ERRORS gate;
    Z_ERRORS expected;
  };
  for (const Case& c : {Case{nullptr, dst.get(), Z_ERROR_NONE, Z_ERROR_NULL_IMAGE},
                        Case{&empty, dst.get(), Z_ERROR_NONE, Z_ERROR_NULL_IMAGE},
                        Case{src.get(), nullptr, Z_ERROR_NONE, Z_ERROR_NULL_IMAGE},
                        Case{src.get(), other.get(), Z_ERROR_NONE, Z_ERROR_DIFFERENT_SIZES},
                        Case{nullptr, dst.get(), Z_ERROR_INTERNAL, Z_ERROR_NULL_IMAGE},  // views before the gate
                        Case{src.get(), dst.get(), Z_ERROR_INTERNAL, Z_ERROR_INTERNAL}}) {
    ZSetGateError(c.gate);
    LumCannyDetector(c.s, c.d, SMOOTH_NONE, EDGE_FOLLOWING_HYSTERESIS);
    ZSetGateError(Z_ERROR_NONE);
    EXPECT_EQ(ZGetError(), c.expected);
    EXPECT_EQ(kt::Trace(), std::vector<std::string>{"Failed canny detection !"});
  }
  EXPECT_EQ(Read(dst.get()), Grid(6, 6, 77));
  EXPECT_TRUE(dst.GuardsIntact() && other.GuardsIntact());
}

}  // namespace
