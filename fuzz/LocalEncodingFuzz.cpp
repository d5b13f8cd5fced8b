#include "fuzz/LocalEncodingProperties.h"

int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    LocalEncodingProperties::Check(Fuzz::Input(data, size));
    return 0;
}
