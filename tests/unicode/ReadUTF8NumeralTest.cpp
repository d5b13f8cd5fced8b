#include "unicode/ReadUTF8Numeral.h"

#include <limits>
#include <string>

#include <gtest/gtest.h>

#include "data/ReadAsciiNumeral.h"

namespace {

UStringRef<UTF8> Text(std::string const& bytes) {
    auto const units = reinterpret_cast<unsigned char const*>(bytes.data());
    return UStringRef<UTF8>(units, units + bytes.size());
}

TEST(ReadUTF8NumeralTest, ReadsUpToTheTopOfItsType) {
    EXPECT_EQ(0u, ReadUTF8DecimalNumeral64(Text("0")));
    EXPECT_EQ(std::numeric_limits<unsigned long long>::max(),
              ReadUTF8DecimalNumeral64(Text("18446744073709551615")));
    EXPECT_EQ(7u, ReadUTF8DecimalNumeral(Text("007")));
    EXPECT_EQ(4294967295u, ReadUTF8DecimalNumeral(Text("4294967295")));
}

TEST(ReadUTF8NumeralTest, TooLargeAValueIsRefused) {
    EXPECT_THROW(ReadUTF8DecimalNumeral64(Text("18446744073709551616")), NumeralTooLarge);
    EXPECT_THROW(ReadUTF8DecimalNumeral(Text("4294967296")), NumeralTooLarge);
}

TEST(ReadUTF8NumeralTest, WhatIsNoNumeralIsRefused) {
    for (char const* text : {"", " 1", "-1", "+1", "1x", "0x10"}) {
        EXPECT_THROW(ReadUTF8DecimalNumeral64(Text(text)), NotANumeral) << text;
        EXPECT_THROW(ReadUTF8DecimalNumeral(Text(text)), NotANumeral) << text;
    }
    EXPECT_THROW(ReadUTF8DecimalNumeral64(UStringRef<UTF8>()), NotANumeral);
    EXPECT_THROW(ReadUTF8DecimalNumeral(UStringRef<UTF8>()), NotANumeral);
}

// Digits are ASCII digits: those of other scripts are not read (here U+0661, U+FF11).
TEST(ReadUTF8NumeralTest, DigitsOfOtherScriptsAreRefused) {
    EXPECT_THROW(ReadUTF8DecimalNumeral64(Text("\xD9\xA1")), NotANumeral);
    EXPECT_THROW(ReadUTF8DecimalNumeral(Text("1\xEF\xBC\x91")), NotANumeral);
}

} // namespace
