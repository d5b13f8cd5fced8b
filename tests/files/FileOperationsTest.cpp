#include "files/FileOperations.h"

#include <sys/sysmacros.h>

#include "files/FileTrees.h"
#include "files/unix/FileOperations.h"
#include "tests/files/FileTest.h"

namespace {

static_assert(sizeof(DirectoryCreatingInfo) == 4 && sizeof(FileCreatingInfo) == 4);
static_assert(std::is_trivially_copyable_v<DirectoryCreatingInfo>);
static_assert(std::is_trivially_copyable_v<FileCreatingInfo>);
static_assert(DirectoryCreatingInfo().permissions == 0777);
static_assert(FileCreatingInfo().permissions == 0666 && FileCreatingInfo::systemDefault == 0666);

class FileOperationsTest : public FileTest {
protected:
    std::string const file = directory / "file";
    FileLocation const none{};
};

void MakeFileAt(FileLocation const& where) { CreateFile(where, {}); }
void MakeDirectoryAt(FileLocation const& where) { CreateDirectory(where, {}); }
void ForceDirectoryAt(FileLocation const& where) { ForceDirectoryExistence(where, {}); }

TEST_F(FileOperationsTest, AllButTwoOperationsRejectAnEmptyLocation) {
    MakeEntry(file, "file");
    for (auto* const operation :
         {MakeFileAt, MakeDirectoryAt, ForceDirectoryAt, CreateDirectoryForUserAppAccess,
          DeleteFile, DeleteDirectory, ForceNonexistence, CreateDirectoryTree, DeleteRecursive,
          DeleteContents, ForceDeleteRecursive, ForceDeleteContents})
        EXPECT_EQ("EmptyFileLocationError", ThrownBy(operation, ""));
    for (auto* const operation :
         {CopyFile, ForceCopyFile, MoveFile, ForceMoveFile, CopyDirectoryContents})
        for (auto const& [source, target] : Pairs{{"", file}, {file, ""}, {from, ""}})
            EXPECT_EQ("EmptyFileLocationError", ThrownBy(operation, source, target));
    ExpectEachThrows("EmptyFileLocationError",
                     {[&] { SetFileReadOnly(none, true); }, [&] { SetFileReadOnly(none, false); },
                      [&] {
                          none.IsReadOnly();
                      }});
    EXPECT_EQ(CalculateFreeSpace(none), -1);
    EXPECT_NO_THROW(ForceRemoveInvalidFiles(none, 1));
    EXPECT_EQ(Everything(), (Tree{{"file", "file content"}}));
}

TEST_F(FileOperationsTest, PlatformErrorsForAnEmptyLocationDiffer) {
    namespace Unix = UnixPlatform;
    MakeEntry(file, "file");
    EXPECT_EQ("FileCreateFailed", Thrown([&] { Unix::CreateFile(none, {}); }));
    EXPECT_EQ("DirectoryCreateFailed", Thrown([&] { Unix::CreateDirectory(none, {}); }));
    EXPECT_EQ("FileNotFoundError", ThrownBy(Unix::DeleteFile, ""));
    EXPECT_EQ("DirectoryNotFoundError", ThrownBy(Unix::DeleteDirectory, ""));
    ExpectEachThrows("EmptyFileLocationError", {[&] { Unix::ForceDirectoryExistence(none, {}); },
                                                [&] { Unix::DeleteRecursive(none); },
                                                [&] {
                                                    Unix::DeleteContents(none);
                                                }});
    ExpectEachThrows("nothing", {[&] { Unix::SetFileReadOnly(none, true); },
                                 [&] { Unix::SetFileReadOnly(none, false); },
                                 [&] { Unix::ForceNonexistence(none); },
                                 [&] {
                                     Unix::ForceRemoveInvalidFiles(none, 1);
                                 }});
    EXPECT_EQ(Unix::CalculateFreeSpace(none), -1);
    for (auto* const copy : {Unix::CopyFile, Unix::ForceCopyFile}) {
        EXPECT_EQ("FileNotFoundError", ThrownBy(copy, "", from));
        EXPECT_EQ("FileNotFoundError ENOENT", ThrownBy(copy, file, ""));
    }
    for (auto* const move : {Unix::MoveFile, Unix::ForceMoveFile}) {
        EXPECT_EQ("FileNotFoundError", ThrownBy(move, "", from));
        EXPECT_EQ("FileNotFoundError", ThrownBy(move, "", ""));
        EXPECT_EQ("FileNotFoundError" + On(from), ThrownBy(move, from, ""));
        EXPECT_EQ("EmptyFileLocationError", ThrownBy(move, file, ""));
    }
    EXPECT_EQ(Everything(), (Tree{{"file", "file content"}}));
}

TEST_F(FileOperationsTest, NewFileIsEmptyAndOnlyItsDefaultModeObeysTheUmask) {
    for (auto [mask, mode] : {std::pair(0u, 0666u), {022u, 0644u}, {077u, 0600u}, {0777u, 0u}}) {
        Umask const umask(mask);
        std::string const name = "file" + std::to_string(mask);
        CreateFile(Here(name), FileCreatingInfo{0666});
        EXPECT_EQ(DescribeEntry(directory / name), "file ");
        EXPECT_EQ(ModeOf(directory / name), mode) << "only the umask changes the mode";
    }
    Umask const umask(0777);
    for (mode_t const mode : {0u, 0400u, 0644u, 0667u, 0777u, 07777u}) {
        std::string const name = "file of mode " + std::to_string(mode);
        CreateFile(Here(name), FileCreatingInfo{mode});
        EXPECT_EQ(ModeOf(directory / name), mode) << "independent of the umask";
    }
    SystemCalls calls;
    calls.Fail("chmod", EPERM);
    EXPECT_EQ("FilePermissionError EPERM" + On(file),
              Thrown([&] { CreateFile(At(file), FileCreatingInfo{0600}); }));
    EXPECT_EQ(DescribeEntry(file), "file ") << "an existing file is kept";
}

TEST_F(FileOperationsTest, NewDirectoryHasPermissionsReducedByTheUmask) {
    for (auto [mask, wanted, mode] :
         {std::tuple(0u, 0777u, 0777u), {022u, 0777u, 0755u}, {077u, 0750u, 0700u}, {0u, 0u, 0u}}) {
        Umask const umask(mask);
        std::string const name = std::to_string(mask) + "-" + std::to_string(wanted);
        CreateDirectory(Here(name), DirectoryCreatingInfo{wanted});
        EXPECT_EQ(ModeOf(directory / name), mode);
        ForceDirectoryExistence(Here(name + "-forced"), DirectoryCreatingInfo{wanted});
        EXPECT_EQ(ModeOf(directory / (name + "-forced")), mode);
    }
    Umask const umask(02);
    CreateDirectoryForUserAppAccess(Here("app"));
    EXPECT_EQ(ModeOf(directory / "app"), 0775u);
    EXPECT_EQ(DescribeEntry(directory / "app"), "directory");
}

TEST_F(FileOperationsTest, CreationOfAnExistingEntryFailsUnlessADirectoryIsForced) {
    ForEach(everyKind, [&](std::string const& kind) {
        ExpectRejected("FileFoundError", kind, MakeFileAt);
        ExpectRejected("DirectoryFoundError", kind, MakeDirectoryAt);
        ExpectRejected("DirectoryFoundError", kind, CreateDirectoryForUserAppAccess);
        if (!fs::is_directory(directory / kind)) {
            ExpectRejected("FileFoundError", kind, ForceDirectoryAt);
            return;
        }
        Tree const before = Everything();
        mode_t const mode = ModeOf(directory / kind);
        EXPECT_NO_THROW(ForceDirectoryExistence(Here(kind), DirectoryCreatingInfo{0}));
        EXPECT_EQ(ModeOf(directory / kind), mode);
        EXPECT_EQ(Everything(), before);
    });
}

TEST_F(FileOperationsTest, FailedCreationReportsTheErrorOfTheSystem) {
    auto const mapper = [&](int error) {
        ThrowFileError(At(from), error);
    };
    ExpectMapped("fopen", mapper, [&] { MakeFileAt(At(from)); });
    ExpectMapped("mkdir", mapper, [&] { MakeDirectoryAt(At(from)); });
    ExpectMapped("mkdir", mapper, [&] { ForceDirectoryAt(At(from)); });
    MakeEntry(file, "file");
    for (auto const& create : {MakeFileAt, MakeDirectoryAt, ForceDirectoryAt}) {
        ExpectRejected("FileNotFoundError ENOENT", "a/b", create);
        ExpectRejected("DirectoryNotFoundError ENOTDIR", "file/b", create);
        ExpectRejected("DirectoryNotFoundError ENAMETOOLONG", std::string(256, 'x'), create);
    }
}

// Another process creates or removes the entry between the check and the operation.
TEST_F(FileOperationsTest, RaceWithAnotherProcessReportsTheErrorOfTheSystem) {
    SystemCalls calls;
    for (auto const& create : {MakeDirectoryAt, ForceDirectoryAt}) {
        calls.Before("mkdir", [&] { fs::create_directory(file); });
        EXPECT_EQ("FileIOError EEXIST" + On(file), ThrownBy(create, file));
        fs::remove(file);
    }
    for (std::string const kind : {"directory", "file"}) {
        MakeEntry(file, kind);
        calls.Before(kind == "file" ? "unlink" : "rmdir", [&] { fs::remove(file); });
        EXPECT_EQ("FileNotFoundError ENOENT" + On(file), ThrownBy(ForceNonexistence, file));
    }
    // Deliberate: a failed rename is ignored in this case too.
    MakeEntry(file, "file");
    calls.Before("rename", [&] { fs::remove(file); });
    EXPECT_NO_THROW(MoveFile(At(file), Here("to")));
    EXPECT_EQ(Everything(), Tree());
}

// Deliberate: ForceNonexistence keeps entries that are neither regular files nor directories.
TEST_F(FileOperationsTest, EachDeletionRemovesOnlyItsKindsOfEntries) {
    std::string const removed = "removed";
    std::string const notEmpty = "FileIOError ENOTEMPTY";
    std::string const noDirectory = "DirectoryNotFoundError";
    std::string const linkIsNone = "DirectoryNotFoundError ENOTDIR"; // An error of the system.
    struct Case {
        std::string kind, deleteFile, deleteDirectory, forceNonexistence;
    };
    for (Case const& entry :
         std::vector<Case>{{"file", removed, noDirectory, removed},
                           {"directory", "FileIOError EISDIR", removed, removed},
                           {"full directory", "FileIOError EISDIR", notEmpty, notEmpty},
                           {"link to file", removed, noDirectory, removed},
                           {"link to directory", removed, linkIsNone, linkIsNone},
                           {"link to socket", removed, noDirectory, "nothing"},
                           {"dangling link", removed, noDirectory, "nothing"},
                           {"FIFO", removed, noDirectory, "nothing"},
                           {"socket", removed, noDirectory, "nothing"}})
        for (auto const& [remove, expected] : {std::pair(&DeleteFile, entry.deleteFile),
                                               {&DeleteDirectory, entry.deleteDirectory},
                                               {&ForceNonexistence, entry.forceNonexistence}}) {
            SCOPED_TRACE(entry.kind);
            std::string const path = directory / entry.kind;
            MakeEntry(path, entry.kind);
            Tree tree = Everything();
            bool const isQuiet = expected == removed || expected == "nothing";
            EXPECT_EQ(isQuiet ? "nothing" : expected + On(path), ThrownBy(remove, path));
            if (expected == removed)
                tree.erase(entry.kind);
            EXPECT_EQ(Everything(), tree) << "the target of a link is kept";
            Clear();
        }
    ExpectRejected(noDirectory, "missing", DeleteDirectory);
    ExpectRejected("FileNotFoundError ENOENT", "missing", DeleteFile);
    EXPECT_NO_THROW(ForceNonexistence(Here("missing")));
}

TEST_F(FileOperationsTest, ForceNonexistenceKeepsADevice) {
    OnDisk({}, [](SmallFileSystem& disk) {
        std::string const device = disk / "device";
        if (mknod(device.c_str(), S_IFCHR | 0666, makedev(1, 3)) != 0)
            GTEST_SKIP() << "a user namespace cannot create devices";
        EXPECT_NO_THROW(ForceNonexistence(At(device)));
        EXPECT_EQ(DescribeEntry(device), "other");
        DeleteFile(At(device));
        EXPECT_EQ(DescribeEntry(device), "nothing");
    });
}

TEST_F(FileOperationsTest, FailedDeletionReportsTheErrorOfTheSystem) {
    MakeEntry(file, "file");
    ExpectRejected("DirectoryNotFoundError ENOTDIR", "file/x", DeleteFile);
    auto const mapper = [&](int error) {
        ThrowFileError(At(file), error);
    };
    ExpectMapped("unlink", mapper, [&] { DeleteFile(At(file)); });
    MakeEntry(from, "directory");
    auto const directoryMapper = [&](int error) {
        ThrowFileError(At(from), error);
    };
    ExpectMapped("rmdir", directoryMapper, [&] { DeleteDirectory(At(from)); });
}

} // namespace
