#include "xml/SimpleXMLParserPL.h"

#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/Bytes.h"
#include "tests/support/FailingAllocation.h"
#include "tests/support/ForEachSplit.h"
#include "tests/support/VirtualSlot.h"
#include "tests/xml/ByteSoup.h"
#include "tests/xml/EventLog.h"
#include "tests/xml/NaiveXMLMachine.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Events = std::vector<std::string>;

// The parser forgives a null pointer only for no bytes.
void Feed(SimpleXMLParserPL& parser, ConstData chunk) {
    parser.Parse(reinterpret_cast<char const*>(chunk.begin),
                 static_cast<unsigned int>(chunk.Length()));
}

Events EventsOf(std::string const& document) {
    EventLog log;
    SimpleXMLParserPL parser(log);
    parser.Parse(document);
    return log.events;
}

Events ExpectedEvents(std::string const& document) {
    EventLog log;
    NaiveXMLMachine machine(log);
    machine.Parse(document);
    return log.events;
}

// The cuttings of tests/support report each mismatch; for thousands of documents only a count is
// affordable.
unsigned int CountMismatches(std::string const& document) {
    Events const expected = ExpectedEvents(document);
    auto const differs = [&](Chunks const& chunks) {
        EventLog log;
        SimpleXMLParserPL parser(log);
        chunks.Feed([&](ConstData chunk) { Feed(parser, chunk); });
        return log.events != expected;
    };
    ConstData const bytes(document);
    unsigned int mismatches = differs(Chunks("whole", {bytes}));
    for (std::size_t size = 1; size <= 9; ++size)
        mismatches += differs(SplitEvery(bytes, size));
    for (std::size_t offset = 1; offset < bytes.Length(); ++offset)
        mismatches += differs(SplitAt(bytes, offset));
    return mismatches;
}

void ExpectEventsInAnyCutting(std::string const& document, Events const& expected) {
    EXPECT_EQ(ExpectedEvents(document), expected) << "the machine of the test itself";
    ForEachSplit(document, [&](Chunks const& chunks) {
        EventLog log;
        SimpleXMLParserPL parser(log);
        chunks.Feed([&](ConstData chunk) { Feed(parser, chunk); });
        ASSERT_EQ(log.events, expected);
    });
}

TEST(SimpleXMLParserPLTest, ElementsTextAndAttributesInDocumentOrder) {
    ExpectEventsInAnyCutting("<a b=\"1\" c='2'>hi<d></d></a>",
                             {"S(1)a(1)b(1)1(1)c(1)2", "C(2)hi", "S(1)d", "E(1)d", "E(1)a"});
}

TEST(SimpleXMLParserPLTest, TextKeepsAllItsBytes) {
    ExpectEventsInAnyCutting("\xEF\xBB\xBF \t\r\n>]]>\"'=-;\xFF" + Bytes("\0") + "<",
                             {"C(18)\xEF\xBB\xBF \t\r\n>]]>\"'=-;\xFF" + Bytes("\0")});
}

TEST(SimpleXMLParserPLTest, TextIsSplitAtEachEscape) {
    ExpectEventsInAnyCutting("a&lt;b<", {"C(1)a", "C(1)<", "C(1)b"});
    ExpectEventsInAnyCutting("&lt;&gt;&amp;&quot;<", {"C(1)<", "C(1)>", "C(1)&", "C(1)\""});
}

TEST(SimpleXMLParserPLTest, TextBehindTheLastTagIsNeverDelivered) {
    ExpectEventsInAnyCutting("<a></a>\r\n", {"S(1)a", "E(1)a"});
    ExpectEventsInAnyCutting("text", {});
    ExpectEventsInAnyCutting("<a></a", {"S(1)a"});
    ExpectEventsInAnyCutting("<a b='c'", {});
}

TEST(SimpleXMLParserPLTest, AShortEmptyElementIsAnEndTagOnly) {
    ExpectEventsInAnyCutting("<a/>", {"E(1)a"});
    ExpectEventsInAnyCutting("<a/b c>", {"E(4)ab c"});
}

TEST(SimpleXMLParserPLTest, ASlashBehindABlankOrAnAttributeBeginsAnAttributeName) {
    ExpectEventsInAnyCutting("<a /><b c='d'>", {"S(1)a(6)/><b c(1)d"});
    ExpectEventsInAnyCutting("<a b='c'/><d e='f'>", {"S(1)a(1)b(1)c(6)/><d e(1)f"});
}

