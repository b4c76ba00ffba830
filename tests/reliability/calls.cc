#include "reliability/calls.h"

namespace kr {
namespace {

template <class T>
void Random(ZROI<T>* v, uint32_t seed) {
  uint32_t x = seed;
  const int bytes = v->GetImageType() == Z_IMAGE_BW1 ? (v->GetWidth() + 7) / 8 : v->GetWidth() * v->GetPixelSize();
  for (int y = 0; y < v->GetHeight(); ++y) {
    auto* row = static_cast<uint8_t*>(v->GetGenericImagePtr(0, y));
    for (int i = 0; i < bytes; ++i) {
      x = x * 1664525u + 1013904223u;
      // Blobs on a noisy ground, so that thinning and thresholds have something to work on.
      const int blob = ((i / 6 + y / 5) % 3 == 0) ? 200 : 40;
      row[i] = static_cast<uint8_t>(blob + (x >> 27));
    }
  }
}

void Rows(std::string& out, const ZGenericROI* v, int bytes) {
  for (int y = 0; y < v->GetHeight(); ++y)
    out.append(static_cast<const char*>(v->GetGenericImagePtr(0, y)), static_cast<size_t>(bytes));
}

void Weights(ZKernel& k) {
  for (int y = 0; y < k.GetSizeY(); ++y)
    for (int x = 0; x < k.GetSizeX(); ++x) k.SetKernelData(x, y, static_cast<float>(1 + ((x + y) & 1)));
}

}  // namespace

Sources::Sources() {
  Random(&bw8, 1), Random(&bw16, 2), Random(&c24, 3), Random(&bw1Parent, 4);
  histogram.SetNumElements(256);
  for (int i = 0; i < 256; ++i) histogram.GetDataPtr()[i] = static_cast<unsigned>((i * 37) % 101 + (i > 120 && i < 140) * 900);
  histogram16.SetNumElements(65536);
  for (int i = 0; i < 65536; ++i) histogram16.GetDataPtr()[i] = histogram.GetDataPtr()[i / 256] / 16;
}

const Sources& Shared() {
  static const Sources s;
  return s;
}

Outputs::Outputs() {
  bw8.FillBytes(0x5C), bw16.FillBytes(0x5C), c24.FillBytes(0x5C), bw1Parent.FillBytes(0x5C);
  for (ZKernel* k : {&k3, &k4, &k3f, &k5, &k5s}) Weights(*k);
}

std::string Outputs::Snapshot() const {
  std::string out;
  Rows(out, &bw8.image, kW);
  Rows(out, &bw16.image, kW * 2);
  Rows(out, &c24.image, kW * 3);
  Rows(out, &bw1Parent.image, (kW1 + 5 + 7) / 8);
  out.append(std::to_string(histogram.GetNumElements()));
  if (histogram.GetDataPtr() != nullptr)
    out.append(reinterpret_cast<const char*>(histogram.GetDataPtr()), histogram.GetNumElements() * 4);
  return out;
}

bool Outputs::GuardsIntact() const {
  return bw8.GuardsIntact() && bw16.GuardsIntact() && c24.GuardsIntact() && bw1Parent.GuardsIntact();
}

Result Run(const Case& c, void (*around)(bool)) {
  Outputs o;
  Result r;
  if (around != nullptr) around(true);
  try {
    c.call(Shared(), o);
  } catch (...) {
    r.threw = true;
  }
  if (around != nullptr) around(false);
  r.error = ZGetError(), r.trace = kt::Trace();
  r.snapshot = o.Snapshot(), r.results = o.results, r.guards = o.GuardsIntact();
  return r;
}

// The sources are only read; the casts serve the forms whose source is not const-qualified.
template <class T>
ZROI<T>* In(const ZROI<T>& v) { return const_cast<ZROI<T>*>(&v); }

// A case's call, with the shared sources `s` and the run's outputs `o`.
#define RUN(...) [](const Sources& s, Outputs& o) { (void)s, (void)o; __VA_ARGS__; }

const std::vector<Case>& Cases() {
  static const std::vector<Case> cases = {
      {"Oper BW1 unaligned", RUN(LumOper(ARITH_LOGIC_BIT_XOR, &s.bw1, &s.bw1, &o.bw1))},
      {"Copy BW1 unaligned", RUN(LumCopy(&s.bw1, &o.bw1))},
      {"BW1Alignment", RUN(ZROI<ZBW1> aligned(o.bw1Parent.get(), 0, 0, kW1, kH); LumBW1Alignment(&s.bw1, &aligned))},
      {"Convert BW8 to BW1", RUN(ZROI<ZBW1> part(&o.bw1, 0, 0, kW, kH); LumConvert(&s.bw8, &part))},
      {"Convert BW1 to BW8", RUN(const ZROI<ZBW1> part(In(s.bw1), 0, 0, kW, kH); LumConvert(&part, o.bw8.get(), 77))},
      // In place: the short route keeps a copy of the rows it needs. The copy before it is the
      // test's own write, hence a destination that may differ after a failure (kPartial).
      {"ConvolKernel BW8 3x3 in place", RUN(LumCopy(&s.bw8, o.bw8.get()); LumConvolKernel(o.bw8.get(), o.bw8.get(), &o.k3)), kPartial},
      {"ConvolKernel BW8 float", RUN(LumConvolKernel(In(s.bw8), o.bw8.get(), &o.k4))},
      {"ConvolKernel BW16 5x5", RUN(LumConvolKernel(In(s.bw16), o.bw16.get(), &o.k5))},
      {"ConvolKernel C24", RUN(LumConvolKernel(In(s.c24), o.c24.get(), &o.k3f)), kPartial},
      {"ConvolSymmetric BW8 5x5", RUN(LumConvolSymmetricKernel(In(s.bw8), o.bw8.get(), &o.k5s))},
      {"ErodeBox BW8", RUN(LumErodeBox(In(s.bw8), o.bw8.get(), 2, 1))},
      {"OpenBox BW16", RUN(LumOpenBox(In(s.bw16), o.bw16.get(), 1, 3)), kLenient},
      {"MorphoGradientDisk BW8", RUN(LumMorphoGradientDisk(In(s.bw8), o.bw8.get(), 3)), kLenient},
      {"WhiteTopHatDisk BW16", RUN(LumWhiteTopHatDisk(In(s.bw16), o.bw16.get(), 2)), kLenient},
      {"Close BW8", RUN(o.Log(LumClose(In(s.bw8), o.bw8.get(), 2, 0, 255))), kLenient},
      {"BlackTopHat C24", RUN(LumBlackTopHat(In(s.c24), o.c24.get(), 1, ZC24{0, 0, 0}, ZC24{255, 255, 255})), kLenient},
      {"Thin BW8", RUN(int n = 3; o.Log(LumThin(In(s.bw8), o.bw8.get(), &o.thin1, KERNEL_ROTATION_CLOCKWISE, n)); o.Log(n))},
      {"Thick BW16", RUN(int n = 2; LumThick(In(s.bw16), o.bw16.get(), &o.thin2, KERNEL_ROTATION_ANTICLOCKWISE, n); o.Log(n))},
      {"Thin BW1", RUN(int n = 0; o.Log(LumThin(In(s.bw1), &o.bw1, &o.thin1, KERNEL_ROTATION_CLOCKWISE, n)); o.Log(n))},
      {"Thin C24", RUN(int n = 2; LumThin(In(s.c24), o.c24.get(), &o.thin1, KERNEL_ROTATION_NONE, n); o.Log(n)), kPartial},
      {"Histogram BW8", RUN(LumHistogram(In(s.bw8), &o.histogram))},
      {"Histogram BW16", RUN(LumHistogram(In(s.bw16), &o.histogram, 15, 12, 1))},
      {"CumulateHistogram", RUN(LumCumulateHistogram(const_cast<ZBWHistogramVector*>(&s.histogram), &o.histogram))},
      {"Equalize BW8", RUN(LumEqualize(In(s.bw8), o.bw8.get()))},
      {"Equalize BW16", RUN(LumEqualize(In(s.bw16), o.bw16.get()))},
      {"SetupEqualize", RUN(ZBW8Vector t; LumSetupEqualize(const_cast<ZBWHistogramVector*>(&s.histogram), &t); o.Log(t.GetNumElements()))},
      {"HistogramThresholdBW16", RUN(unsigned t = 0; float a = 0, b = 0;
         LumHistogramThresholdBW16(const_cast<ZBWHistogramVector*>(&s.histogram16), t, a, b, 0.5f, 0, 65535); o.Log(t), o.Log(a), o.Log(b))},
      {"IsodataThreshold", RUN(o.Log(LumIsodataThreshold(const_cast<ZBWHistogramVector*>(&s.histogram), 0, 255)))},
      {"IsodataThresholdBW16", RUN(o.Log(LumIsodataThresholdBW16(const_cast<ZBWHistogramVector*>(&s.histogram16), 0, 65535)))},
      {"MultiLevelsMinResidue", RUN(Marvane::Ovidra::Utils::Vector<ZBW8> t;
         o.Log(LumMultiLevelsMinResidueThreshold(const_cast<ZBWHistogramVector*>(&s.histogram), 3, t)))},
      {"AllMultiLevelsMinResidue", RUN(Marvane::Ovidra::Utils::Vector<ZLabelisationDescriptor> p;
         o.Log(LumAllMultiLevelsMinResidueThreshold(const_cast<ZBWHistogramVector*>(&s.histogram), 3, p)))},
      {"AutoThreshold BW8", RUN(o.Log(LumAutoThreshold(In(s.bw8), LUM_THRESHOLD_MODE_MIN_RESIDUE, 0.5f)))},
      {"AutoThreshold BW16", RUN(o.Log(LumAutoThreshold(In(s.bw16), LUM_THRESHOLD_MODE_ISODATA, 0.5f)))},
      // Filters of fixed and of any size, Canny, the median
      {"Canny Gaussian 5x5 hysteresis", RUN(LumCannyDetector(In(s.bw8), o.bw8.get(), SMOOTH_GAUSSIAN_5X5, EDGE_FOLLOWING_HYSTERESIS))},
      // Growing keeps what it had grown when its stack cannot grow.
      {"Canny median growing", RUN(LumCannyDetector(In(s.bw8), o.bw8.get(), SMOOTH_MEDIAN, EDGE_FOLLOWING_CONTOUR_GROWING)), kPartial},
      {"Uniform BW8 box", RUN(LumConvolUniform(In(s.bw8), o.bw8.get(), 3, 2))},
      {"Uniform BW16 box", RUN(LumConvolUniform(In(s.bw16), o.bw16.get(), 2, 5))},
      {"Uniform C24 box", RUN(LumConvolUniform(In(s.c24), o.c24.get(), 4)), kPartial},
      {"Gaussian BW8 in place", RUN(LumCopy(&s.bw8, o.bw8.get()); LumConvolGaussian(o.bw8.get(), nullptr, 2, 3)), kPartial},
      {"Gaussian BW16", RUN(LumConvolGaussian(In(s.bw16), o.bw16.get(), 3, 1)), kPartial},
      {"Sobel BW8 in place", RUN(LumCopy(&s.bw8, o.bw8.get()); LumConvolSobel(o.bw8.get(), nullptr)), kPartial},
      {"Laplacian4 C24", RUN(LumConvolLaplacian4(In(s.c24), o.c24.get())), kPartial},
      {"Roberts BW16 in place", RUN(LumCopy(&s.bw16, o.bw16.get()); LumConvolRoberts(o.bw16.get(), nullptr)), kPartial},
      {"Median BW8", RUN(o.Log(LumMedian(In(s.bw8), o.bw8.get())))},
      {"Median BW8 in place", RUN(LumCopy(&s.bw8, o.bw8.get()); o.Log(LumMedian(o.bw8.get(), nullptr))), kPartial},
      // Affine resampling, threshold application, measurement, contours
      {"ScaleRotate BW8 in place", RUN(LumCopy(&s.bw8, o.bw8.get()); o.Log(LumScaleRotate(o.bw8.get(), 20, 15, 22, 16, 1.2f, 0.9f, 30, 8))), kPartial},
      {"LinearTransform C24", RUN(LumLinearTransform(In(s.c24), 0.9f, 0.1f, 2, -0.1f, 1.1f, 1, o.c24.get(), 4)), kPartial},
      // A failing level selection still writes the destination (every bit 0).
      {"Threshold BW8 to unaligned BW1", RUN(ZROI<ZBW1> part(&o.bw1, 0, 0, kW, kH);
         LumThreshold(In(s.bw8), &part, LUM_THRESHOLD_MODE_MIN_RESIDUE, 0.5f)), kPartial},
      {"AutoAdaptiveThreshold", RUN(LumAutoAdaptiveThreshold(In(s.bw8), o.bw8.get(), LUM_THRESHOLD_MODE_ISODATA, 8, 6))},
      {"LocalMeanThreshold", RUN(Marvane::Ovidra::Segmentation::LumLocalMeanThreshold(&s.bw8, o.bw8.get(), 3, 2)), kUntraced},
      {"GravityCenter BW8", RUN(float x = 0, y = 0; LumGravityCenter(In(s.bw8), 100, x, y); o.Log(x), o.Log(y))},
      {"Variance BW8", RUN(float m = 0; unsigned n = 0; o.Log(LumVariance(In(s.bw8), &m, &n)); o.Log(m), o.Log(n))},
      {"Correlogram BW16", RUN(ZImage<ZBW16> m; LumCorrelogram(In(s.bw8), In(s.bw8), &m); o.Log(m.GetWidth()))},
      {"Normalize BW16", RUN(LumNormalize(In(s.bw16), o.bw16.get(), 1000.0f, 300.0f))},
      {"Contour BW8 values", RUN(ZBW8PathVector p; LumContour(In(s.bw8), CONTOUR_CLOCKWISE_ALONG_EDGE, 0, 0, CONTOUR_THRESHOLD(0), 128,
                                                              CONNEXITY(1), &p, 1); o.Log(p.GetNumElements()))},
  };
  return cases;
}

}  // namespace kr
