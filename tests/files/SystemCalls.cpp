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

// The function of the C library that the replacement hides.
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

using Call = SystemCalls::Call;
using Answer = SystemCalls::Answer;

std::string LastComponent(std::string const& path) { return path.substr(path.rfind('/') + 1); }

Call OfPath(char const* name, char const* path, std::string const& more = {}) {
    return {name, path + (more.empty() ? more : ' ' + more), LastComponent(path)};
}

Call OfDescriptor(char const* name, int descriptor, std::string const& arguments = {}) {
    return {name, arguments, {}, descriptor};
}

// Makes the call unless an active recorder makes it fail. Calls `describe` only for a recorder, so
// nothing is allocated without one.
template <class Result, class Describe, class Make>
Result Intercept(Describe const& describe, Result failure, Make const& make) {
    int const error = active ? active->Record(describe()).error : 0;
    if (error == 0)
        return make();
    errno = error;
    return failure;
}

template <class Result, class Function, class Path, class... Rest>
Result InterceptPath(char const* name, Result failure, Function* function, Path* path,
                     Rest... rest) {
    return Intercept([&] { return OfPath(name, path); }, failure,
                     [&] { return Next(function, name)(path, rest...); });
}

template <class Function>
int InterceptMode(char const* name, Function* function, char const* path, mode_t mode) {
    return Intercept([&] { return OfPath(name, path, Octal(mode)); }, -1,
                     [&] { return Next(function, name)(path, mode); });
}

