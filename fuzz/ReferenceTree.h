// Reference implementation of the tree parser: a tree of the events of NaiveXMLMachine.
#pragma once

#include <list>
#include <memory>

#include "tests/xml/NaiveXMLMachine.h"

// Returns the number of a type of requests and responses, or `other` for another text.
inline std::string TypeOf(std::string const& text, std::string const& other) {
    return text == "Open" ? "0" : text == "Close" ? "1" : text == "Progress" ? "2" : other;
}

// Owns the nodes in one list, in the order of their start tags, so the destructor is not recursive.
class ReferenceTree : private XMLHandler {
public:
    struct Node {
        std::string name;
        std::vector<XMLAttribute> attributes;
        std::string text;
        std::vector<Node const*> children;
    };

    explicit ReferenceTree(std::string_view document) { NaiveXMLMachine(*this).Parse(document); }

    // Returns the last top-level element, or null.
    Node const* Root() const { return root; }
    bool HasOpenElements() const { return !open.empty(); }

private:
    void StartElement(std::string const& name,
                      std::vector<XMLAttribute const*> const& attributes) override {
        Node& node = nodes.emplace_back();
        node.name = name;
        for (XMLAttribute const* attribute : attributes)
            node.attributes.push_back(*attribute);
        if (open.empty())
            root = &node;
        else
            open.back()->children.push_back(&node);
        open.push_back(&node);
    }
    void EndElement(std::string const&) override {
        if (!open.empty())
            open.pop_back();
    }
    void Characters(std::string const& text) override {
        if (!open.empty())
            open.back()->text += text;
    }

    std::list<Node> nodes;
    Node const* root = nullptr;
    std::vector<Node*> open;
};
