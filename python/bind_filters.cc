// Filters: general and symmetric convolution with a ZKernel.
#include "binding.h"

namespace kpy {

void BindFilters(py::module_& m) {
#define KPY_CONVOL(name, T)                                                                                   \
  Def<2>(m, #name, static_cast<void (*)(ZROI<T>*, ZROI<T>*, ZKernel*)>(&name), py::arg("source"),            \
         py::arg("destination") = py::none(), py::arg("kernel"));
  KPY_CONVOL(LumConvolKernel, ZBW8)
  KPY_CONVOL(LumConvolKernel, ZBW16)
  KPY_CONVOL(LumConvolKernel, ZC24)
  KPY_CONVOL(LumConvolSymmetricKernel, ZBW8)
  KPY_CONVOL(LumConvolSymmetricKernel, ZBW16)
  KPY_CONVOL(LumConvolSymmetricKernel, ZC24)
#undef KPY_CONVOL
}

}  // namespace kpy
