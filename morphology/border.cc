// The older erosion and dilation family with a border value: LumErode, LumDilate, LumOpen,
// LumClose, LumWhiteTopHat, LumBlackTopHat on BW8 and C24. Pixels outside the ROI take the border
// value instead of being left out.
#include <cstdint>

#include "foundation/frame.h"
#include "kelmira/morphology.h"
#include "kelmira/pixelwise/oper.h"
#include "morphology/gray_engine.h"

namespace kelmira::morpho {
namespace {

// `passes` 3x3 steps, the first from source to destination, the rest in place. The state is read
// after each step; a failure traces the worker's word and stops.
void ErodeDilateSteps(ZROI<ZBW8>* source, ZROI<ZBW8>* destination, int passes, int border, bool max) {
  ZOk();
  for (int i = 0; i < passes; ++i) {
    ZROI<ZBW8>* from = i == 0 ? source : destination;
    if (!frame::SameSize(from, destination)) break;
    if (from->GetImagePtr(0, 0) == nullptr || destination->GetImagePtr(0, 0) == nullptr) {
      frame::Fail(Z_ERROR_NULL_IMAGE);
      break;
    }
    BorderStep(from, destination, border, max);
  }
  if (!frame::Ok()) ZTraceError("LumErodeDilate");
}

// Whether two views rest on one image: the same top image's first pixel.
bool OnSameImage(const ZGenericROI* a, const ZGenericROI* b) {
  auto origin = [](const ZGenericROI* v) {
    const uint8_t* p = static_cast<const uint8_t*>(v->GetImagePtr(0, 0));
    return p - static_cast<ptrdiff_t>(v->GetTotalOrgY()) * v->GetRowPitch() -
           static_cast<ptrdiff_t>(v->GetTotalOrgX()) * v->GetPixelSize();
  };
  if (a->GetImagePtr(0, 0) == nullptr || b->GetImagePtr(0, 0) == nullptr) return false;
  return origin(a) == origin(b);
}

bool PixelsPresent(const ZROI<ZBW8>* a, const ZROI<ZBW8>* b) {
  return (a != nullptr && b != nullptr && a->GetImagePtr(0, 0) != nullptr && b->GetImagePtr(0, 0) != nullptr) ||
         frame::Fail(Z_ERROR_NULL_IMAGE);
}

void Subtract(ZROI<ZBW8>* a, ZROI<ZBW8>* b, ZROI<ZBW8>* destination) {
  LumOper(ARITH_LOGIC_SUBTRACT, a, b, destination);
}

short int Simple(ZROI<ZBW8>* source, ZROI<ZBW8>* destination, int passes, int border, bool max, const char* trace) {
  if (frame::Enter()) ErodeDilateSteps(source, destination, passes, border, max);
  return frame::LeaveShort(trace);
}

short int Compound(ZROI<ZBW8>* source, ZROI<ZBW8>* destination, int passes, int first, int second, bool close,
                   const char* trace) {
  if (frame::Enter()) {
    ErodeDilateSteps(source, destination, passes, first, close);
    if (frame::Ok()) ErodeDilateSteps(destination, destination, passes, second, !close);
  }
  return frame::LeaveShort(trace);
}

// The colour forms: each component goes from a copy T to a copy U through the BW8 form, with the
// border bytes taken in reverse order of memory (component 0 gets c2).
template <class Op>
void Colour(ZROI<ZC24>* source, ZROI<ZC24>* destination, int passes, const char* trace, Op&& op) {
  if (!frame::Enter()) return frame::Leave(trace);
  if (source == nullptr || destination == nullptr) {
    frame::Fail(Z_ERROR_NULL_IMAGE);
    return frame::Leave(trace);
  }
  if (passes <= 0) return;  // the gray form writes nothing, so neither does this one
  ZImage<ZBW8> t, u;
  if (!frame::Step([&] { t.SetSize(source->GetWidth(), source->GetHeight()); }) ||
      !frame::Step([&] { u.SetSize(destination->GetWidth(), destination->GetHeight()); }))
    return frame::Leave(trace);
  for (unsigned k = 0; k < 3; ++k) {
    if (!frame::Step([&] { HueGetComponent(source, &t, k, nullptr); }) || !frame::Step([&] { op(&t, &u, k); }) ||
        !frame::Step([&] { HueSetComponent(&u, destination, k); }))
      return frame::Leave(trace);
  }
}

uint8_t BorderByte(ZC24 border, unsigned component) {
  return component == 0 ? border.c2 : component == 1 ? border.c1 : border.c0;
}

}  // namespace
}  // namespace kelmira::morpho

