// Kelmira pixel-wise operators: arithmetic and logic (LumOper), copies and fills (LumCopy), and the
// alignment of packed one-bit views (LumBW1Alignment, LumBW1UnAlignment). Included by
// kelmira/pixelwise.h.
//
// How every LumOper and LumCopy form behaves (except the one-bit forms, see the end):
//   - The call returns nothing: the outcome is the calling thread's error state (ZGetError) and,
//     on failure, one trace entry holding the form's trace string, given with each form below.
//   - The operation code comes first, then the operands, then the destination. Sources may be the
//     destination itself (in place): each pixel is read before it is written, at the same place.
//   - A code that the form refuses: 1003 (Z_ERROR_BAD_OPERATION) before anything is read. A code
//     that the form does not refuse but has no case for (31, 32, 35 and up, ...): 32767
//     (Z_ERROR_INTERNAL), after the view checks, with nothing written.
//   - View checks, in this order: each source then the destination is not null and not void
//     (1400), then each source has the destination's size (1402). Constant-to-image forms check
//     the destination only. A failed check writes nothing.
//   - With ZGetMMX() set, the BW8 and C24 forms run rows through wide code under the row rule; the
//     pixels are the same as with ZGetMMX() at 0, byte for byte.
//
// Arithmetic is unsigned, on 32 bits, stored in the pixel's width. `a` is the first operand, `b`
// the second (a constant takes its place in the operand order), M the largest value: 255 for BW8
// and each C24 component, 65535 for BW16. C24 works component by component, each component with
// the constant's own byte, except for code 34. The meaning of each code is on the enumeration.
#ifndef KELMIRA_PIXELWISE_OPER_H
#define KELMIRA_PIXELWISE_OPER_H

#include "kelmira/foundation.h"

// The operation codes of LumOper. The numbers are what a host passes; any int may be passed
// through static_cast (the type is int-based, so every int is a valid value) and is then refused
// or answered with 32767 as the form says.
enum ARITH_LOGIC_OPERATIONS : int {
  ARITH_LOGIC_COPY = 0,                 // a
  ARITH_LOGIC_INVERT = 1,               // ~a
  ARITH_LOGIC_ADD = 2,                  // a + b, clipped to M
  ARITH_LOGIC_SUBTRACT = 3,             // a - b, clipped to 0
  ARITH_LOGIC_MULTIPLY = 4,             // a * b, clipped to M
  ARITH_LOGIC_DIVIDE = 5,               // a / b truncated; M when b is 0
  ARITH_LOGIC_MODULO = 6,               // a % b; 0 when b is 0
  ARITH_LOGIC_SHIFT_LEFT = 7,           // a << (constant & 31), in the pixel's width (image, constant forms)
  ARITH_LOGIC_SHIFT_RIGHT = 8,          // a >> (constant & 31), zeros coming in (same forms)
  ARITH_LOGIC_AVERAGE = 9,              // (a + b) >> 1
  ARITH_LOGIC_HALF_DIFFERENCE = 10,     // (a + (M - b)) >> 1
  ARITH_LOGIC_SCALED_MULTIPLY = 11,     // (a * b) >> 8 on BW8 and C24, >> 16 on BW16
  ARITH_LOGIC_SCALED_DIVIDE = 12,       // (a << 8) / b clipped to M; M when b is 0 (BW16: see below)
  ARITH_LOGIC_BIT_AND = 13,             // a & b
  ARITH_LOGIC_BIT_OR = 14,              // a | b
  ARITH_LOGIC_BIT_XOR = 15,             // a ^ b
  ARITH_LOGIC_LOGICAL_AND = 16,         // M when both are non-zero, else 0
  ARITH_LOGIC_LOGICAL_OR = 17,          // M when either is non-zero, else 0
  ARITH_LOGIC_LOGICAL_XOR = 18,         // M when exactly one is non-zero, else 0
  ARITH_LOGIC_MIN = 19,                 // the smaller
  ARITH_LOGIC_MAX = 20,                 // the larger
  ARITH_LOGIC_SET_WHERE_ZERO = 21,      // where a is 0 the destination takes b, elsewhere it is kept
  ARITH_LOGIC_SET_WHERE_NONZERO = 22,   // where a is not 0 the destination takes b, elsewhere kept
  ARITH_LOGIC_EQUAL = 23,               // M when a == b, else 0
  ARITH_LOGIC_NOT_EQUAL = 24,           // M when a != b, else 0
  ARITH_LOGIC_GREATER_EQUAL = 25,       // M when a >= b, else 0
  ARITH_LOGIC_LESS_EQUAL = 26,          // M when a <= b, else 0
  ARITH_LOGIC_GREATER = 27,             // M when a > b, else 0
  ARITH_LOGIC_LESS = 28,                // M when a < b, else 0
  ARITH_LOGIC_ADD_WRAP = 29,            // a + b modulo 65536 (BW16, BW8 to BW16 only)
  ARITH_LOGIC_SUBTRACT_WRAP = 30,       // a - b modulo 65536 (same form only)
  // 31 and 32 have no meaning: every form refuses them or answers 32767.
  ARITH_LOGIC_ABSOLUTE_DIFFERENCE = 33,  // |a - b|
  ARITH_LOGIC_OVERLAY = 34,              // colour overlay; see the colour forms
};

