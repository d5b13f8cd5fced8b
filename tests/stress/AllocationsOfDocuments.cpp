#include <cstdio>

#include "compliance/AgentPresence.h"
#include "compliance/ClientCompliance.h"
#include "compliance/ClientComplianceLock.h"
#include "compliance/ExchangeDocument.h"
#include "compliance/ExchangeLoop.h"
#include "compliance/FormatToStringPL.h"
#include "compliance/RequestDocument.h"
#include "compliance/ResponseDocument.h"
#include "data/LineFlattener.h"
#include "data/StringReceiver.h"
#include "files/FileLocation.h"
#include "tests/stress/AgentWhileSleeping.h"
#include "tests/stress/LongEvaluation.h"
#include "tests/stress/Operations.h"
#include "tests/stress/TestCases.h"
#include "tests/support/ScriptedAgent.h"
#include "tests/system/Documents.h"
#include "tests/system/Tool.h"
#include "tests/xml/TreeText.h"
#include "xml/SimpleXMLParserPL.h"
#include "xml/XMLElementPL.h"
#include "xml/XMLTreeParserPL.h"
#include "xml/XMLWriterPL.h"

namespace {

// Names, values and texts that are too long for the small string optimization.
char const longName[] = "anElementWithALongEnoughName";
char const longValue[] = "A text that is long enough to be stored apart";
std::string const wholeDocument =
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
    tree->Parse(wholeDocument);
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
    static auto const size = static_cast<unsigned int>(wholeDocument.size());
    auto const show = [](Tree const& tree) {
        XMLElementPL const* const root = tree->GetRootElement();
        return root == nullptr ? "nothing" : TreeText(*root);
    };
    auto const onTree = Operation::Changer(NewTree, show);
    auto const onOldTree = Operation::Changer(ReadTree, show);
    return {
        Operation::Giving(CC_TRY(CountEvents(wholeDocument.data(), size))),
        Operation::Giving(CC_TRY(CountEvents(wholeDocument))),
        onTree(CC_TRY_ON(it->Parse(wholeDocument)), {.state = Stated::Abandoned}),
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

struct RecordText : AsText {
    using AsText::operator();
    std::string operator()(StringPL const& string) const { return string.AsChar(); }
    std::string operator()(ClientComplianceRequest const& request) const {
        return std::to_string(request.type) + ' ' + request.url + ' ' + request.doc + ' ' +
               std::to_string(request.flags);
    }
    std::string operator()(ClientComplianceResponseItem const& item) const {
        return item.designator + '|' + item.result + '|' + item.resultType + '|' +
               item.evaluationTime + '|' + item.description + '|' + item.comment + '\n';
    }
    std::string operator()(ClientComplianceResponse const& response) const {
        return std::to_string(response.type) + ' ' + std::to_string(response.state) + '\n' +
               JoinTexts(response.items, *this);
    }
};

ClientComplianceResponseItem Item() { return {url, doc, url, doc, url, doc}; }

ClientComplianceResponse Response() {
    ClientComplianceResponse response(ClientComplianceProgress);
    response.Add(Item());
    return response;
}

Operations OfRecords() {
    static ClientComplianceResponseItem const item = Item();
    auto const giving = Operation::Giver(RecordText());
    auto const changing = Operation::Changer(Response, RecordText());
    return {
        giving(CC_TRY(CreateComplianceRequestOpen(url, doc, 7))),
        giving(CC_TRY(Item())),
        giving(CC_TRY(ClientComplianceResponseItem(item))),
        changing(CC_TRY_ON(it.Add(item))),
        changing(CC_TRY_ON(it.Add(url, doc, url, doc, nullptr, ""))),
        giving(CC_TRY(FormatToStringPL(-22))),
        giving(CC_TRY(FormatToStringPL(15u))),
    };
}

// Creates a request and a response, and then the object.
template <class Object>
auto WithDocuments(Object make) {
    return [make] {
        WriteBytes(ScriptedAgent::request, OpenRequest(url, doc, "7"));
        WriteBytes(ScriptedAgent::response, FinishedResponse());
        std::remove(ScriptedAgent::requestTemp);
        return make();
    };
}

int Nothing() { return 0; }

std::string ShowDirectories(int) {
    return ListDirectory(ScriptedAgent::requestDirectory) +
           ListDirectory("/var/opt/VeskaClient/ResponseDir");
}

void WriteDocument() {
    static FileLocation const file = MakeFileLocation(ScriptedAgent::requestTemp);
    ExchangeDocument document(file, "aRootWithALongEnoughName", "Version", "1.0");
    document.BeginElement("anElementWithALongEnoughName");
    document.WriteElement("anotherElementWithALongEnoughName", ConstData(url));
    document.EndElement();
    document.End();
}

Operations OfDocuments() {
    static ClientComplianceRequest const request = CreateComplianceRequestOpen(url, doc, 7);
    static ClientComplianceResponse const response = Response();
    auto const showResult = [](auto const& result) {
        return result.first ? RecordText()(result.second) : std::string("none");
    };
    // The part that was written is published.
    auto const writing = [](std::string const& name, void (*write)(int)) {
        return Operation(name, WithDocuments(Nothing), write, ShowDirectories,
                         {.outcomes = {name + "Failure"}, .throwsBadAlloc = false});
    };
    return {
        writing("ClientComplianceRequestIOWrite",
                [](int) { ClientComplianceRequestIOWrite(request); }),
        writing("ClientComplianceResponseIOWrite",
                [](int) { ClientComplianceResponseIOWrite(response); }),
        Operation("ClientComplianceRequestIORead", WithDocuments([] {
                      return std::make_pair(false, CreateComplianceRequestClose());
                  }),
                  [](auto& result) { result.first = ClientComplianceRequestIORead(result.second); },
                  showResult, {.outcomes = {""}}),
        Operation(
            "ClientComplianceResponseIORead",
            WithDocuments([] { return ClientComplianceResponse(ClientComplianceOpen); }),
            [](auto& result) { result = ClientComplianceResponseIORead(); }, RecordText()),
        Operation(
            "ResponseFromTree",
            [] {
                auto tree = std::make_unique<XMLTreeParserPL>();
                tree->Parse(FinishedResponse());
                return std::make_pair(std::move(tree),
                                      ClientComplianceResponse(ClientComplianceOpen));
            },
            [](auto& taken) { taken.second = ResponseFromTree(*taken.first); },
            [](auto const& taken) { return RecordText()(taken.second); }),
        Operation("ExchangeDocument", WithDocuments(Nothing), [](int) { WriteDocument(); },
                  ShowDirectories, {.state = Stated::AnyValue}),
    };
}

// They return a result and do not throw std::bad_alloc.
Operations OfExchange() {
    static ClientComplianceRequest const open = CreateComplianceRequestOpen(url, doc, 7);
    auto const show = [](bool result) {
        return std::to_string(result);
    };
    return {
        Operation(
            "ClientComplianceLock::Lock", [] { return false; },
            [](bool& locked) { locked = ClientComplianceLock::The().Lock(); },
            [](bool locked) {
                ClientComplianceLock::The().Unlock();
                return std::to_string(locked);
            },
            {.outcomes = {""}, .throwsBadAlloc = false}),
        Operation::Giving(CC_TRY(UnixPlatform::IsRunning()), show,
                          {.state = Stated::Abandoned, .outcomes = {""}, .throwsBadAlloc = false}),
        Operation(
            "ClientComplianceIO", [] { return std::make_pair(1, Response()); },
            [](auto& result) {
                ClientComplianceRequest request{ClientComplianceClose, "", "", 0};
                result.first = ClientComplianceIO(request, result.second);
            },
            [](auto const& result) {
                return std::to_string(result.first) + RecordText()(result.second);
            },
            {.state = Stated::AnyValue, .outcomes = {""}, .throwsBadAlloc = false}),
    };
}

TEST(QuickAllocations, FailuresInComplianceHaveDocumentedOutcomes) {
    TestInSandbox([] {
        AgentWhileSleeping const agent(ServingAgent());
        return FailEachOf("compliance", Join({OfRecords(), OfDocuments(), OfExchange()}));
    });
}

} // namespace
