// A locale compiled for one test, which case-insensitive comparisons of the C library follow.
#pragma once

#include <cctype>
#include <cstring>

#include "tests/unicode/Locales.h"

// Sets the character types of the process during its lifetime to those of a locale such as
// ("tr_TR", "ISO-8859-9").
class OtherLocale {
public:
    OtherLocale(std::string const& language, std::string const& encoding)
        : locale(language, encoding) {}

    // Returns null if the locale is set, and otherwise the reason for skipping the test.
    char const* WhyNot() const {
        if (locale.WhyNot() != nullptr)
            return locale.WhyNot();
        return ComparisonsFollowTheLocale()
                   ? nullptr
                   : "a sanitizer replaces strcasecmp by a function that ignores the locale";
    }

private:
    static bool ComparisonsFollowTheLocale() {
        for (int left = 1; left < 256; ++left) {
            for (int right = 1; right < 256; ++right) {
                char const one[] = {static_cast<char>(left), '\0'};
                char const other[] = {static_cast<char>(right), '\0'};
                if ((strcasecmp(one, other) == 0) != (std::tolower(left) == std::tolower(right)))
                    return false;
            }
        }
        return true;
    }

    CompiledLocale locale;
};
