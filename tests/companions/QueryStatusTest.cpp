// The exit statuses of compliance-query, with their messages and documents.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "tests/companions/Query.h"
#include "tests/system/RecordLock.h"

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;
using Texts = std::vector<std::string>;

// One message, and nothing on standard output.
void ExpectRefusal(int status, std::string const& message, Texts const& arguments,
                   std::function<void()> const& prepare) {
    Sandbox::Run([&] {
        prepare();
        ProgramResult const result = RunQuery(arguments);
        EXPECT_EQ(ExitStatus::Exited(status), result.status);
        EXPECT_EQ("compliance-query: " + message + "\n", result.errors);
        EXPECT_EQ("", result.output);
    });
}

struct Failure {
    char const* name;
    std::vector<std::string> progressAnswers;
    int status;
    char const* word;
    std::string message;
    // Further members of the document.
    Json more;
};

void PrintTo(Failure const& failure, std::ostream* out) { *out << failure.name; }

class QueryFailureTest : public testing::TestWithParam<Failure> {};

// The program closes the evaluation in each case.
TEST_P(QueryFailureTest, HasStatusMessageAndDocument) {
    Failure const& failure = GetParam();
    for (bool const asJson : {true, false}) {
        Query({"-d", "--timeout=1m", asJson ? "--json" : "--tsv"},
              QueryScript(failure.progressAnswers),
              [&](ProgramResult const& result, auto const& requests) {
                  EXPECT_EQ(ExitStatus::Exited(failure.status), result.status);
                  EXPECT_EQ("compliance-query: " + failure.message + "\n", result.errors);
                  EXPECT_EQ(closeRequest, requests.back().bytes);
                  Json expected = FailureOf(failure.status, failure.word, failure.message);
                  expected.update(failure.more);
                  if (asJson)
                      EXPECT_EQ(expected, DocumentOf(result));
                  else
                      EXPECT_EQ("", result.output);
              });
    }
}

INSTANTIATE_TEST_SUITE_P(Answers, QueryFailureTest,
                         testing::Values(Failure{"AgentIsNotAvailable",
                                                 {ProgressAnswer("2", "-22")},
                                                 1,
                                                 "agent-error",
                                                 "the agent is not available right now (error -22)",
                                                 {{"agentError", -22}}},
                                         Failure{"AgentReportsError",
                                                 {ProgressAnswer("2", "5")},
                                                 1,
                                                 "agent-error",
                                                 "the agent reports the error 5",
                                                 {{"agentError", 5}}},
                                         Failure{"AnswerCannotBeRead",
                                                 {ProgressAnswer("7")},
                                                 6,
                                                 "bad-answer",
                                                 "the agent's answer cannot be read (code -7)",
                                                 {{"code", -7}}}),
                         [](auto const& test) { return std::string(test.param.name); });

TEST(QueryStatusTest, InvalidCommandLineIsStatus2WithoutARequest) {
    ExpectRefusal(
        2,
        "--timeout: 'soon' is not accepted; accepted: a time from 1 second to 2147483647 seconds, "
        "such as 90, 90s, 5m or 2h",
        {"--timeout=soon", "-d"}, Sandbox::CreateAgentDirectories);
    ExpectRefusal(2, "'--\\x1b[31m' is not an option of this program; --help lists the options",
                  {"--\x1b[31m"}, Sandbox::CreateAgentDirectories);
}

TEST(QueryStatusTest, ExitsWith3IfAgentIsMissing) {
    ExpectRefusal(3, "the agent is not installed (code -1)", {"-d"},
                  Sandbox::CreateAgentDirectories);
    ExpectRefusal(3, "the agent is not running (code -2)", {"-d"}, [] {
        Sandbox::CreateAgentDirectories();
        Sandbox::InstallAgent();
    });
}

TEST(QueryStatusTest, ExitsWith3IfDirectoriesAreMissing) {
    ExpectRefusal(3,
                  "the agent is not installed: /opt/VeskaClient/bin/VeskaClient is missing "
                  "(code -6)",
                  {"-d"}, [] {});
    ExpectRefusal(3,
                  "the agent is not installed: /var/opt/VeskaClient/RequestDir is missing "
                  "(code -6)",
                  {"-d"}, [] { Sandbox::InstallAgent(); });
}

TEST(QueryStatusTest, ExitsWith4IfLockIsHeld) {
    Sandbox::Run([] {
        Sandbox::CreateAgentDirectories();
        Sandbox::InstallAgent();
        ForeignLock lock;
        ProgramResult const result = RunQuery({"--json", "-d"});
        EXPECT_EQ(ExitStatus::Exited(4), result.status);
        Json const document = DocumentOf(result);
        EXPECT_EQ("busy", document.at("failure"));
        EXPECT_EQ(-6, document.at("code"));
        std::string const message = document.at("message");
        EXPECT_TRUE(message.starts_with("the lock was refused: the lock is held by process "))
            << message;
        EXPECT_EQ("compliance-query: " + message + "\n", result.errors);
        EXPECT_TRUE(IsLocked());
    });
}

