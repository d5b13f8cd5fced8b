// The tool with standard descriptors that are closed, full, or without a reader.
//
// The tool opens /dev/null on a closed one before any other file. Otherwise the lock file could
// receive its number, and the output would be written to the lock file.
#include "tests/system/ToolTest.h"

namespace {

std::string const results = PrintedPercent("50") + PrintedOneRow();

AgentScript TwoPolls() {
    return WholeEvaluation({ProgressResponse("3", "0", "50"), OneRowResponse()});
}

// The evaluation was complete, and no file contains output.
void ExpectExchangeUntouched(ScriptedAgent const& agent) {
    agent.AwaitEnd();
    EXPECT_THAT(BytesOf(agent.Requests()),
                testing::ElementsAre(OpenRequest("", "", "0"), progressRequest, progressRequest,
                                     closeRequest));
    EXPECT_EQ("lockfile ", Requests());
    EXPECT_EQ("", ReadBytes(ScriptedAgent::lockFile));
    EXPECT_EQ(CloseResponse(), ReadBytes(ScriptedAgent::response));
}

ProgramOptions WithOutputTo(char const* path, int mode) {
    return {.prepare = [path, mode] {
        int const file = open(path, mode | O_CLOEXEC);
        return file >= 0 && dup2(file, STDOUT_FILENO) == STDOUT_FILENO;
    }};
}

// The bits of the parameter select the closed descriptors.
class ClosedDescriptorsTest : public testing::TestWithParam<int> {
protected:
    static bool IsClosed(int descriptor) { return (GetParam() >> descriptor & 1) != 0; }

    static ProgramOptions Options() {
        ProgramOptions options;
        for (int descriptor = 0; descriptor <= 2; ++descriptor)
            if (IsClosed(descriptor))
                options.closedDescriptors.push_back(descriptor);
        return options;
    }

    // Expects that a whole evaluation has `holder` open on exactly the closed descriptors.
    static void ExpectHeldBy(std::string const& holder) {
        ScriptedAgent agent(TwoPolls());
        Tool tool({"-d"}, Options());
        agent.AwaitRequests(1);
        std::string const descriptors = "/proc/" + std::to_string(tool.pid()) + "/fd/";
        for (int descriptor = 0; descriptor <= 2; ++descriptor) {
            fs::path const target = fs::read_symlink(descriptors + std::to_string(descriptor));
            EXPECT_EQ(IsClosed(descriptor), target == holder) << descriptor << ' ' << target;
        }
        EXPECT_EQ(ScriptedAgent::lockFile, fs::read_symlink(descriptors + '3'));
        EXPECT_EQ("0 1 2 3 ", ListDirectory(descriptors));
        ToolRun const run = tool.Wait();
        ExpectPrinted(IsClosed(STDOUT_FILENO) ? "" : results, run);
        ExpectExchangeUntouched(agent);
    }
};

TEST_P(ClosedDescriptorsTest, AreReplacedByDevNull) {
    Sandbox::RunWithDirectories([] { ExpectHeldBy("/dev/null"); });
}

TEST_P(ClosedDescriptorsTest, AreReplacedByRootDirectoryWithoutDevNull) {
    Sandbox::RunWithDirectories([] { ExpectHeldBy("/"); }, {.emptyPlaces = {"/dev"}});
}

TEST_P(ClosedDescriptorsTest, DoNotChangeStatusAndTextOfRefusals) {
    Sandbox::Run([] {
        ToolRun const refused = RunTool({"-d"}, Options());
        ExpectPrinted(IsClosed(STDOUT_FILENO) ? "" : OpenError(-6), refused);
        ToolRun const usage = RunTool({}, Options());
        EXPECT_EQ(IsClosed(STDOUT_FILENO) ? "" : "Usage: ", usage.output.substr(0, 7));
        EXPECT_EQ(ExitStatus::Exited(255), usage.status);
    });
}

INSTANTIATE_TEST_SUITE_P(StandardDescriptorsTest, ClosedDescriptorsTest, testing::Range(0, 8),
                         [](auto const& param) {
                             std::string name = "Closed";
                             for (int descriptor = 0; descriptor <= 2; ++descriptor)
                                 if ((param.param >> descriptor & 1) != 0)
                                     name += std::to_string(descriptor);
                             return name;
                         });

// Full, or open for reading only.
TEST(StandardDescriptorsTest, FullOrReadOnlyOutputDoesNotChangeExchangeAndStatus) {
    for (auto const& options :
         {WithOutputTo("/dev/full", O_WRONLY), WithOutputTo("/dev/null", O_RDONLY)}) {
        Sandbox::RunWithDirectories([&] {
            EXPECT_EQ(ExitStatus::Exited(255), RunTool({}, options).status);
            EXPECT_EQ(ExitStatus::Exited(0), RunTool({"-d"}, options).status);
            ScriptedAgent agent(TwoPolls());
            EXPECT_EQ(ExitStatus::Exited(0), RunTool({"-d"}, options).status);
            ExpectExchangeUntouched(agent);
        });
    }
}

// More output than the C library buffers, so writing fails in the middle of the rows, too.
SANDBOX_TEST(StandardDescriptorsTest, ContinuesIfOutputIsFullDuringRows) {
    std::string rows;
    for (int i = 0; i < 100; ++i)
        rows += Row({"d", std::string(1000, 'r'), "t", "1", "x", "c"});
    ScriptedAgent agent(WholeEvaluation({ProgressResponse("1", "0", "100", rows)}));
    ToolRun const run = RunTool({"-d"}, WithOutputTo("/dev/full", O_WRONLY));
    EXPECT_EQ(ExitStatus::Exited(0), run.status);
    agent.AwaitEnd();
    EXPECT_EQ(3u, agent.Requests().size());
}

bool WriteToClosedPipe() {
    int ends[2];
    return pipe2(ends, O_CLOEXEC) == 0 && dup2(ends[1], STDOUT_FILENO) == STDOUT_FILENO;
}

// Signals keep their defaults. The output and the signal occur at the end, after Close.
SANDBOX_TEST(StandardDescriptorsTest, SigpipeEndsToolAfterClose) {
    ScriptedAgent agent(TwoPolls());
    EXPECT_EQ(ExitStatus::Killed(SIGPIPE), RunTool({"-d"}, {.prepare = WriteToClosedPipe}).status);
    ExpectExchangeUntouched(agent);
}

SANDBOX_TEST(StandardDescriptorsTest, KeepsIgnoringSigpipe) {
    ProgramOptions const options{.prepare = [] {
        return std::signal(SIGPIPE, SIG_IGN) != SIG_ERR && WriteToClosedPipe();
    }};
    EXPECT_EQ(ExitStatus::Exited(255), RunTool({}, options).status);
}

SANDBOX_TEST(StandardDescriptorsTest, InputIsNeverRead) {
    ScriptedAgent agent(TwoPolls());
    int ends[2];
    ASSERT_EQ(0, pipe2(ends, O_CLOEXEC));
    ASSERT_EQ(1, write(ends[1], "x", 1));
    ToolRun const run = RunTool({"-d"}, {.prepare = [&] {
                                    return dup2(ends[0], STDIN_FILENO) == STDIN_FILENO;
                                }});
    EXPECT_EQ(results, run.output);
    char byte = 0;
    EXPECT_EQ(1, read(ends[0], &byte, 1));
    EXPECT_EQ('x', byte);
    ExpectExchangeUntouched(agent);
}

} // namespace
