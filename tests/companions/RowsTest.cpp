#include "companions/Rows.h"

#include "tests/companions/RowList.h"
#include "tests/companions/Terminal.h"

namespace {

Row WithResult(std::string_view designator, std::string_view result) {
    return {designator, result, "", "", "", ""};
}

TEST(RowsTest, CountsResultsThatAreNotAccepted) {
    RowList const list = {WithResult("a", "Pass"),
                          WithResult("b", "Fail"),
                          {{"Pass", "", "Pass", "", "", ""}},
                          WithResult("d", "Not Applicable")};
    EXPECT_EQ(3u, CheckResults(RowsOf(list), {"Pass"}).others);
    EXPECT_EQ(0u, CheckResults(RowsOf(list), {"Pass", "Fail", "", "Not Applicable"}).others);
    EXPECT_EQ(4u, CheckResults(RowsOf(list), {"Passed"}).others);
    EXPECT_EQ(0u, CheckResults(RowsOf({}), {"Pass"}).others);
}

TEST(RowsTest, ComparesResultsByteByByte) {
    RowList const list = {WithResult("", "pass"), WithResult("", "Pass "),
                          WithResult("", "P\xE4ss")};
    EXPECT_EQ(3u, CheckResults(RowsOf(list), {"Pass", "P\xC3\xA4ss"}).others);
    EXPECT_EQ(2u, CheckResults(RowsOf(list), {"P\xE4ss"}).others);
}

TEST(RowsTest, NamesTheFirstThreeOtherRows) {
    RowList const list = {WithResult("a", "Pass"), WithResult("b", "Fail"), WithResult("c", ""),
                          WithResult("d", "Error"), WithResult("e", "Fail")};
    std::vector<std::pair<std::string, std::string>> const first{
        {"b", "Fail"}, {"c", ""}, {"d", "Error"}};
    EXPECT_EQ(first, CheckResults(RowsOf(list), {"Pass"}).firstOthers);
}

TEST(RowsTest, ListsAcceptedResultsThatNoRowHas) {
    RowList const list = {WithResult("a", "Pass"), WithResult("b", "Fail")};
    EXPECT_EQ((Texts{"Passed", ""}), CheckResults(RowsOf(list), {"Passed", "Pass", ""}).unused);
    EXPECT_EQ(Texts{"Pass"}, CheckResults(RowsOf({}), {"Pass"}).unused);
}

TEST(RowsTest, CountsEachResult) {
    RowList const list = {WithResult("a", "Pass"), WithResult("b", "Fail"), WithResult("c", "Pass"),
                          WithResult("d", "")};
    EXPECT_EQ((ResultCounts{{"", 1}, {"Fail", 1}, {"Pass", 2}}), CountResults(RowsOf(list)));
    EXPECT_EQ(ResultCounts(), CountResults(RowsOf({})));
}

TEST(RowsTest, KeepsTheMostFrequentResultsAndCountsTheOtherRows) {
    ResultCounts results{{"a", 2}, {"b", 5}, {"c", 2}, {"d", 3}};
    EXPECT_EQ(4u, KeepMostFrequent(results, 2));
    EXPECT_EQ((ResultCounts{{"b", 5}, {"d", 3}}), results);
    EXPECT_EQ(0u, KeepMostFrequent(results, 2));
    EXPECT_EQ(2u, results.size());
}

std::string Tsv(RowList const& list) {
    return OutputOf([&](Output& output) { WriteTsv(RowsOf(list), output); });
}

std::string const tsvHead =
    "designator\tresult\tresultType\tevaluationTime\tdescription\tcomment\n";

TEST(TsvRowsTest, WritesTheHeaderWithoutRows) { EXPECT_EQ(tsvHead, Tsv({})); }

TEST(TsvRowsTest, WritesLineForEachRow) {
    EXPECT_EQ(tsvHead + "a\tb\tc\td\te\tf\n\t\t\t\t\t\n",
              Tsv({{{"a", "b", "c", "d", "e", "f"}}, {{"", "", "", "", "", ""}}}));
}

TEST(TsvRowsTest, EscapesTabLineFeedReturnAndBackslash) {
    EXPECT_EQ(tsvHead + "\\t\t\\n\t\\r\\n\t\\\\\t\\\\t\ta\\\\\\tb\n",
              Tsv({{{"\t", "\n", "\r\n", "\\", "\\t", "a\\\tb"}}}));
}

TEST(TsvRowsTest, CopiesOtherBytes) {
    EXPECT_EQ(tsvHead + "\x01\t\x1b[m\t\xB5\t\xC2\xB5\t\"q\"\t a \n",
              Tsv({{{"\x01", "\x1b[m", "\xB5", "\xC2\xB5", "\"q\"", " a "}}}));
}

// Backslashes of the text are doubled, so escapes are unambiguous.
TEST(TsvRowsTest, ControlCharactersAreEscapedOnATerminal) {
    RowList const list = {{{"\x1b[m\x7F", "\xB5", "\xC2\x9B", "\t\n", "\\x1b", "caf\xC3\xA9"}}};
    EnvironmentVariable const locale("LC_ALL", "C.UTF-8");
    EXPECT_EQ(tsvHead + "\\x1b[m\\x7f\t\\xb5\t\\u009b\t\\t\\n\t\\\\x1b\tcaf\xC3\xA9\n",
              TerminalOutputOf([&](Output& output) { WriteTsv(RowsOf(list), output); }));
}

} // namespace
