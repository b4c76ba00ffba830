// Failed allocations: operator new and the C allocation functions fail the n-th allocation of a call, n over all of
// them. A failed call reports 1301 or 1303 with a trace and leaves its destinations (colour forms may keep finished
// planes); one that absorbs it matches a normal run. AddressSanitizer must see every block: under it only new fails.
#include "reliability/calls.h"

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
}  // namespace

// The C allocation functions, failing on demand, over glibc's own.
extern "C" {
void* __libc_malloc(size_t);
void* __libc_calloc(size_t, size_t);
void* __libc_realloc(void*, size_t);
void* __libc_memalign(size_t, size_t);
void __libc_free(void*);
void* malloc(size_t n) { return FailThisOne() ? nullptr : __libc_malloc(n); }
void* calloc(size_t n, size_t size) { return FailThisOne() ? nullptr : __libc_calloc(n, size); }
void* realloc(void* p, size_t n) { return FailThisOne() ? nullptr : __libc_realloc(p, n); }
void* aligned_alloc(size_t align, size_t n) { return FailThisOne() ? nullptr : __libc_memalign(align, n); }
int posix_memalign(void** out, size_t align, size_t n) {
  if (FailThisOne()) return ENOMEM;
  *out = __libc_memalign(align, n);
  return *out == nullptr ? ENOMEM : 0;
}
void free(void* p) { __libc_free(p); }
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

// Arms the n-th allocation of the next call to fail (0: none) and counts them.
void Arm(bool on) {
  if (on) t_seen = 0;
  t_armed = on;
}

// What is wrong with a run whose n-th allocation failed; empty when nothing.
std::string Judge(const kr::Case& c, const kr::Result& r, const kr::Result& normal, const std::string& untouched) {
  if (r.threw) return "an exception left the operator";
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
    t_failAt = 0;
    const kr::Result normal = kr::Run(c, Arm);
    const long total = t_seen;
    ASSERT_TRUE(normal.error == 0 && !normal.threw && normal.guards) << c.name;
    allocating += total > 0;
    for (t_failAt = 1; t_failAt <= total; ++t_failAt)
      EXPECT_EQ(Judge(c, kr::Run(c, Arm), normal, untouched), "") << c.name << ", allocation " << t_failAt << " of " << total;
  }
  EXPECT_GT(allocating, 10);
}

}  // namespace
