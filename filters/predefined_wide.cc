// Wide kernels of the predefined filters (ZBW8): the 3x3 rows in 16-bit lanes with the pack's
// unsigned saturation, the separable 5x5 and 7x7 rows, and the running-box helpers. Every kernel
// gives the bits of the scalar formula (the Laplacian X and Y saturate, as their wide form must).
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filters/predefined_wide.cc"
#include "hwy/foreach_target.h"  // IWYU pragma: keep
#include "hwy/cache_control.h"
#include "hwy/highway.h"

#include "filters/predefined_internal.h"

HWY_BEFORE_NAMESPACE();
namespace kelmira::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;
using predefined::Kind;

// ----- 3x3 -----

// Outputs [x0, x1): nine (or three) unaligned loads a step, widened to 16 bits. Every formula
// stays within int16 except the two multiplies, which run as unsigned 16-bit low products and
// logical shifts (the sums are positive and the products below 65536). The result is packed with
// unsigned saturation, which is abs-and-clip after Abs and clip0 without it.
template <Kind K>
HWY_INLINE void SeparableRow(const uint8_t* a, const uint8_t* b, const uint8_t* c, uint8_t* out, int x0, int x1);
template <Kind K>
constexpr bool Separable();

template <Kind K>
HWY_INLINE void Row3x3Of(const uint8_t* a, const uint8_t* b, const uint8_t* c, uint8_t* out, int x0, int x1) {
  if constexpr (Separable<K>()) return SeparableRow<K>(a, b, c, out, x0, x1);
  const hn::ScalableTag<int16_t> d16;
  const hn::Rebind<uint16_t, decltype(d16)> du16;
  const hn::Rebind<uint8_t, decltype(d16)> d8;
  const int lanes = static_cast<int>(hn::Lanes(d16));
  const auto load = [&](const uint8_t* p) { return hn::BitCast(d16, hn::PromoteTo(du16, hn::LoadU(d8, p))); };
  const auto mulShift = [&](auto v, uint16_t m, auto shift) {
    return hn::BitCast(d16, hn::ShiftRight<decltype(shift)::value>(hn::Mul(hn::BitCast(du16, v), hn::Set(du16, m))));
  };
  const auto finish = [&](auto v, uint8_t* dst) {
    if constexpr (predefined::PostOf(K) != predefined::Post::kNone && predefined::PostOf(K) != predefined::Post::kClip0)
      v = hn::Abs(v);
    hn::StoreU(hn::DemoteTo(d8, v), d8, dst);
  };
  const auto one = [&](int x) -> hn::Vec<decltype(d16)> {
    if constexpr (!predefined::ReadsRows(K)) {
      const auto w = load(b + x - 1), m = load(b + x), e = load(b + x + 1);
      if constexpr (K == Kind::kGradientX) return hn::Sub(w, e);
      if constexpr (K == Kind::kLaplacianX) return hn::Sub(hn::Add(w, e), hn::Add(m, m));
      if constexpr (K == Kind::kUniformX) return mulShift(hn::Add(hn::Add(w, m), e), 85, std::integral_constant<int, 8>());
      if constexpr (K == Kind::kGaussianX) return hn::ShiftRight<2>(hn::Add(hn::Add(w, e), hn::Add(m, m)));
    } else if constexpr (!predefined::ReadsColumns(K)) {
      const auto n = load(a + x), m = load(b + x), s = load(c + x);
      if constexpr (K == Kind::kGradientY) return hn::Sub(n, s);
      if constexpr (K == Kind::kLaplacianY) return hn::Sub(hn::Add(n, s), hn::Add(m, m));
      if constexpr (K == Kind::kUniformY) return mulShift(hn::Add(hn::Add(n, m), s), 85, std::integral_constant<int, 8>());
      if constexpr (K == Kind::kGaussianY) return hn::ShiftRight<2>(hn::Add(hn::Add(n, s), hn::Add(m, m)));
    } else {
      const auto a0 = load(a + x - 1), a1 = load(a + x), a2 = load(a + x + 1);
      const auto b0 = load(b + x - 1), b1 = load(b + x), b2 = load(b + x + 1);
      const auto c0 = load(c + x - 1), c1 = load(c + x), c2 = load(c + x + 1);
      const auto ring = hn::Add(hn::Add(hn::Add(a0, a2), hn::Add(c0, c2)), hn::Add(hn::Add(a1, c1), hn::Add(b0, b2)));
      const auto sobelX = [&] { return hn::Sub(hn::Add(hn::Add(a2, c2), hn::Add(b2, b2)), hn::Add(hn::Add(a0, c0), hn::Add(b0, b0))); };
      const auto sobelY = [&] { return hn::Sub(hn::Add(hn::Add(c0, c2), hn::Add(c1, c1)), hn::Add(hn::Add(a0, a2), hn::Add(a1, a1))); };
      const auto prewittX = [&] { return hn::Sub(hn::Add(hn::Add(a2, b2), c2), hn::Add(hn::Add(a0, b0), c0)); };
      const auto prewittY = [&] { return hn::Sub(hn::Add(hn::Add(c0, c1), c2), hn::Add(hn::Add(a0, a1), a2)); };
      if constexpr (K == Kind::kLowpass1) return mulShift(hn::Add(ring, b1), 14, std::integral_constant<int, 7>());
      if constexpr (K == Kind::kLowpass2) return hn::ShiftRight<3>(ring);
      if constexpr (K == Kind::kLowpass3) {
        const auto cross = hn::Add(hn::Add(a1, c1), hn::Add(b0, b2));
        const auto corners = hn::Add(hn::Add(a0, a2), hn::Add(c0, c2));
        return hn::ShiftRight<4>(hn::Add(hn::Add(corners, hn::ShiftLeft<1>(cross)), hn::ShiftLeft<2>(b1)));
      }
      if constexpr (K == Kind::kHighpass1)
        return hn::Sub(hn::Add(hn::ShiftLeft<2>(b1), b1), hn::Add(hn::Add(a1, c1), hn::Add(b0, b2)));
      if constexpr (K == Kind::kHighpass2) return hn::Sub(hn::Add(hn::ShiftLeft<3>(b1), b1), ring);
      if constexpr (K == Kind::kLaplacian4) return hn::Sub(hn::Add(hn::Add(a1, c1), hn::Add(b0, b2)), hn::ShiftLeft<2>(b1));
      if constexpr (K == Kind::kLaplacian8) return hn::Sub(ring, hn::ShiftLeft<3>(b1));
      if constexpr (K == Kind::kSobelX) return sobelX();
      if constexpr (K == Kind::kSobelY) return sobelY();
      if constexpr (K == Kind::kSobel) return hn::Add(hn::Abs(sobelX()), hn::Abs(sobelY()));
      if constexpr (K == Kind::kPrewittX) return prewittX();
      if constexpr (K == Kind::kPrewittY) return prewittY();
      if constexpr (K == Kind::kPrewitt) return hn::Add(hn::Abs(prewittX()), hn::Abs(prewittY()));
      if constexpr (K == Kind::kGradient) return hn::Add(hn::Abs(hn::Sub(b0, b2)), hn::Abs(hn::Sub(a1, c1)));
    }
    return hn::Zero(d16);
  };
  int x = x0;
  for (; x + lanes <= x1; x += lanes) finish(one(x), out + x);
  if (x < x1 && x1 - x0 >= lanes) finish(one(x1 - lanes), out + x1 - lanes);  // overlapping last step
  else
    for (; x < x1; ++x) {
      const int32_t v = predefined::Formula<K>(a[x - 1], a[x], a[x + 1], b[x - 1], b[x], b[x + 1], c[x - 1], c[x], c[x + 1]);
      constexpr auto P = predefined::PostOf(K) == predefined::Post::kAbsWrap ? predefined::Post::kAbsClip : predefined::PostOf(K);
      out[x] = static_cast<uint8_t>(predefined::Finish<P>(v, 255));
    }
}