TEST(QueryStatusTest, ExitsWith4IfRequestIsWaiting) {
    Sandbox::Run([] {
        Sandbox::CreateAgentDirectories();
        ScriptedAgent agent;
        std::ofstream(ScriptedAgent::request) << "waiting";
        ProgramResult const result = RunQuery({"-d"});
        EXPECT_EQ(ExitStatus::Exited(4), result.status);
        EXPECT_EQ("compliance-query: a request is already waiting for the agent; compliance-doctor "
                  "shows its age (code -5)\n",
                  result.errors);
    });
}

TEST(QueryStatusTest, ExitsWith5IfRequestIsNotTaken) {
    Sandbox::Run([] {
        Sandbox::CreateAgentDirectories();
        ScriptedAgent agent(AgentScript().AwaitRequest());
        ProgramResult const result = RunQuery({"-d"});
        EXPECT_EQ(ExitStatus::Exited(5), result.status);
        EXPECT_EQ("compliance-query: the agent did not take the request in time (code -3)\n",
                  result.errors);
    });
}

// The timeout ends an evaluation in progress, and the program closes it.
TEST(QueryStatusTest, ExitsWith5AfterTimeout) {
    Query({"--timeout=1", "--json", "-d"}, QueryScript({}),
          [](ProgramResult const& result, auto const& requests) {
              EXPECT_EQ(ExitStatus::Exited(5), result.status);
              EXPECT_EQ("compliance-query: not finished within the time of --timeout\n",
                        result.errors);
              EXPECT_EQ(FailureOf(5, "time-out", "not finished within the time of --timeout"),
                        DocumentOf(result));
              EXPECT_EQ(closeRequest, requests.back().bytes);
          });
}

TEST(QueryStatusTest, ExitsWith7IfRequestCannotBeWritten) {
    Sandbox::Run([] {
        Sandbox::CreateAgentDirectories();
        ScriptedAgent agent;
        fs::create_directory(ScriptedAgent::requestTemp);
        ProgramResult const result = RunQuery({"-d"});
        EXPECT_EQ(ExitStatus::Exited(7), result.status);
        EXPECT_EQ("compliance-query: the request could not be written; compliance-doctor shows the "
                  "reason (code -17)\n",
                  result.errors);
    });
}

// The program closes the evaluation nevertheless.
void ExpectOutputFailure(std::string const& reason, ProgramOptions const& options) {
    Sandbox::Run([&] {
        Sandbox::CreateAgentDirectories();
        ScriptedAgent const agent(FinishingScript(TwoRows()));
        ProgramResult const result = RunQuery({"--tsv", "-d"}, options);
        EXPECT_EQ(ExitStatus::Exited(8), result.status);
        EXPECT_EQ("compliance-query: the rows could not be written: " + reason + "\n",
                  result.errors);
        agent.AwaitEnd(std::chrono::seconds(1));
    });
}

TEST(QueryStatusTest, ExitsWith8IfRowsCannotBeWritten) {
    ExpectOutputFailure("No space left on device", {.prepare = [] {
                            return dup2(open("/dev/full", O_WRONLY), STDOUT_FILENO) >= 0;
                        }});
    ExpectOutputFailure("Broken pipe", {.prepare = [] {
                            int ends[2];
                            return pipe(ends) == 0 && dup2(ends[1], STDOUT_FILENO) >= 0 &&
                                   close(ends[0]) == 0 && close(ends[1]) == 0;
                        }});
    ExpectOutputFailure("Bad file descriptor", {.closedDescriptors = {0, 1}});
}

TEST(QueryStatusTest, ExitsWith8IfOutputExceedsFileSizeLimit) {
    Sandbox::Run([] {
        Sandbox::CreateAgentDirectories();
        ScriptedAgent const agent(FinishingScript(ManyRows()));
        ProgramResult const result =
            RunQuery({"-d", "--json"}, {.limits = {{RLIMIT_FSIZE, 100'000}}});
        EXPECT_EQ(ExitStatus::Exited(8), result.status);
        EXPECT_EQ("compliance-query: the rows could not be written: File too large\n",
                  result.errors);
        agent.AwaitEnd(std::chrono::seconds(1));
        EXPECT_EQ(closeRequest, agent.Requests().back().bytes);
    });
}

TEST(QueryStatusTest, ExitsWith8IfHelpCannotBeWritten) {
    EXPECT_EQ(ExitStatus::Exited(8), RunQuery({"--help"}, {.closedDescriptors = {1}}).status);
}

TEST(QueryStatusTest, ExplainShowsCauseAndRemedy) {
    ProgramResult const result = RunQuery({"--explain", "9"});
    EXPECT_EQ(ExitStatus::Exited(0), result.status);
    EXPECT_TRUE(result.output.starts_with("9 (stale): the answer existed before the request\n"
                                          "Cause: "));
    EXPECT_NE(std::string::npos, result.output.find("\nRemedy: "));
    ProgramResult const refused = RunQuery({"--explain=12"});
    EXPECT_EQ(ExitStatus::Exited(2), refused.status);
    EXPECT_EQ("compliance-query: --explain: '12' is not accepted; accepted: 0 to 11, 129, 130 or "
              "143\n",
              refused.errors);
}

} // namespace
