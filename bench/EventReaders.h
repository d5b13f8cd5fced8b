// Push parsers with a common interface: Reader::Read(document, receiver) parses the document in
// blocks and passes each event to the receiver. Names and texts are not copied.
//
// A receiver has Start(name), Attribute(name, value), End(name) and Text(text).
#pragma once

#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>

#include "bench/Inputs.h"
#include "xml/SimpleXMLParserPL.h"

#ifdef HAVE_EXPAT
#include <expat.h>
#endif
#ifdef HAVE_LIBXML2
#include <libxml/parser.h>
#endif

class EventCounter {
public:
    void Start(std::string_view name) { elements += 1 + name.size(); }
    void Attribute(std::string_view name, std::string_view value) {
        bytes += name.size() + value.size();
    }
    void End(std::string_view name) { elements += name.size(); }
    void Text(std::string_view text) { bytes += text.size(); }

    std::size_t Sum() const { return elements + bytes; }

private:
    std::size_t elements = 0;
    std::size_t bytes = 0;
};

// Collects the events as one text. Omits differences between conforming parsers: CR, because they
// read CR LF as LF, and text outside of the root element.
class EventLog {
public:
    void Start(std::string_view name) {
        ++depth;
        text.append("\n<").append(name);
    }
    void Attribute(std::string_view name, std::string_view value) {
        text.append("\n ").append(name).append("=").append(value);
    }
    void End(std::string_view name) {
        --depth;
        text.append("\n/").append(name);
    }
    void Text(std::string_view part) {
        for (char byte : part) {
            if (depth > 0 && byte != '\r')
                text += byte;
        }
    }

    std::string const& Text() const { return text; }

private:
    std::string text;
    int depth = 0;
};

struct OurEvents {
    template <class Receiver>
    class Handler : public XMLHandler {
    public:
        explicit Handler(Receiver& to) : receiver(to) {}

        void StartElement(std::string const& name,
                          std::vector<XMLAttribute const*> const& attributes) override {
            receiver.Start(name);
            for (XMLAttribute const* attribute : attributes)
                receiver.Attribute(attribute->first, attribute->second);
        }
        void EndElement(std::string const& name) override { receiver.End(name); }
        void Characters(std::string const& text) override { receiver.Text(text); }

    private:
        Receiver& receiver;
    };

    template <class Receiver>
    static void Read(std::string const& document, Receiver& receiver) {
        Handler<Receiver> handler(receiver);
        SimpleXMLParserPL parser(handler);
        Inputs::InBlocks(document, [&](std::string_view block) {
            parser.Parse(block.data(), static_cast<unsigned int>(block.size()));
        });
    }
};

#ifdef HAVE_EXPAT
struct ExpatEvents {
    template <class Receiver>
    static void Read(std::string const& document, Receiver& receiver) {
        XML_Parser const parser = XML_ParserCreate(nullptr);
        XML_SetUserData(parser, &receiver);
        XML_SetElementHandler(parser, Start<Receiver>, End<Receiver>);
        XML_SetCharacterDataHandler(parser, Text<Receiver>);
        Inputs::InBlocks(document, [&](std::string_view block) {
            XML_Parse(parser, block.data(), static_cast<int>(block.size()), XML_FALSE);
        });
        XML_Parse(parser, nullptr, 0, XML_TRUE);
        XML_ParserFree(parser);
    }

private:
    template <class Receiver>
    static void Start(void* to, XML_Char const* name, XML_Char const** attributes) {
        Receiver& receiver = *static_cast<Receiver*>(to);
        receiver.Start(name);
        for (; *attributes != nullptr; attributes += 2)
            receiver.Attribute(attributes[0], attributes[1]);
    }
    template <class Receiver>
    static void End(void* to, XML_Char const* name) {
        static_cast<Receiver*>(to)->End(name);
    }
    template <class Receiver>
    static void Text(void* to, XML_Char const* text, int length) {
        static_cast<Receiver*>(to)->Text({text, static_cast<std::size_t>(length)});
    }
};
#endif

#ifdef HAVE_LIBXML2
struct Libxml2Events {
    template <class Receiver>
    static void Read(std::string const& document, Receiver& receiver) {
        xmlSAXHandler handler{};
        handler.initialized = XML_SAX2_MAGIC;
        handler.startElementNs = Start<Receiver>;
        handler.endElementNs = End<Receiver>;
        handler.characters = Text<Receiver>;
        xmlParserCtxtPtr const parser =
            xmlCreatePushParserCtxt(&handler, &receiver, nullptr, 0, nullptr);
        xmlCtxtUseOptions(parser, XML_PARSE_HUGE);
        Inputs::InBlocks(document, [&](std::string_view block) {
            xmlParseChunk(parser, block.data(), static_cast<int>(block.size()), 0);
        });
        xmlParseChunk(parser, nullptr, 0, 1);
        xmlFreeParserCtxt(parser);
    }

private:
    static std::string_view View(xmlChar const* text) {
        return reinterpret_cast<char const*>(text);
    }
    static std::string_view View(xmlChar const* from, xmlChar const* end) {
        return {reinterpret_cast<char const*>(from), static_cast<std::size_t>(end - from)};
    }

    template <class Receiver>
    static void Start(void* to, xmlChar const* name, xmlChar const*, xmlChar const*, int,
                      xmlChar const**, int count, int, xmlChar const** attributes) {
        Receiver& receiver = *static_cast<Receiver*>(to);
        receiver.Start(View(name));
        // Each attribute: name, prefix, namespace, begin and end of the value.
        for (; count > 0; --count, attributes += 5)
            receiver.Attribute(View(attributes[0]), View(attributes[3], attributes[4]));
    }
    template <class Receiver>
    static void End(void* to, xmlChar const* name, xmlChar const*, xmlChar const*) {
        static_cast<Receiver*>(to)->End(View(name));
    }
    template <class Receiver>
    static void Text(void* to, xmlChar const* text, int length) {
        static_cast<Receiver*>(to)->Text(View(text, text + length));
    }
};
#endif
