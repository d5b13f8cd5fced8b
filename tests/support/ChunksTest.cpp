#include "tests/support/Chunks.h"

#include <set>

#include "tests/support/ForEachSplit.h"

namespace {

TEST(ChunksTest, EachSplitIsCompleteAndUnique) {
    std::multiset<std::vector<std::string>> seen;
    ForEachSplit("0123456789ABCDE", [&](Chunks const& chunks) {
        std::string whole;
        std::vector<std::string> texts;
        chunks.Feed([&](ConstData chunk) { whole += texts.emplace_back(MakeString(chunk)); });
        EXPECT_EQ("0123456789ABCDE", whole);
        seen.insert(texts);
    });
    EXPECT_EQ(1u + 9u + 14u + 1u, seen.size());
    EXPECT_EQ(2u, seen.count({"01234567", "89ABCDE"})) << "chunks of 8 are two chunks as well";
    EXPECT_EQ(seen.size() - 2, std::set(seen.begin(), seen.end()).size());
    int empty = 0;
    ForEachSplit(ConstData(), [&](Chunks const& chunks) {
        chunks.Feed([&](ConstData chunk) { empty += chunk.IsEmpty(); });
    });
    EXPECT_EQ(2, empty);
}

TEST(ChunksTest, LengthsAreRepeatedUpToTheLengthOfTheInput) {
    using Lengths = std::vector<std::size_t>;
    EXPECT_EQ((Lengths{2, 0, 3, 2, 0, 1}), RepeatLengths({2, 0, 3}, 8));
    EXPECT_EQ(Lengths{8}, RepeatLengths({}, 8));
    EXPECT_EQ(Lengths{8}, RepeatLengths({0, 0}, 8));
    EXPECT_EQ(Lengths{}, RepeatLengths({1}, 0));
}

} // namespace
