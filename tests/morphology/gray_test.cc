// Gray morphology against the clipped windows, the pass chain's traces and the older border forms.

#include "morphology/morph_ref.h"

namespace {

using mref::Plane;
constexpr unsigned kSame = KELMIRA_MORPHO_SAME_AS_WIDTH;

// `call(source, destination)` separate, then (unless `separateOnly`) null and in place, on random
// views at `offset` whole pixels; each component against `want`.
template <class P>
void CheckForms(int w, int h, int offset, const std::function<Plane(const Plane&)>& want,
                const std::function<void(ZROI<P>*, ZROI<P>*)>& call, bool separateOnly = false) {
  const int step = static_cast<int>(sizeof(P)), components = std::is_same_v<P, ZC24> ? 3 : 1;
  for (int form = 0; form < (separateOnly ? 1 : 3); ++form) {
    SCOPED_TRACE(testing::Message() << w << "x" << h << " offset " << offset << " form " << form);
    kt::Framed<P> src(w, h, offset * step, 19 + step - 1), dst(w, h, (offset + 5) % 16 * step, 20);
    src.FillRandom(kt::Rng());
    dst.FillRandom(kt::Rng());
    const Plane in[3] = {kt::Read(src.get(), 0), kt::Read(src.get(), 1), kt::Read(src.get(), 2)};
    call(src.get(), form == 0 ? dst.get() : form == 1 ? nullptr : src.get());
    ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
    for (int c = 0; c < components; ++c) {
      EXPECT_EQ(kt::Read(form == 0 ? dst.get() : src.get(), c), want(in[c])) << "component " << c;
      EXPECT_TRUE(form != 0 || kt::Read(src.get(), c) == in[c]);
    }
    EXPECT_TRUE(src.GuardsIntact() && dst.GuardsIntact());
  }
}

// Boxes (kSame included, wider than the view) and disks of radius 0 to 9 through the seven kinds.
template <class P>
void SweepBoxAndDisk() {
  const std::pair<unsigned, unsigned> boxes[] = {{0, 0}, {1, 1}, {2, 0}, {0, 2}, {3, 1}, {2, 3}, {1, 4}, {5, kSame}, {60, 2}};
  const struct { int w, h; } sizes[] = {{1, 1}, {1, 6}, {6, 1}, {2, 3}, {3, 2}, {13, 7}, {37, 9}};
  kt::ForScalarAndWide([&](int) {
    for (const auto& s : sizes)
      for (int offset : {0, 1, 6})
        for (int k = 0; k < 7; ++k) {
          SCOPED_TRACE(mref::kNames[k]);
          for (auto [a, b] : boxes) {
            const auto box = [&](const Plane& p, bool max) { return mref::Box(p, max, a, b == kSame ? a : b); };
            CheckForms<P>(s.w, s.h, offset, [&](const Plane& in) { return mref::Compose(k, in, box); },
                          [&](ZROI<P>* src, ZROI<P>* dst) { mref::BoxForms<P>()[k](src, dst, a, b); });
          }
          for (unsigned r : {0, 1, 2, 3, 4, 5, 9}) {
            const auto disk = [&](const Plane& p, bool max) { return mref::Disk(p, max, r); };
            CheckForms<P>(s.w, s.h, offset, [&](const Plane& in) { return mref::Compose(k, in, disk); },
                          [&](ZROI<P>* src, ZROI<P>* dst) { mref::DiskForms<P>()[k](src, dst, r); });
          }
        }
  });
}

TEST(GrayMorphology, EveryBoxAndDiskFormMatchesTheClippedWindowOnBW8) { SweepBoxAndDisk<ZBW8>(); }
TEST(GrayMorphology, EveryBoxAndDiskFormMatchesTheClippedWindowOnBW16) { SweepBoxAndDisk<ZBW16>(); }

// Rows of several vectors on every target against the reference; windows beyond the view (up
// to all bits set) give the extreme of the view.
TEST(GrayMorphology, LargeViewsOnEveryTargetAndHugeWindows) {
  const std::pair<unsigned, unsigned> boxes[] = {{15, 15}, {31, 3}, {2, 17}, {1, 1}, {3, 3}, {7, 7}};
  kt::ForEveryTarget([&] {
    for (auto [a, b] : boxes) {
      CheckForms<ZBW8>(203, 61, 3, [&](const Plane& in) { return mref::Box(in, false, a, b); },
                       [&](ZROI<ZBW8>* s, ZROI<ZBW8>* d) { LumErodeBox(s, d, a, b); });
      CheckForms<ZBW16>(97, 45, 1, [&](const Plane& in) { return mref::Box(in, true, a, b); },
                        [&](ZROI<ZBW16>* s, ZROI<ZBW16>* d) { LumDilateBox(s, d, a, b); });
    }
    CheckForms<ZBW8>(203, 61, 0, [](const Plane& in) { return mref::Disk(in, true, 7); },
                     [](ZROI<ZBW8>* s, ZROI<ZBW8>* d) { LumDilateDisk(s, d, 7); });
  });
  CheckForms<ZBW8>(9, 5, 1, [](const Plane& in) { return mref::Box(in, false, 9, 5); },
                   [](ZROI<ZBW8>* s, ZROI<ZBW8>* d) { LumErodeBox(s, d, 0xFFFFFFF0u, 0x7FFFFFFFu); });
  CheckForms<ZBW16>(9, 5, 1, [](const Plane& in) { return mref::Disk(in, true, 14); },
                    [](ZROI<ZBW16>* s, ZROI<ZBW16>* d) { LumDilateDisk(s, d, 0xFFFFFFFFu); });
}

// Each component through the gray reference; the top hats need a separate destination.
TEST(GrayMorphology, ColourFormsWorkPlaneByPlane) {
  for (int k = 0; k < 7; ++k) {
    SCOPED_TRACE(mref::kNames[k]);
    const bool topHat = k == mref::kWhite || k == mref::kBlack;
    const auto box = [](const Plane& p, bool max) { return mref::Box(p, max, 2, 1); };
    const auto disk = [](const Plane& p, bool max) { return mref::Disk(p, max, 3); };
    CheckForms<ZC24>(13, 7, 1, [&](const Plane& in) { return mref::Compose(k, in, box); },
                     [&](ZROI<ZC24>* s, ZROI<ZC24>* d) { mref::BoxForms<ZC24>()[k](s, d, 2, 1); }, topHat);
    CheckForms<ZC24>(13, 7, 2, [&](const Plane& in) { return mref::Compose(k, in, disk); },
                     [&](ZROI<ZC24>* s, ZROI<ZC24>* d) { mref::DiskForms<ZC24>()[k](s, d, 3); }, topHat);
  }
}


// The frame of every form under its own word: regular on BW16 and C24, irregular on BW8. The
// gradient and the colour forms compare the sizes first: a void destination gives 1402.
template <class P>
void CheckFrames(const char* const (*words)[7], const char* suffix) {
  for (int k = 0; k < 7; ++k)
    for (int disk = 0; disk < 2; ++disk) {
      const std::string word = words ? words[disk][k] : std::string("Lum") + mref::kNames[k] + (disk ? "Disk" : "Box") + suffix;
      const bool sizesFirst = k == mref::kGradient || std::is_same_v<P, ZC24>;
      kt::CheckFrame<P, P>([&](ZROI<P>* s, ZROI<P>* d) {
        disk ? mref::DiskForms<P>()[k](s, d, 1) : mref::BoxForms<P>()[k](s, d, 1, 1);
      }, word, true, sizesFirst ? Z_ERROR_DIFFERENT_SIZES : Z_ERROR_NULL_IMAGE);
    }
}

TEST(GrayMorphologyErrors, EveryFormChecksItsViewsUnderItsOwnWord) {
  const char* const bw8[2][7] = {{"LumErodeBox", "LumDilateBox", "LumOpenBox", "LumCloseBox", "LumWhiteTopHatBox (BW8)",
                                  "LumBlackTopHatBox (BW8)", "LumMorphoGradientBox"},
                                 {"LumErodeDisk", "LumDilateDisk", "LumOpenDisk ", "LumCloseDisk", "LumWhiteTopHatDisk (BW8)",
                                  "LumBlackTopHatDisk (BW8)", "LumMorphoGradientDisk"}};
  CheckFrames<ZBW8>(bw8, "");
  CheckFrames<ZBW16>(nullptr, " (BW16)");
  CheckFrames<ZC24>(nullptr, " ( C24)");
}

// What each call leaves: on success the last pass's word (or none) and a clear state; the
// failures that the frame check does not reach.
TEST(GrayMorphologyErrors, NumbersAndTraces) {
  ZImage<ZBW8> a(12, 9), b(12, 9), parent(4, 4), g4(4, 4);
  ZImage<ZBW16> c(12, 9), d(12, 9);
  ZImage<ZC24> csrc(5, 4), cdst(5, 4);
  ZROI<ZBW8> outside(&parent, 2, 2, 4, 4);  // void, but keeps its size
  ZROI<ZC24> cempty;
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
  });
  ASSERT_TRUE(outside.Void());
  kt::CheckRefusals(rows);
}


