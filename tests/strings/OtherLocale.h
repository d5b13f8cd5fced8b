// A locale compiled for one test: its letters, and pairs of them that differ only in case.
#pragma once

#include <cctype>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <string>

#include <stdlib.h>

#include "tests/support/TemporaryDirectory.h"

// Sets the character types of the process during its lifetime to those of a locale such as
// ("tr_TR", "ISO-8859-9"), compiled from the sources of the system.
class OtherLocale {
public:
    OtherLocale(std::string const& language, std::string const& encoding) {
        std::string const name = language + '.' + encoding;
        std::string const command = "localedef -i " + language + " -f " + encoding +
                                    " --no-archive " + directory / name + " >/dev/null 2>&1";
        if (std::system(command.c_str()) != 0 ||
            setenv("LOCPATH", directory.path().c_str(), 1) != 0 ||
            std::setlocale(LC_CTYPE, name.c_str()) == nullptr)
            whyNot = "no localedef with its sources here: a locale cannot be made";
        else if (!ComparisonsFollowTheLocale())
            whyNot = "a sanitizer has put a strcasecmp in place that knows no locale";
    }

    ~OtherLocale() {
        std::setlocale(LC_CTYPE, "C");
        unsetenv("LOCPATH");
    }

    OtherLocale(OtherLocale const&) = delete;
    OtherLocale& operator=(OtherLocale const&) = delete;

    // Returns null if the locale is set, and otherwise the reason why it is not available.
    char const* WhyNot() const { return whyNot; }

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

    TemporaryDirectory directory;
    char const* whyNot = nullptr;
};
