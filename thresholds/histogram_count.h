// The byte counters behind LumHistogram on 8-bit views (thresholds/histogram_count.cc).
#ifndef KELMIRA_THRESHOLDS_HISTOGRAM_COUNT_H
#define KELMIRA_THRESHOLDS_HISTOGRAM_COUNT_H

#include <cstddef>
#include <cstdint>

namespace kelmira::histogram {

// Counts bytes into 256 bins. Rows are added one by one; Finish adds everything counted so far
// into `bins` (which wraps at 32 bits like every bin). With `fast` the bytes go into several
// partial tables in turn, so that runs of one value do not wait on their own increments; the
// totals are the same as the plain count.
class ByteCounter {
 public:
  explicit ByteCounter(bool fast);
  void Add(const uint8_t* bytes, size_t n);
  void Finish(uint32_t* bins) const;

 private:
  static constexpr int kTables = 8;
  bool m_fast;
  alignas(64) uint32_t m_tables[kTables][256];
};

}  // namespace kelmira::histogram

#endif  // KELMIRA_THRESHOLDS_HISTOGRAM_COUNT_H
