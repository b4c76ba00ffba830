// Byte counting for the 8-bit histogram: the plain loop, the interleaved tables and the pairs.
#include "thresholds/histogram_count.h"

#include <cstring>
#include <new>

namespace kelmira::histogram {
namespace {

// The pair of bytes at p as a table index, first byte low.
inline unsigned Pair(const uint8_t* p) { return p[0] | static_cast<unsigned>(p[1]) << 8; }

}  // namespace

ByteCounter::ByteCounter(bool fast, size_t total) : m_fast(fast) {
  std::memset(m_tables, 0, sizeof m_tables);
  // Without the memory the interleaved tables do the work.
  if (fast && total >= kPairsFrom) m_pairs.reset(new (std::nothrow) uint32_t[65536]());
}

void ByteCounter::Add(const uint8_t* bytes, size_t n) {
  size_t i = 0;
  if (m_pairs) {
    // One increment per two pixels: the increments (a load and a store each) are what limits any
    // counting by tables. Counts wrap at 32 bits, and so do their sums in Finish, which gives the
    // same bins as counting pixel by pixel.
    uint32_t* p = m_pairs.get();
    for (; i + 16 <= n; i += 16) {
      const uint8_t* b = bytes + i;
      ++p[Pair(b)];
      ++p[Pair(b + 2)];
      ++p[Pair(b + 4)];
      ++p[Pair(b + 6)];
      ++p[Pair(b + 8)];
      ++p[Pair(b + 10)];
      ++p[Pair(b + 12)];
      ++p[Pair(b + 14)];
    }
    for (; i + 2 <= n; i += 2) ++p[Pair(bytes + i)];
  } else if (m_fast) {
    // Eight bytes a step from one 64-bit load, byte k into table k: eight equal neighbours
    // increment eight different counters instead of one counter eight times, so smooth images
    // count as fast as noise.
    uint32_t(*t)[256] = m_tables;
    for (; i + 8 <= n; i += 8) {
      uint64_t a;
      std::memcpy(&a, bytes + i, 8);
      ++t[0][a & 0xff];
      ++t[1][(a >> 8) & 0xff];
      ++t[2][(a >> 16) & 0xff];
      ++t[3][(a >> 24) & 0xff];
      ++t[4][(a >> 32) & 0xff];
      ++t[5][(a >> 40) & 0xff];
      ++t[6][(a >> 48) & 0xff];
      ++t[7][a >> 56];
    }
  }
  for (; i < n; ++i) ++m_tables[0][bytes[i]];
}

void ByteCounter::Finish(uint32_t* bins) const {
  uint32_t sums[256];
  for (int v = 0; v < 256; ++v) {
    uint32_t sum = 0;
    for (int t = 0; t < kTables; ++t) sum += m_tables[t][v];
    sums[v] = sum;
  }
  if (m_pairs) {
    // Pair (first, second) counts once for each: the rows give the second bytes, the columns the
    // first.
    for (int second = 0; second < 256; ++second) {
      const uint32_t* row = m_pairs.get() + second * 256;
      uint32_t sum = 0;
      for (int first = 0; first < 256; ++first) {
        sum += row[first];
        sums[first] += row[first];
      }
      sums[second] += sum;
    }
  }
  for (int v = 0; v < 256; ++v) bins[v] += sums[v];
}

}  // namespace kelmira::histogram
