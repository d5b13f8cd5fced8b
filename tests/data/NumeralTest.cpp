#include "data/Numeral.h"

#include <limits>

#include "fuzz/NumeralProperties.h"
#include "tests/data/DataTest.h"

namespace {

std::string Text(Numeral const& numeral) { return MakeString(numeral); }

template <typename T>
std::vector<T> BordersOfNumerals() {
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
    for (T value : BordersOfNumerals<T>())
        for (unsigned base = 2; base <= 36; ++base)
            ExpectHolds(std::to_string(value) + " in base " + std::to_string(base),
                        [&] { NumeralProperties::Render(value, base, base + 20); });
}

TEST(NumeralTest, EveryTypeAgreesWithToCharsInEveryBase) {
    CheckType<signed char>();
    CheckType<short>();
    CheckType<int>();
    CheckType<long long>();
    CheckType<unsigned char>();
    CheckType<unsigned short>();
    CheckType<unsigned int>();
    CheckType<unsigned long>();
    CheckType<unsigned long long>();
}

TEST(NumeralTest, PadsUpToTheCapacity) {
    for (int const value : {0, 7, -5})
        for (unsigned padding = 0; padding <= (value < 0 ? 64u : 65u); ++padding)
            ExpectHolds(std::to_string(value),
                        [&] { NumeralProperties::Render(value, 10, padding); });
    Numeral numeral(-255, 16);
    for (unsigned const padding : {4u, 1u, 0u}) {
        numeral.PadTo(padding);
        EXPECT_EQ("-00ff", Text(numeral));
    }
}

TEST(NumeralTest, MakeDigitsPrependsDigits) {
    for (unsigned const value : {0u, 9u, 10u, 99u, 100u, 1234u, 98765u}) {
        Numeral numeral(-7, 10);
        std::string const expected = std::string("-").append(std::to_string(value)).append("7");
        numeral.MakeDigits(value, 10);
        EXPECT_EQ(expected, Text(numeral));
        Numeral wide(-7, 10);
        wide.MakeDigits64(value, 10);
        EXPECT_EQ(expected, Text(wide));
    }
    Numeral numeral(-5, 10);
    numeral.MakeDigits64(0xABCDEF0123456789, 16);
    EXPECT_EQ("-abcdef01234567895", Text(numeral));
}

template <typename T>
void ExpectSigns(T lowest) {
    EXPECT_EQ(lowest < 0 ? '-' : ' ', Numeral::Sign(lowest));
    EXPECT_EQ(' ', Numeral::Sign(T{0}));
    EXPECT_EQ('+', Numeral::Sign(T{1}));
    EXPECT_EQ('+', Numeral::Sign(std::numeric_limits<T>::max()));
}

TEST(NumeralTest, SignAgreesWithTheValue) {
    ExpectSigns(0u);
    ExpectSigns(0ul);
    ExpectSigns(0ull);
    ExpectSigns(std::numeric_limits<int>::min());
    ExpectSigns(std::numeric_limits<long long>::min());
    EXPECT_EQ('-', Numeral::Sign(-1));
}

TEST(NumeralTest, DigitsAreLowercase) {
    std::string digits;
    for (unsigned digit = 0; digit < 36; ++digit)
        digits.push_back(Numeral::Digit(digit));
    EXPECT_EQ("0123456789abcdefghijklmnopqrstuvwxyz", digits);
}

TEST(NumeralTest, AllocatesNothing) {
    EXPECT_EQ(0u, AllocationsOf([] {
                  Numeral numeral(-123456789012345ll, 10);
                  numeral.PadTo(30);
                  ConstData const text = numeral;
                  EXPECT_EQ(31u, text.Length());
              }));
}

static_assert(!std::is_copy_constructible_v<Numeral> && !std::is_move_constructible_v<Numeral> &&
              !std::is_copy_assignable_v<Numeral>);

} // namespace
