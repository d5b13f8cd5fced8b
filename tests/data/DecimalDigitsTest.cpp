#include "data/DecimalDigits.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(DecimalDigitsTest, PairsAreTheTwoDigitsOfTheirValue) {
    for (unsigned value = 0; value < 100; ++value) {
        EXPECT_EQ(static_cast<char>('0' + value / 10), DecimalDigits::pairs[value * 2]);
        EXPECT_EQ(static_cast<char>('0' + value % 10), DecimalDigits::pairs[value * 2 + 1]);
    }
}

std::uint64_t DigitByDigit(std::uint32_t value) {
    std::uint64_t digits = 0;
    for (int i = 0; i < 8; ++i, value /= 10)
        digits = digits << 8 | value % 10;
    return digits;
}

// Both halves of a value are treated alike and apart, so that each four digits in either half, with
// the extremes in the other, are all that there is to try.
TEST(DecimalDigitsTest, EightDigitsAreThoseOfTheValue) {
    unsigned mismatches = 0;
    for (std::uint32_t four = 0; four < 10000; ++four)
        for (std::uint32_t other : {0u, 1u, 4567u, 9999u}) {
            for (std::uint32_t value : {four * 10000 + other, other * 10000 + four})
                mismatches += DecimalDigits::EightDigits(value) != DigitByDigit(value);
        }
    EXPECT_EQ(0u, mismatches);
}

// The words of the vector form are made alike and apart, too.
TEST(DecimalDigitsTest, SixteenDigitsAreTwiceEightDigits) {
    unsigned mismatches = 0;
    auto const check = [&](std::uint32_t first, std::uint32_t last) {
        DecimalDigits::SixteenDigits const digits(first * 100000000ull + last);
        std::uint64_t const expected[2] = {DecimalDigits::EightDigits(first) | DecimalDigits::zeros,
                                           DecimalDigits::EightDigits(last) | DecimalDigits::zeros};
        std::uint64_t text[2];
        std::uint64_t end;
        digits.Put(text);
        digits.PutLast(&end);
        mismatches += digits.First() != DecimalDigits::EightDigits(first);
        mismatches += text[0] != expected[0] || text[1] != expected[1] || end != expected[1];
    };
    for (std::uint32_t four = 0; four < 10000; ++four)
        for (std::uint32_t other : {0u, 1u, 4567u, 9999u})
            for (std::uint32_t eight : {four * 10000 + other, other * 10000 + four}) {
                check(eight, 0);
                check(eight, 99999999);
                check(0, eight);
                check(99999999, eight);
            }
    EXPECT_EQ(0u, mismatches);
}

TEST(DecimalDigitsTest, LeadingZerosAreCounted) {
    std::uint32_t value = 1;
    for (unsigned leading = 7;; --leading, value *= 10) {
        EXPECT_EQ(leading, DecimalDigits::CountLeadingZeros(DecimalDigits::EightDigits(value)));
        if (leading == 0)
            break;
    }
}

TEST(DecimalDigitsTest, UpToFourDigitsHaveNoLeadingZeros) {
    for (std::uint32_t value = 0; value < 10000; ++value) {
        unsigned char text[4];
        unsigned const count = DecimalDigits::PutUpToFour(text, value);
        ASSERT_EQ(std::to_string(value), std::string(text, text + count));
    }
}

} // namespace
