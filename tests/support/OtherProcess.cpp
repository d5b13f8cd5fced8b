#include "tests/support/OtherProcess.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <stdexcept>
#include <system_error>
#include <thread>

#include <fcntl.h>
#include <linux/close_range.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/support/ForwardedFailures.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr size_t maxMessageSize = 65536;

[[noreturn]] void ThrowSystemError(char const* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

int MemoryFile(std::string const& content = "") {
    int const file = MovedUp(memfd_create("test", MFD_CLOEXEC));
    if (pwrite(file, content.data(), content.size(), 0) != static_cast<ssize_t>(content.size()))
        ThrowSystemError("pwrite");
    return file;
}

std::string ReadMemoryFile(int file) {
    std::string content(static_cast<size_t>(lseek(file, 0, SEEK_END)), '\0');
    ssize_t const got = pread(file, content.data(), content.size(), 0);
    content.resize(got < 0 ? 0 : static_cast<size_t>(got));
    return content;
}

// Buffered output would otherwise be written twice after a fork.
pid_t FlushAndFork() {
    std::fflush(nullptr);
    pid_t const child = fork();
    if (child < 0)
        ThrowSystemError("fork");
    return child;
}

// If the parent ends, the process must end too.
void DieWithParent() { prctl(PR_SET_PDEATHSIG, SIGKILL); }

ExitStatus MakeExitStatus(int status) {
    return WIFSIGNALED(status) ? ExitStatus::Killed(WTERMSIG(status))
                               : ExitStatus::Exited(WEXITSTATUS(status));
}

// Whether there is a message to read, or a process to reap, before the timeout.
bool IsReady(int descriptor, milliseconds limit) {
    pollfd waiting{descriptor, POLLIN, 0};
    int ready = 0;
    while ((ready = poll(&waiting, 1, static_cast<int>(limit.count()))) < 0 && errno == EINTR) {
    }
    return ready > 0;
}

std::vector<char*> Pointers(std::vector<std::string> const& texts) {
    std::vector<char*> pointers;
    for (auto const& text : texts)
        pointers.push_back(const_cast<char*>(text.c_str()));
    pointers.push_back(nullptr);
    return pointers;
}

// Starts a program in its own process. Every failure is reported with its errno.
class ProgramStart {
public:
    ProgramStart(std::vector<std::string> const& theArguments, ProgramOptions const& theOptions)
        : options(theOptions),
          arguments(Pointers(theArguments)),
          environment(theOptions.environment ? Pointers(*theOptions.environment)
                                             : std::vector<char*>()) {}

    void Run(int input, int output, int errors) {
        if (dup2(input, 0) < 0 || dup2(output, 1) < 0 || dup2(errors, 2) < 0)
            return;
        if (!options.workingDirectory.empty() && chdir(options.workingDirectory.c_str()) != 0)
            return;
        for (auto const& [resource, limit] : options.limits) {
            rlimit const both{limit, limit};
            if (setrlimit(static_cast<__rlimit_resource>(resource), &both) != 0)
                return;
        }
        // The program does not inherit file descriptors of the test.
        close_range(3, ~0U, CLOSE_RANGE_CLOEXEC);
        for (int const descriptor : options.closedDescriptors)
            close(descriptor);
        if (!Prepare())
            return;
        DieWithParent();
        execve(arguments.front(), arguments.data(),
               options.environment ? environment.data() : environ);
    }

private:
    bool Prepare() const {
        try {
            if (!options.prepare || options.prepare())
                return true;
        } catch (std::exception const&) {
            // The parent throws, with the error number below.
        }
        errno = ECANCELED;
        return false;
    }

    ProgramOptions const& options;
    std::vector<char*> arguments;
    std::vector<char*> environment;
};

// Returns 0 if the connection was closed without a message, as by exec, or the errno that was sent.
int AwaitStart(int line) {
    int error = 0;
    while (recv(line, &error, sizeof error, 0) < 0 && errno == EINTR) {
    }
    return error;
}

} // namespace

std::ostream& operator<<(std::ostream& out, ExitStatus status) {
    if (status.signal != 0)
        return out << "killed by signal " << status.signal;
    return out << "exited with " << status.code;
}

Handshake::Handshake(int end) : descriptor(end) {}

Handshake::~Handshake() { close(descriptor); }

void Handshake::Tell(std::string const& message) {
    if (message.empty() || message.size() > maxMessageSize)
        throw std::runtime_error("a message has 1 to 65536 bytes");
    while (send(descriptor, message.data(), message.size(), MSG_NOSIGNAL) < 0 && errno == EINTR) {
    }
}

std::string Handshake::Await(milliseconds limit) {
    if (!IsReady(descriptor, limit))
        throw std::runtime_error("timeout: no message from the other process");
    std::string message(maxMessageSize, '\0');
    ssize_t const length = recv(descriptor, message.data(), message.size(), MSG_DONTWAIT);
    if (length <= 0)
        throw std::runtime_error("the other process ended without a message");
    message.resize(static_cast<size_t>(length));
    return message;
}

