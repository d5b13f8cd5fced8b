#include "companions/Report.h"

#include "tests/companions/ReportTest.h"

namespace {

// Reads the rows of an entry again and returns their designators.
Texts Designators(ReportEntry const& entry) {
    Texts designators;
    ReadRows(entry, [&](StoredRow const& row) { designators.push_back(row[designatorField]); });
    return designators;
}

TEST_F(ReportTest, CountsRowsByResult) {
    StoreResults({"Pass", "Fail", "Pass"});
    Store("b", ProvenanceOf("web2"));
    Report const report = Make();
    ASSERT_EQ(2u, report.entries.size());
    EXPECT_EQ("web1", report.entries[0].host);
    EXPECT_EQ(1u, report.entries[0].failingRows);
    EXPECT_EQ((ResultCounts{{"Fail", 1}, {"Pass", 2}}), report.entries[0].results);
    EXPECT_EQ(3590, report.entries[0].age);
    EXPECT_EQ(4u, report.totals.rows);
    EXPECT_EQ(1u, report.totals.failingRows);
    EXPECT_EQ(1u, report.totals.failing);
    EXPECT_EQ(1u, report.totals.good);
    EXPECT_EQ(0u, report.totals.attention);
}

TEST_F(ReportTest, UsesTheNewestResultOfHostAndDocument) {
    Store("new", ProvenanceOf("web1"), {ResultRow("d", "Fail")});
    StoreAt("old", -86400);
    StoreAt("older", -2 * 86400);
    Provenance other = ProvenanceOf("web1", resultTime - 3600);
    other.document = "Other.xml";
    Store("other", other);
    Report const report = Make();
    ASSERT_EQ(2u, report.entries.size());
    EXPECT_EQ(directory / "new", report.entries[0].file);
    EXPECT_EQ(2u, report.entries[0].olderResults);
    EXPECT_EQ("Other.xml", report.entries[1].result.provenance->document);
    EXPECT_EQ(0u, report.entries[1].olderResults);
}

TEST_F(ReportTest, NewerFailureHidesAnOlderSuccess) {
    StoreAt("old", -86400);
    StoreFailure("new", ProvenanceOf("web1"), {5, "time-out", -3, {}, "not taken"});
    ExpectStates({"web1: failed"});
    EXPECT_EQ("the newest evaluation failed with exit status 5: not taken",
              Describe(FirstEntry(), Condition::failed));
}

TEST_F(ReportTest, HostNamesAreCaseInsensitive) {
    options.expectedHosts = {"WEB1", "web1", "Db", "AZ"};
    Store("old", ProvenanceOf("web1", resultTime - 100), {ResultRow("d", "Fail")});
    Store("new", ProvenanceOf("Web1"));
    Store("letters", ProvenanceOf("az"));
    ExpectStates({"Db: missing", "Web1:", "az:"});
    EXPECT_EQ(3u, Make().options.expectedHosts->size());
}

TEST_F(ReportTest, ReadsTimesOutsideTheRangeOfNanoseconds) {
    for (char const* const year : {"0001", "9999"}) {
        std::string text = ResultText({ResultRow("d", "Pass")});
        for (std::string const name : {"\"start\":\"", "\"end\":\""})
            text.replace(text.find(name) + name.size(), 4, year);
        Keep(year, text);
    }
    ExpectStates({"web1: from-future"});
}

TEST_F(ReportTest, HostNameHas1To255Bytes) {
    std::string const longest(255, 'h');
    Store("a", ProvenanceOf(longest.c_str()));
    ExpectStates({longest + ":"});
    for (std::string const& host : {std::string(), longest + 'h'}) {
        files.clear();
        std::string const file = Store("a", ProvenanceOf(host.c_str()));
        Report const report = Make();
        EXPECT_EQ(0u, report.entries.size());
        EXPECT_EQ(file + ": expected a host name of 1 to 255 bytes", report.problems.at(0).reason);
    }
}

TEST(ReportBuilderTest, SortsProblemsByFileAndReason) {
    ReportBuilder builder({});
    for (auto const& [file, reason] : {std::pair{"b", "1"}, {"a", "3"}, {"a", "2"}, {"a", "2"}})
        builder.AddProblem({file, reason});
    Texts reasons;
    for (Report const report = builder.Finish(); ReportProblem const& problem : report.problems)
        reasons.push_back(problem.file + problem.reason);
    EXPECT_EQ((Texts{"a2", "a2", "a3", "b1"}), reasons);
}

TEST_F(ReportTest, ListsFilesThatAreNotResults) {
    std::string const foreign = Keep("b", "{}");
    std::string const old =
        Keep("a", R"({"schemaVersion":1,"outcome":"finished","rowCount":0,"rows":[]})");
    Store("c", ProvenanceOf("web1"));
    Report const report = Make();
    EXPECT_EQ(1u, report.readFiles);
    EXPECT_EQ(1u, report.entries.size());
    ASSERT_EQ(2u, report.problems.size());
    EXPECT_EQ(old + ": expected a result with provenance; its host and time are unknown",
              report.problems[0].reason);
    EXPECT_EQ(foreign + ":1:3: expected the member \"schemaVersion\" of a result of "
                        "compliance-query",
              report.problems[1].reason);
}

// Returns "PREFIX0", "PREFIX1", ...
Texts Numbered(std::string const& prefix, std::size_t count) {
    Texts texts;
    for (std::size_t index = 0; index < count; ++index)
        texts.push_back(prefix + std::to_string(index));
    return texts;
}

TEST_F(ReportTest, RowsOfRareAndLongResultsAreCountedTogether) {
    Texts results = Numbered("r", 100);
    results.push_back(std::string(101, 'x'));
    StoreResults(results);
    Report const report = Make();
    EXPECT_EQ(maxResultNames, report.entries[0].results.size());
    EXPECT_EQ(101 - maxResultNames, report.entries[0].otherRows);
    EXPECT_EQ(101u, report.entries[0].failingRows);
    EXPECT_EQ(101 - maxResultNames, report.totals.otherRows);
}

TEST_F(ReportTest, CountsResultsAfterTheFirstThousandAsOthers) {
    options.acceptedResults = {"late"};
    for (std::size_t const others : {std::size_t{999}, std::size_t{1000}}) {
        files.clear();
        Texts results = Numbered("r", others);
        results.insert(results.end(), 5, "late");
        StoreResults(results);
        EXPECT_EQ(others < 1000, FirstEntry().results.contains("late")) << others;
        EXPECT_EQ(results.size() - (others < 1000 ? 20 : 16), FirstEntry().otherRows);
    }
}

TEST_F(ReportTest, MostFrequentResultsAreCountedByName) {
    StoreResults(Numbered("a", 20));
    Store("usual", ProvenanceOf("web2"), RowList(5, ResultRow("d", "Pass")));
    Report const report = Make();
    EXPECT_EQ(maxResultNames, report.totals.results.size());
    EXPECT_EQ(5u, report.totals.results.at("Pass"));
    std::size_t sum = report.totals.otherRows;
    for (auto const& [result, count] : report.totals.results)
        sum += count;
    EXPECT_EQ(report.totals.rows, sum);
}

TEST_F(ReportTest, EntriesOfOneDocumentOfTwoSitesAreMarked) {
    auto const store = [this](char const* name, char const* host, char const* url,
                              char const* document, time_t start) {
        Provenance provenance = ProvenanceOf(host, start);
        provenance.url = url;
        provenance.document = document;
        Store(name, provenance, {ResultRow("d", "Pass")});
    };
    store("a", "web1", "u", "d", resultTime);
    store("b", "WEB1", "v", "d", resultTime + 1'000);
    store("c", "web1", "v", "d", resultTime + 2'000);
    store("e", "web1", "u", "other", resultTime + 3'000);
    store("f", "web2", "u", "d", resultTime);
    Texts marked;
    for (ReportEntry const& entry : Make().entries)
        if (entry.hasOtherSites)
            marked.push_back(*entry.result.provenance->url + *entry.result.provenance->document);
    std::ranges::sort(marked);
    EXPECT_EQ((Texts{"ud", "vd"}), marked);
}

TEST_F(ReportTest, ReadsRowsAgainUnlessTheFileWasChanged) {
    std::string const file =
        Store("a", ProvenanceOf("web1"), {ResultRow("x", "Pass"), ResultRow("y", "Fail")});
    ReportEntry const entry = FirstEntry();
    EXPECT_EQ((Texts{"x", "y"}), Designators(entry));
    RowList const otherRows = {ResultRow("z", "Pass"), ResultRow("z", "Fail")};
    // The same result with other rows, or another result.
    for (time_t const start : {resultTime, resultTime + 1}) {
        WriteFile(file, ResultText(otherRows, ProvenanceOf("web1", start)));
        EXPECT_THROW(Designators(entry), StoredResultError) << start;
    }
}

// Writes a text of the same size over the file and restores the time, so its state is unchanged.
void Overwrite(std::string const& file, std::string const& text) {
    FileState const state = StateOfFile(file);
    WriteWholeFile(file, text);
    timespec const times[] = {{0, UTIME_OMIT}, state.modified};
    ASSERT_EQ(0, utimensat(AT_FDCWD, file.c_str(), times, 0));
    ASSERT_EQ(state, StateOfFile(file));
}

// Returns the text with a part replaced, which is filled with spaces up to its former size.
std::string WithChange(std::string text, std::string const& part, std::string change) {
    std::size_t const place = text.find(part);
    EXPECT_NE(text.npos, place) << part << " in " << text;
    change.resize(part.size(), ' ');
    return place == text.npos ? text : text.replace(place, part.size(), change);
}

TEST_F(ReportTest, RefusesRowsOfAChangedDocumentWithTheSameState) {
    Provenance provenance = ProvenanceOf("web1");
    provenance.stale = true;
    std::string const file =
        Store("a", provenance, {ResultRow("d", "Pass"), ResultRow("e", "Pass")});
    std::string const text = ReadWholeFile(file);
    std::size_t const secondRow = text.rfind(",\n");
    std::string const withoutSecondRow =
        WithChange(text, text.substr(secondRow, text.rfind("]}") - secondRow), "");
    ReportEntry const entry = FirstEntry();
    EXPECT_EQ((Texts{"d", "e"}), Designators(entry));
    for (std::string const& changed :
         {WithChange(text, "http://site/", "http://side/"), WithChange(text, "Doc.xml", "Dog.xml"),
          WithChange(text, "web1", "web2"),
          WithChange(text, "\"start\":\"2026", "\"start\":\"2025"),
          WithChange(text, "\"end\":\"2026", "\"end\":\"2027"),
          WithChange(text, "\"fresh\":false", "\"fresh\":true"),
          WithChange(text, "\"modified\":\"2023", "\"modified\":\"2022"),
          WithChange(withoutSecondRow, "\"rowCount\":2", "\"rowCount\":1"),
          WithChange(text, "\"designator\":\"e\"", "\"designator\":\"f\"")}) {
        Overwrite(file, changed);
        EXPECT_EQ(file + ": expected no change during the report",
                  MessageOf<StoredResultError>([&] { Designators(entry); }))
            << changed;
    }
    Overwrite(file, text);
    EXPECT_EQ((Texts{"d", "e"}), Designators(entry));
}

// Returns the content of a report as text, to compare reports.
std::string Fingerprint(Report const& report) {
    std::string text = std::to_string(report.totals.rows);
    for (ReportEntry const& entry : report.entries)
        text +=
            "|" + entry.host + entry.file + std::to_string(entry.olderResults) + StateText(entry);
    for (ReportProblem const& problem : report.problems)
        text += "|" + problem.reason;
    return text;
}

TEST_F(ReportTest, OrderOfFilesDoesNotChangeTheReport) {
    options.expectedHosts = {"h0", "h1", "h2", "h3", "h4"};
    options.maxAge = hours(30);
    std::mt19937 random(4);
    for (int index = 0; index < 40; ++index) {
        std::string const host = "h" + std::to_string(random() % 4);
        Provenance provenance =
            ProvenanceOf(host.c_str(), resultTime - static_cast<time_t>(random() % 20) * 7200);
        provenance.document = random() % 2 ? "A" : nullptr;
        provenance.stale = random() % 5 == 0;
        Store("f" + std::to_string(index), provenance,
              RowList(random() % 3, ResultRow("d", random() % 2 ? "Pass" : "Fail")));
    }
    Keep("foreign", "[]");
    Keep("broken", "{");
    std::string const expected = Fingerprint(Make());
    for (int round = 0; round < 20; ++round) {
        std::ranges::shuffle(files, random);
        EXPECT_EQ(expected, Fingerprint(Make()));
    }
}

TEST_F(ReportTest, UsesFailureAmongResultsWithEqualTimes) {
    for (bool const isFailureFirst : {true, false}) {
        StoreAt(isFailureFirst ? "b" : "a", 0);
        StoreFailure(isFailureFirst ? "a" : "b", ProvenanceOf("web1"), {4, "busy", -6, {}, "m"});
        ExpectStates({"web1: failed"});
        files.clear();
    }
}

TEST_F(ReportTest, UsesLastFileNameAmongResultsWithEqualTimes) {
    for (char const* const name : {"b", "c", "a"})
        StoreFailure(name, ProvenanceOf("web1"), {4, "busy", -6, {}, name});
    EXPECT_EQ(directory / "c", FirstEntry().file);
}

// Returns the processor time that the report needs after it has read these documents of one host.
std::clock_t TimeToFinish(ReportOptions const& options, std::string const& file,
                          std::size_t documents) {
    ReportBuilder builder(options);
    for (std::size_t index = 0; index < documents; ++index) {
        Provenance provenance = ProvenanceOf("web1", resultTime - static_cast<time_t>(index) * 100);
        std::string const document = std::to_string(index);
        provenance.document = document.c_str();
        // Faster than truncation: ext4 flushes a truncated file, but not a new one.
        fs::remove(file);
        builder.Read(WriteFile(file, ResultText({}, provenance)));
    }
    std::clock_t const start = std::clock();
    EXPECT_EQ(documents, builder.Finish().entries.size());
    return std::clock() - start;
}

TEST_F(ReportTest, TimeGrowsLessThanQuadraticallyWithDocuments) {
    std::string const file = directory / "result";
    std::clock_t few = TimeToFinish(options, file, 200);
    for (int repetition = 0; repetition < 3; ++repetition)
        few = std::min(few, TimeToFinish(options, file, 200));
    // 16 times as many documents. Quadratic time would be 256 times as long.
    EXPECT_LT(TimeToFinish(options, file, 3200), 64 * few);
}

} // namespace
