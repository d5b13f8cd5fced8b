#include "fuzz/ChecksumProperties.h"

void Fuzz::Check(Input input) { ChecksumProperties::Check(input); }
