#include "companions/Report.h"

#include <algorithm>
#include <array>
#include <functional>
#include <set>
#include <tuple>
#include <utility>

#include "companions/Timestamp.h"

namespace {

struct ConditionFacts {
    char const* name;
    char const* words;
};

constexpr std::array<ConditionFacts, conditionCount> conditionFacts = {{
    {"missing", "no result"},
    {"two-machines", "two machines"},
    {"failed", "failed"},
    {"stale", "stale response"},
    {"too-old", "too old"},
    {"from-future", "from the future"},
    {"no-rows", "no rows"},
    {"not-expected", "not expected"},
}};

std::pair<time_t, long> MomentOf(StoredTime const& time) {
    return {time.time.tv_sec, time.time.tv_nsec};
}

// Returns a hash of the whole result, equal for copies.
std::size_t DigestOf(StoredResult const& result) {
    StoredProvenance const& known = *result.provenance;
    std::size_t digest = result.rowDigest;
    for (std::string const& text :
         {known.url.value_or(""), known.document.value_or(""), known.host, known.start.text,
          known.end.text, known.agentModified.value_or(StoredTime{}).text, result.failure,
          result.message, std::to_string(result.exitStatus), std::to_string(result.rowCount),
          std::string(result.finished ? "finished" : "failed") + (known.stale ? ", stale" : "")})
        digest = MixHash(digest, text);
    return digest;
}

// Returns why the result cannot be assigned to a host, or an empty string.
std::string ReasonAgainst(StoredResult const& result) {
    if (!result.provenance)
        return "expected a result with provenance; its host and time are unknown";
    std::size_t const length = result.provenance->host.size();
    if (length == 0 || length > maxHostNameLength)
        return "expected a host name of 1 to " + std::to_string(maxHostNameLength) + " bytes";
    return "";
}

void CountResult(ReportEntry& entry, std::string const& result) {
    auto const found = entry.results.find(result);
    if (found != entry.results.end())
        ++found->second;
    else if (entry.results.size() < maxCountedResults && result.size() <= maxResultNameLength)
        entry.results.emplace(result, 1);
    else
        ++entry.otherRows;
}

// Orders results from older to newer. Of results with equal times, a failed one is newer, then the
// one with the last path. So the order in which files are read does not matter.
auto RecencyOf(ReportEntry const& entry) {
    StoredProvenance const& known = *entry.result.provenance;
    return std::tuple(MomentOf(known.start), MomentOf(known.end), !entry.result.finished,
                      std::string_view(entry.file));
}

// Returns the group of an entry in the order of the report.
std::size_t RankOf(ReportEntry const& entry) {
    if (!entry.conditions.empty())
        return static_cast<std::size_t>(entry.conditions.front());
    return conditionCount + (entry.failingRows > 0 ? 0 : 1);
}

auto OrderOf(ReportEntry const& entry) {
    static StoredProvenance const none;
    StoredProvenance const& known = entry.hasResult ? *entry.result.provenance : none;
    return std::tuple(RankOf(entry), std::cref(entry.host).get(), known.url, known.document);
}

bool Lists(std::vector<std::string> const& hosts, std::string const& host) {
    return std::ranges::binary_search(hosts, FoldHostName(host), {}, FoldHostName);
}

void SortHosts(std::vector<std::string>& hosts) {
    std::ranges::stable_sort(hosts, {}, FoldHostName);
    auto const areEqual = [](std::string const& one, std::string const& two) {
        return FoldHostName(one) == FoldHostName(two);
    };
    hosts.erase(std::unique(hosts.begin(), hosts.end(), areEqual), hosts.end());
}

} // namespace

char const* NameOf(Condition condition) {
    return conditionFacts[static_cast<std::size_t>(condition)].name;
}

char const* WordsOf(Condition condition) {
    return conditionFacts[static_cast<std::size_t>(condition)].words;
}

