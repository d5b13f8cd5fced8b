#include "simd/ParseDigits.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>

namespace {

template <unsigned base>
std::optional<std::uint64_t> Parsed(std::string const& text) {
    auto const* const begin = reinterpret_cast<unsigned char const*>(text.data());
    std::uint64_t value = 0;
    std::uint64_t scalar = 0;
    bool const isParsed = Simd::ParseDigits<base>(begin, text.size(), value);
    EXPECT_EQ(isParsed, Simd::ParseDigitsScalar<base>(begin, text.size(), scalar)) << text;
    if (!isParsed)
        return std::nullopt;
    EXPECT_EQ(value, scalar) << text;
    return value;
}

TEST(ParseDigitsTest, ReadsTheLargestNumber) {
    EXPECT_EQ(UINT64_MAX, Parsed<10>("18446744073709551615"));
    EXPECT_EQ(UINT64_MAX, Parsed<10>("000018446744073709551615"));
    EXPECT_EQ(UINT64_MAX, Parsed<16>("ffffFFFFffffFFFF"));
}

TEST(ParseDigitsTest, RejectsNumbersThatDoNotFit) {
    for (char const* const text : {"18446744073709551616", "18446744073709551620",
                                   "99999999999999999999", "184467440737095516150"})
        EXPECT_EQ(std::nullopt, Parsed<10>(text)) << text;
    EXPECT_EQ(std::nullopt, Parsed<16>("10000000000000000"));
}

TEST(ParseDigitsTest, RejectsTextsThatAreNoNumber) {
    for (char const* const text : {"", "x", "1 ", "12345678901234567:", "-1"})
        EXPECT_EQ(std::nullopt, Parsed<10>(text)) << text;
    for (char const* const text : {"", "g", "1234567@", "12345678901234g"})
        EXPECT_EQ(std::nullopt, Parsed<16>(text)) << text;
}

TEST(ParseDigitsTest, RejectsMoreThan24Digits) {
    EXPECT_EQ(1, Parsed<10>(std::string(23, '0') + '1'));
    EXPECT_EQ(std::nullopt, Parsed<10>(std::string(24, '0') + '1'));
}

} // namespace
