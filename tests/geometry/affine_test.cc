// LumLinearTransform, LumScaleRotate and LumRegister against a direct model of the fixed-point
// walk: the float inverse, the 16.16 truncation, positions by 32-bit additions, the five zones of
// each axis and the shift-and-select interpolation, on both paths, on every target, at every
// byte offset with guard bytes; worked cases, the registrations, and the errors and traces.
#include <cmath>
#include <limits>

#include "hwy/targets.h"
#include "support/kelmira_test.h"

namespace {

using Strings = std::vector<std::string>;

// ----- the model -----

struct Img {
  int w = 0, h = 0;
  std::vector<uint32_t> p;
  uint32_t& at(int x, int y) { return p[size_t(y) * w + x]; }
};

struct Fixed {
  bool ok = false;
  uint32_t A, B, C, D, E, F;
};

// The inverse in float, each coefficient times 65536 toward zero; beyond 32 bits it saturates,
// a NaN or a determinant that is 0 or not finite is refused.
Fixed Inverse(float a, float b, float c, float d, float e, float f) {
  Fixed m;
  const float det = a * e - b * d;
  if (det == 0.0f || !std::isfinite(det)) return m;
  const float inv = 1.0f / det;
  const float A = e * inv, B = -b * inv, D = -d * inv, E = a * inv, C = -(c * A + f * B), F = -(c * D + f * E);
  m.ok = true;
  const auto fix = [&](float v, uint32_t& out) {
    const double s = double(v) * 65536.0;
    if (std::isnan(s)) m.ok = false;
    out = uint32_t(s >= 2147483647.0 ? INT32_MAX : s <= -2147483648.0 ? INT32_MIN : std::isnan(s) ? 0 : int32_t(s));
  };
  fix(A, m.A), fix(B, m.B), fix(C, m.C), fix(D, m.D), fix(E, m.E), fix(F, m.F);
  return m;
}

// v p0 + t (p1 - p0) the way the walker computes it: one selection per bit of t from the
// top, doubling the sum; the last bit adds p0 + p1 or 2 p0.
uint32_t Select(uint32_t p0, uint32_t p1, uint32_t t, int bits) {
  uint32_t s = 0;
  for (int k = bits - 1; k >= 1; --k) s = 2 * s + (((t >> k) & 1) ? p1 : p0);
  return 2 * s + ((t & 1) ? p0 + p1 : 2 * p0);
}

// -1 outside, 0 left margin, 1 inside, 2 right margin.
int ZoneOf(int32_t s, int size) {
  const int64_t end = int64_t(size) << 16;
  return s < 32768 ? -1 : s < 65536 ? 0 : s < end ? 1 : s < end + 32768 ? 2 : -1;
}

uint32_t Sample(Img& in, int32_t sx, int32_t sy, int bits) {
  if (bits == 0) {
    if (sx < 0 || sx >= (int64_t(in.w) << 16) || sy < 0 || sy >= (int64_t(in.h) << 16)) return 0;
    return in.at(sx >> 16, sy >> 16);
  }
  const int zx = ZoneOf(sx, in.w), zy = ZoneOf(sy, in.h);
  if (zx < 0 || zy < 0) return 0;
  const int x = zx == 0 ? 0 : zx == 2 ? in.w - 1 : (sx >> 16) - 1;
  const int y = zy == 0 ? 0 : zy == 2 ? in.h - 1 : (sy >> 16) - 1;
  const uint32_t tx = uint32_t(sx & 0xFFFF) >> (16 - bits), ty = uint32_t(sy & 0xFFFF) >> (16 - bits);
  if (zx == 1 && zy == 1) {
    const uint32_t top = Select(in.at(x, y), in.at(x + 1, y), tx, bits);
    const uint32_t bottom = Select(in.at(x, y + 1), in.at(x + 1, y + 1), tx, bits);
    return Select(top, bottom, ty, bits) >> (2 * bits);
  }
  if (zx == 1) return Select(in.at(x, y), in.at(x + 1, y), tx, bits) >> bits;
  if (zy == 1) return Select(in.at(x, y), in.at(x, y + 1), ty, bits) >> bits;
  return in.at(x, y);
}

// The walk: nearest rows carry their start by B and E, bilinear rows restart at C + j B; along
// a row, one addition of A and D per pixel. `inPlace` reads the picture being written.
Img Model(Img src, Img dst, float a, float b, float c, float d, float e, float f, int bits, bool inPlace = false) {
  const Fixed m = Inverse(a, b, c, d, e, f);
  Img& in = inPlace ? dst : src;
  const uint32_t half = bits ? 65536u : 0u;
  const uint32_t cx = uint32_t(int32_t(m.A + m.B + half) >> 1), cy = uint32_t(int32_t(m.D + m.E + half) >> 1);
  uint32_t rowX = m.C + cx, rowY = m.F + cy;
  for (int j = 0; j < dst.h; ++j) {
    if (bits) rowX = m.C + cx + uint32_t(j) * m.B, rowY = m.F + cy + uint32_t(j) * m.E;
    uint32_t sx = rowX, sy = rowY;
    for (int i = 0; i < dst.w; ++i, sx += m.A, sy += m.D) dst.at(i, j) = Sample(in, int32_t(sx), int32_t(sy), bits);
    rowX += m.B, rowY += m.E;
  }
  return dst;
}

// ----- views -----

template <class T>
Img Read(ZROI<T>* v) {
  Img m{v->GetWidth(), v->GetHeight(), {}};
  for (int y = 0; y < m.h; ++y)
    for (int x = 0; x < m.w; ++x) m.p.push_back(v->GetPixel(x, y).value);
  return m;
}

template <class T>
void Write(ZROI<T>* v, const Img& m) {
  for (int y = 0; y < m.h; ++y)
    for (int x = 0; x < m.w; ++x) v->SetPixel(T(static_cast<decltype(T::value)>(m.p[size_t(y) * m.w + x])), x, y);
}

// Random full-range values with the extremes often.
template <class T>
void Fill(ZROI<T>* v) {
  const uint32_t max = sizeof(T) == 1 ? 255 : 65535;
  Img m{v->GetWidth(), v->GetHeight(), {}};
  for (int i = 0; i < m.w * m.h; ++i) {
    const uint32_t r = kt::Rng()();
    m.p.push_back(r % 7 == 0 ? 0 : r % 7 == 1 ? max : (r >> 3) % (max + 1));
  }
  Write(v, m);
}

struct Map {
  const char* what;
  float a, b, c, d, e, f;
  int dw, dh;  // destination size as a difference from the source's
};

// Forward maps of a 23 x 17 source: fractions, turns, scales, flips, larger and smaller targets.
const Map kMaps[] = {
    {"identity", 1, 0, 0, 0, 1, 0, 0, 0},
    {"shift 0.3, -0.7", 1, 0, 0.3f, 0, 1, -0.7f, 0, 0},
    {"shift -2.6, 1.25 into a larger view", 1, 0, -2.6f, 0, 1, 1.25f, 9, 4},
    {"turn 7 degrees, scale 1.1 about the centre", 1.0918f, 0.1341f, -1.6f, -0.1341f, 1.0918f, 0.7f, 0, 0},
    {"turn 30 degrees", 0.8660254f, 0.5f, 2.0f, -0.5f, 0.8660254f, 8.0f, 5, 5},
    {"scale 2.5 x 0.4", 2.5f, 0, -3.0f, 0, 0.4f, 1.0f, 20, -5},
    {"shrink by 3 into a smaller view", 0.3333f, 0, 0.2f, 0, 0.3333f, 0, -12, -9},
    {"mirror in x", -1, 0, 23, 0, 1, 0, 0, 0},
    {"shear, flipped y", 1, 0.35f, 0, 0.1f, -1.2f, 19, 3, 3},
    {"transpose", 0, 1, 0, 1, 0, 0, -6, 6},
};

template <class T>
void CheckMaps(bool wide, int offset) {
  kt::WideSetting setting(wide);
  for (const Map& m : kMaps)
    for (int bits : {0, 4, 8}) {
      SCOPED_TRACE(std::string(m.what) + ", bits " + std::to_string(bits) + ", offset " + std::to_string(offset));
      kt::Framed<T> src(23, 17, offset), dst(23 + m.dw, 17 + m.dh, (offset * 5) % 16);
      Fill(src.get());
      Fill(dst.get());
      const Img before = Read(dst.get());
      LumLinearTransform(src.get(), m.a, m.b, m.c, m.d, m.e, m.f, dst.get(), bits);
      EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
      EXPECT_EQ(Read(dst.get()).p, Model(Read(src.get()), before, m.a, m.b, m.c, m.d, m.e, m.f, bits).p);
      EXPECT_TRUE(dst.GuardsIntact());
    }
}

TEST(AffineWalk, MapsOnBothPathsAndEveryTarget) {
  for (int64_t target : hwy::SupportedAndGeneratedTargets()) {
    hwy::SetSupportedTargetsForTest(target);
    SCOPED_TRACE(hwy::TargetName(target));
    CheckMaps<ZBW8>(true, 3);
    CheckMaps<ZBW16>(true, 1);  // odd address: unaligned 16-bit pixels
  }
  hwy::SetSupportedTargetsForTest(0);
  CheckMaps<ZBW8>(false, 0);
  CheckMaps<ZBW16>(false, 6);
}

// Small and odd views at every byte offset: the wide walk's clamped reads, the row tails, the
// views too small for it.
TEST(AffineWalk, EveryOffsetAndSmallViews) {
  for (int wide : {0, 1}) {
    kt::WideSetting setting(wide);
    for (int offset = 0; offset < 16; ++offset)
      for (auto [w, h] : {std::pair{1, 1}, {1, 9}, {9, 1}, {2, 2}, {3, 5}, {4, 2}, {5, 3}, {37, 4}})
        for (int bits : {0, 4, 8}) {
          SCOPED_TRACE(std::to_string(w) + "x" + std::to_string(h) + " offset " + std::to_string(offset) + " wide " +
                       std::to_string(wide) + " bits " + std::to_string(bits));
          kt::Framed<ZBW8> s8(w, h, offset), d8(w + 35, h + 2, 15 - offset);
          kt::Framed<ZBW16> s16(w, h, offset), d16(w + 35, h + 2, offset ^ 5);
          Fill(s8.get()), Fill(d8.get()), Fill(s16.get()), Fill(d16.get());
          const Img b8 = Read(d8.get()), b16 = Read(d16.get());
          const float a = 0.93f, b = -0.21f, c = 1.4f, d = 0.17f, e = 1.07f, f = -0.6f;
          LumLinearTransform(s8.get(), a, b, c, d, e, f, d8.get(), bits);
          LumLinearTransform(s16.get(), a, b, c, d, e, f, d16.get(), bits);
          EXPECT_EQ(Read(d8.get()).p, Model(Read(s8.get()), b8, a, b, c, d, e, f, bits).p);
          EXPECT_EQ(Read(d16.get()).p, Model(Read(s16.get()), b16, a, b, c, d, e, f, bits).p);
          EXPECT_TRUE(d8.GuardsIntact() && d16.GuardsIntact());
        }
  }
}

// Hand-computed rows of a 4 x 1 source {10, 20, 30, 40} (BW16: {0, 65535, 1000, 3}).
TEST(AffineWalk, WorkedRows) {
  struct Case {
    float c;
    int bits;
    std::vector<uint32_t> bw8, bw16;
  };
  const Case cases[] = {
      {0.0f, 8, {10, 20, 30, 40}, {0, 65535, 1000, 3}},  // identity: fraction 0, v p >> bits
      {0.5f, 0, {10, 20, 30, 40}, {0, 65535, 1000, 3}},  // centre maps to x.0: the same pixel
      {-0.5f, 0, {20, 30, 40, 0}, {65535, 1000, 3, 0}},
      {0.5f, 8, {10, 15, 25, 35}, {0, 32767, 33267, 501}},  // left margin, then halves
      {-0.5f, 8, {15, 25, 35, 0}, {32767, 33267, 501, 0}},  // 4.0 is past the right margin
      {-0.3f, 4, {12, 22, 32, 40}, {16383, 49401, 750, 3}},  // 0.3 cut to 4/16; last in the margin
      {0.3f, 8, {10, 16, 26, 36}, {0, 45823, 20410, 302}},  // 0.7 cut to 179/256
      {5.0f, 4, {0, 0, 0, 0}, {0, 0, 0, 0}},
  };
  for (int wide : {0, 1})
    for (const Case& k : cases) {
      kt::WideSetting setting(wide);
      SCOPED_TRACE("c " + std::to_string(k.c) + " bits " + std::to_string(k.bits));
      ZImage<ZBW8> s8(4, 1), d8(4, 1);
      ZImage<ZBW16> s16(4, 1), d16(4, 1);
      Write(&s8, Img{4, 1, {10, 20, 30, 40}});
      Write(&s16, Img{4, 1, {0, 65535, 1000, 3}});
      LumLinearTransform(&s8, 1, 0, k.c, 0, 1, 0, &d8, k.bits);
      LumLinearTransform(&s16, 1, 0, k.c, 0, 1, 0, &d16, k.bits);
      EXPECT_EQ(Read(&d8).p, k.bw8);
      EXPECT_EQ(Read(&d16).p, k.bw16);
    }
}

// The component k of a colour view as an Img.
Img Plane(ZROI<ZC24>* v, int k) {
  Img m{v->GetWidth(), v->GetHeight(), {}};
  for (int y = 0; y < m.h; ++y)
    for (int x = 0; x < m.w; ++x) {
      const ZC24 p = v->GetPixel(x, y);
      m.p.push_back(k == 0 ? p.c0 : k == 1 ? p.c1 : p.c2);
    }
  return m;
}

// Colour takes each component through the gray walk: the interleaved wide walk and the planes.
TEST(AffineWalk, ColourIsEachPlaneThroughTheGrayWalk) {
  const float a = 1.0793f, b = 0.1325f, c = -0.9f, d = -0.1325f, e = 1.0793f, f = 2.3f;
  for (int64_t target : hwy::SupportedAndGeneratedTargets()) {
    hwy::SetSupportedTargetsForTest(target);
    for (int wide : {0, 1}) {
      kt::WideSetting setting(wide);
      for (auto [w, h] : {std::pair{1, 1}, {2, 3}, {3, 1}, {29, 13}})
        for (int bits : {0, 4, 8}) {
          SCOPED_TRACE(std::string(hwy::TargetName(target)) + " " + std::to_string(w) + "x" + std::to_string(h) +
                       " bits " + std::to_string(bits) + " wide " + std::to_string(wide));
          kt::Framed<ZC24> src(w, h, w % 7), dst(w + 20, h + 3, 5);
          src.FillRandom(kt::Rng());
          dst.FillRandom(kt::Rng());
          Img before[3], source[3];
          for (int k = 0; k < 3; ++k) before[k] = Plane(dst.get(), k), source[k] = Plane(src.get(), k);
          LumLinearTransform(src.get(), a, b, c, d, e, f, dst.get(), bits);
          ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
          for (int k = 0; k < 3; ++k)
            EXPECT_EQ(Plane(dst.get(), k).p, Model(source[k], before[k], a, b, c, d, e, f, bits).p) << "plane " << k;
          EXPECT_TRUE(dst.GuardsIntact());
        }
    }
  }
  hwy::SetSupportedTargetsForTest(0);
  kt::Framed<ZC24> src(29, 13, 5);
  // In place is safe on colour: each plane is taken out before it is written.
  kt::Framed<ZC24> copy(29, 13, 1), colour(29, 13, 4);
  src.FillRandom(kt::Rng());
  LumCopy(src.get(), copy.get());
  LumCopy(src.get(), colour.get());
  LumLinearTransform(colour.get(), 0.9f, 0.1f, 1.0f, -0.1f, 0.9f, 2.0f, colour.get(), 4);
  LumLinearTransform(copy.get(), 0.9f, 0.1f, 1.0f, -0.1f, 0.9f, 2.0f, src.get(), 4);
  EXPECT_TRUE(kt::SameBytes(colour.get(), src.get()));
}

// dst == src: the gray walk reads what it wrote, on both settings; the form without a destination
// works from a copy.
TEST(AffineWalk, InPlace) {
  for (int wide : {0, 1}) {
    kt::WideSetting setting(wide);
    for (int bits : {0, 8}) {
      kt::Framed<ZBW8> img(40, 20, 3), copy(40, 20, 0), ref(40, 20, 0);
      Fill(img.get());
      LumCopy(img.get(), copy.get());
      const Img before = Read(img.get());
      LumLinearTransform(img.get(), 0.8f, 0.3f, 1.0f, -0.3f, 0.8f, 4.0f, img.get(), bits);
      EXPECT_EQ(Read(img.get()).p, Model(before, before, 0.8f, 0.3f, 1.0f, -0.3f, 0.8f, 4.0f, bits, true).p);
      EXPECT_EQ(LumScaleRotate(copy.get(), 20, 10, 18, 11, 1.2f, 1.2f, -25.0f, bits), 0);
      LumCopy(ZBW8(0), ref.get());
      LumCopy(copy.get(), ref.get());
      LumCopy(img.get(), copy.get());
      Write(copy.get(), before);
      LumScaleRotate(copy.get(), 20, 10, 18, 11, 1.2f, 1.2f, -25.0f, img.get(), bits);
      EXPECT_TRUE(kt::SameBytes(img.get(), ref.get()));
      kt::Framed<ZBW16> w16(40, 20, 1), r16(40, 20, 2);
      Fill(w16.get());
      LumScaleRotate(w16.get(), 20, 10, 18, 11, 1.2f, 1.2f, -25.0f, r16.get(), bits);
      LumScaleRotate(w16.get(), 20, 10, 18, 11, 1.2f, 1.2f, -25.0f, bits);
      EXPECT_TRUE(kt::SameBytes(w16.get(), r16.get()));
    }
  }
}

// The registrations against LumLinearTransform with the coefficients worked out by hand (chosen
// so that every float step is exact).
TEST(AffineRegister, OneTwoAndThreePivots) {
  kt::Framed<ZBW8> src(31, 21, 2), got(35, 25, 1), want(35, 25, 4);
  Fill(src.get());
  const auto same = [&](const char* what) {
    SCOPED_TRACE(what);
    EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
    EXPECT_TRUE(kt::SameBytes(got.get(), want.get()));
  };
  for (int bits : {0, 4, 8}) {
    LumRegister(src.get(), got.get(), 3.25f, 1.5f, 10.0f, 4.0f, bits);
    LumLinearTransform(src.get(), 1, 0, 6.75f, 0, 1, 2.5f, want.get(), bits);
    same("one pivot: a translation");
    LumRegister(src.get(), got.get(), 10, 10, 20, 10, 5, 7, 25, 7, bits, 1);
    LumLinearTransform(src.get(), 2, 0, -15, 0, 2, -13, want.get(), bits);
    same("two pivots, same direction, scaled by 2");
    LumRegister(src.get(), got.get(), 10, 10, 20, 10, 5, 7, 25, 7, bits, 0);
    LumLinearTransform(src.get(), 1, 0, -5, 0, 1, -3, want.get(), bits);
    same("two pivots without scaling");
    LumRegister(src.get(), got.get(), 0, 0, 8, 0, 0, 8, 5, 3, 5, 19, -11, 3, bits);
    LumLinearTransform(src.get(), 0, -2, 5, 2, 0, 3, want.get(), bits);
    same("three pivots: a turn by 90 degrees and a scale of 2");
  }
  // A quarter turn by two pivots, nearest: the source's top row becomes the destination's column.
  kt::Framed<ZBW8> square(8, 8), turned(8, 8);
  Fill(square.get());
  LumRegister(square.get(), turned.get(), 0, 0, 1, 0, 8, 0, 8, 1, 0, 0);
  for (int i = 0; i < 8; ++i) EXPECT_EQ(turned->GetPixel(7, i).value, square->GetPixel(i, 0).value) << i;
  // The same call on BW16 and C24 takes the same positions.
  ZImage<ZBW16> s16(8, 8), t16(8, 8);
  ZImage<ZC24> s24(8, 8), t24(8, 8);
  for (int i = 0; i < 8; ++i) s16.SetPixel(ZBW16(uint16_t(1000 * i + 7)), i, 0), s24.SetPixel(ZC24(uint8_t(i), 1, 2), i, 0);
  LumRegister(&s16, &t16, 0, 0, 1, 0, 8, 0, 8, 1, 0, 0);
  LumRegister(&s24, &t24, 0, 0, 1, 0, 8, 0, 8, 1, 0, 0);
  for (int i = 0; i < 8; ++i) {
    EXPECT_EQ(t16.GetPixel(7, i).value, 1000 * i + 7);
    EXPECT_EQ(t24.GetPixel(7, i).c0, i);
  }
}

// ----- errors and traces -----

struct ErrorCase {
  const char* what;
  std::function<void(ZROI<ZBW8>*, ZROI<ZBW8>*)> call;
  Z_ERRORS error;
  Strings trace;
};

TEST(AffineErrors, NumbersTracesAndUntouchedDestination) {
  const float nan = std::numeric_limits<float>::quiet_NaN(), inf = std::numeric_limits<float>::infinity();
  const Strings lt = {"LumLinearTransform"}, sr = {"LumLinearTransform", "LumScaleRotate"};
  ZROI<ZBW8> voidView;
  const std::vector<ErrorCase> cases = {
      {"bits 2", [](auto s, auto d) { LumLinearTransform(s, 1, 0, 0, 0, 1, 0, d, 2); }, Z_ERROR_BAD_ARGUMENTS, lt},
      {"bits -8", [](auto s, auto d) { LumScaleRotate(s, 0, 0, 0, 0, 1, 1, 0, d, -8); }, Z_ERROR_BAD_ARGUMENTS, sr},
      {"det 0", [](auto s, auto d) { LumLinearTransform(s, 1, 2, 0, 2, 4, 0, d, 2); }, Z_ERROR_ZERO_DIVIDE, lt},
      {"scale 0", [](auto s, auto d) { LumScaleRotate(s, 3, 3, 3, 3, 0, 1, 10, d, 8); }, Z_ERROR_ZERO_DIVIDE, sr},
      {"scale NaN", [nan](auto s, auto d) { LumScaleRotate(s, 3, 3, 3, 3, nan, 1, 0, d, 8); }, Z_ERROR_ZERO_DIVIDE, sr},
      {"scale inf", [inf](auto s, auto d) { LumScaleRotate(s, 3, 3, 3, 3, inf, inf, 0, d, 0); }, Z_ERROR_ZERO_DIVIDE, sr},
      {"scale 1e30", [](auto s, auto d) { LumScaleRotate(s, 3, 3, 3, 3, 1e30f, 1e30f, 5, d, 4); }, Z_ERROR_ZERO_DIVIDE, sr},
      {"angle inf", [inf](auto s, auto d) { LumScaleRotate(s, 3, 3, 3, 3, 1, 1, inf, d, 4); }, Z_ERROR_ZERO_DIVIDE, sr},
      {"NaN shift", [nan](auto s, auto d) { LumLinearTransform(s, 1, 0, nan, 0, 1, 0, d, 0); }, Z_ERROR_ZERO_DIVIDE, lt},
      {"null source", [](auto, auto d) { LumLinearTransform(nullptr, 1, 0, 0, 0, 1, 0, d, 0); }, Z_ERROR_NULL_IMAGE, lt},
      {"void source", [&](auto, auto d) { LumScaleRotate(&voidView, 0, 0, 0, 0, 1, 1, 0, d, 0); }, Z_ERROR_NULL_IMAGE, sr},
      {"coincident pivots, scaled",
       [](auto s, auto d) { LumRegister(s, d, 4, 4, 4, 4, 1, 1, 5, 5, 8, 1); }, Z_ERROR_ZERO_DIVIDE, sr},
      {"collinear pivots", [](auto s, auto d) { LumRegister(s, d, 0, 0, 1, 1, 2, 2, 0, 0, 1, 0, 0, 1, 8); },
       Z_ERROR_SINGULAR_PIVOTS, {"LumRegister ( BW8, 3 pivots)"}},
      {"3 pivots, bad bits", [](auto s, auto d) { LumRegister(s, d, 0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1, 3); },
       Z_ERROR_BAD_ARGUMENTS, lt},
      {"in place, bits 1", [](auto s, auto) { LumScaleRotate(s, 0, 0, 0, 0, 1, 1, 0, 1); }, Z_ERROR_BAD_ARGUMENTS,
       {"LumLinearTransform", "LumScaleRotate", "LumScaleRotate"}},
      {"in place, void", [&](auto, auto) { LumScaleRotate(&voidView, 0, 0, 0, 0, 1, 1, 0, 0); }, Z_ERROR_NULL_IMAGE,
       {"LumScaleRotate"}},
  };
  for (const ErrorCase& k : cases) {
    SCOPED_TRACE(k.what);
    kt::Framed<ZBW8> src(12, 9, 1), dst(12, 9, 3);
    Fill(src.get()), Fill(dst.get());
    const Img s = Read(src.get()), d = Read(dst.get());
    k.call(src.get(), dst.get());
    EXPECT_EQ(ZGetError(), k.error);
    EXPECT_EQ(kt::Trace(), k.trace);
    EXPECT_EQ(Read(dst.get()).p, d.p);
    EXPECT_EQ(Read(src.get()).p, s.p);
    EXPECT_TRUE(dst.GuardsIntact() && src.GuardsIntact());
  }
  // The short status of the BW8 forms.
  ZImage<ZBW8> a(4, 4), b(4, 4);
  EXPECT_EQ(LumScaleRotate(&a, 0, 0, 0, 0, 0, 0, 0, &b, 0), Z_ERROR_ZERO_DIVIDE);
  EXPECT_EQ(LumScaleRotate(&a, 0, 0, 0, 0, 1, 1, 0, &b, 0), 0);
  // A null or void destination ends quietly.
  LumLinearTransform(&a, 1, 0, 0, 0, 1, 0, nullptr, 8);
  EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
  EXPECT_EQ(LumScaleRotate(&a, 0, 0, 0, 0, 1, 1, 0, &voidView, 4), 0);
  EXPECT_EQ(kt::Trace(), Strings{});
  // The licence gate.
  ZSetGateError(Z_ERROR_NO_MEMORY);
  LumLinearTransform(&a, 1, 0, 0, 0, 1, 0, &b, 8);
  EXPECT_EQ(kt::Trace(), lt);
  ZSetGateError(Z_ERROR_NONE);
}

TEST(AffineErrors, OtherTypesTraceTheirOwnStrings) {
  for (int wide : {0, 1}) {
  kt::WideSetting setting(wide);
  ZImage<ZBW16> a(5, 5), b(5, 5);
  ZImage<ZC24> c(5, 5), d(5, 5);
  LumLinearTransform(&a, 1, 0, 0, 0, 1, 0, &b, 7);
  EXPECT_EQ(kt::Trace(), (Strings{"LumLinearTransform (BW16)"}));
  LumScaleRotate(&a, 0, 0, 0, 0, 0, 1, 0, &b, 0);
  EXPECT_EQ(kt::Trace(), (Strings{"LumLinearTransform (BW16)", "LumScaleRotate (BW16)"}));
  LumScaleRotate(&a, 0, 0, 0, 0, 0, 1, 0, 0);
  EXPECT_EQ(kt::Trace(), (Strings{"LumLinearTransform (BW16)", "LumScaleRotate (BW16)", "LumScaleRotate"}));
  LumRegister(&a, &b, 0, 0, 1, 1, 3, 3, 0, 0, 1, 0, 0, 1, 0);
  EXPECT_EQ(kt::Trace(), (Strings{"LumRegister ( BW16, 3 pivots)"}));
  ASSERT_EQ(ZGetError(), Z_ERROR_SINGULAR_PIVOTS);
  LumCopy(ZC24(1, 2, 3), &d);
  LumLinearTransform(&c, 1, 0, 0, 0, 1, 0, &d, 2);
  EXPECT_EQ(kt::Trace(), (Strings{"LumLinearTransform", "LumLinearTransform ( C24)"}));
  EXPECT_EQ(d.GetPixel(4, 4).c2, 3);  // untouched
  LumScaleRotate(&c, 0, 0, 0, 0, 1, 0, 0, &d, 0);
  EXPECT_EQ(kt::Trace(), (Strings{"LumLinearTransform", "LumScaleRotate", "LumScaleRotate ( C24)"}));
  LumRegister(&c, &d, 0, 0, 1, 1, 2, 2, 0, 0, 1, 0, 0, 1, 4);
  EXPECT_EQ(kt::Trace(), (Strings{"LumRegister ( C24, 3 pivots)"}));
  LumLinearTransform(nullptr, 1, 0, 0, 0, 1, 0, &d, 0);
  EXPECT_EQ(kt::Trace(), (Strings{"LumLinearTransform ( C24)"}));
  EXPECT_EQ(ZGetError(), Z_ERROR_NULL_IMAGE);
  LumLinearTransform(&c, 1, 0, 0, 0, 1, 0, nullptr, 0);
  EXPECT_EQ(ZGetError(), Z_ERROR_NULL_IMAGE);
  ZROI<ZC24> none;
  LumScaleRotate(&c, 0, 0, 0, 0, 0, 1, 0, &none, 9);  // the planes' check of the destination comes first
  EXPECT_EQ(kt::Trace(), (Strings{"LumScaleRotate ( C24)"}));
  EXPECT_EQ(ZGetError(), Z_ERROR_NULL_IMAGE);
  }
}

// Maps whose inverse does not fit 16.16 saturate and still follow the model; nothing is read
// outside the source nor written outside the destination.
TEST(AffineErrors, HostileMapsStayInsideTheViews) {
  const Map maps[] = {
      {"shrink by 1e6", 1e-6f, 0, 0, 0, 1e-6f, 0, 0, 0},
      {"far away", 1, 0, 1e9f, 0, 1, -1e9f, 0, 0},
      {"huge shear", 1, 4e4f, 0, 0, 1, 0, 0, 0},
      {"tiny det", 3e-3f, 0, 0, 0, 2e-3f, 0, 0, 0},
      {"turn 1e30 degrees", std::cos(1e30f), std::sin(1e30f), 0, -std::sin(1e30f), std::cos(1e30f), 0, 0, 0},
  };
  for (int wide : {0, 1}) {
    kt::WideSetting setting(wide);
    for (const Map& m : maps)
      for (int bits : {0, 4, 8}) {
        SCOPED_TRACE(m.what);
        kt::Framed<ZBW8> src(9, 7, 2), dst(50, 6, 1);
        Fill(src.get()), Fill(dst.get());
        const Img before = Read(dst.get());
        LumLinearTransform(src.get(), m.a, m.b, m.c, m.d, m.e, m.f, dst.get(), bits);
        EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
        EXPECT_EQ(Read(dst.get()).p, Model(Read(src.get()), before, m.a, m.b, m.c, m.d, m.e, m.f, bits).p);
        EXPECT_TRUE(dst.GuardsIntact());
      }
    ZImage<ZBW8> s(6, 6), d(6, 6);
    LumScaleRotate(&s, 3, 3, 3, 3, 1, 1, 1e30f, &d, 8);  // a finite angle: a valid turn
    EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
  }
}

}  // namespace
