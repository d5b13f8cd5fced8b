#include "fuzz/StringyProperties.h"

int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    StringyProperties::Check(Fuzz::Input(data, size));
    return 0;
}
