// The real program, from its arguments to its exit status, against a scripted agent.
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "tests/companions/Terminal.h"
#include "tests/support/OtherProcess.h"
#include "tests/support/PrivateMachine.h"
#include "tests/support/ScriptedAgent.h"
#include "tests/system/Documents.h"
#include "tests/system/RecordLock.h"

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;
using PrivateMachine::CreateAgentDirectories;
using PrivateMachine::InstallAgent;
using Texts = std::vector<std::string>;

Texts Command(Texts const& arguments) {
    Texts command{CC_QUERY_PROGRAM};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return command;
}

ProgramResult RunQuery(Texts const& arguments, ProgramOptions const& options = {}) {
    return RunProgram(Command(arguments), options);
}

AgentScript Script(Texts const& progressAnswers) {
    AgentScript script;
    script.Answer(OpenAnswer());
    for (std::string const& answer : progressAnswers)
        script.Answer(answer);
    script.Answer(CloseAnswer());
    return script;
}

std::string Finished(std::string const& rows = "") { return ProgressAnswer("1", "0", "100", rows); }

std::string const twoRows =
    Row({"baseline-001", "Compliant", "pass/fail", "1523", "R&amp;D", ""}) +
    Row({"b&#xb5;", "Not", "t\tu", "no number", "line\nbreak", "&#x1b;[31m"});

// A whole evaluation on a machine of its own; what it says is looked at there.
template <typename Look>
void Query(Texts const& arguments, Texts const& progressAnswers, Look const& look) {
    PrivateMachine::Run([&] {
        CreateAgentDirectories();
        ScriptedAgent agent(Script(progressAnswers));
        ProgramResult const result = RunQuery(arguments);
        agent.AwaitEnd(std::chrono::seconds(1));
        look(result, agent.Requests());
    });
}

void ExpectOutput(Texts const& arguments, std::string const& rows, std::string const& output) {
    Query(arguments, {Finished(rows)}, [&](ProgramResult const& result, auto const&) {
        EXPECT_EQ(output, result.output);
        EXPECT_EQ("", result.errors);
        EXPECT_EQ(ExitStatus::Exited(0), result.status);
    });
}

// One message, and nothing on standard output.
void ExpectRefusal(int status, std::string const& message, Texts const& arguments,
                   std::function<void()> const& prepare) {
    PrivateMachine::Run([&] {
        prepare();
        ProgramResult const result = RunQuery(arguments);
        EXPECT_EQ(ExitStatus::Exited(status), result.status);
        EXPECT_EQ("compliance-query: " + message + "\n", result.errors);
        EXPECT_EQ("", result.output);
    });
}

char const lockRefused[] = "the lock was refused: another evaluation runs, or the agent's "
                           "directories are missing or closed "
                           "to this user; compliance-doctor tells which (code -6)";

TEST(QueryTest, Table) {
    ExpectOutput({"url", "doc"}, twoRows,
                 "DESIGNATOR    RESULT     TYPE       TIME (\xC2\xB5s)  DESCRIPTION  COMMENT\n"
                 "baseline-001  Compliant  pass/fail  1523       R&D\n"
                 "b\\xb5         Not        t\\tu       no number  line\\nbreak  \\x1b[31m\n");
}

TEST(QueryTest, Tsv) {
    ExpectOutput({"--tsv", "url", "doc"}, twoRows,
                 "designator\tresult\tresultType\tevaluationTime\tdescription\tcomment\n"
                 "baseline-001\tCompliant\tpass/fail\t1523\tR&D\t\n"
                 "b\xB5\tNot\tt\\tu\tno number\tline\\nbreak\t\x1b[31m\n");
}

Json const firstRow = {{"designator", "baseline-001"}, {"result", "Compliant"},
                       {"resultType", "pass/fail"},    {"evaluationTime", "1523"},
                       {"description", "R&D"},         {"comment", ""}};
