// Shared pieces of the predefined filters: the 3x3 formulas by kind, the pixel storage of the
// workers, and the wide row kernels (filters/predefined_wide.cc).
#ifndef KELMIRA_FILTERS_PREDEFINED_INTERNAL_H
#define KELMIRA_FILTERS_PREDEFINED_INTERNAL_H

#include <cstdint>
#include <cstdlib>

#include "foundation/word.h"
#include "kelmira/foundation.h"

namespace kelmira::predefined {

// Every 3x3 (and 3x1, 1x3) filter of the family. Uniform3x3 is Lowpass1, Gaussian3x3 Lowpass3.
enum class Kind : int {
  kLowpass1, kLowpass2, kLowpass3, kHighpass1, kHighpass2, kSobel, kSobelX, kSobelY, kPrewitt, kPrewittX,
  kPrewittY, kGradient, kGradientX, kGradientY, kLaplacian4, kLaplacian8, kLaplacianX, kLaplacianY,
  kUniformX, kUniformY, kGaussianX, kGaussianY,
};

// Which neighbours a kind reads: X kinds read only their row, Y kinds only their column.
constexpr bool ReadsRows(Kind k) {
  return k != Kind::kGradientX && k != Kind::kLaplacianX && k != Kind::kUniformX && k != Kind::kGaussianX;
}
constexpr bool ReadsColumns(Kind k) {
  return k != Kind::kGradientY && k != Kind::kLaplacianY && k != Kind::kUniformY && k != Kind::kGaussianY;
}

// The scalar source-to-destination worker of these kinds treats the outside as 0 on the frame.
constexpr bool ZeroOutside(Kind k) {
  return k == Kind::kLowpass2 || k == Kind::kHighpass1 || k == Kind::kHighpass2 || k == Kind::kLaplacian4 ||
         k == Kind::kLaplacian8 || k == Kind::kSobelX || k == Kind::kSobelY || k == Kind::kSobel ||
         k == Kind::kPrewittY || k == Kind::kPrewitt;
}

// What follows the formula: nothing, abs, abs and clip, clip to [0, max], or abs truncated to the
// pixel width (the scalar Laplacian X and Y; their wide form saturates instead).
enum class Post { kNone, kAbs, kAbsClip, kClip0, kAbsWrap };

constexpr Post PostOf(Kind k) {
  switch (k) {
    case Kind::kLowpass1: case Kind::kLowpass2: case Kind::kLowpass3: case Kind::kUniformX:
    case Kind::kUniformY: case Kind::kGaussianX: case Kind::kGaussianY:
      return Post::kNone;
    case Kind::kGradientX: case Kind::kGradientY:
      return Post::kAbs;
    case Kind::kHighpass2:
      return Post::kClip0;
    case Kind::kLaplacianX: case Kind::kLaplacianY:
      return Post::kAbsWrap;
    default:
      return Post::kAbsClip;
  }
}

// The formula of the table on the nine pixels (row above a, row b, row below c; columns 0 1 2).
// Sobel, Prewitt and Gradient already add the two absolute values.
template <Kind K>
inline int32_t Formula(int32_t a0, int32_t a1, int32_t a2, int32_t b0, int32_t b1, int32_t b2, int32_t c0, int32_t c1,
                       int32_t c2) {
  const auto sum8 = [&] { return a0 + a1 + a2 + b0 + b2 + c0 + c1 + c2; };
  if constexpr (K == Kind::kLowpass1) return (a0 + a1 + a2 + b0 + b1 + b2 + c0 + c1 + c2) * 14 >> 7;
  if constexpr (K == Kind::kLowpass2) return sum8() >> 3;
  if constexpr (K == Kind::kLowpass3) return (a0 + 2 * a1 + a2 + 2 * b0 + 4 * b1 + 2 * b2 + c0 + 2 * c1 + c2) >> 4;
  if constexpr (K == Kind::kHighpass1) return 5 * b1 - a1 - c1 - b0 - b2;
  if constexpr (K == Kind::kHighpass2) return 9 * b1 - sum8();
  if constexpr (K == Kind::kLaplacian4) return a1 + c1 + b0 + b2 - 4 * b1;
  if constexpr (K == Kind::kLaplacian8) return sum8() - 8 * b1;
  if constexpr (K == Kind::kLaplacianX) return b0 - 2 * b1 + b2;
  if constexpr (K == Kind::kLaplacianY) return a1 - 2 * b1 + c1;
  if constexpr (K == Kind::kSobelX) return a2 + 2 * b2 + c2 - a0 - 2 * b0 - c0;
  if constexpr (K == Kind::kSobelY) return c0 + 2 * c1 + c2 - a0 - 2 * a1 - a2;
  if constexpr (K == Kind::kSobel)
    return std::abs(a2 + 2 * b2 + c2 - a0 - 2 * b0 - c0) + std::abs(c0 + 2 * c1 + c2 - a0 - 2 * a1 - a2);
  if constexpr (K == Kind::kPrewittX) return a2 + b2 + c2 - a0 - b0 - c0;
  if constexpr (K == Kind::kPrewittY) return c0 + c1 + c2 - a0 - a1 - a2;
  if constexpr (K == Kind::kPrewitt) return std::abs(a2 + b2 + c2 - a0 - b0 - c0) + std::abs(c0 + c1 + c2 - a0 - a1 - a2);
  if constexpr (K == Kind::kGradientX) return b0 - b2;
  if constexpr (K == Kind::kGradientY) return a1 - c1;
  if constexpr (K == Kind::kGradient) return std::abs(b0 - b2) + std::abs(a1 - c1);
  if constexpr (K == Kind::kUniformX) return (b0 + b1 + b2) * 85 >> 8;
  if constexpr (K == Kind::kUniformY) return (a1 + b1 + c1) * 85 >> 8;
  if constexpr (K == Kind::kGaussianX) return (b0 + 2 * b1 + b2) >> 2;
  if constexpr (K == Kind::kGaussianY) return (a1 + 2 * b1 + c1) >> 2;
}

template <Post P>
inline int32_t Finish(int32_t v, int32_t max) {
  if constexpr (P == Post::kNone) return v;
  if constexpr (P == Post::kAbs) return v < 0 ? -v : v;
  if constexpr (P == Post::kAbsClip) return v < 0 ? (-v > max ? max : -v) : (v > max ? max : v);
  if constexpr (P == Post::kClip0) return v < 0 ? 0 : v > max ? max : v;
  if constexpr (P == Post::kAbsWrap) return (v < 0 ? -v : v) & max;
}


// The Y passes of LumConvolUniform ((N + c + S) * 85 >> 8) and LumConvolGaussian
// ((N + 2c + S) >> 2): the frame of the two-argument forms, with their own words.
void UniformY(ZROI<ZBW8>* source, ZROI<ZBW8>* destination);
void UniformY(ZROI<ZBW16>* source, ZROI<ZBW16>* destination);
void GaussianY(ZROI<ZBW8>* source, ZROI<ZBW8>* destination);
void GaussianY(ZROI<ZBW16>* source, ZROI<ZBW16>* destination);

// ----- wide rows (ZBW8) -----

// Outputs [x0, x1) of one row of a 3x3 kind (1 <= x0, x1 <= width - 1 where the kind reads
// columns), replicate rules, Laplacian X and Y saturating: a, b, c are the rows above, at and
// below (b may be a copy of the row being written, never the row itself).
void WideRow3x3(Kind kind, const uint8_t* a, const uint8_t* b, const uint8_t* c, uint8_t* out, int x0, int x1);

// The ZBW16 kinds with a wide row (Uniform3x3 and Gaussian3x3, whose scalar workers replicate).
constexpr bool WideWords(Kind k) { return k == Kind::kLowpass1 || k == Kind::kLowpass3; }

// Outputs [x0, x1) of one ZBW16 row of a WideWords kind (1 <= x0, x1 <= width - 1): a, b, c and
// out address the rows' 16-bit pixels at any byte address, as WideRow3x3 takes them.
void WideRow3x3Words(Kind kind, const uint8_t* a, const uint8_t* b, const uint8_t* c, uint8_t* out, int x0, int x1);

// Separable 5x5 / 7x7 on separate memory: rows[j] is the source row under window row j (clamped);
// the whole output row, replicate rule on the columns. `uniform` picks the box. `scratch` holds
// width + n - 1 entries.
void WideRowLarge(int n, bool uniform, const uint8_t* const* rows, uint8_t* out, int width, uint16_t* scratch);

// The ZBW8 running box by columns, wrapping like the scalar sums. Column sums: sums[x] += add[x] -
// sub[x] for x in [0, count), of 16 bits for boxes whose column sums stay below 2^16, else of 32.
// One output row: S[0] is the sum of cells[0 .. window), S[x] = S[x - 1] + cells[x + window - 1] -
// cells[x - 1], out[x] = S[x] * scale >> 24 (32-bit product).
void WideColumnUpdate(uint16_t* sums, const uint8_t* add, const uint8_t* sub, int count);
void WideColumnUpdate(uint32_t* sums, const uint8_t* add, const uint8_t* sub, int count);
void WideBoxRow(const uint16_t* cells, int window, uint32_t scale, uint8_t* out, int count);
void WideBoxRow(const uint32_t* cells, int window, uint32_t scale, uint8_t* out, int count);

// The ZBW8 box by rows. A block is WideBoxBlock() pixels (0: no such route on this target).
// Row sums H[x] = p[x] + ... + p[x + window - 1] of a BoxSource, where p[i] is row[i - hx] for
// hx <= i < hx + width and padded[i] elsewhere (padded[-1] is read; each H must stay below 2^15);
// vectors inside the row read it in place, and `ahead` is prefetched. They are stored block by
// block as the even pixels' sums then the odd pixels'. The scaled window sums, one u32 a pixel,
// are stored block by block as the pixels 4j, 4j + 1, 4j + 2, 4j + 3.
struct BoxSource {
  const uint8_t* row;
  int width;
  int hx;
  const uint8_t* padded;
  int window;
  const uint8_t* ahead;  // the next row to sum, fetched into the cache along the way (or null)
};
int WideBoxBlock();
// With the window sums kept times the scale (W = V * scale, wrapping): out[x] = W[x] >> 24 for x
// in [0, width) unless `out` is null, then W += (entering - leaving) * scale unless `entering` is
// null; with a `source`, the entering sums are taken from it and stored first.
void WideBoxWindowStep(uint32_t* sums, uint16_t* entering, const uint16_t* leaving, uint32_t scale, uint8_t* out,
                       int width, const BoxSource* source);

// The ZBW16 box with the column sums of the padded columns c[i] split by parity, even[k] = c[2k]
// and odd[k] = c[2k + 1]. WideWordColumnUpdate: low[j] += add[2j] - sub[2j], high[j] += add[2j + 1]
// - sub[2j + 1] for j in [0, pairs), 16-bit pixels at any byte address, wrapping.
// WideWordBoxRow: for output pairs j from 0 in whole vectors (returns how many), S[x] = c[x] + ...
// + c[x + 2 hx] and out[x] = S[x] * scale >> 24 (64-bit product) as 16-bit pixels at any byte
// address, from carry = S[-1], which it leaves as S of the last odd pixel written (even[-1] and
// odd[-1] are read; each S must stay below 2^32).
void WideWordColumnUpdate(uint32_t* low, uint32_t* high, const uint8_t* add, const uint8_t* sub, int pairs);
int WideWordBoxRow(const uint32_t* even, const uint32_t* odd, int hx, uint32_t& carry, uint32_t scale, uint8_t* out,
                   int pairs);

}  // namespace kelmira::predefined

#endif  // KELMIRA_FILTERS_PREDEFINED_INTERNAL_H
