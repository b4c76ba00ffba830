// Moments, centres and inertia against a direct model of their rules (32-bit wrapping row sums
// on BW8, the (x - y) device, the per-pixel float sums of orders 3 and 4, the 32-bit products of
// the inertia), on random views at every byte offset with the wide paths off and on; the frame
// that keeps an earlier error; run lists and weight tables.
#include <array>
#include <cmath>

#include "measure/measure_ref.h"

namespace {

using mr::Grid;
using mr::SameBits;
using Strings = std::vector<std::string>;

// ----- the model, as the rules read -----

// The moments of orders up to `order`, binary (weights 0/1 by threshold) or weighted.
std::vector<float> ModelMoments(const Grid& g, bool narrow, int order, bool binary, uint64_t threshold) {
  std::vector<float> out(order == 1 ? 3 : order == 2 ? 6 : order == 3 ? 10 : 15, 0.0f);
  const auto cut = [&](uint64_t v) { return narrow ? uint64_t(uint32_t(v)) : v; };
  const auto f = [](uint64_t v) { return float(int64_t(v)); };
  for (int y = 0; y < g.h; ++y) {
    uint64_t s[6] = {};
    for (int x = 0; x < g.w; ++x) {
      const uint64_t w = binary ? g.at(x, y) >= threshold : g.at(x, y), ux = uint64_t(x), uy = uint64_t(y);
      const uint64_t d = uint64_t(int64_t(x) - y);
      s[0] += w, s[1] += w * ux, s[2] += w * uy;
      s[3] += w * ux * ux, s[4] += w * d * d, s[5] += w * uy * uy;
      if (order >= 3) {
        const float gf = float(w), xf = float(x), yf = float(y);
        const float terms[] = {gf * xf * xf, gf * xf * yf, gf * yf * yf, gf * xf * xf * xf, gf * xf * xf * yf,
                               gf * xf * yf * yf, gf * yf * yf * yf, gf * xf * xf * xf * xf,
                               gf * xf * xf * xf * yf, gf * xf * xf * yf * yf, gf * xf * yf * yf * yf,
                               gf * yf * yf * yf * yf};
        for (size_t k = 3; k < out.size(); ++k) out[k] += terms[k - 3];
      }
    }
    for (int k = 0; k < (order == 2 ? 6 : 3); ++k) out[k] += f(cut(s[k]));
  }
  if (order == 2) out[4] = (out[3] + out[5] - out[4]) * 0.5f;
  return out;
}

struct Inertia {
  bool written = false;
  float ixx = 0, ixy = 0, iyy = 0, cx = 0, cy = 0;
  unsigned n = 0;
};

Inertia ModelInertia(const Grid& g, const std::function<uint32_t(uint64_t)>& weight) {
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
  if (n == 0) return {};
  const double dn = n, d = dn * dn;
  return {true, float((dn * sxx - uint32_t(sx * sx)) / d), float((dn * sxy - uint32_t(sy * sx)) / d),
          float((dn * syy - uint32_t(sy * sy)) / d), float(sx / dn), float(sy / dn), n};
}

// cx, cy of the column and row profiles of weight(value); NaN where nothing is written.
std::pair<float, float> ModelCentre(const Grid& g, const std::function<uint32_t(uint64_t)>& weight) {
  std::vector<uint32_t> cols(g.w), rows(g.h);
  for (int y = 0; y < g.h; ++y)
    for (int x = 0; x < g.w; ++x) cols[x] += weight(g.at(x, y)), rows[y] += weight(g.at(x, y));
  const auto centre = [](const std::vector<uint32_t>& h) {
    uint32_t s = 0, t = 0;
    for (size_t i = 0; i < h.size(); ++i) s += h[i], t += uint32_t(i) * h[i];
    return s ? float(t) / float(s) : std::nanf("");
  };
  return {centre(cols), centre(rows)};
}

bool Same(const std::vector<float>& a, const std::vector<float>& b) {
  return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(float)) == 0;
}

