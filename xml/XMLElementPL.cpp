#include "xml/XMLElementPL.h"

#include <iterator>

#include "data/Ascii.h"

namespace {

XMLAttribute const* FindAttribute(std::vector<XMLAttribute> const& attributes,
                                  std::string const& name) {
    for (XMLAttribute const& attribute : attributes) {
        if (Ascii::EqualIgnoringCase(attribute.first, name))
            return &attribute;
    }
    return nullptr;
}

} // namespace

// Not inlined, because most elements have no attributes.
[[gnu::noinline]] void
XMLElementPL::TakeAttributes(std::vector<XMLAttribute const*> const& elementAttributes) {
    attributes.reserve(elementAttributes.size());
    for (XMLAttribute const* attribute : elementAttributes)
        attributes.push_back(*attribute);
}

struct XMLElementPL::CopyStep {
    XMLElementPL const* source;
    XMLElementPL* target;
};

XMLElementPL::XMLElementPL(std::string const& elementName,
                           std::vector<XMLAttribute> const& elementAttributes)
    : name(elementName),
      attributes(elementAttributes),
      children(MakeDuplicatingPtr<ElementList>()) {}

XMLElementPL::XMLElementPL(std::string const& elementName,
                           std::vector<XMLAttribute const*> const& elementAttributes)
    : name(elementName), children(MakeDuplicatingPtr<ElementList>()) {
    if (!elementAttributes.empty())
        TakeAttributes(elementAttributes);
}

XMLElementPL::XMLElementPL(XMLElementPL const& source, CopyKey)
    : name(source.name),
      attributes(source.attributes),
      text(source.text),
      children(MakeDuplicatingPtr<ElementList>()) {}

// Iterative, with a list of the copies that still lack their children: recursion on a deep tree
// would exhaust the stack.
XMLElementPL::XMLElementPL(XMLElementPL const& source) : XMLElementPL(source, CopyKey()) {
    std::vector<CopyStep> pending;
    CopyChildren(source, pending);
    while (!pending.empty()) {
        CopyStep const step = pending.back();
        pending.pop_back();
        step.target->CopyChildren(*step.source, pending);
    }
}

// Copies one level, and the cursor as the corresponding position.
void XMLElementPL::CopyChildren(XMLElementPL const& source, std::vector<CopyStep>& pending) {
    ElementList::iterator cursor = children->end();
    for (auto old = source.children->begin(); old != source.children->end(); ++old) {
        children->emplace_back(*old, CopyKey());
        pending.push_back({&*old, &children->back()});
        if (!source.recycleCursor.IsNull() && old == *source.recycleCursor)
            cursor = std::prev(children->end());
    }
    if (!source.recycleCursor.IsNull())
        recycleCursor = cursor;
}

// Moves the descendants into one list before they are destroyed: nested destructors of a deep tree
// would exhaust the stack.
XMLElementPL::~XMLElementPL() {
    ElementList& pending = *children;
    while (!pending.empty()) {
        pending.splice(std::next(pending.begin()), *pending.front().children);
        pending.pop_front();
    }
}

bool XMLElementPL::HasAttribute(std::string const& attributeName) const {
    return FindAttribute(attributes, attributeName) != nullptr;
}

std::string const& XMLElementPL::GetAttribute(std::string const& attributeName) const {
    static std::string const none;
    XMLAttribute const* const found = FindAttribute(attributes, attributeName);
    return found == nullptr ? none : found->second;
}

std::list<XMLElementPL> const& XMLElementPL::GetElementList() const {
    if (!recycleCursor.IsNull() && *recycleCursor != children->end()) {
        children->erase(*recycleCursor, children->end());
        recycleCursor = NullOr<ElementList::iterator>();
    }
    return *children;
}

XMLElementPL* XMLElementPL::AddChildElement(XMLElementPL const& child) {
    return &children->emplace_back(child);
}

XMLElementPL*
XMLElementPL::AddChildElement(std::string const& childName,
                              std::vector<XMLAttribute const*> const& childAttributes) {
    if (recycleCursor.IsNull() || *recycleCursor == children->end())
        return &children->emplace_back(childName, childAttributes);
    XMLElementPL& old = **recycleCursor;
    ++*recycleCursor;
    old.Reset(childName, childAttributes);
    return &old;
}

// Assigns to the old attributes, so that their strings keep their capacity.
void XMLElementPL::Reset(std::string const& newName,
                         std::vector<XMLAttribute const*> const& newAttributes) {
    name = newName;
    attributes.reserve(newAttributes.size());
    attributes.resize(newAttributes.size());
    for (std::size_t index = 0; index < newAttributes.size(); ++index)
        attributes[index] = *newAttributes[index];
    text.clear();
    if (recycleCursor.IsNull())
        recycleCursor = children->begin();
    else
        *recycleCursor = children->begin();
}
