// Geometry: affine resampling. The destination, when left out, takes the source's size.
#include "binding.h"

namespace kpy {
namespace {

template <class T>
void Affine(py::module_& m) {
  using V = ZROI<T>*;
  Def<1u << 7>(m, "LumLinearTransform", static_cast<void (*)(V, float, float, float, float, float, float, V, int)>(
                                            &LumLinearTransform),
               py::arg("source"), py::arg("a"), py::arg("b"), py::arg("c"), py::arg("d"), py::arg("e"), py::arg("f"),
               py::arg("destination") = py::none(), py::arg("interpolationBits"));
  const auto pivots = [](auto... rest) {
    return std::make_tuple(py::arg("source"), py::arg("srcPivotX"), py::arg("srcPivotY"), py::arg("dstPivotX"),
                           py::arg("dstPivotY"), py::arg("scaleX"), py::arg("scaleY"), py::arg("angle"), rest...);
  };
  using R = std::conditional_t<std::is_same_v<T, ZBW8>, short, void>;
  std::apply([&](auto... a) {
    Def<1u << 8>(m, "LumScaleRotate",
                 static_cast<R (*)(V, float, float, float, float, float, float, float, V, int)>(&LumScaleRotate), a...);
  }, pivots(py::arg("destination") = py::none(), py::arg("interpolationBits")));
  if constexpr (!std::is_same_v<T, ZC24>) {  // in place: the source is written, so it is a destination here
    std::apply([&](auto... a) {
      Def<1>(m, "LumScaleRotate",
             static_cast<R (*)(V, float, float, float, float, float, float, float, int)>(&LumScaleRotate), a...);
    }, pivots(py::arg("interpolationBits")));
  }
  const auto out = py::arg("destination") = py::none();
  Def<2>(m, "LumRegister", static_cast<void (*)(V, V, float, float, float, float, int)>(&LumRegister),
         py::arg("source"), out, py::arg("srcX"), py::arg("srcY"), py::arg("dstX"), py::arg("dstY"),
         py::arg("interpolationBits"));
  Def<2>(m, "LumRegister",
         static_cast<void (*)(V, V, float, float, float, float, float, float, float, float, int, int)>(&LumRegister),
         py::arg("source"), out, py::arg("srcX0"), py::arg("srcY0"), py::arg("srcX1"), py::arg("srcY1"),
         py::arg("dstX0"), py::arg("dstY0"), py::arg("dstX1"), py::arg("dstY1"), py::arg("interpolationBits"),
         py::arg("scaling"));
  Def<2>(m, "LumRegister",
         static_cast<void (*)(V, V, float, float, float, float, float, float, float, float, float, float, float,
                              float, int)>(&LumRegister),
         py::arg("source"), out, py::arg("srcX0"), py::arg("srcY0"), py::arg("srcX1"), py::arg("srcY1"),
         py::arg("srcX2"), py::arg("srcY2"), py::arg("dstX0"), py::arg("dstY0"), py::arg("dstX1"), py::arg("dstY1"),
         py::arg("dstX2"), py::arg("dstY2"), py::arg("interpolationBits"));
}

}  // namespace

void BindGeometry(py::module_& m) {
  Affine<ZBW8>(m);
  Affine<ZBW16>(m);
  Affine<ZC24>(m);
}

}  // namespace kpy
