// ZVectorTemplate<T>: construction, copies, capacity and count, element access and the heap step;
// the derived vectors, the plot extents and the text forms of the elements. The file form is in
// vector_file.cc.
#include <cstdlib>
#include <cstring>
#include <new>
#include <ostream>

#include "kelmira/vectors.h"

namespace kelmira::vectors {
namespace {

constexpr const char* kSetMax = "ZVector::SetMaxElements";
constexpr const char* kSetNum = "ZVector::SetNumElements";
constexpr const char* kIndex = "ZVector::operator[]";

// The store is raw memory: elements are plain records, copied by assignment, never constructed.
template <class T>
T* Allocate(unsigned int n) {
  return static_cast<T*>(std::malloc(static_cast<size_t>(n) * sizeof(T)));
}

}  // namespace
}  // namespace kelmira::vectors

using kelmira::vectors::Allocate;
using kelmira::vectors::kIndex;
using kelmira::vectors::kSetMax;
using kelmira::vectors::kSetNum;

template <class T>
ZVectorTemplate<T>::ZVectorTemplate() = default;

template <class T>
ZVectorTemplate<T>::ZVectorTemplate(unsigned int n) : m_un32NumElements(n), m_un32MaxElements(n) {
  if (n == 0) return;
  m_pData = Allocate<T>(n);
  if (m_pData == nullptr) {
    ZSetError(Z_ERROR_NO_MEMORY);
    return;
  }
  std::memset(static_cast<void*>(m_pData), 0, static_cast<size_t>(n) * sizeof(T));
}

// The new vector holds nothing yet, so the copy starts from an empty count, capacity and store.
template <class T>
ZVectorTemplate<T>::ZVectorTemplate(const ZVectorTemplate<T>& other) {
  other.CopyTo(this);
}

template <class T>
ZVectorTemplate<T>::~ZVectorTemplate() {
  std::free(m_pData);
  m_pData = nullptr;
}

template <class T>
ZVectorTemplate<T>& ZVectorTemplate<T>::operator=(const ZVectorTemplate<T>& other) {
  other.CopyTo(this);
  return *this;
}

template <class T>
ZVectorTemplate<T>* ZVectorTemplate<T>::CopyTo(ZVectorTemplate<T>* destination) const {
  if (destination == this) return destination;
  if (destination == nullptr) {
    destination = new (std::nothrow) ZVectorTemplate<T>();
    if (destination == nullptr) destination = new (std::nothrow) ZVectorTemplate<T>();
    if (destination == nullptr) {
      ZSetError(Z_ERROR_NO_MEMORY);
      return nullptr;
    }
  }
  const unsigned int count = m_un32NumElements;
  if (count != destination->m_un32MaxElements) destination->SetMaxElements(count, 0);
  // After a failed allocation the copy goes into the old store, as far as that store holds.
  unsigned int copied = count;
  if (copied > destination->m_un32MaxElements) copied = destination->m_un32MaxElements;
  if (destination->m_pData == nullptr || m_pData == nullptr) copied = 0;
  destination->m_un32NumElements = copied;
  for (unsigned int i = 0; i < copied; ++i) destination->m_pData[i] = m_pData[i];
  return destination;
}

template <class T>
void ZVectorTemplate<T>::SetMaxElements(unsigned int n, int keep) {
  if (n == m_un32MaxElements) return;
  T* store = nullptr;
  if (n != 0) {
    store = Allocate<T>(n);
    if (store == nullptr) {
      ZSetError(Z_ERROR_NO_MEMORY);
      ZTraceError(kSetMax);
      return;
    }
  }
  m_un32MaxElements = n;
  if (m_un32NumElements > n) m_un32NumElements = n;
  if (!keep || m_pData == nullptr) {
    m_un32NumElements = 0;
  } else if (m_un32NumElements != 0) {
    std::memcpy(static_cast<void*>(store), m_pData, static_cast<size_t>(m_un32NumElements) * sizeof(T));
  }
  std::free(m_pData);
  m_pData = store;
}

template <class T>
void ZVectorTemplate<T>::SetNumElements(unsigned int n) {
  if (n <= m_un32MaxElements) {
    m_un32NumElements = n;
    return;
  }
  ZOk();
  SetMaxElements(n, 1);
  if (ZGetError() != Z_ERROR_NONE) {
    ZTraceError(kSetNum);
    return;
  }
  m_un32NumElements = n;
}

