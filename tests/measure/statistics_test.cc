// Statistics, comparison, moments, centres and inertia against direct models, wide and scalar.
#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "support/kelmira_test.h"

namespace {


// The values of a view, channel by channel: at(x, y, k).
struct Grid {
  int w = 0, h = 0, c = 1;
  std::vector<kt::Plane> planes;
  uint64_t at(int x, int y, int k = 0) const { return uint64_t(planes[k].at(x, y)); }
};

template <class T>
Grid Read(ZROI<T>* view) {
  Grid g{view->GetWidth(), view->GetHeight(), std::is_same_v<T, ZC24> ? 3 : 1, {}};
  for (int k = 0; k < g.c; ++k) g.planes.push_back(kt::Read(view, k));
  return g;
}

template <class T>
void Fill(kt::Framed<T>& view) { kt::FillValues(view, 9); }


using Weight = std::function<uint32_t(uint64_t)>;
using Values = std::vector<float>;
uint32_t Plain(uint64_t v) { return uint32_t(v); }
constexpr float kUnwritten = 7.0f;  // what the outputs (and a count) hold before a call

// The moments of orders up to `order` of weight(value).
Values Moments(const Grid& g, bool narrow, int order, const Weight& weight) {
  Values out(order == 1 ? 3 : order == 2 ? 6 : order == 3 ? 10 : 15, 0.0f);
  for (int y = 0; y < g.h; ++y) {
    uint64_t s[6] = {};
    for (int x = 0; x < g.w; ++x) {
      const uint64_t w = weight(g.at(x, y)), ux = uint64_t(x), uy = uint64_t(y), d = uint64_t(int64_t(x) - y);
      s[0] += w, s[1] += w * ux, s[2] += w * uy, s[3] += w * ux * ux, s[4] += w * d * d, s[5] += w * uy * uy;
      const float f[] = {float(w), float(x), float(y)};
      for (size_t k = 3, i = 0; order >= 3 && k < out.size(); ++k, ++i) {  // x^a y^b, a + b = 2, 3, 4
        const int degree = i < 3 ? 2 : i < 7 ? 3 : 4, b = int(i < 3 ? i : i < 7 ? i - 3 : i - 7);
        float t = f[0];
        for (int j = 0; j < degree; ++j) t = t * f[j < degree - b ? 1 : 2];
        out[k] += t;
      }
    }
    for (int k = 0; k < (order == 2 ? 6 : 3); ++k) out[k] += float(int64_t(narrow ? uint32_t(s[k]) : s[k]));
  }
  if (order == 2) out[4] = (out[3] + out[5] - out[4]) * 0.5f;
  return out;
}

// ixx, ixy, iyy, cx, cy and the count; nothing written when no weight.
Values Inertia(const Grid& g, const Weight& weight) {
  uint32_t n = 0, sx = 0, sy = 0;
  double sxx = 0, sxy = 0, syy = 0;
  for (int y = 0; y < g.h; ++y) {
    uint64_t r[3] = {};
    for (int x = 0; x < g.w; ++x) {
      const uint64_t w = weight(g.at(x, y));
      n += uint32_t(w), sx += uint32_t(w * x), sy += uint32_t(w * y);
      r[0] += w * x * x, r[1] += w * x * y, r[2] += w * y * y;
    }
    sxx += double(r[0]), sxy += double(r[1]), syy += double(r[2]);
  }
  if (n == 0) return Values(6, kUnwritten);
  const double dn = n, d = dn * dn;
  return {float((dn * sxx - uint32_t(sx * sx)) / d), float((dn * sxy - uint32_t(sy * sx)) / d),
          float((dn * syy - uint32_t(sy * sy)) / d), float(sx / dn), float(sy / dn), float(n)};
}

// cx, cy of the column and row profiles of weight(value), each left alone when its profile is 0.
Values Centre(const Grid& g, const Weight& weight) {
  std::vector<uint32_t> cols(g.w), rows(g.h);
  for (int y = 0; y < g.h; ++y)
    for (int x = 0; x < g.w; ++x) cols[x] += weight(g.at(x, y)), rows[y] += weight(g.at(x, y));
  const auto centre = [&](const std::vector<uint32_t>& h) {
    uint32_t s = 0, t = 0;
    for (size_t i = 0; i < h.size(); ++i) s += h[i], t += uint32_t(i) * h[i];
    return s ? float(t) / float(s) : kUnwritten;
  };
  return {centre(cols), centre(rows)};
}

// The outputs of the moment forms: weighted of orders 1 to 4 (1 also in its older spelling), and
// binary of orders 1 and 2; each form takes its n outputs by reference.
template <size_t n, class F>
Values Written(F&& form) {
  Values o(n, kUnwritten);
  [&]<size_t... i>(std::index_sequence<i...>) { form(o[i]...); }(std::make_index_sequence<n>());
  return o;
}
template <class T>
Values Weighted(ZROI<T>* v, int order, bool older = false) {
  const auto form = [&](auto&... o) { older ? LumWeighedMoments(v, o...) : LumWeightedMoments(v, o...); };
  return order == 1 ? Written<3>(form) : order == 2 ? Written<6>(form) : order == 3 ? Written<10>(form) : Written<15>(form);
}
template <class T>
Values Binary(ZROI<T>* v, unsigned threshold, int order) {
  const auto form = [&](auto&... o) { LumBinaryMoments(v, threshold, o...); };
  return order == 1 ? Written<3>(form) : Written<6>(form);
}

// The library's outputs (`lib`) or the model's, in one order: every moment form, the gravity
// centre; on BW8 the binary inertia, centroid and weighted inertia with and without weights.
template <class T>
std::vector<std::pair<std::string, Values>> Outputs(ZROI<T>* a, const Grid& g, bool lib) {
  static ZBW8Vector table = [] {
    ZBW8Vector t(256);
    for (int i = 0; i < 256; ++i) t[unsigned(i)] = ZBW8(uint8_t(i % 7 == 0 ? 0 : 255 - i));
    return t;
  }();
  using S = decltype(T::value);
  const unsigned max = S(~S{0}), threshold = max / 2;
  const bool narrow = sizeof(S) == 1;
  const Weight plain = Plain;
  std::vector<std::pair<std::string, Values>> r;
  for (int order = 1; order <= 4; ++order)
    r.emplace_back("weighted order " + std::to_string(order), lib ? Weighted(a, order) : Moments(g, narrow, order, plain));
  for (int order = 1; order <= 2; ++order)
    for (unsigned t : {0u, 1u, threshold, max, max + 1})
      r.emplace_back("binary order " + std::to_string(order) + " above " + std::to_string(t),
                     lib ? Binary(a, t, order) : Moments(g, narrow, order, [&](uint64_t v) { return v >= t; }));
  const Weight binary = [&](uint64_t v) { return v >= threshold; };
  Values o(6, kUnwritten);
  unsigned n = unsigned(kUnwritten);
  if (lib) LumGravityCenter(a, threshold, o[0], o[1]);
  r.emplace_back("gravity centre", lib ? Values(o.begin(), o.begin() + 2) : Centre(g, binary));
  if constexpr (sizeof(S) == 1) {
    if (lib) LumInertia(a, threshold, o[0], o[1], o[2], &o[3], &o[4], &n), o[5] = float(n);
    r.emplace_back("binary inertia", lib ? o : Inertia(g, binary));
    for (ZBW8Vector* lut : {static_cast<ZBW8Vector*>(nullptr), &table}) {
      const Weight weight = [&](uint64_t v) -> uint32_t { return lut ? (*lut)[unsigned(v)].value : uint32_t(v); };
      o.assign(6, kUnwritten), n = unsigned(kUnwritten);
      if (lib) LumCentroid(a, o[0], o[1], lut);
      r.emplace_back(lut ? "centroid, table" : "centroid", lib ? Values(o.begin(), o.begin() + 2) : Centre(g, weight));
      o.assign(6, kUnwritten);
      if (lib) LumInertia(a, o[0], o[1], o[2], &o[3], &o[4], &n, lut), o[5] = float(n);
      r.emplace_back(lut ? "inertia, table" : "inertia", lib ? o : Inertia(g, weight));
    }
  }
  return r;
}

bool Same(const Values& a, const Values& b) {
  return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(float)) == 0;
}

