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

// LumConvert: the destination's type picks the conversion, so it is always given.
template <class S, class D>
void Convert(py::module_& m) {
  Def<2>(m, "LumConvert", KFN(void, LumConvert, C<S>, V<D>), ARG("source"), ARG("destination"));
}
template <class S, class D>
void ConvertShift(py::module_& m) {
  Def<2>(m, "LumConvert", KFN(void, LumConvert, C<S>, V<D>, unsigned), ARG("source"), ARG("destination"),
         ARG("shift"));
}

void BindConvert(py::module_& m) {
  Convert<ZC24, ZC24A>(m);
  Convert<ZC24A, ZC24>(m);
  Def<4>(m, "LumConvert", KFN(void, LumConvert, C<ZC24>, C<ZBW8>, V<ZC24A>), ARG("source"), ARG("alpha"),
         ARG("destination"));
  Def<6>(m, "LumConvert", KFN(void, LumConvert, C<ZC24A>, V<ZC24>, V<ZBW8>), ARG("source"), ARG("destination"),
         ARG("alpha"));
  Convert<ZBW8, ZC24>(m);
  Convert<ZC24, ZBW8>(m);
  ConvertShift<ZBW16, ZBW8>(m);
  ConvertShift<ZBW32, ZBW8>(m);
  ConvertShift<ZBW32, ZBW16>(m);
  ConvertShift<ZBW8, ZBW16>(m);
  ConvertShift<ZBW8, ZBW32>(m);
  ConvertShift<ZBW16, ZBW32>(m);
  Convert<ZFLOAT32, ZBW8>(m);
  Convert<ZFLOAT32, ZBW16>(m);
  Convert<ZFLOAT32, ZBW32>(m);
  Convert<ZFLOAT64, ZBW8>(m);
  Convert<ZFLOAT64, ZBW16>(m);
  Convert<ZFLOAT64, ZBW32>(m);
  Convert<ZBW8, ZFLOAT32>(m);
  Convert<ZBW16, ZFLOAT32>(m);
  Convert<ZBW32, ZFLOAT32>(m);
  Convert<ZBW8, ZFLOAT64>(m);
  Convert<ZBW16, ZFLOAT64>(m);
  Convert<ZBW32, ZFLOAT64>(m);
  Def<2>(m, "LumConvertTo422", KFN(void, LumConvertTo422, V<ZBW8>, V<ZBW16>), ARG("source"), OUT);
}

}  // namespace

void BindPixelwise(py::module_& m) {
  BindOper(m);
  CopyOneType<ZBW8>(m);
  CopyOneType<ZBW16>(m);
  CopyOneType<ZBW32>(m);
  CopyOneType<ZC24>(m);
  BindPoint(m);
  BindConvert(m);
  BindComponents(m);
}

}  // namespace kpy
