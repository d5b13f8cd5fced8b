#include "data/Numeral.h"

#include <gtest/gtest.h>

#include <charconv>
#include <limits>
#include <random>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "tests/support/Bytes.h"
#include "tests/support/FailingAllocation.h"

namespace {

std::string Text(Numeral const& numeral) { return MakeString(numeral); }

// The length byte, and as many bytes behind it.
std::string CountedText(Numeral const& numeral) {
    unsigned char const* const counted = numeral;
    return MakeString(ConstData(counted + 1, static_cast<unsigned>(*counted)));
}

template <typename T>
std::string Expected(T value, unsigned base) {
    char text[80];
    return std::string(text,
                       std::to_chars(text, text + sizeof(text), value, static_cast<int>(base)).ptr);
}

template <typename T>
std::vector<T> Borders() {
    using U = std::make_unsigned_t<T>;
    std::vector<T> values;
    auto const addAround = [&](U centre) {
        for (int step = -2; step <= 2; ++step)
            values.push_back(static_cast<T>(centre + static_cast<U>(step)));
    };
    addAround(0);
    for (unsigned bit = 0; bit < sizeof(T) * 8; ++bit) {
        addAround(static_cast<U>(U{1} << bit));
        addAround(static_cast<U>(0 - (U{1} << bit)));
    }
    for (unsigned base = 2; base <= 36; ++base)
        for (U power = static_cast<U>(base);; power = static_cast<U>(power * base)) {
            addAround(power);
            if (power > std::numeric_limits<U>::max() / base)
                break;
        }
    return values;
}

template <typename T>
void CheckType() {
    std::string mismatches;
    for (T value : Borders<T>())
        for (unsigned base = 2; base <= 36; ++base) {
            Numeral const numeral(value, base);
            std::string const expected = Expected(value, base);
            if (Text(numeral) != expected || CountedText(numeral) != expected)
                mismatches += expected + " in base " + std::to_string(base) + "; ";
        }
    EXPECT_EQ("", mismatches.substr(0, 1000));
}

TEST(NumeralTest, SignedTypesReadAsToCharsInEveryBase) {
    CheckType<signed char>();
    CheckType<short>();
    CheckType<int>();
    CheckType<long long>();
}

TEST(NumeralTest, UnsignedTypesReadAsToCharsInEveryBase) {
    CheckType<unsigned char>();
    CheckType<unsigned short>();
    CheckType<unsigned int>();
    CheckType<unsigned long>();
    CheckType<unsigned long long>();
}

TEST(NumeralTest, RandomValuesReadAsToChars) {
    unsigned const seed = 11;
    std::mt19937_64 random(seed);
    std::string mismatches;
    for (int round = 0; round < 50000; ++round) {
        long long const value = static_cast<long long>(random()) >> random() % 64;
        unsigned const base = round % 2 != 0 ? 10 : 2 + static_cast<unsigned>(random() % 35);
        if (Text(Numeral(value, base)) != Expected(value, base))
            mismatches += Expected(value, base) + " in base " + std::to_string(base) + "; ";
    }
    EXPECT_EQ("", mismatches) << "seed " << seed;
}

TEST(NumeralTest, ZeroHasOneDigit) {
    EXPECT_EQ("0", Text(Numeral(0, 10)));
    EXPECT_EQ("0", Text(Numeral(0ull, 2)));
    EXPECT_EQ("0", Text(Numeral(0u, 7)));
}

TEST(NumeralTest, NegativeValueShowsItsAbsoluteValueInAnyBase) {
    EXPECT_EQ("-1", Text(Numeral(-1, 16)));
    EXPECT_EQ("-80", Text(Numeral(static_cast<signed char>(-128), 16)));
    EXPECT_EQ("-9223372036854775808", Text(Numeral(std::numeric_limits<long long>::min(), 10)));
    EXPECT_EQ(std::string("-1").append(63, '0'),
              Text(Numeral(std::numeric_limits<long long>::min(), 2)));
    EXPECT_EQ("-2147483648", Text(Numeral(std::numeric_limits<int>::min(), 10)));
}

TEST(NumeralTest, LongestNumeralsFit) {
    EXPECT_EQ(std::string(64, '1'), Text(Numeral(~0ull, 2)));
    EXPECT_EQ(std::string(64, '1'), CountedText(Numeral(~0ull, 2)));
    EXPECT_EQ(std::string("-1").append(63, '0'),
              CountedText(Numeral(std::numeric_limits<long long>::min(), 2)));
}

TEST(NumeralTest, PaddingAddsZerosInFrontOfTheDigits) {
    Numeral numeral(255u, 16);
    EXPECT_EQ("ff", Text(numeral));
    numeral.PadTo(4);
    EXPECT_EQ("00ff", Text(numeral));
    numeral.PadTo(1);
    EXPECT_EQ("00ff", Text(numeral));
    numeral.PadTo(0);
    EXPECT_EQ("00ff", Text(numeral));
}

TEST(NumeralTest, PaddingCountsDigitsAndLeavesTheSignInFront) {
    Numeral numeral(-5, 10);
    EXPECT_EQ("-5", Text(numeral));
    numeral.PadTo(3);
    EXPECT_EQ("-005", Text(numeral));
    EXPECT_EQ("-005", CountedText(numeral));
    numeral.PadTo(64);
    EXPECT_EQ(std::string("-").append(63, '0') + "5", Text(numeral));
    EXPECT_EQ(std::string("-").append(63, '0') + "5", CountedText(numeral));
}

TEST(NumeralTest, PadsTo65DigitsIfThereIsNoSign) {
    for (int value : {0, 7}) {
        Numeral numeral(value, 10);
        numeral.PadTo(65);
        std::string const expected = std::string(64, '0') + std::to_string(value);
        EXPECT_EQ(expected, Text(numeral));
        EXPECT_EQ(expected, CountedText(numeral));
    }
}

TEST(NumeralTest, ConversionsCanBeRepeatedAndMixed) {
    Numeral const numeral(-42, 10);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ("-42", Text(numeral));
        EXPECT_EQ("-42", CountedText(numeral));
    }
    unsigned char const* const counted = numeral;
    EXPECT_EQ(3, *counted);
    ConstData const text = numeral;
    EXPECT_EQ(counted + 1, text.begin);
}

