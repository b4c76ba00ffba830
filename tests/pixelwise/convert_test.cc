// LumConvert between colour, gray, depth and float types, and LumConvertTo422: every form against
// its formula at every alignment with the wide paths off and on, the worked cases, and the
// failures with each form's trace string.
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "support/kelmira_test.h"

namespace {

using kt::CheckAgainst;

// ----- references, written from the bit layouts -----

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
  CheckAgainst<ZC24, ZC15>([](ZROI<ZC24>* s, ZROI<ZC15>* d) { LumConvert(s, d); },
                           [](ZC24 s, ZC15 old) { return ZC15(ToC15(s.c0, s.c1, s.c2, old)); });
  CheckAgainst<ZBW8, ZC15>([](ZROI<ZBW8>* s, ZROI<ZC15>* d) { LumConvert(s, d); },
                           [](ZBW8 s, ZC15 old) { return ZC15(ToC15(s, s, s, old)); });
  CheckAgainst<ZC24, ZC16>([](ZROI<ZC24>* s, ZROI<ZC16>* d) { LumConvert(s, d); },
                           [](ZC24 s, ZC16) { return ZC16(ToC16(s.c0, s.c1, s.c2)); });
  CheckAgainst<ZBW8, ZC16>([](ZROI<ZBW8>* s, ZROI<ZC16>* d) { LumConvert(s, d); },
                           [](ZBW8 s, ZC16) { return ZC16(ToC16(s, s, s)); });
  CheckAgainst<ZC15, ZC24>([](ZROI<ZC15>* s, ZROI<ZC24>* d) { LumConvert(s, d); },
                           [](ZC15 s, ZC24) { return FromC15(s); });
  CheckAgainst<ZC16, ZC24>([](ZROI<ZC16>* s, ZROI<ZC24>* d) { LumConvert(s, d); },
                           [](ZC16 s, ZC24) { return FromC16(s); });
}

TEST(LumConvert, GrayFromColourKeepsItsThreeFormulas) {
  CheckAgainst<ZC24, ZBW8>([](ZROI<ZC24>* s, ZROI<ZBW8>* d) { LumConvert(s, d); },
                           [](ZC24 s, ZBW8) { return ZBW8(static_cast<uint8_t>((s.c0 + s.c1 + s.c2) * 85 / 256)); });
  CheckAgainst<ZC15, ZBW8>([](ZROI<ZC15>* s, ZROI<ZBW8>* d) { LumConvert(s, d); }, [](ZC15 s, ZBW8) {
    const int sum = (s & 31) + ((s >> 5) & 31) + ((s >> 10) & 31);
    return ZBW8(static_cast<uint8_t>(std::floor(8.0 * sum / 3.0)));
  });
  CheckAgainst<ZC16, ZBW8>([](ZROI<ZC16>* s, ZROI<ZBW8>* d) { LumConvert(s, d); }, [](ZC16 s, ZBW8) {
    const int r = (s >> 11) & 31, g = (s >> 5) & 63, b = s & 31;
    return ZBW8(static_cast<uint8_t>(std::floor(4.0 * (g + 2 * (r + b)) / 3.0)));
  });
}

