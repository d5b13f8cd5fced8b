#include "data/ReadAsciiNumeral.h"

#include <gtest/gtest.h>

#include <charconv>
#include <limits>
#include <random>
#include <string>
#include <string_view>
#include <type_traits>
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
    std::size_t const index = std::string_view("0123456789abcdefABCDEF").find(byte);
    std::size_t const value = index < 16 ? index : index - 6;
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

// The readers of a type that throw. Those with a default are decimal.
template <typename T>
T ReadOrThrow(ConstData text, int base) {
    if constexpr (std::is_same_v<T, unsigned long long>)
        return base == 16 ? ReadAsciiHexNumeral64(text) : ReadAsciiDecimalNumeral64(text);
    else if constexpr (std::is_same_v<T, unsigned int>)
        return base == 16 ? ReadAsciiHexNumeral(text) : ReadAsciiDecimalNumeral(text);
    else if constexpr (std::is_same_v<T, long long>)
        return ReadAsciiSignedDecimalNumeral64(text);
    else
        return ReadAsciiSignedDecimalNumeral(text);
}

template <typename T>
T ReadWithDefault(ConstData text, T defaultValue) {
    if constexpr (std::is_same_v<T, unsigned long long>)
        return ReadAsciiDecimalNumeral64WithDefault(text, defaultValue);
    else if constexpr (std::is_same_v<T, unsigned int>)
        return ReadAsciiDecimalNumeral32WithDefault(text, defaultValue);
    else if constexpr (std::is_same_v<T, long long>)
        return ReadAsciiSignedDecimalNumeral64WithDefault(text, defaultValue);
    else
        return ReadAsciiSignedDecimalNumeral32WithDefault(text, defaultValue);
}

// A copy in memory of exactly the text's length, so that a sanitizer finds a read beyond it.
class ExactText {
public:
    explicit ExactText(std::string const& text) : bytes(text.begin(), text.end()) {
        bytes.shrink_to_fit();
    }
    operator ConstData() const { return ConstData(bytes.data(), bytes.size()); }

private:
    std::vector<unsigned char> bytes;
};

template <typename T>
Outcome Read(ConstData text, int base) {
    T value = untouched;
    NumeralReadResult result = NumeralReadOK;
    if constexpr (std::is_unsigned_v<T>)
        result = base == 16 ? TryReadAsciiHexNumeral(text, value)
                            : TryReadAsciiDecimalNumeral(text, value);
    else
        result = TryReadAsciiDecimalNumeral(text, value);
    return {result, value};
}

// Whether the other readers of the type agree with the outcome of the first.
template <typename T>
bool OtherReadersAgree(ConstData text, int base, Outcome const& outcome) {
    bool const isRead = outcome.result == NumeralReadOK;
    if (base == 10 && ReadWithDefault<T>(text, 9) != (isRead ? outcome.value : 9))
        return false;
    try {
        T const value = ReadOrThrow<T>(text, base);
        return isRead && value == outcome.value;
    } catch (NotANumeral const&) {
        return outcome.result == NumeralReadInvalid;
    } catch (NumeralTooLarge const&) {
        return outcome.result == NumeralReadTooLarge;
    }
}

class ReadMismatches {
public:
    template <typename T>
    void Check(std::string const& text, int base, bool withOtherReaders = false) {
        ExactText const exact(text);
        Outcome const expected = ExpectedOutcome<T>(text, base);
        Outcome const read = Read<T>(exact, base);
        ++seen[expected.result];
        bool const agrees = read.result == expected.result && read.value == expected.value;
        if (agrees && (!withOtherReaders || OtherReadersAgree<T>(exact, base, expected)))
            return;
        if (++count <= 5)
            report += std::to_string(8 * sizeof(T)) + (std::is_signed_v<T> ? " signed" : "") +
                      " bits, base " + std::to_string(base) + ": \"" + Shown(text) + "\"; ";
    }

