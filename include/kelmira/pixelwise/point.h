// Kelmira pixel-wise operators: point family. Included by kelmira/pixelwise.h.
//
// Each operator maps every pixel through a function of that pixel alone: a table (LumLut), a host
// callback (LumTransform) or a gain and an offset (LumGainOffset). The destination may be the
// source itself, or null, which means the same (the work is done in place). Errors common to all:
// 1400 for a null or void view, 1402 when the sizes differ. On failure each form traces the string
// given with it; the destination is untouched when a check fails.
#ifndef KELMIRA_PIXELWISE_POINT_H
#define KELMIRA_PIXELWISE_POINT_H

#include "kelmira/foundation.h"
#include "kelmira/vectors.h"

// destination = table[source], with a table of 256 entries. Checks the source for void and the
// sizes (1400, 1402); a null table is 1400. Records no trace string of its own.
KELMIRA_API void LumLut(const ZROI<ZBW8>* source, ZROI<ZBW8>* destination, ZBW8* table);

// The same with the table in a vector, which must hold exactly 256 elements (else 1613, the
// destination untouched; a null vector is 1400). Checks the sizes first, then the count, then
// runs the table form. Trace "LumLut".
KELMIRA_API void LumLut(const ZROI<ZBW8>* source, ZROI<ZBW8>* destination, ZBW8Vector* table);

// destination = table[source], with a table of 65536 entries. Trace "LumLut (BW16)".
KELMIRA_API void LumLut(ZROI<ZBW16>* source, ZROI<ZBW16>* destination, ZBW16* table);

// The same with the table in a vector of exactly 65536 elements (else 1613). The nested table
// form traces too, so a failure inside it leaves "LumLut (BW16)" twice.
KELMIRA_API void LumLut(ZROI<ZBW16>* source, ZROI<ZBW16>* destination, ZBW16Vector* table);

// BW16 to BW8 through a table of 2^bits entries, `shift` being the number of low bits dropped:
// destination = table[(source >> shift) & (2^bits - 1)]. `bits` is the floor of log2 of the
// vector's count. A shift of 0xFFFFFFFF (-1) means 16 - bits, so the top bits of each pixel index
// the table; otherwise bits + shift above 16 fails with 1014. Then bits above 16, or a count
// that is not exactly 2^bits, fail with 1613. With a shift of 0 and fewer than 16 bits, the pixel
// is taken modulo the table size. Checks the source, then the destination, for void, then the
// sizes. Trace "LumLut ( BW16 to BW8)".
KELMIRA_API void LumLut(ZROI<ZBW16>* source, ZROI<ZBW8>* destination, ZBW8Vector* table, unsigned int shift);

// LumTransform on BW8: with `useTable` non-zero, `function` is called exactly 256 times, for the
// values 0 to 255 in rising order, and the pixels are looked up in the results; with `useTable`
// 0 it is called once for each pixel, in row order. A null function is 1400. Trace
// "LumTransform".
KELMIRA_API void LumTransform(ZROI<ZBW8>* source, ZROI<ZBW8>* destination, ZBW8 (*function)(ZBW8),
                              int useTable);

// LumTransform on BW16: `function` is called once for each pixel, in row order. A null function
// is 1400. Trace "LumTransform (BW16)".
KELMIRA_API void LumTransform(ZROI<ZBW16>* source, ZROI<ZBW16>* destination, ZBW16 (*function)(ZBW16));

// Gain and offset on BW8 in fixed point with 5 fractional bits: g = trunc(gain * 32) and
// o = trunc(offset) (values beyond the 32-bit range saturate). The scalar path computes
// ((i * g) >> 5) + o for each value i, with a 32-bit product and a logical shift, and clips it:
// above 255 as an unsigned number gives 255 when the 32-bit value is positive and 0 when it is
// negative (so a negative gain gives 255 for every pixel above 0). With the wide paths on, the
// aligned middle of each destination row (see ZGetMMX) computes instead, in 16-bit lanes,
// (low 16 bits of pixel * g) >> 5, adds the low 16 bits of o with signed saturation and
// saturates to 0..255; the head and tail of each row use the scalar table. The two agree for
// gains from 0 to just under 8.03; above that the middle wraps where the table clips. That
// difference is deliberate. Trace "LumGainOffset".
KELMIRA_API void LumGainOffset(ZROI<ZBW8>* source, ZROI<ZBW8>* destination, float gain, float offset);

// Gain and offset on BW16: ((pixel * g) >> 5) + o with g = trunc(gain * 32), o = trunc(offset),
// a 32-bit product and an arithmetic shift (negative gains work), clipped to 0..65535. Trace
// "LumGainOffset (BW16)".
KELMIRA_API void LumGainOffset(ZROI<ZBW16>* source, ZROI<ZBW16>* destination, float gain, float offset);

// Gain and offset on C24 by three tables: entry i = trunc(i * gain + offset), computed in extended
// precision, clipped to 0..255. The components are crossed: byte 0 of a pixel uses gain.c2 and
// offset.c2, byte 1 uses c1, byte 2 uses c0. Trace "LumGainOffset".
KELMIRA_API void LumGainOffset(ZROI<ZC24>* source, ZROI<ZC24>* destination, ZColor gain, ZColor offset);

#endif  // KELMIRA_PIXELWISE_POINT_H
