#include "files/FileRetry.h"

#include <new>

#include "files/FileItem.h"
#include "files/FileName.h"
#include "files/FileOperations.h"
#include "files/FileWritingPath.h"
#include "tests/files/FileTest.h"
#include "tests/files/RecordedSleeps.h"

namespace {

// 16, 32, 64, 128, 256, 512 and 1,024 milliseconds.
Strings const allPauses = {"usleep 16000",  "usleep 32000",  "usleep 64000", "usleep 128000",
                           "usleep 256000", "usleep 512000", "sleep 1",      "usleep 24000"};

Strings Pauses(int count) {
    return Strings(allPauses.begin(), allPauses.begin() + (count < 7 ? count : 8));
}

// Records each call, and then calls the function of the test.
class RecordingLog : public FileRetryLog {
public:
    void LogRetrySuccess(char const* operation, FileLocation const* first,
                         FileLocation const* second, unsigned int attempts) const override {
        Add("success", operation, first, second, attempts);
        if (onSuccess)
            onSuccess();
    }

    void LogRetryFailure(char const* operation, FileLocation const* first,
                         FileLocation const* second, unsigned int attempts) const override {
        Add("failure", operation, first, second, attempts);
        if (onFailure)
            onFailure();
    }

    mutable Strings entries;
    mutable FileLocation const* lastFirst = nullptr;
    mutable FileLocation const* lastSecond = nullptr;
    std::function<void()> onSuccess;
    std::function<void()> onFailure;

private:
    void Add(std::string const& outcome, char const* operation, FileLocation const* first,
             FileLocation const* second, unsigned int attempts) const {
        entries.push_back(outcome + ' ' + operation + ' ' + first->Text() + ' ' +
                          (second == nullptr ? "-" : second->Text()) + ' ' +
                          std::to_string(attempts));
        lastFirst = first;
        lastSecond = second;
    }
};

// An operation to retry: calls the function of the test with the number of the attempt.
std::function<void(int)> attempt;
int attempts = 0;

void Scripted(FileLocation const&) { attempt(++attempts); }

std::function<void(int)> FailingFor(int count) {
    return [count](int number) {
        if (number <= count)
            throw FileIOError(number);
    };
}

class FileRetryTest : public FileTest {
protected:
    // The exception that the caller receives.
    std::string Run(std::function<void(int)> const& script) {
        attempts = 0;
        log.entries.clear();
        sleeps.Clear();
        attempt = script;
        return Thrown([&] { RunWithRetry(Scripted, "Scripted", somewhere, log); });
    }