namespace km = kelmira::morpho;
namespace kf = kelmira::frame;

short int LumErode(ZROI<ZBW8>* source, ZROI<ZBW8>* destination, int passes, int border) {
  return km::Simple(source, destination, passes, border, false, "LumErode");
}

short int LumDilate(ZROI<ZBW8>* source, ZROI<ZBW8>* destination, int passes, int border) {
  return km::Simple(source, destination, passes, border, true, "LumDilate");
}

short int LumOpen(ZROI<ZBW8>* source, ZROI<ZBW8>* destination, int passes, int firstBorder, int secondBorder) {
  return km::Compound(source, destination, passes, firstBorder, secondBorder, false, "LumOpen");
}

short int LumClose(ZROI<ZBW8>* source, ZROI<ZBW8>* destination, int passes, int firstBorder, int secondBorder) {
  return km::Compound(source, destination, passes, firstBorder, secondBorder, true, "LumClose");
}

// No emptiness check and no test for a null destination here, unlike the black top hat; a null
// view still ends in 1400 rather than a crash.
short int LumWhiteTopHat(ZROI<ZBW8>* source, ZROI<ZBW8>* destination, int passes, int firstBorder,
                         int secondBorder) {
  if (kf::Enter()) {
    if (source != nullptr && destination != nullptr && km::OnSameImage(source, destination))
      kf::Fail(Z_ERROR_NEED_SEPARATE_DESTINATION);
    else if (km::PixelsPresent(source, destination) &&
             LumOpen(source, destination, passes, firstBorder, secondBorder) == 0)
      km::Subtract(source, destination, destination);
  }
  return kf::LeaveShort("LumWhiteTopHat");
}

short int LumBlackTopHat(ZROI<ZBW8>* source, ZROI<ZBW8>* destination, int passes, int firstBorder,
                         int secondBorder) {
  if (kf::Enter() && kf::NotVoid(source)) {
    if (destination == nullptr || destination == source || km::OnSameImage(source, destination))
      kf::Fail(Z_ERROR_NEED_SEPARATE_DESTINATION);
    else if (km::PixelsPresent(source, destination) &&
             LumClose(source, destination, passes, firstBorder, secondBorder) == 0)
      km::Subtract(destination, source, destination);
  }
  return kf::LeaveShort("LumBlackTopHat");
}

void LumErode(ZROI<ZC24>* source, ZROI<ZC24>* destination, int passes, ZC24 border) {
  km::Colour(source, destination, passes, "LumErode ( C24)", [&](ZROI<ZBW8>* t, ZROI<ZBW8>* u, unsigned k) {
    LumErode(t, u, passes, km::BorderByte(border, k));
  });
}

void LumDilate(ZROI<ZC24>* source, ZROI<ZC24>* destination, int passes, ZC24 border) {
  km::Colour(source, destination, passes, "LumDilate ( C24)", [&](ZROI<ZBW8>* t, ZROI<ZBW8>* u, unsigned k) {
    LumDilate(t, u, passes, km::BorderByte(border, k));
  });
}

#define KELMIRA_MORPHO_COLOUR_COMPOUND(Name, Trace)                                                           \
  void Name(ZROI<ZC24>* source, ZROI<ZC24>* destination, int passes, ZC24 first, ZC24 second) {                \
    km::Colour(source, destination, passes, Trace, [&](ZROI<ZBW8>* t, ZROI<ZBW8>* u, unsigned k) {             \
      Name(t, u, passes, km::BorderByte(first, k), km::BorderByte(second, k));                                 \
    });                                                                                                        \
  }
KELMIRA_MORPHO_COLOUR_COMPOUND(LumOpen, "LumOpen ( C24)")
KELMIRA_MORPHO_COLOUR_COMPOUND(LumClose, "LumClose ( C24)")
KELMIRA_MORPHO_COLOUR_COMPOUND(LumWhiteTopHat, "LumWhiteTopHat ( C24)")
KELMIRA_MORPHO_COLOUR_COMPOUND(LumBlackTopHat, "LumBlackTopHat ( C24)")
#undef KELMIRA_MORPHO_COLOUR_COMPOUND
