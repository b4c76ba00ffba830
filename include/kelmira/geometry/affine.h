// Kelmira geometry: affine resampling. Included by kelmira/geometry.h.
//
// Every operator here resamples `src` into `dst` through the forward map from source to
// destination coordinates
//
//     X = a x + b y + c,    Y = d x + e y + f,
//
// where pixel (i, j) covers the square from (i, j) to (i + 1, j + 1). LumLinearTransform does the
// work; LumScaleRotate and LumRegister only compute a to f and call it.
//
// How LumLinearTransform walks (ZBW8, ZBW16):
//   - det = a e - b d in float; the inverse map A = e / det, B = -b / det, D = -d / det,
//     E = a / det, C = -(c A + f B), F = -(c D + f E), all in float, each then times 65536 and
//     truncated toward zero to 16.16 fixed point.
//   - Destination pixel (i, j) samples the source at sx = C + i A + j B, sy = F + i D + j E plus a
//     centring term. Positions are 32-bit integers that advance by addition along a row (the
//     truncation errors of A and D add up, uncorrected) and wrap around modulo 2^32 as 32-bit
//     registers do.
//   - interpolationBits 0, nearest pixel: centring (A + B) >> 1 and (D + E) >> 1, i.e. the map of
//     the pixel centre. A position inside [0, w << 16) x [0, h << 16) takes the source pixel
//     (sx >> 16, sy >> 16); anything else writes 0.
//   - interpolationBits 4 or 8, bilinear: centring (A + B + 65536) >> 1 and (D + E + 65536) >> 1,
//     left column (sx >> 16) - 1, the top 4 or 8 bits of the 16-bit fraction as the weight t, and
//     v = 1 << bits. Along each axis: below 32768 writes 0; 32768 to 65535 uses column 0 alone;
//     up to (w << 16) - 1 interpolates two columns; up to (w << 16) + 32767 uses the last column
//     alone; beyond writes 0 (rows likewise with h). So the whole source rectangle is covered and
//     half a pixel at each edge repeats the edge. Interpolation truncates at every step:
//       one axis:  (v p0 + t (p1 - p0)) >> bits
//       two axes:  top = v p00 + tx (p01 - p00), bottom = v p10 + tx (p11 - p10),
//                  (v top + ty (bottom - top)) >> (2 bits)
//     in unsigned 32-bit arithmetic (exact for ZBW16 with 8 bits too). A flat area keeps its value.
//   - There is no fill value: outside is 0. The loops run over the whole destination and `src`
//     and `dst` may have any sizes.
//   - The wide paths (ZGetMMX non-zero) give the same pixels bit for bit: a lane's position is the
//     same 32-bit integer, as i additions of A equal i A modulo 2^32. When the two views share
//     memory (dst == src in particular) the scalar walk runs, in row order, and reads pixels it
//     has already written: LumLinearTransform gives no protection in place.
//   - Positions cover at most 32767 columns and rows: in wider or taller views only the first
//     32767 can be reached, and the walk never reads outside the source view.
//
// Coefficients that do not fit 16.16 (the implementation's choice, so that no input reaches
// undefined behaviour):
//   - A determinant that is not a finite float (overflow, NaN, infinity: scale factors of NaN,
//     infinity or 1e30) is refused like a determinant of 0, with 1411: such a map has no usable
//     inverse. An inverse coefficient that is NaN (a NaN or infinite translation) is refused with
//     1411 as well.
//   - A finite or infinite inverse coefficient whose 16.16 value lies outside the 32-bit range
//     saturates to -2^31 or 2^31 - 1. Such a map shrinks by more than 32768 or moves the source
//     more than 32767 pixels away, so its positions leave the source anyway.
//
// Errors and order of checks: licence gate; 1400 (Z_ERROR_IMAGE_NOT_ALLOCATED) when `src` is null
// or void; a null or void `dst` then ends the call quietly, with no error; 1411
// (Z_ERROR_SINGULAR_TRANSFORM) for det 0 and the refusals above; 1007
// (Z_ERROR_INVALID_INTERPOLATION_BITS) when interpolationBits is not 0, 4 or 8, with `dst` not
// written. The views are not checked against each other.
#ifndef KELMIRA_GEOMETRY_AFFINE_H
#define KELMIRA_GEOMETRY_AFFINE_H

