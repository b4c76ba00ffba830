// LumOper and LumCopy on packed one-bit views of every bit offset against an unpacked reference,
// the alignment operators, the exception style of the inner forms, and the traces of the outer ones.
#include <functional>
#include <string>
#include <vector>

#include "support/kelmira_test.h"

namespace {

ARITH_LOGIC_OPERATIONS Op(int code) { return static_cast<ARITH_LOGIC_OPERATIONS>(code); }

// A view of `width` x `height` bits starting `bit` pixels into a random parent, with the parent's
// pixels kept so that a test can check that nothing outside the view changed.
struct BitView {
  BitView(int width, int height, int bit, int byteOffset = 0)
      : parent(width + 17, height, byteOffset), view(parent.get(), bit, 0, width, height), m_bit(bit) {
    parent.FillRandom(kt::Rng());
    Snapshot();
  }
  void Snapshot() {
    before.clear();
    for (int y = 0; y < parent->GetHeight(); ++y)
      for (int x = 0; x < parent->GetWidth(); ++x) before.push_back(parent->GetPixel(x, y).value);
  }
  int Old(int x, int y) const { return before[static_cast<size_t>(y) * parent.image.GetWidth() + x + m_bit]; }
  // True when every parent pixel outside the view is as it was, and the guards are intact.
  bool OutsideIntact() {
    size_t i = 0;
    for (int y = 0; y < parent->GetHeight(); ++y)
      for (int x = 0; x < parent->GetWidth(); ++x, ++i) {
        const bool inside = x >= m_bit && x < m_bit + view.GetWidth();
        if (!inside && parent->GetPixel(x, y).value != before[i]) return false;
      }
    return parent.GuardsIntact();
  }
  int At(int x, int y) const { return view.GetPixel(x, y).value; }

  kt::Framed<ZBW1> parent;
  ZROI<ZBW1> view;
  std::vector<uint8_t> before;

