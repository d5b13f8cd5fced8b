// Stands between a program and the C library, and lets chosen calls fail: preloaded by the tests.
//
// Told by environment variables of its own:
//
//   FAILING_CALLS  faults, each "NAME ERROR NUMBER once;" or "NAME ERROR NUMBER lasting;": the
//                  NUMBER-th call of that name (from 1) fails, and all behind it if lasting. The
//                  call is not made; but a close is, so that no descriptor is left over.
//   CUT_WRITES     "OPENING OFFSET ERROR": the OPENING-th time that a file is created or emptied
//                  for writing, a write across that offset stops short there, and one at the
//                  offset fails if ERROR is not 0.
//   CALLS_LOG      a file for the names of all calls, one a line, each with the last component of
//                  what it is about; "own" for the number of the program's own process.
//   PLAYED_AGENT   a directory with answers named 1, 2 ...: a sleep of a second or more takes a
//                  request that waits, keeps it there as request1, request2 ..., and publishes the
//                  answer of that number. Without that answer, or without the variable, nobody
//                  answers.
//
// No sleep lasts. What the shim itself asks of the system passes the C library by, so it is neither
// counted nor failed.
#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

constexpr char const* requestFile = "/var/opt/VeskaClient/RequestDir/request.xml";
constexpr char const* responseTemp = "/var/opt/VeskaClient/ResponseDir/responseTemp.xml";
constexpr char const* responseFile = "/var/opt/VeskaClient/ResponseDir/response.xml";

