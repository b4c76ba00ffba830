// Row kernels of threshold application: the scalar rules, which are the reference, and the wide
// twins (thresholds/apply_wide.cc), which give the same bytes.
#ifndef KELMIRA_THRESHOLDS_APPLY_ROWS_H
#define KELMIRA_THRESHOLDS_APPLY_ROWS_H

#include <cstdint>

namespace kelmira::threshold {

// Packs n pixels into (n + 7) / 8 bytes, first pixel in the high bit; bit set where v >= level.
// The last partial byte is built from 0x80 down and its low bits stay 0.
template <class T>
inline void PackRow(const T* source, uint8_t* destination, int n, unsigned level) {
  int x = 0;
  for (; x + 8 <= n; x += 8) {
    unsigned byte = 0;
    for (int k = 0; k < 8; ++k) byte = (byte << 1) | (source[x + k] >= level ? 1u : 0u);
    destination[x >> 3] = static_cast<uint8_t>(byte);
  }
  if (x < n) {
    unsigned byte = 0;
    for (unsigned bit = 0x80; x < n; ++x, bit >>= 1)
      if (source[x] >= level) byte |= bit;
    destination[n >> 3] = static_cast<uint8_t>(byte);
  }
}

template <class T>
inline void DoubleRow(const T* source, T* destination, int n, unsigned low, unsigned high, T below, T between,
                      T above) {
  for (int x = 0; x < n; ++x) {
    const unsigned v = source[x];
    destination[x] = v > high ? above : v < low ? below : between;
  }
}

// lo and hi hold the three components; a pixel is inside when all three lie in their ranges,
// tested from the third component to the first.
inline void RangeRow(const uint8_t* source, uint8_t* destination, int n, const uint8_t* lo, const uint8_t* hi,
                     uint8_t outside, uint8_t inside) {
  for (int x = 0; x < n; ++x) {
    const uint8_t* p = source + 3 * x;
    const bool in = p[2] >= lo[2] && p[2] <= hi[2] && p[1] >= lo[1] && p[1] <= hi[1] && p[0] >= lo[0] && p[0] <= hi[0];
    destination[x] = in ? inside : outside;
  }
}

void WideThresholdRow8(const uint8_t* source, uint8_t* destination, int n, unsigned level, uint8_t below,
                       uint8_t above);
void WideThresholdRow16(const uint16_t* source, uint16_t* destination, int n, unsigned level, uint16_t below,
                        uint16_t above);
void WidePackRow8(const uint8_t* source, uint8_t* destination, int n, unsigned level);
void WidePackRow16(const uint16_t* source, uint8_t* destination, int n, unsigned level);
void WideDoubleRow8(const uint8_t* source, uint8_t* destination, int n, unsigned low, unsigned high, uint8_t below,
                    uint8_t between, uint8_t above);
void WideDoubleRow16(const uint16_t* source, uint16_t* destination, int n, unsigned low, unsigned high,
                     uint16_t below, uint16_t between, uint16_t above);
void WideRangeRow(const uint8_t* source, uint8_t* destination, int n, const uint8_t* lo, const uint8_t* hi,
                  uint8_t outside, uint8_t inside);

void WideColumnsRow(uint32_t* columns, const uint8_t* add, const uint8_t* sub, int n);
void WideWindowRow(const uint32_t* columns, uint32_t* window, int w, int r);
void WideLocalMeanRow(const uint8_t* source, const uint32_t* window, uint8_t* destination, int n, int32_t area,
                      int32_t bias);

}  // namespace kelmira::threshold

#endif  // KELMIRA_THRESHOLDS_APPLY_ROWS_H
