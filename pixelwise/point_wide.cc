// Wide kernels of the point family: the BW8 table look-up and the BW8 gain and offset of the
// wide path. Each kernel covers its whole range and gives, pixel for pixel, the result of the
// per-pixel formula it stands for.
// The byte permutes of the table look-up need the AVX-512 VBMI target, which Highway builds only
// on request.
#ifndef HWY_WANT_AVX3_DL
#define HWY_WANT_AVX3_DL
#endif
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "pixelwise/point_wide.cc"
#include "hwy/foreach_target.h"  // IWYU pragma: keep
#include "hwy/highway.h"

#include "pixelwise/point_wide.h"

HWY_BEFORE_NAMESPACE();
namespace kelmira::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

void LutRow(const uint8_t* source, uint8_t* destination, int width, const uint8_t* table) {
  int x = 0;
#if HWY_TARGET == HWY_AVX3_DL
  // Two 128-entry byte permutes cover the table; bit 7 of the index picks between them.
  const __m512i t0 = _mm512_loadu_si512(table), t1 = _mm512_loadu_si512(table + 64);
  const __m512i t2 = _mm512_loadu_si512(table + 128), t3 = _mm512_loadu_si512(table + 192);
  for (; x + 64 <= width; x += 64) {
    const __m512i idx = _mm512_loadu_si512(source + x);
    const __m512i low = _mm512_permutex2var_epi8(t0, idx, t1);
    const __m512i high = _mm512_permutex2var_epi8(t2, idx, t3);
    _mm512_storeu_si512(destination + x, _mm512_mask_blend_epi8(_mm512_movepi8_mask(idx), low, high));
  }
#endif
  // Eight look-ups gathered into one 64-bit store.
  for (; x + 8 <= width; x += 8) {
    uint64_t in;
    __builtin_memcpy(&in, source + x, 8);
    uint64_t out = 0;
    for (int k = 0; k < 8; ++k) out |= static_cast<uint64_t>(table[(in >> (8 * k)) & 0xff]) << (8 * k);
    __builtin_memcpy(destination + x, &out, 8);
  }
  for (; x < width; ++x) destination[x] = table[source[x]];
}

void GainOffsetRow(const uint8_t* source, uint8_t* destination, int width, uint16_t g, int16_t o) {
  const hn::ScalableTag<uint16_t> d16;
  const hn::Rebind<int16_t, decltype(d16)> di16;
  const hn::Rebind<uint8_t, decltype(d16)> d8;
  const int lanes = static_cast<int>(hn::Lanes(d16));
  const auto gv = hn::Set(d16, g);
  const auto ov = hn::Set(di16, o);
  int x = 0;
  for (; x + lanes <= width; x += lanes) {
    const auto product = hn::Mul(hn::PromoteTo(d16, hn::LoadU(d8, source + x)), gv);  // low 16 bits
    const auto sum = hn::SaturatedAdd(hn::BitCast(di16, hn::ShiftRight<5>(product)), ov);
    hn::StoreU(hn::DemoteTo(d8, sum), d8, destination + x);
  }
  for (; x < width; ++x) destination[x] = point::WrappedGainOffset(source[x], g, o);
}

}  // namespace kelmira::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kelmira {
HWY_EXPORT(LutRow);
HWY_EXPORT(GainOffsetRow);

namespace point {
void WideLutRow(const uint8_t* source, uint8_t* destination, int width, const uint8_t* table) {
  HWY_DYNAMIC_DISPATCH(LutRow)(source, destination, width, table);
}
void WideGainOffsetRow(const uint8_t* source, uint8_t* destination, int width, uint16_t g, int16_t o) {
  HWY_DYNAMIC_DISPATCH(GainOffsetRow)(source, destination, width, g, o);
}
}  // namespace point
}  // namespace kelmira
#endif
