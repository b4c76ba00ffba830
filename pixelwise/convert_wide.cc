// Wide kernels of the convert family: gray to and from C24, BW8 to and from BW16, BW8 to float,
// and the 4:2:2 gray words.
// The byte permutes of the C24 kernels need the AVX-512 VBMI target, which Highway builds only on
// request.
#ifndef HWY_WANT_AVX3_DL
#define HWY_WANT_AVX3_DL
#endif
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "pixelwise/convert_wide.cc"
#include "hwy/foreach_target.h"  // IWYU pragma: keep
#include "hwy/cache_control.h"
#include "hwy/highway.h"

#include "pixelwise/convert_wide.h"

HWY_BEFORE_NAMESPACE();
namespace kelmira::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// Pixels to convert one by one before destination + x is aligned to `alignment` bytes, or -1
// when no pixel start ever is (a 16-bit row at an odd address).
template <class T>
int HeadToAlign(const T* destination, size_t alignment) {
  for (int x = 0; x < static_cast<int>(alignment); ++x)
    if (reinterpret_cast<uintptr_t>(destination + x) % alignment == 0) return x;
  return -1;
}

// Decides whether a kernel streams: a head that reaches alignment within the row. Converts the
// head with `pixel(x)` and returns the first x of the aligned part.
template <class T, class PixelFn>
int StreamHead(const T* destination, int width, size_t alignment, bool& stream, PixelFn&& pixel) {
  if (!stream) return 0;
  const int head = HeadToAlign(destination, alignment);
  if (head < 0 || head >= width) {
    stream = false;
    return 0;
  }
  for (int x = 0; x < head; ++x) pixel(x);
  return head;
}

template <class D, class T>
HWY_INLINE void Put(D d, hn::Vec<D> v, T* p, bool stream) {
  if (stream)
    hn::Stream(v, d, p);
  else
    hn::StoreU(v, d, p);
}

#if HWY_TARGET == HWY_AVX3_DL
// Byte indices of the C24 permutes: entry j of block k is the source pixel of destination byte
// 64k + j (gray to colour), and entry i of channel c is byte 3i + c of a run of 64 pixels, taken
// from the first two or the last two 64-byte blocks (colour to gray).
struct Permutes {
  alignas(64) uint8_t spread[3][64];
  alignas(64) uint8_t fromLow[3][64];
  alignas(64) uint8_t fromHigh[3][64];
  uint64_t high[3];
  Permutes() {
    for (int k = 0; k < 3; ++k)
      for (int j = 0; j < 64; ++j) spread[k][j] = static_cast<uint8_t>((64 * k + j) / 3);
    for (int c = 0; c < 3; ++c) {
      high[c] = 0;
      for (int i = 0; i < 64; ++i) {
        const int p = 3 * i + c;
        fromLow[c][i] = static_cast<uint8_t>(p & 127);
        fromHigh[c][i] = static_cast<uint8_t>((p - 64) & 127);
        if (p >= 128) high[c] |= uint64_t{1} << i;
      }
    }
  }
};
const Permutes& PermuteTables() {
  static const Permutes tables;
  return tables;
}
#endif

int GrayToC24(const uint8_t* gray, uint8_t* colour, int width, bool stream) {
  int x = 0;
#if HWY_TARGET == HWY_AVX3_DL
  {
    // Pixel x starts at byte 3x, and 3 is odd, so some x < 64 puts it on a 64-byte boundary.
    int head = 0;
    while (stream && head < 64 && (reinterpret_cast<uintptr_t>(colour + 3 * head) & 63) != 0) ++head;
    if (head >= width) stream = false;
    if (stream)
      for (; x < head; ++x) colour[3 * x] = colour[3 * x + 1] = colour[3 * x + 2] = gray[x];
    const Permutes& t = PermuteTables();
    const __m512i s0 = _mm512_load_si512(t.spread[0]), s1 = _mm512_load_si512(t.spread[1]);
    const __m512i s2 = _mm512_load_si512(t.spread[2]);
    for (; x + 64 <= width; x += 64) {
      const __m512i v = _mm512_loadu_si512(gray + x);
      uint8_t* out = colour + 3 * x;
      if (stream) {
        _mm512_stream_si512(reinterpret_cast<__m512i*>(out), _mm512_permutexvar_epi8(s0, v));
        _mm512_stream_si512(reinterpret_cast<__m512i*>(out + 64), _mm512_permutexvar_epi8(s1, v));
        _mm512_stream_si512(reinterpret_cast<__m512i*>(out + 128), _mm512_permutexvar_epi8(s2, v));
      } else {
        _mm512_storeu_si512(out, _mm512_permutexvar_epi8(s0, v));
        _mm512_storeu_si512(out + 64, _mm512_permutexvar_epi8(s1, v));
        _mm512_storeu_si512(out + 128, _mm512_permutexvar_epi8(s2, v));
      }
    }
    if (stream) hwy::FlushStream();
  }
#else
  (void)stream;
#endif
  const hn::ScalableTag<uint8_t> d;
  const int lanes = static_cast<int>(hn::Lanes(d));
  for (; x + lanes <= width; x += lanes) {
    const auto v = hn::LoadU(d, gray + x);
    hn::StoreInterleaved3(v, v, v, d, colour + 3 * x);
  }
  return x;
}

