#include "companions/Doctor.h"

#include <filesystem>
#include <fstream>

#include "tests/companions/Findings.h"
#include "tests/support/SmallFileSystem.h"

namespace {

namespace fs = std::filesystem;
using Sandbox::CreateAgentDirectories;

constexpr char agentDirectory[] = "/var/opt/VeskaClient";
constexpr char requests[] = "/var/opt/VeskaClient/RequestDir";
constexpr char responses[] = "/var/opt/VeskaClient/ResponseDir";

void CreateDirectories(unsigned int mode) {
    CreateAgentDirectories();
    fs::permissions(requests, fs::perms(mode));
    fs::permissions(responses, fs::perms(mode));
}

TEST(DoctorDirectoriesTest, AcceptsUsableDirectories) {
    Sandbox::Run([] {
        CreateDirectories(0750);
        ExpectOk(requests, CheckRequestDirectory());
        ExpectOk(responses, CheckResponseDirectory());
        ExpectOk("mode 0750", CheckModesOfRequestDirectory());
        ExpectOk("mode 0750", CheckModesOfResponseDirectory());
        ExpectOk(requests, CheckSpace());
    });
}

TEST(DoctorDirectoriesTest, ReportsMissingDirectories) {
    Sandbox::Run([] {
        ExpectProblem("directory-missing", requests, CheckRequestDirectory());
        ExpectProblem("directory-missing", responses, CheckResponseDirectory());
        EXPECT_EQ(Verdict::skipped, CheckModesOfRequestDirectory().verdict);
        EXPECT_EQ(Verdict::skipped, CheckModesOfResponseDirectory().verdict);
        EXPECT_EQ(Verdict::skipped, CheckSpace().verdict);
    });
}

TEST(DoctorDirectoriesTest, ReportsEntriesThatAreNotDirectories) {
    Sandbox::Run([] {
        fs::create_directories(agentDirectory);
        std::ofstream(std::string(requests)) << "file";
        fs::create_symlink("/dev/null", responses);
        ExpectProblem("not-a-directory", requests, CheckRequestDirectory());
        ExpectProblem("not-a-directory", responses, CheckResponseDirectory());
    });
}

TEST(DoctorDirectoriesTest, ReportsDirectoryInUnsearchableDirectory) {
    Sandbox::Run([] {
        CreateDirectories(0777);
        fs::permissions(agentDirectory, fs::perms::none);
        WithoutRights([] {
            ExpectProblem("directory-unreachable", "Permission denied", CheckRequestDirectory());
            ExpectProblem("directory-unreachable", "Permission denied", CheckResponseDirectory());
        });
    });
}

TEST(DoctorDirectoriesTest, ReportsUnwritableDirectoryWithOwnerAndMode) {
    Sandbox::Run([] {
        CreateDirectories(0555);
        WithoutRights([] {
            ExpectProblem("no-write-permission", "owned by user root and group 0, mode 0555",
                          CheckRequestDirectory());
            ExpectOk(responses, CheckResponseDirectory());
        });
        ExpectOk(requests, CheckRequestDirectory());
    });
}

TEST(DoctorDirectoriesTest, ReportsUnreadableDirectoryWithOwnerAndMode) {
    Sandbox::Run([] {
        CreateDirectories(0666);
        WithoutRights([] {
            ExpectProblem("no-write-permission", "mode 0666", CheckRequestDirectory());
            ExpectProblem("no-read-permission", "owned by user root and group 0, mode 0666",
                          CheckResponseDirectory());
        });
    });
}

TEST(DoctorDirectoriesTest, ReportsWorldWritableDirectories) {
    Sandbox::Run([] {
        CreateDirectories(0777);
        ExpectProblem("unsafe-mode", "mode 0777", CheckModesOfRequestDirectory());
        ExpectProblem("unsafe-mode", "mode 0777", CheckModesOfResponseDirectory());
        CreateDirectories(0772);
        ExpectProblem("unsafe-mode", "mode 0772", CheckModesOfRequestDirectory());
    });
}

TEST(DoctorDirectoriesTest, NotesWorldWritableStickyDirectories) {
    Sandbox::Run([] {
        CreateDirectories(01777);
        ExpectFinding(Verdict::note, "open-to-others", "mode 1777", CheckModesOfRequestDirectory());
        ExpectFinding(Verdict::note, "open-to-others", "mode 1777",
                      CheckModesOfResponseDirectory());
    });
}

TEST(DoctorDirectoriesTest, AcceptsGroupWritableDirectories) {
    Sandbox::Run([] {
        for (unsigned int const mode : {01775u, 0775u, 0770u}) {
            CreateDirectories(mode);
            ExpectOk("mode ", CheckModesOfRequestDirectory());
            ExpectOk("mode ", CheckModesOfResponseDirectory());
        }
    });
}

TEST(DoctorDirectoriesTest, ReportsReadOnlyFileSystem) {
    Sandbox::Run([] {
        CreateAgentDirectories();
        SmallFileSystem disk(requests);
        disk.MakeReadOnly();
        ExpectProblem("read-only-file-system", requests, CheckRequestDirectory());
    });
}

TEST(DoctorDirectoriesTest, ReportsFullDisk) {
    Sandbox::Run([] {
        CreateAgentDirectories();
        SmallFileSystem disk(requests);
        ExpectOk(requests, CheckSpace());
        disk.FillUp();
        ExpectProblem("disk-full", requests, CheckSpace());
    });
}

TEST(DoctorDirectoriesTest, OnlyRootCanUseReservedBlocks) {
    struct statvfs fileSystem {};
    fileSystem.f_bfree = 100;
    EXPECT_TRUE(HasRoom(fileSystem, true));
    EXPECT_FALSE(HasRoom(fileSystem, false));
    fileSystem.f_bavail = 1;
    EXPECT_TRUE(HasRoom(fileSystem, false));
    fileSystem.f_files = 1;
    EXPECT_FALSE(HasRoom(fileSystem, true));
    EXPECT_FALSE(HasRoom(fileSystem, false));
}

TEST(DoctorDirectoriesTest, ReportsDiskWithoutFreeInodes) {
    Sandbox::Run([] {
        CreateAgentDirectories();
        SmallFileSystem disk(requests, {.inodes = 2});
        ExpectOk(requests, CheckSpace());
        std::ofstream(disk / "last") << "";
        ExpectProblem("disk-full", requests, CheckSpace());
    });
}

} // namespace
