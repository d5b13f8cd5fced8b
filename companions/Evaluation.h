// Runs one evaluation through the C API, from COMPLIANCE_Open to COMPLIANCE_Close.
#pragma once

#include <chrono>
#include <functional>
#include <optional>

#include "companions/ResponseFile.h"

class Progress;
struct Rows;

struct EvaluationRequest {
    // Both null for the default document: the request has an empty URL and an empty document name.
    char const* url = nullptr;
    char const* document = nullptr;
    unsigned int flags = 0;
    std::optional<std::chrono::steady_clock::time_point> deadline = {};
    // Accept a stale final response: one that existed before the request and did not change.
    bool allowStale = false;
};

struct EvaluationEnd {
    enum What {
        finished,   // and `useRows` has returned
        agentError, // the agent reported the error `number`
        failed,     // a function of the C API returned the error code `number`
        timedOut,   // the deadline has passed
        stopped,    // the stop signal `number` was received (StopSignals.h)
        stale, // the final response was stale; `number` is its state, 1 (finished) or 2 (error)
    };

    What what = finished;
    int number = 0;
    // The return value of COMPLIANCE_Close; 0 if it was not called.
    int closeCode = 0;
    // True if an exchange succeeded and left the response file unchanged (ResponseWatch). The
    // exchanges are that of Open, the Progress exchange with the final response, and that of Close.
    // An agent may leave the file unchanged for Open and Close.
    bool openUnchanged = false;
    bool responseUnchanged = false;
    bool closeUnchanged = false;
    // The file with the final response. `ResponseState::exists` is false if there was none.
    ResponseState response = {};
};

// Opens an evaluation, polls it until it ends, passes the rows to `useRows`, and closes it. Waits
// one second between polls. After COMPLIANCE_Open has returned 0, always closes the evaluation,
// including after a timeout, a stop signal or an exception.
//
// Checks the deadline and the signals between calls of the C API, so a running exchange ends first.
// A stop signal ends the current sleep of the exchange, which may therefore fail early. A stop
// signal has precedence over every other end. A final response or an error code has precedence over
// the deadline.
//
// `useRows` takes the rows, which are valid only during the call, and whether the response was
// stale. Its exceptions, and any other exception after COMPLIANCE_Open, propagate after the close.
// A std::bad_alloc of COMPLIANCE_Open propagates without a close, and the lock is then held until
// the process exits.
EvaluationEnd Evaluate(EvaluationRequest const& request, Progress& progress,
                       std::function<void(Rows const&, bool stale)> const& useRows);
