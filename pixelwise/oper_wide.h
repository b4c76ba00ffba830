// Wide row kernels of the LumOper / LumCopy family (pixelwise/oper_wide.cc). Each gives, byte for
// byte, what the scalar loop of the same code gives; callers run them on the middle of a row as
// the row rule places it.
#ifndef KELMIRA_PIXELWISE_OPER_WIDE_H
#define KELMIRA_PIXELWISE_OPER_WIDE_H

#include <cstddef>
#include <cstdint>

namespace kelmira::oper {

// Codes of the byte kernel: 2, 3, 4, 9, 10, 11, 13 to 28, 33.
bool WideHasCode(int code);

// d[i] = a[i] op b[i] on bytes (maximum 255) for n bytes. A null `a` (or `b`) stands for the
// constant aValue (or bValue) in every lane. Codes 21 and 22 keep d[i] where the condition fails.
void WideBinaryRow(int code, const uint8_t* a, uint8_t aValue, const uint8_t* b, uint8_t bValue, uint8_t* d,
                   size_t n);

// Codes of two BW16 images that have a wide twin (the cheap ones: no division or product), and
// d[i] = a[i] op b[i] over n pixels for them.
bool WideHasCode16(int code);
void WideBinaryRow16(int code, const uint16_t* a, const uint16_t* b, uint16_t* d, size_t n);

void WideCopyRow(const uint8_t* s, uint8_t* d, size_t n);
void WideFillRow(uint8_t value, uint8_t* d, size_t n);

}  // namespace kelmira::oper

#endif  // KELMIRA_PIXELWISE_OPER_WIDE_H
