// Shared helpers of the test suite: views at any byte offset inside guarded host memory, random
// content, the wide-path switch for a scope, byte comparison and the trace as strings.
#ifndef KELMIRA_TESTS_SUPPORT_H
#define KELMIRA_TESTS_SUPPORT_H

#include <gtest/gtest.h>
#include <kelmira/kelmira.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

namespace kt {

// Sets ZGetMMX for a scope and restores it after.
class WideSetting {
 public:
  explicit WideSetting(int on) : m_old(ZGetMMX()) { ZSetMMX(on); }
  ~WideSetting() { ZSetMMX(m_old); }

 private:
  int m_old;
};

// The thread's trace, innermost first.
std::vector<std::string> Trace();

// A deterministic generator; tests print the seed through SCOPED_TRACE when they use it.
std::mt19937& Rng();

// A view of `width` x `height` pixels whose first pixel sits `offset` bytes past a 64-byte
// boundary of host memory, with guard bytes before, between and after the rows. The guards hold
// a known pattern; GuardsIntact() tells whether anything outside the view was written.
template <class T>
class Framed {
 public:
  Framed(int width, int height, int offset = 0, int slack = 19)
      : m_rowBytes(RowBytes(width)), m_pitch(m_rowBytes + slack), m_offset(64 + offset) {
    m_store.resize(static_cast<size_t>(m_offset) + static_cast<size_t>(m_pitch) * (height + 1) + 64);
    uint8_t* base = AlignedBase();
    for (size_t i = 0; i < m_store.size(); ++i) m_store[i] = Guard(i);
    image.SetImagePtr(width, height, base + m_offset, m_pitch);
    (void)base;
  }
  Framed(const Framed&) = delete;
  Framed& operator=(const Framed&) = delete;

  ZImage<T> image;
  ZROI<T>* operator->() { return &image; }
  ZROI<T>* get() { return &image; }

  bool GuardsIntact() const {
    const uint8_t* base = const_cast<Framed*>(this)->AlignedBase();
    const size_t start = static_cast<size_t>(base - m_store.data()) + m_offset;
    for (size_t i = 0; i < m_store.size(); ++i) {
      if (i >= start) {
        const size_t rel = i - start, row = rel / m_pitch, col = rel % m_pitch;
        if (row < static_cast<size_t>(image.GetHeight()) && col < static_cast<size_t>(m_rowBytes)) continue;
      }
      if (m_store[i] != Guard(i)) return false;
    }
    return true;
  }

  void FillRandom(std::mt19937& rng) {
    for (int y = 0; y < image.GetHeight(); ++y) {
      uint8_t* row = static_cast<uint8_t*>(image.GetGenericImagePtr(0, y));
      for (int i = 0; i < m_rowBytes; ++i) row[i] = static_cast<uint8_t>(rng());
    }
  }
  void FillBytes(uint8_t v) {
    for (int y = 0; y < image.GetHeight(); ++y) std::memset(image.GetGenericImagePtr(0, y), v, m_rowBytes);
  }

 private:
  static int RowBytes(int width) { return std::is_same_v<T, ZBW1> ? (width + 7) / 8 : width * static_cast<int>(sizeof(T)); }
  static uint8_t Guard(size_t i) { return static_cast<uint8_t>(0xA5 ^ (i * 7)); }
  uint8_t* AlignedBase() {
    const uintptr_t p = reinterpret_cast<uintptr_t>(m_store.data());
    return m_store.data() + ((64 - (p & 63)) & 63);
  }

  int m_rowBytes, m_pitch, m_offset;
  std::vector<uint8_t> m_store;
};

// True when the two views hold the same bytes in their rows (whole bytes; for ZBW1 only views of
// the same bit offset compare meaningfully).
bool SameBytes(const ZGenericROI* a, const ZGenericROI* b);

// ----- the loops every family repeats -----

// Runs body(wide) with the scalar twins (ZSetMMX(0)) and then with the wide paths (ZSetMMX(1)).
template <class F>
void ForScalarAndWide(F&& body) {
  for (int wide : {0, 1}) {
    WideSetting setting(wide);
    SCOPED_TRACE(wide ? "wide paths" : "scalar twins");
    body(wide);
  }
}

// Runs body() with the wide paths on, once for every Highway target this processor has, so that
// a fault in one target's kernel cannot hide behind the best target.
void ForEveryTarget(const std::function<void()>& body);

// Runs body(width, offset) for every width and byte offset given.
template <class F>
void ForShapes(const std::vector<int>& widths, const std::vector<int>& offsets, F&& body) {
  for (int width : widths)
    for (int offset : offsets) {
      SCOPED_TRACE(::testing::Message() << "width " << width << " offset " << offset);
      body(width, offset);
    }
}
std::vector<int> Upto(int last, int first = 1);  // first..last

// ----- failures -----

// The error number and the trace (innermost first) that the last call left.
::testing::AssertionResult Failed(int error, const std::vector<std::string>& trace);

// The bytes of a view's rows, to tell later whether a failed call wrote anything.
std::vector<uint8_t> Bytes(const ZGenericROI* view);

// The frame of a source-to-destination operator: a null source, a void destination, a
// destination of another size and the licence gate each give their number and exactly `trace`,
// write nothing and keep the guards; a null destination fails too unless it means in place.
template <class S, class D>
void CheckFrame(const std::function<void(ZROI<S>*, ZROI<D>*)>& call, const std::string& trace,
                bool nullDestinationInPlace = true, int width = 8, int height = 3) {
  SCOPED_TRACE(trace);
  Framed<S> s(width, height, 1);
  Framed<D> d(width, height, 2), other(width + 1, height, 3);
  ZROI<S> voidSource;
  ZROI<D> voidDestination;
  s.FillRandom(Rng());
  d.FillRandom(Rng());
  other.FillRandom(Rng());
  const std::vector<uint8_t> before = Bytes(d.get()), otherBefore = Bytes(other.get());
  struct Case { ZROI<S>* s; ZROI<D>* d; int error; };
  std::vector<Case> cases = {{nullptr, d.get(), Z_ERROR_NULL_IMAGE},
                             {&voidSource, d.get(), Z_ERROR_NULL_IMAGE},
                             {s.get(), &voidDestination, Z_ERROR_NULL_IMAGE}};
  if (!nullDestinationInPlace) cases.push_back({s.get(), nullptr, Z_ERROR_NULL_IMAGE});
  for (const Case& c : cases) {
    call(c.s, c.d);
    EXPECT_TRUE(Failed(c.error, {trace}));
  }
  call(s.get(), other.get());
  EXPECT_TRUE(Failed(Z_ERROR_DIFFERENT_SIZES, {trace}));
  EXPECT_EQ(Bytes(other.get()), otherBefore);
  ZSetGateError(Z_ERROR_INTERNAL);
  call(s.get(), d.get());
  ZSetGateError(Z_ERROR_NONE);
  EXPECT_TRUE(Failed(Z_ERROR_INTERNAL, {trace}));
  EXPECT_EQ(Bytes(d.get()), before);
  EXPECT_TRUE(d.GuardsIntact() && other.GuardsIntact());
}

}  // namespace kt

#endif  // KELMIRA_TESTS_SUPPORT_H
