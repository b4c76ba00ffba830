// Kelmira predefined filters: fixed neighbourhood operators with integer coefficients (no ZKernel).
#ifndef KELMIRA_FILTERS_PREDEFINED_H
#define KELMIRA_FILTERS_PREDEFINED_H

#include "kelmira/foundation.h"

// ---------------------------------------------------------------------------------------------
// The 3x3 family
// ---------------------------------------------------------------------------------------------
// `c` is the pixel, N S E W NW NE SW SE its neighbours (N on the row above), s3(x) the three
// pixels of column x, max 255 (ZBW8) or 65535 (ZBW16). abs: absolute value; clip: limit to max;
// clip0: limit to 0 and max. Shifts of positive sums are floors; every filter truncates.
//
//   Lowpass1, Uniform3x3   (s3(W) + s3(c) + s3(E)) * 14 >> 7        (flat 255 gives 251)
//   Lowpass2               (sum of the 8 neighbours) >> 3
//   Lowpass3, Gaussian3x3  (NW + 2N + NE + 2W + 4c + 2E + SW + 2S + SE) >> 4
//   Highpass1              5c - N - S - E - W, abs, clip
//   Highpass2              9c - (sum of the 8 neighbours), clip0
//   Laplacian4             N + S + E + W - 4c, abs, clip
//   Laplacian8             (sum of the 8 neighbours) - 8c, abs, clip
//   LaplacianX / Y         W - 2c + E  /  N - 2c + S, abs (see below)
//   SobelX                 NE + 2E + SE - NW - 2W - SW, abs, clip
//   SobelY                 SW + 2S + SE - NW - 2N - NE, abs, clip
//   Sobel                  |SobelX| + |SobelY|, clip
//   PrewittX / PrewittY    NE + E + SE - NW - W - SW  /  SW + S + SE - NW - N - NE, abs, clip
//   Prewitt                |PrewittX| + |PrewittY|, clip
//   GradientX / Y          |W - E|  /  |N - S|
//   Gradient               |W - E| + |N - S|, clip
//   UniformX               (W + c + E) * 85 >> 8                     (flat 255 gives 254)
//   GaussianX              (W + 2c + E) >> 2
//
// Borders. A missing neighbour takes the value of the nearest pixel of the view (replicate),
// except in the scalar source-to-destination worker of Lowpass2, Highpass1, Highpass2,
// Laplacian4, Laplacian8, SobelX, SobelY, Sobel, PrewittY and Prewitt: there the interior is
// computed first, then the one-pixel frame of the view with 0 for a missing neighbour, and every
// frame pixel goes through abs and clip (so the frame of Lowpass2 is dark and Highpass2's frame
// takes abs). The in-place workers (dst null or equal to src) and the ZBW8 wide workers
// (ZGetMMX() non-zero) replicate for every filter: the frame of those filters therefore depends
// on ZGetMMX and on in-place use; the interior never does.
//
// LaplacianX and LaplacianY: the scalar workers store |v| truncated to the pixel width (510 on
// ZBW8 stores as 254); the ZBW8 wide workers saturate (510 gives 255) on the pixels of each row's
// vector middle. A row's head, up to the first pixel whose source address has bit 2 clear, its
// tail, and all of a row whose start rounded up past 7 bytes does not lie below its end (both
// rounded down to a multiple of 4), run scalar and truncate.
//
// ZBW8 and ZBW16: gate, void check of src; then in place when dst is null or equal to src,
// otherwise the void check of dst and its size against src. The filter's words are traced at the
// end of every call, on success too: "LumConvolSobelX (BW8)", "LumConvolSobelX (BW16)" and so on
// (the name, a blank, the type in brackets). A failure leaves its number in the error state.
// ZC24: plane by plane through the in-place ZBW8 worker (replicate), components 0, 1, 2, one
// temporary plane, stopping at the first failure; the trace (on failure) is
// "LumConvolSobelX ( C24)" after the gray form's words.
//
// Errors: 1400 null or void view; 1402 dst of another size; 1403 a view narrower or lower than
// the neighbourhood: fewer than 2 columns or 2 rows for the 3x3 filters, fewer than 2 columns for
// the X filters (LaplacianX, GradientX, UniformX, GaussianX; any height), fewer than 2 rows for
// LaplacianY and GradientY (any width); 1303 when the line buffer of an in-place worker cannot be
// had, traced first with the worker's words ("ChrConvolSobelX", "ChrMMXConvolSobelX" on the wide
// path, "ChrConvolSobelX (BW16)").
#define KELMIRA_PREDEFINED_3X3(Name)                              \
  KELMIRA_API void Name(ZROI<ZBW8>* src, ZROI<ZBW8>* dst);        \
  KELMIRA_API void Name(ZROI<ZBW16>* src, ZROI<ZBW16>* dst);      \
  KELMIRA_API void Name(ZROI<ZC24>* src, ZROI<ZC24>* dst);
