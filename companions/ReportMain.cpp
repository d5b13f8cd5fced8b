// compliance-report: reports on the stored results of many hosts.
#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <utility>
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

// Thrown after a stop signal.
struct Stopped {
    int signal;
};

void ThrowIfStopped() {
    if (StopSignal() != 0)
        throw Stopped{StopSignal()};
}

// One output of the command line.
class Target {
public:
    Target(ReportOutput const& theOutput, mode_t mode) : format(theOutput.format) {
        if (!theOutput.IsStandardOutput())
            file.emplace(theOutput.file, mode);
        output.emplace(file ? file->Descriptor() : STDOUT_FILENO);
        name = theOutput.IsStandardOutput() ? "the report" : theOutput.file;
    }

    void Start(Report const& report) { writer = MakeReportWriter(format, report, *output); }
    ReportWriter& Writer() { return *writer; }

    // If the output is incomplete, writes a message and returns false. Throws Stopped, also if a
    // stop signal ends the wait for a slow reader.
    bool Publish() {
        writer->Finish();
        output->Flush();
        ThrowIfStopped();
        if (!FinishOutput(program, *output, name))
            return false;
        try {
            if (file)
                file->Publish();
            return true;
        } catch (ResultFileError const& error) { // GCOVR_EXCL_BR_LINE: others are bad_alloc
            WriteMessage(program, error.what());
            return false;
        }
    }

private:
    ReportFormat const format;
    std::string name;
    std::optional<ResultFile> file;
    std::optional<Output> output;
    std::unique_ptr<ReportWriter> writer;
};

// True if a report goes to a terminal, where it would mix with the progress bar.
bool WritesToTerminal(ReportCommandLine const& commandLine) {
    return std::ranges::any_of(commandLine.outputs, &ReportOutput::IsStandardOutput) &&
           isatty(STDOUT_FILENO) == 1;
}

// Shows progress and checks for stop signals. There are two passes, over the files and over the
// entries; each counts as half of the work.
class Steps {
public:
    explicit Steps(bool isHidden)
        : progress(isHidden ? ProgressStyle::none : ProgressStyle::automatic) {}

    void StartPass(std::size_t theCount) {
        percentBefore = passes++ * percentOfPass;
        count = theCount;
        done = 0;
    }

    void Next() {
        ThrowIfStopped();
        int const percent = percentBefore + static_cast<int>(done++ * percentOfPass / count);
        if (percent != shown)
            progress.Percent(percent);
        shown = percent;
    }

    void Clear() { progress.Clear(); }

private:
    static constexpr int percentOfPass = 50;

    Progress progress;
    std::size_t count = 0;
    std::size_t done = 0;
    int passes = 0;
    int percentBefore = 0;
    int shown = -1;
};

std::vector<NamedFile> OutputsOf(ReportCommandLine const& commandLine) {
    std::vector<NamedFile> outputs;
    for (ReportOutput const& output : commandLine.outputs)
        outputs.push_back({NameOf(output.format), output.file, output.IsStandardOutput()});
    return outputs;
}

// Throws CommandLineError. Called before any output is created.
ReportOptions MakeOptions(ReportCommandLine const& commandLine) {
    std::vector<NamedFile> inputs;
    for (std::string const& file : commandLine.files)
        inputs.push_back({"FILE", file});
    if (commandLine.hostsFile)
        inputs.push_back({"--hosts", *commandLine.hostsFile});
    RefuseSharedFiles(OutputsOf(commandLine), inputs);
    ReportOptions options = commandLine.options;
    if (commandLine.hostsFile)
        options.expectedHosts = ReadHosts(*commandLine.hostsFile);
    return options;
}

Report ReadResults(ReportOptions const& options, ReportFiles files, Steps& steps) {
    ReportBuilder builder(options);
    for (ReportProblem& problem : files.problems)
        builder.AddProblem(std::move(problem));
    steps.StartPass(files.paths.size());
    for (std::string const& file : files.paths) {
        steps.Next();
        builder.Read(file);
    }
    // Not earlier: a result that was stored during a long pass would be from the future.
    builder.SetTime(CurrentTime());
    return builder.Finish();
}

