#include "data/ConstData.h"

#include <gtest/gtest.h>

#include "fuzz/RandomInputs.h"
#include "fuzz/SplitProperties.h"
#include "tests/support/Bytes.h"

namespace {

using Pieces = std::vector<std::string>;

constexpr bool asIs = false;
constexpr bool trimmed = true;
constexpr bool dropEmpty = false;
constexpr bool keepEmpty = true;

Pieces Split(std::string const& text, std::string const& separator, bool trim, bool keep) {
    Pieces pieces;
    for (ConstData piece : ConstData(text).Split(separator, trim, keep))
        pieces.push_back(MakeString(piece));
    return pieces;
}

TEST(ConstDataSplitTest, SplitsThenTrimsThenDropsEmptyPieces) {
    struct {
        char const* text;
        char const* separator;
        bool trim;
        bool keep;
        Pieces pieces;
    } const cases[] = {
        {"a,,b", ",", asIs, dropEmpty, {"a", "b"}},
        {"a,,b", ",", asIs, keepEmpty, {"a", "", "b"}},
        {",", ",", asIs, dropEmpty, {}},
        {",a,", ",", asIs, keepEmpty, {"", "a", ""}},
        {"abc", ",", asIs, dropEmpty, {"abc"}},
        {" abc ", ",", trimmed, dropEmpty, {"abc"}},
        // A text shorter than the separator is one piece, even if empty.
        {"", ",", asIs, dropEmpty, {""}},
        {"a", "ab", asIs, dropEmpty, {"a"}},
        {" ", "ab", trimmed, dropEmpty, {""}},
        {" ", "ab", asIs, dropEmpty, {" "}},
        // An empty separator does not split.
        {" a b ", "", asIs, keepEmpty, {" a b "}},
        {" a b ", "", trimmed, dropEmpty, {"a b"}},
        {"  ", "", trimmed, dropEmpty, {""}},
        {"", "", asIs, dropEmpty, {""}},
        {" one ,two\t,\r\n three four ", ",", trimmed, dropEmpty, {"one", "two", "three four"}},
        {"a,  ,b", ",", trimmed, dropEmpty, {"a", "b"}},
        {"a,  ,b", ",", trimmed, keepEmpty, {"a", "", "b"}},
        {"a,  ,b", ",", asIs, dropEmpty, {"a", "  ", "b"}},
        // Separators are found before pieces are trimmed.
        {" a b ", " ", trimmed, dropEmpty, {"a", "b"}},
        {" a b ", " ", trimmed, keepEmpty, {"", "a", "b", ""}},
        {"  ", "  ", trimmed, dropEmpty, {}},
        // Occurrences do not overlap.
        {"aaa", "aa", asIs, keepEmpty, {"", "a"}},
        {"x---y", "--", asIs, keepEmpty, {"x", "-y"}},
    };
    for (auto const& [text, separator, trim, keep, pieces] : cases)
        EXPECT_EQ(pieces, Split(text, separator, trim, keep)) << text << " by " << separator;
}

TEST(ConstDataSplitTest, PiecesAreViewsOfTheText) {
    ConstData const text("ab, c,  ");
    std::vector<ConstData> const pieces = text.Split(",", trimmed, keepEmpty);
    ASSERT_EQ(3u, pieces.size());
    EXPECT_EQ(text.begin, pieces[0].begin);
    EXPECT_EQ(text.begin + 2, pieces[0].end);
    EXPECT_EQ(text.begin + 4, pieces[1].begin);
    EXPECT_EQ(text.begin + 5, pieces[1].end);
    EXPECT_EQ(text.end, pieces[2].begin) << "an empty piece is at the end of its whitespace";
    EXPECT_EQ(text.end, pieces[2].end);
}

TEST(ConstDataSplitTest, RandomTextAgreesWithReference) {
    ForRandomInputs(7, 20000, 20, "ab \t", SplitProperties::Check);
}

} // namespace
