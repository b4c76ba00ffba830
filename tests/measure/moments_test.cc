// Moments, centres and inertia against a direct model of their rules (32-bit wrapping row sums on
// BW8, the (x - y) device, per-pixel float sums of orders 3 and 4, the 32-bit products of the
// inertia), on random views at every byte offset with the wide paths off and on; the frame that
// keeps an earlier error; run lists and weight tables.
#include <array>
#include <cmath>

#include "measure/measure_ref.h"

namespace {

using mr::Grid;
using mr::SameBits;
using Strings = std::vector<std::string>;
using Weight = std::function<uint32_t(uint64_t)>;

// The moments of orders up to `order` of weight(value).
std::vector<float> ModelMoments(const Grid& g, bool narrow, int order, const Weight& weight) {
  std::vector<float> out(order == 1 ? 3 : order == 2 ? 6 : order == 3 ? 10 : 15, 0.0f);
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

struct Inertia {
  bool written = false;
  float ixx = 0, ixy = 0, iyy = 0, cx = 0, cy = 0;
  unsigned n = 0;
  bool operator==(const Inertia& o) const {
    return SameBits(ixx, o.ixx) && SameBits(ixy, o.ixy) && SameBits(iyy, o.iyy) && SameBits(cx, o.cx) &&
           SameBits(cy, o.cy) && n == o.n;
  }
};

Inertia ModelInertia(const Grid& g, const Weight& weight) {
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

// cx, cy of the column and row profiles of weight(value); `missing` where nothing is written.
std::pair<float, float> ModelCentre(const Grid& g, const Weight& weight, float missing) {
  std::vector<uint32_t> cols(g.w), rows(g.h);
  for (int y = 0; y < g.h; ++y)
    for (int x = 0; x < g.w; ++x) cols[x] += weight(g.at(x, y)), rows[y] += weight(g.at(x, y));
  const auto centre = [&](const std::vector<uint32_t>& h) {
    uint32_t s = 0, t = 0;
    for (size_t i = 0; i < h.size(); ++i) s += h[i], t += uint32_t(i) * h[i];
    return s ? float(t) / float(s) : missing;
  };
  return {centre(cols), centre(rows)};
}

bool Same(const std::vector<float>& a, const std::vector<float>& b) {
  return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(float)) == 0;
}

// The weighted forms of orders 1 to 4 (1 also in its older spelling) and the binary ones.
template <class T>
std::vector<float> Weighted(ZROI<T>* v, int order, bool older = false) {
  std::vector<float> o(15, -1.0f);
  float* p = o.data();
  if (order == 1) (older ? LumWeighedMoments(v, p[0], p[1], p[2]) : LumWeightedMoments(v, p[0], p[1], p[2]));
  if (order == 2) LumWeightedMoments(v, p[0], p[1], p[2], p[3], p[4], p[5]);
  if (order == 3) LumWeightedMoments(v, p[0], p[1], p[2], p[3], p[4], p[5], p[6], p[7], p[8], p[9]);
  if (order == 4)
    LumWeightedMoments(v, p[0], p[1], p[2], p[3], p[4], p[5], p[6], p[7], p[8], p[9], p[10], p[11], p[12], p[13], p[14]);
  o.resize(order == 1 ? 3 : order == 2 ? 6 : order == 3 ? 10 : 15);
  return o;
}

template <class T>
std::vector<float> Binary(ZROI<T>* v, unsigned threshold, int order) {
  std::vector<float> o(6, -1.0f);
  if (order == 1) LumBinaryMoments(v, threshold, o[0], o[1], o[2]);
  else LumBinaryMoments(v, threshold, o[0], o[1], o[2], o[3], o[4], o[5]);
  o.resize(order == 1 ? 3 : 6);
  return o;
}

// Every moment form, the gravity centre and the binary inertia on every shape; on BW8 also the
// centroid and the weighted inertia, with and without a weight table.
template <class T>
void CheckMoments() {
  using S = decltype(T::value);
  const unsigned max = S(~S{0}), threshold = max / 2;
  const Weight plain = [](uint64_t v) { return uint32_t(v); }, binary = [&](uint64_t v) { return v >= threshold; };
  ZBW8Vector table(256);
  for (int i = 0; i < 256; ++i) table[unsigned(i)] = ZBW8(uint8_t(i % 7 == 0 ? 0 : 255 - i));
  size_t round = 0;
  for (const mr::Shape& s : mr::Shapes()) {
    SCOPED_TRACE(testing::Message() << s.width << "x" << s.height << " at offset " << s.offset);
    kt::Aligned<T> a(s.width, s.height, s.offset);
    mr::Fill(a);
    const Grid g = mr::Read(a.get());
    mr::BothPaths(round++, [&] {
      for (int order = 1; order <= 4; ++order)
        EXPECT_TRUE(Same(Weighted(a.get(), order), ModelMoments(g, sizeof(S) == 1, order, plain))) << "order " << order;
      for (int order = 1; order <= 2; ++order)
        for (unsigned t : {0u, 1u, threshold, max, max + 1})
          EXPECT_TRUE(Same(Binary(a.get(), t, order), ModelMoments(g, sizeof(S) == 1, order, [&](uint64_t v) {
            return v >= t;
          }))) << order << " " << t;
      float cx = -5, cy = -5;
      LumGravityCenter(a.get(), threshold, cx, cy);
      const auto [mx, my] = ModelCentre(g, binary, -5);
      EXPECT_TRUE(SameBits(cx, mx) && SameBits(cy, my));
      if constexpr (sizeof(S) == 1) {
        Inertia b;
        LumInertia(a.get(), threshold, b.ixx, b.ixy, b.iyy, &b.cx, &b.cy, &b.n);
        const Inertia eb = ModelInertia(g, binary);
        EXPECT_TRUE(!eb.written || b == eb);
        for (ZBW8Vector* lut : {static_cast<ZBW8Vector*>(nullptr), &table}) {
          const Weight weight = [&](uint64_t v) -> uint32_t { return lut ? (*lut)[unsigned(v)].value : uint32_t(v); };
          cx = cy = -1;
          LumCentroid(a.get(), cx, cy, lut);
          const auto [wx, wy] = ModelCentre(g, weight, -1);
          EXPECT_TRUE(SameBits(cx, wx) && SameBits(cy, wy));
          Inertia r;
          LumInertia(a.get(), r.ixx, r.ixy, r.iyy, &r.cx, &r.cy, &r.n, lut);
          const Inertia e = ModelInertia(g, weight);
          EXPECT_TRUE(!e.written || r == e);
        }
      }
      EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
    });
    EXPECT_TRUE(a.GuardsIntact());
  }
}

TEST(Moments, Bw8AgreesWithTheModelOnEveryShape) { CheckMoments<ZBW8>(); }
TEST(Moments, Bw16AgreesWithTheModelOnEveryShape) { CheckMoments<ZBW16>(); }

// One bright pixel at (3, 2) of 200 in a 6 x 4 view of 10; the binary form traces on success too;
// nothing above the threshold leaves the centre and inertia outputs alone.
TEST(Moments, WorkedCasesAndTheFrame) {
  ZImage<ZBW8> image(6, 4);
  LumCopy(ZBW8(10), &image);
  image.SetPixel(ZBW8(200), 3, 2);
  float m, mx, my, mxx, mxy, myy, cx = 7, cy = 8, ixx = 1, ixy = 2, iyy = 3, ccx = 4, ccy = 5;
  unsigned n = 6;
  LumBinaryMoments(&image, 100, m, mx, my, mxx, mxy, myy);
  EXPECT_TRUE(kt::Failed(Z_ERROR_NONE, {"LumBinaryMoments ( second order)"}));
  EXPECT_EQ(std::vector<float>({m, mx, my, mxx, mxy, myy}), std::vector<float>({1, 3, 2, 9, 6, 4}));
  LumGravityCenter(&image, 201, cx, cy);
  LumInertia(&image, 201, ixx, ixy, iyy, &ccx, &ccy, &n);
  EXPECT_EQ(std::vector<float>({cx, cy, ixx, ixy, iyy, ccx, ccy, float(n)}), std::vector<float>({7, 8, 1, 2, 3, 4, 5, 6}));
  LumInertia(&image, 100, ixx, ixy, iyy, nullptr, nullptr, nullptr);  // optional outputs
  EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
  // An earlier error stands, and every exit traces; failures write nothing.
  ZROI<ZBW8> empty;
  ZROI<ZBW16> empty16;
  ZImage<ZBW16> image16(3, 3);
  LumPixelAverage(&empty, m);
  LumBinaryMoments(&image, 0, m, mx, my, m, mx, my);
  EXPECT_TRUE(kt::Failed(Z_ERROR_NULL_IMAGE, {"LumPixelAverage ( BW8)", "LumBinaryMoments ( second order)"}));
  ZOk();
  m = 1, mx = 2, my = 3;
  LumWeightedMoments(&empty, m, mx, my);
  LumWeighedMoments(&empty16, m, mx, my);
  LumBinaryMoments(static_cast<ZROI<ZBW8>*>(nullptr), 0, m, mx, my);
  EXPECT_TRUE(kt::Failed(Z_ERROR_NULL_IMAGE, {"LumWeightedMoments ( first order)", "LumWeightedMoments (first order)(BW16)",
                                               "LumBinaryMoments ( first order)"}));
  EXPECT_EQ(std::vector<float>({m, mx, my}), std::vector<float>({1, 2, 3}));
  ZOk();
  Weighted<ZBW16>(&image16, 4), Weighted<ZBW8>(&image, 3), Weighted<ZBW8>(&image, 1, true);
  EXPECT_EQ(kt::Trace(), (Strings{"LumWeightedMoments (fourth order)(BW16)", "LumWeightedMoments ( third order)",
                                  "LumWeightedMoments ( first order)"}));
  ZBW8Vector shortTable(255);
  cx = 7, cy = 8, ixx = 1, n = 6;
  const std::pair<std::function<void()>, Strings> failing[] = {
      {[&] { LumCentroid(&image, cx, cy, &shortTable); }, {"LumCentroid"}},
      {[&] { LumInertia(&image, ixx, ixx, ixx, &cx, &cy, &n, &shortTable); }, {"LumInertia ( weighted)"}},
      {[&] { LumGravityCenter(&empty, 1, cx, cy); }, {"LumGravityCenter"}},
      {[&] { LumGravityCenter(static_cast<ZROI<ZBW16>*>(nullptr), 1, cx, cy); }, {"LumGravityCenter (BW16)"}},
      {[&] { LumInertia(nullptr, 1, ixx, ixx, ixx, nullptr, nullptr, nullptr); }, {"LumInertia ( binary)"}}};
  for (const auto& [call, trace] : failing) {
    call();
    EXPECT_TRUE(kt::Failed(trace[0] == "LumCentroid" || trace[0] == "LumInertia ( weighted)" ? Z_ERROR_TABLE_SIZE
                                                                                             : Z_ERROR_NULL_IMAGE,
                           trace));
  }
  EXPECT_EQ(std::vector<float>({cx, cy, ixx, float(n)}), std::vector<float>({7, 8, 1, 6}));
}

// Run lists: the pixels of the runs count at the runs' position words; moments read the rectangle.
TEST(Centres, RunListsGiveTheirPixelsTheRunsPosition) {
  kt::Aligned<ZBW8> a(30, 5, 7);
  kt::Aligned<ZBW16> b(30, 5, 4);
  mr::Fill(a), mr::Fill(b);
  ZVectorTemplate<ZRun> runs8, runs16;
  Grid masked8{30, 5, 1, std::vector<uint64_t>(150, 0)}, masked16 = masked8;
  for (const auto& [x, y, n] : {std::array<int, 3>{2, 0, 20}, {0, 3, 30}, {29, 4, 1}}) {
    const uint32_t p8 = uint32_t(y * a->GetRowPitch()), p16 = uint32_t(y * b->GetRowPitch());
    runs8.AddElement(ZRun{p8 + x, p8 + x + n, int16_t(x), int16_t(y)});
    runs16.AddElement(ZRun{p16 + 2 * x, p16 + 2 * (x + n), int16_t(x), int16_t(y)});
    for (int i = 0; i < n; ++i) masked8.v[y * 30 + x + i] = a->GetPixel(x + i, y), masked16.v[y * 30 + x + i] = b->GetPixel(x + i, y);
  }
  a->SetRunList(&runs8);
  b->SetRunList(&runs16);
  const Weight plain = [](uint64_t v) { return uint32_t(v); };
  float cx = 0, cy = 0;
  LumGravityCenter(a.get(), 90, cx, cy);
  EXPECT_TRUE(std::pair(cx, cy) == ModelCentre(masked8, [](uint64_t v) { return v >= 90; }, 0));
  LumGravityCenter(b.get(), 30000, cx, cy);
  EXPECT_TRUE(std::pair(cx, cy) == ModelCentre(masked16, [](uint64_t v) { return v >= 30000; }, 0));
  LumCentroid(a.get(), cx, cy, nullptr);
  EXPECT_TRUE(std::pair(cx, cy) == ModelCentre(masked8, plain, 0));
  Inertia r;
  LumInertia(a.get(), r.ixx, r.ixy, r.iyy, &r.cx, &r.cy, &r.n, nullptr);
  EXPECT_TRUE(r == ModelInertia(masked8, plain));
  EXPECT_TRUE(Same(Weighted<ZBW8>(a.get(), 1), ModelMoments(mr::Read(a.get()), true, 1, plain)));
  // A position word that leaves the view is refused.
  runs8.AddElement(ZRun{0, 3, 28, 0});
  cx = cy = -3;
  LumGravityCenter(a.get(), 0, cx, cy);
  EXPECT_TRUE(ZGetError() == Z_ERROR_OUTSIDE_ROI && cx + cy == -6.0f);
  EXPECT_TRUE(a.GuardsIntact() && b.GuardsIntact());
}

}  // namespace
