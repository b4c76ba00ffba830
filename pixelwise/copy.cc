// LumCopy on every multi-byte-pixel type: fill with a constant, or copy rows. The workers are
// shared with the copy and fill forms of LumOper. Rows run under the row rule: scalar head and
// tail, a wide middle from the first 8-aligned destination byte.
#include <cstring>

#include "foundation/frame.h"
#include "foundation/rows.h"
#include "kelmira/pixelwise/oper.h"
#include "pixelwise/copy_workers.h"
#include "pixelwise/oper_wide.h"

namespace kelmira::oper {
namespace {

// One row of pixels of `pixelBytes` bytes, all equal to `pixel`.
void FillScalar(const uint8_t* pixel, int pixelBytes, uint8_t* row, int count) {
  switch (pixelBytes) {
    case 1: {
      // Four bytes at a step, then single bytes.
      uint32_t word;
      std::memset(&word, pixel[0], 4);
      int i = 0;
      for (; i + 4 <= count; i += 4) std::memcpy(row + i, &word, 4);
      for (; i < count; ++i) row[i] = pixel[0];
      return;
    }
    case 2: {
      uint16_t v;
      std::memcpy(&v, pixel, 2);
      for (int i = 0; i < count; ++i) std::memcpy(row + 2 * i, &v, 2);
      return;
    }
    case 4: {
      uint32_t v;
      std::memcpy(&v, pixel, 4);
      for (int i = 0; i < count; ++i) std::memcpy(row + 4 * i, &v, 4);
      return;
    }
    default:
      for (int i = 0; i < count; ++i) std::memcpy(row + i * pixelBytes, pixel, pixelBytes);
  }
}

}  // namespace

void FillWorker(const void* pixel, int pixelBytes, ZGenericROI* destination) {
  if (!frame::NotVoid(destination)) return;
  const uint8_t* value = static_cast<const uint8_t*>(pixel);
  const rows::Rows<uint8_t> d(destination);
  const int width = destination->GetWidth(), height = destination->GetHeight();
  // Only single bytes have a wide fill: a constant of 2, 3 or 4 bytes repeats in a pattern that
  // the compiler already writes with wide stores.
  const bool wide = pixelBytes == 1 && ZGetMMX() != 0;
  for (int y = 0; y < height; ++y) {
    uint8_t* row = d[y];
    rows::WalkRow(
        row, width, pixelBytes, wide, [&](int x, int n) { FillScalar(value, pixelBytes, row + x * pixelBytes, n); },
        [&](int x, int n) { WideFillRow(value[0], row + x, static_cast<size_t>(n)); });
  }
}

void CopyWorker(const ZGenericROI* source, ZGenericROI* destination) {
  if (!frame::Operands({source}, destination)) return;
  const rows::Rows<const uint8_t> s(source);
  const rows::Rows<uint8_t> d(destination);
  const int width = destination->GetWidth(), height = destination->GetHeight();
  const int pixelBytes = destination->GetPixelSize();
  if (s[0] == d[0]) return;  // in place: every byte already holds itself
  const bool wide = ZGetMMX() != 0;
  // Two views without gaps between their rows are one block each: a copy gives the same bytes
  // however it is split, and the C library's copy of a large block (non-temporal stores once it
  // exceeds the cache) beats any row loop.
  const size_t rowBytes = static_cast<size_t>(width) * pixelBytes;
  if (wide && source->GetSkip() == 0 && destination->GetSkip() == 0 && height > 1) {
    const uint8_t* from = s[0];
    uint8_t* to = d[0];
    const size_t bytes = rowBytes * static_cast<size_t>(height);
    if (from + bytes <= to || to + bytes <= from) {
      std::memcpy(to, from, bytes);
      return;
    }
  }
  for (int y = 0; y < height; ++y) {
    const uint8_t* from = s[y];
    uint8_t* to = d[y];
    rows::WalkRow(
        to, width, pixelBytes, wide,
        [&](int x, int n) {
          const size_t at = static_cast<size_t>(x) * pixelBytes;
          std::memmove(to + at, from + at, static_cast<size_t>(n) * pixelBytes);
        },
        [&](int x, int n) {
          const size_t at = static_cast<size_t>(x) * pixelBytes;
          WideCopyRow(from + at, to + at, static_cast<size_t>(n) * pixelBytes);
        });
  }
}

namespace {
template <class P>
void CopyConst(P value, ZROI<P>* destination, const char* trace) {
  if (frame::Enter()) FillWorker(&value, sizeof(P), destination);
  frame::Leave(trace);
}
template <class P>
void CopyImage(const ZROI<P>* source, ZROI<P>* destination, const char* trace) {
  if (frame::Enter()) CopyWorker(source, destination);
  frame::Leave(trace);
}
}  // namespace
}  // namespace kelmira::oper

using kelmira::oper::CopyConst;
using kelmira::oper::CopyImage;

void LumCopy(ZBW8 value, ZROI<ZBW8>* destination) { CopyConst(value, destination, "LumCopy ( BW8 Const to Image)"); }
void LumCopy(const ZROI<ZBW8>* source, ZROI<ZBW8>* destination) {
  CopyImage(source, destination, "LumCopy ( BW8 Image to Image)");
}
void LumCopy(ZBW16 value, ZROI<ZBW16>* destination) { CopyConst(value, destination, "LumCopy (BW16 Const)"); }
void LumCopy(const ZROI<ZBW16>* source, ZROI<ZBW16>* destination) { CopyImage(source, destination, "LumCopy (BW16 Image)"); }
void LumCopy(ZBW32 value, ZROI<ZBW32>* destination) { CopyConst(value, destination, "LumCopy (BW32 Const)"); }
void LumCopy(const ZROI<ZBW32>* source, ZROI<ZBW32>* destination) { CopyImage(source, destination, "LumCopy (BW32 Image)"); }
void LumCopy(ZC15 value, ZROI<ZC15>* destination) { CopyConst(value, destination, "LumCopy (C15 Const)"); }
void LumCopy(const ZROI<ZC15>* source, ZROI<ZC15>* destination) { CopyImage(source, destination, "LumCopy ( C15 Image)"); }
void LumCopy(ZC16 value, ZROI<ZC16>* destination) { CopyConst(value, destination, "LumCopy (C16 Const)"); }
void LumCopy(const ZROI<ZC16>* source, ZROI<ZC16>* destination) { CopyImage(source, destination, "LumCopy ( C16 Image)"); }
void LumCopy(ZC24 value, ZROI<ZC24>* destination) { CopyConst(value, destination, "LumCopy (C24 Const)"); }
void LumCopy(const ZROI<ZC24>* source, ZROI<ZC24>* destination) { CopyImage(source, destination, "LumCopy ( C24 Image)"); }