std::string Describe(ReportEntry const& entry, Condition condition) {
    switch (condition) {
    case Condition::missing:
        return "the host is expected, but has no result";
    case Condition::twoMachines:
        return "two machines probably use this host name: evaluations overlap, or the agent's "
               "program alternates";
    case Condition::failed:
        return "the newest evaluation failed with exit status " +
               std::to_string(entry.result.exitStatus) + ": " + entry.result.message;
    case Condition::stale:
        return "the agent's response existed before the request, or it is unknown whether it did";
    case Condition::tooOld:
        return "the newest result is " + FormatAge(entry.age) + " old";
    case Condition::fromFuture:
        return "the newest result ended at " + entry.result.provenance->end.text +
               ", which is in the future";
    case Condition::noRows:
        return "the evaluation finished without a row";
    default:
        return "the host is not one of the expected hosts";
    }
}

bool Report::IsAccepted(std::string const& result) const {
    return std::ranges::find(options.acceptedResults, result) != options.acceptedResults.end();
}

ReportBuilder::ReportBuilder(ReportOptions const& options) {
    report.options = options;
    if (report.options.expectedHosts)
        SortHosts(*report.options.expectedHosts);
}

void ReportBuilder::Read(std::string const& file) {
    ReportEntry entry;
    entry.file = file;
    entry.hasResult = true;
    try {
        entry.result = ReadStoredResult(file, StoredKind::regularFile, [&](StoredRow&& row) {
            CountResult(entry, row[resultField]);
            entry.failingRows += report.IsAccepted(row[resultField]) ? 0 : 1;
        });
    } catch (StoredResultError const& error) { // GCOVR_EXCL_BR_LINE: others are bad_alloc
        AddProblem({file, error.what()});
        return;
    }
    std::string const reason = ReasonAgainst(entry.result);
    if (!reason.empty()) {
        AddProblem({file, file + ": " + reason});
        return;
    }
    entry.otherRows += KeepMostFrequent(entry.results, maxResultNames);
    ++report.readFiles;
    Add(std::move(entry));
}

void ReportBuilder::Add(ReportEntry&& entry) {
    StoredProvenance const& known = *entry.result.provenance;
    entry.host = known.host;
    std::size_t const digest = DigestOf(entry.result);
    if (entry.result.finished) {
        Interval interval{MomentOf(known.start), MomentOf(known.end), {}, digest};
        if (known.agentModified)
            interval.agentModified = MomentOf(*known.agentModified);
        intervalsOfHosts[FoldHostName(known.host)].push_back(interval);
    }
    Key const key(FoldHostName(known.host), known.url, known.document);
    digests[key].insert(digest);
    auto const [found, isFirst] = newest.try_emplace(key);
    if (isFirst)
        ++sites[{std::get<0>(key), known.document}];
    if (isFirst || RecencyOf(entry) > RecencyOf(found->second))
        found->second = std::move(entry);
}

// A machine runs one evaluation at a time, because of the lock, so overlapping evaluations come
// from two machines. A modification time of the agent's program that returns to an earlier value
// comes from two machines, too, because updates do not restore it. Copies of a result count once.
bool ReportBuilder::HasTwoMachines(std::vector<Interval>& intervals) {
    std::ranges::sort(intervals);
    intervals.erase(std::unique(intervals.begin(), intervals.end()), intervals.end());
    for (std::size_t index = 1; index < intervals.size(); ++index) {
        Interval const& former = intervals[index - 1];
        Moment const start = intervals[index].start;
        if (start < former.end || start == former.start)
            return true;
    }
    return ReturnsToEarlierAgent(intervals);
}

bool ReportBuilder::ReturnsToEarlierAgent(std::vector<Interval> const& intervals) {
    Moment const* agent = nullptr;
    std::set<Moment> earlierAgents;
    for (Interval const& interval : intervals) {
        if (!interval.agentModified || (agent != nullptr && *agent == *interval.agentModified))
            continue;
        agent = &*interval.agentModified;
        if (!earlierAgents.insert(*agent).second)
            return true;
    }
    return false;
}

