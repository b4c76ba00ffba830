// LumOper on BW8, BW16, C24 and the mixed gray/colour forms: the outer operator of each form
// (refusal of codes, reductions, trace) and the workers: one operand, constant first, image first,
// two images. BW8 and C24 share the byte workers; C24 is three bytes, each with its own constant
// byte. The BW8 rows run under the row rule with the wide kernels of oper_wide.cc.
#include <cstring>
#include <type_traits>

#include "foundation/frame.h"
#include "foundation/rows.h"
#include "kelmira/pixelwise/oper.h"
#include "pixelwise/copy_workers.h"
#include "pixelwise/oper_codes.h"
#include "pixelwise/oper_wide.h"

namespace kelmira::oper {
namespace {

using CRows = rows::Rows<const uint8_t>;
using WRows = rows::Rows<uint8_t>;

// ----- which codes each form takes -----
constexpr CodeSet kShifts{{7, 8}};
constexpr CodeSet kFill{{0, 0}};
constexpr CodeSet kCopyInvert{{0, 1}};
constexpr CodeSet kColourOne{{0, 1}, {34, 34}};
constexpr CodeSet kConstFirst{{2, 6}, {9, 15}, {19, 20}, {23, 28}, {33, 33}};
constexpr CodeSet kConstFirstRefused{{7, 8}, {16, 18}, {21, 22}};
constexpr CodeSet kImageFirst{{2, 15}, {19, 28}, {33, 33}};
constexpr CodeSet kImageFirstRefused{{16, 18}};
constexpr CodeSet kImageFirstWorker{{3, 3}, {5, 8}, {12, 12}, {21, 22}};  // what is left after the reductions
constexpr CodeSet kSymmetric{{2, 2}, {4, 4}, {9, 9}, {11, 11}, {13, 15}, {19, 20}, {23, 24}, {33, 33}};
constexpr CodeSet kTwoImage8{{2, 6}, {9, 28}, {33, 34}};
constexpr CodeSet kTwoImage16{{2, 6}, {9, 28}, {33, 33}};
constexpr CodeSet kRefuseShifts = kShifts;
constexpr CodeSet kToBW16{{2, 5}};
constexpr CodeSet kBW16AndBW8{{2, 5}, {29, 30}};
constexpr CodeSet kOverlay{{34, 34}};

constexpr Arith kArith16Two{65535, 16, 8};    // two BW16 images: code 12 keeps the shift of 8
constexpr Arith kArith16Const{65535, 16, 16};  // BW16 image and constant

// ----- frame -----

// The outer operator of a form: clear, gate, refuse the code with 1003, else the worker; trace.
template <class Worker>
void Form(const char* trace, const FormCodes& codes, int code, Worker&& worker) {
  if (frame::Enter()) {
    if (codes.Refuses(code))
      ZSetError(Z_ERROR_BAD_OPERATION);
    else
      worker();
  }
  frame::Leave(trace);
}

// The start of every worker: the view checks, then a case for the code (32767 if none).
bool Ready(std::initializer_list<const ZGenericROI*> sources, const ZGenericROI* destination, CodeSet cases,
           int code) {
  if (!frame::Operands(sources, destination)) return false;
  return cases.Has(code) || frame::Fail(Z_ERROR_INTERNAL);
}

bool IsBlack(const uint8_t* p) { return (p[0] | p[1] | p[2]) == 0; }

// A row of 16-bit pixels at any byte address: a BW16 view may start at an odd address.
class Row16 {
 public:
  explicit Row16(const uint8_t* p) : m_p(const_cast<uint8_t*>(p)) {}
  uint16_t operator[](int x) const {
    uint16_t v;
    std::memcpy(&v, m_p + 2 * x, 2);
    return v;
  }
  void Set(int x, uint32_t v) const {
    const uint16_t w = static_cast<uint16_t>(v);
    std::memcpy(m_p + 2 * x, &w, 2);
  }
  uint16_t* At(int x) const { return reinterpret_cast<uint16_t*>(m_p + 2 * x); }

