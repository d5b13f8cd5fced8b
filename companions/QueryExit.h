// What compliance-query tells a script by its exit status, and a reader by one line.
#pragma once

#include <string>

// The statuses are an interface: none changes its meaning. One more than these is 128 + n, after
// the signal n has asked for an early end.
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

// The status of a negative code of the COMPLIANCE_ functions; of one that none of them returns it
// is exchangeFailed.
QueryExit QueryExitOfCode(int code);

// One line without an end, which tells the code in words and, where there is one, the remedy.
std::string DescribeCode(int code);

// The same for the error that the agent reports in state 2.
std::string DescribeAgentError(int error);
