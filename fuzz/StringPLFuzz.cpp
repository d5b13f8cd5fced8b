#include "fuzz/StringPLProperties.h"

int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    StringPLProperties::Check(Fuzz::Input(data, size));
    return 0;
}
