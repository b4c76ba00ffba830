// Shared test helpers: guarded views at any offset, random content, wide and target switches, checks.
#ifndef KELMIRA_TESTS_SUPPORT_H
#define KELMIRA_TESTS_SUPPORT_H

#include <gtest/gtest.h>
#include <hwy/targets.h>
#include <kelmira/kelmira.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

// Expected traces, innermost first.
using Strings = std::vector<std::string>;

namespace kt {

// Sets ZGetMMX for a scope and restores it after.
class WideSetting {
 public:
  explicit WideSetting(int on) : m_old(ZGetMMX()) { ZSetMMX(on); }
  ~WideSetting() { ZSetMMX(m_old); }

 private:
  int m_old;
};

// The thread's trace, innermost first.
Strings Trace();

// A deterministic generator; tests print the seed through SCOPED_TRACE when they use it.
std::mt19937& Rng();

// A view of `width` x `height` pixels `offset` bytes past a 64-byte boundary, with guard bytes of a known pattern
// before, between and after the rows; GuardsIntact() tells whether anything outside the view was written.
template <class T>
class Framed {
 public:
  Framed(int width, int height, int offset = 0, int slack = 19)
      : m_rowBytes(RowBytes(width)), m_pitch(m_rowBytes + slack), m_offset(64 + offset) {
    m_store.resize(static_cast<size_t>(m_offset) + static_cast<size_t>(m_pitch) * (height + 1) + 64);
    uint8_t* base = AlignedBase();
    for (size_t i = 0; i < m_store.size(); ++i) m_store[i] = Guard(i);
    image.SetImagePtr(width, height, base + m_offset, m_pitch);
  }
  Framed(const Framed&) = delete;
  Framed& operator=(const Framed&) = delete;

  ZImage<T> image;
  ZROI<T>* operator->() { return &image; }
  ZROI<T>* get() { return &image; }

  bool GuardsIntact() const {
    const uint8_t* base = const_cast<Framed*>(this)->AlignedBase();
    const size_t start = static_cast<size_t>(base - m_store.data()) + m_offset;
    for (size_t i = 0; i < m_store.size(); ++i) {
      if (i >= start) {
        const size_t rel = i - start, row = rel / m_pitch, col = rel % m_pitch;
        if (row < static_cast<size_t>(image.GetHeight()) && col < static_cast<size_t>(m_rowBytes)) continue;
      }
      if (m_store[i] != Guard(i)) return false;
    }
    return true;
  }

  void FillRandom(std::mt19937& rng) {
    for (int y = 0; y < image.GetHeight(); ++y) {
      uint8_t* row = static_cast<uint8_t*>(image.GetGenericImagePtr(0, y));
      for (int i = 0; i < m_rowBytes; ++i) row[i] = static_cast<uint8_t>(rng());
    }
  }
  void FillBytes(uint8_t v) {
    for (int y = 0; y < image.GetHeight(); ++y) std::memset(image.GetGenericImagePtr(0, y), v, m_rowBytes);
  }

 private:
  static int RowBytes(int width) { return std::is_same_v<T, ZBW1> ? (width + 7) / 8 : width * static_cast<int>(sizeof(T)); }
  static uint8_t Guard(size_t i) { return static_cast<uint8_t>(0xA5 ^ (i * 7)); }
  uint8_t* AlignedBase() {
    const uintptr_t p = reinterpret_cast<uintptr_t>(m_store.data());
    return m_store.data() + ((64 - (p & 63)) & 63);
  }

