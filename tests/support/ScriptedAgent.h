// Scripted agents for tests: a process named VeskaClient, or a thread, plays an AgentScript.
//
// The agents read and write raw bytes and share no code with the product. They record the requests
// that they see, with times of the monotonic clock, and the files that they publish.
#pragma once

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include "tests/support/AgentScript.h"

class OtherProgram;

struct SeenRequest {
    std::string bytes;
    std::chrono::steady_clock::time_point when;
};

std::vector<std::string> BytesOf(std::vector<SeenRequest> const& requests);

// A published file: its bytes and identity.
struct WrittenFile {
    std::string path;
    std::string bytes;
    unsigned long long inode = 0;
    // Nanoseconds since 1970.
    long long modified = 0;

    bool operator==(WrittenFile const&) const = default;
};

// Returns the file at the path, or an empty record if there is none.
WrittenFile FileOnDisk(std::string const& path);

// The record of an AgentEngine, up to its last complete line.
struct AgentRecord {
    explicit AgentRecord(std::string_view text);

    std::vector<SeenRequest> requests;
    std::vector<WrittenFile> written;
    std::size_t stepsDone = 0;
    // The word, the path and the error of the first step that failed; empty if none failed.
    std::string failure;
};

// The agent as a process. The constructor installs and starts its program, and the destructor kills
// it.
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

    // Returns the requests that the agent has seen so far.
    std::vector<SeenRequest> Requests() const;
    // Waits until the agent has seen `number` requests, and returns them. Throws after the
    // timeout, or if a step failed.
    std::vector<SeenRequest>
    AwaitRequests(size_t number, std::chrono::milliseconds limit = std::chrono::seconds(30)) const;
    // Wait until `number` steps or all steps are complete. Throw like AwaitRequests.
    void AwaitSteps(size_t number,
                    std::chrono::milliseconds limit = std::chrono::seconds(30)) const;
    void AwaitEnd(std::chrono::milliseconds limit = std::chrono::seconds(30)) const;

    // Returns the files that the agent has published so far, in order.
    std::vector<WrittenFile> Written() const;
    // Stops the agent at its next wait and completes its record. Throws if a step failed.
    void Stop();

private:
    size_t const steps;
    std::unique_ptr<OtherProgram> program;
};

// The agent as a thread of this process, for tests without a process of its name. The destructor
// stops it at its next wait.
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
