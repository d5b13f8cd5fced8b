// Writes an XML document as a sequence of calls, and keeps the stack of open elements itself.
//
// The output is text and breaks for a LineReceiver, which decides what a break is. What is written
// is what SimpleXMLParserPL can read back: every element gets an end tag of its own. One thread.
#pragma once

#include <cstdint>
#include <vector>

#include "data/ConstData.h"
#include "data/ExceptionPL.h"
#include "strings/ListPL.h"
#include "strings/SmallContainers.h"
#include "strings/StringPL.h"

class LineReceiver;

// A name that XMLWriterPL refused; the text tells which.
class InvalidXMLElementName : public ExceptionPL {
    using ExceptionPL::ExceptionPL;
};
class InvalidXMLAttributeName : public ExceptionPL {
    using ExceptionPL::ExceptionPL;
};

// A writer for one document.
//
// Calling sequence: BeginDocument; any mix of BeginElement, EndElement and content; EndDocument.
// Nothing enforces it, and nothing is written by the destructor: an abandoned document stays
// unfinished.
//
// All text goes to the receiver as views of the arguments, in runs between the bytes that are
// replaced; only element names are copied.
//
// Escapes. "<", ">" and "&" are written as &lt; &gt; &amp; everywhere. Deliberate: a double quote
// is replaced, by &quot;, only in attribute values, a single quote nowhere, and bytes of 0x80 and
// above only by WriteString, each by a hexadecimal reference of its own. Control bytes and line
// feeds go out as they are.
//
// Error handling: names are checked, as far as `checkNames` asks for it, and nothing else is. What
// the receiver throws passes through, and the writer stays as it was at that moment.
class XMLWriterPL {
public:
    // By name and value.
    using AttributeList = ListPL<Pair<StringPL, StringPL>>;

    // How a document is laid out.
    enum : std::uint32_t {
        // A break and one tab for each open element before each start tag, and before an end tag
        // that follows an end tag.
        XMLFormatTabbed = 0,
        XMLFormatLined = 1, // the same without tabs
        XMLFormatFlat = 2   // no break, but in a comment that has a line feed; so is all above
    };
    struct XMLFormatStyle {
        constexpr XMLFormatStyle(std::uint32_t layout) : number(layout) {}

        std::uint32_t number;
    };

    // For elements without attributes. It stays empty, so all writers can share it.
    static AttributeList const emptyAttributeList;

    XMLWriterPL(LineReceiver& lineReceiver, XMLFormatStyle const& formatStyle);

    // Starts the receiver, and writes the XML declaration and the root's start tag. The encoding is
    // only named, and goes out as it is.
    void BeginDocument(StringPL const& rootName, AttributeList const& attributes,
                       NullOr<StringPL> const& encoding);

    // Closes all open elements, innermost first, and ends the receiver. No break follows.
    void EndDocument();

    // Throw InvalidXMLElementName or InvalidXMLAttributeName, with nothing written, if `checkNames`
    // is set and a name is not valid. A name is valid if it begins with an ASCII letter, "_" or
    // ":", and goes on with these, ASCII digits, ".", "-" and the byte 0xB7.
    void BeginElement(ConstData name, AttributeList const& attributes);
    void BeginElement(char const* name, AttributeList const& attributes);
    void BeginElement(StringPL const& name, AttributeList const& attributes);

    // Ends the innermost open element. REQUIRES: there is one.
    void EndElement();

    // Text. Behind an end tag it begins on a line of its own, at the margin, except in the flat
    // styles.
    void WriteString(ConstData text);
    void WriteString(StringPL const& text);
    void WriteUTF8String(char const* text);

    // A section, with a break before it as for text. REQUIRES: no "]]>" in `text`.
    void WriteCDataString(char const* text);

    // A comment, on a line of its own except in the flat styles. If a line feed is found behind its
    // first byte, its text stands between two breaks, in all styles.
    //
    // Deliberate: a dash behind a dash is left out, and the byte behind it is not looked at. So
    // runs of dashes are thinned, but three still leave two; and a line feed there is not found.
    void WriteComment(StringPL text);

    // The escaping alone. `isUTF8` leaves bytes of 0x80 and above as they are.
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
    // Cleared by who writes names that need no check, or that would not pass it.
    bool checkNames = true;

private:
    std::vector<StringPL> openElements; // outermost first, and perhaps one closed name behind them
    Written lastWritten = Nothing;
    bool keepsClosedName = false;
};
