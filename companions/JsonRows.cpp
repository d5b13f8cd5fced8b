#include "companions/JsonRows.h"

#include <algorithm>
#include <cstdint>

#include <nlohmann/json.hpp>

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

constexpr char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// Appends the four characters for one to three bytes.
void AppendGroup(std::string& text, std::string_view group) {
    std::uint32_t bits = 0;
    for (std::size_t index = 0; index < 3; ++index)
        bits = bits << 8 | (index < group.size() ? static_cast<unsigned char>(group[index]) : 0U);
    for (std::size_t index = 0; index < 4; ++index)
        text += index <= group.size() ? alphabet[bits >> (18 - 6 * index) & 63] : '=';
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

std::string EncodeBase64(std::string_view bytes) {
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (; !bytes.empty(); bytes.remove_prefix(std::min<std::size_t>(3, bytes.size())))
        AppendGroup(text, bytes.substr(0, 3));
    return text;
}
