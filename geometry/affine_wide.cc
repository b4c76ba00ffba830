// Wide walk of the affine resampling: 32-bit lanes hold the 16.16 positions, the source pixels
// come in by gathers, and the interpolation runs in the same unsigned 32-bit arithmetic as the
// scalar walk, so that every pixel has the same bits.
//
// Lane i of a row holds sx0 + j B + i A modulo 2^32: the scalar walk's i additions of A give the
// same integer. The zones reduce to clamps: in a margin the two pixels of that axis are the same
// edge pixel, which the kernel reproduces by taking the pair next to the edge with the weight 0
// (left, top) or the full weight v (right, bottom), since v p0 + v (p1 - p0) = v p1 exactly.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "geometry/affine_wide.cc"
#include "hwy/foreach_target.h"  // IWYU pragma: keep
#include "hwy/highway.h"

#include "geometry/affine_wide.h"

#include <cstddef>
#include <cstring>
#include <type_traits>

HWY_BEFORE_NAMESPACE();
namespace kelmira::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;
using affine::Walk;

#if HWY_TARGET != HWY_SCALAR

using DU = hn::ScalableTag<uint32_t>;
using DI = hn::RebindToSigned<DU>;
using VU = hn::Vec<DU>;
using VI = hn::Vec<DI>;

// Where the lanes of one vector read: the byte offset of a 32-bit word inside the source view,
// the bit shift that brings the first wanted byte down, and the lanes that sample inside.
struct Reads {
  VI offset;
  VU shift;
  hn::Mask<DU> inside;
  VU tx, ty;  // bilinear weights
};

// Nearest pixel, `Px` bytes a pixel. Inside when 0 <= s < size << 16 (one unsigned compare per
// axis); the others are clamped so that they still address the source, and masked later.
template <int Px>
HWY_INLINE Reads NearestReads(const Walk& w, VU sx, VU sy) {
  const DU du;
  const DI di;
  Reads r;
  r.inside = hn::And(hn::Lt(sx, hn::Set(du, static_cast<uint32_t>(w.w) << 16)),
                     hn::Lt(sy, hn::Set(du, static_cast<uint32_t>(w.h) << 16)));
  const VU col = hn::Min(hn::ShiftRight<16>(sx), hn::Set(du, static_cast<uint32_t>(w.w - 1)));
  const VU row = hn::Min(hn::ShiftRight<16>(sy), hn::Set(du, static_cast<uint32_t>(w.h - 1)));
  // The 32-bit word starts at the pixel, or as late as it can while ending inside the row.
  const VU byte = hn::Mul(col, hn::Set(du, static_cast<uint32_t>(Px)));
  const VU start = hn::Min(byte, hn::Set(du, static_cast<uint32_t>(w.w * Px - 4)));
  r.offset = hn::Add(hn::Mul(hn::BitCast(di, row), hn::Set(di, w.srcPitch)), hn::BitCast(di, start));
  r.shift = hn::ShiftLeft<3>(hn::Sub(byte, start));
  return r;
}

