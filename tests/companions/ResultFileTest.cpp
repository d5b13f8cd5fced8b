#include "companions/ResultFile.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/support/OtherProcess.h"
#include "tests/support/PrivateMachine.h"
#include "tests/support/SmallFileSystem.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

namespace fs = std::filesystem;

std::string ContentOf(std::string const& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

void WriteTo(ResultFile const& file, std::string const& text) {
    ASSERT_EQ(static_cast<ssize_t>(text.size()),
              write(file.Descriptor(), text.data(), text.size()));
}

void Replace(std::string const& path, std::string const& text) {
    ResultFile file(path);
    WriteTo(file, text);
    file.Publish();
}

std::string Refusal(std::string const& path) {
    try {
        ResultFile const file(path);
    } catch (ResultFileError const& error) {
        return error.what();
    }
    return "accepted";
}

std::size_t CountEntries(std::string const& directory) {
    return static_cast<std::size_t>(
        std::distance(fs::directory_iterator(directory), fs::directory_iterator()));
}

class ResultFileTest : public testing::Test {
protected:
    TemporaryDirectory const directory;
    std::string const path = directory.path() + "/result";
};

TEST_F(ResultFileTest, CreatesAndReplacesFile) {
    Replace(path, "first");
    EXPECT_EQ("first", ContentOf(path));
    Replace(path, "2nd");
    EXPECT_EQ("2nd", ContentOf(path));
    EXPECT_EQ(1u, CountEntries(directory.path()));
}

TEST_F(ResultFileTest, ChangesNothingUnlessPublished) {
    Replace(path, "old");
    {
        ResultFile const file(path);
        WriteTo(file, "new");
        EXPECT_EQ("old", ContentOf(path));
    }
    EXPECT_EQ("old", ContentOf(path));
    EXPECT_EQ(1u, CountEntries(directory.path()));
}

TEST_F(ResultFileTest, ModeFollowsUmask) {
    mode_t const former = umask(0027);
    Replace(path, "text");
    EXPECT_EQ(0027u, umask(former));
    EXPECT_EQ(fs::perms(0640), fs::status(path).permissions());
}

TEST_F(ResultFileTest, ReplacesTargetOfLink) {
    fs::create_directory(directory.path() + "/elsewhere");
    std::string const target = directory.path() + "/elsewhere/target";
    Replace(target, "old");
    fs::create_symlink("elsewhere/target", path);
    Replace(path, "new");
    EXPECT_TRUE(fs::is_symlink(path));
    EXPECT_EQ("new", ContentOf(target));
}

std::string Quoted(std::string const& text) { return "'" + text + "'"; }

void ExpectRefused(std::string const& path, std::string const& reason) {
    EXPECT_EQ(reason, ReasonAgainstResultFile(path));
    EXPECT_EQ(Quoted(path) + " " + reason, Refusal(path));
}

TEST_F(ResultFileTest, RefusesDanglingLink) {
    fs::create_symlink("nowhere", path);
    ExpectRefused(path, "is a symbolic link without a target");
}

TEST_F(ResultFileTest, RefusesEntriesThatAreNotRegularFiles) {
    ExpectRefused(directory.path(), "is a directory");
    ExpectRefused("/dev/null", "is no regular file");
    ASSERT_EQ(0, mkfifo(path.c_str(), 0600));
    ExpectRefused(path, "is no regular file");
    std::string const link = path + ".link";
    fs::create_symlink("/dev/null", link);
    ExpectRefused(link, "is no regular file");
}

TEST_F(ResultFileTest, RefusesPathsThatNameNoFile) {
    std::string const reason = "is in no directory that exists";
    for (std::string const name : {"missing/result", "missing/"})
        ExpectRefused(directory.path() + "/" + name, reason);
    Replace(path, "text");
    ExpectRefused(path + "/result", reason);
    ExpectRefused(path + "/", reason);
    ExpectRefused("", "is empty");
    ExpectRefused(std::string(300, 'x'), "is too long");
}

TEST_F(ResultFileTest, AcceptsFilesAndNewNames) {
    EXPECT_EQ("", ReasonAgainstResultFile(path));
    Replace(path, "text");
    EXPECT_EQ("", ReasonAgainstResultFile(path));
    EXPECT_EQ("", ReasonAgainstResultFile("new"));
}

TEST_F(ResultFileTest, PathWithoutDirectoryIsInTheWorkingDirectory) {
    OtherProcess other([&] {
        fs::current_path(directory.path());
        Replace("plain", "text");
    });
    EXPECT_EQ(ExitStatus::Exited(0), other.Wait());
    EXPECT_EQ("text", ContentOf(directory.path() + "/plain"));
}

TEST(ResultFileOnSmallDiskTest, ReadOnlyDirectoryKeepsOldContent) {
    PrivateMachine::Run([] {
        SmallFileSystem disk("/opt/disk");
        std::string const path = disk / "result";
        Replace(path, "old");
        disk.MakeReadOnly();
        EXPECT_EQ(Quoted(path) + " could not be replaced: Read-only file system", Refusal(path));
        EXPECT_EQ("old", ContentOf(path));
    });
}

TEST_F(ResultFileTest, ChosenModeDoesNotDependOnTheUmask) {
    mode_t const mask = umask(0777);
    ResultFile file(path, 0604);
    umask(mask);
    file.Publish();
    struct stat facts {};
    ASSERT_EQ(0, stat(path.c_str(), &facts));
    EXPECT_EQ(0604u, facts.st_mode & 07777);
}

} // namespace
