// Pixel engine of the gray morphology.
//
// The operators are described as chains of 3-wide passes whose cost grows with the window. Each
// pass clips its window to the ROI, so a chain yields exactly the minimum over the composite
// window clipped to the ROI; any method that computes that minimum gives the same pixels (the
// tests hold the engine to a brute-force window minimum). This engine's cost per pixel does not
// grow with the box height and barely with its width:
//  - vertically, the van Herk / Gil-Werman running minimum: the rows, padded with h neutral rows
//    at each end, are cut in blocks of k = 2h + 1; the window of an output row spans the suffix of
//    one block and the prefix of the next, so out = min(suffix, prefix): one fused walk and one
//    suffix walk per row whatever h is. Heights up to 7 rows read their rows directly instead;
//  - horizontally, on a row padded with w neutral pixels at each end, minima over windows of
//    L pixels grow eightfold per walk (up to eight windows of L cover the next length), so a
//    window of up to 8 pixels takes one walk and one of up to 64 pixels two.
// Every step is an element-wise minimum of whole rows, which is what the wide kernel does; wide
// and scalar agree bit for bit, and BW16 uses the same wide kernel since its pixels are the same.
// The 3x3 in place walks the image once with three saved rows; the disk is the square of half
// size radius / 2 followed by (radius + 1) / 2 cross passes.
#include "morphology/gray_engine.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "foundation/rows.h"
#include "morphology/gray_wide.h"

namespace kelmira::morpho {
namespace {

template <class T>
constexpr T Neutral(bool max) {
  return max ? T(0) : static_cast<T>(~T(0));
}

// The scalar twin of WideReduce, and its reference.
template <class T>
void ScalarReduce(const T* const* rows, int count, T* out, int n, bool max) {
  for (int x = 0; x < n; ++x) {
    T v = rows[0][x];
    for (int i = 1; i < count; ++i) v = max ? std::max(v, rows[i][x]) : std::min(v, rows[i][x]);
    out[x] = v;
  }
}

template <class T>
struct Reduce {
  bool max;
  bool wide;
  void operator()(const T* const* rows, int count, T* out, int n) const {
    if (wide)
      WideReduce(rows, count, out, n, max);
    else
      ScalarReduce(rows, count, out, n, max);
  }
  // The three row operations of one step of the running window, in one walk.
  void RunningStep(T* slot, T* prefix, const T* raw, T* out, int n, bool first) const {
    if (wide) return WideRunningStep(slot, prefix, raw, out, n, max, first);
    for (int x = 0; x < n; ++x) {
      const T s = slot[x], r = raw[x], p = prefix[x];
      out[x] = first ? s : max ? std::max(s, p) : std::min(s, p);
      prefix[x] = first ? r : max ? std::max(p, r) : std::min(p, r);
      slot[x] = r;
    }
  }
  void operator()(std::initializer_list<const T*> rows, T* out, int n) const {
    (*this)(rows.begin(), static_cast<int>(rows.size()), out, n);
  }
};

// A work buffer from malloc: a failed allocation is a null pointer, never an exception.
template <class T>
class Buffer {
 public:
  explicit Buffer(size_t count) : m_p(count ? static_cast<T*>(std::malloc(count * sizeof(T))) : nullptr) {}
  ~Buffer() { std::free(m_p); }
  Buffer(const Buffer&) = delete;
  Buffer& operator=(const Buffer&) = delete;
  operator T*() const { return m_p; }  // NOLINT: used as a plain pointer

