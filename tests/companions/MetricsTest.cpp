#include "companions/Metrics.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sstream>

#include <sys/stat.h>

#include "companions/ResultFile.h"
#include "tests/files/Files.h"
#include "tests/support/Sandbox.h"
#include "tests/support/SmallFileSystem.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

using testing::HasSubstr;
using testing::Not;

Metrics FinishedMetrics() {
    return {.document = "D",
            .start = {1000, 250'000'000},
            .duration = std::chrono::milliseconds(1500),
            .results = ResultCounts{{"Fail", 2}, {"Pass", 3}},
            .failing = 2};
}

Metrics FailedMetrics() {
    return {.document = "D",
            .exitStatus = 5,
            .start = {2000, 0},
            .duration = std::chrono::milliseconds(7)};
}

// The samples, without the lines of comments.
std::string Samples(std::string const& text) {
    std::istringstream lines(text);
    std::string samples;
    for (std::string line; std::getline(lines, line);)
        if (!line.starts_with('#'))
            samples += line + '\n';
    return samples;
}

TEST(MetricsTest, FinishedEvaluationHasAllMetrics) {
    EXPECT_EQ("clientcompliance_exit_status{document=\"D\",config=\"\"} 0\n"
              "clientcompliance_stale{document=\"D\",config=\"\"} 0\n"
              "clientcompliance_last_run_timestamp_seconds{document=\"D\",config=\"\"} 1000.250\n"
              "clientcompliance_duration_seconds{document=\"D\",config=\"\"} 1.500\n"
              "clientcompliance_last_success_timestamp_seconds{document=\"D\",config=\"\"} "
              "1000.250\n"
              "clientcompliance_rows{document=\"D\",config=\"\",result=\"Fail\"} 2\n"
              "clientcompliance_rows{document=\"D\",config=\"\",result=\"Pass\"} 3\n"
              "clientcompliance_failing_rows{document=\"D\",config=\"\"} 2\n",
              Samples(FormatMetrics(FinishedMetrics(), "")));
}

TEST(MetricsTest, EachMetricHasOneTypeLineInEveryFile) {
    std::string const finished = FormatMetrics(FinishedMetrics(), "");
    std::string const failed = FormatMetrics(FailedMetrics(), "");
    for (std::string const name :
         {"exit_status", "stale", "last_run_timestamp_seconds", "duration_seconds",
          "last_success_timestamp_seconds", "rows", "failing_rows"})
        for (std::string const* const text : {&finished, &failed}) {
            std::string const type = "# TYPE clientcompliance_" + name + " gauge\n";
            std::size_t const place = text->find(type);
            EXPECT_NE(std::string::npos, place) << name;
            EXPECT_EQ(std::string::npos, text->find(type, place + 1)) << name;
        }
}

TEST(MetricsTest, FailedRunKeepsRowsAndLastSuccess) {
    std::string const former = FormatMetrics(FinishedMetrics(), "");
    std::string const text = FormatMetrics(FailedMetrics(), former);
    for (char const* const kept :
         {"\nclientcompliance_last_success_timestamp_seconds{document=\"D\",config=\"\"} "
          "1000.250\n",
          "\nclientcompliance_rows{document=\"D\",config=\"\",result=\"Fail\"} 2\n",
          "\nclientcompliance_failing_rows{document=\"D\",config=\"\"} 2\n",
          "\nclientcompliance_last_run_timestamp_seconds{document=\"D\",config=\"\"} 2000.000\n",
          "\nclientcompliance_exit_status{document=\"D\",config=\"\"} 5\n"})
        EXPECT_THAT(text, HasSubstr(kept));
    EXPECT_EQ(text, FormatMetrics(FailedMetrics(), text));
}

