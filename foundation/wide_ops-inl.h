// Highway helpers shared by the wide kernels: names that say what they do, over the gaps of the
// Highway release we build against. Include it from a *_wide.cc after hwy/highway.h, inside the
// per-target re-inclusion (this header has the toggle guard Highway needs).
#if defined(KELMIRA_WIDE_OPS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef KELMIRA_WIDE_OPS_INL_H_
#undef KELMIRA_WIDE_OPS_INL_H_
#else
#define KELMIRA_WIDE_OPS_INL_H_
#endif

#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace kelmira::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// |a - b| of unsigned lanes, as two saturating subtractions or-ed.
template <class V>
HWY_INLINE V AbsDiffU(V a, V b) {
  return hn::Or(hn::SaturatedSub(a, b), hn::SaturatedSub(b, a));
}

// All-ones where the lane is non-zero, else zero.
template <class D, class V>
HWY_INLINE V NonZeroMask(D d, V v) {
  return hn::VecFromMask(d, hn::Ne(v, hn::Zero(d)));
}

}  // namespace kelmira::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // KELMIRA_WIDE_OPS_INL_H_
