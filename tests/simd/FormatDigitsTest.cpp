#include "simd/FormatDigits.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <string_view>

namespace {

TEST(FormatDigitsTest, PairsAreTheDigitsOfTheValue) {
    for (unsigned value = 0; value < 100; ++value) {
        EXPECT_EQ(static_cast<char>('0' + value / 10), Simd::digitPairs[value * 2]);
        EXPECT_EQ(static_cast<char>('0' + value % 10), Simd::digitPairs[value * 2 + 1]);
    }
}

// Both halves of a value are converted by the same code. So each group of four digits is combined
// with only a few others.
template <class Check>
void ForEachEightDigits(Check check) {
    for (std::uint32_t four = 0; four < 10000; ++four)
        for (std::uint32_t const other : {0u, 1u, 4567u, 9999u}) {
            check(four * 10000 + other);
            check(other * 10000 + four);
        }
}

TEST(FormatDigitsTest, EightDigitsAgreeWithReference) {
    unsigned mismatches = 0;
    ForEachEightDigits([&](std::uint32_t value) {
        mismatches += Simd::EightDigits(value) != Simd::EightDigitsScalar(value);
    });
    EXPECT_EQ(0u, mismatches);
}

TEST(FormatDigitsTest, SixteenDigitsAgreeWithSnprintf) {
    unsigned mismatches = 0;
    auto const check = [&](unsigned long long first, unsigned long long last) {
        char text[16], expected[17];
        Simd::StoreSixteenDigits(text, first * 100000000 + last);
        std::snprintf(expected, sizeof(expected), "%08llu%08llu", first, last);
        mismatches += std::string_view(expected) != std::string_view(text, 16);
    };
    ForEachEightDigits([&](std::uint32_t eight) {
        for (std::uint32_t const other : {0u, 99999999u}) {
            check(eight, other);
            check(other, eight);
        }
    });
    EXPECT_EQ(0u, mismatches);
}

TEST(FormatDigitsTest, ValuesBelow10000AgreeWithToString) {
    for (std::uint32_t value = 0; value < 10000; ++value) {
        unsigned char text[4];
        unsigned const count = Simd::FormatDecimalUpTo4(text, value);
        ASSERT_EQ(std::to_string(value), std::string(text, text + count));
    }
}

} // namespace
