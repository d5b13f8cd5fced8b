// Validates the output of the programs against their schemas, with python3-jsonschema.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <set>
#include <string>

#include <nlohmann/json.hpp>

#include "companions/Diff.h"
#include "companions/Doctor.h"
#include "companions/DoctorReport.h"
#include "companions/JsonRows.h"
#include "companions/QueryExit.h"
#include "companions/ReportFormats.h"
#include "tests/companions/RowList.h"
#include "tests/support/OtherProcess.h"

namespace {

using Json = nlohmann::json;

constexpr char query[] = CC_SCHEMAS "/compliance-query.schema.json";
// The documents must stay valid for readers of the first version.
constexpr char firstVersion[] = CC_TEST_DATA "/compliance-query.schema.1.json";
constexpr char diff[] = CC_SCHEMAS "/compliance-diff.schema.json";
constexpr char reportSchema[] = CC_SCHEMAS "/compliance-report.schema.json";
constexpr char doctor[] = CC_SCHEMAS "/compliance-doctor.schema.json";

class SchemaTest : public testing::Test {
protected:
    void SetUp() override {
        if (Validate("{}", query).status != ExitStatus::Exited(77))
            return;
        char const* const ci = std::getenv("CI");
        ASSERT_FALSE(ci && *ci) << "python3-jsonschema is missing";
        GTEST_SKIP() << "python3-jsonschema is missing, so this test is skipped.";
    }

    static ProgramResult Validate(std::string const& document, char const* schema) {
        return RunProgram({"/usr/bin/python3", CC_VALIDATOR, schema}, {.input = document});
    }

    static void ExpectValid(std::string const& document, char const* schema) {
        ProgramResult const result = Validate(document, schema);
        EXPECT_EQ(ExitStatus::Exited(0), result.status) << result.output << result.errors;
    }

    static void ExpectValidQuery(std::string const& document) {
        ExpectValid(document, query);
        ExpectValid(document, firstVersion);
    }

