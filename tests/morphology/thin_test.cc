// Thin and thick against a direct model: the 3x3 pattern turned as a grid, the loop counted as the header says.
#include <algorithm>
#include <cmath>
#include <memory>

#include "morphology/morph_ref.h"

namespace {

using Grid = std::array<int, 9>;  // row-major coefficients: 1 object, 0 background, -1 any
using kt::Plane;


// One step along the ring of outer places; the grid's coefficient at a place moves to the next.
Grid Turn(const Grid& g, bool clockwise) {
  static const int ring[8] = {0, 1, 2, 5, 8, 7, 6, 3};  // top left, clockwise
  Grid out = g;
  for (int i = 0; i < 8; ++i) out[ring[clockwise ? (i + 1) % 8 : (i + 7) % 8]] = g[ring[i]];
  return out;
}

// Outside the view a place agrees with the pattern when `outsideAgrees`, else it is background.
bool Matches(const Plane& in, int x, int y, const Grid& g, bool outsideAgrees) {
  for (int i = 0; i < 9; ++i) {
    const int px = x + i % 3 - 1, py = y + i / 3 - 1;
    if (g[i] != -1 && (in.inside(px, py) ? (in.at(px, py) != 0) != (g[i] == 1) : !outsideAgrees && g[i] == 1)) return false;
  }
  return true;
}

// One pass from `in` (the image before the pass) into `dst`; returns the changed flag.
bool Pass(const Plane& in, Plane& dst, const Grid& g, bool agrees, bool first, bool thick, uint32_t high) {
  bool changed = false;
  for (int y = 0; y < in.h; ++y)
    for (int x = 0; x < in.w; ++x) {
      int64_t& d = dst.at(x, y);
      if (Matches(in, x, y, g, agrees)) {
        changed |= d != (thick ? high : 0);
        d = thick ? high : 0;
      } else if (first) {
        d = in.at(x, y) != 0 ? high : 0;
        changed |= x == 0 || y == 0 || x == in.w - 1 || y == in.h - 1;
      }
    }
  return changed;
}

// The gray loop; `dst` holds the destination's pixels before the call.
int RunGray(const Plane& src, Plane& dst, Grid g, bool agrees, int rotation, int limit, bool thick, uint32_t high) {
  int iterations = 0, n = (limit == 0 ? src.w : limit) * (rotation != 0 ? 8 : 1), stall = 8, turn = 0;
  for (bool first = true; n > 0 && stall != 0; first = false) {
    ++iterations;
    if (turn == 0) stall = 8;
    --n;
    const bool changed = Pass(first ? src : Plane(dst), dst, g, agrees, first, thick, high);
    if (rotation == 0) {
      stall = changed;
    } else {
      g = Turn(g, rotation == 1);
      stall -= !changed;
      turn = (turn + 1) % 8;
    }
  }
  return rotation != 0 ? iterations >> 3 : iterations;
}

// The BW1 loop: rings counted down; returns what the call leaves in `iterations`.
int RunBits(Plane& img, Grid g, bool agrees, int rotation, int limit, bool thick) {
  int count = limit < 1 ? -1 : limit;
  while (count != 0) {
    bool changed = false;
    for (int k = 0; k < (rotation ? 8 : 1); ++k) {
      changed |= Pass(Plane(img), img, g, agrees, false, thick, 1);
      if (rotation) g = Turn(g, rotation == 1);
    }
    --count;
    if (!changed) break;
  }
  return count == 0 ? 1 : std::abs(count);
}


std::unique_ptr<ZKernel> Kernel(const Grid& g, unsigned outside) {
  auto k = std::make_unique<ZKernel>(3, 3, 1.0f, 0, 2, outside);
  for (int i = 0; i < 9; ++i) k->GetDataPtr()[i] = float(g[i]);
  return k;
}

// Mostly object pixels so that patterns find matches; gray values below `high`.
Plane Random(int w, int h, uint32_t high) {
  Plane m = kt::RandomPlane(w, h, 1 - int64_t(high) * 3 / 5, high);
  for (int64_t& v : m.p) v = std::max<int64_t>(v, 0);
  return m;
}

const Grid kThin1{0, 0, 0, -1, 1, -1, 1, 1, 1};
const Grid kThin2{0, 0, 0, -1, 0, -1, 1, 1, 1};
const Grid kAny{-1, -1, -1, -1, -1, -1, -1, -1, -1};
const Grid kLeftEnd{-1, -1, -1, 0, 1, -1, -1, -1, -1};  // an object pixel with background on its left
const Grid kCorner{1, -1, -1, -1, 0, -1, -1, -1, -1};   // background with object up-left
const Grid kLonely{0, 0, 0, 0, 1, 0, 0, 0, 0};

struct Case {
  Grid grid;
  unsigned outside;
  int rotation;
  int limit;
  bool thick;
};
const Case kCases[] = {
    {kThin1, 0, 1, 0, false}, {kThin2, 0, 2, 0, false}, {kThin1, 1, 0, 0, false}, {kAny, 0, 0, 0, false},
    {kAny, 0, 0, 1, true},    {kLeftEnd, 0, 0, 0, false}, {kLeftEnd, 5, 0, 3, false}, {kCorner, 0, 1, 0, true},
    {kCorner, 7, 2, 2, true}, {kLonely, 0, 0, -1, false}, {kLonely, 1, 1, 0, false},  {kThin2, 1, 1, 1, true},
    {{1, 0, -1, 0, 1, 1, -1, 1, 0}, 3, 2, 0, true},     {{-1, 1, 0, 1, 1, 0, 0, -1, 1}, 0, 1, 0, false},
};

template <class P>
using Fn = short int (*)(ZROI<P>*, ZROI<P>*, ZKernel*, KERNEL_ROTATION, int&);

template <class P>
void GrayAgainstModel(Fn<P> thin, Fn<P> thick, uint32_t high) {
  const struct { int w, h, offset; } shapes[] = {{1, 1, 0},  {1, 9, 3},  {9, 1, 1},   {2, 2, 5},  {63, 4, 0},
                                                 {64, 3, 7}, {65, 5, 2}, {130, 6, 1}, {700, 3, 3}};
  kt::ForScalarAndWide([&](int) {
    for (const auto& s : shapes)
      for (const Case& c : kCases)
        for (int inPlace = 0; inPlace < 2; ++inPlace) {
          SCOPED_TRACE(::testing::Message() << s.w << "x" << s.h << " +" << s.offset << " rotation " << c.rotation
                                            << " limit " << c.limit << " thick " << c.thick << " outside " << c.outside
                                            << " in place " << inPlace);
          const Plane src = Random(s.w, s.h, high);
          Plane want = inPlace ? src : Random(s.w, s.h, high);
          const int size = static_cast<int>(sizeof(P));
          kt::Framed<P> a(s.w, s.h, s.offset * size, 19 * size), b(s.w, s.h, 2 * size, 23 * size);
          kt::Write(a.get(), src);
          kt::Write(b.get(), want);
          const int count = RunGray(src, want, c.grid, c.outside != 0, c.rotation, c.limit, c.thick, high);
          int iterations = c.limit;
          ZROI<P>* d = inPlace ? a.get() : b.get();
          const auto k = Kernel(c.grid, c.outside);
          EXPECT_EQ((c.thick ? thick : thin)(a.get(), d, k.get(), KERNEL_ROTATION(c.rotation), iterations), 0);
          EXPECT_EQ(iterations, count);
          EXPECT_EQ(kt::Read(d), want);
          EXPECT_TRUE(inPlace || kt::Read(a.get()) == src);
          EXPECT_TRUE(a.GuardsIntact() && b.GuardsIntact());
        }
  });
}

// The BW16 forms return nothing: the error state stands in.
template <class P, void (*F)(ZROI<P>*, ZROI<P>*, ZKernel*, KERNEL_ROTATION, int&)>
short int Voided(ZROI<P>* s, ZROI<P>* d, ZKernel* k, KERNEL_ROTATION r, int& n) {
  F(s, d, k, r, n);
  return static_cast<short int>(ZGetError());
}

TEST(Thin, GrayFormsAgainstTheModel) {
  GrayAgainstModel<ZBW8>(LumThin, LumThick, 255);
  GrayAgainstModel<ZBW8>(LumBiLevelThin, LumBiLevelThick, 255);
  GrayAgainstModel<ZBW16>(Voided<ZBW16, LumThin>, Voided<ZBW16, LumThick>, 65535);
}

// The count of plane 0 is the limit of plane 1, and that of plane 1 the limit of plane 2.
TEST(Thin, ColourCarriesTheLimitFromPlaneToPlane) {
  for (int inPlace = 0; inPlace < 2; ++inPlace) {
    kt::Framed<ZC24> img(12, 3), out(12, 3);
    LumCopy(ZC24(0, 255, 255), img.get());  // plane 0 empty: settles after 2 passes
    const Plane planes[3] = {kt::Read(img.get(), 0), kt::Read(img.get(), 1), kt::Read(img.get(), 2)};
    int n = 0, limit = 0;
    ZROI<ZC24>* d = inPlace ? img.get() : out.get();
    LumThin(img.get(), d, Kernel(kLeftEnd, 0).get(), KERNEL_ROTATION_NONE, n);
    EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
    for (int k = 0; k < 3; ++k) {
      Plane want = planes[k];
      limit = RunGray(planes[k], want, kLeftEnd, false, 0, limit, false, 255);
      EXPECT_EQ(kt::Read(d, k), want) << "plane " << k;
    }
    EXPECT_TRUE(limit == 2 && n == 2 && d->GetPixel(2, 0).c1 == 255);  // only two passes on plane 1
    EXPECT_TRUE(img.GuardsIntact() && out.GuardsIntact());
  }
}


// Every bit of the destination's parent outside the view is kept; then in place on the view.
TEST(Thin, Bw1AgainstTheModelAtEveryBitOffset) {
  kt::ForScalarAndWide([](int) {
    for (int width : {1, 7, 8, 9, 63, 64, 65, 130, 700})
      for (int offset = 0; offset < 8; offset += width > 130 ? 3 : 1)
        for (const Case& c : kCases) {
          SCOPED_TRACE(::testing::Message() << "width " << width << " bit " << offset << " case " << &c - kCases);
          const int h = 1 + (width + offset) % 5, dx = (offset * 5) % 8;
          kt::Framed<ZBW1> a(width + 16, h), b(width + 16, h, 3);
          a.FillRandom(kt::Rng());
          b.FillRandom(kt::Rng());
          ZROI<ZBW1> s(a.get(), offset, 0, width, h), d(b.get(), dx, 0, width, h);
          const Plane source = kt::Read(&s);
          Plane img = source, parent = kt::Read(b.get());
          const int want = RunBits(img, c.grid, c.outside != 0, c.rotation, c.limit, c.thick);
          for (int y = 0; y < h; ++y)
            for (int x = 0; x < width; ++x) parent.at(dx + x, y) = img.at(x, y);
          auto k = Kernel(c.grid, c.outside);
          for (ZROI<ZBW1>* from : {&s, &d}) {  // then in place
            int n = c.limit;
            if (from == &d) kt::Write(&d, source);
            EXPECT_EQ((c.thick ? Fn<ZBW1>(LumThick) : Fn<ZBW1>(LumThin))(from, &d, k.get(), KERNEL_ROTATION(c.rotation), n), 0);
            EXPECT_EQ(n, want);
            EXPECT_EQ(kt::Read(b.get()), parent);
          }
          EXPECT_EQ(kt::Read(&s), source);
          EXPECT_TRUE(a.GuardsIntact() && b.GuardsIntact());
        }
  });
}

// Run to convergence with a rotation: BW1 and BW8 reach the same pixels; the spare bits stay.
TEST(Thin, Bw1AlignedKeepsSpareBitsAndMatchesBw8) {
  const int w = 70, h = 23;
  ZImage<ZBW1> bits(w, h), out(w, h);
  ZImage<ZBW8> gray(w, h), grayOut(w, h);
  Plane m(w, h);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) m.at(x, y) = (x - 30) * (x - 30) + 4 * (y - 11) * (y - 11) < 500 || (x > 55 && y > 3);
  kt::Write<ZBW1>(&bits, m);
  for (auto& p : m.p) p *= 255;
  kt::Write<ZBW8>(&gray, m);
  for (int y = 0; y < h; ++y) std::memset(out.GetGenericImagePtr(0, y), 0xFF, 9);  // spare bits of byte 8 set
  auto k = Kernel(kThin1, 0);
  int n = 0, g = 0;
  short int r = 0;
  EXPECT_NO_THROW(r = LumThinAligned(&bits, &out, k.get(), KERNEL_ROTATION_CLOCKWISE, n));
  EXPECT_TRUE(r == n && n > 2) << n;
  EXPECT_EQ(LumThin(&gray, &grayOut, k.get(), KERNEL_ROTATION_CLOCKWISE, g), 0);
  Plane fromBits = kt::Read<ZBW1>(&out);
  for (auto& p : fromBits.p) p *= 255;
  EXPECT_EQ(fromBits, kt::Read<ZBW8>(&grayOut));
  for (int y = 0; y < h; ++y) EXPECT_EQ(static_cast<uint8_t*>(out.GetGenericImagePtr(0, y))[8] & 0x03, 0x03);
  n = 2;  // a limit that is reached leaves 1
  EXPECT_TRUE(LumThinAligned(&bits, &out, k.get(), KERNEL_ROTATION_CLOCKWISE, n) == 1 && n == 1);
}