// The moment forms of view a (values g) against the model, then over a run list (the left half of the first row, the
// right half of the last, an empty run): only the runs' pixels count, at their positions; the moments and the forms
// with a reference read the rectangle.
template <class T>
void CheckMoments(ZROI<T>* a, const Grid& g) {
  ZOk();
  using S = decltype(T::value);
  ZVectorTemplate<ZRun> runs;
  Grid masked{g.w, g.h, 1, {kt::Plane(g.w, g.h)}};  // 0 weighs nothing in every form here
  std::vector<uint64_t> values;
  for (const auto& [x, y, n] : {std::array{0, 0, g.w / 2}, {g.w / 2, g.h - 1, g.w - g.w / 2}, {g.w - 1, 0, 0}}) {
    const uint32_t at = uint32_t(y * a->GetRowPitch() + x * int(sizeof(T)));
    runs.AddElement(ZRun{at, at + uint32_t(n * int(sizeof(T))), int16_t(x), int16_t(y)});
    for (int i = 0; i < n; ++i) values.push_back(g.at(x + i, y)), masked.planes[0].at(x + i, y) = int64_t(g.at(x + i, y));
  }
  const auto want = Outputs(a, g, false), inRuns = Outputs(a, masked, false);
  for (ZVectorTemplate<ZRun>* list : {static_cast<ZVectorTemplate<ZRun>*>(nullptr), &runs}) {
    a->SetRunList(list);
    const auto got = Outputs(a, Grid{}, true);
    for (size_t i = 0; i < got.size(); ++i) {
      const bool rectangle = list == nullptr || got[i].first.find("order") != std::string::npos;
      EXPECT_TRUE(Same(got[i].second, (rectangle ? want : inRuns)[i].second)) << got[i].first << (list ? ", runs" : "");
    }
  }
  EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
  int area = -1;
  const auto above = unsigned(std::count_if(values.begin(), values.end(), [](uint64_t v) { return v > 100; }));
  EXPECT_TRUE(LumArea(a) == values.size() && LumArea(a, 100u) == above);
  EXPECT_TRUE(LumArea(a, S(0), area) == 0 && area == g.w * g.h);
  if constexpr (sizeof(S) == 1) {
    unsigned count = 0, count2 = 0;
    uint64_t sum = 0;
    double s2 = 0;
    for (uint64_t v : values) sum += v, s2 += double(v * v);
    const float n = float(values.size()), m = float(uint32_t(sum)) / n;
    float mean = kUnwritten;
    EXPECT_EQ(LumAverage(a, &count), float(sum) / n);
    EXPECT_EQ(LumVariance(a, &mean, &count2), float(s2 / double(n) - double(m * m)));
    EXPECT_TRUE(mean == m && count == values.size() && count2 == values.size());
    EXPECT_EQ(LumMinimum(a).value, *std::min_element(values.begin(), values.end()));
    EXPECT_EQ(LumMaximum(a).value, *std::max_element(values.begin(), values.end()));
  }
  EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
  a->SetRunList(nullptr);
}


