// Kelmira: image operators for machine vision. Include this header and nothing else.
#ifndef KELMIRA_KELMIRA_H
#define KELMIRA_KELMIRA_H

#include "kelmira/foundation.h"
#include "kelmira/vectors.h"
#include "kelmira/pixelwise.h"
#include "kelmira/filters.h"
#include "kelmira/morphology.h"
#include "kelmira/thresholds.h"
#include "kelmira/geometry.h"
#include "kelmira/measure.h"

#endif  // KELMIRA_KELMIRA_H
