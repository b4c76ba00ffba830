// General convolution with a ZKernel: the public forms, the scale rule, the routing, and the
// scalar workers of the three routes (short Q8, Q15 with nearest-pixel borders, float with the
// outside value). The wide twins of the fixed-point rows are in convol_wide.cc.
#include <cmath>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

#include "filters/convol_wide.h"
#include "foundation/frame.h"
#include "foundation/pixel_traits.h"
#include "foundation/planes.h"
#include "foundation/rows.h"
#include "foundation/word.h"
#include "kelmira/filters.h"

namespace kelmira::convol {
namespace {

// ----- numbers -----

// Float to int32 toward zero as the processor's truncating conversion does it: a value outside
// the int32 range, or NaN, gives INT32_MIN.
int32_t Truncate(double v) {
  if (!(v > -2147483649.0 && v < 2147483648.0)) return INT32_MIN;
  return static_cast<int32_t>(v);
}

// The scale rule: gain / sum when the coefficients do not cancel to within one part in 100,000
// of their absolute sum, else gain. Both sums in float, in table order.
float Scale(float gain, float sum, float sumAbs) {
  return std::fabs(sum) > static_cast<double>(sumAbs) * 0.00001 ? gain / sum : gain;
}

float TableScale(const float* k, int count, float gain) {
  float sum = 0.0f, sumAbs = 0.0f;
  for (int i = 0; i < count; ++i) {
    sum += k[i];
    sumAbs += std::fabs(k[i]);
  }
  return Scale(gain, sum, sumAbs);
}

// ----- the symmetric workers' orbits -----

// Index of the coefficient that stands for the orbit of column i, row j of an n x n table: the
// one at distance (dx, dy) = (min, max) of the offsets, in the top-left octant.
int OrbitIndex(int n, int i, int j) {
  const int r = n / 2;
  int dx = i > r ? i - r : r - i, dy = j > r ? j - r : r - j;
  if (dx > dy) std::swap(dx, dy);
  return (r - dy) * n + (r - dx);
}

// Scale of a symmetric kernel: each representative, in table order, times its orbit size.
float SymmetricScale(const float* k, int n, float gain) {
  const int r = n / 2;
  float sum = 0.0f, sumAbs = 0.0f;
  for (int dy = r; dy >= 0; --dy)
    for (int dx = r; dx >= 0; --dx) {
      if (dx > dy) continue;
      const float size = (dx == 0 && dy == 0) ? 1.0f : (dx == 0 || dx == dy) ? 4.0f : 8.0f;
      const float v = k[(r - dy) * n + (r - dx)];
      sum += size * v;
      sumAbs += size * std::fabs(v);
    }
  return Scale(gain, sum, sumAbs);
}

// ----- views -----

// The storage the wide rows take: the same bytes.
inline const uint8_t* const* Wide(const uint8_t* const* rows) { return rows; }
inline uint8_t* Wide(uint8_t* row) { return row; }
inline const uint16_t* const* Wide(const Word* const* rows) { return reinterpret_cast<const uint16_t* const*>(rows); }
inline uint16_t* Wide(Word* row) { return reinterpret_cast<uint16_t*>(row); }

// True when the two views share any byte: the fixed-point wide rows and the short route's row
// buffers are only for separate memory.
bool Overlap(const ZGenericROI* a, const ZGenericROI* b) {
  const auto lo = [](const ZGenericROI* v) { return static_cast<const uint8_t*>(v->GetGenericImagePtr(0, 0)); };
  const auto hi = [](const ZGenericROI* v) {
    return static_cast<const uint8_t*>(v->GetGenericImagePtr(v->GetWidth(), v->GetHeight() - 1));
  };
  return lo(a) < hi(b) && lo(b) < hi(a);
}

inline int Clamp(int v, int lo, int hi) { return v < lo ? lo : v > hi ? hi : v; }

// ----- fixed-point routes (short Q8 and Q15) -----

struct Fixed {
  int32_t c[49];  // coefficients in the arithmetic of the route
  int32_t bias;   // offset term inside the sum
  Finish finish;
};

template <class T>
inline T FinishSum(uint32_t sum, Finish finish) {
  constexpr int32_t kMax = sizeof(T) == 1 ? 255 : 65535;
  const int32_t s = static_cast<int32_t>(sum);
  int32_t r = finish == Finish::kQ8 ? (s >> 8) : (s >> 15);
  if (finish == Finish::kQ15Abs && r < 0) r = -r;
  return static_cast<T>(r < 0 ? 0 : r > kMax ? kMax : r);
}

// One output of an N x N window with nearest-pixel columns; `rows` are already clamped. The sum
// wraps in 32 bits (unsigned arithmetic, so that a wrap is defined).
template <int N, class T>
inline T FixedPixel(const T* const* rows, int x, int width, const int32_t* c, int32_t bias, Finish finish) {
  constexpr int R = N / 2;
  uint32_t sum = static_cast<uint32_t>(bias);
  for (int j = 0; j < N; ++j)
    for (int i = 0; i < N; ++i) sum += static_cast<uint32_t>(c[j * N + i]) * rows[j][Clamp(x - R + i, 0, width - 1)];
  return FinishSum<T>(sum, finish);
}

// The same, for a window whose columns all lie inside the row.
template <int N, class T>
inline T FixedInterior(const T* const* rows, int x, const int32_t* c, int32_t bias, Finish finish) {
  constexpr int R = N / 2;
  uint32_t sum = static_cast<uint32_t>(bias);
  for (int j = 0; j < N; ++j) {
    const T* row = rows[j] + x - R;
    for (int i = 0; i < N; ++i) sum += static_cast<uint32_t>(c[j * N + i]) * row[i];
  }
  return FinishSum<T>(sum, finish);
}

// Columns [x0, x1) of one row, scalar: border columns clamp, interior ones read straight.
template <int N, class T>
void FixedSpan(const T* const* rows, T* out, int x0, int x1, int width, const Fixed& f) {
  constexpr int R = N / 2;
  for (int x = x0; x < x1; ++x)
    out[x] = (x >= R && x < width - R) ? FixedInterior<N>(rows, x, f.c, f.bias, f.finish)
                                       : FixedPixel<N>(rows, x, width, f.c, f.bias, f.finish);
}

// A whole row: scalar borders, the interior wide when `wide`.
template <int N, class T>
void FixedRowOf(const T* const* rows, T* out, int width, const Fixed& f, bool wide) {
  constexpr int R = N / 2;
  if (!wide || width <= 2 * R) return FixedSpan<N>(rows, out, 0, width, width, f);
  FixedSpan<N>(rows, out, 0, R, width, f);
  WideFixedRow(N, Wide(rows), Wide(out), R, width - 2 * R, f.c, f.bias, f.finish);
  FixedSpan<N>(rows, out, width - R, width, width, f);
}

// The window rows of output row y, nearest row for the missing ones.
template <int N, class T>
void WindowRows(const rows::Rows<T>& source, int y, int height, const T* (&rows)[N]) {
  for (int j = 0; j < N; ++j) rows[j] = source[Clamp(y - N / 2 + j, 0, height - 1)];
}

// Q15 workers, in row order. In place they read what they have written: no copy is made, and no
// wide row runs on overlapping views.
template <int N, class T>
void RunFixed(ZGenericROI* source, ZGenericROI* destination, const Fixed& f, bool wide) {
  const int width = destination->GetWidth(), height = destination->GetHeight();
  const rows::Rows<T> in(source), out(destination);
  wide = wide && !Overlap(source, destination);
  const T* window[N];
  for (int y = 0; y < height; ++y) {
    WindowRows<N>(in, y, height, window);
    FixedRowOf<N>(window, out[y], width, f, wide);
  }
}

// The ZBW8 vector form of the short route splits each row its own way: the first pixel; scalar
// pixels while bit 2 of the centre pixel's source address is set, and one more if the row has
// room; four outputs a step while more than 7 source bytes remain before the last pixel; scalar
// pixels to the end. The vector steps hold their coefficients in 16 bits (`f16`, wrapped), so a
// coefficient of 128.0 or more differs there. `centre` is the source row, for its address.
void ShortVectorRow(const uint8_t* const* rows, const uint8_t* centre, uint8_t* out, int width, const Fixed& f,
                    const Fixed& f16) {
  out[0] = FixedPixel<3>(rows, 0, width, f.c, 0, Finish::kQ8);
  int x = 1;
  while (x < width - 1 && (reinterpret_cast<uintptr_t>(centre + x) & 4) != 0) {
    out[x] = FixedPixel<3>(rows, x, width, f.c, 0, Finish::kQ8);
    ++x;
  }
  if (x < width - 1) {
    out[x] = FixedPixel<3>(rows, x, width, f.c, 0, Finish::kQ8);
    ++x;
  }
  const int steps = (width - 1) - x > 7 ? ((width - 1) - x - 8) / 4 + 1 : 0;
  if (steps > 0) {
    WideFixedRow(3, rows, out, x, 4 * steps, f16.c, 0, Finish::kQ8);
    x += 4 * steps;
  }
  for (; x < width; ++x) out[x] = FixedPixel<3>(rows, x, width, f.c, 0, Finish::kQ8);
}

template <class T>
void ShortRows(const rows::Rows<T>& in, const rows::Rows<T>& out, ZGenericROI* view, int y, const T* const* window,
               const Fixed& f, const Fixed& f16, bool wide) {
  const int width = view->GetWidth();
  if constexpr (sizeof(T) == 1) {
    if (wide) return ShortVectorRow(window, in[y], out[y], width, f, f16);
  }
  (void)f16;
  FixedRowOf<3>(window, out[y], width, f, wide);
}

// The short route. Done in place, two row buffers keep the source rows above and at the current
// row, so the result is that of a separate destination (1303 when they cannot be had); views
// that overlap otherwise are read from a copy of the source.
template <class T>
bool RunShort(ZGenericROI* source, ZGenericROI* destination, const Fixed& f, bool wide) {
  const int width = destination->GetWidth(), height = destination->GetHeight();
  const bool same = source->GetGenericImagePtr(0, 0) == destination->GetGenericImagePtr(0, 0);
  const bool overlap = Overlap(source, destination);
  Fixed f16 = f;
  for (int& c : f16.c) c = static_cast<int16_t>(c);

  ZImage<std::conditional_t<sizeof(T) == 1, ZBW8, ZBW16>> copy;
  if (overlap && !same) {
    ZOk();
    copy.SetSize(width, height);
    if (!frame::Ok() || copy.GetGenericImagePtr(0, 0) == nullptr) return frame::Fail(Z_ERROR_NO_MEMORY);
    const rows::Rows<T> from(source), to(&copy);
    for (int y = 0; y < height; ++y) std::memcpy(to[y], from[y], sizeof(T) * width);
    source = &copy;
  }
  const rows::Rows<T> in(source), out(destination);
  if (!same) {
    for (int y = 0; y < height; ++y) {
      const T* window[3];
      WindowRows<3>(in, y, height, window);
      ShortRows<T>(in, out, destination, y, window, f, f16, wide);
    }
    return true;
  }
  std::unique_ptr<T[]> buffer(new (std::nothrow) T[2 * static_cast<size_t>(width)]);
  if (!buffer) return frame::Fail(Z_ERROR_NO_MEMORY);
  T* above = buffer.get();
  T* current = buffer.get() + width;
  std::memcpy(current, in[0], sizeof(T) * width);
  for (int y = 0; y < height; ++y) {
    if (y > 0) {
      std::swap(above, current);
      std::memcpy(current, in[y], sizeof(T) * width);
    }
    const T* window[3] = {y > 0 ? above : current, current, y + 1 < height ? in[y + 1] : current};
    ShortRows<T>(in, out, destination, y, window, f, f16, wide);
  }
  return true;
}

// ----- float route -----

template <class T>
inline T FloatFinish(double s, short rectifier, unsigned int offset) {
  constexpr int64_t kMax = PixelTraits<std::conditional_t<sizeof(T) == 1, ZBW8, ZBW16>>::kMax;
  int64_t v = Truncate(s);
  if (rectifier == KERNEL_RECTIFIER_NEGATIVE) v = v <= 0 ? -v : 0;
  if (rectifier == KERNEL_RECTIFIER_POSITIVE) v = v < 0 ? 0 : v;
  if (rectifier == KERNEL_RECTIFIER_ABSOLUTE) v = v < 0 ? -v : v;
  v += offset;
  return static_cast<T>(v < 0 ? 0 : v > kMax ? kMax : v);
}

// The general loop on separate views: the source rows, padded with the outside value by the
// kernel's reach on each side, are converted to double once each and kept in a ring of as many
// rows as the window can hold inside the view; rows beyond the view are one row of the outside
// value. Each output is then the same ordered sum as the direct loop below. False when the
// buffers cannot be had (the direct loop then runs).
template <class T>
bool RunFloatBuffered(ZGenericROI* source, ZGenericROI* destination, const float* kf, int sx, int sy,
                      const ZKernel& kernel, bool wide) {
  const int width = destination->GetWidth(), height = destination->GetHeight();
  const int rx = sx >> 1, ry = sy >> 1;
  const size_t padded = static_cast<size_t>(width) + static_cast<size_t>(sx) - 1;
  const int ring = sy < height ? sy : height;
  const size_t taps = static_cast<size_t>(sx) * static_cast<size_t>(sy);
  const size_t total = padded * (static_cast<size_t>(ring) + 1) + taps + static_cast<size_t>(width) + sy;
  std::unique_ptr<double[]> store(new (std::nothrow) double[total]);
  std::unique_ptr<const double*[]> window(new (std::nothrow) const double*[sy]);
  if (!store || !window) return false;
  double* outsideRow = store.get();
  double* rings = outsideRow + padded;
  double* k = rings + padded * ring;
  double* sums = k + taps;
  const double outside = static_cast<double>(kernel.GetOutsideValue());
  for (size_t i = 0; i < padded; ++i) outsideRow[i] = outside;
  for (size_t i = 0; i < taps; ++i) k[i] = static_cast<double>(kf[i]);
  const rows::Rows<T> in(source), out(destination);
  const auto load = [&](int yy) {
    double* row = rings + padded * static_cast<size_t>(yy % ring);
    const T* src = in[yy];
    for (int x = 0; x < rx; ++x) row[x] = outside;
    for (int x = 0; x < width; ++x) row[rx + x] = static_cast<double>(src[x]);
    for (size_t x = static_cast<size_t>(rx) + width; x < padded; ++x) row[x] = outside;
  };
  for (int yy = 0; yy < sy - 1 - ry && yy < height; ++yy) load(yy);
  for (int y = 0; y < height; ++y) {
    const int incoming = y - ry + sy - 1;
    if (incoming >= 0 && incoming < height) load(incoming);
    for (int j = 0; j < sy; ++j) {
      const int yy = y - ry + j;
      window[j] = (yy >= 0 && yy < height) ? rings + padded * static_cast<size_t>(yy % ring) : outsideRow;
    }
    if (wide) {
      WideFloatSums(window.get(), sx, sy, k, width, sums);
    } else {
      for (int x = 0; x < width; ++x) {
        double s = 0.0;
        for (int j = 0; j < sy; ++j)
          for (int i = 0; i < sx; ++i) s += window[j][x + i] * k[static_cast<size_t>(j) * sx + i];
        sums[x] = s;
      }
    }
    T* o = out[y];
    for (int x = 0; x < width; ++x) o[x] = FloatFinish<T>(sums[x], kernel.GetRectifier(), kernel.GetOffset());
  }
  return true;
}

// Any size: the window spans -(n >> 1) .. n - (n >> 1) - 1 around the centre; outside the view
// the outside value stands in. Products and sums in double, in table order.
template <class T>
void RunFloatGeneral(ZGenericROI* source, ZGenericROI* destination, const float* kf, int sx, int sy,
                     const ZKernel& kernel) {
  const int width = destination->GetWidth(), height = destination->GetHeight();
  const rows::Rows<T> in(source), out(destination);
  const double outside = static_cast<double>(kernel.GetOutsideValue());
  const int rx = sx >> 1, ry = sy >> 1;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      double s = 0.0;
      for (int j = 0; j < sy; ++j) {
        const int yy = y - ry + j;
        const bool rowIn = yy >= 0 && yy < height;
        const T* row = rowIn ? in[yy] : nullptr;
        for (int i = 0; i < sx; ++i) {
          const int xx = x - rx + i;
          const double p = (rowIn && xx >= 0 && xx < width) ? static_cast<double>(row[xx]) : outside;
          s += p * static_cast<double>(kf[j * sx + i]);
        }
      }
      out[y][x] = FloatFinish<T>(s, kernel.GetRectifier(), kernel.GetOffset());
    }
  }
}

