// Byte counting for the 8-bit histogram: the plain loop and the interleaved one.
#include "thresholds/histogram_count.h"

#include <cstring>

namespace kelmira::histogram {

ByteCounter::ByteCounter(bool fast) : m_fast(fast) { std::memset(m_tables, 0, sizeof m_tables); }

void ByteCounter::Add(const uint8_t* bytes, size_t n) {
  size_t i = 0;
  if (m_fast) {
    // Eight bytes a step from one 64-bit load, byte k into table k: eight equal neighbours
    // increment eight different counters instead of one counter eight times, so smooth images
    // count as fast as noise. One increment per pixel is the limit of any counting by tables.
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
  for (int v = 0; v < 256; ++v) {
    uint32_t sum = bins[v];
    for (int t = 0; t < kTables; ++t) sum += m_tables[t][v];
    bins[v] = sum;
  }
}

}  // namespace kelmira::histogram
