// In a step, the only branches that depend on the lengths of the sequences skip the code for
// surrogate pairs.
//
// Each code unit of the source has its own lane. The lane of the last code unit of a sequence
// receives the output. Four bytes of UTF-8 and surrogate pairs may be divided between two lanes. A
// shuffle from a table then moves the lanes with output to the left. A lane can access the code
// units before it, and so also detects ill-formed sequences, which are left to the scalar code.
#include "simd/UtfMixed.h"

#if SIMD_X86

#include <tmmintrin.h>

#include <array>
#include <bit>
#include <cstddef>

#include "simd/UtfSequences.h"

namespace Simd {

namespace {

using namespace Vectors;
using UtfBlocks::BlockProgress;

// ---- Tables of shuffles: for each byte of the result, its index in the source vector

struct alignas(16) Shuffle {
    unsigned char from[16];
};

// For each mask, moves to the left the lanes of `size` bytes whose bit is set. For lanes of 2 bytes
// and the mask 0b00001010 the entry begins with 2 3 6 7: the lanes A B C D .. become B D ...
template <int size>
constexpr auto MakeLeftShuffles() {
    constexpr int lanes = 16 / size;
    std::array<Shuffle, std::size_t{1} << lanes> shuffles{};
    for (std::size_t mask = 0; mask < shuffles.size(); ++mask) {
        unsigned char* byte = shuffles[mask].from;
        for (int place = 0; place < 16; ++place)
            if ((mask >> place / size & 1) != 0)
                *byte++ = static_cast<unsigned char>(place);
    }
    return shuffles;
}
constexpr auto leftShuffles16 = MakeLeftShuffles<2>();
constexpr auto leftShuffles32 = MakeLeftShuffles<4>();

// For the lengths of four sequences, moves the last 1 to 4 bytes of each lane of 32 bits to the
// left. The bits i (value 1) and i + 4 (value 2) hold the length of sequence i, minus one. For the
// lengths 1 3 1 2 the index is 0b0010'1000 and the entry begins with 3 5 6 7 11 14 15.
constexpr auto MakeTailShuffles() {
    std::array<Shuffle, 256> shuffles{};
    for (std::size_t lengths = 0; lengths < 256; ++lengths) {
        unsigned char* byte = shuffles[lengths].from;
        for (int lane = 0; lane < 4; ++lane) {
            int const length =
                1 + static_cast<int>((lengths >> lane & 1) + (lengths >> lane >> 4 & 1) * 2);
            for (int place = 4 * lane + 4 - length; place < 4 * lane + 4; ++place)
                *byte++ = static_cast<unsigned char>(place);
        }
    }
    return shuffles;
}
constexpr auto tailShuffles = MakeTailShuffles();

SIMD_TARGET_SSSE3 inline Vector Shuffled(Vector lanes, Shuffle const& shuffle) {
    return _mm_shuffle_epi8(lanes, _mm_load_si128(reinterpret_cast<Vector const*>(shuffle.from)));
}

// Write 16 bytes, of which the first are the selected lanes or the tails. Return the end of these.
SIMD_TARGET_SSSE3 inline unsigned short* CompressLeft(unsigned short* to, Vector lanes,
                                                      unsigned mask) {
    Store(to, Shuffled(lanes, leftShuffles16[mask]));
    return to + std::popcount(mask);
}
SIMD_TARGET_SSSE3 inline unsigned int* CompressLeft(unsigned int* to, Vector lanes, unsigned mask) {
    Store(to, Shuffled(lanes, leftShuffles32[mask]));
    return to + std::popcount(mask);
}
SIMD_TARGET_SSSE3 inline unsigned char* CompressTailsLeft(unsigned char* to, Vector lanes,
                                                          unsigned lengths) {
    Store(to, Shuffled(lanes, tailShuffles[lengths]));
    return to + 4 + std::popcount(lengths) + std::popcount(lengths >> 4);
}

// Returns, for each byte, the byte `bytes` positions before it. The bytes before the first byte of
// `lanes` are the last ones of `vectorBefore`.
// Preceding<1> of A B C .. after .. X Y Z is Z A B ...
template <int bytes>
SIMD_TARGET_SSSE3 inline Vector Preceding(Vector lanes, Vector vectorBefore) {
    return _mm_alignr_epi8(lanes, vectorBefore, 16 - bytes);
}

// ---- One class for each source encoding
//
// Transcode reads the next `step` code units, and moves `to` to the end of its output. It writes up
// to `room` code units, of which those after the output are unspecified. It returns false, and
// changes nothing, if a sequence is ill-formed. The last code units may begin an incomplete
// sequence: UnfinishedUnits returns their number. PartialOutputUnits returns the number of code
// units already written for them.

template <class To, class From>
class Shuffler;

template <class To>
class Shuffler<To, unsigned char> {
public:
    static constexpr int step = 16, room = 16;

