// LumThin and LumThick on BW8, BW16, C24 and BW1, and LumBiLevelThin/LumBiLevelThick: the frames,
// the checks of the pattern and the loop of the gray forms. The passes are in thin_engine.cc.
#include "kelmira/morphology/thin.h"

#include <memory>
#include <new>

#include "foundation/frame.h"
#include "foundation/pixel_traits.h"
#include "foundation/planes.h"
#include "foundation/rows.h"
#include "kelmira/pixelwise/oper.h"
#include "morphology/thin_engine.h"

namespace kelmira::thin {
namespace {

// The nine first coefficients as a pattern: 1703 for a kernel with no dimension of 3 (or a table
// too short for nine), 1700 without data, 1701 for a coefficient other than 0, 1 and -1.
Z_ERRORS ReadPattern(const ZKernel* kernel, Pattern* pattern) {
  if (kernel == nullptr) return Z_ERROR_KERNEL_NO_DATA;
  if (kernel->GetSizeX() != 3 && kernel->GetSizeY() != 3) return Z_ERROR_KERNEL_BAD_SIZE;
  const float* k = kernel->GetDataPtr();
  if (k == nullptr) return Z_ERROR_KERNEL_NO_DATA;
  if (kernel->GetAllocatedSize() < 9) return Z_ERROR_KERNEL_BAD_SIZE;
  *pattern = Pattern{};
  for (int i = 0; i < 9; ++i) {
    const float v = k[i];
    if (!(v == 0.0f || v == 1.0f || v == -1.0f)) return Z_ERROR_KERNEL_NOT_TERNARY;
    const uint32_t bit = PlaceBit(i % 3, i / 3);
    if (v != -1.0f) pattern->care |= bit;
    if (v == 1.0f) pattern->value |= bit;
  }
  return Z_ERROR_NONE;
}

// The first pass of the gray forms, from the packed source (the current plane) to the other
// plane: a matching pixel takes the target, any other one its binarised source value. It counts as
// a change where an edge pixel does not match, or where a match meets a destination pixel that did
// not hold the target yet.
template <class T>
bool FirstPass(Planes& planes, const rows::Rows<T>& destination, int width, int height, bool thick, bool wide) {
  constexpr T kHigh = static_cast<T>(~T{0});
  uint64_t* match = planes.Scratch(0);
  uint64_t* old = planes.Scratch(1);
  const int words = planes.words();
  bool changed = false;
  for (int y = 0; y < height; ++y) {
    const RowSet s = planes.Rows(y);
    MatchRow(s, planes.TermsOf(y), match, wide);
    const uint64_t* in = s.row[1];
    uint64_t* out = planes.Next(y);
    for (int i = 0; i < words; ++i) out[i] = thick ? in[i] | match[i] : in[i] & ~match[i];
    if (changed) continue;
    if (y == 0 || y + 1 == height) {
      uint64_t unmatched = 0;
      for (int i = 0; i + 1 < words; ++i) unmatched |= ~match[i];
      changed = (unmatched | (~match[words - 1] & s.lastMask)) != 0;
    } else {
      changed = (match[0] & 1) == 0 || ((match[words - 1] >> s.lastBit) & 1) == 0;
    }
    if (changed) continue;
    Pack(destination[y], width, thick ? kHigh : T{0}, old, wide);
    uint64_t hit = 0;
    for (int i = 0; i < words; ++i) hit |= match[i] & old[i];
    changed = hit != 0;
  }
  planes.Flip();
  return changed;
}

// The worker of the BW8 and BW16 forms, after the gate.
template <class P>
void Gray(ZROI<P>* source, ZROI<P>* destination, ZKernel* kernel, KERNEL_ROTATION rotation, int& iterations,
          bool thick) {
  using T = typename PixelTraits<P>::Storage_t;
  if (!frame::SameSize(source, destination)) return;
  if (source->GetImagePtr(0, 0) == nullptr || destination->GetImagePtr(0, 0) == nullptr) {
    frame::Fail(Z_ERROR_NULL_IMAGE);
    return;
  }
  Pattern pattern;
  if (const Z_ERRORS e = ReadPattern(kernel, &pattern); e != Z_ERROR_NONE) {
    frame::Fail(e);
    return;
  }
  const int limit = iterations;
  iterations = 0;
  if (static_cast<uint32_t>(rotation) > 2) {
    frame::Fail(Z_ERROR_ARGUMENT_4);
    return;
  }
  if (limit > 1023) {
    frame::Fail(Z_ERROR_ARGUMENT_5);
    return;
  }
  const int width = source->GetWidth(), height = source->GetHeight();
  Planes planes(width, height);
  if (!planes.ok()) {
    frame::Fail(Z_ERROR_NO_WORK_MEMORY);
    return;
  }
  // Passes to run: a negative limit runs none; 64 bits so that eight turns a pass never overflow.
  int64_t n = limit == 0 ? width : limit;
  if (n <= 0) return;
  if (rotation != 0) n *= 8;

  const bool wide = ZGetMMX() != 0;
  const bool outsideAgrees = kernel->GetOutsideValue() != 0;
  const rows::Rows<T> in(source), out(destination);
  for (int y = 0; y < height; ++y) Pack(in[y], width, T{0}, planes.Row(y), wide);

  int stall = 8, turn = 0;
  bool first = true;
  while (n > 0 && stall != 0) {
    ++iterations;
    if (turn == 0) stall = 8;
    --n;
    planes.SetPattern(pattern, outsideAgrees);
    const bool changed = first ? FirstPass<T>(planes, out, width, height, thick, wide) : planes.Pass(thick, wide);
    first = false;
    if (rotation == 0) {
      stall = changed ? 1 : 0;
    } else {
      pattern.care = Turn(pattern.care, rotation == KERNEL_ROTATION_CLOCKWISE);
      pattern.value = Turn(pattern.value, rotation == KERNEL_ROTATION_CLOCKWISE);
      if (!changed) --stall;
      if (++turn == 8) turn = 0;
    }
  }
  for (int y = 0; y < height; ++y) Unpack(planes.Row(y), width, static_cast<T>(~T{0}), out[y], wide);
  if (rotation != 0) iterations >>= 3;
}

template <class P>
short int GrayOuter(const char* trace, ZROI<P>* source, ZROI<P>* destination, ZKernel* kernel,
                    KERNEL_ROTATION rotation, int& iterations, bool thick) {
  if (frame::Enter()) Gray<P>(source, destination, kernel, rotation, iterations, thick);
  return frame::LeaveShort(trace);
}

void Colour(const char* trace, ZROI<ZC24>* source, ZROI<ZC24>* destination, ZKernel* kernel,
            KERNEL_ROTATION rotation, int& iterations, bool thick) {
  if (frame::Enter())
    planes::ForEachPlane(source, destination, [&](ZROI<ZBW8>* in, ZROI<ZBW8>* out, unsigned) {
      // The caller's count goes through: each plane's count is the next plane's limit.
      thick ? LumThick(in, out, kernel, rotation, iterations) : LumThin(in, out, kernel, rotation, iterations);
    });
  frame::Leave(trace);
}

// ----- packed one-bit views -----

short int Aligned(ZROI<ZBW1>* source, ZROI<ZBW1>* destination, ZKernel* kernel, KERNEL_ROTATION rotation,
                  int& iterations, bool thick) {
  frame::EnterInner();
  frame::RequireOperands(source, destination);
  frame::RequireByteAligned(source);
  frame::RequireByteAligned(destination);
  Pattern pattern;
  if (const Z_ERRORS e = ReadPattern(kernel, &pattern); e != Z_ERROR_NONE) frame::Throw(e);
  const int limit = iterations;
  iterations = 0;
  if (static_cast<uint32_t>(rotation) > 2) frame::Throw(Z_ERROR_ARGUMENT_4);
  if (limit > 1023) frame::Throw(Z_ERROR_ARGUMENT_5);
  const int width = source->GetWidth(), height = source->GetHeight();
  Planes planes(width, height);
  if (!planes.ok()) frame::Throw(Z_ERROR_NO_WORK_MEMORY);

  const rows::Rows<uint8_t> in(source), out(destination);
  for (int y = 0; y < height; ++y) planes.PackBits(in[y], y);
  const int result = RunBits(planes, pattern, kernel->GetOutsideValue() != 0, static_cast<int>(rotation), limit,
                             thick, ZGetMMX() != 0);
  for (int y = 0; y < height; ++y) planes.UnpackBits(y, out[y]);
  iterations = result;
  return static_cast<short int>(result);
}

std::unique_ptr<ZImage<ZBW1>> Temporary(const ZGenericROI* like) {
  // nothrow: a failed allocation of the image object is 1303 like one of its pixels.
  std::unique_ptr<ZImage<ZBW1>> image(new (std::nothrow) ZImage<ZBW1>(like->GetWidth(), like->GetHeight()));
  if (image == nullptr || image->GetImagePtr(0, 0) == nullptr) frame::Throw(Z_ERROR_NO_MEMORY);
  return image;
}

// Unaligned views are worked through aligned temporaries; every pixel of the destination is
// written, so its temporary needs none of its old bits.
short int Bits(const char* trace, ZROI<ZBW1>* source, ZROI<ZBW1>* destination, ZKernel* kernel,
               KERNEL_ROTATION rotation, int& iterations, bool thick) {
  if (!frame::Enter()) return frame::LeaveShort(trace);
  if (source == nullptr || destination == nullptr) {
    ZSetError(Z_ERROR_NULL_IMAGE);
    return static_cast<short int>(ZTraceError(trace));
  }
  frame::Guard(trace, [&] {
    std::unique_ptr<ZImage<ZBW1>> a, b;
    ZROI<ZBW1>* s = source;
    ZROI<ZBW1>* d = destination;
    if (source->GetImagePtr(0, 0) != nullptr && source->GetBitOffset(0, 0) != 0) {
      a = Temporary(source);
      LumBW1Alignment(source, a.get());
      s = a.get();
    }
    if (destination->GetImagePtr(0, 0) != nullptr && destination->GetBitOffset(0, 0) != 0) {
      b = Temporary(destination);
      d = b.get();
    }
    Aligned(s, d, kernel, rotation, iterations, thick);
    if (b) LumBW1UnAlignment(b.get(), destination);
  });
  return frame::Ok() ? static_cast<short int>(ZOk()) : static_cast<short int>(ZGetError());
}

}  // namespace
}  // namespace kelmira::thin

