// Writes a tree in one line, for tests: name[b=1,c=2]"text"{children}, with empty parts left out.
#pragma once

#include "xml/XMLElementPL.h"

// An element cannot list its attributes. Therefore, only attributes with a name of one letter are
// written, in alphabetical order.
inline std::string AttributesText(XMLElementPL const& element) {
    std::string list;
    for (char letter = 'a'; letter <= 'z'; ++letter) {
        std::string const name(1, letter);
        if (element.HasAttribute(name))
            list += (list.empty() ? "" : ",") + name + "=" + element.GetAttribute(name);
    }
    return list.empty() ? list : "[" + list + "]";
}

inline std::string TreeText(XMLElementPL const& element) {
    std::string line = element.GetName() + AttributesText(element);
    if (!element.GetText().empty())
        line += '"' + element.GetText() + '"';
    if (element.GetElementList().empty())
        return line;
    line += '{';
    for (XMLElementPL const& child : element.GetElementList())
        line += TreeText(child);
    return line + '}';
}
