// LumConvolKernel and LumConvolSymmetricKernel: each route against a direct evaluation of its
// formulas on random views at several byte offsets, wide paths on and off on every target, in
// place, the worked cases, and the error numbers and trace strings.
#include <cmath>
#include <cstring>

#include "support/kelmira_test.h"

namespace {

using Strings = std::vector<std::string>;

// ----- direct evaluation -----
using Img = kt::Plane;

int32_t Trunc(double v) { return v > -2147483649.0 && v < 2147483648.0 ? int32_t(v) : INT32_MIN; }
int Clamp(int v, int lo, int hi) { return v < lo ? lo : v > hi ? hi : v; }

// Every output in row order. `inPlace` reads the image being written, as a worker without a copy.
// Fixed point (shift 8 or 15): nearest-pixel coordinates, a wrapping 32-bit sum and the clips.
// Float (shift 0): the outside value, ordered double sums, the rectifier before the offset; the
// 3x3 form takes its interior first and uses kf[5] at index 7 on the border.
Img Eval(Img src, int sx, int sy, const std::vector<double>& c, int shift, int rect, int64_t bias, int64_t outside,
         int64_t max, bool inPlace) {
  Img out = src;
  Img& in = inPlace ? out : src;
  const auto one = [&](int x, int y, bool border) {
    uint32_t sum = uint32_t(bias);
    double s = 0;
    for (int j = 0; j < sy; ++j)
      for (int i = 0; i < sx; ++i) {
        const int xx = x - (sx >> 1) + i, yy = y - (sy >> 1) + j;
        const bool inside = xx >= 0 && xx < src.w && yy >= 0 && yy < src.h;
        if (shift) sum += uint32_t(int32_t(c[j * sx + i])) * uint32_t(in.at(Clamp(xx, 0, src.w - 1), Clamp(yy, 0, src.h - 1)));
        else s += double(inside ? in.at(xx, yy) : outside) * c[border && j * 3 + i == 7 ? 5 : j * sx + i];
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
Img Expected(const Img& src, const Img& previous, const ZKernel& k, int64_t max, bool inPlace, bool symmetric = false,
             bool wrap16 = false) {
  const int sx = std::max<int>(k.GetSizeX(), 0), sy = sx ? std::max<int>(k.GetSizeY(), 0) : 0, rect = k.GetRectifier();
  std::vector<float> t(k.GetDataPtr(), k.GetDataPtr() + sx * sy);
  float sum = 0, sumAbs = 0;
  for (int j = 0; j < sy; ++j)
    for (int i = 0; i < sx; ++i) {
      int dx = std::abs(i - sx / 2), dy = std::abs(j - sy / 2);
      if (dx > dy) std::swap(dx, dy);
      const float orbit = dx == 0 && dy == 0 ? 1.0f : dx == 0 || dx == dy ? 4.0f : 8.0f;
      const int rep = (sx / 2 - dy) * sx + (sx / 2 - dx);
      if (symmetric && i == sx / 2 - dx && j == sy / 2 - dy) sum += orbit * t[rep], sumAbs += orbit * std::fabs(t[rep]);
      if (!symmetric) sum += t[j * sx + i], sumAbs += std::fabs(t[j * sx + i]);
    }
  if (symmetric) {  // expand each representative over its orbit
    std::vector<float> full(t.size());
    for (int j = 0; j < sy; ++j)
      for (int i = 0; i < sx; ++i) {
        int dx = std::abs(i - sx / 2), dy = std::abs(j - sy / 2);
        if (dx > dy) std::swap(dx, dy);
        full[j * sx + i] = t[(sx / 2 - dy) * sx + (sx / 2 - dx)];
      }
    t = full;
  }
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

// ----- views -----
template <class T>
constexpr int64_t Max() { return sizeof(T) == 1 ? 255 : 65535; }

// Full-range values with the extremes often enough to reach the clips.
template <class T>
void Fill(ZROI<T>* v) {
  kt::Write(v, kt::RandomPlane(v->GetWidth(), v->GetHeight(), 0, Max<T>(), 8));
}
using kt::Read;

void RandomTable(ZKernel& k, float spread) {
  std::uniform_real_distribution<float> u(-spread, spread);
  for (int i = 0; i < k.GetSizeX() * k.GetSizeY(); ++i) k.GetDataPtr()[i] = std::round(u(kt::Rng()) * 8) / 8;
}

// One call on random views of the given size and offsets against the expectation.
template <class T>
void Check(ZKernel& k, int w, int h, int offset, bool symmetric = false, bool inPlace = false) {
  kt::Framed<T> src(w, h, offset), dst(w, h, (offset * 5 + 3) % 8);
  Fill(src.get());
  Fill(dst.get());
  ZROI<T>* out = inPlace ? src.get() : dst.get();
  const Img in = Read(src.get()), before = Read(out);
  symmetric ? LumConvolSymmetricKernel(src.get(), out, &k) : LumConvolKernel(src.get(), out, &k);
  ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
  ASSERT_EQ(Read(out).p, Expected(in, before, k, Max<T>(), inPlace, symmetric).p)
      << k.GetSizeX() << "x" << k.GetSizeY() << " rect " << k.GetRectifier() << " view " << w << "x" << h << "+"
      << offset << " wide " << ZGetMMX() << " in place " << inPlace;
  ASSERT_TRUE(src.GuardsIntact() && dst.GuardsIntact());
}

struct Case {
  short sx, sy, rect;
};
// Every route: short; Q15 3x3, 5x5, 7x7; float 3x3 and the general loop (odd, even, oblong,
// large); rectifiers that write nothing (fixed workers) or act as 0 (float).
const Case kCases[] = {{3, 3, 2}, {3, 3, 1}, {3, 3, 3}, {5, 5, 1}, {5, 5, 2}, {5, 5, 3}, {7, 7, 2}, {7, 7, 3},
                       {3, 3, 0}, {5, 5, 0}, {4, 4, 2}, {2, 2, 1}, {5, 3, 3}, {1, 6, 2}, {9, 9, 0}, {4, 4, 5},
                       {7, 7, 5}, {3, 3, 5}, {1, 1, 2}};

TEST(ConvolRoutes, MatchTheDirectEvaluation) {
  // Views from 1x1 up, narrower and lower than the kernel included; out of place and in place.
  for (const Case& c : kCases)
    for (int wide : {0, 1}) {
      kt::WideSetting setting(wide);
      ZKernel k(c.sx, c.sy, 0.5f + (kt::Rng()() % 8) * 0.25f, kt::Rng()() % 40, c.rect, kt::Rng()() % 300);
      for (int round = 0; round < 30; ++round) {
        RandomTable(k, 2.0f);
        const int w = 1 + kt::Rng()() % 40, h = 1 + kt::Rng()() % 10;
        Check<ZBW8>(k, w, h, round % 8, false, round % 5 == 4);
        Check<ZBW16>(k, w, h, round % 7, false, round % 5 == 3);
      }
    }
}

TEST(ConvolRoutes, DerivativesAndSymmetricKernelsOnEveryTarget) {
  // Long rows for several vectors of each target: derivatives (g is the gain, the BW16 sum
  // wraps), coefficients within 16 bits and beyond, symmetric workers, the float rows.
  kt::ForEveryTarget([&] {
    for (int type : {KERNEL_SOBEL_X, KERNEL_LAPLACIAN_8, KERNEL_PREWITT_Y})
      for (short rect : {1, 3}) {
        ZKernel k(static_cast<KERNEL_TYPE>(type));
        k.SetRectifier(rect);
        k.SetGain(3.0f);
        Check<ZBW8>(k, 70, 3, type % 8);
        Check<ZBW16>(k, 70, 3, rect);
      }
    for (short n : {3, 5, 7, 4, 11})
      for (short rect : {1, 2, 3})
        for (float centre : {0.0f, 40.0f}) {
          ZKernel k(n, n, 1.0f, 11, rect, 77);
          RandomTable(k, 2.0f);
          k.GetDataPtr()[n * n / 2] += centre;
          if (!(n == 3 && rect == 2 && centre > 0)) Check<ZBW8>(k, 40 + kt::Rng()() % 90, 3, n);  // not the wrap
          Check<ZBW16>(k, 40 + kt::Rng()() % 90, 2, rect);
          if (n % 2 == 0 || n > 7) continue;
          Check<ZBW8>(k, 40 + kt::Rng()() % 90, 4, rect, true);
          Check<ZBW16>(k, 40 + kt::Rng()() % 90, 3, n, true);
        }
  });
  // Off the representatives, a symmetric worker reads nothing.
  ZKernel a(5, 5, 1.0f, 0, 2, 0), b(5, 5, 1.0f, 0, 2, 0);
  RandomTable(a, 2.0f);
  std::memcpy(b.GetDataPtr(), a.GetDataPtr(), 25 * sizeof(float));
  for (int i : {3, 4, 5, 8, 9, 10, 11, 13, 14, 20, 24}) b.GetDataPtr()[i] = 1000.0f + i;
  kt::Framed<ZBW8> src(17, 9), da(17, 9), db(17, 9);
  Fill(src.get());
  LumConvolSymmetricKernel(src.get(), da.get(), &a);
  LumConvolSymmetricKernel(src.get(), db.get(), &b);
  EXPECT_TRUE(kt::SameBytes(da.get(), db.get()));
}

TEST(ConvolRoutes, ShortVectorRouteWrapsLargeCoefficients) {
  // A centre of 200 in a cancelling kernel: c = 51200 wraps in the vector steps only, which take
  // the pixels after the head (bit 2 of the source address, then one more) while more than 7
  // bytes remain before the last pixel.
  ZKernel k(3, 3, 1.0f, 0, 2, 0);
  k.SetKernelData({-25, -25, -25, -25, 200, -25, -25, -25, -25});
  bool differs = false;
  for (int w : {9, 12, 16, 17, 30, 41})
    for (int offset = 0; offset < 8; ++offset) {
      kt::Framed<ZBW8> src(w, 4, offset), dst(w, 4, 5 - offset % 3);
      Fill(src.get());
      const Img in = Read(src.get()), whole = Expected(in, in, k, 255, false);
      const Img wrapped = Expected(in, in, k, 255, false, false, true);
      Img model = whole;
      for (int y = 0; y < 4; ++y) {
        int x = 1;
        while (x < w - 1 && (reinterpret_cast<uintptr_t>(src->GetImagePtr(x, y)) & 4)) ++x;
        for (x += x < w - 1; (w - 1) - x > 7; x += 4)
          for (int i = x; i < x + 4; ++i) model.at(i, y) = wrapped.p[size_t(y) * w + i];
      }
      for (int wide : {0, 1}) {
        kt::WideSetting setting(wide);
        LumConvolKernel(src.get(), dst.get(), &k);
        ASSERT_EQ(Read(dst.get()).p, wide ? model.p : whole.p) << "width " << w << " offset " << offset;
      }
      differs = differs || model.p != whole.p;
    }
  EXPECT_TRUE(differs);
}

TEST(ConvolRoutes, OverlappingViewsOfOneImage) {
  // A destination one row down and one column left of its source: the short route reads a
  // copy; the Q15 route reads the live pixels in row order.
  for (short rect : {2, 3})
    for (int wide : {0, 1}) {
      kt::WideSetting setting(wide);
      ZImage<ZBW8> image(24, 12);
      Fill<ZBW8>(&image);
      Img live = Read<ZBW8>(&image);
      ZROI<ZBW8> src(&image, 1, 0, 20, 10), dst(&image, 0, 1, 20, 10);
      ZKernel k(KERNEL_LOWPASS_3);
      k.SetRectifier(rect);
      const Img in = Read(&src);
      LumConvolKernel(&src, &dst, &k);
      if (rect == 2) {
        EXPECT_EQ(Read(&dst).p, Expected(in, in, k, 255, false).p);
        continue;
      }
      for (int y = 0; y < 10; ++y)
        for (int x = 0; x < 20; ++x) {
          int64_t sum = 0;  // c = k / 16 * 32768 = k * 2048
          for (int j = 0; j < 3; ++j)
            for (int i = 0; i < 3; ++i)
              sum += live.at(1 + Clamp(x - 1 + i, 0, 19), Clamp(y - 1 + j, 0, 9)) * 2048 * int(k.GetDataPtr()[j * 3 + i]);
          live.at(x, y + 1) = std::min<int64_t>(sum >> 15, 255);
        }
      EXPECT_EQ(Read<ZBW8>(&image).p, live.p) << "wide " << wide;
    }
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
        for (int i = 0; i < 21 * 7; ++i)
          ASSERT_EQ((&dst->GetImagePtr(i % 21, i / 21)->c0)[c], out.GetImagePtr(i % 21, i / 21)->value);
      }
      ASSERT_TRUE(dst.GuardsIntact());
    }
}

TEST(ConvolErrors, NumbersAndTraces) {
  ZKernel k(KERNEL_LOWPASS_3), none, r0(5, 5, 1.0f, 0, 0, 0), even(4, 4, 1.0f, 0, 2, 0), oblong(3, 5, 1.0f, 0, 2, 0);
  ZKernel s5(5, 5, 1.0f, 0, 2, 0), s7(7, 7, 1.0f, 0, 3, 0);
  kt::Framed<ZBW8> a(8, 8), b(8, 8), small(7, 8);
  kt::Framed<ZBW16> a16(8, 8);
  kt::Framed<ZC24> c(8, 8), d(8, 8);
  ZROI<ZBW8>* null8 = nullptr;
  b.FillBytes(9);
  kt::CheckRefusals({
      {[&] { LumConvolKernel(a.get(), nullptr, &k); }, Z_ERROR_NULL_IMAGE, {"LumConvolKernel BW8"}},
      {[&] { LumConvolKernel(null8, a.get(), &k); }, Z_ERROR_NULL_IMAGE, {"LumConvolKernel BW8"}},
      {[&] { LumConvolKernel(a.get(), small.get(), &k); }, Z_ERROR_DIFFERENT_SIZES, {"LumConvolKernel BW8"}},
      {[&] { LumConvolKernel(a.get(), b.get(), &none); }, Z_ERROR_KERNEL_NO_DATA, {"LumConvolKernel BW8"}},
      {[&] { LumConvolKernel(a.get(), b.get(), nullptr); }, Z_ERROR_KERNEL_NO_DATA, {"LumConvolKernel BW8"}},
      {[&] { LumConvolKernel(a16.get(), a16.get(), &none); }, Z_ERROR_KERNEL_NO_DATA, {"LumConvolKernel BW16"}},
      // Symmetric: rectifier first, then size; the worker checks the views and traces its own word.
      {[&] { LumConvolSymmetricKernel(null8, nullptr, &r0); }, Z_ERROR_KERNEL_NO_RECTIFIER, {"LumConvolSymmetricKernel"}},
      {[&] { LumConvolSymmetricKernel(a.get(), b.get(), &even); }, Z_ERROR_KERNEL_BAD_SIZE, {"LumConvolSymmetricKernel"}},
      {[&] { LumConvolSymmetricKernel(a16.get(), a16.get(), &oblong); }, Z_ERROR_KERNEL_BAD_SIZE,
       {"LumConvolSymmetricKernel BW16"}},
      {[&] { LumConvolSymmetricKernel(a.get(), nullptr, &k); }, Z_ERROR_NULL_IMAGE,
       {"ConvolKernelS3xS3", "LumConvolSymmetricKernel"}},
      {[&] { LumConvolSymmetricKernel(a.get(), small.get(), &s5); }, Z_ERROR_DIFFERENT_SIZES,
       {"ConvolKernelS5xS5", "LumConvolSymmetricKernel"}},
      {[&] { LumConvolSymmetricKernel(a.get(), nullptr, &s7); }, Z_ERROR_NULL_IMAGE,
       {"ConvolKernelS7xS7", "LumConvolSymmetricKernel"}},
      {[&] { LumConvolSymmetricKernel(a16.get(), nullptr, &k); }, Z_ERROR_NULL_IMAGE,
       {"ConvolKernelS3xS3 BW16", "LumConvolSymmetricKernel BW16"}},
      {[&] { LumConvolSymmetricKernel(a16.get(), nullptr, &s5); }, Z_ERROR_NULL_IMAGE,
       {"ConvolKernelS5xS5 BW16", "LumConvolSymmetricKernel BW16"}},
      {[&] { LumConvolSymmetricKernel(a16.get(), nullptr, &s7); }, Z_ERROR_NULL_IMAGE,
       {"ConvolKernelS7xS7 (BW16)", "LumConvolSymmetricKernel BW16"}},
      // Colour: 1413 for a null or equal destination; the gray form's trace inside the colour one.
      {[&] { LumConvolKernel(c.get(), nullptr, &k); }, Z_ERROR_NEED_SEPARATE_DESTINATION, {"LumConvolKernel ( C24)"}},
      {[&] { LumConvolSymmetricKernel(c.get(), c.get(), &k); }, Z_ERROR_NEED_SEPARATE_DESTINATION,
       {"LumConvolSymmetricKernel ( C24)"}},
      {[&] { LumConvolKernel(c.get(), d.get(), &none); }, Z_ERROR_KERNEL_NO_DATA,
       {"LumConvolKernel BW8", "LumConvolKernel ( C24)"}},
      {[&] { LumConvolSymmetricKernel(c.get(), d.get(), &r0); }, Z_ERROR_KERNEL_NO_RECTIFIER,
       {"LumConvolSymmetricKernel", "LumConvolSymmetricKernel ( C24)"}},
      // The licence gate stops the call before the destination is touched; success leaves no trace.
      {[&] {
         ZSetGateError(Z_ERROR_INTERNAL);
         LumConvolKernel(a.get(), b.get(), &k);
         ZSetGateError(Z_ERROR_NONE);
       },
       Z_ERROR_INTERNAL, {"LumConvolKernel BW8"}},
      {[&] { LumConvolKernel(a.get(), a.get(), &k); }, Z_ERROR_NONE, {}},
  });
  EXPECT_EQ(Read(b.get()).p, std::vector<int64_t>(64, 9));
}

}  // namespace
