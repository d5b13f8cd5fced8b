#include "tests/torture/AgentWhileSleeping.h"

#include <unistd.h>

#include "tests/support/PrivateMachine.h"

namespace {

Torture::AgentWhileSleeping* active = nullptr;
std::size_t sleeps = 0;

} // namespace

namespace Torture {

AgentWhileSleeping::AgentWhileSleeping(AgentScript const& theScript)
    : script(theScript.text()), process(PrivateMachine::InstallIdleAgent()) {
    Restart();
    active = this;
}

AgentWhileSleeping::~AgentWhileSleeping() { active = nullptr; }

void AgentWhileSleeping::Restart() { engine.emplace().Play(script); }

std::size_t AgentWhileSleeping::SleepCount() { return sleeps; }

// The agent looks once in each sleep.
void AgentWhileSleeping::Sleep(unsigned int seconds) {
    sleeps += seconds != 0;
    if (active && seconds != 0)
        active->engine->Advance(static_cast<AgentEngine::Nanoseconds>(sleeps));
}

} // namespace Torture

extern "C" unsigned int sleep(unsigned int seconds) {
    Torture::AgentWhileSleeping::Sleep(seconds);
    return 0;
}

extern "C" int usleep(useconds_t) { return 0; }
