#include "companions/DiffCommandLine.h"

#include <gtest/gtest.h>

#include "companions/Arguments.h"

namespace {

DiffCommandLine ParseDiff(std::vector<char const*> texts) {
    texts.insert(texts.begin(), "compliance-diff");
    return ParseDiffCommandLine(static_cast<int>(texts.size()), texts.data());
}

std::string DiffRefusal(std::vector<char const*> const& texts) {
    try {
        ParseDiff(texts);
    } catch (CommandLineError const& error) {
        return error.what();
    }
    return "accepted";
}

TEST(DiffCommandLineTest, ParsesFilesAndOptions) {
    DiffCommandLine const plain = ParseDiff({"old", "new"});
    EXPECT_EQ(DiffCommandLine::compare, plain.action);
    EXPECT_EQ("old", plain.oldFile);
    EXPECT_EQ("new", plain.newFile);
    EXPECT_FALSE(plain.json);
    EXPECT_EQ(0u, plain.goodResults.size());
    DiffCommandLine const full =
        ParseDiff({"--json", "old", "--regressions", "Pass, N/A", "--", "--new"});
    EXPECT_TRUE(full.json);
    EXPECT_EQ("--new", full.newFile);
    EXPECT_EQ((std::vector<std::string>{"Pass", "N/A"}), full.goodResults);
    EXPECT_EQ(ColorMode::never, ParseDiff({"--color=never", "old", "new"}).color);
}

TEST(DiffCommandLineTest, HelpAndVersionNeedNoFiles) {
    EXPECT_EQ(DiffCommandLine::showHelp, ParseDiff({"-h"}).action);
    EXPECT_EQ(DiffCommandLine::showHelp, ParseDiff({"--help", "--version"}).action);
    EXPECT_EQ(DiffCommandLine::showVersion, ParseDiff({"-V"}).action);
}

TEST(DiffCommandLineTest, RefusesInvalidCommandLines) {
    EXPECT_EQ("OLD is missing; accepted: OLD and NEW", DiffRefusal({}));
    EXPECT_EQ("NEW is missing; accepted: OLD and NEW", DiffRefusal({"old"}));
    EXPECT_EQ("'c' is an extra operand; accepted: OLD NEW", DiffRefusal({"a", "b", "c"}));
    EXPECT_EQ("--color: not accepted with --json",
              DiffRefusal({"--json", "--color=always", "a", "b"}));
    EXPECT_EQ("--regressions: '' has an empty entry; accepted: a comma-separated list of results",
              DiffRefusal({"--regressions=", "a", "b"}));
}

} // namespace