TEST(SimpleXMLParserPLTest, AnEndTagWithoutAStartTagIsDelivered) {
    ExpectEventsInAnyCutting("</a>", {"E(1)a"});
}

TEST(SimpleXMLParserPLTest, AnEndTagKeepsItsBlanksAndDashes) {
    ExpectEventsInAnyCutting("</a >", {"E(2)a "});
    ExpectEventsInAnyCutting("</a-b--c>", {"E(6)a-b--c"});
    ExpectEventsInAnyCutting("</ a/b>", {"E(4) a/b"});
}

TEST(SimpleXMLParserPLTest, NothingBetweenTheBracketsIsAnElementWithoutAName) {
    ExpectEventsInAnyCutting("<>", {"S(0)"});
    ExpectEventsInAnyCutting("<  >", {"S(0)"});
    ExpectEventsInAnyCutting("</>", {"E(0)"});
}

TEST(SimpleXMLParserPLTest, BlanksBeforeANameAreSkippedOtherWhiteSpaceIsPartOfIt) {
    ExpectEventsInAnyCutting("<  a>", {"S(1)a"});
    ExpectEventsInAnyCutting("<\ta\n>", {"S(3)\ta\n"});
    ExpectEventsInAnyCutting("<a\tb='c'>", {"S(7)a\tb='c'"});
}

TEST(SimpleXMLParserPLTest, OneDashInANameIsDroppedTheSecondBeginsAComment) {
    ExpectEventsInAnyCutting("<a-b></a-b>", {"S(2)ab", "E(3)a-b"});
    ExpectEventsInAnyCutting("<a-b-c>x--><d>", {"S(1)d"});
    ExpectEventsInAnyCutting("<-a>", {"S(1)a"});
    ExpectEventsInAnyCutting("<- a>", {"S(1)a"});
    ExpectEventsInAnyCutting("<-/a>", {"E(1)a"});
}

TEST(SimpleXMLParserPLTest, ACommentFiresNothingAndSplitsText) {
    ExpectEventsInAnyCutting("a<!-- <b> & > -> -- > -->c<", {"C(1)a", "C(1)c"});
    ExpectEventsInAnyCutting("<!----><a>", {"S(1)a"});
}

TEST(SimpleXMLParserPLTest, ACommentEndsBehindTwoDashesOrMore) {
    ExpectEventsInAnyCutting("<!--x---><a>", {"S(1)a"});
    ExpectEventsInAnyCutting("<!--x-----><a>", {"S(1)a"});
    ExpectEventsInAnyCutting("<!--x-- ><a>-->", {});
    ExpectEventsInAnyCutting("<!--x-><a>--><b>", {"S(1)b"});
}

TEST(SimpleXMLParserPLTest, TheDashesThatOpenACommentDoNotCloseIt) {
    ExpectEventsInAnyCutting("<!--><a>--><b>", {"S(1)b"});
    ExpectEventsInAnyCutting("<!---><a>--><b>", {"S(1)b"});
}

TEST(SimpleXMLParserPLTest, ASectionIsTextWithoutMarkup) {
    ExpectEventsInAnyCutting("a<![CDATA[<b>&lt;]>]] >x]]>c<",
                             {"C(1)a", "C(14)<b>&lt;]>]] >x", "C(1)c"});
}

TEST(SimpleXMLParserPLTest, AnEmptySectionFiresNothing) {
    ExpectEventsInAnyCutting("<![CDATA[]]><a>", {"S(1)a"});
}

TEST(SimpleXMLParserPLTest, ABlockBorderInsideTheEndOfASectionIsNotSeen) {
    std::string const document = "<![CDATA[x]]><a>";
    for (std::size_t border = document.find(']'); border <= document.find('<', 1); ++border) {
        EventLog log;
        SimpleXMLParserPL parser(log);
        parser.Parse(document.substr(0, border));
        parser.Parse(document.substr(border));
        EXPECT_THAT(log.events, ElementsAre("C(1)x", "S(1)a")) << border;
    }
}

TEST(SimpleXMLParserPLTest, MoreBracketsBeforeTheEndOfASectionAreContent) {
    ExpectEventsInAnyCutting("<![CDATA[]]]><", {"C(1)]"});
    ExpectEventsInAnyCutting("<![CDATA[x]]]]><", {"C(3)x]]"});
    ExpectEventsInAnyCutting("<![CDATA[>]>]]>]]><", {"C(3)>]>", "C(3)]]>"});
}

