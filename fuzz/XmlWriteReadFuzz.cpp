#include "fuzz/XmlWriteReadProperties.h"

void Fuzz::Check(Input input) { XmlWriteReadProperties::Check(input); }
