// The byte counters behind LumHistogram on 8-bit views (thresholds/histogram_count.cc).
#ifndef KELMIRA_THRESHOLDS_HISTOGRAM_COUNT_H
#define KELMIRA_THRESHOLDS_HISTOGRAM_COUNT_H

#include <cstddef>
#include <cstdint>
#include <memory>

namespace kelmira::histogram {

// Counts bytes into 256 bins. Rows are added one by one; Finish adds everything counted so far
// into `bins` (which wraps at 32 bits like every bin). With `fast` the bytes go into several
// partial tables in turn, so that runs of one value do not wait on their own increments, or, when
// `total` (the bytes that will be added) is large enough to pay for it and the pixels are smooth,
// two neighbours at a time into a table of byte pairs. Every way gives the totals of the plain
// count, so the choice is only one of speed.
class ByteCounter {
 public:
  ByteCounter(bool fast, size_t total);
  void Add(const uint8_t* bytes, size_t n);
  void Finish(uint32_t* bins) const;

 private:
  void AddTables(const uint8_t* bytes, size_t n);
  void AddPairs(const uint8_t* bytes, size_t n);
  void Sample(const uint8_t* bytes, size_t n);

  static constexpr int kTables = 8;
  // The pair table costs a clear and a sweep of 64K counters; from this many bytes on it is
  // repaid by counting half as many increments.
  static constexpr size_t kPairsFrom = size_t{1} << 18;
  // The first bytes are counted by the tables while the 64-byte lines of the pair table that
  // their pairs would touch are noted; pairs are taken when few lines are touched. On noise every
  // pair lands on a different line and the 256 KB table leaves the first-level cache, which makes
  // it slower than the tables; on smooth pictures the pairs hug the diagonal and stay cached.
  static constexpr size_t kSampleBytes = 16384;
  static constexpr int kPairLinesAtMost = 768;
  enum class Way { kPlain, kTables, kSampling, kPairs };
  Way m_way;
  size_t m_sampled = 0;
  uint64_t m_lines[4096 / 64] = {};  // lines of the pair table touched by the sample
  std::unique_ptr<uint32_t[]> m_pairs;  // [second byte << 8 | first byte], or null
  alignas(64) uint32_t m_tables[kTables][256];
};

}  // namespace kelmira::histogram

#endif  // KELMIRA_THRESHOLDS_HISTOGRAM_COUNT_H
