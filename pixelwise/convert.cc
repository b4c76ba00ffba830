// Pixel format conversion: the LumConvert family, LumConvertAligned and LumConvertTo422. Every
// form is a frame over Convert(), which walks the rows with a per-pixel formula and, where one
// exists and the wide paths are on, a wide kernel (convert_wide.cc) for the bulk of each row.
#include <cstdint>
#include <memory>
#include <new>
#include <type_traits>

#include "foundation/frame.h"
#include "foundation/pixel_traits.h"
#include "foundation/rows.h"
#include "kelmira/pixelwise/convert.h"
#include "kelmira/pixelwise/oper.h"
#include "pixelwise/convert_wide.h"

namespace kelmira::convert {

struct NoWide {};

// Checks the views, then for each row: the wide kernel (when given and the wide paths are on)
// does a prefix, `pixel(source, destination&)` the rest.
template <class S, class D, class PixelFn, class WideFn = NoWide>
void Convert(const ZROI<S>* source, ZROI<D>* destination, PixelFn&& pixel, WideFn&& wide = {}) {
  if (!frame::Operands({source}, destination)) return;
  constexpr bool kHasWide = !std::is_same_v<std::decay_t<WideFn>, NoWide>;
  const bool useWide = kHasWide && ZGetMMX() != 0;
  const size_t bytes = static_cast<size_t>(destination->GetWidth()) * destination->GetHeight() * (sizeof(S) + sizeof(D));
  const bool stream = bytes >= kStreamBytes;
  const rows::Rows<const S> in(source);
  const rows::Rows<D> out(destination);
  const int width = destination->GetWidth();
  for (int y = 0; y < destination->GetHeight(); ++y) {
    const S* s = in[y];
    D* d = out[y];
    int x = 0;
    if constexpr (kHasWide)
      if (useWide) x = wide(s, d, width, stream);
    for (; x < width; ++x) pixel(s[x], d[x]);
  }
}

// Rows of three views of one size, already checked: row(a, b, c, width).
template <class A, class B, class C, class RowFn>
void ForRows3(const ZROI<A>* a, const ZROI<B>* b, const ZROI<C>* c, RowFn&& row) {
  const rows::Rows<A> ra(a);
  const rows::Rows<B> rb(b);
  const rows::Rows<C> rc(c);
  for (int y = 0; y < a->GetHeight(); ++y) row(ra[y], rb[y], rc[y], a->GetWidth());
}

// ----- per-pixel formulas -----

inline uint16_t PackC15(uint8_t b0, uint8_t b1, uint8_t b2, uint16_t old) {
  return static_cast<uint16_t>((old & 0x8000) | ((b2 >> 3) << 10) | ((b1 >> 3) << 5) | (b0 >> 3));
}
inline uint16_t PackC16(uint8_t b0, uint8_t b1, uint8_t b2) {
  return static_cast<uint16_t>(((b2 >> 3) << 11) | ((b1 >> 2) << 5) | (b0 >> 3));
}
inline ZC24 UnpackC15(uint16_t w) {
  return ZC24(static_cast<uint8_t>((w & 0x1f) << 3), static_cast<uint8_t>(((w >> 5) & 0x1f) << 3),
              static_cast<uint8_t>(((w >> 10) & 0x1f) << 3));
}
inline ZC24 UnpackC16(uint16_t w) {
  return ZC24(static_cast<uint8_t>((w & 0x1f) << 3), static_cast<uint8_t>(((w >> 5) & 0x3f) << 2),
              static_cast<uint8_t>((w >> 8) & 0xf8));
}
// The divisions by 3 are exact integer quotients: the reciprocal 0x55555556 with the high word
// kept gives floor(x / 3) for every x that these sums reach.
inline uint8_t GrayOfC15(uint16_t w) {
  const unsigned sum = (w & 0x1f) + ((w >> 5) & 0x1f) + ((w >> 10) & 0x1f);
  return static_cast<uint8_t>(8 * sum / 3);
}
inline uint8_t GrayOfC16(uint16_t w) {
  const unsigned rb = (w & 0x1f) + ((w >> 11) & 0x1f), g = (w >> 5) & 0x3f;
  return static_cast<uint8_t>(4 * (g + 2 * rb) / 3);
}

// Float to an unsigned type of top `Max`: clip, else value + 0.5 truncated. NaN gives 0.
template <class U>
inline U RoundClip(double v) {
  constexpr double kTop = static_cast<double>(static_cast<U>(~U(0)));
  if (!(v >= 0.0)) return 0;
  if constexpr (sizeof(U) == 4) {
    if (v >= 4294967296.0) return static_cast<U>(~U(0));
  } else {
    if (v > kTop) return static_cast<U>(~U(0));
  }
  const double r = v + 0.5;
  return r >= 4294967296.0 ? static_cast<U>(~U(0)) : static_cast<U>(static_cast<uint32_t>(r));
}

// ----- bit depth -----

template <class S, class D>
void Narrow(const ZROI<S>* source, ZROI<D>* destination, unsigned shift) {
  using DS = typename PixelTraits<D>::Storage_t;
  const unsigned s = shift & 31;
  auto pixel = [s](S p, D& d) { d = static_cast<DS>(static_cast<uint32_t>(p.value) >> s); };
  if constexpr (std::is_same_v<S, ZBW16> && std::is_same_v<D, ZBW8>) {
    Convert(source, destination, pixel, [s](const ZBW16* in, ZBW8* out, int width, bool) {
      if (s >= 16) return 0;
      return WideBW16ToBW8(&in->value, &out->value, width, s);
    });
  } else {
    Convert(source, destination, pixel);
  }
}

template <class S, class D>
void Widen(const ZROI<S>* source, ZROI<D>* destination, unsigned shift) {
  using DS = typename PixelTraits<D>::Storage_t;
  const unsigned s = shift & 31;
  auto pixel = [s](S p, D& d) { d = static_cast<DS>(static_cast<uint32_t>(p.value) << s); };
  if constexpr (std::is_same_v<S, ZBW8> && std::is_same_v<D, ZBW16>) {
    Convert(source, destination, pixel, [s](const ZBW8* in, ZBW16* out, int width, bool) {
      if (s >= 16) return 0;
      return WideBW8ToBW16(&in->value, &out->value, width, s);
    });
  } else {
    Convert(source, destination, pixel);
  }
}

// ----- floating point -----

template <class F, class D>
void FromFloat(const ZROI<F>* source, ZROI<D>* destination) {
  using DS = typename PixelTraits<D>::Storage_t;
  Convert(source, destination, [](F p, D& d) { d = RoundClip<DS>(static_cast<double>(p.value)); });
}

template <class S, class F>
void ToFloat(const ZROI<S>* source, ZROI<F>* destination) {
  using FS = typename PixelTraits<F>::Storage_t;
  auto pixel = [](S p, F& d) { d = static_cast<FS>(p.value); };
  if constexpr (std::is_same_v<S, ZBW8> && std::is_same_v<F, ZFLOAT32>) {
    Convert(source, destination, pixel,
            [](const ZBW8* in, ZFLOAT32* out, int width, bool stream) {
              return WideBW8ToFloat(&in->value, &out->value, width, stream);
            });
  } else {
    Convert(source, destination, pixel);
  }
}

// ----- packed one-bit, on byte-aligned views (exception style) -----

template <class S, class D>
void RequireOperands(const ZROI<S>* source, ZROI<D>* destination) {
  frame::EnterInner();
  frame::RequireOperands(source, destination);
}

// 0x80 in each byte of `v` that is not 0.
inline uint64_t NonZeroBytes(uint64_t v) {
  constexpr uint64_t k7f = 0x7f7f7f7f7f7f7f7full;
  return (((v & k7f) + k7f) | v) & ~k7f;
}

template <class S>
void ToBW1Aligned(const ZROI<S>* source, ZROI<ZBW1>* destination) {
  RequireOperands(source, destination);
  frame::RequireByteAligned(destination);
  const rows::Rows<const S> in(source);
  const rows::Rows<ZBW1> out(destination);
  const int width = destination->GetWidth();
  const bool wide = ZGetMMX() != 0;
  for (int y = 0; y < destination->GetHeight(); ++y) {
    const S* s = in[y];
    uint8_t* d = out.Bytes(y);
    int x = 0;
    if constexpr (sizeof(S) == 1) {
      if (wide) {
        // Eight pixels as one word: flag the non-zero bytes, then one multiply gathers the
        // flags with pixel 0 in bit 7.
        for (; x + 8 <= width; x += 8) {
          uint64_t v;
          __builtin_memcpy(&v, s + x, 8);
          d[x >> 3] = static_cast<uint8_t>(((NonZeroBytes(v) >> 7) * 0x8040201008040201ull) >> 56);
        }
      }
    }
    for (; x + 8 <= width; x += 8) {
      unsigned byte = 0;
      for (int k = 0; k < 8; ++k) byte = (byte << 1) | (s[x + k].value != 0 ? 1u : 0u);
      d[x >> 3] = static_cast<uint8_t>(byte);
    }
    if (x < width) {
      // The last byte of the row: a moving mask from 0x80; its bits past the row stay 0.
      const int last = x >> 3;
      unsigned byte = 0;
      for (unsigned mask = 0x80; x < width; ++x, mask >>= 1)
        if (s[x].value != 0) byte |= mask;
      d[last] = static_cast<uint8_t>(byte);
    }
  }
}

template <class D>
void FromBW1Aligned(const ZROI<ZBW1>* source, ZROI<D>* destination, D value) {
  RequireOperands(source, destination);
  frame::RequireByteAligned(source);
  // One entry for each byte value: its eight destination pixels.
  D table[256][8];
  for (int b = 0; b < 256; ++b)
    for (int k = 0; k < 8; ++k) table[b][k] = (b & (0x80 >> k)) ? value : D();
  const rows::Rows<ZBW1> in(source);
  const rows::Rows<D> out(destination);
  const int width = destination->GetWidth();
  for (int y = 0; y < destination->GetHeight(); ++y) {
    const uint8_t* s = in.Bytes(y);
    D* d = out[y];
    int x = 0;
    for (; x + 8 <= width; x += 8) __builtin_memcpy(d + x, table[s[x >> 3]], sizeof(table[0]));
    if (x < width) __builtin_memcpy(d + x, table[s[x >> 3]], sizeof(D) * static_cast<size_t>(width - x));
  }
}

// ----- packed one-bit, any bit offset: the outer level with the one handler -----

std::unique_ptr<ZImage<ZBW1>> Temporary(int width, int height) {
  // nothrow: a failed allocation of the image object is 1303 like one of its pixels.
  std::unique_ptr<ZImage<ZBW1>> image(new (std::nothrow) ZImage<ZBW1>(width, height));
  if (image == nullptr || image->GetImagePtr(0, 0) == nullptr) frame::Throw(Z_ERROR_NO_MEMORY);
  return image;
}

// A null pointer is traced plainly; everything after it runs inside the handler.
template <class Body>
void OuterBW1(const char* trace, const void* source, const void* destination, Body&& body) {
  if (!frame::Enter()) return frame::Leave(trace);
  if (source == nullptr || destination == nullptr) {
    ZSetError(Z_ERROR_NULL_IMAGE);
    ZTraceError(trace);
    return;
  }
  frame::Guard(trace, body);
}

// An unaligned destination gets the bits through an aligned temporary, which
// LumBW1UnAlignment writes back keeping the destination's bits outside the view.
template <class S>
void ToBW1(const char* trace, const ZROI<S>* source, ZROI<ZBW1>* destination) {
  OuterBW1(trace, source, destination, [&] {
    if (destination->GetBitOffset(0, 0) == 0) return LumConvertAligned(source, destination);
    RequireOperands(source, destination);
    const auto work = Temporary(destination->GetWidth(), destination->GetHeight());
    LumConvertAligned(source, work.get());
    LumBW1UnAlignment(work.get(), destination);
  });
}

template <class D>
void FromBW1(const char* trace, const ZROI<ZBW1>* source, ZROI<D>* destination, D value) {
  OuterBW1(trace, source, destination, [&] {
    if (source->GetBitOffset(0, 0) == 0) return LumConvertAligned(source, destination, value);
    RequireOperands(source, destination);
    const auto work = Temporary(source->GetWidth(), source->GetHeight());
    LumBW1Alignment(source, work.get());
    LumConvertAligned(work.get(), destination, value);
  });
}

}  // namespace kelmira::convert

