#include "files/unix/FileName.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <random>
#include <string>
#include <type_traits>

#include "files/FileName.h"
#include "tests/support/Bytes.h"
#include "tests/support/FailingAllocation.h"
#include "tests/support/ZeroBytes.h"

namespace {

using Name = UnixPlatform::FileName;

std::string TextOf(Name const& name) { return MakeString(name.Bytes()); }

Name Made(std::string const& text) {
    Name name;
    name.Set(text.data(), static_cast<unsigned int>(text.size()));
    return name;
}

Name Unchecked(std::string const& text) {
    Name name;
    name.SafeSet(text.data(), static_cast<unsigned int>(text.size()));
    return name;
}

Name Combined(std::string const& first, std::string const& second) {
    return Name::CombineNames(first.data(), static_cast<unsigned int>(first.size()), second.data(),
                              static_cast<unsigned int>(second.size()));
}

TEST(UnixFileNameTest, IsEmptyByDefault) {
    Name const name;
    EXPECT_TRUE(name.IsEmpty());
    EXPECT_EQ(0u, name.Length());
    EXPECT_STREQ("", name.Text());
}

TEST(UnixFileNameTest, EveryLengthFrom1To255IsLegal) {
    for (std::size_t length = 1; length <= 255; ++length) {
        std::string const text(length, 'n');
        EXPECT_EQ(text, Made(text).Text());
        EXPECT_EQ(length, Made(text).Length());
    }
}

TEST(UnixFileNameTest, EmptyAndTooLongNamesAreRefusedByTheirLength) {
    EXPECT_THROW(Made(""), IllegalFileNameLength);
    EXPECT_THROW(Made(std::string(256, 'n')), IllegalFileNameLength);
    Name name;
    EXPECT_THROW(name.Set("x", 0xFFFFFFFF), IllegalFileNameLength);
    EXPECT_THROW(name.Set(nullptr, 0), IllegalFileNameLength);
    EXPECT_THROW(Name{ConstData()}, IllegalFileNameLength);
    EXPECT_THROW(Name(""), IllegalFileNameLength);
    EXPECT_THROW(Name(std::string(256, 'n')), IllegalFileNameLength);
}

// Cut to 32 bits, three bytes would be left.
TEST(UnixFileNameTest, LengthBeyond32BitsIsNotCut) {
    ZeroBytes const zeros((std::size_t{1} << 32) + 3);
    if (zeros.WhyNot() != nullptr)
        GTEST_SKIP() << zeros.WhyNot();
    Name const name("n");
    EXPECT_THROW(Name{zeros.Bytes()}, IllegalFileNameLength);
    EXPECT_THROW(name + zeros.Bytes(), IllegalFileName);
    EXPECT_THROW(zeros.Bytes() + name, IllegalFileName);
}

TEST(UnixFileNameTest, DotAndDotDotAreReserved) {
    EXPECT_THROW(Made("."), IllegalFileNameReserved);
    EXPECT_THROW(Made(".."), IllegalFileNameReserved);
    for (char const* legal : {"...", ".a", "a.", "..a", ". ", " .", "a.."})
        EXPECT_EQ(legal, TextOf(Made(legal)));
}

TEST(UnixFileNameTest, SlashIsRefusedWhereverItStands) {
    for (char const* illegal : {"/", "/a", "a/", "a/b", "./", "../", "./a", "//"})
        EXPECT_THROW(Made(illegal), IllegalFileName) << illegal;
    EXPECT_THROW(Made(std::string(254, 'n') + '/'), IllegalFileName);
}

// The length is tested before the bytes.
TEST(UnixFileNameTest, LongNameWithASlashIsRefusedByItsLength) {
    EXPECT_THROW(Made(std::string(255, 'n') + '/'), IllegalFileNameLength);
}

TEST(UnixFileNameTest, EveryOtherByteIsLegal) {
    for (int byte = 0; byte < 256; ++byte) {
        std::string const text{static_cast<char>(byte)};
        if (byte == '/')
            continue;
        EXPECT_EQ("a" + text + "b", TextOf(Made("a" + text + "b"))) << byte;
        if (byte != '.') {
            EXPECT_EQ(text, TextOf(Made(text))) << byte;
        }
    }
    for (char const* legal : {" a", "a ", "a\\b", "c:", "a\nb"})
        EXPECT_EQ(legal, TextOf(Made(legal)));
}

TEST(UnixFileNameTest, RefusedNameHasTheNewLengthAndTheBytesBeforeTheSlash) {
    for (std::size_t length : {10, 23, 24, 100}) {
        Name name("before");
        std::string const text = "abc/" + std::string(length - 4, 'x');
        EXPECT_THROW(name.Set(text.data(), static_cast<unsigned int>(length)), IllegalFileName);
        EXPECT_EQ(length, name.Length());
        EXPECT_EQ("abc", TextOf(name).substr(0, 3));
        EXPECT_STREQ("abc", name.Text());
    }
}

TEST(UnixFileNameTest, NameRefusedByLengthOrAsReservedStaysAsItWas) {
    Name name("before");
    EXPECT_THROW(name.Set("x", 0), IllegalFileNameLength);
    EXPECT_THROW(name.Set("..", 2), IllegalFileNameReserved);
    EXPECT_EQ("before", TextOf(name));
}

TEST(UnixFileNameTest, ErrorsStandBesideEachOtherAndNameThemselves) {
    static_assert(!std::is_base_of_v<IllegalFileName, IllegalFileNameLength>);
    static_assert(!std::is_base_of_v<IllegalFileName, IllegalFileNameReserved>);
    static_assert(!std::is_base_of_v<IllegalFileName, ExtensionDoesNotMatch>);
    static_assert(!std::is_base_of_v<IllegalFileName, PrefixDoesNotMatch>);
    static_assert(sizeof(IllegalFileName) == sizeof(DebuggableException));
    EXPECT_STREQ("15IllegalFileName", IllegalFileName().what());
    EXPECT_STREQ("21IllegalFileNameLength", IllegalFileNameLength().what());
    EXPECT_STREQ("23IllegalFileNameReserved", IllegalFileNameReserved().what());
    EXPECT_STREQ("21ExtensionDoesNotMatch", ExtensionDoesNotMatch().what());
    EXPECT_STREQ("18PrefixDoesNotMatch", PrefixDoesNotMatch().what());
}

TEST(UnixFileNameTest, NameOfUpTo23BytesCostsNoAllocation) {
    std::string const text(23, 'n');
    EXPECT_EQ(0u, AllocationsOf([&] {
                  Name const name = Made(text);
                  Name copy(name);
                  copy = name;
                  copy.BaseName();
                  copy.HasExtension("n", true);
              }));
}

TEST(UnixFileNameTest, LongerNameHasOneBlockOfItsLengthAndANul) {
    for (std::size_t length : {24, 100, 255}) {
        std::string const text(length, 'n');
        AllocationCounter const counter;
        Name const name = Made(text);
        EXPECT_EQ(1u, counter.Count());
        EXPECT_EQ(length + 1, counter.Bytes());
    }
}

TEST(UnixFileNameTest, CopiesAreReal) {
    for (std::size_t length : {1, 23, 24, 255}) {
        std::string const text(length, 'n');
        Name original = Made(text);
        Name copy(original);
        Name assigned("other");
        assigned = original;
        original.Set("changed", 7);
        EXPECT_EQ(text, TextOf(copy));
        EXPECT_EQ(text, TextOf(assigned));
        EXPECT_NE(copy.Text(), assigned.Text());
        Name const& self = assigned;
        assigned = self;
        EXPECT_EQ(text, TextOf(assigned));
    }
}

TEST(UnixFileNameTest, NameGrowsAndShrinksBetweenItsOwnBytesAndABlock) {
    std::mt19937 random(1);
    Name name;
    for (int round = 0; round < 2'000; ++round) {
        std::string const text = RandomBytes(random, 1 + random() % 40, "ab");
        name.Set(text.data(), static_cast<unsigned int>(text.size()));
        ASSERT_EQ(text, TextOf(name)) << "round " << round;
        ASSERT_EQ(text.size(), std::string(name.Text()).size()) << "round " << round;
    }
}

TEST(UnixFileNameTest, SafeSetTestsNothing) {
    for (std::string const& text : {std::string(), std::string("."), std::string(".."),
                                    std::string("a/b"), std::string(1'000, '/')})
        EXPECT_EQ(text, TextOf(Unchecked(text)));
    Name name("before");
    name.SafeSet(nullptr, 0);
    EXPECT_TRUE(name.IsEmpty());
}

TEST(UnixFileNameTest, NameCanBeSetFromAPartOfItself) {
    for (std::size_t length : {12, 23, 24, 60}) {
        std::string text;
        while (text.size() < length)
            text.push_back(static_cast<char>('a' + text.size() % 26));
        for (std::size_t start = 0; start < length; ++start) {
            for (std::size_t part = 1; start + part <= length; ++part) {
                Name cut = Made(text);
                cut.SafeSet(cut.Text() + start, static_cast<unsigned int>(part));
                ASSERT_EQ(text.substr(start, part), TextOf(cut));
                Name checked = Made(text);
                checked.Set(checked.Text() + start, static_cast<unsigned int>(part));
                ASSERT_EQ(text.substr(start, part), TextOf(checked));
            }
        }
    }
}

TEST(UnixFileNameTest, OwnTextOfTheSameLengthIsLeftWhereItIs) {
    Name name = Made(std::string(100, 'n'));
    char const* const text = name.Text();
    EXPECT_EQ(0u, AllocationsOf([&] { name.SafeSet(name.Text(), name.Length()); }));
    EXPECT_EQ(text, name.Text());
    EXPECT_EQ(std::string(100, 'n'), TextOf(name));
}

// Deliberate: one byte less than Set takes, and another exception.
TEST(UnixFileNameTest, CombinationHoldsAtMost254Bytes) {
    std::string const first(100, 'a');
    EXPECT_EQ(first + std::string(154, 'b'), TextOf(Combined(first, std::string(154, 'b'))));
    EXPECT_THROW(Combined(first, std::string(155, 'b')), IllegalFileName);
    EXPECT_EQ(254u, Combined("", std::string(254, 'b')).Length());
    EXPECT_THROW(Combined("", std::string(255, 'b')), IllegalFileName);
    EXPECT_THROW(Name::CombineNames("a", 0xFFFFFFFF, "b", 1), IllegalFileName);
    EXPECT_THROW(Name::CombineNames("a", 0xFFFFFFFF, "b", 0xFFFFFFFF), IllegalFileName);
}

TEST(UnixFileNameTest, CombinationIsNotTested) {
    EXPECT_EQ("a/b", TextOf(Combined("a/", "b")));
    EXPECT_EQ("..", TextOf(Combined(".", ".")));
    EXPECT_TRUE(Combined("", "").IsEmpty());
    EXPECT_TRUE(Name::CombineNames(nullptr, 0, nullptr, 0).IsEmpty());
}

TEST(UnixFileNameTest, PlusJoinsNamesAndTexts) {
    Name const name("name");
    Name const tail(".txt");
    EXPECT_EQ("name.txt", TextOf(name + tail));
    EXPECT_EQ("name.txt", TextOf(name + ".txt"));
    EXPECT_EQ("name.txt", TextOf(name + ConstData(".txt")));
    EXPECT_EQ("prename", TextOf("pre" + name));
    EXPECT_EQ("prename", TextOf(ConstData("pre") + name));
    EXPECT_EQ("name", TextOf(name + ConstData()));
    static_assert(std::is_same_v<decltype(name + tail), Name>);
    EXPECT_THROW(name + std::string(251, 'x'), IllegalFileName);
    EXPECT_EQ(254u, (name + std::string(250, 'x')).Length());
    EXPECT_THROW(ConstData(std::string(100'000, 'x')) + name, IllegalFileName);
}

TEST(UnixFileNameTest, PortableNameIsTheSame) {
    static_assert(sizeof(FileName) == sizeof(Name));
    FileName const name("name");
    FileName const joined = name + ".txt";
    EXPECT_EQ("name.txt", TextOf(joined));
    EXPECT_EQ("name", TextOf(FileName(joined.BaseName())));
    EXPECT_TRUE(FileName().IsEmpty());
    EXPECT_EQ("namename", TextOf(name + name));
}

TEST(UnixFileNameTest, SuffixAndPrefix) {
    Name const name("Report.Txt");
    EXPECT_TRUE(name.HasSuffix("xt", false));
    EXPECT_TRUE(name.HasSuffix("Report.Txt", false));
    EXPECT_TRUE(name.HasSuffix("", false));
    EXPECT_FALSE(name.HasSuffix("xReport.Txt", false));
    EXPECT_FALSE(name.HasSuffix("XT", false));
    EXPECT_TRUE(name.HasSuffix("XT", true));
    EXPECT_FALSE(name.HasSuffix("Report", true));

    EXPECT_TRUE(name.HasPrefix("Rep", false));
    EXPECT_TRUE(name.HasPrefix("Report.Txt", false));
    EXPECT_TRUE(name.HasPrefix("", false));
    EXPECT_FALSE(name.HasPrefix("Report.Txtx", false));
    EXPECT_FALSE(name.HasPrefix("REP", false));
    EXPECT_TRUE(name.HasPrefix("rEP", true));
    EXPECT_FALSE(name.HasPrefix("Txt", true));

    EXPECT_TRUE(Name().HasPrefix("", true));
    EXPECT_TRUE(Name().HasSuffix("", false));
    EXPECT_FALSE(Name().HasPrefix("a", true));
}

// Only the letters of ASCII have another case.
TEST(UnixFileNameTest, BytesAbove127HaveNoCase) {
    EXPECT_FALSE(Name("\xE9").HasSuffix("\xC9", true));
    EXPECT_FALSE(Name("a@").HasSuffix("`", true));
}

TEST(UnixFileNameTest, ExtensionHasADotInItOrInFrontOfIt) {
    EXPECT_TRUE(Name("report.txt").HasExtension(".txt", false));
    EXPECT_TRUE(Name("report.txt").HasExtension("txt", false));
    EXPECT_FALSE(Name("reporttxt").HasExtension(".txt", false));
    EXPECT_FALSE(Name("reporttxt").HasExtension("txt", false));
    EXPECT_TRUE(Name(".txt").HasExtension(".txt", false));
    EXPECT_TRUE(Name(".txt").HasExtension("txt", false));
    EXPECT_FALSE(Name("txt").HasExtension("txt", false));
    EXPECT_TRUE(Name("a.tar.gz").HasExtension("tar.gz", false));
    EXPECT_FALSE(Name("a.txt").HasExtension("xt", false));
}

TEST(UnixFileNameTest, CaseOfAnExtensionMattersUnlessIgnored) {
    EXPECT_TRUE(Name("A.TXT").HasExtension(".txt", true));
    EXPECT_FALSE(Name("A.TXT").HasExtension(".txt", false));
    EXPECT_TRUE(Name("a.txt").HasExtension("TXT", true));
}

TEST(UnixFileNameTest, EmptyExtensionIsThereBehindAFinalDot) {
    EXPECT_TRUE(Name("a.").HasExtension("", false));
    EXPECT_FALSE(Name("a").HasExtension("", false));
    EXPECT_FALSE(Name().HasExtension("", false));
}

TEST(UnixFileNameTest, NameBeforeExtensionCutsNothingElse) {
    EXPECT_EQ("a.", TextOf(Name("a.txt").NameBeforeExtension("txt", false)));
    EXPECT_EQ("a", TextOf(Name("a.txt").NameBeforeExtension(".txt", false)));
    EXPECT_EQ("A", TextOf(Name("A.TXT").NameBeforeExtension(".txt", true)));
    EXPECT_EQ(".", TextOf(Name(".txt").NameBeforeExtension("txt", false)));
    EXPECT_THROW(Name("A.TXT").NameBeforeExtension(".txt", false), ExtensionDoesNotMatch);
    EXPECT_THROW(Name("reporttxt").NameBeforeExtension("txt", true), ExtensionDoesNotMatch);
    EXPECT_THROW(Name("txt").NameBeforeExtension("txt", false), ExtensionDoesNotMatch);
    EXPECT_THROW(Name(".txt").NameBeforeExtension(".txt", false), IllegalFileName);
}

TEST(UnixFileNameTest, NameAfterPrefix) {
    EXPECT_EQ("name", TextOf(Name("prename").NameAfterPrefix("pre", false)));
    EXPECT_EQ("name", TextOf(Name("PREname").NameAfterPrefix("pre", true)));
    EXPECT_EQ("name", TextOf(Name("name").NameAfterPrefix("", true)));
    EXPECT_THROW(Name("PREname").NameAfterPrefix("pre", false), PrefixDoesNotMatch);
    EXPECT_THROW(Name("pre").NameAfterPrefix("prename", false), PrefixDoesNotMatch);
    EXPECT_THROW(Name("pre").NameAfterPrefix("pre", false), IllegalFileName);
    EXPECT_THROW(Name().NameAfterPrefix("", false), IllegalFileName);
}

TEST(UnixFileNameTest, BaseNameEndsInFrontOfTheLastDot) {
    EXPECT_EQ("a.tar", TextOf(Name("a.tar.gz").BaseName()));
    EXPECT_EQ("a", TextOf(Name("a.").BaseName()));
    EXPECT_EQ("name", TextOf(Name("name").BaseName()));
    EXPECT_EQ("..", TextOf(Name("...").BaseName()));
    EXPECT_EQ("", TextOf(Name(".profile").BaseName()));
    EXPECT_EQ("", TextOf(Name().BaseName()));
    EXPECT_EQ(std::string(100, 'n'), TextOf(Made(std::string(100, 'n') + ".txt").BaseName()));
}

TEST(UnixFileNameTest, PrefixDigitsAreThoseAtTheStart) {
    EXPECT_EQ("123", TextOf(Name("123abc").PrefixDigits()));
    EXPECT_EQ("0", TextOf(Name("0").PrefixDigits()));
    EXPECT_EQ("9876543210", TextOf(Name("9876543210.1").PrefixDigits()));
    EXPECT_THROW(Name("abc").PrefixDigits(), IllegalFileName);
    EXPECT_THROW(Name("a1").PrefixDigits(), IllegalFileName);
    EXPECT_THROW(Name("/1").PrefixDigits(), IllegalFileName);
    EXPECT_THROW(Name(":1").PrefixDigits(), IllegalFileName);
    EXPECT_THROW(Name("\xB2").PrefixDigits(), IllegalFileName);
    EXPECT_THROW(Name().PrefixDigits(), IllegalFileName);
}

TEST(UnixFileNameTest, MatchesWildCard) {
    Name const name("abc");
    for (char const* pattern : {"a*", "*c", "a?c", "*", "***", "abc", "???", "a**c"})
        EXPECT_TRUE(name.MatchesWildCard(pattern)) << pattern;
    for (char const* pattern : {"a?", "?", "", "ABC", "abcd", "????", "*d"})
        EXPECT_FALSE(name.MatchesWildCard(pattern)) << pattern;
    EXPECT_TRUE(Name().MatchesWildCard("*"));
    EXPECT_TRUE(Name().MatchesWildCard(""));
    EXPECT_FALSE(Name().MatchesWildCard("?"));
}

TEST(UnixFileNameTest, HostilePatternIsAnsweredAtOnce) {
    EXPECT_FALSE(Made(std::string(255, 'a')).MatchesWildCard("*a*a*a*a*a*a*a*b"));
}

TEST(UnixFileNameTest, FailedAllocationLeavesTheNameAsItWas) {
    Name name("before");
    std::string const text(100, 'n');
    std::size_t const failures = ForEachFailingAllocation([&](std::size_t) {
        try {
            name.Set(text.data(), 100);
        } catch (std::bad_alloc const&) {
            EXPECT_EQ("before", TextOf(name));
        }
    });
    EXPECT_EQ(1u, failures);
    EXPECT_EQ(text, TextOf(name));
}

} // namespace
