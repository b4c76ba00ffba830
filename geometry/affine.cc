// Affine resampling: LumLinearTransform (the inverse map in 16.16 fixed point and the scalar walk
// of nearest and bilinear sampling) and LumScaleRotate, which only builds the forward map. The
// wide walk is in affine_wide.cc; the registrations on pivots in affine_register.cc.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>

#include "foundation/frame.h"
#include "geometry/affine_wide.h"
#include "kelmira/geometry.h"
#include "kelmira/pixelwise.h"

namespace kelmira::affine {
namespace {

// ----- the inverse map -----

// x * 65536 toward zero in 32 bits; outside the range it saturates. False for NaN.
bool ToFixed(float x, uint32_t* out) {
  const double v = static_cast<double>(x) * 65536.0;
  if (std::isnan(v)) return false;
  int32_t r;
  if (v >= 2147483648.0)
    r = INT32_MAX;
  else if (v <= -2147483649.0)
    r = INT32_MIN;
  else
    r = static_cast<int32_t>(v);
  *out = static_cast<uint32_t>(r);
  return true;
}

struct Inverse {
  uint32_t A, B, C, D, E, F;  // 16.16, two's complement
};

// The inverse of the forward map, in float, then in fixed point. False (1411) for a determinant
// of 0 or one that is not finite, and for a coefficient that is not a number.
bool Invert(float a, float b, float c, float d, float e, float f, Inverse* m) {
  const float det = a * e - b * d;
  if (det == 0.0f || !std::isfinite(det)) return false;
  const float inv = 1.0f / det;
  const float A = e * inv, B = -b * inv, D = -d * inv, E = a * inv;
  const float C = -(c * A + f * B), F = -(c * D + f * E);
  return ToFixed(A, &m->A) && ToFixed(B, &m->B) && ToFixed(C, &m->C) && ToFixed(D, &m->D) && ToFixed(E, &m->E) &&
         ToFixed(F, &m->F);
}

// Arithmetic shift of a 32-bit register.
inline int32_t Half(uint32_t v) { return static_cast<int32_t>(v) >> 1; }

// ----- the scalar walk -----

template <class S>
inline uint32_t Load(const uint8_t* p) {
  S v;
  std::memcpy(&v, p, sizeof(S));
  return v;
}

template <class S>
struct Source {
  const Walk& w;
  uint32_t at(int x, int y) const {
    return Load<S>(w.src + static_cast<ptrdiff_t>(y) * w.srcPitch + static_cast<ptrdiff_t>(x) * sizeof(S));
  }
};

template <class S>
uint32_t Nearest(const Source<S>& s, int32_t sx, int32_t sy) {
  if (sx < 0 || sx >= (int64_t{s.w.w} << 16) || sy < 0 || sy >= (int64_t{s.w.h} << 16)) return 0;
  return s.at(sx >> 16, sy >> 16);
}

// The zone of a bilinear position along one axis of `size` pixels: false outside; otherwise the
// two pixels p0, p1 and whether they are interpolated (a margin uses the edge pixel alone).
inline bool Zone(int32_t s, int size, int* p0, int* p1, bool* interpolate) {
  const int64_t end = int64_t{size} << 16;
  if (s < 32768 || s >= end + 32768) return false;
  *interpolate = s >= 65536 && s < end;
  *p0 = s < 65536 ? 0 : s >= end ? size - 1 : (s >> 16) - 1;
  *p1 = *interpolate ? *p0 + 1 : *p0;
  return true;
}

// v p0 + t (p1 - p0), modulo 2^32. The exact value lies below 2^32, so the wrap of the
// difference cancels. Equal to the shift-and-select sum over the bits of t.
inline uint32_t Mix(uint32_t p0, uint32_t p1, uint32_t t, int bits) { return (p0 << bits) + t * (p1 - p0); }

template <class S>
uint32_t Bilinear(const Source<S>& s, int32_t sx, int32_t sy, int bits) {
  int x0, x1, y0, y1;
  bool ix, iy;
  if (!Zone(sx, s.w.w, &x0, &x1, &ix) || !Zone(sy, s.w.h, &y0, &y1, &iy)) return 0;
  const uint32_t tx = static_cast<uint32_t>(sx & 0xFFFF) >> (16 - bits);
  const uint32_t ty = static_cast<uint32_t>(sy & 0xFFFF) >> (16 - bits);
  if (ix && iy) {
    const uint32_t top = Mix(s.at(x0, y0), s.at(x1, y0), tx, bits);
    const uint32_t bottom = Mix(s.at(x0, y1), s.at(x1, y1), tx, bits);
    return Mix(top, bottom, ty, bits) >> (2 * bits);
  }
  if (ix) return Mix(s.at(x0, y0), s.at(x1, y0), tx, bits) >> bits;
  if (iy) return Mix(s.at(x0, y0), s.at(x0, y1), ty, bits) >> bits;
  return s.at(x0, y0);
}

// Row by row, left to right, reading the source as it stands: in place it reads what it wrote.
// Positions advance by A and D along a row. Bilinear rows restart from the exact product j B,
// j E; nearest rows carry their start forward by B and E. Modulo 2^32 both give the same
// integers, which is what lets the wide walk compute each lane's position directly.
template <class S>
void ScalarWalk(const Walk& w) {
  const Source<S> s{w};
  uint32_t rowX = w.sx0, rowY = w.sy0;
  for (int j = 0; j < w.dh; ++j) {
    if (w.bits != 0) {
      rowX = w.sx0 + static_cast<uint32_t>(j) * w.B;
      rowY = w.sy0 + static_cast<uint32_t>(j) * w.E;
    }
    uint8_t* out = w.dst + static_cast<ptrdiff_t>(j) * w.dstPitch;
    uint32_t sx = rowX, sy = rowY;
    for (int i = 0; i < w.dw; ++i) {
      const uint32_t p = w.bits == 0 ? Nearest(s, static_cast<int32_t>(sx), static_cast<int32_t>(sy))
                                     : Bilinear(s, static_cast<int32_t>(sx), static_cast<int32_t>(sy), w.bits);
      const S v = static_cast<S>(p);
      std::memcpy(out + static_cast<ptrdiff_t>(i) * sizeof(S), &v, sizeof(S));
      sx += w.A;
      sy += w.D;
    }
    rowX += w.B;
    rowY += w.E;
  }
}

// True when the two views share a byte.
bool Overlap(const ZGenericROI* a, const ZGenericROI* b) {
  const auto lo = [](const ZGenericROI* v) { return static_cast<const uint8_t*>(v->GetGenericImagePtr(0, 0)); };
  const auto hi = [](const ZGenericROI* v) {
    return static_cast<const uint8_t*>(v->GetGenericImagePtr(v->GetWidth(), v->GetHeight() - 1));
  };
  return lo(a) < hi(b) && lo(b) < hi(a);
}

// The walk of a source and a destination that both have pixels, for a map that passed Invert.
Walk MakeWalk(const ZGenericROI* src, ZGenericROI* dst, const Inverse& m, int bits) {
  const uint32_t centre = bits == 0 ? 0u : 65536u;
  Walk w{};
  w.src = static_cast<const uint8_t*>(src->GetGenericImagePtr(0, 0));
  w.srcPitch = src->GetRowPitch();
  w.w = src->GetWidth();
  w.h = src->GetHeight();
  w.dst = static_cast<uint8_t*>(dst->GetGenericImagePtr(0, 0));
  w.dstPitch = dst->GetRowPitch();
  w.dw = dst->GetWidth();
  w.dh = dst->GetHeight();
  w.A = m.A;
  w.B = m.B;
  w.D = m.D;
  w.E = m.E;
  w.sx0 = m.C + static_cast<uint32_t>(Half(m.A + m.B + centre));
  w.sy0 = m.F + static_cast<uint32_t>(Half(m.D + m.E + centre));
  w.bits = bits;
  return w;
}

bool ValidBits(int bits) { return bits == 0 || bits == 4 || bits == 8; }

// The worker of the gray forms; S is the pixel's storage.
template <class S>
void Transform(ZGenericROI* src, float a, float b, float c, float d, float e, float f, ZGenericROI* dst, int bits) {
  if (src == nullptr || src->GetGenericImagePtr(0, 0) == nullptr) {
    frame::Fail(Z_ERROR_NULL_IMAGE);
    return;
  }
  if (dst == nullptr || dst->GetGenericImagePtr(0, 0) == nullptr) return;  // nothing to write
  Inverse m;
  if (!Invert(a, b, c, d, e, f, &m)) {
    frame::Fail(Z_ERROR_SINGULAR_TRANSFORM);
    return;
  }
  if (!ValidBits(bits)) {
    frame::Fail(Z_ERROR_INVALID_INTERPOLATION_BITS);
    return;
  }
  const Walk w = MakeWalk(src, dst, m, bits);
  if (ZGetMMX() != 0 && WideFits(w, sizeof(S)) && !Overlap(src, dst) &&
      (sizeof(S) == 1 ? WideWalk8(w) : WideWalk16(w)))
    return;
  ScalarWalk<S>(w);
}

// The forward map of a scale and a turn about a pivot.
struct Forward {
  float a, b, c, d, e, f;
};

Forward ScaleRotateMap(float srcPivotX, float srcPivotY, float dstPivotX, float dstPivotY, float scaleX, float scaleY,
                       float angle) {
  const float r = ZToRadians(angle);
  const float cs = std::cos(r), sn = std::sin(r);
  Forward m;
  m.a = scaleX * cs;
  m.b = scaleY * sn;
  m.d = -scaleX * sn;
  m.e = scaleY * cs;
  m.c = dstPivotX - (m.a * srcPivotX + m.b * srcPivotY);
  m.f = dstPivotY - (m.d * srcPivotX + m.e * srcPivotY);
  return m;
}

// The colour forms, plane by plane: for each component HueGetComponent, the gray operator
// `op(in, out)`, HueSetComponent, each bracketed; the first failure ends the sequence.
template <class Op>
void ByPlanes(ZROI<ZC24>* src, ZROI<ZC24>* dst, Op&& op) {
  ZImage<ZBW8> in(src->GetWidth(), src->GetHeight());
  ZImage<ZBW8> out(dst->GetWidth(), dst->GetHeight());
  for (unsigned k = 0; k < 3 && frame::Ok(); ++k) {
    frame::Step([&] { HueGetComponent(src, &in, k); }) && frame::Step([&] { op(&in, &out); }) &&
        frame::Step([&] { HueSetComponent(&out, dst, k); });
  }
}

// With the wide paths on and separate views that both have pixels, one interleaved walk of the
// three components does what the planes would do: the same pixels, and on failure the gray
// form's number and traces (`inner`, innermost first), which it would meet on the first plane
// before writing anything. False when it cannot take the call; a view of width or height 0 is
// left to the planes too, whose temporary plane is then void (1400).
bool Interleaved(ZROI<ZC24>* src, const Forward& m, ZROI<ZC24>* dst, int bits,
                 std::initializer_list<const char*> inner) {
  if (ZGetMMX() == 0 || src->GetVoid() || dst->GetVoid() || Overlap(src, dst)) return false;
  if (src->GetWidth() <= 0 || src->GetHeight() <= 0 || dst->GetWidth() <= 0 || dst->GetHeight() <= 0) return false;
  Inverse inv;
  Z_ERRORS error = Z_ERROR_NONE;
  if (!Invert(m.a, m.b, m.c, m.d, m.e, m.f, &inv))
    error = Z_ERROR_SINGULAR_TRANSFORM;
  else if (!ValidBits(bits))
    error = Z_ERROR_INVALID_INTERPOLATION_BITS;
  if (error != Z_ERROR_NONE) {
    frame::Fail(error);
    for (const char* t : inner) ZTraceError(t);
    return true;
  }
  const Walk w = MakeWalk(src, dst, inv, bits);
  return WideFits(w, 3) && WideWalk24(w);
}

template <class Op>
void Colour(ZROI<ZC24>* src, const Forward& m, ZROI<ZC24>* dst, int bits, Op&& gray,
            std::initializer_list<const char*> inner, const char* trace) {
  if (frame::Enter()) {
    if (src == nullptr || dst == nullptr)
      frame::Fail(Z_ERROR_NULL_IMAGE);
    else if (!Interleaved(src, m, dst, bits, inner))
      ByPlanes(src, dst, gray);
  }
  frame::Leave(trace);
}

// LumScaleRotate with a destination, gray: the map, then LumLinearTransform in its bracket.
template <class T>
void ScaleRotate(ZROI<T>* src, float spx, float spy, float dpx, float dpy, float sx, float sy, float angle,
                 ZROI<T>* dst, int bits) {
  if (!frame::Enter()) return;
  const Forward m = ScaleRotateMap(spx, spy, dpx, dpy, sx, sy, angle);
  frame::Step([&] { LumLinearTransform(src, m.a, m.b, m.c, m.d, m.e, m.f, dst, bits); });
}

// The form without destination: a copy of `src`, transformed back into `src`.
template <class T>
void ScaleRotateInPlace(ZROI<T>* src, float spx, float spy, float dpx, float dpy, float sx, float sy, float angle,
                        int bits) {
  if (!frame::Enter()) return;
  if (src == nullptr || src->GetVoid()) {
    frame::Fail(Z_ERROR_NULL_IMAGE);
    return;
  }
  ZImage<T> copy(src->GetWidth(), src->GetHeight());
  if (!frame::Ok() || !frame::Step([&] { LumCopy(src, &copy); })) return;
  frame::Step([&] { LumScaleRotate(&copy, spx, spy, dpx, dpy, sx, sy, angle, src, bits); });
}

}  // namespace
}  // namespace kelmira::affine

