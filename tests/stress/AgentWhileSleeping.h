// An agent in the process of the product, which plays its script while the product sleeps.
//
// A program that links this source has its own sleep(3) and usleep(3), which return immediately.
// They allocate no memory, so an AllocationCounter counts only the allocations of the product.
#pragma once

#include "tests/support/AgentScript.h"
#include "tests/support/OtherProcess.h"

// Plays the script from its construction to its destruction. Also runs a process with the agent's
// name. At most one object exists at a time.
//
// REQUIRES: a sandbox with the agent's directories.
class AgentWhileSleeping {
public:
    explicit AgentWhileSleeping(AgentScript const& theScript);
    ~AgentWhileSleeping();
    AgentWhileSleeping(AgentWhileSleeping const&) = delete;
    AgentWhileSleeping& operator=(AgentWhileSleeping const&) = delete;

    // Restarts the script.
    void Restart();

    // The number of sleeps of whole seconds of this process. Retries sleep for less, so only the
    // sleeps of an exchange count.
    static std::size_t SleepCount();
    static void Sleep(unsigned int seconds);

private:
    std::string const script;
    std::optional<AgentEngine> engine;
    OtherProgram const process;
};