// The named results of one view (and its reference): the library's, compared in order with the model's, bit for bit.
using Results = std::vector<std::pair<std::string, double>>;

// Average, variance, mean, deviation, its mean, signal/noise, rms noise and focusing of channel k: `narrow` (BW8, C24)
// cuts the average's sum and the noise and focus row sums to 32 bits; the variance takes double totals of 64-bit row
// sums, a negative rounding clamped. `pool` gathers the totals of the pooled variance.
std::vector<double> Channel(const Grid& a, const Grid& b, int k, bool narrow, bool snrEqual, std::array<double, 3>& pool) {
  const auto cut = [&](uint64_t v) { return narrow ? uint32_t(v) : v; };
  const auto sq = [](int64_t d) { return uint64_t(d * d); };
  uint64_t total = 0;
  double s = 0, q = 0;
  long double power = 0, error = 0, focus = 0;
  float rms = 0;
  for (int y = 0; y < a.h; ++y) {
    uint64_t rs = 0, rq = 0, re = 0, rf = 0;
    for (int x = 0; x < a.w; ++x) {
      const int64_t v = int64_t(a.at(x, y, k)), d = v - int64_t(b.at(x, y, k));
      rs += uint64_t(v), rq += sq(v), re += sq(d);
      if (x + 1 < a.w && y + 1 < a.h) rf += sq(v - int64_t(a.at(x + 1, y, k))) + sq(v - int64_t(a.at(x, y + 1, k)));
    }
    total += rs, s += double(rs), q += double(rq);
    power += cut(rq), error += cut(re), focus += cut(rf), rms += float(cut(re));
  }
  const double n = double(uint64_t(a.w) * a.h), v = (n * q - s * s) / (n * n);
  pool[0] += s, pool[1] += q, pool[2] += n;
  const float variance = v < 0 ? 0.0f : float(v), mean = float(s / n);
  const long double db = error == 0 ? 0.0L : 10.0L * std::log10(power / error) + (snrEqual ? 10.0L * std::log10(2.0L) : 0.0L);
  return {float(cut(total)) / float(n), variance, mean, std::sqrt(variance), mean, float(db),
          std::sqrt((snrEqual ? rms : rms * 0.5f) / float(n)), float(focus)};
}

// The count levels (low, high) of the gray forms.
std::vector<std::pair<uint64_t, uint64_t>> Levels(uint64_t max) {
  return {{0, 0}, {1, max}, {max / 3, max / 2}, {max / 2, max / 3}, {max, max}};
}

// Linear regression: sums in 64 bits per row, then double; constant data gives the mean as the
// intercept and 1051, no pixel left gives 1051 and writes nothing (-1).
std::array<double, 4> Fit(const Grid& a, const Grid& b, bool exclude) {
  double sa = 0, sb = 0, saa = 0, sab = 0, sbb = 0;
  uint64_t n = 0;
  for (int y = 0; y < a.h; ++y) {
    uint64_t r[5] = {};
    for (int x = 0; x < a.w; ++x) {
      const uint64_t u = a.at(x, y), v = b.at(x, y);
      if (exclude && (u == 0 || u == 255 || v == 0 || v == 255)) continue;
      r[0] += u, r[1] += v, r[2] += u * u, r[3] += u * v, r[4] += v * v, ++n;
    }
    sa += double(r[0]), sb += double(r[1]), saa += double(r[2]), sab += double(r[3]), sbb += double(r[4]);
  }
  if (n == 0) return {Z_ERROR_NO_VARIANCE, -1, -1, -1};
  const double i = 1.0 / double(n), ma = sa * i, mb = sb * i;
  const double vaa = saa * i - ma * ma, vab = sab * i - mb * ma, vbb = sbb * i - mb * mb;
  if (vaa == 0) return {Z_ERROR_NO_VARIANCE, 0.0f, float(mb), 0.0f};
  const double s = vab / vaa;
  return {0, float(s), float(mb - s * ma), vaa * vbb > 0 ? float(vab / std::sqrt(vaa * vbb)) : 0.0f};
}

float At(const ZColor& c, int k) { return k == 0 ? c.c0 : k == 1 ? c.c1 : c.c2; }
float At(float v, int) { return v; }
// The host's callback: whether the first byte is odd; it keeps the pixels it sees, in order.
std::vector<uint64_t> g_seen;
template <class T>
int Odd(T& p) {
  const uint8_t first = reinterpret_cast<const uint8_t*>(&p)[0];
  return g_seen.push_back(first), first & 1;
}

