// Rows, and failures, as JSON (RFC 8259). The schema is schema/compliance-query.schema.json.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "companions/Provenance.h"

class Output;
struct Rows;

// The version that a reader needs to know, and the version of all members. A member may be added
// without a new version that a reader needs to know.
constexpr int jsonReaderVersion = 1;
constexpr int jsonSchemaVersion = 2;

struct JsonFailure {
    int exitStatus = 0;
    // Of the exit status (QueryExitFacts).
    std::string_view word = {};
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
void WriteJson(Rows const& rows, Provenance const& provenance, Output& output);

// A line with the members of WriteJson except the rows, then each row as an object on a line of its
// own.
void WriteNdjson(Rows const& rows, Provenance const& provenance, Output& output);

// The object that is written instead if there are no rows, on one line.
void WriteFailure(JsonFailure const& failure, Provenance const& provenance, Output& output);