#include "kelmira/foundation.h"

// Trace "LumLinearTransform", "LumLinearTransform (BW16)".
KELMIRA_API void LumLinearTransform(ZROI<ZBW8>* src, float a, float b, float c, float d, float e, float f,
                                    ZROI<ZBW8>* dst, int interpolationBits);
KELMIRA_API void LumLinearTransform(ZROI<ZBW16>* src, float a, float b, float c, float d, float e, float f,
                                    ZROI<ZBW16>* dst, int interpolationBits);
// Colour, plane by plane: licence gate, a ZBW8 plane of the source's size and one of the
// destination's, then for components 0, 1, 2 HueGetComponent, the ZBW8 form, HueSetComponent; the
// first failure stops the sequence and traces "LumLinearTransform ( C24)" after the ZBW8 form's
// own string. A null `src` is 1400; a null or void `dst` is 1400 too (the plane cannot be put
// back), after the planes of the source were read. In place is safe here: component k of the
// source is read before component k of the destination is written.
KELMIRA_API void LumLinearTransform(ZROI<ZC24>* src, float a, float b, float c, float d, float e, float f,
                                    ZROI<ZC24>* dst, int interpolationBits);

// Scales by (scaleX, scaleY), turns by `angle` (in the foundation's angle unit, ZToRadians) and
// moves the source pivot onto the destination pivot:
//   r = ZToRadians(angle), a = scaleX cos r, b = scaleY sin r, d = -scaleX sin r, e = scaleY cos r,
//   c = dstPivotX - (a srcPivotX + b srcPivotY), f = dstPivotY - (d srcPivotX + e srcPivotY),
// all in float, then LumLinearTransform. A positive angle turns the picture counterclockwise as
// seen with the Y axis pointing down. A scale of 0 gives 1411. On failure the trace adds
// "LumScaleRotate" ("LumScaleRotate (BW16)") after LumLinearTransform's. The ZBW8 form returns
// the status: 0, or the error number.
KELMIRA_API short LumScaleRotate(ZROI<ZBW8>* src, float srcPivotX, float srcPivotY, float dstPivotX, float dstPivotY,
                                 float scaleX, float scaleY, float angle, ZROI<ZBW8>* dst, int interpolationBits);
KELMIRA_API void LumScaleRotate(ZROI<ZBW16>* src, float srcPivotX, float srcPivotY, float dstPivotX, float dstPivotY,
                                float scaleX, float scaleY, float angle, ZROI<ZBW16>* dst, int interpolationBits);
// Plane by plane through the ZBW8 form, as LumLinearTransform on ZC24; trace "LumScaleRotate ( C24)".
KELMIRA_API void LumScaleRotate(ZROI<ZC24>* src, float srcPivotX, float srcPivotY, float dstPivotX, float dstPivotY,
                                float scaleX, float scaleY, float angle, ZROI<ZC24>* dst, int interpolationBits);
// In place: `src` is copied (LumCopy) to a temporary image of its size, which is then transformed
// back into `src`. A null or void `src` is 1400. Any failure adds the trace "LumScaleRotate" (for
// ZBW16 too) after those of the inner calls. The ZBW8 form returns the status.
KELMIRA_API short LumScaleRotate(ZROI<ZBW8>* src, float srcPivotX, float srcPivotY, float dstPivotX, float dstPivotY,
                                 float scaleX, float scaleY, float angle, int interpolationBits);
KELMIRA_API void LumScaleRotate(ZROI<ZBW16>* src, float srcPivotX, float srcPivotY, float dstPivotX, float dstPivotY,
                                float scaleX, float scaleY, float angle, int interpolationBits);

