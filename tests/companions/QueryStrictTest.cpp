// --strict: exit statuses and messages for results that are not accepted.
#include "tests/companions/Query.h"

namespace {

std::string const compliantRow = Row({"good", "Compliant", "", "1", "", ""});

void ExpectStrict(std::string const& rows, Texts arguments, int status, std::string const& errors) {
    arguments.insert(arguments.end(), {"-d", "--tsv"});
    QueryRun const run = Query(arguments, FinishingScript(rows));
    ExpectExit(status, errors, run);
    EXPECT_THAT(run.output, StartsWith("designator\t"));
}

SANDBOX_TEST(QueryStrictTest, ExitsWith0IfAllResultsAreAccepted) {
    for (Texts const& arguments : {Texts{"--strict=Compliant,Not"},
                                   {"--strict", " Not , Compliant "},
                                   {"--strict=Compliant", "--strict=Not"}})
        ExpectStrict(TwoRows(), arguments, 0, "");
}

SANDBOX_TEST(QueryStrictTest, ExitsWith11WithoutRowsUnlessAllowed) {
    ExpectStrict("", {"--strict=Compliant"}, 11,
                 "compliance-query: --strict lists results that no row has: 'Compliant'\n"
                 "compliance-query: the evaluation has no rows\n");
    ExpectStrict("", {"--strict=Compliant", "--allow-empty", "-q"}, 0, "");
    ExpectStrict("", {}, 0, "");
}

SANDBOX_TEST(QueryStrictTest, ExitsWith10AndNamesFirstFailingRows) {
    std::string rows = compliantRow;
    for (char const* const name : {"a", "b", "c", "d"})
        rows += Row({name, "Not", "", "", "", ""});
    ExpectStrict(rows, {"--strict=Compliant,Passed,Good"}, 10,
                 "compliance-query: --strict lists results that no row has: 'Passed', 'Good'\n"
                 "compliance-query: 4 of 5 rows have a result that --strict does not list: "
                 "'a' ('Not'), 'b' ('Not'), 'c' ('Not'), ...\n");
}

// An exit status is always explained.
SANDBOX_TEST(QueryStrictTest, QuietKeepsTheReason) {
    ExpectStrict("", {"--strict=Compliant", "-q"}, 11,
                 "compliance-query: the evaluation has no rows\n");
    ExpectStrict(TwoRows(), {"--strict=Not,Passed", "-q"}, 10,
                 "compliance-query: 1 of 2 rows have a result that --strict does not list: "
                 "'baseline-001' ('Compliant')\n");
}

} // namespace
