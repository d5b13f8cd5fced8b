// The documents of the exchange as bytes, written out by hand.
#pragma once

#include <string>

inline constexpr char progressRequest[] = "<?xml version=\"1.0\"?>\r\n"
                                          "<VeskaClientComplianceRequest Version=\"1.0\">\r\n"
                                          "\t<RequestType>Progress</RequestType>\r\n"
                                          "</VeskaClientComplianceRequest>";

inline constexpr char closeRequest[] = "<?xml version=\"1.0\"?>\r\n"
                                       "<VeskaClientComplianceRequest Version=\"1.0\">\r\n"
                                       "\t<RequestType>Close</RequestType>\r\n"
                                       "</VeskaClientComplianceRequest>";

// A text as it stands between the tags.
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

// The texts as they stand between the tags, escaped.
inline std::string OpenRequest(std::string const& url, std::string const& doc,
                               std::string const& flags) {
    return "<?xml version=\"1.0\"?>\r\n"
           "<VeskaClientComplianceRequest Version=\"1.0\">\r\n"
           "\t<RequestType>Open</RequestType>\r\n"
           "\t<RequestURL>" +
           url +
           "</RequestURL>\r\n"
           "\t<RequestDOC>" +
           doc +
           "</RequestDOC>\r\n"
           "\t<RequestFlags>" +
           flags +
           "</RequestFlags>\r\n"
           "</VeskaClientComplianceRequest>";
}

// A response with these bytes between the tags of its root.
inline std::string Response(std::string const& content) {
    return "<?xml version=\"1.0\"?>\r\n"
           "<VeskaClientComplianceResponse Version=\"1.0\">\r\n" +
           content + "</VeskaClientComplianceResponse>";
}

inline std::string OpenAnswer() { return Response("\t<ResponseType>Open</ResponseType>\r\n"); }

inline std::string CloseAnswer() { return Response("\t<ResponseType>Close</ResponseType>\r\n"); }

// Numbers as texts, since an agent may write anything. The rows stand at the end.
inline std::string ProgressAnswer(std::string const& state, std::string const& error = "0",
                                  std::string const& percent = "0", std::string const& rows = "") {
    return Response("\t<ResponseType>Progress</ResponseType>\r\n"
                    "\t<ResponseProgressState>" +
                    state +
                    "</ResponseProgressState>\r\n"
                    "\t<ResponseProgressError>" +
                    error +
                    "</ResponseProgressError>\r\n"
                    "\t<ResponseProgressPercent>" +
                    percent + "</ResponseProgressPercent>\r\n" + rows);
}

// One row, its texts escaped.
inline std::string Row(std::string const& designator, std::string const& result,
                       std::string const& resultType, std::string const& evaluationTime,
                       std::string const& description, std::string const& comment) {
    return "\t<ResponseItem>\r\n"
           "\t\t<Designator>" +
           designator +
           "</Designator>\r\n"
           "\t\t<Result>" +
           result +
           "</Result>\r\n"
           "\t\t<ResultType>" +
           resultType +
           "</ResultType>\r\n"
           "\t\t<EvaluationTime>" +
           evaluationTime +
           "</EvaluationTime>\r\n"
           "\t\t<Description>" +
           description +
           "</Description>\r\n"
           "\t\t<Comment>" +
           comment +
           "</Comment>\r\n"
           "\t</ResponseItem>\r\n";
}
