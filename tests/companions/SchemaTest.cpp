// Validates the output of the programs against their schemas, with python3-jsonschema.
#include "companions/Diff.h"
#include "companions/Doctor.h"
#include "companions/DoctorReport.h"
#include "companions/JsonRows.h"
#include "companions/QueryExit.h"
#include "companions/ReportFormats.h"
#include "tests/companions/CompanionTest.h"
#include "tests/companions/RowList.h"

namespace {

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

    // Expects that each of these changes makes the document invalid: a patch (RFC 6902) that
    // replaces the value at a pointer, or removes it.
    static void ExpectInvalidChanges(std::string const& text, char const* schema,
                                     std::vector<std::pair<char const*, Json>> const& replaced,
                                     Texts const& removed) {
        Json const valid = Json::parse(text);
        Json changes = Json::array();
        for (auto const& [path, value] : replaced)
            changes.push_back({{"op", "replace"}, {"path", path}, {"value", value}});
        for (std::string const& path : removed)
            changes.push_back({{"op", "remove"}, {"path", path}});
        for (Json const& change : changes)
            ExpectInvalid(valid.patch(Json::array({change})), schema);
    }

    // Returns the pointers of all members.
    static Texts MembersOf(std::string const& text) {
        Texts pointers;
        for (Json const document = Json::parse(text); auto const& member : document.items())
            pointers.push_back("/" + member.key());
        return pointers;
    }
};

RowList const exampleRows = {{{"a", "b", "c", "1", "e", "f"}},
                             {{"\xFF", "\xFF\xFE", "\xFF\xFE\xFD", "\xB5", "\x80 text", "\xC2"}},
                             {{"", "", "", "", "", ""}}};

Provenance FullProvenance() {
    Provenance provenance;
    provenance.url = provenance.document = "\xFF";
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
    ExpectInvalidChanges(QueryDocument(), query,
                         {{"/schemaVersion", 2},
                          {"/rows/1/commentBase64", "no base64"},
                          {"/rows/0/evaluationTime", 1},
                          {"/provenance/start", "2026-03-01 09:30"}},
                         {"/schemaVersion", "/outcome", "/rowCount", "/rows", "/provenance",
                          "/rows/0/comment", "/provenance/results"});
    ExpectInvalidChanges(FailureDocument({4, "busy", -6, {}, "refused"}), query,
                         {{"/exitStatus", 0}, {"/failure", "tired"}}, {});
}

TEST(SchemaOfQueryTest, ListsTheWordsOfAllFailureStatuses) {
    std::set<std::string> words;
    for (QueryExitFacts const& facts : queryExitTable)
        if (facts.status != QueryExit::finished)
            words.emplace(facts.word);
    EXPECT_EQ(words, Json::parse(ReadWholeFile(query))
                         .at("/$defs/failed/properties/failure/enum"_json_pointer)
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
    ExpectInvalidChanges(DoctorDocument({{"lock", Verdict::problem, "held", "held", "wait", 12}}),
                         doctor, {{"/checks/0/verdict", "ok"}},
                         {"/checks/0/check", "/checks/0/verdict", "/checks/0/cause",
                          "/checks/0/message", "/checks/0/remedy"});
    ExpectInvalidChanges(DoctorDocument({{"lock", Verdict::note, "held", "held", "wait", 12}}),
                         doctor, {}, {"/checks/0/cause"});
}

// A row of each kind, with texts that are not UTF-8; the new result has no provenance.
std::string DiffDocument(Texts const& goodResults) {
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
    ExpectInvalidChanges(DiffDocument({}), diff,
                         {{"/schemaVersion", 2},
                          {"/removed/0/comment", 1},
                          {"/changed/0/fields", Json::array()},
                          {"/old/provenance", 1},
                          {"/regressions", "Pass"}},
                         MembersOf(DiffDocument({})));
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
    report.options.maxAge = hours(1);
    report.entries = {missing, result};
    report.problems = {{"\xFF", "\xFF: no"}};
    return OutputOf([&](Output& output) {
        std::unique_ptr<ReportWriter> const writer = MakeSummaryWriter(report, output);
        for (ReportEntry const& entry : report.entries)
            writer->StartEntry(entry);
        writer->Finish();
    });
}

TEST_F(SchemaTest, AcceptsReportsOfAFleetAndNewConditions) {
    ExpectValid(ReportDocument(), reportSchema);
    Json document = Json::parse(ReportDocument());
    document["entries"][0]["conditions"][0] = "new";
    ExpectValid(document.dump(), reportSchema);
}

TEST_F(SchemaTest, SchemaOfAReportRefusesInvalidDocuments) {
    ExpectInvalidChanges(ReportDocument(), reportSchema,
                         {{"/entries/0/conditions/0", 1},
                          {"/entries/1/result/rows", -1},
                          {"/entries/1/host", 1},
                          {"/problems/0/reason", nullptr},
                          {"/totals/good", "x"}},
                         MembersOf(ReportDocument()));
}

} // namespace
