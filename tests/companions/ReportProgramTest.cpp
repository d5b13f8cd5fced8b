// The real compliance-report.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <ctime>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <fcntl.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "tests/companions/StoredResults.h"
#include "tests/companions/Terminal.h"
#include "tests/support/OtherProcess.h"
#include "tests/support/Sanitizers.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

using ReportJson = nlohmann::json;

class ReportProgramTest : public testing::Test {
protected:
    // A result of an hour ago.
    void Store(char const* host, RowList const& rows) const {
        Provenance const provenance = ProvenanceOf(host, std::time(nullptr) - 3600);
        WriteFile(directory / "results/" + host + ".json", ResultText(rows, provenance));
    }

    ProgramResult Report(std::vector<std::string> arguments,
                         ProgramOptions const& options = {}) const {
        arguments.insert(arguments.begin(), {CC_REPORT_PROGRAM, "--strict=Pass"});
        arguments.push_back(directory / "results");
        return RunProgram(arguments, options);
    }

    ExitStatus StatusOf(std::vector<std::string> arguments) const {
        arguments.emplace_back("--json=-");
        return Report(arguments).status;
    }

    TemporaryDirectory const directory;
};

TEST_F(ReportProgramTest, ExitStatusIsThatOfTheMostSevereCondition) {
    Store("good", {ResultRow("d", "Pass")});
    EXPECT_EQ(ExitStatus::Exited(0), StatusOf({}));
    Store("bad", {ResultRow("d", "Fail")});
    EXPECT_EQ(ExitStatus::Exited(10), StatusOf({}));
    EXPECT_EQ(ExitStatus::Exited(0), StatusOf({"--strict=Fail"}));
    EXPECT_EQ(ExitStatus::Exited(12), StatusOf({"--max-age=30m"}));
    std::string const hosts = WriteFile(directory / "hosts", "good\nbad\nsilent\n");
    EXPECT_EQ(ExitStatus::Exited(12), StatusOf({"--hosts", hosts}));
    WriteFile(directory / "results/foreign", "x");
    EXPECT_EQ(ExitStatus::Exited(1), StatusOf({"--hosts", hosts}));
    EXPECT_EQ(ExitStatus::Exited(2), StatusOf({"--hosts", directory / "none"}));
    EXPECT_EQ(ExitStatus::Exited(8), Report({"--json", "/proc/report"}).status);
}

TEST_F(ReportProgramTest, ExitsWith12WithoutAnyResult) {
    std::filesystem::create_directory(directory / "results");
    EXPECT_EQ(ExitStatus::Exited(12), StatusOf({}));
}

TEST_F(ReportProgramTest, ReportsInvalidFileAndReadsTheOthers) {
    Store("good", {ResultRow("d", "Pass")});
    std::string const foreign = WriteFile(directory / "results/foreign", "\x1b[2J");
    ProgramResult const result = Report({"--json=-"});
    EXPECT_EQ("compliance-report: " + foreign + ":1:2: expected JSON: invalid literal\n",
              result.errors);
    ReportJson const document = ReportJson::parse(result.output);
    EXPECT_EQ("good", document.at("entries").at(0).at("host"));
    EXPECT_EQ(foreign, document.at("problems").at(0).at("file").get<std::string>());
}

TEST_F(ReportProgramTest, ReportsUnreadableDirectory) {
    namespace fs = std::filesystem;
    Store("good", {ResultRow("d", "Pass")});
    fs::create_directory(directory / "results/closed");
    fs::permissions(directory / "results/closed", fs::perms::none);
    fs::permissions(directory.path(), fs::perms(0755));
    ProgramOptions options;
    options.prepare = [] {
        return geteuid() != 0 || setuid(65534) == 0;
    };
    ProgramResult const result = Report({"--json=-"}, options);
    EXPECT_EQ(ExitStatus::Exited(1), result.status);
    EXPECT_EQ("compliance-report: " + directory / "results/closed" +
                  ": could not be read: Permission denied\n",
              result.errors);
    EXPECT_EQ(1, ReportJson::parse(result.output).at("totals").at("good"));
}

TEST_F(ReportProgramTest, RefusesOutputThatIsInputOrOtherOutput) {
    Store("good", {ResultRow("d", "Pass")});
    std::string const result = directory / "results/good.json";
    std::string const content = ReadWholeFile(result);
    std::string const hosts = WriteFile(directory / "hosts", "good\n");
    std::string const link = directory / "link";
    std::filesystem::create_symlink(result, link);
    for (std::vector<std::string> const& arguments :
         {std::vector<std::string>{"--json", result, result},
          {"--json", link, result},
          {"--hosts", hosts, "--json", hosts},
          {"--csv", result, "--json", link},
          {"--csv", directory / "new", "--json", directory / "results/../new"}}) {
        EXPECT_EQ(ExitStatus::Exited(2), Report(arguments).status) << arguments[1];
        EXPECT_EQ(content, ReadWholeFile(result));
        EXPECT_EQ("good\n", ReadWholeFile(hosts));
        EXPECT_FALSE(std::filesystem::exists(directory / "new"));
    }
    std::string const message = Report({"--json", link, result}).errors;
    EXPECT_EQ("compliance-report: FILE '" + result + "' and --json '" + link +
                  "' are the same file; accepted: a separate file for each output\n",
              message);
}

