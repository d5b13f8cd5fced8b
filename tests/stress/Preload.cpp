// For LD_PRELOAD: records the system calls of a program, fails some of them, and plays an agent on
// a simulated clock. PreloadedProgram.h runs programs with it.
//
// FAILING_CALLS: "NAME ERROR NUMBER once;" or "NAME ERROR NUMBER lasting;", repeated. The NUMBER-th
// call of that name (from 1) fails, and all later ones if lasting.
//
// CUT_WRITES: "OPENING OFFSET ERROR". Applies to the OPENING-th file that is opened with
// O_TRUNC. A write across the offset is short, and one at the offset fails if ERROR is not 0.
//
// CALLS_LOG: the file for the calls, one a line: name, arguments, object and error number,
// separated by tabs.
//
// MAX_CALLS: the program exits at this number of calls.
//
// AGENT_SCRIPT, AGENT_RECORD: the files of the agent's script and record.
//
// AGENT_ACTS: "always", or the agent acts only in sleeps of whole seconds.
//
// Sleeps return immediately. The library is built without sanitizers, because it is initialized
// before their runtime.
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "tests/files/RecordedSleeps.h"
#include "tests/files/SystemCalls.h"
#include "tests/support/AgentEngine.h"

namespace {

std::string Setting(char const* name) {
    char const* const value = std::getenv(name);
    return value ? value : "";
}

struct Fault {
    char name[16] = "";
    int error = 0;
    long number = 0;
    bool isLasting = false;
    long seen = 0;

    bool Hits(std::string const& call) {
        if (call != name)
            return false;
        ++seen;
        return seen == number || (isLasting && seen > number);
    }
};

std::vector<Fault> ReadFaults(std::string text) {
    std::vector<Fault> faults;
    for (size_t end = 0; (end = text.find(';')) != std::string::npos; text.erase(0, end + 1)) {
        Fault fault;
        char duration[16] = "";
        std::sscanf(text.c_str(), "%15s %d %ld %15[^;]", fault.name, &fault.error, &fault.number,
                    duration);
        fault.isLasting = std::string(duration) == "lasting";
        faults.push_back(fault);
    }
    return faults;
}

class Cut {
public:
    Cut() { std::sscanf(Setting("CUT_WRITES").c_str(), "%d %ld %d", &opening, &offset, &error); }

    SystemCalls::Answer AnswerTo(SystemCalls::Call const& call) {
        if (call.name == "open" && call.arguments.find("TRUNC") != std::string::npos) {
            object = call.object;
            ++seen;
        }
        if (opening == 0 || seen != opening || call.name != "write" || call.object != object)
            return {};
        long const left = offset - syscall(SYS_lseek, call.descriptor, 0, SEEK_CUR);
        if (left == 0 && error != 0)
            return {error};
        return left > 0 ? SystemCalls::Answer{0, static_cast<size_t>(left)} : SystemCalls::Answer();
    }

private:
    int opening = 0;
    long offset = 0;
    int error = 0;
    int seen = 0;
    std::string object;
};

// A file descriptor above those of the program.
int OpenRecord(std::string const& path) {
    if (path.empty())
        return -1;
    int const file = open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
    int const moved = fcntl(file, F_DUPFD_CLOEXEC, 200);
    close(file);
    return moved;
}

std::string ReadAll(std::string const& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// Initialized before the program's main, and destroyed after all objects of the program.
class Preloaded {
public:
    Preloaded() {
        agent.Play(script);
        calls.Decide([this](SystemCalls::Call const& call) { return AnswerTo(call); });
    }
    ~Preloaded() { SaveLog(); }

private:
    SystemCalls::Answer AnswerTo(SystemCalls::Call const& call) {
        SystemCalls::Answer answer = cut.AnswerTo(call);
        for (Fault& fault : faults)
            if (fault.Hits(call.name) && answer.error == 0)
                answer.error = fault.error;
        log += call.name + '\t' + call.arguments + '\t' + call.object + '\t' +
               std::to_string(answer.error) + '\n';
        if (++count == maxCalls) {
            SaveLog();
            _exit(0);
        }
        return answer;
    }

    bool Sleep(std::string const& call, unsigned long long microseconds) {
        size_t const blank = call.find(' ');
        std::string const name = call.substr(0, blank);
        int const error = calls.Record({name, call.substr(blank + 1), {}}).error;
        now += static_cast<AgentEngine::Nanoseconds>(microseconds) * 1000;
        if (error == 0 && (actsAlways || name == "sleep"))
            agent.Advance(now);
        errno = error;
        return error != 0;
    }

    void SaveLog() {
        SystemCalls::Pause const pause;
        std::ofstream(logPath, std::ios::binary) << log;
    }

    std::string const script = ReadAll(Setting("AGENT_SCRIPT"));
    std::string const logPath = Setting("CALLS_LOG");
    long const maxCalls = std::atol(Setting("MAX_CALLS").c_str());
    bool const actsAlways = Setting("AGENT_ACTS") == "always";
    std::vector<Fault> faults = ReadFaults(Setting("FAILING_CALLS"));
    Cut cut;
    AgentEngine agent{OpenRecord(Setting("AGENT_RECORD"))};
    AgentEngine::Nanoseconds now = 0;
    std::string log;
    long count = 0;
    SystemCalls calls;
    RecordedSleeps sleeps{[this](std::string const& call, unsigned long long microseconds) {
        return Sleep(call, microseconds);
    }};
};

Preloaded preloaded;

int Ask(char const* name, std::string const& path) {
    return SystemCalls::Active()
               ? SystemCalls::Active()->Record({name, path, path.substr(path.rfind('/') + 1)}).error
               : 0;
}

} // namespace

// These two are only here, because the tests of the file layer do not record them.
extern "C" {

DIR* opendir(char const* path) {
    static auto const next = reinterpret_cast<DIR* (*)(char const*)>(dlsym(RTLD_NEXT, "opendir"));
    errno = Ask("opendir", path);
    return errno ? nullptr : next(path);
}

int closedir(DIR* directory) {
    static auto const next = reinterpret_cast<int (*)(DIR*)>(dlsym(RTLD_NEXT, "closedir"));
    int const error = Ask("closedir", "");
    int const result = next(directory);
    errno = error;
    return error ? -1 : result;
}

} // extern "C"
