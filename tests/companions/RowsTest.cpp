#include "companions/Rows.h"

#include <gtest/gtest.h>

#include "tests/companions/RowList.h"

namespace {

TEST(RowsTest, ResultsThatAreNotAcceptedAreCounted) {
    RowList const list = {{{"a", "Pass", "", "", "", ""}},
                          {{"b", "Fail", "", "", "", ""}},
                          {{"Pass", "", "Pass", "", "", ""}},
                          {{"d", "Not Applicable", "", "", "", ""}}};
    EXPECT_EQ(3u, CountOtherResults(RowsOf(list), {"Pass"}));
    EXPECT_EQ(0u, CountOtherResults(RowsOf(list), {"Pass", "Fail", "", "Not Applicable"}));
    EXPECT_EQ(4u, CountOtherResults(RowsOf(list), {"Passed"}));
}

TEST(RowsTest, ResultsAreComparedByteByByte) {
    RowList const list = {{{"", "pass", "", "", "", ""}},
                          {{"", "Pass ", "", "", "", ""}},
                          {{"", "P\xE4ss", "", "", "", ""}}};
    EXPECT_EQ(3u, CountOtherResults(RowsOf(list), {"Pass", "P\xC3\xA4ss"}));
    EXPECT_EQ(2u, CountOtherResults(RowsOf(list), {"P\xE4ss"}));
}

TEST(RowsTest, NoRowsHaveNoOtherResult) { EXPECT_EQ(0u, CountOtherResults(RowsOf({}), {"Pass"})); }

} // namespace
