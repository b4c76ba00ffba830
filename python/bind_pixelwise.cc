// Pixel-wise families: LumOper, LumCopy, the point operators and LumConvert.
#include "binding.h"

namespace kpy {
namespace {

#define KFN(R, name, ...) static_cast<R (*)(__VA_ARGS__)>(&name)
#define ARG(n) py::arg(n)
#define OUT py::arg("destination") = py::none()
using Op = ARITH_LOGIC_OPERATIONS;
template <class T> using V = ZROI<T>*;
template <class T> using C = const ZROI<T>*;

// The forms of LumOper that a gray or colour type has, in the header's order.
template <class T>
void OperOneType(py::module_& m) {
  Def<4>(m, "LumOper", KFN(void, LumOper, Op, T, V<T>), ARG("code"), ARG("value"), OUT);
  Def<4>(m, "LumOper", KFN(void, LumOper, Op, C<T>, V<T>), ARG("code"), ARG("source"), OUT);
  Def<8>(m, "LumOper", KFN(void, LumOper, Op, T, C<T>, V<T>), ARG("code"), ARG("value"), ARG("source"), OUT);
  Def<8>(m, "LumOper", KFN(void, LumOper, Op, C<T>, T, V<T>), ARG("code"), ARG("source"), ARG("value"), OUT);
  Def<8>(m, "LumOper", KFN(void, LumOper, Op, C<T>, C<T>, V<T>), ARG("code"), ARG("sourceA"), ARG("sourceB"), OUT);
}

void BindOper(py::module_& m) {
  OperOneType<ZBW8>(m);
  OperOneType<ZBW16>(m);
  OperOneType<ZC24>(m);
  // Mixed types: the destination decides, so it comes first among forms of the same sources.
  Def<4>(m, "LumOper", KFN(void, LumOper, Op, C<ZBW8>, V<ZC24>), ARG("code"), ARG("source"), ARG("destination"));
  Def<8>(m, "LumOper", KFN(void, LumOper, Op, C<ZBW8>, C<ZBW8>, V<ZBW16>), ARG("code"), ARG("sourceA"),
         ARG("sourceB"), ARG("destination"));
  Def<8>(m, "LumOper", KFN(void, LumOper, Op, C<ZBW8>, C<ZBW8>, V<ZC24>), ARG("code"), ARG("sourceA"),
         ARG("sourceB"), ARG("destination"));
  Def<8>(m, "LumOper", KFN(void, LumOper, Op, C<ZBW16>, C<ZBW8>, V<ZBW16>), ARG("code"), ARG("sourceA"),
         ARG("sourceB"), OUT);
  Def<8>(m, "LumOper", KFN(void, LumOper, Op, C<ZBW8>, C<ZC24>, V<ZC24>), ARG("code"), ARG("sourceA"),
         ARG("sourceB"), OUT);
  Def<8>(m, "LumOper", KFN(void, LumOper, Op, C<ZC24>, C<ZBW8>, V<ZC24>), ARG("code"), ARG("sourceA"),
         ARG("sourceB"), OUT);
}

template <class T>
void CopyOneType(py::module_& m) {
  Def<2>(m, "LumCopy", KFN(void, LumCopy, T, V<T>), ARG("value"), ARG("destination"));
  Def<2>(m, "LumCopy", KFN(void, LumCopy, C<T>, V<T>), ARG("source"), OUT);
}

void BindPoint(py::module_& m) {
  // A table array of exactly the table's dtype and length is read in place by the pointer forms;
  // any other array, or a vector object, goes to the vector forms (copied, its count checked).
  Def<2>(m, "LumLut", KFN(void, LumLut, C<ZBW8>, V<ZBW8>, ZBW8*), ARG("source"), OUT, ARG("table"));
  Def<2>(m, "LumLut", KFN(void, LumLut, V<ZBW16>, V<ZBW16>, ZBW16*), ARG("source"), OUT, ARG("table"));
  Def<2>(m, "LumLut", KFN(void, LumLut, C<ZBW8>, V<ZBW8>, ZBW8Vector*), ARG("source"), OUT, ARG("table"));
  Def<2>(m, "LumLut", KFN(void, LumLut, V<ZBW16>, V<ZBW16>, ZBW16Vector*), ARG("source"), OUT, ARG("table"));
  Def<2>(m, "LumLut", KFN(void, LumLut, V<ZBW16>, V<ZBW8>, ZBW8Vector*, unsigned), ARG("source"),
         ARG("destination"), ARG("table"), ARG("shift"));
  Def<2>(m, "LumGainOffset", KFN(void, LumGainOffset, V<ZBW8>, V<ZBW8>, float, float), ARG("source"), OUT,
         ARG("gain"), ARG("offset"));
  Def<2>(m, "LumGainOffset", KFN(void, LumGainOffset, V<ZBW16>, V<ZBW16>, float, float), ARG("source"), OUT,
         ARG("gain"), ARG("offset"));
  Def<2>(m, "LumGainOffset", KFN(void, LumGainOffset, V<ZC24>, V<ZC24>, ZColor, ZColor), ARG("source"), OUT,
         ARG("gain"), ARG("offset"));
  // A Python callable maps each value (BW8: once per value 0..255 with useTable non-zero).
  Def<2>(m, "LumTransform", KFN(void, LumTransform, V<ZBW8>, V<ZBW8>, ZBW8 (*)(ZBW8), int), ARG("source"), OUT,
         ARG("function"), ARG("useTable"));
  Def<2>(m, "LumTransform", KFN(void, LumTransform, V<ZBW16>, V<ZBW16>, ZBW16 (*)(ZBW16)), ARG("source"), OUT,
         ARG("function"));
}

// Colour components: a plane out of a C24 image (through an optional ZColorLookup), or into one.
void BindComponents(py::module_& m) {
  Def<2>(m, "HueGetComponent", &HueGetComponent, ARG("source"), OUT, ARG("component"), ARG("lookup") = py::none());
  Def<2>(m, "HueSetComponent", &HueSetComponent, ARG("source"), ARG("destination"), ARG("component"));
}

// LumConvert: the destination's type picks the conversion, so it is always given. One line of
// the list below per (source, destination) pair; the bit-depth pairs take a shift.
template <class S, class D>
struct Plain {};
template <class S, class D>
struct Shifted {};
template <class S, class D>
void Convert(py::module_& m, Plain<S, D>) {
  Def<2>(m, "LumConvert", KFN(void, LumConvert, C<S>, V<D>), ARG("source"), ARG("destination"));
}
template <class S, class D>
void Convert(py::module_& m, Shifted<S, D>) {
  Def<2>(m, "LumConvert", KFN(void, LumConvert, C<S>, V<D>, unsigned), ARG("source"), ARG("destination"),
         ARG("shift"));
}
template <class... Pairs>
void Converts(py::module_& m) {
  (Convert(m, Pairs{}), ...);
}

void BindConvert(py::module_& m) {
  Converts<Plain<ZC24, ZC24A>, Plain<ZC24A, ZC24>>(m);
  Def<4>(m, "LumConvert", KFN(void, LumConvert, C<ZC24>, C<ZBW8>, V<ZC24A>), ARG("source"), ARG("alpha"),
         ARG("destination"));
  Def<6>(m, "LumConvert", KFN(void, LumConvert, C<ZC24A>, V<ZC24>, V<ZBW8>), ARG("source"), ARG("destination"),
         ARG("alpha"));
  Converts<Plain<ZBW8, ZC24>, Plain<ZC24, ZBW8>,                                            //
           Shifted<ZBW16, ZBW8>, Shifted<ZBW32, ZBW8>, Shifted<ZBW32, ZBW16>,               //
           Shifted<ZBW8, ZBW16>, Shifted<ZBW8, ZBW32>, Shifted<ZBW16, ZBW32>,               //
           Plain<ZFLOAT32, ZBW8>, Plain<ZFLOAT32, ZBW16>, Plain<ZFLOAT32, ZBW32>,           //
           Plain<ZFLOAT64, ZBW8>, Plain<ZFLOAT64, ZBW16>, Plain<ZFLOAT64, ZBW32>,           //
           Plain<ZBW8, ZFLOAT32>, Plain<ZBW16, ZFLOAT32>, Plain<ZBW32, ZFLOAT32>,           //
           Plain<ZBW8, ZFLOAT64>, Plain<ZBW16, ZFLOAT64>, Plain<ZBW32, ZFLOAT64>,           //
           Plain<ZC24, ZC15>, Plain<ZBW8, ZC15>, Plain<ZC15, ZC24>, Plain<ZC15, ZBW8>,      //
           Plain<ZC24, ZC16>, Plain<ZBW8, ZC16>, Plain<ZC16, ZC24>, Plain<ZC16, ZBW8>>(m);
  Def<2>(m, "LumConvertTo422", KFN(void, LumConvertTo422, V<ZBW8>, V<ZBW16>), ARG("source"), OUT);
}

// kelmira.C15(array) and kelmira.C16(array): a uint16 (h, w) array seen as 15- or 16-bit colour.
template <class T>
void PackedClass(py::module_& m) {
  const std::string name = Pixel<T>::name;
  py::class_<Packed<T>>(m, Pixel<T>::name,
                        (std::string("A uint16 (h, w) array of ") + name +
                         " colour pixels, passed to the operators as a view (no copy).").c_str())
      .def(py::init([name](py::array array) {
             Geometry g;
             if (!Inspect(array, 'u', 2, 1, Pixel<T>::name, Pixel<T>::layout, false, &g))
               throw py::type_error(name + " wraps a uint16 (h, w) array; got " +
                                    std::string(py::str(py::object(array.dtype()))));
             return Packed<T>{std::move(array)};
           }),
           py::arg("array"))
      .def_readonly("array", &Packed<T>::array, "The pixels, a uint16 (h, w) array (shared, not copied).")
      .def("__array__", [](const Packed<T>& p, py::object dtype) -> py::object {
        return dtype.is_none() ? py::object(p.array) : p.array.attr("astype")(dtype);
      }, py::arg("dtype") = py::none())
      .def("__repr__", [name](const Packed<T>& p) {
        return name + "(shape=(" + std::to_string(p.array.shape(0)) + ", " + std::to_string(p.array.shape(1)) + "))";
      });
}
}  // namespace

void BindPixelwise(py::module_& m) {
  BindOper(m);
  CopyOneType<ZBW8>(m);
  CopyOneType<ZBW16>(m);
  CopyOneType<ZBW32>(m);
  CopyOneType<ZC24>(m);
  PackedClass<ZC15>(m);
  PackedClass<ZC16>(m);
  CopyOneType<ZC15>(m);
  CopyOneType<ZC16>(m);
  BindPoint(m);
  BindConvert(m);
  BindComponents(m);
}

}  // namespace kpy
