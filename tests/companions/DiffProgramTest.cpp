// The real compliance-diff.
#include "tests/companions/StoredResults.h"
#include "tests/support/Sanitizers.h"

namespace {

ProgramResult RunDiff(Texts arguments) {
    arguments.insert(arguments.begin(), CC_DIFF_PROGRAM);
    return RunProgram(arguments);
}

class DiffProgramTest : public testing::Test {
protected:
    std::string Store(std::string const& name, RowList const& rows) const {
        return WriteFile(directory / name, ResultText(rows));
    }

    TemporaryDirectory const directory;
    std::string const passed = Store("passed.json", {ResultRow("d", "Pass")});
    std::string const failed = Store("failed.json", {ResultRow("d", "Fail")});
};

TEST_F(DiffProgramTest, HasTheExitStatusesOfDiff1) {
    EXPECT_EQ(ExitStatus::Exited(0), RunDiff({passed, passed}).status);
    ProgramResult const different = RunDiff({passed, failed});
    EXPECT_EQ(ExitStatus::Exited(1), different.status);
    EXPECT_NE(std::string::npos, different.output.find("\n~ d\n    result: 'Pass' -> 'Fail'\n"));
    ProgramResult const trouble = RunDiff({passed, directory / "none.json"});
    EXPECT_EQ(ExitStatus::Exited(2), trouble.status);
    EXPECT_EQ("compliance-diff: " + directory / "none.json" +
                  ": could not be opened: No such file or directory\n",
              trouble.errors);
    EXPECT_EQ("", trouble.output);
    EXPECT_EQ(ExitStatus::Exited(2), RunDiff({passed}).status);
}

TEST_F(DiffProgramTest, RegressionsOptionIgnoresOtherDifferences) {
    EXPECT_EQ(ExitStatus::Exited(1), RunDiff({"--regressions=Pass", passed, failed}).status);
    EXPECT_EQ(ExitStatus::Exited(0), RunDiff({"--regressions=Pass", failed, passed}).status);
    EXPECT_EQ(ExitStatus::Exited(0), RunDiff({"--regressions=Pass,Fail", passed, failed}).status);
}

TEST_F(DiffProgramTest, WritesNotesToStandardError) {
    std::string const repeated = Store("repeated.json", RowList(2, ResultRow("d", "Pass")));
    EXPECT_EQ("compliance-diff: designator 'd': 1 row in OLD and 2 rows in NEW, which match in "
              "their order\n",
              RunDiff({passed, repeated}).errors);
}

TEST_F(DiffProgramTest, ReadsAPipe) {
    std::string const command =
        "cat '" + failed + "' | '" CC_DIFF_PROGRAM "' '" + passed + "' /dev/stdin";
    EXPECT_EQ(ExitStatus::Exited(1), RunShell(command).status);
}

// A sanitizer makes the 256 MiB take minutes.
#ifndef CC_ADDRESS_SANITIZER
TEST_F(DiffProgramTest, RefusesDocumentLargerThan256Mebibytes) {
    std::string const command = "{ printf '{\"new\":[\"\"'; yes ',\"" + std::string(60'000, 'x') +
                                "\"'; } 2>/dev/null | '" CC_DIFF_PROGRAM "' /dev/stdin '" + passed +
                                "'";
    ProgramResult const result = RunProgram({"/bin/sh", "-c", command}, {}, seconds(110));
    EXPECT_EQ(ExitStatus::Exited(2), result.status);
    EXPECT_EQ("compliance-diff: /dev/stdin: expected at most 268435456 bytes\n", result.errors);
}
#endif

TEST_F(DiffProgramTest, ExitsWith2IfOutputCannotBeWritten) {
    std::string const command =
        "'" CC_DIFF_PROGRAM "' '" + passed + "' '" + failed + "' >/dev/full";
    ProgramResult const result = RunShell(command);
    EXPECT_EQ(ExitStatus::Exited(2), result.status);
    EXPECT_EQ("compliance-diff: the difference could not be written: No space left on device\n",
              result.errors);
}

TEST_F(DiffProgramTest, ExitsWith2IfOutputExceedsTheFileSizeLimit) {
    std::string const large = Store("large.json", RowList(30'000, ResultRow("d", "Fail")));
    ProgramResult const result =
        RunProgram({CC_DIFF_PROGRAM, passed, large}, {.limits = {{RLIMIT_FSIZE, 300'000}}});
    EXPECT_EQ(ExitStatus::Exited(2), result.status);
    EXPECT_THAT(result.errors,
                EndsWith("compliance-diff: the difference could not be written: File too large\n"));
}

TEST_F(DiffProgramTest, ShowsHelpAndVersion) {
    EXPECT_TRUE(
        RunDiff({"--help"}).output.starts_with("Usage: compliance-diff [OPTION]... OLD NEW\n"));
    EXPECT_EQ("compliance-diff " CC_VERSION "\n", RunDiff({"--version"}).output);
}

} // namespace
