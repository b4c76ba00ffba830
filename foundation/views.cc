// Views and images: placement in the parent chain, pixel addresses, checked pixel access,
// allocation and host memory.
#include <cstdlib>
#include <cstring>
#include <new>

#include <sys/mman.h>

#include "foundation/pixel_traits.h"
#include "kelmira/foundation.h"

// ----- ZGenericROI -----

ZGenericROI::~ZGenericROI() = default;

bool ZGenericROI::Resolve(uint8_t** base, int* pitch, int* x0, int* y0) const {
  if (m_width < 0 || m_height < 0) return false;
  if (m_isImage) {
    if (m_pixels == nullptr) return false;
    *base = m_pixels;
    *pitch = m_pitch;
    *x0 = 0;
    *y0 = 0;
    return true;
  }
  // A view is usable only while its whole rectangle lies inside a usable parent.
  const ZGenericROI* parent = m_parent;
  if (parent == nullptr || m_orgX < 0 || m_orgY < 0 ||
      static_cast<int64_t>(m_orgX) + m_width > parent->m_width ||
      static_cast<int64_t>(m_orgY) + m_height > parent->m_height)
    return false;
  if (!parent->Resolve(base, pitch, x0, y0)) return false;
  *x0 += m_orgX;
  *y0 += m_orgY;
  return true;
}

int ZGenericROI::GetTotalOrgX() const { return m_parent ? m_orgX + m_parent->GetTotalOrgX() : m_orgX; }
int ZGenericROI::GetTotalOrgY() const { return m_parent ? m_orgY + m_parent->GetTotalOrgY() : m_orgY; }
int ZGenericROI::GetTotalHeight() const { return m_parent ? m_parent->GetTotalHeight() : m_height; }

int ZGenericROI::Void() const {
  uint8_t* base;
  int pitch, x0, y0;
  return Resolve(&base, &pitch, &x0, &y0) ? 0 : 1;
}

void ZGenericROI::CheckNotVoid() const {
  if (Void()) ZSetError(Z_ERROR_NULL_IMAGE);
}

void ZGenericROI::CheckSameSize(const ZGenericROI* other) const {
  if (other == nullptr)
    ZSetError(Z_ERROR_NULL_IMAGE);
  else if (other->m_width != m_width || other->m_height != m_height)
    ZSetError(Z_ERROR_DIFFERENT_SIZES);
}

void ZGenericROI::SetSize(const ZGenericROI* other) {
  if (other == nullptr) {
    ZSetError(Z_ERROR_NULL_IMAGE);
    return;
  }
  SetSize(other->m_width, other->m_height);
}

void ZGenericROI::SetSize(ZGenericROI* other) { SetSize(static_cast<const ZGenericROI*>(other)); }

void ZGenericROI::SetSize(int width, int height) {
  if (width < 0 || height < 0) {
    ZSetError(width < 0 ? Z_ERROR_ARGUMENT_1 : Z_ERROR_ARGUMENT_2);
    return;
  }
  if (m_parent != nullptr && (static_cast<int64_t>(m_orgX) + width > m_parent->m_width ||
                              static_cast<int64_t>(m_orgY) + height > m_parent->m_height)) {
    ZSetError(Z_ERROR_DIFFERENT_SIZES);
    return;
  }
  m_width = width;
  m_height = height;
}

const void* ZGenericROI::GetGenericImagePtr(int x, int y) const {
  uint8_t* base;
  int pitch, x0, y0;
  if (!Resolve(&base, &pitch, &x0, &y0)) return nullptr;
  const int bits = BitsPerPixel();
  const int64_t column = static_cast<int64_t>(x0) + x;
  const int64_t byte = bits == 1 ? (column >> 3) : column * (bits >> 3);
  return base + (static_cast<int64_t>(y0) + y) * pitch + byte;
}

void* ZGenericROI::GetGenericImagePtr(int x, int y) {
  return const_cast<void*>(static_cast<const ZGenericROI*>(this)->GetGenericImagePtr(x, y));
}

