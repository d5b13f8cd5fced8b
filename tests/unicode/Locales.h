// Locales for tests: those that the C library contains, and locales compiled for one test.
#pragma once

#include <clocale>

#include "tests/support/TemporaryDirectory.h"

// Sets the character types of the process (LC_CTYPE) to those of a locale during its lifetime. The
// locale is not set if it does not exist.
class ScopedLocale {
public:
    explicit ScopedLocale(std::string const& name)
        : isSet(std::setlocale(LC_CTYPE, name.c_str()) != nullptr) {}
    ~ScopedLocale() { std::setlocale(LC_CTYPE, "C"); }
    ScopedLocale(ScopedLocale const&) = delete;
    ScopedLocale& operator=(ScopedLocale const&) = delete;

    bool IsSet() const { return isSet; }

private:
    bool const isSet;
};

// Compiles locales. During the lifetime of the object, the C library finds them by their names.
class CompiledLocales {
public:
    // The reason for skipping tests that need compiled locales.
    static constexpr char const* whyNot = "localedef or its sources are not installed";

    CompiledLocales() { setenv("LOCPATH", directory.path().c_str(), 1); }
    ~CompiledLocales() { unsetenv("LOCPATH"); }
    CompiledLocales(CompiledLocales const&) = delete;
    CompiledLocales& operator=(CompiledLocales const&) = delete;

    // Compiles a locale of the language from the sources of the system. Returns false if that
    // fails. `encoding` is the name or the path of a character map.
    bool Make(std::string const& name, std::string const& language,
              std::string const& encoding) const {
        return Succeeds("localedef -c -i " + language + " -f '" + encoding + "' --no-archive '" +
                        directory / name + "' >/dev/null 2>&1");
    }

    // Copies a character map under another name. Returns its path, or an empty path if that fails.
    std::string RenamedEncoding(std::string const& encoding, std::string const& newName) const {
        std::string const path = directory / newName;
        std::string const command = "zcat /usr/share/i18n/charmaps/" + encoding +
                                    ".gz 2>/dev/null | sed 's/^<code_set_name>.*/<code_set_name> " +
                                    newName + "/' >'" + path + "' && test -s '" + path + "'";
        return Succeeds(command) ? path : std::string();
    }

private:
    static bool Succeeds(std::string const& command) { return std::system(command.c_str()) == 0; }

    TemporaryDirectory directory;
};

// Compiles a locale such as ("tr_TR", "ISO-8859-9") and sets it during its lifetime.
class CompiledLocale {
public:
    CompiledLocale(std::string const& language, std::string const& encoding)
        : made(locales.Make(language + '.' + encoding, language, encoding)),
          locale(language + '.' + encoding) {}

    // Returns null if the locale is set, and otherwise the reason why it is not available.
    char const* WhyNot() const {
        return made && locale.IsSet() ? nullptr : CompiledLocales::whyNot;
    }

private:
    CompiledLocales locales;
    bool const made;
    ScopedLocale locale;
};

// A locale with an 8-bit encoding that differs from the first 256 code points of Unicode in eight
// places. One of them is the euro sign at 0xA4.
class EightBitLocale : public CompiledLocale {
public:
    static constexpr char const* encoding = "ISO-8859-15";

    EightBitLocale() : CompiledLocale("de_DE", encoding) {}
};
