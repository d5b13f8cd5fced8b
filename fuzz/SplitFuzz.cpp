#include "fuzz/SplitProperties.h"

int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    SplitProperties::Check(Fuzz::Input(data, size));
    return 0;
}