std::chrono::nanoseconds RunnableTime(std::string const& thread) {
    std::int64_t running = 0;
    std::int64_t waiting = 0;
    std::ifstream("/proc/" + thread + "/schedstat") >> running >> waiting;
    return std::chrono::nanoseconds(running + waiting);
}

ChildProcess::~ChildProcess() { KillAndReap(); }

void ChildProcess::Kill(int signal) {
    if (!ended)
        kill(child, signal);
}

bool ChildProcess::IsRunning() {
    siginfo_t end{};
    if (!ended && waitid(P_PID, static_cast<id_t>(child), &end, WEXITED | WNOHANG | WNOWAIT) == 0 &&
        end.si_pid == child)
        Reap();
    return !ended.has_value();
}

void ChildProcess::Reap() {
    // The files of an ended process in /proc exist until it is reaped.
    runnable = RunnableTime(std::to_string(child));
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    ended = MakeExitStatus(status);
}

void ChildProcess::KillAndReap() {
    // No process if the constructor threw. kill(2) of -1 would end all processes of the user.
    if (ended || child < 0)
        return;
    kill(child, SIGKILL);
    Reap();
}

ExitStatus ChildProcess::WaitUntilEnd(milliseconds limit) {
    if (!IsRunning())
        return *ended;
    auto const process = static_cast<int>(syscall(SYS_pidfd_open, child, 0));
    bool const hasEnded = IsReady(process, limit);
    close(process);
    if (!hasEnded) {
        KillAndReap();
        throw std::runtime_error("the other process was killed after the timeout");
    }
    // Blocks while the leak checker of an ended process still traces it.
    Reap();
    return *ended;
}

OtherProcess::OtherProcess(std::function<void()> const& body)
    : OtherProcess([&body](Handshake&) { body(); }) {}

OtherProcess::OtherProcess(std::function<void(Handshake&)> const& body)
    : failures(std::make_unique<ForwardedFailures>()) {
    auto const [parentEnd, childEnd] = MakeLine();
    line = std::make_unique<Handshake>(parentEnd);
    auto childLine = std::make_unique<Handshake>(childEnd);
    child = FlushAndFork();
    if (child != 0) {
        failures->BecomeParent();
        return;
    }
    DieWithParent();
    failures->BecomeChild();
    line.reset();
    RunForkedBody([&] { body(*childLine); });
    std::fflush(nullptr);
    _exit(0);
}

OtherProcess::~OtherProcess() {
    KillAndReap();
    failures->Take();
}

void OtherProcess::Tell(std::string const& message) { line->Tell(message); }

std::string OtherProcess::Await(milliseconds limit) {
    try {
        return line->Await(limit);
    } catch (std::runtime_error const&) {
        // A failure in the body is usually the reason.
        failures->Take();
        throw;
    }
}

ExitStatus OtherProcess::Wait(milliseconds limit) {
    auto const deadline = Clock::now() + limit;
    // Taken while waiting too, so a body with many failures never blocks.
    while (IsRunning() && Clock::now() < deadline) {
        failures->Take();
        std::this_thread::sleep_for(milliseconds(1));
    }
    failures->Take();
    return WaitUntilEnd(milliseconds(0));
}

OtherProgram::OtherProgram(std::vector<std::string> const& arguments,
                           ProgramOptions const& options) {
    int const inputFile = MemoryFile(options.input);
    outputFile = MemoryFile();
    errorsFile = MemoryFile();
    auto const [parentEnd, childEnd] = MakeLine();
    ProgramStart start(arguments, options);
    child = FlushAndFork();
    if (child == 0) {
        start.Run(inputFile, outputFile, errorsFile);
        int const error = errno;
        send(childEnd, &error, sizeof error, MSG_NOSIGNAL);
        _exit(127);
    }
    close(childEnd);
    close(inputFile);
    int const error = AwaitStart(parentEnd);
    close(parentEnd);
    if (error == 0)
        return;
    KillAndReap();
    close(outputFile);
    close(errorsFile);
    throw std::system_error(error, std::generic_category(), arguments.front());
}

OtherProgram::~OtherProgram() {
    KillAndReap();
    close(outputFile);
    close(errorsFile);
}

std::string OtherProgram::Output() const { return ReadMemoryFile(outputFile); }

std::string OtherProgram::Errors() const { return ReadMemoryFile(errorsFile); }

ProgramResult OtherProgram::Wait(milliseconds limit) {
    ExitStatus const status = WaitUntilEnd(limit);
    return {status, Output(), Errors(), runnable};
}

ProgramResult RunProgram(std::vector<std::string> const& arguments, ProgramOptions const& options,
                         milliseconds limit) {
    return OtherProgram(arguments, options).Wait(limit);
}
