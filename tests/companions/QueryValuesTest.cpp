#include "companions/QueryValues.h"

#include <gtest/gtest.h>

#include "companions/Rows.h"

namespace {

TEST(QueryValuesTest, ParsesFlagsByNameAndNumber) {
    EXPECT_EQ(1u, ParseFlags("gather"));
    EXPECT_EQ(2u, ParseFlags("all"));
    EXPECT_EQ(4u, ParseFlags("idle"));
    EXPECT_EQ(8u, ParseFlags("hint"));
    EXPECT_EQ(15u, ParseFlags("15"));
    EXPECT_EQ(0u, ParseFlags("0"));
    EXPECT_EQ(13u, ParseFlags(" gather, 8 ,idle"));
    for (char const* const list : {"", "16", "-1", "gather,", "gather,gather", "Gather", "0x1"})
        EXPECT_THROW(ParseFlags(list), ValueError) << list;
}

TEST(QueryValuesTest, ParsesProgressStyles) {
    EXPECT_EQ(ProgressStyle::automatic, ParseProgress("auto"));
    EXPECT_EQ(ProgressStyle::bar, ParseProgress("bar"));
    EXPECT_EQ(ProgressStyle::lines, ParseProgress("lines"));
    EXPECT_EQ(ProgressStyle::none, ParseProgress("none"));
    EXPECT_THROW(ParseProgress("Bar"), ValueError);
}

TEST(QueryValuesTest, ParsesNamesOfRowFields) {
    std::string all;
    for (std::size_t field = 0; field < rowFieldNames.size(); ++field) {
        EXPECT_EQ(field, ParseField(rowFieldNames[field]));
        all += (all.empty() ? "" : ", ") + std::string(rowFieldNames[field]);
    }
    EXPECT_EQ((std::vector<std::size_t>{0, 1, 2, 3, 4, 5}), ParseFields(all));
    EXPECT_THROW(ParseField("Designator"), ValueError);
    EXPECT_THROW(ParseFields("comment,comment"), ValueError);
}

} // namespace
