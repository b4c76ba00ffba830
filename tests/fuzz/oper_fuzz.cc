// Operator fuzzer: the input is a short program of calls, each naming an operator form, the shape
// of each image argument (size 0..70, pitch, offset, place in its arena, views of views that may
// reach outside their parent, null), which destinations alias a source, the pixel content and a
// block of parameters. Parents sit at either end of arenas between inaccessible pages, so any
// access past a parent faults. Each call runs wide and scalar from the same content; after each
// run every arena byte outside the destinations (bits of one-bit rows included) is unchanged, a
// failure has a trace and a returned number equal to the thread's error, a null or void source
// is never accepted silently, and the two paths agree in error, trace, results and bytes (except
// where a destination overlaps a source without being it: then the order decides).
#include "oper_fuzz.h"

#include <fuzzer/FuzzedDataProvider.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <sstream>
#include <type_traits>

namespace kfuzz {
namespace {

constexpr size_t kFormSpace = 512;
constexpr size_t kArenaBytes = 64 * 1024;  // a 70 x 70 image of 8-byte pixels with slack and offset

struct Arena {
  uint8_t* begin = nullptr;
  std::vector<uint8_t> expected;  // content before the call, then what the call may have written
};

Arena* Arenas() {
  static Arena* arenas = [] {
    const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    auto* a = new Arena[kSlots];
    for (int i = 0; i < kSlots; ++i) {
      auto* base = static_cast<uint8_t*>(
          mmap(nullptr, kArenaBytes + 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
      if (base == MAP_FAILED) std::abort();
      mprotect(base, page, PROT_NONE), mprotect(base + page + kArenaBytes, page, PROT_NONE);
      a[i].begin = base + page, a[i].expected.resize(kArenaBytes);
    }
    return a;
  }();
  return arenas;
}

// The kinds of a signature, sources then destinations (an unknown name aborts in ByKind).
void ParseSignature(const std::string& signature, std::vector<Kind>& sources, std::vector<Kind>& destinations) {
  static const char* names[kKinds] = {"b1", "b8", "b16", "b32", "c15", "c16", "c24", "c24a", "f32", "f64"};
  const size_t arrow = std::min(signature.find('>'), signature.size());
  std::istringstream in(signature.substr(0, arrow)), out(signature.substr(std::min(arrow + 1, signature.size())));
  for (std::string name; in >> name;) sources.push_back(static_cast<Kind>(std::find(names, names + kKinds, name) - names));
  for (std::string name; out >> name;) destinations.push_back(static_cast<Kind>(std::find(names, names + kKinds, name) - names));
}

int Alignment(Kind k) { return std::array<int, kKinds>{1, 1, 2, 4, 2, 2, 1, 4, 4, 8}[k]; }
int RowBytes(Kind k, int width) {
  return k == kBW1 ? (width + 7) / 8 : width * std::array<int, kKinds>{0, 1, 2, 4, 2, 2, 3, 4, 4, 8}[k];
}

// A view of a view of ... of `parent`, as the input says: mostly inside, sometimes anywhere.
template <class T>
void Carve(Slot& s, FuzzedDataProvider& in, const std::shared_ptr<ZGenericROI>& parent) {
  s.chain.push_back(parent);
  const int levels = in.ConsumeIntegralInRange(0, 2);
  for (int l = 0; l < levels; ++l) {
    auto* outer = static_cast<ZROI<T>*>(s.chain.back().get());
    const int pw = std::max(0, outer->GetWidth()), ph = std::max(0, outer->GetHeight());
    int x, y, w, h;
    if (in.ConsumeIntegralInRange(0, 7) != 0) {
      x = in.ConsumeIntegralInRange(0, pw), y = in.ConsumeIntegralInRange(0, ph);
      w = in.ConsumeIntegralInRange(0, pw - x), h = in.ConsumeIntegralInRange(0, ph - y);
    } else {
      x = in.ConsumeIntegralInRange(-3, 73), y = in.ConsumeIntegralInRange(-3, 73);
      w = in.ConsumeIntegralInRange(-1, 73), h = in.ConsumeIntegralInRange(-1, 73);
    }
    s.chain.push_back(std::make_shared<ZROI<T>>(outer, x, y, w, h));
  }
  s.view = s.chain.back().get();
}

// A parent image placed in arena `arena`: at its start after a small offset, or ending a small
// distance before its end, with the row pitch that the input gives.
template <class T>
void Build(Slot& s, FuzzedDataProvider& in) {
  const Kind k = KindOf<T>();
  const int align = Alignment(k);
  const int width = in.ConsumeIntegralInRange(0, 70), height = in.ConsumeIntegralInRange(0, 70);
  const int rowBytes = RowBytes(k, width);
  const int pitch = rowBytes + align * in.ConsumeIntegralInRange(0, 9);
  const size_t total = height == 0 ? 0 : static_cast<size_t>(pitch) * (height - 1) + rowBytes;
  const size_t gap = static_cast<size_t>(align) * in.ConsumeIntegralInRange(0, 15);
  uint8_t* arena = Arenas()[s.arena].begin;
  uint8_t* start = in.ConsumeBool() ? arena + gap : arena + kArenaBytes - total - gap;
  auto image = std::make_shared<ZImage<T>>();
  image->SetImagePtr(width, height, start, pitch);
  Carve<T>(s, in, image);
}

// Calls f with the pixel type of kind k, as a std::type_identity.
template <class F>
void ByKind(Kind k, F&& f) {
#define KFUZZ_CASE(kind, T) case kind: f(std::type_identity<T>{}); break;
  switch (k) { KFUZZ_TYPES(KFUZZ_CASE) default: std::abort(); }
}

// Pixel content of every arena, from a seed and a mode the input gives.
void Fill(uint8_t seed, uint8_t mode) {
  for (int a = 0; a < kSlots; ++a) {
    uint64_t x = 0x9E3779B97F4A7C15ull * (seed + 1) + static_cast<uint64_t>(a) * 0x1234567;
    uint8_t* p = Arenas()[a].begin;
    for (size_t i = 0; i < kArenaBytes; i += 8) {
      x ^= x << 13, x ^= x >> 7, x ^= x << 17;
      // Noise, zeros, ones, sparse set bits, zeros and ones, noise.
      uint64_t v = mode % 6 == 1 ? 0 : mode % 6 == 2 ? ~0ull : mode % 6 == 3 ? 0x8000400020001000ull & x & (x >> 3)
                 : mode % 6 == 4 ? x & 0x0101010101010101ull : x;
      if (mode % 6 == 3) v |= v >> 1, v |= v >> 2, v |= v >> 4;
      std::memcpy(p + i, &v, 8);
    }
    std::memcpy(Arenas()[a].expected.data(), p, kArenaBytes);
  }
}

const Call* g_call = nullptr;  // the call under test, for the report
unsigned long g_calls = 0;     // calls made, each on both paths: printed at exit
size_t g_front = 0;            // bytes of the input read from its front: the parameter blocks

[[noreturn]] void Fail(const Entry& e, const char* what, int detail = 0) {
  std::fprintf(stderr, "%s: %s (%d), error %d\n", e.name, what, detail, g_call != nullptr ? g_call->error : -1);
  for (int i = 0; g_call != nullptr && i < kSlots; ++i) {
    const Slot& s = g_call->slots[i];
    if (!s.used) continue;
    if (s.null) std::fprintf(stderr, "  slot %d: null\n", i);
    if (s.null) continue;
    std::fprintf(stderr, "  slot %d: %d x %d at (%d, %d), bit offset %d, void %d, levels %zu%s\n", i, s.view->GetWidth(),
                 s.view->GetHeight(), s.view->GetTotalOrgX(), s.view->GetTotalOrgY(),
                 s.view->GetVoid() ? -1 : s.view->GetBitOffset(0, 0), s.view->GetVoid(), s.chain.size(),
                 s.identical ? ", the source itself" : s.aliasOf >= 0 ? ", shares the source's parent" : "");
  }
  for (size_t i = 0; g_call != nullptr && i < g_call->trace.size(); ++i) std::fprintf(stderr, "  trace: %s\n", g_call->trace[i].c_str());
  std::abort();
}

// Lets the bytes (bits on one-bit views) of a destination view take what the call wrote.
void Allow(const ZGenericROI* view, Kind k, bool wholeLastByte) {
  if (view == nullptr || view->GetVoid()) return;
  for (int y = 0; y < view->GetHeight(); ++y) {
    const auto* row = static_cast<const uint8_t*>(view->GetGenericImagePtr(0, y));
    for (int a = 0; a < kSlots; ++a) {
      Arena& arena = Arenas()[a];
      if (row < arena.begin || row >= arena.begin + kArenaBytes) continue;
      const size_t at = static_cast<size_t>(row - arena.begin);
      if (k != kBW1) {
        std::memcpy(arena.expected.data() + at, row, static_cast<size_t>(RowBytes(k, view->GetWidth())));
        continue;
      }
      const int first = view->GetBitOffset(0, y);
      int last = first + view->GetWidth();
      if (wholeLastByte && first == 0) last = (last + 7) / 8 * 8;
      for (int bit = first; bit < last; ++bit) {
        const uint8_t mask = static_cast<uint8_t>(0x80 >> (bit & 7));
        uint8_t& e = arena.expected[at + bit / 8];
        e = static_cast<uint8_t>((e & ~mask) | (row[bit / 8] & mask));
      }
    }
  }
}

struct Outcome { int error; std::vector<std::string> trace; std::string results; std::vector<std::vector<uint8_t>> arenas; };

// Leaves a pattern of the path's own on the stack that the call's frames will occupy, so that a
// result read from uninitialised stack memory (a pad byte, a local never set) differs between the
// two paths instead of depending on earlier inputs.
__attribute__((noinline)) void SoilStack(uint8_t byte) {
  volatile uint8_t pad[32768];
  for (auto& b : pad) b = byte;
}

Outcome RunPath(const Entry& e, Call& c, int wide, uint8_t seed, uint8_t mode, bool nullDestination) {
  Fill(seed, mode);
  SoilStack(wide ? 0xA5 : 0x5A);
  ZSetMMX(wide);
  c.Rewind(), c.results.clear(), c.thrown = 0, c.error = -1;
  ZOk();
  std::memset(&c.out, 0x7F, sizeof c.out);
  e.call(c);
  c.Log(c.out);
  if (c.error < 0) Fail(e, "the form did not capture the error state");
  Outcome o{c.error, c.trace, c.results, {}};
  if (std::getenv("KELMIRA_FUZZ_VERBOSE") != nullptr)
    std::fprintf(stderr, "%s (%s): error %d, thrown %d\n", e.name, wide ? "wide" : "scalar", o.error, c.thrown);
  if (o.error != 0 && o.trace.empty() && c.thrown == 0 && !e.untraced) Fail(e, "failure without a trace");
  for (int i = 0; i < kSources; ++i) {
    const Slot& s = c.slots[i];
    if (s.used && o.error == 0 && c.thrown == 0 && !e.mayIgnoreSource && (s.null || s.view->GetVoid()))
      Fail(e, wide ? "null or void source accepted on the wide path" : "null or void source accepted on the scalar path", i);
  }
  for (int i = kSources; i < kSlots; ++i)
    if (c.slots[i].used) Allow(c.slots[i].view, c.slots[i].kind, e.wholeLastByte);
  if (nullDestination) Allow(c.slots[0].view, c.slots[0].kind, e.wholeLastByte);  // in place on the first source
  for (int a = 0; a < kSlots; ++a) {
    const Arena& arena = Arenas()[a];
    const auto at = std::mismatch(arena.expected.begin(), arena.expected.end(), arena.begin).first - arena.expected.begin();
    if (at != static_cast<ptrdiff_t>(kArenaBytes))
      Fail(e, wide ? "wide path wrote outside a destination" : "scalar path wrote outside a destination", static_cast<int>(at));
  }
  for (int a = 0; a < kSlots; ++a) o.arenas.emplace_back(Arenas()[a].begin, Arenas()[a].begin + kArenaBytes);
  return o;
}

// One call of the program; false when the input is used up.
bool OneCall(FuzzedDataProvider& in) {
  if (in.remaining_bytes() < 4) return false;
  const auto& table = AllForms();
  if (std::getenv("KELMIRA_FUZZ_VERBOSE") != nullptr) std::fprintf(stderr, "form index below byte %zu\n", g_front + in.remaining_bytes());
  // Modulo a fixed number, forms being appended at the end: the corpus keeps its meaning as the
  // table grows. An index past the table makes no call.
  const size_t pick = in.ConsumeIntegral<uint16_t>() % kFormSpace;
  if (pick >= table.size()) return true;
  const Entry& e = table[pick];
  std::vector<Kind> sources, destinations;
  ParseSignature(e.signature, sources, destinations);

  Call c;
  bool partialOverlap = false, nullDestination = false;
  for (size_t i = 0; i < sources.size(); ++i) {
    Slot& s = c.slots[i];
    s.used = true, s.kind = sources[i], s.arena = static_cast<int>(i);
    ByKind(s.kind, [&](auto t) { Build<typename decltype(t)::type>(s, in); });
  }
  for (size_t i = 0; i < destinations.size(); ++i) {
    Slot& s = c.slots[kSources + i];
    s.used = true, s.kind = destinations[i], s.arena = kSources + static_cast<int>(i);
    const uint8_t alias = in.ConsumeIntegral<uint8_t>();
    const bool canShare = !sources.empty() && sources[0] == s.kind;
    if (canShare && alias >= 160 && alias < 210) {
      s.aliasOf = 0, s.identical = true, s.arena = c.slots[0].arena;
      s.chain = c.slots[0].chain, s.view = c.slots[0].view;
    } else if (canShare && alias >= 210) {
      s.aliasOf = 0, s.arena = c.slots[0].arena, partialOverlap = true;
      ByKind(s.kind, [&](auto t) { Carve<typename decltype(t)::type>(s, in, c.slots[0].chain.front()); });
    } else {
      ByKind(s.kind, [&](auto t) { Build<typename decltype(t)::type>(s, in); });
    }
  }
  // Null arguments, now and then.
  for (int i = 0; i < kSlots; ++i) {
    Slot& s = c.slots[i];
    if (s.used && in.ConsumeIntegralInRange(0, 15) == 0) {
      s.null = true, s.view = nullptr;
      if (i >= kSources) nullDestination = true;
    }
  }
  const uint8_t seed = in.ConsumeIntegral<uint8_t>(), mode = in.ConsumeIntegral<uint8_t>();
  const std::vector<uint8_t> block = in.ConsumeBytes<uint8_t>(48);
  g_front += block.size();
  c.Load(block.data(), block.size());

  g_call = &c, ++g_calls;
  const Outcome wide = RunPath(e, c, 1, seed, mode, nullDestination);
  const Outcome scalar = RunPath(e, c, 0, seed, mode, nullDestination);
  if (wide.error != scalar.error) Fail(e, "wide and scalar errors differ", wide.error);
  if (wide.trace != scalar.trace) Fail(e, "wide and scalar traces differ");
  if (partialOverlap || e.pathsMayDiffer) return true;
  if (wide.results != scalar.results) {
    const auto at = std::mismatch(wide.results.begin(), wide.results.end(), scalar.results.begin(), scalar.results.end());
    Fail(e, "wide and scalar results differ at byte", static_cast<int>(at.first - wide.results.begin()));
  }
  for (int a = 0; a < kSlots; ++a)
    if (wide.arenas[a] != scalar.arenas[a]) {
      const auto at = std::mismatch(wide.arenas[a].begin(), wide.arenas[a].end(), scalar.arenas[a].begin()).first;
      Fail(e, "wide and scalar pixels differ at arena byte", static_cast<int>(a * 100000 + (at - wide.arenas[a].begin())));
    }
  return true;
}

}  // namespace
}  // namespace kfuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  [[maybe_unused]] static const int counted = std::atexit([] { std::fprintf(stderr, "operator calls: %lu\n", kfuzz::g_calls); });
  FuzzedDataProvider in(data, size);
  kfuzz::g_front = 0;
  for (int call = 0; call < 4 && kfuzz::OneCall(in); ++call) continue;
  return 0;
}
