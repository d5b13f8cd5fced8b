// Checks a property of a fuzz target in a unit test, with random inputs.
#pragma once

#include <gtest/gtest.h>

#include "fuzz/Fuzz.h"
#include "tests/support/Bytes.h"

// Calls `property`. A violation fails the test, with the input in the message.
template <class Property>
void ExpectHolds(std::string const& input, Property property) {
    try {
        property();
    } catch (Fuzz::Violation const& violation) {
        ADD_FAILURE() << "not true that " << violation.what() << " for " << Shown(input);
    }
}

// Calls `property` with `rounds` inputs of up to `maxLength` bytes, until the test has a failure.
// About half of the bytes are less than 16, so lengths and choices are often small; most others are
// from `alphabet`.
template <class Property>
void ForRandomInputs(unsigned int seed, int rounds, std::size_t maxLength,
                     std::string const& alphabet, Property property) {
    std::mt19937 random(seed);
    for (int round = 0; round < rounds; ++round) {
        std::string bytes(random() % (maxLength + 1), '\0');
        for (char& byte : bytes) {
            unsigned int const kind = random() % 8;
            byte = kind < 4   ? static_cast<char>(random() % 16)
                   : kind < 7 ? alphabet[random() % alphabet.size()]
                              : static_cast<char>(random());
        }
        SCOPED_TRACE("seed " + std::to_string(seed) + ", round " + std::to_string(round));
        ExpectHolds(bytes, [&] { property(Fuzz::Input(bytes)); });
        if (testing::Test::HasFailure())
            return;
    }
}
