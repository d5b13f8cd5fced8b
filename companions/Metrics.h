// Metrics of an evaluation in the text format of Prometheus (--prometheus), for the textfile
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
    // Labels of all samples. `document` is empty for the default document. `config` is empty
    // without --config.
    std::string document = {};
    std::string config = {};
    int exitStatus = 0;
    // The final response existed before its request.
    bool stale = false;
    timespec start = {};
    std::chrono::milliseconds duration{};
    // The number of rows for each result; nullopt if the evaluation did not finish.
    std::optional<ResultCounts> results = {};
    // The number of rows whose result is not accepted; nullopt without a list of accepted results,
    // or if the evaluation did not finish.
    std::optional<unsigned int> failing = {};
};

// Returns all metrics, each with HELP and TYPE lines. Times are values of samples, because the
// collector rejects timestamps.
//
// `former` is the previous content of the file, possibly empty. If the evaluation did not finish,
// the samples for rows in `former` are kept if they have the same labels. Otherwise, a failed run
// would end an alert for failing rows. The time of the last success is kept in the same way if the
// evaluation did not finish or is stale. Only lines with the syntax of these samples are kept.
//
// The 20 results with the most rows have samples of their own. The rows with other results, and
// with results of more than 100 bytes, are counted as "other". Values of labels are readable text
// (MakeReadable of VisibleText.h).
std::string FormatMetrics(Metrics const& metrics, std::string_view former);

// Replaces the file atomically, and keeps samples of its previous content (FormatMetrics). A file
// counts as empty if it cannot be read, or is larger than any output with these labels. Throws
// ResultFileError. The mode of the file is 0644, whatever the umask is, because the collector runs
// as another user.
void WriteMetrics(std::string const& path, Metrics const& metrics);
