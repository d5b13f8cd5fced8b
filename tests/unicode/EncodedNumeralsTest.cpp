#include "unicode/EncodedNumerals.h"

#include <limits>

#include <gtest/gtest.h>

#include "data/Numeral.h"
#include "data/ReadAsciiNumeral.h"
#include "tests/support/FailingAllocation.h"

namespace {

TEST(USAsciiStringTest, DefaultIsEmptyAndNotTerminated) {
    USAsciiString const text;
    EXPECT_EQ(nullptr, text.begin);
    EXPECT_EQ(nullptr, text.end);
    EXPECT_FALSE(text.nullTerminated);
}

void ExpectText(std::string const& expected, Numeral const& numeral) {
    USAsciiString const text = numeral;
    EXPECT_EQ(expected, std::string(text.begin, text.end));
    EXPECT_TRUE(text.nullTerminated);
    EXPECT_EQ('\0', *text.end);
    EXPECT_EQ(expected.size(), std::strlen(text.begin));
}

TEST(USAsciiStringTest, NumeralConvertsToItsTextWithANul) {
    ExpectText("0", Numeral(0, 10));
    ExpectText("-ff", Numeral(-255, 16));
    ExpectText(std::string(64, '1'), Numeral(~0ull, 2));
    ExpectText("-1" + std::string(63, '0'), Numeral(std::numeric_limits<long long>::min(), 2));
    Numeral numeral(-5, 10);
    ExpectText("-5", numeral);
    EXPECT_EQ("-5", MakeString(numeral));
    numeral.PadTo(3);
    unsigned char const* const counted = numeral;
    EXPECT_EQ(4, *counted);
    ExpectText("-005", numeral);
}

// The text is stored in the numeral, so it outlives the conversion without an allocation.
TEST(USAsciiStringTest, TextIsInsideTheNumeral) {
    Numeral const numeral(-1234567890123456789ll, 10);
    AllocationCounter const counter;
    USAsciiString const first = numeral;
    EXPECT_EQ(0u, counter.Count());
    auto const address = reinterpret_cast<char const*>(&numeral);
    EXPECT_TRUE(first.begin >= address && first.end < address + sizeof(numeral));
    std::string const other(100, 'x');
    USAsciiString const second = numeral;
    EXPECT_EQ(first.begin, second.begin);
    EXPECT_STREQ("-1234567890123456789", first.begin);
}

UStringRef<UTF8> Text(std::string const& bytes) {
    auto const units = reinterpret_cast<unsigned char const*>(bytes.data());
    return UStringRef<UTF8>(units, units + bytes.size());
}

TEST(ReadUTF8NumeralTest, ReadsUpToTheLimitOfItsType) {
    EXPECT_EQ(0u, ReadUTF8DecimalNumeral64(Text("0")));
    EXPECT_EQ(~0ull, ReadUTF8DecimalNumeral64(Text("18446744073709551615")));
    EXPECT_THROW(ReadUTF8DecimalNumeral64(Text("18446744073709551616")), NumeralTooLarge);
    EXPECT_EQ(7u, ReadUTF8DecimalNumeral(Text("007")));
    EXPECT_EQ(~0u, ReadUTF8DecimalNumeral(Text("4294967295")));
    EXPECT_THROW(ReadUTF8DecimalNumeral(Text("4294967296")), NumeralTooLarge);
}

// Digits of other scripts (U+0661, U+FF11) are invalid, too.
TEST(ReadUTF8NumeralTest, RejectsInvalidText) {
    for (char const* text : {"", " 1", "-1", "+1", "1x", "0x10", "\xD9\xA1", "1\xEF\xBC\x91"}) {
        EXPECT_THROW(ReadUTF8DecimalNumeral64(Text(text)), NotANumeral) << text;
        EXPECT_THROW(ReadUTF8DecimalNumeral(Text(text)), NotANumeral) << text;
    }
    EXPECT_THROW(ReadUTF8DecimalNumeral64(UStringRef<UTF8>()), NotANumeral);
}

} // namespace
