// The real compliance-report.
#include <climits>

#include "tests/companions/StoredResults.h"
#include "tests/companions/Terminal.h"
#include "tests/support/Sanitizers.h"

namespace {

class ReportProgramTest : public testing::Test {
protected:
    // A result of an hour ago.
    void Store(std::string const& host, RowList const& rows = {ResultRow("d", "Pass")}) const {
        Provenance const provenance = ProvenanceOf(host.c_str(), std::time(nullptr) - 3600);
        WriteFile(FileOf(host), ResultText(rows, provenance));
    }

    void StoreMany(int hosts) const {
        for (int number = 0; number < hosts; ++number)
            Store("host" + std::to_string(number));
    }

    std::string FileOf(std::string const& host) const { return results + "/" + host + ".json"; }

    ProgramResult Report(Texts arguments, ProgramOptions const& options = {}) const {
        arguments.insert(arguments.begin(), {CC_REPORT_PROGRAM, "--strict=Pass"});
        arguments.push_back(results);
        return RunProgram(arguments, options);
    }

    // Runs a command of the shell with arguments and redirections behind --strict.
    static ProgramResult ReportInShell(std::string const& text) {
        return RunShell("'" CC_REPORT_PROGRAM "' --strict=Pass " + text);
    }

    // Starts a program that reads the file of --hosts, a FIFO.
    OtherProgram StartWithFifo(std::string const& hosts) const {
        EXPECT_EQ(0, mkfifo(hosts.c_str(), 0600));
        return OtherProgram(
            {CC_REPORT_PROGRAM, "--strict=Pass", "--json=-", "--hosts", hosts, results});
    }

    ExitStatus StatusOf(Texts arguments) const {
        arguments.emplace_back("--json=-");
        return Report(arguments).status;
    }

    // Returns what the program writes to these descriptors, which are a terminal.
    std::string OnTerminal(Texts const& arguments,
                           std::vector<int> const& descriptors = {STDERR_FILENO}) const {
        EnvironmentVariable const type("TERM", "xterm");
        Terminal const screen;
        Report(arguments, {.prepare = [&] {
                   return std::ranges::all_of(descriptors, [&screen](int descriptor) {
                       return dup2(screen.otherEnd(), descriptor) >= 0;
                   });
               }});
        return screen.Read();
    }

