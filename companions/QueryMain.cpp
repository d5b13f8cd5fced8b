// compliance-query: asks the endpoint agent to evaluate a compliance document, and writes the rows.
#include <cerrno>
#include <cstring>
#include <optional>
#include <string>

#include <unistd.h>

#include "companions/Evaluation.h"
#include "companions/FileIdentity.h"
#include "companions/JsonRows.h"
#include "companions/Metrics.h"
#include "companions/Output.h"
#include "companions/Program.h"
#include "companions/Progress.h"
#include "companions/QueryCommandLine.h"
#include "companions/QueryConfig.h"
#include "companions/QueryExit.h"
#include "companions/ResultFile.h"
#include "companions/Retry.h"
#include "companions/Rows.h"
#include "companions/StopSignals.h"

namespace {

constexpr char program[] = "compliance-query";

int Number(QueryExit status) { return static_cast<int>(status); }

std::string QuoteAll(std::vector<std::string> const& texts) {
    std::string all;
    for (std::string const& text : texts)
        all += (all.empty() ? "'" : ", '") + text + "'";
    return all;
}

std::string DescribeOthers(ResultCheck const& check, long long count, char const* acceptedBy) {
    std::string text = std::to_string(check.others) + " of " + std::to_string(count) +
                       " rows have a result that " + acceptedBy + " does not list: ";
    for (auto const& [designator, result] : check.firstOthers)
        text.append("'").append(designator).append("' ('").append(result).append("'), ");
    text.resize(text.size() - 2);
    return text + (check.others > check.firstOthers.size() ? ", ..." : "");
}

std::string DescribeFileError(char const* option, ResultFileError const& error) {
    return std::string(option) + ": " + error.what();
}

constexpr char staleResponse[] =
    "the response existed before the request, and belongs to an earlier request";

// Returns the failure for an evaluation that did not finish or that a signal stopped.
QueryFailure DescribeFailure(EvaluationEnd const& end) {
    switch (end.what) {
    case EvaluationEnd::agentError:
        return DescribeAgentError(end.number);
    case EvaluationEnd::timedOut:
        return {QueryExit::timeOut, "the evaluation did not finish within the time of --timeout"};
    case EvaluationEnd::stopped:
        return {QueryExit::stopped, std::string("ended early by ") + NameOfStopSignal(end.number)};
    case EvaluationEnd::stale:
        return {QueryExit::stale, std::string(staleResponse) + "; --allow-stale accepts it"};
    default:
        return DescribeCode(end.number);
    }
}

JsonFailure MakeJson(EvaluationEnd const& end, QueryFailure const& failure) {
    int const signal = end.what == EvaluationEnd::stopped ? end.number : 0;
    JsonFailure json{Number(failure.status) + signal, FactsOf(failure.status).word};
    if (end.what == EvaluationEnd::failed)
        json.code = end.number;
    if (end.what == EvaluationEnd::agentError)
        json.agentError = end.number;
    json.message = failure.message;
    return json;
}

// One attempt, from the evaluation to the exit status. Stores the values that are needed after the
// close, when the rows are no longer valid.
class Query {
public:
    Query(QueryCommandLine const& theCommandLine, char** theArguments)
        : commandLine(theCommandLine),
          arguments(theArguments),
          retry(commandLine.wait, commandLine.timeout) {}

    int Run() {
        int const status = RunWithOutput();
        return !commandLine.metricsFile || ReplaceMetrics(status) ? status
                                                                  : Number(QueryExit::outputFailed);
    }

private:
    int RunWithOutput() {
        try {
            OpenOutput();
            return RunEvaluation();
        } catch (ResultFileError const& error) { // GCOVR_EXCL_BR_LINE: others are bad_alloc
            WriteMessage(program, DescribeFileError("--output", error));
            return Number(QueryExit::outputFailed);
        }
    }

    int RunEvaluation() {
        EvaluationEnd end = EvaluateRequest();
        NoteOldResponses(end);
        responseWasOld = end.responseUnchanged;
        if (end.what == EvaluationEnd::finished)
            return StatusOfRows();
        QueryFailure failure = DescribeFailure(end);
        if (failure.temporary) {
            TryAgain(failure);
            if (StopSignal() != 0) {
                end = {EvaluationEnd::stopped, StopSignal()};
                failure = DescribeFailure(end);
            }
        }
        return Fail(end, MakeJson(end, failure));
    }

