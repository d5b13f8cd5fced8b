#include "unicode/LocalEncoding.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <optional>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include <iconv.h>
#include <stdlib.h>

#include "tests/support/FailingAllocation.h"
#include "tests/unicode/Locales.h"
#include "tests/unicode/Units.h"
#include "unicode/GenericTranscoder.h"

namespace {

using UnixPlatform::MultiByteToWideConvertError;
using UnixPlatform::WideToMultiByteConvertError;

using Bytes = Units<Local8Bit>;

constexpr char const* madeEncoding = EightBitLocale::encoding;

Bytes BytesOf(std::string const& text) { return Bytes(text.begin(), text.end()); }

template <class E>
Units<E> UnitsOfAscii(std::string const& text) {
    return Units<E>(text.begin(), text.end());
}

// From the locale into each encoding, all checked for the NUL behind the text.
template <class E>
Units<E> Decoded(Bytes const& bytes) {
    auto const decode = [&] {
        if constexpr (std::is_same_v<E, UTF8>)
            return UnixPlatform::ToUTF8(RefOf<Local8Bit>(bytes));
        else if constexpr (std::is_same_v<E, UTF16>)
            return UnixPlatform::ToUTF16(RefOf<Local8Bit>(bytes));
        else
            return UnixPlatform::ToUTF32(RefOf<Local8Bit>(bytes));
    };
    AutoUString<E> const text = decode();
    if (text.Begin() != nullptr) {
        EXPECT_EQ(0u, *text.End());
    }
    return UnitsOf(text);
}

template <class E>
Bytes Encoded(Units<E> const& units) {
    AutoUString<Local8Bit> const text = UnixPlatform::ToLocal8Bit(RefOf<E>(units));
    EXPECT_NE(nullptr, text.Begin());
    EXPECT_EQ(0, *text.End());
    return UnitsOf(text);
}

template <class E>
Units<E> UnitsOfCharacter(std::uint32_t character) {
    Units<UTF32> const one = {character};
    return UnitsOf(Transcode<E>(RefOf<UTF32>(one)));
}

template <class Error>
void ExpectNoDecoding(Bytes const& bytes) {
    SCOPED_TRACE(ShownUnits(bytes));
    EXPECT_THROW(UnixPlatform::ToNativeUnicode(RefOf<Local8Bit>(bytes)), Error);
    EXPECT_THROW(Decoded<UTF8>(bytes), Error);
    EXPECT_THROW(Decoded<UTF16>(bytes), Error);
    EXPECT_THROW(Decoded<UTF32>(bytes), Error);
}

template <class Error>
void ExpectNoEncoding(std::uint32_t character) {
    SCOPED_TRACE(character);
    EXPECT_THROW(Encoded<UTF8>(UnitsOfCharacter<UTF8>(character)), Error);
    EXPECT_THROW(Encoded<UTF16>(UnitsOfCharacter<UTF16>(character)), Error);
    EXPECT_THROW(Encoded<UTF32>({character}), Error);
    Units<UTF32> const one = {character};
    EXPECT_THROW(UnixPlatform::FromNativeUnicode(RefOf<UTF32>(one)), Error);
}

// What the C library itself makes of a text under the locale in force; nothing if it refuses.
std::optional<Units<UTF32>> ReferenceDecoding(Bytes const& bytes) {
    std::string const text(bytes.begin(), bytes.end());
    std::wstring wide(text.size() + 1, L'\0');
    std::size_t const length = std::mbstowcs(wide.data(), text.c_str(), wide.size());
    if (length == static_cast<std::size_t>(-1))
        return std::nullopt;
    return Units<UTF32>(wide.begin(), wide.begin() + static_cast<std::ptrdiff_t>(length));
}
std::optional<Bytes> ReferenceEncoding(std::uint32_t character) {
    wchar_t const wide[] = {static_cast<wchar_t>(character), L'\0'};
    char bytes[32];
    std::size_t const length = std::wcstombs(bytes, wide, sizeof(bytes));
    if (length == static_cast<std::size_t>(-1))
        return std::nullopt;
    return Bytes(bytes, bytes + length);
}

void ExpectNativeAsReference(std::uint32_t character) {
    SCOPED_TRACE(character);
    UStringRef<UTF32> const text(&character, &character + 1);
    if (auto const reference = ReferenceEncoding(character)) {
        EXPECT_EQ(*reference, UnitsOf(UnixPlatform::FromNativeUnicode(text)));
    } else {
        EXPECT_THROW(UnixPlatform::FromNativeUnicode(text), WideToMultiByteConvertError);
    }
}

bool IsUnicode(std::uint32_t character) {
    return character < 0xD800 || (character > 0xDFFF && character < 0x110000);
}

std::string AsciiText() {
    std::string text;
    for (char byte = 1; byte > 0 && byte < 127; ++byte)
        text += byte;
    return text + '\x7F';
}

void ExpectAsciiPasses() {
    std::string const text = AsciiText();
    EXPECT_EQ(UnitsOfAscii<UTF8>(text), Decoded<UTF8>(BytesOf(text)));
    EXPECT_EQ(UnitsOfAscii<UTF16>(text), Decoded<UTF16>(BytesOf(text)));
    EXPECT_EQ(UnitsOfAscii<UTF32>(text), Decoded<UTF32>(BytesOf(text)));
    EXPECT_EQ(BytesOf(text), Encoded<UTF8>(UnitsOfAscii<UTF8>(text)));
    EXPECT_EQ(BytesOf(text), Encoded<UTF16>(UnitsOfAscii<UTF16>(text)));
    EXPECT_EQ(BytesOf(text), Encoded<UTF32>(UnitsOfAscii<UTF32>(text)));
}

// The character of each byte by the system's tables, which the code under test does not ask by
// name. 0 where there is none.
std::vector<std::uint32_t> TableOf(char const* encoding) {
    std::vector<std::uint32_t> table(256);
    iconv_t const converter = iconv_open("UTF-32LE", encoding);
    for (unsigned int byte = 0; byte < 256; ++byte) {
        char from = static_cast<char>(byte);
        char* source = &from;
        std::size_t sourceLeft = 1;
        char* target = reinterpret_cast<char*>(&table[byte]);
        std::size_t targetLeft = sizeof(table[byte]);
        iconv(converter, &source, &sourceLeft, &target, &targetLeft);
    }
    iconv_close(converter);
    return table;
}

TEST(LocalEncodingTest, EncodingHasTheNameThatTheSystemGivesIt) {
    EXPECT_STREQ("ANSI_X3.4-1968", UnixPlatform::IANAEncodingName(Local8Bit()).Text());
    LocaleInForce const locale("C.UTF-8");
    ASSERT_TRUE(locale.IsThere());
    auto const name = UnixPlatform::IANAEncodingName(Local8Bit());
    EXPECT_STREQ("UTF-8", name.Text());
    EXPECT_EQ(5u, name.length);
}

TEST(LocalEncodingTest, NameOfAnEncodingHasAtMost48Bytes) {
    MadeLocales const locales;
    for (std::size_t length : {48, 49}) {
        std::string const longName(length, 'N');
        std::string const table = locales.RenamedEncoding(madeEncoding, longName);
        if (table.empty() || !locales.Make("of" + longName, "de_DE", table))
            GTEST_SKIP() << MadeLocales::whyNot;
        LocaleInForce const locale("of" + longName);
        ASSERT_TRUE(locale.IsThere());
        if (length == 48) {
            EXPECT_EQ(longName, UnixPlatform::IANAEncodingName(Local8Bit()).Text());
        } else {
            EXPECT_THROW(UnixPlatform::IANAEncodingName(Local8Bit()), ConstDataCapacityExceeded);
        }
    }
}

TEST(LocalEncodingTest, EmptyTextFromTheLocaleGivesTheStringOfNullPointers) {
    char const nothing[] = "";
    for (bool terminated : {false, true}) {
        UStringRef<Local8Bit> const empty(nothing, nothing, terminated);
        EXPECT_EQ(nullptr, UnixPlatform::ToUTF8(empty).Begin());
        EXPECT_EQ(nullptr, UnixPlatform::ToUTF16(empty).Begin());
        EXPECT_EQ(nullptr, UnixPlatform::ToUTF32(empty).Begin());
    }
    EXPECT_EQ(nullptr, UnixPlatform::ToUTF8(UStringRef<Local8Bit>()).Begin());
    AutoUString<UTF32> const native = UnixPlatform::ToNativeUnicode(UStringRef<Local8Bit>());
    ASSERT_NE(nullptr, native.Begin());
    EXPECT_TRUE(native.IsEmpty());
    EXPECT_EQ(0u, *native.End());
}

TEST(LocalEncodingTest, EmptyTextToTheLocaleGivesAnAllocatedEmptyString) {
    EXPECT_EQ(Bytes(), Encoded<UTF8>({}));
    EXPECT_EQ(Bytes(), Encoded<UTF16>({}));
    EXPECT_EQ(Bytes(), Encoded<UTF32>({}));
    AutoUString<Local8Bit> const native = UnixPlatform::FromNativeUnicode(UStringRef<UTF32>());
    ASSERT_NE(nullptr, native.Begin());
    EXPECT_TRUE(native.IsEmpty());
    EXPECT_EQ(0, *native.End());
}

TEST(LocalEncodingTest, AsciiPassesInEachLocale) {
    ExpectAsciiPasses();
    LocaleInForce const locale("C.UTF-8");
    ASSERT_TRUE(locale.IsThere());
    ExpectAsciiPasses();
}

TEST(LocalEncodingTest, DefaultLocaleRefusesAllBeyondAscii) {
    for (int byte = 0x80; byte <= 0xFF; ++byte)
        ExpectNoDecoding<MultiByteToWideConvertError>({'a', static_cast<char>(byte)});
    ExpectNoDecoding<MultiByteToWideConvertError>(BytesOf("\xC3\xA9"));
    for (std::uint32_t character : {0x80, 0xE9, 0xFF, 0x100, 0x20AC, 0xFFFF, 0x1F600, 0x10FFFF})
        ExpectNoEncoding<WideToMultiByteConvertError>(character);
}

TEST(LocalEncodingTest, EnvironmentAloneSetsNoLocale) {
    setenv("LC_ALL", "C.UTF-8", 1);
    ExpectNoDecoding<MultiByteToWideConvertError>(BytesOf("\xC3\xA9"));
    EXPECT_STREQ("ANSI_X3.4-1968", UnixPlatform::IANAEncodingName(Local8Bit()).Text());
    unsetenv("LC_ALL");
}

TEST(LocalEncodingTest, LocaleOfUTF8GivesTheSameBytes) {
    LocaleInForce const locale("C.UTF-8");
    ASSERT_TRUE(locale.IsThere());
    EXPECT_EQ((Units<UTF8>{0xC3, 0xA9}), Decoded<UTF8>(BytesOf("\xC3\xA9")));
    EXPECT_EQ(BytesOf("\xC3\xA9"), Encoded<UTF8>({0xC3, 0xA9}));
    EXPECT_EQ((Units<UTF16>{0xD83D, 0xDE00}), Decoded<UTF16>(BytesOf("\xF0\x9F\x98\x80")));
    EXPECT_EQ(BytesOf("\xF0\x9F\x98\x80"), Encoded<UTF16>({0xD83D, 0xDE00}));
    EXPECT_EQ((Units<UTF32>{0x20AC}), Decoded<UTF32>(BytesOf("\xE2\x82\xAC")));
    EXPECT_EQ(BytesOf("\xE2\x82\xAC"), Encoded<UTF32>({0x20AC}));
}

TEST(LocalEncodingTest, EveryCharacterPassesALocaleOfUTF8) {
    LocaleInForce const locale("C.UTF-8");
    ASSERT_TRUE(locale.IsThere());
    Units<UTF32> every;
    for (std::uint32_t character = 1; character < 0x110000; ++character)
        if (IsUnicode(character))
            every.push_back(character);
    auto const utf8 = UnitsOf(Transcode<UTF8>(RefOf<UTF32>(every)));
    auto const utf16 = UnitsOf(Transcode<UTF16>(RefOf<UTF32>(every)));
    Bytes const local(utf8.begin(), utf8.end());
    EXPECT_TRUE(local == Encoded<UTF8>(utf8));
    EXPECT_TRUE(local == Encoded<UTF16>(utf16));
    EXPECT_TRUE(local == Encoded<UTF32>(every));
    EXPECT_TRUE(utf8 == Decoded<UTF8>(local));
    EXPECT_TRUE(utf16 == Decoded<UTF16>(local));
    EXPECT_TRUE(every == Decoded<UTF32>(local));
}

TEST(LocalEncodingTest, LocaleOfUTF8RefusesWhatIsMalformed) {
    LocaleInForce const locale("C.UTF-8");
    ASSERT_TRUE(locale.IsThere());
    for (char const* text :
         {"\xC3", "a\xC3", "\xC3(", "\x80",
          "\xBF"
          "a",
          "\xFF", "\xFE", "\xC0\x80", "\xC1\xBF", "\xE0\x80\xAF", "\xE2\x82", "\xE2\x28\xA1",
          "\xED\xA0\x80", "\xED\xBF\xBF", "\xF0\x80\x80\xAF", "\xF0\x9F\x98"})
        ExpectNoDecoding<MultiByteToWideConvertError>(BytesOf(text));
}

TEST(LocalEncodingTest, EveryByteOfAnEightBitLocaleHasItsCharacter) {
    EightBitLocale const locale;
    if (locale.WhyNot() != nullptr)
        GTEST_SKIP() << locale.WhyNot();
    EXPECT_STREQ(madeEncoding, UnixPlatform::IANAEncodingName(Local8Bit()).Text());
    auto const table = TableOf(madeEncoding);
    EXPECT_EQ(0x20ACu, table[0xA4]);
    for (unsigned int byte = 1; byte < 256; ++byte) {
        Bytes const local = {static_cast<char>(byte)};
        EXPECT_EQ((Units<UTF32>{table[byte]}), Decoded<UTF32>(local));
        EXPECT_EQ(UnitsOfCharacter<UTF16>(table[byte]), Decoded<UTF16>(local));
        EXPECT_EQ(UnitsOfCharacter<UTF8>(table[byte]), Decoded<UTF8>(local));
        EXPECT_EQ(local, Encoded<UTF32>({table[byte]}));
        EXPECT_EQ(local, Encoded<UTF16>(UnitsOfCharacter<UTF16>(table[byte])));
        EXPECT_EQ(local, Encoded<UTF8>(UnitsOfCharacter<UTF8>(table[byte])));
    }
}

TEST(LocalEncodingTest, EightBitLocaleRefusesEveryOtherCharacter) {
    EightBitLocale const locale;
    if (locale.WhyNot() != nullptr)
        GTEST_SKIP() << locale.WhyNot();
    std::vector<bool> isEncodable(0x10000);
    for (std::uint32_t character : TableOf(madeEncoding))
        isEncodable.at(character) = true;
    std::string wrong;
    for (std::uint32_t character = 1; character < 0x10000; ++character) {
        bool encoded = true;
        try {
            UnixPlatform::FromNativeUnicode(UStringRef<UTF32>(&character, &character + 1));
        } catch (WideToMultiByteConvertError const&) {
            encoded = false;
        }
        if (encoded != isEncodable[character])
            wrong += std::to_string(character) + ' ';
    }
    EXPECT_EQ("", wrong);
    for (std::uint32_t character : {0xA4, 0x100, 0x20AD, 0xFFFD, 0x1F600, 0x10FFFF})
        ExpectNoEncoding<WideToMultiByteConvertError>(character);
}

template <class E>
void ExpectDecoding(Bytes const& bytes) {
    SCOPED_TRACE(ShownUnits(bytes));
    auto const reference = ReferenceDecoding(bytes);
    if (!reference) {
        EXPECT_THROW(Decoded<E>(bytes), MultiByteToWideConvertError);
    } else if (std::all_of(reference->begin(), reference->end(), IsUnicode)) {
        Units<E> const units = Decoded<E>(bytes);
        EXPECT_EQ(UnitsOf(Transcode<E>(RefOf<UTF32>(*reference))), units);
        EXPECT_EQ(bytes, Encoded<E>(units));
    } else if constexpr (std::is_same_v<E, UTF32>) {
        EXPECT_EQ(*reference, Decoded<E>(bytes));
    } else {
        EXPECT_THROW(Decoded<E>(bytes), InvalidTextEncoding);
    }
}

void ExpectDecodings(Bytes const& bytes) {
    ExpectDecoding<UTF8>(bytes);
    ExpectDecoding<UTF16>(bytes);
    ExpectDecoding<UTF32>(bytes);
}

TEST(LocalEncodingTest, RandomBytesAreWhatTheLocaleSays) {
    constexpr unsigned int seed = 20;
    std::mt19937 random(seed);
    SCOPED_TRACE(seed);
    for (char const* name : {"C", "C.UTF-8"}) {
        LocaleInForce const locale(name);
        ASSERT_TRUE(locale.IsThere());
        for (int round = 0; round < 3000; ++round) {
            Bytes bytes;
            for (std::size_t length = random() % 6; bytes.size() < length;)
                bytes.push_back(static_cast<char>(random() % 4 == 0 ? 1 + random() % 127
                                                                    : 0x80 + random() % 0x80));
            ExpectDecodings(bytes);
        }
    }
}

// A library may read the old forms of UTF-8, which reach beyond Unicode. Deliberate: nobody tests
// its wide characters but the transcoder behind them, and none stands behind ToUTF32.
TEST(LocalEncodingTest, WideCharactersBeyondUnicodeAreFoundByTheTranscoder) {
    LocaleInForce const locale("C.UTF-8");
    ASSERT_TRUE(locale.IsThere());
    ExpectDecodings(BytesOf("\xF4\x90\x80\x80"));
    ExpectDecodings(BytesOf("a\xF7\xBF\xBF\xBF"));
    ExpectDecodings(BytesOf("\xF8\x88\x80\x80\x80"));
    ExpectDecodings(BytesOf("\xFD\xBF\xBF\xBF\xBF\xBF"));
}

TEST(LocalEncodingTest, TextFromTheLocaleEndsAtItsFirstNul) {
    Bytes const bytes = {'a', 'b', '\0', 'c', '\0'};
    EXPECT_EQ(UnitsOfAscii<UTF8>("ab"), Decoded<UTF8>(bytes));
    EXPECT_EQ(UnitsOfAscii<UTF16>("ab"), Decoded<UTF16>(bytes));
    EXPECT_EQ(UnitsOfAscii<UTF32>("ab"), Decoded<UTF32>(bytes));
    // Behind the NUL nobody looks.
    EXPECT_EQ(UnitsOfAscii<UTF8>("ab"), Decoded<UTF8>({'a', 'b', '\0', '\xFF'}));
    UStringRef<Local8Bit> const marked(bytes.data(), bytes.data() + 4, true);
    EXPECT_EQ(UnitsOfAscii<UTF8>("ab"), UnitsOf(UnixPlatform::ToUTF8(marked)));
    EXPECT_EQ(UnitsOfAscii<UTF32>("ab"), UnitsOf(UnixPlatform::ToNativeUnicode(marked)));
    EXPECT_EQ(Units<UTF8>(), Decoded<UTF8>({'\0', 'a'}));
}

TEST(LocalEncodingTest, TextToTheLocaleEndsAtItsFirstNul) {
    EXPECT_EQ(BytesOf("ab"), Encoded<UTF8>({'a', 'b', 0, 'c'}));
    EXPECT_EQ(BytesOf("ab"), Encoded<UTF16>({'a', 'b', 0, 'c', 0}));
    EXPECT_EQ(BytesOf("ab"), Encoded<UTF32>({'a', 'b', 0, 'c'}));
    EXPECT_EQ(Bytes(), Encoded<UTF32>({0, 'a'}));
    // Behind the NUL the locale is not asked.
    EXPECT_EQ(BytesOf("ab"), Encoded<UTF32>({'a', 'b', 0, 0xE9}));
}

TEST(LocalEncodingTest, TextToTheLocaleIsValidatedBehindItsFirstNulToo) {
    EXPECT_THROW(Encoded<UTF8>({'a', 0, 0xFF}), InvalidTextEncoding);
    EXPECT_THROW(Encoded<UTF16>({'a', 0, 0xD800}), InvalidTextEncoding);
    EXPECT_THROW(Encoded<UTF32>({'a', 0, 0xD800}), InvalidTextEncoding);
}

// Behind a character that none of the locales but UTF-8 can encode.
void ExpectMalformedUnicodeIsFoundFirst() {
    EXPECT_THROW(Encoded<UTF32>({0xD800}), InvalidTextEncoding);
    EXPECT_THROW(Encoded<UTF32>({0x20AD, 0xDFFF}), InvalidTextEncoding);
    EXPECT_THROW(Encoded<UTF32>({0x20AD, 0x110000}), InvalidTextEncoding);
    EXPECT_THROW(Encoded<UTF32>({0xFFFFFFFF}), InvalidTextEncoding);
    EXPECT_THROW(Encoded<UTF16>({0x20AD, 0xDC00, 0x61}), InvalidTextEncoding);
    EXPECT_THROW(Encoded<UTF16>({0x20AD, 0xD800}), InvalidTextEncoding);
    EXPECT_THROW(Encoded<UTF8>({0xE2, 0x82, 0xAD, 0xC3}), InvalidTextEncoding);
    EXPECT_THROW(Encoded<UTF8>({0xE2, 0x82, 0xAD, 0xFF, 0x61, 0x61, 0x61}), InvalidTextEncoding);
}

TEST(LocalEncodingTest, MalformedUnicodeIsFoundBeforeTheLocaleIsAsked) {
    for (char const* name : {"C", "C.UTF-8"}) {
        LocaleInForce const locale(name);
        ASSERT_TRUE(locale.IsThere());
        ExpectMalformedUnicodeIsFoundFirst();
    }
}

TEST(LocalEncodingTest, MalformedUnicodeIsFoundBeforeAnEightBitLocaleIsAsked) {
    EightBitLocale const locale;
    if (locale.WhyNot() != nullptr)
        GTEST_SKIP() << locale.WhyNot();
    ExpectMalformedUnicodeIsFoundFirst();
    ExpectNoEncoding<WideToMultiByteConvertError>(0x20AD);
    // Deliberate: UTF-8 lacks the guard, so here it is the locale that refuses.
    EXPECT_THROW(Encoded<UTF8>({0xED, 0xA0, 0x80}), WideToMultiByteConvertError);
}

// Deliberate: UTF-8 lacks the guard of the other two.
TEST(LocalEncodingTest, WhatUTF8LetsThroughToUTF32IsShownToTheLocale) {
    for (char const* name : {"C", "C.UTF-8"}) {
        LocaleInForce const locale(name);
        ASSERT_TRUE(locale.IsThere());
        EXPECT_THROW(Encoded<UTF8>({0xED, 0xA0, 0x80}), WideToMultiByteConvertError);
        EXPECT_EQ(BytesOf("/"), Encoded<UTF8>({0xC0, 0xAF}));
        if (auto const reference = ReferenceEncoding(0x1FFFFF)) {
            EXPECT_EQ(*reference, Encoded<UTF8>({0xF7, 0xBF, 0xBF, 0xBF}));
        } else {
            EXPECT_THROW(Encoded<UTF8>({0xF7, 0xBF, 0xBF, 0xBF}), WideToMultiByteConvertError);
        }
    }
}

TEST(LocalEncodingTest, NativeTextIsTestedByTheLocaleAlone) {
    for (char const* name : {"C", "C.UTF-8"}) {
        LocaleInForce const locale(name);
        ASSERT_TRUE(locale.IsThere());
        for (std::uint32_t unit : {0x7Fu, 0x80u, 0xD800u, 0xDFFFu, 0xFFFFu, 0x10FFFFu, 0x110000u,
                                   0x7FFFFFFFu, 0x80000000u, ~0u})
            ExpectNativeAsReference(unit);
    }
}

TEST(LocalEncodingTest, MarkedTextIsReadInPlaceIntoOneBufferOfTheRightSize) {
    LocaleInForce const locale("C.UTF-8");
    ASSERT_TRUE(locale.IsThere());
    char const local[] = "\xC3\xA9t\xC3\xA9";
    std::uint32_t const wide[] = {0xE9, 't', 0xE9, 0};
    for (bool terminated : {false, true}) {
        std::size_t const copies = terminated ? 0 : 1;
        AllocationCounter const decoding;
        UnixPlatform::ToNativeUnicode(UStringRef<Local8Bit>(local, local + 5, terminated));
        EXPECT_EQ(1 + copies, decoding.Count());
        EXPECT_EQ(sizeof(wide) + copies * sizeof(local), decoding.Bytes());
        AllocationCounter const encoding;
        UnixPlatform::FromNativeUnicode(UStringRef<UTF32>(wide, wide + 3, terminated));
        EXPECT_EQ(1 + copies, encoding.Count());
        EXPECT_EQ(sizeof(local) + copies * sizeof(wide), encoding.Bytes());
    }
}

TEST(LocalEncodingTest, TranscodeReachesTheBridge) {
    LocaleInForce const locale("C.UTF-8");
    ASSERT_TRUE(locale.IsThere());
    Bytes const local = BytesOf("\xC3\xA9");
    AutoUString<UTF8> const utf8 = Transcode<UTF8>(RefOf<Local8Bit>(local));
    EXPECT_EQ((Units<UTF8>{0xC3, 0xA9}), UnitsOf(utf8));
    AutoUString<Local8Bit> const back = Transcode<Local8Bit>(utf8);
    EXPECT_EQ(local, UnitsOf(back));
    EXPECT_NE(nullptr, Transcode<Local8Bit>(UStringRef<UTF8>()).Begin());
    EXPECT_EQ(nullptr, Transcode<UTF8>(UStringRef<Local8Bit>()).Begin());
}

// Each of the `expected` allocations failing in turn; the leak check sees what is left behind.
template <class Convert>
void ExpectEachMissingAllocationThrown(std::size_t expected, Convert convert) {
    EXPECT_EQ(expected, AllocationsOf(convert));
    for (std::size_t n = 1; n <= expected; ++n) {
        FailingAllocation const failing(n);
        EXPECT_THROW(convert(), std::bad_alloc) << n;
    }
}

// From the locale: the terminated copy, the wide characters, the transcoder's room and its result.
// To it: the transcoder's two, a terminated text of which no copy is made, and the result.
TEST(LocalEncodingTest, MissingMemoryLeavesNothingBehind) {
    Bytes const local = BytesOf("text");
    auto const text = RefOf<Local8Bit>(local);
    ExpectEachMissingAllocationThrown(2, [&] { UnixPlatform::ToNativeUnicode(text); });
    ExpectEachMissingAllocationThrown(4, [&] { UnixPlatform::ToUTF8(text); });
    ExpectEachMissingAllocationThrown(4, [&] { UnixPlatform::ToUTF16(text); });
    ExpectEachMissingAllocationThrown(4, [&] { UnixPlatform::ToUTF32(text); });
    Units<UTF8> const utf8 = UnitsOfAscii<UTF8>("text");
    Units<UTF16> const utf16 = UnitsOfAscii<UTF16>("text");
    Units<UTF32> const utf32 = UnitsOfAscii<UTF32>("text");
    ExpectEachMissingAllocationThrown(
        2, [&] { UnixPlatform::FromNativeUnicode(RefOf<UTF32>(utf32)); });
    ExpectEachMissingAllocationThrown(3, [&] { UnixPlatform::ToLocal8Bit(RefOf<UTF8>(utf8)); });
    ExpectEachMissingAllocationThrown(3, [&] { UnixPlatform::ToLocal8Bit(RefOf<UTF16>(utf16)); });
    ExpectEachMissingAllocationThrown(3, [&] { UnixPlatform::ToLocal8Bit(RefOf<UTF32>(utf32)); });
}

TEST(LocalEncodingTest, ErrorsCarryTheirTypeAlone) {
    EXPECT_STREQ("N12UnixPlatform27MultiByteToWideConvertErrorE",
                 MultiByteToWideConvertError().what());
    EXPECT_STREQ("N12UnixPlatform27WideToMultiByteConvertErrorE",
                 WideToMultiByteConvertError().what());
    EXPECT_EQ(sizeof(DebuggableException), sizeof(WideToMultiByteConvertError));
    EXPECT_EQ(sizeof(DebuggableException), sizeof(MultiByteToWideConvertError));
}

} // namespace
