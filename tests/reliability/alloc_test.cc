// Failed allocations: this program replaces operator new and the C allocation functions so that
// the n-th allocation made while a call runs fails. For each call that allocates, n sweeps over
// every allocation the call makes. A failed call reports 1301 or 1303 with a trace and leaves its
// destinations as they were (colour forms may keep the planes already done); a call that absorbs
// the failure gives the same result as a normal run. LeakSanitizer, in the sanitizer build, sees
// whatever a failure path forgets to free. Under AddressSanitizer the C functions stay the
// sanitizer's own (it must see every block), so there only operator new fails; the plain build
// fails both.
#include "reliability/calls.h"

#include <dlfcn.h>

#include <cstdlib>
#include <new>

namespace {

// Counting is per thread and only while a call runs, so GoogleTest's own allocations never fail.
thread_local bool t_armed = false;
thread_local long t_seen = 0;
thread_local long t_failAt = 0;

bool FailThisOne() {
  if (!t_armed) return false;
  return ++t_seen == t_failAt;
}

#if !defined(__SANITIZE_ADDRESS__)
// The allocator behind this program's replacements. dlsym may itself ask for memory before the
// real functions are known: a small static pool serves those requests.
struct Real {
  void* (*malloc)(size_t);
  void* (*calloc)(size_t, size_t);
  void* (*realloc)(void*, size_t);
  void* (*aligned_alloc)(size_t, size_t);
  int (*posix_memalign)(void**, size_t, size_t);
  void (*free)(void*);
};
alignas(16) char g_pool[8192];
size_t g_poolUsed = 0;
bool g_resolving = false;
bool InPool(void* p) { return p >= g_pool && p < g_pool + sizeof g_pool; }
void* FromPool(size_t n) {
  n = (n + 15) & ~static_cast<size_t>(15);
  if (g_poolUsed + n > sizeof g_pool) return nullptr;
  void* p = g_pool + g_poolUsed;
  g_poolUsed += n;
  return p;
}

const Real& R() {
  static Real real = [] {
    g_resolving = true;
    Real r;
    r.malloc = reinterpret_cast<void* (*)(size_t)>(dlsym(RTLD_NEXT, "malloc"));
    r.calloc = reinterpret_cast<void* (*)(size_t, size_t)>(dlsym(RTLD_NEXT, "calloc"));
    r.realloc = reinterpret_cast<void* (*)(void*, size_t)>(dlsym(RTLD_NEXT, "realloc"));
    r.aligned_alloc = reinterpret_cast<void* (*)(size_t, size_t)>(dlsym(RTLD_NEXT, "aligned_alloc"));
    r.posix_memalign = reinterpret_cast<int (*)(void**, size_t, size_t)>(dlsym(RTLD_NEXT, "posix_memalign"));
    r.free = reinterpret_cast<void (*)(void*)>(dlsym(RTLD_NEXT, "free"));
    g_resolving = false;
    return r;
  }();
  return real;
}

}  // namespace

extern "C" {
void* malloc(size_t n) {
  if (g_resolving) return FromPool(n);
  if (FailThisOne()) return nullptr;
  return R().malloc(n);
}
void* calloc(size_t n, size_t size) {
  if (g_resolving) {
    void* p = FromPool(n * size);
    if (p != nullptr) std::memset(p, 0, n * size);
    return p;
  }
  if (FailThisOne()) return nullptr;
  return R().calloc(n, size);
}
void* realloc(void* p, size_t n) {
  if (FailThisOne()) return nullptr;
  return R().realloc(p, n);
}
void* aligned_alloc(size_t align, size_t n) {
  if (FailThisOne()) return nullptr;
  return R().aligned_alloc(align, n);
}
int posix_memalign(void** out, size_t align, size_t n) {
  if (FailThisOne()) return ENOMEM;
  return R().posix_memalign(out, align, n);
}
void free(void* p) {
  if (p == nullptr || InPool(p)) return;
  R().free(p);
}
}
#define KELMIRA_MALLOC std::malloc
#else
}  // namespace
#define KELMIRA_MALLOC(n) (FailThisOne() ? nullptr : std::malloc(n))
#endif

// The replacements pair with each other through malloc and free.
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
void* operator new(size_t n) {
  if (void* p = KELMIRA_MALLOC(n == 0 ? 1 : n)) return p;
  throw std::bad_alloc();
}
void* operator new[](size_t n) { return operator new(n); }
void* operator new(size_t n, const std::nothrow_t&) noexcept { return KELMIRA_MALLOC(n == 0 ? 1 : n); }
void* operator new[](size_t n, const std::nothrow_t&) noexcept { return KELMIRA_MALLOC(n == 0 ? 1 : n); }
void operator delete(void* p) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete(void* p, size_t) noexcept { std::free(p); }
void operator delete[](void* p, size_t) noexcept { std::free(p); }

namespace {

// Runs a case with the n-th allocation failing (0: none); returns how many it made.
long Count(const kr::Case& c, long failAt, kr::Result* result, bool* threw) {
  kr::Outputs o;
  *threw = false;
  t_seen = 0, t_failAt = failAt, t_armed = true;
  try {
    c.call(kr::Shared(), o);
  } catch (...) {
    *threw = true;
  }
  t_armed = false;
  result->error = ZGetError();
  result->trace = kt::Trace();
  result->snapshot = o.Snapshot();
  result->results = o.results;
  result->guards = o.GuardsIntact();
  return t_seen;
}

// What is wrong with a run whose n-th allocation failed; empty when nothing.
std::string Judge(const kr::Case& c, const kr::Result& r, bool threw, const kr::Result& normal, const std::string& untouched) {
  if (threw) return "an exception left the operator";
  if (!r.guards) return "wrote outside the destination";
  if (r.error == 0) return r == normal || c.failing == kr::kLenient ? "" : "succeeded with another result";
  if (r.error != Z_ERROR_NO_WORK_MEMORY && r.error != Z_ERROR_NO_MEMORY) return "error " + std::to_string(r.error);
  if (r.trace.empty() && c.failing != kr::kUntraced) return "no trace";
  if ((c.failing == kr::kClean || c.failing == kr::kUntraced) && r.snapshot != untouched) return "wrote into a destination";
  return "";
}

TEST(FailedAllocation, EveryAllocationOfEveryCall) {
  (void)kr::Shared();
  const std::string untouched = kr::Outputs().Snapshot();
  int allocating = 0;
  for (const auto& c : kr::Cases()) {
    kr::Result normal;
    bool threw = false;
    const long total = Count(c, 0, &normal, &threw);
    ASSERT_EQ(normal.error, 0) << c.name;
    if (total == 0) continue;
    ++allocating;
    for (long n = 1; n <= total; ++n) {
      kr::Result r;
      Count(c, n, &r, &threw);
      const std::string wrong = Judge(c, r, threw, normal, untouched);
      EXPECT_EQ(wrong, "") << c.name << ", allocation " << n << " of " << total;
    }
  }
  EXPECT_GT(allocating, 10);
}

}  // namespace
