#include "tests/torture/AllocationsOfFolders.h"

#include <memory>
#include <string>
#include <vector>

#include "data/LineFlattener.h"
#include "data/StringReceiver.h"
#include "tests/torture/Operations.h"
#include "tests/xml/TreeText.h"
#include "xml/SimpleXMLParserPL.h"
#include "xml/XMLElementPL.h"
#include "xml/XMLTreeParserPL.h"
#include "xml/XMLWriterPL.h"

namespace {

using Torture::Operation;
using Torture::Operations;
using Torture::Stated;

// Names, values and texts that no std::string holds inside.
char const longName[] = "anElementWithALongEnoughName";
char const longValue[] = "A text that is long enough to be stored apart";
std::string const document =
    "<?xml version='1.0'?><aRootWithALongEnoughName a='A value that is long enough' b='c'>"
    "<aChildWithALongEnoughName c='A value that is long enough'>A text that is long &lt; enough"
    "<![CDATA[ to be stored apart]]></aChildWithALongEnoughName>"
    "<another a='1' b='2' c='3'>&anEscapeThatNobodyKnowsAndThatIsLong;</another>"
    "</aRootWithALongEnoughName>";

// Takes the events and asks for nothing.
class CountedEvents : public XMLHandler {
public:
    void StartElement(std::string const&, std::vector<XMLAttribute const*> const&) override {
        ++count;
    }
    void EndElement(std::string const&) override { ++count; }
    void Characters(std::string const& text) override { count += text.size(); }

    std::size_t count = 0;
};

using Tree = std::unique_ptr<XMLTreeParserPL>;

Tree NewTree() { return std::make_unique<XMLTreeParserPL>(); }

std::string ShowTree(Tree const& tree) {
    XMLElementPL const* const root = tree->GetRootElement();
    return root == nullptr ? "nothing" : TreeText(*root);
}

Tree ReadTree() {
    Tree tree = NewTree();
    tree->Parse(document);
    return tree;
}

Operations OfParsers() {
    return {
        Operation::Giving(
            "SimpleXMLParserPL::Parse",
            [] {
                CountedEvents events;
                SimpleXMLParserPL parser(events);
                parser.Parse(document.data(), static_cast<unsigned int>(document.size()));
                return events.count;
            },
            [](std::size_t count) { return std::to_string(count); }),
        Operation::Giving(
            "SimpleXMLParserPL::Parse(std::string)",
            [] {
                CountedEvents events;
                SimpleXMLParserPL parser(events);
                parser.Parse(document);
                return events.count;
            },
            [](std::size_t count) { return std::to_string(count); }),
        Operation("XMLTreeParserPL::Parse", NewTree, [](Tree& tree) { tree->Parse(document); },
                  ShowTree, {.state = Stated::Abandoned}),
        Operation("XMLTreeParserPL::Parse over an old tree", ReadTree,
                  [](Tree& tree) {
                      tree->Parse("<r><b><c></c></b><d></d><anElementMoreThanThereWere>"
                                  "A text that is long enough to be stored apart</x><e></e></r>");
                  },
                  ShowTree, {.state = Stated::Abandoned}),
    };
}

// The tree can be read after the failure, and takes over another document.
Operations OfTreesLeftBehind() {
    return {Operation("XMLTreeParserPL, another document", NewTree,
                      [](Tree& tree) {
                          tree->Reset();
                          tree->StartElement(longName, {});
                          tree->Characters(longValue);
                          tree->EndElement(longName);
                      },
                      ShowTree, {.state = Stated::AnyValue})};
}

std::vector<XMLAttribute> const attributes = {{"a", longValue}, {"b", "c"}, {"d", longValue}};
std::vector<XMLAttribute const*> const pointers = {&attributes[0], &attributes[1], &attributes[2]};

XMLElementPL Parent() {
    XMLElementPL parent("r", attributes);
    parent.AddChildElement("b", {})->AddChildElement(longName, pointers);
    parent.AddChildElement("e", {});
    return parent;
}

XMLElementPL Recycling() {
    XMLElementPL parent = Parent();
    parent.Reset("r", {});
    return parent;
}

Operations OfElements() {
    static XMLElementPL const element = Parent();
    auto const giving = Operation::Giver(TreeText);
    return {
        giving("XMLElementPL(name, attributes)", [] { return XMLElementPL(longName, attributes); }),
        giving("XMLElementPL(name, pointers)", [] { return XMLElementPL(longName, pointers); }),
        giving("XMLElementPL(XMLElementPL const&)", [] { return XMLElementPL(element); }),
        Operation(
            "XMLElementPL::AddChildElement(XMLElementPL const&)", Parent,
            [](XMLElementPL& parent) { parent.AddChildElement(element); }, TreeText),
        Operation(
            "XMLElementPL::AddChildElement(name, pointers)", Parent,
            [](XMLElementPL& parent) { parent.AddChildElement(longName, pointers); }, TreeText),
        Operation("XMLElementPL::AddChildElement, recycling", Recycling,
                  [](XMLElementPL& parent) { parent.AddChildElement(longName, pointers); },
                  TreeText, {.state = Stated::Abandoned}),
        Operation("XMLElementPL::Reset", Parent,
                  [](XMLElementPL& parent) { parent.Reset(longName, pointers); }, TreeText,
                  {.state = Stated::AnyValue}),
    };
}

// A writer at work, and what it has written.
class Writing {
public:
    explicit Writing(bool begun) : writer(lines("|", collector(text)), 0) {
        text.reserve(4096);
        list.Append({"a", longValue});
        if (begun)
            writer.BeginDocument(longName, list, NullOr<StringPL>());
    }