// Every statistic of view a (and of a against b) as the library gives it. C24 takes the two noise
// modes the other way round from the gray types, so that each mode meets each type.
template <class T>
Results Measure(ZROI<T>* a, ZROI<T>* b) {
  constexpr bool colour = std::is_same_v<T, ZC24>;
  const auto snrMode = colour ? LUM_REFERENCE_NOISE_EQUAL : LUM_REFERENCE_NOISE_NONE;
  const auto rmsMode = colour ? LUM_REFERENCE_NOISE_NONE : LUM_REFERENCE_NOISE_EQUAL;
  float av[3] = {-1, -1, -1}, v[4] = {-1, -1, -1, -1}, mean[3] = {-1, -1, -1}, dev[7], snr[3], rms[3], focus[3];
  std::fill_n(dev, 7, -1.0f);
  Results r;
  const auto put = [&](const std::string& name, double value) { r.emplace_back(name, value); };
  if constexpr (colour) {
    put("average returns", LumPixelAverage(a, av[0], av[1], av[2]));
    LumPixelVariance(a, v[0], v[1], v[2], mean[0], mean[1], mean[2], v[3]);
    put("deviation returns", LumPixelStdDev(a, dev[0], dev[1], dev[2], dev[3], dev[4], dev[5], dev[6]));
    const ZColor s = LumSignalNoiseRatio(a, b, snrMode), q = LumRmsNoise(a, b, rmsMode), f = LumFocusing(a);
    for (int k = 0; k < 3; ++k) snr[k] = At(s, k), rms[k] = At(q, k), focus[k] = At(f, k);
  } else {
    put("average returns", LumPixelAverage(a, av[0]));
    LumPixelVariance(a, v[0], mean[0]);
    put("deviation returns", LumPixelStdDev(a, dev[0], dev[3]));
    snr[0] = LumSignalNoiseRatio(a, b, snrMode), rms[0] = LumRmsNoise(a, b, rmsMode), focus[0] = LumFocusing(a);
  }
  for (int k = 0; k < (colour ? 3 : 1); ++k)
    for (const auto& [name, value] : {std::pair{"average ", av[k]}, {"variance ", v[k]}, {"mean ", mean[k]},
                                      {"deviation ", dev[k]}, {"deviation's mean ", dev[3 + k]}, {"signal/noise ", snr[k]},
                                      {"rms noise ", rms[k]}, {"focusing ", focus[k]}})
      put(name + std::to_string(k), value);
  if constexpr (colour) {
    put("pooled variance", v[3]), put("pooled deviation", dev[6]);
  } else {
    using S = decltype(T::value);
    S lo = 0, hi = 0, slo = 0, shi = 0;
    float statMean = -1;
    put("extremes return", LumPixelMin(a, lo) + LumPixelMax(a, hi) + LumPixelStat(a, slo, shi, statMean));
    put("min", lo), put("max", hi), put("stat min", slo), put("stat max", shi), put("stat mean", statMean);
    // LumPixelCount and LumAreaDoubleThreshold: below low, then below high; LumArea with a
    // reference is at or above, the binarized form strictly above.
    for (const auto& [low, high] : Levels(S(~S{0}))) {
      int c[3] = {-1, -1, -1}, band = -1, area = -1;
      put("counts return", LumPixelCount(a, S(low), S(high), c[0], c[1], c[2]) +
                               LumAreaDoubleThreshold(a, S(low), S(high), band) + LumArea(a, S(high), area));
      put("below", c[0]), put("between", c[1]), put("above", c[2]), put("band", band), put("area", area);
      put("binarized area", LumArea(a, unsigned(high)));
    }
    put("binarized area above all", LumArea(a, 0xFFFFFFFFu));
  }
  put("differing pixels", LumPixelCompare(a, b)), put("differing from itself", LumPixelCompare(a, a));
  for (auto mode : {LUM_REFERENCE_NOISE_NONE, LUM_REFERENCE_NOISE_EQUAL})  // no noise: 0, not infinite
    put("noise of itself", At(LumRmsNoise(a, a, mode), 0) + At(LumSignalNoiseRatio(a, a, mode), 0));
  std::vector<uint64_t> first;  // the first byte of each pixel, in row order
  for (int64_t v : kt::Read(a).p) first.push_back(uint64_t(v) & 255);
  g_seen.clear();
  put("odd pixels", LumCount(a, Odd<T>)), put("pixels seen in row order", g_seen == first ? 1 : 0);
  put("error", ZGetError());
  if constexpr (std::is_same_v<T, ZBW8>)
    for (ZROI<T>* second : {b, a})
      for (int exclude : {0, 1}) {
        float f[3] = {-1, -1, -1};
        LumLinearRegression(a, second, f[0], f[1], f[2], exclude);
        put("regression error", ZGetError()), put("slope", f[0]), put("intercept", f[1]), put("correlation", f[2]);
      }
  return r;
}