    static void ExpectInvalid(Json const& document, char const* schema) {
        ProgramResult const result = Validate(document.dump(), schema);
        EXPECT_EQ(ExitStatus::Exited(1), result.status) << document << result.errors;
    }
};

RowList const exampleRows = {{{"a", "b", "c", "1", "e", "f"}},
                             {{"\xFF", "\xFF\xFE", "\xFF\xFE\xFD", "\xB5", "\x80 text", "\xC2"}},
                             {{"", "", "", "", "", ""}}};

Provenance FullProvenance() {
    Provenance provenance;
    provenance.url = "\xFF";
    provenance.document = "\xFF";
    provenance.host = "\xFF";
    provenance.response.exists = true;
    provenance.agentModified = timespec{};
    return provenance;
}

std::string QueryDocument() {
    return OutputOf(
        [](Output& output) { WriteJson(RowsOf(exampleRows), FullProvenance(), output); });
}

std::string FailureDocument(JsonFailure const& failure) {
    return OutputOf([&](Output& output) { WriteFailure(failure, Provenance(), output); });
}

std::string DoctorDocument(Findings const& findings) {
    return OutputOf([&](Output& output) { WriteJson(findings, output); });
}

TEST_F(SchemaTest, AcceptsRowsOfAQuery) {
    ExpectValidQuery(QueryDocument());
    ExpectValidQuery(OutputOf([](Output& output) { WriteJson(RowsOf({}), Provenance(), output); }));
}

TEST_F(SchemaTest, AcceptsFailuresOfAQuery) {
    ExpectValidQuery(FailureDocument({4, "busy", -6, {}, "refused"}));
    ExpectValidQuery(FailureDocument({1, "agent-error", {}, -22, "not available"}));
    ExpectValidQuery(FailureDocument({143, "signal", {}, {}, "ended early"}));
}

TEST_F(SchemaTest, SchemaOfAQueryRefusesInvalidDocuments) {
    Json const valid = Json::parse(QueryDocument());
    for (char const* const member :
         {"schemaVersion", "outcome", "rowCount", "rows", "provenance"}) {
        Json document = valid;
        document.erase(member);
        ExpectInvalid(document, query);
    }
    Json document = valid;
    document["schemaVersion"] = 2;
    ExpectInvalid(document, query);
    document = valid;
    document["rows"][0].erase("comment");
    ExpectInvalid(document, query);
    document = valid;
    document["rows"][1]["commentBase64"] = "no base64";
    ExpectInvalid(document, query);
    document = valid;
    document["rows"][0]["evaluationTime"] = 1;
    ExpectInvalid(document, query);
    document = valid;
    document["provenance"]["start"] = "2026-03-01 09:30";
    ExpectInvalid(document, query);
    document = valid;
    document["provenance"].erase("results");
    ExpectInvalid(document, query);
    document = Json::parse(FailureDocument({4, "busy", -6, {}, "refused"}));
    document["exitStatus"] = 0;
    ExpectInvalid(document, query);
    ExpectInvalid(Json::parse(FailureDocument({4, "tired", -6, {}, "refused"})), query);
}

TEST(SchemaOfQueryTest, ListsTheWordsOfAllFailureStatuses) {
    std::ifstream file(query);
    Json const schema = Json::parse(file);
    std::set<std::string> words;
    for (QueryExitFacts const& facts : queryExitTable)
        if (facts.status != QueryExit::finished)
            words.emplace(facts.word);
    EXPECT_EQ(words, schema.at("/$defs/failed/properties/failure/enum"_json_pointer)
                         .get<std::set<std::string>>());
}

TEST_F(SchemaTest, AcceptsFindingsOfTheDoctor) {
    ExpectValid(DoctorDocument(ExamineExchange()), doctor);
    ExpectValid(DoctorDocument({{"lock", Verdict::problem, "lock-held", "held", "wait", 12},
                                {"request", Verdict::note, "old", "old", "wait", {}, -5},
                                {"response", Verdict::note, "old", "old"},
                                {"space", Verdict::skipped, "", "unknown"}}),
                doctor);
}

TEST_F(SchemaTest, SchemaOfTheDoctorRefusesInvalidDocuments) {
    ExpectInvalid(Json::parse(DoctorDocument({})), doctor);
    Json const valid =
        Json::parse(DoctorDocument({{"lock", Verdict::problem, "held", "held", "wait", 12}}));
    for (char const* const member : {"check", "verdict", "cause", "message", "remedy"}) {
        Json document = valid;
        document["checks"][0].erase(member);
        ExpectInvalid(document, doctor);
    }
    Json document = valid;
    document["checks"][0]["verdict"] = "ok";
    ExpectInvalid(document, doctor);
    document["checks"][0]["verdict"] = "note";
    document["checks"][0].erase("cause");
    ExpectInvalid(document, doctor);
}

// A row of each kind, with texts that are not UTF-8; the new result has no provenance.
std::string DiffDocument(std::vector<std::string> const& goodResults) {
    DiffSide before{"old\xFF"};
    before.result.provenance.emplace();
    before.result.provenance->host = "\xFF";
    before.rows = {{"a", "Pass", "", "", "", "\xFF"}, {"b", "Pass"}, {"b", "Pass"}};
    DiffSide after{"new"};
    after.rows = {{"a", "Fail", "", "", "", "\xFF"}, {"\xFF", "Pass"}};
    Difference const difference = CompareRows(before.rows, after.rows);
    return OutputOf(
        [&](Output& output) { WriteDiffJson(difference, before, after, goodResults, output); });
}

TEST_F(SchemaTest, AcceptsDifferencesOfResults) {
    ExpectValid(DiffDocument({}), diff);
    ExpectValid(DiffDocument({"Pass"}), diff);
}

TEST_F(SchemaTest, SchemaOfADifferenceRefusesInvalidDocuments) {
    Json const valid = Json::parse(DiffDocument({}));
    for (auto const& member : valid.items()) {
        Json document = valid;
        document.erase(member.key());
        ExpectInvalid(document, diff);
    }
    for (auto const& [pointer, value] :
         {std::pair{"/schemaVersion", Json(2)}, std::pair{"/removed/0/comment", Json(1)},
          std::pair{"/changed/0/fields", Json::array()}, std::pair{"/old/provenance", Json(1)},
          std::pair{"/regressions", Json("Pass")}}) {
        Json document = valid;
        document[Json::json_pointer(pointer)] = value;
        ExpectInvalid(document, diff);
    }
}

// A host of each kind, with texts that are not UTF-8.
std::string ReportDocument() {
    ReportEntry result{.host = "\xFF", .hasResult = true, .file = "\xFF"};
    result.result.provenance = StoredProvenance{.url = "\xFF", .host = "\xFF"};
    result.result.message = "\xFF";
    result.results = {{"\xFF", 2}, {"Pass", 1}};
    for (std::size_t index = 1; index < conditionCount; ++index)
        result.conditions.push_back(static_cast<Condition>(index));
    ReportEntry missing{.host = "silent"};
    missing.conditions = {Condition::missing};
    Report report;
    report.options.acceptedResults = {"\xFF"};
    report.options.maxAge = std::chrono::hours(1);
    report.entries = {missing, result};
    report.problems = {{"\xFF", "\xFF: no"}};
    return OutputOf([&](Output& output) {
        std::unique_ptr<ReportWriter> const writer = MakeSummaryWriter(report, output);
        for (ReportEntry const& entry : report.entries)
            writer->StartEntry(entry);
        writer->Finish();
    });
}

TEST_F(SchemaTest, AcceptsReportsOfAFleet) { ExpectValid(ReportDocument(), reportSchema); }

TEST_F(SchemaTest, AcceptsNewConditionsInReports) {
    Json document = Json::parse(ReportDocument());
    document["entries"][0]["conditions"][0] = "new";
    ExpectValid(document.dump(), reportSchema);
}

TEST_F(SchemaTest, SchemaOfAReportRefusesInvalidDocuments) {
    Json const valid = Json::parse(ReportDocument());
    for (auto const& member : valid.items()) {
        Json document = valid;
        document.erase(member.key());
        ExpectInvalid(document, reportSchema);
    }
    for (auto const& [pointer, value] :
         {std::pair{"/entries/0/conditions/0", Json(1)},
          std::pair{"/entries/1/result/rows", Json(-1)}, std::pair{"/entries/1/host", Json(1)},
          std::pair{"/problems/0/reason", Json(nullptr)}, std::pair{"/totals/good", Json("x")}}) {
        Json document = valid;
        document[Json::json_pointer(pointer)] = value;
        ExpectInvalid(document, reportSchema);
    }
}

} // namespace