namespace cv = kelmira::convert;
namespace frame = kelmira::frame;

// ----- 15- and 16-bit colour -----

void LumConvert(const ZROI<ZC24>* source, ZROI<ZC15>* destination) {
  if (frame::Enter())
    cv::Convert(source, destination, [](ZC24 s, ZC15& d) { d = cv::PackC15(s.c0, s.c1, s.c2, d.value); });
  frame::Leave("LumConvert ( C24 to C15)");
}

void LumConvert(const ZROI<ZBW8>* source, ZROI<ZC15>* destination) {
  if (frame::Enter())
    cv::Convert(source, destination, [](ZBW8 s, ZC15& d) { d = cv::PackC15(s, s, s, d.value); });
  frame::Leave("LumConvert ( BW8 to C15)");
}

void LumConvert(const ZROI<ZC15>* source, ZROI<ZC24>* destination) {
  if (frame::Enter()) cv::Convert(source, destination, [](ZC15 s, ZC24& d) { d = cv::UnpackC15(s); });
  frame::Leave("LumConvert ( C15 to C24)");
}

void LumConvert(const ZROI<ZC15>* source, ZROI<ZBW8>* destination) {
  if (frame::Enter()) cv::Convert(source, destination, [](ZC15 s, ZBW8& d) { d = cv::GrayOfC15(s); });
  frame::Leave("LumConvert ( C15 to BW8)");
}

