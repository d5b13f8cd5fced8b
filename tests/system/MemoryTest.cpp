// The tool when memory is exhausted, and its memory consumption.

#include "tests/system/ToolTest.h"

namespace {

constexpr rlim_t kilobyte = 1024;
[[maybe_unused]] constexpr rlim_t megabyte = 1024 * kilobyte;

// A recursion of that depth would overflow this stack.
SANDBOX_TEST(MemoryTest, ReadsDeeplyNestedResponseOnSmallStack) {
    std::string nested;
    for (int i = 0; i < 300'000; ++i)
        nested += "<x>";
    for (int i = 0; i < 300'000; ++i)
        nested += "</x>";
    ScriptedAgent agent(WholeEvaluation({ProgressAnswer("1", "0", "0", nested)}));
    ToolRun const run = RunTool({"-d"}, {.limits = {{RLIMIT_STACK, 512 * kilobyte}}});
    ExpectPrinted(PrintedCount(0), run);
}

// The shadow memory of a sanitizer exceeds any limit.
#ifndef CC_ADDRESS_SANITIZER

SANDBOX_TEST(MemoryTest, ResponseLargerThanMemoryIsABadResponse) {
    WriteBytes(ScriptedAgent::response, Response("<ResponseType>Open</ResponseType><Other>" +
                                                 std::string(32 * megabyte, 'x') + "</Other>"));
    ScriptedAgent agent(AgentScript().AwaitRequest().RemoveRequest());
    ToolRun const run = RunTool({"-d"}, {.limits = {{RLIMIT_AS, 24 * megabyte}}});
    ExpectPrinted(OpenError(-7), run);
}

SANDBOX_TEST(MemoryTest, SmallEvaluationNeedsAFewMegabytes) {
    ScriptedAgent agent(WholeEvaluation({ProgressAnswer("1")}));
    ToolRun const run = RunTool({"-d"}, {.limits = {{RLIMIT_AS, 12 * megabyte}}});
    EXPECT_EQ(PrintedCount(0), run.output);
}

// The only exception without an error code, and the only case of output to standard error: no
// memory for the request itself. It terminates the tool without a request, and the lock is free.
// Below such a limit the program does not even start.
SANDBOX_TEST(MemoryTest, AbortsWithoutMemoryForTheRequest) {
    std::string const url(100'000, 'u');
    int ended = 0;
    int answered = 0;
    for (rlim_t limit = megabyte; limit < 12 * megabyte; limit += 32 * kilobyte) {
        fs::remove(ScriptedAgent::lockFile);
        ProgramResult result;
        try {
            result =
                RunProgram({CC_TOOL_PROGRAM, "-c", url, "doc"}, {.limits = {{RLIMIT_AS, limit}}});
        } catch (std::system_error const&) {
            continue;
        }
        if (!fs::exists(ScriptedAgent::lockFile)) {
            EXPECT_NE(ExitStatus::Exited(0), result.status) << limit;
            EXPECT_EQ("", result.output) << limit;
        } else if (result.status == ExitStatus::Killed(SIGABRT)) {
            ++ended;
            EXPECT_EQ("", result.output) << limit;
            EXPECT_EQ("terminate called", result.errors.substr(0, 16)) << limit;
        } else {
            ++answered;
            EXPECT_EQ(ExitStatus::Exited(0), result.status) << limit;
            EXPECT_EQ(OpenError(-1), result.output) << limit;
            EXPECT_EQ("", result.errors) << limit;
        }
        EXPECT_FALSE(IsLocked());
        EXPECT_EQ("lockfile ", Requests());
    }
    EXPECT_LT(0, ended);
    EXPECT_LT(0, answered);
}

#endif

} // namespace
