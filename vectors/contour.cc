// LumContour in its five forms: the frame, the choice of walks by mode, the closed flag, and the
// sinks that store a point into a path vector or into the older ZVector. The walk itself is in
// vectors/contour_walk.h.
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>

#include "foundation/frame.h"
#include "kelmira/vectors.h"
#include "vectors/contour_walk.h"

namespace kelmira::contour {
namespace {

// Points into a path vector of ZPath, ZBW8Path or ZBW16Path. The points go straight into the
// store while it has room; a full store grows through AddElement, which doubles it exactly as a
// point-by-point append would, so the vector ends with the same count, capacity and content.
template <class Element>
class PathSink {
 public:
  static constexpr int kMaxCoordinate = std::numeric_limits<int16_t>::max();

  PathSink(ZVectorTemplate<Element>* vector, bool chainCode) : m_vector(vector), m_chain(chainCode) {}
  ~PathSink() { Sync(); }
  PathSink(const PathSink&) = delete;
  PathSink& operator=(const PathSink&) = delete;

  void Empty() {
    m_vector->Empty();
    m_count = 0;
    m_active = true;
    Reload();
  }
  static constexpr bool Full() { return false; }

  // The element is built in zeroed memory and stored as bytes, so that the pad byte of ZBW8Path
  // is 0 rather than whatever the stack or the store held: it goes to files as it stands.
  bool Put(int x, int y, int d, uint32_t value) {
    Element e;
    std::memset(static_cast<void*>(&e), 0, sizeof e);
    e.m_n16X = static_cast<int16_t>(x);
    e.m_n16Y = static_cast<int16_t>(y);
    if constexpr (std::is_same_v<Element, ZBW8Path>) e.m_bw8Pixel = ZBW8(static_cast<uint8_t>(m_chain ? d : value));
    if constexpr (std::is_same_v<Element, ZBW16Path>) e.m_bw16Pixel = ZBW16(static_cast<uint16_t>(m_chain ? d : value));
    if (m_count < m_capacity) {
      std::memcpy(static_cast<void*>(m_data + m_count++), &e, sizeof e);
      return true;
    }
    Sync();
    m_vector->AddElement(e);
    if (ZGetError() != Z_ERROR_NONE) return false;
    m_count = m_vector->GetNumElements();
    Reload();
    std::memcpy(static_cast<void*>(m_data + m_count - 1), &e, sizeof e);  // AddElement may copy the fields alone
    return true;
  }

 private:
  void Reload() {
    m_data = m_vector->GetDataPtr();
    m_capacity = m_data ? m_vector->GetMaxElements() : 0;
  }
  // Within the capacity SetNumElements only sets the count.
  void Sync() {
    if (m_active && m_vector->GetNumElements() != m_count) m_vector->SetNumElements(m_count);
  }

  ZVectorTemplate<Element>* m_vector;
  bool m_chain;
  bool m_active = false;  // emptied by a walk: the count is ours to keep
  Element* m_data = nullptr;
  unsigned int m_count = 0;
  unsigned int m_capacity = 0;
};

// Points into the older ZVector: x, y and the leaving direction as three 32-bit values, the
// count of points kept with SetNbGroup. The capacity is taken from the bytes of the block, so
// that a vector of any structure is never written past its end.
class VectorSink {
 public:
  static constexpr int kMaxCoordinate = std::numeric_limits<int>::max();
  static constexpr int kPointBytes = 12;
  static constexpr int kGrowth = 24576;

  VectorSink(ZVector* vector, int limit) : m_vector(vector), m_limit(limit) {}
  ~VectorSink() { m_vector->SetNbGroup(m_count); }
  VectorSink(const VectorSink&) = delete;
  VectorSink& operator=(const VectorSink&) = delete;

  void Empty() {
    m_count = 0;
    m_vector->SetNbGroup(0);
    Reload();
  }
  bool Full() const { return m_count >= m_limit; }

  bool Put(int x, int y, int d, uint32_t) {
    if (m_count >= m_capacity) {
      m_vector->SetNbGroup(m_count);
      const int grown = m_vector->Reallocate(m_vector->GetAllocatedSize() + kGrowth);
      Reload();
      if (grown != 0 || m_data == nullptr || m_count >= m_capacity) {
        if (ZGetError() == Z_ERROR_NONE) ZSetError(Z_ERROR_NO_MEMORY);
        return false;
      }
    }
    const int32_t point[3] = {x, y, d};
    std::memcpy(m_data + static_cast<size_t>(m_count) * kPointBytes, point, sizeof point);
    ++m_count;
    return true;
  }

 private:
  void Reload() {
    m_data = static_cast<uint8_t*>(m_vector->GetDataPtr());
    m_capacity = m_data ? m_vector->GetAllocatedSize() / kPointBytes : 0;
  }

