// The operators of the packed one-bit morphology: the Aligned forms (inner level, exception style:
// checks throw, no trace) and the plain forms (one handler around the aligned copies of unaligned
// views and the inner call). The pixels come from morphology/bw1_engine.cc.
#include <cstdint>

#include "foundation/frame.h"
#include "kelmira/morphology.h"
#include "kelmira/pixelwise/oper.h"
#include "morphology/bw1_engine.h"

namespace kelmira::bw1m {
namespace {

using Bits = ZROI<ZBW1>;

enum Kind { kErode, kDilate, kOpen, kClose, kWhiteTopHat, kBlackTopHat, kGradient };

// A box of half sizes (a, b), b possibly still "same as a"; or a disk of radius a.
struct Window {
  bool disk;
  uint32_t a;
  uint32_t b;
};

// The frame of an aligned form: clear, gate, the source's void check; a null destination is the
// source; a separate one has its void and size checks; both must start on a byte.
void EnterAligned(Bits* source, Bits*& destination) {
  frame::EnterInner();
  frame::RequireNotVoid(source);
  if (destination == nullptr) destination = source;
  if (destination != source) {
    frame::RequireNotVoid(destination);
    frame::RequireSameSize(source, destination);
  }
  frame::RequireByteAligned(source);
  frame::RequireByteAligned(destination);
}

// Sizes a temporary after `view`; 1303 when its pixels cannot be had.
void SizeAfter(ZImage<ZBW1>& image, const ZGenericROI* view) {
  ZOk();
  image.SetSize(view->GetWidth(), view->GetHeight());
  const bool empty = view->GetWidth() <= 0 || view->GetHeight() <= 0;
  if (!frame::Ok() || (!empty && image.GetImagePtr(0, 0) == nullptr)) frame::Throw(Z_ERROR_NO_MEMORY);
}

void Xor(const Bits* a, const Bits* b, Bits* destination) { LumOperAligned(ARITH_LOGIC_BIT_XOR, a, b, destination); }

void ErodeDilate(Bits* source, Bits* destination, Window w, bool max) {
  EnterAligned(source, destination);
  if (!w.disk && w.b == KELMIRA_MORPHO_SAME_AS_WIDTH) w.b = w.a;
  if (w.a == 0 && (w.disk || w.b == 0)) {  // a window of one pixel: a copy, or nothing in place
    if (destination != source) LumOperAligned(ARITH_LOGIC_COPY, source, destination);
    return;
  }
  if (w.disk)
    Disk(source, destination, w.a, max);
  else
    Box(source, destination, w.a, w.b, max);
}

void OpenClose(Bits* source, Bits* destination, const Window& w, bool close) {
  EnterAligned(source, destination);
  ErodeDilate(source, destination, w, close);
  ErodeDilate(destination, destination, w, !close);
}

// Source XOR its opening, or closing XOR source: the opening (closing) goes to a temporary of the
// source's size, so the work can be in place.
void TopHat(Bits* source, Bits* destination, const Window& w, bool black) {
  EnterAligned(source, destination);
  ZImage<ZBW1> t;
  SizeAfter(t, source);
  OpenClose(source, &t, w, black);
  if (black)
    Xor(&t, source, destination);
  else
    Xor(source, &t, destination);
}

// Dilation XOR erosion. Eroding into the temporary first protects the source in place.
void Gradient(Bits* source, Bits* destination, const Window& w) {
  EnterAligned(source, destination);
  ZImage<ZBW1> t;
  SizeAfter(t, source);
  ErodeDilate(source, &t, w, false);
  ErodeDilate(source, destination, w, true);
  Xor(destination, &t, destination);
}

void Run(Bits* source, Bits* destination, const Window& w, Kind kind) {
  switch (kind) {
    case kErode: return ErodeDilate(source, destination, w, false);
    case kDilate: return ErodeDilate(source, destination, w, true);
    case kOpen: return OpenClose(source, destination, w, false);
    case kClose: return OpenClose(source, destination, w, true);
    case kWhiteTopHat: return TopHat(source, destination, w, false);
    case kBlackTopHat: return TopHat(source, destination, w, true);
    case kGradient: return Gradient(source, destination, w);
  }
}

// The plain form around an aligned one. A null source is refused on the plain frame with
// `nullTrace`; the rest runs under the one handler, which traces `trace`. Unaligned views go
// through aligned temporaries: the source copied in, the destination computed and written back.
template <class Inner>
void Plain(const char* trace, const char* nullTrace, Bits* source, Bits* destination, Inner&& inner) {
  ZOk();
  if (source == nullptr) {
    ZSetError(Z_ERROR_NULL_IMAGE);
    ZTraceError(nullTrace);
    return;
  }
  frame::Guard(trace, [&] {
    ZImage<ZBW1> alignedSource, alignedDestination;
    const bool copySource = !frame::ByteAligned(source);
    const bool copyDestination = destination != nullptr && !frame::ByteAligned(destination);
    Bits* s = source;
    if (copySource) {
      SizeAfter(alignedSource, source);
      LumBW1Alignment(source, &alignedSource);
      s = &alignedSource;
    }
    if (copyDestination) SizeAfter(alignedDestination, destination);
    if (destination == nullptr) {
      inner(s, nullptr);
      if (copySource) LumBW1UnAlignment(&alignedSource, source);
      return;
    }
    inner(s, copyDestination ? &alignedDestination : destination);
    if (copyDestination) LumBW1UnAlignment(&alignedDestination, destination);
  });
}

void MedianAligned(Bits* source, Bits* destination) {
  frame::EnterInner();
  frame::RequireOperands(source, destination);
  frame::RequireByteAligned(source);
  frame::RequireByteAligned(destination);
  Median(source, destination);
}

}  // namespace
}  // namespace kelmira::bw1m

