#include "fuzz/CaseProperties.h"

void Fuzz::Check(Input input) { CaseProperties::Check(input); }
