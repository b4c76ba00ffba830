// Wide kernels of the predefined filters (ZBW8): the 3x3 rows in 16-bit lanes with the pack's
// unsigned saturation, the separable 5x5 and 7x7 rows, and the running-box helpers. Every kernel
// gives the bits of the scalar formula (the Laplacian X and Y saturate, as their wide form must).
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filters/predefined_wide.cc"
#include "hwy/foreach_target.h"  // IWYU pragma: keep
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
HWY_INLINE void Row3x3Of(const uint8_t* a, const uint8_t* b, const uint8_t* c, uint8_t* out, int x0, int x1) {
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

// ----- 5x5 and 7x7 -----

// Separable, exact in integers: the vertical weighted sums of each column (below 2^15) go to
// `columns`, then each output takes the horizontal weighted sum in 32-bit lanes (below 2^31 for
// the boxes' products too), the multiply and the shift of the scalar formula.
template <int N, bool Uniform>
HWY_INLINE void RowLargeOf(const uint8_t* const* rows, uint8_t* out, int x0, int x1, uint16_t* columns) {
  constexpr int R = N / 2;
  constexpr int32_t kW5[5] = {1, 4, 6, 4, 1};
  constexpr int32_t kW7[7] = {1, 6, 15, 20, 15, 6, 1};
  const int32_t* w = N == 5 ? kW5 : kW7;
  const hn::ScalableTag<uint16_t> d16;
  const hn::Rebind<uint8_t, decltype(d16)> d8;
  const int lanes16 = static_cast<int>(hn::Lanes(d16));
  const int c0 = x0 - R, c1 = x1 + R;  // columns needed
  int x = c0;
  for (; x + lanes16 <= c1; x += lanes16) {
    auto sum = hn::Zero(d16);
    for (int j = 0; j < N; ++j) {
      const auto p = hn::PromoteTo(d16, hn::LoadU(d8, rows[j] + x));
      sum = Uniform ? hn::Add(sum, p) : hn::Add(sum, hn::Mul(p, hn::Set(d16, static_cast<uint16_t>(w[j]))));
    }
    hn::StoreU(sum, d16, columns + x);
  }
  for (; x < c1; ++x) {
    uint32_t sum = 0;
    for (int j = 0; j < N; ++j) sum += Uniform ? rows[j][x] : rows[j][x] * static_cast<uint32_t>(w[j]);
    columns[x] = static_cast<uint16_t>(sum);
  }
  const hn::ScalableTag<int32_t> d32;
  const hn::Rebind<uint16_t, decltype(d32)> dh;
  const hn::Rebind<uint8_t, decltype(d32)> d8q;
  const int lanes = static_cast<int>(hn::Lanes(d32));
  const int32_t scale = N == 5 ? 335544 : 171196;
  const auto finish = [&](auto v) {
    if constexpr (Uniform) return hn::ShiftRight<23>(hn::Mul(v, hn::Set(d32, scale)));
    return hn::ShiftRight<N == 5 ? 8 : 12>(v);
  };
  x = x0;
  for (; x + lanes <= x1; x += lanes) {
    auto sum = hn::Zero(d32);
    for (int i = 0; i < N; ++i) {
      const auto p = hn::PromoteTo(d32, hn::LoadU(dh, columns + x - R + i));
      sum = Uniform ? hn::Add(sum, p) : hn::Add(sum, hn::Mul(p, hn::Set(d32, w[i])));
    }
    hn::StoreU(hn::DemoteTo(d8q, finish(sum)), d8q, out + x);
  }
  for (; x < x1; ++x) {
    uint32_t sum = 0;
    for (int i = 0; i < N; ++i) sum += Uniform ? columns[x - R + i] : columns[x - R + i] * static_cast<uint32_t>(w[i]);
    out[x] = static_cast<uint8_t>(Uniform ? sum * static_cast<uint32_t>(scale) >> 23 : sum >> (N == 5 ? 8 : 12));
  }
}

void RowLarge(int n, bool uniform, const uint8_t* const* rows, uint8_t* out, int x0, int x1, uint16_t* columns) {
  if (n == 5) uniform ? RowLargeOf<5, true>(rows, out, x0, x1, columns) : RowLargeOf<5, false>(rows, out, x0, x1, columns);
  if (n == 7) uniform ? RowLargeOf<7, true>(rows, out, x0, x1, columns) : RowLargeOf<7, false>(rows, out, x0, x1, columns);
}

// ----- the running box -----

void ColumnUpdate(uint32_t* sums, const uint8_t* add, const uint8_t* sub, int count) {
  const hn::ScalableTag<uint32_t> d32;
  const hn::Rebind<uint8_t, decltype(d32)> d8;
  const int lanes = static_cast<int>(hn::Lanes(d32));
  int x = 0;
  for (; x + lanes <= count; x += lanes) {
    const auto in = hn::PromoteTo(d32, hn::LoadU(d8, add + x)), out = hn::PromoteTo(d32, hn::LoadU(d8, sub + x));
    hn::StoreU(hn::Sub(hn::Add(hn::LoadU(d32, sums + x), in), out), d32, sums + x);
  }
  for (; x < count; ++x) sums[x] += static_cast<uint32_t>(add[x]) - static_cast<uint32_t>(sub[x]);
}

// The running sum along the row is a prefix sum of the differences cells[x + window - 1] -
// cells[x - 1]: four lanes at a time, scanned inside the vector (two shifted adds) and carried
// from the last lane. Wrapping 32-bit arithmetic, so the sums are those of the scalar loop.
void BoxRow(const uint32_t* cells, int window, uint32_t scale, uint8_t* out, int count, uint32_t* scratch) {
  uint32_t sum = 0;
  for (int i = 0; i < window; ++i) sum += cells[i];
  scratch[0] = sum;
  int x = 1;
#if HWY_TARGET != HWY_SCALAR
  const hn::FixedTag<uint32_t, 4> d4;
  auto carry = hn::Set(d4, sum);
  for (; x + 4 <= count; x += 4) {
    auto d = hn::Sub(hn::LoadU(d4, cells + x + window - 1), hn::LoadU(d4, cells + x - 1));
    d = hn::Add(d, hn::ShiftLeftLanes<1>(d4, d));
    d = hn::Add(d, hn::ShiftLeftLanes<2>(d4, d));
    const auto s = hn::Add(d, carry);
    hn::StoreU(s, d4, scratch + x);
    carry = hn::Broadcast<3>(s);
  }
  if (x > 1) sum = scratch[x - 1];
#endif
  for (; x < count; ++x) {
    sum += cells[x + window - 1] - cells[x - 1];
    scratch[x] = sum;
  }
  const hn::ScalableTag<uint32_t> d32;
  const hn::Rebind<int32_t, decltype(d32)> di;
  const hn::Rebind<uint8_t, decltype(d32)> d8;
  const int lanes = static_cast<int>(hn::Lanes(d32));
  const auto vScale = hn::Set(d32, scale);
  x = 0;
  for (; x + lanes <= count; x += lanes) {
    const auto v = hn::ShiftRight<24>(hn::Mul(hn::LoadU(d32, scratch + x), vScale));
    hn::StoreU(hn::DemoteTo(d8, hn::BitCast(di, v)), d8, out + x);
  }
  for (; x < count; ++x) out[x] = static_cast<uint8_t>((scratch[x] * scale) >> 24);
}

}  // namespace kelmira::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kelmira::predefined {
HWY_EXPORT(Row3x3);
HWY_EXPORT(RowLarge);
HWY_EXPORT(ColumnUpdate);
HWY_EXPORT(BoxRow);

void WideRow3x3(Kind kind, const uint8_t* a, const uint8_t* b, const uint8_t* c, uint8_t* out, int x0, int x1) {
  HWY_DYNAMIC_DISPATCH(Row3x3)(kind, a, b, c, out, x0, x1);
}

void WideRowLarge(int n, bool uniform, const uint8_t* const* rows, uint8_t* out, int x0, int x1, uint16_t* columns) {
  HWY_DYNAMIC_DISPATCH(RowLarge)(n, uniform, rows, out, x0, x1, columns);
}
void WideColumnUpdate(uint32_t* sums, const uint8_t* add, const uint8_t* sub, int count) {
  HWY_DYNAMIC_DISPATCH(ColumnUpdate)(sums, add, sub, count);
}
void WideBoxRow(const uint32_t* cells, int window, uint32_t scale, uint8_t* out, int count, uint32_t* scratch) {
  HWY_DYNAMIC_DISPATCH(BoxRow)(cells, window, scale, out, count, scratch);
}
}  // namespace kelmira::predefined
#endif
