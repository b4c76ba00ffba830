// LumOper and LumCopy on packed one-bit views, and the alignment operators they rest on.
//
// Inner level (the Aligned forms, LumBW1Alignment, LumBW1UnAlignment): checks throw
// Marvane::Ovidra::Exception; views must be byte-aligned; rows are whole bytes, eight pixels at a
// time, with the spare bits of a destination's last byte kept. Outer level (the plain forms):
// null pointers on the plain frame, then one handler around the aligned copies of unaligned views
// and the inner call.
#include <memory>
#include <new>

#include "foundation/frame.h"
#include "foundation/rows.h"
#include "kelmira/pixelwise/oper.h"

namespace kelmira::bw1 {
namespace {

using Bits = const ZROI<ZBW1>*;

// Entry of the one-source inner forms: gate, then the checks in their order (void, size, aligned).
void EnterOneSource(const ZGenericROI* source, const ZGenericROI* destination) {
  frame::EnterInner();
  frame::RequireOperands(source, destination);
  frame::RequireByteAligned(source);
  frame::RequireByteAligned(destination);
}

// The bits of a last byte that belong to a row of `width` pixels.
uint8_t LastMask(int width) {
  const int r = width & 7;
  return r == 0 ? 0xFF : static_cast<uint8_t>(0xFF << (8 - r));
}
void Put(uint8_t* d, uint8_t value, uint8_t mask) { *d = static_cast<uint8_t>((*d & ~mask) | (value & mask)); }

// d = op(a, b, d) on every byte of the aligned rows; a and b may be null when op ignores them.
template <class Op>
void ByteRows(Bits a, Bits b, ZROI<ZBW1>* d, Op op) {
  const int width = d->GetWidth(), height = d->GetHeight(), n = (width + 7) / 8;
  if (n == 0) return;  // rows without a pixel: there is no last byte to mask
  const uint8_t last = LastMask(width);
  const rows::Rows<uint8_t> rd(d);
  const rows::Rows<const uint8_t> ra(a ? a : d), rb(b ? b : d);
  for (int y = 0; y < height; ++y) {
    const uint8_t *pa = ra[y], *pb = rb[y];
    uint8_t* pd = rd[y];
    for (int i = 0; i + 1 < n; ++i) pd[i] = op(pa[i], pb[i], pd[i]);
    Put(pd + n - 1, op(pa[n - 1], pb[n - 1], pd[n - 1]), last);
  }
}

// The byte operation of a code on the bit planes a, b and the destination's old bits d.
uint8_t Apply(int code, uint8_t a, uint8_t b, uint8_t d) {
  switch (code) {
    case 0: return a;
    case 1: return static_cast<uint8_t>(~a);
    case 13: return a & b;
    case 14: return a | b;
    case 15: return a ^ b;
    case 21: return static_cast<uint8_t>((d & a) | (~a & b));
    case 22: return static_cast<uint8_t>((a & b) | (d & ~a));
    default: return static_cast<uint8_t>(~a | b);  // 26
  }
}
template <int kCode>
uint8_t ApplyCode(uint8_t a, uint8_t b, uint8_t d) {
  return Apply(kCode, a, b, d);
}

void Fill(ZROI<ZBW1>* d, ZBW1 value) {
  const uint8_t v = value.value ? 0xFF : 0x00;
  ByteRows(nullptr, nullptr, d, [v](uint8_t, uint8_t, uint8_t) { return v; });
}

// Runs `inner` on aligned views: each unaligned source is first copied into an aligned temporary;
// an unaligned destination is computed in an aligned temporary (holding its old bits when the
// code reads them) and written back bit-exactly.
template <class Inner>
void ThroughAligned(std::initializer_list<Bits> sources, ZROI<ZBW1>* destination, bool readsDestination,
                    Inner&& inner) {
  for (Bits s : sources) frame::RequireNotVoid(s);
  frame::RequireNotVoid(destination);
  for (Bits s : sources) frame::RequireSameSize(s, destination);
  const int width = destination->GetWidth(), height = destination->GetHeight();
  const auto temporary = [&]() {
    // nothrow: a failed allocation of the image object is 1303 like one of its pixels.
    std::unique_ptr<ZImage<ZBW1>> t(new (std::nothrow) ZImage<ZBW1>(width, height));
    if (t == nullptr || t->GetImagePtr(0, 0) == nullptr) frame::Throw(Z_ERROR_NO_MEMORY);
    return t;
  };
  std::unique_ptr<ZImage<ZBW1>> copies[2];
  Bits aligned[2] = {nullptr, nullptr};
  int k = 0;
  for (Bits s : sources) {
    aligned[k] = s;
    if (!frame::ByteAligned(s)) {
      copies[k] = temporary();
      LumBW1Alignment(s, copies[k].get());
      aligned[k] = copies[k].get();
    }
    ++k;
  }
  if (frame::ByteAligned(destination)) return inner(aligned[0], aligned[1], destination);
  const auto work = temporary();
  if (readsDestination) LumBW1Alignment(destination, work.get());
  inner(aligned[0], aligned[1], work.get());
  LumBW1UnAlignment(work.get(), destination);
}

// The plain frame of an outer one-bit operator: a null pointer is traced plainly with
// `nullTrace`; everything after it runs inside the one handler, which traces `trace`.
template <class Body>
void Outer(const char* nullTrace, const char* trace, std::initializer_list<const void*> pointers, Body&& body) {
  if (!frame::Enter()) return frame::Leave(nullTrace);
  for (const void* p : pointers)
    if (p == nullptr) {
      ZSetError(Z_ERROR_NULL_IMAGE);
      ZTraceError(nullTrace);
      return;
    }
  frame::Guard(trace, body);
}

}  // namespace
}  // namespace kelmira::bw1

