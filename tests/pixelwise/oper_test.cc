// LumOper on BW8, BW16, C24 and the mixed forms: which codes each form takes, the pixels of every
// code against a plain evaluation of the code table (wide and scalar, views at every alignment),
// in-place use, the quirks a plain evaluation would not show, and bad input.
#include <algorithm>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "support/kelmira_test.h"

namespace {

// ----- a plain reference of the code table -----

// The result of `code` on a and b for maximum m, with the shifts of codes 11 and 12 given.
// Returns -1 for codes that are not a function of a and b alone.
int64_t Ref(int code, int64_t a, int64_t b, int64_t m, int mulShift = 8, int divShift = 8) {
  switch (code) {
    case 2: return std::min(a + b, m);
    case 3: return std::max<int64_t>(a - b, 0);
    case 4: return std::min(a * b, m);
    case 5: return b == 0 ? m : a / b;
    case 6: return b == 0 ? 0 : a % b;
    case 9: return (a + b) / 2;
    case 10: return (a + m - b) / 2;
    case 11: return (a * b) >> mulShift;
    case 12: return b == 0 ? m : std::min((a << divShift) / b, m);
    case 13: return a & b;
    case 14: return a | b;
    case 15: return a ^ b;
    case 16: return a && b ? m : 0;
    case 17: return a || b ? m : 0;
    case 18: return (!a) != (!b) ? m : 0;
    case 19: return std::min(a, b);
    case 20: return std::max(a, b);
    case 23: return a == b ? m : 0;
    case 24: return a != b ? m : 0;
    case 25: return a >= b ? m : 0;
    case 26: return a <= b ? m : 0;
    case 27: return a > b ? m : 0;
    case 28: return a < b ? m : 0;
    case 33: return a > b ? a - b : b - a;
    default: return -1;
  }
}

// Components of a pixel as numbers: BW8 and BW16 have one, C24 three.
template <class T>
constexpr int Comps() { return std::is_same_v<T, ZC24> ? 3 : 1; }
template <class T>
uint32_t Get(ZROI<T>* v, int x, int y, int k) {
  if constexpr (std::is_same_v<T, ZC24>)
    return reinterpret_cast<const uint8_t*>(v->GetImagePtr(x, y))[k];
  else
    return v->GetPixel(x, y).value;
}

using Set = std::set<int>;
Set Range(int a, int b, Set more = {}) {
  for (int c = a; c <= b; ++c) more.insert(c);
  return more;
}

// A form under test: its call on three views (a constant form ignores what it does not take),
// and the expected component from a, b and the destination's old component (-1: compare nothing).
template <class TA, class TB, class TD>
struct Form {
  std::string trace;
  Set accepted, refused;  // refused empty: all codes not accepted are refused
  std::function<void(int, ZROI<TA>*, ZROI<TB>*, ZROI<TD>*)> call;
  std::function<int64_t(int, uint32_t, uint32_t, uint32_t)> ref;
  int Expected(int code) const {
    if (accepted.count(code)) return 0;
    if (refused.empty() || refused.count(code)) return Z_ERROR_BAD_OPERATION;
    return Z_ERROR_INTERNAL;
  }
};

// Runs every accepted code on random views of every width and byte offset given, with the wide
// paths on and off, and compares each destination component with the reference.
template <class TA, class TB, class TD>
void SweepPixels(const Form<TA, TB, TD>& form, std::vector<int> widths, std::vector<int> offsets, int height = 2) {
  for (int code : form.accepted) {
    for (int wide : {0, 1}) {
      kt::WideSetting setting(wide);
      for (int width : widths) {
        for (int offset : offsets) {
          kt::Framed<TA> a(width, height, (offset * 3) % 10);
          kt::Framed<TB> b(width, height, (offset * 7) % 10);
          kt::Framed<TD> d(width, height, offset);
          a.FillRandom(kt::Rng());
          b.FillRandom(kt::Rng());
          d.FillRandom(kt::Rng());
          // Plenty of zeros and extremes, where the codes turn.
          for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; x += 5) {
              std::memset(a->GetGenericImagePtr(x, y), 0, sizeof(TA));
              if (x % 3 == 0) std::memset(b->GetGenericImagePtr(x, y), 0, sizeof(TB));
              if (x % 4 == 1) std::memset(b->GetGenericImagePtr(x, y), 0xFF, sizeof(TB));
            }
          ZImage<TD> old(width, height);
          LumCopy(d.get(), &old);
          form.call(code, a.get(), b.get(), d.get());
          ASSERT_EQ(ZGetError(), 0) << form.trace << " code " << code;
          ASSERT_TRUE(d.GuardsIntact()) << form.trace << " code " << code;
          for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
              for (int k = 0; k < Comps<TD>(); ++k) {
                const int64_t want = form.ref(code, Get(a.get(), x, y, k), Get(b.get(), x, y, k), Get(&old, x, y, k));
                ASSERT_EQ(int64_t(Get(d.get(), x, y, k)), want)
                    << form.trace << " code " << code << " wide " << wide << " width " << width << " offset "
                    << offset << " at " << x << "," << y << " comp " << k;
              }
        }
      }
    }
  }
}