 private:
  uint8_t* m_p;
};

// ----- scalar byte rows -----

// Calls f with the code as a compile-time constant, so that each code gets its own loop.
template <class F>
bool WithValueCode(int code, F&& f) {
  switch (code) {
#define KELMIRA_CODE(c) \
  case c:               \
    f(std::integral_constant<int, c>{}); \
    return true;
    KELMIRA_CODE(2) KELMIRA_CODE(3) KELMIRA_CODE(4) KELMIRA_CODE(5) KELMIRA_CODE(6) KELMIRA_CODE(9)
    KELMIRA_CODE(10) KELMIRA_CODE(11) KELMIRA_CODE(12) KELMIRA_CODE(13) KELMIRA_CODE(14) KELMIRA_CODE(15)
    KELMIRA_CODE(16) KELMIRA_CODE(17) KELMIRA_CODE(18) KELMIRA_CODE(19) KELMIRA_CODE(20) KELMIRA_CODE(23)
    KELMIRA_CODE(24) KELMIRA_CODE(25) KELMIRA_CODE(26) KELMIRA_CODE(27) KELMIRA_CODE(28) KELMIRA_CODE(33)
#undef KELMIRA_CODE
    default:
      return false;
  }
}

// d[i] = a[i] op b[i] on n bytes (codes 21 and 22 write only where the condition holds).
void TwoBytesScalar(int code, const uint8_t* a, const uint8_t* b, uint8_t* d, int n) {
  if (code == 21 || code == 22) {
    const bool whereZero = code == 21;
    for (int i = 0; i < n; ++i)
      if ((a[i] == 0) == whereZero) d[i] = b[i];
    return;
  }
  WithValueCode(code, [&](auto c) {
    for (int i = 0; i < n; ++i) d[i] = static_cast<uint8_t>(Value(decltype(c)::value, a[i], b[i], kArith8));
  });
}

// Code 34 on a byte row taken as C24 pixels: b's three bytes where they are not all 0, else a's.
// A last group of one or two bytes is judged on the bytes that the row holds.
void OverlayBytes(const uint8_t* a, const uint8_t* b, uint8_t* d, int rowBytes) {
  for (int i = 0; i < rowBytes; i += 3) {
    const int g = rowBytes - i < 3 ? rowBytes - i : 3;
    bool black = true;
    for (int k = 0; k < g; ++k) black = black && b[i + k] == 0;
    const uint8_t* from = black ? a : b;
    for (int k = 0; k < g; ++k) d[i + k] = from[i + k];
  }
}

// ----- the two-image worker on bytes (BW8, C24) -----

void TwoImageBytes(int code, const ZGenericROI* a, const ZGenericROI* b, ZGenericROI* dst, CodeSet cases) {
  if (!Ready({a, b}, dst, cases, code)) return;
  const CRows ra(a), rb(b);
  const WRows rd(dst);
  const int width = dst->GetWidth(), height = dst->GetHeight(), px = dst->GetPixelSize();
  if (code == 34) {
    for (int y = 0; y < height; ++y) OverlayBytes(ra[y], rb[y], rd[y], width * px);
    return;
  }
  const bool wide = ZGetMMX() != 0 && WideHasCode(code);
  for (int y = 0; y < height; ++y) {
    const uint8_t *pa = ra[y], *pb = rb[y];
    uint8_t* pd = rd[y];
    rows::WalkRow(
        pd, width, px, wide, [&](int x, int n) { TwoBytesScalar(code, pa + x * px, pb + x * px, pd + x * px, n * px); },
        [&](int x, int n) {
          WideBinaryRow(code, pa + x * px, 0, pb + x * px, 0, pd + x * px, static_cast<size_t>(n) * px);
        });
  }
}

// ----- the constant workers on bytes (BW8: one component; C24: three) -----

// constant op pixel (constFirst) or pixel op constant. The constant has one byte per component.
// Each component has a 256-entry table, so that a pixel is one look-up; only BW8 has a wide
// middle, and not for codes 5, 6 and 12. Shifts have no table.
void ConstBytes(bool constFirst, int code, const uint8_t* constant, int comps, const ZGenericROI* src,
                ZGenericROI* dst) {
  if (!Ready({src}, dst, constFirst ? kConstFirst : kImageFirstWorker, code)) return;
  const CRows rs(src);
  const WRows rd(dst);
  const int width = dst->GetWidth(), height = dst->GetHeight();

  if (kShifts.Has(code)) {
    for (int y = 0; y < height; ++y) {
      const uint8_t* s = rs[y];
      uint8_t* d = rd[y];
      for (int x = 0; x < width; ++x)
        for (int k = 0; k < comps; ++k) {
          const int i = x * comps + k;
          const unsigned count = constant[k] & 31u;
          const uint32_t v = s[i];
          d[i] = static_cast<uint8_t>(code == 7 ? v << count : v >> count);
        }
    }
    return;
  }

  uint8_t table[3][256];
  const bool conditional = code == 21 || code == 22;  // write only where the pixel is (not) 0
  for (int k = 0; k < comps; ++k)
    for (uint32_t p = 0; p < 256; ++p)
      table[k][p] = conditional ? constant[k]
                                : static_cast<uint8_t>(constFirst ? Value(code, constant[k], p, kArith8)
                                                                  : Value(code, p, constant[k], kArith8));
  const bool whereZero = code == 21;

  const bool wide = comps == 1 && ZGetMMX() != 0 && WideHasCode(code);
  for (int y = 0; y < height; ++y) {
    const uint8_t* s = rs[y];
    uint8_t* d = rd[y];
    rows::WalkRow(
        d, width, comps, wide,
        [&](int x0, int n) {
          for (int x = x0; x < x0 + n; ++x)
            for (int k = 0; k < comps; ++k) {
              const int i = x * comps + k;
              if (!conditional)
                d[i] = table[k][s[i]];
              else if ((s[i] == 0) == whereZero)
                d[i] = table[k][s[i]];
            }
        },
        [&](int x, int n) {
          if (constFirst)
            WideBinaryRow(code, nullptr, constant[0], s + x, 0, d + x, static_cast<size_t>(n));
          else
            WideBinaryRow(code, s + x, 0, nullptr, constant[0], d + x, static_cast<size_t>(n));
        });
  }
}

// ----- BW16 workers: computed pixel by pixel, no table -----

uint32_t ConstFirst16Value(int code, uint32_t c, uint32_t p) {
  if (code == 5) return p == 0 ? 255 : c / p;  // 255, not 65535, for a pixel of 0
  if (code == 12) {
    // Not a scaled division: the constant shifted left by 16 / p, clipped.
    if (p == 0) return 65535;
    const uint64_t v = uint64_t{c} << (16 / p);
    return v > 65535 ? 65535 : static_cast<uint32_t>(v);
  }
  return Value(code, c, p, kArith16Two);
}

void ConstFirst16(int code, uint16_t c, const ZGenericROI* src, ZGenericROI* dst) {
  if (!Ready({src}, dst, kConstFirst, code)) return;
  const CRows rs(src);
  const WRows rd(dst);
  const int width = dst->GetWidth(), height = dst->GetHeight();
  WithValueCode(code, [&](auto k) {
    for (int y = 0; y < height; ++y) {
      const Row16 s(rs[y]), d(rd[y]);
      for (int x = 0; x < width; ++x) d.Set(x, ConstFirst16Value(decltype(k)::value, c, s[x]));
    }
  });
}

void ImageFirst16(int code, const ZGenericROI* src, uint16_t c, ZGenericROI* dst) {
  if (!Ready({src}, dst, kImageFirstWorker, code)) return;
  const CRows rs(src);
  const WRows rd(dst);
  const int width = dst->GetWidth(), height = dst->GetHeight();
  const unsigned count = c & 31u;
  for (int y = 0; y < height; ++y) {
    const Row16 s(rs[y]), d(rd[y]);
    for (int x = 0; x < width; ++x) {
      const uint32_t p = s[x];
      switch (code) {
        case 7: d.Set(x, p << count); break;
        case 8: d.Set(x, p >> count); break;
        case 21: if (p == 0) d.Set(x, c); break;
        case 22: if (p != 0) d.Set(x, c); break;
        default: d.Set(x, Value(code, p, c, kArith16Const));
      }
    }
  }
}

void TwoImage16(int code, const ZGenericROI* a, const ZGenericROI* b, ZGenericROI* dst) {
  if (!Ready({a, b}, dst, kTwoImage16, code)) return;
  const CRows ra(a), rb(b);
  const WRows rd(dst);
  const int width = dst->GetWidth(), height = dst->GetHeight();
  // The cheap codes have wide twins that give the same pixels at any split of the row.
  const bool wide = WideHasCode16(code) && ZGetMMX() != 0;
  for (int y = 0; y < height; ++y) {
    const Row16 pa(ra[y]), pb(rb[y]), pd(rd[y]);
    const auto scalar = [&](int x0, int n) {
      if (code == 21 || code == 22) {
        for (int x = x0; x < x0 + n; ++x)
          if ((pa[x] == 0) == (code == 21)) pd.Set(x, pb[x]);
        return;
      }
      WithValueCode(code, [&](auto k) {
        for (int x = x0; x < x0 + n; ++x) pd.Set(x, Value(decltype(k)::value, pa[x], pb[x], kArith16Two));
      });
    };
    rows::WalkRow(rd[y], width, 2, wide, scalar,
                  [&](int x, int n) { WideBinaryRow16(code, pa.At(x), pb.At(x), pd.At(x), static_cast<size_t>(n)); });
  }
}

// ----- shared outer operators -----

uint8_t ComplementOf(uint8_t c) { return static_cast<uint8_t>(255 - c); }
uint16_t ComplementOf(uint16_t c) { return static_cast<uint16_t>(65535 - c); }

// The reductions of the image-first form: symmetric codes, code 10 through code 9 with the
// complemented constant, and the swapped comparisons go to the constant-first worker.
// constFirst(code, complement) runs the constant-first worker, with the complemented constant when
// asked; imageFirst(code) runs the image-first worker.
template <class ConstFirstFn, class ImageFirstFn>
void ReduceImageFirst(int code, ConstFirstFn&& constFirst, ImageFirstFn&& imageFirst) {
  if (kSymmetric.Has(code)) return constFirst(code, false);
  switch (code) {
    case 10: return constFirst(9, true);
    case 25: return constFirst(26, false);
    case 26: return constFirst(25, false);
    case 27: return constFirst(28, false);
    case 28: return constFirst(27, false);
    default: return imageFirst(code);
  }
}

void OneOperandBytes(int code, const ZGenericROI* src, ZGenericROI* dst, CodeSet cases) {
  if (!Ready({src}, dst, cases, code)) return;
  if (code == 0) return CopyWorker(src, dst);
  const CRows rs(src);
  const WRows rd(dst);
  const int rowBytes = dst->GetWidth() * dst->GetPixelSize(), height = dst->GetHeight();
  for (int y = 0; y < height; ++y) {
    const uint8_t* s = rs[y];
    uint8_t* d = rd[y];
    if (code == 1) {
      for (int i = 0; i < rowBytes; ++i) d[i] = static_cast<uint8_t>(~s[i]);
    } else {  // 34: the source where it is not black
      for (int i = 0; i < rowBytes; i += 3)
        if (!IsBlack(s + i)) std::memmove(d + i, s + i, 3);
    }
  }
}

}  // namespace
}  // namespace kelmira::oper