// Bilinear: the zones reduce to clamps of the left column and top row to [0, size - 2], with the
// weight 0 in the left or top margin and v in the right or bottom one.
template <int Px>
HWY_INLINE Reads BilinearReads(const Walk& w, VU sx, VU sy) {
  const DU du;
  const DI di;
  const int bits = w.bits;
  Reads r;
  const VI isx = hn::BitCast(di, sx), isy = hn::BitCast(di, sy);
  // Outside below 32768 and from (size << 16) + 32768 on (fits: size <= 32767).
  const auto inX = hn::And(hn::Gt(isx, hn::Set(di, 32767)), hn::Lt(isx, hn::Set(di, (w.w << 16) + 32768)));
  const auto inY = hn::And(hn::Gt(isy, hn::Set(di, 32767)), hn::Lt(isy, hn::Set(di, (w.h << 16) + 32768)));
  r.inside = hn::RebindMask(du, hn::And(inX, inY));
  const VI v = hn::Set(di, 1 << bits), zero = hn::Zero(di);
  const VI lastX = hn::Set(di, w.w - 2), lastY = hn::Set(di, w.h - 2);
  VI x0 = hn::Sub(hn::ShiftRight<16>(isx), hn::Set(di, 1));
  VI y0 = hn::Sub(hn::ShiftRight<16>(isy), hn::Set(di, 1));
  VI tx = hn::ShiftRightSame(hn::And(isx, hn::Set(di, 0xFFFF)), 16 - bits);
  VI ty = hn::ShiftRightSame(hn::And(isy, hn::Set(di, 0xFFFF)), 16 - bits);
  tx = hn::IfThenElse(hn::Lt(x0, zero), zero, hn::IfThenElse(hn::Gt(x0, lastX), v, tx));
  ty = hn::IfThenElse(hn::Lt(y0, zero), zero, hn::IfThenElse(hn::Gt(y0, lastY), v, ty));
  x0 = hn::Min(hn::Max(x0, zero), lastX);
  y0 = hn::Min(hn::Max(y0, zero), lastY);
  r.tx = hn::BitCast(du, tx);
  r.ty = hn::BitCast(du, ty);
  // BW8: columns x0 and x0 + 1 in one word that ends inside the row. BW16: the word at x0 holds
  // both. C24: the word at x0 holds p0 and the word 2 bytes later (shifted by 8) holds p1.
  const VI byte = hn::Mul(x0, hn::Set(di, Px));
  const VI start = Px == 1 ? hn::Min(byte, hn::Set(di, w.w - 4)) : byte;
  r.offset = hn::Add(hn::Mul(y0, hn::Set(di, w.srcPitch)), start);
  r.shift = hn::BitCast(du, hn::ShiftLeft<3>(hn::Sub(byte, start)));
  return r;
}

HWY_INLINE VU Gather(const Walk& w, VI offset) {
  return hn::BitCast(DU(), hn::GatherOffset(DI(), reinterpret_cast<const int32_t*>(w.src), offset));
}

// v p0 + t (p1 - p0) and its second stage, wrapping: the true values lie below 2^32.
HWY_INLINE VU Mix(VU p0, VU p1, VU t, int bits) { return hn::Add(hn::ShiftLeftSame(p0, bits), hn::Mul(t, hn::Sub(p1, p0))); }

HWY_INLINE VU Interpolate(VU p00, VU p01, VU p10, VU p11, const Reads& r, int bits) {
  const VU top = Mix(p00, p01, r.tx, bits), bottom = Mix(p10, p11, r.tx, bits);
  return hn::IfThenElseZero(r.inside, hn::ShiftRightSame(Mix(top, bottom, r.ty, bits), 2 * bits));
}

// One vector of gray outputs, Px 1 or 2.
template <int Px, bool Bilinear>
HWY_INLINE VU Gray(const Walk& w, VU sx, VU sy) {
  const VU mask = hn::Set(DU(), Px == 1 ? 0xFFu : 0xFFFFu);
  if constexpr (!Bilinear) {
    const Reads r = NearestReads<Px>(w, sx, sy);
    return hn::IfThenElseZero(r.inside, hn::And(hn::Shr(Gather(w, r.offset), r.shift), mask));
  } else {
    const Reads r = BilinearReads<Px>(w, sx, sy);
    const VU upper = hn::Shr(Gather(w, r.offset), r.shift);
    const VU lower = hn::Shr(Gather(w, hn::Add(r.offset, hn::Set(DI(), w.srcPitch))), r.shift);
    return Interpolate(hn::And(upper, mask), hn::And(hn::ShiftRight<8 * Px>(upper), mask), hn::And(lower, mask),
                       hn::And(hn::ShiftRight<8 * Px>(lower), mask), r, w.bits);
  }
}