// Kinds whose formula splits into a vertical combination U of the three rows and a horizontal one
// of U and of the middle row B. The row then goes in pieces through two 16-bit arrays: three
// widened loads a column instead of nine, which is what the 3x3 kernel above spends its time on.
template <Kind K>
constexpr bool Separable() {
  return K == Kind::kLowpass1 || K == Kind::kLowpass2 || K == Kind::kLowpass3 || K == Kind::kHighpass1 ||
         K == Kind::kHighpass2 || K == Kind::kSobelX || K == Kind::kSobelY || K == Kind::kPrewittX ||
         K == Kind::kPrewittY || K == Kind::kGradient || K == Kind::kGradientX || K == Kind::kLaplacian4 ||
         K == Kind::kLaplacian8 || K == Kind::kLaplacianX || K == Kind::kUniformX || K == Kind::kGaussianX;
}

// U of one column (signed 16-bit): a + b + c, a + 2b + c, a + c, c - a or a - c; 0 where unused.
template <Kind K, class V>
HWY_INLINE V Vertical(V a, V b, V c) {
  if constexpr (K == Kind::kLowpass1 || K == Kind::kLowpass2 || K == Kind::kHighpass2 || K == Kind::kPrewittX ||
                K == Kind::kLaplacian8)
    return a + b + c;
  if constexpr (K == Kind::kLowpass3 || K == Kind::kSobelX) return a + b + b + c;
  if constexpr (K == Kind::kHighpass1 || K == Kind::kLaplacian4) return a + c;
  if constexpr (K == Kind::kSobelY || K == Kind::kPrewittY) return c - a;
  if constexpr (K == Kind::kGradient) return a - c;
  return a - a;
}

// The formula from U and B at columns x - 1, x, x + 1, before abs and the pack.
template <Kind K, class V, class M>
HWY_INLINE V Horizontal(V u0, V u1, V u2, V b0, V b1, V b2, M mulShift) {
  if constexpr (K == Kind::kLowpass1) return mulShift(u0 + u1 + u2, 14, std::integral_constant<int, 7>());
  if constexpr (K == Kind::kLowpass2) return hn::ShiftRight<3>(u0 + u1 + u2 - b1);
  if constexpr (K == Kind::kLowpass3) return hn::ShiftRight<4>(u0 + u1 + u1 + u2);
  if constexpr (K == Kind::kHighpass1) return hn::ShiftLeft<2>(b1) + b1 - u1 - b0 - b2;
  if constexpr (K == Kind::kHighpass2) return hn::ShiftLeft<3>(b1) + b1 + b1 - (u0 + u1 + u2);
  if constexpr (K == Kind::kSobelX || K == Kind::kPrewittX) return u2 - u0;
  if constexpr (K == Kind::kSobelY) return u0 + u1 + u1 + u2;
  if constexpr (K == Kind::kPrewittY) return u0 + u1 + u2;
  if constexpr (K == Kind::kGradient) return hn::Abs(b0 - b2) + hn::Abs(u1);
  if constexpr (K == Kind::kGradientX) return b0 - b2;
  if constexpr (K == Kind::kLaplacian4) return u1 + b0 + b2 - hn::ShiftLeft<2>(b1);
  if constexpr (K == Kind::kLaplacian8) return u0 + u1 + u2 - hn::ShiftLeft<3>(b1) - b1;
  if constexpr (K == Kind::kLaplacianX) return b0 + b2 - b1 - b1;
  if constexpr (K == Kind::kUniformX) return mulShift(b0 + b1 + b2, 85, std::integral_constant<int, 8>());
  if constexpr (K == Kind::kGaussianX) return hn::ShiftRight<2>(b0 + b1 + b1 + b2);
  return u0;
}

template <Kind K>
HWY_INLINE void SeparableRow(const uint8_t* a, const uint8_t* b, const uint8_t* c, uint8_t* out, int x0, int x1) {
  const hn::ScalableTag<int16_t> d16;
  const hn::Rebind<uint16_t, decltype(d16)> du16;
  const hn::Rebind<uint8_t, decltype(d16)> d8;
  const int lanes = static_cast<int>(hn::Lanes(d16));
  constexpr int kPiece = 1024;
  HWY_ALIGN int16_t us[kPiece + 2];
  HWY_ALIGN int16_t bs[kPiece + 2];
  const auto load = [&](const uint8_t* p) { return hn::BitCast(d16, hn::PromoteTo(du16, hn::LoadU(d8, p))); };
  const auto mulShift = [&](auto v, uint16_t m, auto shift) {
    return hn::BitCast(d16, hn::ShiftRight<decltype(shift)::value>(hn::Mul(hn::BitCast(du16, v), hn::Set(du16, m))));
  };
  constexpr bool kAbs = predefined::PostOf(K) != predefined::Post::kNone && predefined::PostOf(K) != predefined::Post::kClip0;
  constexpr bool kUsesU = K != Kind::kGradientX && K != Kind::kLaplacianX && K != Kind::kUniformX && K != Kind::kGaussianX;
  constexpr bool kUsesB = K != Kind::kLowpass1 && K != Kind::kLowpass3 && K != Kind::kSobelX && K != Kind::kSobelY &&
                          K != Kind::kPrewittX && K != Kind::kPrewittY;
  for (int s = x0; s < x1; s += kPiece) {
    const int n = x1 - s < kPiece ? x1 - s : kPiece;
    const int m = n + 2;  // columns s - 1 .. s + n
    const uint8_t *pa = a + s - 1, *pb = b + s - 1, *pc = c + s - 1;
    const auto vertical = [&](int i) {
      const auto vb = load(pb + i);
      if constexpr (kUsesU) hn::Store(Vertical<K>(load(pa + i), vb, load(pc + i)), d16, us + i);
      if constexpr (kUsesB) hn::Store(vb, d16, bs + i);
    };
    const auto horizontal = [&](int j) {
      const auto u = [&](int k) { return kUsesU ? hn::LoadU(d16, us + j + k) : hn::Zero(d16); };
      const auto bb = [&](int k) { return kUsesB ? hn::LoadU(d16, bs + j + k) : hn::Zero(d16); };
      auto v = Horizontal<K>(u(0), u(1), u(2), bb(0), bb(1), bb(2), mulShift);
      if constexpr (kAbs) v = hn::Abs(v);
      hn::StoreU(hn::DemoteTo(d8, v), d8, out + s + j);
    };
    if (m < lanes) {  // a short piece: the formula pixel by pixel
      for (int x = s; x < s + n; ++x) {
        const int32_t v = predefined::Formula<K>(a[x - 1], a[x], a[x + 1], b[x - 1], b[x], b[x + 1], c[x - 1], c[x], c[x + 1]);
        constexpr auto P = predefined::PostOf(K) == predefined::Post::kAbsWrap ? predefined::Post::kAbsClip : predefined::PostOf(K);
        out[x] = static_cast<uint8_t>(predefined::Finish<P>(v, 255));
      }
      continue;
    }
    // The last vector of each phase overlaps the one before, so nothing past the row is read.
    int i = 0;
    for (; i + lanes <= m; i += lanes) vertical(i);
    if (i < m) {
      // Unaligned store for the overlapping step.
      const int k = m - lanes;
      const auto vb = load(pb + k);
      if constexpr (kUsesU) hn::StoreU(Vertical<K>(load(pa + k), vb, load(pc + k)), d16, us + k);
      if constexpr (kUsesB) hn::StoreU(vb, d16, bs + k);
    }
    int j = 0;
    for (; j + lanes <= n; j += lanes) horizontal(j);
    if (j < n) {
      if (n >= lanes) {
        horizontal(n - lanes);
      } else {
        for (int x = s + j; x < s + n; ++x) {
          const int32_t v = predefined::Formula<K>(a[x - 1], a[x], a[x + 1], b[x - 1], b[x], b[x + 1], c[x - 1], c[x], c[x + 1]);
          constexpr auto P = predefined::PostOf(K) == predefined::Post::kAbsWrap ? predefined::Post::kAbsClip : predefined::PostOf(K);
          out[x] = static_cast<uint8_t>(predefined::Finish<P>(v, 255));
        }
      }
    }
  }
}

