#include "xml/SimpleXMLParserPL.h"

#include <gmock/gmock.h>

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

void Feed(SimpleXMLParserPL& parser, ConstData chunk) {
    parser.Parse(reinterpret_cast<char const*>(chunk.begin),
                 static_cast<unsigned int>(chunk.Length()));
}

Events EventsOf(std::string const& document) {
    EventLog log;
    SimpleXMLParserPL(log).Parse(document);
    return log.events;
}

Events ExpectedEvents(std::string const& document) {
    EventLog log;
    NaiveXMLMachine(log).Parse(document);
    return log.events;
}

// Not by ForEachSplit, whose messages would take too long for thousands of documents.
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

void ExpectEvents(std::vector<std::pair<std::string, Events>> const& cases) {
    for (auto const& [document, events] : cases) {
        EXPECT_EQ(ExpectedEvents(document), events) << "the reference: " << Shown(document);
        EXPECT_EQ(CountMismatches(document), 0u) << Shown(document);
    }
}

TEST(SimpleXMLParserPLTest, ReportsElementsAndText) {
    ExpectEvents({
        {"<a b=\"1\" c='2'>hi<d></d></a>",
         {"S(1)a(1)b(1)1(1)c(1)2", "C(2)hi", "S(1)d", "E(1)d", "E(1)a"}},
        {"\xEF\xBB\xBF \t\r\n>]]>\"'=-;\xFF" + Bytes("\0") + "<",
         {"C(18)\xEF\xBB\xBF \t\r\n>]]>\"'=-;\xFF" + Bytes("\0")}},
        // An escape is an event of its own.
        {"a&lt;b<", {"C(1)a", "C(1)<", "C(1)b"}},
        {"&lt;&gt;&amp;&quot;<", {"C(1)<", "C(1)>", "C(1)&", "C(1)\""}},
        {"<a>&amp;</a>", {"S(1)a", "C(1)&", "E(1)a"}},
        // Without a semicolon, the escape includes the tags that follow.
        {"a & b<c></c> d; e<", {"C(2)a ", "C(13)& b<c></c> d;", "C(2) e"}},
        {"&amp<a>", {}},
        // Text after the last tag is never reported.
        {"<a></a>\r\n", {"S(1)a", "E(1)a"}},
        {"text", {}},
        {"<a></a", {"S(1)a"}},
        {"<a b='c'", {}},
    });
}

TEST(SimpleXMLParserPLTest, ReportsTagsWithoutValidation) {
    ExpectEvents({
        // A short empty element is reported as an end tag only. After whitespace, a slash begins an
        // attribute.
        {"<a/>", {"E(1)a"}},
        {"<a/b c>", {"E(4)ab c"}},
        {"<a /><b c='d'>", {"S(1)a(6)/><b c(1)d"}},
        {"<a b='c'/><d e='f'>", {"S(1)a(1)b(1)c(6)/><d e(1)f"}},
        // End tags need no start tag, and keep all their bytes.
        {"</a>", {"E(1)a"}},
        {"</a >", {"E(2)a "}},
        {"</a-b--c>", {"E(6)a-b--c"}},
        {"</ a/b>", {"E(4) a/b"}},
        // Empty names.
        {"<>", {"S(0)"}},
        {"<  >", {"S(0)"}},
        {"</>", {"E(0)"}},
        // Spaces before a name are skipped, other whitespace is a part of it.
        {"<  a>", {"S(1)a"}},
        {"<\ta\n>", {"S(3)\ta\n"}},
        {"<a\tb='c'>", {"S(7)a\tb='c'"}},
        // The first dash of a name is dropped, the second begins a comment.
        {"<a-b></a-b>", {"S(2)ab", "E(3)a-b"}},
        {"<a-b-c>x--><d>", {"S(1)d"}},
        {"<-a>", {"S(1)a"}},
        {"<- a>", {"S(1)a"}},
        {"<-/a>", {"E(1)a"}},
        // Processing instructions and declarations.
        {"<?xml version=\"1.0\" encoding='x'?>", {"P(4)?xml(7)version(3)1.0(8)encoding(1)x"}},
        {"<?xml?>", {"P(5)?xml?"}},
        {"<?xml ?>", {"P(4)?xml"}},
        {"<a ?\?b='c'?\?>", {"S(1)a(1)b(1)c"}},
        {"<?do this?><a b='c'>", {"P(3)?do(10)this?><a b(1)c"}},
        {"<!DOCTYPE>", {"S(8)!DOCTYPE"}},
        {"<!DOCTYPE a><b c='d'>", {"S(8)!DOCTYPE(6)a><b c(1)d"}},
    });
}

