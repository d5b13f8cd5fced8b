// Stale responses and provenance.
#include "tests/companions/Query.h"

namespace {

std::string const oldRow = Row({"old", "Compliant", "", "1", "", ""});
std::string const newRow = Row({"new", "Compliant", "", "1", "", ""});
constexpr char stale[] =
    "the response existed before the request, and belongs to an earlier request";

// Takes each request of an evaluation and answers none.
AgentScript SilentAgent() {
    AgentScript script;
    for (int request = 0; request < 3; ++request)
        script.AwaitRequest().RemoveRequest();
    return script;
}

// Runs the program against an agent on a machine where an old response is left.
QueryRun QueryWithOldResponse(AgentScript const& script, std::string const& oldResponse,
                              Texts arguments) {
    WriteWholeFile(ScriptedAgent::response, oldResponse);
    arguments.emplace_back("-d");
    return Query(arguments, script);
}

bool IsFresh(ProgramResult const& result) {
    return Json::parse(result.output).at("/provenance/response/fresh"_json_pointer);
}

void ExpectStale(AgentScript const& script, std::string const& oldResponse) {
    QueryRun const run = QueryWithOldResponse(script, oldResponse, {"--json"});
    std::string const message = std::string(stale) + "; --allow-stale accepts it";
    EXPECT_EQ(ExitStatus::Exited(9), run.status) << run.errors;
    EXPECT_THAT(run.errors, HasSubstr("compliance-query: " + message + "\n"));
    EXPECT_FALSE(IsFresh(run));
    EXPECT_EQ(FailureOf(9, "stale", message), DocumentOf(run));
}

SANDBOX_TEST(QueryFreshnessTest, MetricsOfStaleResponseAreNotASuccess) {
    constexpr char metrics[] = "/opt/stale.prom";
    for (auto const& [option, status] : {std::pair{"--quiet", "9"}, {"--allow-stale", "0"}}) {
        QueryWithOldResponse(SilentAgent(), Finished(oldRow),
                             {"-q", option, "--prometheus", metrics});
        std::string const text = ReadWholeFile(metrics);
        EXPECT_THAT(text, HasSubstr("_stale{document=\"\",config=\"\"} 1\n"));
        EXPECT_THAT(text, Not(HasSubstr("\nclientcompliance_last_success")));
        EXPECT_THAT(text, HasSubstr("_exit_status{document=\"\",config=\"\"} " +
                                    std::string(status) + "\n"));
        EXPECT_EQ(*status == '0', text.find("result=\"Compliant\"} 1\n") != std::string::npos);
    }
}

SANDBOX_TEST(QueryFreshnessTest, OldResponseIsStaleIfAgentDoesNotAnswer) {
    ExpectStale(SilentAgent(), Finished(oldRow));
    ExpectStale(SilentAgent(), ProgressResponse("2", "5"));
}

// The agent does not answer Open. Its response to Progress arrives after the request was removed.
SANDBOX_TEST(QueryFreshnessTest, LateResponseIsStale) {
    AgentScript script;
    script.AwaitRequest().RemoveRequest();
    script.AwaitRequest().RemoveRequest().PauseUntil(seconds(4)).Respond(Finished(newRow));
    script.Answer(CloseResponse());
    ExpectStale(script, Finished(oldRow));
}

SANDBOX_TEST(QueryFreshnessTest, AllowStaleAcceptsOldRows) {
    QueryRun const run =
        QueryWithOldResponse(SilentAgent(), Finished(oldRow), {"--json", "--allow-stale"});
    EXPECT_EQ(ExitStatus::Exited(0), run.status);
    EXPECT_THAT(run.errors, HasSubstr(std::string("compliance-query: ") + stale + "\n"));
    EXPECT_EQ("old", DocumentOf(run).at("rows").at(0).at("designator"));
    EXPECT_FALSE(IsFresh(run));
}

SANDBOX_TEST(QueryFreshnessTest, AllowStaleNotesOldError) {
    QueryRun const run = QueryWithOldResponse(SilentAgent(), ProgressResponse("2", "5"),
                                              {"--json", "--allow-stale"});
    EXPECT_EQ(ExitStatus::Exited(1), run.status);
    EXPECT_THAT(run.errors, HasSubstr(std::string(stale) + "\n"));
}

// A new file with the same bytes is a new response.
SANDBOX_TEST(QueryFreshnessTest, RepeatedResponseIsFresh) {
    QueryRun const run =
        QueryWithOldResponse(FinishingScript(oldRow), Finished(oldRow), {"--json"});
    ExpectExit(0, "", run);
    EXPECT_TRUE(IsFresh(run));
}

// An agent may answer Progress alone.
SANDBOX_TEST(QueryFreshnessTest, UnchangedResponsesToOpenAndCloseAreNotes) {
    AgentScript script;
    script.AwaitRequest().RemoveRequest().Answer(Finished(newRow));
    script.AwaitRequest().RemoveRequest();
    ExpectExit(0, "", QueryWithOldResponse(script, CloseResponse(), {"--tsv", "--quiet"}));
    ExpectExit(
        0,
        "compliance-query: the response to the opening request existed before; the agent may "
        "not have replaced it\n"
        "compliance-query: the response to the closing request existed before; the agent may "
        "not have replaced it\n",
        QueryWithOldResponse(script, CloseResponse(), {"--tsv", "--progress=none"}));
}

// An unchanged response "in progress" indicates a slow agent.
SANDBOX_TEST(QueryFreshnessTest, UnchangedResponseInProgressIsPolledAgain) {
    AgentScript script;
    script.Answer(OpenResponse()).Answer(ProgressResponse("3", "0", "50"));
    script.AwaitRequest().RemoveRequest();
    script.Answer(Finished(newRow)).Answer(CloseResponse());
    QueryRun const run = Query({"-d", "--tsv"}, script);
    EXPECT_EQ(ExitStatus::Exited(0), run.status);
    EXPECT_THAT(run.output, HasSubstr("\nnew\t"));
}

SANDBOX_TEST(QueryFreshnessTest, ProvenanceDescribesRequestHostAndTime) {
    ScriptedAgent const agent(FinishingScript(newRow + newRow + Row({"x", "Not", "", "", "", ""})));
    Json const provenance = Json::parse(RunQuery({"--json", "--flags=5", "http://host/", "Doc"},
                                                 {.environment = Texts{"TZ=UTC"}})
                                            .output)
                                .at("provenance");
    EXPECT_EQ(2, provenance.at("schemaVersion"));
    EXPECT_EQ(CC_VERSION, provenance.at("programVersion"));
    EXPECT_EQ("http://host/", provenance.at("url"));
    EXPECT_EQ("Doc", provenance.at("document"));
    EXPECT_EQ(5, provenance.at("flags"));
    EXPECT_EQ(geteuid(), provenance.at("userId"));
    char host[256] = {};
    ASSERT_EQ(0, gethostname(host, sizeof host));
    EXPECT_EQ(host, provenance.at("host"));
    EXPECT_EQ((Json{{"Compliant", 2}, {"Not", 1}}), provenance.at("results"));
    EXPECT_EQ("/opt/VeskaClient/bin/VeskaClient", provenance.at("/agent/path"_json_pointer));
    EXPECT_EQ(agent.Written().at(1).inode, provenance.at("/response/inode"_json_pointer));
    std::string const start = provenance.at("start");
    EXPECT_LT(start, provenance.at("end"));
    EXPECT_THAT(start, EndsWith("+00:00"));
    EXPECT_LT(0, provenance.at("durationSeconds"));
    EXPECT_GT(30, provenance.at("durationSeconds"));
}

SANDBOX_TEST(QueryFreshnessTest, FailureHasProvenance) {
    WriteWholeFile(ScriptedAgent::response, Finished(oldRow));
    Json const document = Json::parse(RunQuery({"--ndjson", "-d"}).output);
    EXPECT_EQ("no-agent", document.at("failure"));
    for (char const* const member :
         {"/provenance/url", "/provenance/agent/modified", "/provenance/response"})
        EXPECT_TRUE(document.at(Json::json_pointer(member)).is_null()) << member;
}

} // namespace