// `count` outputs (a full vector or fewer) at `out`.
template <int Px, bool Bilinear>
HWY_INLINE void Emit(const Walk& w, VU sx, VU sy, uint8_t* out, int count) {
  const DU du;
  const DI di;
  constexpr size_t kMax = HWY_MAX_BYTES / sizeof(uint32_t);
  const int lanes = static_cast<int>(hn::Lanes(du));
  if constexpr (Px != 3) {
    using S = std::conditional_t<Px == 1, uint8_t, uint16_t>;
    const hn::Rebind<S, DI> ds;
    const auto p = hn::DemoteTo(ds, hn::BitCast(di, Gray<Px, Bilinear>(w, sx, sy)));
    if (count == lanes) return hn::StoreU(p, ds, reinterpret_cast<S*>(out));
    S last[kMax];
    hn::StoreU(p, ds, last);
    std::memcpy(out, last, static_cast<size_t>(count) * sizeof(S));
  } else {
    const hn::Rebind<uint8_t, DI> d8;
    const VU byte = hn::Set(du, 0xFFu);
    VU c[3];
    if constexpr (!Bilinear) {
      const Reads r = NearestReads<3>(w, sx, sy);
      const VU p = hn::IfThenElseZero(r.inside, hn::Shr(Gather(w, r.offset), r.shift));
      c[0] = hn::And(p, byte), c[1] = hn::And(hn::ShiftRight<8>(p), byte), c[2] = hn::ShiftRight<16>(hn::And(p, hn::Set(du, 0xFF0000u)));
    } else {
      const Reads r = BilinearReads<3>(w, sx, sy);
      const VI below = hn::Set(di, w.srcPitch), two = hn::Set(di, 2);
      const VU a = Gather(w, r.offset), b = hn::ShiftRight<8>(Gather(w, hn::Add(r.offset, two)));
      const VU e = Gather(w, hn::Add(r.offset, below)), f = hn::ShiftRight<8>(Gather(w, hn::Add(hn::Add(r.offset, below), two)));
      const auto channel = [&](VU x, int k) { return hn::And(hn::Shr(x, hn::Set(du, 8u * k)), byte); };
      for (int k = 0; k < 3; ++k) c[k] = Interpolate(channel(a, k), channel(b, k), channel(e, k), channel(f, k), r, w.bits);
    }
    const auto c0 = hn::DemoteTo(d8, hn::BitCast(di, c[0]));
    const auto c1 = hn::DemoteTo(d8, hn::BitCast(di, c[1]));
    const auto c2 = hn::DemoteTo(d8, hn::BitCast(di, c[2]));
    if (count == lanes) return hn::StoreInterleaved3(c0, c1, c2, d8, out);
    uint8_t last[3 * kMax];
    hn::StoreInterleaved3(c0, c1, c2, d8, last);
    std::memcpy(out, last, static_cast<size_t>(count) * 3);
  }
}

// BW8 without gathers. Positions are linear along a vector, so when both end lanes sample inside
// and the vector's pixels lie within 16 columns of at most four rows (five for bilinear), the
// pixels come from 16-byte loads of those rows through byte shuffles. The caller keeps the maps
// whose steps are small (|A|, |D| < 2^20), so that the end lanes bound every lane. `px`, `py` are
// lane 0's position. False when the vector does not qualify (nothing written).
// The four neighbours of each lane's sample from a few rows of a table: `fetch(k, dx)` gives every
// lane's sample of row k at column offset dx, and lane l takes rows which[l] and which[l] + 1, where
// `at(k)` marks the lanes whose upper row is k. Each row is fetched once and carried to the next step.
template <class V, class Fetch, class At>
HWY_INLINE void Neighbours(int rows, Fetch fetch, At at, V& p00, V& p01, V& p10, V& p11) {
  V u0 = fetch(1, 0), u1 = fetch(1, 1);
  p00 = fetch(0, 0), p01 = fetch(0, 1), p10 = u0, p11 = u1;
  for (int k = 1; k < rows; ++k) {
    const V l0 = fetch(k + 1, 0), l1 = fetch(k + 1, 1);
    const auto here = at(k);
    p00 = hn::IfThenElse(here, u0, p00);
    p01 = hn::IfThenElse(here, u1, p01);
    p10 = hn::IfThenElse(here, l0, p10);
    p11 = hn::IfThenElse(here, l1, p11);
    u0 = l0, u1 = l1;
  }
}

