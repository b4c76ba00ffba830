// Kelmira pixel-wise operators: oper family. Included by kelmira/pixelwise.h.
#ifndef KELMIRA_PIXELWISE_OPER_H
#define KELMIRA_PIXELWISE_OPER_H

#include "kelmira/foundation.h"

#endif  // KELMIRA_PIXELWISE_OPER_H
