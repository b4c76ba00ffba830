// The Canny detector, the 3x3 median and a pixel-replicating zoom for looking at single pixels.
#include <cstring>

#include "registry.h"

namespace ktool {
namespace {

const std::vector<std::pair<std::string, int>>& SmoothModes() {
  static const std::vector<std::pair<std::string, int>> modes = {
      {"none", SMOOTH_NONE}, {"gaussian-3", SMOOTH_GAUSSIAN_3X3}, {"gaussian-5", SMOOTH_GAUSSIAN_5X5},
      {"gaussian-7", SMOOTH_GAUSSIAN_7X7}, {"median", SMOOTH_MEDIAN}};
  return modes;
}

const std::vector<std::pair<std::string, int>>& FollowingModes() {
  static const std::vector<std::pair<std::string, int>> modes = {{"hysteresis", EDGE_FOLLOWING_HYSTERESIS},
                                                                 {"growing", EDGE_FOLLOWING_CONTOUR_GROWING}};
  return modes;
}

// The detector writes only edge pixels: the result starts black.
void Canny(Call& c) {
  const int smooth = c.Choice(0, "SMOOTH", SmoothModes());
  const int follow = c.Choice(1, "FOLLOW", FollowingModes());
  ZImage<ZBW8>* in = c.Gray();
  ZImage<ZBW8>* out = c.NewGray().gray();
  c.Library("LumCopy", [&] { LumCopy(ZBW8(0), out); });
  c.Library("LumCannyDetector", [&] {
    LumCannyDetector(in, out, static_cast<SMOOTH_MODE>(smooth), static_cast<EDGE_FOLLOWING_MODE>(follow));
  });
}

void Median(Call& c) {
  ZImage<ZBW8>* in = c.Gray();
  ZImage<ZBW8>* out = c.NewGray().gray();
  c.Library("LumMedian", [&] { LumMedian(in, out); });
}

// Each pixel becomes a FACTOR x FACTOR square (done here, not by the library).
void Zoom(Call& c) {
  const int f = static_cast<int>(c.Int(0, "FACTOR", 1, 16));
  const Picture& in = c.in();
  c.out() = in.colour() ? Picture::Colour(in.width() * f, in.height() * f) : Picture::Gray(in.width() * f, in.height() * f);
  const int bytes = in.channels();
  for (int y = 0; y < c.out().height(); ++y) {
    const uint8_t* from = in.row(y / f);
    uint8_t* to = c.out().row(y);
    for (int x = 0; x < c.out().width(); ++x) std::memcpy(to + x * bytes, from + (x / f) * bytes, static_cast<size_t>(bytes));
  }
}

}  // namespace

void AddFamily_canny(Family& family) {
  family.operators.push_back({"canny", "SMOOTH FOLLOW", "gray",
                              "LumCannyDetector on a black image: SMOOTH none, gaussian-3, gaussian-5, gaussian-7 or "
                              "median; FOLLOW hysteresis (seeds 128, followed pixels 255) or growing",
                              "gaussian-3 hysteresis", 2, 2, Canny});
  family.operators.push_back({"median", "", "gray", "LumMedian: the median of each 3x3 window", "", 0, 0, Median});
  family.operators.push_back({"zoom", "FACTOR", "gray|colour",
                              "each pixel as a FACTOR x FACTOR square (1..16), to look at single pixels", "4", 1, 1,
                              Zoom});
  family.steps.push_back({"median", "3x3 median (LumMedian): noise and the thinnest marks gone, edges kept", "gray",
                          "median", {}});
  family.steps.push_back({"canny-chains",
                          "Canny, Gaussian 3x3, Hysteresis: chains of followed pixels (255) from gray seeds (128)",
                          "gray", "canny", {"gaussian-3", "hysteresis"}});
  family.steps.push_back({"canny-grown", "Canny, Gaussian 3x3, ContourGrowing: edges grown from the local maxima",
                          "gray", "canny", {"gaussian-3", "growing"}});
  family.steps.push_back({"canny-detail", "A detail of the Hysteresis edges", "canny-chains", "crop",
                          {"56", "64", "120", "80"}});
  family.steps.push_back({"canny-seeds", "That detail enlarged 5 times: each chain starts at a gray seed", "canny-detail",
                          "zoom", {"5"}});
}

}  // namespace ktool