    void OpenOutput() {
        if (commandLine.outputFile)
            file.emplace(*commandLine.outputFile);
        output.emplace(file ? file->Descriptor() : STDOUT_FILENO);
    }

    EvaluationEnd EvaluateRequest() {
        Progress progress(commandLine.quiet ? ProgressStyle::none : commandLine.progress);
        EvaluationRequest const request = {
            commandLine.url ? commandLine.url->c_str() : nullptr,
            commandLine.document ? commandLine.document->c_str() : nullptr, commandLine.flags,
            retry.Deadline(), commandLine.allowStale};
        return Evaluate(request, progress,
                        [this](Rows const& rows, bool stale) { UseRows(rows, stale); });
    }

    void UseRows(Rows const& rows, bool stale) {
        WriteRows(rows, stale);
        output->Flush();
        count = rows.count;
        if (!commandLine.acceptedResults.empty())
            check = CheckResults(rows, commandLine.acceptedResults);
        if (commandLine.metricsFile)
            results = CountResults(rows);
    }

    Metrics MakeMetrics(int status) const {
        Provenance const provenance = recorder.Finish({}, responseWasOld);
        Metrics metrics = {.document = commandLine.document.value_or(""),
                           .config = commandLine.config,
                           .exitStatus = status,
                           .stale = responseWasOld,
                           .start = provenance.start,
                           .duration = provenance.duration,
                           .results = results};
        if (results && !commandLine.acceptedResults.empty())
            metrics.failing = check.others;
        return metrics;
    }

    // If the file cannot be replaced, writes a message and returns false.
    bool ReplaceMetrics(int status) const {
        try {
            WriteMetrics(*commandLine.metricsFile, MakeMetrics(status));
            return true;
        } catch (ResultFileError const& error) { // GCOVR_EXCL_BR_LINE: others are bad_alloc
            WriteMessage(program, DescribeFileError("--prometheus", error));
            return false;
        }
    }

    void WriteRows(Rows const& rows, bool stale) {
        switch (commandLine.format) { // GCOVR_EXCL_BR_LINE: each format has a case
        case RowFormat::table:
            return WriteTable(rows, commandLine.table, commandLine.acceptedResults, *output);
        case RowFormat::tsv:
            return WriteTsv(rows, *output);
        case RowFormat::json:
            return WriteJson(rows, recorder.Finish(LookAtResponse(), stale), *output);
        case RowFormat::ndjson:
            return WriteNdjson(rows, recorder.Finish(LookAtResponse(), stale), *output);
        }
    }

    void NoteOldResponses(EvaluationEnd const& end) const {
        if (end.responseUnchanged && end.what != EvaluationEnd::stale)
            Note(staleResponse);
        constexpr char old[] = " existed before; the agent may not have replaced it";
        if (end.openUnchanged)
            Note(std::string("the response to the opening request") + old);
        if (end.closeUnchanged)
            Note(std::string("the response to the closing request") + old);
        if (end.closeCode != 0)
            Note("the agent did not confirm that the evaluation is closed (code " +
                 std::to_string(end.closeCode) + ")");
    }

    int StatusOfRows() {
        if (!PublishOutput())
            return Number(QueryExit::outputFailed);
        if (commandLine.acceptedResults.empty())
            return Number(QueryExit::finished);
        if (!check.unused.empty())
            Note(commandLine.acceptedBy + std::string(" lists results that no row has: ") +
                 QuoteAll(check.unused));
        if (count == 0 && !commandLine.allowEmpty) {
            WriteMessage(program, "the evaluation has no rows");
            return Number(QueryExit::noRows);
        }
        if (check.others == 0)
            return Number(QueryExit::finished);
        WriteMessage(program, DescribeOthers(check, count, commandLine.acceptedBy));
        return Number(QueryExit::otherResult);
    }

    // If the output cannot be written or published, writes a message and returns false.
    bool PublishOutput() {
        if (!FinishOutput(program, *output, count < 0 ? "the document" : "the rows"))
            return false;
        try {
            if (file)
                file->Publish();
            return true;
        } catch (ResultFileError const& error) { // GCOVR_EXCL_BR_LINE: others are bad_alloc
            WriteMessage(program, DescribeFileError("--output", error));
            return false;
        }
    }

