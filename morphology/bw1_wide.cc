// Wide kernels of the packed one-bit morphology: the middle bytes of a row, many at a step.
//
// The rows are loaded as little-endian 64-bit words, so byte k of a word holds bits 8k..8k+7 and
// the pixel order inside a byte is still bit 7 first. The neighbour bit that crosses a byte edge
// is taken from the same word loaded one byte earlier (or later): with W at byte i and P at byte
// i - 1, byte k of P is byte k - 1 of the row, so the left neighbours of all 64 pixels are
// ((W >> 1) & 0x7F..) | ((P << 7) & 0x80..), without a byte reversal and without any lane
// crossing. The formulas are those of the scalar bytes in bw1_engine.cc, bit for bit.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "morphology/bw1_wide.cc"
#include "hwy/foreach_target.h"  // IWYU pragma: keep
#include "hwy/highway.h"

#include <cstring>

#include "morphology/bw1_rows.h"

HWY_BEFORE_NAMESPACE();
namespace kelmira::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;
using bw1m::Pass;

// Shifts, written once for plain words and for vectors of words.
template <int N>
HWY_INLINE uint64_t ShiftUp(uint64_t v) {
  return v << N;
}
template <int N>
HWY_INLINE uint64_t ShiftDown(uint64_t v) {
  return v >> N;
}
template <int N, class V>
HWY_INLINE V ShiftUp(V v) {
  return hn::ShiftLeft<N>(v);
}
template <int N, class V>
HWY_INLINE V ShiftDown(V v) {
  return hn::ShiftRight<N>(v);
}

template <class W>
struct Masks {
  W low7, high1, high7, low1;  // 0x7F.., 0x80.., 0xFE.., 0x01..
};

template <class W>
HWY_INLINE W LeftOf(const Masks<W>& m, W w, W before) {
  return (ShiftDown<1>(w) & m.low7) | (ShiftUp<7>(before) & m.high1);
}
template <class W>
HWY_INLINE W RightOf(const Masks<W>& m, W w, W after) {
  return (ShiftUp<1>(w) & m.high7) | (ShiftDown<7>(after) & m.low1);
}
template <bool kMax, class W>
HWY_INLINE W Join(W x, W y) {
  if constexpr (kMax) return x | y;
  else return x & y;
}
template <class W>
HWY_INLINE W Major(W x, W y, W z) {
  return (x & y) | ((x | y) & z);
}

// One step of a pass: load(row, offset) gives the word of `row` at the step's byte + offset.
template <Pass kPass, bool kMax, class W, class Load>
HWY_INLINE W StepOf(const Masks<W>& m, const uint8_t* a, const uint8_t* c, const uint8_t* b, Load&& load) {
  if constexpr (kPass == Pass::kY) {
    return Join<kMax>(Join<kMax>(load(a, 0), load(c, 0)), load(b, 0));
  } else if constexpr (kPass == Pass::kX || kPass == Pass::kCross) {
    const W w = load(c, 0);
    const W h = Join<kMax>(w, Join<kMax>(LeftOf(m, w, load(c, -1)), RightOf(m, w, load(c, 1))));
    if constexpr (kPass == Pass::kX) return h;
    else return Join<kMax>(h, Join<kMax>(load(a, 0), load(b, 0)));
  } else if constexpr (kPass == Pass::kSquare) {
    auto v = [&](int o) { return Join<kMax>(Join<kMax>(load(a, o), load(c, o)), load(b, o)); };
    const W w = v(0);
    return Join<kMax>(w, Join<kMax>(LeftOf(m, w, v(-1)), RightOf(m, w, v(1))));
  } else {  // median
    W all[3], any[3], most[3];
    for (int o = -1; o <= 1; ++o) {
      const W x = load(a, o), y = load(c, o), z = load(b, o);
      all[o + 1] = x & y & z;
      any[o + 1] = x | y | z;
      most[o + 1] = Major(x, y, z);
    }
    const W orOfAll = all[1] | LeftOf(m, all[1], all[0]) | RightOf(m, all[1], all[2]);
    const W andOfAny = any[1] & LeftOf(m, any[1], any[0]) & RightOf(m, any[1], any[2]);
    const W majOfMost = Major(most[1], LeftOf(m, most[1], most[0]), RightOf(m, most[1], most[2]));
    return Major(orOfAll, andOfAny, majOfMost);
  }
}