void LumConvert(const ZROI<ZC24>* source, ZROI<ZC16>* destination) {
  if (frame::Enter())
    cv::Convert(source, destination, [](ZC24 s, ZC16& d) { d = cv::PackC16(s.c0, s.c1, s.c2); });
  frame::Leave("LumConvert ( C24 to C16)");
}

void LumConvert(const ZROI<ZBW8>* source, ZROI<ZC16>* destination) {
  if (frame::Enter()) cv::Convert(source, destination, [](ZBW8 s, ZC16& d) { d = cv::PackC16(s, s, s); });
  frame::Leave("LumConvert ( BW8 to C16)");
}

void LumConvert(const ZROI<ZC16>* source, ZROI<ZC24>* destination) {
  if (frame::Enter()) cv::Convert(source, destination, [](ZC16 s, ZC24& d) { d = cv::UnpackC16(s); });
  frame::Leave("LumConvert ( C16 to C24)");
}

void LumConvert(const ZROI<ZC16>* source, ZROI<ZBW8>* destination) {
  if (frame::Enter()) cv::Convert(source, destination, [](ZC16 s, ZBW8& d) { d = cv::GrayOfC16(s); });
  frame::Leave("LumConvert ( C16 to BW8)");
}

// ----- 24-bit colour, alpha and gray -----

