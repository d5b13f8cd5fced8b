// The exit statuses and error messages of compliance-query.
#pragma once

#include <string>

// The statuses are an interface: none changes its meaning. After a stop signal n the status is
// 128 + n.
enum class QueryExit {
    finished = 0,       // the rows are on standard output
    agentError = 1,     // the agent reports an error, "not available right now" included
    usage = 2,          // the command line can't be understood
    noAgent = 3,        // not installed, not running, not configured
    busy = 4,           // the lock is refused, or a request is already waiting
    timeOut = 5,        // the agent did not take a request, or --timeout is over
    badAnswer = 6,      // the answer can't be read
    exchangeFailed = 7, // the request could not be written, or something else broke
    outputFailed = 8,   // standard output does not take the rows
    otherResult = 10,   // --strict, and a row's result is not in the list
};

// Returns the status for a negative code of the COMPLIANCE_ functions, and exchangeFailed for a
// code that none of them returns.
QueryExit QueryExitOfCode(int code);

// Returns a message for the code, with a remedy where there is one, without a line feed.
std::string DescribeCode(int code);

// The same for an error that the agent reports.
std::string DescribeAgentError(int error);
