// The predefined filters against one direct evaluator of their table (coefficients, multiplier,
// shift, post-processing; replicate or zero-outside frame), on random views of sizes 2..40 at
// byte offsets 0..7 with guard bytes, wide on and off, in place and not, ZBW8, ZBW16 and ZC24;
// then the larger sizes, Roberts, the routes of the box and the Gaussian, and the error numbers
// and trace words.
#include <algorithm>
#include <cstring>
#include <functional>

#include "support/kelmira_test.h"

namespace {

using Strings = std::vector<std::string>;
using Img = kt::Plane;

template <class T>
constexpr int64_t Max() { return sizeof(T) == 2 ? 65535 : 255; }
using kt::Read;

// Random gray values with 0 and max often enough to reach every clip.
template <class T>
void Fill(ZROI<T>* v) {
  kt::Write(v, kt::RandomPlane(v->GetWidth(), v->GetHeight(), 0, Max<T>(), 4));
}

// ----- the table -----

enum Post { kNone, kAbs, kAbsClip, kClip0, kAbsWrap };
using F8 = void (*)(ZROI<ZBW8>*, ZROI<ZBW8>*);
using F16 = void (*)(ZROI<ZBW16>*, ZROI<ZBW16>*);
using F24 = void (*)(ZROI<ZC24>*, ZROI<ZC24>*);

struct Filter {
  const char* name;
  int a[9];      // coefficients, row above first
  int b[9];      // a second set: the value is |a| + |b| (Sobel, Prewitt, Gradient)
  int mul, shift;
  Post post;
  bool zeroFrame;  // the scalar source-to-destination worker's frame
  F8 f8;
  F16 f16;
  F24 f24;
};

#define FORMS(Name)                                                                       \
  static_cast<F8>(Lum##Name), static_cast<F16>(Lum##Name), static_cast<F24>(Lum##Name)
#define GRAY(Name) static_cast<F8>(Lum##Name), static_cast<F16>(Lum##Name), nullptr

const Filter kFilters[] = {
    {"Lowpass1", {1, 1, 1, 1, 1, 1, 1, 1, 1}, {}, 14, 7, kNone, false, FORMS(ConvolLowpass1)},
    {"Uniform3x3", {1, 1, 1, 1, 1, 1, 1, 1, 1}, {}, 14, 7, kNone, false, GRAY(ConvolUniform3x3)},
    {"Lowpass2", {1, 1, 1, 1, 0, 1, 1, 1, 1}, {}, 1, 3, kNone, true, FORMS(ConvolLowpass2)},
    {"Lowpass3", {1, 2, 1, 2, 4, 2, 1, 2, 1}, {}, 1, 4, kNone, false, FORMS(ConvolLowpass3)},
    {"Gaussian3x3", {1, 2, 1, 2, 4, 2, 1, 2, 1}, {}, 1, 4, kNone, false, GRAY(ConvolGaussian3x3)},
    {"Highpass1", {0, -1, 0, -1, 5, -1, 0, -1, 0}, {}, 1, 0, kAbsClip, true, FORMS(ConvolHighpass1)},
    {"Highpass2", {-1, -1, -1, -1, 9, -1, -1, -1, -1}, {}, 1, 0, kClip0, true, FORMS(ConvolHighpass2)},
    {"Laplacian4", {0, 1, 0, 1, -4, 1, 0, 1, 0}, {}, 1, 0, kAbsClip, true, FORMS(ConvolLaplacian4)},
    {"Laplacian8", {1, 1, 1, 1, -8, 1, 1, 1, 1}, {}, 1, 0, kAbsClip, true, FORMS(ConvolLaplacian8)},
    {"LaplacianX", {0, 0, 0, 1, -2, 1, 0, 0, 0}, {}, 1, 0, kAbsWrap, false, FORMS(ConvolLaplacianX)},
    {"LaplacianY", {0, 1, 0, 0, -2, 0, 0, 1, 0}, {}, 1, 0, kAbsWrap, false, FORMS(ConvolLaplacianY)},
    {"SobelX", {-1, 0, 1, -2, 0, 2, -1, 0, 1}, {}, 1, 0, kAbsClip, true, FORMS(ConvolSobelX)},
    {"SobelY", {-1, -2, -1, 0, 0, 0, 1, 2, 1}, {}, 1, 0, kAbsClip, true, FORMS(ConvolSobelY)},
    {"Sobel", {-1, 0, 1, -2, 0, 2, -1, 0, 1}, {-1, -2, -1, 0, 0, 0, 1, 2, 1}, 1, 0, kAbsClip, true, FORMS(ConvolSobel)},
    {"PrewittX", {-1, 0, 1, -1, 0, 1, -1, 0, 1}, {}, 1, 0, kAbsClip, false, FORMS(ConvolPrewittX)},
    {"PrewittY", {-1, -1, -1, 0, 0, 0, 1, 1, 1}, {}, 1, 0, kAbsClip, true, FORMS(ConvolPrewittY)},
    {"Prewitt", {-1, 0, 1, -1, 0, 1, -1, 0, 1}, {-1, -1, -1, 0, 0, 0, 1, 1, 1}, 1, 0, kAbsClip, true, FORMS(ConvolPrewitt)},
    {"GradientX", {0, 0, 0, 1, 0, -1, 0, 0, 0}, {}, 1, 0, kAbs, false, FORMS(ConvolGradientX)},
    {"GradientY", {0, 1, 0, 0, 0, 0, 0, -1, 0}, {}, 1, 0, kAbs, false, FORMS(ConvolGradientY)},
    {"Gradient", {0, 0, 0, 1, 0, -1, 0, 0, 0}, {0, 1, 0, 0, 0, 0, 0, -1, 0}, 1, 0, kAbsClip, false, FORMS(ConvolGradient)},
    {"UniformX", {0, 0, 0, 1, 1, 1, 0, 0, 0}, {}, 85, 8, kNone, false, GRAY(ConvolUniformX)},
    {"GaussianX", {0, 0, 0, 1, 2, 1, 0, 0, 0}, {}, 1, 2, kNone, false, GRAY(ConvolGaussianX)},
    {"UniformY", {0, 1, 0, 0, 1, 0, 0, 1, 0}, {}, 85, 8, kNone, false,
     [](ZROI<ZBW8>* s, ZROI<ZBW8>* d) { LumConvolUniform(s, d, 0, 1); },
     [](ZROI<ZBW16>* s, ZROI<ZBW16>* d) { LumConvolUniform(s, d, 0, 1); }, nullptr},
    {"GaussianY", {0, 1, 0, 0, 2, 0, 0, 1, 0}, {}, 1, 2, kNone, false,
     [](ZROI<ZBW8>* s, ZROI<ZBW8>* d) { LumConvolGaussian(s, d, 0, 1); },
     [](ZROI<ZBW16>* s, ZROI<ZBW16>* d) { LumConvolGaussian(s, d, 0, 1); }, nullptr},
};

// The first and last pixel of the vector middle of a row that starts at `address` (wide workers).
std::pair<int, int> VectorSpan(uintptr_t start, int w) {
  const uintptr_t end = start + w;
  if (((start + 7) & ~uintptr_t(3)) >= (end & ~uintptr_t(3))) return {0, 0};
  int head = 0;
  while (head < w && ((start + head) & 4)) ++head;
  int x = head;
  while (start + x + 4 <= (end & ~uintptr_t(3))) x += 4;
  return {head, x};
}

// One output. `zero`: missing neighbours count 0 and the result takes abs and clip. `saturate`:
// the Laplacians clip instead of wrapping.
int64_t Eval(const Filter& f, const Img& in, int x, int y, int64_t max, bool zero, bool saturate) {
  int64_t s = 0, t = 0;
  for (int j = 0; j < 3; ++j)
    for (int i = 0; i < 3; ++i) {
      const int xx = x - 1 + i, yy = y - 1 + j;
      const int64_t p = zero && (xx < 0 || yy < 0 || xx >= in.w || yy >= in.h) ? 0 : in.clamped(xx, yy);
      s += f.a[j * 3 + i] * p;
      t += f.b[j * 3 + i] * p;
    }
  if (f.b[1] || f.b[3]) s = std::abs(s) + std::abs(t);
  s = s * f.mul >> f.shift;
  Post post = zero ? kAbsClip : f.post;
  if (post == kAbsWrap && saturate) post = kAbsClip;
  switch (post) {
    case kNone: return s;
    case kAbs: return std::abs(s);
    case kAbsClip: return std::min(std::abs(s), max);
    case kClip0: return std::clamp<int64_t>(s, 0, max);
    case kAbsWrap: return std::abs(s) & max;
  }
  return 0;
}

// What a worker gives: the scalar source-to-destination worker (`zeroWorker`) takes the frame of
// its table entry; `rowStart(y)` gives the source row address for the vector middle of the wide
// workers (0: scalar).
Img Expected(const Filter& f, const Img& in, int64_t max, bool zeroWorker, const std::function<uintptr_t(int)>& rowStart) {
  Img out = in;
  for (int y = 0; y < in.h; ++y) {
    const auto span = rowStart ? VectorSpan(rowStart(y), in.w) : std::pair<int, int>{0, 0};
    for (int x = 0; x < in.w; ++x) {
      const bool frame = x == 0 || y == 0 || x == in.w - 1 || y == in.h - 1;
      out.at(x, y) = Eval(f, in, x, y, max, zeroWorker && f.zeroFrame && frame, x >= span.first && x < span.second);
    }
  }
  return out;
}

// ----- the 3x3 family -----

template <class T>
void CheckGray(const Filter& f, void (*fn)(ZROI<T>*, ZROI<T>*), int w, int h, int offset, bool inPlace, bool nullDst) {
  kt::Framed<T> src(w, h, offset), dst(w, h, (offset * 5 + 3) % 8);
  Fill(src.get());
  Fill(dst.get());
  const Img in = Read(src.get());
  const bool wide = sizeof(T) == 1 && ZGetMMX() != 0;
  std::function<uintptr_t(int)> start;
  if (wide) start = [&](int y) { return reinterpret_cast<uintptr_t>(src->GetImagePtr(0, y)); };
  fn(src.get(), inPlace ? (nullDst ? nullptr : src.get()) : dst.get());
  ASSERT_EQ(ZGetError(), Z_ERROR_NONE) << f.name;
  const Img want = Expected(f, in, Max<T>(), !inPlace && !wide, start);
  ASSERT_EQ(Read(inPlace ? src.get() : dst.get()).p, want.p)
      << f.name << " " << w << "x" << h << "+" << offset << " wide " << wide << " in place " << inPlace;
  ASSERT_TRUE(src.GuardsIntact() && dst.GuardsIntact()) << f.name;
}

// Each wide round runs on the next Highway target in turn; the long rows (several vectors of
// every width) on each target.
TEST(Predefined3x3, EveryFilterMatchesTheTable) {
  const std::vector<int64_t> targets = kt::Targets();
  for (const Filter& f : kFilters)
    for (int wide : {0, 1}) {
      kt::WideSetting setting(wide);
      for (size_t round = 0; round < 16; ++round) {
        const kt::TargetSetting target(targets[round % targets.size()]);
        if (round < targets.size()) CheckGray<ZBW8>(f, f.f8, 70 + kt::Rng()() % 100, 3, round % 8, round % 2, false);
        if (round < targets.size()) CheckGray<ZBW16>(f, f.f16, 100 + int(round) * 7, 4, int(round % 8), round % 2, false);
        const int w = 2 + kt::Rng()() % 39, h = 2 + kt::Rng()() % 39;
        const bool inPlace = round % 3 == 2;
        CheckGray<ZBW8>(f, f.f8, w, h, int(round % 8), inPlace, round % 2 == 0);
        CheckGray<ZBW16>(f, f.f16, w, h, int(2 * (round % 4)), inPlace, round % 2 == 1);
      }
      CheckGray<ZBW8>(f, f.f8, 4100, 2, 3, true, true);  // the pieces of the in-place X kinds
      CheckGray<ZBW16>(f, f.f16, 1100, 3, 2, wide == 1, false);
    }
}


// A ZC24 call against the in-place gray form run on each component of a copy of the source.
void CheckColour(F24 colour, const std::function<void(ZROI<ZBW8>*)>& gray, int w, int h, bool inPlace) {
  kt::Framed<ZC24> src(w, h, 1), dst(w, h, 6);
  src.FillRandom(kt::Rng());
  ZImage<ZC24> original(w, h);
  LumCopy(src.get(), &original);
  colour(src.get(), inPlace ? (w % 2 ? nullptr : src.get()) : dst.get());
  ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
  ZROI<ZC24>* out = inPlace ? src.get() : dst.get();
  for (unsigned c = 0; c < 3; ++c) {
    ZImage<ZBW8> plane(w, h);
    HueGetComponent(&original, &plane, c);
    gray(&plane);
    for (int i = 0; i < w * h; ++i)
      ASSERT_EQ((&out->GetImagePtr(i % w, i / w)->c0)[c], plane.GetImagePtr(i % w, i / w)->value) << "component " << c;
  }
  ASSERT_TRUE(src.GuardsIntact() && dst.GuardsIntact());
}

TEST(Predefined3x3, ColourIsTheInPlaceGrayFormOnEachPlane) {
  for (const Filter& f : kFilters)
    for (int wide : {0, 1}) {
      if (f.f24 == nullptr) continue;
      kt::WideSetting setting(wide);
      SCOPED_TRACE(f.name);
      CheckColour(f.f24, [&](ZROI<ZBW8>* p) { f.f8(p, nullptr); }, 2 + kt::Rng()() % 30, 2 + kt::Rng()() % 12, wide == 1);
    }
}

// ----- 5x5 and 7x7 -----

struct Large {
  const char* name;
  int n;
  bool uniform;
  F8 f;
};
const Large kLarge[] = {{"ConvolUniform5x5", 5, true, LumConvolUniform5x5},
                        {"ConvolGaussian5x5", 5, false, LumConvolGaussian5x5},
                        {"LumConvolUniform7x7", 7, true, LumConvolUniform7x7},
                        {"LumConvolGaussian7x7", 7, false, LumConvolGaussian7x7}};

// Row order over the nearest pixels; `live` reads the image being written (dst equal to src).
Img ExpectedLarge(const Large& l, const Img& in, bool live) {
  const int b5[5] = {1, 4, 6, 4, 1}, b7[7] = {1, 6, 15, 20, 15, 6, 1};
  const int* w = l.n == 5 ? b5 : b7;
  Img out = in;
  const Img& from = live ? out : in;
  for (int y = 0; y < in.h; ++y)
    for (int x = 0; x < in.w; ++x) {
      uint64_t s = 0;
      for (int j = 0; j < l.n; ++j)
        for (int i = 0; i < l.n; ++i) s += (l.uniform ? 1 : w[i] * w[j]) * from.clamped(x - l.n / 2 + i, y - l.n / 2 + j);
      out.at(x, y) = l.uniform ? int64_t(s * (l.n == 5 ? 335544 : 171196) >> 23) : int64_t(s >> (l.n == 5 ? 8 : 12));
    }
  return out;
}

TEST(PredefinedLarge, MatchTheDirectSumsInPlaceReadingWrittenPixels) {
  for (const Large& l : kLarge)
    for (int wide : {0, 1}) {
      kt::WideSetting setting(wide);
      for (int round = 0; round < 12; ++round) {
        const kt::TargetSetting target(kt::Targets()[round % kt::Targets().size()]);
        const int w = l.n + kt::Rng()() % (round < 10 ? 34 : 120), h = l.n + kt::Rng()() % 20;
        const bool inPlace = round % 4 == 3;
        kt::Framed<ZBW8> src(w, h, round % 8), dst(w, h, 7 - round % 8);
        Fill(src.get());
        const Img in = Read(src.get());
        l.f(src.get(), inPlace ? src.get() : dst.get());
        ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
        ASSERT_EQ(Read(inPlace ? src.get() : dst.get()).p, ExpectedLarge(l, in, inPlace).p)
            << l.name << " " << w << "x" << h << " wide " << wide << " in place " << inPlace;
        ASSERT_TRUE(src.GuardsIntact() && dst.GuardsIntact());
      }
    }
}

// ----- Roberts -----

template <class T>
Img ExpectedRoberts(const Img& in, int64_t max) {
  Img out = in;
  for (int y = 0; y < in.h; ++y)
    for (int x = 0; x < in.w; ++x) {
      const bool right = x + 1 < in.w, down = y + 1 < in.h;
      const int64_t c = in.clamped(x, y), e = in.clamped(x + 1, y), s = in.clamped(x, y + 1), se = in.clamped(x + 1, y + 1);
      int64_t v = right && down ? std::abs(e - s) + std::abs(c - se) : down ? 2 * std::abs(c - s) : right ? 2 * std::abs(c - e) : 0;
      out.at(x, y) = std::min(v, max);
    }
  return out;
}

template <class T>
void CheckRoberts(int w, int h, int offset, int form) {
  kt::Framed<T> src(w, h, offset), dst(w, h, (offset + 3) % 8);
  Fill(src.get());
  const Img in = Read(src.get());
  ZROI<T>* out = form == 0 ? dst.get() : form == 1 ? src.get() : nullptr;
  LumConvolRoberts(src.get(), out);
  ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
  ASSERT_EQ(Read(form == 0 ? dst.get() : src.get()).p, ExpectedRoberts<T>(in, Max<T>()).p) << w << "x" << h << " form " << form;
  ASSERT_TRUE(src.GuardsIntact() && dst.GuardsIntact());
}

TEST(PredefinedRoberts, TwoByTwoRuleEdgesAndForms) {
  // From 1x1 up; a separate, equal and null destination; ZBW16 sums above 65535 clip.
  for (int round = 0; round < 40; ++round) {
    const int w = 1 + kt::Rng()() % 30, h = 1 + kt::Rng()() % 12;
    CheckRoberts<ZBW8>(w, h, round % 8, round % 3);
    CheckRoberts<ZBW16>(w, h, 2 * (round % 4), round % 3);
  }
  for (int wide : {0, 1}) {
    kt::WideSetting setting(wide);
    CheckColour(LumConvolRoberts, [](ZROI<ZBW8>* p) {
      ZImage<ZBW8> out(p->GetWidth(), p->GetHeight());
      LumConvolRoberts(p, &out);
      LumCopy(&out, p);
    }, 13, 5, wide == 1);
  }
}

// ----- the box and the Gaussian of any size -----

// The box straight from its definition: nearest pixels, scale = 2^24 / area truncated, the
// product in 32 bits on ZBW8 and 64 bits on ZBW16.
Img ExpectedBox(const Img& in, unsigned hx, unsigned hy, bool bw16) {
  hx = std::min<unsigned>(hx, in.w - 1);
  hy = std::min<unsigned>(hy, in.h - 1);
  const uint64_t scale = (uint64_t(1) << 24) / ((2 * uint64_t(hx) + 1) * (2 * uint64_t(hy) + 1));
  Img out = in;
  for (int y = 0; y < in.h; ++y)
    for (int x = 0; x < in.w; ++x) {
      uint64_t s = 0;
      for (int j = -int(hy); j <= int(hy); ++j)
        for (int i = -int(hx); i <= int(hx); ++i) s += in.clamped(x + i, y + j);
      out.at(x, y) = bw16 ? int64_t(s * scale >> 24) : int64_t(uint32_t(s * scale) >> 24);
    }
  return out;
}

// Passes of the replicate table: `count` of filter `f` in turn.
Img Passes(Img img, const char* name, unsigned count, int64_t max) {
  const Filter& f = *std::find_if(std::begin(kFilters), std::end(kFilters), [&](const Filter& g) { return !std::strcmp(g.name, name); });
  for (unsigned i = 0; i < count; ++i) img = Expected(f, img, max, false, nullptr);
  return img;
}

template <class T>
void CheckRoutes() {
  const int64_t max = Max<T>();
  const bool bw16 = sizeof(T) == 2;
  struct Route {
    unsigned hx, hy;
    int w, h;
  };
  // The small routes, boxes (default halfY, limited halves, a thin box), Gaussians of each shape.
  const Route kRoutes[] = {{0, 0, 9, 5},   {0, 1, 9, 5},     {1, 0, 9, 5},  {1, 1, 9, 5},  {2, 0xFFFFFFFFu, 17, 12},
                           {0, 2, 6, 9},   {3, 0, 40, 3},    {1000, 2, 23, 8}, {15, 15, 70, 40}, {4, 1000, 5, 7},
                           {3, 1, 12, 9},  {1, 3, 12, 9},    {2, 2, 9, 9},  {0, 3, 4, 8},  {0xFFFFFFFEu, 0xFFFFFFFEu, 30, 6},
                           {2, 129, 20, 131}};
  for (const Route& r : kRoutes) {
    const unsigned hy = r.hy == 0xFFFFFFFFu ? r.hx : r.hy;
    kt::Framed<T> src(r.w, r.h, 3), dst(r.w, r.h, 6);
    Fill(src.get());
    Fill(dst.get());
    const Img in = Read(src.get());
    SCOPED_TRACE(::testing::Message() << r.hx << "/" << r.hy << " on " << r.w << "x" << r.h);
    LumConvolUniform(src.get(), dst.get(), r.hx, r.hy);
    ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
    Img want = r.hx == 0 && hy == 0   ? in
               : r.hx <= 1 && hy <= 1 ? Passes(in, r.hx == 0 ? "UniformY" : hy == 0 ? "UniformX" : "Uniform3x3", 1, max)
                                      : ExpectedBox(in, r.hx, hy, bw16);
    ASSERT_EQ(Read(dst.get()).p, want.p) << "uniform";
    if (r.hx > unsigned(r.w - 1) || hy > unsigned(r.h - 1)) continue;  // refused by the Gaussian, see the errors
    Fill(dst.get());
    const Img before2 = Read(dst.get());
    LumConvolGaussian(src.get(), dst.get(), r.hx, r.hy);
    ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
    const unsigned both = std::min(r.hx, hy);
    want = Passes(Passes(Passes(in, "Gaussian3x3", both, max), "GaussianX", r.hx - both, max), "GaussianY", hy - both, max);
    ASSERT_EQ(Read(dst.get()).p, r.hx == 0 && hy == 0 ? before2.p : want.p) << "gaussian";
    // In place: the same pixels; the general box refuses.
    LumConvolGaussian(src.get(), nullptr, r.hx, r.hy);
    ASSERT_EQ(Read(src.get()).p, r.hx == 0 && hy == 0 ? in.p : want.p) << "gaussian in place";
    ASSERT_TRUE(src.GuardsIntact() && dst.GuardsIntact());
  }
}

TEST(PredefinedRoutes, UniformAndGaussianTables) {
  for (int wide : {0, 1}) {
    kt::WideSetting setting(wide);
    CheckRoutes<ZBW8>();
    CheckRoutes<ZBW16>();
  }
  // Random boxes on random views against the definition.
  for (int wide : {0, 1}) {
    kt::WideSetting setting(wide);
    for (int round = 0; round < 30; ++round) {
      const kt::TargetSetting target(kt::Targets()[round % kt::Targets().size()]);
      const int w = 1 + (round % 5 == 4 ? 130 : 0) + kt::Rng()() % 50, h = 1 + kt::Rng()() % 20;
      const unsigned hx = 2 + kt::Rng()() % 30, hy = kt::Rng()() % 12;
      kt::Framed<ZBW8> src(w, h, round % 8), dst(w, h, 5);
      kt::Framed<ZBW16> src16(w, h, 2 * (round % 4)), dst16(w, h, 2);
      Fill(src.get());
      Fill(src16.get());
      LumConvolUniform(src.get(), dst.get(), hx, hy);
      ASSERT_EQ(Read(dst.get()).p, ExpectedBox(Read(src.get()), hx, hy, false).p) << w << "x" << h << " " << hx << "/" << hy;
      LumConvolUniform(src16.get(), dst16.get(), hy, hx);
      ASSERT_EQ(Read(dst16.get()).p, ExpectedBox(Read(src16.get()), hy, hx, true).p);
      ASSERT_TRUE(dst.GuardsIntact() && dst16.GuardsIntact());
    }
  }
  // ZC24: the box through a second plane, so that in place works; the Gaussian in place on one.
  CheckColour([](ZROI<ZC24>* s, ZROI<ZC24>* d) { LumConvolUniform(s, d, 3, 2); },
              [](ZROI<ZBW8>* p) {
                ZImage<ZBW8> out(p->GetWidth(), p->GetHeight());
                LumConvolUniform(p, &out, 3, 2);
                LumCopy(&out, p);
              },
              12, 7, true);
  CheckColour([](ZROI<ZC24>* s, ZROI<ZC24>* d) { LumConvolGaussian(s, d, 2, 1); },
              [](ZROI<ZBW8>* p) { LumConvolGaussian(p, nullptr, 2, 1); }, 11, 6, false);
}

// ----- errors and traces -----

TEST(PredefinedErrors, NumbersAndTraces) {
  kt::Framed<ZBW8> a(8, 8), b(8, 8), small(7, 8), row(8, 1), column(1, 8), four(4, 9);
  kt::Framed<ZBW16> a16(8, 8), row16(8, 1);
  kt::Framed<ZC24> c(8, 8), d(8, 8), crow(8, 1);
  ZImage<ZBW8> none;
  ZROI<ZBW8>* null8 = nullptr;
  ZROI<ZC24>* null24 = nullptr;
  kt::CheckRefusals({
      // The two-argument frame traces its words on every call.
      {[&] { LumConvolGaussian3x3(a.get(), b.get()); }, Z_ERROR_NONE, {"LumConvolGaussian3x3 (BW8)"}},
      {[&] { LumConvolSobelX(a16.get(), nullptr); }, Z_ERROR_NONE, {"LumConvolSobelX (BW16)"}},
      {[&] { LumConvolGaussian3x3(null8, b.get()); }, Z_ERROR_NULL_IMAGE, {"LumConvolGaussian3x3 (BW8)"}},
      {[&] { LumConvolGaussian3x3(&none, nullptr); }, Z_ERROR_NULL_IMAGE, {"LumConvolGaussian3x3 (BW8)"}},
      {[&] { LumConvolHighpass1(a.get(), &none); }, Z_ERROR_NULL_IMAGE, {"LumConvolHighpass1 (BW8)"}},
      {[&] { LumConvolLowpass2(a.get(), small.get()); }, Z_ERROR_DIFFERENT_SIZES, {"LumConvolLowpass2 (BW8)"}},
      // Views narrower or lower than the neighbourhood.
      {[&] { LumConvolLowpass3(row.get(), nullptr); }, Z_ERROR_SIZE_MISMATCH, {"LumConvolLowpass3 (BW8)"}},
      {[&] { LumConvolLaplacianY(row16.get(), nullptr); }, Z_ERROR_SIZE_MISMATCH, {"LumConvolLaplacianY (BW16)"}},
      {[&] { LumConvolGradientX(row.get(), nullptr); }, Z_ERROR_NONE, {"LumConvolGradientX (BW8)"}},
      {[&] { LumConvolGaussianX(column.get(), nullptr); }, Z_ERROR_SIZE_MISMATCH, {"LumConvolGaussianX (BW8)"}},
      {[&] { LumConvolGaussian5x5(four.get(), four.get()); }, Z_ERROR_SIZE_MISMATCH, {"ConvolGaussian5x5"}},
      {[&] { LumConvolUniform7x7(a.get(), a.get()); }, Z_ERROR_NONE, {}},
      {[&] { LumConvolGaussian7x7(a.get(), nullptr); }, Z_ERROR_NULL_IMAGE, {"LumConvolGaussian7x7"}},
      {[&] { LumConvolUniform5x5(a.get(), small.get()); }, Z_ERROR_DIFFERENT_SIZES, {"ConvolUniform5x5"}},
      // Colour: the gray form's words, then the colour form's.
      {[&] { LumConvolSobel(null24, d.get()); }, Z_ERROR_NULL_IMAGE, {"LumConvolSobel ( C24)"}},
      {[&] { LumConvolPrewitt(c.get(), d.get()); }, Z_ERROR_NONE, {}},
      {[&] { LumConvolPrewittY(crow.get(), nullptr); }, Z_ERROR_SIZE_MISMATCH, {"LumConvolPrewittY (BW8)", "LumConvolPrewittY ( C24)"}},
      // Roberts: any size, no size comparison.
      {[&] { LumConvolRoberts(null8, b.get()); }, Z_ERROR_NULL_IMAGE, {"LumConvolRoberts"}},
      {[&] { LumConvolRoberts(a16.get(), nullptr); }, Z_ERROR_NONE, {}},
      {[&] { LumConvolRoberts(a.get(), small.get()); }, Z_ERROR_NONE, {}},
      {[&] { LumConvolRoberts(c.get(), null24); }, Z_ERROR_NONE, {}},
      // The box: in place only on the small routes; the passes' words inside.
      {[&] { LumConvolUniform(a.get(), nullptr, 2, 2); }, Z_ERROR_NEED_SEPARATE_DESTINATION, {"LumConvolUniform"}},
      {[&] { LumConvolUniform(a16.get(), a16.get(), 0, 7); }, Z_ERROR_NEED_SEPARATE_DESTINATION, {"LumConvolUniform (BW16)"}},
      {[&] { LumConvolUniform(a.get(), nullptr, 1, 1); }, Z_ERROR_NONE, {"LumConvolUniform3x3 (BW8)"}},
      {[&] { LumConvolUniform(a.get(), small.get(), 0, 0); }, Z_ERROR_DIFFERENT_SIZES, {"LumConvolUniform"}},
      {[&] { LumConvolUniform(row.get(), nullptr, 0, 1); }, Z_ERROR_SIZE_MISMATCH, {"ConvolUniformY (BW8)", "LumConvolUniform"}},
      {[&] { LumConvolUniform(row16.get(), nullptr, 0, 1); }, Z_ERROR_SIZE_MISMATCH, {"ConvolUniformY (BW16)", "LumConvolUniform (BW16)"}},
      {[&] { LumConvolUniform(c.get(), nullptr, 2, 2); }, Z_ERROR_NONE, {}},
      {[&] { LumConvolUniform(crow.get(), d.get(), 1); }, Z_ERROR_DIFFERENT_SIZES, {"LumConvolUniform ( C24)"}},
      // The Gaussian: halves bounded by the view.
      {[&] { LumConvolGaussian(a.get(), b.get(), 0xFFFFFFFEu); }, Z_ERROR_ARGUMENT_3, {"LumConvolGaussian"}},
      {[&] { LumConvolGaussian(a16.get(), nullptr, 7, 8); }, Z_ERROR_ARGUMENT_4, {"LumConvolGaussian (BW16)"}},
      {[&] { LumConvolGaussian(row.get(), nullptr, 3, 0); }, Z_ERROR_NONE, {"LumConvolGaussianX (BW8)"}},
      {[&] { LumConvolGaussian(column.get(), nullptr, 0, 3); }, Z_ERROR_NONE, {"LumConvolGaussianY (BW8)"}},
      {[&] { LumConvolGaussian(a.get(), small.get(), 1); }, Z_ERROR_DIFFERENT_SIZES, {"LumConvolGaussian"}},
      {[&] { LumConvolGaussian(c.get(), nullptr, 9, 1); }, Z_ERROR_ARGUMENT_3, {"LumConvolGaussian", "LumConvolGaussian ( C24)"}},
  });
  // The licence gate stops the call before the destination is touched.
  b.FillBytes(9);
  ZSetGateError(Z_ERROR_INTERNAL);
  LumConvolSobelY(a.get(), b.get());
  EXPECT_EQ(ZGetError(), Z_ERROR_INTERNAL);
  LumConvolUniform(a.get(), b.get(), 4);
  EXPECT_EQ(kt::Trace(), Strings{"LumConvolUniform"});
  LumConvolGaussian5x5(a.get(), b.get());
  EXPECT_EQ(kt::Trace(), Strings{"ConvolGaussian5x5"});
  ZSetGateError(Z_ERROR_NONE);
  EXPECT_EQ(Read(b.get()).p, std::vector<int64_t>(64, 9));
  EXPECT_TRUE(b.GuardsIntact() && small.GuardsIntact() && row.GuardsIntact() && four.GuardsIntact());
}

}  // namespace