std::vector<double> Expected(const Grid& a, const Grid& b, bool narrow, bool bw8) {
  const bool colour = a.c == 3;
  std::array<double, 3> pool{};
  std::vector<double> e = {0, 0};
  for (int k = 0; k < a.c; ++k) {
    const std::vector<double> c = Channel(a, b, k, narrow, colour, pool);
    e.insert(e.end(), c.begin(), c.end());
  }
  if (colour) {
    const double v = (pool[2] * pool[1] - pool[0] * pool[0]) / (pool[2] * pool[2]);
    const float pooled = v < 0 ? 0.0f : float(v);
    e.insert(e.end(), {pooled, std::sqrt(pooled)});
  } else {
    uint64_t lo = a.at(0, 0), hi = lo;
    float total = 0;  // the mean of the row means
    for (int y = 0; y < a.h; ++y) {
      uint64_t s = 0;
      for (int x = 0; x < a.w; ++x) s += a.at(x, y), lo = std::min(lo, a.at(x, y)), hi = std::max(hi, a.at(x, y));
      total += float(s) / float(a.w);
    }
    e.insert(e.end(), {0, double(lo), double(hi), double(lo), double(hi), total / float(a.h)});
    const auto count = [&](uint64_t low, uint64_t high) {
      std::array<double, 3> c{};
      for (int y = 0; y < a.h; ++y)
        for (int x = 0; x < a.w; ++x) ++c[a.at(x, y) < low ? 0 : a.at(x, y) < high ? 1 : 2];
      return c;
    };
    for (const auto& [low, high] : Levels(narrow ? 255 : 65535)) {
      const auto c = count(low, high);
      e.insert(e.end(), {0, c[0], c[1], c[2], c[1], count(0, high)[2], count(0, high + 1)[2]});
    }
    e.push_back(0);
  }
  double differ = 0, odd = 0;
  for (int y = 0; y < a.h; ++y)
    for (int x = 0; x < a.w; ++x) {
      bool same = true;
      for (int k = 0; k < a.c; ++k) same = same && a.at(x, y, k) == b.at(x, y, k);
      differ += !same, odd += a.at(x, y) & 1;
    }
  e.insert(e.end(), {differ, 0, 0, 0, odd, 1, Z_ERROR_NONE});
  for (const Grid* second : {&b, &a})
    for (int exclude = 0; bw8 && exclude < 2; ++exclude) {
      const auto f = Fit(a, *second, exclude);
      e.insert(e.end(), f.begin(), f.end());
    }
  return e;
}

// Normalisation of view a through the table of its own statistics (truncated, then clipped),
// into a destination and in place with a null one.
template <class T>
void CheckNormalize(kt::Aligned<T>& a, int offset) {
  using S = decltype(T::value);
  const float target = sizeof(S) == 1 ? 100.0f : 30000.0f, spread = sizeof(S) == 1 ? 30.0f : 20000.0f;
  float d = 0, m = 0;
  ASSERT_EQ(LumPixelStdDev(a.get(), d, m), 0);
  kt::Plane want = kt::Read(a.get());
  const float k = spread / d, max = float(S(~S{0}));
  for (int64_t& v : want.p) {
    const float r = float(v) * k + target - k * m;  // a deviation of 0 makes it NaN, which gives 0
    v = !(r > 0) ? 0 : r > max ? int64_t(max) : int64_t(r);
  }
  kt::Aligned<T> out(a->GetWidth(), a->GetHeight(), offset), same(a->GetWidth(), a->GetHeight(), offset);
  LumCopy(a.get(), same.get());
  LumNormalize(a.get(), out.get(), target, spread);
  LumNormalize(same.get(), nullptr, target, spread);
  EXPECT_TRUE(ZGetError() == Z_ERROR_NONE && kt::Read(out.get()) == want && kt::Read(same.get()) == want);
  EXPECT_TRUE(out.GuardsIntact() && same.GuardsIntact());
}

// Every statistic and moment of one type against the models, bit for bit: widths around the vector widths (each meets
// a tail), heights 1 to 3, offsets up to 15, more rows than one wide call takes; each shape on the next target.
template <class T>
void CheckEveryShape() {
  std::vector<std::array<int, 3>> shapes = {{1000, 5, 3}, {70, 130, 9}};
  for (int w : {1, 2, 3, 7, 8, 9, 15, 16, 17, 31, 33, 63, 64, 65, 100, 129, 257})
    for (int h : {1, 2, 3}) shapes.push_back({w, h, int(shapes.size() * 7 % 16)});
  for (size_t round = 0; round < shapes.size(); ++round) {
    const auto [width, height, offset] = shapes[round];
    SCOPED_TRACE(testing::Message() << width << "x" << height << " at offset " << offset);
    kt::Aligned<T> a(width, height, offset), b(width, height, (offset * 3 + 1) % 16);
    Fill(a), Fill(b);
    const Grid ga = Read(a.get());
    const std::vector<double> want = Expected(ga, Read(b.get()), sizeof(T) != 2, sizeof(T) == 1);
    const kt::TargetSetting target(kt::NthTarget(round));
    kt::ForScalarAndWide([&](int) {
      const Results got = Measure(a.get(), b.get());
      ASSERT_EQ(got.size(), want.size());
      for (size_t i = 0; i < got.size(); ++i)
        EXPECT_TRUE(kt::Same(got[i].second, want[i])) << got[i].first << ": " << got[i].second << ", want " << want[i];
      if constexpr (!std::is_same_v<T, ZC24>) CheckMoments(a.get(), ga), CheckNormalize(a, offset * 5 % 16);
    });
    ASSERT_TRUE(a.GuardsIntact() && b.GuardsIntact());
  }
}

