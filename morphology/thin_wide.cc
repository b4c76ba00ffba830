// Wide kernels of thin and thick: the hit-or-miss row on plane words, a vector of words at a step,
// and the packing of BW8 and BW16 rows into plane bits and back. The first and last word of a row
// (where the outside columns shift in) go through the scalar word of thin_engine.h.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "morphology/thin_wide.cc"
#include "hwy/foreach_target.h"  // IWYU pragma: keep
#include "hwy/highway.h"

#include <cstring>

#include "morphology/thin_engine.h"

HWY_BEFORE_NAMESPACE();
namespace kelmira::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// Words [1, words - 1) of a row: the left and right neighbours come from the words on either
// side, loaded unaligned, so no lane crosses another. Every load of a step comes before its store.
template <bool kMatchOnly, bool kThick>
HWY_INLINE bool RowT(const thin::RowSet& s, const thin::Terms& t, uint64_t* out) {
  const hn::ScalableTag<uint64_t> d;
  const int lanes = static_cast<int>(hn::Lanes(d));
  const uint64_t* c = s.row[1];
  uint64_t changed = 0;
  const auto emit = [&](int i, uint64_t m) {
    if constexpr (kMatchOnly) {
      out[i] = m;
    } else {
      out[i] = kThick ? c[i] | m : c[i] & ~m;
      changed |= kThick ? m & ~c[i] : m & c[i];
    }
  };
  emit(0, thin::MatchWord(s, t, 0));
  int i = 1;
  auto any = hn::Zero(d);
  for (; i + lanes <= s.words - 1; i += lanes) {
    auto m = hn::Set(d, ~uint64_t{0});
    for (int r = 0; r < 3; ++r) {
      const uint64_t* w = s.row[r];
      const auto prev = hn::LoadU(d, w + i - 1), here = hn::LoadU(d, w + i), next = hn::LoadU(d, w + i + 1);
      const auto left = hn::Or(hn::ShiftLeft<1>(here), hn::ShiftRight<63>(prev));
      const auto right = hn::Or(hn::ShiftRight<1>(here), hn::ShiftLeft<63>(next));
      m = hn::And(m, hn::Or(hn::Xor(left, hn::Set(d, t.invert[r][0])), hn::Set(d, t.ignore[r][0])));
      m = hn::And(m, hn::Or(hn::Xor(here, hn::Set(d, t.invert[r][1])), hn::Set(d, t.ignore[r][1])));
      m = hn::And(m, hn::Or(hn::Xor(right, hn::Set(d, t.invert[r][2])), hn::Set(d, t.ignore[r][2])));
    }
    if constexpr (kMatchOnly) {
      hn::StoreU(m, d, out + i);
    } else {
      const auto v = hn::LoadU(d, c + i);
      hn::StoreU(kThick ? hn::Or(v, m) : hn::AndNot(m, v), d, out + i);
      any = hn::Or(any, kThick ? hn::AndNot(v, m) : hn::And(m, v));
    }
  }
  for (; i < s.words; ++i) emit(i, thin::MatchWord(s, t, i));
  if constexpr (!kMatchOnly) changed |= hn::AllTrue(d, hn::Eq(any, hn::Zero(d))) ? 0 : 1;
  return changed != 0;
}

bool PassRowW(const thin::RowSet& s, const thin::Terms& t, bool thick, uint64_t* out) {
  return thick ? RowT<false, true>(s, t, out) : RowT<false, false>(s, t, out);
}

void MatchRowW(const thin::RowSet& s, const thin::Terms& t, uint64_t* match) { RowT<true, false>(s, t, match); }

