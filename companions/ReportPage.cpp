#include "companions/ReportFormats.h"

#include <algorithm>
#include <chrono>
#include <string_view>

#include <kainjow/mustache.hpp>

#include "companions/JsonText.h"
#include "companions/Output.h"
#include "companions/Timestamp.h"

namespace {

namespace Mustache = kainjow::mustache;

// Returns a class of report.css.
char const* KindOf(ReportEntry const& entry) {
    if (!entry.conditions.empty())
        return "alert";
    return entry.failingRows > 0 ? "bad" : "good";
}

std::string StateOf(ReportEntry const& entry) {
    std::string state;
    for (Condition const condition : entry.conditions)
        state += std::string(state.empty() ? "" : ", ") + WordsOf(condition);
    if (!state.empty())
        return state;
    return entry.failingRows > 0 ? "failing rows" : "good";
}

std::string JoinResults(std::vector<std::string> const& results) {
    std::string text;
    for (std::string const& result : results)
        text += (text.empty() ? "" : ", ") + result;
    return text;
}

std::string JoinCounts(ReportEntry const& entry) {
    std::string text;
    for (auto const& [result, count] : entry.results)
        text += (text.empty() ? "" : ", ") + std::to_string(count) + " " + result;
    if (entry.otherRows > 0)
        text += (text.empty() ? "" : ", ") + std::to_string(entry.otherRows) + " others";
    return text;
}

// Returns the exact time, unlike FormatAge, which omits the smaller units.
std::string FormatMaxAge(std::chrono::seconds maxAge) {
    std::chrono::seconds::rep const age = maxAge.count();
    if (age % 3600 == 0)
        return FormatAge(age);
    return age % 60 == 0 ? std::to_string(age / 60) + " min" : std::to_string(age) + " s";
}

// Returns the percentage with three decimal places.
std::string Share(std::size_t part, std::size_t whole) {
    std::size_t const thousandths = whole == 0 ? 0 : part * 100'000 / whole;
    std::string const fraction = std::to_string(1000 + thousandths % 1000).substr(1);
    return std::to_string(thousandths / 1000) + "." + fraction;
}

// Returns the digest in base64, as a hash source of a Content-Security-Policy has it.
std::string HashSource(std::string_view hexadecimal) {
    std::string bytes;
    for (std::size_t index = 0; index < hexadecimal.size(); index += 2)
        bytes +=
            static_cast<char>(std::stoi(std::string(hexadecimal.substr(index, 2)), nullptr, 16));
    return EncodeBase64(bytes);
}

Mustache::data MakeList() { return Mustache::data(Mustache::data::type::list); }

Mustache::data MakeBadges(ReportEntry const& entry) {
    Mustache::data badges = MakeList();
    for (Condition const condition : entry.conditions) {
        Mustache::data badge;
        badge.set("words", WordsOf(condition));
        badge.set("sentence", Shorten(Describe(entry, condition)));
        badges.push_back(badge);
    }
    return badges;
}

void SetCount(Mustache::data& data, char const* name, std::size_t count) {
    data.set(name, std::to_string(count));
}

// Sets a text, or false if it is empty, so that the template omits its section.
void SetOptional(Mustache::data& data, char const* name, std::string const& text) {
    if (text.empty())
        data.set(name, false);
    else
        data.set(name, text);
}

// Sets the number of omitted items; the template omits the section for 0.
void SetMore(Mustache::data& data, char const* name, std::size_t count) {
    SetOptional(data, name, count > 0 ? std::to_string(count) : "");
}

Mustache::data MakeHost(ReportEntry const& entry, std::size_t rank) {
    std::size_t const rows = entry.result.rowCount;
    Mustache::data data;
    data.set("kind", KindOf(entry));
    data.set("host", Shorten(entry.host));
    SetCount(data, "rank", rank);
    data.set("badges", MakeBadges(entry));
    data.set("hasBadges", !entry.conditions.empty());
    data.set("state", StateOf(entry));
    data.set("hasRows", rows > 0);
    SetCount(data, "rows", rows);
    SetCount(data, "failing", entry.failingRows);
    SetCount(data, "goodRows", rows - entry.failingRows);
    data.set("goodWidth", Share(rows - entry.failingRows, rows));
    data.set("failingWidth", Share(entry.failingRows, rows));
    data.set("results", JoinCounts(entry));
    SetOptional(data, "failure", Shorten(entry.result.message));
    StoredProvenance const known = entry.result.provenance.value_or(StoredProvenance{});
    data.set("document", entry.hasResult ? Shorten(DocumentOf(entry)) : "");
    SetOptional(data, "start", known.start.text);
    data.set("age", entry.hasResult ? FormatAge(entry.age) : "never");
    // A host without a result sorts after all ages.
    data.set("ageSeconds", entry.hasResult ? std::to_string(entry.age) : "1e15");
    return data;
}

Mustache::data MakeFailingRow(ReportEntry const& entry, StoredRow const& row) {
    Mustache::data data;
    data.set("rowHost", Shorten(NameOfEntry(entry)));
    data.set("designator", Shorten(row[designatorField]));
    data.set("result", Shorten(row[resultField]));
    data.set("description", Shorten(row[4]));
    data.set("comment", Shorten(row[5]));
    return data;
}

// The maximum content of a page.
struct PageLimits {
    std::size_t rows;
    std::size_t hosts;
    // Show hosts without a condition and without failing rows, too.
    bool showsGoodHosts;
};

class PageWriter : public ReportWriter {
public:
    PageWriter(char const* text, PageLimits const& theLimits,
               Mustache::mustache::escape_handler const& escape, Report const& theReport,
               Output& theOutput)
        : limits(theLimits), report(theReport), output(theOutput), page(text) {
        page.set_custom_escape(escape);
    }

