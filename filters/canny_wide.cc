// Wide kernels of non-maxima suppression: 32-bit lanes, one gradient pixel each. The direction
// test |a| > 2.42 |b| of double precision is taken as 50 |a| > 121 |b| in integers: the two agree
// wherever 50 |a| != 121 |b|, since the products then differ by at least 1, far more than the
// rounding of 2.42; and at equality the double product rounds to exactly 121 k, so both say no.
// The tests check the equalities over the whole 16-bit range.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filters/canny_wide.cc"
#include "hwy/foreach_target.h"  // IWYU pragma: keep
#include "hwy/highway.h"

#include "filters/gradient_wide.h"

HWY_BEFORE_NAMESPACE();
namespace kelmira::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

using D32 = hn::ScalableTag<int32_t>;

// gx and gy of packed gradient pixels, sign-extended.
HWY_INLINE void Split(D32 d, const uint32_t* p, hn::Vec<D32>& gx, hn::Vec<D32>& gy) {
  const hn::RebindToUnsigned<D32> du;
  const auto v = hn::BitCast(d, hn::LoadU(du, p));
  gx = hn::ShiftRight<16>(hn::ShiftLeft<16>(v));
  gy = hn::ShiftRight<16>(v);
}

void MagnitudeRow(const uint32_t* gradient, uint8_t* magnitude, int n) {
  const D32 d;
  const hn::Rebind<uint8_t, D32> d8;
  const int lanes = static_cast<int>(hn::Lanes(d));
  const auto mask = hn::Set(d, 255);
  int x = 0;
  for (; x + lanes <= n; x += lanes) {
    hn::Vec<D32> gx, gy;
    Split(d, gradient + x, gx, gy);
    const auto m = hn::And(hn::ShiftRight<1>(hn::Add(hn::Abs(gx), hn::Abs(gy))), mask);
    hn::StoreU(hn::DemoteTo(d8, m), d8, magnitude + x);
  }
  for (; x < n; ++x) {
    const int gx = static_cast<int16_t>(gradient[x] & 0xFFFF), gy = static_cast<int16_t>(gradient[x] >> 16);
    magnitude[x] = static_cast<uint8_t>(((gx < 0 ? -gx : gx) + (gy < 0 ? -gy : gy)) >> 1);
  }
}

HWY_INLINE hn::Vec<D32> Load8(D32 d, const uint8_t* p) {
  const hn::Rebind<uint8_t, D32> d8;
  return hn::PromoteTo(d, hn::LoadU(d8, p));
}

HWY_INLINE hn::Vec<D32> Sign(D32 d, hn::Vec<D32> v) {
  const auto one = hn::Set(d, 1), zero = hn::Zero(d);
  return hn::Sub(hn::IfThenElseZero(hn::Gt(v, zero), one), hn::IfThenElseZero(hn::Lt(v, zero), one));
}

