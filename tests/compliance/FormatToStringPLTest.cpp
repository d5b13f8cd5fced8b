#include "compliance/FormatToStringPL.h"

#include <limits>
#include <random>
#include <string>

#include <gtest/gtest.h>

namespace {

template <typename Number>
std::string Text(Number value) {
    return FormatToStringPL(value).AsChar();
}

TEST(FormatToStringPLTest, OnlyNegativeNumbersHaveASign) {
    EXPECT_EQ("-22", Text(-22));
    EXPECT_EQ("0", Text(0));
    EXPECT_EQ("15", Text(15U));
    EXPECT_EQ("-2147483648", Text(std::numeric_limits<int>::min()));
    EXPECT_EQ("2147483647", Text(std::numeric_limits<int>::max()));
    EXPECT_EQ("4294967295", Text(std::numeric_limits<unsigned int>::max()));
}

TEST(FormatToStringPLTest, AgreesWithTheStandardLibrary) {
    constexpr unsigned int seed = 20;
    std::mt19937 random(seed);
    for (int round = 0; round < 20000; ++round) {
        unsigned int const bits = static_cast<unsigned int>(random()) >> (random() % 32);
        ASSERT_EQ(std::to_string(bits), Text(bits)) << "seed " << seed;
        int const number = static_cast<int>(bits);
        ASSERT_EQ(std::to_string(number), Text(number)) << "seed " << seed;
    }
}

} // namespace
