// Compares conversions to and from the encoding of the locale with iconv and the reference
// implementation of the transcoders. Uses the C locale, UTF-8, and two legacy encodings if their
// locales can be created.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include <langinfo.h>
#include <locale.h>

#include "fuzz/Fuzz.h"
#include "fuzz/Iconv.h"
#include "tests/unicode/Locales.h"
#include "tests/unicode/NaiveTranscoder.h"
#include "tests/unicode/Units.h"
#include "unicode/LocalEncoding.h"

namespace LocalEncodingProperties {

template <class E>
struct Outcome {
    bool operator==(Outcome const&) const = default;

    std::string failure;
    Units<E> units;
};

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
Outcome<Target> ReferenceTranscode(Units<Source> const& text) {
    if constexpr (std::same_as<Target, Source>) {
        return {"", text};
    } else {
        Naive::Transcoder<Target, Source> transcoder;
        TextOutcome<Target> const& outcome = transcoder.Run(text, {text.size()});
        if (outcome.thrownAt != -1)
            return {"invalid", {}};
        return {"", outcome.units};
    }
}

inline Outcome<UTF32> ReferenceToNative(Locale const& locale, Units<Local8Bit> const& text) {
    Units<UTF32> wide;
    if (!locale.Decoder().Convert(UpToZero<Local8Bit>(text), wide))
        return {"not decoded", {}};
    return {"", wide};
}

inline Outcome<Local8Bit> ReferenceFromNative(Locale const& locale, Units<UTF32> const& text) {
    Units<Local8Bit> bytes;
    if (!locale.Encoder().Convert(UpToZero<UTF32>(text), bytes))
        return {"not encoded", {}};
    return {"", bytes};
}

template <class E>
Outcome<E> ReferenceDecode(Locale const& locale, Units<Local8Bit> const& text) {
    Outcome<UTF32> const wide = ReferenceToNative(locale, text);
    if (!wide.failure.empty())
        return {wide.failure, {}};
    return ReferenceTranscode<E, UTF32>(wide.units);
}

// The text is first validated by a conversion to UTF-8.
template <class E>
Outcome<Local8Bit> ReferenceEncode(Locale const& locale, Units<E> const& text) {
    Outcome<UTF8> const checked = ReferenceTranscode<UTF8, E>(text);
    if (!checked.failure.empty())
        return {checked.failure, {}};
    Outcome<UTF32> const wide = ReferenceTranscode<UTF32, E>(text);
    if (!wide.failure.empty())
        return {wide.failure, {}};
    return ReferenceFromNative(locale, wide.units);
}

// `allocatesNothing`: an empty result must have null pointers.
template <class E, class Convert>
Outcome<E> OutcomeOf(Convert convert, bool allocatesNothing) {
    try {
        AutoUString<E> const text = convert();
        Require(text.Begin() == text.End() ? (text.Begin() == nullptr) == allocatesNothing
                                           : *text.End() == 0,
                "a result is NUL-terminated, or null if specified");
        return {"", UnitsOf(text)};
    } catch (UnixPlatform::MultiByteToWideConvertError const&) {
        return {"not decoded", {}};
    } catch (UnixPlatform::WideToMultiByteConvertError const&) {
        return {"not encoded", {}};
    } catch (InvalidTextEncoding const&) {
        return {"invalid", {}};
    }
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
    bool const holds = OutcomeOf<UTF32>([&] { return ToNativeUnicode(text.Ref()); }, false) ==
                           ReferenceToNative(locale, units) &&
                       OutcomeOf<UTF8>([&] { return ToUTF8(text.Ref()); }, true) ==
                           ReferenceDecode<UTF8>(locale, units) &&
                       OutcomeOf<UTF16>([&] { return ToUTF16(text.Ref()); }, true) ==
                           ReferenceDecode<UTF16>(locale, units) &&
                       OutcomeOf<UTF32>([&] { return ToUTF32(text.Ref()); }, true) ==
                           ReferenceDecode<UTF32>(locale, units) &&
                       OutcomeOf<UTF8>([&] { return Transcode<UTF8>(text.Ref()); }, true) ==
                           ReferenceDecode<UTF8>(locale, units);
    Require(holds, "decoding agrees with iconv");
}

template <class E>
void CompareEncoding(Locale const& locale, std::string_view bytes, bool isMarked) {
    Units<E> const units = UnitsIn<E>(bytes);
    Text<E> const text(units, isMarked);
    Require(OutcomeOf<Local8Bit>([&] { return UnixPlatform::ToLocal8Bit(text.Ref()); }, false) ==
                ReferenceEncode<E>(locale, units),
            "encoding agrees with iconv");
}

inline void CompareWide(Locale const& locale, std::string_view bytes, bool isMarked) {
    Units<UTF32> const units = UnitsIn<UTF32>(bytes);
    Text<UTF32> const text(units, isMarked);
    Require(OutcomeOf<Local8Bit>([&] { return UnixPlatform::FromNativeUnicode(text.Ref()); },
                                 false) == ReferenceFromNative(locale, units),
            "encoding of wide text agrees with iconv");
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