// Plain 64-bit words: the whole kernel on the one-lane target, and the last words elsewhere.
template <Pass kPass, bool kMax>
HWY_INLINE void WordSteps(const uint8_t* a, const uint8_t* c, const uint8_t* b, uint8_t* d, size_t i, size_t end) {
  const Masks<uint64_t> m{0x7F7F7F7F7F7F7F7Full, 0x8080808080808080ull, 0xFEFEFEFEFEFEFEFEull,
                          0x0101010101010101ull};
  auto step = [&](size_t at) {
    auto load = [at](const uint8_t* row, int o) {
      uint64_t w;
      std::memcpy(&w, row + at + o, 8);
      return w;
    };
    const uint64_t out = StepOf<kPass, kMax>(m, a, c, b, load);
    std::memcpy(d + at, &out, 8);
  };
  for (; i + 8 <= end; i += 8) step(i);
  // The last few bytes: one more word that ends with the range and overlaps bytes already done,
  // which it computes again to the same values (the destination is none of the three rows).
  if (i < end) step(end - 8);
}

template <Pass kPass, bool kMax>
HWY_INLINE void Steps(const uint8_t* a, const uint8_t* c, const uint8_t* b, uint8_t* d, size_t first, size_t count) {
  size_t i = first;
  const size_t end = first + count;
#if HWY_TARGET != HWY_SCALAR && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
  const hn::ScalableTag<uint64_t> d64;
  const hn::Repartition<uint8_t, decltype(d64)> d8;
  using V = hn::Vec<decltype(d64)>;
  const Masks<V> m{hn::Set(d64, 0x7F7F7F7F7F7F7F7Full), hn::Set(d64, 0x8080808080808080ull),
                   hn::Set(d64, 0xFEFEFEFEFEFEFEFEull), hn::Set(d64, 0x0101010101010101ull)};
  const size_t bytes = hn::Lanes(d8);
  auto step = [&](size_t at) {
    auto load = [&](const uint8_t* row, int o) { return hn::BitCast(d64, hn::LoadU(d8, row + at + o)); };
    hn::StoreU(hn::BitCast(d8, StepOf<kPass, kMax>(m, a, c, b, load)), d8, d + at);
  };
  for (; i + bytes <= end; i += bytes) step(i);
  // A last vector that ends with the range, over bytes already done (see WordSteps).
  if (i < end && count >= bytes) {
    step(end - bytes);
    return;
  }
#endif
  WordSteps<kPass, kMax>(a, c, b, d, i, end);
}

// The first and the last word of a row of n >= 9 bytes, with the edges of erosion and dilation:
// the byte before the row and after it neutral, the spare bits of the last byte neutral. The
// words' other bytes are computed again to the values the middle gave them; the spare bits of
// the destination's last byte keep their value.
template <Pass kPass, bool kMax>
HWY_INLINE void EdgeWords(const uint8_t* a, const uint8_t* c, const uint8_t* b, uint8_t* d, size_t n, uint8_t last) {
  const Masks<uint64_t> m{0x7F7F7F7F7F7F7F7Full, 0x8080808080808080ull, 0xFEFEFEFEFEFEFEFEull,
                          0x0101010101010101ull};
  const uint64_t outside = kMax ? 0 : 0xFF;
  auto word = [](const uint8_t* row, size_t at) {
    uint64_t w;
    std::memcpy(&w, row + at, 8);
    return w;
  };
  auto first = [&](const uint8_t* row, int o) {
    return o < 0 ? (word(row, 0) << 8) | outside : word(row, static_cast<size_t>(o));
  };
  uint64_t out = StepOf<kPass, kMax>(m, a, c, b, first);
  std::memcpy(d, &out, 8);
  const size_t at = n - 8;
  const uint64_t spare = static_cast<uint64_t>(static_cast<uint8_t>(~last)) << 56;
  auto lastWord = [&](const uint8_t* row, int o) {
    if (o < 0) return word(row, at - 1);
    const uint64_t w = kMax ? word(row, at) & ~spare : word(row, at) | spare;
    return o == 0 ? w : (w >> 8) | (outside << 56);
  };
  out = StepOf<kPass, kMax>(m, a, c, b, lastWord);
  const uint64_t old = word(d, at);
  out = (out & ~spare) | (old & spare);
  std::memcpy(d + at, &out, 8);
}

