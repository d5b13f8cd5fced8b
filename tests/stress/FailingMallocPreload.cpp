// For LD_PRELOAD: fails allocations of a program, and plays an agent while the program sleeps.
//
// Allocations are counted after the initialization of the libraries. This is separate from
// SystemCalls.cpp, which allocates memory for its log.
//
// CC_FAILING_MALLOC is the number of the allocation that fails; with a "+" ("7+") all later ones
// fail too. After a failure, the file "/opt/failed" exists. CC_AGENT_SCRIPT is the text of an
// AgentScript. Without it there is no agent, and sleeps take their time.
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
