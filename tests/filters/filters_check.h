// Shared filter checks: one call in a destination form against a model; a colour form plane by plane.
#ifndef KELMIRA_TESTS_FILTERS_CHECK_H
#define KELMIRA_TESTS_FILTERS_CHECK_H

#include <array>

#include "support/kelmira_test.h"

namespace ft {

template <class T>
constexpr int64_t Max() { return sizeof(T) == 2 ? 65535 : 255; }

template <class T>
using Call = std::function<void(ZROI<T>*, ZROI<T>*)>;
// The expected pixels from the source's values, the destination's values before the call and the
// source view (whose row addresses decide the wide split of some workers).
template <class T>
using Model = std::function<kt::Plane(const kt::Plane& in, const kt::Plane& old, ZROI<T>* source)>;

enum Form { kSeparate, kSource, kNull };

// One call on random values (0 and the maximum often, to reach every clip) at byte `offset` with
// guard bytes, the destination separate, the source itself or null.
template <class T>
void Check(const Call<T>& call, const Model<T>& want, int w, int h, int offset, Form form) {
  SCOPED_TRACE(::testing::Message() << w << "x" << h << "+" << offset << " form " << form << " wide " << ZGetMMX());
  kt::Framed<T> src(w, h, offset), dst(w, h, (offset * 5 + 3) % 8);
  kt::Write(src.get(), kt::RandomPlane(w, h, 0, Max<T>(), 4));
  kt::Write(dst.get(), kt::RandomPlane(w, h, 0, Max<T>(), 4));
  const kt::Plane in = kt::Read(src.get()), old = form == kSeparate ? kt::Read(dst.get()) : in;
  const kt::Plane expected = want(in, old, src.get());
  call(src.get(), form == kSeparate ? dst.get() : form == kSource ? src.get() : nullptr);
  ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
  ASSERT_EQ(kt::Read(form == kSeparate ? dst.get() : src.get()), expected);
  ASSERT_TRUE(form != kSeparate || kt::Read(src.get()) == in);
  ASSERT_TRUE(src.GuardsIntact() && dst.GuardsIntact());
}

// A gray call that needs a separate destination, made to work in place through a copy.
inline std::function<void(ZROI<ZBW8>*)> ThroughCopy(const Call<ZBW8>& gray) {
  return [gray](ZROI<ZBW8>* p) {
    ZImage<ZBW8> out(p->GetWidth(), p->GetHeight());
    gray(p, &out);
    LumCopy(&out, p);
  };
}

// A ZC24 call against `gray` (in place) run on each component of the source.
inline void CheckColour(const Call<ZC24>& colour, const std::function<void(ZROI<ZBW8>*)>& gray, int w, int h, Form form) {
  SCOPED_TRACE(::testing::Message() << "colour " << w << "x" << h << " form " << form << " wide " << ZGetMMX());
  kt::Framed<ZC24> src(w, h, 1), dst(w, h, 6);
  src.FillRandom(kt::Rng());
  std::array<kt::Plane, 3> want;
  for (unsigned c = 0; c < 3; ++c) {
    ZImage<ZBW8> plane(w, h);
    HueGetComponent(src.get(), &plane, c);
    gray(&plane);
    want[c] = kt::Read<ZBW8>(&plane);
  }
  colour(src.get(), form == kSeparate ? dst.get() : form == kSource ? src.get() : nullptr);
  ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
  for (int c = 0; c < 3; ++c) ASSERT_EQ(kt::Read(form == kSeparate ? dst.get() : src.get(), c), want[c]) << "component " << c;
  ASSERT_TRUE(src.GuardsIntact() && dst.GuardsIntact());
}

}  // namespace ft

#endif  // KELMIRA_TESTS_FILTERS_CHECK_H
