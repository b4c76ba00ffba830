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

// One vector of outputs starting at column i of row j; `Px` is 1 or 2 bytes.
template <int Px, bool Bilinear>
struct Kernel {
  using DU = hn::ScalableTag<uint32_t>;
  using DI = hn::RebindToSigned<DU>;
  using VU = hn::Vec<DU>;
  using VI = hn::Vec<DI>;

  static HWY_INLINE VU Sample(const Walk& w, VU sx, VU sy) {
    const DU du;
    const DI di;
    const int32_t* base = reinterpret_cast<const int32_t*>(w.src);
    const VI pitch = hn::Set(di, w.srcPitch);
    if constexpr (!Bilinear) {
      // Inside when 0 <= s < size << 16, one unsigned compare per axis.
      const auto inside = hn::And(hn::Lt(sx, hn::Set(du, static_cast<uint32_t>(w.w) << 16)),
                                  hn::Lt(sy, hn::Set(du, static_cast<uint32_t>(w.h) << 16)));
      // Clamped so that lanes outside still address the source; their result is masked.
      const VU col = hn::Min(hn::ShiftRight<16>(sx), hn::Set(du, static_cast<uint32_t>(w.w - 1)));
      const VU row = hn::Min(hn::ShiftRight<16>(sy), hn::Set(du, static_cast<uint32_t>(w.h - 1)));
      // A 32-bit read that ends inside the row: start at most 4 / Px pixels before its end.
      const VU start = hn::Min(col, hn::Set(du, static_cast<uint32_t>(w.w - 4 / Px)));
      const VI offset = hn::Add(hn::Mul(hn::BitCast(di, row), pitch), hn::BitCast(di, hn::ShiftLeft<Px - 1>(start)));
      const VU word = hn::BitCast(du, hn::GatherOffset(di, base, offset));
      const VU shift = hn::ShiftLeft<Px == 1 ? 3 : 4>(hn::Sub(col, start));
      const VU p = hn::And(hn::Shr(word, shift), hn::Set(du, Px == 1 ? 0xFFu : 0xFFFFu));
      return hn::IfThenElseZero(inside, p);
    } else {
      const int bits = w.bits;
      const VI isx = hn::BitCast(di, sx), isy = hn::BitCast(di, sy);
      // Outside below 32768 and from (size << 16) + 32768 on (fits: size <= 32767).
      const auto inX = hn::And(hn::Gt(isx, hn::Set(di, 32767)), hn::Lt(isx, hn::Set(di, (w.w << 16) + 32768)));
      const auto inY = hn::And(hn::Gt(isy, hn::Set(di, 32767)), hn::Lt(isy, hn::Set(di, (w.h << 16) + 32768)));
      const auto inside = hn::RebindMask(du, hn::And(inX, inY));
      const VI v = hn::Set(di, 1 << bits);
      VI x0 = hn::Sub(hn::ShiftRight<16>(isx), hn::Set(di, 1));
      VI y0 = hn::Sub(hn::ShiftRight<16>(isy), hn::Set(di, 1));
      VI tx = hn::ShiftRightSame(hn::And(isx, hn::Set(di, 0xFFFF)), 16 - bits);
      VI ty = hn::ShiftRightSame(hn::And(isy, hn::Set(di, 0xFFFF)), 16 - bits);
      const VI zero = hn::Zero(di), lastX = hn::Set(di, w.w - 2), lastY = hn::Set(di, w.h - 2);
      tx = hn::IfThenElse(hn::Lt(x0, zero), zero, hn::IfThenElse(hn::Gt(x0, lastX), v, tx));
      ty = hn::IfThenElse(hn::Lt(y0, zero), zero, hn::IfThenElse(hn::Gt(y0, lastY), v, ty));
      x0 = hn::Min(hn::Max(x0, zero), lastX);
      y0 = hn::Min(hn::Max(y0, zero), lastY);
      // Columns x0 and x0 + 1 in one 32-bit read that ends inside the row.
      const VI start = Px == 1 ? hn::Min(x0, hn::Set(di, w.w - 4)) : x0;
      const VI offset = hn::Add(hn::Mul(y0, pitch), hn::ShiftLeft<Px - 1>(start));
      const VU shift = hn::BitCast(du, hn::ShiftLeft<3>(hn::Sub(x0, start)));
      const VU upper = hn::Shr(hn::BitCast(du, hn::GatherOffset(di, base, offset)), shift);
      const VU lower = hn::Shr(hn::BitCast(du, hn::GatherOffset(di, base, hn::Add(offset, pitch))), shift);
      const VU mask = hn::Set(du, Px == 1 ? 0xFFu : 0xFFFFu);
      const VU p00 = hn::And(upper, mask), p01 = hn::And(hn::ShiftRight<8 * Px>(upper), mask);
      const VU p10 = hn::And(lower, mask), p11 = hn::And(hn::ShiftRight<8 * Px>(lower), mask);
      const VU utx = hn::BitCast(du, tx), uty = hn::BitCast(du, ty);
      // Wrapping products: the true values are below 2^32 and the differences cancel mod 2^32.
      const VU top = hn::Add(hn::ShiftLeftSame(p00, bits), hn::Mul(utx, hn::Sub(p01, p00)));
      const VU bottom = hn::Add(hn::ShiftLeftSame(p10, bits), hn::Mul(utx, hn::Sub(p11, p10)));
      const VU r = hn::ShiftRightSame(hn::Add(hn::ShiftLeftSame(top, bits), hn::Mul(uty, hn::Sub(bottom, top))), 2 * bits);
      return hn::IfThenElseZero(inside, r);
    }
  }

