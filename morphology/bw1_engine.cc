// The passes of the packed one-bit morphology over whole rows, the chains of passes that make the
// box and disk windows, and the median.
//
// Edges. Erosion reads a set bit on the left of a row and 0xFF on its right, and the spare bits of
// the last byte as set; dilation reads 0 there and the spare bits as clear: the outside of the
// view takes no part. The rows above the first and below the last are those rows themselves. The
// median has edge rules of its own (see MedianByte). The spare bits of a destination's last byte
// are never written.
//
// In place, two line buffers keep the unchanged previous row and the unchanged current row, so
// that every row reads the source as it was.
#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

#include "foundation/frame.h"
#include "foundation/rows.h"
#include "morphology/bw1_engine.h"

namespace kelmira::bw1m {
namespace {

struct RowSet {
  const uint8_t* a;  // above
  const uint8_t* c;  // current
  const uint8_t* b;  // below
  int n;             // bytes in the row
  uint8_t last;      // valid bits of the last byte
};

template <bool kMax>
uint8_t Join(uint8_t x, uint8_t y) {
  return kMax ? (x | y) : (x & y);
}

// Byte i (-1 to n) of a row of erosion/dilation input, with the neutral edges: outside the row a
// byte whose bits are all neutral, and the spare bits of the last byte neutral.
template <bool kMax>
uint8_t Neutral(const RowSet& r, uint8_t v, int i) {
  if (i == r.n - 1) return kMax ? static_cast<uint8_t>(v & r.last) : static_cast<uint8_t>(v | ~r.last);
  return v;
}
template <bool kMax, class Value>
uint8_t ReadNeutral(const RowSet& r, int i, Value&& value) {
  if (i < 0 || i >= r.n) return kMax ? 0x00 : 0xFF;  // the left byte's bit 0 set for erosion, 0xFF on the right
  return Neutral<kMax>(r, value(i), i);
}

// The window of 3 along the row on the bytes that value(i) gives, at byte i.
template <bool kMax, class Value>
uint8_t Horizontal(const RowSet& r, int i, Value&& value) {
  auto read = [&](int k) { return ReadNeutral<kMax>(r, k, value); };
  const uint8_t p = read(i - 1), c = read(i), n = read(i + 1);
  return Join<kMax>(c, Join<kMax>(Left(p, c), Right(c, n)));
}

template <Pass kPass, bool kMax>
uint8_t PassByte(const RowSet& r, int i) {
  auto current = [&](int k) { return r.c[k]; };
  auto column = [&](int k) { return Join<kMax>(Join<kMax>(r.a[k], r.c[k]), r.b[k]); };
  switch (kPass) {
    case kX: return Horizontal<kMax>(r, i, current);
    case kY: return column(i);
    case kSquare: return Horizontal<kMax>(r, i, column);
    default: return Join<kMax>(Horizontal<kMax>(r, i, current), Join<kMax>(r.a[i], r.b[i]));  // cross
  }
}

// The median at byte i: the majority of three images made from the three rows.
//   all = above & c & below, any = above | c | below, most = their majority, byte by byte;
//   first image: OR of `all` over three columns; second: AND of `any`; third: majority of `most`.
// Their edges, kept as they are: on the left the first two images read the row's own first byte
// (pixel 7 stands in for the left neighbour of pixel 0), the third reads pixel 0 of the current
// source row. On the right the first reads 0 and its spare bits as clear, the second 0xFF and its
// spare bits as set, the third repeats the last valid bit of `most` over the spare bits and the
// byte after. A row of one byte reads its spare bits by these rules in the left byte as well.
uint8_t MedianByte(const RowSet& r, int i) {
  const int n = r.n;
  const uint8_t last = r.last;
  const int lastBit = __builtin_ctz(last);  // position of the last valid pixel
  auto all = [&](int k) {
    const int j = k < 0 ? 0 : k;
    const uint8_t v = r.a[j] & r.c[j] & r.b[j];
    return j == n - 1 ? static_cast<uint8_t>(v & last) : v;
  };
  auto any = [&](int k) {
    const int j = k < 0 ? 0 : k;
    const uint8_t v = r.a[j] | r.c[j] | r.b[j];
    return j == n - 1 ? static_cast<uint8_t>(v | ~last) : v;
  };
  auto most = [&](int k) -> uint8_t {
    if (k < 0) return r.c[0] >> 7;
    const int j = k < n ? k : n - 1;
    const uint8_t v = Majority(r.a[j], r.c[j], r.b[j]);
    if (j < n - 1) return v;
    const bool on = (v >> lastBit) & 1;
    if (k >= n) return on ? 0xFF : 0x00;
    return on ? static_cast<uint8_t>(v | ~last) : static_cast<uint8_t>(v & last);
  };
  const uint8_t a0 = all(i), o0 = any(i), m0 = most(i);
  const uint8_t orOfAll = a0 | Left(all(i - 1), a0) | Right(a0, i + 1 < n ? all(i + 1) : 0x00);
  const uint8_t andOfAny = o0 & Left(any(i - 1), o0) & Right(o0, i + 1 < n ? any(i + 1) : 0xFF);
  const uint8_t majOfMost = Majority(m0, Left(most(i - 1), m0), Right(m0, most(i + 1)));
  return Majority(orOfAll, andOfAny, majOfMost);
}

template <Pass kPass, bool kMax>
void ScalarBytes(const RowSet& r, uint8_t* d, int from, int to) {
  for (int i = from; i < to; ++i) {
    const uint8_t v = kPass == kMedian ? MedianByte(r, i) : PassByte<kPass, kMax>(r, i);
    d[i] = i == r.n - 1 ? static_cast<uint8_t>((d[i] & ~r.last) | (v & r.last)) : v;
  }
}

template <bool kMax>
void ScalarRange(Pass pass, const RowSet& r, uint8_t* d, int from, int to) {
  switch (pass) {
    case kX: return ScalarBytes<kX, kMax>(r, d, from, to);
    case kY: return ScalarBytes<kY, kMax>(r, d, from, to);
    case kSquare: return ScalarBytes<kSquare, kMax>(r, d, from, to);
    case kCross: return ScalarBytes<kCross, kMax>(r, d, from, to);
    case kMedian: return ScalarBytes<kMedian, kMax>(r, d, from, to);
  }
}

// One row. With the wide path on, every byte between the first and the last goes to the wide
// kernel, in steps of 8 or more bytes at any address (a row of fewer than 8 such bytes stays
// scalar); the two edge bytes follow in 64-bit words, or in scalar code for the median. The bits
// are those of the scalar bytes.
void RowOf(Pass pass, bool max, const RowSet& r, uint8_t* d, bool wide) {
  auto scalar = [&](int from, int to) {
    if (from < to) max ? ScalarRange<true>(pass, r, d, from, to) : ScalarRange<false>(pass, r, d, from, to);
  };
  if (!wide || r.n < 10) return scalar(0, r.n);
  WideRow(pass, max, r.a, r.c, r.b, d, 1, static_cast<size_t>(r.n - 2));
  if (pass == kMedian) {
    scalar(0, 1);
    scalar(r.n - 1, r.n);
  } else {
    WideEdges(pass, max, r.a, r.c, r.b, d, static_cast<size_t>(r.n), r.last);
  }
}

// The two line buffers of a chain of passes, allocated once.
class LineBuffers {
 public:
  explicit LineBuffers(int bytes) : m_store(new (std::nothrow) uint8_t[2 * static_cast<size_t>(bytes) + 2]) {
    if (!m_store) frame::Throw(Z_ERROR_NO_MEMORY);
    m_previous = m_store.get();
    m_current = m_store.get() + bytes + 1;
  }
  uint8_t* previous() const { return m_previous; }
  uint8_t* current() const { return m_current; }
  void Swap() { std::swap(m_previous, m_current); }