void Row3x3(Kind kind, const uint8_t* a, const uint8_t* b, const uint8_t* c, uint8_t* out, int x0, int x1) {
  switch (kind) {
#define KELMIRA_KIND(K) \
  case Kind::K:         \
    return Row3x3Of<Kind::K>(a, b, c, out, x0, x1);
    KELMIRA_KIND(kLowpass1) KELMIRA_KIND(kLowpass2) KELMIRA_KIND(kLowpass3) KELMIRA_KIND(kHighpass1)
    KELMIRA_KIND(kHighpass2) KELMIRA_KIND(kSobel) KELMIRA_KIND(kSobelX) KELMIRA_KIND(kSobelY)
    KELMIRA_KIND(kPrewitt) KELMIRA_KIND(kPrewittX) KELMIRA_KIND(kPrewittY) KELMIRA_KIND(kGradient)
    KELMIRA_KIND(kGradientX) KELMIRA_KIND(kGradientY) KELMIRA_KIND(kLaplacian4) KELMIRA_KIND(kLaplacian8)
    KELMIRA_KIND(kLaplacianX) KELMIRA_KIND(kLaplacianY) KELMIRA_KIND(kUniformX) KELMIRA_KIND(kUniformY)
    KELMIRA_KIND(kGaussianX) KELMIRA_KIND(kGaussianY)
#undef KELMIRA_KIND
  }
}

// ----- 3x3 on ZBW16 -----

// Uniform3x3 (Lowpass1) and Gaussian3x3 (Lowpass3) on 16-bit pixels at any byte address, in
// 32-bit lanes: the column sums (at most 4 * 65535) go to an array, then the horizontal sum, the
// multiply by 14 (at most 8257410) and the shifts of the scalar formula, narrowed to 16 bits.
template <Kind K>
HWY_INLINE void WordRowOf(const uint8_t* a, const uint8_t* b, const uint8_t* c, uint8_t* out, int x0, int x1) {
  const auto pixel = [](const uint8_t* p, int x) -> int32_t { return reinterpret_cast<const Word*>(p)[x]; };
  const auto scalar = [&](int from, int to) {
    for (int x = from; x < to; ++x) {
      const int32_t v = predefined::Formula<K>(pixel(a, x - 1), pixel(a, x), pixel(a, x + 1), pixel(b, x - 1), pixel(b, x),
                                               pixel(b, x + 1), pixel(c, x - 1), pixel(c, x), pixel(c, x + 1));
      reinterpret_cast<Word*>(out)[x] = static_cast<uint16_t>(v);
    }
  };
#if HWY_TARGET == HWY_SCALAR
  scalar(x0, x1);
#else
  const hn::ScalableTag<uint32_t> d32;
  const hn::Rebind<int32_t, decltype(d32)> di32;
  const hn::Rebind<uint16_t, decltype(d32)> d16;
  const hn::Repartition<uint8_t, decltype(d16)> d8;
  const int lanes = static_cast<int>(hn::Lanes(d32));
  constexpr int kPiece = 1024;
  HWY_ALIGN uint32_t us[kPiece + 2];
  const auto load = [&](const uint8_t* p, int x) { return hn::PromoteTo(d32, hn::BitCast(d16, hn::LoadU(d8, p + 2 * x))); };
  for (int s = x0; s < x1; s += kPiece) {
    const int n = x1 - s < kPiece ? x1 - s : kPiece;
    const int m = n + 2;  // columns s - 1 .. s + n
    if (n < lanes) {
      scalar(s, s + n);
      continue;
    }
    const auto vertical = [&](int i) {
      const auto vb = load(b, s - 1 + i);
      const auto u = K == Kind::kLowpass1 ? hn::Add(hn::Add(load(a, s - 1 + i), vb), load(c, s - 1 + i))
                                          : hn::Add(hn::Add(load(a, s - 1 + i), hn::Add(vb, vb)), load(c, s - 1 + i));
      hn::StoreU(u, d32, us + i);
    };
    const auto horizontal = [&](int j) {
      const auto u0 = hn::LoadU(d32, us + j), u1 = hn::LoadU(d32, us + j + 1), u2 = hn::LoadU(d32, us + j + 2);
      const auto v = K == Kind::kLowpass1 ? hn::ShiftRight<7>(hn::Mul(hn::Add(hn::Add(u0, u1), u2), hn::Set(d32, 14)))
                                          : hn::ShiftRight<4>(hn::Add(hn::Add(u0, hn::Add(u1, u1)), u2));
      hn::StoreU(hn::BitCast(d8, hn::DemoteTo(d16, hn::BitCast(di32, v))), d8, out + 2 * (s + j));
    };
    // The last vector of each phase overlaps the one before, so nothing past the row is touched.
    int i = 0;
    for (; i + lanes <= m; i += lanes) vertical(i);
    if (i < m) vertical(m - lanes);
    int j = 0;
    for (; j + lanes <= n; j += lanes) horizontal(j);
    if (j < n) horizontal(n - lanes);
  }
#endif
}

void Row3x3Words(Kind kind, const uint8_t* a, const uint8_t* b, const uint8_t* c, uint8_t* out, int x0, int x1) {
  if (kind == Kind::kLowpass1) WordRowOf<Kind::kLowpass1>(a, b, c, out, x0, x1);
  if (kind == Kind::kLowpass3) WordRowOf<Kind::kLowpass3>(a, b, c, out, x0, x1);
}

// ----- 5x5 and 7x7 -----