namespace ko = kelmira::oper;
using ko::CodeSet;
using ko::Form;
using ko::OnlyThese;
using ko::Refusing;

// ----- BW8 -----

void LumOper(ARITH_LOGIC_OPERATIONS code, ZBW8 value, ZROI<ZBW8>* destination) {
  Form("LumOper ( BW8 Const to Image)", OnlyThese(ko::kFill), code,
       [&] { ko::FillWorker(&value, 1, destination); });
}

void LumOper(ARITH_LOGIC_OPERATIONS code, const ZROI<ZBW8>* source, ZROI<ZBW8>* destination) {
  Form("LumOper ( BW8 Image to Image)", OnlyThese(ko::kCopyInvert), code,
       [&] { ko::OneOperandBytes(code, source, destination, ko::kCopyInvert); });
}

void LumOper(ARITH_LOGIC_OPERATIONS code, ZBW8 value, const ZROI<ZBW8>* source, ZROI<ZBW8>* destination) {
  Form("LumOper ( BW8 Const, Image to Image)", Refusing(ko::kConstFirst, ko::kConstFirstRefused), code,
       [&] { ko::ConstBytes(true, code, &value.value, 1, source, destination); });
}

void LumOper(ARITH_LOGIC_OPERATIONS code, const ZROI<ZBW8>* source, ZBW8 value, ZROI<ZBW8>* destination) {
  Form("LumOper ( BW8 Image, Const to Image)", Refusing(ko::kImageFirst, ko::kImageFirstRefused), code, [&] {
    ko::ReduceImageFirst(
        code,
        [&](int c, bool complement) {
          const uint8_t v = complement ? ko::ComplementOf(value.value) : value.value;
          ko::ConstBytes(true, c, &v, 1, source, destination);
        },
        [&](int c) { ko::ConstBytes(false, c, &value.value, 1, source, destination); });
  });
}

