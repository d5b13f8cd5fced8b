// The examples as their readers would run them: built against the header and the library, or found
// beside the tool on the PATH, on a machine with a scripted agent.
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/OtherProcess.h"
#include "tests/support/PrivateMachine.h"
#include "tests/support/ScriptedAgent.h"
#include "tests/system/Documents.h"
#include "tests/system/RecordLock.h"

namespace {

namespace fs = std::filesystem;
using PrivateMachine::CreateAgentDirectories;
using Arguments = std::vector<std::string>;

Arguments const minimal{EXAMPLE_MINIMAL, "url", "doc"};
Arguments const evaluate{EXAMPLE_EVALUATE, "url", "doc"};
Arguments const shell{EXAMPLES_DIRECTORY "/evaluate.sh", "url", "doc"};
Arguments const check{EXAMPLES_DIRECTORY "/check_compliance", "url", "doc"};

std::string const good = Row({"b-001", "Compliant", "t", "1", "d", "c"});
std::string const bad = Row({"b-002|caf&#xe9;", "Not Compliant", "t", "1", "d", "c"});

Arguments Timed(std::string const& seconds) { return {EXAMPLE_TIMED, seconds, "url", "doc"}; }

AgentScript Finish(std::string const& rows) {
    return AgentScript()
        .Answer(OpenAnswer())
        .Answer(ProgressAnswer("1", "0", "100", rows))
        .Answer(CloseAnswer());
}

AgentScript EndWith(std::string const& state, std::string const& error) {
    return AgentScript()
        .Answer(OpenAnswer())
        .Answer(ProgressAnswer(state, error))
        .Answer(CloseAnswer());
}

// The tool stands on the PATH under its own name, whichever build is tested.
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

// On a machine whose agent follows the script to its end.
void ExpectWith(AgentScript const& script, Arguments const& command, int status,
                std::string const& output, std::string const& errors) {
    PrivateMachine::Run([&] {
        CreateAgentDirectories();
        ScriptedAgent const agent(script);
        Expect(status, output, errors, RunProgram(command, WithTool()));
        agent.AwaitEnd(std::chrono::seconds(1));
    });
}

// On a machine that has never had an agent.
void ExpectRefused(Arguments const& command, int status, std::string const& output,
                   std::string const& errors) {
    PrivateMachine::Run([&] { Expect(status, output, errors, RunProgram(command, WithTool())); });
}

TEST(ExamplesTest, MinimalPrintsTheRows) {
    ExpectWith(Finish(good + bad), minimal, 0, "b-001: Compliant\nb-002|caf\xE9: Not Compliant\n",
               "");
}

TEST(ExamplesTest, MinimalTellsTheErrorOfTheAgent) {
    ExpectWith(EndWith("2", "-22"), minimal, 1, "", "minimal: the agent reports the error -22\n");
}

TEST(ExamplesTest, MinimalTellsTheCodeOfARefusal) {
    ExpectRefused(minimal, 1, "", "minimal: the evaluation could not be opened: -6\n");
}

TEST(ExamplesTest, TimedPrintsTheRows) {
    ExpectWith(Finish(good), Timed("20"), 0, "b-001: Compliant\n", "");
}

TEST(ExamplesTest, TimedGivesUpAndClosesInGoodOrder) {
    ExpectWith(AgentScript()
                   .Answer(OpenAnswer())
                   .Answer(ProgressAnswer("3", "0", "7"))
                   .Answer(CloseAnswer()),
               Timed("3"), 3, "", "timed: 7%\ntimed: not finished in 3 seconds\n");
}

// The signal comes in the middle of the opening, and shortens nothing.
SANDBOX_TEST(ExamplesTest, TimedEndsBySignalBehindTheClose) {
    ScriptedAgent const agent(AgentScript()
                                  .Answer(OpenAnswer())
                                  .Answer(ProgressAnswer("3", "0", "7"))
                                  .Answer(CloseAnswer()));
    OtherProgram program(Timed("20"));
    agent.AwaitRequests(1);
    program.Kill(SIGTERM);
    ProgramResult const result = program.Wait();
    EXPECT_EQ(ExitStatus::Killed(SIGTERM), result.status);
    EXPECT_EQ("timed: 7%\n", result.errors);
    agent.AwaitEnd(std::chrono::seconds(1));
    EXPECT_EQ(closeRequest, agent.Requests().back().bytes);
}

TEST(ExamplesTest, ClassPrintsProgressAndRows) {
    ExpectWith(AgentScript()
                   .Answer(OpenAnswer())
                   .Answer(ProgressAnswer("3", "0", "7"))
                   .Answer(ProgressAnswer("1", "0", "100", good + bad))
                   .Answer(CloseAnswer()),
               evaluate, 0, "b-001: Compliant\nb-002|caf\xE9: Not Compliant\n", "7%\n");
}

// The object is gone by the time the error is told, and the agent knows.
TEST(ExamplesTest, ClassClosesAfterAnError) {
    ExpectWith(EndWith("2", "5"), evaluate, 1, "", "evaluate: the agent reports an error: 5\n");
}

TEST(ExamplesTest, ClassTellsTheCodeOfARefusal) {
    ExpectRefused(evaluate, 1, "", "evaluate: the evaluation could not be opened: -6\n");
}

#ifdef EXAMPLE_LIBRARY

Arguments const python{"/usr/bin/python3", EXAMPLES_DIRECTORY "/compliance.py", "url", "doc"};

ProgramOptions WithLibrary() {
    return {.environment = {{"LD_LIBRARY_PATH=" EXAMPLE_LIBRARY, "PYTHONDONTWRITEBYTECODE=1"}}};
}

SANDBOX_TEST(ExamplesTest, PythonPrintsProgressAndRowsByteForByte) {
    ScriptedAgent const agent(AgentScript()
                                  .Answer(OpenAnswer())
                                  .Answer(ProgressAnswer("3", "0", "7"))
                                  .Answer(ProgressAnswer("1", "0", "100", bad))
                                  .Answer(CloseAnswer()));
    Expect(0,
           "{\"designator\": \"b-002|caf\\udce9\", \"result\": \"Not Compliant\", "
           "\"result_type\": \"t\", \"evaluation_time\": \"1\", \"description\": \"d\", "
           "\"comment\": \"c\"}\n",
           "7%\n", RunProgram(python, WithLibrary()));
    agent.AwaitEnd(std::chrono::seconds(1));
}

TEST(ExamplesTest, PythonTellsTheCodeOfARefusal) {
    PrivateMachine::Run([] {
        Expect(1, "", "compliance.py: the evaluation could not be opened: -6\n",
               RunProgram(python, WithLibrary()));
    });
}

#endif

TEST(ExamplesTest, ShellPrintsALineForEachRow) {
    ExpectWith(Finish(good + bad), shell, 0, "Compliant\tb-001\nNot Compliant\tb-002|caf\xE9\n",
               "");
}

TEST(ExamplesTest, ShellPrintsNothingForNoRows) { ExpectWith(Finish(""), shell, 0, "", ""); }

TEST(ExamplesTest, ShellTellsTheErrorOfTheAgent) {
    ExpectWith(EndWith("2", "-22"), shell, 1, "",
               "evaluate.sh: no results: Client reports not available right now.\n");
}

// The tool itself says nothing here, and ends with 0.
TEST(ExamplesTest, ShellNoticesSilence) {
    ExpectWith(EndWith("4", "0"), shell, 1, "",
               "evaluate.sh: no results: the agent did not answer\n");
}

TEST(ExamplesTest, ShellTellsTheCodeOfARefusal) {
    ExpectRefused(shell, 1, "", "evaluate.sh: no results: COMPLIANCE_Open returned error: -6.\n");
}

// The tool refuses them with its usage text, which is no result.
TEST(ExamplesTest, ShellRefusesArgumentsThatTheToolRefuses) {
    std::string const usage =
        "usage: evaluate.sh URL DOC [FLAGS]; the flags are a number from 0 to 15\n";
    ExpectRefused({shell.front(), "url", "doc", "16"}, 2, "", usage);
    ExpectRefused({shell.front(), "url"}, 2, "", usage);
}

// The shell has a word of its own about that before.
TEST(ExamplesTest, ShellTellsOfAToolThatIsNotThere) {
    ProgramResult const result = RunProgram(shell, {.environment = {{"PATH=/usr/bin:/bin"}}});
    EXPECT_EQ(ExitStatus::Exited(1), result.status);
    EXPECT_EQ("", result.output);
    EXPECT_TRUE(result.errors.ends_with(
        "\nevaluate.sh: no results: the tool did not end by itself (status 127)\n"))
        << result.errors;
}

TEST(ExamplesTest, ShellRefusesRowsThatItCannotTellApart) {
    ExpectWith(Finish(Row({"d", "r", "t", "1", "x\n        Result: Compliant", "c"})), shell, 1, "",
               "evaluate.sh: a value holds line ends; the rows can not be told apart\n");
}

TEST(ExamplesTest, CheckIsGreenWhereAllResultsAreGood) {
    ExpectWith(Finish(good + good), check, 0, "COMPLIANCE OK - 2 rows | rows=2 bad=0\n", "");
}

TEST(ExamplesTest, CheckIsRedAndNamesTheOtherRows) {
    ExpectWith(Finish(good + bad), check, 2,
               "COMPLIANCE CRITICAL - 1 of 2 rows: b-002/caf? (Not Compliant) | rows=2 bad=1\n",
               "");
}

TEST(ExamplesTest, CheckTakesTheNamesOfGoodResults) {
    Arguments command = check;
    command.push_back("Not Compliant");
    ExpectWith(Finish(bad), command, 0, "COMPLIANCE OK - 1 rows | rows=1 bad=0\n", "");
}

TEST(ExamplesTest, CheckWarnsWhileTheAgentIsNotAvailable) {
    ExpectWith(EndWith("2", "-22"), check, 1,
               "COMPLIANCE WARNING - the agent is not available right now\n", "");
}

SANDBOX_TEST(ExamplesTest, CheckWarnsWhileAnotherEvaluationRuns) {
    ForeignLock const lock;
    Expect(1, "COMPLIANCE WARNING - another evaluation is running (-6)\n", "",
           RunProgram(check, WithTool()));
}

TEST(ExamplesTest, CheckKnowsNothingWhereTheLockFileCannotBeOpened) {
    ExpectRefused(check, 3, "COMPLIANCE UNKNOWN - the lock file can't be opened (-6)\n", "");
}

SANDBOX_TEST(ExamplesTest, CheckWarnsWhileARequestIsWaiting) {
    ScriptedAgent const agent;
    fs::create_directory(ScriptedAgent::request);
    Expect(1, "COMPLIANCE WARNING - a request is waiting for the agent (-5)\n", "",
           RunProgram(check, WithTool()));
}

SANDBOX_TEST(ExamplesTest, CheckKnowsNothingWithoutAnAgent) {
    Expect(3, "COMPLIANCE UNKNOWN - COMPLIANCE_Open returned error: -1.\n", "",
           RunProgram(check, WithTool()));
}

SANDBOX_TEST(ExamplesTest, CheckEndsAnEvaluationThatTakesTooLong) {
    ScriptedAgent const agent;
    ProgramOptions options = WithTool();
    options.environment->push_back("CHECK_SECONDS=0.5");
    Expect(3, "COMPLIANCE UNKNOWN - the evaluation did not end by itself (status 124)\n", "",
           RunProgram(check, options));
}

} // namespace