using namespace kelmira::affine;  // NOLINT: the file's own internals
namespace frame = kelmira::frame;

// ----- LumLinearTransform -----

void LumLinearTransform(ZROI<ZBW8>* src, float a, float b, float c, float d, float e, float f, ZROI<ZBW8>* dst,
                        int interpolationBits) {
  if (frame::Enter()) Transform<uint8_t>(src, a, b, c, d, e, f, dst, interpolationBits);
  frame::Leave("LumLinearTransform");
}

void LumLinearTransform(ZROI<ZBW16>* src, float a, float b, float c, float d, float e, float f, ZROI<ZBW16>* dst,
                        int interpolationBits) {
  if (frame::Enter()) Transform<uint16_t>(src, a, b, c, d, e, f, dst, interpolationBits);
  frame::Leave("LumLinearTransform (BW16)");
}

void LumLinearTransform(ZROI<ZC24>* src, float a, float b, float c, float d, float e, float f, ZROI<ZC24>* dst,
                        int interpolationBits) {
  Colour(
      src, Forward{a, b, c, d, e, f}, dst, interpolationBits,
      [&](ZROI<ZBW8>* in, ZROI<ZBW8>* out) { LumLinearTransform(in, a, b, c, d, e, f, out, interpolationBits); },
      {"LumLinearTransform"}, "LumLinearTransform ( C24)");
}

