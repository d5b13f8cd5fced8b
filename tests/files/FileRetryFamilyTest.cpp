#include <cerrno>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>

#include "files/FileErrors.h"
#include "files/FileItem.h"
#include "files/FileLocation.h"
#include "files/FileOperations.h"
#include "files/FileRetry.h"
#include "files/FileWritingPath.h"
#include "tests/files/Entries.h"
#include "tests/files/ExpectFileError.h"
#include "tests/files/RecordedSleeps.h"
#include "tests/files/RecordingRetryLog.h"
#include "tests/files/SystemCalls.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

class FileRetryFamilyTest : public testing::Test {
protected:
    FileLocation Here(std::string const& name) const {
        return MakeFileLocation((directory / name).c_str());
    }

    FileLocation const somewhere = MakeFileLocation("/some/where");
    RecordingLog log;
    RecordedSleeps sleeps;
    TemporaryDirectory directory;
};

// One row of the family: a call that fails for good, and what the log and the caller get.
struct Row {
    std::string operation;
    bool hasSecond;
    std::function<void(FileLocation const&, FileLocation const&, FileRetryLog const&)> call;
};

std::vector<Row> const family = {
    {"CreateFile", false,
     [](auto& a, auto&, auto& log) {
         CreateFileWithRetry(a, {}, log);
     }},
    {"CreateDirectory", false,
     [](auto& a, auto&, auto& log) {
         CreateDirectoryWithRetry(a, {}, log);
     }},
    {"ForceDirectoryExistenceWithInfo", false,
     [](auto& a, auto&, auto& log) {
         ForceDirectoryExistenceWithInfoWithRetry(a, {}, log);
     }},
    {"ForceDirectoryExistence", false,
     [](auto& a, auto&, auto& log) {
         ForceDirectoryExistenceWithRetry(a, log);
     }},
    {"CopyFile", true,
     [](auto& a, auto& b, auto& log) {
         CopyFileWithRetry(a, b, log);
     }},
    {"ForceCopyFile", true,
     [](auto& a, auto& b, auto& log) {
         ForceCopyFileWithRetry(a, b, log);
     }},
    {"MoveFile", true,
     [](auto& a, auto& b, auto& log) {
         MoveFileWithRetry(a, b, log);
     }},
    {"ForceMoveFile", true,
     [](auto& a, auto& b, auto& log) {
         ForceMoveFileWithRetry(a, b, log);
     }},
    {"DeleteFile", false,
     [](auto& a, auto&, auto& log) {
         DeleteFileWithRetry(a, log);
     }},
    {"DeleteDirectory", false,
     [](auto& a, auto&, auto& log) {
         DeleteDirectoryWithRetry(a, log);
     }},
    {"ForceNonexistence", false,
     [](auto& a, auto&, auto& log) {
         ForceNonexistenceWithRetry(a, log);
     }},
};

// A full directory is refused by every operation as its first location, or a file is.
TEST_F(FileRetryFamilyTest, EachOfTheFamilyTriesEightTimesAndTellsTheLogItsName) {
    FileLocation const first = Here("first");
    FileLocation const second = Here("second");
    for (Row const& row : family) {
        SCOPED_TRACE(row.operation);
        bool const forcesDirectory = row.operation.starts_with("ForceDirectoryExistence");
        MakeEntry(first.Text(), forcesDirectory ? "file" : "full directory");
        MakeEntry(second.Text(), "file");
        Tree const before = DescribeTree(directory.path());
        log.entries.clear();
        sleeps.Clear();
        EXPECT_THROW(row.call(first, second, log), FileIOError);
        EXPECT_THAT(log.entries, ElementsAre("failure " + row.operation + ' ' + first.Text() + ' ' +
                                             (row.hasSecond ? second.Text() : "-") + " 8"));
        EXPECT_EQ(log.lastFirst, &first);
        EXPECT_EQ(log.lastSecond, row.hasSecond ? &second : nullptr);
        EXPECT_THAT(sleeps.Calls(), ElementsAreArray(allPauses));
        EXPECT_EQ(DescribeTree(directory.path()), before);
        std::filesystem::remove_all(first.Text());
        std::filesystem::remove(second.Text());
    }
}

