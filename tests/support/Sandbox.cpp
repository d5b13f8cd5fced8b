#include "tests/support/Sandbox.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <stdexcept>

#include <fcntl.h>
#include <grp.h>
#include <linux/capability.h>
#include <linux/securebits.h>
#include <poll.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/support/ForwardedFailures.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// The additional time that the outermost process waits.
constexpr auto graceTime = std::chrono::seconds(10);
constexpr int setUpFailed = 99;

// Thrown for a step that this host does not permit.
class Refused : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

bool IsRefusal(int error) {
    return error == EPERM || error == EACCES || error == ENOSYS || error == EINVAL ||
           error == ENOSPC || error == EUSERS;
}

void Check(int result, std::string const& step) {
    if (result == 0)
        return;
    int const error = errno;
    std::string const text = step + ": " + std::strerror(error);
    if (IsRefusal(error))
        throw Refused(text);
    throw std::runtime_error(text);
}

void WriteControlFile(char const* path, std::string const& text) {
    int const file = open(path, O_WRONLY | O_CLOEXEC);
    ssize_t const written = file < 0 ? -1 : write(file, text.data(), text.size());
    Check(written < 0 ? -1 : 0, path);
    close(file);
}

void EnterNamespaces() {
    uid_t const user = geteuid();
    gid_t const group = getegid();
    int const ours = CLONE_NEWNS | CLONE_NEWPID;
    if (unshare(ours) == 0)
        return;
    Check(unshare(CLONE_NEWUSER | ours), "a user namespace");
    WriteControlFile("/proc/self/setgroups", "deny");
    WriteControlFile("/proc/self/uid_map", "0 " + std::to_string(user) + " 1");
    WriteControlFile("/proc/self/gid_map", "0 " + std::to_string(group) + " 1");
}

void MountTmpfs(std::string const& place) {
    Check(mount("tmpfs", place.c_str(), "tmpfs", MS_NOSUID | MS_NODEV, "mode=0755"), place);
}

// Makes an entry of the old root directory visible in the new one.
void BindEntry(fs::directory_entry const& entry, fs::path const& target) {
    if (entry.is_symlink()) {
        fs::copy_symlink(entry, target);
    } else if (entry.is_directory()) {
        fs::create_directory(target);
        Check(mount(entry.path().c_str(), target.c_str(), nullptr, MS_BIND | MS_REC, nullptr),
              target);
    }
}

// Builds a root directory without /proc: a tmpfs mounted on /proc, with bind mounts of all other
// entries of the old root. Not every host permits unmounting /proc.
void BuildRootWithoutProc() {
    MountTmpfs("/proc");
    for (auto const& entry : fs::directory_iterator("/"))
        if (entry.path() != "/proc")
            BindEntry(entry, "/proc" / entry.path().relative_path());
    Check(chroot("/proc"), "chroot");
    Check(chdir("/"), "chdir");
}

void MountProc(Sandbox::Proc proc) {
    switch (proc) {
    case Sandbox::Proc::own:
        return Check(mount("proc", "/proc", "proc", MS_NOSUID | MS_NODEV | MS_NOEXEC, nullptr),
                     "/proc");
    case Sandbox::Proc::empty:
        return MountTmpfs("/proc");
    case Sandbox::Proc::none:
        return BuildRootWithoutProc();
    }
}

void MountAll(Sandbox::Options const& options) {
    Check(mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr), "private propagation");
    MountTmpfs("/opt");
    MountTmpfs("/var/opt");
    for (auto const& place : options.emptyPlaces)
        MountTmpfs(place);
    MountProc(options.proc);
}

void Reap(pid_t process) {
    while (waitpid(process, nullptr, 0) < 0 && errno == EINTR) {
    }
}

// Runs a step of the setup. Sends its exception to the test and exits.
template <typename Step>
void SetUpOrExit(ForwardedFailures& line, Step const& step) {
    try {
        return step();
    } catch (Refused const& caught) {
        line.SendUnavailable(caught.what());
    } catch (std::exception const& caught) {
        line.SendFailure("cannot create the sandbox: " + std::string(caught.what()));
    }
    _exit(setUpFailed);
}

pid_t ForkOrExit(ForwardedFailures& line) {
    pid_t child = -1;
    SetUpOrExit(line, [&] { Check((child = fork()) < 0 ? -1 : 0, "fork"); });
    return child;
}

// Reaps all processes until the body ends, or the timeout expires. Returns whether the body ended.
bool ReapUntil(pid_t body, Clock::time_point deadline, sigset_t const& childSignal, int& status) {
    for (;;) {
        pid_t ended = 0;
        while ((ended = waitpid(-1, &status, WNOHANG)) > 0)
            if (ended == body)
                return true;
        auto const left = deadline - Clock::now();
        if (left.count() <= 0)
            return false;
        timespec const wait{left.count() / 1'000'000'000, left.count() % 1'000'000'000};
        sigtimedwait(&childSignal, nullptr, &wait);
    }
}

void KillAndReapAll() {
    kill(-1, SIGKILL);
    while (waitpid(-1, nullptr, 0) > 0 || errno == EINTR) {
    }
}

std::string DescribeFailure(int status) {
    return "the body in the sandbox " +
           (WIFSIGNALED(status) ? "was killed by signal " + std::to_string(WTERMSIG(status))
                                : "exited with " + std::to_string(WEXITSTATUS(status)));
}

