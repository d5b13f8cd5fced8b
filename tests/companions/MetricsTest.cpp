#include "companions/Metrics.h"

#include "companions/ResultFile.h"
#include "tests/companions/CompanionTest.h"
#include "tests/support/SmallFileSystem.h"

namespace {

Metrics FinishedMetrics() {
    return {.document = "D",
            .start = {1000, 250'000'000},
            .duration = milliseconds(1500),
            .results = ResultCounts{{"Fail", 2}, {"Pass", 3}},
            .failing = 2};
}

Metrics FailedMetrics() {
    return {.document = "D", .exitStatus = 5, .start = {2000, 0}, .duration = milliseconds(7)};
}

// The file after a failed run, for the file before.
std::string AfterFailure(std::string const& former) {
    return FormatMetrics(FailedMetrics(), former);
}

// The samples, without the lines of comments.
Texts Samples(std::string const& text) {
    std::istringstream lines(text);
    Texts samples;
    for (std::string line; std::getline(lines, line);)
        if (!line.starts_with('#'))
            samples.push_back(line);
    return samples;
}

// A sample with the usual labels.
std::string Sample(std::string const& name, std::string const& value,
                   std::string const& more = "") {
    return "clientcompliance_" + name + R"({document="D",config="")" + more + "} " + value;
}

// Matches samples with the rows and the time of FinishedMetrics.
auto AreSamplesOf(std::string const& exitStatus, std::string const& lastRun,
                  std::string const& duration) {
    return ElementsAre(Sample("exit_status", exitStatus), Sample("stale", "0"),
                       Sample("last_run_timestamp_seconds", lastRun),
                       Sample("duration_seconds", duration),
                       Sample("last_success_timestamp_seconds", "1000.250"),
                       Sample("rows", "2", ",result=\"Fail\""),
                       Sample("rows", "3", ",result=\"Pass\""), Sample("failing_rows", "2"));
}

TEST(MetricsTest, FinishedEvaluationHasAllMetrics) {
    EXPECT_THAT(Samples(FormatMetrics(FinishedMetrics(), "")),
                AreSamplesOf("0", "1000.250", "1.500"));
}

TEST(MetricsTest, FailedRunKeepsRowsAndLastSuccess) {
    std::string const text = AfterFailure(FormatMetrics(FinishedMetrics(), ""));
    EXPECT_THAT(Samples(text), AreSamplesOf("5", "2000.000", "0.007"));
    EXPECT_EQ(text, AfterFailure(text));
}

TEST(MetricsTest, EachMetricHasOneTypeLineInEveryFile) {
    for (std::string const& text : {FormatMetrics(FinishedMetrics(), ""), AfterFailure("")})
        for (std::string const name :
             {"exit_status", "stale", "last_run_timestamp_seconds", "duration_seconds",
              "last_success_timestamp_seconds", "rows", "failing_rows"}) {
            std::string const type = "# TYPE clientcompliance_" + name + " gauge\n";
            EXPECT_NE(text.npos, text.find(type)) << name;
            EXPECT_EQ(text.find(type), text.rfind(type)) << name;
        }
}

TEST(MetricsTest, IgnoresOtherLabelsAndDamagedLines) {
    std::string const alone = AfterFailure("");
    Metrics other = FinishedMetrics();
    other.document = "Other";
    EXPECT_EQ(alone, AfterFailure(FormatMetrics(other, "")));
    other = FinishedMetrics();
    other.config = "nightly";
    EXPECT_EQ(alone, AfterFailure(FormatMetrics(other, "")));
    std::string const begin = "clientcompliance_rows{document=\"D\",config=\"\"";
    for (std::string const damaged : {"", "}", "} ", "} x", "} 1 2", " 1", "} 1x", "}1", "} 1",
                                      ",evil} 1", ",result=\"x\",result=\"y\"} 1"})
        EXPECT_EQ(alone, AfterFailure(begin + damaged + "\n")) << damaged;
    for (std::string const value : {"NaN", "-1", "-.5", "--1.5", "1e5", "1."})
        EXPECT_EQ(alone, AfterFailure(begin + ",result=\"x\"} " + value + "\n")) << value;
    for (std::string const result : {"a\"b", "\\x", "\\", "\xff"})
        EXPECT_EQ(alone, AfterFailure(begin + ",result=\"" + result + "\"} 1\n")) << result;
    EXPECT_EQ(alone, AfterFailure(begin + ",result=\"\\"));
}

TEST(MetricsTest, KeepsFirstOfRepeatedSamples) {
    std::string const sample = R"(clientcompliance_rows{document="D",config="",result="a\"b\\"} )";
    std::string const text = AfterFailure(sample + "1\n" + sample + "2\n");
    EXPECT_THAT(text, HasSubstr(sample + "1\n"));
    EXPECT_THAT(text, Not(HasSubstr(sample + "2\n")));
}

TEST(MetricsTest, StaleResponseIsNotASuccess) {
    Metrics metrics = FinishedMetrics();
    metrics.stale = true;
    Texts const samples = Samples(FormatMetrics(metrics, ""));
    EXPECT_THAT(samples, Contains(Sample("stale", "1")));
    EXPECT_THAT(samples, Contains(Sample("rows", "3", ",result=\"Pass\"")));
    EXPECT_THAT(samples, Not(Contains(HasSubstr("last_success"))));
}

