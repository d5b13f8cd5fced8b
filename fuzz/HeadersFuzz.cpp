#include "fuzz/MessageProperties.h"

void Fuzz::Check(Input input) { MessageProperties::Check(input); }
