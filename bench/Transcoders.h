// Transcoders of this project and of other libraries with a common interface.
//
// Whole<Target, Source>(texts) returns the whole text in the target encoding. Stream<Target,
// Source>(texts, take) calls `take` with each block of up to 4,096 bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>

#include <iconv.h>

#include "unicode/GenericTranscoder.h"
#include "unicode/Transcode.h"

#ifdef HAVE_BOOST
#include <boost/locale/encoding_utf.hpp>
#endif
#ifdef HAVE_ICU
#include <unicode/ucnv.h>
#include <unicode/unistr.h>
#include <unicode/ustring.h>
#endif

// The standard character type for the code units of an encoding.
template <class E>
using CharacterOf =
    std::conditional_t<std::is_same_v<E, UTF8>, char,
                       std::conditional_t<std::is_same_v<E, UTF16>, char16_t, char32_t>>;

// The same text in three encodings.
struct Texts {
    std::string utf8;
    std::u16string utf16;
    std::u32string utf32;

    template <class E>
    auto const& In() const {
        if constexpr (std::is_same_v<E, UTF8>)
            return utf8;
        else if constexpr (std::is_same_v<E, UTF16>)
            return utf16;
        else
            return utf32;
    }
};

// The output buffer of a comparison library: uninitialized, large enough for any result.
template <class Target>
struct Filled {
    using Character = CharacterOf<Target>;

    explicit Filled(std::size_t room) : characters(new Character[room]) {}

    std::unique_ptr<Character[]> characters;
    std::size_t length = 0;
};

// Returns the maximum number of code units of the target for `length` code units of the source.
template <class Target, class Source>
constexpr std::size_t MaxUnits(std::size_t length) {
    if constexpr (std::is_same_v<Target, UTF8>)
        return length * (std::is_same_v<Source, UTF16> ? 3 : 4);
    else if constexpr (std::is_same_v<Target, UTF16> && std::is_same_v<Source, UTF32>)
        return 2 * length;
    else
        return length;
}

struct OurTranscoding {
    template <class Target, class Source>
    static AutoUString<Target> Whole(Texts const& texts) {
        auto const units = UnitsIn<Source>(texts);
        return Transcode<Target>(UStringRef<Source>(units.begin, units.end));
    }

    template <class Target, class Source, class Take>
    static void Stream(Texts const& texts, Take take) {
        Receiver<Target, Take> blocks(take);
        StreamTranscoder<Target, Source> transcoder;
        UTextReceiver<Source>& receiver = transcoder(blocks);
        receiver.Start(Source());
        receiver.Receive(UnitsIn<Source>(texts));
        receiver.ReceiveEnd();
    }

private:
    template <class Target, class Take>
    class Receiver : public UTextReceiver<Target> {
    public:
        explicit Receiver(Take& to) : take(to) {}
        void Receive(ConstArrayOf<typename Target::Unit> units) override {
            take(units.begin, units.Length());
        }

    private:
        Take& take;
    };

    template <class E>
    static ConstArrayOf<typename E::Unit> UnitsIn(Texts const& texts) {
        auto const& text = texts.In<E>();
        return {Reinterpret<typename E::Unit const*>(text.data()), text.size()};
    }
};

inline void Require(bool good) {
    if (!good)
        throw std::runtime_error("a comparison library cannot convert the text");
}

// iconv of the C library. The conversion descriptors are opened once, before the first timing.
struct IconvTranscoding {
    template <class Target, class Source>
    static Filled<Target> Whole(Texts const& texts) {
        auto const& text = texts.In<Source>();
        Filled<Target> result(MaxUnits<Target, Source>(text.size()));
        Bytes from(text), to(result.characters.get(), MaxUnits<Target, Source>(text.size()));
        Require(Convert<Target, Source>(from, to) == 0);
        result.length = to.Position<Target>() - result.characters.get();
        return result;
    }

    template <class Target, class Source, class Take>
    static void Stream(Texts const& texts, Take take) {
        Bytes from(texts.In<Source>());
        while (from.left > 0) {
            CharacterOf<Target> block[4096 / sizeof(CharacterOf<Target>)];
            Bytes to(block, std::size(block));
            Convert<Target, Source>(from, to); // Stops when the block is full.
            Require(to.left < sizeof(block));
            take(block, static_cast<std::size_t>(to.Position<Target>() - block));
        }
    }

private:
    struct Bytes {
        template <class Character>
        Bytes(Character* text, std::size_t length)
            : position(reinterpret_cast<char*>(text)), left(length * sizeof(Character)) {}
        template <class Character>
        explicit Bytes(std::basic_string<Character> const& text)
            : Bytes(const_cast<Character*>(text.data()), text.size()) {}

        template <class E>
        CharacterOf<E>* Position() const {
            return reinterpret_cast<CharacterOf<E>*>(position);
        }

        char* position;
        std::size_t left;
    };

    template <class E>
    static constexpr char const* NameOf() {
        return std::is_same_v<E, UTF8>    ? "UTF-8"
               : std::is_same_v<E, UTF16> ? "UTF-16LE"
                                          : "UTF-32LE";
    }

