#include "xml/SimpleXMLParserPL.h"

#include <cstdlib>
#include <string_view>

#include "xml/AppendUntil.h"

namespace {

constexpr std::string_view sectionOpening = "![CDATA[";

void AppendRun(std::string& target, char const* from, char const* end) {
    if (from != end)
        target.append(from, static_cast<std::size_t>(end - from));
}

void AppendWithoutNuls(std::string& target, char const* from, char const* end) {
    while (from != end) {
        char const* const stop = Simd::FindByte(from, end, '\0');
        AppendRun(target, from, stop);
        from = stop == end ? end : stop + 1;
    }
}

// The byte that a hexadecimal reference stands for is the low 8 bits of its number, unless the
// number is greater than 255.
//
// Deliberate: strtol reads it, with all that it accepts, and the result is cut to 32 bits first, so
// that a huge number or a negative one gives a byte too.
bool DecodeReference(char const* digits, char& byte) {
    int const number = static_cast<int>(std::strtol(digits, nullptr, 16));
    byte = static_cast<char>(number);
    return number <= 255;
}

} // namespace

SimpleXMLParserPL::SimpleXMLParserPL() : handler(this) {}

SimpleXMLParserPL::SimpleXMLParserPL(XMLHandler& receiver) : handler(&receiver) {}

SimpleXMLParserPL::~SimpleXMLParserPL() = default;

void SimpleXMLParserPL::StartElement(std::string const&, std::vector<XMLAttribute const*> const&) {}

void SimpleXMLParserPL::EndElement(std::string const&) {}

void SimpleXMLParserPL::Characters(std::string const&) {}

void SimpleXMLParserPL::Parse(char const* bytes, unsigned int count) {
    ParseRange(bytes, bytes + count);
}

void SimpleXMLParserPL::Parse(std::string const& text) {
    ParseRange(text.data(), text.data() + text.size());
}

// Each operation below knows the state that it is called in, and passes it: the compiler then lays
// out its transitions without a branch on the state, which saves 6 % of the instructions.
inline void SimpleXMLParserPL::TransitionFrom(State current, State next) {
    Leave(current, next);
    Enter(next);
    currentState = next;
}

inline void SimpleXMLParserPL::TransitionState(State next) { TransitionFrom(currentState, next); }

inline void SimpleXMLParserPL::Leave(State current, State next) {
    switch (current) { // GCOVR_EXCL_BR_LINE: there is no other state
    case InCharacterData:
    case InCData:
        DeliverText();
        break;
    case InEscape:
        escapeString += ';';
        handler->Characters(DecodeEscapeString());
        break;
    case InElementName:
    case BetweenAttributes:
        if (next == InCharacterData)
            DeliverTag();
        break;
    case InEndElementName: // which nothing but character data follows
        handler->EndElement(elementName);
        break;
    case InAttributeValue:
        if (next != InAttributeEscape)
            ++attributeCount;
        break;
    case InAttributeEscape:
        escapeString += ';';
        *currentAttributeValue += DecodeEscapeString();
        break;
    case InAttributeName:
    case BeforeAttributeValue:
    case InComment:
        break;
    }
}

inline void SimpleXMLParserPL::Enter(State next) {
    switch (next) { // GCOVR_EXCL_BR_LINE: there is no other state
    case InEscape:
    case InAttributeEscape:
        escapeString = '&';
        break;
    case InElementName:
        dashCount = 0;
        elementName.clear();
        attributeCount = 0;
        break;
    case BetweenAttributes:
        PrepareAttribute();
        break;
    case InAttributeName:
        *currentAttributeName += currentCharacter;
        break;
    case InComment:
        dashCount = 0;
        break;
    case InCharacterData:
    case InEndElementName:
    case BeforeAttributeValue:
    case InAttributeValue:
    case InCData:
        break;
    }
}

// This operation and the next two, in which a document spends its time, are laid into the loop of
// ParseRange: for short runs a call costs as much as the work.
inline char const* SimpleXMLParserPL::ReadCharacterData(char const* from, char const* end) {
    char const* const stop = AppendUntil<64>(characterData, from, end, '<', '&');
    if (stop == end)
        return end;
    if (*stop == '<')
        TransitionFrom(InCharacterData, InElementName);
    else
        TransitionFrom(InCharacterData, InEscape);
    return stop + 1;
}