// ----- LumScaleRotate -----

short LumScaleRotate(ZROI<ZBW8>* src, float srcPivotX, float srcPivotY, float dstPivotX, float dstPivotY, float scaleX,
                     float scaleY, float angle, ZROI<ZBW8>* dst, int interpolationBits) {
  ScaleRotate(src, srcPivotX, srcPivotY, dstPivotX, dstPivotY, scaleX, scaleY, angle, dst, interpolationBits);
  return frame::LeaveShort("LumScaleRotate");
}

void LumScaleRotate(ZROI<ZBW16>* src, float srcPivotX, float srcPivotY, float dstPivotX, float dstPivotY, float scaleX,
                    float scaleY, float angle, ZROI<ZBW16>* dst, int interpolationBits) {
  ScaleRotate(src, srcPivotX, srcPivotY, dstPivotX, dstPivotY, scaleX, scaleY, angle, dst, interpolationBits);
  frame::Leave("LumScaleRotate (BW16)");
}

void LumScaleRotate(ZROI<ZC24>* src, float srcPivotX, float srcPivotY, float dstPivotX, float dstPivotY, float scaleX,
                    float scaleY, float angle, ZROI<ZC24>* dst, int interpolationBits) {
  const Forward m = ScaleRotateMap(srcPivotX, srcPivotY, dstPivotX, dstPivotY, scaleX, scaleY, angle);
  Colour(
      src, m, dst, interpolationBits,
      [&](ZROI<ZBW8>* in, ZROI<ZBW8>* out) {
        LumScaleRotate(in, srcPivotX, srcPivotY, dstPivotX, dstPivotY, scaleX, scaleY, angle, out, interpolationBits);
      },
      {"LumLinearTransform", "LumScaleRotate"}, "LumScaleRotate ( C24)");
}

short LumScaleRotate(ZROI<ZBW8>* src, float srcPivotX, float srcPivotY, float dstPivotX, float dstPivotY, float scaleX,
                     float scaleY, float angle, int interpolationBits) {
  ScaleRotateInPlace(src, srcPivotX, srcPivotY, dstPivotX, dstPivotY, scaleX, scaleY, angle, interpolationBits);
  return frame::LeaveShort("LumScaleRotate");
}

void LumScaleRotate(ZROI<ZBW16>* src, float srcPivotX, float srcPivotY, float dstPivotX, float dstPivotY, float scaleX,
                    float scaleY, float angle, int interpolationBits) {
  ScaleRotateInPlace(src, srcPivotX, srcPivotY, dstPivotX, dstPivotY, scaleX, scaleY, angle, interpolationBits);
  frame::Leave("LumScaleRotate");
}