template <class P>
struct Views {
  ZImage<P> src{9, 5}, dst{9, 5}, other{8, 5}, none;
};

// Each failure on every pixel type: the number (returned where a form returns one), the trace,
// the count (zeroed for bad arguments) and nothing written; the aligned form throws instead.
TEST(Thin, FailuresLeaveTheirNumberTraceAndCount) {
  enum Form { kOtherSize, kVoid, kBigKernel, kNoData, kNotTernary, kNaN, kRotation3, kRotationMinus1, kIterations, kNullDst,
              kNullKernel, kOneRow, kGate };
  const struct {
    Form form;
    Z_ERRORS error;
  } rows[] = {{kOtherSize, Z_ERROR_DIFFERENT_SIZES},  {kVoid, Z_ERROR_NULL_IMAGE},         {kBigKernel, Z_ERROR_KERNEL_BAD_SIZE},
              {kNoData, Z_ERROR_KERNEL_NO_DATA},      {kNotTernary, Z_ERROR_KERNEL_NOT_TERNARY}, {kNaN, Z_ERROR_KERNEL_NOT_TERNARY},
              {kRotation3, Z_ERROR_ARGUMENT_4},       {kRotationMinus1, Z_ERROR_ARGUMENT_4}, {kIterations, Z_ERROR_ARGUMENT_5},
              {kNullDst, Z_ERROR_NULL_IMAGE},         {kNullKernel, Z_ERROR_KERNEL_NO_DATA}, {kOneRow, Z_ERROR_KERNEL_BAD_SIZE},
              {kGate, Z_ERROR_INTERNAL}};
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << "form " << row.form);
    auto kernel = Kernel(row.form == kNotTernary ? Grid{0, 0, 2, -1, 1, -1, 1, 1, 1} : kThin1, 0);
    if (row.form == kNaN) kernel->SetKernelData(1, 1, std::nanf(""));
    ZKernel big(5, 5, 1.0f, 0, 2, 0), empty, oneRow(3, 1, 1.0f, 0, 2, 0);  // one row of three: too short for nine
    empty.SetSizeX(3);
    ZKernel* k = row.form == kBigKernel ? &big : row.form == kNoData ? &empty : row.form == kNullKernel ? nullptr
               : row.form == kOneRow ? &oneRow : kernel.get();
    const KERNEL_ROTATION rotation = KERNEL_ROTATION(row.form == kRotation3 ? 3 : row.form == kRotationMinus1 ? -1 : 0);
    const int start = row.form == kIterations ? 1024 : 5;
    const int after = row.form == kRotation3 || row.form == kRotationMinus1 || row.form == kIterations ? 0 : start;
    const auto check = [&](auto& v, const Strings& trace, auto call) {
      using P = typename std::remove_reference_t<decltype(v.src)>::PixelType;
      for (int y = 0; y < 5; ++y) std::memset(v.dst.GetGenericImagePtr(0, y), 0x5A, static_cast<size_t>(v.dst.GetRowPitch()));
      ZROI<P>* d = row.form == kOtherSize ? &v.other : row.form == kVoid ? &v.none : row.form == kNullDst ? nullptr : &v.dst;
      int n = start;
      short int r = 0;
      const auto run = [&] { r = call(row.form == kVoid ? &v.none : &v.src, d, k, rotation, n); };
      row.form == kGate ? kt::Gated(run)() : run();
      EXPECT_TRUE(kt::Failed(row.error, trace));
      EXPECT_TRUE(r == -1 || r == row.error) << trace.back();
      EXPECT_EQ(n, after) << trace.back();
      for (int y = 0; y < 5; ++y) EXPECT_EQ(static_cast<uint8_t*>(v.dst.GetGenericImagePtr(0, y))[0], 0x5A) << trace.back();
    };
    Views<ZBW8> b8;
    Views<ZBW16> b16;
    Views<ZC24> c24;
    Views<ZBW1> b1;
    check(b8, {"LumThin"}, [](auto&&... a) { return LumThin(a...); });
    check(b8, {"LumBiLevelThick"}, [](auto&&... a) { return LumBiLevelThick(a...); });
    check(b16, {"LumThick (BW16)"}, [](auto&&... a) { LumThick(a...); return short(-1); });
    check(b1, {"LumThin (BW1)"}, [](auto&&... a) { return LumThin(a...); });
    // The colour form checks the gate and its views itself; the rest fails in the BW8 form of plane 0.
    const bool own = row.form == kOtherSize || row.form == kVoid || row.form == kNullDst || row.form == kGate;
    check(c24, own ? Strings{"LumThick ( C24)"} : Strings{"LumThick", "LumThick ( C24)"},
          [](auto&&... a) { LumThick(a...); return short(-1); });
    if (row.form == kNullDst || row.form == kGate) continue;
    int n = start;
    ZROI<ZBW1>* d = row.form == kOtherSize ? &b1.other : row.form == kVoid ? &b1.none : &b1.dst;
    EXPECT_EQ(kt::Thrown([&] { LumThickAligned(row.form == kVoid ? &b1.none : &b1.src, d, k, rotation, n); }), row.error);
    EXPECT_EQ(ZGetTraceCount(), 0);
  }
}

