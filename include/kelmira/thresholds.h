// Kelmira thresholds operators.
#ifndef KELMIRA_THRESHOLDS_H
#define KELMIRA_THRESHOLDS_H

#include "kelmira/foundation.h"

#endif  // KELMIRA_THRESHOLDS_H
