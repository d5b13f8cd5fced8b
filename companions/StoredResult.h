// Results that `compliance-query --json` or `--ndjson` wrote to a file.
#pragma once

#include <array>
#include <ctime>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>

#include "companions/Rows.h"

// The exact bytes of the fields, in the order of rowFieldNames.
using StoredRow = std::array<std::string, rowFieldNames.size()>;

// A point in time as the document has it, and as a number.
struct StoredTime {
    std::string text = {};
    timespec time = {};

    bool operator==(StoredTime const& other) const { return text == other.text; }
};

// Where and when a result was made. Texts are exact bytes.
struct StoredProvenance {
    // Nothing for a request by default.
    std::optional<std::string> url = {};
    std::optional<std::string> document = {};
    std::string host = {};
    StoredTime start = {};
    StoredTime end = {};
    // The agent's answer was there before its request.
    bool stale = false;
    // Of the agent's program; nothing if it was missing.
    std::optional<StoredTime> agentModified = {};

    bool operator==(StoredProvenance const&) const = default;
};

// A document without its rows.
struct StoredResult {
    // Whether the evaluation finished. The three members below are those of a failed one.
    bool finished = false;
    int exitStatus = 0;
    // The exit status as a word (QueryExitFacts); empty in a document of version 1.
    std::string failure = {};
    std::string message = {};
    // How many rows there are.
    std::size_t rowCount = 0;
    // Nothing in a document of version 1.
    std::optional<StoredProvenance> provenance = {};
};

// A file that is no such document, or cannot be read. One line: "FILE:LINE:COLUMN: EXPECTATION", or
// "FILE: REASON" where no place in the file is the cause. The place is that of the next byte to be
// read.
class StoredResultError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

constexpr std::size_t maxStoredBytes = std::size_t{256} << 20;
constexpr std::size_t maxStoredDepth = 16;

// Which entries are read: any but directories, or regular files only.
enum class StoredKind { any, regularFile };

// Reads the file in chunks and calls `useRow` for each row in its order. A caller that gets an
// exception discards those rows. Members that are unknown are skipped, as readers of a version do.
//
// Throws StoredResultError, also if the document has another number of rows than it says.
StoredResult ReadStoredResult(std::string const& path, StoredKind kind,
                              std::function<void(StoredRow&&)> const& useRow);