  int m_rowBytes, m_pitch, m_offset;
  std::vector<uint8_t> m_store;
};

// True when the two views hold the same bytes in their rows (whole bytes; for ZBW1 only views of
// the same bit offset compare meaningfully).
bool SameBytes(const ZGenericROI* a, const ZGenericROI* b);


// Runs body(wide) with the scalar twins (ZSetMMX(0)) and then with the wide paths (ZSetMMX(1)).
template <class F>
void ForScalarAndWide(F&& body) {
  for (int wide : {0, 1}) {
    WideSetting setting(wide);
    SCOPED_TRACE(wide ? "wide paths" : "scalar twins");
    body(wide);
  }
}

// Runs body() with the wide paths on, once for every Highway target this processor has, so that
// a fault in one target's kernel cannot hide behind the best target.
void ForEveryTarget(const std::function<void()>& body);
void ForScalarAndEveryTarget(const std::function<void()>& body);  // scalar first, then as above

template <class F>
void ForShapes(const std::vector<int>& widths, const std::vector<int>& offsets, F&& body) {
  for (int width : widths)
    for (int offset : offsets) {
      SCOPED_TRACE(::testing::Message() << "width " << width << " offset " << offset);
      body(width, offset);
    }
}
std::vector<int> Upto(int last, int first = 1);  // first..last


// The error number and the trace (innermost first) that the last call left.
::testing::AssertionResult Failed(int error, const Strings& trace);

// The bytes of a view's rows, to tell later whether a failed call wrote anything.
std::vector<uint8_t> Bytes(const ZGenericROI* view);

// The call with the gate set to 32767, which refuses every operator of the thread on entry.
std::function<void()> Gated(const std::function<void()>& call);

// The number of the library exception that `call` throws (0: none): the inner one-bit forms throw.
int Thrown(const std::function<void()>& call);

// A histogram vector holding `bins`.
ZBWHistogramVector Histogram(const std::vector<uint32_t>& bins);



// A plane of numbers: a view's pixel values (or one component of a C24 view), row by row.
struct Plane {
  int w = 0, h = 0;
  std::vector<int64_t> p;
  Plane(int width = 0, int height = 0, int64_t v = 0) : w(width), h(height), p(size_t(width) * height, v) {}
  int64_t& at(int x, int y) { return p[size_t(y) * w + x]; }
  int64_t at(int x, int y) const { return p[size_t(y) * w + x]; }
  int64_t clamped(int x, int y) const { return at(x < 0 ? 0 : x >= w ? w - 1 : x, y < 0 ? 0 : y >= h ? h - 1 : y); }
  bool inside(int x, int y) const { return x >= 0 && y >= 0 && x < w && y < h; }
  bool operator==(const Plane& o) const { return w == o.w && h == o.h && p == o.p; }
};
template <class T>
Plane Read(ZROI<T>* v, int component = 0) {
  Plane m(v->GetWidth(), v->GetHeight());
  for (int y = 0; y < m.h; ++y)
    for (int x = 0; x < m.w; ++x) {
      T px;
      if constexpr (std::is_same_v<T, ZBW1>) px = v->GetPixel(x, y);
      else std::memcpy(&px, v->GetImagePtr(x, y), sizeof(T));  // any alignment
      if constexpr (std::is_same_v<T, ZC24>) m.at(x, y) = (&px.c0)[component];
      else m.at(x, y) = px.value;
    }
  return m;
}
template <class T>
void Write(ZROI<T>* v, const Plane& m) {
  for (int y = 0; y < m.h; ++y)
    for (int x = 0; x < m.w; ++x) v->SetPixel(T(static_cast<decltype(T::value)>(m.at(x, y))), x, y);
}
// Random values in [lo, hi], each end about once in `ends` pixels besides, where the clips turn.
Plane RandomPlane(int w, int h, int64_t lo, int64_t hi, int ends = 0);
// Random values over the pixel type's range, 0 and the largest each about once in `ends` pixels besides; C24
// bytes uniformly.
template <class T>
void FillValues(Framed<T>& v, int ends) {
  if constexpr (std::is_same_v<T, ZC24>) v.FillRandom(Rng());
  else Write(v.get(), RandomPlane(v->GetWidth(), v->GetHeight(), 0, decltype(T::value)(~0u), ends));
}

// A view of `width` x `height` bits starting `bit` pixels into a parent 17 pixels wider at byte
// `offset`, filled by `fill` (random by default), that remembers the parent's pixels.
struct BitView {
  BitView(int width, int height, int bit, int offset = 0, const std::function<void(Framed<ZBW1>&)>& fill = nullptr)
      : parent(width + 17, height, offset), view(parent.get(), bit, 0, width, height) {
    fill ? fill(parent) : parent.FillRandom(Rng());
    before = Read(parent.get());
  }
  int64_t Old(int x, int y) const { return before.at(x + view.GetOrgX(), y); }
  // True when the parent's pixels outside the view (`insideToo`: all of them) and the guards are unchanged.
  bool OutsideIntact(bool insideToo = false) {
    const Plane now = Read(parent.get());
    for (int y = 0; y < now.h; ++y)
      for (int x = 0; x < now.w; ++x)
        if ((insideToo || x < view.GetOrgX() || x >= view.GetOrgX() + view.GetWidth()) && now.at(x, y) != before.at(x, y))
          return false;
    return parent.GuardsIntact();
  }
  Framed<ZBW1> parent;
  ZROI<ZBW1> view;
  Plane before;
};


// A call, the error number it must leave and the trace (innermost first).
struct Refusal {
  std::function<void()> call;
  int error;
  std::vector<std::string> trace;
};
void CheckRefusals(const std::vector<Refusal>& rows);



// A guarded view whose pixels sit at addresses aligned for their type (offset rounded down, pitch kept), so that typed
// access to 16, 32 and 64-bit pixels is well defined. Byte pixels keep every offset and an odd pitch.
template <class T>
class Aligned : public Framed<T> {
 public:
  Aligned(int width, int height, int offset = 0)
      : Framed<T>(width, height, offset / static_cast<int>(alignof(T)) * static_cast<int>(alignof(T)),
                      alignof(T) == 1 ? 19 : 24) {}
};

struct Geometry {
  int width, height, sourceOffset, destinationOffset;
};

// Widths around every multiple of 8 up to 40, around 32 and 64, and long rows; heights 1 and 3; every destination
// offset 0..7 (the row rule splits each differently) with a source offset that moves independently.
inline std::vector<Geometry> Geometries() {
  std::vector<Geometry> out;
  std::vector<int> widths;
  for (int w = 1; w <= 26; ++w) widths.push_back(w);
  for (int w : {31, 32, 33, 40, 63, 64, 65, 72, 129, 200}) widths.push_back(w);
  for (int w : widths)
    for (int h : {1, 3})
      for (int d = 0; d < 8; ++d) out.push_back({w, h, (d * 5 + w) % 16, d});
  return out;
}

// The Highway targets that this processor runs and the library builds, widest first (found before any is forced).
const std::vector<int64_t>& Targets();

// Runs the wide paths on one Highway target for a scope (0: every target the processor has).
class TargetSetting {
 public:
  explicit TargetSetting(int64_t target) { hwy::SetSupportedTargetsForTest(target); }
  ~TargetSetting() { hwy::SetSupportedTargetsForTest(0); }
};
// The target of round `round` when the rounds take the targets in turn.
inline int64_t NthTarget(size_t round) { return Targets()[round % Targets().size()]; }

template <class T>
bool Same(const T& a, const T& b) {
  return std::memcmp(&a, &b, sizeof(T)) == 0;
}

// The frame of a source-to-destination operator: a null or void source, a void destination (`voidDestination`: 1402
// where only the sizes are checked), another size and the gate each give their number and exactly `trace` (none when
// empty) and write nothing; then the call succeeds. A null destination fails too unless it means in place.
template <class S, class D>
void CheckFrame(const std::function<void(ZROI<S>*, ZROI<D>*)>& call, const std::string& trace,
                bool nullDestinationInPlace = true, int voidDestination = Z_ERROR_NULL_IMAGE, int width = 8,
                int height = 3) {
  SCOPED_TRACE(trace);
  const Strings want = trace.empty() ? Strings{} : Strings{trace};
  Aligned<S> s(width, height, 1);
  Aligned<D> d(width, height, 2), other(width + 1, height, 3);
  ZROI<S> voidSource;
  ZROI<D> voidView;
  s.FillRandom(Rng());
  d.FillRandom(Rng());
  other.FillRandom(Rng());
  const std::vector<uint8_t> before = Bytes(d.get()), otherBefore = Bytes(other.get());
  struct Case { ZROI<S>* s; ZROI<D>* d; int error; };
  std::vector<Case> cases = {{nullptr, d.get(), Z_ERROR_NULL_IMAGE},
                             {&voidSource, d.get(), Z_ERROR_NULL_IMAGE},
                             {s.get(), &voidView, voidDestination}};
  if (!nullDestinationInPlace) cases.push_back({s.get(), nullptr, Z_ERROR_NULL_IMAGE});
  for (const Case& c : cases) {
    call(c.s, c.d);
    EXPECT_TRUE(Failed(c.error, want));
  }
  call(s.get(), other.get());
  EXPECT_TRUE(Failed(Z_ERROR_DIFFERENT_SIZES, want));
  EXPECT_EQ(Bytes(other.get()), otherBefore);
  Gated([&] { call(s.get(), d.get()); })();
  EXPECT_TRUE(Failed(Z_ERROR_INTERNAL, want));
  EXPECT_EQ(Bytes(d.get()), before);
  EXPECT_TRUE(d.GuardsIntact() && other.GuardsIntact());
  call(s.get(), d.get());
  EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
}

// Two sources: call(a, b, destination) per geometry (each on the next target), wide off and on, with `inPlace` also
// call(a, b, a), against ref(a, b, oldOutput); views at any byte address (`typed`: aligned for the pixel type), pixels
// random, 1/4 all 0x00 and 1/4 all 0xFF, or the first source filled by `fillA`.
template <class A, class B, class D>
void CheckAgainst2(const std::function<void(ZROI<A>*, ZROI<B>*, ZROI<D>*)>& call,
                   const std::function<D(A, B, D)>& ref, const std::vector<Geometry>& geometries = Geometries(),
                   bool inPlace = false, const std::function<void(Framed<A>&)>& fillA = nullptr, bool typed = false) {
  const auto fill = [](auto& view) {
    view.FillRandom(Rng());
    for (int y = 0; y < view->GetHeight(); ++y)
      for (int x = 0; x < view->GetWidth(); ++x)
        if (const uint32_t r = Rng()() % 4; r < 2)
          std::memset(view->GetGenericImagePtr(x, y), r ? 0xFF : 0, static_cast<size_t>(view->GetPixelSize()));
    return Bytes(view.get());
  };
  const auto at = [](const auto& v, size_t i, auto p) { return std::memcpy(&p, &v[i * sizeof p], sizeof p), p; };
  const auto place = [typed](int offset, int align) { return typed ? offset / align * align : offset; };
  const auto slack = [typed](int align) { return typed && align > 1 ? 24 : 19; };
  for (size_t round = 0; const Geometry& g : geometries) {
    const TargetSetting target(NthTarget(round++));
    for (int run = 0; run < (inPlace && std::is_same_v<A, D> ? 4 : 2); ++run) {  // scalar, wide, both in place
      const WideSetting setting(run & 1);
      Framed<A> a(g.width, g.height, place(g.sourceOffset, alignof(A)), slack(alignof(A)));
      Framed<B> b(g.width, g.height, place((g.sourceOffset + 3) % 16, alignof(B)), slack(alignof(B)));
      Framed<D> d(g.width, g.height, place(g.destinationOffset, alignof(D)), slack(alignof(D)));
      const std::vector<uint8_t> ia = fillA ? (fillA(a), Bytes(a.get())) : fill(a), ib = fill(b), old = fill(d);
      ZROI<D>* out = d.get();
      if constexpr (std::is_same_v<A, D>) out = run < 2 ? d.get() : a.get();
      call(a.get(), b.get(), out);
      SCOPED_TRACE(testing::Message() << g.width << "x" << g.height << " at " << g.sourceOffset << "/"
                                      << g.destinationOffset << " run " << run);
      ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
      ASSERT_TRUE(a.GuardsIntact() && b.GuardsIntact() && d.GuardsIntact());
      const std::vector<uint8_t> now = Bytes(out);
      for (size_t i = 0; i * sizeof(D) < now.size(); ++i)
        ASSERT_TRUE(Same(at(now, i, D()), ref(at(ia, i, A()), at(ib, i, B()), at(run < 2 ? old : ia, i, D())))) << i;
    }
  }
}

// One source: call(source, destination) as above on views aligned for their pixel types, the source filled by
// `fill` where given, against ref(sourcePixel, oldDestinationPixel); with `inPlace`, also call(source, source).
template <class S, class D>
void CheckAgainst(const std::function<void(ZROI<S>*, ZROI<D>*)>& call, const std::function<D(S, D)>& ref,
                  const std::function<void(Framed<S>&)>& fill = nullptr, bool inPlace = false) {
  CheckAgainst2<S, S, D>([&](ZROI<S>* a, ZROI<S>*, ZROI<D>* d) { call(a, d); }, [&](S a, S, D old) { return ref(a, old); },
                         Geometries(), inPlace, fill, true);
}

}  // namespace kt

#endif  // KELMIRA_TESTS_SUPPORT_H