// Separable, exact in integers. The vertical weighted sums of the row's columns (below 2^15) go
// to `columns`, padded with R copies of the edge columns on either side (the vertical sum of a
// replicated column is that of the edge column), so that every output of the row takes the same
// horizontal step in 16-bit lanes; `scratch` holds width + N - 1 entries.
template <int N, bool Uniform>
HWY_INLINE void RowLargeOf(const uint8_t* const* rows, uint8_t* out, int width, uint16_t* scratch) {
  constexpr int R = N / 2;
  constexpr uint32_t kW5[5] = {1, 4, 6, 4, 1};
  constexpr uint32_t kW7[7] = {1, 6, 15, 20, 15, 6, 1};
  const uint32_t* w = N == 5 ? kW5 : kW7;
  const hn::ScalableTag<uint16_t> d16;
  const hn::Rebind<uint8_t, decltype(d16)> d8;
  const hn::Rebind<int16_t, decltype(d16)> di16;
  const int lanes = static_cast<int>(hn::Lanes(d16));
  uint16_t* columns = scratch + R;
  // Symmetric weights: rows at equal distances are added first, then weighted once.
  const auto vertical = [&](int x) {
    hn::Vec<decltype(d16)> p[7];
    for (int j = 0; j < N; ++j) p[j] = hn::PromoteTo(d16, hn::LoadU(d8, rows[j] + x));
    hn::Vec<decltype(d16)> sum;
    if constexpr (Uniform) {
      sum = p[0];
      for (int j = 1; j < N; ++j) sum = hn::Add(sum, p[j]);
    } else if constexpr (N == 5) {
      sum = hn::Add(hn::Add(p[0], p[4]), hn::Add(hn::ShiftLeft<2>(hn::Add(p[1], p[3])), hn::Mul(p[2], hn::Set(d16, 6))));
    } else {
      sum = hn::Add(hn::Add(hn::Add(p[0], p[6]), hn::Mul(hn::Add(p[1], p[5]), hn::Set(d16, 6))),
                    hn::Add(hn::Mul(hn::Add(p[2], p[4]), hn::Set(d16, 15)), hn::Mul(p[3], hn::Set(d16, 20))));
    }
    hn::StoreU(sum, d16, columns + x);
  };
  // Horizontal sums in 16 bits as well. Gaussian 5x5: at most 65280. Gaussian 7x7: the pairs at
  // equal distances (at most 32640) go through 32-bit multiply-adds on x86; elsewhere they are
  // split as 64 hi + lo, and the weighted his (at most 16320) and los (at most 2646) give
  // floor(S / 4096) as (S_hi + (S_lo >> 6)) >> 6, the same floor. The
  // boxes: floor(S * 335544 / 2^23) and floor(S * 171196 / 2^23) equal the high half of S * 10485
  // shifted by 2 and of S * 10699 shifted by 3 for every sum a box can reach (checked over the
  // whole range), so no 32-bit lanes are needed.
  const auto output = [&](int at) {
    hn::Vec<decltype(d16)> v[7];
    for (int i = 0; i < N; ++i) v[i] = hn::LoadU(d16, columns + at - R + i);
    hn::Vec<decltype(d16)> r;
    if constexpr (Uniform) {
      auto sum = v[0];
      for (int i = 1; i < N; ++i) sum = hn::Add(sum, v[i]);
      r = N == 5 ? hn::ShiftRight<2>(hn::MulHigh(sum, hn::Set(d16, 10485)))
                 : hn::ShiftRight<3>(hn::MulHigh(sum, hn::Set(d16, 10699)));
    } else if constexpr (N == 5) {
      r = hn::ShiftRight<8>(hn::Add(hn::Add(v[0], v[4]), hn::Add(hn::ShiftLeft<2>(hn::Add(v[1], v[3])),
                                                                   hn::Mul(v[2], hn::Set(d16, 6)))));
    } else {
      const auto a = hn::Add(v[0], v[6]), b = hn::Add(v[1], v[5]), c = hn::Add(v[2], v[4]);
#if HWY_ARCH_X86 && HWY_TARGET != HWY_SCALAR
      // x86: the pairs (a, b) and (c, d) interleaved and multiplied-and-added into 32-bit sums
      // (every operand below 2^15), the low and high four pairs of each block apart; the
      // saturating pack of the two halves, block by block, restores the order of the outputs.
      const hn::Repartition<int32_t, decltype(di16)> d32;
      const auto ab = hn::BitCast(di16, hn::Set(d32, (6 << 16) | 1));
      const auto cd = hn::BitCast(di16, hn::Set(d32, (20 << 16) | 15));
      const auto ia = hn::BitCast(di16, a), ib = hn::BitCast(di16, b), ic = hn::BitCast(di16, c), id = hn::BitCast(di16, v[3]);
      auto unused = hn::Zero(d32);
      const auto lower = hn::ReorderWidenMulAccumulate(
          d32, hn::InterleaveLower(ic, id), cd, hn::ReorderWidenMulAccumulate(d32, hn::InterleaveLower(ia, ib), ab, hn::Zero(d32), unused),
          unused);
      const auto upper = hn::ReorderWidenMulAccumulate(
          d32, hn::InterleaveUpper(di16, ic, id), cd,
          hn::ReorderWidenMulAccumulate(d32, hn::InterleaveUpper(di16, ia, ib), ab, hn::Zero(d32), unused), unused);
      const auto packed = hn::ReorderDemote2To(di16, hn::ShiftRight<12>(lower), hn::ShiftRight<12>(upper));
      hn::StoreU(hn::DemoteTo(d8, packed), d8, out + at);
      return;
#endif
      const auto mask = hn::Set(d16, 63), six = hn::Set(d16, 6), fifteen = hn::Set(d16, 15), twenty = hn::Set(d16, 20);
      const auto weighted = [&](auto pa, auto pb, auto pc, auto pd) {
        return hn::Add(hn::Add(pa, hn::Mul(pb, six)), hn::Add(hn::Mul(pc, fifteen), hn::Mul(pd, twenty)));
      };
      const auto hi = weighted(hn::ShiftRight<6>(a), hn::ShiftRight<6>(b), hn::ShiftRight<6>(c), hn::ShiftRight<6>(v[3]));
      const auto lo = weighted(hn::And(a, mask), hn::And(b, mask), hn::And(c, mask), hn::And(v[3], mask));
      r = hn::ShiftRight<6>(hn::Add(hi, hn::ShiftRight<6>(lo)));
    }
    hn::StoreU(hn::DemoteTo(d8, hn::BitCast(di16, r)), d8, out + at);
  };
  // Both phases end with a step overlapping the one before, so nothing past the row is touched.
  int x = 0;
  if (width >= lanes) {
    for (; x + lanes <= width; x += lanes) vertical(x);
    if (x < width) vertical(width - lanes);
  } else {
    for (; x < width; ++x) {
      uint32_t sum = 0;
      for (int j = 0; j < N; ++j) sum += Uniform ? rows[j][x] : rows[j][x] * w[j];
      columns[x] = static_cast<uint16_t>(sum);
    }
  }
  for (int i = 1; i <= R; ++i) {
    columns[-i] = columns[0];
    columns[width - 1 + i] = columns[width - 1];
  }
  x = 0;
  if (width >= lanes) {
    for (; x + lanes <= width; x += lanes) output(x);
    if (x < width) output(width - lanes);
    return;
  }
  for (; x < width; ++x) {
    uint32_t sum = 0;
    for (int i = 0; i < N; ++i) sum += Uniform ? columns[x - R + i] : columns[x - R + i] * w[i];
    out[x] = static_cast<uint8_t>(Uniform ? sum * static_cast<uint32_t>(N == 5 ? 335544 : 171196) >> 23
                                          : sum >> (N == 5 ? 8 : 12));
  }
}

