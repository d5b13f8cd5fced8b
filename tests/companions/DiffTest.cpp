#include "companions/Diff.h"

#include <gtest/gtest.h>

#include <random>

#include <nlohmann/json.hpp>

#include "tests/companions/StoredResults.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

using DiffJson = nlohmann::json;

StoredRow Stored(Row const& row) {
    StoredRow stored;
    std::ranges::copy(row, stored.begin());
    return stored;
}

DiffSide SideOf(std::string const& file, RowList const& list) {
    DiffSide side{file};
    side.result.finished = true;
    side.result.provenance.emplace();
    side.result.provenance->host = "web1";
    side.result.provenance->document = "Doc.xml";
    side.result.provenance->start.text = "2026-03-01T08:30:00.000+00:00";
    for (Row const& row : list)
        side.rows.push_back(Stored(row));
    return side;
}

struct Sides {
    DiffSide oldSide;
    DiffSide newSide;

    Sides(RowList const& oldRows, RowList const& newRows)
        : oldSide(SideOf("old", oldRows)), newSide(SideOf("new", newRows)) {}

    Difference Compare() const { return CompareRows(oldSide.rows, newSide.rows); }
    Difference Regressions(std::vector<std::string> const& good) const {
        Difference difference = Compare();
        KeepRegressions(difference, oldSide, newSide, good);
        return difference;
    }
    std::string Text(bool useColor = false) const {
        return OutputOf(
            [&](Output& output) { WriteDiffText(Compare(), oldSide, newSide, useColor, output); });
    }
    std::vector<std::string> Notes() const { return DescribeSides(Compare(), oldSide, newSide); }
};

constexpr char diffHead[] = "--- old: host web1, document Doc.xml, 2026-03-01T08:30:00.000+00:00\n"
                            "+++ new: host web1, document Doc.xml, 2026-03-01T08:30:00.000+00:00\n";

TEST(DiffTest, ListsRemovedAddedAndChangedRows) {
    Sides const sides(
        {ResultRow("same", "Pass"), ResultRow("gone", "Pass"), ResultRow("d", "Pass")},
        {ResultRow("d", "Fail", "why"), ResultRow("new", "Fail"), ResultRow("same", "Pass")});
    EXPECT_EQ(std::string(diffHead) + "- gone (Pass)\n"
                                      "+ new (Fail)\n"
                                      "~ d\n"
                                      "    result: 'Pass' -> 'Fail'\n"
                                      "    comment: 'c' -> 'why'\n",
              sides.Text());
}

TEST(DiffTest, IgnoresTypeTimeAndOrderOfRows) {
    Sides const sides({{{"a", "r", "t", "1", "d", "c"}}, {{"b", "r", "t", "1", "d", "c"}}},
                      {{{"b", "r", "u", "2", "d", "c"}}, {{"a", "r", "u", "3", "d", "c"}}});
    EXPECT_TRUE(sides.Compare().IsEmpty());
    EXPECT_EQ("", sides.Text());
}

TEST(DiffTest, ComparesDescriptions) {
    Sides const sides({{{"a", "r", "t", "1", "old", "c"}}}, {{{"a", "r", "t", "1", "new", "c"}}});
    EXPECT_EQ(std::string(diffHead) + "~ a\n    description: 'old' -> 'new'\n", sides.Text());
}

TEST(DiffTest, MatchesRowsWithEqualDesignatorsInOrder) {
    Sides const sides({ResultRow("d", "1"), ResultRow("d", "2"), ResultRow("d", "3")},
                      {ResultRow("d", "1"), ResultRow("d", "5")});
    EXPECT_EQ(std::string(diffHead) + "- d (3)\n~ d\n    result: '2' -> '5'\n", sides.Text());
    EXPECT_EQ(
        std::vector<std::string>{
            "designator 'd': 3 rows in OLD and 2 rows in NEW, which match in their order"},
        sides.Notes());
}

TEST(DiffTest, NotesRepeatedDesignatorsOfOneSide) {
    Sides const sides({ResultRow("d", "1"), ResultRow("d", "2"), ResultRow("e", "1")},
                      {ResultRow("e", "1"), ResultRow("e", "1")});
    EXPECT_EQ((std::vector<std::string>{
                  "designator 'd': 2 rows in OLD and 0 rows in NEW",
                  "designator 'e': 1 row in OLD and 2 rows in NEW, which match in their order"}),
              sides.Notes());
}

TEST(DiffTest, EscapesControlCharactersAndIllFormedUtf8) {
    Sides const sides({}, {ResultRow("d\x1b[2J\n\xE2\x80\xAE", "r\xFF")});
    EXPECT_EQ(std::string(diffHead) + "+ d\\x1b[2J\\n\\u202e (r\\xff)\n", sides.Text());
}

TEST(DiffTest, ColorsWholeLines) {
    Sides const sides({ResultRow("a", "r"), ResultRow("c", "r")},
                      {ResultRow("b", "r"), ResultRow("c", "s")});
    EXPECT_EQ(std::string(diffHead) + "\x1b[31m- a (r)\x1b[0m\n\x1b[32m+ b (r)\x1b[0m\n"
                                      "\x1b[33m~ c\x1b[0m\n    result: 'r' -> 's'\n",
              sides.Text(true));
}

