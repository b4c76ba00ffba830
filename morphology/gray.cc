// Box and disk morphology on BW8, BW16 and C24: erosion, dilation, opening, closing, the top
// hats and the gradient. The frames are written once over the pixel type; the pixels come from
// the engine (morphology/gray_engine.cc).
#include <cstdint>

#include "foundation/frame.h"
#include "foundation/pixel_traits.h"
#include "kelmira/morphology.h"
#include "kelmira/pixelwise/oper.h"
#include "morphology/gray_engine.h"
#include "morphology/gray_words.h"

namespace kelmira::morpho {
namespace {

// A box of half sizes (a, b), b possibly still "same as a"; or a disk of radius a.
struct Window {
  bool disk;
  uint32_t a;
  uint32_t b;
};

template <class P>
const char* Word(const Window& w, Kind kind) {
  return w.disk ? Words<P>::disk[kind] : Words<P>::box[kind];
}

// The erosion or dilation is described as a chain of elementary 3-wide passes, each with a frame
// of its own that opens with ZOk. Only the last one's outcome stays visible, and the 1-D and
// cross passes trace their word even on success. The engine computes the chain's pixels in one
// go; LastOf names the chain's last pass so that the state comes out as the chain leaves it
// (kNone when no pass runs: a copy, or nothing).
enum LastPass { kNone, kX, kY, kCross, kSquare };

LastPass LastOf(const Window& w) {
  if (w.disk) return w.a == 0 ? kNone : kCross;
  if (w.a == w.b) return w.a == 0 ? kNone : kSquare;
  return w.a > w.b ? kX : kY;
}

// The arithmetic of the compounds: operation 3 (a - b stopping at 0) and the plain copy of the
// pixel-wise engine, each with its own frame and trace.
template <class P>
void Subtract(ZROI<P>* a, ZROI<P>* b, ZROI<P>* destination) {
  LumOper(ARITH_LOGIC_SUBTRACT, a, b, destination);
}

inline void Copy(ZROI<ZBW8>* source, ZROI<ZBW8>* destination) { LumOper(ARITH_LOGIC_COPY, source, destination); }
inline void Copy(ZROI<ZBW16>* source, ZROI<ZBW16>* destination) { LumCopy(source, destination); }

template <class P>
void ErodeDilate(ZROI<P>* source, ZROI<P>* destination, Window w, bool max) {
  using T = typename PixelTraits<P>::Storage_t;
  const char* trace = Word<P>(w, max ? kDilate : kErode);
  if (!frame::Enter() || !frame::NotVoid(source)) return frame::Leave(trace);
  if (!w.disk && w.b == KELMIRA_MORPHO_SAME_AS_WIDTH) w.b = w.a;
  const bool inPlace = destination == nullptr || destination == source;
  if (!inPlace && (!frame::NotVoid(destination) || !frame::SameSize(destination, source)))
    return frame::Leave(trace);
  if (inPlace) destination = source;
  ZOk();
  const LastPass last = LastOf(w);
  if (last == kNone) {  // a window of one pixel: a copy, or nothing in place
    if (!inPlace) Copy(source, destination);
    return;
  }
  const bool wide = ZGetMMX() != 0;
  const bool done = w.disk ? Disk<T>(source, destination, w.a, max, wide)
                           : Box<T>(source, destination, w.a, w.b, max, wide);
  if (!done) ZSetError(Z_ERROR_NO_MEMORY);
  switch (last) {
    case kNone: break;  // not reached
    case kX: ZTraceError(Words<P>::x[max]); break;
    case kY: ZTraceError(Words<P>::y[max]); break;
    case kCross: ZTraceError(Words<P>::cross[max]); break;
    case kSquare:  // traces only on failure, after the scalar two-pass worker it runs without wide
      if (!done) {
        if (!Words<P>::kWideSquare || !wide) ZTraceError(Words<P>::twoPass[max]);
        ZTraceError(Words<P>::square[max]);
      }
      break;
  }
}

// Checks shared by the opening, closing and top hats for a separate destination.
template <class P>
bool SeparateDestinationOk(ZROI<P>* source, ZROI<P>* destination) {
  if (destination == nullptr || destination == source) return true;
  return frame::NotVoid(destination) && frame::SameSize(destination, source);
}

template <class P>
void OpenClose(ZROI<P>* source, ZROI<P>* destination, const Window& w, bool close) {
  const char* trace = Word<P>(w, close ? kClose : kOpen);
  if (!frame::Enter() || !frame::NotVoid(source) || !SeparateDestinationOk(source, destination))
    return frame::Leave(trace);
  if (destination == nullptr) destination = source;
  // The two halves do not read the state between them: what stays is the second one's outcome.
  ErodeDilate<P>(source, destination, w, close);
  ErodeDilate<P>(destination, destination, w, !close);
}

template <class P>
void TopHat(ZROI<P>* source, ZROI<P>* destination, Window w, bool black) {
  const char* trace = Word<P>(w, black ? kBlackTopHat : kWhiteTopHat);
  if (!frame::Enter() || !frame::NotVoid(source)) return frame::Leave(trace);
  const bool inPlace = destination == nullptr || destination == source;
  // A separate destination holds the opening (closing) itself: the subtraction reads each of its
  // pixels before writing it, so the pixels, the state and the trace are those of the sequence
  // through a temporary, without allocating and filling one.
  ZImage<P> t;
  if (inPlace && !frame::Step([&] { t.SetSize(static_cast<const ZGenericROI*>(source)); }))
    return frame::Leave(trace);
  if (!w.disk && w.b == KELMIRA_MORPHO_SAME_AS_WIDTH) w.b = w.a;
  if (!SeparateDestinationOk(source, destination)) return frame::Leave(trace);
  ZROI<P>* opened = inPlace ? &t : destination;
  if (inPlace) destination = source;
  OpenClose<P>(source, opened, w, black);
  if (black)
    Subtract<P>(opened, source, destination);
  else
    Subtract<P>(source, opened, destination);
  frame::Leave(trace);
}

template <class P>
void Gradient(ZROI<P>* source, ZROI<P>* destination, const Window& w) {
  const char* trace = Word<P>(w, kGradient);
  if (!frame::Enter() || !frame::NotVoid(source)) return frame::Leave(trace);
  if (destination != nullptr && !frame::SameSize(destination, source)) return frame::Leave(trace);
  ZImage<P> t;
  if (!frame::Step([&] { t.SetSize(static_cast<const ZGenericROI*>(source)); })) return frame::Leave(trace);
  if (destination == nullptr) destination = source;
  // Eroding into the temporary first protects the source when the work is in place. The state is
  // not read after the three steps.
  ErodeDilate<P>(source, &t, w, false);
  ErodeDilate<P>(source, destination, w, true);
  Subtract<P>(destination, &t, destination);
}

template <class P>
void Run(ZROI<P>* source, ZROI<P>* destination, const Window& w, Kind kind) {
  switch (kind) {
    case kErode: return ErodeDilate<P>(source, destination, w, false);
    case kDilate: return ErodeDilate<P>(source, destination, w, true);
    case kOpen: return OpenClose<P>(source, destination, w, false);
    case kClose: return OpenClose<P>(source, destination, w, true);
    case kWhiteTopHat: return TopHat<P>(source, destination, w, false);
    case kBlackTopHat: return TopHat<P>(source, destination, w, true);
    case kGradient: return Gradient<P>(source, destination, w);
  }
}

// C24: the BW8 operator on each component in turn, each call bracketed; a failure stops at the
// component where it happens. The top hats need a separate destination and go from one plane
// copy to another; the others work in place on one plane copy.
void RunColour(ZROI<ZC24>* source, ZROI<ZC24>* destination, const Window& w, Kind kind) {
  const char* trace = Word<ZC24>(w, kind);
  const bool topHat = kind == kWhiteTopHat || kind == kBlackTopHat;
  if (!frame::Enter() || !frame::NotVoid(source)) return frame::Leave(trace);
  if (topHat && (destination == nullptr || destination == source)) {
    frame::Fail(Z_ERROR_NEED_SEPARATE_DESTINATION);
    return frame::Leave(trace);
  }
  if (destination == nullptr) destination = source;
  if (destination != source && !frame::SameSize(destination, source)) return frame::Leave(trace);
  const int width = source->GetWidth(), height = source->GetHeight();
  ZImage<ZBW8> t, u;
  if (!frame::Step([&] { t.SetSize(width, height); })) return frame::Leave(trace);
  if (topHat && !frame::Step([&] { u.SetSize(width, height); })) return frame::Leave(trace);
  ZImage<ZBW8>* result = topHat ? &u : &t;
  for (unsigned k = 0; k < 3; ++k) {
    if (!frame::Step([&] { HueGetComponent(source, &t, k, nullptr); }) ||
        !frame::Step([&] { Run<ZBW8>(&t, topHat ? &u : nullptr, w, kind); }) ||
        !frame::Step([&] { HueSetComponent(result, destination, k); }))
      return frame::Leave(trace);
  }
}

void Dispatch(ZROI<ZBW8>* s, ZROI<ZBW8>* d, const Window& w, Kind kind) { Run<ZBW8>(s, d, w, kind); }
void Dispatch(ZROI<ZBW16>* s, ZROI<ZBW16>* d, const Window& w, Kind kind) { Run<ZBW16>(s, d, w, kind); }
void Dispatch(ZROI<ZC24>* s, ZROI<ZC24>* d, const Window& w, Kind kind) { RunColour(s, d, w, kind); }

}  // namespace
}  // namespace kelmira::morpho