// The 3x3 form: the interior first, then the border (top row, the two side columns of the
// middle rows, bottom row). The border's sum takes kf[5] for the pixel below the centre.
template <class T>
void RunFloat3x3(ZGenericROI* source, ZGenericROI* destination, const float* kf, const ZKernel& kernel) {
  const int width = destination->GetWidth(), height = destination->GetHeight();
  const rows::Rows<T> in(source), out(destination);
  const short rect = kernel.GetRectifier();
  const unsigned int offset = kernel.GetOffset();
  for (int y = 1; y + 1 < height; ++y)
    for (int x = 1; x + 1 < width; ++x) {
      double s = 0.0;
      for (int j = 0; j < 3; ++j)
        for (int i = 0; i < 3; ++i) s += static_cast<double>(in[y - 1 + j][x - 1 + i]) * static_cast<double>(kf[j * 3 + i]);
      out[y][x] = FloatFinish<T>(s, rect, offset);
    }
  const double outside = static_cast<double>(kernel.GetOutsideValue());
  const auto border = [&](int x, int y) {
    double s = 0.0;
    for (int j = 0; j < 3; ++j)
      for (int i = 0; i < 3; ++i) {
        const int xx = x - 1 + i, yy = y - 1 + j;
        const double p = (xx >= 0 && xx < width && yy >= 0 && yy < height) ? static_cast<double>(in[yy][xx]) : outside;
        s += p * static_cast<double>(kf[j * 3 + i == 7 ? 5 : j * 3 + i]);
      }
    out[y][x] = FloatFinish<T>(s, rect, offset);
  };
  for (int x = 0; x < width; ++x) border(x, 0);
  for (int y = 1; y + 1 < height; ++y) {
    border(0, y);
    if (width > 1) border(width - 1, y);
  }
  if (height > 1)
    for (int x = 0; x < width; ++x) border(x, height - 1);
}

