// An element of a document: its name, attributes, text and child elements.
//
// Comments, processing instructions and the position of text among the children are not stored.
#pragma once

#include <list>
#include <string>
#include <vector>

#include "strings/SmallContainers.h"
#include "xml/XMLHandler.h"

class XMLTreeParserPL;

// A node that owns its subtree.
//
// Reset makes an element empty without freeing its children. AddChildElement reuses these old
// children in order; GetElementList frees the rest. Old children are never visible.
//
// No operation is recursive, so only memory limits the depth of a tree.
class XMLElementPL {
public:
    XMLElementPL(std::string const& elementName,
                 std::vector<XMLAttribute> const& elementAttributes);
    XMLElementPL(std::string const& elementName,
                 std::vector<XMLAttribute const*> const& elementAttributes);

    // A deep copy, with copies of the old children.
    XMLElementPL(XMLElementPL const& source);
    XMLElementPL& operator=(XMLElementPL const&) = delete;

    ~XMLElementPL();

    // Attribute names are case-insensitive (ASCII letters). GetAttribute returns the value of the
    // first match, or an empty string in static storage.
    bool HasAttribute(std::string const& attributeName) const;
    std::string const& GetAttribute(std::string const& attributeName) const;

    // Returns the children in document order.
    //
    // Deliberate: although const, it frees the old children that were not reused, because the
    // returned list must not contain them.
    std::list<XMLElementPL> const& GetElementList() const;

    // GetText returns all text directly inside the element, with escapes decoded, including the
    // whitespace between its children.
    std::string const& GetName() const { return name; }
    std::string const& GetText() const { return text; }

    // Append a child and return it; its address does not change. The second overload reuses an old
    // child, if there is one.
    //
    // Deliberate: the first overload appends after the old children, and while there are any, the
    // new child counts as one of them: it is reused, or freed by GetElementList. Kept for
    // compatibility; XMLTreeParserPL calls the second overload only.
    XMLElementPL* AddChildElement(XMLElementPL const& child);
    XMLElementPL* AddChildElement(std::string const& childName,
                                  std::vector<XMLAttribute const*> const& childAttributes);

    // Sets the name and the attributes, clears the text, and makes all children old ones.
    void Reset(std::string const& newName, std::vector<XMLAttribute const*> const& newAttributes);

    // A passkey: only XMLElementPL can create one.
    class CopyKey {
        friend class XMLElementPL;
        explicit CopyKey() = default;
    };

    // Copies the name, the attributes and the text. Public for std::list::emplace_back.
    XMLElementPL(XMLElementPL const& source, CopyKey);

private:
    friend class XMLTreeParserPL; // which appends to `text`

    using ElementList = std::list<XMLElementPL>;

    void TakeAttributes(std::vector<XMLAttribute const*> const& elementAttributes);

    struct CopyStep;
    void CopyChildren(XMLElementPL const& source, std::vector<CopyStep>& pending);

    std::string name;
    std::vector<XMLAttribute> attributes;
    std::string text;
    DuplicatingPtr<ElementList> children;
    // The next old child to reuse, or null. At the end if all old children are reused.
    mutable NullOr<ElementList::iterator> recycleCursor;
};