TEST(NumeralTest, MoreDigitsGoInFront) {
    Numeral numeral(-5, 10);
    numeral.MakeDigits(340, 10);
    EXPECT_EQ("-3405", Text(numeral));
    numeral.MakeDigits64(0, 10);
    EXPECT_EQ("-03405", Text(numeral));
    numeral.MakeDigits64(0xABCDEF0123456789, 16);
    EXPECT_EQ("-abcdef012345678903405", Text(numeral));
}

TEST(NumeralTest, EvenAndOddCountsOfDigitsGoInFront) {
    std::vector<std::pair<unsigned, char const*>> const cases{
        {9, "9"}, {10, "10"}, {99, "99"}, {100, "100"}, {1234, "1234"}, {98765, "98765"}};
    for (auto const& [value, text] : cases) {
        Numeral narrow(7, 10);
        narrow.MakeDigits(value, 10);
        EXPECT_EQ(std::string(text) + '7', Text(narrow));
        Numeral wide(7, 10);
        wide.MakeDigits64(value, 10);
        EXPECT_EQ(std::string(text) + '7', Text(wide));
    }
}

TEST(NumeralTest, SignTellsZeroApart) {
    EXPECT_EQ(' ', Numeral::Sign(0));
    EXPECT_EQ('-', Numeral::Sign(-1));
    EXPECT_EQ('-', Numeral::Sign(std::numeric_limits<int>::min()));
    EXPECT_EQ('+', Numeral::Sign(1));
    EXPECT_EQ(' ', Numeral::Sign(0u));
    EXPECT_EQ('+', Numeral::Sign(~0u));
    EXPECT_EQ(' ', Numeral::Sign(0ul));
    EXPECT_EQ('+', Numeral::Sign(~0ul));
    EXPECT_EQ(' ', Numeral::Sign(0ll));
    EXPECT_EQ('-', Numeral::Sign(std::numeric_limits<long long>::min()));
    EXPECT_EQ('+', Numeral::Sign(1ll << 40));
    EXPECT_EQ(' ', Numeral::Sign(0ull));
    EXPECT_EQ('+', Numeral::Sign(~0ull));
}

TEST(NumeralTest, DigitsAreLowercase) {
    std::string digits;
    for (unsigned digit = 0; digit < 36; ++digit)
        digits.push_back(Numeral::Digit(digit));
    EXPECT_EQ("0123456789abcdefghijklmnopqrstuvwxyz", digits);
}

TEST(NumeralTest, NothingAllocates) {
    EXPECT_EQ(0u, AllocationsOf([] {
                  Numeral numeral(-123456789012345ll, 10);
                  numeral.PadTo(30);
                  ConstData const text = numeral;
                  EXPECT_EQ(31u, text.Length());
              }));
}

TEST(NumeralTest, IsUsedInPlace) {
    EXPECT_FALSE(std::is_copy_constructible_v<Numeral>);
    EXPECT_FALSE(std::is_move_constructible_v<Numeral>);
    EXPECT_FALSE(std::is_copy_assignable_v<Numeral>);
}

} // namespace