Json const secondRow = {
    {"designator", "b\\xb5"}, {"designatorBase64", "YrU="},    {"result", "Not"},
    {"resultType", "t\tu"},   {"evaluationTime", "no number"}, {"description", "line\nbreak"},
    {"comment", "\x1b[31m"}};

TEST(QueryTest, JsonDocument) {
    Query({"--json", "-d"}, {Finished(twoRows)}, [](ProgramResult const& result, auto const&) {
        EXPECT_EQ((Json{{"schemaVersion", 1},
                        {"outcome", "finished"},
                        {"rowCount", 2},
                        {"rows", {firstRow, secondRow}}}),
                  Json::parse(result.output));
        EXPECT_EQ(ExitStatus::Exited(0), result.status);
    });
}

TEST(QueryTest, JsonObjectOnEachLine) {
    Query({"--ndjson", "-d"}, {Finished(twoRows)}, [](ProgramResult const& result, auto const&) {
        std::size_t const end = result.output.find('\n');
        EXPECT_EQ(firstRow, Json::parse(result.output.substr(0, end)));
        EXPECT_EQ(secondRow, Json::parse(result.output.substr(end + 1)));
        EXPECT_EQ(ExitStatus::Exited(0), result.status);
    });
}

// Far more than fits into one piece of output.
TEST(QueryTest, ManyRows) {
    std::string rows;
    for (int i = 0; i < 5000; ++i)
        rows +=
            Row({std::to_string(i), "&#xff;", "type", "1", "a longer description of the row", ""});
    Query({"--json", "-d"}, {Finished(rows)}, [](ProgramResult const& result, auto const&) {
        Json const document = Json::parse(result.output);
        ASSERT_EQ(5000u, document.at("rows").size());
        for (std::size_t i = 0; i < 5000; ++i)
            ASSERT_EQ(std::to_string(i), document["rows"][i]["designator"].get<std::string>());
        EXPECT_EQ(5000, document.at("rowCount").get<int>());
    });
}

TEST(QueryTest, RequestHasTheArgumentsAndTheFlags) {
    Query({"--flags", "hint,gather", "http://host/?a=b&c", "Doc & Co.xml"}, {Finished()},
          [](ProgramResult const&, std::vector<SeenRequest> const& requests) {
              ASSERT_EQ(3u, requests.size());
              EXPECT_EQ(OpenRequest("http://host/?a=b&amp;c", "Doc &amp; Co.xml", "9"),
                        requests[0].bytes);
              EXPECT_EQ(progressRequest, requests[1].bytes);
              EXPECT_EQ(closeRequest, requests[2].bytes);
          });
}

TEST(QueryTest, RequestByDefaultNamesNothing) {
    Query({"-d"}, {Finished()}, [](ProgramResult const&, std::vector<SeenRequest> const& requests) {
        ASSERT_EQ(3u, requests.size());
        EXPECT_EQ(OpenRequest("", "", "0"), requests[0].bytes);
    });
}

TEST(QueryTest, ErrorOfTheAgentIsStatus1) {
    Query({"-d"}, {ProgressAnswer("2", "-22")}, [](ProgramResult const& result, auto const&) {
        EXPECT_EQ(ExitStatus::Exited(1), result.status);
        EXPECT_EQ("compliance-query: the agent is not available right now (error -22)\n",
                  result.errors);
        EXPECT_EQ("", result.output);
    });
}

TEST(QueryTest, FailureIsADocumentWithJson) {
    Query({"-d", "--json"}, {ProgressAnswer("2", "5")},
          [](ProgramResult const& result, auto const&) {
              EXPECT_EQ(ExitStatus::Exited(1), result.status);
              EXPECT_EQ((Json{{"schemaVersion", 1},
                              {"outcome", "failed"},
                              {"exitStatus", 1},
                              {"agentError", 5},
                              {"message", "the agent reports the error 5"}}),
                        Json::parse(result.output));
              EXPECT_EQ("compliance-query: the agent reports the error 5\n", result.errors);
          });
}

