#include "data/MakeAsciiNumeral.h"

#include "fuzz/NumeralProperties.h"
#include "tests/data/DataTest.h"

namespace {

TEST(MakeAsciiNumeralTest, LimitsAgreeWithToCharsForEveryPadding) {
    std::vector<unsigned long long> limits{0};
    for (unsigned bit = 0; bit < 64; ++bit)
        limits.push_back(1ull << bit);
    unsigned long long power = 10;
    for (int digits = 2; digits <= 20; ++digits, power *= 10)
        limits.insert(limits.end(), {power, power / 10 * 9});
    std::vector<unsigned> paddings{63, 64, 65, 0x100, 0x10001};
    for (unsigned padding = 0; padding <= 26; ++padding)
        paddings.push_back(padding);
    for (unsigned long long const limit : limits)
        for (unsigned long long const step : {~1ull, ~0ull, 0ull, 1ull, 2ull})
            for (unsigned const padding : paddings)
                ExpectHolds(std::to_string(limit), [&] {
                    NumeralProperties::Make(limit + step, padding);
                    NumeralProperties::Make(0 - limit + step, padding);
                });
}

TEST(MakeAsciiNumeralTest, ValuesBelow100000AgreeWithToString) {
    for (unsigned long long value = 0; value < 100000; ++value)
        ASSERT_EQ(std::to_string(value), MakeAsciiDecimalNumeral64(value, 1).Text());
}

TEST(MakeAsciiNumeralTest, RejectsHugePadding) {
    EXPECT_THROW(MakeAsciiDecimalNumeral64(1, ~0u), ConstDataCapacityExceeded);
    EXPECT_THROW(MakeAsciiSignedDecimalNumeral(-1, 0x80000000), ConstDataCapacityExceeded);
    EXPECT_THROW(MakeAsciiHexNumeral64(1, ~0u), ConstDataCapacityExceeded);
    EXPECT_THROW(MakeAsciiHexNumeral(0, ~0u), ConstDataCapacityExceeded);
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
