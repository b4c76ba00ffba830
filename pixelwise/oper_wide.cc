// Wide kernels of LumOper and LumCopy on bytes: one loop per code over full vectors, then 8-byte
// vectors, then single bytes, each step computing exactly what the scalar code table computes.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "pixelwise/oper_wide.cc"
#include "hwy/foreach_target.h"  // IWYU pragma: keep
#include "hwy/highway.h"

#include <cstring>

#include "foundation/wide_ops-inl.h"
#include "pixelwise/oper_codes.h"
#include "pixelwise/oper_wide.h"

HWY_BEFORE_NAMESPACE();
namespace kelmira::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// One operand: a row, or a constant in every lane.
struct FromRow {
  const uint8_t* p;
  template <class D>
  HWY_INLINE hn::Vec<D> Load(D d, size_t i) const {
    return hn::LoadU(d, p + i);
  }
  uint8_t At(size_t i) const { return p[i]; }
};
struct FromConst {
  uint8_t v;
  template <class D>
  HWY_INLINE hn::Vec<D> Load(D d, size_t) const {
    return hn::Set(d, v);
  }
  uint8_t At(size_t) const { return v; }
};

#if HWY_TARGET != HWY_SCALAR
// Byte products: the even and odd bytes of each 16-bit lane are multiplied apart, so that no
// lane crosses into its neighbour. Products of two bytes fit in 16 bits.
template <class D, class V>
HWY_INLINE V MulClip8(D d, V a, V b) {
  const hn::Repartition<uint16_t, D> dw;
  const auto lo = hn::Set(dw, 0x00FF);
  const auto aw = hn::BitCast(dw, a), bw = hn::BitCast(dw, b);
  const auto even = hn::Min(hn::Mul(hn::And(aw, lo), hn::And(bw, lo)), lo);
  const auto odd = hn::Min(hn::Mul(hn::ShiftRight<8>(aw), hn::ShiftRight<8>(bw)), lo);
  return hn::BitCast(d, hn::Or(even, hn::ShiftLeft<8>(odd)));
}
template <class D, class V>
HWY_INLINE V MulHigh8(D d, V a, V b) {  // (a * b) >> 8
  const hn::Repartition<uint16_t, D> dw;
  const auto lo = hn::Set(dw, 0x00FF);
  const auto aw = hn::BitCast(dw, a), bw = hn::BitCast(dw, b);
  const auto even = hn::ShiftRight<8>(hn::Mul(hn::And(aw, lo), hn::And(bw, lo)));
  const auto odd = hn::And(hn::Mul(hn::ShiftRight<8>(aw), hn::ShiftRight<8>(bw)), hn::Set(dw, 0xFF00));
  return hn::BitCast(d, hn::Or(even, odd));
}
// (a + b) >> 1 rounded down: the rounded-up average less the carried-out low bit.
template <class D, class V>
HWY_INLINE V AverageDown(D d, V a, V b) {
  return hn::Sub(hn::AverageRound(a, b), hn::And(hn::Xor(a, b), hn::Set(d, 1)));
}
template <class D, class V>
HWY_INLINE V MaxIfZero(D d, V v) {  // 255 where v is 0, else 0
  return hn::VecFromMask(d, hn::Eq(v, hn::Zero(d)));
}

#define KELMIRA_OP(Name, expr)                            \
  struct Name {                                           \
    template <class D, class V>                           \
    HWY_INLINE V operator()(D d, V a, V b) const {        \
      (void)d;                                            \
      return expr;                                        \
    }                                                     \
  };
