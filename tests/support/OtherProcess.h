// Processes beside the one that runs a test: a forked body, or a program.
//
// All of it works inside a Sandbox and outside, as any user. What goes wrong in the support
// itself (a time limit, a failed fork or exec) is a std::runtime_error, which gtest and the bodies
// turn into a failure, so a test never hangs. No process outlives the object that made it.
#pragma once

#include <chrono>
#include <functional>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <sys/resource.h>
#include <sys/types.h>

class ForwardedFailures;

// How a process ended: with an exit status, or by a signal.
struct ExitStatus {
    // -1 if a signal ended it.
    int code = -1;
    // 0 if it exited.
    int signal = 0;

    bool operator==(ExitStatus const&) const = default;

    static ExitStatus Exited(int code) { return {code, 0}; }
    static ExitStatus Killed(int signal) { return {-1, signal}; }
};

std::ostream& operator<<(std::ostream& out, ExitStatus status);

// One end of a line between two processes. Each Tell is one message for one Await on the other
// side; messages keep their order and their borders. A message has at most 64 kB.
class Handshake {
public:
    explicit Handshake(int end);
    ~Handshake();
    Handshake(Handshake const&) = delete;
    Handshake& operator=(Handshake const&) = delete;

    // A process that is gone hears nothing; that is no error.
    void Tell(std::string const& message = "go");
    // Throws if nothing comes within the limit, or if the other side is gone.
    std::string Await(std::chrono::milliseconds limit = std::chrono::seconds(30));

private:
    int const descriptor;
};

// A process of the test, killed and reaped with the object.
class ChildProcess {
public:
    ChildProcess(ChildProcess const&) = delete;
    ChildProcess& operator=(ChildProcess const&) = delete;

    // As seen from the process that made this object.
    pid_t pid() const { return child; }
    void Kill(int signal);
    // Does not wait.
    bool IsRunning();

protected:
    ChildProcess() = default;
    ~ChildProcess();
    void KillAndReap();
    ExitStatus WaitUntilEnd(std::chrono::milliseconds limit);

    pid_t child = -1;
    std::optional<ExitStatus> ended;
};

// A body in a process of its own, started by the constructor.
//
// Checks that fail in the body, skips, and exceptions that leave it are failures of the test, in
// its words, from the call of Wait (or the destructor) on. The process ends with _exit(0) behind
// the body, so that nothing of the parent's is destroyed or printed twice; a body that wants a
// normal exit calls std::exit itself.
class OtherProcess : public ChildProcess {
public:
    explicit OtherProcess(std::function<void()> const& body);
    // The body's end of the line is handed to it.
    explicit OtherProcess(std::function<void(Handshake&)> const& body);
    ~OtherProcess();

    void Tell(std::string const& message = "go");
    std::string Await(std::chrono::milliseconds limit = std::chrono::seconds(30));

    // Waits for its end, at most so long; then kills it and throws. May be called again.
    ExitStatus Wait(std::chrono::milliseconds limit = std::chrono::seconds(60));

private:
    std::unique_ptr<ForwardedFailures> failures;
    std::unique_ptr<Handshake> line;
};

struct ProgramOptions {
    // What it reads as its standard input.
    std::string input = {};
    // The whole environment, as "NAME=value"; none means that of the test.
    std::optional<std::vector<std::string>> environment = {};
    std::string workingDirectory = {};
    // Those of 0 to 2 that are closed when the program starts. No other is ever open then.
    std::vector<int> closedDescriptors = {};
    // For example {RLIMIT_AS, 100 MB}. Soft and hard limit at once.
    std::vector<std::pair<int, rlim_t>> limits = {};
    // Runs in the new process, last before the program: for umask, signals, dropped privileges.
    // It can hand a descriptor on by dup2 or by clearing its close-on-exec flag. Returns false (or
    // throws) to give up.
    std::function<bool()> prepare = {};
};

struct ProgramResult {
    ExitStatus status;
    std::string output;
    std::string errors;
};

// A program, started by the constructor. Its standard output and its standard error go to files in
// memory, so it never blocks on them, and what has come so far can be read at any time.
class OtherProgram : public ChildProcess {
public:
    // The first argument is the path of the program; no search through PATH.
    explicit OtherProgram(std::vector<std::string> const& arguments,
                          ProgramOptions const& options = {});
    ~OtherProgram();

    std::string Output() const;
    std::string Errors() const;

    // Waits for its end, at most so long; then kills it and throws. May be called again.
    ProgramResult Wait(std::chrono::milliseconds limit = std::chrono::seconds(60));

private:
    int outputFile = -1;
    int errorsFile = -1;
};

// Starts a program and waits for its end.
ProgramResult RunProgram(std::vector<std::string> const& arguments,
                         ProgramOptions const& options = {},
                         std::chrono::milliseconds limit = std::chrono::seconds(60));
