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

// Sets `byte` to the low 8 bits of a hexadecimal number. Returns false if the number is greater
// than 255.
//
// Deliberate: accepts everything that strtol accepts, and truncates the result to 32 bits before
// the comparison. So a huge or a negative number can also result in a byte. Stricter rules would
// change the texts that the tool prints for the responses of existing agents.
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

// Each operation below except ReadEscape passes the state in which it is called, so the compiler
// generates its transitions without a branch on the state. This saves 6 % of the instructions.
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
    case InEndElementName: // only InCharacterData follows
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

// ReadCharacterData, ReadElementName and ReadEndElementName take most of the time of a parse. They
// are inline in the loop of ParseRange, because a call costs as much as the work on a short run.
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

// True if the name, whose next byte is `next`, may begin a CDATA section. Few names do.
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

// Returns the end of the opening of a CDATA section, or null if the name and the bytes from `from`
// on do not form one. A chunk boundary or a dropped dash may split the opening.
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

// True if the two bytes before `stop` are "]]". Those before `from` are the two bytes held back.
bool SimpleXMLParserPL::SectionEndsHere(char const* from, char const* stop) const {
    char const previous = stop - from >= 1 ? stop[-1] : previousCharacter;
    char const earlier = stop - from >= 2   ? stop[-2]
                         : stop - from == 1 ? previousCharacter
                                            : earlierCharacter;
    return previous == ']' && earlier == ']';
}

// Holds back the last two bytes and appends the bytes before them to the text. NUL bytes are
// dropped, because 0 means that no byte is held back.
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

// Clears the entry after the complete attributes, which the next attribute fills. DeliverTag does
// not report this entry.
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
    // Compares from the second byte on. The first byte is not an ampersand if the handler threw at
    // the previous reference: the string then begins with the byte of that reference.
    bool const isReference = escapeString.compare(1, 2, "#x") == 0;
    char byte;
    if (isReference && DecodeReference(escapeString.c_str() + 3, byte))
        escapeString = byte;
    return escapeString;
}