template <class T>
bool RunFloat(ZGenericROI* source, ZGenericROI* destination, const ZKernel& kernel, bool wide) {
  const int sx = kernel.GetSizeX() > 0 ? kernel.GetSizeX() : 0;
  const int sy = kernel.GetSizeY() > 0 ? kernel.GetSizeY() : 0;
  const size_t count = static_cast<size_t>(sx) * static_cast<size_t>(sy);
  std::unique_ptr<float[]> kf(new (std::nothrow) float[count == 0 ? 1 : count]);
  if (!kf) return frame::Fail(Z_ERROR_NO_MEMORY);
  const float g = TableScale(kernel.GetDataPtr(), static_cast<int>(count), kernel.GetGain());
  for (size_t i = 0; i < count; ++i) kf[i] = g * kernel.GetDataPtr()[i];
  if (sx == 3 && sy == 3)
    RunFloat3x3<T>(source, destination, kf.get(), kernel);
  else if (sx == 0 || sy == 0 || Overlap(source, destination) ||
           !RunFloatBuffered<T>(source, destination, kf.get(), sx, sy, kernel, wide))
    RunFloatGeneral<T>(source, destination, kf.get(), sx, sy, kernel);
  return true;
}

// ----- workers and routing -----

// Q15 coefficients of a table (or of a symmetric kernel's orbits) and the offset term.
Fixed Q15(const ZKernel& kernel, int n, bool symmetric) {
  const float* k = kernel.GetDataPtr();
  const float gain = kernel.GetGain();
  float g = symmetric ? SymmetricScale(k, n, gain) : TableScale(k, n * n, gain);
  uint32_t bias = kernel.GetOffset() << 15;
  if (kernel.GetRectifier() == KERNEL_RECTIFIER_NEGATIVE) {
    g = -g;
    bias = 0u - bias;
  }
  Fixed f{};
  for (int j = 0; j < n; ++j)
    for (int i = 0; i < n; ++i) {
      const float v = k[symmetric ? OrbitIndex(n, i, j) : j * n + i];
      f.c[j * n + i] = Truncate(static_cast<double>(g * v) * 32768.0);
    }
  f.bias = static_cast<int32_t>(bias);
  f.finish = kernel.GetRectifier() == KERNEL_RECTIFIER_ABSOLUTE ? Finish::kQ15Abs : Finish::kQ15;
  return f;
}

