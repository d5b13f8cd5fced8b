#include "fuzz/Fuzz.h"

int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    Fuzz::Check(Fuzz::Input(data, size));
    return 0;
}
