#include "fuzz/XmlWriteReadProperties.h"

int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    XmlWriteReadProperties::Check(Fuzz::Input(data, size));
    return 0;
}
