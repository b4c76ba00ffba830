// The per-thread record (error, trace, overlay colour, gate hook), the process-wide switches
// (wide paths, angle unit) and the foundation's allocator and exception types.
#include <atomic>
#include <cmath>
#include <cstdlib>

#include "foundation/frame.h"
#include "hwy/targets.h"
#include "kelmira/foundation.h"

struct OvidraTLSStruct {
  // The trace keeps pointers to literals: recording a level allocates nothing. Levels past the
  // capacity are counted out; no failure chain of the library comes near it.
  static constexpr int kTraceCapacity = 64;
  Z_ERRORS error = Z_ERROR_NONE;
  int traceCount = 0;
  const char* trace[kTraceCapacity] = {};
  ZC24 overlay{0, 0, 0};
  Z_ERRORS gateError = Z_ERROR_NONE;
};

namespace {
thread_local OvidraTLSStruct t_record;

// Wide paths are on where the processor has more than the one-lane fallback.
int DetectWide() {
  const int64_t targets = hwy::SupportedTargets();
  return (targets & ~static_cast<int64_t>(HWY_SCALAR | HWY_EMU128)) != 0 ? 1 : 0;
}
std::atomic<int> g_wide{DetectWide()};
std::atomic<int> g_angleUnit{Z_ANGLE_UNIT_DEGREES};
}  // namespace

OvidraTLSStruct* ZGetTLSPtr() { return &t_record; }

Z_ERRORS ZOk() {
  t_record.error = Z_ERROR_NONE;
  t_record.traceCount = 0;
  return Z_ERROR_NONE;
}

Z_ERRORS ZGetError() { return t_record.error; }

Z_ERRORS ZSetError(Z_ERRORS error) {
  t_record.error = error;
  return error;
}

Z_ERRORS ZTraceError(const char* text) {
  OvidraTLSStruct& r = t_record;
  if (r.traceCount < OvidraTLSStruct::kTraceCapacity) r.trace[r.traceCount++] = text;
  return r.error;
}

int ZGetTraceCount() { return t_record.traceCount; }

const char* ZGetTraceEntry(int index) {
  if (index < 0 || index >= t_record.traceCount) return nullptr;
  return t_record.trace[index];
}

int ZGetMMX() { return g_wide.load(std::memory_order_relaxed); }
void ZSetMMX(int enable) { g_wide.store(enable != 0 ? 1 : 0, std::memory_order_relaxed); }

void ZSetGateError(Z_ERRORS error) { t_record.gateError = error; }

void LumSetOverlayColor(ZC24 colour) { t_record.overlay = colour; }
ZC24 LumGetOverlayColor() { return t_record.overlay; }

namespace kelmira::frame {
void Gate() {
  if (t_record.gateError != Z_ERROR_NONE) t_record.error = t_record.gateError;
}
}  // namespace kelmira::frame

void ZSetAngleUnit(Z_ANGLE_UNITS unit) { g_angleUnit.store(unit, std::memory_order_relaxed); }
Z_ANGLE_UNITS ZGetAngleUnit() { return static_cast<Z_ANGLE_UNITS>(g_angleUnit.load(std::memory_order_relaxed)); }

namespace {
// Radians per unit of the selected angle unit.
double RadiansPerUnit() {
  switch (ZGetAngleUnit()) {
    case Z_ANGLE_UNIT_RADIANS: return 1.0;
    case Z_ANGLE_UNIT_DEGREES: return M_PI / 180.0;
    case Z_ANGLE_UNIT_GRADIANS: return M_PI / 200.0;
    case Z_ANGLE_UNIT_REVOLUTIONS: return 2.0 * M_PI;
  }
  return 1.0;
}
}  // namespace

float ZToRadians(float angle) { return static_cast<float>(angle * RadiansPerUnit()); }
float ZFromRadians(float radians) { return static_cast<float>(radians / RadiansPerUnit()); }

void* Ovidra_Malloc(size_t size) { return std::malloc(size == 0 ? 1 : size); }
void Ovidra_Free(void* pointer) { std::free(pointer); }

Marvane::Exception::~Exception() = default;
Marvane::Ovidra::Exception::~Exception() = default;
