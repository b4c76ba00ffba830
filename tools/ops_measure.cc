// The measurement family in the tool: the `centres` operator (centre of gravity and inertia
// ellipse of each part of a scene, drawn on it), its demo step, and the `stats` verb.
#include <cmath>
#include <cstdio>
#include <iomanip>
#include <sstream>

#include "image_io.h"
#include "registry.h"
#include "verbs.h"

namespace ktool {
namespace {

// ----- centres ----------------------------------------------------------------------------------

struct Part {
  int x0, y0, x1, y1;  // bounding box, inclusive
  std::vector<std::pair<int, int>> pixels;
};

// The 8-connected parts of the pixels at or above `threshold` with at least `minArea` pixels that
// do not touch the picture's edge.
std::vector<Part> FindParts(ZImage<ZBW8>* gray, int threshold, int minArea) {
  const int w = gray->GetWidth(), h = gray->GetHeight();
  std::vector<uint8_t> seen(static_cast<size_t>(w) * h, 0);
  std::vector<Part> parts;
  std::vector<std::pair<int, int>> stack;
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      if (seen[size_t(y) * w + x] || gray->GetImagePtr(x, y)->value < threshold) continue;
      Part part{x, y, x, y, {}};
      stack.assign(1, {x, y});
      seen[size_t(y) * w + x] = 1;
      while (!stack.empty()) {
        const auto [px, py] = stack.back();
        stack.pop_back();
        part.pixels.push_back({px, py});
        part.x0 = std::min(part.x0, px), part.x1 = std::max(part.x1, px);
        part.y0 = std::min(part.y0, py), part.y1 = std::max(part.y1, py);
        for (int dy = -1; dy <= 1; ++dy)
          for (int dx = -1; dx <= 1; ++dx) {
            const int nx = px + dx, ny = py + dy;
            if (nx < 0 || ny < 0 || nx >= w || ny >= h || seen[size_t(ny) * w + nx]) continue;
            if (gray->GetImagePtr(nx, ny)->value < threshold) continue;
            seen[size_t(ny) * w + nx] = 1;
            stack.push_back({nx, ny});
          }
      }
      // A part cut by the picture's edge is not whole: its centre would mislead.
      const bool whole = part.x0 > 0 && part.y0 > 0 && part.x1 < w - 1 && part.y1 < h - 1;
      if (whole && static_cast<int>(part.pixels.size()) >= minArea) parts.push_back(std::move(part));
    }
  return parts;
}

void Plot(ZImage<ZC24>* out, double x, double y, ZC24 colour, int size = 1) {
  for (int dy = 0; dy < size; ++dy)
    for (int dx = 0; dx < size; ++dx) {
      const long px = std::lround(x) + dx, py = std::lround(y) + dy;
      if (px >= 0 && py >= 0 && px < out->GetWidth() && py < out->GetHeight())
        *out->GetImagePtr(static_cast<int>(px), static_cast<int>(py)) = colour;
    }
}

void Line(ZImage<ZC24>* out, double x0, double y0, double x1, double y1, ZC24 colour) {
  const int steps = static_cast<int>(std::ceil(std::hypot(x1 - x0, y1 - y0))) + 1;
  for (int i = 0; i <= steps; ++i) Plot(out, x0 + (x1 - x0) * i / steps, y0 + (y1 - y0) * i / steps, colour, 2);
}

// Each part is cut out onto a black plane the size of its box, so that its neighbours stay out:
// LumGravityCenter gives its centre, LumBinaryMoments its second moments, whose central form
// gives the ellipse of the same inertia (semi-axes twice the root of the eigenvalues).
void Centres(Call& c) {
  const int threshold = static_cast<int>(c.Int(0, "THRESHOLD", 1, 255));
  const int minArea = c.Has(1) ? static_cast<int>(c.Int(1, "MINAREA", 1, 1 << 30)) : 150;
  ZImage<ZBW8>* gray = c.Gray();
  Picture& out = c.NewColour();
  c.Library("LumConvert", [&] { LumConvert(gray, out.rgb()); });
  for (const Part& part : FindParts(gray, threshold, minArea)) {
    ZImage<ZBW8> plane(part.x1 - part.x0 + 1, part.y1 - part.y0 + 1);
    c.Library("LumCopy", [&] { LumCopy(ZBW8(0), &plane); });
    for (const auto& [x, y] : part.pixels) *plane.GetImagePtr(x - part.x0, y - part.y0) = ZBW8(255);
    float cx = 0, cy = 0, m = 0, mx = 0, my = 0, mxx = 0, mxy = 0, myy = 0;
    c.Library("LumGravityCenter", [&] { LumGravityCenter(&plane, 128, cx, cy); });
    ZOk();
    LumBinaryMoments(&plane, 128, m, mx, my, mxx, mxy, myy);
    CheckLibrary("LumBinaryMoments");
    const double ex = mx / m, ey = my / m;
    const double ixx = mxx / m - ex * ex, iyy = myy / m - ey * ey, ixy = mxy / m - ex * ey;
    const double mean = (ixx + iyy) / 2, spread = std::sqrt((ixx - iyy) * (ixx - iyy) / 4 + ixy * ixy);
    const double a = 2 * std::sqrt(std::max(mean + spread, 0.0)), b = 2 * std::sqrt(std::max(mean - spread, 0.0));
    const double angle = 0.5 * std::atan2(2 * ixy, ixx - iyy), ca = std::cos(angle), sa = std::sin(angle);
    const double ox = part.x0 + cx, oy = part.y0 + cy;
    const ZC24 red(230, 40, 40), green(40, 230, 60), yellow(250, 220, 0);
    for (int i = 0; i < 720; ++i) {
      const double t = i * M_PI / 360, u = a * std::cos(t), v = b * std::sin(t);
      Plot(out.rgb(), ox + u * ca - v * sa, oy + u * sa + v * ca, red, 2);
    }
    Line(out.rgb(), ox - a * ca, oy - a * sa, ox + a * ca, oy + a * sa, yellow);
    Line(out.rgb(), ox - 6, oy, ox + 6, oy, green);
    Line(out.rgb(), ox, oy - 6, ox, oy + 6, green);
  }
}

// ----- stats ------------------------------------------------------------------------------------

const char kStatsHelp[] =
    "usage: kelmira stats IMAGE [X,Y,WIDTH,HEIGHT] [--threshold T] [--json]\n"
    "\n"
    "Measures IMAGE (PNG, PGM or PPM), or the rectangle X,Y,WIDTH,HEIGHT of it, and prints a table:\n"
    "minimum, maximum, mean, variance and deviation, the focus measure, the pixels at or above T\n"
    "(default 128), the binary moments of those pixels and the weighted moments of all, their\n"
    "centre of gravity, the centroid and the inertia. A colour image gives the statistics of each\n"
    "component, and the moments of its gray form. --json prints the same as one JSON object.\n";

struct Row {
  std::string group, name;
  double value;
};

void Measure(ZROI<ZBW8>* view, int threshold, std::vector<Row>& rows) {
  const auto add = [&](const char* group, const char* name, double v) { rows.push_back({group, name, v}); };
  unsigned char lo = 0, hi = 0;
  float average = 0, variance = 0, deviation = 0, mean = 0, statMean = 0;
  int area = 0;
  ZOk();
  LumPixelStat(view, lo, hi, statMean);
  CheckLibrary("LumPixelStat");
  LumPixelVariance(view, variance, mean);
  CheckLibrary("LumPixelVariance");
  LumPixelStdDev(view, deviation, average);
  CheckLibrary("LumPixelStdDev");
  const float focus = LumFocusing(view);
  CheckLibrary("LumFocusing");
  LumArea(view, static_cast<unsigned char>(threshold), area);
  CheckLibrary("LumArea");
  add("statistics", "minimum", lo);
  add("statistics", "maximum", hi);
  add("statistics", "mean", average);
  add("statistics", "mean of row means", statMean);
  add("statistics", "variance", variance);
  add("statistics", "deviation", deviation);
  add("statistics", "focus", focus);
  add("statistics", "area at or above threshold", area);
  float b[6] = {}, w[6] = {};
  LumBinaryMoments(view, static_cast<unsigned>(threshold), b[0], b[1], b[2], b[3], b[4], b[5]);
  LumWeightedMoments(view, w[0], w[1], w[2], w[3], w[4], w[5]);
  CheckLibrary("LumBinaryMoments, LumWeightedMoments");
  const char* names[] = {"m", "mx", "my", "mxx", "mxy", "myy"};
  for (int k = 0; k < 6; ++k) add("binary moments", names[k], b[k]);
  for (int k = 0; k < 6; ++k) add("weighted moments", names[k], w[k]);
  const double nan = std::nan("");
  float gx = NAN, gy = NAN, cx = NAN, cy = NAN;
  LumGravityCenter(view, static_cast<unsigned>(threshold), gx, gy);
  CheckLibrary("LumGravityCenter");
  LumCentroid(view, cx, cy, nullptr);
  CheckLibrary("LumCentroid");
  add("centre", "gravity x", gx);
  add("centre", "gravity y", gy);
  add("centre", "centroid x", cx);
  add("centre", "centroid y", cy);
  float ixx = NAN, ixy = NAN, iyy = NAN;
  unsigned n = 0;
  LumInertia(view, static_cast<unsigned>(threshold), ixx, ixy, iyy, nullptr, nullptr, &n);
  CheckLibrary("LumInertia");
  add("inertia", "pixels", n);
  add("inertia", "ixx", n ? ixx : nan);
  add("inertia", "ixy", n ? ixy : nan);
  add("inertia", "iyy", n ? iyy : nan);
}

void MeasureColour(ZROI<ZC24>* view, std::vector<Row>& rows) {
  float v[4], m[3], d[4], dm[3];
  ZOk();
  LumPixelVariance(view, v[0], v[1], v[2], m[0], m[1], m[2], v[3]);
  CheckLibrary("LumPixelVariance");
  LumPixelStdDev(view, d[0], d[1], d[2], dm[0], dm[1], dm[2], d[3]);
  CheckLibrary("LumPixelStdDev");
  const ZColor focus = LumFocusing(view);
  CheckLibrary("LumFocusing");
  const float f[] = {focus.c0, focus.c1, focus.c2};
  const char* group[] = {"red", "green", "blue"};
  for (int k = 0; k < 3; ++k) {
    rows.push_back({group[k], "mean", m[k]});
    rows.push_back({group[k], "variance", v[k]});
    rows.push_back({group[k], "deviation", d[k]});
    rows.push_back({group[k], "focus", f[k]});
  }
  rows.push_back({"all components", "variance", v[3]});
  rows.push_back({"all components", "deviation", d[3]});
}

std::string Quoted(const std::string& text) {
  std::string q = "\"";
  for (char ch : text) {
    if (ch == '"' || ch == '\\') q += '\\';
    q += ch;
  }
  return q + "\"";
}

std::string Number(double v) {
  if (std::isnan(v)) return "null";
  char text[32];
  std::snprintf(text, sizeof text, "%.9g", v);
  return text;
}

}  // namespace

