// The named selectors on 256-bin histograms: minimum residue with two and three classes, maximum
// entropy, and the multi-level minimum residue by dynamic programming over float tables.
#include <cfloat>
#include <cmath>
#include <new>
#include <vector>

#include "foundation/frame.h"
#include "kelmira/thresholds/selection.h"

namespace kelmira::selection {
namespace {

using Regions = Marvane::Ovidra::Utils::Vector<ZRegionDescriptor>;
using Partitions = Marvane::Ovidra::Utils::Vector<ZLabelisationDescriptor>;

bool Checked(const ZBWHistogramVector* histogram) {
  if (histogram == nullptr) return frame::Fail(Z_ERROR_NULL_IMAGE);
  if (histogram->GetNumElements() != 256 || histogram->GetDataPtr() == nullptr) return frame::Fail(Z_ERROR_TABLE_SIZE);
  return true;
}

// Running sums over the levels below t: n[t] pixels, s[t] their moment, e[t] their sum of n ln n.
struct Prefix {
  uint64_t n[257], s[257];
  long double e[257];
  double s2;  // sum of bin * i * i by triangular numbers: 2 * sum(t_i * bin) - S1
  explicit Prefix(const uint32_t* h) {
    n[0] = s[0] = 0;
    e[0] = 0.0L;
    double triangular = 0.0;
    for (unsigned i = 0; i < 256; ++i) {
      n[i + 1] = n[i] + h[i];
      s[i + 1] = s[i] + uint64_t{h[i]} * i;
      e[i + 1] = e[i] + (h[i] == 0 ? 0.0L : h[i] * std::log(static_cast<long double>(h[i])));
      triangular += (static_cast<double>(i) * (i + 1) / 2) * h[i];
    }
    s2 = 2.0 * triangular - static_cast<double>(s[256]);
  }
  // Sum of S * S / N of the levels a..b - 1.
  long double Score(unsigned a, unsigned b) const {
    const long double count = n[b] - n[a], moment = s[b] - s[a];
    return moment * moment / count;
  }
  float Mean(unsigned a, unsigned b) const { return static_cast<float>(static_cast<double>(s[b] - s[a]) / (n[b] - n[a])); }
};

// The root-mean-square residue sqrt((S2 - best) / N); a rounding below 0 gives 0.
float Rms(long double s2, long double best, long double n) {
  const long double v = (s2 - best) / n;
  return static_cast<float>(v > 0.0L ? std::sqrt(v) : 0.0L);
}

// One upward scan for t from 0 to 255 maximising the two-class residue score. `Best` is float in
// LumMinResidueThreshold, extended in LumTwoLevelsMinResidueThreshold.
template <class Best>
unsigned TwoClasses(const Prefix& p, Best* best, float& averageBelow, float& averageAbove) {
  const uint64_t total = p.n[256];
  *best = static_cast<Best>(p.Score(0, 256));
  unsigned threshold = 0;
  for (unsigned t = 0; t < 256; ++t) {
    if (p.n[t] == 0 || p.n[t] == total) continue;
    const long double score = p.Score(0, t) + p.Score(t, 256);
    if (score > *best) {
      *best = static_cast<Best>(score);
      threshold = t;
      averageBelow = p.Mean(0, t);
      averageAbove = p.Mean(t, 256);
    }
  }
  return threshold;
}

// ----- multi-level dynamic programme -----

// The five tables of the search, indexed [s][e] or [s][k]: pixel count and moment of the levels
// s..e, their score sum * sum / count (-1 for an empty class), the best score of the levels from s
// up split into k + 1 classes, and the first level of the class after s there.
struct Tables {
  std::vector<float> count, sum, score, best;
  std::vector<uint8_t> cut;
  unsigned lo = 0, hi = 0;
  float& At(std::vector<float>& t, unsigned a, unsigned b) { return t[a * 256 + b]; }
};

bool Build(const uint32_t* h, Tables& t) {
  int lo = 0, hi = 255;
  while (lo < 256 && h[lo] == 0) ++lo;
  if (lo == 256) return frame::Fail(Z_ERROR_TABLE_SIZE);
  while (h[hi] == 0) --hi;
  try {
    t.count.assign(65536, 0.0f);
    t.sum.assign(65536, 0.0f);
    t.score.assign(65536, -1.0f);
    t.best.assign(65536, -1.0f);
    t.cut.assign(65536, 0);
  } catch (const std::bad_alloc&) {
    return frame::Fail(Z_ERROR_NO_MEMORY);
  }
  t.lo = static_cast<unsigned>(lo), t.hi = static_cast<unsigned>(hi);
  for (int s = lo; s <= hi; ++s) {
    long double n = 0.0L, m = 0.0L;
    for (int e = s; e <= hi; ++e) {
      n += h[e];
      m += static_cast<long double>(h[e]) * e;
      const float c = static_cast<float>(n), v = static_cast<float>(m);
      t.At(t.count, s, e) = c;
      t.At(t.sum, s, e) = v;
      t.At(t.score, s, e) = c == 0.0f ? -1.0f : v * v / c;
    }
  }
  return true;
}

// Stage k for s from `from` to `to`: the best split of s..hi into k + 1 classes, trying each end
// c - 1 of the first class; the greatest sum above 0.0 wins, the lowest c on a tie.
void Stage(Tables& t, unsigned k, unsigned from, unsigned to) {
  for (unsigned s = from; s <= to; ++s) {
    float best = 0.0f;
    unsigned cut = 0;
    for (unsigned c = s + 1; c + k <= t.hi + 1; ++c) {
      const float a = t.At(t.score, s, c - 1), b = t.At(t.best, c, k - 1);
      if (a < 0.0f || b < 0.0f) continue;
      if (a + b > best) best = a + b, cut = c;
    }
    t.At(t.best, s, k) = cut != 0 ? best : -1.0f;
    if (cut != 0) t.cut[s * 256 + k] = static_cast<uint8_t>(cut);
  }
}

ZRegionDescriptor Region(Tables& t, unsigned first, unsigned last) {
  const float count = t.At(t.count, first, last), mean = t.At(t.sum, first, last) / count;
  float q = 0.0f;
  for (unsigned i = first; i <= last; ++i) q += static_cast<float>(i) * t.At(t.sum, i, i);
  return ZRegionDescriptor{first, last, mean, q / count - mean * mean, static_cast<uint32_t>(count)};
}

// Walks the cuts back from best[lo][k] into k + 1 regions and returns their residue, or -1.0 with
// 32767 when that partition was not formed.
float Partition(Tables& t, unsigned k, Regions& regions) {
  unsigned s = t.lo;
  for (unsigned j = k; j > 0; --j) {
    if (t.At(t.best, s, j) < 0.0f) return frame::Fail(Z_ERROR_INTERNAL), -1.0f;
    const unsigned c = t.cut[s * 256 + j];
    regions.AddElement(Region(t, s, c - 1));
    s = c;
  }
  regions.AddElement(Region(t, s, t.hi));
  float q = 0.0f;
  for (unsigned i = t.lo; i <= t.hi; ++i) q += static_cast<float>(i) * t.At(t.sum, i, i);
  return Rms(q, t.At(t.best, t.lo, k), t.At(t.count, t.lo, t.hi));
}

// `classes` classes of the histogram into `out`; the residue or -1.0.
float MultiLevels(ZBWHistogramVector* histogram, unsigned classes, Regions& out) {
  if (!Checked(histogram)) return -1.0f;
  if (classes < 2) return frame::Fail(Z_ERROR_ARGUMENT_2), -1.0f;
  Tables t;
  if (!Build(histogram->GetDataPtr(), t)) return -1.0f;
  const unsigned k = classes - 1;
  if (k > t.hi - t.lo) return frame::Fail(Z_ERROR_INTERNAL), -1.0f;  // more classes than levels
  for (unsigned s = t.lo + k; s <= t.hi; ++s) t.At(t.best, s, 0) = t.At(t.score, s, t.hi);
  for (unsigned j = 1; j < k; ++j) Stage(t, j, t.lo + k - j, t.hi - j);
  Stage(t, k, t.lo, t.lo);
  if (t.At(t.best, t.lo, k) < 0.0f) return frame::Fail(Z_ERROR_INTERNAL), -1.0f;
  Regions regions;
  const float residue = Partition(t, k, regions);
  if (residue >= 0.0f) out = regions;
  return residue;
}

float AllMultiLevels(ZBWHistogramVector* histogram, unsigned classes, Partitions& out) {
  if (!Checked(histogram)) return -1.0f;
  if (classes < 2) return frame::Fail(Z_ERROR_ARGUMENT_2), -1.0f;
  Tables t;
  if (!Build(histogram->GetDataPtr(), t)) return -1.0f;
  if (classes > 256) return frame::Fail(Z_ERROR_INTERNAL), -1.0f;  // more classes than levels
  for (unsigned s = t.lo + 1; s <= t.hi; ++s) t.At(t.best, s, 0) = t.At(t.score, s, t.hi);
  // The stages are laid out for every count at once; stage k starts at the unsigned level
  // lo + 1 - k, which wraps past the top, leaving the stage empty, once k exceeds lo + 1.
  for (unsigned k = 1; k < classes; ++k) {
    const unsigned from = t.lo + 1 - k;
    if (t.lo + 1 < k || k > t.hi) continue;
    Stage(t, k, from, t.hi - k);
  }
  Partitions partitions;
  float residue = -1.0f;
  for (unsigned r = 1; r < classes; ++r) {
    ZLabelisationDescriptor d;
    residue = Partition(t, r, d.m_Regions);
    if (residue < 0.0f) return -1.0f;
    d.m_f32Residue = residue;
    partitions.AddElement(d);
  }
  out = partitions;
  return residue;
}

// Runs `body` and turns a failed allocation of a result vector into 1303.
template <class F>
auto Guarded(F&& body) -> decltype(body()) {
  try {
    return body();
  } catch (const std::bad_alloc&) {
    frame::Fail(Z_ERROR_NO_MEMORY);
    return static_cast<decltype(body())>(-1.0f);
  }
}

}  // namespace
}  // namespace kelmira::selection

