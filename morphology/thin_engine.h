// The engine of thin and thick: a hit-or-miss pass on bit planes, 64 pixels to a word.
//
// Every form (BW8, BW16, C24 through BW8, BW1) packs its source into a plane where a bit is set
// for an object pixel, runs its passes there and writes the destination once at the end. A pass
// is a pure function of the plane before it, so ping-ponging between two planes gives the same
// pixels as the row-by-row scan in place with a buffer for the row above; the changed flags are
// computed from the same words (see thin_engine.cc), and the destination's pixels between passes
// are never observable.
#ifndef KELMIRA_MORPHOLOGY_THIN_ENGINE_H
#define KELMIRA_MORPHOLOGY_THIN_ENGINE_H

#include <cstdint>
#include <memory>

namespace kelmira::thin {

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "bit planes are read as bytes in word order");

// The pattern as the two 9-bit masks: bit 8 - (3 * column + row) for the place at (column, row).
struct Pattern {
  uint32_t care = 0;
  uint32_t value = 0;
};

constexpr uint32_t PlaceBit(int column, int row) { return 1u << (8 - (3 * column + row)); }

// The ring of outer places, clockwise from the top left, as (column, row).
constexpr int kRing[8][2] = {{0, 0}, {1, 0}, {2, 0}, {2, 1}, {2, 2}, {1, 2}, {0, 2}, {0, 1}};

// Moves each outer place one step along the ring (clockwise or not); the centre stays.
inline uint32_t Turn(uint32_t mask, bool clockwise) {
  uint32_t out = mask & PlaceBit(1, 1);
  for (int i = 0; i < 8; ++i) {
    const int j = clockwise ? (i + 1) % 8 : (i + 7) % 8;
    if (mask & PlaceBit(kRing[i][0], kRing[i][1])) out |= PlaceBit(kRing[j][0], kRing[j][1]);
  }
  return out;
}

// The pattern as word masks for one kind of row (first, last, inner, or both first and last): a
// place's term is (neighbour ^ invert) | ignore, and a pixel matches where the AND of the nine
// terms is set. Places outside the view: with the outside value 0 they read background (a zero
// row, a zero bit shifted in); otherwise they are ignored (an outside row) or shift in the bit
// that agrees with the pattern (an outside column).
struct Terms {
  uint64_t invert[3][3];  // [row][column]: all ones where the coefficient is 0
  uint64_t ignore[3][3];  // all ones where the coefficient is -1 or the place lies outside
  uint64_t fillLeft[3];   // the bit shifted in on the left of a row (0 or 1)
  uint64_t fillRight[3];  // the bit shifted in on the right of a row (0 or 1)
};

Terms MakeTerms(Pattern pattern, bool outsideAgrees, bool rowAboveOutside, bool rowBelowOutside);

// Three rows of a plane (rows outside the view point at a zero row) and the row's geometry.
struct RowSet {
  const uint64_t* row[3];
  int words;         // words of a row
  int lastBit;       // bit of the last pixel in the last word
  uint64_t lastMask; // the bits of the last word that hold pixels
};

// The matching pixels of word i of the middle row.
inline uint64_t MatchWord(const RowSet& s, const Terms& t, int i) {
  uint64_t m = ~uint64_t{0};
  const bool last = i + 1 == s.words;
  for (int r = 0; r < 3; ++r) {
    const uint64_t* w = s.row[r];
    const uint64_t c = w[i];
    const uint64_t left = (c << 1) | (i > 0 ? w[i - 1] >> 63 : t.fillLeft[r]);
    const uint64_t right = last ? (c >> 1) | (t.fillRight[r] << s.lastBit) : (c >> 1) | (w[i + 1] << 63);
    m &= (left ^ t.invert[r][0]) | t.ignore[r][0];
    m &= (c ^ t.invert[r][1]) | t.ignore[r][1];
    m &= (right ^ t.invert[r][2]) | t.ignore[r][2];
  }
  return last ? m & s.lastMask : m;
}

// One row of a pass after the first: out = the middle row with the matching pixels cleared (thin)
// or set (thick). Returns true when a bit changed. `wide` picks the Highway twin.
bool PassRow(const RowSet& s, const Terms& t, bool thick, uint64_t* out, bool wide);
// The matching pixels of a row, for the first pass.
void MatchRow(const RowSet& s, const Terms& t, uint64_t* match, bool wide);

// Row packing of BW8 and BW16: bit x set where row[x] != reference; the last word's bits past the
// width are 0. Unpacking: row[x] = bit ? high : 0.
void Pack(const uint8_t* row, int width, uint8_t reference, uint64_t* words, bool wide);
void Pack(const uint16_t* row, int width, uint16_t reference, uint64_t* words, bool wide);
void Unpack(const uint64_t* words, int width, uint8_t high, uint8_t* row, bool wide);
void Unpack(const uint64_t* words, int width, uint16_t high, uint16_t* row, bool wide);

// Scalar row kernels (the reference of the wide ones).
bool PassRowScalar(const RowSet& s, const Terms& t, bool thick, uint64_t* out);
void MatchRowScalar(const RowSet& s, const Terms& t, uint64_t* match);

template <class T>
void PackScalar(const T* row, int width, T reference, uint64_t* words);
template <class T>
void UnpackScalar(const uint64_t* words, int width, T high, T* row);

// Two bit planes of the view's size that the passes ping-pong between, with the pattern's terms
// for the four kinds of row. Check ok() after construction (false: no memory).
class Planes {
 public:
  Planes(int width, int height);
  bool ok() const { return m_store != nullptr; }
  int words() const { return m_words; }
  uint64_t* Row(int y) const { return m_plane[m_current] + static_cast<size_t>(y) * m_words; }
  uint64_t* Next(int y) const { return m_plane[m_current ^ 1] + static_cast<size_t>(y) * m_words; }
  uint64_t* Scratch(int k) const { return m_scratch[k]; }
  void Flip() { m_current ^= 1; }
  RowSet Rows(int y) const;
  void SetPattern(Pattern pattern, bool outsideAgrees);
  const Terms& TermsOf(int y) const { return m_terms[(y == 0 ? 1 : 0) | (y + 1 == m_height ? 2 : 0)]; }
  // One pass after the first, from the current plane to the other, which becomes current.
  // Returns true when a pixel changed.
  bool Pass(bool thick, bool wide);
  // Rows of an aligned packed one-bit view (first pixel in bit 7) in and out of the current plane;
  // the out direction keeps the spare bits of the last byte.
  void PackBits(const uint8_t* row, int y);
  void UnpackBits(int y, uint8_t* row) const;

 private:
  int m_width, m_height, m_words;
  std::unique_ptr<uint64_t[]> m_store;
  uint64_t* m_plane[2] = {nullptr, nullptr};
  uint64_t* m_zero = nullptr;
  uint64_t* m_scratch[2] = {nullptr, nullptr};
  int m_current = 0;
  Terms m_terms[4];
};

// The loop of the BW1 forms on a packed plane: `limit` below 1 is no limit; one count is a ring of
// eight passes (one pass without rotation); ends when the count reaches 0 or after a ring that
// changed nothing. Returns the absolute value of what is left of the count, cut to 16 bits, or 1
// when it reached 0.
int RunBits(Planes& planes, Pattern pattern, bool outsideAgrees, int rotation, int limit, bool thick, bool wide);

}  // namespace kelmira::thin

#endif  // KELMIRA_MORPHOLOGY_THIN_ENGINE_H
