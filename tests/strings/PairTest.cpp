#include "strings/Pair.h"

#include <string>

#include <gtest/gtest.h>

namespace {

TEST(PairTest, DefaultPairHoldsTwoDefaultValues) {
    Pair<std::string, int> pair;
    EXPECT_EQ("", pair.first);
    EXPECT_EQ(0, pair.second);
}

TEST(PairTest, CopiesAreIndependent) {
    Pair<std::string, std::string> const original("name", "value");
    Pair<std::string, std::string> copy(original);
    copy.first += "!";
    Pair<std::string, std::string> assigned;
    assigned = copy;
    assigned.second += "?";
    EXPECT_EQ("name", original.first);
    EXPECT_EQ("name!", copy.first);
    EXPECT_EQ("value", copy.second);
    EXPECT_EQ("name!", assigned.first);
    EXPECT_EQ("value?", assigned.second);
}

TEST(PairTest, FirstStandsBeforeSecondAndNothingElseIsThere) {
    Pair<int, int> pair(1, 2);
    EXPECT_EQ(static_cast<void*>(&pair), static_cast<void*>(&pair.first));
    EXPECT_EQ(&pair.first + 1, &pair.second);
    EXPECT_EQ(2 * sizeof(int), sizeof(pair));
}

} // namespace