namespace bw1 = kelmira::bw1;
namespace frame = kelmira::frame;
using kelmira::bw1::Bits;

// ----- inner level -----

void LumCopyAligned(ZBW1 value, ZROI<ZBW1>* destination) {
  frame::EnterInner();
  frame::RequireNotVoid(destination);
  frame::RequireByteAligned(destination);
  bw1::Fill(destination, value);
}

void LumCopyAligned(const ZROI<ZBW1>* source, ZROI<ZBW1>* destination) {
  bw1::EnterOneSource(source, destination);
  if (source->GetImagePtr(0, 0) == destination->GetImagePtr(0, 0)) return;
  bw1::ByteRows(source, nullptr, destination, bw1::ApplyCode<0>);
}

void LumOperAligned(ARITH_LOGIC_OPERATIONS code, ZBW1 value, ZROI<ZBW1>* destination) {
  if (code != ARITH_LOGIC_COPY) frame::Throw(Z_ERROR_BAD_OPERATION);
  LumCopyAligned(value, destination);
}

void LumOperAligned(ARITH_LOGIC_OPERATIONS code, const ZROI<ZBW1>* source, ZROI<ZBW1>* destination) {
  if (code != ARITH_LOGIC_COPY && code != ARITH_LOGIC_INVERT) frame::Throw(Z_ERROR_BAD_OPERATION);
  if (code == ARITH_LOGIC_COPY) return LumCopyAligned(source, destination);
  bw1::EnterOneSource(source, destination);
  bw1::ByteRows(source, nullptr, destination, bw1::ApplyCode<1>);
}

namespace kelmira::bw1 {
namespace {
bool TwoSourceCode(int code) {
  return code == 13 || code == 14 || code == 15 || code == 21 || code == 22 || code == 26;
}
}  // namespace
}  // namespace kelmira::bw1

void LumOperAligned(ARITH_LOGIC_OPERATIONS code, const ZROI<ZBW1>* sourceA, const ZROI<ZBW1>* sourceB,
                    ZROI<ZBW1>* destination) {
  if (!bw1::TwoSourceCode(code)) frame::Throw(Z_ERROR_BAD_OPERATION);
  frame::EnterInner();
  frame::RequireNotVoid(sourceA);
  frame::RequireNotVoid(sourceB);
  frame::RequireNotVoid(destination);
  frame::RequireSameSize(sourceA, destination);
  frame::RequireSameSize(sourceB, destination);
  frame::RequireByteAligned(sourceA);
  frame::RequireByteAligned(sourceB);
  frame::RequireByteAligned(destination);
  switch (code) {
    case 13: return bw1::ByteRows(sourceA, sourceB, destination, bw1::ApplyCode<13>);
    case 14: return bw1::ByteRows(sourceA, sourceB, destination, bw1::ApplyCode<14>);
    case 15: return bw1::ByteRows(sourceA, sourceB, destination, bw1::ApplyCode<15>);
    case 21: return bw1::ByteRows(sourceA, sourceB, destination, bw1::ApplyCode<21>);
    case 22: return bw1::ByteRows(sourceA, sourceB, destination, bw1::ApplyCode<22>);
    default: return bw1::ByteRows(sourceA, sourceB, destination, bw1::ApplyCode<26>);
  }
}

void LumBW1Alignment(const ZROI<ZBW1>* source, ZROI<ZBW1>* destination) {
  frame::EnterInner();
  frame::RequireOperands(source, destination);
  frame::RequireByteAligned(destination);
  // Each destination byte takes its bits from two neighbouring source bytes; a shift of 0 is a
  // plain copy. The source row is never read past its last byte.
  const int s = source->GetBitOffset(0, 0);
  const int width = destination->GetWidth(), height = destination->GetHeight();
  const int n = (width + 7) / 8, sourceBytes = (s + width + 7) / 8;
  const uint8_t last = bw1::LastMask(width);
  const kelmira::rows::Rows<const uint8_t> rs(source);
  const kelmira::rows::Rows<uint8_t> rd(destination);
  for (int y = 0; y < height; ++y) {
    const uint8_t* src = rs[y];
    uint8_t* dst = rd[y];
    for (int i = 0; i < n; ++i) {
      const uint32_t next = s != 0 && i + 1 < sourceBytes ? src[i + 1] >> (8 - s) : 0;
      const uint8_t v = static_cast<uint8_t>((uint32_t{src[i]} << s) | next);
      if (i + 1 < n)
        dst[i] = v;
      else
        bw1::Put(dst + i, v, last);
    }
  }
}

