// Measurement: statistics, counts, comparisons, normalisation, moments and centres. Values that
// C++ writes through references come back as Python numbers, after the operator's own result.
#include "binding.h"

namespace kpy {
namespace {

#define KFN(R, name, ...) static_cast<R (*)(__VA_ARGS__)>(&name)
#define ARG(n) py::arg(n)
#define OUT py::arg("destination") = py::none()
template <class T> using V = ZROI<T>*;
using F = float&;

template <class T, class P>
void GrayStatistics(py::module_& m) {
  using R = std::conditional_t<std::is_same_v<T, ZBW8>, short, void>;
  Def<0, 2>(m, "LumPixelMin", KFN(short, LumPixelMin, V<T>, P&), ARG("view"));
  Def<0, 2>(m, "LumPixelMax", KFN(short, LumPixelMax, V<T>, P&), ARG("view"));
  Def<0, 2>(m, "LumPixelAverage", KFN(short, LumPixelAverage, V<T>, F), ARG("view"));
  Def<0, 6>(m, "LumPixelVariance", KFN(void, LumPixelVariance, V<T>, F, F), ARG("view"));
  Def<0, 6>(m, "LumPixelStdDev", KFN(short, LumPixelStdDev, V<T>, F, F), ARG("view"));
  Def<0, 14>(m, "LumPixelStat", KFN(short, LumPixelStat, V<T>, P&, P&, F), ARG("view"));
  Def<0, 0x38>(m, "LumPixelCount", KFN(short, LumPixelCount, V<T>, P, P, int&, int&, int&), ARG("view"), ARG("low"),
               ARG("high"));
  Def<0, 4>(m, "LumArea", KFN(short, LumArea, V<T>, P, int&), ARG("view"), ARG("threshold"));
  // The binarised count (strictly above) has the same Python shape: its level goes by keyword.
  Def<0>(m, "LumArea", KFN(unsigned, LumArea, V<T>, unsigned), ARG("view"), ARG("binarized"));
  Def<0>(m, "LumArea", KFN(unsigned, LumArea, V<T>), ARG("view"));
  Def<0, 8>(m, "LumAreaDoubleThreshold", KFN(short, LumAreaDoubleThreshold, V<T>, P, P, int&), ARG("view"),
            ARG("low"), ARG("high"));
  Def<0>(m, "LumCount", KFN(unsigned, LumCount, V<T>, int (*)(T&)), ARG("view"), ARG("predicate"));
  Def<0>(m, "LumPixelCompare", KFN(unsigned, LumPixelCompare, V<T>, V<T>), ARG("first"), ARG("second"));
  Def<0>(m, "LumSignalNoiseRatio", KFN(float, LumSignalNoiseRatio, V<T>, V<T>, LUM_REFERENCE_NOISE), ARG("source"),
         ARG("reference"), ARG("mode"));
  Def<0>(m, "LumRmsNoise", KFN(float, LumRmsNoise, V<T>, V<T>, LUM_REFERENCE_NOISE), ARG("source"),
         ARG("reference"), ARG("mode"));
  Def<0>(m, "LumFocusing", KFN(float, LumFocusing, V<T>), ARG("view"));
  Def<2>(m, "LumNormalize", KFN(R, LumNormalize, V<T>, V<T>, float, float), ARG("source"), OUT, ARG("average"),
         ARG("deviation"));
}

void ColourStatistics(py::module_& m) {
  using C = V<ZC24>;
  Def<0, 0xE>(m, "LumPixelAverage", KFN(short, LumPixelAverage, C, F, F, F), ARG("view"));
  Def<0, 0xFE>(m, "LumPixelVariance", KFN(void, LumPixelVariance, C, F, F, F, F, F, F, F), ARG("view"));
  Def<0, 0xFE>(m, "LumPixelStdDev", KFN(short, LumPixelStdDev, C, F, F, F, F, F, F, F), ARG("view"));
  Def<0>(m, "LumCount", KFN(unsigned, LumCount, C, int (*)(ZC24&)), ARG("view"), ARG("predicate"));
  Def<0>(m, "LumPixelCompare", KFN(unsigned, LumPixelCompare, C, C), ARG("first"), ARG("second"));
  Def<0>(m, "LumSignalNoiseRatio", KFN(ZColor, LumSignalNoiseRatio, C, C, LUM_REFERENCE_NOISE), ARG("source"),
         ARG("reference"), ARG("mode"));
  Def<0>(m, "LumRmsNoise", KFN(ZColor, LumRmsNoise, C, C, LUM_REFERENCE_NOISE), ARG("source"), ARG("reference"),
         ARG("mode"));
  Def<0>(m, "LumFocusing", KFN(ZColor, LumFocusing, C), ARG("view"));
}

void ByteStatistics(py::module_& m) {
  using B = V<ZBW8>;
  // The joint histogram: ZBW8 cells, or ZBW16 cells when a uint16 (256, 256) array is given.
  Def<4>(m, "LumCorrelogram", KFN(void, LumCorrelogram, B, B, ZImage<ZBW8>*), ARG("first"), ARG("second"),
         ARG("image") = py::none());
  Def<4>(m, "LumCorrelogram", KFN(void, LumCorrelogram, B, B, ZImage<ZBW16>*), ARG("first"), ARG("second"),
         ARG("image") = py::none());
  Def<0, 0x1C>(m, "LumLinearRegression", &LumLinearRegression, ARG("first"), ARG("second"), ARG("excludeClipped"));
  Def<0, 2>(m, "LumAverage", &LumAverage, ARG("view"));
  Def<0, 6>(m, "LumVariance", &LumVariance, ARG("view"));
  Def<0>(m, "LumMinimum", &LumMinimum, ARG("view"));
  Def<0>(m, "LumMaximum", &LumMaximum, ARG("view"));
}

// The moment forms differ in C++ only by their count of outputs: in Python `order` picks one.
// Each form is bound under a temporary name, kept by the dispatcher, and the name removed.
template <unsigned Outs, bool Threshold = false, class... Fs>
py::object Forms(py::module_& m, Fs... forms) {
  const char* scratch = "_kelmira_form";
  if constexpr (Threshold) {
    (Def<0, Outs>(m, scratch, forms, ARG("view"), ARG("threshold")), ...);
  } else {
    (Def<0, Outs>(m, scratch, forms, ARG("view")), ...);
  }
  py::object f = m.attr(scratch);
  py::delattr(m, scratch);
  return f;
}

// The moment forms of N outputs, by C++ name: Form<N, T>() is the overload on ZROI<T> with N float
// references after the view (after the view and the threshold when Threshold).
template <class T, bool Threshold, class Seq>
struct MomentsOf;
template <class T, bool Threshold, size_t... I>
struct MomentsOf<T, Threshold, std::index_sequence<I...>> {
  using type = std::conditional_t<Threshold, void (*)(V<T>, unsigned, std::enable_if_t<(I >= 0), F>...),
                                  void (*)(V<T>, std::enable_if_t<(I >= 0), F>...)>;
};
template <class T, size_t N, bool Threshold = false>
using MomentsFn = typename MomentsOf<T, Threshold, std::make_index_sequence<N>>::type;
struct Weighted {
  template <size_t N, class T>
  static auto Form() { return static_cast<MomentsFn<T, N>>(&LumWeightedMoments); }
};
struct Weighed {  // the older spelling
  template <size_t N, class T>
  static auto Form() { return static_cast<MomentsFn<T, N>>(&LumWeighedMoments); }
};
struct Binary {
  template <size_t N, class T>
  static auto Form() { return static_cast<MomentsFn<T, N, true>>(&LumBinaryMoments); }
};

// The BW8 and BW16 forms of one order, as one Python function; their outputs follow the view
// (and the threshold).
template <class Name, size_t N, bool Threshold = false>
py::object Order(py::module_& m) {
  constexpr unsigned first = Threshold ? 2 : 1;
  return Forms<((1u << N) - 1) << first, Threshold>(m, Name::template Form<N, ZBW8>(),
                                                    Name::template Form<N, ZBW16>());
}

void Moments(py::module_& m) {
  const auto weighted = [&m](const char* name, py::list orders) {
    m.def(name, [orders](py::object view, int order) {
      if (order < 1 || order > 4) throw py::value_error("order is 1, 2, 3 or 4");
      return orders[order - 1](view);
    }, ARG("view"), ARG("order") = 1, py::doc(Doc(name)));
  };
  weighted("LumWeightedMoments", py::make_tuple(Order<Weighted, 3>(m), Order<Weighted, 6>(m),
                                                Order<Weighted, 10>(m), Order<Weighted, 15>(m)));
  weighted("LumWeighedMoments", py::make_tuple(Order<Weighed, 3>(m), Order<Weighed, 6>(m), Order<Weighed, 10>(m),
                                               Order<Weighed, 15>(m)));
  py::list binary = py::make_tuple(Order<Binary, 3, true>(m), Order<Binary, 6, true>(m));
  m.def("LumBinaryMoments", [binary](py::object view, py::object threshold, int order) {
    if (order < 1 || order > 2) throw py::value_error("order is 1 or 2");
    return binary[order - 1](view, threshold);
  }, ARG("view"), ARG("threshold"), ARG("order") = 1, py::doc(Doc("LumBinaryMoments")));

  Def<0, 0xC>(m, "LumGravityCenter", KFN(void, LumGravityCenter, V<ZBW8>, unsigned, F, F), ARG("view"),
              ARG("threshold"));
  Def<0, 0xC>(m, "LumGravityCenter", KFN(void, LumGravityCenter, V<ZBW16>, unsigned, F, F), ARG("view"),
              ARG("threshold"));
  Def<0, 6>(m, "LumCentroid", &LumCentroid, ARG("view"), ARG("lut") = py::none());
  Def<0, 0xFC>(m, "LumInertia",
               KFN(void, LumInertia, V<ZBW8>, unsigned, F, F, F, float*, float*, unsigned*), ARG("view"),
               ARG("threshold"));
  Def<0, 0x7E>(m, "LumInertia", KFN(void, LumInertia, V<ZBW8>, F, F, F, float*, float*, unsigned*, ZBW8Vector*),
               ARG("view"), ARG("lut") = py::none());
}

}  // namespace

void BindMeasure(py::module_& m) {
  GrayStatistics<ZBW8, unsigned char>(m);
  GrayStatistics<ZBW16, unsigned short>(m);
  ColourStatistics(m);
  ByteStatistics(m);
  Moments(m);
}

}  // namespace kpy
