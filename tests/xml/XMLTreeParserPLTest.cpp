#include "xml/XMLTreeParserPL.h"

#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/Bytes.h"
#include "tests/support/FailingAllocation.h"
#include "tests/support/ForEachSplit.h"
#include "tests/xml/ByteSoup.h"
#include "tests/xml/NaiveXMLMachine.h"
#include "tests/xml/SmallStack.h"
#include "tests/xml/TreeText.h"

namespace {

// The tree and whether it is complete, as text.
std::string Outcome(XMLTreeParserPL const& parser) {
    if (parser.GetRootElement() == nullptr)
        return "nothing";
    return TreeText(*parser.GetRootElement()) + (parser.HasOpenElements() ? " open" : "");
}

std::string OutcomeOf(std::string const& document) {
    XMLTreeParserPL parser;
    parser.Parse(document);
    return Outcome(parser);
}

// What the events of the plain machine make of a document, in nodes that know nothing of recycling.
class PlainTree : public XMLHandler {
public:
    void StartElement(std::string const& name,
                      std::vector<XMLAttribute const*> const& attributes) override {
        Node node{name, {}, "", {}};
        for (XMLAttribute const* attribute : attributes)
            node.attributes.push_back(*attribute);
        if (path.empty()) {
            root = node;
            hasRoot = true;
        } else {
            OpenNode().children.push_back(node);
        }
        path.push_back(path.empty() ? 0 : OpenNode().children.size() - 1);
    }
    void EndElement(std::string const&) override {
        if (!path.empty())
            path.pop_back();
    }
    void Characters(std::string const& text) override {
        if (!path.empty())
            OpenNode().text += text;
    }

    std::string Outcome() const {
        return hasRoot ? Text(root) + (path.empty() ? "" : " open") : "nothing";
    }

private:
    struct Node {
        std::string name;
        std::vector<XMLAttribute> attributes;
        std::string text;
        std::vector<Node> children;
    };

    Node& OpenNode() {
        Node* node = &root;
        for (std::size_t level = 1; level < path.size(); ++level)
            node = &node->children[path[level]];
        return *node;
    }

    static std::string Text(Node const& node) {
        XMLElementPL element(node.name, node.attributes);
        std::string line = node.name + AttributesText(element);
        if (!node.text.empty())
            line += '"' + node.text + '"';
        std::string children;
        for (Node const& child : node.children)
            children += Text(child);
        return children.empty() && node.children.empty() ? line : line + '{' + children + '}';
    }

