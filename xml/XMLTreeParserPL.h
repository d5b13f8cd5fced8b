// Reads a document into a tree of its elements.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "xml/SimpleXMLParserPL.h"
#include "xml/XMLElementPL.h"

// Calling sequence: Parse for each block, then HasOpenElements and GetRootElement. A document is
// complete when no element is open and there is a root; ask before looking at the tree.
//
// It accepts everything, as its base does: an end tag closes the innermost element, whatever its
// name, or nothing if none is open. Text outside the root is dropped. Several outermost elements
// take over the same root one after the other, and the last one stays; so "<a/>", which is an end
// tag only, closes its parent. Instructions and the XML declaration leave no trace.
//
// The parser owns the tree: what it hands out lives as long as the parser does and no Parse or
// Reset of the element changes it.
class XMLTreeParserPL : public SimpleXMLParserPL {
public:
    XMLTreeParserPL();
    ~XMLTreeParserPL() override;

    // Forgets which elements are open, and nothing else: the next start tag begins a new root in
    // the place of the old one. The tree, the state of the base and its gathered text stay, so it
    // is for use between documents that end cleanly.
    void Reset();

    bool HasOpenElements() const { return !elementStack.empty(); }

    // Null before the first element.
    XMLElementPL* GetRootElement() const { return rootElement.get(); }

    void StartElement(std::string const& name,
                      std::vector<XMLAttribute const*> const& attributes) override;
    void EndElement(std::string const& name) override;
    void Characters(std::string const& text) override;

private:
    XMLElementPL* BeginRoot(std::string const& name,
                            std::vector<XMLAttribute const*> const& attributes);

    std::unique_ptr<XMLElementPL> rootElement;
    std::vector<XMLElementPL*> elementStack; // the open ones, outermost first
};
