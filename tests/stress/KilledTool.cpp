#include "tests/stress/KilledTool.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <map>
#include <stdexcept>
#include <system_error>

#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using Stress::FaultCondition;
using Stress::KillCondition;
using Stress::KilledRun;
using Stress::SystemCall;
using Stress::Trace;

struct KnownCall {
    long number;
    char const* name;
    // The index of the argument that is a path; -1 if there is none.
    int path;
};

#define CC_CALL(name, path) \
    { SYS_##name, #name, path }
// The calls that concern the exchange.
constexpr KnownCall knownCalls[] = {
    CC_CALL(clock_nanosleep, -1), CC_CALL(renameat, 1), CC_CALL(lseek, -1), CC_CALL(read, -1),
    CC_CALL(exit_group, -1),      CC_CALL(unlinkat, 1), CC_CALL(openat, 1), CC_CALL(rmdir, 0),
    CC_CALL(getdents64, -1),      CC_CALL(fchmod, -1),  CC_CALL(rename, 0), CC_CALL(statx, 1),
    CC_CALL(ftruncate, -1),       CC_CALL(writev, -1),  CC_CALL(unlink, 0), CC_CALL(brk, -1),
    CC_CALL(newfstatat, 1),       CC_CALL(access, 0),   CC_CALL(write, -1), CC_CALL(link, 0),
    CC_CALL(pwrite64, -1),        CC_CALL(fstat, -1),   CC_CALL(mmap, -1),  CC_CALL(open, 0),
    CC_CALL(renameat2, 1),        CC_CALL(close, -1),   CC_CALL(chmod, 0),  CC_CALL(stat, 0),
    CC_CALL(utimensat, 1),        CC_CALL(fcntl, -1),   CC_CALL(lstat, 0),  CC_CALL(readlink, 0),
    CC_CALL(fsync, -1),           CC_CALL(mkdir, 0)};
#undef CC_CALL

[[noreturn]] void ThrowSystemError(char const* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

// The text at an address of the tool, up to its NUL byte, or as far as it can be read.
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
    auto const known = std::ranges::find(knownCalls, number, &KnownCall::number);
    SystemCall call{"call" + std::to_string(number), ""};
    call.argument = info.entry.args[0];
    if (known == std::end(knownCalls))
        return call;
    call.name = known->name;
    if (known->path >= 0)
        call.path = TextAt(tool, info.entry.args[known->path]);
    return call;
}

constexpr int callStop = SIGTRAP | 0x80;
constexpr int ended = 0;

// Waits until the tool stops. Returns the signal, or that the tool has ended; the caller reaps it.
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
    Tracer(pid_t theTool, KillCondition const& theCondition, FaultCondition const& theErrorOf)
        : tool(theTool), condition(theCondition), errorOf(theErrorOf) {}

    // From the stop after execve to the end.
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

    void Leave(__ptrace_syscall_info const& info, SystemCall& call) {
        if (error != 0)
            SetRegister(&user_regs_struct::rax, -error);
        call.succeeded = !info.exit.is_error && error == 0;
        error = 0;
        if (call.succeeded)
            call.result = info.exit.rval;
    }

    void Enter(__ptrace_syscall_info const& info) {
        trace.push_back(MakeCall(tool, info));
        if (condition(trace)) {
            wasKilled = true;
            kill(tool, SIGKILL);
            return;
        }
        error = errorOf(trace);
        if (error != 0)
            SetRegister(&user_regs_struct::orig_rax, -1);
    }

    void SetRegister(unsigned long long user_regs_struct::*which, long long value) const {
        user_regs_struct registers{};
        if (ptrace(PTRACE_GETREGS, tool, nullptr, &registers) != 0)
            ThrowSystemError("ptrace");
        registers.*which = static_cast<unsigned long long>(value);
        if (ptrace(PTRACE_SETREGS, tool, nullptr, &registers) != 0)
            ThrowSystemError("ptrace");
    }

    pid_t const tool;
    KillCondition const& condition;
    FaultCondition const& errorOf;
    // Of the current call.
    int error = 0;
};

// The environment of the test without the leak checker. Of two entries the first one counts.
std::vector<std::string> EnvironmentUnderTrace() {
    char const* const options = std::getenv("ASAN_OPTIONS");
    std::vector<std::string> all = {"ASAN_OPTIONS=" + std::string(options ? options : "") +
                                    ":detect_leaks=0"};
    for (char** entry = environ; *entry; ++entry)
        all.emplace_back(*entry);
    return all;
}

KilledRun RunTraced(Arguments const& command, KillCondition const& condition,
                    FaultCondition const& errorOf) {
    ProgramOptions const options{.environment = EnvironmentUnderTrace(), .prepare = [] {
                                     return ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) == 0;
                                 }};
    OtherProgram program(command, options);
    Tracer tracer(program.pid(), condition, errorOf);
    tracer.Run();
    ProgramResult const result = program.Wait();
    return {tracer.trace, tracer.wasKilled, result.status, result.output, result.errors};
}

} // namespace

namespace Stress {

std::vector<std::string> NamesOf(Trace const& trace) {
    std::map<std::string, size_t> seen;
    std::vector<std::string> names;
    for (SystemCall const& call : trace)
        names.push_back(call.name + '#' + std::to_string(++seen[call.name]));
    return names;
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
        auto const end = trace.end() - static_cast<std::ptrdiff_t>(place.later);
        return isThere(*(end - 1)) && std::count_if(trace.begin(), end, isThere) ==
                                          static_cast<std::ptrdiff_t>(place.occurrence);
    };
}

KilledRun RunAndKill(Arguments const& arguments, KillCondition const& condition) {
    Arguments command{CC_TOOL_PROGRAM};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return RunProgramAndKill(command, condition);
}

KilledRun RunProgramAndKill(Arguments const& command, KillCondition const& condition) {
    return RunTraced(command, condition, [](Trace const&) { return 0; });
}

KilledRun RunProgramWithChange(Arguments const& command, KillCondition const& isDue,
                               std::function<void()> const& change) {
    bool isChanged = false;
    KilledRun const run = RunProgramAndKill(command, [&](Trace const& trace) {
        if (!isChanged && isDue(trace)) {
            isChanged = true;
            change();
        }
        return false;
    });
    if (!isChanged)
        throw std::runtime_error("the system call was not made");
    return run;
}

KilledRun RunProgramWithFaults(Arguments const& command, FaultCondition const& errorOf) {
    return RunTraced(
        command, [](Trace const&) { return false; }, errorOf);
}

} // namespace Stress