// Every code from -1 to 40 and a few far ones: 0, 1003 or 32767 as the form's row says, the
// form's trace on failure, and nothing written on failure.
template <class TA, class TB, class TD>
void SweepCodes(const Form<TA, TB, TD>& form) {
  std::vector<int> codes;
  for (int c = -1; c <= 40; ++c) codes.push_back(c);
  codes.insert(codes.end(), {63, 64, 1000});
  for (int code : codes) {
    kt::Framed<TA> a(5, 3, 1);
    kt::Framed<TB> b(5, 3, 2);
    kt::Framed<TD> d(5, 3, 3);
    a.FillRandom(kt::Rng());
    b.FillRandom(kt::Rng());
    d.FillRandom(kt::Rng());
    ZImage<TD> old(5, 3);
    LumCopy(d.get(), &old);
    form.call(code, a.get(), b.get(), d.get());
    const int want = form.Expected(code);
    ASSERT_EQ(ZGetError(), want) << form.trace << " code " << code;
    if (want != 0) {
      EXPECT_EQ(kt::Trace(), std::vector<std::string>{form.trace}) << code;
      EXPECT_TRUE(kt::SameBytes(d.get(), &old)) << form.trace << " code " << code;
    } else {
      EXPECT_EQ(ZGetTraceCount(), 0);
    }
  }
}

template <class TA, class TB, class TD>
void SweepBadInput(const Form<TA, TB, TD>& form, int code, int sources) {
  kt::Framed<TA> a(6, 4, 1);
  kt::Framed<TB> b(6, 4, 2);
  kt::Framed<TD> d(6, 4, 3), small(5, 4);
  ZROI<TA> voidA;
  ZROI<TB> voidB;
  ZROI<TD> voidD;
  a.FillRandom(kt::Rng());
  b.FillRandom(kt::Rng());
  d.FillRandom(kt::Rng());
  ZImage<TD> old(6, 4);
  LumCopy(d.get(), &old);
  struct Case {
    ZROI<TA>* a;
    ZROI<TB>* b;
    ZROI<TD>* d;
    int error;
  };
  std::vector<Case> cases = {{a.get(), b.get(), nullptr, Z_ERROR_NULL_IMAGE}, {a.get(), b.get(), &voidD, Z_ERROR_NULL_IMAGE}};
  if (sources >= 1) {
    cases.push_back({nullptr, b.get(), d.get(), Z_ERROR_NULL_IMAGE});
    cases.push_back({&voidA, b.get(), d.get(), Z_ERROR_NULL_IMAGE});
    kt::Framed<TA>* none = nullptr;
    (void)none;
  }
  if (sources >= 2) {
    cases.push_back({a.get(), nullptr, d.get(), Z_ERROR_NULL_IMAGE});
    cases.push_back({a.get(), &voidB, d.get(), Z_ERROR_NULL_IMAGE});
  }
  for (const Case& c : cases) {
    form.call(code, c.a, c.b, c.d);
    EXPECT_TRUE(kt::Failed(c.error, {form.trace})) << form.trace;
    EXPECT_TRUE(kt::SameBytes(d.get(), &old));
    EXPECT_TRUE(d.GuardsIntact());
  }
  if (sources >= 1) {  // sizes: a source narrower than the destination
    ZROI<TA> narrowA(a.get(), 0, 0, 5, 4);
    form.call(code, &narrowA, b.get(), d.get());
    EXPECT_TRUE(kt::Failed(Z_ERROR_DIFFERENT_SIZES, {form.trace})) << form.trace;
    EXPECT_TRUE(kt::SameBytes(d.get(), &old));
  }
  if (sources >= 2) {
    ZROI<TB> narrowB(b.get(), 0, 1, 6, 3);
    form.call(code, a.get(), &narrowB, d.get());
    EXPECT_EQ(ZGetError(), Z_ERROR_DIFFERENT_SIZES) << form.trace;
    EXPECT_TRUE(kt::SameBytes(d.get(), &old));
  }
}

ARITH_LOGIC_OPERATIONS Op(int code) { return static_cast<ARITH_LOGIC_OPERATIONS>(code); }

const Set kConstFirst = Range(2, 6, Range(9, 15, Range(19, 20, Range(23, 28, {33}))));
const Set kConstFirstRefused = {7, 8, 16, 17, 18, 21, 22};
const Set kImageFirst = Range(2, 15, Range(19, 28, {33}));
const Set kImageFirstRefused = {16, 17, 18};
const Set kTwoImages = Range(2, 6, Range(9, 28, {33}));
const Set kShiftCodes = {7, 8};

// a op b on components of maximum m, with 21 and 22 keeping the old value where they do not write.
int64_t Component(int code, int64_t a, int64_t b, int64_t old, int64_t m, int mulShift = 8, int divShift = 8) {
  if (code == 21) return a == 0 ? b : old;
  if (code == 22) return a != 0 ? b : old;
  return Ref(code, a, b, m, mulShift, divShift);
}
int64_t Shift(int code, int64_t p, uint32_t c, int bits) {
  const unsigned n = c & 31;
  const int64_t mask = (int64_t{1} << bits) - 1;
  return code == 7 ? (n >= uint32_t(bits) ? 0 : (p << n) & mask) : (n >= uint32_t(bits) ? 0 : p >> n);
}

