// The system calls of the code under test: recorded, and answered as the test wants.
//
// The program that links this has its calls of open, close, fcntl, lseek64, read, write, fsync,
// ftruncate64, lstat, stat, access, statvfs, readdir_r, utimes, mkdir, rmdir, unlink, rename,
// chmod, umask, readlink, fopen, scandir, mkstemp and mkdtemp replaced. Without an object of this
// class they are those of the system. The C library's own use of them is not seen.
#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <string>
#include <vector>

// Records from its construction to its destruction. One at a time, one thread.
class SystemCalls {
public:
    SystemCalls();
    ~SystemCalls();
    SystemCalls(SystemCalls const&) = delete;
    SystemCalls& operator=(SystemCalls const&) = delete;

    // The calls so far, as "open RDWR|CREAT 666", "setfd 1", "seek 5 SET", "read 10", "write 3",
    // "ftruncate 7", "fsync", "close", "lstat /x", "mkdir /x 777", "rename /x /y", "chmod /x 644",
    // "umask 22", "readdir", "setlk WRLCK", and all others as "name /x". Descriptors are left out.
    std::vector<std::string> const& Log() const { return log; }
    void Clear() { log.clear(); }

    // How many calls have a text that begins with `name`.
    std::size_t Count(std::string const& name) const;

    // The next call of that name, after `skip` of them, fails with that error number. It is not
    // made; but a close is, so that no descriptor is left over.
    void Fail(std::string const& name, int error, std::size_t skip = 0);

    // As Fail, and all further calls of that name fail too.
    void FailFromThenOn(std::string const& name, int error, std::size_t skip = 0);

    // The next read or write, after `skip` of them, moves at most so many bytes.
    void Limit(std::string const& name, std::size_t bytes, std::size_t skip = 0);

    // The action runs in front of the next call of that name, after `skip` of them, as if another
    // process were quicker. Its own calls are not recorded.
    void Before(std::string const& name, std::function<void()> action, std::size_t skip = 0);

    // A call, and how it is answered where none of the above applies.
    struct Call {
        std::string name;
        std::string arguments;
        // The last component of its path or, for a file descriptor, of the path that was opened.
        std::string object;
        int descriptor = -1;
    };
    struct Answer {
        int error = 0;
        std::size_t limit = ~std::size_t{0};
    };
    using Decision = std::function<Answer(Call const&)>;
    void Decide(Decision const& byTest) { decision = byTest; }

    // While one of these lives, calls go straight on to the system.
    class Pause {
    public:
        Pause();
        ~Pause();
        Pause(Pause const&) = delete;
        Pause& operator=(Pause const&) = delete;

    private:
        SystemCalls* const paused;
    };

    // The next malloc by name (not by new, nor inside the C library) yields null.
    static void FailMalloc();

    // The blocks that this thread has given back by free so far, not inside the C library. Null
    // pointers are not counted; what delete gives back is, where it goes through free.
    static std::size_t Freed();

    // For the functions that replace those of the system.
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