// ---------------------------------------------------------------------------------------------
// LumOper on BW8
// ---------------------------------------------------------------------------------------------

// Fills `destination` with `value`. Accepts 0 only. Trace "LumOper ( BW8 Const to Image)".
KELMIRA_API void LumOper(ARITH_LOGIC_OPERATIONS code, ZBW8 value, ZROI<ZBW8>* destination);
// Copy (0) or complement (1). Trace "LumOper ( BW8 Image to Image)".
KELMIRA_API void LumOper(ARITH_LOGIC_OPERATIONS code, const ZROI<ZBW8>* source, ZROI<ZBW8>* destination);
// Gray to colour: 0 writes the pixel to all three components, 1 its complement, 34 writes the
// calling thread's overlay colour (LumSetOverlayColor) where the pixel is not 0 and keeps the
// destination elsewhere. Others 1003. Trace "LumOper ( BW8 Image to C24 Image)".
KELMIRA_API void LumOper(ARITH_LOGIC_OPERATIONS code, const ZROI<ZBW8>* source, ZROI<ZC24>* destination);
// constant op pixel. Accepts 2-6, 9-15, 19, 20, 23-28, 33; refuses 7, 8, 16-18, 21, 22 (1003);
// other codes 32767. Trace "LumOper ( BW8 Const, Image to Image)".
KELMIRA_API void LumOper(ARITH_LOGIC_OPERATIONS code, ZBW8 value, const ZROI<ZBW8>* source, ZROI<ZBW8>* destination);
// pixel op constant. Accepts 2-15, 19-28, 33; refuses 16-18 (1003); other codes 32767. Codes 21
// and 22 write only the pixels where the condition holds. Trace "LumOper ( BW8 Image, Const to Image)".
KELMIRA_API void LumOper(ARITH_LOGIC_OPERATIONS code, const ZROI<ZBW8>* source, ZBW8 value, ZROI<ZBW8>* destination);
// a op b. Accepts 2-6, 9-28, 33, 34; refuses 7, 8 (1003); other codes 32767. Code 34 walks each
// row in steps of three bytes as if it held C24 pixels (b's three bytes where they are not all 0,
// else a's); a last group of one or two bytes is judged on the bytes that the row holds.
// Trace "LumOper ( BW8 Image, Image to Image)".
KELMIRA_API void LumOper(ARITH_LOGIC_OPERATIONS code, const ZROI<ZBW8>* sourceA, const ZROI<ZBW8>* sourceB,
                         ZROI<ZBW8>* destination);
