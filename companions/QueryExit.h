// The exit statuses and error messages of compliance-query.
#pragma once

#include <array>
#include <string>
#include <string_view>

// The exit statuses are stable: none changes its meaning. `stopped` stands for 128 + n, where n is
// the number of a stop signal.
enum class QueryExit {
    finished = 0,
    agentError = 1,
    usage = 2,
    noAgent = 3,
    busy = 4,
    timeOut = 5,
    badAnswer = 6,
    exchangeFailed = 7,
    outputFailed = 8,
    stale = 9,
    otherResult = 10,
    noRows = 11,
    stopped = 128,
};

struct QueryExitFacts {
    QueryExit status;
    // The member "failure" of the JSON document.
    std::string_view word;
    // The text of --help and of the manual page.
    std::string_view summary;
    // The text of --explain.
    std::string_view cause;
    std::string_view remedy;
};

// Sorted by exit status.
extern std::array<QueryExitFacts, 13> const queryExitTable;

QueryExitFacts const& FactsOf(QueryExit status);

// Returns the table as lines of --help.
std::string ListQueryExits();

// True if the text is the number of an exit status.
bool IsQueryExit(std::string const& status);

// Returns the text of --explain: summary, cause and remedy, in lines.
//
// REQUIRES: IsQueryExit(status).
std::string ExplainQueryExit(std::string const& status);

struct QueryFailure {
    QueryExit status;
    // One line; some messages include a remedy. May contain the name of a process, which is
    // arbitrary bytes; WriteMessage (Output.h) escapes them.
    std::string message;
    // A retry may succeed: a request is pending, another process holds or held the lock, or the
    // agent is temporarily not available.
    bool temporary = false;
};

// Returns the failure for an error code of the C API. For COMPLIANCE_ERROR_LOCK, examines the
// machine (LockRefusal.h).
//
// REQUIRES: this process does not hold the lock; the examination would release it.
QueryFailure DescribeCode(int code);

// Returns the failure for an error number that the agent reports.
QueryFailure DescribeAgentError(int error);