TEST_F(ReportProgramTest, RefusesStandardOutputThatIsAnInput) {
    Store("good", {ResultRow("d", "Pass")});
    std::string const result = directory / "results/good.json";
    std::string const content = ReadWholeFile(result);
    std::string const command =
        "'" CC_REPORT_PROGRAM "' --strict=Pass --json=- '" + result + "' >>'" + result + "'";
    EXPECT_EQ(ExitStatus::Exited(2), RunProgram({"/bin/sh", "-c", command}).status);
    EXPECT_EQ(content, ReadWholeFile(result));
}

TEST_F(ReportProgramTest, DoesNotReadItsOwnOutputs) {
    Store("good", {ResultRow("d", "Pass")});
    std::string const page = directory / "results/report.html";
    WriteFile(page + ".a1B2c3", "the page of a program that was killed");
    for (int night = 0; night < 2; ++night) {
        ProgramResult const result = Report({"--html", page, "--csv", directory / "results/rows"});
        EXPECT_EQ(ExitStatus::Exited(0), result.status) << result.errors;
        EXPECT_NE(std::string::npos, ReadWholeFile(page).find("Files read: 1."));
    }
}

TEST_F(ReportProgramTest, ModeOfReportsDoesNotDependOnTheUmask) {
    Store("good", {ResultRow("d", "Pass")});
    for (auto const& [option, mode] : {std::pair{"--quiet", 0640u}, std::pair{"--mode=644", 0644u},
                                       std::pair{"--mode=0600", 0600u}})
        for (mode_t const mask : {0777u, 0u}) {
            std::string const file = directory / "report.html";
            ProgramOptions options;
            options.prepare = [mask] {
                umask(mask);
                return true;
            };
            EXPECT_EQ(ExitStatus::Exited(0), Report({"--html", file, option}, options).status);
            struct stat facts {};
            ASSERT_EQ(0, stat(file.c_str(), &facts));
            EXPECT_EQ(mode, facts.st_mode & 07777);
        }
}

TEST_F(ReportProgramTest, ExitsWith8IfReportCannotBeWritten) {
    Store("good", {ResultRow("d", "Pass")});
    std::string const command =
        "'" CC_REPORT_PROGRAM "' --strict=Pass --csv=- '" + directory / "results" + "' >/dev/full";
    ProgramResult const result = RunProgram({"/bin/sh", "-c", command});
    EXPECT_EQ(ExitStatus::Exited(8), result.status);
    EXPECT_EQ("compliance-report: the report could not be written: No space left on device\n",
              result.errors);
}

TEST_F(ReportProgramTest, EveryFormatListsMissingHostsFirst) {
    Store("a-bad", {ResultRow("d", "Fail")});
    Store("b-good", {ResultRow("d", "Pass")});
    Store("c-empty", {});
    std::string const hosts = WriteFile(directory / "hosts", "a-bad\nb-good\nc-empty\nz-silent\n");
    for (char const* const option : {"--html", "--csv", "--junit", "--markdown", "--json"}) {
        ProgramResult const result = Report({"--hosts", hosts, option, "-"});
        EXPECT_EQ(ExitStatus::Exited(12), result.status) << option;
        std::size_t const silent = result.output.find("z-silent");
        std::size_t const empty = result.output.find("c-empty");
        std::size_t const bad = result.output.find("a-bad");
        EXPECT_LT(silent, empty) << option;
        EXPECT_LT(empty, bad) << option;
        EXPECT_NE(std::string::npos, bad) << option;
    }
}

TEST_F(ReportProgramTest, ProgressGoesToATerminalOnly) {
    Store("good", {ResultRow("d", "Pass")});
    EXPECT_EQ("", Report({"--json=-"}).errors);
    EnvironmentVariable const type("TERM", "xterm");
    for (bool const isQuiet : {false, true}) {
        Terminal const screen;
        ProgramOptions options;
        options.prepare = [&screen] {
            return dup2(screen.otherEnd(), STDERR_FILENO) >= 0;
        };
        Report({"--json=-", isQuiet ? "--quiet" : "--allow-empty"}, options);
        EXPECT_EQ(isQuiet, screen.Read().empty());
    }
}

