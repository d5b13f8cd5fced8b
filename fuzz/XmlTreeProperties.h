// Compares the tree parser, for any chunk boundaries, with a tree of the reference parser's events.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "fuzz/Fuzz.h"
#include "fuzz/PlainCase.h"
#include "fuzz/PlainTree.h"
#include "tests/support/Chunks.h"
#include "xml/XMLElementPL.h"
#include "xml/XMLTreeParserPL.h"

namespace XmlTreeProperties {

using PlainCase::Lowered;

inline std::string const* FindAttribute(PlainTree::Node const& node, std::string const& name) {
    for (XMLAttribute const& attribute : node.attributes)
        if (Lowered(attribute.first) == Lowered(name))
            return &attribute.second;
    return nullptr;
}

inline void CompareAttribute(XMLElementPL const& element, PlainTree::Node const& node,
                             std::string const& name) {
    std::string const* const expected = FindAttribute(node, name);
    Fuzz::Require(element.HasAttribute(name) == (expected != nullptr),
                  "the attributes are the same");
    Fuzz::Require(element.GetAttribute(name) == (expected == nullptr ? std::string() : *expected),
                  "an attribute has its first value");
}

inline void CompareNode(XMLElementPL const& element, PlainTree::Node const& node) {
    Fuzz::Require(element.GetName() == node.name, "an element has its name");
    Fuzz::Require(element.GetText() == node.text, "an element has its text");
    Fuzz::Require(element.GetElementList().size() == node.children.size(),
                  "an element has its children");
    CompareAttribute(element, node, "id");
    for (XMLAttribute const& attribute : node.attributes)
        CompareAttribute(element, node, attribute.first);
}

inline void CompareTrees(XMLElementPL const& root, PlainTree::Node const& plainRoot) {
    std::vector<std::pair<XMLElementPL const*, PlainTree::Node const*>> pending{
        {&root, &plainRoot}};
    while (!pending.empty()) {
        auto const [element, node] = pending.back();
        pending.pop_back();
        CompareNode(*element, *node);
        auto plainChild = node->children.begin();
        for (XMLElementPL const& child : element->GetElementList())
            pending.push_back({&child, *plainChild++});
    }
}

// Compares the root, the open elements, the tree and a copy of the tree.
inline void Compare(XMLTreeParserPL const& parser, PlainTree const& plain) {
    Fuzz::Require(parser.HasOpenElements() == plain.HasOpenElements(), "elements are open or not");
    Fuzz::Require((parser.GetRootElement() == nullptr) == (plain.Root() == nullptr),
                  "there is a root or not");
    if (plain.Root() == nullptr)
        return;
    CompareTrees(*parser.GetRootElement(), *plain.Root());
    XMLElementPL const copy(*parser.GetRootElement());
    CompareTrees(copy, *plain.Root());
}

inline void Check(Fuzz::Input input) {
    std::vector<std::size_t> const lengths = Fuzz::TakeLengths(input);
    PlainTree const plain(input.Rest());
    XMLTreeParserPL parser;
    SplitByLengths(input.Rest(), lengths).Feed([&](ConstData chunk) {
        parser.Parse(chunk.View().data(), static_cast<unsigned int>(chunk.Length()));
    });
    Compare(parser, plain);
}

} // namespace XmlTreeProperties