TEST(SimpleXMLParserPLTest, NulBytesInASectionAreDropped) {
    ExpectEventsInAnyCutting(Bytes("<![CDATA[\0a\0\0b]\0]]>\0<"), {"C(3)ab]", Bytes("C(1)\0")});
    ExpectEventsInAnyCutting(Bytes("<![CDATA[\0]]><"), {});
}

TEST(SimpleXMLParserPLTest, ASectionOpensByItsExactNameAndADashInItIsDroppedAsInAnyName) {
    ExpectEventsInAnyCutting("<![CDA-TA[x]]><", {"C(1)x"});
    ExpectEventsInAnyCutting("<  ![CDATA[x]]><", {"C(1)x"});
    ExpectEventsInAnyCutting("<![cdata[x>", {"S(9)![cdata[x"});
    ExpectEventsInAnyCutting("<x![CDATA[>", {"S(9)x![CDATA["});
    ExpectEventsInAnyCutting("<![CDATA>", {"S(7)![CDATA"});
    ExpectEventsInAnyCutting("<![CDATA [x]]>=''>", {"S(7)![CDATA(5)[x]]>(0)"});
    ExpectEventsInAnyCutting("</![CDATA[x]]>", {"E(11)![CDATA[x]]"});
}

TEST(SimpleXMLParserPLTest, AHexadecimalReferenceUpTo255IsOneByte) {
    for (unsigned int value = 0; value <= 255; ++value) {
        for (char const* format : {"&#x%x;", "&#x%02X;", "&#x%08x;"}) {
            char reference[20];
            std::snprintf(reference, sizeof(reference), format, value);
            std::string const byte(1, static_cast<char>(value));
            EXPECT_EQ(EventsOf(reference), Events{"C(1)" + byte}) << reference;
            EXPECT_EQ(EventsOf("<a b='" + std::string(reference) + "'>"),
                      Events{"S(1)a(1)b(1)" + byte})
                << reference;
        }
    }
}

TEST(SimpleXMLParserPLTest, OtherEscapesStayAsTheyAreWritten) {
    for (std::string const escape :
         {"&#x100;", "&#x7fffffff;", "&#65;", "&#X41;", "&apos;", "&unknown;", "&LT;", "&lt ;",
          "&;", "&#;", "&&lt;", "&nbsp;", "& lt;", "&x41;", "&ltt;"}) {
        std::string const part = "(" + std::to_string(escape.size()) + ")" + escape;
        EXPECT_EQ(EventsOf(escape), Events{"C" + part});
        EXPECT_EQ(EventsOf("<a b='" + escape + "'>"), Events{"S(1)a(1)b" + part});
    }
}

// Deliberate: strtol reads the number, and only its low 32 bits count.
TEST(SimpleXMLParserPLTest, AReferenceIsReadWithAllThatStrtolAccepts) {
    EXPECT_EQ(EventsOf("&#x;"), Events{Bytes("C(1)\0")});
    EXPECT_EQ(EventsOf("&#xzz;"), Events{Bytes("C(1)\0")});
    EXPECT_EQ(EventsOf("&#x 41;"), Events{"C(1)A"});
    EXPECT_EQ(EventsOf("&#x\t\r\n+41;"), Events{"C(1)A"});
    EXPECT_EQ(EventsOf("&#x0x41;"), Events{"C(1)A"});
    EXPECT_EQ(EventsOf("&#x41zzz;"), Events{"C(1)A"});
    EXPECT_EQ(EventsOf(Bytes("&#x41\0"
                             "99;")),
              Events{"C(1)A"});
    EXPECT_EQ(EventsOf("&#x-1;"), Events{"C(1)\xFF"});
    EXPECT_EQ(EventsOf("&#x-bf;"), Events{"C(1)A"});
    EXPECT_EQ(EventsOf("&#x100000041;"), Events{"C(1)A"});
    EXPECT_EQ(EventsOf("&#x80000041;"), Events{"C(1)A"});
    EXPECT_EQ(EventsOf("&#xffffffffffffffffffff;"), Events{"C(1)\xFF"});
}

