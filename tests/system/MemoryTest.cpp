// The tool when memory is exhausted, and its memory consumption.
#include "tests/system/ToolTest.h"

namespace {

// The shadow memory of a sanitizer exceeds any limit.
#ifndef CC_ADDRESS_SANITIZER

constexpr rlim_t kilobyte = 1024;
constexpr rlim_t megabyte = 1024 * kilobyte;

SANDBOX_TEST(MemoryTest, ResponseLargerThanMemoryIsABadResponse) {
    WriteBytes(ScriptedAgent::response, Response("<ResponseType>Open</ResponseType><Other>" +
                                                 std::string(32 * megabyte, 'x') + "</Other>"));
    ScriptedAgent agent(AgentScript().AwaitRequest().RemoveRequest());
    ToolRun const run = RunTool({"-d"}, {.limits = {{RLIMIT_AS, 24 * megabyte}}});
    ExpectPrinted(OpenError(-7), run);
}

SANDBOX_TEST(MemoryTest, SmallEvaluationFitsInto12MiBOfAddressSpace) {
    ScriptedAgent agent(WholeEvaluation({ProgressResponse("1")}));
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
        SCOPED_TRACE(limit);
        if (!fs::exists(ScriptedAgent::lockFile)) {
            EXPECT_NE(ExitStatus::Exited(0), result.status);
            EXPECT_EQ("", result.output);
        } else if (result.status == ExitStatus::Killed(SIGABRT)) {
            ++ended;
            EXPECT_EQ("", result.output);
            EXPECT_THAT(result.errors, testing::StartsWith("terminate called"));
        } else {
            ++answered;
            ExpectPrinted(OpenError(-1), result);
        }
        EXPECT_FALSE(IsLocked());
        EXPECT_EQ("lockfile ", Requests());
    }
    EXPECT_LT(0, ended);
    EXPECT_LT(0, answered);
}

#endif

} // namespace
