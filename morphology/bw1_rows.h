// Row kernels of the packed one-bit morphology, shared by the scalar engine (bw1_engine.cc) and
// its wide twin (bw1_wide.cc).
//
// A packed row holds eight pixels a byte, the first in bit 7. Every pass computes an output byte
// from three rows (above, current, below) and from the bytes on the left and on the right, whose
// neighbouring bit is shifted in. Only the first and the last byte of a row have edge rules; the
// bytes between them follow one formula, which the scalar code applies a byte at a time and the
// wide code a 64-bit word (or several) at a time.
#ifndef KELMIRA_MORPHOLOGY_BW1_ROWS_H
#define KELMIRA_MORPHOLOGY_BW1_ROWS_H

#include <cstddef>
#include <cstdint>

namespace kelmira::bw1m {

// The passes. kX: window of 3 along the row; kY: 3 along the column; kSquare: 3 by 3; kCross: the
// 3 by 3 without its corners; kMedian: the bit-logic 3x3 median.
enum Pass { kX, kY, kSquare, kCross, kMedian };

// The pixels on the left (right) of the pixels of byte c, with p (n) the byte on its left (right).
inline uint8_t Left(uint8_t p, uint8_t c) { return static_cast<uint8_t>((c >> 1) | ((p & 1) << 7)); }
inline uint8_t Right(uint8_t c, uint8_t n) { return static_cast<uint8_t>((c << 1) | (n >> 7)); }
inline uint8_t Majority(uint8_t x, uint8_t y, uint8_t z) { return static_cast<uint8_t>((x & y) | ((x | y) & z)); }

// Output bytes [first, first + count) of one row, count at least 8, all of them away from both
// row ends: byte first - 1 and byte first + count exist in each of the three rows, and `d` is none
// of them. `max` selects dilation (OR) over erosion (AND); the median ignores it. a, c, b: the
// rows above, current, below.
void WideRow(Pass pass, bool max, const uint8_t* a, const uint8_t* c, const uint8_t* b, uint8_t* d, size_t first,
             size_t count);

// Bytes 0 and n - 1 (with the 8-byte words that hold them) of a row of n >= 9 bytes, for the
// erosion and dilation passes, with their edges: the outside and the spare bits of the last byte
// neutral, the spare bits of d's last byte kept. The median is not handled here.
void WideEdges(Pass pass, bool max, const uint8_t* a, const uint8_t* c, const uint8_t* b, uint8_t* d, size_t n,
               uint8_t last);

// A whole erosion or dilation pass (not the median) from one image to another that does not
// overlap it, rows of n >= 10 bytes: what the rows one by one would give.
void WideImage(Pass pass, bool max, const uint8_t* source, ptrdiff_t sourcePitch, uint8_t* destination,
               ptrdiff_t destinationPitch, size_t n, int height, uint8_t last);

// out[i] = the AND (OR with `max`) of rows[0][i] .. rows[count - 1][i], i in [0, n), count >= 2.
void WideJoinRows(const uint8_t* const* rows, int count, uint8_t* out, size_t n, bool max);

// out byte i, for i in [0, n) rounded up to 64 bytes: the AND (OR) of the pixels of `in` that lie
// within `radius` (1 to 7) of each pixel along the row. Reads in[-1] to in[n rounded up + 64].
void WideAlongRow(const uint8_t* in, uint8_t* out, size_t n, int radius, bool max);

}  // namespace kelmira::bw1m

#endif  // KELMIRA_MORPHOLOGY_BW1_ROWS_H
