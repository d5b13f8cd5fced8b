// Evaluations over scripted replacements of the five functions: the order of the calls, and errors.
#include "companions/Evaluation.h"

#include <deque>

#include "companions/Progress.h"
#include "companions/Rows.h"
#include "companions/StopSignals.h"
#include "compliance/Compliance.h"
#include "tests/companions/CompanionTest.h"
#include "tests/companions/RowList.h"

namespace {

struct Step {
    int result = 0;
    int value = 0;
    // Raised before the call returns.
    int signal = 0;
    // The call throws std::bad_alloc.
    bool fails = false;
    // The call returns after this time.
    milliseconds time = {};
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
    std::this_thread::sleep_for(step.time);
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

void ThrowOnRows() {
    Progress progress(ProgressStyle::none);
    EXPECT_THROW(
        Evaluate({}, progress, [](Rows const&, bool) { throw std::runtime_error("rows"); }),
        std::runtime_error);
}

std::chrono::steady_clock::time_point In(milliseconds time) {
    return std::chrono::steady_clock::now() + time;
}

void ExpectEnd(EvaluationEnd::What what, int number, int closeCode, EvaluationEnd const& end) {
    EXPECT_EQ(what, end.what);
    EXPECT_EQ(number, end.number);
    EXPECT_EQ(closeCode, end.closeCode);
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

TEST(EvaluationTest, PollsEverySecondWhileEvaluationIsInProgress) {
    fake = {.progress = {{3, 10}, {3, -5}, {1}}};
    auto const begun = std::chrono::steady_clock::now();
    ExpectEnd(EvaluationEnd::finished, 0, 0, RunFake());
    EXPECT_LE(seconds(2), std::chrono::steady_clock::now() - begun);
    EXPECT_EQ("open(null,null,0) progress progress progress rows close", fake.calls);
}

TEST(EvaluationTest, EvaluationFinishesBeforeTheDeadline) {
    fake = {.progress = {{3, 50}, {1}}};
    ExpectEnd(EvaluationEnd::finished, 0, 0, RunFake({.deadline = In(seconds(30))}));
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
    Evaluate({}, progress, [&](Rows const& rows, bool) {
        for (unsigned int index = 0; index < rows.count; ++index)
            seen.push_back(rows.get(index));
    });
    EXPECT_EQ(fake.rows, seen);
}

TEST(EvaluationTest, RowThatTheInterfaceRefusesIsEmpty) {
    fake = {};
    Progress progress(ProgressStyle::none);
    bool isUsed = false;
    Evaluate({}, progress, [&](Rows const& rows, bool) {
        EXPECT_EQ(Row(), rows.get(0));
        isUsed = true;
    });
    EXPECT_TRUE(isUsed);
}

TEST(EvaluationTest, DeadlineEndsAnEndlessEvaluation) {
    fake = {.progress = {{3, 50}}};
    ExpectEnd(EvaluationEnd::timedOut, 0, 0, RunFake({.deadline = In(seconds(1))}));
    EXPECT_THAT(fake.calls, EndsWith("progress close"));
}

TEST(EvaluationTest, DoesNotPollAgainAfterACallBeyondTheDeadline) {
    fake = {.progress = {{.result = 3, .value = 50, .time = milliseconds(400)}}};
    ExpectEnd(EvaluationEnd::timedOut, 0, 0, RunFake({.deadline = In(milliseconds(300))}));
    EXPECT_EQ("open(null,null,0) progress close", fake.calls);
}

struct SignalCase {
    Interface interface;
    int signal;
    int closeCode;
    char const* calls;
};

// A recorded signal cannot be cleared, so each case uses its own process.
TEST(EvaluationTest, SignalEndsTheEvaluation) {
    for (SignalCase const& test :
         {SignalCase{{.open = {.signal = SIGTERM}}, SIGTERM, 0, "close"},
          // A failed open needs no close.
          {{.open = {.result = -3, .signal = SIGINT}}, SIGINT, 0, ""},
          {{.progress = {{.result = 3, .signal = SIGINT}}}, SIGINT, 0, "progress close"},
          // A signal takes precedence over the end of the evaluation.
          {{.progress = {{.result = 1, .signal = SIGINT}}}, SIGINT, 0, "progress close"},
          {{.close = {.result = -3, .signal = SIGTERM}}, SIGTERM, -3, "progress rows close"}}) {
        OtherProcess other([&] {
            CatchStopSignals();
            fake = test.interface;
            ExpectEnd(EvaluationEnd::stopped, test.signal, test.closeCode, RunFake());
            EXPECT_EQ(std::string("open(null,null,0) ") + test.calls, fake.calls);
        });
        EXPECT_EQ(ExitStatus::Exited(0), other.Wait());
    }
}

TEST(EvaluationTest, ClosesIfCallerThrowsOnRows) {
    // If the close throws as well, the first exception is rethrown.
    for (bool const closeFails : {false, true}) {
        fake = {.close = {.fails = closeFails}};
        ThrowOnRows();
        EXPECT_EQ("open(null,null,0) progress close", fake.calls);
    }
}

TEST(EvaluationTest, ClosesAtMostOnceIfMemoryIsExhausted) {
    for (auto const& [interface, calls] :
         {std::pair{Interface{.open = {.fails = true}}, ""},
          {Interface{.progress = {{.fails = true}}}, "progress close"},
          {Interface{.close = {.fails = true}}, "progress rows close"}}) {
        fake = interface;
        EXPECT_THROW(RunFake(), std::bad_alloc);
        EXPECT_EQ(std::string("open(null,null,0) ") + calls, fake.calls);
    }
}

} // namespace