 private:
  T* m_p;
};

template <class T>
void CopyRow(const T* from, T* to, int n) {
  if (from != to) std::memcpy(to, from, static_cast<size_t>(n) * sizeof(T));
}

// One cross (or 3x3, with `square`) pass, the rows beyond the ROI's edges being its edge rows.
// The three source rows around the current one are kept in a ring of padded copies, so the pass
// may run in place.
template <class T>
void ThreePass(const ZGenericROI* source, ZGenericROI* destination, T* ring, bool square, const Reduce<T>& op) {
  const int W = source->GetWidth(), H = source->GetHeight();
  const rows::Rows<const T> in(source);
  const rows::Rows<T> out(destination);
  T* b[3] = {ring, ring + (W + 2), ring + 2 * (W + 2)};
  T* v = ring + 3 * (W + 2);  // the vertical minimum of the square pass, padded
  auto load = [&](int s) {
    T* d = b[s % 3];
    CopyRow(in[s], d + 1, W);
    d[0] = d[1];
    d[W + 1] = d[W];
  };
  load(0);
  for (int y = 0; y < H; ++y) {
    if (y + 1 < H) load(y + 1);
    const T* up = b[std::max(y - 1, 0) % 3];
    const T* cur = b[y % 3];
    const T* down = b[std::min(y + 1, H - 1) % 3];
    if (square) {
      op({up, cur, down}, v, W + 2);
      op({v, v + 1, v + 2}, out[y], W);
    } else {
      op({up + 1, down + 1, cur, cur + 1, cur + 2}, out[y], W);
    }
  }
}

}  // namespace

template <class T>
void CopyRows(const ZGenericROI* source, ZGenericROI* destination) {
  if (source == destination) return;
  const rows::Rows<const T> in(source);
  const rows::Rows<T> out(destination);
  for (int y = 0; y < source->GetHeight(); ++y) CopyRow(in[y], out[y], source->GetWidth());
}

template <class T>
bool Box(const ZGenericROI* source, ZGenericROI* destination, uint32_t hw, uint32_t hh, bool max, bool wide) {
  const int W = source->GetWidth(), H = source->GetHeight();
  if (W == 0 || H == 0) return true;  // a view without pixels: no row to work on, no clip to take
  // A window reaching past the whole ROI is clipped to it: beyond W - 1 nothing more is covered.
  const int w = static_cast<int>(std::min<uint32_t>(hw, static_cast<uint32_t>(W - 1)));
  const int h = static_cast<int>(std::min<uint32_t>(hh, static_cast<uint32_t>(H - 1)));
  if (w == 0 && h == 0) {
    CopyRows<T>(source, destination);
    return true;
  }
  const Reduce<T> op{max, wide};
  const rows::Rows<const T> in(source);
  const rows::Rows<T> out(destination);
  if (w == 1 && h == 1 && source == destination) {  // in place, the 3x3 keeps three rows only
    Buffer<T> ring(4 * static_cast<size_t>(W + 2));
    if (ring == nullptr) return false;
    ThreePass<T>(source, destination, ring, true, op);
    return true;
  }
  const T neutral = Neutral<T>(max);
  const int len = W + 2 * w, K = 2 * w + 1;
  Buffer<T> line(static_cast<size_t>(len));
  if (line == nullptr) return false;
  T* const middle = line + w;
  // Minima of windows of L pixels grow to 8L (at most K) in each pass, up to eight windows of the
  // last length covering the next one: 2 passes for K = 15 to 63, 1 up to 8.
  auto horizontal = [&](T* to) {  // `middle` holds the row
    std::fill(static_cast<T*>(line), middle, neutral);
    std::fill(middle + W, line + len, neutral);
    for (int L = 1; L < K;) {
      const int next = std::min(8 * L, K), m = (next + L - 1) / L;
      const T* windows[8];
      for (int i = 0; i < m - 1; ++i) windows[i] = line + i * L;
      windows[m - 1] = line + (next - L);
      if (next == K)
        op(windows, m, to, W);
      else
        op(windows, m, line, len - next + 1);
      L = next;
    }
  };
  auto finish = [&](int y) {
    if (w > 0) horizontal(out[y]);
  };
  const int k = 2 * h + 1;
  if (source != destination && k > 1 && k <= 8) {
    // Small heights read their rows straight from the source, eight at a time.
    for (int y = 0; y < H; ++y) {
      const int first = std::max(y - h, 0), last = std::min(y + h, H - 1);
      T* const to = w > 0 ? middle : out[y];
      const T* rowsIn[8];
      int count = 0, s = first;
      for (; s <= last && count < 8; ++s) rowsIn[count++] = in[s];
      op(rowsIn, count, to, W);
      while (s <= last) {
        count = 0;
        rowsIn[count++] = to;
        for (; s <= last && count < 8; ++s) rowsIn[count++] = in[s];
        op(rowsIn, count, to, W);
      }
      finish(y);
    }
    return true;
  }
  if (h == 0) {
    for (int y = 0; y < H; ++y) {
      CopyRow(in[y], middle, W);
      horizontal(out[y]);
    }
    return true;
  }

  Buffer<T> work((static_cast<size_t>(k) + 2) * W);
  if (work == nullptr) return false;
  auto suffix = [&](int i) { return work + static_cast<size_t>(i) * W; };
  T* const prefix = work + static_cast<size_t>(k) * W;
  T* const blank = prefix + W;
  std::fill(blank, blank + W, neutral);
  // Row t of the padded column: h neutral rows, the ROI, then neutral rows for ever.
  auto padded = [&](int t) -> const T* { return t >= h && t < h + H ? in[t - h] : blank; };
  auto suffixes = [&] {
    for (int i = k - 2; i >= 0; --i) op({suffix(i), suffix(i + 1)}, suffix(i), W);
  };
  for (int i = 0; i < k; ++i) CopyRow(padded(i), suffix(i), W);
  suffixes();
  // Output row y = jk + i is written before padded row (j + 1)k + i, that is source row y + h + 1,
  // is read, and the raw rows of the next block go into the slots the outputs have just freed:
  // so the walk is safe in place and needs one block of rows.
  for (int j = 0;; ++j) {
    for (int i = 0; i < k; ++i) {
      const int y = j * k + i;
      if (y >= H) return true;
      T* const to = w > 0 ? middle : out[y];
      const T* raw = padded((j + 1) * k + i);
      op.RunningStep(suffix(i), prefix, raw, to, W, i == 0);
      finish(y);
    }
    suffixes();
  }
}

template <class T>
bool Disk(const ZGenericROI* source, ZGenericROI* destination, uint32_t radius, bool max, bool wide) {
  const uint32_t a = radius / 2, b = radius / 2 + (radius & 1u);
  if (source->GetWidth() == 0 || source->GetHeight() == 0) return true;  // no pixels, nothing to reach
  const ZGenericROI* from = source;
  if (a > 0) {
    if (!Box<T>(source, destination, a, a, max, wide)) return false;
    from = destination;
  } else if (b == 0) {
    CopyRows<T>(source, destination);
    return true;
  }
  // Beyond W + H - 2 cross passes nothing more of the ROI is reached.
  const uint32_t reach = static_cast<uint32_t>(source->GetWidth() + source->GetHeight() - 2);
  const uint32_t passes = std::min(b, std::max(reach, 1u));
  Buffer<T> ring(4 * static_cast<size_t>(source->GetWidth() + 2));
  if (ring == nullptr) return false;
  const Reduce<T> op{max, wide};
  for (uint32_t i = 0; i < passes; ++i) {
    ThreePass<T>(from, destination, ring, false, op);
    from = destination;
  }
  return true;
}

void BorderStep(const ZGenericROI* source, ZGenericROI* destination, int border, bool max) {
  const int W = source->GetWidth(), H = source->GetHeight();
  const rows::Rows<const uint8_t> in(source);
  const rows::Rows<uint8_t> out(destination);
  auto pick = [max](int a, int b) { return max ? std::max(a, b) : std::min(a, b); };
  // Horizontal, source to destination: in(x - 1) is kept in a local, so it may run in place.
  for (int y = 0; y < H; ++y) {
    const uint8_t* s = in[y];
    uint8_t* d = out[y];
    int left = border;
    for (int x = 0; x < W; ++x) {
      const int c = s[x];
      const int right = x + 1 < W ? s[x + 1] : border;
      d[x] = static_cast<uint8_t>(pick(pick(left, c), right));
      left = c;
    }
  }
  // Vertical, in place: the unchanged row above is kept in a buffer. The row below the last one,
  // like the row above the first, is the border: a ROI of height 1 touches nothing outside.
  uint8_t* buffer = static_cast<uint8_t*>(std::calloc(2 * static_cast<size_t>(W), 1));
  if (buffer == nullptr) return;
  uint8_t* above = buffer;
  uint8_t* kept = buffer + W;
  for (int y = 0; y < H; ++y) {
    uint8_t* d = out[y];
    std::memcpy(kept, d, static_cast<size_t>(W));
    const uint8_t* below = y + 1 < H ? out[y + 1] : nullptr;
    for (int x = 0; x < W; ++x) {
      const int v = pick(y == 0 ? border : above[x], kept[x]);
      d[x] = static_cast<uint8_t>(pick(v, below != nullptr ? below[x] : border));
    }
    std::swap(above, kept);
  }
  std::free(buffer);
}

#define KELMIRA_MORPHO_INSTANTIATE(T)                                                                 \
  template bool Box<T>(const ZGenericROI*, ZGenericROI*, uint32_t, uint32_t, bool, bool);            \
  template bool Disk<T>(const ZGenericROI*, ZGenericROI*, uint32_t, bool, bool);                     \
  template void CopyRows<T>(const ZGenericROI*, ZGenericROI*);
KELMIRA_MORPHO_INSTANTIATE(uint8_t)
KELMIRA_MORPHO_INSTANTIATE(uint16_t)
#undef KELMIRA_MORPHO_INSTANTIATE

}  // namespace kelmira::morpho
