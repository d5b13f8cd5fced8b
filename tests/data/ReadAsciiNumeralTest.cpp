#include "data/ReadAsciiNumeral.h"

#include <gtest/gtest.h>

#include <charconv>
#include <cstring>
#include <limits>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "tests/support/Bytes.h"
#include "tests/support/FailingAllocation.h"

namespace {

__extension__ typedef __int128 Wide;

constexpr Wide top64 = std::numeric_limits<unsigned long long>::max();

// What a variable holds before it is read into.
constexpr int untouched = 77;

// The rules, a step at a time in wide arithmetic: the oracle of the readers.
struct Outcome {
    NumeralReadResult result;
    Wide value; // Of the variable read into.
};

int DigitOf(char byte, int base) {
    std::string const digits = "0123456789abcdef";
    std::size_t const letter = std::string("ABCDEF").find(byte);
    std::size_t const value =
        byte != 0 && letter != std::string::npos ? 10 + letter : digits.find(byte);
    return value < static_cast<std::size_t>(base) ? static_cast<int>(value) : -1;
}

Outcome ReferenceUnsigned64(std::string const& text, int base) {
    if (text.empty())
        return {NumeralReadInvalid, untouched};
    Wide value = 0;
    for (char byte : text) {
        if (value * base > top64)
            return {NumeralReadTooLarge, value};
        value *= base;
        int const digit = DigitOf(byte, base);
        if (digit < 0)
            return {NumeralReadInvalid, value};
        if (value + digit > top64)
            return {NumeralReadTooLarge, value};
        value += digit;
    }
    return {NumeralReadOK, value};
}

Outcome Narrowed(Outcome wide, Wide bottom, Wide top) {
    if (wide.result != NumeralReadOK)
        return {wide.result, untouched};
    if (wide.value < bottom || wide.value > top)
        return {NumeralReadTooLarge, untouched};
    return wide;
}

Outcome ReferenceSigned64(std::string const& text) {
    if (text.empty())
        return {NumeralReadInvalid, untouched};
    bool const hasSign = text[0] == '-' || text[0] == '+';
    Outcome outcome = ReferenceUnsigned64(text.substr(hasSign), 10);
    if (text[0] == '-' && outcome.result == NumeralReadOK)
        outcome.value = -outcome.value;
    return Narrowed(outcome, std::numeric_limits<long long>::min(),
                    std::numeric_limits<long long>::max());
}

template <typename T>
Outcome ExpectedOutcome(std::string const& text, int base) {
    if constexpr (std::is_signed_v<T>)
        return Narrowed(ReferenceSigned64(text), std::numeric_limits<T>::min(),
                        std::numeric_limits<T>::max());
    else if constexpr (sizeof(T) == 8)
        return ReferenceUnsigned64(text, base);
    else
        return Narrowed(ReferenceUnsigned64(text, base), 0, std::numeric_limits<T>::max());
}

// Reads from memory of just the text's size, so that a look beyond it is found out.
template <typename T>
Outcome Read(std::string const& text, int base) {
    std::unique_ptr<unsigned char[]> const copy(new unsigned char[text.size()]);
    if (!text.empty())
        std::memcpy(copy.get(), text.data(), text.size());
    ConstData const data(copy.get(), text.size());
    T value = untouched;
    NumeralReadResult result = NumeralReadOK;
    if constexpr (std::is_unsigned_v<T>)
        result = base == 16 ? TryReadAsciiHexNumeral(data, value)
                            : TryReadAsciiDecimalNumeral(data, value);
    else
        result = TryReadAsciiDecimalNumeral(data, value);
    return {result, value};
}

class ReadMismatches {
public:
    template <typename T>
    void Check(char const* reader, std::string const& text, int base) {
        Outcome const expected = ExpectedOutcome<T>(text, base);
        Outcome const read = Read<T>(text, base);
        ++seen[expected.result];
        if ((read.result != expected.result || read.value != expected.value) && ++count <= 5)
            report += std::string(reader) + " of \"" + Shown(text) + "\"; ";
    }

