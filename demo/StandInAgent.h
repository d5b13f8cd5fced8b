// The other side of the two documents: takes requests, and answers them as a scenario tells.
#pragma once

#include <csignal>
#include <cstddef>
#include <optional>
#include <sys/types.h>

#include "demo/Scenario.h"

// The process id of another running process that carries the agent's name, 0 if there is none. On a
// real host a second one of that name would count as the agent.
pid_t OtherAgent();

// Serves requests until `stop` is not 0. One evaluation after the other: an Open request begins the
// scenario anew.
class StandInAgent {
public:
    StandInAgent(Scenario const& scenario, volatile std::sig_atomic_t const& stop);

    // Creates the two directories of the exchange where they are missing, then serves. What it sees
    // and does is told on standard output. Throws what the file layer throws while it creates the
    // directories; a request that can't be dealt with is told and left alone. So is one whose delay
    // is not over when the stop comes; one that another replaces during its delay gets no answer.
    void Serve();

private:
    // What tells one request document from the next of the same name.
    struct Identity {
        ino_t inode = 0;
        time_t seconds = 0;
        long nanoseconds = 0;

        bool operator==(Identity const&) const = default;
    };

    static std::optional<Identity> Look();
    bool FindNewRequest();
    void DealWithRequest();
    ScenarioStep const& NextStep(ClientComplianceType type);
    void DealWith(ScenarioStep const& step, ClientComplianceType type);
    void Sleep(unsigned int milliseconds) const;

    Scenario const& scenario;
    volatile std::sig_atomic_t const& stop;
    std::size_t progressStep = 0;
    Identity present; // the request that is dealt with
    Identity left;    // the request that is left alone
};
