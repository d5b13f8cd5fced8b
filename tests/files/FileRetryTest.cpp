#include "files/FileRetry.h"

#include <functional>
#include <new>
#include <string>
#include <type_traits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "files/FileErrors.h"
#include "files/FileLocation.h"
#include "files/FileName.h"
#include "tests/files/ExpectFileError.h"
#include "tests/files/RecordedSleeps.h"
#include "tests/files/RecordingRetryLog.h"
#include "tests/support/VirtualSlot.h"

namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

// The operation under retries: does for each attempt, counted from 1, what the test wants.
std::function<void(int)> attempt;
int attempts = 0;
FileLocation const* givenFirst = nullptr;
void const* givenSecond = nullptr;

void Scripted(FileLocation const& location) {
    givenFirst = &location;
    attempt(++attempts);
}

void ScriptedWithInfo(FileLocation const& location, DirectoryCreatingInfo const& info) {
    givenSecond = &info;
    Scripted(location);
}

void ScriptedWithTwo(FileLocation const& from, FileLocation const& to) {
    givenSecond = &to;
    Scripted(from);
}

class FileRetryTest : public testing::Test {
protected:
    FileRetryTest() { attempts = 0; }

    void Run(std::function<void(int)> const& script) {
        attempt = script;
        RunWithRetry(Scripted, "Scripted", somewhere, log);
    }

    FileLocation const somewhere = MakeFileLocation("/some/where");
    RecordingLog log;
    RecordedSleeps sleeps;
};

TEST_F(FileRetryTest, ALogHasNeitherDataNorAVirtualDestructor) {
    EXPECT_EQ(sizeof(FileRetryLog), sizeof(void*));
    EXPECT_TRUE(std::is_polymorphic_v<FileRetryLog>);
    EXPECT_FALSE(std::has_virtual_destructor_v<FileRetryLog>);
    FileRetryLog const none;
    none.LogRetrySuccess("Operation", nullptr, nullptr, 2);
    none.LogRetryFailure("Operation", nullptr, nullptr, 8);
}

TEST_F(FileRetryTest, ALogTellsOfSuccessInItsFirstSlotAndOfFailureInItsSecond) {
    EXPECT_EQ(SlotOf(&FileRetryLog::LogRetrySuccess), 0u);
    EXPECT_EQ(SlotOf(&FileRetryLog::LogRetryFailure), 1u);
}

TEST_F(FileRetryTest, SuccessAtOnceIsNeitherLoggedNorDelayed) {
    Run([](int) {});
    EXPECT_EQ(attempts, 1);
    EXPECT_THAT(log.entries, IsEmpty());
    EXPECT_THAT(sleeps.Calls(), IsEmpty());
}

TEST_F(FileRetryTest, SuccessAfterFailuresIsLoggedOnceWithTheAttempt) {
    for (int failures = 1; failures <= 7; ++failures) {
        SCOPED_TRACE(failures);
        attempts = 0;
        log.entries.clear();
        sleeps.Clear();
        Run([&](int number) {
            if (number <= failures)
                throw FileIOError(number);
        });
        EXPECT_EQ(attempts, failures + 1);
        EXPECT_THAT(log.entries,
                    ElementsAre("success Scripted /some/where - " + std::to_string(failures + 1)));
        EXPECT_THAT(sleeps.Calls(), ElementsAreArray(Pauses(failures)));
    }
}

TEST_F(FileRetryTest, EightFailuresAreLoggedAndTheLastIsThrown) {
    ExpectFileError<FileIOError>(8, "",
                                 [&] { Run([](int number) { throw FileIOError(number); }); });
    EXPECT_EQ(attempts, 8);
    EXPECT_THAT(log.entries, ElementsAre("failure Scripted /some/where - 8"));
    EXPECT_THAT(sleeps.Calls(), ElementsAreArray(allPauses));
    EXPECT_EQ(sleeps.TotalMicroseconds(), 2'032'000u);
}

template <class Thrown>
void ExpectEightAttempts(FileRetryLog const& log, Thrown const& thrown) {
    attempts = 0;
    attempt = [&](int) {
        throw thrown;
    };
    EXPECT_THROW(RunWithRetry(Scripted, "Scripted", FileLocation(), log), Thrown);
    EXPECT_EQ(attempts, 8);
}

TEST_F(FileRetryTest, AnyExceptionIsAReasonToTryAgain) {
    ExpectEightAttempts(log, FileNotFoundError(2));
    ExpectEightAttempts(log, FilePermissionError(13));
    ExpectEightAttempts(log, IllegalFileName());
    ExpectEightAttempts(log, std::bad_alloc());
    ExpectEightAttempts(log, std::string("no exception class at all"));
    ExpectEightAttempts(log, 5);
    EXPECT_EQ(log.entries.size(), 6u);
}

TEST_F(FileRetryTest, TheExceptionIsTheSameObject) {
    void const* thrown = nullptr;
    try {
        Run([&](int) {
            try {
                throw FileNotFoundError(2);
            } catch (FileNotFoundError const& error) {
                thrown = &error;
                throw;
            }
        });
        ADD_FAILURE() << "nothing was thrown";
    } catch (FileNotFoundError const& error) {
        EXPECT_EQ(&error, thrown);
    }
}

