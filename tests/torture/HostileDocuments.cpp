#include "tests/torture/HostileDocuments.h"

#include <cstdio>
#include <memory>
#include <stdexcept>

namespace {

using Torture::HostileDocument;

// A response that says that all is done, up to where the rows stand.
std::string const begun =
    "<?xml version=\"1.0\"?>\r\n<VeskaClientComplianceResponse Version=\"1.0\">"
    "<ResponseType>Progress</ResponseType><ResponseProgressState>1</ResponseProgressState>";
std::string const ended = "</VeskaClientComplianceResponse>";
std::string const textBegun = begun + "<ResponseItem><Description>";
std::string const textEnded = "</Description></ResponseItem>" + ended;
std::string const row = "<ResponseItem><Designator>d</Designator><Result>r</Result>"
                        "<ResultType>t</ResultType><EvaluationTime>1</EvaluationTime>"
                        "<Description>x</Description><Comment>c</Comment></ResponseItem>";

constexpr char const* brokenOff = "ClientComplianceResponseReadFailure";

constexpr std::size_t million = 1'000'000;
constexpr std::size_t mebibyte = std::size_t{1} << 20;

// An element takes 176 bytes, with what the allocator adds, and the place of each open one 8, of
// which there are thrice as many while the list of them doubles.
constexpr double ofElement = 176;
constexpr double ofOpenElement = ofElement + 3 * 8;

HostileDocument OfText(char const* name, std::string const& unit, std::size_t textOfUnit,
                       std::size_t full) {
    return {.name = name,
            .head = textBegun,
            .unit = unit,
            .tail = textEnded,
            .full = full,
            .textOfUnit = textOfUnit,
            .rows = 1};
}

std::vector<HostileDocument> MakeDocuments() {
    HostileDocument text = OfText("Text", "x", 1, 1024 * mebibyte);
    text.maxBytes = 4.2;
    text.spare = 16 * mebibyte;
    return {
        {.name = "Levels",
         .head = begun,
         .unit = "<x>",
         .unitBehind = "</x>",
         .tail = ended,
         .full = 5 * million,
         .maxBytes = ofOpenElement},
        {.name = "OpenLevels",
         .head = begun,
         .unit = "<x>",
         .full = 5 * million,
         .refusal = brokenOff,
         .maxBytes = ofOpenElement},
        {.name = "Siblings",
         .head = begun,
         .unit = "<x></x>",
         .tail = ended,
         .full = million,
         .maxBytes = ofElement},
        {.name = "Rows",
         .head = begun,
         .unit = row,
         .tail = ended,
         .full = million,
         .rowsOfUnit = 1,
         .textOfUnit = 6},
        {.name = "Attributes",
         .head = begun + "<x",
         .unit = " a='b'",
         .tail = "></x>" + ended,
         .full = million,
         .maxBytes = 240},
        text,
        OfText("Escapes", "&lt;", 1, million),
        OfText("References", "&#x41;", 1, million),
        OfText("UnknownEscapes", "&nobody;", 8, million),
        OfText("SectionOfBrackets", "<![CDATA[]]]]]>", 3, million),
        {.name = "EscapesInAnAttribute",
         .head = begun + "<x a='",
         .unit = "&amp;",
         .tail = "'></x>" + ended,
         .full = million},
        {.name = "Name",
         .head = begun + "<",
         .unit = "n",
         .tail = "></x>" + ended,
         .full = 64 * mebibyte},
        {.name = "Dashes",
         .head = begun + "<!--",
         .unit = "- -",
         .tail = "-->" + ended,
         .full = 16 * mebibyte},
        {.name = "OpenEscape",
         .head = begun + "&",
         .unit = "x",
         .full = 64 * mebibyte,
         .refusal = brokenOff},
        {.name = "EndTags", .head = begun, .unit = "</x>", .full = million},
        {.name = "Roots",
         .head = begun + ended,
         .unit = "<a><b></b></a>",
         .full = million,
         .refusal = "ClientComplianceResponseBadDocumentType"},
    };
}

using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

void Put(std::FILE* file, std::string const& bytes) {
    if (std::fwrite(bytes.data(), 1, bytes.size(), file) != bytes.size())
        throw std::runtime_error("can't write a document");
}

// In long pieces.
void PutRepeatedly(std::FILE* file, std::string const& unit, std::size_t n) {
    if (unit.empty())
        return;
    constexpr std::size_t unitsOfPiece = 4096;
    std::string piece;
    for (std::size_t i = 0; i < unitsOfPiece; ++i)
        piece += unit;
    for (; n >= unitsOfPiece; n -= unitsOfPiece)
        Put(file, piece);
    Put(file, piece.substr(0, n * unit.size()));
}

} // namespace

namespace Torture {

std::size_t HostileDocument::Bytes(std::size_t n) const {
    return head.size() + middle.size() + tail.size() + n * (unit.size() + unitBehind.size());
}

std::string HostileDocument::Outcome(std::size_t n) const {
    if (!refusal.empty())
        return refusal;
    return std::to_string(rows + n * rowsOfUnit) + " rows, " + std::to_string(n * textOfUnit) +
           " bytes";
}

void HostileDocument::Write(std::string const& path, std::size_t n) const {
    File const file(std::fopen(path.c_str(), "w"), &std::fclose);
    if (file == nullptr)
        throw std::runtime_error("can't create a document");
    Put(file.get(), head);
    PutRepeatedly(file.get(), unit, n);
    Put(file.get(), middle);
    PutRepeatedly(file.get(), unitBehind, n);
    Put(file.get(), tail);
}

std::vector<HostileDocument> const& HostileDocuments() {
    static std::vector<HostileDocument> const all = MakeDocuments();
    return all;
}

HostileDocument const& HostileDocumentOf(std::string const& name) {
    for (HostileDocument const& document : HostileDocuments())
        if (name == document.name)
            return document;
    throw std::logic_error("no such document");
}

} // namespace Torture