int ZGenericROI::GetRowPitch() const {
  uint8_t* base;
  int pitch, x0, y0;
  if (Resolve(&base, &pitch, &x0, &y0)) return pitch;
  // A void view still reports its chain's pitch, so that loops over nothing stay harmless.
  return m_parent ? m_parent->GetRowPitch() : m_pitch;
}

int ZGenericROI::GetBitOffset(int x, int y) const {
  (void)y;
  if (BitsPerPixel() != 1) return 0;
  return (GetTotalOrgX() + x) & 7;
}

int ZGenericROI::GetSkip() const {
  const int bits = BitsPerPixel();
  if (bits == 1) {
    // Packed rows: the pitch minus the bytes that the row's bits touch.
    const int first = GetBitOffset(0, 0);
    return GetRowPitch() - (first + m_width + 7) / 8;
  }
  return GetRowPitch() - m_width * (bits >> 3);
}

void ZGenericROI::SetParent(ZGenericROI* parent) {
  if (m_isImage) return;  // an image has no parent
  m_parent = parent;
}

// ----- ZROI<T> -----

template <class T>
ZROI<T>::ZROI() = default;

template <class T>
ZROI<T>::ZROI(ZROI<T>* parent, int x, int y, int width, int height) {
  m_parent = parent;
  m_orgX = x;
  m_orgY = y;
  m_width = width;
  m_height = height;
}

template <class T>
ZROI<T>::~ZROI() = default;

template <class T>
Z_IMAGE_TYPES ZROI<T>::GetImageType() const {
  return kelmira::PixelTraits<T>::kImageType;
}

template <class T>
int ZROI<T>::GetPixelSize() const {
  return static_cast<int>(sizeof(T));
}

template <class T>
int ZROI<T>::BitsPerPixel() const {
  return kelmira::PixelTraits<T>::kBits;
}

template <class T>
void ZROI<T>::SetPlacement(int x, int y, int width, int height) {
  m_orgX = x;
  m_orgY = y;
  m_width = width;
  m_height = height;
}

namespace {
bool InView(const ZGenericROI* view, int x, int y) {
  if (view->Void()) {
    ZSetError(Z_ERROR_NULL_IMAGE);
    return false;
  }
  if (x < 0 || x >= view->GetWidth()) {
    ZSetError(Z_ERROR_ARGUMENT_1);
    return false;
  }
  if (y < 0 || y >= view->GetHeight()) {
    ZSetError(Z_ERROR_ARGUMENT_2);
    return false;
  }
  return true;
}
}  // namespace

template <class T>
T ZROI<T>::GetPixel(int x, int y) const {
  if (!InView(this, x, y)) return T();
  if constexpr (kelmira::PixelTraits<T>::kBits == 1) {
    const int bit = GetBitOffset(x, y);
    return T(static_cast<uint8_t>((*static_cast<const uint8_t*>(GetGenericImagePtr(x, y)) >> (7 - bit)) & 1));
  } else {
    T value;
    std::memcpy(&value, GetGenericImagePtr(x, y), sizeof(T));
    return value;
  }
}

template <class T>
void ZROI<T>::SetPixel(T value, int x, int y) {
  if (!InView(this, x, y)) return;
  if constexpr (kelmira::PixelTraits<T>::kBits == 1) {
    uint8_t* byte = static_cast<uint8_t*>(GetGenericImagePtr(x, y));
    const uint8_t mask = static_cast<uint8_t>(0x80 >> GetBitOffset(x, y));
    *byte = value.value ? static_cast<uint8_t>(*byte | mask) : static_cast<uint8_t>(*byte & ~mask);
  } else {
    std::memcpy(GetGenericImagePtr(x, y), &value, sizeof(T));
  }
}

// ----- ZImage<T> -----

template <class T>
ZImage<T>::ZImage() {
  this->m_isImage = true;
}