void SuppressRow(const uint32_t* gradient, const uint8_t* above, const uint8_t* here, const uint8_t* below,
                 uint32_t* direction, uint8_t* magnitude, int n) {
  const D32 d;
  const hn::RebindToUnsigned<D32> du;
  const hn::Rebind<uint8_t, D32> d8;
  const int lanes = static_cast<int>(hn::Lanes(d));
  const auto k50 = hn::Set(d, 50), k121 = hn::Set(d, 121);
  const auto c45 = hn::Set(d, 45), c90 = hn::Set(d, 90), c135 = hn::Set(d, 135);
  int x = 0;
  for (; x + lanes <= n; x += lanes) {
    hn::Vec<D32> gx, gy;
    Split(d, gradient + x, gx, gy);
    const auto a = hn::Abs(gx), b = hn::Abs(gy);
    const auto d0 = hn::Gt(hn::Mul(a, k50), hn::Mul(b, k121));
    const auto d90 = hn::AndNot(d0, hn::Gt(hn::Mul(b, k50), hn::Mul(a, k121)));
    const auto same = hn::Eq(Sign(d, gx), Sign(d, gy));
    const auto d45 = hn::AndNot(hn::Or(d0, d90), same);
    const auto code = hn::IfThenElse(d0, hn::Zero(d), hn::IfThenElse(d90, c90, hn::IfThenElse(d45, c45, c135)));
    // Neighbours along the direction: W/E, N/S, NW/SE, NE/SW (index x + 1 is column x).
    const auto n1 = hn::IfThenElse(d0, Load8(d, here + x),
                                   hn::IfThenElse(d90, Load8(d, above + x + 1),
                                                  hn::IfThenElse(d45, Load8(d, above + x), Load8(d, above + x + 2))));
    const auto n2 = hn::IfThenElse(d0, Load8(d, here + x + 2),
                                   hn::IfThenElse(d90, Load8(d, below + x + 1),
                                                  hn::IfThenElse(d45, Load8(d, below + x + 2), Load8(d, below + x))));
    const auto m = Load8(d, here + x + 1);
    const auto below1or2 = hn::Or(hn::Lt(m, n1), hn::Lt(m, n2));
    hn::StoreU(hn::BitCast(du, code), du, direction + x);
    hn::StoreU(hn::DemoteTo(d8, hn::IfThenZeroElse(below1or2, m)), d8, magnitude + x);
  }
  for (; x < n; ++x) {
    const int gx = static_cast<int16_t>(gradient[x] & 0xFFFF), gy = static_cast<int16_t>(gradient[x] >> 16);
    const int a = gx < 0 ? -gx : gx, b = gy < 0 ? -gy : gy;
    const int sx = (gx > 0) - (gx < 0), sy = (gy > 0) - (gy < 0);
    int n1, n2, code;
    if (50 * a > 121 * b) code = 0, n1 = here[x], n2 = here[x + 2];
    else if (50 * b > 121 * a) code = 90, n1 = above[x + 1], n2 = below[x + 1];
    else if (sx == sy) code = 45, n1 = above[x], n2 = below[x + 2];
    else code = 135, n1 = above[x + 2], n2 = below[x];
    const int m = here[x + 1];
    direction[x] = static_cast<uint32_t>(code);
    magnitude[x] = static_cast<uint8_t>(m >= n1 && m >= n2 ? m : 0);
  }
}

using D16 = hn::ScalableTag<int16_t>;

HWY_INLINE hn::Vec<D16> Load8(D16 d, const uint8_t* p) {
  const hn::Rebind<uint8_t, D16> d8;
  return hn::PromoteTo(d, hn::LoadU(d8, p));
}

void GradientIndexRow(const uint8_t* north, const uint8_t* c, const uint8_t* south, uint8_t* magnitude,
                      uint8_t* index, int x0, int n) {
  const D16 d;
  const hn::Rebind<uint8_t, D16> d8;
  const int lanes = static_cast<int>(hn::Lanes(d));
  const auto k50 = hn::Set(d, 50), k121 = hn::Set(d, 121), zero = hn::Zero(d);
  const auto i1 = hn::Set(d, 1), i2 = hn::Set(d, 2), i3 = hn::Set(d, 3);
  int x = x0;
  const int end = x0 + n;
  for (; x + lanes <= end; x += lanes) {
    const auto gx = hn::Sub(Load8(d, c + x - 1), Load8(d, c + x + 1));
    const auto gy = hn::Sub(Load8(d, north + x), Load8(d, south + x));
    const auto a = hn::Abs(gx), b = hn::Abs(gy);
    hn::StoreU(hn::DemoteTo(d8, hn::ShiftRight<1>(hn::Add(a, b))), d8, magnitude + x);
    // 121 * 255 fits in 16 bits: the integer form of the 2.42 test needs no wider lanes here.
    const auto d0 = hn::Gt(hn::Mul(a, k50), hn::Mul(b, k121));
    const auto d90 = hn::Gt(hn::Mul(b, k50), hn::Mul(a, k121));
    // Past the two tests gx and gy are both 0 or both not 0, so their signs are equal exactly
    // when gx ^ gy is not negative.
    const auto diagonal = hn::IfThenElse(hn::Lt(hn::Xor(gx, gy), zero), i3, i1);
    const auto code = hn::IfThenZeroElse(d0, hn::IfThenElse(d90, i2, diagonal));
    hn::StoreU(hn::DemoteTo(d8, code), d8, index + x);
  }
  for (; x < end; ++x) {
    const int gx = c[x - 1] - c[x + 1], gy = north[x] - south[x];
    const int a = gx < 0 ? -gx : gx, b = gy < 0 ? -gy : gy;
    magnitude[x] = static_cast<uint8_t>((a + b) >> 1);
    const int sx = (gx > 0) - (gx < 0), sy = (gy > 0) - (gy < 0);
    index[x] = static_cast<uint8_t>(50 * a > 121 * b ? 0 : 50 * b > 121 * a ? 2 : sx == sy ? 1 : 3);
  }
}

