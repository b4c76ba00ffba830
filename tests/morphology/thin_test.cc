// Thin and thick against a direct model: the pattern read as a 3x3 grid of coefficients (turned as
// a grid), each pixel's neighbourhood compared place by place, and the loop's counting written out
// as the header documents it. Gray forms on views at several offsets, in place and not, wide on and off; C24's
// carried limit; BW1 at every bit offset against the same model and against BW8; the failures.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <memory>
#include <functional>
#include <string>
#include <vector>

#include "support/kelmira_test.h"

namespace {

using Strings = std::vector<std::string>;
using Grid = std::array<int, 9>;  // row-major coefficients: 1 object, 0 background, -1 any

// ----- the model -----

using Image = kt::Plane;

// One step along the ring of outer places; the grid's coefficient at a place moves to the next.
Grid Turn(const Grid& g, bool clockwise) {
  static const int ring[8] = {0, 1, 2, 5, 8, 7, 6, 3};  // top left, clockwise
  Grid out = g;
  for (int i = 0; i < 8; ++i) out[ring[clockwise ? (i + 1) % 8 : (i + 7) % 8]] = g[ring[i]];
  return out;
}

bool Matches(const Image& in, int x, int y, const Grid& g, bool outsideAgrees) {
  for (int r = 0; r < 3; ++r)
    for (int c = 0; c < 3; ++c) {
      const int k = g[r * 3 + c], px = x + c - 1, py = y + r - 1;
      if (k == -1) continue;
      const bool inside = px >= 0 && py >= 0 && px < in.w && py < in.h;
      if (!inside) {
        if (outsideAgrees) continue;
        if (k == 1) return false;
        continue;
      }
      if ((in.at(px, py) != 0) != (k == 1)) return false;
    }
  return true;
}

// One pass from `in` (the image before the pass) into `dst`; returns the changed flag.
bool Pass(const Image& in, Image& dst, const Grid& g, bool agrees, bool first, bool thick, uint32_t high) {
  bool changed = false;
  for (int y = 0; y < in.h; ++y)
    for (int x = 0; x < in.w; ++x) {
      int64_t& d = dst.at(x, y);
      if (Matches(in, x, y, g, agrees)) {
        const uint32_t target = thick ? high : 0;
        if (d != target) changed = true;
        d = target;
      } else if (first) {
        d = in.at(x, y) != 0 ? high : 0;
        if (x == 0 || y == 0 || x == in.w - 1 || y == in.h - 1) changed = true;
      }
    }
  return changed;
}

// The gray loop; `dst` holds the destination's pixels before the call.
int RunGray(const Image& src, Image& dst, Grid g, bool agrees, int rotation, int limit, bool thick, uint32_t high) {
  int iterations = 0;
  int n = limit == 0 ? src.w : limit;
  if (rotation != 0) n *= 8;
  int stall = 8, turn = 0;
  bool first = true;
  while (n > 0 && stall != 0) {
    ++iterations;
    if (turn == 0) stall = 8;
    --n;
    const Image in = first ? src : dst;
    const bool changed = Pass(in, dst, g, agrees, first, thick, high);
    first = false;
    if (rotation == 0) {
      stall = changed;
    } else {
      g = Turn(g, rotation == 1);
      if (!changed) --stall;
      turn = (turn + 1) % 8;
    }
  }
  return rotation != 0 ? iterations >> 3 : iterations;
}

// The BW1 loop: rings counted down; returns what the call leaves in `iterations`.
int RunBits(Image& img, Grid g, bool agrees, int rotation, int limit, bool thick) {
  int count = limit < 1 ? -1 : limit;
  while (count != 0) {
    bool changed = false;
    for (int k = 0; k < (rotation ? 8 : 1); ++k) {
      const Image in = img;
      changed |= Pass(in, img, g, agrees, false, thick, 1);
      if (rotation) g = Turn(g, rotation == 1);
    }
    --count;
    if (!changed) break;
  }
  return count == 0 ? 1 : std::abs(count);
}

// ----- views -----

std::unique_ptr<ZKernel> Kernel(const Grid& g, unsigned outside) {
  auto k = std::make_unique<ZKernel>(3, 3, 1.0f, 0, 2, outside);
  const float t[9] = {float(g[0]), float(g[1]), float(g[2]), float(g[3]), float(g[4]),
                      float(g[5]), float(g[6]), float(g[7]), float(g[8])};
  k->SetKernelData(t);
  return k;
}

template <class P>
void Put(ZROI<P>* v, const Image& m) { kt::Write(v, m); }
template <class P>
Image Get(ZROI<P>* v) { return kt::Read(v); }

int64_t MaxOf(const Image& m) { return *std::max_element(m.p.begin(), m.p.end()); }

// Random pixels: mostly object blobs so that patterns find matches; gray values when `gray`.
Image Random(int w, int h, uint32_t high, bool gray) {
  Image m(w, h);
  for (auto& p : m.p) {
    const uint32_t r = kt::Rng()() % 8;
    p = r < 5 ? (gray ? 1 + kt::Rng()() % high : high) : 0;
  }
  return m;
}

const Grid kThin1{0, 0, 0, -1, 1, -1, 1, 1, 1};
const Grid kThin2{0, 0, 0, -1, 0, -1, 1, 1, 1};
const Grid kAny{-1, -1, -1, -1, -1, -1, -1, -1, -1};
const Grid kLeftEnd{-1, -1, -1, 0, 1, -1, -1, -1, -1};    // an object pixel with background on its left
const Grid kCorner{1, -1, -1, -1, 0, -1, -1, -1, -1};     // background with object up-left
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
  struct Shape {
    int w, h, offset;
  };
  const Shape shapes[] = {{1, 1, 0}, {1, 9, 3}, {9, 1, 1}, {2, 2, 5}, {63, 4, 0}, {64, 3, 7}, {65, 5, 2}, {130, 6, 1}, {700, 3, 3}};
  for (int wide = 0; wide < 2; ++wide) {
    const kt::WideSetting setting(wide);
    for (const Shape& s : shapes)
      for (const Case& c : kCases)
        for (int inPlace = 0; inPlace < 2; ++inPlace) {
          SCOPED_TRACE(::testing::Message() << "wide " << wide << " " << s.w << "x" << s.h << " +" << s.offset
                                            << " rotation " << c.rotation << " limit " << c.limit << " thick "
                                            << c.thick << " outside " << c.outside << " in place " << inPlace);
          const Image src = Random(s.w, s.h, high, true);
          Image want = inPlace ? src : Random(s.w, s.h, high, true);
          const int size = static_cast<int>(sizeof(P));
          kt::Framed<P> a(s.w, s.h, s.offset * size, 19 * size), b(s.w, s.h, 2 * size, 23 * size);
          Put(a.get(), src);
          Put(b.get(), want);
          const int count = RunGray(src, want, c.grid, c.outside != 0, c.rotation, c.limit, c.thick, high);
          auto k = Kernel(c.grid, c.outside);
          int iterations = c.limit;
          ZROI<P>* d = inPlace ? a.get() : b.get();
          EXPECT_EQ((c.thick ? thick : thin)(a.get(), d, k.get(), KERNEL_ROTATION(c.rotation), iterations), 0);
          EXPECT_EQ(iterations, count);
          EXPECT_EQ(Get(d).p, want.p);
          if (!inPlace) {
            EXPECT_EQ(Get(a.get()).p, src.p);
          }
          EXPECT_TRUE(a.GuardsIntact() && b.GuardsIntact());
        }
  }
}

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
    ZImage<ZC24> img(12, 3), out(12, 3);
    LumCopy(ZC24(0, 255, 255), &img);  // plane 0 empty: settles after 2 passes
    Image planes[3];
    for (int k = 0; k < 3; ++k) {
      ZImage<ZBW8> p(12, 3);
      HueGetComponent(&img, &p, static_cast<unsigned>(k));
      planes[k] = Get(&p);
    }
    auto kernel = Kernel(kLeftEnd, 0);
    int n = 0, limit = 0;
    ZROI<ZC24>* d = inPlace ? static_cast<ZROI<ZC24>*>(&img) : &out;
    LumThin(&img, d, kernel.get(), KERNEL_ROTATION_NONE, n);
    EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
    for (int k = 0; k < 3; ++k) {
      Image want = planes[k];
      limit = RunGray(planes[k], want, kLeftEnd, false, 0, limit, false, 255);
      ZImage<ZBW8> p(12, 3);
      HueGetComponent(d, &p, static_cast<unsigned>(k));
      EXPECT_EQ(Get(&p).p, want.p) << "plane " << k;
    }
    EXPECT_EQ(limit, 2);
    EXPECT_EQ(n, 2);
    EXPECT_EQ(static_cast<ZROI<ZC24>*>(d)->GetPixel(2, 0).c1, 255);  // only two passes on plane 1
  }
}