// ----- the four weighted forms and two binary forms of one type -----

template <class T>
std::vector<float> Weighted(ZROI<T>* v, int order, bool older = false) {
  std::vector<float> o(15, -1.0f);
  float* p = o.data();
  if (order == 1 && older) LumWeighedMoments(v, p[0], p[1], p[2]);
  if (order == 1 && !older) LumWeightedMoments(v, p[0], p[1], p[2]);
  if (order == 2) LumWeightedMoments(v, p[0], p[1], p[2], p[3], p[4], p[5]);
  if (order == 3) LumWeightedMoments(v, p[0], p[1], p[2], p[3], p[4], p[5], p[6], p[7], p[8], p[9]);
  if (order == 4)
    LumWeightedMoments(v, p[0], p[1], p[2], p[3], p[4], p[5], p[6], p[7], p[8], p[9], p[10], p[11], p[12], p[13],
                       p[14]);
  o.resize(order == 1 ? 3 : order == 2 ? 6 : order == 3 ? 10 : 15);
  return o;
}

template <class T>
std::vector<float> BinaryM(ZROI<T>* v, unsigned threshold, int order) {
  std::vector<float> o(6, -1.0f);
  if (order == 1) LumBinaryMoments(v, threshold, o[0], o[1], o[2]);
  else LumBinaryMoments(v, threshold, o[0], o[1], o[2], o[3], o[4], o[5]);
  o.resize(order == 1 ? 3 : 6);
  return o;
}

template <class T>
void CheckMoments() {
  using S = decltype(T::value);
  const bool narrow = sizeof(S) == 1;
  size_t round = 0;
  for (const mr::Shape& s : mr::Shapes()) {
    SCOPED_TRACE(testing::Message() << s.width << "x" << s.height << " at offset " << s.offset);
    kt::Aligned<T> a(s.width, s.height, s.offset);
    mr::Fill(a);
    const Grid g = mr::Read(a.get());
    const unsigned threshold = S(~S{0}) / 2;
    mr::BothPaths(round++, [&](int) {
      for (int order = 1; order <= 4; ++order)
        EXPECT_TRUE(Same(Weighted(a.get(), order), ModelMoments(g, narrow, order, false, 0))) << "order " << order;
      for (int order = 1; order <= 2; ++order)
        for (unsigned t : {0u, 1u, threshold, unsigned(S(~S{0})), unsigned(S(~S{0})) + 1})
          EXPECT_TRUE(Same(BinaryM(a.get(), t, order), ModelMoments(g, narrow, order, true, t))) << order << " " << t;
      float cx = -5, cy = -5;
      LumGravityCenter(a.get(), threshold, cx, cy);
      const auto [mx, my] = ModelCentre(g, [&](uint64_t v) { return v >= threshold; });
      EXPECT_TRUE(std::isnan(mx) ? cx == -5 : SameBits(cx, mx));
      EXPECT_TRUE(std::isnan(my) ? cy == -5 : SameBits(cy, my));
      EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
    });
    EXPECT_TRUE(a.GuardsIntact());
  }
}

TEST(Moments, Bw8AgreesWithTheModelOnEveryShape) { CheckMoments<ZBW8>(); }
TEST(Moments, Bw16AgreesWithTheModelOnEveryShape) { CheckMoments<ZBW16>(); }

