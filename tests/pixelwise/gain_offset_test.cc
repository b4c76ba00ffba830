// LumGainOffset: BW8 table and wrapping wide middle, BW16 arithmetic shift, C24 crossed, failures.
#include <cmath>

#include "support/kelmira_test.h"

namespace {

// The fixed-point constants, as an independent model: truncation toward 0.
int32_t Fixed(double v) { return static_cast<int32_t>(std::trunc(v)); }

uint8_t TableEntry(int i, int32_t g, int32_t o) {
  const int64_t shifted = static_cast<int64_t>(static_cast<uint32_t>(i * static_cast<int64_t>(g)) >> 5);
  const uint32_t v = static_cast<uint32_t>(shifted + o);
  if (v <= 255) return static_cast<uint8_t>(v);
  return static_cast<int32_t>(v) < 0 ? 0 : 255;
}

uint8_t WideEntry(int i, int32_t g, int32_t o) {
  const int product = (i * (g & 0xffff)) & 0xffff;
  int v = (product >> 5) + static_cast<int16_t>(o & 0xffff);
  v = v < -32768 ? -32768 : v > 32767 ? 32767 : v;
  return static_cast<uint8_t>(v < 0 ? 0 : v > 255 ? 255 : v);
}

// BW16: a 32-bit product with wrap-around, an arithmetic shift, then the clip.
uint16_t BW16Entry(int i, int32_t g, int32_t o) {
  const int32_t product = static_cast<int32_t>(static_cast<uint32_t>(i) * static_cast<uint32_t>(g));
  const int64_t v = static_cast<int32_t>(static_cast<uint32_t>(product >> 5) + static_cast<uint32_t>(o));
  return static_cast<uint16_t>(v < 0 ? 0 : v > 65535 ? 65535 : v);
}

// Whether the pixel at byte x of a destination row starting at `row` is in the wide middle: told
// byte by byte from the rule, without the foundation's helper.
bool InWideMiddle(const uint8_t* row, int width, int x) {
  const uintptr_t start = reinterpret_cast<uintptr_t>(row), end = start + width;
  const uintptr_t aligned = (start + 7) & ~uintptr_t(7);
  if (static_cast<intptr_t>(end - aligned) <= 7) return false;
  const uintptr_t lastStep = end & ~uintptr_t(7);
  const uintptr_t p = start + x;
  return p >= aligned && p < lastStep;
}

// For each pair of constants, every `every`-th geometry from the pair's number on (together: all): scalar, wide, and
// both in place through a null destination, each pixel against want(pixel, g, o, in the wide middle).
template <class T>
void CheckGain(const std::vector<float>& gains, const std::vector<float>& offsets, size_t every,
               uint32_t (*want)(int, int32_t, int32_t, bool)) {
  const std::vector<kt::Geometry> all = kt::Geometries();
  size_t row = 0, round = 0;
  for (float gain : gains)
    for (float offset : offsets)
      for (size_t i = row++ % every; i < all.size(); i += every)
        for (int run = 0; run < 4; ++run) {
          const int32_t g = Fixed(gain * 32.0), o = Fixed(offset);
          const kt::Geometry& geo = all[i];
          SCOPED_TRACE(testing::Message() << gain << "/" << offset << " width " << geo.width << " at " << geo.destinationOffset
                                          << " run " << run);
          const kt::TargetSetting target(kt::NthTarget(round++));
          kt::Aligned<T> s(geo.width, geo.height, geo.sourceOffset), d(geo.width, geo.height, geo.destinationOffset);
          s.FillRandom(kt::Rng());
          const kt::Plane in = kt::Read(s.get());
          {
            kt::WideSetting setting(run & 1);
            LumGainOffset(s.get(), run < 2 ? d.get() : nullptr, gain, offset);
          }
          ASSERT_TRUE(ZGetError() == Z_ERROR_NONE && d.GuardsIntact() && s.GuardsIntact());
          const kt::Plane out = kt::Read((run < 2 ? d : s).get());
          for (int y = 0; y < geo.height; ++y) {
            const uint8_t* start = reinterpret_cast<const uint8_t*>((run < 2 ? d : s)->GetImagePtr(0, y));
            for (int x = 0; x < geo.width; ++x) {
              const bool middle = (run & 1) && InWideMiddle(start, geo.width * sizeof(T), x * sizeof(T));
              ASSERT_EQ(out.at(x, y), want(int(in.at(x, y)), g, o, middle)) << "x " << x;
            }
          }
        }
}

// Below the wrap the table and the wide middle agree; above it the middle wraps where the table
// clips, and only the row rule tells which pixels took which.
TEST(LumGainOffset, BW8TableAndWideMiddleByTheRowRule) {
  CheckGain<ZBW8>({0.0f, 0.03f, 0.5f, 1.0f, 1.7f, 3.999f, 8.0f, 8.03f, 8.04f, 9.5f, 100.0f, 2047.9f, -1.0f, -0.5f, -70.0f},
                  {0.0f, 5.0f, 12.9f, -12.9f, -40.0f, -300.0f, 300.0f, 65536.0f, 40000.0f, -40000.0f}, 6,
                  [](int p, int32_t g, int32_t o, bool middle) -> uint32_t {
                    return middle ? WideEntry(p, g, o) : TableEntry(p, g, o);
                  });
}

TEST(LumGainOffset, BW16ArithmeticShiftAndClip) {
  CheckGain<ZBW16>({1.0f, 0.37f, -1.0f, -0.5f, 3.3f, 40000.0f, 70000.0f}, {0.0f, 1000.5f, -1000.5f, 70000.0f, 2e9f}, 4,
                   [](int p, int32_t g, int32_t o, bool) -> uint32_t { return BW16Entry(p, g, o); });
}

uint8_t ColourEntry(int i, float gain, float offset) {
  const long double v = static_cast<long double>(i) * gain + offset;
  const long double t = std::trunc(v);
  return static_cast<uint8_t>(t < 0 ? 0 : t > 255 ? 255 : static_cast<int>(t));
}

TEST(LumGainOffset, C24CrossedComponents) {
  const ZColor gain(0.5f, 1.25f, -2.0f), offset(3.0f, -7.5f, 300.25f);
  const auto ref = [&](ZC24 s, ZC24) {
    return ZC24(ColourEntry(s.c0, gain.c2, offset.c2), ColourEntry(s.c1, gain.c1, offset.c1), ColourEntry(s.c2, gain.c0, offset.c0));
  };
  kt::CheckAgainst<ZC24, ZC24>([&](ZROI<ZC24>* s, ZROI<ZC24>* d) { LumGainOffset(s, d, gain, offset); }, ref, nullptr, true);
}

TEST(LumGainOffset, FailuresAndTraces) {
  kt::CheckFrame<ZBW8, ZBW8>([](ZROI<ZBW8>* s, ZROI<ZBW8>* d) { LumGainOffset(s, d, 1.0f, 0.0f); }, "LumGainOffset");
  kt::CheckFrame<ZBW16, ZBW16>([](ZROI<ZBW16>* s, ZROI<ZBW16>* d) { LumGainOffset(s, d, 1.0f, 0.0f); }, "LumGainOffset (BW16)");
  kt::CheckFrame<ZC24, ZC24>([](auto s, auto d) { LumGainOffset(s, d, ZColor(1, 1, 1), ZColor(0, 0, 0)); }, "LumGainOffset");
  // Extreme gains do not crash and stay in range.
  kt::Aligned<ZBW8> a(6, 6);
  kt::Aligned<ZBW16> c(6, 6);
  LumGainOffset(a.get(), nullptr, std::nanf(""), 1e30f);
  EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
  LumGainOffset(c.get(), nullptr, 1e30f, -1e30f);
  EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
}

}  // namespace
