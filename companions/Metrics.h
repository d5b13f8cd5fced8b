// An evaluation as metrics in the text format of Prometheus (--prometheus), for the textfile
// collector of node_exporter:
// https://prometheus.io/docs/instrumenting/exposition_formats/#text-based-format
#pragma once

#include <chrono>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>

#include "companions/Rows.h"

struct Metrics {
    // Labels of each value. Empty for a request by default, and without --config.
    std::string document = {};
    std::string config = {};
    int exitStatus = 0;
    // Whether the final answer was there before its request.
    bool stale = false;
    timespec start = {};
    std::chrono::milliseconds duration{};
    // The number of rows with each result; nothing if the evaluation did not finish.
    std::optional<ResultCounts> results = {};
    // The number of rows with another result than those of --strict; nothing without --strict.
    std::optional<unsigned int> failing = {};
};

// Returns a line for each value, after lines HELP and TYPE. There are no timestamps, because the
// collector refuses them; the times are values.
//
// `former` is the text of the metrics before, possibly empty. An evaluation without rows keeps its
// rows and the time of its last success, if the labels are the same: a failed run must not end the
// alert for failing rows. Lines that this function cannot have written are not kept.
//
// At most 20 results have a value of their own, those with most rows. The rows of the others are
// summed as "other", and so are those whose result has more than 100 bytes. Ill-formed bytes are
// shown as "\xHH".
std::string FormatMetrics(Metrics const& metrics, std::string_view former);

// Replaces the file by the metrics, with the mode 0644 whatever the umask, since the collector is
// another user. Throws ResultFileError.
void WriteMetrics(std::string const& path, Metrics const& metrics);
