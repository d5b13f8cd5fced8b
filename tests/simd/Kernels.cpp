#include "tests/simd/Kernels.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "simd/AsciiCase.h"
#include "simd/CopyShort.h"
#include "simd/Crc32.h"
#include "simd/FindByte.h"
#include "simd/FindCaseInsensitive.h"
#include "simd/FormatDigits.h"
#include "simd/ParseDigits.h"
#include "simd/Utf.h"
#include "tests/support/Bytes.h"

namespace Kernels {

namespace {

using Pieces = std::vector<std::string>;

// Converts each byte to a code unit.
Pieces UnitsOf(std::string const& bytes, std::size_t unit = 1) {
    Pieces pieces;
    for (std::size_t at = 0; at < bytes.size(); at += unit)
        pieces.push_back(bytes.substr(at, unit));
    return pieces;
}

char const* Text(unsigned char const* bytes) { return reinterpret_cast<char const*>(bytes); }

// Calls a kernel or its reference with the end of the input, from each position on.
template <class Kernel, class Reference>
bool AgreeOnEachSuffix(Memory const& memory, Kernel kernel, Reference reference) {
    char const* const end = Text(memory.input) + memory.length;
    for (char const* from = Text(memory.input); from != end; ++from)
        if (kernel(from, end) != reference(from, end))
            return false;
    return kernel(end, end) == reference(end, end);
}

bool FindByteAgrees(Memory const& memory, std::mt19937&) {
    auto const findOne = [](auto... range) {
        return Simd::FindByte(range..., '<');
    };
    auto const findOneScalar = [](auto... range) {
        return Simd::FindByteScalar(range..., '<');
    };
    auto const findFour = [](auto... range) {
        return Simd::FindByte(range..., '<', '&', '\x80', '\0');
    };
    auto const findFourScalar = [](auto... range) {
        return Simd::FindByteScalar(range..., '<', '&', '\x80', '\0');
    };
    return AgreeOnEachSuffix(memory, findOne, findOneScalar) &&
           AgreeOnEachSuffix(memory, findFour, findFourScalar);
}

bool FindByteOrHighAgrees(Memory const& memory, std::mt19937&) {
    auto const find = [](auto... range) {
        return Simd::FindByteOrHigh(range..., '<', '>');
    };
    auto const scalar = [](auto... range) {
        return Simd::FindByteOrHighScalar(range..., '<', '>');
    };
    return AgreeOnEachSuffix(memory, find, scalar);
}

template <int size>
bool MatchMasksAgree(Memory const& memory) {
    for (std::size_t at = 0; at < 16 && at + size <= memory.length; ++at) {
        char const* const from = Text(memory.input) + memory.length - size - at;
        if (Simd::MatchMask<size>(from, '<', '&', '\xFF') !=
            Simd::MatchMaskScalar<size>(from, '<', '&', '\xFF'))
            return false;
    }
    return true;
}

bool MatchMaskAgrees(Memory const& memory, std::mt19937&) {
    return MatchMasksAgree<16>(memory) && MatchMasksAgree<32>(memory) &&
           MatchMasksAgree<64>(memory);
}

bool CommonPrefixAgrees(Memory const& memory, std::mt19937&) {
    auto const agree = [&](auto const* left, auto const* right) {
        return Simd::CommonPrefix(left, right, memory.length) ==
               Simd::CommonPrefixScalar(left, right, memory.length);
    };
    return agree(memory.input, memory.second) && agree(memory.second, memory.input);
}

// A locale with one pair of letters outside of ASCII.
constexpr std::array<std::int32_t, 256> lowerTable = [] {
    std::array<std::int32_t, 256> table{};
    for (int byte = 0; byte < 256; ++byte)
        table[static_cast<unsigned>(byte)] = byte >= 'A' && byte <= 'Z' ? byte + 32 : byte;
    table[0xC4] = 0xE4;
    return table;
}();

Simd::CaseVariants VariantsOf(unsigned char byte) {
    Simd::CaseVariants variants{static_cast<char>(byte), static_cast<char>(byte)};
    for (unsigned other = 0; other < 256; ++other)
        if (other != byte && lowerTable[other] == lowerTable[byte])
            variants.other = static_cast<char>(other);
    return variants;
}

bool FindCaseInsensitiveAgrees(Memory const& memory, std::mt19937& random) {
    if (memory.length == 0)
        return true;
    // A part of the changed text, so that there are matches and near misses.
    std::size_t const start = random() % memory.length;
    std::size_t const length = 1 + random() % std::min<std::size_t>(5, memory.length - start);
    char const* const pattern = Text(memory.second) + start;
    return Simd::FindCaseInsensitive(Text(memory.input), memory.length, pattern, length,
                                     lowerTable.data(), VariantsOf(memory.second[start]),
                                     VariantsOf(memory.second[start + length - 1])) ==
           Simd::FindCaseInsensitiveScalar(Text(memory.input), memory.length, pattern, length,
                                           lowerTable.data());
}

// Within one text, so that the ranges overlap.
bool CopyUpTo16Agrees(Memory const& memory, std::mt19937& random) {
    std::size_t const length = std::min<std::size_t>(random() % 17, memory.length);
    std::size_t const from = random() % (memory.length - length + 1);
    std::size_t const to = random() % (memory.length - length + 1);
    std::memcpy(memory.second, memory.input, memory.length);
    auto* const copied = reinterpret_cast<char*>(memory.input);
    auto* const expected = reinterpret_cast<char*>(memory.second);
    Simd::CopyUpTo16(copied + to, copied + from, length);
    Simd::CopyUpTo16Scalar(expected + to, expected + from, length);
    return std::memcmp(copied, expected, memory.length) == 0;
}

bool Crc32Agrees(Memory const& memory, std::mt19937& random) {
    auto const value = static_cast<std::uint32_t>(random());
    std::uint32_t const expected = Simd::Crc32Scalar(value, memory.input, memory.length);
    return Simd::Crc32(value, memory.input, memory.length) == expected &&
           Simd::Crc32Sliced(value, memory.input, memory.length) == expected;
}

template <unsigned base>
bool ParsedDigitsAgree(Memory const& memory, std::mt19937&) {
    constexpr std::size_t maxDigits = 30;
    for (std::size_t length = 0; length <= std::min(maxDigits, memory.length); ++length) {
        unsigned char const* const text = memory.input + memory.length - length;
        std::uint64_t value = 0;
        std::uint64_t expected = 0;
        bool const parsed = Simd::ParseDigits<base>(text, length, value);
        if (parsed != Simd::ParseDigitsScalar<base>(text, length, expected) ||
            (parsed && value != expected))
            return false;
    }
    return true;
}

// Values of every width, and powers of ten with their neighbours.
std::uint64_t AnyValue(std::mt19937& random) {
    if (random() % 2 == 0)
        return (std::uint64_t{random()} << 32 | random()) >> random() % 64;
    std::uint64_t value = 1;
    for (unsigned digits = random() % 20; digits != 0; --digits)
        value *= 10;
    return value * (1 + random() % 9) + random() % 3 - 1;
}

// Whether the `length` bytes before `end` are the digits of the value.
bool IsDecimal(unsigned char const* text, std::size_t length, std::uint64_t value) {
    unsigned char expected[20];
    std::size_t const expectedLength = Simd::FormatDecimalScalar(expected, value);
    return length == expectedLength && std::memcmp(text, expected, length) == 0;
}

template <class Value>
bool FormattedDecimalAgrees(Memory const& memory, Value value, std::size_t room) {
    unsigned char* const to = memory.output + memory.outputRoom - room;
    return IsDecimal(to, Simd::FormatDecimal(to, value), value);
}

bool FormatDecimalAgrees(Memory const& memory, std::mt19937& random) {
    std::uint64_t const value = AnyValue(random);
    auto const narrow = static_cast<std::uint32_t>(value);
    unsigned char* const four = memory.output + memory.outputRoom - 4;
    auto* const end = reinterpret_cast<char*>(memory.output + 24);
    std::uint64_t const large = std::max<std::uint64_t>(value, 10000);
    char* const begin = Simd::FormatDecimalBefore(end, large);
    return FormattedDecimalAgrees(memory, value, 20) &&
           FormattedDecimalAgrees(memory, narrow, 10) &&
           IsDecimal(four, Simd::FormatDecimalUpTo4(four, narrow % 10000), narrow % 10000) &&
           IsDecimal(reinterpret_cast<unsigned char*>(begin), static_cast<std::size_t>(end - begin),
                     large);
}

bool StoreSixteenDigitsAgrees(Memory const& memory, std::mt19937& random) {
    std::uint64_t const value = AnyValue(random) % 10000000000000000;
    unsigned char* const to = memory.output + memory.outputRoom - 16;
    Simd::StoreSixteenDigits(to, value);
    unsigned char expected[16];
    Simd::StoreSixteenDigitsScalar(expected, value);
    return std::memcmp(to, expected, sizeof(expected)) == 0;
}

bool EightDigitsAgrees(Memory const&, std::mt19937& random) {
    auto const value = static_cast<std::uint32_t>(AnyValue(random) % 100000000);
    return Simd::EightDigits(value) == Simd::EightDigitsScalar(value);
}

bool FormatHexAgrees(Memory const& memory, std::mt19937& random) {
    std::uint64_t const value = AnyValue(random);
    unsigned const count = random() % 17;
    unsigned char* const to = memory.output + memory.outputRoom - std::max(count, 8U);
    Simd::FormatHex(to, value, count);
    unsigned char expected[16];
    Simd::FormatHexScalar(expected, value, count);
    return std::memcmp(to, expected, count) == 0;
}

// The scalar reference has the same input, and the same capacity in code units.
template <class To, class From>
bool TranscodingAgrees(Memory const& memory, std::mt19937& random) {
    auto const* const from = reinterpret_cast<From const*>(memory.input);
    std::size_t const available = memory.length / sizeof(From);
    std::size_t const room =
        random() % (std::min(memory.outputRoom / sizeof(To), 4 * available + 4) + 1);
    auto* const to = reinterpret_cast<To*>(memory.output + memory.outputRoom - room * sizeof(To));
    Simd::UtfProgress const progress = Simd::Transcode(from, available, to, room);
    std::vector<To> expected(room);
    Simd::UtfProgress const reference =
        Simd::TranscodeScalar(from, available, expected.data(), room);
    return progress.read == reference.read && progress.written == reference.written &&
           progress.isIllFormed == reference.isIllFormed &&
           std::equal(to, to + progress.written, expected.begin());
}

template <class Unit>
std::string BytesOf(std::initializer_list<Unit> units) {
    std::string bytes(units.size() * sizeof(Unit), '\0');
    std::memcpy(bytes.data(), units.begin(), bytes.size());
    return bytes;
}

template <class To, class From>
Kernel TranscodeKernel(std::string const& name, Pieces const& pieces) {
    return {name, pieces, sizeof(From), TranscodingAgrees<To, From>};
}

// Well-formed sequences of each length; overlong sequences, encoded surrogates and values beyond
// Unicode, some of which are accepted; and misplaced bytes.
Pieces const utf8{"a",        "\xC3\xA9",     "\xE2\x82\xAC",     "\xF0\x9F\x98\x80", "z",
                  "\xC1\xBF", "\xED\xA0\x80", "\xF0\x80\x80\x80", "\xF7\xBF\xBF\xBF", "\x80",
                  "\xE2",     "\xFF"};

Pieces Utf16() {
    Pieces pieces = UnitsOf(BytesOf<unsigned short>({0x61, 0xE9, 0x7FF, 0x800, 0x20AC, 0xD7FF,
                                                     0xE000, 0xFFFF, 0xD83D, 0xDE00}),
                            2);
    pieces.push_back(BytesOf<unsigned short>({0xD83D, 0xDE00}));
    pieces.push_back(BytesOf<unsigned short>({0xDBFF, 0xDFFF}));
    return pieces;
}

Pieces Utf32() {
    return UnitsOf(BytesOf<unsigned int>({0x61, 0xE9, 0x7FF, 0x800, 0x20AC, 0xFFFF, 0x1F600,
                                          0x10FFFF, 0xD800, 0x110000, 0x80000041}),
                   4);
}

} // namespace

std::vector<Kernel> const& All() {
    static Pieces const utf16 = Utf16();
    static Pieces const utf32 = Utf32();
    static std::vector<Kernel> const kernels{
        {"FindByte", UnitsOf("<&a\x80"), 1, FindByteAgrees},
        {"FindByteOrHigh", UnitsOf("<>a\x7F\x80\xFF"), 1, FindByteOrHighAgrees},
        {"MatchMask", UnitsOf("<&a\xFF"), 1, MatchMaskAgrees},
        {"CommonPrefix", UnitsOf(Bytes("aAzZ@[`{\x7F\x80\xFF\xC1\xE1\x00")), 1, CommonPrefixAgrees},
        {"FindCaseInsensitive", UnitsOf(Bytes("aAbB\xC4\xE4\x00")), 1, FindCaseInsensitiveAgrees},
        {"CopyUpTo16", UnitsOf(EveryByte()), 1, CopyUpTo16Agrees},
        {"Crc32", UnitsOf(EveryByte()), 1, Crc32Agrees},
        {"ParseDigits<10>", UnitsOf("0000000000123456789"), 1, ParsedDigitsAgree<10>},
        {"ParseDigits<16>", UnitsOf("0000000000123456789abcdefABCDEF"), 1, ParsedDigitsAgree<16>},
        {"FormatDecimal", UnitsOf("0"), 1, FormatDecimalAgrees},
        {"StoreSixteenDigits", UnitsOf("0"), 1, StoreSixteenDigitsAgrees},
        {"EightDigits", UnitsOf("0"), 1, EightDigitsAgrees},
        {"FormatHex", UnitsOf("0"), 1, FormatHexAgrees},
        TranscodeKernel<unsigned short, unsigned char>("Transcode UTF-8 to UTF-16", utf8),
        TranscodeKernel<unsigned int, unsigned char>("Transcode UTF-8 to UTF-32", utf8),
        TranscodeKernel<unsigned char, unsigned short>("Transcode UTF-16 to UTF-8", utf16),
        TranscodeKernel<unsigned int, unsigned short>("Transcode UTF-16 to UTF-32", utf16),
        TranscodeKernel<unsigned char, unsigned int>("Transcode UTF-32 to UTF-8", utf32),
        TranscodeKernel<unsigned short, unsigned int>("Transcode UTF-32 to UTF-16", utf32),
    };
    return kernels;
}

} // namespace Kernels