    SIMD_TARGET_SSSE3 bool Transcode(unsigned char const* from, To*& to) {
        Bytes const bytes(Load(from), before);
        if (MaskOf8(bytes.Errors()) != 0)
            return false;
        before = bytes.zero;
        to = Write(to, bytes);
        return true;
    }

    // The sequences are well-formed, so the lead byte determines the length.
    static int UnfinishedUnits(unsigned char const* begin, unsigned char const* end) {
        for (int count = 1; count <= 3 && count <= end - begin; ++count)
            if (end[-count] >= 0xC0)
                return LengthByLead(end[-count]) > count ? count : 0;
        return 0;
    }
    // The high surrogate of a pair is written with the third byte.
    static int PartialOutputUnits(int unfinished) {
        return sizeof(To) == 2 && unfinished == 3 ? 1 : 0;
    }

private:
    static int LengthByLead(unsigned char lead) { return lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4; }

    // The bytes, and the bytes one, two and three positions before them. For "a\u20AC", `zero` is
    // 61 E2 82 AC, `one` is .. 61 E2 82 and `two` is .. .. 61 E2, so the lane of AC has its whole
    // sequence.
    struct Bytes {
        SIMD_TARGET_SSSE3 Bytes(Vector bytes, Vector before)
            : zero(bytes),
              one(Preceding<1>(bytes, before)),
              two(Preceding<2>(bytes, before)),
              three(Preceding<3>(bytes, before)) {}

        // Marks each byte at which a trailing byte is missing or unexpected, and each byte of F8 or
        // more. For UTF-16, also marks the second byte of each encoded surrogate.
        Vector Errors() const {
            Vector const found = Or(Xor(Is8(zero, 0xC0, 0x80), Expected()), AtLeast8(zero, 0xF8));
            if constexpr (sizeof(To) == 2)
                return Or(found, And(Is8(one, 0xFF, 0xED), AtLeast8(zero, 0xA0)));
            return found;
        }

        // Marks the positions that need a trailing byte.
        Vector Expected() const { return Or(AtLeast8(one, 0xC0), EndsThreeOrFour()); }
        Vector EndsThreeOrFour() const { return Or(AtLeast8(two, 0xE0), AtLeast8(three, 0xF0)); }

        Vector zero, one, two, three;
    };

    // Returns the lower half of the code point that ends at each byte, in lanes of 16 bits, without
    // the marker bits. At the AC of E2 82 AC: low is 2C | 02 << 6, truncated to the byte AC; high
    // is 02 >> 2 | 2 << 4, the byte 20; together 20AC.
    static TwoVectors LowerHalves(Bytes const& bytes) {
        Vector const middle = And(bytes.one, bytes.Expected());
        Vector const top = And(bytes.two, bytes.EndsThreeOrFour());
        Vector const low = Or(And(bytes.zero, All8(0x7F)), Left16(middle, 0x0303, 6));
        Vector const high = Or(Right16(middle, 2, 0x0F0F), Left16(top, 0x0F0F, 4));
        return Join8(low, high);
    }

