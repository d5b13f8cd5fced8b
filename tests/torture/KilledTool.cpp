#include "tests/torture/KilledTool.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <map>
#include <system_error>

#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using Torture::KillCondition;
using Torture::SystemCall;
using Torture::Trace;

struct KnownCall {
    long number;
    char const* name;
    // Which argument is a path; -1 for none.
    int path;
};

constexpr KnownCall knownCalls[] = {
    {SYS_access, "access", 0},
    {SYS_arch_prctl, "arch_prctl", -1},
    {SYS_brk, "brk", -1},
    {SYS_chmod, "chmod", 0},
    {SYS_clock_gettime, "clock_gettime", -1},
    {SYS_clock_nanosleep, "clock_nanosleep", -1},
    {SYS_close, "close", -1},
    {SYS_copy_file_range, "copy_file_range", -1},
    {SYS_exit_group, "exit_group", -1},
    {SYS_fcntl, "fcntl", -1},
    {SYS_fstat, "fstat", -1},
    {SYS_fsync, "fsync", -1},
    {SYS_ftruncate, "ftruncate", -1},
    {SYS_futex, "futex", -1},
    {SYS_getdents64, "getdents64", -1},
    {SYS_getpid, "getpid", -1},
    {SYS_getrandom, "getrandom", -1},
    {SYS_link, "link", 0},
    {SYS_lseek, "lseek", -1},
    {SYS_lstat, "lstat", 0},
    {SYS_madvise, "madvise", -1},
    {SYS_mkdir, "mkdir", 0},
    {SYS_mmap, "mmap", -1},
    {SYS_mprotect, "mprotect", -1},
    {SYS_mremap, "mremap", -1},
    {SYS_munmap, "munmap", -1},
    {SYS_nanosleep, "nanosleep", -1},
    {SYS_newfstatat, "newfstatat", 1},
    {SYS_open, "open", 0},
    {SYS_openat, "openat", 1},
    {SYS_pread64, "pread64", -1},
    {SYS_prlimit64, "prlimit64", -1},
    {SYS_pwrite64, "pwrite64", -1},
    {SYS_read, "read", -1},
    {SYS_readlink, "readlink", 0},
    {SYS_rename, "rename", 0},
    {SYS_renameat, "renameat", 1},
    {SYS_renameat2, "renameat2", 1},
    {SYS_rmdir, "rmdir", 0},
    {SYS_rseq, "rseq", -1},
    {SYS_rt_sigaction, "rt_sigaction", -1},
    {SYS_rt_sigprocmask, "rt_sigprocmask", -1},
    {SYS_set_robust_list, "set_robust_list", -1},
    {SYS_set_tid_address, "set_tid_address", -1},
    {SYS_sigaltstack, "sigaltstack", -1},
    {SYS_stat, "stat", 0},
    {SYS_statx, "statx", 1},
    {SYS_sysinfo, "sysinfo", -1},
    {SYS_unlink, "unlink", 0},
    {SYS_unlinkat, "unlinkat", 1},
    {SYS_utimensat, "utimensat", 1},
    {SYS_write, "write", -1},
    {SYS_writev, "writev", -1},
};