TEST(MetricsTest, IgnoresOtherLabelsAndDamagedLines) {
    std::string const alone = FormatMetrics(FailedMetrics(), "");
    Metrics other = FinishedMetrics();
    other.document = "Other";
    EXPECT_EQ(alone, FormatMetrics(FailedMetrics(), FormatMetrics(other, "")));
    other = FinishedMetrics();
    other.config = "nightly";
    EXPECT_EQ(alone, FormatMetrics(FailedMetrics(), FormatMetrics(other, "")));
    std::string const begin = "clientcompliance_rows{document=\"D\",config=\"\"";
    for (std::string const damaged : {"",
                                      "}",
                                      "} ",
                                      "} x",
                                      "} 1 2",
                                      " 1",
                                      "} 1x",
                                      "}1",
                                      "} 1",
                                      ",result=\"x\"} NaN",
                                      ",result=\"x\"} -1",
                                      ",result=\"x\"} -.5",
                                      ",result=\"x\"} --1.5",
                                      ",result=\"x\"} 1e5",
                                      ",result=\"x\"} 1.",
                                      ",evil} 1",
                                      ",result=\"x\",result=\"y\"} 1",
                                      ",result=\"a\"b\"} 1",
                                      ",result=\"\\x\"} 1",
                                      ",result=\"\\\"} 1",
                                      ",result=\"\xff\"} 1"})
        EXPECT_EQ(alone, FormatMetrics(FailedMetrics(), begin + damaged + "\n")) << damaged;
}

TEST(MetricsTest, KeepsFirstOfRepeatedSamples) {
    std::string const sample = R"(clientcompliance_rows{document="D",config="",result="a\"b\\"} )";
    std::string const text = FormatMetrics(FailedMetrics(), sample + "1\n" + sample + "2\n");
    EXPECT_THAT(text, HasSubstr(sample + "1\n"));
    EXPECT_THAT(text, Not(HasSubstr(sample + "2\n")));
}

TEST(MetricsTest, StaleAnswerIsNotASuccess) {
    Metrics metrics = FinishedMetrics();
    metrics.stale = true;
    std::string const text = FormatMetrics(metrics, "");
    EXPECT_THAT(text, HasSubstr("clientcompliance_stale{document=\"D\",config=\"\"} 1\n"));
    EXPECT_THAT(Samples(text), Not(HasSubstr("last_success")));
    EXPECT_THAT(text, HasSubstr("result=\"Pass\"} 3\n"));
}

TEST(MetricsTest, OmitsFailingRowsWithoutStrict) {
    Metrics metrics = FinishedMetrics();
    metrics.failing = {};
    EXPECT_THAT(Samples(FormatMetrics(metrics, "")), Not(HasSubstr("failing_rows")));
}

TEST(MetricsTest, EscapesLabelValues) {
    Metrics metrics = FinishedMetrics();
    metrics.document = "a\"b\\c\nd\xff";
    metrics.results = ResultCounts{{"", 1}, {"\"}\n", 2}};
    std::string const labels = R"({document="a\"b\\c\nd\\xff",config="")";
    std::string const text = FormatMetrics(metrics, "");
    EXPECT_THAT(text, HasSubstr("clientcompliance_stale" + labels + "} 0\n"));
    EXPECT_THAT(text, HasSubstr("clientcompliance_rows" + labels + R"(,result=""} 1)" + "\n"));
    EXPECT_THAT(text, HasSubstr("clientcompliance_rows" + labels + R"(,result="\"}\n"} 2)" + "\n"));
}

TEST(MetricsTest, RowsOfRareAndLongResultsAreSummed) {
    Metrics metrics = FinishedMetrics();
    metrics.results = ResultCounts{{"other", 1000}, {std::string(101, 'l'), 500}};
    for (unsigned int count = 1; count <= 25; ++count)
        metrics.results->emplace("result " + std::to_string(count), count);
    std::string const text = Samples(FormatMetrics(metrics, ""));
    // The six rarest have 1 to 6 rows.
    EXPECT_THAT(text, HasSubstr("result=\"other\"} 1521\n"));
    EXPECT_THAT(text, HasSubstr("result=\"result 7\"} 7\n"));
    EXPECT_THAT(text, Not(HasSubstr("result=\"result 6\"}")));
    EXPECT_THAT(text, Not(HasSubstr("lll")));
}