 private:
  std::unique_ptr<uint8_t[]> m_store;
  uint8_t* m_previous;
  uint8_t* m_current;
};

// One pass over the whole view. ZGetMMX chooses the wide or the scalar bytes at its start.
void RunPass(Pass pass, bool max, const ZROI<ZBW1>* source, ZROI<ZBW1>* destination, LineBuffers& lines) {
  const int width = destination->GetWidth(), height = destination->GetHeight();
  if (width <= 0 || height <= 0) return;
  const bool wide = ZGetMMX() != 0;
  const int n = (width + 7) / 8;
  const uint8_t last = LastMask(width);
  const rows::Rows<const uint8_t> rs(source);
  const rows::Rows<uint8_t> rd(destination);
  const bool inPlace = rs.Bytes(0) == rd.Bytes(0);
  if (wide && !inPlace && n >= 10 && pass != kMedian)
    return WideImage(pass, max, rs.Bytes(0), rs.Bytes(1) - rs.Bytes(0), rd.Bytes(0), rd.Bytes(1) - rd.Bytes(0),
                     static_cast<size_t>(n), height, last);
  for (int y = 0; y < height; ++y) {
    const uint8_t* row = rs[y];
    const uint8_t* c = row;
    if (inPlace) {
      std::memcpy(lines.current(), row, static_cast<size_t>(n));
      c = lines.current();
    }
    const uint8_t* a = y == 0 ? c : inPlace ? lines.previous() : rs[y - 1];
    const uint8_t* b = y + 1 < height ? rs[y + 1] : c;
    RowOf(pass, max, RowSet{a, c, b, n, last}, rd[y], wide);
    if (inPlace) lines.Swap();
  }
}

// A chain: the first pass from source to destination, the others in place on the destination.
class Chain {
 public:
  Chain(const ZROI<ZBW1>* source, ZROI<ZBW1>* destination, bool max)
      : m_from(source), m_to(destination), m_max(max), m_lines((destination->GetWidth() + 7) / 8) {}
  void Run(Pass pass, uint32_t times) {
    for (uint32_t k = 0; k < times; ++k) {
      RunPass(pass, m_max, m_from, m_to, m_lines);
      m_from = m_to;
    }
  }

