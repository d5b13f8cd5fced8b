// Where, when and how a result was made, for results that are collected.
#pragma once

#include <chrono>
#include <ctime>
#include <optional>
#include <string>

#include "companions/ResponseFile.h"

struct QueryCommandLine;

struct Provenance {
    // Null for a request by default.
    char const* url = nullptr;
    char const* document = nullptr;
    unsigned int flags = 0;
    std::string host = {};
    unsigned int userId = 0;
    timespec start = {};
    timespec end = {};
    // By a clock that nobody sets.
    std::chrono::milliseconds duration{};
    // The final answer, and whether it was there before the request (see ResponseWatch).
    ResponseState response = {};
    bool stale = false;
    // Of the agent's program; nothing if it is missing.
    std::optional<timespec> agentModified = {};
};

// Measures an evaluation from its construction.
class ProvenanceRecorder {
public:
    explicit ProvenanceRecorder(QueryCommandLine const& commandLine);

    // Looks at the machine at the end of the evaluation.
    Provenance Finish(ResponseState const& answer, bool stale) const;

private:
    Provenance known;
    std::chrono::steady_clock::time_point const start = std::chrono::steady_clock::now();
};
