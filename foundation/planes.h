// Colour operators built plane by plane: each component of a C24 source goes out to a BW8 plane
// through HueGetComponent, a gray operator runs on it, and the result goes back into the same
// component of the destination through HueSetComponent.
#ifndef KELMIRA_FOUNDATION_PLANES_H
#define KELMIRA_FOUNDATION_PLANES_H

#include "foundation/frame.h"
#include "kelmira/foundation.h"

namespace kelmira::planes {

// Runs `op(ZROI<ZBW8>* in, ZROI<ZBW8>* out, unsigned component)` for components 0, 1, 2, each
// step bracketed. The first failure stops the sequence and stays in the error state; the caller
// traces. `destination` may be `source` (component k is read before it is written). Returns true
// on success.
template <class Op>
bool ForEachPlane(ZROI<ZC24>* source, ZROI<ZC24>* destination, Op&& op) {
  if (!frame::NotVoid(source) || !frame::NotVoid(destination) || !frame::SameSize(source, destination))
    return false;
  ZImage<ZBW8> in(source->GetWidth(), source->GetHeight());
  ZImage<ZBW8> out(source->GetWidth(), source->GetHeight());
  if (!frame::Ok()) return false;  // allocation of the planes
  for (unsigned k = 0; k < 3; ++k) {
    if (!frame::Step([&] { HueGetComponent(source, &in, k); })) return false;
    if (!frame::Step([&] { op(static_cast<ZROI<ZBW8>*>(&in), static_cast<ZROI<ZBW8>*>(&out), k); })) return false;
    if (!frame::Step([&] { HueSetComponent(&out, destination, k); })) return false;
  }
  return true;
}

}  // namespace kelmira::planes

#endif  // KELMIRA_FOUNDATION_PLANES_H