// Process 1 of the sandbox.
[[noreturn]] void RunInit(Sandbox::Options const& options, std::function<void()> const& body,
                          ForwardedFailures& line) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    auto const deadline = Clock::now() + options.limit;
    SetUpOrExit(line, [&] { MountAll(options); });
    sigset_t childSignal;
    sigset_t oldMask;
    sigemptyset(&childSignal);
    sigaddset(&childSignal, SIGCHLD);
    sigprocmask(SIG_BLOCK, &childSignal, &oldMask);
    pid_t const child = ForkOrExit(line);
    if (child == 0) {
        sigprocmask(SIG_SETMASK, &oldMask, nullptr);
        RunForkedBody(body);
        std::fflush(nullptr);
        line.SendFinished();
        _exit(0);
    }
    int status = 0;
    bool const ended = ReapUntil(child, deadline, childSignal, status);
    KillAndReapAll();
    if (!ended)
        line.SendFailure("the body in the sandbox was killed after the timeout");
    else if (status != 0)
        line.SendFailure(DescribeFailure(status));
    _exit(0);
}

// The process between the test and the sandbox: its children are in the new namespaces.
[[noreturn]] void Launch(Sandbox::Options const& options, std::function<void()> const& body,
                         ForwardedFailures& line) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    // In its own session, so a signal to the process group does not reach the test.
    setsid();
    std::signal(SIGCHLD, SIG_DFL);
    umask(022);
    SetUpOrExit(line, [&] { EnterNamespaces(); });
    pid_t const init = ForkOrExit(line);
    if (init == 0)
        RunInit(options, body, line);
    Reap(init);
    _exit(0);
}

// Forwards failures until the sandbox ends or the deadline expires. Returns whether it ended.
bool TakeUntilEnd(ForwardedFailures& line, Clock::time_point deadline) {
    while (line.Take()) {
        auto const left = std::chrono::duration_cast<milliseconds>(deadline - Clock::now());
        if (left.count() <= 0)
            return false;
        pollfd waiting{line.descriptor(), POLLIN, 0};
        poll(&waiting, 1, static_cast<int>(left.count()));
    }
    return true;
}

void SkipOrFail(std::string const& reason) {
    char const* const ci = std::getenv("CI");
    std::string const text = "this host forbids the namespaces of a sandbox: " + reason;
    if (ci && *ci)
        FAIL() << text;
    GTEST_SKIP() << text;
}

// Removes capabilities so that no later exec can regain them.
void ClearCapabilities() {
    prctl(PR_CAP_AMBIENT, PR_CAP_AMBIENT_CLEAR_ALL, 0, 0, 0);
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    std::array<__user_cap_data_struct, 2> none{};
    if (syscall(SYS_capset, &header, none.data()) != 0)
        throw std::system_error(errno, std::generic_category(), "capset");
}

} // namespace

namespace Sandbox {

void Run(std::function<void()> const& body) { Run(Options(), body); }

void RunWithDirectories(std::function<void()> const& body, Options const& options) {
    Run(options, [&] {
        CreateAgentDirectories();
        body();
    });
}

void Run(Options const& options, std::function<void()> const& body) {
    ForwardedFailures line;
    std::fflush(nullptr);
    pid_t const launcher = fork();
    if (launcher < 0)
        throw std::system_error(errno, std::generic_category(), "fork");
    if (launcher == 0) {
        line.BecomeChild();
        Launch(options, body, line);
    }
    line.BecomeParent();
    bool const endedByItself = TakeUntilEnd(line, Clock::now() + options.limit + graceTime);
    if (!endedByItself)
        kill(launcher, SIGKILL);
    Reap(launcher);
    line.Take();
    if (!line.unavailable().empty())
        SkipOrFail(line.unavailable());
    else if (!line.isFinished() && !line.hasFailed())
        ADD_FAILURE() << "the sandbox ended before its body";
}

void CreateAgentDirectories() {
    for (char const* const directory :
         {"/var/opt/VeskaClient/RequestDir", "/var/opt/VeskaClient/ResponseDir"}) {
        fs::create_directories(directory);
        fs::permissions(directory, fs::perms::all);
    }
}

void InstallAgent(std::string const& program) {
    fs::create_directories(fs::path(agentProgram).parent_path());
    fs::copy_file(program, agentProgram, fs::copy_options::overwrite_existing);
    fs::permissions(agentProgram, fs::perms(0755));
}

std::vector<std::string> InstallIdleAgent() {
    InstallAgent();
    return {agentProgram, "3600"};
}

void DropPrivileges() {
    uid_t const other = 65534;
    // A process whose user ID stays 0 must not regain privileges by executing a program.
    if (prctl(PR_SET_SECUREBITS, SECBIT_NOROOT | SECBIT_NOROOT_LOCKED) != 0)
        throw std::system_error(errno, std::generic_category(), "securebits");
    prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    // Fails with EINVAL if the sandbox has no second user.
    if (setresgid(other, other, other) == 0) {
        setgroups(0, nullptr);
        if (setresuid(other, other, other) != 0)
            throw std::system_error(errno, std::generic_category(), "setresuid");
    }
    ClearCapabilities();
    // The change of the user ID cleared this flag, which is set for a program that a user starts.
    prctl(PR_SET_DUMPABLE, 1, 0, 0, 0);
}

} // namespace Sandbox