TEST(QueryTest, BadCommandLineIsStatus2AndAsksNobody) {
    ExpectRefusal(
        2,
        "--timeout: 'soon' is not accepted; accepted: a whole number of seconds from 1 to "
        "2147483647",
        {"--timeout=soon", "-d"}, CreateAgentDirectories);
    ExpectRefusal(2, "'--\\x1b[31m' is no option of this program; --help shows those accepted",
                  {"--\x1b[31m"}, CreateAgentDirectories);
}

TEST(QueryTest, NoAgentIsStatus3) {
    ExpectRefusal(3, "the agent is not installed (code -1)", {"-d"}, CreateAgentDirectories);
    ExpectRefusal(3, "the agent is not running (code -2)", {"-d"}, [] {
        CreateAgentDirectories();
        InstallAgent();
    });
}

TEST(QueryTest, RefusedLockIsStatus4AndPointsToTheDoctor) {
    ExpectRefusal(4, lockRefused, {"-d"}, [] {});
    PrivateMachine::Run([] {
        CreateAgentDirectories();
        ForeignLock lock;
        ProgramResult const result = RunQuery({"--json", "-d"});
        EXPECT_EQ(ExitStatus::Exited(4), result.status);
        EXPECT_EQ((Json{{"schemaVersion", 1},
                        {"outcome", "failed"},
                        {"exitStatus", 4},
                        {"code", -6},
                        {"message", lockRefused}}),
                  Json::parse(result.output));
    });
}

TEST(QueryTest, WaitingRequestIsStatus4) {
    PrivateMachine::Run([] {
        CreateAgentDirectories();
        ScriptedAgent agent;
        std::ofstream(ScriptedAgent::request) << "waiting";
        ProgramResult const result = RunQuery({"-d"});
        EXPECT_EQ(ExitStatus::Exited(4), result.status);
        EXPECT_EQ("compliance-query: a request is already waiting for the agent; compliance-doctor "
                  "tells how long (code -5)\n",
                  result.errors);
    });
}

TEST(QueryTest, RequestThatNobodyTakesIsStatus5) {
    PrivateMachine::Run([] {
        CreateAgentDirectories();
        ScriptedAgent agent(AgentScript().AwaitRequest());
        ProgramResult const result = RunQuery({"-d"});
        EXPECT_EQ(ExitStatus::Exited(5), result.status);
        EXPECT_EQ("compliance-query: the agent did not take the request in time (code -3)\n",
                  result.errors);
    });
}

// Still in progress when the limit is over; the evaluation is closed.
TEST(QueryTest, TimeoutIsStatus5) {
    Query({"--timeout=1", "--json", "-d"}, {},
          [](ProgramResult const& result, auto const& requests) {
              EXPECT_EQ(ExitStatus::Exited(5), result.status);
              EXPECT_EQ("compliance-query: not finished within the time of --timeout\n",
                        result.errors);
              EXPECT_EQ((Json{{"schemaVersion", 1},
                              {"outcome", "failed"},
                              {"exitStatus", 5},
                              {"message", "not finished within the time of --timeout"}}),
                        Json::parse(result.output));
              EXPECT_EQ(closeRequest, requests.back().bytes);
          });
}

TEST(QueryTest, AnswerThatCantBeReadIsStatus6) {
    Query({"-d"}, {ProgressAnswer("7")}, [](ProgramResult const& result, auto const&) {
        EXPECT_EQ(ExitStatus::Exited(6), result.status);
        EXPECT_EQ("compliance-query: the agent's answer can't be read (code -7)\n", result.errors);
    });
}

TEST(QueryTest, RequestThatCantBeWrittenIsStatus7) {
    PrivateMachine::Run([] {
        CreateAgentDirectories();
        ScriptedAgent agent;
        fs::create_directory(ScriptedAgent::requestTemp);
        ProgramResult const result = RunQuery({"-d"});
        EXPECT_EQ(ExitStatus::Exited(7), result.status);
        EXPECT_EQ("compliance-query: the request could not be written; compliance-doctor tells why "
                  "(code -17)\n",
                  result.errors);
    });
}

