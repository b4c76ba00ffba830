// Kelmira measure operators.
#ifndef KELMIRA_MEASURE_H
#define KELMIRA_MEASURE_H

#include "kelmira/foundation.h"

#endif  // KELMIRA_MEASURE_H
