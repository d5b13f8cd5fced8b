// Reference implementation of the transcoders: one code unit at a time. Shares no code with them.
#pragma once

#include "tests/unicode/TextStreams.h"

namespace Naive {

inline bool IsTrail(unsigned byte) { return byte >= 0x80 && byte <= 0xBF; }
inline bool IsSurrogate(unsigned unit) { return unit >= 0xD800 && unit <= 0xDFFF; }

// A decoded sequence. Values of long sequences become four bytes or a surrogate pair without
// validation.
struct Character {
    unsigned int value;
    bool isLong;
};

// Each Decode returns false if it needs another code unit, and throws if the sequence is
// ill-formed.

// An ill-formed sequence is reported at its fourth byte.
inline bool Decode(Units<UTF8> const& bytes, Character& character) {
    unsigned const lead = bytes[0];
    std::size_t const length = lead < 0x80   ? 1
                               : lead < 0xC0 ? 5
                               : lead < 0xE0 ? 2
                               : lead < 0xF0 ? 3
                               : lead < 0xF8 ? 4
                                             : 5;
    if (bytes.size() != length || !std::all_of(bytes.begin() + 1, bytes.end(), IsTrail)) {
        if (bytes.size() == 4)
            throw InvalidTextEncoding();
        return false;
    }
    unsigned value = length == 1 ? lead : lead & (0x7Fu >> length);
    for (std::size_t i = 1; i < length; ++i)
        value = value << 6 | (bytes[i] & 0x3Fu);
    character = {value, length == 4};
    return true;
}

inline bool Decode(Units<UTF16> const& units, Character& character) {
    if (units.size() == 1) {
        character = {units[0], false};
        return !IsSurrogate(units[0]);
    }
    if (units[0] > 0xDBFF || units[1] < 0xDC00 || units[1] > 0xDFFF)
        throw InvalidTextEncoding();
    character = {((units[0] & 0x3FFu) << 10 | (units[1] & 0x3FFu)) + 0x10000, true};
    return true;
}

inline bool Decode(Units<UTF32> const& values, Character& character) {
    if (IsSurrogate(values[0]) || values[0] >= 0x110000)
        throw InvalidTextEncoding();
    character = {values[0], values[0] > 0xFFFF};
    return true;
}

inline void Encode(Character const& character, Units<UTF8>& out) {
    unsigned const value = character.value;
    auto const emit = [&](unsigned byte) {
        out.push_back(static_cast<unsigned char>(byte));
    };
    if (character.isLong) {
        emit(0xF0 + value / 0x40000);
        emit(0x80 + value / 0x1000 % 0x40);
    } else if (value >= 0x800) {
        emit(0xE0 + value / 0x1000);
    } else if (value >= 0x80) {
        emit(0xC0 + value / 0x40);
    }
    if (character.isLong || value >= 0x800)
        emit(0x80 + value / 0x40 % 0x40);
    emit(value < 0x80 ? value : 0x80 + value % 0x40);
}

inline void Encode(Character const& character, Units<UTF16>& out) {
    unsigned const value = character.value;
    if (character.isLong)
        out.push_back(static_cast<unsigned short>(((value >> 10) - 0x40) | 0xD800));
    out.push_back(static_cast<unsigned short>(character.isLong ? 0xDC00 | (value & 0x3FF) : value));
}

inline void Encode(Character const& character, Units<UTF32>& out) {
    out.push_back(character.value);
}

// Appends the sequence in the target encoding and returns true, or returns false if it needs
// another code unit. Throws if the sequence is ill-formed.
template <class Source, class Target>
bool Step(std::vector<Source> const& sequence, std::vector<Target>& out) {
    Character character;
    if (!Decode(sequence, character))
        return false;
    // An encoded surrogate is accepted for UTF-32 only.
    if (sizeof(Target) == 2 && !character.isLong && IsSurrogate(character.value))
        throw InvalidTextEncoding();
    Encode(character, out);
    return true;
}

// The number of free code units below which a block is sent, and the capacity of a block.
template <class E>
constexpr std::size_t blockBound = 4 / sizeof(typename E::Unit);
template <class E>
constexpr std::size_t blockSize = 1024 * blockBound<E>;

// Does not derive from a receiver: FeedText needs only these three functions.
template <class Target, class Source>
class Transcoder {
public:
    void Start(Source) {
        pending.clear();
        outcome = TextOutcome<Target>();
    }

    void Receive(ConstArrayOf<typename Source::Unit> chunk) {
        Units<Source> sequence = std::exchange(pending, {});
        Units<Target> block;
        std::size_t next = 0;
        while (next < chunk.Length()) {
            if (blockSize<Target> - block.size() < blockBound<Target>)
                Send(block);
            bool done = false;
            while (!done && next < chunk.Length()) {
                sequence.push_back(chunk[next++]);
                done = Step(sequence, block);
            }
            if (!done)
                pending = sequence;
            sequence.clear();
        }
        if (!block.empty())
            Send(block);
    }

    void ReceiveEnd() {
        if (!pending.empty())
            throw InvalidTextEncoding();
        outcome.ended = true;
    }

    TextOutcome<Target> const& Run(Units<Source> const& text, ChunkLengths const& lengths) {
        FeedText<Source>(*this, outcome, text, lengths);
        return outcome;
    }

    TextOutcome<Target> outcome;

private:
    void Send(Units<Target>& block) {
        outcome.units.insert(outcome.units.end(), block.begin(), block.end());
        outcome.sizes.push_back(block.size());
        block.clear();
    }

    Units<Source> pending;
};

} // namespace Naive
