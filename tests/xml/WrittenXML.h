// Returns the output of a writer as text: a whole document, or the content of its root.
#pragma once

#include <functional>
#include <initializer_list>
#include <utility>

#include <gtest/gtest.h>

#include "data/LineFlattener.h"
#include "data/StringReceiver.h"
#include "xml/XMLWriterPL.h"

inline NullOr<StringPL> const noEncoding;
inline XMLWriterPL::AttributeList const& none = XMLWriterPL::emptyAttributeList;

inline StringPL MakeStringPL(std::string const& text) {
    return StringPL(text.data(), static_cast<unsigned int>(text.size()));
}

class Attributes : public XMLWriterPL::AttributeList {
public:
    Attributes(std::initializer_list<std::pair<std::string, std::string>> list) {
        for (auto const& [name, value] : list)
            Append(Pair<StringPL, StringPL>(MakeStringPL(name), MakeStringPL(value)));
    }
};

// Returns the document that `body` writes, with "|" for each line break.
inline std::string Document(XMLWriterPL::XMLFormatStyle style,
                            std::function<void(XMLWriterPL&)> const& body) {
    std::string document;
    StringReceiver collector;
    LineFlattener flattener;
    XMLWriterPL writer(flattener("|", collector(document)), style);
    body(writer);
    return document;
}

// Returns what `body` writes into a root "r", and the end tag of the root.
inline std::string Inside(XMLWriterPL::XMLFormatStyle style,
                          std::function<void(XMLWriterPL&)> const& body) {
    std::string const document = Document(style, [&](XMLWriterPL& writer) {
        writer.BeginDocument("r", none, noEncoding);
        body(writer);
    });
    std::string const begin = std::string("<?xml version=\"1.0\"?>") +
                              (style.number < XMLWriterPL::XMLFormatFlat ? "|" : "") + "<r>";
    EXPECT_EQ(document.substr(0, begin.size()), begin);
    return document.substr(begin.size());
}

// As Inside, with a fixed style.
inline std::string Flat(std::function<void(XMLWriterPL&)> const& body) {
    return Inside(XMLWriterPL::XMLFormatFlat, body);
}

inline std::string Tabbed(std::function<void(XMLWriterPL&)> const& body) {
    return Inside(XMLWriterPL::XMLFormatTabbed, body);
}
