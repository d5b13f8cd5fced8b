// Case tables that a test can change entry by entry, in the place of those of the locale.
#pragma once

#include <array>
#include <cstdint>

#include <ctype.h>

#include "strings/LocaleCase.h"

// Replaces the tables behind tolower and toupper in this thread, until its destruction. Does not
// affect the functions themselves. Starts with the tables of the current locale.
class OtherCaseTables {
public:
    OtherCaseTables() {
        // Its first call switches the locale, which would put the locale's tables back.
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
    // The C library's tables begin with the bytes as signed numbers.
    static constexpr int belowZero = 128;
    static constexpr int entries = belowZero + 256;

    std::int32_t const* const formerLower = *__ctype_tolower_loc();
    std::int32_t const* const formerUpper = *__ctype_toupper_loc();
    std::array<std::int32_t, entries> lower{};
    std::array<std::int32_t, entries> upper{};
};