void Stats(const Words& words, std::ostream& out) {
  for (const std::string& w : words)
    if (w == "--help" || w == "-h") {
      out << kStatsHelp;
      return;
    }
  std::string path, roi;
  bool json = false;
  int threshold = 128;
  for (size_t i = 0; i < words.size(); ++i) {
    if (words[i] == "--json") {
      json = true;
    } else if (words[i] == "--threshold") {
      char* end = nullptr;
      const long t = i + 1 < words.size() ? std::strtol(words[i + 1].c_str(), &end, 10) : -1;
      if (end == nullptr || *end != '\0' || t < 0 || t > 255) UsageError("stats: --threshold needs a number 0..255");
      threshold = static_cast<int>(t);
      ++i;
    } else if (words[i].size() > 1 && words[i][0] == '-') {
      UsageError("stats: unknown option '" + words[i] + "'");
    } else if (path.empty()) {
      path = words[i];
    } else if (roi.empty()) {
      roi = words[i];
    } else {
      UsageError("stats takes IMAGE [X,Y,WIDTH,HEIGHT]; see kelmira stats --help");
    }
  }
  if (path.empty()) UsageError("stats needs an IMAGE; see kelmira stats --help");
  const Picture picture = ReadImage(path);
  int x = 0, y = 0, w = picture.width(), h = picture.height();
  if (!roi.empty()) {
    char end = 0;
    if (std::sscanf(roi.c_str(), "%d,%d,%d,%d%c", &x, &y, &w, &h, &end) != 4 || x < 0 || y < 0 || w < 1 || h < 1 ||
        x + w > picture.width() || y + h > picture.height())
      UsageError("stats: ROI must be X,Y,WIDTH,HEIGHT inside the " + picture.Describe() + " image, not '" + roi + "'");
  }
  std::vector<Row> rows;
  if (picture.colour()) {
    ZROI<ZC24> view(picture.rgb(), x, y, w, h);
    MeasureColour(&view, rows);
    ZImage<ZBW8> gray(w, h);
    ZOk();
    LumConvert(&view, &gray);
    CheckLibrary("LumConvert");
    Measure(&gray, threshold, rows);
  } else {
    ZROI<ZBW8> view(picture.gray(), x, y, w, h);
    Measure(&view, threshold, rows);
  }
  if (json) {
    out << "{\"image\": " << Quoted(path) << ", \"kind\": \"" << (picture.colour() ? "colour" : "gray")
        << "\", \"roi\": [" << x << ", " << y << ", " << w << ", " << h << "], \"threshold\": " << threshold;
    std::string group;
    for (const Row& r : rows) {
      if (r.group != group) out << (group.empty() ? "" : "}") << ", \"" << r.group << "\": {";
      else out << ", ";
      out << "\"" << r.name << "\": " << Number(r.value);
      group = r.group;
    }
    out << "}}\n";
    return;
  }
  out << path << ": " << picture.Describe() << ", view " << w << "x" << h << " at (" << x << ", " << y
      << "), threshold " << threshold << "\n";
  std::string group;
  for (const Row& r : rows) {
    if (r.group != group) out << r.group << "\n";
    group = r.group;
    out << "  " << std::left << std::setw(28) << r.name << std::right << std::setw(16) << Number(r.value) << "\n";
  }
}

const char* StatsHelp() { return kStatsHelp; }

void AddFamily_measure(Family& family) {
  family.operators.push_back(
      {"centres", "THRESHOLD [MINAREA]", "gray",
       "marks each whole part at or above THRESHOLD (8-connected, at least MINAREA pixels, default 150, not cut by "
       "the edge): its centre of "
       "gravity (green cross, LumGravityCenter) and the ellipse of its inertia (red, LumBinaryMoments)",
       "73", 1, 2, Centres});
  family.steps.push_back({"centres", "Centre of gravity and inertia ellipse of each part (LumGravityCenter, "
                                     "LumBinaryMoments): the long axis in yellow",
                          "gray", "centres", {"73"}});
}

}  // namespace ktool
