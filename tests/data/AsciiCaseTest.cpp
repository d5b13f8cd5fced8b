#include "data/Ascii.h"

#include "fuzz/CaseProperties.h"
#include "tests/data/DataTest.h"

namespace {

using ReferenceCase::Lower;
using ReferenceCase::Lowered;
using ReferenceCase::Raised;
using ReferenceCase::Upper;

TEST(AsciiCaseTest, CaseTablesMapLettersOnly) {
    for (unsigned byte = 0; byte < 256; ++byte) {
        EXPECT_EQ(Upper(static_cast<char>(byte)), Ascii::uppercaseTable[byte]) << byte;
        EXPECT_EQ(Lower(static_cast<char>(byte)), Ascii::lowercaseTable[byte]) << byte;
    }
    EXPECT_EQ(256u, sizeof(Ascii::uppercaseTable));
    EXPECT_TRUE(Ascii::CaseTablesAreCorrect());
}

// All lengths up to several vectors, and one longer text.
TEST(AsciiCaseTest, CaseMappingAgreesWithReference) {
    std::mt19937 random(1);
    for (std::size_t length = 0; length <= 140; ++length) {
        std::string const text = length == 140
                                     ? RandomBytes(random, 5000, EveryByte())
                                     : RandomBytes(random, length, "@AMZ[`amz{\x80\xC1\xE1\xFF 09");
        std::string const raised = Raised(text);
        std::string const lowered = Lowered(text);
        EXPECT_EQ(raised, Ascii::RaiseCase(ConstData(text)));
        EXPECT_EQ(lowered, Ascii::LowerCase(ConstData(text)));
        std::string target(text.size() + 3, '#');
        Ascii::RaiseCase(text, Data(target.data(), target.size()));
        EXPECT_EQ(raised + "###", target);
        Ascii::LowerCase(text, Data(target.data(), text.size()));
        EXPECT_EQ(lowered + "###", target);
        ConstBuffer source{ConstData(text)};
        Buffer buffer(Data(target.data(), target.size()));
        Ascii::RaiseCase(source, buffer);
        EXPECT_EQ(raised, MakeString(buffer.Written()));
        EXPECT_EQ(raised + "###", target);
        std::string inPlace = text;
        Ascii::LowerCase(inPlace, Data(inPlace.data(), inPlace.size()));
        EXPECT_EQ(lowered, inPlace);
    }
}

TEST(AsciiCaseTest, FillsATargetThatIsTooShortThenThrows) {
    char target[] = "12345";
    EXPECT_THROW(Ascii::RaiseCase("abcde", Data(target, 3)), DataOverflow);
    EXPECT_STREQ("ABC45", target);
    EXPECT_THROW(Ascii::LowerCase("VWXYZ", Data(target, 4)), DataOverflow);
    EXPECT_STREQ("vwxy5", target);
    EXPECT_NO_THROW(Ascii::RaiseCase(ConstData(), Data()));
    EXPECT_NO_THROW(Ascii::LowerCase(ConstData(), Data()));
    EXPECT_THROW(Ascii::RaiseCase("a", Data()), DataOverflow);
    EXPECT_THROW(Ascii::LowerCase("a", Data()), DataOverflow);
}

TEST(AsciiCaseTest, OverlappingBytesAreMappedInOrder) {
    std::mt19937 random(6);
    for (std::size_t length = 1; length <= 100; ++length)
        for (std::size_t shift = 1; shift <= 40; shift += 3) {
            std::string const text = RandomBytes(random, length + shift, "aBcDeFgHiJkLmN");
            ExpectHolds(text, [&] { CaseProperties::CompareCases(text, shift); });
        }
}

TEST(AsciiCaseTest, BuffersStopAtTheEndOfEitherRange) {
    char room[3];
    ConstBuffer source(ConstData("abcde"));
    Buffer target{Data(room)};
    Ascii::RaiseCase(source, target);
    EXPECT_EQ("ABC", MakeString(target.Written()));
    EXPECT_EQ("de", MakeString(source.Left()));
    Ascii::RaiseCase(source, target); // A full target is not an error.
    EXPECT_EQ("de", MakeString(source.Left()));
    target.Reset();
    Ascii::LowerCase(source, target);
    EXPECT_EQ("de", MakeString(target.Written()));
    EXPECT_TRUE(source.IsEmpty());
    EXPECT_EQ(1u, target.Room().Length());
    EXPECT_EQ(room, reinterpret_cast<char*>(target.start));
}

TEST(AsciiCaseTest, OneLetterDecidesTheCaseAtEveryPosition) {
    for (std::size_t length = 0; length <= 100; ++length)
        for (std::size_t i = 0; i < length; ++i)
            for (char const letter : {'A', 'Z', 'a', 'z', '['}) {
                std::string text(length, '[');
                text[i] = letter;
                ExpectHolds(text, [&] { CaseProperties::CompareCases(text, 0); });
            }
}

TEST(AsciiCaseTest, EveryPairOfBytesIsComparedByTheTables) {
    for (char const left : EveryByte())
        for (char const right : EveryByte())
            ExpectHolds({left, right}, [&] {
                CaseProperties::CompareOrders(std::string(1, left), std::string(1, right));
            });
}

TEST(AsciiCaseTest, FirstDifferenceDecidesAtEveryPosition) {
    for (std::size_t length = 1; length <= 100; ++length)
        for (std::size_t i = 0; i < length; ++i) {
            std::string const left(length, 'q');
            std::string right(length, 'Q');
            right[i] = 'R';
            if (i + 1 < length)
                right[i + 1] = 'A';
            ExpectHolds(right, [&] { CaseProperties::CompareOrders(left, right); });
        }
}

TEST(AsciiCaseTest, ComparisonsAgreeWithReference) {
    std::mt19937 random(5);
    std::string const ends = "aAzZ_\x7F\x80\xE9\xFF";
    for (int round = 0; round < 20000 && !HasFailure(); ++round) {
        std::string const start = RandomBytes(random, random() % 300, "aAbB");
        std::string const left = (random() % 2 != 0 ? Raised(start) : Lowered(start)) +
                                 RandomBytes(random, random() % 3, ends);
        std::string const right = start + RandomBytes(random, random() % 3, ends);
        ExpectHolds(left, [&] { CaseProperties::CompareOrders(left, right); });
    }
}

// Deliberate: at the end of a string, the byte of the other one is compared unmapped and signed.
TEST(AsciiCaseTest, EndOfAStringIsComparedUnmappedAndSigned) {
    EXPECT_EQ(0, Ascii::CompareLowercase("aB", "Ab"));
    EXPECT_EQ('B', Ascii::CompareLowercase("AB", "a"));
    EXPECT_EQ(-'B', Ascii::CompareLowercase("A", "aB"));
    EXPECT_EQ(-1, Ascii::CompareLowercase("a\xFF", "A")) << "0xFF is -1, so it orders before";
    EXPECT_EQ(128, Ascii::CompareLowercase("", "\x80"));
    EXPECT_EQ(0xFF - 'a', Ascii::CompareLowercase("\xFF", "A")) << "both bytes are unsigned";
}

// Most positions are around the ends of the compared chunks.
TEST(AsciiCaseTest, LongStringsAreComparedToTheirEnds) {
    for (std::size_t place : {127u, 128u, 129u, 383u, 384u, 385u, 8064u, 8128u, 16255u, 16256u,
                              16257u, 24448u, 30000u}) {
        std::string const left = std::string(place, 'x') + "b" + std::string(200, 'y');
        std::string const start(place, 'X');
        for (std::string const& right : {Raised(left), start + "C", start})
            ExpectHolds(std::to_string(place), [&] {
                CaseProperties::CompareOrders(left, right);
                CaseProperties::CompareOrders(right, left);
                CaseProperties::CompareOrders(left.substr(0, place), right);
            });
    }
}

TEST(AsciiCaseTest, OnlyTheStringOverloadAllocates) {
    std::string const text(200, 'q');
    std::string target(200, '#');
    EXPECT_EQ(0u, AllocationsOf([&] {
                  Ascii::RaiseCase(text, Data(target.data(), target.size()));
                  EXPECT_TRUE(Ascii::EqualIgnoringCase(text, target));
                  EXPECT_EQ(0, Ascii::CompareLowercase(text.c_str(), target.c_str()));
                  EXPECT_TRUE(Ascii::IsLowercase(text));
              }));
    EXPECT_EQ(1u, AllocationsOf([&] { Ascii::RaiseCase(ConstData(text)); }));
}

} // namespace