// a op b into BW16. Accepts 2 (exact sum), 3 (clipped to 0), 4 (exact product), 5 (65535 when
// b is 0). Others 1003. Trace "LumOper ( BW8 Image and BW8 Image to BW16 Image)".
KELMIRA_API void LumOper(ARITH_LOGIC_OPERATIONS code, const ZROI<ZBW8>* sourceA, const ZROI<ZBW8>* sourceB,
                         ZROI<ZBW16>* destination);

// ---------------------------------------------------------------------------------------------
// LumOper on BW16
// ---------------------------------------------------------------------------------------------

// BW16 a op BW8 b into BW16. Accepts 2 (clipped to 65535), 3 (clipped to 0), 4 (a product of at
// most 65535 stores 65535, a larger one its low 16 bits), 5 (65535 when b is 0), 29 and 30
// (modulo 65536). Others 1003. Trace "LumOper ( BW16 Image and BW8 Image to BW16 IMage)".
KELMIRA_API void LumOper(ARITH_LOGIC_OPERATIONS code, const ZROI<ZBW16>* sourceA, const ZROI<ZBW8>* sourceB,
                         ZROI<ZBW16>* destination);
// Fill. Accepts 0 only. Trace "LumOper ( BW16 Const to Image)".
KELMIRA_API void LumOper(ARITH_LOGIC_OPERATIONS code, ZBW16 value, ZROI<ZBW16>* destination);
// Copy (0) or complement (1). Trace "LumOper (BW16 Image to Image)".
KELMIRA_API void LumOper(ARITH_LOGIC_OPERATIONS code, const ZROI<ZBW16>* source, ZROI<ZBW16>* destination);
// constant op pixel, codes as for BW8. Differences: code 5 with a pixel of 0 gives 255; code 12
// gives 65535 for a pixel of 0, else the constant shifted left by 16 / pixel (integer), clipped to
// 65535. Trace "LumOper ( BW16 Const, Image to Image)".
KELMIRA_API void LumOper(ARITH_LOGIC_OPERATIONS code, ZBW16 value, const ZROI<ZBW16>* source, ZROI<ZBW16>* destination);
// pixel op constant, codes as for BW8. Code 12 is (a << 16) / b clipped to 65535, 65535 when the
// constant is 0. Trace "LumOper ( BW16 Image, Const to Image)".
KELMIRA_API void LumOper(ARITH_LOGIC_OPERATIONS code, const ZROI<ZBW16>* source, ZBW16 value, ZROI<ZBW16>* destination);
// a op b. Accepts 2-6, 9-28, 33; refuses 7, 8; other codes 32767. Code 11 is (a * b) >> 16, and
// code 12 is (a << 8) / b clipped to 65535. Trace "LumOper ( BW16 Image, Image to Image)".
KELMIRA_API void LumOper(ARITH_LOGIC_OPERATIONS code, const ZROI<ZBW16>* sourceA, const ZROI<ZBW16>* sourceB,
                         ZROI<ZBW16>* destination);

// ---------------------------------------------------------------------------------------------
// LumOper on C24 and mixed gray/colour. A C24 pixel is black when its three bytes are 0.
// ---------------------------------------------------------------------------------------------

// Fill. Accepts 0 only. Trace "LumOper ( C24 Const to Image)".
KELMIRA_API void LumOper(ARITH_LOGIC_OPERATIONS code, ZC24 value, ZROI<ZC24>* destination);
// Copy (0), complement (1), or 34: where the source is not black the destination takes it, else
// it keeps its pixel. Others 1003. Trace "LumOper ( C24 Image to Image)".
KELMIRA_API void LumOper(ARITH_LOGIC_OPERATIONS code, const ZROI<ZC24>* source, ZROI<ZC24>* destination);
// constant op pixel by component; codes as for BW8. Trace "LumOper ( C24 Const, Image to Image)".
KELMIRA_API void LumOper(ARITH_LOGIC_OPERATIONS code, ZC24 value, const ZROI<ZC24>* source, ZROI<ZC24>* destination);
// pixel op constant by component; codes as for BW8. Trace "LumOper ( C24 Image, Const to Image)".
KELMIRA_API void LumOper(ARITH_LOGIC_OPERATIONS code, const ZROI<ZC24>* source, ZC24 value, ZROI<ZC24>* destination);
// a op b by component; codes as for two BW8 images; 34 takes b where it is not black, else a.
// Trace "LumOper ( C24 Image, Image to Image)".
KELMIRA_API void LumOper(ARITH_LOGIC_OPERATIONS code, const ZROI<ZC24>* sourceA, const ZROI<ZC24>* sourceB,
                         ZROI<ZC24>* destination);
