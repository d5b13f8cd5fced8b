#include "companions/QueryExit.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "compliance/Compliance.h"

namespace {

struct CodeFacts {
    int code;
    QueryExit status;
    std::string_view words;
};

// A machine without the agent also gives COMPLIANCE_ERROR_LOCK, since the lock file lives in a
// directory of the agent's; only a look at the disk tells these apart.
constexpr std::array codes = {
    CodeFacts{COMPLIANCE_ERROR_NOT_INSTALLED, QueryExit::noAgent, "the agent is not installed"},
    CodeFacts{COMPLIANCE_ERROR_NOT_RUNNING, QueryExit::noAgent, "the agent is not running"},
    CodeFacts{COMPLIANCE_ERROR_NO_PICKUP, QueryExit::timeOut,
              "the agent did not take the request in time"},
    CodeFacts{COMPLIANCE_ERROR_NOT_CONFIGURED, QueryExit::noAgent, "the agent is not configured"},
    CodeFacts{COMPLIANCE_ERROR_REQUEST_PENDING, QueryExit::busy,
              "a request is already waiting for the agent; compliance-doctor tells how long"},
    CodeFacts{
        COMPLIANCE_ERROR_LOCK, QueryExit::busy,
        "the lock was refused: another evaluation runs, or the agent's directories are missing "
        "or closed to this user; compliance-doctor tells which"},
    CodeFacts{COMPLIANCE_ERROR_BAD_RESPONSE, QueryExit::badAnswer,
              "the agent's answer can't be read"},
    CodeFacts{COMPLIANCE_ERROR_ALREADY_OPEN, QueryExit::busy,
              "an evaluation is already open in this process"},
    CodeFacts{COMPLIANCE_ERROR_EXCHANGE, QueryExit::exchangeFailed,
              "the exchange with the agent failed"},
    CodeFacts{COMPLIANCE_ERROR_REQUEST_WRITE, QueryExit::exchangeFailed,
              "the request could not be written; compliance-doctor tells why"},
    CodeFacts{COMPLIANCE_ERROR_INTERNAL, QueryExit::exchangeFailed,
              "the evaluation failed outside of the exchange"},
};

constexpr CodeFacts unknownCode = {0, QueryExit::exchangeFailed, "the evaluation failed"};

constexpr int agentNotAvailable = -22;

CodeFacts const& FactsOf(int code) {
    auto const found = std::ranges::find(codes, code, &CodeFacts::code);
    return found == codes.end() ? unknownCode : *found;
}

} // namespace

QueryExit QueryExitOfCode(int code) { return FactsOf(code).status; }

std::string DescribeCode(int code) {
    return std::string(FactsOf(code).words) + " (code " + std::to_string(code) + ")";
}

std::string DescribeAgentError(int error) {
    if (error == agentNotAvailable)
        return "the agent is not available right now (error -22)";
    return "the agent reports the error " + std::to_string(error);
}
