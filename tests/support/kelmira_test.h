// Shared helpers of the test suite: views at any byte offset inside guarded host memory, random
// content, the wide-path switch for a scope, byte comparison and the trace as strings.
#ifndef KELMIRA_TESTS_SUPPORT_H
#define KELMIRA_TESTS_SUPPORT_H

#include <gtest/gtest.h>
#include <kelmira/kelmira.h>

#include <cstdint>
#include <cstring>
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

}  // namespace kt

#endif  // KELMIRA_TESTS_SUPPORT_H