int C24ToGray(const uint8_t* colour, uint8_t* gray, int width, bool stream) {
  // 16-bit lanes: (b0 + b1 + b2) * 85 is at most 65025, so the product fits.
  const hn::ScalableTag<uint16_t> d16;
  const hn::Rebind<int16_t, decltype(d16)> di16;
  const hn::Rebind<uint8_t, decltype(d16)> d8;
  const int lanes = static_cast<int>(hn::Lanes(d16));
  const auto k85 = hn::Set(d16, 85);
  int x = StreamHead(gray, width, HWY_MAX_BYTES, stream,
                     [&](int i) { gray[i] = convert::GrayOfC24(colour + 3 * i); });
#if HWY_TARGET == HWY_AVX3_DL
  {
    // 64 pixels a step: three permutes gather the channels; the sums of the even and the odd
    // pixels stay in the low and high bytes of 16-bit lanes, so no packing is needed.
    const Permutes& t = PermuteTables();
    __m512i low[3], high[3];
    for (int c = 0; c < 3; ++c) {
      low[c] = _mm512_load_si512(t.fromLow[c]);
      high[c] = _mm512_load_si512(t.fromHigh[c]);
    }
    const __m512i evenMask = _mm512_set1_epi16(0x00ff), oddMask = _mm512_set1_epi16(static_cast<short>(0xff00));
    const __m512i m85 = _mm512_set1_epi16(85);
    for (; x + 64 <= width; x += 64) {
      const uint8_t* p = colour + 3 * x;
      const __m512i z0 = _mm512_loadu_si512(p), z1 = _mm512_loadu_si512(p + 64), z2 = _mm512_loadu_si512(p + 128);
      __m512i even = _mm512_setzero_si512(), odd = _mm512_setzero_si512();
      for (int c = 0; c < 3; ++c) {
        const __m512i v = _mm512_mask_blend_epi8(t.high[c], _mm512_permutex2var_epi8(z0, low[c], z1),
                                                 _mm512_permutex2var_epi8(z1, high[c], z2));
        even = _mm512_add_epi16(even, _mm512_and_si512(v, evenMask));
        odd = _mm512_add_epi16(odd, _mm512_srli_epi16(v, 8));
      }
      const __m512i g = _mm512_or_si512(_mm512_srli_epi16(_mm512_mullo_epi16(even, m85), 8),
                                        _mm512_and_si512(_mm512_mullo_epi16(odd, m85), oddMask));
      if (stream)
        _mm512_stream_si512(reinterpret_cast<__m512i*>(gray + x), g);
      else
        _mm512_storeu_si512(gray + x, g);
    }
  }
#endif
  for (; x + lanes <= width; x += lanes) {
    hn::Vec<decltype(d8)> b0, b1, b2;
    hn::LoadInterleaved3(d8, colour + 3 * x, b0, b1, b2);
    const auto sum = hn::Add(hn::Add(hn::PromoteTo(d16, b0), hn::PromoteTo(d16, b1)), hn::PromoteTo(d16, b2));
    const auto mean = hn::ShiftRight<8>(hn::Mul(sum, k85));
    hn::StoreU(hn::DemoteTo(d8, hn::BitCast(di16, mean)), d8, gray + x);
  }
  if (stream) hwy::FlushStream();
  return x;
}

