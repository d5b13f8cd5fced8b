// The tool is killed at the specified call, and the calls have the right names.
#include "tests/stress/KilledTool.h"

#include "tests/stress/TestCases.h"

namespace {

using namespace Stress;

TEST(QuickKilledTool, FindsCallsByPathOccurrenceAndDistance) {
    Trace const trace{{"open", "/a/x", true}, {"read", "", true}, {"open", "/b/x", true}};
    EXPECT_EQ(std::vector<std::string>({"open#1", "read#1", "open#2"}), NamesOf(trace));
    for (Place const& place : {Place{"open", "/x", 2}, {"open", "b/x"}, {"open", "/x", 1, 2}})
        EXPECT_TRUE(AtPlace(place)(trace)) << place.path << place.occurrence;
    for (Place const& place : {Place{"open", "/x"}, {"open", "/x", 1, 3}, {"read", ""}})
        EXPECT_FALSE(AtPlace(place)(trace)) << place.path << place.later;
}

// Without an agent: the lock, one check, and -1.
TEST(QuickKilledTool, CallIsNotMadeIfKilledAtItsEntry) {
    Sandbox::RunWithDirectories([] {
        auto const runUntil = [](KillCondition const& condition) {
            return RunAndKill({"-c", "url", "doc"}, condition);
        };
        KilledRun const opening = runUntil(AtPlace({"openat", "/lockfile"}));
        EXPECT_TRUE(opening.wasKilled);
        EXPECT_EQ(ExitStatus::Killed(SIGKILL), opening.status);
        EXPECT_EQ("", Requests());
        EXPECT_FALSE(opening.trace.back().succeeded);

        EXPECT_EQ("", runUntil(AtPlace({"write", ""})).output);
        EXPECT_EQ("lockfile ", Requests());

        KilledRun const leaving = runUntil(AtPlace({"exit_group", ""}));
        EXPECT_EQ(OpenError(-1), leaving.output);
        EXPECT_EQ(ExitStatus::Killed(SIGKILL), leaving.status);

        for (size_t const number : {1, 2, 5})
            EXPECT_EQ(number, runUntil(AtCall(number)).trace.size());
        KilledRun const whole = runUntil(AtCall(100'000));
        EXPECT_FALSE(whole.wasKilled);
        EXPECT_EQ(ExitStatus::Exited(0), whole.status);
        EXPECT_EQ(OpenError(-1), whole.output);
        EXPECT_EQ("exit_group", whole.trace.back().name);
    });
    CountTestCases(6);
}

#ifndef CC_ADDRESS_SANITIZER // Its runtime also opens files.
TEST(QuickKilledTool, FailingCallIsNotMadeAndSetsErrno) {
    Sandbox::RunWithDirectories([] {
        KilledRun const run =
            RunProgramWithFaults({CC_TOOL_PROGRAM, "-c", "url", "doc"}, [](Trace const& trace) {
                return trace.back().path.ends_with("/lockfile") ? EACCES : 0;
            });
        ExpectPrinted(OpenError(-6), run);
        EXPECT_EQ("", Requests());
    });
}
#endif

} // namespace
