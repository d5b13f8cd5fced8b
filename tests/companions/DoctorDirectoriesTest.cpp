#include "tests/companions/Findings.h"
#include "tests/support/SmallFileSystem.h"

namespace {

constexpr char agentDirectories[] = "/var/opt/VeskaClient";
constexpr char requests[] = "/var/opt/VeskaClient/RequestDir";
constexpr char responses[] = "/var/opt/VeskaClient/ResponseDir";

void SetModes(unsigned int mode) {
    SetMode(requests, mode);
    SetMode(responses, mode);
}

SANDBOX_TEST(DoctorDirectoriesTest, AcceptsUsableDirectories) {
    SetModes(0750);
    ExpectOk(requests, CheckRequestDirectory());
    ExpectOk(responses, CheckResponseDirectory());
    ExpectOk("mode 0750", CheckModesOfRequestDirectory());
    ExpectOk("mode 0750", CheckModesOfResponseDirectory());
    ExpectOk(requests, CheckSpace());
}

void ExpectBoth(std::string const& cause) {
    ExpectProblem(cause, requests, CheckRequestDirectory());
    ExpectProblem(cause, responses, CheckResponseDirectory());
}

SANDBOX_TEST(DoctorDirectoriesTest, ReportsMissingDirectories) {
    fs::remove_all(agentDirectories);
    ExpectBoth("directory-missing");
    for (Finding const& finding :
         {CheckModesOfRequestDirectory(), CheckModesOfResponseDirectory(), CheckSpace()})
        EXPECT_EQ(Verdict::skipped, finding.verdict) << finding.check;
}

SANDBOX_TEST(DoctorDirectoriesTest, ReportsEntriesThatAreNotDirectories) {
    fs::remove(requests);
    WriteWholeFile(requests, "file");
    fs::remove(responses);
    fs::create_symlink("/dev/null", responses);
    ExpectBoth("not-a-directory");
}

SANDBOX_TEST(DoctorDirectoriesTest, ReportsDirectoryInUnsearchableDirectory) {
    SetMode(agentDirectories, 0);
    WithoutRights([] {
        ExpectProblem("directory-unreachable", "Permission denied", CheckRequestDirectory());
        ExpectProblem("directory-unreachable", "Permission denied", CheckResponseDirectory());
    });
}

SANDBOX_TEST(DoctorDirectoriesTest, RemedyForLoopOfLinksIsNotPermission) {
    fs::remove(requests);
    fs::create_symlink("RequestDir", requests);
    ExpectProblem("directory-unreachable", "symbolic links", CheckRequestDirectory());
    EXPECT_EQ("remove the loop of symbolic links", CheckRequestDirectory().remedy);
}

SANDBOX_TEST(DoctorDirectoriesTest, ReportsUnwritableDirectoryWithOwnerAndMode) {
    SetModes(0555);
    WithoutRights([] {
        ExpectProblem("no-write-permission", "owned by user root and group 0, mode 0555",
                      CheckRequestDirectory());
        ExpectOk(responses, CheckResponseDirectory());
    });
    ExpectOk(requests, CheckRequestDirectory());
}

SANDBOX_TEST(DoctorDirectoriesTest, ReportsUnsearchableDirectoryWithOwnerAndMode) {
    SetModes(0666);
    WithoutRights([] {
        ExpectProblem("no-write-permission", "mode 0666", CheckRequestDirectory());
        ExpectProblem("no-read-permission", "owned by user root and group 0, mode 0666",
                      CheckResponseDirectory());
    });
}

SANDBOX_TEST(DoctorDirectoriesTest, ReportsModesThatLetAllUsersWrite) {
    struct {
        unsigned int mode;
        Verdict verdict;
        char const* cause;
        char const* words;
    } const cases[] = {{0777, Verdict::problem, "unsafe-mode", "mode 0777"},
                       {0772, Verdict::problem, "unsafe-mode", "mode 0772"},
                       {01777, Verdict::note, "open-to-others", "mode 1777"},
                       {01775, Verdict::ok, "", "mode 1775"},
                       {0775, Verdict::ok, "", "mode 0775"},
                       {0770, Verdict::ok, "", "mode 0770"}};
    for (auto const& [mode, verdict, cause, words] : cases) {
        SetModes(mode);
        ExpectFinding(verdict, cause, words, CheckModesOfRequestDirectory());
        ExpectFinding(verdict, cause, words, CheckModesOfResponseDirectory());
    }
}

SANDBOX_TEST(DoctorDirectoriesTest, ReportsReadOnlyFileSystem) {
    SmallFileSystem disk(requests);
    WriteWholeFile(disk / "lockfile", "");
    WriteWholeFile(disk / "requestTemp.xml", "");
    disk.MakeReadOnly();
    ExpectProblem("read-only-file-system", requests, CheckRequestDirectory());
    ExpectProblem("read-only-file-system", "/lockfile", CheckLock(AskForLock()));
    ExpectProblem("read-only-file-system", "/requestTemp.xml", CheckTemporaryRequest());
}

SANDBOX_TEST(DoctorDirectoriesTest, ReportsFullDisk) {
    SmallFileSystem disk(requests);
    ExpectOk(requests, CheckSpace());
    disk.FillUp();
    ExpectProblem("disk-full", requests, CheckSpace());
}

SANDBOX_TEST(DoctorDirectoriesTest, ReportsDiskWithoutFreeInodes) {
    SmallFileSystem disk(requests, {.inodes = 2});
    ExpectOk(requests, CheckSpace());
    WriteWholeFile(disk / "last", "");
    ExpectProblem("disk-full", requests, CheckSpace());
}

// As a tmpfs with the option size=0, and a ramfs.
SANDBOX_TEST(DoctorDirectoriesTest, FileSystemWithoutSizeLimitHasSpace) {
    ASSERT_EQ(0, mount("none", requests, "tmpfs", 0, "size=0,nr_inodes=0"));
    ExpectOk(requests, CheckSpace());
}

TEST(DoctorDirectoriesTest, OnlyRootCanUseReservedBlocks) {
    struct statvfs fileSystem {};
    fileSystem.f_blocks = 100;
    fileSystem.f_bfree = 100;
    EXPECT_TRUE(HasRoom(fileSystem, true));
    EXPECT_FALSE(HasRoom(fileSystem, false));
    fileSystem.f_bavail = 1;
    EXPECT_TRUE(HasRoom(fileSystem, false));
    fileSystem.f_files = 1;
    EXPECT_FALSE(HasRoom(fileSystem, true));
    EXPECT_FALSE(HasRoom(fileSystem, false));
}

} // namespace