    FileLocation const somewhere = At("/some/where");
    std::string const success = "success Scripted /some/where - ";
    RecordingLog log;
    RecordedSleeps sleeps;
};

TEST_F(FileRetryTest, LogHasTwoSlotsAndNoVirtualDestructor) {
    EXPECT_EQ(sizeof(FileRetryLog), sizeof(void*));
    EXPECT_FALSE(std::has_virtual_destructor_v<FileRetryLog>);
    FileRetryLog const none;
    none.LogRetrySuccess("Operation", nullptr, nullptr, 2);
    none.LogRetryFailure("Operation", nullptr, nullptr, 8);
    EXPECT_EQ(SlotOf(&FileRetryLog::LogRetrySuccess), 0u);
    EXPECT_EQ(SlotOf(&FileRetryLog::LogRetryFailure), 1u);
}

TEST_F(FileRetryTest, RetriesSevenTimesAndDoublesTheBackoff) {
    for (int failures = 0; failures <= 8; ++failures) {
        SCOPED_TRACE(failures);
        EXPECT_EQ(failures < 8 ? "nothing" : "FileIOError ENOEXEC", Run(FailingFor(failures)));
        EXPECT_EQ(attempts, std::min(failures + 1, 8));
        Strings expected = {success + std::to_string(failures + 1)};
        if (failures % 8 == 0)
            expected = failures == 0 ? Strings() : Strings{"failure Scripted /some/where - 8"};
        EXPECT_EQ(log.entries, expected);
        EXPECT_EQ(sleeps.Calls(), Pauses(failures));
    }
    EXPECT_EQ(sleeps.TotalMicroseconds(), 2'032'000u);
}

TEST_F(FileRetryTest, RetriesAfterFileErrorsAndOtherExceptions) {
    auto const expect = [this](std::string const& thrown, std::function<void()> const& fail) {
        EXPECT_EQ(thrown, Run([&](int) { fail(); }));
        EXPECT_EQ(attempts, 8);
    };
    expect("FileNotFoundError ENOENT", [] { throw FileNotFoundError(2); });
    expect("FilePermissionError EACCES", [] { throw FilePermissionError(13); });
    expect("IllegalFileName", [] { throw IllegalFileName(); });
    expect("std::bad_alloc", [] { throw std::bad_alloc(); });
    expect("int", [] { throw 5; });
    void const* last = nullptr;
    attempt = [&](int) {
        try {
            throw FileNotFoundError(2);
        } catch (FileNotFoundError const& error) {
            last = &error;
            throw;
        }
    };
    try {
        RunWithRetry(Scripted, "Scripted", somewhere, log);
        ADD_FAILURE() << "no exception";
    } catch (FileNotFoundError const& error) {
        EXPECT_EQ(&error, last) << "the same object";
    }
}

TEST_F(FileRetryTest, EmptyLocationEndsTheRetriesAtOnce) {
    for (int const last : {1, 3, 8}) {
        EXPECT_EQ("EmptyFileLocationError", Run([&](int number) {
                      if (number == last)
                          throw EmptyFileLocationError(0);
                      throw FileIOError(number);
                  }));
        EXPECT_EQ(attempts, last);
        EXPECT_EQ(sleeps.Calls(), Pauses(last - 1));
        EXPECT_THAT(log.entries, IsEmpty());
    }
    log.onSuccess = [] {
        throw EmptyFileLocationError(0);
    };
    EXPECT_EQ("EmptyFileLocationError", Run(FailingFor(1)));
    EXPECT_EQ(attempts, 2);
    EXPECT_THAT(log.entries, ElementsAre(success + "2"));
}

// Deliberate: the operation runs again although it succeeded.
TEST_F(FileRetryTest, ExceptionOfTheSuccessLogIsAFailedAttempt) {
    log.onSuccess = [this] {
        if (log.entries.size() < 3)
            throw FileIOError(ETIME);
    };
    EXPECT_EQ("nothing", Run(FailingFor(1)));
    EXPECT_EQ(attempts, 4);
    EXPECT_THAT(log.entries, ElementsAre(success + "2", success + "3", success + "4"));
    EXPECT_EQ(sleeps.Calls(), Pauses(3));
    log.onSuccess = [] {
        throw FileIOError(ETIME);
    };
    EXPECT_EQ("FileIOError ETIME", Run(FailingFor(1)));
    EXPECT_EQ(attempts, 8);
    EXPECT_EQ(log.entries.size(), 8u);
    EXPECT_EQ(log.entries.back(), "failure Scripted /some/where - 8");
    EXPECT_EQ(sleeps.Calls(), allPauses);
}

TEST_F(FileRetryTest, ExceptionOfTheFailureLogReachesTheCaller) {
    log.onFailure = [] {
        throw EmptyFileLocationError(0);
    };
    EXPECT_EQ("EmptyFileLocationError", Run(FailingFor(8)));
    EXPECT_EQ(attempts, 8);
    log.onFailure = [] {
        EXPECT_EQ("int", Thrown([] { throw 42; }));
    };
    EXPECT_EQ("FileIOError ENOEXEC", Run(FailingFor(8))) << "the log has caught its own exception";
}

// The operations with retries.

class FileRetryFamilyTest : public FileRetryTest {
protected:
    void ExpectNoRetry() {
        EXPECT_THAT(log.entries, IsEmpty());
        EXPECT_THAT(sleeps.Calls(), IsEmpty());
    }
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

TEST_F(FileRetryFamilyTest, NoFreeFunctionRetriesAnEmptyLocation) {
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

// Deliberate: a failed rename is reported as a success.
TEST_F(FileRetryFamilyTest, FailedRenameIsNotRetried) {
    MakeEntry(directory / "file", "file");
    SystemCalls calls;
    for (auto* const move : {MoveFileWithRetry, ForceMoveFileWithRetry})
        EXPECT_NO_THROW(move(Here("file"), Here("missing/to"), log));
    EXPECT_EQ(calls.Count("rename"), 2u);
    EXPECT_EQ(Everything(), (Tree{{"file", "file content"}}));
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
