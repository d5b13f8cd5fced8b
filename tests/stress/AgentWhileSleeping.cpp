#include "tests/stress/AgentWhileSleeping.h"

#include <unistd.h>

#include "tests/support/Sandbox.h"

namespace {

AgentWhileSleeping* active = nullptr;
std::size_t sleeps = 0;

} // namespace

AgentWhileSleeping::AgentWhileSleeping(AgentScript const& theScript)
    : script(theScript.text()), process(Sandbox::InstallIdleAgent()) {
    Restart();
    active = this;
}

AgentWhileSleeping::~AgentWhileSleeping() { active = nullptr; }

void AgentWhileSleeping::Restart() { engine.emplace().Play(script); }

std::size_t AgentWhileSleeping::SleepCount() { return sleeps; }

// The agent acts once in each sleep.
void AgentWhileSleeping::Sleep(unsigned int seconds) {
    sleeps += seconds != 0;
    if (active && seconds != 0)
        active->engine->Advance(static_cast<AgentEngine::Nanoseconds>(sleeps));
}

extern "C" unsigned int sleep(unsigned int seconds) {
    AgentWhileSleeping::Sleep(seconds);
    return 0;
}

extern "C" int usleep(useconds_t) { return 0; }
