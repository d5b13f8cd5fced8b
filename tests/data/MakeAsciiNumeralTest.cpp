#include "data/MakeAsciiNumeral.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "tests/support/Bytes.h"
#include "tests/support/FailingAllocation.h"

namespace {

constexpr char const* tooLong = "too long";

// As the C library prints it, with at least `padding` digits; none for zero without padding.
template <typename Value>
std::string Expected(Value value, int base, unsigned padding, std::size_t maxDigits) {
    bool const negative = value < 0;
    auto const bits = static_cast<unsigned long long>(value);
    char text[32];
    std::snprintf(text, sizeof(text), base == 16 ? "%llx" : "%llu", negative ? 0 - bits : bits);
    std::string digits = value == 0 ? "" : text;
    if (padding > maxDigits)
        return tooLong;
    if (digits.size() < padding)
        digits.insert(0, padding - digits.size(), '0');
    return negative ? "-" + digits : digits;
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

class MadeMismatches {
public:
    template <typename Maker, typename Value>
    void Check(char const* name, Maker maker, Value value, int base, unsigned padding,
               std::size_t maxDigits) {
        std::string const made = Made(maker, value, padding);
        if (made != Expected(value, base, padding, maxDigits) && ++count <= 5)
            text += std::string(name) + "(" + std::to_string(value) + ", " +
                    std::to_string(padding) + ") is " + made + "; ";
    }

    void CheckAll(unsigned long long value, unsigned padding) {
        auto const narrow = static_cast<unsigned>(value);
        auto const wideSigned = static_cast<long long>(value);
        auto const narrowSigned = static_cast<int>(narrow);
        Check("Decimal64", MakeAsciiDecimalNumeral64, value, 10, padding, 20);
        Check("Decimal", MakeAsciiDecimalNumeral, narrow, 10, padding, 10);
        Check("SignedDecimal64", MakeAsciiSignedDecimalNumeral64, wideSigned, 10, padding, 20);
        // A value that is not negative has room for one digit more.
        Check("SignedDecimal", MakeAsciiSignedDecimalNumeral, narrowSigned, 10, padding,
              narrowSigned < 0 ? 10 : 11);
        Check("Hex64", MakeAsciiHexNumeral64, value, 16, padding, 16);
        Check("Hex", MakeAsciiHexNumeral, narrow, 16, padding, 8);
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

TEST(MakeAsciiNumeralTest, LimitsAgreeWithTheCLibraryForEveryPadding) {
    std::vector<unsigned> paddings{63, 64, 65, 0x100, 0x10001, 0x80000000u, ~0u};
    for (unsigned padding = 0; padding <= 26; ++padding)
        paddings.push_back(padding);
    MadeMismatches mismatches;
    for (unsigned long long value : Borders())
        for (unsigned const padding : paddings)
            mismatches.CheckAll(value, padding);
    EXPECT_EQ("", mismatches.text);
}

TEST(MakeAsciiNumeralTest, ValuesBelow100000AgreeWithTheCLibrary) {
    MadeMismatches mismatches;
    for (unsigned long long value = 0; value < 100000; ++value)
        mismatches.Check("Decimal64", MakeAsciiDecimalNumeral64, value, 10, 1, 20);
    EXPECT_EQ("", mismatches.text);
}

TEST(MakeAsciiNumeralTest, RandomValuesAgreeWithTheCLibrary) {
    unsigned const seed = 13;
    std::mt19937_64 random(seed);
    MadeMismatches mismatches;
    for (int round = 0; round < 50000; ++round)
        mismatches.CheckAll(random() >> random() % 64, static_cast<unsigned>(random() % 3));
    EXPECT_EQ("", mismatches.text) << "seed " << seed;
}

// Deliberate: unlike Numeral, which writes a digit for zero.
TEST(MakeAsciiNumeralTest, ZeroWithoutPaddingIsEmpty) {
    EXPECT_EQ("", MakeString(MakeAsciiDecimalNumeral(0, 0)));
    EXPECT_EQ("0", MakeString(MakeAsciiDecimalNumeral(0, 1)));
}

TEST(MakeAsciiNumeralTest, AllocatesNothing) {
    EXPECT_EQ(0u, AllocationsOf([] {
                  EXPECT_EQ(20u, MakeAsciiDecimalNumeral64(~0ull, 20).length);
                  EXPECT_EQ(6u, MakeAsciiSignedDecimalNumeral(-5, 5).length);
                  EXPECT_EQ(16u, MakeAsciiHexNumeral64(~0ull, 1).length);
              }));
}

} // namespace
