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
