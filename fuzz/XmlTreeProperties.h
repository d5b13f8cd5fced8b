// Compares the tree parser, for any chunk boundaries, with a tree of the reference parser's events.
#pragma once

#include "fuzz/Fuzz.h"
#include "fuzz/ReferenceCase.h"
#include "fuzz/ReferenceTree.h"
#include "tests/support/Chunks.h"
#include "xml/XMLElementPL.h"
#include "xml/XMLTreeParserPL.h"

namespace XmlTreeProperties {

using ReferenceCase::Lowered;

inline std::string const* FindAttribute(ReferenceTree::Node const& node, std::string const& name) {
    for (XMLAttribute const& attribute : node.attributes)
        if (Lowered(attribute.first) == Lowered(name))
            return &attribute.second;
    return nullptr;
}

inline void CompareAttribute(XMLElementPL const& element, ReferenceTree::Node const& node,
                             std::string const& name) {
    std::string const* const expected = FindAttribute(node, name);
    Require(element.HasAttribute(name) == (expected != nullptr), "the attributes are equal");
    Require(element.GetAttribute(name) == (expected == nullptr ? std::string() : *expected),
            "a repeated attribute has its first value");
}

inline void CompareNode(XMLElementPL const& element, ReferenceTree::Node const& node) {
    Require(element.GetName() == node.name, "the names of elements are equal");
    Require(element.GetText() == node.text, "the texts of elements are equal");
    Require(element.GetElementList().size() == node.children.size(),
            "the numbers of children are equal");
    CompareAttribute(element, node, "id");
    for (XMLAttribute const& attribute : node.attributes)
        CompareAttribute(element, node, attribute.first);
}

inline void CompareTrees(XMLElementPL const& root, ReferenceTree::Node const& referenceRoot) {
    std::vector<std::pair<XMLElementPL const*, ReferenceTree::Node const*>> pending{
        {&root, &referenceRoot}};
    while (!pending.empty()) {
        auto const [element, node] = pending.back();
        pending.pop_back();
        CompareNode(*element, *node);
        auto referenceChild = node->children.begin();
        for (XMLElementPL const& child : element->GetElementList())
            pending.push_back({&child, *referenceChild++});
    }
}

// Compares whether there are a root and open elements, the tree, and a copy of the tree.
inline void Compare(XMLTreeParserPL const& parser, ReferenceTree const& reference) {
    Require(parser.HasOpenElements() == reference.HasOpenElements(),
            "open elements agree with the reference");
    Require((parser.GetRootElement() == nullptr) == (reference.Root() == nullptr),
            "the root agrees with the reference");
    if (reference.Root() == nullptr)
        return;
    CompareTrees(*parser.GetRootElement(), *reference.Root());
    XMLElementPL const copy(*parser.GetRootElement());
    CompareTrees(copy, *reference.Root());
}

inline void Check(Fuzz::Input input) {
    std::vector<std::size_t> const lengths = Fuzz::TakeLengths(input);
    ReferenceTree const reference(input.Rest());
    XMLTreeParserPL parser;
    SplitByLengths(input.Rest(), lengths).Feed([&](ConstData chunk) {
        parser.Parse(chunk.View().data(), static_cast<unsigned int>(chunk.Length()));
    });
    Compare(parser, reference);
}

} // namespace XmlTreeProperties
