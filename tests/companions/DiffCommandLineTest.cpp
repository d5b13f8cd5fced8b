#include "companions/DiffCommandLine.h"

#include "companions/Arguments.h"
#include "tests/companions/CompanionTest.h"

namespace {

DiffCommandLine ParseDiff(Texts const& texts) { return ParseLine(ParseDiffCommandLine, texts); }

std::string DiffRefusal(Texts const& texts) {
    return MessageOf<CommandLineError>([&] { ParseDiff(texts); });
}

TEST(DiffCommandLineTest, ParsesFilesAndOptions) {
    DiffCommandLine const plain = ParseDiff({"old", "new"});
    EXPECT_EQ(DiffCommandLine::compare, plain.action);
    EXPECT_EQ("old", plain.oldFile);
    EXPECT_EQ("new", plain.newFile);
    EXPECT_FALSE(plain.json);
    EXPECT_EQ(Texts(), plain.goodResults);
    DiffCommandLine const full =
        ParseDiff({"--json", "old", "--regressions", "Pass, N/A", "--", "--new"});
    EXPECT_TRUE(full.json);
    EXPECT_EQ("--new", full.newFile);
    EXPECT_EQ((Texts{"Pass", "N/A"}), full.goodResults);
    EXPECT_EQ(ColorMode::never, ParseDiff({"--color=never", "old", "new"}).color);
}

TEST(DiffCommandLineTest, HelpAndVersionNeedNoFiles) {
    EXPECT_EQ(DiffCommandLine::showHelp, ParseDiff({"-h"}).action);
    EXPECT_EQ(DiffCommandLine::showHelp, ParseDiff({"--help", "--version"}).action);
    EXPECT_EQ(DiffCommandLine::showVersion, ParseDiff({"-V"}).action);
}

TEST(DiffCommandLineTest, RefusesInvalidCommandLines) {
    for (auto const& [refusal, texts] :
         {std::pair{"OLD is missing; accepted: OLD and NEW", Texts()},
          {"NEW is missing; accepted: OLD and NEW", {"old"}},
          {"'c' is an extra operand; accepted: OLD NEW", {"a", "b", "c"}},
          {"--color: not accepted with --json", {"--json", "--color=always", "a", "b"}},
          {"--regressions: '' has an empty entry; accepted: a comma-separated list of results",
           {"--regressions=", "a", "b"}}})
        EXPECT_EQ(refusal, DiffRefusal(texts));
}

} // namespace
