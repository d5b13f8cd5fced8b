// Results that `compliance-query --json` or `--ndjson` wrote to a file.
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
    // The agent's answer was there before its request, or a finished evaluation does not say
    // whether it was.
    bool stale = false;
    // Of the agent's program; nothing if it was missing.
    std::optional<StoredTime> agentModified = {};

    bool operator==(StoredProvenance const&) const = default;
};

// Which content a file has. It changes with each replacement, and with almost each write.
struct FileState {
    dev_t device = 0;
    ino_t inode = 0;
    off_t size = 0;
    // In nanoseconds; only to compare it.
    timespec modified = {};

    bool operator==(FileState const& other) const;
};

// Throws StoredResultError.
FileState StateOfFile(std::string const& path);

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
    // A hash of all rows in their order. It is equal for equal rows, in one run of the program.
    std::size_t rowDigest = 0;
    // Of the file when it was opened.
    FileState state = {};
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
// One text in JSON with its escapes. It is checked once for each chunk that is read, so a text may
// exceed it by a chunk.
constexpr std::size_t maxStoredTextBytes = std::size_t{1} << 20;
// A text of the provenance or of a failure; a reader keeps these in memory.
constexpr std::size_t maxStoredFactBytes = 4096;
constexpr std::size_t maxStoredDepth = 16;

// Which entries are read: any but directories, or regular files only.
enum class StoredKind { any, regularFile };

// Returns a hash of a sequence of texts: of those before, and this one.
std::size_t MixHash(std::size_t hash, std::string_view text);

// Reads the file in chunks and calls `useRow` for each row in its order. A caller that gets an
// exception discards those rows. Members that are unknown are skipped, as readers of a version do.
//
// Throws StoredResultError, also if the document has another number of rows than it says, and if a
// member that is read is repeated.
StoredResult ReadStoredResult(std::string const& path, StoredKind kind,
                              std::function<void(StoredRow&&)> const& useRow);