    // Sleeps, then executes the program again. Returns without --wait, if no time is left, after a
    // stop signal, and if the execution fails. Appends the reason for a failed execution to the
    // message.
    void TryAgain(QueryFailure& failure) {
        std::optional<std::chrono::milliseconds> const pause = retry.Pause();
        if (!pause)
            return;
        Note(failure.message + "; trying again in " +
             std::to_string(std::chrono::ceil<std::chrono::seconds>(*pause).count()) + " s");
        SleepUnlessStopped(*pause);
        if (StopSignal() != 0)
            return;
        // execve(2) runs no destructors, so the temporary file would remain.
        output.reset();
        file.reset();
        retry.Execute(arguments);
        failure.message +=
            std::string("; the program could not be executed again: ") + std::strerror(errno);
        OpenOutput();
    }

    // Writes the message. With --json or --ndjson, also writes a document, unless rows have been
    // written, or --output is used without --keep-failures. Returns the exit status: that of the
    // failure, also if standard output is lost.
    int Fail(EvaluationEnd const& end, JsonFailure const& failure) {
        WriteMessage(program, failure.message);
        bool const asJson =
            commandLine.format == RowFormat::json || commandLine.format == RowFormat::ndjson;
        bool const wanted = file ? commandLine.keepFailures : true;
        if (asJson && wanted && count < 0) {
            WriteFailure(failure, recorder.Finish(end.response, end.responseUnchanged), *output);
            if (!PublishOutput() && file)
                return Number(QueryExit::outputFailed);
        }
        return failure.exitStatus;
    }

    void Note(std::string const& text) const {
        if (!commandLine.quiet)
            WriteMessage(program, text);
    }

    QueryCommandLine const& commandLine;
    char** const arguments;
    Retry retry;
    ProvenanceRecorder const recorder{commandLine};
    std::optional<ResultFile> file;
    std::optional<Output> output;
    bool responseWasOld = false;
    // Set only for --prometheus.
    std::optional<ResultCounts> results;
    // The number of rows that were written; -1 before WriteRows has returned.
    long long count = -1;
    ResultCheck check;
};

// Throws CommandLineError if two of these are the same file: the rows, the metrics and the
// configuration. Called before a request is sent.
void RefuseSharedOutputs(QueryCommandLine const& commandLine) {
    std::vector<NamedFile> outputs = {commandLine.outputFile
                                          ? NamedFile{"--output", *commandLine.outputFile}
                                          : NamedFile{"standard output", "-", true}};
    if (commandLine.metricsFile)
        outputs.push_back({"--prometheus", *commandLine.metricsFile});
    std::vector<NamedFile> inputs;
    if (!commandLine.config.empty())
        inputs.push_back({"--config", QueryConfigPath(commandLine.config)});
    RefuseSharedFiles(outputs, inputs);
}

int RunQuery(QueryCommandLine const& commandLine, char** arguments) {
    RefuseSharedOutputs(commandLine);
    CatchStopSignals();
    return Query(commandLine, arguments).Run();
}

int CheckConfig(std::string const& name) {
    std::vector<std::string> const mistakes = ReadQueryConfig(QueryConfigPath(name)).mistakes;
    for (std::string const& mistake : mistakes)
        WriteMessage(program, mistake);
    return Number(mistakes.empty() ? QueryExit::finished : QueryExit::usage);
}

int Run(int count, char** arguments) {
    QueryCommandLine const commandLine = ParseQueryCommandLine(count, arguments);
    int const failure = Number(QueryExit::outputFailed);
    switch (commandLine.action) {
    case QueryCommandLine::showHelp:
        return ShowText(program, QueryHelp(), failure);
    case QueryCommandLine::showVersion:
        return ShowText(program, "compliance-query " CC_VERSION "\n", failure);
    case QueryCommandLine::explain:
        return ShowText(program, ExplainQueryExit(commandLine.status), failure);
    case QueryCommandLine::checkConfig:
        return CheckConfig(commandLine.config);
    default:
        return RunQuery(commandLine, arguments);
    }
}

} // namespace

int main(int count, char** arguments) {
    return RunMain({program, Number(QueryExit::usage), Number(QueryExit::exchangeFailed)},
                   [&] { return Run(count, arguments); });
}
