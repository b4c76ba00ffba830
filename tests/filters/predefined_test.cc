// The predefined filters against one direct evaluator of their table, the window sums and Roberts.
#include <algorithm>

#include "filters/filters_check.h"

namespace {

using kt::Plane;
using ft::Max;


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

// The first and last pixel of the vector middle of a row that starts at `start` (wide workers).
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
int64_t Eval(const Filter& f, const Plane& in, int x, int y, int64_t max, bool zero, bool saturate) {
  int64_t s = 0, t = 0;
  for (int j = 0; j < 3; ++j)
    for (int i = 0; i < 3; ++i) {
      const int xx = x - 1 + i, yy = y - 1 + j;
      const int64_t p = zero && !in.inside(xx, yy) ? 0 : in.clamped(xx, yy);
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

// A worker's result: the scalar worker (`zeroWorker`) takes its table entry's frame; `rowStart(y)`
// gives the source row address of the wide workers' vector middle (none: scalar).
Plane Expected(const Filter& f, const Plane& in, int64_t max, bool zeroWorker, const std::function<uintptr_t(int)>& rowStart) {
  Plane out = in;
  for (int y = 0; y < in.h; ++y) {
    const auto span = rowStart ? VectorSpan(rowStart(y), in.w) : std::pair<int, int>{0, 0};
    for (int x = 0; x < in.w; ++x) {
      const bool frame = x == 0 || y == 0 || x == in.w - 1 || y == in.h - 1;
      out.at(x, y) = Eval(f, in, x, y, max, zeroWorker && f.zeroFrame && frame, x >= span.first && x < span.second);
    }
  }
  return out;
}


template <class T>
void Check3x3(const Filter& f, void (*fn)(ZROI<T>*, ZROI<T>*), int w, int h, int offset, ft::Form form) {
  const bool wide = sizeof(T) == 1 && ZGetMMX() != 0;  // the wide workers are ZBW8's
  ft::Check<T>(fn, [&](const Plane& in, const Plane&, ZROI<T>* s) {
    std::function<uintptr_t(int)> start;
    if (wide) start = [s](int y) { return reinterpret_cast<uintptr_t>(s->GetImagePtr(0, y)); };
    return Expected(f, in, Max<T>(), form == ft::kSeparate && !wide, start);
  }, w, h, offset, form);
}

// Each round runs on the next Highway target in turn, the first rounds on long rows (several
// vectors of every width); the colour form is the in-place gray form on each plane.
TEST(Predefined3x3, EveryFilterMatchesTheTable) {
  for (const Filter& f : kFilters)
    kt::ForScalarAndWide([&](int wide) {
      SCOPED_TRACE(f.name);
      for (size_t round = 0; round < 18; ++round) {
        const bool longRow = round < kt::Targets().size();
        const kt::TargetSetting target(kt::NthTarget(round));
        const ft::Form form = ft::Form(round % 3);
        const int w = longRow ? 70 + kt::Rng()() % 100 : 2 + kt::Rng()() % 39, h = longRow ? 3 : 2 + kt::Rng()() % 39;
        Check3x3<ZBW8>(f, f.f8, w, h, int(round % 8), form);
        Check3x3<ZBW16>(f, f.f16, w, h, int(round % 8), form);
        if (f.f24 && round % 8 == 0) ft::CheckColour(f.f24, [&](ZROI<ZBW8>* p) { f.f8(p, nullptr); }, w / 3 + 2, h, form);
      }
      Check3x3<ZBW8>(f, f.f8, 4100, 2, 3, ft::kNull);  // the pieces of the in-place X kinds
      Check3x3<ZBW16>(f, f.f16, 1100, 3, 2, wide ? ft::kSource : ft::kSeparate);
    });
}


// Window sums over the nearest pixels in row order: the box scaled by 2^24 / area truncated, the product in 32 bits
// on ZBW8 and 64 on ZBW16 (the 5x5 and 7x7 uniform constants are these); the binomial Gaussians (`weights` for
// columns and rows) shifted. In place (`live`) the window reads the pixels already written.
Plane Sums(const Plane& in, unsigned hx, unsigned hy, bool bw16, bool live = false, const int* weights = nullptr,
           int shift = 0) {
  hx = std::min<unsigned>(hx, in.w - 1);
  hy = std::min<unsigned>(hy, in.h - 1);
  const uint64_t scale = (uint64_t(1) << 24) / ((2 * uint64_t(hx) + 1) * (2 * uint64_t(hy) + 1));
  Plane out = in;
  const Plane& from = live ? out : in;
  for (int y = 0; y < in.h; ++y)
    for (int x = 0; x < in.w; ++x) {
      uint64_t s = 0;
      for (int j = -int(hy); j <= int(hy); ++j)
        for (int i = -int(hx); i <= int(hx); ++i)
          s += (weights ? weights[hx + i] * weights[hy + j] : 1) * uint64_t(from.clamped(x + i, y + j));
      out.at(x, y) = weights ? int64_t(s >> shift) : bw16 ? int64_t(s * scale >> 24) : int64_t(uint32_t(s * scale) >> 24);
    }
  return out;
}

std::function<Plane(const Plane&, int64_t, bool)> Large(int n, bool uniform) {
  static const int b5[5] = {1, 4, 6, 4, 1}, b7[7] = {1, 6, 15, 20, 15, 6, 1};
  return [=](const Plane& in, int64_t, bool live) {
    return Sums(in, n / 2, n / 2, false, live, uniform ? nullptr : n == 5 ? b5 : b7, n == 5 ? 8 : 12);
  };
}

Plane ExpectedRoberts(const Plane& in, int64_t max) {
  Plane out = in;
  for (int y = 0; y < in.h; ++y)
    for (int x = 0; x < in.w; ++x) {
      const bool right = x + 1 < in.w, down = y + 1 < in.h;
      const int64_t c = in.clamped(x, y), e = in.clamped(x + 1, y), s = in.clamped(x, y + 1), se = in.clamped(x + 1, y + 1);
      const int64_t v = right && down ? std::abs(e - s) + std::abs(c - se)
                        : down          ? 2 * std::abs(c - s)
                        : right         ? 2 * std::abs(c - e)
                                        : 0;
      out.at(x, y) = std::min(v, max);
    }
  return out;
}

struct Other {
  const char* name;
  ft::Call<ZBW8> f8;
  ft::Call<ZBW16> f16;
  std::function<Plane(const Plane& in, int64_t max, bool live)> want;
  int least, forms;  // the smallest view; 2: no null destination
};
const Other kOthers[] = {
    {"Uniform5x5", LumConvolUniform5x5, nullptr, Large(5, true), 5, 2},
    {"Gaussian5x5", LumConvolGaussian5x5, nullptr, Large(5, false), 5, 2},
    {"Uniform7x7", LumConvolUniform7x7, nullptr, Large(7, true), 7, 2},
    {"Gaussian7x7", LumConvolGaussian7x7, nullptr, Large(7, false), 7, 2},
    {"Roberts", static_cast<F8>(LumConvolRoberts), static_cast<F16>(LumConvolRoberts),
     [](const Plane& in, int64_t max, bool) { return ExpectedRoberts(in, max); }, 1, 3},
};

// Each round on the next target; the last rounds on long rows. Roberts' ZBW16 sums above 65535 clip.
TEST(PredefinedOthers, MatchTheDirectSumsInEveryForm) {
  for (const Other& o : kOthers)
    kt::ForScalarAndWide([&](int wide) {
      SCOPED_TRACE(o.name);
      for (int round = 0; round < 14; ++round) {
        const kt::TargetSetting target(kt::NthTarget(round));
        const ft::Form form = ft::Form(round % o.forms);
        const int w = o.least + kt::Rng()() % (round < 11 ? 34 : 120), h = o.least + kt::Rng()() % 13;
        ft::Check<ZBW8>(o.f8, [&](const Plane& in, const Plane&, ZROI<ZBW8>*) { return o.want(in, 255, form != ft::kSeparate); },
                        w, h, round % 8, form);
        if (o.f16)
          ft::Check<ZBW16>(o.f16, [&](const Plane& in, const Plane&, ZROI<ZBW16>*) { return o.want(in, 65535, false); }, w, h,
                           2 * (round % 4), form);
      }
      if (!o.f16) return;
      ft::CheckColour(static_cast<F24>(LumConvolRoberts), ft::ThroughCopy(o.f8), 13, 5, wide ? ft::kNull : ft::kSeparate);
    });
}

// `count` passes of the replicate table's filter `name`.
Plane Passes(Plane img, const char* name, unsigned count, int64_t max) {
  const Filter& f =
      *std::find_if(std::begin(kFilters), std::end(kFilters), [&](const Filter& g) { return !std::strcmp(g.name, name); });
  for (unsigned i = 0; i < count; ++i) img = Expected(f, img, max, false, nullptr);
  return img;
}

// The small routes (in place too), boxes (default halfY, limited halves, thin boxes, long rows,
// windows 127 and 129 pixels wide, row-sum rings that wrap),
// Gaussians of each shape; the Gaussian of halves 0 leaves the destination as it was.
template <class T>
void CheckRoutes() {
  const int64_t max = Max<T>();
  const struct Route { unsigned hx, hy; int w, h; } kRoutes[] = {
      {0, 0, 9, 5},     {0, 1, 9, 5},      {1, 0, 9, 5},     {1, 1, 9, 5},     {2, 0xFFFFFFFFu, 17, 12}, {0, 2, 6, 9},
      {3, 0, 40, 3},    {1000, 2, 23, 8},  {15, 15, 70, 40}, {4, 1000, 5, 7},  {3, 1, 12, 9},  {1, 3, 12, 9}, {2, 2, 9, 9},
      {0, 3, 4, 8},     {0xFFFFFFFEu, 0xFFFFFFFEu, 30, 6},   {2, 129, 20, 131}, {7, 3, 171, 9}, {31, 11, 60, 20},
      {2, 0, 133, 4},   {5, 2, 1, 17},     {63, 4, 300, 30}, {64, 1, 140, 6}, {9, 40, 129, 100}};
  for (const Route& r : kRoutes) {
    const unsigned hy = r.hy == 0xFFFFFFFFu ? r.hx : r.hy, both = std::min(r.hx, hy);
    SCOPED_TRACE(::testing::Message() << r.hx << "/" << r.hy << " on " << r.w << "x" << r.h);
    const bool small = r.hx <= 1 && hy <= 1;
    const auto box = [&](const Plane& in, const Plane&, ZROI<T>*) {
      return !small ? Sums(in, r.hx, hy, sizeof(T) == 2)
                    : Passes(in, r.hx == 0 ? "UniformY" : hy == 0 ? "UniformX" : "Uniform3x3", r.hx + hy > 0, max);
    };
    ft::Check<T>([&](ZROI<T>* s, ZROI<T>* d) { LumConvolUniform(s, d, r.hx, r.hy); }, box, r.w, r.h, 3,
                 small ? ft::kNull : ft::kSeparate);
    if (r.hx > unsigned(r.w - 1) || hy > unsigned(r.h - 1)) continue;  // refused by the Gaussian, see the errors
    const auto gaussian = [&](const Plane& in, const Plane& old, ZROI<T>*) {
      const Plane square = Passes(in, "Gaussian3x3", both, max);
      return r.hx == 0 && hy == 0 ? old : Passes(Passes(square, "GaussianX", r.hx - both, max), "GaussianY", hy - both, max);
    };
    for (ft::Form form : {ft::kSeparate, ft::kNull})
      ft::Check<T>([&](ZROI<T>* s, ZROI<T>* d) { LumConvolGaussian(s, d, r.hx, r.hy); }, gaussian, r.w, r.h, 6, form);
  }
}

// On every target; the ZC24 box through a second plane, so that in place works; the Gaussian in place on one.
TEST(PredefinedRoutes, UniformAndGaussianTables) {
  kt::ForScalarAndEveryTarget([] {
    CheckRoutes<ZBW8>();
    CheckRoutes<ZBW16>();
  });
  ft::CheckColour([](ZROI<ZC24>* s, ZROI<ZC24>* d) { LumConvolUniform(s, d, 3, 2); },
                  ft::ThroughCopy([](ZROI<ZBW8>* s, ZROI<ZBW8>* d) { LumConvolUniform(s, d, 3, 2); }), 12, 7, ft::kSource);
  ft::CheckColour([](ZROI<ZC24>* s, ZROI<ZC24>* d) { LumConvolGaussian(s, d, 2, 1); },
                  [](ZROI<ZBW8>* p) { LumConvolGaussian(p, nullptr, 2, 1); }, 11, 6, ft::kSeparate);
}


TEST(PredefinedErrors, EveryFilterChecksItsViews) {
  for (const Filter& f : kFilters) {
    if (f.f24 == nullptr && f.name[std::strlen(f.name) - 1] == 'Y') continue;  // the box's and the Gaussian's forms
    kt::CheckFrame<ZBW8, ZBW8>(f.f8, std::string("LumConvol") + f.name + " (BW8)");
    kt::CheckFrame<ZBW16, ZBW16>(f.f16, std::string("LumConvol") + f.name + " (BW16)");
  }
}

TEST(PredefinedErrors, NumbersAndTraces) {
  kt::Framed<ZBW8> a(8, 8), b(8, 8), kept(8, 8), small(7, 8), row(8, 1), column(1, 8), four(4, 9);
  kt::Framed<ZBW16> a16(8, 8), row16(8, 1);
  kt::Framed<ZC24> c(8, 8), d(8, 8), crow(8, 1);
  ZImage<ZBW8> none;
  ZROI<ZBW8>* null8 = nullptr;
  ZROI<ZC24>* null24 = nullptr;
  kept.FillBytes(9);
  kt::CheckRefusals({
      // The two-argument frame traces its words on every call.
      {[&] { LumConvolGaussian3x3(a.get(), b.get()); }, Z_ERROR_NONE, {"LumConvolGaussian3x3 (BW8)"}},
      {[&] { LumConvolSobelX(a16.get(), nullptr); }, Z_ERROR_NONE, {"LumConvolSobelX (BW16)"}},
      {[&] { LumConvolLowpass3(row.get(), nullptr); }, Z_ERROR_SIZE_MISMATCH, {"LumConvolLowpass3 (BW8)"}},
      {[&] { LumConvolLaplacianY(row16.get(), nullptr); }, Z_ERROR_SIZE_MISMATCH, {"LumConvolLaplacianY (BW16)"}},
      {[&] { LumConvolGradientX(row.get(), nullptr); }, Z_ERROR_NONE, {"LumConvolGradientX (BW8)"}},
      {[&] { LumConvolGaussianX(column.get(), nullptr); }, Z_ERROR_SIZE_MISMATCH, {"LumConvolGaussianX (BW8)"}},
      // 5x5 and 7x7: traced on failure only; sizes before pixels.
      {[&] { LumConvolGaussian5x5(four.get(), four.get()); }, Z_ERROR_SIZE_MISMATCH, {"ConvolGaussian5x5"}},
      {[&] { LumConvolUniform7x7(a.get(), a.get()); }, Z_ERROR_NONE, {}},
      {[&] { LumConvolGaussian7x7(a.get(), nullptr); }, Z_ERROR_NULL_IMAGE, {"LumConvolGaussian7x7"}},
      {[&] { LumConvolUniform5x5(a.get(), small.get()); }, Z_ERROR_DIFFERENT_SIZES, {"ConvolUniform5x5"}},
      {kt::Gated([&] { LumConvolGaussian5x5(a.get(), kept.get()); }), Z_ERROR_INTERNAL, {"ConvolGaussian5x5"}},
      {[&] { LumConvolUniform7x7(&none, a.get()); }, Z_ERROR_DIFFERENT_SIZES, {"LumConvolUniform7x7"}},
      // Colour: the gray form's words, then the colour form's.
      {[&] { LumConvolSobel(null24, d.get()); }, Z_ERROR_NULL_IMAGE, {"LumConvolSobel ( C24)"}},
      {[&] { LumConvolPrewitt(c.get(), d.get()); }, Z_ERROR_NONE, {}},
      {[&] { LumConvolPrewittY(crow.get(), nullptr); }, Z_ERROR_SIZE_MISMATCH,
       {"LumConvolPrewittY (BW8)", "LumConvolPrewittY ( C24)"}},
      // Roberts: any size, no size comparison.
      {[&] { LumConvolRoberts(null8, b.get()); }, Z_ERROR_NULL_IMAGE, {"LumConvolRoberts"}},
      {[&] { LumConvolRoberts(a16.get(), nullptr); }, Z_ERROR_NONE, {}},
      {[&] { LumConvolRoberts(a.get(), small.get()); }, Z_ERROR_NONE, {}},
      {[&] { LumConvolRoberts(c.get(), null24); }, Z_ERROR_NONE, {}},
      // The box: in place only on the small routes; the passes' words inside.
      {kt::Gated([&] { LumConvolUniform(a.get(), kept.get(), 4); }), Z_ERROR_INTERNAL, {"LumConvolUniform"}},
      {[&] { LumConvolUniform(a.get(), nullptr, 2, 2); }, Z_ERROR_NEED_SEPARATE_DESTINATION, {"LumConvolUniform"}},
      {[&] { LumConvolUniform(a16.get(), a16.get(), 0, 7); }, Z_ERROR_NEED_SEPARATE_DESTINATION, {"LumConvolUniform (BW16)"}},
      {[&] { LumConvolUniform(a.get(), nullptr, 1, 1); }, Z_ERROR_NONE, {"LumConvolUniform3x3 (BW8)"}},
      {[&] { LumConvolUniform(a.get(), small.get(), 0, 0); }, Z_ERROR_DIFFERENT_SIZES, {"LumConvolUniform"}},
      {[&] { LumConvolUniform(row.get(), nullptr, 0, 1); }, Z_ERROR_SIZE_MISMATCH, {"ConvolUniformY (BW8)", "LumConvolUniform"}},
      {[&] { LumConvolUniform(row16.get(), nullptr, 0, 1); }, Z_ERROR_SIZE_MISMATCH,
       {"ConvolUniformY (BW16)", "LumConvolUniform (BW16)"}},
      {[&] { LumConvolUniform(c.get(), nullptr, 2, 2); }, Z_ERROR_NONE, {}},
      {[&] { LumConvolUniform(crow.get(), d.get(), 1); }, Z_ERROR_DIFFERENT_SIZES, {"LumConvolUniform ( C24)"}},
      // The Gaussian: halves bounded by the view.
      {kt::Gated([&] { LumConvolGaussian(a.get(), kept.get(), 1); }), Z_ERROR_INTERNAL, {"LumConvolGaussian"}},
      {[&] { LumConvolGaussian(a.get(), b.get(), 0xFFFFFFFEu); }, Z_ERROR_ARGUMENT_3, {"LumConvolGaussian"}},
      {[&] { LumConvolGaussian(a16.get(), nullptr, 7, 8); }, Z_ERROR_ARGUMENT_4, {"LumConvolGaussian (BW16)"}},
      {[&] { LumConvolGaussian(row.get(), nullptr, 3, 0); }, Z_ERROR_NONE, {"LumConvolGaussianX (BW8)"}},
      {[&] { LumConvolGaussian(column.get(), nullptr, 0, 3); }, Z_ERROR_NONE, {"LumConvolGaussianY (BW8)"}},
      {[&] { LumConvolGaussian(a.get(), small.get(), 1); }, Z_ERROR_DIFFERENT_SIZES, {"LumConvolGaussian"}},
      {[&] { LumConvolGaussian(c.get(), nullptr, 9, 1); }, Z_ERROR_ARGUMENT_3, {"LumConvolGaussian", "LumConvolGaussian ( C24)"}},
  });
  EXPECT_EQ(kt::Read(kept.get()), Plane(8, 8, 9));
  EXPECT_TRUE(b.GuardsIntact() && kept.GuardsIntact() && small.GuardsIntact() && row.GuardsIntact() && four.GuardsIntact());
}

}  // namespace
