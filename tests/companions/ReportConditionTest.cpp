#include "tests/companions/ReportTest.h"

namespace {

class ReportConditionTest : public ReportTest {};

TEST_F(ReportConditionTest, ExpectedHostWithoutAResultComesFirst) {
    options.expectedHosts = {"web2", "silent", "web1", "silent"};
    Store("a", ProvenanceOf("web1"), {ResultRow("d", "Fail")});
    Store("b", ProvenanceOf("web2"));
    ExpectStates({"silent: missing", "web1:", "web2:"});
}

TEST_F(ReportConditionTest, ReportsHostThatIsNotExpected) {
    options.expectedHosts = {"web1"};
    Store("a", ProvenanceOf("web1"));
    Store("b", ProvenanceOf("web2"));
    ExpectStates({"web2: not-expected", "web1:"});
}

TEST_F(ReportConditionTest, AgeIsMeasuredByTheClockOfTheReader) {
    options.maxAge = hours(1);
    Store("a", ProvenanceOf("limit", resultTime - 10));
    Store("b", ProvenanceOf("old", resultTime - 11));
    Store("c", ProvenanceOf("tolerated", resultTime + 3600 + 50));
    Store("d", ProvenanceOf("future", resultTime + 3600 + 51));
    ExpectStates({"old: too-old", "future: from-future", "limit:", "tolerated:"});
}

TEST_F(ReportConditionTest, ReportsStaleResponses) {
    Provenance stale = ProvenanceOf("web1");
    stale.stale = true;
    Store("a", stale);
    StoreFailure("b", ProvenanceOf("web2"), {9, "stale", {}, {}, "stale"});
    ExpectStates({"web1: stale", "web2: stale"});
}

TEST_F(ReportConditionTest, ReportsResultWithoutRowsUnlessAllowed) {
    StoreResults({});
    ExpectStates({"web1: no-rows"});
    options.allowEmpty = true;
    ExpectStates({"web1:"});
}

struct Evaluation {
    // Seconds after the usual start.
    time_t start = 0;
    time_t duration = 10;
    // The modification time of the agent's program; 0 if it is unknown.
    time_t agent = 1;
    bool isStale = false;
    bool isRefused = false;
    char const* result = "Pass";
};

struct SameHost {
    char const* name;
    std::vector<Evaluation> evaluations;
    std::string state;
    std::size_t olderResults;
};

TEST_F(ReportConditionTest, DetectsTwoMachinesWithTheSameName) {
    for (SameHost const& test :
         {SameHost{"overlap", {{}, {.start = 9}}, "web1: two-machines", 1},
          {"no overlap", {{}, {.start = 10}}, "web1:", 1},
          {"same start", {{.duration = 0}, {}}, "web1: two-machines", 1},
          {"refused evaluations may overlap", {{}, {.start = -5, .isRefused = true}}, "web1:", 1},
          {"new agent", {{}, {.start = 100}, {.start = 200, .agent = 2}}, "web1:", 2},
          {"same time, other agent", {{}, {.agent = 2}}, "web1: two-machines", 1},
          {"unknown agent", {{}, {.start = 100, .agent = 0}, {.start = 200}}, "web1:", 2},
          {"alternating agents",
           {{}, {.start = 100, .agent = 2}, {.start = 200}},
           "web1: two-machines",
           2},
          {"copies", {{}, {}, {.start = -86400}, {.start = -86400}}, "web1:", 1},
          {"other rows", {{}, {.result = "Fail"}}, "web1: two-machines", 1},
          {"other freshness", {{}, {.isStale = true}}, "web1: two-machines stale", 1}}) {
        SCOPED_TRACE(test.name);
        files.clear();
        for (Evaluation const& evaluation : test.evaluations) {
            Provenance provenance = ProvenanceOf("web1", resultTime + evaluation.start);
            provenance.end.tv_sec = provenance.start.tv_sec + evaluation.duration;
            provenance.agentModified = timespec{evaluation.agent, 0};
            if (evaluation.agent == 0)
                provenance.agentModified = {};
            provenance.stale = evaluation.isStale;
            std::string const name = std::to_string(files.size());
            if (evaluation.isRefused)
                StoreFailure(name, provenance, {4, "busy", -6, {}, "refused"});
            else
                Store(name, provenance, {ResultRow("d", evaluation.result)});
        }
        ExpectStates({test.state});
        EXPECT_EQ(test.olderResults, FirstEntry().olderResults);
    }
}

TEST_F(ReportConditionTest, DescribesEachCondition) {
    ReportEntry entry{.age = 1810};
    entry.result.exitStatus = 5;
    entry.result.message = "not taken";
    entry.result.provenance.emplace();
    entry.result.provenance->end.text = "2026-03-01T08:30:00Z";
    for (auto const& [condition, text] :
         {std::pair{Condition::missing, "the host is expected, but has no result"},
          {Condition::twoMachines, "two machines probably use this host name: evaluations overlap, "
                                   "or the agent's program alternates"},
          {Condition::failed, "the newest evaluation failed with exit status 5: not taken"},
          {Condition::stale, "the agent's response existed before the request, or it is unknown "
                             "whether it did"},
          {Condition::tooOld, "the newest result is 30 min old"},
          {Condition::fromFuture,
           "the newest result ended at 2026-03-01T08:30:00Z, which is in the future"},
          {Condition::noRows, "the evaluation finished without a row"},
          {Condition::notExpected, "the host is not one of the expected hosts"}})
        EXPECT_EQ(text, Describe(entry, condition));
}

TEST_F(ReportConditionTest, ListsAllConditionsOfAHostInOrder) {
    options.maxAge = hours(1);
    options.expectedHosts = {"other"};
    Provenance provenance = ProvenanceOf("web1", resultTime - 86400);
    provenance.stale = true;
    Store("a", provenance, {});
    ExpectStates({"other: missing", "web1: stale too-old no-rows not-expected"});
}

} // namespace