bool ViewsOk(ZGenericROI* source, ZGenericROI* destination) {
  if (!frame::SameSize(source, destination)) return false;
  if (source->GetGenericImagePtr(0, 0) == nullptr || destination->GetGenericImagePtr(0, 0) == nullptr)
    return frame::Fail(Z_ERROR_NULL_IMAGE);
  return true;
}

bool HasData(const ZKernel* kernel) {
  if (kernel == nullptr || kernel->GetDataPtr() == nullptr) return frame::Fail(Z_ERROR_KERNEL_NO_DATA);
  // A positive size always fits in the capacity; refuse a table that would not.
  const long long n = static_cast<long long>(kernel->GetSizeX()) * kernel->GetSizeY();
  if (kernel->GetSizeX() > 0 && kernel->GetSizeY() > 0 && n > kernel->GetAllocatedSize())
    return frame::Fail(Z_ERROR_KERNEL_NO_DATA);
  return true;
}

// A Q15 worker (plain or symmetric) of size n, with its own checks and trace.
template <class T>
void Q15Worker(ZGenericROI* source, ZGenericROI* destination, ZKernel* kernel, int n, bool symmetric, bool wide,
               const char* trace) {
  frame::Gate();
  if (frame::Ok() && ViewsOk(source, destination) && HasData(kernel)) {
    if (kernel->GetSizeX() != n || kernel->GetSizeY() != n) {
      frame::Fail(Z_ERROR_KERNEL_BAD_SIZE);
    } else if (kernel->GetRectifier() == KERNEL_RECTIFIER_NONE) {
      frame::Fail(Z_ERROR_INTERNAL);
    } else if (kernel->GetRectifier() >= 1 && kernel->GetRectifier() <= 3) {  // others write nothing
      const Fixed f = Q15(*kernel, n, symmetric);
      if (n == 3) RunFixed<3, T>(source, destination, f, wide);
      if (n == 5) RunFixed<5, T>(source, destination, f, wide);
      if (n == 7) RunFixed<7, T>(source, destination, f, wide);
    }
  }
  frame::Leave(trace);
}

