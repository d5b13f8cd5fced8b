// Natural sort order: compares numbers in texts by value.
#pragma once

#include <compare>
#include <string_view>

// A total order; only identical texts compare equal.
//
// Numerals precede other texts and are compared by their exact value. A numeral consists of digits,
// optionally with a sign before them, and optionally with a point and digits after them ("-5",
// "+007", "3.25"). Texts with exponents or thousands separators are not numerals.
//
// Other texts are compared by bytes, except that a run of digits is compared by value, so "b-9" is
// less than "b-10". Texts that these rules do not distinguish ("1" and "01.0") are compared by
// bytes.
std::strong_ordering CompareTexts(std::string_view left, std::string_view right);
