// Kelmira pixel-wise operators: convert family. Included by kelmira/pixelwise.h.
#ifndef KELMIRA_PIXELWISE_CONVERT_H
#define KELMIRA_PIXELWISE_CONVERT_H

#include "kelmira/foundation.h"

#endif  // KELMIRA_PIXELWISE_CONVERT_H
