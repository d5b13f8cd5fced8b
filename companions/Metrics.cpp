#include "companions/Metrics.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <set>

#include "companions/Output.h"
#include "companions/ResultFile.h"
#include "companions/Utf8.h"
#include "companions/VisibleText.h"

namespace {

constexpr std::size_t maxResults = 20;
constexpr char others[] = "other";

// Returns readable text with the three escapes of label values: line feed, quote and backslash.
std::string EscapeLabel(std::string_view value) {
    std::string escaped;
    for (char const c : MakeReadable(value)) {
        if (c == '\n')
            escaped += "\\n";
        else if (c == '"' || c == '\\')
            escaped.append(1, '\\').append(1, c);
        else
            escaped += c;
    }
    return escaped;
}

std::string FormatSeconds(std::chrono::milliseconds time) {
    std::string text = time.count() < 0 ? "-" : "";
    auto const count = std::chrono::abs(time).count();
    std::string const thousandths = std::to_string(1000 + count % 1000);
    return text.append(std::to_string(count / 1000)).append(".").append(thousandths.substr(1));
}

std::string FormatTime(timespec const& time) {
    return FormatSeconds(std::chrono::milliseconds(time.tv_sec * 1000 + time.tv_nsec / 1'000'000));
}

ResultCounts LimitResults(ResultCounts const& results) {
    ResultCounts named;
    unsigned int otherRows = 0;
    for (auto const& [result, count] : results)
        if (result.size() <= maxResultNameLength)
            named.emplace(result, count);
        else
            otherRows += count;
    otherRows += static_cast<unsigned int>(KeepMostFrequent(named, maxResults));
    ResultCounts limited;
    for (auto const& [result, count] : named)
        limited[MakeReadable(result)] += count;
    if (otherRows > 0)
        limited[others] += otherRows;
    return limited;
}

constexpr std::string_view resultLabel = ",result=\"";

bool TakePrefix(std::string_view& text, std::string_view prefix) {
    bool const hasPrefix = text.starts_with(prefix);
    text.remove_prefix(hasPrefix ? prefix.size() : 0);
    return hasPrefix;
}

// Removes an escaped label value and the closing quote from the front of the text. Returns false if
// there is no value in the form of EscapeLabel.
bool TakeLabelEnd(std::string_view& text) {
    for (std::size_t index = 0; index < text.size(); ++index)
        if (text[index] == '"') {
            bool const isUtf8 = IsUtf8(text.substr(0, index));
            text.remove_prefix(index + 1);
            return isUtf8;
        } else if (text[index] == '\\') {
            ++index;
            if (index == text.size() ||
                std::string_view("n\"\\").find(text[index]) == std::string_view::npos)
                return false;
        }
    return false;
}

bool AreDigits(std::string_view text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

// True for a count and for a time of FormatSeconds, which can be negative.
bool IsValue(std::string_view text) {
    std::size_t const point = text.find('.');
    if (point == std::string_view::npos)
        return AreDigits(text);
    std::size_t const start = text.starts_with('-') ? 1 : 0;
    return AreDigits(text.substr(start, point - start)) && AreDigits(text.substr(point + 1));
}

// True if the text has the form that Writer::Add writes after the name and the common labels.
bool IsEndOfSample(std::string_view text, bool hasResult) {
    return (!hasResult || (TakePrefix(text, resultLabel) && TakeLabelEnd(text))) &&
           TakePrefix(text, "} ") && IsValue(text);
}

std::string FormatLabels(Metrics const& metrics) {
    return "{document=\"" + EscapeLabel(metrics.document) + "\",config=\"" +
           EscapeLabel(metrics.config) + "\"";
}

// Returns an upper bound for the size of metrics with these labels.
std::size_t MaxSizeOf(Metrics const& metrics) {
    // One for each result, one for all other results, and six metrics with one sample.
    constexpr std::size_t maxSamples = maxResults + 7;
    // The name, the escaped result, the value, and lines HELP and TYPE.
    constexpr std::size_t maxRestOfSample = 1024;
    return maxSamples * (FormatLabels(metrics).size() + maxRestOfSample);
}

class Writer {
public:
    Writer(Metrics const& metrics, std::string_view theFormer)
        : labels(FormatLabels(metrics)), former(theFormer) {}

    void Describe(std::string const& name, std::string const& help) {
        text.append("# HELP ").append(name).append(" ").append(help).append("\n");
        text.append("# TYPE ").append(name).append(" gauge\n");
    }

    void Add(std::string const& name, std::string const& value, std::string const& label = "") {
        text.append(name).append(labels).append(label).append("} ").append(value).append("\n");
    }

    void AddOne(std::string const& name, std::string const& help, std::string const& value) {
        Describe(name, help);
        Add(name, value);
    }

    // Copies the samples with this name and the same labels from `former`, without duplicates.
    void Keep(std::string const& name, std::string const& help, bool hasResult = false) {
        Describe(name, help);
        std::string const begin = name + labels;
        std::set<std::string_view> kept;
        for (std::string_view rest = former; !rest.empty();) {
            std::string_view const line = rest.substr(0, rest.find('\n'));
            rest.remove_prefix(std::min(line.size() + 1, rest.size()));
            if (line.starts_with(begin) && IsEndOfSample(line.substr(begin.size()), hasResult) &&
                kept.insert(line.substr(0, line.rfind(' '))).second)
                text.append(line).append("\n");
        }
    }

    std::string const& Text() const { return text; }

private:
    std::string const labels;
    std::string_view const former;
    std::string text;
};

constexpr char rowsName[] = "clientcompliance_rows";
constexpr char rowsHelp[] = "Rows of the last evaluation that finished, by result.";
constexpr char failingName[] = "clientcompliance_failing_rows";
constexpr char failingHelp[] =
    "Rows whose result is not good, in the last evaluation that finished.";
constexpr char successName[] = "clientcompliance_last_success_timestamp_seconds";
constexpr char successHelp[] = "Start of the last evaluation that finished with a new response.";

void AddRows(Writer& writer, Metrics const& metrics) {
    writer.Describe(rowsName, rowsHelp);
    for (auto const& [result, count] : LimitResults(*metrics.results))
        writer.Add(rowsName, std::to_string(count),
                   std::string(resultLabel) + EscapeLabel(result) + "\"");
    writer.Describe(failingName, failingHelp);
    if (metrics.failing)
        writer.Add(failingName, std::to_string(*metrics.failing));
}

// Returns the content of the file, or an empty string if it cannot be read or exceeds the limit.
std::string ReadFormer(std::string const& path, std::size_t maxSize) {
    std::ifstream file(path, std::ios::binary);
    std::string text(maxSize + 1, '\0');
    file.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<std::size_t>(file.gcount()));
    return text.size() > maxSize ? "" : text;
}

} // namespace

