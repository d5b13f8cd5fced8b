// A locale of which only the two tables of the cases are there, entry by entry as a test likes.
#pragma once

#include <array>
#include <cstdint>

#include <ctype.h>

#include "strings/LocaleLetters.h"

// From its construction to its destruction who looks into the tables behind tolower and toupper
// finds these, in this thread. The functions themselves stay as they are. At first the tables are
// those of the locale.
class OtherCaseTables {
public:
    OtherCaseTables() {
        // Its first call sets the locale anew, which would take these tables away again.
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