// Deliberate: the number is limited to 64 bits with a sign first, and its low 32 bits count then.
TEST(SimpleXMLParserPLTest, ReferenceIsLimitedToSigned64Bits) {
    EXPECT_EQ(EventsOf("&#x7fffffff00000041;"), Events{"C(1)A"});
    EXPECT_EQ(EventsOf("&#x-7fffffffffffffbf;"), Events{"C(1)A"});
    // Limited to 2^63 - 1, whose low 32 bits are all set.
    for (char const* reference :
         {"&#x7fffffffffffffff;", "&#x8000000000000000;", "&#x8000000000000041;",
          "&#x8000000000000100;", "&#xffffffffffffff41;", "&#x10000000000000041;"})
        EXPECT_EQ(EventsOf(reference), Events{"C(1)\xFF"}) << reference;
    // Limited to -2^63, whose low 32 bits are all clear.
    for (char const* reference : {"&#x-8000000000000000;", "&#x-8000000000000041;",
                                  "&#x-ffffffffffffffbf;", "&#x-10000000000000041;"})
        EXPECT_EQ(EventsOf(reference), Events{Bytes("C(1)\0")}) << reference;
}

TEST(SimpleXMLParserPLTest, AnEscapeWithoutASemicolonSwallowsTagsUpToTheNextOne) {
    ExpectEventsInAnyCutting("a & b<c></c> d; e<", {"C(2)a ", "C(13)& b<c></c> d;", "C(2) e"});
    ExpectEventsInAnyCutting("<a b='& c'>;d'>", {"S(1)a(1)b(7)& c'>;d"});
    ExpectEventsInAnyCutting("&amp<a>", {});
}

TEST(SimpleXMLParserPLTest, AnEscapeAlwaysFires) {
    ExpectEventsInAnyCutting("<a>&amp;</a>", {"S(1)a", "C(1)&", "E(1)a"});
}

TEST(SimpleXMLParserPLTest, ValuesAreDecodedAndKeepBracketsAndTheOtherQuote) {
    ExpectEventsInAnyCutting("<a b='\"<>\"' c=\"'&lt;'\">", {"S(1)a(1)b(4)\"<>\"(1)c(3)'<'"});
    ExpectEventsInAnyCutting("<a b='&quot;&#x27;\r\n\t/?'>", {"S(1)a(1)b(7)\"'\r\n\t/?"});
    ExpectEventsInAnyCutting("<a b=''>", {"S(1)a(1)b(0)"});
}

TEST(SimpleXMLParserPLTest, AnAttributeNameRunsToTheEqualsSign) {
    ExpectEventsInAnyCutting("<a b c > d\n='e'>", {"S(1)a(8)b c > d\n(1)e"});
    ExpectEventsInAnyCutting("<a ='b'>c='d'>", {"S(1)a(6)='b'>c(1)d"});
    ExpectEventsInAnyCutting("<a b>text</a><c d='e'>", {"S(1)a(14)b>text</a><c d(1)e"});
}

// Deliberate: the first byte of a name is taken whatever it is, an equals sign too.
TEST(SimpleXMLParserPLTest, AnEqualsSignCanBeginAnAttributeName) {
    ExpectEventsInAnyCutting("<a =b='c'>", {"S(1)a(2)=b(1)c"});
}

TEST(SimpleXMLParserPLTest, WhatStandsBetweenEqualsSignAndQuoteIsSkipped) {
    ExpectEventsInAnyCutting("<a b= x>y<'c'>", {"S(1)a(1)b(1)c"});
}

TEST(SimpleXMLParserPLTest, NoBlankIsNeededBetweenAttributes) {
    ExpectEventsInAnyCutting("<a b='c'd='e'>", {"S(1)a(1)b(1)c(1)d(1)e"});
    ExpectEventsInAnyCutting("<a b='c'   d='e'  >", {"S(1)a(1)b(1)c(1)d(1)e"});
}

TEST(SimpleXMLParserPLTest, DuplicateAttributesAreAllDelivered) {
    ExpectEventsInAnyCutting("<a b='1' b='2' b='1'>", {"S(1)a(1)b(1)1(1)b(1)2(1)b(1)1"});
}

TEST(SimpleXMLParserPLTest, AttributesOfOneTagDoNotShowInTheNext) {
    ExpectEventsInAnyCutting("<a b='1' c='2'><d><e f='3'>",
                             {"S(1)a(1)b(1)1(1)c(1)2", "S(1)d", "S(1)e(1)f(1)3"});
}

TEST(SimpleXMLParserPLTest, AnInstructionIsDeliveredWithItsAttributes) {
    ExpectEventsInAnyCutting("<?xml version=\"1.0\" encoding='x'?>",
                             {"P(4)?xml(7)version(3)1.0(8)encoding(1)x"});
    ExpectEventsInAnyCutting("<?xml?>", {"P(5)?xml?"});
    ExpectEventsInAnyCutting("<?xml ?>", {"P(4)?xml"});
    ExpectEventsInAnyCutting("<a ?\?b='c'?\?>", {"S(1)a(1)b(1)c"});
    ExpectEventsInAnyCutting("<?do this?><a b='c'>", {"P(3)?do(10)this?><a b(1)c"});
}