KELMIRA_PREDEFINED_3X3(LumConvolLowpass1)
KELMIRA_PREDEFINED_3X3(LumConvolLowpass2)
KELMIRA_PREDEFINED_3X3(LumConvolLowpass3)
KELMIRA_PREDEFINED_3X3(LumConvolHighpass1)
KELMIRA_PREDEFINED_3X3(LumConvolHighpass2)
KELMIRA_PREDEFINED_3X3(LumConvolSobel)
KELMIRA_PREDEFINED_3X3(LumConvolSobelX)
KELMIRA_PREDEFINED_3X3(LumConvolSobelY)
KELMIRA_PREDEFINED_3X3(LumConvolPrewitt)
KELMIRA_PREDEFINED_3X3(LumConvolPrewittX)
KELMIRA_PREDEFINED_3X3(LumConvolPrewittY)
KELMIRA_PREDEFINED_3X3(LumConvolGradient)
KELMIRA_PREDEFINED_3X3(LumConvolGradientX)
KELMIRA_PREDEFINED_3X3(LumConvolGradientY)
KELMIRA_PREDEFINED_3X3(LumConvolLaplacian4)
KELMIRA_PREDEFINED_3X3(LumConvolLaplacian8)
KELMIRA_PREDEFINED_3X3(LumConvolLaplacianX)
KELMIRA_PREDEFINED_3X3(LumConvolLaplacianY)
#undef KELMIRA_PREDEFINED_3X3

// Same frame as above, on ZBW8 and ZBW16 only. Uniform3x3 is Lowpass1, Gaussian3x3 is Lowpass3,
// both replicate; a flat 255 stays 255 under Gaussian3x3. On ZBW16 these two also run wide when
// ZGetMMX() is non-zero, with exactly the pixels of the scalar worker. Traces "LumConvolUniform3x3 (BW8)",
// "LumConvolGaussian3x3 (BW16)", "LumConvolUniformX (BW8)", "LumConvolGaussianX (BW16)", ...
KELMIRA_API void LumConvolUniform3x3(ZROI<ZBW8>* src, ZROI<ZBW8>* dst);
KELMIRA_API void LumConvolUniform3x3(ZROI<ZBW16>* src, ZROI<ZBW16>* dst);
KELMIRA_API void LumConvolGaussian3x3(ZROI<ZBW8>* src, ZROI<ZBW8>* dst);
KELMIRA_API void LumConvolGaussian3x3(ZROI<ZBW16>* src, ZROI<ZBW16>* dst);
KELMIRA_API void LumConvolUniformX(ZROI<ZBW8>* src, ZROI<ZBW8>* dst);
KELMIRA_API void LumConvolUniformX(ZROI<ZBW16>* src, ZROI<ZBW16>* dst);
KELMIRA_API void LumConvolGaussianX(ZROI<ZBW8>* src, ZROI<ZBW8>* dst);
KELMIRA_API void LumConvolGaussianX(ZROI<ZBW16>* src, ZROI<ZBW16>* dst);

// ---------------------------------------------------------------------------------------------
// Roberts
// ---------------------------------------------------------------------------------------------
// The 2x2 square to the lower right: |E - S| + |c - SE|, clipped to max; on the last column
// (bottom pixel excepted) 2|c - S|, on the last row (corner excepted) 2|c - E|, both clipped;
// the bottom right pixel is 0. Any size from 1 x 1. Forward order, so dst equal to src needs no
// buffer. A null dst filters into a temporary image and copies it back to src with LumCopy.
// Errors: 1400 null or void view; no size comparison (dst must be at least the size of src; the
// destination's own size is used only when it is smaller, so nothing outside either view is
// touched). Traces "LumConvolRoberts", "LumConvolRoberts (BW16)", "LumConvolRoberts ( C24)"; the
// C24 form works through a second temporary plane, so src and output may be the same view.
KELMIRA_API void LumConvolRoberts(ZROI<ZBW8>* src, ZROI<ZBW8>* dst);
KELMIRA_API void LumConvolRoberts(ZROI<ZBW16>* src, ZROI<ZBW16>* dst);
KELMIRA_API void LumConvolRoberts(ZROI<ZC24>* src, ZROI<ZC24>* dst);

