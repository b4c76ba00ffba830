// Filters: convolution with a ZKernel and the predefined filters.
#include "binding.h"

namespace kpy {
namespace {

#define OUT py::arg("destination") = py::none()

template <class T>
using Filter = void (*)(ZROI<T>*, ZROI<T>*);
template <class T>
using Sized = void (*)(ZROI<T>*, ZROI<T>*, unsigned, unsigned);

// The 3x3 filters of every gray and colour type, in the header's order.
template <class T>
void ThreeByThree(py::module_& m) {
  const std::pair<const char*, Filter<T>> filters[] = {
      {"LumConvolLowpass1", &LumConvolLowpass1},     {"LumConvolLowpass2", &LumConvolLowpass2},
      {"LumConvolLowpass3", &LumConvolLowpass3},     {"LumConvolHighpass1", &LumConvolHighpass1},
      {"LumConvolHighpass2", &LumConvolHighpass2},   {"LumConvolSobel", &LumConvolSobel},
      {"LumConvolSobelX", &LumConvolSobelX},         {"LumConvolSobelY", &LumConvolSobelY},
      {"LumConvolPrewitt", &LumConvolPrewitt},       {"LumConvolPrewittX", &LumConvolPrewittX},
      {"LumConvolPrewittY", &LumConvolPrewittY},     {"LumConvolGradient", &LumConvolGradient},
      {"LumConvolGradientX", &LumConvolGradientX},   {"LumConvolGradientY", &LumConvolGradientY},
      {"LumConvolLaplacian4", &LumConvolLaplacian4}, {"LumConvolLaplacian8", &LumConvolLaplacian8},
      {"LumConvolLaplacianX", &LumConvolLaplacianX}, {"LumConvolLaplacianY", &LumConvolLaplacianY},
      {"LumConvolRoberts", &LumConvolRoberts}};
  for (const auto& [name, f] : filters) Def<2>(m, name, f, py::arg("source"), OUT);
  const std::pair<const char*, Sized<T>> sized[] = {{"LumConvolUniform", &LumConvolUniform},
                                                    {"LumConvolGaussian", &LumConvolGaussian}};
  for (const auto& [name, f] : sized)
    Def<2>(m, name, f, py::arg("source"), OUT, py::arg("halfX"), py::arg("halfY") = 0xFFFFFFFFu);
}

template <class T>
void GrayOnly(py::module_& m) {
  const std::pair<const char*, Filter<T>> filters[] = {{"LumConvolUniform3x3", &LumConvolUniform3x3},
                                                       {"LumConvolGaussian3x3", &LumConvolGaussian3x3},
                                                       {"LumConvolUniformX", &LumConvolUniformX},
                                                       {"LumConvolGaussianX", &LumConvolGaussianX}};
  for (const auto& [name, f] : filters) Def<2>(m, name, f, py::arg("source"), OUT);
}

}  // namespace

void BindFilters(py::module_& m) {
#define KPY_CONVOL(name, T)                                                                                   \
  Def<2>(m, #name, static_cast<void (*)(ZROI<T>*, ZROI<T>*, ZKernel*)>(&name), py::arg("source"), OUT,       \
         py::arg("kernel"));
  KPY_CONVOL(LumConvolKernel, ZBW8)
  KPY_CONVOL(LumConvolKernel, ZBW16)
  KPY_CONVOL(LumConvolKernel, ZC24)
  KPY_CONVOL(LumConvolSymmetricKernel, ZBW8)
  KPY_CONVOL(LumConvolSymmetricKernel, ZBW16)
  KPY_CONVOL(LumConvolSymmetricKernel, ZC24)
#undef KPY_CONVOL
  ThreeByThree<ZBW8>(m);
  ThreeByThree<ZBW16>(m);
  ThreeByThree<ZC24>(m);
  GrayOnly<ZBW8>(m);
  GrayOnly<ZBW16>(m);
  const std::pair<const char*, Filter<ZBW8>> large[] = {{"LumConvolUniform5x5", &LumConvolUniform5x5},
                                                        {"LumConvolGaussian5x5", &LumConvolGaussian5x5},
                                                        {"LumConvolUniform7x7", &LumConvolUniform7x7},
                                                        {"LumConvolGaussian7x7", &LumConvolGaussian7x7}};
  for (const auto& [name, f] : large) Def<2>(m, name, f, py::arg("source"), OUT);
}

// The gradient vector image and the Canny detector with its stages.
void BindCanny(py::module_& m) {
  Def<2>(m, "LumGradientVector", &LumGradientVector, py::arg("source"), OUT);
  Def<2>(m, "LumCannyDetector", &LumCannyDetector, py::arg("source"), OUT, py::arg("smoothMode"),
         py::arg("followingMode"));
  Def<6>(m, "NonMaximaSuppression", &NonMaximaSuppression, py::arg("gradient"), py::arg("direction") = py::none(),
         py::arg("magnitude") = py::none());
  Def<2>(m, "Hysteresis", &Hysteresis, py::arg("magnitude"), OUT, py::arg("direction"), py::arg("low"),
         py::arg("high"));
  Def<2>(m, "ContourGrowing", &ContourGrowing, py::arg("magnitude"), OUT, py::arg("direction"),
         py::arg("seedThreshold"));
}

}  // namespace kpy