KELMIRA_OP(OpAdd, hn::SaturatedAdd(a, b))
KELMIRA_OP(OpSub, hn::SaturatedSub(a, b))
KELMIRA_OP(OpMul, MulClip8(d, a, b))
KELMIRA_OP(OpAvg, AverageDown(d, a, b))
KELMIRA_OP(OpHalfDiff, AverageDown(d, a, hn::Not(b)))
KELMIRA_OP(OpScaledMul, MulHigh8(d, a, b))
KELMIRA_OP(OpAnd, hn::And(a, b))
KELMIRA_OP(OpOr, hn::Or(a, b))
KELMIRA_OP(OpXor, hn::Xor(a, b))
KELMIRA_OP(OpLogAnd, hn::And(NonZeroMask(d, a), NonZeroMask(d, b)))
KELMIRA_OP(OpLogOr, NonZeroMask(d, hn::Or(a, b)))
KELMIRA_OP(OpLogXor, hn::Xor(NonZeroMask(d, a), NonZeroMask(d, b)))
KELMIRA_OP(OpMin, hn::Min(a, b))
KELMIRA_OP(OpMax, hn::Max(a, b))
KELMIRA_OP(OpEq, hn::VecFromMask(d, hn::Eq(a, b)))
KELMIRA_OP(OpNe, hn::Not(hn::VecFromMask(d, hn::Eq(a, b))))
KELMIRA_OP(OpGe, MaxIfZero(d, hn::SaturatedSub(b, a)))
KELMIRA_OP(OpLe, MaxIfZero(d, hn::SaturatedSub(a, b)))
KELMIRA_OP(OpGt, NonZeroMask(d, hn::SaturatedSub(a, b)))
KELMIRA_OP(OpLt, NonZeroMask(d, hn::SaturatedSub(b, a)))
KELMIRA_OP(OpAbsDiff, AbsDiffU(a, b))
#undef KELMIRA_OP

// d = op(a, b) over n bytes: full vectors, then 8-byte vectors, then single bytes.
template <class Op, class LA, class LB>
HWY_INLINE void Loop(Op op, LA la, LB lb, uint8_t* dst, size_t n) {
  const hn::ScalableTag<uint8_t> d;
  const size_t lanes = hn::Lanes(d);
  size_t i = 0;
  for (; i + 2 * lanes <= n; i += 2 * lanes) {
    const auto r0 = op(d, la.Load(d, i), lb.Load(d, i));
    const auto r1 = op(d, la.Load(d, i + lanes), lb.Load(d, i + lanes));
    hn::StoreU(r0, d, dst + i);
    hn::StoreU(r1, d, dst + i + lanes);
  }
  for (; i + lanes <= n; i += lanes) hn::StoreU(op(d, la.Load(d, i), lb.Load(d, i)), d, dst + i);
  const hn::CappedTag<uint8_t, 8> d8;
  for (; i + 8 <= n; i += 8) hn::StoreU(op(d8, la.Load(d8, i), lb.Load(d8, i)), d8, dst + i);
  for (; i < n; ++i) {
    const hn::CappedTag<uint8_t, 8> d1;  // one byte through an 8-byte vector
    uint8_t av[8] = {la.At(i)}, bv[8] = {lb.At(i)}, out[8];
    hn::StoreU(op(d1, hn::LoadU(d1, av), hn::LoadU(d1, bv)), d1, out);
    dst[i] = out[0];
  }
}

// Codes 21 and 22: where the test on a holds, d takes b; elsewhere d keeps its byte.
template <bool kWhereZero, class LA, class LB>
HWY_INLINE void SetWhere(LA la, LB lb, uint8_t* dst, size_t n) {
  const hn::ScalableTag<uint8_t> d;
  const size_t lanes = hn::Lanes(d);
  size_t i = 0;
  for (; i + lanes <= n; i += lanes) {
    const auto zero = hn::Eq(la.Load(d, i), hn::Zero(d));
    const auto b = lb.Load(d, i), old = hn::LoadU(d, dst + i);
    hn::StoreU(kWhereZero ? hn::IfThenElse(zero, b, old) : hn::IfThenElse(zero, old, b), d, dst + i);
  }
  for (; i < n; ++i)
    if ((la.At(i) == 0) == kWhereZero) dst[i] = lb.At(i);
}

