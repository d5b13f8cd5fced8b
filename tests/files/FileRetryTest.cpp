#include "files/FileRetry.h"

#include <new>

#include "files/FileName.h"
#include "tests/files/FileTest.h"
#include "tests/files/RecordedSleeps.h"
#include "tests/files/RecordingRetryLog.h"

namespace {

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

TEST_F(FileRetryTest, LogHasTwoSlotsAndNoDestructor) {
    EXPECT_EQ(sizeof(FileRetryLog), sizeof(void*));
    EXPECT_FALSE(std::has_virtual_destructor_v<FileRetryLog>);
    FileRetryLog const none;
    none.LogRetrySuccess("Operation", nullptr, nullptr, 2);
    none.LogRetryFailure("Operation", nullptr, nullptr, 8);
    EXPECT_EQ(SlotOf(&FileRetryLog::LogRetrySuccess), 0u);
    EXPECT_EQ(SlotOf(&FileRetryLog::LogRetryFailure), 1u);
}

TEST_F(FileRetryTest, TriesEightTimesAndDoublesThePause) {
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

TEST_F(FileRetryTest, RetriesAfterAnyException) {
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

} // namespace