void LumConvert(const ZROI<ZC24>* source, ZROI<ZC24A>* destination) {
  if (frame::Enter())
    cv::Convert(source, destination, [](ZC24 s, ZC24A& d) { d = ZC24A(s.c0, s.c1, s.c2, d.alpha); });
  frame::Leave("LumConvert ( C24 to C24A)");
}

void LumConvert(const ZROI<ZC24A>* source, ZROI<ZC24>* destination) {
  if (frame::Enter()) cv::Convert(source, destination, [](ZC24A s, ZC24& d) { d = ZC24(s.c0, s.c1, s.c2); });
  frame::Leave("LumConvert ( C24A to C24)");
}

void LumConvert(const ZROI<ZC24>* source, const ZROI<ZBW8>* alpha, ZROI<ZC24A>* destination) {
  if (frame::Enter() && frame::Operands({source, alpha}, destination))
    cv::ForRows3(source, alpha, destination, [](const ZC24* s, const ZBW8* a, ZC24A* d, int width) {
      for (int x = 0; x < width; ++x) d[x] = ZC24A(s[x].c0, s[x].c1, s[x].c2, a[x]);
    });
  frame::Leave("LumConvert ( C24 to C24A with Alpha)");
}

void LumConvert(const ZROI<ZC24A>* source, ZROI<ZC24>* destination, ZROI<ZBW8>* alpha) {
  if (frame::Enter() && frame::NotVoid(source) && frame::NotVoid(destination) && frame::NotVoid(alpha) &&
      frame::SameSize(source, destination) && frame::SameSize(source, alpha))
    cv::ForRows3(source, destination, alpha, [](const ZC24A* s, ZC24* d, ZBW8* a, int width) {
      for (int x = 0; x < width; ++x) {
        d[x] = ZC24(s[x].c0, s[x].c1, s[x].c2);
        a[x] = s[x].alpha;
      }
    });
  frame::Leave("LumConvert ( C24A to C24 with Alpha)");
}

