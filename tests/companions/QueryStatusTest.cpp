// The exit statuses of compliance-query, with their messages and documents.
#include "tests/companions/Query.h"
#include "tests/system/RecordLock.h"

namespace {

// One message, and nothing on standard output.
void ExpectRefusal(int status, std::string const& message, Texts const& arguments = {"-d"}) {
    ProgramResult const result = RunQuery(arguments);
    ExpectExit(status, "compliance-query: " + message + "\n", result);
    EXPECT_EQ("", result.output);
}

// The program closes the evaluation in each case.
SANDBOX_TEST(QueryStatusTest, FailureHasStatusMessageAndDocument) {
    struct {
        std::string response;
        int status;
        char const* word;
        std::string message;
        // A further member of the document.
        Json more;
    } const failures[] = {{ProgressResponse("2", "-22"),
                           1,
                           "agent-error",
                           "the agent is not available right now (error -22)",
                           {{"agentError", -22}}},
                          {ProgressResponse("2", "5"),
                           1,
                           "agent-error",
                           "the agent reports the error 5",
                           {{"agentError", 5}}},
                          {ProgressResponse("7"),
                           6,
                           "bad-answer",
                           "the agent's response cannot be read (code -7)",
                           {{"code", -7}}}};
    for (auto const& [response, status, word, message, more] : failures)
        for (char const* const format : {"--json", "--tsv"}) {
            QueryRun const run = Query({"-d", "--timeout=1m", format}, QueryScript({response}));
            ExpectExit(status, "compliance-query: " + message + "\n", run);
            EXPECT_EQ(closeRequest, run.requests.back());
            Json expected = FailureOf(status, word, message);
            expected.update(more);
            if (format == std::string("--json"))
                EXPECT_EQ(expected, DocumentOf(run));
            else
                EXPECT_EQ("", run.output);
        }
}

SANDBOX_TEST(QueryStatusTest, ExitsWith2OnInvalidCommandLine) {
    ExpectRefusal(
        2,
        "--timeout: 'soon' is not accepted; accepted: a time from 1 second to 2147483647 seconds, "
        "such as 90, 90s, 5m or 2h",
        {"--timeout=soon", "-d"});
    ExpectRefusal(2, "'--\\x1b[31m' is not an option of this program; --help lists the options",
                  {"--\x1b[31m"});
    ExpectRefusal(2, "--explain: '12' is not accepted; accepted: 0 to 11, 129, 130 or 143",
                  {"--explain=12"});
}

SANDBOX_TEST(QueryStatusTest, ExitsWith3IfAgentOrDirectoriesAreMissing) {
    ExpectRefusal(3,
                  "the agent is not installed, or this user cannot access its program (code -1)");
    Sandbox::InstallAgent();
    ExpectRefusal(3, "the agent is not running, or this user cannot see its process (code -2)");
    fs::remove_all("/var/opt/VeskaClient");
    ExpectRefusal(3, "the agent is not installed or not started: /var/opt/VeskaClient/RequestDir "
                     "is missing (code -6)");
    fs::remove(Sandbox::agentProgram);
    ExpectRefusal(3, "the agent is not installed or not started: /opt/VeskaClient/bin/VeskaClient "
                     "is missing (code -6)");
}

SANDBOX_TEST(QueryStatusTest, ExitsWith4IfLockIsHeld) {
    Sandbox::InstallAgent();
    ForeignLock lock;
    ProgramResult const result = RunQuery({"--json", "-d"});
    Json const document = DocumentOf(result);
    EXPECT_EQ("busy", document.at("failure"));
    EXPECT_EQ(-6, document.at("code"));
    std::string const message = document.at("message");
    EXPECT_THAT(message, StartsWith("the lock was refused: the lock is held by process "));
    ExpectExit(4, "compliance-query: " + message + "\n", result);
    EXPECT_TRUE(IsLocked());
}

SANDBOX_TEST(QueryStatusTest, ExitsWith4IfRequestIsWaiting) {
    ScriptedAgent agent;
    WriteWholeFile(ScriptedAgent::request, "waiting");
    ExpectRefusal(4, "a request is already waiting for the agent; compliance-doctor shows its age "
                     "(code -5)");
}

SANDBOX_TEST(QueryStatusTest, ExitsWith5IfRequestIsNotTaken) {
    ScriptedAgent agent(AgentScript().AwaitRequest());
    ExpectRefusal(5, "the agent did not take the request in time (code -3)");
}

// The time ends during Open, and the program closes the evaluation.
SANDBOX_TEST(QueryStatusTest, ExitsWith5AfterTimeout) {
    std::string const message = "the evaluation did not finish within the time of --timeout";
    QueryRun const run = Query({"--timeout=1", "--json", "-d"}, QueryScript({}));
    ExpectExit(5, "compliance-query: " + message + "\n", run);
    EXPECT_EQ(FailureOf(5, "time-out", message), DocumentOf(run));
    EXPECT_EQ(closeRequest, run.requests.back());
}

SANDBOX_TEST(QueryStatusTest, ExitsWith7IfRequestCannotBeWritten) {
    ScriptedAgent agent;
    fs::create_directory(ScriptedAgent::requestTemp);
    ExpectRefusal(7, "the request could not be written or published; compliance-doctor may show "
                     "the reason (code -17)");
}

// The program closes the evaluation nevertheless.
void ExpectOutputFailure(std::string const& reason, ProgramOptions const& options,
                         std::string const& rows = TwoRows()) {
    QueryRun const run = Query({"--json", "-d"}, FinishingScript(rows), options);
    ExpectExit(8, "compliance-query: the rows could not be written: " + reason + "\n", run);
    EXPECT_EQ(closeRequest, run.requests.back());
}

SANDBOX_TEST(QueryStatusTest, ExitsWith8IfRowsCannotBeWritten) {
    ExpectOutputFailure("No space left on device", {.prepare = [] {
                            return dup2(open("/dev/full", O_WRONLY), STDOUT_FILENO) >= 0;
                        }});
    ExpectOutputFailure("Broken pipe", {.prepare = [] {
                            int ends[2];
                            return pipe(ends) == 0 && dup2(ends[1], STDOUT_FILENO) >= 0 &&
                                   close(ends[0]) == 0 && close(ends[1]) == 0;
                        }});
    ExpectOutputFailure("Bad file descriptor", {.closedDescriptors = {0, 1}});
    ExpectOutputFailure("File too large", {.limits = {{RLIMIT_FSIZE, 100'000}}}, ManyRows());
}

SANDBOX_TEST(QueryStatusTest, LostFailureDocumentKeepsTheStatusOfTheFailure) {
    ExpectExit(3,
               "compliance-query: the agent is not installed, or this user cannot access its "
               "program (code -1)\n"
               "compliance-query: the document could not be written: No space left on device\n",
               RunQuery({"--json", "-d"}, {.prepare = [] {
                            return dup2(open("/dev/full", O_WRONLY), STDOUT_FILENO) >= 0;
                        }}));
}

TEST(QueryStatusTest, ExitsWith8IfHelpCannotBeWritten) {
    EXPECT_EQ(ExitStatus::Exited(8), RunQuery({"--help"}, {.closedDescriptors = {1}}).status);
}

TEST(QueryStatusTest, ExplainShowsCauseAndRemedy) {
    ProgramResult const result = RunQuery({"--explain", "9"});
    ExpectExit(0, "", result);
    EXPECT_THAT(result.output, StartsWith("9 (stale): the response existed before the request\n"
                                          "Cause: "));
    EXPECT_THAT(result.output, HasSubstr("\nRemedy: "));
}

} // namespace
