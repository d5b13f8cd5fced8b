// The exit statuses and error messages of compliance-query.
#pragma once

#include <array>
#include <string>
#include <string_view>

// The statuses are an interface: none changes its meaning. After a stop signal n the status is
// 128 + n.
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
    // For programs: the member "failure" of the JSON document.
    std::string_view word;
    // For --help and the manual page.
    std::string_view summary;
    // For --explain.
    std::string_view cause;
    std::string_view remedy;
};

// In the order of the statuses.
extern std::array<QueryExitFacts, 13> const queryExitTable;

QueryExitFacts const& FactsOf(QueryExit status);

// Returns the table as lines of --help.
std::string ListQueryExits();

// Whether the text is the number of an exit status.
bool IsQueryExit(std::string const& status);

// Returns cause and remedy of an exit status, in lines.
//
// REQUIRES: IsQueryExit(status).
std::string ExplainQueryExit(std::string const& status);

struct QueryFailure {
    QueryExit status;
    // With a remedy where there is one, without a line feed.
    std::string message;
    // Whether another attempt a little later may succeed: a request is waiting, another process
    // holds the lock, or the agent is not available right now.
    bool temporary = false;
};

// Describes a negative code of the COMPLIANCE_ functions. For a refused lock it examines the
// machine (LockRefusal.h).
//
// REQUIRES: this process does not hold the lock, which would be lost.
QueryFailure DescribeCode(int code);

// Describes an error that the agent reports.
QueryFailure DescribeAgentError(int error);
