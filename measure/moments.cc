// Moments of a view (binary and weighted, orders 1 to 4), centre of gravity, centroid and
// inertia. The moment operators keep their own frame: no clearing of the error state, and their
// trace string on every exit.
#include <cstdint>
#include <iterator>
#include <memory>
#include <new>

#include "foundation/frame.h"
#include "kelmira/measure/moments.h"
#include "measure/row_sums.h"
#include "measure/walk.h"

namespace kelmira::measure {
namespace {

// ----- moments -----

// The frame of the moment operators: a view without pixels sets 1400 and leaves the outputs; the
// trace string goes in on every exit.
template <class F>
void MomentFrame(const char* trace, ZGenericROI* view, F&& body) {
  if (!HasPixels(view)) ZSetError(Z_ERROR_NULL_IMAGE);
  else body();
  ZTraceError(trace);
}

// A row sum to float by way of a 64-bit integer.
template <class W>
float ToFloat(W sum) {
  return static_cast<float>(static_cast<int64_t>(sum));
}

// Row sums of w, w * x, w * x * x of one row, wide or scalar: the wrapping 32-bit sums on BW8,
// the 64-bit sums on BW16.
template <class P, bool kBinary>
Spatial RowSpatial(bool wide, const Storage<P>* row, int width, uint32_t threshold) {
  if constexpr (sizeof(Storage<P>) == 1) {
    if (wide) return kBinary ? WideBinary32(row, width, threshold) : WideWeighted32(row, width);
    const Spatial s = kBinary ? scalar::Binary(row, width, threshold) : scalar::Weighted(row, width);
    return Spatial{static_cast<uint32_t>(s.w), static_cast<uint32_t>(s.wx), static_cast<uint32_t>(s.wxx)};
  } else {
    if (wide) return kBinary ? WideBinary(row, width, threshold) : WideWeighted(row, width);
    return kBinary ? scalar::Binary(row, width, threshold) : scalar::Weighted(row, width);
  }
}

// Orders 1 and 2 from row sums: out holds m, mx, my and, with `second`, mxx, mxy, myy. The row
// sums of y-weighted terms follow from those of x: sum w * y = y * sum w, and
// sum w * (x - y)^2 = sum w * x^2 - 2 y sum w * x + y^2 sum w, all exact in the sums' own width.
template <class P, bool kBinary>
void RowMoments(ZROI<P>* view, uint32_t threshold, bool second, float* out) {
  using W = std::conditional_t<sizeof(Storage<P>) == 1, uint32_t, uint64_t>;
  const Values<P> rows(view);
  const bool wide = ZGetMMX() != 0;
  for (int k = 0; k < (second ? 6 : 3); ++k) out[k] = 0.0f;
  for (int y = 0; y < view->GetHeight(); ++y) {
    const Spatial s = RowSpatial<P, kBinary>(wide, rows[y], view->GetWidth(), threshold);
    const W w = static_cast<W>(s.w), wx = static_cast<W>(s.wx), wxx = static_cast<W>(s.wxx), uy = static_cast<W>(y);
    out[0] += ToFloat(w);
    out[1] += ToFloat(wx);
    out[2] += ToFloat(static_cast<W>(uy * w));
    if (!second) continue;
    out[3] += ToFloat(wxx);
    out[4] += ToFloat(static_cast<W>(wxx - 2 * uy * wx + uy * uy * w));
    out[5] += ToFloat(static_cast<W>(uy * uy * w));
  }
  if (second) out[4] = (out[3] + out[5] - out[4]) * 0.5f;
}

// Orders 3 and 4: row sums for orders 0 and 1, every higher term added pixel by pixel in float.
template <class P>
void PixelMoments(ZROI<P>* view, bool fourth, float* out) {
  using W = std::conditional_t<sizeof(Storage<P>) == 1, uint32_t, uint64_t>;
  const Values<P> rows(view);
  const int terms = fourth ? 15 : 10;
  for (int k = 0; k < terms; ++k) out[k] = 0.0f;
  for (int y = 0; y < view->GetHeight(); ++y) {
    const Storage<P>* row = rows[y];
    W w = 0, wx = 0;
    const float yf = static_cast<float>(y);
    for (int x = 0; x < view->GetWidth(); ++x) {
      const W g = row[x];
      w += g, wx += g * static_cast<W>(x);
      const float gf = static_cast<float>(row[x]), xf = static_cast<float>(x);
      out[3] += gf * xf * xf;
      out[4] += gf * xf * yf;
      out[5] += gf * yf * yf;
      out[6] += gf * xf * xf * xf;
      out[7] += gf * xf * xf * yf;
      out[8] += gf * xf * yf * yf;
      out[9] += gf * yf * yf * yf;
      if (!fourth) continue;
      out[10] += gf * xf * xf * xf * xf;
      out[11] += gf * xf * xf * xf * yf;
      out[12] += gf * xf * xf * yf * yf;
      out[13] += gf * xf * yf * yf * yf;
      out[14] += gf * yf * yf * yf * yf;
    }
    out[0] += ToFloat(w);
    out[1] += ToFloat(wx);
    out[2] += ToFloat(static_cast<W>(w * static_cast<W>(y)));
  }
}

template <class P>
void Binary(const char* trace, ZROI<P>* view, unsigned threshold, float* const* outputs, int count) {
  MomentFrame(trace, view, [&] {
    float r[6];
    RowMoments<P, true>(view, threshold, count == 6, r);
    for (int k = 0; k < count; ++k) *outputs[k] = r[k];
  });
}

template <class P>
void Weighted(const char* trace, ZROI<P>* view, float* const* outputs, int count) {
  MomentFrame(trace, view, [&] {
    float r[15];
    if (count <= 6) RowMoments<P, false>(view, 0, count == 6, r);
    else PixelMoments(view, count == 15, r);
    for (int k = 0; k < count; ++k) *outputs[k] = r[k];
  });
}

// ----- centres and inertia -----

// Entry of the usual frame, then the view's pixels (1400).
bool Pixels(const ZGenericROI* view) {
  return HasPixels(view) || frame::Fail(Z_ERROR_NULL_IMAGE);
}

// A weight table must hold at least 256 entries.
bool TableOk(const ZBW8Vector* lut) {
  return lut == nullptr || (lut->GetNumElements() >= 256 && lut->GetDataPtr() != nullptr) ||
         frame::Fail(Z_ERROR_TABLE_SIZE);
}

// sum(i * h[i]) / sum(h[i]), both 32-bit, into `out` unless the sum is 0.
void ProfileCentre(const uint32_t* h, int n, float& out) {
  uint32_t s = 0, t = 0;
  for (int i = 0; i < n; ++i) s += h[i], t += static_cast<uint32_t>(i) * h[i];
  if (s != 0) out = static_cast<float>(t) / static_cast<float>(s);
}

// The weights of a stretch: 1 at or above a threshold (binary), the value, or lut[value].
struct Weights {
  bool binary;
  uint32_t threshold;
  const ZBW8* table;  // BW8 only
  uint32_t operator()(uint32_t v) const {
    return binary ? uint32_t{v >= threshold} : table != nullptr ? uint32_t{table[v].value} : v;
  }
};

// Column and row profiles of the weights, then their centres. Without a table the column entries
// and the row's total are formed wide when ZGetMMX says so.
template <class P>
void Profiles(ZROI<P>* view, float& cx, float& cy, const Weights& weight) {
  const int width = view->GetWidth(), height = view->GetHeight();
  std::unique_ptr<uint32_t[]> columns(new (std::nothrow) uint32_t[width]());
  if (!columns) {
    frame::Fail(Z_ERROR_NO_WORK_MEMORY);
    return;
  }
  std::unique_ptr<uint32_t[]> rows(new (std::nothrow) uint32_t[height]());
  if (!rows) {
    frame::Fail(Z_ERROR_NO_WORK_MEMORY);
    return;
  }
  const bool wide = ZGetMMX() != 0 && weight.table == nullptr;
  uint32_t* c = columns.get();
  const bool ok = ForEachStretch<P>(view, true, [&](const Storage<P>* p, int n, int x, int y) {
    if (wide) {
      rows[y] += WideProfile(p, n, c + x, weight.binary, weight.threshold);
      return;
    }
    uint32_t sum = 0;
    for (int i = 0; i < n; ++i) {
      const uint32_t w = weight(p[i]);
      c[x + i] += w;
      sum += w;
    }
    rows[y] += sum;
  });
  if (!ok) return;
  ProfileCentre(columns.get(), width, cx);
  ProfileCentre(rows.get(), height, cy);
}

template <class P>
void Gravity(ZROI<P>* view, uint32_t threshold, float& cx, float& cy) {
  if (Pixels(view)) Profiles(view, cx, cy, Weights{true, threshold, nullptr});
}

// The sums of w, w * i and w * i * i over a stretch, i counted from its first pixel: wide
// without a table.
Spatial StretchSums(bool wide, const uint8_t* p, int len, const Weights& weight) {
  if (wide && weight.table == nullptr)
    return weight.binary ? WideBinary(p, len, weight.threshold) : WideWeighted(p, len);
  Spatial r;
  for (int i = 0; i < len; ++i) {
    const uint64_t g = weight(p[i]), ui = static_cast<uint64_t>(i);
    r.w += g, r.wx += g * ui, r.wxx += g * ui * ui;
  }
  return r;
}

// N, Sx, Sy in 32 bits; per stretch the exact sums of w x^2, w x y, w y^2 added to doubles.
void Inertia(ZROI<ZBW8>* view, float& ixx, float& ixy, float& iyy, float* cx, float* cy, unsigned* count,
             const Weights& weight) {
  uint32_t n = 0, sx = 0, sy = 0;
  double sxx = 0.0, sxy = 0.0, syy = 0.0;
  const bool wide = ZGetMMX() != 0;
  const bool ok = ForEachStretch<ZBW8>(view, true, [&](const uint8_t* p, int len, int x0, int y) {
    const Spatial s = StretchSums(wide, p, len, weight);
    const uint64_t w = s.w, wi = s.wx, wii = s.wxx;
    const uint64_t x = static_cast<uint64_t>(x0), uy = static_cast<uint64_t>(y), wx = x * w + wi;
    n += static_cast<uint32_t>(w);
    sx += static_cast<uint32_t>(wx);
    sy += static_cast<uint32_t>(uy * w);
    sxx += static_cast<double>(x * x * w + 2 * x * wi + wii);
    sxy += static_cast<double>(uy * wx);
    syy += static_cast<double>(uy * uy * w);
  });
  if (!ok || n == 0) return;
  const double dn = n, d = dn * dn;
  // The products of the sums wrap in 32 bits before they meet the floating expression.
  const uint32_t sxsx = sx * sx, sysx = sy * sx, sysy = sy * sy;
  ixx = static_cast<float>((dn * sxx - sxsx) / d);
  ixy = static_cast<float>((dn * sxy - sysx) / d);
  iyy = static_cast<float>((dn * syy - sysy) / d);
  if (cx != nullptr) *cx = static_cast<float>(sx / dn);
  if (cy != nullptr) *cy = static_cast<float>(sy / dn);
  if (count != nullptr) *count = n;
}

// lut's data, or null.
const ZBW8* Table(ZBW8Vector* lut) { return lut != nullptr ? lut->GetDataPtr() : nullptr; }

}  // namespace
}  // namespace kelmira::measure