namespace sel = kelmira::selection;
namespace frame = kelmira::frame;

ZBW8 LumMinResidueThreshold(ZBWHistogramVector* histogram, float& averageBelow, float& averageAbove) {
  unsigned t = 0;
  if (frame::Enter() && sel::Checked(histogram)) {
    const sel::Prefix p(histogram->GetDataPtr());
    float best = 0.0f;
    if (p.n[256] != 0) t = sel::TwoClasses(p, &best, averageBelow, averageAbove);
  }
  frame::Leave("LumMinResidueThreshold");
  return static_cast<uint8_t>(t);
}

float LumTwoLevelsMinResidueThreshold(ZBWHistogramVector* histogram, ZBW8& threshold, float& averageBelow,
                                      float& averageAbove) {
  float residue = -1.0f;
  if (frame::Enter() && sel::Checked(histogram)) {
    const sel::Prefix p(histogram->GetDataPtr());
    long double best = 0.0L;
    threshold = 0;
    residue = 0.0f;
    if (p.n[256] != 0) {
      threshold = static_cast<uint8_t>(sel::TwoClasses(p, &best, averageBelow, averageAbove));
      residue = sel::Rms(p.s2, best, p.n[256]);
    }
  }
  frame::Leave("LumTwoLevelsMinResidueThreshold");
  return residue;
}

