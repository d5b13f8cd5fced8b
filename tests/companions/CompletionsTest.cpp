// The completions of the shells. tests/docs/OptionsTest.py compares the options.
#include <sstream>

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

// A command line of one program, and the completions of its last word.
struct Completion {
    Texts words;
    Words offered;
};

void ExpectOffered(std::string const& command, std::vector<Completion> const& completions) {
    for (auto const& [words, offered] : completions)
        EXPECT_EQ(offered, Offered(command, words)) << testing::PrintToString(words);
}

TEST(CompletionsTest, BashOffersOptionsThatBeginWithTheWord) {
    ExpectOffered("compliance-query", {{{"url", "--t"}, {"--table", "--tsv", "--timeout"}}});
    ExpectOffered("compliance-doctor", {{{"--j"}, {"--json"}}});
}

TEST(CompletionsTest, BashOffersNothingForOperandsAndFreeText) {
    ExpectOffered("compliance-query",
                  {{{""}, {}}, {{"--timeout", ""}, {}}, {{"--strict", "-"}, {}}});
}

TEST(CompletionsTest, BashOffersValuesOfOptions) {
    Words const styles = {"auto", "bar", "lines", "none"};
    ExpectOffered("compliance-query",
                  {{{"--progress", ""}, styles},
                   {{"--progress", "="}, styles},
                   {{"--progress", "=", "l"}, {"lines"}},
                   {{"--flags", ""}, {"gather", "all", "idle", "hint"}},
                   {{"--flags", "all,i"}, {"all,idle"}},
                   {{"--flags", "=", "all,idle,"}, {"all,idle,gather", "all,idle,hint"}},
                   {{"--columns", "result,r"}, {"result,resultType"}},
                   {{"--explain", "12"}, {"129"}},
                   {{"-o", "READ"}, {"README.md"}}});
    ExpectOffered("compliance-diff", {{{"--json", "READ"}, {"README.md"}},
                                      {{"--color", "=", "a"}, {"always", "auto"}},
                                      {{"--regressions", "READ"}, {}}});
    ExpectOffered("compliance-report",
                  {{{"--html", "=", "READ"}, {"README.md"}}, {{"--strict", "READ"}, {}}});
}

TEST(CompletionsTest, BashOffersNoRepeatedOrIncompatibleOption) {
    ExpectOffered("compliance-query", {{{"--json", "url", "--t"}, {"--timeout"}},
                                       {{"--timeout", "=", "5", "--json", "--t"}, {}},
                                       {{"-o", "file", "--o"}, {"--only"}},
                                       {{"-q", "--q"}, {}},
                                       {{"--flags", "=", "all", "--f"}, {}},
                                       {{"-h", "--he"}, {}}});
    ExpectOffered(
        "compliance-doctor",
        {{{"--json", ""}, {"--help", "--version"}}, {{"-h", "--he"}, {}}, {{"-V", "--ve"}, {}}});
}

TEST(CompletionsTest, BashFollowsThePositionalSyntaxOfTheTool) {
    ExpectOffered("ClientCompliance",
                  {{{""}, {"-c", "-d"}},
                   {{"-c", ""}, {}},
                   {{"-c", "url", ""}, {}},
                   {{"-c", "url", "doc", "1"}, {"1", "10", "11", "12", "13", "14", "15"}},
                   {{"-d", "", "", ""}, {}}});
}

TEST(CompletionsTest, BashOffersFilesAsScenariosOfTheStandInAgent) {
    ExpectOffered("VeskaClient", {{{"--"}, {"--check", "--help", "--version"}},
                                  {{"READ"}, {"README.md"}},
                                  {{"--check", "READ"}, {"README.md"}},
                                  {{"--help", "READ"}, {}}});
}

// Returns the completions of fish that begin with the last word of the line, each with a line feed.
// fish 4 also offers those that contain its letters.
std::string OfferedByFish(std::string const& command, std::string const& line) {
    ProgramResult const result =
        RunProgram({"/usr/bin/fish", "--no-config", "-c",
                    "source $argv[1]; complete -C $argv[2] | string split -f 1 \\t; true",
                    root + "/fish/" + command + ".fish", command + " " + line},
                   {.workingDirectory = root});
    EXPECT_EQ(ExitStatus::Exited(0), result.status) << result.errors;
    std::string const word = line.substr(line.rfind(' ') + 1);
    std::istringstream offered(result.output);
    std::string found;
    for (std::string completion; std::getline(offered, completion);)
        if (completion.starts_with(word))
            found += completion + '\n';
    return found;
}

TEST(CompletionsTest, FishOffersValuesOfOptionsInTheNextWord) {
    if (!fs::exists("/usr/bin/fish"))
        GTEST_SKIP() << "fish is missing, so this test is skipped.";
    EXPECT_EQ("always\nauto\nnever\n", OfferedByFish("compliance-diff", "--color "));
    EXPECT_EQ("", OfferedByFish("compliance-report", "--max-age "));
    EXPECT_EQ("", OfferedByFish("compliance-report", "--mode "));
    EXPECT_EQ("critical\nunknown\n", OfferedByFish("check_compliance", "--no-result "));
    EXPECT_EQ("gather\n", OfferedByFish("check_compliance", "--flags g"));
    EXPECT_EQ("README.md\n", OfferedByFish("check_compliance", "-r READ"));
    EXPECT_EQ("README.md\n", OfferedByFish("check_compliance", "--result READ"));
}

TEST(CompletionsTest, FishOffersAnOptionWithAValueOnce) {
    if (!fs::exists("/usr/bin/fish"))
        GTEST_SKIP() << "fish is missing, so this test is skipped.";
    EXPECT_EQ("--color\n", OfferedByFish("compliance-diff", "--c"));
    EXPECT_EQ("--help\n--regressions\n--version\n",
              OfferedByFish("compliance-diff", "--color auto --"));
    EXPECT_EQ("--strict\n", OfferedByFish("check_compliance", "-r x --s"));
    EXPECT_EQ("", OfferedByFish("check_compliance", "-r x --r"));
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
