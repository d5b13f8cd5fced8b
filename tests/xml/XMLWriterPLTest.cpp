#include "xml/XMLWriterPL.h"

#include <functional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "data/LineFlattener.h"
#include "data/LineReceiver.h"
#include "data/StringReceiver.h"
#include "tests/support/Bytes.h"
#include "tests/support/FailingAllocation.h"
#include "tests/support/RecordingReceivers.h"
#include "tests/xml/WrittenXML.h"

namespace {

using ::testing::ElementsAre;
using Style = XMLWriterPL::XMLFormatStyle;

TEST(XMLWriterPLTest, ADocumentFromStartToEnd) {
    RecordingLineReceiver receiver;
    receiver.IgnorePositions();
    XMLWriterPL writer(receiver, XMLWriterPL::XMLFormatTabbed);
    EXPECT_TRUE(writer.checkNames);
    EXPECT_THAT(receiver.Events(), ElementsAre());
    writer.BeginDocument("Doc", Attributes{{"version", "1"}}, noEncoding);
    writer.BeginElement("Type", none);
    writer.WriteString(StringPL("Open"));
    writer.EndDocument();
    EXPECT_THAT(receiver.Events(),
                ElementsAre("Start 0", "Receive <?xml version=\"1.0\"?>", "ReceiveLineBreak 0-0",
                            "Receive <Doc version=\"1\">", "ReceiveLineBreak 0-0",
                            "Receive \\09<Type>Open</Type>", "ReceiveLineBreak 0-0",
                            "Receive </Doc>", "ReceiveEnd 0"));
}

TEST(XMLWriterPLTest, TheEncodingIsNamedAsItIs) {
    EXPECT_EQ(Document(XMLWriterPL::XMLFormatFlat,
                       [](XMLWriterPL& writer) {
                           writer.BeginDocument("a", none, NullOr<StringPL>(StringPL("x&\"y")));
                           writer.EndDocument();
                       }),
              "<?xml version=\"1.0\" encoding=\"x&\"y\"?><a></a>");
}

TEST(XMLWriterPLTest, AnElementWithoutContentIsTwoTagsOnOneLine) {
    for (std::uint32_t style : {0u, 1u}) {
        EXPECT_EQ(Inside(style,
                         [](XMLWriterPL& writer) {
                             writer.BeginElement("a", none);
                             writer.EndElement();
                             writer.EndDocument();
                         }),
                  style == 0 ? "|\t<a></a>|</r>" : "|<a></a>|</r>");
    }
}

TEST(XMLWriterPLTest, TabsShowTheDepth) {
    EXPECT_EQ(Tabbed([](XMLWriterPL& writer) {
                  writer.BeginElement("a", none);
                  writer.BeginElement("b", none);
                  writer.EndElement();
                  writer.BeginElement("c", none);
                  writer.EndElement();
                  writer.EndElement();
                  writer.EndElement();
                  EXPECT_NO_THROW(writer.EndDocument());
              }),
              "|\t<a>|\t\t<b></b>|\t\t<c></c>|\t</a>|</r>");
}

TEST(XMLWriterPLTest, ADeepElementGetsItsTabs) {
    for (std::size_t depth = 1; depth <= 70; ++depth) {
        std::string const written = Tabbed([&](XMLWriterPL& writer) {
            for (std::size_t level = 1; level < depth; ++level)
                writer.BeginElement("e", none);
            writer.BeginElement("a", none);
            writer.EndElement();
        });
        std::string const line = std::string("|") + std::string(depth, '\t') + "<a></a>";
        ASSERT_GE(written.size(), line.size());
        EXPECT_EQ(written.substr(written.size() - line.size()), line);
    }
}

TEST(XMLWriterPLTest, ARootWithoutChildrenEndsOnItsLine) {
    EXPECT_EQ(Tabbed([](XMLWriterPL& writer) { writer.EndDocument(); }), "</r>");
}

TEST(XMLWriterPLTest, LinedIsTabbedWithoutTabs) {
    EXPECT_EQ(Inside(XMLWriterPL::XMLFormatLined,
                     [](XMLWriterPL& writer) {
                         writer.BeginElement("a", none);
                         writer.BeginElement("b", none);
                         writer.EndElement();
                         writer.WriteString(ConstData("t"));
                         writer.EndDocument();
                     }),
              "|<a>|<b></b>|t</a>|</r>");
}

TEST(XMLWriterPLTest, TheFlatStylesHaveNoBreaks) {
    for (std::uint32_t style : {2u, 3u, 0xFFFFFFFFu}) {
        EXPECT_EQ(Inside(style,
                         [](XMLWriterPL& writer) {
                             writer.BeginElement("a", none);
                             writer.EndElement();
                             writer.WriteString(ConstData("t"));
                             writer.WriteComment("c");
                             writer.EndDocument();
                         }),
                  "<a></a>t<!-- c --></r>");
    }
}

TEST(XMLWriterPLTest, ContentBehindAnEndTagStartsAtTheMargin) {
    EXPECT_EQ(Tabbed([](XMLWriterPL& writer) {
                  writer.BeginElement("a", none);
                  for (int kind = 0; kind < 3; ++kind) {
                      writer.BeginElement("b", none);
                      writer.EndElement();
                      if (kind == 0)
                          writer.WriteString(ConstData("x"));
                      else if (kind == 1)
                          writer.WriteUTF8String("y");
                      else
                          writer.WriteCDataString("z");
                  }
                  writer.EndDocument();
              }),
              "|\t<a>|\t\t<b></b>|x|\t\t<b></b>|y|\t\t<b></b>|<![CDATA[z]]></a>|</r>");
}

TEST(XMLWriterPLTest, ContentBehindAStartTagOrContentGoesOnInTheLine) {
    EXPECT_EQ(Tabbed([](XMLWriterPL& writer) {
                  writer.WriteString(ConstData("a"));
                  writer.WriteUTF8String("b");
                  writer.WriteCDataString("c");
                  writer.WriteString(ConstData("d"));
              }),
              "ab<![CDATA[c]]>d");
}

TEST(XMLWriterPLTest, BehindContentOfEachKindTextAndEndTagGoOnInTheLine) {
    struct Kind {
        std::string written;
        std::function<void(XMLWriterPL&)> write;
    };
    Kind const kinds[] = {{"|x",
                           [](XMLWriterPL& writer) {
                               writer.WriteString(ConstData("x"));
                           }},
                          {"|x",
                           [](XMLWriterPL& writer) {
                               writer.WriteString(StringPL("x"));
                           }},
                          {"|x",
                           [](XMLWriterPL& writer) {
                               writer.WriteUTF8String("x");
                           }},
                          {"|<![CDATA[x]]>",
                           [](XMLWriterPL& writer) {
                               writer.WriteCDataString("x");
                           }},
                          {"|<!-- x -->", [](XMLWriterPL& writer) {
                               writer.WriteComment("x");
                           }}};
    for (Kind const& kind : kinds) {
        for (std::string const next : {"", "y"}) {
            EXPECT_EQ(Tabbed([&](XMLWriterPL& writer) {
                          writer.BeginElement("a", none);
                          writer.EndElement();
                          kind.write(writer);
                          if (!next.empty())
                              writer.WriteUTF8String(next.c_str());
                          writer.EndElement();
                      }),
                      "|\t<a></a>" + kind.written + next + "</r>");
        }
    }
}

// Deliberate: no text is content too.
TEST(XMLWriterPLTest, AnEmptyTextBreaksTheLineAndCounts) {
    EXPECT_EQ(Tabbed([](XMLWriterPL& writer) {
                  writer.BeginElement("a", none);
                  writer.EndElement();
                  writer.WriteString(ConstData());
                  writer.WriteString(ConstData());
                  writer.EndElement();
              }),
              "|\t<a></a>|</r>");
}

TEST(XMLWriterPLTest, EachByteOfEachKindOfText) {
    for (int number = 0; number < 256; ++number) {
        std::string const byte(1, static_cast<char>(number));
        std::string common = byte;
        if (byte == "<")
            common = "&lt;";
        if (byte == ">")
            common = "&gt;";
        if (byte == "&")
            common = "&amp;";
        char reference[8];
        std::snprintf(reference, sizeof(reference), "&#x%02x;", static_cast<unsigned>(number));
        std::string const inString = number < 0x80 ? common : reference;
        std::string const inAttribute = byte == "\"" ? "&quot;" : common;
        // Behind and before plain bytes, and in a run that is longer than one look.
        for (std::string const plain : {"", "p", "a plain run of more than sixteen bytes"}) {
            std::string const text = plain + byte + plain + byte;
            EXPECT_EQ(Flat([&](XMLWriterPL& writer) { writer.WriteString(ConstData(text)); }),
                      plain + inString + plain + inString);
            EXPECT_EQ(Flat([&](XMLWriterPL& writer) { writer.WriteCharacterData(text, false); }),
                      plain + inString + plain + inString);
            EXPECT_EQ(Flat([&](XMLWriterPL& writer) { writer.WriteCharacterData(text, true); }),
                      plain + common + plain + common);
            EXPECT_EQ(Flat([&](XMLWriterPL& writer) { writer.WriteAttributeValue(text); }),
                      plain + inAttribute + plain + inAttribute);
            if (number == 0)
                continue;
            EXPECT_EQ(Flat([&](XMLWriterPL& writer) { writer.WriteString(MakeStringPL(text)); }),
                      plain + inString + plain + inString);
            EXPECT_EQ(Flat([&](XMLWriterPL& writer) { writer.WriteUTF8String(text.c_str()); }),
                      plain + common + plain + common);
            EXPECT_EQ(Flat([&](XMLWriterPL& writer) {
                          writer.BeginElement("a", Attributes{{"b", text}});
                      }),
                      "<a b=\"" + plain + inAttribute + plain + inAttribute + "\">");
        }
    }
}

TEST(XMLWriterPLTest, EachByteOfALongSequenceIsAReferenceOfItsOwn) {
    EXPECT_EQ(Flat([](XMLWriterPL& writer) { writer.WriteString(ConstData("\xC3\xA9")); }),
              "&#xc3;&#xa9;");
}

TEST(XMLWriterPLTest, LineEndsInTextAreNoBreaks) {
    EXPECT_EQ(Tabbed([](XMLWriterPL& writer) { writer.WriteString(ConstData("a\r\nb")); }),
              "a\r\nb");
}

TEST(XMLWriterPLTest, AttributesStandInListOrder) {
    EXPECT_EQ(Flat([](XMLWriterPL& writer) {
                  writer.BeginElement("a", Attributes{{"c", "1"}, {"b", ""}, {"c", "'"}});
                  writer.BeginElement(ConstData("d"), none);
                  writer.BeginElement(StringPL("e"), Attributes{{"f", "g"}});
                  writer.EndDocument();
              }),
              "<a c=\"1\" b=\"\" c=\"'\"><d><e f=\"g\"></e></d></a></r>");
}

TEST(XMLWriterPLTest, EndDocumentClosesTheInnermostElementFirst) {
    EXPECT_EQ(Tabbed([](XMLWriterPL& writer) {
                  writer.BeginElement("a", none);
                  writer.BeginElement("b", none);
                  writer.EndDocument();
              }),
              "|\t<a>|\t\t<b></b>|\t</a>|</r>");
}

// Deliberate: an end of a section in the text ends it early.
TEST(XMLWriterPLTest, ASectionIsWrittenUnchanged) {
    EXPECT_EQ(Flat([](XMLWriterPL& writer) { writer.WriteCDataString("<a>&\xE9]]>\""); }),
              "<![CDATA[<a>&\xE9]]>\"]]>");
    EXPECT_EQ(Flat([](XMLWriterPL& writer) { writer.WriteCDataString(""); }), "<![CDATA[]]>");
}

TEST(XMLWriterPLTest, ACommentHasALineOfItsOwnAndIsNotEscaped) {
    EXPECT_EQ(Tabbed([](XMLWriterPL& writer) {
                  writer.WriteComment("<a>&\xE9");
                  writer.WriteComment("");
                  writer.WriteString(ConstData("t"));
                  writer.BeginElement("b", none);
              }),
              "|<!-- <a>&\xE9 -->|<!--  -->t|\t<b>");
}

TEST(XMLWriterPLTest, ALineFeedBehindTheFirstByteGivesACommentLinesOfItsOwn) {
    EXPECT_EQ(Tabbed([](XMLWriterPL& writer) { writer.WriteComment("a\nb"); }), "|<!-- |a\nb| -->");
    EXPECT_EQ(Flat([](XMLWriterPL& writer) { writer.WriteComment("a\nb"); }), "<!-- |a\nb| -->");
    EXPECT_EQ(Flat([](XMLWriterPL& writer) { writer.WriteComment("\nb"); }), "<!-- \nb -->");
    EXPECT_EQ(Flat([](XMLWriterPL& writer) { writer.WriteComment("\n\n"); }), "<!-- |\n\n| -->");
    EXPECT_EQ(Flat([](XMLWriterPL& writer) { writer.WriteComment("\r"); }), "<!-- \r -->");
}

// Deliberate: the survivors of a thinned run may be a pair.
TEST(XMLWriterPLTest, RunsOfDashesInACommentAreThinned) {
    char const* const expected[] = {"", "-", "-", "--", "--", "---", "---", "----"};
    for (std::size_t dashes = 0; dashes < std::size(expected); ++dashes) {
        std::string const run(dashes, '-');
        EXPECT_EQ(Flat([&](XMLWriterPL& writer) { writer.WriteComment(MakeStringPL(run)); }),
                  std::string("<!-- ") + std::string(expected[dashes]) + " -->");
        EXPECT_EQ(
            Flat([&](XMLWriterPL& writer) { writer.WriteComment(MakeStringPL("a" + run + "b")); }),
            std::string("<!-- a") + std::string(expected[dashes]) + "b -->");
    }
}

// Deliberate: the byte behind a dash that is left out is not looked at.
TEST(XMLWriterPLTest, ALineFeedBehindADashThatIsLeftOutIsNotFound) {
    EXPECT_EQ(Flat([](XMLWriterPL& writer) { writer.WriteComment("--\n"); }), "<!-- -\n -->");
    EXPECT_EQ(Flat([](XMLWriterPL& writer) { writer.WriteComment("---\n"); }), "<!-- |--\n| -->");
    EXPECT_EQ(Flat([](XMLWriterPL& writer) { writer.WriteComment("-\n-\n"); }),
              "<!-- |-\n-\n| -->");
}

// The walk as it is told for a string that shrinks, byte by byte.
TEST(XMLWriterPLTest, CommentsAreThinnedAsByAWalkOverTheShrinkingText) {
    for (unsigned int number = 0; number < 6561; ++number) {
        std::string text;
        for (unsigned int rest = number, place = 0; place < 8; ++place, rest /= 3)
            text += "-\nx"[rest % 3];
        std::string shrinking = text;
        bool found = false;
        for (std::size_t index = 1; index < shrinking.size(); ++index) {
            found = found || shrinking[index] == '\n';
            if (shrinking[index] == '-' && shrinking[index - 1] == '-')
                shrinking.erase(index, 1);
        }
        std::string const around = found ? "|" : "";
        ASSERT_EQ(Flat([&](XMLWriterPL& writer) { writer.WriteComment(MakeStringPL(text)); }),
                  "<!-- " + around + shrinking + around + " -->");
    }
}

bool IsAccepted(std::string const& name) {
    std::string document;
    StringReceiver collector;
    LineFlattener flattener;
    XMLWriterPL writer(flattener(LineFlattener::nothing, collector(document)), 2);
    writer.BeginDocument("r", none, noEncoding);
    bool accepted[2] = {true, true};
    std::size_t const before = document.size();
    try {
        writer.BeginElement(ConstData(name), none);
    } catch (InvalidXMLElementName const&) {
        accepted[0] = false;
        EXPECT_EQ(document.size(), before);
    }
    std::size_t const between = document.size();
    try {
        writer.BeginElement("a", Attributes{{name, "v"}});
    } catch (InvalidXMLAttributeName const&) {
        accepted[1] = false;
        EXPECT_EQ(document.size(), between);
    }
    EXPECT_EQ(accepted[0], accepted[1]) << Shown(name);
    return accepted[0];
}

TEST(XMLWriterPLTest, ValidNames) {
    std::string const letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
    for (int number = 1; number < 256; ++number) {
        std::string const byte(1, static_cast<char>(number));
        bool const begins = (letters + "_:").find(byte) != std::string::npos;
        bool const goesOn = (letters + "_:.-0123456789\xB7").find(byte) != std::string::npos;
        EXPECT_EQ(IsAccepted(byte), begins) << number;
        EXPECT_EQ(IsAccepted(byte + "a"), begins) << number;
        EXPECT_EQ(IsAccepted("a" + byte), goesOn) << number;
        EXPECT_EQ(IsAccepted("ab" + byte + "c"), goesOn) << number;
    }
    EXPECT_FALSE(IsAccepted(""));
    EXPECT_FALSE(IsAccepted("a b"));
}

TEST(XMLWriterPLTest, ARefusedTagLeavesDocumentAndStackAsTheyWere) {
    EXPECT_EQ(Tabbed([](XMLWriterPL& writer) {
                  writer.BeginElement("a", none);
                  EXPECT_THROW(writer.BeginElement("1", none), InvalidXMLElementName);
                  EXPECT_THROW(writer.BeginElement("b", (Attributes{{"c", ""}, {"d e", ""}})),
                               InvalidXMLAttributeName);
                  EXPECT_THROW(writer.BeginElement("", none), InvalidXMLElementName);
                  writer.EndDocument();
              }),
              "|\t<a></a>|</r>");
}

TEST(XMLWriterPLTest, MessagesNameTheElementFirst) {
    RecordingLineReceiver receiver;
    XMLWriterPL writer(receiver, 2);
    try {
        writer.BeginElement("1%sa", Attributes{{"b c", ""}});
        FAIL();
    } catch (ExceptionPL const& error) {
        EXPECT_STREQ(error.what(), "Unable to write XML element with invalid element name '1%sa'");
    }
    try {
        writer.BeginElement("a", Attributes{{"b", ""}, {"c d", ""}, {"e f", ""}});
        FAIL();
    } catch (ExceptionPL const& error) {
        EXPECT_STREQ(error.what(),
                     "Unable to write XML element 'a' with invalid attribute name 'c d'");
    }
    try {
        std::string const name = "+of a range without a NUL";
        writer.BeginElement(ConstData(name.data(), 3), none);
        FAIL();
    } catch (InvalidXMLElementName const& error) {
        EXPECT_STREQ(error.what(), "Unable to write XML element with invalid element name '+of'");
    }
}

TEST(XMLWriterPLTest, ABadRootIsRefusedBehindTheDeclaration) {
    RecordingLineReceiver receiver;
    XMLWriterPL writer(receiver, XMLWriterPL::XMLFormatTabbed);
    EXPECT_THROW(writer.BeginDocument("", none, noEncoding), InvalidXMLElementName);
    EXPECT_THAT(receiver.Events(), ElementsAre("Start 0", "Receive <?xml version=\"1.0\"?>"));
}

// Records at each ResetEnum whether an enumeration was under way. Can throw at one of them.
class WatchedAttributes : public Attributes {
public:
    using Attributes::Attributes;