// ----- BW1 -----

TEST(Thin, Bw1AgainstTheModelAtEveryBitOffset) {
  for (int wide = 0; wide < 2; ++wide) {
    const kt::WideSetting setting(wide);
    for (int width : {1, 7, 8, 9, 63, 64, 65, 130, 700})
      for (int offset = 0; offset < 8; offset += width > 130 ? 3 : 1)
        for (const Case& c : kCases) {
          SCOPED_TRACE(::testing::Message() << "wide " << wide << " width " << width << " bit offset " << offset
                                            << " rotation " << c.rotation << " limit " << c.limit);
          const int h = 1 + (width + offset) % 5;
          kt::Framed<ZBW1> a(width + 16, h), b(width + 16, h, 3);
          a.FillRandom(kt::Rng());
          b.FillRandom(kt::Rng());
          ZROI<ZBW1> s(a.get(), offset, 0, width, h), d(b.get(), (offset * 5) % 8, 0, width, h);
          Image img = Get(&s);
          const Image parentBefore = Get(b.get()), source = img;
          const int want = RunBits(img, c.grid, c.outside != 0, c.rotation, c.limit, c.thick);
          auto k = Kernel(c.grid, c.outside);
          int n = c.limit;
          const short int r = c.thick ? LumThick(&s, &d, k.get(), KERNEL_ROTATION(c.rotation), n)
                                      : LumThin(&s, &d, k.get(), KERNEL_ROTATION(c.rotation), n);
          EXPECT_EQ(r, 0);
          EXPECT_EQ(n, want);
          EXPECT_EQ(Get(&d).p, img.p);
          EXPECT_EQ(Get(&s).p, source.p);
          // Every bit of the destination's parent outside the view is kept.
          const Image parentAfter = Get(b.get());
          const int dx = (offset * 5) % 8;
          for (int y = 0; y < h; ++y)
            for (int x = 0; x < width + 16; ++x)
              if (x < dx || x >= dx + width) {
                ASSERT_EQ(parentAfter.at(x, y), parentBefore.at(x, y)) << x << "," << y;
              }
          EXPECT_TRUE(a.GuardsIntact() && b.GuardsIntact());
          // In place on the same view.
          Put(&d, source);
          n = c.limit;
          c.thick ? LumThick(&d, &d, k.get(), KERNEL_ROTATION(c.rotation), n)
                  : LumThin(&d, &d, k.get(), KERNEL_ROTATION(c.rotation), n);
          EXPECT_EQ(n, want);
          EXPECT_EQ(Get(&d).p, img.p);
        }
  }
}

