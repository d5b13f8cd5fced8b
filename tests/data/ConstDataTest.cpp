#include "data/ConstData.h"

#include <algorithm>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "data/Buffer.h"
#include "tests/support/Bytes.h"
#include "tests/support/FailingAllocation.h"
#include "tests/support/GuardedBytes.h"

namespace {

constexpr ConstData crlf = "\r\n"_bytes;
static_assert(crlf.Length() == 2 && crlf[0] == 13 && crlf[1] == 10);
static_assert(ConstData().begin == nullptr && ConstData().end == nullptr && ConstData().IsEmpty());

using Positions = std::vector<unsigned long>;

int Sign(int number) { return (number > 0) - (number < 0); }

TEST(ConstDataTest, ConstructorsTakeStringsAndLiterals) {
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
    std::vector<int> wrong;
    for (int byte = 0; byte < 256; ++byte) {
        ConstData const data(bytes);
        unsigned char const wanted = static_cast<unsigned char>(byte);
        ConstData const without(data.begin + byte + 1, data.begin + byte + 256);
        if (data.PositionOf(wanted) != static_cast<std::uint64_t>(byte) || !data.Contains(wanted) ||
            without.Contains(wanted) || without.PositionOf(wanted) != ConstData::notFound)
            wrong.push_back(byte);
    }
    EXPECT_EQ(std::vector<int>(), wrong);
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

TEST(ConstDataTest, SearchesAgreeWithReference) {
    unsigned const seed = 20240;
    std::mt19937 random(seed);
    std::vector<std::string> wrong;
    for (int round = 0; round < 20000; ++round) {
        std::string const text = RandomBytes(random, random() % 40, Bytes("ab\0"));
        std::string const pattern = RandomBytes(random, 1 + random() % 5, Bytes("ab\0"));
        Positions expected;
        for (std::size_t at = 0; at + pattern.size() <= text.size();) {
            bool const matches = std::equal(pattern.begin(), pattern.end(), text.begin() + at);
            if (matches)
                expected.push_back(at);
            at += matches ? pattern.size() : 1;
        }
        ConstData const range(text);
        std::uint64_t const first = expected.empty() ? ConstData::notFound : expected.front();
        if (range.PositionsOf(pattern) != expected || range.PositionOf(pattern) != first ||
            range.Contains(ConstData(pattern)) != !expected.empty() ||
            range.StartsWith(pattern) != text.starts_with(pattern) ||
            range.EndsWith(pattern) != text.ends_with(pattern))
            wrong.push_back(Shown(text) + " / " + Shown(pattern));
    }
    EXPECT_EQ(std::vector<std::string>(), wrong) << "seed " << seed;
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
    EXPECT_EQ(ConstData("ef"), ConstData("ABCDef") >> Data(target));
    EXPECT_EQ(ConstData("ABCD"), ConstData(target));
}

TEST(ConstDataTest, RestOfACopyPointsIntoTheSource) {
    ConstData const source("abcd");
    unsigned char target[2];
    ConstData const rest = source >> Data(target);
    EXPECT_EQ(source.begin + 2, rest.begin);
    EXPECT_EQ(source.end, rest.end);
    EXPECT_EQ(source.begin, (source >> Data()).begin);
    EXPECT_EQ(nullptr, (ConstData() >> Data(target)).begin);
}

TEST(ConstDataTest, ComparisonsAgreeWithReference) {
    unsigned const seed = 20241;
    std::mt19937 random(seed);
    std::vector<std::string> wrong;
    for (int round = 0; round < 20000; ++round) {
        std::string left = RandomBytes(random, random() % 40, Bytes("aa\xFF"));
        std::string right = left.substr(0, random() % (left.size() + 1)) +
                            RandomBytes(random, random() % 4, Bytes("a\0"));
        if (round % 2 == 0)
            right = RandomBytes(random, random() % 3, Bytes("ab")) + left;
        std::size_t const common = std::min(left.size(), right.size());
        int forward = (left.size() > right.size()) - (left.size() < right.size());
        int backward = forward;
        auto const difference = [](char a, char b) {
            return static_cast<unsigned char>(a) - static_cast<unsigned char>(b);
        };
        for (std::size_t i = common; i > 0; --i) {
            if (left[i - 1] != right[i - 1])
                forward = difference(left[i - 1], right[i - 1]);
            if (left[left.size() - i] != right[right.size() - i])
                backward = difference(left[left.size() - i], right[right.size() - i]);
        }
        if (Compare(left, right) != forward || CompareReversed(left, right) != backward ||
            (ConstData(left) < ConstData(right)) != (forward < 0) ||
            (ConstData(left) == ConstData(right)) != (forward == 0) ||
            Sign(Compare(right, left)) != -Sign(forward))
            wrong.push_back(Shown(left) + " / " + Shown(right));
    }
    EXPECT_EQ(std::vector<std::string>(), wrong) << "seed " << seed;
}

TEST(ConstDataTest, ReadingAllocatesNothing) {
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

TEST(ConstDataWithCapacityTest, TakesExactlyItsCapacity) {
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

} // namespace