    void ResetEnum() const override {
        wasUnderWay.push_back(IsNext());
        if (wasUnderWay.size() == refusedReset)
            throw NoMoreItemsException();
        Attributes::ResetEnum();
    }

    mutable std::vector<bool> wasUnderWay;
    std::size_t refusedReset = 0; // counted from 1; 0 refuses none
};

TEST(XMLWriterPLTest, WalksAllAttributesTwiceWithAndWithoutChecks) {
    for (bool const checks : {true, false}) {
        WatchedAttributes const attributes{{"a", "1"}, {"b", "2"}};
        EXPECT_EQ(Flat([&](XMLWriterPL& writer) {
                      writer.checkNames = checks;
                      writer.BeginElement("e", attributes);
                  }),
                  "<e a=\"1\" b=\"2\">");
        EXPECT_THAT(attributes.wasUnderWay, ElementsAre(false, false)) << checks;
    }
}

TEST(XMLWriterPLTest, WritesNothingIfTheFirstWalkThrows) {
    for (bool const checks : {true, false}) {
        WatchedAttributes attributes{{"a", "1"}};
        attributes.refusedReset = 1;
        EXPECT_EQ(Tabbed([&](XMLWriterPL& writer) {
                      writer.checkNames = checks;
                      EXPECT_THROW(writer.BeginElement("e", attributes), NoMoreItemsException);
                      writer.EndDocument();
                  }),
                  "</r>")
            << checks;
    }
}

TEST(XMLWriterPLTest, InvalidElementNameIsRefusedBeforeTheWalk) {
    WatchedAttributes const attributes{{"a b", "1"}};
    RecordingLineReceiver receiver;
    XMLWriterPL writer(receiver, XMLWriterPL::XMLFormatFlat);
    EXPECT_THROW(writer.BeginElement("1", attributes), InvalidXMLElementName);
    EXPECT_THAT(attributes.wasUnderWay, ElementsAre());
}

TEST(XMLWriterPLTest, WithoutChecksNamesAreWrittenAsTheyAre) {
    EXPECT_EQ(Flat([](XMLWriterPL& writer) {
                  writer.checkNames = false;
                  writer.BeginElement("1<&\xE9", Attributes{{"a b\"<", "c"}, {"", ""}});
                  writer.BeginElement("", none);
                  writer.EndDocument();
              }),
              "<1<&\xE9 a b\"<=\"c\" =\"\"><></></1<&\xE9></r>");
}

TEST(XMLWriterPLTest, TheEmptyAttributeListStaysEmpty) {
    XMLWriterPL::emptyAttributeList.ResetEnum();
    EXPECT_FALSE(XMLWriterPL::emptyAttributeList.IsNext());
}

// Deliberate: nothing tells the receiver of an abandoned document.
TEST(XMLWriterPLTest, TheDestructorWritesNothing) {
    RecordingLineReceiver receiver;
    {
        XMLWriterPL writer(receiver, 2);
        writer.BeginDocument("a", none, noEncoding);
    }
    EXPECT_THAT(receiver.Events(), ElementsAre("Start 0", "Receive <?xml version=\"1.0\"?><a>"));
    EXPECT_TRUE(receiver.IsOpen());
}

// Accepts a number of calls, and throws at the next one.
class FullReceiver : public LineReceiver {
public:
    explicit FullReceiver(int room) : left(room) {}
    void Start(unsigned long long) override { Take(); }
    void Receive(ConstData data) override {
        Take();
        text += MakeString(data);
    }
    void ReceiveLineBreak(Range<unsigned long long>) override {
        Take();
        text += "|";
    }
    void ReceiveEnd(unsigned long long) override { Take(); }

