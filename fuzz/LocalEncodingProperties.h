// Compares conversions to and from the encoding of the locale with iconv and the reference
// implementation of the transcoders. Uses the C locale, UTF-8, and two legacy encodings if their
// locales can be created.
#pragma once

#include <variant>

#include <langinfo.h>
#include <locale.h>

#include "fuzz/Iconv.h"
#include "tests/unicode/Locales.h"
#include "tests/unicode/NaiveTranscoder.h"
#include "unicode/LocalEncoding.h"

namespace LocalEncodingProperties {

using UnixPlatform::MultiByteToWideConvertError;
using UnixPlatform::WideToMultiByteConvertError;

// A locale, and the iconv conversions for its encoding. Never freed.
class Locale {
public:
    explicit Locale(char const* name) {
        ScopedLocale const scope(name);
        Require(scope.IsSet(), "the locale exists");
        char const* const encoding = nl_langinfo(CODESET);
        handle = duplocale(LC_GLOBAL_LOCALE);
        decoder = new Iconv("WCHAR_T", encoding);
        encoder = new Iconv(encoding, "WCHAR_T");
    }

    void Use() const { uselocale(handle); }
    Iconv const& Decoder() const { return *decoder; }
    Iconv const& Encoder() const { return *encoder; }

private:
    locale_t handle = nullptr;
    Iconv const* decoder = nullptr;
    Iconv const* encoder = nullptr;
};

inline std::vector<Locale> MakeLocales() {
    CompiledLocales const made;
    std::vector<Locale> locales{Locale("C"), Locale("C.UTF-8")};
    for (char const* const encoding : {"ISO-8859-15", "EUC-JP"})
        if (made.Make(encoding, "POSIX", encoding))
            locales.push_back(Locale(encoding));
    return locales;
}

template <class E>
Units<E> UpToZero(Units<E> const& text) {
    return Units<E>(text.begin(), std::find(text.begin(), text.end(), 0));
}

// Converts with the reference implementation of the transcoders.
template <class Target, class Source>
Units<Target> ReferenceTranscode(Units<Source> const& text) {
    if constexpr (std::same_as<Target, Source>) {
        return text;
    } else {
        Naive::Transcoder<Target, Source> transcoder;
        if (transcoder.Run(text, {text.size()}).thrownAt != -1)
            throw InvalidTextEncoding();
        return transcoder.outcome.units;
    }
}

inline Units<UTF32> ReferenceToNative(Locale const& locale, Units<Local8Bit> const& text) {
    Units<UTF32> wide;
    if (!locale.Decoder().Convert(UpToZero<Local8Bit>(text), wide))
        throw MultiByteToWideConvertError();
    return wide;
}

inline Units<Local8Bit> ReferenceFromNative(Locale const& locale, Units<UTF32> const& text) {
    Units<Local8Bit> bytes;
    if (!locale.Encoder().Convert(UpToZero<UTF32>(text), bytes))
        throw WideToMultiByteConvertError();
    return bytes;
}

// The code units, or a description of the exception.
template <class E, class Convert>
std::variant<Units<E>, std::string> OutcomeOf(Convert convert) {
    try {
        return convert();
    } catch (MultiByteToWideConvertError const&) {
        return "not decoded";
    } catch (WideToMultiByteConvertError const&) {
        return "not encoded";
    } catch (InvalidTextEncoding const&) {
        return "invalid";
    }
}

// `allocatesNothing`: an empty result must have null pointers.
template <class E, class Convert, class Reference>
void Compare(bool allocatesNothing, Convert convert, Reference reference) {
    auto const outcome = OutcomeOf<E>([&] {
        AutoUString<E> const text = convert();
        Require(text.Begin() == text.End() ? (text.Begin() == nullptr) == allocatesNothing
                                           : *text.End() == 0,
                "a result is NUL-terminated, or null if specified");
        return UnitsOf(text);
    });
    Require(outcome == OutcomeOf<E>(reference), "a conversion agrees with iconv");
}

// A NUL-terminated copy of a text. `isMarked`: its UStringRef is marked as NUL-terminated.
template <class E>
class Text {
public:
    Text(Units<E> const& text, bool isMarked) : units(text), marked(isMarked) {
        units.push_back(0);
    }

    UStringRef<E> Ref() const {
        return UStringRef<E>(units.data(), units.data() + units.size() - 1, marked);
    }

private:
    Units<E> units;
    bool const marked;
};

inline void CompareDecoding(Locale const& locale, std::string_view bytes, bool isMarked) {
    using namespace UnixPlatform;
    Units<Local8Bit> const units = UnitsIn<Local8Bit>(bytes);
    Text<Local8Bit> const text(units, isMarked);
    auto const native = [&] {
        return ReferenceToNative(locale, units);
    };
    auto const utf8 = [&] {
        return ReferenceTranscode<UTF8, UTF32>(native());
    };
    Compare<UTF32>(
        false, [&] { return ToNativeUnicode(text.Ref()); }, native);
    Compare<UTF32>(
        true, [&] { return ToUTF32(text.Ref()); }, native);
    Compare<UTF8>(
        true, [&] { return ToUTF8(text.Ref()); }, utf8);
    Compare<UTF8>(
        true, [&] { return Transcode<UTF8>(text.Ref()); }, utf8);
    Compare<UTF16>(
        true, [&] { return ToUTF16(text.Ref()); },
        [&] { return ReferenceTranscode<UTF16, UTF32>(native()); });
}

// Text in UTF-16 and UTF-32 is first validated by a conversion to UTF-8.
template <class E>
void CompareEncoding(Locale const& locale, std::string_view bytes, bool isMarked) {
    Units<E> const units = UnitsIn<E>(bytes);
    Text<E> const text(units, isMarked);
    Compare<Local8Bit>(
        false, [&] { return UnixPlatform::ToLocal8Bit(text.Ref()); },
        [&] {
            ReferenceTranscode<UTF8, E>(units);
            return ReferenceFromNative(locale, ReferenceTranscode<UTF32, E>(units));
        });
}

inline void CompareWide(Locale const& locale, std::string_view bytes, bool isMarked) {
    Units<UTF32> const units = UnitsIn<UTF32>(bytes);
    Text<UTF32> const text(units, isMarked);
    Compare<Local8Bit>(
        false, [&] { return UnixPlatform::FromNativeUnicode(text.Ref()); },
        [&] { return ReferenceFromNative(locale, units); });
}

// Input: a locale, a direction, whether the text is marked as NUL-terminated, and the text.
inline void Check(Fuzz::Input input) {
    // Never destroyed, so that LeakSanitizer does not report the memory of the C library.
    static auto const& locales = *new std::vector<Locale>(MakeLocales());
    Locale const& locale = locales[input.Byte() % locales.size()];
    unsigned int const direction = input.Byte() % 5U;
    bool const isMarked = input.Byte() % 2 != 0;
    using Comparison = void (*)(Locale const&, std::string_view, bool);
    constexpr Comparison comparisons[] = {CompareDecoding, CompareEncoding<UTF8>,
                                          CompareEncoding<UTF16>, CompareEncoding<UTF32>,
                                          CompareWide};
    locale.Use();
    try {
        comparisons[direction](locale, input.Rest(), isMarked);
    } catch (...) {
        uselocale(LC_GLOBAL_LOCALE);
        throw;
    }
    uselocale(LC_GLOBAL_LOCALE);
}

} // namespace LocalEncodingProperties
