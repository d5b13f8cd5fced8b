#include "fuzz/CaseProperties.h"

int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    CaseProperties::Check(Fuzz::Input(data, size));
    return 0;
}
