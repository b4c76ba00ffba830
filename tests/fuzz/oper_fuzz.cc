// Operator fuzzer. The input is a short program of calls: for each, the operator form, the shape
// of each image argument (size 0..70, pitch, byte offset, place in its arena, a chain of views of
// views that may reach outside their parent, null), whether a destination is a source itself or
// another view of the same parent, the pixel content, and a block of scalar parameters.
//
// Each parent image lies at the start or at the end of its own arena, and the arenas sit between
// inaccessible pages, so a read or write past a parent faults at once. Each call runs on the wide
// and on the scalar path from the same content, and after each run:
//   - every byte of every arena outside the destinations' pixels is unchanged (bits of one-bit
//     rows included);
//   - a failure has a trace, a form that returns its error number returns the thread's error, and
//     a null or void source is never accepted silently;
//   - the two paths give the same error, trace, results and destination bytes (not checked when a
//     destination overlaps a source without being it: the outcome then depends on the order).
#include "oper_fuzz.h"

#include <fuzzer/FuzzedDataProvider.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>

namespace kfuzz {
namespace {

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
      mprotect(base, page, PROT_NONE);
      mprotect(base + page + kArenaBytes, page, PROT_NONE);
      a[i].begin = base + page;
      a[i].expected.resize(kArenaBytes);
    }
    return a;
  }();
  return arenas;
}

Kind ParseKind(const std::string& token) {
  static const char* names[kKinds] = {"b1", "b8", "b16", "b32", "c15", "c16", "c24", "c24a", "f32", "f64"};
  for (int k = 0; k < kKinds; ++k)
    if (token == names[k]) return static_cast<Kind>(k);
  std::fprintf(stderr, "bad kind %s\n", token.c_str());
  std::abort();
}

// The kinds of a signature, sources then destinations.
void ParseSignature(const char* signature, std::vector<Kind>& sources, std::vector<Kind>& destinations) {
  std::vector<Kind>* into = &sources;
  std::string token;
  for (const char* p = signature;; ++p) {
    if (*p == ' ' || *p == '>' || *p == '\0') {
      if (!token.empty()) into->push_back(ParseKind(token));
      token.clear();
      if (*p == '>') into = &destinations;
      if (*p == '\0') break;
    } else {
      token += *p;
    }
  }
}

