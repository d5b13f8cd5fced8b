#include "companions/ReportFormats.h"

#include <nlohmann/json.hpp>

#include "companions/JsonText.h"
#include "companions/Output.h"
#include "companions/Timestamp.h"
#include "companions/VisibleText.h"

namespace {

using Json = nlohmann::ordered_json;

Json MakeConditions(ReportTotals const& totals) {
    Json object = Json::object();
    for (std::size_t index = 0; index < conditionCount; ++index)
        object[NameOf(static_cast<Condition>(index))] = totals.conditions[index];
    return object;
}

Json MakeEntry(ReportEntry const& entry) {
    Json object = Json::object();
    AddText(object, "host", entry.host);
    object["conditions"] = Json::array();
    for (Condition const condition : entry.conditions)
        object["conditions"].push_back(NameOf(condition));
    object["result"] = nullptr;
    if (!entry.hasResult)
        return object;
    StoredProvenance const& known = *entry.result.provenance;
    Json result = Json::object();
    AddText(result, "file", entry.file);
    AddTextOrNull(result, "url", known.url);
    AddTextOrNull(result, "document", known.document);
    result["start"] = known.start.text;
    result["end"] = known.end.text;
    result["ageSeconds"] = entry.age;
    result["outcome"] = entry.result.finished ? "finished" : "failed";
    if (!entry.result.finished) {
        result["exitStatus"] = entry.result.exitStatus;
        AddText(result, "message", entry.result.message);
    }
    result["rows"] = entry.result.rowCount;
    result["failingRows"] = entry.failingRows;
    result["results"] = MakeCounts(entry.results);
    result["otherRows"] = entry.otherRows;
    result["olderResults"] = entry.olderResults;
    object["result"] = result;
    return object;
}

Json MakeOptions(ReportOptions const& options) {
    Json accepted = Json::array();
    for (std::string const& result : options.acceptedResults)
        accepted.push_back(MakeReadable(result));
    Json object = {{"acceptedResults", accepted}, {"allowEmpty", options.allowEmpty}};
    object["maxAgeSeconds"] = options.maxAge ? Json(options.maxAge->count()) : Json();
    object["expectedHosts"] = options.expectedHosts ? Json(options.expectedHosts->size()) : Json();
    return object;
}

class SummaryWriter : public ReportWriter {
public:
    SummaryWriter(Report const& theReport, Output& theOutput)
        : report(theReport), output(theOutput) {
        ReportTotals const& totals = report.totals;
        std::size_t const entries = report.entries.size();
        Json const head = {{"schemaVersion", reportSchemaVersion},
                           {"programVersion", CC_VERSION},
                           {"time", FormatTimestamp(report.options.now)},
                           {"options", MakeOptions(report.options)},
                           {"totals",
                            {{"entries", entries},
                             {"attention", totals.attention},
                             {"failing", totals.failing},
                             {"good", totals.good},
                             {"rows", totals.rows},
                             {"failingRows", totals.failingRows},
                             {"conditions", MakeConditions(totals)},
                             {"results", MakeCounts(totals.results)},
                             {"otherRows", totals.otherRows},
                             {"readFiles", report.readFiles}}}};
        std::string text = Dump(head);
        text.pop_back();
        output.Write(text + ",\n\"entries\":[");
    }

    bool WantsRows(ReportEntry const&) const override { return false; }

    void StartEntry(ReportEntry const& entry) override {
        output.Write((isFirst ? "\n" : ",\n") + Dump(MakeEntry(entry)));
        isFirst = false;
    }

    void AddRow(ReportEntry const&, StoredRow const&) override {}
    void EndEntry(ReportEntry const&) override {}

    void Finish() override {
        Json problems = Json::array();
        for (ReportProblem const& problem : report.problems) {
            Json object = Json::object();
            AddText(object, "file", problem.file);
            AddText(object, "reason", problem.reason);
            problems.push_back(object);
        }
        output.Write("],\n\"problems\":" + Dump(problems) + "}\n");
    }

private:
    std::string Dump(Json const& value) const { return value.dump(-1, ' ', output.IsTerminal()); }

    Report const& report;
    Output& output;
    bool isFirst = true;
};

} // namespace

std::unique_ptr<ReportWriter> MakeSummaryWriter(Report const& report, Output& output) {
    return std::make_unique<SummaryWriter>(report, output);
}