struct Traces {
  const char* outer;
  const char* worker[3];  // 3x3, 5x5, 7x7
};

template <class T>
void Convolve(ZGenericROI* source, ZGenericROI* destination, ZKernel* kernel, const Traces& traces) {
  if (frame::Enter() && ViewsOk(source, destination) && HasData(kernel)) {
    const bool wide = ZGetMMX() != 0;
    const int sx = kernel->GetSizeX(), sy = kernel->GetSizeY();
    const short rect = kernel->GetRectifier();
    const bool square = sx == sy && (sx == 3 || sx == 5 || sx == 7);
    if (sx == 3 && sy == 3 && rect == KERNEL_RECTIFIER_POSITIVE) {
      const float g = TableScale(kernel->GetDataPtr(), 9, kernel->GetGain());
      Fixed f{};
      for (int i = 0; i < 9; ++i) f.c[i] = Truncate(static_cast<double>(g * kernel->GetDataPtr()[i]) * 256.0);
      f.bias = 0;  // the short route drops the offset
      f.finish = Finish::kQ8;
      RunShort<T>(source, destination, f, wide);
    } else if (rect == KERNEL_RECTIFIER_NONE || !square) {
      RunFloat<T>(source, destination, *kernel, wide);
    } else {
      // 3x3 with another rectifier than 2 (a value above 3 writes nothing), 5x5, 7x7.
      frame::Step([&] { Q15Worker<T>(source, destination, kernel, sx, false, wide, traces.worker[sx / 2 - 1]); });
    }
  }
  frame::Leave(traces.outer);
}

