#include "files/unix/FileOperations.h"

#include <cerrno>
#include <filesystem>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>

#include "files/FileErrors.h"
#include "files/FileLocation.h"
#include "tests/files/Entries.h"
#include "tests/files/ExpectFileError.h"
#include "tests/files/SystemCalls.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;

class UnixFileOperationsTest : public testing::Test {
protected:
    UnixPlatform::FileLocation Here(std::string const& name) const {
        return MakeFileLocation((directory / name).c_str());
    }

    TemporaryDirectory directory;
    std::string const file = directory / "file";
    UnixPlatform::FileLocation const none;
};

TEST_F(UnixFileOperationsTest, AnEmptyLocationIsRefusedInManyWays) {
    ExpectFileError<FileCreateFailed>(0, "", [&] { UnixPlatform::CreateFile(none, {}); });
    ExpectFileError<DirectoryCreateFailed>(0, "", [&] { UnixPlatform::CreateDirectory(none, {}); });
    ExpectFileError<EmptyFileLocationError>(
        0, "", [&] { UnixPlatform::ForceDirectoryExistence(none, {}); });
    ExpectFileError<FileNotFoundError>(0, "", [&] { UnixPlatform::DeleteFile(none); });
    ExpectFileError<DirectoryNotFoundError>(0, "", [&] { UnixPlatform::DeleteDirectory(none); });
    ExpectFileError<EmptyFileLocationError>(0, "", [&] { UnixPlatform::DeleteRecursive(none); });
    ExpectFileError<EmptyFileLocationError>(0, "", [&] { UnixPlatform::DeleteContents(none); });
    ExpectFileError<EmptyFileLocationError>(0, "", [&] { none.IsReadOnly(); });
}

TEST_F(UnixFileOperationsTest, AnEmptyLocationIsNoErrorToSome) {
    SystemCalls calls;
    EXPECT_NO_THROW(UnixPlatform::SetFileReadOnly(none, true));
    EXPECT_NO_THROW(UnixPlatform::SetFileReadOnly(none, false));
    EXPECT_THAT(calls.Log(), ElementsAre());
    EXPECT_NO_THROW(UnixPlatform::ForceNonexistence(none));
    EXPECT_EQ(UnixPlatform::CalculateFreeSpace(none), -1);
    EXPECT_NO_THROW(UnixPlatform::ForceRemoveInvalidFiles(none, 1));
}

TEST_F(UnixFileOperationsTest, AnEmptySideOfACopyOrMoveIsWhereNothingStands) {
    MakeEntry(file, "file");
    for (auto* const copy : {UnixPlatform::CopyFile, UnixPlatform::ForceCopyFile}) {
        ExpectFileError<FileNotFoundError>(0, "", [&] { copy(none, Here("to")); });
        ExpectFileError<FileNotFoundError>(ENOENT, "", [&] { copy(Here("file"), none); });
    }
    for (auto* const move : {UnixPlatform::MoveFile, UnixPlatform::ForceMoveFile}) {
        ExpectFileError<FileNotFoundError>(0, "", [&] { move(none, Here("to")); });
        ExpectFileError<FileNotFoundError>(0, "", [&] { move(none, none); });
        ExpectFileError<FileNotFoundError>(0, On(directory / "x"), [&] { move(Here("x"), none); });
        ExpectFileError<EmptyFileLocationError>(0, "", [&] { move(Here("file"), none); });
    }
    EXPECT_EQ(DescribeTree(directory.path()), (Tree{{"file", "file content"}}));
}

TEST_F(UnixFileOperationsTest, EachOperationLooksAndThenActs) {
    std::string const there = directory / "there";
    SystemCalls calls;
    auto const expectCalls = [&](std::vector<std::string> const& expected) {
        EXPECT_THAT(calls.Log(), testing::ElementsAreArray(expected));
        calls.Clear();
    };
    UnixPlatform::CreateFile(Here("file"), FileCreatingInfo());
    expectCalls({"lstat " + file, "fopen " + file});
    UnixPlatform::CreateFile(Here("there"), FileCreatingInfo{0600});
    expectCalls({"lstat " + there, "fopen " + there, "chmod " + there + " 600"});
    UnixPlatform::DeleteFile(Here("there"));
    expectCalls({"unlink " + there});
    UnixPlatform::CreateDirectory(Here("there"), DirectoryCreatingInfo{0700});
    expectCalls({"lstat " + there, "mkdir " + there + " 700"});
    UnixPlatform::ForceDirectoryExistence(Here("there"), DirectoryCreatingInfo{0700});
    expectCalls({"lstat " + there});
    UnixPlatform::DeleteDirectory(Here("there"));
    expectCalls({"lstat " + there, "rmdir " + there});
    UnixPlatform::ForceDirectoryExistence(Here("there"), DirectoryCreatingInfo{0700});
    expectCalls({"lstat " + there, "mkdir " + there + " 700"});
    UnixPlatform::MoveFile(Here("there"), Here("moved"));
    std::string const moved = directory / "moved";
    expectCalls({"lstat " + there, "lstat " + moved, "rename " + there + " " + moved});
}