// The interpolation weights of the samples' fractions, in `bits` bits.
HWY_INLINE void Weights(VU sx, VU sy, int bits, VU& tx, VU& ty) {
  const VU fraction = hn::Set(DU(), 0xFFFFu);
  tx = hn::ShiftRightSame(hn::And(sx, fraction), 16 - bits);
  ty = hn::ShiftRightSame(hn::And(sy, fraction), 16 - bits);
}

template <bool Bilinear>
HWY_INLINE bool Shuffled(const Walk& w, VU sx, VU sy, uint32_t px, uint32_t py, uint8_t* out, int count) {
  const DU du;
  const DI di;
  const hn::Rebind<uint8_t, DI> d8;
  const hn::Full128<uint8_t> d16;
  const int lanes = static_cast<int>(hn::Lanes(du));
  const uint32_t qx = px + static_cast<uint32_t>(lanes - 1) * w.A, qy = py + static_cast<uint32_t>(lanes - 1) * w.D;
  // Nearest: 0 <= s < size << 16. Bilinear, inside zone only: 65536 <= s < size << 16.
  const uint32_t low = Bilinear ? 65536u : 0u;
  const uint32_t spanX = (static_cast<uint32_t>(w.w) << 16) - low, spanY = (static_cast<uint32_t>(w.h) << 16) - low;
  if (px - low >= spanX || qx - low >= spanX || py - low >= spanY || qy - low >= spanY) return false;
  const int back = Bilinear ? 1 : 0;  // the left column and top row of a bilinear sample
  const int c0 = static_cast<int>(px >> 16) - back, c1 = static_cast<int>(qx >> 16) - back;
  const int r0 = static_cast<int>(py >> 16) - back, r1 = static_cast<int>(qy >> 16) - back;
  const int cmin = c0 < c1 ? c0 : c1, rlo = r0 < r1 ? r0 : r1;
  const int rows = (r0 < r1 ? r1 - r0 : r0 - r1) + 1;  // rows of the vector's samples (top rows if bilinear)
  if ((c0 < c1 ? c1 - c0 : c0 - c1) > 15 || rows > 4) return false;
  // Bilinear reads each row twice, at xs and at xs + 1, so that idx picks both columns.
  const int xs = cmin < w.w - 16 - back ? cmin : w.w - 16 - back;
  const uint8_t* row = w.src + static_cast<ptrdiff_t>(rlo) * w.srcPitch + xs;
  const VU cols = hn::Sub(hn::ShiftRight<16>(sx), hn::Set(du, static_cast<uint32_t>(xs + back)));
  const auto idx = hn::DemoteTo(d8, hn::BitCast(di, cols));
  // Each lane's row, counted from rlo.
  const auto which = hn::DemoteTo(
      d8, hn::BitCast(di, hn::Sub(hn::ShiftRight<16>(sy), hn::Set(du, static_cast<uint32_t>(rlo + back)))));
  const auto at = [&](int k) { return hn::LoadU(d16, row + static_cast<ptrdiff_t>(k) * w.srcPitch); };
  hn::Vec<decltype(d8)> v;
  if constexpr (!Bilinear) {
    v = hn::TableLookupBytes(at(0), idx);
    for (int k = 1; k < rows; ++k) v = hn::IfThenElse(hn::Eq(which, hn::Set(d8, k)), hn::TableLookupBytes(at(k), idx), v);
  } else {
    const auto fetch = [&](int k, int dx) {
      return hn::TableLookupBytes(hn::LoadU(d16, row + static_cast<ptrdiff_t>(k) * w.srcPitch + dx), idx);
    };
    hn::Vec<decltype(d8)> p00, p01, p10, p11;
    Neighbours(rows, fetch, [&](int k) { return hn::Eq(which, hn::Set(d8, k)); }, p00, p01, p10, p11);
    const int bits = w.bits;
    VU tx, ty;
    Weights(sx, sy, bits, tx, ty);
    const VU top = Mix(hn::PromoteTo(du, p00), hn::PromoteTo(du, p01), tx, bits);
    const VU bottom = Mix(hn::PromoteTo(du, p10), hn::PromoteTo(du, p11), tx, bits);
    v = hn::DemoteTo(d8, hn::BitCast(di, hn::ShiftRightSame(Mix(top, bottom, ty, bits), 2 * bits)));
  }
  if (count == lanes) {
    hn::StoreU(v, d8, out);
  } else {
    uint8_t last[HWY_MAX_BYTES / sizeof(uint32_t)];
    hn::StoreU(v, d8, last);
    std::memcpy(out, last, static_cast<size_t>(count));
  }
  return true;
}