TEST(Moments, Bw8RowSumsWrapAt32BitsAndBw16DoNot) {
  // One long row of 255: the row sum of g * x * x is about 255 * 6000^3 / 3, far past 2^32.
  for (const bool sixteen : {false, true}) {
    ZImage<ZBW8> a8(6000, 2);
    ZImage<ZBW16> a16(6000, 2);
    for (int y = 0; y < 2; ++y)
      for (int x = 0; x < 6000; ++x) a8.SetPixel(ZBW8(255), x, y), a16.SetPixel(ZBW16(65535), x, y);
    const Grid g = sixteen ? mr::Read<ZBW16>(&a16) : mr::Read<ZBW8>(&a8);
    for (int wide : {0, 1}) {
      kt::WideSetting setting(wide);
      const std::vector<float> r = sixteen ? Weighted<ZBW16>(&a16, 2) : Weighted<ZBW8>(&a8, 2);
      EXPECT_TRUE(Same(r, ModelMoments(g, !sixteen, 2, false, 0)));
      const double exact = (sixteen ? 65535.0 : 255.0) * 2 * (5999.0 * 6000 * 11999 / 6);
      EXPECT_EQ(std::fabs(r[3] - exact) < exact * 1e-6, sixteen) << "mxx " << r[3];
    }
  }
}

TEST(Moments, WorkedCases) {
  ZImage<ZBW8> image(6, 4);
  for (int y = 0; y < 4; ++y)
    for (int x = 0; x < 6; ++x) image.SetPixel(ZBW8(10), x, y);
  image.SetPixel(ZBW8(200), 3, 2);
  float m, mx, my, mxx, mxy, myy;
  ZOk();
  LumBinaryMoments(&image, 100, m, mx, my, mxx, mxy, myy);
  EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
  EXPECT_EQ(kt::Trace(), Strings{"LumBinaryMoments ( second order)"});  // traced on success too
  EXPECT_EQ(std::vector<float>({m, mx, my, mxx, mxy, myy}), std::vector<float>({1, 3, 2, 9, 6, 4}));
  LumBinaryMoments(&image, 0, m, mx, my);
  EXPECT_EQ(m, 24.0f);  // threshold 0: the whole view
  LumBinaryMoments(&image, 201, m, mx, my);
  EXPECT_EQ(m + mx + my, 0.0f);
  float cx = 7, cy = 8, ixx = 1, ixy = 2, iyy = 3, ccx = 4, ccy = 5;
  unsigned n = 6;
  LumGravityCenter(&image, 201, cx, cy);
  LumInertia(&image, 201, ixx, ixy, iyy, &ccx, &ccy, &n);
  EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
  EXPECT_EQ(std::vector<float>({cx, cy, ixx, ixy, iyy, ccx, ccy, float(n)}), std::vector<float>({7, 8, 1, 2, 3, 4, 5, 6}));
  LumGravityCenter(&image, 100, cx, cy);
  LumInertia(&image, 100, ixx, ixy, iyy, &ccx, &ccy, &n);
  EXPECT_EQ(std::vector<float>({cx, cy, ixx, ixy, iyy, ccx, ccy, float(n)}), std::vector<float>({3, 2, 0, 0, 0, 3, 2, 1}));
  LumInertia(&image, 100, ixx, ixy, iyy, nullptr, nullptr, nullptr);  // optional outputs
  EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
}

TEST(Moments, TheFrameKeepsAnEarlierErrorAndTracesEveryExit) {
  ZImage<ZBW8> image(5, 5);
  ZROI<ZBW8> empty;
  ZROI<ZBW16> empty16;
  float m = 1, mx = 2, my = 3;
  float unused;
  LumPixelAverage(&empty, unused);  // leaves 1400 and its trace
  LumBinaryMoments(&image, 0, m, mx, my, m, mx, my);
  EXPECT_EQ(ZGetError(), Z_ERROR_NULL_IMAGE);
  EXPECT_EQ(kt::Trace(), (Strings{"LumPixelAverage ( BW8)", "LumBinaryMoments ( second order)"}));
  ZOk();
  m = 1, mx = 2, my = 3;
  LumWeightedMoments(&empty, m, mx, my);
  LumWeighedMoments(&empty16, m, mx, my);
  LumBinaryMoments(static_cast<ZROI<ZBW8>*>(nullptr), 0, m, mx, my);
  EXPECT_EQ(ZGetError(), Z_ERROR_NULL_IMAGE);
  EXPECT_EQ(kt::Trace(), (Strings{"LumWeightedMoments ( first order)", "LumWeightedMoments (first order)(BW16)",
                                  "LumBinaryMoments ( first order)"}));
  EXPECT_EQ(std::vector<float>({m, mx, my}), std::vector<float>({1, 2, 3}));
  ZImage<ZBW16> image16(3, 3);
  ZOk();
  Weighted<ZBW16>(&image16, 4);
  Weighted<ZBW8>(&image, 3);
  Weighted<ZBW8>(&image, 1, true);
  EXPECT_EQ(kt::Trace(), (Strings{"LumWeightedMoments (fourth order)(BW16)", "LumWeightedMoments ( third order)",
                                  "LumWeightedMoments ( first order)"}));
}

