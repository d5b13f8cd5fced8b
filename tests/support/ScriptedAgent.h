// An agent for tests: a process named VeskaClient, or a thread, that plays an AgentScript.
//
// It reads and writes raw bytes and shares no code with the product. It records the requests that
// it sees, with times of the monotonic clock, and the files that it publishes.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "tests/support/AgentScript.h"

class OtherProgram;

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

// The file at the path as it is now; without a path if there is none.
WrittenFile FileOnDisk(std::string const& path);

// The record of an AgentEngine, as far as its lines are complete.
struct AgentRecord {
    explicit AgentRecord(std::string_view text);

    std::vector<SeenRequest> requests;
    std::vector<WrittenFile> written;
    std::size_t stepsDone = 0;
    // Of the first step that failed: its word, its path and the reason.
    std::string failure;
};

// The agent as a process: installs its program and starts it; killed with the object.
//
// REQUIRES: the body of a Sandbox with the agent's directories.
class ScriptedAgent {
public:
    static constexpr char const* requestDirectory = "/var/opt/VeskaClient/RequestDir";
    static constexpr char const* request = AgentEngine::request;
    static constexpr char const* requestTemp = "/var/opt/VeskaClient/RequestDir/requestTemp.xml";
    static constexpr char const* lockFile = "/var/opt/VeskaClient/RequestDir/lockfile";
    static constexpr char const* response = AgentEngine::response;

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
    // Ends it when it waits next. Its record is complete then. Throws if a step failed.
    void Stop();

private:
    size_t const steps;
    std::unique_ptr<OtherProgram> program;
};

// The agent as a thread of this process, without a process of its name. It ends with the object,
// when it waits next.
class AgentThread {
public:
    explicit AgentThread(AgentScript const& script);
    ~AgentThread();
    AgentThread(AgentThread const&) = delete;
    AgentThread& operator=(AgentThread const&) = delete;

    AgentRecord Record() const;

private:
    std::string const script;
    int const recordFile;
    std::atomic<bool> isStopped = false;
    std::thread thread;
};