TEST_F(FileRetryFamilyTest, NoneOfTheFamilyTriesAnEmptyLocationTwice) {
    MakeEntry(directory / "file", "file");
    FileLocation const file = Here("file");
    for (Row const& row : family) {
        SCOPED_TRACE(row.operation);
        EXPECT_THROW(row.call(FileLocation(), file, log), EmptyFileLocationError);
        if (row.hasSecond) {
            EXPECT_THROW(row.call(file, FileLocation(), log), EmptyFileLocationError);
        }
    }
    EXPECT_THAT(log.entries, IsEmpty());
    EXPECT_THAT(sleeps.Calls(), IsEmpty());
}

TEST_F(FileRetryFamilyTest, EachOfTheFamilyDoesItsWorkAtOnce) {
    mode_t const before = umask(02);
    CreateFileWithRetry(Here("a"), FileCreatingInfo{0600}, log);
    CreateDirectoryWithRetry(Here("b"), DirectoryCreatingInfo{0700}, log);
    ForceDirectoryExistenceWithInfoWithRetry(Here("c"), DirectoryCreatingInfo{0710}, log);
    ForceDirectoryExistenceWithRetry(Here("d"), log);
    umask(before);
    EXPECT_EQ(DescribeTree(directory.path()),
              (Tree{{"a", "file "}, {"b", "directory"}, {"c", "directory"}, {"d", "directory"}}));
    EXPECT_EQ(ModeOf(directory / "a"), 0600u);
    EXPECT_EQ(ModeOf(directory / "b"), 0700u);
    EXPECT_EQ(ModeOf(directory / "c"), 0710u);
    EXPECT_EQ(ModeOf(directory / "d"), 0775u) << "0777 less the umask";

    WriteWholeFile(directory / "a", "content");
    CopyFileWithRetry(Here("a"), Here("e"), log);
    ForceCopyFileWithRetry(Here("a"), Here("b"), log);
    MoveFileWithRetry(Here("e"), Here("f"), log);
    ForceMoveFileWithRetry(Here("b"), Here("f"), log);
    DeleteFileWithRetry(Here("a"), log);
    DeleteDirectoryWithRetry(Here("c"), log);
    ForceNonexistenceWithRetry(Here("d"), log);
    EXPECT_EQ(DescribeTree(directory.path()), (Tree{{"f", "file content"}}));
    EXPECT_THAT(log.entries, IsEmpty());
    EXPECT_THAT(sleeps.Calls(), IsEmpty());
}

TEST_F(FileRetryFamilyTest, WhatGetsBetterInTheMeantimeSucceeds) {
    MakeEntry(directory / "file", "file");
    SystemCalls calls;
    calls.Fail("unlink", EBUSY);
    calls.Fail("unlink", EBUSY);
    DeleteFileWithRetry(Here("file"), log);
    EXPECT_THAT(log.entries, ElementsAre("success DeleteFile " + directory / "file" + " - 3"));
    EXPECT_THAT(sleeps.Calls(), ElementsAreArray(Pauses(2)));
}

// Deliberate: a refused rename looks like a success.
TEST_F(FileRetryFamilyTest, ARefusedRenameIsNotTriedAgain) {
    MakeEntry(directory / "file", "file");
    SystemCalls calls;
    for (auto* const move : {MoveFileWithRetry, ForceMoveFileWithRetry})
        EXPECT_NO_THROW(move(Here("file"), Here("missing/to"), log));
    EXPECT_EQ(calls.Count("rename"), 2u);
    EXPECT_EQ(DescribeEntry(directory / "file"), "file content");
    EXPECT_THAT(log.entries, IsEmpty());
    EXPECT_THAT(sleeps.Calls(), IsEmpty());
}

