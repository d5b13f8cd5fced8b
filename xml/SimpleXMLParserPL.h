// A small, lenient reader of XML: bytes in, events out.
//
// It is made for documents whose shape the reader knows, and is no conforming processor: it reports
// no error, checks nothing, and knows no namespaces, no DOCTYPE and no encoding. Whatever does not
// fit is absorbed by the rules below. One thread.
#pragma once

#include <string>
#include <vector>

#include "xml/XMLHandler.h"

// Reads a document in pieces of any size; where it is cut makes no difference to the events.
//
// Calling sequence: Parse, as often as there are bytes. Nothing ends a document: text and tags that
// are still open when the bytes end are never delivered, and only the handler can tell whether the
// document was complete. After one that ended behind a tag, another one may follow.
//
// What becomes of the input, where it is not as elsewhere. All of it is deliberate:
// - White space in a tag is the blank alone. Tab, CR and LF there are ordinary bytes, so they
//   become part of names. In text all white space is kept, and no line end is changed.
// - Text arrives in several calls: one for each stretch between tags, escapes and CDATA sections,
//   and one for each escape.
// - An end tag is the bytes after its slash up to ">", blanks too. Nothing is matched with a start
//   tag. "<a/>" is an end tag only; behind a blank or an attribute the slash is part of an
//   attribute name. Documents for this reader give every element an end tag of its own.
// - Attribute names run to the next "=", over everything; what follows is skipped up to a quote.
// - In a start tag's name a single dash is dropped, and a second one begins a comment.
// - A comment ends with ">" straight behind two or more dashes, not counting those that opened it.
// - "?" before an attribute is skipped. A name that begins with "?" makes an instruction, and one
//   such as "!DOCTYPE" an element.
// - In a CDATA section NUL bytes are dropped.
// - Escapes: &lt; &gt; &amp; &quot; and hexadecimal references up to 0xFF, written with a small x.
//   A reference gives one byte, not a character. Every other escape stays as it was written, and
//   one with no semicolon lasts until the next semicolon, over tags and quotes.
//
// Error handling: nothing in the input is an error. What a handler throws, and std::bad_alloc,
// passes through Parse; the rest of those bytes is lost, and the reader stays in the state that it
// was about to leave.
class SimpleXMLParserPL : public XMLHandler {
public:
    // The events go to the parser's own operations, which a subclass overrides.
    SimpleXMLParserPL();

    // The events go to `receiver`.
    explicit SimpleXMLParserPL(XMLHandler& receiver);

    SimpleXMLParserPL(SimpleXMLParserPL const&) = delete;
    SimpleXMLParserPL& operator=(SimpleXMLParserPL const&) = delete;

    ~SimpleXMLParserPL() override;

    // Reads the next bytes of the document. Allocates nothing once its strings have grown to what
    // the document holds.
    void Parse(char const* bytes, unsigned int count);
    void Parse(std::string const& text);

    // These do nothing.
    void StartElement(std::string const& name,
                      std::vector<XMLAttribute const*> const& attributes) override;
    void EndElement(std::string const& name) override;
    void Characters(std::string const& text) override;

private:
    enum State : unsigned int {
        InCharacterData,   // between tags, and at the start
        InEscape,          // after an ampersand in text
        InElementName,     // after "<"
        InEndElementName,  // after "/" where the name is read
        BetweenAttributes, // in a tag, before an attribute name
        InAttributeName,
        BeforeAttributeValue, // after "=", up to a quote
        InAttributeValue,
        InAttributeEscape, // after an ampersand in a value
        InComment,
        InCData
    };

    // One step of the machine: the action of leaving the current state for `next`, then that of
    // entering `next`. The state changes last, so an exception leaves it as it was.
    inline void TransitionState(State next);

    // What the gathered escape stands for. Valid until the next escape.
    std::string const& DecodeEscapeString();

    void ParseRange(char const* from, char const* end);

    // Each takes the bytes of one state, from the first one (there is one) to the byte that leaves
    // the state, that byte included, or to the end. Yields where it stopped.
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

    // These four, the two pointers and the two counters are set by the transitions before they are
    // read.
    char currentCharacter;  // the byte that brought about the transition
    char previousCharacter; // in a CDATA section: the last byte and the one before it, which wait
    char earlierCharacter;  // until it is known that they do not belong to "]]>"; 0 for none
    char attributeQuote;

    std::string characterData;
    std::string escapeString; // from its ampersand on
    std::string elementName;

    std::vector<XMLAttribute const*> attributePointers;
    std::vector<XMLAttribute> attributeStorage; // reused from tag to tag, never shrunk
    std::string* currentAttributeName;          // both in the entry that is being filled
    std::string* currentAttributeValue;
    unsigned int attributeCount; // complete ones, in the current tag

    int dashCount; // in a name or a comment; stays at 2, where the number no longer matters
    XMLHandler* handler;
};
