// Writing XML to memory, from nothing to the whole text: XMLWriterPL through LineFlattener into a
// string, beside libxml2's text writer, tinyxml2's printer and pugixml.
#include <string>

#include "bench/Bench.h"
#include "bench/Writers.h"

namespace {

using Rows = std::vector<Inputs::Row>;
using Texts = std::vector<std::string>;

template <class Writer>
std::size_t RowsSize(Rows const& rows) {
    Writer writer;
    WriteRows(writer, rows);
    return writer.Finish().size();
}

template <class Writer>
std::string RowsText(Rows const& rows) {
    Writer writer;
    WriteRows(writer, rows);
    return std::string(writer.Finish());
}

template <class Writer>
std::size_t TextsSize(Texts const& texts) {
    Writer writer;
    WriteTexts(writer, texts);
    return writer.Finish().size();
}

template <class Writer>
std::string TextsText(Texts const& texts) {
    Writer writer;
    WriteTexts(writer, texts);
    return std::string(writer.Finish());
}

void AddRows(std::string const& name, std::function<Rows const&()> rows) {
    Operation<Rows> operation("XmlWriter/" + name, rows, RowsSize<OurWriter>);
    operation.Add("ours", RowsSize<OurWriter>, RowsText<OurWriter>);
#ifdef PEER_LIBXML2
    operation.Add("libxml2", RowsSize<Libxml2Writer>, RowsText<Libxml2Writer>);
#endif
#ifdef PEER_PUGIXML
    operation.Add("pugixml", RowsSize<PugixmlWriter>, RowsText<PugixmlWriter>);
#endif
#ifdef PEER_TINYXML2
    operation.Add("tinyxml2", RowsSize<Tinyxml2Writer>, RowsText<Tinyxml2Writer>);
#endif
}

void AddTexts(std::string const& name, std::function<Texts const&()> texts) {
    Operation<Texts> operation("XmlWriter/" + name, texts, TextsSize<OurWriter>);
    operation.Add("ours", TextsSize<OurWriter>, TextsText<OurWriter>);
#ifdef PEER_LIBXML2
    operation.Add("libxml2", TextsSize<Libxml2Writer>, TextsText<Libxml2Writer>);
#endif
#ifdef PEER_PUGIXML
    operation.Add("pugixml", TextsSize<PugixmlWriter>, TextsText<PugixmlWriter>);
#endif
#ifdef PEER_TINYXML2
    operation.Add("tinyxml2", TextsSize<Tinyxml2Writer>, TextsText<Tinyxml2Writer>);
#endif
}

} // namespace

void RegisterOperations() {
    for (std::size_t rows : {1, 1000, 100000})
        AddRows(
            "rows-" + std::to_string(rows), [rows]() -> auto& { return Inputs::Rows(rows); });
    AddRows(
        "escapes", []() -> auto& { return Inputs::Rows(1000, Inputs::Escapes::Many); });
    AddTexts("long-texts", Inputs::LongTexts);
}