void RowLarge(int n, bool uniform, const uint8_t* const* rows, uint8_t* out, int width, uint16_t* scratch) {
  if (n == 5) uniform ? RowLargeOf<5, true>(rows, out, width, scratch) : RowLargeOf<5, false>(rows, out, width, scratch);
  if (n == 7) uniform ? RowLargeOf<7, true>(rows, out, width, scratch) : RowLargeOf<7, false>(rows, out, width, scratch);
}

// ----- the running box -----

// sums[x] += add[x] - sub[x] for x in [0, count), 8-bit pixels, wrapping like the scalar column sums.
template <class Cell>
HWY_INLINE void ColumnUpdateOf(Cell* sums, const uint8_t* add, const uint8_t* sub, int count) {
  int x = 0;
#if HWY_TARGET != HWY_SCALAR
  const hn::ScalableTag<Cell> d;
  const hn::Rebind<uint8_t, decltype(d)> d8;
  const int lanes = static_cast<int>(hn::Lanes(d));
  for (; x + lanes <= count; x += lanes) {
    const auto in = hn::PromoteTo(d, hn::LoadU(d8, add + x)), out = hn::PromoteTo(d, hn::LoadU(d8, sub + x));
    hn::StoreU(hn::Sub(hn::Add(hn::LoadU(d, sums + x), in), out), d, sums + x);
  }
#endif
  for (; x < count; ++x) sums[x] = static_cast<Cell>(sums[x] + add[x] - sub[x]);
}

#if HWY_TARGET != HWY_SCALAR
// Lanes moved up by K, zeros below: one instruction on AVX-512, a permute and a mask elsewhere.
template <int K, class D>
HWY_INLINE hn::Vec<D> ShiftUpLanes(D d, hn::Vec<D> v) {
#if HWY_TARGET == HWY_AVX3 || HWY_TARGET == HWY_AVX3_DL
  if constexpr (sizeof(hn::Vec<D>) == 64 && sizeof(hn::TFromD<D>) == 4) {
    (void)d;
    return hn::Vec<D>{_mm512_alignr_epi32(v.raw, _mm512_setzero_si512(), 16 - K)};
  }
#endif
  constexpr int kMaxLanes = HWY_MAX_BYTES / 4;
  int32_t index[kMaxLanes];
  for (int i = 0; i < kMaxLanes; ++i) index[i] = i >= K ? i - K : 0;
  return hn::IfThenZeroElse(hn::FirstN(d, K), hn::TableLookupLanes(v, hn::SetTableIndices(d, index)));
}

// Inclusive prefix sum inside one vector of up to 16 lanes: log2(lanes) shifted adds.
template <class D>
HWY_INLINE hn::Vec<D> PrefixSum(D d, hn::Vec<D> v) {
  const size_t lanes = hn::Lanes(d);
  if (lanes > 1) v = hn::Add(v, ShiftUpLanes<1>(d, v));
  if (lanes > 2) v = hn::Add(v, ShiftUpLanes<2>(d, v));
  if (lanes > 4) v = hn::Add(v, ShiftUpLanes<4>(d, v));
  if (lanes > 8) v = hn::Add(v, ShiftUpLanes<8>(d, v));
  return v;
}
#endif

// One output row of the ZBW8 box: S[0] is the sum of cells[0 .. window), S[x] = S[x - 1] +
// cells[x + window - 1] - cells[x - 1], and out[x] = S[x] * scale >> 24. The running sum is a
// prefix sum of those differences, a vector at a time, carried across vectors; the sum and the
// product wrap in 32 bits as the scalar ones do.
template <class Cell>
HWY_INLINE void BoxRowOf(const Cell* cells, int window, uint32_t scale, uint8_t* out, int count) {
  uint32_t sum = 0;
  for (int i = 0; i < window; ++i) sum += cells[i];
  out[0] = static_cast<uint8_t>((sum * scale) >> 24);
  int x = 1;
#if HWY_TARGET != HWY_SCALAR
  const hn::ScalableTag<uint32_t> d32;
  const int lanes = static_cast<int>(hn::Lanes(d32));
  const auto cellsAt = [&](const Cell* p) {
    if constexpr (sizeof(Cell) == 2) return hn::PromoteTo(d32, hn::LoadU(hn::Rebind<uint16_t, decltype(d32)>(), p));
    else return hn::LoadU(d32, p);
  };
  constexpr int kMaxLanes = HWY_MAX_BYTES / 4;
  int32_t lastIndex[kMaxLanes];
  for (int i = 0; i < kMaxLanes; ++i) lastIndex[i] = lanes - 1;
  const auto last = hn::SetTableIndices(d32, lastIndex);
  const auto vScale = hn::Set(d32, scale);
  auto carry = hn::Set(d32, sum);
  for (; x + lanes <= count; x += lanes) {
    // The carry chain is one add a vector: the broadcast of the last lane works on the prefix.
    const auto prefix = PrefixSum(d32, hn::Sub(cellsAt(cells + x + window - 1), cellsAt(cells + x - 1)));
    const auto s = hn::Add(prefix, carry);
    carry = hn::Add(carry, hn::TableLookupLanes(prefix, last));
    const hn::Rebind<uint8_t, decltype(d32)> d8;
    hn::StoreU(hn::TruncateTo(d8, hn::ShiftRight<24>(hn::Mul(s, vScale))), d8, out + x);
  }
  if (x > 1) sum = hn::GetLane(carry);
#endif
  for (; x < count; ++x) {
    sum += cells[x + window - 1] - cells[x - 1];
    out[x] = static_cast<uint8_t>((sum * scale) >> 24);
  }
}

// ----- the box by rows (ZBW8) -----

// Row sums H first, in 16 bits; then the window runs down the columns as the window sum times
// the scale, modulo 2^32, moved by (H entering - H leaving) * scale. That is the scalar's wrapping
// product whatever order the sums are taken in, so its top byte is the pixel, and the output
// needs no multiply. A block of 4 N pixels (N lanes of 32 bits) keeps its row sums as the even
// pixels' u16 vector then the odd pixels', and its scaled window sums as four u32 vectors, of the
// pixels 4j, 4j + 1, 4j + 2 and 4j + 3. Pair sums of bytes, the products of 16-bit differences (a
// pairwise multiply-add) and the assembly of output bytes then stay inside lanes; only the prefix
// sum of a row moves lanes, once per pair of pixels. (Scaled row sums in the ring instead of
// their differences doubled the ring and measured slower.)
#undef KELMIRA_BOX_AVX3
#if HWY_TARGET == HWY_AVX3 || HWY_TARGET == HWY_AVX3_DL
#define KELMIRA_BOX_AVX3 1
#else
#define KELMIRA_BOX_AVX3 0
#endif
#if HWY_TARGET != HWY_SCALAR

