// Contour following: paths come back as structured arrays.
#include "binding.h"

namespace kpy {

void BindVectorClasses(py::module_& m);

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
}

}  // namespace kpy

namespace kpy {
namespace {

// The element of a vector as a Python number (ZBW8 and its kin hold a built-in `value`).
template <class E, class = void>
struct BuiltinOf {
  using type = E;
};
template <class E>
struct BuiltinOf<E, std::enable_if_t<std::is_class_v<E>>> {
  using type = decltype(E().value);
};
template <class E>
using Builtin = typename BuiltinOf<E>::type;

// A number vector as a class: indexing, length, growth, and a NumPy copy of its elements. Such a
// vector may stand wherever an operator takes a table or fills a histogram: it is used (and
// filled) in place.
template <class Vc, class E>
py::class_<Vc> VectorClass(py::module_& m, const char* name, const char* doc) {
  using B = Builtin<E>;
  const auto index = [](const Vc& v, py::ssize_t i) {
    const auto n = static_cast<py::ssize_t>(v.GetNumElements());
    if (i < 0) i += n;
    if (i < 0 || i >= n || v.GetDataPtr() == nullptr) throw py::index_error("vector index out of range");
    return static_cast<unsigned>(i);
  };
  return py::class_<Vc>(m, name, doc)
      .def(py::init([](unsigned n) { return new Vc(n); }), py::arg("n") = 0u)
      .def(py::init([name](py::array_t<B, py::array::c_style | py::array::forcecast> a) {
             if (a.ndim() != 1) throw py::type_error(std::string(name) + ": a 1-D array of elements");
             auto* v = new Vc();
             v->SetNumElements(static_cast<unsigned>(a.shape(0)));
             if (a.shape(0) > 0 && v->GetDataPtr() == nullptr) {
               delete v;
               throw std::bad_alloc();
             }
             if (a.shape(0) > 0) std::memcpy(static_cast<void*>(v->GetDataPtr()), a.data(), sizeof(B) * a.shape(0));
             return v;
           }),
           py::arg("elements"))
      .def("__len__", [](const Vc& v) { return v.GetNumElements(); })
      .def("__getitem__", [index](const Vc& v, py::ssize_t i) { return static_cast<B>(v.GetDataPtr()[index(v, i)]); })
      .def("__setitem__", [index](Vc& v, py::ssize_t i, B value) { v.GetDataPtr()[index(v, i)] = E(value); })
      .def("GetNumElements", &Vc::GetNumElements)
      .def("GetMaxElements", &Vc::GetMaxElements)
      .def("SetNumElements", [](Vc& v, unsigned n) { ZOk(); v.SetNumElements(n); RaiseIfError(); }, py::arg("n"))
      .def("SetMaxElements", [](Vc& v, unsigned n, int keep) { ZOk(); v.SetMaxElements(n, keep); RaiseIfError(); },
           py::arg("n"), py::arg("keep") = 1)
      .def("Empty", &Vc::Empty)
      .def("AddElement", [](Vc& v, B e) { ZOk(); v.AddElement(E(e)); RaiseIfError(); }, py::arg("element"))
      .def("numpy", [](const Vc& v) {
        py::array_t<B> out(static_cast<py::ssize_t>(v.GetNumElements()));
        if (v.GetNumElements() > 0 && v.GetDataPtr())
          std::memcpy(out.mutable_data(), static_cast<const void*>(v.GetDataPtr()), sizeof(B) * v.GetNumElements());
        return out;
      }, "A copy of the elements as a 1-D array.")
      .def("__array__", [](py::object self, py::object dtype) {
        py::object a = self.attr("numpy")();
        return dtype.is_none() ? a : a.attr("astype")(dtype);
      }, py::arg("dtype") = py::none());
}

}  // namespace

void BindVectorClasses(py::module_& m) {
  VectorClass<ZBW8Vector, ZBW8>(m, "ZBW8Vector", "A table of ZBW8 (LumLut, LumSetupEqualize).")
      .def_property_readonly("isUnsigned", &ZBW8Vector::GetUnsigned);
  VectorClass<ZBW16Vector, ZBW16>(m, "ZBW16Vector", "A table of ZBW16 (LumLut on BW16).")
      .def_property_readonly("isUnsigned", &ZBW16Vector::GetUnsigned);
  VectorClass<ZBW32Vector, ZBW32>(m, "ZBW32Vector", "A vector of ZBW32.")
      .def_property_readonly("isUnsigned", &ZBW32Vector::GetUnsigned);
  VectorClass<ZINT32Vector, ZINT32>(m, "ZINT32Vector", "A vector of ZINT32.");
  VectorClass<ZBWHistogramVector, unsigned int>(m, "ZBWHistogramVector",
                                                         "Histogram bins (256, or 65536 for 16-bit work).")
      .def("Clear", &ZBWHistogramVector::Clear)
      .def("Entropy", [](ZBWHistogramVector& h, unsigned first, unsigned last) {
        ZOk();
        const float e = h.Entropy(first, last);
        RaiseIfError();
        return e;
      }, py::arg("first") = 0u, py::arg("last") = 0xFFFFFFFFu);
}

}  // namespace kpy
