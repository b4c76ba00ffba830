// Kelmira pixel-wise operators: point family. Included by kelmira/pixelwise.h.
#ifndef KELMIRA_PIXELWISE_POINT_H
#define KELMIRA_PIXELWISE_POINT_H

#include "kelmira/foundation.h"

#endif  // KELMIRA_PIXELWISE_POINT_H
