// Evaluations over scripted replacements of the five functions: the order of the calls, and errors.
#include "companions/Evaluation.h"

#include <gtest/gtest.h>

#include <csignal>
#include <deque>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "companions/Progress.h"
#include "companions/Rows.h"
#include "companions/StopSignals.h"
#include "compliance/Compliance.h"
#include "tests/companions/RowList.h"
#include "tests/support/OtherProcess.h"

namespace {

struct Step {
    int result = 0;
    int value = 0;
    // Raised before the call returns.
    int signal = 0;
    // The call throws std::bad_alloc.
    bool fails = false;
};

struct Interface {
    Step open = {};
    // One for each call. The last one repeats.
    std::deque<Step> progress = {{1}};
    Step close = {};
    RowList rows = {};
    std::string calls = {};
};

Interface fake;

int Take(Step const& step) {
    if (step.signal != 0)
        raise(step.signal);
    if (step.fails)
        throw std::bad_alloc();
    return step.result;
}

std::string Text(char const* text) { return text ? text : "null"; }

} // namespace

int COMPLIANCE_Open(char const* url, char const* doc, unsigned int flags) {
    fake.calls += "open(" + Text(url) + "," + Text(doc) + "," + std::to_string(flags) + ") ";
    return Take(fake.open);
}

int COMPLIANCE_Progress(int* percent, int* error) {
    fake.calls += "progress ";
    Step const step = fake.progress.front();
    if (fake.progress.size() > 1)
        fake.progress.pop_front();
    if (step.result == 2)
        *error = step.value;
    if (step.result == 3)
        *percent = step.value;
    return Take(step);
}

int COMPLIANCE_ResultCount() { return static_cast<int>(fake.rows.size()); }

int COMPLIANCE_IndexedValue(unsigned int index, char const** designator, char const** result,
                            char const** resultType, char const** evaluationTime,
                            char const** description, char const** comment) {
    if (index >= fake.rows.size())
        return COMPLIANCE_ERROR_BAD_INDEX;
    char const** const places[] = {designator,     result,      resultType,
                                   evaluationTime, description, comment};
    for (std::size_t field = 0; field < 6; ++field)
        *places[field] = fake.rows[index][field].data();
    return 0;
}

int COMPLIANCE_Close() {
    fake.calls += "close";
    return Take(fake.close);
}

