#include "fuzz/XmlTreeProperties.h"

int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    XmlTreeProperties::Check(Fuzz::Input(data, size));
    return 0;
}