TEST(PixelStatistics, Bw8AgreesWithTheModelOnEveryShape) { CheckEveryShape<ZBW8>(); }
TEST(PixelStatistics, Bw16AgreesWithTheModelOnEveryShape) { CheckEveryShape<ZBW16>(); }
TEST(PixelStatistics, C24AgreesWithTheModelOnEveryShape) { CheckEveryShape<ZC24>(); }

// 4200 x 4100 pixels of 255 sum past 2^32: the BW8 average wraps, the variance's double totals do not; 3621 x 584
// pixels of 65439 with one of 65438 give a variance that rounds below 0 and is clamped.
TEST(PixelStatistics, WrapsAndRounding) {
  ZImage<ZBW8> image(4200, 4100);
  for (int y = 0; y < 4100; ++y) std::memset(image.GetGenericImagePtr(0, y), 255, 4200);
  ZImage<ZBW16> flat(3621, 584);
  for (int y = 0; y < 584; ++y) std::fill_n(&flat.GetImagePtr(0, y)->value, 3621, uint16_t(65439));
  flat.GetImagePtr(0, 0)->value = 65438;
  const uint64_t n = 4200ull * 4100;
  kt::ForScalarAndWide([&](int) {
    float average = 0, variance = -1, mean = 0;
    ASSERT_EQ(LumPixelAverage(&image, average), 0);
    EXPECT_EQ(average, float(uint32_t(n * 255)) / float(n));
    LumPixelVariance(&image, variance, mean);
    EXPECT_TRUE(variance == 0.0f && mean == 255.0f);
    unsigned count = 0;
    EXPECT_TRUE(LumAverage(&image, &count) == 255.0f && count == n);
    LumPixelVariance(&flat, variance, mean);
    EXPECT_EQ(variance, 0.0f);
  });
  // One row longer than the wide squares gather in 32-bit lanes before they flush, on every target.
  const int w = 600001;
  ZImage<ZBW8> row(w, 1);
  std::memset(row.GetGenericImagePtr(0, 0), 255, w);
  row.SetPixel(ZBW8(0), 0, 0);
  const double s = 255.0 * (w - 1), q = 65025.0 * (w - 1);
  ZImage<ZC24> colour(w, 1);
  std::memset(colour.GetGenericImagePtr(0, 0), 255, 3 * size_t(w));
  colour.SetPixel(ZC24(0, 0, 0), 0, 0);
  // Random rows that gather more than one flush of squares, the flush falling inside a row.
  kt::Aligned<ZBW8> noisy(1100, 490, 5);
  Fill(noisy);
  const Grid gn = Read(noisy.get());
  std::array<double, 3> pool{};
  const std::vector<double> expected = Channel(gn, gn, 0, true, false, pool);
  for (int64_t target : kt::Targets()) {
    const kt::TargetSetting setting(target);
    float variance = -1, mean = 0, v[4] = {}, m[3];
    LumPixelVariance(&row, variance, mean);
    EXPECT_EQ(variance, float((double(w) * q - s * s) / (double(w) * w))) << target;
    LumPixelVariance(&colour, v[0], v[1], v[2], m[0], m[1], m[2], v[3]);
    EXPECT_EQ(v[2], variance) << target;
    LumPixelVariance(noisy.get(), variance, mean);
    EXPECT_TRUE(variance == float(expected[1]) && mean == float(expected[2])) << target;
  }
}


TEST(Correlogram, CountsPairsAndSaturatesAtTheCellWidth) {
  ZImage<ZBW8> a(300, 2), b(300, 2), cells8;
  ZImage<ZBW16> cells16;
  for (int x = 0; x < 300; ++x) {
    a.SetPixel(ZBW8(9), x, 0), b.SetPixel(ZBW8(200), x, 0);              // 300 times (9, 200)
    a.SetPixel(ZBW8(uint8_t(x % 3)), x, 1), b.SetPixel(ZBW8(0), x, 1);  // 100 each of (0..2, 0)
  }
  LumCorrelogram(&a, &b, &cells8), LumCorrelogram(&a, &b, &cells16);
  ASSERT_TRUE(ZGetError() == Z_ERROR_NONE && cells8.GetWidth() == 256 && cells16.GetHeight() == 256);
  uint64_t total8 = 0, total16 = 0;
  for (int y = 0; y < 256; ++y)
    for (int x = 0; x < 256; ++x) total8 += cells8.GetPixel(x, y), total16 += cells16.GetPixel(x, y);
  EXPECT_TRUE(cells8.GetPixel(9, 55).value == 255 && cells16.GetPixel(9, 55).value == 300);
  EXPECT_TRUE(cells8.GetPixel(2, 255).value == 100 && total8 == 255u + 300u && total16 == 600u);
}