// The simple forms in place and not (no pass writes nothing; a view of height 1 never touches the rows around it),
// the compounds chaining halves with their own borders, the colour forms taking the border bytes in reverse order.
TEST(GrayMorphologyBorder, EveryFormMatchesTheBorderSteps) {
  const struct { int w, h; } sizes[] = {{1, 1}, {1, 4}, {5, 1}, {2, 2}, {9, 6}};
  for (const auto& s : sizes)
    for (int border : {255, 0, 37, -5, 300})
      for (int passes : {-1, 0, 1, 3})
        for (int max = 0; max < 2; ++max)
          for (int inPlace = 0; inPlace < 2; ++inPlace) {
            SCOPED_TRACE(testing::Message() << s.w << "x" << s.h << " border " << border << " passes " << passes << " max "
                                            << max << " in place " << inPlace);
            kt::Framed<ZBW8> src(s.w, s.h, 3), dst(s.w, s.h, 1);
            src.FillRandom(kt::Rng());
            dst.FillRandom(kt::Rng());
            const Plane in = kt::Read(src.get()), before = kt::Read(dst.get());
            ZROI<ZBW8>* d = inPlace ? src.get() : dst.get();
            EXPECT_EQ(max ? LumDilate(src.get(), d, passes, border) : LumErode(src.get(), d, passes, border), 0);
            EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
            EXPECT_EQ(kt::Read(d), passes > 0 ? mref::BorderSteps(in, max, border, passes) : inPlace ? in : before);
            EXPECT_TRUE(src.GuardsIntact() && dst.GuardsIntact());
            if (inPlace || passes != 1) continue;
            const Plane close = mref::BorderSteps(mref::BorderSteps(in, true, border, 2), false, 200, 2);
            const Plane open = mref::BorderSteps(mref::BorderSteps(in, false, 200, 2), true, border, 2);
            EXPECT_EQ(LumOpen(src.get(), dst.get(), 2, 200, border), 0);
            EXPECT_EQ(kt::Read(dst.get()), open);
            EXPECT_EQ(LumClose(src.get(), dst.get(), 2, border, 200), 0);
            EXPECT_EQ(kt::Read(dst.get()), close);
            EXPECT_EQ(LumWhiteTopHat(src.get(), dst.get(), 2, 200, border), 0);
            EXPECT_EQ(kt::Read(dst.get()), mref::Minus(in, open));
            EXPECT_EQ(LumBlackTopHat(src.get(), dst.get(), 2, border, 200), 0);
            EXPECT_EQ(kt::Read(dst.get()), mref::Minus(close, in));
            EXPECT_EQ(kt::Read(src.get()), in);
          }
  kt::Framed<ZC24> src(7, 5, 2), dst(7, 5, 1);
  src.FillRandom(kt::Rng());
  const int reversed[3] = {250, 120, 10}, reversedSecond[3] = {3, 2, 1};
  LumErode(src.get(), dst.get(), 2, ZC24(10, 120, 250));
  ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
  for (int c = 0; c < 3; ++c)
    EXPECT_EQ(kt::Read(dst.get(), c), mref::BorderSteps(kt::Read(src.get(), c), false, reversed[c], 2)) << c;
  LumBlackTopHat(src.get(), dst.get(), 1, ZC24(10, 120, 250), ZC24(1, 2, 3));
  ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
  for (int c = 0; c < 3; ++c) {
    const Plane in = kt::Read(src.get(), c);
    const Plane close = mref::BorderSteps(mref::BorderSteps(in, true, reversed[c], 1), false, reversedSecond[c], 1);
    EXPECT_EQ(kt::Read(dst.get(), c), mref::Minus(close, in)) << c;
  }
  EXPECT_TRUE(src.GuardsIntact() && dst.GuardsIntact());
}

