// Locales for tests: those that the C library contains, and locales compiled for one test.
#pragma once

#include <clocale>
#include <cstdlib>
#include <string>

#include <stdlib.h>

#include "tests/support/TemporaryDirectory.h"

// Sets the encoding of the process to that of the locale during its lifetime.
class LocaleInForce {
public:
    explicit LocaleInForce(std::string const& name)
        : isThere(std::setlocale(LC_CTYPE, name.c_str()) != nullptr) {}
    ~LocaleInForce() { std::setlocale(LC_CTYPE, "C"); }
    LocaleInForce(LocaleInForce const&) = delete;
    LocaleInForce& operator=(LocaleInForce const&) = delete;

    bool IsThere() const { return isThere; }

private:
    bool const isThere;
};

// During its lifetime, the C library searches this directory for locales.
class MadeLocales {
public:
    // The reason for skipping tests that need compiled locales.
    static constexpr char const* whyNot =
        "no localedef with its sources here: a locale cannot be made";

    MadeLocales() { setenv("LOCPATH", directory.path().c_str(), 1); }
    ~MadeLocales() { unsetenv("LOCPATH"); }
    MadeLocales(MadeLocales const&) = delete;
    MadeLocales& operator=(MadeLocales const&) = delete;

    // Compiles a locale of the language from the sources of the system. Returns false if that
    // fails. `encoding` is the name or the path of a character map.
    bool Make(std::string const& name, std::string const& language,
              std::string const& encoding) const {
        return Succeeds("localedef -c -i " + language + " -f " + encoding + " --no-archive " +
                        directory / name + " >/dev/null 2>&1");
    }

    // Copies a character map under another name. Returns its path, or an empty path if that fails.
    std::string RenamedEncoding(std::string const& encoding, std::string const& newName) const {
        std::string const path = directory / newName;
        std::string const command = "zcat /usr/share/i18n/charmaps/" + encoding +
                                    ".gz 2>/dev/null | sed 's/^<code_set_name>.*/<code_set_name> " +
                                    newName + "/' >" + path + " && test -s " + path;
        return Succeeds(command) ? path : std::string();
    }

private:
    static bool Succeeds(std::string const& command) { return std::system(command.c_str()) == 0; }

    TemporaryDirectory directory;
};

// Compiles and sets an 8-bit locale during its lifetime. Its character map differs from the first
// 256 characters of Unicode in eight places, one of them the euro sign at 0xA4.
class EightBitLocale {
public:
    static constexpr char const* encoding = "ISO-8859-15";

    EightBitLocale() : made(locales.Make("eight", "de_DE", encoding)), inForce("eight") {}

    // Returns null if the locale is set, and otherwise the reason why it is not available.
    char const* WhyNot() const { return made && inForce.IsThere() ? nullptr : MadeLocales::whyNot; }

private:
    MadeLocales locales;
    bool const made;
    LocaleInForce inForce;
};
