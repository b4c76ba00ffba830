// Colour planes (HueGetComponent, HueSetComponent) and the colour lookup table.
#include <cstdlib>

#include "foundation/planes_wide.h"
#include "foundation/rows.h"
#include "kelmira/foundation.h"

namespace {
// The checks of the plane copies: pointers, emptiness, sizes, then the component.
bool PlaneArgumentsOk(const ZGenericROI* colour, const ZGenericROI* gray, unsigned component) {
  if (colour == nullptr || gray == nullptr || colour->Void() || gray->Void()) {
    ZSetError(Z_ERROR_NULL_IMAGE);
    return false;
  }
  if (colour->GetWidth() != gray->GetWidth() || colour->GetHeight() != gray->GetHeight()) {
    ZSetError(Z_ERROR_DIFFERENT_SIZES);
    return false;
  }
  if (component > 2) {
    ZSetError(Z_ERROR_ARGUMENT_3);
    return false;
  }
  return true;
}
}  // namespace

void HueGetComponent(ZROI<ZC24>* source, ZROI<ZBW8>* destination, unsigned component, ZColorLookup* lookup) {
  if (!PlaneArgumentsOk(source, destination, component)) return;
  const kelmira::rows::Rows<const uint8_t> in(source);
  const kelmira::rows::Rows<uint8_t> out(destination);
  const int w = source->GetWidth();
  const bool wide = ZGetMMX() != 0;
  for (int y = 0; y < source->GetHeight(); ++y) {
    const uint8_t* s = in[y];
    uint8_t* d = out[y];
    if (lookup == nullptr && wide) {
      kelmira::WideGetComponentRow(s, d, w, component);
    } else if (lookup == nullptr) {
      for (int x = 0; x < w; ++x) d[x] = s[3 * x + component];
    } else {
      for (int x = 0; x < w; ++x) {
        ZC24 c(s[3 * x], s[3 * x + 1], s[3 * x + 2]), t;
        lookup->Transform(c, t);
        d[x] = component == 0 ? t.c0 : component == 1 ? t.c1 : t.c2;
      }
    }
  }
}

void HueSetComponent(ZROI<ZBW8>* source, ZROI<ZC24>* destination, unsigned component) {
  if (!PlaneArgumentsOk(destination, source, component)) return;
  const kelmira::rows::Rows<const uint8_t> in(source);
  const kelmira::rows::Rows<uint8_t> out(destination);
  const int w = source->GetWidth();
  const bool wide = ZGetMMX() != 0;
  for (int y = 0; y < source->GetHeight(); ++y) {
    const uint8_t* s = in[y];
    uint8_t* d = out[y];
    if (wide)
      kelmira::WideSetComponentRow(s, d, w, component);
    else
      for (int x = 0; x < w; ++x) d[3 * x + component] = s[x];
  }
}

ZColorLookup::ZColorLookup(unsigned indexBits, int mode)
    : m_bits(indexBits < 1 ? 1 : indexBits > 8 ? 8 : indexBits), m_mode(mode) {}

ZColorLookup::~ZColorLookup() { std::free(m_table); }

unsigned ZColorLookup::Index(ZC24 c) const {
  const unsigned shift = 8 - m_bits;
  return ((static_cast<unsigned>(c.c2 >> shift) << m_bits | (c.c1 >> shift)) << m_bits) | (c.c0 >> shift);
}

void ZColorLookup::SetEntry(ZC24 in, ZC24 out) {
  if (m_table == nullptr) {
    // The first entry turns the identity into a table whose other cells keep their centres.
    Fill([](ZC24 c, void*) { return c; }, nullptr);
    if (m_table == nullptr) return;
  }
  m_table[Index(in)] = out;
}

void ZColorLookup::Fill(ZC24 (*fn)(ZC24, void*), void* context) {
  const unsigned cells = 1u << (3 * m_bits);
  if (m_table == nullptr) {
    m_table = static_cast<ZC24*>(std::malloc(cells * sizeof(ZC24)));
    if (m_table == nullptr) {
      ZSetError(Z_ERROR_NO_MEMORY);
      return;
    }
  }
  const unsigned shift = 8 - m_bits, half = shift ? 1u << (shift - 1) : 0u, mask = (1u << m_bits) - 1;
  for (unsigned i = 0; i < cells; ++i) {
    const ZC24 centre(static_cast<uint8_t>(((i & mask) << shift) | half),
                      static_cast<uint8_t>((((i >> m_bits) & mask) << shift) | half),
                      static_cast<uint8_t>((((i >> (2 * m_bits)) & mask) << shift) | half));
    m_table[i] = fn(centre, context);
  }
  m_identity = false;
}

void ZColorLookup::Transform(ZC24 in, ZC24& out) const {
  out = (m_identity || m_table == nullptr) ? in : m_table[Index(in)];
}
