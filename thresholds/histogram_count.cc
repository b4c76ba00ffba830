// Byte counting for the 8-bit histogram: the plain loop, the interleaved tables and the pairs.
#include "thresholds/histogram_count.h"

#include <bit>
#include <cstring>
#include <new>

namespace kelmira::histogram {
namespace {

// The pair of bytes at p as a table index, first byte low.
inline unsigned Pair(const uint8_t* p) { return p[0] | static_cast<unsigned>(p[1]) << 8; }

}  // namespace

ByteCounter::ByteCounter(bool fast, size_t total)
    : m_way(!fast ? Way::kPlain : total >= kPairsFrom ? Way::kSampling : Way::kTables) {
  std::memset(m_tables, 0, sizeof m_tables);
}

void ByteCounter::Add(const uint8_t* bytes, size_t n) {
  if (m_way == Way::kSampling) {
    // The first kSampleBytes go to the tables; their pairs (from even offsets, as AddPairs forms
    // them) mark the lines of the pair table they would touch, and the count decides the way.
    const size_t part = n < kSampleBytes - m_sampled ? n : kSampleBytes - m_sampled;
    Sample(bytes, part);
    AddTables(bytes, part);
    bytes += part;
    n -= part;
    m_sampled += part;
    if (m_sampled < kSampleBytes) return;
    int lines = 0;
    for (uint64_t word : m_lines) lines += std::popcount(word);
    m_way = Way::kTables;
    if (lines <= kPairLinesAtMost) {
      // Without the memory the tables do the work.
      m_pairs.reset(new (std::nothrow) uint32_t[65536]());
      if (m_pairs) m_way = Way::kPairs;
    }
  }
  if (m_way == Way::kPairs) AddPairs(bytes, n);
  else AddTables(bytes, n);
}

void ByteCounter::Sample(const uint8_t* bytes, size_t n) {
  for (size_t i = 0; i + 2 <= n; i += 2) {
    const unsigned line = Pair(bytes + i) >> 4;  // 16 counters a line
    m_lines[line >> 6] |= uint64_t{1} << (line & 63);
  }
}

void ByteCounter::AddPairs(const uint8_t* bytes, size_t n) {
  // One increment per two pixels: the increments (a load and a store each) are what limits any
  // counting by tables. Counts wrap at 32 bits, and so do their sums in Finish, which gives the
  // same bins as counting pixel by pixel.
  uint32_t* p = m_pairs.get();
  size_t i = 0;
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
  if (i < n) ++m_tables[0][bytes[i]];
}

void ByteCounter::AddTables(const uint8_t* bytes, size_t n) {
  size_t i = 0;
  if (m_way != Way::kPlain) {
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