    // A lane has output unless its byte is a lead byte or the second byte of three or four: for 61
    // E2 82 AC the lanes are 0061 .. .. 20AC, which become 0061 20AC.
    SIMD_TARGET_SSSE3 static unsigned short* Write(unsigned short* to, Bytes const& bytes) {
        TwoVectors units = LowerHalves(bytes);
        if (MaskOf8(Or(AtLeast8(bytes.two, 0xF0), AtLeast8(bytes.three, 0xF0))) != 0)
            units = WithPairs(units, bytes);
        unsigned const mask = MaskOf8(Or(AtLeast8(bytes.zero, 0xC0), AtLeast8(bytes.one, 0xE0)));
        to = CompressLeft(to, units.first, ~mask & 0xFF);
        return CompressLeft(to, units.second, ~mask >> 8 & 0xFF);
    }

    // The high surrogate consists of bits of the first three bytes, and is in the lane of the
    // third. At the 98 of F0 9F 98 80: 1F << 2 | 1 is the offset 7D, and 7D - 40 | D800 is D83D.
    static TwoVectors WithPairs(TwoVectors units, Bytes const& bytes) {
        TwoVectors const offsets =
            Join8(Or(Left16(bytes.one, 0x3F3F, 2), Right16(bytes.zero, 4, 0x0303)),
                  And(bytes.two, All8(0x07)));
        Vector const third = AtLeast8(bytes.two, 0xF0), fourth = AtLeast8(bytes.three, 0xF0);
        TwoVectors const isHigh = Join8(third, third), isLow = Join8(fourth, fourth);
        return {WithPairs(units.first, offsets.first, isHigh.first, isLow.first),
                WithPairs(units.second, offsets.second, isHigh.second, isLow.second)};
    }
    static Vector WithPairs(Vector units, Vector offsets, Vector isHigh, Vector isLow) {
        Vector const high = Or(Subtract16(offsets, 0x40), All16(0xD800));
        Vector const low = Or(And(units, All16(0x3FF)), All16(0xDC00));
        return Select(isHigh, high, Select(isLow, low, units));
    }

    // The lane of the last byte has the output. At the 80 of F0 9F 98 80: 0 << 2 | 1 is the upper
    // half 1, which is joined with the lower half F600.
    SIMD_TARGET_SSSE3 static unsigned int* Write(unsigned int* to, Bytes const& bytes) {
        Vector const upper = And(AtLeast8(bytes.three, 0xF0),
                                 Or(Left16(bytes.three, 0x0707, 2), Right16(bytes.two, 4, 0x0303)));
        TwoVectors const lower = LowerHalves(bytes), uppers = Widen8(upper);
        TwoVectors const first = Join16(lower.first, uppers.first);
        TwoVectors const second = Join16(lower.second, uppers.second);
        unsigned const mask = ~MaskOf8(
            Or(AtLeast8(bytes.zero, 0xC0), AtLeast8(bytes.one, 0xE0), AtLeast8(bytes.two, 0xF0)));
        to = CompressLeft(to, first.first, mask & 0xF);
        to = CompressLeft(to, first.second, mask >> 4 & 0xF);
        to = CompressLeft(to, second.first, mask >> 8 & 0xF);
        return CompressLeft(to, second.second, mask >> 12 & 0xF);
    }

    Vector before = Zero();
};

template <class To>
class Shuffler<To, unsigned short> {
public:
    static constexpr int step = 8, room = sizeof(To) == 1 ? 28 : 8;

    SIMD_TARGET_SSSE3 bool Transcode(unsigned short const* from, To*& to) {
        Vector const units = Load(from), unitsBefore = Preceding<2>(units, before);
        // A code unit must be a low surrogate if the one before it is a high one, and only then.
        if (MaskOf8(Xor(AreLow(units), AreHigh(unitsBefore))) != 0)
            return false;
        before = units;
        to = Write(to, units, unitsBefore);
        return true;
    }

