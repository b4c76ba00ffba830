// LumContour against a direct model of the walker: worked examples, hand-made shapes and random
// blobs in every mode, connexity and form, views inside guarded memory, the bound of the walk,
// and bad input.
#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "support/kelmira_test.h"
#include "vectors/contour_walk.h"

namespace {

const int kDx[8] = {1, 1, 0, -1, -1, -1, 0, 1};
const int kDy[8] = {0, -1, -1, -1, 0, 1, 1, 1};

// A gray picture as the model sees it.
struct Picture {
  int w = 0, h = 0;
  std::vector<uint32_t> px;
  uint32_t at(int x, int y) const { return px[static_cast<size_t>(y) * w + x]; }
};

// Rows of '#' (value 200) and '.' (value 10); digits stand for themselves times 25.
Picture FromRows(const std::vector<std::string>& rows) {
  Picture p;
  p.h = static_cast<int>(rows.size());
  p.w = static_cast<int>(rows[0].size());
  for (const auto& r : rows)
    for (char c : r) p.px.push_back(c == '#' ? 200u : c == '.' ? 10u : static_cast<uint32_t>(c - '0') * 25u);
  return p;
}

struct Point {
  int x, y, d;
  uint32_t v;
  bool operator==(const Point& o) const { return x == o.x && y == o.y && d == o.d && v == o.v; }
};

struct Outcome {
  int error = 0;
  int closed = -1;  // -1: not touched
  std::vector<Point> points;
};

// The operator as described, state by state, on a plain array.
struct Model {
  const Picture& pic;
  unsigned threshold;
  int below, conn, outside;
  bool vectorForm;
  int limit = 0;

  int Test(int x, int y, int d) const {
    const int nx = x + kDx[d], ny = y + kDy[d];
    if (nx < 0 || ny < 0 || nx >= pic.w || ny >= pic.h) return outside;
    return Object(nx, ny);
  }
  int Object(int x, int y) const {
    const uint32_t v = pic.at(x, y);
    return below ? v <= threshold : v >= threshold;
  }

  int Walk(int* px, int* py, int sense, std::vector<Point>* out) const {
    static const int next8a[8] = {1, 2, 3, 4, 5, 6, 7, 0}, rest8a[8] = {7, 7, 1, 1, 3, 3, 5, 5};
    static const int next8c[8] = {7, 0, 1, 2, 3, 4, 5, 6}, rest8c[8] = {1, 3, 3, 5, 5, 7, 7, 1};
    static const int next4a[8] = {2, -1, 4, -1, 6, -1, 0, -1}, rest4a[8] = {6, -1, 0, -1, 2, -1, 4, -1};
    static const int next4c[8] = {6, -1, 0, -1, 2, -1, 4, -1}, rest4c[8] = {2, -1, 4, -1, 6, -1, 0, -1};
    const int* next = conn == 1 ? (sense < 0 ? next8c : next8a) : (sense < 0 ? next4c : next4a);
    const int* rest = conn == 1 ? (sense < 0 ? rest8c : rest8a) : (sense < 0 ? rest4c : rest4a);
    out->clear();
    int x = *px, y = *py;
    if (x < 0 || x >= pic.w) return 1013;
    if (y < 0 || y >= pic.h) return 1014;
    if (!Object(x, y)) return 1500;
    int p2 = Test(x, y, 2), d = next[2], p1 = Test(x, y, d), c = 0, tries = 0;
    for (;;) {
      d = next[d];
      c = Test(x, y, d);
      if (p1 == 0 && c == 1 && (conn == 0 || d % 2 == 1 || p2 == 0)) break;
      if (++tries == 8) return c != 0 ? 1501 : 1502;
      p2 = p1;
      p1 = c;
    }
    const int d0 = d;
    for (;;) {
      if (vectorForm && static_cast<int>(out->size()) >= limit) return 1504;
      if (!out->empty() && x == *px && y == *py && d == d0) return 0;
      out->push_back({x, y, d, pic.at(x, y)});
      x += kDx[d];
      y += kDy[d];
      d = rest[d];
      int r;
      while ((r = Test(x, y, d)) == 0) d = next[d];
      if (r == 2) {
        *px = x;
        *py = y;
        return 106;
      }
    }
  }