// Stores C24 pixels held as 0x00c2c1c0 in 32-bit lanes: a byte shuffle packs each block's four
// pixels into its first 12 bytes, a lane permutation joins the blocks' 12-byte runs. The store
// then writes a quarter of a vector of filler past the pixels; `room` says whether that lands on
// pixels of the row that a later store writes (else the pixels go through a buffer).
HWY_INLINE void StorePacked(VU v, uint8_t* out, int count, bool room) {
  const DU du;
  const hn::Repartition<uint8_t, DU> d8;
  constexpr size_t kLanes = HWY_MAX_BYTES / sizeof(uint32_t);
  alignas(16) static constexpr uint8_t kBytes[16] = {0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 3, 7, 11, 15};
  const int n = static_cast<int>(hn::Lanes(du));
  // Lane j of the result takes word j / 3 * 4 + j % 3 (j / 3 as (j * 43691) >> 17), the last
  // quarter any word.
  const VU j = hn::Iota(du, 0);
  const VU third = hn::ShiftRight<17>(hn::Mul(j, hn::Set(du, 43691u)));
  const VU word = hn::Add(hn::ShiftLeft<2>(third), hn::Sub(j, hn::Mul(third, hn::Set(du, 3u))));
  const VU from = hn::IfThenElse(hn::Lt(j, hn::Set(du, static_cast<uint32_t>(3 * n / 4))), word, j);
  const auto bytes = hn::LoadDup128(d8, kBytes);
  const VU packed = hn::TableLookupLanes(hn::BitCast(du, hn::TableLookupBytes(hn::BitCast(d8, v), bytes)),
                                         hn::IndicesFromVec(du, from));
  if (room && count == n) return hn::StoreU(hn::BitCast(d8, packed), d8, out);
  uint8_t last[4 * kLanes];
  hn::StoreU(hn::BitCast(d8, packed), d8, last);
  std::memcpy(out, last, static_cast<size_t>(count) * 3);
}

// The 24-bit pixel that starts `offset` bytes into the table of 32-bit words: two lane
// permutations and a funnel shift (the shift by 32 - s is split in two so that s = 0 gives 0).
HWY_INLINE VU Pixel3(VU table, VU offset) {
  const DU du;
  const VU q = hn::ShiftRight<2>(offset), s = hn::ShiftLeft<3>(hn::And(offset, hn::Set(du, 3u)));
  const VU lo = hn::TableLookupLanes(table, hn::IndicesFromVec(du, q));
  const VU hi = hn::TableLookupLanes(table, hn::IndicesFromVec(du, hn::Add(q, hn::Set(du, 1u))));
  const VU joined = hn::Or(hn::Shr(lo, s), hn::Shl(hn::ShiftLeft<1>(hi), hn::Sub(hn::Set(du, 31u), s)));
  return hn::And(joined, hn::Set(du, 0xFFFFFFu));
}

