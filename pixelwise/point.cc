// Point transforms: LumLut, LumTransform, LumGainOffset. The public overloads are thin frames
// over the templates of namespace kelmira::point; the wide kernels are in point_wide.cc.
#include <climits>
#include <cmath>
#include <cstdint>

#include "foundation/frame.h"
#include "foundation/pixel_traits.h"
#include "foundation/rows.h"
#include "foundation/word.h"
#include "kelmira/pixelwise/point.h"
#include "pixelwise/point_wide.h"

namespace kelmira::point {

template <class P>
using Storage = typename PixelTraits<P>::Storage_t;

// A null destination means the source itself.
template <class P>
ZROI<P>* InPlace(const ZROI<P>* source, ZROI<P>* destination) {
  return destination != nullptr ? destination : const_cast<ZROI<P>*>(source);
}

// Checks of the plain table forms: the source for void, then the sizes. The destination's own
// void test comes last, only so that a void destination of the right size cannot be written.
template <class P>
bool PlainChecks(const ZROI<P>* source, ZROI<P>* destination) {
  return frame::NotVoid(source) && frame::SameSize(source, destination) && frame::NotVoid(destination);
}

// Walks the rows of two views of one size: row(sourceRow, destinationRow, width).
template <class S, class D, class RowFn>
void ForRows(const ZROI<S>* source, ZROI<D>* destination, RowFn&& row) {
  const rows::Rows<const S> in(source);
  const rows::Rows<D> out(destination);
  const int width = destination->GetWidth();
  for (int y = 0; y < destination->GetHeight(); ++y) row(in[y], out[y], width);
}

template <class P>
void LookUp(const ZROI<P>* source, ZROI<P>* destination, const Storage<P>* table) {
  if constexpr (sizeof(Storage<P>) == 1) {
    if (ZGetMMX()) {
      ForRows(source, destination, [&](const P* s, P* d, int width) {
        WideLutRow(reinterpret_cast<const uint8_t*>(s), reinterpret_cast<uint8_t*>(d), width, table);
      });
      return;
    }
  }
  ForRows(source, destination, [&](const P* s, P* d, int width) {
    for (int x = 0; x < width; ++x) d[x] = table[s[x].value];
  });
}

template <class P>
void LutWorker(const ZROI<P>* source, ZROI<P>* destination, const Storage<P>* table) {
  destination = InPlace(source, destination);
  if (!PlainChecks(source, destination)) return;
  if (table == nullptr) {
    frame::Fail(Z_ERROR_NULL_IMAGE);
    return;
  }
  LookUp(source, destination, table);
}

// The vector forms nest the table form in its own bracket, after the size and count checks.
template <class P, class Vector, class TableForm>
void LutVector(const ZROI<P>* source, ZROI<P>* destination, Vector* table, unsigned count, TableForm&& tableForm) {
  if (!frame::SameSize(source, InPlace(source, destination))) return;
  if (table == nullptr) {
    frame::Fail(Z_ERROR_NULL_IMAGE);
    return;
  }
  if (table->GetNumElements() != count) {
    frame::Fail(Z_ERROR_TABLE_SIZE);
    return;
  }
  frame::Step([&] { tableForm(table->GetDataPtr()); });
}

void LutShifted(const ZROI<ZBW16>* source, ZROI<ZBW8>* destination, const ZBW8Vector* vector, unsigned shift) {
  if (!frame::Operands({source}, destination)) return;
  if (vector == nullptr) {
    frame::Fail(Z_ERROR_NULL_IMAGE);
    return;
  }
  const uint32_t size = vector->GetNumElements();
  int bits = 0;
  while (bits < 32 && (uint64_t{1} << (bits + 1)) <= size) ++bits;
  if (shift == 0xFFFFFFFFu)
    shift = static_cast<unsigned>(16 - bits);  // wraps for tables above 16 bits, refused next
  else if (bits + uint64_t{shift} > 16) {
    frame::Fail(Z_ERROR_ARGUMENT_4);
    return;
  }
  if (bits > 16 || size != (uint32_t{1} << bits)) {
    frame::Fail(Z_ERROR_TABLE_SIZE);
    return;
  }
  const uint8_t* table = reinterpret_cast<const uint8_t*>(vector->GetDataPtr());
  if (table == nullptr) {
    frame::Fail(Z_ERROR_NULL_IMAGE);
    return;
  }
  // One loop serves the three cases: the mask is a no-op when bits + shift is 16, and keeps a
  // shift of 0 inside the table.
  const uint32_t mask = (uint32_t{1} << bits) - 1;
  ForRows(source, destination, [&](const ZBW16* s, ZBW8* d, int width) {
    for (int x = 0; x < width; ++x) d[x] = table[(s[x].value >> shift) & mask];
  });
}

template <class P>
void TransformWorker(const ZROI<P>* source, ZROI<P>* destination, P (*function)(P), bool useTable) {
  destination = InPlace(source, destination);
  if (!frame::Operands({source}, destination)) return;
  if (function == nullptr) {
    frame::Fail(Z_ERROR_NULL_IMAGE);
    return;
  }
  if (useTable) {
    Storage<P> table[256];
    for (int i = 0; i < 256; ++i) table[i] = function(P(static_cast<Storage<P>>(i))).value;
    LookUp(source, destination, table);
    return;
  }
  ForRows(source, destination, [&](const P* s, P* d, int width) {
    for (int x = 0; x < width; ++x) d[x] = function(s[x]);
  });
}

// Truncation toward 0 into 32 bits; values beyond the range saturate and NaN gives 0.
int32_t TruncateToInt32(long double v) {
  if (std::isnan(v)) return 0;
  if (v >= 2147483647.0L) return INT32_MAX;
  if (v <= -2147483648.0L) return INT32_MIN;
  return static_cast<int32_t>(v);
}

// Entry i of the BW8 scalar table: 32-bit product, logical shift, then the clip that reads an
// unsigned overflow by the sign of the 32-bit value.
uint8_t ClippedGainOffset(uint32_t i, int32_t g, int32_t o) {
  const uint32_t v = ((i * static_cast<uint32_t>(g)) >> 5) + static_cast<uint32_t>(o);
  if (v <= 255) return static_cast<uint8_t>(v);
  return static_cast<int32_t>(v) < 0 ? 0 : 255;
}

void GainOffsetBW8(const ZROI<ZBW8>* source, ZROI<ZBW8>* destination, int32_t g, int32_t o) {
  uint8_t table[256];
  for (uint32_t i = 0; i < 256; ++i) table[i] = ClippedGainOffset(i, g, o);
  // The wide middle takes the constants as 16-bit lanes: their low 16 bits.
  const uint16_t g16 = static_cast<uint16_t>(g);
  const int16_t o16 = static_cast<int16_t>(static_cast<uint16_t>(o));
  const bool wide = ZGetMMX() != 0;
  ForRows(source, destination, [&](const ZBW8* s, ZBW8* d, int width) {
    const uint8_t* in = &s->value;
    uint8_t* out = &d->value;
    rows::WalkRow(
        out, width, 1, wide,
        [&](int x, int n) {
          for (int i = x; i < x + n; ++i) out[i] = table[in[i]];
        },
        [&](int x, int n) { WideGainOffsetRow(in + x, out + x, n, g16, o16); });
  });
}

void GainOffsetBW16(const ZROI<ZBW16>* source, ZROI<ZBW16>* destination, int32_t g, int32_t o) {
  ForRows(source, destination, [&](const ZBW16* sp, ZBW16* dp, int width) {
    // A BW16 view may start at an odd byte: the pixels are read and written as byte-aligned words.
    const Word* s = reinterpret_cast<const Word*>(sp);
    Word* d = reinterpret_cast<Word*>(dp);
    for (int x = 0; x < width; ++x) {
      // 32-bit product and sum with wrap-around, arithmetic shift.
      const int32_t product = static_cast<int32_t>(static_cast<uint32_t>(s[x]) * static_cast<uint32_t>(g));
      const int32_t v = static_cast<int32_t>(static_cast<uint32_t>(product >> 5) + static_cast<uint32_t>(o));
      d[x] = static_cast<uint16_t>(v < 0 ? 0 : v > 65535 ? 65535 : v);
    }
  });
}

void FillColourTable(uint8_t* table, float gain, float offset) {
  for (int i = 0; i < 256; ++i) {
    const long double v = static_cast<long double>(i) * gain + offset;
    // Truncation toward 0, then the clip; NaN falls to 0.
    table[i] = !(v > -1.0L) ? 0 : v >= 256.0L ? 255 : static_cast<uint8_t>(static_cast<int>(v));
  }
}

void GainOffsetC24(const ZROI<ZC24>* source, ZROI<ZC24>* destination, ZColor gain, ZColor offset) {
  uint8_t tables[3][256];
  // Crossed on purpose: byte 0 takes the third float, byte 2 the first.
  FillColourTable(tables[0], gain.c2, offset.c2);
  FillColourTable(tables[1], gain.c1, offset.c1);
  FillColourTable(tables[2], gain.c0, offset.c0);
  ForRows(source, destination, [&](const ZC24* s, ZC24* d, int width) {
    for (int x = 0; x < width; ++x) {
      const ZC24 p = s[x];
      d[x] = ZC24(tables[0][p.c0], tables[1][p.c1], tables[2][p.c2]);
    }
  });
}

template <class P, class Fn>
void GainOffsetWorker(const ZROI<P>* source, ZROI<P>* destination, Fn&& run) {
  destination = InPlace(source, destination);
  if (frame::Operands({source}, destination)) run(source, destination);
}

}  // namespace kelmira::point

