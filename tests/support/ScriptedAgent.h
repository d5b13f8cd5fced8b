// The other side of the exchange for system tests: a process named VeskaClient that follows a
// script.
//
// It reads and writes raw bytes and shares no code with the product, so that an error made twice
// can't hide. What it sees it records, with times of the monotonic clock.
#pragma once

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

class OtherProgram;

// The steps of a script, in the order of the calls. They run one after the other, each as soon as
// the one before is done. Behind the last one the agent does nothing more, but goes on running.
class AgentScript {
public:
    // Waits for a request other than the last one seen, however that went away, and records it.
    AgentScript& AwaitRequest();
    // Waits until so long after the request that was last awaited was first seen.
    AgentScript& PauseUntil(std::chrono::milliseconds sinceRequest);

    // Publishes bytes as the response or the request: writes them under another name beside it and
    // renames. What the agent itself puts there is not awaited as a new request.
    AgentScript& Respond(std::string const& bytes);
    AgentScript& PutRequest(std::string const& bytes);
    AgentScript& RemoveRequest();
    AgentScript& RemoveResponse();

    // A well-behaved answer: awaits a request, responds, and only then removes the request.
    AgentScript& Answer(std::string const& bytes);

    AgentScript& MakeDirectory(std::string const& path);
    AgentScript& MakeLink(std::string const& target, std::string const& path);
    AgentScript& Move(std::string const& from, std::string const& to);

    // What the program reads.
    std::string const& text() const { return steps; }
    size_t size() const { return count; }

private:
    AgentScript& Add(std::string const& step);
    AgentScript& Write(std::string const& path, std::string const& bytes);

    std::string steps;
    size_t count = 0;
};

struct SeenRequest {
    std::string bytes;
    std::chrono::steady_clock::time_point when;
};

// What the agent has published: the bytes, and the file that they are in.
struct WrittenFile {
    std::string path;
    std::string bytes;
    unsigned long long inode = 0;
    // Nanoseconds since 1970.
    long long modified = 0;

    bool operator==(WrittenFile const&) const = default;
};

// The agent itself: installs its program and starts it; killed with the object.
//
// REQUIRES: the body of a PrivateMachine with the agent's directories.
class ScriptedAgent {
public:
    static constexpr char const* requestDirectory = "/var/opt/VeskaClient/RequestDir";
    static constexpr char const* request = "/var/opt/VeskaClient/RequestDir/request.xml";
    static constexpr char const* requestTemp = "/var/opt/VeskaClient/RequestDir/requestTemp.xml";
    static constexpr char const* lockFile = "/var/opt/VeskaClient/RequestDir/lockfile";
    static constexpr char const* response = "/var/opt/VeskaClient/ResponseDir/response.xml";

    explicit ScriptedAgent(AgentScript const& script = AgentScript());
    ~ScriptedAgent();
    ScriptedAgent(ScriptedAgent const&) = delete;
    ScriptedAgent& operator=(ScriptedAgent const&) = delete;

    // What it has seen so far.
    std::vector<SeenRequest> Requests() const;
    // Waits until it has seen so many. Throws if they do not come.
    std::vector<SeenRequest>
    AwaitRequests(size_t number, std::chrono::milliseconds limit = std::chrono::seconds(30)) const;
    // Waits until so many steps are done, or every one. Throws if that does not come, or if a step
    // failed.
    void AwaitSteps(size_t number,
                    std::chrono::milliseconds limit = std::chrono::seconds(30)) const;
    void AwaitEnd(std::chrono::milliseconds limit = std::chrono::seconds(30)) const;

    // What it has published so far, in order.
    std::vector<WrittenFile> Written() const;
    // Ends it behind the step under way, or in the middle of a wait. What it has done by then is on
    // record. Throws if a step failed.
    void Stop();

private:
    size_t const steps;
    std::unique_ptr<OtherProgram> program;
};