template <class T>
void ConvolveSymmetric(ZGenericROI* source, ZGenericROI* destination, ZKernel* kernel, const Traces& traces) {
  if (frame::Enter()) {
    const int sx = kernel ? kernel->GetSizeX() : 0, sy = kernel ? kernel->GetSizeY() : 0;
    if (kernel == nullptr) {
      frame::Fail(Z_ERROR_KERNEL_NO_DATA);
    } else if (kernel->GetRectifier() == KERNEL_RECTIFIER_NONE) {
      frame::Fail(Z_ERROR_KERNEL_NO_RECTIFIER);
    } else if (sx != sy || (sx != 3 && sx != 5 && sx != 7)) {
      frame::Fail(Z_ERROR_KERNEL_BAD_SIZE);
    } else {
      // The worker checks the views and the data itself, and traces its own string.
      const bool wide = ZGetMMX() != 0;
      frame::Step([&] { Q15Worker<T>(source, destination, kernel, sx, true, wide, traces.worker[sx / 2 - 1]); });
    }
  }
  frame::Leave(traces.outer);
}

// Colour forms: refuse to run in place, then the ZBW8 form on each plane.
template <class Op>
void ByPlanes(ZROI<ZC24>* source, ZROI<ZC24>* destination, Op&& op, const char* trace) {
  if (frame::Enter() && frame::NotVoid(source)) {
    if (destination == nullptr || destination == source)
      frame::Fail(Z_ERROR_NEED_SEPARATE_DESTINATION);
    else
      planes::ForEachPlane(source, destination, [&](ZROI<ZBW8>* in, ZROI<ZBW8>* out, unsigned) { op(in, out); });
  }
  frame::Leave(trace);
}