// Streamed stores measured no faster here than plain ones, so this kernel has none.
int BW8ToBW16(const uint8_t* source, uint16_t* destination, int width, unsigned shift) {
  const hn::ScalableTag<uint16_t> d16;
  const hn::Rebind<uint8_t, decltype(d16)> d8;
  const int lanes = static_cast<int>(hn::Lanes(d16));
  const int count = static_cast<int>(shift);
  int x = 0;
  for (; x + lanes <= width; x += lanes)
    hn::StoreU(hn::ShiftLeftSame(hn::PromoteTo(d16, hn::LoadU(d8, source + x)), count), d16, destination + x);
  return x;
}

int BW16ToBW8(const uint16_t* source, uint8_t* destination, int width, unsigned shift) {
  const hn::ScalableTag<uint16_t> d16;
  const hn::Rebind<int16_t, decltype(d16)> di16;
  const hn::Rebind<uint8_t, decltype(d16)> d8;
  const int lanes = static_cast<int>(hn::Lanes(d16));
  const int count = static_cast<int>(shift);
  const auto low = hn::Set(d16, 0xff);
  int x = 0;
  for (; x + lanes <= width; x += lanes) {
    const auto v = hn::And(hn::ShiftRightSame(hn::LoadU(d16, source + x), count), low);
    hn::StoreU(hn::DemoteTo(d8, hn::BitCast(di16, v)), d8, destination + x);
  }
  return x;
}

int BW8ToFloat(const uint8_t* source, float* destination, int width, bool stream) {
  const hn::ScalableTag<float> df;
  const hn::Rebind<int32_t, decltype(df)> di;
  const hn::Rebind<uint8_t, decltype(df)> d8;
  const int lanes = static_cast<int>(hn::Lanes(df));
  int x = StreamHead(destination, width, hn::Lanes(df) * 4, stream,
                     [&](int i) { destination[i] = static_cast<float>(source[i]); });
  for (; x + lanes <= width; x += lanes)
    Put(df, hn::ConvertTo(df, hn::PromoteTo(di, hn::LoadU(d8, source + x))), destination + x, stream);
  if (stream) hwy::FlushStream();
  return x;
}

int To422(const uint8_t* source, uint16_t* destination, int width) {
  const hn::ScalableTag<uint16_t> d16;
  const hn::Rebind<uint8_t, decltype(d16)> d8;
  const int lanes = static_cast<int>(hn::Lanes(d16));
  const auto chroma = hn::Set(d16, 0x8000);
  int x = 0;
  for (; x + lanes <= width; x += lanes)
    hn::StoreU(hn::Or(hn::PromoteTo(d16, hn::LoadU(d8, source + x)), chroma), d16, destination + x);
  return x;
}

}  // namespace kelmira::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kelmira {
HWY_EXPORT(GrayToC24);
HWY_EXPORT(C24ToGray);
HWY_EXPORT(BW8ToBW16);
HWY_EXPORT(BW16ToBW8);
HWY_EXPORT(BW8ToFloat);
HWY_EXPORT(To422);

namespace convert {
int WideGrayToC24(const uint8_t* gray, uint8_t* colour, int width, bool stream) {
  return HWY_DYNAMIC_DISPATCH(GrayToC24)(gray, colour, width, stream);
}
int WideC24ToGray(const uint8_t* colour, uint8_t* gray, int width, bool stream) {
  return HWY_DYNAMIC_DISPATCH(C24ToGray)(colour, gray, width, stream);
}
int WideBW8ToBW16(const uint8_t* source, uint16_t* destination, int width, unsigned shift) {
  return HWY_DYNAMIC_DISPATCH(BW8ToBW16)(source, destination, width, shift);
}
int WideBW16ToBW8(const uint16_t* source, uint8_t* destination, int width, unsigned shift) {
  return HWY_DYNAMIC_DISPATCH(BW16ToBW8)(source, destination, width, shift);
}
int WideBW8ToFloat(const uint8_t* source, float* destination, int width, bool stream) {
  return HWY_DYNAMIC_DISPATCH(BW8ToFloat)(source, destination, width, stream);
}
int WideTo422(const uint8_t* source, uint16_t* destination, int width) {
  return HWY_DYNAMIC_DISPATCH(To422)(source, destination, width);
}
}  // namespace convert
}  // namespace kelmira
#endif
