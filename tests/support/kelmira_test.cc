#include "support/kelmira_test.h"

#include "hwy/targets.h"

namespace kt {

std::vector<std::string> Trace() {
  std::vector<std::string> out;
  for (int i = 0; i < ZGetTraceCount(); ++i) out.emplace_back(ZGetTraceEntry(i));
  return out;
}

std::mt19937& Rng() {
  static thread_local std::mt19937 rng(20261121u);
  return rng;
}

bool SameBytes(const ZGenericROI* a, const ZGenericROI* b) {
  if (a->GetWidth() != b->GetWidth() || a->GetHeight() != b->GetHeight()) return false;
  const int bytes = a->GetImageType() == Z_IMAGE_BW1 ? (a->GetWidth() + 7) / 8 : a->GetWidth() * a->GetPixelSize();
  for (int y = 0; y < a->GetHeight(); ++y)
    if (std::memcmp(a->GetGenericImagePtr(0, y), b->GetGenericImagePtr(0, y), static_cast<size_t>(bytes)) != 0)
      return false;
  return true;
}

namespace {
const std::vector<int64_t> g_targets = [] {  // at start-up, before any test forces a target
  std::vector<int64_t> out;
  for (int64_t t : {int64_t{HWY_AVX3_DL}, int64_t{HWY_AVX3}, int64_t{HWY_AVX2}, int64_t{HWY_SSE4}, int64_t{HWY_SCALAR}})
    if (hwy::SupportedTargets() & t) out.push_back(t);
  return out;
}();
}  // namespace
const std::vector<int64_t>& Targets() { return g_targets; }

void ForEveryTarget(const std::function<void()>& body) {
  WideSetting on(1);
  for (int64_t target : hwy::SupportedAndGeneratedTargets()) {
    hwy::SetSupportedTargetsForTest(target);
    SCOPED_TRACE(hwy::TargetName(target));
    body();
  }
  hwy::SetSupportedTargetsForTest(0);
}

void ForScalarAndEveryTarget(const std::function<void()>& body) {
  ForScalarAndWide([&](int wide) { wide ? ForEveryTarget(body) : body(); });
}

std::vector<int> Upto(int last, int first) {
  std::vector<int> v;
  for (int i = first; i <= last; ++i) v.push_back(i);
  return v;
}

::testing::AssertionResult Failed(int error, const std::vector<std::string>& trace) {
  const std::vector<std::string> got = Trace();
  if (ZGetError() == error && got == trace) return ::testing::AssertionSuccess();
  ::testing::AssertionResult r = ::testing::AssertionFailure();
  r << "error " << ZGetError() << " (want " << error << "), trace";
  for (const std::string& s : got) r << " \"" << s << "\"";
  r << " (want";
  for (const std::string& s : trace) r << " \"" << s << "\"";
  return r << ")";
}

std::vector<uint8_t> Bytes(const ZGenericROI* view) {
  std::vector<uint8_t> out;
  const int bytes = view->GetImageType() == Z_IMAGE_BW1 ? (view->GetWidth() + 7) / 8 : view->GetWidth() * view->GetPixelSize();
  for (int y = 0; y < view->GetHeight(); ++y) {
    const uint8_t* row = static_cast<const uint8_t*>(view->GetGenericImagePtr(0, y));
    out.insert(out.end(), row, row + bytes);
  }
  return out;
}

std::function<void()> Gated(const std::function<void()>& call) {
  return [=] { ZSetGateError(Z_ERROR_INTERNAL), call(), ZSetGateError(Z_ERROR_NONE); };
}

int Thrown(const std::function<void()>& call) {
  try {
    call();
  } catch (const Marvane::Ovidra::Exception& e) {
    return static_cast<int>(e.code);
  }
  return 0;
}

ZBWHistogramVector Histogram(const std::vector<uint32_t>& bins) {
  ZBWHistogramVector h;
  h.SetNumElements(static_cast<unsigned>(bins.size()));
  std::memcpy(h.GetDataPtr(), bins.data(), bins.size() * sizeof(uint32_t));
  return h;
}

Plane RandomPlane(int w, int h, int64_t lo, int64_t hi, int ends) {
  Plane m(w, h);
  std::uniform_int_distribution<int64_t> u(lo, hi);
  for (int64_t& v : m.p) {
    const int e = ends > 0 ? static_cast<int>(Rng()() % static_cast<unsigned>(ends)) : 2;
    v = e == 0 ? lo : e == 1 ? hi : u(Rng());
  }
  return m;
}

void CheckRefusals(const std::vector<Refusal>& rows) {
  for (size_t i = 0; i < rows.size(); ++i) {
    rows[i].call();
    EXPECT_TRUE(Failed(rows[i].error, rows[i].trace)) << "row " << i;
  }
}

}  // namespace kt
