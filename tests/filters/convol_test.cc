// LumConvolKernel and LumConvolSymmetricKernel against a direct evaluation of each route.
#include <cmath>

#include "filters/filters_check.h"

namespace {

using kt::Plane;


int32_t Trunc(double v) { return v > -2147483649.0 && v < 2147483648.0 ? int32_t(v) : INT32_MIN; }
int Clamp(int v, int lo, int hi) { return v < lo ? lo : v > hi ? hi : v; }

// Every output in row order (`inPlace`: reading the image being written). Fixed point (shift 8 or 15): nearest pixels,
// a wrapping 32-bit sum, the clips. Float (shift 0): the outside value, ordered double sums, the rectifier before the
// offset; the 3x3 form does its interior first and uses kf[5] at index 7 on the border.
Plane Eval(Plane src, int sx, int sy, const std::vector<double>& c, int shift, int rect, int64_t bias, int64_t outside,
           int64_t max, bool inPlace) {
  Plane out = src;
  Plane& in = inPlace ? out : src;
  const auto one = [&](int x, int y, bool border) {
    uint32_t sum = uint32_t(bias);
    double s = 0;
    for (int j = 0; j < sy; ++j)
      for (int i = 0; i < sx; ++i) {
        const int xx = x - (sx >> 1) + i, yy = y - (sy >> 1) + j;
        if (shift) sum += uint32_t(int32_t(c[j * sx + i])) * uint32_t(in.clamped(xx, yy));
        else s += double(src.inside(xx, yy) ? in.at(xx, yy) : outside) * c[border && j * 3 + i == 7 ? 5 : j * sx + i];
      }
    int64_t r = shift ? int32_t(sum) >> shift : Trunc(s);
    if (shift && rect != 3 && uint32_t(r) > max) r = int32_t(sum) < 0 ? 0 : max;
    if (!shift && rect == 1) r = r <= 0 ? -r : 0;
    if ((!shift && rect == 2) || (rect == 3 && r < 0)) r = rect == 3 ? -r : std::max<int64_t>(r, 0);
    if (!shift) r += bias;
    out.at(x, y) = std::clamp<int64_t>(r, 0, max);
  };
  const bool split = !shift && sx == 3 && sy == 3;
  for (int y = 0; y < src.h; ++y)
    for (int x = 0; x < src.w; ++x)
      if (!split || (x > 0 && y > 0 && x + 1 < src.w && y + 1 < src.h)) one(x, y, false);
  if (split) {
    for (int x = 0; x < src.w; ++x) one(x, 0, true);
    for (int y = 1; y + 1 < src.h; ++y) {
      one(0, y, true);
      if (src.w > 1) one(src.w - 1, y, true);
    }
    for (int x = 0; src.h > 1 && x < src.w; ++x) one(x, src.h - 1, true);
  }
  return out;
}

// What the routing table asks of a kernel. `previous` is what a worker that writes nothing leaves.
Plane Expected(const Plane& src, const Plane& previous, const ZKernel& k, int64_t max, bool inPlace, bool symmetric = false,
               bool wrap16 = false) {
  const int sx = std::max<int>(k.GetSizeX(), 0), sy = sx ? std::max<int>(k.GetSizeY(), 0) : 0, rect = k.GetRectifier();
  std::vector<float> t(k.GetDataPtr(), k.GetDataPtr() + sx * sy);
  float sum = 0, sumAbs = 0;
  std::vector<float> full(t.size());  // a symmetric kernel expanded from its representatives
  for (int j = 0; j < sy; ++j)
    for (int i = 0; i < sx; ++i) {
      int dx = std::abs(i - sx / 2), dy = std::abs(j - sy / 2);
      if (dx > dy) std::swap(dx, dy);
      if (!symmetric) {
        sum += t[j * sx + i], sumAbs += std::fabs(t[j * sx + i]);
        continue;
      }
      const float rep = t[(sx / 2 - dy) * sx + (sx / 2 - dx)];
      const float orbit = dx == 0 && dy == 0 ? 1.0f : dx == 0 || dx == dy ? 4.0f : 8.0f;
      full[j * sx + i] = rep;
      if (i == sx / 2 - dx && j == sy / 2 - dy) sum += orbit * rep, sumAbs += orbit * std::fabs(rep);
    }
  if (symmetric) t = full;
  float g = std::fabs(sum) > double(sumAbs) * 0.00001 ? k.GetGain() / sum : k.GetGain();
  const bool square = sx == sy && (sx == 3 || sx == 5 || sx == 7);
  const bool shortRoute = !symmetric && sx == 3 && sy == 3 && rect == 2;
  std::vector<double> c;
  if (!shortRoute && (rect == 0 || !square)) {
    for (float v : t) c.push_back(g * v);
    return Eval(src, sx, sy, c, 0, rect, k.GetOffset(), k.GetOutsideValue(), max, inPlace);
  }
  if (shortRoute) {
    for (float v : t) c.push_back(wrap16 ? int16_t(Trunc(double(g * v) * 256.0)) : Trunc(double(g * v) * 256.0));
    return Eval(src, 3, 3, c, 8, 2, 0, 0, max, false);  // the short route handles in place
  }
  if (rect < 1 || rect > 3) return previous;
  uint32_t bias = k.GetOffset() << 15;
  if (rect == 1) g = -g, bias = 0u - bias;
  for (float v : t) c.push_back(Trunc(double(g * v) * 32768.0));
  return Eval(src, sx, sy, c, 15, rect, int32_t(bias), 0, max, inPlace);
}

void RandomTable(ZKernel& k, float spread) {
  std::uniform_real_distribution<float> u(-spread, spread);
  for (int i = 0; i < k.GetSizeX() * k.GetSizeY(); ++i) k.GetDataPtr()[i] = std::round(u(kt::Rng()) * 8) / 8;
}

template <class T>
void Convol(ZROI<T>* s, ZROI<T>* d, ZKernel* k, bool symmetric) {
  symmetric ? LumConvolSymmetricKernel(s, d, k) : LumConvolKernel(s, d, k);
}

template <class T>
void Check(ZKernel& k, int w, int h, int offset, bool symmetric = false, bool inPlace = false) {
  SCOPED_TRACE(::testing::Message() << k.GetSizeX() << "x" << k.GetSizeY() << " rect " << k.GetRectifier());
  ft::Check<T>([&](ZROI<T>* s, ZROI<T>* d) { Convol(s, d, &k, symmetric); },
               [&](const Plane& in, const Plane& old, ZROI<T>*) { return Expected(in, old, k, ft::Max<T>(), inPlace, symmetric); },
               w, h, offset, inPlace ? ft::kSource : ft::kSeparate);
}

struct Case {
  short sx, sy, rect;
};
// Every route: short; Q15 3x3, 5x5, 7x7; float 3x3 and the general loop (odd, even, oblong,
// large); rectifiers that write nothing (fixed workers) or act as 0 (float).
const Case kCases[] = {{3, 3, 2}, {3, 3, 1}, {3, 3, 3}, {5, 5, 1}, {5, 5, 2}, {5, 5, 3}, {7, 7, 2}, {7, 7, 3},
                       {3, 3, 0}, {5, 5, 0}, {4, 4, 2}, {2, 2, 1}, {5, 3, 3}, {1, 6, 2}, {9, 9, 0}, {4, 4, 5},
                       {7, 7, 5}, {3, 3, 5}, {1, 1, 2}};

// Views from 1x1 (smaller than the kernel) to long rows, each round on the next target, in place and not. A centre of
// 40 takes coefficients beyond 16 bits (not on the short route: see below). On the odd squares the symmetric form
// too, with junk off the representatives (row <= column <= centre), never read.
TEST(ConvolRoutes, MatchTheDirectEvaluation) {
  for (const Case& c : kCases)
    kt::ForScalarAndWide([&](int) {
      ZKernel k(c.sx, c.sy, 0.5f + (kt::Rng()() % 8) * 0.25f, kt::Rng()() % 40, c.rect, kt::Rng()() % 300);
      const bool symmetric = c.sx == c.sy && c.sx % 2 && c.sx >= 3 && c.sx <= 7 && c.rect >= 1 && c.rect <= 3;
      for (int round = 0; round < 30; ++round) {
        const kt::TargetSetting target(kt::NthTarget(round));
        RandomTable(k, 2.0f);
        if (round % 3 == 2 && !(c.sx == 3 && c.rect == 2)) k.GetDataPtr()[c.sx * c.sy / 2] += 40.0f;
        const bool longRow = round % 5 == 0;
        const int w = longRow ? 40 + kt::Rng()() % 90 : 1 + kt::Rng()() % 40, h = 1 + kt::Rng()() % (longRow ? 4 : 10);
        Check<ZBW8>(k, w, h, round % 8, false, round % 5 == 4);
        Check<ZBW16>(k, w, h, round % 7, false, round % 5 == 3);
        if (!symmetric || round % 2) continue;
        for (int i = 0; i < c.sx * c.sx; ++i)
          if (i / c.sx > i % c.sx || i % c.sx > c.sx / 2) k.GetDataPtr()[i] = 1000.0f + i;
        Check<ZBW8>(k, w, h, round % 8, true);
        Check<ZBW16>(k, w, h, round % 7, true);
      }
    });
}

// The derivatives on long rows of every target: the sum is 0, so g is the gain; the BW16 sum wraps.
TEST(ConvolRoutes, DerivativesOnEveryTarget) {
  kt::ForEveryTarget([&] {
    for (int type : {KERNEL_SOBEL_X, KERNEL_LAPLACIAN_8, KERNEL_PREWITT_Y})
      for (short rect : {1, 3}) {
        ZKernel k(static_cast<KERNEL_TYPE>(type));
        k.SetRectifier(rect);
        k.SetGain(3.0f);
        Check<ZBW8>(k, 70, 3, type % 8);
        Check<ZBW16>(k, 70, 3, rect);
      }
  });
}

// A centre of 200 in a cancelling kernel: c = 51200 wraps in the vector steps only, which take the pixels after the
// head (bit 2 of the source address, then one more) while more than 7 bytes remain before the last pixel.
TEST(ConvolRoutes, ShortVectorRouteWrapsLargeCoefficients) {
  ZKernel k(3, 3, 1.0f, 0, 2, 0);
  k.SetKernelData({-25, -25, -25, -25, 200, -25, -25, -25, -25});
  bool differs = false;
  for (int w : {9, 12, 16, 17, 30, 41})
    for (int offset = 0; offset < 8; ++offset)
      kt::ForScalarAndWide([&](int wide) {
        const auto model = [&](const Plane& in, const Plane&, ZROI<ZBW8>* src) {
          Plane out = Expected(in, in, k, 255, false);
          const Plane wrapped = Expected(in, in, k, 255, false, false, true);
          for (int y = 0; wide && y < in.h; ++y) {
            int x = 1;
            while (x < w - 1 && (reinterpret_cast<uintptr_t>(src->GetImagePtr(x, y)) & 4)) ++x;
            for (x += x < w - 1; (w - 1) - x > 7; x += 4)
              for (int i = x; i < x + 4; ++i) out.at(i, y) = wrapped.at(i, y);
          }
          differs = differs || out.p != Expected(in, in, k, 255, false).p;
          return out;
        };
        ft::Check<ZBW8>([&](ZROI<ZBW8>* s, ZROI<ZBW8>* d) { LumConvolKernel(s, d, &k); }, model, w, 4, offset, ft::kSeparate);
      });
  EXPECT_TRUE(differs);
}

// A destination one row down and one column left of its source: the short route reads a copy;
// the Q15 route reads the live pixels in row order.
TEST(ConvolRoutes, OverlappingViewsOfOneImage) {
  for (short rect : {2, 3})
    kt::ForScalarAndWide([&](int) {
      ZImage<ZBW8> image(24, 12);
      kt::Write<ZBW8>(&image, kt::RandomPlane(24, 12, 0, 255, 8));
      Plane live = kt::Read<ZBW8>(&image);
      ZROI<ZBW8> src(&image, 1, 0, 20, 10), dst(&image, 0, 1, 20, 10);
      ZKernel k(KERNEL_LOWPASS_3);
      k.SetRectifier(rect);
      const Plane in = kt::Read(&src);
      LumConvolKernel(&src, &dst, &k);
      EXPECT_TRUE(rect != 2 || kt::Read(&dst) == Expected(in, in, k, 255, false));
      if (rect == 2) return;
      for (int y = 0; y < 10; ++y)
        for (int x = 0; x < 20; ++x) {
          int64_t sum = 0;  // c = k / 16 * 32768 = k * 2048
          for (int j = 0; j < 3; ++j)
            for (int i = 0; i < 3; ++i)
              sum += live.at(1 + Clamp(x - 1 + i, 0, 19), Clamp(y - 1 + j, 0, 9)) * 2048 * int(k.GetDataPtr()[j * 3 + i]);
          live.at(x, y + 1) = std::min<int64_t>(sum >> 15, 255);
        }
      EXPECT_EQ(kt::Read<ZBW8>(&image), live);
    });
}

TEST(ConvolColour, PlaneByPlaneThroughTheGrayForm) {
  ZKernel k(KERNEL_HIGHPASS_1);
  k.SetRectifier(3);
  k.SetOffset(9);
  for (bool symmetric : {false, true})
    kt::ForScalarAndWide([&](int) {
      ft::CheckColour([&](ZROI<ZC24>* s, ZROI<ZC24>* d) { Convol(s, d, &k, symmetric); },
                      ft::ThroughCopy([&](ZROI<ZBW8>* s, ZROI<ZBW8>* d) { Convol(s, d, &k, symmetric); }), 21, 7, ft::kSeparate);
    });
}

TEST(ConvolErrors, NumbersAndTraces) {
  ZKernel k(KERNEL_LOWPASS_3), none, r0(5, 5, 1.0f, 0, 0, 0), even(4, 4, 1.0f, 0, 2, 0), oblong(3, 5, 1.0f, 0, 2, 0);
  ZKernel s5(5, 5, 1.0f, 0, 2, 0), s7(7, 7, 1.0f, 0, 3, 0);
  kt::Framed<ZBW8> a(8, 8), b(8, 8), small(7, 8);
  kt::Framed<ZBW16> a16(8, 8);
  kt::Framed<ZC24> c(8, 8), d(8, 8);
  ZROI<ZBW8>* null8 = nullptr;
  ZROI<ZBW8> none8;
  const auto Sym = [](auto* s, decltype(s) d, ZKernel* k) { LumConvolSymmetricKernel(s, d, k); };
  b.FillBytes(9);
  // Sizes before the pixels (a void source of another size gives 1402), then the kernel.
  kt::CheckRefusals({
      {[&] { LumConvolKernel(a.get(), nullptr, &k); }, Z_ERROR_NULL_IMAGE, {"LumConvolKernel BW8"}},
      {[&] { LumConvolKernel(null8, a.get(), &k); }, Z_ERROR_NULL_IMAGE, {"LumConvolKernel BW8"}},
      {[&] { LumConvolKernel(&none8, a.get(), &k); }, Z_ERROR_DIFFERENT_SIZES, {"LumConvolKernel BW8"}},
      {[&] { LumConvolKernel(a.get(), small.get(), &k); }, Z_ERROR_DIFFERENT_SIZES, {"LumConvolKernel BW8"}},
      {[&] { LumConvolKernel(a.get(), b.get(), &none); }, Z_ERROR_KERNEL_NO_DATA, {"LumConvolKernel BW8"}},
      {[&] { LumConvolKernel(a.get(), b.get(), nullptr); }, Z_ERROR_KERNEL_NO_DATA, {"LumConvolKernel BW8"}},
      {[&] { LumConvolKernel(a16.get(), a16.get(), &none); }, Z_ERROR_KERNEL_NO_DATA, {"LumConvolKernel BW16"}},
      // Symmetric: rectifier first, then size; the worker checks the views and traces its own word.
      {[&] { Sym(null8, nullptr, &r0); }, Z_ERROR_KERNEL_NO_RECTIFIER, {"LumConvolSymmetricKernel"}},
      {[&] { Sym(a.get(), b.get(), &even); }, Z_ERROR_KERNEL_BAD_SIZE, {"LumConvolSymmetricKernel"}},
      {[&] { Sym(a16.get(), a16.get(), &oblong); }, Z_ERROR_KERNEL_BAD_SIZE, {"LumConvolSymmetricKernel BW16"}},
      {[&] { Sym(a.get(), nullptr, &k); }, Z_ERROR_NULL_IMAGE, {"ConvolKernelS3xS3", "LumConvolSymmetricKernel"}},
      {[&] { Sym(a.get(), small.get(), &s5); }, Z_ERROR_DIFFERENT_SIZES, {"ConvolKernelS5xS5", "LumConvolSymmetricKernel"}},
      {[&] { Sym(a.get(), nullptr, &s7); }, Z_ERROR_NULL_IMAGE, {"ConvolKernelS7xS7", "LumConvolSymmetricKernel"}},
      {[&] { Sym(a16.get(), nullptr, &k); }, Z_ERROR_NULL_IMAGE, {"ConvolKernelS3xS3 BW16", "LumConvolSymmetricKernel BW16"}},
      {[&] { Sym(a16.get(), nullptr, &s5); }, Z_ERROR_NULL_IMAGE, {"ConvolKernelS5xS5 BW16", "LumConvolSymmetricKernel BW16"}},
      {[&] { Sym(a16.get(), nullptr, &s7); }, Z_ERROR_NULL_IMAGE, {"ConvolKernelS7xS7 (BW16)", "LumConvolSymmetricKernel BW16"}},
      // Colour: 1413 for a null or equal destination; the gray form's trace inside the colour one.
      {[&] { LumConvolKernel(c.get(), nullptr, &k); }, Z_ERROR_NEED_SEPARATE_DESTINATION, {"LumConvolKernel ( C24)"}},
      {[&] { Sym(c.get(), c.get(), &k); }, Z_ERROR_NEED_SEPARATE_DESTINATION, {"LumConvolSymmetricKernel ( C24)"}},
      {[&] { LumConvolKernel(c.get(), d.get(), &none); }, Z_ERROR_KERNEL_NO_DATA,
       {"LumConvolKernel BW8", "LumConvolKernel ( C24)"}},
      {[&] { Sym(c.get(), d.get(), &r0); }, Z_ERROR_KERNEL_NO_RECTIFIER,
       {"LumConvolSymmetricKernel", "LumConvolSymmetricKernel ( C24)"}},
      {kt::Gated([&] { LumConvolKernel(a.get(), b.get(), &k); }), Z_ERROR_INTERNAL, {"LumConvolKernel BW8"}},
      {[&] { LumConvolKernel(a.get(), a.get(), &k); }, Z_ERROR_NONE, {}},  // success leaves no trace
  });
  EXPECT_EQ(kt::Read(b.get()), Plane(8, 8, 9));
}

}  // namespace