template <class T>
bool ZVectorTemplate<T>::GrowForAppend(const char* word) {
  // A capacity without a store (ZPeaksVector(n), a failed constructor) grows like a full vector.
  if (m_un32NumElements != m_un32MaxElements && m_pData != nullptr) return true;
  ZOk();
  const unsigned int cap = m_un32MaxElements;
  const unsigned int grown = cap == 0 ? 1u : (cap > 0x7FFFFFFFu ? 0xFFFFFFFFu : cap * 2u);
  if (grown == cap) {
    ZSetError(Z_ERROR_NO_MEMORY);
  } else {
    SetMaxElements(grown, 1);
  }
  if (ZGetError() != Z_ERROR_NONE) {
    ZTraceError(word);
    return false;
  }
  return true;
}

template <class T>
void ZVectorTemplate<T>::AddElement(T e) {
  if (!GrowForAppend("ZVector::AddElement")) return;
  m_pData[m_un32NumElements++] = e;
}

template <class T>
void ZVectorTemplate<T>::AddElementByRef(T& e) {
  if (!GrowForAppend("ZVector::AddElementByRef")) return;
  m_pData[m_un32NumElements++] = e;
}

template <class T>
void ZVectorTemplate<T>::RemoveElement(unsigned int i) {
  if (!Holds(i)) {
    ZSetError(Z_ERROR_ARGUMENT_1);
    ZTraceError("ZVector::RemoveElement");
    return;
  }
  std::memmove(static_cast<void*>(m_pData + i), m_pData + i + 1,
               static_cast<size_t>(m_un32NumElements - i - 1) * sizeof(T));
  --m_un32NumElements;
}

template <class T>
T& ZVectorTemplate<T>::OutsideElement() {
  static T outside{};
  return outside;
}

template <class T>
T& ZVectorTemplate<T>::operator[](unsigned int i) const {
  if (!Holds(i)) {
    ZSetError(Z_ERROR_ARGUMENT_1);
    ZTraceError(kIndex);
    return OutsideElement();
  }
  return m_pData[i];
}

template <class T>
T ZVectorTemplate<T>::GetElement(int i) const {
  if (i < 0 || !Holds(static_cast<unsigned int>(i))) {
    ZSetError(Z_ERROR_ARGUMENT_1);
    ZTraceError(kIndex);
    return OutsideElement();
  }
  return m_pData[i];
}

template <class T>
void ZVectorTemplate<T>::SetElement(int i, T e) {
  if (i < 0 || !Holds(static_cast<unsigned int>(i))) {
    ZSetError(Z_ERROR_ARGUMENT_1);
    ZTraceError(kIndex);
    // The bound is reported, not enforced: the value still goes into the store if it fits there.
    if (i < 0 || static_cast<unsigned int>(i) >= m_un32MaxElements || m_pData == nullptr) return;
  }
  m_pData[i] = e;
}

template <class T>
void ZVectorTemplate<T>::Sift(const T& e, int (*compare)(const T&, const T&)) {
  if (m_pData == nullptr || compare == nullptr) return;
  const uint64_t count = m_un32NumElements;
  uint64_t i = 0;
  for (;;) {
    uint64_t c = 2 * i + 1;
    if (2 * i + 2 < count && compare(m_pData[2 * i + 2], m_pData[c])) c = 2 * i + 2;
    if (c >= count || !compare(m_pData[c], e)) break;
    m_pData[i] = m_pData[c];
    i = c;
  }
  if (i < m_un32MaxElements) m_pData[i] = e;
}

#define KELMIRA_INSTANTIATE_VECTOR(T) template class ZVectorTemplate<T>;
KELMIRA_FOR_EACH_VECTOR_ELEMENT(KELMIRA_INSTANTIATE_VECTOR)
#undef KELMIRA_INSTANTIATE_VECTOR

// ---------------------------------------------------------------------------------------------
// Derived vectors
// ---------------------------------------------------------------------------------------------
// The reserving constructors: capacity n, count 0, store not initialised.
#define KELMIRA_RESERVING_VECTOR(Name)              \
  Name::Name(unsigned int n) { SetMaxElements(n, 1); } \
  Name::~Name() = default;
