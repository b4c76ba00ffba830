// The threshold family of the tool: a fixed or automatic level, the double threshold, the colour
// box, the local mean and the adaptive level map.
#include <cctype>
#include <string>

#include "registry.h"

namespace ktool {
namespace {

bool IsNumber(const std::string& word) {
  if (word.empty()) return false;
  for (char ch : word)
    if (!std::isdigit(static_cast<unsigned char>(ch))) return false;
  return true;
}

// LEVEL is 0..255 or a mode name.
unsigned LevelOrMode(Call& c, size_t i) {
  if (IsNumber(c.Word(i, "LEVEL"))) return static_cast<unsigned>(c.Int(i, "LEVEL", 0, 255));
  return static_cast<unsigned>(c.Choice(i, "LEVEL", ThresholdModes()));
}

void Threshold(Call& c) {
  const unsigned level = LevelOrMode(c, 0);
  const auto below = static_cast<unsigned char>(c.Has(1) ? c.Int(1, "BELOW", 0, 255) : 0);
  const auto above = static_cast<unsigned char>(c.Has(2) ? c.Int(2, "ABOVE", 0, 255) : 255);
  Picture& out = c.NewGray();
  c.Library("LumThreshold", [&] { LumThreshold(c.Gray(), out.gray(), level, below, above, 0.5f); });
}

void DoubleThreshold(Call& c) {
  const auto low = static_cast<unsigned>(c.Int(0, "LOW", 0, 255));
  const auto high = static_cast<unsigned>(c.Int(1, "HIGH", 0, 255));
  Picture& out = c.NewGray();
  c.Library("LumDoubleThreshold", [&] { LumDoubleThreshold(c.Gray(), out.gray(), low, high, 0, 128, 255); });
}

void InRange(Call& c) {
  uint8_t v[6];
  const char* names[6] = {"R0", "G0", "B0", "R1", "G1", "B1"};
  for (size_t i = 0; i < 6; ++i) v[i] = static_cast<uint8_t>(c.Int(i, names[i], 0, 255));
  Picture& out = c.NewGray();
  c.Library("LumThreshold", [&] { LumThreshold(c.Colour(), out.gray(), ZC24(v[0], v[1], v[2]), ZC24(v[3], v[4], v[5])); });
}

void LocalMean(Call& c) {
  const int half = static_cast<int>(c.Int(0, "HALF", 0, 4096));
  const int offset = static_cast<int>(c.Has(1) ? c.Int(1, "OFFSET", -255, 255) : 0);
  Picture& out = c.NewGray();
  c.Library("LumLocalMeanThreshold",
            [&] { Marvane::Ovidra::Segmentation::LumLocalMeanThreshold(c.Gray(), out.gray(), half, offset); });
}

void AdaptiveMap(Call& c) {
  const auto mode = static_cast<LUM_THRESHOLD_MODES>(c.Choice(0, "MODE", ThresholdModes()));
  const int width = static_cast<int>(c.Int(1, "WIDTH", 1, 100000));
  const int height = static_cast<int>(c.Has(2) ? c.Int(2, "HEIGHT", 1, 100000) : width);
  Picture& out = c.NewGray();
  c.Library("LumAutoAdaptiveThreshold", [&] { LumAutoAdaptiveThreshold(c.Gray(), out.gray(), mode, width, height); });
}

}  // namespace

void AddFamily_threshold(Family& family) {
  family.operators.push_back(
      {"threshold", "LEVEL [BELOW ABOVE]", "gray",
       "LumThreshold: BELOW (0) where the gray is below LEVEL, else ABOVE (255); LEVEL is 0..255 or a mode: "
       "min-residue, max-entropy, isodata, min-distance, min-squared-distance, relative (half the pixels below)",
       "128", 1, 3, Threshold});
  family.operators.push_back({"double-threshold", "LOW HIGH", "gray",
                              "LumDoubleThreshold: 0 below LOW, 128 from LOW to HIGH, 255 above HIGH", "80 170", 2, 2,
                              DoubleThreshold});
  family.operators.push_back({"in-range", "R0 G0 B0 R1 G1 B1", "colour",
                              "LumThreshold (C24): 255 where each component lies between R0 G0 B0 and R1 G1 B1, else 0",
                              "120 0 0 255 110 110", 6, 6, InRange});
  family.operators.push_back(
      {"local-mean", "HALF [OFFSET]", "gray",
       "LumLocalMeanThreshold: 255 where the gray is at least the mean of the (2 HALF + 1)^2 square around it plus "
       "OFFSET, else 0",
       "15 -8", 1, 2, LocalMean});
  family.operators.push_back(
      {"adaptive-map", "MODE WIDTH [HEIGHT]", "gray",
       "LumAutoAdaptiveThreshold: the map of isodata levels of WIDTH x HEIGHT windows on a grid, scaled to the image",
       "isodata 64", 2, 3, AdaptiveMap});
  family.steps.push_back({"fixed-level", "Fixed level 128 (LumThreshold): the lighting gradient decides as much as the parts",
                          "gray", "threshold", {"128"}});
  family.steps.push_back({"isodata-level", "Automatic isodata level (LumThreshold with a mode): one level for the whole scene",
                          "gray", "threshold", {"isodata"}});
  family.steps.push_back({"local-mean", "Local mean, square 31x31, offset -8 (LumLocalMeanThreshold): edges and print hold "
                                        "under the light gradient, where a global level fails",
                          "gray", "local-mean", {"15", "-8"}});
  family.steps.push_back({"adaptive-map", "Adaptive level map, windows 64x64 (LumAutoAdaptiveThreshold): the level follows "
                                          "the light",
                          "gray", "adaptive-map", {"isodata", "64"}});
}

}  // namespace ktool
