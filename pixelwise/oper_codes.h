// The operation codes as values: which codes a form takes, and the result of a code on two
// unsigned operands. Shared by the scalar workers of the LumOper family and their tests.
#ifndef KELMIRA_PIXELWISE_OPER_CODES_H
#define KELMIRA_PIXELWISE_OPER_CODES_H

#include <cstdint>
#include <initializer_list>

namespace kelmira::oper {

// A set of operation codes 0..63; codes outside that range are in no set.
class CodeSet {
 public:
  constexpr CodeSet() = default;
  // Ranges as {first, last} pairs; a single code as {c, c}.
  constexpr CodeSet(std::initializer_list<std::initializer_list<int>> ranges) {
    for (auto r : ranges) {
      const int first = *r.begin(), last = *(r.end() - 1);
      for (int c = first; c <= last; ++c) m_bits |= uint64_t{1} << c;
    }
  }
  constexpr bool Has(int code) const { return code >= 0 && code < 64 && ((m_bits >> code) & 1) != 0; }

 private:
  uint64_t m_bits = 0;
};

// What a form does with a code: refuse it (1003) before the worker, or pass it to the worker,
// which answers 32767 when it has no case for it. A form whose refusals read "all others"
// refuses every code it does not accept, out-of-range numbers included.
struct FormCodes {
  CodeSet accepted;
  CodeSet refused;
  bool refusesOthers;
  bool Refuses(int code) const { return refusesOthers ? !accepted.Has(code) : refused.Has(code); }
};
constexpr FormCodes OnlyThese(CodeSet accepted) { return FormCodes{accepted, CodeSet{}, true}; }
constexpr FormCodes Refusing(CodeSet accepted, CodeSet refused) { return FormCodes{accepted, refused, false}; }

// Codes whose result is a function of the two operands alone (not 0, 1, the shifts, 21, 22).
constexpr CodeSet kValueCodes{{2, 6}, {9, 20}, {23, 28}, {33, 33}};

// The arithmetic of one pixel type: the largest value, the shift of code 11 and of code 12.
struct Arith {
  uint32_t max;
  int mulShift;
  int divShift;
};
constexpr Arith kArith8{255, 8, 8};

// The result of a value code on a and b (the code table, unsigned, 32 bits, clipped as stated).
// The caller has checked kValueCodes.Has(code).
inline uint32_t Value(int code, uint32_t a, uint32_t b, const Arith& k) {
  const uint32_t m = k.max;
  switch (code) {
    case 2: return a + b > m ? m : a + b;
    case 3: return a > b ? a - b : 0;
    case 4: {
      const uint64_t p = uint64_t{a} * b;
      return p > m ? m : static_cast<uint32_t>(p);
    }
    case 5: return b == 0 ? m : a / b;
    case 6: return b == 0 ? 0 : a % b;
    case 9: return (a + b) >> 1;
    case 10: return (a + (m - b)) >> 1;
    case 11: return static_cast<uint32_t>((uint64_t{a} * b) >> k.mulShift);
    case 12: {
      if (b == 0) return m;
      const uint64_t q = (uint64_t{a} << k.divShift) / b;
      return q > m ? m : static_cast<uint32_t>(q);
    }
    case 13: return a & b;
    case 14: return a | b;
    case 15: return a ^ b;
    case 16: return (a != 0 && b != 0) ? m : 0;
    case 17: return (a != 0 || b != 0) ? m : 0;
    case 18: return ((a != 0) != (b != 0)) ? m : 0;
    case 19: return a < b ? a : b;
    case 20: return a > b ? a : b;
    case 23: return a == b ? m : 0;
    case 24: return a != b ? m : 0;
    case 25: return a >= b ? m : 0;
    case 26: return a <= b ? m : 0;
    case 27: return a > b ? m : 0;
    case 28: return a < b ? m : 0;
    case 33: return a > b ? a - b : b - a;
    default: return 0;
  }
}

}  // namespace kelmira::oper

#endif  // KELMIRA_PIXELWISE_OPER_CODES_H
