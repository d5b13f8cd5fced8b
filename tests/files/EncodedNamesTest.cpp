#include "files/EncodedNames.h"

#include <clocale>
#include <cstddef>
#include <filesystem>
#include <new>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "files/FileErrors.h"
#include "files/FileLoop.h"
#include "files/FileOperations.h"
#include "tests/support/Bytes.h"
#include "tests/support/FailingAllocation.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/unicode/Locales.h"
#include "unicode/GenericTranscoder.h"
#include "unicode/LocalEncoding.h"

namespace {

using UnixPlatform::MultiByteToWideConvertError;
using UnixPlatform::WideToMultiByteConvertError;

// A view of the bytes, which must outlive it.
UStringRef<UTF8> Text(std::string const& bytes) {
    auto const* const begin = Reinterpret<unsigned char const*>(bytes.data());
    return UStringRef<UTF8>(begin, begin + bytes.size());
}

std::string StringOf(ConstData bytes) { return MakeString(bytes); }
std::string StringOf(FileName const& name) { return StringOf(name.Bytes()); }
std::string StringOf(FileLocation const& location) { return StringOf(location.Bytes()); }
std::string StringOf(AutoUString<UTF8> const& text) {
    return StringOf(EncodingCast<ConstData>(text));
}

// U+00E9 in UTF-8, and in the 8-bit encoding of the made locale.
std::string const accented = "\xC3\xA9";
std::string const accentedInEightBits = "\xE9";

TEST(EncodedNamesTest, AsciiNeedsNoLocale) {
    EXPECT_EQ("name.txt", StringOf(FileName(Text("name.txt"))));
    EXPECT_EQ("/a/b", StringOf(MakeFileLocation(Text("/a/b"))));
    EXPECT_EQ("ab", StringOf(Text("a") + FileName("b")));
    EXPECT_EQ("ab", StringOf(FileName("a") + Text("b")));
    EXPECT_EQ("name.txt", StringOf(FileName("name.txt").MakeUTF8String()));
}

TEST(EncodedNamesTest, BeyondAsciiNothingPassesWithoutALocale) {
    EXPECT_THROW(FileName{Text(accented)}, WideToMultiByteConvertError);
    EXPECT_THROW(MakeFileLocation(Text("/" + accented)), WideToMultiByteConvertError);
    EXPECT_THROW(Text(accented) + FileName("b"), WideToMultiByteConvertError);
    EXPECT_THROW(FileName("a") + Text(accented), WideToMultiByteConvertError);
    EXPECT_THROW(FileName(accented.c_str()).MakeUTF8String(), MultiByteToWideConvertError);
}

TEST(EncodedNamesTest, LocaleOfUTF8KeepsTheBytes) {
    LocaleInForce const locale("C.UTF-8");
    ASSERT_TRUE(locale.IsThere());
    EXPECT_EQ(accented, StringOf(FileName(Text(accented))));
    EXPECT_EQ("/x/" + accented, StringOf(MakeFileLocation(Text("/x/" + accented))));
    EXPECT_EQ(accented + "b", StringOf(Text(accented) + FileName("b")));
    EXPECT_EQ("a" + accented, StringOf(FileName("a") + Text(accented)));
    EXPECT_EQ(accented, StringOf(FileName(accented.c_str()).MakeUTF8String()));
}

TEST(EncodedNamesTest, EightBitLocaleHasBytesOfItsOwn) {
    EightBitLocale const locale;
    if (locale.WhyNot() != nullptr)
        GTEST_SKIP() << locale.WhyNot();
    EXPECT_EQ(accentedInEightBits, StringOf(FileName(Text(accented))));
    EXPECT_EQ("/x/" + accentedInEightBits, StringOf(MakeFileLocation(Text("/x/" + accented))));
    EXPECT_EQ(accentedInEightBits + "b", StringOf(Text(accented) + FileName("b")));
    EXPECT_EQ("a" + accentedInEightBits, StringOf(FileName("a") + Text(accented)));
    EXPECT_EQ(accented, StringOf(FileName(accentedInEightBits.c_str()).MakeUTF8String()));
    // The currency sign gave its byte to the euro sign.
    EXPECT_THROW(FileName{Text("\xC2\xA4")}, WideToMultiByteConvertError);
    EXPECT_EQ("\xE2\x82\xAC", StringOf(FileName("\xA4").MakeUTF8String()));
}

TEST(EncodedNamesTest, NameIsMeasuredInBytesOfTheLocale) {
    EightBitLocale const locale;
    if (locale.WhyNot() != nullptr)
        GTEST_SKIP() << locale.WhyNot();
    std::string longest;
    for (int i = 0; i < 255; ++i)
        longest += accented;
    EXPECT_EQ(255u, FileName(Text(longest)).Length());
    EXPECT_THROW(FileName{Text(longest + accented)}, IllegalFileNameLength);
}

TEST(EncodedNamesTest, MalformedTextIsFoundBeforeTheName) {
    std::string const malformed = "/\xC3";
    EXPECT_THROW(FileName{Text(malformed)}, InvalidTextEncoding);
    EXPECT_THROW(MakeFileLocation(Text(malformed)), InvalidTextEncoding);
    EXPECT_THROW(Text(malformed) + FileName("b"), InvalidTextEncoding);
    EXPECT_THROW(FileName("a") + Text(malformed), InvalidTextEncoding);
    EXPECT_THROW(FileName{Text("/" + accented)}, WideToMultiByteConvertError);
    EXPECT_THROW(Text(std::string(300, 'a') + accented) + FileName("b"),
                 WideToMultiByteConvertError);
}

// Deliberate: see UnixPlatform::ToLocal8Bit.
TEST(EncodedNamesTest, EncodedSurrogateIsRefusedByTheLocale) {
    LocaleInForce const locale("C.UTF-8");
    ASSERT_TRUE(locale.IsThere());
    EXPECT_THROW(FileName{Text("\xED\xA0\x80")}, WideToMultiByteConvertError);
    EXPECT_THROW(FileName("\xED\xA0\x80").MakeUTF8String(), MultiByteToWideConvertError);
}

TEST(EncodedNamesTest, NameFromTextIsTestedLikeAnyOther) {
    EXPECT_THROW(FileName{Text("")}, IllegalFileNameLength);
    EXPECT_THROW(FileName{Text(std::string(256, 'a'))}, IllegalFileNameLength);
    EXPECT_THROW(FileName{Text(std::string(100'000, 'a'))}, IllegalFileNameLength);
    EXPECT_EQ(255u, FileName(Text(std::string(255, 'a'))).Length());
    EXPECT_THROW(FileName{Text(".")}, IllegalFileNameReserved);
    EXPECT_THROW(FileName{Text("..")}, IllegalFileNameReserved);
    EXPECT_THROW(FileName{Text("a/b")}, IllegalFileName);
}

// Deliberate: as with all joined names.
TEST(EncodedNamesTest, JoinedNamesAreMeasuredAndNothingElse) {
    EXPECT_EQ("a/b", StringOf(Text("a/") + FileName("b")));
    EXPECT_EQ("", StringOf(Text("") + FileName()));
    FileName const half(std::string(127, 'a').c_str());
    EXPECT_EQ(254u, (half + Text(std::string(127, 'b'))).Length());
    EXPECT_THROW(half + Text(std::string(128, 'b')), IllegalFileName);
    EXPECT_THROW(Text(std::string(128, 'b')) + half, IllegalFileName);
    EXPECT_THROW(Text(std::string(100'000, 'b')) + half, IllegalFileName);
}

TEST(EncodedNamesTest, LocationLosesItsTrailingSlashes) {
    EXPECT_EQ("/a", StringOf(MakeFileLocation(Text("/a//"))));
    EXPECT_EQ("/", StringOf(MakeFileLocation(Text("///"))));
    EXPECT_TRUE(MakeFileLocation(Text("")).IsEmpty());
    EXPECT_TRUE(MakeFileLocation(UStringRef<UTF8>()).IsEmpty());
    std::string const deep = "/" + std::string(5000, 'd');
    EXPECT_EQ(deep, StringOf(MakeFileLocation(Text(deep))));
}

// Deliberate.
TEST(EncodedNamesTest, TextEndsAtItsFirstNul) {
    std::string const nulInside("a\0/", 3);
    EXPECT_EQ("a", StringOf(FileName(Text(nulInside))));
    EXPECT_EQ("a", StringOf(MakeFileLocation(Text(nulInside))));
    EXPECT_EQ("ab", StringOf(Text(nulInside) + FileName("b")));
    FileName const name((ConstData(std::string("a\0b", 3))));
    EXPECT_EQ(3u, name.Length());
    EXPECT_EQ("a", StringOf(name.MakeUTF8String()));
}

TEST(EncodedNamesTest, OwnedTextWillDoToo) {
    LocaleInForce const locale("C.UTF-8");
    ASSERT_TRUE(locale.IsThere());
    AutoUString<UTF8> const text = FileName(accented.c_str()).MakeUTF8String();
    EXPECT_EQ(accented, StringOf(FileName(text)));
    EXPECT_EQ(accented, StringOf(MakeFileLocation(text)));
    EXPECT_EQ(accented + "b", StringOf(text + FileName("b")));
    EXPECT_EQ("a" + accented, StringOf(FileName("a") + text));
}

TEST(EncodedNamesTest, ViewsCopyNothing) {
    std::string const anyBytes = "\xFF\xC3\x01";
    FileName const name(anyBytes.c_str());
    FileLocation const location = MakeFileLocation(("/" + anyBytes).c_str());
    FileName const longName(std::string(200, 'n').c_str());
    AllocationCounter const allocations;
    UStringRef<Local8Bit> const view = name.MakeLocal8BitRef();
    UStringRef<Local8Bit> const path = location.Local8BitPath();
    UStringRef<Local8Bit> const longView = longName.MakeLocal8BitRef();
    EXPECT_EQ(0u, allocations.Count());
    EXPECT_EQ(name.Text(), view.begin);
    EXPECT_EQ(name.Text() + 3, view.end);
    EXPECT_TRUE(view.nullTerminated);
    EXPECT_EQ(location.Text(), path.begin);
    EXPECT_EQ(location.Text() + 4, path.end);
    EXPECT_TRUE(path.nullTerminated);
    EXPECT_EQ(longName.Text(), longView.begin);
    EXPECT_EQ(200u, longView.Length());
}

TEST(EncodedNamesTest, ViewOfANameKeepsItsNul) {
    FileName const name((ConstData(std::string("a\0b", 3))));
    EXPECT_EQ(3u, name.MakeLocal8BitRef().Length());
}

// Its stored length is one too many.
TEST(EncodedNamesTest, ViewOfALocationEndsWhereItsBytesDo) {
    FileLocation location;
    location.Set(MakeFileLocation("/a"), "/b"_bytes);
    ASSERT_NE(location.StoredLength(), location.Bytes().Length());
    EXPECT_EQ(location.Bytes(), EncodingCast<ConstData>(location.Local8BitPath()));
}

TEST(EncodedNamesTest, NothingIsEmptyInItsOwnWay) {
    EXPECT_EQ(nullptr, FileName().MakeUTF8String().Begin());
    EXPECT_TRUE(FileName().MakeLocal8BitRef().IsEmpty());
    EXPECT_NE(nullptr, FileName().MakeLocal8BitRef().begin);
    EXPECT_TRUE(FileLocation().Local8BitPath().IsEmpty());
    EXPECT_NE(nullptr, FileLocation().Local8BitPath().begin);
}

// A name that no locale here can decode is as good as any for everything but these forms.
TEST(EncodedNamesTest, ElsewhereTheBytesOfANameAreUntouched) {
    std::string const undecodable = "\xFF\xC3(\xED\xA0\x80";
    for (char const* locale : {"C", "C.UTF-8"}) {
        LocaleInForce const inForce(locale);
        ASSERT_TRUE(inForce.IsThere());
        TemporaryDirectory const directory;
        FileLocation const parent = MakeFileLocation(ConstData(directory.path()));
        FileName const name(undecodable.c_str());
        CreateFile(parent.Child(name), FileCreatingInfo());
        EXPECT_TRUE(std::filesystem::exists(directory / undecodable));
        std::vector<std::string> found;
        for (FileLoop loop(parent, nullptr, false); loop.HasItem(); ++loop)
            found.push_back(StringOf(loop->Location().Name()));
        EXPECT_EQ(std::vector<std::string>{undecodable}, found);
        EXPECT_THROW(name.MakeUTF8String(), MultiByteToWideConvertError);
    }
}

TEST(EncodedNamesTest, MissingMemoryLeavesNothingBehind) {
    std::string const longText(200, 'a');
    FileName const name(longText.c_str());
    std::size_t const failures = ForEachFailingAllocation([&](std::size_t) {
        try {
            static_cast<void>(FileName(Text(longText)));
            static_cast<void>(MakeFileLocation(Text(longText)));
            static_cast<void>(Text("b") + name);
            static_cast<void>(name.MakeUTF8String());
        } catch (std::bad_alloc const&) {
        }
    });
    EXPECT_LT(8u, failures);
}

} // namespace