// ---------------------------------------------------------------------------------------------
// 5x5 and 7x7 (ZBW8)
// ---------------------------------------------------------------------------------------------
//   Uniform5x5    (sum of 25) * 335544 >> 23        Gaussian5x5   binomial 1 4 6 4 1 squared >> 8
//   Uniform7x7    (sum of 49) * 171196 >> 23        Gaussian7x7   1 6 15 20 15 6 1 squared >> 12
// Replicate borders. No in-place worker: with dst equal to src (or overlapping it) the filter
// reads, in row order, the pixels it has already written. Errors: 1400 null or void view (a null
// dst too), 1402 sizes differ, 1403 a view narrower or lower than 5 (5x5) or 7 (7x7). Traced on
// failure only: "ConvolUniform5x5", "ConvolGaussian5x5", "LumConvolUniform7x7",
// "LumConvolGaussian7x7".
KELMIRA_API void LumConvolUniform5x5(ZROI<ZBW8>* src, ZROI<ZBW8>* dst);
KELMIRA_API void LumConvolGaussian5x5(ZROI<ZBW8>* src, ZROI<ZBW8>* dst);
KELMIRA_API void LumConvolUniform7x7(ZROI<ZBW8>* src, ZROI<ZBW8>* dst);
KELMIRA_API void LumConvolGaussian7x7(ZROI<ZBW8>* src, ZROI<ZBW8>* dst);

// ---------------------------------------------------------------------------------------------
// Boxes and Gaussians of any size
// ---------------------------------------------------------------------------------------------
// A halfY of all ones (the default) takes the value of halfX.
//
// LumConvolUniform: gate; void check of src; a non-null dst is checked against src's size. Then
//   0/0  copies src to dst when dst is neither null nor src (LumOper copy on ZBW8, LumCopy on
//        ZBW16), else nothing;  0/1  the Y pass (N + c + S) * 85 >> 8;  1/0  LumConvolUniformX;
//   1/1  LumConvolUniform3x3 (these four run in place as well);
//   other: the (2 halfX + 1) x (2 halfY + 1) box with replicated borders, by running sums (the
//   cost does not depend on the box). halfX is first limited to width - 1, halfY to height - 1;
//   each output is sum * scale >> 24 with scale = 2^24 / area truncated (so a flat area may come
//   out one level low); ZBW8 in 32-bit, ZBW16 in 64-bit arithmetic. dst null or equal to src
//   gives 1413. A column array that cannot be had gives 1303.
// Trace on failure: "LumConvolUniform", "LumConvolUniform (BW16)", "LumConvolUniform ( C24)",
// after the words of a failing pass ("ConvolUniformY (BW8)", "ConvolUniformY (BW16)", ...).
KELMIRA_API void LumConvolUniform(ZROI<ZBW8>* src, ZROI<ZBW8>* dst, unsigned int halfX, unsigned int halfY = 0xFFFFFFFFu);
KELMIRA_API void LumConvolUniform(ZROI<ZBW16>* src, ZROI<ZBW16>* dst, unsigned int halfX, unsigned int halfY = 0xFFFFFFFFu);
KELMIRA_API void LumConvolUniform(ZROI<ZC24>* src, ZROI<ZC24>* dst, unsigned int halfX, unsigned int halfY = 0xFFFFFFFFu);

// LumConvolGaussian: min(halfX, halfY) passes of LumConvolGaussian3x3, then the rest of the
// larger half as passes of LumConvolGaussianX or of the Y pass (N + 2c + S) >> 2; each pass
// truncates. dst null or equal to src: every pass in place on src. Otherwise, after the void and
// size checks of dst, the first pass runs from src to dst and the others in place on dst. Both
// halves 0 run no pass at all: dst is left as it was (no copy, unlike LumConvolUniform).
// Errors: as the passes, and 1013 / 1014 for a halfX above width - 1 / a halfY above
// height - 1 (the pass count is bounded by the view), tested after the views.
// Trace on failure: "LumConvolGaussian", "LumConvolGaussian (BW16)", "LumConvolGaussian ( C24)",
// after the failing pass's words ("LumConvolGaussianY (BW8)", "LumConvolGaussianY (BW16)", ...).
KELMIRA_API void LumConvolGaussian(ZROI<ZBW8>* src, ZROI<ZBW8>* dst, unsigned int halfX, unsigned int halfY = 0xFFFFFFFFu);
KELMIRA_API void LumConvolGaussian(ZROI<ZBW16>* src, ZROI<ZBW16>* dst, unsigned int halfX, unsigned int halfY = 0xFFFFFFFFu);
KELMIRA_API void LumConvolGaussian(ZROI<ZC24>* src, ZROI<ZC24>* dst, unsigned int halfX, unsigned int halfY = 0xFFFFFFFFu);

#endif  // KELMIRA_FILTERS_PREDEFINED_H
