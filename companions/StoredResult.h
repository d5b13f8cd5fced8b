// Reads results that `compliance-query --json` or `--ndjson` wrote to a file.
#pragma once

#include <array>
#include <ctime>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include <sys/types.h>

#include "companions/Rows.h"

// The exact bytes of the fields (not the readable text), in the order of rowFieldNames.
using StoredRow = std::array<std::string, rowFieldNames.size()>;

// A point in time as text of the document, and as a number.
struct StoredTime {
    std::string text = {};
    timespec time = {};

    bool operator==(StoredTime const& other) const { return text == other.text; }
};

// Where and when a result was made. Texts are exact bytes.
struct StoredProvenance {
    // Both nullopt for the default document (-d).
    std::optional<std::string> url = {};
    std::optional<std::string> document = {};
    std::string host = {};
    StoredTime start = {};
    StoredTime end = {};
    // The agent's response existed before its request, or the document of a finished evaluation
    // does not state whether it did.
    bool stale = false;
    // The modification time of the agent's program; nullopt if it could not be examined.
    std::optional<StoredTime> agentModified = {};

    bool operator==(StoredProvenance const&) const = default;
};

// Returns the name in lower case. Host names are case-insensitive, for ASCII letters only
// (RFC 4343).
std::string FoldHostName(std::string name);

// Identifies a version of a file's content. Differs after a replacement, and after a write unless
// that leaves the size and the modification time unchanged.
struct FileState {
    dev_t device = 0;
    ino_t inode = 0;
    off_t size = 0;
    timespec modified = {};

    bool operator==(FileState const& other) const;
};

// Returns the current state. Throws StoredResultError if stat(2) fails.
FileState StateOfFile(std::string const& path);

// A document without its rows.
struct StoredResult {
    // False: the evaluation failed. The next three members are set only then.
    bool finished = false;
    int exitStatus = 0;
    // The exit status as a word (QueryExitFacts); empty if the document has no "failure".
    std::string failure = {};
    std::string message = {};
    std::size_t rowCount = 0;
    // A hash of all rows in their order. Comparable only within one run of the program.
    std::size_t rowDigest = 0;
    // The state of the file when it was opened.
    FileState state = {};
    // nullopt if the document has no "provenance" with a "host".
    std::optional<StoredProvenance> provenance = {};
};

// A file that is not a result or cannot be read. what() is "FILE:LINE:COLUMN: EXPECTATION" with the
// position of the next byte to be read, or "FILE: REASON" if the cause has no position. May contain
// arbitrary bytes of the path and of the document; WriteMessage (Output.h) escapes them.
class StoredResultError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// The maximum size of a file.
constexpr std::size_t maxStoredBytes = std::size_t{256} << 20;
// The maximum size of one JSON string with its escapes, of a number, or of whitespace. Checked once
// for each chunk that is read, so it may be exceeded by the size of a chunk.
constexpr std::size_t maxStoredTextBytes = std::size_t{1} << 20;
// The maximum size of a text of the provenance or of a failure, and of its base64 form. Callers
// keep these texts in memory.
constexpr std::size_t maxStoredFactBytes = 4096;
// The maximum nesting depth of JSON objects and arrays.
constexpr std::size_t maxStoredDepth = 16;

// The types of files that are accepted: all except directories, or regular files only.
enum class StoredKind { any, regularFile };

// Returns the hash of a sequence of texts, given the hash of the sequence without the last one.
std::size_t MixHash(std::size_t hash, std::string_view text);

// Reads a result and calls `useRow` for each row, in their order. Reads the file in chunks, so
// memory does not depend on the number of rows. Skips unknown members, which later versions of the
// schema may add.
//
// Throws StoredResultError, possibly after the last row; the caller must then discard the rows. The
// reasons include a wrong "rowCount" and a repeated known member.
StoredResult ReadStoredResult(std::string const& path, StoredKind kind,
                              std::function<void(StoredRow&&)> const& useRow);
