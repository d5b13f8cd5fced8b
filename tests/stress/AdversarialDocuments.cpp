#include "tests/stress/AdversarialDocuments.h"

#include <fstream>
#include <stdexcept>

namespace {

using Stress::AdversarialDocument;

// The start of a response of a finished evaluation, up to the rows.
std::string const begun =
    "<?xml version=\"1.0\"?>\r\n<VeskaClientComplianceResponse Version=\"1.0\">"
    "<ResponseType>Progress</ResponseType><ResponseProgressState>1</ResponseProgressState>";
std::string const ended = "</VeskaClientComplianceResponse>";
std::string const textBegun = begun + "<ResponseItem><Description>";
std::string const textEnded = "</Description></ResponseItem>" + ended;
std::string const row = "<ResponseItem><Designator>d</Designator><Result>r</Result>"
                        "<ResultType>t</ResultType><EvaluationTime>1</EvaluationTime>"
                        "<Description>x</Description><Comment>c</Comment></ResponseItem>";

constexpr char const* incomplete = "ClientComplianceResponseReadFailure";

constexpr std::size_t million = 1'000'000;
constexpr std::size_t mebibyte = std::size_t{1} << 20;

// An element takes 176 bytes, including the overhead of the allocator. Each open element takes 8
// more in a list, which needs 24 while it doubles.
constexpr double ofElement = 176;
constexpr double ofOpenElement = ofElement + 3 * 8;

AdversarialDocument Refused(AdversarialDocument document, char const* exception) {
    document.refusal = exception;
    return document;
}

// All units are in one description, which has `textOfUnit` bytes of text for each.
AdversarialDocument OfText(char const* name, std::string const& unit, std::size_t textOfUnit,
                           std::size_t full = million) {
    AdversarialDocument document = {name, textBegun, unit, textEnded, full};
    document.textOfUnit = textOfUnit;
    document.rows = 1;
    return document;
}

std::vector<AdversarialDocument> MakeDocuments() {
    AdversarialDocument levels = {"Levels", begun, "<x>", ended, 5 * million, ofOpenElement};
    levels.unitBehind = "</x>";
    AdversarialDocument rows = {"Rows", begun, row, ended, million};
    rows.rowsOfUnit = 1;
    rows.textOfUnit = 6;
    AdversarialDocument text = OfText("Text", "x", 1, 1024 * mebibyte);
    text.maxBytes = 4.2;
    text.spare = 16 * mebibyte;
    return {
        levels,
        Refused({"OpenLevels", begun, "<x>", "", 5 * million, ofOpenElement}, incomplete),
        {"Siblings", begun, "<x></x>", ended, million, ofElement},
        rows,
        {"Attributes", begun + "<x", " a='b'", "></x>" + ended, million, 240},
        text,
        OfText("Escapes", "&lt;", 1),
        OfText("References", "&#x41;", 1),
        OfText("UnknownEscapes", "&nobody;", 8),
        OfText("SectionOfBrackets", "<![CDATA[]]]]]>", 3),
        {"EscapesInAnAttribute", begun + "<x a='", "&amp;", "'></x>" + ended, million},
        {"Name", begun + "<", "n", "></x>" + ended, 64 * mebibyte},
        {"Dashes", begun + "<!--", "- -", "-->" + ended, 16 * mebibyte},
        Refused({"OpenEscape", begun + "&", "x", "", 64 * mebibyte}, incomplete),
        {"EndTags", begun, "</x>", "", million},
        Refused({"Roots", begun + ended, "<a><b></b></a>", "", million},
                "ClientComplianceResponseBadDocumentType"),
    };
}

// In large chunks.
void PutRepeatedly(std::ostream& out, std::string const& unit, std::size_t n) {
    constexpr std::size_t unitsOfPiece = 4096;
    std::string piece;
    for (std::size_t i = 0; i < unitsOfPiece; ++i)
        piece += unit;
    for (; n >= unitsOfPiece; n -= unitsOfPiece)
        out << piece;
    out << piece.substr(0, n * unit.size());
}

} // namespace

namespace Stress {

std::size_t AdversarialDocument::Bytes(std::size_t n) const {
    return head.size() + tail.size() + n * (unit.size() + unitBehind.size());
}

std::string AdversarialDocument::Outcome(std::size_t n) const {
    if (!refusal.empty())
        return refusal;
    return std::to_string(rows + n * rowsOfUnit) + " rows, " + std::to_string(n * textOfUnit) +
           " bytes";
}

void AdversarialDocument::Write(std::string const& path, std::size_t n) const {
    std::ofstream file(path, std::ios::binary);
    file << head;
    PutRepeatedly(file, unit, n);
    PutRepeatedly(file, unitBehind, n);
    file << tail << std::flush;
    if (!file)
        throw std::runtime_error("cannot write a document");
}

std::vector<AdversarialDocument> const& AdversarialDocuments() {
    static std::vector<AdversarialDocument> const all = MakeDocuments();
    return all;
}

AdversarialDocument const& AdversarialDocumentOf(std::string const& name) {
    for (AdversarialDocument const& document : AdversarialDocuments())
        if (name == document.name)
            return document;
    throw std::logic_error("unknown document");
}

} // namespace Stress
