// Records the calls of sleep(3) and usleep(3) in place of sleeping.
//
// The program that links the source has both functions replaced. Without a recorder they sleep.
#pragma once

#include <functional>
#include <string>
#include <vector>

// Records from its construction to its destruction. One at a time.
class RecordedSleeps {
public:
    // What happens in a sleep, with the call and its length in microseconds. Returns whether a
    // signal interrupts the sleep.
    using Event = std::function<bool(std::string const& call, unsigned long long microseconds)>;

    explicit RecordedSleeps(Event const& during = {});
    ~RecordedSleeps();
    RecordedSleeps(RecordedSleeps const&) = delete;
    RecordedSleeps& operator=(RecordedSleeps const&) = delete;

    // In order, as "sleep 1" and "usleep 500000".
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