TEST_F(FileRetryTest, AnEmptyLocationEndsTheAttemptsAtOnce) {
    for (int const last : {1, 3, 8}) {
        attempts = 0;
        sleeps.Clear();
        ExpectFileError<EmptyFileLocationError>(0, "", [&] {
            Run([&](int number) {
                if (number == last)
                    throw EmptyFileLocationError(0);
                throw FileIOError(number);
            });
        });
        EXPECT_EQ(attempts, last);
        EXPECT_THAT(sleeps.Calls(), ElementsAreArray(Pauses(last - 1)));
    }
    EXPECT_THAT(log.entries, IsEmpty());
}

// Deliberate: the operation runs again though it has succeeded.
TEST_F(FileRetryTest, ALogOfSuccessThatThrowsIsAFailedAttempt) {
    log.onSuccess = [this] {
        if (log.entries.size() < 3)
            throw FileIOError(99);
    };
    Run([](int number) {
        if (number == 1)
            throw FileIOError(1);
    });
    EXPECT_EQ(attempts, 4);
    EXPECT_THAT(log.entries,
                ElementsAre("success Scripted /some/where - 2", "success Scripted /some/where - 3",
                            "success Scripted /some/where - 4"));
    EXPECT_THAT(sleeps.Calls(), ElementsAreArray(Pauses(3)));
}

TEST_F(FileRetryTest, ALogOfSuccessThatAlwaysThrowsFailsInTheEnd) {
    log.onSuccess = [] {
        throw FileIOError(99);
    };
    ExpectFileError<FileIOError>(99, "", [&] {
        Run([](int number) {
            if (number == 1)
                throw FileIOError(1);
        });
    });
    EXPECT_EQ(attempts, 8);
    EXPECT_EQ(log.entries.size(), 8u);
    EXPECT_EQ(log.entries.back(), "failure Scripted /some/where - 8");
    EXPECT_THAT(sleeps.Calls(), ElementsAreArray(allPauses));
}

TEST_F(FileRetryTest, AnEmptyLocationInTheLogOfSuccessEndsTheAttemptsToo) {
    log.onSuccess = [] {
        throw EmptyFileLocationError(0);
    };
    EXPECT_THROW(Run([](int number) {
                     if (number == 1)
                         throw FileIOError(1);
                 }),
                 EmptyFileLocationError);
    EXPECT_EQ(attempts, 2);
    EXPECT_THAT(log.entries, ElementsAre("success Scripted /some/where - 2"));
}

TEST_F(FileRetryTest, WhatTheLogOfFailureThrowsReachesTheCallerInstead) {
    log.onFailure = [] {
        throw std::string("the log's own");
    };
    EXPECT_THROW(Run([](int) { throw FileIOError(1); }), std::string);
    EXPECT_EQ(attempts, 8);
    log.onFailure = [] {
        throw EmptyFileLocationError(0);
    };
    EXPECT_THROW(Run([](int) { throw FileIOError(1); }), EmptyFileLocationError);
}

TEST_F(FileRetryTest, AnExceptionThatTheLogOfFailureKeepsToItselfChangesNothing) {
    log.onFailure = [] {
        try {
            throw FileIOError(99);
        } catch (FileIOError const&) {
        }
    };
    ExpectFileError<FileIOError>(8, "",
                                 [&] { Run([](int number) { throw FileIOError(number); }); });
}

TEST_F(FileRetryTest, EachShapeHandsItsArgumentsToTheOperationAndTheLog) {
    attempt = [](int) {
        throw FileIOError(1);
    };
    EXPECT_THROW(RunWithRetry(Scripted, "One", somewhere, log), FileIOError);
    EXPECT_EQ(givenFirst, &somewhere);
    EXPECT_EQ(log.lastFirst, &somewhere);
    EXPECT_EQ(log.lastSecond, nullptr);

    DirectoryCreatingInfo const info;
    EXPECT_THROW(RunWithRetry(ScriptedWithInfo, "Info", somewhere, info, log), FileIOError);
    EXPECT_EQ(givenFirst, &somewhere);
    EXPECT_EQ(givenSecond, &info);
    EXPECT_EQ(log.lastFirst, &somewhere);
    EXPECT_EQ(log.lastSecond, nullptr);

    FileLocation const other = MakeFileLocation("/else/where");
    EXPECT_THROW(RunWithRetry(ScriptedWithTwo, "Two", somewhere, other, log), FileIOError);
    EXPECT_EQ(givenFirst, &somewhere);
    EXPECT_EQ(givenSecond, &other);
    EXPECT_EQ(log.lastFirst, &somewhere);
    EXPECT_EQ(log.lastSecond, &other);
    EXPECT_THAT(log.entries,
                ElementsAre("failure One /some/where - 8", "failure Info /some/where - 8",
                            "failure Two /some/where /else/where 8"));
}

} // namespace