using kelmira::morpho::Kind;
using kelmira::morpho::Window;

#define KELMIRA_MORPHO_GRAY_FORMS(T)                                                                       \
  void LumErodeBox(ZROI<T>* s, ZROI<T>* d, unsigned int w, unsigned int h) {                               \
    kelmira::morpho::Dispatch(s, d, Window{false, w, h}, kelmira::morpho::kErode);                           \
  }                                                                                                        \
  void LumDilateBox(ZROI<T>* s, ZROI<T>* d, unsigned int w, unsigned int h) {                              \
    kelmira::morpho::Dispatch(s, d, Window{false, w, h}, kelmira::morpho::kDilate);                          \
  }                                                                                                        \
  void LumOpenBox(ZROI<T>* s, ZROI<T>* d, unsigned int w, unsigned int h) {                                \
    kelmira::morpho::Dispatch(s, d, Window{false, w, h}, kelmira::morpho::kOpen);                            \
  }                                                                                                        \
  void LumCloseBox(ZROI<T>* s, ZROI<T>* d, unsigned int w, unsigned int h) {                               \
    kelmira::morpho::Dispatch(s, d, Window{false, w, h}, kelmira::morpho::kClose);                           \
  }                                                                                                        \
  void LumWhiteTopHatBox(ZROI<T>* s, ZROI<T>* d, unsigned int w, unsigned int h) {                         \
    kelmira::morpho::Dispatch(s, d, Window{false, w, h}, kelmira::morpho::kWhiteTopHat);                     \
  }                                                                                                        \
  void LumBlackTopHatBox(ZROI<T>* s, ZROI<T>* d, unsigned int w, unsigned int h) {                         \
    kelmira::morpho::Dispatch(s, d, Window{false, w, h}, kelmira::morpho::kBlackTopHat);                     \
  }                                                                                                        \
  void LumMorphoGradientBox(ZROI<T>* s, ZROI<T>* d, unsigned int w, unsigned int h) {                      \
    kelmira::morpho::Dispatch(s, d, Window{false, w, h}, kelmira::morpho::kGradient);                        \
  }                                                                                                        \
  void LumErodeDisk(ZROI<T>* s, ZROI<T>* d, unsigned int r) {                                              \
    kelmira::morpho::Dispatch(s, d, Window{true, r, 0}, kelmira::morpho::kErode);                            \
  }                                                                                                        \
  void LumDilateDisk(ZROI<T>* s, ZROI<T>* d, unsigned int r) {                                             \
    kelmira::morpho::Dispatch(s, d, Window{true, r, 0}, kelmira::morpho::kDilate);                           \
  }                                                                                                        \
  void LumOpenDisk(ZROI<T>* s, ZROI<T>* d, unsigned int r) {                                               \
    kelmira::morpho::Dispatch(s, d, Window{true, r, 0}, kelmira::morpho::kOpen);                             \
  }                                                                                                        \
  void LumCloseDisk(ZROI<T>* s, ZROI<T>* d, unsigned int r) {                                              \
    kelmira::morpho::Dispatch(s, d, Window{true, r, 0}, kelmira::morpho::kClose);                            \
  }                                                                                                        \
  void LumWhiteTopHatDisk(ZROI<T>* s, ZROI<T>* d, unsigned int r) {                                        \
    kelmira::morpho::Dispatch(s, d, Window{true, r, 0}, kelmira::morpho::kWhiteTopHat);                      \
  }                                                                                                        \
  void LumBlackTopHatDisk(ZROI<T>* s, ZROI<T>* d, unsigned int r) {                                        \
    kelmira::morpho::Dispatch(s, d, Window{true, r, 0}, kelmira::morpho::kBlackTopHat);                      \
  }                                                                                                        \
  void LumMorphoGradientDisk(ZROI<T>* s, ZROI<T>* d, unsigned int r) {                                     \
    kelmira::morpho::Dispatch(s, d, Window{true, r, 0}, kelmira::morpho::kGradient);                         \
  }
KELMIRA_MORPHO_GRAY_FORMS(ZBW8)
KELMIRA_MORPHO_GRAY_FORMS(ZBW16)
KELMIRA_MORPHO_GRAY_FORMS(ZC24)
#undef KELMIRA_MORPHO_GRAY_FORMS
