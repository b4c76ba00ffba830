// The Canny detector: its entry, non-maxima suppression and the threshold search. The edge
// following stages are in filters/canny_follow.cc, the wide kernels in filters/canny_wide.cc.
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <new>
#include <vector>

#include "filters/canny_internal.h"
#include "filters/gradient_wide.h"
#include "foundation/frame.h"
#include "foundation/rows.h"
#include "kelmira/filters.h"
#include "kelmira/morphology.h"
#include "kelmira/pixelwise/oper.h"


namespace kelmira::canny {

int DirectionCode(int gx, int gy) {
  const double a = gx < 0 ? -gx : gx, b = gy < 0 ? -gy : gy;
  if (a > 2.42 * b) return 0;
  if (b > 2.42 * a) return 90;
  const int sx = (gx > 0) - (gx < 0), sy = (gy > 0) - (gy < 0);
  return sx == sy ? 45 : 135;
}

bool Unusable(const ZGenericROI* a, const ZGenericROI* b, const ZGenericROI* c) {
  for (const ZGenericROI* v : {a, b, c})
    if (v == nullptr || v->GetVoid() || v->GetWidth() != a->GetWidth() || v->GetHeight() != a->GetHeight())
      return true;
  return false;
}

// Each class is summed from its lowest bin upwards in float, as a loop over the class would, but
// without the loop: the first class grows with t1, the third is kept per t2, and the middle one
// grows with t2 for each t1. So the scores are those of the three-loop search, bit for bit.
void FindThresholds(const uint32_t* h, int& t1, int& t2) {
  float upperN[257], upperS[257];  // [t2, 255], summed upwards from t2
  for (int t = 0; t <= 256; ++t) {
    float n = 0.0f, s = 0.0f;
    for (int i = t; i < 256; ++i) {
      n += static_cast<float>(h[i]);
      s += static_cast<float>(i) * static_cast<float>(h[i]);
    }
    upperN[t] = n;
    upperS[t] = s;
  }
  float best = upperS[0] * upperS[0] / upperN[0];
  t1 = t2 = 0;
  float lowN = 0.0f, lowS = 0.0f;
  for (int a = 0; a < 256; ++a) {
    if (a > 0) {
      lowN += static_cast<float>(h[a - 1]);
      lowS += static_cast<float>(a - 1) * static_cast<float>(h[a - 1]);
    }
    float midN = 0.0f, midS = 0.0f;
    for (int b = a; b < 256; ++b) {
      if (b > a) {
        midN += static_cast<float>(h[b - 1]);
        midS += static_cast<float>(b - 1) * static_cast<float>(h[b - 1]);
      }
      if (lowN <= 0.0f || midN <= 0.0f || upperN[b] <= 0.0f) continue;
      const float score = lowS * lowS / lowN + midS * midS / midN + upperS[b] * upperS[b] / upperN[b];
      if (score > best) {
        best = score;
        t1 = a;
        t2 = b;
      }
    }
  }
}

namespace {

// The magnitude at column x if it is not below either neighbour along the direction of index k
// (0..3 for 0, 45, 90, 135), else 0. The rows are padded: index x + 1 is column x.
inline uint8_t Suppressed(int k, const uint8_t* above, const uint8_t* here, const uint8_t* below, int x) {
  int n1, n2;
  switch (k) {
    case 0: n1 = here[x], n2 = here[x + 2]; break;
    case 1: n1 = above[x], n2 = below[x + 2]; break;
    case 2: n1 = above[x + 1], n2 = below[x + 1]; break;
    default: n1 = above[x + 2], n2 = below[x]; break;
  }
  const int m = here[x + 1];
  return static_cast<uint8_t>(m >= n1 && m >= n2 ? m : 0);
}

// Non-maxima suppression over rows of magnitudes padded with a 0 on each side; rows outside the
// view are all 0. The magnitudes of row y + 1 are made before row y is written, so the gradient
// may be the direction image itself.
void Suppress(ZROI<ZBW32>* gradient, ZROI<ZBW32>* direction, ZROI<ZBW8>* magnitude, bool wide) {
  const int w = gradient->GetWidth(), h = gradient->GetHeight();
  const size_t stride = static_cast<size_t>(w) + 2;
  std::vector<uint8_t> lines;
  try {
    lines.assign(4 * stride, 0);
  } catch (const std::bad_alloc&) {
    return;  // the stage has no error to report: nothing is written
  }
  const rows::Rows<uint32_t> g(gradient), dir(direction);
  const rows::Rows<uint8_t> mag(magnitude);
  const uint8_t* zeros = lines.data() + 3 * stride;
  auto line = [&](int y) { return lines.data() + static_cast<size_t>(y % 3) * stride; };
  auto makeMagnitude = [&](int y) {
    uint8_t* m = line(y) + 1;
    const uint32_t* row = g[y];
    if (wide) return gradient::WideMagnitudeRow(row, m, w);
    for (int x = 0; x < w; ++x) {
      const int gx = static_cast<int16_t>(row[x] & 0xFFFF), gy = static_cast<int16_t>(row[x] >> 16);
      m[x] = static_cast<uint8_t>(((gx < 0 ? -gx : gx) + (gy < 0 ? -gy : gy)) >> 1);
    }
  };
  makeMagnitude(0);
  for (int y = 0; y < h; ++y) {
    if (y + 1 < h) makeMagnitude(y + 1);
    const uint8_t* above = y > 0 ? line(y - 1) : zeros;
    const uint8_t* here = line(y);
    const uint8_t* below = y + 1 < h ? line(y + 1) : zeros;
    const uint32_t* row = g[y];
    uint32_t* codes = dir[y];
    uint8_t* out = mag[y];
    if (wide) {
      gradient::WideSuppressRow(row, above, here, below, codes, out, w);
      continue;
    }
    for (int x = 0; x < w; ++x) {
      const int gx = static_cast<int16_t>(row[x] & 0xFFFF), gy = static_cast<int16_t>(row[x] >> 16);
      const int code = DirectionCode(gx, gy);
      codes[x] = static_cast<uint32_t>(code);
      out[x] = Suppressed(code / 45, above, here, below, x);
    }
  }
}

// The 256 bins of one row, counted into four partial tables so that runs of one value do not
// stall on one counter.
void CountRow(const uint8_t* p, int w, uint32_t (*part)[256]) {
  int x = 0;
  for (; x + 4 <= w; x += 4) ++part[0][p[x]], ++part[1][p[x + 1]], ++part[2][p[x + 2]], ++part[3][p[x + 3]];
  for (; x < w; ++x) ++part[0][p[x]];
}

// The detector's route from the smoothed view to the suppressed magnitude and the direction
// indices, without the two BW32 images: the gradient of row y + 1 goes straight into a padded
// magnitude line and the index image, then row y is suppressed. The pixels are those of
// LumGradientVector followed by NonMaximaSuppression, whose codes the indices stand for.
// Row y of the magnitude is written after the gradient of row y + 1, the last to read smoothed
// row y, so `smoothed` may be the magnitude image itself. The histogram of the magnitude is
// counted row by row while the row is still in the cache.
bool GradientAndSuppress(const ZROI<ZBW8>* smoothed, ZROI<ZBW8>* index, ZROI<ZBW8>* magnitude, bool wide,
                         uint32_t* bins) {
  const int w = smoothed->GetWidth(), h = smoothed->GetHeight();
  const size_t stride = static_cast<size_t>(w) + 2;
  std::vector<uint8_t> lines;
  try {
    lines.assign(4 * stride, 0);
  } catch (const std::bad_alloc&) {
    return false;
  }
  const rows::Rows<const uint8_t> in(smoothed);
  const rows::Rows<uint8_t> idx(index), mag(magnitude);
  const uint8_t* zeros = lines.data() + 3 * stride;
  auto line = [&](int y) { return lines.data() + static_cast<size_t>(y % 3) * stride; };
  auto gradientRow = [&](int y) {
    const uint8_t* n = in[y > 0 ? y - 1 : 0];
    const uint8_t* c = in[y];
    const uint8_t* s = in[y + 1 < h ? y + 1 : h - 1];
    uint8_t* m = line(y) + 1;
    uint8_t* k = idx[y];
    auto one = [&](int x) {
      const int gx = c[x > 0 ? x - 1 : 0] - c[x + 1 < w ? x + 1 : w - 1], gy = n[x] - s[x];
      m[x] = static_cast<uint8_t>(((gx < 0 ? -gx : gx) + (gy < 0 ? -gy : gy)) >> 1);
      k[x] = static_cast<uint8_t>(DirectionCode(gx, gy) / 45);
    };
    one(0);
    if (w > 2 && wide) gradient::WideGradientIndexRow(n, c, s, m, k, 1, w - 2);
    if (w > 2 && !wide)
      for (int x = 1; x + 1 < w; ++x) one(x);
    if (w > 1) one(w - 1);
  };
  uint32_t part[4][256] = {};
  gradientRow(0);
  for (int y = 0; y < h; ++y) {
    if (y + 1 < h) gradientRow(y + 1);
    const uint8_t* above = y > 0 ? line(y - 1) : zeros;
    const uint8_t* below = y + 1 < h ? line(y + 1) : zeros;
    if (wide)
      gradient::WideSuppressIndexRow(idx[y], above, line(y), below, mag[y], w);
    else
      for (int x = 0; x < w; ++x) mag[y][x] = Suppressed(idx[y][x], above, line(y), below, x);
    CountRow(mag[y], w, part);
  }
  for (int i = 0; i < 256; ++i) bins[i] = part[0][i] + part[1][i] + part[2][i] + part[3][i];
  return true;
}

void Smooth(ZROI<ZBW8>* source, ZROI<ZBW8>* smoothed, SMOOTH_MODE mode) {
  const int side = source->GetWidth() < source->GetHeight() ? source->GetWidth() : source->GetHeight();
  switch (mode) {
    case SMOOTH_GAUSSIAN_3X3: return side >= 3 ? LumConvolGaussian3x3(source, smoothed) : LumCopy(source, smoothed);
    case SMOOTH_GAUSSIAN_5X5: return side >= 5 ? LumConvolGaussian5x5(source, smoothed) : LumCopy(source, smoothed);
    case SMOOTH_GAUSSIAN_7X7: return side >= 7 ? LumConvolGaussian7x7(source, smoothed) : LumCopy(source, smoothed);
    case SMOOTH_MEDIAN: LumMedian(source, smoothed); return;
    default: return LumCopy(source, smoothed);
  }
}

}  // namespace
}  // namespace kelmira::canny