    // With all readers of all types.
    void CheckAll(std::string const& text) {
        for (int const base : {10, 16}) {
            Check<unsigned long long>(text, base, true);
            Check<unsigned int>(text, base, true);
        }
        Check<long long>(text, 10, true);
        Check<int>(text, 10, true);
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

TEST(ReadAsciiNumeralTest, AgreesWithReferenceForEveryByteAtEveryPosition) {
    ReadMismatches mismatches;
    for (std::string const& digits :
         {std::string("1234567890123456789012345"), std::string("0000000000000000000000000"),
          std::string("abcdefABCDEF0123456789abc")})
        for (std::size_t length = 1; length <= digits.size(); ++length)
            for (std::size_t i = 0; i < length; ++i) {
                std::string text = digits.substr(0, length);
                for (int byte = 0; byte < 256; ++byte) {
                    text[i] = static_cast<char>(byte);
                    mismatches.Check<unsigned long long>(text, 10);
                    mismatches.Check<unsigned long long>(text, 16);
                }
            }
    EXPECT_EQ("", mismatches.report);
    EXPECT_LT(0, mismatches.seen[NumeralReadOK]);
    EXPECT_LT(0, mismatches.seen[NumeralReadInvalid]);
    EXPECT_LT(0, mismatches.seen[NumeralReadTooLarge]);
}

TEST(ReadAsciiNumeralTest, AgreesWithReferenceForEveryShortText) {
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

TEST(ReadAsciiNumeralTest, AgreesWithReferenceAroundLimits) {
    ReadMismatches mismatches;
    unsigned long long const centres[] = {0,
                                          9,
                                          10,
                                          99,
                                          0x7FFFFFFF,
                                          0xFFFFFFFF,
                                          99999999,
                                          ~0ull / 10,
                                          ~0ull / 16,
                                          ~0ull - 5,
                                          9999999999999999,
                                          1000000000000000000,
                                          0x7FFFFFFFFFFFFFFF};
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

TEST(ReadAsciiNumeralTest, IgnoresDigitsBehindTheText) {
    unsigned char const digits[] = {'1', '2', '3', '4', '5', '6', '7', '8', '9'};
    unsigned long long expected = 0;
    for (std::size_t length = 1; length < sizeof(digits); ++length) {
        unsigned long long value = 0;
        expected = 10 * expected + length;
        EXPECT_EQ(NumeralReadOK, TryReadAsciiDecimalNumeral(ConstData(digits, length), value));
        EXPECT_EQ(expected, value);
    }
}

TEST(ReadAsciiNumeralTest, AgreesWithReferenceForRandomText) {
    unsigned const seed = 17;
    std::mt19937 random(seed);
    ReadMismatches mismatches;
    for (int round = 0; round < 20000; ++round) {
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

// Deliberate: whether another digit fits is tested before the byte is, and a failure of the
// unsigned 64-bit readers stores the value of the digits before it.
TEST(ReadAsciiNumeralTest, ReportsFirstErrorAndStoresPartialValue) {
    struct {
        char const* text;
        NumeralReadResult result;
        unsigned long long value;
    } const cases[] = {
        {"", NumeralReadInvalid, untouched},
        {"12x", NumeralReadInvalid, 120},
        {"1844674407370955161x", NumeralReadInvalid, 18446744073709551610ull},
        {"18446744073709551616", NumeralReadTooLarge, 18446744073709551610ull},
        {"1844674407370955162x", NumeralReadTooLarge, 1844674407370955162},
        {"18446744073709551615x", NumeralReadTooLarge, ~0ull},
    };
    for (auto const& [text, result, expected] : cases) {
        unsigned long long value = untouched;
        EXPECT_EQ(result, TryReadAsciiDecimalNumeral(text, value)) << text;
        EXPECT_EQ(expected, value) << text;
    }
}

TEST(ReadAsciiNumeralTest, ExceptionsAreNamedByTheirType) {
    EXPECT_STREQ("11NotANumeral", NotANumeral().what());
    EXPECT_STREQ("15NumeralTooLarge", NumeralTooLarge().what());
}

TEST(ReadAsciiNumeralTest, ResultCodesHaveFixedNumbers) {
    EXPECT_EQ(0, NumeralReadOK);
    EXPECT_EQ(1, NumeralReadInvalid);
    EXPECT_EQ(2, NumeralReadTooLarge);
}

TEST(ReadAsciiNumeralTest, AllocatesNothing) {
    std::string const text = "12345678901234567890";
    EXPECT_EQ(0u, AllocationsOf([&] {
                  EXPECT_EQ(12345678901234567890ull, ReadAsciiDecimalNumeral64(text));
                  EXPECT_EQ(0xABCu, ReadAsciiHexNumeral("abc"));
              }));
}

} // namespace