std::string FormatMetrics(Metrics const& metrics, std::string_view former) {
    Writer writer(metrics, former);
    writer.AddOne("clientcompliance_exit_status", "Exit status of the last run.",
                  std::to_string(metrics.exitStatus));
    writer.AddOne("clientcompliance_stale", "1 if the agent left its earlier response.",
                  metrics.stale ? "1" : "0");
    writer.AddOne("clientcompliance_last_run_timestamp_seconds",
                  "Start of the last run, with --wait of its last attempt.",
                  FormatTime(metrics.start));
    writer.AddOne("clientcompliance_duration_seconds",
                  "Duration of the last run, with --wait of its last attempt.",
                  FormatSeconds(metrics.duration));
    if (metrics.results && !metrics.stale)
        writer.AddOne(successName, successHelp, FormatTime(metrics.start));
    else
        writer.Keep(successName, successHelp);
    if (metrics.results) {
        AddRows(writer, metrics);
    } else {
        writer.Keep(rowsName, rowsHelp, true);
        writer.Keep(failingName, failingHelp);
    }
    return writer.Text();
}

void WriteMetrics(std::string const& path, Metrics const& metrics) {
    constexpr mode_t readableByAll = 0644;
    std::string const text = FormatMetrics(metrics, ReadFormer(path, MaxSizeOf(metrics)));
    ResultFile file(path, readableByAll);
    Output output(file.Descriptor());
    output.Write(text);
    output.Flush();
    if (output.Error() != 0)
        throw ResultFileError("'" + path +
                              "' could not be written: " + std::strerror(output.Error()));
    file.Publish();
}