TEST(SimpleXMLParserPLTest, ReportsAttributesWithoutValidation) {
    ExpectEvents({
        {"<a b='\"<>\"' c=\"'&lt;'\">", {"S(1)a(1)b(4)\"<>\"(1)c(3)'<'"}},
        {"<a b='&quot;&#x27;\r\n\t/?'>", {"S(1)a(1)b(7)\"'\r\n\t/?"}},
        {"<a b='& c'>;d'>", {"S(1)a(1)b(7)& c'>;d"}},
        {"<a b=''>", {"S(1)a(1)b(0)"}},
        // A name extends to the equals sign. Deliberate: as the first byte, "=" is part of it.
        {"<a b c > d\n='e'>", {"S(1)a(8)b c > d\n(1)e"}},
        {"<a ='b'>c='d'>", {"S(1)a(6)='b'>c(1)d"}},
        {"<a b>text</a><c d='e'>", {"S(1)a(14)b>text</a><c d(1)e"}},
        {"<a =b='c'>", {"S(1)a(2)=b(1)c"}},
        // Anything between the equals sign and the quote is skipped.
        {"<a b= x>y<'c'>", {"S(1)a(1)b(1)c"}},
        {"<a b='c'd='e'>", {"S(1)a(1)b(1)c(1)d(1)e"}},
        {"<a b='c'   d='e'  >", {"S(1)a(1)b(1)c(1)d(1)e"}},
        {"<a b='1' b='2' b='1'>", {"S(1)a(1)b(1)1(1)b(1)2(1)b(1)1"}},
        {"<a b='1' c='2'><d><e f='3'>", {"S(1)a(1)b(1)1(1)c(1)2", "S(1)d", "S(1)e(1)f(1)3"}},
    });
}

TEST(SimpleXMLParserPLTest, CommentsEndAtTwoDashesAndABracket) {
    ExpectEvents({
        {"a<!-- <b> & > -> -- > -->c<", {"C(1)a", "C(1)c"}},
        {"<!----><a>", {"S(1)a"}},
        {"<!--x---><a>", {"S(1)a"}},
        {"<!--x-----><a>", {"S(1)a"}},
        {"<!--x-- ><a>-->", {}},
        {"<!--x-><a>--><b>", {"S(1)b"}},
        // The dashes that open a comment do not close it.
        {"<!--><a>--><b>", {"S(1)b"}},
        {"<!---><a>--><b>", {"S(1)b"}},
    });
}

TEST(SimpleXMLParserPLTest, CDATASectionsAreTextWithoutMarkup) {
    ExpectEvents({
        {"a<![CDATA[<b>&lt;]>]] >x]]>c<", {"C(1)a", "C(14)<b>&lt;]>]] >x", "C(1)c"}},
        {"<![CDATA[]]><a>", {"S(1)a"}},
        {"<![CDATA[]]]><", {"C(1)]"}},
        {"<![CDATA[x]]]]><", {"C(3)x]]"}},
        {"<![CDATA[>]>]]>]]><", {"C(3)>]>", "C(3)]]>"}},
        // NULs are dropped.
        {Bytes("<![CDATA[\0a\0\0b]\0]]>\0<"), {"C(3)ab]", Bytes("C(1)\0")}},
        {Bytes("<![CDATA[\0]]><"), {}},
        // The name is exact, but for spaces before it and a dash in it.
        {"<![CDA-TA[x]]><", {"C(1)x"}},
        {"<  ![CDATA[x]]><", {"C(1)x"}},
        {"<![cdata[x>", {"S(9)![cdata[x"}},
        {"<x![CDATA[>", {"S(9)x![CDATA["}},
        {"<![CDATA>", {"S(7)![CDATA"}},
        {"<![CDATA [x]]>=''>", {"S(7)![CDATA(5)[x]]>(0)"}},
        {"</![CDATA[x]]>", {"E(11)![CDATA[x]]"}},
    });
}

