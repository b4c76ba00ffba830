// Kelmira pixel-wise operators: arithmetic and logic (LumOper, LumCopy), point transforms
// (LumLut, LumTransform, LumGainOffset) and pixel format conversion (LumConvert).
#ifndef KELMIRA_PIXELWISE_H
#define KELMIRA_PIXELWISE_H

#include "kelmira/foundation.h"
#include "kelmira/pixelwise/oper.h"
#include "kelmira/pixelwise/point.h"
#include "kelmira/pixelwise/convert.h"

#endif  // KELMIRA_PIXELWISE_H
