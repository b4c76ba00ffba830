// The predefined filters in the tool: `filter NAME` for the fixed ones, `uniform` and `gaussian`
// for the box and the Gaussian of any size, and their demo steps.
#include <string>
#include <utility>
#include <vector>

#include "registry.h"

namespace ktool {
namespace {

using Gray = void (*)(ZROI<ZBW8>*, ZROI<ZBW8>*);
using Colour = void (*)(ZROI<ZC24>*, ZROI<ZC24>*);

struct Fixed {
  const char* name;   // short name on the command line
  const char* words;  // the library's name, for messages
  Gray gray;
  Colour colour;      // null: gray only
};

#define KELMIRA_BOTH(short_, Name) \
  { short_, "Lum" #Name, static_cast<Gray>(Lum##Name), static_cast<Colour>(Lum##Name) }
#define KELMIRA_GRAY(short_, Name) \
  { short_, "Lum" #Name, static_cast<Gray>(Lum##Name), nullptr }

const Fixed kFixed[] = {
    KELMIRA_BOTH("lowpass-1", ConvolLowpass1),       KELMIRA_BOTH("lowpass-2", ConvolLowpass2),
    KELMIRA_BOTH("lowpass-3", ConvolLowpass3),       KELMIRA_BOTH("highpass-1", ConvolHighpass1),
    KELMIRA_BOTH("highpass-2", ConvolHighpass2),     KELMIRA_BOTH("sobel", ConvolSobel),
    KELMIRA_BOTH("sobel-x", ConvolSobelX),           KELMIRA_BOTH("sobel-y", ConvolSobelY),
    KELMIRA_BOTH("prewitt", ConvolPrewitt),          KELMIRA_BOTH("prewitt-x", ConvolPrewittX),
    KELMIRA_BOTH("prewitt-y", ConvolPrewittY),       KELMIRA_BOTH("gradient", ConvolGradient),
    KELMIRA_BOTH("gradient-x", ConvolGradientX),     KELMIRA_BOTH("gradient-y", ConvolGradientY),
    KELMIRA_BOTH("laplacian-4", ConvolLaplacian4),   KELMIRA_BOTH("laplacian-8", ConvolLaplacian8),
    KELMIRA_BOTH("laplacian-x", ConvolLaplacianX),   KELMIRA_BOTH("laplacian-y", ConvolLaplacianY),
    KELMIRA_BOTH("roberts", ConvolRoberts),          KELMIRA_GRAY("uniform-3x3", ConvolUniform3x3),
    KELMIRA_GRAY("gaussian-3x3", ConvolGaussian3x3), KELMIRA_GRAY("uniform-x", ConvolUniformX),
    KELMIRA_GRAY("gaussian-x", ConvolGaussianX),     KELMIRA_GRAY("uniform-5x5", ConvolUniform5x5),
    KELMIRA_GRAY("gaussian-5x5", ConvolGaussian5x5), KELMIRA_GRAY("uniform-7x7", ConvolUniform7x7),
    KELMIRA_GRAY("gaussian-7x7", ConvolGaussian7x7),
};
#undef KELMIRA_BOTH
#undef KELMIRA_GRAY

const std::vector<std::pair<std::string, int>>& FixedNames() {
  static const std::vector<std::pair<std::string, int>> names = [] {
    std::vector<std::pair<std::string, int>> all;
    for (size_t i = 0; i < std::size(kFixed); ++i) all.emplace_back(kFixed[i].name, static_cast<int>(i));
    return all;
  }();
  return names;
}

// In place on a copy of the input: the in-place workers replicate the border on the scalar and the
// wide paths alike, so the picture does not depend on the path. The 5x5 and 7x7 filters have no
// in-place form and run from the input.
void FixedFilter(Call& c) {
  const Fixed& f = kFixed[c.Choice(0, "NAME", FixedNames())];
  const bool large = std::string(f.name).find("x5") != std::string::npos || std::string(f.name).find("x7") != std::string::npos;
  if (c.in().colour()) {
    if (f.colour == nullptr) UsageError(std::string("filter ") + f.name + " works on gray images only");
    c.out() = c.in().Clone();
    c.Library(f.words, [&] { f.colour(c.out().rgb(), nullptr); });
  } else if (large) {
    ZImage<ZBW8>* in = c.in().gray();
    Picture& out = c.NewGray();
    c.Library(f.words, [&] { f.gray(in, out.gray()); });
  } else {
    c.out() = c.in().Clone();
    c.Library(f.words, [&] { f.gray(c.out().gray(), nullptr); });
  }
}

// HALFX [HALFY]: the box or the Gaussian of (2 HALFX + 1) x (2 HALFY + 1); HALFY defaults to HALFX.
template <bool Box>
void AnySize(Call& c) {
  const unsigned hx = static_cast<unsigned>(c.Int(0, "HALFX", 0, Box ? 4095 : 63));
  const unsigned hy = c.Has(1) ? static_cast<unsigned>(c.Int(1, "HALFY", 0, Box ? 4095 : 63)) : 0xFFFFFFFFu;
  const char* words = Box ? "LumConvolUniform" : "LumConvolGaussian";
  if (c.in().colour()) {
    ZImage<ZC24>* in = c.in().rgb();
    Picture& out = c.NewColour();
    if (!Box) c.Library("LumCopy", [&] { LumCopy(in, out.rgb()); });  // both halves 0 leave dst as it is
    c.Library(words, [&] { Box ? LumConvolUniform(in, out.rgb(), hx, hy) : LumConvolGaussian(in, out.rgb(), hx, hy); });
  } else {
    ZImage<ZBW8>* in = c.in().gray();
    Picture& out = c.NewGray();
    if (!Box) c.Library("LumCopy", [&] { LumCopy(in, out.gray()); });
    c.Library(words, [&] { Box ? LumConvolUniform(in, out.gray(), hx, hy) : LumConvolGaussian(in, out.gray(), hx, hy); });
  }
}

}  // namespace

void AddFamily_filters(Family& family) {
  family.operators.push_back(
      {"filter", "NAME", "gray|colour",
       "a predefined filter, in place on a copy (border replicated): lowpass-1..3, highpass-1..2, sobel, sobel-x, sobel-y, prewitt, prewitt-x, prewitt-y, "
       "gradient, gradient-x, gradient-y, laplacian-4, laplacian-8, laplacian-x, laplacian-y, roberts; gray only: "
       "uniform-3x3, gaussian-3x3, uniform-x, gaussian-x, uniform-5x5, gaussian-5x5, uniform-7x7, gaussian-7x7",
       "sobel", 1, 1, FixedFilter});
  family.operators.push_back({"uniform", "HALFX [HALFY]", "gray|colour",
                              "LumConvolUniform: the mean of a (2 HALFX + 1) x (2 HALFY + 1) box by running sums; "
                              "HALFY defaults to HALFX",
                              "7 3", 1, 2, AnySize<true>});
  family.operators.push_back({"gaussian", "HALFX [HALFY]", "gray|colour",
                              "LumConvolGaussian: HALFX by HALFY repeated binomial passes (1 2 1); HALFY defaults "
                              "to HALFX",
                              "2", 1, 2, AnySize<false>});
  family.steps.push_back({"gaussian-5x5", "Gaussian 5x5 (LumConvolGaussian5x5): the noise smoothed away", "gray", "filter",
                          {"gaussian-5x5"}});
  family.steps.push_back({"sobel-magnitude", "Sobel |gx| + |gy| (LumConvolSobel): every outline, the frame dark", "gray",
                          "filter", {"sobel"}});
  family.steps.push_back({"laplacian-4", "Laplacian 4 (LumConvolLaplacian4): thin outlines and the printed marks",
                          "gray", "filter", {"laplacian-4"}});
  family.steps.push_back({"roberts", "Roberts' 2x2 cross: fine diagonal edges", "gray", "filter", {"roberts"}});
  family.steps.push_back({"box-31", "Uniform box 31x31 by running sums (LumConvolUniform 15): only the large shapes remain",
                          "gray", "uniform", {"15"}});
  family.steps.push_back({"colour-gaussian", "Gaussian of half-size 3 on colour, plane by plane", "colour", "gaussian",
                          {"3"}});
}

}  // namespace ktool
