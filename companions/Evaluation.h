// One evaluation over the five functions, from open to close.
#pragma once

#include <chrono>
#include <functional>
#include <optional>

class Progress;
struct Rows;

struct EvaluationRequest {
    // Null for a request by default.
    char const* url = nullptr;
    char const* document = nullptr;
    unsigned int flags = 0;
    std::optional<std::chrono::seconds> timeout = {};
};

struct EvaluationEnd {
    enum What {
        finished,   // and the rows have been used
        agentError, // the number is the agent's
        failed,     // the number is a negative code of the interface
        timedOut,   // the limit of the request is over
        stopped,    // the number is that of the signal (StopSignals.h)
    };

    What what = finished;
    int number = 0;
    // What became of the last exchange; 0 also where none was owed.
    int closeCode = 0;
};

// Opens an evaluation, polls it once a second until it ends, lets the rows be used, and closes it.
// Whatever ends it early (the limit, a stop signal, an exception), an evaluation that was opened is
// closed.
//
// The limit and the signal are looked at between calls to the agent: a call under way is waited
// for. A signal counts more than all else, a finished evaluation more than the limit.
//
// The rows are valid only during the call of `useRows`. An exception of `useRows`, and
// std::bad_alloc of the C API, leave this function after the close.
EvaluationEnd Evaluate(EvaluationRequest const& request, Progress& progress,
                       std::function<void(Rows const&)> const& useRows);
