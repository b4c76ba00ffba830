// Kelmira filters operators.
#ifndef KELMIRA_FILTERS_H
#define KELMIRA_FILTERS_H

#include "kelmira/foundation.h"

#endif  // KELMIRA_FILTERS_H