TEST(SimpleXMLParserPLTest, HexReferenceUpTo255IsOneByte) {
    for (unsigned int value = 0; value <= 255; ++value)
        for (char const* format : {"&#x%x;", "&#x%02X;", "&#x%08x;"}) {
            char reference[20];
            std::snprintf(reference, sizeof(reference), format, value);
            std::string const byte(1, static_cast<char>(value));
            EXPECT_THAT(EventsOf(std::string(reference) + "<a b='" + reference + "'>"),
                        ElementsAre("C(1)" + byte, "S(1)a(1)b(1)" + byte))
                << reference;
        }
}

TEST(SimpleXMLParserPLTest, OtherEscapesStayAsWritten) {
    for (std::string const escape :
         {"&#x100;", "&#x7fffffff;", "&#65;", "&#X41;", "&apos;", "&unknown;", "&LT;", "&lt ;",
          "&;", "&#;", "&&lt;", "& lt;", "&x41;", "&ltt;"}) {
        std::string const part = "(" + std::to_string(escape.size()) + ")" + escape;
        ExpectEvents({{escape, {"C" + part}}, {"<a b='" + escape + "'>", {"S(1)a(1)b" + part}}});
    }
}

// Deliberate: strtol reads the number, limited to signed 64 bits. Only its low 32 bits count.
TEST(SimpleXMLParserPLTest, ReferencesAreReadAsByStrtol) {
    struct {
        std::string byte;
        std::vector<std::string> references;
    } const cases[] = {
        {Bytes("\0"), {"&#x;", "&#xzz;"}},
        {"A",
         {"&#x 41;", "&#x\t\r\n+41;", "&#x0x41;", "&#x41zzz;", Bytes("&#x41\0") + "99;", "&#x-bf;",
          "&#x100000041;", "&#x80000041;", "&#x7fffffff00000041;", "&#x-7fffffffffffffbf;"}},
        {"\xFF", {"&#x-1;", "&#xffffffffffffffffffff;"}},
        // Limited to 2^63 - 1, whose low 32 bits are set.
        {"\xFF",
         {"&#x7fffffffffffffff;", "&#x8000000000000000;", "&#x8000000000000041;",
          "&#x8000000000000100;", "&#xffffffffffffff41;", "&#x10000000000000041;"}},
        // Limited to -2^63, whose low 32 bits are clear.
        {Bytes("\0"),
         {"&#x-8000000000000000;", "&#x-8000000000000041;", "&#x-ffffffffffffffbf;",
          "&#x-10000000000000041;"}},
    };
    for (auto const& [byte, references] : cases)
        for (std::string const& reference : references)
            EXPECT_EQ(EventsOf(reference), Events{"C(1)" + byte}) << Shown(reference);
}

TEST(SimpleXMLParserPLTest, ReadsEachBufferUpToItsLength) {
    EventLog log;
    SimpleXMLParserPL parser(log);
    parser.Parse(nullptr, 0);
    parser.Parse(std::string());
    parser.Parse(std::string("<a></a>"));
    parser.Parse("<b></b>", 2);
    parser.Parse(nullptr, 0);
    parser.Parse("><c>", 1);
    EXPECT_THAT(log.events, ElementsAre("S(1)a", "E(1)a", "S(1)b"));
}

TEST(SimpleXMLParserPLTest, ParserIsItsOwnHandlerByDefault) {
    class Counting : public SimpleXMLParserPL {
    public:
        void StartElement(std::string const&, std::vector<XMLAttribute const*> const&) override {
            ++starts;
        }
        int starts = 0;
    };
    std::string const document = "<?i a='b'?><a>text&lt;</a><b>";
    Counting parser;
    parser.Parse(document);
    EXPECT_EQ(parser.starts, 2);
    SimpleXMLParserPL().Parse(document);
}

