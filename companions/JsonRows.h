// Rows, and failures, as JSON (RFC 8259). The schema is schema/compliance-query.schema.json.
#pragma once

#include <optional>
#include <string>
#include <string_view>

class Output;
struct Rows;

// The schema's version. A member may be added within a version; nothing else changes.
constexpr int jsonSchemaVersion = 1;

struct JsonFailure {
    int exitStatus = 0;
    // The negative code of the interface, if it is one.
    std::optional<int> code = {};
    // The number that the agent reports, if it is the agent's error.
    std::optional<int> agentError = {};
    std::string message = {};
};

// One object with all rows, a row on each line. The rows are written one by one. On a terminal all
// characters but the printable ones of ASCII are escaped by their code ("\u001b"), because a
// terminal may interpret them.
//
// A member has the text of its field. If that is not UTF-8, the member has the readable text
// (VisibleText.h) and a second member, whose name ends with "Base64", has the exact bytes.
void WriteJson(Rows const& rows, Output& output);

// The object that is written instead if there are no rows.
void WriteJson(JsonFailure const& failure, Output& output);

// Each row as an object of its own, on a line of its own.
void WriteNdjson(Rows const& rows, Output& output);

// Encodes bytes as base64 with padding (RFC 4648, section 4), without line breaks.
std::string EncodeBase64(std::string_view bytes);