// Inclusive prefix sum of the 16-bit lanes of one vector, wrapping.
template <class D>
HWY_INLINE hn::Vec<D> PrefixSum16(D d, hn::Vec<D> v) {
#if KELMIRA_BOX_AVX3
  const __m512i zero = _mm512_setzero_si512();
  const __m512i down = _mm512_set_epi16(30, 29, 28, 27, 26, 25, 24, 23, 22, 21, 20, 19, 18, 17, 16, 15, 14, 13, 12, 11,
                                        10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0, 0);
  v = hn::Add(v, hn::Vec<D>{_mm512_maskz_permutexvar_epi16(0xFFFFFFFEu, down, v.raw)});
  v = hn::Add(v, hn::Vec<D>{_mm512_alignr_epi32(v.raw, zero, 15)});  // up 2 lanes
  v = hn::Add(v, hn::Vec<D>{_mm512_alignr_epi32(v.raw, zero, 14)});  // up 4
  v = hn::Add(v, hn::Vec<D>{_mm512_alignr_epi32(v.raw, zero, 12)});  // up 8
  return hn::Add(v, hn::Vec<D>{_mm512_alignr_epi32(v.raw, zero, 8)});  // up 16
#else
  v = hn::Add(v, hn::ShiftLeftLanes<1>(d, v));
  v = hn::Add(v, hn::ShiftLeftLanes<2>(d, v));
  v = hn::Add(v, hn::ShiftLeftLanes<4>(d, v));
  if constexpr (HWY_MAX_BYTES == 32) v = hn::Add(v, hn::ConcatLowerLower(d, hn::Broadcast<7>(v), hn::Zero(d)));
  return v;
#endif
}

// The last 16-bit lane in every lane.
template <class D>
HWY_INLINE hn::Vec<D> LastLane16(D d, hn::Vec<D> v) {
#if KELMIRA_BOX_AVX3
  (void)d;
  return hn::Vec<D>{_mm512_permutexvar_epi16(_mm512_set1_epi16(31), v.raw)};
#else
  if constexpr (HWY_MAX_BYTES == 32) return hn::Broadcast<7>(hn::ConcatUpperUpper(d, v, v));
  return hn::Broadcast<7>(v);
#endif
}

#endif

#undef KELMIRA_BOX_MADD
#if HWY_ARCH_X86 && HWY_TARGET != HWY_EMU128 && HWY_TARGET != HWY_SCALAR
#define KELMIRA_BOX_MADD 1
#else
#define KELMIRA_BOX_MADD 0
#endif
#if KELMIRA_BOX_MADD
// a.lo * p.lo + a.hi * p.hi in each 32-bit lane, over signed 16-bit halves (the pairwise
// multiply-add); p holds the two halves of `pair`.
template <class D32, class V>
HWY_INLINE hn::Vec<D32> MulAddPairs(D32, V a, uint32_t pair) {
#if HWY_MAX_BYTES == 64
  return hn::Vec<D32>{_mm512_madd_epi16(a.raw, _mm512_set1_epi32(static_cast<int>(pair)))};
#elif HWY_MAX_BYTES == 32
  return hn::Vec<D32>{_mm256_madd_epi16(a.raw, _mm256_set1_epi32(static_cast<int>(pair)))};
#else
  return hn::Vec<D32>{_mm_madd_epi16(a.raw, _mm_set1_epi32(static_cast<int>(pair)))};
#endif
}
#endif

#if HWY_TARGET != HWY_SCALAR
// The low and the high 16-bit halves of each 32-bit lane of `delta` (differences within int16),
// sign-extended and times `scale`, wrapping: one multiply-add each on x86 when the scale is below
// 2^15, else shifts and 32-bit multiplies.
template <class D32, class V>
HWY_INLINE void ScaledHalves(D32 d32, V delta, uint32_t scale, hn::Vec<D32>& low, hn::Vec<D32>& high) {
  const hn::Repartition<int32_t, D32> di32;
  const auto w = hn::BitCast(di32, delta);
#if KELMIRA_BOX_MADD
  if (scale < 0x8000u) {
    low = MulAddPairs(d32, w, scale);
    high = MulAddPairs(d32, w, scale << 16);
    return;
  }
#endif
  const auto vScale = hn::Set(d32, scale);
  low = hn::Mul(hn::BitCast(d32, hn::ShiftRight<16>(hn::ShiftLeft<16>(w))), vScale);
  high = hn::Mul(hn::BitCast(d32, hn::ShiftRight<16>(w)), vScale);
}
#endif

// Pixels in a block; 0 where the target has no lanes, and the caller takes the column route.
int BoxBlockOf() {
#if HWY_TARGET == HWY_SCALAR || (HWY_MAX_BYTES != 16 && HWY_MAX_BYTES != 32 && !KELMIRA_BOX_AVX3)
  return 0;
#else
  return static_cast<int>(4 * hn::Lanes(hn::ScalableTag<uint32_t>()));
#endif
}

#if HWY_TARGET != HWY_SCALAR
// The row sums H[x] = p[x] + ... + p[x + window - 1] of a source row, a block at a time from
// x = 0, where p[i] is row[i - hx] for hx <= i < hx + width and padded[i] elsewhere (padded[-1]
// is read; its value cancels). Vectors inside the row read it in place. Each H must stay below
// 2^15.
class RowSummer {
 public:
  using D8 = hn::ScalableTag<uint8_t>;
  using D16 = hn::Repartition<uint16_t, D8>;
  using V16 = hn::Vec<D16>;
  // Null: a summer that is never asked.
  explicit RowSummer(const predefined::BoxSource* s) : m_s(s), m_carry(hn::Zero(D16())) {
    uint32_t first = 0;  // H[-1]
    for (int i = -1; s != nullptr && i < s->window - 1; ++i) first += s->padded[i];
    m_carry = hn::Set(D16(), static_cast<uint16_t>(first));
  }
  // The even pixels' and the odd pixels' sums of block b; blocks come in order.
  HWY_INLINE void Next(int b, V16& even, V16& odd) {
    // H[x] = H[x - 1] + d[x], d[x] = p[x + window - 1] - p[x - 1]; lane k holds the pixels 2k
    // (low byte) and 2k + 1. The prefix of the pair sums gives the odd H, and the odd pixel's d
    // taken back off gives the even.
    const D16 d16;
    const ptrdiff_t x = b * static_cast<ptrdiff_t>(hn::Lanes(D8()));
    if (m_s->ahead != nullptr && x < m_s->width) hwy::Prefetch(m_s->ahead + x);
    const auto enter = Load(x + m_s->window - 1), leave = Load(x - 1);
    const auto low = hn::Set(d16, 0xFF);
    const auto oddD = hn::Sub(hn::ShiftRight<8>(enter), hn::ShiftRight<8>(leave));
    const auto evenD = hn::Sub(hn::And(enter, low), hn::And(leave, low));
    odd = hn::Add(m_carry, PrefixSum16(d16, hn::Add(evenD, oddD)));
    even = hn::Sub(odd, oddD);
    m_carry = LastLane16(d16, odd);
  }

