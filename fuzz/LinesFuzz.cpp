#include "fuzz/Lines.h"

// Compares LineMaker, for any chunk boundaries, with a scan of the whole text.
//
// Input: the lengths of the chunks, a byte for the start of the stream, and the text.
int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    Fuzz::Input input(data, size);
    std::vector<std::size_t> const lengths = Fuzz::TakeLengths(input);
    unsigned long long const offset = input.Byte();
    CompareLines(SplitByLengths(input.Rest(), lengths), input.Rest(), offset);
    return 0;
}