void Edges(Pass pass, bool max, const uint8_t* a, const uint8_t* c, const uint8_t* b, uint8_t* d, size_t n,
           uint8_t last) {
  switch (pass) {
    case Pass::kX: return max ? EdgeWords<Pass::kX, true>(a, c, b, d, n, last) : EdgeWords<Pass::kX, false>(a, c, b, d, n, last);
    case Pass::kY: return max ? EdgeWords<Pass::kY, true>(a, c, b, d, n, last) : EdgeWords<Pass::kY, false>(a, c, b, d, n, last);
    case Pass::kSquare:
      return max ? EdgeWords<Pass::kSquare, true>(a, c, b, d, n, last) : EdgeWords<Pass::kSquare, false>(a, c, b, d, n, last);
    case Pass::kCross:
      return max ? EdgeWords<Pass::kCross, true>(a, c, b, d, n, last) : EdgeWords<Pass::kCross, false>(a, c, b, d, n, last);
    case Pass::kMedian: return;  // the median's edges are the scalar code's
  }
}

// A whole pass of erosion or dilation from one image to another, rows of n >= 10 bytes: the loop
// over the rows in the target's code, so that a row costs no dispatch.
template <Pass kPass, bool kMax>
HWY_INLINE void ImageT(const uint8_t* s, ptrdiff_t sp, uint8_t* d, ptrdiff_t dp, size_t n, int height, uint8_t last) {
  for (int y = 0; y < height; ++y) {
    const uint8_t* c = s + y * sp;
    const uint8_t* a = y > 0 ? c - sp : c;
    const uint8_t* b = y + 1 < height ? c + sp : c;
    uint8_t* o = d + y * dp;
    Steps<kPass, kMax>(a, c, b, o, 1, n - 2);
    EdgeWords<kPass, kMax>(a, c, b, o, n, last);
  }
}

template <bool kMax>
void ImageFor(Pass pass, const uint8_t* s, ptrdiff_t sp, uint8_t* d, ptrdiff_t dp, size_t n, int height,
              uint8_t last) {
  switch (pass) {
    case Pass::kX: return ImageT<Pass::kX, kMax>(s, sp, d, dp, n, height, last);
    case Pass::kY: return ImageT<Pass::kY, kMax>(s, sp, d, dp, n, height, last);
    case Pass::kSquare: return ImageT<Pass::kSquare, kMax>(s, sp, d, dp, n, height, last);
    case Pass::kCross: return ImageT<Pass::kCross, kMax>(s, sp, d, dp, n, height, last);
    case Pass::kMedian: return;  // not used for the median
  }
}

void Image(Pass pass, bool max, const uint8_t* s, ptrdiff_t sp, uint8_t* d, ptrdiff_t dp, size_t n, int height,
           uint8_t last) {
  max ? ImageFor<true>(pass, s, sp, d, dp, n, height, last) : ImageFor<false>(pass, s, sp, d, dp, n, height, last);
}

template <bool kMax>
HWY_INLINE void RowFor(Pass pass, const uint8_t* a, const uint8_t* c, const uint8_t* b, uint8_t* d, size_t first,
                       size_t count) {
  switch (pass) {
    case Pass::kX: return Steps<Pass::kX, kMax>(a, c, b, d, first, count);
    case Pass::kY: return Steps<Pass::kY, kMax>(a, c, b, d, first, count);
    case Pass::kSquare: return Steps<Pass::kSquare, kMax>(a, c, b, d, first, count);
    case Pass::kCross: return Steps<Pass::kCross, kMax>(a, c, b, d, first, count);
    case Pass::kMedian: return Steps<Pass::kMedian, false>(a, c, b, d, first, count);
  }
}

void Row(Pass pass, bool max, const uint8_t* a, const uint8_t* c, const uint8_t* b, uint8_t* d, size_t first,
         size_t count) {
  max ? RowFor<true>(pass, a, c, b, d, first, count) : RowFor<false>(pass, a, c, b, d, first, count);
}

// ----- the separable box: a column window of any height, then windows of up to 7 along rows -----