 private:
  HWY_INLINE V16 Load(ptrdiff_t i) const {
    const ptrdiff_t n8 = static_cast<ptrdiff_t>(hn::Lanes(D8()));
    const bool inside = i >= m_s->hx && i + n8 <= m_s->hx + m_s->width;
    return hn::BitCast(D16(), hn::LoadU(D8(), inside ? m_s->row + (i - m_s->hx) : m_s->padded + i));
  }
  const predefined::BoxSource* m_s;
  V16 m_carry;
};
#endif

// One output row from the scaled window sums: out[x] = the top byte of W[x] for x in [0, width),
// unless `out` is null; then, unless `entering` is null, W += (entering - leaving) * scale (row
// sums of the block layout, whose differences fit int16), where the entering sums are first taken
// from `source` and stored when it is not null. One pass for both keeps the multiplies and the
// shuffles of the row sums in flight together.
void BoxWindowStep(uint32_t* sums, uint16_t* entering, const uint16_t* leaving, uint32_t scale, uint8_t* out, int width,
                   const predefined::BoxSource* source) {
#if HWY_TARGET != HWY_SCALAR
  const hn::ScalableTag<uint32_t> d32;
  const hn::Repartition<uint16_t, decltype(d32)> du16;
  const hn::Repartition<uint8_t, decltype(d32)> d8;
  const size_t n = hn::Lanes(d32), n16 = hn::Lanes(du16);
  const int block = static_cast<int>(4 * n);
  const auto m1 = hn::Set(d32, 0xFF00u), m2 = hn::Set(d32, 0xFF0000u), m3 = hn::Set(d32, 0xFF000000u);
  RowSummer summer(source);
  for (int b = 0, x = 0; x < width; ++b, x += block) {
    uint32_t* v = sums + 4 * static_cast<size_t>(b) * n;
    const auto v0 = hn::LoadU(d32, v), v1 = hn::LoadU(d32, v + n), v2 = hn::LoadU(d32, v + 2 * n),
               v3 = hn::LoadU(d32, v + 3 * n);
    if (out != nullptr) {
      // Each top byte moved to its pixel's byte of the lane.
      auto r = hn::ShiftRight<24>(v0);
      r = hn::OrAnd(r, hn::ShiftRight<16>(v1), m1);
      r = hn::OrAnd(r, hn::ShiftRight<8>(v2), m2);
      r = hn::OrAnd(r, v3, m3);
      if (x + block <= width)
        hn::StoreU(hn::BitCast(d8, r), d8, out + x);
      else
        hn::BlendedStore(hn::BitCast(d8, r), hn::FirstN(d8, static_cast<size_t>(width - x)), d8, out + x);
    }
    if (entering != nullptr) {
      // Even pixels' sums: 4j in the low halves, 4j + 2 in the high; odd: 4j + 1 and 4j + 3.
      const size_t h = 2 * static_cast<size_t>(b) * n16;
      hn::Vec<decltype(du16)> enterEven, enterOdd;
      if (source != nullptr) {
        summer.Next(b, enterEven, enterOdd);
        hn::StoreU(enterEven, du16, entering + h);
        hn::StoreU(enterOdd, du16, entering + h + n16);
      } else {
        enterEven = hn::LoadU(du16, entering + h);
        enterOdd = hn::LoadU(du16, entering + h + n16);
      }
      hn::Vec<decltype(d32)> g0, g1, g2, g3;
      ScaledHalves(d32, hn::Sub(enterEven, hn::LoadU(du16, leaving + h)), scale, g0, g2);
      ScaledHalves(d32, hn::Sub(enterOdd, hn::LoadU(du16, leaving + h + n16)), scale, g1, g3);
      hn::StoreU(hn::Add(v0, g0), d32, v);
      hn::StoreU(hn::Add(v1, g1), d32, v + n);
      hn::StoreU(hn::Add(v2, g2), d32, v + 2 * n);
      hn::StoreU(hn::Add(v3, g3), d32, v + 3 * n);
    }
  }
#else
  (void)sums, (void)entering, (void)leaving, (void)scale, (void)out, (void)width, (void)source;
#endif
}

// ----- the ZBW16 box, column sums split by parity -----

// Column sums of the padded columns c[i] kept as two arrays, even[k] = c[2k] and odd[k] =
// c[2k + 1]. Then a 32-bit lane of 16-bit pixels updates one of each without widening shuffles,
// and along a row the pair sums of the running differences come from four unaligned loads; only
// the prefix sum moves lanes, once per pair of pixels.

// low[j] += add[2j] - sub[2j] and high[j] += add[2j + 1] - sub[2j + 1] for j in [0, pairs): 16-bit
// pixels at any byte address, 32-bit sums wrapping.
void WordColumnUpdate(uint32_t* low, uint32_t* high, const uint8_t* add, const uint8_t* sub, int pairs) {
  int j = 0;
#if HWY_TARGET != HWY_SCALAR
  const hn::ScalableTag<uint32_t> d32;
  const hn::Repartition<uint8_t, decltype(d32)> d8;
  const int lanes = static_cast<int>(hn::Lanes(d32));
  const auto mask = hn::Set(d32, 0xFFFFu);
  for (; j + lanes <= pairs; j += lanes) {
    const auto in = hn::BitCast(d32, hn::LoadU(d8, add + 4 * j)), out = hn::BitCast(d32, hn::LoadU(d8, sub + 4 * j));
    hn::StoreU(hn::Add(hn::LoadU(d32, low + j), hn::Sub(hn::And(in, mask), hn::And(out, mask))), d32, low + j);
    hn::StoreU(hn::Add(hn::LoadU(d32, high + j), hn::Sub(hn::ShiftRight<16>(in), hn::ShiftRight<16>(out))), d32,
               high + j);
  }
#endif
  const auto pixel = [](const uint8_t* row, int x) {
    return static_cast<uint32_t>(reinterpret_cast<const Word*>(row)[x]);
  };
  for (; j < pairs; ++j) {
    low[j] += pixel(add, 2 * j) - pixel(sub, 2 * j);
    high[j] += pixel(add, 2 * j + 1) - pixel(sub, 2 * j + 1);
  }
}

