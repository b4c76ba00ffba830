// LumGradientVector: the signed horizontal and vertical differences of a BW8 view, packed into
// the two 16-bit halves of a BW32 pixel. The first and last columns replicate their edge pixel
// and run scalar; the columns between run wide when the wide paths are on.
#include <cstdint>

#include "filters/gradient_wide.h"
#include "foundation/frame.h"
#include "foundation/rows.h"
#include "kelmira/filters.h"

namespace kelmira::gradient {
namespace {

inline uint32_t Pack(int gx, int gy) {
  return static_cast<uint32_t>(static_cast<uint16_t>(gx)) | static_cast<uint32_t>(static_cast<uint16_t>(gy)) << 16;
}

void Run(const ZROI<ZBW8>* source, ZROI<ZBW32>* destination, bool wide) {
  const int w = source->GetWidth(), h = source->GetHeight();
  const rows::Rows<const uint8_t> in(source);
  const rows::Rows<uint32_t> out(destination);
  for (int y = 0; y < h; ++y) {
    const uint8_t* n = in[y > 0 ? y - 1 : 0];
    const uint8_t* c = in[y];
    const uint8_t* s = in[y + 1 < h ? y + 1 : h - 1];
    uint32_t* o = out[y];
    auto one = [&](int x) { o[x] = Pack(c[x > 0 ? x - 1 : 0] - c[x + 1 < w ? x + 1 : w - 1], n[x] - s[x]); };
    one(0);
    if (w > 2) {
      if (wide)
        WideGradientRow(n, c, s, o, 1, w - 2);
      else
        for (int x = 1; x + 1 < w; ++x) o[x] = Pack(c[x - 1] - c[x + 1], n[x] - s[x]);
    }
    if (w > 1) one(w - 1);
  }
}

}  // namespace
}  // namespace kelmira::gradient

void LumGradientVector(ZROI<ZBW8>* source, ZROI<ZBW32>* destination) {
  namespace frame = kelmira::frame;
  if (frame::Enter() && frame::Operands({source}, destination))
    kelmira::gradient::Run(source, destination, ZGetMMX() != 0);
  frame::Leave("LumGradientVector");
}
