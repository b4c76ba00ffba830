#include "support/kelmira_test.h"

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

}  // namespace kt
