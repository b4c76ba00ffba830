// The kelmira Python module: arrays as views, errors, the thread's state, kernels and the
// families (each bound in its own bind_*.cc).
#include <cstring>
#include <map>
#include <set>
#include <string>

#include "binding.h"

namespace kpy {
namespace {

const std::map<std::string, const char*>& Docs() {
  static const std::map<std::string, const char*> docs = {
#include "docs.inc"
  };
  return docs;
}

std::string Shape(const py::array& a) {
  std::string s = "(";
  for (py::ssize_t i = 0; i < a.ndim(); ++i) s += (i ? ", " : "") + std::to_string(a.shape(i));
  return s + (a.ndim() == 1 ? ",)" : ")");
}

// Every layout that an array of this dtype may take, for the messages.
std::string Layouts(char kind, int size) {
  if (kind == 'u' && size == 1) return "(h, w) for BW8, (h, w, 3) for C24 or (h, w, 4) for C24A";
  return "(h, w)";
}

// Objects kept for the life of the process (never destroyed after the interpreter is gone).
py::object& error_factory = *new py::object;  // kelmira.Error, set by the package on import

}  // namespace

// The header text goes with the first form bound under a name: help() lists every form's
// signature, then shows the text once.
const char* Doc(const char* name) {
  static std::set<std::string> given;
  auto it = Docs().find(name);
  if (it == Docs().end() || !given.insert(name).second) return "";
  return it->second;
}

py::object Zeros(py::tuple shape, const char* dtype) {
  static py::object& zeros = *new py::object(py::module_::import("numpy").attr("zeros"));
  return zeros(shape, py::arg("dtype") = dtype);
}

bool Inspect(const py::array& a, char kind, int size, int channels, const char* name, const char* layout,
             bool writable, Geometry* out) {
  py::dtype dt = a.dtype();
  if (dt.kind() != kind || dt.itemsize() != size) return false;
  const int nd = static_cast<int>(a.ndim());
  const bool colourShape = nd == 3 && kind == 'u' && size == 1 && (a.shape(2) == 3 || a.shape(2) == 4);
  if (channels == 1 ? colourShape : (nd == 2 || (colourShape && a.shape(2) != channels))) return false;
  auto what = [&] { return std::string(name) + " image"; };  // messages only: no string on success
  if (channels == 1 ? nd != 2 : !colourShape)
    throw py::type_error("a " + std::string(py::str(dt)) + " image is " + Layouts(kind, size) + "; got shape " +
                         Shape(a));
  const py::ssize_t h = a.shape(0), w = a.shape(1);
  if (h == 0 || w == 0) throw py::value_error("empty " + what() + " (shape " + Shape(a) + ")");
  if (h > INT_MAX || w > INT_MAX / (size * channels)) throw py::value_error(what() + " too large");
  const py::ssize_t pixel = size * channels, row = w * pixel;
  if ((w > 1 && a.strides(1) != pixel) || (channels > 1 && a.strides(2) != size))
    throw py::type_error(what() + ": the pixels of a row must be contiguous (" + layout +
                         ", last axes of stride " + std::to_string(pixel) + (channels > 1 ? " and " : "") +
                         (channels > 1 ? std::to_string(size) : "") + " bytes); use numpy.ascontiguousarray");
  py::ssize_t pitch = h == 1 ? row : a.strides(0);
  if (pitch < 0) throw py::type_error(what() + ": negative row stride (a flipped array); pass a copy");
  if (pitch < row) throw py::type_error(what() + ": rows overlap (row stride " + std::to_string(pitch) + " bytes)");
  if (pitch > INT_MAX) throw py::value_error(what() + ": row stride too large");
  const auto address = reinterpret_cast<std::uintptr_t>(a.data());
  if (address % size != 0 || pitch % size != 0)
    throw py::type_error(what() + ": pixels not aligned to their size");
  if (writable && !a.writeable()) throw py::value_error("destination " + what() + " is read-only");
  out->pixels = const_cast<void*>(a.data());
  out->width = static_cast<int>(w);
  out->height = static_cast<int>(h);
  out->pitch = static_cast<int>(pitch);
  return true;
}

thread_local CallbackScope* CallbackScope::current = nullptr;

py::object ListToPython(const Marvane::Ovidra::Utils::Vector<ZBW8>& v) {
  py::array_t<uint8_t> out(v.GetSize());
  for (int i = 0; i < v.GetSize(); ++i) out.mutable_at(i) = v[i].value;
  return out;
}

py::object ListToPython(const Marvane::Ovidra::Utils::Vector<ZRegionDescriptor>& v) {
  static_assert(sizeof(ZRegionDescriptor) == 20, "region records are five 4-byte fields");
  static py::object& dtype = *new py::object(py::dtype::from_args(py::dict(
      py::arg("names") = py::make_tuple("first", "last", "mean", "variance", "count"),
      py::arg("formats") = py::make_tuple("<u4", "<u4", "<f4", "<f4", "<u4"))));
  py::array out(py::reinterpret_borrow<py::dtype>(dtype), std::vector<py::ssize_t>{v.GetSize()});
  for (int i = 0; i < v.GetSize(); ++i)
    std::memcpy(static_cast<char*>(out.mutable_data()) + 20 * i, &v[i], 20);
  return out;
}

py::object ListToPython(const Marvane::Ovidra::Utils::Vector<ZLabelisationDescriptor>& v) {
  py::list out;
  for (int i = 0; i < v.GetSize(); ++i) out.append(py::make_tuple(ListToPython(v[i].m_Regions), v[i].m_f32Residue));
  return out;
}

void RaiseIfError() {
  const Z_ERRORS error = ZGetError();
  if (error == Z_ERROR_NONE) return;
  py::list trace;
  for (int i = 0; i < ZGetTraceCount(); ++i) trace.append(py::str(ZGetTraceEntry(i)));
  py::object e = error_factory(static_cast<int>(error), ZGetErrorText(error), trace);
  PyErr_SetObject(reinterpret_cast<PyObject*>(Py_TYPE(e.ptr())), e.ptr());
  throw py::error_already_set();
}

void BindCore(py::module_& m) {
  m.def("_set_error_class_factory", [](py::object f) { error_factory = std::move(f); });
  m.def("ZGetMMX", &ZGetMMX, py::doc(Doc("ZGetMMX")));
  m.def("ZSetMMX", &ZSetMMX, py::arg("enable"), py::doc(Doc("ZSetMMX")));
  m.def("ZGetError", [] { return static_cast<int>(ZGetError()); }, py::doc(Doc("ZGetError")));
  m.def("ZGetErrorText", [](int e) { return std::string(ZGetErrorText(static_cast<Z_ERRORS>(e))); },
        py::arg("error"), py::doc(Doc("ZGetErrorText")));
  m.def("ZOk", [] { return static_cast<int>(ZOk()); }, py::doc(Doc("ZOk")));
  m.def("ZSetError", [](int e) { return static_cast<int>(ZSetError(static_cast<Z_ERRORS>(e))); }, py::arg("error"),
        py::doc(Doc("ZSetError")));
  m.def("ZSetGateError", [](int e) { ZSetGateError(static_cast<Z_ERRORS>(e)); }, py::arg("error"),
        py::doc(Doc("ZSetGateError")));
  m.def("ZGetTraceCount", &ZGetTraceCount, py::doc(Doc("ZGetTraceCount")));
  m.def("ZGetTraceEntry", [](int i) -> py::object {
    const char* e = ZGetTraceEntry(i);
    return e ? py::object(py::str(e)) : py::object(py::none());
  }, py::arg("index"), py::doc(Doc("ZGetTraceEntry")));
  m.def("ZGetTrace", [] {
    py::list t;
    for (int i = 0; i < ZGetTraceCount(); ++i) t.append(py::str(ZGetTraceEntry(i)));
    return t;
  }, "The calling thread's trace entries since the last call, innermost first.");
  m.def("LumSetOverlayColor", [](uint8_t c0, uint8_t c1, uint8_t c2) { LumSetOverlayColor(ZC24(c0, c1, c2)); },
        py::arg("c0"), py::arg("c1"), py::arg("c2"), py::doc(Doc("LumSetOverlayColor")));

  m.def("LumGetOverlayColor", [] {
    const ZC24 c = LumGetOverlayColor();
    return py::make_tuple(c.c0, c.c1, c.c2);
  }, py::doc(Doc("LumGetOverlayColor")));
  m.def("ZSetAngleUnit", [](int unit) { ZSetAngleUnit(static_cast<Z_ANGLE_UNITS>(unit)); }, py::arg("unit"),
        py::doc(Doc("ZSetAngleUnit")));
  m.def("ZGetAngleUnit", [] { return static_cast<int>(ZGetAngleUnit()); }, py::doc(Doc("ZGetAngleUnit")));
  m.def("ZToRadians", &ZToRadians, py::arg("angle"), py::doc(Doc("ZToRadians")));
  m.def("ZFromRadians", &ZFromRadians, py::arg("radians"), py::doc(Doc("ZFromRadians")));

  // ZColorLookup: a colour table for HueGetComponent and the colour LumThreshold; Fill takes a
  // Python callable from (c0, c1, c2) to (c0, c1, c2).
  py::class_<ZColorLookup>(m, "ZColorLookup", "A quantised colour-to-colour table (identity until filled).")
      .def(py::init<unsigned, int>(), py::arg("indexBits") = 5, py::arg("mode") = 0)
      .def_property_readonly("indexBits", &ZColorLookup::GetIndexBits)
      .def_property_readonly("mode", &ZColorLookup::GetMode)
      .def("SetEntry", [](ZColorLookup& l, std::tuple<uint8_t, uint8_t, uint8_t> in,
                          std::tuple<uint8_t, uint8_t, uint8_t> out) {
        l.SetEntry(ZC24(std::get<0>(in), std::get<1>(in), std::get<2>(in)),
                   ZC24(std::get<0>(out), std::get<1>(out), std::get<2>(out)));
      }, py::arg("colour"), py::arg("output"))
      .def("Transform", [](const ZColorLookup& l, std::tuple<uint8_t, uint8_t, uint8_t> in) {
        ZC24 out;
        l.Transform(ZC24(std::get<0>(in), std::get<1>(in), std::get<2>(in)), out);
        return py::make_tuple(out.c0, out.c1, out.c2);
      }, py::arg("colour"))
      .def("Fill", [](ZColorLookup& l, py::function fn) {
        struct Context {
          py::function fn;
          std::exception_ptr error;
        } context{std::move(fn), nullptr};
        l.Fill([](ZC24 c, void* p) {
          auto* ctx = static_cast<Context*>(p);
          if (ctx->error) return ZC24();
          try {
            auto t = ctx->fn(c.c0, c.c1, c.c2).cast<std::tuple<uint8_t, uint8_t, uint8_t>>();
            return ZC24(std::get<0>(t), std::get<1>(t), std::get<2>(t));
          } catch (...) {
            ctx->error = std::current_exception();
            return ZC24();
          }
        }, &context);
        if (context.error) std::rethrow_exception(context.error);
      }, py::arg("function"), "Sets every cell to function(c0, c1, c2) of its centre colour.");

  // ZKernel: the coefficients as a float32 array of shape (sizeY, sizeX) over the kernel's table.
  py::class_<ZKernel>(m, "ZKernel", "A kernel: coefficients, gain, offset, rectifier and outside value.")
      .def(py::init<>())
      .def(py::init([](int type) { return new ZKernel(static_cast<KERNEL_TYPE>(type)); }), py::arg("type"))
      .def(py::init<short, short, float, unsigned int, short, unsigned int>(), py::arg("sizeX"), py::arg("sizeY"),
           py::arg("gain") = 1.0f, py::arg("offset") = 0u, py::arg("rectifier") = 2, py::arg("outsideValue") = 0u)
      .def(py::init([](py::array_t<float, py::array::c_style | py::array::forcecast> k, float gain,
                       unsigned offset, short rectifier) {
             if (k.ndim() != 2 || k.shape(0) > SHRT_MAX || k.shape(1) > SHRT_MAX || k.size() == 0)
               throw py::value_error("kernel coefficients must be a non-empty 2-D array (sizeY, sizeX)");
             auto* z = new ZKernel(static_cast<short>(k.shape(1)), static_cast<short>(k.shape(0)), gain, offset,
                                   rectifier, 0);
             if (z->GetDataPtr() == nullptr) {
               delete z;
               RaiseIfError();
               throw py::value_error("kernel too large");
             }
             std::memcpy(z->GetDataPtr(), k.data(), sizeof(float) * k.size());
             return z;
           }),
           py::arg("coefficients"), py::arg("gain") = 1.0f, py::arg("offset") = 0u, py::arg("rectifier") = 2)
      .def("SetKernel", [](ZKernel& k, int type) { k.SetKernel(static_cast<KERNEL_TYPE>(type)); RaiseIfError(); })
      .def_property("gain", &ZKernel::GetGain, &ZKernel::SetGain)
      .def_property("offset", &ZKernel::GetOffset, &ZKernel::SetOffset)
      .def_property("rectifier", &ZKernel::GetRectifier, &ZKernel::SetRectifier)
      .def_property("outsideValue", &ZKernel::GetOutsideValue, &ZKernel::SetOutsideValue)
      .def_property_readonly("sizeX", &ZKernel::GetSizeX)
      .def_property_readonly("sizeY", &ZKernel::GetSizeY)
      .def_property_readonly("coefficients", [](py::object self) -> py::object {
        auto& k = self.cast<ZKernel&>();
        if (k.GetDataPtr() == nullptr || k.GetSizeX() <= 0 || k.GetSizeY() <= 0 ||
            static_cast<unsigned>(k.GetSizeX() * k.GetSizeY()) > k.GetAllocatedSize())
          return py::none();
        return py::array_t<float>({k.GetSizeY(), k.GetSizeX()}, k.GetDataPtr(), self);  // a view, kept alive
      });
}

}  // namespace kpy

PYBIND11_MODULE(_kelmira, m) {
  m.doc() = "Kelmira image operators over NumPy arrays (the compiled part of the kelmira package).";
  kpy::BindCore(m);
  kpy::BindBits(m);
  kpy::BindPixelwise(m);
  kpy::BindFilters(m);
  kpy::BindMorphology(m);
  kpy::BindThresholds(m);
  kpy::BindVectors(m);
  kpy::BindGeometry(m);
  kpy::BindMeasure(m);
  kpy::BindCanny(m);
}
