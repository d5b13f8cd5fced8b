// Encoded texts for tests: code units as vectors, and their format in failure messages.
#pragma once

#include <cstdio>
#include <initializer_list>
#include <string>
#include <vector>

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

// Return views of the code units, which must outlive the views.
template <class E>
UStringRef<E> RefOf(Units<E> const& units) {
    return UStringRef<E>(units.data(), units.data() + units.size());
}
template <class Unit>
ConstArrayOf<Unit> ArrayOfUnits(std::vector<Unit> const& units) {
    return ConstArrayOf<Unit>(units.data(), units.size());
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
