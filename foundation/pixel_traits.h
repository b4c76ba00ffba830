// Per-pixel-type facts for the shared templates: the built-in storage type, the largest value,
// the number of byte components, the bits a pixel takes and the image type tag.
#ifndef KELMIRA_FOUNDATION_PIXEL_TRAITS_H
#define KELMIRA_FOUNDATION_PIXEL_TRAITS_H

#include <cstdint>

#include "kelmira/foundation.h"

namespace kelmira {

template <class P>
struct PixelTraits;

#define KELMIRA_TRAITS(P, Storage, Max, Channels, Bits, Tag) \
  template <>                                                \
  struct PixelTraits<P> {                                    \
    using Storage_t = Storage;                               \
    static constexpr uint32_t kMax = Max;                    \
    static constexpr int kChannels = Channels;               \
    static constexpr int kBits = Bits;                       \
    static constexpr Z_IMAGE_TYPES kImageType = Tag;         \
  };

KELMIRA_TRAITS(ZBW1, uint8_t, 1u, 1, 1, Z_IMAGE_BW1)
KELMIRA_TRAITS(ZBW8, uint8_t, 255u, 1, 8, Z_IMAGE_BW8)
KELMIRA_TRAITS(ZBW16, uint16_t, 65535u, 1, 16, Z_IMAGE_BW16)
KELMIRA_TRAITS(ZBW32, uint32_t, 0xffffffffu, 1, 32, Z_IMAGE_BW32)
KELMIRA_TRAITS(ZINT32, int32_t, 0x7fffffffu, 1, 32, Z_IMAGE_INT32)
KELMIRA_TRAITS(ZC15, uint16_t, 0x7fffu, 1, 16, Z_IMAGE_C15)
KELMIRA_TRAITS(ZC16, uint16_t, 0xffffu, 1, 16, Z_IMAGE_C16)
KELMIRA_TRAITS(ZC24, uint8_t, 255u, 3, 24, Z_IMAGE_C24)
KELMIRA_TRAITS(ZC24A, uint8_t, 255u, 4, 32, Z_IMAGE_C24A)
KELMIRA_TRAITS(ZFLOAT32, float, 0u, 1, 32, Z_IMAGE_FLOAT32)
KELMIRA_TRAITS(ZFLOAT64, double, 0u, 1, 64, Z_IMAGE_FLOAT64)
KELMIRA_TRAITS(ZComplex64, float, 0u, 2, 64, Z_IMAGE_COMPLEX64)
#undef KELMIRA_TRAITS

}  // namespace kelmira

#endif  // KELMIRA_FOUNDATION_PIXEL_TRAITS_H
