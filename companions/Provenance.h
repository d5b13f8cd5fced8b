// Records where, when and how a result was made, for programs that collect results.
#pragma once

#include <chrono>
#include <ctime>
#include <optional>
#include <string>

#include "companions/ResponseFile.h"

struct QueryCommandLine;

struct Provenance {
    // Both null for the default document (-d).
    char const* url = nullptr;
    char const* document = nullptr;
    unsigned int flags = 0;
    std::string host = {};
    unsigned int userId = 0;
    timespec start = {};
    timespec end = {};
    // By the monotonic clock, unlike `end` - `start`.
    std::chrono::milliseconds duration{};
    // The final response, and whether it is stale (ResponseWatch).
    ResponseState response = {};
    bool stale = false;
    // The modification time of the agent's program; nullopt if it cannot be examined.
    std::optional<timespec> agentModified = {};
};

// Records an evaluation that starts when this object is constructed.
class ProvenanceRecorder {
public:
    // `url` and `document` of the provenance point into `commandLine`, which must outlive the
    // provenance.
    explicit ProvenanceRecorder(QueryCommandLine const& commandLine);

    // Returns the provenance, with the time of this call as the end. Examines the agent's program.
    Provenance Finish(ResponseState const& response, bool stale) const;

private:
    Provenance known;
    std::chrono::steady_clock::time_point const start = std::chrono::steady_clock::now();
};