template <class T>
ZImage<T>::ZImage(int width, int height) : ZImage() {
  SetSize(width, height);
}

template <class T>
ZImage<T>::~ZImage() {
  Release();
}

template <class T>
void ZImage<T>::Release() {
  std::free(m_block);
  m_block = nullptr;
  this->m_pixels = nullptr;
  this->m_width = this->m_height = this->m_pitch = 0;
}

template <class T>
void ZImage<T>::SetSize(int width, int height) {
  if (width < 0 || height < 0) {
    ZSetError(width < 0 ? Z_ERROR_ARGUMENT_1 : Z_ERROR_ARGUMENT_2);
    return;
  }
  constexpr int bits = kelmira::PixelTraits<T>::kBits;
  const int64_t rowBytes = bits == 1 ? (static_cast<int64_t>(width) + 7) / 8 : static_cast<int64_t>(width) * (bits / 8);
  // Rows start on 16-byte boundaries, the block on 64.
  const int64_t pitch = (rowBytes + 15) & ~static_cast<int64_t>(15);
  const int64_t bytes = pitch * height;
  if (pitch > INT32_MAX || (height > 0 && bytes / height != pitch)) {
    Release();
    ZSetError(Z_ERROR_NO_MEMORY);
    return;
  }
  if (width == this->m_width && height == this->m_height && (m_block != nullptr || bytes == 0)) return;
  Release();
  if (bytes > 0) {
    // Large images (and the temporaries of compound operators) are placed on 2 MB boundaries and
    // offered to transparent huge pages: a fresh block then costs a few page faults, not thousands.
    constexpr int64_t kHuge = int64_t{2} << 20;
    const int64_t align = bytes >= 2 * kHuge ? kHuge : 64;
    m_block = std::aligned_alloc(static_cast<size_t>(align), static_cast<size_t>((bytes + align - 1) & ~(align - 1)));
#ifdef MADV_HUGEPAGE
    if (m_block != nullptr && align == kHuge)
      madvise(m_block, static_cast<size_t>((bytes + align - 1) & ~(align - 1)), MADV_HUGEPAGE);
#endif
    if (m_block == nullptr) {
      ZSetError(Z_ERROR_NO_MEMORY);
      return;
    }
  }
  this->m_pixels = static_cast<uint8_t*>(m_block);
  this->m_width = width;
  this->m_height = height;
  this->m_pitch = static_cast<int>(pitch);
}

template <class T>
void ZImage<T>::SetSize(const ZGenericROI* other) {
  if (other == nullptr) {
    ZSetError(Z_ERROR_NULL_IMAGE);
    return;
  }
  SetSize(other->GetWidth(), other->GetHeight());
}

template <class T>
void ZImage<T>::SetSize(ZGenericROI* other) {
  SetSize(static_cast<const ZGenericROI*>(other));
}

template <class T>
int ZImage<T>::GetRowPitch() const {
  return this->m_pitch;
}

template <class T>
void ZImage<T>::SetImagePtr(int width, int height, void* pixels, int rowPitchBytes) {
  Release();
  constexpr int bits = kelmira::PixelTraits<T>::kBits;
  const int64_t rowBytes = bits == 1 ? (static_cast<int64_t>(width) + 7) / 8 : static_cast<int64_t>(width) * (bits / 8);
  if (pixels == nullptr || width < 0 || height < 0 || rowPitchBytes < rowBytes) {
    ZSetError(pixels == nullptr ? Z_ERROR_NULL_IMAGE : Z_ERROR_BAD_ARGUMENTS);
    return;
  }
  this->m_pixels = static_cast<uint8_t*>(pixels);
  this->m_width = width;
  this->m_height = height;
  this->m_pitch = rowPitchBytes;
}

#define KELMIRA_INSTANTIATE_VIEW(T) template class ZROI<T>; template class ZImage<T>;
KELMIRA_FOR_EACH_PIXEL_TYPE(KELMIRA_INSTANTIATE_VIEW)
