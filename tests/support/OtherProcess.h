// Processes beside the one that runs a test: a forked body, or a program.
//
// Works in a Sandbox and outside, as any user. A failure of the support itself (a timeout, a failed
// fork or exec) is a std::runtime_error, so a test never hangs. No process outlives its object.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <sys/resource.h>
#include <sys/types.h>

class ForwardedFailures;

// How a process ended: with an exit status, or by a signal.
struct ExitStatus {
    // -1 if a signal killed it.
    int code = -1;
    // 0 if it exited.
    int signal = 0;

    bool operator==(ExitStatus const&) const = default;

    static ExitStatus Exited(int code) { return {code, 0}; }
    static ExitStatus Killed(int signal) { return {-1, signal}; }
};

std::ostream& operator<<(std::ostream& out, ExitStatus status);

// One end of a connection between two processes. Each `Tell` sends one message, which one `Await`
// of the other side receives. Messages keep their order and boundaries, and have at most 64 kB.
class Handshake {
public:
    explicit Handshake(int end);
    ~Handshake();
    Handshake(Handshake const&) = delete;
    Handshake& operator=(Handshake const&) = delete;

    // Has no effect if the other process has ended.
    void Tell(std::string const& message = "go");
    // Throws if no message arrives before the timeout, or if the other side has ended without one.
    std::string Await(std::chrono::milliseconds limit = std::chrono::seconds(30));

private:
    int const descriptor;
};

// The time for which a thread has run or waited for a processor: the first two numbers of
// /proc/THREAD/schedstat (proc(5)). 0 if the kernel does not count them.
std::chrono::nanoseconds RunnableTime(std::string const& thread);

// A process of the test, killed and reaped by the destructor.
class ChildProcess {
public:
    ChildProcess(ChildProcess const&) = delete;
    ChildProcess& operator=(ChildProcess const&) = delete;

    // As seen from the process that created this object.
    pid_t pid() const { return child; }
    void Kill(int signal);
    // Does not wait.
    bool IsRunning();

protected:
    ChildProcess() = default;
    ~ChildProcess();
    void Reap();
    void KillAndReap();
    ExitStatus WaitUntilEnd(std::chrono::milliseconds limit);

    pid_t child = -1;
    std::optional<ExitStatus> ended;
    // Of its main thread, after its end.
    std::chrono::nanoseconds runnable{};
};

// A body in its own process, started by the constructor.
//
// Failed checks, skips and exceptions of the body are repeated in the test, with their text, by
// Wait or the destructor. The process ends with _exit(0) after the body, so no object of the parent
// is destroyed and no output is written twice. A body that needs a normal exit calls std::exit
// itself.
class OtherProcess : public ChildProcess {
public:
    explicit OtherProcess(std::function<void()> const& body);
    // The body takes its end of the connection.
    explicit OtherProcess(std::function<void(Handshake&)> const& body);
    ~OtherProcess();

    void Tell(std::string const& message = "go");
    std::string Await(std::chrono::milliseconds limit = std::chrono::seconds(30));

    // Waits until it ends. Kills it and throws after the timeout. May be called again.
    ExitStatus Wait(std::chrono::milliseconds limit = std::chrono::seconds(60));

private:
    std::unique_ptr<ForwardedFailures> failures;
    std::unique_ptr<Handshake> line;
};

struct ProgramOptions {
    // The bytes of its standard input.
    std::string input = {};
    // The whole environment, as "NAME=value"; none means that of the test.
    std::optional<std::vector<std::string>> environment = {};
    std::string workingDirectory = {};
    // Those of 0 to 2 that are closed when the program starts. No other descriptor is open then.
    std::vector<int> closedDescriptors = {};
    // For example {RLIMIT_AS, 100 MB}. Sets the soft and the hard limit.
    std::vector<std::pair<int, rlim_t>> limits = {};
    // Runs in the new process immediately before the program: for umask, signals, dropped
    // privileges. It can pass a descriptor to the program by dup2 or by clearing its close-on-exec
    // flag. The start fails if it returns false or throws.
    std::function<bool()> prepare = {};
};

struct ProgramResult {
    ExitStatus status;
    std::string output;
    std::string errors;
    // The RunnableTime of its main thread.
    std::chrono::nanoseconds runnable;
};

// A program, started by the constructor. Its standard output and standard error are files in
// memory, so writing never blocks, and the output so far can be read at any time.
class OtherProgram : public ChildProcess {
public:
    // The first argument is the path of the program; PATH is not searched.
    explicit OtherProgram(std::vector<std::string> const& arguments,
                          ProgramOptions const& options = {});
    ~OtherProgram();

    std::string Output() const;
    std::string Errors() const;

    // Waits until it ends. Kills it and throws after the timeout. May be called again.
    ProgramResult Wait(std::chrono::milliseconds limit = std::chrono::seconds(60));

private:
    int outputFile = -1;
    int errorsFile = -1;
};

// Starts a program and waits for its end.
ProgramResult RunProgram(std::vector<std::string> const& arguments,
                         ProgramOptions const& options = {},
                         std::chrono::milliseconds limit = std::chrono::seconds(60));