// ----- the forms -----

using F8 = Form<ZBW8, ZBW8, ZBW8>;
using F16 = Form<ZBW16, ZBW16, ZBW16>;
using F24 = Form<ZC24, ZC24, ZC24>;

F8 BW8Const(uint8_t c) {
  return {"LumOper ( BW8 Const to Image)", {0}, {},
          [c](int code, ZROI<ZBW8>*, ZROI<ZBW8>*, ZROI<ZBW8>* d) { LumOper(Op(code), ZBW8(c), d); },
          [c](int, uint32_t, uint32_t, uint32_t) { return int64_t{c}; }};
}
F8 BW8Image() {
  return {"LumOper ( BW8 Image to Image)", {0, 1}, {},
          [](int code, ZROI<ZBW8>* a, ZROI<ZBW8>*, ZROI<ZBW8>* d) { LumOper(Op(code), a, d); },
          [](int code, uint32_t a, uint32_t, uint32_t) { return int64_t(code == 0 ? a : 255 - a); }};
}
F8 BW8ConstImage(uint8_t c) {
  return {"LumOper ( BW8 Const, Image to Image)", kConstFirst, kConstFirstRefused,
          [c](int code, ZROI<ZBW8>* a, ZROI<ZBW8>*, ZROI<ZBW8>* d) { LumOper(Op(code), ZBW8(c), a, d); },
          [c](int code, uint32_t a, uint32_t, uint32_t old) { return Component(code, c, a, old, 255); }};
}
F8 BW8ImageConst(uint8_t c) {
  return {"LumOper ( BW8 Image, Const to Image)", kImageFirst, kImageFirstRefused,
          [c](int code, ZROI<ZBW8>* a, ZROI<ZBW8>*, ZROI<ZBW8>* d) { LumOper(Op(code), a, ZBW8(c), d); },
          [c](int code, uint32_t a, uint32_t, uint32_t old) {
            return kShiftCodes.count(code) ? Shift(code, a, c, 8) : Component(code, a, c, old, 255);
          }};
}
F8 BW8Images() {
  return {"LumOper ( BW8 Image, Image to Image)", Range(2, 6, Range(9, 28, {33, 34})), kShiftCodes,
          [](int code, ZROI<ZBW8>* a, ZROI<ZBW8>* b, ZROI<ZBW8>* d) { LumOper(Op(code), a, b, d); },
          [](int code, uint32_t a, uint32_t b, uint32_t old) { return Component(code, a, b, old, 255); }};
}
Form<ZBW8, ZBW8, ZBW16> BW8ToBW16() {
  return {"LumOper ( BW8 Image and BW8 Image to BW16 Image)", {2, 3, 4, 5}, {},
          [](int code, ZROI<ZBW8>* a, ZROI<ZBW8>* b, ZROI<ZBW16>* d) { LumOper(Op(code), a, b, d); },
          [](int code, uint32_t a, uint32_t b, uint32_t) -> int64_t {
            return code == 2 ? a + b : code == 4 ? a * b : Ref(code, a, b, 65535);
          }};
}
Form<ZBW16, ZBW8, ZBW16> BW16AndBW8() {
  return {"LumOper ( BW16 Image and BW8 Image to BW16 IMage)", {2, 3, 4, 5, 29, 30}, {},
          [](int code, ZROI<ZBW16>* a, ZROI<ZBW8>* b, ZROI<ZBW16>* d) { LumOper(Op(code), a, b, d); },
          [](int code, uint32_t a, uint32_t b, uint32_t) -> int64_t {
            if (code == 4) return a * b <= 65535 ? 65535 : (a * b) & 0xFFFF;
            if (code == 29) return (a + b) & 0xFFFF;
            if (code == 30) return (a - b) & 0xFFFF;
            return Ref(code, a, b, 65535);
          }};
}
F16 BW16Const(uint16_t c) {
  return {"LumOper ( BW16 Const to Image)", {0}, {},
          [c](int code, ZROI<ZBW16>*, ZROI<ZBW16>*, ZROI<ZBW16>* d) { LumOper(Op(code), ZBW16(c), d); },
          [c](int, uint32_t, uint32_t, uint32_t) { return int64_t{c}; }};
}
F16 BW16Image() {
  return {"LumOper (BW16 Image to Image)", {0, 1}, {},
          [](int code, ZROI<ZBW16>* a, ZROI<ZBW16>*, ZROI<ZBW16>* d) { LumOper(Op(code), a, d); },
          [](int code, uint32_t a, uint32_t, uint32_t) { return int64_t(code == 0 ? a : 65535 - a); }};
}
F16 BW16ConstImage(uint16_t c) {
  return {"LumOper ( BW16 Const, Image to Image)", kConstFirst, kConstFirstRefused,
          [c](int code, ZROI<ZBW16>* a, ZROI<ZBW16>*, ZROI<ZBW16>* d) { LumOper(Op(code), ZBW16(c), a, d); },
          [c](int code, uint32_t p, uint32_t, uint32_t old) -> int64_t {
            if (code == 5 && p == 0) return 255;
            if (code == 12) return p == 0 ? 65535 : std::min<int64_t>(int64_t{c} << (16 / p), 65535);
            return Component(code, c, p, old, 65535, 16, 8);
          }};
}
F16 BW16ImageConst(uint16_t c) {
  return {"LumOper ( BW16 Image, Const to Image)", kImageFirst, kImageFirstRefused,
          [c](int code, ZROI<ZBW16>* a, ZROI<ZBW16>*, ZROI<ZBW16>* d) { LumOper(Op(code), a, ZBW16(c), d); },
          [c](int code, uint32_t a, uint32_t, uint32_t old) {
            return kShiftCodes.count(code) ? Shift(code, a, c, 16) : Component(code, a, c, old, 65535, 16, 16);
          }};
}
F16 BW16Images() {
  return {"LumOper ( BW16 Image, Image to Image)", kTwoImages, kShiftCodes,
          [](int code, ZROI<ZBW16>* a, ZROI<ZBW16>* b, ZROI<ZBW16>* d) { LumOper(Op(code), a, b, d); },
          [](int code, uint32_t a, uint32_t b, uint32_t old) { return Component(code, a, b, old, 65535, 16, 8); }};
}
F24 C24Const(ZC24 c) {
  return {"LumOper ( C24 Const to Image)", {0}, {},
          [c](int code, ZROI<ZC24>*, ZROI<ZC24>*, ZROI<ZC24>* d) { LumOper(Op(code), c, d); },
          [c](int, uint32_t, uint32_t, uint32_t) -> int64_t { return -2; }};  // checked apart
}
F24 C24Image() {
  return {"LumOper ( C24 Image to Image)", {0, 1, 34}, {},
          [](int code, ZROI<ZC24>* a, ZROI<ZC24>*, ZROI<ZC24>* d) { LumOper(Op(code), a, d); },
          [](int code, uint32_t a, uint32_t, uint32_t) -> int64_t { return code == 0 ? a : code == 1 ? 255 - a : -2; }};
}
uint32_t Byte(ZC24 c, int k) { return k == 0 ? c.c0 : k == 1 ? c.c1 : c.c2; }
// The C24 constant forms' references take the component index through the old value's slot: the
// sweep passes components one at a time, so the constant byte is chosen by a counter.
F24 C24ConstImage(uint8_t c) {
  return {"LumOper ( C24 Const, Image to Image)", kConstFirst, kConstFirstRefused,
          [c](int code, ZROI<ZC24>* a, ZROI<ZC24>*, ZROI<ZC24>* d) { LumOper(Op(code), ZC24(c, c, c), a, d); },
          [c](int code, uint32_t a, uint32_t, uint32_t old) { return Component(code, c, a, old, 255); }};
}
F24 C24ImageConst(uint8_t c) {
  return {"LumOper ( C24 Image, Const to Image)", kImageFirst, kImageFirstRefused,
          [c](int code, ZROI<ZC24>* a, ZROI<ZC24>*, ZROI<ZC24>* d) { LumOper(Op(code), a, ZC24(c, c, c), d); },
          [c](int code, uint32_t a, uint32_t, uint32_t old) {
            return kShiftCodes.count(code) ? Shift(code, a, c, 8) : Component(code, a, c, old, 255);
          }};
}
F24 C24Images() {
  return {"LumOper ( C24 Image, Image to Image)", Range(2, 6, Range(9, 28, {33, 34})), kShiftCodes,
          [](int code, ZROI<ZC24>* a, ZROI<ZC24>* b, ZROI<ZC24>* d) { LumOper(Op(code), a, b, d); },
          [](int code, uint32_t a, uint32_t b, uint32_t old) { return Component(code, a, b, old, 255); }};
}
Form<ZBW8, ZC24, ZC24> BW8C24() {
  return {"LumOper ( BW8 Image, C24 Image to C24 Image)", Range(2, 6, Range(9, 28, {33, 34})), kShiftCodes,
          [](int code, ZROI<ZBW8>* a, ZROI<ZC24>* b, ZROI<ZC24>* d) { LumOper(Op(code), a, b, d); },
          [](int code, uint32_t a, uint32_t b, uint32_t old) { return Component(code, a, b, old, 255); }};
}
Form<ZC24, ZBW8, ZC24> C24BW8() {
  return {"LumOper ( C24 Image, BW8 Image to C24 Image)", Range(2, 6, Range(9, 28, {33, 34})), kShiftCodes,
          [](int code, ZROI<ZC24>* a, ZROI<ZBW8>* b, ZROI<ZC24>* d) { LumOper(Op(code), a, b, d); },
          [](int code, uint32_t a, uint32_t b, uint32_t old) { return Component(code, a, b, old, 255); }};
}
Form<ZBW8, ZBW8, ZC24> BW8BW8C24() {
  return {"LumOper ( BW8 Image, BW8 Image to C24 Image)", {34}, {},
          [](int code, ZROI<ZBW8>* a, ZROI<ZBW8>* b, ZROI<ZC24>* d) { LumOper(Op(code), a, b, d); },
          [](int, uint32_t, uint32_t, uint32_t) -> int64_t { return -2; }};
}
Form<ZBW8, ZBW8, ZC24> BW8ToC24() {
  return {"LumOper ( BW8 Image to C24 Image)", {0, 1, 34}, {},
          [](int code, ZROI<ZBW8>* a, ZROI<ZBW8>*, ZROI<ZC24>* d) { LumOper(Op(code), a, d); },
          [](int code, uint32_t a, uint32_t, uint32_t) -> int64_t { return code == 0 ? a : code == 1 ? 255 - a : -2; }};
}

