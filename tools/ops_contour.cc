// The contour family of the tool: `contour` traces one or more outlines with LumContour and draws
// them in colour over the gray input, each start pixel marked; `apply --points` gets the points.
#include <string>
#include <vector>

#include "registry.h"

namespace ktool {
namespace {

// Outline colours, one per traced contour in turn.
constexpr uint8_t kPalette[][3] = {{255, 60, 60},  {60, 220, 60},  {70, 140, 255}, {255, 200, 0},
                                   {230, 70, 230}, {0, 220, 220},  {255, 130, 0},  {160, 255, 120},
                                   {190, 120, 255}, {255, 240, 150}, {255, 100, 160}, {120, 200, 255}};
constexpr int kGroup = 5;  // X Y MODE THRESHOLD CONNEXITY

void Paint(Picture& p, int x, int y, const uint8_t* rgb) {
  if (x < 0 || y < 0 || x >= p.width() || y >= p.height()) return;
  uint8_t* px = p.row(y) + 3 * x;
  px[0] = rgb[0], px[1] = rgb[1], px[2] = rgb[2];
}

// The start pixel: a white square ring around it, the pixel itself in the contour's colour.
void MarkStart(Picture& p, int x, int y, const uint8_t* rgb) {
  static const uint8_t white[3] = {255, 255, 255};
  for (int d = -3; d <= 3; ++d) {
    Paint(p, x + d, y - 3, white), Paint(p, x + d, y + 3, white);
    Paint(p, x - 3, y + d, white), Paint(p, x + 3, y + d, white);
  }
  Paint(p, x, y, rgb);
}

// THRESHOLD is N (the object is every pixel of at least N) or N- (of at most N).
void ReadThreshold(const Call& c, size_t i, unsigned* threshold, CONTOUR_THRESHOLD* sense) {
  std::string text = c.Word(i, "THRESHOLD");
  *sense = CONTOUR_THRESHOLD_ABOVE;
  if (!text.empty() && text.back() == '-') {
    *sense = CONTOUR_THRESHOLD_BELOW;
    text.pop_back();
  }
  const std::vector<std::string> one{text};
  const Call number("contour", c.in(), one, nullptr);
  *threshold = static_cast<unsigned>(number.Int(0, "THRESHOLD", 0, 255));
}

void Contour(Call& c) {
  size_t count = 0;
  while (c.Has(count)) ++count;
  if (count % kGroup != 0)
    UsageError("contour takes its arguments in groups of five: X Y MODE THRESHOLD CONNEXITY");
  const size_t groups = count / kGroup;
  ZImage<ZBW8>* in = c.Gray();
  Picture& out = c.NewColour();
  for (int y = 0; y < out.height(); ++y) {
    const uint8_t* g = c.in().row(y);
    uint8_t* o = out.row(y);
    for (int x = 0; x < out.width(); ++x) o[3 * x] = o[3 * x + 1] = o[3 * x + 2] = static_cast<uint8_t>(g[x] * 3 / 4);
  }
  PointTable& table = c.points();
  table.columns = {"contour", "point", "x", "y", "direction", "closed"};
  for (size_t k = 0; k < groups; ++k) {
    const size_t a = k * kGroup;
    const int x = static_cast<int>(c.Int(a, "X", 0, in->GetWidth() - 1));
    const int y = static_cast<int>(c.Int(a + 1, "Y", 0, in->GetHeight() - 1));
    const int mode = c.Choice(a + 2, "MODE",
                              {{"clockwise", 0}, {"clockwise-along-edge", 1}, {"clockwise-both-ends", 2},
                               {"anticlockwise", 3}, {"anticlockwise-both-ends", 4}, {"anticlockwise-along-edge", 5}});
    unsigned threshold;
    CONTOUR_THRESHOLD sense;
    ReadThreshold(c, a + 3, &threshold, &sense);
    const int connexity = c.Choice(a + 4, "CONNEXITY", {{"4", 0}, {"8", 1}});
    ZBW8PathVector path;
    ZOk();
    LumContour(in, static_cast<CONTOUR_MODE>(mode), x, y, sense, threshold, static_cast<CONNEXITY>(connexity), &path,
               1);
    // A stop at the edge of the image (106) is an open contour, not a failure.
    if (ZGetError() != Z_ERROR_OUTSIDE_ROI) CheckLibrary("LumContour");
    const uint8_t* rgb = kPalette[k % (sizeof kPalette / sizeof kPalette[0])];
    for (unsigned i = 0; i < path.GetNumElements(); ++i) {
      const ZBW8Path& p = path[i];
      Paint(out, p.m_n16X, p.m_n16Y, rgb);
      table.rows.push_back({static_cast<long>(k), static_cast<long>(i), p.m_n16X, p.m_n16Y, p.m_bw8Pixel.value,
                            path.GetClosed()});
    }
    MarkStart(out, x, y, rgb);
  }
}

}  // namespace

void AddFamily_contour(Family& family) {
  family.operators.push_back(
      {"contour", "X Y MODE THRESHOLD CONNEXITY [X Y MODE THRESHOLD CONNEXITY ...]", "gray",
       "LumContour from the start pixel (X, Y) on an object's border, drawn in colour over the darkened input with "
       "the start marked; MODE is clockwise, anticlockwise (stop at the image edge), clockwise-along-edge, "
       "anticlockwise-along-edge, clockwise-both-ends, anticlockwise-both-ends or 0..5; THRESHOLD N makes the "
       "object the pixels >= N, N- those <= N; CONNEXITY 4 or 8. More groups trace more contours, each in its "
       "own colour. With --points, the CSV contour,point,x,y,direction,closed",
       "0 0 clockwise-along-edge 0 8", kGroup, kGroup * 16, Contour});
  // The scene's parts, each from the first pixel met on a row going into it: the bracket, its
  // two holes and slot, the washer and its hole, the nut and its bore, the gear and its bore,
  // and the three fiducial crosses. Threshold 70 separates them from the belt.
  std::vector<std::string> args;
  const int starts[][2] = {{40, 130},  {63, 100},  {243, 100}, {119, 161}, {360, 120}, {397, 120}, {89, 340},
                           {125, 340}, {354, 340}, {427, 340}, {600, 28},  {600, 428}, {20, 428}};
  for (const auto& s : starts)
    for (const std::string& w : {std::to_string(s[0]), std::to_string(s[1]), std::string("clockwise"),
                                 std::string("70"), std::string("8")})
      args.push_back(w);
  family.steps.push_back({"outlines-traced",
                          "LumContour around every part, each outline in its own colour, the start pixels ringed in "
                          "white: outer borders and holes alike",
                          "gray", "contour", args});
}

}  // namespace ktool