// The evaluation is closed all the same.
void ExpectOutputFailure(std::string const& reason, ProgramOptions const& options) {
    PrivateMachine::Run([&] {
        CreateAgentDirectories();
        ScriptedAgent agent(Script({Finished(twoRows)}));
        ProgramResult const result = RunQuery({"--tsv", "-d"}, options);
        EXPECT_EQ(ExitStatus::Exited(8), result.status);
        EXPECT_EQ("compliance-query: the rows could not be written: " + reason + "\n",
                  result.errors);
        agent.AwaitEnd(std::chrono::seconds(1));
    });
}

TEST(QueryTest, FullDiskUnderTheOutputIsStatus8) {
    ExpectOutputFailure("No space left on device", {.prepare = [] {
                            return dup2(open("/dev/full", O_WRONLY), STDOUT_FILENO) >= 0;
                        }});
}

TEST(QueryTest, ReaderWhoIsGoneIsStatus8) {
    ExpectOutputFailure("Broken pipe", {.prepare = [] {
                            int ends[2];
                            return pipe(ends) == 0 && dup2(ends[1], STDOUT_FILENO) >= 0 &&
                                   close(ends[0]) == 0 && close(ends[1]) == 0;
                        }});
}

TEST(QueryTest, ClosedOutputIsStatus8AndGetsInNobodysWay) {
    ExpectOutputFailure("Bad file descriptor", {.closedDescriptors = {0, 1}});
}

TEST(QueryTest, OtherResultIsStatus10WithStrict) {
    Query({"--strict=Compliant", "--tsv", "-d"}, {Finished(twoRows)},
          [](ProgramResult const& result, auto const&) {
              EXPECT_EQ(ExitStatus::Exited(10), result.status);
              EXPECT_EQ("compliance-query: 1 of 2 rows have a result that --strict does not list\n",
                        result.errors);
              EXPECT_EQ(3, std::ranges::count(result.output, '\n'));
          });
}

TEST(QueryTest, AcceptedResultsAreStatus0WithStrict) {
    Query({"--strict=Compliant,Not", "-d"}, {Finished(twoRows)},
          [](ProgramResult const& result, auto const&) {
              EXPECT_EQ(ExitStatus::Exited(0), result.status);
              EXPECT_EQ("", result.errors);
          });
}

void ExpectErrorsAfterAFailedClose(Texts const& arguments, std::string const& errors) {
    PrivateMachine::Run([&] {
        CreateAgentDirectories();
        ScriptedAgent agent(
            AgentScript().Answer(OpenAnswer()).Answer(Finished(twoRows)).AwaitRequest());
        ProgramResult const result = RunQuery(arguments);
        EXPECT_EQ(ExitStatus::Exited(0), result.status);
        EXPECT_EQ(errors, result.errors);
        EXPECT_EQ(3, std::ranges::count(result.output, '\n'));
    });
}

TEST(QueryTest, CloseThatFailsIsANote) {
    ExpectErrorsAfterAFailedClose({"-d", "--tsv"},
                                  "compliance-query: the agent did not confirm that the evaluation "
                                  "is closed (code -3)\n");
}

TEST(QueryTest, CloseThatFailsIsNotToldWhenQuiet) {
    ExpectErrorsAfterAFailedClose({"-d", "--tsv", "--quiet"}, "");
}

TEST(QueryTest, LinesOfProgress) {
    Query({"-d", "--progress=lines"}, {ProgressAnswer("3", "0", "40"), Finished()},
          [](ProgramResult const& result, auto const&) {
              EXPECT_EQ("compliance-query: asking the agent\n"
                        "compliance-query: 40% completed\n"
                        "compliance-query: closing the evaluation\n",
                        result.errors);
              EXPECT_EQ("No results.\n", result.output);
          });
}

