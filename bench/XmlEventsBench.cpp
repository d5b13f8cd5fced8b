// Parsing XML into events: SimpleXMLParserPL, compared with the push parsers of expat and libxml2
// (SAX2).
#include <string>

#include "bench/Bench.h"
#include "bench/EventReaders.h"
#include "bench/Inputs.h"
#include "bench/ResponseDocuments.h"

namespace {

// The timed work only counts events, so the time is that of the parser.
template <class Reader>
std::size_t Count(std::string const& document) {
    EventCounter counter;
    Reader::Read(document, counter);
    return counter.Sum();
}

template <class Reader>
std::string Log(std::string const& document) {
    EventLog log;
    Reader::Read(document, log);
    return log.Text();
}

void AddOperation(std::string const& name, std::function<std::string const&()> document) {
    Operation<std::string> operation("XmlEvents/" + name, document, SizeOf);
    operation.Add("ours", Count<OurEvents>, Log<OurEvents>);
#ifdef HAVE_EXPAT
    operation.Add("expat", Count<ExpatEvents>, Log<ExpatEvents>);
#endif
#ifdef HAVE_LIBXML2
    operation.Add("libxml2", Count<Libxml2Events>, Log<Libxml2Events>);
#endif
}

} // namespace

void RegisterOperations() {
    ForEachResponseDocument(AddOperation);
    AddOperation("long-texts", Inputs::LongTextDocument);
}