// The function that the program would have called without us.
template <class Function>
Function* Next(Function*, char const* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

long OpenQuietly(char const* path, int flags) {
    return syscall(SYS_openat, AT_FDCWD, path, flags | O_CLOEXEC, 0666);
}

char const* Setting(char const* name) {
    char const* const value = std::getenv(name);
    return value ? value : "";
}

// The log, kept in memory until the end or until it is full.
class Log {
public:
    void Add(char const* name, char const* object, long number) {
        if (*Setting(variable) == '\0')
            return;
        if (sizeof text - length < 512)
            Flush();
        char digits[32] = "";
        if (number >= 0)
            std::snprintf(digits, sizeof digits, " %ld", number);
        int const added = std::snprintf(text + length, 512, "%s%s%s%s\n", name, *object ? " " : "",
                                        object, digits);
        length += static_cast<size_t>(added);
    }

    void Flush() {
        if (length == 0)
            return;
        long const file = OpenQuietly(Setting(variable), O_WRONLY | O_CREAT | O_APPEND);
        syscall(SYS_write, file, text, length);
        syscall(SYS_close, file);
        length = 0;
    }

private:
    static constexpr char const* variable = "CALLS_LOG";
    char text[65536];
    size_t length = 0;
};

Log theLog;

// Behind all that the program itself does at its end.
[[gnu::destructor]] void EndLog() { theLog.Flush(); }

struct Fault {
    char name[16];
    int error;
    long number;
    bool lasting;
    long seen;
};

class Faults {
public:
    Faults() {
        char const* text = Setting("FAILING_CALLS");
        while (count < most && *text != '\0') {
            Fault& fault = faults[count++];
            char duration[16] = "";
            std::sscanf(text, "%15s %d %ld %15[^;]", fault.name, &fault.error, &fault.number,
                        duration);
            fault.lasting = std::strcmp(duration, "lasting") == 0;
            fault.seen = 0;
            char const* const end = std::strchr(text, ';');
            text = end ? end + 1 : "";
        }
    }

    // The number that the call is to fail with, or 0.
    int Next(char const* name) {
        int error = 0;
        for (size_t i = 0; i < count; ++i) {
            Fault& fault = faults[i];
            if (std::strcmp(fault.name, name) != 0)
                continue;
            ++fault.seen;
            if (error == 0 &&
                (fault.seen == fault.number || (fault.lasting && fault.seen > fault.number)))
                error = fault.error;
        }
        return error;
    }

private:
    static constexpr size_t most = 4;
    Fault faults[most];
    size_t count = 0;
};

Faults& TheFaults() {
    static Faults faults;
    return faults;
}

// Where writes are cut; of one file at a time.
struct Cut {
    Cut() { std::sscanf(Setting("CUT_WRITES"), "%d %ld %d", &opening, &offset, &error); }

    void Opened(int descriptor) {
        if (++seen == opening)
            file = descriptor;
    }

    void Closed(int descriptor) {
        if (descriptor == file)
            file = -1;
    }

    int opening = 0;
    long offset = 0;
    int error = 0;
    int seen = 0;
    int file = -1;
};

Cut& TheCut() {
    static Cut cut;
    return cut;
}

char const* LastComponent(char const* path) {
    char const* const slash = std::strrchr(path, '/');
    return slash ? slash + 1 : path;
}

// What each descriptor was opened on.
constexpr int maxDescriptors = 64;
char objects[maxDescriptors][64];

char const* Object(int descriptor) {
    return descriptor >= 0 && descriptor < maxDescriptors ? objects[descriptor] : "";
}

void Remember(int descriptor, char const* path) {
    if (descriptor >= 0 && descriptor < maxDescriptors)
        std::snprintf(objects[descriptor], sizeof objects[descriptor], "%s", LastComponent(path));
}

// Records a call and yields the number that it fails with, or 0.
int Ask(char const* name, char const* object, long number = -1) {
    int const before = errno;
    theLog.Add(name, object, number);
    errno = before;
    return TheFaults().Next(name);
}

template <class Result>
Result Refuse(int error, Result result) {
    errno = error;
    return result;
}

bool CopyQuietly(char const* from, char const* to) {
    long const source = OpenQuietly(from, O_RDONLY);
    if (source < 0)
        return false;
    long const target = OpenQuietly(to, O_WRONLY | O_CREAT | O_TRUNC);
    char bytes[4096];
    long count = 0;
    while ((count = syscall(SYS_read, source, bytes, sizeof bytes)) > 0)
        syscall(SYS_write, target, bytes, count);
    syscall(SYS_close, source);
    syscall(SYS_close, target);
    return true;
}

// One turn of the agent.
void PlayAgent() {
    static int taken = 0;
    char const* const directory = Setting("PLAYED_AGENT");
    if (*directory == '\0' || syscall(SYS_access, requestFile, F_OK) != 0)
        return;
    char path[256];
    std::snprintf(path, sizeof path, "%s/request%d", directory, ++taken);
    CopyQuietly(requestFile, path);
    std::snprintf(path, sizeof path, "%s/%d", directory, taken);
    if (!CopyQuietly(path, responseTemp))
        return;
    syscall(SYS_rename, responseTemp, responseFile);
    syscall(SYS_unlink, requestFile);
}

} // namespace

