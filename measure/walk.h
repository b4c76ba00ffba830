// What the measurement operators share: the frames of their result kinds, typed rows, and the
// walk over a view's run list or, without one, its rows.
#ifndef KELMIRA_MEASURE_WALK_H
#define KELMIRA_MEASURE_WALK_H

#include <cstdint>
#include <cstring>
#include <type_traits>

#include "foundation/frame.h"
#include "foundation/pixel_traits.h"
#include "foundation/rows.h"
#include "kelmira/foundation.h"
#include "kelmira/vectors.h"

namespace kelmira::measure {

template <class P>
using Storage = typename PixelTraits<P>::Storage_t;

// Row y of a gray view as its built-in values.
template <class P>
class Values {
 public:
  explicit Values(const ZGenericROI* view) : m_rows(view) {}
  const Storage<P>* operator[](int y) const { return reinterpret_cast<const Storage<P>*>(m_rows[y]); }

 private:
  rows::Rows<const P> m_rows;
};

// A `short int` operator: clear, gate, body, then the status word and the trace on failure.
template <class F>
short int ShortForm(const char* trace, F&& body) {
  if (frame::Enter()) body();
  return frame::LeaveShort(trace);
}

// A `void` operator.
template <class F>
void VoidForm(const char* trace, F&& body) {
  if (frame::Enter()) body();
  frame::Leave(trace);
}

// The result of a failed measure: 0, or three zeros (ZColor's own constructor sets nothing).
template <class R>
R Nothing() {
  if constexpr (std::is_same_v<R, ZColor>) return ZColor(0.0f, 0.0f, 0.0f);
  else return R{};
}

// An operator that returns its measure: the body's value on success, Nothing on failure.
template <class R, class F>
R ValueForm(const char* trace, F&& body) {
  R result = Nothing<R>();
  if (frame::Enter()) result = body();
  if (!frame::Ok()) {
    ZTraceError(trace);
    return Nothing<R>();
  }
  return result;
}

// A view with pixels to read: not null, not void, and neither its width nor its height 0. A view
// of no extent is refused with 1400 like a void one, before any row is touched.
inline bool HasPixels(const ZGenericROI* view) {
  return view != nullptr && view->GetGenericImagePtr(0, 0) != nullptr && view->GetWidth() > 0 && view->GetHeight() > 0;
}
inline bool Usable(const ZGenericROI* view) {
  ZOk();
  return HasPixels(view) || frame::Fail(Z_ERROR_NULL_IMAGE);
}

inline bool Pair(const ZGenericROI* a, const ZGenericROI* b) {
  return Usable(a) && Usable(b) && frame::SameSize(a, b);
}

inline bool HasRuns(const ZGenericROI* view) {
  const ZVectorTemplate<ZRun>* runs = view->GetRunList();
  return runs != nullptr && runs->GetNumElements() > 0 && runs->GetDataPtr() != nullptr;
}

// Calls stretch(pixels, count, x, y) for each run of the view, or for each row when it has no
// runs. A run's pixels go from its start offset up to its end offset, bytes from pixel (0, 0);
// they must lie in one row of the view. With `position` the run's column and row come from its
// position word, which must then lie in the view with room for the run; otherwise from the
// offset. A run that breaks these rules sets 106 and stops the walk: false. The view must have
// passed its void check.
template <class P, class Fn>
bool ForEachStretch(const ZGenericROI* view, bool position, Fn&& stretch) {
  using S = Storage<P>;
  const int width = view->GetWidth(), height = view->GetHeight();
  if (!HasRuns(view)) {
    const Values<P> rows(view);
    for (int y = 0; y < height; ++y) stretch(rows[y], width, 0, y);
    return true;
  }
  const uint8_t* base = static_cast<const uint8_t*>(view->GetGenericImagePtr(0, 0));
  const uint64_t pitch = static_cast<uint64_t>(view->GetRowPitch()), size = sizeof(P);
  const ZVectorTemplate<ZRun>* runs = view->GetRunList();
  const ZRun* run = runs->GetDataPtr();
  for (unsigned i = 0; i < runs->GetNumElements(); ++i, ++run) {
    const uint64_t start = run->m_un32Start, end = run->m_un32End;
    if (end < start || (end - start) % size != 0 || pitch == 0) return frame::Fail(Z_ERROR_OUTSIDE_ROI);
    const uint64_t row = start / pitch, rest = start % pitch, count = (end - start) / size;
    if (rest % size != 0 || row >= static_cast<uint64_t>(height) || rest / size + count > static_cast<uint64_t>(width))
      return frame::Fail(Z_ERROR_OUTSIDE_ROI);
    int x = static_cast<int>(rest / size), y = static_cast<int>(row);
    if (position) {
      x = run->m_n16X, y = run->m_n16Y;
      if (x < 0 || y < 0 || y >= height || static_cast<uint64_t>(x) + count > static_cast<uint64_t>(width))
        return frame::Fail(Z_ERROR_OUTSIDE_ROI);
    }
    stretch(reinterpret_cast<const S*>(base + start), static_cast<int>(count), x, y);
  }
  return true;
}

}  // namespace kelmira::measure

#endif  // KELMIRA_MEASURE_WALK_H
