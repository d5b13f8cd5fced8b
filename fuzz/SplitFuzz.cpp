#include "fuzz/SplitProperties.h"

void Fuzz::Check(Input input) { SplitProperties::Check(input); }