namespace {

EvaluationEnd RunFake(EvaluationRequest const& request = {}) {
    Progress progress(ProgressStyle::none);
    return Evaluate(request, progress, [](Rows const&, bool) { fake.calls += "rows "; });
}

std::chrono::steady_clock::time_point In(std::chrono::seconds time) {
    return std::chrono::steady_clock::now() + time;
}

void ExpectEnd(EvaluationEnd::What what, int number, int closeCode, EvaluationEnd const& end) {
    EXPECT_EQ(what, end.what);
    EXPECT_EQ(number, end.number);
    EXPECT_EQ(closeCode, end.closeCode);
}

// A recorded signal cannot be cleared, so each test uses its own process.
template <typename Body>
void InAnotherProcess(Body const& body) {
    OtherProcess other([&] {
        CatchStopSignals();
        body();
    });
    EXPECT_EQ(ExitStatus::Exited(0), other.Wait());
}

TEST(EvaluationTest, PassesRowsToCallerBeforeClose) {
    fake = {};
    ExpectEnd(EvaluationEnd::finished, 0, 0, RunFake({"url", "doc", 11}));
    EXPECT_EQ("open(url,doc,11) progress rows close", fake.calls);
}

TEST(EvaluationTest, RequestsTheDefaultWithoutUrlAndDocument) {
    fake = {};
    RunFake();
    EXPECT_EQ("open(null,null,0) progress rows close", fake.calls);
}

TEST(EvaluationTest, RefusedOpenNeedsNoClose) {
    for (int const code : {-1, -2, -3, -4, -5, -6, -7, -15, -16, -17}) {
        fake = {.open = {code}};
        ExpectEnd(EvaluationEnd::failed, code, 0, RunFake());
        EXPECT_EQ("open(null,null,0) ", fake.calls);
    }
}

TEST(EvaluationTest, ClosesAfterFailedPoll) {
    for (int const code : {-3, -6, -7, -16, -17, -19}) {
        fake = {.progress = {{code}}};
        ExpectEnd(EvaluationEnd::failed, code, 0, RunFake());
        EXPECT_EQ("open(null,null,0) progress close", fake.calls);
    }
}

TEST(EvaluationTest, ReturnsErrorOfTheAgent) {
    for (int const error : {-22, 0, 7}) {
        fake = {.progress = {{2, error}}};
        ExpectEnd(EvaluationEnd::agentError, error, 0, RunFake());
        EXPECT_EQ("open(null,null,0) progress close", fake.calls);
    }
}

TEST(EvaluationTest, PollsWhileEvaluationIsInProgress) {
    fake = {.progress = {{3, 10}, {3, -5}, {1}}};
    ExpectEnd(EvaluationEnd::finished, 0, 0, RunFake());
    EXPECT_EQ("open(null,null,0) progress progress progress rows close", fake.calls);
}

TEST(EvaluationTest, RowsAreUsedIfTheCloseFails) {
    fake = {.close = {-3}};
    ExpectEnd(EvaluationEnd::finished, 0, -3, RunFake());
    EXPECT_EQ("open(null,null,0) progress rows close", fake.calls);
}

TEST(EvaluationTest, RowsHaveTheValuesOfTheInterface) {
    fake = {.rows = {{{"a", "b", "c", "d", "e", "f"}}, {{"", "", "", "", "", "last"}}}};
    Progress progress(ProgressStyle::none);
    RowList seen;
    Evaluate(EvaluationRequest(), progress, [&](Rows const& rows, bool) {
        for (unsigned int index = 0; index < rows.count; ++index)
            seen.push_back(rows.get(index));
    });
    EXPECT_EQ(fake.rows, seen);
}

TEST(EvaluationTest, DeadlineEndsAnEndlessEvaluation) {
    fake = {.progress = {{3, 50}}};
    ExpectEnd(EvaluationEnd::timedOut, 0, 0, RunFake({.deadline = In(std::chrono::seconds(1))}));
    EXPECT_TRUE(fake.calls.ends_with("progress close"));
}

TEST(EvaluationTest, EvaluationFinishesBeforeTheDeadline) {
    fake = {.progress = {{3, 50}, {1}}};
    ExpectEnd(EvaluationEnd::finished, 0, 0, RunFake({.deadline = In(std::chrono::seconds(30))}));
}

TEST(EvaluationTest, OnlyACloseFollowsASignalDuringOpen) {
    InAnotherProcess([] {
        fake = {.open = {.signal = SIGTERM}};
        ExpectEnd(EvaluationEnd::stopped, SIGTERM, 0, RunFake());
        EXPECT_EQ("open(null,null,0) close", fake.calls);
    });
}

TEST(EvaluationTest, SignalDuringAFailedOpenNeedsNoClose) {
    InAnotherProcess([] {
        fake = {.open = {.result = -3, .signal = SIGINT}};
        ExpectEnd(EvaluationEnd::stopped, SIGINT, 0, RunFake());
        EXPECT_EQ("open(null,null,0) ", fake.calls);
    });
}

TEST(EvaluationTest, SignalDuringPollEndsEvaluation) {
    InAnotherProcess([] {
        fake = {.progress = {{.result = 3, .signal = SIGINT}}};
        ExpectEnd(EvaluationEnd::stopped, SIGINT, 0, RunFake());
        EXPECT_EQ("open(null,null,0) progress close", fake.calls);
    });
}

TEST(EvaluationTest, SignalTakesPrecedenceOverFinishedEvaluation) {
    InAnotherProcess([] {
        fake = {.progress = {{.result = 1, .signal = SIGINT}}};
        ExpectEnd(EvaluationEnd::stopped, SIGINT, 0, RunFake());
        EXPECT_EQ("open(null,null,0) progress close", fake.calls);
    });
}

TEST(EvaluationTest, ReportsSignalDuringClose) {
    InAnotherProcess([] {
        fake = {.close = {.result = -3, .signal = SIGTERM}};
        ExpectEnd(EvaluationEnd::stopped, SIGTERM, -3, RunFake());
        EXPECT_EQ("open(null,null,0) progress rows close", fake.calls);
    });
}

TEST(EvaluationTest, ClosesIfCallerThrowsOnRows) {
    fake = {};
    Progress progress(ProgressStyle::none);
    EXPECT_THROW(Evaluate(EvaluationRequest(), progress,
                          [](Rows const&, bool) { throw std::runtime_error("rows"); }),
                 std::runtime_error);
    EXPECT_EQ("open(null,null,0) progress close", fake.calls);
}

TEST(EvaluationTest, ClosesIfMemoryIsExhaustedDuringPoll) {
    fake = {.progress = {{.fails = true}}};
    EXPECT_THROW(RunFake(), std::bad_alloc);
    EXPECT_EQ("open(null,null,0) progress close", fake.calls);
}

TEST(EvaluationTest, RethrowsFirstExceptionIfCloseThrowsToo) {
    fake = {.close = {.fails = true}};
    Progress progress(ProgressStyle::none);
    EXPECT_THROW(Evaluate(EvaluationRequest(), progress,
                          [](Rows const&, bool) { throw std::runtime_error("rows"); }),
                 std::runtime_error);
    EXPECT_EQ("open(null,null,0) progress close", fake.calls);
}

TEST(EvaluationTest, DoesNotRepeatCloseThatThrows) {
    fake = {.close = {.fails = true}};
    EXPECT_THROW(RunFake(), std::bad_alloc);
    EXPECT_EQ("open(null,null,0) progress rows close", fake.calls);
}

TEST(EvaluationTest, OpenThatThrowsNeedsNoClose) {
    fake = {.open = {.fails = true}};
    EXPECT_THROW(RunFake(), std::bad_alloc);
    EXPECT_EQ("open(null,null,0) ", fake.calls);
}

} // namespace