void LumOper(ARITH_LOGIC_OPERATIONS code, const ZROI<ZBW8>* sourceA, const ZROI<ZBW8>* sourceB,
             ZROI<ZBW8>* destination) {
  Form("LumOper ( BW8 Image, Image to Image)", Refusing(ko::kTwoImage8, ko::kRefuseShifts), code,
       [&] { ko::TwoImageBytes(code, sourceA, sourceB, destination, ko::kTwoImage8); });
}

void LumOper(ARITH_LOGIC_OPERATIONS code, const ZROI<ZBW8>* source, ZROI<ZC24>* destination) {
  Form("LumOper ( BW8 Image to C24 Image)", OnlyThese(ko::kColourOne), code, [&] {
    if (!ko::Ready({source}, destination, ko::kColourOne, code)) return;
    const ko::CRows rs(source);
    const ko::WRows rd(destination);
    const ZC24 overlay = LumGetOverlayColor();
    const int width = destination->GetWidth(), height = destination->GetHeight();
    for (int y = 0; y < height; ++y) {
      const uint8_t* s = rs[y];
      uint8_t* d = rd[y];
      for (int x = 0; x < width; ++x) {
        const uint8_t g = s[x];
        if (code == 34) {
          if (g != 0) d[3 * x] = overlay.c0, d[3 * x + 1] = overlay.c1, d[3 * x + 2] = overlay.c2;
        } else {
          const uint8_t v = code == 0 ? g : static_cast<uint8_t>(~g);
          d[3 * x] = d[3 * x + 1] = d[3 * x + 2] = v;
        }
      }
    }
  });
}

