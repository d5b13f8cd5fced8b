// The XML reader: in any cutting the same events, and those of the rules written down plainly.
#include "fuzz/Fuzz.h"
#include "tests/xml/EventLog.h"
#include "tests/xml/NaiveXMLMachine.h"
#include "xml/SimpleXMLParserPL.h"

int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    Fuzz::Input input(data, size);
    Fuzz::Cutting const cutting(input);

    EventLog plain;
    NaiveXMLMachine(plain).Parse(input.Rest());

    EventLog whole;
    SimpleXMLParserPL(whole).Parse(std::string(input.Rest()));
    Fuzz::Require(whole.events == plain.events, "the events are those of the plain machine");

    EventLog cut;
    SimpleXMLParserPL parser(cut);
    cutting.Feed(input.Rest(), [&](char const* bytes, std::size_t length) {
        parser.Parse(bytes, static_cast<unsigned int>(length));
    });
    Fuzz::Require(cut.events == plain.events, "the events are the same in any cutting");
    return 0;
}