 private:
  int m_bit;
};

int RefBit(int code, int a, int b, int d) {
  switch (code) {
    case 0: return a;
    case 1: return !a;
    case 13: return a & b;
    case 14: return a | b;
    case 15: return a ^ b;
    case 21: return a ? d : b;
    case 22: return a ? b : d;
    case 26: return !a || b;
    default: return -1;
  }
}

TEST(BW1Pixels, EveryCodeAtEveryBitOffsetAgainstUnpackedBits) {
  for (int width : {1, 2, 5, 7, 8, 9, 15, 16, 17, 23, 31, 40}) {
    for (int code : {13, 14, 15, 21, 22, 26}) {
      for (int bit = 0; bit < 8; ++bit) {
        BitView a(width, 2, (bit * 3) % 8, 1), b(width, 2, (bit * 5 + 1) % 8, 2), d(width, 2, bit, 3);
        LumOper(Op(code), &a.view, &b.view, &d.view);
        ASSERT_EQ(ZGetError(), 0) << code;
        for (int y = 0; y < 2; ++y)
          for (int x = 0; x < width; ++x)
            ASSERT_EQ(d.At(x, y), RefBit(code, a.At(x, y), b.At(x, y), d.Old(x, y)))
                << "code " << code << " width " << width << " bit " << bit << " at " << x;
        ASSERT_TRUE(d.OutsideIntact()) << "code " << code << " width " << width << " bit " << bit;
        ASSERT_TRUE(a.OutsideIntact() && b.OutsideIntact());
      }
    }
    for (int code : {0, 1}) {
      for (int bit = 0; bit < 8; ++bit) {
        BitView a(width, 3, 7 - bit), d(width, 3, bit);
        LumOper(Op(code), &a.view, &d.view);
        ASSERT_EQ(ZGetError(), 0);
        for (int y = 0; y < 3; ++y)
          for (int x = 0; x < width; ++x) ASSERT_EQ(d.At(x, y), RefBit(code, a.At(x, y), 0, 0)) << width << " " << bit;
        ASSERT_TRUE(d.OutsideIntact());
        BitView c(width, 3, (bit + 2) % 8), e(width, 3, bit);
        LumCopy(&c.view, &e.view);
        for (int y = 0; y < 3; ++y)
          for (int x = 0; x < width; ++x) ASSERT_EQ(e.At(x, y), c.At(x, y));
        ASSERT_TRUE(e.OutsideIntact());
      }
    }
    for (int bit = 0; bit < 8; ++bit)
      for (int value : {0, 1, 7}) {
        BitView d(width, 2, bit), e(width, 2, bit);
        LumCopy(ZBW1(value), &d.view);
        LumOper(ARITH_LOGIC_COPY, ZBW1(value), &e.view);
        for (int y = 0; y < 2; ++y)
          for (int x = 0; x < width; ++x) {
            ASSERT_EQ(d.At(x, y), value != 0);
            ASSERT_EQ(e.At(x, y), value != 0);
          }
        ASSERT_TRUE(d.OutsideIntact() && e.OutsideIntact());
      }
  }
}

TEST(BW1Pixels, InPlaceOnAnUnalignedView) {
  BitView a(21, 2, 3), b(21, 2, 0);
  LumOper(ARITH_LOGIC_BIT_XOR, &a.view, &b.view, &a.view);
  for (int x = 0; x < 21; ++x) ASSERT_EQ(a.At(x, 1), a.Old(x, 1) ^ b.At(x, 1));
  LumOper(ARITH_LOGIC_INVERT, &a.view, &a.view);
  for (int x = 0; x < 21; ++x) ASSERT_EQ(a.At(x, 1), !(a.Old(x, 1) ^ b.At(x, 1)));
  EXPECT_TRUE(a.OutsideIntact());
}

TEST(BW1Alignment, RoundTripKeepsBitsAroundTheView) {
  for (int width : {1, 3, 8, 13, 24, 33}) {
    for (int bit = 0; bit < 8; ++bit) {
      BitView src(width, 2, bit), back(width, 2, (bit + 5) % 8);
      kt::Framed<ZBW1> aligned(width, 2, 1);
      aligned.FillBytes(0x5A);
      LumBW1Alignment(&src.view, aligned.get());
      ASSERT_EQ(ZGetError(), 0);
      for (int y = 0; y < 2; ++y)
        for (int x = 0; x < width; ++x) ASSERT_EQ(aligned->GetPixel(x, y).value, src.At(x, y)) << width << " " << bit;
      // The spare bits of the last byte keep what they held.
      if (width % 8 != 0) {
        const uint8_t spare = static_cast<uint8_t>(0xFF >> (width % 8));
        ASSERT_EQ(*aligned->GetImagePtr(width - 1, 0) & spare, 0x5A & spare);
      }
      ASSERT_TRUE(aligned.GuardsIntact() && src.OutsideIntact());
      LumBW1UnAlignment(aligned.get(), &back.view);
      for (int y = 0; y < 2; ++y)
        for (int x = 0; x < width; ++x) ASSERT_EQ(back.At(x, y), src.At(x, y));
      ASSERT_TRUE(back.OutsideIntact());
    }
  }
}

TEST(BW1Alignment, InnerOperatorsThrowTheirNumbers) {
  BitView odd(9, 2, 3);
  ZImage<ZBW1> aligned(9, 2), wider(10, 2);
  auto thrown = [](auto&& call) {
    try {
      call();
    } catch (Marvane::Ovidra::Exception& e) {
      return static_cast<int>(e.code);
    }
    return 0;
  };
  EXPECT_EQ(thrown([&] { LumBW1Alignment(&aligned, &odd.view); }), Z_ERROR_BW1_NOT_ALIGNED);
  EXPECT_EQ(thrown([&] { LumBW1UnAlignment(&odd.view, &aligned); }), Z_ERROR_BW1_NOT_ALIGNED);
  EXPECT_EQ(thrown([&] { LumBW1Alignment(&odd.view, &wider); }), Z_ERROR_DIFFERENT_SIZES);
  EXPECT_EQ(thrown([&] { LumBW1Alignment(nullptr, &aligned); }), Z_ERROR_NULL_IMAGE);
  EXPECT_EQ(thrown([&] { LumOperAligned(ARITH_LOGIC_ADD, &aligned, &aligned, &aligned); }), Z_ERROR_BAD_OPERATION);
  EXPECT_EQ(thrown([&] { LumOperAligned(ARITH_LOGIC_INVERT, ZBW1(1), &aligned); }), Z_ERROR_BAD_OPERATION);
  EXPECT_EQ(thrown([&] { LumOperAligned(ARITH_LOGIC_INVERT, &odd.view, &aligned); }), Z_ERROR_BW1_NOT_ALIGNED);
  EXPECT_EQ(thrown([&] { LumCopyAligned(ZBW1(1), &odd.view); }), Z_ERROR_BW1_NOT_ALIGNED);
  EXPECT_EQ(thrown([&] { LumCopyAligned(&aligned, &aligned); }), 0);
  EXPECT_EQ(ZGetTraceCount(), 0);  // the inner level never traces
}

TEST(BW1Outer, CodesAndTraces) {
  ZImage<ZBW1> a(12, 2), b(12, 2), d(12, 2);
  LumCopy(ZBW1(0), &d);
  for (int code = -1; code <= 40; ++code) {
    const bool two = code == 13 || code == 14 || code == 15 || code == 21 || code == 22 || code == 26;
    LumOper(Op(code), &a, &b, &d);
    ASSERT_EQ(ZGetError(), two ? 0 : Z_ERROR_BAD_OPERATION) << code;
    if (!two) {
      EXPECT_EQ(kt::Trace(), std::vector<std::string>{"LumOper (BW1)"});
    }
    LumOper(Op(code), &a, &d);
    ASSERT_EQ(ZGetError(), code == 0 || code == 1 ? 0 : Z_ERROR_BAD_OPERATION) << code;
    LumOper(Op(code), ZBW1(1), &d);
    ASSERT_EQ(ZGetError(), code == 0 ? 0 : Z_ERROR_BAD_OPERATION) << code;
  }
}

TEST(BW1Outer, BadInputIsReportedNeverThrownAndLeavesTheDestination) {
  BitView d(10, 2, 3);
  ZImage<ZBW1> narrow(9, 2), ok(10, 2);
  ZROI<ZBW1> none;
  kt::CheckRefusals({
      {[&] { LumCopy(static_cast<ZROI<ZBW1>*>(nullptr), &d.view); }, Z_ERROR_NULL_IMAGE, {"LumCopy (BW1)"}},
      {[&] { LumCopy(ZBW1(1), nullptr); }, Z_ERROR_NULL_IMAGE, {"LumCopy (BW1)"}},
      {[&] { LumCopy(&narrow, &d.view); }, Z_ERROR_DIFFERENT_SIZES, {"LumCopy(BW1)"}},
      {[&] { LumCopy(&none, &d.view); }, Z_ERROR_NULL_IMAGE, {"LumCopy(BW1)"}},
      {[&] { LumCopy(ZBW1(1), &none); }, Z_ERROR_NULL_IMAGE, {"LumCopy(BW1)"}},
      {[&] { LumOper(ARITH_LOGIC_BIT_OR, &ok, nullptr, &d.view); }, Z_ERROR_NULL_IMAGE, {"LumOper (BW1)"}},
      {[&] { LumOper(ARITH_LOGIC_BIT_OR, &ok, &narrow, &d.view); }, Z_ERROR_DIFFERENT_SIZES, {"LumOper (BW1)"}},
      {[&] { LumOper(ARITH_LOGIC_BIT_OR, &ok, &none, &d.view); }, Z_ERROR_NULL_IMAGE, {"LumOper (BW1)"}},
      {[&] { LumOper(ARITH_LOGIC_INVERT, &narrow, &d.view); }, Z_ERROR_DIFFERENT_SIZES, {"LumOper (BW1)"}},
      {[&] { LumOper(ARITH_LOGIC_COPY, ZBW1(1), &none); }, Z_ERROR_NULL_IMAGE, {"LumOper (BW1)"}},
  });
  EXPECT_TRUE(d.OutsideIntact());
  for (int x = 0; x < 10; ++x) EXPECT_EQ(d.At(x, 1), d.Old(x, 1));
}

}  // namespace
