#include "companions/ResultFile.h"

#include "tests/companions/CompanionTest.h"
#include "tests/companions/RefusedCall.h"
#include "tests/support/OpenDescriptors.h"
#include "tests/support/SmallFileSystem.h"

namespace {

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
    return MessageOf<ResultFileError>([&] { ResultFile const file(path); });
}

class ResultFileTest : public testing::Test {
protected:
    TemporaryDirectory const directory;
    std::string const path = directory.path() + "/result";
};

TEST_F(ResultFileTest, CreatesAndReplacesFile) {
    Replace(path, "first");
    EXPECT_EQ("first", ReadWholeFile(path));
    Replace(path, "2nd");
    EXPECT_EQ("2nd", ReadWholeFile(path));
    EXPECT_EQ(1u, CountEntries(directory.path()));
}

TEST_F(ResultFileTest, ChangesNothingUnlessPublished) {
    Replace(path, "old");
    {
        ResultFile const file(path);
        WriteTo(file, "new");
        EXPECT_EQ("old", ReadWholeFile(path));
    }
    EXPECT_EQ("old", ReadWholeFile(path));
    EXPECT_EQ(1u, CountEntries(directory.path()));
}

TEST_F(ResultFileTest, ModeFollowsUmaskUnlessChosen) {
    mode_t const former = umask(0027);
    Replace(path, "text");
    EXPECT_EQ(0027u, umask(0777));
    EXPECT_EQ(fs::perms(0640), fs::status(path).permissions());
    ResultFile file(path, 0604);
    umask(former);
    file.Publish();
    EXPECT_EQ(fs::perms(0604), fs::status(path).permissions());
}

TEST_F(ResultFileTest, ReplacesTargetOfLink) {
    fs::create_directory(directory / "elsewhere");
    std::string const target = directory / "elsewhere/target";
    Replace(target, "old");
    fs::create_symlink("elsewhere/target", path);
    Replace(path, "new");
    EXPECT_TRUE(fs::is_symlink(path));
    EXPECT_EQ("new", ReadWholeFile(target));
}

// A directory that all users may write to, with a link of this owner to a file outside.
struct SharedDirectory {
    SharedDirectory(std::string const& path, uid_t directoryOwner, uid_t linkOwner)
        : victim(path + ".victim"), link(path + "/link") {
        fs::create_directory(path);
        Replace(victim, "old");
        fs::create_symlink(victim, link);
        isReady = chown(path.c_str(), directoryOwner, 0) == 0 &&
                  lchown(link.c_str(), linkOwner, 0) == 0 && chmod(path.c_str(), 01777) == 0;
    }

    std::string const victim;
    std::string const link;
    bool isReady = false;
};

constexpr uid_t firstUser = 65533;
constexpr uid_t secondUser = 65534;

TEST_F(ResultFileTest, RefusesLinkOfAnotherUserInASharedDirectory) {
    SharedDirectory const shared(path, geteuid(), secondUser);
    if (!shared.isReady)
        GTEST_SKIP() << "cannot create an entry of another user";
    std::string const reason =
        "is a symbolic link of another user in a directory that is writable by all";
    EXPECT_EQ(reason, ReasonAgainstResultFile(shared.link));
    fs::create_symlink(shared.link, path + ".chain");
    EXPECT_EQ(reason, ReasonAgainstResultFile(path + ".chain"));
    EXPECT_THROW(ResultFile(path + ".chain"), ResultFileError);
    EXPECT_EQ("old", ReadWholeFile(shared.victim));
    // Without the sticky bit, all users can replace entries anyway. 01775 is not writable by all.
    for (mode_t const mode : {0777u, 01775u}) {
        ASSERT_EQ(0, chmod(path.c_str(), mode));
        EXPECT_EQ("", ReasonAgainstResultFile(shared.link)) << mode;
    }
}

TEST_F(ResultFileTest, FollowsLinkOfTheOwnerOfASharedDirectory) {
    SharedDirectory const shared(path, firstUser, firstUser);
    if (!shared.isReady)
        GTEST_SKIP() << "cannot create an entry of another user";
    Replace(shared.link, "new");
    EXPECT_EQ("new", ReadWholeFile(shared.victim));
    ASSERT_EQ(0, lchown(shared.link.c_str(), geteuid(), 0));
    Replace(shared.link, "newer");
    EXPECT_EQ("newer", ReadWholeFile(shared.victim));
}

