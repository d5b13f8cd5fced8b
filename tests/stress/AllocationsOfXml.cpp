#include "data/LineFlattener.h"
#include "data/StringReceiver.h"
#include "tests/stress/Operations.h"
#include "tests/stress/TestCases.h"
#include "tests/xml/TreeText.h"
#include "xml/SimpleXMLParserPL.h"
#include "xml/XMLElementPL.h"
#include "xml/XMLTreeParserPL.h"
#include "xml/XMLWriterPL.h"

namespace {

using namespace Stress;

// Names, values and texts that are too long for the small string optimization.
char const longName[] = "anElementWithALongEnoughName";
char const longValue[] = "A text that is long enough to be stored apart";
std::string const document =
    "<?xml version='1.0'?><aRootWithALongEnoughName a='A value that is long enough' b='c'>"
    "<aChildWithALongEnoughName c='A value that is long enough'>A text that is long &lt; enough"
    "<![CDATA[ to be stored apart]]></aChildWithALongEnoughName>"
    "<another a='1' b='2' c='3'>&anEscapeThatNobodyKnowsAndThatIsLong;</another>"
    "</aRootWithALongEnoughName>";

char const otherDocument[] = "<r><b><c></c></b><d></d><anElementMoreThanThereWere>"
                             "A text that is long enough to be stored apart</x><e></e></r>";

// Takes the events and allocates nothing.
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

Tree ReadTree() {
    Tree tree = NewTree();
    tree->Parse(document);
    return tree;
}

template <class... Input>
std::size_t CountEvents(Input const&... input) {
    CountedEvents events;
    SimpleXMLParserPL(events).Parse(input...);
    return events.count;
}

// After a failure the tree can be read, and can take another document.
void ReadOtherDocument(XMLTreeParserPL& tree) {
    tree.Reset();
    tree.StartElement(longName, {});
    tree.Characters(longValue);
    tree.EndElement(longName);
}

Operations OfParsers() {
    static auto const size = static_cast<unsigned int>(document.size());
    auto const show = [](Tree const& tree) {
        XMLElementPL const* const root = tree->GetRootElement();
        return root == nullptr ? "nothing" : TreeText(*root);
    };
    auto const onTree = Operation::Changer(NewTree, show);
    auto const onOldTree = Operation::Changer(ReadTree, show);
    return {
        Operation::Giving(CC_TRY(CountEvents(document.data(), size))),
        Operation::Giving(CC_TRY(CountEvents(document))),
        onTree(CC_TRY_ON(it->Parse(document)), {.state = Stated::Abandoned}),
        onOldTree(CC_TRY_ON(it->Parse(otherDocument)), {.state = Stated::Abandoned}),
        onTree(CC_TRY_ON(ReadOtherDocument(*it)), {.state = Stated::AnyValue}),
    };
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
    auto const onParent = Operation::Changer(Parent, TreeText);
    auto const onRecycling = Operation::Changer(Recycling, TreeText);
    return {
        giving(CC_TRY(XMLElementPL(longName, attributes))),
        giving(CC_TRY(XMLElementPL(longName, pointers))),
        giving(CC_TRY(XMLElementPL(element))),
        onParent(CC_TRY_ON(it.AddChildElement(element))),
        onParent(CC_TRY_ON(it.AddChildElement(longName, pointers))),
        onParent(CC_TRY_ON(it.Reset(longName, pointers)), {.state = Stated::AnyValue}),
        onRecycling(CC_TRY_ON(it.AddChildElement(longName, pointers)),
                    {.state = Stated::Abandoned}),
    };
}

// A writer in use, and its output.
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

Operations OfWriters() {
    using Attributes = XMLWriterPL::AttributeList;
    static StringPL const name = longName;
    static StringPL const badName = "1 is no name";
    auto const onWriting = [](bool begun) {
        return [begun](std::string const& what, auto act) {
            return Operation(
                what, [begun] { return std::make_unique<Writing>(begun); },
                [act](auto& writing) { act(*writing); },
                [](auto const& writing) { return writing->text; }, {.state = Stated::Abandoned});
        };
    };
    auto const writing = onWriting(true);
    return {
        onWriting(false)(CC_TRY_ON(it.writer.BeginDocument(name, it.list, NullOr<StringPL>()))),
            writing(CC_TRY_ON(it.writer.BeginElement(ConstData(longName), it.list))),
            writing(CC_TRY_ON(it.writer.BeginElement(longName, it.list))),
            writing(CC_TRY_ON(it.writer.BeginElement(name, it.list))),
            writing(CC_TRY_ON(it.writer.BeginElement(badName, it.list))),
            writing(CC_TRY_ON(Attributes bad; bad.Append({badName, name});
                              it.writer.BeginElement(name, bad))),
            writing(CC_TRY_ON(it.writer.BeginElement("b", it.list); it.writer.EndElement();
                              it.writer.BeginElement(name, it.list))),
            writing(CC_TRY_ON(it.writer.WriteComment(name))),
            Operation::Giving(CC_TRY(InvalidXMLElementName(longValue))),
            Operation::Giving(CC_TRY(InvalidXMLAttributeName(longValue))),
    };
}

TEST(QuickAllocations, FailuresInXmlHaveDocumentedOutcomes) {
    CountTestCases(FailEachOf("xml", Join({OfParsers(), OfElements(), OfWriters()})));
}

} // namespace
