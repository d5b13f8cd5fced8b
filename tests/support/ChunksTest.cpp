#include "tests/support/Chunks.h"

#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/ForEachSplit.h"

namespace {

TEST(ChunksTest, EachSplitIsTheWholeInputAndNoTwoAreTheSame) {
    std::set<std::vector<std::string>> seen;
    int splits = 0;
    ForEachSplit("0123456789ABCDE", [&](Chunks const& chunks) {
        std::string whole;
        std::vector<std::string> texts;
        chunks.Feed([&](ConstData chunk) {
            whole += MakeString(chunk);
            texts.push_back(MakeString(chunk));
        });
        EXPECT_EQ("0123456789ABCDE", whole);
        seen.insert(texts);
        ++splits;
    });
    EXPECT_EQ(1 + 9 + 14 + 1, splits);
    EXPECT_EQ(1u + 9u + 14u + 1u - 2u, seen.size()) << "chunks of 8 and 9 are two chunks as well";
}

TEST(ChunksTest, EmptyInputIsFed) {
    int calls = 0;
    ForEachSplit(ConstData(), [&](Chunks const& chunks) {
        chunks.Feed([&](ConstData chunk) {
            EXPECT_TRUE(chunk.IsEmpty());
            ++calls;
        });
    });
    EXPECT_EQ(2, calls);
}

TEST(ChunksTest, LengthsAreRepeatedUpToTheLengthOfTheInput) {
    using Lengths = std::vector<std::size_t>;
    EXPECT_EQ((Lengths{2, 0, 3, 2, 0, 1}), RepeatLengths({2, 0, 3}, 8));
    EXPECT_EQ(Lengths{8}, RepeatLengths({}, 8));
    EXPECT_EQ(Lengths{8}, RepeatLengths({0, 0}, 8));
    EXPECT_EQ(Lengths{}, RepeatLengths({1}, 0));
}

} // namespace
