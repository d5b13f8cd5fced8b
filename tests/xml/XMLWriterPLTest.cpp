#include "xml/XMLWriterPL.h"

#include <gmock/gmock.h>

#include "fuzz/RandomInputs.h"
#include "fuzz/XmlWriteReadProperties.h"
#include "tests/support/FailingAllocation.h"
#include "tests/support/RecordingReceivers.h"
#include "tests/xml/WrittenXML.h"

namespace {

using ::testing::ElementsAre;
using Style = XMLWriterPL::XMLFormatStyle;

TEST(XMLWriterPLTest, WritesADocument) {
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

TEST(XMLWriterPLTest, EncodingIsNotEscaped) {
    EXPECT_EQ(Document(XMLWriterPL::XMLFormatFlat,
                       [](XMLWriterPL& writer) {
                           writer.BeginDocument("a", none, NullOr<StringPL>(StringPL("x&\"y")));
                           writer.EndDocument();
                       }),
              "<?xml version=\"1.0\" encoding=\"x&\"y\"?><a></a>");
}

// Writes a document by one character for each call: "<" and ">" begin and end an element, and "."
// ends the document. "t", "T", "u", "s" and "c" write "x" as a ConstData, a StringPL, UTF-8 text, a
// CDATA section and a comment; "0" writes empty text.
std::string Written(Style style, std::string const& calls) {
    return Inside(style, [&](XMLWriterPL& writer) {
        for (char const call : calls) {
            if (call == '<')
                writer.BeginElement("e", none);
            else if (call == '>')
                writer.EndElement();
            else if (call == 't')
                writer.WriteString(ConstData("x"));
            else if (call == 'T')
                writer.WriteString(StringPL("x"));
            else if (call == '0')
                writer.WriteString(ConstData());
            else if (call == 'u')
                writer.WriteUTF8String("x");
            else if (call == 's')
                writer.WriteCDataString("x");
            else if (call == 'c')
                writer.WriteComment("x");
            else
                writer.EndDocument();
        }
    });
}

TEST(XMLWriterPLTest, LaysOutTagsAndContent) {
    struct {
        std::uint32_t style;
        char const* calls;
        char const* written;
    } const cases[] = {
        {XMLWriterPL::XMLFormatTabbed, ".", "</r>"},
        {XMLWriterPL::XMLFormatTabbed, "<>.", "|\t<e></e>|</r>"},
        {XMLWriterPL::XMLFormatTabbed, "<<><>>.", "|\t<e>|\t\t<e></e>|\t\t<e></e>|\t</e>|</r>"},
        {XMLWriterPL::XMLFormatTabbed, "<<.", "|\t<e>|\t\t<e></e>|\t</e>|</r>"},
        // Content continues the line of a start tag or of other content.
        {XMLWriterPL::XMLFormatTabbed, "tus.", "xx<![CDATA[x]]></r>"},
        {XMLWriterPL::XMLFormatTabbed, "<tuT>.", "|\t<e>xxx</e>|</r>"},
        // Content after an end tag starts a line, without tabs. The next content continues it.
        {XMLWriterPL::XMLFormatTabbed, "<>t.", "|\t<e></e>|x</r>"},
        {XMLWriterPL::XMLFormatTabbed, "<>tu.", "|\t<e></e>|xx</r>"},
        {XMLWriterPL::XMLFormatTabbed, "<>Tu.", "|\t<e></e>|xx</r>"},
        {XMLWriterPL::XMLFormatTabbed, "<>ut.", "|\t<e></e>|xx</r>"},
        {XMLWriterPL::XMLFormatTabbed, "<>st.", "|\t<e></e>|<![CDATA[x]]>x</r>"},
        // Deliberate: empty text counts as content.
        {XMLWriterPL::XMLFormatTabbed, "<>00.", "|\t<e></e>|</r>"},
        // A comment starts a line, and counts as content.
        {XMLWriterPL::XMLFormatTabbed, "ct.", "|<!-- x -->x</r>"},
        {XMLWriterPL::XMLFormatTabbed, "<>cc.", "|\t<e></e>|<!-- x -->|<!-- x --></r>"},
        {XMLWriterPL::XMLFormatTabbed, "c<.", "|<!-- x -->|\t<e></e>|</r>"},
        {XMLWriterPL::XMLFormatTabbed, "<>t<>s<>.",
         "|\t<e></e>|x|\t<e></e>|<![CDATA[x]]>|\t<e></e>|</r>"},
        // Lined is tabbed without tabs.
        {XMLWriterPL::XMLFormatLined, "<>.", "|<e></e>|</r>"},
        {XMLWriterPL::XMLFormatLined, "<<>t.", "|<e>|<e></e>|x</e>|</r>"},
        {XMLWriterPL::XMLFormatFlat, "<>tc.", "<e></e>x<!-- x --></r>"},
        {3, "<>tc.", "<e></e>x<!-- x --></r>"},
        {0xFFFFFFFF, "<>tc.", "<e></e>x<!-- x --></r>"},
    };
    for (auto const& [style, calls, written] : cases)
        EXPECT_EQ(Written(style, calls), written) << style << ": " << calls;
}

TEST(XMLWriterPLTest, IndentsByOneTabForEachLevel) {
    for (std::size_t depth = 1; depth <= 70; ++depth)
        EXPECT_TRUE(Written(XMLWriterPL::XMLFormatTabbed, std::string(depth, '<') + '>')
                        .ends_with("|" + std::string(depth, '\t') + "<e></e>"));
}

TEST(XMLWriterPLTest, RandomDocumentsAreReadBack) {
    ForRandomInputs(1, 3000, 300, EveryByte(), XmlWriteReadProperties::Check);
}

TEST(XMLWriterPLTest, EscapesEachByteOfEachKindOfText) {
    for (int number = 0; number < 256; ++number) {
        std::string const byte(1, static_cast<char>(number));
        std::string const common = byte == "<"   ? "&lt;"
                                   : byte == ">" ? "&gt;"
                                   : byte == "&" ? "&amp;"
                                                 : byte;
        char reference[8];
        std::snprintf(reference, sizeof(reference), "&#x%02x;", static_cast<unsigned>(number));
        std::string const inString = number < 0x80 ? common : reference;
        std::string const inAttribute = byte == "\"" ? "&quot;" : common;
        // Next to unescaped bytes, and to a run longer than a block.
        for (std::string const plain : {"", "p", "a plain run of more than sixteen bytes"}) {
            auto const twice = [&](std::string const& piece) {
                return plain + piece + plain + piece;
            };
            std::string const text = twice(byte);
            EXPECT_EQ(Flat([&](auto& writer) { writer.WriteString(ConstData(text)); }),
                      twice(inString));
            EXPECT_EQ(Flat([&](auto& writer) { writer.WriteCharacterData(text, false); }),
                      twice(inString));
            EXPECT_EQ(Flat([&](auto& writer) { writer.WriteCharacterData(text, true); }),
                      twice(common));
            EXPECT_EQ(Flat([&](auto& writer) { writer.WriteAttributeValue(text); }),
                      twice(inAttribute));
            if (number == 0)
                continue;
            EXPECT_EQ(Flat([&](auto& writer) { writer.WriteString(MakeStringPL(text)); }),
                      twice(inString));
            EXPECT_EQ(Flat([&](auto& writer) { writer.WriteUTF8String(text.c_str()); }),
                      twice(common));
            EXPECT_EQ(Flat([&](auto& writer) {
                          writer.BeginElement("a", Attributes{{"b", text}});
                      }),
                      "<a b=\"" + twice(inAttribute) + "\">");
        }
    }
}

TEST(XMLWriterPLTest, AttributesKeepTheOrderOfTheList) {
    EXPECT_EQ(Flat([](XMLWriterPL& writer) {
                  writer.BeginElement("a", Attributes{{"c", "1"}, {"b", ""}, {"c", "'"}});
                  writer.BeginElement(ConstData("d"), none);
                  writer.BeginElement(StringPL("e"), Attributes{{"f", "g"}});
                  writer.EndDocument();
              }),
              "<a c=\"1\" b=\"\" c=\"'\"><d><e f=\"g\"></e></d></a></r>");
}

// Deliberate: "]]>" in the text ends the section early.
TEST(XMLWriterPLTest, CDATASectionIsNotEscaped) {
    EXPECT_EQ(Flat([](XMLWriterPL& writer) { writer.WriteCDataString("<a>&\xE9]]>\""); }),
              "<![CDATA[<a>&\xE9]]>\"]]>");
    EXPECT_EQ(Flat([](XMLWriterPL& writer) { writer.WriteCDataString(""); }), "<![CDATA[]]>");
}

// The reference follows the contract: it removes dashes from a string one at a time. A line feed
// after the first byte puts the comment on separate lines. Deliberate: the byte after a dropped
// dash is not compared.
TEST(XMLWriterPLTest, CommentsAreWrittenWithFewerDashes) {
    std::vector<std::string> texts{""};
    for (std::size_t from = 0; texts.back().size() < 8; ++from)
        for (char const next : {'-', '\n', '\r', 'x'})
            texts.push_back(texts[from] + next);
    texts.push_back("<a>&\xE9");
    for (std::string const& text : texts) {
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

TEST(XMLWriterPLTest, EmptyAttributeListIsEmpty) {
    XMLWriterPL::emptyAttributeList.ResetEnum();
    EXPECT_FALSE(XMLWriterPL::emptyAttributeList.IsNext());
}

// Deliberate: the receiver is not notified that a document is incomplete.
TEST(XMLWriterPLTest, DestructorWritesNothing) {
    RecordingLineReceiver receiver;
    {
        XMLWriterPL writer(receiver, 2);
        writer.BeginDocument("a", none, noEncoding);
    }
    EXPECT_THAT(receiver.Events(), ElementsAre("Start 0", "Receive <?xml version=\"1.0\"?><a>"));
    EXPECT_TRUE(receiver.IsOpen());
}

struct IgnoringReceiver : LineReceiver {
    void Start(unsigned long long) override {}
    void Receive(ConstData) override {}
    void ReceiveLineBreak(Range<unsigned long long>) override {}
    void ReceiveEnd(unsigned long long) override {}
};

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

TEST(XMLWriterPLTest, ExceptionOfTheReceiverKeepsTheState) {
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

TEST(XMLWriterPLTest, TextIsSentAsViews) {
    struct Watching : IgnoringReceiver {
        explicit Watching(std::string const& argument) : watched(argument) {}
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

TEST(XMLWriterPLTest, TextAllocatesNothing) {
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

TEST(XMLWriterPLTest, EachElementAllocatesItsName) {
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

TEST(XMLWriterPLTest, SiblingsReuseTheMemoryOfTheirNames) {
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

TEST(XMLWriterPLTest, SiblingsHaveTheirOwnNamesInEndTags) {
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
        // After its first NUL, a name is stored as NULs.
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