  static void Run(const Walk& w) {
    const DU du;
    const DI di;
    using S = std::conditional_t<Px == 1, uint8_t, uint16_t>;
    const hn::Rebind<S, DI> ds;
    const int lanes = static_cast<int>(hn::Lanes(du));
    const VU iota = hn::Iota(du, 0);
    const VU laneA = hn::Mul(iota, hn::Set(du, w.A)), laneD = hn::Mul(iota, hn::Set(du, w.D));
    const VU stepA = hn::Set(du, w.A * static_cast<uint32_t>(lanes));
    const VU stepD = hn::Set(du, w.D * static_cast<uint32_t>(lanes));
    S last[HWY_MAX_BYTES / sizeof(uint32_t)];
    for (int j = 0; j < w.dh; ++j) {
      const uint32_t jj = static_cast<uint32_t>(j);
      VU sx = hn::Add(hn::Set(du, w.sx0 + jj * w.B), laneA);
      VU sy = hn::Add(hn::Set(du, w.sy0 + jj * w.E), laneD);
      S* out = reinterpret_cast<S*>(w.dst + static_cast<ptrdiff_t>(j) * w.dstPitch);
      int i = 0;
      for (; i + lanes <= w.dw; i += lanes) {
        const VU p = Sample(w, sx, sy);
        hn::StoreU(hn::DemoteTo(ds, hn::BitCast(di, p)), ds, out + i);
        sx = hn::Add(sx, stepA);
        sy = hn::Add(sy, stepD);
      }
      if (i < w.dw) {  // the last pixels of the row through a buffer: nothing past the row is written
        hn::StoreU(hn::DemoteTo(ds, hn::BitCast(di, Sample(w, sx, sy))), ds, last);
        std::memcpy(out + i, last, static_cast<size_t>(w.dw - i) * sizeof(S));
      }
    }
  }
};

template <int Px>
bool WalkPx(const Walk& w) {
  if (w.bits == 0)
    Kernel<Px, false>::Run(w);
  else
    Kernel<Px, true>::Run(w);
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

}  // namespace kelmira::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kelmira::affine {
HWY_EXPORT(Walk8);
HWY_EXPORT(Walk16);

bool WideFits(const Walk& w, int pixelBytes) {
  if (w.w * pixelBytes < 4 || w.h < 2 || w.w > 32767 || w.h > 32767 || w.srcPitch <= 0) return false;
  const long long span = static_cast<long long>(w.h) * w.srcPitch + static_cast<long long>(w.w) * pixelBytes;
  return span < (1ll << 31);
}

bool WideWalk8(const Walk& w) { return HWY_DYNAMIC_DISPATCH(Walk8)(w); }
bool WideWalk16(const Walk& w) { return HWY_DYNAMIC_DISPATCH(Walk16)(w); }
}  // namespace kelmira::affine
#endif
