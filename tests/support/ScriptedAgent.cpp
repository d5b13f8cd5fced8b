#include "tests/support/ScriptedAgent.h"

#include <csignal>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "tests/support/OtherProcess.h"
#include "tests/support/PrivateMachine.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// "-" stands for no bytes, so that every operand is a word.
std::string Encode(std::string const& bytes) {
    static constexpr char digits[] = "0123456789abcdef";
    std::string text(bytes.empty() ? "-" : "");
    for (char const byte : bytes) {
        text += digits[static_cast<unsigned char>(byte) >> 4];
        text += digits[static_cast<unsigned char>(byte) & 15];
    }
    return text;
}

int Digit(char digit) { return digit <= '9' ? digit - '0' : digit - 'a' + 10; }

std::string Decode(std::string const& text) {
    std::string bytes;
    for (size_t i = 0; i + 1 < text.size(); i += 2)
        bytes += static_cast<char>(Digit(text[i]) * 16 + Digit(text[i + 1]));
    return bytes;
}

// The lines that the program has written in full.
struct Record {
    std::vector<SeenRequest> requests;
    std::vector<WrittenFile> written;
    size_t stepsDone = 0;
    std::string failure;
};

Record ReadRecord(std::string const& output) {
    Record record;
    std::istringstream lines(output.substr(0, output.rfind('\n') + 1));
    for (std::string word; lines >> word;) {
        if (word == "request") {
            Clock::rep when = 0;
            std::string bytes;
            lines >> when >> bytes;
            record.requests.push_back({Decode(bytes), Clock::time_point(Clock::duration(when))});
        } else if (word == "wrote") {
            WrittenFile file;
            std::string path;
            std::string bytes;
            lines >> path >> bytes >> file.inode >> file.modified;
            file.path = Decode(path);
            file.bytes = Decode(bytes);
            record.written.push_back(file);
        } else if (word == "done") {
            ++record.stepsDone;
        } else {
            std::getline(lines, record.failure);
        }
    }
    return record;
}

template <typename Condition>
Record AwaitRecord(OtherProgram const& program, milliseconds limit, Condition const& condition) {
    auto const deadline = Clock::now() + limit;
    for (;;) {
        Record record = ReadRecord(program.Output());
        if (!record.failure.empty())
            throw std::runtime_error("The scripted agent failed:" + record.failure);
        if (condition(record))
            return record;
        if (Clock::now() > deadline)
            throw std::runtime_error("The scripted agent came no further than " +
                                     std::to_string(record.requests.size()) + " requests and " +
                                     std::to_string(record.stepsDone) + " steps.");
        std::this_thread::sleep_for(milliseconds(2));
    }
}

} // namespace

AgentScript& AgentScript::AwaitRequest() { return Add("await"); }

AgentScript& AgentScript::PauseUntil(milliseconds sinceRequest) {
    return Add("until " + std::to_string(sinceRequest.count()));
}

AgentScript& AgentScript::Respond(std::string const& bytes) {
    return Write(ScriptedAgent::response, bytes);
}

AgentScript& AgentScript::PutRequest(std::string const& bytes) {
    return Write(ScriptedAgent::request, bytes);
}

AgentScript& AgentScript::RemoveRequest() {
    return Add("remove " + Encode(ScriptedAgent::request));
}

AgentScript& AgentScript::RemoveResponse() {
    return Add("remove " + Encode(ScriptedAgent::response));
}

AgentScript& AgentScript::Answer(std::string const& bytes) {
    return AwaitRequest().Respond(bytes).RemoveRequest();
}

AgentScript& AgentScript::MakeDirectory(std::string const& path) {
    return Add("mkdir " + Encode(path));
}

AgentScript& AgentScript::MakeLink(std::string const& target, std::string const& path) {
    return Add("link " + Encode(target) + ' ' + Encode(path));
}

AgentScript& AgentScript::Move(std::string const& from, std::string const& to) {
    return Add("move " + Encode(from) + ' ' + Encode(to));
}

AgentScript& AgentScript::Write(std::string const& path, std::string const& bytes) {
    return Add("write " + Encode(path) + ' ' + Encode(bytes));
}

AgentScript& AgentScript::Add(std::string const& step) {
    steps += step + '\n';
    ++count;
    return *this;
}

ScriptedAgent::ScriptedAgent(AgentScript const& script) : steps(script.size()) {
    PrivateMachine::InstallAgent(CC_SCRIPTED_AGENT_PROGRAM);
    program = std::make_unique<OtherProgram>(
        std::vector<std::string>{PrivateMachine::agentProgram, request},
        ProgramOptions{.input = script.text()});
}

ScriptedAgent::~ScriptedAgent() = default;

std::vector<SeenRequest> ScriptedAgent::Requests() const {
    return ReadRecord(program->Output()).requests;
}

std::vector<SeenRequest> ScriptedAgent::AwaitRequests(size_t number, milliseconds limit) const {
    return AwaitRecord(*program, limit,
                       [&](Record const& record) { return record.requests.size() >= number; })
        .requests;
}

void ScriptedAgent::AwaitSteps(size_t number, milliseconds limit) const {
    AwaitRecord(*program, limit, [&](Record const& record) { return record.stepsDone >= number; });
}

void ScriptedAgent::AwaitEnd(milliseconds limit) const { AwaitSteps(steps, limit); }

std::vector<WrittenFile> ScriptedAgent::Written() const {
    return ReadRecord(program->Output()).written;
}

void ScriptedAgent::Stop() {
    program->Kill(SIGTERM);
    program->Wait();
    AwaitSteps(0);
}
