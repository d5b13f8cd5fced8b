#include "tests/support/ScriptedAgent.h"

#include <csignal>
#include <cstring>
#include <stdexcept>

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/support/Entries.h"
#include "tests/support/OtherProcess.h"
#include "tests/support/Sandbox.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

template <typename Condition>
AgentRecord AwaitRecord(OtherProgram const& program, milliseconds limit,
                        Condition const& condition) {
    auto const deadline = Clock::now() + limit;
    for (;;) {
        AgentRecord record(program.Output());
        if (!record.failure.empty())
            throw std::runtime_error("a step of the agent failed: " + record.failure);
        if (condition(record))
            return record;
        if (Clock::now() > deadline)
            throw std::runtime_error("timeout: the agent is at " +
                                     std::to_string(record.requests.size()) + " requests and " +
                                     std::to_string(record.stepsDone) + " steps");
        std::this_thread::sleep_for(milliseconds(2));
    }
}

} // namespace

std::vector<std::string> BytesOf(std::vector<SeenRequest> const& requests) {
    std::vector<std::string> bytes;
    for (SeenRequest const& request : requests)
        bytes.push_back(request.bytes);
    return bytes;
}

WrittenFile FileOnDisk(std::string const& path) {
    struct stat facts {};
    if (lstat(path.c_str(), &facts) != 0)
        return {};
    return {path, EntryOnDisk(path).bytes, facts.st_ino,
            facts.st_mtim.tv_sec * 1'000'000'000LL + facts.st_mtim.tv_nsec};
}

AgentRecord::AgentRecord(std::string_view text) {
    for (;;) {
        AgentEngine::Step const line = AgentEngine::TakeStep(text);
        auto const operand = [&](int number) {
            return std::string(line.operands[number]);
        };
        if (line.word.empty())
            return;
        if (line.word == "done") {
            ++stepsDone;
        } else if (line.word == "request") {
            Clock::duration const when(std::stoll(operand(0)));
            requests.push_back({operand(1), Clock::time_point(when)});
        } else if (line.word == "wrote") {
            written.push_back(
                {operand(0), operand(1), std::stoull(operand(2)), std::stoll(operand(3))});
        } else if (failure.empty()) {
            failure = operand(0) + ' ' + operand(1) + ": " + std::strerror(std::stoi(operand(2)));
        }
    }
}

ScriptedAgent::ScriptedAgent(AgentScript const& script) : steps(script.size()) {
    Sandbox::InstallAgent(CC_SCRIPTED_AGENT_PROGRAM);
    program = std::make_unique<OtherProgram>(std::vector<std::string>{Sandbox::agentProgram},
                                             ProgramOptions{.input = script.text()});
}

ScriptedAgent::~ScriptedAgent() = default;

std::vector<SeenRequest> ScriptedAgent::Requests() const {
    return AgentRecord(program->Output()).requests;
}

std::vector<SeenRequest> ScriptedAgent::AwaitRequests(size_t number, milliseconds limit) const {
    return AwaitRecord(*program, limit,
                       [&](auto const& record) { return record.requests.size() >= number; })
        .requests;
}

void ScriptedAgent::AwaitSteps(size_t number, milliseconds limit) const {
    AwaitRecord(*program, limit, [&](auto const& record) { return record.stepsDone >= number; });
}

void ScriptedAgent::AwaitEnd(milliseconds limit) const { AwaitSteps(steps, limit); }

std::vector<WrittenFile> ScriptedAgent::Written() const {
    return AgentRecord(program->Output()).written;
}

void ScriptedAgent::Stop() {
    program->Kill(SIGTERM);
    program->Wait();
    AwaitSteps(0);
}

AgentThread::AgentThread(AgentScript const& theScript)
    : script(theScript.text()), recordFile(memfd_create("agent", MFD_CLOEXEC)), thread([this] {
          AgentEngine engine(recordFile);
          engine.Play(script);
          while (!isStopped) {
              engine.Advance(Clock::now().time_since_epoch().count());
              std::this_thread::sleep_for(milliseconds(1));
          }
      }) {}

AgentThread::~AgentThread() {
    isStopped = true;
    thread.join();
    close(recordFile);
}

AgentRecord AgentThread::Record() const {
    std::string text(static_cast<size_t>(lseek(recordFile, 0, SEEK_END)), ' ');
    text.resize(static_cast<size_t>(pread(recordFile, text.data(), text.size(), 0)));
    return AgentRecord(text);
}
