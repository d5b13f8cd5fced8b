#include "data/ReadAsciiNumeral.h"

#include <array>
#include <bit>
#include <limits>

#include "data/Ascii.h"
#include "data/CheckedArithmetic.h"
#include "data/DecimalDigits.h"

static_assert(std::endian::native == std::endian::little,
              "the first character of a text stands in the lowest byte of a word");

namespace {

using Value = unsigned long long;

constexpr Value maximum = std::numeric_limits<Value>::max();
constexpr std::size_t wordLength = sizeof(std::uint64_t);

// What the readers know of a base: the digit one at a time, and eight of them in a word of
// characters, the first one lowest.

constexpr std::uint64_t InAllBytes(unsigned char byte) {
    return std::uint64_t{0x0101010101010101} * byte;
}

struct Decimal {
    static constexpr unsigned base = 10;

    static bool IsDigit(unsigned char byte) { return Ascii::Numeric()->Contains(byte); }
    static unsigned DigitValue(unsigned char byte) { return byte - '0'; }

    // What is left of a digit without the bits of '0' is 0 to 9, which 0x76 does not carry into the
    // top bit of the byte.
    static bool AreDigits(std::uint64_t word) {
        std::uint64_t const values = word ^ DecimalDigits::zeros;
        return (((values + InAllBytes(0x76)) | values) & InAllBytes(0x80)) == 0;
    }

    // Neighbours are joined three times: digits to pairs, and pairs to fours and to the whole in
    // one multiplication for each half of them.
    static Value ValueOf(std::uint64_t word) {
        std::uint64_t const values = word ^ DecimalDigits::zeros;
        std::uint64_t const pairs = values * 10 + (values >> 8);
        constexpr std::uint64_t everyOtherPair = 0x000000FF000000FF;
        std::uint64_t const first = (pairs & everyOtherPair) * (100 + (1000000ULL << 32));
        std::uint64_t const second = (pairs >> 16 & everyOtherPair) * (1 + (10000ULL << 32));
        return (first + second) >> 32;
    }
};

struct Hexadecimal {
    static constexpr unsigned base = 16;

    static bool IsDigit(unsigned char byte) { return Ascii::HexDigits()->Contains(byte); }
    static unsigned DigitValue(unsigned char byte) { return Ascii::HexDigitValue(byte); }

    // The top bit of each byte whose character is at least `bound`. REQUIRES: no byte of `word` has
    // its own top bit set.
    static std::uint64_t NotBelow(std::uint64_t word, unsigned char bound) {
        return word + InAllBytes(static_cast<unsigned char>(0x80 - bound));
    }

    static bool AreDigits(std::uint64_t word) {
        std::uint64_t const high = InAllBytes(0x80);
        if ((word & high) != 0)
            return false;
        std::uint64_t const lower = word | InAllBytes(0x20);
        std::uint64_t const numeric = NotBelow(word, '0') & ~NotBelow(word, '9' + 1);
        std::uint64_t const letters = NotBelow(lower, 'a') & ~NotBelow(lower, 'f' + 1);
        return ((numeric | letters) & high) == high;
    }