TEST(LumConvert, AlphaAndGrayToColour) {
  CheckAgainst<ZBW8, ZC24>([](ZROI<ZBW8>* s, ZROI<ZC24>* d) { LumConvert(s, d); },
                           [](ZBW8 s, ZC24) { return ZC24(s, s, s); });
  CheckAgainst<ZC24, ZC24A>([](ZROI<ZC24>* s, ZROI<ZC24A>* d) { LumConvert(s, d); },
                            [](ZC24 s, ZC24A old) { return ZC24A(s.c0, s.c1, s.c2, old.alpha); });
  CheckAgainst<ZC24A, ZC24>([](ZROI<ZC24A>* s, ZROI<ZC24>* d) { LumConvert(s, d); },
                            [](ZC24A s, ZC24) { return ZC24(s.c0, s.c1, s.c2); });

  // The two forms that carry the alpha through a BW8 view.
  for (const kt::Geometry& g : kt::Geometries()) {
    kt::Aligned<ZC24> colour(g.width, g.height, g.sourceOffset);
    kt::Aligned<ZBW8> alpha(g.width, g.height, g.destinationOffset);
    kt::Aligned<ZC24A> joined(g.width, g.height, (g.destinationOffset + 3) % 16);
    colour.FillRandom(kt::Rng());
    alpha.FillRandom(kt::Rng());
    LumConvert(colour.get(), alpha.get(), joined.get());
    ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
    kt::Aligned<ZC24> colourBack(g.width, g.height, g.destinationOffset);
    kt::Aligned<ZBW8> alphaBack(g.width, g.height, g.sourceOffset);
    LumConvert(joined.get(), colourBack.get(), alphaBack.get());
    ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
    ASSERT_TRUE(kt::SameBytes(colour.get(), colourBack.get()));
    ASSERT_TRUE(kt::SameBytes(alpha.get(), alphaBack.get()));
    for (int y = 0; y < g.height; ++y)
      for (int x = 0; x < g.width; ++x) {
        const ZC24A p = *joined->GetImagePtr(x, y);
        const ZC24 c = *colour->GetImagePtr(x, y);
        ASSERT_TRUE(kt::Same(p, ZC24A(c.c0, c.c1, c.c2, alpha->GetImagePtr(x, y)->value)));
      }
    ASSERT_TRUE(joined.GuardsIntact() && colourBack.GuardsIntact() && alphaBack.GuardsIntact());
  }
}

// ----- bit depth -----

template <class S, class D>
void CheckDepth(unsigned shift, bool narrower) {
  SCOPED_TRACE(testing::Message() << "shift " << shift);
  CheckAgainst<S, D>([shift](ZROI<S>* s, ZROI<D>* d) { LumConvert(s, d, shift); },
                     [shift, narrower](S s, D) {
                       const uint64_t v = narrower ? (uint64_t{s.value} >> (shift % 32)) : (uint64_t{s.value} << (shift % 32));
                       return D(static_cast<decltype(D().value)>(v));
                     });
}

TEST(LumConvert, BitDepthShiftsModulo32WithoutClipping) {
  for (unsigned shift : {0u, 4u, 8u, 15u, 16u, 31u, 32u, 36u, 0xffffffffu}) {
    CheckDepth<ZBW16, ZBW8>(shift, true);
    CheckDepth<ZBW32, ZBW8>(shift, true);
    CheckDepth<ZBW32, ZBW16>(shift, true);
    CheckDepth<ZBW8, ZBW16>(shift, false);
    CheckDepth<ZBW8, ZBW32>(shift, false);
    CheckDepth<ZBW16, ZBW32>(shift, false);
  }
}

// ----- floating point -----

template <class F>
void FillFloats(kt::Framed<F>& view) {
  using V = decltype(F().value);
  static const V kSpecial[] = {V(-0.4),    V(0.0),      V(0.5),       V(1.5),        V(254.5),      V(254.49),
                               V(255.0),   V(255.5),    V(1000.0),    V(-1e30),      V(65534.5),    V(65535.0),
                               V(65535.6), V(65536.0),  V(4294967040.0), V(4294967296.0), V(1e20), V(-0.0),
                               std::numeric_limits<V>::quiet_NaN(), std::numeric_limits<V>::infinity(),
                               -std::numeric_limits<V>::infinity(), V(0.49999997), V(2.5)};
  std::uniform_real_distribution<double> wide(-100.0, 70000.0), narrow(-2.0, 300.0);
  int k = 0;
  for (int y = 0; y < view->GetHeight(); ++y)
    for (int x = 0; x < view->GetWidth(); ++x, ++k) {
      V v;
      switch (k % 4) {
        case 0: v = kSpecial[(k / 4) % (sizeof(kSpecial) / sizeof(kSpecial[0]))]; break;
        case 1: v = static_cast<V>(wide(kt::Rng())); break;
        case 2: v = static_cast<V>(std::floor(narrow(kt::Rng())) + 0.5); break;
        default: v = static_cast<V>(narrow(kt::Rng())); break;
      }
      view->GetImagePtr(x, y)->value = v;
    }
}

template <class F, class D>
void CheckFromFloat(double top) {
  using U = decltype(D().value);
  CheckAgainst<F, D>([](ZROI<F>* s, ZROI<D>* d) { LumConvert(s, d); },
                     [top](F s, D) {
                       const double v = s.value;
                       if (std::isnan(v) || v < 0) return D(0);
                       if (v >= top) return D(static_cast<U>(top == 4294967296.0 ? 0xffffffffu : top));
                       return D(static_cast<U>(std::min(std::floor(v + 0.5), 4294967295.0)));
                     },
                     FillFloats<F>);
}

