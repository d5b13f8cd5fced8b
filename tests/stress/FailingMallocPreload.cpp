// For LD_PRELOAD: makes allocations of a program fail, and plays an agent while it sleeps.
//
// Allocations are counted from the time when its libraries are initialized. This is not part of
// SystemCalls.cpp, which itself allocates memory for what it records.
//
//   CC_FAILING_MALLOC  "7" lets the seventh allocation fail, "7+" also all later ones. The file
//                      "/opt/failed" then exists.
//   CC_AGENT_SCRIPT    the text of an AgentScript. Without it no agent is played, and sleeps take
//                      their time.
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include <fcntl.h>
#include <unistd.h>

#include "tests/support/AgentEngine.h"

extern "C" void* __libc_malloc(std::size_t size);
extern "C" void* __libc_calloc(std::size_t count, std::size_t size);
extern "C" void* __libc_realloc(void* block, std::size_t size);

namespace {

unsigned long untilFailure = 0;
bool fromThenOn = false;
bool isAgentPlayed = false;
constinit AgentEngine agent;
AgentEngine::Nanoseconds now = 0;

[[gnu::constructor]] void TakeSettings() {
    if (char const* const script = std::getenv("CC_AGENT_SCRIPT")) {
        isAgentPlayed = true;
        agent.Play(script);
    }
    char const* const number = std::getenv("CC_FAILING_MALLOC");
    if (number == nullptr)
        return;
    untilFailure = std::strtoul(number, nullptr, 10);
    fromThenOn = std::strchr(number, '+') != nullptr;
}

bool MustFail() {
    if (untilFailure == 0 || --untilFailure != 0)
        return false;
    untilFailure = fromThenOn ? 1 : 0;
    close(open("/opt/failed", O_WRONLY | O_CREAT | O_CLOEXEC, 0666));
    errno = ENOMEM;
    return true;
}

} // namespace

extern "C" {

void* malloc(std::size_t size) noexcept { return MustFail() ? nullptr : __libc_malloc(size); }

void* calloc(std::size_t count, std::size_t size) noexcept {
    return MustFail() ? nullptr : __libc_calloc(count, size);
}

void* realloc(void* block, std::size_t size) noexcept {
    return MustFail() ? nullptr : __libc_realloc(block, size);
}

unsigned int sleep(unsigned int seconds) {
    timespec const time{seconds, 0};
    if (isAgentPlayed)
        agent.Advance(++now);
    else
        nanosleep(&time, nullptr);
    return 0;
}

int usleep(useconds_t microseconds) {
    timespec const time{0, static_cast<long>(microseconds) * 1000};
    return isAgentPlayed ? 0 : nanosleep(&time, nullptr);
}

} // extern "C"
