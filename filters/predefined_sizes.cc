// The predefined filters beyond 3x3: the 5x5 and 7x7 smoothers, Roberts' 2x2 gradient, the box
// of any size (running column sums) and the Gaussian of any size (repeated binomial passes), on
// ZBW8, ZBW16 and, plane by plane, ZC24.
#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <optional>
#include <type_traits>

#include "filters/predefined_internal.h"
#include "foundation/frame.h"
#include "foundation/rows.h"
#include "kelmira/filters.h"
#include "kelmira/pixelwise.h"

namespace kelmira::predefined {
namespace {

inline int Clamp(int v, int lo, int hi) { return v < lo ? lo : v > hi ? hi : v; }

// True when the two views share any byte.
bool Overlap(const ZGenericROI* a, const ZGenericROI* b) {
  const auto lo = [](const ZGenericROI* v) { return static_cast<const uint8_t*>(v->GetGenericImagePtr(0, 0)); };
  const auto hi = [](const ZGenericROI* v) {
    return static_cast<const uint8_t*>(v->GetGenericImagePtr(v->GetWidth(), v->GetHeight() - 1));
  };
  return lo(a) < hi(b) && lo(b) < hi(a);
}

// ----- 5x5 and 7x7 -----

constexpr int32_t kBinomial5[5] = {1, 4, 6, 4, 1};
constexpr int32_t kBinomial7[7] = {1, 6, 15, 20, 15, 6, 1};

// One output from the window rows (already clamped) with clamped columns. Uniform: the sum of the
// box times 335544 (5x5) or 171196 (7x7) >> 23, in 32 bits unsigned; Gaussian: the binomial
// weights in both directions >> 8 (5x5) or >> 12 (7x7).
template <int N, bool Uniform>
inline uint8_t LargePixel(const uint8_t* const* rows, int x, int width) {
  constexpr int R = N / 2;
  const int32_t* w = N == 5 ? kBinomial5 : kBinomial7;
  uint32_t sum = 0;
  for (int j = 0; j < N; ++j) {
    uint32_t row = 0;
    for (int i = 0; i < N; ++i) {
      const uint32_t p = rows[j][Clamp(x - R + i, 0, width - 1)];
      row += Uniform ? p : p * static_cast<uint32_t>(w[i]);
    }
    sum += Uniform ? row : row * static_cast<uint32_t>(w[j]);
  }
  if constexpr (Uniform) return static_cast<uint8_t>(sum * (N == 5 ? 335544u : 171196u) >> 23);
  return static_cast<uint8_t>(sum >> (N == 5 ? 8 : 12));
}

// Row order. On separate memory the interior of each row runs wide when `wide`; on overlapping
// views every pixel is read live, so dst equal to src reads what is already written.
template <int N, bool Uniform>
void RunLarge(ZGenericROI* source, ZGenericROI* destination, bool wide) {
  constexpr int R = N / 2;
  const int width = source->GetWidth(), height = source->GetHeight();
  const rows::Rows<uint8_t> in(source), out(destination);
  wide = wide && !Overlap(source, destination);
  std::unique_ptr<uint16_t[]> columns(wide ? new (std::nothrow) uint16_t[static_cast<size_t>(width) + N - 1] : nullptr);
  wide = wide && columns != nullptr;  // without scratch, the scalar loop gives the same pixels
  const uint8_t* window[N];
  for (int y = 0; y < height; ++y) {
    for (int j = 0; j < N; ++j) window[j] = in[Clamp(y - R + j, 0, height - 1)];
    uint8_t* o = out[y];
    if (wide) {
      WideRowLarge(N, Uniform, window, o, width, columns.get());
    } else {
      for (int x = 0; x < width; ++x) o[x] = LargePixel<N, Uniform>(window, x, width);
    }
  }
}

// The checks of the fixed-size workers: sizes (a null view is 1400), pixels, the neighbourhood.
bool ViewsFit(ZGenericROI* source, ZGenericROI* destination, int n) {
  if (!frame::SameSize(source, destination)) return false;
  if (source->GetGenericImagePtr(0, 0) == nullptr || destination->GetGenericImagePtr(0, 0) == nullptr)
    return frame::Fail(Z_ERROR_NULL_IMAGE);
  if (source->GetWidth() < n || source->GetHeight() < n) return frame::Fail(Z_ERROR_SIZE_MISMATCH);
  return true;
}

template <int N, bool Uniform>
void Large(ZROI<ZBW8>* source, ZROI<ZBW8>* destination, const char* trace) {
  if (frame::Enter() && ViewsFit(source, destination, N)) RunLarge<N, Uniform>(source, destination, ZGetMMX() != 0);
  frame::Leave(trace);
}

// ----- Roberts -----

// Forward order over the source's size; only pixels inside the destination are written, so a
// smaller destination is never overrun. A pixel reads only pixels not yet written.
template <class T>
void RunRoberts(ZGenericROI* source, ZGenericROI* destination) {
  constexpr int32_t kMax = sizeof(T) == 1 ? 255 : 65535;
  const int width = source->GetWidth(), height = source->GetHeight();
  const int outWidth = destination->GetWidth() < width ? destination->GetWidth() : width;
  const int outHeight = destination->GetHeight() < height ? destination->GetHeight() : height;
  const rows::Rows<T> in(source), out(destination);
  const auto abs = [](int32_t v) { return v < 0 ? -v : v; };
  const auto clip = [](int32_t v) { return v > kMax ? kMax : v; };
  for (int y = 0; y < outHeight; ++y) {
    const T* c = in[y];
    const T* s = y + 1 < height ? in[y + 1] : nullptr;
    T* o = out[y];
    for (int x = 0; x < outWidth; ++x) {
      int32_t v;
      if (s != nullptr && x + 1 < width)
        v = clip(abs(int32_t(c[x + 1]) - int32_t(s[x])) + abs(int32_t(c[x]) - int32_t(s[x + 1])));
      else if (s != nullptr)
        v = clip(2 * abs(int32_t(c[x]) - int32_t(s[x])));
      else if (x + 1 < width)
        v = clip(2 * abs(int32_t(c[x]) - int32_t(c[x + 1])));
      else
        v = 0;
      o[x] = static_cast<T>(v);
    }
  }
}

template <class P, class T>
void Roberts(ZROI<P>* source, ZROI<P>* destination, const char* trace) {
  if (destination == nullptr) {
    // Into a temporary image of the source's size, then back to the source.
    ZOk();
    if (frame::NotVoid(source)) {
      ZImage<P> temporary(source->GetWidth(), source->GetHeight());
      if (!frame::Ok() || temporary.GetImagePtr(0, 0) == nullptr) {
        frame::Fail(Z_ERROR_NO_MEMORY);
      } else if (frame::Step([&] { Roberts<P, T>(source, &temporary, trace); })) {
        frame::Step([&] { LumCopy(&temporary, source); });
      }
    }
    frame::Leave(trace);
    return;
  }
  if (frame::Enter() && frame::NotVoid(source) && frame::NotVoid(destination)) RunRoberts<T>(source, destination);
  frame::Leave(trace);
}

// ----- the box of any size -----

// The ZBW8 running box by columns, for windows wider than the row route takes: a column sum is at
// most (2 hy + 1) * 255, so with hy up to 128 it fits 16 bits and never wraps, and equals the
// scalar's 32-bit sum; otherwise 32-bit cells wrap as the scalar ones do.
template <class Cell>
bool WideBox(const rows::Rows<uint8_t>& in, const rows::Rows<uint8_t>& out, int width, int height, int hx, int hy,
             uint32_t scale) {
  std::unique_ptr<Cell[]> store(new (std::nothrow) Cell[static_cast<size_t>(width) + 2 * static_cast<size_t>(hx)]);
  if (!store) return frame::Fail(Z_ERROR_NO_MEMORY);
  Cell* cell = store.get();
  Cell* column = cell + hx;  // the real columns
  std::memset(column, 0, sizeof(Cell) * static_cast<size_t>(width));
  for (int r = -hy; r <= hy; ++r) {
    const uint8_t* row = in[Clamp(r, 0, height - 1)];
    for (int x = 0; x < width; ++x) column[x] = static_cast<Cell>(column[x] + row[x]);
  }
  for (int y = 0; y < height; ++y) {
    for (int i = 0; i < hx; ++i) {
      cell[i] = column[0];
      column[width + i] = column[width - 1];
    }
    WideBoxRow(cell, 2 * hx + 1, scale, out[y], width);
    if (y + 1 < height)
      WideColumnUpdate(column, in[Clamp(y + hy + 1, 0, height - 1)], in[Clamp(y - hy, 0, height - 1)], width);
  }
  return true;
}

// The shape of the ZBW8 row route below: the row rounded up to whole blocks, and the rows of row
// sums the ring keeps.
struct RowRoute {
  size_t span, ringRows;
};

// The row route for a box, when the target has one, the window is at most 127 pixels wide (row
// sums below 2^15, their differences within int16) and the ring stays within 32 MB.
std::optional<RowRoute> PlanByRows(int width, int height, int hx, int hy) {
  const int block = WideBoxBlock();
  if (block == 0 || 2 * hx + 1 > 127) return std::nullopt;
  const size_t span = (static_cast<size_t>(width) + block - 1) / block * block;
  const size_t ringRows = static_cast<size_t>(std::min(height, 2 * hy + 2));
  if (ringRows * span > (size_t{16} << 20)) return std::nullopt;
  return RowRoute{span, ringRows};
}

// The ZBW8 box by rows: each source row's sums along the window are taken once, kept in a ring
// while their row is inside the window, and run down the columns as the window sum times the
// scale, in 32 bits. That is the scalar's wrapping product of its column-then-row sum, so the
// pixels are the scalar's.
bool WideBoxByRows(const rows::Rows<uint8_t>& in, const rows::Rows<uint8_t>& out, int width, int height, int hx, int hy,
                   uint32_t scale, const RowRoute& route) {
  const int window = 2 * hx + 1;
  const size_t span = route.span, ringRows = route.ringRows;
  // One allocation, each part on a 64-byte boundary: the padded source row (with a byte before it
  // and room for a vector load past its end), the ring, a row of zero sums, the window sums.
  const size_t paddedBytes = span + static_cast<size_t>(window) + 64 * 5, ringBytes = (ringRows + 1) * span * 2,
               sumBytes = span * 4;
  std::unique_ptr<uint8_t[]> store(new (std::nothrow) uint8_t[paddedBytes + ringBytes + sumBytes + 64 * 4]);
  if (!store) return frame::Fail(Z_ERROR_NO_MEMORY);
  const auto align = [](uint8_t* p) { return p + ((64 - reinterpret_cast<uintptr_t>(p) % 64) % 64); };
  uint8_t* padded = align(store.get()) + 64;  // padded[-1] inside the allocation
  uint16_t* ring = reinterpret_cast<uint16_t*>(align(padded + paddedBytes - 64));
  uint16_t* zeros = ring + ringRows * span;
  uint32_t* sums = reinterpret_cast<uint32_t*>(align(reinterpret_cast<uint8_t*>(zeros + span)));
  std::memset(zeros, 0, span * 2);
  std::memset(sums, 0, span * 4);
  const auto rowAt = [&](int y) { return ring + static_cast<size_t>(y) % ringRows * span; };
  const auto prepare = [&](int y) {
    // The padded row holds the pixel of column clamp(i - hx) at i; only its two ends are written,
    // the kernels read vectors that fall inside the source row in place.
    const uint8_t* row = in[y];
    const ptrdiff_t end = static_cast<ptrdiff_t>(span) + window + 63, vector = 64;
    const auto fill = [&](ptrdiff_t from, ptrdiff_t to) {  // [from, to): left edge, pixels, right edge
      const ptrdiff_t a = std::clamp<ptrdiff_t>(hx, from, to), b = std::clamp<ptrdiff_t>(hx + width, from, to);
      std::memset(padded + from, row[0], static_cast<size_t>(a - from));
      std::memcpy(padded + a, row + (a - hx), static_cast<size_t>(b - a));
      std::memset(padded + b, row[width - 1], static_cast<size_t>(to - b));
    };
    if (width >= 2 * vector) {
      // Fixed sizes in 8-byte words (the library's baseline compiles short copies as string moves);
      // later writes overwrite earlier ones.
      const auto words = [](uint8_t* to, const uint8_t* from, int count) {
        for (int i = 0; i < count; ++i) std::memcpy(to + 8 * i, from + 8 * i, 8);
      };
      const auto splat = [](uint8_t* to, uint8_t value, int count) {
        const uint64_t word = value * uint64_t{0x0101010101010101};
        for (int i = 0; i < count; ++i) std::memcpy(to + 8 * i, &word, 8);
      };
      splat(padded - 1, row[0], 16);                                // [-1, hx + 1) and more
      words(padded + hx, row, 8);                                    // [hx, hx + 64)
      words(padded + hx + width - vector, row + width - vector, 8);  // the last 64 pixels
      splat(padded + hx + width, row[width - 1], 32);                // up to past `end`
    } else {
      fill(-1, end);
    }
    // The next row's pixels on their way while this one is summed.
    return BoxSource{row, width, hx, padded, window, y + 1 < height ? in[y + 1] : nullptr};
  };
  // Adds the sums of source row y to the window (minus those of `leaving`), writing output row
  // `o` first unless it is null; the row's sums are taken in the same pass unless an edge repeats
  // a row already in the ring.
  int last = -1;  // the last source row whose sums are in the ring
  const auto step = [&](uint8_t* o, int y, const uint16_t* leaving) {
    BoxSource source{}, *fresh = nullptr;
    if (y > last) source = prepare(last = y), fresh = &source;
    WideBoxWindowStep(sums, rowAt(y), leaving, scale, o, width, fresh);
  };
  for (int r = -hy; r <= hy; ++r) step(nullptr, Clamp(r, 0, height - 1), zeros);
  for (int y = 0; y + 1 < height; ++y) step(out[y], std::min(y + hy + 1, height - 1), rowAt(std::max(y - hy, 0)));
  WideBoxWindowStep(sums, nullptr, nullptr, scale, out[height - 1], width, nullptr);
  return true;
}

// The ZBW16 box on the wide path: running column sums of 32 bits over the padded columns c[i]
// (column clamp(i - hx), i from -1), kept split by parity so that neither the column update nor
// the row pass widens pixels by shuffles. The caller takes it when area * 65535 < 2^32: no sum
// reaches 2^32, so each equals the scalar's 64-bit sum and the pixels are the scalar's.
bool WideWordBox(const rows::Rows<Word>& in, const rows::Rows<Word>& out, int width, int height, int hx, int hy,
                 uint32_t scale) {
  // c[i] for i in [-1, width + 2 hx), and room for the vector loads past the end.
  const size_t half = (static_cast<size_t>(width) + 2 * static_cast<size_t>(hx)) / 2 + 2 + 64;
  std::unique_ptr<uint32_t[]> store(new (std::nothrow) uint32_t[2 * half + static_cast<size_t>(width) / 2 + 1]);
  if (!store) return frame::Fail(Z_ERROR_NO_MEMORY);
  std::memset(store.get(), 0, sizeof(uint32_t) * (2 * half + static_cast<size_t>(width) / 2 + 1));
  uint32_t* even = store.get() + 1;  // even[k] = c[2k], from k = -1
  uint32_t* odd = even + half;       // odd[k] = c[2k + 1], from k = -1
  const uint8_t* zeros = reinterpret_cast<const uint8_t*>(odd + half - 1);  // a row of zero pixels
  const auto c = [&](int i) -> uint32_t& { return (i & 1) ? odd[(i - 1) / 2] : even[i / 2]; };
  const auto bytes = [](const Word* row) { return reinterpret_cast<const uint8_t*>(row); };
  // Pixel x is c[hx + x]: its pairs' low halves land in one array, high halves in the other.
  uint32_t* low = (hx & 1) ? odd + (hx - 1) / 2 : even + hx / 2;
  uint32_t* high = (hx & 1) ? even + (hx + 1) / 2 : odd + hx / 2;
  const auto update = [&](const uint8_t* add, const uint8_t* sub) {
    WideWordColumnUpdate(low, high, add, sub, width / 2);
    if (width & 1) {
      const int x = width - 1;
      c(hx + x) += static_cast<uint32_t>(reinterpret_cast<const Word*>(add)[x]) -
                   static_cast<uint32_t>(reinterpret_cast<const Word*>(sub)[x]);
    }
  };
  for (int r = -hy; r <= hy; ++r) update(bytes(in[Clamp(r, 0, height - 1)]), zeros);
  for (int y = 0; y < height; ++y) {
    for (int i = -1; i < hx; ++i) c(i) = c(hx);
    for (int i = hx + width; i < width + 2 * hx; ++i) c(i) = c(hx + width - 1);
    uint32_t carry = 0;  // S[-1]
    for (int i = -1; i < 2 * hx; ++i) carry += c(i);
    uint8_t* o = reinterpret_cast<uint8_t*>(out[y]);
    const int done = WideWordBoxRow(even, odd, hx, carry, scale, o, width / 2);
    for (int x = 2 * done; x < width; ++x) {
      carry += c(x + 2 * hx) - c(x - 1);
      reinterpret_cast<Word*>(o)[x] = static_cast<uint16_t>((static_cast<uint64_t>(carry) * scale) >> 24);
    }
    if (y + 1 < height) update(bytes(in[Clamp(y + hy + 1, 0, height - 1)]), bytes(in[Clamp(y - hy, 0, height - 1)]));
  }
  return true;
}

// Running column sums over the rows -halfY .. halfY (clamped to the view), and along each row a
// running sum over 2 halfX + 1 cells of the column sums padded with the edge columns. The column
// sums wrap in 32 bits; the row sum and product are 32-bit on ZBW8 (sum * scale stays below
// 2^32 whenever scale is not 0), 64-bit on ZBW16.
template <class T>
bool RunBox(ZGenericROI* source, ZGenericROI* destination, unsigned halfX, unsigned halfY, bool wide) {
  using Sum = std::conditional_t<sizeof(T) == 1, uint32_t, uint64_t>;
  const int width = source->GetWidth(), height = source->GetHeight();
  if (width <= 0 || height <= 0) return true;  // no pixel: nothing to sum, nothing to write
  const int hx = halfX > static_cast<unsigned>(width - 1) ? width - 1 : static_cast<int>(halfX);
  const int hy = halfY > static_cast<unsigned>(height - 1) ? height - 1 : static_cast<int>(halfY);
  const uint64_t area = (2 * static_cast<uint64_t>(hx) + 1) * (2 * static_cast<uint64_t>(hy) + 1);
  const uint32_t scale = static_cast<uint32_t>((uint64_t{1} << 24) / area);
  const rows::Rows<T> in(source), out(destination);
  if (wide) {
    if constexpr (sizeof(T) == 1) {
      if (const auto route = PlanByRows(width, height, hx, hy))
        return WideBoxByRows(in, out, width, height, hx, hy, scale, *route);
      if (2 * hy + 1 <= 65535 / 255) return WideBox<uint16_t>(in, out, width, height, hx, hy, scale);
      return WideBox<uint32_t>(in, out, width, height, hx, hy, scale);
    } else {
      if (area * 65535 < (uint64_t{1} << 32)) return WideWordBox(in, out, width, height, hx, hy, scale);
    }
  }
  const size_t cells = static_cast<size_t>(width) + 2 * static_cast<size_t>(hx);
  std::unique_ptr<uint32_t[]> store(new (std::nothrow) uint32_t[cells]);
  if (!store) return frame::Fail(Z_ERROR_NO_MEMORY);
  uint32_t* cell = store.get();
  uint32_t* column = cell + hx;  // the real columns
  std::memset(column, 0, sizeof(uint32_t) * static_cast<size_t>(width));
  for (int r = -hy; r <= hy; ++r) {
    const T* row = in[Clamp(r, 0, height - 1)];
    for (int x = 0; x < width; ++x) column[x] += static_cast<uint32_t>(row[x]);
  }
  for (int y = 0; y < height; ++y) {
    for (int i = 0; i < hx; ++i) {
      cell[i] = column[0];
      column[width + i] = column[width - 1];
    }
    T* o = out[y];
    Sum sum = 0;
    for (int i = 0; i <= 2 * hx; ++i) sum += cell[i];
    for (int x = 0; x < width; ++x) {
      o[x] = static_cast<T>(static_cast<Sum>(sum * scale) >> 24);
      if (x + 1 < width) sum += static_cast<Sum>(cell[x + 2 * hx + 1]) - static_cast<Sum>(cell[x]);
    }
    if (y + 1 < height) {
      const T* leaving = in[Clamp(y - hy, 0, height - 1)];
      const T* entering = in[Clamp(y + hy + 1, 0, height - 1)];
      for (int x = 0; x < width; ++x) column[x] += static_cast<uint32_t>(entering[x]) - static_cast<uint32_t>(leaving[x]);
    }
  }
  return true;
}

template <class P>
void CopyView(ZROI<P>* source, ZROI<P>* destination) {
  if constexpr (sizeof(P) == 1)
    LumOper(ARITH_LOGIC_COPY, source, destination);
  else
    LumCopy(source, destination);
}

template <class P, class T>
void Uniform(ZROI<P>* source, ZROI<P>* destination, unsigned halfX, unsigned halfY, const char* trace) {
  if (frame::Enter() && frame::NotVoid(source) && (destination == nullptr || frame::SameSize(destination, source))) {
    if (halfY == 0xFFFFFFFFu) halfY = halfX;
    const bool separate = destination != nullptr && destination != source;
    if (halfX == 0 && halfY == 0) {
      if (separate) frame::Step([&] { CopyView(source, destination); });
    } else if (halfX == 0 && halfY == 1) {
      frame::Step([&] { UniformY(source, destination); });
    } else if (halfX == 1 && halfY == 0) {
      frame::Step([&] { LumConvolUniformX(source, destination); });
    } else if (halfX == 1 && halfY == 1) {
      frame::Step([&] { LumConvolUniform3x3(source, destination); });
    } else if (!separate) {
      frame::Fail(Z_ERROR_NEED_SEPARATE_DESTINATION);
    } else {
      RunBox<T>(source, destination, halfX, halfY, ZGetMMX() != 0);
    }
  }
  frame::Leave(trace);
}

// ----- the Gaussian of any size -----

template <class P>
void Gaussian(ZROI<P>* source, ZROI<P>* destination, unsigned halfX, unsigned halfY, const char* trace) {
  if (frame::Enter() && frame::NotVoid(source)) {
    if (halfY == 0xFFFFFFFFu) halfY = halfX;
    const bool inPlace = destination == nullptr || destination == source;
    ZROI<P>* target = inPlace ? source : destination;
    if (inPlace || (frame::NotVoid(destination) && frame::SameSize(destination, source))) {
      if (halfX > static_cast<unsigned>(source->GetWidth() - 1)) {
        frame::Fail(Z_ERROR_ARGUMENT_3);
      } else if (halfY > static_cast<unsigned>(source->GetHeight() - 1)) {
        frame::Fail(Z_ERROR_ARGUMENT_4);
      } else {
        const unsigned both = halfX < halfY ? halfX : halfY;
        ZROI<P>* from = source;
        // Each pass reads `from` and writes `target`; after the first, `from` is the target.
        const auto pass = [&](auto&& filter) {
          const bool ok = frame::Step([&] { filter(from, target == from ? nullptr : target); });
          from = target;
          return ok;
        };
        bool ok = true;
        for (unsigned i = 0; ok && i < both; ++i)
          ok = pass([](ZROI<P>* s, ZROI<P>* d) { LumConvolGaussian3x3(s, d); });
        for (unsigned i = both; ok && i < halfX; ++i)
          ok = pass([](ZROI<P>* s, ZROI<P>* d) { LumConvolGaussianX(s, d); });
        for (unsigned i = both; ok && i < halfY; ++i) ok = pass([](ZROI<P>* s, ZROI<P>* d) { GaussianY(s, d); });
      }
    }
  }
  frame::Leave(trace);
}

// ----- ZC24 -----

// Plane by plane. `twoPlanes`: the gray operator runs from one temporary plane into a second
// (Roberts, the box); otherwise in place on the one plane.
template <class Op>
void ByPlanes(ZROI<ZC24>* source, ZROI<ZC24>* destination, bool twoPlanes, Op&& gray, const char* trace) {
  if (frame::Enter() && frame::NotVoid(source)) {
    ZROI<ZC24>* output = destination == nullptr || destination == source ? source : destination;
    if (output == source || (frame::NotVoid(destination) && frame::SameSize(destination, source))) {
      ZOk();
      const int w = source->GetWidth(), h = source->GetHeight();
      ZImage<ZBW8> plane(w, h), second;
      if (twoPlanes && frame::Ok()) second.SetSize(w, h);
      if (!frame::Ok() || plane.GetImagePtr(0, 0) == nullptr || (twoPlanes && second.GetImagePtr(0, 0) == nullptr)) {
        frame::Fail(Z_ERROR_NO_MEMORY);
      } else {
        ZImage<ZBW8>* result = twoPlanes ? &second : &plane;
        for (unsigned k = 0; k < 3; ++k) {
          if (!frame::Step([&] { HueGetComponent(source, &plane, k); })) break;
          if (!frame::Step([&] { gray(&plane, twoPlanes ? &second : nullptr); })) break;
          if (!frame::Step([&] { HueSetComponent(result, output, k); })) break;
        }
      }
    }
  }
  frame::Leave(trace);
}

}  // namespace
}  // namespace kelmira::predefined