// The accepted codes whose pixels the generic sweep can judge component by component.
template <class F>
F WithoutOverlay(F form) {
  form.accepted.erase(34);
  return form;
}

std::vector<int> Widths(int n) {
  std::vector<int> w;
  for (int i = 1; i <= n; ++i) w.push_back(i);
  return w;
}
const std::vector<int> kAllOffsets = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9};

// ----- codes -----

TEST(OperCodes, EachFormAcceptsRefusesOrAnswersInternalAsItsRowSays) {
  SweepCodes(BW8Const(7));
  SweepCodes(BW8Image());
  SweepCodes(BW8ConstImage(7));
  SweepCodes(BW8ImageConst(7));
  SweepCodes(BW8Images());
  SweepCodes(BW8ToBW16());
  SweepCodes(BW16AndBW8());
  SweepCodes(BW16Const(7));
  SweepCodes(BW16Image());
  SweepCodes(BW16ConstImage(7));
  SweepCodes(BW16ImageConst(7));
  SweepCodes(BW16Images());
  SweepCodes(C24Const(ZC24(1, 2, 3)));
  SweepCodes(C24Image());
  SweepCodes(C24ConstImage(7));
  SweepCodes(C24ImageConst(7));
  SweepCodes(C24Images());
  SweepCodes(BW8C24());
  SweepCodes(C24BW8());
  SweepCodes(BW8BW8C24());
  SweepCodes(BW8ToC24());
}