using namespace kelmira::measure;
namespace frame = kelmira::frame;

// ----- binary and weighted moments, and the older spelling of the weighted ones -----
// Each form hands the addresses of its outputs, in order, to the shared worker.
#define KELMIRA_BINARY_FORM(P, ORDER, TRACE)                                                                   \
  void LumBinaryMoments(ZROI<P>* view, unsigned int threshold, KELMIRA_MOMENTS_##ORDER(float&)) {              \
    float* const out[] = {KELMIRA_MOMENTS_##ORDER(&)};                                                         \
    Binary(TRACE, view, threshold, out, static_cast<int>(std::size(out)));                                     \
  }
#define KELMIRA_WEIGHTED_FORM(P, ORDER, TRACE)                                                                 \
  void LumWeightedMoments(ZROI<P>* view, KELMIRA_MOMENTS_##ORDER(float&)) {                                    \
    float* const out[] = {KELMIRA_MOMENTS_##ORDER(&)};                                                         \
    Weighted(TRACE, view, out, static_cast<int>(std::size(out)));                                              \
  }                                                                                                            \
  void LumWeighedMoments(ZROI<P>* view, KELMIRA_MOMENTS_##ORDER(float&)) {                                     \
    LumWeightedMoments(view, KELMIRA_MOMENTS_##ORDER());                                                       \
  }

KELMIRA_BINARY_FORM(ZBW8, 1, "LumBinaryMoments ( first order)")
KELMIRA_BINARY_FORM(ZBW8, 2, "LumBinaryMoments ( second order)")
KELMIRA_BINARY_FORM(ZBW16, 1, "LumBinaryMoments (first order)(BW16)")
KELMIRA_BINARY_FORM(ZBW16, 2, "LumBinaryMoments (second order)(BW16)")
KELMIRA_WEIGHTED_FORM(ZBW8, 1, "LumWeightedMoments ( first order)")
KELMIRA_WEIGHTED_FORM(ZBW8, 2, "LumWeightedMoments ( second order)")
KELMIRA_WEIGHTED_FORM(ZBW8, 3, "LumWeightedMoments ( third order)")
KELMIRA_WEIGHTED_FORM(ZBW8, 4, "LumWeightedMoments ( fourth order)")
KELMIRA_WEIGHTED_FORM(ZBW16, 1, "LumWeightedMoments (first order)(BW16)")
KELMIRA_WEIGHTED_FORM(ZBW16, 2, "LumWeightedMoments (second order)(BW16)")
KELMIRA_WEIGHTED_FORM(ZBW16, 3, "LumWeightedMoments (third order)(BW16)")
KELMIRA_WEIGHTED_FORM(ZBW16, 4, "LumWeightedMoments (fourth order)(BW16)")

#undef KELMIRA_BINARY_FORM
#undef KELMIRA_WEIGHTED_FORM

// ----- centres and inertia -----
void LumGravityCenter(ZROI<ZBW8>* view, unsigned int threshold, float& cx, float& cy) {
  VoidForm("LumGravityCenter", [&] { Gravity(view, threshold, cx, cy); });
}
void LumGravityCenter(ZROI<ZBW16>* view, unsigned int threshold, float& cx, float& cy) {
  VoidForm("LumGravityCenter (BW16)", [&] { Gravity(view, threshold, cx, cy); });
}

void LumCentroid(ZROI<ZBW8>* view, float& cx, float& cy, ZBW8Vector* lut) {
  VoidForm("LumCentroid", [&] {
    if (Pixels(view) && TableOk(lut)) Profiles(view, cx, cy, Weights{false, 0, Table(lut)});
  });
}

void LumInertia(ZROI<ZBW8>* view, unsigned int threshold, float& ixx, float& ixy, float& iyy, float* cx, float* cy,
                unsigned int* count) {
  VoidForm("LumInertia ( binary)", [&] {
    if (Pixels(view)) Inertia(view, ixx, ixy, iyy, cx, cy, count, Weights{true, threshold, nullptr});
  });
}

void LumInertia(ZROI<ZBW8>* view, float& ixx, float& ixy, float& iyy, float* cx, float* cy, unsigned int* count,
                ZBW8Vector* lut) {
  VoidForm("LumInertia ( weighted)", [&] {
    if (Pixels(view) && TableOk(lut)) Inertia(view, ixx, ixy, iyy, cx, cy, count, Weights{false, 0, Table(lut)});
  });
}
