// A processor that lacks something, for the tests of what is done without it.
#pragma once

#include <new>

#include "data/ProcessorFeatures.h"

// From now on this process, which is a test's own, finds that feature missing.
inline void TakeAway(ProcessorFeatures::Feature& feature) {
    new (&feature) ProcessorFeatures::Feature([] { return false; });
}
