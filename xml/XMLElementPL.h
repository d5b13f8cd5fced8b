// One element of a document: its name, its attributes, the text directly inside it, its children.
//
// It keeps no comments and no instructions, and not where its text stood among its children.
#pragma once

#include <list>
#include <string>
#include <vector>

#include "strings/SmallContainers.h"
#include "xml/XMLHandler.h"

class XMLTreeParserPL;

// A node that owns all nodes below it.
//
// Reset makes an element new without giving memory back: its old children stay, are used again one
// after the other by AddChildElement, and what is left of them goes when the children are asked
// for. They are never seen.
//
// No operation goes down a tree by recursion, so a tree may be as deep as memory allows.
class XMLElementPL {
public:
    XMLElementPL(std::string const& elementName,
                 std::vector<XMLAttribute> const& elementAttributes);
    XMLElementPL(std::string const& elementName,
                 std::vector<XMLAttribute const*> const& elementAttributes);

    // A deep copy. A recycling that is under way goes on in the copy with the copied old children.
    XMLElementPL(XMLElementPL const& source);
    XMLElementPL& operator=(XMLElementPL const&) = delete;

    ~XMLElementPL();

    // Names are compared ignoring ASCII case. The value is that of the first such attribute; for
    // none it is an empty string that is there to the end, so asking never fails.
    bool HasAttribute(std::string const& attributeName) const;
    std::string const& GetAttribute(std::string const& attributeName) const;

    // The children in document order. Deliberate: this read-only operation frees what a recycling
    // has left over.
    std::list<XMLElementPL> const& GetElementList() const;

    // As the document has them. The text is everything directly inside the element, joined, with
    // the white space between its children.
    std::string const& GetName() const { return name; }
    std::string const& GetText() const { return text; }

    // Add a child at the end and yield it; it stays in its place. The second form recycles an old
    // child, if there is one left.
    XMLElementPL* AddChildElement(XMLElementPL const& child);
    XMLElementPL* AddChildElement(std::string const& childName,
                                  std::vector<XMLAttribute const*> const& childAttributes);

    // Gives the element a new name and new attributes, no text, and no children to be seen.
    void Reset(std::string const& newName, std::vector<XMLAttribute const*> const& newAttributes);

private:
    friend class XMLTreeParserPL; // which adds to `text`

    using ElementList = std::list<XMLElementPL>;
    struct WithoutChildren {
        XMLElementPL const& source;
    };

public:
    // Only for the copying of trees: nobody else can name the argument.
    explicit XMLElementPL(WithoutChildren copied);

private:
    void TakeAttributes(std::vector<XMLAttribute const*> const& elementAttributes);

    struct CopyStep;
    void CopyChildren(XMLElementPL const& source, std::vector<CopyStep>& pending);

    std::string name;
    std::vector<XMLAttribute> attributes;
    std::string text;
    DuplicatingPtr<ElementList> children;
    // Null, or the next old child to use again.
    mutable NullOr<ElementList::iterator> recycleCursor;
};