    TemporaryDirectory const directory;
    std::string const results = directory / "results";
};

TEST_F(ReportProgramTest, ExitStatusIsThatOfTheMostSevereCondition) {
    fs::create_directory(results);
    EXPECT_EQ(ExitStatus::Exited(12), StatusOf({}));
    Store("good");
    EXPECT_EQ(ExitStatus::Exited(0), StatusOf({}));
    Store("bad", {ResultRow("d", "Fail")});
    EXPECT_EQ(ExitStatus::Exited(10), StatusOf({}));
    EXPECT_EQ(ExitStatus::Exited(0), StatusOf({"--strict=Fail"}));
    EXPECT_EQ(ExitStatus::Exited(12), StatusOf({"--max-age=30m"}));
    std::string const hosts = WriteFile(directory / "hosts", "good\nbad\nsilent\n");
    EXPECT_EQ(ExitStatus::Exited(12), StatusOf({"--hosts", hosts}));
    WriteFile(results + "/foreign", "x");
    EXPECT_EQ(ExitStatus::Exited(1), StatusOf({"--hosts", hosts}));
    EXPECT_EQ(ExitStatus::Exited(2), StatusOf({"--hosts", directory / "none"}));
    EXPECT_EQ(ExitStatus::Exited(8), Report({"--json", "/proc/report"}).status);
}

TEST_F(ReportProgramTest, PageHasFailingRows) {
    Store("bad", {ResultRow("failing-row", "Fail")});
    EXPECT_THAT(Report({"--html=-"}).output, HasSubstr("failing-row"));
}

TEST_F(ReportProgramTest, ReportsInvalidFileAndReadsTheOthers) {
    Store("good");
    std::string const foreign = WriteFile(results + "/foreign", "\x1b[2J");
    ProgramResult const result = Report({"--json=-"});
    ExpectExit(1, "compliance-report: " + foreign + ":1:2: expected JSON: invalid literal\n",
               result);
    Json const document = Json::parse(result.output);
    EXPECT_EQ("good", document.at("entries").at(0).at("host"));
    EXPECT_EQ(Json(foreign), document.at("problems").at(0).at("file"));
}

TEST_F(ReportProgramTest, RefusesOutputThatIsInputOrOtherOutput) {
    Store("good");
    std::string const result = FileOf("good");
    std::string const content = ReadWholeFile(result);
    std::string const hosts = WriteFile(directory / "hosts", "good\n");
    std::string const link = directory / "link";
    fs::create_symlink(result, link);
    for (Texts const& arguments :
         {Texts{"--json", result, result},
          {"--json", link, result},
          {"--hosts", hosts, "--json", hosts},
          {"--csv", result, "--json", link},
          {"--csv", directory / "new", "--json", directory / "results/../new"}}) {
        EXPECT_EQ(ExitStatus::Exited(2), Report(arguments).status) << arguments[1];
        EXPECT_EQ(content, ReadWholeFile(result));
        EXPECT_EQ("good\n", ReadWholeFile(hosts));
        EXPECT_FALSE(fs::exists(directory / "new"));
    }
    EXPECT_EQ("compliance-report: FILE '" + result + "' and --json '" + link +
                  "' are the same file; accepted: a separate file for each output\n",
              Report({"--json", link, result}).errors);
    // Standard output is an output as well.
    EXPECT_EQ(ExitStatus::Exited(2),
              ReportInShell("--json=- '" + result + "' >>'" + result + "'").status);
    EXPECT_EQ(content, ReadWholeFile(result));
}

TEST_F(ReportProgramTest, DeviceAsInputAndOutputIsNotASharedFile) {
    ExpectExit(1, "compliance-report: /dev/null: expected a regular file\n",
               ReportInShell("--json=- /dev/null >/dev/null"));
}

TEST_F(ReportProgramTest, DoesNotReadItsOwnOutputs) {
    Store("good");
    std::string const page = results + "/report.html";
    WriteFile(page + ".a1B2c3", "the page of a program that was killed");
    for (int night = 0; night < 2; ++night) {
        ExpectExit(0, "", Report({"--html", page, "--csv", results + "/rows"}));
        EXPECT_THAT(ReadWholeFile(page), HasSubstr("Files read: 1."));
    }
}

TEST_F(ReportProgramTest, ModeOfReportsDoesNotDependOnTheUmask) {
    Store("good");
    std::string const file = directory / "report.html";
    for (auto const& [option, mode] :
         {std::pair{"--quiet", 0640}, {"--mode=644", 0644}, {"--mode=0600", 0600}})
        for (mode_t const mask : {0777u, 0u}) {
            ProgramOptions const options{.prepare = [mask] {
                umask(mask);
                return true;
            }};
            EXPECT_EQ(ExitStatus::Exited(0), Report({"--html", file, option}, options).status);
            EXPECT_EQ(fs::perms(mode), fs::status(file).permissions());
        }
}

TEST_F(ReportProgramTest, ExitsWith8IfReportCannotBeWritten) {
    Store("good");
    ExpectExit(8, "compliance-report: the report could not be written: No space left on device\n",
               ReportInShell("--csv=- '" + results + "' >/dev/full"));
    ExpectExit(
        8, "compliance-report: '/proc/report' could not be replaced: No such file or directory\n",
        Report({"--csv=/proc/report"}));
}

TEST_F(ReportProgramTest, EveryFormatListsMissingHostsFirst) {
    Store("a-bad", {ResultRow("d", "Fail")});
    Store("b-good");
    Store("c-empty", {});
    std::string const hosts = WriteFile(directory / "hosts", "a-bad\nb-good\nc-empty\nz-silent\n");
    for (char const* const option : {"--html", "--csv", "--junit", "--markdown", "--json"}) {
        ProgramResult const result = Report({"--hosts", hosts, option, "-"});
        EXPECT_EQ(ExitStatus::Exited(12), result.status) << option;
        std::size_t const empty = result.output.find("c-empty");
        EXPECT_LT(result.output.find("z-silent"), empty) << option;
        EXPECT_LT(empty, result.output.find("a-bad")) << option;
        EXPECT_THAT(result.output, HasSubstr("a-bad")) << option;
    }
}

TEST_F(ReportProgramTest, ProgressGoesToATerminalOnly) {
    Store("good");
    EXPECT_EQ("", Report({"--json=-"}).errors);
    EXPECT_NE("", OnTerminal({"--json=-"}));
    EXPECT_EQ("", OnTerminal({"--json=-", "--quiet"}));
}

TEST_F(ReportProgramTest, ProgressDoesNotMixWithAReportOnTheTerminal) {
    Store("good");
    std::vector<int> const both = {STDOUT_FILENO, STDERR_FILENO};
    EXPECT_THAT(OnTerminal({"--csv=-"}, both), AllOf(StartsWith("\"kind\""), EndsWith("\"\r\n")));
    EXPECT_THAT(OnTerminal({"--csv", directory / "report.csv"}, both), HasSubstr("completed"));
}

TEST_F(ReportProgramTest, EachPassIsHalfOfTheProgress) {
    StoreMany(10);
    std::string const text = OnTerminal({"--csv=-"});
    std::vector<int> percents;
    for (std::size_t place = text.find("] "); place != text.npos;
         place = text.find("] ", place + 1))
        percents.push_back(std::stoi(text.substr(place + 2)));
    EXPECT_TRUE(std::ranges::is_sorted(percents));
    EXPECT_EQ(20u, percents.size());
    EXPECT_EQ(0, percents.at(0));
    EXPECT_EQ(50, percents.at(10));
}

TEST_F(ReportProgramTest, StopSignalKeepsTheOldReport) {
    std::string const old = WriteFile(directory / "report.json", "old");
    StoreMany(2000);
    OtherProgram program({CC_REPORT_PROGRAM, "--strict=Pass", "--json", old, results});
    // The program handles signals before it creates its temporary file.
    while (CountEntries(directory.path()) < 3 && program.IsRunning())
        usleep(100);
    program.Kill(SIGTERM);
    ExpectExit(128 + SIGTERM, "compliance-report: ended early by SIGTERM\n", program.Wait());
    EXPECT_EQ("old", ReadWholeFile(old));
    EXPECT_EQ(2u, CountEntries(directory.path()));
}

// Opens a FIFO for writing when the program has opened it for reading.
int OpenWriter(std::string const& fifo, OtherProgram& program) {
    int writer = -1;
    while ((writer = open(fifo.c_str(), O_WRONLY | O_NONBLOCK)) < 0 && program.IsRunning())
        usleep(1000);
    return writer;
}

TEST_F(ReportProgramTest, SignalTerminatesTheWaitForTheListOfHosts) {
    std::string const hosts = directory / "hosts";
    OtherProgram program = StartWithFifo(hosts);
    int const writer = OpenWriter(hosts, program);
    program.Kill(SIGTERM);
    EXPECT_EQ(ExitStatus::Killed(SIGTERM), program.Wait().status);
    close(writer);
}

TEST_F(ReportProgramTest, TimeOfTheReportIsNotBeforeItsInputs) {
    std::string const hosts = directory / "hosts";
    OtherProgram program = StartWithFifo(hosts);
    int const writer = OpenWriter(hosts, program);
    usleep(10'000);
    std::string const before = FormatTimestamp(CurrentTime());
    Store("good");
    EXPECT_EQ(5, write(writer, "good\n", 5));
    close(writer);
    ProgramResult const result = program.Wait();
    EXPECT_EQ(ExitStatus::Exited(0), result.status) << result.errors;
    EXPECT_LE(before, Json::parse(result.output).at("time").get<std::string>());
}

TEST_F(ReportProgramTest, RepeatedHostsAreNotedAndCountedOnce) {
    Store("good");
    std::string const hosts = WriteFile(directory / "hosts", "good\nGOOD\ngood\n");
    ProgramResult const result = Report({"--hosts", hosts, "--json=-"});
    EXPECT_EQ("compliance-report: --hosts: repeated names, which count once: 2\n", result.errors);
    EXPECT_EQ(1, Json::parse(result.output).at("options").at("expectedHosts"));
    EXPECT_EQ("", Report({"--hosts", hosts, "--json=-", "--quiet"}).errors);
}

// A program whose standard output is a pipe that nobody reads yet.
class BlockedReport {
public:
    explicit BlockedReport(Texts arguments) {
        arguments.insert(arguments.begin(), {CC_REPORT_PROGRAM, "--strict=Pass"});
        program.emplace(arguments, ProgramOptions{.prepare = [this] {
                            return dup2(line.writer(), STDOUT_FILENO) >= 0;
                        }});
        line.CloseWriter();
        while (FillLevel() < PIPE_BUF && program->IsRunning())
            usleep(1000);
    }

    OtherProgram& Program() { return *program; }

    ProgramResult ReadAll() {
        char buffer[4096];
        while (read(line.reader(), buffer, sizeof buffer) > 0)
            ;
        return program->Wait();
    }

private:
    int FillLevel() const {
        int bytes = 0;
        ioctl(line.reader(), FIONREAD, &bytes);
        return bytes;
    }

    Pipe line;
    std::optional<OtherProgram> program;
};

TEST_F(ReportProgramTest, StopSignalEndsABlockedWrite) {
    Store("good", RowList(5000, ResultRow("d", "Pass")));
    for (char const* const format : {"--csv=-", "--junit=-"}) {
        BlockedReport report({format, results});
        report.Program().Kill(SIGINT);
        ExpectExit(128 + SIGINT, "compliance-report: ended early by SIGINT\n",
                   report.Program().Wait());
    }
}

TEST_F(ReportProgramTest, FailureOfOneReportDoesNotAffectTheOthers) {
    StoreMany(500);
    std::string const foreign = WriteFile(results + "/foreign", "x");
    std::string const gone = directory / "gone";
    std::string const kept = directory / "kept.json";
    fs::create_directory(gone);
    BlockedReport report({"--html=-", "--csv", gone + "/csv", "--json", kept, results});
    fs::remove_all(gone);
    ExpectExit(8,
               "compliance-report: '" + gone +
                   "/csv' could not be replaced: No such file or directory\ncompliance-report: " +
                   foreign + ":1:2: expected JSON: invalid literal\n",
               report.ReadAll());
    EXPECT_TRUE(fs::exists(kept));
}

// The rows of the first host fill the pipe, so the report has read each file once.
TEST_F(ReportProgramTest, ReportsFileThatChangesDuringTheReport) {
    Store("a-large", RowList(5000, ResultRow("d", "Pass")));
    Store("b-changed");
    BlockedReport report({"--csv=-", results});
    Store("b-changed", {ResultRow("d", "Pass"), ResultRow("e", "Fail")});
    ExpectExit(
        1, "compliance-report: " + FileOf("b-changed") + ": expected no change during the report\n",
        report.ReadAll());
}

// The shadow memory of a sanitizer exceeds any limit, so a few rows are enough there.
#ifdef CC_ADDRESS_SANITIZER
ProgramOptions const smallMemory;
constexpr std::size_t manyRows = 2'000;
#else
ProgramOptions const smallMemory{.limits = {{RLIMIT_AS, 32 << 20}}};
constexpr std::size_t manyRows = 200'000;
#endif

TEST_F(ReportProgramTest, DoesNotKeepRowsOfAFileInMemory) {
    Store("large", RowList(manyRows, ResultRow("d", "Fail")));
    for (char const* const format : {"--csv", "--junit", "--html"})
        EXPECT_EQ(ExitStatus::Exited(10), Report({format, directory / "out"}, smallMemory).status);
}

TEST_F(ReportProgramTest, ReportsFileWithTooLongText) {
    std::string const comment(40 << 20, 'x');
    Store("long", {ResultRow("d", "Fail", comment)});
    Store("good");
    ProgramResult const result = Report({"--json=-"}, smallMemory);
    EXPECT_EQ(ExitStatus::Exited(1), result.status) << result.errors;
    EXPECT_EQ(1, Json::parse(result.output).at("totals").at("good"));
    EXPECT_THAT(result.errors,
                HasSubstr(": expected a text, number or whitespace of at most 1048576 bytes\n"));
}

TEST_F(ReportProgramTest, ListsFirstProblemsAndCountsOthers) {
    for (int number = 0; number < 1005; ++number)
        WriteFile(results + "/" + std::to_string(number), "x");
    ProgramResult const result = Report({"--markdown=-"});
    EXPECT_EQ(1001, std::ranges::count(result.errors, '\n'));
    EXPECT_THAT(result.errors, EndsWith("compliance-report: and 5 more problems\n"));
    EXPECT_THAT(result.output, HasSubstr("There are 5 more such files."));
    EXPECT_THAT(Report({"--html=-"}).output, HasSubstr("There are 5 more such files"));
}

TEST_F(ReportProgramTest, ShowsHelpAndVersion) {
    EXPECT_THAT(RunProgram({CC_REPORT_PROGRAM, "--help"}).output,
                StartsWith("Usage: compliance-report --strict LIST [OPTION]..."));
    EXPECT_EQ("compliance-report " CC_VERSION "\n",
              RunProgram({CC_REPORT_PROGRAM, "--version"}).output);
}

} // namespace
