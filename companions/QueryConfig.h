// The configuration files of compliance-query (--config).
#pragma once

#include <optional>
#include <string>
#include <vector>

// Returns "/etc/clientcompliance/NAME.conf".
std::string QueryConfigPath(std::string const& name);

// Returns the name unchanged. Throws ValueError if it is empty, longer than 100 bytes, contains "/"
// or begins with a dot.
std::string ParseConfigName(std::string const& name);
constexpr char acceptedConfigName[] = "NAME of a file /etc/clientcompliance/NAME.conf";

struct QueryConfig {
    // Both nullopt for the default document (-d).
    std::optional<std::string> url = {};
    std::optional<std::string> document = {};
    unsigned int flags = 0;
    // Empty: all results are good.
    std::vector<std::string> goodResults = {};
    // The number of results that compliance-evaluate(8) keeps. Not used by this program.
    std::optional<long long> keptResults = {};
    // One line for each mistake: the path, the line number, the mistake and usually the accepted
    // values. There is no line number if the file cannot be read, is not a regular file or is too
    // large. The other members are valid only if this list is empty.
    std::vector<std::string> mistakes = {};
};

// Reads a configuration file. Does not throw for an invalid or unreadable file; see `mistakes`.
//
// Syntax: lines KEY=VALUE. Spaces and tabs around a line, a key or a value are ignored, and so is a
// pair of quotes around a value. Empty lines and lines that begin with '#' or ';' are ignored, too.
// The keys are URL, DOCUMENT, FLAGS, GOOD_RESULTS and KEEP_RESULTS. Each is optional and allowed
// once; URL and DOCUMENT require each other. A value has 1 to 4096 bytes, a file at most 64 KiB.
//
// systemd reads the same values from the file (EnvironmentFile= of systemd.exec(5)). Syntax that it
// would interpret differently or reject is a mistake:
// - a quote, a backslash or a control character in a value
// - a value that is not UTF-8
// - a comment that ends with a backslash, or contains a carriage return or a NUL byte; a carriage
//   return at its end is accepted
// - a byte order mark
QueryConfig ReadQueryConfig(std::string const& path);
