// The cutting into lines, in any cutting of the stream, against a walk over the whole text.
#include "data/LineMaker.h"
#include "fuzz/Fuzz.h"
#include "fuzz/Lines.h"

// The cuts, a byte for where the stream begins, and the text.
int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    Fuzz::Input input(data, size);
    Fuzz::Cutting const cutting(input);
    unsigned long long const offset = input.Byte();

    LineCalls calls;
    LineMaker lines(calls);
    lines.Start(offset);
    cutting.Feed(input.Rest(), [&](char const* bytes, std::size_t length) {
        lines.Receive(ConstData(bytes, length));
    });
    lines.ReceiveEnd();
    Fuzz::Require(calls.all == PlainCalls(PlainLines(input.Rest(), offset)),
                  "lines and breaks are where a walk over the text finds them");
    return 0;
}
