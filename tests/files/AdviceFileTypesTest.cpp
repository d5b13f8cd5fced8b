#include "files/AdviceFileTypes.h"

#include <climits>

#include <gtest/gtest.h>

#include "files/FileName.h"

namespace {

namespace Types = AdviceFileTypes;

TarvikFileType TypeOfName(char const* name) { return FileName(name).ExtensionType(); }

// The table was built before this.
TarvikFileType const typeAtStartup = Types::TypeOfExtension(".html");

TEST(AdviceFileTypesTest, EachKindHasItsNumber) {
    EXPECT_EQ(Types::Masthead(), 1);
    EXPECT_EQ(Types::Pool(), 2);
    EXPECT_EQ(Types::Advice(), 3);
    EXPECT_EQ(Types::HTML(), 4);
    EXPECT_EQ(Types::Text(), 5);
    EXPECT_EQ(Types::Log(), 6);
    EXPECT_EQ(Types::BackLog(), 7);
    EXPECT_EQ(Types::Inspector(), 8);
    EXPECT_EQ(Types::Notation(), 9);
    EXPECT_EQ(Types::Site(), 10);
    EXPECT_EQ(Types::Profile(), 11);
    EXPECT_EQ(Types::Preferences(), 12);
    EXPECT_EQ(Types::Miscellany(), 13);
    EXPECT_EQ(sizeof(TarvikFileType), 4u);
}

TEST(AdviceFileTypesTest, EachExtensionHasItsKind) {
    EXPECT_EQ(Types::TypeOfExtension(".qvm"), Types::Masthead());
    EXPECT_EQ(Types::TypeOfExtension(".qvg"), Types::Pool());
    EXPECT_EQ(Types::TypeOfExtension(".qvf"), Types::Advice());
    EXPECT_EQ(Types::TypeOfExtension(".htm"), Types::HTML());
    EXPECT_EQ(Types::TypeOfExtension(".html"), Types::HTML());
    EXPECT_EQ(Types::TypeOfExtension(".txt"), Types::Text());
    EXPECT_EQ(Types::TypeOfExtension(".log"), Types::Log());
    EXPECT_EQ(Types::TypeOfExtension(".bkg"), Types::BackLog());
    EXPECT_EQ(Types::TypeOfExtension(".so"), Types::Inspector());
    EXPECT_EQ(Types::TypeOfExtension(".dat"), Types::Notation());
    EXPECT_EQ(typeAtStartup, Types::HTML());
}

TEST(AdviceFileTypesTest, TheCaseOfTheLettersDoesNotMatter) {
    EXPECT_EQ(Types::TypeOfExtension(".HTML"), Types::HTML());
    EXPECT_EQ(Types::TypeOfExtension(".Qvf"), Types::Advice());
}

TEST(AdviceFileTypesTest, WhatIsNotInTheTableIsMiscellany) {
    for (char const* extension : {".qna", "htm", ".", ".ht", ".htmlx", "html", " .htm", ".t\xD4t"})
        EXPECT_EQ(Types::TypeOfExtension(extension), Types::Miscellany()) << extension;
}

// Deliberate: the name stands behind the table, but is not an extension.
TEST(AdviceFileTypesTest, TheTextBehindTheTableIsNotFound) {
    EXPECT_EQ(Types::TypeOfExtension("XVeskaClientUI"), Types::Miscellany());
}

// Deliberate: three kinds have the empty extension, and the first one wins.
TEST(AdviceFileTypesTest, TheEmptyExtensionIsThatOfASite) {
    EXPECT_EQ(Types::TypeOfExtension(""), Types::Site());
}

TEST(AdviceFileTypesTest, EachKindHasItsFirstExtension) {
    EXPECT_STREQ(Types::ExtensionOfType(Types::Masthead()), ".qvm");
    EXPECT_STREQ(Types::ExtensionOfType(Types::Pool()), ".qvg");
    EXPECT_STREQ(Types::ExtensionOfType(Types::Advice()), ".qvf");
    EXPECT_STREQ(Types::ExtensionOfType(Types::HTML()), ".htm");
    EXPECT_STREQ(Types::ExtensionOfType(Types::Text()), ".txt");
    EXPECT_STREQ(Types::ExtensionOfType(Types::Log()), ".log");
    EXPECT_STREQ(Types::ExtensionOfType(Types::BackLog()), ".bkg");
    EXPECT_STREQ(Types::ExtensionOfType(Types::Inspector()), ".so");
    EXPECT_STREQ(Types::ExtensionOfType(Types::Notation()), ".dat");
    EXPECT_STREQ(Types::ExtensionOfType(Types::Site()), "");
    EXPECT_STREQ(Types::ExtensionOfType(Types::Preferences()), "");
    EXPECT_STREQ(Types::ExtensionOfType(Types::Profile()), "");
}

// Deliberate: the search ends behind the table, where another text stands.
TEST(AdviceFileTypesTest, WhatHasNoRowGetsTheTextBehindTheTable) {
    for (int type : {13, 0, 14, -1, INT_MAX, INT_MIN})
        EXPECT_STREQ(Types::ExtensionOfType(TarvikFileType(type)), "XVeskaClientUI") << type;
}

TEST(AdviceFileTypesTest, TheTypeOfANameGoesWithItsLastDot) {
    EXPECT_EQ(TypeOfName("a.htm"), Types::HTML());
    EXPECT_EQ(TypeOfName("A.B.TXT"), Types::Text());
    EXPECT_EQ(TypeOfName("a.txt.qna"), Types::Miscellany());
    EXPECT_EQ(TypeOfName("a."), Types::Miscellany());
}

TEST(AdviceFileTypesTest, ANameWithoutAnInnerDotIsLookedUpWhole) {
    EXPECT_EQ(TypeOfName(".txt"), Types::Text());
    EXPECT_EQ(TypeOfName("txt"), Types::Miscellany());
    EXPECT_EQ(TypeOfName("a"), Types::Miscellany());
    EXPECT_EQ(FileName().ExtensionType(), Types::Site()) << "the empty extension";
}

} // namespace