 private:
  const ZROI<ZBW1>* m_from;
  ZROI<ZBW1>* m_to;
  bool m_max;
  LineBuffers m_lines;
};

// The wide box of more than one pass. An erosion by a box clipped to the view is the erosion by
// its column clipped to the view, then by its row clipped to the view, and a row window of radius
// a + b is one of radius a after one of radius b; so the chain of square and 1-D passes gives the
// same pixels as: each output row the AND of the source rows within hh (any number at once), then
// windows of up to 7 pixels along the row in a padded buffer whose outside is neutral. Work in
// place reads from a copy of the source.
void SeparableBox(const ZROI<ZBW1>* source, ZROI<ZBW1>* destination, uint32_t hw, uint32_t hh, bool max) {
  const int width = destination->GetWidth(), height = destination->GetHeight();
  const int n = (width + 7) / 8;
  const uint8_t last = LastMask(width), outside = max ? 0x00 : 0xFF;
  const rows::Rows<uint8_t> rd(destination);
  ZImage<ZBW1> copy;
  if (rows::Rows<const uint8_t>(source).Bytes(0) == rd.Bytes(0)) {
    ZOk();
    copy.SetSize(width, height);
    if (!frame::Ok() || copy.GetImagePtr(0, 0) == nullptr) frame::Throw(Z_ERROR_NO_MEMORY);
    const rows::Rows<uint8_t> rc(&copy);
    for (int y = 0; y < height; ++y) std::memcpy(rc[y], rd[y], static_cast<size_t>(n));
    source = &copy;
  }
  const rows::Rows<const uint8_t> rs(source);
  constexpr int kPad = 8, kSlack = 80;
  const size_t span = kPad + static_cast<size_t>(n) + kSlack;
  std::unique_ptr<uint8_t[]> store(new (std::nothrow) uint8_t[2 * span]);
  std::unique_ptr<const uint8_t*[]> column(new (std::nothrow) const uint8_t*[2 * static_cast<size_t>(hh) + 1]);
  if (!store || !column) frame::Throw(Z_ERROR_NO_MEMORY);
  std::memset(store.get(), outside, 2 * span);
  uint8_t* cur = store.get() + kPad;
  uint8_t* next = store.get() + span + kPad;
  // The spare bits of the last byte and the bytes after the row read as neutral.
  auto neutralise = [&](uint8_t* row) {
    row[n - 1] = max ? static_cast<uint8_t>(row[n - 1] & last) : static_cast<uint8_t>(row[n - 1] | ~last);
    std::memset(row + n, outside, kSlack);
  };
  for (int y = 0; y < height; ++y) {
    const int top = y > static_cast<int>(hh) ? y - static_cast<int>(hh) : 0;
    const int bottom = static_cast<int>(std::min<int64_t>(height - 1, int64_t{y} + hh));
    for (int k = top; k <= bottom; ++k) column[k - top] = rs[k];
    if (bottom > top)
      WideJoinRows(column.get(), bottom - top + 1, cur, static_cast<size_t>(n), max);
    else
      std::memcpy(cur, rs[y], static_cast<size_t>(n));
    neutralise(cur);
    for (uint32_t left = hw; left > 0;) {
      const int radius = static_cast<int>(std::min<uint32_t>(left, 7));
      WideAlongRow(cur, next, static_cast<size_t>(n), radius, max);
      std::swap(cur, next);
      neutralise(cur);
      left -= static_cast<uint32_t>(radius);
    }
    uint8_t* out = rd[y];
    std::memcpy(out, cur, static_cast<size_t>(n - 1));
    out[n - 1] = static_cast<uint8_t>((out[n - 1] & ~last) | (cur[n - 1] & last));
  }
}

}  // namespace

// A window that reaches across the whole view in one direction gives the same pixels as any wider
// one (the outside is neutral), so the half sizes are cut to the view's size: a half size of
// 0xFFFFFFFF then costs as many passes as the view is wide or high, not four billion.
void Box(const ZROI<ZBW1>* source, ZROI<ZBW1>* destination, uint32_t hw, uint32_t hh, bool max) {
  hw = std::min<uint32_t>(hw, static_cast<uint32_t>(destination->GetWidth()));
  hh = std::min<uint32_t>(hh, static_cast<uint32_t>(destination->GetHeight()));
  if (hw == 0 && hh == 0) return;
  if (ZGetMMX() != 0 && std::max(hw, hh) > 1) return SeparableBox(source, destination, hw, hh, max);
  Chain chain(source, destination, max);
  const uint32_t squares = std::min(hw, hh);
  chain.Run(kSquare, squares);
  chain.Run(kX, hw - squares);
  chain.Run(kY, hh - squares);
}

// After as many square passes as the view's larger side the view is uniform, and further passes
// change nothing: the counts are cut there.
void Disk(const ZROI<ZBW1>* source, ZROI<ZBW1>* destination, uint32_t radius, bool max) {
  const uint32_t side = static_cast<uint32_t>(std::max(destination->GetWidth(), destination->GetHeight()));
  const uint32_t squares = std::min(radius / 2, side);
  const uint32_t crosses = std::min(radius / 2 + (radius & 1), side);
  if (squares == 0 && crosses == 0) return;
  Chain chain(source, destination, max);
  chain.Run(kSquare, squares);
  chain.Run(kCross, crosses);
}

void Median(const ZROI<ZBW1>* source, ZROI<ZBW1>* destination) {
  Chain chain(source, destination, false);
  chain.Run(kMedian, 1);
}

}  // namespace kelmira::bw1m