extern "C" {

int open(char const* path, int flags, ...) {
    static auto const next = Next(&open, "open");
    va_list arguments;
    va_start(arguments, flags);
    unsigned int const mode = (flags & O_CREAT) ? va_arg(arguments, unsigned int) : 0;
    va_end(arguments);
    if (int const error = Ask("open", LastComponent(path)))
        return Refuse(error, -1);
    int const descriptor = next(path, flags, mode);
    Remember(descriptor, path);
    if (descriptor >= 0 && (flags & O_TRUNC))
        TheCut().Opened(descriptor);
    return descriptor;
}

int close(int descriptor) {
    static auto const next = Next(&close, "close");
    int const error = Ask("close", Object(descriptor));
    TheCut().Closed(descriptor);
    int const result = next(descriptor);
    return error ? Refuse(error, -1) : result;
}

int fcntl(int descriptor, int command, ...) {
    static auto const next = Next(&fcntl, "fcntl");
    va_list arguments;
    va_start(arguments, command);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    char const* const name = command == F_SETFD ? "setfd" : command == F_SETLK ? "setlk" : nullptr;
    if (name)
        if (int const error = Ask(name, Object(descriptor)))
            return Refuse(error, -1);
    return next(descriptor, command, argument);
}

off64_t lseek64(int descriptor, off64_t offset, int whence) noexcept {
    static auto const next = Next(&lseek64, "lseek64");
    if (int const error = Ask("seek", Object(descriptor)))
        return Refuse(error, off64_t{-1});
    return next(descriptor, offset, whence);
}

ssize_t read(int descriptor, void* target, size_t count) {
    static auto const next = Next(&read, "read");
    if (int const error = Ask("read", Object(descriptor)))
        return Refuse(error, ssize_t{-1});
    return next(descriptor, target, count);
}

ssize_t write(int descriptor, void const* source, size_t count) {
    static auto const next = Next(&write, "write");
    if (int const error = Ask("write", Object(descriptor), static_cast<long>(count)))
        return Refuse(error, ssize_t{-1});
    Cut const& cut = TheCut();
    if (descriptor == cut.file) {
        long const position = syscall(SYS_lseek, descriptor, 0, SEEK_CUR);
        if (position == cut.offset && cut.error != 0)
            return Refuse(cut.error, ssize_t{-1});
        long const left = cut.offset - position;
        if (left > 0 && left < static_cast<long>(count))
            count = static_cast<size_t>(left);
    }
    return next(descriptor, source, count);
}

int fsync(int descriptor) {
    static auto const next = Next(&fsync, "fsync");
    if (int const error = Ask("fsync", Object(descriptor)))
        return Refuse(error, -1);
    return next(descriptor);
}

int lstat(char const* path, struct stat* information) noexcept {
    static auto const next = Next(&lstat, "lstat");
    if (int const error = Ask("lstat", LastComponent(path)))
        return Refuse(error, -1);
    return next(path, information);
}

int stat(char const* path, struct stat* information) noexcept {
    static auto const next =
        Next(static_cast<int (*)(char const*, struct stat*) noexcept>(&stat), "stat");
    char const* const object = LastComponent(path);
    if (int const error = Ask("stat", std::atol(object) == getpid() ? "own" : object))
        return Refuse(error, -1);
    return next(path, information);
}

int rename(char const* from, char const* to) noexcept {
    static auto const next = Next(&rename, "rename");
    if (int const error = Ask("rename", LastComponent(to)))
        return Refuse(error, -1);
    return next(from, to);
}

int unlink(char const* path) noexcept {
    static auto const next = Next(&unlink, "unlink");
    if (int const error = Ask("unlink", LastComponent(path)))
        return Refuse(error, -1);
    return next(path);
}

ssize_t readlink(char const* path, char* target, size_t size) noexcept {
    static auto const next = Next(&readlink, "readlink");
    if (int const error = Ask("readlink", LastComponent(path)))
        return Refuse(error, ssize_t{-1});
    return next(path, target, size);
}

DIR* opendir(char const* path) {
    static auto const next = Next(&opendir, "opendir");
    if (int const error = Ask("opendir", LastComponent(path)))
        return Refuse(error, static_cast<DIR*>(nullptr));
    return next(path);
}

int readdir_r(DIR* directory, dirent* entry, dirent** result) {
    static auto const next =
        reinterpret_cast<int (*)(DIR*, dirent*, dirent**)>(dlsym(RTLD_NEXT, "readdir_r"));
    if (int const error = Ask("readdir", "")) {
        *result = nullptr;
        return error;
    }
    return next(directory, entry, result);
}

int closedir(DIR* directory) {
    static auto const next = Next(&closedir, "closedir");
    int const error = Ask("closedir", "");
    int const result = next(directory);
    return error ? Refuse(error, -1) : result;
}

// Interrupted, it leaves the agent no time.
unsigned int sleep(unsigned int seconds) {
    if (Ask("sleep", "", static_cast<long>(seconds)))
        return seconds;
    PlayAgent();
    return 0;
}

int usleep(useconds_t microseconds) {
    if (int const error = Ask("usleep", "", static_cast<long>(microseconds)))
        return Refuse(error, -1);
    return 0;
}

} // extern "C"
