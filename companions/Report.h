// The state of many hosts, computed from their results of many nights.
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

// Why a host needs attention whatever its rows are, in the order of the report.
enum class Condition {
    missing,     // the host is expected, and there is no result of it
    twoMachines, // two machines use this host name
    failed,      // the newest evaluation failed
    stale,       // its answer was there before its request, or may have been
    tooOld,      // it ended before the maximum age
    fromFuture,  // it ended after the reader's clock
    noRows,      // it finished without a row
    notExpected, // the host is not among those that are expected
};
constexpr std::size_t conditionCount = 8;

// A word for programs ("too-old"), and words for people.
char const* NameOf(Condition condition);
char const* WordsOf(Condition condition);

// A result from the future is one that is later than this. Clocks of machines differ a little.
constexpr std::chrono::seconds maxClockDifference(60);
// Results that are counted by name for each host and in total, those with the most rows. Rows with
// others are counted together.
constexpr std::size_t maxResultNames = 16;
// Different results of a file that are counted until the most frequent ones are chosen.
constexpr std::size_t maxCountedResults = 1'000;
constexpr std::size_t maxHostNameLength = 255;

// Returns the name in lower case. Host names are compared case-insensitively, as DNS does: in ASCII
// only (RFC 4343).
std::string FoldHostName(std::string name);

struct ReportOptions {
    std::vector<std::string> acceptedResults = {};
    bool allowEmpty = false;
    std::optional<std::chrono::seconds> maxAge = {};
    // Nothing if no machines are named as expected. A repeated name counts once.
    std::optional<std::vector<std::string>> expectedHosts = {};
    // The reader's clock.
    timespec now = {};
};

// The newest result of one host and document.
struct ReportEntry {
    std::string host = {};
    // False for a host that is missing; the other members are then empty.
    bool hasResult = false;
    std::string file = {};
    StoredResult result = {};
    // Seconds since its end; negative in the future.
    std::int64_t age = 0;
    std::size_t failingRows = 0;
    ResultCounts results = {};
    // Rows with results beyond maxResultNames.
    std::size_t otherRows = 0;
    // Results that are older, without copies.
    std::size_t olderResults = 0;
    // In their order, each once.
    std::vector<Condition> conditions = {};
};

// A sentence about one of the entry's conditions, without a full stop.
std::string Describe(ReportEntry const& entry, Condition condition);

// A file that is no result, or not of a known host. The reason has the name of the file.
struct ReportProblem {
    std::string file;
    std::string reason;

    auto operator<=>(ReportProblem const&) const = default;
};

struct ReportTotals {
    std::size_t rows = 0;
    std::size_t failingRows = 0;
    // Entries with a condition.
    std::size_t attention = 0;
    // Entries with failing rows and without a condition, and entries with neither.
    std::size_t failing = 0;
    std::size_t good = 0;
    std::size_t conditions[conditionCount] = {};
    ResultCounts results = {};
    std::size_t otherRows = 0;
};

// Does not depend on the order in which files were read.
struct Report {
    ReportOptions options = {};
    // Those with a condition first, in the order of their first condition; then those with failing
    // rows; then the others. Within these by host, URL and document.
    std::vector<ReportEntry> entries = {};
    std::vector<ReportProblem> problems = {};
    // Files that are results of a known host, copies included.
    std::size_t readFiles = 0;
    ReportTotals totals = {};

    bool IsAccepted(std::string const& result) const;
};

// Reads files one by one, and keeps no row.
class ReportBuilder {
public:
    explicit ReportBuilder(ReportOptions const& options);

    // Counts the file as a problem if it is no result.
    void Read(std::string const& file);
    void AddProblem(ReportProblem const& problem) { report.problems.push_back(problem); }

    // Call it once, at the end.
    Report Finish();

private:
    // Folded host, URL and document.
    using Key = std::tuple<std::string, std::optional<std::string>, std::optional<std::string>>;

    // Seconds and nanoseconds.
    using Moment = std::pair<time_t, long>;

    // A finished evaluation. Several of one host show whether it is one machine.
    struct Interval {
        Moment start;
        Moment end;
        std::optional<Moment> agentModified;
        // Of the content of the result.
        std::size_t digest;

        auto operator<=>(Interval const&) const = default;
    };

    void Add(ReportEntry&& entry);
    static bool HasTwoMachines(std::vector<Interval>& intervals);
    // REQUIRES: the intervals are sorted.
    static bool ReturnsToEarlierAgent(std::vector<Interval> const& intervals);
    void AddMissingHosts();
    void Judge(ReportEntry& entry);
    void Total(ReportEntry const& entry);

    Report report;
    std::map<Key, ReportEntry> newest;
    // Of the content of each result.
    std::map<Key, std::set<std::size_t>> digests;
    std::map<std::string, std::vector<Interval>> intervalsOfHosts; // by folded name
};

// Reads the rows of an entry again. Throws StoredResultError, also if the file changed since. That
// may be after the last row.
void ReadRows(ReportEntry const& entry, std::function<void(StoredRow&&)> const& useRow);
