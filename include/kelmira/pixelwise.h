// Kelmira pixelwise operators.
#ifndef KELMIRA_PIXELWISE_H
#define KELMIRA_PIXELWISE_H

#include "kelmira/foundation.h"

#endif  // KELMIRA_PIXELWISE_H
