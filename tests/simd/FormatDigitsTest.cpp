#include "simd/FormatDigits.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <string>

namespace {

TEST(FormatDigitsTest, PairsAreTheDigitsOfTheValue) {
    for (unsigned value = 0; value < 100; ++value) {
        EXPECT_EQ(static_cast<char>('0' + value / 10), Simd::digitPairs[value * 2]);
        EXPECT_EQ(static_cast<char>('0' + value % 10), Simd::digitPairs[value * 2 + 1]);
    }
}

// Both halves of a value are converted by the same code. So all groups of four digits in one half,
// with extreme values in the other, cover all cases.
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

std::string SixteenDigitsOf(std::uint64_t value) {
    char text[17];
    std::snprintf(text, sizeof(text), "%016llu", static_cast<unsigned long long>(value));
    return text;
}

TEST(FormatDigitsTest, SixteenDigitsAgreeWithSnprintf) {
    unsigned mismatches = 0;
    auto const check = [&](std::uint64_t first, std::uint64_t last) {
        char text[16];
        Simd::StoreSixteenDigits(text, first * 100000000 + last);
        mismatches += SixteenDigitsOf(first * 100000000 + last) != std::string(text, 16);
    };
    ForEachEightDigits([&](std::uint32_t eight) {
        for (std::uint32_t const other : {0u, 99999999u}) {
            check(eight, other);
            check(other, eight);
        }
    });
    EXPECT_EQ(0u, mismatches);
}

TEST(FormatDigitsTest, UpToFourDigitsHaveNoLeadingZeros) {
    for (std::uint32_t value = 0; value < 10000; ++value) {
        unsigned char text[4];
        unsigned const count = Simd::FormatDecimalUpTo4(text, value);
        ASSERT_EQ(std::to_string(value), std::string(text, text + count));
    }
}

} // namespace
