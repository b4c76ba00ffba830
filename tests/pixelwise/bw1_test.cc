// Packed one-bit LumOper, LumCopy and LumConvert at every bit offset; the alignment operators.

#include "support/kelmira_test.h"

namespace {

ARITH_LOGIC_OPERATIONS Op(int code) { return static_cast<ARITH_LOGIC_OPERATIONS>(code); }

using kt::BitView;

// A form: its call on up to two sources and a destination, its bit from the sources' bits and the
// destination's old one, and which view must start on a byte (1: the destination, 2: the source).
struct BitForm {
  std::function<void(ZROI<ZBW1>*, ZROI<ZBW1>*, ZROI<ZBW1>*)> call;
  std::function<int(int, int, int)> ref;
  int aligned = 0;
};

std::vector<BitForm> Forms() {
  using Z = ZROI<ZBW1>*;
  std::vector<BitForm> forms = {
      {[](Z a, Z b, Z d) { LumOper(ARITH_LOGIC_BIT_AND, a, b, d); }, [](int a, int b, int) { return a & b; }},
      {[](Z a, Z b, Z d) { LumOper(ARITH_LOGIC_BIT_OR, a, b, d); }, [](int a, int b, int) { return a | b; }},
      {[](Z a, Z b, Z d) { LumOper(ARITH_LOGIC_BIT_XOR, a, b, d); }, [](int a, int b, int) { return a ^ b; }},
      {[](Z a, Z b, Z d) { LumOper(Op(21), a, b, d); }, [](int a, int b, int d) { return a ? d : b; }},
      {[](Z a, Z b, Z d) { LumOper(Op(22), a, b, d); }, [](int a, int b, int d) { return a ? b : d; }},
      {[](Z a, Z b, Z d) { LumOper(Op(26), a, b, d); }, [](int a, int b, int) { return int(!a || b); }},
      {[](Z a, Z, Z d) { LumOper(ARITH_LOGIC_COPY, a, d); }, [](int a, int, int) { return a; }},
      {[](Z a, Z, Z d) { LumOper(ARITH_LOGIC_INVERT, a, d); }, [](int a, int, int) { return int(!a); }},
      {[](Z a, Z, Z d) { LumCopy(a, d); }, [](int a, int, int) { return a; }},
      {[](Z a, Z, Z d) { LumBW1Alignment(a, d); }, [](int a, int, int) { return a; }, 1},
      {[](Z a, Z, Z d) { LumBW1UnAlignment(a, d); }, [](int a, int, int) { return a; }, 2},
  };
  for (int value : {0, 1, 7}) {
    const auto set = [value](int, int, int) { return int(value != 0); };
    forms.push_back({[value](Z, Z, Z d) { LumCopy(ZBW1(value), d); }, set});
    forms.push_back({[value](Z, Z, Z d) { LumOper(ARITH_LOGIC_COPY, ZBW1(value), d); }, set});
  }
  return forms;
}

// Every form at every bit offset of the destination (the sources at others), and in place on
// the first source; nothing outside the views changes, the spare bits of a last byte included.
TEST(BW1Pixels, EveryFormAtEveryBitOffsetAndInPlace) {
  const std::vector<BitForm> forms = Forms();
  for (size_t f = 0; f < forms.size(); ++f)
    for (int width : {1, 2, 5, 7, 8, 9, 13, 15, 16, 17, 23, 31, 33, 40})
      for (int bit = 0; bit < 8; ++bit)
        for (int inPlace = 0; inPlace <= (forms[f].aligned == 0); ++inPlace) {
          SCOPED_TRACE(testing::Message() << "form " << f << " width " << width << " bit " << bit << " in place " << inPlace);
          const int aligned = forms[f].aligned;
          BitView a(width, 2, aligned == 2 ? 0 : (bit * 3) % 8, 1), b(width, 2, (bit * 5 + 1) % 8, 2);
          BitView d(width, 2, aligned == 1 ? 0 : bit, 3);
          BitView& out = inPlace ? a : d;
          forms[f].call(&a.view, &b.view, &out.view);
          ASSERT_EQ(ZGetError(), 0);
          for (int y = 0; y < 2; ++y)
            for (int x = 0; x < width; ++x)
              ASSERT_EQ(out.view.GetPixel(x, y).value, forms[f].ref(a.Old(x, y), b.Old(x, y), out.Old(x, y))) << x;
          ASSERT_TRUE(a.OutsideIntact() && b.OutsideIntact() && d.OutsideIntact());
        }
}

// Gray pixels: half of them 0, the others a single bit or random.
template <class G>
void FillSparse(kt::Framed<G>& view) {
  using V = decltype(G().value);
  for (int y = 0; y < view->GetHeight(); ++y)
    for (int x = 0; x < view->GetWidth(); ++x) {
      const uint32_t r = kt::Rng()();
      const V bit = static_cast<V>(V(1) << ((r >> 8) % (8 * sizeof(V))));
      view->GetImagePtr(x, y)->value = static_cast<V>(r % 4 < 2 ? 0 : r % 4 == 2 ? bit : r >> 3);
    }
}

// Gray to bits and back on byte-aligned views, wide and scalar on every target: the bits from the
// high one, the spare bits of a row's last byte 0; back, `value` for a set bit and 0 for a clear one.
template <class G>
void CheckConvertAligned(G value) {
  for (size_t round = 0; const kt::Geometry& g : kt::Geometries())
    for (int wide : {0, 1}) {
      const kt::TargetSetting target(kt::NthTarget(round++));
      const kt::WideSetting setting(wide);
      kt::Aligned<G> gray(g.width, g.height, g.sourceOffset), back(g.width, g.height, g.destinationOffset);
      kt::Aligned<ZBW1> bits(g.width, g.height, g.destinationOffset);
      FillSparse(gray);
      bits.FillRandom(kt::Rng());
      LumConvertAligned(gray.get(), bits.get());
      ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
      LumConvertAligned(bits.get(), back.get(), value);
      ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
      SCOPED_TRACE(testing::Message() << "width " << g.width << " offset " << g.sourceOffset << " wide " << wide);
      ASSERT_TRUE(bits.GuardsIntact() && back.GuardsIntact());
      for (int y = 0; y < g.height; ++y)
        for (int x = 0; x < (g.width + 7) / 8 * 8; ++x) {
          const bool set = x < g.width && gray->GetImagePtr(x, y)->value != 0;
          const uint8_t byte = static_cast<const uint8_t*>(bits->GetGenericImagePtr(0, y))[x / 8];
          ASSERT_EQ((byte >> (7 - x % 8)) & 1, set) << x;
          ASSERT_TRUE(x >= g.width || back->GetImagePtr(x, y)->value == (set ? value.value : 0)) << x;
        }
    }
}

TEST(BW1Convert, AlignedGrayToBitsAndBack) {
  CheckConvertAligned(ZBW8(255));
  CheckConvertAligned(ZBW8(7));
  CheckConvertAligned(ZBW16(0xBEEF));
  CheckConvertAligned(ZBW32(0xDEADBEEFu));
}

// Views at any bit offset of their parent, and byte-aligned inside it: the plain forms write the
// view's bits and keep every other bit of the parent; reading back gives the pixels' flags.
template <class G>
void CheckConvertAnyOffset(G value, const char* toTrace, const char* fromTrace) {
  for (int bit : {0, 1, 2, 3, 4, 5, 6, 7, 8, 13})
    for (int width : {1, 5, 8, 9, 17, 30, 64, 75}) {
      SCOPED_TRACE(testing::Message() << "bit " << bit << " width " << width);
      BitView bits(width, 3, bit);
      kt::Aligned<G> gray(width, 3, bit), back(width, 3, (bit + 3) % 8);
      FillSparse(gray);
      LumConvert(gray.get(), &bits.view);
      ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
      LumConvert(&bits.view, back.get(), value);
      ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
      ASSERT_TRUE(bits.parent.GuardsIntact() && back.GuardsIntact());
      for (int y = 0; y < 3; ++y)
        for (int x = 0; x < bits.parent->GetWidth(); ++x) {
          const bool inside = x >= bit && x < bit + width, set = inside && gray->GetImagePtr(x - bit, y)->value != 0;
          // A byte-aligned view is written directly, its last byte whole: the bits past the row in
          // that byte become 0. Through the temporary every outside bit is kept.
          const bool tail = bit % 8 == 0 && x >= bit + width && x / 8 == (bit + width - 1) / 8;
          ASSERT_EQ(bits.parent->GetPixel(x, y).value, inside ? set : tail ? 0 : bits.Old(x - bit, y)) << x;
          ASSERT_TRUE(!inside || back->GetImagePtr(x - bit, y)->value == (set ? value.value : 0)) << x;
        }
    }
  // A null pointer is traced plainly, the rest by the handler, with the form's string.
  kt::CheckFrame<G, ZBW1>([](ZROI<G>* s, ZROI<ZBW1>* d) { LumConvert(s, d); }, toTrace, false);
  kt::CheckFrame<ZBW1, G>([&](ZROI<ZBW1>* s, ZROI<G>* d) { LumConvert(s, d, value); }, fromTrace, false);
  ZImage<ZBW1> bits(9, 2);
  ZROI<ZBW1> shifted(&bits, 1, 0, 8, 2);
  kt::Aligned<G> eight(8, 3);
  LumConvert(&shifted, eight.get(), value);  // unaligned source, sizes differ: no temporary made
  EXPECT_TRUE(kt::Failed(Z_ERROR_DIFFERENT_SIZES, {fromTrace}));
}

TEST(BW1Convert, AnyBitOffsetThroughTheAlignmentOperators) {
  CheckConvertAnyOffset(ZBW8(200), "LumConvert (BW8 -> BW1)", "LumConvert (BW1 -> BW8)");
  CheckConvertAnyOffset(ZBW16(40000), "LumConvert (BW16 -> BW1)", "LumConvert (BW1 -> BW16)");
  CheckConvertAnyOffset(ZBW32(0x80000001u), "LumConvert (BW32 -> BW1)", "LumConvert (BW1 -> BW32)");
}

TEST(BW1Alignment, InnerOperatorsThrowTheirNumbers) {
  BitView odd(9, 2, 3);
  ZImage<ZBW1> aligned(9, 2), wider(10, 2);
  EXPECT_EQ(kt::Thrown([&] { LumBW1Alignment(&aligned, &odd.view); }), Z_ERROR_BW1_NOT_ALIGNED);
  EXPECT_EQ(kt::Thrown([&] { LumBW1UnAlignment(&odd.view, &aligned); }), Z_ERROR_BW1_NOT_ALIGNED);
  EXPECT_EQ(kt::Thrown([&] { LumBW1Alignment(&odd.view, &wider); }), Z_ERROR_DIFFERENT_SIZES);
  EXPECT_EQ(kt::Thrown([&] { LumBW1Alignment(nullptr, &aligned); }), Z_ERROR_NULL_IMAGE);
  EXPECT_EQ(kt::Thrown([&] { LumOperAligned(ARITH_LOGIC_ADD, &aligned, &aligned, &aligned); }), Z_ERROR_BAD_OPERATION);
  EXPECT_EQ(kt::Thrown([&] { LumOperAligned(ARITH_LOGIC_INVERT, ZBW1(1), &aligned); }), Z_ERROR_BAD_OPERATION);
  EXPECT_EQ(kt::Thrown([&] { LumOperAligned(ARITH_LOGIC_INVERT, &odd.view, &aligned); }), Z_ERROR_BW1_NOT_ALIGNED);
  EXPECT_EQ(kt::Thrown([&] { LumCopyAligned(ZBW1(1), &odd.view); }), Z_ERROR_BW1_NOT_ALIGNED);
  EXPECT_EQ(kt::Thrown([&] { LumCopyAligned(&aligned, &aligned); }), 0);
  ZImage<ZBW1> parent(40, 4);
  ZROI<ZBW1> inside(&parent, 8, 0, 16, 2), none;
  kt::Aligned<ZBW8> gray(9, 2), other(16, 2);
  EXPECT_EQ(kt::Thrown([&] { LumConvertAligned(gray.get(), &odd.view); }), Z_ERROR_BW1_NOT_ALIGNED);
  EXPECT_EQ(kt::Thrown([&] { LumConvertAligned(&odd.view, gray.get(), ZBW8(1)); }), Z_ERROR_BW1_NOT_ALIGNED);
  EXPECT_EQ(kt::Thrown([&] { LumConvertAligned(gray.get(), &none); }), Z_ERROR_NULL_IMAGE);
  EXPECT_EQ(kt::Thrown([&] { LumConvertAligned(static_cast<ZROI<ZBW8>*>(nullptr), &inside); }), Z_ERROR_NULL_IMAGE);
  EXPECT_EQ(kt::Thrown([&] { LumConvertAligned(gray.get(), &inside); }), Z_ERROR_DIFFERENT_SIZES);
  EXPECT_EQ(kt::Thrown([&] { LumConvertAligned(&inside, gray.get(), ZBW8(1)); }), Z_ERROR_DIFFERENT_SIZES);
  EXPECT_EQ(kt::Thrown([&] { LumConvertAligned(other.get(), &inside); }), 0);
  EXPECT_EQ(ZGetTraceCount(), 0);  // the inner level never traces
}

// The outer forms: which codes each takes, and bad input reported (never thrown) with the form's
// trace, the destination left as it was.
TEST(BW1Outer, CodesAndBadInput) {
  BitView d(10, 2, 3);
  ZImage<ZBW1> a(10, 2), narrow(9, 2);
  ZROI<ZBW1> none;
  const std::vector<std::string> oper = {"LumOper (BW1)"}, copy = {"LumCopy(BW1)"}, copyNull = {"LumCopy (BW1)"};
  std::vector<kt::Refusal> rows = {
      {[&] { LumCopy(static_cast<ZROI<ZBW1>*>(nullptr), &d.view); }, Z_ERROR_NULL_IMAGE, copyNull},
      {[&] { LumCopy(ZBW1(1), nullptr); }, Z_ERROR_NULL_IMAGE, copyNull},
      {[&] { LumCopy(&narrow, &d.view); }, Z_ERROR_DIFFERENT_SIZES, copy},
      {[&] { LumCopy(&none, &d.view); }, Z_ERROR_NULL_IMAGE, copy},
      {[&] { LumCopy(ZBW1(1), &none); }, Z_ERROR_NULL_IMAGE, copy},
      {[&] { LumOper(ARITH_LOGIC_BIT_OR, &a, nullptr, &d.view); }, Z_ERROR_NULL_IMAGE, oper},
      {[&] { LumOper(ARITH_LOGIC_BIT_OR, &a, &narrow, &d.view); }, Z_ERROR_DIFFERENT_SIZES, oper},
      {[&] { LumOper(ARITH_LOGIC_BIT_OR, &a, &none, &d.view); }, Z_ERROR_NULL_IMAGE, oper},
      {[&] { LumOper(ARITH_LOGIC_INVERT, &narrow, &d.view); }, Z_ERROR_DIFFERENT_SIZES, oper},
      {[&] { LumOper(ARITH_LOGIC_COPY, ZBW1(1), &none); }, Z_ERROR_NULL_IMAGE, oper},
  };
  // Codes -1 to 40: taken ones run on a scratch image, refused ones on the view that must stay.
  ZImage<ZBW1> scratch(10, 2);
  const auto code = [&](bool taken, std::function<void(ZROI<ZBW1>*)> call) {
    ZROI<ZBW1>* const out = taken ? static_cast<ZROI<ZBW1>*>(&scratch) : &d.view;
    rows.push_back({[=] { call(out); }, taken ? Z_ERROR_NONE : Z_ERROR_BAD_OPERATION,
                    taken ? std::vector<std::string>{} : oper});
  };
  for (int c = -1; c <= 40; ++c) {
    code(c == 13 || c == 14 || c == 15 || c == 21 || c == 22 || c == 26,
         [&a, c](ZROI<ZBW1>* out) { LumOper(Op(c), &a, &a, out); });
    code(c == 0 || c == 1, [&a, c](ZROI<ZBW1>* out) { LumOper(Op(c), &a, out); });
    code(c == 0, [c](ZROI<ZBW1>* out) { LumOper(Op(c), ZBW1(1), out); });
  }
  kt::CheckRefusals(rows);
  EXPECT_TRUE(d.OutsideIntact(true));
}

}  // namespace