// One pivot: a pure translation moving (srcX, srcY) onto (dstX, dstY), that is LumScaleRotate
// with scales 1 and angle 0. No trace of its own.
KELMIRA_API void LumRegister(ZROI<ZBW8>* src, ZROI<ZBW8>* dst, float srcX, float srcY, float dstX, float dstY,
                             int interpolationBits);
KELMIRA_API void LumRegister(ZROI<ZBW16>* src, ZROI<ZBW16>* dst, float srcX, float srcY, float dstX, float dstY,
                             int interpolationBits);
KELMIRA_API void LumRegister(ZROI<ZC24>* src, ZROI<ZC24>* dst, float srcX, float srcY, float dstX, float dstY,
                             int interpolationBits);

// Two pivots: turns the source vector (pivot 1 - pivot 0) onto the destination vector about
// pivot 0, which lands on destination pivot 0. Angles by atan2 in float (a zero vector has angle
// 0), turn = ZFromRadians(dstAngle - srcAngle); with `scaling` non-zero the scale is the ratio of
// the vectors' lengths, else 1. Then LumScaleRotate(src, srcX0, srcY0, dstX0, dstY0, scale, scale,
// -turn, dst, interpolationBits). Two coincident source pivots with `scaling` divide by 0: the
// scale is not finite and LumLinearTransform refuses it with 1411. No trace of its own.
KELMIRA_API void LumRegister(ZROI<ZBW8>* src, ZROI<ZBW8>* dst, float srcX0, float srcY0, float srcX1, float srcY1,
                             float dstX0, float dstY0, float dstX1, float dstY1, int interpolationBits, int scaling);
KELMIRA_API void LumRegister(ZROI<ZBW16>* src, ZROI<ZBW16>* dst, float srcX0, float srcY0, float srcX1, float srcY1,
                             float dstX0, float dstY0, float dstX1, float dstY1, int interpolationBits, int scaling);
KELMIRA_API void LumRegister(ZROI<ZC24>* src, ZROI<ZC24>* dst, float srcX0, float srcY0, float srcX1, float srcY1,
                             float dstX0, float dstY0, float dstX1, float dstY1, int interpolationBits, int scaling);

// Three pivots: the full affine map that takes each source pivot onto its destination pivot,
// solved by Cramer's rule in float over the matrix of rows (srcX0 srcX1 srcX2), (srcY0 srcY1
// srcY2), (1 1 1), then LumLinearTransform. Collinear pivots (determinant exactly 0) give 1050
// (Z_ERROR_SINGULAR_PIVOTS) with the trace "LumRegister ( BW8, 3 pivots)", "LumRegister ( BW16, 3
// pivots)" or "LumRegister ( C24, 3 pivots)", and `dst` untouched. A failure of the transform
// itself carries only the transform's traces.
KELMIRA_API void LumRegister(ZROI<ZBW8>* src, ZROI<ZBW8>* dst, float srcX0, float srcY0, float srcX1, float srcY1,
                             float srcX2, float srcY2, float dstX0, float dstY0, float dstX1, float dstY1, float dstX2,
                             float dstY2, int interpolationBits);
KELMIRA_API void LumRegister(ZROI<ZBW16>* src, ZROI<ZBW16>* dst, float srcX0, float srcY0, float srcX1, float srcY1,
                             float srcX2, float srcY2, float dstX0, float dstY0, float dstX1, float dstY1, float dstX2,
                             float dstY2, int interpolationBits);
KELMIRA_API void LumRegister(ZROI<ZC24>* src, ZROI<ZC24>* dst, float srcX0, float srcY0, float srcX1, float srcY1,
                             float srcX2, float srcY2, float dstX0, float dstY0, float dstX1, float dstY1, float dstX2,
                             float dstY2, int interpolationBits);

#endif  // KELMIRA_GEOMETRY_AFFINE_H