using namespace kelmira::predefined;  // NOLINT: the file's own internals
using kelmira::Word;

void LumConvolUniform5x5(ZROI<ZBW8>* src, ZROI<ZBW8>* dst) { Large<5, true>(src, dst, "ConvolUniform5x5"); }
void LumConvolGaussian5x5(ZROI<ZBW8>* src, ZROI<ZBW8>* dst) { Large<5, false>(src, dst, "ConvolGaussian5x5"); }
void LumConvolUniform7x7(ZROI<ZBW8>* src, ZROI<ZBW8>* dst) { Large<7, true>(src, dst, "LumConvolUniform7x7"); }
void LumConvolGaussian7x7(ZROI<ZBW8>* src, ZROI<ZBW8>* dst) { Large<7, false>(src, dst, "LumConvolGaussian7x7"); }

void LumConvolRoberts(ZROI<ZBW8>* src, ZROI<ZBW8>* dst) { Roberts<ZBW8, uint8_t>(src, dst, "LumConvolRoberts"); }
void LumConvolRoberts(ZROI<ZBW16>* src, ZROI<ZBW16>* dst) { Roberts<ZBW16, Word>(src, dst, "LumConvolRoberts (BW16)"); }
void LumConvolRoberts(ZROI<ZC24>* src, ZROI<ZC24>* dst) {
  ByPlanes(src, dst, true, [](ZROI<ZBW8>* in, ZROI<ZBW8>* out) { LumConvolRoberts(in, out); }, "LumConvolRoberts ( C24)");
}