template <class LA, class LB>
HWY_INLINE void Dispatch(int code, LA la, LB lb, uint8_t* dst, size_t n) {
  switch (code) {
    case 2: return Loop(OpAdd(), la, lb, dst, n);
    case 3: return Loop(OpSub(), la, lb, dst, n);
    case 4: return Loop(OpMul(), la, lb, dst, n);
    case 9: return Loop(OpAvg(), la, lb, dst, n);
    case 10: return Loop(OpHalfDiff(), la, lb, dst, n);
    case 11: return Loop(OpScaledMul(), la, lb, dst, n);
    case 13: return Loop(OpAnd(), la, lb, dst, n);
    case 14: return Loop(OpOr(), la, lb, dst, n);
    case 15: return Loop(OpXor(), la, lb, dst, n);
    case 16: return Loop(OpLogAnd(), la, lb, dst, n);
    case 17: return Loop(OpLogOr(), la, lb, dst, n);
    case 18: return Loop(OpLogXor(), la, lb, dst, n);
    case 19: return Loop(OpMin(), la, lb, dst, n);
    case 20: return Loop(OpMax(), la, lb, dst, n);
    case 21: return SetWhere<true>(la, lb, dst, n);
    case 22: return SetWhere<false>(la, lb, dst, n);
    case 23: return Loop(OpEq(), la, lb, dst, n);
    case 24: return Loop(OpNe(), la, lb, dst, n);
    case 25: return Loop(OpGe(), la, lb, dst, n);
    case 26: return Loop(OpLe(), la, lb, dst, n);
    case 27: return Loop(OpGt(), la, lb, dst, n);
    case 28: return Loop(OpLt(), la, lb, dst, n);
    case 33: return Loop(OpAbsDiff(), la, lb, dst, n);
    default: return;
  }
}
#endif  // HWY_TARGET != HWY_SCALAR

void BinaryRow(int code, const uint8_t* a, uint8_t aValue, const uint8_t* b, uint8_t bValue, uint8_t* d, size_t n) {
#if HWY_TARGET == HWY_SCALAR
  // One lane gains nothing: the code table, byte by byte.
  for (size_t i = 0; i < n; ++i) {
    const uint32_t x = a ? a[i] : aValue, y = b ? b[i] : bValue;
    if (code == 21 || code == 22) {
      if ((x == 0) == (code == 21)) d[i] = static_cast<uint8_t>(y);
    } else {
      d[i] = static_cast<uint8_t>(oper::Value(code, x, y, oper::kArith8));
    }
  }
#else
  if (a && b) return Dispatch(code, FromRow{a}, FromRow{b}, d, n);
  if (b) return Dispatch(code, FromConst{aValue}, FromRow{b}, d, n);
  if (a) return Dispatch(code, FromRow{a}, FromConst{bValue}, d, n);
  Dispatch(code, FromConst{aValue}, FromConst{bValue}, d, n);
#endif
}

// Two BW16 rows: the byte ops above serve 16-bit lanes unchanged (saturation, averages, masks
// and comparisons are lane-width generic), so each cheap code of two BW16 images has a wide twin
// that gives the scalar pixels at any split of the row.
#if HWY_TARGET != HWY_SCALAR
template <class Op>
HWY_INLINE void Loop16(Op op, const uint16_t* a, const uint16_t* b, uint16_t* dst, size_t n) {
  const hn::ScalableTag<uint16_t> d;
  const size_t lanes = hn::Lanes(d);
  size_t i = 0;
  for (; i + 2 * lanes <= n; i += 2 * lanes) {
    const auto r0 = op(d, hn::LoadU(d, a + i), hn::LoadU(d, b + i));
    const auto r1 = op(d, hn::LoadU(d, a + i + lanes), hn::LoadU(d, b + i + lanes));
    hn::StoreU(r0, d, dst + i);
    hn::StoreU(r1, d, dst + i + lanes);
  }
  for (; i + lanes <= n; i += lanes) hn::StoreU(op(d, hn::LoadU(d, a + i), hn::LoadU(d, b + i)), d, dst + i);
  const hn::CappedTag<uint16_t, 1> d1;  // sources may sit at odd addresses: vector loads only
  for (; i < n; ++i) hn::StoreU(op(d1, hn::LoadU(d1, a + i), hn::LoadU(d1, b + i)), d1, dst + i);
}
#endif

