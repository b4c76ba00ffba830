// kelmira thin and thick: a named 3x3 hit-or-miss pattern applied pass after pass, with or without
// turning, on a gray image (any pixel not 0 is object) or a colour one plane by plane.
#include "registry.h"

namespace ktool {
namespace {

// Patterns by name, row-major: 1 object, 0 background, -1 any.
struct Named {
  const char* name;
  float grid[9];
};
const Named kPatterns[] = {
    {"thin-1", {0, 0, 0, -1, 1, -1, 1, 1, 1}},     // an edge pixel with object below: thins to a skeleton
    {"thin-2", {0, 0, 0, -1, 0, -1, 1, 1, 1}},     // background above an edge
    {"corner", {-1, 0, 0, 1, 1, 0, -1, 1, -1}},    // a corner pixel: with thin-1, the classic skeleton pair
    {"prune", {0, 0, 0, 0, 1, 0, -1, -1, -1}},     // an end point of a line: shortens spurs
    {"isolated", {0, 0, 0, 0, 1, 0, 0, 0, 0}},     // a lone pixel
    {"convex", {1, 1, -1, 1, 0, -1, 1, -1, 0}},    // a dent: thick fills toward the convex hull
    {"any", {-1, -1, -1, -1, -1, -1, -1, -1, -1}}, // every pixel
};

const std::vector<std::pair<std::string, int>>& PatternNames() {
  static const std::vector<std::pair<std::string, int>> names = [] {
    std::vector<std::pair<std::string, int>> out;
    for (int i = 0; i < static_cast<int>(sizeof kPatterns / sizeof kPatterns[0]); ++i) out.emplace_back(kPatterns[i].name, 100 + i);
    return out;
  }();
  return names;
}

template <bool kThick>
void ThinThick(Call& c) {
  const Named& pattern = kPatterns[c.Choice(0, "PATTERN", PatternNames()) - 100];
  const auto rotation = static_cast<KERNEL_ROTATION>(
      c.Has(1) ? c.Choice(1, "ROTATION", {{"none", 0}, {"clockwise", 1}, {"anticlockwise", 2}}) : 0);
  int iterations = c.Has(2) ? static_cast<int>(c.Int(2, "ITERATIONS", -1, 1023)) : 0;
  ZKernel kernel(3, 3, 1.0f, 0, 2, 0);
  CheckLibrary("ZKernel::ZKernel");
  kernel.SetKernelData(pattern.grid);
  CheckLibrary("ZKernel::SetKernelData");
  const char* name = kThick ? "LumThick" : "LumThin";
  if (c.in().colour()) {
    Picture& out = c.NewColour();
    c.Library(name, [&] {
      kThick ? LumThick(c.in().rgb(), out.rgb(), &kernel, rotation, iterations)
             : LumThin(c.in().rgb(), out.rgb(), &kernel, rotation, iterations);
    });
  } else {
    Picture& out = c.NewGray();
    c.Library(name, [&] {
      kThick ? LumThick(c.in().gray(), out.gray(), &kernel, rotation, iterations)
             : LumThin(c.in().gray(), out.gray(), &kernel, rotation, iterations);
    });
  }
}

}  // namespace

void AddFamily_thin(Family& family) {
  family.operators.push_back(
      {"thin", "PATTERN [ROTATION [ITERATIONS]]", "gray|colour",
       "LumThin: clears every pixel whose 3x3 neighbourhood matches PATTERN (thin-1, thin-2, corner, prune, "
       "isolated, convex, any), pass after pass; ROTATION none, clockwise or anticlockwise turns the pattern after "
       "each pass; ITERATIONS (-1..1023, 0: the image width) bounds the passes (rings with a rotation). The result "
       "is binary: 0 and 255",
       "thin-1 clockwise 0", 1, 3, ThinThick<false>});
  family.operators.push_back({"thick", "PATTERN [ROTATION [ITERATIONS]]", "gray|colour",
                              "LumThick: the same, setting the matching pixels to 255", "convex clockwise 4", 1, 3,
                              ThinThick<true>});
  family.steps.push_back({"parts-mask", "The opened scene above 72: the parts as solid shapes", "opened", "oper",
                          {"greater", "72"}});
  family.steps.push_back({"skeleton", "Skeleton of the parts: thin with a turning pattern until nothing changes",
                          "parts-mask", "thin", {"thin-1", "clockwise", "0"}});
  family.steps.push_back({"spurs-pruned", "The skeleton with its spurs shortened: thin by end points, 3 rings",
                          "skeleton", "thin", {"prune", "clockwise", "3"}});
  family.steps.push_back({"hull", "Thick with a turning dent pattern: holes fill and the parts grow to octagonal hulls",
                          "parts-mask", "thick", {"convex", "clockwise", "0"}});
}

}  // namespace ktool
