// The agent's side of the exchange: takes requests, and answers them by a scenario.
#pragma once

#include <csignal>
#include <cstddef>
#include <optional>
#include <sys/types.h>

#include "demo/Scenario.h"

// Returns the id of another process with the agent's name, or 0. On a real host a second process of
// that name would count as the agent.
pid_t OtherAgent();

// Serves requests until `stop` is not 0. One evaluation after the other: an Open request begins the
// scenario anew.
class StandInAgent {
public:
    StandInAgent(Scenario const& scenario, volatile std::sig_atomic_t const& stop);

    // Creates the two directories of the exchange if they are missing, then serves. Prints each
    // request and action on standard output. Throws what the file layer throws while it creates the
    // directories.
    //
    // A request that can't be handled is reported and left alone. A request whose delay is not over
    // when the stop comes is left alone too. One that is replaced during its delay gets no answer.
    void Serve();

private:
    // Distinguishes one request document from the next of the same name.
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
    Identity present; // the request in hand
    Identity left;    // the request left alone
};
