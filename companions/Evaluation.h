// One evaluation over the five functions, from open to close.
#pragma once

#include <chrono>
#include <functional>
#include <optional>

#include "companions/ResponseFile.h"

class Progress;
struct Rows;

struct EvaluationRequest {
    // Null for a request by default.
    char const* url = nullptr;
    char const* document = nullptr;
    unsigned int flags = 0;
    std::optional<std::chrono::steady_clock::time_point> deadline = {};
    // Whether a final answer that was there before its request counts as an answer.
    bool allowStale = false;
};

struct EvaluationEnd {
    enum What {
        finished,   // and the rows have been used
        agentError, // the number is the agent's
        failed,     // the number is a negative code of the interface
        timedOut,   // the deadline of the request is over
        stopped,    // the number is that of the signal (StopSignals.h)
        stale,      // the final answer was there before its request; the number is its state
    };

    What what = finished;
    int number = 0;
    // What became of the last exchange; 0 also where none was owed.
    int closeCode = 0;
    // Whether the answers to Open, to the last Progress and to Close were there before their
    // requests (see ResponseWatch). An agent may leave the old answer to Open and Close.
    bool openUnchanged = false;
    bool answerUnchanged = false;
    bool closeUnchanged = false;
    // The response with the final answer; it does not exist if there was no such answer.
    ResponseState answer = {};
};

// Opens an evaluation, polls it once a second until it ends, lets the rows be used, and closes it.
// Whatever ends it early (the limit, a stop signal, an exception), an evaluation that was opened is
// closed.
//
// The deadline and the signal are checked between calls to the agent: a call under way is waited
// for. A signal counts more than all else, a finished evaluation more than the deadline.
//
// `useRows` gets `stale`: whether the answer with the rows was there before its request. The
// rows are valid only during the call. An exception of `useRows`, and std::bad_alloc of the C API,
// leave this function after the close.
EvaluationEnd Evaluate(EvaluationRequest const& request, Progress& progress,
                       std::function<void(Rows const&, bool stale)> const& useRows);
