// LumRegister: the affine map that carries one, two or three source pivots onto destination
// pivots, computed in float and handed to LumScaleRotate or LumLinearTransform.
#include <cmath>

#include "foundation/frame.h"
#include "kelmira/geometry.h"

namespace kelmira::affine {
namespace {

// atan2 of a vector in float; the zero vector has angle 0 without a call.
float Angle(float x, float y) { return x == 0.0f && y == 0.0f ? 0.0f : std::atan2(y, x); }

// The turn (in the foundation's unit) and the scale of the two-pivot form.
struct TurnScale {
  float turn, scale;
};

TurnScale TwoPivots(float sx0, float sy0, float sx1, float sy1, float dx0, float dy0, float dx1, float dy1,
                    int scaling) {
  const float svx = sx1 - sx0, svy = sy1 - sy0, dvx = dx1 - dx0, dvy = dy1 - dy0;
  const float dstAngle = Angle(dvx, dvy), srcAngle = Angle(svx, svy);
  TurnScale t;
  t.turn = ZFromRadians(dstAngle - srcAngle);
  // No test of the length: coincident source pivots give a scale that is not finite.
  t.scale = scaling != 0 ? std::sqrt(dvx * dvx + dvy * dvy) / std::sqrt(svx * svx + svy * svy) : 1.0f;
  return t;
}

// The determinant of the rows (r0, r1, r2) by the first row's cofactors, in float.
float Det3(const float* r0, const float* r1, const float* r2) {
  return r0[0] * (r1[1] * r2[2] - r1[2] * r2[1]) - r0[1] * (r1[0] * r2[2] - r1[2] * r2[0]) +
         r0[2] * (r1[0] * r2[1] - r1[1] * r2[0]);
}

// Solves (u0, u1, u2) M = rhs by Cramer's rule: unknown k is the determinant of M with row k
// replaced by rhs, times 1 / det M.
void Cramer(const float (&m)[3][3], float det, const float* rhs, float* u) {
  const float inv = 1.0f / det;
  u[0] = Det3(rhs, m[1], m[2]) * inv;
  u[1] = Det3(m[0], rhs, m[2]) * inv;
  u[2] = Det3(m[0], m[1], rhs) * inv;
}

// The three-pivot form: licence gate, the solve (1050 on collinear pivots, traced with `trace`),
// then the transform, which traces its own failures.
template <class T>
void ThreePivots(ZROI<T>* src, ZROI<T>* dst, const float (&s)[6], const float (&d)[6], int bits, const char* trace) {
  if (!frame::Enter()) {
    frame::Leave(trace);
    return;
  }
  const float m[3][3] = {{s[0], s[2], s[4]}, {s[1], s[3], s[5]}, {1.0f, 1.0f, 1.0f}};
  const float det = Det3(m[0], m[1], m[2]);
  if (det == 0.0f) {
    frame::Fail(Z_ERROR_SINGULAR_PIVOTS);
    frame::Leave(trace);
    return;
  }
  const float xs[3] = {d[0], d[2], d[4]}, ys[3] = {d[1], d[3], d[5]};
  float abc[3], def[3];
  Cramer(m, det, xs, abc);
  Cramer(m, det, ys, def);
  LumLinearTransform(src, abc[0], abc[1], abc[2], def[0], def[1], def[2], dst, bits);
}

}  // namespace
}  // namespace kelmira::affine

using namespace kelmira::affine;  // NOLINT: the file's own internals

// ----- one pivot -----

void LumRegister(ZROI<ZBW8>* src, ZROI<ZBW8>* dst, float srcX, float srcY, float dstX, float dstY,
                 int interpolationBits) {
  LumScaleRotate(src, srcX, srcY, dstX, dstY, 1.0f, 1.0f, 0.0f, dst, interpolationBits);
}
void LumRegister(ZROI<ZBW16>* src, ZROI<ZBW16>* dst, float srcX, float srcY, float dstX, float dstY,
                 int interpolationBits) {
  LumScaleRotate(src, srcX, srcY, dstX, dstY, 1.0f, 1.0f, 0.0f, dst, interpolationBits);
}
void LumRegister(ZROI<ZC24>* src, ZROI<ZC24>* dst, float srcX, float srcY, float dstX, float dstY,
                 int interpolationBits) {
  LumScaleRotate(src, srcX, srcY, dstX, dstY, 1.0f, 1.0f, 0.0f, dst, interpolationBits);
}

