// Lines of a stream, for any split of the stream, against a walk over the whole text.
#include <cstddef>
#include <vector>

#include "data/LineMaker.h"
#include "fuzz/Fuzz.h"
#include "fuzz/Lines.h"
#include "tests/support/Chunks.h"

// The cuts, a byte for where the stream begins, and the text.
int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    Fuzz::Input input(data, size);
    std::vector<std::size_t> const lengths = Fuzz::TakeLengths(input);
    unsigned long long const offset = input.Byte();

    LineCalls calls;
    LineMaker lines(calls);
    lines.Start(offset);
    SplitByLengths(input.Rest(), lengths).Feed([&](ConstData chunk) { lines.Receive(chunk); });
    lines.ReceiveEnd();
    Fuzz::Require(calls.all == PlainCalls(PlainLines(input.Rest(), offset)),
                  "lines and breaks are where a walk over the text finds them");
    return 0;
}
