// The configuration files of compliance-query (--config).
#pragma once

#include <optional>
#include <string>
#include <vector>

// "/etc/clientcompliance/NAME.conf".
std::string QueryConfigPath(std::string const& name);

// The name of a configuration, unchanged. Throws ValueError for a text that is no file name or that
// begins with a dot.
std::string ParseConfigName(std::string const& name);
constexpr char acceptedConfigName[] = "NAME of a file /etc/clientcompliance/NAME.conf";

struct QueryConfig {
    // Both absent for a request by default.
    std::optional<std::string> url = {};
    std::optional<std::string> document = {};
    unsigned int flags = 0;
    // None means that all results are good.
    std::vector<std::string> goodResults = {};
    // How many results to keep, for the program that collects them.
    std::optional<long long> keptResults = {};
    // One line for each mistake: the path, the line, and what is accepted. The other members are
    // valid only if there is none.
    std::vector<std::string> mistakes = {};
};

// Reads a file of lines KEY=VALUE. A line that begins with '#' or ';', and an empty line, are
// comments. Spaces around the key and the value are ignored, and so is a pair of quotes around the
// value. systemd reads the same values from it (EnvironmentFile= of systemd.exec(5)). What it would
// interpret or refuse is a mistake: a quote or a backslash within a value, a comment that ends with
// a backslash, a byte order mark, a value that is not UTF-8. A value has at most 4096 bytes.
//
// The keys are URL, DOCUMENT, FLAGS, GOOD_RESULTS and KEEP_RESULTS; each one is optional, but URL
// and DOCUMENT need each other.
QueryConfig ReadQueryConfig(std::string const& path);
