// Reports on stored results.
#pragma once

#include "companions/Report.h"
#include "tests/companions/StoredResults.h"

// "HOST: CONDITIONS"
inline std::string StateText(ReportEntry const& entry) {
    std::string state = entry.host + ":";
    for (Condition const condition : entry.conditions)
        state += std::string(" ") + NameOf(condition);
    return state;
}

class ReportTest : public testing::Test {
protected:
    ReportTest() {
        options.acceptedResults = {"Pass"};
        options.now = {resultTime + 3600, 0};
    }

    std::string Store(std::string const& name, Provenance const& provenance,
                      RowList const& rows = {ResultRow("d", "Pass")}) {
        return Keep(name, ResultText(rows, provenance));
    }

    // Stores a result of web1 that started this long after the usual time.
    void StoreAt(std::string const& name, time_t after) {
        Store(name, ProvenanceOf("web1", resultTime + after));
    }

    // Stores a row with each of these results, as the result of web1.
    void StoreResults(Texts const& results) {
        RowList rows;
        for (std::string const& result : results)
            rows.push_back(ResultRow("d", result));
        Store("a", ProvenanceOf("web1"), rows);
    }

    std::string StoreFailure(std::string const& name, Provenance const& provenance,
                             JsonFailure const& failure) {
        return Keep(name,
                    OutputOf([&](Output& output) { WriteFailure(failure, provenance, output); }));
    }

    std::string Keep(std::string const& name, std::string const& text) {
        files.push_back(WriteFile(directory / name, text));
        return files.back();
    }

    Report Make() const {
        ReportBuilder builder(options);
        for (std::string const& file : files)
            builder.Read(file);
        return builder.Finish();
    }

    ReportEntry FirstEntry() const { return Make().entries.at(0); }

    void ExpectStates(Texts const& expected) const {
        Texts states;
        for (Report const report = Make(); ReportEntry const& entry : report.entries)
            states.push_back(StateText(entry));
        EXPECT_EQ(expected, states);
    }

    TemporaryDirectory const directory;
    ReportOptions options;
    Texts files;
};
