// Direct evaluation of the convolution routes, pixel by pixel from the formulas: the reference the
// library's workers are compared with. Images are plain vectors of ints, row-major.
#ifndef KELMIRA_TESTS_FILTERS_CONVOL_REF_H
#define KELMIRA_TESTS_FILTERS_CONVOL_REF_H

#include <cmath>
#include <cstdint>
#include <vector>

namespace ref {

struct Img {
  int w = 0, h = 0;
  std::vector<int64_t> p;
  int64_t& at(int x, int y) { return p[static_cast<size_t>(y) * w + x]; }
  int64_t at(int x, int y) const { return p[static_cast<size_t>(y) * w + x]; }
};

inline int32_t Trunc(double v) {
  if (!(v > -2147483649.0 && v < 2147483648.0)) return INT32_MIN;
  return static_cast<int32_t>(v);
}

inline float Gain(const std::vector<float>& k, float gain) {
  float sum = 0, sumAbs = 0;
  for (float v : k) sum += v, sumAbs += std::fabs(v);
  return std::fabs(sum) > sumAbs * 0.00001f ? gain / sum : gain;
}

inline int Clamp(int v, int lo, int hi) { return v < lo ? lo : v > hi ? hi : v; }

// Fixed-point evaluation with nearest-pixel coordinates. `rect` 2 on Q8 is the short route.
// `inPlace` evaluates in row order on the image itself (what a worker without a copy sees).
inline Img Fixed(Img src, int n, const std::vector<int32_t>& c, int32_t bias, int shift, int rect, int64_t max,
                 bool inPlace) {
  Img out = src;
  Img& read = inPlace ? out : src;
  for (int y = 0; y < src.h; ++y)
    for (int x = 0; x < src.w; ++x) {
      uint32_t sum = static_cast<uint32_t>(bias);
      for (int j = 0; j < n; ++j)
        for (int i = 0; i < n; ++i)
          sum += static_cast<uint32_t>(c[j * n + i]) *
                 static_cast<uint32_t>(read.at(Clamp(x - n / 2 + i, 0, src.w - 1), Clamp(y - n / 2 + j, 0, src.h - 1)));
      const int32_t s = static_cast<int32_t>(sum);
      int32_t r = s >> shift;
      if (rect == 3) {
        if (r < 0) r = -r;
        if (r > max) r = static_cast<int32_t>(max);
      } else if (static_cast<uint32_t>(r) > max) {
        r = s < 0 ? 0 : static_cast<int32_t>(max);
      }
      out.at(x, y) = r;
    }
  return out;
}

inline int64_t FloatFinish(double s, int rect, uint32_t offset, int64_t max) {
  int64_t v = Trunc(s);
  if (rect == 1) v = v <= 0 ? -v : 0;
  if (rect == 2) v = v < 0 ? 0 : v;
  if (rect == 3) v = v < 0 ? -v : v;
  v += offset;
  return v < 0 ? 0 : v > max ? max : v;
}

// The general float loop: outside value beyond the view, even sizes reach further up and left.
inline Img FloatGeneral(Img src, int sx, int sy, const std::vector<float>& kf, int rect, uint32_t offset,
                        uint32_t outside, int64_t max, bool inPlace) {
  Img out = src;
  Img& read = inPlace ? out : src;
  for (int y = 0; y < src.h; ++y)
    for (int x = 0; x < src.w; ++x) {
      double s = 0;
      for (int j = 0; j < sy; ++j)
        for (int i = 0; i < sx; ++i) {
          const int xx = x - (sx >> 1) + i, yy = y - (sy >> 1) + j;
          const double p = (xx >= 0 && xx < src.w && yy >= 0 && yy < src.h) ? double(read.at(xx, yy)) : double(outside);
          s += p * double(kf[j * sx + i]);
        }
      out.at(x, y) = FloatFinish(s, rect, offset, max);
    }
  return out;
}

// The 3x3 float loop: interior first, then the border in its order, whose sum uses kf[5] for the
// pixel below the centre.
inline Img Float3x3(Img src, const std::vector<float>& kf, int rect, uint32_t offset, uint32_t outside, int64_t max,
                    bool inPlace) {
  Img out = src;
  Img& read = inPlace ? out : src;
  const auto eval = [&](int x, int y, bool border) {
    double s = 0;
    for (int j = 0; j < 3; ++j)
      for (int i = 0; i < 3; ++i) {
        const int xx = x - 1 + i, yy = y - 1 + j;
        const double p = (xx >= 0 && xx < src.w && yy >= 0 && yy < src.h) ? double(read.at(xx, yy)) : double(outside);
        s += p * double(kf[border && j * 3 + i == 7 ? 5 : j * 3 + i]);
      }
    out.at(x, y) = FloatFinish(s, rect, offset, max);
  };
  for (int y = 1; y + 1 < src.h; ++y)
    for (int x = 1; x + 1 < src.w; ++x) eval(x, y, false);
  for (int x = 0; x < src.w; ++x) eval(x, 0, true);
  for (int y = 1; y + 1 < src.h; ++y) {
    eval(0, y, true);
    if (src.w > 1) eval(src.w - 1, y, true);
  }
  if (src.h > 1)
    for (int x = 0; x < src.w; ++x) eval(x, src.h - 1, true);
  return out;
}

}  // namespace ref

#endif  // KELMIRA_TESTS_FILTERS_CONVOL_REF_H