// Rows to plane bits by a comparison per lane and its mask bits, which land in the plane's bytes in
// pixel order. Not on the one-lane fallback, whose masks are shorter than a byte.
template <class T>
HWY_INLINE void PackT(const T* row, int width, T reference, uint64_t* words) {
#if HWY_TARGET == HWY_SCALAR
  thin::PackScalar(row, width, reference, words);
#else
  const hn::ScalableTag<T> d;
  const int lanes = static_cast<int>(hn::Lanes(d));
  uint8_t* bytes = reinterpret_cast<uint8_t*>(words);
  const auto ref = hn::Set(d, reference);
  int x = 0;
  for (; x + lanes <= width; x += lanes) hn::StoreMaskBits(d, hn::Ne(hn::LoadU(d, row + x), ref), bytes + x / 8);
  std::memset(bytes + x / 8, 0, static_cast<size_t>((width + 63) / 64) * 8 - static_cast<size_t>(x / 8));
  for (; x < width; ++x)
    if (row[x] != reference) bytes[x >> 3] = static_cast<uint8_t>(bytes[x >> 3] | (1u << (x & 7)));
#endif
}

template <class T>
HWY_INLINE void UnpackT(const uint64_t* words, int width, T high, T* row) {
#if HWY_TARGET == HWY_SCALAR
  thin::UnpackScalar(words, width, high, row);
#else
  const hn::ScalableTag<T> d;
  const int lanes = static_cast<int>(hn::Lanes(d));
  const uint8_t* bytes = reinterpret_cast<const uint8_t*>(words);
  const auto h = hn::Set(d, high);
  int x = 0;
  for (; x + lanes <= width; x += lanes) hn::StoreU(hn::IfThenElseZero(hn::LoadMaskBits(d, bytes + x / 8), h), d, row + x);
  for (; x < width; ++x) row[x] = (bytes[x >> 3] >> (x & 7)) & 1 ? high : T{0};
#endif
}

void Pack8W(const uint8_t* row, int width, uint8_t reference, uint64_t* words) { PackT(row, width, reference, words); }
void Pack16W(const uint16_t* row, int width, uint16_t reference, uint64_t* words) {
  PackT(row, width, reference, words);
}
void Unpack8W(const uint64_t* words, int width, uint8_t high, uint8_t* row) { UnpackT(words, width, high, row); }
void Unpack16W(const uint64_t* words, int width, uint16_t high, uint16_t* row) { UnpackT(words, width, high, row); }

}  // namespace kelmira::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kelmira::thin {
HWY_EXPORT(PassRowW);
HWY_EXPORT(MatchRowW);
HWY_EXPORT(Pack8W);
HWY_EXPORT(Pack16W);
HWY_EXPORT(Unpack8W);
HWY_EXPORT(Unpack16W);

bool PassRow(const RowSet& s, const Terms& t, bool thick, uint64_t* out, bool wide) {
  return wide ? HWY_DYNAMIC_DISPATCH(PassRowW)(s, t, thick, out) : PassRowScalar(s, t, thick, out);
}
void MatchRow(const RowSet& s, const Terms& t, uint64_t* match, bool wide) {
  wide ? HWY_DYNAMIC_DISPATCH(MatchRowW)(s, t, match) : MatchRowScalar(s, t, match);
}
void Pack(const uint8_t* row, int width, uint8_t reference, uint64_t* words, bool wide) {
  wide ? HWY_DYNAMIC_DISPATCH(Pack8W)(row, width, reference, words) : PackScalar(row, width, reference, words);
}
void Pack(const uint16_t* row, int width, uint16_t reference, uint64_t* words, bool wide) {
  wide ? HWY_DYNAMIC_DISPATCH(Pack16W)(row, width, reference, words) : PackScalar(row, width, reference, words);
}
void Unpack(const uint64_t* words, int width, uint8_t high, uint8_t* row, bool wide) {
  wide ? HWY_DYNAMIC_DISPATCH(Unpack8W)(words, width, high, row) : UnpackScalar(words, width, high, row);
}
void Unpack(const uint64_t* words, int width, uint16_t high, uint16_t* row, bool wide) {
  wide ? HWY_DYNAMIC_DISPATCH(Unpack16W)(words, width, high, row) : UnpackScalar(words, width, high, row);
}
}  // namespace kelmira::thin
#endif
