// Lists the results that a report reads, and reads the list of expected hosts.
#pragma once

#include <string>
#include <vector>

#include "companions/FileIdentity.h"
#include "companions/Report.h"

struct ReportFiles {
    // Sorted, without duplicates.
    std::vector<std::string> paths = {};
    std::vector<ReportProblem> problems = {};
};

// Returns the operands that are not directories, and all files below those that are. Below a
// directory, omits:
//
// - names that begin with a dot;
// - temporary files of compliance-query --output, for a file "*.json" or "*.ndjson";
// - the outputs of the report and their temporary files, which an earlier run may have left;
// - symbolic links to directories.
//
// A directory that cannot be read is a problem.
ReportFiles ListReportFiles(std::vector<std::string> const& operands,
                            std::vector<NamedFile> const& outputs = {});

constexpr std::size_t maxHostsBytes = std::size_t{16} << 20;

// Returns the host names in a file, one on each line. Ignores empty lines and lines that begin with
// '#'. Also ignores a byte order mark, a carriage return at the end of a line, and spaces and tabs
// around a name.
//
// Throws CommandLineError if the file cannot be read, has more than maxHostsBytes or lists no host.
// Also throws it for a name that has more than 255 bytes, a space or a control character.
std::vector<std::string> ReadHosts(std::string const& file);