TEST(LumConvert, FloatToIntegerRoundsHalfUpAndClips) {
  CheckFromFloat<ZFLOAT32, ZBW8>(255.0);
  CheckFromFloat<ZFLOAT32, ZBW16>(65535.0);
  CheckFromFloat<ZFLOAT32, ZBW32>(4294967296.0);
  CheckFromFloat<ZFLOAT64, ZBW8>(255.0);
  CheckFromFloat<ZFLOAT64, ZBW16>(65535.0);
  CheckFromFloat<ZFLOAT64, ZBW32>(4294967296.0);
}

template <class S, class F>
void CheckToFloat() {
  using V = decltype(F().value);
  CheckAgainst<S, F>([](ZROI<S>* s, ZROI<F>* d) { LumConvert(s, d); },
                     [](S s, F) { return F(static_cast<V>(s.value)); });
}

TEST(LumConvert, IntegerToFloat) {
  CheckToFloat<ZBW8, ZFLOAT32>();
  CheckToFloat<ZBW16, ZFLOAT32>();
  CheckToFloat<ZBW32, ZFLOAT32>();
  CheckToFloat<ZBW8, ZFLOAT64>();
  CheckToFloat<ZBW16, ZFLOAT64>();
  CheckToFloat<ZBW32, ZFLOAT64>();
}

TEST(LumConvertTo422, GrayWithNeutralChroma) {
  CheckAgainst<ZBW8, ZBW16>([](ZROI<ZBW8>* s, ZROI<ZBW16>* d) { LumConvertTo422(s, d); },
                            [](ZBW8 s, ZBW16) { return ZBW16(static_cast<uint16_t>(0x8000 + s)); });
}

// ----- failures: every form, its number and its trace -----

#define KT_PLAIN(S, D, TRACE) \
  kt::CheckFrame<S, D>([](ZROI<S>* s, ZROI<D>* d) { LumConvert(s, d); }, TRACE, false)
#define KT_SHIFT(S, D, TRACE) \
  kt::CheckFrame<S, D>([](ZROI<S>* s, ZROI<D>* d) { LumConvert(s, d, 3u); }, TRACE, false)