namespace bw1m = kelmira::bw1m;

#define KELMIRA_BW1_BOX(Name, Kind, NullTrace)                                                                 \
  void Name##Aligned(ZROI<ZBW1>* s, ZROI<ZBW1>* d, unsigned int w, unsigned int h) {                            \
    bw1m::Run(s, d, bw1m::Window{false, w, h}, bw1m::Kind);                                                      \
  }                                                                                                              \
  void Name(ZROI<ZBW1>* s, ZROI<ZBW1>* d, unsigned int w, unsigned int h) {                                     \
    bw1m::Plain(#Name " (BW1)", NullTrace, s, d, [&](ZROI<ZBW1>* a, ZROI<ZBW1>* b) { Name##Aligned(a, b, w, h); }); \
  }
#define KELMIRA_BW1_DISK(Name, Kind, NullTrace)                                                                \
  void Name##Aligned(ZROI<ZBW1>* s, ZROI<ZBW1>* d, unsigned int r) {                                            \
    bw1m::Run(s, d, bw1m::Window{true, r, 0}, bw1m::Kind);                                                       \
  }                                                                                                              \
  void Name(ZROI<ZBW1>* s, ZROI<ZBW1>* d, unsigned int r) {                                                     \
    bw1m::Plain(#Name " (BW1)", NullTrace, s, d, [&](ZROI<ZBW1>* a, ZROI<ZBW1>* b) { Name##Aligned(a, b, r); });    \
  }

KELMIRA_BW1_BOX(LumErodeBox, kErode, "LumErodeBox (BW1)")
KELMIRA_BW1_BOX(LumDilateBox, kDilate, "LumDilateBox (BW1)")
KELMIRA_BW1_BOX(LumOpenBox, kOpen, "LumOpenBox (BW1)")
KELMIRA_BW1_BOX(LumCloseBox, kClose, "LumCloseBox (BW1)")
KELMIRA_BW1_BOX(LumWhiteTopHatBox, kWhiteTopHat, "LumWhiteTophatBox (BW1)")
KELMIRA_BW1_BOX(LumBlackTopHatBox, kBlackTopHat, "LumBlackTopHatBox (BW1)")
KELMIRA_BW1_BOX(LumMorphoGradientBox, kGradient, "LumMorphoGradientBox (BW1)")
KELMIRA_BW1_DISK(LumErodeDisk, kErode, "LumErodeDisk (BW1)")
KELMIRA_BW1_DISK(LumDilateDisk, kDilate, "LumDilateDisk (BW1)")
KELMIRA_BW1_DISK(LumOpenDisk, kOpen, "LumOpenDisk (BW1)")
KELMIRA_BW1_DISK(LumCloseDisk, kClose, "LumCloseDisk (BW1)")
KELMIRA_BW1_DISK(LumWhiteTopHatDisk, kWhiteTopHat, "LumWhiteTophatDisk (BW1)")
KELMIRA_BW1_DISK(LumBlackTopHatDisk, kBlackTopHat, "LumBlackTophatDisk (BW1)")
KELMIRA_BW1_DISK(LumMorphoGradientDisk, kGradient, "LumMorphoGradientDisk (BW1)")
#undef KELMIRA_BW1_BOX
#undef KELMIRA_BW1_DISK

void LumMedianAligned(ZROI<ZBW1>* source, ZROI<ZBW1>* destination) { bw1m::MedianAligned(source, destination); }

void LumMedian(ZROI<ZBW1>* source, ZROI<ZBW1>* destination) {
  bw1m::Plain("LumMedian (BW1)", "LumMedian (BW1)", source, destination, LumMedianAligned);
}
