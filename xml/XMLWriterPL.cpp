#include "xml/XMLWriterPL.h"

#include <algorithm>
#include <limits>
#include <string_view>

#include "data/Ascii.h"
#include "data/LineReceiver.h"
#include "data/MakeAsciiNumeral.h"
#include "simd/FindByte.h"

namespace {

using namespace Ascii::Sets;

// Enough tabs for most documents, followed by "</", which begins with the other opening, "<".
constexpr std::string_view tabsAndOpening = "\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t</";
constexpr std::size_t maxTabs = tabsAndOpening.size() - 2;

constexpr AsciiSet nameBegin = alphabetic_ | AsciiSet::Only(':');
constexpr AsciiSet nameRest =
    nameBegin | numeric | AsciiSet::Only('.') | AsciiSet::Only('-') | AsciiSet::Only(0xB7);

bool IsValidName(ConstData name) {
    return !name.IsEmpty() && nameBegin.Contains(*name.begin) &&
           std::all_of(name.begin, name.end,
                       [](unsigned char byte) { return nameRest.Contains(byte); });
}

ConstData View(StringPL const& text) {
    return ConstData(text.AsChar(), static_cast<unsigned int>(text.GetLength()));
}

// Saturates, so that StringPL throws for a name that is too long.
unsigned int StringPLCount(ConstData name) {
    return static_cast<unsigned int>(
        std::min<std::size_t>(name.Length(), std::numeric_limits<unsigned int>::max()));
}

StringPL MakeStringPL(ConstData name) {
    return StringPL(reinterpret_cast<char const*>(name.begin), StringPLCount(name));
}

char const* CharBegin(ConstData data) { return reinterpret_cast<char const*>(data.begin); }

char const* CharEnd(ConstData data) { return reinterpret_cast<char const*>(data.end); }

[[noreturn]] void ThrowInvalidElementName(ConstData name) {
    StringPL message;
    message.Format("Unable to write XML element with invalid element name '%s'",
                   MakeStringPL(name).AsChar());
    throw InvalidXMLElementName(message.AsChar());
}

[[noreturn]] void ThrowInvalidAttributeName(ConstData name, StringPL const& attributeName) {
    StringPL message;
    message.Format("Unable to write XML element '%s' with invalid attribute name '%s'",
                   MakeStringPL(name).AsChar(), attributeName.AsChar());
    throw InvalidXMLAttributeName(message.AsChar());
}

// Iteration over the text of a comment: the second of two dashes is dropped, and the byte after it
// is not examined.
bool IsLeftOut(ConstData comment, std::size_t index) {
    return comment[index] == '-' && comment[index - 1] == '-';
}

std::size_t NextIndex(ConstData comment, std::size_t index) {
    return index + (IsLeftOut(comment, index) ? 2 : 1);
}

bool ShowsLineFeed(ConstData comment) {
    for (std::size_t index = 1; index < comment.Length(); index = NextIndex(comment, index)) {
        if (comment[index] == '\n')
            return true;
    }
    return false;
}

} // namespace

constinit XMLWriterPL::AttributeList const XMLWriterPL::emptyAttributeList;

// Inline, because a document consists of many short writes.

inline void XMLWriterPL::Write(ConstData text) { receiver->Receive(text); }

inline void XMLWriterPL::BreakLine() {
    receiver->ReceiveLineBreak(Range<unsigned long long>{0, 0});
}

// Writes tabs until at most `maxTabs` are left, and returns the number left.
[[gnu::noinline]] std::size_t XMLWriterPL::WriteTabs(std::size_t tabs) {
    for (; tabs > maxTabs; tabs -= maxTabs)
        Write(tabsAndOpening.substr(0, maxTabs));
    return tabs;
}

// Starts the line of a tag at this depth, and writes its opening, "<" or "</". The last tabs and
// the opening are one view.
inline void XMLWriterPL::OpenTagOnNewLine(std::size_t depth, ConstData opening) {
    if (style.number < XMLFormatFlat)
        BreakLine();
    std::size_t tabs = style.number == XMLFormatTabbed ? depth : 0;
    if (tabs > maxTabs)
        tabs = WriteTabs(tabs);
    char const* const end = tabsAndOpening.data() + maxTabs;
    Write(ConstData(end - tabs, end + opening.Length()));
}

inline void XMLWriterPL::BeginContent() {
    if (style.number < XMLFormatFlat && lastWritten == EndTag)
        BreakLine();
}

// Reuses the buffer of the name closed last, so a sequence of siblings allocates once.
inline void XMLWriterPL::PushName(ConstData name) {
    if (!keepsClosedName) {
        openElements.emplace_back(CharBegin(name), StringPLCount(name));
        return;
    }
    openElements.back().MakeEmpty();
    openElements.back().Append(CharBegin(name), StringPLCount(name));
    keepsClosedName = false;
}

inline void XMLWriterPL::PopName() {
    if (keepsClosedName)
        openElements.pop_back();
    keepsClosedName = true;
}

XMLWriterPL::XMLWriterPL(LineReceiver& lineReceiver, XMLFormatStyle const& formatStyle)
    : receiver(&lineReceiver), style(formatStyle) {}

void XMLWriterPL::BeginDocument(StringPL const& rootName, AttributeList const& attributes,
                                NullOr<StringPL> const& encoding) {
    receiver->Start(0);
    Write("<?xml version=\"1.0\""_bytes);
    if (!encoding.IsNull()) {
        Write(" encoding=\""_bytes);
        Write(View(*encoding));
        Write("\""_bytes);
    }
    Write("?>"_bytes);
    BeginElement(rootName, attributes);
}

