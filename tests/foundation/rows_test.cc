// The row rule of the wide paths: where a row splits into scalar head, wide middle and scalar tail.
#include "foundation/rows.h"
#include "support/kelmira_test.h"

namespace {
using kelmira::rows::Split;
using kelmira::rows::SplitRow;

// The rule told pixel by pixel: walk the head one pixel at a time until the address is 8-aligned,
// then take whole wide steps while they end at or before the row end.
Split Model(uintptr_t start, int width, int pixelBytes, bool wide) {
  const uintptr_t end = start + uintptr_t(width) * pixelBytes;
  const uintptr_t aligned = (start + 7) & ~uintptr_t(7);
  if (!wide || intptr_t(end - aligned) <= 7) return {width, 0, 0};
  int head = 0;
  uintptr_t p = start;
  for (; p % 8 != 0; p += pixelBytes)
    if (++head >= width || head == 8) return {width, 0, 0};  // no boundary inside the row
  const int step = pixelBytes == 3 ? 24 : pixelBytes > 8 ? pixelBytes : 8;
  const int middle = static_cast<int>((end - p) / step) * (step / pixelBytes);
  return {head, middle, width - head - middle};
}

TEST(RowRule, SplitsForEveryAlignmentAndWidth) {
  alignas(64) static uint8_t row[16 + 40 * 8];
  for (int pixelBytes : {1, 2, 3, 4, 8}) {
    for (int offset = 0; offset < 16; ++offset) {
      for (int width = 0; width <= 40; ++width) {
        for (bool wide : {false, true}) {
          const Split s = SplitRow(row + offset, width, pixelBytes, wide);
          const Split m = Model(reinterpret_cast<uintptr_t>(row + offset), width, pixelBytes, wide);
          ASSERT_EQ(s.head, m.head) << pixelBytes << " bytes, offset " << offset << ", width " << width;
          ASSERT_EQ(s.middle, m.middle) << pixelBytes << " bytes, offset " << offset << ", width " << width;
          ASSERT_EQ(s.tail, m.tail);
          if (s.middle > 0) {
            EXPECT_EQ(reinterpret_cast<uintptr_t>(row + offset + s.head * pixelBytes) % 8, 0u);
            EXPECT_EQ((s.middle * pixelBytes) % 8, 0);
          }
        }
      }
    }
  }
}

TEST(RowRule, WalkRowCallsEachPhaseOnItsRange) {
  alignas(64) static uint8_t row[64];
  std::vector<std::pair<int, int>> scalar, wide;
  kelmira::rows::WalkRow(
      row + 5, 30, 1, true, [&](int x, int n) { scalar.emplace_back(x, n); },
      [&](int x, int n) { wide.emplace_back(x, n); });
  EXPECT_EQ(scalar, (std::vector<std::pair<int, int>>{{0, 3}, {27, 3}}));
  EXPECT_EQ(wide, (std::vector<std::pair<int, int>>{{3, 24}}));
}

}  // namespace
