// Morphology: gray box and disk forms, the older border forms, thin and thick.
#include "binding.h"

namespace kpy {
namespace {

#define OUT py::arg("destination") = py::none()

template <class T>
void BoxAndDisk(py::module_& m) {
  using Box = void (*)(ZROI<T>*, ZROI<T>*, unsigned, unsigned);
  using Disk = void (*)(ZROI<T>*, ZROI<T>*, unsigned);
  const std::pair<const char*, Box> boxes[] = {
      {"LumErodeBox", &LumErodeBox},         {"LumDilateBox", &LumDilateBox},
      {"LumOpenBox", &LumOpenBox},           {"LumCloseBox", &LumCloseBox},
      {"LumWhiteTopHatBox", &LumWhiteTopHatBox}, {"LumBlackTopHatBox", &LumBlackTopHatBox},
      {"LumMorphoGradientBox", &LumMorphoGradientBox}};
  const std::pair<const char*, Disk> disks[] = {
      {"LumErodeDisk", &LumErodeDisk},       {"LumDilateDisk", &LumDilateDisk},
      {"LumOpenDisk", &LumOpenDisk},         {"LumCloseDisk", &LumCloseDisk},
      {"LumWhiteTopHatDisk", &LumWhiteTopHatDisk}, {"LumBlackTopHatDisk", &LumBlackTopHatDisk},
      {"LumMorphoGradientDisk", &LumMorphoGradientDisk}};
  for (const auto& [name, f] : boxes)
    Def<2>(m, name, f, py::arg("source"), OUT, py::arg("halfWidth"),
           py::arg("halfHeight") = KELMIRA_MORPHO_SAME_AS_WIDTH);
  for (const auto& [name, f] : disks) Def<2>(m, name, f, py::arg("source"), OUT, py::arg("radius"));
}

template <class R, class B>
void Bordered(py::module_& m) {
  using One = R (*)(ZROI<B>*, ZROI<B>*, int, std::conditional_t<std::is_same_v<B, ZBW8>, int, ZC24>);
  using Two = R (*)(ZROI<B>*, ZROI<B>*, int, std::conditional_t<std::is_same_v<B, ZBW8>, int, ZC24>,
                    std::conditional_t<std::is_same_v<B, ZBW8>, int, ZC24>);
  const std::pair<const char*, One> ones[] = {{"LumErode", &LumErode}, {"LumDilate", &LumDilate}};
  const std::pair<const char*, Two> twos[] = {{"LumOpen", &LumOpen},
                                              {"LumClose", &LumClose},
                                              {"LumWhiteTopHat", &LumWhiteTopHat},
                                              {"LumBlackTopHat", &LumBlackTopHat}};
  for (const auto& [name, f] : ones) Def<2>(m, name, f, py::arg("source"), OUT, py::arg("passes"), py::arg("border"));
  for (const auto& [name, f] : twos)
    Def<2>(m, name, f, py::arg("source"), OUT, py::arg("passes"), py::arg("firstBorder"), py::arg("secondBorder"));
}

// Thin and thick: the iteration count goes in and comes back after the destination.
template <class R, class T>
void ThinThick(py::module_& m, const char* thin, R (*fthin)(ZROI<T>*, ZROI<T>*, ZKernel*, KERNEL_ROTATION, int&),
               const char* thick, R (*fthick)(ZROI<T>*, ZROI<T>*, ZKernel*, KERNEL_ROTATION, int&)) {
  Def<2>(m, thin, fthin, py::arg("source"), OUT, py::arg("kernel"), py::arg("rotation"), py::arg("iterations"));
  Def<2>(m, thick, fthick, py::arg("source"), OUT, py::arg("kernel"), py::arg("rotation"), py::arg("iterations"));
}

}  // namespace

void BindMorphology(py::module_& m) {
  BoxAndDisk<ZBW8>(m);
  BoxAndDisk<ZBW16>(m);
  BoxAndDisk<ZC24>(m);
  BoxAndDisk<ZBW1>(m);
  Bordered<short int, ZBW8>(m);
  Bordered<void, ZC24>(m);
  ThinThick<short int, ZBW8>(m, "LumThin", &LumThin, "LumThick", &LumThick);
  ThinThick<short int, ZBW8>(m, "LumBiLevelThin", &LumBiLevelThin, "LumBiLevelThick", &LumBiLevelThick);
  ThinThick<void, ZBW16>(m, "LumThin", &LumThin, "LumThick", &LumThick);
  ThinThick<void, ZC24>(m, "LumThin", &LumThin, "LumThick", &LumThick);
  ThinThick<short int, ZBW1>(m, "LumThin", &LumThin, "LumThick", &LumThick);
  Def<2>(m, "LumMedian", static_cast<short (*)(ZROI<ZBW8>*, ZROI<ZBW8>*)>(&LumMedian), py::arg("source"), OUT);
}

}  // namespace kpy