TEST_F(ReportProgramTest, StopSignalKeepsTheOldReport) {
    std::string const old = WriteFile(directory / "report.json", "old");
    for (int number = 0; number < 2000; ++number)
        Store(("host" + std::to_string(number)).c_str(), {ResultRow("d", "Pass")});
    OtherProgram program(
        {CC_REPORT_PROGRAM, "--strict=Pass", "--json", old, directory / "results"});
    // The program handles signals before it creates its temporary file.
    auto const entries = [&] {
        return std::distance(std::filesystem::directory_iterator(directory.path()),
                             std::filesystem::directory_iterator());
    };
    while (entries() < 3 && program.IsRunning())
        usleep(100);
    program.Kill(SIGTERM);
    ProgramResult const result = program.Wait();
    EXPECT_EQ(ExitStatus::Exited(128 + SIGTERM), result.status);
    EXPECT_EQ("compliance-report: ended early by SIGTERM\n", result.errors);
    EXPECT_EQ("old", ReadWholeFile(old));
    EXPECT_EQ(2, entries());
}

TEST_F(ReportProgramTest, RepeatedHostsAreNotedAndCountedOnce) {
    Store("good", {ResultRow("d", "Pass")});
    std::string const hosts = WriteFile(directory / "hosts", "good\nGOOD\ngood\n");
    ProgramResult const result = Report({"--hosts", hosts, "--json=-"});
    EXPECT_EQ("compliance-report: --hosts: repeated names, which count once: 2\n", result.errors);
    EXPECT_EQ(1, ReportJson::parse(result.output).at("options").at("expectedHosts"));
    EXPECT_EQ("", Report({"--hosts", hosts, "--json=-", "--quiet"}).errors);
}

TEST_F(ReportProgramTest, ProgressNeverDecreases) {
    for (int number = 0; number < 10; ++number)
        Store(("host" + std::to_string(number)).c_str(), {ResultRow("d", "Pass")});
    EnvironmentVariable const type("TERM", "xterm");
    Terminal const screen;
    ProgramOptions options;
    options.prepare = [&screen] {
        return dup2(screen.otherEnd(), STDERR_FILENO) >= 0;
    };
    Report({"--csv=-"}, options);
    std::string const text = screen.Read();
    std::vector<int> percents;
    for (std::size_t place = text.find("] "); place != text.npos;
         place = text.find("] ", place + 1))
        percents.push_back(std::stoi(text.substr(place + 2)));
    EXPECT_TRUE(std::ranges::is_sorted(percents));
    EXPECT_EQ(20u, percents.size());
    EXPECT_EQ(0, percents.at(0));
}

// A program whose standard output is a pipe that nobody reads yet.
class BlockedReport {
public:
    explicit BlockedReport(std::vector<std::string> const& arguments) {
        if (pipe2(ends, O_CLOEXEC) != 0)
            throw std::runtime_error("no pipe");
        ProgramOptions options;
        options.prepare = [this] {
            return dup2(ends[1], STDOUT_FILENO) >= 0;
        };
        program.emplace(arguments, options);
        close(ends[1]);
        while (FillLevel() < PIPE_BUF && program->IsRunning())
            usleep(1000);
    }
    ~BlockedReport() { close(ends[0]); }
    BlockedReport(BlockedReport const&) = delete;
    BlockedReport& operator=(BlockedReport const&) = delete;

    OtherProgram& Program() { return *program; }

    ProgramResult ReadAll() {
        char buffer[4096];
        while (read(ends[0], buffer, sizeof buffer) > 0)
            ;
        return program->Wait();
    }

private:
    int FillLevel() const {
        int bytes = 0;
        ioctl(ends[0], FIONREAD, &bytes);
        return bytes;
    }

    int ends[2] = {-1, -1};
    std::optional<OtherProgram> program;
};

TEST_F(ReportProgramTest, StopSignalEndsABlockedWrite) {
    Store("good", RowList(5000, ResultRow("d", "Pass")));
    for (std::string const format : {"--csv=-", "--junit=-"}) {
        BlockedReport report({CC_REPORT_PROGRAM, "--strict=Pass", format, directory / "results"});
        report.Program().Kill(SIGINT);
        ProgramResult const result = report.Program().Wait();
        EXPECT_EQ(ExitStatus::Exited(128 + SIGINT), result.status);
        EXPECT_EQ("compliance-report: ended early by SIGINT\n", result.errors);
    }
}