inline char const* SimpleXMLParserPL::ReadElementName(char const* from, char const* end) {
    if (*from == '/') {
        TransitionFrom(InElementName, InEndElementName);
        return from + 1;
    }
    if (MayOpenSection(*from)) {
        if (char const* const opened = EndOfSectionOpening(from, end)) {
            OpenSection();
            return opened;
        }
    }
    char const* const stop = AppendUntil<16>(elementName, from, end, ' ', '/', '>', '-');
    if (stop == end)
        return end;
    switch (*stop) { // GCOVR_EXCL_BR_LINE: it stops at these four only
    case ' ':
        if (!elementName.empty())
            TransitionFrom(InElementName, BetweenAttributes);
        break;
    case '/':
        TransitionFrom(InElementName, InEndElementName);
        break;
    case '>':
        TransitionFrom(InElementName, InCharacterData);
        break;
    case '-':
        if (++dashCount >= 2)
            TransitionFrom(InElementName, InComment);
        break;
    }
    return stop + 1;
}

// Whether the name that goes on with `next` begins as a CDATA section does. Hardly any other does.
inline bool SimpleXMLParserPL::MayOpenSection(char next) const {
    return (elementName.empty() ? next : elementName.front()) == sectionOpening.front();
}

inline char const* SimpleXMLParserPL::ReadEndElementName(char const* from, char const* end) {
    char const* const stop = AppendUntil<16>(elementName, from, end, '>');
    if (stop == end)
        return end;
    TransitionFrom(InEndElementName, InCharacterData);
    return stop + 1;
}

void SimpleXMLParserPL::ParseRange(char const* from, char const* end) {
    while (from != end) {
        switch (currentState) { // GCOVR_EXCL_BR_LINE: there is no other state
        case InCharacterData:
            from = ReadCharacterData(from, end);
            break;
        case InEscape:
            from = ReadEscape(from, end, InCharacterData);
            break;
        case InElementName:
            from = ReadElementName(from, end);
            break;
        case InEndElementName:
            from = ReadEndElementName(from, end);
            break;
        case BetweenAttributes:
            from = ReadBetweenAttributes(from, end);
            break;
        case InAttributeName:
            from = ReadAttributeName(from, end);
            break;
        case BeforeAttributeValue:
            from = ReadBeforeAttributeValue(from, end);
            break;
        case InAttributeValue:
            from = ReadAttributeValue(from, end);
            break;
        case InAttributeEscape:
            from = ReadEscape(from, end, InAttributeValue);
            break;
        case InComment:
            from = ReadComment(from, end);
            break;
        case InCData:
            from = ReadCData(from, end);
            break;
        }
    }
}

char const* SimpleXMLParserPL::ReadEscape(char const* from, char const* end, State outer) {
    char const* const stop = Simd::FindByte(from, end, ';');
    AppendRun(escapeString, from, stop);
    if (stop == end)
        return end;
    TransitionState(outer);
    return stop + 1;
}

// Where a section begins in a run of name bytes, or null. The bytes of its opening may have come in
// several runs, with a dropped dash between them.
char const* SimpleXMLParserPL::EndOfSectionOpening(char const* from, char const* end) const {
    std::size_t const known = elementName.size();
    if (known >= sectionOpening.size())
        return nullptr;
    std::string_view const missing = sectionOpening.substr(known);
    if (elementName != sectionOpening.substr(0, known) ||
        !std::string_view(from, static_cast<std::size_t>(end - from)).starts_with(missing))
        return nullptr;
    return from + missing.size();
}

void SimpleXMLParserPL::OpenSection() {
    previousCharacter = 0;
    earlierCharacter = 0;
    TransitionFrom(InElementName, InCData);
}

char const* SimpleXMLParserPL::ReadBetweenAttributes(char const* from, char const* end) {
    while (*from == ' ' || *from == '?') {
        if (++from == end)
            return end;
    }
    currentCharacter = *from;
    TransitionFrom(BetweenAttributes, *from == '>' ? InCharacterData : InAttributeName);
    return from + 1;
}

char const* SimpleXMLParserPL::ReadAttributeName(char const* from, char const* end) {
    char const* const stop = Simd::FindByte(from, end, '=');
    AppendRun(*currentAttributeName, from, stop);
    if (stop == end)
        return end;
    TransitionFrom(InAttributeName, BeforeAttributeValue);
    return stop + 1;
}

