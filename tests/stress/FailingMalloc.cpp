// Fails the allocations that do not use operator new, of the product or of the C library. A program
// that links this source uses --wrap for each of these functions.
#include <cerrno>
#include <cstdio>

#include <dirent.h>

#include "tests/support/FailingAllocation.h"

namespace {

template <class Result>
Result OutOfMemory(Result result) {
    errno = ENOMEM;
    return result;
}

} // namespace

extern "C" {

void* __real_malloc(std::size_t size);
std::FILE* __real_fopen(char const* path, char const* mode);
DIR* __real_opendir(char const* path);
int __real_scandir(char const* path, dirent*** list, int (*select)(dirent const*),
                   int (*compare)(dirent const**, dirent const**));

void* __wrap_malloc(std::size_t size) {
    return FailingAllocation::MustFail() ? OutOfMemory<void*>(nullptr) : __real_malloc(size);
}

std::FILE* __wrap_fopen(char const* path, char const* mode) {
    return FailingAllocation::MustFail() ? OutOfMemory<std::FILE*>(nullptr)
                                         : __real_fopen(path, mode);
}

DIR* __wrap_opendir(char const* path) {
    return FailingAllocation::MustFail() ? OutOfMemory<DIR*>(nullptr) : __real_opendir(path);
}

int __wrap_scandir(char const* path, dirent*** list, int (*select)(dirent const*),
                   int (*compare)(dirent const**, dirent const**)) {
    return FailingAllocation::MustFail() ? OutOfMemory(-1)
                                         : __real_scandir(path, list, select, compare);
}

} // extern "C"
