// Writes an XML document to a LineReceiver, and tracks the open elements.
//
// SimpleXMLParserPL can parse the output: every element gets an end tag. xml/README.md lists the
// differences after such a round trip. Not thread-safe.
#pragma once

#include <cstdint>
#include <vector>

#include "data/ConstData.h"
#include "data/ExceptionPL.h"
#include "strings/ListPL.h"
#include "strings/SmallContainers.h"
#include "strings/StringPL.h"

class LineReceiver;

// An invalid name; the message contains the name up to its first NUL.
class InvalidXMLElementName : public ExceptionPL {
    using ExceptionPL::ExceptionPL;
};
class InvalidXMLAttributeName : public ExceptionPL {
    using ExceptionPL::ExceptionPL;
};

// A writer for one document.
//
// Calling sequence: BeginDocument; any mix of BeginElement, EndElement and content; EndDocument.
// The order is not checked, and the destructor writes nothing: an abandoned document is incomplete.
//
// The receiver is called with views of the arguments, of constants, of the copied element names,
// and of temporaries for escaped bytes. The views are valid only during the call. The writer keeps
// copies of element names only. All positions that it passes are 0. Line feeds in the arguments are
// passed as text, not as line breaks.
//
// Escapes: "<", ">" and "&" are written as &lt; &gt; &amp; in text and attribute values.
// Deliberate: the format of the exchange (docs/exchange.md) depends on these rules:
// - A double quote is escaped, as &quot;, in attribute values only; a single quote is never
//   escaped.
// - Bytes from 0x80 on are escaped in text only, each as one hexadecimal reference. WriteUTF8String
//   does not escape them.
// - Control bytes and line feeds are written unchanged.
//
// Error handling: only names are checked, if `checkNames` is set. Exceptions of the receiver
// propagate, and the writer keeps the state it had at that moment.
class XMLWriterPL {
public:
    // Names and values.
    using AttributeList = ListPL<Pair<StringPL, StringPL>>;

    // The layouts of a document.
    enum : std::uint32_t {
        // A line break and one tab for each enclosing element before each start tag, and before an
        // end tag that follows an end tag.
        XMLFormatTabbed = 0,
        XMLFormatLined = 1, // the same without tabs
        XMLFormatFlat = 2   // line breaks only in comments with a line feed; also for higher values
    };
    struct XMLFormatStyle {
        constexpr XMLFormatStyle(std::uint32_t layout) : number(layout) {}

        std::uint32_t number;
    };

    // For elements without attributes. Not thread-safe, like every ListPL: writers in different
    // threads need lists of their own.
    static AttributeList const emptyAttributeList;

    XMLWriterPL(LineReceiver& lineReceiver, XMLFormatStyle const& formatStyle);

    // Starts the receiver, and writes the XML declaration and the root's start tag. The name of the
    // encoding is written unescaped; nothing is transcoded. Throws like BeginElement, but after the
    // declaration is written.
    void BeginDocument(StringPL const& rootName, AttributeList const& attributes,
                       NullOr<StringPL> const& encoding);

    // Ends all open elements, innermost first, and ends the receiver. Writes no line break at the
    // end.
    void EndDocument();

    // Write a start tag, on a new line except in flat layout. Throw InvalidXMLElementName or
    // InvalidXMLAttributeName, with nothing written, if `checkNames` is set and a name is not
    // valid. A valid name begins with an ASCII letter, "_" or ":". It consists of ASCII letters,
    // ASCII digits, "_", ":", ".", "-" and the byte 0xB7.
    void BeginElement(ConstData name, AttributeList const& attributes);
    void BeginElement(char const* name, AttributeList const& attributes);
    void BeginElement(StringPL const& name, AttributeList const& attributes);

    // Ends the innermost open element. REQUIRES: there is one.
    void EndElement();

    // Write text. After an end tag, it starts on a new line without tabs, except in flat layout.
    void WriteString(ConstData text);
    void WriteString(StringPL const& text);
    void WriteUTF8String(char const* text);

    // Writes a CDATA section. After an end tag, the section starts on a new line, as in
    // WriteString. REQUIRES: no "]]>" in `text`.
    void WriteCDataString(char const* text);

    // Writes a comment, on a new line without tabs, except in flat layout. If there is a line feed
    // after the first byte of `text`, the text is written between two line breaks, in all layouts.
    //
    // Deliberate: the second of two dashes is dropped, because "--" is not allowed in a comment.
    // The byte after it is not examined. So three dashes leave two, which end the comment if ">"
    // follows, and a line feed at that position does not count.
    void WriteComment(StringPL text);

    // Write the text with escapes, and nothing else. The layout of the next call does not take this
    // text into account. With `isUTF8`, bytes from 0x80 on are not escaped.
    void WriteCharacterData(ConstData data, bool isUTF8);
    void WriteAttributeValue(ConstData value);

private:
    enum Written : std::uint32_t { Nothing, StartTag, Content, EndTag };

    inline void CheckNames(ConstData name, AttributeList const& attributes) const;
    inline void Write(ConstData text);
    void WriteAttributes(AttributeList const& begun);
    void WriteRun(char const* from, char const* end);
    void WriteReplacement(char byte);
    void WriteThinned(ConstData comment);
    inline void BreakLine();
    std::size_t WriteTabs(std::size_t tabs);
    inline void OpenTagOnNewLine(std::size_t depth, ConstData opening);
    inline void BeginContent();
    std::size_t Depth() const { return openElements.size() - (keepsClosedName ? 1 : 0); }
    inline void PushName(ConstData name);
    inline void PopName();

    LineReceiver* receiver;
    XMLFormatStyle style;

public:
    // If false, names are written without a check.
    bool checkNames = true;

private:
    // The names of the open elements, outermost first. If `keepsClosedName` is set, the last entry
    // is not open: it is the name closed last, kept for its buffer.
    std::vector<StringPL> openElements;
    Written lastWritten = Nothing;
    bool keepsClosedName = false;
};
