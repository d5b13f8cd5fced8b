// A small, lenient XML parser that reports events.
//
// For documents of known structure. Not a conforming processor: it reports no errors, validates
// nothing, and has no support for namespaces, DOCTYPE or encodings. Not thread-safe.
#pragma once

#include <string>
#include <vector>

#include "xml/XMLHandler.h"

// Parses a document in chunks. The events are independent of how the input is split.
//
// Calling sequence: call Parse for each chunk. There is no call for the end of a document: text and
// tags that are incomplete at the end of the input are not reported, and the handler decides
// whether the document was complete. Another document may follow one that ended with a tag.
//
// Deliberate differences from the XML standard:
// - Whitespace in a tag is the space alone; spaces before its name are skipped. Tab, CR and LF are
//   ordinary bytes there and become part of names. In text, whitespace and line ends are kept
//   unchanged.
// - Text is reported in several calls: one for each run between tags, comments, CDATA sections and
//   escapes, one for each CDATA section that is not empty, and one for each escape.
// - A slash in the name of a tag makes it an end tag. Its name is the bytes before the slash and
//   all bytes between the slash and ">", including spaces. End tags are not matched with start
//   tags. So "<a/>" is only an end tag, and every element needs an end tag of its own. After an
//   attribute, or a space after the name, a slash is part of an attribute name.
// - An attribute name is all bytes up to the next "=" after its first byte, which may itself be
//   "=". Bytes between "=" and the quote are skipped.
// - In the name of any tag, except after a slash, the first dash is dropped. A second one begins a
//   comment, even if other bytes are between the dashes.
// - A comment ends at a ">" directly after two or more dashes, not counting the opening ones.
// - "?" is skipped in a tag, except in names and values. A tag whose name begins with "?" is a
//   processing instruction, unless a slash makes it an end tag. A tag with a name such as
//   "!DOCTYPE" is a start tag.
// - In a CDATA section, NUL bytes are dropped.
// - Escapes: &lt; &gt; &amp; &quot; and hexadecimal references up to 0xFF, written with a small x.
//   A reference denotes one byte, not a code point. strtol reads its digits: bytes after them are
//   ignored, and a reference without digits is a NUL byte. The number is truncated to 32 bits,
//   signed, before the comparison with 0xFF, so a negative or huge number can also denote a byte.
//   Every other escape is kept as written. An escape ends at the next semicolon, even if tags and
//   quotes are before it.
//
// Error handling: no input is an error. Exceptions of the handler and std::bad_alloc propagate from
// Parse; the rest of the chunk is lost. A transition that throws does not change the state.
class SimpleXMLParserPL : public XMLHandler {
public:
    // Reports the events to its own virtual functions, which a derived class overrides.
    SimpleXMLParserPL();

    // Reports the events to `receiver`, which must outlive the parser.
    explicit SimpleXMLParserPL(XMLHandler& receiver);

    SimpleXMLParserPL(SimpleXMLParserPL const&) = delete;
    SimpleXMLParserPL& operator=(SimpleXMLParserPL const&) = delete;

    ~SimpleXMLParserPL() override;

    // Parse the next chunk. The internal strings are reused, so memory is allocated only when they
    // grow.
    void Parse(char const* bytes, unsigned int count);
    void Parse(std::string const& text);

    // Do nothing.
    void StartElement(std::string const& name,
                      std::vector<XMLAttribute const*> const& attributes) override;
    void EndElement(std::string const& name) override;
    void Characters(std::string const& text) override;

private:
    enum State : unsigned int {
        InCharacterData,   // between tags, and at the start
        InEscape,          // after an ampersand in text
        InElementName,     // after "<"
        InEndElementName,  // after "/" in the name
        BetweenAttributes, // in a tag, before an attribute name
        InAttributeName,
        BeforeAttributeValue, // after "=", up to a quote
        InAttributeValue,
        InAttributeEscape, // after an ampersand in a value
        InComment,
        InCData
    };

    // Performs the action for leaving the current state, then that for entering `next`. The state
    // changes last, so an exception does not change it.
    inline void TransitionState(State next);

    // Returns the text of the current escape, valid until the next one.
    std::string const& DecodeEscapeString();

    void ParseRange(char const* from, char const* end);

    // Consume bytes of one state, at most up to and including the byte that leaves the state.
    // Return the first byte not consumed. REQUIRES: `from` is not `end`.
    inline char const* ReadCharacterData(char const* from, char const* end);
    char const* ReadEscape(char const* from, char const* end, State outer);
    inline char const* ReadElementName(char const* from, char const* end);
    inline char const* ReadEndElementName(char const* from, char const* end);
    char const* ReadBetweenAttributes(char const* from, char const* end);
    char const* ReadAttributeName(char const* from, char const* end);
    char const* ReadBeforeAttributeValue(char const* from, char const* end);
    char const* ReadAttributeValue(char const* from, char const* end);
    char const* ReadComment(char const* from, char const* end);
    char const* ReadCData(char const* from, char const* end);

    inline bool MayOpenSection(char next) const;
    char const* EndOfSectionOpening(char const* from, char const* end) const;
    void OpenSection();
    bool SectionEndsHere(char const* from, char const* stop) const;
    void TakeSectionBytes(char const* from, char const* end);

    inline void TransitionFrom(State current, State next);
    inline void Leave(State current, State next);
    inline void Enter(State next);
    void DeliverText();
    void DeliverTag();
    void PrepareAttribute();

    State currentState = InCharacterData;

    // Transitions set these four characters, and the two pointers and two counters below, before
    // they are read.
    char currentCharacter; // the byte that left BetweenAttributes
    // In a CDATA section: the last byte and the one before it, held back because they may belong to
    // "]]>". 0 means that there is none.
    char previousCharacter;
    char earlierCharacter;
    char attributeQuote;

    std::string characterData;
    std::string escapeString; // from its ampersand on
    std::string elementName;

    std::vector<XMLAttribute const*> attributePointers;
    std::vector<XMLAttribute> attributeStorage; // reused from tag to tag, never shrunk
    std::string* currentAttributeName;          // both point into the current entry
    std::string* currentAttributeValue;
    unsigned int attributeCount; // complete attributes of the current tag

    int dashCount; // in a name or a comment; at most 2
    XMLHandler* handler;
};
