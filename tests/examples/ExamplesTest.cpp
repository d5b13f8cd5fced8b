// The examples as users run them: built with the header and the library, or with the tool in PATH,
// in a sandbox with a scripted agent.
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <ostream>

#include "tests/support/OtherProcess.h"
#include "tests/support/Sandbox.h"
#include "tests/support/ScriptedAgent.h"
#include "tests/system/Documents.h"

namespace {

namespace fs = std::filesystem;
using Arguments = std::vector<std::string>;

Arguments const minimal{EXAMPLE_MINIMAL, "url", "doc"};
Arguments const evaluate{EXAMPLE_EVALUATE, "url", "doc"};
Arguments const shell{EXAMPLES_DIRECTORY "/evaluate.sh", "url", "doc"};

std::string const good = Row({"b-001", "Compliant", "t", "1", "d", "c"});
std::string const bad = Row({"b-002|caf&#xe9;", "Not Compliant", "t", "1", "d", "c"});

Arguments Timed(std::string const& seconds) { return {EXAMPLE_TIMED, seconds, "url", "doc"}; }

AgentScript Finish(std::string const& rows) {
    return WholeEvaluation({ProgressResponse("1", "0", "100", rows)});
}

AgentScript EndWith(std::string const& state, std::string const& error) {
    return WholeEvaluation({ProgressResponse(state, error)});
}

// The tool is in PATH with its own name, whichever build is tested.
ProgramOptions WithTool() {
    fs::create_directories("/opt/tools");
    fs::copy_file(CC_TOOL_PROGRAM, "/opt/tools/ClientCompliance",
                  fs::copy_options::overwrite_existing);
    return {.environment = {{"PATH=/opt/tools:/usr/bin:/bin", "LC_ALL=C.UTF-8"}}};
}

void Expect(int status, std::string const& output, std::string const& errors,
            ProgramResult const& result) {
    EXPECT_EQ(ExitStatus::Exited(status), result.status);
    EXPECT_EQ(output, result.output);
    EXPECT_EQ(errors, result.errors);
}

// In a sandbox that has never had an agent.
void ExpectRefused(Arguments const& command, int status, std::string const& errors,
                   ProgramOptions (*options)() = WithTool) {
    Sandbox::Run([&] { Expect(status, "", errors, RunProgram(command, options())); });
}

struct Example {
    char const* name;
    AgentScript script;
    Arguments command;
    int status;
    std::string output;
    std::string errors;
};

void PrintTo(Example const& example, std::ostream* out) { *out << example.name; }

class ExampleTest : public testing::TestWithParam<Example> {};

TEST_P(ExampleTest, PrintsAndExits) {
    Example const& example = GetParam();
    Sandbox::RunWithDirectories([&] {
        ScriptedAgent const agent(example.script);
        Expect(example.status, example.output, example.errors,
               RunProgram(example.command, WithTool()));
        agent.AwaitEnd(std::chrono::seconds(1));
    });
}

INSTANTIATE_TEST_SUITE_P(
    ExamplesTest, ExampleTest,
    testing::Values(
        Example{"MinimalPrintsTheRows", Finish(good + bad), minimal, 0,
                "b-001: Compliant\nb-002|caf\xE9: Not Compliant\n", ""},
        Example{"MinimalPrintsErrorOfTheAgent", EndWith("2", "-22"), minimal, 1, "",
                "minimal: the agent reports the error -22\n"},
        Example{"TimedPrintsTheRows", Finish(good), Timed("20"), 0, "b-001: Compliant\n", ""},
        Example{"TimedClosesAfterTheTimeout", WholeEvaluation({ProgressResponse("3", "0", "7")}),
                Timed("3"), 3, "", "timed: 7%\ntimed: not finished in 3 seconds\n"},
        Example{"ClassPrintsProgressAndRows",
                WholeEvaluation({ProgressResponse("3", "0", "7"),
                                 ProgressResponse("1", "0", "100", good + bad)}),
                evaluate, 0, "b-001: Compliant\nb-002|caf\xE9: Not Compliant\n", "7%\n"},
        // The evaluation is closed before the error is printed.
        Example{"ClassClosesAfterAnError", EndWith("2", "5"), evaluate, 1, "",
                "evaluate: the agent reports an error: 5\n"},
        Example{"ShellPrintsALineForEachRow", Finish(good + bad), shell, 0,
                "Compliant\tb-001\nNot Compliant\tb-002|caf\xE9\n", ""},
        Example{"ShellPrintsNothingWithoutRows", Finish(""), shell, 0, "", ""},
        Example{"ShellPrintsErrorOfTheAgent", EndWith("2", "-22"), shell, 1, "",
                "evaluate.sh: no results: Client reports not available right now.\n"},
        // The tool itself prints nothing here, and exits with 0.
        Example{"ShellReportsFailedPoll", EndWith("4", "0"), shell, 1, "",
                "evaluate.sh: no results: a poll failed\n"},
        Example{"ShellRejectsAmbiguousRows",
                Finish(Row({"d", "r", "t", "1", "x\n        Result: Compliant", "c"})), shell, 1,
                "",
                "evaluate.sh: no results: a text contains line breaks, so rows are ambiguous\n"}),
    [](auto const& test) { return std::string(test.param.name); });

TEST(ExamplesTest, MinimalClassAndShellPrintErrorCodeOfOpen) {
    ExpectRefused(minimal, 1, "minimal: the evaluation could not be opened: -6\n");
    ExpectRefused(evaluate, 1, "evaluate: the evaluation could not be opened: -6\n");
    ExpectRefused(shell, 1, "evaluate.sh: no results: COMPLIANCE_Open returned error: -6.\n");
}

// The arguments of a command whose standard output is a full disk, or closed.
Arguments WithOutput(std::string const& redirection, Arguments const& command) {
    Arguments result{"/bin/sh", "-c", "exec \"$@\" " + redirection, "sh"};
    result.insert(result.end(), command.begin(), command.end());
    return result;
}

class LostOutputTest : public testing::TestWithParam<Arguments> {};

TEST_P(LostOutputTest, EndsWithStatus1) {
    Sandbox::RunWithDirectories([&] {
        ScriptedAgent const agent(Finish(good));
        EXPECT_EQ(ExitStatus::Exited(1),
                  RunProgram(WithOutput(">/dev/full", GetParam()), WithTool()).status);
    });
}

INSTANTIATE_TEST_SUITE_P(ExamplesTest, LostOutputTest,
                         testing::Values(minimal, Timed("20"), evaluate, shell),
                         [](auto const& program) {
                             return std::filesystem::path(program.param.front()).stem().string();
                         });

TEST(ExamplesTest, TimedRejectsTimeoutsThatAreNoNumbers) {
    for (char const* const seconds : {"10m", "1e3", "0", "-1", ""}) {
        SCOPED_TRACE(seconds);
        ExpectRefused(Timed(seconds), 2, "usage: timed SECONDS URL DOC\n");
    }
}

// A shell ignores SIGINT in background jobs.
SANDBOX_TEST(ExamplesTest, TimedContinuesAfterAnIgnoredSignal) {
    ScriptedAgent const agent(WholeEvaluation(
        {ProgressResponse("3", "0", "7"), ProgressResponse("1", "0", "100", good)}));
    OtherProgram program(
        {"/bin/sh", "-c", "trap '' INT; exec \"$@\"", "sh", EXAMPLE_TIMED, "20", "url", "doc"});
    agent.AwaitRequests(1);
    program.Kill(SIGINT);
    Expect(0, "b-001: Compliant\n", "timed: 7%\n", program.Wait());
}

// The signal arrives during Open, and does not shorten it.
SANDBOX_TEST(ExamplesTest, TimedEndsBySignalAfterClose) {
    ScriptedAgent const agent(WholeEvaluation({ProgressResponse("3", "0", "7")}));
    OtherProgram program(Timed("20"));
    agent.AwaitRequests(1);
    program.Kill(SIGTERM);
    ProgramResult const result = program.Wait();
    EXPECT_EQ(ExitStatus::Killed(SIGTERM), result.status);
    EXPECT_EQ("timed: 7%\n", result.errors);
    agent.AwaitEnd(std::chrono::seconds(1));
    EXPECT_EQ(closeRequest, agent.Requests().back().bytes);
}

#ifdef EXAMPLE_LIBRARY

Arguments const python{"/usr/bin/python3", EXAMPLES_DIRECTORY "/compliance.py", "url", "doc"};

ProgramOptions WithLibrary() {
    return {.environment = {{"LD_LIBRARY_PATH=" EXAMPLE_LIBRARY, "PYTHONDONTWRITEBYTECODE=1"}}};
}

SANDBOX_TEST(ExamplesTest, PythonPrintsProgressAndExactRows) {
    ScriptedAgent const agent(
        WholeEvaluation({ProgressResponse("3", "0", "7"), ProgressResponse("1", "0", "100", bad)}));
    Expect(0,
           "{\"designator\": \"b-002|caf\\udce9\", \"result\": \"Not Compliant\", "
           "\"result_type\": \"t\", \"evaluation_time\": \"1\", \"description\": \"d\", "
           "\"comment\": \"c\"}\n",
           "7%\n", RunProgram(python, WithLibrary()));
    agent.AwaitEnd(std::chrono::seconds(1));
}

TEST(ExamplesTest, PythonPrintsErrorCodeOfOpen) {
    ExpectRefused(python, 1,
                  "compliance.py: the evaluation could not be opened: another process holds the "
                  "lock, or the lock file cannot be opened, as without an agent (-6)\n",
                  WithLibrary);
}

SANDBOX_TEST(ExamplesTest, PythonExplainsTheErrorOfTheAgent) {
    ScriptedAgent const agent(EndWith("2", "-22"));
    Expect(
        1, "",
        "compliance.py: the agent reports an error: the agent is not available right now (-22)\n",
        RunProgram(python, WithLibrary()));
}

SANDBOX_TEST(ExamplesTest, PythonReportsLostOutput) {
    for (auto const& [redirection, reason] :
         {std::pair(">/dev/full", "[Errno 28] No space left on device"),
          std::pair(">&-", "[Errno 9] Bad file descriptor")}) {
        ScriptedAgent const agent(Finish(good));
        Expect(1, "", std::string("compliance.py: ") + reason + "\n",
               RunProgram(WithOutput(redirection, python), WithLibrary()));
    }
}

// During Open, and during the first Progress request.
SANDBOX_TEST(ExamplesTest, PythonClosesAfterAnInterrupt) {
    for (std::size_t const requests : {1, 2}) {
        ScriptedAgent const agent(
            WholeEvaluation({ProgressResponse("3", "0", "7"), ProgressResponse("3", "0", "8")}));
        OtherProgram program(python, WithLibrary());
        agent.AwaitRequests(requests);
        program.Kill(SIGINT);
        ProgramResult const result = program.Wait();
        EXPECT_EQ(ExitStatus::Exited(130), result.status);
        EXPECT_TRUE(result.errors.ends_with("compliance.py: interrupted\n")) << result.errors;
        EXPECT_EQ(std::string::npos, result.errors.find("Traceback")) << result.errors;
        EXPECT_EQ(closeRequest, agent.Requests().back().bytes);
    }
}

#endif

// The tool rejects them with its usage text, which is not a result.
TEST(ExamplesTest, ShellRejectsArgumentsThatTheToolRejects) {
    char const* const usage =
        "usage: evaluate.sh URL DOC [FLAGS]; the flags are a number from 0 to 15\n";
    ExpectRefused({shell.front(), "url", "doc", "16"}, 2, usage);
    ExpectRefused({shell.front(), "url"}, 2, usage);
}

// The shell prints its own message first.
TEST(ExamplesTest, ShellReportsMissingTool) {
    ProgramResult const result = RunProgram(shell, {.environment = {{"PATH=/usr/bin:/bin"}}});
    EXPECT_EQ(ExitStatus::Exited(1), result.status);
    EXPECT_EQ("", result.output);
    EXPECT_TRUE(result.errors.ends_with(
        "\nevaluate.sh: no results: ClientCompliance failed (exit status 127)\n"))
        << result.errors;
}

} // namespace
