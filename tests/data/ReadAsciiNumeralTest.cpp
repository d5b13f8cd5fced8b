#include "data/ReadAsciiNumeral.h"

#include <tuple>

#include "fuzz/NumeralProperties.h"
#include "tests/data/DataTest.h"

namespace {

constexpr unsigned long long untouched = 77;

void ExpectReadersAgree(std::string const& text) {
    ExpectHolds(text, [&] { NumeralProperties::ReadAll(text, untouched); });
}

TEST(ReadAsciiNumeralTest, AgreesWithFromCharsForEveryByteAtEveryPosition) {
    for (std::string const digits :
         {"1234567890123456789012345", "0000000000000000000000000", "abcdefABCDEF0123456789abc"})
        for (std::size_t length = 1; length <= digits.size(); ++length)
            for (std::size_t i = 0; i < length; ++i) {
                std::string text = digits.substr(0, length);
                for (int byte = 0; byte < 256; ++byte) {
                    text[i] = static_cast<char>(byte);
                    ExpectHolds(text, [&] {
                        NumeralProperties::ReadDecimal(text, untouched);
                        NumeralProperties::ReadHex(text, untouched);
                    });
                }
            }
}

TEST(ReadAsciiNumeralTest, AgreesWithFromCharsForEveryShortText) {
    for (std::string const& text : AllTexts(Bytes("0159aFgx+- \x00\x80/:"), 4))
        ExpectReadersAgree(text);
}

TEST(ReadAsciiNumeralTest, AgreesWithFromCharsAroundLimits) {
    for (unsigned long long const limit :
         {0ull, 9ull, 99ull, 0x7FFFFFFFull, 0xFFFFFFFFull, 99999999ull, 9999999999999999ull,
          1000000000000000000ull, 0x7FFFFFFFFFFFFFFFull, ~0ull / 10, ~0ull / 16, ~0ull - 5})
        for (unsigned long long value = limit - 12; value != limit + 12; ++value)
            for (unsigned const base : {10u, 16u})
                for (char const* before :
                     {"", "0", "00000000", "0000000000000", "+", "-", "-0", " "})
                    for (char const* after :
                         {"", "0", "1", "5", "6", "9", "f", "x", "00", "5x", " "})
                        ExpectReadersAgree(before + NumeralProperties::Text(value, base, 1) +
                                           after);
}

TEST(ReadAsciiNumeralTest, AgreesWithFromCharsForRandomText) {
    ForRandomInputs(17, 6000, 44, "0123456789abcdefABCDEF+-", NumeralProperties::Check);
    ForRandomInputs(18, 6000, 44, "0123456789", NumeralProperties::Check);
}

TEST(ReadAsciiNumeralTest, IgnoresDigitsAfterTheText) {
    std::string const digits = "123456789012345678";
    for (std::size_t length = 1; length < digits.size(); ++length) {
        unsigned long long value = 0;
        EXPECT_EQ(NumeralReadOK,
                  TryReadAsciiDecimalNumeral(ConstData(digits.data(), length), value));
        EXPECT_EQ(digits.substr(0, length), std::to_string(value));
    }
}

// Deliberate: the reader multiplies by the base before it checks the byte, so overflow is reported
// first. On failure, the unsigned 64-bit readers store the value of the preceding digits,
// multiplied by the base unless that overflows. Empty text stores nothing.
TEST(ReadAsciiNumeralTest, ReportsFirstErrorAndStoresPartialValue) {
    for (auto const& [text, result, expected] :
         std::vector<std::tuple<char const*, NumeralReadResult, unsigned long long>>{
             {"", NumeralReadInvalid, untouched},
             {"12x", NumeralReadInvalid, 120},
             {"1844674407370955161x", NumeralReadInvalid, 18446744073709551610ull},
             {"18446744073709551616", NumeralReadTooLarge, 18446744073709551610ull},
             {"1844674407370955162x", NumeralReadTooLarge, 1844674407370955162},
             {"18446744073709551615x", NumeralReadTooLarge, ~0ull}}) {
        unsigned long long value = untouched;
        EXPECT_EQ(result, TryReadAsciiDecimalNumeral(text, value)) << text;
        EXPECT_EQ(expected, value) << text;
    }
}

TEST(ReadAsciiNumeralTest, ErrorsHaveFixedNamesAndNumbers) {
    EXPECT_STREQ("11NotANumeral", NotANumeral().what());
    EXPECT_STREQ("15NumeralTooLarge", NumeralTooLarge().what());
    static_assert(NumeralReadOK == 0 && NumeralReadInvalid == 1 && NumeralReadTooLarge == 2);
}

TEST(ReadAsciiNumeralTest, AllocatesNothing) {
    std::string const text = "12345678901234567890";
    EXPECT_EQ(0u, AllocationsOf([&] {
                  EXPECT_EQ(12345678901234567890ull, ReadAsciiDecimalNumeral64(text));
                  EXPECT_EQ(0xABCu, ReadAsciiHexNumeral("abc"));
              }));
}

} // namespace
