#include "data/ConstData.h"

#include <gtest/gtest.h>

#include <random>

#include "tests/support/Bytes.h"

namespace {

using Pieces = std::vector<std::string>;

Pieces Split(std::string const& text, std::string const& separator, bool trim, bool keepEmpty) {
    Pieces pieces;
    for (ConstData piece : ConstData(text).Split(separator, trim, keepEmpty))
        pieces.push_back(MakeString(piece));
    return pieces;
}

constexpr bool asIs = false;
constexpr bool trimmed = true;
constexpr bool dropEmpty = false;
constexpr bool keepEmpty = true;

TEST(ConstDataSplitTest, EmptyPiecesStayIfAskedFor) {
    EXPECT_EQ((Pieces{"a", "b"}), Split("a,,b", ",", asIs, dropEmpty));
    EXPECT_EQ((Pieces{"a", "", "b"}), Split("a,,b", ",", asIs, keepEmpty));
    EXPECT_EQ((Pieces{}), Split(",", ",", asIs, dropEmpty));
    EXPECT_EQ((Pieces{"", ""}), Split(",", ",", asIs, keepEmpty));
    EXPECT_EQ((Pieces{"", "a", ""}), Split(",a,", ",", asIs, keepEmpty));
}

TEST(ConstDataSplitTest, TextWithoutASeparatorIsOnePiece) {
    EXPECT_EQ((Pieces{"abc"}), Split("abc", ",", asIs, dropEmpty));
    EXPECT_EQ((Pieces{"abc"}), Split(" abc ", ",", trimmed, dropEmpty));
}

TEST(ConstDataSplitTest, RangeShorterThanItsSeparatorIsOnePieceEvenIfEmpty) {
    EXPECT_EQ((Pieces{""}), Split("", ",", asIs, dropEmpty));
    EXPECT_EQ((Pieces{"a"}), Split("a", "ab", asIs, dropEmpty));
    EXPECT_EQ((Pieces{""}), Split(" ", "ab", trimmed, dropEmpty));
    EXPECT_EQ((Pieces{" "}), Split(" ", "ab", asIs, dropEmpty));
}

TEST(ConstDataSplitTest, EmptySeparatorYieldsTheWholeRange) {
    EXPECT_EQ((Pieces{" a b "}), Split(" a b ", "", asIs, keepEmpty));
    EXPECT_EQ((Pieces{"a b"}), Split(" a b ", "", trimmed, dropEmpty));
    EXPECT_EQ((Pieces{""}), Split("  ", "", trimmed, dropEmpty));
    EXPECT_EQ((Pieces{""}), Split("", "", asIs, dropEmpty));
}

TEST(ConstDataSplitTest, TrimmingLeavesTheItems) {
    EXPECT_EQ((Pieces{"one", "two", "three four"}),
              Split(" one ,two\t,\r\n three four ", ",", trimmed, dropEmpty));
    EXPECT_EQ((Pieces{"a", "b"}), Split("a,  ,b", ",", trimmed, dropEmpty));
    EXPECT_EQ((Pieces{"a", "", "b"}), Split("a,  ,b", ",", trimmed, keepEmpty));
    EXPECT_EQ((Pieces{"a", "  ", "b"}), Split("a,  ,b", ",", asIs, dropEmpty));
}

TEST(ConstDataSplitTest, SeparatorsAreFoundBeforeAnythingIsTrimmed) {
    EXPECT_EQ((Pieces{"a", "b"}), Split(" a b ", " ", trimmed, dropEmpty));
    EXPECT_EQ((Pieces{"", "a", "b", ""}), Split(" a b ", " ", trimmed, keepEmpty));
    EXPECT_EQ((Pieces{}), Split("  ", " ", trimmed, dropEmpty));
    EXPECT_EQ((Pieces{}), Split("  ", "  ", trimmed, dropEmpty));
}

TEST(ConstDataSplitTest, OccurrencesDoNotOverlap) {
    EXPECT_EQ((Pieces{"", "a"}), Split("aaa", "aa", asIs, keepEmpty));
    EXPECT_EQ((Pieces{"x", "y", "z"}), Split("x--y--z", "--", asIs, keepEmpty));
    EXPECT_EQ((Pieces{"x", "-y"}), Split("x---y", "--", asIs, keepEmpty));
}

TEST(ConstDataSplitTest, PiecesAreViewsOfTheSameBytes) {
    ConstData const text("ab, c");
    std::vector<ConstData> const pieces = text.Split(",", trimmed, dropEmpty);
    ASSERT_EQ(2u, pieces.size());
    EXPECT_EQ(text.begin, pieces[0].begin);
    EXPECT_EQ(text.begin + 2, pieces[0].end);
    EXPECT_EQ(text.begin + 4, pieces[1].begin);
    EXPECT_EQ(text.end, pieces[1].end);
}

TEST(ConstDataSplitTest, TrimmedEmptyPieceStandsAtItsEnd) {
    ConstData const text("  ,b");
    std::vector<ConstData> const pieces = text.Split(",", trimmed, keepEmpty);
    ASSERT_EQ(2u, pieces.size());
    EXPECT_EQ(text.begin + 2, pieces[0].begin);
    EXPECT_EQ(text.begin + 2, pieces[0].end);
}

TEST(ConstDataSplitTest, KeptPiecesAndSeparatorsMakeUpTheText) {
    unsigned const seed = 7;
    std::mt19937 random(seed);
    for (int round = 0; round < 3000; ++round) {
        std::string const text = RandomBytes(random, 1 + random() % 12, "ab ");
        std::string const separator = RandomBytes(random, 1 + random() % 2, "ab ");
        if (separator.size() > text.size())
            continue;
        std::string joined;
        Pieces const pieces = Split(text, separator, asIs, keepEmpty);
        for (std::size_t i = 0; i < pieces.size(); ++i) {
            ASSERT_EQ(std::string::npos, pieces[i].find(separator)) << text << ", seed " << seed;
            joined += (i == 0 ? "" : separator) + pieces[i];
        }
        ASSERT_EQ(text, joined) << "by '" << separator << "', seed " << seed;
    }
}

} // namespace
