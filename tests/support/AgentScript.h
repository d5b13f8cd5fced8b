// The scripts that an AgentEngine plays.
#pragma once

#include <chrono>
#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>

#include "tests/support/AgentEngine.h"

// The steps of a script, in the order of the calls. Each runs as soon as the previous one is done.
// After the last step the agent does nothing.
class AgentScript {
public:
    // Waits for a request other than the last one, even if another process removed that, and
    // records it.
    AgentScript& AwaitRequest() { return Add("await", {}); }
    // Waits until a time after the request that was last awaited was first seen.
    AgentScript& PauseUntil(std::chrono::nanoseconds sinceRequest) {
        return Add("until", {std::to_string(sinceRequest.count())});
    }
    // Waits until a time of the agent's clock.
    AgentScript& WaitUntil(std::chrono::nanoseconds time) {
        return Add("at", {std::to_string(time.count())});
    }

    // Publishes bytes as the response or the request: writes a temporary file beside it and renames
    // it. A request that the agent itself publishes is not awaited.
    AgentScript& Respond(std::string const& bytes) { return Write(AgentEngine::response, bytes); }
    AgentScript& PutRequest(std::string const& bytes) { return Write(AgentEngine::request, bytes); }
    AgentScript& RemoveRequest() { return Add("remove", {AgentEngine::request}); }
    AgentScript& RemoveResponse() { return Add("remove", {AgentEngine::response}); }

    // A well-behaved answer: awaits a request, responds, and only then removes the request.
    AgentScript& Answer(std::string const& bytes) {
        return AwaitRequest().Respond(bytes).RemoveRequest();
    }
    // Answers every request from now on by its type; progress requests get the polls in turn.
    AgentScript& Serve(std::string const& open, std::initializer_list<std::string> polls,
                       std::string const& close) {
        Add("serve", {open, close});
        steps.pop_back();
        for (std::string const& poll : polls)
            AddOperand(poll);
        steps += '\n';
        return *this;
    }

    AgentScript& Write(std::string const& path, std::string const& bytes) {
        return Add("write", {path, bytes});
    }
    // Removes an entry of any kind; a directory may contain the entry "inside".
    AgentScript& Clear(std::string const& path) { return Add("clear", {path}); }
    AgentScript& MakeDirectory(std::string const& path) { return Make("directory", path); }
    // A "directory", "socket", "fifo" or "device".
    AgentScript& Make(std::string const& kind, std::string const& path) {
        return Add("make", {path, kind});
    }
    AgentScript& MakeLink(std::string const& target, std::string const& path) {
        return Add("link", {path, target});
    }
    AgentScript& Move(std::string const& from, std::string const& to) {
        return Add("move", {to, from});
    }

    // What an AgentEngine reads.
    std::string const& text() const { return steps; }
    std::size_t size() const { return count; }

private:
    AgentScript& Add(std::string const& word, std::initializer_list<std::string_view> operands) {
        steps += word;
        for (std::string_view const operand : operands)
            AddOperand(operand);
        steps += '\n';
        ++count;
        return *this;
    }

    void AddOperand(std::string_view operand) {
        steps += ' ' + std::to_string(operand.size()) + ':';
        steps += operand;
    }

    std::string steps;
    std::size_t count = 0;
};
