#include "unicode/LocalEncoding.h"

#include "fuzz/LocalEncodingProperties.h"
#include "fuzz/RandomInputs.h"
#include "tests/support/FailingAllocation.h"

namespace {

using UnixPlatform::MultiByteToWideConvertError;
using UnixPlatform::WideToMultiByteConvertError;

// The selectors of LocalEncodingProperties::Check.
constexpr char maxLocales = 4;
enum Direction : char { decode, encodeUTF8, encodeUTF16, encodeUTF32, encodeWide };

// Compares a conversion with iconv in every locale, with and without the mark for NUL-terminated
// text.
template <class Unit>
void ExpectAgreement(Direction direction, std::vector<Unit> const& units) {
    std::string const bytes(reinterpret_cast<char const*>(units.data()),
                            units.size() * sizeof(Unit));
    for (char locale = 0; locale < maxLocales; ++locale)
        for (char const isMarked : {'\0', '\1'}) {
            std::string const input = std::string{locale, direction, isMarked} + bytes;
            ExpectHolds(input, [&] { LocalEncodingProperties::Check(Fuzz::Input(input)); });
        }
}

void ExpectDecodingAgrees(std::string const& bytes) {
    ExpectAgreement(decode, std::vector<char>(bytes.begin(), bytes.end()));
}

TEST(LocalEncodingTest, ShortTextFromTheLocaleAgreesWithIconv) {
    ExpectDecodingAgrees("");
    for (int first = 0; first < 256; ++first) {
        ExpectDecodingAgrees(std::string{static_cast<char>(first)});
        for (unsigned char second : {0x00, 0x28, 0x61, 0x80, 0x9F, 0xA0, 0xBF, 0xC3, 0xFF})
            ExpectDecodingAgrees({static_cast<char>(first), static_cast<char>(second)});
    }
    // Ill-formed UTF-8, and sequences beyond Unicode that the C library may accept.
    for (char const* const text :
         {"\xE0\x80\xAF", "\xE2\x28\xA1", "\xED\xA0\x80", "\xED\xBF\xBF", "\xF0\x80\x80\xAF",
          "\xF0\x9F\x98", "\xF0\x9F\x98\x80", "\xF4\x90\x80\x80", "a\xF7\xBF\xBF\xBF",
          "\xF8\x88\x80\x80\x80", "\xFD\xBF\xBF\xBF\xBF\xBF"})
        ExpectDecodingAgrees(text);
}

TEST(LocalEncodingTest, BasicPlaneToTheLocaleAgreesWithIconv) {
    for (std::uint32_t character = 0; character < 0x10000; ++character)
        ExpectAgreement<std::uint32_t>(encodeWide, {character});
    for (std::uint32_t const character :
         {0x10000u, 0x1F600u, 0x10FFFFu, 0x110000u, 0x1FFFFFu, 0x7FFFFFFFu, 0x80000000u, ~0u}) {
        ExpectAgreement<std::uint32_t>(encodeWide, {character});
        ExpectAgreement<std::uint32_t>(encodeUTF32, {character});
    }
    for (std::uint32_t character = 0; character < 0x3000; ++character)
        ExpectAgreement<std::uint32_t>(encodeUTF32, {character});
}

// The error follows a character that only UTF-8 can encode, or a NUL, which ends the text.
TEST(LocalEncodingTest, ValidatesTheWholeTextBeforeConvertingToTheLocale) {
    for (std::uint32_t const before : {0x20ADu, 0u})
        for (std::uint32_t const last : {0x61u, 0xE9u, 0xD800u, 0xDFFFu, 0x110000u, ~0u}) {
            ExpectAgreement<std::uint32_t>(encodeUTF32, {'a', before, last});
            ExpectAgreement<unsigned short>(encodeUTF16, {'a', static_cast<unsigned short>(before),
                                                          static_cast<unsigned short>(last)});
        }
    Units<UTF8> const sequences[] = {{0xC3, 0xA9}, {0xC3}, {0xFF, 0x61, 0x61, 0x61}};
    for (Units<UTF8> const& before : {Units<UTF8>{0xE2, 0x82, 0xAD}, Units<UTF8>{0x61, 0}})
        for (Units<UTF8> const& sequence : sequences) {
            Units<UTF8> text = before;
            text.insert(text.end(), sequence.begin(), sequence.end());
            ExpectAgreement(encodeUTF8, text);
        }
    EXPECT_THROW(UnixPlatform::ToLocal8Bit(RefOf<UTF32>({0x20AD, 0xD800})), InvalidTextEncoding);
}

// Deliberate: the validation of UTF-8 accepts surrogates, unlike that of UTF-16 and UTF-32, so the
// conversion to the locale fails.
TEST(LocalEncodingTest, LocaleRejectsSurrogatesInUTF8) {
    ExpectAgreement<unsigned char>(encodeUTF8, {0xED, 0xA0, 0x80});
    ExpectAgreement<unsigned char>(encodeUTF8, {0xC0, 0xAF});
    ExpectAgreement<unsigned char>(encodeUTF8, {0xF7, 0xBF, 0xBF, 0xBF});
    EXPECT_THROW(UnixPlatform::ToLocal8Bit(RefOf<UTF8>({0xED, 0xA0, 0x80})),
                 WideToMultiByteConvertError);
}

TEST(LocalEncodingTest, RandomTextAgreesWithIconv) {
    ForRandomInputs(20, 20000, 24, "abc\x80\xA4\xC3\xA9\xE2\x82\xAC\xF0\x9F\xED",
                    LocalEncodingProperties::Check);
}

TEST(LocalEncodingTest, EightBitLocaleHasTheEuroSign) {
    EightBitLocale const locale;
    if (locale.WhyNot() != nullptr)
        GTEST_SKIP() << locale.WhyNot();
    EXPECT_STREQ(EightBitLocale::encoding, UnixPlatform::IANAEncodingName(Local8Bit()).Text());
    EXPECT_EQ(Units<UTF32>{0x20AC}, UnitsOf(UnixPlatform::ToUTF32(RefOf<Local8Bit>({'\xA4'}))));
    EXPECT_THROW(UnixPlatform::ToLocal8Bit(RefOf<UTF32>({0xA4})), WideToMultiByteConvertError);
}

TEST(LocalEncodingTest, Utf8LocaleConvertsEveryCharacter) {
    ScopedLocale const locale("C.UTF-8");
    ASSERT_TRUE(locale.IsSet());
    Units<UTF32> every;
    for (std::uint32_t character = 1; character < 0x110000; ++character)
        if (!Naive::IsSurrogate(character))
            every.push_back(character);
    auto const utf8 = Transcode<UTF8>(RefOf<UTF32>(every));
    auto const utf16 = Transcode<UTF16>(RefOf<UTF32>(every));
    Units<Local8Bit> const local(utf8.Begin(), utf8.End());
    auto const isLocal = [&](AutoUString<Local8Bit> const& text) {
        return UnitsOf(text) == local;
    };
    EXPECT_TRUE(isLocal(UnixPlatform::ToLocal8Bit(utf8)));
    EXPECT_TRUE(isLocal(UnixPlatform::ToLocal8Bit(utf16)));
    EXPECT_TRUE(isLocal(UnixPlatform::ToLocal8Bit(RefOf<UTF32>(every))));
    EXPECT_TRUE(isLocal(Transcode<Local8Bit>(utf8)));
    EXPECT_TRUE(UnitsOf(utf8) == UnitsOf(UnixPlatform::ToUTF8(RefOf<Local8Bit>(local))));
    EXPECT_TRUE(UnitsOf(utf16) == UnitsOf(UnixPlatform::ToUTF16(RefOf<Local8Bit>(local))));
    EXPECT_TRUE(every == UnitsOf(UnixPlatform::ToUTF32(RefOf<Local8Bit>(local))));
}

TEST(LocalEncodingTest, EnvironmentDoesNotChangeTheLocale) {
    setenv("LC_ALL", "C.UTF-8", 1);
    EXPECT_STREQ("ANSI_X3.4-1968", UnixPlatform::IANAEncodingName(Local8Bit()).Text());
    EXPECT_THROW(UnixPlatform::ToUTF8(RefOf<Local8Bit>({'\xC3', '\xA9'})),
                 MultiByteToWideConvertError);
    unsetenv("LC_ALL");
}

TEST(LocalEncodingTest, EncodingNameIsTheCodesetOfTheLocale) {
    ScopedLocale const locale("C.UTF-8");
    ASSERT_TRUE(locale.IsSet());
    auto const name = UnixPlatform::IANAEncodingName(Local8Bit());
    EXPECT_STREQ("UTF-8", name.Text());
    EXPECT_EQ(5u, name.length);
}

TEST(LocalEncodingTest, RejectsEncodingNameLongerThan48Bytes) {
    CompiledLocales const locales;
    for (std::size_t length : {48, 49}) {
        std::string const longName(length, 'N');
        std::string const table = locales.RenamedEncoding(EightBitLocale::encoding, longName);
        if (table.empty() || !locales.Make("of" + longName, "de_DE", table))
            GTEST_SKIP() << CompiledLocales::whyNot;
        ScopedLocale const locale("of" + longName);
        ASSERT_TRUE(locale.IsSet());
        if (length == 48) {
            EXPECT_EQ(longName, UnixPlatform::IANAEncodingName(Local8Bit()).Text());
        } else {
            EXPECT_THROW(UnixPlatform::IANAEncodingName(Local8Bit()), ConstDataCapacityExceeded);
        }
    }
}

TEST(LocalEncodingTest, NulTerminatedTextIsNotCopied) {
    ScopedLocale const locale("C.UTF-8");
    ASSERT_TRUE(locale.IsSet());
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

// Makes each of the `expected` allocations fail in turn. The leak check detects memory that is not
// freed.
template <class Convert>
void ExpectEachFailedAllocationThrows(std::size_t expected, Convert convert) {
    EXPECT_EQ(expected, AllocationsOf(convert));
    for (std::size_t n = 1; n <= expected; ++n) {
        FailingAllocation const failing(n);
        EXPECT_THROW(convert(), std::bad_alloc) << n;
    }
}

// From the locale: the terminated copy, the wide characters, the buffer of the transcoder and the
// result. To the locale: the buffer of the transcoder, its terminated copy and the result.
TEST(LocalEncodingTest, FailedAllocationsLeakNothing) {
    Units<Local8Bit> const local{'t', 'e', 'x', 't'};
    auto const text = RefOf<Local8Bit>(local);
    ExpectEachFailedAllocationThrows(2, [&] { UnixPlatform::ToNativeUnicode(text); });
    ExpectEachFailedAllocationThrows(4, [&] { UnixPlatform::ToUTF8(text); });
    ExpectEachFailedAllocationThrows(4, [&] { UnixPlatform::ToUTF16(text); });
    ExpectEachFailedAllocationThrows(4, [&] { UnixPlatform::ToUTF32(text); });
    Units<UTF8> const utf8{'t', 'e', 'x', 't'};
    Units<UTF16> const utf16{'t', 'e', 'x', 't'};
    Units<UTF32> const utf32{'t', 'e', 'x', 't'};
    auto const wide = RefOf<UTF32>(utf32);
    ExpectEachFailedAllocationThrows(2, [&] { UnixPlatform::FromNativeUnicode(wide); });
    ExpectEachFailedAllocationThrows(3, [&] { UnixPlatform::ToLocal8Bit(RefOf<UTF8>(utf8)); });
    ExpectEachFailedAllocationThrows(3, [&] { UnixPlatform::ToLocal8Bit(RefOf<UTF16>(utf16)); });
    ExpectEachFailedAllocationThrows(3, [&] { UnixPlatform::ToLocal8Bit(wide); });
}

TEST(LocalEncodingTest, WhatReturnsTheNamesOfTheExceptionTypes) {
    EXPECT_STREQ("N12UnixPlatform27MultiByteToWideConvertErrorE",
                 MultiByteToWideConvertError().what());
    EXPECT_STREQ("N12UnixPlatform27WideToMultiByteConvertErrorE",
                 WideToMultiByteConvertError().what());
    static_assert(sizeof(DebuggableException) == sizeof(WideToMultiByteConvertError));
    static_assert(sizeof(DebuggableException) == sizeof(MultiByteToWideConvertError));
}

} // namespace