void NonMaximaSuppression(ZROI<ZBW32>* gradient, ZROI<ZBW32>* direction, ZROI<ZBW8>* magnitude) {
  if (kelmira::canny::Unusable(gradient, direction, magnitude)) return;
  kelmira::canny::Suppress(gradient, direction, magnitude, ZGetMMX() != 0);
}

void LumCannyDetector(ZROI<ZBW8>* source, ZROI<ZBW8>* destination, SMOOTH_MODE smoothMode,
                      EDGE_FOLLOWING_MODE followingMode) {
  namespace frame = kelmira::frame;
  const char* trace = "Failed canny detection !";
  if (!frame::NotVoid(source) || !frame::SameSize(destination, source)) return frame::Leave(trace);
  ZOk();
  frame::Gate();
  if (!frame::Ok()) return frame::Leave(trace);
  const int w = source->GetWidth(), h = source->GetHeight();
  // The copy of the smoothing modes that do not smooth is the source itself: it is only read.
  // The smoothed view lives in the magnitude image: GradientAndSuppress writes a magnitude row
  // only after the last gradient row that reads it as a smoothed row.
  const bool smooth = smoothMode >= SMOOTH_GAUSSIAN_3X3 && smoothMode <= SMOOTH_MEDIAN;
  ZImage<ZBW8> magnitude, index;
  for (ZImage<ZBW8>* t : {&magnitude, &index})
    if (!frame::Step([&] { t->SetSize(w, h); }) || t->GetVoid()) {
      if (frame::Ok()) frame::Fail(Z_ERROR_NO_MEMORY);
      return frame::Leave(trace);
    }
  // A smoothing that fails (the median's line buffers) leaves its number and trace: 1303.
  if (smooth && !frame::Step([&] { kelmira::canny::Smooth(source, &magnitude, smoothMode); })) return frame::Leave(trace);
  ZOk();
  uint32_t bins[256];
  if (!kelmira::canny::GradientAndSuppress(smooth ? &magnitude : source, &index, &magnitude, ZGetMMX() != 0, bins)) {
    frame::Fail(Z_ERROR_NO_MEMORY);
    return frame::Leave(trace);
  }
  int t1 = 0, t2 = 0;
  kelmira::canny::FindThresholds(bins, t1, t2);
  const int low = t1 == 0 ? 1 : t1;
  if ((followingMode == EDGE_FOLLOWING_HYSTERESIS || followingMode == EDGE_FOLLOWING_CONTOUR_GROWING) &&
      !kelmira::canny::FollowIndexed(&magnitude, destination, &index,
                                     followingMode == EDGE_FOLLOWING_CONTOUR_GROWING, low, t2)) {
    frame::Fail(Z_ERROR_NO_MEMORY);
    frame::Leave(trace);
  }
}
