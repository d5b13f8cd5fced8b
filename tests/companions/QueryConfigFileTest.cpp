// --config and --check-config with a file in /etc/clientcompliance.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include <nlohmann/json.hpp>

#include "tests/companions/Query.h"
#include "tests/files/Files.h"
#include "tests/support/SmallFileSystem.h"

namespace {

using Json = nlohmann::json;

// Hides /etc during its lifetime.
class ConfigurationDirectory {
public:
    void Write(std::string const& name, std::string const& content) const {
        std::ofstream(etc / ("clientcompliance/" + name)) << content;
    }

private:
    SmallFileSystem const etc{"/etc"};
    bool const created = std::filesystem::create_directory("/etc/clientcompliance");
};

constexpr char goodConfig[] = "URL=http://host/\nDOCUMENT=Doc\nFLAGS=gather,idle\n"
                              "GOOD_RESULTS=Pass\nKEEP_RESULTS=3\n";

TEST(QueryConfigFileTest, EvaluatesRequestOfTheFile) {
    Sandbox::RunWithDirectories([] {
        ConfigurationDirectory const directory;
        directory.Write("night.conf", goodConfig);
        ScriptedAgent const agent(FinishingScript(Row(shortRow)));
        ProgramResult const result = RunQuery({"--config", "night", "--json"});
        EXPECT_EQ(ExitStatus::Exited(10), result.status) << result.errors;
        Json const provenance = Json::parse(result.output).at("provenance");
        EXPECT_EQ("http://host/", provenance.at("url"));
        EXPECT_EQ("Doc", provenance.at("document"));
        EXPECT_EQ(5, provenance.at("flags"));
    });
}

TEST(QueryConfigFileTest, MetricsHaveNameOfConfiguration) {
    Sandbox::RunWithDirectories([] {
        ConfigurationDirectory const directory;
        directory.Write("night.conf", goodConfig);
        ScriptedAgent const agent(FinishingScript(Row(shortRow)));
        RunQuery({"--config", "night", "--prometheus", "/opt/night.prom"});
        std::string const text = ReadWholeFile("/opt/night.prom");
        EXPECT_NE(
            std::string::npos,
            text.find("\nclientcompliance_failing_rows{document=\"Doc\",config=\"night\"} 1\n"))
            << text;
    });
}

TEST(QueryConfigFileTest, MessagesNameTheSourceOfTheGoodResults) {
    Sandbox::RunWithDirectories([] {
        ConfigurationDirectory const directory;
        directory.Write("night.conf", goodConfig);
        auto const expected = [](std::string const& source) {
            return "compliance-query: " + source + " lists results that no row has: 'Pass'\n" +
                   "compliance-query: 1 of 1 rows have a result that " + source +
                   " does not list: 'd' ('r')\n";
        };
        auto const errors = [](std::vector<std::string> const& arguments) {
            ScriptedAgent const agent(FinishingScript(Row(shortRow)));
            return RunQuery(arguments).errors;
        };
        EXPECT_EQ(expected("GOOD_RESULTS"), errors({"--config=night"}));
        EXPECT_EQ(expected("--strict"), errors({"--config=night", "--strict=Pass"}));
    });
}

TEST(QueryConfigFileTest, InvalidConfigurationKeepsTheMetrics) {
    Sandbox::RunWithDirectories([] {
        ConfigurationDirectory const directory;
        directory.Write("bad.conf", "FLAGS=fast\n");
        for (std::string const name : {"bad", "missing"}) {
            std::ofstream("/opt/night.prom") << "old";
            EXPECT_EQ(ExitStatus::Exited(2),
                      RunQuery({"--config", name, "--prometheus", "/opt/night.prom"}).status);
            EXPECT_EQ("old", ReadWholeFile("/opt/night.prom"));
        }
    });
}

TEST(QueryConfigFileTest, OptionsReplaceTheValuesOfTheFile) {
    Sandbox::RunWithDirectories([] {
        ConfigurationDirectory const directory;
        directory.Write("night.conf", goodConfig);
        ScriptedAgent const agent(FinishingScript(Row(shortRow)));
        ProgramResult const result =
            RunQuery({"--config=night", "--json", "--flags=all", "--strict=r"});
        EXPECT_EQ(ExitStatus::Exited(0), result.status) << result.errors;
        EXPECT_EQ(2, Json::parse(result.output).at("/provenance/flags"_json_pointer));
    });
}

TEST(QueryConfigFileTest, ErrorsAreListedAndNoRequestIsSent) {
    Sandbox::RunWithDirectories([] {
        ConfigurationDirectory const directory;
        directory.Write("bad.conf", "URI=x\nFLAGS=fast\n");
        directory.Write("good.conf", goodConfig);
        std::string const first =
            "compliance-query: /etc/clientcompliance/bad.conf:1: 'URI' is not "
            "a key; accepted: URL, DOCUMENT, FLAGS, GOOD_RESULTS, "
            "KEEP_RESULTS\n";
        std::string const second = "compliance-query: /etc/clientcompliance/bad.conf:2: FLAGS: "
                                   "'fast' is not accepted; accepted: a comma-separated list of "
                                   "gather, all, idle or hint, or a number from 0 to 15\n";
        ScriptedAgent const agent(AgentScript().AwaitRequest());
        ProgramResult const checked = RunQuery({"--check-config", "bad"});
        EXPECT_EQ(ExitStatus::Exited(2), checked.status);
        EXPECT_EQ(first + second, checked.errors);
        ProgramResult const used = RunQuery({"--config", "bad"});
        EXPECT_EQ(ExitStatus::Exited(2), used.status);
        EXPECT_EQ(first, used.errors);
        EXPECT_EQ(ExitStatus::Exited(0), RunQuery({"--check-config", "good"}).status);
        EXPECT_EQ(0u, agent.Requests().size());
    });
}

} // namespace
