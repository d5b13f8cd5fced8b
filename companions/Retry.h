// Further attempts at an evaluation that failed for a temporary reason (--wait).
#pragma once

#include <chrono>
#include <optional>

// A refused lock stays refused for the life of a process, so each further attempt executes the
// program again, with the same process id, name and arguments. It executes /proc/self/exe, so the
// file of the program may have been replaced or removed since. The environment variable
// COMPLIANCE_QUERY_ATTEMPT carries the state; it names its process, so no other process uses it.
class Retry {
public:
    using Clock = std::chrono::steady_clock;

    // Continues with the state of the process's former attempt, which is removed from the
    // environment, or begins. `wait` and `timeout` are those of the command line.
    Retry(std::optional<std::chrono::seconds> wait, std::optional<std::chrono::seconds> timeout);

    // When --timeout is over, counted from the first attempt.
    std::optional<Clock::time_point> Deadline() const { return deadline; }

    // How long to sleep before the next attempt; nothing if there is no time left for one.
    std::optional<std::chrono::milliseconds> Pause() const;

    // Executes the program again; a stop signal that comes in the meantime reaches the new program.
    // Returns after a stop signal, and with errno set if the execution fails.
    void Execute(char* const* arguments);

private:
    std::optional<Clock::time_point> waitEnd = {};
    std::optional<Clock::time_point> deadline = {};
    long long attempt = 1;
};