using Targets = std::vector<std::unique_ptr<Target>>;

// Reads the rows of an entry again if a format wants them: the rows of all hosts may not fit into
// memory.
void WriteRows(Report& report, ReportEntry const& entry, Targets const& targets) {
    bool const isWanted = std::ranges::any_of(
        targets, [&entry](auto const& target) { return target->Writer().WantsRows(entry); });
    if (!isWanted || entry.result.rowCount == 0)
        return;
    try {
        ReadRows(entry, [&](StoredRow const& row) {
            for (auto const& target : targets)
                target->Writer().AddRow(entry, row);
        });
    } catch (StoredResultError const& error) { // GCOVR_EXCL_BR_LINE: others are bad_alloc
        report.problems.push_back({entry.file, error.what()});
    }
}

void WriteEntries(Report& report, Targets const& targets, Steps& steps) {
    steps.StartPass(report.entries.size());
    for (ReportEntry const& entry : report.entries) {
        steps.Next();
        for (auto const& target : targets)
            target->Writer().StartEntry(entry);
        WriteRows(report, entry, targets);
        for (auto const& target : targets)
            target->Writer().EndEntry(entry);
    }
}

// Publishes all targets, even if one fails. Returns true if all are complete.
bool PublishAll(Targets const& targets) {
    bool isComplete = true;
    for (auto const& target : targets)
        isComplete = target->Publish() && isComplete;
    return isComplete;
}

void ListProblems(std::vector<ReportProblem> const& problems) {
    std::size_t const shown = std::min(problems.size(), maxShownProblems);
    for (std::size_t index = 0; index < shown; ++index)
        WriteMessage(program, Shorten(problems[index].reason));
    if (shown < problems.size())
        WriteMessage(program, "and " + std::to_string(problems.size() - shown) + " more problems");
}

ReportExit Judge(Report const& report) {
    if (!report.problems.empty())
        return ReportExit::unreadable;
    if (report.totals.attention > 0 || report.entries.empty())
        return ReportExit::attention;
    return report.totals.failingRows > 0 ? ReportExit::otherResult : ReportExit::good;
}

// Writes a message if the list of expected hosts has duplicates.
void NoteRepeatedHosts(ReportOptions const& options, Report const& report) {
    if (!options.expectedHosts)
        return;
    std::size_t const repeated =
        options.expectedHosts->size() - report.options.expectedHosts->size();
    if (repeated > 0)
        WriteMessage(program,
                     "--hosts: repeated names, which count once: " + std::to_string(repeated));
}

int WriteReports(ReportCommandLine const& commandLine) {
    ReportOptions const options = MakeOptions(commandLine);
    // Not earlier: a stop signal must end a wait for the file of --hosts, such as a FIFO.
    CatchStopSignals();
    // Before the targets create temporary files, which would be listed.
    ReportFiles files = ListReportFiles(commandLine.files, OutputsOf(commandLine));
    Targets targets;
    for (ReportOutput const& output : commandLine.outputs)
        targets.push_back(std::make_unique<Target>(output, commandLine.mode));
    Steps steps(commandLine.quiet || WritesToTerminal(commandLine));
    Report report = ReadResults(options, std::move(files), steps);
    if (!commandLine.quiet)
        NoteRepeatedHosts(options, report);
    for (auto const& target : targets)
        target->Start(report);
    WriteEntries(report, targets, steps);
    steps.Clear();
    bool const isComplete = PublishAll(targets);
    ListProblems(report.problems);
    return Number(isComplete ? Judge(report) : ReportExit::outputFailed);
}

int Write(ReportCommandLine const& commandLine) {
    try {
        return WriteReports(commandLine);
    } catch (Stopped const& stopped) { // GCOVR_EXCL_BR_LINE: other types are not caught
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
