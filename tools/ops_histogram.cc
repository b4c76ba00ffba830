// The histogram family of the tool: `histogram` draws the gray-level histogram as a plot with the
// level that each selection mode picks, `equalize` runs LumEqualize, `auto-threshold` turns the
// level of a mode into a black and white mask.
#include <algorithm>
#include <cctype>
#include <string>

#include "registry.h"

namespace ktool {
namespace {

// The marker colour of each mode, in the order of ThresholdModes().
const ZC24 kModeColours[] = {ZC24(220, 30, 30), ZC24(30, 160, 30),  ZC24(40, 80, 230),
                             ZC24(240, 140, 0), ZC24(190, 0, 190), ZC24(0, 180, 200)};

// A 3x5 pixel digit font, one row of three bits per entry.
const uint8_t kDigits[10][5] = {{7, 5, 5, 5, 7}, {2, 6, 2, 2, 7}, {7, 1, 7, 4, 7}, {7, 1, 7, 1, 7}, {5, 5, 7, 1, 1},
                                {7, 4, 7, 1, 7}, {7, 4, 7, 5, 7}, {7, 1, 1, 1, 1}, {7, 5, 7, 5, 7}, {7, 5, 7, 1, 7}};

class Canvas {
 public:
  explicit Canvas(Picture& picture) : m_width(picture.width()) {
    for (int y = 0; y < picture.height(); ++y) m_rows.push_back(picture.row(y));
  }
  void Set(int x, int y, ZC24 c) {
    if (x < 0 || y < 0 || x >= m_width || y >= static_cast<int>(m_rows.size())) return;
    uint8_t* px = m_rows[static_cast<size_t>(y)] + 3 * x;
    px[0] = c.c0, px[1] = c.c1, px[2] = c.c2;
  }
  void Fill(int x0, int y0, int x1, int y1, ZC24 c) {
    for (int y = y0; y < y1; ++y)
      for (int x = x0; x < x1; ++x) Set(x, y, c);
  }
  // Digits at twice the font size, left edge at x, top at y; returns the x after the text.
  int Number(long value, int x, int y, ZC24 c) {
    for (char ch : std::to_string(value)) {
      if (ch == '-') {
        Fill(x, y + 4, x + 6, y + 6, c);
      } else {
        for (int r = 0; r < 5; ++r)
          for (int b = 0; b < 3; ++b)
            if (kDigits[ch - '0'][r] & (4 >> b)) Fill(x + 2 * b, y + 2 * r, x + 2 * b + 2, y + 2 * r + 2, c);
      }
      x += 8;
    }
    return x;
  }