float LumThreeLevelsMinResidueThreshold(ZBWHistogramVector* histogram, ZBW8& first, ZBW8& second, float& average1,
                                        float& average2, float& average3) {
  if (!frame::Enter() || !sel::Checked(histogram)) {
    frame::Leave("LumThreeLevelsMinResidueThreshold");
    return -1.0f;
  }
  const sel::Prefix p(histogram->GetDataPtr());
  const uint64_t total = p.n[256];
  unsigned t1Best = 0, t2Best = 0;
  float best = total != 0 ? static_cast<float>(p.Score(0, 256)) : 0.0f;
  for (unsigned t1 = 1; t1 < 256; ++t1) {
    if (p.n[t1] == 0) continue;
    for (unsigned t2 = t1 + 1; t2 < 256; ++t2) {
      if (p.n[t2] == p.n[t1] || p.n[t2] == total) continue;
      const long double score = p.Score(0, t1) + p.Score(t1, t2) + p.Score(t2, 256);
      if (score > best) {
        best = static_cast<float>(score);
        t1Best = t1, t2Best = t2;
        average1 = p.Mean(0, t1);
        average2 = p.Mean(t1, t2);
        average3 = p.Mean(t2, 256);
      }
    }
  }
  first = static_cast<uint8_t>(t1Best);
  second = static_cast<uint8_t>(t2Best);
  return total != 0 ? sel::Rms(p.s2, best, total) : 0.0f;
}

