// Kelmira thresholds operators.
#ifndef KELMIRA_THRESHOLDS_H
#define KELMIRA_THRESHOLDS_H

#include "kelmira/foundation.h"
#include "kelmira/thresholds/histogram.h"
#include "kelmira/thresholds/selection.h"

#endif  // KELMIRA_THRESHOLDS_H
