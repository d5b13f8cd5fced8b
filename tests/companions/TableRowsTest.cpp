#include "companions/TableRows.h"

#include "companions/DisplayWidth.h"
#include "tests/companions/RowList.h"
#include "tests/companions/Terminal.h"

namespace {

class TableRowsTest : public testing::Test {
protected:
    static std::string Table(RowList const& list, TableOptions const& options = {},
                             Texts const& accepted = {}) {
        return OutputOf(
            [&](Output& output) { WriteTable(RowsOf(list), options, accepted, output); });
    }

    EnvironmentVariable const locale{"LC_ALL", "C.UTF-8"};
    EnvironmentVariable const columns{"COLUMNS", ""};
    EnvironmentVariable const term{"TERM", "xterm"};
};

constexpr char headings[] = "DESIGNATOR  RESULT  TYPE  TIME (\xC2\xB5s)  DESCRIPTION  COMMENT\n";

Row Named(std::string_view designator, std::string_view result, std::string_view time = "") {
    return {designator, result, "", time, "", ""};
}

TEST_F(TableRowsTest, StatesThatThereAreNoRows) { EXPECT_EQ("No results.\n", Table({})); }

TEST_F(TableRowsTest, ColumnsAreAsWideAsTheirLongestText) {
    EXPECT_EQ("DESIGNATOR      RESULT  TYPE  TIME (\xC2\xB5s)  DESCRIPTION  COMMENT\n"
              "baseline-00001  ok      t     1          d            none\n"
              "b               bad     kind  123456789  d\n",
              Table({{{"baseline-00001", "ok", "t", "1", "d", "none"}},
                     {{"b", "bad", "kind", "123456789", "d", ""}}}));
    std::string const longText(100, 'x');
    EXPECT_EQ("DESIGNATOR  RESULT" + std::string(94, ' ') +
                  "  TYPE  TIME (\xC2\xB5s)  DESCRIPTION  COMMENT\n"
                  "a           " +
                  longText + "  t\n",
              Table({{{"a", longText, "t", "", "", ""}}}));
}

TEST_F(TableRowsTest, MeasuresWideAndCombiningCharacters) {
    EXPECT_EQ(std::string(headings) + "\xE4\xB8\xAD\xE4\xB8\xAD        r\n" +
                  "e\xCC\x81           r\n",
              Table({Named("\xE4\xB8\xAD\xE4\xB8\xAD", "r"), Named("e\xCC\x81", "r")}));
}

TEST_F(TableRowsTest, EscapesControlCharacters) {
    EXPECT_EQ("DESIGNATOR  RESULT  TYPE      TIME (\xC2\xB5s)  DESCRIPTION  COMMENT\n"
              "a\\tb        \\n      \\x1b[31m  \\xb5       d            c\n",
              Table({{{"a\tb", "\n", "\x1b[31m", "\xB5", "d", "c"}}}));
}

TEST_F(TableRowsTest, LabelsAreAsciiUnlessTheLocaleIsUtf8) {
    EnvironmentVariable const posix("LC_ALL", "C");
    EXPECT_EQ("DESIGNATOR  RESULT  TYPE  TIME (us)  DESCRIPTION  COMMENT\n"
              "a           r\n",
              Table({Named("a", "r")}));
}

TEST_F(TableRowsTest, WrapsTableToColumnsVariable) {
    EnvironmentVariable const narrow("COLUMNS", "30");
    EXPECT_EQ("DESIGNATOR  RESULT    COMMENT\n"
              "a           ok        a longer\n"
              "                      comment\n"
              "b           xxxxxxxx\n"
              "            xxxxxxx\n"
              "c            yyyyyyy\n"
              "            yyyyyy\n",
              Table({{{"a", "ok", "", "", "", "a longer comment"}},
                     {{"b", "xxxxxxxxxxxxxxx", "", "", "", ""}},
                     {{"c", " yyyyyyyyyyyyy", "", "", "", ""}}},
                    {.columns = {0, 1, 5}}));
}

std::size_t WidestLine(std::string const& table) {
    WidthLocale const locale;
    std::size_t widest = 0;
    std::istringstream lines(table);
    for (std::string line; std::getline(lines, line);)
        widest = std::max(widest, DisplayWidth(line));
    return widest;
}

std::string WithoutSpaces(std::string text) {
    std::erase_if(text, [](char c) { return c == ' ' || c == '\n'; });
    return text;
}

TEST_F(TableRowsTest, FitsEveryWidthOfAtLeast34) {
    std::string const wide = "\xE4\xB8\xAD\xE4\xB8\xAD\xE4\xB8\xAD\xE4\xB8\xAD\xE4\xB8\xAD";
    RowList const list = {{{"a designator of many words", "ok", "type", "123456789012",
                            "without-any-space-in-the-text", wide}}};
    std::string const whole = Table(list);
    for (std::size_t width = 34; width < WidestLine(whole) + 3; ++width) {
        EnvironmentVariable const narrow("COLUMNS", std::to_string(width).c_str());
        std::string const table = Table(list);
        EXPECT_GE(width, WidestLine(table)) << table;
        EXPECT_EQ(WithoutSpaces(whole).size(), WithoutSpaces(table).size());
    }
}

TEST_F(TableRowsTest, EachColumnHasAtLeastFourCharacters) {
    RowList const list = {Named("designator", "Compliant")};
    EnvironmentVariable const narrow("COLUMNS", "10");
    std::string const smallest = Table(list, {.columns = {0, 1}});
    EXPECT_EQ("DESI  RESU\nGNAT  LT\nOR\ndesi  Comp\ngnat  lian\nor    t\n", smallest);
    for (char const* const width : {"9", "1"}) {
        EnvironmentVariable const narrower("COLUMNS", width);
        EXPECT_EQ(smallest, Table(list, {.columns = {0, 1}})) << width;
    }
}

// Returns the table as written to a terminal of this width.
std::string TableOnTerminal(RowList const& list, ColorMode color, unsigned short width = 80) {
    return TerminalOutputOf(
        [&](Output& output) { WriteTable(RowsOf(list), {.color = color}, {}, output); }, width);
}

TEST_F(TableRowsTest, FitsTheTerminal) {
    EXPECT_EQ(34u,
              WidestLine(TableOnTerminal({{{"a designator", "ok", "", "", "", "a longer comment"}}},
                                         ColorMode::never, 34)));
}

TEST_F(TableRowsTest, ShowsChosenColumnsInTheirOrder) {
    EXPECT_EQ("RESULT  DESIGNATOR\n"
              "r       a\n",
              Table({Named("a", "r")}, {.columns = {1, 0}}));
}

TEST_F(TableRowsTest, SortsRowsByColumn) {
    auto const sorted = [](RowList const& list, std::size_t field) {
        return Table(list, {.columns = {0}, .sortField = field});
    };
    RowList const list = {Named("b-10", "x", "100"), Named("b-9", "y", "20"), Named("a", "x", "3")};
    EXPECT_EQ("DESIGNATOR\na\nb-9\nb-10\n", sorted(list, 0));
    EXPECT_EQ("DESIGNATOR\na\nb-9\nb-10\n", sorted(list, 3));
    EXPECT_EQ("DESIGNATOR\nb-10\na\nb-9\n", sorted(list, 1));
    EXPECT_EQ("DESIGNATOR\nd\nc\nb\na\n", sorted({Named("a", "", "0100"), Named("b", "", "99"),
                                                  Named("c", "", "-5"), Named("d", "", "-10")},
                                                 3));
}

TEST_F(TableRowsTest, ShowsOnlyChosenResults) {
    RowList const list = {Named("a", "x"), Named("b", "y"), Named("c", "z")};
    EXPECT_EQ("DESIGNATOR\na\nc\n", Table(list, {.columns = {0}, .shownResults = {"z", "x"}}));
    EXPECT_EQ("No rows with these results.\n", Table(list, {.shownResults = {"w"}}));
}

TEST_F(TableRowsTest, AcceptedResultsAreGreenAndOthersRed) {
    EXPECT_EQ("RESULT  DESIGNATOR\n"
              "\x1b[32mok\x1b[0m      a\n"
              "\x1b[31mbad\x1b[0m     b\n",
              Table({Named("a", "ok"), Named("b", "bad")},
                    {.columns = {1, 0}, .color = ColorMode::always}, {"ok"}));
}

TEST_F(TableRowsTest, DifferentResultsDifferInColorWithoutAcceptedOnes) {
    EXPECT_EQ("RESULT\n\x1b[36mx\x1b[0m\n\x1b[33my\x1b[0m\n\x1b[36mx\x1b[0m\n",
              Table({Named("a", "x"), Named("b", "y"), Named("c", "x")},
                    {.columns = {1}, .color = ColorMode::always}));
}

bool IsColored(ColorMode mode) {
    return TableOnTerminal({Named("a", "r")}, mode).find('\x1b') != std::string::npos;
}

// ColorTest has the conditions.
TEST_F(TableRowsTest, AutomaticModeColorsOnlySuitableTerminals) {
    EXPECT_TRUE(IsColored(ColorMode::automatic));
    EXPECT_FALSE(IsColored(ColorMode::never));
    EXPECT_THAT(Table({Named("a", "r")}), Not(HasSubstr("\x1b")));
    EnvironmentVariable const noColor("NO_COLOR", "1");
    EXPECT_FALSE(IsColored(ColorMode::automatic));
    EXPECT_TRUE(IsColored(ColorMode::always));
}

} // namespace
