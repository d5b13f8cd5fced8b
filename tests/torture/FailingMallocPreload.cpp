// For LD_PRELOAD: a program whose allocations fail, and whose sleeps are the time in which an agent
// answers (see AgentAnswers.h). Allocations are counted from the moment at which its libraries are
// set up.
//
// CC_FAILING_MALLOC in the environment tells which: "7" the seventh alone, "7+" all from the
// seventh on. Once one has failed the file "/opt/failed" is there.
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

#include "tests/torture/AgentAnswers.h"

extern "C" void* __libc_malloc(std::size_t size);
extern "C" void* __libc_calloc(std::size_t count, std::size_t size);
extern "C" void* __libc_realloc(void* block, std::size_t size);

namespace {

unsigned long untilFailure = 0;
bool fromThenOn = false;

[[gnu::constructor]] void TakeNumber() {
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

unsigned int sleep(unsigned int) {
    AgentAnswers::AnswerRequest();
    return 0;
}

int usleep(useconds_t) { return 0; }

} // extern "C"
