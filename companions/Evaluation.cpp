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
constexpr milliseconds pauseBetweenPolls = std::chrono::seconds(1);

class Deadline {
public:
    explicit Deadline(std::optional<std::chrono::seconds> limit) {
        if (limit)
            end = Clock::now() + *limit;
    }

    bool IsOver() const { return end && Clock::now() >= *end; }

    // Not past the deadline; a stop signal ends it.
    void Sleep(milliseconds pause) const {
        if (end)
            pause = std::min(pause, std::chrono::ceil<milliseconds>(*end - Clock::now()));
        if (pause.count() > 0)
            SleepUnlessStopped(pause);
    }

private:
    std::optional<Clock::time_point> end = {};
};

// An evaluation that COMPLIANCE_Open has opened. An exception closes it too.
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
    // The exception that is under way is the one to report.
    static void CloseWithoutThrowing() {
        try {
            COMPLIANCE_Close();
        } catch (std::exception const&) {
            return;
        }
    }

    bool open = true;
};

Row GetRow(unsigned int index) {
    std::array<char const*, rowFieldNames.size()> texts{};
    // NOLINTNEXTLINE(readability-container-data-pointer): the first of six places
    if (COMPLIANCE_IndexedValue(index, &texts[0], &texts[1], &texts[2], &texts[3], &texts[4],
                                &texts[5]) != 0)
        texts.fill("");
    Row row;
    std::ranges::transform(texts, row.begin(),
                           [](char const* text) { return std::string_view(text); });
    return row;
}

// Returns whether the evaluation stops before the next call to the agent, and stores how it ends.
bool CheckStop(Deadline const& deadline, EvaluationEnd& end) {
    if (StopSignal() != 0)
        end = {EvaluationEnd::stopped, StopSignal()};
    else if (deadline.IsOver())
        end = {EvaluationEnd::timedOut};
    else
        return false;
    return true;
}

EvaluationEnd Poll(Deadline const& deadline, Progress& progress) {
    EvaluationEnd end;
    while (!CheckStop(deadline, end)) {
        int percent = 0;
        int error = 0;
        int const state = COMPLIANCE_Progress(&percent, &error);
        if (state == stateFinished)
            return {EvaluationEnd::finished};
        if (state == stateError)
            return {EvaluationEnd::agentError, error};
        if (state != stateInProgress)
            return {EvaluationEnd::failed, state};
        progress.Percent(percent);
        deadline.Sleep(pauseBetweenPolls);
    }
    return end;
}

// The evaluation is open; its end, with the result of the close.
EvaluationEnd PollAndClose(Deadline const& deadline, Progress& progress,
                           std::function<void(Rows const&)> const& useRows) {
    OpenEvaluation evaluation;
    EvaluationEnd end = Poll(deadline, progress);
    if (end.what == EvaluationEnd::finished && StopSignal() == 0) {
        progress.Clear();
        useRows({static_cast<unsigned int>(COMPLIANCE_ResultCount()), GetRow});
    }
    progress.Closing();
    end.closeCode = evaluation.Close();
    return end;
}

} // namespace

EvaluationEnd Evaluate(EvaluationRequest const& request, Progress& progress,
                       std::function<void(Rows const&)> const& useRows) {
    Deadline const deadline(request.timeout);
    progress.Opening();
    int const opened = COMPLIANCE_Open(request.url, request.document, request.flags);
    EvaluationEnd end = {EvaluationEnd::failed, opened};
    if (opened == 0)
        end = PollAndClose(deadline, progress, useRows);
    if (StopSignal() != 0)
        end = {EvaluationEnd::stopped, StopSignal(), end.closeCode};
    return end;
}
