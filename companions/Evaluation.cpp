#include "companions/Evaluation.h"

#include <algorithm>
#include <exception>

#include "companions/Progress.h"
#include "companions/Rows.h"
#include "companions/StopSignals.h"
#include "compliance/Compliance.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr int stateFinished = 1;
constexpr int stateError = 2;
constexpr int stateInProgress = 3;
constexpr milliseconds pollInterval = std::chrono::seconds(1);

class Deadline {
public:
    explicit Deadline(std::optional<Clock::time_point> theEnd) : end(theEnd) {}

    bool IsOver() const { return end && Clock::now() >= *end; }

    // Sleeps until the pause or the deadline ends, or a stop signal is received.
    void Sleep(milliseconds pause) const {
        if (end)
            pause = std::min(pause, std::chrono::ceil<milliseconds>(*end - Clock::now()));
        if (pause.count() > 0)
            SleepUnlessStopped(pause);
    }

private:
    std::optional<Clock::time_point> const end;
};

// An evaluation that COMPLIANCE_Open has opened. The destructor closes it unless Close was called.
class OpenEvaluation {
public:
    OpenEvaluation() = default;
    ~OpenEvaluation() {
        if (open)
            CloseWithoutThrowing();
    }
    OpenEvaluation(OpenEvaluation const&) = delete;
    OpenEvaluation& operator=(OpenEvaluation const&) = delete;

    int Close() {
        open = false;
        return COMPLIANCE_Close();
    }

private:
    // Called during stack unwinding: the first exception propagates, so others are dropped.
    static void CloseWithoutThrowing() {
        try {
            COMPLIANCE_Close();
        } catch (std::exception const&) { // GCOVR_EXCL_BR_LINE: the C API throws no other type
            return;
        }
    }

    bool open = true;
};

Row GetRow(unsigned int index) {
    std::array<char const*, rowFieldNames.size()> texts{};
    // NOLINTNEXTLINE(readability-container-data-pointer): the first of six elements
    if (COMPLIANCE_IndexedValue(index, &texts[0], &texts[1], &texts[2], &texts[3], &texts[4],
                                &texts[5]) != 0)
        texts.fill("");
    Row row;
    std::ranges::transform(texts, row.begin(),
                           [](char const* text) { return std::string_view(text); });
    return row;
}

// Returns true and sets `end` if the evaluation must stop before the next call of the C API.
bool CheckStop(Deadline const& deadline, EvaluationEnd& end) {
    if (StopSignal() != 0)
        end = {EvaluationEnd::stopped, StopSignal()};
    else if (deadline.IsOver())
        end = {EvaluationEnd::timedOut};
    else
        return false;
    return true;
}

// Returns the end of an evaluation for which the agent sent a final response.
EvaluationEnd EndByResponse(int state, int error, ResponseWatch const& watch, bool allowStale) {
    ResponseState const response = LookAtResponse();
    bool const unchanged = watch.IsUnchanged(response);
    EvaluationEnd end = {EvaluationEnd::finished};
    if (unchanged && !allowStale)
        end = {EvaluationEnd::stale, state};
    else if (state == stateError)
        end = {EvaluationEnd::agentError, error};
    end.responseUnchanged = unchanged;
    end.response = response;
    return end;
}

EvaluationEnd Poll(Deadline const& deadline, bool allowStale, Progress& progress) {
    EvaluationEnd end;
    while (!CheckStop(deadline, end)) {
        int percent = 0;
        int error = 0;
        ResponseWatch const watch;
        int const state = COMPLIANCE_Progress(&percent, &error);
        if (state == stateFinished || state == stateError)
            return EndByResponse(state, error, watch, allowStale);
        if (state != stateInProgress)
            return {EvaluationEnd::failed, state};
        progress.Percent(percent);
        deadline.Sleep(pollInterval);
    }
    return end;
}

// REQUIRES: the evaluation is open.
EvaluationEnd PollAndClose(Deadline const& deadline, bool allowStale, Progress& progress,
                           std::function<void(Rows const&, bool stale)> const& useRows) {
    OpenEvaluation evaluation;
    EvaluationEnd end = Poll(deadline, allowStale, progress);
    if (end.what == EvaluationEnd::finished && StopSignal() == 0) {
        progress.Clear();
        useRows({static_cast<unsigned int>(COMPLIANCE_ResultCount()), GetRow},
                end.responseUnchanged);
    }
    progress.Closing();
    ResponseWatch const watch;
    end.closeCode = evaluation.Close();
    end.closeUnchanged = end.closeCode == 0 && watch.IsUnchanged();
    return end;
}

} // namespace

EvaluationEnd Evaluate(EvaluationRequest const& request, Progress& progress,
                       std::function<void(Rows const&, bool stale)> const& useRows) {
    Deadline const deadline(request.deadline);
    EvaluationEnd end;
    if (CheckStop(deadline, end))
        return end;
    progress.Opening();
    ResponseWatch const watch;
    int const opened = COMPLIANCE_Open(request.url, request.document, request.flags);
    bool const openUnchanged = opened == 0 && watch.IsUnchanged();
    end = {EvaluationEnd::failed, opened};
    if (opened == 0)
        end = PollAndClose(deadline, request.allowStale, progress, useRows);
    end.openUnchanged = openUnchanged;
    if (StopSignal() != 0) {
        end.what = EvaluationEnd::stopped;
        end.number = StopSignal();
    }
    return end;
}
