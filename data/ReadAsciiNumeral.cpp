#include "data/ReadAsciiNumeral.h"

#include <emmintrin.h>

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <limits>

#include "data/Ascii.h"
#include "data/CheckedArithmetic.h"

static_assert(std::endian::native == std::endian::little,
              "the first character of a text stands in the lowest byte of a word");

namespace {

using Value = unsigned long long;

constexpr Value maximum = std::numeric_limits<Value>::max();
constexpr std::size_t wordLength = sizeof(std::uint64_t);

constexpr std::uint64_t InAllBytes(unsigned char byte) {
    return std::uint64_t{0x0101010101010101} * byte;
}

// The values of the two words of a text.
struct Halves {
    Value first;
    Value last;
};

// What the readers know of a base: one digit, and eight in a word, the first one in the lowest
// byte. In a word each character is exclusive-ored with '0', so that a byte of 0 is the digit 0,
// and leading zeros cost nothing. Of a byte that is no digit, DigitOf yields `base` or more.
// Misfits sets the top bit of some byte if one is no digit, and of none if all are.

struct Decimal {
    static constexpr unsigned base = 10;

    static unsigned DigitOf(unsigned char byte) { return static_cast<unsigned>(byte) - '0'; }

    // 0x76 carries a byte from 10 on into its top bit, and from 0x8A on into the next byte, which
    // then makes no difference.
    static std::uint64_t Misfits(std::uint64_t word) { return (word + InAllBytes(0x76)) | word; }

    // Neighbours are joined three times: digits to pairs, and pairs to fours and to the whole in
    // one multiplication for each half of them.
    static Value ValueOf(std::uint64_t word) {
        std::uint64_t const pairs = word * 10 + (word >> 8);
        constexpr std::uint64_t everyOtherPair = 0x000000FF000000FF;
        std::uint64_t const first = (pairs & everyOtherPair) * (100 + (1000000ULL << 32));
        std::uint64_t const second = (pairs >> 16 & everyOtherPair) * (1 + (10000ULL << 32));
        return (first + second) >> 32;
    }

    // The same for two words, in the vector instructions that every x86-64 has.
    static Halves ValuesOf(std::uint64_t first, std::uint64_t last) {
        __m128i const digits =
            _mm_set_epi64x(static_cast<long long>(last), static_cast<long long>(first));
        __m128i const tens = _mm_and_si128(digits, _mm_set1_epi16(0x00FF));
        __m128i const pairs =
            _mm_add_epi16(_mm_mullo_epi16(tens, _mm_set1_epi16(10)), _mm_srli_epi16(digits, 8));
        __m128i const fours = _mm_madd_epi16(pairs, _mm_set1_epi32(100 + (1 << 16)));
        __m128i const halves =
            _mm_madd_epi16(_mm_packs_epi32(fours, fours), _mm_set1_epi32(10000 + (1 << 16)));
        auto const both = static_cast<std::uint64_t>(_mm_cvtsi128_si64(halves));
        return {both & 0xFFFFFFFF, both >> 32};
    }
};

struct Hexadecimal {
    static constexpr unsigned base = 16;

    // By table, since letters and figures follow each other in no order that a processor could
    // guess.
    static unsigned DigitOf(unsigned char byte) { return digitValues[byte]; }

    static constexpr std::array<unsigned char, 256> digitValues = [] {
        std::array<unsigned char, 256> made{};
        for (unsigned i = 0; i < 256; ++i) {
            auto const byte = static_cast<unsigned char>(i);
            bool const isDigit = Ascii::HexDigits()->Contains(byte);
            made[i] = static_cast<unsigned char>(isDigit ? Ascii::HexDigitValue(byte) : base);
        }
        return made;
    }();

    // Sets the top bit of each byte that is `bound` or more. REQUIRES: no byte has its own top bit
    // set.
    static std::uint64_t NotBelow(std::uint64_t word, unsigned char bound) {
        return word + InAllBytes(static_cast<unsigned char>(0x80 - bound));
    }

    static std::uint64_t Misfits(std::uint64_t word) {
        // The bit that tells the cases apart is the other way round behind the exclusive or.
        std::uint64_t const upper = word | InAllBytes(0x20);
        std::uint64_t const letters = NotBelow(upper, 'A' ^ '0') & ~NotBelow(upper, 'G' ^ '0');
        std::uint64_t const failed = NotBelow(word, 10) & ~letters;
        return failed | word;
    }