TEST(DiffTest, RegressionIsAChangeFromGoodToOtherResult) {
    Sides const sides(
        {ResultRow("worse", "Pass"), ResultRow("better", "Fail"), ResultRow("other", "Pass"),
         ResultRow("gone", "Pass"), ResultRow("comment", "Pass", "a"), ResultRow("bad", "Fail")},
        {ResultRow("worse", "Fail"), ResultRow("better", "Pass"), ResultRow("other", "N/A"),
         ResultRow("new", "Fail"), ResultRow("comment", "Pass", "b"), ResultRow("bad", "Error")});
    Difference const difference = sides.Regressions({"Pass", "N/A"});
    EXPECT_TRUE(difference.removed.empty());
    EXPECT_TRUE(difference.added.empty());
    EXPECT_EQ((std::vector<std::pair<std::size_t, std::size_t>>{{0, 0}}), difference.changed);
    EXPECT_EQ(
        std::vector<std::string>{
            "rows of OLD with a result of --regressions that are missing in NEW: 1"},
        DescribeSides(difference, sides.oldSide, sides.newSide));
}

TEST(DiffTest, NotesListDifferencesOfTheProvenance) {
    Sides sides({}, {});
    EXPECT_EQ(0u, sides.Notes().size());
    sides.newSide.result.provenance->host = "web2";
    sides.newSide.result.provenance->document.reset();
    sides.newSide.result.provenance->url = "u";
    sides.newSide.result.provenance->stale = true;
    sides.oldSide.result.provenance->start.time.tv_sec = 1;
    EXPECT_EQ(
        (std::vector<std::string>{
            "the results are of different hosts: 'web1' and 'web2'",
            "the results are of different documents: 'Doc.xml' and '(the default)'",
            "the results are of different sites: '(the default)' and 'u'", "new is older than old",
            "new has a stale answer: it existed before its request, or it is unknown whether it "
            "did"}),
        sides.Notes());
    sides.oldSide.result.provenance.reset();
    EXPECT_EQ(
        std::vector<std::string>{"old has no provenance: its host, document and time are unknown"},
        sides.Notes());
}

// A few designators and results, so that many rows are equal, changed, or have equal designators.
RowList RandomRows(std::mt19937& random) {
    static char const* const words[] = {"a", "b", "c", "d", "e", "f"};
    RowList list(random() % 12);
    for (Row& row : list)
        row = ResultRow(words[random() % 6], words[random() % 2], words[random() % 2]);
    return list;
}

TEST(DiffTest, DifferenceOfAResultWithItselfIsEmpty) {
    std::mt19937 random(1);
    for (int round = 0; round < 500; ++round) {
        RowList const rows = RandomRows(random);
        EXPECT_TRUE(Sides(rows, rows).Compare().IsEmpty());
    }
}

TEST(DiffTest, SwappingTheSidesSwapsAddedAndRemovedRows) {
    std::mt19937 random(2);
    for (int round = 0; round < 500; ++round) {
        RowList const a = RandomRows(random);
        RowList const b = RandomRows(random);
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

// Applies the difference to the old rows: removes, replaces, adds. The same rows in another order.
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
        std::vector<StoredRow> wanted = sides.newSide.rows;
        std::ranges::sort(rows);
        std::ranges::sort(wanted);
        EXPECT_EQ(wanted, rows);
    }
}

TEST(DiffTest, JsonHasBothSidesAndAllRows) {
    Sides const sides({ResultRow("gone", "Pass"), ResultRow("d", "Pass")},
                      {ResultRow("d", "Fail"), ResultRow("\xFF", "Fail")});
    DiffJson const document = DiffJson::parse(OutputOf([&](Output& output) {
        WriteDiffJson(sides.Compare(), sides.oldSide, sides.newSide, {}, output);
    }));
    EXPECT_EQ(1, document.at("schemaVersion"));
    EXPECT_EQ(false, document.at("equal"));
    EXPECT_EQ("web1", document.at("old").at("provenance").at("host"));
    EXPECT_EQ("Doc.xml", document.at("new").at("provenance").at("document"));
    EXPECT_EQ(nullptr, document.at("regressions"));
    EXPECT_EQ("gone", document.at("removed").at(0).at("designator"));
    EXPECT_EQ("/w==", document.at("added").at(0).at("designatorBase64"));
    DiffJson const& changed = document.at("changed").at(0);
    EXPECT_EQ(DiffJson{"result"}, changed.at("fields"));
    EXPECT_EQ("Pass", changed.at("old").at("result"));
    EXPECT_EQ("Fail", changed.at("new").at("result"));
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
    try {
        ReadDiffSide(failed);
        ADD_FAILURE() << "accepted";
    } catch (StoredResultError const& error) {
        EXPECT_EQ(failed + ": expected the result of a finished evaluation; this one failed with "
                           "exit status 4: refused",
                  error.what());
    }
}

} // namespace
