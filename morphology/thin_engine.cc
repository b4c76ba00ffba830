// Thin and thick on bit planes: the pattern terms, the scalar row kernels, row packing, and the
// two pass loops (the gray forms' with its first pass and stall counting, the BW1 form's with its
// count of rings).
#include "morphology/thin_engine.h"

#include <cstring>
#include <memory>
#include <new>

namespace kelmira::thin {

Terms MakeTerms(Pattern pattern, bool outsideAgrees, bool rowAboveOutside, bool rowBelowOutside) {
  Terms t{};
  for (int r = 0; r < 3; ++r) {
    const bool rowOutside = (r == 0 && rowAboveOutside) || (r == 2 && rowBelowOutside);
    for (int c = 0; c < 3; ++c) {
      const uint32_t bit = PlaceBit(c, r);
      const bool care = (pattern.care & bit) != 0, one = (pattern.value & bit) != 0;
      t.invert[r][c] = care && !one ? ~uint64_t{0} : 0;
      t.ignore[r][c] = !care || (rowOutside && outsideAgrees) ? ~uint64_t{0} : 0;
    }
    // An outside column agrees with the pattern: it shifts in the bit the place asks for.
    t.fillLeft[r] = outsideAgrees && (pattern.value & PlaceBit(0, r)) ? 1 : 0;
    t.fillRight[r] = outsideAgrees && (pattern.value & PlaceBit(2, r)) ? 1 : 0;
  }
  return t;
}

bool PassRowScalar(const RowSet& s, const Terms& t, bool thick, uint64_t* out) {
  uint64_t changed = 0;
  const uint64_t* c = s.row[1];
  for (int i = 0; i < s.words; ++i) {
    const uint64_t m = MatchWord(s, t, i);
    out[i] = thick ? c[i] | m : c[i] & ~m;
    changed |= thick ? m & ~c[i] : m & c[i];
  }
  return changed != 0;
}

void MatchRowScalar(const RowSet& s, const Terms& t, uint64_t* match) {
  for (int i = 0; i < s.words; ++i) match[i] = MatchWord(s, t, i);
}

template <class T>
void PackScalar(const T* row, int width, T reference, uint64_t* words) {
  std::memset(words, 0, static_cast<size_t>((width + 63) / 64) * 8);
  for (int x = 0; x < width; ++x)
    if (row[x] != reference) words[x >> 6] |= uint64_t{1} << (x & 63);
}
template void PackScalar(const uint8_t*, int, uint8_t, uint64_t*);
template void PackScalar(const uint16_t*, int, uint16_t, uint64_t*);

template <class T>
void UnpackScalar(const uint64_t* words, int width, T high, T* row) {
  for (int x = 0; x < width; ++x) row[x] = (words[x >> 6] >> (x & 63)) & 1 ? high : T{0};
}
template void UnpackScalar(const uint64_t*, int, uint8_t, uint8_t*);
template void UnpackScalar(const uint64_t*, int, uint16_t, uint16_t*);

// ----- planes -----

Planes::Planes(int width, int height)
    : m_width(width), m_height(height), m_words((width + 63) / 64) {
  const size_t plane = static_cast<size_t>(m_words) * static_cast<size_t>(height);
  // Two planes, a zero row for the rows outside the view and two rows of scratch.
  m_store.reset(new (std::nothrow) uint64_t[2 * plane + 3 * static_cast<size_t>(m_words)]());
  if (!m_store) return;
  m_plane[0] = m_store.get();
  m_plane[1] = m_store.get() + plane;
  m_zero = m_store.get() + 2 * plane;
  m_scratch[0] = m_zero + m_words;
  m_scratch[1] = m_scratch[0] + m_words;
}

RowSet Planes::Rows(int y) const {
  RowSet s;
  s.row[0] = y > 0 ? Row(y - 1) : m_zero;
  s.row[1] = Row(y);
  s.row[2] = y + 1 < m_height ? Row(y + 1) : m_zero;
  s.words = m_words;
  s.lastBit = (m_width - 1) & 63;
  s.lastMask = s.lastBit == 63 ? ~uint64_t{0} : (uint64_t{1} << (s.lastBit + 1)) - 1;
  return s;
}

void Planes::SetPattern(Pattern pattern, bool outsideAgrees) {
  for (int k = 0; k < 4; ++k) m_terms[k] = MakeTerms(pattern, outsideAgrees, (k & 1) != 0, (k & 2) != 0);
}

bool Planes::Pass(bool thick, bool wide) {
  bool changed = false;
  for (int y = 0; y < m_height; ++y)
    changed |= PassRow(Rows(y), TermsOf(y), thick, Next(y), wide);
  m_current ^= 1;
  return changed;
}

// ----- the BW1 loop -----

namespace {
uint8_t Reverse(uint8_t b) {
  b = static_cast<uint8_t>((b & 0xF0) >> 4 | (b & 0x0F) << 4);
  b = static_cast<uint8_t>((b & 0xCC) >> 2 | (b & 0x33) << 2);
  return static_cast<uint8_t>((b & 0xAA) >> 1 | (b & 0x55) << 1);
}
}  // namespace

void Planes::PackBits(const uint8_t* row, int y) {
  // A packed row has its first pixel in bit 7; a plane has it in bit 0 of its first byte.
  uint8_t* bytes = reinterpret_cast<uint8_t*>(Row(y));
  const int n = (m_width + 7) / 8;
  for (int j = 0; j < n; ++j) bytes[j] = Reverse(row[j]);
  if (m_width & 7) bytes[n - 1] &= static_cast<uint8_t>((1u << (m_width & 7)) - 1);
}

void Planes::UnpackBits(int y, uint8_t* row) const {
  const uint8_t* bytes = reinterpret_cast<const uint8_t*>(Row(y));
  const int n = (m_width + 7) / 8;
  for (int j = 0; j + 1 < n; ++j) row[j] = Reverse(bytes[j]);
  // The spare bits of the last byte keep their value.
  const uint8_t valid = (m_width & 7) ? static_cast<uint8_t>(0xFF << (8 - (m_width & 7))) : 0xFF;
  row[n - 1] = static_cast<uint8_t>((row[n - 1] & ~valid) | (Reverse(bytes[n - 1]) & valid));
}

int RunBits(Planes& planes, Pattern pattern, bool outsideAgrees, int rotation, int limit, bool thick, bool wide) {
  int count = limit < 1 ? -1 : limit;
  const int ring = rotation != 0 ? 8 : 1;
  while (count != 0) {
    bool changed = false;
    for (int k = 0; k < ring; ++k) {
      planes.SetPattern(pattern, outsideAgrees);
      changed |= planes.Pass(thick, wide);
      if (rotation != 0) {
        pattern.care = Turn(pattern.care, rotation == 1);
        pattern.value = Turn(pattern.value, rotation == 1);
      }
    }
    --count;
    if (!changed) break;
  }
  if (count == 0) return 1;
  // With no limit the count runs down from -1; its size is the rings run plus 1.
  const int64_t left = count < 0 ? -int64_t{count} : int64_t{count};
  return static_cast<int>(static_cast<int16_t>(static_cast<uint16_t>(left & 0xFFFF)));
}

}  // namespace kelmira::thin