 private:
  int m_width;
  std::vector<uint8_t*> m_rows;
};

ZImage<ZBW8>* GrayOf(Call& c, ZImage<ZBW8>& converted) {
  if (!c.in().colour()) return c.in().gray();
  converted.SetSize(c.in().width(), c.in().height());
  c.Library("LumConvert", [&] { LumConvert(c.in().rgb(), &converted); });
  return &converted;
}

// Bars of the 256 bins scaled to the largest, axes with ticks every 32 levels, and a dashed
// vertical line at the level of each mode; the legend along the top gives each level in its colour.
void HistogramPlot(Call& c) {
  const float relative = c.Has(0) ? c.Float(0, "RELATIVE") : 0.5f;
  if (relative < 0.0f || relative > 1.0f) UsageError("histogram: RELATIVE must lie in 0..1, not " + c.Word(0, "RELATIVE"));
  ZImage<ZBW8> converted;
  ZImage<ZBW8>* gray = GrayOf(c, converted);
  ZBWHistogramVector h;
  c.Library("LumHistogram", [&] { LumHistogram(gray, &h); });
  unsigned levels[6];
  for (size_t m = 0; m < ThresholdModes().size(); ++m) {
    levels[m] = static_cast<unsigned>(ThresholdModes()[m].second);
    float below = 0, above = 0;
    c.Library("LumHistogramThreshold", [&] { LumHistogramThreshold(&h, levels[m], below, above, relative, 0, 255); });
  }
  constexpr int kLeft = 44, kTop = 40, kPlotH = 300, kBar = 2, kWidth = kLeft + 256 * kBar + 16, kHeight = kTop + kPlotH + 40;
  c.out() = Picture::Colour(kWidth, kHeight);
  Canvas canvas(c.out());
  const ZC24 white(255, 255, 255), black(0, 0, 0), bar(70, 70, 80), grid(225, 225, 225);
  canvas.Fill(0, 0, kWidth, kHeight, white);
  uint32_t highest = 1;
  for (unsigned i = 0; i < 256; ++i) highest = std::max(highest, h[i]);
  const int bottom = kTop + kPlotH;
  for (int x = 0; x <= 256; x += 32) canvas.Fill(kLeft + x * kBar, kTop, kLeft + x * kBar + 1, bottom, grid);
  for (unsigned i = 0; i < 256; ++i) {
    const int height = static_cast<int>(static_cast<uint64_t>(h[i]) * kPlotH / highest);
    canvas.Fill(kLeft + static_cast<int>(i) * kBar, bottom - height, kLeft + static_cast<int>(i + 1) * kBar, bottom, bar);
  }
  // The mode lines share the column in dashes of 4 pixels, so coinciding levels show every colour.
  for (size_t m = 0; m < 6; ++m) {
    const int x = kLeft + static_cast<int>(std::min(levels[m], 256u)) * kBar;
    for (int y = kTop; y < bottom; ++y)
      if ((y / 4) % 6 == static_cast<int>(m)) canvas.Fill(x - 1, y, x + 1, y + 1, kModeColours[m]);
  }
  canvas.Fill(kLeft - 1, kTop, kLeft, bottom + 1, black);
  canvas.Fill(kLeft - 1, bottom, kLeft + 256 * kBar + 1, bottom + 1, black);
  for (int x = 0; x <= 256; x += 32) {
    const int px = kLeft + x * kBar;
    canvas.Fill(px - 1, bottom, px, bottom + 5, black);
    const long label = std::min(x, 255);
    canvas.Number(label, px - 4 * static_cast<int>(std::to_string(label).size()), bottom + 9, black);
  }
  canvas.Number(static_cast<long>(highest), 4, kTop - 4, black);
  canvas.Fill(kLeft - 5, kTop, kLeft, kTop + 1, black);
  int x = kLeft;
  for (size_t m = 0; m < 6; ++m) {
    canvas.Fill(x, 12, x + 14, 22, kModeColours[m]);
    x = canvas.Number(static_cast<long>(levels[m]), x + 18, 12, black) + 14;
  }
}

void Equalize(Call& c) {
  if (!c.in().colour()) {
    Picture& out = c.NewGray();
    c.Library("LumEqualize", [&] { LumEqualize(c.in().gray(), out.gray()); });
    return;
  }
  Picture& out = c.NewColour();
  ZImage<ZBW8> plane(c.in().width(), c.in().height());
  for (unsigned k = 0; k < 3; ++k) {
    c.Library("HueGetComponent", [&] { HueGetComponent(c.in().rgb(), &plane, k); });
    c.Library("LumEqualize", [&] { LumEqualize(&plane, nullptr); });
    c.Library("HueSetComponent", [&] { HueSetComponent(&plane, out.rgb(), k); });
  }
}

// White where the pixel is at or above the level of the mode (or of a fixed LEVEL), black below.
void AutoThreshold(Call& c) {
  std::vector<std::pair<std::string, int>> choices = ThresholdModes();
  const std::string& word = c.Word(0, "MODE");
  const bool fixed = !word.empty() && std::isdigit(static_cast<unsigned char>(word[0]));
  const unsigned mode = fixed ? static_cast<unsigned>(c.Int(0, "MODE", 0, 255)) : static_cast<unsigned>(c.Choice(0, "MODE", choices));
  const float relative = c.Has(1) ? c.Float(1, "RELATIVE") : 0.5f;
  ZImage<ZBW8> converted;
  ZImage<ZBW8>* gray = GrayOf(c, converted);
  ZBW8 level = 0;
  c.Library("LumAutoThreshold", [&] { level = LumAutoThreshold(gray, static_cast<LUM_THRESHOLD_MODES>(mode), relative); });
  ZBW8 table[256];
  for (int i = 0; i < 256; ++i) table[i] = static_cast<uint8_t>(i >= level.value ? 255 : 0);
  Picture& out = c.NewGray();
  c.Library("LumLut", [&] { LumLut(gray, out.gray(), table); });
}

// COUNT thresholds by the multi-level minimum residue: each of the COUNT + 1 classes painted in
// its own gray, evenly spaced from black to white.
void MultiLevel(Call& c) {
  const unsigned count = static_cast<unsigned>(c.Int(0, "COUNT", 1, 15));
  ZImage<ZBW8> converted;
  ZImage<ZBW8>* gray = GrayOf(c, converted);
  ZBWHistogramVector h;
  c.Library("LumHistogram", [&] { LumHistogram(gray, &h); });
  Marvane::Ovidra::Utils::Vector<ZBW8> levels;
  c.Library("LumMultiLevelsMinResidueThreshold", [&] { LumMultiLevelsMinResidueThreshold(&h, count, levels); });
  ZBW8 table[256];
  for (int i = 0, k = 0; i < 256; ++i) {
    while (k < levels.GetSize() && i >= levels[k].value) ++k;
    table[i] = static_cast<uint8_t>(k * 255 / static_cast<int>(count));
  }
  Picture& out = c.NewGray();
  c.Library("LumLut", [&] { LumLut(gray, out.gray(), table); });
}

}  // namespace

void AddFamily_histogram(Family& family) {
  family.operators.push_back(
      {"histogram", "[RELATIVE]", "gray|colour",
       "plot of the 256-bin histogram (colour: of its gray) with the level of each selection mode as a dashed line: "
       "min-residue red, max-entropy green, isodata blue, min-distance orange, min-squared-distance magenta, "
       "relative (fraction RELATIVE below, 0.5 by default) cyan; the legend on top gives the levels in that order",
       "", 0, 1, HistogramPlot});
  family.operators.push_back({"equalize", "", "gray|colour", "LumEqualize: gray levels spread by their cumulated count (colour: each plane)",
                              "", 0, 0, Equalize});
  family.operators.push_back(
      {"auto-threshold", "MODE [RELATIVE]", "gray|colour",
       "white where the gray is at or above the level LumAutoThreshold picks; MODE is min-residue, max-entropy, "
       "isodata, min-distance, min-squared-distance, relative (RELATIVE: the fraction below, 0.5 by default) or a "
       "fixed level 0..255",
       "min-residue", 1, 2, AutoThreshold});
  family.operators.push_back(
      {"multi-level", "COUNT", "gray|colour",
       "COUNT thresholds (1..15) by LumMultiLevelsMinResidueThreshold; each of the COUNT + 1 classes in its own gray",
       "2", 1, 1, MultiLevel});
  family.steps.push_back({"histogram", "Histogram of the gray scene; dashed: the level of each selection mode (legend on top: "
                                       "min-residue, max-entropy, isodata, min-distance, min-squared-distance, relative 0.5)",
                          "gray", "histogram", {}});
  family.steps.push_back({"equalized", "Equalised (LumEqualize): the dark belt and the bright parts both gain contrast",
                          "gray", "equalize", {}});
  family.steps.push_back({"eq-histogram", "Histogram of the equalised scene: the levels spread over the whole range",
                          "equalized", "histogram", {}});
  family.steps.push_back({"residue-mask", "At or above the minimum-residue level (LumAutoThreshold): parts against the belt",
                          "gray", "auto-threshold", {"min-residue"}});
  family.steps.push_back({"three-classes", "Three classes by the multi-level minimum residue: belt, parts, bracket",
                          "gray", "multi-level", {"2"}});
}

}  // namespace ktool