// Output pairs j in [0, pairs) rounded down to whole vectors: S[x] = c[x] + ... + c[x + 2 hx],
// out[x] = S[x] * scale >> 24 (64-bit product) as 16-bit pixels at any byte address, given
// carry = S[-1] (even[-1] and odd[-1] are read). Returns the pairs done and sets carry to S of the
// last odd pixel written. Each S must stay below 2^32.
#if HWY_TARGET != HWY_SCALAR
template <bool kPairs>
HWY_INLINE int WordBoxRowOf(const uint32_t* even, const uint32_t* odd, int hx, uint32_t& carry, uint32_t scale,
                            uint8_t* out, int pairs) {
  const hn::ScalableTag<uint32_t> d32;
  const hn::Repartition<uint64_t, decltype(d32)> d64;
  const hn::Repartition<uint16_t, decltype(d32)> d16;
  const hn::Repartition<uint8_t, decltype(d32)> d8;
  const int lanes = static_cast<int>(hn::Lanes(d32));
  constexpr int kMaxLanes = HWY_MAX_BYTES / 4;
  int32_t lastIndex[kMaxLanes];
  for (int i = 0; i < kMaxLanes; ++i) lastIndex[i] = lanes - 1;
  const auto last = hn::SetTableIndices(d32, lastIndex);
  const auto vScale = hn::Set(d32, scale);
  const auto lowScale = hn::BitCast(d16, vScale);  // 16-bit lanes (scale, 0)
  const auto high32 = hn::BitCast(d32, hn::Set(d64, uint64_t{0xFFFFFFFF00000000}));
  // S * scale >> 24 in each lane, times 256 plus bits below (`kPairs`, scale below 2^15: with
  // S = h 2^16 + l, the product >> 24 is (h scale + (l scale >> 16)) >> 8, the dropped low bits
  // never carrying into it) or exact (64-bit products).
  const auto product = [&](auto v) {
    if constexpr (kPairs) {
#if KELMIRA_BOX_MADD
      return hn::Add(MulAddPairs(d32, v, scale << 16), hn::BitCast(d32, hn::MulHigh(hn::BitCast(d16, v), lowScale)));
#endif
    }
    const auto lo = hn::ShiftRight<24>(hn::MulEven(v, vScale));
    const auto hi = hn::MulEven(hn::BitCast(d32, hn::ShiftRight<32>(hn::BitCast(d64, v))), vScale);
    return hn::ShiftLeft<8>(hn::OrAnd(hn::BitCast(d32, lo), hn::BitCast(d32, hn::ShiftLeft<8>(hi)), high32));
  };
  const auto mask = hn::Set(d32, 0xFFFF0000u);
  auto s = hn::Set(d32, carry);
  int j = 0;
  for (; j + lanes <= pairs; j += lanes) {
    // d[x] = c[x + 2 hx] - c[x - 1]; the pair d[2j] + d[2j + 1] = even[j + hx] + odd[j + hx] -
    // odd[j - 1] - even[j]; its prefix gives the odd S, and d[2j + 1] taken back off the even.
    const auto eAhead = hn::LoadU(d32, even + j + hx), oAhead = hn::LoadU(d32, odd + j + hx);
    const auto eHere = hn::LoadU(d32, even + j), oBehind = hn::LoadU(d32, odd + j - 1);
    const auto oddD = hn::Sub(oAhead, eHere);
    const auto sOdd = hn::Add(s, PrefixSum(d32, hn::Sub(hn::Add(eAhead, oddD), oBehind)));
    const auto sEven = hn::Sub(sOdd, oddD);
    s = hn::TableLookupLanes(sOdd, last);
    // Both pixels of a lane from the products times 256: the even one >> 8, the odd one << 8.
    const auto both = hn::OrAnd(hn::ShiftRight<8>(product(sEven)), hn::ShiftLeft<8>(product(sOdd)), mask);
    hn::StoreU(hn::BitCast(d8, both), d8, out + 4 * j);
  }
  carry = hn::GetLane(s);
  return j;
}
#endif

int WordBoxRow(const uint32_t* even, const uint32_t* odd, int hx, uint32_t& carry, uint32_t scale, uint8_t* out,
               int pairs) {
#if HWY_TARGET != HWY_SCALAR
  if (KELMIRA_BOX_MADD && scale < 0x8000u) return WordBoxRowOf<true>(even, odd, hx, carry, scale, out, pairs);
  return WordBoxRowOf<false>(even, odd, hx, carry, scale, out, pairs);
#else
  (void)even, (void)odd, (void)hx, (void)carry, (void)scale, (void)out, (void)pairs;
  return 0;
#endif
}

void ColumnUpdate8(uint16_t* sums, const uint8_t* add, const uint8_t* sub, int count) {
  ColumnUpdateOf(sums, add, sub, count);
}
void ColumnUpdate32(uint32_t* sums, const uint8_t* add, const uint8_t* sub, int count) {
  ColumnUpdateOf(sums, add, sub, count);
}
void BoxRow8(const uint16_t* cells, int window, uint32_t scale, uint8_t* out, int count) {
  BoxRowOf(cells, window, scale, out, count);
}
void BoxRow32(const uint32_t* cells, int window, uint32_t scale, uint8_t* out, int count) {
  BoxRowOf(cells, window, scale, out, count);
}

}  // namespace kelmira::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kelmira::predefined {
HWY_EXPORT(Row3x3);
HWY_EXPORT(Row3x3Words);
HWY_EXPORT(RowLarge);
HWY_EXPORT(ColumnUpdate8);
HWY_EXPORT(ColumnUpdate32);
HWY_EXPORT(BoxRow8);
HWY_EXPORT(BoxRow32);
HWY_EXPORT(BoxBlockOf);
HWY_EXPORT(BoxWindowStep);
HWY_EXPORT(WordColumnUpdate);
HWY_EXPORT(WordBoxRow);

void WideRow3x3(Kind kind, const uint8_t* a, const uint8_t* b, const uint8_t* c, uint8_t* out, int x0, int x1) {
  HWY_DYNAMIC_DISPATCH(Row3x3)(kind, a, b, c, out, x0, x1);
}
void WideRow3x3Words(Kind kind, const uint8_t* a, const uint8_t* b, const uint8_t* c, uint8_t* out, int x0, int x1) {
  HWY_DYNAMIC_DISPATCH(Row3x3Words)(kind, a, b, c, out, x0, x1);
}
void WideRowLarge(int n, bool uniform, const uint8_t* const* rows, uint8_t* out, int width, uint16_t* scratch) {
  HWY_DYNAMIC_DISPATCH(RowLarge)(n, uniform, rows, out, width, scratch);
}
void WideColumnUpdate(uint16_t* sums, const uint8_t* add, const uint8_t* sub, int count) {
  HWY_DYNAMIC_DISPATCH(ColumnUpdate8)(sums, add, sub, count);
}
void WideColumnUpdate(uint32_t* sums, const uint8_t* add, const uint8_t* sub, int count) {
  HWY_DYNAMIC_DISPATCH(ColumnUpdate32)(sums, add, sub, count);
}
void WideBoxRow(const uint16_t* cells, int window, uint32_t scale, uint8_t* out, int count) {
  HWY_DYNAMIC_DISPATCH(BoxRow8)(cells, window, scale, out, count);
}
void WideBoxRow(const uint32_t* cells, int window, uint32_t scale, uint8_t* out, int count) {
  HWY_DYNAMIC_DISPATCH(BoxRow32)(cells, window, scale, out, count);
}
int WideBoxBlock() { return HWY_DYNAMIC_DISPATCH(BoxBlockOf)(); }
void WideBoxWindowStep(uint32_t* sums, uint16_t* entering, const uint16_t* leaving, uint32_t scale, uint8_t* out,
                       int width, const BoxSource* source) {
  HWY_DYNAMIC_DISPATCH(BoxWindowStep)(sums, entering, leaving, scale, out, width, source);
}
void WideWordColumnUpdate(uint32_t* low, uint32_t* high, const uint8_t* add, const uint8_t* sub, int pairs) {
  HWY_DYNAMIC_DISPATCH(WordColumnUpdate)(low, high, add, sub, pairs);
}
int WideWordBoxRow(const uint32_t* even, const uint32_t* odd, int hx, uint32_t& carry, uint32_t scale, uint8_t* out,
                   int pairs) {
  return HWY_DYNAMIC_DISPATCH(WordBoxRow)(even, odd, hx, carry, scale, out, pairs);
}
}  // namespace kelmira::predefined
#endif
