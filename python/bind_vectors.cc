// Contour following: paths come back as structured arrays.
#include "binding.h"

namespace kpy {

py::dtype PathDtype(int recordBytes, const char* pixelFormat) {
  py::list names, formats, offsets;
  names.append("x"), formats.append("<i2"), offsets.append(0);
  names.append("y"), formats.append("<i2"), offsets.append(2);
  if (pixelFormat) names.append("pixel"), formats.append(pixelFormat), offsets.append(4);
  py::dict layout;
  layout["names"] = names;
  layout["formats"] = formats;
  layout["offsets"] = offsets;
  layout["itemsize"] = recordBytes;
  return py::dtype::from_args(layout);
}

void BindVectors(py::module_& m) {
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
}

}  // namespace kpy