    static int UnfinishedUnits(unsigned short const* begin, unsigned short const* end) {
        return end != begin && IsHighSurrogate(end[-1]) ? 1 : 0;
    }
    // The first two of four bytes are written with the high surrogate.
    static int PartialOutputUnits(int unfinished) { return sizeof(To) == 1 ? 2 * unfinished : 0; }

private:
    static Vector AreHigh(Vector units) { return Is16(units, 0xFC00, 0xD800); }
    static Vector AreLow(Vector units) { return Is16(units, 0xFC00, 0xDC00); }

    // Each code unit has a lane of 32 bits, whose last one, two or three bytes are output. For
    // 0041 00E9 20AC the lanes are .. .. .. 41, .. .. C3 A9 and .. E2 82 AC, which become 41 C3 A9
    // E2 82 AC.
    SIMD_TARGET_SSSE3 static unsigned char* Write(unsigned char* to, Vector units,
                                                  Vector unitsBefore) {
        Vector const one = Is16(units, 0xFF80, 0), oneOrTwo = Is16(units, 0xF800, 0);
        Vector const surrogates = Is16(units, 0xF800, 0xD800);
        Vector ends = Or(Right16(units, 6, 0x3F), Left16(units, 0x3F, 8),
                         Select(oneOrTwo, All16(0x80C0), All16(0x8080)));
        ends = Select(one, Left16(units, 0x7F, 8), ends);
        if (MaskOf8(surrogates) != 0)
            ends = Select(surrogates, HalvesOfFour(units, unitsBefore), ends);
        TwoVectors const lanes = Join16(Or(Right16(units, 4, 0x0F00), All16(0xE000)), ends);
        Vector const three = Not(Or(oneOrTwo, surrogates));
        unsigned const lengths = MaskOf16({Not(Or(one, three)), three});
        to = CompressTailsLeft(to, lanes.first, (lengths & 0x0F) | (lengths >> 4 & 0xF0));
        return CompressTailsLeft(to, lanes.second, (lengths >> 4 & 0x0F) | (lengths >> 8 & 0xF0));
    }

    // Returns the first two bytes of four at a high surrogate, the last two at a low one: D83D DE00
    // becomes the lanes 9FF0 8098, which are F0 9F 98 80 in memory.
    static Vector HalvesOfFour(Vector units, Vector unitsBefore) {
        Vector const offset = Add16(units, 0x40);
        Vector const first = Or(Right16(offset, 8, 0x07), Left16(offset, 0xFC, 6), All16(0x80F0));
        Vector const last = Or(Left16(unitsBefore, 0x03, 4), Right16(units, 6, 0x0F),
                               Left16(units, 0x3F, 8), All16(0x8080));
        return Select(AreHigh(units), first, last);
    }

    // A pair is written in the lane of its low surrogate; a high one writes nothing. At the DE00 of
    // D83D DE00: 3D << 10 | 200 is the lower half F600, and 0 + 1 is the upper half.
    SIMD_TARGET_SSSE3 static unsigned int* Write(unsigned int* to, Vector units,
                                                 Vector unitsBefore) {
        Vector const low = AreLow(units);
        Vector const pairs = Or(Left16(unitsBefore, 0x3F, 10), And(units, All16(0x3FF)));
        Vector const upper = Add16(Right16(unitsBefore, 6, 0x0F), 1);
        TwoVectors const lanes = Join16(Select(low, pairs, units), And(upper, low));
        unsigned const mask = ~MaskOf16({AreHigh(units), Zero()});
        to = CompressLeft(to, lanes.first, mask & 0xF);
        return CompressLeft(to, lanes.second, mask >> 4 & 0xF);
    }

    Vector before = Zero();
};

template <class To>
class Shuffler<To, unsigned int> {
public:
    static constexpr int step = 4, room = 16 / sizeof(To);

    SIMD_TARGET_SSSE3 bool Transcode(unsigned int const* from, To*& to) {
        Vector const values = Load(from);
        Vector const basic = AndNot(Is32(values, 0xFFFF0000, 0), Is32(values, 0xFFFFF800, 0xD800));
        if (MaskOf32(Or(basic, AreSupplementary(values))) != 0xF)
            return false;
        to = Write(to, values);
        return true;
    }

