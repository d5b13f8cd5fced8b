// The command line of compliance-report.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

#include "companions/Report.h"

// The statuses are an interface: none changes its meaning. Where they mean the same, they are those
// of compliance-query (QueryExit.h).
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

// The option of a format, such as "--html".
char const* NameOf(ReportFormat format);

struct ReportOutput {
    ReportFormat format;
    // "-" is standard output.
    std::string file;
};

struct ReportCommandLine {
    enum Action { writeReports, showHelp, showVersion };

    Action action = writeReports;
    // Without the hosts and the time.
    ReportOptions options = {};
    std::optional<std::string> hostsFile = {};
    std::vector<ReportOutput> outputs = {};
    mode_t mode = 0640;
    bool quiet = false;
    std::vector<std::string> files = {};
};

// Reads the arguments of main. --help and --version make all other arguments irrelevant, as long as
// each one is known. Throws CommandLineError.
ReportCommandLine ParseReportCommandLine(int count, char const* const* arguments);

// What --help shows.
extern char const reportHelp[];
