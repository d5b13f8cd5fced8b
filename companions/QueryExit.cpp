#include "companions/QueryExit.h"

#include <algorithm>

#include "companions/LockRefusal.h"
#include "compliance/Compliance.h"

namespace {

struct CodeFacts {
    int code;
    QueryExit status;
    std::string_view words;
    bool temporary = false;
};

constexpr std::array codes = {
    CodeFacts{COMPLIANCE_ERROR_NOT_INSTALLED, QueryExit::noAgent,
              "the agent is not installed, or this user cannot access its program"},
    CodeFacts{COMPLIANCE_ERROR_NOT_RUNNING, QueryExit::noAgent,
              "the agent is not running, or this user cannot see its process"},
    CodeFacts{COMPLIANCE_ERROR_NO_PICKUP, QueryExit::timeOut,
              "the agent did not take the request in time"},
    CodeFacts{COMPLIANCE_ERROR_NOT_CONFIGURED, QueryExit::noAgent, "the agent is not configured"},
    CodeFacts{COMPLIANCE_ERROR_REQUEST_PENDING, QueryExit::busy,
              "a request is already waiting for the agent; compliance-doctor shows its age", true},
    CodeFacts{COMPLIANCE_ERROR_BAD_RESPONSE, QueryExit::badAnswer,
              "the agent's response cannot be read"},
    CodeFacts{COMPLIANCE_ERROR_ALREADY_OPEN, QueryExit::busy,
              "an evaluation is already open in this process"},
    CodeFacts{COMPLIANCE_ERROR_EXCHANGE, QueryExit::exchangeFailed,
              "the exchange with the agent failed"},
    CodeFacts{
        COMPLIANCE_ERROR_REQUEST_WRITE, QueryExit::exchangeFailed,
        "the request could not be written or published; compliance-doctor may show the reason"},
    CodeFacts{COMPLIANCE_ERROR_INTERNAL, QueryExit::exchangeFailed,
              "the evaluation failed outside of the exchange"},
};

constexpr CodeFacts unknownCode = {0, QueryExit::exchangeFailed, "the evaluation failed"};

constexpr int agentNotAvailable = -22;

CodeFacts const& FactsOfCode(int code) {
    auto const found = std::ranges::find(codes, code, &CodeFacts::code);
    return found == codes.end() ? unknownCode : *found;
}

std::string NameOfStatus(QueryExit status) {
    return status == QueryExit::stopped ? "128 + n" : std::to_string(static_cast<int>(status));
}

// Returns the facts of the exit status with this number, or null.
QueryExitFacts const* FindStatus(std::string const& text) {
    for (QueryExitFacts const& facts : queryExitTable)
        if (text == std::to_string(static_cast<int>(facts.status)))
            return facts.status == QueryExit::stopped ? nullptr : &facts;
    return text == "129" || text == "130" || text == "143" ? &FactsOf(QueryExit::stopped) : nullptr;
}

} // namespace

constinit std::array<QueryExitFacts, 13> const queryExitTable = {{
    {QueryExit::finished, "finished", "the evaluation finished, and the rows were written",
     "The agent evaluated the document and the rows were written.", "None is needed."},
    {QueryExit::agentError, "agent-error", "the agent reports an error",
     "The agent took the request and reports an error number. -22 means that it is not available "
     "right now.",
     "For -22, retry later (--wait TIME). For other numbers, see the agent's log."},
    {QueryExit::usage, "usage", "the command line or the configuration file is invalid",
     "An option, a value, an operand or a configuration file is not accepted. Nothing was sent to "
     "the agent.",
     "See compliance-query --help, or check the file with --check-config."},
    {QueryExit::noAgent, "no-agent", "the agent is not installed, not running or not configured",
     "The agent's program, its request directory or its process is missing, or this user cannot "
     "see it.",
     "Install or start the agent; compliance-doctor shows which part is missing."},
    {QueryExit::busy, "busy", "another process holds the lock, or a request is already waiting",
     "Another evaluation runs on this machine, or the agent has not taken an earlier request.",
     "Retry later (--wait TIME); compliance-doctor shows the process or the age of the "
     "request."},
    {QueryExit::timeOut, "time-out",
     "the agent did not take a request in time, or --timeout expired",
     "The agent is slow, or its process exists but does not work.",
     "Allow more time (--timeout), or restart the agent if it takes no request."},
    {QueryExit::badAnswer, "bad-answer", "the agent's response cannot be read",
     "There is no response, or it is malformed, has an unknown state or cannot be read by this "
     "user.",
     "Run compliance-doctor, and see the agent's log."},
    {QueryExit::exchangeFailed, "exchange-failed",
     "the request could not be written, or another error occurred",
     "This user may lack permissions, the disk may be full, or memory may be exhausted.",
     "Read the message on standard error, and run compliance-doctor as the same user."},
    {QueryExit::outputFailed, "output-failed", "the rows or the metrics could not be written",
     "Standard output, or the file of --output or --prometheus, could not be written.",
     "Free disk space, or choose another file. A file that could not be replaced is unchanged."},
    {QueryExit::stale, "stale", "the response existed before the request",
     "The agent did not answer the request, or the request could not be renamed. The response on "
     "disk is that of an earlier request, and does not describe the current state of the machine.",
     "Run compliance-doctor, see the agent's log, or restart the agent. --allow-stale accepts such "
     "a response."},
    {QueryExit::otherResult, "other-result",
     "with --strict: a row has a result that is not in the list",
     "The evaluation finished, and at least one row has another result.",
     "See the rows; the message names the first ones."},
    {QueryExit::noRows, "no-rows", "with --strict: there are no rows",
     "The evaluation finished without a row, so it proves nothing.",
     "Check the name of the document, or accept an evaluation without rows (--allow-empty)."},
    {QueryExit::stopped, "signal", "ended early by signal n",
     "SIGHUP (129), SIGINT (130) or SIGTERM (143) ended the evaluation, or the wait for the next "
     "attempt.",
     "Run it again."},
}};

QueryExitFacts const& FactsOf(QueryExit status) {
    return *std::ranges::find(queryExitTable, status, &QueryExitFacts::status);
}

std::string ListQueryExits() {
    std::string lines;
    for (QueryExitFacts const& facts : queryExitTable) {
        std::string const name = NameOfStatus(facts.status);
        lines.append(name.size() < 5 ? 5 - name.size() : 2, ' ');
        lines += name + "  " + std::string(facts.summary) + "\n";
    }
    return lines;
}

bool IsQueryExit(std::string const& status) { return FindStatus(status) != nullptr; }

std::string ExplainQueryExit(std::string const& status) {
    QueryExitFacts const& facts = *FindStatus(status);
    return status + " (" + std::string(facts.word) + "): " + std::string(facts.summary) +
           "\nCause: " + std::string(facts.cause) + "\nRemedy: " + std::string(facts.remedy) + "\n";
}

QueryFailure DescribeCode(int code) {
    QueryFailure failure;
    if (code == COMPLIANCE_ERROR_LOCK) {
        failure = DescribeLockRefusal();
    } else {
        CodeFacts const& facts = FactsOfCode(code);
        failure = {facts.status, std::string(facts.words), facts.temporary};
    }
    failure.message += " (code " + std::to_string(code) + ")";
    return failure;
}

QueryFailure DescribeAgentError(int error) {
    if (error == agentNotAvailable)
        return {QueryExit::agentError, "the agent is not available right now (error -22)", true};
    return {QueryExit::agentError, "the agent reports the error " + std::to_string(error)};
}
