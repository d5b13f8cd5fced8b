// Replaces sleep(3) and usleep(3) in programs that link the source. With a recorder, calls are
// recorded instead of executed. Without a recorder, they sleep.
#pragma once

#include <functional>
#include <string>
#include <vector>

// Records from construction to destruction. At most one recorder exists at a time.
class RecordedSleeps {
public:
    // Runs in each sleep, with the call and its length in microseconds. Returns whether a signal
    // interrupts the sleep.
    using Event = std::function<bool(std::string const& call, unsigned long long microseconds)>;

    explicit RecordedSleeps(Event const& during = {});
    ~RecordedSleeps();
    RecordedSleeps(RecordedSleeps const&) = delete;
    RecordedSleeps& operator=(RecordedSleeps const&) = delete;

    // The calls in order, such as "sleep 1" and "usleep 500000".
    std::vector<std::string> const& Calls() const { return calls; }
    unsigned long long TotalMicroseconds() const { return total; }
    void Clear() {
        calls.clear();
        total = 0;
    }

    bool Add(char const* function, unsigned int amount, unsigned long long microseconds);

private:
    Event const event;
    std::vector<std::string> calls;
    unsigned long long total = 0;
};
