// The documents of the exchange as bytes, written by hand, and the output of the tool for them.
#pragma once

#include <array>
#include <vector>

#include "tests/support/AgentScript.h"

inline std::string Element(std::string const& name, std::string const& content) {
    return '<' + name + '>' + content + "</" + name + '>';
}

inline constexpr char progressRequest[] = "<?xml version=\"1.0\"?>\r\n"
                                          "<VeskaClientComplianceRequest Version=\"1.0\">\r\n"
                                          "\t<RequestType>Progress</RequestType>\r\n"
                                          "</VeskaClientComplianceRequest>";

inline constexpr char closeRequest[] = "<?xml version=\"1.0\"?>\r\n"
                                       "<VeskaClientComplianceRequest Version=\"1.0\">\r\n"
                                       "\t<RequestType>Close</RequestType>\r\n"
                                       "</VeskaClientComplianceRequest>";

// Returns the text as the writers of both documents escape it.
inline std::string Escaped(std::string const& text) {
    static constexpr char digits[] = "0123456789abcdef";
    std::string escaped;
    for (char const letter : text) {
        auto const byte = static_cast<unsigned char>(letter);
        if (byte == '<' || byte == '>' || byte == '&')
            escaped += byte == '<' ? "&lt;" : byte == '>' ? "&gt;" : "&amp;";
        else if (byte >= 0x80)
            escaped += std::string("&#x") + digits[byte / 16] + digits[byte % 16] + ';';
        else
            escaped += letter;
    }
    return escaped;
}

// The texts are already escaped.
inline std::string OpenRequest(std::string const& url, std::string const& doc,
                               std::string const& flags) {
    return "<?xml version=\"1.0\"?>\r\n"
           "<VeskaClientComplianceRequest Version=\"1.0\">\r\n"
           "\t<RequestType>Open</RequestType>\r\n"
           "\t" +
           Element("RequestURL", url) + "\r\n" + "\t" + Element("RequestDOC", doc) + "\r\n" + "\t" +
           Element("RequestFlags", flags) + "\r\n" + "</VeskaClientComplianceRequest>";
}

// A response with these bytes between the tags of its root.
inline std::string Response(std::string const& content) {
    return "<?xml version=\"1.0\"?>\r\n"
           "<VeskaClientComplianceResponse Version=\"1.0\">\r\n" +
           content + "</VeskaClientComplianceResponse>";
}

// A response with only a type.
inline std::string ResponseOfType(std::string const& type) {
    return Response('\t' + Element("ResponseType", type) + "\r\n");
}

inline std::string OpenResponse() { return ResponseOfType("Open"); }

inline std::string CloseResponse() { return ResponseOfType("Close"); }

// Numbers are texts, because an agent may write any bytes. The rows are at the end.
inline std::string ProgressResponse(std::string const& state, std::string const& error = "0",
                                    std::string const& percent = "0",
                                    std::string const& rows = "") {
    return Response('\t' + Element("ResponseType", "Progress") + "\r\n\t" +
                    Element("ResponseProgressState", state) + "\r\n\t" +
                    Element("ResponseProgressError", error) + "\r\n\t" +
                    Element("ResponseProgressPercent", percent) + "\r\n" + rows);
}

// A well-behaved agent: answers Open, each poll and Close.
inline AgentScript WholeEvaluation(std::vector<std::string> const& polls) {
    AgentScript script;
    script.Answer(OpenResponse());
    for (std::string const& poll : polls)
        script.Answer(poll);
    return script.Answer(CloseResponse());
}

// The texts of a row: designator, result, result type, evaluation time, description, comment.
using RowTexts = std::array<std::string, 6>;

// A row whose texts are already escaped.
inline std::string Row(RowTexts const& texts) {
    static constexpr char const* names[] = {"Designator",     "Result",      "ResultType",
                                            "EvaluationTime", "Description", "Comment"};
    std::string row = "\t<ResponseItem>\r\n";
    for (std::size_t i = 0; i < texts.size(); ++i)
        row += "\t\t" + Element(names[i], texts[i]) + "\r\n";
    return row + "\t</ResponseItem>\r\n";
}

// The output of the tool for a row.
inline std::string PrintedRow(RowTexts const& texts) {
    return "    Designator: " + texts[0] + "\n        Result: " + texts[1] +
           "\n   Result Type: " + texts[2] + "\nEval Time (\xB5s): " + texts[3] +
           "\n          Desc: " + texts[4] + "\n       Comment: " + texts[5] + "\n\n";
}

inline std::string PrintedCount(std::size_t rows) {
    return "COMPLIANCE_ResultCount is " + std::to_string(rows) + ".\n";
}

inline std::string PrintedPercent(std::string const& percent) {
    return "COMPLIANCE_Progress " + percent + "% completed.\n";
}

inline std::string PrintedError(std::string const& error) {
    return "COMPLIANCE_Progress returned error " + error + ".\n";
}

// A row for tests of other subjects, a response with it, and the output of the tool for it.
inline RowTexts const shortRow = {"d", "r", "t", "1", "x", "c"};

inline std::string OneRowResponse() { return ProgressResponse("1", "0", "100", Row(shortRow)); }

inline std::string PrintedOneRow() { return PrintedCount(1) + PrintedRow(shortRow); }

// A row whose texts are too long for the small string optimization.
inline RowTexts const longRow = {"a-designator-that-is-long-enough",
                                 "Compliant",
                                 "a type of result that is long enough",
                                 "1523",
                                 "A description &lt;with an escape&gt; that is long",
                                 ""};

inline RowTexts LongRowRead() {
    RowTexts read = longRow;
    read[4] = "A description <with an escape> that is long";
    return read;
}
