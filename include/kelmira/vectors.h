// Kelmira vectors operators.
#ifndef KELMIRA_VECTORS_H
#define KELMIRA_VECTORS_H

#include "kelmira/foundation.h"

#endif  // KELMIRA_VECTORS_H