void ReportBuilder::FindHostsOfTwoMachines() {
    for (auto& [host, intervals] : intervalsOfHosts)
        if (HasTwoMachines(intervals))
            hostsOfTwoMachines.insert(host);
}

void ReportBuilder::AddMissingHosts() {
    if (!report.options.expectedHosts)
        return;
    std::set<std::string, std::less<>> present;
    for (ReportEntry const& entry : report.entries)
        present.insert(FoldHostName(entry.host));
    for (std::string const& host : *report.options.expectedHosts)
        if (!present.contains(FoldHostName(host)))
            report.entries.push_back({.host = host});
}

void ReportBuilder::Judge(ReportEntry& entry) {
    auto const add = [&entry](bool applies, Condition condition) {
        if (applies)
            entry.conditions.push_back(condition);
    };
    add(!entry.hasResult, Condition::missing);
    if (!entry.hasResult)
        return;
    ReportOptions const& options = report.options;
    StoredProvenance const& known = *entry.result.provenance;
    bool const isFinished = entry.result.finished;
    entry.age = static_cast<std::int64_t>(options.now.tv_sec) - known.end.time.tv_sec;
    add(hostsOfTwoMachines.contains(FoldHostName(entry.host)), Condition::twoMachines);
    bool const isStaleFailure = !isFinished && entry.result.failure == "stale";
    add(!isFinished && !isStaleFailure, Condition::failed);
    add(isStaleFailure || (isFinished && known.stale), Condition::stale);
    add(options.maxAge && entry.age > options.maxAge->count(), Condition::tooOld);
    add(entry.age < -maxClockDifference.count(), Condition::fromFuture);
    add(isFinished && entry.result.rowCount == 0 && !options.allowEmpty, Condition::noRows);
    add(options.expectedHosts && !Lists(*options.expectedHosts, entry.host),
        Condition::notExpected);
}

void ReportBuilder::Total(ReportEntry const& entry) {
    ReportTotals& totals = report.totals;
    totals.rows += entry.result.rowCount;
    totals.failingRows += entry.failingRows;
    totals.otherRows += entry.otherRows;
    for (auto const& [result, count] : entry.results)
        totals.results[result] += count;
    for (Condition const condition : entry.conditions)
        ++totals.conditions[static_cast<std::size_t>(condition)];
    if (!entry.conditions.empty())
        ++totals.attention;
    else
        ++(entry.failingRows > 0 ? totals.failing : totals.good);
}

Report ReportBuilder::Finish() {
    for (auto& [key, entry] : newest) {
        entry.olderResults = digests[key].size() - 1;
        entry.hasOtherSites = sites[{std::get<0>(key), std::get<2>(key)}] > 1;
        report.entries.push_back(std::move(entry));
    }
    newest.clear();
    FindHostsOfTwoMachines();
    AddMissingHosts();
    for (ReportEntry& entry : report.entries)
        Judge(entry);
    std::ranges::sort(report.entries, {}, OrderOf);
    std::ranges::sort(report.problems);
    for (ReportEntry const& entry : report.entries)
        Total(entry);
    report.totals.otherRows += KeepMostFrequent(report.totals.results, maxResultNames);
    return std::move(report);
}

void ReadRows(ReportEntry const& entry, std::function<void(StoredRow&&)> const& useRow) {
    StoredResult const& known = entry.result;
    auto const require = [&entry](bool isUnchanged) {
        if (!isUnchanged)
            throw StoredResultError(entry.file + ": expected no change during the report");
    };
    require(StateOfFile(entry.file) == known.state);
    StoredResult const result = ReadStoredResult(entry.file, StoredKind::regularFile, useRow);
    require(result.state == known.state && result.provenance == known.provenance &&
            result.rowCount == known.rowCount && result.rowDigest == known.rowDigest);
}
