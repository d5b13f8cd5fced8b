// Detection of the agent among 1,000 sleeping processes, compared with pidof(8) and pgrep(1).
//
// Each contender is a program, and its time is the processor time of the whole process. "ours" is a
// program that only calls IsRunning (DetectAgent.cpp). "bare-loop" makes the same system calls,
// and only compares the names.
//
// The sleepers are in a PID namespace of their own, so their number is the same on every machine.
// The kernel ends them when this program ends for any reason.
#include <cerrno>
#include <csignal>
#include <string>
#include <system_error>
#include <vector>

#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "bench/Bench.h"
#include "bench/RunProgram.h"

namespace {

constexpr int sleeperCount = 1000;

void Check(bool succeeded, char const* what) {
    if (!succeeded)
        throw std::system_error(errno, std::generic_category(), what);
}

// If this process is not root, it also creates a user namespace, in which it is root.
void EnterNamespaces() {
    constexpr int wanted = CLONE_NEWNS | CLONE_NEWPID;
    Check(unshare(wanted) == 0 || unshare(wanted | CLONE_NEWUSER) == 0, "unshare");
    Check(mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0, "mount /");
}

[[noreturn]] void Sleep() {
    for (;;)
        pause();
}

// The init process of the PID namespace. It ends with its parent; the kernel then ends all others.
[[noreturn]] void BeInit(int ready) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    bool made = mount("proc", "/proc", "proc", 0, nullptr) == 0;
    for (int i = 0; made && i < sleeperCount; ++i) {
        pid_t const child = fork();
        if (child == 0)
            Sleep();
        made = child > 0;
    }
    char const answer = made ? 'y' : 'n';
    if (write(ready, &answer, 1) != 1 || !made)
        _exit(1);
    Sleep();
}

// Starts the sleepers. From then on, /proc lists them, and new children of this process are in
// their namespace.
class Sleepers {
public:
    Sleepers() {
        EnterNamespaces();
        int ready[2];
        Check(pipe2(ready, O_CLOEXEC) == 0, "pipe2");
        init = fork();
        Check(init >= 0, "fork");
        if (init == 0)
            BeInit(ready[1]);
        close(ready[1]);
        char answer = 'n';
        Check(read(ready[0], &answer, 1) == 1 && answer == 'y', "starting the sleepers");
        close(ready[0]);
    }

    ~Sleepers() {
        kill(init, SIGKILL);
        waitpid(init, nullptr, 0);
    }

    Sleepers(Sleepers const&) = delete;
    Sleepers& operator=(Sleepers const&) = delete;

private:
    pid_t init = -1;
};

// Adds a program whose exit status is 0 if the agent is running, else 1.
void Add(Operation<Sleepers>& operation, std::string const& who,
         std::vector<char const*> const& command) {
    operation.AddSelfTimed(
        who, [command](Sleepers const&) { return RunProgram(command).processorSeconds; },
        [command](Sleepers const&) { return RunProgram(command).status; });
}

} // namespace

void RegisterOperations() {
    auto const make = []() -> Sleepers const& {
        static Sleepers sleepers;
        return sleepers;
    };
    Operation<Sleepers> operation("Processes/among-" + std::to_string(sleeperCount), make);
    Add(operation, "ours", {DETECT_AGENT});
    Add(operation, "bare-loop", {DETECT_AGENT, "bare"});
    Add(operation, "pidof", {"pidof", "VeskaClient"});
    Add(operation, "pgrep", {"pgrep", "-x", "VeskaClient"});
}
