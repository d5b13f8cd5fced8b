#include "data/MakeAsciiNumeral.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <limits>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "tests/support/Bytes.h"
#include "tests/support/FailingAllocation.h"

namespace {

constexpr char const* tooLong = "too long";

// The digits of the C library, at least `padding` of them; none for zero without padding.
std::string Digits(char const* format, unsigned long long value, unsigned padding) {
    char text[32];
    std::snprintf(text, sizeof(text), format, value);
    std::string digits = value == 0 ? "" : text;
    if (digits.size() < padding)
        digits.insert(0, padding - digits.size(), '0');
    return digits;
}

std::string Fitting(std::string const& text, std::size_t capacity) {
    return text.size() <= capacity ? text : tooLong;
}

template <typename Maker, typename Value>
std::string Made(Maker maker, Value value, unsigned padding) {
    try {
        auto const holder = maker(value, padding);
        EXPECT_EQ(holder.length, std::string(holder.Text()).size()) << "no NUL behind the text";
        return MakeString(holder);
    } catch (ConstDataCapacityExceeded const&) {
        return tooLong;
    }
}

std::string ExpectedDecimal(unsigned long long value, unsigned padding, std::size_t capacity) {
    return Fitting(Digits("%llu", value, padding), capacity);
}

std::string ExpectedHex(unsigned long long value, unsigned padding, std::size_t capacity) {
    return Fitting(Digits("%llx", value, padding), capacity);
}

// The digits must fit the unsigned maker's holder, and with the sign the signed one's.
std::string ExpectedSigned(long long value, unsigned padding, std::size_t capacity) {
    auto const bits = static_cast<unsigned long long>(value);
    std::string const digits = ExpectedDecimal(value < 0 ? 0 - bits : bits, padding, 20);
    if (digits == tooLong)
        return tooLong;
    return Fitting(value < 0 ? "-" + digits : digits, capacity);
}

class MadeMismatches {
public:
    void Check(char const* maker, std::string const& expected, std::string const& made,
               unsigned long long value, unsigned padding) {
        if (expected != made && ++count <= 5)
            text += std::string(maker) + "(" + std::to_string(value) + ", " +
                    std::to_string(padding) + ") is " + made + "; ";
    }

    void CheckAll(unsigned long long value, unsigned padding) {
        auto const narrow = static_cast<unsigned>(value);
        auto const wideSigned = static_cast<long long>(value);
        auto const narrowSigned = static_cast<int>(narrow);
        Check("Decimal64", ExpectedDecimal(value, padding, 20),
              Made(MakeAsciiDecimalNumeral64, value, padding), value, padding);
        Check("Decimal", ExpectedDecimal(narrow, padding, 10),
              Made(MakeAsciiDecimalNumeral, narrow, padding), narrow, padding);
        Check("SignedDecimal64", ExpectedSigned(wideSigned, padding, 21),
              Made(MakeAsciiSignedDecimalNumeral64, wideSigned, padding), value, padding);
        Check("SignedDecimal", ExpectedSigned(narrowSigned, padding, 11),
              Made(MakeAsciiSignedDecimalNumeral, narrowSigned, padding), narrow, padding);
        Check("Hex64", ExpectedHex(value, padding, 16), Made(MakeAsciiHexNumeral64, value, padding),
              value, padding);
        Check("Hex", ExpectedHex(narrow, padding, 8), Made(MakeAsciiHexNumeral, narrow, padding),
              narrow, padding);
    }

