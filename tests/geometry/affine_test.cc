// The affine operators against a model of the fixed-point walk; worked rows, in place, pivots, errors.
#include <cmath>

#include "support/kelmira_test.h"

namespace {


struct Fixed { uint32_t A, B, C, D, E, F; };

// The inverse in float (of a map the call accepted), each coefficient times 65536 toward zero,
// saturating beyond 32 bits.
Fixed Inverse(const float (&k)[6]) {
  const float a = k[0], b = k[1], c = k[2], d = k[3], e = k[4], f = k[5], inv = 1.0f / (a * e - b * d);
  const float A = e * inv, B = -b * inv, D = -d * inv, E = a * inv, C = -(c * A + f * B), F = -(c * D + f * E);
  const auto fix = [](float v) {
    const double s = double(v) * 65536.0;
    return uint32_t(s >= 2147483647.0 ? INT32_MAX : s <= -2147483648.0 ? INT32_MIN : int32_t(s));
  };
  return {fix(A), fix(B), fix(C), fix(D), fix(E), fix(F)};
}

// v p0 + t (p1 - p0) as the walker builds it: one selection per bit of t from the top, doubling
// the sum; the last bit adds p0 + p1 or 2 p0.
uint32_t Select(uint32_t p0, uint32_t p1, uint32_t t, int bits) {
  uint32_t s = 0;
  for (int k = bits - 1; k >= 1; --k) s = 2 * s + (((t >> k) & 1) ? p1 : p0);
  return 2 * s + ((t & 1) ? p0 + p1 : 2 * p0);
}

// -1 outside, 0 left margin, 1 inside, 2 right margin.
int ZoneOf(int32_t s, int size) {
  return s < 32768 ? -1 : s < 65536 ? 0 : s < (int64_t(size) << 16) ? 1 : s < (int64_t(size) << 16) + 32768 ? 2 : -1;
}

uint32_t Sample(const kt::Plane& in, int32_t sx, int32_t sy, int bits) {
  if (bits == 0)
    return sx < 0 || sx >= (int64_t(in.w) << 16) || sy < 0 || sy >= (int64_t(in.h) << 16) ? 0 : uint32_t(in.at(sx >> 16, sy >> 16));
  const int zx = ZoneOf(sx, in.w), zy = ZoneOf(sy, in.h);
  if (zx < 0 || zy < 0) return 0;
  const int x = zx == 0 ? 0 : zx == 2 ? in.w - 1 : (sx >> 16) - 1;
  const int y = zy == 0 ? 0 : zy == 2 ? in.h - 1 : (sy >> 16) - 1;
  const uint32_t tx = uint32_t(sx & 0xFFFF) >> (16 - bits), ty = uint32_t(sy & 0xFFFF) >> (16 - bits);
  const auto p = [&](int dx, int dy) { return uint32_t(in.at(x + dx, y + dy)); };
  if (zx == 1 && zy == 1)
    return Select(Select(p(0, 0), p(1, 0), tx, bits), Select(p(0, 1), p(1, 1), tx, bits), ty, bits) >> (2 * bits);
  if (zx == 1) return Select(p(0, 0), p(1, 0), tx, bits) >> bits;
  if (zy == 1) return Select(p(0, 0), p(0, 1), ty, bits) >> bits;
  return p(0, 0);
}

// Nearest rows carry their start by B and E, bilinear rows restart at C + j B; along a row one
// addition of A and D per pixel. `inPlace` reads the picture being written.
std::vector<int64_t> Model(const kt::Plane& src, kt::Plane dst, const float (&k)[6], int bits, bool inPlace = false) {
  const Fixed m = Inverse(k);
  const kt::Plane& in = inPlace ? dst : src;
  const uint32_t half = bits ? 65536u : 0u;
  const uint32_t cx = uint32_t(int32_t(m.A + m.B + half) >> 1), cy = uint32_t(int32_t(m.D + m.E + half) >> 1);
  uint32_t rowX = m.C + cx, rowY = m.F + cy;
  for (int j = 0; j < dst.h; ++j) {
    if (bits) rowX = m.C + cx + uint32_t(j) * m.B, rowY = m.F + cy + uint32_t(j) * m.E;
    uint32_t sx = rowX, sy = rowY;
    for (int i = 0; i < dst.w; ++i, sx += m.A, sy += m.D) dst.at(i, j) = Sample(in, int32_t(sx), int32_t(sy), bits);
    rowX += m.B, rowY += m.E;
  }
  return dst.p;
}

template <class T>
void Fill(kt::Framed<T>& v) { kt::FillValues(v, 7); }

// A map and the destination's size minus the source's.
struct Map { const char* what; float k[6]; int dw, dh; };

const Map kMaps[] = {
    {"identity", {1, 0, 0, 0, 1, 0}, 0, 0},           {"shift 0.3, -0.7", {1, 0, 0.3f, 0, 1, -0.7f}, 0, 0},
    {"shift into a larger view", {1, 0, -2.6f, 0, 1, 1.25f}, 9, 4},
    {"turn 30 degrees", {0.8660254f, 0.5f, 2.0f, -0.5f, 0.8660254f, 8.0f}, 35, 5},
    {"scale 2.5 x 0.4", {2.5f, 0, -3.0f, 0, 0.4f, 1.0f}, 20, 2}, {"shrink by 3", {0.3333f, 0, 0.2f, 0, 0.3333f, 0}, -1, 0},
    {"mirror in x", {-1, 0, 23, 0, 1, 0}, 0, 0},       {"shear, flipped y", {1, 0.35f, 0, 0.1f, -1.2f, 19}, 3, 3},
    {"transpose", {0, 1, 0, 1, 0, 0}, 6, 6},           {"shrink by 1e6 (saturates)", {1e-6f, 0, 0, 0, 1e-6f, 0}, 0, 0},
    {"far away", {1, 0, 1e9f, 0, 1, -1e9f}, 0, 0},      {"huge shear", {1, 4e4f, 0, 0, 1, 0}, 0, 0},
    {"tiny det", {3e-3f, 0, 0, 0, 2e-3f, 0}, 0, 0},
    {"turn 1e30 degrees", {std::cos(1e30f), std::sin(1e30f), 0, -std::sin(1e30f), std::cos(1e30f), 0}, 0, 0}};

// One map on one type, colour plane by plane; the destination starts random so that pixels the
// walk must leave alone show.
template <class T>
void CheckMap(const Map& m, int w, int h, int bits, int sourceOffset, int destinationOffset) {
  constexpr int planes = std::is_same_v<T, ZC24> ? 3 : 1;
  kt::Framed<T> s(w, h, sourceOffset), d(std::max(1, w + m.dw + 3), std::max(1, h + m.dh), destinationOffset);
  Fill(s), Fill(d);
  std::vector<kt::Plane> before;
  for (int c = 0; c < planes; ++c) before.push_back(kt::Read(d.get(), c));
  LumLinearTransform(s.get(), m.k[0], m.k[1], m.k[2], m.k[3], m.k[4], m.k[5], d.get(), bits);
  ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
  for (int c = 0; c < planes; ++c) ASSERT_EQ(kt::Read(d.get(), c).p, Model(kt::Read(s.get(), c), before[c], m.k, bits)) << c;
  ASSERT_TRUE(d.GuardsIntact());
}

// Every map on shapes from 1 x 1 (too small for the wide walk) up, each at its own byte offsets
// (all 16 occur), every type, the scalar walk and every target.
TEST(AffineWalk, MapsAgainstTheModel) {
  const std::pair<int, int> shapes[] = {{1, 1}, {1, 9}, {9, 1}, {2, 2}, {3, 5}, {5, 3}, {37, 4}, {23, 17}};
  const auto run = [&] {
    int round = 0;
    for (const auto& [w, h] : shapes)
      for (const Map& m : kMaps)
        for (int bits : {0, 4, 8}) {
          const int offset = (round++ * 7) % 16;
          SCOPED_TRACE(testing::Message() << m.what << ", " << w << "x" << h << ", bits " << bits << ", offset " << offset);
          CheckMap<ZBW8>(m, w, h, bits, offset, 15 - offset);
          CheckMap<ZBW16>(m, w, h, bits, offset ^ 1, offset ^ 5);
          CheckMap<ZC24>(m, w, h, bits, offset / 2, offset);
        }
  };
  kt::ForScalarAndEveryTarget(run);
}

// Hand-computed rows of a 4 x 1 source {10, 20, 30, 40}: the truncated fractions and margins.
TEST(AffineWalk, WorkedRows) {
  const std::tuple<float, int, std::vector<int64_t>> cases[] = {
      {-0.5f, 0, {20, 30, 40, 0}},   // nearest: the centre maps to x.0
      {0.5f, 8, {10, 15, 25, 35}},   // left margin, then halves
      {-0.5f, 8, {15, 25, 35, 0}},   // 4.0 is past the right margin
      {-0.3f, 4, {12, 22, 32, 40}},  // 0.3 cut to 4/16; the last in the margin
      {0.3f, 8, {10, 16, 26, 36}}};  // 0.7 cut to 179/256
  kt::ForScalarAndWide([&](int) {
    for (const auto& [c, bits, want] : cases) {
      ZImage<ZBW8> s(4, 1), d(4, 1);
      for (int x = 0; x < 4; ++x) s.SetPixel(ZBW8(uint8_t(10 * x + 10)), x, 0);
      LumLinearTransform(&s, 1, 0, c, 0, 1, 0, &d, bits);
      EXPECT_EQ(kt::Read(&d).p, want) << c << " " << bits;
    }
  });
}

// dst == src: the gray walk reads what it wrote; the forms without a destination work from a
// copy; colour in place is safe, since each plane is taken out before it is written.
TEST(AffineWalk, InPlace) {
  const float k[6] = {0.8f, 0.3f, 1.0f, -0.3f, 0.8f, 4.0f};
  kt::ForScalarAndWide([&](int) {
    for (int bits : {0, 8}) {
      kt::Framed<ZBW8> img(40, 20, 3), b8(40, 20, 0), r8(40, 20, 2);
      kt::Framed<ZBW16> b16(40, 20, 1), r16(40, 20, 2);
      kt::Framed<ZC24> c(29, 13, 5), inPlace(29, 13, 1), out(29, 13, 4);
      Fill(img), Fill(c);
      const kt::Plane before = kt::Read(img.get());
      LumLinearTransform(img.get(), k[0], k[1], k[2], k[3], k[4], k[5], img.get(), bits);
      EXPECT_EQ(kt::Read(img.get()).p, Model(before, before, k, bits, true));
      const auto fromCopy = [&](auto& view, auto& reference) {
        Fill(view);
        LumScaleRotate(view.get(), 20, 10, 18, 11, 1.2f, 1.2f, -25.0f, reference.get(), bits);
        LumScaleRotate(view.get(), 20, 10, 18, 11, 1.2f, 1.2f, -25.0f, bits);
        EXPECT_TRUE(ZGetError() == Z_ERROR_NONE && kt::SameBytes(view.get(), reference.get()));
      };
      fromCopy(b8, r8), fromCopy(b16, r16);
      LumCopy(c.get(), inPlace.get());
      LumLinearTransform(inPlace.get(), k[0], k[1], k[2], k[3], k[4], k[5], inPlace.get(), bits);
      LumLinearTransform(c.get(), k[0], k[1], k[2], k[3], k[4], k[5], out.get(), bits);
      EXPECT_TRUE(kt::SameBytes(inPlace.get(), out.get()));
    }
  });
}

// The registrations against LumLinearTransform with coefficients worked out by hand (chosen so
// that every float step is exact).
TEST(AffineRegister, OneTwoAndThreePivots) {
  kt::Framed<ZBW8> src(31, 21, 2), got(35, 25, 1), want(35, 25, 4);
  Fill(src);
  for (int bits : {0, 4, 8}) {
    const std::pair<std::function<void(ZROI<ZBW8>*)>, std::array<float, 6>> cases[] = {
        {[&](auto d) { LumRegister(src.get(), d, 3.25f, 1.5f, 10.0f, 4.0f, bits); }, {1, 0, 6.75f, 0, 1, 2.5f}},
        {[&](auto d) { LumRegister(src.get(), d, 10, 10, 20, 10, 5, 7, 25, 7, bits, 1); }, {2, 0, -15, 0, 2, -13}},
        {[&](auto d) { LumRegister(src.get(), d, 10, 10, 20, 10, 5, 7, 25, 7, bits, 0); }, {1, 0, -5, 0, 1, -3}},
        {[&](auto d) { LumRegister(src.get(), d, 0, 0, 8, 0, 0, 8, 5, 3, 5, 19, -11, 3, bits); }, {0, -2, 5, 2, 0, 3}}};
    for (const auto& [call, m] : cases) {
      call(got.get());
      const int error = ZGetError();
      LumLinearTransform(src.get(), m[0], m[1], m[2], m[3], m[4], m[5], want.get(), bits);
      EXPECT_TRUE(error == Z_ERROR_NONE && kt::SameBytes(got.get(), want.get())) << m[0] << " " << m[2];
    }
  }
  // A quarter turn by two pivots, nearest, on the other types: the top row becomes the last column.
  ZImage<ZBW16> s16(8, 8), t16(8, 8);
  ZImage<ZC24> s24(8, 8), t24(8, 8);
  for (int i = 0; i < 8; ++i) s16.SetPixel(ZBW16(uint16_t(1000 * i + 7)), i, 0), s24.SetPixel(ZC24(uint8_t(i), 1, 2), i, 0);
  LumRegister(&s16, &t16, 0, 0, 1, 0, 8, 0, 8, 1, 0, 0);
  LumRegister(&s24, &t24, 0, 0, 1, 0, 8, 0, 8, 1, 0, 0);
  for (int i = 0; i < 8; ++i) EXPECT_TRUE(t16.GetPixel(7, i).value == 1000 * i + 7 && t24.GetPixel(7, i).c0 == i) << i;
}

// Every refusal: its number and trace, nothing written, on both settings. The gray cases run on
// guarded BW8 views that must stay untouched.
TEST(AffineErrors, NumbersTracesAndUntouchedViews) {
  const float nan = NAN, inf = INFINITY;
  const Strings lt = {"LumLinearTransform"}, sr = {"LumLinearTransform", "LumScaleRotate"};
  const Strings sr16 = {"LumLinearTransform (BW16)", "LumScaleRotate (BW16)"}, c24 = {"LumLinearTransform ( C24)"};
  ZROI<ZBW8> voidView;
  ZImage<ZBW16> a(5, 5), b(5, 5);
  ZImage<ZC24> c(5, 5), d(5, 5);
  ZROI<ZC24> none;
  LumCopy(ZC24(1, 2, 3), &d);
  const std::tuple<std::function<void(ZROI<ZBW8>*, ZROI<ZBW8>*)>, Z_ERRORS, Strings> cases[] = {
      {[](auto s, auto d) { LumLinearTransform(s, 1, 0, 0, 0, 1, 0, d, 2); }, Z_ERROR_BAD_ARGUMENTS, lt},
      {[](auto s, auto d) { LumScaleRotate(s, 0, 0, 0, 0, 1, 1, 0, d, -8); }, Z_ERROR_BAD_ARGUMENTS, sr},
      {[](auto s, auto d) { LumLinearTransform(s, 1, 2, 0, 2, 4, 0, d, 2); }, Z_ERROR_ZERO_DIVIDE, lt},
      {[](auto s, auto d) { LumScaleRotate(s, 3, 3, 3, 3, 0, 1, 10, d, 8); }, Z_ERROR_ZERO_DIVIDE, sr},
      {[nan](auto s, auto d) { LumScaleRotate(s, 3, 3, 3, 3, nan, 1, 0, d, 8); }, Z_ERROR_ZERO_DIVIDE, sr},
      {[inf](auto s, auto d) { LumScaleRotate(s, 3, 3, 3, 3, inf, inf, 0, d, 0); }, Z_ERROR_ZERO_DIVIDE, sr},
      {[](auto s, auto d) { LumScaleRotate(s, 3, 3, 3, 3, 1e30f, 1e30f, 5, d, 4); }, Z_ERROR_ZERO_DIVIDE, sr},
      {[inf](auto s, auto d) { LumScaleRotate(s, 3, 3, 3, 3, 1, 1, inf, d, 4); }, Z_ERROR_ZERO_DIVIDE, sr},
      {[nan](auto s, auto d) { LumLinearTransform(s, 1, 0, nan, 0, 1, 0, d, 0); }, Z_ERROR_ZERO_DIVIDE, lt},
      {[](auto, auto d) { LumLinearTransform(nullptr, 1, 0, 0, 0, 1, 0, d, 0); }, Z_ERROR_NULL_IMAGE, lt},
      {[&](auto, auto d) { LumScaleRotate(&voidView, 0, 0, 0, 0, 1, 1, 0, d, 0); }, Z_ERROR_NULL_IMAGE, sr},
      {[](auto s, auto d) { LumRegister(s, d, 4, 4, 4, 4, 1, 1, 5, 5, 8, 1); }, Z_ERROR_ZERO_DIVIDE, sr},
      {[](auto s, auto d) { LumRegister(s, d, 0, 0, 1, 1, 2, 2, 0, 0, 1, 0, 0, 1, 8); }, Z_ERROR_SINGULAR_PIVOTS,
       {"LumRegister ( BW8, 3 pivots)"}},
      {[](auto s, auto d) { LumRegister(s, d, 0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1, 3); }, Z_ERROR_BAD_ARGUMENTS, lt},
      {[](auto s, auto) { LumScaleRotate(s, 0, 0, 0, 0, 1, 1, 0, 1); }, Z_ERROR_BAD_ARGUMENTS,
       {"LumLinearTransform", "LumScaleRotate", "LumScaleRotate"}},
      {[&](auto, auto) { LumScaleRotate(&voidView, 0, 0, 0, 0, 1, 1, 0, 0); }, Z_ERROR_NULL_IMAGE, {"LumScaleRotate"}},
      {[](auto s, auto d) { ZSetGateError(Z_ERROR_NO_MEMORY), LumLinearTransform(s, 1, 0, 0, 0, 1, 0, d, 8); },
       Z_ERROR_NO_MEMORY, lt},
      {[&](auto, auto) { LumLinearTransform(&a, 1, 0, 0, 0, 1, 0, &b, 7); }, Z_ERROR_BAD_ARGUMENTS,
       {"LumLinearTransform (BW16)"}},
      {[&](auto, auto) { LumScaleRotate(&a, 0, 0, 0, 0, 0, 1, 0, &b, 0); }, Z_ERROR_ZERO_DIVIDE, sr16},
      {[&](auto, auto) { LumScaleRotate(&a, 0, 0, 0, 0, 0, 1, 0, 0); }, Z_ERROR_ZERO_DIVIDE,
       {"LumLinearTransform (BW16)", "LumScaleRotate (BW16)", "LumScaleRotate"}},
      {[&](auto, auto) { LumRegister(&a, &b, 0, 0, 1, 1, 3, 3, 0, 0, 1, 0, 0, 1, 0); }, Z_ERROR_SINGULAR_PIVOTS,
       {"LumRegister ( BW16, 3 pivots)"}},
      {[&](auto, auto) { LumLinearTransform(&c, 1, 0, 0, 0, 1, 0, &d, 2); }, Z_ERROR_BAD_ARGUMENTS,
       {"LumLinearTransform", "LumLinearTransform ( C24)"}},
      {[&](auto, auto) { LumScaleRotate(&c, 0, 0, 0, 0, 1, 0, 0, &d, 0); }, Z_ERROR_ZERO_DIVIDE,
       {"LumLinearTransform", "LumScaleRotate", "LumScaleRotate ( C24)"}},
      {[&](auto, auto) { LumRegister(&c, &d, 0, 0, 1, 1, 2, 2, 0, 0, 1, 0, 0, 1, 4); }, Z_ERROR_SINGULAR_PIVOTS,
       {"LumRegister ( C24, 3 pivots)"}},
      {[&](auto, auto) { LumLinearTransform(nullptr, 1, 0, 0, 0, 1, 0, &d, 0); }, Z_ERROR_NULL_IMAGE, c24},
      // unlike gray, a null colour destination fails; the planes' check of it comes before the bits
      {[&](auto, auto) { LumLinearTransform(&c, 1, 0, 0, 0, 1, 0, nullptr, 0); }, Z_ERROR_NULL_IMAGE, c24},
      {[&](auto, auto) { LumScaleRotate(&c, 0, 0, 0, 0, 0, 1, 0, &none, 9); }, Z_ERROR_NULL_IMAGE,
       {"LumScaleRotate ( C24)"}},
      // a null or void gray destination ends quietly
      {[&](auto s, auto) { LumScaleRotate(s, 0, 0, 0, 0, 1, 1, 0, &voidView, 4); }, Z_ERROR_NONE, {}},
      {[](auto s, auto) { LumLinearTransform(s, 1, 0, 0, 0, 1, 0, nullptr, 8); }, Z_ERROR_NONE, {}},
  };
  kt::ForScalarAndWide([&](int) {
    int row = 0;
    for (const auto& [call, error, trace] : cases) {
      SCOPED_TRACE(testing::Message() << "row " << row++);
      ZSetGateError(Z_ERROR_NONE);
      kt::Framed<ZBW8> src(12, 9, 1), dst(12, 9, 3);
      Fill(src), Fill(dst);
      const std::vector<uint8_t> s = kt::Bytes(src.get()), t = kt::Bytes(dst.get());
      call(src.get(), dst.get());
      EXPECT_TRUE(kt::Failed(error, trace));
      EXPECT_TRUE(kt::Bytes(dst.get()) == t && kt::Bytes(src.get()) == s && dst.GuardsIntact() && src.GuardsIntact());
    }
    EXPECT_EQ(d.GetPixel(4, 4).c2, 3);
  });
  ZImage<ZBW8> e(4, 4), f(4, 4);  // the short status of the BW8 form
  EXPECT_EQ(LumScaleRotate(&e, 0, 0, 0, 0, 0, 0, 0, &f, 0), Z_ERROR_ZERO_DIVIDE);
}

}  // namespace