void LumConvolUniform(ZROI<ZBW8>* src, ZROI<ZBW8>* dst, unsigned int halfX, unsigned int halfY) {
  Uniform<ZBW8, uint8_t>(src, dst, halfX, halfY, "LumConvolUniform");
}
void LumConvolUniform(ZROI<ZBW16>* src, ZROI<ZBW16>* dst, unsigned int halfX, unsigned int halfY) {
  Uniform<ZBW16, Word>(src, dst, halfX, halfY, "LumConvolUniform (BW16)");
}
void LumConvolUniform(ZROI<ZC24>* src, ZROI<ZC24>* dst, unsigned int halfX, unsigned int halfY) {
  ByPlanes(src, dst, true, [&](ZROI<ZBW8>* in, ZROI<ZBW8>* out) { LumConvolUniform(in, out, halfX, halfY); },
           "LumConvolUniform ( C24)");
}

void LumConvolGaussian(ZROI<ZBW8>* src, ZROI<ZBW8>* dst, unsigned int halfX, unsigned int halfY) {
  Gaussian<ZBW8>(src, dst, halfX, halfY, "LumConvolGaussian");
}
void LumConvolGaussian(ZROI<ZBW16>* src, ZROI<ZBW16>* dst, unsigned int halfX, unsigned int halfY) {
  Gaussian<ZBW16>(src, dst, halfX, halfY, "LumConvolGaussian (BW16)");
}
void LumConvolGaussian(ZROI<ZC24>* src, ZROI<ZC24>* dst, unsigned int halfX, unsigned int halfY) {
  ByPlanes(src, dst, false, [&](ZROI<ZBW8>* plane, ZROI<ZBW8>*) { LumConvolGaussian(plane, nullptr, halfX, halfY); },
           "LumConvolGaussian ( C24)");
}
