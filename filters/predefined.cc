// The 3x3 predefined filters: the frame of the two-argument forms on ZBW8, ZBW16 and ZC24, the
// scalar workers (source to destination with its interior and zero-outside frame passes, and the
// rolling replicate worker that also serves in place), and the wide dispatch for ZBW8.
#include <cstring>
#include <memory>
#include <new>
#include <utility>

#include "filters/predefined_internal.h"
#include "foundation/frame.h"
#include "foundation/rows.h"
#include "kelmira/filters.h"

namespace kelmira::predefined {
namespace {

// The words a form traces: its own (on every call), the C24 form's, and the in-place worker's
// on a failed line buffer (scalar, wide, ZBW16).
struct Words {
  const char* bw8;
  const char* bw16;
  const char* c24;
  const char* chr;
  const char* chrWide;
  const char* chr16;
};

#define KELMIRA_WORDS(Name)                                                                      \
  kelmira::predefined::Words {                                                                   \
    "Lum" #Name " (BW8)", "Lum" #Name " (BW16)", "Lum" #Name " ( C24)", "Chr" #Name, "ChrMMX" #Name, \
        "Chr" #Name " (BW16)"                                                                    \
  }

// ----- scalar rows -----

// One column of the window: the pixels of rows above, at and below.
struct Column {
  int32_t a, b, c;
};

template <class T>
inline Column Load(const T* a, const T* b, const T* c, int x) {
  return Column{a[x], b[x], c[x]};
}

template <Kind K, Post P>
inline int32_t Pixel(const Column& l, const Column& m, const Column& r, int32_t max) {
  return Finish<P>(Formula<K>(l.a, m.a, r.a, l.b, m.b, r.b, l.c, m.c, r.c), max);
}

// Replicate row, columns [x0, x1) of a row `width` wide: the column sums roll left to right and
// only the new column is read for each pixel, so `out` may be `b` itself (the column of x + 1 is
// read before x is written). With `save`, the source pixel of `b` at x is stored to save[x]
// after save[x] was read as `a` (the line buffer of the in-place worker may be `a`). `saturate`
// lets the Laplacian X and Y clip where the wide form would (x in [satFrom, satTo)).
template <Kind K, class T>
void RollRow(const T* a, const T* b, const T* c, T* out, T* save, int x0, int x1, int width, int satFrom = 0,
             int satTo = 0) {
  constexpr int32_t kMax = sizeof(T) == 1 ? 255 : 65535;
  if (x0 >= x1) return;
  Column left = Load(a, b, c, x0 > 0 ? x0 - 1 : 0), mid = Load(a, b, c, x0);
  for (int x = x0; x < x1; ++x) {
    const Column right = x + 1 < width ? Load(a, b, c, x + 1) : mid;
    int32_t v;
    if constexpr (PostOf(K) == Post::kAbsWrap)
      v = x >= satFrom && x < satTo ? Pixel<K, Post::kAbsClip>(left, mid, right, kMax) : Pixel<K, Post::kAbsWrap>(left, mid, right, kMax);
    else
      v = Pixel<K, PostOf(K)>(left, mid, right, kMax);
    if (save != nullptr) save[x] = static_cast<T>(mid.b);
    out[x] = static_cast<T>(v);
    left = mid;
    mid = right;
  }
}

// The zero-outside worker: the interior by the formula, then the frame with 0 for a missing
// neighbour, through abs and clip. Needs two rows and two columns.
template <Kind K, class T>
void ZeroOutsideWorker(const rows::Rows<T>& in, const rows::Rows<T>& out, int width, int height) {
  constexpr int32_t kMax = sizeof(T) == 1 ? 255 : 65535;
  for (int y = 1; y + 1 < height; ++y) {
    const T *a = in[y - 1], *b = in[y], *c = in[y + 1];
    T* o = out[y];
    for (int x = 1; x + 1 < width; ++x)
      o[x] = static_cast<T>(Pixel<K, PostOf(K)>(Load(a, b, c, x - 1), Load(a, b, c, x), Load(a, b, c, x + 1), kMax));
  }
  const auto at = [&](int x, int y) -> int32_t { return x < 0 || y < 0 || x >= width || y >= height ? 0 : int32_t(in[y][x]); };
  const auto frame = [&](int x, int y) {
    const Column l{at(x - 1, y - 1), at(x - 1, y), at(x - 1, y + 1)};
    const Column m{at(x, y - 1), at(x, y), at(x, y + 1)};
    const Column r{at(x + 1, y - 1), at(x + 1, y), at(x + 1, y + 1)};
    out[y][x] = static_cast<T>(Pixel<K, Post::kAbsClip>(l, m, r, kMax));
  };
  for (int x = 0; x < width; ++x) frame(x, 0);
  for (int y = 1; y + 1 < height; ++y) {
    frame(0, y);
    frame(width - 1, y);
  }
  for (int x = 0; x < width; ++x) frame(x, height - 1);
}

// ----- wide rows (ZBW8) -----

// Where the vector loop of a row runs: the head ends at the first pixel whose address (of the
// source's current row) has bit 2 clear; the loop runs only when the start rounded up past 7
// bytes lies below the end, both rounded down to a multiple of 4, and takes 4 pixels a step while
// they end at or before the end rounded down to 4. Only the Laplacian X and Y show it.
std::pair<int, int> VectorSpan(const uint8_t* row, int width) {
  const uintptr_t start = reinterpret_cast<uintptr_t>(row), end = start + static_cast<uintptr_t>(width);
  if (((start + 7) & ~uintptr_t{3}) >= (end & ~uintptr_t{3})) return {0, 0};
  int head = 0;
  while (head < width && ((start + head) & 4) != 0) ++head;
  int x = head;
  while (start + x + 4 <= (end & ~uintptr_t{3})) x += 4;
  return {head, x};
}

// One replicate row on the wide path: the interior by the wide kernel, the edge columns (and the
// Laplacians' scalar head and tail) by the rolling row. `b` is never the row being written.
void WideRow(Kind kind, void (*roll)(const uint8_t*, const uint8_t*, const uint8_t*, uint8_t*, uint8_t*, int, int,
                                     int, int, int),
             const uint8_t* a, const uint8_t* b, const uint8_t* c, uint8_t* out, int width, const uint8_t* sourceRow) {
  const bool columns = ReadsColumns(kind);
  const int lo = columns ? 1 : 0, hi = columns ? width - 1 : width;
  if (hi > lo) WideRow3x3(kind, a, b, c, out, lo, hi);
  if (kind == Kind::kLaplacianX || kind == Kind::kLaplacianY) {
    const auto [from, to] = VectorSpan(sourceRow, width);
    // The scalar head and tail, and the edge columns; each pixel saturates inside the span only.
    roll(a, b, c, out, nullptr, 0, from > lo ? from : lo, width, from, to);
    roll(a, b, c, out, nullptr, to < hi ? to : hi, width, width, from, to);
    return;
  }
  if (columns) {
    roll(a, b, c, out, nullptr, 0, 1, width, 0, 0);
    roll(a, b, c, out, nullptr, width - 1, width, width, 0, 0);
  }
}

// One ZBW16 replicate row of a WideWords kind on the wide path: the interior by the wide kernel,
// the edge columns by the rolling row. `b` is never the row being written.
template <Kind K>
void WideRowWords(const Word* a, const Word* b, const Word* c, Word* out, int width) {
  const auto bytes = [](const Word* p) { return reinterpret_cast<const uint8_t*>(p); };
  if (width > 2) WideRow3x3Words(K, bytes(a), bytes(b), bytes(c), reinterpret_cast<uint8_t*>(out), 1, width - 1);
  RollRow<K, Word>(a, b, c, out, nullptr, 0, 1, width);
  RollRow<K, Word>(a, b, c, out, nullptr, width - 1, width, width);
}

// ----- workers -----

template <Kind K, class T>
void RollRowOf(const T* a, const T* b, const T* c, T* out, T* save, int x0, int x1, int width, int satFrom, int satTo) {
  RollRow<K, T>(a, b, c, out, save, x0, x1, width, satFrom, satTo);
}

// Source to destination: the zero-outside kinds' scalar worker, else rows of the replicate rule.
template <Kind K, class T>
void SourceToDestination(ZGenericROI* source, ZGenericROI* destination, bool wide) {
  const int width = source->GetWidth(), height = source->GetHeight();
  const rows::Rows<T> in(source), out(destination);
  if constexpr (ZeroOutside(K)) {
    if (!wide) return ZeroOutsideWorker<K, T>(in, out, width, height);
  }
  for (int y = 0; y < height; ++y) {
    const T* b = in[y];
    const T* a = ReadsRows(K) && y > 0 ? in[y - 1] : b;
    const T* c = ReadsRows(K) && y + 1 < height ? in[y + 1] : b;
    if constexpr (sizeof(T) == 1) {
      if (wide) {
        WideRow(K, RollRowOf<K, T>, a, b, c, out[y], width, b);
        continue;
      }
    } else if constexpr (WideWords(K)) {
      if (wide) {
        WideRowWords<K>(a, b, c, out[y], width);
        continue;
      }
    }
    RollRow<K, T>(a, b, c, out[y], nullptr, 0, width, width);
  }
}

// Wide X kinds in place: no line buffer. Each piece of the row is copied to a local array with
// one pixel of margin on either side (the source pixel left of the piece, kept before the previous
// piece was written, or the replicated edge), and filtered from there.
void WideInPlaceX(Kind kind, const rows::Rows<uint8_t>& rows, int width, int height) {
  constexpr int kPiece = 2048;
  uint8_t local[kPiece + 2];
  for (int y = 0; y < height; ++y) {
    uint8_t* row = rows[y];
    const auto [from, to] = kind == Kind::kLaplacianX ? VectorSpan(row, width) : std::pair<int, int>{0, 0};
    uint8_t left = row[0];
    for (int p0 = 0; p0 < width; p0 += kPiece) {
      const int n = width - p0 < kPiece ? width - p0 : kPiece;
      local[0] = left;
      std::memcpy(local + 1, row + p0, static_cast<size_t>(n));
      local[n + 1] = p0 + n < width ? row[p0 + n] : row[width - 1];
      left = local[n];
      const uint8_t* l = local + 1;
      WideRow3x3(kind, l, l, l, row + p0, 0, n);
      if (kind == Kind::kLaplacianX)  // the scalar head and tail truncate
        for (int i = 0; i < n; ++i)
          if (p0 + i < from || p0 + i >= to)
            row[p0 + i] = static_cast<uint8_t>(Finish<Post::kAbsWrap>(l[i - 1] - 2 * l[i] + l[i + 1], 255));
    }
  }
}

// In place. X kinds roll through their own row. The others keep the source row above in a line
// buffer; on the wide path a second row of the buffer holds the current source row, which the
// wide kernel reads while the row is written.
template <Kind K, class T>
bool InPlace(ZGenericROI* view, bool wide, const Words& words) {
  const int width = view->GetWidth(), height = view->GetHeight();
  const rows::Rows<T> rows(view);
  if constexpr (!ReadsRows(K)) {
    if constexpr (sizeof(T) == 1) {
      if (wide) {
        WideInPlaceX(K, rows, width, height);
        return true;
      }
    }
    for (int y = 0; y < height; ++y) RollRow<K, T>(rows[y], rows[y], rows[y], rows[y], nullptr, 0, width, width);
    return true;
  } else {
    std::unique_ptr<T[]> buffer(new (std::nothrow) T[static_cast<size_t>(width) * (wide ? 2 : 1)]);
    if (!buffer) {
      frame::Fail(Z_ERROR_NO_MEMORY);
      ZTraceError(sizeof(T) == 2 ? words.chr16 : wide ? words.chrWide : words.chr);
      return false;
    }
    T* above = buffer.get();
    if constexpr (sizeof(T) == 1 || WideWords(K)) {
      if (wide) {
        const size_t bytes = sizeof(T) * static_cast<size_t>(width);
        T* current = above + width;
        std::memcpy(current, rows[0], bytes);
        for (int y = 0; y < height; ++y) {
          if (y > 0) {
            std::swap(above, current);
            std::memcpy(current, rows[y], bytes);
          }
          const T* c = y + 1 < height ? rows[y + 1] : current;
          if constexpr (sizeof(T) == 1)
            WideRow(K, RollRowOf<K, T>, y > 0 ? above : current, current, c, rows[y], width, rows[y]);
          else
            WideRowWords<K>(y > 0 ? above : current, current, c, rows[y], width);
        }
        return true;
      }
    }
    for (int y = 0; y < height; ++y) {
      T* b = rows[y];
      const T* c = y + 1 < height ? rows[y + 1] : b;
      RollRow<K, T>(y > 0 ? above : b, b, c, b, above, 0, width, width);
    }
    return true;
  }
}

// Views narrower or lower than the neighbourhood are refused (1403): the frame rules need two
// columns where the kind reads columns and two rows where it reads rows.
template <Kind K>
bool Fits(const ZGenericROI* view) {
  if ((ReadsColumns(K) && view->GetWidth() < 2) || (ReadsRows(K) && view->GetHeight() < 2))
    return frame::Fail(Z_ERROR_SIZE_MISMATCH);
  return true;
}

// The frame of a two-argument ZBW8 or ZBW16 form (wide on ZBW16 only for the WideWords kinds,
// whose wide rows give the scalar pixels). The words are traced on every call.
template <Kind K, class P, class T>
void Filter(ZROI<P>* source, ZROI<P>* destination, const Words& words) {
  constexpr bool bw8 = sizeof(T) == 1;
  if (frame::Enter() && frame::NotVoid(source)) {
    const bool wide = (bw8 || WideWords(K)) && ZGetMMX() != 0;
    if (destination == nullptr || destination == source) {
      if (Fits<K>(source)) InPlace<K, T>(source, wide, words);
    } else if (frame::NotVoid(destination) && frame::SameSize(destination, source) && Fits<K>(source)) {
      SourceToDestination<K, T>(source, destination, wide);
    }
  }
  ZTraceError(bw8 ? words.bw8 : words.bw16);
}

// ZC24: each component through the in-place ZBW8 form, on one temporary plane.
void ByPlanes(ZROI<ZC24>* source, ZROI<ZC24>* destination, void (*gray)(ZROI<ZBW8>*, ZROI<ZBW8>*), const char* trace) {
  if (frame::Enter() && frame::NotVoid(source)) {
    ZROI<ZC24>* output = destination == nullptr || destination == source ? source : destination;
    if (output == source || (frame::NotVoid(destination) && frame::SameSize(destination, source))) {
      ZOk();
      ZImage<ZBW8> plane(source->GetWidth(), source->GetHeight());
      if (!frame::Ok() || plane.GetImagePtr(0, 0) == nullptr) {
        frame::Fail(Z_ERROR_NO_MEMORY);
      } else {
        for (unsigned k = 0; k < 3; ++k) {
          if (!frame::Step([&] { HueGetComponent(source, &plane, k); })) break;
          if (!frame::Step([&] { gray(&plane, nullptr); })) break;
          if (!frame::Step([&] { HueSetComponent(&plane, output, k); })) break;
        }
      }
    }
  }
  frame::Leave(trace);
}

}  // namespace

// The Y passes of LumConvolUniform and LumConvolGaussian, with their own words.
void UniformY(ZROI<ZBW8>* source, ZROI<ZBW8>* destination) {
  static const Words w{"ConvolUniformY (BW8)", nullptr, nullptr, "ChrConvolUniformY", "ChrMMXConvolUniformY", nullptr};
  Filter<Kind::kUniformY, ZBW8, uint8_t>(source, destination, w);
}
void UniformY(ZROI<ZBW16>* source, ZROI<ZBW16>* destination) {
  static const Words w{nullptr, "ConvolUniformY (BW16)", nullptr, nullptr, nullptr, "ChrConvolUniformY (BW16)"};
  Filter<Kind::kUniformY, ZBW16, Word>(source, destination, w);
}
void GaussianY(ZROI<ZBW8>* source, ZROI<ZBW8>* destination) {
  static const Words w{"LumConvolGaussianY (BW8)", nullptr, nullptr, "ChrConvolGaussianY", "ChrMMXConvolGaussianY",
                       nullptr};
  Filter<Kind::kGaussianY, ZBW8, uint8_t>(source, destination, w);
}
void GaussianY(ZROI<ZBW16>* source, ZROI<ZBW16>* destination) {
  static const Words w{nullptr, "LumConvolGaussianY (BW16)", nullptr, nullptr, nullptr, "ChrConvolGaussianY (BW16)"};
  Filter<Kind::kGaussianY, ZBW16, Word>(source, destination, w);
}

}  // namespace kelmira::predefined

