// Case tables that a test can change one entry at a time. They replace those of the locale.
#pragma once

#include <array>
#include <cstdint>

#include <ctype.h>

#include "strings/LocaleCase.h"

// Replaces the tables of tolower and toupper in this thread during its lifetime. Does not replace
// the functions themselves. Starts with the tables of the current locale.
class OtherCaseTables {
public:
    OtherCaseTables() {
        // The first call of LettersAreAscii switches the locale, which would restore its tables.
        LettersAreAscii();
        for (int i = 0; i < entries; ++i) {
            lower[i] = formerLower[i - belowZero];
            upper[i] = formerUpper[i - belowZero];
        }
        *__ctype_tolower_loc() = lower.data() + belowZero;
        *__ctype_toupper_loc() = upper.data() + belowZero;
    }

    ~OtherCaseTables() {
        *__ctype_tolower_loc() = formerLower;
        *__ctype_toupper_loc() = formerUpper;
    }

    OtherCaseTables(OtherCaseTables const&) = delete;
    OtherCaseTables& operator=(OtherCaseTables const&) = delete;

    std::int32_t& Lower(unsigned char byte) { return lower[byte + belowZero]; }
    std::int32_t& Upper(unsigned char byte) { return upper[byte + belowZero]; }

private:
    // The tables of the C library start at index -128.
    static constexpr int belowZero = 128;
    static constexpr int entries = belowZero + 256;

    std::int32_t const* const formerLower = *__ctype_tolower_loc();
    std::int32_t const* const formerUpper = *__ctype_toupper_loc();
    std::array<std::int32_t, entries> lower{};
    std::array<std::int32_t, entries> upper{};
};
