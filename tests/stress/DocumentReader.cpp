// DocumentReader FILE...: publishes each file as the response and reads it with the product's
// reader. Prints three lines for each: the outcome, the additional peak memory in KiB, and the id
// of the process that has read it.
//
// DocumentReader --arena FILE...: allocates from one block and releases nothing. Then only the
// product executes instructions: the allocator of the C library works in bursts, which would
// distort a comparison of two sizes.
#include <cstdio>
#include <fstream>
#include <new>
#include <utility>

#include <sys/mman.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include "compliance/ResponseDocument.h"
#include "tests/files/Thrown.h"

namespace {

constexpr std::size_t arenaSize = std::size_t{1} << 30;
char* arena = nullptr;
char* arenaEnd = nullptr;

void TakeArena() {
    void* const block = mmap(nullptr, arenaSize, PROT_READ | PROT_WRITE,
                             MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (block == MAP_FAILED)
        std::abort();
    arena = static_cast<char*>(block);
    arenaEnd = arena + arenaSize;
}

void* FromArena(std::size_t size) {
    constexpr std::size_t unit = alignof(std::max_align_t);
    std::size_t const rounded = (size + unit - 1) / unit * unit;
    if (rounded > static_cast<std::size_t>(arenaEnd - arena))
        throw std::bad_alloc();
    return std::exchange(arena, arena + rounded);
}

bool IsFromArena(void* block) {
    return arenaEnd != nullptr && block < arenaEnd && block >= arenaEnd - arenaSize;
}

std::string Describe(ClientComplianceResponse const& response) {
    std::size_t bytes = 0;
    for (auto const& item : response.items)
        bytes += item.designator.size() + item.result.size() + item.resultType.size() +
                 item.evaluationTime.size() + item.description.size() + item.comment.size();
    return std::to_string(response.GetComplianceCount()) + " rows, " + std::to_string(bytes) +
           " bytes";
}

std::string Read() {
    std::string outcome;
    std::string const thrown =
        Thrown([&] { outcome = Describe(ClientComplianceResponseIORead()); });
    return thrown == "nothing" ? outcome : thrown;
}

// A line of /proc/self/status, in KiB.
long Status(std::string const& name) {
    std::ifstream status("/proc/self/status");
    long value = -1;
    for (std::string word; status >> word;)
        if (word == name)
            status >> value;
    return value;
}

} // namespace

void* operator new(std::size_t size) {
    void* const block = arenaEnd != nullptr ? FromArena(size) : std::malloc(size);
    if (block == nullptr)
        throw std::bad_alloc();
    return block;
}

void operator delete(void* block) noexcept {
    if (!IsFromArena(block))
        std::free(block);
}

void operator delete(void* block, std::size_t) noexcept { operator delete(block); }

// All instructions of one document are executed here, so they can be counted.
extern "C" [[gnu::noinline]] void MeasuredRun(std::string* outcome) { *outcome = Read(); }

// One file, in its own process, so the allocator has no leftovers of other files.
int ReadInChild(char const* file) {
    long const before = Status("VmRSS:");
    if (std::rename(file, "/var/opt/VeskaClient/ResponseDir/response.xml") != 0)
        return 1;
    std::string outcome;
    MeasuredRun(&outcome);
    std::printf("%s\n%ld\n%ld\n", outcome.c_str(), Status("VmHWM:") - before,
                static_cast<long>(getpid()));
    return 0;
}

int main(int count, char** files) {
    bool const wantsArena = count > 1 && std::strcmp(files[1], "--arena") == 0;
    if (wantsArena)
        TakeArena();
    for (int i = wantsArena ? 2 : 1; i < count; ++i) {
        pid_t const child = fork();
        if (child == 0)
            return ReadInChild(files[i]);
        int status = 0;
        if (child < 0 || waitpid(child, &status, 0) != child || status != 0)
            return 1;
    }
}
