// Writes rows and failures as JSON (RFC 8259). schema/compliance-query.schema.json specifies the
// documents.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "companions/Provenance.h"

class Output;
struct Rows;

// The members "schemaVersion" of the document and of its provenance. The latter is the version of
// the schema file, and the only one that new members change.
constexpr int jsonReaderVersion = 1;
constexpr int jsonSchemaVersion = 2;

struct JsonFailure {
    int exitStatus = 0;
    // The exit status as a word (QueryExitFacts).
    std::string_view word = {};
    // The error code of the C API, if the evaluation failed with one.
    std::optional<int> code = {};
    // The error number of the agent, if the evaluation failed with one.
    std::optional<int> agentError = {};
    std::string message = {};
};

// Writes one object with all rows, each on a line of its own, row by row. On a terminal, all
// characters except printable ASCII are escaped ("\u009b"), because the terminal may interpret
// them.
//
// If a text is not UTF-8, its member has readable text (MakeReadable of VisibleText.h). A second
// member, whose name ends with "Base64", has the exact bytes.
void WriteJson(Rows const& rows, Provenance const& provenance, Output& output);

// Writes a line with the members of WriteJson except the rows, then one line for each row.
void WriteNdjson(Rows const& rows, Provenance const& provenance, Output& output);

// Writes the object for a failed evaluation, on one line.
void WriteFailure(JsonFailure const& failure, Provenance const& provenance, Output& output);
