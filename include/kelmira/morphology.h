// Kelmira morphology operators.
#ifndef KELMIRA_MORPHOLOGY_H
#define KELMIRA_MORPHOLOGY_H

#include "kelmira/foundation.h"

#endif  // KELMIRA_MORPHOLOGY_H
