// Calls shared by the threads and failed-allocation tests: read-only sources, fresh destinations,
// and operators that allocate work memory or temporary images.
#ifndef KELMIRA_TESTS_RELIABILITY_CALLS_H
#define KELMIRA_TESTS_RELIABILITY_CALLS_H

#include "support/kelmira_test.h"

#include <memory>

namespace kr {

constexpr int kW = 45, kH = 31, kW1 = 90;

// Read-only inputs, built once and shared by every thread.
struct Sources {
  ZImage<ZBW8> bw8{kW, kH};
  ZImage<ZBW16> bw16{kW, kH};
  ZImage<ZC24> c24{kW, kH};
  ZImage<ZBW1> bw1Parent{kW1 + 3, kH};
  ZROI<ZBW1> bw1{&bw1Parent, 3, 0, kW1, kH};  // three bits into its bytes
  ZBWHistogramVector histogram{256};
  ZBWHistogramVector histogram16{65536};
  Sources();
};
const Sources& Shared();

// Destinations of one run, with guard bytes around each, filled with a fixed pattern.
struct Outputs {
  kt::Framed<ZBW8> bw8{kW, kH, 3};
  kt::Framed<ZBW16> bw16{kW, kH, 2, 20};  // an even pitch: rows aligned for 16-bit access
  kt::Framed<ZC24> c24{kW, kH, 1};
  kt::Framed<ZBW1> bw1Parent{kW1 + 5, kH, 1};
  ZROI<ZBW1> bw1{bw1Parent.get(), 5, 0, kW1, kH};  // five bits into its bytes
  ZBWHistogramVector histogram;                    // empty: the call grows it
  std::string results;                             // values returned or written to arguments
  // Kernels and patterns, made before the call so that only the operator's own allocations count.
  ZKernel thin1{KERNEL_THIN_1}, thin2{KERNEL_THIN_2};
  ZKernel k3{3, 3, 1.0f, 0u, 2, 0u}, k4{4, 4, 1.0f, 0u, 0, 0u}, k3f{3, 3, 1.0f, 0u, 0, 0u};
  ZKernel k5{5, 5, 1.0f, 0u, 3, 0u}, k5s{5, 5, 1.0f, 0u, 2, 0u};
  Outputs();
  template <class V>
  void Log(const V& v) { results.append(reinterpret_cast<const char*>(&v), sizeof v); }
  // The destinations: pixels (whole one-bit rows) and the histogram.
  std::string Snapshot() const;
  bool GuardsIntact() const;
};

// What a failed allocation may do beyond failing cleanly (1301 or 1303, destinations untouched).
enum Failing {
  kClean,
  kPartial,  // a failure may leave part of the destination written (plane by plane, step by step)
  kLenient,  // a compound keeps only its last step's state, and the older vertical pass skips
             // its half when its buffer fails: the failure may be absorbed with other pixels
  kUntraced,  // clean, and documented to fail without a trace string
};

struct Case {
  const char* name;
  void (*call)(const Sources& s, Outputs& o);
  Failing failing = kClean;
};
const std::vector<Case>& Cases();

// What a run leaves: the error, the trace, the destinations and the results.
struct Result {
  int error = 0;
  std::vector<std::string> trace;
  std::string snapshot, results;
  bool guards = true, threw = false;
  bool operator==(const Result& o) const {
    return error == o.error && trace == o.trace && snapshot == o.snapshot && results == o.results;
  }
};
// Runs a case on fresh destinations; `around(true)` just before the call, `around(false)` after.
Result Run(const Case& c, void (*around)(bool) = nullptr);

}  // namespace kr

#endif  // KELMIRA_TESTS_RELIABILITY_CALLS_H
