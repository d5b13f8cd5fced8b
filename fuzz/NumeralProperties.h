// Compares readers and writers of numerals with std::from_chars and std::to_chars.
#pragma once

#include <charconv>
#include <limits>
#include <system_error>

#include "data/MakeAsciiNumeral.h"
#include "data/Numeral.h"
#include "data/ReadAsciiNumeral.h"
#include "fuzz/Fuzz.h"

namespace NumeralProperties {

using Unsigned = unsigned long long;
using Signed = long long;

constexpr Unsigned top = std::numeric_limits<Unsigned>::max();

// The result of std::from_chars.
struct Parsed {
    Parsed(std::string_view text, int base) {
        auto const result = std::from_chars(text.data(), text.data() + text.size(), value, base);
        error = result.ec;
        digits = static_cast<std::size_t>(result.ptr - text.data());
    }

    Unsigned value = 0;
    std::errc error{};
    std::size_t digits; // The number of bytes that match the pattern.
};

struct Reading {
    NumeralReadResult result;
    Unsigned value;
};

// Returns the expected result and value. data/ReadAsciiNumeral.h specifies the value after errors.
inline Reading ReferenceRead(std::string_view text, int base, Unsigned untouched) {
    if (text.empty())
        return {NumeralReadInvalid, untouched};
    Unsigned const step = static_cast<Unsigned>(base);
    Parsed const all(text, base);
    if (all.error == std::errc() && all.digits == text.size())
        return {NumeralReadOK, all.value};
    std::size_t good = all.digits;
    if (all.error == std::errc::result_out_of_range)
        while (Parsed(text.substr(0, good), base).error != std::errc())
            --good;
    Unsigned const reached = good == 0 ? 0 : Parsed(text.substr(0, good), base).value;
    if (reached > top / step)
        return {NumeralReadTooLarge, reached};
    bool const atDigit = good < all.digits;
    return {atDigit ? NumeralReadTooLarge : NumeralReadInvalid, reached * step};
}

template <class Value>
NumeralReadResult Narrowed(Reading const& reading) {
    if (reading.result != NumeralReadOK)
        return reading.result;
    return reading.value > std::numeric_limits<Value>::max() ? NumeralReadTooLarge : NumeralReadOK;
}

// Compares a reader that throws with the result and the value of one that does not.
template <class Value, class Read>
void ReadOrThrow(NumeralReadResult result, Value value, Read read) {
    try {
        Value const got = read();
        Require(result == NumeralReadOK && got == value, "a reader that throws returns the value");
    } catch (NotANumeral const&) {
        Require(result == NumeralReadInvalid, "NotANumeral is thrown only for invalid text");
    } catch (NumeralTooLarge const&) {
        Require(result == NumeralReadTooLarge, "NumeralTooLarge is thrown only for large values");
    }
}

// `read(text, value)` is the reader for this base, overloaded for 32-bit and 64-bit values.
template <class Read>
void ReadUnsigned(std::string const& text, int base, Unsigned untouched, Read read) {
    Reading const expected = ReferenceRead(text, base, untouched);
    Fuzz::ExactCopy const copy(text);
    ConstData const numeral(copy.Begin(), copy.Length());
    Unsigned value = untouched;
    Require(read(numeral, value) == expected.result,
            "the 64-bit reader returns the expected result");
    Require(value == expected.value, "the 64-bit reader stores the expected value");

    auto const narrowUntouched = static_cast<unsigned int>(untouched);
    unsigned int narrow = narrowUntouched;
    NumeralReadResult const narrowResult = Narrowed<unsigned int>(expected);
    Require(read(numeral, narrow) == narrowResult, "the 32-bit reader returns the expected result");
    Require(narrow == (narrowResult == NumeralReadOK ? expected.value : narrowUntouched),
            "the 32-bit reader stores the expected value");
}

inline void ReadDecimal(std::string const& text, Unsigned untouched) {
    ReadUnsigned(text, 10, untouched, [](ConstData numeral, auto& value) {
        return TryReadAsciiDecimalNumeral(numeral, value);
    });
}

// Checks the readers that throw and those with a default.
inline void ReadDecimalOtherwise(std::string const& text, Unsigned other) {
    Reading const wide = ReferenceRead(text, 10, 0);
    NumeralReadResult const result = Narrowed<unsigned int>(wide);
    auto const narrow = static_cast<unsigned int>(wide.value);
    auto const narrowOther = static_cast<unsigned int>(other);
    ReadOrThrow(wide.result, wide.value, [&] { return ReadAsciiDecimalNumeral64(text); });
    ReadOrThrow(result, narrow, [&] { return ReadAsciiDecimalNumeral(text); });
    Require(ReadAsciiDecimalNumeral64WithDefault(text, other) ==
                (wide.result == NumeralReadOK ? wide.value : other),
            "an invalid 64-bit numeral results in the default");
    Require(ReadAsciiDecimalNumeral32WithDefault(text, narrowOther) ==
                (result == NumeralReadOK ? narrow : narrowOther),
            "an invalid 32-bit numeral results in the default");
}

inline void ReadHexOtherwise(std::string const& text) {
    Reading const wide = ReferenceRead(text, 16, 0);
    ReadOrThrow(wide.result, wide.value, [&] { return ReadAsciiHexNumeral64(text); });
    ReadOrThrow(Narrowed<unsigned int>(wide), static_cast<unsigned int>(wide.value),
                [&] { return ReadAsciiHexNumeral(text); });
}

inline void ReadHex(std::string const& text, Unsigned untouched) {
    ReadUnsigned(text, 16, untouched, [](ConstData numeral, auto& value) {
        return TryReadAsciiHexNumeral(numeral, value);
    });
}

// Each calls the reader that throws, or the one with a default.
inline int Read(std::string const& text, int) { return ReadAsciiSignedDecimalNumeral(text); }
inline Signed Read(std::string const& text, Signed) {
    return ReadAsciiSignedDecimalNumeral64(text);
}
inline int ReadWithDefault(std::string const& text, int other) {
    return ReadAsciiSignedDecimalNumeral32WithDefault(text, other);
}
inline Signed ReadWithDefault(std::string const& text, Signed other) {
    return ReadAsciiSignedDecimalNumeral64WithDefault(text, other);
}

template <class Value>
void ReadSigned(std::string const& text, Value untouched) {
    bool const negative = !text.empty() && text[0] == '-';
    bool const hasSign = negative || (!text.empty() && text[0] == '+');
    Reading const magnitude = ReferenceRead(std::string_view(text).substr(hasSign ? 1 : 0), 10, 0);
    Unsigned const limit =
        Unsigned{std::numeric_limits<std::make_unsigned_t<Value>>::max() / 2} + (negative ? 1 : 0);
    NumeralReadResult expected = magnitude.result;
    if (expected == NumeralReadOK && magnitude.value > limit)
        expected = NumeralReadTooLarge;
    Value value = untouched;
    Require(TryReadAsciiDecimalNumeral(text, value) == expected,
            "the signed reader returns the expected result");
    ReadOrThrow(expected, value, [&] { return Read(text, untouched); });
    Require(ReadWithDefault(text, untouched) == value,
            "an invalid signed numeral results in the default");
    if (expected != NumeralReadOK) {
        Require(value == untouched, "the signed reader stores nothing after an error");
        return;
    }
    Unsigned const bits = negative ? 0 - magnitude.value : magnitude.value;
    Require(value == static_cast<Value>(bits), "the signed reader stores the expected value");
}

// Returns the numeral with at least `padding` digits, and a sign if it is negative.
template <class Value>
std::string Text(Value value, unsigned int base, unsigned int padding) {
    char buffer[80];
    auto const result =
        std::to_chars(buffer, buffer + sizeof(buffer), value, static_cast<int>(base));
    std::string digits(buffer, result.ptr);
    std::string sign;
    if (digits[0] == '-') {
        sign = "-";
        digits.erase(0, 1);
    }
    if (digits.size() < padding)
        digits.insert(0, padding - digits.size(), '0');
    return sign + digits;
}

// Checks a function that makes numerals. Zero without padding has no digits.
template <class Value, class Make>
void MakePadded(Value value, unsigned int base, unsigned int padding, bool fits, Make make) {
    std::string const expected = value == 0 && padding == 0 ? "" : Text(value, base, padding);
    try {
        auto const made = make(value, padding);
        Require(fits && MakeString(made) == expected, "a numeral agrees with to_chars");
        Require(made.Text() == expected, "a numeral is NUL-terminated");
    } catch (ConstDataCapacityExceeded const&) {
        Require(!fits, "ConstDataCapacityExceeded is thrown only if the numeral does not fit");
    }
}

inline void Make(Unsigned value, unsigned int padding) {
    auto const narrow = static_cast<unsigned int>(value);
    auto const signedValue = static_cast<Signed>(value);
    auto const signedNarrow = static_cast<int>(narrow);
    std::size_t const narrowLength = Text(signedNarrow, 10, padding).size();
    MakePadded(value, 10, padding, padding <= 20, MakeAsciiDecimalNumeral64);
    MakePadded(narrow, 10, padding, padding <= 10, MakeAsciiDecimalNumeral);
    MakePadded(signedValue, 10, padding, padding <= 20, MakeAsciiSignedDecimalNumeral64);
    MakePadded(signedNarrow, 10, padding, narrowLength <= 11, MakeAsciiSignedDecimalNumeral);
    MakePadded(value, 16, padding, padding <= 16, MakeAsciiHexNumeral64);
    MakePadded(narrow, 16, padding, padding <= 8, MakeAsciiHexNumeral);
}

template <class Value>
void Render(Value value, unsigned int base, unsigned int padding) {
    Numeral numeral(value, base);
    Require(MakeString(numeral) == Text(value, base, 1), "Numeral agrees with to_chars");
    numeral.PadTo(padding);
    std::string const expected = Text(value, base, padding);
    Require(MakeString(numeral) == expected, "a padded Numeral agrees with to_chars");
    unsigned char const* const counted = numeral;
    Require(std::string(counted + 1, counted + 1 + counted[0]) == expected,
            "the length-prefixed numeral is equal");
}

template <class... Values>
void RenderAs(Unsigned value, unsigned int base, unsigned int padding) {
    (Render(static_cast<Values>(value), base, padding), ...);
}

inline void RenderAll(Unsigned value, unsigned int base, unsigned int padding) {
    RenderAs<Unsigned, Signed, unsigned int, int, unsigned short, short, signed char>(value, base,
                                                                                      padding);
}

// Checks all readers.
inline void ReadAll(std::string const& text, Unsigned untouched) {
    ReadDecimal(text, untouched);
    ReadHex(text, untouched);
    ReadDecimalOtherwise(text, untouched);
    ReadHexOtherwise(text);
    ReadSigned<Signed>(text, static_cast<Signed>(untouched));
    ReadSigned<int>(text, static_cast<int>(untouched));
}

// Input: a base, a padding, a value to write, and a text to read.
inline void Check(Fuzz::Input input) {
    unsigned int const base = 2 + input.Byte() % 35U;
    unsigned int const padding = input.Byte() % 65U;
    Unsigned const value = input.Number64();
    Make(value, padding % 24);
    RenderAll(value, base, padding);

    ReadAll(std::string(input.Rest()), value);
    ReadDecimal(Text(value, 10, 1), ~value);
    ReadHex(Text(value, 16, 1), ~value);
    ReadSigned<Signed>(Text(static_cast<Signed>(value), 10, 1), 1);
}

} // namespace NumeralProperties
