// Gray morphology against brute-force references: every box and disk form on BW8, BW16 and C24,
// on small views at several byte offsets, with the wide paths on and off and the three
// destination forms; the trace and error behaviour of the pass chain; the older border forms.
#include <array>
#include <functional>
#include <string>
#include <vector>

#include "support/kelmira_test.h"
#include "morphology/gray_ref.h"

namespace {

using mref::Plane;
using Strings = std::vector<std::string>;

enum Kind { kErode, kDilate, kOpen, kClose, kWhite, kBlack, kGradient };
constexpr unsigned kSame = KELMIRA_MORPHO_SAME_AS_WIDTH;

template <class P>
using BoxFn = void (*)(ZROI<P>*, ZROI<P>*, unsigned int, unsigned int);
template <class P>
using DiskFn = void (*)(ZROI<P>*, ZROI<P>*, unsigned int);

template <class P>
std::array<BoxFn<P>, 7> BoxForms() {
  return {static_cast<BoxFn<P>>(&LumErodeBox),       static_cast<BoxFn<P>>(&LumDilateBox),
          static_cast<BoxFn<P>>(&LumOpenBox),        static_cast<BoxFn<P>>(&LumCloseBox),
          static_cast<BoxFn<P>>(&LumWhiteTopHatBox), static_cast<BoxFn<P>>(&LumBlackTopHatBox),
          static_cast<BoxFn<P>>(&LumMorphoGradientBox)};
}
template <class P>
std::array<DiskFn<P>, 7> DiskForms() {
  return {static_cast<DiskFn<P>>(&LumErodeDisk),       static_cast<DiskFn<P>>(&LumDilateDisk),
          static_cast<DiskFn<P>>(&LumOpenDisk),        static_cast<DiskFn<P>>(&LumCloseDisk),
          static_cast<DiskFn<P>>(&LumWhiteTopHatDisk), static_cast<DiskFn<P>>(&LumBlackTopHatDisk),
          static_cast<DiskFn<P>>(&LumMorphoGradientDisk)};
}

// The reference of a compound from the reference of its erosion/dilation.
Plane Compose(Kind kind, const Plane& in, const std::function<Plane(const Plane&, bool)>& window) {
  switch (kind) {
    case kErode: return window(in, false);
    case kDilate: return window(in, true);
    case kOpen: return window(window(in, false), true);
    case kClose: return window(window(in, true), false);
    case kWhite: return mref::Minus(in, window(window(in, false), true));
    case kBlack: return mref::Minus(window(window(in, true), false), in);
    case kGradient: return mref::Minus(window(in, true), window(in, false));
  }
  return in;
}


struct Size {
  int w, h;
};
const Size kSizes[] = {{1, 1}, {1, 6}, {6, 1}, {2, 3}, {3, 2}, {13, 7}, {37, 9}};

// Runs `call(source, destination)` in the three destination forms and checks each against `want`.
template <class P, class Call>
void CheckForms(int w, int h, int offset, const std::function<Plane(const Plane&)>& want, Call&& call) {
  for (int form = 0; form < 3; ++form) {
    SCOPED_TRACE(testing::Message() << "size " << w << "x" << h << " offset " << offset << " form " << form);
    // Offsets and pitches in whole pixels: a BW16 pixel lives at an even address.
    const int step = static_cast<int>(sizeof(P) == 2 ? 2 : 1);
    kt::Framed<P> src(w, h, offset * step, 19 + step - 1), dst(w, h, (offset + 5) % 16 * step, 20);
    src.FillRandom(kt::Rng());
    dst.FillRandom(kt::Rng());
    const Plane in = mref::Read(src.get());
    ZROI<P>* d = form == 0 ? dst.get() : form == 1 ? nullptr : src.get();
    call(src.get(), d);
    ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
    EXPECT_EQ(mref::Read(form == 0 ? dst.get() : src.get()), want(in));
    if (form == 0) {
      EXPECT_EQ(mref::Read(src.get()), in);
    }
    EXPECT_TRUE(src.GuardsIntact() && dst.GuardsIntact());
  }
}

template <class P>
void SweepBoxAndDisk() {
  const std::pair<unsigned, unsigned> boxes[] = {{0, 0}, {1, 1}, {2, 0}, {0, 2}, {3, 1}, {2, 3}, {1, 4}, {5, kSame}, {60, 2}};
  const unsigned radii[] = {0, 1, 2, 3, 4, 5, 9};
  for (int wide = 0; wide < 2; ++wide) {
    kt::WideSetting setting(wide);
    for (const Size& s : kSizes)
      for (int offset : {0, 1, 6}) {
        for (int k = 0; k < 7; ++k) {
          const Kind kind = static_cast<Kind>(k);
          for (auto [a, b] : boxes) {
            SCOPED_TRACE(testing::Message() << "kind " << k << " box " << a << "," << b << " wide " << wide);
            const int hh = static_cast<int>(b == kSame ? a : b);
            CheckForms<P>(s.w, s.h, offset,
                          [&](const Plane& in) {
                            return Compose(kind, in, [&](const Plane& p, bool max) {
                              return mref::Box(p, max, static_cast<int>(a), hh);
                            });
                          },
                          [&](ZROI<P>* src, ZROI<P>* dst) { BoxForms<P>()[k](src, dst, a, b); });
          }
          for (unsigned r : radii) {
            SCOPED_TRACE(testing::Message() << "kind " << k << " disk " << r << " wide " << wide);
            CheckForms<P>(s.w, s.h, offset,
                          [&](const Plane& in) {
                            return Compose(kind, in, [&](const Plane& p, bool max) {
                              return mref::Disk(p, max, static_cast<int>(r));
                            });
                          },
                          [&](ZROI<P>* src, ZROI<P>* dst) { DiskForms<P>()[k](src, dst, r); });
          }
        }
      }
  }
}

TEST(GrayMorphology, EveryBoxAndDiskFormMatchesTheClippedWindowOnBW8) { SweepBoxAndDisk<ZBW8>(); }
TEST(GrayMorphology, EveryBoxAndDiskFormMatchesTheClippedWindowOnBW16) { SweepBoxAndDisk<ZBW16>(); }

TEST(GrayMorphology, DiskTableOfHalfWidths) {
  // The octagon's row half-widths as tabulated: dilating a single bright pixel draws the element.
  const std::vector<std::vector<int>> table = {{0}, {1, 0}, {2, 2, 1}, {3, 3, 2, 1}, {4, 4, 4, 3, 2},
                                               {5, 5, 5, 4, 3, 2}, {6, 6, 6, 6, 5, 4, 3}};
  const int pixels[] = {1, 5, 21, 37, 69, 97, 145};
  for (unsigned r = 0; r < table.size(); ++r) {
    ZImage<ZBW8> img(15, 15);
    for (int y = 0; y < 15; ++y)
      for (int x = 0; x < 15; ++x) img.SetPixel(0, x, y);
    img.SetPixel(200, 7, 7);
    LumDilateDisk(&img, nullptr, r);
    int count = 0;
    for (int y = 0; y < 15; ++y)
      for (int x = 0; x < 15; ++x) count += img.GetPixel(x, y) == 200;
    EXPECT_EQ(count, pixels[r]) << r;
    for (unsigned dy = 0; dy < table[r].size(); ++dy) {
      int half = 0;
      while (7 + half + 1 < 15 && img.GetPixel(7 + half + 1, 7 + dy) == 200) ++half;
      EXPECT_EQ(half, table[r][dy]) << "radius " << r << " row " << dy;
    }
  }
}

TEST(GrayMorphology, WideAndScalarAgreeOnLargerImages) {
  for (int offset : {0, 3}) {
    kt::Framed<ZBW8> src(203, 61, offset), a(203, 61, offset), b(203, 61, 7);
    kt::Framed<ZBW16> src16(97, 45, 2 * offset, 20), a16(97, 45, 0, 20), b16(97, 45, 2, 20);
    src.FillRandom(kt::Rng());
    src16.FillRandom(kt::Rng());
    const std::pair<unsigned, unsigned> boxes[] = {{15, 15}, {31, 3}, {2, 17}, {1, 1}, {3, 3}, {7, 7}};
    for (auto [w, h] : boxes) {
      for (int wide = 0; wide < 2; ++wide) {
        kt::WideSetting setting(wide);
        LumErodeBox(src.get(), wide ? a.get() : b.get(), w, h);
        LumDilateBox(src16.get(), wide ? a16.get() : b16.get(), w, h);
      }
      EXPECT_TRUE(kt::SameBytes(a.get(), b.get())) << w << "," << h;
      EXPECT_TRUE(kt::SameBytes(a16.get(), b16.get())) << w << "," << h;
      EXPECT_EQ(mref::Read(a.get()), mref::Box(mref::Read(src.get()), false, static_cast<int>(w), static_cast<int>(h)));
    }
    for (int wide = 0; wide < 2; ++wide) {
      kt::WideSetting setting(wide);
      LumDilateDisk(src.get(), wide ? a.get() : b.get(), 7);
    }
    EXPECT_TRUE(kt::SameBytes(a.get(), b.get()));
    EXPECT_EQ(mref::Read(a.get()), mref::Disk(mref::Read(src.get()), true, 7));
    EXPECT_TRUE(src.GuardsIntact() && a.GuardsIntact() && b.GuardsIntact() && a16.GuardsIntact() && b16.GuardsIntact());
  }
}

TEST(GrayMorphology, HugeWindowsGiveTheExtremeOfTheRoi) {
  kt::Framed<ZBW8> src(9, 5, 1);
  src.FillRandom(kt::Rng());
  const Plane in = mref::Read(src.get());
  const int64_t lo = *std::min_element(in.p.begin(), in.p.end());
  LumErodeBox(src.get(), nullptr, 0xFFFFFFF0u, 0x7FFFFFFFu);
  EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
  for (int64_t v : mref::Read(src.get()).p) EXPECT_EQ(v, lo);
  LumDilateDisk(src.get(), nullptr, 0xFFFFFFFFu);
  EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
  EXPECT_TRUE(src.GuardsIntact());
}

TEST(GrayMorphology, ColourFormsWorkPlaneByPlane) {
  for (const Size& s : kSizes)
    for (int k = 0; k < 7; ++k) {
      SCOPED_TRACE(testing::Message() << "kind " << k << " size " << s.w << "x" << s.h);
      kt::Framed<ZC24> src(s.w, s.h, 1), dst(s.w, s.h, 2);
      src.FillRandom(kt::Rng());
      std::array<Plane, 3> in;
      for (int c = 0; c < 3; ++c) in[c] = mref::Read(src.get(), c);
      const bool topHat = k == kWhite || k == kBlack;
      BoxForms<ZC24>()[k](src.get(), topHat ? dst.get() : nullptr, 2, 1);
      ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
      ZROI<ZC24>* out = topHat ? dst.get() : src.get();
      for (int c = 0; c < 3; ++c)
        EXPECT_EQ(mref::Read(out, c), Compose(static_cast<Kind>(k), in[c], [](const Plane& p, bool max) {
                    return mref::Box(p, max, 2, 1);
                  }));
      DiskForms<ZC24>()[k](src.get(), dst.get(), 3);
      ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
      const std::array<Plane, 3> now = {mref::Read(src.get(), 0), mref::Read(src.get(), 1), mref::Read(src.get(), 2)};
      for (int c = 0; c < 3; ++c)
        EXPECT_EQ(mref::Read(dst.get(), c), Compose(static_cast<Kind>(k), now[c], [](const Plane& p, bool max) {
                    return mref::Disk(p, max, 3);
                  }));
      EXPECT_TRUE(src.GuardsIntact() && dst.GuardsIntact());
    }
}

// ----- error numbers and trace words -----

template <class P>
void ExpectNullSourceWords(const std::array<const char*, 7>& box, const std::array<const char*, 7>& disk) {
  ZImage<P> dst(4, 4);
  for (int k = 0; k < 7; ++k) {
    BoxForms<P>()[k](nullptr, &dst, 1, 1);
    EXPECT_TRUE(kt::Failed(Z_ERROR_NULL_IMAGE, {box[k]}));
    DiskForms<P>()[k](nullptr, &dst, 1);
    EXPECT_TRUE(kt::Failed(Z_ERROR_NULL_IMAGE, {disk[k]}));
  }
}

TEST(GrayMorphologyErrors, EveryFormTracesItsOwnWord) {
  ExpectNullSourceWords<ZBW8>({"LumErodeBox", "LumDilateBox", "LumOpenBox", "LumCloseBox", "LumWhiteTopHatBox (BW8)",
                               "LumBlackTopHatBox (BW8)", "LumMorphoGradientBox"},
                              {"LumErodeDisk", "LumDilateDisk", "LumOpenDisk ", "LumCloseDisk",
                               "LumWhiteTopHatDisk (BW8)", "LumBlackTopHatDisk (BW8)", "LumMorphoGradientDisk"});
  ExpectNullSourceWords<ZBW16>(
      {"LumErodeBox (BW16)", "LumDilateBox (BW16)", "LumOpenBox (BW16)", "LumCloseBox (BW16)",
       "LumWhiteTopHatBox (BW16)", "LumBlackTopHatBox (BW16)", "LumMorphoGradientBox (BW16)"},
      {"LumErodeDisk (BW16)", "LumDilateDisk (BW16)", "LumOpenDisk (BW16)", "LumCloseDisk (BW16)",
       "LumWhiteTopHatDisk (BW16)", "LumBlackTopHatDisk (BW16)", "LumMorphoGradientDisk (BW16)"});
  ExpectNullSourceWords<ZC24>(
      {"LumErodeBox ( C24)", "LumDilateBox ( C24)", "LumOpenBox ( C24)", "LumCloseBox ( C24)",
       "LumWhiteTopHatBox ( C24)", "LumBlackTopHatBox ( C24)", "LumMorphoGradientBox ( C24)"},
      {"LumErodeDisk ( C24)", "LumDilateDisk ( C24)", "LumOpenDisk ( C24)", "LumCloseDisk ( C24)",
       "LumWhiteTopHatDisk ( C24)", "LumBlackTopHatDisk ( C24)", "LumMorphoGradientDisk ( C24)"});
}

// What each call leaves: on success the last pass's word (or none) and a clear state; on
// failure the number and the form's word, nothing written.
TEST(GrayMorphologyErrors, NumbersAndTraces) {
  ZImage<ZBW8> a(12, 9), b(12, 9), parent(4, 4), g4(4, 4);
  ZImage<ZBW16> c(12, 9), d(12, 9);
  ZImage<ZC24> csrc(5, 4), cdst(5, 4), cother(4, 4);
  kt::Framed<ZBW8> src(6, 5), small(5, 5);
  ZROI<ZBW8> empty, outside(&parent, 2, 2, 4, 4);  // void, but keeps its size
  ZROI<ZC24> cempty;
  src.FillRandom(kt::Rng());
  small.FillBytes(7);
  std::vector<kt::Refusal> rows;
  for (int wide = 0; wide < 2; ++wide) {
    const auto w = [wide](std::function<void()> f) { return [=] { kt::WideSetting s(wide); f(); }; };
    rows.insert(rows.end(), {
        {w([&] { LumErodeBox(&a, &b, 3, 1); }), Z_ERROR_NONE, {"LumErodeX (BW8)"}},
        {w([&] { LumErodeBox(&a, &b, 3, 0); }), Z_ERROR_NONE, {"LumErodeX (BW8)"}},
        {w([&] { LumDilateBox(&a, &b, 1, 3); }), Z_ERROR_NONE, {"LumDilateY ( BW8)"}},
        {w([&] { LumErodeBox(&a, &b, 2, kSame); }), Z_ERROR_NONE, {}},
        {w([&] { LumErodeBox(&a, &b, 0, 0); }), Z_ERROR_NONE, {}},
        {w([&] { LumErodeBox(&a, nullptr, 0, 0); }), Z_ERROR_NONE, {}},
        {w([&] { LumDilateBox(&c, &d, 5, 0); }), Z_ERROR_NONE, {"LumDilateX (BW16)"}},
        {w([&] { LumErodeBox(&c, nullptr, 0, 2); }), Z_ERROR_NONE, {"LumErodeY ( BW16)"}},
        {w([&] { LumErodeDisk(&a, &b, 2); }), Z_ERROR_NONE, {"LumErodeXY (BW8)"}},
        {w([&] { LumDilateDisk(&c, &d, 1); }), Z_ERROR_NONE, {"LumDilateXY (BW16)"}},
        {w([&] { LumErodeDisk(&a, &b, 0); }), Z_ERROR_NONE, {}},
        {w([&] { LumOpenBox(&a, &b, 1, 2); }), Z_ERROR_NONE, {"LumDilateY ( BW8)"}},
        {w([&] { LumCloseDisk(&c, nullptr, 3); }), Z_ERROR_NONE, {"LumErodeXY (BW16)"}},
        {w([&] { LumWhiteTopHatBox(&a, &b, 3, 1); }), Z_ERROR_NONE, {}},
        {w([&] { LumMorphoGradientDisk(&c, &d, 2); }), Z_ERROR_NONE, {}},
    });
  }
  rows.insert(rows.end(), {
      {[&] { LumErodeBox(src.get(), small.get(), 1, 1); }, Z_ERROR_DIFFERENT_SIZES, {"LumErodeBox"}},
      {[&] { LumOpenDisk(src.get(), &empty, 2); }, Z_ERROR_NULL_IMAGE, {"LumOpenDisk "}},
      {[&] { LumWhiteTopHatBox(&empty, src.get(), 1, 1); }, Z_ERROR_NULL_IMAGE, {"LumWhiteTopHatBox (BW8)"}},
      {[&] { LumBlackTopHatDisk(src.get(), small.get(), 1); }, Z_ERROR_DIFFERENT_SIZES, {"LumBlackTopHatDisk (BW8)"}},
      {[&] { LumMorphoGradientBox(src.get(), small.get(), 1, 1); }, Z_ERROR_DIFFERENT_SIZES, {"LumMorphoGradientBox"}},
      {[&] {
         ZSetGateError(Z_ERROR_BAD_ARGUMENTS);  // the gate refuses before anything is read
         LumDilateBox(src.get(), nullptr, 1, 1);
         ZSetGateError(Z_ERROR_NONE);
       },
       Z_ERROR_BAD_ARGUMENTS, {"LumDilateBox"}},
      // The gradient checks only the size of its destination: the unread subtraction leaves the
      // last word; the opening refuses the void view.
      {[&] { LumMorphoGradientBox(&g4, &outside, 1, 1); }, Z_ERROR_NULL_IMAGE, {"LumOper ( BW8 Image, Image to Image)"}},
      {[&] { LumOpenBox(&g4, &outside, 1, 1); }, Z_ERROR_NULL_IMAGE, {"LumOpenBox"}},
      // Colour top hats need a separate destination; the source's emptiness comes first.
      {[&] { LumWhiteTopHatBox(&csrc, nullptr, 1, 1); }, Z_ERROR_NEED_SEPARATE_DESTINATION, {"LumWhiteTopHatBox ( C24)"}},
      {[&] { LumBlackTopHatDisk(&csrc, &csrc, 1); }, Z_ERROR_NEED_SEPARATE_DESTINATION, {"LumBlackTopHatDisk ( C24)"}},
      {[&] { LumWhiteTopHatDisk(&cempty, nullptr, 1); }, Z_ERROR_NULL_IMAGE, {"LumWhiteTopHatDisk ( C24)"}},
      {[&] { LumWhiteTopHatBox(&csrc, &cdst, 1, 1); }, Z_ERROR_NONE, {}},
      {[&] { LumWhiteTopHatBox(&g4, nullptr, 1, 1); }, Z_ERROR_NONE, {}},
      {[&] { LumErodeBox(&csrc, &cother, 1, 1); }, Z_ERROR_DIFFERENT_SIZES, {"LumErodeBox ( C24)"}},
  });
  ASSERT_TRUE(outside.Void());
  kt::CheckRefusals(rows);
  EXPECT_EQ(mref::Read(small.get()), Plane(5, 5, 7));
  EXPECT_TRUE(small.GuardsIntact());
}

// ----- older forms with a border value -----

TEST(GrayMorphologyBorder, ErodeAndDilateMatchTheBorderReference) {
  const Size sizes[] = {{1, 1}, {1, 4}, {5, 1}, {2, 2}, {9, 6}};
  for (const Size& s : sizes)
    for (int border : {255, 0, 37, -5, 300})
      for (int passes : {-1, 0, 1, 3})
        for (int max = 0; max < 2; ++max)
          for (int inPlace = 0; inPlace < 2; ++inPlace) {
            SCOPED_TRACE(testing::Message() << s.w << "x" << s.h << " border " << border << " passes " << passes
                                            << " max " << max << " in place " << inPlace);
            kt::Framed<ZBW8> src(s.w, s.h, 3), dst(s.w, s.h, 1);
            src.FillRandom(kt::Rng());
            dst.FillRandom(kt::Rng());
            const Plane in = mref::Read(src.get()), before = mref::Read(dst.get());
            ZROI<ZBW8>* d = inPlace ? src.get() : dst.get();
            const short r = max ? LumDilate(src.get(), d, passes, border) : LumErode(src.get(), d, passes, border);
            EXPECT_EQ(r, 0);
            EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
            EXPECT_EQ(mref::Read(d), passes > 0 ? mref::BorderSteps(in, max, border, passes) : inPlace ? in : before);
            EXPECT_TRUE(src.GuardsIntact() && dst.GuardsIntact());
          }
}

TEST(GrayMorphologyBorder, HeightOneNeverTouchesTheRowBelow) {
  ZImage<ZBW8> parent(8, 3);
  for (int y = 0; y < 3; ++y)
    for (int x = 0; x < 8; ++x) parent.SetPixel(static_cast<uint8_t>(10 * y + x + 1), x, y);
  ZROI<ZBW8> row(&parent, 0, 1, 8, 1);
  EXPECT_EQ(LumDilate(&row, &row, 2, 0), 0);
  for (int x = 0; x < 8; ++x) {
    EXPECT_EQ(parent.GetPixel(x, 0), x + 1);
    EXPECT_EQ(parent.GetPixel(x, 2), 21 + x);
    EXPECT_EQ(parent.GetPixel(x, 1), std::min(13 + x, 18));
  }
}

TEST(GrayMorphologyBorder, CompoundsChainTheirHalves) {
  kt::Framed<ZBW8> src(10, 7, 1), dst(10, 7, 4);
  src.FillRandom(kt::Rng());
  const Plane in = mref::Read(src.get());
  const Plane open = mref::BorderSteps(mref::BorderSteps(in, false, 200, 2), true, 30, 2);
  const Plane close = mref::BorderSteps(mref::BorderSteps(in, true, 30, 2), false, 200, 2);
  EXPECT_EQ(LumOpen(src.get(), dst.get(), 2, 200, 30), 0);
  EXPECT_EQ(mref::Read(dst.get()), open);
  EXPECT_EQ(LumClose(src.get(), dst.get(), 2, 30, 200), 0);
  EXPECT_EQ(mref::Read(dst.get()), close);
  EXPECT_EQ(LumWhiteTopHat(src.get(), dst.get(), 2, 200, 30), 0);
  EXPECT_EQ(mref::Read(dst.get()), mref::Minus(in, open));
  EXPECT_EQ(LumBlackTopHat(src.get(), dst.get(), 2, 30, 200), 0);
  EXPECT_EQ(mref::Read(dst.get()), mref::Minus(close, in));
  EXPECT_EQ(mref::Read(src.get()), in);
  EXPECT_TRUE(src.GuardsIntact() && dst.GuardsIntact());
}

TEST(GrayMorphologyBorder, FailuresReturnTheNumberAndTraceEachLevel) {
  ZImage<ZBW8> a(6, 5), b(5, 5);
  ZROI<ZBW8> left(&a, 0, 0, 3, 5), right(&a, 3, 0, 3, 5), empty;
  EXPECT_EQ(LumErode(&a, &b, 1, 255), Z_ERROR_DIFFERENT_SIZES);
  EXPECT_EQ(kt::Trace(), (Strings{"LumErodeDilate", "LumErode"}));
  EXPECT_EQ(LumClose(&a, nullptr, 1, 0, 255), Z_ERROR_NULL_IMAGE);
  EXPECT_EQ(kt::Trace(), (Strings{"LumErodeDilate", "LumClose"}));
  EXPECT_EQ(LumWhiteTopHat(&a, &b, 1, 255, 0), Z_ERROR_DIFFERENT_SIZES);
  EXPECT_EQ(kt::Trace(), (Strings{"LumErodeDilate", "LumOpen", "LumWhiteTopHat"}));
  EXPECT_EQ(LumWhiteTopHat(&left, &right, 1, 255, 0), Z_ERROR_NEED_SEPARATE_DESTINATION);
  EXPECT_EQ(kt::Trace(), Strings{"LumWhiteTopHat"});
  EXPECT_EQ(LumWhiteTopHat(&a, &empty, 1, 255, 0), Z_ERROR_NULL_IMAGE);
  EXPECT_EQ(LumBlackTopHat(&a, nullptr, 1, 0, 255), Z_ERROR_NEED_SEPARATE_DESTINATION);
  EXPECT_EQ(LumBlackTopHat(&left, &right, 1, 0, 255), Z_ERROR_NEED_SEPARATE_DESTINATION);
  EXPECT_EQ(kt::Trace(), Strings{"LumBlackTopHat"});
  EXPECT_EQ(LumBlackTopHat(&empty, &b, 1, 0, 255), Z_ERROR_NULL_IMAGE);
  EXPECT_EQ(LumErode(&a, &a, 0, 255), 0);
  ZImage<ZC24> c(4, 4), d(3, 4);
  LumDilate(&c, &d, 1, ZC24(0, 0, 0));
  EXPECT_EQ(ZGetError(), Z_ERROR_DIFFERENT_SIZES);
  EXPECT_EQ(kt::Trace(), (Strings{"LumErodeDilate", "LumDilate", "LumDilate ( C24)"}));
  LumOpen(&c, nullptr, 1, ZC24(), ZC24());
  EXPECT_EQ(kt::Trace(), Strings{"LumOpen ( C24)"});
}

TEST(GrayMorphologyBorder, ColourFormsTakeTheBorderBytesReversed) {
  kt::Framed<ZC24> src(7, 5, 2), dst(7, 5, 1);
  src.FillRandom(kt::Rng());
  const ZC24 border(10, 120, 250), second(1, 2, 3);
  const int reversed[3] = {250, 120, 10}, reversedSecond[3] = {3, 2, 1};
  LumErode(src.get(), dst.get(), 2, border);
  ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
  for (int c = 0; c < 3; ++c)
    EXPECT_EQ(mref::Read(dst.get(), c), mref::BorderSteps(mref::Read(src.get(), c), false, reversed[c], 2)) << c;
  LumBlackTopHat(src.get(), dst.get(), 1, border, second);
  ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
  for (int c = 0; c < 3; ++c) {
    const Plane in = mref::Read(src.get(), c);
    const Plane close = mref::BorderSteps(mref::BorderSteps(in, true, reversed[c], 1), false, reversedSecond[c], 1);
    EXPECT_EQ(mref::Read(dst.get(), c), mref::Minus(close, in)) << c;
  }
  EXPECT_TRUE(src.GuardsIntact() && dst.GuardsIntact());
}

}  // namespace
