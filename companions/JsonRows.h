// Rows, and failures, as JSON (RFC 8259). The schema is schema/compliance-query.schema.json.
#pragma once

#include <optional>
#include <string>

class Output;
struct Rows;

// The schema's version. A member may be added within a version; nothing else changes.
constexpr int jsonSchemaVersion = 1;

struct JsonFailure {
    int exitStatus = 0;
    // The negative code of the interface, if it is one.
    std::optional<int> code = {};
    // What the agent has put there, if it is the agent's error.
    std::optional<int> agentError = {};
    std::string message = {};
};

// One object with all rows, a row on each line. The rows are written one by one. On a terminal all
// but the plain characters of ASCII stand escaped by their code ("\u001b"), so that nothing can
// play with it.
//
// A member has the text of its field. If that is no UTF-8, the member has the readable text
// (VisibleText.h) and a second member, with "Base64" behind its name, has the exact bytes.
void WriteJson(Rows const& rows, Output& output);

// The object that stands in its place when there are no rows.
void WriteJson(JsonFailure const& failure, Output& output);

// Each row as an object of its own, on a line of its own.
void WriteNdjson(Rows const& rows, Output& output);