    static int UnfinishedUnits(unsigned int const*, unsigned int const*) { return 0; }
    static int PartialOutputUnits(int) { return 0; }

private:
    static Vector AreSupplementary(Vector values) {
        return Is32(Subtract32(values, 0x10000), 0xFFF00000, 0);
    }

    // Each lane has the bytes of its sequence, the last byte in the highest byte: for 1F600 the
    // bytes F0 9F 98 80, for E9 the bytes .. .. C3 A9.
    SIMD_TARGET_SSSE3 static unsigned char* Write(unsigned char* to, Vector values) {
        Vector const one = Is32(values, 0xFFFFFF80, 0), oneOrTwo = Is32(values, 0xFFFFF800, 0);
        Vector const four = AreSupplementary(values);
        Vector const leads =
            Or(And(oneOrTwo, All32(0x00400000)), AndNot(All32(0x6000), four), All32(0x808080F0));
        Vector const sequences = Or(Or(Left32(values, 0x3F, 24), Left32(values, 0xFC0, 10)),
                                    Right32(values, 4, 0x3F00), Right32(values, 18, 0x07), leads);
        Vector const lanes = Select(one, Left32(values, 0x7F, 24), sequences);
        // The lengths minus one: two and four bytes set the first bit, three and four the second.
        unsigned const even = MaskOf32(Or(AndNot(oneOrTwo, one), four));
        return CompressTailsLeft(to, lanes, even | (MaskOf32(oneOrTwo) ^ 0xF) << 4);
    }

    // Each lane has a pair, or one code unit and an unused half: for 1F600 20AC the lanes of 16
    // bits are D83D DE00 20AC 0000, which become D83D DE00 20AC.
    SIMD_TARGET_SSSE3 static unsigned short* Write(unsigned short* to, Vector values) {
        Vector const four = AreSupplementary(values);
        Vector const pairs = Or(Right32(Subtract32(values, 0x10000), 10, 0x3FF),
                                Left32(values, 0x3FF, 16), All32(0xDC00D800));
        unsigned const mask = MaskOf16({Or(four, All32(0xFFFF)), Zero()});
        return CompressLeft(to, Select(four, pairs, values), mask);
    }
};

} // namespace

template <class To, class From>
SIMD_TARGET_SSSE3 BlockProgress TranscodeMixed(From const* from, std::ptrdiff_t available, To* to,
                                               std::ptrdiff_t room) {
    Shuffler<To, From> shuffler;
    constexpr int step = shuffler.step;
    From const* position = from;
    From const* const end = from + available;
    To* target = to;
    To* const full = to + room;
    while (end - position >= step && full - target >= shuffler.room) {
        bool const atBlock = (position - from) % 16 == 0 && end - position >= 16;
        if (atBlock && UtfBlocks::AreEqual<To, From>(position))
            break;
        if (!shuffler.Transcode(position, target))
            break;
        position += step;
    }
    int const unfinished = shuffler.UnfinishedUnits(from, position);
    return {static_cast<int>(position - from) - unfinished,
            static_cast<int>(target - to) - shuffler.PartialOutputUnits(unfinished)};
}

template BlockProgress TranscodeMixed(unsigned short const*, std::ptrdiff_t, unsigned char*,
                                      std::ptrdiff_t);
template BlockProgress TranscodeMixed(unsigned int const*, std::ptrdiff_t, unsigned char*,
                                      std::ptrdiff_t);
template BlockProgress TranscodeMixed(unsigned char const*, std::ptrdiff_t, unsigned short*,
                                      std::ptrdiff_t);
template BlockProgress TranscodeMixed(unsigned int const*, std::ptrdiff_t, unsigned short*,
                                      std::ptrdiff_t);
template BlockProgress TranscodeMixed(unsigned char const*, std::ptrdiff_t, unsigned int*,
                                      std::ptrdiff_t);
template BlockProgress TranscodeMixed(unsigned short const*, std::ptrdiff_t, unsigned int*,
                                      std::ptrdiff_t);

} // namespace Simd

#endif
