// LumConvert and LumConvertTo422: each form against its formula at every alignment, and its frame.
#include <cmath>
#include <limits>

#include "support/kelmira_test.h"

namespace {

// A form of the plain call LumConvert(source, destination), or of `call` where given.
template <class S, class D>
void Check(const char* trace, const std::function<D(S, D)>& ref,
           const std::function<void(kt::Framed<S>&)>& fill = nullptr,
           std::function<void(ZROI<S>*, ZROI<D>*)> call = [](ZROI<S>* s, ZROI<D>* d) { LumConvert(s, d); }) {
  SCOPED_TRACE(trace);
  kt::CheckAgainst<S, D>(call, ref, fill);
  kt::CheckFrame<S, D>(call, trace, false);
}


ZC24 FromC15(uint16_t w) {
  return ZC24(static_cast<uint8_t>((w & 31) * 8), static_cast<uint8_t>(((w >> 5) & 31) * 8),
              static_cast<uint8_t>(((w >> 10) & 31) * 8));
}
ZC24 FromC16(uint16_t w) {
  return ZC24(static_cast<uint8_t>((w & 31) * 8), static_cast<uint8_t>(((w >> 5) & 63) * 4),
              static_cast<uint8_t>(((w >> 11) & 31) * 8));
}
uint16_t ToC15(int b0, int b1, int b2, uint16_t old) {
  return static_cast<uint16_t>((old & 0x8000) | (b2 / 8) << 10 | (b1 / 8) << 5 | (b0 / 8));
}
uint16_t ToC16(int b0, int b1, int b2) { return static_cast<uint16_t>((b2 / 8) << 11 | (b1 / 4) << 5 | (b0 / 8)); }

TEST(LumConvert, FifteenAndSixteenBitColour) {
  Check<ZC24, ZC15>("LumConvert ( C24 to C15)", [](ZC24 s, ZC15 old) { return ZC15(ToC15(s.c0, s.c1, s.c2, old)); });
  Check<ZBW8, ZC15>("LumConvert ( BW8 to C15)", [](ZBW8 s, ZC15 old) { return ZC15(ToC15(s, s, s, old)); });
  Check<ZC24, ZC16>("LumConvert ( C24 to C16)", [](ZC24 s, ZC16) { return ZC16(ToC16(s.c0, s.c1, s.c2)); });
  Check<ZBW8, ZC16>("LumConvert ( BW8 to C16)", [](ZBW8 s, ZC16) { return ZC16(ToC16(s, s, s)); });
  Check<ZC15, ZC24>("LumConvert ( C15 to C24)", [](ZC15 s, ZC24) { return FromC15(s); });
  Check<ZC16, ZC24>("LumConvert ( C16 to C24)", [](ZC16 s, ZC24) { return FromC16(s); });
}

TEST(LumConvert, GrayFromColourKeepsItsThreeFormulas) {
  Check<ZC24, ZBW8>("LumConvert ( C24 to BW8)",
                    [](ZC24 s, ZBW8) { return ZBW8(static_cast<uint8_t>((s.c0 + s.c1 + s.c2) * 85 / 256)); });
  Check<ZC15, ZBW8>("LumConvert ( C15 to BW8)", [](ZC15 s, ZBW8) {
    const int sum = (s & 31) + ((s >> 5) & 31) + ((s >> 10) & 31);
    return ZBW8(static_cast<uint8_t>(std::floor(8.0 * sum / 3.0)));
  });
  Check<ZC16, ZBW8>("LumConvert ( C16 to BW8)", [](ZC16 s, ZBW8) {
    const int r = (s >> 11) & 31, g = (s >> 5) & 63, b = s & 31;
    return ZBW8(static_cast<uint8_t>(std::floor(4.0 * (g + 2 * (r + b)) / 3.0)));
  });
  Check<ZBW8, ZBW16>("LumConvertTo422 ( BW8 to BW16)", [](ZBW8 s, ZBW16) { return ZBW16(static_cast<uint16_t>(0x8000 + s)); },
                     nullptr, [](ZROI<ZBW8>* s, ZROI<ZBW16>* d) { LumConvertTo422(s, d); });
}

// The alpha forms: the destination's alpha kept, joined from a colour and a BW8 view, split into
// both again; the frames check the BW8 view as well.
TEST(LumConvert, AlphaAndGrayToColour) {
  Check<ZBW8, ZC24>("LumConvert ( BW8 to C24)", [](ZBW8 s, ZC24) { return ZC24(s, s, s); });
  Check<ZC24, ZC24A>("LumConvert ( C24 to C24A)", [](ZC24 s, ZC24A old) { return ZC24A(s.c0, s.c1, s.c2, old.alpha); });
  Check<ZC24A, ZC24>("LumConvert ( C24A to C24)", [](ZC24A s, ZC24) { return ZC24(s.c0, s.c1, s.c2); });
  kt::CheckAgainst2<ZC24, ZBW8, ZC24A>([](ZROI<ZC24>* s, ZROI<ZBW8>* a, ZROI<ZC24A>* d) { LumConvert(s, a, d); },
                                       [](ZC24 s, ZBW8 a, ZC24A) { return ZC24A(s.c0, s.c1, s.c2, a); });
  kt::CheckAgainst2<ZC24A, ZBW8, ZC24>([](ZROI<ZC24A>* s, ZROI<ZBW8>* a, ZROI<ZC24>* d) { LumConvert(s, d, a); },
                                       [](ZC24A s, ZBW8, ZC24) { return ZC24(s.c0, s.c1, s.c2); });
  kt::CheckAgainst2<ZC24A, ZC24, ZBW8>([](ZROI<ZC24A>* s, ZROI<ZC24>* d, ZROI<ZBW8>* a) { LumConvert(s, d, a); },
                                       [](ZC24A s, ZC24, ZBW8) { return ZBW8(s.alpha); });
  const char* const join = "LumConvert ( C24 to C24A with Alpha)";
  const char* const split = "LumConvert ( C24A to C24 with Alpha)";
  kt::CheckFrame<ZC24, ZC24A>([](auto s, auto d) { LumConvert(s, kt::Aligned<ZBW8>(8, 3).get(), d); }, join, false);
  kt::CheckFrame<ZC24A, ZC24>([](auto s, auto d) { LumConvert(s, d, kt::Aligned<ZBW8>(8, 3).get()); }, split, false);
  kt::Aligned<ZC24> c(4, 4);
  kt::Aligned<ZC24A> ca(4, 4);
  kt::Aligned<ZBW8> a5(5, 4);
  kt::CheckRefusals({{[&] { LumConvert(c.get(), a5.get(), ca.get()); }, Z_ERROR_DIFFERENT_SIZES, {join}},
                     {[&] { LumConvert(ca.get(), c.get(), a5.get()); }, Z_ERROR_DIFFERENT_SIZES, {split}},
                     {[&] { LumConvert(ca.get(), c.get(), static_cast<ZROI<ZBW8>*>(nullptr)); }, Z_ERROR_NULL_IMAGE,
                      {split}}});
}


template <class S, class D>
void CheckDepth(const char* trace, bool narrower) {
  for (unsigned shift : {0u, 8u, 15u, 16u, 36u, 0xffffffffu}) {
    SCOPED_TRACE(testing::Message() << "shift " << shift);
    const auto ref = [shift, narrower](S s, D) {
      return D(static_cast<decltype(D().value)>(narrower ? uint64_t{s.value} >> (shift % 32) : uint64_t{s.value} << (shift % 32)));
    };
    Check<S, D>(trace, ref, nullptr, [shift](ZROI<S>* s, ZROI<D>* d) { LumConvert(s, d, shift); });
  }
}

TEST(LumConvert, BitDepthShiftsModulo32WithoutClipping) {
  CheckDepth<ZBW16, ZBW8>("LumConvert ( BW16 to BW8)", true);
  CheckDepth<ZBW32, ZBW8>("LumConvert ( BW32 to BW8)", true);
  CheckDepth<ZBW32, ZBW16>("LumConvert ( BW32 to BW16)", true);
  CheckDepth<ZBW8, ZBW16>("LumConvert ( BW8 to BW16)", false);
  CheckDepth<ZBW8, ZBW32>("LumConvert ( BW8 to BW32)", false);
  CheckDepth<ZBW16, ZBW32>("LumConvert ( BW16 to BW32)", false);
}


// Every fourth pixel one of the values where rounding and clipping turn, the rest random, with many halves.
template <class F>
void FillFloats(kt::Framed<F>& view) {
  using V = decltype(F().value);
  static const V kSpecial[] = {V(-0.4),    V(0.0),     V(0.5),          V(1.5),          V(254.5),  V(254.49),
                               V(255.0),   V(255.5),   V(1000.0),       V(-1e30),        V(65534.5), V(65535.0),
                               V(65535.6), V(65536.0), V(4294967040.0), V(4294967296.0), V(1e20),   V(-0.0),
                               std::numeric_limits<V>::quiet_NaN(),     std::numeric_limits<V>::infinity(),
                               -std::numeric_limits<V>::infinity(),     V(0.49999997),   V(2.5)};
  std::uniform_real_distribution<double> wide(-100.0, 70000.0), narrow(-2.0, 300.0);
  int k = 0;
  for (int y = 0; y < view->GetHeight(); ++y)
    for (int x = 0; x < view->GetWidth(); ++x, ++k) {
      V v;
      switch (k % 4) {
        case 0: v = kSpecial[(k / 4) % std::size(kSpecial)]; break;
        case 1: v = static_cast<V>(wide(kt::Rng())); break;
        case 2: v = static_cast<V>(std::floor(narrow(kt::Rng())) + 0.5); break;
        default: v = static_cast<V>(narrow(kt::Rng())); break;
      }
      view->GetImagePtr(x, y)->value = v;
    }
}

// Float to integer: NaN and negatives 0, at or above `top` the maximum, else rounded half up.
template <class F, class D>
void CheckFromFloat(const char* trace, double top) {
  using U = decltype(D().value);
  const auto ref = [top](F s, D) {
    const double v = s.value;
    if (std::isnan(v) || v < 0) return D(0);
    if (v >= top) return D(static_cast<U>(top == 4294967296.0 ? 0xffffffffu : top));
    return D(static_cast<U>(std::min(std::floor(v + 0.5), 4294967295.0)));
  };
  Check<F, D>(trace, ref, FillFloats<F>);
}

template <class S, class F>
void CheckToFloat(const char* trace) {
  Check<S, F>(trace, [](S s, F) { return F(static_cast<decltype(F().value)>(s.value)); });
}

TEST(LumConvert, FloatToIntegerRoundsHalfUpAndClipsIntegerToFloatIsExact) {
  CheckFromFloat<ZFLOAT32, ZBW8>("LumConvert (ZROIFLOAT32 to ZROIBW8)", 255.0);
  CheckFromFloat<ZFLOAT32, ZBW16>("LumConvert (ZROIFLOAT32 to ZROIBW16)", 65535.0);
  CheckFromFloat<ZFLOAT32, ZBW32>("LumConvert (ZROIFLOAT32 to ZROIBW32)", 4294967296.0);
  CheckFromFloat<ZFLOAT64, ZBW8>("LumConvert (ZROIFLOAT64 to ZROIBW8)", 255.0);
  CheckFromFloat<ZFLOAT64, ZBW16>("LumConvert (ZROIFLOAT64 to ZROIBW16)", 65535.0);
  CheckFromFloat<ZFLOAT64, ZBW32>("LumConvert (ZROIFLOAT64 to ZROIBW32)", 4294967296.0);
  CheckToFloat<ZBW8, ZFLOAT32>("LumConvert (ZROIBW8 to ZROIFLOAT32)");
  CheckToFloat<ZBW16, ZFLOAT32>("LumConvert (ZROIBW16 to ZROIFLOAT32)");
  CheckToFloat<ZBW32, ZFLOAT32>("LumConvert (ZROIBW32 to ZROIFLOAT32)");
  CheckToFloat<ZBW8, ZFLOAT64>("LumConvert (ZROIBW8 to ZROIFLOAT64)");
  CheckToFloat<ZBW16, ZFLOAT64>("LumConvert (ZROIBW16 to ZROIFLOAT64)");
  CheckToFloat<ZBW32, ZFLOAT64>("LumConvert (ZROIBW32 to ZROIFLOAT64)");
}

// Images larger than the last-level cache take the wide kernels' streamed stores: the result
// must not change. Rows of odd pitch give every head length.
template <class S, class D>
void CheckLarge(int width, int height) {
  kt::Aligned<S> source(width, height, 3);
  kt::Aligned<D> scalar(width, height, 0), wide(width, height, 5);
  uint64_t seed = 88172645463325252ull;  // xorshift: fast enough for 50 MB
  for (int y = 0; y < height; ++y) {
    uint8_t* row = static_cast<uint8_t*>(source->GetGenericImagePtr(0, y));
    for (size_t i = 0; i < width * sizeof(S); ++i) {
      seed ^= seed << 13, seed ^= seed >> 7, seed ^= seed << 17;
      row[i] = static_cast<uint8_t>(seed);
    }
  }
  for (int on : {0, 1}) {
    kt::WideSetting setting(on);
    LumConvert(source.get(), on ? wide.get() : scalar.get());
  }
  EXPECT_TRUE(kt::SameBytes(scalar.get(), wide.get()));
  EXPECT_TRUE(wide.GuardsIntact());
}

TEST(LumConvert, LargeImagesGiveTheSamePixelsWithStreamedStores) {
  CheckLarge<ZC24, ZBW8>(4001, 3203);
  CheckLarge<ZBW8, ZC24>(4001, 3203);
  CheckLarge<ZBW8, ZFLOAT32>(3203, 3203);
}

}  // namespace
