// Computes the state of many hosts from their stored results.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "companions/Rows.h"
#include "companions/StoredResult.h"

// The reasons why a host needs attention. Failing rows are not one of them. The report sorts hosts
// in this order.
enum class Condition {
    missing,     // the host is expected but has no result
    twoMachines, // two machines use this host name
    failed,      // the newest evaluation failed, for another reason than a stale response
    stale,       // the newest response existed before its request, or it is unknown whether it did
    tooOld,      // the newest result ended more than ReportOptions::maxAge ago
    fromFuture,  // the newest result ended more than maxClockDifference after ReportOptions::now
    noRows,      // the newest evaluation finished without rows; not with ReportOptions::allowEmpty
    notExpected, // the host is not one of the expected hosts
};
constexpr std::size_t conditionCount = 8;

// Return the name for programs ("too-old") and the name for people ("too old").
char const* NameOf(Condition condition);
char const* WordsOf(Condition condition);

constexpr std::chrono::seconds maxClockDifference(60);
// The number of results that are counted by name, for each entry and in total: those with the most
// rows. Rows with other results are counted together.
constexpr std::size_t maxResultNames = 16;
// The number of different results of a file that are counted before maxResultNames are selected.
constexpr std::size_t maxCountedResults = 1'000;
constexpr std::size_t maxHostNameLength = 255;

struct ReportOptions {
    std::vector<std::string> acceptedResults = {};
    bool allowEmpty = false;
    std::optional<std::chrono::seconds> maxAge = {};
    // nullopt: it is unknown which hosts are expected. A repeated name counts once.
    std::optional<std::vector<std::string>> expectedHosts = {};
    // The time of the report.
    timespec now = {};
};

// The newest result of one host, URL and document.
struct ReportEntry {
    std::string host = {};
    // False for a missing host. All other members except `host` and `conditions` are then empty.
    bool hasResult = false;
    std::string file = {};
    StoredResult result = {};
    // Seconds since the end of the evaluation; negative if that is in the future.
    std::int64_t age = 0;
    std::size_t failingRows = 0;
    ResultCounts results = {};
    // The number of rows with results that are not in `results`.
    std::size_t otherRows = 0;
    // The number of older results, without copies.
    std::size_t olderResults = 0;
    // True if another entry has the same host and document, and another URL.
    bool hasOtherSites = false;
    // Sorted, without duplicates.
    std::vector<Condition> conditions = {};
};

// Returns a sentence about a condition of the entry, without a full stop.
std::string Describe(ReportEntry const& entry, Condition condition);

// A file that is not the result of a known host or that changed during the report, or a directory
// that could not be read. The host is known if the provenance of the result has a host name of 1 to
// maxHostNameLength bytes. The reason contains the path.
struct ReportProblem {
    std::string file;
    std::string reason;

    auto operator<=>(ReportProblem const&) const = default;
};

struct ReportTotals {
    std::size_t rows = 0;
    std::size_t failingRows = 0;
    // The number of entries with a condition.
    std::size_t attention = 0;
    // The numbers of entries without a condition: with failing rows, and without.
    std::size_t failing = 0;
    std::size_t good = 0;
    std::size_t conditions[conditionCount] = {};
    ResultCounts results = {};
    std::size_t otherRows = 0;
};

// The state of all hosts. Does not depend on the order in which the files were read.
struct Report {
    ReportOptions options = {};
    // Sorted by the first condition, then entries with failing rows, then all others; within each
    // group by host, URL and document.
    std::vector<ReportEntry> entries = {};
    std::vector<ReportProblem> problems = {};
    // The number of files that are results of a known host, including copies.
    std::size_t readFiles = 0;
    ReportTotals totals = {};

    bool IsAccepted(std::string const& result) const;
};

// Builds a report from files. Memory does not depend on the number of rows.
class ReportBuilder {
public:
    explicit ReportBuilder(ReportOptions const& options);

    // Reads a result. Adds a problem if the file is not a result of a known host.
    void Read(std::string const& file);
    void AddProblem(ReportProblem&& problem) { report.problems.push_back(std::move(problem)); }
    // Replaces ReportOptions::now.
    void SetTime(timespec const& now) { report.options.now = now; }

    // Returns the report. REQUIRES: this is the last call for this object.
    Report Finish();

private:
    // Folded host, URL and document.
    using Key = std::tuple<std::string, std::optional<std::string>, std::optional<std::string>>;

    // Seconds and nanoseconds.
    using Moment = std::pair<time_t, long>;

    // The time of a finished evaluation. The intervals of a host name show whether several machines
    // use it.
    struct Interval {
        Moment start;
        Moment end;
        std::optional<Moment> agentModified;
        // The digest of the result's content. Equal for copies.
        std::size_t digest;

        auto operator<=>(Interval const&) const = default;
    };

    void Add(ReportEntry&& entry);
    static bool HasTwoMachines(std::vector<Interval>& intervals);
    // REQUIRES: the intervals are sorted.
    static bool ReturnsToEarlierAgent(std::vector<Interval> const& intervals);
    void FindHostsOfTwoMachines();
    void AddMissingHosts();
    void Judge(ReportEntry& entry);
    void Total(ReportEntry const& entry);

    Report report;
    std::map<Key, ReportEntry> newest;
    std::map<Key, std::set<std::size_t>> digests;
    // The number of entries by folded host and document.
    std::map<std::pair<std::string, std::optional<std::string>>, std::size_t> sites;
    std::map<std::string, std::vector<Interval>> intervalsOfHosts; // by folded name
    std::set<std::string> hostsOfTwoMachines;                      // folded names
};

// Reads the rows of an entry from its file again. Throws StoredResultError, possibly after the last
// row; also if the file has changed since ReportBuilder::Read.
void ReadRows(ReportEntry const& entry, std::function<void(StoredRow&&)> const& useRow);
