// An agent in the process of the product, which plays its script whenever the product sleeps.
//
// A program that links the source has sleep(3) and usleep(3) replaced: no sleep takes any time.
// Nothing here allocates memory, so a test that counts allocations sees those of the product alone.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "tests/support/AgentScript.h"
#include "tests/support/OtherProcess.h"

namespace Stress {

// From its construction to its destruction; one at a time. With a process of the agent's name.
//
// REQUIRES: a sandbox with the agent's directories.
class AgentWhileSleeping {
public:
    explicit AgentWhileSleeping(AgentScript const& theScript);
    ~AgentWhileSleeping();
    AgentWhileSleeping(AgentWhileSleeping const&) = delete;
    AgentWhileSleeping& operator=(AgentWhileSleeping const&) = delete;

    // Plays the script from its start again.
    void Restart();

    // How many sleeps of whole seconds this process has made, that is those of an exchange and not
    // those between retries.
    static std::size_t SleepCount();
    static void Sleep(unsigned int seconds);

private:
    std::string const script;
    std::optional<AgentEngine> engine;
    OtherProgram const process;
};

} // namespace Stress
