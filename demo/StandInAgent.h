// The agent's side of the exchange: reads requests and publishes responses according to a scenario.
#pragma once

#include <csignal>
#include <cstddef>
#include <optional>
#include <sys/types.h>

#include "demo/Scenario.h"

// Returns the id of another process with the agent's name, or 0. Such a process may be a real
// agent, which would handle the same requests.
pid_t OtherAgent();

// Serves requests until `stop` is not 0, which a signal handler may set. Evaluations are served one
// at a time: an Open request restarts the scenario.
class StandInAgent {
public:
    StandInAgent(Scenario const& scenario, volatile std::sig_atomic_t const& stop);

    // Creates the two directories of the exchange if they do not exist, then serves requests.
    // Prints each request and action on standard output. Throws FileIOError if a directory cannot
    // be created.
    //
    // A request that cannot be handled is reported and not removed. A request is not removed either
    // if serving stops during its delay. A request that is removed or replaced during its delay
    // gets no response.
    void Serve();

private:
    // Distinguishes request documents that have the same path.
    struct Identity {
        ino_t inode = 0;
        time_t seconds = 0;
        long nanoseconds = 0;

        bool operator==(Identity const&) const = default;
    };

    static std::optional<Identity> Look();
    bool FindNewRequest();
    void HandleRequest();
    ScenarioStep const& NextStep(ClientComplianceType type);
    void HandleStep(ScenarioStep const& step, ClientComplianceType type);
    void Sleep(unsigned int milliseconds) const;

    Scenario const& scenario;
    volatile std::sig_atomic_t const& stop;
    std::size_t progressStep = 0;
    Identity present; // the current request
    Identity left;    // the last request that was not removed
};
