// Kelmira pixel-wise operators: convert family. Included by kelmira/pixelwise.h.
//
// LumConvert writes a source view into a destination view of the same size in another pixel
// type. Every form checks the source, then the destination, for null or void (1400), then the
// sizes (1402), and traces the string given with it on failure; nothing else fails, no value is
// refused. In what follows b0, b1, b2 are the bytes of a C24 pixel in memory order.
#ifndef KELMIRA_PIXELWISE_CONVERT_H
#define KELMIRA_PIXELWISE_CONVERT_H

#include "kelmira/foundation.h"

// ----- 15- and 16-bit colour -----
// To C15: b2 >> 3 in bits 14-10, b1 >> 3 in bits 9-5, b0 >> 3 in bits 4-0; from BW8 all three
// fields are pixel >> 3. Bit 15 of each destination word keeps its old value.
KELMIRA_API void LumConvert(const ZROI<ZC24>* source, ZROI<ZC15>* destination);  // "LumConvert ( C24 to C15)"
KELMIRA_API void LumConvert(const ZROI<ZBW8>* source, ZROI<ZC15>* destination);  // "LumConvert ( BW8 to C15)"
// From C15: each field shifted left by 3 (no replication of the high bits: white gives 248).
KELMIRA_API void LumConvert(const ZROI<ZC15>* source, ZROI<ZC24>* destination);  // "LumConvert ( C15 to C24)"
// Gray from C15: the integer part of 8 * (sum of the three 5-bit fields) / 3.
KELMIRA_API void LumConvert(const ZROI<ZC15>* source, ZROI<ZBW8>* destination);  // "LumConvert ( C15 to BW8)"
// To C16: b2 >> 3 in bits 15-11, b1 >> 2 in bits 10-5, b0 >> 3 in bits 4-0.
KELMIRA_API void LumConvert(const ZROI<ZC24>* source, ZROI<ZC16>* destination);  // "LumConvert ( C24 to C16)"
KELMIRA_API void LumConvert(const ZROI<ZBW8>* source, ZROI<ZC16>* destination);  // "LumConvert ( BW8 to C16)"
// From C16: b2 = high byte & 0xF8, b1 = bits 10-5 << 2, b0 = bits 4-0 << 3.
KELMIRA_API void LumConvert(const ZROI<ZC16>* source, ZROI<ZC24>* destination);  // "LumConvert ( C16 to C24)"
// Gray from C16: the integer part of 4 * (g + 2 * (r + b)) / 3, g being the 6-bit field.
KELMIRA_API void LumConvert(const ZROI<ZC16>* source, ZROI<ZBW8>* destination);  // "LumConvert ( C16 to BW8)"

// ----- 24-bit colour, alpha and gray -----
// Copies the three bytes; the alpha byte of the destination is left as it was.
KELMIRA_API void LumConvert(const ZROI<ZC24>* source, ZROI<ZC24A>* destination);  // "LumConvert ( C24 to C24A)"
// Drops the alpha byte.
KELMIRA_API void LumConvert(const ZROI<ZC24A>* source, ZROI<ZC24>* destination);  // "LumConvert ( C24A to C24)"
// The colour from `source`, the alpha byte from `alpha`. Trace "LumConvert ( C24 to C24A with Alpha)".
KELMIRA_API void LumConvert(const ZROI<ZC24>* source, const ZROI<ZBW8>* alpha, ZROI<ZC24A>* destination);
// The colour to `destination`, the alpha byte to `alpha`. Trace "LumConvert ( C24A to C24 with Alpha)".
KELMIRA_API void LumConvert(const ZROI<ZC24A>* source, ZROI<ZC24>* destination, ZROI<ZBW8>* alpha);
// The pixel in all three bytes.
KELMIRA_API void LumConvert(const ZROI<ZBW8>* source, ZROI<ZC24>* destination);  // "LumConvert ( BW8 to C24)"
// ((b0 + b1 + b2) * 85) >> 8, a near mean: white gives 254.
KELMIRA_API void LumConvert(const ZROI<ZC24>* source, ZROI<ZBW8>* destination);  // "LumConvert ( C24 to BW8)"

// ----- Bit depth -----
// The shift count is taken modulo 32 and applied in 32 bits. Narrower: (pixel >> shift), low
// bits stored, no clipping (BW16 to BW8 with 8 keeps the high byte). Wider: pixel << shift,
// low bits stored. Traces "LumConvert ( BW16 to BW8)" and so on, after the types.
KELMIRA_API void LumConvert(const ZROI<ZBW16>* source, ZROI<ZBW8>* destination, unsigned int shift);
KELMIRA_API void LumConvert(const ZROI<ZBW32>* source, ZROI<ZBW8>* destination, unsigned int shift);
KELMIRA_API void LumConvert(const ZROI<ZBW32>* source, ZROI<ZBW16>* destination, unsigned int shift);
KELMIRA_API void LumConvert(const ZROI<ZBW8>* source, ZROI<ZBW16>* destination, unsigned int shift);
KELMIRA_API void LumConvert(const ZROI<ZBW8>* source, ZROI<ZBW32>* destination, unsigned int shift);
KELMIRA_API void LumConvert(const ZROI<ZBW16>* source, ZROI<ZBW32>* destination, unsigned int shift);