  ZVector* m_vector;
  int m_limit;
  uint8_t* m_data = nullptr;
  int m_count = 0;
  int m_capacity = 0;
};

struct Walks {
  int firstSense;  // negative: clockwise
  bool second;     // a second walk from the end of a first one that stopped at the edge
  int outside;
};

// The walks of each CONTOUR_MODE; false for a mode outside the enumeration.
bool Choose(int mode, Walks* walks) {
  switch (mode) {
    case 0: *walks = {-1, false, kStop}; return true;
    case 1: *walks = {-1, false, kBackground}; return true;
    case 2: *walks = {-1, true, kStop}; return true;
    case 3: *walks = {1, false, kStop}; return true;
    case 4: *walks = {1, true, kStop}; return true;
    case 5: *walks = {1, false, kBackground}; return true;
    default: return false;
  }
}

// Runs the walk or walks of the mode; returns the closed flag.
template <class P, class Sink>
int Follow(const ZROI<P>* source, const Walks& walks, int x, int y, Sink& sink, const Context& ctx) {
  const int64_t cap = source ? StateCount(source->GetWidth(), source->GetHeight(), ctx.connexity) : 0;
  Walk(source, &x, &y, walks.firstSense, sink, ctx, cap);
  if (ZGetError() != Z_ERROR_OUTSIDE_ROI) return 1;
  if (walks.second) Walk(source, &x, &y, -walks.firstSense, sink, ctx, cap);
  return 0;
}

Context MakeContext(CONTOUR_THRESHOLD sense, unsigned int threshold, CONNEXITY connexity, int outside) {
  Context ctx;
  ctx.threshold = threshold;
  ctx.below = static_cast<int>(sense) != 0;
  ctx.connexity = static_cast<int>(connexity);
  ctx.outside = outside;
  return ctx;
}

// The path forms: frame, mode, walks, closed flag, trace.
template <class P, class Element, class Vector>
void PathContour(ZROI<P>* source, CONTOUR_MODE mode, int x, int y, CONTOUR_THRESHOLD sense, unsigned int threshold,
                 CONNEXITY connexity, Vector* path, bool chainCode, const char* word) {
  Walks walks;
  if (frame::Enter()) {
    if (!Choose(static_cast<int>(mode), &walks)) {
      ZSetError(Z_ERROR_BAD_CONTOUR_MODE);
    } else if (source == nullptr || source->GetImagePtr(0, 0) == nullptr || path == nullptr) {
      ZSetError(Z_ERROR_NULL_IMAGE);
      if (path) path->SetClosed(1);
    } else {
      const Context ctx = MakeContext(sense, threshold, connexity, walks.outside);
      int closed;
      {
        PathSink<Element> sink(path, chainCode);
        closed = Follow(static_cast<const ZROI<P>*>(source), walks, x, y, sink, ctx);
      }
      path->SetClosed(closed);
    }
  }
  frame::Leave(word);
}

short int VectorContour(ZROI<ZBW8>* source, CONTOUR_MODE mode, int x, int y, CONTOUR_THRESHOLD sense,
                        unsigned int threshold, CONNEXITY connexity, ZVector* path) {
  Walks walks;
  if (frame::Enter()) {
    if (!Choose(static_cast<int>(mode), &walks)) {
      ZSetError(Z_ERROR_BAD_CONTOUR_MODE);
    } else if (path == nullptr) {
      ZSetError(Z_ERROR_VECTOR_NO_DATA);
    } else {
      if (path->GetVectType() != 1) path->SetType(1, 2000, 0);
      path->SetNbGroup(0);
      if (path->GetDataPtr() == nullptr) {
        ZSetError(Z_ERROR_VECTOR_NO_DATA);
      } else if (source == nullptr || source->GetImagePtr(0, 0) == nullptr) {
        ZSetError(Z_ERROR_NULL_IMAGE);
      } else {
        // The limit is the signed 32-bit product shifted right by 3, wrap included.
        const int area = static_cast<int>(static_cast<uint32_t>(source->GetWidth()) *
                                          static_cast<uint32_t>(source->GetHeight()));
        const Context ctx = MakeContext(sense, threshold, connexity, walks.outside);
        VectorSink sink(path, area >> 3);
        Follow(static_cast<const ZROI<ZBW8>*>(source), walks, x, y, sink, ctx);
      }
    }
  }
  return frame::LeaveShort("LumContour ( ZVector)");
}

}  // namespace
}  // namespace kelmira::contour

using kelmira::contour::PathContour;

void LumContour(ZROI<ZBW8>* source, CONTOUR_MODE mode, int x, int y, CONTOUR_THRESHOLD sense, unsigned int threshold,
                CONNEXITY connexity, ZPathVector* path) {
  PathContour<ZBW8, ZPath>(source, mode, x, y, sense, threshold, connexity, path, false, "LumContour ( ZPathVector)");
}

void LumContour(ZROI<ZBW8>* source, CONTOUR_MODE mode, int x, int y, CONTOUR_THRESHOLD sense, unsigned int threshold,
                CONNEXITY connexity, ZBW8PathVector* path, int chainCode) {
  PathContour<ZBW8, ZBW8Path>(source, mode, x, y, sense, threshold, connexity, path, chainCode != 0,
                              "LumContour ( ZBW8PathVector)");
}

short int LumContour(ZROI<ZBW8>* source, CONTOUR_MODE mode, int x, int y, CONTOUR_THRESHOLD sense,
                     unsigned int threshold, CONNEXITY connexity, ZVector* path) {
  return kelmira::contour::VectorContour(source, mode, x, y, sense, threshold, connexity, path);
}

void LumContour(ZROI<ZBW16>* source, CONTOUR_MODE mode, int x, int y, CONTOUR_THRESHOLD sense, unsigned int threshold,
                CONNEXITY connexity, ZPathVector* path) {
  PathContour<ZBW16, ZPath>(source, mode, x, y, sense, threshold, connexity, path, false,
                            "LumContour ( ZPathVector)(BW16)");
}

void LumContour(ZROI<ZBW16>* source, CONTOUR_MODE mode, int x, int y, CONTOUR_THRESHOLD sense,
                unsigned int threshold, CONNEXITY connexity, ZBW16PathVector* path, int chainCode) {
  PathContour<ZBW16, ZBW16Path>(source, mode, x, y, sense, threshold, connexity, path, chainCode != 0,
                                "LumContour ( ZBW16PathVector)(BW16)");
}
