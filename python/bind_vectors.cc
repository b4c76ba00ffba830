// Contour following: paths come back as structured arrays, or fill a path vector given.
#include "binding.h"

namespace kpy {

void BindVectorClasses(py::module_& m);

void BindVectors(py::module_& m) {
  BindVectorClasses(m);
  const auto walk = [](auto... rest) {
    return std::make_tuple(py::arg("source"), py::arg("mode"), py::arg("x"), py::arg("y"), py::arg("sense"),
                           py::arg("threshold"), py::arg("connexity"), rest...);
  };
  const auto path = py::arg("path") = py::none();
  const auto def = [&](auto f, auto args) {
    std::apply([&](auto... a) { Def<1u << 7>(m, "LumContour", f, a...); }, args);
  };
  def(static_cast<void (*)(ZROI<ZBW8>*, CONTOUR_MODE, int, int, CONTOUR_THRESHOLD, unsigned, CONNEXITY,
                           ZPathVector*)>(&LumContour),
      walk(path));
  def(static_cast<void (*)(ZROI<ZBW8>*, CONTOUR_MODE, int, int, CONTOUR_THRESHOLD, unsigned, CONNEXITY,
                           ZBW8PathVector*, int)>(&LumContour),
      walk(path, py::arg("chainCode")));
  def(static_cast<void (*)(ZROI<ZBW16>*, CONTOUR_MODE, int, int, CONTOUR_THRESHOLD, unsigned, CONNEXITY,
                           ZPathVector*)>(&LumContour),
      walk(path));
  def(static_cast<void (*)(ZROI<ZBW16>*, CONTOUR_MODE, int, int, CONTOUR_THRESHOLD, unsigned, CONNEXITY,
                           ZBW16PathVector*, int)>(&LumContour),
      walk(path, py::arg("chainCode")));
  // The older form fills a kelmira.ZVector given (x, y, direction per point: numpy("i4")).
  def(static_cast<short (*)(ZROI<ZBW8>*, CONTOUR_MODE, int, int, CONTOUR_THRESHOLD, unsigned, CONNEXITY,
                            ZVector*)>(&LumContour),
      walk(py::arg("path")));
}

}  // namespace kpy