TEST(MetricsTest, ReplacesFileAndMakesItReadableByAll) {
    TemporaryDirectory const directory;
    std::string const path = directory / "metrics.prom";
    mode_t const mask = umask(077);
    WriteMetrics(path, FinishedMetrics());
    WriteMetrics(path, FailedMetrics());
    umask(mask);
    struct stat facts {};
    ASSERT_EQ(0, stat(path.c_str(), &facts));
    EXPECT_EQ(0644u, facts.st_mode & 07777);
    EXPECT_EQ(FormatMetrics(FailedMetrics(), FormatMetrics(FinishedMetrics(), "")),
              ReadWholeFile(path));
    EXPECT_THROW(WriteMetrics(directory / "missing/metrics.prom", FailedMetrics()),
                 ResultFileError);
}

TEST(MetricsTest, ResultOf100BytesHasItsOwnSample) {
    Metrics metrics = FinishedMetrics();
    metrics.results = ResultCounts{{std::string(100, 'l'), 7}};
    EXPECT_THAT(FormatMetrics(metrics, ""),
                HasSubstr(",result=\"" + std::string(100, 'l') + "\"} 7\n"));
}

TEST(MetricsTest, TimesBefore1970AreNegative) {
    Metrics metrics = FinishedMetrics();
    for (auto const& [start, text] :
         {std::pair{timespec{-1, 500'000'000}, "-0.500"},
          std::pair{timespec{-2, 750'000'000}, "-1.250"}, std::pair{timespec{-2, 0}, "-2.000"}}) {
        metrics.start = start;
        std::string const former = FormatMetrics(metrics, "");
        std::string const labels = "{document=\"D\",config=\"\"} ";
        EXPECT_THAT(former, HasSubstr("\nclientcompliance_last_run_timestamp_seconds" + labels +
                                      text + "\n"));
        EXPECT_THAT(
            FormatMetrics(FailedMetrics(), former),
            HasSubstr("\nclientcompliance_last_success_timestamp_seconds" + labels + text + "\n"));
    }
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

TEST(MetricsTest, FailedRunKeepsRowsWithLongLabels) {
    TemporaryDirectory const directory;
    std::string const path = directory / "metrics.prom";
    for (char const byte : {'d', '"', '\xff'}) {
        Metrics metrics = MetricsWithLongLabels(byte);
        WriteMetrics(path, metrics);
        metrics.results = {};
        WriteMetrics(path, metrics);
        std::string const text = ReadWholeFile(path);
        std::string const samples = Samples(text);
        // Four of the run, its last success, 20 results, the others, and the failing rows.
        EXPECT_EQ(4 + 1 + 20 + 1 + 1, std::ranges::count(samples, '\n')) << byte;
    }
}

TEST(MetricsTest, IgnoresAFileThatIsTooLarge) {
    TemporaryDirectory const directory;
    std::string const path = directory / "metrics.prom";
    WriteMetrics(path, FinishedMetrics());
    std::ofstream(path, std::ios::app) << std::string(64 * 1024, '\n');
    WriteMetrics(path, FailedMetrics());
    EXPECT_EQ(FormatMetrics(FailedMetrics(), ""), ReadWholeFile(path));
}

TEST(MetricsTest, FullDiskKeepsTheFile) {
    Sandbox::Run([] {
        SmallFileSystem disk("/opt/disk");
        std::string const path = disk / "metrics.prom";
        WriteMetrics(path, FinishedMetrics());
        disk.FillUp();
        try {
            WriteMetrics(path, FailedMetrics());
            ADD_FAILURE() << "written";
        } catch (ResultFileError const& error) {
            EXPECT_EQ("'" + path + "' could not be written: No space left on device",
                      std::string(error.what()));
        }
        EXPECT_EQ(FormatMetrics(FinishedMetrics(), ""), ReadWholeFile(path));
    });
}

} // namespace