TEST(StatisticsErrors, BadViewsGiveTheirNumberTheTraceAndZero) {
  ZROI<ZBW8> empty;
  ZImage<ZBW8> a(5, 4), b(4, 5);
  ZImage<ZBW16> c(5, 4), d(5, 3);
  ZImage<ZC24> e(2, 2), f(3, 2);
  unsigned char lo = 7;
  float v = 7, m = 7, fit = 0;
  LumCopy(ZBW8(3), &a);  // constant: no variance to fit
  const std::string of8 = " ( BW8 source and BW8 reference)", of16 = " ( BW16 source and BW16 reference)";
  const auto none = LUM_REFERENCE_NOISE_NONE;
  int i1 = 7, i2 = 7, i3 = 7;
  const std::tuple<std::function<double()>, Z_ERRORS, Strings> cases[] = {
      {[&] { return LumPixelMin(nullptr, lo); }, Z_ERROR_NULL_IMAGE, {"LumPixelMin"}},
      {[&] { return LumPixelAverage(&empty, v); }, Z_ERROR_NULL_IMAGE, {"LumPixelAverage ( BW8)"}},
      {[&] { return LumPixelStdDev(&empty, v, m); }, Z_ERROR_NULL_IMAGE, {"LumPixelVariance ( BW8)", "LumPixelStdDev"}},
      {[&] { return LumPixelStat(nullptr, lo, lo, v); }, Z_ERROR_NULL_IMAGE, {"LumPixelStat"}},
      {[&] { return LumPixelCount(&empty, 1, 2, i1, i2, i3); }, Z_ERROR_NULL_IMAGE, {"LumPixelCount"}},
      {[&] { return LumAreaDoubleThreshold(&empty, 1, 2, i1); }, Z_ERROR_NULL_IMAGE, {"LumAreaDoubleThreshold"}},
      {[&] { return LumArea(&empty, 3u); }, Z_ERROR_NULL_IMAGE, {"LumArea ( binarized)"}},
      {[&] { return LumPixelCompare(&a, &b); }, Z_ERROR_DIFFERENT_SIZES, {"LumPixelCompare ( BW8)"}},
      {[&] { return LumPixelCompare(&c, &d); }, Z_ERROR_DIFFERENT_SIZES, {"LumPixelCompare ( BW16)"}},
      {[&] { return LumRmsNoise(&a, &a, LUM_REFERENCE_NOISE(2)); }, Z_ERROR_ARGUMENT_3, {"LumRmsNoise" + of8}},
      {[&] { return LumSignalNoiseRatio(&a, &a, LUM_REFERENCE_NOISE(-1)); }, Z_ERROR_ARGUMENT_3, {"LumSignalNoiseRatio" + of8}},
      {[&] { return LumSignalNoiseRatio(&c, nullptr, none); }, Z_ERROR_NULL_IMAGE, {"LumSignalNoiseRatio" + of16}},
      {[&] { return LumRmsNoise(&e, &f, none).c0; }, Z_ERROR_DIFFERENT_SIZES, {"LumRmsNoise ( C24 source and C24 reference)"}},
      {[&] { return LumFocusing(static_cast<ZROI<ZC24>*>(nullptr)).c1; }, Z_ERROR_NULL_IMAGE, {"LumFocusing ( C24)"}},
      {[&] { return LumFocusing(&empty); }, Z_ERROR_NULL_IMAGE, {"LumFocusing ( BW8)"}},
      {[&] { return LumAverage(nullptr, nullptr); }, Z_ERROR_NULL_IMAGE, {"LumAverage"}},
      {[&] { return LumCount(&a, nullptr); }, Z_ERROR_NULL_IMAGE, {"LumCount ( BW8)"}},
      {[&] { return LumVariance(&empty, &v, nullptr); }, Z_ERROR_NULL_IMAGE, {"LumVariance"}},
      {[&] { return LumNormalize(&empty, &a, 1, 1); }, Z_ERROR_NULL_IMAGE,
       {"LumPixelVariance ( BW8)", "LumPixelStdDev", "LumNormalize"}},
      {[&] { return LumNormalize(&a, &b, 1, 1); }, Z_ERROR_DIFFERENT_SIZES, {"LumNormalize"}},
      {[&] { return LumNormalize(&c, &d, 1, 1), 0; }, Z_ERROR_DIFFERENT_SIZES, {"LumNormalize (BW16)"}},
      {[&] { return LumCorrelogram(&a, &a, static_cast<ZImage<ZBW8>*>(nullptr)), 0; }, Z_ERROR_NULL_IMAGE,
       {"LumCorrelogram ( BW8)"}},
      {[&] { return LumLinearRegression(&a, &b, v, v, v, 0), 0; }, Z_ERROR_DIFFERENT_SIZES, {"LumLinearRegression"}},
      {[&] { return LumLinearRegression(&a, &a, fit, fit, fit, 0), 0; }, Z_ERROR_NO_VARIANCE, {"LumLinearRegression"}},
      // the gate stops every form
      {[&] { ZSetGateError(Z_ERROR_INTERNAL); const double r = LumArea(&a); return ZSetGateError(Z_ERROR_NONE), r; },
       Z_ERROR_INTERNAL, {"LumArea ( all pixels)"}},
  };
  for (const auto& [call, error, trace] : cases) {
    const double r = call();
    EXPECT_TRUE(kt::Failed(error, trace));
    EXPECT_TRUE(r == 0 || r == double(error)) << trace[0];  // short forms return the number, measures 0
  }
  EXPECT_TRUE(lo == 7 && v + m + float(i1 + i2 + i3) == 35.0f);
}