void LumOper(ARITH_LOGIC_OPERATIONS code, const ZROI<ZBW8>* sourceA, const ZROI<ZBW8>* sourceB,
             ZROI<ZBW16>* destination) {
  Form("LumOper ( BW8 Image and BW8 Image to BW16 Image)", OnlyThese(ko::kToBW16), code, [&] {
    if (!ko::Ready({sourceA, sourceB}, destination, ko::kToBW16, code)) return;
    const ko::CRows ra(sourceA), rb(sourceB);
    const ko::WRows rd(destination);
    const int width = destination->GetWidth(), height = destination->GetHeight();
    for (int y = 0; y < height; ++y) {
      const uint8_t *a = ra[y], *b = rb[y];
      const ko::Row16 d(rd[y]);
      for (int x = 0; x < width; ++x) {
        const uint32_t p = a[x], q = b[x];
        switch (code) {
          case 2: d.Set(x, p + q); break;
          case 3: d.Set(x, p > q ? p - q : 0); break;
          case 4: d.Set(x, p * q); break;
          default: d.Set(x, q == 0 ? 65535 : p / q); break;
        }
      }
    }
  });
}

// ----- BW16 -----

void LumOper(ARITH_LOGIC_OPERATIONS code, const ZROI<ZBW16>* sourceA, const ZROI<ZBW8>* sourceB,
             ZROI<ZBW16>* destination) {
  Form("LumOper ( BW16 Image and BW8 Image to BW16 IMage)", OnlyThese(ko::kBW16AndBW8), code, [&] {
    if (!ko::Ready({sourceA, sourceB}, destination, ko::kBW16AndBW8, code)) return;
    const ko::CRows ra(sourceA), rb(sourceB);
    const ko::WRows rd(destination);
    const int width = destination->GetWidth(), height = destination->GetHeight();
    for (int y = 0; y < height; ++y) {
      const ko::Row16 a(ra[y]), d(rd[y]);
      const uint8_t* b = rb[y];
      for (int x = 0; x < width; ++x) {
        const uint32_t p = a[x], q = b[x];
        uint32_t r;
        switch (code) {
          case 2: r = p + q > 65535 ? 65535 : p + q; break;
          case 3: r = p > q ? p - q : 0; break;
          case 4: r = p * q <= 65535 ? 65535 : p * q; break;  // the inverted clip: kept as it is
          case 5: r = q == 0 ? 65535 : p / q; break;
          case 29: r = p + q; break;
          default: r = p - q; break;  // 30, modulo 65536
        }
        d.Set(x, r);
      }
    }
  });
}

void LumOper(ARITH_LOGIC_OPERATIONS code, ZBW16 value, ZROI<ZBW16>* destination) {
  Form("LumOper ( BW16 Const to Image)", OnlyThese(ko::kFill), code,
       [&] { ko::FillWorker(&value, 2, destination); });
}