TEST(QueryTest, QuietTellsErrorsOnly) {
    Query({"-d", "--quiet", "--progress=lines"}, {ProgressAnswer("3"), ProgressAnswer("2", "7")},
          [](ProgramResult const& result, auto const&) {
              EXPECT_EQ("compliance-query: the agent reports the error 7\n", result.errors);
          });
}

// Rows and bar on the same terminal: the bar is gone when the rows come.
TEST(QueryTest, BarOnATerminal) {
    PrivateMachine::Run([] {
        CreateAgentDirectories();
        ScriptedAgent agent(Script({ProgressAnswer("3", "0", "50"), Finished()}));
        Terminal screen;
        ProgramResult const result = RunQuery({"-d"}, {.prepare = [&] {
                                                  return setenv("TERM", "xterm", 1) == 0 &&
                                                         dup2(screen.otherEnd(), 1) == 1 &&
                                                         dup2(screen.otherEnd(), 2) == 2;
                                              }});
        EXPECT_EQ(ExitStatus::Exited(0), result.status);
        std::string const clear = "\r\x1b[K";
        std::string const filled(15, '#');
        std::string const empty(15, '-');
        EXPECT_EQ(clear + "[" + empty + empty + "] asking the agent" +   //
                      clear + "[" + filled + empty + "] 50% completed" + //
                      clear + "No results.\n" +                          //
                      clear + "[" + filled + filled + "] closing the evaluation" + clear,
                  screen.Read());
    });
}

// In the exchange after the first percentage; the agent goes on answering.
void ExpectStopBy(int signal, int status, char const* name) {
    PrivateMachine::Run([&] {
        CreateAgentDirectories();
        ScriptedAgent agent(
            Script({ProgressAnswer("3", "0", "10"), ProgressAnswer("3", "0", "20")}));
        OtherProgram program(Command({"-d", "--json"}));
        agent.AwaitRequests(3);
        program.Kill(signal);
        ProgramResult const result = program.Wait();
        EXPECT_EQ(ExitStatus::Exited(status), result.status);
        std::string const message = std::string("ended early by ") + name;
        EXPECT_EQ("compliance-query: " + message + "\n", result.errors);
        EXPECT_EQ((Json{{"schemaVersion", 1},
                        {"outcome", "failed"},
                        {"exitStatus", status},
                        {"message", message}}),
                  Json::parse(result.output));
        agent.AwaitEnd(std::chrono::seconds(1));
        EXPECT_EQ(closeRequest, agent.Requests().back().bytes);
        EXPECT_FALSE(IsLocked());
    });
}

TEST(QueryTest, FirstInterruptClosesTheEvaluation) { ExpectStopBy(SIGINT, 130, "SIGINT"); }

TEST(QueryTest, FirstTerminationClosesTheEvaluation) { ExpectStopBy(SIGTERM, 143, "SIGTERM"); }

TEST(QueryTest, FirstHangupClosesTheEvaluation) { ExpectStopBy(SIGHUP, 129, "SIGHUP"); }

TEST(QueryTest, SignalDuringTheCloseAddsNoSecondDocument) {
    PrivateMachine::Run([] {
        CreateAgentDirectories();
        ScriptedAgent agent(AgentScript()
                                .Answer(OpenAnswer())
                                .Answer(Finished(twoRows))
                                .AwaitRequest()
                                .PauseUntil(std::chrono::seconds(1))
                                .Respond(CloseAnswer())
                                .RemoveRequest());
        OtherProgram program(Command({"-d", "--json"}));
        agent.AwaitRequests(3);
        program.Kill(SIGTERM);
        ProgramResult const result = program.Wait();
        EXPECT_EQ(ExitStatus::Exited(143), result.status);
        EXPECT_EQ((Json{{"schemaVersion", 1},
                        {"outcome", "finished"},
                        {"rowCount", 2},
                        {"rows", {firstRow, secondRow}}}),
                  Json::parse(result.output));
    });
}

std::string ManyRows() {
    std::string rows;
    for (int i = 0; i < 5000; ++i)
        rows += Row({std::to_string(i), "r", "type", "1", "a longer description of the row", ""});
    return rows;
}