TEST(MetricsTest, OmitsFailingRowsWithoutStrict) {
    Metrics metrics = FinishedMetrics();
    metrics.failing = {};
    EXPECT_THAT(Samples(FormatMetrics(metrics, "")), Not(Contains(HasSubstr("failing_rows"))));
}

TEST(MetricsTest, EscapesLabelValues) {
    Metrics metrics = FinishedMetrics();
    metrics.document = "a\"b\\c\nd\xff";
    metrics.results = ResultCounts{{"", 1}, {"\"}\n", 2}};
    std::string const labels = R"({document="a\"b\\c\nd\\xff",config="")";
    EXPECT_THAT(Samples(FormatMetrics(metrics, "")),
                AllOf(Contains("clientcompliance_stale" + labels + "} 0"),
                      Contains("clientcompliance_rows" + labels + R"(,result=""} 1)"),
                      Contains("clientcompliance_rows" + labels + R"(,result="\"}\n"} 2)")));
}

TEST(MetricsTest, RowsOfRareAndLongResultsAreSummed) {
    Metrics metrics = FinishedMetrics();
    std::string const longest(100, 'l');
    metrics.results = ResultCounts{{"other", 1000}, {longest, 700}, {longest + 'l', 500}};
    for (unsigned int count = 1; count <= 24; ++count)
        metrics.results->emplace("result " + std::to_string(count), count);
    Texts const samples = Samples(FormatMetrics(metrics, ""));
    // The six rarest have 1 to 6 rows.
    EXPECT_THAT(samples, Contains(Sample("rows", "1521", ",result=\"other\"")));
    EXPECT_THAT(samples, Contains(Sample("rows", "7", ",result=\"result 7\"")));
    EXPECT_THAT(samples, Contains(Sample("rows", "700", ",result=\"" + longest + "\"")));
    EXPECT_THAT(samples, Not(Contains(HasSubstr("result=\"result 6\"}"))));
    EXPECT_THAT(samples, Not(Contains(HasSubstr(longest + 'l'))));
}

TEST(MetricsTest, TimesBefore1970AreNegative) {
    Metrics metrics = FinishedMetrics();
    for (auto const& [start, text] : {std::pair{timespec{-1, 500'000'000}, "-0.500"},
                                      {timespec{-2, 750'000'000}, "-1.250"},
                                      {timespec{-2, 0}, "-2.000"}}) {
        metrics.start = start;
        std::string const former = FormatMetrics(metrics, "");
        EXPECT_THAT(Samples(former), Contains(Sample("last_run_timestamp_seconds", text)));
        EXPECT_THAT(Samples(AfterFailure(former)),
                    Contains(Sample("last_success_timestamp_seconds", text)));
    }
}

class MetricsFileTest : public testing::Test {
protected:
    TemporaryDirectory const directory;
    std::string const path = directory / "metrics.prom";
};

TEST_F(MetricsFileTest, ReplacesFileAndMakesItReadableByAll) {
    mode_t const mask = umask(077);
    WriteMetrics(path, FinishedMetrics());
    WriteMetrics(path, FailedMetrics());
    umask(mask);
    EXPECT_EQ(fs::perms(0644), fs::status(path).permissions());
    EXPECT_EQ(AfterFailure(FormatMetrics(FinishedMetrics(), "")), ReadWholeFile(path));
    EXPECT_THROW(WriteMetrics(directory / "missing/metrics.prom", FailedMetrics()),
                 ResultFileError);
}

// Metrics with more results than are named, and the longest samples for this byte of the labels.
Metrics MetricsWithLongLabels(char byte) {
    Metrics metrics = FinishedMetrics();
    metrics.document = std::string(4096, byte);
    metrics.config = std::string(100, byte);
    metrics.results = ResultCounts();
    for (char digit = '0'; digit < '0' + 25; ++digit)
        metrics.results->emplace(std::string(99, byte) + digit, 4'000'000'000);
    return metrics;
}

TEST_F(MetricsFileTest, FailedRunKeepsRowsWithLongLabels) {
    for (char const byte : {'d', '"', '\xff'}) {
        Metrics metrics = MetricsWithLongLabels(byte);
        WriteMetrics(path, metrics);
        metrics.results = {};
        WriteMetrics(path, metrics);
        // Four of the run, its last success, 20 results, the others, and the failing rows.
        EXPECT_EQ(4u + 1 + 20 + 1 + 1, Samples(ReadWholeFile(path)).size()) << byte;
    }
}

TEST_F(MetricsFileTest, IgnoresAFileThatIsTooLarge) {
    WriteMetrics(path, FinishedMetrics());
    std::ofstream(path, std::ios::app) << std::string(64 * 1024, '\n');
    WriteMetrics(path, FailedMetrics());
    EXPECT_EQ(AfterFailure(""), ReadWholeFile(path));
}

SANDBOX_TEST(MetricsTest, FullDiskKeepsTheFile) {
    SmallFileSystem disk("/opt/disk");
    std::string const path = disk / "metrics.prom";
    WriteMetrics(path, FinishedMetrics());
    disk.FillUp();
    EXPECT_EQ("'" + path + "' could not be written: No space left on device",
              MessageOf<ResultFileError>([&] { WriteMetrics(path, FailedMetrics()); }));
    EXPECT_EQ(FormatMetrics(FinishedMetrics(), ""), ReadWholeFile(path));
}

} // namespace