    std::string text;

private:
    int count = 0;
};

// Around every power of two and of ten, and those with the sign turned.
std::vector<unsigned long long> Borders() {
    std::vector<unsigned long long> values;
    auto const addAround = [&](unsigned long long centre) {
        for (unsigned long long step : {~1ull, ~0ull, 0ull, 1ull, 2ull}) {
            values.push_back(centre + step);
            values.push_back(0 - centre + step);
        }
    };
    addAround(0);
    for (unsigned bit = 0; bit < 64; ++bit)
        addAround(1ull << bit);
    unsigned long long power = 10;
    for (int digits = 2; digits <= 20; ++digits, power *= 10) {
        addAround(power);
        addAround(power / 10 * 9);
    }
    return values;
}

TEST(MakeAsciiNumeralTest, BordersReadAsTheCLibraryPrintsThemWithEveryPadding) {
    MadeMismatches mismatches;
    for (unsigned long long value : Borders())
        for (unsigned padding = 0; padding <= 26; ++padding)
            mismatches.CheckAll(value, padding);
    EXPECT_EQ("", mismatches.text);
}

TEST(MakeAsciiNumeralTest, EveryValueBelowAHundredThousandReadsAsTheCLibraryPrintsIt) {
    MadeMismatches mismatches;
    for (unsigned long long value = 0; value < 100000; ++value)
        mismatches.Check("Decimal64", ExpectedDecimal(value, 1, 20),
                         Made(MakeAsciiDecimalNumeral64, value, 1), value, 1);
    EXPECT_EQ("", mismatches.text);
}

TEST(MakeAsciiNumeralTest, RandomValuesReadAsTheCLibraryPrintsThem) {
    unsigned const seed = 13;
    std::mt19937_64 random(seed);
    MadeMismatches mismatches;
    for (int round = 0; round < 50000; ++round)
        mismatches.CheckAll(random() >> random() % 64, static_cast<unsigned>(random() % 3));
    EXPECT_EQ("", mismatches.text) << "seed " << seed;
}

// Deliberate: unlike Numeral, which gives zero a digit.
TEST(MakeAsciiNumeralTest, ZeroWithoutPaddingIsEmpty) {
    EXPECT_EQ("", MakeString(MakeAsciiDecimalNumeral(0, 0)));
    EXPECT_EQ("", MakeString(MakeAsciiDecimalNumeral64(0, 0)));
    EXPECT_EQ("", MakeString(MakeAsciiSignedDecimalNumeral(0, 0)));
    EXPECT_EQ("", MakeString(MakeAsciiSignedDecimalNumeral64(0, 0)));
    EXPECT_EQ("", MakeString(MakeAsciiHexNumeral(0, 0)));
    EXPECT_EQ("", MakeString(MakeAsciiHexNumeral64(0, 0)));
    EXPECT_EQ("0", MakeString(MakeAsciiDecimalNumeral(0, 1)));
}

TEST(MakeAsciiNumeralTest, PaddingCountsDigitsAndNotTheSign) {
    EXPECT_EQ("0a", MakeString(MakeAsciiHexNumeral(10, 2)));
    EXPECT_EQ("-005", MakeString(MakeAsciiSignedDecimalNumeral(-5, 3)));
    EXPECT_EQ("-0000000005", MakeString(MakeAsciiSignedDecimalNumeral(-5, 10)));
    EXPECT_EQ("00000000005", MakeString(MakeAsciiSignedDecimalNumeral(5, 11)));
}

TEST(MakeAsciiNumeralTest, LongestValuesFillTheirHolders) {
    EXPECT_EQ("18446744073709551615", MakeString(MakeAsciiDecimalNumeral64(~0ull, 0)));
    EXPECT_EQ("4294967295", MakeString(MakeAsciiDecimalNumeral(~0u, 0)));
    EXPECT_EQ("-9223372036854775808", MakeString(MakeAsciiSignedDecimalNumeral64(
                                          std::numeric_limits<long long>::min(), 0)));
    EXPECT_EQ("-2147483648",
              MakeString(MakeAsciiSignedDecimalNumeral(std::numeric_limits<int>::min(), 0)));
    EXPECT_EQ("ffffffffffffffff", MakeString(MakeAsciiHexNumeral64(~0ull, 0)));
    EXPECT_EQ("ffffffff", MakeString(MakeAsciiHexNumeral(~0u, 0)));
}

TEST(MakeAsciiNumeralTest, PaddingBeyondTheHolderThrows) {
    EXPECT_THROW(MakeAsciiHexNumeral(1, 9), ConstDataCapacityExceeded);
    EXPECT_THROW(MakeAsciiHexNumeral64(1, 17), ConstDataCapacityExceeded);
    EXPECT_THROW(MakeAsciiDecimalNumeral(1, 11), ConstDataCapacityExceeded);
    EXPECT_THROW(MakeAsciiDecimalNumeral64(1, 21), ConstDataCapacityExceeded);
    EXPECT_THROW(MakeAsciiSignedDecimalNumeral(-1, 11), ConstDataCapacityExceeded);
    EXPECT_THROW(MakeAsciiSignedDecimalNumeral(1, 12), ConstDataCapacityExceeded);
}

TEST(MakeAsciiNumeralTest, SignedMakerTakesNoMoreDigitsThanTheUnsignedOne) {
    EXPECT_EQ(20u, MakeAsciiSignedDecimalNumeral64(1, 20).length);
    EXPECT_EQ(21u, MakeAsciiSignedDecimalNumeral64(-1, 20).length);
    EXPECT_THROW(MakeAsciiSignedDecimalNumeral64(1, 21), ConstDataCapacityExceeded);
    EXPECT_THROW(MakeAsciiSignedDecimalNumeral64(-1, 21), ConstDataCapacityExceeded);
}

TEST(MakeAsciiNumeralTest, OversizedPaddingAlwaysThrows) {
    for (unsigned padding : {22u, 24u, 25u, 63u, 64u, 65u, 0x100u, 0x10001u, 0x80000000u, ~0u})
        for (unsigned value : {0u, 1u, ~0u}) {
            EXPECT_THROW(MakeAsciiDecimalNumeral64(value, padding), ConstDataCapacityExceeded);
            EXPECT_THROW(MakeAsciiDecimalNumeral(value, padding), ConstDataCapacityExceeded);
            EXPECT_THROW(MakeAsciiSignedDecimalNumeral64(value, padding),
                         ConstDataCapacityExceeded);
            EXPECT_THROW(MakeAsciiSignedDecimalNumeral(static_cast<int>(value), padding),
                         ConstDataCapacityExceeded);
            EXPECT_THROW(MakeAsciiHexNumeral64(value, padding), ConstDataCapacityExceeded);
            EXPECT_THROW(MakeAsciiHexNumeral(value, padding), ConstDataCapacityExceeded);
        }
}

TEST(MakeAsciiNumeralTest, NothingAllocates) {
    EXPECT_EQ(0u, AllocationsOf([] {
                  EXPECT_EQ(20u, MakeAsciiDecimalNumeral64(~0ull, 20).length);
                  EXPECT_EQ(6u, MakeAsciiSignedDecimalNumeral(-5, 5).length);
                  EXPECT_EQ(16u, MakeAsciiHexNumeral64(~0ull, 1).length);
              }));
}

} // namespace