std::string Quoted(std::string const& text) { return "'" + text + "'"; }

void ExpectRefused(std::string const& path, std::string const& reason) {
    EXPECT_EQ(reason, ReasonAgainstResultFile(path));
    EXPECT_EQ(Quoted(path) + " " + reason, Refusal(path));
}

TEST_F(ResultFileTest, RefusesEntriesThatAreNotRegularFiles) {
    ExpectRefused(directory.path(), "is a directory");
    ExpectRefused("/dev/null", "is not a regular file");
    ASSERT_EQ(0, mkfifo(path.c_str(), 0600));
    ExpectRefused(path, "is not a regular file");
    fs::create_symlink("/dev/null", path + ".link");
    ExpectRefused(path + ".link", "is not a regular file");
    fs::create_symlink("nowhere", path + ".dangling");
    ExpectRefused(path + ".dangling", "is a symbolic link without an accessible target");
    fs::create_symlink(path + ".loop", path + ".loop");
    ExpectRefused(path + ".loop", "is a symbolic link without an accessible target");
}

TEST_F(ResultFileTest, RefusesInvalidPaths) {
    Replace(path, "text");
    for (std::string const& missing :
         {directory / "missing/result", directory / "missing/", path + "/result", path + "/"})
        ExpectRefused(missing, "is in no directory that exists");
    ExpectRefused("", "is empty");
    ExpectRefused(std::string(300, 'x'), "is too long");
    // The name of the temporary file has 7 bytes more.
    ExpectRefused(directory / std::string(249, 'x'), "is too long");
    fs::create_symlink("loop", directory / "loop");
    EXPECT_EQ(Quoted(directory / "loop/result") +
                  " could not be replaced: Too many levels of symbolic links",
              Refusal(directory / "loop/result"));
    Replace(directory / std::string(248, 'x'), "text");
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
    EXPECT_EQ("text", ReadWholeFile(directory / "plain"));
}

SANDBOX_TEST(ResultFileInSandboxTest, ReadOnlyDirectoryKeepsOldContent) {
    SmallFileSystem disk("/opt/disk");
    std::string const path = disk / "result";
    Replace(path, "old");
    disk.MakeReadOnly();
    EXPECT_EQ(Quoted(path) + " could not be replaced: Read-only file system", Refusal(path));
    EXPECT_EQ("old", ReadWholeFile(path));
}

SANDBOX_TEST(ResultFileInSandboxTest, ReplacesFileInUnreadableDirectory) {
    fs::create_directory("/opt/results");
    fs::permissions("/opt/results", fs::perms(0333));
    Sandbox::DropPrivileges();
    Replace("/opt/results/file", "text");
    EXPECT_EQ("text", ReadWholeFile("/opt/results/file"));
}

TEST_F(ResultFileTest, KeepsOldContentIfTheDataCannotBeFlushed) {
    Replace(path, "old");
    ResultFile file(path);
    Pipe const line;
    // fsync(2) fails for a pipe.
    ASSERT_EQ(file.Descriptor(), dup2(line.writer(), file.Descriptor()));
    EXPECT_EQ(Quoted(path) + " could not be flushed to the disk: Invalid argument",
              MessageOf<ResultFileError>([&] { file.Publish(); }));
    EXPECT_EQ("old", ReadWholeFile(path));
}

TEST_F(ResultFileTest, PublishKeepsADirectoryCreatedAtThePath) {
    ResultFile file(path);
    fs::create_directory(path);
    EXPECT_EQ(Quoted(path) + " could not be replaced: Is a directory",
              MessageOf<ResultFileError>([&] { file.Publish(); }));
    EXPECT_TRUE(fs::is_directory(path));
}

TEST_F(ResultFileTest, ModeThatCannotBeSetIsRefusedOnlyIfChosen) {
    OtherProcess other([&] {
        RefuseCall(SYS_fchmod, EPERM);
        long const open = CountOpenDescriptors();
        EXPECT_THROW(ResultFile(path, 0644), ResultFileError);
        EXPECT_EQ(open, CountOpenDescriptors());
        EXPECT_EQ(0u, CountEntries(directory.path()));
        Replace(path, "text");
    });
    EXPECT_EQ(ExitStatus::Exited(0), other.Wait());
    EXPECT_EQ("text", ReadWholeFile(path));
}

} // namespace
