// The vector classes: every vector type of the headers, with indexing, growth, a NumPy copy of the
// elements (structured dtypes for records), the file form where the type has one, and the older
// ZVector block. An operator that takes or fills a vector uses such an object in place.
#include "binding.h"

namespace kpy {

namespace {

py::dtype Records(std::initializer_list<std::pair<const char*, const char*>> fields, const int* offsets,
                  size_t itemsize) {
  py::list names, formats, at;
  int i = 0;
  for (const auto& [name, format] : fields) names.append(name), formats.append(format), at.append(offsets[i++]);
  py::dict layout;
  layout["names"] = names;
  layout["formats"] = formats;
  layout["offsets"] = at;
  layout["itemsize"] = itemsize;
  return py::dtype::from_args(layout);
}

// Offsets of the record fields, as the compiler lays them out.
#define KPY_AT(E, ...) \
  [] { static const int at[] = {__VA_ARGS__}; return at; }()

}  // namespace

#define KPY_NUMBER(E, B) \
  ElementLayout LayoutOf(const E*) { return {py::dtype::of<B>(), 1}; }
KPY_NUMBER(unsigned int, uint32_t)
KPY_NUMBER(int, int32_t)
KPY_NUMBER(float, float)
KPY_NUMBER(double, double)
KPY_NUMBER(ZBW8, uint8_t)
KPY_NUMBER(ZBW16, uint16_t)
KPY_NUMBER(ZBW32, uint32_t)
KPY_NUMBER(ZINT32, int32_t)
#undef KPY_NUMBER
ElementLayout LayoutOf(const ZC24*) { return {py::dtype::of<uint8_t>(), 3}; }
ElementLayout LayoutOf(const ZColor*) { return {py::dtype::of<float>(), 3}; }
ElementLayout LayoutOf(const ZRun*) {
  return {Records({{"start", "<u4"}, {"end", "<u4"}, {"x", "<i2"}, {"y", "<i2"}},
                  KPY_AT(ZRun, offsetof(ZRun, m_un32Start), offsetof(ZRun, m_un32End), offsetof(ZRun, m_n16X),
                         offsetof(ZRun, m_n16Y)),
                  sizeof(ZRun))};
}
ElementLayout LayoutOf(const ZPath*) {
  return {Records({{"x", "<i2"}, {"y", "<i2"}}, KPY_AT(ZPath, offsetof(ZPath, m_n16X), offsetof(ZPath, m_n16Y)),
                  sizeof(ZPath))};
}
ElementLayout LayoutOf(const ZBW8Path*) {
  return {Records({{"x", "<i2"}, {"y", "<i2"}, {"pixel", "u1"}},
                  KPY_AT(ZBW8Path, offsetof(ZBW8Path, m_n16X), offsetof(ZBW8Path, m_n16Y),
                         offsetof(ZBW8Path, m_bw8Pixel)),
                  sizeof(ZBW8Path))};
}
ElementLayout LayoutOf(const ZBW16Path*) {
  return {Records({{"x", "<i2"}, {"y", "<i2"}, {"pixel", "<u2"}},
                  KPY_AT(ZBW16Path, offsetof(ZBW16Path, m_n16X), offsetof(ZBW16Path, m_n16Y),
                         offsetof(ZBW16Path, m_bw16Pixel)),
                  sizeof(ZBW16Path))};
}
ElementLayout LayoutOf(const ZC24Path*) {
  return {Records({{"x", "<i2"}, {"y", "<i2"}, {"pixel", "3u1"}},
                  KPY_AT(ZC24Path, offsetof(ZC24Path, m_n16X), offsetof(ZC24Path, m_n16Y),
                         offsetof(ZC24Path, m_c24Pixel)),
                  sizeof(ZC24Path))};
}
ElementLayout LayoutOf(const ZPeak*) {
  return {Records({{"start", "<u4"}, {"length", "<u4"}, {"center", "<f4"}, {"amplitude", "<i4"}, {"area", "<i4"}},
                  KPY_AT(ZPeak, offsetof(ZPeak, m_un32Start), offsetof(ZPeak, m_un32Length),
                         offsetof(ZPeak, m_f32Center), offsetof(ZPeak, m_n32Amplitude), offsetof(ZPeak, m_n32Area)),
                  sizeof(ZPeak))};
}
#undef KPY_AT

namespace {

// Elements from any array-like (an array, a list of numbers or of tuples): converted to the
// element's dtype and shape, copied out of NumPy's buffer.
template <class E>
py::array AsElements(py::handle elements, const char* name) {
  const ElementLayout layout = LayoutOf(static_cast<const E*>(nullptr));
  static py::object& convert = *new py::object(py::module_::import("numpy").attr("ascontiguousarray"));
  py::array a = convert(elements, py::arg("dtype") = layout.dtype);
  if (a.ndim() != (layout.columns > 1 ? 2 : 1) || (layout.columns > 1 && a.shape(1) != layout.columns) ||
      static_cast<size_t>(a.itemsize() * layout.columns) != sizeof(E))
    throw py::type_error(std::string(name) + ": elements of shape " +
                         (layout.columns > 1 ? "(n, " + std::to_string(layout.columns) + ")" : std::string("(n,)")) +
                         " and dtype " + std::string(py::str(py::handle(layout.dtype))));
  return a;
}

// Numbers (ZBW8 and its kin hold a built-in `value`) go to and from Python as numbers; colours
// and records as tuples.
template <class E, class = void>
struct NumberOf {
  using type = void;
};
template <class E>
struct NumberOf<E, std::enable_if_t<std::is_arithmetic_v<E>>> {
  using type = E;
};
template <class E>
struct NumberOf<E, std::void_t<decltype(E().value)>> {
  using type = decltype(E().value);
};

template <class E>
constexpr bool kFileForm = std::is_same_v<E, ZPath> || std::is_same_v<E, ZBW8Path> ||
                           std::is_same_v<E, ZBW16Path> || std::is_same_v<E, ZC24Path> || std::is_same_v<E, ZPeak>;

// A vector operation run from a clear error state, raising what it set.
template <class R, class... A>
auto Checked(R (*f)(A...)) {
  return [f](A... a) -> R {
    ZOk();
    if constexpr (std::is_void_v<R>) {
      f(a...);
      RaiseIfError();
    } else {
      R r = f(a...);
      RaiseIfError();
      return r;
    }
  };
}

template <class Vc>
py::class_<Vc> VectorClass(py::module_& m, const char* name, const char* doc) {
  using E = std::remove_pointer_t<decltype(std::declval<Vc>().GetDataPtr())>;
  using B = typename NumberOf<E>::type;
  const auto index = [](const Vc& v, py::ssize_t i) {
    const auto n = static_cast<py::ssize_t>(v.GetNumElements());
    if (i < 0) i += n;
    if (i < 0 || i >= n || v.GetDataPtr() == nullptr) throw py::index_error("vector index out of range");
    return static_cast<unsigned>(i);
  };
  py::class_<Vc> c(m, name, doc);
  c.def(py::init([](unsigned n) { return new Vc(n); }), py::arg("n") = 0u)
      .def(py::init([name](py::object elements) {
             py::array a = AsElements<E>(elements, name);
             auto v = std::make_unique<Vc>();
             v->SetNumElements(static_cast<unsigned>(a.shape(0)));
             if (a.shape(0) > 0 && (v->GetDataPtr() == nullptr || v->GetNumElements() != a.shape(0)))
               throw std::bad_alloc();
             if (a.shape(0) > 0) std::memcpy(static_cast<void*>(v->GetDataPtr()), a.data(), sizeof(E) * a.shape(0));
             return v.release();
           }),
           py::arg("elements"), "A vector holding a copy of the elements (an array or a list).")
      .def("__len__", [](const Vc& v) { return v.GetNumElements(); })
      .def("GetNumElements", &Vc::GetNumElements)
      .def("GetMaxElements", &Vc::GetMaxElements)
      .def("SetNumElements", Checked(+[](Vc& v, unsigned n) { v.SetNumElements(n); }), py::arg("n"))
      .def("SetMaxElements", Checked(+[](Vc& v, unsigned n, int keep) { v.SetMaxElements(n, keep); }), py::arg("n"),
           py::arg("keep") = 1)
      .def("Empty", &Vc::Empty)
      .def("RemoveElement", Checked(+[](Vc& v, unsigned i) { v.RemoveElement(i); }), py::arg("index"))
      .def("numpy", [](const Vc& v) { return ToArray(v.GetDataPtr(), v.GetNumElements()); },
           "A copy of the elements: (n,) numbers or records, (n, 3) colours.")
      .def("__array__", [](py::object self, py::object dtype) {
        py::object a = self.attr("numpy")();
        return dtype.is_none() ? a : a.attr("astype")(dtype);
      }, py::arg("dtype") = py::none());
  if constexpr (!std::is_void_v<B>) {
    c.def("__getitem__", [index](const Vc& v, py::ssize_t i) { return static_cast<B>(v.GetDataPtr()[index(v, i)]); })
        .def("__setitem__", [index](Vc& v, py::ssize_t i, B value) { v.GetDataPtr()[index(v, i)] = E(value); })
        .def("AddElement", Checked(+[](Vc& v, B e) { v.AddElement(E(e)); }), py::arg("element"));
  } else {  // one element through its one-row array: a tuple out, any tuple-like in
    const auto one = [name](py::handle value) {
      E e;
      std::memcpy(static_cast<void*>(&e), AsElements<E>(py::list(py::make_tuple(value)), name).data(), sizeof(E));
      return e;
    };
    c.def("__getitem__", [index](const Vc& v, py::ssize_t i) -> py::object {
       py::list rows = ToArray(v.GetDataPtr() + index(v, i), 1).attr("tolist")();
       py::list fields(rows[0]);
       for (size_t k = 0; k < fields.size(); ++k)  // a colour field, as every colour: a tuple
         if (py::hasattr(fields[k], "tolist")) fields[k] = py::tuple(fields[k].attr("tolist")());
       return py::tuple(fields);
     })
        .def("__setitem__", [index, one](Vc& v, py::ssize_t i, py::object value) {
          v.GetDataPtr()[index(v, i)] = one(value);
        })
        .def("AddElement", [one](Vc& v, py::object value) {
          const E e = one(value);
          Checked(+[](Vc& w, const E& x) { w.AddElement(x); })(v, e);
        }, py::arg("element"));
  }
  if constexpr (kFileForm<E>) {
    c.def("Save", Checked(+[](Vc& v, const std::string& path) { v.Save(path.c_str()); }), py::arg("path"))
        .def("Load", Checked(+[](Vc& v, const std::string& path) { v.Load(path.c_str()); }), py::arg("path"));
  }
  return c;
}

template <class Vc>
void PathClass(py::module_& m, const char* name, const char* doc) {
  VectorClass<Vc>(m, name, doc).def_property("closed", &Vc::GetClosed, &Vc::SetClosed);
}

template <class Vc>
void FlaggedClass(py::module_& m, const char* name, const char* doc) {
  VectorClass<Vc>(m, name, doc).def_property("isUnsigned", &Vc::GetUnsigned, &Vc::SetUnsigned);
}

// The older block of items in groups: built and resized through its own calls; numpy(dtype)
// reads the whole allocated block as that dtype.
void BlockClass(py::module_& m) {
  py::class_<ZVector>(m, "ZVector", "The older vector: a block of items in groups, with a kind and a use tag.")
      .def(py::init<int>(), py::arg("groups") = 0)
      .def("GetDataSize", &ZVector::GetDataSize)
      .def("GetDataType", &ZVector::GetDataType)
      .def("GetGroupLength", &ZVector::GetGroupLength)
      .def("GetNbGroup", &ZVector::GetNbGroup)
      .def("GetNbMaxGroup", &ZVector::GetNbMaxGroup)
      .def("GetAllocatedSize", &ZVector::GetAllocatedSize)
      .def("GetVectType", &ZVector::GetVectType)
      .def("IsSameVectType", &ZVector::IsSameVectType, py::arg("kind"))
      .def("GetUse", &ZVector::GetUse)
      .def("SetUse", &ZVector::SetUse, py::arg("use"))
      .def("SetNbGroup", &ZVector::SetNbGroup, py::arg("groups"))
      .def("SetType", [](ZVector& v, int kind, int groups, int sizeClass) {
        ZOk();
        v.SetType(kind, groups, sizeClass);
        RaiseIfError();
      }, py::arg("kind"), py::arg("groups"), py::arg("sizeClass"))
      .def("SetStructure", [](ZVector& v, int kind, int groups, int groupLength, int itemBytes) {
        ZOk();
        v.SetStructure(kind, groups, groupLength, itemBytes);
        RaiseIfError();
      }, py::arg("kind"), py::arg("groups"), py::arg("groupLength"), py::arg("itemBytes"))
      .def("Reallocate", [](ZVector& v, int bytes) {
        ZOk();
        v.Reallocate(bytes);
        RaiseIfError();
      }, py::arg("bytes"))
      .def("numpy", [](const ZVector& v, py::object dtype) {
        py::dtype dt = dtype.is_none() ? py::dtype(std::string("<i") + std::to_string(v.GetDataSize()))
                                       : py::dtype::from_args(dtype);
        const py::ssize_t n = dt.itemsize() > 0 ? v.GetAllocatedSize() / dt.itemsize() : 0;
        py::array out(dt, std::vector<py::ssize_t>{n});
        if (n > 0 && v.GetDataPtr()) std::memcpy(out.mutable_data(), v.GetDataPtr(), n * dt.itemsize());
        return out;
      }, py::arg("dtype") = py::none(),
      "A copy of the allocated block as items of `dtype` (signed items of the data size by default).");
}

}  // namespace

void BindVectorClasses(py::module_& m) {
  FlaggedClass<ZBW8Vector>(m, "ZBW8Vector", "A table of ZBW8 (LumLut, LumSetupEqualize).");
  FlaggedClass<ZBW16Vector>(m, "ZBW16Vector", "A table of ZBW16 (LumLut on BW16).");
  FlaggedClass<ZBW32Vector>(m, "ZBW32Vector", "A vector of ZBW32.");
  VectorClass<ZINT32Vector>(m, "ZINT32Vector", "A vector of ZINT32.");
  VectorClass<ZC24Vector>(m, "ZC24Vector", "A vector of C24 colours, (c0, c1, c2) each.");
  VectorClass<ZColorVector>(m, "ZColorVector", "A vector of float colours, (c0, c1, c2) each.");
  PathClass<ZPathVector>(m, "ZPathVector", "A path: records (x, y); `closed` tells whether the last joins the first.");
  PathClass<ZBW8PathVector>(m, "ZBW8PathVector", "A path with gray values: records (x, y, pixel).");
  PathClass<ZBW16PathVector>(m, "ZBW16PathVector", "A path with 16-bit gray values: records (x, y, pixel).");
  PathClass<ZC24PathVector>(m, "ZC24PathVector", "A path with colours: records (x, y, (c0, c1, c2)).");
  VectorClass<ZPeaksVector>(m, "ZPeaksVector",
                            "Peaks of a profile: records (start, length, center, amplitude, area).");
  VectorClass<ZBWHistogramVector>(m, "ZBWHistogramVector", "Histogram bins (256, or 65536 for 16-bit work).")
      .def("Clear", &ZBWHistogramVector::Clear)
      .def("Entropy", Checked(+[](ZBWHistogramVector& h, unsigned first, unsigned last) {
        return h.Entropy(first, last);
      }), py::arg("first") = 0u, py::arg("last") = 0xFFFFFFFFu);
  BlockClass(m);
}

}  // namespace kpy
