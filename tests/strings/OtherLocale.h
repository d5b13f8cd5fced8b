// A locale made for one test: its letters, and which of them differ in case only.
#pragma once

#include <clocale>
#include <cstdlib>
#include <string>

#include <stdlib.h>

#include "tests/support/TemporaryDirectory.h"

// From its construction to its destruction the character types of the process are those of a locale
// such as ("tr_TR", "ISO-8859-9"), compiled from the system's own sources.
class OtherLocale {
public:
    OtherLocale(std::string const& language, std::string const& encoding) {
        std::string const name = language + '.' + encoding;
        std::string const command = "localedef -i " + language + " -f " + encoding +
                                    " --no-archive " + directory / name + " >/dev/null 2>&1";
        isThere = std::system(command.c_str()) == 0 &&
                  setenv("LOCPATH", directory.path().c_str(), 1) == 0 &&
                  std::setlocale(LC_CTYPE, name.c_str()) != nullptr;
    }

    ~OtherLocale() {
        std::setlocale(LC_CTYPE, "C");
        unsetenv("LOCPATH");
    }

    OtherLocale(OtherLocale const&) = delete;
    OtherLocale& operator=(OtherLocale const&) = delete;

    // False on a machine that can make no locales.
    bool IsThere() const { return isThere; }

private:
    TemporaryDirectory directory;
    bool isThere;
};