TEST(GrayMorphologyBorder, FailuresReturnTheNumberAndTraceEachLevel) {
  ZImage<ZBW8> a(6, 5), b(5, 5);
  ZImage<ZC24> c(4, 4), d(3, 4);
  ZROI<ZBW8> left(&a, 0, 0, 3, 5), right(&a, 3, 0, 3, 5), empty;
  const std::vector<std::tuple<std::function<short()>, int, Strings>> rows = {
      {[&] { return LumErode(&a, &b, 1, 255); }, Z_ERROR_DIFFERENT_SIZES, {"LumErodeDilate", "LumErode"}},
      {[&] { return LumClose(&a, nullptr, 1, 0, 255); }, Z_ERROR_NULL_IMAGE, {"LumErodeDilate", "LumClose"}},
      {[&] { return LumWhiteTopHat(&a, &b, 1, 255, 0); }, Z_ERROR_DIFFERENT_SIZES, {"LumErodeDilate", "LumOpen", "LumWhiteTopHat"}},
      {[&] { return LumWhiteTopHat(&left, &right, 1, 255, 0); }, Z_ERROR_NEED_SEPARATE_DESTINATION, {"LumWhiteTopHat"}},
      {[&] { return LumWhiteTopHat(&a, &empty, 1, 255, 0); }, Z_ERROR_NULL_IMAGE, {"LumWhiteTopHat"}},
      {[&] { return LumBlackTopHat(&a, nullptr, 1, 0, 255); }, Z_ERROR_NEED_SEPARATE_DESTINATION, {"LumBlackTopHat"}},
      {[&] { return LumBlackTopHat(&left, &right, 1, 0, 255); }, Z_ERROR_NEED_SEPARATE_DESTINATION, {"LumBlackTopHat"}},
      {[&] { return LumBlackTopHat(&empty, &b, 1, 0, 255); }, Z_ERROR_NULL_IMAGE, {"LumBlackTopHat"}},
      {[&] { return LumErode(&a, &a, 0, 255); }, Z_ERROR_NONE, {}},
      {[&] { LumDilate(&c, &d, 1, ZC24(0, 0, 0)); return -1; }, Z_ERROR_DIFFERENT_SIZES,
       {"LumErodeDilate", "LumDilate", "LumDilate ( C24)"}},
      {[&] { LumOpen(&c, nullptr, 1, ZC24(), ZC24()); return -1; }, Z_ERROR_NULL_IMAGE, {"LumOpen ( C24)"}}};
  for (const auto& [call, error, trace] : rows) {
    const short r = call();
    EXPECT_TRUE(kt::Failed(error, trace));
    EXPECT_TRUE(r == -1 || r == error) << r;
  }
}

}  // namespace