template <bool kMax>
HWY_INLINE void JoinRowsT(const uint8_t* const* rows, int count, uint8_t* out, size_t n) {
  size_t i = 0;
#if HWY_TARGET != HWY_SCALAR
  const hn::ScalableTag<uint8_t> d;
  for (; i + hn::Lanes(d) <= n; i += hn::Lanes(d)) {
    auto v = hn::LoadU(d, rows[0] + i);
    for (int k = 1; k < count; ++k) v = Join<kMax>(v, hn::LoadU(d, rows[k] + i));
    hn::StoreU(v, d, out + i);
  }
  // The last bytes: one more vector or word ending with the row when the row is long enough (its
  // bytes already done are computed again to the same values), else single bytes.
  if (i < n && n >= hn::Lanes(d)) {
    i = n - hn::Lanes(d);
    auto v = hn::LoadU(d, rows[0] + i);
    for (int k = 1; k < count; ++k) v = Join<kMax>(v, hn::LoadU(d, rows[k] + i));
    hn::StoreU(v, d, out + i);
    i = n;
  }
#endif
  auto word = [&](size_t at) {
    uint64_t v, w;
    std::memcpy(&v, rows[0] + at, 8);
    for (int k = 1; k < count; ++k) {
      std::memcpy(&w, rows[k] + at, 8);
      v = kMax ? (v | w) : (v & w);
    }
    std::memcpy(out + at, &v, 8);
  };
  for (; i + 8 <= n; i += 8) word(i);
  if (i < n && n >= 8) {  // the last word ends with the row
    word(n - 8);
    i = n;
  }
  for (; i < n; ++i) {
    uint8_t v = rows[0][i];
    for (int k = 1; k < count; ++k) v = kMax ? (v | rows[k][i]) : (v & rows[k][i]);
    out[i] = v;
  }
}

void JoinRows(const uint8_t* const* rows, int count, uint8_t* out, size_t n, bool max) {
  max ? JoinRowsT<true>(rows, count, out, n) : JoinRowsT<false>(rows, count, out, n);
}

// The pixels at distance s (1 to 7) on the left and on the right, from the word at a byte (w) and
// the words one byte before (p) and after (q): the generalisation of LeftOf and RightOf.
// `v` with the bits of `mask` made neutral (set for AND, clear for OR).
template <bool kMax, class W>
HWY_INLINE W Neutral(W v, W mask) {
  if constexpr (kMax) return hn::AndNot(mask, v);
  else return v | mask;
}
template <bool kMax>
HWY_INLINE uint64_t Neutral(uint64_t v, uint64_t mask) {
  return kMax ? (v & ~mask) : (v | mask);
}

template <bool kMax, class W, class Make, class Up, class Down>
HWY_INLINE W AlongWord(W w, W p, W q, int radius, Make&& make, Up&& up, Down&& down) {
  if (radius == 7) {
    // Radius 7 from the bytes' own prefixes and suffixes: the join of pixels 0..x of a byte
    // (pre) and of x..7 (suf), each in three doubling steps inside the byte. Pixels x - 7 .. x
    // are pre(x) of the byte and suf(x + 1) of the byte before; x .. x + 7 are suf(x) and
    // pre(x - 1) of the byte after.
    auto pre = [&](W v) {
      v = Join<kMax>(v, Neutral<kMax>(down(v, 1), make(0x8080808080808080ull)));
      v = Join<kMax>(v, Neutral<kMax>(down(v, 2), make(0xC0C0C0C0C0C0C0C0ull)));
      return Join<kMax>(v, Neutral<kMax>(down(v, 4), make(0xF0F0F0F0F0F0F0F0ull)));
    };
    auto suf = [&](W v) {
      v = Join<kMax>(v, Neutral<kMax>(up(v, 1), make(0x0101010101010101ull)));
      v = Join<kMax>(v, Neutral<kMax>(up(v, 2), make(0x0303030303030303ull)));
      return Join<kMax>(v, Neutral<kMax>(up(v, 4), make(0x0F0F0F0F0F0F0F0Full)));
    };
    const W left = Join<kMax>(pre(w), Neutral<kMax>(up(suf(p), 1), make(0x0101010101010101ull)));
    const W right = Join<kMax>(suf(w), Neutral<kMax>(down(pre(q), 1), make(0x8080808080808080ull)));
    return Join<kMax>(left, right);
  }
  W acc = w;
  for (int s = 1; s <= radius; ++s) {
    // Per byte: the bits whose left (right) neighbour lies in the same byte, the others in the
    // byte before (after).
    const uint64_t leftSame = 0x0101010101010101ull * (0xFFu >> s);
    const uint64_t rightSame = 0x0101010101010101ull * ((0xFFu << s) & 0xFF);
    const W left = (down(w, s) & make(leftSame)) | (up(p, 8 - s) & make(~leftSame));
    const W right = (up(w, s) & make(rightSame)) | (down(q, 8 - s) & make(~rightSame));
    acc = Join<kMax>(acc, Join<kMax>(left, right));
  }
  return acc;
}

