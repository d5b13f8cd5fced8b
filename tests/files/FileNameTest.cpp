#include "files/FileName.h"

#include "tests/files/FileTest.h"
#include "tests/support/ZeroBytes.h"

namespace {

using Name = UnixPlatform::FileName;

std::string TextOf(Name const& name) { return MakeString(name.Bytes()); }

Name Made(std::string const& text) {
    Name name;
    name.Set(text.data(), static_cast<unsigned int>(text.size()));
    return name;
}

Name Combined(std::string const& first, std::string const& second) {
    return Name::CombineNames(first.data(), static_cast<unsigned int>(first.size()), second.data(),
                              static_cast<unsigned int>(second.size()));
}

// The resulting name, or the description of the exception.
std::string Result(std::function<Name()> const& make) {
    std::string text;
    std::string const thrown = Thrown([&] { text = TextOf(make()); });
    return thrown == "nothing" ? text : thrown;
}

static_assert(sizeof(FileName) == sizeof(Name));
static_assert(std::is_same_v<decltype(Name() + Name()), Name>);
static_assert(!std::is_base_of_v<IllegalFileName, IllegalFileNameLength>);
static_assert(!std::is_base_of_v<IllegalFileName, IllegalFileNameReserved>);
static_assert(!std::is_base_of_v<IllegalFileName, ExtensionDoesNotMatch>);
static_assert(!std::is_base_of_v<IllegalFileName, PrefixDoesNotMatch>);
static_assert(sizeof(IllegalFileName) == sizeof(DebuggableException));

TEST(FileNameTest, DefaultNameIsEmptyAndPlatformNamesConvert) {
    EXPECT_EQ(0u, Name().Length());
    EXPECT_STREQ("", Name().Text());
    EXPECT_TRUE(Name().HasPrefix("", true) && Name().HasSuffix("", false));
    EXPECT_FALSE(Name().HasPrefix("a", true) || Name().HasExtension("", false));
    EXPECT_EQ("", TextOf(Name().BaseName()));
    FileName const joined = FileName("name") + ".txt";
    EXPECT_EQ("name", TextOf(FileName(joined.BaseName())));
}

// The length is validated before the bytes.
TEST(FileNameTest, RejectsAnEmptyOrTooLongName) {
    for (std::string const& text :
         {std::string(), std::string(256, 'n'), std::string(255, 'n') + '/'}) {
        EXPECT_EQ("IllegalFileNameLength", Result([&] { return Made(text); }));
        EXPECT_EQ("IllegalFileNameLength", Result([&] { return Name(text); }));
    }
    Name name("before");
    EXPECT_THROW(name.Set("x", 0xFFFFFFFF), IllegalFileNameLength);
    EXPECT_THROW(name.Set(nullptr, 0), IllegalFileNameLength);
    EXPECT_THROW(name.Set("x", 0), IllegalFileNameLength);
    EXPECT_THROW(name.Set("..", 2), IllegalFileNameReserved);
    EXPECT_EQ("before", TextOf(name));
    EXPECT_THROW(Name{ConstData()}, IllegalFileNameLength);
    EXPECT_THROW(Name(""), IllegalFileNameLength);
}

TEST(FileNameTest, RejectsReservedNamesAndSlashes) {
    for (char const* const text : {".", ".."})
        EXPECT_EQ("IllegalFileNameReserved", Result([&] { return Made(text); }));
    for (std::string const& text : {std::string("/"), std::string("/a"), std::string("a/"),
                                    std::string("../"), std::string(254, 'n') + '/'})
        EXPECT_EQ("IllegalFileName", Result([&] { return Made(text); })) << text;
    for (std::string const text : {"...", ".a", "a.", "..a", ". ", " .", "a\\b", "c:"})
        EXPECT_EQ(text, Result([&] { return Made(text); }));
}

TEST(FileNameTest, AcceptsEveryOtherByteAndLengthFrom1To255) {
    for (std::size_t length = 1; length <= 255; ++length)
        EXPECT_EQ(std::string(length, 'n'), TextOf(Made(std::string(length, 'n'))));
    for (char const byte : EveryByte())
        if (byte != '/') {
            EXPECT_EQ((std::string{'a', byte}), TextOf(Made({'a', byte})));
        }
}

// Truncated to 32 bits, the length would be 3.
TEST(FileNameTest, RejectsLengthsBeyond32Bits) {
    ZeroBytes const zeros((std::size_t{1} << 32) + 3);
    if (zeros.WhyNot() != nullptr)
        GTEST_SKIP() << zeros.WhyNot();
    Name const name("n");
    EXPECT_THROW(Name{zeros.Bytes()}, IllegalFileNameLength);
    EXPECT_THROW(name + zeros.Bytes(), IllegalFileName);
    EXPECT_THROW(zeros.Bytes() + name, IllegalFileName);
}

TEST(FileNameTest, NameRejectedForASlashEndsThereAndHasTheNewLength) {
    for (std::size_t length : {10, 23, 24, 100}) {
        Name name("before");
        std::string const text = "abc/" + std::string(length - 4, 'x');
        EXPECT_THROW(name.Set(text.data(), static_cast<unsigned int>(length)), IllegalFileName);
        EXPECT_EQ(length, name.Length());
        EXPECT_STREQ("abc", name.Text());
    }
}

TEST(FileNameTest, ErrorsHaveTheirClassName) {
    EXPECT_STREQ("15IllegalFileName", IllegalFileName().what());
    EXPECT_STREQ("21IllegalFileNameLength", IllegalFileNameLength().what());
    EXPECT_STREQ("23IllegalFileNameReserved", IllegalFileNameReserved().what());
    EXPECT_STREQ("21ExtensionDoesNotMatch", ExtensionDoesNotMatch().what());
    EXPECT_STREQ("18PrefixDoesNotMatch", PrefixDoesNotMatch().what());
}

TEST(FileNameTest, AllocatesOneBlockForNamesFrom24Bytes) {
    std::string const longestInside(23, 'n');
    EXPECT_EQ(0u, AllocationsOf([&] {
                  Name const name = Made(longestInside);
                  Name copy(name);
                  copy = name;
                  copy.BaseName();
                  copy.HasExtension("n", true);
              }));
    for (std::size_t length : {24, 100, 255}) {
        std::string const text(length, 'n');
        AllocationCounter const counter;
        Name name = Made(text);
        EXPECT_EQ(1u, counter.Count());
        EXPECT_EQ(length + 1, counter.Bytes());
        name.Set("short", 5);
        EXPECT_EQ(0, counter.Held());
    }
}

TEST(FileNameTest, CopiesShareNoBytes) {
    for (std::size_t length : {1, 23, 24, 255}) {
        std::string const text(length, 'n');
        Name original = Made(text);
        Name copy(original);
        Name assigned("other");
        assigned = original;
        original.Set("changed", 7);
        EXPECT_EQ(text, TextOf(copy));
        EXPECT_NE(copy.Text(), assigned.Text());
        Name const& self = assigned;
        assigned = self;
        EXPECT_EQ(text, TextOf(assigned));
    }
}

TEST(FileNameTest, SafeSetDoesNotValidate) {
    Name name("before");
    for (std::string const& text : {std::string(), std::string("."), std::string(".."),
                                    std::string("a/b"), std::string(1'000, '/')}) {
        name.SafeSet(text.data(), static_cast<unsigned int>(text.size()));
        EXPECT_EQ(text, TextOf(name));
    }
    name.SafeSet(nullptr, 0);
    EXPECT_TRUE(name.IsEmpty());
}

TEST(FileNameTest, CanBeSetFromAPartOfItself) {
    for (std::size_t length : {12, 23, 24, 60}) {
        std::string const text = EveryByte().substr('a', length);
        for (unsigned int start = 0; start < length; ++start)
            for (unsigned int part = 1; start + part <= length; ++part) {
                Name cut = Made(text);
                cut.SafeSet(cut.Text() + start, part);
                ASSERT_EQ(text.substr(start, part), TextOf(cut));
                Name checked = Made(text);
                checked.Set(checked.Text() + start, part);
                ASSERT_EQ(text.substr(start, part), TextOf(checked));
            }
    }
    Name name = Made(std::string(100, 'n'));
    char const* const text = name.Text();
    EXPECT_EQ(0u, AllocationsOf([&] { name.SafeSet(name.Text(), name.Length()); }));
    EXPECT_EQ(text, name.Text());
    EXPECT_EQ(std::string(100, 'n'), TextOf(name));
}

// Deliberate: the limit is one byte less than that of Set, and the exception is another one.
TEST(FileNameTest, CombinesUpTo254BytesWithoutOtherValidation) {
    EXPECT_EQ(254u, Combined("", std::string(254, 'b')).Length());
    EXPECT_THROW(Combined("", std::string(255, 'b')), IllegalFileName);
    EXPECT_THROW(Name::CombineNames("a", 0xFFFFFFFF, "b", 1), IllegalFileName);
    EXPECT_THROW(Name::CombineNames("a", 0xFFFFFFFF, "b", 0xFFFFFFFF), IllegalFileName);
    EXPECT_EQ("a/b", TextOf(Combined("a/", "b")));
    EXPECT_EQ("..", TextOf(Combined(".", ".")));
    EXPECT_TRUE(Name::CombineNames(nullptr, 0, nullptr, 0).IsEmpty());
    EXPECT_EQ("name.txt", TextOf(Name("name") + ".txt"));
    EXPECT_EQ("name", TextOf(Name("name") + ConstData()));
    EXPECT_THROW(ConstData(std::string(100'000, 'x')) + Name("name"), IllegalFileName);
}

TEST(FileNameTest, ExtensionIncludesOrExcludesItsDot) {
    std::string const none = "ExtensionDoesNotMatch";
    // The last column is the part before the extension.
    for (auto const& [text, extension, ignoresCase, before] :
         std::vector<std::tuple<std::string, std::string, bool, std::string>>{
             {"a.txt", ".txt", false, "a"},
             {"a.txt", "txt", false, "a."},
             {"A.TXT", ".txt", true, "A"},
             {"a.txt", "TXT", true, "a."},
             {".txt", "txt", false, "."},
             {".txt", ".txt", false, "IllegalFileName"},
             {"a.tar.gz", "tar.gz", false, "a."},
             {"a.", "", false, "a."},
             {"A.TXT", ".txt", false, none},
             {"reporttxt", "txt", true, none},
             {"txt", "txt", false, none},
             {"a", "", false, none}}) {
        SCOPED_TRACE(text + ' ' + extension);
        Name const name(text);
        EXPECT_EQ(before != none, name.HasExtension(extension.c_str(), ignoresCase));
        EXPECT_EQ(before, Result([&, &ending = extension, &ignores = ignoresCase] {
                      return name.NameBeforeExtension(ending.c_str(), ignores);
                  }));
    }
}

TEST(FileNameTest, ReturnsItsBaseNameItsDigitsAndTheRest) {
    std::string const none = "IllegalFileName";
    std::string const other = "PrefixDoesNotMatch";
    // The columns: the part before the last dot, the leading digits, the part after "1p" in any
    // case.
    for (auto const& [text, base, digits, rest] :
         std::vector<std::tuple<char const*, std::string, std::string, std::string>>{
             {"a.tar.gz", "a.tar", none, other},
             {".profile", "", none, other},
             {"...", "..", none, other},
             {"123abc", "123abc", "123", other},
             {"9876543210.1", "9876543210", "9876543210", other},
             {":1", ":1", none, other},
             {"1pa.b", "1pa", "1", "a.b"},
             {"1PA", "1PA", "1", "A"},
             {"1p", "1p", "1", none},
             {"1", "1", "1", other}}) {
        SCOPED_TRACE(text);
        Name const name(text);
        EXPECT_EQ(base, TextOf(name.BaseName()));
        EXPECT_EQ(digits, Result([&] { return name.PrefixDigits(); }));
        EXPECT_EQ(rest, Result([&] { return name.NameAfterPrefix("1p", true); }));
    }
    EXPECT_EQ(other, Result([] { return Name("1PA").NameAfterPrefix("1p", false); }));
}

TEST(FileNameTest, IgnoresTheCaseOfAsciiLettersOnly) {
    Name const name("aB@\xE9");
    EXPECT_TRUE(name.HasPrefix("Ab@", true) && name.HasSuffix("b@\xE9", true));
    EXPECT_FALSE(name.HasPrefix("Ab@", false) || name.HasSuffix("b@\xE9", false));
    EXPECT_FALSE(name.HasSuffix("\xC9", true) || name.HasPrefix("ab`", true));
}

TEST(FileNameTest, WildcardMatchesTheWholeName) {
    for (char const* pattern : {"a*", "a?c", "abc"})
        EXPECT_TRUE(Name("abc").MatchesWildCard(pattern)) << pattern;
    for (char const* pattern : {"a?", "", "ABC", "*d"})
        EXPECT_FALSE(Name("abc").MatchesWildCard(pattern)) << pattern;
    EXPECT_TRUE(Name().MatchesWildCard("*") && Name().MatchesWildCard(""));
}

TEST(FileNameTest, FailedAllocationLeavesTheNameAsItWas) {
    Name name("before");
    std::string const text(100, 'n');
    std::size_t const failures = ForEachFailingAllocation([&](std::size_t) {
        if (Thrown([&] { name.Set(text.data(), 100); }) != "nothing") {
            EXPECT_EQ("before", TextOf(name));
        }
    });
    EXPECT_EQ(1u, failures);
    EXPECT_EQ(text, TextOf(name));
}

} // namespace
