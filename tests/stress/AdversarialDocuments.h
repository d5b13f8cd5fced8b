// Responses of adversarial size: one construct, repeated many times.
#pragma once

#include <fstream>
#include <stdexcept>
#include <vector>

// A document of the bytes `head`, n times `unit`, n times `unitBehind`, and `tail`.
struct AdversarialDocument {
    char const* name = nullptr;
    std::string head = {};
    std::string unit = {};
    std::string tail = {};
    // The number of units at full size.
    std::size_t full = 1'000'000;
    // The maximum memory for reading the document, in bytes: for each unit, and for the rest. 0
    // means no limit.
    double maxBytes = 0;
    // The name of the exception, or empty if the document is readable.
    std::string refusal = {};
    std::size_t spare = std::size_t{1} << 20;
    std::string unitBehind = {};
    // The rows of the record and the bytes of their texts: for each unit, and the rest.
    std::size_t rowsOfUnit = 0;
    std::size_t textOfUnit = 0;
    std::size_t rows = 0;

    std::size_t Bytes(std::size_t n) const {
        return head.size() + tail.size() + n * (unit.size() + unitBehind.size());
    }

    // The outcome that DocumentReader prints.
    std::string Outcome(std::size_t n) const {
        if (!refusal.empty())
            return refusal;
        return std::to_string(rows + n * rowsOfUnit) + " rows, " + std::to_string(n * textOfUnit) +
               " bytes";
    }

    void Write(std::string const& path, std::size_t n) const {
        std::ofstream file(path, std::ios::binary);
        file << head;
        for (std::string const& text : {unit, unitBehind})
            PutRepeatedly(file, text, n);
        if (!(file << tail << std::flush))
            throw std::runtime_error("cannot write a document");
    }

private:
    // In large chunks.
    static void PutRepeatedly(std::ostream& out, std::string const& text, std::size_t n) {
        constexpr std::size_t unitsOfPiece = 4096;
        std::string piece;
        for (std::size_t i = 0; i < unitsOfPiece; ++i)
            piece += text;
        for (; n >= unitsOfPiece; n -= unitsOfPiece)
            out << piece;
        out << piece.substr(0, n * text.size());
    }
};

// Returns all documents.
inline std::vector<AdversarialDocument> const& AdversarialDocuments() {
    // The start of a response of a finished evaluation, up to the rows.
    static std::string const begun =
        "<?xml version=\"1.0\"?>\r\n<VeskaClientComplianceResponse Version=\"1.0\">"
        "<ResponseType>Progress</ResponseType><ResponseProgressState>1</ResponseProgressState>";
    static std::string const ended = "</VeskaClientComplianceResponse>";
    static std::string const row =
        "<ResponseItem><Designator>d</Designator><Result>r</Result><ResultType>t</ResultType>"
        "<EvaluationTime>1</EvaluationTime><Description>x</Description><Comment>c</Comment>"
        "</ResponseItem>";
    // All units are in one description, which has `bytes` bytes of text for each.
    auto const ofText = [](char const* name, std::string const& unit, std::size_t bytes) {
        return AdversarialDocument{.name = name,
                                   .head = begun + "<ResponseItem><Description>",
                                   .unit = unit,
                                   .tail = "</Description></ResponseItem>" + ended,
                                   .textOfUnit = bytes,
                                   .rows = 1};
    };
    // An element takes 176 bytes, including the overhead of the allocator. Each open element takes
    // 8 more in a list, which needs 24 while it doubles.
    constexpr double ofElement = 176;
    constexpr double ofOpenElement = ofElement + 3 * 8;
    constexpr std::size_t million = 1'000'000;
    constexpr std::size_t mebibyte = std::size_t{1} << 20;
    constexpr char const* incomplete = "ClientComplianceResponseReadFailure";
    static std::vector<AdversarialDocument> const all = [&] {
        AdversarialDocument levels = {"Levels", begun, "<x>", ended, 5 * million, ofOpenElement};
        levels.unitBehind = "</x>";
        AdversarialDocument rows = {"Rows", begun, row, ended};
        rows.rowsOfUnit = 1;
        rows.textOfUnit = 6;
        AdversarialDocument text = ofText("Text", "x", 1);
        text.full = 1024 * mebibyte;
        text.maxBytes = 4.2;
        text.spare = 16 * mebibyte;
        return std::vector<AdversarialDocument>{
            levels,
            {"OpenLevels", begun, "<x>", "", 5 * million, ofOpenElement, incomplete},
            {"Siblings", begun, "<x></x>", ended, million, ofElement},
            rows,
            {"Attributes", begun + "<x", " a='b'", "></x>" + ended, million, 240},
            text,
            ofText("Escapes", "&lt;", 1),
            ofText("References", "&#x41;", 1),
            ofText("UnknownEscapes", "&nobody;", 8),
            ofText("SectionOfBrackets", "<![CDATA[]]]]]>", 3),
            {"EscapesInAnAttribute", begun + "<x a='", "&amp;", "'></x>" + ended},
            {"Name", begun + "<", "n", "></x>" + ended, 64 * mebibyte},
            {"Dashes", begun + "<!--", "- -", "-->" + ended, 16 * mebibyte},
            {"OpenEscape", begun + "&", "x", "", 64 * mebibyte, 0, incomplete},
            {"EndTags", begun, "</x>", ""},
            {"Roots", begun + ended, "<a><b></b></a>", "", million, 0,
             "ClientComplianceResponseBadDocumentType"}};
    }();
    return all;
}