    static Value ValueOf(std::uint64_t word) {
        std::uint64_t const letters = word >> 6 & InAllBytes(1);
        std::uint64_t const digits = (word & InAllBytes(0x0F)) + letters * 9;
        std::uint64_t const pairs = (digits << 4 | digits >> 8) & 0x00FF00FF00FF00FF;
        std::uint64_t const fours = (pairs << 8 | pairs >> 16) & 0x0000FFFF0000FFFF;
        return (fours << 16 | fours >> 32) & 0xFFFFFFFF;
    }
};

struct Room {
    Value power; // The base to the number of the digits.
    Value limit; // The greatest value that can take so many digits more, whatever they are.
};

template <typename Base>
constexpr std::array<Room, wordLength + 1> rooms = [] {
    std::array<Room, wordLength + 1> made{};
    Value power = 1;
    for (Room& room : made) {
        room = {power, (maximum - (power - 1)) / power};
        power *= Base::base;
    }
    return made;
}();

std::uint64_t LoadWord(unsigned char const* from) {
    std::uint64_t word;
    std::memcpy(&word, from, sizeof(word));
    return word;
}

std::uint32_t LoadHalfWord(unsigned char const* from) {
    std::uint32_t word;
    std::memcpy(&word, from, sizeof(word));
    return word;
}

constexpr std::size_t shortestForWords = sizeof(std::uint32_t);

// The last `count` bytes of a text as a word, with '0' in front of them. REQUIRES: `count` is 1 to
// 7, the text has at least `shortestForWords` bytes, and if it has less than 8, `count` is all.
std::uint64_t LoadTail(ConstData text, std::size_t count) {
    unsigned const padding = static_cast<unsigned>(wordLength - count) * 8;
    std::uint64_t const kept = ~std::uint64_t{0} << padding;
    // A text shorter than a word is two halves, which overlap.
    std::uint64_t const word = text.Length() >= wordLength
                                   ? LoadWord(text.end - wordLength) & kept
                                   : static_cast<std::uint64_t>(LoadHalfWord(text.end - 4)) << 32 |
                                         static_cast<std::uint64_t>(LoadHalfWord(text.begin))
                                             << padding;
    return word | (DecimalDigits::zeros & ~kept);
}

// Reads digits by words as long as neither a byte that is no digit nor the top of the range can be
// in the way, and yields where it stopped. All that needs care is left to the plain steps.
template <typename Base>
unsigned char const* ReadWords(ConstData text, Value& value) {
    ConstData rest = text;
    for (; rest.Length() >= wordLength; rest.begin += wordLength) {
        std::uint64_t const word = LoadWord(rest.begin);
        if (value > rooms<Base>[wordLength].limit || !Base::AreDigits(word))
            return rest.begin;
        value = value * rooms<Base>[wordLength].power + Base::ValueOf(word);
    }
    if (rest.IsEmpty())
        return rest.begin;
    std::uint64_t const tail = LoadTail(text, rest.Length());
    Room const& room = rooms<Base>[rest.Length()];
    if (value > room.limit || !Base::AreDigits(tail))
        return rest.begin;
    value = value * room.power + Base::ValueOf(tail);
    return rest.end;
}

template <typename Base>
NumeralReadResult ReadDigits(ConstData digits, Value& value) {
    for (; !digits.IsEmpty(); ++digits.begin) {
        // The base stands first, so that no division is left.
        if (!CanMultiply(Value{Base::base}, value))
            return NumeralReadTooLarge;
        value *= Base::base;
        unsigned char const byte = *digits.begin;
        if (!Base::IsDigit(byte))
            return NumeralReadInvalid;
        Value const digit = Base::DigitValue(byte);
        if (!CanAdd(value, digit))
            return NumeralReadTooLarge;
        value += digit;
    }
    return NumeralReadOK;
}

template <typename Base>
NumeralReadResult ReadUnsigned(ConstData text, Value& value) {
    if (text.IsEmpty())
        return NumeralReadInvalid;
    Value reached = 0;
    if (text.Length() >= shortestForWords)
        text.begin = ReadWords<Base>(text, reached);
    NumeralReadResult const result = ReadDigits<Base>(text, reached);
    value = reached;
    return result;
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
    return value;
}

template <typename Integer>
Integer HexOrThrow(ConstData text) {
    Integer value;
    ThrowIfFailed(TryReadAsciiHexNumeral(text, value));
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

unsigned int ReadAsciiDecimalNumeral(ConstData text) {
    return DecimalOrThrow<unsigned int>(text);
}

long long ReadAsciiSignedDecimalNumeral64(ConstData text) {
    return DecimalOrThrow<long long>(text);
}

int ReadAsciiSignedDecimalNumeral(ConstData text) {
    return DecimalOrThrow<int>(text);
}

unsigned long long ReadAsciiHexNumeral64(ConstData text) {
    return HexOrThrow<unsigned long long>(text);
}

unsigned int ReadAsciiHexNumeral(ConstData text) {
    return HexOrThrow<unsigned int>(text);
}
