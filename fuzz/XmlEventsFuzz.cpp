// Compares the events of the XML parser, for any chunk boundaries, with those of a simple state
// machine.

#include "fuzz/Fuzz.h"
#include "tests/support/Chunks.h"
#include "tests/xml/EventLog.h"
#include "tests/xml/NaiveXMLMachine.h"
#include "xml/SimpleXMLParserPL.h"

int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    Fuzz::Input input(data, size);
    std::vector<std::size_t> const lengths = Fuzz::TakeLengths(input);

    EventLog reference;
    NaiveXMLMachine(reference).Parse(input.Rest());

    EventLog whole;
    SimpleXMLParserPL(whole).Parse(std::string(input.Rest()));
    Require(whole.events == reference.events, "the events agree with the reference");

    EventLog cut;
    SimpleXMLParserPL parser(cut);
    SplitByLengths(input.Rest(), lengths).Feed([&](ConstData chunk) {
        parser.Parse(chunk.View().data(), static_cast<unsigned int>(chunk.Length()));
    });
    Require(cut.events == reference.events, "the events do not depend on chunk boundaries");
    return 0;
}
