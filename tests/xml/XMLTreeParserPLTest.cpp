#include "xml/XMLTreeParserPL.h"

#include "fuzz/RandomInputs.h"
#include "fuzz/XmlTreeProperties.h"
#include "tests/support/FailingAllocation.h"
#include "tests/support/SmallStack.h"
#include "tests/xml/ByteSoup.h"
#include "tests/xml/TreeText.h"

namespace {

// The tree as text, and whether it is complete.
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

TEST(XMLTreeParserPLTest, BuildsTheTreeOfTheLastRoot) {
    struct {
        char const* document;
        char const* outcome;
    } const cases[] = {
        {"<?xml version='1.0'?><!-- x -->\r\n<a b='1' c='2'><d>hi</d><e></e></a>\r\n",
         "a[b=1,c=2]{d\"hi\"e}"},
        {"<?xml version='1.0'?>text<!-- --></a>", "nothing"},
        {"<a>", "a open"},
        {"<a><b></b>", "a{b} open"},
        {"<a></a", "a open"},
        {"<a></a><b></b>", "b"},
        {"<a b='1'>x<c>y</c>z</a><d></d>", "d"},
        {"<a><b></b><c></c><d></d></a><e><f></f></e>", "e{f}"},
        {"<a><b><c></c></b></a><d><e></e><f></f></d>", "d{ef}"},
        // A short empty element closes its parent.
        {"<a><b/><c></c><d></d></a>", "d"},
        {"<a/>", "nothing"},
        // An end tag closes the innermost element, whatever its name, and needs no open one.
        {"<a><b></x><c></y></z>", "a{bc}"},
        {"</x></x><a></a></a></a>", "a"},
        // Text is joined around children, and dropped outside of the root.
        {"\r\n<a>\r\n\t<b> x &amp; <![CDATA[<y>]]></b>\r\n<c></c>z</a>\r\n<",
         "a\"\r\n\t\r\nz\"{b\" x & <y>\"c}"},
    };
    for (auto const& [document, outcome] : cases)
        EXPECT_EQ(OutcomeOf(document), outcome) << document;
}

TEST(XMLTreeParserPLTest, ResetClosesElementsAndKeepsTheTree) {
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

// Deliberate: Reset forgets only the open elements.
TEST(XMLTreeParserPLTest, ResetKeepsTheStateAndTheTextOfTheParser) {
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

TEST(XMLTreeParserPLTest, RepeatedDocumentAllocatesNothing) {
    std::string const document =
        "<aRootWithALongEnoughName attribute='a value that is long enough to be stored apart'>"
        "<aChildWithALongEnoughName>A text that is long enough to be stored apart.</x>"
        "<aChildWithALongEnoughName>A text that is long enough to be stored apart.</x></x>";
    XMLTreeParserPL parser;
    parser.Parse(document);
    parser.Parse(document);
    // The second round created the cursors.
    EXPECT_EQ(AllocationsOf([&] { parser.Parse(document); }), 0u);
}

TEST(XMLTreeParserPLTest, RandomDocumentsAgreeWithReference) {
    for (unsigned int seed = 1; seed <= 2000; ++seed) {
        std::mt19937 random(seed);
        std::string const document = MakeByteSoup(random, 40);
        for (std::string const& split :
             {Bytes("\0"), Bytes("\1\1"), Bytes("\3\2\7\5"), Bytes("\1\11")})
            ExpectHolds(split + document,
                        [&] { XmlTreeProperties::Check(Fuzz::Input(split + document)); });
        ASSERT_FALSE(HasFailure()) << "seed " << seed;
    }
}

// The text collected before the failure may be kept, so the test checks only the children.
TEST(XMLTreeParserPLTest, FailedAllocationLeavesAValidTree) {
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

// The stress test of documents uses a hundred times the depth and the number of attributes.
TEST(XMLTreeParserPLTest, ReadsDeepDocumentWithoutRecursion) {
    RunOnSmallStack(128 * 1024, [] {
        // Recursion into a tree of this depth needs at least 2 MB of stack.
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

// A list that grows by one entry at a time would exceed the limits.
TEST(XMLTreeParserPLTest, ManyAttributesTakeLinearMemory) {
    unsigned int const count = 10'000;
    XMLTreeParserPL parser;
    AllocationCounter const counter;
    parser.Parse("<a ", 3);
    for (unsigned int attribute = 0; attribute < count; ++attribute)
        parser.Parse("b='c' ", 6);
    parser.Parse("d='e'>", 6);
    // The total of all allocations, at most twice the final memory: 64 bytes for each entry of the
    // pool and 8 for each entry of the list, and 64 in the tree. Up to twice the capacity in use is
    // allocated for pool and list.
    EXPECT_LE(counter.Bytes(), count * std::size_t{4 * 64 + 4 * 8 + 64});
    EXPECT_LE(counter.Count(), 60u);
    ASSERT_NE(parser.GetRootElement(), nullptr);
    EXPECT_EQ(parser.GetRootElement()->GetAttribute("B"), "c");
    EXPECT_EQ(parser.GetRootElement()->GetAttribute("D"), "e");
}

// Allocated bytes for each of many elements without attributes and text.
TEST(XMLTreeParserPLTest, ElementTakesLittleMemory) {
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
