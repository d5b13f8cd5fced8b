#include "tests/support/Cuttings.h"

#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

TEST(CuttingsTest, EachCuttingIsTheWholeInputAndNoTwoAreTheSame) {
    std::set<std::vector<std::string>> seen;
    int cuttings = 0;
    ForEachCutting("0123456789ABCDE", [&](Cutting const& cutting) {
        std::string whole;
        std::vector<std::string> chunks;
        cutting.Feed([&](ConstData chunk) {
            whole += MakeString(chunk);
            chunks.push_back(MakeString(chunk));
        });
        EXPECT_EQ("0123456789ABCDE", whole);
        seen.insert(chunks);
        ++cuttings;
    });
    EXPECT_EQ(1 + 9 + 14 + 1, cuttings);
    EXPECT_EQ(1u + 9u + 14u + 1u - 2u, seen.size()) << "chunks of 8 and 9 are single cuts as well";
}

TEST(CuttingsTest, EmptyInputIsFed) {
    int calls = 0;
    ForEachCutting(ConstData(), [&](Cutting const& cutting) {
        cutting.Feed([&](ConstData chunk) {
            EXPECT_TRUE(chunk.IsEmpty());
            ++calls;
        });
    });
    EXPECT_EQ(2, calls);
}

} // namespace
