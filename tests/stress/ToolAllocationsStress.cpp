// The whole tool with each of its allocations failing, including those of the C library.
#include <iostream>

#include "tests/stress/LongEvaluation.h"
#include "tests/stress/TestCases.h"

namespace {

char const failureMark[] = "/opt/failed";

// The failing allocation, in the syntax of the preloaded library; empty for none.
ProgramResult RunWithFailing(std::string const& which) {
    fs::remove(failureMark);
    fs::remove(ScriptedAgent::response);
    return RunProgram({CC_DYNAMIC_TOOL, "-c", url, doc, "7"},
                      {.environment = {{"LD_PRELOAD=" + AccessibleCopy(CC_FAILING_MALLOC_LIBRARY),
                                        "CC_FAILING_MALLOC=" + which,
                                        "CC_AGENT_SCRIPT=" + ServingAgent().text()}}});
}

std::string const atWork = PrintedPercent("40");

// The output of a successful evaluation.
std::string Whole() {
    return atWork + PrintedCount(2) + PrintedRow(LongRowRead()) + PrintedRow(LongRowRead());
}

// A request remains only if it was written in part. Then it is a part of one of the expected ones.
void ExpectOwnFilesOnly() {
    std::string const names = Requests();
    if (names == "lockfile request.xml ") {
        ExpectPartOfRequest(ReadBytes(ScriptedAgent::request));
    } else {
        EXPECT_TRUE(names == "lockfile " || names.empty()) << names;
    }
    EXPECT_FALSE(fs::exists("/var/opt/VeskaClient/ResponseDir/response.xml.agent"));
    EXPECT_FALSE(IsLocked());
}

// Only COMPLIANCE_Open propagates std::bad_alloc, before any request was answered.
void ExpectEndByBadAlloc(ProgramResult const& run) {
    EXPECT_EQ(ExitStatus::Killed(SIGABRT), run.status);
    EXPECT_EQ("", run.output);
    EXPECT_NE(std::string::npos, run.errors.find("bad_alloc")) << run.errors;
    EXPECT_EQ("lockfile ", Requests());
    EXPECT_FALSE(fs::exists(ScriptedAgent::response));
}

void ExpectStated(ProgramResult const& run) {
    if (run.status != ExitStatus::Exited(0))
        return ExpectEndByBadAlloc(run);
    EXPECT_EQ("", run.errors);
    // The tool prints nothing for a poll that failed.
    EXPECT_THAT(run.output, testing::AnyOf(Whole(), atWork, "", OpenError(-2), OpenError(-6),
                                           OpenError(-7), OpenError(-17)));
}

// A remaining request obstructs the next evaluation, as usual.
void ExpectNextRunSucceeds() {
    if (fs::exists(ScriptedAgent::request)) {
        EXPECT_EQ(OpenError(-5), RunWithFailing("").output);
        fs::remove(ScriptedAgent::request);
    }
    EXPECT_EQ(Whole(), RunWithFailing("").output);
}

// Returns whether an allocation failed: false if the tool makes fewer than n.
bool Fail(std::size_t n, bool fromThenOn) {
    std::string const which = std::to_string(n) + (fromThenOn ? "+" : "");
    SCOPED_TRACE("allocation " + which);
    ProgramResult const run = RunWithFailing(which);
    bool const failed = fs::exists(failureMark);
    ExpectStated(run);
    ExpectOwnFilesOnly();
    if (run.output != Whole() || fs::exists(ScriptedAgent::request))
        ExpectNextRunSucceeds();
    return failed;
}

// Each `step`-th allocation, from `first` on.
void FailFrom(std::size_t first, std::size_t step, bool fromThenOn) {
    CountTestCasesInSandbox({.limit = std::chrono::minutes(4)}, [&] {
        OtherProgram const agent(Sandbox::InstallIdleAgent());
        EXPECT_EQ(Whole(), RunWithFailing("").output);
        std::size_t failures = 0;
        for (std::size_t n = first; !testing::Test::HasFailure() && Fail(n, fromThenOn); n += step)
            ++failures;
        std::cout << failures << " allocations failed\n";
        EXPECT_LT(0u, failures);
        return failures;
    });
}

TEST(QuickToolAllocations, OutcomeIsDocumentedIfSomeFailOnce) { FailFrom(1, 11, false); }

TEST(QuickToolAllocations, OutcomeIsDocumentedIfSomeFailFromThenOn) { FailFrom(2, 11, true); }

TEST(FullToolAllocations, OutcomeIsDocumentedIfEachFailsOnce) { FailFrom(1, 1, false); }

TEST(FullToolAllocations, OutcomeIsDocumentedIfEachFailsFromThenOn) { FailFrom(1, 1, true); }

} // namespace