    int left;
    std::string text;

private:
    void Take() {
        if (left == 0)
            throw std::runtime_error("full");
        --left;
    }
};

TEST(XMLWriterPLTest, AFailureOfTheReceiverPassesThroughAndTheWriterStaysAsItWas) {
    for (int room = 0; room < 4; ++room) {
        FullReceiver receiver(1000);
        XMLWriterPL writer(receiver, 0);
        writer.BeginDocument("a", none, noEncoding);
        writer.BeginElement("b", none);
        writer.EndElement();
        receiver.left = room;
        EXPECT_THROW(writer.BeginElement("cc", none), std::runtime_error);
        receiver.left = room;
        EXPECT_THROW(writer.EndElement(), std::runtime_error);
        receiver.left = 1000;
        receiver.text.clear();
        writer.EndDocument();
        EXPECT_EQ(receiver.text, "|</a>");
    }
}

// The tabs of a child of the root and each run of text are one view of one piece.
TEST(XMLWriterPLTest, TextIsPassedOnAsViewsOfTheArgument) {
    class Watching : public FullReceiver {
    public:
        explicit Watching(std::string const& argument) : FullReceiver(1000), watched(argument) {}
        void Receive(ConstData data) override {
            char const* const begin = reinterpret_cast<char const*>(data.begin);
            if (begin >= watched.data() && begin < watched.data() + watched.size())
                runs.push_back(MakeString(data));
        }
        std::string const& watched;
        std::vector<std::string> runs;
    };
    std::string const text = "a long enough run of text<another one & the last of \xE9 them";
    Watching receiver(text);
    XMLWriterPL writer(receiver, 2);
    writer.WriteString(ConstData(text));
    EXPECT_THAT(receiver.runs,
                ElementsAre("a long enough run of text", "another one ", " the last of ", " them"));
    receiver.runs.clear();
    writer.WriteCharacterData(text, true);
    EXPECT_THAT(receiver.runs,
                ElementsAre("a long enough run of text", "another one ", " the last of \xE9 them"));
}

class IgnoringReceiver : public LineReceiver {
public:
    void Start(unsigned long long) override {}
    void Receive(ConstData) override {}
    void ReceiveLineBreak(Range<unsigned long long>) override {}
    void ReceiveEnd(unsigned long long) override {}
};

TEST(XMLWriterPLTest, TextIsWrittenWithoutAllocation) {
    IgnoringReceiver receiver;
    XMLWriterPL writer(receiver, 0);
    std::string const text = "a long enough run of text<another one & the last of \xE9 them";
    StringPL const same = MakeStringPL(text);
    EXPECT_EQ(AllocationsOf([&] {
                  writer.WriteString(ConstData(text));
                  writer.WriteString(same);
                  writer.WriteUTF8String(text.c_str());
                  writer.WriteCDataString(text.c_str());
                  writer.WriteAttributeValue(ConstData(text));
              }),
              0u);
}

TEST(XMLWriterPLTest, EachElementNameIsCopiedOnce) {
    IgnoringReceiver receiver;
    XMLWriterPL writer(receiver, 2);
    StringPL const name("aNameThatIsNotSoShort");
    std::size_t const depth = 1000;
    std::size_t const growths = 11; // 1, 2, 4 ... 1024
    EXPECT_EQ(AllocationsOf([&] {
                  for (std::size_t level = 0; level < depth; ++level)
                      writer.BeginElement(name, none);
              }),
              depth + growths);
}

TEST(XMLWriterPLTest, ARowOfElementsTakesRoomForOneName) {
    IgnoringReceiver receiver;
    XMLWriterPL writer(receiver, 2);
    StringPL const longest("aNameThatIsNotSoShort");
    StringPL const shorter("aNameThatIsShorter");
    EXPECT_EQ(AllocationsOf([&] {
                  for (StringPL const* name : {&longest, &shorter, &longest, &shorter}) {
                      writer.BeginElement(*name, none);
                      writer.EndElement();
                  }
              }),
              2u); // the stack and the name
}

TEST(XMLWriterPLTest, EachOfARowOfElementsEndsWithItsOwnName) {
    std::string const names[] = {"b", "", "aLongName", std::string("n\0m", 3), "c", "aLongerName"};
    std::string text;
    StringReceiver collector;
    LineFlattener flattener;
    XMLWriterPL writer(flattener(LineFlattener::lf, collector(text)), 2);
    writer.checkNames = false;
    writer.BeginDocument("root", none, noEncoding);
    std::string expected = "<?xml version=\"1.0\"?><root>";
    for (std::string const& name : names) {
        writer.BeginElement(ConstData(name), none);
        // Behind its first NUL a name is kept as NULs.
        std::string const kept = name.size() == 3 ? std::string("n\0\0", 3) : name;
        for (std::string const& inner : {std::string("x"), kept}) {
            writer.BeginElement(ConstData(inner), none);
            writer.EndElement();
        }
        writer.EndElement();
        expected += "<" + name + "><x></x><" + kept + "></" + kept + "></" + kept + ">";
    }
    writer.EndDocument();
    EXPECT_EQ(expected + "</root>", text);
}

} // namespace
