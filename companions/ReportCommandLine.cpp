#include "companions/ReportCommandLine.h"

#include <algorithm>
#include <array>

#include "companions/Arguments.h"
#include "companions/OptionValues.h"

namespace {

constexpr char acceptedOutputs[] =
    "a regular file, a new name in a directory that exists, or - for standard output";

constexpr std::array reportOptionRules = {
    OptionRule{"--help", nullptr, 'h'},
    OptionRule{"--version", nullptr, 'V'},
    OptionRule{"--strict", acceptedResults},
    OptionRule{"--allow-empty"},
    OptionRule{"--hosts", "the name of a file"},
    OptionRule{"--max-age", acceptedDuration},
    OptionRule{"--html", acceptedOutputs},
    OptionRule{"--csv", acceptedOutputs},
    OptionRule{"--junit", acceptedOutputs},
    OptionRule{"--markdown", acceptedOutputs},
    OptionRule{"--json", acceptedOutputs},
    OptionRule{"--mode", "an octal mode from 400 to 777"},
    OptionRule{"--quiet", nullptr, 'q'},
};
constexpr std::array<char const*, 1> reportOperandNames = {"FILE|DIRECTORY..."};

struct FormatOption {
    char const* name;
    ReportFormat format;
};

constexpr std::array<FormatOption, reportFormatCount> formatOptions = {{
    {"--html", ReportFormat::html},
    {"--csv", ReportFormat::csv},
    {"--junit", ReportFormat::junit},
    {"--markdown", ReportFormat::markdown},
    {"--json", ReportFormat::json},
}};

std::string ParseOutput(std::string const& file) { return file == "-" ? file : ParseFile(file); }

std::vector<ReportOutput> ParseOutputs(Arguments const& arguments) {
    std::vector<ReportOutput> outputs;
    for (FormatOption const& option : formatOptions)
        for (std::string const& file : arguments.Values(option.name)) {
            ParseOption(reportOptionRules, option.name, file, ParseOutput);
            if (std::ranges::find(outputs, file, &ReportOutput::file) != outputs.end())
                throw CommandLineError(std::string(option.name) + ": '" + file +
                                       "' is the output of another option");
            outputs.push_back({option.format, file});
        }
    if (outputs.empty())
        throw CommandLineError("no output; accepted: one or more of --html, --csv, --junit, "
                               "--markdown and --json");
    return outputs;
}

mode_t ParseMode(std::string const& text) {
    bool const isOctal = (text.size() == 3 || (text.size() == 4 && text.starts_with('0'))) &&
                         text.find_first_not_of("01234567") == std::string::npos;
    mode_t const mode = isOctal ? static_cast<mode_t>(std::stoul(text, nullptr, 8)) : 0;
    if ((mode & 0400) == 0)
        throw ValueError(text);
    return mode;
}

} // namespace

char const* NameOf(ReportFormat format) {
    return std::ranges::find(formatOptions, format, &FormatOption::format)->name;
}

ReportCommandLine ParseReportCommandLine(int count, char const* const* argumentTexts) {
    Arguments const arguments(reportOptionRules, reportOperandNames, count, argumentTexts);
    if (arguments.Has("--help"))
        return {.action = ReportCommandLine::showHelp};
    if (arguments.Has("--version"))
        return {.action = ReportCommandLine::showVersion};
    ReportCommandLine result;
    result.options.acceptedResults = ReadResults(reportOptionRules, arguments, "--strict");
    if (result.options.acceptedResults.empty())
        throw CommandLineError("--strict is missing; accepted: the good results, " +
                               std::string(acceptedResults));
    result.options.allowEmpty = arguments.Has("--allow-empty");
    ReadLast(reportOptionRules, arguments, "--max-age", ParseDuration, result.options.maxAge);
    if (arguments.Has("--hosts"))
        result.hostsFile = arguments.Values("--hosts").back();
    result.outputs = ParseOutputs(arguments);
    ReadLast(reportOptionRules, arguments, "--mode", ParseMode, result.mode);
    result.quiet = arguments.Has("--quiet");
    result.files = arguments.Operands();
    if (result.files.empty())
        throw CommandLineError("FILE is missing; accepted: files and directories with results");
    return result;
}

// clang-format off
char const reportHelp[] =
    "Usage: compliance-report --strict LIST [OPTION]... FILE|DIRECTORY...\n"
    "\n"
    "Reads results of many hosts and nights, which compliance-query wrote as JSON,\n"
    "and writes reports. The newest result of each host, site and document counts.\n"
    "Hosts that need attention come first.\n"
    "\n"
    "Good results and expected hosts:\n"
    "  --strict LIST         the good results, comma-separated (required)\n"
    "  --allow-empty         accept a result without rows\n"
    "  --hosts FILE          the expected hosts, one name on each line\n"
    "  --max-age TIME        a result is too old after this time (90, 90s, 5m, 2h)\n"
    "\n"
    "Reports, at least one; a FILE of - is standard output:\n"
    "  --html FILE           a page that loads no other resources\n"
    "  --csv FILE            all rows (RFC 4180)\n"
    "  --junit FILE          test suites in the JUnit format\n"
    "  --markdown FILE       the hosts that are not good, and the failing rows\n"
    "  --json FILE           the numbers of rows of each host\n"
    "  --mode MODE           the mode of the reports as an octal number (default 640)\n"
    "\n"
    "Messages:\n"
    "  -q, --quiet           write no progress and no notes, only errors\n"
    "  -h, --help            show this help\n"
    "  -V, --version         show the version\n"
    "\n"
    "Exit statuses; if several apply, the first in the order 8, 1, 12, 10 counts:\n"
    "    0  every host has a good result\n"
    "    1  a file is not a result with a host name or has changed, or a directory\n"
    "       is unreadable, so the reports are not complete\n"
    "    2  the command line or the file of --hosts is invalid, or a report would\n"
    "       replace an input or another report\n"
    "    8  a report could not be written\n"
    "   10  a row has a result that is not in the list\n"
    "   12  a host needs attention, or there is no result at all\n"
    "  128 + n  ended early by signal n\n"
    "\n"
    "Manual page: compliance-report(1)\n";
// clang-format on
