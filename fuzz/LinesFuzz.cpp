#include "fuzz/Lines.h"

// The lengths of the chunks, a byte for where the stream begins, and the text.
int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    Fuzz::Input input(data, size);
    std::vector<std::size_t> const lengths = Fuzz::TakeLengths(input);
    unsigned long long const offset = input.Byte();
    CompareLines(SplitByLengths(input.Rest(), lengths), input.Rest(), offset);
    return 0;
}
