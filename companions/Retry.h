// Retries an evaluation that failed for a temporary reason (--wait).
#pragma once

#include <chrono>
#include <optional>

// The state of the retries of one process. The C API keeps refusing a lock that it has refused
// once. Each retry therefore executes the program again (execve(2)) with the same process ID, name
// and arguments. A retry executes /proc/self/exe, so the file of the program may have been replaced
// or removed. The environment variable COMPLIANCE_QUERY_ATTEMPT passes the state on. It contains
// the process ID, so other processes ignore it.
class Retry {
public:
    using Clock = std::chrono::steady_clock;

    // Takes the values of --wait and --timeout. Restores the state of the previous attempt of this
    // process, if there is one. Stop signals that arrived since that attempt are then delivered, so
    // call CatchStopSignals first. Removes COMPLIANCE_QUERY_ATTEMPT from the environment.
    Retry(std::optional<std::chrono::seconds> wait, std::optional<std::chrono::seconds> timeout);

    // Returns the end of --timeout, which starts with the first attempt; nullopt without --timeout.
    std::optional<Clock::time_point> Deadline() const { return deadline; }

    // Returns the time to sleep before the next attempt (exponential backoff), or nullopt without
    // --wait, and if no time of --wait or --timeout is left.
    std::optional<std::chrono::milliseconds> Pause() const;

    // Executes the program again; does not return if that succeeds. Returns if a stop signal was
    // received before. Returns and sets errno if the execution fails. A stop signal during the
    // execution is delivered to the new program.
    void Execute(char* const* arguments);

private:
    std::optional<Clock::time_point> waitEnd = {};
    std::optional<Clock::time_point> deadline = {};
    long long attempt = 1;
};
