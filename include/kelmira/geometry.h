// Kelmira geometry operators.
#ifndef KELMIRA_GEOMETRY_H
#define KELMIRA_GEOMETRY_H

#include "kelmira/foundation.h"

#endif  // KELMIRA_GEOMETRY_H