// ----- two pivots -----

void LumRegister(ZROI<ZBW8>* src, ZROI<ZBW8>* dst, float srcX0, float srcY0, float srcX1, float srcY1, float dstX0,
                 float dstY0, float dstX1, float dstY1, int interpolationBits, int scaling) {
  const TurnScale t = TwoPivots(srcX0, srcY0, srcX1, srcY1, dstX0, dstY0, dstX1, dstY1, scaling);
  LumScaleRotate(src, srcX0, srcY0, dstX0, dstY0, t.scale, t.scale, -t.turn, dst, interpolationBits);
}
void LumRegister(ZROI<ZBW16>* src, ZROI<ZBW16>* dst, float srcX0, float srcY0, float srcX1, float srcY1, float dstX0,
                 float dstY0, float dstX1, float dstY1, int interpolationBits, int scaling) {
  const TurnScale t = TwoPivots(srcX0, srcY0, srcX1, srcY1, dstX0, dstY0, dstX1, dstY1, scaling);
  LumScaleRotate(src, srcX0, srcY0, dstX0, dstY0, t.scale, t.scale, -t.turn, dst, interpolationBits);
}
void LumRegister(ZROI<ZC24>* src, ZROI<ZC24>* dst, float srcX0, float srcY0, float srcX1, float srcY1, float dstX0,
                 float dstY0, float dstX1, float dstY1, int interpolationBits, int scaling) {
  const TurnScale t = TwoPivots(srcX0, srcY0, srcX1, srcY1, dstX0, dstY0, dstX1, dstY1, scaling);
  LumScaleRotate(src, srcX0, srcY0, dstX0, dstY0, t.scale, t.scale, -t.turn, dst, interpolationBits);
}

// ----- three pivots -----

void LumRegister(ZROI<ZBW8>* src, ZROI<ZBW8>* dst, float srcX0, float srcY0, float srcX1, float srcY1, float srcX2,
                 float srcY2, float dstX0, float dstY0, float dstX1, float dstY1, float dstX2, float dstY2,
                 int interpolationBits) {
  ThreePivots(src, dst, {srcX0, srcY0, srcX1, srcY1, srcX2, srcY2}, {dstX0, dstY0, dstX1, dstY1, dstX2, dstY2},
              interpolationBits, "LumRegister ( BW8, 3 pivots)");
}
void LumRegister(ZROI<ZBW16>* src, ZROI<ZBW16>* dst, float srcX0, float srcY0, float srcX1, float srcY1, float srcX2,
                 float srcY2, float dstX0, float dstY0, float dstX1, float dstY1, float dstX2, float dstY2,
                 int interpolationBits) {
  ThreePivots(src, dst, {srcX0, srcY0, srcX1, srcY1, srcX2, srcY2}, {dstX0, dstY0, dstX1, dstY1, dstX2, dstY2},
              interpolationBits, "LumRegister ( BW16, 3 pivots)");
}
void LumRegister(ZROI<ZC24>* src, ZROI<ZC24>* dst, float srcX0, float srcY0, float srcX1, float srcY1, float srcX2,
                 float srcY2, float dstX0, float dstY0, float dstX1, float dstY1, float dstX2, float dstY2,
                 int interpolationBits) {
  ThreePivots(src, dst, {srcX0, srcY0, srcX1, srcY1, srcX2, srcY2}, {dstX0, dstY0, dstX1, dstY1, dstX2, dstY2},
              interpolationBits, "LumRegister ( C24, 3 pivots)");
}