// C24 without gathers, on the same terms as Shuffled: the vector's samples lie in a run of bytes
// that one vector of words holds, in at most four rows (five for bilinear).
template <bool Bilinear>
HWY_INLINE bool Shuffled3(const Walk& w, VU sx, VU sy, uint32_t px, uint32_t py, uint8_t* out, int count,
                          bool room) {
  const DU du;
  const hn::Repartition<uint8_t, DU> dbytes;
  const int lanes = static_cast<int>(hn::Lanes(du));
  const uint32_t qx = px + static_cast<uint32_t>(lanes - 1) * w.A, qy = py + static_cast<uint32_t>(lanes - 1) * w.D;
  const uint32_t low = Bilinear ? 65536u : 0u;
  const uint32_t spanX = (static_cast<uint32_t>(w.w) << 16) - low, spanY = (static_cast<uint32_t>(w.h) << 16) - low;
  if (px - low >= spanX || qx - low >= spanX || py - low >= spanY || qy - low >= spanY) return false;
  const int back = Bilinear ? 1 : 0;
  const int c0 = static_cast<int>(px >> 16) - back, c1 = static_cast<int>(qx >> 16) - back;
  const int r0 = static_cast<int>(py >> 16) - back, r1 = static_cast<int>(qy >> 16) - back;
  const int cmin = c0 < c1 ? c0 : c1, cmax = c0 < c1 ? c1 : c0, rlo = r0 < r1 ? r0 : r1;
  const int rows = (r0 < r1 ? r1 - r0 : r0 - r1) + 1;
  const int tableBytes = 4 * lanes;
  if (rows > 4 || 3 * w.w < tableBytes) return false;
  const int start = 3 * cmin < 3 * w.w - tableBytes ? 3 * cmin : 3 * w.w - tableBytes;
  // The last sample's words q and q + 1 must lie in the table.
  if (3 * (cmax + back) - start > tableBytes - 5) return false;
  const uint8_t* row = w.src + static_cast<ptrdiff_t>(rlo) * w.srcPitch + start;
  const VU offset = hn::Sub(hn::Mul(hn::ShiftRight<16>(sx), hn::Set(du, 3u)), hn::Set(du, static_cast<uint32_t>(start + 3 * back)));
  const VU which = hn::Sub(hn::ShiftRight<16>(sy), hn::Set(du, static_cast<uint32_t>(rlo + back)));
  const auto at = [&](int k) { return hn::BitCast(du, hn::LoadU(dbytes, row + static_cast<ptrdiff_t>(k) * w.srcPitch)); };
  const VU byte = hn::Set(du, 0xFFu);
  const auto channel = [&](VU x, int k) { return hn::And(hn::ShiftRightSame(x, 8 * k), byte); };
  if constexpr (!Bilinear) {
    VU v = Pixel3(at(0), offset);
    for (int k = 1; k < rows; ++k) v = hn::IfThenElse(hn::Eq(which, hn::Set(du, k)), Pixel3(at(k), offset), v);
    StorePacked(v, out, count, room);
  } else {
    const VU offset1 = hn::Add(offset, hn::Set(du, 3u));
    const auto fetch = [&](int k, int dx) { return Pixel3(at(k), dx == 0 ? offset : offset1); };
    VU p00, p01, p10, p11;
    Neighbours(rows, fetch, [&](int k) { return hn::Eq(which, hn::Set(du, k)); }, p00, p01, p10, p11);
    const int bits = w.bits;
    VU tx, ty;
    Weights(sx, sy, bits, tx, ty);
    VU c[3];
    for (int k = 0; k < 3; ++k) {
      const VU top = Mix(channel(p00, k), channel(p01, k), tx, bits);
      const VU bottom = Mix(channel(p10, k), channel(p11, k), tx, bits);
      c[k] = hn::ShiftRightSame(Mix(top, bottom, ty, bits), 2 * bits);
    }
    StorePacked(hn::Or(hn::Or(c[0], hn::ShiftLeft<8>(c[1])), hn::ShiftLeft<16>(c[2])), out, count, room);
  }
  return true;
}

// The destination in tiles of kTileRows rows by kTileVectors vectors: a tile's source footprint
// stays in the first-level cache and its pages in the TLB, whatever the turn.
constexpr int kTileRows = 32, kTileVectors = 8;

