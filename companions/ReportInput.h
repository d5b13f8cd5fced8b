// The files that a report reads.
#pragma once

#include <string>
#include <vector>

#include "companions/Report.h"

struct ReportFiles {
    // Sorted, each once.
    std::vector<std::string> paths = {};
    std::vector<ReportProblem> problems = {};
};

// Lists files as they are, and below directories all entries but directories. Entries whose names
// begin with a dot are skipped, and so are temporary files of compliance-query --output. Symbolic
// links to directories below a directory are not followed.
//
// Below directories the outputs of the report and their temporary files are skipped too: the report
// of an earlier run is no result.
ReportFiles ListReportFiles(std::vector<std::string> const& operands,
                            std::vector<std::string> const& outputs = {});

constexpr std::size_t maxHostsBytes = std::size_t{16} << 20;

// Returns the names in a file, one on each line. A byte order mark, spaces around a name, empty
// lines and lines that begin with '#' are skipped. Throws CommandLineError if the file cannot be
// read or is larger than the limit, for a name with spaces or control characters or of more than
// 255 bytes, and if there is no name.
std::vector<std::string> ReadHosts(std::string const& file);
