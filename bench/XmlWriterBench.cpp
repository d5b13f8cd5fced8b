// Writing XML into memory: XMLWriterPL with LineFlattener and StringReceiver, compared with the
// text writer of libxml2, the printer of tinyxml2, and pugixml.
#include <string>

#include "bench/Bench.h"
#include "bench/Writers.h"

namespace {

using Rows = std::vector<Inputs::Row>;
using Texts = std::vector<std::string>;

void WriteInput(auto& writer, Rows const& rows) { WriteRows(writer, rows); }
void WriteInput(auto& writer, Texts const& texts) { WriteTexts(writer, texts); }

template <class Writer, class Input>
std::size_t Size(Input const& input) {
    Writer writer;
    WriteInput(writer, input);
    return writer.Finish().size();
}

template <class Writer, class Input>
std::string Text(Input const& input) {
    Writer writer;
    WriteInput(writer, input);
    return std::string(writer.Finish());
}

template <class Input>
void AddOperation(std::string const& name, std::function<Input const&()> input) {
    Operation<Input> operation("XmlWriter/" + name, input, Size<OurWriter, Input>);
    operation.Add("ours", Size<OurWriter, Input>, Text<OurWriter, Input>);
#ifdef HAVE_LIBXML2
    operation.Add("libxml2", Size<Libxml2Writer, Input>, Text<Libxml2Writer, Input>);
#endif
#ifdef HAVE_PUGIXML
    operation.Add("pugixml", Size<PugixmlWriter, Input>, Text<PugixmlWriter, Input>);
#endif
#ifdef HAVE_TINYXML2
    operation.Add("tinyxml2", Size<Tinyxml2Writer, Input>, Text<Tinyxml2Writer, Input>);
#endif
}

} // namespace

void RegisterOperations() {
    for (std::size_t rows : {1, 1000, 100000})
        AddOperation<Rows>(
            "rows-" + std::to_string(rows), [rows]() -> auto& { return Inputs::Rows(rows); });
    AddOperation<Rows>(
        "escapes", []() -> auto& { return Inputs::Rows(1000, Inputs::Escapes::Many); });
    AddOperation<Texts>("long-texts", Inputs::LongTexts);
}
