// The program of ScriptedAgent: plays the script on its standard input and writes its record to
// standard output. SIGTERM stops it at its next wait. It shares no code with the product.
#include <csignal>
#include <iostream>
#include <iterator>

#include <time.h>
#include <unistd.h>

#include "tests/support/AgentEngine.h"

namespace {

volatile std::sig_atomic_t isStopped = 0;

void Stop(int) { isStopped = 1; }

AgentEngine::Nanoseconds Now() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * 1'000'000'000LL + now.tv_nsec;
}

} // namespace

int main() {
    std::signal(SIGTERM, Stop);
    std::string const script(std::istreambuf_iterator<char>(std::cin), {});
    AgentEngine engine(STDOUT_FILENO);
    engine.Play(script);
    while (!isStopped) {
        engine.Advance(Now());
        usleep(engine.HasEnded() ? 100'000 : 1'000);
    }
}
