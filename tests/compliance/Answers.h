// Answers of an agent as raw bytes, for tests of the interface on a whole machine.
#pragma once

#include <string>

namespace Answers {

inline std::string Around(std::string const& children) {
    return "<VeskaClientComplianceResponse>" + children + "</VeskaClientComplianceResponse>";
}

// One that tells its type and nothing else.
inline std::string Bare(std::string const& type) {
    return Around("<ResponseType>" + type + "</ResponseType>");
}

// In the given state, with whatever else is wanted behind it.
inline std::string Progress(std::string const& state, std::string const& more = "") {
    return Around("<ResponseType>Progress</ResponseType><ResponseProgressState>" + state +
                  "</ResponseProgressState>" + more);
}

inline std::string Row(std::string const& designator, std::string const& result,
                       std::string const& type, std::string const& time,
                       std::string const& description, std::string const& comment) {
    return "<ResponseItem><Designator>" + designator + "</Designator><Result>" + result +
           "</Result><ResultType>" + type + "</ResultType><EvaluationTime>" + time +
           "</EvaluationTime><Description>" + description + "</Description><Comment>" + comment +
           "</Comment></ResponseItem>";
}

} // namespace Answers
