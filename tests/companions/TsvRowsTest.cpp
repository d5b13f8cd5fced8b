#include "companions/Rows.h"

#include "tests/companions/RowList.h"
#include "tests/companions/Terminal.h"

namespace {

std::string Tsv(RowList const& list) {
    return OutputOf([&](Output& output) { WriteTsv(RowsOf(list), output); });
}

std::string const head = "designator\tresult\tresultType\tevaluationTime\tdescription\tcomment\n";

TEST(TsvRowsTest, WritesTheHeaderWithoutRows) { EXPECT_EQ(head, Tsv({})); }

TEST(TsvRowsTest, WritesLineForEachRow) {
    EXPECT_EQ(head + "a\tb\tc\td\te\tf\n\t\t\t\t\t\n",
              Tsv({{{"a", "b", "c", "d", "e", "f"}}, {{"", "", "", "", "", ""}}}));
}

TEST(TsvRowsTest, EscapesTabLineFeedReturnAndBackslash) {
    EXPECT_EQ(head + "\\t\t\\n\t\\r\\n\t\\\\\t\\\\t\ta\\\\\\tb\n",
              Tsv({{{"\t", "\n", "\r\n", "\\", "\\t", "a\\\tb"}}}));
}

TEST(TsvRowsTest, CopiesOtherBytes) {
    EXPECT_EQ(head + "\x01\t\x1b[m\t\xB5\t\xC2\xB5\t\"q\"\t a \n",
              Tsv({{{"\x01", "\x1b[m", "\xB5", "\xC2\xB5", "\"q\"", " a "}}}));
}

// Backslashes of the text are doubled, so escapes are unambiguous.
TEST(TsvRowsTest, ControlCharactersAreEscapedOnATerminal) {
    RowList const list = {{{"\x1b[m\x7F", "\xB5", "\xC2\x9B", "\t\n", "\\x1b", "caf\xC3\xA9"}}};
    EnvironmentVariable const locale("LC_ALL", "C.UTF-8");
    Terminal screen;
    Output output(screen.otherEnd());
    WriteTsv(RowsOf(list), output);
    output.Flush();
    EXPECT_EQ(head + "\\x1b[m\\x7f\t\\xb5\t\\u009b\t\\t\\n\t\\\\x1b\tcaf\xC3\xA9\n", screen.Read());
}

} // namespace