char const* SimpleXMLParserPL::ReadBeforeAttributeValue(char const* from, char const* end) {
    char const* const stop = Simd::FindByte(from, end, '"', '\'');
    if (stop == end)
        return end;
    attributeQuote = *stop;
    TransitionFrom(BeforeAttributeValue, InAttributeValue);
    return stop + 1;
}

char const* SimpleXMLParserPL::ReadAttributeValue(char const* from, char const* end) {
    char const* const stop = Simd::FindByte(from, end, attributeQuote, '&');
    AppendRun(*currentAttributeValue, from, stop);
    if (stop == end)
        return end;
    TransitionFrom(InAttributeValue, *stop == '&' ? InAttributeEscape : BetweenAttributes);
    return stop + 1;
}

char const* SimpleXMLParserPL::ReadComment(char const* from, char const* end) {
    while (from != end) {
        if (dashCount == 0) {
            from = Simd::FindByte(from, end, '-');
            if (from == end)
                break;
        }
        char const byte = *from++;
        if (byte == '-') {
            if (dashCount < 2)
                ++dashCount;
        } else if (byte == '>' && dashCount >= 2) {
            TransitionFrom(InComment, InCharacterData);
            break;
        } else {
            dashCount = 0;
        }
    }
    return from;
}

char const* SimpleXMLParserPL::ReadCData(char const* from, char const* end) {
    char const* stop = Simd::FindByte(from, end, '>');
    while (stop != end && !SectionEndsHere(from, stop))
        stop = Simd::FindByte(stop + 1, end, '>');
    TakeSectionBytes(from, stop);
    if (stop == end)
        return end;
    TransitionFrom(InCData, InCharacterData);
    return stop + 1;
}

// Whether the two bytes before `stop` are "]]". Those before `from` are the two that wait.
bool SimpleXMLParserPL::SectionEndsHere(char const* from, char const* stop) const {
    char const previous = stop - from >= 1 ? stop[-1] : previousCharacter;
    char const earlier = stop - from >= 2   ? stop[-2]
                         : stop - from == 1 ? previousCharacter
                                            : earlierCharacter;
    return previous == ']' && earlier == ']';
}

// Moves bytes through the two places in which the last ones wait. A NUL among them is dropped,
// since it stands for an empty place.
void SimpleXMLParserPL::TakeSectionBytes(char const* from, char const* end) {
    if (end - from >= 2) {
        char const waiting[] = {earlierCharacter, previousCharacter};
        AppendWithoutNuls(characterData, waiting, waiting + 2);
        AppendWithoutNuls(characterData, from, end - 2);
        earlierCharacter = end[-2];
        previousCharacter = end[-1];
    } else if (from != end) {
        AppendWithoutNuls(characterData, &earlierCharacter, &earlierCharacter + 1);
        earlierCharacter = previousCharacter;
        previousCharacter = *from;
    }
}

void SimpleXMLParserPL::DeliverText() {
    if (characterData.empty())
        return;
    handler->Characters(characterData);
    characterData.clear();
}

void SimpleXMLParserPL::DeliverTag() {
    attributePointers.clear();
    for (unsigned int index = 0; index < attributeCount; ++index)
        attributePointers.push_back(&attributeStorage[index]);
    if (elementName.starts_with('?'))
        handler->DoProcessingInstructionElement(elementName, attributePointers);
    else
        handler->StartElement(elementName, attributePointers);
}

// Readies the entry behind the complete ones. One is always ready, and so the last is not
// delivered.
void SimpleXMLParserPL::PrepareAttribute() {
    if (attributeStorage.size() <= attributeCount)
        attributeStorage.resize(attributeCount + std::size_t{1});
    XMLAttribute& entry = attributeStorage[attributeCount];
    currentAttributeName = &entry.first;
    currentAttributeValue = &entry.second;
    currentAttributeName->clear();
    currentAttributeValue->clear();
}

std::string const& SimpleXMLParserPL::DecodeEscapeString() {
    static std::string const less = "<";
    static std::string const greater = ">";
    static std::string const ampersand = "&";
    static std::string const quote = "\"";
    if (escapeString == "&lt;")
        return less;
    if (escapeString == "&gt;")
        return greater;
    if (escapeString == "&amp;")
        return ampersand;
    if (escapeString == "&quot;")
        return quote;
    // The first byte is no ampersand where a handler has refused the event of another reference.
    bool const isReference = escapeString.compare(1, 2, "#x") == 0;
    char byte;
    if (isReference && DecodeReference(escapeString.c_str() + 3, byte))
        escapeString = byte;
    return escapeString;
}
