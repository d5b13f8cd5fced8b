// The contract of the transcoders, written down one step at a time and one pair at a time, to
// compare the stages with. Nothing here is shared with them.
#pragma once

#include <cstddef>
#include <utility>

#include "data/ArrayOf.h"
#include "tests/unicode/TextStreams.h"
#include "tests/unicode/Units.h"
#include "unicode/Encodings.h"
#include "unicode/GenericTranscoder.h"

namespace Naive {

inline bool IsTrail(unsigned byte) { return byte >= 0x80 && byte <= 0xBF; }
inline bool IsSurrogate(unsigned unit) { return unit >= 0xD800 && unit <= 0xDFFF; }

// Each Step looks at the units of a sequence so far. It appends what the sequence becomes and
// yields true, or yields false if another unit has to be read; it throws if the sequence is bad.

inline bool Step(Units<UTF8> const& b, Units<UTF16>& out) {
    auto const emit = [&](unsigned unit) {
        out.push_back(static_cast<unsigned short>(unit));
    };
    if (b.size() == 1) {
        if (b[0] >= 0x80)
            return false;
        emit(b[0]);
    } else if (b.size() == 2) {
        if (!(b[0] >= 0xC0 && b[0] <= 0xDF && IsTrail(b[1])))
            return false;
        emit((b[0] & 0x1Fu) << 6 | (b[1] & 0x3Fu));
    } else if (b.size() == 3) {
        if (!(b[0] >= 0xE0 && b[0] <= 0xEF && IsTrail(b[1]) && IsTrail(b[2])))
            return false;
        if (b[0] == 0xED && b[1] > 0x9F)
            throw InvalidTextEncoding();
        emit(unsigned{b[0]} << 12 | (b[1] & 0x3Fu) << 6 | (b[2] & 0x3Fu));
    } else {
        if (!(b[0] >= 0xF0 && b[0] <= 0xF7 && IsTrail(b[1]) && IsTrail(b[2]) && IsTrail(b[3])))
            throw InvalidTextEncoding();
        unsigned const h = ((b[0] & 7u) << 8 | (b[1] & 0x3Fu) << 2 | (b[2] & 0x30u) >> 4) - 0x40;
        emit((h & 0xFFFF) | 0xD800);
        emit(0xDC00 | (b[2] & 0x0Fu) << 6 | (b[3] & 0x3Fu));
    }
    return true;
}

inline bool Step(Units<UTF8> const& b, Units<UTF32>& out) {
    if (b.size() == 1) {
        if (b[0] >= 0x80)
            return false;
        out.push_back(b[0]);
    } else if (b.size() == 2) {
        if (!(b[0] >= 0xC0 && b[0] <= 0xDF && IsTrail(b[1])))
            return false;
        out.push_back((b[0] & 0x1Fu) << 6 | (b[1] & 0x3Fu));
    } else if (b.size() == 3) {
        if (!(b[0] >= 0xE0 && b[0] <= 0xEF && IsTrail(b[1]) && IsTrail(b[2])))
            return false;
        out.push_back((b[0] & 0x0Fu) << 12 | (b[1] & 0x3Fu) << 6 | (b[2] & 0x3Fu));
    } else {
        if (!(b[0] >= 0xF0 && b[0] <= 0xF7 && IsTrail(b[1]) && IsTrail(b[2]) && IsTrail(b[3])))
            throw InvalidTextEncoding();
        out.push_back((b[0] & 7u) << 18 | (b[1] & 0x3Fu) << 12 | (b[2] & 0x3Fu) << 6 |
                      (b[3] & 0x3Fu));
    }
    return true;
}

inline bool IsPair(Units<UTF16> const& u) {
    return u[0] >= 0xD800 && u[0] <= 0xDBFF && u[1] >= 0xDC00 && u[1] <= 0xDFFF;
}

inline bool Step(Units<UTF16> const& u, Units<UTF8>& out) {
    auto const emit = [&](unsigned byte) {
        out.push_back(static_cast<unsigned char>(byte));
    };
    unsigned const u0 = u[0];
    if (u.size() == 1) {
        if (IsSurrogate(u0))
            return false;
        if (u0 < 0x80) {
            emit(u0);
        } else if (u0 < 0x800) {
            emit(0xC0 | u0 >> 6);
            emit(0x80 | (u0 & 0x3F));
        } else {
            emit(0xE0 | u0 >> 12);
            emit(0x80 | (u0 >> 6 & 0x3F));
            emit(0x80 | (u0 & 0x3F));
        }
        return true;
    }
    if (!IsPair(u))
        throw InvalidTextEncoding();
    unsigned const u1 = u[1];
    unsigned const v = u0 + 0x40;
    emit(0xF0 | (v >> 8 & 7));
    emit(0x80 | (v >> 2 & 0x3F));
    emit(0x80 | (v & 3) << 4 | (u1 >> 6 & 0x0F));
    emit(0x80 | (u1 & 0x3F));
    return true;
}

inline bool Step(Units<UTF16> const& u, Units<UTF32>& out) {
    if (u.size() == 1) {
        if (IsSurrogate(u[0]))
            return false;
        out.push_back(u[0]);
        return true;
    }
    if (!IsPair(u))
        throw InvalidTextEncoding();
    out.push_back(((u[0] & 0x3FFu) << 10 | (u[1] & 0x3FFu)) + 0x10000);
    return true;
}

inline void RefuseBadValue(unsigned value) {
    if (IsSurrogate(value) || value >= 0x110000)
        throw InvalidTextEncoding();
}

inline bool Step(Units<UTF32> const& v, Units<UTF8>& out) {
    auto const emit = [&](unsigned byte) {
        out.push_back(static_cast<unsigned char>(byte));
    };
    unsigned const value = v[0];
    RefuseBadValue(value);
    if (value < 0x80) {
        emit(value);
        return true;
    }
    if (value < 0x800) {
        emit(0xC0 + value / 0x40);
    } else if (value < 0x10000) {
        emit(0xE0 + value / 0x1000);
        emit(0x80 + value / 0x40 % 0x40);
    } else {
        emit(0xF0 + value / 0x40000);
        emit(0x80 + value / 0x1000 % 0x40);
        emit(0x80 + value / 0x40 % 0x40);
    }
    emit(0x80 + value % 0x40);
    return true;
}

inline bool Step(Units<UTF32> const& v, Units<UTF16>& out) {
    unsigned const value = v[0];
    RefuseBadValue(value);
    if (value <= 0xFFFF) {
        out.push_back(static_cast<unsigned short>(value));
    } else {
        out.push_back(static_cast<unsigned short>(0xD800 + (value - 0x10000) / 0x400));
        out.push_back(static_cast<unsigned short>(0xDC00 + (value - 0x10000) % 0x400));
    }
    return true;
}

// The units of a block, and below how many of them it is sent on.
template <class E>
struct Block;
template <>
struct Block<UTF8> {
    static constexpr std::size_t units = 4096, bound = 4;
};
template <>
struct Block<UTF16> {
    static constexpr std::size_t units = 2048, bound = 2;
};
template <>
struct Block<UTF32> {
    static constexpr std::size_t units = 1024, bound = 1;
};

// Not a receiver itself: FeedText asks for no more than the three calls.
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
            if (Block<Target>::units - block.size() < Block<Target>::bound)
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