[[noreturn]] void ThrowSystemError(char const* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

// The text at an address of the tool, up to its zero byte, or as far as it can be read.
std::string TextAt(pid_t tool, unsigned long long address) {
    std::string text;
    for (;; address += sizeof(long)) {
        errno = 0;
        long const word = ptrace(PTRACE_PEEKDATA, tool, address, nullptr);
        char bytes[sizeof word];
        std::memcpy(bytes, &word, sizeof word);
        size_t const length = errno != 0 ? 0 : strnlen(bytes, sizeof bytes);
        text.append(bytes, length);
        if (length < sizeof bytes)
            return text;
    }
}

SystemCall MakeCall(pid_t tool, __ptrace_syscall_info const& info) {
    auto const number = static_cast<long>(info.entry.nr);
    SystemCall call{"call " + std::to_string(number), ""};
    call.argument = info.entry.args[0];
    for (KnownCall const& known : knownCalls)
        if (known.number == number) {
            call.name = known.name;
            if (known.path >= 0)
                call.path = TextAt(tool, info.entry.args[known.path]);
        }
    return call;
}

constexpr int callStop = SIGTRAP | 0x80;
constexpr int ended = 0;

// Waits until the tool stops. Returns the signal of the stop, or that the tool has ended; its end
// is left for its owner to reap.
int AwaitStop(pid_t tool) {
    siginfo_t info{};
    while (waitid(P_PID, static_cast<id_t>(tool), &info, WEXITED | WSTOPPED | WNOWAIT) != 0)
        if (errno != EINTR)
            ThrowSystemError("waitid");
    if (info.si_code == CLD_EXITED || info.si_code == CLD_KILLED || info.si_code == CLD_DUMPED)
        return ended;
    waitid(P_PID, static_cast<id_t>(tool), &info, WSTOPPED);
    return info.si_status;
}

class Tracer {
public:
    Tracer(pid_t theTool, KillCondition const& theCondition)
        : tool(theTool), condition(theCondition) {}

    // From the stop behind execve to the end.
    void Run() {
        AwaitStop(tool);
        if (ptrace(PTRACE_SETOPTIONS, tool, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL))
            ThrowSystemError("ptrace");
        for (int signal = 0;;) {
            ptrace(PTRACE_SYSCALL, tool, nullptr, signal);
            int const stop = AwaitStop(tool);
            if (stop == ended)
                return;
            signal = stop == callStop ? 0 : stop;
            if (stop == callStop)
                TakeCallStop();
        }
    }

    Trace trace;
    bool wasKilled = false;

private:
    void TakeCallStop() {
        __ptrace_syscall_info info{};
        if (ptrace(PTRACE_GET_SYSCALL_INFO, tool, sizeof info, &info) < 0)
            ThrowSystemError("ptrace");
        if (info.op == PTRACE_SYSCALL_INFO_ENTRY)
            Enter(info);
        else if (info.op == PTRACE_SYSCALL_INFO_EXIT && !trace.empty())
            Leave(info, trace.back());
    }

    static void Leave(__ptrace_syscall_info const& info, SystemCall& call) {
        call.succeeded = !info.exit.is_error;
        if (call.succeeded)
            call.result = info.exit.rval;
    }

    void Enter(__ptrace_syscall_info const& info) {
        trace.push_back(MakeCall(tool, info));
        if (condition(trace)) {
            wasKilled = true;
            kill(tool, SIGKILL);
        }
    }

    pid_t const tool;
    KillCondition const& condition;
};

std::string Ordinal(size_t number) {
    static constexpr char const* endings[] = {"th", "st", "nd", "rd"};
    size_t const last = number % 10;
    bool const isTeen = number % 100 / 10 == 1;
    return std::to_string(number) + endings[last <= 3 && !isTeen ? last : 0];
}

// The environment of the test, but no leak checker.
std::vector<std::string> EnvironmentUnderTrace() {
    std::string options = "ASAN_OPTIONS=detect_leaks=0";
    std::vector<std::string> all;
    for (char** entry = environ; *entry; ++entry) {
        std::string const text = *entry;
        if (text.starts_with("ASAN_OPTIONS="))
            options = text + ":detect_leaks=0";
        else
            all.push_back(text);
    }
    all.push_back(options);
    return all;
}

} // namespace

namespace Torture {

std::vector<std::string> NamesOf(Trace const& trace) {
    std::map<std::string, size_t> seen;
    std::vector<std::string> names;
    for (SystemCall const& call : trace)
        names.push_back(call.name + ", " + Ordinal(++seen[call.name]));
    return names;
}

std::string NameOfLast(Trace const& trace) { return NamesOf(trace).back(); }

KillCondition Never() {
    return [](Trace const&) {
        return false;
    };
}

KillCondition AtCall(size_t number) {
    return [number](Trace const& trace) {
        return trace.size() == number;
    };
}

KillCondition AtPlace(Place const& place) {
    return [place](Trace const& trace) {
        if (trace.size() <= place.later)
            return false;
        auto const isThere = [&](SystemCall const& call) {
            return call.name == place.name && call.path.ends_with(place.path);
        };
        auto const anchor = trace.end() - static_cast<std::ptrdiff_t>(place.later) - 1;
        return isThere(*anchor) && std::count_if(trace.begin(), anchor + 1, isThere) ==
                                       static_cast<std::ptrdiff_t>(place.occurrence);
    };
}

KilledRun RunAndKill(Arguments const& arguments, KillCondition const& condition) {
    Arguments command{CC_TOOL_PROGRAM};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return RunProgramAndKill(command, condition);
}

KilledRun RunProgramAndKill(Arguments const& command, KillCondition const& condition) {
    ProgramOptions const options{.environment = EnvironmentUnderTrace(), .prepare = [] {
                                     return ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) == 0;
                                 }};
    OtherProgram program(command, options);
    Tracer tracer(program.pid(), condition);
    tracer.Run();
    ProgramResult const result = program.Wait();
    return {tracer.trace, tracer.wasKilled, result.status, result.output, result.errors};
}

} // namespace Torture
