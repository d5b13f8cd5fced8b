// The completions of the shells. tests/docs/OptionsTest.py compares the options.
#include "tests/companions/CompanionTest.h"

namespace {

using Words = std::set<std::string>;

std::string const root = CC_COMPLETIONS;

// Returns the completions of the last word. Bash splits words at "=".
Words Offered(std::string const& command, Texts const& words) {
    std::string const script = "source \"$1\" && shift\n"
                               "function=$(complete -p \"$1\" | sed 's/.* -F \\([^ ]*\\).*/\\1/')\n"
                               "COMP_WORDS=(\"$@\") COMP_CWORD=$(($# - 1))\n"
                               "$function \"$1\"\n"
                               "[ ${#COMPREPLY[@]} -eq 0 ] || printf '%s\\n' \"${COMPREPLY[@]}\"\n";
    Texts arguments{"/bin/bash", "-c", script, "bash", root + "/bash/" + command, command};
    arguments.insert(arguments.end(), words.begin(), words.end());
    ProgramResult const result = RunProgram(arguments, {.workingDirectory = root});
    EXPECT_EQ(ExitStatus::Exited(0), result.status) << result.errors;
    EXPECT_EQ("", result.errors);
    Words offered;
    std::istringstream lines(result.output);
    for (std::string line; std::getline(lines, line);)
        offered.insert(line);
    return offered;
}

TEST(CompletionsTest, BashOffersOptionsThatBeginWithTheWord) {
    EXPECT_EQ((Words{"--table", "--tsv", "--timeout"}),
              Offered("compliance-query", {"url", "--t"}));
    EXPECT_EQ(Words{"--json"}, Offered("compliance-doctor", {"--j"}));
}

TEST(CompletionsTest, BashCompletesNoOperands) {
    EXPECT_EQ(Words(), Offered("compliance-query", {""}));
    EXPECT_EQ(Words(), Offered("compliance-query", {"--timeout", ""}));
    EXPECT_EQ(Words(), Offered("compliance-query", {"--strict", "-"}));
}

TEST(CompletionsTest, BashOffersValuesOfOptions) {
    EXPECT_EQ((Words{"auto", "bar", "lines", "none"}),
              Offered("compliance-query", {"--progress", ""}));
    EXPECT_EQ((Words{"auto", "bar", "lines", "none"}),
              Offered("compliance-query", {"--progress", "="}));
    EXPECT_EQ(Words{"lines"}, Offered("compliance-query", {"--progress", "=", "l"}));
    EXPECT_EQ((Words{"gather", "all", "idle", "hint"}),
              Offered("compliance-query", {"--flags", ""}));
    EXPECT_EQ((Words{"all,idle"}), Offered("compliance-query", {"--flags", "all,i"}));
    EXPECT_EQ((Words{"all,idle,gather", "all,idle,hint"}),
              Offered("compliance-query", {"--flags", "=", "all,idle,"}));
    EXPECT_EQ((Words{"result,resultType"}), Offered("compliance-query", {"--columns", "result,r"}));
    EXPECT_EQ((Words{"129"}), Offered("compliance-query", {"--explain", "12"}));
    EXPECT_EQ((Words{"README.md"}), Offered("compliance-query", {"-o", "READ"}));
    EXPECT_EQ((Words{"README.md"}), Offered("compliance-diff", {"--json", "READ"}));
    EXPECT_EQ((Words{"always", "auto"}), Offered("compliance-diff", {"--color", "=", "a"}));
    EXPECT_EQ(Words(), Offered("compliance-diff", {"--regressions", "READ"}));
    EXPECT_EQ((Words{"README.md"}), Offered("compliance-report", {"--html", "=", "READ"}));
    EXPECT_EQ(Words(), Offered("compliance-report", {"--strict", "READ"}));
}

TEST(CompletionsTest, BashOffersNoOptionTwice) {
    EXPECT_EQ(Words{"--timeout"}, Offered("compliance-query", {"--json", "url", "--t"}));
    EXPECT_EQ(Words{}, Offered("compliance-query", {"--timeout", "=", "5", "--json", "--t"}));
    EXPECT_EQ(Words{"--only"}, Offered("compliance-query", {"-o", "file", "--o"}));
    EXPECT_EQ(Words{}, Offered("compliance-query", {"-q", "--q"}));
    EXPECT_EQ(Words{}, Offered("compliance-query", {"--flags", "=", "all", "--f"}));
    EXPECT_EQ(Words{}, Offered("compliance-query", {"-h", "--he"}));
    EXPECT_EQ((Words{"--help", "--version"}), Offered("compliance-doctor", {"--json", ""}));
    EXPECT_EQ(Words{}, Offered("compliance-doctor", {"-h", "--he"}));
    EXPECT_EQ(Words{}, Offered("compliance-doctor", {"-V", "--ve"}));
}

TEST(CompletionsTest, BashFollowsThePositionalSyntaxOfTheTool) {
    EXPECT_EQ((Words{"-c", "-d"}), Offered("ClientCompliance", {""}));
    EXPECT_EQ(Words(), Offered("ClientCompliance", {"-c", ""}));
    EXPECT_EQ(Words(), Offered("ClientCompliance", {"-c", "url", ""}));
    EXPECT_EQ((Words{"1", "10", "11", "12", "13", "14", "15"}),
              Offered("ClientCompliance", {"-c", "url", "doc", "1"}));
    EXPECT_EQ(Words(), Offered("ClientCompliance", {"-d", "", "", ""}));
}

TEST(CompletionsTest, BashOffersScenarioFilesForTheStandInAgent) {
    EXPECT_EQ((Words{"--check", "--help", "--version"}), Offered("VeskaClient", {"--"}));
    EXPECT_EQ(Words{"README.md"}, Offered("VeskaClient", {"READ"}));
    EXPECT_EQ(Words{"README.md"}, Offered("VeskaClient", {"--check", "READ"}));
    EXPECT_EQ(Words(), Offered("VeskaClient", {"--help", "READ"}));
}

void ExpectGoodSyntax(Texts const& checker, std::string const& folder) {
    if (!fs::exists(checker.front()))
        GTEST_SKIP() << checker.front() << " is missing, so this test is skipped.";
    int files = 0;
    for (auto const& entry : fs::directory_iterator(root + folder)) {
        Texts command = checker;
        command.push_back(entry.path());
        ProgramResult const result = RunProgram(command);
        EXPECT_EQ(ExitStatus::Exited(0), result.status) << result.errors;
        ++files;
    }
    EXPECT_EQ(7, files);
}

TEST(CompletionsTest, BashAcceptsTheSyntax) { ExpectGoodSyntax({"/bin/bash", "-n"}, "/bash"); }

TEST(CompletionsTest, ZshAcceptsTheSyntax) { ExpectGoodSyntax({"/bin/zsh", "-n"}, "/zsh"); }

TEST(CompletionsTest, FishAcceptsTheSyntax) { ExpectGoodSyntax({"/usr/bin/fish", "-n"}, "/fish"); }

} // namespace