template <bool kMax>
HWY_INLINE void AlongRowT(const uint8_t* in, uint8_t* out, size_t n, int radius) {
#if HWY_TARGET != HWY_SCALAR && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
  const hn::ScalableTag<uint64_t> d64;
  const hn::Repartition<uint8_t, decltype(d64)> d8;
  using V = hn::Vec<decltype(d64)>;
  auto make = [&](uint64_t k) { return hn::Set(d64, k); };
  auto up = [](V v, int s) { return hn::ShiftLeftSame(v, s); };
  auto down = [](V v, int s) { return hn::ShiftRightSame(v, s); };
  for (size_t i = 0; i < n; i += hn::Lanes(d8)) {
    auto load = [&](int o) { return hn::BitCast(d64, hn::LoadU(d8, in + i + o)); };
    const V acc = AlongWord<kMax>(load(0), load(-1), load(1), radius, make, up, down);
    hn::StoreU(hn::BitCast(d8, acc), d8, out + i);
  }
#else
  auto make = [](uint64_t k) { return k; };
  auto up = [](uint64_t v, int s) { return v << s; };
  auto down = [](uint64_t v, int s) { return v >> s; };
  for (size_t i = 0; i < n; i += 8) {
    uint64_t w, p, q;
    std::memcpy(&w, in + i, 8);
    std::memcpy(&p, in + i - 1, 8);
    std::memcpy(&q, in + i + 1, 8);
    const uint64_t acc = AlongWord<kMax>(w, p, q, radius, make, up, down);
    std::memcpy(out + i, &acc, 8);
  }
#endif
}

void AlongRow(const uint8_t* in, uint8_t* out, size_t n, int radius, bool max) {
  max ? AlongRowT<true>(in, out, n, radius) : AlongRowT<false>(in, out, n, radius);
}

}  // namespace kelmira::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kelmira::bw1m {
HWY_EXPORT(Row);
HWY_EXPORT(Edges);
HWY_EXPORT(Image);

void WideImage(Pass pass, bool max, const uint8_t* source, ptrdiff_t sourcePitch, uint8_t* destination,
               ptrdiff_t destinationPitch, size_t n, int height, uint8_t last) {
  HWY_DYNAMIC_DISPATCH(Image)(pass, max, source, sourcePitch, destination, destinationPitch, n, height, last);
}

void WideEdges(Pass pass, bool max, const uint8_t* a, const uint8_t* c, const uint8_t* b, uint8_t* d, size_t n,
               uint8_t last) {
  HWY_DYNAMIC_DISPATCH(Edges)(pass, max, a, c, b, d, n, last);
}
HWY_EXPORT(JoinRows);
HWY_EXPORT(AlongRow);

void WideJoinRows(const uint8_t* const* rows, int count, uint8_t* out, size_t n, bool max) {
  HWY_DYNAMIC_DISPATCH(JoinRows)(rows, count, out, n, max);
}
void WideAlongRow(const uint8_t* in, uint8_t* out, size_t n, int radius, bool max) {
  HWY_DYNAMIC_DISPATCH(AlongRow)(in, out, n, radius, max);
}

void WideRow(Pass pass, bool max, const uint8_t* a, const uint8_t* c, const uint8_t* b, uint8_t* d, size_t first,
             size_t count) {
  HWY_DYNAMIC_DISPATCH(Row)(pass, max, a, c, b, d, first, count);
}
}  // namespace kelmira::bw1m
#endif