namespace thin = kelmira::thin;

short int LumThin(ZROI<ZBW8>* source, ZROI<ZBW8>* destination, ZKernel* kernel, KERNEL_ROTATION rotation,
                  int& iterations) {
  return thin::GrayOuter("LumThin", source, destination, kernel, rotation, iterations, false);
}
short int LumThick(ZROI<ZBW8>* source, ZROI<ZBW8>* destination, ZKernel* kernel, KERNEL_ROTATION rotation,
                   int& iterations) {
  return thin::GrayOuter("LumThick", source, destination, kernel, rotation, iterations, true);
}
short int LumBiLevelThin(ZROI<ZBW8>* source, ZROI<ZBW8>* destination, ZKernel* kernel, KERNEL_ROTATION rotation,
                         int& iterations) {
  return thin::GrayOuter("LumBiLevelThin", source, destination, kernel, rotation, iterations, false);
}
short int LumBiLevelThick(ZROI<ZBW8>* source, ZROI<ZBW8>* destination, ZKernel* kernel, KERNEL_ROTATION rotation,
                          int& iterations) {
  return thin::GrayOuter("LumBiLevelThick", source, destination, kernel, rotation, iterations, true);
}

void LumThin(ZROI<ZBW16>* source, ZROI<ZBW16>* destination, ZKernel* kernel, KERNEL_ROTATION rotation,
             int& iterations) {
  thin::GrayOuter("LumThin (BW16)", source, destination, kernel, rotation, iterations, false);
}
void LumThick(ZROI<ZBW16>* source, ZROI<ZBW16>* destination, ZKernel* kernel, KERNEL_ROTATION rotation,
              int& iterations) {
  thin::GrayOuter("LumThick (BW16)", source, destination, kernel, rotation, iterations, true);
}

