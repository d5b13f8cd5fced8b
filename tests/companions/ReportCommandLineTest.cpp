#include "companions/ReportCommandLine.h"

#include <gtest/gtest.h>

#include "companions/Arguments.h"

namespace {

ReportCommandLine ParseReport(std::vector<char const*> texts) {
    texts.insert(texts.begin(), "compliance-report");
    return ParseReportCommandLine(static_cast<int>(texts.size()), texts.data());
}

std::string ReportRefusal(std::vector<char const*> const& texts) {
    try {
        ParseReport(texts);
    } catch (CommandLineError const& error) {
        return error.what();
    }
    return "accepted";
}

TEST(ReportCommandLineTest, ParsesFilesAndOutputs) {
    ReportCommandLine const line =
        ParseReport({"a", "--strict", "Pass,N/A", "--html=x.html", "b", "--json", "-", "c"});
    EXPECT_EQ(ReportCommandLine::writeReports, line.action);
    EXPECT_EQ((std::vector<std::string>{"a", "b", "c"}), line.files);
    EXPECT_EQ((std::vector<std::string>{"Pass", "N/A"}), line.options.acceptedResults);
    ASSERT_EQ(2u, line.outputs.size());
    EXPECT_EQ(ReportFormat::html, line.outputs[0].format);
    EXPECT_EQ("x.html", line.outputs[0].file);
    EXPECT_EQ("-", line.outputs[1].file);
    EXPECT_EQ(0640u, line.mode);
    EXPECT_FALSE(line.options.allowEmpty);
    EXPECT_EQ(std::nullopt, line.options.maxAge);
    EXPECT_EQ(std::nullopt, line.hostsFile);
}

TEST(ReportCommandLineTest, ParsesOtherOptions) {
    ReportCommandLine const line =
        ParseReport({"--strict=P", "--csv=c", "--junit=j", "--markdown=m", "--allow-empty",
                     "--hosts=h", "--max-age=36h", "--mode=0644", "-q", "f"});
    EXPECT_EQ(3u, line.outputs.size());
    EXPECT_TRUE(line.options.allowEmpty);
    EXPECT_EQ("h", line.hostsFile);
    EXPECT_EQ(std::chrono::hours(36), line.options.maxAge);
    EXPECT_EQ(0644u, line.mode);
    EXPECT_TRUE(line.quiet);
}

TEST(ReportCommandLineTest, HelpAndVersionNeedNoFiles) {
    EXPECT_EQ(ReportCommandLine::showHelp, ParseReport({"-h"}).action);
    EXPECT_EQ(ReportCommandLine::showVersion, ParseReport({"--version"}).action);
}

TEST(ReportCommandLineTest, RefusesInvalidCommandLines) {
    EXPECT_EQ("--strict is missing; accepted: the good results, a comma-separated list of "
              "results",
              ReportRefusal({"--html=x", "f"}));
    EXPECT_EQ("no output; accepted: one or more of --html, --csv, --junit, --markdown and --json",
              ReportRefusal({"--strict=P", "f"}));
    EXPECT_EQ("FILE is missing; accepted: files and directories with results",
              ReportRefusal({"--strict=P", "--html=x"}));
    EXPECT_EQ("--csv: 'x' is the output of another option",
              ReportRefusal({"--strict=P", "--html=x", "--csv=x", "f"}));
    EXPECT_EQ(
        "--html: '' is empty; accepted: a regular file, a new name in a directory that exists, "
        "or - for standard output",
        ReportRefusal({"--strict=P", "--html=", "f"}));
    EXPECT_EQ(
        "--html: '/' is a directory; accepted: a regular file, a new name in a directory that "
        "exists, or - for standard output",
        ReportRefusal({"--strict=P", "--html=/", "f"}));
    for (char const* const mode : {"--mode=", "--mode=8", "--mode=648", "--mode=1640",
                                   "--mode=06440", "--mode=-644", "--mode=240", "--mode=rw"})
        EXPECT_NE(std::string::npos,
                  ReportRefusal({"--strict=P", "--html=x", mode, "f"}).find("octal mode"))
            << mode;
}

} // namespace
