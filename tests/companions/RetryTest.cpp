#include "companions/Retry.h"

#include <sys/prctl.h>

#include "companions/StopSignals.h"
#include "tests/companions/Terminal.h"

namespace {

using std::chrono::nanoseconds;
using std::chrono::steady_clock;

constexpr char attemptVariable[] = "COMPLIANCE_QUERY_ATTEMPT";

std::string In(seconds time) {
    return std::to_string(nanoseconds((steady_clock::now() + time).time_since_epoch()).count());
}

std::string Attempt(int number, seconds wait, seconds timeout, pid_t process = getpid()) {
    return std::to_string(process) + ' ' + std::to_string(number) + ' ' + In(wait) + ' ' +
           In(timeout) + " 0 companion tests";
}

std::optional<milliseconds> PauseAfter(std::string const& state, seconds wait) {
    EnvironmentVariable const former(attemptVariable, state.c_str());
    return Retry(wait, {}).Pause();
}

TEST(RetryTest, HasNoBackoffWithoutWait) {
    EXPECT_EQ(std::nullopt, Retry({}, {}).Pause());
    EXPECT_EQ(std::nullopt, Retry({}, seconds(100)).Pause());
    EnvironmentVariable const state(attemptVariable, Attempt(2, seconds(9), seconds(9)).c_str());
    EXPECT_EQ(std::nullopt, Retry({}, {}).Pause());
}

TEST(RetryTest, BackoffGrowsToTenSeconds) {
    EXPECT_EQ(seconds(1), Retry(seconds(100), {}).Pause());
    seconds const pauses[] = {seconds(1), seconds(2), seconds(4), seconds(8), seconds(10)};
    for (int attempt = 1; attempt <= 5; ++attempt)
        EXPECT_EQ(pauses[attempt - 1],
                  PauseAfter(Attempt(attempt, seconds(100), seconds(0)), seconds(1)));
    EXPECT_EQ(seconds(10), PauseAfter(Attempt(1'000'000, seconds(100), seconds(0)), seconds(1)));
}

TEST(RetryTest, BackoffEndsWithTheWait) {
    std::optional<milliseconds> const pause =
        PauseAfter(Attempt(5, seconds(3), seconds(0)), seconds(100));
    ASSERT_TRUE(pause);
    EXPECT_GE(seconds(3), *pause);
    EXPECT_LT(seconds(2), *pause);
    EXPECT_EQ(std::nullopt, PauseAfter(Attempt(2, seconds(0), seconds(100)), seconds(100)));
}

TEST(RetryTest, RestoresNameOfTheProcess) {
    PauseAfter(Attempt(2, seconds(100), seconds(0)), seconds(1));
    char name[17] = {};
    ASSERT_EQ(0, prctl(PR_GET_NAME, name));
    EXPECT_STREQ("companion tests", name);
}

TEST(RetryTest, BackoffEndsWithTheTimeout) {
    EnvironmentVariable const former(attemptVariable, Attempt(5, seconds(100), seconds(2)).c_str());
    std::optional<milliseconds> const pause = Retry(seconds(100), seconds(100)).Pause();
    ASSERT_TRUE(pause);
    EXPECT_GE(seconds(2), *pause);
}

TEST(RetryTest, DeadlineIsMeasuredFromTheFirstAttempt) {
    EXPECT_EQ(std::nullopt, Retry(seconds(1), {}).Deadline());
    EnvironmentVariable const former(attemptVariable, Attempt(2, seconds(100), seconds(5)).c_str());
    Retry const retry(seconds(100), seconds(60));
    ASSERT_TRUE(retry.Deadline());
    EXPECT_GE(steady_clock::now() + seconds(5), *retry.Deadline());
}

TEST(RetryTest, RemovesStateFromTheEnvironment) {
    PauseAfter(Attempt(2, seconds(9), seconds(9)), seconds(9));
    EnvironmentVariable const former(attemptVariable, "other");
    Retry const retry({}, {});
    EXPECT_EQ(nullptr, std::getenv(attemptVariable));
}

TEST(RetryTest, IgnoresStateOfAnotherProcess) {
    EXPECT_EQ(seconds(1), PauseAfter(Attempt(5, seconds(0), seconds(0), getppid()), seconds(100)));
}

TEST(RetryTest, IgnoresInvalidState) {
    std::string const own = std::to_string(getpid());
    for (std::string const& state :
         {std::string(), own, own + " 5", own + " 5 0 0 0", own + " 0 0 0 0 ", own + " -1 0 0 0 ",
          own + " x 0 0 0 ", own + " 99999999999999999999 0 0 0 "})
        EXPECT_EQ(seconds(1), PauseAfter(state, seconds(100))) << state;
}

TEST(RetryTest, DoesNotExecuteAfterStopSignal) {
    OtherProcess other([] {
        CatchStopSignals();
        raise(SIGTERM);
        Retry retry(seconds(1), {});
        char missing[] = "";
        char* arguments[] = {missing, nullptr};
        errno = 0;
        retry.Execute(arguments);
        EXPECT_EQ(0, errno);
        EXPECT_EQ(nullptr, std::getenv(attemptVariable));
    });
    EXPECT_EQ(ExitStatus::Exited(0), other.Wait());
}

TEST(RetryTest, ReturnsIfExecutionFails) {
    Retry retry(seconds(1), {});
    std::string longArgument(1 << 20, 'x');
    char* arguments[] = {longArgument.data(), nullptr};
    retry.Execute(arguments);
    EXPECT_EQ(E2BIG, errno);
    unsetenv(attemptVariable);
}

} // namespace
