// Random well-formed texts with runs of characters of one kind, as in real texts.
#pragma once

#include <random>

#include "tests/unicode/NaiveTranscoder.h"

// Returns a character of one of six kinds: ASCII, Latin, Cyrillic, CJK, emoji, any.
inline unsigned int RandomCharacter(std::mt19937& random, unsigned kind) {
    auto const between = [&](std::pair<unsigned, unsigned> const& range) {
        return static_cast<unsigned>(range.first + random() % (range.second - range.first + 1));
    };
    constexpr std::pair<unsigned, unsigned> ranges[] = {
        {0, 0x7F}, {0xC0, 0xFF}, {0x410, 0x44F}, {0x4E00, 0x9FFF}, {0x1F300, 0x1F6FF}};
    if (kind < std::size(ranges))
        return kind == 2 && random() % 6 == 0 ? ' ' : between(ranges[kind]);
    unsigned value = 0xD800;
    while (Naive::IsSurrogate(value))
        value = random() % (random() % 2 == 0 ? 0x10000 : 0x110000);
    return value;
}

// Returns `length` characters in runs of 1 to 100 of one kind.
inline Units<UTF32> RandomCharacters(std::mt19937& random, std::size_t length) {
    Units<UTF32> characters;
    while (characters.size() < length) {
        unsigned const kind = random() % 6;
        std::size_t const run = 1 + random() % (random() % 2 == 0 ? 5 : 100);
        for (std::size_t i = 0; i < run && characters.size() < length; ++i)
            characters.push_back(RandomCharacter(random, kind));
    }
    return characters;
}

// Encodes characters with the reference implementation.
template <class E>
Units<E> Encoded(Units<UTF32> const& characters) {
    Units<E> units;
    for (unsigned int character : characters)
        Naive::Step(Units<UTF32>{character}, units);
    return units;
}
template <>
inline Units<UTF32> Encoded<UTF32>(Units<UTF32> const& characters) {
    return characters;
}

template <class E>
Units<E> RandomText(std::mt19937& random, std::size_t length) {
    return Encoded<E>(RandomCharacters(random, length));
}
