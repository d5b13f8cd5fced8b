// That the tool dies where it is said, and that the points have the right names.
#include "tests/torture/KilledTool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <string>
#include <vector>

#include "tests/support/PrivateMachine.h"
#include "tests/system/Tool.h"

namespace {

using namespace Torture;

// Without an agent: the lock, one look, and -1.
KilledRun RunUntil(KillCondition const& condition) {
    return RunAndKill({"-c", "url", "doc"}, condition);
}

TEST(QuickKilledTool, CallsOfANameAreCounted) {
    Trace const trace(23, {"read", "", true});
    auto const names = NamesOf(trace);
    EXPECT_EQ("read, 1st", names[0]);
    EXPECT_EQ("read, 2nd", names[1]);
    EXPECT_EQ("read, 3rd", names[2]);
    EXPECT_EQ("read, 4th", names[3]);
    for (size_t const teen : {11, 12, 13})
        EXPECT_EQ("read, " + std::to_string(teen) + "th", names[teen - 1]);
    EXPECT_EQ("read, 22nd", names[21]);
    EXPECT_EQ("read, 23rd", NameOfLast(trace));
    EXPECT_EQ("close, 1st", NameOfLast({{"read", "", true}, {"close", "", true}}));
}

TEST(QuickKilledTool, PlacesAreFoundByPathOccurrenceAndDistance) {
    Trace const trace{{"open", "/a/x", true}, {"read", "", true}, {"open", "/b/x", true}};
    EXPECT_TRUE(AtPlace({"open", "/x", 2})(trace));
    EXPECT_TRUE(AtPlace({"open", "b/x"})(trace));
    EXPECT_TRUE(AtPlace({"open", "/x", 1, 2})(trace));
    EXPECT_FALSE(AtPlace({"open", "/x"})(trace));
    EXPECT_FALSE(AtPlace({"open", "/x", 1, 3})(trace));
    EXPECT_FALSE(AtPlace({"read", ""})(trace));
}

SANDBOX_TEST(QuickKilledTool, RunsToItsEndUnderTrace) {
    KilledRun const run = RunUntil(Never());
    EXPECT_FALSE(run.wasKilled);
    EXPECT_EQ(ExitStatus::Exited(0), run.status);
    EXPECT_EQ(OpenError(-1), run.output);
    EXPECT_EQ("exit_group", run.trace.back().name);
    EXPECT_TRUE(std::any_of(run.trace.begin(), run.trace.end(), [](SystemCall const& call) {
        return call.name == "openat" && call.path == ScriptedAgent::lockFile && call.succeeded;
    }));
}

SANDBOX_TEST(QuickKilledTool, CallAtWhoseEntryItIsKilledIsNotMade) {
    KilledRun const opening = RunUntil(AtPlace({"openat", "/lockfile"}));
    EXPECT_TRUE(opening.wasKilled);
    EXPECT_EQ(ExitStatus::Killed(SIGKILL), opening.status);
    EXPECT_EQ("", ListDirectory(ScriptedAgent::requestDirectory));
    EXPECT_FALSE(opening.trace.back().succeeded);

    KilledRun const printing = RunUntil(AtPlace({"write", ""}));
    EXPECT_EQ("", printing.output);
    EXPECT_EQ("lockfile ", ListDirectory(ScriptedAgent::requestDirectory));

    KilledRun const leaving = RunUntil(AtPlace({"exit_group", ""}));
    EXPECT_EQ(OpenError(-1), leaving.output);
    EXPECT_EQ(ExitStatus::Killed(SIGKILL), leaving.status);
}

SANDBOX_TEST(QuickKilledTool, CallsAreCountedFromOne) {
    for (size_t const number : {1, 2, 5})
        EXPECT_EQ(number, RunUntil(AtCall(number)).trace.size());
    size_t const all = RunUntil(Never()).trace.size();
    EXPECT_FALSE(RunUntil(AtCall(all + 1000)).wasKilled);
}

} // namespace
