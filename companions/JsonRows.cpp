#include "companions/JsonRows.h"

#include <algorithm>

#include <nlohmann/json.hpp>

#include "companions/JsonText.h"
#include "companions/Output.h"
#include "companions/Rows.h"
#include "companions/Timestamp.h"
#include "compliance/AgentPaths.h"

namespace {

using Json = nlohmann::ordered_json;

std::optional<std::string_view> Optional(char const* text) {
    return text == nullptr ? std::nullopt : std::optional<std::string_view>(text);
}

std::string Dump(Json const& value, Output const& output) {
    constexpr int onOneLine = -1;
    bool const asAscii = output.IsTerminal();
    return value.dump(onOneLine, ' ', asAscii);
}

// True if the text is printable ASCII and needs no escapes in a JSON string.
bool IsPlainInJson(std::string_view text) {
    return std::ranges::all_of(
        text, [](char c) { return c >= ' ' && c <= '~' && c != '"' && c != '\\'; });
}

// Appends `"name":"text"`. Text without escapes is appended directly, because constructing a Json
// object would dominate the time.
void AppendMember(std::string& object, char const* name, std::string_view text,
                  Output const& output) {
    if (IsPlainInJson(text)) {
        object.append("\"").append(name).append("\":\"").append(text).append("\"");
        return;
    }
    Json member = Json::object();
    AddText(member, name, text);
    std::string const braced = Dump(member, output);
    object.append(braced, 1, braced.size() - 2);
}

void WriteRow(Row const& row, Output& output) {
    std::string object;
    for (std::size_t field = 0; field < row.size(); ++field) {
        object += field == 0 ? '{' : ',';
        AppendMember(object, rowFieldNames[field], row[field], output);
    }
    object += '}';
    output.Write(object);
}

Json MakeResponse(Provenance const& provenance) {
    ResponseState const& response = provenance.response;
    if (!response.exists)
        return nullptr;
    return {{"inode", response.inode},
            {"modified", FormatTimestamp(response.modified)},
            {"fresh", !provenance.stale}};
}

Json MakeAgent(Provenance const& provenance) {
    Json agent = {{"path", AgentPaths::program}, {"modified", nullptr}};
    if (provenance.agentModified)
        agent["modified"] = FormatTimestamp(*provenance.agentModified);
    return agent;
}

Json MakeProvenance(Provenance const& provenance) {
    Json object = {{"schemaVersion", jsonSchemaVersion}, {"programVersion", CC_VERSION}};
    AddTextOrNull(object, "url", Optional(provenance.url));
    AddTextOrNull(object, "document", Optional(provenance.document));
    object["flags"] = provenance.flags;
    AddText(object, "host", provenance.host);
    object["userId"] = provenance.userId;
    object["start"] = FormatTimestamp(provenance.start);
    object["end"] = FormatTimestamp(provenance.end);
    object["durationSeconds"] = static_cast<double>(provenance.duration.count()) / 1000;
    object["response"] = MakeResponse(provenance);
    object["agent"] = MakeAgent(provenance);
    return object;
}

// Returns the members that precede the rows in both formats.
Json MakeHead(Rows const& rows, Provenance const& provenance) {
    Json head = {
        {"schemaVersion", jsonReaderVersion}, {"outcome", "finished"}, {"rowCount", rows.count}};
    head["provenance"] = MakeProvenance(provenance);
    head["provenance"]["results"] = MakeCounts(CountResults(rows));
    return head;
}

} // namespace

void WriteJson(Rows const& rows, Provenance const& provenance, Output& output) {
    std::string text = Dump(MakeHead(rows, provenance), output);
    text.back() = ',';
    output.Write(text);
    output.Write("\"rows\":[");
    for (unsigned int index = 0; index < rows.count; ++index) {
        output.Write(index == 0 ? "\n" : ",\n");
        WriteRow(rows.get(index), output);
    }
    output.Write("]}\n");
}

void WriteNdjson(Rows const& rows, Provenance const& provenance, Output& output) {
    output.Write(Dump(MakeHead(rows, provenance), output) + "\n");
    for (unsigned int index = 0; index < rows.count; ++index) {
        WriteRow(rows.get(index), output);
        output.Write("\n");
    }
}

void WriteFailure(JsonFailure const& failure, Provenance const& provenance, Output& output) {
    Json object = {{"schemaVersion", jsonReaderVersion},
                   {"outcome", "failed"},
                   {"exitStatus", failure.exitStatus},
                   {"failure", failure.word}};
    if (failure.code)
        object["code"] = *failure.code;
    if (failure.agentError)
        object["agentError"] = *failure.agentError;
    AddText(object, "message", failure.message);
    object["provenance"] = MakeProvenance(provenance);
    output.Write(Dump(object, output) + "\n");
}
