// Does to the real files, as simulated time passes, what an agent did to those of the model, and
// takes down what is asked of the system meanwhile.
#pragma once

#include <string>
#include <vector>

#include "tests/files/RecordedSleeps.h"
#include "tests/files/SystemCalls.h"
#include "tests/torture/Entries.h"

class Replay {
public:
    // The acts may become more while it lives.
    explicit Replay(std::vector<Act> const& script) : acts(script) {}

    // In microseconds.
    unsigned long long Now() const { return now; }

    void Pass(unsigned long long microseconds) {
        SystemCalls::Pause const pause;
        now += microseconds;
        for (; next < acts.size() && acts[next].when <= now; ++next)
            PlaceOnDisk(acts[next].path, acts[next].entry);
    }

private:
    std::vector<Act> const& acts;
    size_t next = 0;
    unsigned long long now = 0;
};

// From its construction to its destruction no sleep takes any time.
class SimulatedTime {
public:
    explicit SimulatedTime(Replay& replay)
        : sleeps([this, &replay](std::string const& call, unsigned long long microseconds) {
              calls.Record(call);
              replay.Pass(microseconds);
          }) {}

    // What a model can foretell: neither transfers and positions, nor the lock, nor what /proc is
    // asked.
    std::vector<std::string> Calls() const {
        std::vector<std::string> told;
        for (std::string const& call : calls.Log())
            if (IsForetold(call))
                told.push_back(call);
        return told;
    }

private:
    static bool IsForetold(std::string const& call) {
        for (char const* const untold : {"read", "write", "seek", "close", "setlk", "open RDONLY|"})
            if (call.starts_with(untold))
                return false;
        return call.find(" /proc") == std::string::npos;
    }

    SystemCalls calls;
    RecordedSleeps sleeps;
};