TEST(LumConvert, EveryFormFailsWithItsNumberAndTrace) {
  KT_PLAIN(ZC24, ZC15, "LumConvert ( C24 to C15)");
  KT_PLAIN(ZBW8, ZC15, "LumConvert ( BW8 to C15)");
  KT_PLAIN(ZC15, ZC24, "LumConvert ( C15 to C24)");
  KT_PLAIN(ZC15, ZBW8, "LumConvert ( C15 to BW8)");
  KT_PLAIN(ZC24, ZC16, "LumConvert ( C24 to C16)");
  KT_PLAIN(ZBW8, ZC16, "LumConvert ( BW8 to C16)");
  KT_PLAIN(ZC16, ZC24, "LumConvert ( C16 to C24)");
  KT_PLAIN(ZC16, ZBW8, "LumConvert ( C16 to BW8)");
  KT_PLAIN(ZC24, ZC24A, "LumConvert ( C24 to C24A)");
  KT_PLAIN(ZC24A, ZC24, "LumConvert ( C24A to C24)");
  KT_PLAIN(ZBW8, ZC24, "LumConvert ( BW8 to C24)");
  KT_PLAIN(ZC24, ZBW8, "LumConvert ( C24 to BW8)");
  KT_SHIFT(ZBW16, ZBW8, "LumConvert ( BW16 to BW8)");
  KT_SHIFT(ZBW32, ZBW8, "LumConvert ( BW32 to BW8)");
  KT_SHIFT(ZBW32, ZBW16, "LumConvert ( BW32 to BW16)");
  KT_SHIFT(ZBW8, ZBW16, "LumConvert ( BW8 to BW16)");
  KT_SHIFT(ZBW8, ZBW32, "LumConvert ( BW8 to BW32)");
  KT_SHIFT(ZBW16, ZBW32, "LumConvert ( BW16 to BW32)");
  KT_PLAIN(ZFLOAT32, ZBW8, "LumConvert (ZROIFLOAT32 to ZROIBW8)");
  KT_PLAIN(ZFLOAT32, ZBW16, "LumConvert (ZROIFLOAT32 to ZROIBW16)");
  KT_PLAIN(ZFLOAT32, ZBW32, "LumConvert (ZROIFLOAT32 to ZROIBW32)");
  KT_PLAIN(ZFLOAT64, ZBW8, "LumConvert (ZROIFLOAT64 to ZROIBW8)");
  KT_PLAIN(ZFLOAT64, ZBW16, "LumConvert (ZROIFLOAT64 to ZROIBW16)");
  KT_PLAIN(ZFLOAT64, ZBW32, "LumConvert (ZROIFLOAT64 to ZROIBW32)");
  KT_PLAIN(ZBW8, ZFLOAT32, "LumConvert (ZROIBW8 to ZROIFLOAT32)");
  KT_PLAIN(ZBW16, ZFLOAT32, "LumConvert (ZROIBW16 to ZROIFLOAT32)");
  KT_PLAIN(ZBW32, ZFLOAT32, "LumConvert (ZROIBW32 to ZROIFLOAT32)");
  KT_PLAIN(ZBW8, ZFLOAT64, "LumConvert (ZROIBW8 to ZROIFLOAT64)");
  KT_PLAIN(ZBW16, ZFLOAT64, "LumConvert (ZROIBW16 to ZROIFLOAT64)");
  KT_PLAIN(ZBW32, ZFLOAT64, "LumConvert (ZROIBW32 to ZROIFLOAT64)");
  kt::CheckFrame<ZBW8, ZBW16>([](ZROI<ZBW8>* s, ZROI<ZBW16>* d) { LumConvertTo422(s, d); },
                             "LumConvertTo422 ( BW8 to BW16)", false);
  // The alpha forms check the BW8 view as well.
  kt::CheckFrame<ZC24, ZC24A>(
      [](ZROI<ZC24>* s, ZROI<ZC24A>* d) {
        kt::Aligned<ZBW8> a(8, 3);
        LumConvert(s, a.get(), d);
      },
      "LumConvert ( C24 to C24A with Alpha)", false);
  kt::CheckFrame<ZC24A, ZC24>(
      [](ZROI<ZC24A>* s, ZROI<ZC24>* d) {
        kt::Aligned<ZBW8> a(8, 3);
        LumConvert(s, d, a.get());
      },
      "LumConvert ( C24A to C24 with Alpha)", false);
  kt::Aligned<ZC24> c(4, 4);
  kt::Aligned<ZC24A> ca(4, 4);
  kt::Aligned<ZBW8> a5(5, 4);
  LumConvert(c.get(), a5.get(), ca.get());
  EXPECT_EQ(ZGetError(), Z_ERROR_DIFFERENT_SIZES);
  LumConvert(ca.get(), c.get(), static_cast<ZROI<ZBW8>*>(nullptr));
  EXPECT_EQ(ZGetError(), Z_ERROR_NULL_IMAGE);
  LumConvert(ca.get(), c.get(), a5.get());
  EXPECT_TRUE(kt::Failed(Z_ERROR_DIFFERENT_SIZES, {"LumConvert ( C24A to C24 with Alpha)"}));
}

// Images larger than the last-level cache take the wide kernels' streamed stores: the result
// must not change. Rows of odd pitch give every head length.
template <class S>
void FillFast(kt::Framed<S>& view, uint64_t seed) {
  for (int y = 0; y < view->GetHeight(); ++y) {
    uint8_t* row = static_cast<uint8_t*>(view->GetGenericImagePtr(0, y));
    for (int i = 0; i < view->GetWidth() * static_cast<int>(sizeof(S)); ++i) {
      seed ^= seed << 13, seed ^= seed >> 7, seed ^= seed << 17;
      row[i] = static_cast<uint8_t>(seed);
    }
  }
}

template <class S, class D>
void CheckLarge(int width, int height) {
  kt::Aligned<S> source(width, height, 3);
  kt::Aligned<D> scalar(width, height, 0), wide(width, height, 5);
  FillFast(source, 88172645463325252ull);
  {
    kt::WideSetting off(0);
    LumConvert(source.get(), scalar.get());
  }
  {
    kt::WideSetting on(1);
    LumConvert(source.get(), wide.get());
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