    bool WantsRows(ReportEntry const& entry) const override {
        return entry.failingRows > 0 && shownRows < limits.rows;
    }

    void StartEntry(ReportEntry const& entry) override {
        bool const isGood = entry.conditions.empty() && entry.failingRows == 0;
        if (!isGood || limits.showsGoodHosts)
            AddHost(entry);
    }

    void AddRow(ReportEntry const& entry, StoredRow const& row) override {
        if (shownRows < limits.rows && !report.IsAccepted(row[resultField])) {
            failingList.push_back(MakeFailingRow(entry, row));
            ++shownRows;
        }
    }

    void EndEntry(ReportEntry const&) override {}

    void Finish() override {
        Mustache::data data;
        SetHead(data);
        SetTotals(data);
        SetProblems(data);
        data.set("hosts", hosts);
        data.set("hasHosts", shownHosts > 0);
        SetMore(data, "moreHosts", moreHosts);
        data.set("failingList", failingList);
        data.set("hasFailing", shownRows > 0);
        SetCount(data, "shownRows", shownRows);
        // A file that has changed may have more failing rows than the totals.
        std::size_t const failingRows = std::max(report.totals.failingRows, shownRows);
        SetMore(data, "moreRows", failingRows - shownRows);
        page.render(data, [this](std::string const& text) { output.Write(text); });
    }

private:
    void AddHost(ReportEntry const& entry) {
        if (shownHosts < limits.hosts)
            hosts.push_back(MakeHost(entry, ++shownHosts));
        else
            ++moreHosts;
    }

    void SetHead(Mustache::data& data) const {
        ReportOptions const& options = report.options;
        data.set("version", CC_VERSION);
        data.set("style", styleSheet);
        data.set("script", scriptText);
        data.set("styleHash", HashSource(styleSheetSha256));
        data.set("scriptHash", HashSource(scriptTextSha256));
        data.set("time", FormatTimestamp(options.now));
        data.set("accepted", JoinResults(options.acceptedResults));
        SetOptional(data, "maxAge", options.maxAge ? FormatMaxAge(*options.maxAge) : "");
        SetOptional(data, "expected",
                    options.expectedHosts ? std::to_string(options.expectedHosts->size()) : "");
        SetCount(data, "files", report.readFiles);
    }

    void SetTotals(Mustache::data& data) const {
        ReportTotals const& totals = report.totals;
        std::size_t const all = report.entries.size();
        data.set("hasEntries", all > 0);
        data.set("attention", totals.attention > 0);
        data.set("failing", totals.failing > 0);
        SetCount(data, "attentionCount", totals.attention);
        SetCount(data, "failingCount", totals.failing);
        SetCount(data, "goodCount", totals.good);
        SetCount(data, "failingRows", totals.failingRows);
        SetCount(data, "rowCount", totals.rows);
        data.set("attentionWidth", Share(totals.attention, all));
        data.set("failingWidth", Share(totals.failing, all));
        data.set("goodStart", Share(totals.attention + totals.failing, all));
        data.set("goodWidth", Share(totals.good, all));
        data.set("conditions", MakeConditions());
        data.set("results", MakeResults());
    }

    Mustache::data MakeConditions() const {
        Mustache::data list = MakeList();
        for (std::size_t index = 0; index < conditionCount; ++index) {
            if (report.totals.conditions[index] == 0)
                continue;
            Mustache::data data;
            SetCount(data, "count", report.totals.conditions[index]);
            data.set("words", WordsOf(static_cast<Condition>(index)));
            list.push_back(data);
        }
        return list;
    }

    Mustache::data MakeResults() const {
        Mustache::data list = MakeList();
        for (auto const& [result, count] : report.totals.results) {
            Mustache::data data;
            SetCount(data, "count", count);
            data.set("result", result);
            data.set("kind", report.IsAccepted(result) ? "good" : "bad");
            list.push_back(data);
        }
        if (report.totals.otherRows > 0) {
            Mustache::data data;
            SetCount(data, "count", report.totals.otherRows);
            data.set("result", "others");
            data.set("kind", "calm");
            list.push_back(data);
        }
        return list;
    }

    void SetProblems(Mustache::data& data) const {
        Mustache::data list = MakeList();
        std::size_t const shown = std::min(report.problems.size(), maxShownProblems);
        for (std::size_t index = 0; index < shown; ++index) {
            Mustache::data item;
            item.set("reason", Shorten(report.problems[index].reason));
            list.push_back(item);
        }
        data.set("problems", list);
        data.set("hasProblems", shown > 0);
        SetMore(data, "moreProblems", report.problems.size() - shown);
    }

    PageLimits const limits;
    Report const& report;
    Output& output;
    Mustache::mustache page;
    Mustache::data hosts = MakeList();
    Mustache::data failingList = MakeList();
    std::size_t shownHosts = 0;
    std::size_t moreHosts = 0;
    std::size_t shownRows = 0;
};

} // namespace

std::unique_ptr<ReportWriter> MakePageWriter(ReportFormat format, Report const& report,
                                             Output& output) {
    if (format == ReportFormat::html)
        return std::make_unique<PageWriter>(htmlTemplate,
                                            PageLimits{maxHtmlRows, report.entries.size(), true},
                                            EscapeMarkup, report, output);
    return std::make_unique<PageWriter>(markdownTemplate,
                                        PageLimits{maxMarkdownRows, maxMarkdownHosts, false},
                                        EscapeMarkdown, report, output);
}
