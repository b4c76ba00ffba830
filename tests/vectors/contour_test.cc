// LumContour against a model of the walker: worked examples, shapes, blobs, the point limit, bad input.
#include "support/kelmira_test.h"

namespace {

const int kDx[8] = {1, 1, 0, -1, -1, -1, 0, 1}, kDy[8] = {0, -1, -1, -1, 0, 1, 1, 1};

// '#' is 200, '.' is 10.
kt::Plane FromRows(const std::vector<std::string>& rows) {
  kt::Plane p(static_cast<int>(rows[0].size()), static_cast<int>(rows.size()));
  for (size_t i = 0; i < p.p.size(); ++i) p.p[i] = rows[i / p.w][i % p.w] == '#' ? 200 : 10;
  return p;
}

struct Pt {
  int x, y, d;
  uint32_t v;
};
struct Result {
  int error = 0, closed = -1;
  std::vector<Pt> pts;
};

Result Model(const kt::Plane& pic, int mode, int sx, int sy, unsigned thr, int below, int conn, bool vectorForm) {
  static const int tables[4][2][8] = {{{7, 0, 1, 2, 3, 4, 5, 6}, {1, 3, 3, 5, 5, 7, 7, 1}},
                                      {{1, 2, 3, 4, 5, 6, 7, 0}, {7, 7, 1, 1, 3, 3, 5, 5}},
                                      {{6, -1, 0, -1, 2, -1, 4, -1}, {2, -1, 4, -1, 6, -1, 0, -1}},
                                      {{2, -1, 4, -1, 6, -1, 0, -1}, {6, -1, 0, -1, 2, -1, 4, -1}}};
  const int outside = mode == 1 || mode == 5 ? 0 : 2;
  const int limit = static_cast<int>(static_cast<uint32_t>(pic.w) * static_cast<uint32_t>(pic.h)) >> 3;
  auto object = [&](int x, int y) { return int(below ? pic.at(x, y) <= thr : pic.at(x, y) >= thr); };
  auto test = [&](int x, int y, int d) {
    const int nx = x + kDx[d], ny = y + kDy[d];
    return nx < 0 || ny < 0 || nx >= pic.w || ny >= pic.h ? outside : object(nx, ny);
  };
  auto walk = [&](int* px, int* py, bool clockwise, std::vector<Pt>* out) {
    const int* next = tables[(conn == 1 ? 0 : 2) + !clockwise][0];
    const int* rest = tables[(conn == 1 ? 0 : 2) + !clockwise][1];
    out->clear();
    int x = *px, y = *py;
    if (x < 0 || x >= pic.w) return 1013;
    if (y < 0 || y >= pic.h) return 1014;
    if (!object(x, y)) return 1500;
    int p2 = test(x, y, 2), d = next[2], p1 = test(x, y, d), c = 0;
    for (int tries = 0;; p2 = p1, p1 = c) {
      d = next[d];
      c = test(x, y, d);
      if (p1 == 0 && c == 1 && (conn == 0 || d % 2 || p2 == 0)) break;
      if (++tries == 8) return c ? 1501 : 1502;
    }
    for (const int d0 = d;;) {
      if (vectorForm && static_cast<int>(out->size()) >= limit) return 1504;
      if (!out->empty() && x == *px && y == *py && d == d0) return 0;
      out->push_back({x, y, d, uint32_t(pic.at(x, y))});
      x += kDx[d], y += kDy[d], d = rest[d];
      int r;
      while ((r = test(x, y, d)) == 0) d = next[d];
      if (r == 2) return *px = x, *py = y, 106;
    }
  };
  Result o;
  o.error = walk(&sx, &sy, mode <= 2, &o.pts);
  o.closed = o.error != 106;
  if (o.error == 106 && (mode == 2 || mode == 4)) o.error = walk(&sx, &sy, mode > 2, &o.pts);
  return o;
}

uint32_t Extra(const ZPath&) { return 0; }
uint32_t Extra(const ZBW8Path& p) { return p.m_bw8Pixel.value; }
uint32_t Extra(const ZBW16Path& p) { return p.m_bw16Pixel.value; }

// Every form from one start in every mode and connexity (2: neither), at two offsets: the ZBW8 and ZBW16 paths plain,
// with values, with chain codes (16 bits: values and threshold times 257), and the ZVector form with its point limit.
void CheckAll(const kt::Plane& pic, int x, int y, unsigned thr, int below) {
  const auto s = static_cast<CONTOUR_THRESHOLD>(below);
  for (int offset : {0, 3}) {
    kt::Framed<ZBW8> f8(pic.w, pic.h, offset);
    kt::Framed<ZBW16> f16(pic.w, pic.h, 2 * offset);
    kt::Plane scaled = pic;
    for (int64_t& v : scaled.p) v *= 257;
    kt::Write(f8.get(), pic), kt::Write(f16.get(), scaled);
    for (int mode = 0; mode < 6; ++mode)
      for (int conn : {0, 1, 2}) {
        SCOPED_TRACE(testing::Message() << "offset " << offset << " mode " << mode << " conn " << conn << " at " << x << "," << y);
        const auto m = static_cast<CONTOUR_MODE>(mode);
        const auto c = static_cast<CONNEXITY>(conn);
        const Result want = Model(pic, mode, x, y, thr, below, conn, false);
        // kind 0: points only, 1: with values, 2: with chain codes.
        const auto check = [&](auto path, int kind, uint32_t scale, const char* word, const auto& call) {
          path.SetClosed(-1);
          call(&path);
          ASSERT_TRUE(kt::Failed(want.error, want.error ? Strings{word} : Strings{})) << word;
          EXPECT_EQ(path.GetClosed(), want.closed) << word;
          ASSERT_EQ(path.GetNumElements(), want.pts.size()) << word;
          for (unsigned i = 0; i < path.GetNumElements(); ++i) {
            const Pt& p = want.pts[i];
            const uint32_t extra = kind == 1 ? p.v * scale : kind == 2 ? uint32_t(p.d) : 0;
            ASSERT_TRUE(path[i].m_n16X == p.x && path[i].m_n16Y == p.y && Extra(path[i]) == extra) << word << " " << i;
          }
        };
        const unsigned t16 = thr * 257;
        check(ZPathVector(), 0, 1, "LumContour ( ZPathVector)", [&](auto* p) { LumContour(f8.get(), m, x, y, s, thr, c, p); });
        check(ZBW8PathVector(), 1, 1, "LumContour ( ZBW8PathVector)",
              [&](auto* p) { LumContour(f8.get(), m, x, y, s, thr, c, p, 0); });
        check(ZBW8PathVector(), 2, 1, "LumContour ( ZBW8PathVector)",
              [&](auto* p) { LumContour(f8.get(), m, x, y, s, thr, c, p, 1); });
        check(ZPathVector(), 0, 257, "LumContour ( ZPathVector)(BW16)",
              [&](auto* p) { LumContour(f16.get(), m, x, y, s, t16, c, p); });
        check(ZBW16PathVector(), 1, 257, "LumContour ( ZBW16PathVector)(BW16)",
              [&](auto* p) { LumContour(f16.get(), m, x, y, s, t16, c, p, 0); });
        check(ZBW16PathVector(), 2, 257, "LumContour ( ZBW16PathVector)(BW16)",
              [&](auto* p) { LumContour(f16.get(), m, x, y, s, t16, c, p, 1); });
        // The ZVector form: 32-bit points and chain codes, the error as its result, no closed flag.
        const Result capped = Model(pic, mode, x, y, thr, below, conn, true);
        ZVector vec;
        ASSERT_EQ(LumContour(f8.get(), m, x, y, s, thr, c, &vec), capped.error);
        ASSERT_TRUE(kt::Failed(capped.error, capped.error ? Strings{"LumContour ( ZVector)"} : Strings{}));
        ASSERT_EQ(vec.GetNbGroup(), int(capped.pts.size()));
        for (int i = 0; i < vec.GetNbGroup(); ++i) {
          const int32_t* d = static_cast<const int32_t*>(vec.GetDataPtr()) + 3 * i;
          ASSERT_TRUE(d[0] == capped.pts[i].x && d[1] == capped.pts[i].y && d[2] == capped.pts[i].d) << "vector " << i;
        }
      }
    EXPECT_TRUE(f8.GuardsIntact() && f16.GuardsIntact());
  }
}

// The worked examples, with chain codes: start, mode, connexity, error, closed flag, points.
struct Example {
  const char* name;
  std::vector<std::string> rows;
  int x, y, mode, conn, error, closed;
  std::vector<std::vector<int>> pts;  // x, y, direction
};
const std::vector<std::string> kSquare = {".....", ".###.", ".###.", ".###.", "....."};
const std::vector<std::vector<int>> kSquareCw = {{1, 1, 0}, {2, 1, 0}, {3, 1, 6}, {3, 2, 6},
                                                 {3, 3, 4}, {2, 3, 4}, {1, 3, 2}, {1, 2, 2}};
const Example kExamples[] = {
    {"square, 8", kSquare, 1, 1, 0, 1, 0, 1, kSquareCw},
    {"square, 4", kSquare, 1, 1, 0, 0, 0, 1, kSquareCw},
    {"square anticlockwise", kSquare, 1, 1, 3, 1, 0, 1,
     {{1, 1, 6}, {1, 2, 6}, {1, 3, 0}, {2, 3, 0}, {3, 3, 2}, {3, 2, 2}, {3, 1, 4}, {2, 1, 4}}},
    {"one pixel", {"...", ".#.", "..."}, 1, 1, 0, 1, 1502, 1, {}},
    {"interior", {"###", "###", "###"}, 1, 1, 3, 1, 1501, 1, {}},
    {"pair", {"....", ".##.", "...."}, 1, 1, 0, 1, 0, 1, {{1, 1, 0}, {2, 1, 4}}},
    {"corner pair, 8", {"....", ".#..", "..#.", "...."}, 1, 1, 0, 1, 0, 1, {{1, 1, 7}, {2, 2, 3}}},
    {"corner pair, 4", {"....", ".#..", "..#.", "...."}, 1, 1, 0, 0, 1502, 1, {}},
    {"plus centre, 8", {".....", "..#..", ".###.", "..#..", "....."}, 2, 2, 0, 1, 1502, 1, {}},
    {"full view, stop", {"###", "###"}, 0, 0, 0, 1, 1501, 1, {}},
    {"full view along the edge", {"###", "###", "###"}, 0, 0, 1, 0, 0, 1, kSquareCw},
    {"line across", {"...", "###", "..."}, 1, 1, 0, 1, 106, 0, {{1, 1, 0}}},
    {"spike, 4", {".....", ".#...", ".###.", "....."}, 3, 2, 0, 0, 0, 1,
     {{3, 2, 4}, {2, 2, 4}, {1, 2, 2}, {1, 1, 6}, {1, 2, 0}, {2, 2, 0}}},
    {"both ends", {"....", "####", "...."}, 1, 1, 2, 1, 106, 0, {{3, 1, 4}, {2, 1, 4}, {1, 1, 4}}},
};

TEST(ContourExamples, PointsDirectionsAndFlag) {
  for (const Example& e : kExamples) {
    SCOPED_TRACE(e.name);
    const kt::Plane pic = FromRows(e.rows);
    kt::Framed<ZBW8> v(pic.w, pic.h, 1);
    kt::Write(v.get(), pic);
    ZBW8PathVector chain;
    LumContour(v.get(), static_cast<CONTOUR_MODE>(e.mode), e.x, e.y, CONTOUR_THRESHOLD_ABOVE, 200,
               static_cast<CONNEXITY>(e.conn), &chain, 1);
    EXPECT_TRUE(ZGetError() == e.error && chain.GetClosed() == e.closed);
    std::vector<std::vector<int>> got;
    for (unsigned i = 0; i < chain.GetNumElements(); ++i)  // mode 1 walks the view's own border: shift it
      got.push_back({chain[i].m_n16X + (e.mode == 1), chain[i].m_n16Y + (e.mode == 1), chain[i].m_bw8Pixel.value});
    EXPECT_EQ(got, e.pts);
  }
}

TEST(ContourModel, HandShapesFromEveryPixelAndRandomBlobs) {
  for (const auto& rows : std::vector<std::vector<std::string>>{
           {"#"},
           {"#....", "#....", "####."},                         // an L on the edge
           {"......", ".####.", ".#..#.", ".####.", "......"},  // a ring
           {"#...#", ".#.#.", "..#..", ".#.#."},                // diagonal links only
           {"#####", "#...#", "#.#.#", "#####"},                // on every edge, with an island
           {"..#..", "#####", "..#.."}}) {                      // a cross through the edges
    const kt::Plane pic = FromRows(rows);
    for (int i = 0; i < pic.w * pic.h; ++i) CheckAll(pic, i % pic.w, i / pic.w, 200, 0);
  }
  // Gray blobs across the threshold, both senses, the threshold value itself on both sides.
  std::mt19937 rng(1234);
  for (int trial = 0; trial < 10; ++trial) {
    kt::Plane pic(3 + static_cast<int>(rng() % 14), 3 + static_cast<int>(rng() % 9));
    const int cx = static_cast<int>(rng() % pic.w), cy = static_cast<int>(rng() % pic.h), r2 = 2 + rng() % 30;
    for (int i = 0; i < pic.w * pic.h; ++i) {
      const int x = i % pic.w - cx, y = i / pic.w - cy;
      pic.p[i] = x * x + y * y <= r2 && rng() % 5 ? 100 + rng() % 156 : rng() % 101;
    }
    for (int k = 0; k < 4; ++k) CheckAll(pic, static_cast<int>(rng() % pic.w), static_cast<int>(rng() % pic.h), 100, k & 1);
  }
}

// The ZVector form: set-up of a vector of another kind, growth past its first block, the point
// limit of (width * height) >> 3 with the points so far.
TEST(ContourVector, SetUpGrowthAndLimit) {
  for (int h : {10, 40}) {
    kt::Framed<ZBW8> v(1002, h);
    v.FillBytes(0);
    for (int y = 1; y <= 8; ++y)
      for (int x = 1; x <= 1000; ++x) v->SetPixel(ZBW8(9), x, y);
    ZVector vec;
    vec.SetType(4, 10, 1);
    const short r = LumContour(v.get(), CONTOUR_ANTICLOCKWISE_STOP_AT_EDGE, 1, 1, CONTOUR_THRESHOLD_ABOVE, 9,
                               CONNEXITY_8, &vec);
    const int limit = 1002 * h / 8, want = std::min(limit, 2012);  // the bar's outline has 2012 points
    ASSERT_TRUE(vec.GetVectType() == 1 && r == (want == limit ? 1504 : 0) && vec.GetNbGroup() == want);
    // Anticlockwise: down, right, up, then left along the top.
    EXPECT_EQ(static_cast<const int32_t*>(vec.GetDataPtr())[3 * (want - 1)], want == limit ? 762 : 2);
  }
}

// Bad input, on every form: the number, the trace, what stands of the result.
TEST(ContourBadInput, NumbersTracesAndResult) {
  kt::Framed<ZBW8> v8(4, 3);
  kt::Framed<ZBW16> v16(4, 3);
  const kt::Plane pic = FromRows({"....", ".##.", "...."});
  kt::Write(v8.get(), pic), kt::Write(v16.get(), pic);
  ZImage<ZBW8> void8;
  ZImage<ZBW16> void16;
  ZGenericROI* views[3][2] = {{v8.get(), v16.get()}, {nullptr, nullptr}, {&void8, &void16}};
  // source (0 the view, 1 null, 2 void), mode, x, y, connexity, null result, the path form's
  // error, the vector form's, the closed flag and the points left in a path that held one.
  const struct { int source, mode, x, y, conn; bool nullResult; int pathError, vectorError, closed, count; } cases[] = {
      {0, 6, 1, 1, 1, false, 1009, 1009, -1, 1},   {0, -1, 1, 1, 1, false, 1009, 1009, -1, 1},
      {1, 0, 1, 1, 1, false, 1400, 1400, 1, 1},    {2, 0, 1, 1, 1, false, 1400, 1400, 1, 1},
      {0, 0, 1, 1, 1, true, 1400, 1601, -1, 1},    {0, 0, 4, 1, 1, false, 1013, 1013, 1, 0},
      {0, 3, 1, -5, 1, false, 1014, 1014, 1, 0},   {0, 0, 0, 0, 1, false, 1500, 1500, 1, 0},
      {0, 0, 1, 1, 7, false, 0, 1504, 1, 2},  // connexity 7 takes the 4 tables; 12 pixels: a limit of 1 point
  };
  const char* const words[] = {"LumContour ( ZPathVector)", "LumContour ( ZVector)", "LumContour ( ZPathVector)(BW16)"};
  for (const auto& c : cases)
    for (int f : {0, 1, 2}) {  // the 8-bit path, the ZVector, the 16-bit path
      SCOPED_TRACE(testing::Message() << "mode " << c.mode << " at " << c.x << "," << c.y << " form " << f);
      ZGenericROI* view = views[c.source][f == 2];
      const auto m = static_cast<CONTOUR_MODE>(c.mode);
      const auto cn = static_cast<CONNEXITY>(c.conn);
      ZPathVector path;
      path.AddElement({5, 5});
      path.SetClosed(-1);
      ZPathVector* out = c.nullResult ? nullptr : &path;
      ZVector vec;
      const auto above = CONTOUR_THRESHOLD_ABOVE;
      if (f == 1) LumContour(static_cast<ZROI<ZBW8>*>(view), m, c.x, c.y, above, 100, cn, c.nullResult ? nullptr : &vec);
      if (f == 0) LumContour(static_cast<ZROI<ZBW8>*>(view), m, c.x, c.y, above, 100, cn, out);
      if (f == 2) LumContour(static_cast<ZROI<ZBW16>*>(view), m, c.x, c.y, above, 100, cn, out);
      const int error = f == 1 ? c.vectorError : c.pathError;
      EXPECT_TRUE(kt::Failed(error, error ? Strings{words[f]} : Strings{}));
      EXPECT_TRUE(f == 1 || (path.GetClosed() == c.closed && path.GetNumElements() == unsigned(c.count)));
    }
}

// Coordinates that would not fit the 16-bit fields of a path are refused (1011, result untouched);
// a view of exactly 32768 walks, and the ZVector form has 32-bit points.
TEST(ContourBadInput, WideViews) {
  ZImage<ZBW8> wide(32769, 2);
  ZImage<ZBW16> tall(1, 32769);
  for (int x = 0; x < 32769; ++x) wide.SetPixel(ZBW8(x >= 32760 ? 255 : 0), x, 0), wide.SetPixel(ZBW8(x >= 32760 ? 255 : 0), x, 1);
  ZPathVector path;
  path.AddElement({1, 1});
  LumContour(&wide, CONTOUR_CLOCKWISE_STOP_AT_EDGE, 32768, 0, CONTOUR_THRESHOLD_ABOVE, 1, CONNEXITY_8, &path);
  EXPECT_TRUE(ZGetError() == 1011 && path.GetNumElements() == 1u);
  LumContour(&tall, CONTOUR_CLOCKWISE_STOP_AT_EDGE, 0, 0, CONTOUR_THRESHOLD_ABOVE, 0, CONNEXITY_8, &path);
  EXPECT_EQ(kt::Trace(), Strings{"LumContour ( ZPathVector)(BW16)"});
  ZROI<ZBW8> narrower(&wide, 1, 0, 32768, 2);
  LumContour(&narrower, CONTOUR_CLOCKWISE_ALONG_EDGE, 32767, 0, CONTOUR_THRESHOLD_ABOVE, 1, CONNEXITY_8, &path);
  EXPECT_TRUE(ZGetError() == 0 && path.GetNumElements() == 18u);
  ZVector vec;
  EXPECT_EQ(LumContour(&wide, CONTOUR_CLOCKWISE_ALONG_EDGE, 32768, 0, CONTOUR_THRESHOLD_ABOVE, 1, CONNEXITY_8, &vec), 0);
  EXPECT_TRUE(vec.GetNbGroup() == 18 && static_cast<const int32_t*>(vec.GetDataPtr())[0] == 32768);
}

}  // namespace