    Node root;
    bool hasRoot = false;
    std::vector<std::size_t> path;
};

TEST(XMLTreeParserPLTest, ADocumentBecomesATree) {
    EXPECT_EQ(
        OutcomeOf("<?xml version='1.0'?><!-- x -->\r\n<a b='1' c='2'><d>hi</d><e></e></a>\r\n"),
        "a[b=1,c=2]{d\"hi\"e}");
}

TEST(XMLTreeParserPLTest, BeforeTheFirstElementThereIsNothing) {
    XMLTreeParserPL parser;
    EXPECT_EQ(parser.GetRootElement(), nullptr);
    EXPECT_FALSE(parser.HasOpenElements());
    parser.Parse(std::string("<?xml version='1.0'?>text<!-- --></a>"));
    EXPECT_EQ(parser.GetRootElement(), nullptr);
    EXPECT_FALSE(parser.HasOpenElements());
}

TEST(XMLTreeParserPLTest, AnElementLeftOpenShows) {
    EXPECT_EQ(OutcomeOf("<a>"), "a open");
    EXPECT_EQ(OutcomeOf("<a><b></b>"), "a{b} open");
    EXPECT_EQ(OutcomeOf("<a></a"), "a open");
}

TEST(XMLTreeParserPLTest, TheLastOfSeveralRootsStays) {
    EXPECT_EQ(OutcomeOf("<a></a><b></b>"), "b");
    EXPECT_EQ(OutcomeOf("<a b='1'>x<c>y</c>z</a><d></d>"), "d");
    EXPECT_EQ(OutcomeOf("<a><b></b><c></c><d></d></a><e><f></f></e>"), "e{f}");
    EXPECT_EQ(OutcomeOf("<a><b><c></c></b></a><d><e></e><f></f></d>"), "d{ef}");
}

TEST(XMLTreeParserPLTest, RootsFollowEachOtherInTheSameElement) {
    XMLTreeParserPL parser;
    parser.Parse(std::string("<a></a>"));
    XMLElementPL const* const root = parser.GetRootElement();
    parser.Parse(std::string("<b></b>"));
    EXPECT_EQ(parser.GetRootElement(), root);
    EXPECT_EQ(root->GetName(), "b");
}

TEST(XMLTreeParserPLTest, AShortEmptyElementClosesItsParent) {
    EXPECT_EQ(OutcomeOf("<a><b/><c></c><d></d></a>"), "d");
    EXPECT_EQ(OutcomeOf("<a/>"), "nothing");
}

TEST(XMLTreeParserPLTest, AnEndTagWithAWrongNameClosesTheInnermostElement) {
    EXPECT_EQ(OutcomeOf("<a><b></x><c></y></z>"), "a{bc}");
}

TEST(XMLTreeParserPLTest, AnEndTagWithNothingOpenChangesNothing) {
    EXPECT_EQ(OutcomeOf("</x></x><a></a></a></a>"), "a");
}

TEST(XMLTreeParserPLTest, TextIsJoinedAroundChildrenAndDroppedOutsideTheRoot) {
    EXPECT_EQ(OutcomeOf("\r\n<a>\r\n\t<b> x &amp; <![CDATA[<y>]]></b>\r\n<c></c>z</a>\r\n<"),
              "a\"\r\n\t\r\nz\"{b\" x & <y>\"c}");
}

TEST(XMLTreeParserPLTest, AttributesAreFoundIgnoringCaseTheFirstOfDuplicates) {
    XMLTreeParserPL parser;
    parser.Parse(std::string("<a id='1' ID='2'></a>"));
    EXPECT_EQ(parser.GetRootElement()->GetAttribute("ID"), "1");
    EXPECT_TRUE(parser.GetRootElement()->HasAttribute("Id"));
    EXPECT_FALSE(parser.GetRootElement()->HasAttribute("name"));
    EXPECT_EQ(parser.GetRootElement()->GetAttribute("name"), "");
}

TEST(XMLTreeParserPLTest, ResetForgetsTheOpenElementsAndKeepsTheTree) {
    XMLTreeParserPL parser;
    parser.Parse(std::string("<a><b></b>"));
    XMLElementPL const* const root = parser.GetRootElement();
    parser.Reset();
    EXPECT_FALSE(parser.HasOpenElements());
    EXPECT_EQ(Outcome(parser), "a{b}");
    parser.Parse(std::string("<c><d></d></c>"));
    EXPECT_EQ(parser.GetRootElement(), root);
    EXPECT_EQ(Outcome(parser), "c{d}");
}

// Deliberate: only the open elements are forgotten.
TEST(XMLTreeParserPLTest, ResetKeepsTheStateOfTheParserAndItsGatheredText) {
    XMLTreeParserPL parser;
    parser.Parse(std::string("<a b='c"));
    parser.Reset();
    parser.Parse(std::string("d'>text"));
    parser.Reset();
    parser.Parse(std::string("<e>more"));
    EXPECT_EQ(Outcome(parser), "e open");
    parser.Parse(std::string("<f>"));
    EXPECT_EQ(Outcome(parser), "e\"more\"{f} open");
}

TEST(XMLTreeParserPLTest, TheSameDocumentAgainAndAgainAllocatesNothing) {
    std::string const document =
        "<aRootWithALongEnoughName attribute='a value that is long enough to be stored apart'>"
        "<aChildWithALongEnoughName>A text that is long enough to be stored apart.</x>"
        "<aChildWithALongEnoughName>A text that is long enough to be stored apart.</x></x>";
    XMLTreeParserPL parser;
    parser.Parse(document);
    parser.Parse(document);
    // The second round has made the cursors, which stay until somebody asks for the children.
    EXPECT_EQ(AllocationsOf([&] { parser.Parse(document); }), 0u);
}

TEST(XMLTreeParserPLTest, AnyCuttingOfByteSoupGivesThePlainTree) {
    for (unsigned int seed = 1; seed <= 2000; ++seed) {
        std::mt19937 random(seed);
        std::string const document = MakeByteSoup(random, 40);
        PlainTree plain;
        NaiveXMLMachine machine(plain);
        machine.Parse(document);
        std::string const expected = plain.Outcome();
        for (std::size_t size = 1; size <= 9; ++size) {
            XMLTreeParserPL parser;
            SplitEvery(document, size).Feed([&](ConstData chunk) {
                parser.Parse(reinterpret_cast<char const*>(chunk.begin),
                             static_cast<unsigned int>(chunk.Length()));
            });
            ASSERT_EQ(Outcome(parser), expected) << "seed " << seed << ": " << Shown(document);
        }
        EXPECT_EQ(OutcomeOf(document), expected) << "seed " << seed << ": " << Shown(document);
    }
}

// Text that was gathered before the failure may stay gathered, so only what is sure is looked at.
TEST(XMLTreeParserPLTest, ExhaustedMemoryLeavesATreeThatCanBeReadAndFreed) {
    std::string const document =
        "<aRootWithALongEnoughName b='a value that is long enough to be stored apart'>"
        "<aChildWithALongEnoughName c='d'>A text that is long enough to be stored apart.</x>"
        "<e></e></x>";
    std::size_t const failures = ForEachFailingAllocation([&](std::size_t) {
        XMLTreeParserPL parser;
        for (int round = 0; round < 2; ++round) {
            try {
                parser.Parse(document);
            } catch (std::bad_alloc const&) {
                parser.Reset();
            }
        }
        XMLElementPL const* const root = parser.GetRootElement();
        EXPECT_TRUE(root == nullptr || root->GetElementList().size() <= 2);
    });
    EXPECT_GT(failures, 10u);
}

// The torture section Documents goes to a hundred times the depth, and of the attributes.
TEST(XMLTreeParserPLTest, ADeepDocumentIsReadAndFreedWithoutRecursion) {
    OnSmallStack([] {
        unsigned int const depth = 50'000;
        XMLTreeParserPL parser;
        std::string const tags = "<a><a><a><a><a><a><a><a><a><a>";
        for (unsigned int tag = 0; tag < depth; tag += 10)
            parser.Parse(tags);
        EXPECT_TRUE(parser.HasOpenElements());
        parser.Reset();
        parser.Parse(std::string("<b>"));
        EXPECT_TRUE(parser.GetRootElement()->GetElementList().empty());
        for (unsigned int tag = 0; tag < depth; tag += 10)
            parser.Parse(tags);
    });
}

// A search for the pool entry, or a list that grew by one, would show in what is asked for.
TEST(XMLTreeParserPLTest, ATagWithManyAttributesCostsLittleForEach) {
    unsigned int const count = 10'000;
    XMLTreeParserPL parser;
    AllocationCounter const counter;
    parser.Parse("<a ", 3);
    for (unsigned int attribute = 0; attribute < count; ++attribute)
        parser.Parse("b='c' ", 6);
    parser.Parse("d='e'>", 6);
    // All that was asked for on the way, which is at most twice what is held in the end: a pool of
    // 64 bytes each and a list of 8, at most half of both spare, and 64 in the tree.
    EXPECT_LE(counter.Bytes(), count * std::size_t{4 * 64 + 4 * 8 + 64});
    EXPECT_LE(counter.Count(), 60u);
    ASSERT_NE(parser.GetRootElement(), nullptr);
    EXPECT_EQ(parser.GetRootElement()->GetAttribute("B"), "c");
    EXPECT_EQ(parser.GetRootElement()->GetAttribute("D"), "e");
}

// Bytes asked for, for each of many elements without attributes and text.
TEST(XMLTreeParserPLTest, AnElementCostsLittleMemory) {
    XMLTreeParserPL parser;
    parser.Parse(std::string("<a>"));
    unsigned int const count = 10'000;
    AllocationCounter const counter;
    for (unsigned int element = 0; element < count; ++element)
        parser.Parse("<b></b>", 7);
    EXPECT_LE(counter.Bytes(), count * 160u);
    EXPECT_LE(counter.Count(), count * 2u + 10);
}

} // namespace
