// Kelmira measure operators.
#ifndef KELMIRA_MEASURE_H
#define KELMIRA_MEASURE_H

#include "kelmira/foundation.h"
#include "kelmira/measure/moments.h"
#include "kelmira/measure/statistics.h"

#endif  // KELMIRA_MEASURE_H