int BytesPerPixel(Kind k) {
  static const int size[kKinds] = {0, 1, 2, 4, 2, 2, 3, 4, 4, 8};
  return size[k];
}
int Alignment(Kind k) {
  static const int align[kKinds] = {1, 1, 2, 4, 2, 2, 1, 4, 4, 8};
  return align[k];
}
int RowBytes(Kind k, int width) { return k == kBW1 ? (width + 7) / 8 : width * BytesPerPixel(k); }

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
      x = in.ConsumeIntegralInRange(0, pw);
      y = in.ConsumeIntegralInRange(0, ph);
      w = in.ConsumeIntegralInRange(0, pw - x);
      h = in.ConsumeIntegralInRange(0, ph - y);
    } else {
      x = in.ConsumeIntegralInRange(-3, 73);
      y = in.ConsumeIntegralInRange(-3, 73);
      w = in.ConsumeIntegralInRange(-1, 73);
      h = in.ConsumeIntegralInRange(-1, 73);
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

// Another view carved from the parent of slot `of`.
template <class T>
void Share(Slot& s, const Slot& of, FuzzedDataProvider& in) {
  Carve<T>(s, in, of.chain.front());
}

template <template <class> class Fn, class... A>
void ByKind(Kind k, A&&... a) {
  switch (k) {
    case kBW1: Fn<ZBW1>::Run(a...); break;
    case kBW8: Fn<ZBW8>::Run(a...); break;
    case kBW16: Fn<ZBW16>::Run(a...); break;
    case kBW32: Fn<ZBW32>::Run(a...); break;
    case kC15: Fn<ZC15>::Run(a...); break;
    case kC16: Fn<ZC16>::Run(a...); break;
    case kC24: Fn<ZC24>::Run(a...); break;
    case kC24A: Fn<ZC24A>::Run(a...); break;
    case kF32: Fn<ZFLOAT32>::Run(a...); break;
    case kF64: Fn<ZFLOAT64>::Run(a...); break;
    default: std::abort();
  }
}
template <class T> struct BuildOf { static void Run(Slot& s, FuzzedDataProvider& in) { Build<T>(s, in); } };
template <class T> struct ShareOf {
  static void Run(Slot& s, const Slot& of, FuzzedDataProvider& in) { Share<T>(s, of, in); }
};

// Pixel content of every arena, from a seed and a mode the input gives.
void Fill(uint8_t seed, uint8_t mode) {
  for (int a = 0; a < kSlots; ++a) {
    uint64_t x = 0x9E3779B97F4A7C15ull * (seed + 1) + static_cast<uint64_t>(a) * 0x1234567;
    uint8_t* p = Arenas()[a].begin;
    for (size_t i = 0; i < kArenaBytes; i += 8) {
      x ^= x << 13, x ^= x >> 7, x ^= x << 17;
      uint64_t v = x;
      switch (mode % 6) {
        case 1: v = 0; break;
        case 2: v = ~0ull; break;
        case 3: v &= 0x8000400020001000ull & (x >> 3); v |= v >> 1; v |= v >> 2; v |= v >> 4; break;  // sparse
        case 4: v &= 0x0101010101010101ull; break;
        default: break;
      }
      std::memcpy(p + i, &v, 8);
    }
    std::memcpy(Arenas()[a].expected.data(), p, kArenaBytes);
  }
}

const Call* g_call = nullptr;  // the call under test, for the report

[[noreturn]] void Fail(const Entry& e, const char* what, int detail = 0) {
  std::fprintf(stderr, "%s: %s (%d), error %d\n", e.name, what, detail, g_call != nullptr ? g_call->error : -1);
  for (int i = 0; g_call != nullptr && i < kSlots; ++i) {
    const Slot& s = g_call->slots[i];
    if (!s.used) continue;
    if (s.null) {
      std::fprintf(stderr, "  slot %d: null\n", i);
      continue;
    }
    std::fprintf(stderr, "  slot %d: %d x %d at (%d, %d), bit offset %d, void %d, levels %zu%s\n", i, s.view->GetWidth(),
                 s.view->GetHeight(), s.view->GetTotalOrgX(), s.view->GetTotalOrgY(),
                 s.view->GetVoid() ? -1 : s.view->GetBitOffset(0, 0), s.view->GetVoid(), s.chain.size(),
                 s.identical ? ", the source itself" : s.aliasOf >= 0 ? ", shares the source's parent" : "");
  }
  if (g_call != nullptr)
    for (const auto& t : g_call->trace) std::fprintf(stderr, "  trace: %s\n", t.c_str());
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

struct Outcome {
  int error = 0;
  std::vector<std::string> trace;
  std::string results;
  std::vector<std::vector<uint8_t>> arenas;
};

Outcome RunPath(const Entry& e, Call& c, int wide, uint8_t seed, uint8_t mode, bool nullDestination) {
  Fill(seed, mode);
  ZSetMMX(wide);
  c.params.Rewind();
  c.results.clear();
  c.thrown = 0;
  c.error = -1;
  e.call(c);
  if (c.error < 0) Fail(e, "the form did not capture the error state");
  Outcome o;
  o.error = c.error;
  o.trace = c.trace;
  if (std::getenv("KELMIRA_FUZZ_VERBOSE") != nullptr)
    std::fprintf(stderr, "%s (%s): error %d, thrown %d\n", e.name, wide ? "wide" : "scalar", o.error, c.thrown);
  o.results = c.results;
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
    if (std::memcmp(arena.expected.data(), arena.begin, kArenaBytes) == 0) continue;
    for (size_t i = 0; i < kArenaBytes; ++i)
      if (arena.expected[i] != arena.begin[i]) Fail(e, wide ? "wide path wrote outside a destination" : "scalar path wrote outside a destination", static_cast<int>(i));
  }
  for (int a = 0; a < kSlots; ++a) o.arenas.emplace_back(Arenas()[a].begin, Arenas()[a].begin + kArenaBytes);
  return o;
}

// One call of the program; false when the input is used up.
bool OneCall(FuzzedDataProvider& in) {
  if (in.remaining_bytes() < 4) return false;
  const auto& table = AllForms();
  const Entry& e = table[in.ConsumeIntegral<uint16_t>() % table.size()];
  std::vector<Kind> sources, destinations;
  ParseSignature(e.signature, sources, destinations);

  Call c;
  bool partialOverlap = false, nullDestination = false;
  for (size_t i = 0; i < sources.size(); ++i) {
    Slot& s = c.slots[i];
    s.used = true, s.kind = sources[i], s.arena = static_cast<int>(i);
    ByKind<BuildOf>(s.kind, s, in);
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
      ByKind<ShareOf>(s.kind, s, c.slots[0], in);
    } else {
      ByKind<BuildOf>(s.kind, s, in);
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
  c.params.Load(block.data(), block.size());

  g_call = &c;
  const Outcome wide = RunPath(e, c, 1, seed, mode, nullDestination);
  const Outcome scalar = RunPath(e, c, 0, seed, mode, nullDestination);
  if (wide.error != scalar.error) Fail(e, "wide and scalar errors differ", wide.error);
  if (wide.trace != scalar.trace) Fail(e, "wide and scalar traces differ");
  if (partialOverlap || e.pathsMayDiffer) return true;
  if (wide.results != scalar.results) Fail(e, "wide and scalar results differ");
  for (int a = 0; a < kSlots; ++a)
    if (wide.arenas[a] != scalar.arenas[a]) {
      size_t at = 0;
      while (wide.arenas[a][at] == scalar.arenas[a][at]) ++at;
      Fail(e, "wide and scalar pixels differ at arena byte", static_cast<int>(a * 100000 + at));
    }
  return true;
}

}  // namespace

}  // namespace kfuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzedDataProvider in(data, size);
  for (int call = 0; call < 4 && kfuzz::OneCall(in); ++call) {
  }
  return 0;
}