    void CheckAll(std::string const& text) {
        Check<unsigned long long>("unsigned long long", text, 10);
        Check<unsigned int>("unsigned int", text, 10);
        Check<long long>("long long", text, 10);
        Check<int>("int", text, 10);
        Check<unsigned long long>("hex unsigned long long", text, 16);
        Check<unsigned int>("hex unsigned int", text, 16);
    }

    std::string report;
    int seen[3] = {};

private:
    int count = 0;
};

std::string ToText(unsigned long long value, int base) {
    char text[80];
    return std::string(text, std::to_chars(text, text + sizeof(text), value, base).ptr);
}

TEST(ReadAsciiNumeralTest, EveryByteAtEveryPlaceIsJudgedAsTheStepsSay) {
    ReadMismatches mismatches;
    for (std::string const& digits :
         {std::string("1234567890123456789012345"), std::string("0000000000000000000000000"),
          std::string("abcdefABCDEF0123456789abc")})
        for (std::size_t length = 1; length <= digits.size(); ++length)
            for (std::size_t i = 0; i < length; ++i) {
                std::string text = digits.substr(0, length);
                for (int byte = 0; byte < 256; ++byte) {
                    text[i] = static_cast<char>(byte);
                    mismatches.Check<unsigned long long>("decimal", text, 10);
                    mismatches.Check<unsigned long long>("hex", text, 16);
                }
            }
    EXPECT_EQ("", mismatches.report);
    EXPECT_LT(0, mismatches.seen[NumeralReadOK]);
    EXPECT_LT(0, mismatches.seen[NumeralReadInvalid]);
    EXPECT_LT(0, mismatches.seen[NumeralReadTooLarge]);
}

TEST(ReadAsciiNumeralTest, EveryShortTextIsReadAsTheStepsSay) {
    std::string const alphabet = Bytes("0159aFgx+- \x00\x80/:");
    std::vector<std::string> texts{""};
    ReadMismatches mismatches;
    for (std::size_t i = 0; i < texts.size(); ++i) {
        mismatches.CheckAll(texts[i]);
        for (char byte : alphabet)
            if (texts[i].size() < 4)
                texts.push_back(texts[i] + byte);
    }
    EXPECT_EQ("", mismatches.report);
}

TEST(ReadAsciiNumeralTest, BordersAreReadAsTheStepsSayWhateverStandsAround) {
    ReadMismatches mismatches;
    std::vector<unsigned long long> const centres{0,
                                                  9,
                                                  10,
                                                  99,
                                                  0x7FFFFFFF,
                                                  0xFFFFFFFF,
                                                  99999999,
                                                  9999999999999999,
                                                  1000000000000000000,
                                                  0x7FFFFFFFFFFFFFFF,
                                                  ~0ull / 10,
                                                  ~0ull / 16,
                                                  ~0ull - 5};
    for (unsigned long long centre : centres)
        for (unsigned long long value = centre - 12; value != centre + 12; ++value)
            for (int base : {10, 16})
                for (char const* before :
                     {"", "0", "00000000", "0000000000000", "+", "-", "-0", " "})
                    for (char const* behind :
                         {"", "0", "1", "5", "6", "9", "f", "x", "00", "5x", " "})
                        mismatches.CheckAll(before + ToText(value, base) + behind);
    EXPECT_EQ("", mismatches.report);
}

TEST(ReadAsciiNumeralTest, DigitsBehindATextAreNotItsOwn) {
    unsigned char const digits[] = {'1', '2', '3', '4', '5', '6', '7', '8', '9'};
    unsigned long long expected = 0;
    for (std::size_t length = 1; length < sizeof(digits); ++length) {
        unsigned long long value = 0;
        expected = 10 * expected + length;
        EXPECT_EQ(NumeralReadOK, TryReadAsciiDecimalNumeral(ConstData(digits, length), value));
        EXPECT_EQ(expected, value);
    }
}

TEST(ReadAsciiNumeralTest, RandomTextsAreReadAsTheStepsSay) {
    unsigned const seed = 17;
    std::mt19937 random(seed);
    ReadMismatches mismatches;
    for (int round = 0; round < 60000; ++round) {
        std::string text = RandomBytes(random, random() % 30,
                                       round % 2 != 0 ? "0123456789" : "0123456789abcdefABCDEF");
        if (random() % 3 == 0)
            text.insert(0, random() % 20, '0');
        if (random() % 4 == 0 && !text.empty())
            text[random() % text.size()] = static_cast<char>(random());
        if (random() % 4 == 0)
            text.insert(0, 1, "+-"[random() % 2]);
        mismatches.CheckAll(text);
    }
    EXPECT_EQ("", mismatches.report) << "seed " << seed;
}

template <typename T>
std::optional<T> FromChars(std::string const& text, int base) {
    T value{};
    auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return value;
}

// The two agree on what is a numeral; only the kind of error differs.
TEST(ReadAsciiNumeralTest, NumeralsAreThoseOfFromChars) {
    unsigned const seed = 19;
    std::mt19937_64 random(seed);
    std::string mismatches;
    for (int round = 0; round < 60000; ++round) {
        std::string text = ToText(random() >> random() % 64, round % 2 != 0 ? 10 : 16);
        if (random() % 8 == 0)
            text.push_back("0 g"[random() % 3]);
        for (int base : {10, 16}) {
            Outcome const read = Read<unsigned long long>(text, base);
            auto const expected = FromChars<unsigned long long>(text, base);
            if ((read.result == NumeralReadOK) != expected.has_value() ||
                (expected && read.value != *expected))
                mismatches += text + "; ";
        }
        for (std::string const& number : {text, "-" + text}) {
            Outcome const read = Read<long long>(number, 10);
            auto const expected = FromChars<long long>(number, 10);
            if ((read.result == NumeralReadOK) != expected.has_value() ||
                (expected && read.value != *expected))
                mismatches += number + "; ";
        }
    }
    EXPECT_EQ("", mismatches.substr(0, 500)) << "seed " << seed;
}

template <typename T>
NumeralReadResult ResultOf(std::string const& text) {
    return Read<T>(text, 10).result;
}

TEST(ReadAsciiNumeralTest, EmptyTextIsInvalidAndTouchesNothing) {
    EXPECT_EQ(NumeralReadInvalid, ResultOf<unsigned long long>(""));
    EXPECT_EQ(untouched, Read<unsigned long long>("", 10).value);
    EXPECT_EQ(untouched, Read<unsigned long long>("", 16).value);
    EXPECT_EQ(NumeralReadInvalid, ResultOf<unsigned int>(""));
    EXPECT_EQ(NumeralReadInvalid, ResultOf<long long>(""));
    EXPECT_EQ(NumeralReadInvalid, ResultOf<int>(""));
}

// Deliberate: whether another digit can follow is asked before the byte is looked at.
TEST(ReadAsciiNumeralTest, ValueWithoutRoomIsTooLargeBeforeTheNextByteIsLookedAt) {
    EXPECT_EQ(NumeralReadTooLarge, ResultOf<unsigned long long>("18446744073709551615x"));
    EXPECT_EQ(NumeralReadInvalid, ResultOf<unsigned long long>("1844674407370955161x"));
    EXPECT_EQ(NumeralReadTooLarge, ResultOf<unsigned long long>("1844674407370955162x"));
    EXPECT_EQ(NumeralReadInvalid, ResultOf<unsigned long long>("1x18446744073709551616"));
}

TEST(ReadAsciiNumeralTest, TopOf64BitsReads) {
    EXPECT_EQ(~0ull, ReadAsciiDecimalNumeral64("18446744073709551615"));
    EXPECT_EQ(NumeralReadTooLarge, ResultOf<unsigned long long>("18446744073709551616"));
}

// Deliberate: the 64-bit reader leaves what it had reached.
TEST(ReadAsciiNumeralTest, FailureLeavesThePartialValue) {
    EXPECT_EQ(120, Read<unsigned long long>("12x", 10).value);
    EXPECT_EQ(0, Read<unsigned long long>("x", 10).value);
    EXPECT_TRUE(Wide{18446744073709551610ull} ==
                Read<unsigned long long>("18446744073709551616", 10).value);
    EXPECT_TRUE(Wide{1844674407370955162} ==
                Read<unsigned long long>("18446744073709551620", 10).value);
    EXPECT_EQ(0x120, Read<unsigned long long>("12x", 16).value);
    EXPECT_EQ(untouched, Read<unsigned int>("12x", 10).value);
    EXPECT_EQ(untouched, Read<unsigned int>("4294967296", 10).value);
    EXPECT_EQ(untouched, Read<long long>("12x", 10).value);
    EXPECT_EQ(untouched, Read<int>("2147483648", 10).value);
}

TEST(ReadAsciiNumeralTest, OnlySignedReadersTakeASign) {
    EXPECT_EQ(NumeralReadInvalid, ResultOf<unsigned long long>("+5"));
    EXPECT_EQ(NumeralReadInvalid, ResultOf<unsigned int>("-5"));
    EXPECT_EQ(5, ReadAsciiSignedDecimalNumeral64("+5"));
    EXPECT_EQ(-5, ReadAsciiSignedDecimalNumeral("-5"));
    EXPECT_EQ(0, ReadAsciiSignedDecimalNumeral("-0"));
    for (char const* text : {"-", "+", "--5", "+-5", "-+5", "++5", "- 5"}) {
        EXPECT_EQ(NumeralReadInvalid, ResultOf<long long>(text)) << text;
        EXPECT_EQ(NumeralReadInvalid, ResultOf<int>(text)) << text;
    }
}

TEST(ReadAsciiNumeralTest, WhiteSpaceIsInvalid) {
    EXPECT_EQ(NumeralReadInvalid, ResultOf<unsigned int>(" 5"));
    EXPECT_EQ(NumeralReadInvalid, ResultOf<unsigned int>("5 "));
    EXPECT_EQ(NumeralReadInvalid, ResultOf<int>(" 5"));
    EXPECT_EQ(NumeralReadInvalid, ResultOf<int>("5 "));
}

TEST(ReadAsciiNumeralTest, EndsOfTheNarrowTypes) {
    EXPECT_EQ(4294967295u, ReadAsciiDecimalNumeral("4294967295"));
    EXPECT_EQ(NumeralReadTooLarge, ResultOf<unsigned int>("4294967296"));
    EXPECT_EQ(2147483647, ReadAsciiSignedDecimalNumeral("2147483647"));
    EXPECT_EQ(std::numeric_limits<int>::min(), ReadAsciiSignedDecimalNumeral("-2147483648"));
    EXPECT_EQ(NumeralReadTooLarge, ResultOf<int>("2147483648"));
    EXPECT_EQ(NumeralReadTooLarge, ResultOf<int>("-2147483649"));
}

TEST(ReadAsciiNumeralTest, EndsOfTheSigned64Bits) {
    EXPECT_EQ(std::numeric_limits<long long>::max(),
              ReadAsciiSignedDecimalNumeral64("9223372036854775807"));
    EXPECT_EQ(std::numeric_limits<long long>::min(),
              ReadAsciiSignedDecimalNumeral64("-9223372036854775808"));
    EXPECT_EQ(NumeralReadTooLarge, ResultOf<long long>("9223372036854775808"));
    EXPECT_EQ(NumeralReadTooLarge, ResultOf<long long>("+9223372036854775808"));
    EXPECT_EQ(NumeralReadTooLarge, ResultOf<long long>("-9223372036854775809"));
}

TEST(ReadAsciiNumeralTest, LeadingZerosAreFree) {
    std::string const zeros(100, '0');
    EXPECT_EQ(1u, ReadAsciiDecimalNumeral(zeros + "1"));
    EXPECT_EQ(~0ull, ReadAsciiDecimalNumeral64(zeros + "18446744073709551615"));
    EXPECT_EQ(0xFFFFFFFFu, ReadAsciiHexNumeral(zeros + "ffffffff"));
    EXPECT_EQ(-1, ReadAsciiSignedDecimalNumeral("-" + zeros + "1"));
}

TEST(ReadAsciiNumeralTest, HexadecimalOfEitherCase) {
    EXPECT_EQ(~0ull, ReadAsciiHexNumeral64("ffffffffffffffff"));
    EXPECT_THROW(ReadAsciiHexNumeral64(std::string(17, 'f')), NumeralTooLarge);
    EXPECT_EQ(0xFFFFFFFFu, ReadAsciiHexNumeral("FFFFFFFF"));
    EXPECT_THROW(ReadAsciiHexNumeral("100000000"), NumeralTooLarge);
    EXPECT_EQ(0xABCDEFu, ReadAsciiHexNumeral("aBcDeF"));
    EXPECT_THROW(ReadAsciiHexNumeral64("0x10"), NotANumeral);
    EXPECT_THROW(ReadAsciiHexNumeral64("fg"), NotANumeral);
}

TEST(ReadAsciiNumeralTest, ThrowingReadersTellTheTwoErrorsApart) {
    EXPECT_THROW(ReadAsciiDecimalNumeral64(""), NotANumeral);
    EXPECT_THROW(ReadAsciiDecimalNumeral(""), NotANumeral);
    EXPECT_THROW(ReadAsciiSignedDecimalNumeral64(""), NotANumeral);
    EXPECT_THROW(ReadAsciiSignedDecimalNumeral(""), NotANumeral);
    EXPECT_THROW(ReadAsciiHexNumeral64(""), NotANumeral);
    EXPECT_THROW(ReadAsciiHexNumeral(""), NotANumeral);
    EXPECT_THROW(ReadAsciiDecimalNumeral64("18446744073709551616"), NumeralTooLarge);
    EXPECT_THROW(ReadAsciiDecimalNumeral("4294967296"), NumeralTooLarge);
    EXPECT_THROW(ReadAsciiSignedDecimalNumeral64("9223372036854775808"), NumeralTooLarge);
    EXPECT_THROW(ReadAsciiSignedDecimalNumeral("-2147483649"), NumeralTooLarge);
}

TEST(ReadAsciiNumeralTest, ExceptionsNameThemselves) {
    EXPECT_STREQ("11NotANumeral", NotANumeral().what());
    EXPECT_STREQ("15NumeralTooLarge", NumeralTooLarge().what());
}

TEST(ReadAsciiNumeralTest, BothErrorsGiveTheDefault) {
    EXPECT_EQ(5u, ReadAsciiDecimalNumeral64WithDefault("5", 9));
    EXPECT_EQ(9u, ReadAsciiDecimalNumeral64WithDefault("5x", 9));
    EXPECT_EQ(9u, ReadAsciiDecimalNumeral64WithDefault("18446744073709551616", 9));
    EXPECT_EQ(5u, ReadAsciiDecimalNumeral32WithDefault("5", 9));
    EXPECT_EQ(9u, ReadAsciiDecimalNumeral32WithDefault("", 9));
    EXPECT_EQ(9u, ReadAsciiDecimalNumeral32WithDefault("4294967296", 9));
    EXPECT_EQ(-5, ReadAsciiSignedDecimalNumeral64WithDefault("-5", -9));
    EXPECT_EQ(-9, ReadAsciiSignedDecimalNumeral64WithDefault("-", -9));
    EXPECT_EQ(-9, ReadAsciiSignedDecimalNumeral64WithDefault("9223372036854775808", -9));
    EXPECT_EQ(-5, ReadAsciiSignedDecimalNumeral32WithDefault("-5", -9));
    EXPECT_EQ(-9, ReadAsciiSignedDecimalNumeral32WithDefault("five", -9));
    EXPECT_EQ(-9, ReadAsciiSignedDecimalNumeral32WithDefault("2147483648", -9));
}

TEST(ReadAsciiNumeralTest, CodesHaveTheirNumbers) {
    EXPECT_EQ(0, NumeralReadOK);
    EXPECT_EQ(1, NumeralReadInvalid);
    EXPECT_EQ(2, NumeralReadTooLarge);
}

TEST(ReadAsciiNumeralTest, NothingAllocates) {
    std::string const text = "12345678901234567890";
    EXPECT_EQ(0u, AllocationsOf([&] {
                  EXPECT_EQ(12345678901234567890ull, ReadAsciiDecimalNumeral64(text));
                  EXPECT_EQ(0xABCu, ReadAsciiHexNumeral("abc"));
              }));
}

} // namespace
