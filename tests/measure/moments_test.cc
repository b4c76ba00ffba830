// Moments, centres and inertia against a direct model of their rules (32-bit wrapping row sums on
// BW8, the (x - y) device, per-pixel float sums of orders 3 and 4, the 32-bit products of the
// inertia), checked on every view of the statistics' walk; the frame that keeps an earlier error
// and traces every exit; run lists (of the statistics too) and weight tables.
#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "measure/measure_ref.h"

namespace {

using mr::Grid;
using Strings = std::vector<std::string>;
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

// The library's outputs (when `lib`) or the model's, in one order: every moment form, the gravity
// centre; on BW8 the binary inertia, and the centroid and weighted inertia with and without a
// weight table.
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

}  // namespace

// The moment forms of view a, whose values are g, against the model on the path in force; the
// statistics' shape sweep calls it.
template <class T>
void mr::CheckMoments(ZROI<T>* a, const Grid& g) {
  ZOk();
  const auto want = Outputs(a, g, false), got = Outputs(a, Grid{}, true);
  for (size_t i = 0; i < got.size(); ++i) EXPECT_TRUE(Same(got[i].second, want[i].second)) << got[i].first;
  EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
  // The same view over a run list (the left half of the first row, the right half of the last, an
  // empty run): only the runs' pixels count, at the runs' positions; the moments and the forms
  // with a reference read the rectangle.
  using S = decltype(T::value);
  const unsigned threshold = S(~S{0}) / 2;
  ZVectorTemplate<ZRun> runs;
  Grid masked{g.w, g.h, 1, {kt::Plane(g.w, g.h)}};
  std::vector<uint64_t> values;
  for (const auto& [x, y, n] : {std::array{0, 0, g.w / 2}, {g.w / 2, g.h - 1, g.w - g.w / 2}, {g.w - 1, 0, 0}}) {
    const uint32_t at = uint32_t(y * a->GetRowPitch() + x * int(sizeof(T)));
    runs.AddElement(ZRun{at, at + uint32_t(n * int(sizeof(T))), int16_t(x), int16_t(y)});
    for (int i = 0; i < n; ++i) values.push_back(g.at(x + i, y)), masked.planes[0].at(x + i, y) = int64_t(g.at(x + i, y));
  }
  a->SetRunList(&runs);
  Values o(6, kUnwritten);
  int area = -1;
  LumGravityCenter(a, threshold, o[0], o[1]);
  EXPECT_TRUE(Same({o[0], o[1]}, Centre(masked, [&](uint64_t v) { return v >= threshold; })));
  const auto above = unsigned(std::count_if(values.begin(), values.end(), [](uint64_t v) { return v > 100; }));
  EXPECT_TRUE(LumArea(a) == values.size() && LumArea(a, 100u) == above);
  EXPECT_TRUE(LumArea(a, S(0), area) == 0 && area == g.w * g.h);
  EXPECT_TRUE(Same(Weighted(a, 1), Moments(g, sizeof(S) == 1, 1, Plain)));
  if constexpr (sizeof(S) == 1) {
    unsigned count = 0, count2 = 0;
    uint64_t sum = 0;
    double s2 = 0;
    for (uint64_t v : values) sum += v, s2 += double(v * v);
    const float n = float(values.size()), m = float(uint32_t(sum)) / n;
    o[0] = o[1] = kUnwritten;
    LumCentroid(a, o[0], o[1], nullptr);
    EXPECT_TRUE(Same({o[0], o[1]}, Centre(masked, Plain)));
    o.assign(6, kUnwritten), count = unsigned(kUnwritten);
    LumInertia(a, o[0], o[1], o[2], &o[3], &o[4], &count, nullptr), o[5] = float(count);
    EXPECT_TRUE(Same(o, Inertia(masked, Plain)));
    EXPECT_EQ(LumAverage(a, &count), float(sum) / n);
    EXPECT_EQ(LumVariance(a, &o[0], &count2), float(s2 / double(n) - double(m * m)));
    EXPECT_TRUE(o[0] == m && count == values.size() && count2 == values.size());
    EXPECT_EQ(LumMinimum(a).value, *std::min_element(values.begin(), values.end()));
    EXPECT_EQ(LumMaximum(a).value, *std::max_element(values.begin(), values.end()));
  }
  EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
  a->SetRunList(nullptr);
}
template void mr::CheckMoments(ZROI<ZBW8>*, const Grid&);
template void mr::CheckMoments(ZROI<ZBW16>*, const Grid&);

namespace {

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
  LumPixelAverage(&empty, m);
  Binary<ZBW8>(&image, 0, 2);
  EXPECT_TRUE(kt::Failed(Z_ERROR_NULL_IMAGE, {"LumPixelAverage ( BW8)", "LumBinaryMoments ( second order)"}));
  ZOk();
  m = 1, mx = 2, my = 3;
  LumWeightedMoments(&empty, m, mx, my);
  LumWeighedMoments(&empty16, m, mx, my);
  LumBinaryMoments(static_cast<ZROI<ZBW8>*>(nullptr), 0, m, mx, my);
  EXPECT_TRUE(kt::Failed(Z_ERROR_NULL_IMAGE, {"LumWeightedMoments ( first order)", "LumWeightedMoments (first order)(BW16)",
                                               "LumBinaryMoments ( first order)"}));
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

// Runs that leave the view: one crossing into the next row, below the view, or ending before it
// starts (106); the centres also refuse a position word that leaves the view. Runs without
// pixels: no variance, an average of 0 over 0 pixels.
TEST(RunLists, RunsOutsideTheViewOrWithoutPixels) {
  kt::Aligned<ZBW8> a(40, 6, 5);
  mr::Fill(a);
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
      EXPECT_EQ(LumAverage(a.get(), &count), 0.0f);
      EXPECT_EQ(ZGetError(), Z_ERROR_OUTSIDE_ROI);
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
