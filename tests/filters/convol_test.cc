// LumConvolKernel and LumConvolSymmetricKernel: every route against a direct evaluation on random
// views at several byte offsets, wide paths on and off, in place, tiny views, the worked cases,
// and the error numbers and trace strings.
#include <cstring>
#include <functional>

#include "hwy/targets.h"

#include "support/convol_ref.h"
#include "support/kelmira_test.h"

namespace {

using Strings = std::vector<std::string>;

template <class T>
constexpr int64_t Max() {
  return sizeof(T) == 1 ? 255 : 65535;
}

template <class T>
ref::Img Read(ZROI<T>* v) {
  ref::Img m{v->GetWidth(), v->GetHeight(), {}};
  for (int y = 0; y < m.h; ++y)
    for (int x = 0; x < m.w; ++x) m.p.push_back(v->GetImagePtr(x, y)->value);
  return m;
}

template <class T>
void Fill(ZROI<T>* v, std::mt19937& rng, int64_t max) {
  for (int y = 0; y < v->GetHeight(); ++y)
    for (int x = 0; x < v->GetWidth(); ++x) {
      const uint32_t r = rng();
      // Mostly full range, with the extremes often enough to hit the clips.
      v->GetImagePtr(x, y)->value = static_cast<decltype(T::value)>(r % 8 == 0 ? max : r % 8 == 1 ? 0 : (r >> 3) % (max + 1));
    }
}

std::vector<float> TableOf(const ZKernel& k) {
  const int n = k.GetSizeX() > 0 && k.GetSizeY() > 0 ? k.GetSizeX() * k.GetSizeY() : 0;
  return std::vector<float>(k.GetDataPtr(), k.GetDataPtr() + n);
}

// What the routing table asks of a kernel, evaluated directly. `previous` is the destination
// before the call (a rectifier above 3 on a fixed worker leaves it).
ref::Img Expected(const ref::Img& src, const ref::Img& previous, const ZKernel& k, int64_t max, bool inPlace,
                  bool symmetric = false) {
  const int sx = k.GetSizeX(), sy = k.GetSizeY(), rect = k.GetRectifier();
  std::vector<float> t = TableOf(k);
  const bool square = sx == sy && (sx == 3 || sx == 5 || sx == 7);
  if (symmetric) {  // expand the representatives; the scale sees each times its orbit size
    std::vector<float> full(t.size()), weighted;
    const int r = sx / 2;
    for (int j = 0; j < sx; ++j)
      for (int i = 0; i < sx; ++i) {
        int dx = std::abs(i - r), dy = std::abs(j - r);
        if (dx > dy) std::swap(dx, dy);
        full[j * sx + i] = t[(r - dy) * sx + (r - dx)];
      }
    float sum = 0, sumAbs = 0;
    for (int dy = r; dy >= 0; --dy)
      for (int dx = r; dx >= 0; --dx)
        if (dx <= dy) {
          const float size = (dx == 0 && dy == 0) ? 1.0f : (dx == 0 || dx == dy) ? 4.0f : 8.0f;
          const float v = t[(r - dy) * sx + (r - dx)];
          sum += size * v;
          sumAbs += size * std::fabs(v);
        }
    float g = std::fabs(sum) > sumAbs * 0.00001f ? k.GetGain() / sum : k.GetGain();
    if (rect < 1 || rect > 3) return previous;
    uint32_t bias = k.GetOffset() << 15;
    if (rect == 1) g = -g, bias = 0u - bias;
    std::vector<int32_t> c;
    for (float v : full) c.push_back(ref::Trunc(double(g * v) * 32768.0));
    return ref::Fixed(src, sx, c, static_cast<int32_t>(bias), 15, rect, max, inPlace);
  }
  float g = ref::Gain(t, k.GetGain());
  if (sx == 3 && sy == 3 && rect == 2) {
    std::vector<int32_t> c;
    for (float v : t) c.push_back(ref::Trunc(double(g * v) * 256.0));
    return ref::Fixed(src, 3, c, 0, 8, 2, max, false);  // the short route handles in place
  }
  if (rect == 0 || !square) {
    std::vector<float> kf;
    for (float v : t) kf.push_back(g * v);
    if (sx == 3 && sy == 3) return ref::Float3x3(src, kf, rect, k.GetOffset(), k.GetOutsideValue(), max, inPlace);
    return ref::FloatGeneral(src, sx > 0 && sy > 0 ? sx : 0, sx > 0 && sy > 0 ? sy : 0, kf, rect, k.GetOffset(),
                             k.GetOutsideValue(), max, inPlace);
  }
  if (rect < 1 || rect > 3) return previous;
  uint32_t bias = k.GetOffset() << 15;
  if (rect == 1) g = -g, bias = 0u - bias;
  std::vector<int32_t> c;
  for (float v : t) c.push_back(ref::Trunc(double(g * v) * 32768.0));
  return ref::Fixed(src, sx, c, static_cast<int32_t>(bias), 15, rect, max, inPlace);
}

void RandomTable(ZKernel& k, std::mt19937& rng, float spread) {
  std::uniform_real_distribution<float> u(-spread, spread);
  for (int i = 0; i < k.GetSizeX() * k.GetSizeY(); ++i) k.GetDataPtr()[i] = std::round(u(rng) * 8) / 8;
}

// Runs `call` on random views against the reference, for the wide setting given, over widths and
// heights around the kernel's size and byte offsets 0..7. Also checks the guard bytes.
template <class T>
void Sweep(ZKernel& k, int wide, bool symmetric, int rounds, float spread = 2.0f) {
  std::mt19937& rng = kt::Rng();
  kt::WideSetting setting(wide);
  for (int round = 0; round < rounds; ++round) {
    const int w = 1 + static_cast<int>(rng() % 40), h = 1 + static_cast<int>(rng() % 10);
    const int offset = static_cast<int>(rng() % 8);
    RandomTable(k, rng, spread);
    kt::Framed<T> src(w, h, offset), dst(w, h, static_cast<int>(rng() % 8));
    Fill(src.get(), rng, Max<T>());
    Fill(dst.get(), rng, Max<T>());
    const ref::Img in = Read(src.get()), before = Read(dst.get());
    if (symmetric)
      LumConvolSymmetricKernel(src.get(), dst.get(), &k);
    else
      LumConvolKernel(src.get(), dst.get(), &k);
    ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
    const ref::Img want = Expected(in, before, k, Max<T>(), false, symmetric);
    ASSERT_EQ(Read(dst.get()).p, want.p) << "size " << k.GetSizeX() << "x" << k.GetSizeY() << " rect "
                                         << k.GetRectifier() << " view " << w << "x" << h << " wide " << wide;
    ASSERT_TRUE(src.GuardsIntact());
    ASSERT_TRUE(dst.GuardsIntact());
    ASSERT_EQ(Read(src.get()).p, in.p);
  }
}

struct Case {
  short sx, sy, rect;
};
// Every route: short, Q15 3x3 with both rectifiers, Q15 5x5 and 7x7, the float 3x3 and the
// general loop (odd, even, oblong, large), and the rectifiers that write nothing or act as 0.
const Case kCases[] = {{3, 3, 2}, {3, 3, 1}, {3, 3, 3}, {5, 5, 1}, {5, 5, 2}, {5, 5, 3}, {7, 7, 2}, {7, 7, 3},
                       {3, 3, 0}, {5, 5, 0}, {4, 4, 2}, {2, 2, 1}, {5, 3, 3}, {1, 6, 2}, {9, 9, 0}, {4, 4, 5},
                       {7, 7, 5}, {3, 3, 5}, {1, 1, 2}};

TEST(ConvolRoutes, MatchTheDirectEvaluationOnBW8) {
  for (const Case& c : kCases)
    for (int wide : {0, 1}) {
      ZKernel k(c.sx, c.sy, 1.0f, 0, c.rect, 0);
      k.SetOffset(kt::Rng()() % 40);
      k.SetOutsideValue(kt::Rng()() % 300);
      k.SetGain(0.5f + (kt::Rng()() % 8) * 0.25f);
      Sweep<ZBW8>(k, wide, false, 25);
    }
}

TEST(ConvolRoutes, MatchTheDirectEvaluationOnBW16) {
  for (const Case& c : kCases)
    for (int wide : {0, 1}) {
      ZKernel k(c.sx, c.sy, 1.0f, 0, c.rect, 0);
      k.SetOffset(kt::Rng()() % 4000);
      k.SetOutsideValue(kt::Rng()() % 70000);
      k.SetGain(0.5f + (kt::Rng()() % 8) * 0.25f);
      Sweep<ZBW16>(k, wide, false, 20);
    }
}

TEST(ConvolRoutes, DerivativeKernelsAreUsedAsTheyStand) {
  // Kernels that cancel: g is the gain itself, large coefficients, the 32-bit sum wraps on BW16.
  for (int type : {KERNEL_SOBEL_X, KERNEL_SOBEL_Y, KERNEL_LAPLACIAN_8, KERNEL_PREWITT_Y})
    for (short rect : {1, 2, 3})
      for (int wide : {0, 1}) {
        ZKernel k(static_cast<KERNEL_TYPE>(type));
        k.SetRectifier(rect);
        k.SetGain(rect == 3 ? 1.0f : 3.0f);
        ZKernel big(5, 5, 1.0f, 7, rect, 0);
        for (auto* kernel : {&k, &big}) {
          kt::Framed<ZBW16> src(23, 6, 3), dst(23, 6, 1);
          Fill(src.get(), kt::Rng(), 65535);
          if (kernel == &big) {
            RandomTable(big, kt::Rng(), 4.0f);
            big.GetDataPtr()[12] = -big.GetDataPtr()[0];  // push the sum toward zero
          }
          const ref::Img in = Read(src.get()), before = Read(dst.get());
          kt::WideSetting setting(wide);
          LumConvolKernel(src.get(), dst.get(), kernel);
          ASSERT_EQ(Read(dst.get()).p, Expected(in, before, *kernel, 65535, false).p) << type << " " << rect;
        }
      }
}

TEST(ConvolRoutes, SymmetricWorkersReadOneCoefficientPerOrbit) {
  for (short n : {3, 5, 7})
    for (short rect : {1, 2, 3})
      for (int wide : {0, 1}) {
        ZKernel k(n, n, 1.25f, 3, rect, 0);
        Sweep<ZBW8>(k, wide, true, 12);
        ZKernel k16(n, n, 0.75f, 900, rect, 0);
        Sweep<ZBW16>(k16, wide, true, 8);
      }
  // The coefficients off the representatives are not read: scribbling them changes nothing.
  ZKernel a(5, 5, 1.0f, 0, 2, 0), b(5, 5, 1.0f, 0, 2, 0);
  RandomTable(a, kt::Rng(), 2.0f);
  std::memcpy(b.GetDataPtr(), a.GetDataPtr(), 25 * sizeof(float));
  for (int i : {3, 4, 5, 8, 9, 10, 11, 13, 14, 20, 24}) b.GetDataPtr()[i] = 1000.0f + i;
  kt::Framed<ZBW8> src(17, 9), da(17, 9), db(17, 9);
  Fill(src.get(), kt::Rng(), 255);
  LumConvolSymmetricKernel(src.get(), da.get(), &a);
  LumConvolSymmetricKernel(src.get(), db.get(), &b);
  EXPECT_TRUE(kt::SameBytes(da.get(), db.get()));
}

TEST(ConvolRoutes, WideRowsOnEveryTarget) {
  // Rows long enough for several vectors of every target, coefficients within 16 bits and
  // beyond (a centre weight above 1.0 after scaling), against the direct evaluation.
  for (int64_t target : hwy::SupportedAndGeneratedTargets()) {
    hwy::SetSupportedTargetsForTest(target);
    for (short n : {3, 5, 7, 4, 11})  // 4 and 11: the float route's buffered rows
      for (short rect : {2, 3})
        for (float centre : {0.0f, 40.0f}) {
          ZKernel k(n, n, 1.0f, 11, rect, 77);
          for (int round = 0; round < 4; ++round) {
            RandomTable(k, kt::Rng(), 2.0f);
            k.GetDataPtr()[n * n / 2] += centre;
            const int w = 40 + static_cast<int>(kt::Rng()() % 90), h = 1 + static_cast<int>(kt::Rng()() % 4);
            kt::Framed<ZBW8> src(w, h, round), dst(w, h, 7 - round);
            kt::Framed<ZBW16> src16(w, h, 2 * round), dst16(w, h, 1);
            Fill(src.get(), kt::Rng(), 255);
            Fill(src16.get(), kt::Rng(), 65535);
            const ref::Img in = Read(src.get()), in16 = Read(src16.get());
            LumConvolKernel(src.get(), dst.get(), &k);
            LumConvolKernel(src16.get(), dst16.get(), &k);
            const bool wraps = rect == 2 && n == 3 && centre > 0;  // the vector short route differs
            if (!wraps) {
              ASSERT_EQ(Read(dst.get()).p, Expected(in, in, k, 255, false).p) << hwy::TargetName(target);
            }
            ASSERT_EQ(Read(dst16.get()).p, Expected(in16, in16, k, 65535, false).p) << hwy::TargetName(target);
            ASSERT_TRUE(dst.GuardsIntact());
            ASSERT_TRUE(dst16.GuardsIntact());
          }
        }
  }
  hwy::SetSupportedTargetsForTest(0);
}

// The vector form of the BW8 short route, told pixel by pixel: which outputs the vector steps
// compute, with coefficients cut to 16 bits there.
ref::Img ShortVectorModel(ZROI<ZBW8>* src, const ZKernel& k) {
  const ref::Img in = Read(src);
  const float g = ref::Gain(TableOf(k), k.GetGain());
  std::vector<int32_t> c, c16;
  for (float v : TableOf(k)) {
    c.push_back(ref::Trunc(double(g * v) * 256.0));
    c16.push_back(static_cast<int16_t>(c.back()));
  }
  const ref::Img whole = ref::Fixed(in, 3, c, 0, 8, 2, 255, false);
  const ref::Img wrapped = ref::Fixed(in, 3, c16, 0, 8, 2, 255, false);
  ref::Img out = whole;
  const int w = in.w;
  for (int y = 0; y < in.h; ++y) {
    int x = 1;
    while (x < w - 1 && (reinterpret_cast<uintptr_t>(src->GetImagePtr(x, y)) & 4)) ++x;
    if (x < w - 1) ++x;
    for (; (w - 1) - x > 7; x += 4)
      for (int i = 0; i < 4; ++i) out.at(x + i, y) = wrapped.at(x + i, y);
  }
  return out;
}

TEST(ConvolRoutes, ShortVectorRouteWrapsLargeCoefficients) {
  // A cancelling kernel with a centre of 200: c = 51200 wraps to a negative 16-bit word.
  ZKernel k(3, 3, 1.0f, 0, 2, 0);
  const float t[9] = {-25, -25, -25, -25, 200, -25, -25, -25, -25};
  k.SetKernelData(t);
  bool differs = false;
  for (int w : {9, 12, 16, 17, 30, 41})
    for (int offset = 0; offset < 8; ++offset) {
      kt::Framed<ZBW8> src(w, 4, offset), dst(w, 4, 5 - offset % 3);
      Fill(src.get(), kt::Rng(), 255);
      {
        kt::WideSetting scalar(0);
        LumConvolKernel(src.get(), dst.get(), &k);
        const ref::Img in = Read(src.get());
        ASSERT_EQ(Read(dst.get()).p, Expected(in, in, k, 255, false).p);
      }
      kt::WideSetting wide(1);
      LumConvolKernel(src.get(), dst.get(), &k);
      const ref::Img model = ShortVectorModel(src.get(), k);
      ASSERT_EQ(Read(dst.get()).p, model.p) << "width " << w << " offset " << offset;
      differs = differs || model.p != Expected(Read(src.get()), {}, k, 255, false).p;
      ASSERT_TRUE(dst.GuardsIntact());
    }
  EXPECT_TRUE(differs);
}

TEST(ConvolRoutes, InPlacePerRoute) {
  // The short route gives what a separate destination gets; the others read what they wrote.
  for (const Case& c : kCases)
    for (int wide : {0, 1}) {
      kt::WideSetting setting(wide);
      ZKernel k(c.sx, c.sy, 1.0f, 5, c.rect, 17);
      for (int round = 0; round < 6; ++round) {
        RandomTable(k, kt::Rng(), 2.0f);
        const int w = 1 + kt::Rng()() % 30, h = 1 + kt::Rng()() % 8;
        kt::Framed<ZBW8> img(w, h, round);
        Fill(img.get(), kt::Rng(), 255);
        const ref::Img in = Read(img.get());
        LumConvolKernel(img.get(), img.get(), &k);
        ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
        ASSERT_EQ(Read(img.get()).p, Expected(in, in, k, 255, true).p)
            << c.sx << "x" << c.sy << " rect " << c.rect << " view " << w << "x" << h;
        ASSERT_TRUE(img.GuardsIntact());

        kt::Framed<ZBW16> img16(w, h, round);
        Fill(img16.get(), kt::Rng(), 65535);
        const ref::Img in16 = Read(img16.get());
        LumConvolKernel(img16.get(), img16.get(), &k);
        ASSERT_EQ(Read(img16.get()).p, Expected(in16, in16, k, 65535, true).p);
      }
    }
}

TEST(ConvolRoutes, OverlappingViewsOfOneImage) {
  // A destination one row below and one column left of its source: the short route reads a
  // copy, the Q15 route the live pixels in row order.
  for (short rect : {2, 3})
    for (int wide : {0, 1}) {
      kt::WideSetting setting(wide);
      ZImage<ZBW8> image(24, 12);
      Fill<ZBW8>(&image, kt::Rng(), 255);
      ref::Img live = Read<ZBW8>(&image);
      ZROI<ZBW8> src(&image, 1, 0, 20, 10), dst(&image, 0, 1, 20, 10);
      ZKernel k(KERNEL_LOWPASS_3);
      k.SetRectifier(rect);
      const ref::Img in = Read(&src);
      LumConvolKernel(&src, &dst, &k);
      if (rect == 2) {
        EXPECT_EQ(Read(&dst).p, Expected(in, in, k, 255, false).p);
        continue;
      }
      for (int y = 0; y < 10; ++y)
        for (int x = 0; x < 20; ++x) {
          int64_t sum = 0;  // c = k / 16 * 32768 = k * 2048; no wrap at this size
          for (int j = 0; j < 3; ++j)
            for (int i = 0; i < 3; ++i)
              sum += live.at(1 + ref::Clamp(x - 1 + i, 0, 19), ref::Clamp(y - 1 + j, 0, 9)) *
                     2048 * k.GetDataPtr()[j * 3 + i];
          live.at(x, y + 1) = std::min<int64_t>(sum >> 15, 255);
        }
      EXPECT_EQ(Read<ZBW8>(&image).p, live.p) << "wide " << wide;
    }
}

TEST(ConvolWorked, CasesOfTheDescription) {
  // LOWPASS_1 through the short route: c = trunc(256 / 9) = 28, a flat 255 gives 251.
  ZKernel low(KERNEL_LOWPASS_1);
  kt::Framed<ZBW8> flat(12, 5), out(12, 5);
  flat.FillBytes(255);
  for (int wide : {0, 1}) {
    kt::WideSetting setting(wide);
    LumConvolKernel(flat.get(), out.get(), &low);
    for (int64_t v : Read(out.get()).p) ASSERT_EQ(v, 251);
  }
  // A kernel of gain 0 with rectifier 0: every output is the offset.
  ZKernel ones(KERNEL_ONES);
  ones.SetOffset(77);
  LumConvolKernel(flat.get(), out.get(), &ones);
  for (int64_t v : Read(out.get()).p) ASSERT_EQ(v, 77);
  // Sobel X on a ramp: the positive half of the derivative, clipped.
  ZKernel sobel(KERNEL_SOBEL_X);
  kt::Framed<ZBW8> ramp(6, 3), d(6, 3);
  for (int y = 0; y < 3; ++y)
    for (int x = 0; x < 6; ++x) ramp->SetPixel(ZBW8(static_cast<uint8_t>(x * 40)), x, y);
  LumConvolKernel(ramp.get(), d.get(), &sobel);
  EXPECT_EQ(Read(d.get()).p[0], 160);  // (40 - 0) * 4 at the replicated left edge
  EXPECT_EQ(Read(d.get()).p[2], 255);  // 80 * 4 = 320, clipped
  // A sum below one part in 100,000 of the absolute sum is not normalised.
  ZKernel near(3, 3, 1.0f, 0, 2, 0);
  const float t[9] = {-1, -1, -1, -1, 8.00001f, -1, -1, -1, -1};
  near.SetKernelData(t);
  kt::Framed<ZBW8> one(5, 5), r(5, 5);
  one.FillBytes(10);
  LumConvolKernel(one.get(), r.get(), &near);
  for (int64_t v : Read(r.get()).p) ASSERT_EQ(v, 0);  // c = 256 * 8.00001 -> 2048, sum 0
  // The 3x3 float border takes k[5] where k[7] stands: a seam at the edge.
  ZKernel seam(3, 3, 1.0f, 0, 0, 0);
  const float s[9] = {0, 0, 0, 0, 0, 1, 0, 0, 0};
  seam.SetKernelData(s);
  kt::Framed<ZBW8> src(4, 4), dst(4, 4);
  for (int i = 0; i < 16; ++i) src->SetPixel(ZBW8(static_cast<uint8_t>(10 + i)), i % 4, i / 4);
  LumConvolKernel(src.get(), dst.get(), &seam);
  // Interior (1,1): the right neighbour 16. Border (1,0): right neighbour 12 plus, in place of
  // k[7] (0), k[5] times the pixel below, 15.
  EXPECT_EQ(dst->GetPixel(1, 1), 16);
  EXPECT_EQ(dst->GetPixel(1, 0), 12 + 15);
}

TEST(ConvolWorked, UnknownRectifiers) {
  kt::Framed<ZBW8> src(9, 9), dst(9, 9);
  Fill(src.get(), kt::Rng(), 255);
  dst.FillBytes(3);
  ZKernel k7(7, 7, 1.0f, 0, 5, 0);
  RandomTable(k7, kt::Rng(), 1.0f);
  ZSetError(Z_ERROR_INTERNAL);
  LumConvolKernel(src.get(), dst.get(), &k7);
  EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
  for (int64_t v : Read(dst.get()).p) ASSERT_EQ(v, 3);
}

TEST(ConvolColour, PlaneByPlaneThroughTheGrayForm) {
  for (bool symmetric : {false, true})
    for (int wide : {0, 1}) {
      kt::WideSetting setting(wide);
      ZKernel k(KERNEL_HIGHPASS_1);
      k.SetRectifier(3);
      k.SetOffset(9);
      kt::Framed<ZC24> src(21, 7, 2), dst(21, 7, 5);
      src.FillRandom(kt::Rng());
      symmetric ? LumConvolSymmetricKernel(src.get(), dst.get(), &k) : LumConvolKernel(src.get(), dst.get(), &k);
      ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
      for (unsigned c = 0; c < 3; ++c) {
        ZImage<ZBW8> plane(21, 7), out(21, 7);
        HueGetComponent(src.get(), &plane, c);
        symmetric ? LumConvolSymmetricKernel(&plane, &out, &k) : LumConvolKernel(&plane, &out, &k);
        for (int y = 0; y < 7; ++y)
          for (int x = 0; x < 21; ++x) {
            const uint8_t* p = &dst->GetImagePtr(x, y)->c0;
            ASSERT_EQ(p[c], out.GetImagePtr(x, y)->value);
          }
      }
      ASSERT_TRUE(dst.GuardsIntact());
    }
}

TEST(ConvolTinyViews, StayInsideTheView) {
  // Views narrower or lower than the kernel: nearest-pixel clamps and outside values only.
  for (const Case& c : kCases)
    for (int wide : {0, 1})
      for (int w = 1; w <= 9; ++w)
        for (int h = 1; h <= 4; ++h) {
          kt::WideSetting setting(wide);
          ZKernel k(c.sx, c.sy, 1.0f, 2, c.rect, 40);
          RandomTable(k, kt::Rng(), 1.0f);
          kt::Framed<ZBW8> src(w, h, w % 8, 0), dst(w, h, h, 0);
          Fill(src.get(), kt::Rng(), 255);
          const ref::Img in = Read(src.get()), before = Read(dst.get());
          LumConvolKernel(src.get(), dst.get(), &k);
          ASSERT_EQ(Read(dst.get()).p, Expected(in, before, k, 255, false).p);
          ASSERT_TRUE(dst.GuardsIntact());
        }
}

TEST(ConvolErrors, NumbersAndTraces) {
  ZKernel k(KERNEL_LOWPASS_3);
  ZKernel none;
  kt::Framed<ZBW8> a(8, 8), b(8, 8), small(7, 8);
  kt::Framed<ZBW16> a16(8, 8);
  ZROI<ZBW8> voidView;
  const auto expect = [](Z_ERRORS e, Strings trace) {
    EXPECT_EQ(ZGetError(), e);
    EXPECT_EQ(kt::Trace(), trace);
  };
  LumConvolKernel(a.get(), nullptr, &k);
  expect(Z_ERROR_NULL_IMAGE, {"LumConvolKernel BW8"});
  LumConvolKernel(nullptr, a.get(), &k);
  expect(Z_ERROR_NULL_IMAGE, {"LumConvolKernel BW8"});
  LumConvolKernel(a.get(), small.get(), &k);
  expect(Z_ERROR_DIFFERENT_SIZES, {"LumConvolKernel BW8"});
  LumConvolKernel(a.get(), b.get(), &none);
  expect(Z_ERROR_KERNEL_NO_DATA, {"LumConvolKernel BW8"});
  LumConvolKernel(a.get(), b.get(), nullptr);
  expect(Z_ERROR_KERNEL_NO_DATA, {"LumConvolKernel BW8"});
  LumConvolKernel(a16.get(), nullptr, &k);
  expect(Z_ERROR_NULL_IMAGE, {"LumConvolKernel BW16"});
  LumConvolKernel(a16.get(), a16.get(), &none);
  expect(Z_ERROR_KERNEL_NO_DATA, {"LumConvolKernel BW16"});

  // Symmetric: the rectifier first, then the size, then the worker's own checks and trace.
  ZKernel r0(5, 5, 1.0f, 0, 0, 0), even(4, 4, 1.0f, 0, 2, 0), oblong(3, 5, 1.0f, 0, 2, 0);
  LumConvolSymmetricKernel(static_cast<ZROI<ZBW8>*>(nullptr), nullptr, &r0);
  expect(Z_ERROR_KERNEL_NO_RECTIFIER, {"LumConvolSymmetricKernel"});
  LumConvolSymmetricKernel(a.get(), b.get(), &even);
  expect(Z_ERROR_KERNEL_BAD_SIZE, {"LumConvolSymmetricKernel"});
  LumConvolSymmetricKernel(a16.get(), a16.get(), &oblong);
  expect(Z_ERROR_KERNEL_BAD_SIZE, {"LumConvolSymmetricKernel BW16"});
  ZKernel s3(KERNEL_LOWPASS_3), s5(5, 5, 1.0f, 0, 2, 0), s7(7, 7, 1.0f, 0, 3, 0);
  LumConvolSymmetricKernel(a.get(), nullptr, &s3);
  expect(Z_ERROR_NULL_IMAGE, {"ConvolKernelS3xS3", "LumConvolSymmetricKernel"});
  LumConvolSymmetricKernel(a.get(), small.get(), &s5);
  expect(Z_ERROR_DIFFERENT_SIZES, {"ConvolKernelS5xS5", "LumConvolSymmetricKernel"});
  LumConvolSymmetricKernel(a.get(), &voidView, &s7);
  expect(Z_ERROR_DIFFERENT_SIZES, {"ConvolKernelS7xS7", "LumConvolSymmetricKernel"});
  LumConvolSymmetricKernel(a16.get(), nullptr, &s3);
  expect(Z_ERROR_NULL_IMAGE, {"ConvolKernelS3xS3 BW16", "LumConvolSymmetricKernel BW16"});
  LumConvolSymmetricKernel(a16.get(), nullptr, &s5);
  expect(Z_ERROR_NULL_IMAGE, {"ConvolKernelS5xS5 BW16", "LumConvolSymmetricKernel BW16"});
  LumConvolSymmetricKernel(a16.get(), nullptr, &s7);
  expect(Z_ERROR_NULL_IMAGE, {"ConvolKernelS7xS7 (BW16)", "LumConvolSymmetricKernel BW16"});

  // Colour: 1413 for a null or equal destination, the gray form's trace inside the colour one.
  kt::Framed<ZC24> c(8, 8), d(8, 8);
  LumConvolKernel(c.get(), nullptr, &k);
  expect(Z_ERROR_NEED_SEPARATE_DESTINATION, {"LumConvolKernel ( C24)"});
  LumConvolSymmetricKernel(c.get(), c.get(), &k);
  expect(Z_ERROR_NEED_SEPARATE_DESTINATION, {"LumConvolSymmetricKernel ( C24)"});
  LumConvolKernel(c.get(), d.get(), &none);
  expect(Z_ERROR_KERNEL_NO_DATA, {"LumConvolKernel BW8", "LumConvolKernel ( C24)"});
  LumConvolSymmetricKernel(c.get(), d.get(), &r0);
  expect(Z_ERROR_KERNEL_NO_RECTIFIER, {"LumConvolSymmetricKernel", "LumConvolSymmetricKernel ( C24)"});

  // The licence gate stops everything before the destination is touched.
  b.FillBytes(9);
  ZSetGateError(Z_ERROR_INTERNAL);
  LumConvolKernel(a.get(), b.get(), &k);
  ZSetGateError(Z_ERROR_NONE);
  expect(Z_ERROR_INTERNAL, {"LumConvolKernel BW8"});
  for (int64_t v : Read(b.get()).p) ASSERT_EQ(v, 9);
  // A success leaves no trace.
  LumConvolKernel(a.get(), b.get(), &k);
  expect(Z_ERROR_NONE, {});
}

}  // namespace