void XMLWriterPL::EndDocument() {
    while (Depth() != 0)
        EndElement();
    receiver->ReceiveEnd(0);
}

// Deliberate: the attributes are walked even if no name is checked. ResetEnum is virtual, so a list
// can observe the walk.
inline void XMLWriterPL::CheckNames(ConstData name, AttributeList const& attributes) const {
    if (checkNames && !IsValidName(name))
        ThrowInvalidElementName(name);
    attributes.ResetEnum();
    while (attributes.IsNext()) {
        StringPL const& attributeName = attributes.GetNext().first;
        if (checkNames && !IsValidName(View(attributeName)))
            ThrowInvalidAttributeName(name, attributeName);
    }
}

void XMLWriterPL::BeginElement(ConstData name, AttributeList const& attributes) {
    CheckNames(name, attributes);
    OpenTagOnNewLine(Depth(), "<"_bytes);
    Write(name);
    attributes.ResetEnum();
    if (attributes.IsNext())
        WriteAttributes(attributes);
    Write(">"_bytes);
    PushName(name);
    lastWritten = StartTag;
}

// Not inlined, because most elements have no attributes.
[[gnu::noinline]] void XMLWriterPL::WriteAttributes(AttributeList const& begun) {
    while (begun.IsNext()) {
        Pair<StringPL, StringPL> const& attribute = begun.GetNext();
        Write(" "_bytes);
        Write(View(attribute.first));
        Write("=\""_bytes);
        WriteAttributeValue(View(attribute.second));
        Write("\""_bytes);
    }
}

void XMLWriterPL::BeginElement(char const* name, AttributeList const& attributes) {
    BeginElement(ConstData(name), attributes);
}

void XMLWriterPL::BeginElement(StringPL const& name, AttributeList const& attributes) {
    BeginElement(View(name), attributes);
}

void XMLWriterPL::EndElement() {
    std::size_t const innermost = Depth() - 1;
    if (lastWritten == EndTag)
        OpenTagOnNewLine(innermost, "</"_bytes);
    else
        Write("</"_bytes);
    Write(View(openElements[innermost]));
    Write(">"_bytes);
    lastWritten = EndTag;
    PopName();
}

void XMLWriterPL::WriteString(ConstData text) {
    BeginContent();
    WriteCharacterData(text, false);
    lastWritten = Content;
}

void XMLWriterPL::WriteString(StringPL const& text) { WriteString(View(text)); }

void XMLWriterPL::WriteUTF8String(char const* text) {
    BeginContent();
    WriteCharacterData(text, true);
    lastWritten = Content;
}

void XMLWriterPL::WriteCDataString(char const* text) {
    BeginContent();
    Write("<![CDATA["_bytes);
    Write(text);
    Write("]]>"_bytes);
    lastWritten = Content;
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the signature is fixed
void XMLWriterPL::WriteComment(StringPL text) {
    ConstData const comment = View(text);
    bool const onOwnLines = ShowsLineFeed(comment);
    if (style.number < XMLFormatFlat)
        BreakLine();
    Write("<!-- "_bytes);
    if (onOwnLines)
        BreakLine();
    WriteThinned(comment);
    if (onOwnLines)
        BreakLine();
    Write(" -->"_bytes);
    lastWritten = Content;
}

void XMLWriterPL::WriteThinned(ConstData comment) {
    std::size_t written = 0;
    for (std::size_t index = 1; index < comment.Length(); index = NextIndex(comment, index)) {
        if (IsLeftOut(comment, index)) {
            Write(ConstData(comment.begin + written, comment.begin + index));
            written = index + 1;
        }
    }
    Write(ConstData(comment.begin + written, comment.end));
}

void XMLWriterPL::WriteCharacterData(ConstData data, bool isUTF8) {
    char const* const end = CharEnd(data);
    for (char const* from = CharBegin(data); from != end; ++from) {
        char const* const stop = isUTF8 ? Simd::FindByte(from, end, '<', '>', '&')
                                        : Simd::FindByteOrHigh(from, end, '<', '>', '&');
        WriteRun(from, stop);
        if (stop == end)
            break;
        WriteReplacement(*stop);
        from = stop;
    }
}

void XMLWriterPL::WriteAttributeValue(ConstData value) {
    char const* const end = CharEnd(value);
    for (char const* from = CharBegin(value); from != end; ++from) {
        char const* const stop = Simd::FindByte(from, end, '<', '>', '&', '"');
        WriteRun(from, stop);
        if (stop == end)
            break;
        WriteReplacement(*stop);
        from = stop;
    }
}

void XMLWriterPL::WriteRun(char const* from, char const* end) {
    if (from != end)
        Write(ConstData(from, end));
}

void XMLWriterPL::WriteReplacement(char byte) {
    switch (byte) {
    case '<':
        Write("&lt;"_bytes);
        break;
    case '>':
        Write("&gt;"_bytes);
        break;
    case '&':
        Write("&amp;"_bytes);
        break;
    case '"':
        Write("&quot;"_bytes);
        break;
    default:
        Write("&#x"_bytes);
        Write(MakeAsciiHexNumeral(static_cast<unsigned char>(byte), 2));
        Write(";"_bytes);
        break;
    }
}
