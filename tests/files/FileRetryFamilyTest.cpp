#include "files/FileItem.h"
#include "files/FileOperations.h"
#include "files/FileWritingPath.h"
#include "tests/files/FileTest.h"
#include "tests/files/RecordedSleeps.h"
#include "tests/files/RecordingRetryLog.h"

namespace {

class FileRetryFamilyTest : public FileTest {
protected:
    void ExpectNoRetry() {
        EXPECT_THAT(log.entries, IsEmpty());
        EXPECT_THAT(sleeps.Calls(), IsEmpty());
    }

    FileLocation const somewhere = At("/some/where");
    RecordingLog log;
    RecordedSleeps sleeps;
};

struct RetriedOperation {
    std::string name;
    std::function<void(FileLocation const&, FileLocation const&, FileRetryLog const&)> run;

    bool HasSecond() const { return name.ends_with("CopyFile") || name.ends_with("MoveFile"); }
};

template <class Run>
RetriedOperation Named(std::string const& name, Run run) {
    return {name, run};
}

std::vector<RetriedOperation> const family = {
    Named("CreateFile", [](auto& a, auto&, auto& log) { CreateFileWithRetry(a, {}, log); }),
    Named("CreateDirectory",
          [](auto& a, auto&, auto& log) { CreateDirectoryWithRetry(a, {}, log); }),
    Named("ForceDirectoryExistenceWithInfo",
          [](auto& a, auto&, auto& log) { ForceDirectoryExistenceWithInfoWithRetry(a, {}, log); }),
    Named("ForceDirectoryExistence",
          [](auto& a, auto&, auto& log) { ForceDirectoryExistenceWithRetry(a, log); }),
    Named("CopyFile", CopyFileWithRetry),
    Named("ForceCopyFile", ForceCopyFileWithRetry),
    Named("MoveFile", MoveFileWithRetry),
    Named("ForceMoveFile", ForceMoveFileWithRetry),
    Named("DeleteFile", [](auto& a, auto&, auto& log) { DeleteFileWithRetry(a, log); }),
    Named("DeleteDirectory", [](auto& a, auto&, auto& log) { DeleteDirectoryWithRetry(a, log); }),
    Named("ForceNonexistence",
          [](auto& a, auto&, auto& log) { ForceNonexistenceWithRetry(a, log); }),
};

// Each operation fails for a full directory as its first location, or for a file.
TEST_F(FileRetryFamilyTest, EachOperationIsTriedEightTimesAndLoggedByItsName) {
    FileLocation const first = Here("first");
    FileLocation const second = Here("second");
    for (RetriedOperation const& operation : family) {
        SCOPED_TRACE(operation.name);
        bool const forcesDirectory = operation.name.starts_with("ForceDirectoryExistence");
        MakeEntry(first.Text(), forcesDirectory ? "file" : "full directory");
        MakeEntry(second.Text(), "file");
        Tree const before = Everything();
        EXPECT_THROW(operation.run(first, second, log), FileIOError);
        EXPECT_THAT(log.entries,
                    ElementsAre("failure " + operation.name + ' ' + first.Text() + ' ' +
                                (operation.HasSecond() ? second.Text() : "-") + " 8"));
        EXPECT_EQ(log.lastFirst, &first);
        EXPECT_EQ(log.lastSecond, operation.HasSecond() ? &second : nullptr);
        EXPECT_EQ(sleeps.Calls(), allPauses);
        EXPECT_EQ(Everything(), before);
        Clear();
        log.entries.clear();
        sleeps.Clear();
    }
}

TEST_F(FileRetryFamilyTest, NoOperationRetriesAnEmptyLocation) {
    MakeEntry(directory / "file", "file");
    for (RetriedOperation const& operation : family) {
        EXPECT_THROW(operation.run(FileLocation(), Here("file"), log), EmptyFileLocationError);
        if (operation.HasSecond()) {
            EXPECT_THROW(operation.run(Here("file"), FileLocation(), log), EmptyFileLocationError);
        }
    }
    ExpectNoRetry();
}

TEST_F(FileRetryFamilyTest, EachOperationSucceedsAtTheFirstAttempt) {
    Umask const umask(02);
    CreateFileWithRetry(Here("a"), FileCreatingInfo{0600}, log);
    CreateDirectoryWithRetry(Here("b"), DirectoryCreatingInfo{0700}, log);
    ForceDirectoryExistenceWithInfoWithRetry(Here("c"), DirectoryCreatingInfo{0710}, log);
    ForceDirectoryExistenceWithRetry(Here("d"), log);
    EXPECT_EQ(Everything(),
              (Tree{{"a", "file "}, {"b", "directory"}, {"c", "directory"}, {"d", "directory"}}));
    EXPECT_EQ(ModeOf(directory / "a"), 0600u);
    EXPECT_EQ(ModeOf(directory / "b"), 0700u);
    EXPECT_EQ(ModeOf(directory / "c"), 0710u);
    EXPECT_EQ(ModeOf(directory / "d"), 0775u) << "0777 reduced by the umask";
    WriteWholeFile(directory / "a", "content");
    CopyFileWithRetry(Here("a"), Here("e"), log);
    ForceCopyFileWithRetry(Here("a"), Here("b"), log);
    MoveFileWithRetry(Here("e"), Here("f"), log);
    ForceMoveFileWithRetry(Here("b"), Here("f"), log);
    DeleteFileWithRetry(Here("a"), log);
    DeleteDirectoryWithRetry(Here("c"), log);
    ForceNonexistenceWithRetry(Here("d"), log);
    EXPECT_EQ(Everything(), (Tree{{"f", "file content"}}));
    ExpectNoRetry();
}

TEST_F(FileRetryFamilyTest, FlushIsTriedEightTimesAndLoggedWithTheLocation) {
    MakeEntry(directory / "file", "file");
    FileWritingPath const path(Here("file"));
    SystemCalls calls;
    path.FlushOnBrokenFilesystemsWithRetry(somewhere, log);
    EXPECT_THAT(calls.Log(), ElementsAre("fsync"));
    ExpectNoRetry();
    calls.FailFromThenOn("fsync", EIO);
    EXPECT_EQ("FileIOError EIO",
              Thrown([&] { path.FlushOnBrokenFilesystemsWithRetry(somewhere, log); }));
    EXPECT_EQ(calls.Count("fsync"), 9u);
    EXPECT_THAT(log.entries, ElementsAre("failure FlushOnBrokenFilesystems /some/where - 8"));
    EXPECT_EQ(log.lastFirst, &somewhere);
    EXPECT_EQ(sleeps.Calls(), allPauses);
    SystemCalls::Pause const pause;
    EXPECT_EQ("FileIOError EBADF", Thrown([&] {
                  FileWritingPath().FlushOnBrokenFilesystemsWithRetry(FileLocation(), log);
              }));
    EXPECT_EQ(log.entries.back(), "failure FlushOnBrokenFilesystems  - 8");
}

TEST_F(FileRetryFamilyTest, TimeOfAnItemIsLoggedWithACopyOfItsLocation) {
    FileItem nothing;
    EXPECT_EQ("InvalidStats",
              Thrown([&] { nothing.SetModificationTimeWithRetry(Instant(1'000'000), log); }));
    EXPECT_THAT(log.entries, ElementsAre("failure SetModificationTime  - 8"));
    EXPECT_EQ(sleeps.Calls(), allPauses);
    sleeps.Clear();
    MakeEntry(directory / "file", "file");
    FileItem item(Here("file"));
    SystemCalls calls;
    calls.Fail("utimes", EACCES);
    calls.Fail("utimes", EPERM);
    item.SetModificationTimeWithRetry(Instant(1'000'000'000), log);
    EXPECT_EQ(log.entries.back(), "success SetModificationTime " + directory / "file" + " - 3");
    EXPECT_NE(log.lastFirst, &item.Location());
    EXPECT_EQ(sleeps.Calls(), Pauses(2));
    EXPECT_EQ(FileItem(Here("file")).ModificationTime(), Instant(1'000'000'000));
}

// Deliberate: an exception that ends the retries of all other operations does not end these.
TEST_F(FileRetryFamilyTest, EmptyLocationErrorDoesNotEndTheRetriesOfTwoMembers) {
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
