// Wide row kernels of the fixed-point convolution routes (filters/convol_wide.cc).
#ifndef KELMIRA_FILTERS_CONVOL_WIDE_H
#define KELMIRA_FILTERS_CONVOL_WIDE_H

#include <cstdint>

namespace kelmira::convol {

// How a fixed-point sum becomes a pixel: Q8 clipped (the short route), Q15 clipped (rectifiers 1
// and 2, whose wrap test reduces to a clip since the shifted sum keeps the sign of the sum), Q15
// absolute value clipped (rectifier 3).
enum class Finish : int { kQ8 = 0, kQ15 = 1, kQ15Abs = 2 };

// Outputs [x0, x0 + count) of one row of an n x n window (n = 3, 5 or 7), all of whose columns
// lie inside the row: rows[j] is the source row under window row j, and c[j * n + i] multiplies
// the pixel at column x - n / 2 + i. The sum of products and `bias` wraps in 32 bits.
void WideFixedRow(int n, const uint8_t* const* rows, uint8_t* destination, int x0, int count, const int32_t* c,
                  int32_t bias, Finish finish);
void WideFixedRow(int n, const uint16_t* const* rows, uint16_t* destination, int x0, int count, const int32_t* c,
                  int32_t bias, Finish finish);

// Float route: sums[x] = sum over j < sy, i < sx, in that order, of rows[j][x + i] * k[j * sx + i]
// for x in [0, count), in double: the same additions in the same order as the scalar loop.
void WideFloatSums(const double* const* rows, int sx, int sy, const double* k, int count, double* sums);

}  // namespace kelmira::convol

#endif  // KELMIRA_FILTERS_CONVOL_WIDE_H
