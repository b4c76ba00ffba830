// kelmira.Bits: packed one-bit images, to and from boolean arrays, and the one-bit forms.
#include "binding.h"

namespace kpy {
namespace {

Bits Make(int width, int height, int bitOffset) {
  if (width <= 0 || height <= 0) throw py::value_error("Bits: width and height must be above 0");
  if (bitOffset < 0 || bitOffset > 7) throw py::value_error("Bits: bitOffset is 0 to 7");
  Bits b;
  b.width = width;
  b.height = height;
  b.bitOffset = bitOffset;
  const py::ssize_t rowBytes = (static_cast<py::ssize_t>(bitOffset) + width + 7) / 8;
  b.bytes = py::array_t<uint8_t>(Zeros(py::make_tuple(height, rowBytes), "uint8"));
  return b;
}

// Checks that the rows still hold the view (the array may have been replaced by the user).
void Check(const Bits& b) {
  const auto& a = b.bytes;
  if (a.ndim() != 2 || a.shape(0) < b.height || a.strides(1) != 1 || (a.shape(0) > 1 && a.strides(0) <= 0) ||
      a.shape(1) * 8 < b.bitOffset + b.width)
    throw py::value_error("Bits: its bytes no longer hold its rows");
}

}  // namespace

void Src<ZBW1>::Attach(const Bits& b) {
  Check(b);
  const int pitch = b.height == 1 ? static_cast<int>(b.bytes.shape(1)) : static_cast<int>(b.bytes.strides(0));
  rows.SetImagePtr(b.bitOffset + b.width, b.height, const_cast<uint8_t*>(b.bytes.data()), pitch);
  view.SetParent(&rows);
  view.SetPlacement(b.bitOffset, 0, b.width, b.height);
  width = b.width;
  height = b.height;
}

void Dst<ZBW1>::Attach(const Bits& b) {
  if (!b.bytes.writeable()) throw py::value_error("destination Bits is read-only");
  Check(b);
  const int pitch = b.height == 1 ? static_cast<int>(b.bytes.shape(1)) : static_cast<int>(b.bytes.strides(0));
  rows.SetImagePtr(b.bitOffset + b.width, b.height, const_cast<uint8_t*>(b.bytes.data()), pitch);
  view.SetParent(&rows);
  view.SetPlacement(b.bitOffset, 0, b.width, b.height);
}

void Dst<ZBW1>::Allocate(int width, int height) {
  array = py::cast(Make(width, height, 0));
  Attach(array.cast<const Bits&>());
}

void BindBits(py::module_& m) {
  py::class_<Bits>(m, "Bits",
                   "A packed one-bit image (BW1): `bytes` holds its rows, eight pixels a byte, the first\n"
                   "`bitOffset` bits into each row's first byte (bit 7 is offset 0).")
      .def(py::init(&Make), py::arg("width"), py::arg("height"), py::arg("bitOffset") = 0)
      .def_static("from_bool", [](py::array_t<bool, py::array::forcecast> a, int bitOffset) {
        if (a.ndim() != 2) throw py::type_error("Bits.from_bool: a 2-D array (h, w)");
        Bits b = Make(static_cast<int>(a.shape(1)), static_cast<int>(a.shape(0)), bitOffset);
        auto in = a.unchecked<2>();
        auto out = b.bytes.mutable_unchecked<2>();
        for (py::ssize_t y = 0; y < a.shape(0); ++y)
          for (py::ssize_t x = 0; x < a.shape(1); ++x)
            if (in(y, x)) out(y, (x + bitOffset) / 8) |= static_cast<uint8_t>(0x80u >> ((x + bitOffset) % 8));
        return b;
      }, py::arg("array"), py::arg("bitOffset") = 0, "Packs a boolean array (non-zero is on).")
      .def("to_bool", [](const Bits& b) {
        Check(b);
        py::array_t<bool> out({b.height, b.width});
        auto in = b.bytes.unchecked<2>();
        auto o = out.mutable_unchecked<2>();
        for (int y = 0; y < b.height; ++y)
          for (int x = 0; x < b.width; ++x) o(y, x) = (in(y, (x + b.bitOffset) / 8) >> (7 - (x + b.bitOffset) % 8)) & 1;
        return out;
      }, "The pixels as a boolean array (h, w).")
      .def_readonly("bytes", &Bits::bytes)
      .def_readonly("width", &Bits::width)
      .def_readonly("height", &Bits::height)
      .def_readonly("bitOffset", &Bits::bitOffset)
      .def("__repr__", [](const Bits& b) {
        return "Bits(width=" + std::to_string(b.width) + ", height=" + std::to_string(b.height) +
               ", bitOffset=" + std::to_string(b.bitOffset) + ")";
      });

  // The one-bit forms of the pixel-wise and morphology families.
  using Op = ARITH_LOGIC_OPERATIONS;
  using B = ZROI<ZBW1>*;
  using CB = const ZROI<ZBW1>*;
  const auto out = py::arg("destination") = py::none();
  Def<4>(m, "LumOper", static_cast<void (*)(Op, ZBW1, B)>(&LumOper), py::arg("code"), py::arg("value"),
         py::arg("destination"));
  Def<4>(m, "LumOper", static_cast<void (*)(Op, CB, B)>(&LumOper), py::arg("code"), py::arg("source"), out);
  Def<8>(m, "LumOper", static_cast<void (*)(Op, CB, CB, B)>(&LumOper), py::arg("code"), py::arg("sourceA"),
         py::arg("sourceB"), out);
  Def<2>(m, "LumCopy", static_cast<void (*)(ZBW1, B)>(&LumCopy), py::arg("value"), py::arg("destination"));
  Def<2>(m, "LumCopy", static_cast<void (*)(CB, B)>(&LumCopy), py::arg("source"), out);
  Def<2>(m, "LumConvert", static_cast<void (*)(const ZROI<ZBW8>*, B)>(&LumConvert), py::arg("source"),
         py::arg("destination"));
  Def<2>(m, "LumConvert", static_cast<void (*)(const ZROI<ZBW16>*, B)>(&LumConvert), py::arg("source"),
         py::arg("destination"));
  Def<2>(m, "LumConvert", static_cast<void (*)(const ZROI<ZBW32>*, B)>(&LumConvert), py::arg("source"),
         py::arg("destination"));
  Def<2>(m, "LumConvert", static_cast<void (*)(CB, ZROI<ZBW8>*, ZBW8)>(&LumConvert), py::arg("source"),
         py::arg("destination"), py::arg("value"));
  Def<2>(m, "LumConvert", static_cast<void (*)(CB, ZROI<ZBW16>*, ZBW16)>(&LumConvert), py::arg("source"),
         py::arg("destination"), py::arg("value"));
  Def<2>(m, "LumConvert", static_cast<void (*)(CB, ZROI<ZBW32>*, ZBW32)>(&LumConvert), py::arg("source"),
         py::arg("destination"), py::arg("value"));
  Def<2>(m, "LumMedian", static_cast<void (*)(B, B)>(&LumMedian), py::arg("source"), out);
  // Copies between bit offsets: into a view that starts on a byte, and back out of one.
  Def<2>(m, "LumBW1Alignment", &LumBW1Alignment, py::arg("source"), out);
  Def<2>(m, "LumBW1UnAlignment", &LumBW1UnAlignment, py::arg("source"), py::arg("destination"));
}

}  // namespace kpy