void LumOper(ARITH_LOGIC_OPERATIONS code, const ZROI<ZBW16>* source, ZROI<ZBW16>* destination) {
  Form("LumOper (BW16 Image to Image)", OnlyThese(ko::kCopyInvert), code,
       [&] { ko::OneOperandBytes(code, source, destination, ko::kCopyInvert); });
}

void LumOper(ARITH_LOGIC_OPERATIONS code, ZBW16 value, const ZROI<ZBW16>* source, ZROI<ZBW16>* destination) {
  Form("LumOper ( BW16 Const, Image to Image)", Refusing(ko::kConstFirst, ko::kConstFirstRefused), code,
       [&] { ko::ConstFirst16(code, value.value, source, destination); });
}

void LumOper(ARITH_LOGIC_OPERATIONS code, const ZROI<ZBW16>* source, ZBW16 value, ZROI<ZBW16>* destination) {
  Form("LumOper ( BW16 Image, Const to Image)", Refusing(ko::kImageFirst, ko::kImageFirstRefused), code, [&] {
    ko::ReduceImageFirst(
        code,
        [&](int c, bool complement) {
          ko::ConstFirst16(c, complement ? ko::ComplementOf(value.value) : value.value, source, destination);
        },
        [&](int c) { ko::ImageFirst16(c, source, value.value, destination); });
  });
}

void LumOper(ARITH_LOGIC_OPERATIONS code, const ZROI<ZBW16>* sourceA, const ZROI<ZBW16>* sourceB,
             ZROI<ZBW16>* destination) {
  Form("LumOper ( BW16 Image, Image to Image)", Refusing(ko::kTwoImage16, ko::kRefuseShifts), code,
       [&] { ko::TwoImage16(code, sourceA, sourceB, destination); });
}

// ----- C24 -----

void LumOper(ARITH_LOGIC_OPERATIONS code, ZC24 value, ZROI<ZC24>* destination) {
  Form("LumOper ( C24 Const to Image)", OnlyThese(ko::kFill), code,
       [&] { ko::FillWorker(&value, 3, destination); });
}

void LumOper(ARITH_LOGIC_OPERATIONS code, const ZROI<ZC24>* source, ZROI<ZC24>* destination) {
  Form("LumOper ( C24 Image to Image)", OnlyThese(ko::kColourOne), code,
       [&] { ko::OneOperandBytes(code, source, destination, ko::kColourOne); });
}

void LumOper(ARITH_LOGIC_OPERATIONS code, ZC24 value, const ZROI<ZC24>* source, ZROI<ZC24>* destination) {
  const uint8_t bytes[3] = {value.c0, value.c1, value.c2};
  Form("LumOper ( C24 Const, Image to Image)", Refusing(ko::kConstFirst, ko::kConstFirstRefused), code,
       [&] { ko::ConstBytes(true, code, bytes, 3, source, destination); });
}

void LumOper(ARITH_LOGIC_OPERATIONS code, const ZROI<ZC24>* source, ZC24 value, ZROI<ZC24>* destination) {
  const uint8_t bytes[3] = {value.c0, value.c1, value.c2};
  Form("LumOper ( C24 Image, Const to Image)", Refusing(ko::kImageFirst, ko::kImageFirstRefused), code, [&] {
    ko::ReduceImageFirst(
        code,
        [&](int c, bool complement) {
          uint8_t v[3];
          for (int k = 0; k < 3; ++k) v[k] = complement ? ko::ComplementOf(bytes[k]) : bytes[k];
          ko::ConstBytes(true, c, v, 3, source, destination);
        },
        [&](int c) { ko::ConstBytes(false, c, bytes, 3, source, destination); });
  });
}

void LumOper(ARITH_LOGIC_OPERATIONS code, const ZROI<ZC24>* sourceA, const ZROI<ZC24>* sourceB,
             ZROI<ZC24>* destination) {
  Form("LumOper ( C24 Image, Image to Image)", Refusing(ko::kTwoImage8, ko::kRefuseShifts), code,
       [&] { ko::TwoImageBytes(code, sourceA, sourceB, destination, ko::kTwoImage8); });
}

// ----- gray and colour together -----

