// What compliance-doctor says of one thing that it looked at.
#pragma once

#include <optional>
#include <string>
#include <vector>

enum class Verdict {
    ok,
    note,    // worth knowing, but no evaluation fails by it
    problem, // an evaluation by this user fails by it, or is not safe
    skipped  // could not be looked at, because of a problem that another finding tells
};

// The names of checks and causes are an interface: programs read them in the JSON.
struct Finding {
    std::string check;
    Verdict verdict = Verdict::ok;
    // What was found, as one word; empty for ok and skipped.
    std::string cause = {};
    std::string message = {};
    // What to do about it; empty for ok and skipped, and for a note that asks for nothing.
    std::string remedy = {};
    // Where the cause is a process or a file left over.
    std::optional<long> processId = {};
    std::optional<long long> ageInSeconds = {};
};

using Findings = std::vector<Finding>;
