#include "companions/Diff.h"

#include <string_view>

#include <nlohmann/json.hpp>

#include "companions/Color.h"
#include "companions/JsonText.h"
#include "companions/Output.h"
#include "companions/VisibleText.h"

namespace {

using Json = nlohmann::ordered_json;

// Writes lines of text, with or without colour.
class DiffText {
public:
    DiffText(bool useColor, Output& theOutput) : colored(useColor), output(theOutput) {}

    void WriteHead(char const* mark, DiffSide const& side) {
        std::string line = std::string(mark) + " " + side.file + ": ";
        if (std::optional<StoredProvenance> const& known = side.result.provenance)
            line += "host " + known->host + ", document " +
                    known->document.value_or("(the default)") + ", " + known->start.text;
        else
            line += "host, document and time are unknown";
        WriteLine("", line);
    }

    void WriteRow(std::string_view color, char const* mark, StoredRow const& row) {
        WriteLine(color,
                  std::string(mark) + " " + row[designatorField] + " (" + row[resultField] + ")");
    }

    void WriteChange(StoredRow const& oldRow, StoredRow const& newRow) {
        WriteLine(yellow, "~ " + newRow[designatorField]);
        for (std::size_t const field : comparedFields)
            if (oldRow[field] != newRow[field])
                WriteLine("", std::string("    ") + rowFieldNames[field] + ": '" + oldRow[field] +
                                  "' -> '" + newRow[field] + "'");
    }

    void WriteLine(std::string_view color, std::string const& text) {
        std::string const visible = MakeVisible(text, output.Characters());
        bool const isColored = colored && !color.empty();
        output.Write(isColored ? std::string(color) + visible + std::string(noColor) + "\n"
                               : visible + "\n");
    }

private:
    bool const colored;
    Output& output;
};

// The member "provenance" is null if the result has none.
Json MakeSide(DiffSide const& side) {
    Json object = Json::object();
    AddText(object, "file", side.file);
    object["rowCount"] = side.rows.size();
    object["provenance"] = nullptr;
    if (std::optional<StoredProvenance> const& known = side.result.provenance) {
        Json provenance = Json::object();
        AddText(provenance, "host", known->host);
        AddTextOrNull(provenance, "url", known->url);
        AddTextOrNull(provenance, "document", known->document);
        provenance["start"] = known->start.text;
        provenance["end"] = known->end.text;
        provenance["stale"] = known->stale;
        object["provenance"] = provenance;
    }
    return object;
}

Json MakeRow(StoredRow const& row) {
    Json object = Json::object();
    for (std::size_t field = 0; field < row.size(); ++field)
        AddText(object, rowFieldNames[field], row[field]);
    return object;
}

Json MakeChange(StoredRow const& oldRow, StoredRow const& newRow) {
    Json fields = Json::array();
    for (std::size_t const field : comparedFields)
        if (oldRow[field] != newRow[field])
            fields.push_back(rowFieldNames[field]);
    return {{"fields", fields}, {"old", MakeRow(oldRow)}, {"new", MakeRow(newRow)}};
}

Json MakeTexts(std::vector<std::string> const& texts) {
    Json array = Json::array();
    for (std::string const& text : texts)
        array.push_back(MakeReadable(text));
    return array;
}

Json MakeEqualDesignators(Difference const& difference) {
    Json array = Json::array();
    for (EqualDesignators const& equal : difference.equalDesignators) {
        Json object = Json::object();
        AddText(object, "designator", equal.designator);
        object["oldCount"] = equal.oldCount;
        object["newCount"] = equal.newCount;
        array.push_back(object);
    }
    return array;
}

// Writes `,"NAME":[...]` with a line for each element. Holds only one element in memory.
template <typename Elements, typename Make>
void WriteArray(char const* name, Elements const& elements, Make const& make, Output& output) {
    output.Write(std::string(",\n\"") + name + "\":[");
    char const* separator = "\n";
    for (auto const& element : elements) {
        output.Write(separator + make(element).dump(-1, ' ', output.IsTerminal()));
        separator = ",\n";
    }
    output.Write("]");
}

} // namespace

void WriteDiffText(Difference const& difference, DiffSide const& oldSide, DiffSide const& newSide,
                   bool useColor, Output& output) {
    if (difference.IsEmpty())
        return;
    DiffText text(useColor, output);
    text.WriteHead("---", oldSide);
    text.WriteHead("+++", newSide);
    for (std::size_t const row : difference.removed)
        text.WriteRow(red, "-", oldSide.rows[row]);
    for (std::size_t const row : difference.added)
        text.WriteRow(green, "+", newSide.rows[row]);
    for (auto const& [oldRow, newRow] : difference.changed)
        text.WriteChange(oldSide.rows[oldRow], newSide.rows[newRow]);
}

void WriteDiffJson(Difference const& difference, DiffSide const& oldSide, DiffSide const& newSide,
                   std::vector<std::string> const& goodResults, Output& output) {
    bool const isEqual = difference.IsEmpty();
    Json const head = {{"schemaVersion", diffSchemaVersion},
                       {"equal", isEqual},
                       {"old", MakeSide(oldSide)},
                       {"new", MakeSide(newSide)},
                       {"regressions", goodResults.empty() ? Json() : MakeTexts(goodResults)},
                       {"notes", MakeTexts(DescribeSides(difference, oldSide, newSide))},
                       {"equalDesignators", MakeEqualDesignators(difference)}};
    std::string text = head.dump(-1, ' ', output.IsTerminal());
    text.pop_back();
    output.Write(text);
    auto const oldRow = [&](std::size_t row) {
        return MakeRow(oldSide.rows[row]);
    };
    auto const newRow = [&](std::size_t row) {
        return MakeRow(newSide.rows[row]);
    };
    WriteArray("removed", difference.removed, oldRow, output);
    WriteArray("added", difference.added, newRow, output);
    auto const change = [&](auto const& rows) {
        return MakeChange(oldSide.rows[rows.first], newSide.rows[rows.second]);
    };
    WriteArray("changed", difference.changed, change, output);
    output.Write("}\n");
}