TEST(SimpleXMLParserPLTest, ADeclarationIsAnElement) {
    ExpectEventsInAnyCutting("<!DOCTYPE>", {"S(8)!DOCTYPE"});
    ExpectEventsInAnyCutting("<!DOCTYPE a><b c='d'>", {"S(8)!DOCTYPE(6)a><b c(1)d"});
}

TEST(SimpleXMLParserPLTest, AnotherDocumentMayFollowOneThatEndedBehindATag) {
    EventLog log;
    SimpleXMLParserPL parser(log);
    parser.Parse(std::string("<a></a>"));
    parser.Parse("<b></b>", 7);
    EXPECT_THAT(log.events, ElementsAre("S(1)a", "E(1)a", "S(1)b", "E(1)b"));
}

TEST(SimpleXMLParserPLTest, NoBytesChangeNothing) {
    EventLog log;
    SimpleXMLParserPL parser(log);
    parser.Parse(nullptr, 0);
    parser.Parse(std::string());
    parser.Parse("<a", 2);
    parser.Parse(nullptr, 0);
    parser.Parse(">", 1);
    EXPECT_THAT(log.events, ElementsAre("S(1)a"));
}

TEST(SimpleXMLParserPLTest, NoMoreThanTheCountIsRead) {
    EventLog log;
    SimpleXMLParserPL parser(log);
    parser.Parse("<a><b>", 3);
    EXPECT_THAT(log.events, ElementsAre("S(1)a"));
}

TEST(SimpleXMLParserPLTest, WithoutAHandlerTheParsersOwnOperationsGetTheEvents) {
    class Counting : public SimpleXMLParserPL {
    public:
        void StartElement(std::string const&, std::vector<XMLAttribute const*> const&) override {
            ++starts;
        }
        int starts = 0;
    };
    Counting parser;
    parser.Parse("<?i a='b'?><a>text&lt;</a><b>", 29);
    EXPECT_EQ(parser.starts, 2);
    SimpleXMLParserPL ignoring;
    ignoring.Parse("<?i a='b'?><a>text&lt;</a><b>", 29);
}

TEST(SimpleXMLParserPLTest, AnyCuttingOfByteSoupGivesTheEventsOfThePlainMachine) {
    for (unsigned int seed = 1; seed <= 3000; ++seed) {
        std::mt19937 random(seed);
        std::string const document = MakeByteSoup(random, 24);
        ASSERT_EQ(CountMismatches(document), 0u) << "seed " << seed << ": " << Shown(document);
    }
}

TEST(SimpleXMLParserPLTest, LongByteSoupGivesTheEventsOfThePlainMachine) {
    for (unsigned int seed = 1; seed <= 300; ++seed) {
        std::mt19937 random(seed);
        std::string const document = MakeByteSoup(random, 5000);
        ASSERT_EQ(EventsOf(document), ExpectedEvents(document)) << "seed " << seed;
    }
}

TEST(SimpleXMLParserPLTest, AnyShortTextOfSpecialBytesGivesTheEventsOfThePlainMachine) {
    std::string const alphabet = "<>&;/- ='?]a";
    std::vector<std::string> starts{"", "<", "<a ", "<a b='", "<!--", "<![CDATA["};
    unsigned int mismatches = 0;
    for (std::string const& start : starts) {
        for (std::size_t number = 0; number < 12 * 12 * 12 * 12; ++number) {
            std::string document = start;
            for (std::size_t rest = number, place = 0; place < 4; ++place, rest /= 12)
                document += alphabet[rest % 12];
            document += "'>]]>--><c></c>";
            mismatches += EventsOf(document) != ExpectedEvents(document);
        }
    }
    EXPECT_EQ(mismatches, 0u);
}

