// The tool as a whole, each of its allocations failing, also those that the C library makes for it.
#include <gtest/gtest.h>

#include <csignal>
#include <cstddef>
#include <filesystem>
#include <iostream>
#include <string>

#include "tests/support/PrivateMachine.h"
#include "tests/system/Documents.h"
#include "tests/system/RecordLock.h"
#include "tests/system/Tool.h"
#include "tests/torture/Cells.h"
#include "tests/torture/LongEvaluation.h"
#include "tests/torture/SharedCount.h"

namespace {

namespace fs = std::filesystem;

using Torture::doc;
using Torture::url;

char const failureMark[] = "/opt/failed";

// Which allocation fails, as the preloaded library reads it; empty for none.
ProgramResult RunWithFailing(std::string const& which) {
    fs::remove(failureMark);
    fs::remove(ScriptedAgent::response);
    return RunProgram(
        {CC_DYNAMIC_TOOL, "-c", url, doc, "7"},
        {.environment = {{"LD_PRELOAD=" CC_FAILING_MALLOC_LIBRARY, "CC_FAILING_MALLOC=" + which,
                          "CC_AGENT_SCRIPT=" + Torture::ServingAgent().text()}}});
}

std::string const atWork = PrintedPercent("40");

// What is printed of an evaluation that succeeds.
std::string Whole() {
    return atWork + PrintedCount(2) + PrintedRow(LongRowRead()) + PrintedRow(LongRowRead());
}

bool IsStated(std::string const& output) {
    // A progress that failed is not told of.
    if (output == Whole() || output == atWork || output.empty())
        return true;
    for (int const code : {-2, -6, -7, -17})
        if (output == OpenError(code))
            return true;
    return false;
}

// A request is there only where one was not written whole: then it is a part of one of ours.
void ExpectOwnFilesOnly() {
    std::string const names = ListDirectory(ScriptedAgent::requestDirectory);
    if (names == "lockfile request.xml ") {
        std::string const bytes = ReadBytes(ScriptedAgent::request);
        EXPECT_TRUE(OpenRequest(url, doc, "7").starts_with(bytes) ||
                    std::string(progressRequest).starts_with(bytes) ||
                    std::string(closeRequest).starts_with(bytes))
            << bytes;
    } else {
        EXPECT_TRUE(names == "lockfile " || names.empty()) << names;
    }
    EXPECT_FALSE(fs::exists("/var/opt/VeskaClient/ResponseDir/response.xml.agent"));
    EXPECT_FALSE(IsLocked());
}

// Only out of COMPLIANCE_Open, which lets it out: before any request was answered.
void ExpectEndByBadAlloc(ProgramResult const& run) {
    EXPECT_EQ(ExitStatus::Killed(SIGABRT), run.status);
    EXPECT_EQ("", run.output);
    EXPECT_NE(std::string::npos, run.errors.find("bad_alloc")) << run.errors;
    EXPECT_EQ("lockfile ", ListDirectory(ScriptedAgent::requestDirectory));
    EXPECT_FALSE(fs::exists(ScriptedAgent::response));
}

void ExpectStated(ProgramResult const& run) {
    if (run.status != ExitStatus::Exited(0)) {
        ExpectEndByBadAlloc(run);
        return;
    }
    EXPECT_EQ("", run.errors);
    EXPECT_TRUE(IsStated(run.output)) << run.output;
}

// A request that was left behind stands in the way, as ever.
void ExpectNextRunSucceeds() {
    if (fs::exists(ScriptedAgent::request)) {
        EXPECT_EQ(OpenError(-5), RunWithFailing("").output);
        fs::remove(ScriptedAgent::request);
    }
    EXPECT_EQ(Whole(), RunWithFailing("").output);
}

// Whether it failed, that is whether the tool asks for so many.
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

// Every `step`-th allocation, from `first` on.
void FailFrom(std::size_t first, std::size_t step, bool fromThenOn) {
    Torture::SharedCount failures;
    PrivateMachine::Run({.limit = std::chrono::minutes(4)}, [&] {
        PrivateMachine::CreateAgentDirectories();
        OtherProgram const agent(PrivateMachine::InstallIdleAgent());
        EXPECT_EQ(Whole(), RunWithFailing("").output);
        for (std::size_t n = first; !testing::Test::HasFailure() && Fail(n, fromThenOn); n += step)
            failures.Add(1);
    });
    if (testing::Test::IsSkipped())
        return;
    std::cout << failures.Value() << " allocations failed\n";
    Torture::CountCells(failures.Value());
    EXPECT_LT(0u, failures.Value());
}

TEST(QuickAllocationsOfTool, SomeFailOnce) { FailFrom(1, 11, false); }

TEST(QuickAllocationsOfTool, SomeFailFromThenOn) { FailFrom(2, 11, true); }

TEST(FullAllocationsOfTool, EachFailsOnce) { FailFrom(1, 1, false); }

TEST(FullAllocationsOfTool, EachFailsFromThenOn) { FailFrom(1, 1, true); }

} // namespace
