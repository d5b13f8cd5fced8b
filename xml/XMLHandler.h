// The interface for parser events.
//
// The parser owns the arguments: they are valid during the call only. Not thread-safe.
#pragma once

#include <string>
#include <vector>

#include "strings/SmallContainers.h"

// A name and its value.
using XMLAttribute = Pair<std::string, std::string>;

// A receiver of events. Names and texts are bytes in the encoding of the document.
//
// Error handling: exceptions propagate to the caller of the parser.
class XMLHandler {
public:
    virtual ~XMLHandler() = default;

    // Receives a start tag. Attributes are in document order, including duplicates.
    virtual void StartElement(std::string const& name,
                              std::vector<XMLAttribute const*> const& attributes) = 0;

    // Receives an end tag. There may be no matching start tag.
    virtual void EndElement(std::string const& name) = 0;

    // Receives text. The text between two tags may arrive in several calls.
    virtual void Characters(std::string const& text) = 0;

    // Receives a processing instruction or the XML declaration. The name begins with "?".
    virtual void DoProcessingInstructionElement(std::string const&,
                                                std::vector<XMLAttribute const*> const&) {}
};