TEST(SimpleXMLParserPLTest, RandomDocumentsAgreeWithReference) {
    for (unsigned int seed = 1; seed <= 3000; ++seed) {
        std::mt19937 random(seed);
        std::string const document = MakeByteSoup(random, 24);
        ASSERT_EQ(CountMismatches(document), 0u) << "seed " << seed << ": " << Shown(document);
    }
    for (unsigned int seed = 1; seed <= 300; ++seed) {
        std::mt19937 random(seed);
        std::string const document = MakeByteSoup(random, 5000);
        ASSERT_EQ(EventsOf(document), ExpectedEvents(document)) << "long, seed " << seed;
    }
}

TEST(SimpleXMLParserPLTest, EveryShortTextAgreesWithReference) {
    std::string const alphabet = "<>&;/- ='?]a";
    unsigned int mismatches = 0;
    for (std::string const start : {"", "<", "<a ", "<a b='", "<!--", "<![CDATA["})
        for (std::size_t number = 0; number < 12 * 12 * 12 * 12; ++number) {
            std::string document = start;
            for (std::size_t rest = number, place = 0; place < 4; ++place, rest /= 12)
                document += alphabet[rest % 12];
            document += "'>]]>--><c></c>";
            mismatches += EventsOf(document) != ExpectedEvents(document);
        }
    EXPECT_EQ(mismatches, 0u);
}

// The parser discards the rest of the chunk, and stays in the state that it was about to leave. The
// events of the next chunks depend on that state.
TEST(SimpleXMLParserPLTest, ExceptionOfTheHandlerKeepsTheState) {
    auto const throws = [](auto parse) {
        try {
            parse();
            return false;
        } catch (EventLog::Refusal const&) {
            return true;
        }
    };
    for (unsigned int seed = 1; seed <= 3000; ++seed) {
        std::mt19937 random(seed);
        std::string const document = MakeByteSoup(random, 24);
        std::size_t const refused = random() % 8;
        EventLog log(refused);
        SimpleXMLParserPL parser(log);
        EventLog expectedLog(refused);
        NaiveXMLMachine machine(expectedLog);
        for (ConstData chunk : SplitEvery(document, 1 + random() % 9).Views()) {
            ASSERT_EQ(throws([&] { Feed(parser, chunk); }),
                      throws([&] { machine.Parse(chunk.View()); }))
                << "seed " << seed << ": " << Shown(document);
        }
        ASSERT_EQ(log.events, expectedLog.events) << "seed " << seed << ": " << Shown(document);
    }
}

TEST(SimpleXMLParserPLTest, AllocatesNothingForARepeatedRow) {
    std::string const row =
        "<ResponseItem id=\"a value that does not fit into a small string\" type='x'>\r\n"
        "\t<Description>A text of some length, with an escape &amp; &#x41; in it.</Description>\r\n"
        "\t<![CDATA[And a section that is longer than a small string, too.]]><!-- Comment -->\r\n"
        "</ResponseItem>\r\n";
    SimpleXMLParserPL parser;
    parser.Parse(row);
    parser.Parse(row);
    EXPECT_EQ(AllocationsOf([&] {
                  parser.Parse(row);
                  for (char const& byte : row)
                      parser.Parse(&byte, 1);
              }),
              0u);
}

TEST(SimpleXMLParserPLTest, FailedAllocationLeavesTheParserUsable) {
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

// Deliberate: the attribute was complete before the allocation for the next one failed, so its
// closing quote is processed twice.
TEST(SimpleXMLParserPLTest, QuoteRepeatedAfterAFailureAddsAnEmptyAttribute) {
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

// A search that restarts at each byte would take hours.
TEST(SimpleXMLParserPLTest, ReadsLongRunsInLinearTime) {
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

// The destructor takes the first two slots.
TEST(SimpleXMLParserPLTest, VirtualSlotsHaveFixedOrder) {
    EXPECT_EQ(2u, SlotOf(&XMLHandler::StartElement));
    EXPECT_EQ(3u, SlotOf(&XMLHandler::EndElement));
    EXPECT_EQ(4u, SlotOf(&XMLHandler::Characters));
    EXPECT_EQ(5u, SlotOf(&XMLHandler::DoProcessingInstructionElement));
}

} // namespace
