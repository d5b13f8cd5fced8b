// Round trip of the XML writer and the parser.
//
// The input is a layout and a list of calls of the writer. Line breaks of the layout are omitted,
// and tabs in text are not compared if the writer indents with tabs. All other bytes of names,
// attribute values and texts must be read back.
#pragma once

#include "data/LineFlattener.h"
#include "data/StringReceiver.h"
#include "fuzz/Fuzz.h"
#include "xml/SimpleXMLParserPL.h"
#include "xml/XMLHandler.h"
#include "xml/XMLWriterPL.h"

namespace XmlWriteReadProperties {

using Attributes = std::vector<XMLAttribute>;

// Records each event as a string, in which names and attribute values have length prefixes. Joins
// all text between two tags.
class Events : public XMLHandler {
public:
    explicit Events(bool keepsTabs) : withTabs(keepsTabs) {}

    void StartElement(std::string const& name,
                      std::vector<XMLAttribute const*> const& attributes) override {
        FlushText();
        std::string event = "start " + Part(name);
        for (XMLAttribute const* attribute : attributes)
            event += Part(attribute->first) + Part(attribute->second);
        all.push_back(event);
    }
    void EndElement(std::string const& name) override {
        FlushText();
        all.push_back("end " + Part(name));
    }
    void Characters(std::string const& piece) override { text += piece; }

    std::vector<std::string> const& All() const { return all; }

private:
    void FlushText() {
        if (!withTabs)
            std::erase(text, '\t');
        if (!text.empty())
            all.push_back("text " + text);
        text.clear();
    }

    static std::string Part(std::string const& part) {
        return std::to_string(part.size()) + ":" + part;
    }

    bool withTabs;
    std::string text;
    std::vector<std::string> all;
};

inline bool IsLetter(char byte) {
    return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') || byte == '_' ||
           byte == ':';
}

inline bool IsValidName(std::string const& name) {
    if (name.empty() || !IsLetter(name[0]))
        return false;
    return std::all_of(name.begin(), name.end(), [](char byte) {
        return IsLetter(byte) || (byte >= '0' && byte <= '9') || byte == '.' || byte == '-' ||
               byte == '\xB7';
    });
}

inline std::string Without(std::string text, char byte) {
    std::erase(text, byte);
    return text;
}

inline std::string TextWithoutZeros(Fuzz::Input& input) { return Without(input.Text(), '\0'); }

class Document {
public:
    Document(unsigned int style, Events& expected)
        : events(expected),
          writer(lines(LineFlattener::nothing, collector(bytes)),
                 XMLWriterPL::XMLFormatStyle(style)) {
        writer.BeginDocument("root", XMLWriterPL::emptyAttributeList, NullOr<StringPL>());
        Opened("root", {});
    }

    void Call(Fuzz::Input& input) {
        unsigned int const call = input.Byte() % 6U;
        if (call == 0)
            Begin(input);
        else if (call == 1)
            End();
        else if (call == 2)
            WriteText(input.Text());
        else if (call == 3)
            WriteUTF8(TextWithoutZeros(input));
        else if (call == 4)
            WriteSection(TextWithoutZeros(input));
        else
            // Without dashes: the writer removes some, but two could remain and end the comment.
            writer.WriteComment(StringPL(Without(TextWithoutZeros(input), '-').c_str()));
    }

    std::string const& Finish() {
        writer.EndDocument();
        for (; !open.empty(); open.pop_back())
            events.EndElement(open.back());
        return bytes;
    }

private:
    void Begin(Fuzz::Input& input) {
        // Without dashes, because the parser drops one in the name of a start tag, and a second one
        // begins a comment.
        std::string const name = Without(TextWithoutZeros(input), '-');
        Attributes attributes(input.Byte() % 4U);
        for (XMLAttribute& attribute : attributes) {
            attribute.first = TextWithoutZeros(input);
            attribute.second = TextWithoutZeros(input);
        }
        XMLWriterPL::AttributeList list;
        bool valid = IsValidName(name);
        for (auto const& [key, value] : attributes) {
            list.Append({StringPL(key.c_str()), StringPL(value.c_str())});
            valid = valid && IsValidName(key);
        }
        std::string const before = bytes;
        try {
            writer.BeginElement(ConstData(name), list);
            Require(valid, "an invalid name is rejected");
            Opened(name, attributes);
        } catch (InvalidXMLElementName const&) {
            Require(!IsValidName(name) && bytes == before,
                    "only an invalid element name is rejected, before any output");
        } catch (InvalidXMLAttributeName const&) {
            Require(!valid && IsValidName(name) && bytes == before,
                    "only an invalid attribute name is rejected, before any output");
        }
    }

    void Opened(std::string const& name, Attributes const& attributes) {
        open.push_back(name);
        std::vector<XMLAttribute const*> pointers;
        for (XMLAttribute const& attribute : attributes)
            pointers.push_back(&attribute);
        events.StartElement(name, pointers);
    }

    void End() {
        if (open.size() < 2)
            return;
        writer.EndElement();
        events.EndElement(open.back());
        open.pop_back();
    }

    void WriteText(std::string const& text) {
        writer.WriteString(ConstData(text));
        events.Characters(text);
    }

    void WriteUTF8(std::string const& text) {
        writer.WriteUTF8String(text.c_str());
        events.Characters(text);
    }

    void WriteSection(std::string const& text) {
        if (text.find("]]>") != std::string::npos)
            return;
        writer.WriteCDataString(text.c_str());
        events.Characters(text);
    }

    std::string bytes;
    StringReceiver collector;
    LineFlattener lines;
    Events& events;
    XMLWriterPL writer;
    std::vector<std::string> open;
};

inline void Check(Fuzz::Input input) {
    unsigned int const style = input.Byte() % 3U;
    bool const keepsTabs = style != XMLWriterPL::XMLFormatTabbed;

    Events expected(keepsTabs);
    Document document(style, expected);
    while (!input.IsEmpty())
        document.Call(input);

    Events read(keepsTabs);
    SimpleXMLParserPL(read).Parse(document.Finish());
    Require(read.All() == expected.All(), "a written document is read back");
}

} // namespace XmlWriteReadProperties