  Outcome Run(int mode, int x, int y) const {
    Outcome o;
    const int sense = (mode <= 2) ? -1 : 1;
    o.error = Walk(&x, &y, sense, &o.points);
    o.closed = o.error != 106;
    if (o.error == 106 && (mode == 2 || mode == 4)) o.error = Walk(&x, &y, -sense, &o.points);
    return o;
  }
};

int OutsideOf(int mode) { return mode == 1 || mode == 5 ? 0 : 2; }

Model MakeModel(const Picture& p, unsigned thr, int below, int conn, int mode, bool vectorForm) {
  Model m{p, thr, below, conn, OutsideOf(mode), vectorForm};
  m.limit = static_cast<int>(static_cast<uint32_t>(p.w) * static_cast<uint32_t>(p.h)) >> 3;
  return m;
}

// A picture placed in a guarded view at a byte offset.
template <class T>
struct Placed {
  kt::Framed<T> f;
  Placed(const Picture& p, int offset) : f(p.w, p.h, offset * static_cast<int>(sizeof(T))) {
    for (int y = 0; y < p.h; ++y)
      for (int x = 0; x < p.w; ++x) f->SetPixel(T(static_cast<decltype(T().value)>(p.at(x, y))), x, y);
  }
};

// The five forms run on one picture and read back as model outcomes.
enum Form { kPath8, kBW8Path, kBW8Chain, kVector8, kPath16, kBW16Path, kBW16Chain };
const Form kForms[] = {kPath8, kBW8Path, kBW8Chain, kVector8, kPath16, kBW16Path, kBW16Chain};
const char* const kWords[] = {"LumContour ( ZPathVector)",          "LumContour ( ZBW8PathVector)",
                              "LumContour ( ZBW8PathVector)",       "LumContour ( ZVector)",
                              "LumContour ( ZPathVector)(BW16)",    "LumContour ( ZBW16PathVector)(BW16)",
                              "LumContour ( ZBW16PathVector)(BW16)"};

template <class V>
void ReadPath(const V& path, Outcome* o) {
  o->closed = path.GetClosed();
  for (unsigned i = 0; i < path.GetNumElements(); ++i) o->points.push_back({path[i].m_n16X, path[i].m_n16Y, -1, 0});
}

// Runs a form; the points come back with d and v filled only where the form stores them.
Outcome RunForm(Form form, ZGenericROI* view, int mode, int x, int y, int below, unsigned thr, int conn) {
  Outcome o;
  const auto m = static_cast<CONTOUR_MODE>(mode);
  const auto s = static_cast<CONTOUR_THRESHOLD>(below);
  const auto c = static_cast<CONNEXITY>(conn);
  auto* v8 = static_cast<ZROI<ZBW8>*>(view);
  auto* v16 = static_cast<ZROI<ZBW16>*>(view);
  switch (form) {
    case kPath8: case kPath16: {
      ZPathVector path;
      path.SetClosed(-1);
      if (form == kPath8) LumContour(v8, m, x, y, s, thr, c, &path);
      else LumContour(v16, m, x, y, s, thr, c, &path);
      ReadPath(path, &o);
      break;
    }
    case kBW8Path: case kBW8Chain: {
      ZBW8PathVector path;
      path.SetClosed(-1);
      LumContour(v8, m, x, y, s, thr, c, &path, form == kBW8Chain);
      ReadPath(path, &o);
      for (unsigned i = 0; i < o.points.size(); ++i)
        (form == kBW8Chain ? o.points[i].d : *reinterpret_cast<int*>(&o.points[i].v)) = path[i].m_bw8Pixel.value;
      break;
    }
    case kBW16Path: case kBW16Chain: {
      ZBW16PathVector path;
      path.SetClosed(-1);
      LumContour(v16, m, x, y, s, thr, c, &path, form == kBW16Chain);
      ReadPath(path, &o);
      for (unsigned i = 0; i < o.points.size(); ++i)
        (form == kBW16Chain ? o.points[i].d : *reinterpret_cast<int*>(&o.points[i].v)) = path[i].m_bw16Pixel.value;
      break;
    }
    case kVector8: {
      ZVector vec;
      const short r = LumContour(v8, m, x, y, s, thr, c, &vec);
      EXPECT_EQ(r, static_cast<short>(ZGetError()));
      const auto* data = static_cast<const int32_t*>(vec.GetDataPtr());
      for (int i = 0; i < vec.GetNbGroup(); ++i) o.points.push_back({data[3 * i], data[3 * i + 1], data[3 * i + 2], 0});
      break;
    }
  }
  o.error = ZGetError();
  return o;
}

bool Is16(Form f) { return f >= kPath16; }

// The model's outcome seen through what a form stores.
Outcome Expect(Form form, const Outcome& full, uint32_t valueMask) {
  Outcome o = full;
  if (form == kVector8) o.closed = -1;
  for (auto& p : o.points) {
    const bool chain = form == kBW8Chain || form == kBW16Chain || form == kVector8;
    if (!chain) p.d = -1;
    p.v = (form == kBW8Path || form == kBW16Path) ? (p.v & valueMask) : 0;
  }
  return o;
}

// The 16-bit forms see the picture and the threshold times 257, so that the high byte counts.
Picture Scaled(const Picture& p) {
  Picture s = p;
  for (auto& v : s.px) v *= 257;
  return s;
}

// Every form, mode and connexity on one picture (values up to 255) from one start, the view at a
// few offsets.
void CheckAll(const Picture& pic8, int x, int y, unsigned thr8, int below, const std::string& what) {
  const Picture pic16 = Scaled(pic8);
  for (Form form : kForms) {
    const Picture& pic = Is16(form) ? pic16 : pic8;
    const unsigned thr = Is16(form) ? thr8 * 257 : thr8;
    for (int offset : {0, 3}) {
      for (int mode = 0; mode < 6; ++mode) {
        for (int conn : {0, 1, 2}) {
          SCOPED_TRACE(what + " form " + std::to_string(form) + " offset " + std::to_string(offset) + " mode " +
                       std::to_string(mode) + " conn " + std::to_string(conn));
          const Model model = MakeModel(pic, thr, below, conn, mode, form == kVector8);
          const Outcome want = Expect(form, model.Run(mode, x, y), Is16(form) ? 0xFFFF : 0xFF);
          Outcome got;
          bool guards;
          if (Is16(form)) {
            Placed<ZBW16> v(pic, offset);
            got = RunForm(form, v.f.get(), mode, x, y, below, thr, conn);
            guards = v.f.GuardsIntact();
          } else {
            Placed<ZBW8> v(pic, offset);
            got = RunForm(form, v.f.get(), mode, x, y, below, thr, conn);
            guards = v.f.GuardsIntact();
          }
          EXPECT_TRUE(guards);
          ASSERT_EQ(got.error, want.error);
          EXPECT_EQ(got.closed, want.closed);
          ASSERT_EQ(got.points.size(), want.points.size());
          EXPECT_TRUE(got.points == want.points);
          const auto trace = kt::Trace();
          EXPECT_EQ(trace, want.error ? std::vector<std::string>{kWords[form]} : std::vector<std::string>{});
        }
      }
    }
  }
}

// ---------------------------------------------------------------------------------------------
// Worked examples
// ---------------------------------------------------------------------------------------------
struct Example {
  const char* name;
  std::vector<std::string> rows;
  int x, y, mode, conn;
  int error, closed;
  std::vector<std::vector<int>> points;  // x, y, direction
  int endX = -1, endY = -1;
};

const Example kExamples[] = {
    {"square clockwise", {".....", ".###.", ".###.", ".###.", "....."}, 1, 1, 0, 1, 0, 1,
     {{1, 1, 0}, {2, 1, 0}, {3, 1, 6}, {3, 2, 6}, {3, 3, 4}, {2, 3, 4}, {1, 3, 2}, {1, 2, 2}}},
    {"square clockwise, 4", {".....", ".###.", ".###.", ".###.", "....."}, 1, 1, 0, 0, 0, 1,
     {{1, 1, 0}, {2, 1, 0}, {3, 1, 6}, {3, 2, 6}, {3, 3, 4}, {2, 3, 4}, {1, 3, 2}, {1, 2, 2}}},
    {"square anticlockwise", {".....", ".###.", ".###.", ".###.", "....."}, 1, 1, 3, 1, 0, 1,
     {{1, 1, 6}, {1, 2, 6}, {1, 3, 0}, {2, 3, 0}, {3, 3, 2}, {3, 2, 2}, {3, 1, 4}, {2, 1, 4}}},
    {"one pixel", {"...", ".#.", "..."}, 1, 1, 0, 1, 1502, 1, {}},
    {"interior", {"###", "###", "###"}, 1, 1, 3, 1, 1501, 1, {}},
    {"pair", {"....", ".##.", "...."}, 1, 1, 0, 1, 0, 1, {{1, 1, 0}, {2, 1, 4}}},
    {"corner pair, 8", {"....", ".#..", "..#.", "...."}, 1, 1, 0, 1, 0, 1, {{1, 1, 7}, {2, 2, 3}}},
    {"corner pair, 4", {"....", ".#..", "..#.", "...."}, 1, 1, 0, 0, 1502, 1, {}},
    {"plus centre, 8", {".....", "..#..", ".###.", "..#..", "....."}, 2, 2, 0, 1, 1502, 1, {}},
    {"full view, stop", {"###", "###"}, 0, 0, 0, 1, 1501, 1, {}},
    {"full view, along edge", {"###", "###", "###"}, 0, 0, 1, 1, 0, 1,
     {{0, 0, 0}, {1, 0, 0}, {2, 0, 6}, {2, 1, 6}, {2, 2, 4}, {1, 2, 4}, {0, 2, 2}, {0, 1, 2}}},
    {"line across", {"...", "###", "..."}, 1, 1, 0, 1, 106, 0, {{1, 1, 0}}, 2, 1},
    {"spike, 4", {".....", ".#...", ".###.", ".....",}, 3, 2, 0, 0, 0, 1,
     {{3, 2, 4}, {2, 2, 4}, {1, 2, 2}, {1, 1, 6}, {1, 2, 0}, {2, 2, 0}}},
    {"both ends", {"....", "####", "...."}, 1, 1, 2, 1, 106, 0, {{3, 1, 4}, {2, 1, 4}, {1, 1, 4}}, 0, 1},
};

TEST(ContourExamples, PointsDirectionsAndFlag) {
  for (const Example& e : kExamples) {
    SCOPED_TRACE(e.name);
    const Picture pic = FromRows(e.rows);
    Placed<ZBW8> v(pic, 1);
    ZBW8PathVector chain;
    LumContour(v.f.get(), static_cast<CONTOUR_MODE>(e.mode), e.x, e.y, CONTOUR_THRESHOLD_ABOVE, 100,
               static_cast<CONNEXITY>(e.conn), &chain, 1);
    EXPECT_EQ(ZGetError(), e.error);
    EXPECT_EQ(chain.GetClosed(), e.closed);
    std::vector<std::vector<int>> got;
    for (unsigned i = 0; i < chain.GetNumElements(); ++i)
      got.push_back({chain[i].m_n16X, chain[i].m_n16Y, chain[i].m_bw8Pixel.value});
    EXPECT_EQ(got, e.points);
    if (e.endX >= 0) {  // the end reached, through the model's walk
      const Model m = MakeModel(pic, 100, 0, e.conn, 0, false);
      int x = e.x, y = e.y;
      std::vector<Point> pts;
      EXPECT_EQ(m.Walk(&x, &y, -1, &pts), 106);
      if (e.mode == 0) {
        EXPECT_EQ((std::vector<int>{x, y}), (std::vector<int>{e.endX, e.endY}));
      }
    }
  }
}

// The full view in modes 1 and 5 walks the border of the view: 2 (w + h) - 4 points.
TEST(ContourExamples, FullViewAlongEdge) {
  for (int w : {2, 5, 9})
    for (int h : {2, 4}) {
      Picture p{w, h, std::vector<uint32_t>(static_cast<size_t>(w) * h, 7)};
      Placed<ZBW8> v(p, 0);
      for (auto mode : {CONTOUR_CLOCKWISE_ALONG_EDGE, CONTOUR_ANTICLOCKWISE_ALONG_EDGE})
        for (auto conn : {CONNEXITY_4, CONNEXITY_8}) {
          ZPathVector path;
          LumContour(v.f.get(), mode, 0, 0, CONTOUR_THRESHOLD_BELOW, 7, conn, &path);
          EXPECT_EQ(ZGetError(), 0);
          EXPECT_EQ(path.GetNumElements(), static_cast<unsigned>(2 * (w + h) - 4));
          EXPECT_EQ(path.GetClosed(), 1);
        }
    }
}

// ---------------------------------------------------------------------------------------------
// Agreement with the model
// ---------------------------------------------------------------------------------------------
const std::vector<std::string> kShapes[] = {
    {"#"},
    {"...", ".#.", "..."},
    {".....", ".###.", ".###.", ".###.", "....."},
    {"#....", "#....", "#....", "####.", "....."},                 // an L on the edge
    {"......", ".####.", ".#..#.", ".####.", "......"},            // a ring
    {"......", "######", "......"},                                // a line across
    {"#...#", ".#.#.", "..#..", ".#.#.", "#...#"},                 // diagonal links only
    {"##.##", "#####", "##.##"},
    {"#####", "#...#", "#.#.#", "#...#", "#####"},                 // on every edge, with an island
    {"..#..", "..#..", "#####", "..#..", "..#.."},                 // a cross through the edges
};

TEST(ContourModel, HandShapesEveryStart) {
  for (const auto& rows : kShapes) {
    const Picture pic = FromRows(rows);
    for (int y = 0; y < pic.h; ++y)
      for (int x = 0; x < pic.w; ++x) CheckAll(pic, x, y, 100, 0, rows[0] + " start " + std::to_string(x) + "," + std::to_string(y));
  }
}

// Gray blobs with values across the threshold; both senses, including the threshold value itself.
TEST(ContourModel, RandomBlobs) {
  std::mt19937 rng(1234);
  for (int trial = 0; trial < 12; ++trial) {
    SCOPED_TRACE("trial " + std::to_string(trial));
    Picture pic;
    pic.w = 3 + static_cast<int>(rng() % 14);
    pic.h = 3 + static_cast<int>(rng() % 9);
    const int cx = static_cast<int>(rng() % pic.w), cy = static_cast<int>(rng() % pic.h);
    const int r2 = 2 + static_cast<int>(rng() % 30);
    for (int y = 0; y < pic.h; ++y)
      for (int x = 0; x < pic.w; ++x) {
        const bool in = (x - cx) * (x - cx) + (y - cy) * (y - cy) <= r2 && rng() % 5 != 0;
        pic.px.push_back(in ? 100 + rng() % 156 : rng() % 101);
      }
    const unsigned thr = 100;
    for (int k = 0; k < 4; ++k) {
      const int x = static_cast<int>(rng() % pic.w), y = static_cast<int>(rng() % pic.h);
      CheckAll(pic, x, y, thr, k & 1, "blob");
    }
  }
}

// Chain codes rebuild the path: each point plus its code is the next point, and the last leads
// back to the first when the path is closed.
TEST(ContourModel, ChainCodesRebuildThePath) {
  std::mt19937 rng(77);
  int closedSeen = 0;
  for (int trial = 0; trial < 200; ++trial) {
    Picture pic{12, 10, {}};
    for (int i = 0; i < 120; ++i) pic.px.push_back(rng() % 3 ? 200 : 0);
    Placed<ZBW16> v(pic, 0);
    ZBW16PathVector chain;
    const int conn = trial & 1, mode = (trial >> 1) % 6;
    LumContour(v.f.get(), static_cast<CONTOUR_MODE>(mode), static_cast<int>(rng() % 12), static_cast<int>(rng() % 10),
               CONTOUR_THRESHOLD_ABOVE, 200, static_cast<CONNEXITY>(conn), &chain, 1);
    const unsigned n = chain.GetNumElements();
    for (unsigned i = 0; i + 1 < n; ++i) {
      const int d = chain[i].m_bw16Pixel.value;
      ASSERT_LT(d, 8);
      if (conn == 0) {
        ASSERT_EQ(d % 2, 0);
      }
      ASSERT_EQ(chain[i].m_n16X + kDx[d], chain[i + 1].m_n16X);
      ASSERT_EQ(chain[i].m_n16Y + kDy[d], chain[i + 1].m_n16Y);
    }
    if (ZGetError() == 0 && n > 0) {
      ++closedSeen;
      const int d = chain[n - 1].m_bw16Pixel.value;
      EXPECT_EQ(chain[n - 1].m_n16X + kDx[d], chain[0].m_n16X);
      EXPECT_EQ(chain[n - 1].m_n16Y + kDy[d], chain[0].m_n16Y);
    }
  }
  EXPECT_GT(closedSeen, 20);
}

// ---------------------------------------------------------------------------------------------
// The bound of the walk
// ---------------------------------------------------------------------------------------------
int BorderPixels(const Picture& p) {
  int n = 0;
  for (int y = 0; y < p.h; ++y)
    for (int x = 0; x < p.w; ++x) {
      if (p.at(x, y) < 100) continue;
      bool border = false;
      for (int d = 0; d < 8; ++d) {
        const int nx = x + kDx[d], ny = y + kDy[d];
        border |= nx < 0 || ny < 0 || nx >= p.w || ny >= p.h || p.at(nx, ny) < 100;
      }
      n += border;
    }
  return n;
}

// Every walk from every pixel of dense random pictures ends, with at most 4 (four neighbours) or
// 8 points per border pixel; in fact no pixel stands more than 4 times in a path.
TEST(ContourBound, PointsPerBorderPixel) {
  std::mt19937 rng(5);
  for (int trial = 0; trial < 60; ++trial) {
    Picture pic{2 + static_cast<int>(rng() % 8), 2 + static_cast<int>(rng() % 8), {}};
    const unsigned density = 1 + rng() % 4;
    for (int i = 0; i < pic.w * pic.h; ++i) pic.px.push_back(rng() % 5 < density ? 200 : 0);
    Placed<ZBW8> v(pic, 0);
    const int border = BorderPixels(pic);
    for (int conn : {0, 1, 2})
      for (int mode = 0; mode < 6; ++mode)
        for (int y = 0; y < pic.h; ++y)
          for (int x = 0; x < pic.w; ++x) {
            ZPathVector path;
            LumContour(v.f.get(), static_cast<CONTOUR_MODE>(mode), x, y, CONTOUR_THRESHOLD_ABOVE, 100,
                       static_cast<CONNEXITY>(conn), &path);
            const int e = ZGetError();
            ASSERT_TRUE(e == 0 || e == 106 || e == 1500 || e == 1501 || e == 1502) << e;
            ASSERT_LE(static_cast<int>(path.GetNumElements()), (conn == 1 ? 8 : 4) * border);
            std::vector<int> seen(static_cast<size_t>(pic.w) * pic.h);
            for (unsigned i = 0; i < path.GetNumElements(); ++i)
              ASSERT_LE(++seen[static_cast<size_t>(path[i].m_n16Y) * pic.w + path[i].m_n16X], 4);
          }
  }
}

// Points for the walker's own bound test: a sink without limit.
struct CountSink {
  static constexpr int kMaxCoordinate = 1 << 30;
  int n = 0;
  void Empty() { n = 0; }
  static constexpr bool Full() { return false; }
  int Count() const { return n; }
  bool Put(int, int, int, uint32_t) { return ++n, true; }
};

// The walker stops with 1504 when its points reach the cap, which the operators set to the number
// of (pixel, direction) pairs of the view; a closing walk never reaches it.
TEST(ContourBound, CapEndsTheWalk) {
  const Picture pic = FromRows({"......", ".####.", ".####.", "......"});
  Placed<ZBW8> v(pic, 0);
  kelmira::contour::Context ctx;
  ctx.threshold = 100;
  ctx.connexity = 1;
  for (int64_t cap : {int64_t{3}, int64_t{7}, kelmira::contour::StateCount(6, 4, 1)}) {
    CountSink sink;
    int x = 1, y = 1;
    ZOk();
    kelmira::contour::Walk<ZBW8>(v.f.get(), &x, &y, -1, sink, ctx, cap);
    EXPECT_EQ(ZGetError(), cap < 8 ? Z_ERROR_CONTOUR_TOO_LONG : Z_ERROR_NONE);
    EXPECT_EQ(sink.n, cap < 8 ? cap : 8);
  }
}

// ---------------------------------------------------------------------------------------------
// The ZVector form
// ---------------------------------------------------------------------------------------------
TEST(ContourVector, SetUpGrowthAndLimit) {
  // A long contour: the outline of a 1000 x 8 bar has 2012 points, past the 2000 groups of the
  // first set-up, and the limit (1002 * 10) / 8 = 1252 stops it first; a taller view lifts it.
  for (int h : {10, 40}) {
    Picture pic{1002, h, std::vector<uint32_t>(static_cast<size_t>(1002) * h, 0)};
    for (int y = 1; y <= 8; ++y)
      for (int x = 1; x <= 1000; ++x) pic.px[static_cast<size_t>(y) * 1002 + x] = 9;
    Placed<ZBW8> v(pic, 0);
    ZVector vec;
    vec.SetType(4, 10, 1);  // another kind: set up afresh
    const short r = LumContour(v.f.get(), CONTOUR_ANTICLOCKWISE_STOP_AT_EDGE, 1, 1, CONTOUR_THRESHOLD_ABOVE, 9,
                               CONNEXITY_8, &vec);
    EXPECT_EQ(vec.GetVectType(), 1);
    const int limit = 1002 * h / 8;
    const int want = std::min(limit, 2 * 1000 + 2 * 8 - 4);
    EXPECT_EQ(vec.GetNbGroup(), want);
    EXPECT_EQ(r, want == limit ? 1504 : 0);
    EXPECT_GE(vec.GetAllocatedSize(), want * 12);
    const auto* d = static_cast<const int32_t*>(vec.GetDataPtr());
    EXPECT_EQ(d[3 * (want - 1)], want == limit ? 762 : 2);  // anticlockwise: down, right, up, left
  }
}

TEST(ContourVector, TinyViewsHitTheLimitAtOnce) {
  const Picture pic = FromRows({"##.", "##."});
  Placed<ZBW8> v(pic, 0);
  ZVector vec(16);
  EXPECT_EQ(LumContour(v.f.get(), CONTOUR_CLOCKWISE_STOP_AT_EDGE, 1, 0, CONTOUR_THRESHOLD_ABOVE, 100, CONNEXITY_8,
                       &vec), 1504);
  EXPECT_EQ(vec.GetNbGroup(), 0);
  EXPECT_EQ(kt::Trace(), std::vector<std::string>{"LumContour ( ZVector)"});
}

// ---------------------------------------------------------------------------------------------
// Bad input
// ---------------------------------------------------------------------------------------------
TEST(ContourBadInput, NumbersAndTraces) {
  const Picture pic = FromRows({"....", ".##.", "...."});
  Placed<ZBW8> v8(pic, 0);
  Placed<ZBW16> v16(pic, 0);
  ZImage<ZBW8> empty8;
  ZImage<ZBW16> empty16;
  struct Case {
    const char* name;
    ZROI<ZBW8>* src8;
    ZROI<ZBW16>* src16;
    int mode, x, y, conn;
    bool nullResult;
    int error8, errorVector, closed;  // closed: -1 untouched
  };
  const Case cases[] = {
      {"mode 6", v8.f.get(), v16.f.get(), 6, 1, 1, 1, false, 1009, 1009, -1},
      {"mode -1", v8.f.get(), v16.f.get(), -1, 1, 1, 1, false, 1009, 1009, -1},
      {"null source", nullptr, nullptr, 0, 1, 1, 1, false, 1400, 1400, 1},
      {"void source", &empty8, &empty16, 0, 1, 1, 1, false, 1400, 1400, 1},
      {"null result", v8.f.get(), v16.f.get(), 0, 1, 1, 1, true, 1400, 1601, -1},
      {"x left", v8.f.get(), v16.f.get(), 0, -1, 1, 1, false, 1013, 1013, 1},
      {"x right", v8.f.get(), v16.f.get(), 0, 4, 1, 1, false, 1013, 1013, 1},
      {"y above", v8.f.get(), v16.f.get(), 3, 1, -5, 1, false, 1014, 1014, 1},
      {"y below", v8.f.get(), v16.f.get(), 3, 1, 3, 1, false, 1014, 1014, 1},
      {"background start", v8.f.get(), v16.f.get(), 0, 0, 0, 1, false, 1500, 1500, 1},
      {"connexity 7", v8.f.get(), v16.f.get(), 0, 1, 1, 7, false, 0, 1504, 1},
  };
  for (const Case& c : cases) {
    for (Form form : kForms) {
      SCOPED_TRACE(std::string(c.name) + " form " + std::to_string(form));
      ZGenericROI* view = Is16(form) ? static_cast<ZGenericROI*>(c.src16) : c.src8;
      const auto m = static_cast<CONTOUR_MODE>(c.mode);
      const auto cn = static_cast<CONNEXITY>(c.conn);
      ZPathVector filled;
      filled.AddElement({5, 5});
      filled.SetClosed(-1);
      int error;
      if (form == kVector8) {
        ZVector vec;
        LumContour(static_cast<ZROI<ZBW8>*>(view), m, c.x, c.y, CONTOUR_THRESHOLD_ABOVE, 100, cn,
                   c.nullResult ? nullptr : &vec);
        error = ZGetError();
        EXPECT_EQ(error, c.errorVector);
      } else if (form == kPath8 || form == kPath16) {
        ZPathVector* out = c.nullResult ? nullptr : &filled;
        if (form == kPath8) LumContour(static_cast<ZROI<ZBW8>*>(view), m, c.x, c.y, CONTOUR_THRESHOLD_ABOVE, 100, cn, out);
        else LumContour(static_cast<ZROI<ZBW16>*>(view), m, c.x, c.y, CONTOUR_THRESHOLD_ABOVE, 100, cn, out);
        error = ZGetError();
        EXPECT_EQ(error, c.error8);
        EXPECT_EQ(filled.GetClosed(), c.closed);
        // The result is emptied from the start test on, untouched before.
        const bool emptied = error == 0 || error == 1013 || error == 1014 || error == 1500;
        EXPECT_EQ(filled.GetNumElements(), c.nullResult ? 1u : emptied ? (error == 0 ? 2u : 0u) : 1u);
      } else {
        continue;
      }
      if (error) {
        EXPECT_EQ(kt::Trace(), std::vector<std::string>{kWords[form]});
      }
    }
  }
}

// Coordinates that would not fit the 16-bit fields of a path are refused; the ZVector form has
// 32-bit points and walks.
TEST(ContourBadInput, WideViews) {
  ZImage<ZBW8> wide(32769, 2);
  ZImage<ZBW16> tall(1, 32769);
  for (int y = 0; y < 2; ++y)
    for (int x = 0; x < 32769; ++x) wide.SetPixel(ZBW8(x >= 32760 ? 255 : 0), x, y);
  ZPathVector path;
  path.AddElement({1, 1});
  LumContour(&wide, CONTOUR_CLOCKWISE_STOP_AT_EDGE, 32768, 0, CONTOUR_THRESHOLD_ABOVE, 1, CONNEXITY_8, &path);
  EXPECT_EQ(ZGetError(), 1011);
  EXPECT_EQ(path.GetNumElements(), 1u);
  EXPECT_EQ(path.GetClosed(), 1);
  LumContour(&tall, CONTOUR_CLOCKWISE_STOP_AT_EDGE, 0, 0, CONTOUR_THRESHOLD_ABOVE, 0, CONNEXITY_8, &path);
  EXPECT_EQ(ZGetError(), 1011);
  EXPECT_EQ(kt::Trace(), std::vector<std::string>{"LumContour ( ZPathVector)(BW16)"});
  ZROI<ZBW8> narrower(&wide, 1, 0, 32768, 2);
  LumContour(&narrower, CONTOUR_CLOCKWISE_ALONG_EDGE, 32767, 0, CONTOUR_THRESHOLD_ABOVE, 1, CONNEXITY_8, &path);
  EXPECT_EQ(ZGetError(), 0);
  EXPECT_EQ(path.GetNumElements(), 2u * 9 + 2 * 2 - 4);
  ZVector vec;
  EXPECT_EQ(LumContour(&wide, CONTOUR_CLOCKWISE_ALONG_EDGE, 32768, 0, CONTOUR_THRESHOLD_ABOVE, 1, CONNEXITY_8, &vec), 0);
  EXPECT_EQ(vec.GetNbGroup(), 2 * 9 + 2 * 2 - 4);
  EXPECT_EQ(static_cast<const int32_t*>(vec.GetDataPtr())[0], 32768);
}

}  // namespace