namespace pt = kelmira::point;
namespace frame = kelmira::frame;

void LumLut(const ZROI<ZBW8>* source, ZROI<ZBW8>* destination, ZBW8* table) {
  if (frame::Enter()) pt::LutWorker(source, destination, reinterpret_cast<const uint8_t*>(table));
}

void LumLut(const ZROI<ZBW8>* source, ZROI<ZBW8>* destination, ZBW8Vector* table) {
  if (frame::Enter())
    pt::LutVector(source, destination, table, 256, [&](ZBW8* data) { LumLut(source, destination, data); });
  frame::Leave("LumLut");
}

void LumLut(ZROI<ZBW16>* source, ZROI<ZBW16>* destination, ZBW16Vector* table) {
  if (frame::Enter())
    pt::LutVector(source, destination, table, 65536, [&](ZBW16* data) { LumLut(source, destination, data); });
  frame::Leave("LumLut (BW16)");
}

void LumLut(ZROI<ZBW16>* source, ZROI<ZBW8>* destination, ZBW8Vector* table, unsigned int shift) {
  if (frame::Enter()) pt::LutShifted(source, destination, table, shift);
  frame::Leave("LumLut ( BW16 to BW8)");
}

void LumLut(ZROI<ZBW16>* source, ZROI<ZBW16>* destination, ZBW16* table) {
  if (frame::Enter()) pt::LutWorker<ZBW16>(source, destination, reinterpret_cast<const uint16_t*>(table));
  frame::Leave("LumLut (BW16)");
}

