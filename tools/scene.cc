// The scene is a stack of shapes tested at 4x4 sub-samples per pixel, so that edges are
// anti-aliased like a real lens would make them; light and noise are applied afterwards.
#include "scene.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <random>
#include <vector>

namespace ktool {
namespace {

struct Rgb {
  float r, g, b;
};

// A region of the plane and its colour; later shapes cover earlier ones.
struct Shape {
  std::function<bool(double, double)> inside;
  Rgb colour;
};

bool InCircle(double x, double y, double cx, double cy, double r) {
  return (x - cx) * (x - cx) + (y - cy) * (y - cy) <= r * r;
}

bool InRoundedRect(double x, double y, double x0, double y0, double x1, double y1, double r) {
  const double cx = std::clamp(x, x0 + r, x1 - r), cy = std::clamp(y, y0 + r, y1 - r);
  return x >= x0 && x <= x1 && y >= y0 && y <= y1 && InCircle(x, y, cx, cy, r);
}

// A convex polygon given counter-clockwise in screen coordinates.
bool InPolygon(double x, double y, const std::vector<std::array<double, 2>>& p) {
  for (size_t i = 0; i < p.size(); ++i) {
    const auto& a = p[i];
    const auto& b = p[(i + 1) % p.size()];
    if ((b[0] - a[0]) * (y - a[1]) - (b[1] - a[1]) * (x - a[0]) < 0) return false;
  }
  return true;
}

std::vector<std::array<double, 2>> RegularPolygon(double cx, double cy, double r, int n, double turn) {
  std::vector<std::array<double, 2>> points;
  for (int i = 0; i < n; ++i) {
    const double a = turn + 2 * M_PI * i / n;
    points.push_back({cx + r * std::cos(a), cy + r * std::sin(a)});
  }
  return points;
}

// 3x5 digits and a dash for the printed lot number.
const char* Glyph(char c) {
  static const char* digits[] = {"111101101101111", "010110010010111", "111001111100111", "111001111001111",
                                 "101101111001001", "111100111001111", "111100111101111", "111001010010010",
                                 "111101111101111", "111101111001111"};
  if (c >= '0' && c <= '9') return digits[c - '0'];
  if (c == '-') return "000000111000000";
  return "000000000000000";
}

bool InText(double x, double y, double x0, double y0, double dot, const char* text) {
  if (y < y0 || y >= y0 + 5 * dot || x < x0) return false;
  const int column = static_cast<int>((x - x0) / dot), row = static_cast<int>((y - y0) / dot);
  const int index = column / 4, within = column % 4;
  if (index >= static_cast<int>(std::char_traits<char>::length(text)) || within == 3) return false;
  return Glyph(text[index])[row * 3 + within] == '1';
}

std::vector<Shape> BuildScene() {
  std::vector<Shape> shapes;
  // Conveyor belt with a darker seam and two guide rails.
  shapes.push_back({[](double, double) { return true; }, {46, 49, 56}});
  shapes.push_back({[](double, double y) { return std::fmod(y + 1000, 120) < 3; }, {34, 36, 42}});
  shapes.push_back({[](double, double y) { return y < 18 || y > 462; }, {150, 150, 145}});
  // Aluminium bracket: rounded plate with two bored holes and a slot (holes show the belt).
  shapes.push_back({[](double x, double y) {
                      if (!InRoundedRect(x, y, 40, 60, 300, 200, 18)) return false;
                      if (InCircle(x, y, 80, 100, 16) || InCircle(x, y, 260, 100, 16)) return false;
                      return !InRoundedRect(x, y, 120, 150, 220, 172, 11);
                    },
                    {196, 198, 205}});
  // Printed lot number and a small dot-matrix code on the bracket.
  shapes.push_back({[](double x, double y) { return InText(x, y, 118, 84, 2.0, "4217-0926"); }, {30, 30, 40}});
  shapes.push_back({[](double x, double y) {
                      if (x < 118 || x >= 148 || y < 100 || y >= 130) return false;
                      const int cx = static_cast<int>(x - 118) / 3, cy = static_cast<int>(y - 100) / 3;
                      if (cx == 0 || cy == 9) return true;  // the L of the finder pattern
                      if (cy == 0) return cx % 2 == 0;
                      if (cx == 9) return cy % 2 == 1;
                      return ((cx * 7 + cy * 13 + cx * cy) % 5) < 2;
                    },
                    {25, 25, 35}});
  // Copper washer: a ring.
  shapes.push_back({[](double x, double y) { return InCircle(x, y, 430, 120, 70) && !InCircle(x, y, 430, 120, 32); },
                    {200, 120, 60}});
  // Blued hex nut with a round bore.
  const auto hex = RegularPolygon(160, 340, 78, 6, 0.2);
  shapes.push_back({[hex](double x, double y) { return InPolygon(x, y, hex) && !InCircle(x, y, 160, 340, 34); },
                    {75, 100, 185}});
  // Green plastic gear: twelve teeth around a hub with a keyed bore.
  shapes.push_back({[](double x, double y) {
                      const double dx = x - 450, dy = y - 340, r = std::hypot(dx, dy);
                      const double a = std::atan2(dy, dx);
                      const double tooth = std::fmod(a * 12 / (2 * M_PI) + 12.25, 1.0) < 0.5 ? 96 : 80;
                      if (r > tooth) return false;
                      if (r < 22) return false;
                      return !(dx > -6 && dx < 6 && dy < -16 && dy > -30);
                    },
                    {60, 160, 80}});
  // Fiducial crosses in three corners.
  for (auto [fx, fy] : {std::array<double, 2>{600, 40}, {600, 440}, {20, 440}}) {
    shapes.push_back({[fx, fy](double x, double y) {
                        return (std::fabs(x - fx) < 2 && std::fabs(y - fy) < 12) ||
                               (std::fabs(y - fy) < 2 && std::fabs(x - fx) < 12);
                      },
                      {240, 240, 60}});
  }
  return shapes;
}

}  // namespace

Picture MakeColourScene(unsigned seed) {
  const std::vector<Shape> shapes = BuildScene();
  Picture picture = Picture::Colour(kSceneWidth, kSceneHeight);
  std::mt19937 rng(seed);
  std::normal_distribution<float> noise(0.0f, 3.5f);
  constexpr int kSub = 4;
  for (int y = 0; y < kSceneHeight; ++y) {
    uint8_t* row = picture.row(y);
    for (int x = 0; x < kSceneWidth; ++x) {
      Rgb sum{0, 0, 0};
      for (int sy = 0; sy < kSub; ++sy) {
        for (int sx = 0; sx < kSub; ++sx) {
          const double px = x + (sx + 0.5) / kSub, py = y + (sy + 0.5) / kSub;
          for (auto it = shapes.rbegin(); it != shapes.rend(); ++it) {
            if (it->inside(px, py)) {
              sum.r += it->colour.r;
              sum.g += it->colour.g;
              sum.b += it->colour.b;
              break;
            }
          }
        }
      }
      // Light falls off to the right and towards the corners.
      const float dx = (x - 220.0f) / kSceneWidth, dy = (y - 200.0f) / kSceneHeight;
      const float light = (1.12f - 0.45f * x / kSceneWidth) * (1.0f - 0.35f * (dx * dx + dy * dy));
      const float scale = light / (kSub * kSub);
      const float values[3] = {sum.r * scale, sum.g * scale, sum.b * scale};
      for (int c = 0; c < 3; ++c) row[3 * x + c] = static_cast<uint8_t>(std::clamp(values[c] + noise(rng), 0.0f, 255.0f) + 0.5f);
    }
  }
  return picture;
}

Picture MakeGrayScene(const Picture& colour) {
  Picture gray = Picture::Gray(colour.width(), colour.height());
  for (int y = 0; y < colour.height(); ++y) {
    const uint8_t* in = colour.row(y);
    uint8_t* out = gray.row(y);
    for (int x = 0; x < colour.width(); ++x) out[x] = static_cast<uint8_t>((77 * in[3 * x] + 150 * in[3 * x + 1] + 29 * in[3 * x + 2]) >> 8);
  }
  return gray;
}

}  // namespace ktool
