#include "companions/Diff.h"

#include "tests/companions/StoredResults.h"

namespace {

DiffSide SideOf(std::string const& file, RowList const& list) {
    DiffSide side{file};
    side.result.finished = true;
    side.result.provenance.emplace();
    side.result.provenance->host = "web1";
    side.result.provenance->document = "Doc.xml";
    side.result.provenance->start.text = "2026-03-01T08:30:00.000+00:00";
    for (Row const& row : list)
        std::ranges::copy(row, side.rows.emplace_back().begin());
    return side;
}

struct Sides {
    DiffSide oldSide;
    DiffSide newSide;

    Sides(RowList const& oldRows, RowList const& newRows)
        : oldSide(SideOf("old", oldRows)), newSide(SideOf("new", newRows)) {}

    Difference Compare() const { return CompareRows(oldSide.rows, newSide.rows); }
    std::string Text(bool useColor = false) const {
        return OutputOf(
            [&](Output& output) { WriteDiffText(Compare(), oldSide, newSide, useColor, output); });
    }
    Texts Notes() const { return DescribeSides(Compare(), oldSide, newSide); }
    void ExpectText(std::string const& changes, bool useColor = false) const {
        EXPECT_EQ("--- old: host web1, document Doc.xml, 2026-03-01T08:30:00.000+00:00\n"
                  "+++ new: host web1, document Doc.xml, 2026-03-01T08:30:00.000+00:00\n" +
                      changes,
                  Text(useColor));
    }
};

TEST(DiffTest, ListsRemovedAddedAndChangedRows) {
    Sides({ResultRow("same", "Pass"), ResultRow("gone", "Pass"), ResultRow("d", "Pass")},
          {ResultRow("d", "Fail", "why"), ResultRow("new", "Fail"), ResultRow("same", "Pass")})
        .ExpectText("- gone (Pass)\n"
                    "+ new (Fail)\n"
                    "~ d\n"
                    "    result: 'Pass' -> 'Fail'\n"
                    "    comment: 'c' -> 'why'\n");
}

TEST(DiffTest, IgnoresTypeTimeAndOrderOfRows) {
    Sides const sides({{{"a", "r", "t", "1", "d", "c"}}, {{"b", "r", "t", "1", "d", "c"}}},
                      {{{"b", "r", "u", "2", "d", "c"}}, {{"a", "r", "u", "3", "d", "c"}}});
    EXPECT_TRUE(sides.Compare().IsEmpty());
    EXPECT_EQ("", sides.Text());
}

TEST(DiffTest, ComparesDescriptions) {
    Sides({{{"a", "r", "t", "1", "old", "c"}}}, {{{"a", "r", "t", "1", "new", "c"}}})
        .ExpectText("~ a\n    description: 'old' -> 'new'\n");
}

TEST(DiffTest, MatchesRowsWithEqualDesignatorsInOrder) {
    Sides const sides({ResultRow("d", "1"), ResultRow("d", "2"), ResultRow("d", "3")},
                      {ResultRow("d", "1"), ResultRow("d", "5")});
    sides.ExpectText("- d (3)\n~ d\n    result: '2' -> '5'\n");
    EXPECT_EQ(Texts{"designator 'd': 3 rows in OLD and 2 rows in NEW, which match in their order"},
              sides.Notes());
}

TEST(DiffTest, NotesRepeatedDesignatorsOfOneSide) {
    Sides const sides(
        {ResultRow("d", "1"), ResultRow("d", "2"), ResultRow("e", "1")},
        {ResultRow("e", "1"), ResultRow("e", "1"), ResultRow("f", "1"), ResultRow("f", "2")});
    EXPECT_EQ((Texts{"designator 'd': 2 rows in OLD and 0 rows in NEW",
                     "designator 'e': 1 row in OLD and 2 rows in NEW, which match in their order",
                     "designator 'f': 0 rows in OLD and 2 rows in NEW"}),
              sides.Notes());
}

TEST(DiffTest, EscapesControlCharactersAndIllFormedUtf8) {
    Sides({}, {ResultRow("d\x1b[2J\n\xE2\x80\xAE", "r\xFF")})
        .ExpectText("+ d\\x1b[2J\\n\\u202e (r\\xff)\n");
}

TEST(DiffTest, ColorsWholeLines) {
    Sides({ResultRow("a", "r"), ResultRow("c", "r")}, {ResultRow("b", "r"), ResultRow("c", "s")})
        .ExpectText("\x1b[31m- a (r)\x1b[0m\n\x1b[32m+ b (r)\x1b[0m\n"
                    "\x1b[33m~ c\x1b[0m\n    result: 'r' -> 's'\n",
                    true);
}

TEST(DiffTest, RegressionIsAChangeFromGoodToOtherResult) {
    Sides const sides(
        {ResultRow("worse", "Pass"), ResultRow("better", "Fail"), ResultRow("other", "Pass"),
         ResultRow("gone", "Pass"), ResultRow("comment", "Pass", "a"), ResultRow("bad", "Fail")},
        {ResultRow("worse", "Fail"), ResultRow("better", "Pass"), ResultRow("other", "N/A"),
         ResultRow("new", "Fail"), ResultRow("comment", "Pass", "b"), ResultRow("bad", "Error")});
    Difference difference = sides.Compare();
    KeepRegressions(difference, sides.oldSide, sides.newSide, {"Pass", "N/A"});
    EXPECT_THAT(difference.removed, IsEmpty());
    EXPECT_THAT(difference.added, IsEmpty());
    EXPECT_THAT(difference.changed, ElementsAre(std::pair(0, 0)));
    EXPECT_EQ(Texts{"rows of OLD with a result of --regressions that are missing in NEW: 1"},
              DescribeSides(difference, sides.oldSide, sides.newSide));
}

TEST(DiffTest, NotesListDifferencesOfTheProvenance) {
    Sides sides({}, {});
    EXPECT_EQ(Texts(), sides.Notes());
    sides.newSide.result.provenance->host = "Web1"; // The same host.
    EXPECT_EQ(Texts(), sides.Notes());
    sides.newSide.result.provenance->host = "web2";
    sides.newSide.result.provenance->document.reset();
    sides.newSide.result.provenance->url = "u";
    sides.newSide.result.provenance->stale = true;
    sides.oldSide.result.provenance->start.time.tv_sec = 1;
    EXPECT_EQ(
        (Texts{
            "the results are of different hosts: 'web1' and 'web2'",
            "the results are of different documents: 'Doc.xml' and '(the default)'",
            "the results are of different sites: '(the default)' and 'u'", "new is older than old",
            "new has a stale response: it existed before its request, or it is unknown whether it "
            "did"}),
        sides.Notes());
    sides.oldSide.result.provenance.reset();
    EXPECT_EQ(Texts{"old has no provenance: its host, document and time are unknown"},
              sides.Notes());
    sides.newSide.rows.resize(1);
    EXPECT_THAT(sides.Text(),
                StartsWith("--- old: host, document and time are unknown\n+++ new: "));
}

// A few designators and results, so that many rows are equal, changed, or have equal designators.
RowList RandomRows(std::mt19937& random) {
    static char const* const words[] = {"a", "b", "c", "d", "e", "f"};
    RowList list(random() % 12);
    for (Row& row : list)
        row = ResultRow(words[random() % 6], words[random() % 2], words[random() % 2]);
    return list;
}

TEST(DiffTest, SwappingTheSidesSwapsAddedAndRemovedRows) {
    std::mt19937 random(2);
    for (int round = 0; round < 500; ++round) {
        RowList const a = RandomRows(random);
        RowList const b = RandomRows(random);
        EXPECT_TRUE(Sides(a, a).Compare().IsEmpty());
        Difference const forth = Sides(a, b).Compare();
        Difference back = Sides(b, a).Compare();
        EXPECT_EQ(forth.removed, back.added);
        EXPECT_EQ(forth.added, back.removed);
        for (auto& [first, second] : back.changed)
            std::swap(first, second);
        std::ranges::sort(back.changed, {}, &std::pair<std::size_t, std::size_t>::second);
        EXPECT_EQ(forth.changed, back.changed);
    }
}

// The rows may be in another order.
TEST(DiffTest, DifferenceAppliedToOldRowsProducesNewRows) {
    std::mt19937 random(3);
    for (int round = 0; round < 500; ++round) {
        Sides const sides(RandomRows(random), RandomRows(random));
        Difference const difference = sides.Compare();
        std::vector<StoredRow> rows = sides.oldSide.rows;
        for (auto const& [oldRow, newRow] : difference.changed)
            rows[oldRow] = sides.newSide.rows[newRow];
        for (auto row = difference.removed.rbegin(); row != difference.removed.rend(); ++row)
            rows.erase(rows.begin() + static_cast<std::ptrdiff_t>(*row));
        for (std::size_t const row : difference.added)
            rows.push_back(sides.newSide.rows[row]);
        EXPECT_THAT(rows, testing::UnorderedElementsAreArray(sides.newSide.rows));
    }
}

TEST(DiffTest, JsonHasBothSidesAndAllRows) {
    Sides const sides({ResultRow("gone", "Pass"), ResultRow("d", "Pass")},
                      {ResultRow("d", "Fail"), ResultRow("\xFF", "Fail")});
    Json const document = Json::parse(OutputOf([&](Output& output) {
        WriteDiffJson(sides.Compare(), sides.oldSide, sides.newSide, {}, output);
    }));
    for (auto const& [pointer, value] : {std::pair{"/schemaVersion", Json(1)},
                                         {"/equal", false},
                                         {"/old/provenance/host", "web1"},
                                         {"/new/provenance/document", "Doc.xml"},
                                         {"/regressions", nullptr},
                                         {"/removed/0/designator", "gone"},
                                         {"/added/0/designatorBase64", "/w=="},
                                         {"/changed/0/fields", {"result"}},
                                         {"/changed/0/old/result", "Pass"},
                                         {"/changed/0/new/result", "Fail"}})
        EXPECT_EQ(value, document.at(Json::json_pointer(pointer))) << pointer;
}

TEST(DiffTest, ReadsResultsAndRefusesFailures) {
    TemporaryDirectory const directory;
    DiffSide const side =
        ReadDiffSide(WriteFile(directory / "a.json", ResultText({ResultRow("d", "r")})));
    EXPECT_EQ("d", side.rows.at(0)[designatorField]);
    std::string const failed =
        WriteFile(directory / "b.json", OutputOf([](Output& output) {
                      WriteFailure({4, "busy", {}, {}, "refused"}, ProvenanceOf("web1"), output);
                  }));
    EXPECT_EQ(failed + ": expected the result of a finished evaluation; this one failed with exit "
                       "status 4: refused",
              MessageOf<StoredResultError>([&] { ReadDiffSide(failed); }));
}

} // namespace
