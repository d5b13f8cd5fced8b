#include "fuzz/StringPLProperties.h"

void Fuzz::Check(Input input) { StringPLProperties::Check(input); }
