// Parsers that build a tree, with a common interface: the constructor parses a document, the
// destructor frees the tree, and Describe writes the tree as text.
//
// The text omits differences between the libraries. It has names, attributes and the texts of
// elements without children, because pugixml and tinyxml2 discard whitespace between elements. It
// has no CR, because conforming parsers read CR LF as LF.
#pragma once

#include <string>
#include <string_view>

#include "bench/Inputs.h"
#include "xml/XMLElementPL.h"
#include "xml/XMLTreeParserPL.h"

#ifdef HAVE_LIBXML2
#include <libxml/parser.h>
#include <libxml/tree.h>
#endif
#ifdef HAVE_PUGIXML
#include <pugixml.hpp>
#endif
#ifdef HAVE_TINYXML2
#include <tinyxml2.h>
#endif

class TreeText {
public:
    void Begin(std::string_view name) { text.append("\n<").append(name); }
    void Attribute(std::string_view name, std::string_view value) {
        text.append("\n ").append(name).append("=").append(value);
    }
    void Leaf(std::string_view content) {
        text += '\n';
        for (char byte : content) {
            if (byte != '\r')
                text += byte;
        }
    }
    void End() { text += "\n/"; }

    std::string const& Text() const { return text; }

private:
    std::string text;
};

class OurTree {
public:
    explicit OurTree(std::string const& document) {
        Inputs::InBlocks(document, [&](std::string_view block) {
            parser.Parse(block.data(), static_cast<unsigned int>(block.size()));
        });
    }

    bool IsComplete() const {
        return !parser.HasOpenElements() && parser.GetRootElement() != nullptr;
    }

    // XMLElementPL does not list the names of attributes. The documents have only one, Version.
    void Describe(TreeText& text) const { Describe(*parser.GetRootElement(), text); }

private:
    static void Describe(XMLElementPL const& element, TreeText& text) {
        text.Begin(element.GetName());
        if (element.HasAttribute("Version"))
            text.Attribute("Version", element.GetAttribute("Version"));
        for (XMLElementPL const& child : element.GetElementList())
            Describe(child, text);
        if (element.GetElementList().empty())
            text.Leaf(element.GetText());
        text.End();
    }

    XMLTreeParserPL parser;
};

#ifdef HAVE_LIBXML2
class Libxml2Tree {
public:
    explicit Libxml2Tree(std::string const& document)
        : parser(xmlCreatePushParserCtxt(nullptr, nullptr, nullptr, 0, nullptr)) {
        xmlCtxtUseOptions(parser, XML_PARSE_HUGE);
        Inputs::InBlocks(document, [&](std::string_view block) {
            xmlParseChunk(parser, block.data(), static_cast<int>(block.size()), 0);
        });
        xmlParseChunk(parser, nullptr, 0, 1);
    }
    Libxml2Tree(Libxml2Tree const&) = delete;
    Libxml2Tree& operator=(Libxml2Tree const&) = delete;
    ~Libxml2Tree() {
        xmlFreeDoc(parser->myDoc);
        xmlFreeParserCtxt(parser);
    }

    bool IsComplete() const { return parser->wellFormed == 1; }

    void Describe(TreeText& text) const { Describe(xmlDocGetRootElement(parser->myDoc), text); }

private:
    static std::string_view View(xmlChar const* text) {
        return text == nullptr ? std::string_view() : reinterpret_cast<char const*>(text);
    }

    static void Describe(xmlNodePtr element, TreeText& text) {
        text.Begin(View(element->name));
        for (xmlAttrPtr attribute = element->properties; attribute; attribute = attribute->next)
            text.Attribute(View(attribute->name), View(attribute->children->content));
        bool isLeaf = true;
        for (xmlNodePtr child = element->children; child != nullptr; child = child->next) {
            if (child->type == XML_ELEMENT_NODE) {
                isLeaf = false;
                Describe(child, text);
            }
        }
        if (isLeaf) {
            xmlChar* const content = xmlNodeGetContent(element);
            text.Leaf(View(content));
            xmlFree(content);
        }
        text.End();
    }

    xmlParserCtxtPtr parser;
};
#endif

#ifdef HAVE_PUGIXML
// Parses the document at once, because pugixml cannot parse chunks.
class PugixmlTree {
public:
    explicit PugixmlTree(std::string const& document)
        : isComplete(tree.load_buffer(document.data(), document.size())) {}

    bool IsComplete() const { return isComplete; }

    void Describe(TreeText& text) const { Describe(tree.document_element(), text); }

private:
    static void Describe(pugi::xml_node element, TreeText& text) {
        text.Begin(element.name());
        for (pugi::xml_attribute attribute : element.attributes())
            text.Attribute(attribute.name(), attribute.value());
        bool isLeaf = true;
        for (pugi::xml_node child : element.children()) {
            if (child.type() == pugi::node_element) {
                isLeaf = false;
                Describe(child, text);
            }
        }
        if (isLeaf)
            text.Leaf(element.text().get());
        text.End();
    }

    pugi::xml_document tree;
    bool isComplete;
};
#endif

#ifdef HAVE_TINYXML2
// Parses the document at once, because tinyxml2 cannot parse chunks.
class Tinyxml2Tree {
public:
    explicit Tinyxml2Tree(std::string const& document)
        : isComplete(tree.Parse(document.data(), document.size()) == tinyxml2::XML_SUCCESS) {}

    bool IsComplete() const { return isComplete; }

    void Describe(TreeText& text) const { Describe(*tree.RootElement(), text); }

private:
    static void Describe(tinyxml2::XMLElement const& element, TreeText& text) {
        text.Begin(element.Name());
        for (auto const* attribute = element.FirstAttribute(); attribute != nullptr;
             attribute = attribute->Next())
            text.Attribute(attribute->Name(), attribute->Value());
        for (auto const* child = element.FirstChildElement(); child != nullptr;
             child = child->NextSiblingElement())
            Describe(*child, text);
        if (element.FirstChildElement() == nullptr)
            text.Leaf(element.GetText() == nullptr ? "" : element.GetText());
        text.End();
    }

    tinyxml2::XMLDocument tree;
    bool isComplete;
};
#endif
