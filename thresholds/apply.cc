// Threshold application with a global level: BW8 and BW16 to their own type, to packed one-bit,
// the double threshold and the colour box. The level is resolved once, then each row goes through
// the scalar rule or its wide twin (apply_wide.cc), which give the same bytes.
#include <cstring>
#include <type_traits>
#include <vector>

#include "foundation/frame.h"
#include "foundation/rows.h"
#include "kelmira/pixelwise/oper.h"
#include "kelmira/thresholds.h"
#include "thresholds/apply_rows.h"

namespace kelmira::threshold {
namespace {

bool Wide() { return ZGetMMX() != 0; }

// Runs fn(sourceRow, destinationRow) over the rows of two views of the same size.
template <class S, class D, class Fn>
void EachRow(const ZGenericROI* source, ZGenericROI* destination, Fn&& fn) {
  const rows::Rows<S> in(source);
  const rows::Rows<D> out(destination);
  for (int y = 0; y < destination->GetHeight(); ++y) fn(in[y], out[y]);
}

// The automatic level: a value at or above `limit` is a mode, resolved from the histogram of the
// whole source. On a failed selection the level keeps the value given and the selection's error
// is returned (its trace is already written); the caller still fills the destination.
Z_ERRORS ResolveLevel(ZROI<ZBW8>* source, unsigned& level, float relative, unsigned limit) {
  if (level < limit) return Z_ERROR_NONE;
  ZBWHistogramVector histogram;
  LumHistogram(source, &histogram);
  if (!frame::Ok()) return ZGetError();
  unsigned chosen = level;
  float below = 0.0f, above = 0.0f;
  LumHistogramThreshold(&histogram, chosen, below, above, relative, 0, 255);
  if (!frame::Ok()) return ZGetError();
  level = chosen;
  return Z_ERROR_NONE;
}

Z_ERRORS ResolveLevel(ZROI<ZBW16>* source, unsigned& level, float relative, unsigned limit) {
  if (level < limit) return Z_ERROR_NONE;
  ZBWHistogramVector histogram;
  LumHistogram(source, &histogram, 15, 16, 0);
  if (!frame::Ok()) return ZGetError();
  unsigned chosen = level;
  float below = 0.0f, above = 0.0f;
  LumHistogramThresholdBW16(&histogram, chosen, below, above, relative, 0, 65535);
  if (!frame::Ok()) return ZGetError();
  level = chosen;
  return Z_ERROR_NONE;
}

// BW8: one table of 256 results. The described table is the mask (0 or 255), applied as
// is when below is 0 and above 255, else as (mask & (below ^ above)) ^ below; both give exactly
// the entry built here, so one look-up serves both ways.
void ApplyLevel(ZROI<ZBW8>* source, ZROI<ZBW8>* destination, unsigned level, uint8_t below, uint8_t above) {
  const int n = destination->GetWidth();
  if (Wide()) {
    EachRow<uint8_t, uint8_t>(source, destination,
                              [&](uint8_t* s, uint8_t* d) { WideThresholdRow8(s, d, n, level, below, above); });
    return;
  }
  uint8_t table[256];
  for (unsigned v = 0; v < 256; ++v) table[v] = v < level ? below : above;
  EachRow<uint8_t, uint8_t>(source, destination, [&](uint8_t* s, uint8_t* d) {
    for (int x = 0; x < n; ++x) d[x] = table[s[x]];
  });
}

void ApplyLevel(ZROI<ZBW16>* source, ZROI<ZBW16>* destination, unsigned level, uint16_t below, uint16_t above) {
  const int n = destination->GetWidth();
  const bool wide = Wide();
  EachRow<uint16_t, uint16_t>(source, destination, [&](uint16_t* s, uint16_t* d) {
    if (wide) return WideThresholdRow16(s, d, n, level, below, above);
    for (int x = 0; x < n; ++x) d[x] = s[x] < level ? below : above;
  });
}

template <class T, class P>
void ThresholdWorker(ZROI<T>* source, ZROI<T>* destination, unsigned level, P below, P above, float relative,
                     unsigned limit) {
  const Z_ERRORS failed = ResolveLevel(source, level, relative, limit);
  ApplyLevel(source, destination, level, below, above);
  if (failed != Z_ERROR_NONE) ZSetError(failed);
}

// A failed selection of the one-bit forms: its number and its trace entries, which the packing and
// the unalignment would clear, put back just before the throw.
struct Failure {
  Z_ERRORS error = Z_ERROR_NONE;
  std::vector<const char*> trace;  // the entries are the operators' own static strings