template <int Px, bool Bilinear>
void Run(const Walk& w) {
  const DU du;
  const int lanes = static_cast<int>(hn::Lanes(du));
  const VU iota = hn::Iota(du, 0);
  const VU laneA = hn::Mul(iota, hn::Set(du, w.A)), laneD = hn::Mul(iota, hn::Set(du, w.D));
  const VU stepA = hn::Set(du, w.A * static_cast<uint32_t>(lanes));
  const VU stepD = hn::Set(du, w.D * static_cast<uint32_t>(lanes));
  const int tileWidth = kTileVectors * lanes;
  const auto small = [](uint32_t step) { return step + (1u << 20) < (1u << 21); };
  const bool shuffle = (Px == 3 || w.w >= 17) && small(w.A) && small(w.D);
  for (int j0 = 0; j0 < w.dh; j0 += kTileRows) {
    const int j1 = j0 + kTileRows < w.dh ? j0 + kTileRows : w.dh;
    for (int i0 = 0; i0 < w.dw; i0 += tileWidth) {
      const int i1 = i0 + tileWidth < w.dw ? i0 + tileWidth : w.dw;
      const uint32_t ii = static_cast<uint32_t>(i0);
      for (int j = j0; j < j1; ++j) {
        const uint32_t jj = static_cast<uint32_t>(j);
        VU sx = hn::Add(hn::Set(du, w.sx0 + jj * w.B + ii * w.A), laneA);
        VU sy = hn::Add(hn::Set(du, w.sy0 + jj * w.E + ii * w.D), laneD);
        uint8_t* out = w.dst + static_cast<ptrdiff_t>(j) * w.dstPitch;
        const uint32_t rowX = w.sx0 + jj * w.B, rowY = w.sy0 + jj * w.E;
        for (int i = i0; i < i1; i += lanes) {
          const int count = i1 - i < lanes ? i1 - i : lanes;
          const uint32_t at = static_cast<uint32_t>(i);
          bool done = false;
          if constexpr (Px == 1)
            done = shuffle && Shuffled<Bilinear>(w, sx, sy, rowX + at * w.A, rowY + at * w.D, out + i, count);
          if constexpr (Px == 3)
            done = shuffle && Shuffled3<Bilinear>(w, sx, sy, rowX + at * w.A, rowY + at * w.D, out + 3 * i, count,
                                                  3 * i + 4 * lanes <= 3 * w.dw);
          if (!done) Emit<Px, Bilinear>(w, sx, sy, out + static_cast<ptrdiff_t>(i) * Px, count);
          sx = hn::Add(sx, stepA);
          sy = hn::Add(sy, stepD);
        }
      }
    }
  }
}

template <int Px>
bool WalkPx(const Walk& w) {
  if (w.bits == 0)
    Run<Px, false>(w);
  else
    Run<Px, true>(w);
  return true;
}

#else
template <int Px>
bool WalkPx(const Walk&) {
  return false;
}
#endif

bool Walk8(const Walk& w) { return WalkPx<1>(w); }
bool Walk16(const Walk& w) { return WalkPx<2>(w); }
bool Walk24(const Walk& w) { return WalkPx<3>(w); }

}  // namespace kelmira::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kelmira::affine {
HWY_EXPORT(Walk8);
HWY_EXPORT(Walk16);
HWY_EXPORT(Walk24);

bool WideFits(const Walk& w, int pixelBytes) {
  if (w.w * pixelBytes < 4 || w.h < 2 || w.w > 32767 || w.h > 32767 || w.srcPitch <= 0) return false;
  const long long span = static_cast<long long>(w.h) * w.srcPitch + static_cast<long long>(w.w) * pixelBytes;
  return span < (1ll << 31);
}

bool WideWalk8(const Walk& w) { return HWY_DYNAMIC_DISPATCH(Walk8)(w); }
bool WideWalk16(const Walk& w) { return HWY_DYNAMIC_DISPATCH(Walk16)(w); }
bool WideWalk24(const Walk& w) { return HWY_DYNAMIC_DISPATCH(Walk24)(w); }
}  // namespace kelmira::affine
#endif