void LumThin(ZROI<ZC24>* source, ZROI<ZC24>* destination, ZKernel* kernel, KERNEL_ROTATION rotation,
             int& iterations) {
  thin::Colour("LumThin ( C24)", source, destination, kernel, rotation, iterations, false);
}
void LumThick(ZROI<ZC24>* source, ZROI<ZC24>* destination, ZKernel* kernel, KERNEL_ROTATION rotation,
              int& iterations) {
  thin::Colour("LumThick ( C24)", source, destination, kernel, rotation, iterations, true);
}

short int LumThin(ZROI<ZBW1>* source, ZROI<ZBW1>* destination, ZKernel* kernel, KERNEL_ROTATION rotation,
                  int& iterations) {
  return thin::Bits("LumThin (BW1)", source, destination, kernel, rotation, iterations, false);
}
short int LumThick(ZROI<ZBW1>* source, ZROI<ZBW1>* destination, ZKernel* kernel, KERNEL_ROTATION rotation,
                   int& iterations) {
  return thin::Bits("LumThick (BW1)", source, destination, kernel, rotation, iterations, true);
}
short int LumThinAligned(ZROI<ZBW1>* source, ZROI<ZBW1>* destination, ZKernel* kernel, KERNEL_ROTATION rotation,
                         int& iterations) {
  return thin::Aligned(source, destination, kernel, rotation, iterations, false);
}
short int LumThickAligned(ZROI<ZBW1>* source, ZROI<ZBW1>* destination, ZKernel* kernel, KERNEL_ROTATION rotation,
                          int& iterations) {
  return thin::Aligned(source, destination, kernel, rotation, iterations, true);
}
