// The eighteen relations of a string class, between two strings and between a string and a text.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

// Texts of all kinds of order: equal, a prefix, another case, a high byte.
inline std::vector<std::string> const relatedTexts{"", "a", "A", "ab", "b", "\xE4"};

// Whether `holds` yields `expected` for the strings and for a text on either side.
template <class String, class Relation>
void ExpectRelation(bool expected, std::string const& left, std::string const& right,
                    Relation holds) {
    String const leftString(left.c_str()), rightString(right.c_str());
    EXPECT_EQ(expected, holds(leftString, rightString)) << left << ", " << right;
    EXPECT_EQ(expected, holds(leftString, right.c_str())) << left << ", text " << right;
    EXPECT_EQ(expected, holds(left.c_str(), rightString)) << "text " << left << ", " << right;
}

// The relations of std::string, which orders unsigned bytes as strcmp does, are the measure.
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