void SuppressIndexRow(const uint8_t* index, const uint8_t* above, const uint8_t* here, const uint8_t* below,
                      uint8_t* magnitude, int n) {
  const D16 d;
  const hn::Rebind<uint8_t, D16> d8;
  const int lanes = static_cast<int>(hn::Lanes(d));
  const auto i0 = hn::Zero(d), i1 = hn::Set(d, 1), i2 = hn::Set(d, 2);
  int x = 0;
  for (; x + lanes <= n; x += lanes) {
    const auto code = Load8(d, index + x);
    const auto is0 = hn::Eq(code, i0), is1 = hn::Eq(code, i1), is2 = hn::Eq(code, i2);
    const auto n1 = hn::IfThenElse(is0, Load8(d, here + x),
                                   hn::IfThenElse(is2, Load8(d, above + x + 1),
                                                  hn::IfThenElse(is1, Load8(d, above + x), Load8(d, above + x + 2))));
    const auto n2 = hn::IfThenElse(is0, Load8(d, here + x + 2),
                                   hn::IfThenElse(is2, Load8(d, below + x + 1),
                                                  hn::IfThenElse(is1, Load8(d, below + x + 2), Load8(d, below + x))));
    const auto m = Load8(d, here + x + 1);
    hn::StoreU(hn::DemoteTo(d8, hn::IfThenZeroElse(hn::Or(hn::Lt(m, n1), hn::Lt(m, n2)), m)), d8, magnitude + x);
  }
  static constexpr int kFirst[4][2] = {{0, 0}, {-1, -1}, {0, -1}, {1, -1}};  // (dx, dy) of the first neighbour
  for (; x < n; ++x) {
    const int k = index[x] & 3;
    const uint8_t* rows[3] = {above, here, below};
    const int dx = kFirst[k][0], dy = kFirst[k][1];
    const int n1 = k == 0 ? here[x] : rows[1 + dy][x + 1 + dx];
    const int n2 = k == 0 ? here[x + 2] : rows[1 - dy][x + 1 - dx];
    const int m = here[x + 1];
    magnitude[x] = static_cast<uint8_t>(m >= n1 && m >= n2 ? m : 0);
  }
}

// The first x in [0, n) with p[x] >= v, or n: the seed search of Hysteresis, a vector at a time
// since seeds are rare.
int FindAtLeast(const uint8_t* p, int n, int v) {
  const hn::ScalableTag<uint8_t> d;
  const int lanes = static_cast<int>(hn::Lanes(d));
  if (v <= 0) return 0;
  const auto t = hn::Set(d, static_cast<uint8_t>(v));
  int x = 0;
  for (; x + lanes <= n; x += lanes) {
    const auto m = hn::LoadU(d, p + x);
    const intptr_t i = hn::FindFirstTrue(d, hn::Eq(hn::Max(m, t), m));  // m >= t
    if (i >= 0) return x + static_cast<int>(i);
  }
  for (; x < n; ++x)
    if (p[x] >= v) return x;
  return n;
}

}  // namespace kelmira::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kelmira::gradient {
HWY_EXPORT(MagnitudeRow);
HWY_EXPORT(SuppressRow);
HWY_EXPORT(GradientIndexRow);
HWY_EXPORT(SuppressIndexRow);
HWY_EXPORT(FindAtLeast);

int WideFindAtLeast(const uint8_t* p, int n, int v) { return HWY_DYNAMIC_DISPATCH(FindAtLeast)(p, n, v); }

void WideGradientIndexRow(const uint8_t* north, const uint8_t* c, const uint8_t* south, uint8_t* magnitude,
                          uint8_t* index, int x0, int n) {
  HWY_DYNAMIC_DISPATCH(GradientIndexRow)(north, c, south, magnitude, index, x0, n);
}
void WideSuppressIndexRow(const uint8_t* index, const uint8_t* above, const uint8_t* here, const uint8_t* below,
                          uint8_t* magnitude, int n) {
  HWY_DYNAMIC_DISPATCH(SuppressIndexRow)(index, above, here, below, magnitude, n);
}

void WideMagnitudeRow(const uint32_t* gradient, uint8_t* magnitude, int n) {
  HWY_DYNAMIC_DISPATCH(MagnitudeRow)(gradient, magnitude, n);
}
void WideSuppressRow(const uint32_t* gradient, const uint8_t* above, const uint8_t* here, const uint8_t* below,
                     uint32_t* direction, uint8_t* magnitude, int n) {
  HWY_DYNAMIC_DISPATCH(SuppressRow)(gradient, above, here, below, direction, magnitude, n);
}
}  // namespace kelmira::gradient
#endif