namespace kelmira::oper {
namespace {
// The BW8 pixel g against each component of the C24 pixel c; grayLeft keeps g as the left operand.
// Code 34 is handled by the caller.
void GrayColourPixel(int code, bool grayLeft, uint8_t g, const uint8_t* c, uint8_t* d) {
  for (int k = 0; k < 3; ++k) {
    const uint32_t a = grayLeft ? g : c[k], b = grayLeft ? c[k] : g;
    if (code == 21 || code == 22) {
      if ((a == 0) == (code == 21)) d[k] = static_cast<uint8_t>(b);
    } else {
      d[k] = static_cast<uint8_t>(Value(code, a, b, kArith8));
    }
  }
}

void GrayColour(int code, bool grayLeft, const ZGenericROI* gray, const ZGenericROI* colour, ZGenericROI* dst) {
  const ZGenericROI* first = grayLeft ? gray : colour;
  const ZGenericROI* second = grayLeft ? colour : gray;
  if (!Ready({first, second}, dst, kTwoImage8, code)) return;
  const CRows rg(gray), rc(colour);
  const WRows rd(dst);
  const ZC24 overlay = LumGetOverlayColor();
  const uint8_t over[3] = {overlay.c0, overlay.c1, overlay.c2};
  const int width = dst->GetWidth(), height = dst->GetHeight();
  for (int y = 0; y < height; ++y) {
    const uint8_t *g = rg[y], *c = rc[y];
    uint8_t* d = rd[y];
    for (int x = 0; x < width; ++x) {
      const uint8_t* cp = c + 3 * x;
      uint8_t* dp = d + 3 * x;
      if (code != 34) {
        GrayColourPixel(code, grayLeft, g[x], cp, dp);
      } else if (grayLeft) {  // the colour where it is not black, else the gray
        if (IsBlack(cp))
          dp[0] = dp[1] = dp[2] = g[x];
        else
          std::memmove(dp, cp, 3);
      } else {  // the overlay colour where the gray is not 0, else the colour
        std::memmove(dp, g[x] != 0 ? over : cp, 3);
      }
    }
  }
}
}  // namespace
}  // namespace kelmira::oper

void LumOper(ARITH_LOGIC_OPERATIONS code, const ZROI<ZBW8>* sourceA, const ZROI<ZC24>* sourceB,
             ZROI<ZC24>* destination) {
  Form("LumOper ( BW8 Image, C24 Image to C24 Image)", Refusing(ko::kTwoImage8, ko::kRefuseShifts), code,
       [&] { ko::GrayColour(code, true, sourceA, sourceB, destination); });
}

void LumOper(ARITH_LOGIC_OPERATIONS code, const ZROI<ZC24>* sourceA, const ZROI<ZBW8>* sourceB,
             ZROI<ZC24>* destination) {
  Form("LumOper ( C24 Image, BW8 Image to C24 Image)", Refusing(ko::kTwoImage8, ko::kRefuseShifts), code,
       [&] { ko::GrayColour(code, false, sourceB, sourceA, destination); });
}

void LumOper(ARITH_LOGIC_OPERATIONS code, const ZROI<ZBW8>* sourceA, const ZROI<ZBW8>* sourceB,
             ZROI<ZC24>* destination) {
  Form("LumOper ( BW8 Image, BW8 Image to C24 Image)", OnlyThese(ko::kOverlay), code, [&] {
    // This form tests its pointers and its sizes itself: 1400, then 1403 for any size mismatch.
    namespace frame = kelmira::frame;
    if (!frame::NotNull(sourceA) || !frame::NotNull(sourceB) || !frame::NotNull(destination)) return;
    if (!frame::NotVoid(sourceA) || !frame::NotVoid(sourceB) || !frame::NotVoid(destination)) return;
    const int w = destination->GetWidth(), h = destination->GetHeight();
    if (sourceA->GetWidth() != w || sourceA->GetHeight() != h || sourceB->GetWidth() != w ||
        sourceB->GetHeight() != h) {
      frame::Fail(Z_ERROR_SIZE_MISMATCH);
      return;
    }
    const ko::CRows ra(sourceA), rb(sourceB);
    const ko::WRows rd(destination);
    const ZC24 overlay = LumGetOverlayColor();
    for (int y = 0; y < h; ++y) {
      const uint8_t *a = ra[y], *b = rb[y];
      uint8_t* d = rd[y];
      for (int x = 0; x < w; ++x) {
        if (b[x] == 0)
          d[3 * x] = d[3 * x + 1] = d[3 * x + 2] = a[x];
        else
          d[3 * x] = overlay.c0, d[3 * x + 1] = overlay.c1, d[3 * x + 2] = overlay.c2;
      }
    }
  });
}
