// The byte counters behind LumHistogram on 8-bit views (thresholds/histogram_count.cc).
#ifndef KELMIRA_THRESHOLDS_HISTOGRAM_COUNT_H
#define KELMIRA_THRESHOLDS_HISTOGRAM_COUNT_H

#include <cstddef>
#include <cstdint>
#include <memory>

namespace kelmira::histogram {

// Counts bytes into 256 bins. Rows are added one by one; Finish adds everything counted so far
// into `bins` (which wraps at 32 bits like every bin). With `fast` the bytes go into several
// partial tables in turn, so that runs of one value do not wait on their own increments, and, when
// `total` (the bytes that will be added) is large enough to pay for it, two neighbours at a time
// into a table of byte pairs; the totals are the same as the plain count.
class ByteCounter {
 public:
  ByteCounter(bool fast, size_t total);
  void Add(const uint8_t* bytes, size_t n);
  void Finish(uint32_t* bins) const;

 private:
  static constexpr int kTables = 8;
  // The pair table costs a clear and a sweep of 64K counters; from this many bytes on it is
  // repaid by counting half as many increments.
  static constexpr size_t kPairsFrom = size_t{1} << 18;
  bool m_fast;
  std::unique_ptr<uint32_t[]> m_pairs;  // [second byte << 8 | first byte], or null
  alignas(64) uint32_t m_tables[kTables][256];
};

}  // namespace kelmira::histogram

#endif  // KELMIRA_THRESHOLDS_HISTOGRAM_COUNT_H