// An unaligned source of another size: the aligned copy is made, the size check fails. An aligned
// form refuses an unaligned view. A kernel 3 wide and 5 high reads its nine first coefficients.
TEST(Thin, Bw1UnalignedViewsAndATallKernel) {
  ZImage<ZBW1> parent(40, 4), dst(33, 4);
  ZROI<ZBW1> a(&parent, 3, 0, 33, 4), b(&parent, 1, 0, 30, 4);
  auto k = Kernel(kThin1, 0);
  int n = 0;
  EXPECT_EQ(LumThin(&a, &b, k.get(), KERNEL_ROTATION_NONE, n), Z_ERROR_DIFFERENT_SIZES);
  EXPECT_TRUE(kt::Failed(Z_ERROR_DIFFERENT_SIZES, {"LumThin (BW1)"}));
  EXPECT_EQ(kt::Thrown([&] { LumThinAligned(&a, &dst, k.get(), KERNEL_ROTATION_NONE, n); }), Z_ERROR_BW1_NOT_ALIGNED);
  ZImage<ZBW8> g(4, 4);
  ZKernel tall(3, 5, 1.0f, 0, 2, 0);
  for (int i = 0; i < 15; ++i) tall.GetDataPtr()[i] = i < 9 ? -1.0f : 7.0f;
  LumCopy(ZBW8(3), &g);
  n = 1;
  EXPECT_TRUE(LumThin(&g, &g, &tall, KERNEL_ROTATION_NONE, n) == 0 && kt::Read<ZBW8>(&g) == Plane(4, 4, 0));
}

}  // namespace
