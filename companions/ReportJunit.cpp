#include "companions/ReportFormats.h"

#include <kainjow/mustache.hpp>

#include "companions/OptionValues.h"
#include "companions/Output.h"

namespace {

namespace Mustache = kainjow::mustache;

// Converts an evaluation time, which is a text with a number of microseconds by convention, to
// seconds. Returns 0 for any other text.
std::string SecondsOf(std::string const& evaluationTime) {
    std::optional<long long> const microseconds = ParseNumber(evaluationTime);
    return std::to_string(static_cast<double>(microseconds.value_or(0)) / 1'000'000);
}

class JunitWriter : public ReportWriter {
public:
    JunitWriter(Report const& theReport, Output& theOutput)
        : report(theReport), output(theOutput), suite(suiteTemplate), testCase(caseTemplate) {
        suite.set_custom_escape(EscapeMarkup);
        testCase.set_custom_escape(EscapeMarkup);
        output.Write("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites>\n");
    }

    bool WantsRows(ReportEntry const&) const override { return true; }

    void StartEntry(ReportEntry const&) override { isOpen = false; }

    void AddRow(ReportEntry const& entry, StoredRow const& row) override {
        if (!isOpen)
            StartSuite(entry, entry.result.rowCount, entry.failingRows);
        Mustache::data data = MakeCase(row, !report.IsAccepted(row[resultField]));
        data.set("suite", NameOfEntry(entry));
        Render(testCase, data);
    }

    // Without a row, the suite has not been started: the entry has none, or its file has changed.
    void EndEntry(ReportEntry const& entry) override {
        if (!isOpen)
            StartSuite(entry, 0, 0);
        output.Write(endOfSuite);
    }

    void Finish() override {
        if (!report.problems.empty()) {
            Mustache::data problems(Mustache::data::type::list);
            for (ReportProblem const& problem : report.problems)
                problems.push_back(MakeProblem(problem.file, "unreadable", problem.reason));
            Mustache::data data;
            data.set("suite", "compliance-report");
            data.set("host", "");
            WriteHead(data, problems, report.problems.size(), 0, 0);
            output.Write(endOfSuite);
        }
        output.Write("</testsuites>\n");
    }

private:
    static constexpr char endOfSuite[] = "  </testsuite>\n";

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

    void StartSuite(ReportEntry const& entry, std::size_t rows, std::size_t failures) {
        isOpen = true;
        Mustache::data problems(Mustache::data::type::list);
        for (Condition const condition : entry.conditions)
            problems.push_back(
                MakeProblem("evaluation", NameOf(condition), Describe(entry, condition)));
        Mustache::data data;
        data.set("suite", NameOfEntry(entry));
        data.set("host", entry.host);
        if (entry.hasResult)
            data.set("timestamp", entry.result.provenance->start.text);
        WriteHead(data, problems, entry.conditions.size(), rows, failures);
    }

    void WriteHead(Mustache::data& data, Mustache::data const& problems, std::size_t errors,
                   std::size_t rows, std::size_t failures) {
        data.set("tests", std::to_string(rows + errors));
        data.set("failures", std::to_string(failures));
        data.set("errors", std::to_string(errors));
        data.set("problems", problems);
        Render(suite, data);
    }

    void Render(Mustache::mustache& part, Mustache::data const& data) {
        part.render(data, [this](std::string const& text) { output.Write(text); });
    }

    Report const& report;
    Output& output;
    Mustache::mustache suite;
    Mustache::mustache testCase;
    // The suite of the entry has been started.
    bool isOpen = false;
};

} // namespace

std::unique_ptr<ReportWriter> MakeJunitWriter(Report const& report, Output& output) {
    return std::make_unique<JunitWriter>(report, output);
}
