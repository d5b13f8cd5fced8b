// The order in which people expect texts with numbers.
#pragma once

#include <compare>
#include <string_view>

// Compares by a total order; only equal texts are equal.
//
// Numerals come first, by their exact value: digits, possibly with a sign before them, and with a
// point and more digits after them ("-5", "+007", "3.25"). Exponents and separators of thousands
// make a text that is no numeral.
//
// Other texts are compared by bytes, but each run of digits in them by its value, so "b-9" is less
// than "b-10". Texts of the same rank ("1" and "01.0") are compared by bytes.
std::strong_ordering CompareTexts(std::string_view left, std::string_view right);
