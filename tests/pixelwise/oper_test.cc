// LumOper: every form from one list against the code table, the overlay as worked cases, bad input.
#include <algorithm>
#include <set>

#include "support/kelmira_test.h"

namespace {

ARITH_LOGIC_OPERATIONS Op(int code) { return static_cast<ARITH_LOGIC_OPERATIONS>(code); }

// The maximum of a form's components and the shifts of codes 11 and 12.
struct Table {
  int64_t m;
  int mulShift = 8, divShift = 8;
};

// Code `code` on components a and b; `old` is the destination's component, which codes 21 and 22
// keep where they do not write. The shifts 7 and 8 take b as the count.
int64_t Ref(int code, int64_t a, int64_t b, int64_t old, Table t) {
  const int64_t m = t.m, n = b & 31, bits = m == 255 ? 8 : 16;
  switch (code) {
    case 0: return a;
    case 1: return m - a;
    case 2: return std::min(a + b, m);
    case 3: return std::max<int64_t>(a - b, 0);
    case 4: return std::min(a * b, m);
    case 5: return b == 0 ? m : a / b;
    case 6: return b == 0 ? 0 : a % b;
    case 7: return n >= bits ? 0 : (a << n) & m;
    case 8: return n >= bits ? 0 : a >> n;
    case 9: return (a + b) / 2;
    case 10: return (a + m - b) / 2;
    case 11: return (a * b) >> t.mulShift;
    case 12: return b == 0 ? m : std::min((a << t.divShift) / b, m);
    case 13: return a & b;
    case 14: return a | b;
    case 15: return a ^ b;
    case 16: return a && b ? m : 0;
    case 17: return a || b ? m : 0;
    case 18: return (!a) != (!b) ? m : 0;
    case 19: return std::min(a, b);
    case 20: return std::max(a, b);
    case 21: return a == 0 ? b : old;
    case 22: return a != 0 ? b : old;
    case 23: return a == b ? m : 0;
    case 24: return a != b ? m : 0;
    case 25: return a >= b ? m : 0;
    case 26: return a <= b ? m : 0;
    case 27: return a > b ? m : 0;
    case 28: return a < b ? m : 0;
    case 29: return (a + b) & m;
    case 30: return (a - b) & m;
    case 33: return a > b ? a - b : b - a;
    default: return -1;
  }
}

// Component k of a pixel; BW8 and BW16 have one, which serves every k.
template <class T>
int64_t Comp(T p, int k) {
  if constexpr (std::is_same_v<T, ZC24>) return (&p.c0)[k];
  else return p.value;
}

using Set = std::set<int>;
Set Range(int a, int b, Set more = {}) {
  for (int c = a; c <= b; ++c) more.insert(c);
  return more;
}
const Set kConstFirst = Range(2, 6, Range(9, 15, Range(19, 20, Range(23, 28, {33}))));
const Set kImageFirst = Range(2, 15, Range(19, 28, {33}));
const Set kShifts = {7, 8};

// A form: its trace, the codes it takes and refuses (empty: all others; the rest answer 32767), its call on up to two
// sources, and component k of the result from components a, b of the sources and the destination's old one.
template <class A, class B, class D>
struct Form {
  std::string trace;
  Set accepted, refused;
  std::function<void(int, ZROI<A>*, ZROI<B>*, ZROI<D>*)> call;
  std::function<int64_t(int code, int64_t a, int64_t b, int64_t old, int k)> ref;
  int Expected(int code) const {
    if (accepted.count(code)) return Z_ERROR_NONE;
    return refused.empty() || refused.count(code) ? Z_ERROR_BAD_OPERATION : Z_ERROR_INTERNAL;
  }
};
using Quirk = std::function<int64_t(int, int64_t, int64_t, int64_t)>;

template <class T>
Form<T, T, T> Fill(const char* trace, T c) {
  return {trace, {0}, {}, [c](int code, ZROI<T>*, ZROI<T>*, ZROI<T>* d) { LumOper(Op(code), c, d); },
          [c](int, int64_t, int64_t, int64_t, int k) { return Comp(c, k); }};
}
template <class T, class D = T>
Form<T, T, D> Image(const char* trace, Set accepted) {
  return {trace, accepted, {}, [](int code, ZROI<T>* a, ZROI<T>*, ZROI<D>* d) { LumOper(Op(code), a, d); },
          [](int code, int64_t a, int64_t, int64_t, int) { return Ref(code, a, 0, 0, {sizeof(T) == 2 ? 65535 : 255}); }};
}
// c op image; `quirk` stands in for the table where it is not -1.
template <class T>
Form<T, T, T> ConstFirst(const char* trace, T c, Table t, Quirk quirk = nullptr) {
  return {trace, kConstFirst, {7, 8, 16, 17, 18, 21, 22},
          [c](int code, ZROI<T>* a, ZROI<T>*, ZROI<T>* d) { LumOper(Op(code), c, a, d); },
          [c, t, quirk](int code, int64_t a, int64_t, int64_t old, int k) {
            const int64_t q = quirk ? quirk(code, Comp(c, k), a, old) : -1;
            return q >= 0 ? q : Ref(code, Comp(c, k), a, old, t);
          }};
}
template <class T>
Form<T, T, T> ImageFirst(const char* trace, T c, Table t) {
  return {trace, kImageFirst, {16, 17, 18},
          [c](int code, ZROI<T>* a, ZROI<T>*, ZROI<T>* d) { LumOper(Op(code), a, c, d); },
          [c, t](int code, int64_t a, int64_t, int64_t old, int k) { return Ref(code, a, Comp(c, k), old, t); }};
}
template <class A, class B, class D>
Form<A, B, D> Images(const char* trace, Set accepted, Set refused, Table t, Quirk quirk = nullptr) {
  return {trace, accepted, refused, [](int code, ZROI<A>* a, ZROI<B>* b, ZROI<D>* d) { LumOper(Op(code), a, b, d); },
          [t, quirk](int code, int64_t a, int64_t b, int64_t old, int) {
            const int64_t q = quirk ? quirk(code, a, b, old) : -1;
            return q >= 0 ? q : Ref(code, a, b, old, t);
          }};
}

// Every form with constant c (its low byte on BW8, three different bytes on C24), a code it
// accepts and how many sources it takes (-1: the gray pair to colour, which answers 1403).
template <class F>
void ForEachForm(uint16_t c, F&& f) {
  const ZBW8 c8(static_cast<uint8_t>(c));
  const ZBW16 c16(c);
  const ZC24 c24(static_cast<uint8_t>(c), static_cast<uint8_t>(c * 7 + 1), static_cast<uint8_t>(255 - c));
  const Table t8{255}, t16{65535, 16, 8};
  // BW16: a constant divided by 0 gives 255, and code 12 shifts the constant by 16 / p.
  const Quirk bw16ConstFirst = [](int code, int64_t c, int64_t p, int64_t) -> int64_t {
    if (code == 5 && p == 0) return 255;
    if (code == 12) return p == 0 ? 65535 : std::min<int64_t>(c << (16 / p), 65535);
    return -1;
  };
  // BW16 by BW8: the product clips to 65535 where it does not overflow, and wraps where it does.
  const Quirk bw16ByBW8 = [](int code, int64_t a, int64_t b, int64_t) -> int64_t {
    return code == 4 ? (a * b <= 65535 ? 65535 : (a * b) & 0xFFFF) : -1;
  };
  const Set mixed = Range(2, 6, Range(9, 28, {33, 34}));
  f(Fill("LumOper ( BW8 Const to Image)", c8), 0, 0);
  f(Image<ZBW8>("LumOper ( BW8 Image to Image)", {0, 1}), 1, 1);
  f(ConstFirst("LumOper ( BW8 Const, Image to Image)", c8, t8), 2, 1);
  f(ImageFirst("LumOper ( BW8 Image, Const to Image)", c8, t8), 3, 1);
  f(Images<ZBW8, ZBW8, ZBW8>("LumOper ( BW8 Image, Image to Image)", mixed, kShifts, t8), 33, 2);
  f(Images<ZBW8, ZBW8, ZBW16>("LumOper ( BW8 Image and BW8 Image to BW16 Image)", {2, 3, 4, 5}, {}, {65535}), 2, 2);
  f(Images<ZBW16, ZBW8, ZBW16>("LumOper ( BW16 Image and BW8 Image to BW16 IMage)", {2, 3, 4, 5, 29, 30}, {}, {65535},
                               bw16ByBW8), 29, 2);
  f(Fill("LumOper ( BW16 Const to Image)", c16), 0, 0);
  f(Image<ZBW16>("LumOper (BW16 Image to Image)", {0, 1}), 1, 1);
  f(ConstFirst("LumOper ( BW16 Const, Image to Image)", c16, t16, bw16ConstFirst), 5, 1);
  f(ImageFirst("LumOper ( BW16 Image, Const to Image)", c16, {65535, 16, 16}), 7, 1);
  f(Images<ZBW16, ZBW16, ZBW16>("LumOper ( BW16 Image, Image to Image)", Range(2, 6, Range(9, 28, {33})), kShifts, t16), 2, 2);
  f(Fill("LumOper ( C24 Const to Image)", c24), 0, 0);
  f(Image<ZC24>("LumOper ( C24 Image to Image)", {0, 1, 34}), 34, 1);
  f(ConstFirst("LumOper ( C24 Const, Image to Image)", c24, t8), 4, 1);
  f(ImageFirst("LumOper ( C24 Image, Const to Image)", c24, t8), 8, 1);
  f(Images<ZC24, ZC24, ZC24>("LumOper ( C24 Image, Image to Image)", mixed, kShifts, t8), 34, 2);
  f(Images<ZBW8, ZC24, ZC24>("LumOper ( BW8 Image, C24 Image to C24 Image)", mixed, kShifts, t8), 34, 2);
  f(Images<ZC24, ZBW8, ZC24>("LumOper ( C24 Image, BW8 Image to C24 Image)", mixed, kShifts, t8), 2, 2);
  f(Images<ZBW8, ZBW8, ZC24>("LumOper ( BW8 Image, BW8 Image to C24 Image)", {34}, {}, t8), 34, -1);
  f(Image<ZBW8, ZC24>("LumOper ( BW8 Image to C24 Image)", {0, 1, 34}), 34, 1);
}

// Every accepted code but the overlay (worked below) against the reference, in place where the
// first source has the destination's type; code i takes every `every`-th geometry from start i.
template <class A, class B, class D>
void SweepPixels(const Form<A, B, D>& form, size_t every) {
  static size_t start = 0;
  const std::vector<kt::Geometry> all = kt::Geometries();
  for (int code : form.accepted) {
    if (code == 34) continue;
    SCOPED_TRACE(testing::Message() << form.trace << " code " << code);
    std::vector<kt::Geometry> share;
    for (size_t i = start++ % every; i < all.size(); i += every) share.push_back(all[i]);
    const auto ref = [&](A a, B b, D old) {
      D out = old;
      for (int k = 0; k < (std::is_same_v<D, ZC24> ? 3 : 1); ++k) {
        const int64_t v = form.ref(code, Comp(a, k), Comp(b, k), Comp(old, k), k);
        if constexpr (std::is_same_v<D, ZC24>) (&out.c0)[k] = static_cast<uint8_t>(v);
        else out = D(static_cast<decltype(D().value)>(v));
      }
      return out;
    };
    kt::CheckAgainst2<A, B, D>([&](ZROI<A>* a, ZROI<B>* b, ZROI<D>* d) { form.call(code, a, b, d); }, ref, share, true);
  }
}

TEST(OperPixels, EveryFormAndCodeAgainstTheTable) {
  ForEachForm(77, [](const auto& form, int, int) { SweepPixels(form, 24); });
  // The forms with a constant again, on fewer geometries, with the constants where their shifts,
  // divisions and clips turn.
  for (uint16_t c : {0, 1, 4, 8, 9, 15, 16, 17, 31, 32, 33, 128, 255, 300, 65535})
    ForEachForm(c, [](const auto& form, int, int) {
      if (form.trace.find("Const") != std::string::npos) SweepPixels(form, 192);
    });
}

// Codes -1 to 40 and far ones (refused with null sources: the refusal comes first), then null,
// void and narrower views and the gate: the number, the trace on failure, the destination kept.
template <class A, class B, class D>
void CheckRefusals(const Form<A, B, D>& form, int good, int sources) {
  kt::Framed<A> a(6, 4, 1);
  kt::Framed<B> b(6, 4, 2);
  kt::Framed<D> d(6, 4, 3), scratch(6, 4, 4);
  ZROI<A> voidA, narrowA(a.get(), 0, 0, 5, 4);
  ZROI<B> voidB, narrowB(b.get(), 0, 1, 6, 3);
  ZROI<D> voidD;
  a.FillRandom(kt::Rng()), b.FillRandom(kt::Rng()), d.FillRandom(kt::Rng());
  const std::vector<uint8_t> old = kt::Bytes(d.get());
  const auto row = [&](int code, ZROI<A>* pa, ZROI<B>* pb, ZROI<D>* pd, int error) {
    return kt::Refusal{[=, &form] { form.call(code, pa, pb, pd); }, error, error ? Strings{form.trace} : Strings{}};
  };
  std::vector<kt::Refusal> rows = {row(good, a.get(), b.get(), nullptr, Z_ERROR_NULL_IMAGE),
                                   row(good, a.get(), b.get(), &voidD, Z_ERROR_NULL_IMAGE)};
  std::vector<int> codes = kt::Upto(40, -1);
  codes.insert(codes.end(), {63, 64, 1000});
  for (int code : codes) {
    const int e = form.Expected(code);
    rows.push_back(e == Z_ERROR_BAD_OPERATION ? row(code, nullptr, nullptr, d.get(), e)
                                              : row(code, a.get(), b.get(), e ? d.get() : scratch.get(), e));
  }
  if (sources >= 1)
    rows.insert(rows.end(), {row(good, nullptr, b.get(), d.get(), Z_ERROR_NULL_IMAGE),
                             row(good, &voidA, b.get(), d.get(), Z_ERROR_NULL_IMAGE),
                             row(good, &narrowA, b.get(), d.get(), Z_ERROR_DIFFERENT_SIZES)});
  if (sources >= 2)
    rows.insert(rows.end(), {row(good, a.get(), nullptr, d.get(), Z_ERROR_NULL_IMAGE),
                             row(good, a.get(), &voidB, d.get(), Z_ERROR_NULL_IMAGE),
                             row(good, a.get(), &narrowB, d.get(), Z_ERROR_DIFFERENT_SIZES)});
  rows.push_back({kt::Gated([&] { form.call(good, a.get(), b.get(), d.get()); }), Z_ERROR_INTERNAL, {form.trace}});
  SCOPED_TRACE(form.trace);
  kt::CheckRefusals(rows);
  EXPECT_EQ(kt::Bytes(d.get()), old);
  EXPECT_TRUE(d.GuardsIntact());
}

TEST(OperBadInput, EveryFormRefusesCodesAndViewsByItsRow) {
  ForEachForm(3, [](const auto& form, int good, int sources) { CheckRefusals(form, good, sources); });
  ZImage<ZBW8> a(4, 4), narrow(3, 4);
  ZImage<ZC24> d(4, 4);
  LumOper(ARITH_LOGIC_OVERLAY, &a, &narrow, &d);  // the gray pair to colour answers 1403
  EXPECT_TRUE(kt::Failed(Z_ERROR_SIZE_MISMATCH, {"LumOper ( BW8 Image, BW8 Image to C24 Image)"}));
}

// The overlay forms, outside the component sweep, and the operand order of the mixed forms.
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
  // BW8 overlay walks the row in steps of three bytes: a step takes b where any of its bytes is set.
  ZImage<ZBW8> p(7, 1), q(7, 1), r(7, 1);
  for (int x = 0; x < 7; ++x) p.SetPixel(ZBW8(uint8_t(x + 1)), x, 0), q.SetPixel(ZBW8(x == 4 ? 9 : 0), x, 0);
  LumOper(ARITH_LOGIC_OVERLAY, &p, &q, &r);
  EXPECT_EQ(kt::Bytes(&r), (std::vector<uint8_t>{1, 2, 3, 0, 9, 0, 7}));
}

}  // namespace
