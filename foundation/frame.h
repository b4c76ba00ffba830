// The call frame of an operator, as reusable pieces.
//
// An outer operator reads like this:
//
//   void LumCopy(ZBW8 value, ZROI<ZBW8>* destination) {
//     if (frame::Enter()) FillWorker(value, destination);   // clear, gate
//     frame::Leave("LumCopy ( BW8 Const to Image)");        // trace on failure
//   }
//
// Workers check their views with the bracketed checks below (each clears, checks, and reports
// whether the state is still clear), set an error and return on failure, and never trace unless
// their own trace string is part of the interface. The packed one-bit operators use the exception
// style instead: the inner level throws Marvane::Ovidra::Exception, the outer one wraps its body
// in frame::Guard, which catches once, sets the number and traces.
#ifndef KELMIRA_FOUNDATION_FRAME_H
#define KELMIRA_FOUNDATION_FRAME_H

#include <initializer_list>

#include "kelmira/foundation.h"

namespace kelmira::frame {

// The licence gate: leaves the error state set when the operator may not run.
KELMIRA_API void Gate();  // exported for the tests of the frame helpers

inline bool Ok() { return ZGetError() == Z_ERROR_NONE; }

// Steps 2 to 4 of the frame: clear, gate, test. True when the operator may go on.
inline bool Enter() {
  ZOk();
  Gate();
  return Ok();
}

// An operator's own check failed: set its number. Returns false so that `return Fail(...)` reads.
inline bool Fail(Z_ERRORS error) {
  ZSetError(error);
  return false;
}

inline bool NotNull(const void* pointer) { return pointer != nullptr || Fail(Z_ERROR_NULL_IMAGE); }

// Bracketed foundation checks: ZOk, the check, ZGetError. A null view is 1400, never a crash.
inline bool NotVoid(const ZGenericROI* view) {
  ZOk();
  if (view == nullptr) return Fail(Z_ERROR_NULL_IMAGE);
  view->CheckNotVoid();
  return Ok();
}

inline bool SameSize(const ZGenericROI* view, const ZGenericROI* other) {
  ZOk();
  if (view == nullptr || other == nullptr) return Fail(Z_ERROR_NULL_IMAGE);
  view->CheckSameSize(other);
  return Ok();
}

// The checks of the pixel-wise workers, in their order: the void check of each source in turn,
// then of the destination, then the size of each source against the destination.
inline bool Operands(std::initializer_list<const ZGenericROI*> sources, const ZGenericROI* destination) {
  for (const ZGenericROI* s : sources)
    if (!NotVoid(s)) return false;
  if (!NotVoid(destination)) return false;
  for (const ZGenericROI* s : sources)
    if (!SameSize(s, destination)) return false;
  return true;
}

// A nested operator or a worker that can fail, in its bracket.
template <class F>
inline bool Step(F&& call) {
  ZOk();
  call();
  return Ok();
}

// Step 8 of a void operator: trace its string when the state holds a failure.
inline void Leave(const char* trace) {
  if (!Ok()) ZTraceError(trace);
}

// Steps 7 and 8 of a `short int` operator.
inline short int LeaveShort(const char* trace) {
  if (!Ok()) return static_cast<short int>(ZTraceError(trace));
  return static_cast<short int>(ZOk());
}

// ----- exception style of the packed one-bit operators -----

[[noreturn]] inline void Throw(Z_ERRORS error) { throw Marvane::Ovidra::Exception(error); }

inline void ThrowOnError() {
  if (const Z_ERRORS e = ZGetError(); e != Z_ERROR_NONE) Throw(e);
}

// Unbracketed foundation checks of an inner level: clear, check, throw the number it left.
inline void RequireNotVoid(const ZGenericROI* view) {
  ZOk();
  if (view == nullptr) Throw(Z_ERROR_NULL_IMAGE);
  view->CheckNotVoid();
  ThrowOnError();
}

inline void RequireSameSize(const ZGenericROI* view, const ZGenericROI* other) {
  ZOk();
  if (view == nullptr || other == nullptr) Throw(Z_ERROR_NULL_IMAGE);
  view->CheckSameSize(other);
  ThrowOnError();
}

// Entry of an inner level: clear, gate, and throw what the gate left.
inline void EnterInner() {
  ZOk();
  Gate();
  ThrowOnError();
}

// The inner level's checks of one source and its destination, in their order: void, void, size.
inline void RequireOperands(const ZGenericROI* source, const ZGenericROI* destination) {
  RequireNotVoid(source);
  RequireNotVoid(destination);
  RequireSameSize(source, destination);
}

// True when a packed view starts on a byte; the inner forms refuse any other.
inline bool ByteAligned(const ZGenericROI* view) { return view->GetBitOffset(0, 0) == 0; }
inline void RequireByteAligned(const ZGenericROI* view) {
  if (!ByteAligned(view)) Throw(Z_ERROR_BW1_NOT_ALIGNED);
}

// The one handler of an outer one-bit operator. Temporaries of `body` unwind before it runs.
template <class F>
inline void Guard(const char* trace, F&& body) {
  try {
    body();
  } catch (Marvane::Ovidra::Exception& e) {
    ZSetError(e.code);
    ZTraceError(trace);
  }
}

}  // namespace kelmira::frame

#endif  // KELMIRA_FOUNDATION_FRAME_H
