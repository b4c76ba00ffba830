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
          a.FillRandom(kt::Rng()), b.FillRandom(kt::Rng()), d.FillRandom(kt::Rng());
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
  std::vector<int> codes = kt::Upto(40, -1);
  codes.insert(codes.end(), {63, 64, 1000});
  for (int code : codes) {
    kt::Framed<TA> a(5, 3, 1);
    kt::Framed<TB> b(5, 3, 2);
    kt::Framed<TD> d(5, 3, 3);
    a.FillRandom(kt::Rng()), b.FillRandom(kt::Rng()), d.FillRandom(kt::Rng());
    const std::vector<uint8_t> old = kt::Bytes(d.get());
    form.call(code, a.get(), b.get(), d.get());
    const int want = form.Expected(code);
    EXPECT_TRUE(kt::Failed(want, want ? std::vector<std::string>{form.trace} : std::vector<std::string>{}))
        << form.trace << " code " << code;
    if (want != 0) {
      EXPECT_EQ(kt::Bytes(d.get()), old) << form.trace << " code " << code;
    }
  }
}

// Null and void views and a narrower source: 1400 or 1401, the form's trace, nothing written.
template <class TA, class TB, class TD>
void SweepBadInput(const Form<TA, TB, TD>& form, int code, int sources) {
  kt::Framed<TA> a(6, 4, 1);
  kt::Framed<TB> b(6, 4, 2);
  kt::Framed<TD> d(6, 4, 3);
  ZROI<TA> voidA, narrowA(a.get(), 0, 0, 5, 4);
  ZROI<TB> voidB, narrowB(b.get(), 0, 1, 6, 3);
  ZROI<TD> voidD;
  a.FillRandom(kt::Rng()), b.FillRandom(kt::Rng()), d.FillRandom(kt::Rng());
  const std::vector<uint8_t> old = kt::Bytes(d.get());
  const auto row = [&](ZROI<TA>* pa, ZROI<TB>* pb, ZROI<TD>* pd, int error) {
    return kt::Refusal{[=, &form] { form.call(code, pa, pb, pd); }, error, {form.trace}};
  };
  std::vector<kt::Refusal> rows = {row(a.get(), b.get(), nullptr, Z_ERROR_NULL_IMAGE),
                                   row(a.get(), b.get(), &voidD, Z_ERROR_NULL_IMAGE)};
  if (sources >= 1)
    rows.insert(rows.end(), {row(nullptr, b.get(), d.get(), Z_ERROR_NULL_IMAGE), row(&voidA, b.get(), d.get(), Z_ERROR_NULL_IMAGE),
                             row(&narrowA, b.get(), d.get(), Z_ERROR_DIFFERENT_SIZES)});
  if (sources >= 2)
    rows.insert(rows.end(), {row(a.get(), nullptr, d.get(), Z_ERROR_NULL_IMAGE), row(a.get(), &voidB, d.get(), Z_ERROR_NULL_IMAGE),
                             row(a.get(), &narrowB, d.get(), Z_ERROR_DIFFERENT_SIZES)});
  SCOPED_TRACE(form.trace);
  kt::CheckRefusals(rows);
  EXPECT_EQ(kt::Bytes(d.get()), old);
  EXPECT_TRUE(d.GuardsIntact());
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

template <class TA, class TB, class TD>
void Two(int code, ZROI<TA>* a, ZROI<TB>* b, ZROI<TD>* d) { LumOper(Op(code), a, b, d); }
template <class TA, class TB, class TD>
void One(int code, ZROI<TA>* a, ZROI<TB>*, ZROI<TD>* d) { LumOper(Op(code), a, d); }

using F8 = Form<ZBW8, ZBW8, ZBW8>;
using F16 = Form<ZBW16, ZBW16, ZBW16>;
using F24 = Form<ZC24, ZC24, ZC24>;

F8 BW8Const(uint8_t c) {
  return {"LumOper ( BW8 Const to Image)", {0}, {},
          [c](int code, ZROI<ZBW8>*, ZROI<ZBW8>*, ZROI<ZBW8>* d) { LumOper(Op(code), ZBW8(c), d); },
          [c](int, uint32_t, uint32_t, uint32_t) { return int64_t{c}; }};
}
F8 BW8Image() {
  return {"LumOper ( BW8 Image to Image)", {0, 1}, {}, One<ZBW8, ZBW8, ZBW8>,
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
  return {"LumOper ( BW8 Image, Image to Image)", Range(2, 6, Range(9, 28, {33, 34})), kShiftCodes, Two<ZBW8, ZBW8, ZBW8>,
          [](int code, uint32_t a, uint32_t b, uint32_t old) { return Component(code, a, b, old, 255); }};
}
Form<ZBW8, ZBW8, ZBW16> BW8ToBW16() {
  return {"LumOper ( BW8 Image and BW8 Image to BW16 Image)", {2, 3, 4, 5}, {}, Two<ZBW8, ZBW8, ZBW16>,
          [](int code, uint32_t a, uint32_t b, uint32_t) -> int64_t {
            return code == 2 ? a + b : code == 4 ? a * b : Ref(code, a, b, 65535);
          }};
}
Form<ZBW16, ZBW8, ZBW16> BW16AndBW8() {
  return {"LumOper ( BW16 Image and BW8 Image to BW16 IMage)", {2, 3, 4, 5, 29, 30}, {}, Two<ZBW16, ZBW8, ZBW16>,
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
  return {"LumOper (BW16 Image to Image)", {0, 1}, {}, One<ZBW16, ZBW16, ZBW16>,
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
  return {"LumOper ( BW16 Image, Image to Image)", kTwoImages, kShiftCodes, Two<ZBW16, ZBW16, ZBW16>,
          [](int code, uint32_t a, uint32_t b, uint32_t old) { return Component(code, a, b, old, 65535, 16, 8); }};
}
F24 C24Const(ZC24 c) {
  return {"LumOper ( C24 Const to Image)", {0}, {},
          [c](int code, ZROI<ZC24>*, ZROI<ZC24>*, ZROI<ZC24>* d) { LumOper(Op(code), c, d); },
          [c](int, uint32_t, uint32_t, uint32_t) -> int64_t { return -2; }};  // checked apart
}
F24 C24Image() {
  return {"LumOper ( C24 Image to Image)", {0, 1, 34}, {}, One<ZC24, ZC24, ZC24>,
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
  return {"LumOper ( C24 Image, Image to Image)", Range(2, 6, Range(9, 28, {33, 34})), kShiftCodes, Two<ZC24, ZC24, ZC24>,
          [](int code, uint32_t a, uint32_t b, uint32_t old) { return Component(code, a, b, old, 255); }};
}
Form<ZBW8, ZC24, ZC24> BW8C24() {
  return {"LumOper ( BW8 Image, C24 Image to C24 Image)", Range(2, 6, Range(9, 28, {33, 34})), kShiftCodes, Two<ZBW8, ZC24, ZC24>,
          [](int code, uint32_t a, uint32_t b, uint32_t old) { return Component(code, a, b, old, 255); }};
}
Form<ZC24, ZBW8, ZC24> C24BW8() {
  return {"LumOper ( C24 Image, BW8 Image to C24 Image)", Range(2, 6, Range(9, 28, {33, 34})), kShiftCodes, Two<ZC24, ZBW8, ZC24>,
          [](int code, uint32_t a, uint32_t b, uint32_t old) { return Component(code, a, b, old, 255); }};
}
Form<ZBW8, ZBW8, ZC24> BW8BW8C24() {
  return {"LumOper ( BW8 Image, BW8 Image to C24 Image)", {34}, {}, Two<ZBW8, ZBW8, ZC24>,
          [](int, uint32_t, uint32_t, uint32_t) -> int64_t { return -2; }};
}
Form<ZBW8, ZBW8, ZC24> BW8ToC24() {
  return {"LumOper ( BW8 Image to C24 Image)", {0, 1, 34}, {}, One<ZBW8, ZBW8, ZC24>,
          [](int code, uint32_t a, uint32_t, uint32_t) -> int64_t { return code == 0 ? a : code == 1 ? 255 - a : -2; }};
}

// Every form, with a code it accepts and how many source views it takes.
template <class F>
void ForEachForm(F&& f) {
  f(BW8Const(3), 0, 0), f(BW8Image(), 1, 1), f(BW8ConstImage(3), 2, 1), f(BW8ImageConst(3), 3, 1);
  f(BW8Images(), 33, 2), f(BW8ToBW16(), 2, 2), f(BW16AndBW8(), 29, 2), f(BW16Const(3), 0, 0);
  f(BW16Image(), 1, 1), f(BW16ConstImage(3), 5, 1), f(BW16ImageConst(3), 7, 1), f(BW16Images(), 2, 2);
  f(C24Const(ZC24(1, 2, 3)), 0, 0), f(C24Image(), 34, 1), f(C24ConstImage(3), 4, 1), f(C24ImageConst(3), 8, 1);
  f(C24Images(), 34, 2), f(BW8C24(), 34, 2), f(C24BW8(), 2, 2), f(BW8BW8C24(), 34, -1), f(BW8ToC24(), 34, 1);
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
  ForEachForm([](const auto& form, int, int) { SweepCodes(form); });
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

// The overlay forms (outside the component sweep) and the operand order of the mixed forms.
TEST(OperWorked, OverlayForms) {
  LumSetOverlayColor(ZC24(1, 2, 3));
  ZImage<ZC24> a(3, 1), b(3, 1), d(3, 1);
  ZImage<ZBW8> g(3, 1), h(3, 1), big(3, 1);
  for (int x = 0; x < 3; ++x) {
    a.SetPixel(ZC24(uint8_t(10 * x + 10), uint8_t(10 * x + 11), uint8_t(10 * x + 12)), x, 0);
    b.SetPixel(ZC24(0, x == 1 ? 5 : 0, 0), x, 0);
    g.SetPixel(ZBW8(x == 1 ? 9 : 0), x, 0), h.SetPixel(ZBW8(x == 2 ? 4 : 0), x, 0), big.SetPixel(ZBW8(25), x, 0);
  }
  const std::pair<std::function<void()>, std::vector<int>> rows[] = {  // the bytes of d after the call
      {[&] { LumOper(ARITH_LOGIC_OVERLAY, &a, &b, &d); }, {10, 11, 12, 0, 5, 0, 30, 31, 32}},  // b unless black
      {[&] { LumCopy(&a, &d), LumOper(ARITH_LOGIC_OVERLAY, &b, &d); }, {10, 11, 12, 0, 5, 0, 30, 31, 32}},
      {[&] { LumCopy(&a, &d), LumOper(ARITH_LOGIC_OVERLAY, &g, &d); }, {10, 11, 12, 1, 2, 3, 30, 31, 32}},
      {[&] { LumOper(ARITH_LOGIC_OVERLAY, &g, &h, &d); }, {0, 0, 0, 9, 9, 9, 1, 2, 3}},  // h 0: g; else the colour
      {[&] { LumOper(ARITH_LOGIC_OVERLAY, &g, &b, &d); }, {0, 0, 0, 0, 5, 0, 0, 0, 0}},  // colour unless black
      {[&] { LumOper(ARITH_LOGIC_OVERLAY, &a, &g, &d); }, {10, 11, 12, 1, 2, 3, 30, 31, 32}},
      {[&] { LumOper(ARITH_LOGIC_SUBTRACT, &g, &a, &d); }, {0, 0, 0, 0, 0, 0, 0, 0, 0}},  // gray minus colour
      {[&] { LumOper(ARITH_LOGIC_SUBTRACT, &big, &a, &d); }, {15, 14, 13, 5, 4, 3, 0, 0, 0}},
  };
  for (size_t i = 0; i < std::size(rows); ++i) {
    rows[i].first();
    ASSERT_EQ(ZGetError(), 0);
    std::vector<int> got;
    for (int x = 0; x < 3; ++x) got.insert(got.end(), {d.GetPixel(x, 0).c0, d.GetPixel(x, 0).c1, d.GetPixel(x, 0).c2});
    EXPECT_EQ(got, rows[i].second) << "row " << i;
  }
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
  ForEachForm([](const auto& form, int code, int sources) {
    if (sources >= 0) SweepBadInput(form, code, sources);  // the gray pair to colour: below
  });
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
