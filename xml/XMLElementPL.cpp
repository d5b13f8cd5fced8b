#include "xml/XMLElementPL.h"

#include <iterator>
#include <memory>

#include "data/Ascii.h"

namespace {

std::list<XMLElementPL>* NewElementList() {
    return std::make_unique<std::list<XMLElementPL>>().release();
}

XMLAttribute const* FindAttribute(std::vector<XMLAttribute> const& attributes,
                                  std::string const& name) {
    for (XMLAttribute const& attribute : attributes) {
        if (Ascii::EqualIgnoringCase(attribute.first, name))
            return &attribute;
    }
    return nullptr;
}

} // namespace

// Apart, since most elements have none.
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
    : name(elementName), attributes(elementAttributes), children(NewElementList()) {}

XMLElementPL::XMLElementPL(std::string const& elementName,
                           std::vector<XMLAttribute const*> const& elementAttributes)
    : name(elementName), children(NewElementList()) {
    if (!elementAttributes.empty())
        TakeAttributes(elementAttributes);
}

XMLElementPL::XMLElementPL(WithoutChildren copied)
    : name(copied.source.name),
      attributes(copied.source.attributes),
      text(copied.source.text),
      children(NewElementList()) {}

// The copies still to be filled wait in a list of their own and not on the stack, which a deep tree
// would exhaust.
XMLElementPL::XMLElementPL(XMLElementPL const& source) : XMLElementPL(WithoutChildren{source}) {
    std::vector<CopyStep> pending;
    CopyChildren(source, pending);
    while (!pending.empty()) {
        CopyStep const step = pending.back();
        pending.pop_back();
        step.target->CopyChildren(*step.source, pending);
    }
}

// Copies one level, and a cursor as the same place in the copied list.
void XMLElementPL::CopyChildren(XMLElementPL const& source, std::vector<CopyStep>& pending) {
    ElementList::iterator cursor = children->end();
    for (auto old = source.children->begin(); old != source.children->end(); ++old) {
        children->emplace_back(WithoutChildren{*old});
        pending.push_back({&*old, &children->back()});
        if (!source.recycleCursor.IsNull() && old == *source.recycleCursor)
            cursor = std::prev(children->end());
    }
    if (!source.recycleCursor.IsNull())
        recycleCursor = cursor;
}

// The descendants are moved into one list before they go, so that no destructor of theirs finds
// anything below it: nested destructors would exhaust the stack.
XMLElementPL::~XMLElementPL() {
    ElementList& doomed = *children;
    while (!doomed.empty()) {
        doomed.splice(std::next(doomed.begin()), *doomed.front().children);
        doomed.pop_front();
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

// The strings of the old attributes are assigned to, so that they keep their room.
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