TEST(OperCodes, RefusalComesBeforeTheViewChecks) {
  LumOper(ARITH_LOGIC_SHIFT_LEFT, static_cast<ZROI<ZBW8>*>(nullptr), static_cast<ZROI<ZBW8>*>(nullptr),
          static_cast<ZROI<ZBW8>*>(nullptr));
  EXPECT_EQ(ZGetError(), Z_ERROR_BAD_OPERATION);
  LumOper(ARITH_LOGIC_INVERT, ZBW8(3), static_cast<ZROI<ZBW8>*>(nullptr));
  EXPECT_TRUE(kt::Failed(Z_ERROR_BAD_OPERATION, {"LumOper ( BW8 Const to Image)"}));
}

// ----- pixels: every code against the reference, wide and scalar, at every alignment -----

TEST(OperPixels, BW8TwoImagesAtEveryOffsetAndWidth) {
  SweepPixels(WithoutOverlay(BW8Images()), Widths(40), kAllOffsets);
}
TEST(OperPixels, BW8ConstantFirstAtEveryOffsetAndWidth) {
  for (uint8_t c : {0, 1, 128, 255}) SweepPixels(BW8ConstImage(c), Widths(40), {0, 3, 7, 9});
  SweepPixels(BW8ConstImage(77), Widths(40), kAllOffsets);
}
TEST(OperPixels, BW8ImageFirstAtEveryOffsetAndWidth) {
  for (uint8_t c : {0, 1, 8, 9, 32, 33, 255}) SweepPixels(BW8ImageConst(c), Widths(40), {0, 3, 7, 9});
  SweepPixels(BW8ImageConst(77), Widths(40), kAllOffsets);
}
TEST(OperPixels, BW8OneOperandAndFill) {
  SweepPixels(BW8Image(), Widths(40), kAllOffsets);
  SweepPixels(BW8Const(0xA7), Widths(40), kAllOffsets);
  SweepPixels(WithoutOverlay(BW8ToC24()), {1, 5, 17}, {0, 1, 5});
}
TEST(OperPixels, BW16Forms) {
  const std::vector<int> widths = {1, 2, 3, 4, 5, 7, 8, 9, 16, 17, 31, 33, 40};
  SweepPixels(BW16Images(), widths, kAllOffsets);
  for (uint16_t c : {0, 1, 4, 15, 16, 17, 20, 255, 65535})
    SweepPixels(BW16ConstImage(c), {1, 7, 17}, {0, 1});
  for (uint16_t c : {0, 1, 15, 16, 17, 31, 32, 33, 300, 65535}) SweepPixels(BW16ImageConst(c), {1, 7, 17}, {0, 1});
  SweepPixels(BW16Image(), widths, {0, 1});
  SweepPixels(BW16Const(0xBEEF), widths, {0, 1});
  SweepPixels(BW8ToBW16(), widths, {0, 1, 2});
  SweepPixels(BW16AndBW8(), widths, {0, 1, 2});
}
TEST(OperPixels, C24Forms) {
  const std::vector<int> widths = {1, 2, 3, 5, 8, 11, 16, 21};
  SweepPixels(WithoutOverlay(C24Images()), widths, kAllOffsets);
  for (uint8_t c : {0, 3, 200}) {
    SweepPixels(C24ConstImage(c), {1, 6}, {0, 1});
    SweepPixels(C24ImageConst(c), {1, 6}, {0, 1});
  }
  SweepPixels(WithoutOverlay(C24Image()), widths, {0, 1});
  SweepPixels(WithoutOverlay(BW8C24()), {1, 4, 9}, {0, 1});
  SweepPixels(WithoutOverlay(C24BW8()), {1, 4, 9}, {0, 1});
}

