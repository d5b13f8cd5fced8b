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

// A published file: its bytes and identity.
struct WrittenFile {
    std::string path;
    std::string bytes;
    unsigned long long inode = 0;
    // Nanoseconds since 1970.
    long long modified = 0;

    bool operator==(WrittenFile const&) const = default;
};

// The current file at the path; without a path if there is none.
WrittenFile FileOnDisk(std::string const& path);

// The record of an AgentEngine, up to its last complete line.
struct AgentRecord {
    explicit AgentRecord(std::string_view text);

    std::vector<SeenRequest> requests;
    std::vector<WrittenFile> written;
    std::size_t stepsDone = 0;
    // Of the first step that failed: its word, its path and the reason.
    std::string failure;
};

// The agent as a process: installs its program and starts it; killed by the destructor.
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

    // The requests that it has seen so far.
    std::vector<SeenRequest> Requests() const;
    // Waits until it has seen this many. Throws after a timeout.
    std::vector<SeenRequest>
    AwaitRequests(size_t number, std::chrono::milliseconds limit = std::chrono::seconds(30)) const;
    // Waits until this many steps are done, or all of them. Throws after a timeout, or if a step
    // failed.
    void AwaitSteps(size_t number,
                    std::chrono::milliseconds limit = std::chrono::seconds(30)) const;
    void AwaitEnd(std::chrono::milliseconds limit = std::chrono::seconds(30)) const;

    // The files that it has published so far, in order.
    std::vector<WrittenFile> Written() const;
    // Ends it at its next wait. Its record is complete then. Throws if a step failed.
    void Stop();

private:
    size_t const steps;
    std::unique_ptr<OtherProgram> program;
};

// The agent as a thread of this process, without a process of its name. It ends with the object, at
// its next wait.
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
