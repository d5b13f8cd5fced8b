// Tests the eighteen relations of a string class: between two strings, and between string and text.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

// Texts that differ in length, in case and by a byte above 127. Some are prefixes of others.
inline std::vector<std::string> const relatedTexts{"", "a", "A", "ab", "b", "\xE4"};

// Expects that `holds` returns `expected` for two strings, and for a text on either side.
template <class String, class Relation>
void ExpectRelation(bool expected, std::string const& left, std::string const& right,
                    Relation holds) {
    String const leftString(left.c_str()), rightString(right.c_str());
    EXPECT_EQ(expected, holds(leftString, rightString)) << left << ", " << right;
    EXPECT_EQ(expected, holds(leftString, right.c_str())) << left << ", text " << right;
    EXPECT_EQ(expected, holds(left.c_str(), rightString)) << "text " << left << ", " << right;
}

// Compares with the relations of std::string, which orders unsigned bytes as strcmp does.
template <class String>
void ExpectRelationsOfBytes() {
    for (std::string const& l : relatedTexts) {
        for (std::string const& r : relatedTexts) {
            ExpectRelation<String>(l == r, l, r, std::equal_to<>());
            ExpectRelation<String>(l != r, l, r, std::not_equal_to<>());
            ExpectRelation<String>(l < r, l, r, std::less<>());
            ExpectRelation<String>(l <= r, l, r, std::less_equal<>());
            ExpectRelation<String>(l > r, l, r, std::greater<>());
            ExpectRelation<String>(l >= r, l, r, std::greater_equal<>());
        }
    }
}
