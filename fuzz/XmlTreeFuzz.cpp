#include "fuzz/XmlTreeProperties.h"

void Fuzz::Check(Input input) { XmlTreeProperties::Check(input); }
