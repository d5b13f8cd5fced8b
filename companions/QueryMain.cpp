// compliance-query: asks the endpoint agent to evaluate a compliance document, for scripts and for
// interactive use.
#include <cstring>
#include <string>

#include <unistd.h>

#include "companions/Evaluation.h"
#include "companions/JsonRows.h"
#include "companions/Output.h"
#include "companions/Program.h"
#include "companions/Progress.h"
#include "companions/QueryCommandLine.h"
#include "companions/QueryExit.h"
#include "companions/Rows.h"
#include "companions/StopSignals.h"

namespace {

constexpr char program[] = "compliance-query";
constexpr int stoppedBySignal = 128;

char const* TextOrNull(std::optional<std::string> const& text) {
    return text ? text->c_str() : nullptr;
}

EvaluationRequest MakeRequest(QueryCommandLine const& commandLine) {
    return {TextOrNull(commandLine.url), TextOrNull(commandLine.document), commandLine.flags,
            commandLine.timeout};
}

void WriteRows(RowFormat format, Rows const& rows, Output& output) {
    switch (format) {
    case RowFormat::table:
        return WriteTable(rows, output);
    case RowFormat::tsv:
        return WriteTsv(rows, output);
    case RowFormat::json:
        return WriteJson(rows, output);
    case RowFormat::ndjson:
        return WriteNdjson(rows, output);
    }
}

int Number(QueryExit status) { return static_cast<int>(status); }

// The failure of an evaluation that did not finish.
JsonFailure DescribeFailure(EvaluationEnd const& end) {
    switch (end.what) {
    case EvaluationEnd::agentError:
        return {Number(QueryExit::agentError), {}, end.number, DescribeAgentError(end.number)};
    case EvaluationEnd::timedOut:
        return {Number(QueryExit::timeOut), {}, {}, "not finished within the time of --timeout"};
    case EvaluationEnd::stopped:
        return {stoppedBySignal + end.number,
                {},
                {},
                std::string("ended early by ") + NameOfStopSignal(end.number)};
    default:
        return {Number(QueryExitOfCode(end.number)), end.number, {}, DescribeCode(end.number)};
    }
}

// One run, with what outlives the rows.
class Query {
public:
    explicit Query(QueryCommandLine const& theCommandLine)
        : commandLine(theCommandLine), output(STDOUT_FILENO) {}

    int Run() {
        EvaluationEnd const end = EvaluateRequest();
        if (end.closeCode != 0)
            Note("the agent did not confirm that the evaluation is closed (code " +
                 std::to_string(end.closeCode) + ")");
        return end.what == EvaluationEnd::finished ? StatusOfRows() : Fail(DescribeFailure(end));
    }

private:
    EvaluationEnd EvaluateRequest() {
        Progress progress(commandLine.quiet ? ProgressStyle::none : commandLine.progress);
        return Evaluate(MakeRequest(commandLine), progress,
                        [this](Rows const& rows) { UseRows(rows); });
    }

    void UseRows(Rows const& rows) {
        WriteRows(commandLine.format, rows, output);
        output.Flush();
        count = rows.count;
        if (!commandLine.acceptedResults.empty())
            others = CountOtherResults(rows, commandLine.acceptedResults);
    }

    int StatusOfRows() const {
        if (output.Error() != 0) {
            WriteMessage(program, std::string("the rows could not be written: ") +
                                      std::strerror(output.Error()));
            return Number(QueryExit::outputFailed);
        }
        if (others == 0)
            return Number(QueryExit::finished);
        Note(std::to_string(others) + " of " + std::to_string(count) +
             " rows have a result that --strict does not list");
        return Number(QueryExit::otherResult);
    }

    // Writes no second JSON document after rows.
    int Fail(JsonFailure const& failure) {
        WriteMessage(program, failure.message);
        if (commandLine.format == RowFormat::json && count < 0)
            WriteJson(failure, output);
        output.Flush();
        return failure.exitStatus;
    }

    void Note(std::string const& text) const {
        if (!commandLine.quiet)
            WriteMessage(program, text);
    }

    QueryCommandLine const& commandLine;
    Output output;
    // Of the rows that were written; -1 as long as none were.
    long long count = -1;
    unsigned int others = 0;
};

int Run(int count, char const* const* arguments) {
    QueryCommandLine const commandLine = ParseQueryCommandLine(count, arguments);
    switch (commandLine.action) {
    case QueryCommandLine::showHelp:
        return ShowText(queryHelp, Number(QueryExit::outputFailed));
    case QueryCommandLine::showVersion:
        return ShowText("compliance-query " CC_VERSION "\n", Number(QueryExit::outputFailed));
    default:
        CatchStopSignals();
        return Query(commandLine).Run();
    }
}

} // namespace

int main(int count, char** arguments) {
    return RunMain({program, Number(QueryExit::usage), Number(QueryExit::exchangeFailed)},
                   [&] { return Run(count, arguments); });
}
