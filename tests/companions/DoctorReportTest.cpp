#include "companions/DoctorReport.h"

#include "tests/companions/CompanionTest.h"
#include "tests/companions/RowList.h"

namespace {

Findings const findings = {
    {"one", Verdict::ok, "", "fine"},
    {"two", Verdict::note, "odd", "so old\x1b[31m\xFF", "wait", {}, 90},
    {"three", Verdict::problem, "bad", "held", "end it", 12},
    {"four", Verdict::skipped, "", "unknown"},
};

TEST(DoctorReportTest, WritesLineWithRemedyForEachCheck) {
    EXPECT_EQ("ok       one: fine.\n"
              "note     two: so old\\x1b[31m\\xff. Remedy: wait.\n"
              "problem  three: held. Remedy: end it.\n"
              "skipped  four: unknown.\n",
              OutputOf([](Output& output) { WriteText(findings, output); }));
}

TEST(DoctorReportTest, WritesJsonDocument) {
    std::string const text = OutputOf([](Output& output) { WriteJson(findings, output); });
    EXPECT_THAT(text, StartsWith("{\n  \"schemaVersion\": 1,\n"));
    EXPECT_EQ((Json{{"schemaVersion", 1},
                    {"healthy", false},
                    {"checks",
                     {{{"check", "one"}, {"verdict", "ok"}, {"message", "fine"}},
                      {{"check", "two"},
                       {"verdict", "note"},
                       {"cause", "odd"},
                       {"message", "so old\\x1b[31m\\xff"},
                       {"remedy", "wait"},
                       {"ageInSeconds", 90}},
                      {{"check", "three"},
                       {"verdict", "problem"},
                       {"cause", "bad"},
                       {"message", "held"},
                       {"remedy", "end it"},
                       {"processId", 12}},
                      {{"check", "four"}, {"verdict", "skipped"}, {"message", "unknown"}}}}}),
              Json::parse(text));
}

TEST(DoctorReportTest, NotesAndSkippedChecksAreNotProblems) {
    EXPECT_TRUE(HasProblem(findings));
    EXPECT_FALSE(HasProblem({}));
    EXPECT_FALSE(HasProblem({findings[0], findings[1], findings[3]}));
}

} // namespace