TEST_F(UnixFileOperationsTest, TheUmaskIsReadOnlyToMakeAFileWritable) {
    MakeEntry(file, "file");
    fs::permissions(file, fs::perms(0644));
    mode_t const before = umask(022);
    SystemCalls calls;
    UnixPlatform::SetFileReadOnly(Here("file"), true);
    EXPECT_THAT(calls.Log(), ElementsAre("stat " + file, "chmod " + file + " 444"));
    calls.Clear();
    UnixPlatform::SetFileReadOnly(Here("file"), false);
    EXPECT_THAT(calls.Log(),
                ElementsAre("stat " + file, "umask 0", "umask 22", "chmod " + file + " 644"));
    umask(before);
}

TEST_F(UnixFileOperationsTest, ACreatedFileStaysIfItsPermissionsAreRefused) {
    SystemCalls calls;
    calls.Fail("chmod", EPERM);
    ExpectFileError<FilePermissionError>(
        EPERM, On(file), [&] { UnixPlatform::CreateFile(Here("file"), FileCreatingInfo{0600}); });
    EXPECT_EQ(DescribeEntry(file), "file ");
}

// Between the look and the act another process is quicker.
TEST_F(UnixFileOperationsTest, WhatComesIntoBeingMeanwhileIsLeftToTheSystem) {
    SystemCalls calls;
    auto const appear = [&] {
        fs::create_directory(file);
    };
    calls.Before("mkdir", appear);
    ExpectFileError<FileIOError>(EEXIST, On(file),
                                 [&] { UnixPlatform::CreateDirectory(Here("file"), {}); });
    fs::remove(file);
    calls.Before("mkdir", appear);
    ExpectFileError<FileIOError>(EEXIST, On(file),
                                 [&] { UnixPlatform::ForceDirectoryExistence(Here("file"), {}); });
}

TEST_F(UnixFileOperationsTest, WhatVanishesMeanwhileIsLeftToTheSystem) {
    SystemCalls calls;
    fs::create_directory(file);
    calls.Before("rmdir", [&] { fs::remove(file); });
    ExpectFileError<FileNotFoundError>(ENOENT, On(file),
                                       [&] { UnixPlatform::ForceNonexistence(Here("file")); });
    MakeEntry(file, "file");
    calls.Before("unlink", [&] { fs::remove(file); });
    ExpectFileError<FileNotFoundError>(ENOENT, On(file),
                                       [&] { UnixPlatform::ForceNonexistence(Here("file")); });
    // Deliberate: a rename is refused in silence for this reason too.
    MakeEntry(file, "file");
    calls.Before("rename", [&] { fs::remove(file); });
    EXPECT_NO_THROW(UnixPlatform::MoveFile(Here("file"), Here("to")));
    EXPECT_EQ(DescribeTree(directory.path()), Tree());
}

TEST_F(UnixFileOperationsTest, EveryRefusalOfTheSystemGoesToTheTableOfOperations) {
    MakeEntry(file, "file");
    for (int error = 1; error <= 133; ++error) {
        int thrown = 0;
        try {
            SystemCalls calls;
            calls.Fail("unlink", error);
            UnixPlatform::DeleteFile(Here("file"));
        } catch (FileIOError const& caught) {
            thrown = caught.GetCode();
        }
        EXPECT_EQ(thrown, error);
    }
    SystemCalls calls;
    calls.Fail("unlink", ENOMEM);
    ExpectFileError<FileResourceError>(ENOMEM, On(file),
                                       [&] { UnixPlatform::DeleteFile(Here("file")); });
    calls.Fail("unlink", EAGAIN);
    ExpectFileError<FileLockError>(EAGAIN, On(file),
                                   [&] { UnixPlatform::DeleteFile(Here("file")); });
}

} // namespace
