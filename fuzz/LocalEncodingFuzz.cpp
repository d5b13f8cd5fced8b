// Text to and from the encoding of the locale: what iconv and the transcoders' contract make of it,
// in the default locale, in one of UTF-8 and, where they can be made, in two of older encodings.
#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include <iconv.h>
#include <langinfo.h>
#include <locale.h>

#include "fuzz/Fuzz.h"
#include "tests/unicode/Locales.h"
#include "tests/unicode/NaiveTranscoder.h"
#include "tests/unicode/Units.h"
#include "unicode/LocalEncoding.h"

namespace {

template <class E>
struct Outcome {
    bool operator==(Outcome const&) const = default;

    std::string failure;
    Units<E> units;
};

class Iconv {
public:
    Iconv(char const* target, char const* source) : converter(iconv_open(target, source)) {
        Fuzz::Require(converter != reinterpret_cast<iconv_t>(-1), "iconv knows the encodings");
    }

    // False where iconv refuses the text.
    template <class From, class To>
    bool Convert(std::vector<From> text, std::vector<To>& result) const {
        iconv(converter, nullptr, nullptr, nullptr, nullptr);
        // No character takes more than six bytes or one wide unit, and there is room for an end.
        result.resize(text.size() * 8 + 8);
        char* from = reinterpret_cast<char*>(text.data());
        std::size_t fromLeft = text.size() * sizeof(From);
        char* to = reinterpret_cast<char*>(result.data());
        std::size_t const room = result.size() * sizeof(To);
        std::size_t toLeft = room;
        if (fromLeft != 0 && iconv(converter, &from, &fromLeft, &to, &toLeft) != 0)
            return false;
        result.resize((room - toLeft) / sizeof(To));
        return true;
    }

private:
    iconv_t const converter;
};

// A locale, and iconv for its encoding. Both stay to the end.
class Locale {
public:
    explicit Locale(char const* name) {
        LocaleInForce const inForce(name);
        Fuzz::Require(inForce.IsThere(), "a locale is there");
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

std::vector<Locale> MakeLocales() {
    MadeLocales const made;
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

// By the contract of the transcoders.
template <class Target, class Source>
Outcome<Target> TranscodePlainly(Units<Source> const& text) {
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

Outcome<UTF32> ToNativePlainly(Locale const& locale, Units<Local8Bit> const& text) {
    Units<UTF32> wide;
    if (!locale.Decoder().Convert(UpToZero<Local8Bit>(text), wide))
        return {"not decoded", {}};
    return {"", wide};
}

Outcome<Local8Bit> FromNativePlainly(Locale const& locale, Units<UTF32> const& text) {
    Units<Local8Bit> bytes;
    if (!locale.Encoder().Convert(UpToZero<UTF32>(text), bytes))
        return {"not encoded", {}};
    return {"", bytes};
}

template <class E>
Outcome<E> DecodePlainly(Locale const& locale, Units<Local8Bit> const& text) {
    Outcome<UTF32> const wide = ToNativePlainly(locale, text);
    if (!wide.failure.empty())
        return {wide.failure, {}};
    return TranscodePlainly<E, UTF32>(wide.units);
}

// UTF-16 and UTF-32 have to be fit for UTF-8 first.
template <class E>
Outcome<Local8Bit> EncodePlainly(Locale const& locale, Units<E> const& text) {
    Outcome<UTF8> const checked = TranscodePlainly<UTF8, E>(text);
    if (!checked.failure.empty())
        return {checked.failure, {}};
    Outcome<UTF32> const wide = TranscodePlainly<UTF32, E>(text);
    if (!wide.failure.empty())
        return {wide.failure, {}};
    return FromNativePlainly(locale, wide.units);
}

// `allocatesNothing` tells which form of the empty string is wanted.
template <class E, class Convert>
Outcome<E> OutcomeOf(Convert convert, bool allocatesNothing) {
    try {
        AutoUString<E> const text = convert();
        Fuzz::Require(text.Begin() == text.End() ? (text.Begin() == nullptr) == allocatesNothing
                                                 : *text.End() == 0,
                      "a text ends with a NUL, and an empty one has its form");
        return {"", UnitsOf(text)};
    } catch (UnixPlatform::MultiByteToWideConvertError const&) {
        return {"not decoded", {}};
    } catch (UnixPlatform::WideToMultiByteConvertError const&) {
        return {"not encoded", {}};
    } catch (InvalidTextEncoding const&) {
        return {"invalid", {}};
    }
}

// With a NUL behind it in memory of its own, and told so or not.
template <class E>
class Text {
public:
    Text(Units<E> const& text, bool isTold) : units(text), told(isTold) { units.push_back(0); }

    UStringRef<E> Ref() const {
        return UStringRef<E>(units.data(), units.data() + units.size() - 1, told);
    }

private:
    Units<E> units;
    bool const told;
};

template <class E>
Units<E> UnitsIn(std::string_view bytes) {
    Units<E> units(bytes.size() / sizeof(typename E::Unit));
    if (!units.empty())
        std::memcpy(units.data(), bytes.data(), units.size() * sizeof(typename E::Unit));
    return units;
}

void CompareDecoding(Locale const& locale, std::string_view bytes, bool isTold) {
    using namespace UnixPlatform;
    Units<Local8Bit> const units = UnitsIn<Local8Bit>(bytes);
    Text<Local8Bit> const text(units, isTold);
    bool const holds = OutcomeOf<UTF32>([&] { return ToNativeUnicode(text.Ref()); }, false) ==
                           ToNativePlainly(locale, units) &&
                       OutcomeOf<UTF8>([&] { return ToUTF8(text.Ref()); }, true) ==
                           DecodePlainly<UTF8>(locale, units) &&
                       OutcomeOf<UTF16>([&] { return ToUTF16(text.Ref()); }, true) ==
                           DecodePlainly<UTF16>(locale, units) &&
                       OutcomeOf<UTF32>([&] { return ToUTF32(text.Ref()); }, true) ==
                           DecodePlainly<UTF32>(locale, units) &&
                       OutcomeOf<UTF8>([&] { return Transcode<UTF8>(text.Ref()); }, true) ==
                           DecodePlainly<UTF8>(locale, units);
    Fuzz::Require(holds, "bytes of the locale are what iconv makes of them");
}

template <class E>
void CompareEncoding(Locale const& locale, std::string_view bytes, bool isTold) {
    Units<E> const units = UnitsIn<E>(bytes);
    Text<E> const text(units, isTold);
    Fuzz::Require(OutcomeOf<Local8Bit>([&] { return UnixPlatform::ToLocal8Bit(text.Ref()); },
                                       false) == EncodePlainly<E>(locale, units),
                  "a text in the locale is what iconv makes of it");
}

void CompareWide(Locale const& locale, std::string_view bytes, bool isTold) {
    Units<UTF32> const units = UnitsIn<UTF32>(bytes);
    Text<UTF32> const text(units, isTold);
    Fuzz::Require(OutcomeOf<Local8Bit>([&] { return UnixPlatform::FromNativeUnicode(text.Ref()); },
                                       false) == FromNativePlainly(locale, units),
                  "wide characters in the locale are what iconv makes of them");
}

} // namespace

// A locale, a direction, whether a text is told to end with a NUL, and the text.
int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    // Never destroyed, so that what the C library keeps for it is no leak.
    static auto const& locales = *new std::vector<Locale>(MakeLocales());
    Fuzz::Input input(data, size);
    Locale const& locale = locales[input.Byte() % locales.size()];
    unsigned int const direction = input.Byte() % 5U;
    bool const isTold = input.Byte() % 2 != 0;
    locale.Use();
    if (direction == 0)
        CompareDecoding(locale, input.Rest(), isTold);
    else if (direction == 1)
        CompareEncoding<UTF8>(locale, input.Rest(), isTold);
    else if (direction == 2)
        CompareEncoding<UTF16>(locale, input.Rest(), isTold);
    else if (direction == 3)
        CompareEncoding<UTF32>(locale, input.Rest(), isTold);
    else
        CompareWide(locale, input.Rest(), isTold);
    uselocale(LC_GLOBAL_LOCALE);
    return 0;
}
