// Runs one evaluation through the C API, from COMPLIANCE_Open to COMPLIANCE_Close.
#pragma once

#include <chrono>
#include <functional>
#include <optional>

#include "companions/ResponseFile.h"

class Progress;
struct Rows;

struct EvaluationRequest {
    // Both null: the request has no URL and no document (-d).
    char const* url = nullptr;
    char const* document = nullptr;
    unsigned int flags = 0;
    std::optional<std::chrono::steady_clock::time_point> deadline = {};
    // Accept a stale final answer: a response that was already there before the request.
    bool allowStale = false;
};

struct EvaluationEnd {
    enum What {
        finished,   // and `useRows` has returned
        agentError, // the agent reported the error `number`
        failed,     // a function of the C API returned the error code `number`
        timedOut,   // the deadline has passed
        stopped,    // the stop signal `number` was received (StopSignals.h)
        stale,      // the final answer was stale; `number` is its state
    };

    What what = finished;
    int number = 0;
    // The return value of COMPLIANCE_Close; 0 if it was not called.
    int closeCode = 0;
    // The responses to Open, to the last Progress and to Close did not change (ResponseWatch). An
    // agent may leave the old response in place for Open and Close.
    bool openUnchanged = false;
    bool answerUnchanged = false;
    bool closeUnchanged = false;
    // The file with the final answer. `ResponseState::exists` is false if there was none.
    ResponseState answer = {};
};

// Opens an evaluation, polls it once a second until it ends, passes the rows to `useRows`, and
// closes it. Always closes an evaluation that it has opened, including after a timeout, a stop
// signal or an exception.
//
// Checks the deadline and the signals between calls of the C API, so a running exchange completes
// first. A signal has precedence over every other end, and a final answer over the deadline.
//
// `useRows` takes the rows, which are valid only during the call, and whether their answer was
// stale. Exceptions of `useRows`, and std::bad_alloc of the C API, propagate after the close.
EvaluationEnd Evaluate(EvaluationRequest const& request, Progress& progress,
                       std::function<void(Rows const&, bool stale)> const& useRows);
