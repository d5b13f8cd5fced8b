// Records the system calls of the code under test, and makes them fail or transfer less.
//
// The replaced functions:
// - open, close, fcntl, lseek64, read, write, fsync, ftruncate64
// - lstat, stat, access, statvfs, readdir_r, utimes, readlink, fopen, scandir
// - mkdir, rmdir, unlink, rename, chmod, umask, mkstemp, mkdtemp
//
// They are replaced in each program that links this source. Without an object
// of this class, the replacements call the system. Calls inside the C library are not recorded.
// The linker needs the option --wrap for malloc and free (see SystemCalls.cpp).
#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <string>
#include <vector>

// Records from construction to destruction. Not thread-safe; at most one object exists at a time.
class SystemCalls {
public:
    SystemCalls();
    ~SystemCalls();
    SystemCalls(SystemCalls const&) = delete;
    SystemCalls& operator=(SystemCalls const&) = delete;

    // Returns the calls so far, without file descriptors. Examples: "open RDWR|CREAT 666", "setfd
    // 1", "seek 5 SET", "read 10", "close", "mkdir /x 777", "rename /x /y", "umask 22",
    // "setlk WRLCK". Calls that have only a path have the form "lstat /x".
    std::vector<std::string> const& Log() const { return log; }
    // The same for the calls of these names only.
    std::vector<std::string> Log(std::vector<std::string> const& names) const;
    void Clear() { log.clear(); }

    // Returns the number of calls whose text begins with `name`.
    std::size_t Count(std::string const& name) const;

    // Makes the next call of that name, after `skip` of them, fail with that error number. The call
    // is not executed, except for close, so that no descriptor leaks.
    void Fail(std::string const& name, int error, std::size_t skip = 0);

    // As Fail, but all further calls of that name fail.
    void FailFromThenOn(std::string const& name, int error, std::size_t skip = 0);

    // Limits the next read or write, after `skip` of them, to that many bytes.
    void Limit(std::string const& name, std::size_t bytes, std::size_t skip = 0);

    // Runs the action before the next call of that name, after `skip` of them, to simulate a race
    // with another process. Calls of the action are not recorded.
    void Before(std::string const& name, std::function<void()> action, std::size_t skip = 0);

    // Decides the outcome of calls to which none of the above applies.
    struct Call {
        std::string name;
        std::string arguments;
        // The last component of the path, or of the path that was opened as the file descriptor.
        std::string object;
        int descriptor = -1;
    };
    struct Answer {
        int error = 0;
        std::size_t limit = ~std::size_t{0};
    };
    using Decision = std::function<Answer(Call const&)>;
    void Decide(Decision const& byTest) { decision = byTest; }

    // Suspends recording during its lifetime.
    class Pause {
    public:
        Pause();
        ~Pause();
        Pause(Pause const&) = delete;
        Pause& operator=(Pause const&) = delete;

    private:
        SystemCalls* const paused;
    };

    // Makes the next direct call of malloc (not by new, nor inside the C library) return null.
    static void FailMalloc();

    // Returns the number of blocks that this thread has released by free, except inside the C
    // library. Null pointers are not counted. Blocks released by delete are, if delete calls free.
    static std::size_t Freed();

    // For the replacement functions.
    static SystemCalls* Active();
    Answer Record(Call call);
    void Opened(int descriptor, std::string const& path);

private:
    struct Rule {
        std::string name;
        std::size_t skip = 0;
        Answer answer = {};
        std::function<void()> action = {};
        bool lasts = false;
    };

    Rule* FindRule(std::string const& name);

    std::vector<std::string> log;
    std::deque<Rule> rules;
    Decision decision;
    std::vector<std::string> objects;
};
