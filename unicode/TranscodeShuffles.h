// Mixed texts, 16 units at a time and without a branch that depends on them: what makes texts fast
// whose sequences are of many kinds.
//
// Each unit of the source becomes the units that it ends, in a lane of its own; what is no unit of
// the target is squeezed out of the lanes by a shuffle, which stands in a table. A lane sees the
// units before it. Whether a sequence is bad is seen the same way; such a one is left to the plain
// form.
//
// For TranscodeRuns.h only, which has the plain form beside which the tests lay these. Not every
// x86-64 processor has the instructions: ask AreThere() first.
#pragma once

#if !defined(__SSE2__)

namespace TranscodeShuffles {

inline bool AreThere() { return false; }

} // namespace TranscodeShuffles

#else

#include <tmmintrin.h>

#include <array>
#include <bit>
#include <cstddef>

#include "data/ProcessorFeatures.h"
#include "unicode/Encodings.h"
#include "unicode/TranscodeBlocks.h"
#include "unicode/TranscodeSequences.h"
#include "unicode/Vectors.h"

// A function that is compiled for processors with SSSE3 and POPCNT.
#define WITH_SHUFFLES [[gnu::target("ssse3,popcnt")]]

namespace TranscodeShuffles {

using namespace Vectors;
using TranscodeBlocks::Taken;

inline bool AreThere() { return ProcessorFeatures::byteShuffles.IsThere(); }

// ---- Tables of shuffles: for each lane of the result, the place where its byte comes from

struct alignas(16) Shuffle {
    unsigned char from[16];
};

// For each mask, the lanes of `size` bytes whose bit is set, moved together.
template <int size>
constexpr auto MakeSqueezes() {
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
inline constexpr auto squeezes16 = MakeSqueezes<2>();
inline constexpr auto squeezes32 = MakeSqueezes<4>();

// For the lengths of four sequences, the last 1 to 4 bytes of each lane of 32 bits, moved together.
// The length of sequence i, less one, stands in the bits i and i + 4.
constexpr auto MakeTails() {
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
inline constexpr auto tails = MakeTails();

WITH_SHUFFLES inline Vector Shuffled(Vector lanes, Shuffle const& shuffle) {
    return _mm_shuffle_epi8(lanes, _mm_load_si128(reinterpret_cast<Vector const*>(shuffle.from)));
}

// Write 16 bytes, and yield the place behind the units that count.
WITH_SHUFFLES inline unsigned short* Squeeze(unsigned short* to, Vector lanes, unsigned mask) {
    Store(to, Shuffled(lanes, squeezes16[mask]));
    return to + std::popcount(mask);
}
WITH_SHUFFLES inline unsigned int* Squeeze(unsigned int* to, Vector lanes, unsigned mask) {
    Store(to, Shuffled(lanes, squeezes32[mask]));
    return to + std::popcount(mask);
}
WITH_SHUFFLES inline unsigned char* SqueezeTails(unsigned char* to, Vector lanes,
                                                 unsigned lengths) {
    Store(to, Shuffled(lanes, tails[lengths]));
    return to + 4 + std::popcount(lengths) + std::popcount(lengths >> 4);
}

// The lanes of `bytes` bytes before each, the first of them from the vector before.
template <int bytes>
WITH_SHUFFLES inline Vector Before(Vector lanes, Vector vectorBefore) {
    return _mm_alignr_epi8(lanes, vectorBefore, 16 - bytes);
}

// ---- One source each
//
// Take takes `step` units, those behind the ones of the call before, writes up to `room` units and
// moves `to` behind those that count; or it yields false and takes nothing, because of a bad
// sequence. The last units may begin a sequence that goes on: Unfinished tells how many they are,
// and Early how many units of the target stand there for them already.

template <class Target, class Source>
class Shuffler;

template <class Target>
class Shuffler<Target, UTF8> {
public:
    using Unit = typename Target::Unit;
    static constexpr int step = 16, room = 16;

    WITH_SHUFFLES bool Take(unsigned char const* from, Unit*& to) {
        Bytes const bytes(Load(from), before);
        if (Bits8(bytes.Errors()) != 0)
            return false;
        before = bytes.zero;
        to = Write(to, bytes);
        return true;
    }

    static int Unfinished(unsigned char const* begin, unsigned char const* end) {
        for (int count = 1; count <= 3 && count <= end - begin; ++count)
            if (end[-count] >= 0xC0)
                return IsWhole(end - count, count) ? 0 : count;
        return 0;
    }
    // Of a pair the high surrogate comes with the third byte.
    static int Early(int unfinished) { return sizeof(Unit) == 2 && unfinished == 3 ? 1 : 0; }

private:
    static bool IsWhole(unsigned char const* sequence, int length) {
        return Sequences<UTF8>::Read(sequence, static_cast<std::size_t>(length)).form !=
               ReadSequence::Unfinished;
    }

    // The bytes, and those that stand one, two and three before them.
    struct Bytes {
        WITH_SHUFFLES Bytes(Vector bytes, Vector before)
            : zero(bytes),
              one(Before<1>(bytes, before)),
              two(Before<2>(bytes, before)),
              three(Before<3>(bytes, before)) {}

        // Where a trailing byte is missing or too much, at a byte that begins nothing, and to
        // UTF-16 at the second byte of a surrogate.
        Vector Errors() const {
            Vector const found = Or(Xor(Is8(zero, 0xC0, 0x80), Expected()), AtLeast8(zero, 0xF8));
            if constexpr (sizeof(Unit) == 2)
                return Or(found, And(Is8(one, 0xFF, 0xED), AtLeast8(zero, 0xA0)));
            return found;
        }

        // Where a trailing byte has to stand.
        Vector Expected() const { return Or(AtLeast8(one, 0xC0), EndsThreeOrFour()); }
        Vector EndsThreeOrFour() const { return Or(AtLeast8(two, 0xE0), AtLeast8(three, 0xF0)); }

        Vector zero, one, two, three;
    };

    // In lanes of 16 bits, the lower half of the character that ends at each byte. What is masked
    // out here are the marks of leading and trailing bytes.
    static TwoVectors LowerHalves(Bytes const& bytes) {
        Vector const middle = And(bytes.one, bytes.Expected());
        Vector const top = And(bytes.two, bytes.EndsThreeOrFour());
        Vector const low = Or(And(bytes.zero, All8(0x7F)), Left16(middle, 0x0303, 6));
        Vector const high = Or(Right16(middle, 2, 0x0F0F), Left16(top, 0x0F0F, 4));
        return Join8(low, high);
    }

    WITH_SHUFFLES static unsigned short* Write(unsigned short* to, Bytes const& bytes) {
        TwoVectors units = LowerHalves(bytes);
        if (Bits8(Or(AtLeast8(bytes.two, 0xF0), AtLeast8(bytes.three, 0xF0))) != 0)
            units = WithPairs(units, bytes);
        unsigned const mask = Bits8(Or(AtLeast8(bytes.zero, 0xC0), AtLeast8(bytes.one, 0xE0)));
        to = Squeeze(to, units.first, ~mask & 0xFF);
        return Squeeze(to, units.second, ~mask >> 8 & 0xFF);
    }

    // The high surrogate, from the first three bytes and in 16 bits, ends at the third one.
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

    WITH_SHUFFLES static unsigned int* Write(unsigned int* to, Bytes const& bytes) {
        Vector const upper = And(AtLeast8(bytes.three, 0xF0),
                                 Or(Left16(bytes.three, 0x0707, 2), Right16(bytes.two, 4, 0x0303)));
        TwoVectors const lower = LowerHalves(bytes), uppers = Widen8(upper);
        TwoVectors const first = Join16(lower.first, uppers.first);
        TwoVectors const second = Join16(lower.second, uppers.second);
        unsigned const mask = ~Bits8(
            Or(AtLeast8(bytes.zero, 0xC0), AtLeast8(bytes.one, 0xE0), AtLeast8(bytes.two, 0xF0)));
        to = Squeeze(to, first.first, mask & 0xF);
        to = Squeeze(to, first.second, mask >> 4 & 0xF);
        to = Squeeze(to, second.first, mask >> 8 & 0xF);
        return Squeeze(to, second.second, mask >> 12 & 0xF);
    }

    Vector before = Zero();
};

template <class Target>
class Shuffler<Target, UTF16> {
public:
    using Unit = typename Target::Unit;
    static constexpr int step = 8, room = sizeof(Unit) == 1 ? 28 : 8;

    WITH_SHUFFLES bool Take(unsigned short const* from, Unit*& to) {
        Vector const units = Load(from), unitsBefore = Before<2>(units, before);
        // A low surrogate must stand behind a high one, and nothing else may.
        if (Bits8(Xor(AreLow(units), AreHigh(unitsBefore))) != 0)
            return false;
        before = units;
        to = Write(to, units, unitsBefore);
        return true;
    }

    static int Unfinished(unsigned short const* begin, unsigned short const* end) {
        return end != begin && IsHighSurrogate(end[-1]) ? 1 : 0;
    }
    // The high surrogate gives the first two of four bytes.
    static int Early(int unfinished) { return sizeof(Unit) == 1 ? 2 * unfinished : 0; }

private:
    static Vector AreHigh(Vector units) { return Is16(units, 0xFC00, 0xD800); }
    static Vector AreLow(Vector units) { return Is16(units, 0xFC00, 0xDC00); }

    // Each unit has a lane of 32 bits, of which the last one, two or three bytes count. The last
    // two differ between the kinds of units.
    WITH_SHUFFLES static unsigned char* Write(unsigned char* to, Vector units, Vector unitsBefore) {
        Vector const one = Is16(units, 0xFF80, 0), oneOrTwo = Is16(units, 0xF800, 0);
        Vector const surrogates = Is16(units, 0xF800, 0xD800);
        Vector ends = Or(Right16(units, 6, 0x3F), Left16(units, 0x3F, 8),
                         Select(oneOrTwo, All16(0x80C0), All16(0x8080)));
        ends = Select(one, Left16(units, 0x7F, 8), ends);
        if (Bits8(surrogates) != 0)
            ends = Select(surrogates, HalvesOfFour(units, unitsBefore), ends);
        TwoVectors const lanes = Join16(Or(Right16(units, 4, 0x0F00), All16(0xE000)), ends);
        Vector const three = Not(Or(oneOrTwo, surrogates));
        unsigned const lengths = Bits16({Not(Or(one, three)), three});
        to = SqueezeTails(to, lanes.first, (lengths & 0x0F) | (lengths >> 4 & 0xF0));
        return SqueezeTails(to, lanes.second, (lengths >> 4 & 0x0F) | (lengths >> 8 & 0xF0));
    }

    // What a high surrogate and a low one give of the four bytes.
    static Vector HalvesOfFour(Vector units, Vector unitsBefore) {
        Vector const offset = Add16(units, 0x40);
        Vector const first = Or(Right16(offset, 8, 0x07), Left16(offset, 0xFC, 6), All16(0x80F0));
        Vector const last = Or(Left16(unitsBefore, 0x03, 4), Right16(units, 6, 0x0F),
                               Left16(units, 0x3F, 8), All16(0x8080));
        return Select(AreHigh(units), first, last);
    }

    // The character of a pair ends at its low surrogate; a high one gives nothing.
    WITH_SHUFFLES static unsigned int* Write(unsigned int* to, Vector units, Vector unitsBefore) {
        Vector const low = AreLow(units);
        Vector const pairs = Or(Left16(unitsBefore, 0x3F, 10), And(units, All16(0x3FF)));
        Vector const upper = Add16(Right16(unitsBefore, 6, 0x0F), 1);
        TwoVectors const lanes = Join16(Select(low, pairs, units), And(upper, low));
        unsigned const mask = ~Bits16({AreHigh(units), Zero()});
        to = Squeeze(to, lanes.first, mask & 0xF);
        return Squeeze(to, lanes.second, mask >> 4 & 0xF);
    }

    Vector before = Zero();
};

template <class Target>
class Shuffler<Target, UTF32> {
public:
    using Unit = typename Target::Unit;
    static constexpr int step = 4, room = 16 / sizeof(Unit);

    WITH_SHUFFLES bool Take(unsigned int const* from, Unit*& to) {
        Vector const values = Load(from);
        Vector const basic = AndNot(Is32(values, 0xFFFF0000, 0), Is32(values, 0xFFFFF800, 0xD800));
        if (Bits32(Or(basic, AreSupplementary(values))) != 0xF)
            return false;
        to = Write(to, values);
        return true;
    }

    static int Unfinished(unsigned int const*, unsigned int const*) { return 0; }
    static int Early(int) { return 0; }

private:
    static Vector AreSupplementary(Vector values) {
        return Is32(Subtract32(values, 0x10000), 0xFFF00000, 0);
    }

    // Each lane has the four bytes, as far as they count.
    WITH_SHUFFLES static unsigned char* Write(unsigned char* to, Vector values) {
        Vector const one = Is32(values, 0xFFFFFF80, 0), oneOrTwo = Is32(values, 0xFFFFF800, 0);
        Vector const four = AreSupplementary(values);
        Vector const leads =
            Or(And(oneOrTwo, All32(0x00400000)), AndNot(All32(0x6000), four), All32(0x808080F0));
        Vector const sequences = Or(Or(Left32(values, 0x3F, 24), Left32(values, 0xFC0, 10)),
                                    Right32(values, 4, 0x3F00), Right32(values, 18, 0x07), leads);
        Vector const lanes = Select(one, Left32(values, 0x7F, 24), sequences);
        // In two bits: two and four bytes set the first, three and four the second.
        unsigned const even = Bits32(Or(AndNot(oneOrTwo, one), four));
        return SqueezeTails(to, lanes, even | (Bits32(oneOrTwo) ^ 0xF) << 4);
    }

    // Each lane has a pair, or one unit and nothing that counts.
    WITH_SHUFFLES static unsigned short* Write(unsigned short* to, Vector values) {
        Vector const four = AreSupplementary(values);
        Vector const pairs = Or(Right32(Subtract32(values, 0x10000), 10, 0x3FF),
                                Left32(values, 0x3FF, 16), All32(0xDC00D800));
        unsigned const mask = Bits16({Or(four, All32(0xFFFF)), Zero()});
        return Squeeze(to, Select(four, pairs, values), mask);
    }
};

// Takes what there is and what there is room for, but for less than a step, up to a bad sequence or
// to 16 units that are the same in both encodings, which are copied faster.
template <class Target, class Source>
WITH_SHUFFLES Taken Take(typename Source::Unit const* from, std::ptrdiff_t available,
                         typename Target::Unit* to, std::ptrdiff_t room) {
    Shuffler<Target, Source> shuffler;
    constexpr int step = shuffler.step;
    auto const* position = from;
    auto const* const end = from + available;
    auto* target = to;
    auto* const full = to + room;
    while (end - position >= step && full - target >= shuffler.room) {
        bool const looks = (position - from) % 16 == 0 && end - position >= 16;
        if (looks && TranscodeBlocks::AreSame<Target, Source>(position))
            break;
        if (!shuffler.Take(position, target))
            break;
        position += step;
    }
    int const unfinished = shuffler.Unfinished(from, position);
    return {static_cast<int>(position - from) - unfinished,
            static_cast<int>(target - to) - shuffler.Early(unfinished)};
}

} // namespace TranscodeShuffles

#undef WITH_SHUFFLES

#endif
