// Histograms, equalisation and threshold selection. Histograms come back as uint32 arrays and
// go in as 1-D arrays.
#include "binding.h"

namespace kpy {

void BindThresholds(py::module_& m) {
  using H = ZBWHistogramVector*;
  const auto none = py::arg("histogram") = py::none();
  Def<2>(m, "LumHistogram", static_cast<void (*)(ZROI<ZBW8>*, H)>(&LumHistogram), py::arg("source"), none);
  Def<2>(m, "LumHistogram", static_cast<void (*)(ZROI<ZBW16>*, H, unsigned, unsigned, int)>(&LumHistogram),
         py::arg("source"), none, py::arg("msb"), py::arg("bits"), py::arg("saturate"));
  Def<2>(m, "LumHistogram", static_cast<void (*)(ZROI<ZBW32>*, H, unsigned, unsigned, int)>(&LumHistogram),
         py::arg("source"), none, py::arg("msb"), py::arg("bits"), py::arg("saturate"));
  Def<2>(m, "LumCumulateHistogram", &LumCumulateHistogram, py::arg("source"), py::arg("destination") = py::none());
  Def<0>(m, "LumAnalyseHistogram",
         static_cast<float (*)(H, LUM_HISTOGRAM_FEATURE, int, int)>(&LumAnalyseHistogram), py::arg("histogram"),
         py::arg("feature"), py::arg("low") = 0, py::arg("high") = 255);
  Def<0>(m, "LumAnalyseHistogramBW16", &LumAnalyseHistogramBW16, py::arg("histogram"), py::arg("feature"),
         py::arg("low") = 0, py::arg("high") = 65535);
  Def<2>(m, "LumEqualize", static_cast<void (*)(ZROI<ZBW8>*, ZROI<ZBW8>*)>(&LumEqualize), py::arg("source"),
         py::arg("destination") = py::none());
  Def<2>(m, "LumEqualize", static_cast<void (*)(ZROI<ZBW16>*, ZROI<ZBW16>*)>(&LumEqualize), py::arg("source"),
         py::arg("destination") = py::none());
  Def<0>(m, "LumIsodataThreshold", static_cast<ZBW8 (*)(H, unsigned, unsigned)>(&LumIsodataThreshold),
         py::arg("histogram"), py::arg("low"), py::arg("high"));
  Def<0>(m, "LumIsodataThresholdBW16", &LumIsodataThresholdBW16, py::arg("histogram"), py::arg("low"),
         py::arg("high"));
  Def<0>(m, "LumAutoThreshold", static_cast<ZBW8 (*)(ZROI<ZBW8>*, LUM_THRESHOLD_MODES, float)>(&LumAutoThreshold),
         py::arg("source"), py::arg("mode"), py::arg("relative"));
  Def<0>(m, "LumAutoThreshold",
         static_cast<ZBW16 (*)(ZROI<ZBW16>*, LUM_THRESHOLD_MODES, float)>(&LumAutoThreshold), py::arg("source"),
         py::arg("mode"), py::arg("relative"));
}

}  // namespace kpy
