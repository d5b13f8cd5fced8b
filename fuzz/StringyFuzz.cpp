#include "fuzz/StringyProperties.h"

void Fuzz::Check(Input input) { StringyProperties::Check(input); }