TEST(OperPixels, C24ConstantsWorkComponentByComponent) {
  kt::Framed<ZC24> s(9, 2, 1), d(9, 2, 2);
  s.FillRandom(kt::Rng());
  const ZC24 c(10, 200, 3);
  for (int code : {2, 3, 7, 8, 12}) {
    LumOper(Op(code), s.get(), c, d.get());
    ASSERT_EQ(ZGetError(), 0);
    for (int x = 0; x < 9; ++x)
      for (int k = 0; k < 3; ++k) {
        const int64_t p = Get(s.get(), x, 1, k), want = kShiftCodes.count(code) ? Shift(code, p, Byte(c, k), 8)
                                                                                 : Ref(code, p, Byte(c, k), 255);
        ASSERT_EQ(Get(d.get(), x, 1, k), want) << code;
      }
    LumOper(Op(code == 7 || code == 8 ? 2 : code), c, s.get(), d.get());
    for (int x = 0; x < 9; ++x)
      for (int k = 0; k < 3; ++k)
        ASSERT_EQ(Get(d.get(), x, 1, k), Ref(code == 7 || code == 8 ? 2 : code, Byte(c, k), Get(s.get(), x, 1, k), 255));
  }
  LumOper(ARITH_LOGIC_COPY, c, d.get());
  for (int x = 0; x < 9; ++x) ASSERT_EQ(std::memcmp(d->GetImagePtr(x, 1), &c, 3), 0);
}

// Every wide target the processor has (AVX-512, AVX2, SSE4 ...) gives the scalar pixels.
TEST(OperPixels, EveryWideTargetAgreesWithTheReference) {
  const std::vector<int> widths = {1, 8, 9, 16, 31, 33, 64, 65, 130, 200};
  kt::ForEveryTarget([&] {
    SweepPixels(WithoutOverlay(BW8Images()), widths, {0, 3, 5});
    SweepPixels(BW8ConstImage(200), widths, {0, 3});
    SweepPixels(BW8ImageConst(200), widths, {0, 3});
    SweepPixels(BW8Image(), widths, {0, 3});
    SweepPixels(BW8Const(9), widths, {0, 3});
    SweepPixels(BW16Images(), widths, {0, 2});
  });
}

// ----- in place -----

TEST(OperInPlace, SourceThatIsTheDestination) {
  for (int wide : {0, 1}) {
    kt::WideSetting setting(wide);
    for (int code : kTwoImages) {
      kt::Framed<ZBW8> a(37, 3, 3), b(37, 3, 5);
      a.FillRandom(kt::Rng());
      b.FillRandom(kt::Rng());
      ZImage<ZBW8> wantFirst(37, 3), a0(37, 3);
      LumCopy(a.get(), &a0);
      LumCopy(&a0, &wantFirst);  // codes 21 and 22 keep the destination's old pixels
      LumOper(Op(code), &a0, b.get(), &wantFirst);
      LumOper(Op(code), a.get(), b.get(), a.get());  // a = a op b
      ASSERT_TRUE(kt::SameBytes(a.get(), &wantFirst)) << code;
      LumCopy(&a0, a.get());
      ZImage<ZBW8> wantConst(37, 3);
      LumCopy(&a0, &wantConst);
      if (kImageFirst.count(code)) {
        LumOper(Op(code), &a0, ZBW8(9), &wantConst);
        LumOper(Op(code), a.get(), ZBW8(9), a.get());
        ASSERT_TRUE(kt::SameBytes(a.get(), &wantConst)) << code;
      }
    }
  }
}

// ----- worked cases -----

TEST(OperWorked, DivisionByZeroAndTheBW16Quirks) {
  ZImage<ZBW8> a(1, 1), z(1, 1), d(1, 1);
  a.SetPixel(ZBW8(77), 0, 0);
  z.SetPixel(ZBW8(0), 0, 0);
  LumOper(ARITH_LOGIC_DIVIDE, &a, &z, &d);
  EXPECT_EQ(d.GetPixel(0, 0).value, 255);
  LumOper(ARITH_LOGIC_MODULO, &a, &z, &d);
  EXPECT_EQ(d.GetPixel(0, 0).value, 0);

  ZImage<ZBW16> p(3, 1), q(3, 1);
  p.SetPixel(ZBW16(0), 0, 0);
  p.SetPixel(ZBW16(4), 1, 0);
  p.SetPixel(ZBW16(20), 2, 0);
  LumOper(ARITH_LOGIC_DIVIDE, ZBW16(1000), &p, &q);
  EXPECT_EQ(q.GetPixel(0, 0).value, 255);  // not 65535
  LumOper(ARITH_LOGIC_SCALED_DIVIDE, ZBW16(100), &p, &q);
  EXPECT_EQ(q.GetPixel(0, 0).value, 65535);
  EXPECT_EQ(q.GetPixel(1, 0).value, 1600);
  EXPECT_EQ(q.GetPixel(2, 0).value, 100);
}