void LumTransform(ZROI<ZBW8>* source, ZROI<ZBW8>* destination, ZBW8 (*function)(ZBW8), int useTable) {
  if (frame::Enter()) pt::TransformWorker<ZBW8>(source, destination, function, useTable != 0);
  frame::Leave("LumTransform");
}

void LumTransform(ZROI<ZBW16>* source, ZROI<ZBW16>* destination, ZBW16 (*function)(ZBW16)) {
  if (frame::Enter()) pt::TransformWorker<ZBW16>(source, destination, function, false);
  frame::Leave("LumTransform (BW16)");
}

void LumGainOffset(ZROI<ZBW8>* source, ZROI<ZBW8>* destination, float gain, float offset) {
  if (frame::Enter()) {
    const int32_t g = pt::TruncateToInt32(static_cast<long double>(gain) * 32);
    const int32_t o = pt::TruncateToInt32(offset);
    pt::GainOffsetWorker<ZBW8>(source, destination, [&](auto* s, auto* d) { pt::GainOffsetBW8(s, d, g, o); });
  }
  frame::Leave("LumGainOffset");
}

void LumGainOffset(ZROI<ZBW16>* source, ZROI<ZBW16>* destination, float gain, float offset) {
  if (frame::Enter()) {
    const int32_t g = pt::TruncateToInt32(static_cast<long double>(gain) * 32);
    const int32_t o = pt::TruncateToInt32(offset);
    pt::GainOffsetWorker<ZBW16>(source, destination, [&](auto* s, auto* d) { pt::GainOffsetBW16(s, d, g, o); });
  }
  frame::Leave("LumGainOffset (BW16)");
}

void LumGainOffset(ZROI<ZC24>* source, ZROI<ZC24>* destination, ZColor gain, ZColor offset) {
  if (frame::Enter())
    pt::GainOffsetWorker<ZC24>(source, destination, [&](auto* s, auto* d) { pt::GainOffsetC24(s, d, gain, offset); });
  frame::Leave("LumGainOffset");
}
