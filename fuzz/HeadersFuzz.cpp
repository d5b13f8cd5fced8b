#include "fuzz/MessageProperties.h"

int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    MessageProperties::Check(Fuzz::Input(data, size));
    return 0;
}