TEST_F(ReportProgramTest, FailureOfOneReportDoesNotAffectTheOthers) {
    for (int number = 0; number < 500; ++number)
        Store(("host" + std::to_string(number)).c_str(), {ResultRow("d", "Pass")});
    std::string const foreign = WriteFile(directory / "results/foreign", "x");
    std::filesystem::create_directory(directory / "gone");
    BlockedReport report({CC_REPORT_PROGRAM, "--strict=Pass", "--html=-", "--csv",
                          directory / "gone/csv", "--json", directory / "kept.json",
                          directory / "results"});
    std::filesystem::remove_all(directory / "gone");
    ProgramResult const result = report.ReadAll();
    EXPECT_EQ(ExitStatus::Exited(8), result.status);
    EXPECT_TRUE(std::filesystem::exists(directory / "kept.json"));
    EXPECT_EQ("compliance-report: '" + directory / "gone/csv" +
                  "' could not be replaced: No such file or directory\ncompliance-report: " +
                  foreign + ":1:2: expected JSON: invalid literal\n",
              result.errors);
}

// The shadow memory of a sanitizer exceeds any limit, so a few rows are enough there.
#ifdef CC_ADDRESS_SANITIZER
std::vector<std::pair<int, rlim_t>> const smallMemory;
constexpr std::size_t manyRows = 2'000;
#else
constexpr std::size_t manyRows = 200'000;
std::vector<std::pair<int, rlim_t>> const smallMemory = {{RLIMIT_AS, 32 << 20}};
#endif

TEST_F(ReportProgramTest, DoesNotKeepRowsOfAFileInMemory) {
    Store("large", RowList(manyRows, ResultRow("d", "Fail")));
    ProgramOptions options;
    options.limits = smallMemory;
    for (std::string const format : {"--csv", "--junit", "--html"})
        EXPECT_EQ(ExitStatus::Exited(10), Report({format, directory / "out"}, options).status);
}

TEST_F(ReportProgramTest, ReportsFileWithTooLongText) {
    std::string const comment(40 << 20, 'x');
    Store("long", {ResultRow("d", "Fail", comment)});
    Store("good", {ResultRow("d", "Pass")});
    ProgramOptions options;
    options.limits = smallMemory;
    ProgramResult const result = Report({"--json=-"}, options);
    EXPECT_EQ(ExitStatus::Exited(1), result.status) << result.errors;
    EXPECT_EQ(1, ReportJson::parse(result.output).at("totals").at("good"));
    EXPECT_NE(
        std::string::npos,
        result.errors.find(": expected a text, number or whitespace of at most 1048576 bytes\n"));
}

TEST_F(ReportProgramTest, ListsFirstProblemsAndCountsOthers) {
    for (int number = 0; number < 1005; ++number)
        WriteFile(directory / "results/" + std::to_string(number), "x");
    ProgramResult const result = Report({"--markdown=-"});
    EXPECT_EQ(1001, std::ranges::count(result.errors, '\n'));
    EXPECT_TRUE(result.errors.ends_with("compliance-report: and 5 more files with problems\n"));
    EXPECT_NE(std::string::npos, result.output.find("There are 5 more such files."));
    EXPECT_NE(std::string::npos, Report({"--html=-"}).output.find("There are 5 more such files"));
}

TEST_F(ReportProgramTest, ShowsHelpAndVersion) {
    EXPECT_TRUE(RunProgram({CC_REPORT_PROGRAM, "--help"})
                    .output.starts_with("Usage: compliance-report --strict LIST [OPTION]..."));
    EXPECT_EQ("compliance-report " CC_VERSION "\n",
              RunProgram({CC_REPORT_PROGRAM, "--version"}).output);
}

TEST_F(ReportProgramTest, DeviceAsInputAndOutputIsNotASharedFile) {
    std::string const command =
        "'" CC_REPORT_PROGRAM "' --strict=Pass --json=- /dev/null >/dev/null";
    ProgramResult const result = RunProgram({"/bin/sh", "-c", command});
    EXPECT_EQ(ExitStatus::Exited(1), result.status);
    EXPECT_EQ("compliance-report: /dev/null: expected a regular file\n", result.errors);
}

// The rows of the first host fill the pipe, so the report has read each file once.
TEST_F(ReportProgramTest, ReportsFileThatChangesDuringTheReport) {
    Store("a-large", RowList(5000, ResultRow("d", "Pass")));
    Store("b-changed", {ResultRow("d", "Pass")});
    BlockedReport report({CC_REPORT_PROGRAM, "--strict=Pass", "--csv=-", directory / "results"});
    Store("b-changed", {ResultRow("d", "Pass"), ResultRow("e", "Fail")});
    ProgramResult const result = report.ReadAll();
    EXPECT_EQ(ExitStatus::Exited(1), result.status);
    EXPECT_EQ("compliance-report: " + directory / "results/b-changed.json" +
                  ": expected no change during the report\n",
              result.errors);
}

} // namespace
