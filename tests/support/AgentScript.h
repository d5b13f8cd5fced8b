// The scripts that an AgentEngine plays.
#pragma once

#include <chrono>
#include <string>

#include "tests/support/AgentEngine.h"

// A list of steps, in the order of the calls. A step runs when the previous one is complete. After
// the last step the agent does nothing.
class AgentScript {
public:
    // Waits for a request that differs from the last awaited one, and records it.
    AgentScript& AwaitRequest() { return Add("await", {}); }
    // Waits until this time has passed since the last awaited request was first seen.
    AgentScript& PauseUntil(std::chrono::nanoseconds sinceRequest) {
        return Add("until", {std::to_string(sinceRequest.count())});
    }
    // Waits until the agent's clock reaches the time.
    AgentScript& WaitUntil(std::chrono::nanoseconds time) {
        return Add("at", {std::to_string(time.count())});
    }

    // Publish bytes as the response or the request: write a temporary file in the same directory
    // and rename it. AwaitRequest ignores a request of PutRequest.
    AgentScript& Respond(std::string const& bytes) { return Write(AgentEngine::response, bytes); }
    AgentScript& PutRequest(std::string const& bytes) { return Write(AgentEngine::request, bytes); }
    AgentScript& RemoveRequest() { return Add("remove", {AgentEngine::request}); }
    AgentScript& RemoveResponse() { return Add("remove", {AgentEngine::response}); }

    // Awaits a request, publishes the response, and then removes the request, as the agent does.
    AgentScript& Answer(std::string const& bytes) {
        return AwaitRequest().Respond(bytes).RemoveRequest();
    }
    // Answers all further requests by their type. `polls` are the responses to Progress requests,
    // in turn.
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
    // Removes an entry of any kind. A directory must be empty or contain only the entry "inside".
    AgentScript& Clear(std::string const& path) { return Add("clear", {path}); }
    AgentScript& MakeDirectory(std::string const& path) { return Make("directory", path); }
    // Creates an entry. `kind` is "directory", "socket", "fifo" or "device".
    AgentScript& Make(std::string const& kind, std::string const& path) {
        return Add("make", {path, kind});
    }
    AgentScript& MakeLink(std::string const& target, std::string const& path) {
        return Add("link", {path, target});
    }
    AgentScript& Move(std::string const& from, std::string const& to) {
        return Add("move", {to, from});
    }

    // The script in the format of AgentEngine, and its number of steps.
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
