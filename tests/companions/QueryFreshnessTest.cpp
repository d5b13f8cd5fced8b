// Stale answers and provenance.
#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <string>
#include <vector>

#include <unistd.h>

#include <nlohmann/json.hpp>

#include "tests/companions/Query.h"
#include "tests/files/Files.h"

namespace {

using Json = nlohmann::json;
using std::chrono::seconds;
using Texts = std::vector<std::string>;

std::string const oldRow = Row({"old", "Compliant", "", "1", "", ""});
std::string const newRow = Row({"new", "Compliant", "", "1", "", ""});

// Takes each request of an evaluation and answers none.
AgentScript SilentAgent() {
    AgentScript script;
    for (int request = 0; request < 3; ++request)
        script.AwaitRequest().RemoveRequest();
    return script;
}

void LeaveAnswer(std::string const& bytes) {
    std::ofstream(std::string(ScriptedAgent::response)) << bytes;
}

// Runs the program against an agent on a machine where an old answer may be left.
template <typename Look>
void QueryWithOldAnswer(AgentScript const& script, std::string const& oldAnswer,
                        Texts const& arguments, Look const& look) {
    Sandbox::Run([&] {
        Sandbox::CreateAgentDirectories();
        if (!oldAnswer.empty())
            LeaveAnswer(oldAnswer);
        ScriptedAgent const agent(script);
        look(RunQuery(arguments));
    });
}

constexpr char stale[] =
    "the agent took the request, but its answer existed before: it belongs to an earlier "
    "request";

void ExpectStale(AgentScript const& script, std::string const& oldAnswer) {
    QueryWithOldAnswer(script, oldAnswer, {"-d", "--json"}, [](ProgramResult const& result) {
        EXPECT_EQ(ExitStatus::Exited(9), result.status) << result.errors;
        std::string const message = std::string(stale) + "; --allow-stale accepts it";
        EXPECT_NE(std::string::npos, result.errors.find("compliance-query: " + message + "\n"));
        Json const document = Json::parse(result.output);
        EXPECT_EQ("failed", document.at("outcome"));
        EXPECT_EQ("stale", document.at("failure"));
        EXPECT_EQ(9, document.at("exitStatus"));
        EXPECT_EQ(message, document.at("message").get<std::string>());
        EXPECT_EQ(false, document.at("/provenance/response/fresh"_json_pointer));
    });
}

constexpr char metricsOfStale[] = "/opt/stale.prom";

void ExpectMetricsOfStaleAnswer(Texts const& arguments) {
    Texts all{"-d", "--quiet", "--prometheus", metricsOfStale};
    all.insert(all.end(), arguments.begin(), arguments.end());
    Sandbox::RunWithDirectories([&] {
        LeaveAnswer(Finished(oldRow));
        ScriptedAgent const agent(SilentAgent());
        RunQuery(all);
        std::string const text = ReadWholeFile(metricsOfStale);
        EXPECT_NE(std::string::npos, text.find("_stale{document=\"\",config=\"\"} 1\n")) << text;
        EXPECT_EQ(std::string::npos, text.find("\nclientcompliance_last_success")) << text;
        bool const hasRows = text.find("result=\"Compliant\"} 1\n") != std::string::npos;
        EXPECT_EQ(!arguments.empty(), hasRows) << text;
        std::string const status = arguments.empty() ? "9" : "0";
        EXPECT_NE(std::string::npos,
                  text.find("_exit_status{document=\"\",config=\"\"} " + status + "\n"))
            << text;
    });
}

TEST(QueryFreshnessTest, MetricsOfStaleAnswerAreNotASuccess) {
    ExpectMetricsOfStaleAnswer({});
    ExpectMetricsOfStaleAnswer({"--allow-stale"});
}

TEST(QueryFreshnessTest, OldRowsAreStaleIfAgentDoesNotAnswer) {
    ExpectStale(SilentAgent(), Finished(oldRow));
}

TEST(QueryFreshnessTest, OldErrorIsStaleIfAgentDoesNotAnswer) {
    ExpectStale(SilentAgent(), ProgressAnswer("2", "5"));
}

// The answer to Open is new. The answer to Progress arrives after the request was removed.
TEST(QueryFreshnessTest, LateAnswerIsStale) {
    AgentScript script;
    script.AwaitRequest().RemoveRequest();
    script.AwaitRequest().RemoveRequest().PauseUntil(seconds(4)).Respond(Finished(newRow));
    script.Answer(CloseAnswer());
    ExpectStale(script, Finished(oldRow));
}

TEST(QueryFreshnessTest, AllowStaleAcceptsOldRows) {
    QueryWithOldAnswer(
        SilentAgent(), Finished(oldRow), {"-d", "--json", "--allow-stale"},
        [](ProgramResult const& result) {
            EXPECT_EQ(ExitStatus::Exited(0), result.status);
            EXPECT_NE(std::string::npos,
                      result.errors.find(std::string("compliance-query: ") + stale + "\n"));
            Json const document = Json::parse(result.output);
            EXPECT_EQ("old", document.at("rows").at(0).at("designator"));
            EXPECT_EQ(false, document.at("/provenance/response/fresh"_json_pointer));
        });
}

TEST(QueryFreshnessTest, AllowStaleNotesOldError) {
    QueryWithOldAnswer(SilentAgent(), ProgressAnswer("2", "5"), {"-d", "--json", "--allow-stale"},
                       [](ProgramResult const& result) {
                           EXPECT_EQ(ExitStatus::Exited(1), result.status);
                           EXPECT_NE(std::string::npos,
                                     result.errors.find(std::string(stale) + "\n"));
                       });
}

// A new file with the same bytes is a new answer.
TEST(QueryFreshnessTest, RepeatedAnswerIsFresh) {
    QueryWithOldAnswer(
        FinishingScript(oldRow), Finished(oldRow), {"-d", "--json"},
        [](ProgramResult const& result) {
            EXPECT_EQ(ExitStatus::Exited(0), result.status);
            EXPECT_EQ("", result.errors);
            EXPECT_EQ(true,
                      Json::parse(result.output).at("/provenance/response/fresh"_json_pointer));
        });
}

// An agent may answer Progress alone.
TEST(QueryFreshnessTest, UnchangedAnswersToOpenAndCloseAreNotes) {
    AgentScript script;
    script.AwaitRequest().RemoveRequest().Answer(Finished(newRow));
    script.AwaitRequest().RemoveRequest();
    for (bool const quiet : {false, true})
        QueryWithOldAnswer(
            script, CloseAnswer(), {"-d", "--tsv", quiet ? "--quiet" : "--progress=none"},
            [&](ProgramResult const& result) {
                EXPECT_EQ(ExitStatus::Exited(0), result.status);
                EXPECT_EQ(quiet ? ""
                                : "compliance-query: the answer to the opening request existed "
                                  "before; the agent may not have replaced it\n"
                                  "compliance-query: the answer to the closing request existed "
                                  "before; the agent may not have replaced it\n",
                          result.errors);
            });
}

// An unchanged answer "in progress" indicates a slow agent.
TEST(QueryFreshnessTest, UnchangedAnswerInProgressIsPolledAgain) {
    AgentScript script;
    script.Answer(OpenAnswer()).Answer(ProgressAnswer("3", "0", "50"));
    script.AwaitRequest().RemoveRequest();
    script.Answer(Finished(newRow)).Answer(CloseAnswer());
    QueryWithOldAnswer(script, "", {"-d", "--tsv"}, [](ProgramResult const& result) {
        EXPECT_EQ(ExitStatus::Exited(0), result.status);
        EXPECT_NE(std::string::npos, result.output.find("\nnew\t"));
    });
}

TEST(QueryFreshnessTest, ProvenanceDescribesRequestHostAndTime) {
    Sandbox::Run([] {
        Sandbox::CreateAgentDirectories();
        ScriptedAgent const agent(
            FinishingScript(newRow + newRow + Row({"x", "Not", "", "", "", ""})));
        ProgramResult const result = RunQuery({"--json", "--flags=5", "http://host/", "Doc"},
                                              {.environment = Texts{"TZ=UTC"}});
        Json const provenance = Json::parse(result.output).at("provenance");
        EXPECT_EQ(2, provenance.at("schemaVersion"));
        EXPECT_EQ(CC_VERSION, provenance.at("programVersion"));
        EXPECT_EQ("http://host/", provenance.at("url"));
        EXPECT_EQ("Doc", provenance.at("document"));
        EXPECT_EQ(5, provenance.at("flags"));
        EXPECT_EQ(geteuid(), provenance.at("userId").get<unsigned int>());
        char host[256] = {};
        ASSERT_EQ(0, gethostname(host, sizeof host));
        EXPECT_EQ(host, provenance.at("host"));
        EXPECT_EQ((Json{{"Compliant", 2}, {"Not", 1}}), provenance.at("results"));
        EXPECT_EQ("/opt/VeskaClient/bin/VeskaClient", provenance.at("/agent/path"_json_pointer));
        EXPECT_EQ(agent.Written().at(1).inode,
                  provenance.at("/response/inode"_json_pointer).get<unsigned long long>());
        std::string const start = provenance.at("start");
        std::string const end = provenance.at("end");
        EXPECT_LT(start, end);
        EXPECT_TRUE(start.ends_with("+00:00")) << start;
        double const duration = provenance.at("durationSeconds");
        EXPECT_LT(0, duration);
        EXPECT_GT(30, duration);
    });
}

TEST(QueryFreshnessTest, FailureHasProvenance) {
    Sandbox::RunWithDirectories([] {
        LeaveAnswer(Finished(oldRow));
        ProgramResult const result = RunQuery({"--ndjson", "-d"});
        Json const document = Json::parse(result.output);
        EXPECT_EQ("no-agent", document.at("failure"));
        EXPECT_TRUE(document.at("/provenance/url"_json_pointer).is_null());
        EXPECT_TRUE(document.at("/provenance/agent/modified"_json_pointer).is_null());
        EXPECT_TRUE(document.at("/provenance/response"_json_pointer).is_null());
    });
}

} // namespace
