#include "fuzz/LocalEncodingProperties.h"

void Fuzz::Check(Input input) { LocalEncodingProperties::Check(input); }
