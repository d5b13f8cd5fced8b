#include "companions/JsonRows.h"

#include <nlohmann/json.hpp>

#include "companions/Base64.h"
#include "companions/Output.h"
#include "companions/Rows.h"
#include "companions/Utf8.h"
#include "companions/VisibleText.h"

namespace {

using Json = nlohmann::ordered_json;

Json MakeObject(Row const& row) {
    Json object = Json::object();
    for (std::size_t field = 0; field < row.size(); ++field) {
        std::string const name = rowFieldNames[field];
        bool const exact = IsUtf8(row[field]);
        object[name] = exact ? std::string(row[field]) : MakeReadable(row[field]);
        if (!exact)
            object[name + "Base64"] = EncodeBase64(row[field]);
    }
    return object;
}

void WriteRow(Row const& row, Output& output) {
    constexpr int onOneLine = -1;
    bool const asAscii = output.IsTerminal();
    output.Write(MakeObject(row).dump(onOneLine, ' ', asAscii));
}

} // namespace

void WriteJson(Rows const& rows, Output& output) {
    Json head = {
        {"schemaVersion", jsonSchemaVersion}, {"outcome", "finished"}, {"rowCount", rows.count}};
    std::string text = head.dump();
    text.back() = ',';
    output.Write(text);
    output.Write("\"rows\":[");
    for (unsigned int index = 0; index < rows.count; ++index) {
        output.Write(index == 0 ? "\n" : ",\n");
        WriteRow(rows.get(index), output);
    }
    output.Write("]}\n");
}

void WriteJson(JsonFailure const& failure, Output& output) {
    Json object = {{"schemaVersion", jsonSchemaVersion},
                   {"outcome", "failed"},
                   {"exitStatus", failure.exitStatus}};
    if (failure.code)
        object["code"] = *failure.code;
    if (failure.agentError)
        object["agentError"] = *failure.agentError;
    object["message"] = failure.message;
    output.Write(object.dump());
    output.Write("\n");
}

void WriteNdjson(Rows const& rows, Output& output) {
    for (unsigned int index = 0; index < rows.count; ++index) {
        WriteRow(rows.get(index), output);
        output.Write("\n");
    }
}