// ----- centroid and weighted inertia, tables, run lists -----

TEST(Centres, CentroidAndWeightedInertiaWithAndWithoutATable) {
  size_t round = 0;
  for (const mr::Shape& s : mr::Shapes()) {
    kt::Aligned<ZBW8> a(s.width, s.height, s.offset);
    mr::Fill(a);
    const Grid g = mr::Read(a.get());
    ZBW8Vector table(256);
    for (int i = 0; i < 256; ++i) table[unsigned(i)] = ZBW8(uint8_t(i % 7 == 0 ? 0 : 255 - i));
    mr::BothPaths(round++, [&](int) {
      for (ZBW8Vector* lut : {static_cast<ZBW8Vector*>(nullptr), &table}) {
        const auto weight = [&](uint64_t v) -> uint32_t { return lut ? (*lut)[unsigned(v)].value : uint32_t(v); };
        float cx = -1, cy = -1;
        LumCentroid(a.get(), cx, cy, lut);
        const auto [mx, my] = ModelCentre(g, weight);
        EXPECT_TRUE(std::isnan(mx) ? cx == -1 : SameBits(cx, mx));
        EXPECT_TRUE(std::isnan(my) ? cy == -1 : SameBits(cy, my));
        Inertia r;
        LumInertia(a.get(), r.ixx, r.ixy, r.iyy, &r.cx, &r.cy, &r.n, lut);
        const Inertia e = ModelInertia(g, weight);
        if (e.written) {
          EXPECT_TRUE(SameBits(r.ixx, e.ixx) && SameBits(r.ixy, e.ixy) && SameBits(r.iyy, e.iyy) &&
                      SameBits(r.cx, e.cx) && SameBits(r.cy, e.cy) && r.n == e.n)
              << s.width << "x" << s.height;
        }
        Inertia b;
        LumInertia(a.get(), 128, b.ixx, b.ixy, b.iyy, &b.cx, &b.cy, &b.n);
        const Inertia eb = ModelInertia(g, [](uint64_t v) -> uint32_t { return v >= 128; });
        if (eb.written) {
          EXPECT_TRUE(SameBits(b.ixx, eb.ixx) && SameBits(b.ixy, eb.ixy) && b.n == eb.n);
        }
        EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
      }
    });
  }
}

TEST(Centres, ATableShorterThan256IsRefused) {
  ZImage<ZBW8> image(4, 4);
  ZBW8Vector shortTable(255);
  float cx = 1, cy = 2, i = 3;
  unsigned n = 4;
  LumCentroid(&image, cx, cy, &shortTable);
  EXPECT_EQ(ZGetError(), Z_ERROR_TABLE_SIZE);
  EXPECT_EQ(kt::Trace(), Strings{"LumCentroid"});
  LumInertia(&image, i, i, i, &cx, &cy, &n, &shortTable);
  EXPECT_EQ(ZGetError(), Z_ERROR_TABLE_SIZE);
  EXPECT_EQ(kt::Trace(), Strings{"LumInertia ( weighted)"});
  EXPECT_EQ(std::vector<float>({cx, cy, i, float(n)}), std::vector<float>({1, 2, 3, 4}));
  ZROI<ZBW8> empty;
  LumGravityCenter(&empty, 1, cx, cy);
  EXPECT_EQ(ZGetError(), Z_ERROR_NULL_IMAGE);
  EXPECT_EQ(kt::Trace(), Strings{"LumGravityCenter"});
  LumGravityCenter(static_cast<ZROI<ZBW16>*>(nullptr), 1, cx, cy);
  EXPECT_EQ(kt::Trace(), Strings{"LumGravityCenter (BW16)"});
  LumInertia(nullptr, 1, i, i, i, nullptr, nullptr, nullptr);
  EXPECT_EQ(kt::Trace(), Strings{"LumInertia ( binary)"});
}