    template <class Target, class Source>
    static std::size_t Convert(Bytes& from, Bytes& to) {
        static iconv_t const conversion = iconv_open(NameOf<Target>(), NameOf<Source>());
        return iconv(conversion, &from.position, &from.left, &to.position, &to.left);
    }
};

#ifdef HAVE_BOOST
struct BoostTranscoding {
    template <class Target, class Source>
    static auto Whole(Texts const& texts) {
        return boost::locale::conv::utf_to_utf<CharacterOf<Target>>(texts.In<Source>());
    }
};
#endif

#ifdef HAVE_ICU
// Whole texts: the functions for whole strings. ICU has none between UTF-8 and UTF-32, so these
// conversions go through UTF-16. Streams: the converters.
struct IcuTranscoding {
    template <class Target, class Source>
    static Filled<Target> Whole(Texts const& texts) {
        auto const& text = texts.In<Source>();
        return Converted<Target, Source>(text.data(), text.size());
    }

    template <class Target, class Source, class Take>
    static void Stream(Texts const& texts, Take take) {
        auto const& text = texts.In<Source>();
        auto const* from = text.data();
        auto const* const end = from + text.size();
        UErrorCode error = U_BUFFER_OVERFLOW_ERROR;
        while (error == U_BUFFER_OVERFLOW_ERROR) {
            CharacterOf<Target> block[4096 / sizeof(CharacterOf<Target>)];
            auto* to = block;
            error = U_ZERO_ERROR;
            FillBlock<Target, Source>(from, end, to, block + std::size(block), error);
            take(block, static_cast<std::size_t>(to - block));
        }
        Require(U_SUCCESS(error));
    }

private:
    template <class Target, class Source>
    static Filled<Target> Converted(CharacterOf<Source> const* text, std::size_t size) {
        std::int32_t const length = static_cast<std::int32_t>(size);
        UErrorCode error = U_ZERO_ERROR;
        std::int32_t written = 0;
        if constexpr (!std::is_same_v<Target, UTF16> && !std::is_same_v<Source, UTF16>) {
            auto const between = Converted<UTF16, Source>(text, size);
            return Converted<Target, UTF16>(between.characters.get(), between.length);
        } else {
            std::int32_t const room = static_cast<std::int32_t>(MaxUnits<Target, Source>(size));
            Filled<Target> result(static_cast<std::size_t>(room));
            auto* const to = result.characters.get();
            if constexpr (std::is_same_v<Source, UTF8>)
                u_strFromUTF8(to, room, &written, text, length, &error);
            else if constexpr (std::is_same_v<Target, UTF8>)
                u_strToUTF8(to, room, &written, text, length, &error);
            else if constexpr (std::is_same_v<Target, UTF32>)
                u_strToUTF32(reinterpret_cast<UChar32*>(to), room, &written, text, length, &error);
            else
                u_strFromUTF32(to, room, &written, reinterpret_cast<UChar32 const*>(text), length,
                               &error);
            Require(U_SUCCESS(error));
            result.length = static_cast<std::size_t>(written);
            return result;
        }
    }

    template <class E>
    static UConverter* Converter() {
        static UConverter* const converter = [] {
            UErrorCode error = U_ZERO_ERROR;
            return ucnv_open(std::is_same_v<E, UTF8> ? "UTF-8" : "UTF-32LE", &error);
        }();
        return converter;
    }

    template <class Target, class Source>
    static void FillBlock(CharacterOf<Source> const*& from, CharacterOf<Source> const* end,
                          CharacterOf<Target>*& to, CharacterOf<Target>* toEnd, UErrorCode& error) {
        auto* fromBytes = reinterpret_cast<char const*>(from);
        auto* const endBytes = reinterpret_cast<char const*>(end);
        auto* toBytes = reinterpret_cast<char*>(to);
        auto* const toEndBytes = reinterpret_cast<char*>(toEnd);
        if constexpr (std::is_same_v<Target, UTF16>) {
            ucnv_toUnicode(Converter<Source>(), &to, toEnd, &fromBytes, endBytes, nullptr, true,
                           &error);
            from = reinterpret_cast<CharacterOf<Source> const*>(fromBytes);
        } else if constexpr (std::is_same_v<Source, UTF16>) {
            ucnv_fromUnicode(Converter<Target>(), &toBytes, toEndBytes, &from, end, nullptr, true,
                             &error);
            to = reinterpret_cast<CharacterOf<Target>*>(toBytes);
        } else {
            static UChar pivot[1024];
            static UChar *pivotFrom = pivot, *pivotTo = pivot;
            ucnv_convertEx(Converter<Target>(), Converter<Source>(), &toBytes, toEndBytes,
                           &fromBytes, endBytes, pivot, &pivotFrom, &pivotTo, pivot + 1024, false,
                           true, &error);
            from = reinterpret_cast<CharacterOf<Source> const*>(fromBytes);
            to = reinterpret_cast<CharacterOf<Target>*>(toBytes);
        }
    }
};

// UnicodeString of ICU, for UTF-8 to UTF-16 only.
struct IcuStringTranscoding {
    template <class Target, class Source>
    static icu::UnicodeString Whole(Texts const& texts) {
        auto const& text = texts.In<Source>();
        return icu::UnicodeString::fromUTF8(
            icu::StringPiece(text.data(), static_cast<std::int32_t>(text.size())));
    }
};
#endif
