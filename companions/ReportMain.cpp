// compliance-report: turns the results of many hosts and nights into reports.
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <unistd.h>

#include "companions/FileIdentity.h"
#include "companions/Output.h"
#include "companions/Program.h"
#include "companions/Progress.h"
#include "companions/ReportCommandLine.h"
#include "companions/ReportFormats.h"
#include "companions/ReportInput.h"
#include "companions/ResultFile.h"
#include "companions/StopSignals.h"
#include "companions/Timestamp.h"

namespace {

constexpr char program[] = "compliance-report";

int Number(ReportExit status) { return static_cast<int>(status); }

// Leaves the report after a stop signal.
struct Stopped {
    int signal;
};

// One output of the command line.
class Target {
public:
    Target(ReportOutput const& theOutput, mode_t mode) : format(theOutput.format) {
        if (theOutput.file != "-")
            file.emplace(theOutput.file, mode);
        output.emplace(file ? file->Descriptor() : STDOUT_FILENO);
        name = theOutput.file == "-" ? "the report" : theOutput.file;
    }

    void Start(Report const& report) { writer = MakeReportWriter(format, report, *output); }
    ReportWriter& Writer() { return *writer; }

    // Returns false, with a message, if the output is not complete.
    bool Publish() {
        writer->Finish();
        if (!FinishOutput(program, *output, name))
            return false;
        if (file)
            file->Publish();
        return true;
    }

private:
    ReportFormat const format;
    std::string name;
    std::optional<ResultFile> file;
    std::optional<Output> output;
    std::unique_ptr<ReportWriter> writer;
};

// Shows the share of the work that is done, and looks at stop signals.
class Steps {
public:
    Steps(bool isQuiet, std::size_t theCount)
        : progress(isQuiet ? ProgressStyle::none : ProgressStyle::automatic), count(theCount) {}

    void Next() {
        if (StopSignal() != 0)
            throw Stopped{StopSignal()};
        auto const percent = static_cast<int>(done++ * 100 / count);
        if (percent != shown)
            progress.Percent(percent);
        shown = percent;
    }

private:
    Progress progress;
    std::size_t const count;
    std::size_t done = 0;
    int shown = -1;
};

// Throws CommandLineError. Nothing is written before.
ReportOptions MakeOptions(ReportCommandLine const& commandLine) {
    std::vector<NamedFile> outputs;
    for (ReportOutput const& output : commandLine.outputs)
        outputs.push_back({NameOf(output.format), output.file});
    std::vector<NamedFile> inputs;
    for (std::string const& file : commandLine.files)
        inputs.push_back({"FILE", file});
    if (commandLine.hostsFile)
        inputs.push_back({"--hosts", *commandLine.hostsFile});
    RefuseSharedFiles(outputs, inputs);
    ReportOptions options = commandLine.options;
    options.now = CurrentTime();
    if (commandLine.hostsFile)
        options.expectedHosts = ReadHosts(*commandLine.hostsFile);
    return options;
}

ReportFiles ListFiles(ReportCommandLine const& commandLine) {
    std::vector<std::string> outputs;
    for (ReportOutput const& output : commandLine.outputs)
        outputs.push_back(output.file);
    return ListReportFiles(commandLine.files, outputs);
}

Report ReadResults(ReportOptions const& options, ReportFiles const& files, bool quiet) {
    ReportBuilder builder(options);
    for (ReportProblem const& problem : files.problems)
        builder.AddProblem(problem);
    Steps steps(quiet, files.paths.size());
    for (std::string const& file : files.paths) {
        steps.Next();
        builder.Read(file);
    }
    return builder.Finish();
}

// Reads the rows again where a format shows them: rows of all hosts would not fit into memory.
void WriteEntries(Report& report, std::vector<std::unique_ptr<Target>> const& targets, bool quiet) {
    Steps steps(quiet, report.entries.size());
    for (ReportEntry const& entry : report.entries) {
        steps.Next();
        bool isWanted = false;
        for (auto const& target : targets)
            isWanted = isWanted || target->Writer().WantsRows(entry);
        std::vector<StoredRow> rows;
        if (isWanted && entry.result.rowCount > 0)
            try {
                rows = ReadRows(entry);
            } catch (StoredResultError const& error) {
                report.problems.push_back({entry.file, error.what()});
            }
        for (auto const& target : targets)
            target->Writer().Add(entry, rows);
    }
}

ReportExit Judge(Report const& report) {
    if (!report.problems.empty())
        return ReportExit::unreadable;
    if (report.totals.attention > 0 || report.entries.empty())
        return ReportExit::attention;
    return report.totals.failingRows > 0 ? ReportExit::otherResult : ReportExit::good;
}

int WriteReports(ReportCommandLine const& commandLine) {
    ReportOptions const options = MakeOptions(commandLine);
    // Before there are temporary files.
    ReportFiles const files = ListFiles(commandLine);
    std::vector<std::unique_ptr<Target>> targets;
    for (ReportOutput const& output : commandLine.outputs)
        targets.push_back(std::make_unique<Target>(output, commandLine.mode));
    Report report = ReadResults(options, files, commandLine.quiet);
    for (auto const& target : targets)
        target->Start(report);
    WriteEntries(report, targets, commandLine.quiet);
    bool isComplete = true;
    for (auto const& target : targets)
        isComplete = target->Publish() && isComplete;
    for (ReportProblem const& problem : report.problems)
        WriteMessage(program, problem.reason);
    return Number(isComplete ? Judge(report) : ReportExit::outputFailed);
}

int Write(ReportCommandLine const& commandLine) {
    CatchStopSignals();
    try {
        return WriteReports(commandLine);
    } catch (Stopped const& stopped) {
        WriteMessage(program, std::string("ended early by ") + NameOfStopSignal(stopped.signal));
        return Number(ReportExit::stopped) + stopped.signal;
    }
}

int Run(int count, char const* const* arguments) {
    ReportCommandLine const commandLine = ParseReportCommandLine(count, arguments);
    int const failure = Number(ReportExit::outputFailed);
    switch (commandLine.action) {
    case ReportCommandLine::showHelp:
        return ShowText(program, reportHelp, failure);
    case ReportCommandLine::showVersion:
        return ShowText(program, "compliance-report " CC_VERSION "\n", failure);
    default:
        return Write(commandLine);
    }
}

} // namespace

int main(int count, char** arguments) {
    return RunMain({program, Number(ReportExit::usage), Number(ReportExit::outputFailed)},
                   [&] { return Run(count, arguments); });
}
