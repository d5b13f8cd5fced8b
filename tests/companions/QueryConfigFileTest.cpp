// --config and --check-config with a file in /etc/clientcompliance.
#include "tests/companions/Query.h"
#include "tests/support/SmallFileSystem.h"

namespace {

// Hides /etc during its lifetime. Has the configurations "night" and "bad".
class ConfigurationDirectory {
public:
    ConfigurationDirectory() {
        fs::create_directory("/etc/clientcompliance");
        WriteWholeFile("/etc/clientcompliance/night.conf",
                       "URL=http://host/\nDOCUMENT=Doc\nFLAGS=gather,idle\n"
                       "GOOD_RESULTS=Pass\nKEEP_RESULTS=3\n");
        WriteWholeFile("/etc/clientcompliance/bad.conf", "URI=x\nFLAGS=fast\n");
    }

private:
    SmallFileSystem const etc{"/etc"};
};

Json ProvenanceOf(QueryRun const& run) { return Json::parse(run.output).at("provenance"); }

SANDBOX_TEST(QueryConfigFileTest, EvaluatesRequestOfTheFile) {
    ConfigurationDirectory const directory;
    QueryRun const run = Query({"--config", "night", "--json", "--prometheus", "/opt/night.prom"},
                               FinishingScript());
    EXPECT_EQ(ExitStatus::Exited(10), run.status) << run.errors;
    EXPECT_EQ("http://host/", ProvenanceOf(run).at("url"));
    EXPECT_EQ("Doc", ProvenanceOf(run).at("document"));
    EXPECT_EQ(5, ProvenanceOf(run).at("flags"));
    EXPECT_THAT(
        ReadWholeFile("/opt/night.prom"),
        HasSubstr("\nclientcompliance_failing_rows{document=\"Doc\",config=\"night\"} 1\n"));
}

SANDBOX_TEST(QueryConfigFileTest, MessagesNameTheSourceOfTheGoodResults) {
    ConfigurationDirectory const directory;
    for (auto const& [arguments, source] :
         {std::pair{Texts{"--config=night"}, std::string("GOOD_RESULTS")},
          {{"--config=night", "--strict=Pass"}, "--strict"}})
        ExpectExit(10,
                   "compliance-query: " + source + " lists results that no row has: 'Pass'\n" +
                       "compliance-query: 1 of 1 rows have a result that " + source +
                       " does not list: 'd' ('r')\n",
                   Query(arguments, FinishingScript()));
}

SANDBOX_TEST(QueryConfigFileTest, InvalidConfigurationKeepsTheMetrics) {
    ConfigurationDirectory const directory;
    WriteWholeFile("/opt/night.prom", "old");
    for (std::string const name : {"bad", "missing"}) {
        EXPECT_EQ(ExitStatus::Exited(2),
                  RunQuery({"--config", name, "--prometheus", "/opt/night.prom"}).status);
        EXPECT_EQ("old", ReadWholeFile("/opt/night.prom"));
    }
}

SANDBOX_TEST(QueryConfigFileTest, RefusesConfigurationFileAsOutput) {
    ConfigurationDirectory const directory;
    ScriptedAgent const agent(AgentScript().AwaitRequest());
    std::string const file = "/etc/clientcompliance/night.conf";
    std::string const content = ReadWholeFile(file);
    for (std::string const option : {"--output", "--prometheus"})
        ExpectExit(2,
                   "compliance-query: --config '" + file + "' and " + option + " '" + file +
                       "' are the same file; accepted: a separate file for each output\n",
                   RunQuery({"--config=night", option, file}));
    EXPECT_EQ(ExitStatus::Exited(2),
              RunShell("'" CC_QUERY_PROGRAM "' --config=night >>" + file).status);
    EXPECT_EQ(content, ReadWholeFile(file));
    EXPECT_THAT(agent.Requests(), IsEmpty());
}

SANDBOX_TEST(QueryConfigFileTest, OptionsReplaceTheValuesOfTheFile) {
    ConfigurationDirectory const directory;
    QueryRun const run =
        Query({"--config=night", "--json", "--flags=all", "--strict=r"}, FinishingScript());
    ExpectExit(0, "", run);
    EXPECT_EQ(2, ProvenanceOf(run).at("flags"));
}

SANDBOX_TEST(QueryConfigFileTest, ErrorsAreListedAndNoRequestIsSent) {
    ConfigurationDirectory const directory;
    std::string const file = "compliance-query: /etc/clientcompliance/bad.conf:";
    std::string const first =
        file + "1: 'URI' is not a key; accepted: URL, DOCUMENT, FLAGS, GOOD_RESULTS, "
               "KEEP_RESULTS\n";
    ScriptedAgent const agent(AgentScript().AwaitRequest());
    ExpectExit(2,
               first + file +
                   "2: FLAGS: 'fast' is not accepted; accepted: a comma-separated list of "
                   "gather, all, idle, hint or numbers from 0 to 15\n",
               RunQuery({"--check-config", "bad"}));
    ExpectExit(2, first, RunQuery({"--config", "bad"}));
    ExpectExit(0, "", RunQuery({"--check-config", "night"}));
    for (auto const& [refused, argument] : {std::pair{"-d is", "-d"}, {"'url' is", "url"}})
        ExpectExit(2,
                   std::string("compliance-query: ") + refused +
                       " not accepted with --config; accepted: URL and DOC, -d, or --config NAME\n",
                   RunQuery({"--config=night", argument}));
    EXPECT_THAT(agent.Requests(), IsEmpty());
}

} // namespace