TEST(Thin, Bw1AlignedKeepsSpareBitsAndMatchesBw8) {
  // Run to convergence with a rotation: BW1 and BW8 reach the same pixels.
  const int w = 70, h = 23;
  ZImage<ZBW1> bits(w, h), out(w, h);
  ZImage<ZBW8> gray(w, h), grayOut(w, h);
  Image m(w, h);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) m.at(x, y) = (x - 30) * (x - 30) + 4 * (y - 11) * (y - 11) < 500 || (x > 55 && y > 3);
  Put(&bits, m);
  for (auto& p : m.p) p *= 255;
  Put(&gray, m);
  for (int y = 0; y < h; ++y) std::memset(out.GetGenericImagePtr(0, y), 0xFF, 9);  // spare bits of byte 8 set
  auto k = Kernel(kThin1, 0);
  int n = 0, g = 0;
  short int r = 0;
  EXPECT_NO_THROW(r = LumThinAligned(&bits, &out, k.get(), KERNEL_ROTATION_CLOCKWISE, n));
  EXPECT_EQ(r, n);
  EXPECT_GT(n, 2);
  EXPECT_EQ(LumThin(&gray, &grayOut, k.get(), KERNEL_ROTATION_CLOCKWISE, g), 0);
  Image fromBits = Get(&out);
  for (auto& p : fromBits.p) p *= 255;
  EXPECT_EQ(fromBits.p, Get(&grayOut).p);
  for (int y = 0; y < h; ++y) EXPECT_EQ(static_cast<uint8_t*>(out.GetGenericImagePtr(0, y))[8] & 0x03, 0x03);
  // A limit that is reached leaves 1.
  n = 2;
  EXPECT_EQ(LumThinAligned(&bits, &out, k.get(), KERNEL_ROTATION_CLOCKWISE, n), 1);
  EXPECT_EQ(n, 1);
}

