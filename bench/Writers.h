// XML writers with a common interface: BeginRoot, Begin, Element, End, and Finish, which returns
// the document.
//
// All write LF and indent with tabs. Line feeds at the end of a document are removed.
#pragma once

#include <string>
#include <vector>

#include "bench/Inputs.h"
#include "data/LineFlattener.h"
#include "data/StringReceiver.h"
#include "strings/ListPL.h"
#include "strings/SmallContainers.h"
#include "strings/StringPL.h"
#include "xml/XMLWriterPL.h"

#ifdef HAVE_LIBXML2
#include <libxml/xmlwriter.h>
#endif
#ifdef HAVE_PUGIXML
#include <pugixml.hpp>
#endif
#ifdef HAVE_TINYXML2
#include <tinyxml2.h>
#endif

// Writes a response document with these rows.
template <class Writer>
void WriteRows(Writer& writer, std::vector<Inputs::Row> const& rows) {
    writer.BeginRoot("VeskaClientComplianceResponse", "Version", "1.0");
    writer.Element("ResponseType", "Progress");
    for (Inputs::Row const& row : rows) {
        writer.Begin("ResponseItem");
        writer.Element("Designator", row.designator);
        writer.Element("Result", row.result);
        writer.Element("ResultType", row.resultType);
        writer.Element("EvaluationTime", row.evaluationTime);
        writer.Element("Description", row.description);
        writer.Element("Comment", row.comment);
        writer.End();
    }
}

// Writes a document with one element for each text.
template <class Writer>
void WriteTexts(Writer& writer, std::vector<std::string> const& texts) {
    writer.BeginRoot("VeskaClientComplianceResponse", "Version", "1.0");
    for (std::string const& text : texts)
        writer.Element("Comment", text);
}

class OurWriter {
public:
    OurWriter()
        : writer(flattener(LineFlattener::lf, receiver(text)), XMLWriterPL::XMLFormatTabbed) {
        writer.checkNames = false;
    }

    void BeginRoot(char const* name, char const* attribute, char const* value) {
        XMLWriterPL::AttributeList attributes;
        attributes.Append({StringPL(attribute), StringPL(value)});
        writer.BeginDocument(StringPL(name), attributes, NullOr<StringPL>());
    }
    void Begin(char const* name) { writer.BeginElement(name, XMLWriterPL::emptyAttributeList); }
    void Element(char const* name, std::string const& content) {
        writer.BeginElement(name, XMLWriterPL::emptyAttributeList);
        writer.WriteString(ConstData(content));
        writer.EndElement();
    }
    void End() { writer.EndElement(); }
    std::string Finish() {
        writer.EndDocument();
        return std::move(text);
    }

private:
    std::string text;
    StringReceiver receiver;
    LineFlattener flattener;
    XMLWriterPL writer;
};

#ifdef HAVE_LIBXML2
class Libxml2Writer {
public:
    Libxml2Writer() : buffer(xmlBufferCreate()), writer(xmlNewTextWriterMemory(buffer, 0)) {
        xmlTextWriterSetIndent(writer, 1);
        xmlTextWriterSetIndentString(writer, Text("\t"));
    }
    Libxml2Writer(Libxml2Writer const&) = delete;
    Libxml2Writer& operator=(Libxml2Writer const&) = delete;
    ~Libxml2Writer() {
        xmlFreeTextWriter(writer);
        xmlBufferFree(buffer);
    }

    void BeginRoot(char const* name, char const* attribute, char const* value) {
        xmlTextWriterStartDocument(writer, nullptr, nullptr, nullptr);
        xmlTextWriterStartElement(writer, Text(name));
        xmlTextWriterWriteAttribute(writer, Text(attribute), Text(value));
    }
    void Begin(char const* name) { xmlTextWriterStartElement(writer, Text(name)); }
    void Element(char const* name, std::string const& content) {
        xmlTextWriterStartElement(writer, Text(name));
        xmlTextWriterWriteString(writer, Text(content.c_str()));
        xmlTextWriterFullEndElement(writer);
    }
    void End() { xmlTextWriterFullEndElement(writer); }
    // Returns a view of the library's buffer, so that a copy to a string is not timed.
    std::string_view Finish() {
        xmlTextWriterFullEndElement(writer);
        xmlTextWriterEndDocument(writer);
        xmlTextWriterFlush(writer);
        std::string_view text(reinterpret_cast<char const*>(xmlBufferContent(buffer)),
                              static_cast<std::size_t>(xmlBufferLength(buffer)));
        while (text.ends_with('\n'))
            text.remove_suffix(1);
        return text;
    }

private:
    static xmlChar const* Text(char const* text) { return reinterpret_cast<xmlChar const*>(text); }

    xmlBufferPtr buffer;
    xmlTextWriterPtr writer;
};
#endif

#ifdef HAVE_PUGIXML
// Builds and saves a tree, because pugixml has no writer.
class PugixmlWriter {
public:
    void BeginRoot(char const* name, char const* attribute, char const* value) {
        pugi::xml_node declaration = tree.append_child(pugi::node_declaration);
        declaration.append_attribute("version") = "1.0";
        open = tree.append_child(name);
        open.append_attribute(attribute) = value;
    }
    void Begin(char const* name) { open = open.append_child(name); }
    void Element(char const* name, std::string const& content) {
        open.append_child(name).append_child(pugi::node_pcdata).set_value(content.c_str());
    }
    void End() { open = open.parent(); }
    std::string Finish() {
        Sink sink;
        tree.save(sink, "\t", pugi::format_indent | pugi::format_no_empty_element_tags);
        while (sink.text.ends_with('\n'))
            sink.text.pop_back();
        return std::move(sink.text);
    }

private:
    struct Sink : pugi::xml_writer {
        void write(void const* data, std::size_t size) override {
            text.append(static_cast<char const*>(data), size);
        }
        std::string text;
    };

    pugi::xml_document tree;
    pugi::xml_node open;
};
#endif

#ifdef HAVE_TINYXML2
class Tinyxml2Writer {
public:
    void BeginRoot(char const* name, char const* attribute, char const* value) {
        printer.PushDeclaration("xml version=\"1.0\"");
        printer.OpenElement(name);
        printer.PushAttribute(attribute, value);
    }
    void Begin(char const* name) { printer.OpenElement(name); }
    void Element(char const* name, std::string const& content) {
        printer.OpenElement(name);
        printer.PushText(content.c_str());
        printer.CloseElement();
    }
    void End() { printer.CloseElement(); }
    std::string_view Finish() {
        printer.CloseElement();
        std::string_view text(printer.CStr(), static_cast<std::size_t>(printer.CStrSize() - 1));
        while (text.ends_with('\n'))
            text.remove_suffix(1);
        return text;
    }

private:
    // Indents with a tab per level. The default is four spaces.
    struct TabPrinter : tinyxml2::XMLPrinter {
        void PrintSpace(int depth) override {
            for (; depth > 0; --depth)
                Write("\t", 1);
        }
    };

    TabPrinter printer;
};
#endif