void LumBW1UnAlignment(const ZROI<ZBW1>* source, ZROI<ZBW1>* destination) {
  frame::EnterInner();
  frame::RequireNotVoid(source);
  frame::RequireByteAligned(source);
  frame::RequireNotVoid(destination);
  frame::RequireSameSize(source, destination);
  if (frame::ByteAligned(destination)) return LumCopyAligned(source, destination);
  // The destination's bytes hold bits ahead of and past the view: every byte is written under a
  // mask of the view's bits, and each takes its bits from two neighbouring source bytes.
  const int s = destination->GetBitOffset(0, 0);
  const int width = destination->GetWidth(), height = destination->GetHeight();
  const int n = (width + 7) / 8, destinationBytes = (s + width + 7) / 8;
  const kelmira::rows::Rows<const uint8_t> rs(source);
  const kelmira::rows::Rows<uint8_t> rd(destination);
  for (int y = 0; y < height; ++y) {
    const uint8_t* src = rs[y];
    uint8_t* dst = rd[y];
    for (int j = 0; j < destinationBytes; ++j) {
      const uint32_t before = j > 0 ? uint32_t{src[j - 1]} << (8 - s) : 0;
      const uint32_t here = j < n ? src[j] >> s : 0;
      const int lo = s - 8 * j > 0 ? s - 8 * j : 0;
      const int hi = s + width - 8 * j < 8 ? s + width - 8 * j : 8;
      const uint8_t mask = static_cast<uint8_t>((0xFF >> lo) & (0xFF << (8 - hi)));
      bw1::Put(dst + j, static_cast<uint8_t>(before | here), mask);
    }
  }
}

// ----- outer level -----

void LumCopy(ZBW1 value, ZROI<ZBW1>* destination) {
  bw1::Outer("LumCopy (BW1)", "LumCopy(BW1)", {destination}, [&] {
    bw1::ThroughAligned({}, destination, false, [&](Bits, Bits, ZROI<ZBW1>* d) { LumCopyAligned(value, d); });
  });
}

void LumCopy(const ZROI<ZBW1>* source, ZROI<ZBW1>* destination) {
  bw1::Outer("LumCopy (BW1)", "LumCopy(BW1)", {source, destination}, [&] {
    bw1::ThroughAligned({source}, destination, false, [&](Bits a, Bits, ZROI<ZBW1>* d) { LumCopyAligned(a, d); });
  });
}

void LumOper(ARITH_LOGIC_OPERATIONS code, ZBW1 value, ZROI<ZBW1>* destination) {
  bw1::Outer("LumOper (BW1)", "LumOper (BW1)", {destination}, [&] {
    if (code != ARITH_LOGIC_COPY) frame::Throw(Z_ERROR_BAD_OPERATION);
    bw1::ThroughAligned({}, destination, false,
                        [&](Bits, Bits, ZROI<ZBW1>* d) { LumOperAligned(code, value, d); });
  });
}

void LumOper(ARITH_LOGIC_OPERATIONS code, const ZROI<ZBW1>* source, ZROI<ZBW1>* destination) {
  bw1::Outer("LumOper (BW1)", "LumOper (BW1)", {source, destination}, [&] {
    if (code != ARITH_LOGIC_COPY && code != ARITH_LOGIC_INVERT) frame::Throw(Z_ERROR_BAD_OPERATION);
    bw1::ThroughAligned({source}, destination, false,
                        [&](Bits a, Bits, ZROI<ZBW1>* d) { LumOperAligned(code, a, d); });
  });
}

void LumOper(ARITH_LOGIC_OPERATIONS code, const ZROI<ZBW1>* sourceA, const ZROI<ZBW1>* sourceB,
             ZROI<ZBW1>* destination) {
  bw1::Outer("LumOper (BW1)", "LumOper (BW1)", {sourceA, sourceB, destination}, [&] {
    if (!bw1::TwoSourceCode(code)) frame::Throw(Z_ERROR_BAD_OPERATION);
    const bool readsDestination = code == 21 || code == 22;
    bw1::ThroughAligned({sourceA, sourceB}, destination, readsDestination,
                        [&](Bits a, Bits b, ZROI<ZBW1>* d) { LumOperAligned(code, a, b, d); });
  });
}