  void Keep(Z_ERRORS e) {
    error = e;
    for (int i = 0; i < ZGetTraceCount(); ++i) trace.emplace_back(ZGetTraceEntry(i));
  }
  void Raise() const {
    if (error == Z_ERROR_NONE) return;
    ZOk();
    ZSetError(error);
    for (const char* entry : trace) ZTraceError(entry);
    frame::Throw(error);
  }
};

// The inner one-bit form without its throw of the selection's error, which it returns instead so
// that the outer form can still move the (all 0) result into an unaligned destination.
template <class T>
Failure PackAligned(ZROI<T>* source, ZROI<ZBW1>* destination, unsigned level, float relative) {
  frame::EnterInner();
  frame::RequireOperands(source, destination);
  frame::RequireByteAligned(destination);
  Failure failed;
  if (const Z_ERRORS e = ResolveLevel(source, level, relative, 65536); e != Z_ERROR_NONE) failed.Keep(e);
  ZOk();
  using Pixel = std::conditional_t<sizeof(T) == 1, uint8_t, uint16_t>;
  const int n = destination->GetWidth();
  const bool wide = Wide();
  const rows::Rows<Pixel> in(source);
  const rows::Rows<uint8_t> out(destination);
  for (int y = 0; y < destination->GetHeight(); ++y) {
    if (!wide) {
      PackRow(in[y], out.Bytes(y), n, level);
    } else if constexpr (sizeof(T) == 1) {
      WidePackRow8(in[y], out.Bytes(y), n, level);
    } else {
      WidePackRow16(in[y], out.Bytes(y), n, level);
    }
  }
  return failed;
}

template <class T>
void PackOuter(const char* trace, ZROI<T>* source, ZROI<ZBW1>* destination, unsigned level, float relative) {
  if (!frame::Enter()) return frame::Leave(trace);
  if (source == nullptr || destination == nullptr) {
    ZSetError(Z_ERROR_NULL_IMAGE);
    ZTraceError(trace);
    return;
  }
  frame::Guard(trace, [&] {
    Failure failed;
    if (destination->GetBitOffset(0, 0) == 0) {
      failed = PackAligned(source, destination, level, relative);
    } else {
      frame::RequireNotVoid(destination);
      ZImage<ZBW1> work(destination->GetWidth(), destination->GetHeight());
      if (work.GetVoid()) frame::Throw(Z_ERROR_NO_MEMORY);
      failed = PackAligned(source, &work, level, relative);
      LumBW1UnAlignment(&work, destination);
    }
    failed.Raise();
  });
}

template <class T, class P>
void DoubleWorker(ZROI<T>* source, ZROI<T>* destination, unsigned low, unsigned high, P below, P between, P above) {
  const int n = destination->GetWidth();
  const bool wide = Wide();
  EachRow<P, P>(source, destination, [&](P* s, P* d) {
    if (!wide) return DoubleRow<P>(s, d, n, low, high, below, between, above);
    if constexpr (sizeof(P) == 1) {
      WideDoubleRow8(s, d, n, low, high, below, between, above);
    } else {
      WideDoubleRow16(s, d, n, low, high, below, between, above);
    }
  });
}

void RangeWorker(ZROI<ZC24>* source, ZROI<ZBW8>* destination, ZC24 low, ZC24 high, ZColorLookup* lookup,
                 uint8_t outside, uint8_t inside) {
  const uint8_t lo[3] = {low.c0, low.c1, low.c2}, hi[3] = {high.c0, high.c1, high.c2};
  const int n = destination->GetWidth();
  const bool wide = Wide();
  EachRow<uint8_t, uint8_t>(source, destination, [&](uint8_t* s, uint8_t* d) {
    if (lookup != nullptr) {
      for (int x = 0; x < n; ++x) {
        ZC24 c;
        lookup->Transform(ZC24(s[3 * x], s[3 * x + 1], s[3 * x + 2]), c);
        const uint8_t p[3] = {c.c0, c.c1, c.c2};
        RangeRow(p, d + x, 1, lo, hi, outside, inside);
      }
    } else if (wide) {
      WideRangeRow(s, d, n, lo, hi, outside, inside);
    } else {
      RangeRow(s, d, n, lo, hi, outside, inside);
    }
  });
}

}  // namespace
}  // namespace kelmira::threshold