// ----- failures -----

template <class P>
struct Views {
  ZImage<P> src{9, 5}, dst{9, 5}, other{8, 5}, none;
};

TEST(Thin, FailuresLeaveTheirNumberTraceAndCount) {
  const Grid bad{0, 0, 2, -1, 1, -1, 1, 1, 1};
  const float nan = std::nanf("");
  struct Row {
    const char* what;
    int form;  // 0 other size, 1 void, 2 bad size, 3 no data, 4 not ternary, 5 NaN, 6 rotation 3, 7 rotation -1,
               // 8 iterations 1024, 9 null destination, 10 null kernel
    Z_ERRORS error;
    bool zeroed;
  };
  const Row rows[] = {
      {"sizes", 0, Z_ERROR_DIFFERENT_SIZES, false}, {"void views", 1, Z_ERROR_NULL_IMAGE, false},
      {"kernel 5x5", 2, Z_ERROR_KERNEL_BAD_SIZE, false}, {"no data", 3, Z_ERROR_KERNEL_NO_DATA, false},
      {"coefficient 2", 4, Z_ERROR_KERNEL_NOT_TERNARY, false}, {"NaN", 5, Z_ERROR_KERNEL_NOT_TERNARY, false},
      {"rotation 3", 6, Z_ERROR_ARGUMENT_4, true}, {"rotation -1", 7, Z_ERROR_ARGUMENT_4, true},
      {"iterations 1024", 8, Z_ERROR_ARGUMENT_5, true}, {"null destination", 9, Z_ERROR_NULL_IMAGE, false},
      {"null kernel", 10, Z_ERROR_KERNEL_NO_DATA, false},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    auto kernel = Kernel(row.form == 4 ? bad : kThin1, 0);
    if (row.form == 5) kernel->SetKernelData(1, 1, nan);
    ZKernel big(5, 5, 1.0f, 0, 2, 0), empty;
    empty.SetSizeX(3);
    ZKernel* k = row.form == 2 ? &big : row.form == 3 ? &empty : row.form == 10 ? nullptr : kernel.get();
    const KERNEL_ROTATION rotation = row.form == 6 ? KERNEL_ROTATION(3) : row.form == 7 ? KERNEL_ROTATION(-1) : KERNEL_ROTATION_NONE;
    const int start = row.form == 8 ? 1024 : 5, after = row.zeroed ? 0 : start;
    const auto check = [&](auto& v, const Strings& trace, auto call) {
      using P = typename std::remove_reference_t<decltype(v.src)>::PixelType;
      for (int y = 0; y < 5; ++y) std::memset(v.dst.GetGenericImagePtr(0, y), 0x5A, static_cast<size_t>(v.dst.GetRowPitch()));
      ZROI<P>* d = row.form == 0 ? &v.other : row.form == 1 ? &v.none : row.form == 9 ? nullptr : &v.dst;
      int n = start;
      const short int r = call(row.form == 1 ? &v.none : &v.src, d, k, rotation, n);
      EXPECT_EQ(ZGetError(), row.error) << trace.back();
      if (r != -1) {
        EXPECT_EQ(r, row.error) << trace.back();
      }
      EXPECT_EQ(kt::Trace(), trace);
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
    // The colour form checks its views itself; the rest fails in the BW8 form of plane 0.
    const bool own = row.form == 0 || row.form == 1 || row.form == 9;
    check(c24, own ? Strings{"LumThick ( C24)"} : Strings{"LumThick", "LumThick ( C24)"},
          [](auto&&... a) { LumThick(a...); return short(-1); });
    // The aligned form throws the same number and traces nothing.
    if (row.form != 9) {
      int n = start;
      ZROI<ZBW1>* d = row.form == 0 ? &b1.other : row.form == 1 ? &b1.none : &b1.dst;
      try {
        LumThickAligned(row.form == 1 ? &b1.none : &b1.src, d, k, rotation, n);
        ADD_FAILURE() << "no throw";
      } catch (Marvane::Ovidra::Exception& e) {
        EXPECT_EQ(e.code, row.error);
      }
      EXPECT_EQ(ZGetTraceCount(), 0);
    }
  }
}

TEST(Thin, Bw1FailuresAfterAlignmentAndTheGate) {
  ZImage<ZBW1> parent(40, 4), dst(33, 4);
  ZROI<ZBW1> a(&parent, 3, 0, 33, 4), b(&parent, 1, 0, 30, 4);
  auto k = Kernel(kThin1, 0);
  int n = 0;
  // An unaligned source of another size: the aligned copy is made, the size check throws.
  EXPECT_EQ(LumThin(&a, &b, k.get(), KERNEL_ROTATION_NONE, n), Z_ERROR_DIFFERENT_SIZES);
  EXPECT_EQ(kt::Trace(), Strings{"LumThin (BW1)"});
  // An aligned form refuses an unaligned view.
  try {
    LumThinAligned(&a, &dst, k.get(), KERNEL_ROTATION_NONE, n);
    ADD_FAILURE() << "no throw";
  } catch (Marvane::Ovidra::Exception& e) {
    EXPECT_EQ(e.code, Z_ERROR_BW1_NOT_ALIGNED);
  }
  EXPECT_EQ(LumThick(&a, nullptr, k.get(), KERNEL_ROTATION_NONE, n), Z_ERROR_NULL_IMAGE);
  EXPECT_EQ(kt::Trace(), Strings{"LumThick (BW1)"});
  ZSetGateError(Z_ERROR_INTERNAL);
  EXPECT_EQ(LumThin(&a, &dst, k.get(), KERNEL_ROTATION_NONE, n), Z_ERROR_INTERNAL);
  EXPECT_EQ(kt::Trace(), Strings{"LumThin (BW1)"});
  ZImage<ZBW8> g(4, 4);
  EXPECT_EQ(LumThin(&g, &g, k.get(), KERNEL_ROTATION_NONE, n), Z_ERROR_INTERNAL);
  ZSetGateError(Z_ERROR_NONE);
  // A kernel of one row of three passes the size test; its table is too short for nine.
  ZKernel row(3, 1, 1.0f, 0, 2, 0);
  EXPECT_EQ(LumThin(&g, &g, &row, KERNEL_ROTATION_NONE, n), Z_ERROR_KERNEL_BAD_SIZE);
  // A kernel 3 wide and 5 high reads its nine first coefficients.
  ZKernel tall(3, 5, 1.0f, 0, 2, 0);
  for (int i = 0; i < 15; ++i) tall.GetDataPtr()[i] = i < 9 ? -1.0f : 7.0f;
  LumCopy(ZBW8(3), &g);
  n = 1;
  EXPECT_EQ(LumThin(&g, &g, &tall, KERNEL_ROTATION_NONE, n), 0);
  EXPECT_EQ(MaxOf(Get(&g)), 0);
}

}  // namespace
