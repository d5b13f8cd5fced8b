// Locales for tests: those that the C library has inside, and some that are made for one test.
#pragma once

#include <clocale>
#include <cstdlib>
#include <string>

#include <stdlib.h>

#include "tests/support/TemporaryDirectory.h"

// From its construction to its destruction the encoding of the process is that of the locale.
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

// Locales are found in here, as long as it lives.
class MadeLocales {
public:
    // Why a test that needs one is skipped.
    static constexpr char const* whyNot =
        "no localedef with its sources here: a locale cannot be made";

    MadeLocales() { setenv("LOCPATH", directory.path().c_str(), 1); }
    ~MadeLocales() { unsetenv("LOCPATH"); }
    MadeLocales(MadeLocales const&) = delete;
    MadeLocales& operator=(MadeLocales const&) = delete;

    // Compiles a locale of the language from the system's own sources. False if that cannot be done
    // here. `encoding` is the name or the path of a table of characters.
    bool Make(std::string const& name, std::string const& language,
              std::string const& encoding) const {
        return Succeeds("localedef -c -i " + language + " -f " + encoding + " --no-archive " +
                        directory / name + " >/dev/null 2>&1");
    }

    // A table of characters under another name. Yields its path; empty if that cannot be done here.
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

// An 8-bit locale, made for the test and in force. Its table differs from the first 256 characters
// of Unicode in eight places, one of them the euro sign at 0xA4.
class EightBitLocale {
public:
    static constexpr char const* encoding = "ISO-8859-15";

    EightBitLocale() : made(locales.Make("eight", "de_DE", encoding)), inForce("eight") {}

    // Null if the locale is there, otherwise the reason why a test cannot run in it.
    char const* WhyNot() const { return made && inForce.IsThere() ? nullptr : MadeLocales::whyNot; }

private:
    MadeLocales locales;
    bool const made;
    LocaleInForce inForce;
};
