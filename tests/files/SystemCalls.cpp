#include "tests/files/SystemCalls.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <utility>

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/time.h>
#include <unistd.h>

namespace {

SystemCalls* active = nullptr;
bool failsMalloc = false;
thread_local std::size_t freed = 0;

// The function that the program would have called without us.
template <class Function>
Function* Next(Function*, char const* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

std::string Whence(int whence) {
    switch (whence) {
    case SEEK_SET:
        return "SET";
    case SEEK_CUR:
        return "CUR";
    case SEEK_END:
        return "END";
    default:
        return std::to_string(whence);
    }
}

std::string Flags(int flags) {
    std::string text = (flags & O_ACCMODE) == O_RDONLY ? "RDONLY" : "RDWR";
    if ((flags & O_ACCMODE) == O_WRONLY)
        text = "WRONLY";
    int rest = flags & ~O_ACCMODE;
    for (auto [flag, name] :
         {std::pair(O_CREAT, "|CREAT"), std::pair(O_EXCL, "|EXCL"), std::pair(O_TRUNC, "|TRUNC")})
        if (rest & flag) {
            text += name;
            rest &= ~flag;
        }
    return rest == 0 ? text : text + "|" + std::to_string(rest);
}

std::string Octal(unsigned int mode) {
    char text[16];
    std::snprintf(text, sizeof(text), "%o", mode);
    return text;
}

SystemCalls::Answer Record(char const* name, std::string const& arguments = {}) {
    return active->Record(name, arguments);
}

template <class Result>
Result Refuse(int error, Result result) {
    errno = error;
    return result;
}

} // namespace

SystemCalls::SystemCalls() { active = this; }

SystemCalls::~SystemCalls() { active = nullptr; }

SystemCalls::Pause::Pause() : paused(std::exchange(active, nullptr)) {}

SystemCalls::Pause::~Pause() { active = paused; }

std::size_t SystemCalls::Count(std::string const& name) const {
    return std::count_if(log.begin(), log.end(),
                         [&](std::string const& call) { return call.starts_with(name); });
}

void SystemCalls::Fail(std::string const& name, int error, std::size_t skip) {
    answers.push_back({name, skip, error});
}

void SystemCalls::FailFromThenOn(std::string const& name, int error, std::size_t skip) {
    Answer answer{name, skip, error};
    answer.lasts = true;
    answers.push_back(answer);
}

void SystemCalls::Limit(std::string const& name, std::size_t bytes, std::size_t skip) {
    answers.push_back({name, skip, 0, bytes});
}

void SystemCalls::Before(std::string const& name, std::function<void()> action, std::size_t skip) {
    Answer answer{name, skip};
    answer.action = std::move(action);
    answers.push_back(answer);
}

void SystemCalls::FailMalloc() { failsMalloc = true; }

std::size_t SystemCalls::Freed() { return freed; }

SystemCalls* SystemCalls::Active() { return active; }

SystemCalls::Answer SystemCalls::Record(std::string const& name, std::string const& arguments) {
    log.push_back(arguments.empty() ? name : name + " " + arguments);
    for (auto answer = answers.begin(); answer != answers.end(); ++answer)
        if (answer->name == name) {
            if (answer->skip != 0) {
                --answer->skip;
                break;
            }
            Answer const given = *answer;
            if (!given.lasts)
                answers.erase(answer);
            if (given.action) {
                Pause const pause;
                given.action();
            }
            return given;
        }
    return {};
}

// The stand-ins. Each is found by the linker before the one of the C library.
extern "C" {

int open(char const* path, int flags, ...) {
    static auto const next = Next(&open, "open");
    va_list arguments;
    va_start(arguments, flags);
    unsigned int const mode = (flags & O_CREAT) ? va_arg(arguments, unsigned int) : 0;
    va_end(arguments);
    if (active) {
        std::string const text =
            (flags & O_CREAT) ? Flags(flags) + " " + Octal(mode) : Flags(flags);
        if (int const error = Record("open", text).error)
            return Refuse(error, -1);
    }
    return next(path, flags, mode);
}

int close(int descriptor) {
    static auto const next = Next(&close, "close");
    int const error = active ? Record("close").error : 0;
    int const result = next(descriptor);
    return error ? Refuse(error, -1) : result;
}

int fcntl(int descriptor, int command, ...) {
    static auto const next = Next(&fcntl, "fcntl");
    va_list arguments;
    va_start(arguments, command);
    // All but the flag commands take a pointer, or nothing at all.
    bool const takesNumber = command == F_SETFD || command == F_SETFL;
    long const argument = takesNumber ? va_arg(arguments, int) : va_arg(arguments, long);
    va_end(arguments);
    if (active && command == F_SETFD)
        if (int const error = Record("setfd", std::to_string(argument)).error)
            return Refuse(error, -1);
    if (active && command == F_SETLK) {
        bool const unlocks = reinterpret_cast<struct flock const*>(argument)->l_type == F_UNLCK;
        if (int const error = Record("setlk", unlocks ? "UNLCK" : "WRLCK").error)
            return Refuse(error, -1);
    }
    return next(descriptor, command, argument);
}

off64_t lseek64(int descriptor, off64_t offset, int whence) noexcept {
    static auto const next = Next(&lseek64, "lseek64");
    if (active)
        if (int const error = Record("seek", std::to_string(offset) + " " + Whence(whence)).error)
            return Refuse(error, off64_t{-1});
    return next(descriptor, offset, whence);
}

ssize_t read(int descriptor, void* target, size_t count) {
    static auto const next = Next(&read, "read");
    if (active) {
        auto const answer = Record("read", std::to_string(count));
        if (answer.error)
            return Refuse(answer.error, ssize_t{-1});
        count = std::min(count, answer.limit);
    }
    return next(descriptor, target, count);
}

ssize_t write(int descriptor, void const* source, size_t count) {
    static auto const next = Next(&write, "write");
    if (active) {
        auto const answer = Record("write", std::to_string(count));
        if (answer.error)
            return Refuse(answer.error, ssize_t{-1});
        if (answer.limit == 0)
            return 0;
        count = std::min(count, answer.limit);
    }
    return next(descriptor, source, count);
}

int fsync(int descriptor) {
    static auto const next = Next(&fsync, "fsync");
    if (active)
        if (int const error = Record("fsync").error)
            return Refuse(error, -1);
    return next(descriptor);
}

int ftruncate64(int descriptor, off64_t length) noexcept {
    static auto const next = Next(&ftruncate64, "ftruncate64");
    if (active)
        if (int const error = Record("ftruncate", std::to_string(length)).error)
            return Refuse(error, -1);
    return next(descriptor, length);
}

int lstat(char const* path, struct stat* information) noexcept {
    static auto const next = Next(&lstat, "lstat");
    if (active)
        if (int const error = Record("lstat", path).error)
            return Refuse(error, -1);
    return next(path, information);
}

int stat(char const* path, struct stat* information) noexcept {
    static auto const next =
        Next(static_cast<int (*)(char const*, struct stat*) noexcept>(&stat), "stat");
    if (active)
        if (int const error = Record("stat", path).error)
            return Refuse(error, -1);
    return next(path, information);
}

// Deprecated, so that its declaration is not named.
int readdir_r(DIR* directory, dirent* storage, dirent** entry) {
    static auto const next =
        Next(static_cast<int (*)(DIR*, dirent*, dirent**)>(nullptr), "readdir_r");
    if (active)
        if (int const error = Record("readdir").error)
            return error;
    return next(directory, storage, entry);
}

int access(char const* path, int mode) noexcept {
    static auto const next = Next(&access, "access");
    if (active)
        if (int const error = Record("access", path).error)
            return Refuse(error, -1);
    return next(path, mode);
}

int statvfs(char const* path, struct statvfs* information) noexcept {
    static auto const next =
        Next(static_cast<int (*)(char const*, struct statvfs*) noexcept>(&statvfs), "statvfs");
    if (active)
        if (int const error = Record("statvfs", path).error)
            return Refuse(error, -1);
    return next(path, information);
}

ssize_t readlink(char const* path, char* target, size_t size) noexcept {
    static auto const next = Next(&readlink, "readlink");
    if (active)
        if (int const error = Record("readlink", path).error)
            return Refuse(error, ssize_t{-1});
    return next(path, target, size);
}

FILE* fopen(char const* path, char const* mode) {
    static auto const next = Next(&fopen, "fopen");
    if (active)
        if (int const error = Record("fopen", path).error)
            return Refuse(error, static_cast<FILE*>(nullptr));
    return next(path, mode);
}

int scandir(char const* path, dirent*** list, int (*selector)(dirent const*),
            int (*compare)(dirent const**, dirent const**)) {
    static auto const next = Next(&scandir, "scandir");
    if (active)
        if (int const error = Record("scandir", path).error)
            return Refuse(error, -1);
    return next(path, list, selector, compare);
}

int utimes(char const* path, timeval const* times) noexcept {
    static auto const next = Next(&utimes, "utimes");
    if (active)
        if (int const error = Record("utimes", path).error)
            return Refuse(error, -1);
    return next(path, times);
}

int mkdir(char const* path, mode_t mode) noexcept {
    static auto const next = Next(&mkdir, "mkdir");
    if (active)
        if (int const error = Record("mkdir", std::string(path) + " " + Octal(mode)).error)
            return Refuse(error, -1);
    return next(path, mode);
}

int rmdir(char const* path) noexcept {
    static auto const next = Next(&rmdir, "rmdir");
    if (active)
        if (int const error = Record("rmdir", path).error)
            return Refuse(error, -1);
    return next(path);
}

int unlink(char const* path) noexcept {
    static auto const next = Next(&unlink, "unlink");
    if (active)
        if (int const error = Record("unlink", path).error)
            return Refuse(error, -1);
    return next(path);
}

int rename(char const* from, char const* to) noexcept {
    static auto const next = Next(&rename, "rename");
    if (active)
        if (int const error = Record("rename", std::string(from) + " " + to).error)
            return Refuse(error, -1);
    return next(from, to);
}

int chmod(char const* path, mode_t mode) noexcept {
    static auto const next = Next(&chmod, "chmod");
    if (active)
        if (int const error = Record("chmod", std::string(path) + " " + Octal(mode)).error)
            return Refuse(error, -1);
    return next(path, mode);
}

mode_t umask(mode_t mask) noexcept {
    static auto const next = Next(&umask, "umask");
    if (active)
        Record("umask", Octal(mask));
    return next(mask);
}

int mkstemp(char* pattern) {
    static auto const next = Next(&mkstemp, "mkstemp");
    if (active)
        if (int const error = Record("mkstemp", pattern).error)
            return Refuse(error, -1);
    return next(pattern);
}

char* mkdtemp(char* pattern) noexcept {
    static auto const next = Next(&mkdtemp, "mkdtemp");
    if (active)
        if (int const error = Record("mkdtemp", pattern).error)
            return Refuse(error, static_cast<char*>(nullptr));
    return next(pattern);
}

// The program is linked with --wrap for these two, so that the calls of our own objects come here.
void* __real_malloc(std::size_t size);

void* __wrap_malloc(std::size_t size) {
    return std::exchange(failsMalloc, false) ? nullptr : __real_malloc(size);
}

void __real_free(void* block);

void __wrap_free(void* block) {
    freed += block != nullptr;
    __real_free(block);
}

} // extern "C"