// Every exit of a moment form traces, success included, and an earlier error stands; failures
// write nothing; the inertia's centre and count are optional.
TEST(Moments, TracesAndTheFrame) {
  ZImage<ZBW8> image(6, 4);
  ZImage<ZBW16> image16(3, 3);
  ZROI<ZBW8> empty;
  ZROI<ZBW16> empty16;
  float m = 0, mx = 0, my = 0, cx = 7, cy = 8, ixx = 1;
  unsigned n = 6;
  LumCopy(ZBW8(10), &image);
  LumInertia(&image, 5, m, m, m, nullptr, nullptr, nullptr);
  EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
  ZOk();
  Weighted<ZBW16>(&image16, 4), Weighted<ZBW8>(&image, 3), Weighted<ZBW8>(&image, 1, true), Binary<ZBW8>(&image, 0, 1);
  EXPECT_EQ(kt::Trace(), (Strings{"LumWeightedMoments (fourth order)(BW16)", "LumWeightedMoments ( third order)",
                                  "LumWeightedMoments ( first order)", "LumBinaryMoments ( first order)"}));
  ZOk();
  m = 1, mx = 2, my = 3;
  LumWeightedMoments(&empty, m, mx, my), LumWeighedMoments(&empty16, m, mx, my);
  LumBinaryMoments(static_cast<ZROI<ZBW8>*>(nullptr), 0, m, mx, my), Binary<ZBW8>(&image, 0, 2);
  EXPECT_TRUE(kt::Failed(Z_ERROR_NULL_IMAGE, {"LumWeightedMoments ( first order)", "LumWeightedMoments (first order)(BW16)",
                                               "LumBinaryMoments ( first order)", "LumBinaryMoments ( second order)"}));
  EXPECT_EQ(Values({m, mx, my}), Values({1, 2, 3}));
  ZBW8Vector shortTable(255);
  kt::CheckRefusals({
      {[&] { LumCentroid(&image, cx, cy, &shortTable); }, Z_ERROR_TABLE_SIZE, {"LumCentroid"}},
      {[&] { LumInertia(&image, ixx, ixx, ixx, &cx, &cy, &n, &shortTable); }, Z_ERROR_TABLE_SIZE, {"LumInertia ( weighted)"}},
      {[&] { LumGravityCenter(&empty, 1, cx, cy); }, Z_ERROR_NULL_IMAGE, {"LumGravityCenter"}},
      {[&] { LumGravityCenter(static_cast<ZROI<ZBW16>*>(nullptr), 1, cx, cy); }, Z_ERROR_NULL_IMAGE, {"LumGravityCenter (BW16)"}},
      {[&] { LumInertia(nullptr, 1, ixx, ixx, ixx, nullptr, nullptr, nullptr); }, Z_ERROR_NULL_IMAGE, {"LumInertia ( binary)"}},
  });
  EXPECT_EQ(Values({cx, cy, ixx, float(n)}), Values({7, 8, 1, 6}));
}

// Runs that leave the view (into the next row, below it, or ending before it starts: 106) and, for
// the centres, a position word that leaves it; runs without pixels: no variance, an average of 0.
TEST(RunLists, RunsOutsideTheViewOrWithoutPixels) {
  kt::Aligned<ZBW8> a(40, 6, 5);
  Fill(a);
  ZVectorTemplate<ZRun> runs;
  a->SetRunList(&runs);
  const uint32_t pitch = uint32_t(a->GetRowPitch());
  for (const ZRun bad : {ZRun{pitch - 2, pitch + 3, 0, 0}, ZRun{6 * pitch, 6 * pitch + 1, 0, 6}, ZRun{9, 4, 9, 0},
                         ZRun{0, 3, 38, 0}}) {
    runs.AddElement(bad);
    unsigned count = 7;
    float cx = 3, cy = 3;
    LumGravityCenter(a.get(), 0, cx, cy);
    EXPECT_TRUE(ZGetError() == Z_ERROR_OUTSIDE_ROI && cx + cy == 6.0f);
    if (bad.m_n16X != 38) {
      EXPECT_EQ(LumArea(a.get()), 0u);
      EXPECT_TRUE(kt::Failed(Z_ERROR_OUTSIDE_ROI, {"LumArea ( all pixels)"}));
      EXPECT_TRUE(LumAverage(a.get(), &count) == 0.0f && ZGetError() == Z_ERROR_OUTSIDE_ROI);
    }
    runs.RemoveElement(0);
  }
  runs.AddElement(ZRun{3, 3, 3, 0});
  EXPECT_EQ(LumVariance(a.get(), nullptr, nullptr), 0.0f);
  EXPECT_TRUE(kt::Failed(Z_ERROR_NO_VARIANCE, {"LumHistogramCenteredMoments ( 2)", "LumVariance"}));
  unsigned count = 9;
  EXPECT_EQ(LumAverage(a.get(), &count), 0.0f);
  EXPECT_TRUE(count == 0u && ZGetError() == Z_ERROR_NONE && a.GuardsIntact());
}

}  // namespace
