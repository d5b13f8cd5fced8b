#include "demo/Scenario.h"

#include <gtest/gtest.h>

namespace {

Scenario Parse(std::string const& text) { return ParseScenario(text, "file"); }

std::string MistakeIn(std::string const& text) {
    try {
        Parse(text);
    } catch (ScenarioError const& error) {
        return error.what();
    }
    return "none";
}

TEST(ScenarioTest, AnswersOpenAndCloseByDefault) {
    Scenario const scenario = Parse("finish\n");
    EXPECT_EQ(ScenarioStep::Answer, scenario.open.kind);
    EXPECT_EQ(ClientComplianceOpen, scenario.open.response.type);
    EXPECT_EQ(ScenarioStep::Answer, scenario.close.kind);
    EXPECT_EQ(ClientComplianceClose, scenario.close.response.type);
    EXPECT_EQ(0U, scenario.open.delay);
}

TEST(ScenarioTest, KeepsOrderOfProgressStatements) {
    Scenario const scenario =
        Parse("progress 25\nprogress 100\nerror -22\nstate 4\ngarbage\nvanish\nsilence\nfinish");
    ASSERT_EQ(8U, scenario.progress.size());
    EXPECT_EQ(3, scenario.progress[0].response.state);
    EXPECT_EQ(25, scenario.progress[0].response.percent);
    EXPECT_EQ(100, scenario.progress[1].response.percent);
    EXPECT_EQ(2, scenario.progress[2].response.state);
    EXPECT_EQ(-22, scenario.progress[2].response.error);
    EXPECT_EQ(4, scenario.progress[3].response.state);
    EXPECT_EQ(ScenarioStep::Garbage, scenario.progress[4].kind);
    EXPECT_EQ(ScenarioStep::Vanish, scenario.progress[5].kind);
    EXPECT_EQ(ScenarioStep::Silence, scenario.progress[6].kind);
    EXPECT_EQ(ScenarioStep::Answer, scenario.progress[7].kind);
    EXPECT_EQ(1, scenario.progress[7].response.state);
    for (ScenarioStep const& step : scenario.progress)
        EXPECT_EQ(ClientComplianceProgress, step.response.type);
}

TEST(ScenarioTest, AddsRowsToTheNextFinish) {
    Scenario const scenario = Parse("row \"a b\" r t 12 \"\" \"say \\\"x\\\"\"\nrow 1 2 3 4 5 6\n"
                                    "finish\nrow x x x x x x\nfinish\nfinish\n");
    ASSERT_EQ(3U, scenario.progress.size());
    ClientComplianceResponse const& first = scenario.progress[0].response;
    ASSERT_EQ(2U, first.GetComplianceCount());
    EXPECT_EQ("a b", first[0].designator);
    EXPECT_EQ("r", first[0].result);
    EXPECT_EQ("t", first[0].resultType);
    EXPECT_EQ("12", first[0].evaluationTime);
    EXPECT_EQ("", first[0].description);
    EXPECT_EQ("say \"x\"", first[0].comment);
    EXPECT_EQ("6", first[1].comment);
    EXPECT_EQ(1U, scenario.progress[1].response.GetComplianceCount());
    EXPECT_EQ(0U, scenario.progress[2].response.GetComplianceCount());
}

TEST(ScenarioTest, EscapesRepresentAnyByteExceptNul) {
    Scenario const scenario = Parse("row \"\\xe9\\xFF\\n\\r\\t\\\\\" 2 3 4 5 6\nfinish\n");
    EXPECT_EQ("\xE9\xFF\n\r\t\\", scenario.progress[0].response[0].designator);
    EXPECT_EQ("\x01\x9A\xAF\xFA\x10", Parse("row \"\\x01\\x9a\\xAF\\xfA\\x10\" 2 3 4 5 6\nfinish\n")
                                          .progress[0]
                                          .response[0]
                                          .designator);
}

TEST(ScenarioTest, DelayAsFirstStatementAppliesToOpen) {
    EXPECT_EQ(250U, Parse("# comment\n\ndelay 250\nprogress 1").open.delay);
    EXPECT_EQ(5U, Parse("delay 250\ndelay 5\nopen answer\nprogress 1").open.delay);
    EXPECT_EQ(0U, Parse("progress 1\ndelay 250\nprogress 2").open.delay);
}

TEST(ScenarioTest, DelayAppliesToLaterLines) {
    Scenario const scenario =
        Parse("progress 1\ndelay 250\nopen answer\nprogress 2\ndelay 0\nfinish");
    EXPECT_EQ(0U, scenario.progress[0].delay);
    EXPECT_EQ(250U, scenario.open.delay);
    EXPECT_EQ(250U, scenario.progress[1].delay);
    EXPECT_EQ(0U, scenario.progress[2].delay);
}

TEST(ScenarioTest, OpenAndCloseStatementsReplaceTheDefault) {
    Scenario const scenario = Parse("open silence\nclose garbage\nfinish");
    EXPECT_EQ(ScenarioStep::Silence, scenario.open.kind);
    EXPECT_EQ(ScenarioStep::Garbage, scenario.close.kind);
    EXPECT_EQ(ScenarioStep::Vanish, Parse("open vanish\nfinish").open.kind);
}

TEST(ScenarioTest, AcceptsCommentsEmptyLinesAndCrLf) {
    EXPECT_EQ(1U, Parse("# comment \"\r\n\r\n \t finish \r\n").progress.size());
}

TEST(ScenarioTest, ReportsLineAndReasonOfEachError) {
    struct Case {
        char const* text;
        char const* mistake;
    };
    Case const cases[] = {
        {"", "file:1: no statement answers a Progress request"},
        {"finish\nhello", "file:2: unknown statement 'hello'"},
        {"finish\n # indented", "file:2: unknown statement '#'"},
        {"progress", "file:1: 'progress' needs 1 value, not 0"},
        {"progress 1 2", "file:1: 'progress' needs 1 value, not 2"},
        {"progress x", "file:1: 'x' is not a number from -2147483648 to 2147483647"},
        {"progress 5x", "file:1: '5x' is not a number from -2147483648 to 2147483647"},
        {"progress 2147483648",
         "file:1: '2147483648' is not a number from -2147483648 to 2147483647"},
        {"delay -1", "file:1: '-1' is not a number from 0 to 4294967295"},
        {"finish now", "file:1: 'finish' needs 0 values, not 1"},
        {"row 1 2 3 4 5", "file:1: 'row' needs 6 values, not 5"},
        {"row 1 2 3 4 5 \"6", "file:1: the closing quote is missing"},
        {"row 1 2 3 4 5 \"6\"7", "file:1: a space is missing between two words"},
        {"row 1 2 3 4 5 6\"", "file:1: an unquoted word contains a quote"},
        {"row 1 2 3 4 5 \"\\q\"", "file:1: unknown escape; expected \\\" \\\\ \\n \\r \\t \\xHH"},
        {"row 1 2 3 4 5 \"\\x00\"", "file:1: \\x00 is not accepted: texts end at a NUL byte"},
        {"row 1 2 3 4 5 \"\\x1", "file:1: the closing quote is missing"},
        {"finish\nrow 1 2 3 4 5 6\n", "file:2: no 'finish' follows the rows"},
        {"open never", "file:1: 'never' is not answer, garbage, vanish or silence"},
        {"open answer\nopen answer", "file:2: 'open' is repeated"},
    };
    for (Case const& one : cases)
        EXPECT_EQ(one.mistake, MistakeIn(one.text)) << one.text;
    // The characters next to the hexadecimal digits in ASCII, as the first and as the second digit.
    for (char const* const digits : {"/0", ":0", "@0", "G0", "`0", "g0", "0/", "0:", "0g"})
        EXPECT_EQ("file:1: \\x needs two hexadecimal digits",
                  MistakeIn(std::string("row 1 2 3 4 5 \"\\x") + digits + '"'))
            << digits;
    EXPECT_EQ("file:2: a NUL byte", MistakeIn(std::string("finish\nprogress \0 1", 19)));
}

} // namespace
