#include "companions/StopSignals.h"

#include <cerrno>
#include <csignal>
#include <ctime>

#include <poll.h>
#include <signal.h>

namespace {

constexpr int stopSignals[] = {SIGINT, SIGTERM, SIGHUP};

constexpr long long nanosecondsPerSecond = 1'000'000'000;

volatile std::sig_atomic_t firstSignal = 0;
// The monotonic time of the first signal. Only the handler uses it.
timespec firstTime{};

timespec Now() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now;
}

// True for a repetition of the first signal, by a shell whose terminal hangs up, or by timeout(1).
bool IsRepetition(timespec const& now) {
    long long const passed =
        (now.tv_sec - firstTime.tv_sec) * nanosecondsPerSecond + now.tv_nsec - firstTime.tv_nsec;
    return passed < nanosecondsPerSecond;
}

// A signal raised within its own handler is delivered when the handler returns; its action is the
// default by then.
void NoteSignal(int signal) {
    timespec const now = Now();
    if (firstSignal == 0) {
        firstTime = now;
        firstSignal = signal;
        return;
    }
    if (IsRepetition(now)) // GCOVR_EXCL_BR_LINE: otherwise, it ends the process
        return;
    static_cast<void>(std::signal(signal, SIG_DFL)); // GCOVR_EXCL_LINE: it ends the process
    static_cast<void>(raise(signal));                // GCOVR_EXCL_LINE: it ends the process
}

void Catch(int signal) {
    struct sigaction before {};
    sigaction(signal, nullptr, &before);
    if (before.sa_handler == SIG_IGN)
        return;
    struct sigaction action {};
    action.sa_handler = NoteSignal;
    // No stop signal interrupts the handler.
    for (int const other : stopSignals)
        sigaddset(&action.sa_mask, other);
    sigaction(signal, &action, nullptr);
}

sigset_t BlockStopSignals() {
    sigset_t signals;
    sigset_t former;
    sigemptyset(&signals);
    for (int const signal : stopSignals)
        sigaddset(&signals, signal);
    sigprocmask(SIG_BLOCK, &signals, &former);
    return former;
}

// Blocks the stop signals. The destructor restores the signal mask.
class BlockedStopSignals {
public:
    BlockedStopSignals() = default;
    ~BlockedStopSignals() { sigprocmask(SIG_SETMASK, &former, nullptr); }
    BlockedStopSignals(BlockedStopSignals const&) = delete;
    BlockedStopSignals& operator=(BlockedStopSignals const&) = delete;

    sigset_t const& FormerMask() const { return former; }

private:
    sigset_t const former = BlockStopSignals();
};

// Like ppoll(2), but returns immediately after a stop signal. Signals are blocked from the check of
// the flag until ppoll(2) unblocks them atomically, so none is lost.
int Wait(pollfd* waiting, nfds_t count, timespec const* limit) {
    constexpr timespec none{};
    BlockedStopSignals const blocked;
    return ppoll(waiting, count, firstSignal == 0 ? limit : &none, &blocked.FormerMask());
}

} // namespace

void CatchStopSignals() {
    for (int const signal : stopSignals)
        Catch(signal);
    static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
}

int StopSignal() { return firstSignal; }

char const* NameOfStopSignal(int signal) {
    switch (signal) {
    case SIGINT:
        return "SIGINT";
    case SIGTERM:
        return "SIGTERM";
    default:
        return "SIGHUP";
    }
}

unsigned int HoldStopSignals() {
    sigset_t const former = BlockStopSignals();
    unsigned int held = 0;
    for (int const signal : stopSignals)
        held |= sigismember(&former, signal) == 0 ? 1U << signal : 0U;
    return held;
}

void ReleaseStopSignals(unsigned int held) {
    sigset_t signals;
    sigemptyset(&signals);
    for (int const signal : stopSignals)
        if ((held >> signal & 1) != 0)
            sigaddset(&signals, signal);
    sigprocmask(SIG_UNBLOCK, &signals, nullptr);
}

void SleepUnlessStopped(std::chrono::milliseconds time) {
    auto const seconds = std::chrono::duration_cast<std::chrono::seconds>(time);
    std::chrono::nanoseconds const rest = time - seconds;
    timespec const limit{seconds.count(), rest.count()};
    Wait(nullptr, 0, &limit);
}

bool AwaitWritable(int descriptor) {
    pollfd waiting{descriptor, POLLOUT, 0};
    int ready = -1;
    do
        ready = Wait(&waiting, 1, nullptr);
    while (ready < 0 && errno == EINTR);
    return ready != 0;
}