    static Value ValueOf(std::uint64_t word) {
        std::uint64_t const letters = word >> 6 & InAllBytes(1);
        std::uint64_t const digits = (word & InAllBytes(0x0F)) + letters * 9;
        std::uint64_t const pairs = (digits << 4 | digits >> 8) & 0x00FF00FF00FF00FF;
        std::uint64_t const fours = (pairs << 8 | pairs >> 16) & 0x0000FFFF0000FFFF;
        return (fours << 16 | fours >> 32) & 0xFFFFFFFF;
    }

    static Halves ValuesOf(std::uint64_t first, std::uint64_t last) {
        return {ValueOf(first), ValueOf(last)};
    }
};

// The base to the number of the digits.
template <typename Base>
constexpr std::array<Value, wordLength + 1> powers = [] {
    std::array<Value, wordLength + 1> made{};
    Value power = 1;
    for (Value& element : made) {
        element = power;
        power *= Base::base;
    }
    return made;
}();

std::uint64_t LoadWord(unsigned char const* from) {
    std::uint64_t word;
    std::memcpy(&word, from, sizeof(word));
    return word ^ InAllBytes('0');
}

// The `count` bytes that end at `end`, with zeros in front of them. REQUIRES: `count` is 1 to 8,
// and there are 8 bytes before `end`.
std::uint64_t LoadLast(unsigned char const* end, std::size_t count) {
    std::uint64_t const kept = ~std::uint64_t{0} << (wordLength - count) * 8;
    return LoadWord(end - wordLength) & kept;
}

// A text of 4 to 8 bytes, with zeros in front of them: two halves, which overlap.
std::uint64_t LoadShort(ConstData text) {
    std::uint32_t first;
    std::uint32_t last;
    std::memcpy(&first, text.begin, sizeof(first));
    std::memcpy(&last, text.end - sizeof(last), sizeof(last));
    constexpr auto zeros = static_cast<std::uint32_t>(InAllBytes('0'));
    return static_cast<std::uint64_t>(last ^ zeros) << 32 |
           static_cast<std::uint64_t>(first ^ zeros) << (wordLength - text.Length()) * 8;
}

bool HasTopBits(std::uint64_t word) { return (word & InAllBytes(0x80)) != 0; }

// The next four read all of a text or nothing: they yield false if it has a byte that is no digit,
// or does not fit. (If all of a text is digits and its value fits, none of the plain steps further
// below can fail.)

// REQUIRES: the text has 1 to 3 bytes.
template <typename Base>
inline bool ReadBytes(ConstData text, Value& value) {
    unsigned reached = 0;
    auto const take = [&](std::size_t i) {
        unsigned const digit = Base::DigitOf(text[i]);
        reached = reached * Base::base + digit;
        return digit < Base::base;
    };
    if (!take(0) || (text.Length() > 1 && !take(1)) || (text.Length() > 2 && !take(2)))
        return false;
    value = reached;
    return true;
}

// REQUIRES: the text has 9 to 16 bytes.
template <typename Base>
inline bool ReadTwoWords(ConstData text, Value& value) {
    std::size_t const rest = text.Length() - wordLength;
    std::uint64_t const first = LoadWord(text.begin);
    std::uint64_t const last = LoadLast(text.end, rest);
    Halves const halves = Base::ValuesOf(first, last);
    value = halves.first * powers<Base>[rest] + halves.last;
    return !HasTopBits(Base::Misfits(first) | Base::Misfits(last));
}

// REQUIRES: the text has 17 to 24 bytes.
template <typename Base>
inline bool ReadThreeWords(ConstData text, Value& value) {
    std::size_t const rest = text.Length() - 2 * wordLength;
    std::uint64_t const first = LoadWord(text.begin);
    std::uint64_t const second = LoadWord(text.begin + wordLength);
    std::uint64_t const last = LoadLast(text.end, rest);
    Halves const halves = Base::ValuesOf(first, second);
    Value const high = halves.first * powers<Base>[wordLength] + halves.last;
    Value shifted;
    if (HasTopBits(Base::Misfits(first) | Base::Misfits(second) | Base::Misfits(last)) ||
        __builtin_mul_overflow(high, powers<Base>[rest], &shifted))
        return false;
    value = shifted + Base::ValueOf(last);
    return value >= shifted;
}

template <typename Base>
inline bool ReadAtOnce(ConstData text, Value& value) {
    if (text.Length() < 4)
        return ReadBytes<Base>(text, value);
    if (text.Length() > 2 * wordLength)
        return text.Length() <= 3 * wordLength && ReadThreeWords<Base>(text, value);
    if (text.Length() > wordLength)
        return ReadTwoWords<Base>(text, value);
    std::uint64_t const word = LoadShort(text);
    value = Base::ValueOf(word);
    return !HasTopBits(Base::Misfits(word));
}

// The plain steps, which know each error and what stands in the value then.
template <typename Base>
[[gnu::noinline]] NumeralReadResult ReadStepByStep(ConstData digits, Value& value) {
    value = 0;
    for (; !digits.IsEmpty(); ++digits.begin) {
        // The base stands first, so that no division is left.
        if (!CanMultiply(Value{Base::base}, value))
            return NumeralReadTooLarge;
        value *= Base::base;
        Value const digit = Base::DigitOf(*digits.begin);
        if (digit >= Base::base)
            return NumeralReadInvalid;
        if (!CanAdd(value, digit))
            return NumeralReadTooLarge;
        value += digit;
    }
    return NumeralReadOK;
}

template <typename Base>
inline NumeralReadResult ReadUnsigned(ConstData text, Value& value) {
    if (text.IsEmpty())
        return NumeralReadInvalid;
    if (ReadAtOnce<Base>(text, value)) [[likely]]
        return NumeralReadOK;
    return ReadStepByStep<Base>(text, value);
}

template <typename Base>
NumeralReadResult ReadUnsigned32(ConstData text, unsigned int& value) {
    Value wide;
    NumeralReadResult const result = ReadUnsigned<Base>(text, wide);
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
    Integer value;
    ThrowIfFailed(TryReadAsciiDecimalNumeral(text, value));
    // NOLINTNEXTLINE(clang-analyzer-core.uninitialized.UndefReturn): a failure has thrown before
    return value;
}

template <typename Integer>
Integer HexOrThrow(ConstData text) {
    Integer value;
    ThrowIfFailed(TryReadAsciiHexNumeral(text, value));
    // NOLINTNEXTLINE(clang-analyzer-core.uninitialized.UndefReturn): a failure has thrown before
    return value;
}

} // namespace