using kelmira::predefined::Kind;
using kelmira::Word;

// Each public form names its kind and its words.
#define KELMIRA_GRAY_FORMS(Name, K)                                                     \
  void Lum##Name(ZROI<ZBW8>* src, ZROI<ZBW8>* dst) {                                    \
    static const auto words = KELMIRA_WORDS(Name);                                      \
    kelmira::predefined::Filter<K, ZBW8, uint8_t>(src, dst, words);                     \
  }                                                                                     \
  void Lum##Name(ZROI<ZBW16>* src, ZROI<ZBW16>* dst) {                                  \
    static const auto words = KELMIRA_WORDS(Name);                                      \
    kelmira::predefined::Filter<K, ZBW16, Word>(src, dst, words);                       \
  }
#define KELMIRA_ALL_FORMS(Name, K)                                                                       \
  KELMIRA_GRAY_FORMS(Name, K)                                                                            \
  void Lum##Name(ZROI<ZC24>* src, ZROI<ZC24>* dst) {                                                     \
    kelmira::predefined::ByPlanes(src, dst, static_cast<void (*)(ZROI<ZBW8>*, ZROI<ZBW8>*)>(Lum##Name), \
                                  "Lum" #Name " ( C24)");                                                \
  }

KELMIRA_ALL_FORMS(ConvolLowpass1, Kind::kLowpass1)
KELMIRA_ALL_FORMS(ConvolLowpass2, Kind::kLowpass2)
KELMIRA_ALL_FORMS(ConvolLowpass3, Kind::kLowpass3)
KELMIRA_ALL_FORMS(ConvolHighpass1, Kind::kHighpass1)
KELMIRA_ALL_FORMS(ConvolHighpass2, Kind::kHighpass2)
KELMIRA_ALL_FORMS(ConvolSobel, Kind::kSobel)
KELMIRA_ALL_FORMS(ConvolSobelX, Kind::kSobelX)
KELMIRA_ALL_FORMS(ConvolSobelY, Kind::kSobelY)
KELMIRA_ALL_FORMS(ConvolPrewitt, Kind::kPrewitt)
KELMIRA_ALL_FORMS(ConvolPrewittX, Kind::kPrewittX)
KELMIRA_ALL_FORMS(ConvolPrewittY, Kind::kPrewittY)
KELMIRA_ALL_FORMS(ConvolGradient, Kind::kGradient)
KELMIRA_ALL_FORMS(ConvolGradientX, Kind::kGradientX)
KELMIRA_ALL_FORMS(ConvolGradientY, Kind::kGradientY)
KELMIRA_ALL_FORMS(ConvolLaplacian4, Kind::kLaplacian4)
KELMIRA_ALL_FORMS(ConvolLaplacian8, Kind::kLaplacian8)
KELMIRA_ALL_FORMS(ConvolLaplacianX, Kind::kLaplacianX)
KELMIRA_ALL_FORMS(ConvolLaplacianY, Kind::kLaplacianY)
KELMIRA_GRAY_FORMS(ConvolUniform3x3, Kind::kLowpass1)
KELMIRA_GRAY_FORMS(ConvolGaussian3x3, Kind::kLowpass3)
KELMIRA_GRAY_FORMS(ConvolUniformX, Kind::kUniformX)
KELMIRA_GRAY_FORMS(ConvolGaussianX, Kind::kGaussianX)
