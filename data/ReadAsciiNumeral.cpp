#include "data/ReadAsciiNumeral.h"

#include <limits>

#include "data/Ascii.h"
#include "data/CheckedArithmetic.h"
#include "simd/ParseDigits.h"

namespace {

using Value = unsigned long long;

constexpr Value maxValue = std::numeric_limits<Value>::max();

// Returns the value of a digit, or `base` for any other byte.
template <unsigned base>
Value DigitValue(unsigned char byte) {
    AsciiSet const* const digits = base == 10 ? Ascii::Numeric() : Ascii::HexDigits();
    return digits->Contains(byte) ? Ascii::HexDigitValue(byte) : base;
}

// Parses digit by digit up to the first error. After an error, `value` is as the header specifies.
template <unsigned base>
[[gnu::noinline]] NumeralReadResult ReadStepByStep(ConstData digits, Value& value) {
    value = 0;
    for (; !digits.IsEmpty(); ++digits.begin) {
        // The constant goes first; see CanMultiply.
        if (!CanMultiply(Value{base}, value))
            return NumeralReadTooLarge;
        value *= base;
        Value const digit = DigitValue<base>(*digits.begin);
        if (digit >= base)
            return NumeralReadInvalid;
        if (!CanAdd(value, digit))
            return NumeralReadTooLarge;
        value += digit;
    }
    return NumeralReadOK;
}

// A text that the kernel rejects is parsed again, to find the error. The kernel also rejects every
// text of more than 24 characters, even if most of them are leading zeros.
template <unsigned base>
inline NumeralReadResult ReadUnsigned(ConstData text, Value& value) {
    if (text.IsEmpty())
        return NumeralReadInvalid;
    if (std::uint64_t parsed; Simd::ParseDigits<base>(text.begin, text.Length(), parsed))
        [[likely]] {
        value = parsed;
        return NumeralReadOK;
    }
    return ReadStepByStep<base>(text, value);
}

template <unsigned base>
NumeralReadResult ReadUnsigned32(ConstData text, unsigned int& value) {
    Value wide;
    NumeralReadResult const result = ReadUnsigned<base>(text, wide);
    if (result != NumeralReadOK)
        return result;
    if (wide > std::numeric_limits<unsigned int>::max())
        return NumeralReadTooLarge;
    value = static_cast<unsigned int>(wide);
    return NumeralReadOK;
}

template <typename Integer>
Integer WithDefault(ConstData text, Integer defaultValue) {
    Integer value;
    return TryReadAsciiDecimalNumeral(text, value) == NumeralReadOK ? value : defaultValue;
}

void ThrowIfFailed(NumeralReadResult result) {
    if (result == NumeralReadInvalid)
        throw NotANumeral();
    if (result == NumeralReadTooLarge)
        throw NumeralTooLarge();
}

template <typename Integer>
Integer DecimalOrThrow(ConstData text) {
    Integer value = 0;
    ThrowIfFailed(TryReadAsciiDecimalNumeral(text, value));
    return value;
}

template <typename Integer>
Integer HexOrThrow(ConstData text) {
    Integer value = 0;
    ThrowIfFailed(TryReadAsciiHexNumeral(text, value));
    return value;
}

} // namespace

NumeralReadResult TryReadAsciiDecimalNumeral(ConstData text, unsigned long long& value) {
    return ReadUnsigned<10>(text, value);
}

NumeralReadResult TryReadAsciiDecimalNumeral(ConstData text, unsigned int& value) {
    return ReadUnsigned32<10>(text, value);
}

NumeralReadResult TryReadAsciiDecimalNumeral(ConstData text, long long& value) {
    if (text.IsEmpty())
        return NumeralReadInvalid;
    bool const negative = *text.begin == '-';
    if (negative || *text.begin == '+')
        ++text.begin;
    Value magnitude;
    NumeralReadResult const result = ReadUnsigned<10>(text, magnitude);
    if (result != NumeralReadOK)
        return result;
    // The minimum has a magnitude greater by one than the maximum.
    if (magnitude > maxValue / 2 + negative)
        return NumeralReadTooLarge;
    value = static_cast<long long>(negative ? 0 - magnitude : magnitude);
    return NumeralReadOK;
}

NumeralReadResult TryReadAsciiDecimalNumeral(ConstData text, int& value) {
    long long wide;
    NumeralReadResult const result = TryReadAsciiDecimalNumeral(text, wide);
    if (result != NumeralReadOK)
        return result;
    // Both limits in one comparison: values below the range wrap around.
    if (static_cast<Value>(wide) + 0x80000000 > 0xFFFFFFFF)
        return NumeralReadTooLarge;
    value = static_cast<int>(wide);
    return NumeralReadOK;
}

NumeralReadResult TryReadAsciiHexNumeral(ConstData text, unsigned long long& value) {
    return ReadUnsigned<16>(text, value);
}

NumeralReadResult TryReadAsciiHexNumeral(ConstData text, unsigned int& value) {
    return ReadUnsigned32<16>(text, value);
}

unsigned long long ReadAsciiDecimalNumeral64WithDefault(ConstData text,
                                                        unsigned long long defaultValue) {
    return WithDefault(text, defaultValue);
}

unsigned int ReadAsciiDecimalNumeral32WithDefault(ConstData text, unsigned int defaultValue) {
    return WithDefault(text, defaultValue);
}

long long ReadAsciiSignedDecimalNumeral64WithDefault(ConstData text, long long defaultValue) {
    return WithDefault(text, defaultValue);
}

int ReadAsciiSignedDecimalNumeral32WithDefault(ConstData text, int defaultValue) {
    return WithDefault(text, defaultValue);
}

unsigned long long ReadAsciiDecimalNumeral64(ConstData text) {
    return DecimalOrThrow<unsigned long long>(text);
}

unsigned int ReadAsciiDecimalNumeral(ConstData text) { return DecimalOrThrow<unsigned int>(text); }

long long ReadAsciiSignedDecimalNumeral64(ConstData text) {
    return DecimalOrThrow<long long>(text);
}

int ReadAsciiSignedDecimalNumeral(ConstData text) { return DecimalOrThrow<int>(text); }

unsigned long long ReadAsciiHexNumeral64(ConstData text) {
    return HexOrThrow<unsigned long long>(text);
}

unsigned int ReadAsciiHexNumeral(ConstData text) { return HexOrThrow<unsigned int>(text); }
