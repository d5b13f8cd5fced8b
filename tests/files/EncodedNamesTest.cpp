#include "files/EncodedNames.h"

#include "files/FileLoop.h"
#include "files/FileOperations.h"
#include "tests/files/FileTest.h"
#include "tests/unicode/Locales.h"
#include "unicode/GenericTranscoder.h"
#include "unicode/LocalEncoding.h"

namespace {

// A view of the bytes, which must outlive it.
UStringRef<UTF8> Utf8(std::string const& bytes) {
    auto const* const begin = Reinterpret<unsigned char const*>(bytes.data());
    return UStringRef<UTF8>(begin, begin + bytes.size());
}

std::string StringOf(FileName const& name) { return MakeString(name.Bytes()); }
std::string StringOf(FileLocation const& location) { return MakeString(location.Bytes()); }
std::string StringOf(AutoUString<UTF8> const& text) {
    return MakeString(EncodingCast<ConstData>(text));
}

// The text of the result, or the description of the exception.
template <class Make>
std::string StringOrError(Make make) {
    std::string text;
    std::string const thrown = Thrown([&] { text = StringOf(make()); });
    return thrown == "nothing" ? text : thrown;
}

// The results of the four functions that take UTF-8: a name, a location, and two joined names.
template <class Text>
Strings MadeOf(Text const& text) {
    return {StringOrError([&] { return FileName(text); }),
            StringOrError([&] { return MakeFileLocation(text); }),
            StringOrError([&] { return text + FileName("b"); }),
            StringOrError([&] { return FileName("a") + text; })};
}

// The expected results for a text with these bytes in the locale.
Strings MadeOfLocal(std::string const& bytes) { return {bytes, bytes, bytes + "b", "a" + bytes}; }

std::string Utf8Of(std::string const& local) {
    return StringOrError([&] { return FileName(local.c_str()).MakeUTF8String(); });
}

Strings Four(std::string const& text) { return Strings(4, text); }

std::string const tooWide = "UnixPlatform::WideToMultiByteConvertError";
std::string const tooLocal = "UnixPlatform::MultiByteToWideConvertError";

// U+00E9 in UTF-8, and in the 8-bit encoding of the test's locale.
std::string const accented = "\xC3\xA9";
std::string const accentedInEightBits = "\xE9";

TEST(EncodedNamesTest, TextIsAsciiInTheCLocale) {
    EXPECT_EQ(MadeOfLocal("name.txt"), MadeOf(Utf8("name.txt")));
    EXPECT_EQ("name.txt", Utf8Of("name.txt"));
    EXPECT_EQ(Four(tooWide), MadeOf(Utf8(accented)));
    EXPECT_EQ(tooLocal, Utf8Of(accented));
}

TEST(EncodedNamesTest, Utf8LocaleKeepsTheBytes) {
    ScopedLocale const locale("C.UTF-8");
    ASSERT_TRUE(locale.IsSet());
    EXPECT_EQ(MadeOfLocal(accented), MadeOf(Utf8(accented)));
    EXPECT_EQ(accented, Utf8Of(accented));
    AutoUString<UTF8> const owned = FileName(accented.c_str()).MakeUTF8String();
    EXPECT_EQ(MadeOfLocal(accented), MadeOf(owned));
    // Deliberate: see UnixPlatform::ToLocal8Bit.
    EXPECT_EQ(Four(tooWide), MadeOf(Utf8("\xED\xA0\x80")));
    EXPECT_EQ(tooLocal, Utf8Of("\xED\xA0\x80"));
}

TEST(EncodedNamesTest, EightBitLocaleConvertsTheBytes) {
    EightBitLocale const locale;
    if (locale.WhyNot() != nullptr)
        GTEST_SKIP() << locale.WhyNot();
    EXPECT_EQ(MadeOfLocal(accentedInEightBits), MadeOf(Utf8(accented)));
    EXPECT_EQ(accented, Utf8Of(accentedInEightBits));
    // In this encoding, the byte of the currency sign encodes the euro sign.
    EXPECT_EQ(Four(tooWide), MadeOf(Utf8("\xC2\xA4")));
    EXPECT_EQ("\xE2\x82\xAC", Utf8Of("\xA4"));
    std::string longest;
    for (int i = 0; i < 255; ++i)
        longest += accented;
    EXPECT_EQ(255u, FileName(Utf8(longest)).Length()) << "the length counts bytes of the locale";
    EXPECT_THROW(FileName{Utf8(longest + accented)}, IllegalFileNameLength);
}

TEST(EncodedNamesTest, IllFormedTextIsReportedBeforeAnIllegalName) {
    EXPECT_EQ(Four("InvalidTextEncoding"), MadeOf(Utf8("/\xC3")));
    EXPECT_EQ(Four(tooWide), MadeOf(Utf8("/" + accented)));
    EXPECT_EQ(Four(tooWide), MadeOf(Utf8(std::string(300, 'a') + accented)));
}

TEST(EncodedNamesTest, NamesFromTextAreValidated) {
    for (std::size_t const length : {0, 256, 100'000})
        EXPECT_THROW(FileName{Utf8(std::string(length, 'a'))}, IllegalFileNameLength);
    EXPECT_EQ(255u, FileName(Utf8(std::string(255, 'a'))).Length());
    EXPECT_THROW(FileName{Utf8("..")}, IllegalFileNameReserved);
    EXPECT_THROW(FileName{Utf8("a/b")}, IllegalFileName);
}

// Deliberate: joined names are not validated otherwise.
TEST(EncodedNamesTest, JoinedNamesAreValidatedForTheirLengthOnly) {
    EXPECT_EQ("a/b", StringOf(Utf8("a/") + FileName("b")));
    EXPECT_EQ("", StringOf(Utf8("") + FileName()));
    FileName const half(std::string(127, 'a').c_str());
    EXPECT_EQ(254u, (half + Utf8(std::string(127, 'b'))).Length());
    EXPECT_THROW(half + Utf8(std::string(128, 'b')), IllegalFileName);
    EXPECT_THROW(Utf8(std::string(128, 'b')) + half, IllegalFileName);
    EXPECT_THROW(Utf8(std::string(100'000, 'b')) + half, IllegalFileName);
}

TEST(EncodedNamesTest, LocationDropsTrailingSlashes) {
    std::string const deep = "/" + std::string(5000, 'd');
    for (auto const& [text, path] : Pairs{{"/a//", "/a"}, {"///", "/"}, {"", ""}, {deep, deep}})
        EXPECT_EQ(path, StringOf(MakeFileLocation(Utf8(text))));
    EXPECT_TRUE(MakeFileLocation(UStringRef<UTF8>()).IsEmpty());
}

// Deliberate: the functions take NUL-terminated strings.
TEST(EncodedNamesTest, TextEndsAtItsFirstNul) {
    EXPECT_EQ((Strings{"a", "a", "ab", "aa"}), MadeOf(Utf8(Bytes("a\0/"))));
    FileName const name(ConstData(Bytes("a\0b")));
    EXPECT_EQ(3u, name.MakeLocal8BitRef().Length());
    EXPECT_EQ("a", StringOf(name.MakeUTF8String()));
}

TEST(EncodedNamesTest, ViewsCopyNothing) {
    std::string const anyBytes = "\xFF\xC3\x01" + std::string(200, 'n');
    FileName const names[] = {FileName("\xFF\xC3\x01"), FileName(anyBytes.c_str())};
    FileLocation const location = At("/" + anyBytes);
    AllocationCounter const allocations;
    for (FileName const& name : names) {
        UStringRef<Local8Bit> const view = name.MakeLocal8BitRef();
        EXPECT_EQ(name.Text(), view.begin);
        EXPECT_EQ(name.Text() + name.Length(), view.end);
        EXPECT_TRUE(view.nullTerminated);
    }
    UStringRef<Local8Bit> const path = location.Local8BitPath();
    EXPECT_EQ(0u, allocations.Count());
    EXPECT_EQ(location.Text(), path.begin);
    EXPECT_EQ(location.Text() + 204, path.end);
    EXPECT_TRUE(path.nullTerminated);
    FileLocation tooLong;
    tooLong.Set(At("/a"), "/b"_bytes);
    ASSERT_NE(tooLong.StoredLength(), tooLong.Bytes().Length());
    EXPECT_EQ(tooLong.Bytes(), EncodingCast<ConstData>(tooLong.Local8BitPath()));
}

TEST(EncodedNamesTest, EmptyNameHasAnEmptyViewAndANullText) {
    EXPECT_EQ(nullptr, FileName().MakeUTF8String().Begin());
    EXPECT_TRUE(FileName().MakeLocal8BitRef().IsEmpty());
    EXPECT_NE(nullptr, FileName().MakeLocal8BitRef().begin);
    EXPECT_TRUE(FileLocation().Local8BitPath().IsEmpty());
    EXPECT_NE(nullptr, FileLocation().Local8BitPath().begin);
}

// Only the conversion to UTF-8 fails for a name that the locale cannot decode.
TEST(EncodedNamesTest, UndecodableNamesKeepTheirBytes) {
    std::string const undecodable = "\xFF\xC3(\xED\xA0\x80";
    for (char const* locale : {"C", "C.UTF-8"}) {
        ScopedLocale const scope(locale);
        ASSERT_TRUE(scope.IsSet());
        TemporaryDirectory const directory;
        FileLocation const parent = At(directory.path());
        CreateFile(parent.Child(FileName(undecodable.c_str())), FileCreatingInfo());
        EXPECT_EQ(DescribeTree(directory.path()), (Tree{{undecodable, "file "}}));
        EXPECT_EQ(undecodable, StringOf(FileLoop(parent, nullptr, false)->Location().Name()));
        EXPECT_EQ(tooLocal, Utf8Of(undecodable));
    }
}

TEST(EncodedNamesTest, FailedAllocationThrowsBadAlloc) {
    std::string const longText(200, 'a');
    std::size_t const failures = ForEachFailingAllocation([&](std::size_t) {
        std::string const thrown = Thrown([&] {
            FileName const name(longText.c_str());
            FileName const made(Utf8(longText));
            FileLocation const location = MakeFileLocation(Utf8(longText));
            FileName const joined = Utf8("b") + name;
            AutoUString<UTF8> const text = name.MakeUTF8String();
        });
        EXPECT_TRUE(thrown == "nothing" || thrown == "std::bad_alloc") << thrown;
    });
    EXPECT_LT(8u, failures);
}

} // namespace