TEST_F(FileRetryFamilyTest, AFlushIsTriedEightTimesAndTellsTheLogTheLocationItWasGiven) {
    MakeEntry(directory / "file", "file");
    FileWritingPath const path(Here("file"));
    SystemCalls calls;
    path.FlushOnBrokenFilesystemsWithRetry(somewhere, log);
    EXPECT_THAT(calls.Log(), ElementsAre("fsync"));
    EXPECT_THAT(log.entries, IsEmpty());

    for (int i = 0; i < 8; ++i)
        calls.Fail("fsync", EIO);
    ExpectFileError<FileIOError>(EIO, "",
                                 [&] { path.FlushOnBrokenFilesystemsWithRetry(somewhere, log); });
    EXPECT_EQ(calls.Count("fsync"), 9u);
    EXPECT_THAT(log.entries, ElementsAre("failure FlushOnBrokenFilesystems /some/where - 8"));
    EXPECT_EQ(log.lastFirst, &somewhere);
    EXPECT_THAT(sleeps.Calls(), ElementsAreArray(allPauses));
}

TEST_F(FileRetryFamilyTest, AFlushOfAClosedPathFailsInTheEnd) {
    FileWritingPath const path;
    ExpectFileError<FileIOError>(
        EBADF, "", [&] { path.FlushOnBrokenFilesystemsWithRetry(FileLocation(), log); });
    EXPECT_THAT(log.entries, ElementsAre("failure FlushOnBrokenFilesystems  - 8"));
}

TEST_F(FileRetryFamilyTest, AnItemWithoutInformationIsTriedEightTimes) {
    FileItem item;
    ExpectFileError<InvalidStats>(
        0, "", [&] { item.SetModificationTimeWithRetry(Instant(1'000'000), log); });
    EXPECT_THAT(log.entries, ElementsAre("failure SetModificationTime  - 8"));
    EXPECT_THAT(sleeps.Calls(), ElementsAreArray(allPauses));
}

TEST_F(FileRetryFamilyTest, TheTimeOfAnItemIsSetAndTheLogGetsACopyOfItsLocation) {
    MakeEntry(directory / "file", "file");
    FileItem item(Here("file"));
    SystemCalls calls;
    calls.Fail("utimes", EACCES);
    calls.Fail("utimes", EPERM);
    item.SetModificationTimeWithRetry(Instant(1'000'000'000), log);
    EXPECT_THAT(log.entries,
                ElementsAre("success SetModificationTime " + directory / "file" + " - 3"));
    EXPECT_NE(log.lastFirst, &item.Location());
    EXPECT_THAT(sleeps.Calls(), ElementsAreArray(Pauses(2)));
    EXPECT_EQ(FileItem(Here("file")).ModificationTime(), Instant(1'000'000'000));
}

// Deliberate: nothing ends these two early, not even what ends all others.
TEST_F(FileRetryFamilyTest, NothingEndsTheAttemptsOfTheTwoMembersAtOnce) {
    MakeEntry(directory / "file", "file");
    FileWritingPath const path(Here("file"));
    FileItem item(Here("file"));
    log.onSuccess = [this] {
        if (log.entries.size() % 2 == 1)
            throw EmptyFileLocationError(0);
    };
    SystemCalls calls;
    calls.Fail("fsync", EIO);
    path.FlushOnBrokenFilesystemsWithRetry(somewhere, log);
    calls.Fail("utimes", EIO);
    item.SetModificationTimeWithRetry(Instant(0), log);
    EXPECT_THAT(log.entries, ElementsAre("success FlushOnBrokenFilesystems /some/where - 2",
                                         "success FlushOnBrokenFilesystems /some/where - 3",
                                         "success SetModificationTime " + directory / "file - 2",
                                         "success SetModificationTime " + directory / "file - 3"));
}

} // namespace