void BinaryRow16(int code, const uint16_t* a, const uint16_t* b, uint16_t* dst, size_t n) {
#if HWY_TARGET == HWY_SCALAR
  constexpr oper::Arith kTwo16{65535, 16, 8};
  for (size_t i = 0; i < n; ++i) {
    uint16_t x, y;
    std::memcpy(&x, a + i, 2);
    std::memcpy(&y, b + i, 2);
    const uint16_t r = static_cast<uint16_t>(oper::Value(code, x, y, kTwo16));
    std::memcpy(dst + i, &r, 2);
  }
#else
  switch (code) {
    case 2: return Loop16(OpAdd(), a, b, dst, n);
    case 3: return Loop16(OpSub(), a, b, dst, n);
    case 9: return Loop16(OpAvg(), a, b, dst, n);
    case 10: return Loop16(OpHalfDiff(), a, b, dst, n);
    case 13: return Loop16(OpAnd(), a, b, dst, n);
    case 14: return Loop16(OpOr(), a, b, dst, n);
    case 15: return Loop16(OpXor(), a, b, dst, n);
    case 16: return Loop16(OpLogAnd(), a, b, dst, n);
    case 17: return Loop16(OpLogOr(), a, b, dst, n);
    case 18: return Loop16(OpLogXor(), a, b, dst, n);
    case 19: return Loop16(OpMin(), a, b, dst, n);
    case 20: return Loop16(OpMax(), a, b, dst, n);
    case 23: return Loop16(OpEq(), a, b, dst, n);
    case 24: return Loop16(OpNe(), a, b, dst, n);
    case 25: return Loop16(OpGe(), a, b, dst, n);
    case 26: return Loop16(OpLe(), a, b, dst, n);
    case 27: return Loop16(OpGt(), a, b, dst, n);
    case 28: return Loop16(OpLt(), a, b, dst, n);
    case 33: return Loop16(OpAbsDiff(), a, b, dst, n);
    default: return;
  }
#endif
}

void CopyRow(const uint8_t* HWY_RESTRICT s, uint8_t* HWY_RESTRICT dst, size_t n) {
  const hn::ScalableTag<uint8_t> d;
  const size_t lanes = hn::Lanes(d);
  size_t i = 0;
  for (; i + 4 * lanes <= n; i += 4 * lanes) {
    const auto v0 = hn::LoadU(d, s + i), v1 = hn::LoadU(d, s + i + lanes);
    const auto v2 = hn::LoadU(d, s + i + 2 * lanes), v3 = hn::LoadU(d, s + i + 3 * lanes);
    hn::StoreU(v0, d, dst + i);
    hn::StoreU(v1, d, dst + i + lanes);
    hn::StoreU(v2, d, dst + i + 2 * lanes);
    hn::StoreU(v3, d, dst + i + 3 * lanes);
  }
  for (; i + lanes <= n; i += lanes) hn::StoreU(hn::LoadU(d, s + i), d, dst + i);
  for (; i < n; ++i) dst[i] = s[i];
}

void FillRow(uint8_t value, uint8_t* HWY_RESTRICT dst, size_t n) {
  const hn::ScalableTag<uint8_t> d;
  const size_t lanes = hn::Lanes(d);
  const auto v = hn::Set(d, value);
  size_t i = 0;
  for (; i + 2 * lanes <= n; i += 2 * lanes) {
    hn::StoreU(v, d, dst + i);
    hn::StoreU(v, d, dst + i + lanes);
  }
  for (; i + lanes <= n; i += lanes) hn::StoreU(v, d, dst + i);
  for (; i < n; ++i) dst[i] = value;
}

}  // namespace kelmira::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kelmira::oper {
HWY_EXPORT(BinaryRow);
HWY_EXPORT(BinaryRow16);
HWY_EXPORT(CopyRow);
HWY_EXPORT(FillRow);

bool WideHasCode(int code) {
  constexpr CodeSet kWide{{2, 4}, {9, 11}, {13, 28}, {33, 33}};
  return kWide.Has(code);
}
void WideBinaryRow(int code, const uint8_t* a, uint8_t aValue, const uint8_t* b, uint8_t bValue, uint8_t* d,
                   size_t n) {
  HWY_DYNAMIC_DISPATCH(BinaryRow)(code, a, aValue, b, bValue, d, n);
}
bool WideHasCode16(int code) {
  constexpr CodeSet kWide16{{2, 3}, {9, 10}, {13, 20}, {23, 28}, {33, 33}};
  return kWide16.Has(code);
}
void WideBinaryRow16(int code, const uint16_t* a, const uint16_t* b, uint16_t* d, size_t n) {
  HWY_DYNAMIC_DISPATCH(BinaryRow16)(code, a, b, d, n);
}
void WideCopyRow(const uint8_t* s, uint8_t* d, size_t n) { HWY_DYNAMIC_DISPATCH(CopyRow)(s, d, n); }
void WideFillRow(uint8_t value, uint8_t* d, size_t n) { HWY_DYNAMIC_DISPATCH(FillRow)(value, d, n); }
}  // namespace kelmira::oper
#endif
