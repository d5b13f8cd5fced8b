// The command line of compliance-report.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

#include "companions/Report.h"

// The exit statuses are stable: none changes its meaning. Those with the same meaning have the same
// number as in compliance-query (QueryExit.h).
enum class ReportExit {
    good = 0,
    unreadable = 1,
    usage = 2,
    outputFailed = 8,
    otherResult = 10,
    attention = 12,
    stopped = 128,
};

enum class ReportFormat { html, csv, junit, markdown, json };
constexpr std::size_t reportFormatCount = 5;

// Returns the option of a format, such as "--html".
char const* NameOf(ReportFormat format);

struct ReportOutput {
    ReportFormat format;
    // "-": standard output.
    std::string file;

    bool IsStandardOutput() const { return file == "-"; }
};

struct ReportCommandLine {
    enum Action { writeReports, showHelp, showVersion };

    Action action = writeReports;
    // Without `ReportOptions::expectedHosts` and `ReportOptions::now`.
    ReportOptions options = {};
    std::optional<std::string> hostsFile = {};
    std::vector<ReportOutput> outputs = {};
    mode_t mode = 0640;
    bool quiet = false;
    std::vector<std::string> files = {};
};

// Parses the arguments of main. Throws CommandLineError. With --help or --version, values are not
// checked, and operands may be missing.
ReportCommandLine ParseReportCommandLine(int count, char const* const* arguments);

// The output of --help.
extern char const reportHelp[];