namespace frame = kelmira::frame;
namespace th = kelmira::threshold;

short LumThreshold(ZROI<ZBW8>* source, ZROI<ZBW8>* destination, unsigned int threshold, unsigned char below,
                   unsigned char above, float relative) {
  if (frame::Enter() && frame::Operands({source}, destination))
    th::ThresholdWorker<ZBW8, uint8_t>(source, destination, threshold, below, above, relative, 256);
  return frame::LeaveShort("LumThreshold (BW8)");
}

void LumThreshold(ZROI<ZBW16>* source, ZROI<ZBW16>* destination, unsigned int threshold, ZBW16 below, ZBW16 above,
                  float relative) {
  if (frame::Enter() && frame::Operands({source}, destination))
    th::ThresholdWorker<ZBW16, uint16_t>(source, destination, threshold, below, above, relative, 65536);
  frame::Leave("LumThreshold (BW16)");
}

void LumThreshold(ZROI<ZBW8>* source, ZROI<ZBW1>* destination, unsigned int threshold, float relative) {
  th::PackOuter("LumThreshold (BW8 -> BW1)", source, destination, threshold, relative);
}

void LumThreshold(ZROI<ZBW16>* source, ZROI<ZBW1>* destination, unsigned int threshold, float relative) {
  th::PackOuter("LumThreshold (BW16 -> BW1)", source, destination, threshold, relative);
}

void LumThresholdAligned(ZROI<ZBW8>* source, ZROI<ZBW1>* destination, unsigned int threshold, float relative) {
  th::PackAligned(source, destination, threshold, relative).Raise();
}

void LumThresholdAligned(ZROI<ZBW16>* source, ZROI<ZBW1>* destination, unsigned int threshold, float relative) {
  th::PackAligned(source, destination, threshold, relative).Raise();
}

short LumDoubleThreshold(ZROI<ZBW8>* source, ZROI<ZBW8>* destination, unsigned int low, unsigned int high,
                         unsigned char below, unsigned char between, unsigned char above) {
  if (frame::Enter() && frame::Operands({source}, destination))
    th::DoubleWorker<ZBW8, uint8_t>(source, destination, low, high, below, between, above);
  return frame::LeaveShort("LumDoubleThreshold ( BW8 to BW8)");
}

void LumDoubleThreshold(ZROI<ZBW16>* source, ZROI<ZBW16>* destination, unsigned int low, unsigned int high,
                        ZBW16 below, ZBW16 between, ZBW16 above) {
  if (frame::Enter() && frame::Operands({source}, destination))
    th::DoubleWorker<ZBW16, uint16_t>(source, destination, low, high, below, between, above);
  frame::Leave("LumDoubleThreshold ( BW16 to BW16)");
}

void LumThreshold(ZROI<ZC24>* source, ZROI<ZBW8>* destination, ZC24 low, ZC24 high, ZColorLookup* lookup,
                  ZBW8 outside, ZBW8 inside) {
  if (frame::Enter() && frame::Operands({source}, destination))
    th::RangeWorker(source, destination, low, high, lookup, outside, inside);
  frame::Leave("LumThreshold ( C24 to BW8)");
}

void LumThreshold(ZROI<ZC24>* source, ZROI<ZBW8>* destination, ZC24 low, ZC24 high) {
  if (frame::Enter() && frame::Operands({source}, destination))
    th::RangeWorker(source, destination, low, high, nullptr, 0, 255);
  frame::Leave("LumThreshold ( C24 to BW8)");
}
