// The events of an XML document, as a reader meets them.
//
// What an event is given belongs to the reader: it is valid for the call alone, and is reused for
// the next event. One thread.
#pragma once

#include <string>
#include <vector>

#include "strings/SmallContainers.h"

// A name and its value.
using XMLAttribute = Pair<std::string, std::string>;

// A receiver of events. Names and texts are bytes of whatever encoding the document has.
//
// Error handling: what an operation throws passes through the reader.
class XMLHandler {
public:
    virtual ~XMLHandler() = default;

    // A start tag. The attributes stand in document order, duplicates and all.
    virtual void StartElement(std::string const& name,
                              std::vector<XMLAttribute const*> const& attributes) = 0;

    // An end tag, whether or not a start tag of that name came before it.
    virtual void EndElement(std::string const& name) = 0;

    // Text, never in one piece for sure: a receiver joins what comes between two tags.
    virtual void Characters(std::string const& text) = 0;

    // An instruction such as the XML declaration. The name begins with "?".
    virtual void DoProcessingInstructionElement(std::string const&,
                                                std::vector<XMLAttribute const*> const&) {}
};