TEST(OperWorked, InvertedClipOfBW16TimesBW8) {
  ZImage<ZBW16> a(2, 1), d(2, 1);
  ZImage<ZBW8> b(2, 1);
  a.SetPixel(ZBW16(2), 0, 0);
  b.SetPixel(ZBW8(3), 0, 0);
  a.SetPixel(ZBW16(300), 1, 0);
  b.SetPixel(ZBW8(255), 1, 0);
  LumOper(ARITH_LOGIC_MULTIPLY, &a, &b, &d);
  EXPECT_EQ(d.GetPixel(0, 0).value, 65535);
  EXPECT_EQ(d.GetPixel(1, 0).value, 10964);
}

TEST(OperWorked, HalfDifferenceWithFullConstantHalvesAndShiftOfNineClears) {
  kt::Framed<ZBW8> s(40, 2, 3), d(40, 2, 1);
  s.FillRandom(kt::Rng());
  LumOper(ARITH_LOGIC_HALF_DIFFERENCE, s.get(), ZBW8(255), d.get());
  for (int x = 0; x < 40; ++x) ASSERT_EQ(d->GetPixel(x, 1).value, s->GetPixel(x, 1).value >> 1);
  LumOper(ARITH_LOGIC_SHIFT_LEFT, s.get(), ZBW8(9), d.get());
  for (int x = 0; x < 40; ++x) ASSERT_EQ(d->GetPixel(x, 0).value, 0);
  LumOper(ARITH_LOGIC_SHIFT_RIGHT, s.get(), ZBW8(32), d.get());  // a count of 32 acts as 0
  EXPECT_TRUE(kt::SameBytes(s.get(), d.get()));
}

TEST(OperWorked, SetWhereZeroOnAnImageWithoutZerosLeavesTheDestination) {
  for (int wide : {0, 1}) {
    kt::WideSetting setting(wide);
    kt::Framed<ZBW8> a(33, 2, 1), b(33, 2, 2), d(33, 2, 5);
    a.FillBytes(9);
    b.FillRandom(kt::Rng());
    d.FillRandom(kt::Rng());
    ZImage<ZBW8> old(33, 2);
    LumCopy(d.get(), &old);
    LumOper(ARITH_LOGIC_SET_WHERE_ZERO, a.get(), b.get(), d.get());
    EXPECT_TRUE(kt::SameBytes(d.get(), &old));
    LumOper(ARITH_LOGIC_SET_WHERE_ZERO, a.get(), ZBW8(4), d.get());
    EXPECT_TRUE(kt::SameBytes(d.get(), &old));
  }
}

TEST(OperWorked, OverlayForms) {
  LumSetOverlayColor(ZC24(1, 2, 3));
  ZImage<ZC24> a(3, 1), b(3, 1), d(3, 1);
  a.SetPixel(ZC24(10, 11, 12), 0, 0);
  a.SetPixel(ZC24(20, 21, 22), 1, 0);
  a.SetPixel(ZC24(30, 31, 32), 2, 0);
  b.SetPixel(ZC24(0, 0, 0), 0, 0);
  b.SetPixel(ZC24(0, 5, 0), 1, 0);
  b.SetPixel(ZC24(0, 0, 0), 2, 0);
  auto same = [](ZC24 p, ZC24 q) { return p.c0 == q.c0 && p.c1 == q.c1 && p.c2 == q.c2; };
  LumOper(ARITH_LOGIC_OVERLAY, &a, &b, &d);  // b where not black, else a
  EXPECT_TRUE(same(d.GetPixel(0, 0), ZC24(10, 11, 12)));
  EXPECT_TRUE(same(d.GetPixel(1, 0), ZC24(0, 5, 0)));
  LumCopy(&a, &d);
  LumOper(ARITH_LOGIC_OVERLAY, &b, &d);  // one image: keeps d under black
  EXPECT_TRUE(same(d.GetPixel(0, 0), ZC24(10, 11, 12)));
  EXPECT_TRUE(same(d.GetPixel(1, 0), ZC24(0, 5, 0)));

  ZImage<ZBW8> g(3, 1), h(3, 1);
  g.SetPixel(ZBW8(0), 0, 0);
  g.SetPixel(ZBW8(9), 1, 0);
  g.SetPixel(ZBW8(0), 2, 0);
  h.SetPixel(ZBW8(0), 0, 0);
  h.SetPixel(ZBW8(0), 1, 0);
  h.SetPixel(ZBW8(4), 2, 0);
  LumCopy(&a, &d);
  LumOper(ARITH_LOGIC_OVERLAY, &g, &d);  // overlay colour where g is not 0
  EXPECT_TRUE(same(d.GetPixel(0, 0), ZC24(10, 11, 12)));
  EXPECT_TRUE(same(d.GetPixel(1, 0), ZC24(1, 2, 3)));
  LumOper(ARITH_LOGIC_OVERLAY, &g, &h, &d);  // h 0: g in all three; else overlay colour
  EXPECT_TRUE(same(d.GetPixel(1, 0), ZC24(9, 9, 9)));
  EXPECT_TRUE(same(d.GetPixel(2, 0), ZC24(1, 2, 3)));
  LumOper(ARITH_LOGIC_OVERLAY, &g, &b, &d);  // colour where not black, else gray
  EXPECT_TRUE(same(d.GetPixel(0, 0), ZC24(0, 0, 0)));
  EXPECT_TRUE(same(d.GetPixel(1, 0), ZC24(0, 5, 0)));
  EXPECT_TRUE(same(d.GetPixel(2, 0), ZC24(0, 0, 0)));
  LumOper(ARITH_LOGIC_OVERLAY, &a, &g, &d);  // overlay where g not 0, else colour
  EXPECT_TRUE(same(d.GetPixel(0, 0), ZC24(10, 11, 12)));
  EXPECT_TRUE(same(d.GetPixel(1, 0), ZC24(1, 2, 3)));

  // The left operand stays left in the mixed forms: gray minus each component.
  LumOper(ARITH_LOGIC_SUBTRACT, &g, &a, &d);
  EXPECT_TRUE(same(d.GetPixel(0, 0), ZC24(0, 0, 0)));
  ZImage<ZBW8> big(3, 1);
  LumCopy(ZBW8(25), &big);
  LumOper(ARITH_LOGIC_SUBTRACT, &big, &a, &d);
  EXPECT_TRUE(same(d.GetPixel(0, 0), ZC24(15, 14, 13)));
}