float LumMultiLevelsMinResidueThreshold(ZBWHistogramVector* histogram, unsigned int count,
                                        Marvane::Ovidra::Utils::Vector<ZRegionDescriptor>& regions) {
  float residue = -1.0f;
  if (frame::Enter()) residue = sel::Guarded([&] { return sel::MultiLevels(histogram, count, regions); });
  frame::Leave("LumMultiLevelsMinResidueThreshold");
  return frame::Ok() ? residue : -1.0f;
}

float LumMultiLevelsMinResidueThreshold(ZBWHistogramVector* histogram, unsigned int count,
                                        Marvane::Ovidra::Utils::Vector<ZBW8>& thresholds) {
  float residue = -1.0f;
  if (frame::Enter()) {
    Marvane::Ovidra::Utils::Vector<ZRegionDescriptor> regions;
    if (frame::Step([&] { residue = LumMultiLevelsMinResidueThreshold(histogram, count + 1, regions); })) {
      sel::Guarded([&] {
        Marvane::Ovidra::Utils::Vector<ZBW8> levels;
        for (int i = 1; i < regions.GetSize(); ++i) levels.AddElement(static_cast<uint8_t>(regions[i].m_un32First));
        thresholds = levels;
        return 0.0f;
      });
    }
  }
  frame::Leave("LumMultiLevelsMinResidueThreshold ( ZBW8)");
  return frame::Ok() ? residue : -1.0f;
}

float LumAllMultiLevelsMinResidueThreshold(ZBWHistogramVector* histogram, unsigned int count,
                                           Marvane::Ovidra::Utils::Vector<ZLabelisationDescriptor>& partitions) {
  float residue = -1.0f;
  if (frame::Enter()) residue = sel::Guarded([&] { return sel::AllMultiLevels(histogram, count, partitions); });
  frame::Leave("LumAllMultiLevelsMinResidueThreshold");
  return frame::Ok() ? residue : -1.0f;
}

ZBW8 LumMaxEntropyThreshold(ZBWHistogramVector* histogram, float& averageBelow, float& averageAbove) {
  unsigned threshold = 0;
  if (frame::Enter() && sel::Checked(histogram)) {
    const sel::Prefix p(histogram->GetDataPtr());
    const long double total = p.n[256], e = p.e[256];
    if (p.n[256] != 0) {
      float best = static_cast<float>(std::log(total) - e / total);
      for (unsigned t = 0; t < 256; ++t) {
        if (p.n[t] == 0 || p.n[t] == p.n[256]) continue;
        const long double nb = p.n[t], na = total - nb, eb = p.e[t], ea = e - eb;
        const long double score = (std::log(na) - ea / na) + (std::log(nb) - eb / nb);
        if (score > best) {
          best = static_cast<float>(score);
          threshold = t;
          averageBelow = p.Mean(0, t);
          averageAbove = p.Mean(t, 256);
        }
      }
    }
  }
  frame::Leave("LumMaxEntropyThreshold");
  return static_cast<uint8_t>(threshold);
}