TEST(Centres, RunListsGiveTheirPixelsTheRunsPosition) {
  // Runs over a 30 x 5 view: the pixels count at the position words of their runs.
  kt::Aligned<ZBW8> a(30, 5, 7);
  kt::Aligned<ZBW16> b(30, 5, 4);
  mr::Fill(a);
  mr::Fill(b);
  ZVectorTemplate<ZRun> runs8, runs16;
  Grid masked8{30, 5, 1, std::vector<uint64_t>(150, 0)}, masked16 = masked8;
  for (const auto& [x, y, n] : std::vector<std::array<int, 3>>{{2, 0, 20}, {0, 3, 30}, {29, 4, 1}}) {
    runs8.AddElement(ZRun{uint32_t(y * a->GetRowPitch() + x), uint32_t(y * a->GetRowPitch() + x + n), int16_t(x),
                          int16_t(y)});
    runs16.AddElement(ZRun{uint32_t(y * b->GetRowPitch() + 2 * x), uint32_t(y * b->GetRowPitch() + 2 * (x + n)),
                           int16_t(x), int16_t(y)});
    for (int i = 0; i < n; ++i)
      masked8.v[y * 30 + x + i] = a->GetPixel(x + i, y), masked16.v[y * 30 + x + i] = b->GetPixel(x + i, y);
  }
  a->SetRunList(&runs8);
  b->SetRunList(&runs16);
  float cx = 0, cy = 0;
  const auto [ex, ey] = ModelCentre(masked8, [](uint64_t v) { return v >= 90; });
  LumGravityCenter(a.get(), 90, cx, cy);
  EXPECT_TRUE(SameBits(cx, ex) && SameBits(cy, ey));
  const auto [fx, fy] = ModelCentre(masked16, [](uint64_t v) { return v >= 30000; });
  LumGravityCenter(b.get(), 30000, cx, cy);
  EXPECT_TRUE(SameBits(cx, fx) && SameBits(cy, fy));
  const auto [gx, gy] = ModelCentre(masked8, [](uint64_t v) { return uint32_t(v); });
  LumCentroid(a.get(), cx, cy, nullptr);
  EXPECT_TRUE(SameBits(cx, gx) && SameBits(cy, gy));
  Inertia r;
  LumInertia(a.get(), r.ixx, r.ixy, r.iyy, &r.cx, &r.cy, &r.n, nullptr);
  const Inertia e = ModelInertia(masked8, [](uint64_t v) { return uint32_t(v); });
  EXPECT_TRUE(SameBits(r.ixx, e.ixx) && SameBits(r.ixy, e.ixy) && SameBits(r.iyy, e.iyy) && r.n == e.n);
  // Moments ignore runs: they read the rectangle.
  EXPECT_TRUE(Same(Weighted<ZBW8>(a.get(), 1), ModelMoments(mr::Read(a.get()), true, 1, false, 0)));
  // A position word that leaves the view is refused.
  runs8.AddElement(ZRun{0, 3, 28, 0});
  cx = cy = -3;
  LumGravityCenter(a.get(), 0, cx, cy);
  EXPECT_EQ(ZGetError(), Z_ERROR_OUTSIDE_ROI);
  EXPECT_EQ(cx + cy, -6.0f);
  EXPECT_TRUE(a.GuardsIntact() && b.GuardsIntact());
}

}  // namespace
