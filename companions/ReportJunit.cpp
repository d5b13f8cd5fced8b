#include "companions/ReportFormats.h"

#include <kainjow/mustache.hpp>

#include "companions/OptionValues.h"
#include "companions/Output.h"

namespace {

namespace Mustache = kainjow::mustache;

// Seconds; the evaluation time is by custom a number of microseconds.
std::string SecondsOf(std::string const& evaluationTime) {
    std::optional<long long> const microseconds = ParseNumber(evaluationTime);
    return std::to_string(static_cast<double>(microseconds.value_or(0)) / 1'000'000);
}

class JunitWriter : public ReportWriter {
public:
    JunitWriter(Report const& theReport, Output& theOutput)
        : report(theReport), output(theOutput), suite(suiteTemplate) {
        suite.set_custom_escape(EscapeMarkup);
        output.Write("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites>\n");
    }

    bool WantsRows(ReportEntry const&) const override { return true; }

    void Add(ReportEntry const& entry, std::vector<StoredRow> const& rows) override {
        Mustache::data problems(Mustache::data::type::list);
        for (Condition const condition : entry.conditions)
            problems.push_back(
                MakeProblem("evaluation", NameOf(condition), Describe(entry, condition)));
        Mustache::data cases(Mustache::data::type::list);
        std::size_t failures = 0;
        for (StoredRow const& row : rows) {
            bool const failed = !report.IsAccepted(row[resultField]);
            failures += failed ? 1 : 0;
            cases.push_back(MakeCase(row, failed));
        }
        Mustache::data data;
        data.set("suite", NameOfEntry(entry));
        data.set("host", entry.host);
        if (entry.hasResult)
            data.set("timestamp", entry.result.provenance->start.text);
        WriteSuite(data, problems, entry.conditions.size(), cases, rows.size(), failures);
    }

    void Finish() override {
        if (!report.problems.empty()) {
            Mustache::data problems(Mustache::data::type::list);
            for (ReportProblem const& problem : report.problems)
                problems.push_back(MakeProblem(problem.file, "unreadable", problem.reason));
            Mustache::data data;
            data.set("suite", "compliance-report");
            data.set("host", "");
            WriteSuite(data, problems, report.problems.size(),
                       Mustache::data(Mustache::data::type::list), 0, 0);
        }
        output.Write("</testsuites>\n");
    }

private:
    static Mustache::data MakeProblem(std::string const& name, std::string const& type,
                                      std::string const& message) {
        Mustache::data problem;
        problem.set("name", name);
        problem.set("type", type);
        problem.set("message", message);
        return problem;
    }

    static Mustache::data MakeCase(StoredRow const& row, bool failed) {
        Mustache::data data;
        data.set("name", row[designatorField]);
        data.set("time", SecondsOf(row[3]));
        data.set("failed", failed);
        if (!failed)
            return data;
        data.set("result", row[resultField]);
        data.set("message", row[resultField] + ": " + row[4]);
        data.set("comment", row[5]);
        return data;
    }

    void WriteSuite(Mustache::data& data, Mustache::data const& problems, std::size_t errors,
                    Mustache::data const& cases, std::size_t tests, std::size_t failures) {
        data.set("tests", std::to_string(tests + errors));
        data.set("failures", std::to_string(failures));
        data.set("errors", std::to_string(errors));
        data.set("problems", problems);
        data.set("cases", cases);
        suite.render(data, [this](std::string const& text) { output.Write(text); });
    }

    Report const& report;
    Output& output;
    Mustache::mustache suite;
};

} // namespace

std::unique_ptr<ReportWriter> MakeJunitWriter(Report const& report, Output& output) {
    return std::make_unique<JunitWriter>(report, output);
}