void LumConvert(const ZROI<ZBW8>* source, ZROI<ZC24>* destination) {
  if (frame::Enter())
    cv::Convert(
        source, destination, [](ZBW8 s, ZC24& d) { d = ZC24(s, s, s); },
        [](const ZBW8* in, ZC24* out, int width, bool stream) {
          return cv::WideGrayToC24(&in->value, &out->c0, width, stream);
        });
  frame::Leave("LumConvert ( BW8 to C24)");
}

void LumConvert(const ZROI<ZC24>* source, ZROI<ZBW8>* destination) {
  if (frame::Enter())
    cv::Convert(
        source, destination, [](ZC24 s, ZBW8& d) { d = cv::GrayOfC24(&s.c0); },
        [](const ZC24* in, ZBW8* out, int width, bool stream) {
          return cv::WideC24ToGray(&in->c0, &out->value, width, stream);
        });
  frame::Leave("LumConvert ( C24 to BW8)");
}

// ----- bit depth -----

void LumConvert(const ZROI<ZBW16>* source, ZROI<ZBW8>* destination, unsigned int shift) {
  if (frame::Enter()) cv::Narrow(source, destination, shift);
  frame::Leave("LumConvert ( BW16 to BW8)");
}
void LumConvert(const ZROI<ZBW32>* source, ZROI<ZBW8>* destination, unsigned int shift) {
  if (frame::Enter()) cv::Narrow(source, destination, shift);
  frame::Leave("LumConvert ( BW32 to BW8)");
}
void LumConvert(const ZROI<ZBW32>* source, ZROI<ZBW16>* destination, unsigned int shift) {
  if (frame::Enter()) cv::Narrow(source, destination, shift);
  frame::Leave("LumConvert ( BW32 to BW16)");
}
void LumConvert(const ZROI<ZBW8>* source, ZROI<ZBW16>* destination, unsigned int shift) {
  if (frame::Enter()) cv::Widen(source, destination, shift);
  frame::Leave("LumConvert ( BW8 to BW16)");
}
void LumConvert(const ZROI<ZBW8>* source, ZROI<ZBW32>* destination, unsigned int shift) {
  if (frame::Enter()) cv::Widen(source, destination, shift);
  frame::Leave("LumConvert ( BW8 to BW32)");
}
void LumConvert(const ZROI<ZBW16>* source, ZROI<ZBW32>* destination, unsigned int shift) {
  if (frame::Enter()) cv::Widen(source, destination, shift);
  frame::Leave("LumConvert ( BW16 to BW32)");
}

// ----- packed one-bit, aligned -----

void LumConvertAligned(const ZROI<ZBW8>* source, ZROI<ZBW1>* destination) { cv::ToBW1Aligned(source, destination); }
void LumConvertAligned(const ZROI<ZBW16>* source, ZROI<ZBW1>* destination) { cv::ToBW1Aligned(source, destination); }
void LumConvertAligned(const ZROI<ZBW32>* source, ZROI<ZBW1>* destination) { cv::ToBW1Aligned(source, destination); }
void LumConvertAligned(const ZROI<ZBW1>* source, ZROI<ZBW8>* destination, ZBW8 value) {
  cv::FromBW1Aligned(source, destination, value);
}
void LumConvertAligned(const ZROI<ZBW1>* source, ZROI<ZBW16>* destination, ZBW16 value) {
  cv::FromBW1Aligned(source, destination, value);
}
void LumConvertAligned(const ZROI<ZBW1>* source, ZROI<ZBW32>* destination, ZBW32 value) {
  cv::FromBW1Aligned(source, destination, value);
}

// ----- packed one-bit, any bit offset -----

void LumConvert(const ZROI<ZBW8>* source, ZROI<ZBW1>* destination) {
  cv::ToBW1("LumConvert (BW8 -> BW1)", source, destination);
}
void LumConvert(const ZROI<ZBW16>* source, ZROI<ZBW1>* destination) {
  cv::ToBW1("LumConvert (BW16 -> BW1)", source, destination);
}
void LumConvert(const ZROI<ZBW32>* source, ZROI<ZBW1>* destination) {
  cv::ToBW1("LumConvert (BW32 -> BW1)", source, destination);
}
void LumConvert(const ZROI<ZBW1>* source, ZROI<ZBW8>* destination, ZBW8 value) {
  cv::FromBW1("LumConvert (BW1 -> BW8)", source, destination, value);
}
void LumConvert(const ZROI<ZBW1>* source, ZROI<ZBW16>* destination, ZBW16 value) {
  cv::FromBW1("LumConvert (BW1 -> BW16)", source, destination, value);
}
void LumConvert(const ZROI<ZBW1>* source, ZROI<ZBW32>* destination, ZBW32 value) {
  cv::FromBW1("LumConvert (BW1 -> BW32)", source, destination, value);
}