TEST(OperWorked, BW8OverlayWalksTheRowInThreeByteSteps) {
  ZImage<ZBW8> a(7, 1), b(7, 1), d(7, 1);
  const uint8_t av[7] = {1, 2, 3, 4, 5, 6, 7}, bv[7] = {0, 0, 0, 0, 9, 0, 0};
  for (int x = 0; x < 7; ++x) a.SetPixel(ZBW8(av[x]), x, 0), b.SetPixel(ZBW8(bv[x]), x, 0);
  LumOper(ARITH_LOGIC_OVERLAY, &a, &b, &d);
  ASSERT_EQ(ZGetError(), 0);
  const uint8_t want[7] = {1, 2, 3, 0, 9, 0, 7};  // groups {0,1,2} {3,4,5} {6}
  for (int x = 0; x < 7; ++x) EXPECT_EQ(d.GetPixel(x, 0).value, want[x]) << x;
}

// ----- bad input -----

TEST(OperBadInput, NullVoidAndMismatchedViewsLeaveTheDestination) {
  SweepBadInput(BW8Const(3), 0, 0);
  SweepBadInput(BW8Image(), 1, 1);
  SweepBadInput(BW8ConstImage(3), 2, 1);
  SweepBadInput(BW8ImageConst(3), 3, 1);
  SweepBadInput(BW8Images(), 33, 2);
  SweepBadInput(BW8ToBW16(), 2, 2);
  SweepBadInput(BW16AndBW8(), 29, 2);
  SweepBadInput(BW16Const(3), 0, 0);
  SweepBadInput(BW16Image(), 1, 1);
  SweepBadInput(BW16ConstImage(3), 5, 1);
  SweepBadInput(BW16ImageConst(3), 7, 1);
  SweepBadInput(BW16Images(), 2, 2);
  SweepBadInput(C24Const(ZC24(1, 2, 3)), 0, 0);
  SweepBadInput(C24Image(), 34, 1);
  SweepBadInput(C24ConstImage(3), 4, 1);
  SweepBadInput(C24ImageConst(3), 8, 1);
  SweepBadInput(C24Images(), 34, 2);
  SweepBadInput(BW8C24(), 34, 2);
  SweepBadInput(C24BW8(), 2, 2);
  SweepBadInput(BW8ToC24(), 34, 1);
}

TEST(OperBadInput, GrayPairToColourTestsPointersThenSizesWith1403) {
  ZImage<ZBW8> a(4, 4), b(4, 4), narrow(3, 4);
  ZImage<ZC24> d(4, 4);
  LumOper(ARITH_LOGIC_OVERLAY, &a, static_cast<ZROI<ZBW8>*>(nullptr), &d);
  EXPECT_EQ(ZGetError(), Z_ERROR_NULL_IMAGE);
  LumOper(ARITH_LOGIC_OVERLAY, &a, &narrow, &d);
  EXPECT_TRUE(kt::Failed(Z_ERROR_SIZE_MISMATCH, {"LumOper ( BW8 Image, BW8 Image to C24 Image)"}));
}

TEST(OperBadInput, GateFailureReachesNothing) {
  ZImage<ZBW8> a(4, 4), d(4, 4);
  LumCopy(ZBW8(1), &d);
  ZSetGateError(Z_ERROR_NO_MEMORY);
  LumOper(ARITH_LOGIC_ADD, &a, &a, &d);
  ZSetGateError(Z_ERROR_NONE);
  EXPECT_TRUE(kt::Failed(Z_ERROR_NO_MEMORY, {"LumOper ( BW8 Image, Image to Image)"}));
  EXPECT_EQ(d.GetPixel(2, 2).value, 1);
}

}  // namespace