// ----- Packed one-bit -----
// To BW1: eight pixels a byte, the first in bit 7; a pixel other than 0 gives a 1 bit. On a byte
// aligned destination the last byte of each row is written whole, its bits past the row being 0.
// From BW1: a set bit gives `value`, a clear bit 0. Any bit offset is accepted: views that do not
// start on a byte go through LumBW1Alignment / LumBW1UnAlignment and a temporary image.
// Traces "LumConvert (BW8 -> BW1)", "LumConvert (BW1 -> BW8)" and so on; the number of a failure
// is the one that the inner level threw (LumBW1UnAlignment, LumConvertAligned).
KELMIRA_API void LumConvert(const ZROI<ZBW8>* source, ZROI<ZBW1>* destination);
KELMIRA_API void LumConvert(const ZROI<ZBW16>* source, ZROI<ZBW1>* destination);
KELMIRA_API void LumConvert(const ZROI<ZBW32>* source, ZROI<ZBW1>* destination);
KELMIRA_API void LumConvert(const ZROI<ZBW1>* source, ZROI<ZBW8>* destination, ZBW8 value);
KELMIRA_API void LumConvert(const ZROI<ZBW1>* source, ZROI<ZBW16>* destination, ZBW16 value);
KELMIRA_API void LumConvert(const ZROI<ZBW1>* source, ZROI<ZBW32>* destination, ZBW32 value);

// The same six on byte-aligned BW1 views. These are inner operators: they report a failure by
// throwing Marvane::Ovidra::Exception (1400 null or void view, 1402 sizes, 1423 a BW1 view that
// does not start on a byte) and record no trace. Hosts normally call LumConvert.
KELMIRA_API void LumConvertAligned(const ZROI<ZBW8>* source, ZROI<ZBW1>* destination);
KELMIRA_API void LumConvertAligned(const ZROI<ZBW16>* source, ZROI<ZBW1>* destination);
KELMIRA_API void LumConvertAligned(const ZROI<ZBW32>* source, ZROI<ZBW1>* destination);
KELMIRA_API void LumConvertAligned(const ZROI<ZBW1>* source, ZROI<ZBW8>* destination, ZBW8 value);
KELMIRA_API void LumConvertAligned(const ZROI<ZBW1>* source, ZROI<ZBW16>* destination, ZBW16 value);
KELMIRA_API void LumConvertAligned(const ZROI<ZBW1>* source, ZROI<ZBW32>* destination, ZBW32 value);

// ----- Floating point -----
// Float to integer: below 0 gives 0, above the top of the type (255, 65535) the top, and for BW32
// 4294967296.0 or more the largest value; otherwise value + 0.5 (in double) truncated: the
// nearest integer, halves going up. NaN gives 0. Traces "LumConvert (ZROIFLOAT32 to ZROIBW8)"
// and so on, after the types.
KELMIRA_API void LumConvert(const ZROI<ZFLOAT32>* source, ZROI<ZBW8>* destination);
KELMIRA_API void LumConvert(const ZROI<ZFLOAT32>* source, ZROI<ZBW16>* destination);
KELMIRA_API void LumConvert(const ZROI<ZFLOAT32>* source, ZROI<ZBW32>* destination);
KELMIRA_API void LumConvert(const ZROI<ZFLOAT64>* source, ZROI<ZBW8>* destination);
KELMIRA_API void LumConvert(const ZROI<ZFLOAT64>* source, ZROI<ZBW16>* destination);
KELMIRA_API void LumConvert(const ZROI<ZFLOAT64>* source, ZROI<ZBW32>* destination);
// Integer to float: the pixel's value (BW32 to FLOAT32 rounds to the nearest float).
// Traces "LumConvert (ZROIBW8 to ZROIFLOAT32)" and so on.
KELMIRA_API void LumConvert(const ZROI<ZBW8>* source, ZROI<ZFLOAT32>* destination);
KELMIRA_API void LumConvert(const ZROI<ZBW16>* source, ZROI<ZFLOAT32>* destination);
KELMIRA_API void LumConvert(const ZROI<ZBW32>* source, ZROI<ZFLOAT32>* destination);
KELMIRA_API void LumConvert(const ZROI<ZBW8>* source, ZROI<ZFLOAT64>* destination);
KELMIRA_API void LumConvert(const ZROI<ZBW16>* source, ZROI<ZFLOAT64>* destination);
KELMIRA_API void LumConvert(const ZROI<ZBW32>* source, ZROI<ZFLOAT64>* destination);

// Each BW8 pixel becomes a 16-bit word whose bytes in memory order are the pixel and 0x80: gray
// in an interleaved luminance/chrominance layout with neutral chrominance. Trace
// "LumConvertTo422 ( BW8 to BW16)".
KELMIRA_API void LumConvertTo422(ZROI<ZBW8>* source, ZROI<ZBW16>* destination);

#endif  // KELMIRA_PIXELWISE_CONVERT_H