// ----- floating point -----

void LumConvert(const ZROI<ZFLOAT32>* source, ZROI<ZBW8>* destination) {
  if (frame::Enter()) cv::FromFloat(source, destination);
  frame::Leave("LumConvert (ZROIFLOAT32 to ZROIBW8)");
}
void LumConvert(const ZROI<ZFLOAT32>* source, ZROI<ZBW16>* destination) {
  if (frame::Enter()) cv::FromFloat(source, destination);
  frame::Leave("LumConvert (ZROIFLOAT32 to ZROIBW16)");
}
void LumConvert(const ZROI<ZFLOAT32>* source, ZROI<ZBW32>* destination) {
  if (frame::Enter()) cv::FromFloat(source, destination);
  frame::Leave("LumConvert (ZROIFLOAT32 to ZROIBW32)");
}
void LumConvert(const ZROI<ZFLOAT64>* source, ZROI<ZBW8>* destination) {
  if (frame::Enter()) cv::FromFloat(source, destination);
  frame::Leave("LumConvert (ZROIFLOAT64 to ZROIBW8)");
}
void LumConvert(const ZROI<ZFLOAT64>* source, ZROI<ZBW16>* destination) {
  if (frame::Enter()) cv::FromFloat(source, destination);
  frame::Leave("LumConvert (ZROIFLOAT64 to ZROIBW16)");
}
void LumConvert(const ZROI<ZFLOAT64>* source, ZROI<ZBW32>* destination) {
  if (frame::Enter()) cv::FromFloat(source, destination);
  frame::Leave("LumConvert (ZROIFLOAT64 to ZROIBW32)");
}
void LumConvert(const ZROI<ZBW8>* source, ZROI<ZFLOAT32>* destination) {
  if (frame::Enter()) cv::ToFloat(source, destination);
  frame::Leave("LumConvert (ZROIBW8 to ZROIFLOAT32)");
}
void LumConvert(const ZROI<ZBW16>* source, ZROI<ZFLOAT32>* destination) {
  if (frame::Enter()) cv::ToFloat(source, destination);
  frame::Leave("LumConvert (ZROIBW16 to ZROIFLOAT32)");
}
void LumConvert(const ZROI<ZBW32>* source, ZROI<ZFLOAT32>* destination) {
  if (frame::Enter()) cv::ToFloat(source, destination);
  frame::Leave("LumConvert (ZROIBW32 to ZROIFLOAT32)");
}
void LumConvert(const ZROI<ZBW8>* source, ZROI<ZFLOAT64>* destination) {
  if (frame::Enter()) cv::ToFloat(source, destination);
  frame::Leave("LumConvert (ZROIBW8 to ZROIFLOAT64)");
}
void LumConvert(const ZROI<ZBW16>* source, ZROI<ZFLOAT64>* destination) {
  if (frame::Enter()) cv::ToFloat(source, destination);
  frame::Leave("LumConvert (ZROIBW16 to ZROIFLOAT64)");
}
void LumConvert(const ZROI<ZBW32>* source, ZROI<ZFLOAT64>* destination) {
  if (frame::Enter()) cv::ToFloat(source, destination);
  frame::Leave("LumConvert (ZROIBW32 to ZROIFLOAT64)");
}

void LumConvertTo422(ZROI<ZBW8>* source, ZROI<ZBW16>* destination) {
  if (frame::Enter())
    cv::Convert(
        source, destination, [](ZBW8 s, ZBW16& d) { d = static_cast<uint16_t>(0x8000 | s.value); },
        [](const ZBW8* in, ZBW16* out, int width, bool) { return cv::WideTo422(&in->value, &out->value, width); });
  frame::Leave("LumConvertTo422 ( BW8 to BW16)");
}
