#include "companions/Rows.h"

#include <gtest/gtest.h>

#include "tests/companions/RowList.h"

namespace {

std::string Table(RowList const& list) {
    return OutputOf([&](Output& output) { WriteTable(RowsOf(list), output); });
}

TEST(TableRowsTest, NoRowsAreSaidInWords) { EXPECT_EQ("No results.\n", Table({})); }

TEST(TableRowsTest, ColumnsAreAsWideAsTheirLongestText) {
    EXPECT_EQ("DESIGNATOR      RESULT  TYPE  TIME (\xC2\xB5s)  DESCRIPTION  COMMENT\n"
              "baseline-00001  ok      t     1          d            none\n"
              "b               bad     kind  123456789  d\n",
              Table({{{"baseline-00001", "ok", "t", "1", "d", "none"}},
                     {{"b", "bad", "kind", "123456789", "d", ""}}}));
}

TEST(TableRowsTest, CharactersCountAndNotBytes) {
    EXPECT_EQ("DESIGNATOR    RESULT  TYPE  TIME (\xC2\xB5s)  DESCRIPTION  COMMENT\n"
              "\xE2\x82\xAC\xE2\x82\xAC\xE2\x82\xAC\xE2\x82\xAC\xE2\x82\xAC\xE2\x82\xAC"
              "\xE2\x82\xAC\xE2\x82\xAC\xE2\x82\xAC\xE2\x82\xAC\xE2\x82\xAC\xE2\x82\xAC  r\n",
              Table({{{"\xE2\x82\xAC\xE2\x82\xAC\xE2\x82\xAC\xE2\x82\xAC\xE2\x82\xAC\xE2\x82\xAC"
                       "\xE2\x82\xAC\xE2\x82\xAC\xE2\x82\xAC\xE2\x82\xAC\xE2\x82\xAC\xE2\x82\xAC",
                       "r", "", "", "", ""}}}));
}

TEST(TableRowsTest, LongTextPushesItsOwnLineOnly) {
    std::string const longText(41, 'x');
    std::string const widest(40, 'y');
    EXPECT_EQ("DESIGNATOR  RESULT" + std::string(34, ' ') +
                  "  TYPE  TIME (\xC2\xB5s)  DESCRIPTION  COMMENT\n"
                  "a           " +
                  longText + "  t\n" + "b           " + widest + "  t\n",
              Table({{{"a", longText, "t", "", "", ""}}, {{"b", widest, "t", "", "", ""}}}));
}

TEST(TableRowsTest, ControlBytesReachNoTerminal) {
    EXPECT_EQ("DESIGNATOR  RESULT  TYPE      TIME (\xC2\xB5s)  DESCRIPTION  COMMENT\n"
              "a\\tb        \\n      \\x1b[31m  \\xb5       d            c\n",
              Table({{{"a\tb", "\n", "\x1b[31m", "\xB5", "d", "c"}}}));
}

} // namespace
