#include "simd/ParseDigits.h"

#include <gtest/gtest.h>

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

// 0...01 is a number, but not with another byte at any position.
template <unsigned base>
void ExpectOnlyDigits(std::string const& otherBytes) {
    EXPECT_EQ(std::nullopt, Parsed<base>(""));
    for (std::size_t length = 1; length <= 24; ++length) {
        std::string text(length, '0');
        text.back() = '1';
        EXPECT_EQ(1, Parsed<base>(text)) << length;
        for (std::size_t place = 0; place < length; ++place)
            for (char const other : otherBytes) {
                std::string changed = text;
                changed[place] = other;
                EXPECT_EQ(std::nullopt, Parsed<base>(changed)) << changed;
            }
    }
}

TEST(ParseDigitsTest, RejectsOtherBytesThanDigits) {
    ExpectOnlyDigits<10>(std::string("/:-+ a\xB0\0", 8));
    ExpectOnlyDigits<16>(std::string("/:@G`g-+ x\xB0\0", 12));
}

TEST(ParseDigitsTest, RejectsMoreThan24Digits) {
    EXPECT_EQ(1, Parsed<10>(std::string(23, '0') + '1'));
    EXPECT_EQ(std::nullopt, Parsed<10>(std::string(24, '0') + '1'));
    EXPECT_EQ(std::nullopt, Parsed<16>(std::string(24, '0') + '1'));
}

} // namespace
