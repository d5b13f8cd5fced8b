// Parses a document into a tree of elements.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "xml/SimpleXMLParserPL.h"
#include "xml/XMLElementPL.h"

// Calling sequence: call Parse for each chunk, then HasOpenElements and GetRootElement. A document
// is complete if there is a root and no element is open.
//
// Like its base class, it accepts every input:
// - An end tag closes the innermost open element, whatever its name, or does nothing if there is
//   none. So "<a/>", which is only an end tag, closes its parent.
// - Text outside the root is dropped.
// - If there are several outermost elements, each replaces the root, and the last one stays.
// - Processing instructions and the XML declaration are dropped.
//
// The parser owns the tree. A reference to an element is valid until Parse or XMLElementPL::Reset
// changes the element or an element that contains it, or the parser is destroyed.
class XMLTreeParserPL : public SimpleXMLParserPL {
public:
    XMLTreeParserPL();
    ~XMLTreeParserPL() override;

    // Clears the stack of open elements, so the next start tag replaces the root. The tree and the
    // state of the base class do not change. Call Reset only after a complete document.
    void Reset();

    bool HasOpenElements() const { return !elementStack.empty(); }

    // Null before the first start tag.
    XMLElementPL* GetRootElement() const { return rootElement.get(); }

    void StartElement(std::string const& name,
                      std::vector<XMLAttribute const*> const& attributes) override;
    void EndElement(std::string const& name) override;
    void Characters(std::string const& text) override;

private:
    XMLElementPL* BeginRoot(std::string const& name,
                            std::vector<XMLAttribute const*> const& attributes);

    std::unique_ptr<XMLElementPL> rootElement;
    std::vector<XMLElementPL*> elementStack; // the open elements, outermost first
};