// The BW8 pixel op each component of the C24 pixel (the BW8 pixel stays left). Accepts 2-6, 9-28,
// 33, 34; refuses 7, 8; 34 takes the C24 pixel where it is not black, else the BW8 pixel in all
// three components. Trace "LumOper ( BW8 Image, C24 Image to C24 Image)".
KELMIRA_API void LumOper(ARITH_LOGIC_OPERATIONS code, const ZROI<ZBW8>* sourceA, const ZROI<ZC24>* sourceB,
                         ZROI<ZC24>* destination);
// Accepts 34 only: where b is 0, a in all three components, else the overlay colour. Null
// pointers are 1400, views of different sizes 1403 (not 1402). Trace
// "LumOper ( BW8 Image, BW8 Image to C24 Image)".
KELMIRA_API void LumOper(ARITH_LOGIC_OPERATIONS code, const ZROI<ZBW8>* sourceA, const ZROI<ZBW8>* sourceB,
                         ZROI<ZC24>* destination);
// Each component of the C24 pixel op the BW8 pixel. Accepts 2-6, 9-28, 33, 34; refuses 7, 8;
// 34 writes the overlay colour where the BW8 pixel is not 0, else the C24 pixel.
// Trace "LumOper ( C24 Image, BW8 Image to C24 Image)".
KELMIRA_API void LumOper(ARITH_LOGIC_OPERATIONS code, const ZROI<ZC24>* sourceA, const ZROI<ZBW8>* sourceB,
                         ZROI<ZC24>* destination);

// ---------------------------------------------------------------------------------------------
// LumCopy: fill with a constant, or copy a view of the same type and size.
// ---------------------------------------------------------------------------------------------

KELMIRA_API void LumCopy(ZBW8 value, ZROI<ZBW8>* destination);                    // "LumCopy ( BW8 Const to Image)"
KELMIRA_API void LumCopy(const ZROI<ZBW8>* source, ZROI<ZBW8>* destination);      // "LumCopy ( BW8 Image to Image)"
KELMIRA_API void LumCopy(ZBW16 value, ZROI<ZBW16>* destination);                  // "LumCopy (BW16 Const)"
KELMIRA_API void LumCopy(const ZROI<ZBW16>* source, ZROI<ZBW16>* destination);    // "LumCopy (BW16 Image)"
KELMIRA_API void LumCopy(ZBW32 value, ZROI<ZBW32>* destination);                  // "LumCopy (BW32 Const)"
KELMIRA_API void LumCopy(const ZROI<ZBW32>* source, ZROI<ZBW32>* destination);    // "LumCopy (BW32 Image)"
KELMIRA_API void LumCopy(ZC15 value, ZROI<ZC15>* destination);                    // "LumCopy (C15 Const)"
KELMIRA_API void LumCopy(const ZROI<ZC15>* source, ZROI<ZC15>* destination);      // "LumCopy ( C15 Image)"
KELMIRA_API void LumCopy(ZC16 value, ZROI<ZC16>* destination);                    // "LumCopy (C16 Const)"
KELMIRA_API void LumCopy(const ZROI<ZC16>* source, ZROI<ZC16>* destination);      // "LumCopy ( C16 Image)"
KELMIRA_API void LumCopy(ZC24 value, ZROI<ZC24>* destination);                    // "LumCopy (C24 Const)"
KELMIRA_API void LumCopy(const ZROI<ZC24>* source, ZROI<ZC24>* destination);      // "LumCopy ( C24 Image)"