    std::string text;
    XMLWriterPL::AttributeList list;
    StringReceiver collector;
    LineFlattener lines;
    XMLWriterPL writer;
};

using WritingPtr = std::unique_ptr<Writing>;

template <class Act>
Operation OnWriter(std::string const& name, Act act) {
    return Operation(
        "XMLWriterPL::" + name, [] { return std::make_unique<Writing>(true); },
        [act](WritingPtr& writing) { act(writing->writer, writing->list); },
        [](WritingPtr const& writing) { return writing->text; }, {.state = Stated::Abandoned});
}

using List = XMLWriterPL::AttributeList;

Operations OfWriters() {
    static StringPL const name = longName;
    static StringPL const badName = "1 is no name";
    return {
        Operation(
            "XMLWriterPL::BeginDocument", [] { return std::make_unique<Writing>(false); },
            [](WritingPtr& writing) {
                writing->writer.BeginDocument(name, writing->list, NullOr<StringPL>());
            },
            [](WritingPtr const& writing) { return writing->text; }, {.state = Stated::Abandoned}),
        OnWriter("BeginElement(ConstData)",
                 [](XMLWriterPL& writer, List& list) {
                     writer.BeginElement(ConstData(longName), list);
                 }),
        OnWriter("BeginElement(char const*)",
                 [](XMLWriterPL& writer, List& list) { writer.BeginElement(longName, list); }),
        OnWriter("BeginElement(StringPL const&)",
                 [](XMLWriterPL& writer, List& list) { writer.BeginElement(name, list); }),
        OnWriter("BeginElement, refused name",
                 [](XMLWriterPL& writer, List& list) { writer.BeginElement(badName, list); }),
        OnWriter("BeginElement, refused attribute",
                 [](XMLWriterPL& writer, List&) {
                     List bad;
                     bad.Append({badName, name});
                     writer.BeginElement(name, bad);
                 }),
        OnWriter("BeginElement behind a sibling",
                 [](XMLWriterPL& writer, List& list) {
                     writer.BeginElement("b", list);
                     writer.EndElement();
                     writer.BeginElement(name, list);
                 }),
        OnWriter("WriteComment", [](XMLWriterPL& writer, List&) { writer.WriteComment(name); }),
        Operation::Giving(
            "InvalidXMLElementName", [] { return InvalidXMLElementName(longValue); },
            [](InvalidXMLElementName const& error) { return error.what(); }),
        Operation::Giving(
            "InvalidXMLAttributeName", [] { return InvalidXMLAttributeName(longValue); },
            [](InvalidXMLAttributeName const& error) { return error.what(); }),
    };
}

} // namespace

std::size_t Torture::FailAllocationsOfXml() {
    return FailEachOf("xml", Join({OfParsers(), OfTreesLeftBehind(), OfElements(), OfWriters()}));
}
