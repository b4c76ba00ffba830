// Row access and the row rule of the wide paths, written once for every pixel-wise operator.
#ifndef KELMIRA_FOUNDATION_ROWS_H
#define KELMIRA_FOUNDATION_ROWS_H

#include <cstddef>
#include <cstdint>

#include "kelmira/foundation.h"

namespace kelmira::rows {

// Row y of a view as a typed pointer, computed with one multiply-add instead of a virtual call per
// row. Build it after the view passed its void check.
template <class T>
class Rows {
 public:
  explicit Rows(const ZGenericROI* view)
      : m_base(static_cast<uint8_t*>(const_cast<void*>(view->GetGenericImagePtr(0, 0)))),
        m_pitch(view->GetRowPitch()) {}
  T* operator[](int y) const { return reinterpret_cast<T*>(m_base + static_cast<ptrdiff_t>(y) * m_pitch); }
  // Byte address of row y, for views whose pixels do not fill a T (packed one-bit rows).
  uint8_t* Bytes(int y) const { return m_base + static_cast<ptrdiff_t>(y) * m_pitch; }

 private:
  uint8_t* m_base;
  int m_pitch;
};

// How the row rule divides one destination row, in pixels: [0, head) scalar, [head, head + middle)
// wide, the rest scalar.
struct Split {
  int head;
  int middle;
  int tail;
};

// The row rule. With `wide` set and, taking `start` as the row's first destination byte and `end`
// one past its last, `end - ((start + 7) & ~7)` above 7 as a signed number, the row runs in three
// phases: single pixels until the destination address is a multiple of 8; then wide steps up to
// the last step boundary at or below `end`; then single pixels to the end. Otherwise the whole row
// is scalar. A wide step is lcm(8, pixelBytes) bytes (8 bytes of BW8, 4 BW16 pixels, 8 C24 pixels
// in 24 bytes), so it always ends on a pixel; a kernel may use vectors wider than a step, as long
// as it covers exactly the middle. A destination whose pixels never meet an 8-byte boundary (BW16
// at an odd address) runs scalar.
inline Split SplitRow(const void* destinationRow, int width, int pixelBytes, bool wide) {
  const Split scalar{width, 0, 0};
  if (!wide || width <= 0) return scalar;
  const uintptr_t start = reinterpret_cast<uintptr_t>(destinationRow);
  const uintptr_t end = start + static_cast<uintptr_t>(width) * static_cast<uintptr_t>(pixelBytes);
  const uintptr_t aligned = (start + 7) & ~static_cast<uintptr_t>(7);
  if (static_cast<intptr_t>(end - aligned) <= 7) return scalar;

  int head = 0;
  while (head < 8 && ((start + static_cast<uintptr_t>(head) * pixelBytes) & 7) != 0) ++head;
  if (head == 8 || head >= width) return scalar;

  int g = 8, b = pixelBytes;  // lcm(8, pixelBytes) via gcd
  while (b != 0) {
    const int t = g % b;
    g = b;
    b = t;
  }
  const int stepPixels = 8 / g;  // lcm / pixelBytes
  const int middle = (width - head) / stepPixels * stepPixels;
  return Split{head, middle, width - head - middle};
}

// Runs one destination row under the row rule: scalar(x0, n) for the head and the tail, and
// wide(x0, n) for the middle, whose destination starts 8-aligned.
template <class ScalarFn, class WideFn>
inline void WalkRow(const void* destinationRow, int width, int pixelBytes, bool wide, ScalarFn&& scalar,
                    WideFn&& wideFn) {
  const Split s = SplitRow(destinationRow, width, pixelBytes, wide);
  if (s.head > 0) scalar(0, s.head);
  if (s.middle > 0) wideFn(s.head, s.middle);
  if (s.tail > 0) scalar(s.head + s.middle, s.tail);
}

}  // namespace kelmira::rows

#endif  // KELMIRA_FOUNDATION_ROWS_H
