// Byte counting for the 8-bit histogram: the plain loop and the interleaved one.
#include "thresholds/histogram_count.h"

#include <cstring>

namespace kelmira::histogram {

ByteCounter::ByteCounter(bool fast) : m_fast(fast) { std::memset(m_tables, 0, sizeof m_tables); }

void ByteCounter::Add(const uint8_t* bytes, size_t n) {
  size_t i = 0;
  if (m_fast) {
    // Sixteen bytes a step from two 64-bit loads; byte k of a word goes to table k % 4, so four
    // equal neighbours increment four different counters instead of one counter four times.
    uint32_t* t0 = m_tables[0];
    uint32_t* t1 = m_tables[1];
    uint32_t* t2 = m_tables[2];
    uint32_t* t3 = m_tables[3];
    for (; i + 16 <= n; i += 16) {
      uint64_t a, b;
      std::memcpy(&a, bytes + i, 8);
      std::memcpy(&b, bytes + i + 8, 8);
      ++t0[a & 0xff];
      ++t1[(a >> 8) & 0xff];
      ++t2[(a >> 16) & 0xff];
      ++t3[(a >> 24) & 0xff];
      ++t0[(a >> 32) & 0xff];
      ++t1[(a >> 40) & 0xff];
      ++t2[(a >> 48) & 0xff];
      ++t3[a >> 56];
      ++t0[b & 0xff];
      ++t1[(b >> 8) & 0xff];
      ++t2[(b >> 16) & 0xff];
      ++t3[(b >> 24) & 0xff];
      ++t0[(b >> 32) & 0xff];
      ++t1[(b >> 40) & 0xff];
      ++t2[(b >> 48) & 0xff];
      ++t3[b >> 56];
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
