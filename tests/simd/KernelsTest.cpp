// Compares each kernel at each level of this processor with its scalar reference: all lengths up to
// a few vectors, all alignments, guard pages on both sides, random and adversarial content.
#include <algorithm>
#include <functional>

#include <gtest/gtest.h>

#include "simd/AsciiCase.h"
#include "simd/CopyShort.h"
#include "simd/Cpu.h"
#include "simd/Crc32.h"
#include "simd/FindByte.h"
#include "simd/FindCaseInsensitive.h"
#include "simd/FormatDigits.h"
#include "simd/ParseDigits.h"
#include "simd/Utf.h"
#include "tests/support/Bytes.h"
#include "tests/support/GuardedBytes.h"

namespace {

using Simd::Level;

constexpr std::size_t maxLength = 200;
constexpr std::size_t outputRoom = 4 * maxLength + 16;

// Three memory ranges with guard pages on both sides.
struct Memory {
    unsigned char* input;
    std::size_t length;
    // As long as the input. Initially a copy of the input, changed by Change().
    unsigned char* second;
    // The end of a range of `outputRoom` bytes.
    unsigned char* outputEnd;
};

struct Kernel {
    std::string name;
    // The pieces of its texts: single code units and whole sequences.
    std::vector<std::string> pieces;
    // The size of a code unit of the input.
    std::size_t unit = 1;
    // Runs the kernel at the pinned level, and its scalar reference. Returns whether results and
    // written bytes are equal.
    std::function<bool(Memory const&, std::mt19937&)> agrees;
};

void PrintTo(Kernel const& kernel, std::ostream* out) { *out << kernel.name; }

using Pieces = std::vector<std::string>;

// Splits the bytes into code units of `unit` bytes.
Pieces UnitsOf(std::string const& bytes, std::size_t unit = 1) {
    Pieces pieces;
    for (std::size_t at = 0; at < bytes.size(); at += unit)
        pieces.push_back(bytes.substr(at, unit));
    return pieces;
}

char const* Text(unsigned char const* bytes) { return reinterpret_cast<char const*>(bytes); }

// Compares a kernel with its reference on each suffix of the input.
template <class Kernel, class Reference>
bool AgreeOnEachSuffix(Memory const& memory, Kernel kernel, Reference reference) {
    char const* const end = Text(memory.input) + memory.length;
    for (char const* from = Text(memory.input); from != end; ++from)
        if (kernel(from, end) != reference(from, end))
            return false;
    return kernel(end, end) == reference(end, end);
}

template <char... bytes>
bool FindByteAgrees(Memory const& memory, std::mt19937&) {
    return AgreeOnEachSuffix(
        memory, [](auto... range) { return Simd::FindByte(range..., bytes...); },
        [](auto... range) { return Simd::FindByteScalar(range..., bytes...); });
}

bool FindByteOrHighAgrees(Memory const& memory, std::mt19937&) {
    return AgreeOnEachSuffix(
        memory, [](auto... range) { return Simd::FindByteOrHigh(range..., '<', '>'); },
        [](auto... range) { return Simd::FindByteOrHighScalar(range..., '<', '>'); });
}

template <int size>
bool MatchMaskAgrees(Memory const& memory, std::mt19937&) {
    for (std::size_t at = 0; at < 16 && at + size <= memory.length; ++at) {
        char const* const from = Text(memory.input) + memory.length - size - at;
        if (Simd::MatchMask<size>(from, '<', '&', '\xFF') !=
            Simd::MatchMaskScalar<size>(from, '<', '&', '\xFF'))
            return false;
    }
    return true;
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

// Within one text, so that the ranges may overlap.
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
    for (std::size_t length = 0; length <= std::min<std::size_t>(30, memory.length); ++length) {
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

// Values of every width, and multiples of powers of ten with their neighbours.
std::uint64_t AnyValue(std::mt19937& random) {
    if (random() % 2 == 0)
        return (std::uint64_t{random()} << 32 | random()) >> random() % 64;
    std::uint64_t value = 1;
    for (unsigned digits = random() % 20; digits != 0; --digits)
        value *= 10;
    return value * (1 + random() % 9) + random() % 3 - 1;
}

// Returns whether the `length` bytes of `text` are the digits of the value.
bool IsDecimal(unsigned char const* text, std::size_t length, std::uint64_t value) {
    unsigned char expected[20];
    std::size_t const expectedLength = Simd::FormatDecimalScalar(expected, value);
    return length == expectedLength && std::memcmp(text, expected, length) == 0;
}

template <class Value>
bool FormattedDecimalAgrees(Memory const& memory, Value value, std::size_t room) {
    unsigned char* const to = memory.outputEnd - room;
    return IsDecimal(to, Simd::FormatDecimal(to, value), value);
}

bool FormatDecimalAgrees(Memory const& memory, std::mt19937& random) {
    std::uint64_t const value = AnyValue(random);
    auto const narrow = static_cast<std::uint32_t>(value);
    unsigned char* const four = memory.outputEnd - 4;
    auto* const end = reinterpret_cast<char*>(memory.outputEnd - outputRoom + 24);
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
    unsigned char* const to = memory.outputEnd - 16;
    Simd::StoreSixteenDigits(to, value);
    unsigned char expected[16];
    Simd::StoreSixteenDigitsScalar(expected, value);
    return std::memcmp(to, expected, sizeof(expected)) == 0;
}

bool FormatHexAgrees(Memory const& memory, std::mt19937& random) {
    std::uint64_t const value = AnyValue(random);
    unsigned const count = random() % 17;
    unsigned char* const to = memory.outputEnd - std::max(count, 8U);
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
    std::size_t const room = random() % (std::min(outputRoom / sizeof(To), 4 * available + 4) + 1);
    auto* const to = reinterpret_cast<To*>(memory.outputEnd - room * sizeof(To));
    Simd::UtfProgress const progress = Simd::Transcode(from, available, to, room);
    std::vector<To> expected(room);
    Simd::UtfProgress const reference =
        Simd::TranscodeScalar(from, available, expected.data(), room);
    return progress.read == reference.read && progress.written == reference.written &&
           progress.isIllFormed == reference.isIllFormed &&
           std::equal(to, to + progress.written, expected.begin());
}

// Converts each code unit to a piece.
template <class Unit>
Pieces PiecesOf(std::vector<Unit> const& units) {
    return UnitsOf(
        std::string(reinterpret_cast<char const*>(units.data()), units.size() * sizeof(Unit)),
        sizeof(Unit));
}

std::vector<Kernel> AllKernels() {
    // Well-formed sequences of each length; overlong sequences, encoded surrogates and values
    // beyond Unicode, some of which are accepted; and bytes that form no sequence.
    Pieces const utf8{"a",        "\xC3\xA9",     "\xE2\x82\xAC",     "\xF0\x9F\x98\x80", "z",
                      "\xC1\xBF", "\xED\xA0\x80", "\xF0\x80\x80\x80", "\xF7\xBF\xBF\xBF", "\x80",
                      "\xE2",     "\xFF"};
    Pieces utf16 = PiecesOf<unsigned short>(
        {0x61, 0xE9, 0x7FF, 0x800, 0x20AC, 0xD7FF, 0xE000, 0xFFFF, 0xD83D, 0xDE00});
    utf16.push_back(utf16[8] + utf16[9]);
    utf16.push_back("\xFF\xDB\xFF\xDF"); // U+10FFFF
    Pieces const utf32 = PiecesOf<unsigned int>({0x61, 0xE9, 0x7FF, 0x800, 0x20AC, 0xFFFF, 0x1F600,
                                                 0x10FFFF, 0xD800, 0x110000, 0x80000041});
    return {
        {"FindByte of one", UnitsOf("<&a\x80"), 1, FindByteAgrees<'<'>},
        {"FindByte of four", UnitsOf("<&a\x80"), 1, FindByteAgrees<'<', '&', '\x80', '\0'>},
        {"FindByteOrHigh", UnitsOf("<>a\x7F\x80\xFF"), 1, FindByteOrHighAgrees},
        {"MatchMask<16>", UnitsOf("<&a\xFF"), 1, MatchMaskAgrees<16>},
        {"MatchMask<32>", UnitsOf("<&a\xFF"), 1, MatchMaskAgrees<32>},
        {"MatchMask<64>", UnitsOf("<&a\xFF"), 1, MatchMaskAgrees<64>},
        {"CommonPrefix", UnitsOf(Bytes("aAzZ@[`{\x7F\x80\xFF\xC1\xE1\x00")), 1, CommonPrefixAgrees},
        {"FindCaseInsensitive", UnitsOf(Bytes("aAbB\xC4\xE4\x00")), 1, FindCaseInsensitiveAgrees},
        {"CopyUpTo16", UnitsOf(EveryByte()), 1, CopyUpTo16Agrees},
        {"Crc32", UnitsOf(EveryByte()), 1, Crc32Agrees},
        {"ParseDigits<10>", UnitsOf("0000000000123456789"), 1, ParsedDigitsAgree<10>},
        {"ParseDigits<16>", UnitsOf("0000000000123456789abcdefABCDEF"), 1, ParsedDigitsAgree<16>},
        {"FormatDecimal", UnitsOf("0"), 1, FormatDecimalAgrees},
        {"StoreSixteenDigits", UnitsOf("0"), 1, StoreSixteenDigitsAgrees},
        {"FormatHex", UnitsOf("0"), 1, FormatHexAgrees},
        {"Transcode UTF-8 to UTF-16", utf8, 1, TranscodingAgrees<unsigned short, unsigned char>},
        {"Transcode UTF-8 to UTF-32", utf8, 1, TranscodingAgrees<unsigned int, unsigned char>},
        {"Transcode UTF-16 to UTF-8", utf16, 2, TranscodingAgrees<unsigned char, unsigned short>},
        {"Transcode UTF-16 to UTF-32", utf16, 2, TranscodingAgrees<unsigned int, unsigned short>},
        {"Transcode UTF-32 to UTF-8", utf32, 4, TranscodingAgrees<unsigned char, unsigned int>},
        {"Transcode UTF-32 to UTF-16", utf32, 4, TranscodingAgrees<unsigned short, unsigned int>},
    };
}

// Returns exactly `length` bytes: runs of one piece or random pieces, sometimes with a random byte.
// Uses only a random number of the first pieces.
std::string MakeContent(Kernel const& kernel, std::size_t length, std::mt19937& random) {
    std::size_t const pieces = 1 + random() % kernel.pieces.size();
    std::string content;
    bool const inRuns = random() % 2 == 0;
    std::size_t piece = random() % pieces;
    while (content.size() < length) {
        if (!inRuns || random() % 24 == 0)
            piece = random() % pieces;
        content += kernel.pieces[piece];
    }
    content.resize(length);
    if (random() % 4 == 0 && !content.empty())
        content[random() % content.size()] = static_cast<char>(random());
    return content;
}

// Returns the text with another case of about a third of the letters, and up to two random bytes.
std::string Change(std::string content, std::mt19937& random) {
    for (char& byte : content)
        if (random() % 3 == 0 && static_cast<unsigned char>((byte | 0x20) - 'a') < 26)
            byte = static_cast<char>(byte ^ 0x20);
    for (std::size_t changes = random() % 3; changes != 0 && !content.empty(); --changes)
        content[random() % content.size()] = static_cast<char>(random());
    return content;
}

class KernelRun {
public:
    explicit KernelRun(Kernel const& theKernel) : kernel(theKernel) {}

    // Places the content after the first guard page or, if `atEnd`, before the second one, with a
    // gap of `alignment` code units.
    void Try(std::string const& content, std::size_t alignment, bool atEnd) {
        std::size_t const gap = alignment * kernel.unit;
        unsigned char* const place =
            atEnd ? input.End() - gap - content.size() : input.Begin() + gap;
        unsigned char* const other = atEnd ? second.End() - content.size() : second.Begin();
        std::string const changed = Change(content, random);
        std::copy(content.begin(), content.end(), place);
        std::copy(changed.begin(), changed.end(), other);
        Memory const memory{place, content.size(), other, output.End()};
        if (!kernel.agrees(memory, random))
            failures += Shown(content) + " with " + Shown(changed) + "; ";
    }

    std::mt19937 random{20240607};
    std::string failures;

private:
    Kernel const& kernel;
    GuardedBytes input{maxLength + 64};
    GuardedBytes second{maxLength};
    GuardedBytes output{outputRoom};
};

class KernelTest : public testing::TestWithParam<Kernel> {
protected:
    // Calls `body` with a run at each level of this processor.
    template <class Body>
    void ForEachLevel(Body body) {
        for (Level level : {Level::scalar, Level::sse2, Level::ssse3, Level::avx2}) {
            if (level < Simd::baseline || level > Simd::BestLevel())
                continue;
            Simd::PinnedLevel const pinned(level);
            KernelRun run(GetParam());
            body(run);
            EXPECT_EQ("", run.failures.substr(0, 1000))
                << GetParam().name << " at level " << static_cast<int>(level);
        }
    }
};

TEST_P(KernelTest, AgreesWithScalarReferenceAtEveryLevel) {
    ForEachLevel([&](KernelRun& run) {
        for (std::size_t length = 0; length <= maxLength; length += GetParam().unit)
            for (std::size_t round = 0; round < 32; ++round)
                run.Try(MakeContent(GetParam(), length, run.random), round / 2, round % 2 == 0);
    });
}

// One piece at each of the first 40 positions of a run of another piece, for the first 12 pieces.
TEST_P(KernelTest, AgreesForOneOddSequenceInARun) {
    Pieces const& pieces = GetParam().pieces;
    std::size_t const count = std::min<std::size_t>(pieces.size(), 12);
    ForEachLevel([&](KernelRun& run) {
        for (std::size_t common = 0; common < count; ++common)
            for (std::size_t odd = 0; odd < count; ++odd)
                for (std::size_t place = 0; place < 40; ++place) {
                    std::string content;
                    for (std::size_t i = 0; content.size() < maxLength / 2; ++i)
                        content += pieces[i == place ? odd : common];
                    run.Try(content, 0, true);
                }
    });
}

std::string NameOf(testing::TestParamInfo<Kernel> const& info) {
    std::string name = info.param.name;
    std::erase_if(name, [](char c) { return std::isalnum(static_cast<unsigned char>(c)) == 0; });
    return name;
}

INSTANTIATE_TEST_SUITE_P(Simd, KernelTest, testing::ValuesIn(AllKernels()), NameOf);

} // namespace