NumeralReadResult TryReadAsciiDecimalNumeral(ConstData text, unsigned long long& value) {
    return ReadUnsigned<Decimal>(text, value);
}

NumeralReadResult TryReadAsciiDecimalNumeral(ConstData text, unsigned int& value) {
    return ReadUnsigned32<Decimal>(text, value);
}

NumeralReadResult TryReadAsciiDecimalNumeral(ConstData text, long long& value) {
    if (text.IsEmpty())
        return NumeralReadInvalid;
    bool const negative = *text.begin == '-';
    if (negative || *text.begin == '+')
        ++text.begin;
    Value magnitude;
    NumeralReadResult const result = ReadUnsigned<Decimal>(text, magnitude);
    if (result != NumeralReadOK)
        return result;
    // Below zero there is room for one more.
    if (magnitude > maximum / 2 + negative)
        return NumeralReadTooLarge;
    value = static_cast<long long>(negative ? 0 - magnitude : magnitude);
    return NumeralReadOK;
}

NumeralReadResult TryReadAsciiDecimalNumeral(ConstData text, int& value) {
    long long wide;
    NumeralReadResult const result = TryReadAsciiDecimalNumeral(text, wide);
    if (result != NumeralReadOK)
        return result;
    // Both ends in one comparison: what lies below wraps to the top.
    if (static_cast<Value>(wide) + 0x80000000 > 0xFFFFFFFF)
        return NumeralReadTooLarge;
    value = static_cast<int>(wide);
    return NumeralReadOK;
}

NumeralReadResult TryReadAsciiHexNumeral(ConstData text, unsigned long long& value) {
    return ReadUnsigned<Hexadecimal>(text, value);
}

NumeralReadResult TryReadAsciiHexNumeral(ConstData text, unsigned int& value) {
    return ReadUnsigned32<Hexadecimal>(text, value);
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
