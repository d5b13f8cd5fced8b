// Encoded texts for tests: code units as vectors, and their format in failure messages.
#pragma once

#include <cstdio>

#include "data/ArrayOf.h"
#include "unicode/AutoUString.h"
#include "unicode/Encodings.h"
#include "unicode/UStringRef.h"

template <class E>
using Units = std::vector<typename E::Unit>;

// Return the code units of an array, a view or a string.
template <class Unit>
std::vector<Unit> UnitsOf(ConstArrayOf<Unit> units) {
    return std::vector<Unit>(units.begin, units.end);
}
template <class E>
Units<E> UnitsOf(UStringRef<E> text) {
    return Units<E>(text.begin, text.end);
}
template <class E>
Units<E> UnitsOf(AutoUString<E> const& text) {
    return UnitsOf(static_cast<UStringRef<E>>(text));
}

// Returns the complete code units that the bytes contain.
template <class E>
Units<E> UnitsIn(std::string_view bytes) {
    Units<E> units(bytes.size() / sizeof(typename E::Unit));
    if (!units.empty())
        std::memcpy(units.data(), bytes.data(), units.size() * sizeof(typename E::Unit));
    return units;
}

// Return views of the code units, which must outlive the views.
template <class E>
UStringRef<E> RefOf(Units<E> const& units) {
    return UStringRef<E>(units.data(), units.data() + units.size());
}
template <class Unit>
ConstArrayOf<Unit> ArrayOfUnits(std::vector<Unit> const& units) {
    return ConstArrayOf<Unit>(units.data(), units.size());
}

// Calls `body` with each Unicode encoding.
template <class Body>
void ForEachUnicode(Body body) {
    body(UTF8());
    body(UTF16());
    body(UTF32());
}

// Calls `body` with each encoding.
template <class Body>
void ForEachEncoding(Body body) {
    ForEachUnicode(body);
    body(Local8Bit());
}

// Calls `body` with the target and the source of each transcoder.
template <class Body>
void ForEachTranscoder(Body body) {
    body(UTF16(), UTF8());
    body(UTF32(), UTF8());
    body(UTF8(), UTF16());
    body(UTF32(), UTF16());
    body(UTF8(), UTF32());
    body(UTF16(), UTF32());
}

// Returns the code units in hexadecimal, with spaces between them.
template <class Unit>
std::string ShownUnits(std::vector<Unit> const& units) {
    std::string text;
    for (Unit unit : units) {
        char number[16];
        std::snprintf(number, sizeof(number), text.empty() ? "%X" : " %X",
                      static_cast<unsigned int>(unit));
        text += number;
    }
    return text;
}
