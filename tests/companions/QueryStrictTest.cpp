// --strict: exit statuses and messages for results that are not accepted.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/companions/Query.h"

namespace {

using Texts = std::vector<std::string>;

std::string const compliantRow = Row({"good", "Compliant", "", "1", "", ""});

void ExpectStrict(std::string const& rows, Texts const& arguments, int status,
                  std::string const& errors) {
    Texts all{"-d", "--tsv"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    Query(all, FinishingScript(rows), [&](ProgramResult const& result, auto const&) {
        EXPECT_EQ(ExitStatus::Exited(status), result.status);
        EXPECT_EQ(errors, result.errors);
        EXPECT_TRUE(result.output.starts_with("designator\t"));
    });
}

TEST(QueryStrictTest, ExitsWith0IfAllResultsAreAccepted) {
    ExpectStrict(TwoRows(), {"--strict=Compliant,Not"}, 0, "");
    ExpectStrict(TwoRows(), {"--strict", " Not , Compliant "}, 0, "");
    ExpectStrict(TwoRows(), {"--strict=Compliant", "--strict=Not"}, 0, "");
}

TEST(QueryStrictTest, ExitsWith11WithoutRowsUnlessAllowed) {
    ExpectStrict("", {"--strict=Compliant"}, 11,
                 "compliance-query: --strict lists results that no row has: 'Compliant'\n"
                 "compliance-query: the evaluation has no rows\n");
    ExpectStrict("", {"--strict=Compliant", "--allow-empty", "-q"}, 0, "");
    ExpectStrict("", {}, 0, "");
}

TEST(QueryStrictTest, ExitsWith10IfResultIsNotAccepted) {
    ExpectStrict(TwoRows(), {"--strict=Compliant"}, 10,
                 "compliance-query: 1 of 2 rows have a result that --strict does not list: "
                 "'b\\xb5' ('Not')\n");
}

TEST(QueryStrictTest, NamesFirstFailingRowsAndUnusedResults) {
    std::string rows = compliantRow;
    for (char const* const name : {"a", "b", "c", "d"})
        rows += Row({name, "Not", "", "", "", ""});
    ExpectStrict(rows, {"--strict=Compliant,Passed"}, 10,
                 "compliance-query: --strict lists results that no row has: 'Passed'\n"
                 "compliance-query: 4 of 5 rows have a result that --strict does not list: "
                 "'a' ('Not'), 'b' ('Not'), 'c' ('Not'), ...\n");
}

// An exit status is always explained.
TEST(QueryStrictTest, QuietKeepsTheReason) {
    ExpectStrict("", {"--strict=Compliant", "-q"}, 11,
                 "compliance-query: the evaluation has no rows\n");
    ExpectStrict(TwoRows(), {"--strict=Not,Passed", "-q"}, 10,
                 "compliance-query: 1 of 2 rows have a result that --strict does not list: "
                 "'baseline-001' ('Compliant')\n");
}

} // namespace