// The rest of the chunk is lost, and the machine stays in the state that it was about to leave;
// what comes afterwards shows it.
TEST(SimpleXMLParserPLTest, AfterAnExceptionOfTheHandlerParsingGoesOnInTheOldState) {
    for (unsigned int seed = 1; seed <= 3000; ++seed) {
        std::mt19937 random(seed);
        std::string const document = MakeByteSoup(random, 24);
        std::size_t const refused = random() % 8;
        EventLog log(refused);
        SimpleXMLParserPL parser(log);
        EventLog expectedLog(refused);
        NaiveXMLMachine machine(expectedLog);
        for (ConstData chunk : SplitEvery(document, 1 + random() % 9).Views()) {
            bool threw = false;
            bool expectedToThrow = false;
            try {
                Feed(parser, chunk);
            } catch (EventLog::Refusal const&) {
                threw = true;
            }
            try {
                machine.Parse(chunk.View());
            } catch (EventLog::Refusal const&) {
                expectedToThrow = true;
            }
            ASSERT_EQ(threw, expectedToThrow) << "seed " << seed << ": " << Shown(document);
        }
        ASSERT_EQ(log.events, expectedLog.events) << "seed " << seed << ": " << Shown(document);
    }
}

TEST(SimpleXMLParserPLTest, AllocatesNothingAfterTheFirstTags) {
    std::string const row =
        "<ResponseItem id=\"a value that does not fit into a small string\" type='x'>\r\n"
        "\t<Description>A text of some length, with an escape &amp; &#x41; in it.</Description>\r\n"
        "\t<![CDATA[And a section that is longer than a small string, too.]]><!-- Comment -->\r\n"
        "</ResponseItem>\r\n";
    SimpleXMLParserPL parser;
    parser.Parse(row);
    parser.Parse(row);
    EXPECT_EQ(AllocationsOf([&] {
                  for (int round = 0; round < 100; ++round)
                      parser.Parse(row);
              }),
              0u);
    EXPECT_EQ(AllocationsOf([&] {
                  for (char const& byte : row)
                      parser.Parse(&byte, 1);
              }),
              0u);
}

// Whatever allocation fails, the parser stays fit for use.
TEST(SimpleXMLParserPLTest, ExhaustedMemoryPassesThroughParse) {
    std::string const document =
        "<element b='a value that does not fit into a small string' c='d' e='f' g='h'>"
        "A text that does not fit into a small string.</element><!-- -->"
        "<anElementWithALongName/>&anEscapeThatDoesNotFit;<![CDATA[A section, long enough.]]>";
    std::size_t const failures = ForEachFailingAllocation([&](std::size_t) {
        SimpleXMLParserPL parser;
        for (int round = 0; round < 3; ++round) {
            try {
                for (ConstData chunk : SplitEvery(document, 7).Views())
                    Feed(parser, chunk);
            } catch (std::bad_alloc const&) {
            }
        }
    });
    EXPECT_GT(failures, 10u);
}

// Deliberate: an attribute was complete before room for the next could be had, so its closing quote
// counts twice.
TEST(SimpleXMLParserPLTest, AnAttributePoolThatCouldNotGrowGrowsLater) {
    EventLog log;
    SimpleXMLParserPL parser(log);
    parser.Parse(std::string("<a b='c"));
    {
        FailingAllocation const failing(1);
        EXPECT_THROW(parser.Parse("'", 1), std::bad_alloc);
        EXPECT_TRUE(failing.HasFailed());
    }
    parser.Parse("'", 1);
    parser.Parse(" d='e'>", 7);
    EXPECT_THAT(log.events, ElementsAre("S(1)a(1)b(1)c(0)(0)(1)d(1)e"));
}

// A search that begins anew at each byte would need hours for these.
TEST(SimpleXMLParserPLTest, LongRunsAreReadInLinearTime) {
    std::string const run(20'000'000, 'x');
    for (std::string const start :
         {"", "<", "</", "<a b", "<a b=", "<a b='", "&", "<a b='&", "<!--", "<![CDATA["}) {
        EventLog log;
        SimpleXMLParserPL parser(log);
        parser.Parse(start);
        parser.Parse(run);
        EXPECT_THAT(log.events, IsEmpty()) << start;
    }
    for (char byte : {'-', '>', ']', '\0', ' '}) {
        std::string const special(5'000'000, byte);
        EventLog log;
        SimpleXMLParserPL parser(log);
        parser.Parse("<![CDATA[" + special);
        parser.Parse("]]><!--x" + special);
        EXPECT_LE(log.events.size(), 1u);
    }
}

// The first two slots are the destructor's.
TEST(SimpleXMLParserPLTest, EventsStandInTheirOrder) {
    EXPECT_EQ(2u, SlotOf(&XMLHandler::StartElement));
    EXPECT_EQ(3u, SlotOf(&XMLHandler::EndElement));
    EXPECT_EQ(4u, SlotOf(&XMLHandler::Characters));
    EXPECT_EQ(5u, SlotOf(&XMLHandler::DoProcessingInstructionElement));
}

} // namespace
