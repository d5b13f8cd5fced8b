#include "companions/ReportCommandLine.h"

#include "companions/Arguments.h"
#include "tests/companions/CompanionTest.h"

namespace {

ReportCommandLine ParseReport(Texts const& texts) {
    return ParseLine(ParseReportCommandLine, texts);
}

std::string ReportRefusal(Texts const& texts) {
    return MessageOf<CommandLineError>([&] { ParseReport(texts); });
}

TEST(ReportCommandLineTest, ParsesFilesAndOutputs) {
    ReportCommandLine const line =
        ParseReport({"a", "--strict", "Pass,N/A", "--html=x.html", "b", "--json", "-", "c"});
    EXPECT_EQ(ReportCommandLine::writeReports, line.action);
    EXPECT_EQ((Texts{"a", "b", "c"}), line.files);
    EXPECT_EQ((Texts{"Pass", "N/A"}), line.options.acceptedResults);
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
    EXPECT_EQ(hours(36), line.options.maxAge);
    EXPECT_EQ(0644u, line.mode);
    EXPECT_TRUE(line.quiet);
}

TEST(ReportCommandLineTest, HelpAndVersionNeedNoFiles) {
    EXPECT_EQ(ReportCommandLine::showHelp, ParseReport({"-h"}).action);
    EXPECT_EQ(ReportCommandLine::showVersion, ParseReport({"--version"}).action);
}

// The manual page has the same sentence.
TEST(ReportCommandLineTest, HelpStatesWhichResultsCount) {
    EXPECT_THAT(reportHelp, HasSubstr("The newest result of each host, site and document counts."));
}

TEST(ReportCommandLineTest, RefusesInvalidCommandLines) {
    std::string const acceptedOutputs =
        "; accepted: a regular file, a new name in a directory that exists, or - for standard "
        "output";
    for (auto const& [refusal, texts] :
         {std::pair<std::string, Texts>{"--strict is missing; accepted: the good results, a "
                                        "comma-separated list of results",
                                        {"--html=x", "f"}},
          {"no output; accepted: one or more of --html, --csv, --junit, --markdown and --json",
           {"--strict=P", "f"}},
          {"FILE is missing; accepted: files and directories with results",
           {"--strict=P", "--html=x"}},
          {"--csv: 'x' is the output of another option",
           {"--strict=P", "--html=x", "--csv=x", "f"}},
          {"--html: '' is empty" + acceptedOutputs, {"--strict=P", "--html=", "f"}},
          {"--html: '/' is a directory" + acceptedOutputs, {"--strict=P", "--html=/", "f"}}})
        EXPECT_EQ(refusal, ReportRefusal(texts));
    for (char const* const mode : {"--mode=", "--mode=8", "--mode=648", "--mode=1640",
                                   "--mode=06440", "--mode=-644", "--mode=240", "--mode=rw"})
        EXPECT_THAT(ReportRefusal({"--strict=P", "--html=x", mode, "f"}), HasSubstr("octal mode"));
}

} // namespace