// ---------------------------------------------------------------------------------------------
// Packed one-bit views (ZBW1). Operators work on whole bytes, eight pixels at a time. A view is
// aligned when GetBitOffset(0, 0) is 0. Bits of a destination's bytes that lie outside the view
// (ahead of its first pixel, past its last) are always kept.
//
// The plain forms accept views of any bit offset, never throw, and report like every operator:
// a null pointer gives 1400 with the trace written plainly; any other failure is caught by the
// form's one handler, which sets the thrown number and traces. Unaligned views go through
// LumBW1Alignment / LumBW1UnAlignment and temporary images (1303 when one cannot be allocated).
//
// The Aligned forms and the two alignment operators are the inner level that other one-bit
// operators build on: they set no trace and THROW Marvane::Ovidra::Exception (1003 for a refused
// code, 1400/1402 from the view checks, 1423 for a view that is not aligned). Call them only
// inside a handler of your own.
//
// Codes: 0 copy, 1 complement, 13 AND, 14 OR, 15 XOR, 21 (d & a) | (~a & b),
// 22 (a & b) | (d & ~a), 26 ~a | b, d being the destination's bit before the call.
// ---------------------------------------------------------------------------------------------

// Fill with 1 bits when `value` is not 0, else 0 bits. Accepts 0 only. Trace "LumOper (BW1)".
KELMIRA_API void LumOper(ARITH_LOGIC_OPERATIONS code, ZBW1 value, ZROI<ZBW1>* destination);
// Copy (0) or complement (1). Trace "LumOper (BW1)".
KELMIRA_API void LumOper(ARITH_LOGIC_OPERATIONS code, const ZROI<ZBW1>* source, ZROI<ZBW1>* destination);
// Codes 13, 14, 15, 21, 22, 26. Trace "LumOper (BW1)".
KELMIRA_API void LumOper(ARITH_LOGIC_OPERATIONS code, const ZROI<ZBW1>* sourceA, const ZROI<ZBW1>* sourceB,
                         ZROI<ZBW1>* destination);
KELMIRA_API void LumOperAligned(ARITH_LOGIC_OPERATIONS code, ZBW1 value, ZROI<ZBW1>* destination);
KELMIRA_API void LumOperAligned(ARITH_LOGIC_OPERATIONS code, const ZROI<ZBW1>* source, ZROI<ZBW1>* destination);
KELMIRA_API void LumOperAligned(ARITH_LOGIC_OPERATIONS code, const ZROI<ZBW1>* sourceA,
                                const ZROI<ZBW1>* sourceB, ZROI<ZBW1>* destination);

// Fill with 1 bits when `value` is not 0, else 0 bits; or copy. A null pointer traces
// "LumCopy (BW1)"; a failure caught by the handler traces "LumCopy(BW1)".
KELMIRA_API void LumCopy(ZBW1 value, ZROI<ZBW1>* destination);
KELMIRA_API void LumCopy(const ZROI<ZBW1>* source, ZROI<ZBW1>* destination);
KELMIRA_API void LumCopyAligned(ZBW1 value, ZROI<ZBW1>* destination);
KELMIRA_API void LumCopyAligned(const ZROI<ZBW1>* source, ZROI<ZBW1>* destination);

// An aligned copy of a view of any bit offset. Throws 1400 (null or void), 1402 (sizes), 1423
// (destination not aligned).
KELMIRA_API void LumBW1Alignment(const ZROI<ZBW1>* source, ZROI<ZBW1>* destination);
// Writes an aligned view into a destination of any bit offset, keeping the destination's bits
// outside the view. Throws 1423 (source not aligned), then 1400 or 1402.
KELMIRA_API void LumBW1UnAlignment(const ZROI<ZBW1>* source, ZROI<ZBW1>* destination);

#endif  // KELMIRA_PIXELWISE_OPER_H
