#include "fuzz/ChecksumProperties.h"

int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    ChecksumProperties::Check(Fuzz::Input(data, size));
    return 0;
}