// The maximum number of bytes of a transfer, or -1 with errno set.
ssize_t Transfer(char const* name, int descriptor, std::size_t count) {
    if (!active)
        return static_cast<ssize_t>(count);
    Answer const answer = active->Record(OfDescriptor(name, descriptor, std::to_string(count)));
    if (answer.error == 0)
        return static_cast<ssize_t>(std::min(count, answer.limit));
    errno = answer.error;
    return -1;
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

std::vector<std::string> SystemCalls::Log(std::vector<std::string> const& names) const {
    std::vector<std::string> selected;
    std::copy_if(log.begin(), log.end(), std::back_inserter(selected), [&](auto const& call) {
        return std::count(names.begin(), names.end(), call.substr(0, call.find(' '))) != 0;
    });
    return selected;
}

void SystemCalls::Fail(std::string const& name, int error, std::size_t skip) {
    rules.push_back({name, skip, {error}});
}

void SystemCalls::FailFromThenOn(std::string const& name, int error, std::size_t skip) {
    rules.push_back({name, skip, {error}, {}, true});
}

void SystemCalls::Limit(std::string const& name, std::size_t bytes, std::size_t skip) {
    rules.push_back({name, skip, {0, bytes}});
}

void SystemCalls::Before(std::string const& name, std::function<void()> action, std::size_t skip) {
    rules.push_back({name, skip, {}, std::move(action)});
}

void SystemCalls::FailMalloc() { failsMalloc = true; }

std::size_t SystemCalls::Freed() { return freed; }

SystemCalls* SystemCalls::Active() { return active; }

SystemCalls::Rule* SystemCalls::FindRule(std::string const& name) {
    auto const rule = std::find_if(rules.begin(), rules.end(),
                                   [&](Rule const& candidate) { return candidate.name == name; });
    if (rule == rules.end())
        return nullptr;
    if (rule->skip == 0)
        return &*rule;
    --rule->skip;
    return nullptr;
}

SystemCalls::Answer SystemCalls::Record(Call call) {
    if (call.descriptor >= 0 && static_cast<std::size_t>(call.descriptor) < objects.size())
        call.object = objects[static_cast<std::size_t>(call.descriptor)];
    log.push_back(call.arguments.empty() ? call.name : call.name + ' ' + call.arguments);
    Rule* const found = FindRule(call.name);
    if (!found)
        return decision ? decision(call) : Answer();
    Rule const rule = *found;
    if (!rule.lasts)
        rules.erase(rules.begin() + (found - &rules.front()));
    if (rule.action) {
        Pause const pause;
        rule.action();
    }
    return rule.answer;
}

void SystemCalls::Opened(int descriptor, std::string const& path) {
    if (descriptor < 0)
        return;
    auto const index = static_cast<std::size_t>(descriptor);
    if (objects.size() <= index)
        objects.resize(index + 1);
    objects[index] = LastComponent(path);
}

// Replacements of the system calls. The linker finds each before the one of the C library.
extern "C" {

int open(char const* path, int flags, ...) {
    static auto const next = Next(&open, "open");
    va_list arguments;
    va_start(arguments, flags);
    unsigned int const mode = (flags & O_CREAT) ? va_arg(arguments, unsigned int) : 0;
    va_end(arguments);
    auto const describe = [&] {
        std::string const text =
            (flags & O_CREAT) ? Flags(flags) + " " + Octal(mode) : Flags(flags);
        return Call{"open", text, LastComponent(path)};
    };
    int const descriptor = Intercept(describe, -1, [&] { return next(path, flags, mode); });
    if (active)
        active->Opened(descriptor, path);
    return descriptor;
}

// The descriptor is closed even if the call is to fail.
int close(int descriptor) {
    static auto const next = Next(&close, "close");
    int const error = active ? active->Record(OfDescriptor("close", descriptor)).error : 0;
    int const result = next(descriptor);
    if (error == 0)
        return result;
    errno = error;
    return -1;
}

int fcntl(int descriptor, int command, ...) {
    static auto const next = Next(&fcntl, "fcntl");
    va_list arguments;
    va_start(arguments, command);
    // The other commands in use take a pointer or no argument.
    bool const takesNumber = command == F_SETFD || command == F_SETFL;
    long const argument = takesNumber ? va_arg(arguments, int) : va_arg(arguments, long);
    va_end(arguments);
    auto const make = [&] {
        return next(descriptor, command, argument);
    };
    if (command == F_SETFD)
        return Intercept(
            [&] { return OfDescriptor("setfd", descriptor, std::to_string(argument)); }, -1, make);
    if (command != F_SETLK)
        return make();
    auto const describe = [&] {
        bool const unlocks = reinterpret_cast<struct flock const*>(argument)->l_type == F_UNLCK;
        return OfDescriptor("setlk", descriptor, unlocks ? "UNLCK" : "WRLCK");
    };
    return Intercept(describe, -1, make);
}

off64_t lseek64(int descriptor, off64_t offset, int whence) noexcept {
    static auto const next = Next(&lseek64, "lseek64");
    auto const describe = [&] {
        return OfDescriptor("seek", descriptor, std::to_string(offset) + " " + Whence(whence));
    };
    return Intercept(describe, off64_t{-1}, [&] { return next(descriptor, offset, whence); });
}

ssize_t read(int descriptor, void* target, size_t count) {
    static auto const next = Next(&read, "read");
    ssize_t const allowed = Transfer("read", descriptor, count);
    return allowed < 0 ? allowed : next(descriptor, target, static_cast<size_t>(allowed));
}

ssize_t write(int descriptor, void const* source, size_t count) {
    static auto const next = Next(&write, "write");
    ssize_t const allowed = Transfer("write", descriptor, count);
    return allowed <= 0 ? allowed : next(descriptor, source, static_cast<size_t>(allowed));
}

int fsync(int descriptor) {
    static auto const next = Next(&fsync, "fsync");
    return Intercept([&] { return OfDescriptor("fsync", descriptor); }, -1,
                     [&] { return next(descriptor); });
}

int ftruncate64(int descriptor, off64_t length) noexcept {
    static auto const next = Next(&ftruncate64, "ftruncate64");
    return Intercept([&] { return OfDescriptor("ftruncate", descriptor, std::to_string(length)); },
                     -1, [&] { return next(descriptor, length); });
}

int lstat(char const* path, struct stat* information) noexcept {
    return InterceptPath("lstat", -1, &lstat, path, information);
}

int stat(char const* path, struct stat* information) noexcept {
    return InterceptPath("stat", -1,
                         static_cast<int (*)(char const*, struct stat*) noexcept>(&stat), path,
                         information);
}

int access(char const* path, int mode) noexcept {
    return InterceptPath("access", -1, &access, path, mode);
}

int statvfs(char const* path, struct statvfs* information) noexcept {
    return InterceptPath("statvfs", -1,
                         static_cast<int (*)(char const*, struct statvfs*) noexcept>(&statvfs),
                         path, information);
}

ssize_t readlink(char const* path, char* target, size_t size) noexcept {
    return InterceptPath("readlink", ssize_t{-1}, &readlink, path, target, size);
}

FILE* fopen(char const* path, char const* mode) {
    return InterceptPath("fopen", static_cast<FILE*>(nullptr), &fopen, path, mode);
}

int scandir(char const* path, dirent*** list, int (*selector)(dirent const*),
            int (*compare)(dirent const**, dirent const**)) {
    return InterceptPath("scandir", -1, &scandir, path, list, selector, compare);
}

int utimes(char const* path, timeval const* times) noexcept {
    return InterceptPath("utimes", -1, &utimes, path, times);
}

int mkdir(char const* path, mode_t mode) noexcept {
    return InterceptMode("mkdir", &mkdir, path, mode);
}

int rmdir(char const* path) noexcept { return InterceptPath("rmdir", -1, &rmdir, path); }

int unlink(char const* path) noexcept { return InterceptPath("unlink", -1, &unlink, path); }

int rename(char const* from, char const* to) noexcept {
    auto const describe = [&] {
        return Call{"rename", std::string(from) + " " + to, LastComponent(to)};
    };
    return Intercept(describe, -1, [&] { return Next(&rename, "rename")(from, to); });
}

int chmod(char const* path, mode_t mode) noexcept {
    return InterceptMode("chmod", &chmod, path, mode);
}

int mkstemp(char* pattern) { return InterceptPath("mkstemp", -1, &mkstemp, pattern); }

char* mkdtemp(char* pattern) noexcept {
    return InterceptPath("mkdtemp", static_cast<char*>(nullptr), &mkdtemp, pattern);
}

// The declaration is deprecated, so it is not used.
int readdir_r(DIR* directory, dirent* storage, dirent** entry) {
    static auto const next =
        Next(static_cast<int (*)(DIR*, dirent*, dirent**)>(nullptr), "readdir_r");
    int const error = active ? active->Record({"readdir", {}, {}}).error : 0;
    *entry = nullptr;
    return error ? error : next(directory, storage, entry);
}

mode_t umask(mode_t mask) noexcept {
    static auto const next = Next(&umask, "umask");
    if (active)
        active->Record({"umask", Octal(mask), {}});
    return next(mask);
}

// --wrap redirects the calls of these two functions to here.
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