constexpr Traces kBW8{"LumConvolKernel BW8", {"ConvolKernel3x3", "ConvolKernel5x5", "ConvolKernel7x7"}};
constexpr Traces kBW16{"LumConvolKernel BW16",
                       {"ConvolKernel3x3 BW16", "ConvolKernel5x5 BW16", "ConvolKernel7x7 BW16"}};
constexpr Traces kSymBW8{"LumConvolSymmetricKernel", {"ConvolKernelS3xS3", "ConvolKernelS5xS5", "ConvolKernelS7xS7"}};
constexpr Traces kSymBW16{"LumConvolSymmetricKernel BW16",
                          {"ConvolKernelS3xS3 BW16", "ConvolKernelS5xS5 BW16", "ConvolKernelS7xS7 (BW16)"}};

}  // namespace
}  // namespace kelmira::convol

using namespace kelmira::convol;  // NOLINT: the file's own internals
using kelmira::Word;

void LumConvolKernel(ZROI<ZBW8>* source, ZROI<ZBW8>* destination, ZKernel* kernel) {
  Convolve<uint8_t>(source, destination, kernel, kBW8);
}
void LumConvolKernel(ZROI<ZBW16>* source, ZROI<ZBW16>* destination, ZKernel* kernel) {
  Convolve<Word>(source, destination, kernel, kBW16);
}
void LumConvolKernel(ZROI<ZC24>* source, ZROI<ZC24>* destination, ZKernel* kernel) {
  ByPlanes(source, destination, [&](ZROI<ZBW8>* in, ZROI<ZBW8>* out) { LumConvolKernel(in, out, kernel); },
           "LumConvolKernel ( C24)");
}

void LumConvolSymmetricKernel(ZROI<ZBW8>* source, ZROI<ZBW8>* destination, ZKernel* kernel) {
  ConvolveSymmetric<uint8_t>(source, destination, kernel, kSymBW8);
}
void LumConvolSymmetricKernel(ZROI<ZBW16>* source, ZROI<ZBW16>* destination, ZKernel* kernel) {
  ConvolveSymmetric<Word>(source, destination, kernel, kSymBW16);
}
void LumConvolSymmetricKernel(ZROI<ZC24>* source, ZROI<ZC24>* destination, ZKernel* kernel) {
  ByPlanes(source, destination, [&](ZROI<ZBW8>* in, ZROI<ZBW8>* out) { LumConvolSymmetricKernel(in, out, kernel); },
           "LumConvolSymmetricKernel ( C24)");
}
