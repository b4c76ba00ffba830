// Histograms, equalisation, threshold selection and threshold application. Histograms come back
// as uint32 arrays and go in as 1-D arrays; values that C++ writes through references come back
// after the operator's own result.
#include "binding.h"

namespace kpy {
namespace {

using H = ZBWHistogramVector*;
using F = float&;
#define ARG(n) py::arg(n)
#define OUT py::arg("destination") = py::none()
namespace Utils = Marvane::Ovidra::Utils;

void Histograms(py::module_& m) {
  const auto none = ARG("histogram") = py::none();
  Def<2>(m, "LumHistogram", static_cast<void (*)(ZROI<ZBW8>*, H)>(&LumHistogram), ARG("source"), none);
  Def<2>(m, "LumHistogram", static_cast<void (*)(ZROI<ZBW16>*, H, unsigned, unsigned, int)>(&LumHistogram),
         ARG("source"), none, ARG("msb"), ARG("bits"), ARG("saturate"));
  Def<2>(m, "LumHistogram", static_cast<void (*)(ZROI<ZBW32>*, H, unsigned, unsigned, int)>(&LumHistogram),
         ARG("source"), none, ARG("msb"), ARG("bits"), ARG("saturate"));
  Def<2>(m, "LumCumulateHistogram", &LumCumulateHistogram, ARG("source"), OUT);
  Def<0>(m, "LumAnalyseHistogram",
         static_cast<float (*)(H, LUM_HISTOGRAM_FEATURE, int, int)>(&LumAnalyseHistogram), ARG("histogram"),
         ARG("feature"), ARG("low") = 0, ARG("high") = 255);
  Def<0>(m, "LumAnalyseHistogramBW16", &LumAnalyseHistogramBW16, ARG("histogram"), ARG("feature"), ARG("low") = 0,
         ARG("high") = 65535);
  Def<2>(m, "LumSetupEqualize", static_cast<void (*)(H, ZBW8Vector*)>(&LumSetupEqualize), ARG("histogram"),
         ARG("table") = py::none());
  Def<2>(m, "LumEqualize", static_cast<void (*)(ZROI<ZBW8>*, ZROI<ZBW8>*)>(&LumEqualize), ARG("source"), OUT);
}

// The legacy forms on a kelmira.ZVector, which is given (never made) and filled in place. The two
// LumAnalyseHistogram forms differ only by their result's type: the int form returns it, the
// float form takes it in and out, so passing a float as `result` picks it.
void Legacy(py::module_& m) {
  Def<2>(m, "LumHistogram", static_cast<short (*)(ZROI<ZBW8>*, ZVector*)>(&LumHistogram), ARG("source"),
         ARG("histogram"));
  Def<0, 16>(m, "LumAnalyseHistogram", static_cast<short (*)(ZVector*, int, int, int, int&)>(&LumAnalyseHistogram),
             ARG("histogram"), ARG("low"), ARG("high"), ARG("feature"));
  Def<0>(m, "LumAnalyseHistogram", static_cast<short (*)(ZVector*, int, int, int, float&)>(&LumAnalyseHistogram),
         ARG("histogram"), ARG("low"), ARG("high"), ARG("feature"), ARG("result"));
  Def<2>(m, "LumSetupEqualize", static_cast<void (*)(ZVector*, ZVector*)>(&LumSetupEqualize), ARG("histogram"),
         ARG("table"));
  Def<0>(m, "LumIsodataThreshold", static_cast<unsigned (*)(ZVector*, unsigned, unsigned)>(&LumIsodataThreshold),
         ARG("histogram"), ARG("low"), ARG("high"));
  Def<2>(m, "LumEqualize", static_cast<void (*)(ZROI<ZBW16>*, ZROI<ZBW16>*)>(&LumEqualize), ARG("source"), OUT);
}

void Selection(py::module_& m) {
  // The chosen level goes in (a fixed level or a mode) and comes back with the class averages.
  Def<0, 0xC>(m, "LumHistogramThreshold", &LumHistogramThreshold, ARG("histogram"), ARG("threshold"),
              ARG("relative"), ARG("low"), ARG("high"));
  Def<0, 0xC>(m, "LumHistogramThresholdBW16", &LumHistogramThresholdBW16, ARG("histogram"), ARG("threshold"),
              ARG("relative"), ARG("low"), ARG("high"));
  Def<0>(m, "LumIsodataThreshold", static_cast<ZBW8 (*)(H, unsigned, unsigned)>(&LumIsodataThreshold),
         ARG("histogram"), ARG("low"), ARG("high"));
  Def<0>(m, "LumIsodataThresholdBW16", &LumIsodataThresholdBW16, ARG("histogram"), ARG("low"), ARG("high"));
  Def<0, 6>(m, "LumMinResidueThreshold", &LumMinResidueThreshold, ARG("histogram"));
  Def<0, 0xE>(m, "LumTwoLevelsMinResidueThreshold", &LumTwoLevelsMinResidueThreshold, ARG("histogram"));
  Def<0, 0x3E>(m, "LumThreeLevelsMinResidueThreshold", &LumThreeLevelsMinResidueThreshold, ARG("histogram"));
  // Two forms of one Python shape: the regions by default, the levels with thresholds=None.
  Def<4>(m, "LumMultiLevelsMinResidueThreshold",
         static_cast<float (*)(H, unsigned, Utils::Vector<ZRegionDescriptor>&)>(&LumMultiLevelsMinResidueThreshold),
         ARG("histogram"), ARG("count"), ARG("regions") = py::none());
  Def<4>(m, "LumMultiLevelsMinResidueThreshold",
         static_cast<float (*)(H, unsigned, Utils::Vector<ZBW8>&)>(&LumMultiLevelsMinResidueThreshold),
         ARG("histogram"), ARG("count"), ARG("thresholds"));
  Def<4>(m, "LumAllMultiLevelsMinResidueThreshold", &LumAllMultiLevelsMinResidueThreshold, ARG("histogram"),
         ARG("count"), ARG("partitions") = py::none());
  Def<0, 6>(m, "LumMaxEntropyThreshold", &LumMaxEntropyThreshold, ARG("histogram"));
  Def<0>(m, "LumAutoThreshold", static_cast<ZBW8 (*)(ZROI<ZBW8>*, LUM_THRESHOLD_MODES, float)>(&LumAutoThreshold),
         ARG("source"), ARG("mode"), ARG("relative"));
  Def<0>(m, "LumAutoThreshold", static_cast<ZBW16 (*)(ZROI<ZBW16>*, LUM_THRESHOLD_MODES, float)>(&LumAutoThreshold),
         ARG("source"), ARG("mode"), ARG("relative"));
}

void Application(py::module_& m) {
  Def<2>(m, "LumThreshold",
         static_cast<short (*)(ZROI<ZBW8>*, ZROI<ZBW8>*, unsigned, unsigned char, unsigned char, float)>(
             &LumThreshold),
         ARG("source"), OUT, ARG("threshold"), ARG("below"), ARG("above"), ARG("relative"));
  Def<2>(m, "LumThreshold",
         static_cast<void (*)(ZROI<ZBW16>*, ZROI<ZBW16>*, unsigned, ZBW16, ZBW16, float)>(&LumThreshold),
         ARG("source"), OUT, ARG("threshold"), ARG("below"), ARG("above"), ARG("relative"));
  // To kelmira.Bits (a new one when the destination is None).
  Def<2>(m, "LumThreshold", static_cast<void (*)(ZROI<ZBW8>*, ZROI<ZBW1>*, unsigned, float)>(&LumThreshold),
         ARG("source"), OUT, ARG("threshold"), ARG("relative"));
  Def<2>(m, "LumThreshold", static_cast<void (*)(ZROI<ZBW16>*, ZROI<ZBW1>*, unsigned, float)>(&LumThreshold),
         ARG("source"), OUT, ARG("threshold"), ARG("relative"));
  Def<2>(m, "LumThreshold",
         static_cast<void (*)(ZROI<ZC24>*, ZROI<ZBW8>*, ZC24, ZC24, ZColorLookup*, ZBW8, ZBW8)>(&LumThreshold),
         ARG("source"), OUT, ARG("low"), ARG("high"), ARG("lookup"), ARG("outside"), ARG("inside"));
  Def<2>(m, "LumThreshold", static_cast<void (*)(ZROI<ZC24>*, ZROI<ZBW8>*, ZC24, ZC24)>(&LumThreshold),
         ARG("source"), OUT, ARG("low"), ARG("high"));
  Def<2>(m, "LumDoubleThreshold",
         static_cast<short (*)(ZROI<ZBW8>*, ZROI<ZBW8>*, unsigned, unsigned, unsigned char, unsigned char,
                               unsigned char)>(&LumDoubleThreshold),
         ARG("source"), OUT, ARG("low"), ARG("high"), ARG("below"), ARG("between"), ARG("above"));
  Def<2>(m, "LumDoubleThreshold",
         static_cast<void (*)(ZROI<ZBW16>*, ZROI<ZBW16>*, unsigned, unsigned, ZBW16, ZBW16, ZBW16)>(
             &LumDoubleThreshold),
         ARG("source"), OUT, ARG("low"), ARG("high"), ARG("below"), ARG("between"), ARG("above"));
  Def<2>(m, "LumAutoAdaptiveThreshold", &LumAutoAdaptiveThreshold, ARG("source"), OUT, ARG("mode"), ARG("width"),
         ARG("height"));
  Def<2>(m, "LumLocalMeanThreshold", &Marvane::Ovidra::Segmentation::LumLocalMeanThreshold, ARG("source"), OUT,
         ARG("halfSize"), ARG("offset"));
}

}  // namespace

void BindThresholds(py::module_& m) {
  Histograms(m);
  Legacy(m);
  Selection(m);
  Application(m);
}

}  // namespace kpy
