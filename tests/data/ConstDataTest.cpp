#include "data/ConstData.h"

#include "fuzz/SplitProperties.h"
#include "tests/data/DataTest.h"
#include "tests/support/GuardedBytes.h"

namespace {

constexpr ConstData crlf = "\r\n"_bytes;
static_assert(crlf.Length() == 2 && crlf[0] == 13 && crlf[1] == 10);
static_assert(ConstData().begin == nullptr && ConstData().end == nullptr && ConstData().IsEmpty());

using Positions = std::vector<unsigned long>;

int Sign(int number) { return (number > 0) - (number < 0); }

TEST(ConstDataTest, ConstructorsTakeStringsArraysAndPointers) {
    std::string const string = Bytes("a\0b");
    char const* text = "abc";
    unsigned char const bytes[] = {'a', 'b', 'c'};
    EXPECT_EQ(3u, ConstData(text).Length());
    EXPECT_EQ(3u, ConstData(string).Length());
    EXPECT_EQ(reinterpret_cast<unsigned char const*>(string.data()), ConstData(string).begin);
    EXPECT_EQ(ConstData("abc"), ConstData(bytes));
    EXPECT_EQ(ConstData("abc"), ConstData(bytes, bytes + 3));
    EXPECT_EQ(ConstData("ab"), ConstData(bytes, 2));
    EXPECT_EQ(ConstData("bc"), ConstData(text + 1, text + 3));
    EXPECT_EQ(ConstData("ab"), ConstData(text, 2));
    EXPECT_EQ(ConstData(""), ConstData(text, 0));
    EXPECT_EQ(ConstData(""), ConstData(bytes, 0));
    EXPECT_EQ(ConstData("bc"), ConstData(std::string_view(text).substr(1)));
    EXPECT_EQ("abc", ConstData(bytes).View());
}

TEST(ConstDataTest, LiteralOfBytesKeepsEmbeddedNuls) {
    EXPECT_EQ(ConstData(Bytes("a\0b")), "a\0b"_bytes);
    EXPECT_EQ(3u, "a\0b"_bytes.Length());
    EXPECT_TRUE(""_bytes.IsEmpty());
    EXPECT_EQ(0xFF, "\xFF"_bytes[0]);
}

TEST(ConstDataTest, EmptyRangesAreEqualAtAnyAddress) {
    char const text[] = "abc";
    for (ConstData const empty : {ConstData(text, 0), ConstData(text + 2, text + 2)}) {
        EXPECT_TRUE(ConstData() == empty);
        EXPECT_FALSE(ConstData() < empty || empty < ConstData());
        EXPECT_EQ(0, Compare(ConstData(), empty));
        EXPECT_EQ(0, CompareReversed(empty, ConstData()));
        EXPECT_EQ("", MakeString(empty));
    }
    EXPECT_EQ("", MakeString(ConstData()));
}

TEST(ConstDataTest, EmptyRangeContainsNoByte) {
    EXPECT_FALSE(ConstData().Contains(0));
    EXPECT_FALSE(ConstData("").Contains(0));
    EXPECT_EQ(ConstData::notFound, ConstData().PositionOf(0));
    EXPECT_EQ(~std::uint64_t{0}, ConstData::notFound);
}

TEST(ConstDataTest, FindsTheFirstOccurrenceOfEachByte) {
    std::string const bytes = EveryByte() + EveryByte();
    ConstData const data(bytes);
    for (unsigned byte = 0; byte < 256; ++byte) {
        unsigned char const wanted = static_cast<unsigned char>(byte);
        ConstData const without(data.begin + byte + 1, data.begin + byte + 256);
        EXPECT_EQ(byte, data.PositionOf(wanted));
        EXPECT_EQ(ConstData::notFound, without.PositionOf(wanted)) << byte;
        EXPECT_TRUE(data.Contains(wanted) && !without.Contains(wanted)) << byte;
    }
}

TEST(ConstDataTest, EmptyPatternIsContainedButHasNoPosition) {
    for (ConstData const range : {ConstData(), ConstData("abc")}) {
        for (ConstData const pattern : {ConstData(), ConstData("")}) {
            EXPECT_TRUE(range.Contains(pattern));
            EXPECT_EQ(ConstData::notFound, range.PositionOf(pattern));
            EXPECT_EQ(Positions(), range.PositionsOf(pattern));
            EXPECT_TRUE(range.StartsWith(pattern));
            EXPECT_TRUE(range.EndsWith(pattern));
        }
    }
}

// Occurrences do not overlap.
TEST(ConstDataTest, SearchesAgreeWithReference) {
    std::mt19937 random(20240);
    for (int round = 0; round < 20000; ++round) {
        std::string const text = RandomBytes(random, random() % 40, Bytes("ab\0"));
        std::string const pattern = RandomBytes(random, 1 + random() % 5, Bytes("ab\0"));
        Positions expected;
        for (std::size_t at = text.find(pattern); at != std::string::npos;
             at = text.find(pattern, at + pattern.size()))
            expected.push_back(at);
        ASSERT_EQ(expected, ConstData(text).PositionsOf(pattern))
            << Shown(text) << " / " << Shown(pattern);
        ExpectHolds(text, [&] { SplitProperties::CompareSearch(text, pattern); });
    }
}

// A search that restarts at each byte would take 2^40 steps.
TEST(ConstDataTest, SearchesInLinearTime) {
    std::string const text(std::size_t{1} << 21, 'a');
    std::string const pattern = std::string(std::size_t{1} << 20, 'a') + 'b';
    EXPECT_EQ(ConstData::notFound, ConstData(text).PositionOf(ConstData(pattern)));
    EXPECT_EQ(Positions(), ConstData(text).PositionsOf(ConstData(pattern)));
}

TEST(ConstDataTest, CopiesAsManyBytesAsBothSidesHold) {
    unsigned char target[] = {'.', '.', '.', '.'};
    EXPECT_EQ(ConstData(), ConstData("abc") >> Data(target));
    EXPECT_EQ(ConstData("abc."), ConstData(target)) << "the bytes after the copy are not changed";
    ConstData const source("ABCDef");
    ConstData const rest = source >> Data(target);
    EXPECT_EQ(ConstData("ABCD"), ConstData(target));
    EXPECT_EQ(source.begin + 4, rest.begin);
    EXPECT_EQ(source.end, rest.end);
    EXPECT_EQ(source.begin, (source >> Data()).begin);
    EXPECT_EQ(nullptr, (ConstData() >> Data(target)).begin);
}

// The difference of the first bytes that differ, or the order of the lengths.
int ReferenceCompare(std::string const& left, std::string const& right) {
    auto const [a, b] = std::mismatch(left.begin(), left.end(), right.begin(), right.end());
    if (a != left.end() && b != right.end())
        return static_cast<unsigned char>(*a) - static_cast<unsigned char>(*b);
    return (left.size() > right.size()) - (left.size() < right.size());
}

TEST(ConstDataTest, ComparisonsAgreeWithReference) {
    std::mt19937 random(20241);
    for (int round = 0; round < 20000; ++round) {
        std::string const left = RandomBytes(random, random() % 40, Bytes("aa\xFF"));
        std::string right = left.substr(0, random() % (left.size() + 1)) +
                            RandomBytes(random, random() % 4, Bytes("a\0"));
        if (round % 2 == 0)
            right = RandomBytes(random, random() % 3, Bytes("ab")) + left;
        int const forward = ReferenceCompare(left, right);
        SCOPED_TRACE(Shown(left) + " / " + Shown(right));
        ASSERT_EQ(forward, Compare(left, right));
        ASSERT_EQ(Sign(-forward), Sign(Compare(right, left)));
        ASSERT_EQ(ReferenceCompare({left.rbegin(), left.rend()}, {right.rbegin(), right.rend()}),
                  CompareReversed(left, right));
        ASSERT_EQ(forward < 0, ConstData(left) < ConstData(right));
        ASSERT_EQ(forward == 0, ConstData(left) == ConstData(right));
    }
}

TEST(ConstDataTest, SearchingAndComparingAllocateNothing) {
    std::string const text(500, 'a');
    std::string const pattern = std::string(400, 'a') + "b";
    EXPECT_EQ(0u, AllocationsOf([&] {
                  ConstData const range(text);
                  EXPECT_FALSE(range.Contains(ConstData(pattern)) || range.Contains('b') ||
                               range.StartsWith(pattern) || range.EndsWith(pattern) ||
                               Compare(range, pattern) == 0 ||
                               CompareReversed(range, pattern) == 0 || range == pattern);
              }));
}

TEST(ConstDataTest, CompareReadsNothingOutsideTheRanges) {
    GuardedBytes const left(100);
    GuardedBytes const right(100);
    for (GuardedBytes const* const bytes : {&left, &right})
        std::fill(bytes->Begin(), bytes->End(), static_cast<unsigned char>('a'));
    EXPECT_EQ(0, CompareReversed(ConstData(left.Begin(), 100), ConstData(right.Begin(), 100)));
    EXPECT_EQ(0, Compare(ConstData(left.End() - 100, 100), ConstData(right.End() - 100, 100)));
}

TEST(ConstDataWithCapacityTest, RejectsTextLongerThanItsCapacity) {
    EXPECT_STREQ("abcd", ConstDataWithCapacity<4>(ConstData("abcd")).Text());
    EXPECT_THROW(ConstDataWithCapacity<4>(ConstData("abcde")), ConstDataCapacityExceeded);
    EXPECT_STREQ("", ConstDataWithCapacity<0>(ConstData()).Text());
    EXPECT_THROW(ConstDataWithCapacity<0>(ConstData("a")), ConstDataCapacityExceeded);
    EXPECT_STREQ("", ConstDataWithCapacity<2>().Text());
    EXPECT_EQ(0u, ConstDataWithCapacity<2>().length);
    EXPECT_STREQ("25ConstDataCapacityExceeded", ConstDataCapacityExceeded().what());
}

TEST(ConstDataWithCapacityTest, CopiesAreIndependent) {
    ConstDataWithCapacity<4> first(ConstData("abc"));
    ConstDataWithCapacity<4> const second = first;
    first = ConstDataWithCapacity<4>(ConstData("xy"));
    EXPECT_STREQ("xy", first.Text());
    EXPECT_STREQ("abc", second.Text());
    EXPECT_EQ(second.bytes, ConstData(second).begin);
}

TEST(ConstDataWithCapacityTest, EmbeddedNulsAreCounted) {
    ConstDataWithCapacity<4> const holder("a\0b"_bytes);
    EXPECT_EQ(3u, holder.length);
    EXPECT_EQ("a\0b"_bytes, ConstData(holder));
    EXPECT_STREQ("a", holder.Text());
}

TEST(ConstDataWithCapacityTest, AllocatesNothing) {
    EXPECT_EQ(0u, AllocationsOf([] { ConstDataWithCapacity<48>(ConstData("ANSI_X3.4-1968")); }));
}

TEST(ConstDataSplitTest, SplitsThenTrimsThenDropsEmptyPieces) {
    struct {
        char const* rule;
        char const* text;
        char const* separator;
        bool trims;
        bool keepsEmpty;
        Calls pieces;
    } const cases[] = {
        {"drops empty pieces", ",a,,b,", ",", false, false, {"a", "b"}},
        {"drops every piece", ",", ",", false, false, {}},
        {"keeps empty pieces", ",a,", ",", false, true, {"", "a", ""}},
        {"a shorter text is one piece", "", ",", false, false, {""}},
        {"a shorter text is trimmed", " ", "ab", true, false, {""}},
        {"an empty separator does not split", " a b ", "", false, true, {" a b "}},
        {"an empty separator keeps a text that trimming empties", "  ", "", true, false, {""}},
        {"trims both ends", " a ,b\t,\r\n c d ", ",", true, false, {"a", "b", "c d"}},
        {"drops pieces that trimming empties", "a,  ,b", ",", true, false, {"a", "b"}},
        {"keeps pieces that trimming empties", "a,  ,b", ",", true, true, {"a", "", "b"}},
        {"keeps whitespace", "a,  ,b", ",", false, false, {"a", "  ", "b"}},
        {"separators are found before trimming", " a b ", " ", true, true, {"", "a", "b", ""}},
        {"occurrences do not overlap", "x---y", "--", false, true, {"x", "-y"}},
    };
    for (auto const& [rule, text, separator, trims, keepsEmpty, expected] : cases) {
        Calls pieces;
        for (ConstData piece : ConstData(text).Split(separator, trims, keepsEmpty))
            pieces.push_back(MakeString(piece));
        EXPECT_EQ(expected, pieces) << rule;
    }
}

TEST(ConstDataSplitTest, PiecesAreViewsOfTheText) {
    ConstData const text("ab, c,  ");
    std::vector<ConstData> const pieces = text.Split(",", true, true);
    ASSERT_EQ(3u, pieces.size());
    EXPECT_EQ(text.begin, pieces[0].begin);
    EXPECT_EQ(text.begin + 2, pieces[0].end);
    EXPECT_EQ(text.begin + 4, pieces[1].begin);
    EXPECT_EQ(text.begin + 5, pieces[1].end);
    EXPECT_EQ(text.end, pieces[2].begin) << "an empty piece is at the end of its whitespace";
    EXPECT_EQ(text.end, pieces[2].end);
}

TEST(ConstDataSplitTest, EveryShortTextAgreesWithReference) {
    std::vector<std::string> const separators = AllTexts("a, ", 3);
    for (std::string const& text : AllTexts("a, \t", 5))
        for (std::string const& separator : separators)
            for (bool const trims : {false, true})
                for (bool const keepsEmpty : {false, true})
                    ExpectHolds(text + " by " + separator, [&] {
                        SplitProperties::CompareSplit(text, separator, trims, keepsEmpty);
                        SplitProperties::CompareTrim(text);
                    });
}

TEST(ConstDataSplitTest, RandomTextAgreesWithReference) {
    ForRandomInputs(7, 20000, 20, "ab \t", SplitProperties::Check);
}

} // namespace