KELMIRA_RESERVING_VECTOR(ZPathVector)
KELMIRA_RESERVING_VECTOR(ZBW8PathVector)
KELMIRA_RESERVING_VECTOR(ZBW16PathVector)
KELMIRA_RESERVING_VECTOR(ZC24PathVector)
KELMIRA_RESERVING_VECTOR(ZBWHistogramVector)
#undef KELMIRA_RESERVING_VECTOR

ZPeaksVector::ZPeaksVector(unsigned int n) { m_un32MaxElements = n; }
ZPeaksVector::~ZPeaksVector() = default;

void ZBWHistogramVector::Clear() {
  if (m_un32NumElements == 0 || m_pData == nullptr) return;
  std::memset(m_pData, 0, static_cast<size_t>(m_un32NumElements) * sizeof(unsigned int));
}

#define KELMIRA_FLAGGED_VECTOR_BODY(Name)                                                  \
  Name::Name(unsigned int n, int isUnsigned) : ZVectorTemplate(n), m_bUnsigned(isUnsigned) {} \
  Name::~Name() = default;
KELMIRA_FLAGGED_VECTOR_BODY(ZBW8Vector)
KELMIRA_FLAGGED_VECTOR_BODY(ZBW16Vector)
KELMIRA_FLAGGED_VECTOR_BODY(ZBW32Vector)
#undef KELMIRA_FLAGGED_VECTOR_BODY

#define KELMIRA_PLAIN_VECTOR_BODY(Name)                  \
  Name::Name(unsigned int n) : ZVectorTemplate(n) {}    \
  Name::~Name() = default;
KELMIRA_PLAIN_VECTOR_BODY(ZC24Vector)
KELMIRA_PLAIN_VECTOR_BODY(ZINT32Vector)
KELMIRA_PLAIN_VECTOR_BODY(ZColorVector)
#undef KELMIRA_PLAIN_VECTOR_BODY

// ---------------------------------------------------------------------------------------------
// Plot extents
// ---------------------------------------------------------------------------------------------
ZPlot::~ZPlot() = default;

void ZPlot::SetExtents(float xMin, float xMax, float yMin, float yMax) {
  m_f32XMin = xMin;
  m_f32XMax = xMax;
  m_f32YMin = yMin;
  m_f32YMax = yMax;
}

float ZPlot::XView(float x, int width) const {
  const float span = m_f32XMax - m_f32XMin;
  if (span == 0.0f || width <= 1) return 0.0f;
  return (x - m_f32XMin) * static_cast<float>(width - 1) / span;
}

float ZPlot::YView(float y, int height) const {
  const float span = m_f32YMax - m_f32YMin;
  if (span == 0.0f || height <= 1) return 0.0f;
  return (m_f32YMax - y) * static_cast<float>(height - 1) / span;
}

// ---------------------------------------------------------------------------------------------
// Text forms
// ---------------------------------------------------------------------------------------------
std::ostream& operator<<(std::ostream& stream, const ZPeak& peak) {
  return stream << "( ZPeak : m_un32Start = " << static_cast<unsigned int>(peak.m_un32Start)
                << " m_un32Length = " << static_cast<unsigned int>(peak.m_un32Length)
                << " m_f32Center = " << peak.m_f32Center
                << " m_n32Amplitude = " << static_cast<int>(peak.m_n32Amplitude)
                << " m_n32Area = " << static_cast<int>(peak.m_n32Area) << ")";
}

std::ostream& operator<<(std::ostream& stream, const ZPath& point) {
  return stream << "( ZPath : m_n16X = " << static_cast<short>(point.m_n16X)
                << " m_n16Y = " << static_cast<short>(point.m_n16Y) << ")";
}

// The pixel goes out as a character, not as a number.
std::ostream& operator<<(std::ostream& stream, const ZBW8Path& point) {
  return stream << "( ZBW8Path : m_n16X = " << static_cast<short>(point.m_n16X)
                << " m_n16Y = " << static_cast<short>(point.m_n16Y)
                << " m_bw8Pixel = " << static_cast<char>(point.m_bw8Pixel.value) << ")";
}