TEST(QueryTest, SignalClosesTheEvaluationThoughNobodyReadsTheRows) {
    PrivateMachine::Run([] {
        CreateAgentDirectories();
        ScriptedAgent agent(Script({Finished(ManyRows())}));
        int ends[2];
        ASSERT_EQ(0, pipe(ends));
        OtherProgram program(Command({"-d", "--json"}), {.prepare = [&] {
                                 return dup2(ends[1], STDOUT_FILENO) == STDOUT_FILENO;
                             }});
        pollfd written{ends[0], POLLIN, 0};
        ASSERT_EQ(1, poll(&written, 1, 30'000));
        program.Kill(SIGTERM);
        EXPECT_EQ(ExitStatus::Exited(143), program.Wait(std::chrono::seconds(30)).status);
        agent.AwaitEnd(std::chrono::seconds(1));
        EXPECT_EQ(closeRequest, agent.Requests().back().bytes);
    });
}

TEST(QueryTest, OutputThatExceedsTheFileSizeLimitIsStatus8) {
    PrivateMachine::Run([] {
        CreateAgentDirectories();
        ScriptedAgent agent(Script({Finished(ManyRows())}));
        ProgramResult const result =
            RunQuery({"-d", "--json"}, {.limits = {{RLIMIT_FSIZE, 100'000}}});
        EXPECT_EQ(ExitStatus::Exited(8), result.status);
        EXPECT_EQ("compliance-query: the rows could not be written: File too large\n",
                  result.errors);
        agent.AwaitEnd(std::chrono::seconds(1));
        EXPECT_EQ(closeRequest, agent.Requests().back().bytes);
    });
}

TEST(QueryTest, BadOptionIsAsciiOnATerminalThatIsNotUtf8) {
    for (auto const& [locale, shown] :
         {std::pair{"LC_ALL=C", "\\u00db"}, std::pair{"LC_ALL=C.UTF-8", "\xC3\x9B"}}) {
        Terminal const screen;
        ProgramResult const result = RunQuery(
            {"--\xC3\x9B"}, {.environment = Texts{locale}, .prepare = [&] {
                                 return dup2(screen.otherEnd(), STDERR_FILENO) == STDERR_FILENO;
                             }});
        EXPECT_EQ(ExitStatus::Exited(2), result.status);
        EXPECT_EQ(std::string("compliance-query: '--") + shown +
                      "' is no option of this program; --help shows those accepted\n",
                  screen.Read());
    }
}

TEST(QueryTest, SecondSignalEndsAtOnce) {
    PrivateMachine::Run([] {
        CreateAgentDirectories();
        ScriptedAgent agent(AgentScript().Answer(OpenAnswer()).AwaitRequest().AwaitRequest());
        OtherProgram program(Command({"-d"}));
        agent.AwaitRequests(2);
        program.Kill(SIGINT);
        // The request to close, which nobody answers.
        agent.AwaitRequests(3);
        program.Kill(SIGTERM);
        EXPECT_EQ(ExitStatus::Killed(SIGTERM), program.Wait().status);
        EXPECT_FALSE(IsLocked());
    });
}

TEST(QueryTest, HelpAndVersionNeedNoAgent) {
    ProgramResult const help = RunQuery({"--help"});
    EXPECT_EQ(ExitStatus::Exited(0), help.status);
    EXPECT_TRUE(help.output.starts_with("Usage: compliance-query [OPTION]... URL DOC\n"));
    EXPECT_EQ("", help.errors);
    ProgramResult const version = RunQuery({"--version"});
    EXPECT_EQ("compliance-query " CC_VERSION "\n", version.output);
    EXPECT_EQ(ExitStatus::Exited(0), version.status);
}

TEST(QueryTest, HelpThatCantBeWrittenIsStatus8) {
    EXPECT_EQ(ExitStatus::Exited(8), RunQuery({"--help"}, {.closedDescriptors = {1}}).status);
}

} // namespace
