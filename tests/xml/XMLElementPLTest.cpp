#include "xml/XMLElementPL.h"

#include <memory>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/FailingAllocation.h"
#include "tests/support/SmallStack.h"
#include "tests/xml/TreeText.h"

namespace {

template <class Element>
concept CopiesWithoutChildren = requires(Element const& source) {
    Element(source, {});
};
static_assert(!CopiesWithoutChildren<XMLElementPL>, "only the class itself has the passkey");

// The list of pointers that the events use.
class Pointers {
public:
    Pointers(std::initializer_list<XMLAttribute> list) : attributes(list) {
        for (XMLAttribute const& attribute : attributes)
            pointers.push_back(&attribute);
    }
    operator std::vector<XMLAttribute const*> const&() const { return pointers; }

private:
    std::vector<XMLAttribute> attributes;
    std::vector<XMLAttribute const*> pointers;
};

Pointers const noPointers{};

// A chain of nested elements.
std::unique_ptr<XMLElementPL> MakeDeepTree(unsigned int depth) {
    auto root = std::make_unique<XMLElementPL>("r", noPointers);
    XMLElementPL* innermost = root.get();
    for (unsigned int level = 1; level < depth; ++level)
        innermost = innermost->AddChildElement("e", noPointers);
    return root;
}

unsigned int DepthOf(XMLElementPL const& root) {
    unsigned int depth = 1;
    for (XMLElementPL const* element = &root; !element->GetElementList().empty(); ++depth)
        element = &element->GetElementList().front();
    return depth;
}

// Recursion into a tree of this depth needs at least 2 MB of stack, and into a tenth of it 300 KB.
unsigned int const deep = 50'000;

TEST(XMLElementPLTest, BothConstructorsCopyNameAndAttributes) {
    XMLElementPL const fromPairs("a", std::vector<XMLAttribute>{{"b", "1"}, {"c", "2"}});
    XMLElementPL const fromPointers("a", Pointers{{"b", "1"}, {"c", "2"}});
    for (XMLElementPL const* element : {&fromPairs, &fromPointers}) {
        EXPECT_EQ(element->GetName(), "a");
        EXPECT_EQ(element->GetAttribute("b"), "1");
        EXPECT_EQ(element->GetAttribute("c"), "2");
        EXPECT_EQ(element->GetText(), "");
        EXPECT_TRUE(element->GetElementList().empty());
    }
}

TEST(XMLElementPLTest, AllocatesExactlyForItsAttributesAndOneList) {
    Pointers const attributes{{"b", "1"}, {"c", "2"}, {"d", "3"}};
    std::vector<XMLAttribute const*> const& pointers = attributes;
    std::string const name = "a";
    AllocationCounter const counter;
    XMLElementPL const element(name, pointers);
    // One allocation for all attributes, and one for the list of children.
    EXPECT_EQ(counter.Count(), 2u);
    EXPECT_EQ(counter.Bytes(), 3 * sizeof(XMLAttribute) + sizeof(std::list<XMLElementPL>));
}

TEST(XMLElementPLTest, FindsTheFirstAttributeCaseInsensitively) {
    XMLElementPL const element("a", Pointers{{"id", "7"}, {"\xE9", "high"}, {"ID", "8"}});
    EXPECT_EQ(element.GetAttribute("Id"), "7");
    for (char const* const present : {"ID", "id", "\xE9"})
        EXPECT_TRUE(element.HasAttribute(present)) << present;
    for (char const* const absent : {"\xC9", "i", "idd", ""})
        EXPECT_FALSE(element.HasAttribute(absent)) << absent;
}

TEST(XMLElementPLTest, AbsentAttributeIsASharedEmptyString) {
    XMLElementPL const element("a", Pointers{{"empty", ""}});
    XMLElementPL const other("b", noPointers);
    EXPECT_FALSE(element.HasAttribute("absent"));
    EXPECT_EQ(element.GetAttribute("absent"), "");
    EXPECT_EQ(&element.GetAttribute("absent"), &other.GetAttribute("id"));
    EXPECT_TRUE(element.HasAttribute("empty"));
    EXPECT_EQ(element.GetAttribute("empty"), "");
}

TEST(XMLElementPLTest, ChildrenKeepTheirOrderAndAddress) {
    XMLElementPL element("a", noPointers);
    std::vector<XMLElementPL const*> added;
    for (char name = 'b'; name <= 'z'; ++name)
        added.push_back(element.AddChildElement(std::string(1, name), Pointers{{"n", {name}}}));
    std::vector<XMLElementPL const*> listed;
    for (XMLElementPL const& child : element.GetElementList())
        listed.push_back(&child);
    EXPECT_EQ(listed, added);
    EXPECT_EQ(added[3]->GetName(), "e");
    EXPECT_EQ(added[3]->GetAttribute("N"), "e");
}

TEST(XMLElementPLTest, CopyOfAnElementCanBeAddedToItself) {
    XMLElementPL element("a", noPointers);
    XMLElementPL child("b", Pointers{{"c", "d"}});
    child.AddChildElement("e", noPointers);
    XMLElementPL const* const added = element.AddChildElement(child);
    EXPECT_NE(added, &child);
    EXPECT_EQ(TreeText(*added), TreeText(child));
    element.AddChildElement(element);
    EXPECT_EQ(TreeText(element), "a{b[c=d]{e}a{b[c=d]{e}}}");
}

TEST(XMLElementPLTest, CopyIsDeep) {
    XMLElementPL source("a", Pointers{{"b", "c"}});
    XMLElementPL* const child = source.AddChildElement("d", noPointers);
    child->AddChildElement("e", Pointers{{"f", "g"}, {"f", "h"}});
    child->AddChildElement("i", noPointers)->AddChildElement("j", noPointers);
    source.AddChildElement("k", noPointers);
    XMLElementPL copy(source);
    std::string const text = "a[b=c]{d{e[f=g]i{j}}k}";
    EXPECT_EQ(TreeText(copy), text);
    child->AddChildElement("new", noPointers);
    source.Reset("other", noPointers);
    EXPECT_EQ(TreeText(copy), text);
    copy.AddChildElement("l", noPointers);
    EXPECT_EQ(TreeText(source), "other");
}

TEST(XMLElementPLTest, ReusesChildrenInOrderAfterReset) {
    XMLElementPL element("a", noPointers);
    XMLElementPL* const first = element.AddChildElement("b", Pointers{{"c", "d"}});
    XMLElementPL* const inner = first->AddChildElement("inner", noPointers);
    XMLElementPL* const second = element.AddChildElement("e", noPointers);
    element.Reset("f", noPointers);
    EXPECT_EQ(element.AddChildElement("g", noPointers), first);
    EXPECT_EQ(first->AddChildElement("h", noPointers), inner);
    EXPECT_EQ(element.AddChildElement("i", Pointers{{"j", "k"}}), second);
    EXPECT_NE(element.AddChildElement("l", noPointers), nullptr);
    EXPECT_EQ(TreeText(element), "f{g{h}i[j=k]l}");
}

// Reset keeps the children for reuse. Listing the children frees them.
TEST(XMLElementPLTest, ListsOnlyChildrenAddedAfterReset) {
    for (std::size_t before = 0; before <= 3; ++before)
        for (std::size_t after = 0; after <= 3; ++after) {
            XMLElementPL element("a", Pointers{{"b", "1"}, {"c", "2"}});
            for (std::size_t i = 0; i < before; ++i)
                element.AddChildElement("b", noPointers)->AddChildElement("inner", noPointers);
            element.Reset("e", Pointers{{"f", "3"}});
            EXPECT_FALSE(element.HasAttribute("b"));
            for (std::size_t i = 0; i < after; ++i)
                element.AddChildElement("g", noPointers);
            std::string const children(after, 'g');
            std::string const expected = after == 0 ? "e[f=3]" : "e[f=3]{" + children + "}";
            EXPECT_EQ(TreeText(element), expected);
            EXPECT_EQ(TreeText(element), expected);
            element.AddChildElement("h", noPointers);
            EXPECT_EQ(TreeText(element), "e[f=3]{" + children + "h}");
        }
}

// Deliberate: a child appended by value comes after the old children, and is reused or freed with
// them.
TEST(XMLElementPLTest, ChildAppendedAfterOldChildrenIsOneOfThem) {
    for (bool const isReused : {false, true}) {
        XMLElementPL element("a", noPointers);
        XMLElementPL const* const old = element.AddChildElement("b", noPointers);
        element.Reset("c", noPointers);
        XMLElementPL const* const appended = element.AddChildElement(XMLElementPL("d", noPointers));
        if (isReused) {
            EXPECT_EQ(element.AddChildElement("e", noPointers), old);
            EXPECT_EQ(element.AddChildElement("f", noPointers), appended);
        }
        EXPECT_EQ(TreeText(element), isReused ? "c{ef}" : "c");
    }
}

// A copied cursor would point into the list of the source, and the copy would free memory of the
// source.
TEST(XMLElementPLTest, CopyAfterResetEqualsItsSource) {
    for (int reused = 0; reused <= 3; ++reused) {
        auto source = std::make_unique<XMLElementPL>("a", noPointers);
        for (char const* name : {"b", "c", "d"})
            source->AddChildElement(name, noPointers);
        source->Reset("e", noPointers);
        std::string expected;
        for (int count = 0; count < reused; ++count)
            expected += source->AddChildElement("f", noPointers)->GetName();
        XMLElementPL outer("outer", noPointers);
        outer.AddChildElement(*source);
        XMLElementPL untouched(outer);
        XMLElementPL grown(*source);
        grown.AddChildElement("g", noPointers);
        source.reset();
        EXPECT_EQ(TreeText(grown), "e{" + expected + "g}");
        EXPECT_EQ(TreeText(untouched), TreeText(outer));
        EXPECT_EQ(TreeText(outer), expected.empty() ? "outer{e}" : "outer{e{" + expected + "}}");
    }
}

TEST(XMLElementPLTest, RepeatedResetAllocatesNothing) {
    XMLElementPL element("aNameThatDoesNotFitIntoASmallString", noPointers);
    std::string const name = "anotherNameThatDoesNotFitIntoOne";
    Pointers const attributes{{"anAttributeWithALongEnoughName", "and with a long enough value"},
                              {"c", "another value of sufficient length"}};
    element.Reset(name, attributes);
    // The cursor exists already, so no memory is allocated.
    EXPECT_EQ(AllocationsOf([&] { element.Reset(name, attributes); }), 0u);
}

TEST(XMLElementPLTest, CopiesAndFreesDeepTreeWithoutRecursion) {
    RunOnSmallStack(128 * 1024, [] {
        std::unique_ptr<XMLElementPL> const source = MakeDeepTree(deep);
        XMLElementPL outer("outer", noPointers);
        outer.AddChildElement(*source);
        outer.AddChildElement(outer);
        EXPECT_EQ(DepthOf(outer), deep + 1);
        EXPECT_EQ(DepthOf(outer.GetElementList().back()), deep + 1);
        outer.Reset("new", noPointers);
        EXPECT_TRUE(outer.GetElementList().empty());
    });
}

TEST(XMLElementPLTest, FreesWideTreeOfDeepOnesWithoutRecursion) {
    RunOnSmallStack(128 * 1024, [] {
        XMLElementPL outer("outer", noPointers);
        for (int count = 0; count < 10; ++count)
            outer.AddChildElement(*MakeDeepTree(deep / 10));
        XMLElementPL const copy(outer);
        EXPECT_EQ(copy.GetElementList().size(), 10u);
        for (XMLElementPL const& child : copy.GetElementList())
            EXPECT_EQ(DepthOf(child), deep / 10);
    });
}

TEST(XMLElementPLTest, FailedAllocationLeavesTheSourceUnchanged) {
    XMLElementPL source("aNameThatDoesNotFitIntoASmallString", Pointers{{"b", "c"}});
    source.AddChildElement("d", noPointers)->AddChildElement("e", Pointers{{"f", "g"}});
    source.AddChildElement("h", noPointers)->AddChildElement("i", noPointers);
    std::string const text = TreeText(source);
    std::size_t const failures = ForEachFailingAllocation([&](std::size_t) {
        try {
            XMLElementPL target("target", noPointers);
            target.AddChildElement(source);
            target.Reset("aLongNameForTheSecondRoundOfIt", Pointers{{"j", "k"}, {"l", "m"}});
            target.AddChildElement("n", Pointers{{"o", "p"}});
            target.GetElementList();
        } catch (std::bad_alloc const&) {
        }
    });
    EXPECT_GT(failures, 10u);
    EXPECT_EQ(TreeText(source), text);
}

} // namespace
