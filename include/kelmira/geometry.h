// Kelmira geometry operators.
#ifndef KELMIRA_GEOMETRY_H
#define KELMIRA_GEOMETRY_H

#include "kelmira/foundation.h"
#include "kelmira/geometry/affine.h"

#endif  // KELMIRA_GEOMETRY_H
